// What writing to descriptors needs here: nobody's errno is disturbed, no signal comes of a closed
// pipe, and in a process that has crashed nobody is waited for.
#pragma once

#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>

namespace Platform::Detail {

/// Set when the crash filter begins to run.
inline std::atomic<bool> hasCrashed{false};

/// Keeps errno over a service that must not disturb the caller's.
class ErrnoGuard {
  public:
    ErrnoGuard() noexcept : saved_(errno) {}
    ~ErrnoGuard() { errno = saved_; }
    ErrnoGuard(const ErrnoGuard&) = delete;
    ErrnoGuard& operator=(const ErrnoGuard&) = delete;

  private:
    int saved_;
};

/// Keeps this thread from a SIGPIPE of its own writing.
class PipeSignalGuard {
  public:
    PipeSignalGuard() noexcept {
        sigset_t pending;
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &saved_);
    }
    ~PipeSignalGuard() {
        constexpr timespec kNow = {0, 0};
        if (!wasPending_)
            while (sigtimedwait(&pipe_, nullptr, &kNow) < 0 && errno == EINTR) {
            }
        pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
    }
    PipeSignalGuard(const PipeSignalGuard&) = delete;
    PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;

  private:
    sigset_t pipe_;
    sigset_t saved_;
    bool wasPending_ = false;
};

/// One write, unless the system takes only a part of it. False: not all could be written. In a
/// process that has crashed, a reader who doesn't read is given up after a second.
inline bool WriteAll(int file, const char* text, std::size_t size) noexcept {
    constexpr std::size_t kSurelyTaken = 4096;  // by a pipe that poll says is writable
    constexpr int kCrashWait = 1000;
    const PipeSignalGuard guard;
    while (size > 0) {
        std::size_t piece = size;
        if (hasCrashed.load(std::memory_order_relaxed)) {
            piece = std::min(size, kSurelyTaken);
            pollfd ready = {file, POLLOUT, 0};
            if (poll(&ready, 1, kCrashWait) == 0) return false;
        }
        const ssize_t written = write(file, text, piece);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        text += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace Platform::Detail
