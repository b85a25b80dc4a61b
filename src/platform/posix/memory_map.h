// The mappings of this process, read from the system without the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Platform::Detail {

struct Mapping {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    bool readable = false;
    bool writable = false;
    bool executable = false;
    std::uint64_t offset = 0;  ///< in the file
    std::uint64_t inode = 0;   ///< 0: anonymous
    std::string_view path;     ///< of a file, or a name in brackets
};

class MemoryMap {
  public:
    MemoryMap() = default;
    ~MemoryMap();
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /// Reads what is mapped now. Where no memory can be had for it, as much as a static buffer
    /// holds, which is there once. False: nothing can be read.
    bool Load() noexcept;

    /// Gives the next mapping, from the lowest on. The path is good as long as the map.
    bool Next(Mapping& mapping) noexcept;
    void Rewind() noexcept { at_ = 0; }
    /// The mapping that holds an address.
    bool Find(std::uintptr_t address, Mapping& mapping) noexcept;

  private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
    std::size_t pages_ = 0;  // 0: the static buffer
    std::size_t at_ = 0;
};

}  // namespace Platform::Detail
