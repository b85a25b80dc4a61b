#include "output.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tmxact {

Output::Output(File file) : file_(std::move(file)), buffer_(2 * kSendAt) {}

char* Output::Room(std::size_t size) {
    if (RoomLeft() < size) buffer_.resize(std::max(buffer_.size() * 2, end_ + size));
    return buffer_.data() + end_;
}

void Output::Put(std::string_view bytes) {
    std::memcpy(Room(bytes.size()), bytes.data(), bytes.size());
    end_ += bytes.size();
}

void Output::EndRecord() {
    whole_ = end_;
    if (whole_ >= kSendAt) Flush();
}

void Output::Flush() {
    const std::size_t size = std::exchange(whole_, 0);
    if (size == 0) return;
    const std::size_t rest = end_ - size;
    end_ = rest;
    // A failed send is not tried again: what a retry would send twice can't be known.
    file_.Write(buffer_.data(), size);
    std::memmove(buffer_.data(), buffer_.data() + size, rest);
}

void Output::Close() {
    Flush();
    file_.Close();
}

}  // namespace tmxact
