// On Windows the encodings are those of the system.
#include <windows.h>

#include "support/reference_encoding.h"

namespace tmxtest {

std::string ToNarrow(WideView text, bool utf8) {
    const UINT page = utf8 ? CP_UTF8 : CP_ACP;
    const DWORD flags = utf8 ? 0 : WC_COMPOSITECHECK;
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(page, flags, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(page, flags, text.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

WideString ToWide(std::string_view text, bool utf8) {
    const UINT page = utf8 ? CP_UTF8 : CP_ACP;
    const DWORD flags = utf8 ? 0 : MB_PRECOMPOSED;
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(page, flags, text.data(), length, nullptr, 0);
    WideString wide(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(page, flags, text.data(), length, wide.data(), size);
    return wide;
}

WideString Widened(std::string_view text) { return {text.begin(), text.end()}; }

}  // namespace tmxtest
