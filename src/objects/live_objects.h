// The count of live message objects of the process.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/platform.h"

namespace TmxPLC {

/// Objects are counted, not handles: every constructor of CTmxMessage adds one, every destructor
/// takes one away, on whatever thread it runs. One counter for all threads: a count that each
/// thread kept for itself would be cheaper, but its sum, taken while others work, was never true at
/// any moment.
class LiveObjects {
  public:
    TMX_FORCE_INLINE static void Add() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
    TMX_FORCE_INLINE static void Remove() noexcept {
        count_.fetch_sub(1, std::memory_order_relaxed);
    }
    static std::uint32_t Count() noexcept { return count_.load(std::memory_order_relaxed); }

  private:
    inline static constinit std::atomic<std::uint32_t> count_{0};
};

}  // namespace TmxPLC
