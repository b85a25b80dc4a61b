#include "zinc/safe_text.h"

namespace Zinc {

// Of a text for which there is no room only what surely fits is converted.

void AppendAnsiToWide(SafeWideText& target, std::string_view text) noexcept {
    const std::size_t room = target.Reserve(text.size());
    const std::ptrdiff_t count =
        Platform::NarrowToWide(Platform::CodePage::Ansi, Platform::kPrecomposed, text.data(),
                               std::min(text.size(), room), target.End(), room);
    if (count > 0) target.Extend(static_cast<std::size_t>(count));
}

void AppendWideToAnsi(SafeNarrowText& target,
                      std::basic_string_view<Platform::WideChar> text) noexcept {
    const std::size_t room = target.Reserve(text.size());
    const std::ptrdiff_t count =
        Platform::WideToNarrow(Platform::CodePage::Ansi, Platform::kCompositeCheck, text.data(),
                               std::min(text.size(), room), target.End(), room);
    if (count > 0) target.Extend(static_cast<std::size_t>(count));
}

}  // namespace Zinc
