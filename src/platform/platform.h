// The services that the library asks of the operating system, one header for all systems. This
// folder is the only place that includes system headers or asks which system it is on; the build
// picks the implementation (posix/, windows/).
//
// Nothing here throws. A function that can fail says how; the number of the failure is then what
// LastError() returns, until the next failing call of the thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include <tmxactions/types.h>

/// A wide literal in the width of TmxWChar.
#ifdef _WIN32
#define TMX_WIDE(literal) L##literal
#else
#define TMX_WIDE(literal) u##literal
#endif

/// For what runs with every exported call and is a few instructions when inlined: the compilers'
/// own limits count the size of the many action classes and leave it out of line.
#define TMX_FORCE_INLINE [[gnu::always_inline]] inline

namespace Platform {

/// One unit of UTF-16 text.
using WideChar = TmxWChar;

// ---- Errors -------------------------------------------------------------------------------------

/// Error numbers that this library meets without a system call behind them. They are Windows
/// numbers on every system.
inline constexpr std::uint32_t kErrorInvalidParameter = 87;
inline constexpr std::uint32_t kErrorInsufficientBufferHresult = 0x8007007A;
inline constexpr std::uint32_t kInvalidArgumentHresult = 0x80070057;

/// The thread's number of the last failed service of this header.
std::uint32_t LastError() noexcept;
void SetLastError(std::uint32_t number) noexcept;

/// The system's text for an error number of the system, without line ends, cut to capacity.
/// A number that the system has no text for, or that only Windows has (the constants above), gives
/// nothing. Returns the units written.
std::size_t SystemErrorText(std::uint32_t number, WideChar* text, std::size_t capacity) noexcept;

// ---- Text ---------------------------------------------------------------------------------------

enum class CodePage : std::uint32_t { Ansi = 0, Utf8 = 65001 };

/// Flags of the conversions.
inline constexpr std::uint32_t kPrecomposed = 1;       // towards wide, ANSI
inline constexpr std::uint32_t kCompositeCheck = 512;  // towards narrow, ANSI: composes a base
                                                       // letter and a following combining mark

/// Converts length units. Returns the count of the whole result; the result is written only if it
/// fits capacity (target may be null where capacity is 0). A unit without a counterpart is replaced
/// ("?" in ANSI, U+FFFD in UTF-8). Returns a negative count on failure.
std::ptrdiff_t WideToNarrow(CodePage page, std::uint32_t flags, const WideChar* text,
                            std::size_t length, char* target, std::size_t capacity) noexcept;
std::ptrdiff_t NarrowToWide(CodePage page, std::uint32_t flags, const char* text,
                            std::size_t length, WideChar* target, std::size_t capacity) noexcept;

/// What CompareIgnoreCase answers: 0 is a failure.
inline constexpr int kLessThan = 1;
inline constexpr int kEqual = 2;
inline constexpr int kGreaterThan = 3;

/// Compares two texts without regard to case, in the user's locale where the system has one for it
/// (Windows), else by simple Unicode case folding, code point by code point.
int CompareIgnoreCase(const WideChar* left, std::size_t leftLength, const WideChar* right,
                      std::size_t rightLength) noexcept;

/// Turns a text into upper case in place, unit by unit (surrogates stay).
void UpperCase(WideChar* text, std::size_t length) noexcept;

// ---- Time ---------------------------------------------------------------------------------------

/// A calendar time; the fields and their ranges are those of the Windows structure.
struct SystemTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;      // 1 to 12
    std::uint16_t dayOfWeek = 0;  // 0 is Sunday
    std::uint16_t day = 0;        // 1 to 31
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t millisecond = 0;
};
static_assert(sizeof(SystemTime) == 16);

/// A zone in the form of the Windows structure: biases in minutes, UTC = local time + bias. A
/// change with month 0 means that the zone keeps one time. A change with year 0 is a rule (day is
/// the week, 5 the last; dayOfWeek the weekday); with a year it is a date.
struct ZoneInformation {
    std::int32_t bias = 0;
    std::int32_t standardBias = 0;
    std::int32_t daylightBias = 0;
    SystemTime standardDate;
    SystemTime daylightDate;
};

/// Now, in units of 100 ns since 1601-01-01 UTC.
std::uint64_t SystemTimeAsFileTime() noexcept;

/// Turns a file time (100 ns since 1601) into a calendar time. Fails for a file time with its top
/// bit set (kErrorInvalidParameter).
bool FileTimeToSystemTime(std::uint64_t fileTime, SystemTime& time) noexcept;

/// Turns a calendar time into a file time; dayOfWeek is not looked at. Fails where a field is out
/// of range or the year is below 1601 or above 30827 (kErrorInvalidParameter).
bool SystemTimeToFileTime(const SystemTime& time, std::uint64_t& fileTime) noexcept;

/// The system's zone. Fails where there is none that can be read.
bool GetTimeZoneInformation(ZoneInformation& zone) noexcept;

/// The short date, or the time of day, in the user's locale. Returns the units written, without a
/// terminator; 0 on failure, also where the text does not fit.
std::size_t FormatShortDate(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept;
std::size_t FormatTimeOfDay(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept;

// ---- Threads ------------------------------------------------------------------------------------

/// A lock that spins 1000 times before it waits. Meets the standard's BasicLockable.
class CriticalSection {
  public:
    CriticalSection() noexcept;
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    void lock() noexcept;
    void unlock() noexcept;
    /// For the end of a crashed process, where the lock's owner may never come back: gives up after
    /// the time (false: the lock is not held).
    bool LockWithin(std::uint32_t milliseconds) noexcept;

  private:
    alignas(8) unsigned char storage_[64];
};

/// The module's one thread-local slot. AllocateThreadSlot makes it (false: none can be had, and
/// the other three then do nothing; a second call without FreeThreadSlot between changes nothing
/// and is false too). onThreadEnd gets the value of a thread that ends, if it is not null; the slot
/// is null by then. FreeThreadSlot hands back no values and clears the calling thread's slot alone;
/// no other thread may use the slot afterwards. GetThreadSlot is the hot path of every exported
/// function.
bool AllocateThreadSlot(void (*onThreadEnd)(void* value)) noexcept;
void FreeThreadSlot() noexcept;
bool SetThreadSlot(void* value) noexcept;
#ifdef _WIN32
void* GetThreadSlot() noexcept;
#else
namespace Detail {
// initial-exec: one instruction to reach, and small enough for the static block of a library that
// is loaded late.
extern __thread void* threadSlot __attribute__((tls_model("initial-exec")));
}  // namespace Detail
TMX_FORCE_INLINE void* GetThreadSlot() noexcept { return Detail::threadSlot; }
#endif

/// The system's number of the calling thread.
std::uint32_t CurrentThreadId() noexcept;

// ---- Diagnostics --------------------------------------------------------------------------------
//
// All that follows is used by a process that has crashed, too. Where the system allows it, these
// functions neither allocate from the heap nor take a lock that other code could hold.

/// Sends a text to the debugger, if one listens.
void OutputDebugText(const char* text) noexcept;
void OutputDebugText(const WideChar* text) noexcept;

/// Zeroed memory in whole pages that is not from the heap; null if there is none.
void* AllocatePages(std::size_t bytes) noexcept;
void FreePages(void* pages, std::size_t bytes) noexcept;

/// The full path of the process's executable, cut to capacity; a terminator is written behind it.
/// Returns the units without it; 0 on failure. The narrow one is a path for the functions below.
std::size_t ExecutablePath(char* text, std::size_t capacity) noexcept;
std::size_t ExecutablePath(WideChar* text, std::size_t capacity) noexcept;

/// Whether the process has a console (GetConsoleWindow; elsewhere: standard output or standard
/// error is a terminal).
bool HasConsole() noexcept;

/// One of the two standard handles, as it was when it was asked for. WriteText sets the colour
/// (the low four bits of a Windows console attribute), writes, and puts the colour back; a failed
/// write is dropped.
class ConsoleHandle {
  public:
    bool GetOutput() noexcept;  ///< standard output; false: there is none
    bool GetError() noexcept;   ///< standard error; false: there is none
    bool IsValid() const noexcept { return handle_ != kNone; }
    void WriteText(std::uint16_t attribute, const WideChar* text,
                   std::size_t length) const noexcept;

  private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;
};

/// A file to write to. Open makes it anew. Paths are narrow and zero-terminated.
class OutputFile {
  public:
    enum class Access {
        Default,   ///< as the system gives it to new files; a file of that name is replaced
        OwnerOnly  ///< only the owner may read it
    };
    OutputFile() = default;
    ~OutputFile() { Close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    bool Open(const char* path, Access access) noexcept;
    bool IsOpen() const noexcept { return handle_ != kNone; }
    /// False: not all of it could be written.
    bool Write(const void* bytes, std::size_t size) noexcept;
    void Close() noexcept;
    std::intptr_t Handle() const noexcept { return handle_; }

  private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;
};

/// Whether something of that name is there that is not a directory.
bool FileExists(const char* path) noexcept;
bool RemoveFile(const char* path) noexcept;

/// The types of event; the numbers of the Windows event log.
enum class EventType : std::uint16_t { Error = 1, Warning = 2, Information = 4 };

/// The user in whose name events are reported: on Windows a security identifier. Elsewhere the
/// log's socket tells it, and Find has nothing to do.
class EventUser {
  public:
    bool Find() noexcept;
    const void* Identifier() const noexcept { return size_ != 0 ? bytes_ : nullptr; }

  private:
    std::size_t size_ = 0;
    alignas(8) unsigned char bytes_[128] = {};
};

/// A source of events at the system's log.
class EventSource {
  public:
    EventSource() = default;
    ~EventSource() { Deregister(); }
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;
    bool Register(const WideChar* name) noexcept;
    bool IsRegistered() const noexcept { return handle_ != kNone; }
    /// text is zero-terminated. False: the log didn't take it.
    bool Report(EventType type, const EventUser& user, const WideChar* text) noexcept;
    void Deregister() noexcept;

  private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;
    char name_[64] = {};  // for systems whose log wants it with each event
};

/// The types of registry value that this library looks at.
inline constexpr std::uint32_t kRegistryText = 1;            // REG_SZ
inline constexpr std::uint32_t kRegistryExpandText = 2;      // REG_EXPAND_SZ
inline constexpr std::uint32_t kRegistryDword = 4;           // REG_DWORD
inline constexpr std::uint32_t kRegistryDwordBigEndian = 5;  // REG_DWORD_BIG_ENDIAN
inline constexpr std::uint32_t kRegistryQword = 11;          // REG_QWORD

/// A value as it is stored, text in the ANSI code page (a terminator may stand at its end).
struct RegistryValue {
    std::uint32_t type = 0;
    std::size_t size = 0;  ///< in bytes
    unsigned char data[1024] = {};
};

/// A key below HKEY_LOCAL_MACHINE, opened for querying values in the view of 64 bits.
class RegistryKey {
  public:
    RegistryKey() = default;
    ~RegistryKey() { Close(); }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    bool Open(const char* path) noexcept;
    /// False: no such value, or one that is larger than RegistryValue.
    bool Query(const char* name, RegistryValue& value) const noexcept;
    void Close() noexcept;

  private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;
    char path_[128] = {};  // for systems whose registry is a file
};

/// Replaces each %NAME% of the environment in a zero-terminated text; what isn't there stays. The
/// target is terminated. Returns the characters without the terminator; 0 also where it doesn't
/// fit.
std::size_t ExpandEnvironment(const char* text, char* target, std::size_t capacity) noexcept;

// ---- Crashes ------------------------------------------------------------------------------------

/// What the system tells of a fault; codes and fields as on Windows.
struct ExceptionRecord {
    std::uint32_t code = 0;
    std::uint32_t flags = 0;
    const void* address = nullptr;
    std::uint32_t numberParameters = 0;
};
struct ExceptionPointers {
    const ExceptionRecord* record = nullptr;  ///< null where the system gave none
    const void* system = nullptr;             ///< what WriteDump needs of the fault; not looked at
};

inline constexpr std::uint32_t kExceptionStackOverflow = 0xC00000FD;

/// Gets the faults that nobody handles, on the thread that had them and with little stack. Must not
/// return. On systems with signals a handler that was there before gets the fault first.
using CrashFilter = void (*)(const ExceptionPointers& pointers) noexcept;
void InstallCrashFilter(CrashFilter filter) noexcept;
/// Before the module goes: puts back what was there, unless somebody has come in between.
void RemoveCrashFilter() noexcept;

/// Finds what writes dumps.
enum class DumpWriter { Ready, NoLibrary, NoFunction };
DumpWriter PrepareDumpWriter() noexcept;
/// Writes an image of the process (full: with all of its memory) to a file that was opened for it.
/// False: it is not complete.
bool WriteDump(const OutputFile& file, const ExceptionPointers& pointers, bool full) noexcept;

bool DebuggerIsPresent() noexcept;

/// Runs the work on a thread of its own and waits for its end, at most for that long; the work goes
/// on if it takes longer. Where no thread can be had it runs at once.
inline constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;
void RunWorkItem(void (*work)() noexcept, std::uint32_t milliseconds) noexcept;

/// Shows a message and waits until it is closed (where there are no dialogs: standard error).
void ShowMessage(const char* caption, const char* text) noexcept;

/// Ends the process with that exit code, of which systems with an exit status of 8 bits keep the
/// low ones: KillProcess without anything else (it may fail), LeaveProcess as the system does.
void KillProcess(std::int32_t exitCode) noexcept;
[[noreturn]] void LeaveProcess(std::int32_t exitCode) noexcept;

}  // namespace Platform
