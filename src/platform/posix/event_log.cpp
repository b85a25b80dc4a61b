// The event log: the system's log daemon, spoken to directly. The C library's syslog keeps its
// settings and a lock for the whole process, which may be the host's and held, and allocates.
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"

namespace Platform {

using Detail::ErrnoGuard;

namespace {

constexpr const char* kLogSocket = "/dev/log";
constexpr timeval kPatience = {1, 0};

/// A socket that is connected to the log; -1 if there is none.
int Connect() noexcept {
    const char* path = secure_getenv("ZINC_EVENT_LOG");
    if (path == nullptr || *path == '\0') path = kLogSocket;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    if (length >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path, path, length);
    const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (log < 0) return -1;
    // A daemon that doesn't read doesn't hold up the program.
    setsockopt(log, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    if (connect(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(log);
        return -1;
    }
    return log;
}

int PriorityOf(EventType type) noexcept {
    switch (type) {
        case EventType::Error:
            return LOG_ERR;
        case EventType::Warning:
            return LOG_WARNING;
        case EventType::Information:
            break;
    }
    return LOG_INFO;
}

bool Send(int log, const char* message, std::size_t size) noexcept {
    ssize_t sent;
    do sent = send(log, message, size, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(size);
}

std::size_t AppendDecimal(char* target, std::uint32_t number) noexcept {
    char digits[10];
    std::size_t count = 0;
    do digits[count++] = static_cast<char>('0' + number % 10);
    while ((number /= 10) != 0);
    std::reverse_copy(digits, digits + count, target);
    return count;
}

}  // namespace

// The daemon is told the sender of each datagram by the system.
bool EventUser::Find() noexcept { return true; }

bool EventSource::Register(const WideChar* name) noexcept {
    const ErrnoGuard guard;
    Deregister();
    std::size_t length = 0;
    while (name[length] != 0) ++length;
    // As much of the name as fits.
    constexpr std::ptrdiff_t kRoom = sizeof name_ - 1;
    length = std::min(length, static_cast<std::size_t>(kRoom));
    std::ptrdiff_t count;
    while ((count = WideToNarrow(CodePage::Utf8, 0, name, length, name_, kRoom)) > kRoom) --length;
    name_[count > 0 ? count : 0] = '\0';
    handle_ = Connect();
    return IsRegistered();
}

bool EventSource::Report(EventType type, const EventUser& /*user*/, const WideChar* text) noexcept {
    if (!IsRegistered()) return false;
    const ErrnoGuard guard;
    std::size_t length = 0;
    while (text[length] != 0) ++length;

    // RFC 3164 without the time, which the daemon takes itself: "<PRI>NAME[PID]: TEXT".
    constexpr std::size_t kUsual = 2048;
    const std::size_t most = sizeof name_ + 32 + 3 * length;
    char usual[kUsual];
    char* const message = most <= kUsual ? usual : static_cast<char*>(AllocatePages(most));
    if (message == nullptr) return false;
    std::size_t size = 0;
    const auto append = [&](const char* part) {
        const std::size_t count = std::strlen(part);
        std::memcpy(message + size, part, count);
        size += count;
    };
    append("<");
    size += AppendDecimal(message + size, static_cast<std::uint32_t>(LOG_USER | PriorityOf(type)));
    append(">");
    append(name_);
    append("[");
    size += AppendDecimal(message + size, static_cast<std::uint32_t>(getpid()));
    append("]: ");
    const std::ptrdiff_t count =
        WideToNarrow(CodePage::Utf8, 0, text, length, message + size, 3 * length);
    if (count > 0) size += static_cast<std::size_t>(count);

    bool sent = Send(static_cast<int>(handle_), message, size);
    if (!sent) {
        // The daemon may have been started anew. The old socket stays if it hasn't.
        const int log = Connect();
        if (log >= 0) {
            close(static_cast<int>(handle_));
            handle_ = log;
            sent = Send(log, message, size);
        }
    }
    if (message != usual) FreePages(message, most);
    return sent;
}

void EventSource::Deregister() noexcept {
    const ErrnoGuard guard;
    if (IsRegistered()) close(static_cast<int>(handle_));
    handle_ = kNone;
}

}  // namespace Platform
