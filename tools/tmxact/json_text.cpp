#include "json_text.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "encoding.h"

namespace tmxact {

namespace {

bool IsSurrogate(unsigned c) noexcept { return c >= 0xD800 && c <= 0xDFFF; }

// UTF-16 of any content: an unpaired surrogate, which RapidJSON's own decoder refuses, is taken for
// a character.
struct AnyUtf16 : rapidjson::UTF16<TmxWChar> {
    template <typename Stream>
    static bool Decode(Stream& in, unsigned* codePoint) {
        const auto first = static_cast<char16_t>(in.Take());
        *codePoint = first;
        if (first < 0xD800 || first > 0xDBFF) return true;
        const auto second = static_cast<char16_t>(in.Peek());  // 0 at the end
        if (second < 0xDC00 || second > 0xDFFF) return true;
        in.Take();
        *codePoint = 0x10000u + ((first - 0xD800u) << 10) + (second - 0xDC00u);
        return true;
    }
};

struct Ansi : rapidjson::UTF8<> {
    template <typename Stream>
    static bool Decode(Stream& in, unsigned* codePoint) {
        *codePoint = AnsiCodePoint(static_cast<unsigned char>(in.Take()));
        return true;
    }
};

std::string Mended(std::string_view text) {
    std::string mended;
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        if (length == 0) {
            AppendUtf8(mended, 0xFFFD);
        } else {
            mended += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return mended;
}

}  // namespace

void* JsonMemory::Realloc(void* block, std::size_t, std::size_t size) {
    if (size == 0) {
        std::free(block);
        return nullptr;
    }
    void* const moved = std::realloc(block, size);
    if (moved == nullptr) throw std::bad_alloc();
    return moved;
}

void JsonMemory::Free(void* block) noexcept { std::free(block); }

// Within a string, where RapidJSON has set room aside for six bytes.
template <typename Stream>
void LineUtf8::EncodeUnsafe(Stream& out, unsigned c) {
    const bool escaped = (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || IsSurrogate(c);
    if (!escaped) return rapidjson::UTF8<>::EncodeUnsafe(out, c);
    PutUnsafe(out, '\\');
    PutUnsafe(out, 'u');
    for (int shift = 12; shift >= 0; shift -= 4)
        PutUnsafe(out, "0123456789ABCDEF"[(c >> shift) & 0xF]);
}

void JsonText::Clear() {
    buffer_.Clear();
    writer_.Reset(buffer_);
}

template <typename Source>
void JsonText::StringFrom(const typename Source::Ch* text, std::size_t length) {
    // A RapidJSON writer knows one encoding of what it is given. So this one only takes note of the
    // string, with the comma or colon ahead, and one for the encoding puts it.
    writer_.RawValue("", 0, rapidjson::kStringType);
    Writer<Source>(buffer_).String(text, length);
}

void JsonText::Key(std::string_view name) { writer_.Key(name.data(), name.size()); }

void JsonText::Int64(std::int64_t value) {
    if (!int64AsString_) return Number(value);
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    writer_.String(digits, static_cast<std::size_t>(end - digits));
}

void JsonText::Double(double value) {
    if (std::isnan(value)) return Utf8("NaN");
    if (std::isinf(value)) return Utf8(value > 0 ? "Infinity" : "-Infinity");
    // RapidJSON's own digits read back too, but aren't always the fewest and the nearest.
    char digits[32];
    const char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    writer_.RawValue(digits, static_cast<std::size_t>(end - digits), rapidjson::kNumberType);
}

void JsonText::Utf8(std::string_view text) {
    if (FindBadUtf8(text) == std::string_view::npos) {
        writer_.String(text.data(), text.size());
    } else {
        const std::string mended = Mended(text);
        writer_.String(mended.data(), mended.size());
    }
}

void JsonText::Wide(const TmxWChar* text) {
    StringFrom<AnyUtf16>(text, std::char_traits<TmxWChar>::length(text));
}

void JsonText::Narrow(const char* text, bool mayBeUtf8) {
    const std::string_view all(text);
    if (mayBeUtf8 && FindBadUtf8(all) == std::string_view::npos) {
        writer_.String(all.data(), all.size());
    } else {
        StringFrom<Ansi>(all.data(), all.size());
    }
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
        StartObject();
        Key("utcMilliseconds");
        Int64(utc);
        Key("bias");
        Number(bias);
        EndObject();
        return;
    }
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03d%c%02d:%02d",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()),
                  static_cast<int>(time.subseconds().count()), offset < 0 ? '-' : '+',
                  std::abs(offset) / 60, std::abs(offset) % 60);
    Utf8(text);
}

void JsonText::Guid(const TmxGuid& g) {
    char text[48];
    std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", g.Data1,
                  g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4],
                  g.Data4[5], g.Data4[6], g.Data4[7]);
    Utf8(text);
}

}  // namespace tmxact
