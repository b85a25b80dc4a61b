// How a parameter stands in the text of its message. A required parameter of an action stands by
// its position alone. An optional one, and every one of a template, stands by its name, and is left
// out where it has no value.
#pragma once

#include "match/match_action.h"
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
    if (!pair.IsSet) return writer.PassAbsent();
    WriteDisplay(writer, type, pair.Value);
}
template <typename Char, class T>
[[gnu::noinline]] void ReadParameter(TextScanner<Char>& scanner, MatchParam<T>& pair,
                                     const Name& name) {
    ReadNamed(scanner, pair.IsSet, pair.Value, name);
}

/// What stands ahead of the parameters: the name, and the description, which is not for display. A
/// template's index begins one lower, so that the description's is -1.
template <typename Char>
[[gnu::noinline]] void WriteTemplateStart(TextWriter<Char>& writer, const Descriptor& descriptor,
                                          const Name& name, const CTmxMatchAction& message) {
    writer.WriteName(descriptor, name);
    if (writer.DisplayMode) return writer.PassAbsent();
    WriteParameter(writer, message.Description(), kDescriptionName);
}
template <typename Char>
[[gnu::noinline]] bool WriteTemplateEnd(TextWriter<Char>& writer) {
    return writer.WriteEnd();
}

template <typename Char>
[[gnu::noinline]] void ReadTemplateStart(TextScanner<Char>& scanner, CTmxMatchAction& message) {
    scanner.ScanOpenParen();
    MatchParam<WideText> description;
    ReadParameter(scanner, description, kDescriptionName);
    if (description.IsSet) message.SetDescription(std::move(description.Value));
}
template <typename Char>
[[gnu::noinline]] bool ReadTemplateEnd(TextScanner<Char>& scanner) {
    scanner.ScanCloseParen();
    return scanner.Healthy();
}

}  // namespace TmxPLC
