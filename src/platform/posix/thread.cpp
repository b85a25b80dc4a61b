// The lock and the thread-local slot.
#include <emmintrin.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <new>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/fault_stack.h"

namespace Platform {

// ---- Lock ---------------------------------------------------------------------------------------

namespace {

constexpr int kSpinCount = 1000;

pthread_mutex_t* MutexIn(unsigned char* storage) noexcept {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

}  // namespace

CriticalSection::CriticalSection() noexcept {
    static_assert(sizeof(pthread_mutex_t) <= sizeof storage_ && alignof(pthread_mutex_t) <= 8);
    // The static initialiser makes the same mutex as pthread_mutex_init without attributes.
    new (storage_) pthread_mutex_t(PTHREAD_MUTEX_INITIALIZER);
}

CriticalSection::~CriticalSection() { pthread_mutex_destroy(MutexIn(storage_)); }

// The calls below can fail only for a mutex of another kind or one misused.

void CriticalSection::lock() noexcept {
    pthread_mutex_t* mutex = MutexIn(storage_);
    for (int i = 0; i < kSpinCount; ++i) {
        if (pthread_mutex_trylock(mutex) == 0) return;
        _mm_pause();
    }
    pthread_mutex_lock(mutex);
}

bool CriticalSection::LockWithin(std::uint32_t milliseconds) noexcept {
    const Detail::ErrnoGuard guard;
    constexpr timespec kMillisecond = {0, 1'000'000};
    pthread_mutex_t* mutex = MutexIn(storage_);
    for (std::uint32_t waited = 0; pthread_mutex_trylock(mutex) != 0; ++waited) {
        if (waited == milliseconds) return false;
        nanosleep(&kMillisecond, nullptr);
    }
    return true;
}

void CriticalSection::unlock() noexcept { pthread_mutex_unlock(MutexIn(storage_)); }

// ---- Slot ---------------------------------------------------------------------------------------

namespace Detail {
__thread void* threadSlot __attribute__((tls_model("initial-exec"))) = nullptr;
}  // namespace Detail

namespace {

// The slot itself is the thread-local variable; the key is there for its destructor. A C++
// thread_local with a destructor would keep the module from being unloaded, a key doesn't.
pthread_key_t slotKey;
std::atomic<bool> slotMade{false};
std::atomic<void (*)(void*)> slotOnThreadEnd{nullptr};

void EndOfThread(void* value) {
    // Null first: what the callback calls must not find the value that it is giving back. A value
    // set from now on brings the system here again.
    Detail::threadSlot = nullptr;
    if (void (*const onThreadEnd)(void*) = slotOnThreadEnd.load(std::memory_order_acquire)) {
        onThreadEnd(value);
    }
    Detail::DetachFaultStack();
}

}  // namespace

bool AllocateThreadSlot(void (*onThreadEnd)(void* value)) noexcept {
    if (slotMade.load(std::memory_order_acquire)) {
        SetLastError(kErrorInvalidParameter);
        return false;
    }
    slotOnThreadEnd.store(onThreadEnd, std::memory_order_release);
    if (const int error = pthread_key_create(&slotKey, EndOfThread)) {
        SetLastError(static_cast<std::uint32_t>(error));
        return false;
    }
    slotMade.store(true, std::memory_order_release);
    return true;
}

void FreeThreadSlot() noexcept {
    if (!slotMade.exchange(false, std::memory_order_acq_rel)) return;
    // Without the key no thread comes to EndOfThread any more, which may soon be unmapped.
    pthread_key_delete(slotKey);
    slotOnThreadEnd.store(nullptr, std::memory_order_release);
    Detail::threadSlot = nullptr;
}

bool SetThreadSlot(void* value) noexcept {
    if (!slotMade.load(std::memory_order_acquire)) {
        SetLastError(kErrorInvalidParameter);
        return false;
    }
    if (const int error = pthread_setspecific(slotKey, value)) {
        SetLastError(static_cast<std::uint32_t>(error));
        return false;
    }
    Detail::threadSlot = value;
    // The first that the module hears of a thread, and what its end is heard by.
    if (value != nullptr) Detail::AttachFaultStack();
    return true;
}

std::uint32_t CurrentThreadId() noexcept { return static_cast<std::uint32_t>(syscall(SYS_gettid)); }

}  // namespace Platform
