#include "text/convert.h"

namespace TmxPLC {

void AssignConverted(WideText& target, std::string_view text, bool utf8) {
    // No code page has more wide units than narrow ones.
    WideChar* room = target.Resize(text.size());
    if (Zinc::Units::CopyAscii(room, text.data(), text.size())) return;
    const std::ptrdiff_t count = Platform::NarrowToWide(
        PageOf(utf8), FlagsTowardsWide(utf8), text.data(), text.size(), room, text.size());
    if (count < 0) Zinc::ThrowLastSystemError("MultiByteToWideChar");
    target.Truncate(static_cast<std::size_t>(count));
}

void AssignConverted(AnsiText& target, Zinc::WideView text, bool utf8) {
    if (Zinc::Units::CopyAscii(target.Resize(text.size()), text.data(), text.size())) return;
    const auto convert = [&](char* room, std::size_t capacity) {
        const std::ptrdiff_t count = Platform::WideToNarrow(
            PageOf(utf8), FlagsTowardsNarrow(utf8), text.data(), text.size(), room, capacity);
        if (count < 0) Zinc::ThrowLastSystemError("WideCharToMultiByte");
        return static_cast<std::size_t>(count);
    };
    const std::size_t count = convert(nullptr, 0);
    convert(target.Resize(count), count);
}

}  // namespace TmxPLC
