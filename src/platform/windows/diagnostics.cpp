// Error numbers and texts, and the debugger output.
#include <windows.h>

#include <algorithm>

#include "platform/platform.h"

namespace Platform {

// ---- Errors -------------------------------------------------------------------------------------

static_assert(kErrorInvalidParameter == ERROR_INVALID_PARAMETER);

std::uint32_t LastError() noexcept { return ::GetLastError(); }
void SetLastError(std::uint32_t number) noexcept { ::SetLastError(number); }

std::size_t SystemErrorText(std::uint32_t number, WideChar* text, std::size_t capacity) noexcept {
    const DWORD saved = ::GetLastError();
    WideChar* message = nullptr;
    // Without FORMAT_MESSAGE_IGNORE_INSERTS on purpose: a text that wants arguments, which nobody
    // has, is none.
    std::size_t units =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, number,
                       0, reinterpret_cast<WideChar*>(&message), 0, nullptr);
    while (units > 0 && (message[units - 1] == L'\n' || message[units - 1] == L'\r')) --units;
    units = std::min(units, capacity);
    // The cut doesn't leave half a pair.
    if (units > 0 && IS_HIGH_SURROGATE(message[units - 1])) --units;
    std::copy_n(message, units, text);
    LocalFree(message);
    ::SetLastError(saved);
    return units;
}

// ---- Debugger output ----------------------------------------------------------------------------

// The system tells the debugger by an exception of its own, and changes the thread's number.

void OutputDebugText(const char* text) noexcept {
    if (text == nullptr || *text == 0) return;
    const DWORD saved = ::GetLastError();
    OutputDebugStringA(text);
    ::SetLastError(saved);
}

void OutputDebugText(const WideChar* text) noexcept {
    if (text == nullptr || *text == 0) return;
    const DWORD saved = ::GetLastError();
    OutputDebugStringW(text);
    ::SetLastError(saved);
}

}  // namespace Platform
