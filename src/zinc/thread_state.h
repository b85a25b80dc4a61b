// What the library keeps for each thread that has called it.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/platform.h"

namespace Zinc {

/// The head of a thread's record, which the frame makes with the thread's first framed call. All
/// records hang together, so that a module that goes takes them along.
struct ThreadState {
    /// This thread's share of a count that all threads change at every call. Only the thread itself
    /// writes it, so that counting takes no atomic read-modify-write.
    std::atomic<std::uint32_t> counted{0};

    ThreadState* next = nullptr;
    ThreadState* previous = nullptr;

    /// The calling thread's record; null if it has none.
    TMX_FORCE_INLINE static ThreadState* Current() noexcept {
        return static_cast<ThreadState*>(Platform::GetThreadSlot());
    }
};

/// The records of all threads.
class ThreadStates {
  public:
    static void Add(ThreadState& state) noexcept;
    /// The thread's share of the count stays counted.
    static void Remove(ThreadState& state) noexcept;
    /// Any record, or null if there is none left.
    static ThreadState* First() noexcept;

    /// Changes the count by one, for a thread without a record too.
    TMX_FORCE_INLINE static void CountUp() noexcept { Count(1); }
    TMX_FORCE_INLINE static void CountDown() noexcept { Count(static_cast<std::uint32_t>(-1)); }
    /// The count over all threads; a snapshot.
    static std::uint32_t Counted() noexcept;

  private:
    TMX_FORCE_INLINE static void Count(std::uint32_t step) noexcept {
        if (ThreadState* state = ThreadState::Current())
            state->counted.store(state->counted.load(std::memory_order_relaxed) + step,
                                 std::memory_order_relaxed);
        else
            rest_.fetch_add(step, std::memory_order_relaxed);
    }

    // The share of threads that have ended or never had a record.
    inline static constinit std::atomic<std::uint32_t> rest_{0};
};

}  // namespace Zinc
