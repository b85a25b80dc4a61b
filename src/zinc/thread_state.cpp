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
}

ThreadState* ThreadStates::First() noexcept {
    const std::lock_guard guard(ListLock());
    return list;
}

}  // namespace Zinc
