// The lock and the thread-local slot.
#include "platform/windows/thread.h"

#include <windows.h>

#include <atomic>
#include <new>

#include "platform/platform.h"

namespace Platform {

// ---- Lock ---------------------------------------------------------------------------------------

namespace {

constexpr DWORD kSpinCount = 1000;

CRITICAL_SECTION* SectionIn(unsigned char* storage) noexcept {
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}

}  // namespace

CriticalSection::CriticalSection() noexcept {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof storage_ && alignof(CRITICAL_SECTION) <= 8);
    // Cannot fail since Windows Vista.
    InitializeCriticalSectionAndSpinCount(new (storage_) CRITICAL_SECTION, kSpinCount);
}

CriticalSection::~CriticalSection() { DeleteCriticalSection(SectionIn(storage_)); }

void CriticalSection::lock() noexcept { EnterCriticalSection(SectionIn(storage_)); }

bool CriticalSection::LockWithin(std::uint32_t milliseconds) noexcept {
    const ULONGLONG begin = GetTickCount64();
    while (!TryEnterCriticalSection(SectionIn(storage_))) {
        if (GetTickCount64() - begin >= milliseconds) return false;
        Sleep(1);
    }
    return true;
}

void CriticalSection::unlock() noexcept { LeaveCriticalSection(SectionIn(storage_)); }

// ---- Slot ---------------------------------------------------------------------------------------

namespace {

std::atomic<DWORD> slot{TLS_OUT_OF_INDEXES};
std::atomic<void (*)(void*)> slotOnThreadEnd{nullptr};

}  // namespace

bool AllocateThreadSlot(void (*onThreadEnd)(void* value)) noexcept {
    if (slot.load(std::memory_order_acquire) != TLS_OUT_OF_INDEXES) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    slotOnThreadEnd.store(onThreadEnd, std::memory_order_release);
    const DWORD made = TlsAlloc();
    slot.store(made, std::memory_order_release);
    return made != TLS_OUT_OF_INDEXES;
}

void FreeThreadSlot() noexcept {
    const DWORD made = slot.exchange(TLS_OUT_OF_INDEXES, std::memory_order_acq_rel);
    if (made == TLS_OUT_OF_INDEXES) return;
    // The system clears the values of all threads.
    TlsFree(made);
    slotOnThreadEnd.store(nullptr, std::memory_order_release);
}

bool SetThreadSlot(void* value) noexcept {
    // The system refuses an index that there is not.
    return TlsSetValue(slot.load(std::memory_order_relaxed), value) != 0;
}

void* GetThreadSlot() noexcept { return TlsGetValue(slot.load(std::memory_order_relaxed)); }

std::uint32_t CurrentThreadId() noexcept { return GetCurrentThreadId(); }

namespace Windows {

void EndOfThread() noexcept {
    const DWORD made = slot.load(std::memory_order_acquire);
    if (made == TLS_OUT_OF_INDEXES) return;
    void* const value = TlsGetValue(made);
    if (value == nullptr) return;
    // Null first: what the callback calls must not find the value that it is giving back.
    TlsSetValue(made, nullptr);
    if (void (*const onThreadEnd)(void*) = slotOnThreadEnd.load(std::memory_order_acquire)) {
        onThreadEnd(value);
    }
}

}  // namespace Windows

}  // namespace Platform
