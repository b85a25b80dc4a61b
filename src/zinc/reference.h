// Bases of reference-counted objects.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

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

    /// Returns the new count.
    virtual std::uint32_t Release() noexcept {
        // Who holds the only reference shares the object with nobody, so that the common last
        // release needs no atomic read-modify-write.
        if (referenceCount.load(std::memory_order_acquire) != 1) {
            const std::uint32_t old = referenceCount.fetch_sub(1, std::memory_order_acq_rel);
            if (old != 1) return old - 1;
        } else {
            referenceCount.store(0, std::memory_order_relaxed);
        }
        OnFinalRelease();
        Destroy();
        return 0;
    }

    virtual void Destroy() noexcept { delete this; }
    virtual void DumpText(std::string& text) const { text = "<refptr/>"; }
    virtual void OnFinalRelease() noexcept {}

    std::atomic<std::uint32_t> referenceCount{0};
};

}  // namespace Zinc
