// A file or stream as a window of bytes that moves on: the memory it takes grows with the largest
// action, and never with the file.
#ifndef TMXACT_INPUT_H
#define TMXACT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system.h"

namespace tmxact {

// What an input tells while it is read.
struct InputEvents {
    std::function<void()> beforeWait = [] {};                         // no byte is there yet
    std::function<void(std::size_t)> afterRead = [](std::size_t) {};  // so many bytes came
};

class Input {
  public:
    Input(File file, const InputEvents& events);
    // A text that is there as a whole, such as an argument.
    Input(std::string name, std::string_view text);

    const std::string& Name() const noexcept { return name_; }

    // The bytes from the present place on; one more byte behind them may be written to.
    std::string_view Window() const noexcept { return {buffer_.data() + begin_, end_ - begin_}; }
    char* MutableWindow() noexcept { return buffer_.data() + begin_; }

    // Bytes just ahead of the present place, as far as they are still held (at least kContext of
    // them if there were as many).
    std::string_view Behind() const noexcept { return {buffer_.data(), begin_}; }

    // Whether the window ends where the file ends.
    bool AtEnd() const noexcept { return atEnd_; }

    // The place of the window's first byte in the file.
    std::uint64_t Offset() const noexcept { return offset_; }

    // Makes the window longer by what one read gives. False at the end of the file.
    bool Fill();

    // Moves the window's begin on.
    void Consume(std::size_t count) noexcept;

    // Moves on behind what is no part of the text; it counts for no column.
    void SkipMark(std::size_t count) noexcept {
        Consume(count);
        counted_ = begin_;
    }

    // The line (from 1) and character (from 1) at a place of the window. Characters are UTF-8
    // ones, or bytes.
    struct Place {
        std::uint64_t line = 1;
        std::uint64_t column = 1;
    };
    Place PlaceAt(std::size_t position);

    // Lines are counted from here on, where they are wanted.
    void CountLines(bool utf8) noexcept {
        counting_ = true;
        utf8_ = utf8;
    }

    static constexpr std::size_t kContext = 256;

  private:
    static constexpr std::size_t kFirstSize = 256 * 1024;

    void CountTo(std::size_t index);

    std::string name_;
    std::optional<File> file_;  // none for a text
    const InputEvents* events_ = nullptr;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t counted_ = 0;  // the index of the buffer whose place is place_; never past begin_
    Place place_;
    bool counting_ = false;
    bool utf8_ = true;
    std::uint64_t offset_ = 0;
    bool atEnd_ = false;
};

}  // namespace tmxact

#endif
