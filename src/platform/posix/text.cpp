// Text conversion and comparison. The system's own services would follow the locale and the set of
// converters installed, so both are done here from tables.
#include <emmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

#include "platform/platform.h"

namespace Platform {

namespace {

struct AnsiComposition {
    WideChar mark;
    char base;
    std::uint8_t byte;
};

#include "ansi_composition.inc"
#include "case_folding.inc"

constexpr WideChar kReplacement = 0xFFFD;

/// windows-1252, bytes 80 to 9F; every other byte is the unit of the same value. The five bytes
/// without a character stand for the control characters.
constexpr WideChar kAnsiUpper[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::size_t kBlock = 8;

bool IsHighSurrogate(char32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

__m128i Load(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

bool IsAscii(__m128i units) noexcept {
    const __m128i upper = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    return _mm_movemask_epi8(_mm_cmpeq_epi16(upper, _mm_setzero_si128())) == 0xFFFF;
}

/// The code point at position; an unpaired surrogate is itself. Moves position behind it.
char32_t NextCodePoint(const WideChar* text, std::size_t length, std::size_t& position) noexcept {
    const char32_t unit = text[position++];
    if (IsHighSurrogate(unit) && position < length && IsLowSurrogate(text[position])) {
        return 0x10000 + ((unit - 0xD800) << 10) + (char32_t{text[position++]} - 0xDC00);
    }
    return unit;
}

// ---- ANSI ---------------------------------------------------------------------------------------

char AnsiFromUnit(WideChar unit) noexcept {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
    for (unsigned i = 0; i < std::size(kAnsiUpper); ++i) {
        if (kAnsiUpper[i] == unit) return static_cast<char>(0x80 + i);
    }
    return '?';
}

/// The byte of the letter that base and mark compose to, 0 if the page has none.
std::uint8_t Compose(WideChar base, WideChar mark) noexcept {
    constexpr std::size_t kCount = std::size(kAnsiCompositions);
    if (mark < kAnsiCompositions[0].mark || mark > kAnsiCompositions[kCount - 1].mark) return 0;
    for (const AnsiComposition& entry : kAnsiCompositions) {
        if (entry.mark == mark && static_cast<WideChar>(entry.base) == base) return entry.byte;
    }
    return 0;
}

/// Counts the bytes of the result, and writes them if kWrite.
template <bool kWrite>
std::size_t WideToAnsi(bool compose, const WideChar* text, std::size_t length,
                       char* target) noexcept {
    std::size_t size = 0;
    std::size_t i = 0;
    while (i < length) {
        if (length - i >= kBlock) {
            const __m128i units = Load(text + i);
            if (IsAscii(units)) {
                if constexpr (kWrite) {
                    _mm_storel_epi64(reinterpret_cast<__m128i*>(target + size),
                                     _mm_packus_epi16(units, units));
                }
                size += kBlock;
                i += kBlock;
                continue;
            }
        }
        const std::size_t end = i + std::min(kBlock, length - i);
        for (; i < end; ++i) {
            // All base letters are ASCII, so the byte before is the base itself if the unit is.
            if (compose && i > 0) {
                if (const std::uint8_t composed = Compose(text[i - 1], text[i])) {
                    if constexpr (kWrite) target[size - 1] = static_cast<char>(composed);
                    continue;
                }
            }
            if constexpr (kWrite) target[size] = AnsiFromUnit(text[i]);
            ++size;
        }
    }
    return size;
}

void AnsiToWide(const char* text, std::size_t length, WideChar* target) noexcept {
    std::size_t i = 0;
    while (i < length) {
        if (length - i >= 2 * kBlock) {
            const __m128i bytes = Load(text + i);
            if (_mm_movemask_epi8(bytes) == 0) {
                const __m128i zero = _mm_setzero_si128();
                _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i),
                                 _mm_unpacklo_epi8(bytes, zero));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i + kBlock),
                                 _mm_unpackhi_epi8(bytes, zero));
                i += 2 * kBlock;
                continue;
            }
        }
        const std::size_t end = i + std::min(2 * kBlock, length - i);
        for (; i < end; ++i) {
            const std::uint8_t byte = static_cast<std::uint8_t>(text[i]);
            target[i] = byte >= 0x80 && byte < 0xA0 ? kAnsiUpper[byte - 0x80] : WideChar{byte};
        }
    }
}

// ---- UTF-8 --------------------------------------------------------------------------------------

template <bool kWrite>
std::size_t WideToUtf8(const WideChar* text, std::size_t length, char* target) noexcept {
    std::size_t size = 0;
    const auto put = [&](char32_t byte) {
        if constexpr (kWrite) target[size] = static_cast<char>(byte);
        ++size;
    };
    std::size_t i = 0;
    while (i < length) {
        if (length - i >= kBlock) {
            const __m128i units = Load(text + i);
            if (IsAscii(units)) {
                if constexpr (kWrite) {
                    _mm_storel_epi64(reinterpret_cast<__m128i*>(target + size),
                                     _mm_packus_epi16(units, units));
                }
                size += kBlock;
                i += kBlock;
                continue;
            }
        }
        const std::size_t end = i + std::min(kBlock, length - i);
        while (i < end) {
            char32_t code = NextCodePoint(text, length, i);
            if (code < 0x80) {
                put(code);
            } else if (code < 0x800) {
                put(0xC0 | code >> 6);
                put(0x80 | (code & 0x3F));
            } else if (code < 0x10000) {
                if (IsHighSurrogate(code) || IsLowSurrogate(code)) code = kReplacement;
                put(0xE0 | code >> 12);
                put(0x80 | (code >> 6 & 0x3F));
                put(0x80 | (code & 0x3F));
            } else {
                put(0xF0 | code >> 18);
                put(0x80 | (code >> 12 & 0x3F));
                put(0x80 | (code >> 6 & 0x3F));
                put(0x80 | (code & 0x3F));
            }
        }
    }
    return size;
}

/// Reads one sequence and moves position behind it. Ill-formed bytes give U+FFFD for the longest
/// beginning of a well-formed sequence, else for one byte (The Unicode Standard, table 3-7 and
/// "U+FFFD Substitution of Maximal Subparts").
char32_t NextFromUtf8(const char* text, std::size_t length, std::size_t& position) noexcept {
    const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byteAt(position++);
    if (lead < 0x80) return lead;
    unsigned following = 0;
    char32_t code = 0;
    // Only the second byte has a range narrower than 80 to BF; it shuts out overlong forms,
    // surrogates and values above 10FFFF.
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
        code = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        code = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        code = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return kReplacement;
    }
    for (; following > 0; --following) {
        if (position == length) return kReplacement;
        const std::uint8_t byte = byteAt(position);
        if (byte < low || byte > high) return kReplacement;
        code = code << 6 | (byte & 0x3F);
        ++position;
        low = 0x80;
        high = 0xBF;
    }
    return code;
}

template <bool kWrite>
std::size_t Utf8ToWide(const char* text, std::size_t length, WideChar* target) noexcept {
    std::size_t size = 0;
    std::size_t i = 0;
    while (i < length) {
        if (length - i >= 2 * kBlock) {
            const __m128i bytes = Load(text + i);
            if (_mm_movemask_epi8(bytes) == 0) {
                if constexpr (kWrite) {
                    const __m128i zero = _mm_setzero_si128();
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + size),
                                     _mm_unpacklo_epi8(bytes, zero));
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + size + kBlock),
                                     _mm_unpackhi_epi8(bytes, zero));
                }
                size += 2 * kBlock;
                i += 2 * kBlock;
                continue;
            }
        }
        const std::size_t end = i + std::min(2 * kBlock, length - i);
        while (i < end) {
            const char32_t code = NextFromUtf8(text, length, i);
            if (code < 0x10000) {
                if constexpr (kWrite) target[size] = static_cast<WideChar>(code);
                ++size;
            } else {
                if constexpr (kWrite) {
                    target[size] = static_cast<WideChar>(0xD7C0 + (code >> 10));
                    target[size + 1] = static_cast<WideChar>(0xDC00 + (code & 0x3FF));
                }
                size += 2;
            }
        }
    }
    return size;
}

// ---- Case folding -------------------------------------------------------------------------------

char32_t Fold(char32_t code) noexcept {
    if (code >= kFoldEnd) return code;
    const std::uint16_t delta =
        kFoldPages[kFoldIndex[code >> kFoldPageBits]][code & ((1U << kFoldPageBits) - 1)];
    return (code & 0xFF0000) | ((code + delta) & 0xFFFF);
}

/// Turns A to Z into a to z, in eight units.
/// The code point that folds to this one: of several the lowest near it, where the letters of its
/// alphabet stand. Where there is none, the code point itself.
char32_t Upper(char32_t code) noexcept {
    if (code < 0x80) return code >= 'a' && code <= 'z' ? code - 0x20 : code;
    constexpr char32_t kNear = ~char32_t{0x7F};
    char32_t upper = code;
    unsigned count = 0;
    // Few texts have such letters, and only the name of an executable comes here.
    for (char32_t candidate = 0x80; candidate < 0x10000; ++candidate) {
        if (candidate == code || Fold(candidate) != code) continue;
        if ((candidate & kNear) == (code & kNear)) return candidate;
        upper = candidate;
        ++count;
    }
    return count == 1 ? upper : code;
}

__m128i FoldAscii(__m128i units) noexcept {
    // Units from 8000 on are negative here and so fail the first test.
    const __m128i capital = _mm_and_si128(_mm_cmpgt_epi16(units, _mm_set1_epi16('A' - 1)),
                                          _mm_cmpgt_epi16(_mm_set1_epi16('Z' + 1), units));
    return _mm_or_si128(units, _mm_and_si128(capital, _mm_set1_epi16(0x20)));
}

bool LengthIsSane(std::size_t length) noexcept {
    // Three bytes for a unit is the most that a conversion makes.
    return length <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / 3;
}

std::ptrdiff_t Failed() noexcept {
    SetLastError(kErrorInvalidParameter);
    return -1;
}

}  // namespace

std::ptrdiff_t WideToNarrow(CodePage page, std::uint32_t flags, const WideChar* text,
                            std::size_t length, char* target, std::size_t capacity) noexcept {
    if (!LengthIsSane(length)) return Failed();
    std::size_t size = 0;
    switch (page) {
        case CodePage::Ansi: {
            const bool compose = (flags & kCompositeCheck) != 0;
            // A target that holds the longest result possible saves the measuring.
            if (capacity < length) {
                size = WideToAnsi<false>(compose, text, length, nullptr);
                if (size > capacity) break;
            }
            size = WideToAnsi<true>(compose, text, length, target);
            break;
        }
        case CodePage::Utf8:
            if (capacity < 3 * length) {
                size = WideToUtf8<false>(text, length, nullptr);
                if (size > capacity) break;
            }
            size = WideToUtf8<true>(text, length, target);
            break;
        default:
            return Failed();
    }
    return static_cast<std::ptrdiff_t>(size);
}

std::ptrdiff_t NarrowToWide(CodePage page, [[maybe_unused]] std::uint32_t flags, const char* text,
                            std::size_t length, WideChar* target, std::size_t capacity) noexcept {
    if (!LengthIsSane(length)) return Failed();
    std::size_t size = 0;
    switch (page) {
        case CodePage::Ansi:
            // The page has composed letters only: the result is precomposed whatever the flags.
            size = length;
            if (size <= capacity) AnsiToWide(text, length, target);
            break;
        case CodePage::Utf8:
            if (capacity < length) {
                size = Utf8ToWide<false>(text, length, nullptr);
                if (size > capacity) break;
            }
            size = Utf8ToWide<true>(text, length, target);
            break;
        default:
            return Failed();
    }
    return static_cast<std::ptrdiff_t>(size);
}

int CompareIgnoreCase(const WideChar* left, std::size_t leftLength, const WideChar* right,
                      std::size_t rightLength) noexcept {
    const std::size_t common = std::min(leftLength, rightLength);
    // One position serves both texts: folding keeps the plane, so what folds to the same code point
    // has the same count of units.
    std::size_t i = 0;
    while (i < common) {
        std::size_t end = common;
        if (common - i >= kBlock) {
            const __m128i leftUnits = Load(left + i);
            const __m128i rightUnits = Load(right + i);
            const unsigned same = static_cast<unsigned>(
                _mm_movemask_epi8(_mm_cmpeq_epi16(FoldAscii(leftUnits), FoldAscii(rightUnits))));
            if (same == 0xFFFF) {
                i += kBlock;
                continue;
            }
            end = i + kBlock;
            i += static_cast<std::size_t>(__builtin_ctz(~same)) / 2;
        }
        // The difference may be in the second half of a pair whose first half was passed as equal.
        if (i > 0 && IsHighSurrogate(left[i - 1]) &&
            (IsLowSurrogate(left[i]) || IsLowSurrogate(right[i]))) {
            --i;
        }
        while (i < end) {
            std::size_t rightPosition = i;
            const char32_t leftCode = NextCodePoint(left, leftLength, i);
            const char32_t rightCode = NextCodePoint(right, rightLength, rightPosition);
            if (leftCode == rightCode) continue;
            const char32_t leftFold = Fold(leftCode);
            const char32_t rightFold = Fold(rightCode);
            if (leftFold != rightFold) return leftFold < rightFold ? kLessThan : kGreaterThan;
        }
    }
    if (leftLength == rightLength) return kEqual;
    return leftLength < rightLength ? kLessThan : kGreaterThan;
}

void UpperCase(WideChar* text, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<WideChar>(Upper(text[i]));
}

}  // namespace Platform
