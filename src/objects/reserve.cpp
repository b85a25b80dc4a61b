#include "objects/reserve.h"

#include <new>

namespace TmxPLC {

namespace {

alignas(std::max_align_t) unsigned char memory[Reserve::kSize];
Platform::CriticalSection lock;

bool IsHeld(const CTmxMessage* message) noexcept {
    return static_cast<const void*>(message) == memory;
}

}  // namespace

void* Reserve::Allocate(std::size_t size) noexcept {
    if (void* const system = ::operator new(size, std::nothrow)) return system;
    lock.lock();
    return memory;
}

CTmxMessage* Reserve::Keep(CTmxMessage* message, bool read) noexcept {
    if (read && !IsHeld(message)) return message;
    Discard(message);
    return nullptr;
}

void Reserve::Discard(CTmxMessage* message) noexcept {
    if (!IsHeld(message)) {
        message->Release();
        return;
    }
    message->~CTmxMessage();
    lock.unlock();
}

}  // namespace TmxPLC
