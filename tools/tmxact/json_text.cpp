#include "json_text.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "encoding.h"

namespace tmxact {

namespace {

bool IsSurrogate(char16_t c) noexcept { return c >= 0xD800 && c <= 0xDFFF; }

}  // namespace

void JsonText::Key(std::string_view name) {
    if (!text_.empty() && text_.back() != '{') text_ += ',';
    Utf8(name);
    text_ += ':';
}

void JsonText::Int32(std::int64_t value) {
    char digits[24];
    text_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void JsonText::Int64(std::int64_t value) {
    if (int64AsString_) text_ += '"';
    Int32(value);
    if (int64AsString_) text_ += '"';
}

void JsonText::Double(double value) {
    if (std::isnan(value)) {
        text_ += "\"NaN\"";
    } else if (std::isinf(value)) {
        text_ += value > 0 ? "\"Infinity\"" : "\"-Infinity\"";
    } else {
        char digits[32];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
}

void JsonText::Character(std::uint32_t c) {
    switch (c) {
        case '"':
            text_ += "\\\"";
            return;
        case '\\':
            text_ += "\\\\";
            return;
        case '\n':
            text_ += "\\n";
            return;
        case '\r':
            text_ += "\\r";
            return;
        case '\t':
            text_ += "\\t";
            return;
        default:
            // Control characters, line separators and surrogates have no place in a line of text.
            if (c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 ||
                (c >= 0xD800 && c <= 0xDFFF)) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(c));
                text_ += escape;
            } else {
                AppendUtf8(text_, c);
            }
    }
}

void JsonText::Utf8(std::string_view text) {
    text_ += '"';
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text.front());
        const std::size_t length = Utf8Length(text.substr(0, 4));
        if (first < 0x80) {
            Character(first);
        } else if (length == 0) {
            AppendUtf8(text_, 0xFFFD);
        } else if (length == 2) {
            Character(((first & 0x1Fu) << 6) | (static_cast<unsigned char>(text[1]) & 0x3Fu));
        } else {
            text_ += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    text_ += '"';
}

void JsonText::Wide(const TmxWChar* text) {
    text_ += '"';
    for (; *text != 0; ++text) {
        std::uint32_t c = static_cast<char16_t>(*text);
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
            text_ += static_cast<char>(c);
            continue;
        }
        const auto next = static_cast<char16_t>(text[1]);
        if (c >= 0xD800 && c < 0xDC00 && next >= 0xDC00 && IsSurrogate(next)) {
            c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00u);
            ++text;
        }
        Character(c);
    }
    text_ += '"';
}

void JsonText::Narrow(const char* text, bool mayBeUtf8) {
    const std::string_view all(text);
    if (mayBeUtf8 && FindBadUtf8(all) == std::string_view::npos) {
        Utf8(all);
        return;
    }
    text_ += '"';
    for (const char c : all) Character(AnsiCodePoint(static_cast<unsigned char>(c)));
    text_ += '"';
}

void JsonText::DateTime(TmxDateTime value) {
    // Milliseconds since 1601 in the lower 48 bits, the zone's bias in minutes above them.
    const auto utc = static_cast<std::int64_t>(value.value & 0xFFFFFFFFFFFF);
    const auto bias = static_cast<std::int16_t>(value.value >> 48);
    constexpr std::chrono::sys_days kEpoch = std::chrono::year(1601) / 1 / 1;
    const std::chrono::sys_time<std::chrono::milliseconds> local =
        kEpoch + std::chrono::milliseconds(utc - std::int64_t{bias} * 60000);
    const auto day = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(local - day);
    const int offset = -bias;
    if (static_cast<int>(date.year()) > 9999 || std::abs(offset) >= 24 * 60) {
        // Beyond what RFC 3339 can tell.
        text_ += "{\"utcMilliseconds\":";
        Int64(utc);
        text_ += ",\"bias\":";
        Int32(bias);
        text_ += '}';
        return;
    }
    char text[48];
    std::snprintf(text, sizeof text, "\"%04d-%02u-%02uT%02d:%02d:%02d.%03d%c%02d:%02d\"",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()),
                  static_cast<int>(time.subseconds().count()), offset < 0 ? '-' : '+',
                  std::abs(offset) / 60, std::abs(offset) % 60);
    text_ += text;
}

void JsonText::Guid(const TmxGuid& g) {
    char text[48];
    std::snprintf(text, sizeof text, "\"%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x\"",
                  g.Data1, g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3],
                  g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    text_ += text;
}

}  // namespace tmxact
