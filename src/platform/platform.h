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

// ---- Diagnostics --------------------------------------------------------------------------------

/// Sends a text to the debugger, if one listens.
void OutputDebugText(const char* text) noexcept;
void OutputDebugText(const WideChar* text) noexcept;

}  // namespace Platform
