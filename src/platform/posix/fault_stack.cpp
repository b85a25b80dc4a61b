#include "platform/posix/fault_stack.h"

#include <signal.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <cstring>

#include "platform/posix/descriptor.h"

namespace Platform::Detail {

namespace {

// Room for the largest frame that the processor's state makes, and for a handler of the host's.
constexpr std::size_t kSize = 64 * 1024;
constexpr std::size_t kGuard = 4096;

// At the far end of each stack. A thread that was there when this module was unloaded keeps its
// stack; the module knows it again when it comes back.
constexpr char kMark[16] = "zinc faultstack";

std::atomic<bool> inUse{false};

bool IsOurs(const stack_t& stack) noexcept {
    return (stack.ss_flags & SS_DISABLE) == 0 && stack.ss_size == kSize &&
           std::memcmp(stack.ss_sp, kMark, sizeof kMark) == 0;
}

}  // namespace

void UseFaultStacks(bool use) noexcept { inUse.store(use, std::memory_order_relaxed); }

void AttachFaultStack() noexcept {
    if (!inUse.load(std::memory_order_relaxed)) return;
    const ErrnoGuard guard;
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0) return;
    void* const pages = mmap(nullptr, kGuard + kSize, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (pages == MAP_FAILED) return;
    mprotect(pages, kGuard, PROT_NONE);
    stack_t ours = {};
    ours.ss_sp = static_cast<char*>(pages) + kGuard;
    ours.ss_size = kSize;
    std::memcpy(ours.ss_sp, kMark, sizeof kMark);
    if (sigaltstack(&ours, nullptr) != 0) munmap(pages, kGuard + kSize);
}

void DetachFaultStack() noexcept {
    const ErrnoGuard guard;
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0 || !IsOurs(current)) return;
    stack_t none = {};
    none.ss_flags = SS_DISABLE;
    // Not while the thread runs on it.
    if (sigaltstack(&none, nullptr) == 0)
        munmap(static_cast<char*>(current.ss_sp) - kGuard, kGuard + kSize);
}

}  // namespace Platform::Detail
