// How the value of each parameter type is written as text: one rule a type, for both widths and
// both forms. Nothing is escaped anywhere: a quote inside a text is put out as it stands.
#pragma once

#include "objects/values.h"
#include "text/writer.h"

namespace TmxPLC {

/// A quoted text. Texts of the other width are converted in the code page that Utf8Mode selects; a
/// narrow text in narrow text is never recoded.
template <typename Char>
void PutText(TextWriter<Char>& writer, const WideText& text);
template <typename Char>
void PutText(TextWriter<Char>& writer, const AnsiText& text);

/// The value, without what separates it from the one before. These are the same in both forms.
template <typename Char>
inline void PutValue(TextWriter<Char>& writer, std::int32_t value) {
    writer.PutNumber(value);
}
template <typename Char>
inline void PutValue(TextWriter<Char>& writer, std::int64_t value) {
    writer.PutNumber(value);
}
template <typename Char>
inline void PutValue(TextWriter<Char>& writer, const WideText& value) {
    writer.PutLiteral("\"");
    PutText(writer, value);
    writer.PutLiteral("\"");
}
template <typename Char>
inline void PutValue(TextWriter<Char>& writer, const AnsiText& value) {
    writer.PutLiteral("\"");
    PutText(writer, value);
    writer.PutLiteral("\"");
}
template <typename Char>
void PutValue(TextWriter<Char>& writer, const Guid& value);
/// Six significant digits, an exponent of at least three; "1.#INF", "-1.#INF", "1.#QNAN",
/// "-1.#IND".
template <typename Char>
void PutValue(TextWriter<Char>& writer, double value);
template <typename Char>
void PutValue(TextWriter<Char>& writer, const ParamRect& value);
template <typename Char>
void PutValue(TextWriter<Char>& writer, const DataSet& value);

/// The machine forms of the types that have another for display.
template <typename Char>
inline void PutMachine(TextWriter<Char>& writer, bool value) {
    if (value)
        writer.PutLiteral("1");
    else
        writer.PutLiteral("0");
}
/// Raises Zinc::SystemException where the local time falls outside the calendar.
template <typename Char>
void PutMachine(TextWriter<Char>& writer, const TZincDateTime& value);
template <typename Char>
void PutMachine(TextWriter<Char>& writer, const ObjectRef& value);
template <typename Char>
void PutMachine(TextWriter<Char>& writer, const NamedId& value);
template <typename Char>
void PutMachine(TextWriter<Char>& writer, const GuidRef& value);
template <typename Char, typename T>
inline void PutMachine(TextWriter<Char>& writer, const T& value) {
    PutValue(writer, value);
}

/// The display form of a value of the type, with what separates it from the one before. One way,
/// for people.
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, std::int32_t value);
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, bool value);
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, const TZincDateTime& value);
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, const ObjectRef& value);
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, const NamedId& value);
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, const GuidRef& value);
template <typename Char, typename T>
inline void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, const T& value) {
    writer.Separator();
    PutValue(writer, value);
}

}  // namespace TmxPLC
