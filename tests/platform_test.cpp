// The services of the operating system: what holds on every system, then what this project's own
// implementations settle where the system has no such service.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <pthread.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#endif

namespace {

using Platform::CodePage;
using Platform::SystemTime;
using Platform::WideChar;
using Platform::ZoneInformation;
using Wide = std::basic_string<WideChar>;

// ---- Helpers ------------------------------------------------------------------------------------

constexpr std::size_t kCanaryUnits = 24;

/// Runs a conversion into a heap block of exactly the size of the text and at several capacities.
/// Checks that a text that fits is whole with nothing behind it touched, and that one that doesn't
/// fit leaves the target alone. The source has a block of its own size, so that the sanitizer sees
/// a read behind it.
template <typename Target, typename Source, typename Convert>
std::basic_string<Target> Converted(std::basic_string_view<Source> text, Convert convert) {
    const auto source = std::make_unique<Source[]>(text.size());
    std::copy(text.begin(), text.end(), source.get());
    const std::ptrdiff_t needed = convert(source.get(), text.size(), nullptr, std::size_t{0});
    EXPECT_GE(needed, 0);
    const std::size_t size = static_cast<std::size_t>(needed);

    const Target canary = static_cast<Target>(0x5A);
    std::basic_string<Target> result(size, canary);
    for (const std::size_t capacity :
         {size, size + 1, size + 7, 3 * text.size() + 1, size > 0 ? size - 1 : 0}) {
        std::vector<Target> target(capacity + kCanaryUnits, canary);
        EXPECT_EQ(convert(source.get(), text.size(), target.data(), capacity), needed);
        const std::size_t written = capacity >= size ? size : 0;
        for (std::size_t i = written; i < target.size(); ++i) {
            EXPECT_EQ(target[i], canary)
                << "size " << size << " capacity " << capacity << " at " << i;
        }
        if (capacity == size) result.assign(target.data(), size);
        if (capacity > size) {
            EXPECT_TRUE(std::equal(result.begin(), result.end(), target.begin()));
        }
    }
    const auto exact = std::make_unique<Target[]>(size);
    EXPECT_EQ(convert(source.get(), text.size(), exact.get(), size), needed);
    return result;
}

std::string ToNarrow(CodePage page, std::uint32_t flags, std::basic_string_view<WideChar> text) {
    return Converted<char>(
        text, [&](const WideChar* from, std::size_t length, char* to, std::size_t capacity) {
            return Platform::WideToNarrow(page, flags, from, length, to, capacity);
        });
}

Wide ToWide(CodePage page, std::uint32_t flags, std::string_view text) {
    return Converted<WideChar>(
        text, [&](const char* from, std::size_t length, WideChar* to, std::size_t capacity) {
            return Platform::NarrowToWide(page, flags, from, length, to, capacity);
        });
}

std::string ToUtf8(std::basic_string_view<WideChar> text) {
    return ToNarrow(CodePage::Utf8, 0, text);
}
Wide FromUtf8(std::string_view text) { return ToWide(CodePage::Utf8, 0, text); }

int Compare(std::basic_string_view<WideChar> left, std::basic_string_view<WideChar> right) {
    const auto leftBlock = std::make_unique<WideChar[]>(left.size());
    const auto rightBlock = std::make_unique<WideChar[]>(right.size());
    std::copy(left.begin(), left.end(), leftBlock.get());
    std::copy(right.begin(), right.end(), rightBlock.get());
    return Platform::CompareIgnoreCase(leftBlock.get(), left.size(), rightBlock.get(),
                                       right.size());
}

Wide FromCodePoint(char32_t code) {
    if (code < 0x10000) return Wide(1, static_cast<WideChar>(code));
    return {static_cast<WideChar>(0xD7C0 + (code >> 10)),
            static_cast<WideChar>(0xDC00 + (code & 0x3FF))};
}

void ExpectTime(const SystemTime& time, std::array<int, 8> expected) {
    const std::array<int, 8> actual = {time.year, time.month,  time.dayOfWeek, time.day,
                                       time.hour, time.minute, time.second,    time.millisecond};
    EXPECT_EQ(actual, expected);
}

SystemTime MakeTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                    int millisecond = 0) {
    const auto field = [](int value) { return static_cast<std::uint16_t>(value); };
    return {field(year),   field(month),      0, field(day), field(hour), field(minute),
            field(second), field(millisecond)};
}

constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000;

// ---- Errors -------------------------------------------------------------------------------------

TEST(PlatformError, LastErrorBelongsToTheThread) {
    // The threads wait without calls of the system, which may set the number.
    std::atomic<int> step{0};
    std::uint32_t first = 4711;
    std::thread other([&] {
        while (step != 1) {
        }
        first = Platform::LastError();
        Platform::SetLastError(7);
        step = 2;
    });
    Platform::SetLastError(0x8007007A);
    step = 1;
    while (step != 2) {
    }
    EXPECT_EQ(Platform::LastError(), 0x8007007Au);
    other.join();
    EXPECT_EQ(first, 0u);
    Platform::SetLastError(0);
    EXPECT_EQ(Platform::LastError(), 0u);
}

// ---- UTF-8 --------------------------------------------------------------------------------------

TEST(PlatformUtf8, Empty) {
    EXPECT_EQ(Platform::WideToNarrow(CodePage::Utf8, 0, nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(Platform::NarrowToWide(CodePage::Utf8, 0, nullptr, 0, nullptr, 0), 0);
}

TEST(PlatformUtf8, LengthsOfSequences) {
    const Wide wide = TMX_WIDE("\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF");
    const std::string narrow =
        "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
        "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(ToUtf8(wide), narrow);
    EXPECT_EQ(FromUtf8(narrow), wide);
}

TEST(PlatformUtf8, EveryCodePointRoundTrips) {
    Wide all;
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (code < 0xD800 || code > 0xDFFF) all += FromCodePoint(code);
    }
    std::string narrow(3 * all.size(), '\0');
    const std::ptrdiff_t size = Platform::WideToNarrow(CodePage::Utf8, 0, all.data(), all.size(),
                                                       narrow.data(), narrow.size());
    // 128 of one byte, 1920 of two, 61440 of three, 1048576 of four.
    ASSERT_EQ(size, 128 + 2 * 1920 + 3 * 61440 + 4 * 1048576);
    Wide back(all.size(), 0);
    ASSERT_EQ(Platform::NarrowToWide(CodePage::Utf8, 0, narrow.data(),
                                     static_cast<std::size_t>(size), back.data(), back.size()),
              static_cast<std::ptrdiff_t>(all.size()));
    EXPECT_TRUE(back == all);
}

TEST(PlatformUtf8, UnpairedSurrogatesAreReplaced) {
    const std::string bad = "\xEF\xBF\xBD";
    EXPECT_EQ(ToUtf8(Wide{0xD800}), bad);
    EXPECT_EQ(ToUtf8(Wide{0xDFFF}), bad);
    EXPECT_EQ(ToUtf8(Wide{'a', 0xDBFF, 'b'}), "a" + bad + "b");
    EXPECT_EQ(ToUtf8(Wide{0xDC00, 0xD800}), bad + bad);
    EXPECT_EQ(ToUtf8(Wide{0xD801, 0xD801, 0xDC00}), bad + "\xF0\x90\x90\x80");
    EXPECT_EQ(ToUtf8(Wide{0xD801, 0xDC00, 0xDC00}), "\xF0\x90\x90\x80" + bad);
    // A pair across the border of a block of eight.
    EXPECT_EQ(ToUtf8(Wide{'1', '2', '3', '4', '5', '6', 0xE4, 0xD801, 0xDC00, '9'}),
              "123456\xC3\xA4\xF0\x90\x90\x80"
              "9");
}

TEST(PlatformUtf8, IllFormedBytesAreReplaced) {
    const WideChar bad = 0xFFFD;
    // Bytes that begin nothing.
    for (const unsigned byte : {0x80u, 0xBFu, 0xC0u, 0xC1u, 0xF5u, 0xF8u, 0xFCu, 0xFEu, 0xFFu}) {
        EXPECT_EQ(FromUtf8(std::string{'a', static_cast<char>(byte), 'b'}), (Wide{'a', bad, 'b'}))
            << byte;
    }
    // Cut at the end of the text.
    EXPECT_EQ(FromUtf8("\xC3"), Wide{bad});
    EXPECT_EQ(FromUtf8("\xE2\x82"), Wide{bad});
    EXPECT_EQ(FromUtf8("\xF0\x9F\x98"), Wide{bad});
    EXPECT_EQ(FromUtf8("\xE2"), Wide{bad});
    // Cut by a beginning of another sequence.
    EXPECT_EQ(FromUtf8("\xC3\xC3\xA4"), (Wide{bad, 0xE4}));
    EXPECT_EQ(FromUtf8("\xF0\x9F\xE2\x82\xAC"), (Wide{bad, 0x20AC}));
    EXPECT_EQ(FromUtf8("\xEF\xBB\xBF"
                       "a"),
              TMX_WIDE("\uFEFFa"));
}

TEST(PlatformUtf8, EveryLengthAroundTheBlocks) {
    for (std::size_t length = 0; length <= 70; ++length) {
        std::string narrow;
        Wide wide;
        for (std::size_t i = 0; i < length; ++i) {
            narrow += static_cast<char>('!' + i);
            wide += static_cast<WideChar>('!' + i);
        }
        EXPECT_EQ(ToUtf8(wide), narrow);
        EXPECT_EQ(FromUtf8(narrow), wide);
        for (std::size_t at = 0; at < length; ++at) {
            Wide withEuro = wide;
            withEuro[at] = 0x20AC;
            const std::string expected =
                narrow.substr(0, at) + "\xE2\x82\xAC" + narrow.substr(at + 1);
            EXPECT_EQ(ToUtf8(withEuro), expected);
            EXPECT_EQ(FromUtf8(expected), withEuro);
        }
    }
}

TEST(PlatformUtf8, ZeroUnitsAreUnitsLikeOthers) {
    EXPECT_EQ(ToUtf8(Wide{'a', 0, 'b'}), std::string("a\0b", 3));
    EXPECT_EQ(FromUtf8(std::string_view("a\0b", 3)), (Wide{'a', 0, 'b'}));
}

TEST(PlatformText, AnUnknownPageFails) {
    char narrow[4] = {};
    WideChar wide[4] = {};
    Platform::SetLastError(0);
    EXPECT_LT(Platform::WideToNarrow(static_cast<CodePage>(77777), 0, TMX_WIDE("a"), 1, narrow, 4),
              0);
    EXPECT_EQ(Platform::LastError(), 87u);
    Platform::SetLastError(0);
    EXPECT_LT(Platform::NarrowToWide(static_cast<CodePage>(77777), 0, "a", 1, wide, 4), 0);
    EXPECT_EQ(Platform::LastError(), 87u);
    EXPECT_EQ(narrow[0], 0);
    EXPECT_EQ(wide[0], 0);
}

// ---- Comparison ---------------------------------------------------------------------------------

TEST(PlatformCompare, AsciiWithoutCase) {
    EXPECT_EQ(Compare({}, {}), 2);
    EXPECT_EQ(Compare(TMX_WIDE("Camera 1"), TMX_WIDE("cAMERA 1")), 2);
    EXPECT_EQ(Compare(TMX_WIDE("a"), TMX_WIDE("B")), 1);
    EXPECT_EQ(Compare(TMX_WIDE("B"), TMX_WIDE("a")), 3);
    EXPECT_EQ(Compare(TMX_WIDE("abc"), TMX_WIDE("ABCD")), 1);
    EXPECT_EQ(Compare(TMX_WIDE("ABCD"), TMX_WIDE("abc")), 3);
    EXPECT_EQ(Compare({}, TMX_WIDE("a")), 1);
    EXPECT_EQ(Compare(TMX_WIDE("a"), {}), 3);
}

TEST(PlatformCompare, AsciiAtEveryPlace) {
    for (std::size_t length = 1; length <= 40; ++length) {
        const Wide lower(length, 'k');
        EXPECT_EQ(Compare(lower, Wide(length, 'K')), 2);
        for (std::size_t at = 0; at < length; ++at) {
            Wide other(length, 'K');
            other[at] = 'L';
            EXPECT_EQ(Compare(lower, other), 1);
            EXPECT_EQ(Compare(other, lower), 3);
        }
    }
}

// ---- Calendar -----------------------------------------------------------------------------------

TEST(PlatformCalendar, KnownTimes) {
    SystemTime time;
    ASSERT_TRUE(Platform::FileTimeToSystemTime(0, time));
    ExpectTime(time, {1601, 1, 1, 1, 0, 0, 0, 0});
    ASSERT_TRUE(Platform::FileTimeToSystemTime(kUnixEpoch, time));
    ExpectTime(time, {1970, 1, 4, 1, 0, 0, 0, 0});
    // 2000-02-29 23:59:59.9999999, a Tuesday: what is below a millisecond is dropped.
    ASSERT_TRUE(Platform::FileTimeToSystemTime(kUnixEpoch + 951'868'800ull * 10'000'000 - 1, time));
    ExpectTime(time, {2000, 2, 2, 29, 23, 59, 59, 999});
    ASSERT_TRUE(Platform::FileTimeToSystemTime(0x7FFFFFFFFFFFFFFF, time));
    ExpectTime(time, {30828, 9, 4, 14, 2, 48, 5, 477});
    // 2026-11-15 11:00 UTC, a Sunday.
    ASSERT_TRUE(Platform::FileTimeToSystemTime(kUnixEpoch + 1'794'740'400ull * 10'000'000, time));
    ExpectTime(time, {2026, 11, 0, 15, 11, 0, 0, 0});
}

TEST(PlatformCalendar, AFileTimeWithItsTopBitSetFails) {
    for (const std::uint64_t fileTime : {0x8000000000000000ull, 0xFFFFFFFFFFFFFFFFull}) {
        SystemTime time = MakeTime(2026, 1, 2);
        Platform::SetLastError(0);
        EXPECT_FALSE(Platform::FileTimeToSystemTime(fileTime, time));
        EXPECT_EQ(Platform::LastError(), 87u);
        EXPECT_EQ(time.year, 2026);
    }
}

TEST(PlatformCalendar, EveryDayRoundTrips) {
    // Counted up by the plain rules of the calendar.
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::uint64_t fileTime = 0;
    int weekday = 1;
    for (int year = 1601; year <= 30827; ++year) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (int month = 1; month <= 12; ++month) {
            const int days = kDays[month - 1] + (month == 2 && leap ? 1 : 0);
            // The whole of the first 800 years; later the borders of the months only.
            for (int day = 1; day <= days; ++day) {
                if (year < 2401 || day == 1 || day >= 28) {
                    SystemTime time;
                    ASSERT_TRUE(Platform::FileTimeToSystemTime(fileTime + 450'610'070'000, time));
                    ASSERT_EQ(time.year, year);
                    ASSERT_EQ(time.month, month);
                    ASSERT_EQ(time.day, day);
                    ASSERT_EQ(time.dayOfWeek, weekday);
                    ASSERT_EQ(time.hour, 12);
                    ASSERT_EQ(time.minute, 31);
                    ASSERT_EQ(time.second, 1);
                    ASSERT_EQ(time.millisecond, 7);
                    std::uint64_t back = 0;
                    time.dayOfWeek = 99;  // not looked at
                    ASSERT_TRUE(Platform::SystemTimeToFileTime(time, back));
                    ASSERT_EQ(back, fileTime + 450'610'070'000);
                }
                fileTime += 864'000'000'000;
                weekday = (weekday + 1) % 7;
            }
            std::uint64_t ignored = 0;
            ASSERT_FALSE(Platform::SystemTimeToFileTime(MakeTime(year, month, days + 1), ignored));
        }
    }
}

TEST(PlatformCalendar, FieldsOutOfRangeFail) {
    std::uint64_t fileTime = 4711;
    ASSERT_TRUE(Platform::SystemTimeToFileTime(MakeTime(30827, 12, 31, 23, 59, 59, 999), fileTime));
    ASSERT_TRUE(Platform::SystemTimeToFileTime(MakeTime(1601, 1, 1), fileTime));
    EXPECT_EQ(fileTime, 0u);
    fileTime = 4711;
    const SystemTime bad[] = {MakeTime(1600, 12, 31),
                              MakeTime(30828, 1, 1),
                              MakeTime(0, 1, 1),
                              MakeTime(2026, 0, 1),
                              MakeTime(2026, 13, 1),
                              MakeTime(2026, 1, 0),
                              MakeTime(2026, 1, 32),
                              MakeTime(2026, 2, 29),
                              MakeTime(1900, 2, 29),
                              MakeTime(2026, 1, 1, 24),
                              MakeTime(2026, 1, 1, 0, 60),
                              MakeTime(2026, 1, 1, 0, 0, 60),
                              MakeTime(2026, 1, 1, 0, 0, 0, 1000),
                              MakeTime(65535, 65535, 65535)};
    for (const SystemTime& time : bad) {
        Platform::SetLastError(0);
        EXPECT_FALSE(Platform::SystemTimeToFileTime(time, fileTime)) << time.year << time.month;
        EXPECT_EQ(Platform::LastError(), 87u);
        EXPECT_EQ(fileTime, 4711u);
    }
}

TEST(PlatformCalendar, NowIsAfterThisWasWrittenAndDoesNotStand) {
    const std::uint64_t first = Platform::SystemTimeAsFileTime();
    // 2026-01-01 and 2200-01-01.
    EXPECT_GT(first, 134'116'992'000'000'000u);
    EXPECT_LT(first, 189'027'648'000'000'000u);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::uint64_t second = Platform::SystemTimeAsFileTime();
    EXPECT_GE(second, first + 10 * 10'000);
    EXPECT_LT(second, first + 60 * 10'000'000ull);
}

// ---- Threads ------------------------------------------------------------------------------------

TEST(PlatformLock, KeepsOthersOut) {
    Platform::CriticalSection lock;
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    int count = 0;
    bool inside = false;
    std::atomic<int> clashes{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const std::lock_guard<Platform::CriticalSection> guard(lock);
                if (inside) ++clashes;
                inside = true;
                ++count;
                // Now and then long enough that the others give up spinning.
                if (i % 5000 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
                inside = false;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(count, kThreads * kRounds);
    EXPECT_EQ(clashes, 0);
}

std::atomic<int> endedThreads{0};
std::atomic<void*> endedValue{nullptr};
std::atomic<void*> slotDuringEnd{nullptr};

void OnThreadEnd(void* value) {
    endedValue = value;
    slotDuringEnd = Platform::GetThreadSlot();
    ++endedThreads;
}

class PlatformSlot : public testing::Test {
  protected:
    void SetUp() override {
        endedThreads = 0;
        endedValue = nullptr;
        slotDuringEnd = &endedThreads;
    }
    void TearDown() override { Platform::FreeThreadSlot(); }
};

TEST_F(PlatformSlot, EveryThreadHasItsOwnValueAndGivesItBack) {
    ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
    int mine = 0;
    int other = 0;
    EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
    ASSERT_TRUE(Platform::SetThreadSlot(&mine));
    EXPECT_EQ(Platform::GetThreadSlot(), &mine);
    std::thread([&] {
        EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
        EXPECT_TRUE(Platform::SetThreadSlot(&other));
        EXPECT_EQ(Platform::GetThreadSlot(), &other);
    }).join();
    EXPECT_EQ(endedThreads, 1);
    EXPECT_EQ(endedValue, &other);
    // The value that is given back can't be found any more.
    EXPECT_EQ(slotDuringEnd, nullptr);
    EXPECT_EQ(Platform::GetThreadSlot(), &mine);
}

TEST_F(PlatformSlot, ANullValueIsNotGivenBack) {
    ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
    int value = 0;
    std::thread([] {}).join();
    std::thread([&] {
        EXPECT_TRUE(Platform::SetThreadSlot(&value));
        EXPECT_TRUE(Platform::SetThreadSlot(nullptr));
        EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
    }).join();
    EXPECT_EQ(endedThreads, 0);
}

TEST_F(PlatformSlot, AfterFreeingNothingIsGivenBack) {
    ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
    int value = 0;
    ASSERT_TRUE(Platform::SetThreadSlot(&value));
    std::atomic<int> step{0};
    std::thread thread([&] {
        EXPECT_TRUE(Platform::SetThreadSlot(&value));
        step = 1;
        while (step != 2) std::this_thread::yield();
    });
    while (step != 1) std::this_thread::yield();
    Platform::FreeThreadSlot();
    EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
    EXPECT_FALSE(Platform::SetThreadSlot(&value));
    EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
    step = 2;
    thread.join();
    EXPECT_EQ(endedThreads, 0);
}

TEST_F(PlatformSlot, CanBeMadeAgain) {
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
        EXPECT_EQ(Platform::GetThreadSlot(), nullptr);
        int value = 0;
        std::thread([&] { EXPECT_TRUE(Platform::SetThreadSlot(&value)); }).join();
        EXPECT_EQ(endedThreads, i);
        Platform::FreeThreadSlot();
        Platform::FreeThreadSlot();
    }
}

TEST_F(PlatformSlot, FreeingGivesTheSystemsSlotBack) {
    // More often than any system has slots.
    for (int i = 0; i < 5000; ++i) {
        ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd)) << i;
        Platform::FreeThreadSlot();
    }
}

#ifndef _WIN32

// ---- Own services: environment ------------------------------------------------------------------

/// Sets a variable (null: removes it) and restores it.
class ScopedVariable {
  public:
    ScopedVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = getenv(name)) old_ = old;
        Set(value);
    }
    ~ScopedVariable() { Set(old_ ? old_->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    void Set(const char* value) const {
        if (value != nullptr) {
            setenv(name_, value, 1);
        } else {
            unsetenv(name_);
        }
    }
    const char* name_;
    std::optional<std::string> old_;
};

class ScopedFolder {
  public:
    ScopedFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "platform_XXXXXX").string();
        EXPECT_NE(mkdtemp(path.data()), nullptr);
        path_ = path;
    }
    ~ScopedFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScopedFolder(const ScopedFolder&) = delete;
    ScopedFolder& operator=(const ScopedFolder&) = delete;
    std::string Path(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// ---- Own services: errors -----------------------------------------------------------------------

std::string ErrorText(std::uint32_t number) {
    WideChar text[256];
    return ToUtf8({text, Platform::SystemErrorText(number, text, std::size(text))});
}

TEST(PlatformError, TextOfTheSystem) {
    EXPECT_EQ(ErrorText(ENOENT), "No such file or directory");
    EXPECT_EQ(ErrorText(EINVAL), "Invalid argument");
    EXPECT_EQ(ErrorText(0), "Success");
}

TEST(PlatformError, NumbersWithoutText) {
    // 41 and 58 are gaps in the numbers of Linux; 87 is always the one of Windows here.
    for (const std::uint32_t number :
         {41u, 58u, 87u, 4711u, 0x7FFFFFFFu, 0x80000000u, 0x8007007Au, 0x80070057u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ErrorText(number), "") << number;
    }
}

TEST(PlatformError, TextIsCutToCapacity) {
    WideChar text[8];
    std::fill(std::begin(text), std::end(text), WideChar{0x5A});
    EXPECT_EQ(Platform::SystemErrorText(ENOENT, text, 7), 7u);
    EXPECT_EQ(Wide(text, 8), TMX_WIDE("No suchZ"));
    EXPECT_EQ(Platform::SystemErrorText(ENOENT, nullptr, 0), 0u);
    WideChar exact[25];
    EXPECT_EQ(Platform::SystemErrorText(ENOENT, exact, 25), 25u);
}

TEST(PlatformError, AskingForATextKeepsErrno) {
    errno = EBADF;
    ErrorText(ENOENT);
    ErrorText(4711);
    EXPECT_EQ(errno, EBADF);
}

// ---- Own services: UTF-8 ------------------------------------------------------------------------

TEST(PlatformUtf8, IllFormedBytesAreReplacedByMaximalParts) {
    const WideChar bad = 0xFFFD;
    const auto repeat = [&](std::size_t count) { return Wide(count, bad); };
    // The four examples of The Unicode Standard, tables 3-8 to 3-11.
    EXPECT_EQ(FromUtf8("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41"), repeat(8) + TMX_WIDE("A"));
    EXPECT_EQ(FromUtf8("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41"), repeat(8) + TMX_WIDE("A"));
    EXPECT_EQ(FromUtf8("\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42"),
              repeat(5) + TMX_WIDE("A") + repeat(2) + TMX_WIDE("B"));
    EXPECT_EQ(FromUtf8("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), repeat(4) + TMX_WIDE("A"));
    // Borders of the second byte.
    EXPECT_EQ(FromUtf8("\xE0\x9F\xBF"), repeat(3));
    EXPECT_EQ(FromUtf8("\xE0\xA0\x80"), TMX_WIDE("\u0800"));
    EXPECT_EQ(FromUtf8("\xED\xA0\x80"), repeat(3));
    EXPECT_EQ(FromUtf8("\xF0\x8F\xBF\xBF"), repeat(4));
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80"), repeat(4));
}

// ---- Own services: ANSI -------------------------------------------------------------------------

std::string ToAnsi(std::basic_string_view<WideChar> text, std::uint32_t flags = 0) {
    return ToNarrow(CodePage::Ansi, flags, text);
}
Wide FromAnsi(std::string_view text) {
    return ToWide(CodePage::Ansi, Platform::kPrecomposed, text);
}

TEST(PlatformAnsi, EveryByteRoundTrips) {
    for (unsigned value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        const Wide wide = FromAnsi(byte);
        ASSERT_EQ(wide.size(), 1u);
        EXPECT_EQ(ToAnsi(wide), byte);
        EXPECT_EQ(ToAnsi(wide, Platform::kCompositeCheck), byte);
        if (value < 0x80 || value >= 0xA0) {
            EXPECT_EQ(wide[0], value);
        }
    }
}

TEST(PlatformAnsi, TheBytesOfThePageItself) {
    EXPECT_EQ(FromAnsi("\x80\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8E"),
              u"\u20AC\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u017D");
    EXPECT_EQ(
        FromAnsi("\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9E\x9F"),
        u"\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u017E\u0178");
    EXPECT_EQ(FromAnsi("\x81\x8D\x8F\x90\x9D"), (Wide{0x81, 0x8D, 0x8F, 0x90, 0x9D}));
    EXPECT_EQ(ToAnsi(Wide{0x81, 0x8D, 0x8F, 0x90, 0x9D}), "\x81\x8D\x8F\x90\x9D");
}

TEST(PlatformAnsi, ExactlyThePagesUnitsHaveAByte) {
    int known = 0;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const WideChar wide = static_cast<WideChar>(unit);
        char byte = 0;
        ASSERT_EQ(Platform::WideToNarrow(CodePage::Ansi, 0, &wide, 1, &byte, 1), 1);
        if (byte != '?' || unit == '?') ++known;
    }
    EXPECT_EQ(known, 256);
}

TEST(PlatformAnsi, WhatThePageLacksIsAQuestionMark) {
    EXPECT_EQ(ToAnsi(u"a\u0416b"), "a?b");
    EXPECT_EQ(ToAnsi(u"a\U0001F600b"), "a??b");
    EXPECT_EQ(ToAnsi(Wide{0xD800}), "?");
    EXPECT_EQ(ToAnsi(Wide{0x80, 0x9F, 0xFFFF}), "???");
    // No likeness: the fullwidth A and the Kelvin sign aren't A and K.
    EXPECT_EQ(ToAnsi(u"\uFF21\u212A"), "??");
}

TEST(PlatformAnsi, CompositionOfEveryLetter) {
    struct Row {
        WideChar mark;
        const char* bases;
        const char* letters;
    };
    const Row rows[] = {
        {0x300, "AEIOUaeiou", "\xC0\xC8\xCC\xD2\xD9\xE0\xE8\xEC\xF2\xF9"},
        {0x301, "AEIOUYaeiouy", "\xC1\xC9\xCD\xD3\xDA\xDD\xE1\xE9\xED\xF3\xFA\xFD"},
        {0x302, "AEIOUaeiou", "\xC2\xCA\xCE\xD4\xDB\xE2\xEA\xEE\xF4\xFB"},
        {0x303, "ANOano", "\xC3\xD1\xD5\xE3\xF1\xF5"},
        {0x308, "AEIOUYaeiouy", "\xC4\xCB\xCF\xD6\xDC\x9F\xE4\xEB\xEF\xF6\xFC\xFF"},
        {0x30A, "Aa", "\xC5\xE5"},
        {0x30C, "SZsz", "\x8A\x8E\x9A\x9E"},
        {0x327, "Cc", "\xC7\xE7"},
    };
    int composed = 0;
    for (WideChar mark = 0x2F0; mark < 0x380; ++mark) {
        const Row* row = std::find_if(std::begin(rows), std::end(rows),
                                      [&](const Row& r) { return r.mark == mark; });
        for (char base = 0x20; base < 0x7F; ++base) {
            const Wide text{static_cast<WideChar>(base), mark};
            std::string expected{base, '?'};
            const char* place = row == std::end(rows) ? nullptr : std::strchr(row->bases, base);
            if (place != nullptr) {
                expected = row->letters[place - row->bases];
                ++composed;
            }
            ASSERT_EQ(ToAnsi(text, Platform::kCompositeCheck), expected);
            ASSERT_EQ(ToAnsi(text), (std::string{base, '?'}));
        }
    }
    EXPECT_EQ(composed, 58);
}

TEST(PlatformAnsi, CompositionInAText) {
    const auto compose = [](std::basic_string_view<WideChar> text) {
        return ToAnsi(text, Platform::kCompositeCheck);
    };
    EXPECT_EQ(compose(u"u\u0308"), "\xFC");
    EXPECT_EQ(compose(u"Mu\u0308nchen, Cafe\u0301"), "M\xFCnchen, Caf\xE9");
    // One mark only; a composed letter takes no more; a mark in front stands alone.
    EXPECT_EQ(compose(u"a\u0308\u0301"), "\xE4?");
    EXPECT_EQ(compose(u"a\u0301\u0308"), "\xE1?");
    EXPECT_EQ(compose(u"\u00E4\u0301"), "\xE4?");
    EXPECT_EQ(compose(u"\u0308a"), "?a");
    EXPECT_EQ(compose(u"x\u0308a\u0308"), "x?\xE4");
    // At every place of the blocks of eight.
    for (std::size_t before = 0; before < 20; ++before) {
        const Wide text = Wide(before, 'x') + u"o\u0308" + Wide(9, 'y');
        EXPECT_EQ(compose(text), std::string(before, 'x') + "\xF6" + std::string(9, 'y'));
    }
}

TEST(PlatformAnsi, EveryLengthAroundTheBlocks) {
    for (std::size_t length = 0; length <= 50; ++length) {
        for (std::size_t at = 0; at <= length; ++at) {
            std::string narrow(length, 'n');
            Wide wide(length, 'n');
            if (at < length) {
                narrow[at] = '\x80';
                wide[at] = 0x20AC;
            }
            EXPECT_EQ(ToAnsi(wide), narrow);
            EXPECT_EQ(ToAnsi(wide, Platform::kCompositeCheck), narrow);
            EXPECT_EQ(FromAnsi(narrow), wide);
        }
    }
}

// ---- Own services: comparison -------------------------------------------------------------------

TEST(PlatformCompare, SimpleFolding) {
    EXPECT_EQ(Compare(u"\u00C4\u00D6\u00DC", u"\u00E4\u00F6\u00FC"), 2);
    EXPECT_EQ(Compare(u"\u0416\u0423\u041A", u"\u0436\u0443\u043A"), 2);
    EXPECT_EQ(Compare(u"\u1E9E", u"\u00DF"), 2);
    EXPECT_EQ(Compare(u"\u00DF", u"ss"), 3);
    EXPECT_EQ(Compare(u"\u017F", u"S"), 2);
    EXPECT_EQ(Compare(u"\u212A", u"k"), 2);
    EXPECT_EQ(Compare(u"\u212B", u"\u00E5"), 2);
    EXPECT_EQ(Compare(u"\u00B5", u"\u03BC"), 2);
    EXPECT_EQ(Compare(u"\u03A3", u"\u03C2"), 2);
    EXPECT_EQ(Compare(u"\u03C3", u"\u03C2"), 2);
    EXPECT_EQ(Compare(u"\u0130", u"i"), 3);
    EXPECT_EQ(Compare(u"\u0130", u"I"), 3);
    EXPECT_EQ(Compare(u"\u0131", u"I"), 3);
    EXPECT_EQ(Compare(u"I", u"i"), 2);
    EXPECT_EQ(Compare(u"\u13A0", u"\uAB70"), 2);  // Cherokee folds to the capital
    EXPECT_EQ(Compare(u"\u10A0", u"\u2D00"), 2);
    EXPECT_EQ(Compare(u"\uFF21", u"\uFF41"), 2);
    EXPECT_EQ(Compare(u"\u2160", u"\u2170"), 2);
    EXPECT_EQ(Compare(u"\u01C5", u"\u01C6"), 2);
    // Signs between and around the letters don't fold.
    EXPECT_EQ(Compare(u"\u00D7", u"\u00F7"), 1);
    EXPECT_EQ(Compare(u"[", u"{"), 1);
    EXPECT_EQ(Compare(u"@", u"`"), 1);
    EXPECT_EQ(Compare(u"a\u0308", u"\u00E4"), 1);  // no normalisation
    // The order is that of the folded code points: "_" lies between the capitals and the small
    // ones.
    EXPECT_EQ(Compare(u"_", u"A"), 1);
}

TEST(PlatformCompare, SurrogatePairsAreCodePoints) {
    EXPECT_EQ(Compare(u"\U00010400", u"\U00010428"), 2);
    EXPECT_EQ(Compare(u"\U0001E900", u"\U0001E922"), 2);
    EXPECT_EQ(Compare(u"\U00010400", u"\U00010429"), 1);
    EXPECT_EQ(Compare(u"\U0001F600", u"\U0001F601"), 1);
    // Above U+FFFF, though its units are below it.
    EXPECT_EQ(Compare(u"\U00010000", u"\uFFFF"), 3);
    EXPECT_EQ(Compare(u"\uE000", u"\U0010FFFF"), 1);
    // Unpaired ones are themselves: D801 before E000, and before any pair.
    EXPECT_EQ(Compare(Wide{0xD801}, Wide{0xD801}), 2);
    EXPECT_EQ(Compare(Wide{0xD801}, Wide{0xE000}), 1);
    EXPECT_EQ(Compare(Wide{0xD801, 0xDC00}, Wide{0xD801, 0xE000}), 3);
    EXPECT_EQ(Compare(Wide{0xD801}, Wide{0xD801, 0xDC00}), 1);
    EXPECT_EQ(Compare(Wide{0xD801, 0xDC00}, Wide{0xD801}), 3);
    EXPECT_EQ(Compare(Wide{0xDC00, 'A'}, Wide{0xDC00, 'a'}), 2);
    // The high half doesn't fold with a low half that isn't there.
    EXPECT_EQ(Compare(Wide{0xD801, 'x'}, Wide{0xD801, 'X'}), 2);
}

TEST(PlatformCompare, PairsAtEveryPlaceOfTheBlocks) {
    for (std::size_t before = 0; before < 20; ++before) {
        for (std::size_t behind = 0; behind < 20; ++behind) {
            const Wide front(before, 'F');
            const Wide frontLow(before, 'f');
            const Wide back(behind, 'b');
            const Wide backHigh(behind, 'B');
            EXPECT_EQ(Compare(front + u"\U00010400" + back, frontLow + u"\U00010428" + backHigh),
                      2);
            EXPECT_EQ(Compare(front + u"\U00010400" + back, frontLow + u"\U00010429" + backHigh),
                      1);
            const Wide highAlone = frontLow + Wide{0xD801, 0xE000} + backHigh;
            EXPECT_EQ(Compare(front + u"\U00010400" + back, highAlone), 3);
            EXPECT_EQ(Compare(highAlone, front + u"\U00010400" + back), 1);
        }
    }
}

TEST(PlatformCompare, TextsAgreeWithTheirCodePoints) {
    const Wide alphabet[] = {u"a",          u"A",          u"k",      u"\u212A",    u"s",
                             u"\u017F",     u"\u00E4",     u"\u00C4", u"\u0130",    u"\u0416",
                             u"\U00010400", u"\U00010428", u"\uFFFF", Wide{0xD801}, Wide{0xE000}};
    std::mt19937 random(20261);
    for (int round = 0; round < 20000; ++round) {
        std::vector<Wide> left;
        std::vector<Wide> right;
        const std::size_t length = random() % 24;
        const bool near = random() % 4 != 0;
        for (std::size_t i = 0; i < length; ++i) {
            left.push_back(alphabet[random() % std::size(alphabet)]);
            Wide other = alphabet[random() % std::size(alphabet)];
            if (near && Compare(left.back(), other) != 2) other = left.back();
            right.push_back(other);
        }
        if (near && length > 0) right[random() % length] = alphabet[random() % std::size(alphabet)];
        Wide leftText;
        Wide rightText;
        int expected = 2;
        for (std::size_t i = 0; i < length; ++i) {
            leftText += left[i];
            rightText += right[i];
            if (expected == 2) expected = Compare(left[i], right[i]);
        }
        ASSERT_EQ(Compare(leftText, rightText), expected) << round;
    }
}

// ---- Own services: zone -------------------------------------------------------------------------

std::array<int, 8> Fields(const SystemTime& time) {
    return {time.year, time.month,  time.dayOfWeek, time.day,
            time.hour, time.minute, time.second,    time.millisecond};
}

/// year, month, weekday, day or week, hour, minute, second, millisecond
using TimeFields = std::array<int, 8>;
constexpr TimeFields kNone = {};

void ExpectZone(const char* value, int bias, int daylightBias, TimeFields daylight,
                TimeFields standard) {
    SCOPED_TRACE(value);
    const ScopedVariable variable("TZ", value);
    // The second answer comes from what the first has kept.
    for (int i = 0; i < 2; ++i) {
        ZoneInformation zone;
        zone.bias = 4711;
        ASSERT_TRUE(Platform::GetTimeZoneInformation(zone));
        EXPECT_EQ(zone.bias, bias);
        EXPECT_EQ(zone.standardBias, 0);
        EXPECT_EQ(zone.daylightBias, daylightBias);
        EXPECT_EQ(Fields(zone.daylightDate), daylight);
        EXPECT_EQ(Fields(zone.standardDate), standard);
    }
}

void ExpectUtc(const char* value) { ExpectZone(value, 0, 0, kNone, kNone); }

int PresentYear() {
    const time_t now = time(nullptr);
    tm utc = {};
    gmtime_r(&now, &utc);
    return utc.tm_year + 1900;
}

bool IsLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

/// The calendar time at a number of seconds from the beginning of a year, by the C library.
TimeFields InYear(int year, long seconds) {
    tm start = {};
    start.tm_year = year - 1900;
    start.tm_mday = 1;
    const time_t at = timegm(&start) + seconds;
    tm utc = {};
    gmtime_r(&at, &utc);
    return {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_wday, utc.tm_mday,
            utc.tm_hour,        utc.tm_min,     utc.tm_sec,  0};
}

TEST(PlatformZone, NamedZones) {
    const ScopedVariable folder("TZDIR", nullptr);
    ExpectZone("Europe/Berlin", -60, -60, {0, 3, 0, 5, 2, 0, 0, 0}, {0, 10, 0, 5, 3, 0, 0, 0});
    ExpectZone(":Europe/Berlin", -60, -60, {0, 3, 0, 5, 2, 0, 0, 0}, {0, 10, 0, 5, 3, 0, 0, 0});
    ExpectZone("/usr/share/zoneinfo/Europe/Berlin", -60, -60, {0, 3, 0, 5, 2, 0, 0, 0},
               {0, 10, 0, 5, 3, 0, 0, 0});
    ExpectZone("America/New_York", 300, -60, {0, 3, 0, 2, 2, 0, 0, 0}, {0, 11, 0, 1, 2, 0, 0, 0});
    ExpectZone("Australia/Sydney", -600, -60, {0, 10, 0, 1, 2, 0, 0, 0}, {0, 4, 0, 1, 3, 0, 0, 0});
    ExpectZone("Asia/Kolkata", -330, 0, kNone, kNone);
    ExpectZone("UTC", 0, 0, kNone, kNone);
    // Half an hour of daylight time.
    ExpectZone("Australia/Lord_Howe", -630, -30, {0, 10, 0, 1, 2, 0, 0, 0},
               {0, 4, 0, 1, 2, 0, 0, 0});
    // The files tell Irish summer time as the standard one, with a winter time an hour behind.
    ExpectZone("IST-1GMT0,M10.5.0,M3.5.0/1", -60, 60, {0, 10, 0, 5, 2, 0, 0, 0},
               {0, 3, 0, 5, 1, 0, 0, 0});
}

TEST(PlatformZone, Rules) {
    ExpectZone("CET-1CEST,M3.5.0,M10.5.0/3", -60, -60, {0, 3, 0, 5, 2, 0, 0, 0},
               {0, 10, 0, 5, 3, 0, 0, 0});
    ExpectZone("<-03>3", 180, 0, kNone, kNone);
    ExpectZone("<+0545>-5:45", -345, 0, kNone, kNone);
    ExpectZone("XYZ+03:30:20", 210, 0, kNone, kNone);
    ExpectZone("XYZ-0:00:40", -1, 0, kNone, kNone);
    ExpectZone("AAA2BBB-1:30,M1.1.6/23:59:59,M12.4.3/0", 120, -210, {0, 1, 6, 1, 23, 59, 59, 0},
               {0, 12, 3, 4, 0, 0, 0, 0});
    // Without a rule that of the United States holds.
    ExpectZone("AAA5BBB", 300, -60, {0, 3, 0, 2, 2, 0, 0, 0}, {0, 11, 0, 1, 2, 0, 0, 0});
}

TEST(PlatformZone, RulesThatAreDatesOfThePresentYear) {
    const int year = PresentYear();
    const long day = 86400;
    const int leap = IsLeap(year) ? 1 : 0;
    // J60 is 1 March and J59 28 February in every year.
    const TimeFields march = InYear(year, (59 + leap) * day + 7200);
    EXPECT_EQ(march[1], 3);
    EXPECT_EQ(march[3], 1);
    ExpectZone("AAA5BBB,J60,J59/4", 300, -60, march, InYear(year, 58 * day + 14400));
    // Without J the leap day counts.
    ExpectZone("AAA5BBB,59/2,300/0", 300, -60, InYear(year, 59 * day + 7200),
               InYear(year, 300 * day));
    // Thursday of the fourth week and 26 hours: Friday at two, as in Jerusalem.
    const auto monthDay = [&](int month, int week, int weekday) {
        tm first = {};
        first.tm_year = year - 1900;
        first.tm_mon = month - 1;
        first.tm_mday = 1;
        while (true) {
            timegm(&first);
            if (first.tm_wday == weekday && --week == 0) return long{first.tm_yday};
            ++first.tm_mday;
        }
    };
    ExpectZone("IST-2IDT,M3.4.4/26,M10.5.0", -120, -60,
               InYear(year, (monthDay(3, 4, 4) + 1) * day + 7200), {0, 10, 0, 5, 2, 0, 0, 0});
    // A time before midnight, as in Nuuk; weeks 2 and 3.
    ExpectZone("<-02>2<-01>,M4.2.0/-1,M10.3.0/24", 120, -60,
               InYear(year, monthDay(4, 2, 0) * day - 3600),
               InYear(year, (monthDay(10, 3, 0) + 1) * day));
    // A time that leaves the year stays at its border.
    ExpectZone("AAA3BBB,J1/-5,J200/0", 180, -60, InYear(year, 0), InYear(year, (199 + leap) * day));
    ExpectZone("AAA3BBB,J200/0,J365/30", 180, -60, InYear(year, (199 + leap) * day),
               InYear(year, (365 + leap) * day - 1));
}

TEST(PlatformZone, DaylightTimeForGoodIsAZoneWithoutChanges) {
    ExpectZone("EST5EDT,0/0,J365/25", 240, 0, kNone, kNone);
    ExpectZone("XXX3EDT4,0/0,J365/23", 240, 0, kNone, kNone);
}

TEST(PlatformZone, WhatCannotBeUnderstoodIsUtc) {
    for (const char* value : {"",
                              ":",
                              "CE-1",
                              "XYZ",
                              "CET-",
                              "CET-1CE",
                              "CET25",
                              "CET-1:60",
                              "CET-1:00:60",
                              "<-03",
                              "<->3",
                              "<-03>",
                              "CET-1CEST,",
                              "CET-1CEST,M3.5.0",
                              "CET-1CEST,M13.5.0,M10.5.0",
                              "CET-1CEST,M0.5.0,M10.5.0",
                              "CET-1CEST,M3.6.0,M10.5.0",
                              "CET-1CEST,M3.0.0,M10.5.0",
                              "CET-1CEST,M3.5.7,M10.5.0",
                              "CET-1CEST,M3.5,M10.5.0",
                              "CET-1CEST,J0,J100",
                              "CET-1CEST,J366,J100",
                              "CET-1CEST,366,100",
                              "CET-1CEST,M3.5.0/168,M10.5.0",
                              "CET-1CEST,M3.5.0,M10.5.0/3x",
                              "CET-1CEST,M3.5.0,M10.5.0,",
                              "C3T-1",
                              "No/Such_Zone",
                              "/no/such/file",
                              "Europe",
                              "/dev/null",
                              "/dev/zero",
                              "../zoneinfo/Europe/Berlin",
                              "/usr/share/../share/zoneinfo/Europe/Berlin",
                              "Europe/../Asia/Kolkata"}) {
        ExpectUtc(value);
    }
    ExpectUtc(std::string(5000, 'x').c_str());
    ExpectUtc(std::string(4090, 'x').c_str());
}

TEST(PlatformZone, WithoutTzTheSystemsFile) {
    std::error_code ignored;
    const bool exists = std::filesystem::is_regular_file("/etc/localtime", ignored);
    ZoneInformation byPath;
    {
        const ScopedVariable variable("TZ", ":/etc/localtime");
        ASSERT_TRUE(Platform::GetTimeZoneInformation(byPath));
    }
    const ScopedVariable variable("TZ", nullptr);
    Platform::SetLastError(0);
    ZoneInformation zone;
    ASSERT_EQ(Platform::GetTimeZoneInformation(zone), exists);
    if (exists) {
        EXPECT_EQ(std::memcmp(&zone, &byPath, sizeof zone), 0);
    } else {
        EXPECT_EQ(Platform::LastError(), static_cast<std::uint32_t>(ENOENT));
    }
}

/// A zone file with one type of the given offset for version 1 and a transition to a second one in
/// the 64-bit part.
std::string ZoneFile(char version, std::int32_t firstOffset, std::int32_t lastOffset,
                     const std::string& footer) {
    std::string file;
    const auto number = [&](std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8) file += static_cast<char>(value >> shift);
    };
    const auto type = [&](std::int32_t offset) {
        number(static_cast<std::uint32_t>(offset));
        file += std::string(2, '\0');
    };
    const auto header = [&](std::uint32_t times, std::uint32_t types) {
        file += "TZif";
        file += version;
        file += std::string(15, '\0');
        for (const std::uint32_t count : {types, types, 1u, times, types, 4u}) number(count);
    };
    const auto rest = [&](std::size_t leapSize, std::size_t types) {
        file +=
            std::string("ABC\0", 4) + std::string(leapSize, '\0') + std::string(2 * types, '\0');
    };
    header(0, 1);
    type(-7200);
    rest(8, 1);
    header(2, 2);
    for (int i = 0; i < 2; ++i) {
        number(0);
        number(static_cast<std::uint32_t>(1000 + i));
    }
    file += std::string("\0\1", 2);
    type(firstOffset);
    type(lastOffset);
    rest(12, 2);
    return file + footer;
}

TEST(PlatformZone, ZoneFiles) {
    const ScopedFolder folder;
    const ScopedVariable variable("TZDIR", folder.Path("").c_str());
    int files = 0;
    // Every file has a name of its own: an answer is kept by the name.
    const auto put = [&](const std::string& contents) {
        const std::string name = "z_" + std::to_string(++files);
        std::ofstream(folder.Path(name), std::ios::binary) << contents;
        return name;
    };
    const std::string good = ZoneFile('2', 3600, 5400, "\nAAA-3\n");
    ExpectZone(put(good).c_str(), -180, 0, kNone, kNone);
    ExpectZone(folder.Path(put(good)).c_str(), -180, 0, kNone, kNone);
    ExpectZone(put(ZoneFile('4', 3600, 5400, "\nAAA4BBB,M3.5.0,M10.5.0\n")).c_str(), 240, -60,
               {0, 3, 0, 5, 2, 0, 0, 0}, {0, 10, 0, 5, 2, 0, 0, 0});
    // An empty line: the last change stays.
    ExpectZone(put(ZoneFile('2', 3600, 5400, "\n\n")).c_str(), -90, 0, kNone, kNone);
    // Files that can't be understood.
    ExpectUtc(put("").c_str());
    ExpectUtc(put("TZif").c_str());
    ExpectUtc(put(ZoneFile('\0', 3600, 5400, "\nAAA-3\n")).c_str());
    ExpectUtc(put(ZoneFile('2', 3600, 5400, "")).c_str());
    ExpectUtc(put(ZoneFile('2', 3600, 5400, "\nAAA-3")).c_str());
    ExpectUtc(put(ZoneFile('2', 3600, 5400, "AAA-3\n")).c_str());
    ExpectUtc(put(ZoneFile('2', 3600, 5400, "\nAAA!\n")).c_str());
    ExpectUtc(put(ZoneFile('2', 3600, 5400, "\n" + std::string(400, 'A') + "-3\n")).c_str());
    std::string foreign = good;
    foreign[0] = 'X';
    ExpectUtc(put(foreign).c_str());
    for (std::size_t size = 0; size < good.size(); ++size)
        ExpectUtc(put(good.substr(0, size)).c_str());
    // Counts beyond anything the file has.
    std::string huge = good;
    std::fill(huge.begin() + 20, huge.begin() + 44, '\xFF');
    ExpectUtc(put(huge).c_str());
    // A pipe nobody writes to doesn't block.
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    ExpectUtc("pipe");
}

TEST(PlatformZone, AFileIsReadOnceForItsName) {
    const ScopedFolder folder;
    const ScopedVariable variable("TZDIR", folder.Path("").c_str());
    std::ofstream(folder.Path("once"), std::ios::binary) << ZoneFile('2', 0, 0, "\nAAA-3\n");
    ExpectZone("once", -180, 0, kNone, kNone);
    std::filesystem::remove(folder.Path("once"));
    ExpectZone("once", -180, 0, kNone, kNone);
    ExpectZone("BBB-4", -240, 0, kNone, kNone);
    ExpectUtc("once");
}

TEST(PlatformZone, ManyThreadsAsk) {
    const ScopedVariable variable("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                ZoneInformation zone;
                if (!Platform::GetTimeZoneInformation(zone) || zone.bias != -60) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

// ---- Own services: display ----------------------------------------------------------------------

// The locale is made once in a process, so other environments are tried in child processes: this
// program, started with the variable below, prints one text and ends before any test.
constexpr char kShowVariable[] = "PLATFORM_TEST_SHOW";

const bool shown = [] {
    const char* what = getenv(kShowVariable);
    if (what == nullptr) return false;
    const SystemTime time = MakeTime(2026, 3, 5, 17, 4, 9, 8);
    WideChar text[128];
    const std::size_t size = *what == 'd' ? Platform::FormatShortDate(time, text, std::size(text))
                                          : Platform::FormatTimeOfDay(time, text, std::size(text));
    char narrow[384];
    const std::ptrdiff_t bytes =
        Platform::WideToNarrow(CodePage::Utf8, 0, text, size, narrow, sizeof narrow);
    _exit(write(STDOUT_FILENO, narrow, static_cast<std::size_t>(bytes)) == bytes ? 0 : 1);
}();

std::string RunCommand(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    if (pipe == nullptr) return output;
    char buffer[512];
    while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe))
        output.append(buffer, size);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

std::string Show(const char* what, const std::string& environment) {
    return RunCommand("env -u LC_ALL -u LC_TIME -u LC_CTYPE -u LANG " + environment + " " +
                      kShowVariable + "=" + what + " '" +
                      std::filesystem::read_symlink("/proc/self/exe").string() + "'");
}

TEST(PlatformDisplay, PlainLocale) {
    EXPECT_FALSE(shown);
    EXPECT_EQ(Show("date", ""), "03/05/26");
    EXPECT_EQ(Show("time", ""), "17:04:09");
    EXPECT_EQ(Show("date", "LC_ALL=C"), "03/05/26");
    EXPECT_EQ(Show("date", "LC_ALL=xx_NOWHERE"), "03/05/26");
}

TEST(PlatformDisplay, LocaleOfTheEnvironment) {
    // Two locales made for the test from one source, in two character sets. Needs localedef with
    // the character maps (Debian: libc-bin, locales).
    const ScopedFolder folder;
    std::ofstream(folder.Path("source"))
        << "comment_char %\nescape_char /\n"
           "LC_CTYPE\ncopy \"i18n\"\nEND LC_CTYPE\n"
           "LC_TIME\n"
           "abday \"So\";\"Mo\";\"Di\";\"Mi\";\"<U20AC><U00E4>\";\"Fr\";\"Sa\"\n"
           "day \"S1\";\"M2\";\"D3\";\"M4\";\"D5\";\"F6\";\"S7\"\n"
           "abmon \"J\";\"F\";\"M<U00E4>r\";\"A\";\"M\";\"J\";\"J\";\"A\";\"S\";\"O\";\"N\";\"D\"\n"
           "mon \"J\";\"F\";\"M\";\"A\";\"M\";\"J\";\"J\";\"A\";\"S\";\"O\";\"N\";\"D\"\n"
           "d_t_fmt \"%x %X\"\nd_fmt \"%a %j %d.%b.%Y\"\nt_fmt \"%Hh%Mm%S\"\n"
           "am_pm \"\";\"\"\nt_fmt_ampm \"\"\nEND LC_TIME\n";
    for (const char* map : {"UTF-8", "CP1252"}) {
        RunCommand("localedef -c --no-archive -i '" + folder.Path("source") + "' -f " + map + " '" +
                   folder.Path(std::string("test_") + map) + "' >/dev/null 2>&1 || test -e '" +
                   folder.Path(std::string("test_") + map) + "/LC_TIME'");
    }
    const std::string path = "LOCPATH='" + folder.Path("") + "' ";
    // 2026-03-05 was a Thursday, the 64th day of its year.
    const std::string date = "\xE2\x82\xAC\xC3\xA4 064 05.M\xC3\xA4r.2026";
    EXPECT_EQ(Show("date", path + "LC_ALL=test_UTF-8"), date);
    EXPECT_EQ(Show("date", path + "LC_ALL=test_CP1252"), date);
    EXPECT_EQ(Show("date", path + "LC_TIME=test_CP1252 LC_CTYPE=C.utf8 LANG=C"), date);
    EXPECT_EQ(Show("date", path + "LANG=test_UTF-8"), date);
    EXPECT_EQ(Show("date", path + "LC_ALL=C LC_TIME=test_UTF-8"), "03/05/26");
    EXPECT_EQ(Show("date", path + "LC_ALL= LC_TIME=test_UTF-8 LANG=C"), date);
    EXPECT_EQ(Show("time", path + "LC_TIME=test_UTF-8"), "17h04m09");
}

TEST(PlatformDisplay, FitsOrGivesNothing) {
    const SystemTime time = MakeTime(2026, 3, 5, 17, 4, 9, 8);
    for (const auto format : {Platform::FormatShortDate, Platform::FormatTimeOfDay}) {
        WideChar text[128];
        const std::size_t size = format(time, text, std::size(text));
        ASSERT_GT(size, 0u);
        std::vector<WideChar> exact(size + 1, 0x5A);
        EXPECT_EQ(format(time, exact.data(), size), size);
        EXPECT_TRUE(std::equal(text, text + size, exact.begin()));
        EXPECT_EQ(exact[size], 0x5A);
        std::vector<WideChar> small(size, 0x5A);
        Platform::SetLastError(0);
        EXPECT_EQ(format(time, small.data(), size - 1), 0u);
        EXPECT_EQ(Platform::LastError(), static_cast<std::uint32_t>(ERANGE));
        EXPECT_EQ(small, std::vector<WideChar>(size, 0x5A));
        EXPECT_EQ(format(time, nullptr, 0), 0u);
    }
}

TEST(PlatformDisplay, BadFieldsFail) {
    WideChar text[128];
    Platform::SetLastError(0);
    EXPECT_EQ(Platform::FormatShortDate(MakeTime(2026, 2, 29), text, 128), 0u);
    EXPECT_EQ(Platform::LastError(), 87u);
    Platform::SetLastError(0);
    EXPECT_EQ(Platform::FormatTimeOfDay(MakeTime(2026, 2, 28, 24), text, 128), 0u);
    EXPECT_EQ(Platform::LastError(), 87u);
    // Each looks at its own half only.
    EXPECT_GT(Platform::FormatShortDate(MakeTime(2026, 2, 28, 24, 60, 60), text, 128), 0u);
    EXPECT_GT(Platform::FormatTimeOfDay(MakeTime(0, 0, 0, 23, 59, 59), text, 128), 0u);
}

// ---- Own services: threads ----------------------------------------------------------------------

TEST_F(PlatformSlot, WithoutAKeyThereIsNoSlot) {
    std::vector<pthread_key_t> keys;
    pthread_key_t key = 0;
    while (pthread_key_create(&key, nullptr) == 0) keys.push_back(key);
    int value = 0;
    Platform::SetLastError(0);
    const bool made = Platform::AllocateThreadSlot(OnThreadEnd);
    const std::uint32_t error = Platform::LastError();
    const bool set = Platform::SetThreadSlot(&value);
    void* const got = Platform::GetThreadSlot();
    Platform::FreeThreadSlot();
    for (const pthread_key_t used : keys) pthread_key_delete(used);
    EXPECT_FALSE(made);
    EXPECT_EQ(error, static_cast<std::uint32_t>(EAGAIN));
    EXPECT_FALSE(set);
    EXPECT_EQ(got, nullptr);
    EXPECT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
}

TEST_F(PlatformSlot, IsMadeOnce) {
    ASSERT_TRUE(Platform::AllocateThreadSlot(OnThreadEnd));
    EXPECT_FALSE(Platform::AllocateThreadSlot(nullptr));
    int value = 0;
    std::thread([&] { EXPECT_TRUE(Platform::SetThreadSlot(&value)); }).join();
    EXPECT_EQ(endedValue, &value);
}

std::atomic<int> laterValues{0};
int laterValue = 0;

void SetsAnother(void*) {
    if (laterValues++ == 0) Platform::SetThreadSlot(&laterValue);
}

TEST_F(PlatformSlot, AValueSetWhileAThreadEndsIsGivenBackToo) {
    laterValues = 0;
    ASSERT_TRUE(Platform::AllocateThreadSlot(SetsAnother));
    int value = 0;
    std::thread([&] { EXPECT_TRUE(Platform::SetThreadSlot(&value)); }).join();
    EXPECT_EQ(laterValues, 2);
}

// ---- Own services: debugger output --------------------------------------------------------------

/// Puts a socket that keeps each write apart in place of the standard error stream.
class CapturedError {
  public:
    CapturedError() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_), 0);
        saved_ = dup(STDERR_FILENO);
        dup2(ends_[1], STDERR_FILENO);
    }
    ~CapturedError() {
        dup2(saved_, STDERR_FILENO);
        for (const int file : {saved_, ends_[0], ends_[1]}) close(file);
    }
    CapturedError(const CapturedError&) = delete;
    CapturedError& operator=(const CapturedError&) = delete;

    /// The writes so far.
    std::vector<std::string> Writes() const {
        std::vector<std::string> result;
        std::vector<char> buffer(100000);
        while (true) {
            const ssize_t size = recv(ends_[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (size <= 0) return result;
            result.emplace_back(buffer.data(), static_cast<std::size_t>(size));
        }
    }

  private:
    int ends_[2] = {-1, -1};
    int saved_ = -1;
};

using Texts = std::vector<std::string>;

bool IsTraced() {
    const std::string status = Contents("/proc/self/status");
    const std::size_t at = status.find("TracerPid:\t");
    return at != std::string::npos && status[at + 11] != '0';
}

TEST(PlatformDebugOutput, ToStandardErrorInOneWrite) {
    const ScopedVariable variable("ZINC_DEBUG_OUTPUT", "stderr");
    const CapturedError captured;
    Platform::OutputDebugText("narrow \xE4\n");
    Platform::OutputDebugText(TMX_WIDE("wide \u20AC\U0001F600"));
    Platform::OutputDebugText("");
    Platform::OutputDebugText(TMX_WIDE(""));
    Platform::OutputDebugText(static_cast<const char*>(nullptr));
    Platform::OutputDebugText(static_cast<const WideChar*>(nullptr));
    EXPECT_EQ(captured.Writes(), (Texts{"narrow \xE4\n", "wide \xE2\x82\xAC\xF0\x9F\x98\x80"}));
}

TEST(PlatformDebugOutput, LongTextsAreOneWriteToo) {
    const ScopedVariable variable("ZINC_DEBUG_OUTPUT", "stderr");
    for (const std::size_t length : {511u, 512u, 513u, 20000u}) {
        const CapturedError captured;
        Platform::OutputDebugText(Wide(length, 0x20AC).c_str());
        std::string expected;
        for (std::size_t i = 0; i < length; ++i) expected += "\xE2\x82\xAC";
        EXPECT_EQ(captured.Writes(), Texts{expected}) << length;
    }
}

TEST(PlatformDebugOutput, IsAppendedToAFile) {
    const ScopedFolder folder;
    const std::string path = folder.Path("debug.txt");
    const ScopedVariable variable("ZINC_DEBUG_OUTPUT", path.c_str());
    const CapturedError captured;
    errno = EBADF;
    Platform::SetLastError(4711);
    Platform::OutputDebugText("one ");
    Platform::OutputDebugText(TMX_WIDE("two \u00E4"));
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(Platform::LastError(), 4711u);
    EXPECT_EQ(Contents(path), "one two \xC3\xA4");
    EXPECT_EQ(captured.Writes(), Texts{});
    Platform::SetLastError(0);
}

TEST(PlatformDebugOutput, AFileThatCannotBeOpenedDropsTheText) {
    const ScopedFolder folder;
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    const CapturedError captured;
    for (const std::string& path : {folder.Path("no/such"), folder.Path(""), folder.Path("pipe")}) {
        const ScopedVariable variable("ZINC_DEBUG_OUTPUT", path.c_str());
        errno = EBADF;
        Platform::OutputDebugText("lost");
        Platform::OutputDebugText(TMX_WIDE("lost"));
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_EQ(captured.Writes(), Texts{});
}

TEST(PlatformDebugOutput, WithoutTheVariableOnlyADebuggerListens) {
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        const ScopedVariable variable("ZINC_DEBUG_OUTPUT", value);
        const CapturedError captured;
        Platform::OutputDebugText("who listens");
        EXPECT_EQ(captured.Writes(), IsTraced() ? Texts{"who listens"} : Texts{});

        if (IsTraced()) continue;  // this process has its debugger already
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // The parent becomes this process's debugger.
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
            Platform::OutputDebugText("narrow");
            Platform::OutputDebugText(TMX_WIDE("wide"));
            _exit(0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        EXPECT_EQ(captured.Writes(), (Texts{"narrow", "wide"}));
    }
}

#endif

}  // namespace
