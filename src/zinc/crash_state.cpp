#include "zinc/crash_state.h"

#include <atomic>

namespace Zinc::CrashState {

namespace {
std::atomic<bool> inProgress{false};
}  // namespace

void Begin() noexcept { inProgress.store(true, std::memory_order_release); }
bool InProgress() noexcept { return inProgress.load(std::memory_order_acquire); }
void Reset() noexcept { inProgress.store(false, std::memory_order_release); }

}  // namespace Zinc::CrashState
