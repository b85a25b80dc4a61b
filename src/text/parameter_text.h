// How a parameter stands in the text of its message. A required parameter of an action stands by
// its position alone. An optional one, and every one of a template, stands by its name, and is left
// out where it has no value.
#pragma once

#include "match/match_parameter.h"
#include "text/value_reader.h"
#include "text/value_writer.h"

namespace TmxPLC {

// ---- Machine form -------------------------------------------------------------------------------

template <typename Char, class T>
void WriteParameter(TextWriter<Char>& writer, const T& parameter, const Name&) {
    writer.Separator();
    PutMachine(writer, parameter);
}
template <typename Char, class T>
TMX_FORCE_INLINE void WriteNamed(TextWriter<Char>& writer, bool present, const T& value,
                                 const Name& name) {
    if (!present) return writer.PassAbsent();
    writer.WriteParameterName(name);
    WriteParameter(writer, value, name);
}
template <typename Char, class T>
void WriteParameter(TextWriter<Char>& writer, const Optional<T>& parameter, const Name& name) {
    WriteNamed(writer, parameter.present, parameter.value, name);
}

// ---- Display form -------------------------------------------------------------------------------

template <typename Char, class T>
void DisplayParameter(TextWriter<Char>& writer, std::uint32_t type, const T& parameter) {
    WriteDisplay(writer, type, parameter);
}
template <typename Char, class T>
void DisplayParameter(TextWriter<Char>& writer, std::uint32_t type, const Optional<T>& parameter) {
    if (!parameter.present) return writer.PassAbsent();
    WriteDisplay(writer, type, parameter.value);
}

// ---- Reading ------------------------------------------------------------------------------------

template <typename Char, class T>
void ReadParameter(TextScanner<Char>& scanner, T& parameter, const Name&) {
    if (scanner.ScanParamStart()) ReadValue(scanner, parameter);
}
template <typename Char, class T>
TMX_FORCE_INLINE void ReadNamed(TextScanner<Char>& scanner, bool& present, T& value,
                                const Name& name) {
    bool opened = false;
    present = scanner.ScanOptionalStart(name.In<Char>(), name.length, opened);
    if (!present) return SetUnread(value);
    if (opened) ReadValue(scanner, value);
}
template <typename Char, class T>
void ReadParameter(TextScanner<Char>& scanner, Optional<T>& parameter, const Name& name) {
    ReadNamed(scanner, parameter.present, parameter.value, name);
}

// ---- Templates ----------------------------------------------------------------------------------
//
// One function a type: there are as many classes of templates as of actions, and their code shall
// stay small.

template <typename Char, class T>
[[gnu::noinline]] void WriteParameter(TextWriter<Char>& writer, const MatchParam<T>& pair,
                                      const Name& name) {
    WriteNamed(writer, pair.IsSet, pair.Value, name);
}
template <typename Char, class T>
[[gnu::noinline]] void DisplayParameter(TextWriter<Char>& writer, std::uint32_t type,
                                        const MatchParam<T>& pair) {
    // A template's index starts at -2. What is met there is the description, which is not for
    // display.
    if (!pair.IsSet || writer.ParamIndex < -1) return writer.PassAbsent();
    WriteDisplay(writer, type, pair.Value);
}
template <typename Char, class T>
[[gnu::noinline]] void ReadParameter(TextScanner<Char>& scanner, MatchParam<T>& pair,
                                     const Name& name) {
    ReadNamed(scanner, pair.IsSet, pair.Value, name);
}

}  // namespace TmxPLC
