// Clock, calendar, time zone and the display texts of a time.
#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <pthread.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/platform.h"

namespace Platform {

namespace {

// ---- Calendar -----------------------------------------------------------------------------------

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::uint64_t kUnitsPerSecond = 10'000'000;
constexpr std::uint64_t kUnitsPerMillisecond = 10'000;
constexpr std::uint64_t kUnitsPerDay = kUnitsPerSecond * kSecondsPerDay;
/// Days and seconds from 1601-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochDays = 134774;
constexpr std::int64_t kUnixEpochSeconds = kUnixEpochDays * kSecondsPerDay;
static_assert(kUnixEpochSeconds == 11'644'473'600);

constexpr std::uint32_t kFirstYear = 1601;
constexpr std::uint32_t kLastYear = 30827;

struct Date {
    std::uint32_t year;
    std::uint32_t month;  // 1 to 12
    std::uint32_t day;    // 1 to 31
};

constexpr bool IsLeapYear(std::uint32_t year) noexcept {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr std::uint32_t DaysOfMonth(std::uint32_t year, std::uint32_t month) noexcept {
    constexpr std::uint8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The two conversions count in years that begin on 1 March, so that the leap day is the last of its
// year; day 0 is 1600-03-01, which begins a cycle of 400 years.
constexpr std::uint32_t kDaysOfCycle = 146097;
constexpr std::uint32_t kMarchDays = 306;  // 1600-03-01 to 1601-01-01

/// Days since 1601-01-01.
constexpr std::uint32_t DaysFromDate(Date date) noexcept {
    const bool beforeMarch = date.month <= 2;
    const std::uint32_t year = date.year - 1600 - (beforeMarch ? 1 : 0);
    const std::uint32_t month = date.month + (beforeMarch ? 9 : -3u);
    return year * 365 + year / 4 - year / 100 + year / 400 + (153 * month + 2) / 5 + date.day - 1 -
           kMarchDays;
}

constexpr Date DateFromDays(std::uint32_t daysSince1601) noexcept {
    const std::uint32_t days = daysSince1601 + kMarchDays;
    const std::uint32_t cycle = days / kDaysOfCycle;
    const std::uint32_t dayOfCycle = days % kDaysOfCycle;
    const std::uint32_t yearOfCycle =
        (dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / 146096) / 365;
    const std::uint32_t dayOfYear =
        dayOfCycle - (365 * yearOfCycle + yearOfCycle / 4 - yearOfCycle / 100);
    const std::uint32_t month = (5 * dayOfYear + 2) / 153;
    const std::uint32_t day = dayOfYear - (153 * month + 2) / 5 + 1;
    const bool beforeMarch = month >= 10;
    return {1600 + cycle * 400 + yearOfCycle + (beforeMarch ? 1 : 0),
            beforeMarch ? month - 9 : month + 3, day};
}

static_assert(DaysFromDate({1601, 1, 1}) == 0);
static_assert(DaysFromDate({1970, 1, 1}) == kUnixEpochDays);
static_assert(DateFromDays(0).year == 1601 && DateFromDays(0).month == 1);
static_assert(DateFromDays(59).month == 3 && DateFromDays(59).day == 1);

/// 0 is Sunday; 1601-01-01 was a Monday.
constexpr std::uint32_t DayOfWeek(std::uint32_t daysSince1601) noexcept {
    return (daysSince1601 + 1) % 7;
}

bool IsDate(const SystemTime& time) noexcept {
    return time.year >= kFirstYear && time.year <= kLastYear && time.month >= 1 &&
           time.month <= 12 && time.day >= 1 && time.day <= DaysOfMonth(time.year, time.month);
}

bool IsTimeOfDay(const SystemTime& time) noexcept {
    return time.hour <= 23 && time.minute <= 59 && time.second <= 59 && time.millisecond <= 999;
}

bool Failed(std::uint32_t error) noexcept {
    SetLastError(error);
    return false;
}

}  // namespace

std::uint64_t SystemTimeAsFileTime() noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec + kUnixEpochSeconds) * kUnitsPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

bool FileTimeToSystemTime(std::uint64_t fileTime, SystemTime& time) noexcept {
    if (fileTime >> 63 != 0) return Failed(kErrorInvalidParameter);
    const std::uint32_t days = static_cast<std::uint32_t>(fileTime / kUnitsPerDay);
    const std::uint32_t milliseconds =
        static_cast<std::uint32_t>(fileTime % kUnitsPerDay / kUnitsPerMillisecond);
    const std::uint32_t seconds = milliseconds / 1000;
    const Date date = DateFromDays(days);
    time.year = static_cast<std::uint16_t>(date.year);
    time.month = static_cast<std::uint16_t>(date.month);
    time.dayOfWeek = static_cast<std::uint16_t>(DayOfWeek(days));
    time.day = static_cast<std::uint16_t>(date.day);
    time.hour = static_cast<std::uint16_t>(seconds / 3600);
    time.minute = static_cast<std::uint16_t>(seconds / 60 % 60);
    time.second = static_cast<std::uint16_t>(seconds % 60);
    time.millisecond = static_cast<std::uint16_t>(milliseconds % 1000);
    return true;
}

bool SystemTimeToFileTime(const SystemTime& time, std::uint64_t& fileTime) noexcept {
    if (!IsDate(time) || !IsTimeOfDay(time)) return Failed(kErrorInvalidParameter);
    const std::uint64_t days = DaysFromDate({time.year, time.month, time.day});
    const std::uint64_t seconds = std::uint64_t{time.hour} * 3600 +
                                  std::uint64_t{time.minute} * 60 + std::uint64_t{time.second};
    fileTime = days * kUnitsPerDay + seconds * kUnitsPerSecond +
               std::uint64_t{time.millisecond} * kUnitsPerMillisecond;
    return true;
}

// ---- Zone ---------------------------------------------------------------------------------------

namespace {

/// One change of clocks of a POSIX zone rule.
struct Change {
    enum class Kind { MonthWeekDay, DayWithoutLeapDay, DayOfYear };
    Kind kind = Kind::MonthWeekDay;
    int month = 0;             // 1 to 12
    int week = 0;              // 1 to 5, 5 the last
    int day = 0;               // weekday, 0 is Sunday; or Jn (1 to 365), n (0 to 365)
    std::int64_t time = 7200;  // seconds from midnight of the clock before the change

    bool IsRule() const noexcept {
        return kind == Kind::MonthWeekDay && time >= 0 && time < kSecondsPerDay;
    }
};

struct Zone {
    std::int64_t standardWest = 0;  // seconds that the zone's clock is behind UTC
    std::int64_t daylightWest = 0;
    bool hasDaylight = false;
    Change daylightStart;
    Change standardStart;
};

/// Reads the zone rule of POSIX ("CET-1CEST,M3.5.0,M10.5.0/3"), with the wider range of hours of
/// RFC 8536 (-167 to 167).
class ZoneRuleParser {
  public:
    ZoneRuleParser(const char* text, std::size_t length) noexcept
        : at_(text), end_(text + length) {}

    bool Parse(Zone& zone) noexcept {
        if (!Name() || !Time(24, zone.standardWest)) return false;
        if (at_ == end_) return true;
        zone.hasDaylight = true;
        if (!Name()) return false;
        if (at_ == end_ || *at_ == ',') {
            zone.daylightWest = zone.standardWest - 3600;
        } else if (!Time(24, zone.daylightWest)) {
            return false;
        }
        if (at_ == end_) {
            // What the C library takes when no rule is told: that of the United States.
            zone.daylightStart.month = 3;
            zone.daylightStart.week = 2;
            zone.standardStart.month = 11;
            zone.standardStart.week = 1;
            return true;
        }
        return ReadChange(zone.daylightStart) && ReadChange(zone.standardStart) && at_ == end_;
    }

  private:
    static bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }
    static bool IsLetter(char c) noexcept {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    }

    bool Skip(char c) noexcept {
        if (at_ == end_ || *at_ != c) return false;
        ++at_;
        return true;
    }

    /// Three letters or more; between angle brackets also digits and signs.
    bool Name() noexcept {
        const bool quoted = Skip('<');
        const char* begin = at_;
        while (at_ != end_ &&
               (IsLetter(*at_) || (quoted && (IsDigit(*at_) || *at_ == '+' || *at_ == '-')))) {
            ++at_;
        }
        return at_ - begin >= 3 && (!quoted || Skip('>'));
    }

    bool Number(int low, int high, int& number) noexcept {
        const char* begin = at_;
        int value = 0;
        while (at_ != end_ && IsDigit(*at_) && at_ - begin < 3) value = value * 10 + (*at_++ - '0');
        number = value;
        return at_ != begin && value >= low && value <= high;
    }

    /// [+-]h[h[h]][:mm[:ss]], in seconds.
    bool Time(int maxHour, std::int64_t& seconds) noexcept {
        const bool negative = Skip('-');
        if (!negative) Skip('+');
        int hour = 0;
        int minute = 0;
        int second = 0;
        if (!Number(0, maxHour, hour)) return false;
        if (Skip(':')) {
            if (!Number(0, 59, minute)) return false;
            if (Skip(':') && !Number(0, 59, second)) return false;
        }
        const std::int64_t amount = std::int64_t{hour} * 3600 + minute * 60 + second;
        seconds = negative ? -amount : amount;
        return true;
    }

    bool ReadChange(Change& change) noexcept {
        if (!Skip(',')) return false;
        if (Skip('M')) {
            change.kind = Change::Kind::MonthWeekDay;
            if (!Number(1, 12, change.month) || !Skip('.') || !Number(1, 5, change.week) ||
                !Skip('.') || !Number(0, 6, change.day)) {
                return false;
            }
        } else if (Skip('J')) {
            change.kind = Change::Kind::DayWithoutLeapDay;
            if (!Number(1, 365, change.day)) return false;
        } else {
            change.kind = Change::Kind::DayOfYear;
            if (!Number(0, 365, change.day)) return false;
        }
        return !Skip('/') || Time(167, change.time);
    }

    const char* at_;
    const char* end_;
};

class File {
  public:
    explicit File(const char* path) noexcept
        // Not blocking: a pipe of that name must not hold up the program.
        : file_(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)) {
        if (file_ < 0) {
            error_ = errno;
            return;
        }
        struct stat status = {};
        if (fstat(file_, &status) != 0 || !S_ISREG(status.st_mode)) {
            close(file_);
            file_ = -1;
            error_ = EINVAL;
        }
    }
    ~File() {
        if (file_ >= 0) close(file_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const noexcept { return file_ >= 0; }
    int Error() const noexcept { return error_; }

    /// The bytes read, fewer than size only at the end of the file.
    std::size_t ReadAt(std::uint64_t offset, void* target, std::size_t size) const noexcept {
        std::size_t done = 0;
        while (done < size) {
            const ssize_t count = pread(file_, static_cast<char*>(target) + done, size - done,
                                        static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

  private:
    int file_ = -1;
    int error_ = 0;
};

/// Reads a zone file (RFC 8536) of version 2 or later: the header and data of version 1, the same
/// again with 64-bit times, and the line with the rule that holds after the last of these times.
class ZoneFileReader {
  public:
    explicit ZoneFileReader(const File& file) noexcept : file_(file) {}

    bool Read(Zone& zone) noexcept {
        Header first;
        if (!ReadHeader(0, first)) return false;
        Header second;
        const std::uint64_t secondAt = kHeaderSize + DataSize(first, 4);
        if (!ReadHeader(secondAt, second)) return false;
        const std::uint64_t dataAt = secondAt + kHeaderSize;

        char line[256];
        const std::size_t size = file_.ReadAt(dataAt + DataSize(second, 8), line, sizeof line);
        if (size < 2 || line[0] != '\n') return false;
        const void* end = std::memchr(line + 1, '\n', size - 1);
        if (end == nullptr) return false;
        const std::size_t length =
            static_cast<std::size_t>(static_cast<const char*>(end) - line) - 1;
        if (length > 0) return ZoneRuleParser(line + 1, length).Parse(zone);
        return ReadLastType(dataAt, second, zone);
    }

  private:
    static constexpr std::uint64_t kHeaderSize = 44;
    static constexpr std::uint64_t kTypeSize = 6;

    struct Header {
        std::uint32_t utIndicators, standardIndicators, leapSeconds, times, types, nameBytes;
    };

    static std::uint32_t BigEndian(const std::uint8_t* bytes) noexcept {
        return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
               std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
    }

    bool ReadHeader(std::uint64_t offset, Header& header) const noexcept {
        std::uint8_t bytes[kHeaderSize];
        if (file_.ReadAt(offset, bytes, sizeof bytes) != sizeof bytes) return false;
        if (std::memcmp(bytes, "TZif", 4) != 0 || bytes[4] < '2') return false;
        header = {BigEndian(bytes + 20), BigEndian(bytes + 24), BigEndian(bytes + 28),
                  BigEndian(bytes + 32), BigEndian(bytes + 36), BigEndian(bytes + 40)};
        return true;
    }

    static std::uint64_t DataSize(const Header& header, std::uint64_t timeSize) noexcept {
        return header.times * (timeSize + 1) + header.types * kTypeSize + header.nameBytes +
               header.leapSeconds * (timeSize + 4) + header.standardIndicators +
               header.utIndicators;
    }

    /// A file with an empty line gives no rule: what its last change brought, or its only type,
    /// stays.
    bool ReadLastType(std::uint64_t dataAt, const Header& header, Zone& zone) const noexcept {
        std::uint8_t type = 0;
        const std::uint64_t indexesAt = dataAt + std::uint64_t{header.times} * 8;
        if (header.times > 0 && file_.ReadAt(indexesAt + header.times - 1, &type, 1) != 1) {
            return false;
        }
        if (type >= header.types) return false;
        std::uint8_t offset[4];
        if (file_.ReadAt(indexesAt + header.times + type * kTypeSize, offset, 4) != 4) return false;
        zone.standardWest = -std::int64_t{static_cast<std::int32_t>(BigEndian(offset))};
        return true;
    }

    const File& file_;
};

constexpr std::size_t kMaxPath = 4096;
constexpr char kSystemZone[] = "/etc/localtime";
constexpr char kZoneFolder[] = "/usr/share/zoneinfo";

/// The zone in use, and the value of TZ that it was made from. A plain mutex without a constructor,
/// so that it serves whatever is initialised first.
pthread_mutex_t zoneMutex = PTHREAD_MUTEX_INITIALIZER;
struct ZoneCache {
    bool filled = false;
    bool hasValue = false;
    int error = 0;  // why there is no zone
    char value[kMaxPath] = {};
    Zone zone;
};
ZoneCache zoneCache;

class MutexGuard {
  public:
    explicit MutexGuard(pthread_mutex_t& mutex) noexcept : mutex_(mutex) {
        pthread_mutex_lock(&mutex_);
    }
    ~MutexGuard() { pthread_mutex_unlock(&mutex_); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

  private:
    pthread_mutex_t& mutex_;
};

bool ReadZoneFile(const char* path, Zone& zone, int& error) noexcept {
    const File file(path);
    if (!file.IsOpen()) {
        error = file.Error();
        return false;
    }
    Zone read;
    if (!ZoneFileReader(file).Read(read)) {
        error = EINVAL;
        return false;
    }
    zone = read;
    return true;
}

bool ReadNamedZone(const char* name, Zone& zone) noexcept {
    // No way out of the folder.
    if (*name == '\0' || std::strstr(name, "..") != nullptr) return false;
    int error = 0;
    if (*name == '/') {
        // A program with raised rights doesn't read the files that its user names.
        return secure_getenv("TZ") != nullptr && ReadZoneFile(name, zone, error);
    }
    const char* folder = secure_getenv("TZDIR");
    if (folder == nullptr || *folder == '\0') folder = kZoneFolder;
    const std::size_t folderLength = std::strlen(folder);
    const std::size_t nameLength = std::strlen(name);
    char path[kMaxPath];
    if (folderLength + 1 + nameLength >= sizeof path) return false;
    std::memcpy(path, folder, folderLength);
    path[folderLength] = '/';
    std::memcpy(path + folderLength + 1, name, nameLength + 1);
    return ReadZoneFile(path, zone, error);
}

/// The zone that a value of TZ stands for: a file's if there is one of that name, else the rule
/// itself, else UTC; the order and the last resort are those of the C library.
Zone ZoneFromValue(const char* value) noexcept {
    if (*value == ':') ++value;
    Zone zone;
    if (ReadNamedZone(value, zone)) return zone;
    Zone rule;
    if (ZoneRuleParser(value, std::strlen(value)).Parse(rule)) return rule;
    return Zone();
}

/// The zone by TZ or of the system; an error number if there is none.
int CurrentZone(Zone& zone) noexcept {
    const MutexGuard guard(zoneMutex);
    const char* value = getenv("TZ");
    if (value != nullptr && std::strlen(value) >= kMaxPath) {
        zone = Zone();
        return 0;
    }
    ZoneCache& cache = zoneCache;
    const bool hasValue = value != nullptr;
    if (!cache.filled || cache.hasValue != hasValue ||
        (hasValue && std::strcmp(cache.value, value) != 0)) {
        cache.error = 0;
        if (hasValue) {
            cache.zone = ZoneFromValue(value);
            std::strcpy(cache.value, value);
        } else {
            ReadZoneFile(kSystemZone, cache.zone, cache.error);
        }
        cache.hasValue = hasValue;
        cache.filled = true;
    }
    zone = cache.zone;
    return cache.error;
}

/// The place of a change in seconds from the beginning of a year.
std::int64_t SecondsInYear(const Change& change, std::uint32_t year) noexcept {
    std::uint32_t day = static_cast<std::uint32_t>(change.day);
    switch (change.kind) {
        case Change::Kind::MonthWeekDay: {
            const std::uint32_t month = static_cast<std::uint32_t>(change.month);
            const std::uint32_t first = DaysFromDate({year, month, 1});
            std::uint32_t offset = (day + 7 - DayOfWeek(first)) % 7;
            offset += (static_cast<std::uint32_t>(change.week) - 1) * 7;
            if (offset >= DaysOfMonth(year, month)) offset -= 7;
            day = first + offset - DaysFromDate({year, 1, 1});
            break;
        }
        case Change::Kind::DayWithoutLeapDay:
            // Counted as if there were no 29 February: 1 March is always 60.
            if (day < 60 || !IsLeapYear(year)) --day;
            break;
        case Change::Kind::DayOfYear:
            break;
    }
    return day * kSecondsPerDay + change.time;
}

SystemTime TimeOfChange(const Change& change, std::uint32_t year) noexcept {
    SystemTime time;
    if (change.IsRule()) {
        time.month = static_cast<std::uint16_t>(change.month);
        time.dayOfWeek = static_cast<std::uint16_t>(change.day);
        time.day = static_cast<std::uint16_t>(change.week);
        time.hour = static_cast<std::uint16_t>(change.time / 3600);
        time.minute = static_cast<std::uint16_t>(change.time / 60 % 60);
        time.second = static_cast<std::uint16_t>(change.time % 60);
        return time;
    }
    // A date is good for its own year alone; a change that its time of day moves into the next or
    // the last year stands at this one's end or beginning.
    const std::uint32_t first = DaysFromDate({year, 1, 1});
    const std::int64_t length = (IsLeapYear(year) ? 366 : 365) * kSecondsPerDay;
    const std::int64_t place = std::clamp<std::int64_t>(SecondsInYear(change, year), 0, length - 1);
    FileTimeToSystemTime(first * kUnitsPerDay + static_cast<std::uint64_t>(place) * kUnitsPerSecond,
                         time);
    return time;
}

/// Daylight time from the beginning of the year to its end, which is how a zone file tells a
/// daylight time for good.
bool DaylightAllYear(const Zone& zone, std::uint32_t year) noexcept {
    if (zone.daylightStart.kind == Change::Kind::MonthWeekDay ||
        zone.standardStart.kind == Change::Kind::MonthWeekDay) {
        return false;
    }
    const std::int64_t length = (IsLeapYear(year) ? 366 : 365) * kSecondsPerDay;
    return SecondsInYear(zone.daylightStart, year) <= 0 &&
           SecondsInYear(zone.standardStart, year) >=
               length + zone.standardWest - zone.daylightWest;
}

/// Rounded to the nearest minute.
std::int32_t Minutes(std::int64_t seconds) noexcept {
    return static_cast<std::int32_t>((seconds + (seconds < 0 ? -30 : 30)) / 60);
}

}  // namespace

bool GetTimeZoneInformation(ZoneInformation& zone) noexcept {
    Zone current;
    if (const int error = CurrentZone(current)) return Failed(static_cast<std::uint32_t>(error));
    ZoneInformation result;
    result.bias = Minutes(current.standardWest);
    if (current.hasDaylight) {
        SystemTime now;
        FileTimeToSystemTime(SystemTimeAsFileTime(), now);
        if (DaylightAllYear(current, now.year)) {
            result.bias = Minutes(current.daylightWest);
        } else {
            result.daylightBias = Minutes(current.daylightWest) - result.bias;
            result.standardDate = TimeOfChange(current.standardStart, now.year);
            result.daylightDate = TimeOfChange(current.daylightStart, now.year);
        }
    }
    zone = result;
    return true;
}

// ---- Display ------------------------------------------------------------------------------------

namespace {

/// The user's locale for times. Texts of a locale are in the character set of its own name, so both
/// categories are made from the name that rules LC_TIME.
class DisplayLocale {
  public:
    DisplayLocale() noexcept {
        constexpr int kMask = LC_TIME_MASK | LC_CTYPE_MASK;
        const char* name = "C";
        for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
            const char* value = getenv(variable);
            if (value != nullptr && *value != '\0') {
                name = value;
                break;
            }
        }
        locale_ = newlocale(kMask, name, locale_t{});
        if (locale_ == locale_t{}) locale_ = newlocale(kMask, "C", locale_t{});
        if (locale_ != locale_t{}) {
            utf8_ = std::strcmp(nl_langinfo_l(CODESET, locale_), "UTF-8") == 0;
        }
    }

    std::size_t Format(const char* format, const tm& time, WideChar* text,
                       std::size_t capacity) const noexcept {
        constexpr std::size_t kLimit = 512;
        char narrow[kLimit];
        if (locale_ == locale_t{}) return Failed(ENOENT);
        const std::size_t size = strftime_l(narrow, sizeof narrow, format, &time, locale_);
        if (size == 0) return Failed(ERANGE);
        const std::ptrdiff_t units =
            NarrowToWide(utf8_ ? CodePage::Utf8 : CodePage::Ansi, 0, narrow, size, text, capacity);
        if (units < 0 || static_cast<std::size_t>(units) > capacity) return Failed(ERANGE);
        return static_cast<std::size_t>(units);
    }

  private:
    // Never freed: a time may be shown as late as the process's exit.
    locale_t locale_ = locale_t{};
    bool utf8_ = false;
};

std::size_t FormatTime(const char* format, const tm& time, WideChar* text,
                       std::size_t capacity) noexcept {
    static const DisplayLocale locale;
    return locale.Format(format, time, text, capacity);
}

tm BrokenDownTime(const SystemTime& time) noexcept {
    const std::uint32_t days = DaysFromDate({time.year, time.month, time.day});
    tm result = {};
    result.tm_year = time.year - 1900;
    result.tm_mon = time.month - 1;
    result.tm_mday = time.day;
    result.tm_hour = time.hour;
    result.tm_min = time.minute;
    result.tm_sec = time.second;
    result.tm_wday = static_cast<int>(DayOfWeek(days));
    result.tm_yday = static_cast<int>(days - DaysFromDate({time.year, 1, 1}));
    result.tm_isdst = -1;
    result.tm_zone = "";
    return result;
}

}  // namespace

std::size_t FormatShortDate(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept {
    if (!IsDate(time)) return Failed(kErrorInvalidParameter);
    SystemTime date = time;
    date.hour = date.minute = date.second = date.millisecond = 0;
    return FormatTime("%x", BrokenDownTime(date), text, capacity);
}

std::size_t FormatTimeOfDay(const SystemTime& time, WideChar* text, std::size_t capacity) noexcept {
    if (!IsTimeOfDay(time)) return Failed(kErrorInvalidParameter);
    // Only the time of day is looked at; the date just has to be one.
    SystemTime timeOfDay = time;
    if (!IsDate(time)) {
        timeOfDay.year = kFirstYear;
        timeOfDay.month = timeOfDay.day = 1;
    }
    return FormatTime("%X", BrokenDownTime(timeOfDay), text, capacity);
}

}  // namespace Platform
