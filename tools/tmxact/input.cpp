#include "input.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tmxact {

Input::Input(File file, const InputEvents& events)
    : name_(file.Name()), file_(std::move(file)), events_(&events), buffer_(kFirstSize) {}

Input::Input(std::string name, std::string_view text)
    : name_(std::move(name)), buffer_(text.size() + 1), end_(text.size()), atEnd_(true) {
    std::copy(text.begin(), text.end(), buffer_.begin());
}

bool Input::Fill() {
    if (atEnd_) return false;
    constexpr std::size_t kLeastRead = 32 * 1024;
    if (buffer_.size() - end_ <= kLeastRead) {
        const std::size_t unread = end_ - begin_;
        // Growing when half is in use keeps the moves linear in the bytes that pass.
        if (unread > buffer_.size() / 2) buffer_.resize(buffer_.size() * 2);
        const std::size_t from = begin_ > kContext ? begin_ - kContext : 0;
        CountTo(std::max(from, counted_));
        std::memmove(buffer_.data(), buffer_.data() + from, end_ - from);
        begin_ -= from;
        end_ -= from;
        counted_ -= from;
    }
    const std::size_t got =
        file_->Read(buffer_.data() + end_, buffer_.size() - end_ - 1, events_->beforeWait);
    if (got == 0) {
        atEnd_ = true;
        return false;
    }
    end_ += got;
    events_->afterRead(got);
    return true;
}

void Input::Consume(std::size_t count) noexcept {
    begin_ += count;
    offset_ += count;
}

void Input::CountTo(std::size_t index) {
    if (counting_) {
        const char* from = buffer_.data() + counted_;
        const char* to = buffer_.data() + index;
        const auto lines = std::count(from, to, '\n');
        if (lines > 0) {
            place_.line += static_cast<std::uint64_t>(lines);
            place_.column = 1;
            from = to;
            while (from[-1] != '\n') --from;
        }
        const bool utf8 = utf8_;
        place_.column += static_cast<std::uint64_t>(std::count_if(from, to, [utf8](char c) {
            return !utf8 || (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        }));
    }
    counted_ = index;
}

Input::Place Input::PlaceAt(std::size_t position) {
    CountTo(begin_);
    const Place atBegin = place_;
    CountTo(begin_ + position);
    counted_ = begin_;
    return std::exchange(place_, atBegin);
}

}  // namespace tmxact
