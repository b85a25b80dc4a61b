// The one time value of the system, its arithmetic and its two texts.
#pragma once

#include <cstdint>
#include <string_view>

#include "zinc/exceptions.h"

namespace Zinc {

using Platform::SystemTime;
using Platform::ZoneInformation;

/// An instant with the zone in which it was taken, in eight bytes: bits 0 to 47 UTC milliseconds
/// since 1601-01-01 (unsigned), bits 48 to 63 the zone's bias in minutes (signed, UTC = local +
/// bias). All zero is 1601-01-01 00:00:00,000 at bias 0.
class TZincDateTime {
  public:
    static constexpr std::uint64_t kMillisecondsMask = 0xFFFFFFFFFFFF;

    constexpr TZincDateTime() noexcept = default;
    explicit constexpr TZincDateTime(std::uint64_t word) noexcept : word_(word) {}

    /// The present, in the system's zone.
    static TZincDateTime Now();

    constexpr std::uint64_t Word() const noexcept { return word_; }
    constexpr std::uint64_t UtcMilliseconds() const noexcept { return word_ & kMillisecondsMask; }
    constexpr std::int16_t Bias() const noexcept { return static_cast<std::int16_t>(word_ >> 48); }

    /// mode 1: milliseconds are UTC. Any other mode: they are local clock time. Raises
    /// EZincDateTime (13) where the UTC milliseconds leave 0 to 0xFFFFFFFFFFFF.
    void SetUTCMilliseconds(int mode, std::int64_t milliseconds, std::int16_t bias);

    /// The local clock time in units of 100 ns since 1601, as the system's file time.
    std::uint64_t GetLocalFileTime() const noexcept;

  private:
    std::uint64_t word_ = 0;
};
static_assert(sizeof(TZincDateTime) == 8);

/// The system calls of these names; raise SystemException with their signature.
SystemTime FileTimeToSystemTime(std::uint64_t fileTime);
std::uint64_t SystemTimeToFileTime(const SystemTime& time);
/// Milliseconds since 1601.
std::int64_t SystemTimeToMilliseconds(const SystemTime& time);

inline constexpr std::size_t kDateTimeTextCapacity = 128;

/// The one mode of SystemTimeToSQLStr that the system prints.
enum class TZincDateTimeStrMode { Full };

/// "%04u/%02u/%02u %02u:%02u:%02u,%03u": a field that needs more digits is written whole. Returns
/// the characters written without the terminator that stands behind them. size is at least
/// kDateTimeTextCapacity. Narrow and wide (Char is char or WideChar).
template <typename Char>
std::size_t SystemTimeToSQLStr(Char* buffer, std::size_t size, const SystemTime& time,
                               TZincDateTimeStrMode mode = TZincDateTimeStrMode::Full);

/// The prefix, "GMT", the sign (the opposite of the bias's), hours and minutes. Returns the
/// characters written without the terminator that stands behind them. Raises SystemException where
/// size is 0 or above 0x7fffffff (0x80070057) or too small for text and terminator (0x8007007A; the
/// buffer then holds what fitted, and a terminator).
template <typename Char>
std::size_t BiasToStr(Char* buffer, std::size_t size, std::int16_t bias, const Char* prefix);

/// The machine text of a value: local clock time and zone, "2026/11/15 12:00:00,000 GMT+01:00".
/// buffer has room for kDateTimeTextCapacity. Returns the characters written without the terminator
/// that stands behind them. Raises SystemException where the local time falls before 1601.
template <typename Char>
std::size_t DateTimeToText(Char* buffer, TZincDateTime value);

/// The display text of a calendar time: short date, a blank and the time of day in the user's
/// locale. buffer has room for kDateTimeTextCapacity units; a terminator is written behind the
/// text. Returns the units written without it. Raises SystemException.
std::size_t SystemTimeToStr(WideChar* buffer, const SystemTime& time);

/// Reads date and time of day from zero-terminated text. With consumed it stops where the time ends
/// and tells the units used; without, the text must end there. Raises EZincDateTime.
SystemTime ParseDateTimeText(const WideChar* text, std::size_t* consumed);

/// Reads a zone ("GMT+01:00", "utc - 02:30") from zero-terminated text to its end; returns the
/// bias. The minutes of an eastern zone are added to the bias and not subtracted. Raises
/// EZincDateTime.
std::int16_t ParseBiasText(const WideChar* text);

/// Reads a machine text: date and time of day, then the zone. Raises EZincDateTime.
TZincDateTime ParseDateTime(const WideChar* text);

/// The same for a text in exactly the form that DateTimeToText writes for a year of four digits;
/// false for any other text, and for one with a part out of range: ParseDateTime then tells what is
/// wrong.
template <typename Char>
bool ParseCanonicalDateTime(std::basic_string_view<Char> text, TZincDateTime& value) noexcept;

/// The year of a count of milliseconds since 1601. Raises EZincDateTime (13) from the year 30828
/// on.
std::uint32_t YearFromMilliseconds(std::uint64_t milliseconds);

/// The local clock time, in milliseconds since 1601, of a zone's change in a year. Raises
/// EZincDateTime (1).
std::int64_t TransitionToMilliseconds(std::uint32_t year, const SystemTime& rule);

/// The bias of a zone (null: the system's) at a UTC time in milliseconds since 1601.
std::int16_t BiasAtUtc(std::uint64_t milliseconds, const ZoneInformation* zone);

/// A size as a 32-bit signed number; raises EZincDateTime (13) from 0x80000000 on.
std::int32_t SizeToInt(std::uint64_t size);

}  // namespace Zinc
