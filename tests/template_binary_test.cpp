// Templates as bytes: the flag ahead of each value, and what a record may leave out.
#include "support/edge_support.h"

namespace edge {
namespace {

class TemplateBinaryTest : public EdgeTest {};

TEST_F(TemplateBinaryTest, WithNothingSetThereIsOneZeroForTheDescriptionAndForEachParameter) {
    EXPECT_EQ(binary(taken("@ ABCDisconnect ()")), header(2, 22) + hex("00"));
    EXPECT_EQ(binary(taken("@ CameraOn ()")), header(2, 122) + hex("00 00"));
    EXPECT_EQ(binary(taken("@ ViewerConnect ()")), header(2, 201) + hex("00 00 00 00"));
    EXPECT_EQ(binary(taken("@ VideoResult ()")), header(2, 623) + Bytes(21, 0));
}

TEST_F(TemplateBinaryTest, TheBytesOfACameraOn) {
    const Bytes expected =
        hex("02 00 00 00 7A 00 00 00  01 03 00 00 00 48 00 69 00 00 00  01 "
            "88 77 66 55 44 33 22 11  03 00 00 00  04 00 00 00 43 00 61 00 6D 00 00 00");
    const Handle match =
        taken("@ CameraOn (Comment: \"Hi\", Camera: { 1234605616436508552, 3, \"Cam\" })");
    EXPECT_EQ(binary(match), expected);
    expectBuilt(expected,
                "@ CameraOn (Comment: \"Hi\", Camera: { 1234605616436508552, 3, \"Cam\" })",
                expected.size());
}

TEST_F(TemplateBinaryTest, TheBytesOfEveryType) {
    EXPECT_EQ(binary(taken("@ CancelExport (ExportID: \"00112233-4455-6677-8899-aabbccddeeff\", "
                           "AbortFlag: 1)")),
              header(2, 456) + hex("00 01 33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF "
                                   "01 01 00 00 00"));
    EXPECT_EQ(binary(taken("@ CustomAction (Int: 5, String: \"ab\")")),
              header(2, 8) + hex("00 01") + le64(5) + hex("01") + wideField(u"ab"));
    EXPECT_EQ(binary(taken("@ SetClock (Date: \"1601/01/01 00:00:01,000 GMT+00:00\")")),
              header(2, 25) + hex("00 01 E8 03 00 00 00 00 00 00"));
    EXPECT_EQ(binary(taken("@ ABCPlayFile (AutoRepeat: 1)")),
              header(2, 23) + hex("00 00 00 01 01"));
    EXPECT_EQ(binary(taken("@ ABCPlayFile (AutoRepeat: 0)")),
              header(2, 23) + hex("00 00 00 01 00"));
    EXPECT_EQ(binary(taken("@ StartEvent (TypeID: { 17, \"Main\" })")),
              header(2, 54) + hex("00 01") + le64(17) + wideField(u"Main") + hex("00"));
    EXPECT_EQ(binary(taken("@ StartAutoBackup (Schedule: "
                           "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Night\" })")),
              header(2, 280) + hex("00 01 33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF") +
                  wideField(u"Night"));
    EXPECT_EQ(binary(taken("@ SensorVideoAlarm (AlarmArea: { 1, -2, 3, 4 })")),
              header(2, 80) + Bytes(8, 0) + hex("01 01 00 FE FF 03 00 04 00 00"));
    // An int64 that stands behind three unset pairs, a data set behind all the others.
    EXPECT_EQ(binary(taken("@ VideoResult (ResultDataSet: {{ 1, 2, 3, 4, 7, \"x\" }})")),
              header(2, 623) + Bytes(20, 0) + hex("01") + wideField(u"1 2 3 4 7 'x'"));
}

TEST_F(TemplateBinaryTest, NarrowTextsAndDoublesHaveTheirOwnForms) {
    const Handle device = taken("@ DeviceFound (Type: \"ab\")");
    const Bytes bytes = binary(device);
    EXPECT_EQ(Bytes(bytes.begin() + 8, bytes.end()), hex("00 01") + ansiField("ab") + hex("00 00"));
    const Handle speed = taken("@ MoveToBySpeed (SpeedAlpha: 1.5)");
    EXPECT_EQ(binary(speed), header(2, 162) + hex("00 00 01 00 00 00 00 00 00 F8 3F 00"));
}

TEST_F(TemplateBinaryTest, ATemplateHasNoPropertyBlock) {
    const Bytes bytes = header(2, 22) + hex("00");
    expectBuilt(bytes, "@ ABCDisconnect ()", 9);
    // What an action would take for its properties is left unread.
    expectBuilt(bytes + emptyBlock(), "@ ABCDisconnect ()", 9);
    expectBuilt(bytes + hex("0F F0 00 00 01 00 00 00") + wideField(u"a") + wideField(u"b"),
                "@ ABCDisconnect ()", 9);
}

TEST_F(TemplateBinaryTest, ABufferTooSmallIsToldWithTheNeededSize) {
    const Handle match = taken("@ CameraOn (Comment: \"x\", Camera: { 1, 2, \"Cam\" })");
    const Bytes expected = binary(match);
    for (uint32_t size = 0; size <= expected.size() + 1; ++size) {
        Bytes buffer(expected.size() + 8, 0xEE);
        uint32_t needed = kUnset;
        const bool stored = TmxAct_StoreToBinBuffer(match.get(), buffer.data(), size, &needed);
        EXPECT_EQ(stored, size >= expected.size()) << size;
        EXPECT_EQ(needed, expected.size());
        EXPECT_EQ(lastError(), stored ? std::nullopt : std::optional<Error>(tooSmall()));
        for (std::size_t i = size; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], 0xEE);
        EXPECT_EQ(TmxAct_StoreToBinBuffer(match.get(), buffer.data(), size, nullptr), stored);
    }
}

TEST_F(TemplateBinaryTest, SeveralRecordsStandInARow) {
    const Bytes first = binary(taken("@ CameraOn (Comment: \"x\", Camera: 5)"));
    const Bytes second = binary(taken("CameraOn (5)"));
    const Bytes third = binary(taken("@ ABCDisconnect ()"));
    Bytes row = first + second + third;
    const char* const texts[] = {"@ CameraOn (Comment: \"x\", Camera: 5)", "CameraOn (5)",
                                 "@ ABCDisconnect ()"};
    for (const char* text : texts) {
        const BinRead one = fromBytes(row);
        ASSERT_TRUE(one.handle);
        EXPECT_EQ(machine(one.handle), text);
        row.erase(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(one.used));
    }
    EXPECT_TRUE(row.empty());
}

// ---- Reading ------------------------------------------------------------------------------------

TEST_F(TemplateBinaryTest, AnyFlagButZeroSets) {
    expectBuilt(header(2, 111) + hex("00 00 FF 07 00 00 00"), "@ FocusFar (Speed: 7)", 15);
    expectBuilt(header(2, 22) + hex("80") + wideField(u"x"), "@ ABCDisconnect (Comment: \"x\")",
                17);
    // It is stored as 1 again.
    EXPECT_EQ(binary(fromBytes(header(2, 111) + hex("00 00 FF 07 00 00 00")).handle),
              header(2, 111) + hex("00 00 01 07 00 00 00"));
}

TEST_F(TemplateBinaryTest, ARecordMayEndAtEveryBorder) {
    const Bytes whole = header(2, 201) + hex("01") + wideField(u"x") + hex("01") + le64(1) +
                        le32(2) + wideField(u"V") + hex("01") + le64(0) + le32(7) + wideField(u"") +
                        hex("01 02 00 00 00");
    const std::size_t comment = 8 + 1 + 8;
    const std::size_t viewer = comment + 1 + 20;
    const std::size_t channel = viewer + 1 + 18;
    expectBuilt(front(whole, 8), "@ ViewerConnect ()", 8);
    expectBuilt(front(whole, comment), "@ ViewerConnect (Comment: \"x\")", comment);
    expectBuilt(front(whole, viewer), "@ ViewerConnect (Comment: \"x\", Viewer: { 1, 2, \"V\" })",
                viewer);
    expectBuilt(front(whole, channel),
                "@ ViewerConnect (Comment: \"x\", Viewer: { 1, 2, \"V\" }, Channel: 7)", channel);
    expectBuilt(whole,
                "@ ViewerConnect (Comment: \"x\", Viewer: { 1, 2, \"V\" }, Channel: 7, "
                "PlayMode: 2)",
                whole.size());
}

TEST_F(TemplateBinaryTest, ARecordCutOneByteIntoAValueGivesNothing) {
    const Bytes whole =
        header(2, 111) + hex("00 01") + le64(1) + le32(2) + wideField(u"C") + hex("01 07 00 00 00");
    // The count is what remained at the failed read.
    expectNothing(front(whole, 8 + 2 + 1), 1);
    expectNothing(front(whole, 8 + 2 + 8 + 1), 1);
    expectNothing(front(whole, 8 + 2 + 12 + 3), 3);
    expectNothing(front(whole, 8 + 2 + 16 + 3), 3);
    expectNothing(front(whole, whole.size() - 1), 3);
    expectNothing(front(whole, whole.size() - 3), 1);
}

// A read that fails with nothing left is not seen. So a last value of one read is taken as its
// zero, though it is set; where another read follows, that one is seen.
TEST_F(TemplateBinaryTest, ARecordThatEndsBehindTheLastFlagHasItsZero) {
    expectBuilt(header(2, 111) + hex("00 00 01"), "@ FocusFar (Speed: 0)", 12);
    expectBuilt(header(2, 33) + hex("00 00 00 01"), "@ SetLEDBlink (LedTimeOffMs: 0)", 13);
    // The next flag's read fails.
    expectNothing(header(2, 33) + hex("00 00 01"), 0xFFFFFFFF);
    // A reference has several reads, a text two.
    expectNothing(header(2, 122) + hex("00 01"), 0xFFFFFFFF);
    expectNothing(header(2, 8) + hex("00 00 01"), 0xFFFFFFFF);
    expectNothing(header(2, 22) + hex("01"), 0xFFFFFFFF);
}

TEST_F(TemplateBinaryTest, ADateTimeSetWithoutAValueIsNow) {
    const BinRead result = fromBytes(header(2, 25) + hex("00 01"));
    ASSERT_TRUE(result.handle);
    EXPECT_EQ(result.used, 11u);
    TmxDateTime time{};
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(result.handle).get(), &time));
    const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count() +
                        11644473600000;
    const auto given = static_cast<int64_t>(time.value & 0xFFFFFFFFFFFF);
    EXPECT_LE(given, now + 1);
    EXPECT_GE(given, now - 60000);
}

TEST_F(TemplateBinaryTest, ATextIsReadByItsCount) {
    // No unit at all, and a last unit that is no zero and is dropped.
    expectBuilt(header(2, 22) + hex("01 00 00 00 00"), "@ ABCDisconnect (Comment: \"\")", 13);
    expectBuilt(header(2, 22) + hex("01 02 00 00 00 61 00 62 00"),
                "@ ABCDisconnect (Comment: \"a\")", 17);
    // More units than there are.
    expectNothing(header(2, 22) + hex("01 03 00 00 00 61 00 62 00"), 4);
    expectNothing(header(2, 22) + hex("01 00 00 00 80 61 00 62 00"), 4);
    expectNothing(header(2, 22) + hex("01 FF FF FF FF 61 00 62 00"), 4);
    expectNothing(header(2, 22) + hex("01 03 00"), 2);
}

TEST_F(TemplateBinaryTest, ADescriptionWithAZeroInItKeepsItInTheBytes) {
    const Bytes bytes = header(2, 22) + hex("01 04 00 00 00 61 00 00 00 62 00 00 00");
    const BinRead result = fromBytes(bytes);
    ASSERT_TRUE(result.handle);
    EXPECT_EQ(descriptionW(result.handle), W(u"a"));
    EXPECT_EQ(binary(result.handle), bytes);
}

TEST_F(TemplateBinaryTest, AnUnknownCodeOrClassGivesNothing) {
    expectNothing(header(2, 0x7FFFFFFE) + hex("00"), 8);
    expectNothing(header(2, 100000) + hex("00"), 8);
    expectNothing(header(3, 122) + hex("00"), 1);
    expectNothing(header(0, 122) + hex("00 00"), 2);
}

TEST_F(TemplateBinaryTest, AFailedReadLeavesNoObjectBehind) {
    const Bytes whole =
        binary(taken("@ SetupChanged (Comment: \"a description longer than short strings\", "
                     "User: \"a user name that is longer than short strings\")"));
    for (std::size_t size = 0; size < whole.size(); ++size) fromBytes(front(whole, size));
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(TemplateBinaryTest, UnsetValuesAreAsFresh) {
    // What is unset is zero in an action made of it, the date the time of the reading.
    const BinRead result = fromBytes(header(2, 17) + hex("00"));
    ASSERT_TRUE(result.handle);
    const Handle action = made(result.handle);
    const std::string text = machine(action);
    EXPECT_EQ(text.substr(0, 24), "SetupChanged (\"\", \"\", \"2");
    EXPECT_EQ(text.substr(text.size() - 11), ", 0, \"\", 0)");
}

}  // namespace
}  // namespace edge
