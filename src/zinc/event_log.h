// The process's voice in the system's event log.
#pragma once

#include "zinc/exceptions.h"
#include "zinc/global_object.h"
#include "zinc/safe_text.h"

namespace Zinc {

class EventLog final : public IGlobalObjectInterface {
  public:
    EventLog() = default;

    /// Reports a zero-terminated text. False: it could not be reported, and went to the debugger
    /// output.
    bool Report(const WideChar* text, Platform::EventType type) noexcept;

    /// Makes what must be there before a crash.
    static void Prepare() noexcept;

  private:
    void Register() noexcept;

    Platform::CriticalSection lock_;
    SafeTextOf<WideChar, 260> sourceName_;
    Platform::EventSource source_;
    Platform::EventUser user_;
    bool userAsked_ = false;
};

}  // namespace Zinc
