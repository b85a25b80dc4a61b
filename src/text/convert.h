// Texts between the width of a stream and the width of a value.
#pragma once

#include <string_view>

#include "objects/values.h"
#include "zinc/text.h"

namespace TmxPLC {

/// The code page and flags of a conversion by the caller's UTF-8 flag.
inline Platform::CodePage PageOf(bool utf8) noexcept {
    return utf8 ? Platform::CodePage::Utf8 : Platform::CodePage::Ansi;
}
inline std::uint32_t FlagsTowardsWide(bool utf8) noexcept {
    return utf8 ? 0 : Platform::kPrecomposed;
}
inline std::uint32_t FlagsTowardsNarrow(bool utf8) noexcept {
    return utf8 ? 0 : Platform::kCompositeCheck;
}

/// True if all units are below 128. Such a text is the same in every code page.
template <typename Char>
inline bool IsAscii(const Char* text, std::size_t length) noexcept {
    std::uint32_t seen = 0;
    for (std::size_t i = 0; i < length; ++i) seen |= static_cast<std::uint32_t>(text[i]);
    return (seen & (sizeof(Char) == 1 ? 0x80u : 0xFF80u)) == 0;
}

/// Copies ASCII units into another width.
template <typename To, typename From>
inline void CopyAscii(To* target, const From* text, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) target[i] = static_cast<To>(text[i]);
}

/// Raises Zinc::SystemException where the conversion fails.
void AssignConverted(WideText& target, std::string_view text, bool utf8);
void AssignConverted(AnsiText& target, Zinc::WideView text, bool utf8);

}  // namespace TmxPLC
