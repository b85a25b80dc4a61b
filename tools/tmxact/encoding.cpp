#include "encoding.h"

#include <array>

namespace tmxact {

namespace {

// windows-1252, bytes 0x80 to 0x9F; source: the Unicode Consortium's mapping table CP1252.TXT.
constexpr std::array<std::uint16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::uint32_t kReplacement = 0xFFFD;

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Characters that take no column: combining marks and format characters, by block. Source: Unicode
// Character Database, Blocks.txt and DerivedGeneralCategory.txt.
constexpr Range kNoColumn[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x064B, 0x065F},  {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064},  {0x20D0, 0x20F0},
    {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0xE0100, 0xE01EF}};

// Characters that take two, by block. Source: EastAsianWidth.txt, W and F.
constexpr Range kTwoColumns[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},  {0xA960, 0xA97C}, {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
    {0x1F680, 0x1F6FF}, {0x1F900, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <std::size_t Size>
bool In(const Range (&ranges)[Size], std::uint32_t c) noexcept {
    for (const Range& each : ranges)
        if (c >= each.first && c <= each.last) return true;
    return false;
}

// Takes the first character off a text that isn't empty; U+FFFD for a byte that is none.
std::uint32_t TakeCodePoint(std::string_view& text) noexcept {
    const std::size_t length = Utf8Length(text.substr(0, 4));
    const auto first = static_cast<unsigned char>(text.front());
    std::uint32_t c = length == 0 ? kReplacement : length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
        c = (c << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    text.remove_prefix(length == 0 ? 1 : length);
    return c;
}

}  // namespace

void AppendUtf8(std::string& out, std::uint32_t c) {
    if (c >= 0xD800 && c <= 0xDFFF) c = kReplacement;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::uint32_t AnsiCodePoint(unsigned char byte) noexcept {
    return byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80u] : byte;
}

std::string AnsiToUtf8(std::string_view ansi) {
    std::string out;
    for (const char c : ansi) AppendUtf8(out, AnsiCodePoint(static_cast<unsigned char>(c)));
    return out;
}

std::string Utf8ToAnsi(std::string_view utf8) {
    std::string out;
    while (!utf8.empty()) {
        const std::uint32_t c = TakeCodePoint(utf8);
        char found = '?';
        for (unsigned byte = 0; byte < 0x100; ++byte)
            if (AnsiCodePoint(static_cast<unsigned char>(byte)) == c)
                found = static_cast<char>(byte);
        out += found;
    }
    return out;
}

std::string WideToUtf8(const TmxWChar* text) {
    std::string out;
    while (*text != 0) {
        std::uint32_t c = *text++;
        if (c >= 0xD800 && c <= 0xDBFF && *text >= 0xDC00 && *text <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (*text++ - 0xDC00u);
        AppendUtf8(out, c);
    }
    return out;
}

std::u16string Utf8ToWide(std::string_view utf8) {
    std::u16string out;
    while (!utf8.empty()) {
        const std::uint32_t c = TakeCodePoint(utf8);
        if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(0xD7C0 + (c >> 10));
            out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return out;
}

std::size_t Utf8Length(std::string_view text) noexcept {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const auto follows = [&](std::size_t i, unsigned low = 0x80, unsigned high = 0xBF) {
        return byte(i) >= low && byte(i) <= high;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return follows(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const unsigned low = first == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = first == 0xED ? 0x9F : 0xBF;
        return follows(1, low, high) && follows(2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const unsigned low = first == 0xF0 ? 0x90 : 0x80;
        const unsigned high = first == 0xF4 ? 0x8F : 0xBF;
        return follows(1, low, high) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

std::size_t FindBadUtf8(std::string_view text) noexcept {
    unsigned char any = 0;
    for (const char c : text) any |= static_cast<unsigned char>(c);
    if (any < 0x80) return std::string_view::npos;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = Utf8Length(text.substr(at, 4));
        if (length == 0) return at;
        at += length;
    }
    return std::string_view::npos;
}

std::size_t DisplayWidth(std::string_view text) noexcept {
    std::size_t width = 0;
    while (!text.empty()) {
        const std::uint32_t c = TakeCodePoint(text);
        width += In(kNoColumn, c) ? 0 : In(kTwoColumns, c) ? 2 : 1;
    }
    return width;
}

std::string Printable(std::string_view text, bool ansi) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (ansi || byte < 0x80) {
            const std::uint32_t c = AnsiCodePoint(byte);
            if (c == '\t' || c == '\r' || c == '\n') {
                out += ' ';
            } else {
                AppendUtf8(out, c < 0x20 || (c >= 0x7F && c < 0xA0) ? kReplacement : c);
            }
            ++at;
            continue;
        }
        const std::size_t length = Utf8Length(text.substr(at, 4));
        const bool control =
            length == 2 && byte == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0;
        if (length == 0 || control) {
            AppendUtf8(out, kReplacement);
        } else {
            out += text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return out;
}

}  // namespace tmxact
