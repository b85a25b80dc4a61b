#include "time_text.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "event_row.h"
#include "system.h"

namespace tmxact {

namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kDayMinutes = 24 * 60;

std::string Spelled(std::int64_t local, std::int64_t offsetMinutes, bool utc) {
    const std::chrono::sys_time<milliseconds> point{milliseconds(local)};
    const auto day = std::chrono::floor<std::chrono::days>(point);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(point - day);
    char text[64];
    int length = std::snprintf(
        text, sizeof text, "%s%04d-%02u-%02uT%02d:%02d:%02d.%03d",
        static_cast<int>(date.year()) > 9999 ? "+" : "", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    const auto minutes = static_cast<int>(std::abs(offsetMinutes));
    std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                  utc ? "Z" : "%c%02d:%02d", offsetMinutes < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return text;
}

// Takes digits off the front of the text; false if there are fewer.
bool TakeDigits(std::string_view& text, std::size_t count, int& number) {
    if (text.size() < count) return false;
    number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        number = number * 10 + (text[i] - '0');
    }
    text.remove_prefix(count);
    return true;
}

bool Take(std::string_view& text, std::string_view oneOf) {
    if (text.empty() || oneOf.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::string TimeText(std::int64_t value, bool local) {
    if (!local) return Spelled(value, 0, true);
    const std::int64_t offset = ZoneOffsetSeconds(value / 1000) / 60;
    return Spelled(value + offset * kMinute, offset, false);
}

std::string TimeText(TmxDateTime value) {
    const auto bias = static_cast<std::int16_t>(value.value >> 48);
    // A zone of a day or more is none; the instant is told in UTC.
    if (std::abs(bias) >= kDayMinutes) return TimeText(UnixMilliseconds(value), false);
    return Spelled(UnixMilliseconds(value) - bias * kMinute, -bias, false);
}

std::optional<std::int64_t> TimeFromText(std::string_view text, bool local) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!TakeDigits(text, 4, year) || !Take(text, "-") || !TakeDigits(text, 2, month) ||
        !Take(text, "-") || !TakeDigits(text, 2, day))
        return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!date.ok()) return std::nullopt;
    const std::int64_t midnight =
        std::chrono::duration_cast<milliseconds>(std::chrono::sys_days(date).time_since_epoch())
            .count();
    if (text.empty()) {
        if (!local) return midnight;
        // The offset that holds at the local midnight, which a change of the clocks may move.
        const std::int64_t first = midnight - ZoneOffsetSeconds(midnight / 1000) * 1000;
        return midnight - ZoneOffsetSeconds(first / 1000) * 1000;
    }
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!Take(text, "Tt ") || !TakeDigits(text, 2, hour) || !Take(text, ":") ||
        !TakeDigits(text, 2, minute) || !Take(text, ":") || !TakeDigits(text, 2, second) ||
        hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    int fraction = 0;
    if (Take(text, ".")) {
        int digit = 0;
        int digits = 0;
        for (; TakeDigits(text, 1, digit); ++digits)
            if (digits < 3) fraction = fraction * 10 + digit;
        if (digits == 0) return std::nullopt;
        for (; digits < 3; ++digits) fraction *= 10;
    }
    std::int64_t offset = 0;
    if (!Take(text, "Zz")) {
        const bool west = !text.empty() && text.front() == '-';
        int hours = 0;
        int minutes = 0;
        if (!Take(text, "+-") || !TakeDigits(text, 2, hours) || !Take(text, ":") ||
            !TakeDigits(text, 2, minutes) || hours > 23 || minutes > 59)
            return std::nullopt;
        offset = (hours * 60 + minutes) * (west ? -1 : 1);
    }
    if (!text.empty()) return std::nullopt;
    return midnight + ((hour * 60 + minute) * 60 + second) * std::int64_t{1000} + fraction -
           offset * kMinute;
}

}  // namespace tmxact
