// The count of live message objects of the process.
#pragma once

#include <atomic>
#include <cstdint>

namespace TmxPLC {

/// Objects are counted, not handles: every constructor of CTmxMessage adds one, every destructor
/// takes one away.
class LiveObjects {
  public:
    static void Add() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
    static void Remove() noexcept { count_.fetch_sub(1, std::memory_order_relaxed); }
    static std::uint32_t Count() noexcept { return count_.load(std::memory_order_relaxed); }

  private:
    inline static std::atomic<std::uint32_t> count_{0};
};

}  // namespace TmxPLC
