#include "text/value_reader.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "text/convert.h"

namespace TmxPLC {

namespace {

template <typename Char>
void AssignText(WideText& target, std::basic_string_view<Char> text, bool utf8) {
    if constexpr (std::is_same_v<Char, WideChar>)
        target.Assign(text);
    else
        AssignConverted(target, text, utf8);
}

template <typename Char>
void AssignText(AnsiText& target, std::basic_string_view<Char> text, bool utf8) {
    if constexpr (std::is_same_v<Char, char>)
        target.Assign(text);
    else
        AssignConverted(target, text, utf8);
}

// Hands a short text over in another width, terminated; a long one goes through convert. Nearly all
// date-times and GUIDs are short ASCII.
constexpr std::size_t kShortText = 63;
template <typename To, typename From>
bool CopyShort(To (&target)[kShortText + 1], std::basic_string_view<From> text) noexcept {
    if (text.size() > kShortText) return false;
    if constexpr (std::is_same_v<To, From>)
        Zinc::Units::Copy(target, text.data(), text.size() * sizeof(From));
    else if (!Zinc::Units::CopyAscii(target, text.data(), text.size()))
        return false;
    target[text.size()] = 0;
    return true;
}

TZincDateTime DateTimeFromText(Zinc::WideView text) {
    TZincDateTime value;
    if (Zinc::ParseCanonicalDateTime(text, value)) return value;
    WideChar buffer[kShortText + 1];
    if (CopyShort(buffer, text)) return Zinc::ParseDateTime(buffer);
    return Zinc::ParseDateTime(Zinc::WideString(text).c_str());
}
// Narrow date-times are widened by the ANSI code page, whatever Utf8Mode says.
TZincDateTime DateTimeFromText(std::string_view text) {
    TZincDateTime value;
    if (Zinc::ParseCanonicalDateTime(text, value)) return value;
    WideChar buffer[kShortText + 1];
    if (CopyShort(buffer, text)) return Zinc::ParseDateTime(buffer);
    return Zinc::ParseDateTime(Zinc::AnsiToWide(text).c_str());
}

Guid GuidFromText(std::string_view text) { return Zinc::StrToGuid(text); }
Guid GuidFromText(Zinc::WideView text) {
    char buffer[kShortText + 1];
    if (CopyShort(buffer, text)) return Zinc::StrToGuid({buffer, text.size()});
    return Zinc::StrToGuid(Zinc::WideToAnsi(text));
}

// A name inside braces.
template <typename Char>
bool ReadName(TextScanner<Char>& scanner, WideText& name) {
    std::basic_string_view<Char> text;
    if (!scanner.SkipToToken() || !scanner.ReadQuoted(text)) return false;
    AssignText(name, text, scanner.Utf8Mode);
    return true;
}

template <typename Char, typename Integer>
bool ReadNumberInBraces(TextScanner<Char>& scanner, Integer& number) noexcept {
    if (!scanner.SkipToToken()) return false;
    scanner.ReadNumber(number);
    return scanner.Healthy();
}

template <typename Char>
bool ReadWords(TextScanner<Char>& scanner, std::int16_t (&words)[4]) noexcept {
    for (int i = 0; i < 4; ++i) {
        if (i != 0 && !scanner.Expect(',')) return false;
        if (!ReadNumberInBraces(scanner, words[i])) return false;
    }
    return true;
}

// A name that stands alone for a reference.
template <typename Char>
void ReadBareName(TextScanner<Char>& scanner, WideText& name) {
    std::basic_string_view<Char> text;
    if (scanner.ReadQuotedAfterStart(text)) AssignText(name, text, scanner.Utf8Mode);
}

template <typename Char>
bool IsDigit(Char unit) noexcept {
    return unit >= '0' && unit <= '9';
}

// The length of the decimal number at text as the C locale's conversion takes it: white space, a
// sign, digits with one point, an exponent with at least one digit. 0 without a digit.
template <typename Char>
std::size_t MeasureDecimal(const Char* text, std::size_t& number) noexcept {
    const Char* at = text;
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    number = static_cast<std::size_t>(at - text);
    if (*at == '+' || *at == '-') ++at;
    bool any = false;
    for (; IsDigit(*at); ++at) any = true;
    if (*at == '.') {
        ++at;
        for (; IsDigit(*at); ++at) any = true;
    }
    if (!any) return 0;
    if (*at == 'e' || *at == 'E') {
        const Char* exponent = at + 1;
        if (*exponent == '+' || *exponent == '-') ++exponent;
        if (IsDigit(*exponent)) {
            while (IsDigit(*exponent)) ++exponent;
            at = exponent;
        }
    }
    return static_cast<std::size_t>(at - text);
}

// The value of a decimal number without a leading "+". A magnitude out of range becomes infinite or
// zero.
double DecimalValue(const char* first, const char* last) noexcept {
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error == std::errc{}) return value;
    const bool negative = *first == '-';
    // The decimal exponent of the first digit that is not zero tells which way it went.
    long exponent = 0, point = 0;
    bool started = false, fraction = false;
    const char* at = first + (negative ? 1 : 0);
    for (; at != last && (IsDigit(*at) || *at == '.'); ++at) {
        if (*at == '.') {
            fraction = true;
        } else {
            started = started || *at != '0';
            if (started && !fraction) ++point;
            if (!started && fraction) --point;
        }
    }
    if (at != last) {
        const bool negativeExponent = at[1] == '-';
        for (++at; at != last; ++at)
            if (IsDigit(*at) && exponent < 1000000) exponent = exponent * 10 + (*at - '0');
        if (negativeExponent) exponent = -exponent;
    }
    const double magnitude = exponent + point > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -magnitude : magnitude;
}

}  // namespace

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, double& value) {
    value = 0;
    std::size_t number = 0;
    const std::size_t length = MeasureDecimal(scanner.Cursor, number);
    if (length == 0) return;
    const Char* first = scanner.Cursor + number;
    const Char* const last = scanner.Cursor + length;
    if (*first == '+') ++first;
    const auto digits = static_cast<std::size_t>(last - first);
    if constexpr (std::is_same_v<Char, char>) {
        value = DecimalValue(first, last);
    } else {
        char buffer[128];
        if (digits <= sizeof buffer) {
            Zinc::Units::CopyAscii(buffer, first, digits);
            value = DecimalValue(buffer, buffer + digits);
        } else {
            std::string narrow(digits, '0');
            Zinc::Units::CopyAscii(narrow.data(), first, digits);
            value = DecimalValue(narrow.data(), narrow.data() + digits);
        }
    }
    const auto taken = std::min<std::int64_t>(static_cast<std::int64_t>(length), scanner.Remaining);
    scanner.Take(static_cast<std::ptrdiff_t>(taken));
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, WideText& value) {
    ReadBareName(scanner, value);
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, AnsiText& value) {
    std::basic_string_view<Char> text;
    if (scanner.ReadQuotedAfterStart(text)) AssignText(value, text, scanner.Utf8Mode);
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, TZincDateTime& value) {
    std::basic_string_view<Char> text;
    if (scanner.ReadQuoted(text)) value = DateTimeFromText(text);
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, Guid& value) {
    std::basic_string_view<Char> text;
    if (scanner.ReadQuotedAfterStart(text)) value = GuidFromText(text);
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, ObjectRef& value) {
    if (*scanner.Cursor != '{') return scanner.ReadNumber(value.number);
    scanner.Take(1);
    if (ReadNumberInBraces(scanner, value.id) && scanner.Expect(',') &&
        ReadNumberInBraces(scanner, value.number) && scanner.Expect(',') &&
        ReadName(scanner, value.nameText)) {
        scanner.Expect('}');
    }
    value.Attach();
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, NamedId& value) {
    if (*scanner.Cursor != '{') {
        ReadBareName(scanner, value.nameText);
    } else {
        scanner.Take(1);
        if (ReadNumberInBraces(scanner, value.id) && scanner.Expect(',') &&
            ReadName(scanner, value.nameText)) {
            scanner.Expect('}');
        }
    }
    value.Attach();
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, GuidRef& value) {
    if (*scanner.Cursor != '{') {
        ReadBareName(scanner, value.nameText);
        value.Attach();
        return;
    }
    scanner.Take(1);
    if (!scanner.Expect('"')) return;
    // Without a closing quote the place stays behind the opening one, and the comma is missed
    // there.
    std::size_t length = 0;
    if (const Char* begin = scanner.ReadToQuote(length))
        value.guid = GuidFromText(std::basic_string_view<Char>(begin, length));
    if (scanner.Expect(',') && ReadName(scanner, value.nameText)) scanner.Expect('}');
    value.Attach();
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, ParamRect& value) noexcept {
    if (scanner.Expect('{') && ReadWords(scanner, value.words)) scanner.Expect('}');
}

template <typename Char>
void ReadValue(TextScanner<Char>& scanner, DataSet& value) {
    value.entries.clear();
    if (!scanner.Expect('{') || !scanner.SkipToToken()) return;
    while (*scanner.Cursor == '{') {
        scanner.Take(1);
        DataSetEntry entry;
        const bool read = ReadWords(scanner, entry.words) && scanner.Expect(',') &&
                          ReadNumberInBraces(scanner, entry.number) && scanner.Expect(',') &&
                          ReadName(scanner, entry.nameText) && scanner.Expect('}');
        if (!read) return;
        value.entries.push_back(std::move(entry));
        if (!scanner.SkipToToken()) return;
        if (*scanner.Cursor == '}') return scanner.Take(1);
        if (!scanner.Expect(',') || !scanner.SkipToToken()) return;
    }
}

#define TMX_READERS(Char)                                             \
    template void ReadValue(TextScanner<Char>&, double&);             \
    template void ReadValue(TextScanner<Char>&, WideText&);           \
    template void ReadValue(TextScanner<Char>&, AnsiText&);           \
    template void ReadValue(TextScanner<Char>&, TZincDateTime&);      \
    template void ReadValue(TextScanner<Char>&, Guid&);               \
    template void ReadValue(TextScanner<Char>&, ObjectRef&);          \
    template void ReadValue(TextScanner<Char>&, NamedId&);            \
    template void ReadValue(TextScanner<Char>&, GuidRef&);            \
    template void ReadValue(TextScanner<Char>&, ParamRect&) noexcept; \
    template void ReadValue(TextScanner<Char>&, DataSet&);
TMX_READERS(char)
TMX_READERS(WideChar)
#undef TMX_READERS

}  // namespace TmxPLC
