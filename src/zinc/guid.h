// GUIDs and their text.
#pragma once

#include <cstddef>
#include <string_view>

#include "zinc/exceptions.h"

/// Beside the type, in the global namespace, so that every namespace and the standard library find
/// it.
inline bool operator==(const TmxGuid& a, const TmxGuid& b) noexcept {
    return __builtin_memcmp(&a, &b, sizeof(TmxGuid)) == 0;
}

namespace Zinc {

using Guid = TmxGuid;
using ::operator==;

inline bool IsNil(const Guid& guid) noexcept { return guid == Guid{}; }

inline constexpr std::size_t kGuidTextLength = 36;

/// Writes the 36 characters of a GUID, lower case, without braces and without a terminator.
template <typename Char>
void PutGuid(Char* target, const Guid& guid) noexcept {
    static constexpr char digits[] = "0123456789abcdef";
    auto put = [&target](std::uint32_t value, int count) {
        for (int shift = (count - 1) * 4; shift >= 0; shift -= 4)
            *target++ = static_cast<Char>(digits[(value >> shift) & 15]);
    };
    auto dash = [&target] { *target++ = static_cast<Char>('-'); };
    put(guid.Data1, 8);
    dash();
    put(guid.Data2, 4);
    dash();
    put(guid.Data3, 4);
    dash();
    put(guid.Data4[0], 2);
    put(guid.Data4[1], 2);
    dash();
    for (int i = 2; i < 8; ++i) put(guid.Data4[i], 2);
}

/// Writes the text of a GUID and a terminator into a buffer of size characters. Raises
/// SystemException where size is 0 or above 0x7fffffff (0x80070057; the buffer of a size above is
/// then empty) or too small (0x8007007a; the buffer then holds what fitted, and a terminator).
void GuidToStr(char* buffer, std::uint64_t size, const Guid& guid);

/// Reads a GUID: hex digits of both cases at fixed places, in braces or without; what follows is
/// not looked at. Raises GuidConversionException with "Conversion of guid '", the text, "' failed."
Guid StrToGuid(std::string_view text);

}  // namespace Zinc
