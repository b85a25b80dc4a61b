// Objects of which the process has one each.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>

#include "zinc/crash_state.h"
#include "zinc/reference.h"

namespace Zinc {

class IGlobalObjectAbstractInterface : public VirtualReferenceCountBaseClass {
  public:
    virtual std::uint32_t AddRef() noexcept = 0;
    virtual std::uint32_t Release() noexcept = 0;
};

/// The base of the process's one object of a class. It lies in memory that is set aside for it, so
/// that its end gives no memory back.
class IGlobalObjectInterface : public ReferenceBaseClass<IGlobalObjectAbstractInterface> {
  public:
    void Destroy() noexcept override { this->~IGlobalObjectInterface(); }
};

/// The process-wide lock under which global objects are made. Its first call makes it, and must not
/// be the one of a crash.
Platform::CriticalSection& GlobalObjectLock() noexcept;

/// The place of the one Object, which is made with the first Get and holds one reference.
template <class Object>
class GlobalObject {
  public:
    /// Null: the object is at this moment being made by this thread, or it is gone.
    static Object* Get() noexcept {
        if (Object* const object = object_.load(std::memory_order_acquire)) return object;
        // Asked before the lock is, which this thread may hold.
        const std::uint32_t thread = Platform::CurrentThreadId();
        if (maker_.load(std::memory_order_acquire) == thread) return nullptr;
        const DiagnosticLock guard(GlobalObjectLock());
        if (Object* const object = object_.load(std::memory_order_acquire)) return object;
        // In a process that has crashed the lock may be somebody else's still.
        if (gone_ || maker_.load(std::memory_order_acquire) != 0) return nullptr;
        maker_.store(thread, std::memory_order_release);
        auto* const object = new (storage_) Object;
        object->AddRef();
        object_.store(object, std::memory_order_release);
        maker_.store(0, std::memory_order_release);
        return object;
    }

    /// At the module's end, when no other thread comes here any more.
    static void ReleaseAtEnd() noexcept {
        const DiagnosticLock guard(GlobalObjectLock());
        gone_ = true;
        if (Object* const object = object_.exchange(nullptr, std::memory_order_acq_rel))
            object->Release();
    }

  private:
    static inline std::atomic<Object*> object_{nullptr};
    static inline std::atomic<std::uint32_t> maker_{0};  // the thread that makes it
    static inline bool gone_ = false;
    alignas(Object) static inline unsigned char storage_[sizeof(Object)];
};

}  // namespace Zinc
