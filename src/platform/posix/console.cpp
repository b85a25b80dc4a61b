// Standard output and error as a console.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"

namespace Platform {

using Detail::ErrnoGuard;

bool HasConsole() noexcept {
    const ErrnoGuard guard;
    return isatty(STDOUT_FILENO) == 1 || isatty(STDERR_FILENO) == 1;
}

namespace {

std::intptr_t HandleIfOpen(int file) noexcept {
    const ErrnoGuard guard;
    return fcntl(file, F_GETFD) >= 0 ? file : -1;
}

// The sequence that sets a colour (ECMA-48 SGR; 90 to 97 are the bright eight). The bits of an
// attribute stand for blue, green, red and bright, those of a terminal's colour for red, green,
// blue.
constexpr std::string_view kColours[] = {
    "\033[30m", "\033[34m", "\033[32m", "\033[36m", "\033[31m", "\033[35m", "\033[33m", "\033[37m",
    "\033[90m", "\033[94m", "\033[92m", "\033[96m", "\033[91m", "\033[95m", "\033[93m", "\033[97m"};
constexpr std::string_view kReset = "\033[0m";

}  // namespace

bool ConsoleHandle::GetOutput() noexcept {
    handle_ = HandleIfOpen(STDOUT_FILENO);
    return IsValid();
}

bool ConsoleHandle::GetError() noexcept {
    handle_ = HandleIfOpen(STDERR_FILENO);
    return IsValid();
}

void ConsoleHandle::WriteText(std::uint16_t attribute, const WideChar* text,
                              std::size_t length) const noexcept {
    if (!IsValid() || length == 0) return;
    const ErrnoGuard guard;
    const int file = static_cast<int>(handle_);
    const bool coloured = isatty(file) == 1;
    const std::string_view before = coloured ? kColours[attribute & 15] : std::string_view();
    const std::string_view after = coloured ? kReset : std::string_view();

    // In one piece, colours and all, so that no other writer's text comes in between.
    constexpr std::size_t kUsual = 2048;
    const std::size_t most = before.size() + 3 * length + after.size();
    char usual[kUsual];
    char* const bytes = most <= kUsual ? usual : static_cast<char*>(AllocatePages(most));
    if (bytes == nullptr) return;
    std::size_t size = before.copy(bytes, before.size());
    const std::ptrdiff_t count =
        WideToNarrow(CodePage::Utf8, 0, text, length, bytes + size, 3 * length);
    if (count > 0) size += static_cast<std::size_t>(count);
    size += after.copy(bytes + size, after.size());
    Detail::WriteAll(file, bytes, size);
    if (bytes != usual) FreePages(bytes, most);
}

}  // namespace Platform
