// Error numbers and texts, and the debugger output.
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"

namespace Platform {

using Detail::ErrnoGuard;

// ---- Errors -------------------------------------------------------------------------------------

namespace {

__thread std::uint32_t lastError __attribute__((tls_model("initial-exec"))) = 0;

}  // namespace

std::uint32_t LastError() noexcept { return lastError; }
void SetLastError(std::uint32_t number) noexcept { lastError = number; }

std::size_t SystemErrorText(std::uint32_t number, WideChar* text, std::size_t capacity) noexcept {
    const ErrnoGuard guard;
    // 87 is a number of the C library too (EUSERS), but none of the calls made here fails with it.
    if (number == kErrorInvalidParameter) return 0;
    if (number > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) return 0;
    // strerror_r makes up a text for a number it doesn't know; the names tell the two apart.
    if (strerrorname_np(static_cast<int>(number)) == nullptr) return 0;

    constexpr std::size_t kLimit = 512;
    char buffer[kLimit];
    const char* message = strerror_r(static_cast<int>(number), buffer, sizeof buffer);
    std::size_t bytes = std::min(std::strlen(message), kLimit);
    while (bytes > 0 && (message[bytes - 1] == '\n' || message[bytes - 1] == '\r')) --bytes;

    const bool utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    WideChar wide[kLimit];
    std::size_t units = static_cast<std::size_t>(
        NarrowToWide(utf8 ? CodePage::Utf8 : CodePage::Ansi, 0, message, bytes, wide, kLimit));
    units = std::min(units, capacity);
    // The cut doesn't leave half a pair.
    if (units > 0 && wide[units - 1] >= 0xD800 && wide[units - 1] <= 0xDBFF) --units;
    std::copy_n(wide, units, text);
    return units;
}

// ---- Debugger output ----------------------------------------------------------------------------

namespace {}  // namespace

bool DebuggerIsPresent() noexcept {
    const ErrnoGuard guard;
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    // The line stands in the first few hundred bytes.
    char buffer[2048];
    ssize_t size = 0;
    do size = read(file, buffer, sizeof buffer - 1);
    while (size < 0 && errno == EINTR);
    close(file);
    if (size <= 0) return false;
    buffer[size] = '\0';
    constexpr char kField[] = "\nTracerPid:";
    const char* field = std::strstr(buffer, kField);
    if (field == nullptr) return false;
    field += sizeof kField - 1;
    while (*field == ' ' || *field == '\t') ++field;
    return *field >= '1' && *field <= '9';
}

namespace {

/// Where debug text goes at present.
class DebugTarget {
  public:
    DebugTarget() noexcept {
        const char* where = secure_getenv("ZINC_DEBUG_OUTPUT");
        if (where != nullptr && *where != '\0') {
            if (std::strcmp(where, "stderr") == 0) {
                file_ = STDERR_FILENO;
            } else {
                // Not blocking, so that a pipe without a reader doesn't hold up the program.
                file_ = open(
                    where, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644);
                owned_ = file_ >= 0;
            }
        } else if (DebuggerIsPresent()) {
            file_ = STDERR_FILENO;
        }
    }
    ~DebugTarget() {
        if (owned_) close(file_);
    }
    DebugTarget(const DebugTarget&) = delete;
    DebugTarget& operator=(const DebugTarget&) = delete;

    bool Listens() const noexcept { return file_ >= 0; }

    void Write(const char* text, std::size_t size) const noexcept {
        Detail::WriteAll(file_, text, size);
    }

  private:
    int file_ = -1;
    bool owned_ = false;
};

}  // namespace

void OutputDebugText(const char* text) noexcept {
    if (text == nullptr || *text == '\0') return;
    const ErrnoGuard guard;
    const DebugTarget target;
    if (target.Listens()) target.Write(text, std::strlen(text));
}

void OutputDebugText(const WideChar* text) noexcept {
    if (text == nullptr || *text == 0) return;
    const ErrnoGuard guard;
    const DebugTarget target;
    if (!target.Listens()) return;
    std::size_t length = 0;
    while (text[length] != 0) ++length;

    // The crash handling comes here as well, on a small stack and with the heap perhaps broken: the
    // usual line has room in a small buffer, a longer text gets pages of its own.
    constexpr std::size_t kUsual = 1536;
    char usual[kUsual];
    if (3 * length <= kUsual) {
        const std::ptrdiff_t size = WideToNarrow(CodePage::Utf8, 0, text, length, usual, kUsual);
        target.Write(usual, static_cast<std::size_t>(size));
        return;
    }
    const std::ptrdiff_t size = WideToNarrow(CodePage::Utf8, 0, text, length, nullptr, 0);
    if (size < 0) return;
    const std::size_t bytes = static_cast<std::size_t>(size);
    void* pages = AllocatePages(bytes);
    if (pages == nullptr) return;
    WideToNarrow(CodePage::Utf8, 0, text, length, static_cast<char*>(pages), bytes);
    target.Write(static_cast<const char*>(pages), bytes);
    FreePages(pages, bytes);
}

}  // namespace Platform
