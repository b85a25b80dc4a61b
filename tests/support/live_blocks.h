// How many blocks of memory the process holds.
#pragma once

#include <atomic>
#include <cstdint>

namespace tmxtest {

/// Counted by the allocation functions of live_blocks.cpp, which replace those of the program that
/// it is linked into.
extern std::atomic<int64_t> liveBlocks;

}  // namespace tmxtest
