#include "objects/reserve.h"

namespace TmxPLC {

namespace {

alignas(std::max_align_t) unsigned char memory[Reserve::kSize];
Platform::CriticalSection lock;

}  // namespace

void* Reserve::Take() noexcept {
    lock.lock();
    return memory;
}

bool Reserve::Holds(const CTmxMessage* message) noexcept {
    return static_cast<const void*>(message) == memory;
}

void Reserve::Discard(CTmxMessage* message) noexcept {
    if (!Holds(message)) {
        message->Release();
        return;
    }
    message->~CTmxMessage();
    lock.unlock();
}

}  // namespace TmxPLC
