#include "text/value_writer.h"

#include <algorithm>

namespace TmxPLC {

namespace {

// The GUID of the one reference that is shown by a plain text of its own:
// {baa41e7c-9328-427e-943d-a66b44ef2fdb}, the rest of the time.
constexpr Guid kRestOfTime = {
    0xbaa41e7c, 0x9328, 0x427e, {0x94, 0x3d, 0xa6, 0x6b, 0x44, 0xef, 0x2f, 0xdb}};
constexpr std::uint32_t kRestOfTimeEnumeration = 60;

template <typename Char>
void PutWords(TextWriter<Char>& writer, const std::int16_t (&words)[4]) {
    for (int i = 0; i < 4; ++i) {
        if (i != 0) writer.PutLiteral(", ");
        writer.PutNumber(words[i]);
    }
}

// A text of the other width. ASCII is copied; the rest is converted if it fits, and measured in any
// case. A conversion that fails is not reported.
template <typename Char, typename From, class Convert>
void PutConverted(TextWriter<Char>& writer, std::basic_string_view<From> text, Convert convert,
                  std::uint32_t flags) {
    if (text.empty()) return;
    if (Zinc::Units::IsAscii(text.data(), text.size())) {
        if (Char* place = writer.Piece(text.size()))
            Zinc::Units::CopyAscii(place, text.data(), text.size());
        return;
    }
    const std::size_t room = writer.Remaining > 0 ? static_cast<std::size_t>(writer.Remaining) : 0;
    const std::ptrdiff_t count =
        convert(PageOf(writer.Utf8Mode), flags, text.data(), text.size(), writer.Cursor, room);
    if (count > 0) writer.Piece(static_cast<std::size_t>(count));
}

// The plain text of an entry of an enumeration, without the parameter's name. What separates the
// values is put out whether or not there was one before.
template <typename Char>
bool WriteEntry(TextWriter<Char>& writer, std::uint32_t enumeration, std::int32_t value) {
    const EnumValueRecord* entry = TheCatalogue().FindEnumValue(enumeration, value);
    if (entry == nullptr) return false;
    ++writer.ParamIndex;
    writer.PutLiteral("; ");
    writer.PutPlain(entry->text);
    return true;
}

}  // namespace

template <typename Char>
void PutText(TextWriter<Char>& writer, const WideText& text) {
    if constexpr (std::is_same_v<Char, WideChar>)
        writer.Put(text.view());
    else
        PutConverted(writer, text.view(), Platform::WideToNarrow,
                     FlagsTowardsNarrow(writer.Utf8Mode));
}

template <typename Char>
void PutText(TextWriter<Char>& writer, const AnsiText& text) {
    if constexpr (std::is_same_v<Char, char>)
        writer.Put(text.view());
    else
        PutConverted(writer, text.view(), Platform::NarrowToWide,
                     FlagsTowardsWide(writer.Utf8Mode));
}

template <typename Char>
void PutValue(TextWriter<Char>& writer, const Guid& value) {
    writer.PutLiteral("\"");
    if (Char* place = writer.Piece(Zinc::kGuidTextLength)) Zinc::PutGuid(place, value);
    writer.PutLiteral("\"");
}

template <typename Char>
void PutValue(TextWriter<Char>& writer, double value) {
    char text[Zinc::kDoubleTextCapacity];
    const std::size_t length = Zinc::FormatDouble(text, value);
    if (Char* place = writer.Piece(length)) std::copy(text, text + length, place);
}

template <typename Char>
void PutValue(TextWriter<Char>& writer, const ParamRect& value) {
    writer.PutLiteral("{ ");
    PutWords(writer, value.words);
    writer.PutLiteral(" }");
}

template <typename Char>
void PutValue(TextWriter<Char>& writer, const DataSet& value) {
    writer.PutLiteral("{");
    bool first = true;
    for (const DataSetEntry& entry : value.entries) {
        if (!first) writer.PutLiteral(", ");
        first = false;
        writer.PutLiteral("{ ");
        PutWords(writer, entry.words);
        writer.PutLiteral(", ");
        // The number of an entry is printed as unsigned: 4294967295 for -1.
        writer.PutNumber(static_cast<std::uint32_t>(entry.number));
        writer.PutLiteral(", ");
        PutValue(writer, entry.nameText);
        writer.PutLiteral(" }");
    }
    writer.PutLiteral("}");
}

template <typename Char>
void PutMachine(TextWriter<Char>& writer, const TZincDateTime& value) {
    Char text[Zinc::kDateTimeTextCapacity];
    const std::size_t length = Zinc::DateTimeToText(text, value);
    writer.PutLiteral("\"");
    writer.Put(text, length);
    writer.PutLiteral("\"");
}

template <typename Char>
void PutMachine(TextWriter<Char>& writer, const ObjectRef& value) {
    if (value.id == 0 && value.nameText.empty()) return writer.PutNumber(value.number);
    writer.PutLiteral("{ ");
    writer.PutNumber(value.id);
    writer.PutLiteral(", ");
    writer.PutNumber(value.number);
    writer.PutLiteral(", \"");
    PutText(writer, value.nameText);
    writer.PutLiteral("\" }");
}

template <typename Char>
void PutMachine(TextWriter<Char>& writer, const NamedId& value) {
    if (value.id == 0) return PutValue(writer, value.nameText);
    writer.PutLiteral("{ ");
    writer.PutNumber(value.id);
    writer.PutLiteral(", \"");
    PutText(writer, value.nameText);
    writer.PutLiteral("\" }");
}

template <typename Char>
void PutMachine(TextWriter<Char>& writer, const GuidRef& value) {
    if (Zinc::IsNil(value.guid)) return PutValue(writer, value.nameText);
    writer.PutLiteral("{ ");
    PutValue(writer, value.guid);
    writer.PutLiteral(", \"");
    PutText(writer, value.nameText);
    writer.PutLiteral("\" }");
}

template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t type, std::int32_t value) {
    if (IsEnumeration(type) && WriteEntry(writer, type, value)) return;
    writer.Separator();
    writer.PutNumber(value);
}

// Unlike an enumeration, a bool is told with its parameter's name.
template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, bool value) {
    writer.Separator();
    const EnumValueRecord* entry = TheCatalogue().FindEnumValue(ParamBool, value ? 1 : 0);
    if (entry != nullptr)
        writer.PutPlain(entry->text);
    else
        PutMachine(writer, value);
}

template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, const TZincDateTime& value) {
    writer.Separator();
    WideChar text[Zinc::kDateTimeTextCapacity];
    const std::size_t length =
        Zinc::SystemTimeToStr(text, Zinc::FileTimeToSystemTime(value.GetLocalFileTime()));
    writer.PutLiteral("\"");
    WideText converted;
    converted.Assign(text, length);
    PutText(writer, converted);
    writer.PutLiteral("\"");
}

template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, const ObjectRef& value) {
    writer.Separator();
    if (!value.nameText.empty()) {
        PutText(writer, value.nameText);
        writer.PutLiteral(" (");
        writer.PutNumber(value.number);
        writer.PutLiteral(")");
    } else if (value.number != 0) {
        writer.PutNumber(value.number);
    } else {
        writer.PutLiteral("#: ");
        writer.PutNumber(value.id);
    }
}

template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, const NamedId& value) {
    writer.Separator();
    if (!value.nameText.empty())
        PutValue(writer, value.nameText);
    else
        writer.PutNumber(value.id);
}

template <typename Char>
void WriteDisplay(TextWriter<Char>& writer, std::uint32_t, const GuidRef& value) {
    if (value.guid == kRestOfTime && WriteEntry(writer, kRestOfTimeEnumeration, 0)) return;
    writer.Separator();
    if (value.nameText.empty())
        PutValue(writer, value.guid);
    else
        PutValue(writer, value.nameText);
}

#define TMX_WRITERS(Char)                                                               \
    template void PutText(TextWriter<Char>&, const WideText&);                          \
    template void PutText(TextWriter<Char>&, const AnsiText&);                          \
    template void PutValue(TextWriter<Char>&, const Guid&);                             \
    template void PutValue(TextWriter<Char>&, double);                                  \
    template void PutValue(TextWriter<Char>&, const ParamRect&);                        \
    template void PutValue(TextWriter<Char>&, const DataSet&);                          \
    template void PutMachine(TextWriter<Char>&, const TZincDateTime&);                  \
    template void PutMachine(TextWriter<Char>&, const ObjectRef&);                      \
    template void PutMachine(TextWriter<Char>&, const NamedId&);                        \
    template void PutMachine(TextWriter<Char>&, const GuidRef&);                        \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, std::int32_t);         \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, bool);                 \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, const TZincDateTime&); \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, const ObjectRef&);     \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, const NamedId&);       \
    template void WriteDisplay(TextWriter<Char>&, std::uint32_t, const GuidRef&);
TMX_WRITERS(char)
TMX_WRITERS(WideChar)
#undef TMX_WRITERS

}  // namespace TmxPLC
