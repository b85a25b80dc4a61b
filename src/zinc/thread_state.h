// What the library keeps for each thread that has called it.
#pragma once

#include "platform/platform.h"

namespace Zinc {

/// The head of a thread's record, which the frame makes with the thread's first framed call. All
/// records hang together, so that a module that goes takes them along.
struct ThreadState {
    ThreadState* next = nullptr;
    ThreadState* previous = nullptr;

    /// The calling thread's record; null if it has none.
    TMX_FORCE_INLINE static ThreadState* Current() noexcept {
        return static_cast<ThreadState*>(Platform::GetThreadSlot());
    }
};

/// The records of all threads.
namespace ThreadStates {

void Add(ThreadState& state) noexcept;
void Remove(ThreadState& state) noexcept;
/// Any record, or null if there is none left.
ThreadState* First() noexcept;

}  // namespace ThreadStates

}  // namespace Zinc
