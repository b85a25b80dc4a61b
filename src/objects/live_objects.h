// The count of live message objects of the process.
#pragma once

#include <cstdint>

#include "zinc/thread_state.h"

namespace TmxPLC {

/// Objects are counted, not handles: every constructor of CTmxMessage adds one, every destructor
/// takes one away, on whatever thread it runs.
struct LiveObjects {
    TMX_FORCE_INLINE static void Add() noexcept { Zinc::ThreadStates::CountUp(); }
    TMX_FORCE_INLINE static void Remove() noexcept { Zinc::ThreadStates::CountDown(); }
    static std::uint32_t Count() noexcept { return Zinc::ThreadStates::Counted(); }
};

}  // namespace TmxPLC
