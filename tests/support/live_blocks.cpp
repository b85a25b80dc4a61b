#include "support/live_blocks.h"

#include <cstdlib>
#include <new>

namespace tmxtest {

std::atomic<int64_t> liveBlocks{0};

namespace {

void* Allocate(size_t size) noexcept {
    void* block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr) liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void GiveBack(void* block) noexcept {
    if (block == nullptr) return;
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

}  // namespace

}  // namespace tmxtest

using tmxtest::Allocate;
using tmxtest::GiveBack;

void* operator new(size_t size) {
    void* block = Allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { GiveBack(block); }
void operator delete[](void* block) noexcept { GiveBack(block); }
void operator delete(void* block, size_t) noexcept { GiveBack(block); }
void operator delete[](void* block, size_t) noexcept { GiveBack(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { GiveBack(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { GiveBack(block); }
