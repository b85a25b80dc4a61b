#include "zinc/date_time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "zinc/text.h"

namespace {

using Zinc::EZincDateTime;
using Zinc::SystemTime;
using Zinc::TZincDateTime;
using Zinc::WideChar;
using Zinc::WideString;
using Zinc::ZoneInformation;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

// 2026-11-15 11:00:00,000 UTC.
constexpr std::int64_t kNoon = 13439214000000;

TZincDateTime At(std::int64_t utc, int bias) {
    TZincDateTime value;
    value.SetUTCMilliseconds(1, utc, static_cast<std::int16_t>(bias));
    return value;
}

std::string Write(TZincDateTime value) {
    char buffer[Zinc::kDateTimeTextCapacity];
    const std::size_t length = Zinc::DateTimeToText(buffer, value);
    EXPECT_EQ(std::strlen(buffer), length);
    return std::string(buffer, length);
}

WideString WriteWide(TZincDateTime value) {
    WideChar buffer[Zinc::kDateTimeTextCapacity];
    const std::size_t length = Zinc::DateTimeToText(buffer, value);
    EXPECT_EQ(buffer[length], 0);
    return WideString(buffer, length);
}

TZincDateTime Read(const std::string& text) {
    return Zinc::ParseDateTime(Zinc::AnsiToWide(text).c_str());
}

SystemTime ReadDate(const std::string& text) {
    return Zinc::ParseDateTimeText(Zinc::AnsiToWide(text).c_str(), nullptr);
}

int ReadBias(const std::string& text) {
    return Zinc::ParseBiasText(Zinc::AnsiToWide(text).c_str());
}

std::string FieldsOf(const SystemTime& t) {
    std::string text;
    for (const unsigned field :
         {t.year, t.month, t.dayOfWeek, t.day, t.hour, t.minute, t.second, t.millisecond})
        text += (text.empty() ? "" : " ") + std::to_string(field);
    return text;
}

template <typename Call>
void ExpectDateTimeError(std::uint32_t subcode, const std::string& message, Call call) {
    try {
        call();
        ADD_FAILURE() << "no exception, expected: " << message;
    } catch (const EZincDateTime& error) {
        EXPECT_EQ(error.code, 5U);
        EXPECT_EQ(error.subcode, subcode) << message;
        EXPECT_EQ(error.message, message);
        EXPECT_EQ(error.messageW, Zinc::AnsiToWide(message));
        EXPECT_EQ(error.details, "");
    }
}

template <typename Call>
void ExpectSystemError(std::uint32_t number, const std::string& callName, Call call) {
    try {
        call();
        ADD_FAILURE() << "no exception, expected: " << callName;
    } catch (const Zinc::SystemException& error) {
        EXPECT_EQ(error.code, 2U);
        EXPECT_EQ(error.subcode, number);
        const std::string closing = " [ErrorCode #" + std::to_string(number) + "] in " + callName;
        ASSERT_GE(error.message.size(), closing.size());
        EXPECT_EQ(error.message.substr(error.message.size() - closing.size()), closing);
    }
}

constexpr char kUnderflow[] =
    "SetUTCMilliseconds(): Internal milliseconds underflow. A year below 1601 is not supported.";
constexpr char kOverflow[] = "SetUTCMilliseconds(): Internal milliseconds overflow.";
constexpr char kFileTimeToSystemTimeName[] =
    "struct _SYSTEMTIME __cdecl Zinc::FileTimeToSystemTime(const struct _FILETIME &)";
constexpr char kSystemTimeToFileTimeName[] =
    "struct _FILETIME __cdecl Zinc::SystemTimeToFileTime(const struct _SYSTEMTIME &)";
constexpr char kSystemTimeToMillisecondsName[] =
    "__int64 __cdecl Zinc::SystemTimeToMilliseconds(const struct _SYSTEMTIME &)";

// ---- The value ----------------------------------------------------------------------------------

TEST(DateTimeValueTest, HoldsMillisecondsBelowAndBiasAbove) {
    const TZincDateTime value = At(kNoon, -60);
    EXPECT_EQ(value.Word(), 0xFFC40C390F939780U);
    EXPECT_EQ(value.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon));
    EXPECT_EQ(value.Bias(), -60);
    EXPECT_EQ(At(1, 1).Word(), 0x0001000000000001U);
    EXPECT_EQ(At(0xFFFFFFFFFFFF, -1).Word(), 0xFFFFFFFFFFFFFFFFU);
    EXPECT_EQ(At(0, -32768).Word(), 0x8000000000000000U);
    EXPECT_EQ(TZincDateTime(0x7FFF000000000002).Bias(), 32767);
    EXPECT_EQ(TZincDateTime(0x7FFF000000000002).UtcMilliseconds(), 2U);
}

TEST(DateTimeValueTest, AClearedValueIsTheBeginningOf1601) {
    EXPECT_EQ(TZincDateTime().Word(), 0U);
    EXPECT_EQ(Write(TZincDateTime()), "1601/01/01 00:00:00,000 GMT+00:00");
}

TEST(DateTimeValueTest, Mode1TakesUtcAndAnyOtherModeLocalTime) {
    TZincDateTime value;
    value.SetUTCMilliseconds(1, kNoon, 300);
    EXPECT_EQ(value.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon));
    for (const int mode : {0, 2, -1}) {
        value.SetUTCMilliseconds(mode, kNoon - 5 * kHour, 300);
        EXPECT_EQ(value.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon));
        EXPECT_EQ(value.Bias(), 300);
        value.SetUTCMilliseconds(mode, kNoon + kHour, -60);
        EXPECT_EQ(value.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon));
        EXPECT_EQ(value.Bias(), -60);
    }
}

TEST(DateTimeValueTest, BelowZeroIsAnUnderflow) {
    TZincDateTime value = At(kNoon, -60);
    ExpectDateTimeError(13, kUnderflow, [&] { value.SetUTCMilliseconds(1, -1, 0); });
    ExpectDateTimeError(13, kUnderflow, [&] { value.SetUTCMilliseconds(0, 59999, -1); });
    ExpectDateTimeError(13, kUnderflow, [&] { value.SetUTCMilliseconds(0, INT64_MIN, 0); });
    ExpectDateTimeError(13, kUnderflow, [&] { value.SetUTCMilliseconds(0, INT64_MIN, -1); });
    // A failure leaves the value as it was.
    EXPECT_EQ(value.Word(), At(kNoon, -60).Word());
    value.SetUTCMilliseconds(0, 60000, -1);
    EXPECT_EQ(value.UtcMilliseconds(), 0U);
    // Local time before 1601 is fine if UTC is not.
    value.SetUTCMilliseconds(0, -60000, 1);
    EXPECT_EQ(value.UtcMilliseconds(), 0U);
}

TEST(DateTimeValueTest, Above48BitsIsAnOverflow) {
    TZincDateTime value;
    value.SetUTCMilliseconds(1, 0xFFFFFFFFFFFF, 0);
    EXPECT_EQ(value.UtcMilliseconds(), 0xFFFFFFFFFFFFU);
    value.SetUTCMilliseconds(0, 0xFFFFFFFFFFFF - 60000, 1);
    EXPECT_EQ(value.UtcMilliseconds(), 0xFFFFFFFFFFFFU);
    ExpectDateTimeError(13, kOverflow, [&] { value.SetUTCMilliseconds(1, 0x1000000000000, 0); });
    ExpectDateTimeError(13, kOverflow, [&] { value.SetUTCMilliseconds(0, 0xFFFFFFFFFFFF, 1); });
    ExpectDateTimeError(13, kOverflow, [&] { value.SetUTCMilliseconds(0, INT64_MAX, 0); });
    ExpectDateTimeError(13, kOverflow, [&] { value.SetUTCMilliseconds(0, INT64_MAX, 1); });
}

TEST(DateTimeValueTest, TheRangeEndsInTheYear10520) {
    EXPECT_EQ(Write(At(0xFFFFFFFFFFFF, 0)).substr(0, 6), "10520/");
    EXPECT_EQ(Zinc::YearFromMilliseconds(TZincDateTime::kMillisecondsMask), 10520U);
}

TEST(DateTimeValueTest, NowIsThePresentInTheSystemsZone) {
    const std::uint64_t before = (Platform::SystemTimeAsFileTime() + 5000) / 10000;
    const TZincDateTime now = TZincDateTime::Now();
    const std::uint64_t after = (Platform::SystemTimeAsFileTime() + 5000) / 10000;
    EXPECT_LE(before, now.UtcMilliseconds());
    EXPECT_LE(now.UtcMilliseconds(), after);
    EXPECT_EQ(now.Bias(), Zinc::BiasAtUtc(now.UtcMilliseconds(), nullptr));
    EXPECT_GT(now.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon - 2 * 365 * kDay));
}

TEST(DateTimeValueTest, LocalFileTimeIsLocalTimeInUnitsOf100Nanoseconds) {
    EXPECT_EQ(TZincDateTime().GetLocalFileTime(), 0U);
    EXPECT_EQ(At(kNoon, -60).GetLocalFileTime(), 134392176000000000U);
    EXPECT_EQ(At(kNoon, 300).GetLocalFileTime(), 134391960000000000U);
    EXPECT_GE(At(0, 1).GetLocalFileTime(), 0x8000000000000000U);
}

// ---- Calls of the system ------------------------------------------------------------------------

TEST(SystemCallTest, FileTimeToSystemTimeFillsEveryField) {
    EXPECT_EQ(FieldsOf(Zinc::FileTimeToSystemTime(0)), "1601 1 1 1 0 0 0 0");
    // 2026-11-15 12:00 is a Sunday.
    EXPECT_EQ(FieldsOf(Zinc::FileTimeToSystemTime(134392176000000000)), "2026 11 0 15 12 0 0 0");
    EXPECT_EQ(FieldsOf(Zinc::FileTimeToSystemTime(134392176123459999)), "2026 11 0 15 12 0 12 345");
}

TEST(SystemCallTest, FileTimeToSystemTimeRaisesForItsTopBit) {
    for (const std::uint64_t fileTime : {std::uint64_t{0x8000000000000000}, UINT64_MAX})
        ExpectSystemError(87, kFileTimeToSystemTimeName,
                          [&] { Zinc::FileTimeToSystemTime(fileTime); });
}

TEST(SystemCallTest, SystemTimeToFileTimeIsItsInverse) {
    EXPECT_EQ(Zinc::SystemTimeToFileTime({1601, 1, 0, 1, 0, 0, 0, 0}), 0U);
    EXPECT_EQ(Zinc::SystemTimeToFileTime({2026, 11, 0, 15, 12, 0, 0, 0}), 134392176000000000U);
    EXPECT_EQ(Zinc::SystemTimeToMilliseconds({2026, 11, 0, 15, 12, 0, 12, 345}),
              kNoon + kHour + 12345);
    EXPECT_EQ(Zinc::SystemTimeToMilliseconds({1970, 1, 0, 1, 0, 0, 0, 0}), 11644473600000);
}

TEST(SystemCallTest, SystemTimeToFileTimeRaisesForWhatIsNoTime) {
    for (const SystemTime& wrong :
         {SystemTime{1600, 12, 0, 31, 0, 0, 0, 0}, SystemTime{2023, 2, 0, 29, 0, 0, 0, 0},
          SystemTime{2026, 13, 0, 1, 0, 0, 0, 0}, SystemTime{2026, 1, 0, 1, 24, 0, 0, 0},
          SystemTime{30828, 1, 0, 1, 0, 0, 0, 0}}) {
        ExpectSystemError(87, kSystemTimeToFileTimeName,
                          [&] { Zinc::SystemTimeToFileTime(wrong); });
        ExpectSystemError(87, kSystemTimeToMillisecondsName,
                          [&] { Zinc::SystemTimeToMilliseconds(wrong); });
    }
}

// ---- Writing ------------------------------------------------------------------------------------

std::string SqlText(const SystemTime& time) {
    char narrow[Zinc::kDateTimeTextCapacity];
    const std::size_t length = Zinc::SystemTimeToSQLStr(narrow, sizeof narrow, time);
    EXPECT_EQ(std::strlen(narrow), length);
    WideChar wide[Zinc::kDateTimeTextCapacity];
    const std::size_t wideLength =
        Zinc::SystemTimeToSQLStr(wide, Zinc::kDateTimeTextCapacity, time);
    EXPECT_EQ(wide[wideLength], 0);
    EXPECT_EQ(WideString(wide, wideLength), Zinc::AnsiToWide(narrow));
    return narrow;
}

TEST(SystemTimeToSQLStrTest, PrintsEveryFieldWithItsLeadingZeros) {
    EXPECT_EQ(SqlText({2026, 11, 0, 15, 12, 34, 56, 789}), "2026/11/15 12:34:56,789");
    EXPECT_EQ(SqlText({1601, 1, 0, 1, 0, 0, 0, 0}), "1601/01/01 00:00:00,000");
    EXPECT_EQ(SqlText({9999, 12, 0, 31, 23, 59, 59, 999}), "9999/12/31 23:59:59,999");
    EXPECT_EQ(SqlText({7, 6, 0, 5, 4, 3, 2, 1}), "0007/06/05 04:03:02,001");
}

TEST(SystemTimeToSQLStrTest, AFieldThatNeedsMoreDigitsIsPrintedWhole) {
    EXPECT_EQ(SqlText({10520, 8, 0, 1, 0, 0, 0, 0}), "10520/08/01 00:00:00,000");
    EXPECT_EQ(SqlText({65535, 65535, 0, 100, 101, 999, 1000, 65535}),
              "65535/65535/100 101:999:1000,65535");
}

std::string BiasText(int bias) {
    char narrow[32];
    const std::size_t length =
        Zinc::BiasToStr(narrow, sizeof narrow, static_cast<std::int16_t>(bias), "");
    EXPECT_EQ(std::strlen(narrow), length);
    WideChar wide[32];
    const std::size_t wideLength =
        Zinc::BiasToStr(wide, std::size(wide), static_cast<std::int16_t>(bias), TMX_WIDE(""));
    EXPECT_EQ(WideString(wide, wideLength), Zinc::AnsiToWide(narrow));
    return narrow;
}

TEST(BiasToStrTest, TheSignIsTheOppositeOfTheBias) {
    EXPECT_EQ(BiasText(0), "GMT+00:00");
    EXPECT_EQ(BiasText(-60), "GMT+01:00");
    EXPECT_EQ(BiasText(300), "GMT-05:00");
    EXPECT_EQ(BiasText(-330), "GMT+05:30");
    EXPECT_EQ(BiasText(210), "GMT-03:30");
    EXPECT_EQ(BiasText(1), "GMT-00:01");
    EXPECT_EQ(BiasText(-1), "GMT+00:01");
}

TEST(BiasToStrTest, TheExtremesPrintWhole) {
    EXPECT_EQ(BiasText(-32768), "GMT+546:08");
    EXPECT_EQ(BiasText(32767), "GMT-546:07");
    EXPECT_EQ(BiasText(6000), "GMT-100:00");
    EXPECT_EQ(BiasText(5999), "GMT-99:59");
}

TEST(BiasToStrTest, ThePrefixStandsInFront) {
    char buffer[32];
    EXPECT_EQ(Zinc::BiasToStr(buffer, sizeof buffer, -60, " "), 10U);
    EXPECT_STREQ(buffer, " GMT+01:00");
    EXPECT_EQ(Zinc::BiasToStr(buffer, sizeof buffer, -60, "zone "), 14U);
    EXPECT_STREQ(buffer, "zone GMT+01:00");
}

TEST(BiasToStrTest, EveryShortBufferHoldsWhatFittedAndRaises) {
    const std::string whole = "ab GMT+01:00";
    for (std::size_t size = 1; size <= whole.size(); ++size) {
        char narrow[16];
        std::memset(narrow, '#', sizeof narrow);
        ExpectSystemError(
            0x8007007A,
            "unsigned __int64 __cdecl Zinc::BiasToStr(char *,unsigned __int64,short,const char *)",
            [&] { Zinc::BiasToStr(narrow, size, -60, "ab "); });
        EXPECT_EQ(std::string(narrow), whole.substr(0, size - 1));
        EXPECT_EQ(narrow[size], '#');
        WideChar wide[16];
        ExpectSystemError(0x8007007A,
                          "unsigned __int64 __cdecl Zinc::BiasToStr(wchar_t *,unsigned "
                          "__int64,short,const wchar_t *)",
                          [&] { Zinc::BiasToStr(wide, size, -60, TMX_WIDE("ab ")); });
        EXPECT_EQ(WideString(wide), Zinc::AnsiToWide(whole.substr(0, size - 1)));
    }
    char narrow[16];
    EXPECT_EQ(Zinc::BiasToStr(narrow, whole.size() + 1, -60, "ab "), whole.size());
    EXPECT_EQ(narrow, whole);
}

TEST(BiasToStrTest, ASizeOfZeroOrAbove31BitsIsAnInvalidArgument) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{0x80000000}}) {
        char buffer[16] = "#";
        ExpectSystemError(
            0x80070057,
            "unsigned __int64 __cdecl Zinc::BiasToStr(char *,unsigned __int64,short,const char *)",
            [&] { Zinc::BiasToStr(buffer, size, 0, " "); });
        EXPECT_STREQ(buffer, size == 0 ? "#" : "");
    }
}

TEST(DateTimeToTextTest, PrintsTheClockOfThePlaceAndItsZone) {
    EXPECT_EQ(Write(At(kNoon, -60)), "2026/11/15 12:00:00,000 GMT+01:00");
    EXPECT_EQ(Write(At(kNoon, 300)), "2026/11/15 06:00:00,000 GMT-05:00");
    EXPECT_EQ(Write(At(kNoon, 0)), "2026/11/15 11:00:00,000 GMT+00:00");
    EXPECT_EQ(Write(At(kNoon + 12345, -330)), "2026/11/15 16:30:12,345 GMT+05:30");
    EXPECT_EQ(WriteWide(At(kNoon, -60)), TMX_WIDE("2026/11/15 12:00:00,000 GMT+01:00"));
    EXPECT_EQ(WriteWide(At(kNoon, 300)), TMX_WIDE("2026/11/15 06:00:00,000 GMT-05:00"));
}

TEST(DateTimeToTextTest, ALocalTimeBefore1601HasNoText) {
    for (const TZincDateTime value : {At(0, 1), At(59999, 1), At(kHour, 61), At(0, 32767)}) {
        ExpectSystemError(87, kFileTimeToSystemTimeName, [&] { Write(value); });
        ExpectSystemError(87, kFileTimeToSystemTimeName, [&] { WriteWide(value); });
    }
    EXPECT_EQ(Write(At(kMinute, 1)), "1601/01/01 00:00:00,000 GMT-00:01");
}

#ifndef _WIN32
TEST(DateTimeToTextTest, TheFailureReadsUnknownSystemError) {
    try {
        Write(At(0, 1));
        FAIL() << "no exception";
    } catch (const Zinc::SystemException& error) {
        EXPECT_EQ(error.message, std::string("Unknown system error [ErrorCode #87] in ") +
                                     kFileTimeToSystemTimeName);
    }
}
#endif

TEST(SystemTimeToStrTest, IsShortDateBlankAndTimeOfDay) {
    const SystemTime time = {2026, 11, 0, 15, 12, 34, 56, 789};
    WideChar date[Zinc::kDateTimeTextCapacity];
    WideChar clock[Zinc::kDateTimeTextCapacity];
    const std::size_t dateLength = Platform::FormatShortDate(time, date, std::size(date));
    const std::size_t clockLength = Platform::FormatTimeOfDay(time, clock, std::size(clock));
    ASSERT_GT(dateLength, 0U);
    ASSERT_GT(clockLength, 0U);

    WideChar text[Zinc::kDateTimeTextCapacity];
    const std::size_t length = Zinc::SystemTimeToStr(text, time);
    EXPECT_EQ(text[length], 0);
    EXPECT_EQ(WideString(text, length),
              WideString(date, dateLength) + WideChar{' '} + WideString(clock, clockLength));
}

TEST(SystemTimeToStrTest, AFailedHalfRaisesUnderItsOwnName) {
    WideChar text[Zinc::kDateTimeTextCapacity];
    ExpectSystemError(87, "TZincDateTime::SystemTimeToStr::GetDateFormat", [&] {
        Zinc::SystemTimeToStr(text, {2026, 13, 0, 15, 12, 0, 0, 0});
    });
    ExpectSystemError(87, "TZincDateTime::SystemTimeToStr::GetTimeFormat", [&] {
        Zinc::SystemTimeToStr(text, {2026, 11, 0, 15, 24, 0, 0, 0});
    });
}

// ---- Reading: date and time of day --------------------------------------------------------------

TEST(ParseDateTimeTextTest, ReadsDateTimeSecondsAndMillisecondsAsFarAsTheyGo) {
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15 12:34:56,789")), "2026 11 0 15 12 34 56 789");
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15 12:34:56")), "2026 11 0 15 12 34 56 0");
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15 12:34")), "2026 11 0 15 12 34 0 0");
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15")), "2026 11 0 15 0 0 0 0");
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15   ")), "2026 11 0 15 0 0 0 0");
}

TEST(ParseDateTimeTextTest, FewerDigitsThanTheMaximumAreFine) {
    EXPECT_EQ(FieldsOf(ReadDate("2026/1/5")), "2026 1 0 5 0 0 0 0");
    EXPECT_EQ(FieldsOf(ReadDate("2026/1/5 1:2:3,4")), "2026 1 0 5 1 2 3 4");
}

TEST(ParseDateTimeTextTest, BlanksMayStandInFrontBehindAndBetween) {
    EXPECT_EQ(FieldsOf(ReadDate("  2026/11/15    12:34:56,789  ")), "2026 11 0 15 12 34 56 789");
}

TEST(ParseDateTimeTextTest, ABlankIsU0020Alone) {
    ExpectDateTimeError(
        3, "Invalid year part in date/time string. Expected a number from 1601 to 9999.",
        [] { ReadDate("\t2026/11/15"); });
    ExpectDateTimeError(10, "' ' expected.", [] { ReadDate("2026/11/15\t12:34"); });
    ExpectDateTimeError(10, "' ' expected.", [] {
        ReadDate(
            "2026/11/15\xA0"
            "12:34");
    });
    ExpectDateTimeError(12, "End of date/time string or \"hour\" expected.",
                        [] { ReadDate("2026/11/15 \t12:34"); });
}

TEST(ParseDateTimeTextTest, DigitsAreAsciiAlone) {
    // Arabic-Indic and fullwidth digits.
    ExpectDateTimeError(
        3, "Invalid year part in date/time string. Expected a number from 1601 to 9999.",
        [] { Zinc::ParseDateTimeText(TMX_WIDE("\u0662\u0660\u0662\u0666/11/15"), nullptr); });
    ExpectDateTimeError(4,
                        "Invalid month part in date/time string. Expected a number from 1 to 12.",
                        [] { Zinc::ParseDateTimeText(TMX_WIDE("2026/\uFF11/15"), nullptr); });
}

TEST(ParseDateTimeTextTest, TheYearIs1601To9999) {
    const char* message =
        "Invalid year part in date/time string. Expected a number from 1601 to 9999.";
    for (const char* text : {"1600/12/31", "0/01/01", "0000/01/01", "", " ", "/01/01", "x",
                             "-2026/01/01", "+2026/01/01"})
        ExpectDateTimeError(3, message, [&] { ReadDate(text); });
    EXPECT_EQ(ReadDate("1601/01/01").year, 1601);
    EXPECT_EQ(ReadDate("9999/12/31").year, 9999);
}

TEST(ParseDateTimeTextTest, AYearHasFourDigitsAtMost) {
    // The year of the first is 1000, that of the second 1601 with a digit too many.
    ExpectDateTimeError(
        3, "Invalid year part in date/time string. Expected a number from 1601 to 9999.",
        [] { ReadDate("10000/01/01"); });
    ExpectDateTimeError(10, "'/' expected.", [] { ReadDate("16010/01/01"); });
}

TEST(ParseDateTimeTextTest, TheMonthIs1To12) {
    const char* message = "Invalid month part in date/time string. Expected a number from 1 to 12.";
    for (const char* text :
         {"2026/0/01", "2026/00/01", "2026/13/01", "2026/99/01", "2026//01", "2026/", "2026/ 1/01"})
        ExpectDateTimeError(4, message, [&] { ReadDate(text); });
    ExpectDateTimeError(10, "'/' expected.", [] { ReadDate("2026/011/01"); });
    ExpectDateTimeError(10, "'/' expected.", [] { ReadDate("2026-11-15"); });
    ExpectDateTimeError(10, "'/' expected.", [] { ReadDate("2026"); });
    ExpectDateTimeError(10, "'/' expected.", [] { ReadDate("2026/11"); });
}

TEST(ParseDateTimeTextTest, TheDayIsWithinItsMonth) {
    constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 1; month <= 12; ++month) {
        const int length = lengths[month - 1];
        const std::string start = "2026/" + std::to_string(month) + "/";
        EXPECT_EQ(ReadDate(start + std::to_string(length)).day, length);
        EXPECT_EQ(ReadDate(start + "1").day, 1);
        const std::string message =
            "Invalid day part in date/time string. Expected a number from 1 to " +
            std::to_string(length) + ".";
        for (const std::string& day : {std::to_string(length + 1), std::string("0"),
                                       std::string("00"), std::string(), std::string("x")})
            ExpectDateTimeError(5, message, [&] { ReadDate(start + day); });
    }
    ExpectDateTimeError(10, "' ' expected.", [] { ReadDate("2026/11/150"); });
}

TEST(ParseDateTimeTextTest, FebruaryHas29DaysInLeapYearsAlone) {
    const char* message = "Invalid day part in date/time string. Expected a number from 1 to 28.";
    EXPECT_EQ(FieldsOf(ReadDate("2024/02/29")), "2024 2 0 29 0 0 0 0");
    EXPECT_EQ(FieldsOf(ReadDate("2000/02/29")), "2000 2 0 29 0 0 0 0");
    ExpectDateTimeError(5, message, [] { ReadDate("2023/02/29"); });
    ExpectDateTimeError(5, message, [] { ReadDate("1900/02/29"); });
    ExpectDateTimeError(5, "Invalid day part in date/time string. Expected a number from 1 to 29.",
                        [] { ReadDate("2024/02/30"); });
}

TEST(ParseDateTimeTextTest, TheTimeOfDayIsWithinTheDay) {
    ExpectDateTimeError(6, "Invalid hour part in date/time string. Expected a number from 0 to 23.",
                        [] { ReadDate("2026/11/15 24:00"); });
    ExpectDateTimeError(7,
                        "Invalid minute part in date/time string. Expected a number from 0 to 59.",
                        [] { ReadDate("2026/11/15 12:60"); });
    ExpectDateTimeError(7,
                        "Invalid minute part in date/time string. Expected a number from 0 to 59.",
                        [] { ReadDate("2026/11/15 12:"); });
    ExpectDateTimeError(8,
                        "Invalid second part in date/time string. Expected a number from 0 to 59.",
                        [] { ReadDate("2026/11/15 12:00:60"); });
    ExpectDateTimeError(8,
                        "Invalid second part in date/time string. Expected a number from 0 to 59.",
                        [] { ReadDate("2026/11/15 12:00: 1"); });
    ExpectDateTimeError(
        9, "Invalid millisecond part in date/time string. Expected a number from 0 to 999.",
        [] { ReadDate("2026/11/15 12:00:00,"); });
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15 23:59:59,999")), "2026 11 0 15 23 59 59 999");
    EXPECT_EQ(FieldsOf(ReadDate("2026/11/15 0:0:0,0")), "2026 11 0 15 0 0 0 0");
}

TEST(ParseDateTimeTextTest, AnHourNeedsItsMinutes) {
    ExpectDateTimeError(10, "':' expected.", [] { ReadDate("2026/11/15 12"); });
    ExpectDateTimeError(10, "':' expected.", [] { ReadDate("2026/11/15 123:00"); });
}

TEST(ParseDateTimeTextTest, AWrongEndTellsWhatCouldFollow) {
    ExpectDateTimeError(12, "End of date/time string or \"hour\" expected.",
                        [] { ReadDate("2026/11/15 x"); });
    ExpectDateTimeError(12, "End of date/time string or \":Seconds\" expected.",
                        [] { ReadDate("2026/11/15 12:34 x"); });
    // Milliseconds need their seconds.
    ExpectDateTimeError(12, "End of date/time string or \":Seconds\" expected.",
                        [] { ReadDate("2026/11/15 12:34,567"); });
    ExpectDateTimeError(12, "End of date/time string or \":Seconds\" expected.",
                        [] { ReadDate("2026/11/15 12:345"); });
    ExpectDateTimeError(12, "End of date/time string or \",Milliseconds\" expected.",
                        [] { ReadDate("2026/11/15 12:34:56.789"); });
    ExpectDateTimeError(12, "End of date/time string or \",Milliseconds\" expected.",
                        [] { ReadDate("2026/11/15 12:34:56,7890"); });
}

TEST(ParseDateTimeTextTest, TellsTheConsumedCountAndLeavesTheRestAlone) {
    const auto consumed = [](const char* text) {
        std::size_t count = 12345;
        Zinc::ParseDateTimeText(Zinc::AnsiToWide(text).c_str(), &count);
        return count;
    };
    EXPECT_EQ(consumed("2026/11/15"), 10U);
    EXPECT_EQ(consumed("2026/11/15 "), 11U);
    EXPECT_EQ(consumed("  2026/11/15  GMT"), 14U);
    EXPECT_EQ(consumed("2026/11/15 12:34 GMT"), 16U);
    EXPECT_EQ(consumed("2026/11/15 12:34:56,789 GMT"), 23U);
    EXPECT_EQ(consumed("2026/11/15 12:34:56,7890"), 23U);
    EXPECT_EQ(consumed("2026/11/15 12:34rest"), 16U);
}

// ---- Reading: zone ------------------------------------------------------------------------------

TEST(ParseBiasTextTest, ReadsBothWordsInAnyCaseWithBlanksBetween) {
    for (const char* text : {"GMT+01:00", "UTC+01:00", "gmt+01:00", "uTc+01:00", "GmT 1:0",
                             "  GMT  +  01:00  ", "GMT01:00", "UTC 01:00"})
        EXPECT_EQ(ReadBias(text), -60) << text;
    EXPECT_EQ(ReadBias("utc - 02:30"), 150);
    EXPECT_EQ(ReadBias("GMT-05:00"), 300);
    EXPECT_EQ(ReadBias("GMT+00:00"), 0);
    EXPECT_EQ(ReadBias("GMT-00:00"), 0);
}

TEST(ParseBiasTextTest, TheMinutesOfAnEasternZoneAreAdded) {
    EXPECT_EQ(ReadBias("GMT+05:30"), -270);
    EXPECT_EQ(ReadBias("GMT 05:30"), -270);
    EXPECT_EQ(ReadBias("GMT+00:30"), 30);
    // The western side is exact.
    EXPECT_EQ(ReadBias("GMT-05:30"), 330);
    EXPECT_EQ(ReadBias("GMT-00:30"), 30);
}

TEST(ParseBiasTextTest, AnythingButTheTwoWordsFails) {
    for (const char* text : {"", " ", "G", "GM", "GMX+01:00", "CET+01:00", "+01:00", "UTG+01:00",
                             "U", "UT", "\tGMT+01:00", "[MT+01:00"})
        ExpectDateTimeError(11, "UTC or GMT in date/time string expected.",
                            [&] { ReadBias(text); });
}

TEST(ParseBiasTextTest, TheZoneNeedsHoursAndMinutes) {
    const char* hour = "Invalid hour part in date/time string. Expected a number from 0 to 14.";
    for (const char* text : {"GMT", "GMT ", "GMT+", "GMT- ", "GMT+-01:00", "GMT:00", "GMTx"})
        ExpectDateTimeError(6, hour, [&] { ReadBias(text); });
    ExpectDateTimeError(10, "':' expected.", [] { ReadBias("GMT+01"); });
    ExpectDateTimeError(10, "':' expected.", [] { ReadBias("GMT+0100"); });
    ExpectDateTimeError(10, "':' expected.", [] { ReadBias("GMT+001:00"); });
    const char* minute = "Invalid minute part in date/time string. Expected a number from 0 to 59.";
    for (const char* text : {"GMT+01:", "GMT+01:60", "GMT+01: 0"})
        ExpectDateTimeError(7, minute, [&] { ReadBias(text); });
}

TEST(ParseBiasTextTest, TheHourLimitIs14) {
    const char* hour = "Invalid hour part in date/time string. Expected a number from 0 to 14.";
    EXPECT_EQ(ReadBias("GMT+14:00"), -840);
    EXPECT_EQ(ReadBias("GMT-14:59"), 899);
    ExpectDateTimeError(6, hour, [] { ReadBias("GMT+15:00"); });
    ExpectDateTimeError(6, hour, [] { ReadBias("GMT-15:00"); });
}

TEST(ParseBiasTextTest, TextBehindTheZoneFailsWithoutAHint) {
    for (const char* text :
         {"GMT+01:00x", "GMT+01:00 x", "GMT+01:000", "GMT+01:00\t", "GMT+01:00:00"})
        ExpectDateTimeError(12, "End of date/time string or expected.", [&] { ReadBias(text); });
}

// ---- Reading: a value ---------------------------------------------------------------------------

TEST(ParseDateTimeTest, ReadsLocalTimeAndZone) {
    EXPECT_EQ(Read("2026/11/15 12:00:00,000 GMT+01:00").Word(), At(kNoon, -60).Word());
    EXPECT_EQ(Read("2026/11/15 06:00:00,000 GMT-05:00").Word(), At(kNoon, 300).Word());
    EXPECT_EQ(Read("2026/11/15 11:00 utc 0:0").Word(), At(kNoon, 0).Word());
    EXPECT_EQ(Read("2026/11/15 12:30 utc - 02:30").Word(), At(kNoon + 4 * kHour, 150).Word());
    EXPECT_EQ(Read("2026/11/15 12:00:00,001GMT+01:00   ").Word(), At(kNoon + 1, -60).Word());
}

TEST(ParseDateTimeTest, ADateAndAZoneAreMidnight) {
    EXPECT_EQ(Read("2026/11/15 GMT+01:00").Word(), At(kNoon - 12 * kHour, -60).Word());
    EXPECT_EQ(Write(Read("2026/11/15 GMT+01:00")), "2026/11/15 00:00:00,000 GMT+01:00");
}

TEST(ParseDateTimeTest, TheFirstInstantIsTheAllZeroValueAndTheHourBeforeItUnderflows) {
    EXPECT_EQ(Read("1601/01/01 00:00:00,000 GMT+00:00").Word(), 0U);
    ExpectDateTimeError(13, kUnderflow, [] { Read("1601/01/01 00:00:00,000 GMT+01:00"); });
    EXPECT_EQ(Read("1601/01/01 01:00:00,000 GMT+01:00").Word(), At(0, -60).Word());
}

TEST(ParseDateTimeTest, TheLastInstantOf9999Fits) {
    EXPECT_EQ(Read("9999/12/31 23:59:59,999 GMT-14:59").Word(),
              At(265046774399999 + 899 * kMinute, 899).Word());
}

TEST(ParseDateTimeTest, AZoneIsRequired) {
    const char* zone = "UTC or GMT in date/time string expected.";
    for (const char* text :
         {"2026/11/15", "2026/11/15 ", "2026/11/15 12:00", "2026/11/15 12:00:00,000",
          "2026/11/15 12:00:00,0000 GMT+01:00", "2026/11/15 12:00 CET"})
        ExpectDateTimeError(11, zone, [&] { Read(text); });
    ExpectDateTimeError(6, "Invalid hour part in date/time string. Expected a number from 0 to 14.",
                        [] { Read("2026/11/15 12:30 GMT"); });
}

TEST(ParseDateTimeTest, TrailingBlanksAreTakenAndNothingElse) {
    EXPECT_EQ(Read("2026/11/15 12:00 GMT+01:00    ").Word(), At(kNoon, -60).Word());
    ExpectDateTimeError(12, "End of date/time string or expected.",
                        [] { Read("2026/11/15 12:00 GMT+01:00 ."); });
}

TEST(ParseDateTimeTest, AnEasternZoneWithMinutesChangesTheInstantOnATripThroughText) {
    const TZincDateTime before = At(kNoon, -330);
    EXPECT_EQ(Write(before), "2026/11/15 16:30:00,000 GMT+05:30");
    const TZincDateTime after = Read(Write(before));
    EXPECT_EQ(after.Bias(), -270);
    EXPECT_EQ(after.UtcMilliseconds(), static_cast<std::uint64_t>(kNoon + kHour));
}

TEST(ParseDateTimeTest, WhatIsWrittenReadsBackEqualForWholeHoursAndAllWesternZones) {
    std::vector<std::int64_t> instants = {14 * kHour + 59 * kMinute, kNoon, kNoon + 999,
                                          13353638400000, 265046774399999 - 15 * kHour};
    std::uint64_t state = 88172645463325252U;
    for (int i = 0; i < 500; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        // Up to the last years that have four digits.
        instants.push_back(kDay + static_cast<std::int64_t>(state % 265000000000000U));
    }
    for (const std::int64_t instant : instants) {
        for (int hours = -14; hours <= 14; ++hours) {
            const TZincDateTime value = At(instant, hours * 60);
            ASSERT_EQ(Read(Write(value)).Word(), value.Word()) << Write(value);
            ASSERT_EQ(Zinc::ParseDateTime(WriteWide(value).c_str()).Word(), value.Word());
        }
        for (const int bias : {1, 59, 150, 210, 899}) {
            const TZincDateTime value = At(instant, bias);
            ASSERT_EQ(Read(Write(value)).Word(), value.Word()) << Write(value);
        }
    }
}

TEST(ParseDateTimeTest, EveryCutOfATextFails) {
    const std::string text = "2026/11/15 12:34:56,789 GMT-12:34";
    // A last number with fewer digits is a number; shorter texts lack the zone or its end.
    for (std::size_t length = 0; length + 1 < text.size(); ++length)
        EXPECT_THROW(Read(text.substr(0, length)), EZincDateTime) << length;
    EXPECT_EQ(Read(text.substr(0, text.size() - 1)).Bias(), 723);
    EXPECT_EQ(Read(text).Bias(), 754);
}

// ---- Years --------------------------------------------------------------------------------------

bool IsLeap(std::uint32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

TEST(YearFromMillisecondsTest, EveryYearBeginsAndEndsWhereItShould) {
    std::uint64_t start = 0;
    for (std::uint32_t year = 1601; year <= 30827; ++year) {
        ASSERT_EQ(Zinc::YearFromMilliseconds(start), year);
        start += (IsLeap(year) ? 366U : 365U) * std::uint64_t{kDay};
        ASSERT_EQ(Zinc::YearFromMilliseconds(start - 1), year);
    }
    for (const std::uint64_t late : {start, start + 400 * 366 * std::uint64_t{kDay}, UINT64_MAX})
        ExpectDateTimeError(13, "YearFromMilliseconds: Year/Century out of range.",
                            [&] { Zinc::YearFromMilliseconds(late); });
}

// ---- Transitions --------------------------------------------------------------------------------

// Central Europe: the last Sunday of March at 2:00, the last of October at 3:00.
constexpr ZoneInformation kBerlin = {
    -60, 0, -60, {0, 10, 0, 5, 3, 0, 0, 0}, {0, 3, 0, 5, 2, 0, 0, 0}};
// New York: the second Sunday of March and the first of November, both at 2:00.
constexpr ZoneInformation kNewYork = {
    300, 0, -60, {0, 11, 0, 1, 2, 0, 0, 0}, {0, 3, 0, 2, 2, 0, 0, 0}};
// Sydney: daylight time from the first Sunday of October at 2:00 to the first of April at 3:00.
constexpr ZoneInformation kSydney = {
    -600, 0, -60, {0, 4, 0, 1, 3, 0, 0, 0}, {0, 10, 0, 1, 2, 0, 0, 0}};

std::string Transition(std::uint32_t year, const SystemTime& rule) {
    const std::int64_t local = Zinc::TransitionToMilliseconds(year, rule);
    return SqlText(Zinc::FileTimeToSystemTime(static_cast<std::uint64_t>(local) * 10000));
}

TEST(TransitionTest, ARuleIsAWeekdayOfItsWeek) {
    EXPECT_EQ(Zinc::TransitionToMilliseconds(2026, kBerlin.daylightDate), 13419223200000);
    EXPECT_EQ(Zinc::TransitionToMilliseconds(2026, kBerlin.standardDate), 13437370800000);
    EXPECT_EQ(Transition(2026, kBerlin.daylightDate), "2026/03/29 02:00:00,000");
    EXPECT_EQ(Transition(2026, kBerlin.standardDate), "2026/10/25 03:00:00,000");
    EXPECT_EQ(Transition(2027, kBerlin.daylightDate), "2027/03/28 02:00:00,000");
    EXPECT_EQ(Transition(2027, kBerlin.standardDate), "2027/10/31 03:00:00,000");
    EXPECT_EQ(Transition(2026, kNewYork.daylightDate), "2026/03/08 02:00:00,000");
    EXPECT_EQ(Transition(2026, kNewYork.standardDate), "2026/11/01 02:00:00,000");
    EXPECT_EQ(Transition(2026, kSydney.daylightDate), "2026/10/04 02:00:00,000");
    EXPECT_EQ(Transition(2026, kSydney.standardDate), "2026/04/05 03:00:00,000");
}

TEST(TransitionTest, TheTimeOfDayIsKeptToTheMillisecond) {
    EXPECT_EQ(Transition(2026, {0, 10, 6, 5, 23, 59, 59, 999}), "2026/10/31 23:59:59,999");
    EXPECT_EQ(Transition(1601, {0, 1, 1, 1, 0, 0, 0, 0}), "1601/01/01 00:00:00,000");
}

TEST(TransitionTest, EveryWeekAndWeekdayOfEveryMonthIsWhereTheCalendarHasIt) {
    for (const std::uint16_t year : {std::uint16_t{2024}, std::uint16_t{2026}, std::uint16_t{1900},
                                     std::uint16_t{2021}, std::uint16_t{2000}}) {
        for (std::uint16_t month = 1; month <= 12; ++month) {
            for (std::uint16_t weekday = 0; weekday < 7; ++weekday) {
                // All days of the month that are this weekday, by the system's own calendar.
                std::vector<std::int64_t> days;
                for (std::uint16_t day = 1; day <= 31; ++day) {
                    std::uint64_t fileTime = 0;
                    SystemTime time;
                    if (!Platform::SystemTimeToFileTime({year, month, 0, day, 2, 0, 0, 0},
                                                        fileTime) ||
                        !Platform::FileTimeToSystemTime(fileTime, time))
                        continue;
                    if (time.dayOfWeek == weekday)
                        days.push_back(static_cast<std::int64_t>(fileTime / 10000));
                }
                ASSERT_GE(days.size(), 4U);
                for (std::uint16_t week = 1; week <= 5; ++week) {
                    const std::int64_t expected =
                        week <= days.size() ? days[week - 1U] : days.back();
                    ASSERT_EQ(
                        Zinc::TransitionToMilliseconds(year, {0, month, weekday, week, 2, 0, 0, 0}),
                        expected)
                        << year << " " << month << " " << weekday << " " << week;
                }
            }
        }
    }
}

TEST(TransitionTest, ARuleOutOfRangeRaises) {
    const char* message = "Transition date of time zone is not valid.";
    for (const SystemTime& rule :
         {SystemTime{0, 3, 0, 0, 2, 0, 0, 0}, SystemTime{0, 3, 0, 6, 2, 0, 0, 0},
          SystemTime{0, 0, 0, 1, 2, 0, 0, 0}, SystemTime{0, 13, 0, 1, 2, 0, 0, 0},
          SystemTime{0, 3, 7, 1, 2, 0, 0, 0}, SystemTime{0, 3, 65535, 1, 2, 0, 0, 0}})
        ExpectDateTimeError(1, message, [&] { Zinc::TransitionToMilliseconds(2026, rule); });
    EXPECT_EQ(Transition(2026, {0, 12, 6, 5, 0, 0, 0, 0}), "2026/12/26 00:00:00,000");
    EXPECT_EQ(Transition(2026, {0, 1, 0, 1, 0, 0, 0, 0}), "2026/01/04 00:00:00,000");
}

TEST(TransitionTest, ARuleWithoutATimeOfDayRaisesTheSystemsError) {
    ExpectSystemError(87, kSystemTimeToMillisecondsName, [] {
        Zinc::TransitionToMilliseconds(2026, {0, 3, 0, 5, 24, 0, 0, 0});
    });
}

TEST(TransitionTest, AnAbsoluteDateHoldsForItsYearAlone) {
    const SystemTime date = {2026, 3, 0, 30, 2, 0, 0, 1};
    EXPECT_EQ(Transition(2026, date), "2026/03/30 02:00:00,001");
    for (const std::uint32_t year : {2025U, 2027U})
        ExpectDateTimeError(1, "Transition date error in absolute format. Year not equal.",
                            [&] { Zinc::TransitionToMilliseconds(year, date); });
    ExpectSystemError(87, kSystemTimeToMillisecondsName, [] {
        Zinc::TransitionToMilliseconds(2026, {2026, 2, 0, 29, 0, 0, 0, 0});
    });
}

// ---- The bias of an instant ---------------------------------------------------------------------

int Bias(std::int64_t utc, const ZoneInformation& zone) {
    return Zinc::BiasAtUtc(static_cast<std::uint64_t>(utc), &zone);
}

TEST(BiasAtUtcTest, ANorthernZoneChangesAtItsTwoInstants) {
    const std::int64_t spring = 13419219600000;  // 2026-03-29 01:00 UTC
    const std::int64_t autumn = 13437363600000;  // 2026-10-25 01:00 UTC
    EXPECT_EQ(Bias(spring - 1, kBerlin), -60);
    EXPECT_EQ(Bias(spring, kBerlin), -120);
    EXPECT_EQ(Bias(autumn - 1, kBerlin), -120);
    EXPECT_EQ(Bias(autumn, kBerlin), -60);
    EXPECT_EQ(Bias(kNoon, kBerlin), -60);
}

TEST(BiasAtUtcTest, AWesternZoneChangesAtItsTwoInstants) {
    const std::int64_t spring = 13417426800000;  // 2026-03-08 07:00 UTC
    const std::int64_t autumn = 13437986400000;  // 2026-11-01 06:00 UTC
    EXPECT_EQ(Bias(spring - 1, kNewYork), 300);
    EXPECT_EQ(Bias(spring, kNewYork), 240);
    EXPECT_EQ(Bias(autumn - 1, kNewYork), 240);
    EXPECT_EQ(Bias(autumn, kNewYork), 300);
}

TEST(BiasAtUtcTest, ASouthernZoneHasDaylightTimeOverNewYear) {
    const std::int64_t april = 13419792000000;       // 2026-04-04 16:00 UTC
    const std::int64_t october = 13435516800000;     // 2026-10-03 16:00 UTC
    EXPECT_EQ(Bias(13411699200000, kSydney), -660);  // 2026-01-01
    EXPECT_EQ(Bias(april - 1, kSydney), -660);
    EXPECT_EQ(Bias(april, kSydney), -600);
    EXPECT_EQ(Bias(october - 1, kSydney), -600);
    EXPECT_EQ(Bias(october, kSydney), -660);
    EXPECT_EQ(Bias(13411699200000 + 365 * kDay - 1, kSydney), -660);
}

TEST(BiasAtUtcTest, AZoneWithoutAChangeHasItsBiasAlone) {
    // The standard bias is not added.
    ZoneInformation zone = {-330, 15, -60, {}, {}};
    EXPECT_EQ(Bias(kNoon, zone), -330);
    zone.standardDate = kBerlin.standardDate;
    EXPECT_EQ(Bias(kNoon, zone), -330);
    zone.standardDate = {};
    zone.daylightDate = kBerlin.daylightDate;
    EXPECT_EQ(Bias(kNoon, zone), -330);
    // Nor is the year looked at.
    EXPECT_EQ(Zinc::BiasAtUtc(UINT64_MAX, &zone), -330);
}

TEST(BiasAtUtcTest, TheStandardBiasCountsInAZoneThatChanges) {
    ZoneInformation zone = kBerlin;
    zone.standardBias = 7;
    EXPECT_EQ(Bias(kNoon, zone), -53);
    // Standard time is 7 minutes further west, and daylight time begins by its clock.
    EXPECT_EQ(Bias(13419219600000 + 7 * kMinute - 1, zone), -53);
    EXPECT_EQ(Bias(13419219600000 + 7 * kMinute, zone), -120);
}

TEST(BiasAtUtcTest, TheResultIsCutTo16Bits) {
    ZoneInformation zone;
    zone.bias = 0x12345;
    EXPECT_EQ(Bias(kNoon, zone), 0x2345);
    zone = kBerlin;
    zone.bias = 0x10000 - 60;
    EXPECT_EQ(Bias(13411699200000, zone), -60);  // 2026-01-01
    // It is cut at the end alone: the whole offset puts the local clock 45 days back, into summer.
    EXPECT_EQ(Bias(kNoon, zone), -120);
}

TEST(BiasAtUtcTest, TheYearIsThatOfUtcAndNotOfTheLocalClock) {
    ZoneInformation zone = kSydney;
    zone.standardDate.year = 2026;
    zone.standardDate.day = 5;
    zone.daylightDate.year = 2026;
    zone.daylightDate.day = 4;
    // 2025-12-31 23:30 UTC is 2026 in Sydney, but the dates of 2026 do not serve.
    ExpectDateTimeError(1, "Transition date error in absolute format. Year not equal.",
                        [&] { Bias(13411697400000, zone); });
    EXPECT_EQ(Bias(13411699200000, zone), -660);
    EXPECT_EQ(Bias(13419792000000, zone), -600);
    EXPECT_EQ(Bias(13435516800000, zone), -660);
}

TEST(BiasAtUtcTest, AYearOutOfRangeRaises) {
    ExpectDateTimeError(13, "YearFromMilliseconds: Year/Century out of range.",
                        [] { Zinc::BiasAtUtc(UINT64_MAX, &kBerlin); });
}

TEST(BiasAtUtcTest, ANullZoneIsTheSystems) {
    ZoneInformation zone;
    const bool known = Platform::GetTimeZoneInformation(zone);
    for (std::int64_t day = 0; day < 366; day += 5) {
        const auto instant = static_cast<std::uint64_t>(kNoon + day * kDay);
        EXPECT_EQ(Zinc::BiasAtUtc(instant, nullptr), known ? Zinc::BiasAtUtc(instant, &zone) : 0);
    }
}

TEST(BiasAtUtcTest, TheCacheAnswersForItsYearAndRulesAlone) {
    // Each call asks for another year or other rules than the one before, or for the same.
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Bias(13419219600000, kBerlin), -120);  // 2026-03-29 01:00
        EXPECT_EQ(Bias(13419219600000, kBerlin), -120);
        EXPECT_EQ(Bias(13419219600000, kSydney), -660);
        EXPECT_EQ(Bias(13419219600000, kNewYork), 240);
        // 2027-03-28 00:59 and 01:00.
        EXPECT_EQ(Bias(13450669200000 - kMinute, kBerlin), -60);
        EXPECT_EQ(Bias(13450669200000, kBerlin), -120);
        // The same rules in another year.
        EXPECT_EQ(Bias(13419219600000, kBerlin), -120);
        EXPECT_EQ(Bias(13450669200000, kBerlin), -120);
        EXPECT_EQ(Bias(13437363600000 - 1, kBerlin), -120);
        // The same daylight rule and another standard rule, and the other way round.
        ZoneInformation zone = kBerlin;
        zone.standardDate = kNewYork.standardDate;
        EXPECT_EQ(Bias(13437363600000, zone), -120);  // 2026-10-25 01:00
        EXPECT_EQ(Bias(13437363600000, kBerlin), -60);
        zone = kBerlin;
        zone.daylightDate = kNewYork.daylightDate;
        EXPECT_EQ(Bias(13419219600000 - 1, zone), -120);
        EXPECT_EQ(Bias(13419219600000 - 1, kBerlin), -60);
    }
}

TEST(BiasAtUtcTest, ABadRuleReleasesTheLockAndKeepsTheCache) {
    ZoneInformation zone = kBerlin;
    for (SystemTime* rule : {&zone.standardDate, &zone.daylightDate}) {
        zone = kBerlin;
        rule->day = 6;
        EXPECT_EQ(Bias(kNoon, kBerlin), -60);
        ExpectDateTimeError(1, "Transition date of time zone is not valid.",
                            [&] { Bias(kNoon, zone); });
        // Another thread would wait for ever at a lock that is still held.
        int bias = 0;
        std::thread([&] { bias = Bias(kNoon, kBerlin); }).join();
        EXPECT_EQ(bias, -60);
        ExpectDateTimeError(1, "Transition date of time zone is not valid.",
                            [&] { Bias(kNoon, zone); });
    }
}

TEST(BiasAtUtcTest, ThreadsThatAskForDifferentZonesGetTheirOwnAnswers) {
    struct Question {
        const ZoneInformation* zone;
        std::int64_t utc;
        int bias;
    };
    const Question questions[] = {{&kBerlin, 13419219600000, -120},
                                  {&kSydney, 13419792000000, -600},
                                  {&kNewYork, 13437986400000 - 1, 240},
                                  {&kBerlin, 13450669200000 - 1, -60}};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (const Question& question : questions)
        threads.emplace_back([&wrong, &question] {
            for (int i = 0; i < 5000; ++i)
                if (Bias(question.utc, *question.zone) != question.bias) ++wrong;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
