#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

// Behind <windows.h>, which it needs.
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "system.h"

namespace tmxact {

namespace {

// ---- Text ---------------------------------------------------------------------------------------

std::wstring Wide(const std::string& text) {
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length)));
    return wide;
}

std::string Narrow(const wchar_t* text, std::size_t length) {
    std::string narrow(3 * length, '\0');
    narrow.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

// ---- Handles ------------------------------------------------------------------------------------

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;
constexpr int kStandardError = 2;

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); }

bool IsConsole(int descriptor) {
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(descriptor), &mode) != 0;
}

// The mode that the console had, to be put back at the end.
struct Console {
    UINT page = 0;
    DWORD modes[2] = {};
    bool changed[2] = {};
};
Console console;

void PutConsoleBack() {
    for (const int descriptor : {kStandardOutput, kStandardError}) {
        const int i = descriptor - kStandardOutput;
        if (console.changed[i]) SetConsoleMode(HandleOf(descriptor), console.modes[i]);
    }
    if (console.page != 0) SetConsoleOutputCP(console.page);
}

// ---- Interruption -------------------------------------------------------------------------------

std::atomic<int> pendingSignal{0};
// Whether the main thread waits for input, and whether it has learned of the signal.
std::atomic<bool> waiting{false};
std::atomic<bool> learned{false};
HANDLE mainThread = nullptr;

// Runs on a thread of its own.
BOOL WINAPI OnControl(DWORD control) {
    const int signal = control == CTRL_C_EVENT || control == CTRL_BREAK_EVENT ? SIGINT : SIGTERM;
    int none = 0;
    if (!pendingSignal.compare_exchange_strong(none, signal)) {
        PutConsoleBack();
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(128 + signal));
    }
    // The wait for input may begin right behind the last look at the signal.
    while (!learned) {
        if (waiting) CancelSynchronousIo(mainThread);
        Sleep(10);
    }
    // The system ends the process when this returns, but for Ctrl-C.
    if (signal == SIGTERM) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

std::vector<std::string> CommandLine(int, char**) {
    // The narrow words that main is given are in the ANSI code page, with wildcards replaced.
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr) throw SystemError("can't read the command line");
    std::vector<std::string> words;
    for (int i = 0; i < count; ++i) words.push_back(Narrow(wide[i], std::wcslen(wide[i])));
    LocalFree(wide);
    return words;
}

File::File(int descriptor, std::string name, bool owned) noexcept
    : descriptor_(descriptor), name_(std::move(name)), owned_(owned) {}

File::File(File&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      name_(std::move(other.name_)),
      owned_(other.owned_),
      written_(other.written_) {}

File::~File() {
    if (owned_ && descriptor_ >= 0) _close(descriptor_);
}

std::string File::Failure(const char* what) const {
    const int error = errno;
    return name_ + ": " + what + ": " + std::strerror(error);
}

File File::OpenForReading(const std::string& path) {
    if (path.empty()) throw SystemError("a file's name is empty");
    if (path == "-") return File(kStandardInput, "standard input", false);
    const std::wstring wide = Wide(path);
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        throw SystemError(File(-1, path, false).Failure("can't read"));
    }
    File file(_wopen(wide.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT), path, true);
    if (file.descriptor_ < 0) throw SystemError(file.Failure("can't open"));
    return file;
}

File File::OpenForWriting(const std::string& path) {
    if (path.empty()) throw WriteError("the output file's name is empty");
    if (path == "-") return File(kStandardOutput, "standard output", false);
    File file(_wopen(Wide(path).c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                     _S_IREAD | _S_IWRITE),
              path, true);
    if (file.descriptor_ < 0) throw WriteError(file.Failure("can't open for writing"));
    return file;
}

namespace {

// Whether a read is likely to wait.
bool MayWait(int descriptor) {
    const HANDLE handle = HandleOf(descriptor);
    switch (GetFileType(handle)) {
        case FILE_TYPE_PIPE: {
            DWORD available = 0;
            // Not every pipe can be asked: Wine's for those of the system below it can't.
            return !PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr) ||
                   available == 0;
        }
        case FILE_TYPE_CHAR:
            return true;
        default:
            return false;
    }
}

// What is typed comes as UTF-16: the console's narrow functions know no UTF-8.
int ReadTyped(int descriptor, char* data, std::size_t size) {
    static wchar_t kept = 0;  // the first half of a pair whose second half comes with the next read
    wchar_t units[1024];
    DWORD count = 0;
    if (kept != 0) units[count++] = std::exchange(kept, L'\0');
    const std::size_t room = std::min<std::size_t>(std::size(units), size / 3);
    DWORD got = 0;
    if (room <= count || !ReadConsoleW(HandleOf(descriptor), units + count,
                                       static_cast<DWORD>(room) - count, &got, nullptr)) {
        errno = EINVAL;
        return -1;
    }
    // Ctrl-Z at the beginning of a line is the end.
    if (got > 0 && units[count] == 0x1A) return 0;
    count += got;
    if (count > 1 && IS_HIGH_SURROGATE(units[count - 1])) kept = units[--count];
    return WideCharToMultiByte(CP_UTF8, 0, units, static_cast<int>(count), data,
                               static_cast<int>(size), nullptr, nullptr);
}

}  // namespace

std::size_t File::Read(char* data, std::size_t size, const std::function<void()>& beforeWait) {
    CheckSignals();
    if (MayWait(descriptor_)) beforeWait();
    const bool typed = IsConsole(descriptor_);
    const unsigned wanted = static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30));
    waiting = true;
    int got = -1;
    if (pendingSignal == 0)
        got = typed ? ReadTyped(descriptor_, data, wanted) : _read(descriptor_, data, wanted);
    const int error = errno;
    waiting = false;
    CheckSignals();
    if (got >= 0) return static_cast<std::size_t>(got);
    if (error == EPIPE) return 0;  // whoever wrote has gone
    errno = error;
    throw SystemError(Failure("can't read"));
}

namespace {

// The C library's number for why a write failed; its own function loses it where a part was
// written.
int WriteErrorNumber(DWORD reason) {
    switch (reason) {
        case ERROR_NO_DATA:
        case ERROR_BROKEN_PIPE:
        case ERROR_PIPE_NOT_CONNECTED:
            return EPIPE;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return ENOSPC;
        case ERROR_INVALID_HANDLE:
        case ERROR_ACCESS_DENIED:  // a handle for reading
            return EBADF;
        case ERROR_FILE_TOO_LARGE:
            return EFBIG;
        default:
            return EIO;
    }
}

}  // namespace

void File::Write(const char* data, std::size_t size) {
    const std::uint64_t whole = written_;
    while (size > 0) {
        const DWORD wanted = static_cast<DWORD>(std::min<std::size_t>(size, 1u << 20));
        DWORD put = 0;
        if (WriteFile(HandleOf(descriptor_), data, wanted, &put, nullptr)) {
            data += put;
            size -= put;
            written_ += put;
            continue;
        }
        errno = WriteErrorNumber(GetLastError());
        if (errno == EPIPE) throw BrokenPipe();
        const WriteError error(Failure("can't write"));
        // A full disk may have taken a part. Where that can't be cut off it stays.
        if (owned_ && written_ > whole)
            written_ =
                _chsize_s(descriptor_, static_cast<long long>(whole)) == 0 ? whole : written_;
        throw error;
    }
}

void File::Close() {
    if (descriptor_ < 0) return;
    if (_close(std::exchange(descriptor_, -1)) != 0) throw WriteError(Failure("can't write"));
}

namespace {

// What a path leads to, where "-" is a standard stream. Closes what it opened.
class Target {
  public:
    Target(const std::string& path, int standard) {
        if (path == "-") {
            handle_ = HandleOf(standard);
        } else {
            opened_ = CreateFileW(Wide(path).c_str(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
            handle_ = opened_;
        }
    }
    ~Target() {
        if (opened_ != INVALID_HANDLE_VALUE) CloseHandle(opened_);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    // Only a regular file has one.
    std::optional<BY_HANDLE_FILE_INFORMATION> Information() const {
        BY_HANDLE_FILE_INFORMATION information;
        if (handle_ == INVALID_HANDLE_VALUE || GetFileType(handle_) != FILE_TYPE_DISK ||
            !GetFileInformationByHandle(handle_, &information) ||
            (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            return std::nullopt;
        return information;
    }

  private:
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    HANDLE opened_ = INVALID_HANDLE_VALUE;
};

}  // namespace

std::optional<std::uint64_t> RegularFileSize(const std::string& path) {
    const auto information = Target(path, kStandardInput).Information();
    if (!information) return std::nullopt;
    return std::uint64_t{information->nFileSizeHigh} << 32 | information->nFileSizeLow;
}

bool SameRegularFile(const std::string& input, const std::string& output) {
    // Both stay open: a file's number may be given anew when it is closed.
    const Target first(input, kStandardInput);
    const Target second(output, kStandardOutput);
    const auto in = first.Information();
    const auto out = second.Information();
    return in && out && in->dwVolumeSerialNumber == out->dwVolumeSerialNumber &&
           in->nFileIndexHigh == out->nFileIndexHigh && in->nFileIndexLow == out->nFileIndexLow;
}

bool StandardOutputIsTerminal() { return IsConsole(kStandardOutput); }
bool StandardErrorIsTerminal() { return IsConsole(kStandardError); }

unsigned TerminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO information;
    if (!GetConsoleScreenBufferInfo(HandleOf(kStandardError), &information)) return 80;
    const int columns = information.srWindow.Right - information.srWindow.Left + 1;
    return columns > 0 ? static_cast<unsigned>(columns) : 80;
}

void HoldStandardStreams() {
    for (const int descriptor : {kStandardInput, kStandardOutput, kStandardError}) {
        // Each is opened the wrong way round, so that its use fails as that of a closed one does.
        // The lowest free number is what _open gives, and those below are taken by now.
        if (_get_osfhandle(descriptor) < 0 &&
            _open("NUL", descriptor == kStandardInput ? _O_WRONLY : _O_RDONLY) != descriptor)
            throw SystemError(std::string("can't open NUL: ") + std::strerror(errno));
        _setmode(descriptor, _O_BINARY);
    }
    for (const int descriptor : {kStandardOutput, kStandardError}) {
        const int i = descriptor - kStandardOutput;
        const HANDLE handle = HandleOf(descriptor);
        if (!GetConsoleMode(handle, &console.modes[i])) continue;
        if (console.page == 0) {
            console.page = GetConsoleOutputCP();
            SetConsoleOutputCP(CP_UTF8);
        }
        console.changed[i] = SetConsoleMode(handle, console.modes[i] | ENABLE_PROCESSED_OUTPUT |
                                                        ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    std::atexit(PutConsoleBack);
}

void CatchSignals() {
    const HANDLE process = GetCurrentProcess();
    if (!DuplicateHandle(process, GetCurrentThread(), process, &mainThread, 0, FALSE,
                         DUPLICATE_SAME_ACCESS))
        throw SystemError("can't have a handle of the thread");
    SetConsoleCtrlHandler(OnControl, TRUE);
}

void CheckSignals() {
    if (pendingSignal == 0) return;
    learned = true;
    throw Interrupted(pendingSignal);
}

double MonotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace tmxact
