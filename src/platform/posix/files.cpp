// Pages, and the files that diagnostics write.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"

namespace Platform {

using Detail::ErrnoGuard;

// ---- Pages --------------------------------------------------------------------------------------

void* AllocatePages(std::size_t bytes) noexcept {
    const ErrnoGuard guard;
    void* const pages =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages != MAP_FAILED ? pages : nullptr;
}

void FreePages(void* pages, std::size_t bytes) noexcept {
    const ErrnoGuard guard;
    munmap(pages, bytes);
}

// ---- The executable -----------------------------------------------------------------------------

std::size_t ExecutablePath(char* text, std::size_t capacity) noexcept {
    const ErrnoGuard guard;
    if (capacity == 0) return 0;
    const ssize_t count = readlink("/proc/self/exe", text, capacity - 1);
    std::size_t size = count > 0 ? static_cast<std::size_t>(count) : 0;
    text[size] = '\0';
    // The system marks a file that has been replaced meanwhile.
    constexpr std::string_view kDeleted = " (deleted)";
    if (std::string_view(text, size).ends_with(kDeleted) && !FileExists(text)) {
        size -= kDeleted.size();
        text[size] = '\0';
    }
    return size;
}

std::size_t ExecutablePath(WideChar* text, std::size_t capacity) noexcept {
    constexpr std::size_t kMaxPath = 4096;
    if (capacity == 0) return 0;
    char path[kMaxPath];
    const std::size_t size = std::min(ExecutablePath(path, kMaxPath), capacity - 1);
    const std::ptrdiff_t count = NarrowToWide(CodePage::Utf8, 0, path, size, text, capacity - 1);
    const std::size_t units = count > 0 ? static_cast<std::size_t>(count) : 0;
    text[units] = 0;
    return units;
}

// ---- Files --------------------------------------------------------------------------------------

bool OutputFile::Open(const char* path, Access access) noexcept {
    const ErrnoGuard guard;
    Close();
    constexpr int kFlags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY;
    if (access == Access::Default) {
        handle_ = open(path, kFlags | O_TRUNC, 0666);
        return handle_ != kNone;
    }
    // A file that somebody else has put there, or a link, is left alone.
    handle_ = open(path, kFlags | O_EXCL | O_NOFOLLOW, 0600);
    if (handle_ == kNone) return false;
    fchmod(static_cast<int>(handle_), 0600);
    return true;
}

bool OutputFile::Write(const void* bytes, std::size_t size) noexcept {
    const ErrnoGuard guard;
    return IsOpen() &&
           Detail::WriteAll(static_cast<int>(handle_), static_cast<const char*>(bytes), size);
}

void OutputFile::Close() noexcept {
    const ErrnoGuard guard;
    if (IsOpen()) close(static_cast<int>(handle_));
    handle_ = kNone;
}

bool FileExists(const char* path) noexcept {
    const ErrnoGuard guard;
    struct stat status;
    return lstat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

bool RemoveFile(const char* path) noexcept {
    const ErrnoGuard guard;
    return unlink(path) == 0;
}

}  // namespace Platform
