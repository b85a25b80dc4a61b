// Standard output and error as a console.
#include <windows.h>

#include "platform/platform.h"

namespace Platform {

bool HasConsole() noexcept { return GetConsoleWindow() != nullptr; }

namespace {

/// -1 where the process has no such handle.
std::intptr_t StandardHandle(DWORD which) noexcept {
    const HANDLE handle = GetStdHandle(which);
    return handle != nullptr ? reinterpret_cast<std::intptr_t>(handle) : -1;
}

}  // namespace

bool ConsoleHandle::GetOutput() noexcept {
    handle_ = StandardHandle(STD_OUTPUT_HANDLE);
    return IsValid();
}

bool ConsoleHandle::GetError() noexcept {
    handle_ = StandardHandle(STD_ERROR_HANDLE);
    return IsValid();
}

void ConsoleHandle::WriteText(std::uint16_t attribute, const WideChar* text,
                              std::size_t length) const noexcept {
    if (!IsValid() || length == 0) return;
    const HANDLE handle = reinterpret_cast<HANDLE>(handle_);
    // Only a console has a screen; to anything else the write below fails.
    CONSOLE_SCREEN_BUFFER_INFO screen;
    const bool coloured = GetConsoleScreenBufferInfo(handle, &screen) != 0;
    constexpr WORD kColour = 15;
    if (coloured) {
        SetConsoleTextAttribute(
            handle, static_cast<WORD>((screen.wAttributes & ~kColour) | (attribute & kColour)));
    }
    DWORD written = 0;
    WriteConsoleW(handle, text, static_cast<DWORD>(length), &written, nullptr);
    if (coloured) SetConsoleTextAttribute(handle, screen.wAttributes);
}

}  // namespace Platform
