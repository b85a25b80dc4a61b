#include "platform/posix/memory_map.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace Platform::Detail {

namespace {

char reserve[128 * 1024];

/// Reads a file of the system to its end, or to the buffer's.
std::size_t ReadMaps(char* buffer, std::size_t capacity) noexcept {
    const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    std::size_t size = 0;
    while (size < capacity) {
        const ssize_t count = read(file, buffer + size, capacity - size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        size += static_cast<std::size_t>(count);
    }
    close(file);
    return size;
}

std::uint64_t Number(std::string_view& text, unsigned base) noexcept {
    std::uint64_t number = 0;
    for (; !text.empty(); text.remove_prefix(1)) {
        const char digit = text.front();
        unsigned value;
        if (digit >= '0' && digit <= '9')
            value = static_cast<unsigned>(digit - '0');
        else if (base == 16 && digit >= 'a' && digit <= 'f')
            value = static_cast<unsigned>(digit - 'a') + 10;
        else
            break;
        number = number * base + value;
    }
    return number;
}

void SkipOne(std::string_view& text) noexcept {
    if (!text.empty()) text.remove_prefix(1);
}

}  // namespace

MemoryMap::~MemoryMap() {
    if (pages_ != 0) munmap(text_, pages_);
}

bool MemoryMap::Load() noexcept {
    constexpr std::size_t kFirst = 1024 * 1024;
    constexpr std::size_t kMost = 64 * kFirst;
    for (std::size_t capacity = kFirst; capacity <= kMost; capacity *= 4) {
        void* const pages = mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (pages == MAP_FAILED) break;
        text_ = static_cast<char*>(pages);
        pages_ = capacity;
        size_ = ReadMaps(text_, capacity);
        if (size_ < capacity) return size_ > 0;
        munmap(pages, capacity);
        pages_ = 0;
    }
    text_ = reserve;
    size_ = ReadMaps(reserve, sizeof reserve);
    // Of a cut text the last line is not whole.
    while (size_ > 0 && text_[size_ - 1] != '\n') --size_;
    return size_ > 0;
}

// start-end rwxp offset major:minor inode    path
bool MemoryMap::Next(Mapping& mapping) noexcept {
    if (at_ >= size_) return false;
    std::string_view line(text_ + at_, size_ - at_);
    line = line.substr(0, line.find('\n'));
    at_ += line.size() + 1;
    mapping.start = Number(line, 16);
    SkipOne(line);
    mapping.end = Number(line, 16);
    SkipOne(line);
    if (line.size() < 5) return false;
    mapping.readable = line[0] == 'r';
    mapping.writable = line[1] == 'w';
    mapping.executable = line[2] == 'x';
    line.remove_prefix(5);
    mapping.offset = Number(line, 16);
    SkipOne(line);
    Number(line, 16);
    SkipOne(line);
    Number(line, 16);
    SkipOne(line);
    mapping.inode = Number(line, 10);
    while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
    mapping.path = line;
    return true;
}

bool MemoryMap::Find(std::uintptr_t address, Mapping& mapping) noexcept {
    for (Rewind(); Next(mapping);)
        if (address >= mapping.start && address < mapping.end) return true;
    return false;
}

}  // namespace Platform::Detail
