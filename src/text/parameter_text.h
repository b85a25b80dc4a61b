// How a parameter stands in the text of its message. A required parameter of an action stands by
// its position alone. An optional one, and every one of a template, stands by its name, and is left
// out where it has no value.
//
// Each is one function a type, out of line: there are hundreds of classes that call them, one call
// a parameter.
#pragma once

#include "match/match_action.h"
#include "text/value_reader.h"
#include "text/value_writer.h"

namespace TmxPLC {

// ---- Machine form -------------------------------------------------------------------------------

template <typename Char, class T>
[[gnu::noinline]] void WriteParameter(TextWriter<Char>& writer, const T& parameter, const Name&) {
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
[[gnu::noinline]] void WriteParameter(TextWriter<Char>& writer, const Optional<T>& parameter,
                                      const Name& name) {
    WriteNamed(writer, parameter.present, parameter.value, name);
}

// ---- Display form -------------------------------------------------------------------------------

template <typename Char, class T>
[[gnu::noinline]] void DisplayParameter(TextWriter<Char>& writer, std::uint32_t type,
                                        const T& parameter) {
    WriteDisplay(writer, type, parameter);
}
template <typename Char, class T>
[[gnu::noinline]] void DisplayParameter(TextWriter<Char>& writer, std::uint32_t type,
                                        const Optional<T>& parameter) {
    if (!parameter.present) return writer.PassAbsent();
    WriteDisplay(writer, type, parameter.value);
}

// ---- Reading ------------------------------------------------------------------------------------

template <typename Char, class T>
[[gnu::noinline]] void ReadParameter(TextScanner<Char>& scanner, T& parameter, const Name&) {
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
[[gnu::noinline]] void ReadParameter(TextScanner<Char>& scanner, Optional<T>& parameter,
                                     const Name& name) {
    ReadNamed(scanner, parameter.present, parameter.value, name);
}

// ---- Templates ----------------------------------------------------------------------------------
//
// Here one function a type serves all: there are as many classes of templates as of actions, and
// their code shall stay small. T is the type of a value.

/// In the writer's form, machine or display.
template <typename Char, class T>
void WritePair(TextWriter<Char>& writer, std::uint32_t type, const MatchParam<T>& pair,
               const Name& name);
template <typename Char, class T>
void ReadPair(TextScanner<Char>& scanner, MatchParam<T>& pair, const Name& name);

/// What stands ahead of the parameters: the name and the description, or the opening parenthesis
/// and the description.
template <typename Char>
void WriteTemplateStart(TextWriter<Char>& writer, const Descriptor& descriptor, const Name& name,
                        const CTmxMatchAction& message);
template <typename Char>
void ReadTemplateStart(TextScanner<Char>& scanner, CTmxMatchAction& message);

/// What stands behind them. Return whether everything fitted, and whether nothing failed.
template <typename Char>
bool WriteTemplateEnd(TextWriter<Char>& writer);
template <typename Char>
bool ReadTemplateEnd(TextScanner<Char>& scanner);

}  // namespace TmxPLC
