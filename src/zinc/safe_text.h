// Text for where nothing may fail and the heap may not be touched: the lines and names of a process
// that has crashed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/platform.h"

namespace Zinc {

/// Receives narrow text piece by piece.
class TextSink {
  public:
    virtual void Append(std::string_view text) = 0;

  protected:
    ~TextSink() = default;
};

/// A text in a buffer of its own, beyond which it grows into pages of the system, never the heap.
/// What there is no memory for is cut off. Always terminated.
template <typename Char>
class SafeText {
  public:
    using View = std::basic_string_view<Char>;

    SafeText(const SafeText&) = delete;
    SafeText& operator=(const SafeText&) = delete;

    View Text() const noexcept { return {data_, size_}; }
    const Char* CStr() const noexcept { return data_; }
    bool IsEmpty() const noexcept { return size_ == 0; }

    void Clear() noexcept {
        size_ = 0;
        data_[0] = 0;
    }
    void Append(View text) noexcept {
        const std::size_t count = std::min(text.size(), Reserve(text.size()));
        std::copy_n(text.data(), count, data_ + size_);
        size_ += count;
        data_[size_] = 0;
    }
    void Append(Char unit) noexcept { Append(View(&unit, 1)); }
    /// Decimal, or hexadecimal in lower case, without a prefix.
    void AppendNumber(std::uint64_t number, unsigned base = 10) noexcept {
        Char digits[20];
        Char* begin = digits + 20;
        do {
            *--begin = static_cast<Char>("0123456789abcdef"[number % base]);
            number /= base;
        } while (number != 0);
        Append(View(begin, static_cast<std::size_t>(digits + 20 - begin)));
    }

    /// Makes room for that many more units; returns the room that there is.
    std::size_t Reserve(std::size_t units) noexcept {
        const std::size_t room = capacity_ - 1 - size_;
        if (units <= room) return room;
        const std::size_t wanted = std::max(2 * capacity_, size_ + units + 1);
        auto* const grown = static_cast<Char*>(Platform::AllocatePages(wanted * sizeof(Char)));
        if (grown == nullptr) return room;
        std::copy_n(data_, size_ + 1, grown);
        FreeOwnPages();
        data_ = grown;
        capacity_ = wanted;
        return capacity_ - 1 - size_;
    }
    /// Where the next unit goes; behind Reserve, a caller may write there and then call Extend.
    Char* End() noexcept { return data_ + size_; }
    void Extend(std::size_t units) noexcept {
        size_ += units;
        data_[size_] = 0;
    }

  protected:
    SafeText(Char* buffer, std::size_t capacity) noexcept
        : buffer_(buffer), data_(buffer), capacity_(capacity) {
        data_[0] = 0;
    }
    ~SafeText() { FreeOwnPages(); }

  private:
    void FreeOwnPages() noexcept {
        if (data_ != buffer_) Platform::FreePages(data_, capacity_ * sizeof(Char));
    }

    Char* buffer_;
    Char* data_;
    std::size_t size_ = 0;
    std::size_t capacity_;
};

using SafeWideText = SafeText<Platform::WideChar>;
using SafeNarrowText = SafeText<char>;

namespace Detail {
template <typename Char, std::size_t Capacity>
struct TextRoom {
    Char units[Capacity];
};
}  // namespace Detail

/// A SafeText with room for Capacity - 1 units before it needs pages.
template <typename Char, std::size_t Capacity>
class SafeTextOf : private Detail::TextRoom<Char, Capacity>, public SafeText<Char> {
  public:
    SafeTextOf() noexcept : SafeText<Char>(this->units, Capacity) {}
};

/// Appends what the conversion by the ANSI code page gives.
void AppendAnsiToWide(SafeWideText& target, std::string_view text) noexcept;
void AppendWideToAnsi(SafeNarrowText& target,
                      std::basic_string_view<Platform::WideChar> text) noexcept;

/// A sink into a SafeText.
class SafeTextSink final : public TextSink {
  public:
    explicit SafeTextSink(SafeNarrowText& target) noexcept : target_(target) {}
    void Append(std::string_view text) override { target_.Append(text); }

  private:
    SafeNarrowText& target_;
};

}  // namespace Zinc
