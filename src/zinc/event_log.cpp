#include "zinc/event_log.h"

#include "zinc/file_name.h"

namespace Zinc {

namespace {

// Held while a source is registered, whichever object does it.
Platform::CriticalSection& RegistrationLock() noexcept {
    static Platform::CriticalSection lock;
    return lock;
}

}  // namespace

void EventLog::Prepare() noexcept { RegistrationLock(); }

void EventLog::Register() noexcept {
    const DiagnosticLock guard(RegistrationLock());
    if (sourceName_.IsEmpty()) {
        ExecutableName name;
        sourceName_.Append(name.Text().substr(0, name.Text().find(WideChar{'.'})));
    }
    // A registration that failed is tried again with the next report.
    if (!source_.IsRegistered()) source_.Register(sourceName_.CStr());
    // Without the user, events are reported without one.
    if (!userAsked_) user_.Find();
    userAsked_ = true;
}

bool EventLog::Report(const WideChar* text, Platform::EventType type) noexcept {
    {
        const DiagnosticLock guard(lock_);
        if (!source_.IsRegistered()) Register();
        if (source_.IsRegistered() && source_.Report(type, user_, text)) return true;
    }
    Platform::OutputDebugText(text);
    return false;
}

}  // namespace Zinc
