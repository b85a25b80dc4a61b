#include "zinc/date_time.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <string>

namespace Zinc {

namespace {

constexpr std::int64_t kMillisecondsPerMinute = 60000;
constexpr std::int64_t kMillisecondsPerDay = 86400000;
constexpr std::uint64_t kFileTimePerMillisecond = 10000;

// Rounds to the nearest millisecond.
constexpr std::uint64_t FileTimeToMilliseconds(std::uint64_t fileTime) noexcept {
    return (fileTime + kFileTimePerMillisecond / 2) / kFileTimePerMillisecond;
}

// ---- Calendar -----------------------------------------------------------------------------------

constexpr std::uint8_t kDaysOfMonthCommon[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr std::uint8_t kDaysOfMonthLeap[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

constexpr bool IsLeapYear(std::uint32_t year) noexcept {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// month is 1 to 12.
constexpr int DaysOfMonth(std::uint32_t year, std::uint32_t month) noexcept {
    return (IsLeapYear(year) ? kDaysOfMonthLeap : kDaysOfMonthCommon)[month - 1];
}

}  // namespace

// ---- The value ----------------------------------------------------------------------------------

TZincDateTime TZincDateTime::Now() {
    const std::uint64_t milliseconds = FileTimeToMilliseconds(Platform::SystemTimeAsFileTime());
    const std::int16_t bias = BiasAtUtc(milliseconds, nullptr);
    TZincDateTime now;
    now.SetUTCMilliseconds(1, static_cast<std::int64_t>(milliseconds), bias);
    return now;
}

void TZincDateTime::SetUTCMilliseconds(int mode, std::int64_t milliseconds, std::int16_t bias) {
    std::int64_t utc = milliseconds;
    if (mode != 1 && __builtin_add_overflow(milliseconds, bias * kMillisecondsPerMinute, &utc)) {
        // The sum has left 64 bits on the side of the larger operand; either end is out of range.
        utc = milliseconds < 0 ? INT64_MIN : INT64_MAX;
    }
    if (utc < 0)
        throw EZincDateTime(TMX_WIDE("SetUTCMilliseconds(): Internal milliseconds underflow. A "
                                     "year below 1601 is not supported."),
                            EZincDateTime::Range);
    if (static_cast<std::uint64_t>(utc) > kMillisecondsMask)
        throw EZincDateTime(TMX_WIDE("SetUTCMilliseconds(): Internal milliseconds overflow."),
                            EZincDateTime::Range);
    word_ = static_cast<std::uint64_t>(utc) |
            (static_cast<std::uint64_t>(static_cast<std::uint16_t>(bias)) << 48);
}

std::uint64_t TZincDateTime::GetLocalFileTime() const noexcept {
    // A local time before 1601 wraps around to a file time with its top bit set, which
    // FileTimeToSystemTime refuses.
    const std::int64_t local =
        static_cast<std::int64_t>(UtcMilliseconds()) - Bias() * kMillisecondsPerMinute;
    return static_cast<std::uint64_t>(local) * kFileTimePerMillisecond;
}

// ---- Calls of the system ------------------------------------------------------------------------

SystemTime FileTimeToSystemTime(std::uint64_t fileTime) {
    SystemTime time;
    if (!Platform::FileTimeToSystemTime(fileTime, time))
        ThrowLastSystemError(
            "struct _SYSTEMTIME __cdecl Zinc::FileTimeToSystemTime(const struct _FILETIME &)");
    return time;
}

std::uint64_t SystemTimeToFileTime(const SystemTime& time) {
    std::uint64_t fileTime = 0;
    if (!Platform::SystemTimeToFileTime(time, fileTime))
        ThrowLastSystemError(
            "struct _FILETIME __cdecl Zinc::SystemTimeToFileTime(const struct _SYSTEMTIME &)");
    return fileTime;
}

std::int64_t SystemTimeToMilliseconds(const SystemTime& time) {
    std::uint64_t fileTime = 0;
    if (!Platform::SystemTimeToFileTime(time, fileTime))
        ThrowLastSystemError(
            "__int64 __cdecl Zinc::SystemTimeToMilliseconds(const struct _SYSTEMTIME &)");
    return static_cast<std::int64_t>(fileTime / kFileTimePerMillisecond);
}

// ---- Writing ------------------------------------------------------------------------------------

namespace {

// "%0<width>u": a number that needs more digits than the width is written whole.
template <int width, typename Char>
Char* PutNumber(Char* target, std::uint32_t value) noexcept {
    constexpr std::uint32_t limit = width == 2 ? 100 : width == 3 ? 1000 : 10000;
    int digits = width;
    for (std::uint32_t rest = value / limit; rest != 0; rest /= 10) ++digits;
    for (int i = digits - 1; i >= 0; --i) {
        target[i] = static_cast<Char>('0' + value % 10);
        value /= 10;
    }
    return target + digits;
}

template <typename Char>
Char* PutCharacter(Char* target, char character) noexcept {
    *target = static_cast<Char>(character);
    return target + 1;
}

// The name under which a failure of BiasToStr is reported.
template <typename Char>
constexpr const char* kBiasToStrName =
    "unsigned __int64 __cdecl Zinc::BiasToStr(wchar_t *,unsigned __int64,short,const wchar_t *)";
template <>
constexpr const char* kBiasToStrName<char> =
    "unsigned __int64 __cdecl Zinc::BiasToStr(char *,unsigned __int64,short,const char *)";

}  // namespace

template <typename Char>
std::size_t SystemTimeToSQLStr(Char* buffer, [[maybe_unused]] std::size_t size,
                               const SystemTime& time, TZincDateTimeStrMode) {
    assert(size >= kDateTimeTextCapacity);
    Char* end = PutNumber<4>(buffer, time.year);
    end = PutNumber<2>(PutCharacter(end, '/'), time.month);
    end = PutNumber<2>(PutCharacter(end, '/'), time.day);
    end = PutNumber<2>(PutCharacter(end, ' '), time.hour);
    end = PutNumber<2>(PutCharacter(end, ':'), time.minute);
    end = PutNumber<2>(PutCharacter(end, ':'), time.second);
    end = PutNumber<3>(PutCharacter(end, ','), time.millisecond);
    *end = 0;
    return static_cast<std::size_t>(end - buffer);
}

template <typename Char>
std::size_t BiasToStr(Char* buffer, std::size_t size, std::int16_t bias, const Char* prefix) {
    if (size == 0 || size > 0x7fffffff) {
        if (size > 0) *buffer = 0;
        throw SystemException(Platform::kInvalidArgumentHresult, kBiasToStrName<Char>);
    }
    // As an int, because the negative of -32768 minutes does not fit 16 bits.
    const int minutes = bias;
    const auto amount = static_cast<std::uint32_t>(minutes > 0 ? minutes : -minutes);
    Char zone[sizeof("GMT+546:08")];
    Char* end = PutCharacter(zone, 'G');
    end = PutCharacter(end, 'M');
    end = PutCharacter(end, 'T');
    end = PutCharacter(end, minutes > 0 ? '-' : '+');
    end = PutNumber<2>(end, amount / 60);
    end = PutNumber<2>(PutCharacter(end, ':'), amount % 60);

    // What fits is written, and always a terminator.
    const std::size_t room = size - 1;
    const auto zoneLength = static_cast<std::size_t>(end - zone);
    const std::size_t prefixLength = std::char_traits<Char>::length(prefix);
    const std::size_t prefixPart = std::min(prefixLength, room);
    const std::size_t zonePart = std::min(zoneLength, room - prefixPart);
    std::copy_n(prefix, prefixPart, buffer);
    std::copy_n(zone, zonePart, buffer + prefixPart);
    buffer[prefixPart + zonePart] = 0;
    if (prefixPart + zonePart < prefixLength + zoneLength)
        throw SystemException(Platform::kErrorInsufficientBufferHresult, kBiasToStrName<Char>);
    return prefixPart + zonePart;
}

template <typename Char>
std::size_t DateTimeToText(Char* buffer, TZincDateTime value) {
    static constexpr Char blank[] = {' ', 0};
    const SystemTime local = FileTimeToSystemTime(value.GetLocalFileTime());
    const std::size_t length = SystemTimeToSQLStr(buffer, kDateTimeTextCapacity, local);
    return length + BiasToStr(buffer + length, kDateTimeTextCapacity - length, value.Bias(), blank);
}

template std::size_t SystemTimeToSQLStr(char*, std::size_t, const SystemTime&,
                                        TZincDateTimeStrMode);
template std::size_t SystemTimeToSQLStr(WideChar*, std::size_t, const SystemTime&,
                                        TZincDateTimeStrMode);
template std::size_t BiasToStr(char*, std::size_t, std::int16_t, const char*);
template std::size_t BiasToStr(WideChar*, std::size_t, std::int16_t, const WideChar*);
template std::size_t DateTimeToText(char*, TZincDateTime);
template std::size_t DateTimeToText(WideChar*, TZincDateTime);

std::size_t SystemTimeToStr(WideChar* buffer, const SystemTime& time) {
    constexpr std::size_t room = kDateTimeTextCapacity - 1;  // without the terminator

    std::size_t length = Platform::FormatShortDate(time, buffer, room);
    if (length == 0) ThrowLastSystemError("TZincDateTime::SystemTimeToStr::GetDateFormat");
    if (length == room)
        throw SystemException(Platform::kErrorInsufficientBufferHresult,
                              "TZincDateTime::SystemTimeToStr");
    buffer[length++] = ' ';
    const std::size_t timeLength = Platform::FormatTimeOfDay(time, buffer + length, room - length);
    if (timeLength == 0) ThrowLastSystemError("TZincDateTime::SystemTimeToStr::GetTimeFormat");
    length += timeLength;
    buffer[length] = 0;
    return length;
}

// ---- Reading ------------------------------------------------------------------------------------

namespace {

// Digits are the ten of ASCII, whatever digits the user's locale has.
bool IsDigit(WideChar character) noexcept { return character >= '0' && character <= '9'; }

// A blank is U+0020 alone: a tabulator or a no-break space is as wrong as any other character.
void SkipBlanks(const WideChar*& text) noexcept {
    while (*text == ' ') ++text;
}

bool TakeChar(const WideChar*& text, char character) noexcept {
    if (*text != static_cast<WideChar>(character)) return false;
    ++text;
    return true;
}

// For ASCII alone.
void AppendAscii(WideString& target, std::string_view text) {
    target.append(text.begin(), text.end());
}

[[noreturn]] void ThrowDateTimeError(std::string_view text, EZincDateTime::Subcode subcode) {
    WideString wide;
    AppendAscii(wide, text);
    throw EZincDateTime(wide, subcode);
}

struct NumberPart {
    int maxDigits;
    int low;
    int high;
    EZincDateTime::Subcode subcode;
    const char* name;
};

constexpr NumberPart kYear = {4, 1601, 9999, EZincDateTime::Year, "year"};
constexpr NumberPart kMonth = {2, 1, 12, EZincDateTime::Month, "month"};
constexpr NumberPart kHour = {2, 0, 23, EZincDateTime::Hour, "hour"};
constexpr NumberPart kMinute = {2, 0, 59, EZincDateTime::Minute, "minute"};
constexpr NumberPart kSecond = {2, 0, 59, EZincDateTime::Second, "second"};
constexpr NumberPart kMillisecond = {3, 0, 999, EZincDateTime::Millisecond, "millisecond"};
// No zone on earth is more than 14 hours from Greenwich.
constexpr NumberPart kZoneHour = {2, 0, 14, EZincDateTime::Hour, "hour"};
constexpr NumberPart kZoneMinute = {2, 0, 59, EZincDateTime::Minute, "minute"};

// Reads maxDigits digits at most; fewer are fine ("2026/1/5"). A further digit stays in the text
// and is what the next step trips over: the year of "10000/01/01" is 1000 and too small, that of
// "16010/01/01" is 1601 and its "0" is no "/".
std::uint16_t ParseNumberPart(const WideChar*& text, const NumberPart& part) {
    int value = 0;
    int digits = 0;
    for (; digits < part.maxDigits && IsDigit(*text); ++digits)
        value = value * 10 + (*text++ - '0');
    if (digits == 0 || value < part.low || value > part.high)
        ThrowDateTimeError("Invalid " + std::string(part.name) +
                               " part in date/time string. Expected a number from " +
                               std::to_string(part.low) + " to " + std::to_string(part.high) + ".",
                           part.subcode);
    return static_cast<std::uint16_t>(value);
}

void ExpectChar(const WideChar*& text, char character) {
    if (!TakeChar(text, character))
        ThrowDateTimeError(std::string("'") + character + "' expected.",
                           EZincDateTime::ExpectedCharacter);
}

// hint names what could have followed, null where nothing can. The text without a hint has lost its
// quoted word and keeps its "or"; clients know it in this wording.
void ExpectEnd(const WideChar* text, const char* hint) {
    SkipBlanks(text);
    if (*text == 0) return;
    std::string message = "End of date/time string or ";
    if (hint != nullptr) message += "\"" + std::string(hint) + "\" ";
    ThrowDateTimeError(message + "expected.", EZincDateTime::ExpectedEnd);
}

SystemTime ParseDate(const WideChar*& text) {
    SystemTime time;
    time.year = ParseNumberPart(text, kYear);
    ExpectChar(text, '/');
    time.month = ParseNumberPart(text, kMonth);
    ExpectChar(text, '/');
    const NumberPart day = {2, 1, DaysOfMonth(time.year, time.month), EZincDateTime::Day, "day"};
    time.day = ParseNumberPart(text, day);
    return time;
}

// The time of day behind a date; seconds and milliseconds may be missing, in this order. Returns
// what could have followed.
const char* ParseTimeOfDay(const WideChar*& text, SystemTime& time) {
    time.hour = ParseNumberPart(text, kHour);
    ExpectChar(text, ':');
    time.minute = ParseNumberPart(text, kMinute);
    if (!TakeChar(text, ':')) return ":Seconds";
    time.second = ParseNumberPart(text, kSecond);
    if (TakeChar(text, ',')) time.millisecond = ParseNumberPart(text, kMillisecond);
    return ",Milliseconds";
}

// "GMT" or "UTC" in any case.
bool TakeZoneWord(const WideChar*& text) noexcept {
    for (const char* word : {"GMT", "UTC"}) {
        int matched = 0;
        // The zero at the end of the text equals no letter, so that nothing behind it is read.
        while (matched < 3 && (text[matched] == static_cast<WideChar>(word[matched]) ||
                               text[matched] == static_cast<WideChar>(word[matched] + ('a' - 'A'))))
            ++matched;
        if (matched == 3) {
            text += 3;
            return true;
        }
    }
    return false;
}

}  // namespace

SystemTime ParseDateTimeText(const WideChar* text, std::size_t* consumed) {
    const WideChar* cursor = text;
    SkipBlanks(cursor);
    SystemTime time = ParseDate(cursor);
    const char* hint = "hour";
    if (*cursor != 0) {
        ExpectChar(cursor, ' ');
        SkipBlanks(cursor);
        // No digit: the zone comes next, and the time is midnight.
        if (IsDigit(*cursor)) hint = ParseTimeOfDay(cursor, time);
    }
    if (consumed != nullptr) {
        *consumed = static_cast<std::size_t>(cursor - text);
    } else {
        ExpectEnd(cursor, hint);
    }
    return time;
}

// Not symmetric, and required so: east of Greenwich the minutes are added to the bias although its
// hours are negative. "GMT+05:30", which BiasToStr writes for -330, reads as -270. Whoever reads
// the same text elsewhere in the system reads it like this; whole hours are exact.
static std::int16_t ZoneBias(bool west, int hours, int minutes) noexcept {
    return static_cast<std::int16_t>(west ? hours * 60 + minutes : minutes - hours * 60);
}

std::int16_t ParseBiasText(const WideChar* text) {
    SkipBlanks(text);
    if (!TakeZoneWord(text))
        ThrowDateTimeError("UTC or GMT in date/time string expected.", EZincDateTime::ExpectedZone);
    SkipBlanks(text);
    const bool west = TakeChar(text, '-');
    if (!west) TakeChar(text, '+');
    SkipBlanks(text);
    const int hours = ParseNumberPart(text, kZoneHour);
    ExpectChar(text, ':');
    const int minutes = ParseNumberPart(text, kZoneMinute);
    ExpectEnd(text, nullptr);
    return ZoneBias(west, hours, minutes);
}

TZincDateTime ParseDateTime(const WideChar* text) {
    std::size_t consumed = 0;
    const SystemTime time = ParseDateTimeText(text, &consumed);
    const std::int16_t bias = ParseBiasText(text + consumed);
    const std::uint64_t milliseconds = FileTimeToMilliseconds(SystemTimeToFileTime(time));
    TZincDateTime value;
    value.SetUTCMilliseconds(0, static_cast<std::int64_t>(milliseconds), bias);
    return value;
}

template <typename Char>
bool ParseCanonicalDateTime(std::basic_string_view<Char> text, TZincDateTime& value) noexcept {
    //                                 0         1         2         3
    //                                 0123456789012345678901234567890123
    static constexpr char pattern[] = "dddd/dd/dd dd:dd:dd,ddd GMTsdd:dd";
    constexpr std::size_t length = sizeof pattern - 1;
    if (text.size() != length) return false;
    unsigned wrong = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const auto unit = static_cast<unsigned>(text[i]);
        if (pattern[i] == 'd')
            wrong |= unit - '0' > 9 ? 1u : 0u;
        else if (pattern[i] != 's')
            wrong |= unit ^ static_cast<unsigned>(pattern[i]);
    }
    const auto sign = static_cast<unsigned>(text[27]);
    if (wrong != 0 || (sign != '+' && sign != '-')) return false;
    const auto number = [&](std::size_t at, int digits) {
        unsigned result = 0;
        for (int i = 0; i < digits; ++i)
            result =
                result * 10 + (static_cast<unsigned>(text[at + static_cast<std::size_t>(i)]) - '0');
        return static_cast<std::uint16_t>(result);
    };
    SystemTime time;
    time.year = number(0, 4);
    time.month = number(5, 2);
    time.day = number(8, 2);
    time.hour = number(11, 2);
    time.minute = number(14, 2);
    time.second = number(17, 2);
    time.millisecond = number(20, 3);
    const int zoneHours = number(28, 2);
    const int zoneMinutes = number(31, 2);
    std::uint64_t fileTime = 0;
    if (zoneHours > kZoneHour.high || zoneMinutes > kZoneMinute.high ||
        !Platform::SystemTimeToFileTime(time, fileTime))
        return false;
    const int bias = ZoneBias(sign == '-', zoneHours, zoneMinutes);
    const std::int64_t utc = static_cast<std::int64_t>(fileTime / kFileTimePerMillisecond) +
                             bias * kMillisecondsPerMinute;
    if (utc < 0) return false;
    value = TZincDateTime(static_cast<std::uint64_t>(utc) |
                          static_cast<std::uint64_t>(static_cast<std::uint16_t>(bias)) << 48);
    return true;
}
template bool ParseCanonicalDateTime(std::string_view, TZincDateTime&) noexcept;
template bool ParseCanonicalDateTime(WideView, TZincDateTime&) noexcept;

// ---- Zones --------------------------------------------------------------------------------------

std::uint32_t YearFromMilliseconds(std::uint64_t milliseconds) {
    constexpr std::uint32_t maxCenturies = 292;
    constexpr std::uint32_t maxYear = 30827;
    const auto outOfRange = [] {
        return EZincDateTime(TMX_WIDE("YearFromMilliseconds: Year/Century out of range."),
                             EZincDateTime::Range);
    };

    std::uint64_t days = milliseconds / kMillisecondsPerDay;
    // Centuries are counted from 1601, so that the leap year which only each fourth has is its
    // last.
    std::uint32_t centuries = 0;
    for (;;) {
        const std::uint64_t length = centuries % 4 == 3 ? 36525 : 36524;
        if (days < length) break;
        days -= length;
        if (++centuries > maxCenturies) throw outOfRange();
    }
    // The same within a century: each fourth year is the longer one, but perhaps the last.
    const std::uint64_t groups = days / 1461;
    const std::uint64_t years = std::min<std::uint64_t>(days % 1461 / 365, 3);
    const std::uint32_t year =
        1601 + centuries * 100 + static_cast<std::uint32_t>(groups * 4 + years);
    if (year > maxYear) throw outOfRange();
    return year;
}

std::int64_t TransitionToMilliseconds(std::uint32_t year, const SystemTime& rule) {
    if (rule.year != 0) {
        if (rule.year != year)
            throw EZincDateTime(
                TMX_WIDE("Transition date error in absolute format. Year not equal."),
                EZincDateTime::ZoneRule);
        return SystemTimeToMilliseconds(rule);
    }
    if (rule.day < 1 || rule.day > 5 || rule.month < 1 || rule.month > 12 || rule.dayOfWeek > 6)
        throw EZincDateTime(TMX_WIDE("Transition date of time zone is not valid."),
                            EZincDateTime::ZoneRule);

    SystemTime firstOfMonth = rule;
    firstOfMonth.year = static_cast<std::uint16_t>(year);
    firstOfMonth.day = 1;
    const std::int64_t first = SystemTimeToMilliseconds(firstOfMonth);
    // 1601 began on a Monday.
    const int weekday = static_cast<int>((first / kMillisecondsPerDay + 1) % 7);
    int offset = rule.dayOfWeek - weekday;
    if (offset < 0) offset += 7;
    offset += rule.day * 7 - 7;
    // Week 5 is the last one that the month has.
    if (offset >= DaysOfMonth(year, rule.month)) offset -= 7;
    return offset * kMillisecondsPerDay + first;
}

namespace {

struct Transitions {
    std::int64_t standard;
    std::int64_t daylight;
};

// The transitions of the year and the rules that were asked for last: "now" asks for the same all
// year round.
class TransitionCache {
  public:
    Transitions Get(std::uint32_t year, const ZoneInformation& zone) {
        const std::lock_guard<Platform::CriticalSection> guard(lock_);
        if (year_ != year || !SameRule(standardDate_, zone.standardDate) ||
            !SameRule(daylightDate_, zone.daylightDate)) {
            // Computed before anything is replaced, since a rule may be wrong.
            const Transitions computed = {TransitionToMilliseconds(year, zone.standardDate),
                                          TransitionToMilliseconds(year, zone.daylightDate)};
            transitions_ = computed;
            year_ = year;
            standardDate_ = zone.standardDate;
            daylightDate_ = zone.daylightDate;
        }
        return transitions_;
    }

  private:
    static bool SameRule(const SystemTime& a, const SystemTime& b) noexcept {
        return std::memcmp(&a, &b, sizeof a) == 0;
    }

    Platform::CriticalSection lock_;
    std::uint32_t year_ = 0;  // no year: empty
    SystemTime standardDate_;
    SystemTime daylightDate_;
    Transitions transitions_ = {0, 0};
};

}  // namespace

std::int16_t BiasAtUtc(std::uint64_t milliseconds, const ZoneInformation* zone) {
    ZoneInformation systemZone;
    if (zone == nullptr) {
        if (!Platform::GetTimeZoneInformation(systemZone)) return 0;
        zone = &systemZone;
    }
    // A zone that keeps one time has that of its bias; its standard bias is not added.
    if (zone->standardDate.month == 0 || zone->daylightDate.month == 0)
        return static_cast<std::int16_t>(zone->bias);

    static TransitionCache cache;
    const auto [standardStart, daylightStart] =
        cache.Get(YearFromMilliseconds(milliseconds), *zone);

    const std::int64_t standardOffset = std::int64_t{zone->bias} + zone->standardBias;
    const std::int64_t daylightOffset = std::int64_t{zone->bias} + zone->daylightBias;
    const auto utc = static_cast<std::int64_t>(milliseconds);
    const bool daylightBegun = utc - standardOffset * kMillisecondsPerMinute >= daylightStart;
    const bool standardNotBegun = utc - daylightOffset * kMillisecondsPerMinute < standardStart;
    const bool northern = daylightStart < standardStart;
    const bool daylight =
        northern ? daylightBegun && standardNotBegun : daylightBegun || standardNotBegun;
    return static_cast<std::int16_t>(daylight ? daylightOffset : standardOffset);
}

std::int32_t SizeToInt(std::uint64_t size) {
    if (size >= 0x80000000)
        throw EZincDateTime(TMX_WIDE("size_t out of range."), EZincDateTime::Range);
    return static_cast<std::int32_t>(size);
}

}  // namespace Zinc
