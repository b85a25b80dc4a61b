// What the library keeps for each thread that has called it.
#pragma once

#include <cstdint>

#include "zinc/exceptions.h"

namespace Zinc {

/// Room for values that a call hands out though they lie in no object. They stay until the thread's
/// next call of that kind, or until the thread ends.
struct ThreadScratch {
    std::int64_t integers[4];
    WideString texts[2];
};

/// The head of a thread's record, which the frame makes with the thread's first framed call. All
/// records hang together, so that a module that goes takes them along.
struct ThreadState {
    ThreadState* next = nullptr;
    ThreadState* previous = nullptr;
    ThreadScratch scratch;

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
