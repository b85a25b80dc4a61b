// Clock, calendar, time zone and the display texts of a time, by the system's services.
#include <windows.h>

#include <algorithm>
#include <bit>
#include <iterator>

#include "platform/platform.h"

namespace Platform {

namespace {

constexpr WORD kLastYear = 30827;

SYSTEMTIME ToSystem(const SystemTime& time) noexcept { return std::bit_cast<SYSTEMTIME>(time); }
SystemTime FromSystem(const SYSTEMTIME& time) noexcept { return std::bit_cast<SystemTime>(time); }

std::uint64_t Whole(const FILETIME& time) noexcept {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

}  // namespace

std::uint64_t SystemTimeAsFileTime() noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return Whole(now);
}

bool FileTimeToSystemTime(std::uint64_t fileTime, SystemTime& time) noexcept {
    const FILETIME from = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    SYSTEMTIME result;
    if (!::FileTimeToSystemTime(&from, &result)) return false;
    time = FromSystem(result);
    return true;
}

bool SystemTimeToFileTime(const SystemTime& time, std::uint64_t& fileTime) noexcept {
    const SYSTEMTIME from = ToSystem(time);
    FILETIME result;
    if (!::SystemTimeToFileTime(&from, &result)) return false;
    // Windows refuses a date that there isn't; Wine moves it into the next month, and goes beyond
    // the last year.
    SYSTEMTIME back;
    if (from.wYear > kLastYear || !::FileTimeToSystemTime(&result, &back) ||
        back.wDay != from.wDay) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    fileTime = Whole(result);
    return true;
}

bool GetTimeZoneInformation(ZoneInformation& zone) noexcept {
    TIME_ZONE_INFORMATION system;
    if (::GetTimeZoneInformation(&system) == TIME_ZONE_ID_INVALID) return false;
    zone.bias = system.Bias;
    zone.standardBias = system.StandardBias;
    zone.daylightBias = system.DaylightBias;
    zone.standardDate = FromSystem(system.StandardDate);
    zone.daylightDate = FromSystem(system.DaylightDate);
    return true;
}

// ---- Display ------------------------------------------------------------------------------------

namespace {

/// Formats by a service that is called as format(target, size of target) and writes a terminator.
template <typename Format>
std::size_t Formatted(WideChar* text, std::size_t capacity, Format format) noexcept {
    WideChar buffer[512];
    const int size = format(buffer, static_cast<int>(std::size(buffer)));
    if (size <= 0) return 0;
    const std::size_t units = static_cast<std::size_t>(size) - 1;
    if (units > capacity) {
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy_n(buffer, units, text);
    return units;
}

}  // namespace

std::size_t FormatShortDate(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept {
    SYSTEMTIME date = ToSystem(time);
    date.wHour = date.wMinute = date.wSecond = date.wMilliseconds = 0;
    return Formatted(text, capacity, [&](WideChar* target, int size) {
        return GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &date, nullptr, target, size);
    });
}

std::size_t FormatTimeOfDay(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept {
    const SYSTEMTIME timeOfDay = ToSystem(time);
    return Formatted(text, capacity, [&](WideChar* target, int size) {
        return GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &timeOfDay, nullptr, target, size);
    });
}

}  // namespace Platform
