#include "support/reference_encoding.h"

#include <cstdint>

namespace tmxtest {

namespace {

// The upper part of the page that differs from Latin-1, bytes 80 to 9F.
constexpr TmxWChar kPage[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char ToPage(TmxWChar unit) {
    for (unsigned i = 0; i < 32; ++i) {
        if (kPage[i] == unit) return static_cast<char>(0x80 + i);
    }
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
    return '?';
}

// The letter that the page has for a base letter and a combining mark, else 0.
TmxWChar Composed(TmxWChar base, TmxWChar mark) {
    struct Row {
        TmxWChar mark;
        WideView bases;
        WideView letters;
    };
    static constexpr Row kRows[] = {
        {0x0300, TMX_W("AEIOUaeiou"),
         TMX_W("\u00C0\u00C8\u00CC\u00D2\u00D9\u00E0\u00E8\u00EC\u00F2\u00F9")},
        {0x0301, TMX_W("AEIOUYaeiouy"),
         TMX_W("\u00C1\u00C9\u00CD\u00D3\u00DA\u00DD\u00E1\u00E9\u00ED\u00F3\u00FA\u00FD")},
        {0x0302, TMX_W("AEIOUaeiou"),
         TMX_W("\u00C2\u00CA\u00CE\u00D4\u00DB\u00E2\u00EA\u00EE\u00F4\u00FB")},
        {0x0303, TMX_W("ANOano"), TMX_W("\u00C3\u00D1\u00D5\u00E3\u00F1\u00F5")},
        {0x0308, TMX_W("AEIOUYaeiouy"),
         TMX_W("\u00C4\u00CB\u00CF\u00D6\u00DC\u0178\u00E4\u00EB\u00EF\u00F6\u00FC\u00FF")},
        {0x030A, TMX_W("Aa"), TMX_W("\u00C5\u00E5")},
        {0x030C, TMX_W("SZsz"), TMX_W("\u0160\u017D\u0161\u017E")},
        {0x0327, TMX_W("Cc"), TMX_W("\u00C7\u00E7")},
    };
    for (const Row& row : kRows) {
        if (row.mark != mark) continue;
        const size_t at = row.bases.find(base);
        if (at != WideView::npos) return row.letters[at];
    }
    return 0;
}

void AppendUtf8(std::string& text, uint32_t point) {
    const auto put = [&](uint32_t byte) { text += static_cast<char>(byte); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | (point >> 18));
        put(0x80 | ((point >> 12) & 0x3F));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

}  // namespace

std::string ToNarrow(WideView text, bool utf8) {
    std::string narrow;
    for (size_t i = 0; i < text.size(); ++i) {
        const TmxWChar unit = text[i];
        const TmxWChar next = i + 1 < text.size() ? text[i + 1] : TMX_W('\0');
        if (!utf8) {
            const TmxWChar composed = Composed(unit, next);
            narrow += ToPage(composed != 0 ? composed : unit);
            if (composed != 0) ++i;
        } else if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            AppendUtf8(narrow, 0x10000u + ((unit - 0xD800u) << 10) + (next - 0xDC00u));
            ++i;
        } else if (unit >= 0xD800 && unit < 0xE000) {
            AppendUtf8(narrow, 0xFFFD);
        } else {
            AppendUtf8(narrow, unit);
        }
    }
    return narrow;
}

WideString ToWide(std::string_view text, bool utf8) {
    WideString wide;
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        if (!utf8) {
            wide += first >= 0x80 && first < 0xA0 ? kPage[first - 0x80] : TmxWChar{first};
            ++i;
            continue;
        }
        // The number of bytes that follow, and the range of the first of them.
        size_t more = 0;
        unsigned low = 0x80;
        unsigned high = 0xBF;
        uint32_t point = first;
        if (first >= 0xC2 && first <= 0xDF) {
            more = 1;
            point = first & 0x1Fu;
        } else if (first >= 0xE0 && first <= 0xEF) {
            more = 2;
            point = first & 0x0Fu;
            if (first == 0xE0) low = 0xA0;
            if (first == 0xED) high = 0x9F;
        } else if (first >= 0xF0 && first <= 0xF4) {
            more = 3;
            point = first & 0x07u;
            if (first == 0xF0) low = 0x90;
            if (first == 0xF4) high = 0x8F;
        } else if (first >= 0x80) {
            wide += TMX_W('\uFFFD');
            ++i;
            continue;
        }
        ++i;
        bool good = true;
        for (; more > 0; --more) {
            const unsigned byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
            if (byte < low || byte > high) {
                good = false;
                break;
            }
            point = (point << 6) | (byte & 0x3Fu);
            low = 0x80;
            high = 0xBF;
            ++i;
        }
        if (!good) {
            wide += TMX_W('\uFFFD');
        } else if (point < 0x10000) {
            wide += static_cast<TmxWChar>(point);
        } else {
            wide += static_cast<TmxWChar>(0xD800 + ((point - 0x10000) >> 10));
            wide += static_cast<TmxWChar>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return wide;
}

WideString Widened(std::string_view text) { return {text.begin(), text.end()}; }

}  // namespace tmxtest
