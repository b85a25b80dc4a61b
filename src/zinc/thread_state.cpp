#include "zinc/thread_state.h"

#include <mutex>

namespace Zinc {

namespace {

Platform::CriticalSection& ListLock() noexcept {
    static Platform::CriticalSection lock;
    return lock;
}
ThreadState* list = nullptr;

}  // namespace

void ThreadStates::Add(ThreadState& state) noexcept {
    const std::lock_guard guard(ListLock());
    state.next = list;
    if (list != nullptr) list->previous = &state;
    list = &state;
}

void ThreadStates::Remove(ThreadState& state) noexcept {
    const std::lock_guard guard(ListLock());
    (state.previous != nullptr ? state.previous->next : list) = state.next;
    if (state.next != nullptr) state.next->previous = state.previous;
    rest_.fetch_add(state.counted.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

ThreadState* ThreadStates::First() noexcept {
    const std::lock_guard guard(ListLock());
    return list;
}

std::uint32_t ThreadStates::Counted() noexcept {
    const std::lock_guard guard(ListLock());
    std::uint32_t sum = rest_.load(std::memory_order_relaxed);
    for (const ThreadState* state = list; state != nullptr; state = state->next)
        sum += state->counted.load(std::memory_order_relaxed);
    return sum;
}

}  // namespace Zinc
