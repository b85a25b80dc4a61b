// Date-times in text: the clock time of the value's own zone, the parser's failures, and the zones.
#include "support/edge_support.h"

namespace edge {
namespace {

class DateTimeTextTest : public EdgeTest {
  protected:
    // The text of a value in machine form.
    static std::string written(const TmxDateTime& date) {
        const Handle handle(TmxAct_CreateSetClock(&date));
        const std::string text = machine(handle);
        const std::string start = "SetClock (\"";
        const std::string end = "\")";
        if (text.size() < start.size() + end.size() || text.substr(0, start.size()) != start ||
            text.substr(text.size() - end.size()) != end) {
            ADD_FAILURE() << text;
            return {};
        }
        return text.substr(start.size(), text.size() - start.size() - end.size());
    }
    static TmxDateTime value(const std::string& text) {
        const Handle handle = taken("SetClock (\"" + text + "\")");
        TmxDateTime date{0x5A5A5A5A5A5A5A5Au};
        EXPECT_TRUE(handle && TmxAct_DecodeSetClock(handle.get(), &date)) << text;
        return date;
    }
    static void expectValue(const std::string& text, int64_t localMilliseconds, int bias) {
        EXPECT_EQ(value(text).value, localTime(localMilliseconds, bias).value) << text;
    }
    static void expectFailure(const std::string& text, uint32_t subcode,
                              const std::string& message) {
        expectRaised("SetClock (\"" + text + "\")", dateTimeError(subcode, message));
    }
    static void expectPart(const std::string& text, uint32_t subcode, const std::string& part,
                           int low, int high) {
        expectFailure(text, subcode,
                      "Invalid " + part + " part in date/time string. Expected a number from " +
                          std::to_string(low) + " to " + std::to_string(high) + ".");
    }
    static void expectNoZone(const std::string& text) {
        expectFailure(text, 11, "UTC or GMT in date/time string expected.");
    }
    static void expectCharacter(const std::string& text, char c) {
        expectFailure(text, 10, std::string("'") + c + "' expected.");
    }
    static constexpr int64_t kNoon = 12 * 3600000;
    static int64_t day() { return millisecondsOf(2026, 11, 15); }
};

// ---- Writing
// --------------------------------------------------------------------------------------

TEST_F(DateTimeTextTest, AnInstantIsWrittenAsTheClockOfItsZoneShowsIt) {
    const int64_t utc = millisecondsOf(2026, 11, 15, 11);
    EXPECT_EQ(written(instant(utc, -60)), "2026/11/15 12:00:00,000 GMT+01:00");
    EXPECT_EQ(written(instant(utc, 300)), "2026/11/15 06:00:00,000 GMT-05:00");
    EXPECT_EQ(written(instant(utc, 0)), "2026/11/15 11:00:00,000 GMT+00:00");
}

TEST_F(DateTimeTextTest, TheZeroValueIsTheStartOf1601) {
    EXPECT_EQ(written(TmxDateTime{0}), "1601/01/01 00:00:00,000 GMT+00:00");
    EXPECT_EQ(written(instant(0, -60)), "1601/01/01 01:00:00,000 GMT+01:00");
    EXPECT_EQ(written(instant(60 * 60000, 60)), "1601/01/01 00:00:00,000 GMT-01:00");
}

TEST_F(DateTimeTextTest, AllPartsArePadded) {
    EXPECT_EQ(written(instant(millisecondsOf(2026, 2, 3, 4, 5, 6, 7), 0)),
              "2026/02/03 04:05:06,007 GMT+00:00");
    EXPECT_EQ(written(instant(millisecondsOf(2000, 2, 29, 23, 59, 59, 999), 0)),
              "2000/02/29 23:59:59,999 GMT+00:00");
}

TEST_F(DateTimeTextTest, AZoneWithMinutesIsWritten) {
    EXPECT_EQ(written(localTime(day() + kNoon, -330)), "2026/11/15 12:00:00,000 GMT+05:30");
    EXPECT_EQ(written(localTime(day() + kNoon, 210)), "2026/11/15 12:00:00,000 GMT-03:30");
    EXPECT_EQ(written(localTime(day() + kNoon, -1)), "2026/11/15 12:00:00,000 GMT+00:01");
    EXPECT_EQ(written(localTime(day() + kNoon, 1)), "2026/11/15 12:00:00,000 GMT-00:01");
}

TEST_F(DateTimeTextTest, ALocalTimeBelow1601HasNoText) {
    for (const TmxDateTime date : {instant(0, 1), instant(59999, 1), instant(0, 32767)}) {
        const Handle handle(TmxAct_CreateSetClock(&date));
        char narrow[200];
        TmxWChar wide[200];
        for (const bool display : {false, true}) {
            EXPECT_FALSE(
                TmxAct_StoreToTextBufferA(handle.get(), narrow, 200, display, false, nullptr));
            EXPECT_EQ(lastError(), noCalendarDate());
            EXPECT_FALSE(
                TmxAct_StoreToTextBufferW(handle.get(), wide, 200, display, false, nullptr));
            EXPECT_EQ(lastError(), noCalendarDate());
        }
    }
    EXPECT_EQ(written(instant(60000, 1)), "1601/01/01 00:00:00,000 GMT-00:01");
}

TEST_F(DateTimeTextTest, AYearAbove9999IsWrittenWithFiveDigitsAndNotRead) {
    EXPECT_EQ(written(instant(millisecondsOf(10000, 1, 1), 0)),
              "10000/01/01 00:00:00,000 GMT+00:00");
    const TmxDateTime last{0xFFFFFFFFFFFFu};
    const std::string text = written(last);
    EXPECT_EQ(text.substr(0, 6), "10520/");
    EXPECT_EQ(millisecondsOf(10520, 1, 1) < static_cast<int64_t>(last.value), true);
    expectPart(text, 3, "year", 1601, 9999);
}

TEST_F(DateTimeTextTest, AZoneBeyond14HoursIsWrittenAndNotRead) {
    EXPECT_EQ(written(localTime(day(), -1000)), "2026/11/15 00:00:00,000 GMT+16:40");
    expectPart("2026/11/15 00:00:00,000 GMT+16:40", 6, "hour", 0, 14);
    EXPECT_EQ(written(localTime(day(), 32767)), "2026/11/15 00:00:00,000 GMT-546:07");
    EXPECT_EQ(written(localTime(day(), -32768)), "2026/11/15 00:00:00,000 GMT+546:08");
}

// ---- Reading: the date
// ----------------------------------------------------------------------------

TEST_F(DateTimeTextTest, TheStartOf1601IsTheZeroValue) {
    EXPECT_EQ(value("1601/01/01 00:00:00,000 GMT+00:00").value, 0u);
}

TEST_F(DateTimeTextTest, AnHourEastOfTheZeroPointIsBelowIt) {
    expectFailure("1601/01/01 00:00:00,000 GMT+01:00", 13,
                  "SetUTCMilliseconds(): Internal milliseconds underflow. A year below 1601 is not "
                  "supported.");
    expectFailure("1601/01/01 00:59:59,999 GMT+01:00", 13,
                  "SetUTCMilliseconds(): Internal milliseconds underflow. A year below 1601 is not "
                  "supported.");
    EXPECT_EQ(value("1601/01/01 01:00:00,000 GMT+01:00").value, instant(0, -60).value);
}

TEST_F(DateTimeTextTest, TheLastReadableMoment) {
    expectValue("9999/12/31 23:59:59,999 GMT-14:00", millisecondsOf(9999, 12, 31, 23, 59, 59, 999),
                840);
}

TEST_F(DateTimeTextTest, TheYearHasOneToFourDigitsFrom1601) {
    expectPart("1600/12/31 GMT+00:00", 3, "year", 1601, 9999);
    expectPart("10000/01/01 GMT+00:00", 3, "year", 1601, 9999);
    expectPart("202/01/01 GMT+00:00", 3, "year", 1601, 9999);
    expectPart("", 3, "year", 1601, 9999);
    expectPart("now", 3, "year", 1601, 9999);
    expectPart("-2026/01/01", 3, "year", 1601, 9999);
    expectCharacter("16010/01/01 GMT+00:00", '/');
    expectCharacter("2026", '/');
    expectCharacter("2026-11-15", '/');
}

TEST_F(DateTimeTextTest, TheMonthHasOneOrTwoDigits) {
    expectValue("2026/1/5 GMT+00:00", millisecondsOf(2026, 1, 5), 0);
    expectPart("2026/13/01 GMT+00:00", 4, "month", 1, 12);
    expectPart("2026/0/01 GMT+00:00", 4, "month", 1, 12);
    expectPart("2026//01 GMT+00:00", 4, "month", 1, 12);
    expectPart("2026/ 1/01 GMT+00:00", 4, "month", 1, 12);
    expectCharacter("2026/011/01 GMT+00:00", '/');
    expectCharacter("2026/11", '/');
}

TEST_F(DateTimeTextTest, TheDayEndsWithItsMonth) {
    expectPart("2026/11/0 GMT+00:00", 5, "day", 1, 30);
    expectPart("2026/11/31 GMT+00:00", 5, "day", 1, 30);
    expectPart("2026/12/32 GMT+00:00", 5, "day", 1, 31);
    expectPart("2026/11/", 5, "day", 1, 30);
    expectPart("2026/04/31 GMT+00:00", 5, "day", 1, 30);
    expectValue("2026/12/31 GMT+00:00", millisecondsOf(2026, 12, 31), 0);
}

TEST_F(DateTimeTextTest, FebruaryFollowsTheLeapYears) {
    expectValue("2024/02/29 GMT+00:00", millisecondsOf(2024, 2, 29), 0);
    expectValue("2000/02/29 GMT+00:00", millisecondsOf(2000, 2, 29), 0);
    expectPart("2023/02/29 GMT+00:00", 5, "day", 1, 28);
    expectPart("1900/02/29 GMT+00:00", 5, "day", 1, 28);
    expectPart("2100/02/29 GMT+00:00", 5, "day", 1, 28);
    expectPart("2024/02/30 GMT+00:00", 5, "day", 1, 29);
    expectValue("2400/02/29 GMT+00:00", millisecondsOf(2400, 2, 29), 0);
}

TEST_F(DateTimeTextTest, ABlankFollowsTheDate) {
    expectCharacter("2026/11/155 GMT+00:00", ' ');
    expectCharacter("2026/11/15GMT+00:00", ' ');
    expectCharacter("2026/11/15T12:00 GMT+00:00", ' ');
    expectCharacter("2026/11/15\t12:00 GMT+00:00", ' ');
}

// ---- Reading: the time of day
// ---------------------------------------------------------------------

TEST_F(DateTimeTextTest, TheTimeOfDayMayBeLeftOut) {
    expectValue("2026/11/15 GMT+01:00", day(), -60);
    expectValue("2026/11/15     GMT+01:00", day(), -60);
}

TEST_F(DateTimeTextTest, TheSecondsAndTheMillisecondsMayBeLeftOut) {
    expectValue("2026/11/15 12:00 GMT+01:00", day() + kNoon, -60);
    expectValue("2026/11/15 12:00:07 GMT+01:00", day() + kNoon + 7000, -60);
    expectValue("2026/11/15 12:00:07,008 GMT+01:00", day() + kNoon + 7008, -60);
    expectValue("2026/11/15 1:2:3,4 GMT+01:00", millisecondsOf(2026, 11, 15, 1, 2, 3, 4), -60);
}

TEST_F(DateTimeTextTest, TheHourEndsAt23) {
    expectPart("2026/11/15 24:00 GMT+01:00", 6, "hour", 0, 23);
    expectPart("2026/11/15 24:00", 6, "hour", 0, 23);
    expectCharacter("2026/11/15 12", ':');
    expectCharacter("2026/11/15 123:00 GMT+01:00", ':');
    expectCharacter("2026/11/15 12 :00 GMT+01:00", ':');
}

TEST_F(DateTimeTextTest, TheMinuteEndsAt59) {
    expectPart("2026/11/15 12:60 GMT+01:00", 7, "minute", 0, 59);
    expectPart("2026/11/15 12: GMT+01:00", 7, "minute", 0, 59);
    expectPart("2026/11/15 12:", 7, "minute", 0, 59);
}

TEST_F(DateTimeTextTest, TheSecondEndsAt59) {
    expectPart("2026/11/15 12:30:60 GMT+01:00", 8, "second", 0, 59);
    expectPart("2026/11/15 12:30: GMT+01:00", 8, "second", 0, 59);
}

TEST_F(DateTimeTextTest, MillisecondsFollowACommaAndAreANumber) {
    expectPart("2026/11/15 12:30:15, GMT+01:00", 9, "millisecond", 0, 999);
    expectValue("2026/11/15 12:00:00,5 GMT+01:00", day() + kNoon + 5, -60);
    expectValue("2026/11/15 12:00:00,50 GMT+01:00", day() + kNoon + 50, -60);
    expectNoZone("2026/11/15 12:30:15.500 GMT+01:00");
    expectNoZone("2026/11/15 12:30:15,1234 GMT+01:00");
    expectNoZone("2026/11/15 12:30:150 GMT+01:00");
    expectNoZone("2026/11/15 12:300 GMT+01:00");
}

TEST_F(DateTimeTextTest, BlanksAreSkippedBeforeTheDateAndAfterIt) {
    expectValue("   2026/11/15   12:00   GMT+01:00", day() + kNoon, -60);
    expectPart("\t2026/11/15 GMT+01:00", 3, "year", 1601, 9999);
}

// ---- Reading: the zone
// ----------------------------------------------------------------------------

TEST_F(DateTimeTextTest, AZoneIsRequired) {
    expectNoZone("2026/11/15 12:30");
    expectNoZone("2026/11/15");
    expectNoZone("2026/11/15 ");
    expectNoZone("2026/11/15 12:30:15,000");
    expectNoZone("2026/11/15 12:30 EST");
    expectNoZone("2026/11/15 12:30 +01:00");
    expectNoZone("2026/11/15 12:30 GM");
}

TEST_F(DateTimeTextTest, TheZoneWordIsGmtOrUtcInAnyCase) {
    for (const char* word : {"GMT", "UTC", "gmt", "utc", "Gmt", "uTc"}) {
        expectValue(std::string("2026/11/15 12:00 ") + word + "+01:00", day() + kNoon, -60);
    }
    expectValue("2026/11/15 12:00GMT+01:00", day() + kNoon, -60);
}

TEST_F(DateTimeTextTest, BlanksMayStandAroundTheSign) {
    expectValue("2026/11/15 12:30 utc - 02:30", day() + kNoon + 30 * 60000, 150);
    expectValue("2026/11/15 12:00 GMT  +  01:00", day() + kNoon, -60);
}

TEST_F(DateTimeTextTest, AZoneWithoutASignIsEastern) {
    expectValue("2026/11/15 12:00 GMT01:00", day() + kNoon, -60);
    expectValue("2026/11/15 12:00 GMT 1:0", day() + kNoon, -60);
}

TEST_F(DateTimeTextTest, TheZoneNeedsItsHoursAndMinutes) {
    expectPart("2026/11/15 12:30 GMT", 6, "hour", 0, 14);
    expectPart("2026/11/15 12:30 GMT+", 6, "hour", 0, 14);
    expectPart("2026/11/15 12:30 GMT+15:00", 6, "hour", 0, 14);
    expectPart("2026/11/15 12:30 GMT-15:00", 6, "hour", 0, 14);
    expectPart("2026/11/15 12:30 GMT+-1:00", 6, "hour", 0, 14);
    expectCharacter("2026/11/15 12:30 GMT+01", ':');
    expectCharacter("2026/11/15 12:30 GMT+0100", ':');
    expectPart("2026/11/15 12:30 GMT+01:", 7, "minute", 0, 59);
    expectPart("2026/11/15 12:30 GMT+01:60", 7, "minute", 0, 59);
}

TEST_F(DateTimeTextTest, WesternMinutesAreAddedAndEasternOnesToo) {
    expectValue("2026/11/15 12:00 GMT-05:30", day() + kNoon, 330);
    expectValue("2026/11/15 12:00 GMT+05:30", day() + kNoon, -270);
    expectValue("2026/11/15 12:00 GMT+00:30", day() + kNoon, 30);
    expectValue("2026/11/15 12:00 GMT+14:59", day() + kNoon, -781);
    expectValue("2026/11/15 12:00 GMT-14:59", day() + kNoon, 899);
    expectValue("2026/11/15 12:00 GMT-00:00", day() + kNoon, 0);
}

TEST_F(DateTimeTextTest, AnEasternZoneWithMinutesChangesTheInstantOnItsWayThroughText) {
    const TmxDateTime before = localTime(day() + kNoon, -330);
    const std::string text = written(before);
    EXPECT_EQ(text, "2026/11/15 12:00:00,000 GMT+05:30");
    const TmxDateTime after = value(text);
    EXPECT_EQ(after.value, localTime(day() + kNoon, -270).value);
    EXPECT_NE(after.value, before.value);
}

TEST_F(DateTimeTextTest, WholeHoursAndWesternZonesComeBackUnchanged) {
    for (const int bias : {0, -60, 60, 300, -840, 840, 210, 1, 899}) {
        const TmxDateTime before = localTime(day() + kNoon + 123, bias);
        EXPECT_EQ(value(written(before)).value, before.value) << bias;
    }
}

TEST_F(DateTimeTextTest, OnlyBlanksMayFollowTheZone) {
    expectValue("2026/11/15 12:00 GMT+01:00   ", day() + kNoon, -60);
    for (const char* rest : {"x", " x", ":00", "0", "\t", "\n"}) {
        expectFailure(std::string("2026/11/15 12:00 GMT+01:00") + rest, 12,
                      "End of date/time string or expected.");
    }
}

TEST_F(DateTimeTextTest, TheCodePageFlagDoesNotMatterToADate) {
    for (const bool utf8 : {false, true}) {
        const Read result =
            readA("SetClock (\"2026/11/15 12:00 GMT+01:00\")", TMX_MEASURE_LENGTH, kAny, utf8);
        EXPECT_TRUE(result.handle);
        const Read bad = readA("SetClock (\"\xE2\x82\xAC\")", TMX_MEASURE_LENGTH, kAny, utf8);
        EXPECT_FALSE(bad.handle);
        ASSERT_NE(bad.error, std::nullopt);
        EXPECT_EQ(bad.error->subcode, 3u);
    }
}

TEST_F(DateTimeTextTest, OtherDigitsAreNoDigits) {
    const Read result = readW(W(u"SetClock (\"\uFF12\uFF10\uFF12\uFF16/11/15 GMT+01:00\")"));
    EXPECT_FALSE(result.handle);
    ASSERT_NE(result.error, std::nullopt);
    EXPECT_EQ(result.error->subcode, 3u);
}

TEST_F(DateTimeTextTest, ADateInAnOptionalParameterFollowsTheSameRules) {
    const std::string text =
        "ACSAccessGranted (\"n\", TimeStamp: \"2026/11/15 12:00:00,000 GMT+01:00\")";
    EXPECT_EQ(rewritten(text), text);
    expectRaised("ACSAccessGranted (\"n\", TimeStamp: \"2026/11/15\")",
                 dateTimeError(11, "UTC or GMT in date/time string expected."));
}

}  // namespace
}  // namespace edge
