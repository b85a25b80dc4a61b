// The text of a value: short ones lie inside the object, long ones on the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "zinc/units.h"

namespace TmxPLC {

/// An owned, zero-terminated text of Char units. Copying and assigning a text of more than
/// kInlineLength units allocates and may throw std::bad_alloc; nothing else throws.
template <typename Char>
class InlineText {
  public:
    /// Longest text inside the object. The names, hosts, accounts, plates and card numbers that the
    /// catalogue's texts hold have up to some twenty characters; see docs/performance.md.
    static constexpr std::size_t kInlineLength = 23;

    InlineText() noexcept { inline_[0] = 0; }
    InlineText(const InlineText& other) {
        if (other.capacity_ == 0) {
            CopyInline(other);
        } else {
            inline_[0] = 0;
            Assign(other.c_str(), other.size_);
        }
    }
    InlineText& operator=(const InlineText& other) {
        if (this != &other) Assign(other.c_str(), other.size_);
        return *this;
    }
    InlineText(InlineText&& other) noexcept { Take(other); }
    InlineText& operator=(InlineText&& other) noexcept {
        if (this != &other) {
            Free();
            Take(other);
        }
        return *this;
    }
    ~InlineText() { Free(); }

    const Char* c_str() const noexcept { return capacity_ == 0 ? inline_ : heap_; }
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    std::basic_string_view<Char> view() const noexcept { return {c_str(), size_}; }

    /// Room for length units and the terminator, whose contents the caller writes next. The text is
    /// length units long at once.
    Char* Resize(std::size_t length) {
        Char* target = Reserve(length);
        size_ = static_cast<std::uint32_t>(length);
        target[length] = 0;
        return target;
    }

    /// Cuts the text to its first length units.
    void Truncate(std::size_t length) noexcept {
        size_ = static_cast<std::uint32_t>(length);
        (capacity_ == 0 ? inline_ : heap_)[length] = 0;
    }

    /// text is not a part of this text.
    void Assign(const Char* text, std::size_t length) {
        Char* target = Reserve(length);
        Zinc::Units::Copy(target, text, length * sizeof(Char));
        target[length] = 0;
        size_ = static_cast<std::uint32_t>(length);
    }
    void Assign(std::basic_string_view<Char> text) { Assign(text.data(), text.size()); }

    /// Takes a zero-terminated text; null is the empty text.
    void AssignTerminated(const Char* text) {
        if (text != nullptr)
            Assign(text, Zinc::Units::Length(text));
        else
            Truncate(0);
    }

  private:
    void CopyInline(const InlineText& other) noexcept {
        size_ = other.size_;
        std::memcpy(inline_, other.inline_, sizeof inline_);
    }
    void Take(InlineText& other) noexcept {
        size_ = other.size_;
        capacity_ = other.capacity_;
        std::memcpy(inline_, other.inline_, sizeof inline_);
        other.size_ = 0;
        other.capacity_ = 0;
        other.inline_[0] = 0;
    }
    void Free() noexcept {
        if (capacity_ != 0) ::operator delete(heap_);
        capacity_ = 0;
    }
    Char* Reserve(std::size_t length) {
        if (capacity_ == 0 ? length <= kInlineLength : length <= capacity_)
            return capacity_ == 0 ? inline_ : heap_;
        return ReserveHeap(length);
    }
    [[gnu::noinline]] Char* ReserveHeap(std::size_t length) {
        Char* heap = static_cast<Char*>(::operator new((length + 1) * sizeof(Char)));
        Free();
        heap_ = heap;
        capacity_ = static_cast<std::uint32_t>(length);
        return heap;
    }

    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;  // units on the heap without the terminator; 0: inside
    union {
        Char inline_[kInlineLength + 1];
        Char* heap_;
    };
};

}  // namespace TmxPLC
