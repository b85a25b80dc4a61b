#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <utility>

#include "system.h"

namespace tmxact {

namespace {

volatile std::sig_atomic_t pendingSignal = 0;
// The handler writes a byte here, so that a wait for input ends whenever the signal comes.
int wakePipe[2] = {-1, -1};

void OnSignal(int signal) {
    if (pendingSignal != 0) _exit(128 + signal);
    pendingSignal = signal;
    const int saved = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored = write(wakePipe[1], &byte, 1);
    errno = saved;
}

}  // namespace

File::File(int descriptor, std::string name, bool owned) noexcept
    : descriptor_(descriptor), name_(std::move(name)), owned_(owned) {}

File::File(File&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      name_(std::move(other.name_)),
      owned_(other.owned_),
      written_(other.written_) {}

File::~File() {
    if (owned_ && descriptor_ >= 0) close(descriptor_);
}

std::string File::Failure(const char* what) const {
    const int error = errno;
    return name_ + ": " + what + ": " + std::strerror(error);
}

File File::OpenForReading(const std::string& path) {
    if (path.empty()) throw SystemError("a file's name is empty");
    if (path == "-") return File(STDIN_FILENO, "standard input", false);
    File file(open(path.c_str(), O_RDONLY | O_CLOEXEC), path, true);
    if (file.descriptor_ < 0) throw SystemError(file.Failure("can't open"));
    struct stat status;
    if (fstat(file.descriptor_, &status) == 0 && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        throw SystemError(file.Failure("can't read"));
    }
    return file;
}

File File::OpenForWriting(const std::string& path) {
    if (path.empty()) throw WriteError("the output file's name is empty");
    if (path == "-") return File(STDOUT_FILENO, "standard output", false);
    File file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666), path, true);
    if (file.descriptor_ < 0) throw WriteError(file.Failure("can't open for writing"));
    return file;
}

std::size_t File::Read(char* data, std::size_t size, const std::function<void()>& beforeWait) {
    bool told = false;
    for (;;) {
        CheckSignals();
        pollfd waited[2] = {{descriptor_, POLLIN, 0}, {wakePipe[0], POLLIN, 0}};
        int ready = poll(waited, 2, 0);
        if (ready == 0) {
            if (!told) beforeWait();
            told = true;
            ready = poll(waited, 2, -1);
        }
        if (ready < 0 && errno != EINTR) throw SystemError(Failure("can't wait for input"));
        CheckSignals();
        if (ready < 0 || waited[0].revents == 0) continue;
        const ssize_t got = read(descriptor_, data, size);
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR && errno != EAGAIN) throw SystemError(Failure("can't read"));
    }
}

void File::Write(const char* data, std::size_t size) {
    const std::uint64_t whole = written_;
    while (size > 0) {
        const ssize_t put = write(descriptor_, data, size);
        if (put >= 0) {
            data += put;
            size -= static_cast<std::size_t>(put);
            written_ += static_cast<std::uint64_t>(put);
        } else if (errno == EPIPE) {
            throw BrokenPipe();
        } else if (errno == EAGAIN) {
            pollfd waited = {descriptor_, POLLOUT, 0};
            poll(&waited, 1, -1);
        } else if (errno != EINTR) {
            const WriteError error(Failure("can't write"));
            // A full disk may have taken a part. Where that can't be cut off it stays.
            if (owned_ && written_ > whole)
                written_ =
                    ftruncate(descriptor_, static_cast<off_t>(whole)) == 0 ? whole : written_;
            throw error;
        }
    }
}

void File::Close() {
    if (descriptor_ < 0) return;
    const int result = close(std::exchange(descriptor_, -1));
    if (result != 0 && errno != EINTR) throw WriteError(Failure("can't write"));
}

namespace {

// The status of a path, where "-" is a standard stream.
bool Status(const std::string& path, int standard, struct stat& status) {
    return (path == "-" ? fstat(standard, &status) : stat(path.c_str(), &status)) == 0;
}

}  // namespace

std::optional<std::uint64_t> RegularFileSize(const std::string& path) {
    struct stat status;
    if (!Status(path, STDIN_FILENO, status) || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool SameRegularFile(const std::string& input, const std::string& output) {
    struct stat in;
    struct stat out;
    return Status(input, STDIN_FILENO, in) && Status(output, STDOUT_FILENO, out) &&
           S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }
bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

unsigned TerminalColumns() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

void HoldStandardStreams() {
    // Each is opened the wrong way round, so that its use fails as that of a closed one does.
    for (const auto& [descriptor, mode] :
         {std::pair(STDIN_FILENO, O_WRONLY), std::pair(STDOUT_FILENO, O_RDONLY),
          std::pair(STDERR_FILENO, O_RDONLY)})
        // The lowest free number is what open gives, and those below are taken by now.
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", mode) != descriptor)
            throw SystemError(std::string("can't open /dev/null: ") + std::strerror(errno));
}

void CatchSignals() {
    if (pipe2(wakePipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw SystemError(std::string("can't make a pipe: ") + std::strerror(errno));
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = OnSignal;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        // A signal that was ignored for us (nohup, a shell's background job) stays ignored.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        sigaction(signal, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

void CheckSignals() {
    if (pendingSignal != 0) throw Interrupted(pendingSignal);
}

double MonotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::int64_t ZoneOffsetSeconds(std::int64_t unixSeconds) {
    const auto point = static_cast<std::time_t>(unixSeconds);
    std::tm local{};
    return localtime_r(&point, &local) != nullptr ? local.tm_gmtoff : 0;
}

}  // namespace tmxact
