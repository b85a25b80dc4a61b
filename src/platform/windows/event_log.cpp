// The event log.
#include <windows.h>

// Behind <windows.h>, which it needs.
#define SECURITY_WIN32
#include <security.h>

#include <iterator>

#include "platform/platform.h"

namespace Platform {

bool EventUser::Find() noexcept {
    size_ = 0;
    WideChar name[2048];
    ULONG nameSize = static_cast<ULONG>(std::size(name));
    if (!GetUserNameExW(NameSamCompatible, name, &nameSize)) {
        DWORD size = static_cast<DWORD>(std::size(name));
        if (!GetUserNameW(name, &size)) return false;
    }
    // The first call tells how much the identifier needs.
    DWORD identifierSize = 0;
    WideChar domain[256];
    DWORD domainSize = 0;
    SID_NAME_USE use;
    LookupAccountNameW(nullptr, name, nullptr, &identifierSize, nullptr, &domainSize, &use);
    if (identifierSize == 0 || identifierSize > sizeof bytes_ || domainSize > std::size(domain))
        return false;
    if (!LookupAccountNameW(nullptr, name, bytes_, &identifierSize, domain, &domainSize, &use))
        return false;
    size_ = identifierSize;
    return true;
}

bool EventSource::Register(const WideChar* name) noexcept {
    Deregister();
    const HANDLE handle = RegisterEventSourceW(nullptr, name);
    if (handle != nullptr) handle_ = reinterpret_cast<std::intptr_t>(handle);
    return IsRegistered();
}

bool EventSource::Report(EventType type, const EventUser& user, const WideChar* text) noexcept {
    if (!IsRegistered()) return false;
    // The function doesn't write to the identifier.
    void* const identifier = const_cast<void*>(user.Identifier());
    return ReportEventW(reinterpret_cast<HANDLE>(handle_), static_cast<WORD>(type), 0, 0,
                        identifier, 1, 0, &text, nullptr) != 0;
}

void EventSource::Deregister() noexcept {
    if (IsRegistered()) DeregisterEventSource(reinterpret_cast<HANDLE>(handle_));
    handle_ = kNone;
}

}  // namespace Platform
