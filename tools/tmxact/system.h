// What the program asks of the operating system: files, pipes, terminals, signals and the clock.
#ifndef TMXACT_SYSTEM_H
#define TMXACT_SYSTEM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

namespace tmxact {

// A file that can't be opened or read; what() names it and tells the reason.
class SystemError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// An output that can't be opened, written or closed. Nothing can go on behind it, so it is no
// SystemError.
class WriteError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The reader of our output has gone: no failure, but nothing is left to do.
class BrokenPipe : public std::exception {};

// The user (or the system) asked the program to end.
class Interrupted : public std::exception {
  public:
    explicit Interrupted(int signal) noexcept : signal_(signal) {}
    int Signal() const noexcept { return signal_; }

  private:
    int signal_;
};

// Owns an open file descriptor; the standard streams are borrowed, and not closed.
class File {
  public:
    static File OpenForReading(const std::string& path);  // "-" is standard input
    static File OpenForWriting(const std::string& path);  // "-" is standard output; truncates

    File(File&& other) noexcept;
    File& operator=(File&&) = delete;
    ~File();

    const std::string& Name() const noexcept { return name_; }

    // Reads at most size bytes; 0 at the end. Calls beforeWait once if no byte is there yet.
    // Throws Interrupted, also while it waits.
    std::size_t Read(char* data, std::size_t size, const std::function<void()>& beforeWait);

    // Writes everything. Throws BrokenPipe or WriteError; a file that was opened by name then ends
    // where it ended ahead of this call.
    void Write(const char* data, std::size_t size);

    // Closes, and tells an error that came up only now (a full disk, a lost server).
    void Close();

  private:
    File(int descriptor, std::string name, bool owned) noexcept;
    std::string Failure(const char* what) const;

    int descriptor_;
    std::string name_;
    bool owned_;
    std::uint64_t written_ = 0;  // bytes
};

// The size, if this is a regular file ("-" is standard input).
std::optional<std::uint64_t> RegularFileSize(const std::string& path);

// Whether an input path and an output path ("-" is standard input or output) lead to the same
// regular file.
bool SameRegularFile(const std::string& input, const std::string& output);

bool StandardOutputIsTerminal();
bool StandardErrorIsTerminal();
// The columns of the terminal at standard error; 80 where it doesn't tell.
unsigned TerminalColumns();

// Takes the places of standard streams that were closed when the program began, so that no file is
// opened there and taken for one of them.
void HoldStandardStreams();

// From now on a first SIGINT or SIGTERM is remembered, a second one ends the program at once;
// SIGPIPE turns into BrokenPipe, and a file that may grow no more (SIGXFSZ) into a failed write.
void CatchSignals();
// Throws Interrupted once a signal has come.
void CheckSignals();

// Seconds on a clock that never goes back.
double MonotonicSeconds();

// How far the system's zone is ahead of UTC at a point in time, in seconds; the point is in seconds
// since 1970-01-01, UTC.
std::int64_t ZoneOffsetSeconds(std::int64_t unixSeconds);

}  // namespace tmxact

#endif
