// Texts between the width of a stream and the width of a value.
#pragma once

#include <string_view>

#include "objects/values.h"
#include "zinc/text.h"
#include "zinc/units.h"

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

/// Raises Zinc::SystemException where the conversion fails.
void AssignConverted(WideText& target, std::string_view text, bool utf8);
void AssignConverted(AnsiText& target, Zinc::WideView text, bool utf8);

}  // namespace TmxPLC
