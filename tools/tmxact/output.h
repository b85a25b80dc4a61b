// Where data goes: a big buffer that leaves in whole records only.
#ifndef TMXACT_OUTPUT_H
#define TMXACT_OUTPUT_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "system.h"

namespace tmxact {

class Output {
  public:
    explicit Output(File file);

    // Room for the present record, size bytes or more; Commit takes what was written of it.
    char* Room(std::size_t size);
    void Commit(std::size_t size) noexcept { end_ += size; }
    std::size_t RoomLeft() const noexcept { return buffer_.size() - end_; }

    void Put(std::string_view bytes);

    // The record is whole. What is whole may leave at any time.
    void EndRecord();

    // Forgets the record that was begun.
    void DropRecord() noexcept { end_ = whole_; }

    // Sends what is whole. Throws WriteError or BrokenPipe.
    void Flush();

    // Flushes and closes, so that a late error is told.
    void Close();

  private:
    static constexpr std::size_t kSendAt = 256 * 1024;

    File file_;
    std::vector<char> buffer_;
    std::size_t end_ = 0;
    std::size_t whole_ = 0;
};

}  // namespace tmxact

#endif
