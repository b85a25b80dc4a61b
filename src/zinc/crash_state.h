// Whether the process is at its end because of a crash. From then on a lock may belong to a thread
// that never gives it back, and the heap may be in any state.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace Zinc {

namespace CrashState {

void Begin() noexcept;
bool InProgress() noexcept;
/// For tests, which go on.
void Reset() noexcept;

}  // namespace CrashState

/// Holds a lock of the diagnostics. In a process that has crashed it waits for a second only, and
/// then goes on without the lock: a line in the wrong place is better than none.
class DiagnosticLock {
  public:
    explicit DiagnosticLock(Platform::CriticalSection& lock) noexcept : lock_(lock) {
        if (CrashState::InProgress()) {
            held_ = lock_.LockWithin(kCrashWait);
        } else {
            lock_.lock();
            held_ = true;
        }
    }
    ~DiagnosticLock() {
        if (held_) lock_.unlock();
    }
    DiagnosticLock(const DiagnosticLock&) = delete;
    DiagnosticLock& operator=(const DiagnosticLock&) = delete;

  private:
    static constexpr std::uint32_t kCrashWait = 1000;
    Platform::CriticalSection& lock_;
    bool held_ = false;
};

}  // namespace Zinc
