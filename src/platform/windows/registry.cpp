// The registry, and the environment that its texts name.
#include <windows.h>

#include <algorithm>

#include "platform/platform.h"

namespace Platform {

static_assert(kRegistryText == REG_SZ && kRegistryExpandText == REG_EXPAND_SZ &&
              kRegistryDword == REG_DWORD && kRegistryDwordBigEndian == REG_DWORD_BIG_ENDIAN &&
              kRegistryQword == REG_QWORD);

namespace {

HKEY KeyOf(std::intptr_t handle) noexcept { return reinterpret_cast<HKEY>(handle); }

}  // namespace

bool RegistryKey::Open(const char* path) noexcept {
    Close();
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_QUERY_VALUE | KEY_WOW64_64KEY, &key);
    if (status != ERROR_SUCCESS) {
        ::SetLastError(static_cast<DWORD>(status));
        return false;
    }
    handle_ = reinterpret_cast<std::intptr_t>(key);
    return true;
}

bool RegistryKey::Query(const char* name, RegistryValue& value) const noexcept {
    if (handle_ == kNone) return false;
    DWORD type = 0;
    RegistryValue read;
    DWORD size = sizeof read.data;
    const LSTATUS status = RegQueryValueExA(KeyOf(handle_), name, nullptr, &type, read.data, &size);
    if (status != ERROR_SUCCESS) {
        ::SetLastError(static_cast<DWORD>(status));
        return false;
    }
    read.type = type;
    read.size = size;
    value = read;
    return true;
}

void RegistryKey::Close() noexcept {
    if (handle_ != kNone) RegCloseKey(KeyOf(handle_));
    handle_ = kNone;
}

std::size_t ExpandEnvironment(const char* text, char* target, std::size_t capacity) noexcept {
    if (capacity == 0) return 0;
    const DWORD size = ExpandEnvironmentStringsA(
        text, target, static_cast<DWORD>(std::min<std::size_t>(capacity, 0x7FFFFFFF)));
    if (size == 0 || size > capacity) {
        target[0] = 0;
        return 0;
    }
    return size - 1;
}

}  // namespace Platform
