// Bases of reference-counted objects.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <type_traits>

#include "platform/platform.h"

namespace Zinc {

/// A class that must not be copied.
class NonCopyable {
  protected:
    NonCopyable() = default;
    ~NonCopyable() = default;

  public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;
};

/// The root of reference-counted classes.
class VirtualReferenceCountBaseClass : public NonCopyable {
  public:
    virtual ~VirtualReferenceCountBaseClass() = default;
};

/// Adds the reference count. It starts at 0; a holder takes a reference with AddRef and gives it
/// back with Release, and with the last one the object ends.
template <class Base>
class ReferenceBaseClass : public Base {
  public:
    /// Returns the new count.
    virtual std::uint32_t AddRef() noexcept {
        return referenceCount.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    /// Returns the new count. With the last reference calls OnFinalRelease and then Destroy.
    virtual std::uint32_t Release() noexcept { return ReleaseFrom(*this); }

    virtual void Destroy() noexcept { delete this; }
    virtual void DumpText(std::string& text) const { text = "<refptr/>"; }
    virtual void OnFinalRelease() noexcept {}

    std::atomic<std::uint32_t> referenceCount{0};

  protected:
    /// What Release does, for a class that knows its own type: calls through a final class need no
    /// table of virtual functions.
    template <class Object>
    TMX_FORCE_INLINE static std::uint32_t ReleaseFrom(Object& object) noexcept {
        // Who holds the only reference shares the object with nobody, so that the common last
        // release needs no atomic read-modify-write.
        std::atomic<std::uint32_t>& count = object.referenceCount;
        if (count.load(std::memory_order_acquire) != 1) {
            const std::uint32_t old = count.fetch_sub(1, std::memory_order_acq_rel);
            if (old != 1) return old - 1;
        } else {
            count.store(0, std::memory_order_relaxed);
        }
        object.OnFinalRelease();
        if constexpr (std::is_final_v<Object>)
            delete &object;
        else
            object.Destroy();
        return 0;
    }
};

}  // namespace Zinc
