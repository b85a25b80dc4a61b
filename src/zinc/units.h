// Short runs of units, fast: most texts of this library have fewer than thirty units, for which a
// call of the C library costs more than the work.
//
// The searches read whole aligned blocks of 16 bytes, which never reach into another page, and so
// may look at units behind a terminator, though no result depends on them. Sanitizers don't know
// this; under them the searches go unit by unit.
#pragma once

#include <emmintrin.h>
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "platform/platform.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TMX_SEARCH_BY_UNIT 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define TMX_SEARCH_BY_UNIT 1
#endif
#endif
#ifndef TMX_SEARCH_BY_UNIT
#define TMX_SEARCH_BY_UNIT 0
#endif

namespace Zinc::Units {

namespace Detail {

inline __m128i Load(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline void Store(void* to, __m128i block) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(to), block);
}
template <typename Word>
inline Word LoadWord(const void* from) noexcept {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}
// Copies count bytes, sizeof(Word) to twice that, by two words that may overlap.
template <typename Word>
inline void CopyTwo(char* to, const char* from, std::size_t count) noexcept {
    const Word first = LoadWord<Word>(from);
    const Word last = LoadWord<Word>(from + count - sizeof(Word));
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + count - sizeof last, &last, sizeof last);
}
template <typename Word>
inline bool EqualTwo(const char* a, const char* b, std::size_t count) noexcept {
    return ((LoadWord<Word>(a) ^ LoadWord<Word>(b)) | (LoadWord<Word>(a + count - sizeof(Word)) ^
                                                       LoadWord<Word>(b + count - sizeof(Word)))) ==
           0;
}
inline bool EqualBlocks(const char* a, const char* b) noexcept {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(Load(a), Load(b))) == 0xFFFF;
}
template <typename Char>
inline __m128i All(char unit) noexcept {
    if constexpr (sizeof(Char) == 1)
        return _mm_set1_epi8(unit);
    else
        return _mm_set1_epi16(unit);
}
template <typename Char>
inline __m128i Same(__m128i a, __m128i b) noexcept {
    if constexpr (sizeof(Char) == 1)
        return _mm_cmpeq_epi8(a, b);
    else
        return _mm_cmpeq_epi16(a, b);
}

}  // namespace Detail

/// Copies count bytes between places that don't overlap.
inline void Copy(void* target, const void* source, std::size_t count) noexcept {
    char* const to = static_cast<char*>(target);
    const char* const from = static_cast<const char*>(source);
    if (count >= 16) {
        if (count > 64) {
            std::memcpy(to, from, count);
            return;
        }
        const __m128i first = Detail::Load(from);
        const __m128i last = Detail::Load(from + count - 16);
        if (count > 32) {
            const __m128i second = Detail::Load(from + 16);
            const __m128i third = Detail::Load(from + count - 32);
            Detail::Store(to + 16, second);
            Detail::Store(to + count - 32, third);
        }
        Detail::Store(to, first);
        Detail::Store(to + count - 16, last);
    } else if (count >= 8) {
        Detail::CopyTwo<std::uint64_t>(to, from, count);
    } else if (count >= 4) {
        Detail::CopyTwo<std::uint32_t>(to, from, count);
    } else if (count >= 2) {
        Detail::CopyTwo<std::uint16_t>(to, from, count);
    } else if (count == 1) {
        *to = *from;
    }
}

/// Whether count bytes are the same.
inline bool Equal(const void* left, const void* right, std::size_t count) noexcept {
    const char* const a = static_cast<const char*>(left);
    const char* const b = static_cast<const char*>(right);
    if (count >= 16) {
        for (std::size_t at = 0; at + 16 < count; at += 16)
            if (!Detail::EqualBlocks(a + at, b + at)) return false;
        return Detail::EqualBlocks(a + count - 16, b + count - 16);
    }
    if (count >= 8) return Detail::EqualTwo<std::uint64_t>(a, b, count);
    if (count >= 4) return Detail::EqualTwo<std::uint32_t>(a, b, count);
    if (count >= 2) return Detail::EqualTwo<std::uint16_t>(a, b, count);
    return count == 0 || *a == *b;
}

/// The first of two units, one of which must come; the terminator is given as 0.
template <typename Char>
inline const Char* FindEither(const Char* text, char one, char other) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    if constexpr (TMX_SEARCH_BY_UNIT != 0) {
        while (*text != static_cast<Char>(one) && *text != static_cast<Char>(other)) ++text;
        return text;
    }
    const __m128i ones = Detail::All<Char>(one);
    const __m128i others = Detail::All<Char>(other);
    const auto* block = reinterpret_cast<const __m128i*>(address & ~std::uintptr_t{15});
    // What lies ahead of the text in its first block doesn't count.
    std::uint32_t wanted = 0xFFFFu << (address & 15);
    while (true) {
        const __m128i units = _mm_load_si128(block);
        const auto found =
            static_cast<std::uint32_t>(_mm_movemask_epi8(
                _mm_or_si128(Detail::Same<Char>(units, ones), Detail::Same<Char>(units, others)))) &
            wanted;
        if (found != 0)
            return reinterpret_cast<const Char*>(reinterpret_cast<const char*>(block) +
                                                 std::countr_zero(found));
        ++block;
        wanted = 0xFFFF;
    }
}

/// Whether a zero-terminated text begins with these units, none of which is a terminator. Like the
/// searches it may look at units behind the text's terminator, but not into another page.
template <typename Char>
inline bool BeginsWith(const Char* text, const Char* units, std::size_t length) noexcept {
    std::size_t at = 0;
#if !TMX_SEARCH_BY_UNIT
    constexpr std::size_t kBlock = 16 / sizeof(Char);
    const auto crossesPage = [](const Char* block) {
        return (reinterpret_cast<std::uintptr_t>(block) & 4095) > 4096 - 16;
    };
    for (; at < length; at += kBlock) {
        if (crossesPage(text + at) || crossesPage(units + at)) break;
        const std::size_t bytes = std::min<std::size_t>(length - at, kBlock) * sizeof(Char);
        const auto same = static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_cmpeq_epi8(Detail::Load(text + at), Detail::Load(units + at))));
        const std::uint32_t all = (1u << bytes) - 1;
        if ((same & all) != all) return false;
    }
#endif
    for (; at < length; ++at)
        if (text[at] != units[at]) return false;
    return true;
}

/// The length of a zero-terminated text.
template <typename Char>
inline std::size_t Length(const Char* text) noexcept {
    return static_cast<std::size_t>(FindEither(text, 0, 0) - text);
}

/// Copies units into another width while all of them are below 128, which is the same in every code
/// page. False: some unit isn't, and what was copied is of no use.
inline bool CopyAscii(Platform::WideChar* target, const char* text, std::size_t length) noexcept {
    if (length >= 8) {
        __m128i seen = _mm_setzero_si128();
        const auto copy = [&](std::size_t at) {
            const __m128i units = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text + at));
            seen = _mm_or_si128(seen, units);
            Detail::Store(target + at, _mm_unpacklo_epi8(units, _mm_setzero_si128()));
        };
        for (std::size_t at = 0; at + 8 < length; at += 8) copy(at);
        copy(length - 8);
        return _mm_movemask_epi8(seen) == 0;
    }
    unsigned seen = 0;
    for (std::size_t at = 0; at < length; ++at) {
        const auto unit = static_cast<unsigned char>(text[at]);
        seen |= unit;
        target[at] = unit;
    }
    return seen < 0x80;
}
inline bool CopyAscii(char* target, const Platform::WideChar* text, std::size_t length) noexcept {
    if (length >= 8) {
        __m128i seen = _mm_setzero_si128();
        const auto copy = [&](std::size_t at) {
            const __m128i units = Detail::Load(text + at);
            seen = _mm_or_si128(seen, units);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(target + at),
                             _mm_packus_epi16(units, units));
        };
        for (std::size_t at = 0; at + 8 < length; at += 8) copy(at);
        copy(length - 8);
        const __m128i high = _mm_and_si128(seen, _mm_set1_epi16(static_cast<short>(0xFF80)));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) == 0xFFFF;
    }
    unsigned seen = 0;
    for (std::size_t at = 0; at < length; ++at) {
        const unsigned unit = text[at];
        seen |= unit;
        target[at] = static_cast<char>(unit);
    }
    return seen < 0x80;
}

/// Whether all units are below 128.
inline bool IsAscii(const Platform::WideChar* text, std::size_t length) noexcept {
    const __m128i mask = _mm_set1_epi16(static_cast<short>(0xFF80));
    if (length >= 8) {
        __m128i seen = Detail::Load(text + length - 8);
        for (std::size_t at = 0; at + 8 < length; at += 8)
            seen = _mm_or_si128(seen, Detail::Load(text + at));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(seen, mask), _mm_setzero_si128())) ==
               0xFFFF;
    }
    unsigned seen = 0;
    for (std::size_t at = 0; at < length; ++at) seen |= text[at];
    return seen < 0x80;
}
inline bool IsAscii(const char* text, std::size_t length) noexcept {
    if (length >= 16) {
        int seen = _mm_movemask_epi8(Detail::Load(text + length - 16));
        for (std::size_t at = 0; at + 16 < length; at += 16)
            seen |= _mm_movemask_epi8(Detail::Load(text + at));
        return seen == 0;
    }
    unsigned seen = 0;
    for (std::size_t at = 0; at < length; ++at) seen |= static_cast<unsigned char>(text[at]);
    return seen < 0x80;
}

}  // namespace Zinc::Units
