// Event records: the way back to an action or a template.
#include "support/event_support.h"

namespace edge {
namespace {

using EventRestoreTest = EdgeTest;

// Restores from what filling gave.
std::string roundTrip(const std::string& text, uint32_t flags = 0) {
    const Handle handle = taken(text);
    return machine(restored(fill(handle, flags).record));
}

TEST_F(EventRestoreTest, WhatTheFieldsHoldComesBack) {
    for (const char* text :
         {"CameraOn ({ 5, 3, \"Cam\" })", "ViewerConnect ({ 1, 2, \"V\" }, { 3, 4, \"C\" }, 1)",
          "StartEvent ({ 17, \"Main\" }, ForeignKey: 99)", "CustomAction (-4, \"text\")",
          "SensorVideoAlarm ({ 9, 1, \"C\" }, 2, ADArea: 3, ADCell: -4, VMDGroup: -5, VMDZone: 6)",
          "ABCDisconnect ()"}) {
        EXPECT_EQ(roundTrip(text), text);
    }
}

TEST_F(EventRestoreTest, ACompactCameraOnComesBackUnrestricted) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Filled filled = fill(handle, TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA);
    EXPECT_EQ(machine(restoredMatch(filled.record)), "@ CameraOn ()");
    EXPECT_EQ(machine(restored(filled.record)), "CameraOn (0)");
}

TEST_F(EventRestoreTest, TheSizeIsNotLookedAt) {
    TmxEventDataRecord record = emptyRecord(122);
    for (const uint32_t size : {0u, 175u, 0xFFFFFFFFu}) {
        record.size = size;
        EXPECT_EQ(machine(restored(record)), "CameraOn (0)");
        EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn ()");
    }
}

TEST_F(EventRestoreTest, AnUnknownCodeGivesNull) {
    for (const uint32_t code : {0u, 9999u, 0x7fffffffu, 0x7ffffffeu, 0xffffffffu}) {
        const TmxEventDataRecord record = emptyRecord(code);
        EXPECT_FALSE(restored(record));
        EXPECT_FALSE(restoredMatch(record));
    }
}

TEST_F(EventRestoreTest, BytesComeBeforeTheFields) {
    const Handle stored = taken("ViewerConnect ({ 1, 2, \"V\" }, 7, 1)");
    setProperty(stored.get(), u"key", u"value");
    const Bytes bytes = binary(stored);
    TmxEventDataRecord record = emptyRecord(122);
    setBytes(&record, bytes);
    const Handle action = restored(record);
    EXPECT_EQ(machine(action), "ViewerConnect ({ 1, 2, \"V\" }, 7, 1)");
    EXPECT_EQ(property(action.get(), u"key"), W(u"value"));
    EXPECT_EQ(machine(restoredMatch(record)),
              "@ ViewerConnect (Viewer: { 1, 2, \"V\" }, Channel: 7, PlayMode: 1)");
}

TEST_F(EventRestoreTest, UnreadableBytesFallBackToTheFields) {
    const Handle camera = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Bytes match = binary(taken("@ CameraOn ()"));
    const Bytes cut = front(binary(camera), 20);
    const Bytes unknown = hex("01 00 00 00 0F 27 00 00");
    for (const Bytes& bytes : {match, cut, unknown}) {
        TmxEventDataRecord record = fill(camera).record;
        setBytes(&record, bytes);
        EXPECT_EQ(machine(restored(record)), "CameraOn ({ 5, 3, \"Cam\" })");
        EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn (Camera: { 5, 3, \"Cam\" })");
    }
}

TEST_F(EventRestoreTest, TheLowHalfOfTheBinarySizeCounts) {
    const Bytes bytes = binary(taken("ABCDisconnect ()"));
    TmxEventDataRecord record = emptyRecord(122);
    setBytes(&record, bytes);
    record.binarySize += uint64_t{1} << 32;
    EXPECT_EQ(machine(restored(record)), "ABCDisconnect ()");
    // All 64 bits say that there are bytes; the low ones say that there are none of them.
    record.binarySize = uint64_t{1} << 32;
    EXPECT_EQ(machine(restored(record)), "CameraOn (0)");
    record.binarySize = 0xFFFFFFFF;
    EXPECT_EQ(machine(restored(record)), "CameraOn (0)");
    record.binarySize = 0;
    EXPECT_EQ(machine(restored(record)), "CameraOn (0)");
    setBytes(&record, bytes);
    record.binary = nullptr;
    EXPECT_EQ(machine(restored(record)), "CameraOn (0)");
}

TEST_F(EventRestoreTest, AReferenceWithoutANameIsOpen) {
    const int64_t id = 5;
    const int32_t number = 3;
    const WText name = W(u"Cam");
    TmxEventDataRecord record = emptyRecord(122);
    record.int64Fields[0] = &id;
    record.int32Fields[0] = &number;
    EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn ()");
    record.textFields[0] = {0, name.c_str()};
    EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn ()");
    record.textFields[0] = {2, name.c_str()};
    EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn (Camera: { 5, 3, \"Ca\" })");
    record.int64Fields[0] = nullptr;
    EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn (Camera: { 0, 3, \"Ca\" })");
    record.int32Fields[0] = nullptr;
    EXPECT_EQ(machine(restoredMatch(record)), "@ CameraOn (Camera: { 0, 0, \"Ca\" })");
}

TEST_F(EventRestoreTest, ANamedIdOrAGuidRefWithoutAnIdHasZero) {
    const WText name = W(u"N");
    TmxEventDataRecord record = emptyRecord(TmxActionCode_StartEvent);
    record.textFields[0] = {1, name.c_str()};
    EXPECT_EQ(machine(restored(record)), "StartEvent (\"N\")");
    record.code = TmxActionCode_ChangeADParameterSet;
    record.textFields[1] = {1, name.c_str()};
    EXPECT_EQ(machine(restored(record)), "ChangeADParameterSet ({ 0, 0, \"N\" }, \"N\")");
}

TEST_F(EventRestoreTest, AGuidNeedsBothHalves) {
    const TmxGuid id = countingGuid();
    int64_t halves[2];
    std::memcpy(halves, &id, sizeof id);
    TmxEventDataRecord record = emptyRecord(456);
    record.int64Fields[0] = &halves[0];
    EXPECT_EQ(machine(restoredMatch(record)), "@ CancelExport ()");
    record.int64Fields[1] = &halves[1];
    EXPECT_EQ(machine(restoredMatch(record)),
              "@ CancelExport (ExportID: \"00112233-4455-6677-8899-aabbccddeeff\")");
}

TEST_F(EventRestoreTest, ASpilledNumberIsTheLowHalfOfItsSlot) {
    const int64_t wide = 0x700000005;
    TmxEventDataRecord record = emptyRecord(TmxActionCode_SensorVideoAlarm);
    record.int64Fields[1] = &wide;
    EXPECT_EQ(machine(restoredMatch(record)), "@ SensorVideoAlarm (VMDGroup: 5)");
}

TEST_F(EventRestoreTest, ABoolIsTrueForAnyNumberButZero) {
    const int32_t minus = -2;
    TmxEventDataRecord record = emptyRecord(TmxActionCode_SetClientVCA);
    record.int32Fields[2] = &minus;
    EXPECT_EQ(machine(restoredMatch(record)), "@ SetClientVCA (Enabled: 1)");
}

TEST_F(EventRestoreTest, AMissingRequiredDateIsThePresent) {
    const Handle handle = restored(emptyRecord(TmxActionCode_SystemTerminating));
    TmxDateTime date{};
    bool shutdown = true;
    ASSERT_TRUE(TmxAct_DecodeSystemTerminating(handle.get(), &date, &shutdown));
    EXPECT_FALSE(shutdown);
    const auto now = std::chrono::system_clock::now().time_since_epoch() / std::chrono::seconds(1);
    const auto then = static_cast<int64_t>((date.value & 0xFFFFFFFFFFFF) / 1000) - 11644473600;
    EXPECT_NEAR(static_cast<double>(now), static_cast<double>(then), 60);
}

TEST_F(EventRestoreTest, ANarrowTextComesBackInTheCodePage) {
    const WText type = W(u"Typ\u00E4\u4E2D");
    TmxEventDataRecord record = emptyRecord(TmxActionCode_DeviceFound);
    record.textFields[0] = {type.size(), type.c_str()};
    const Handle handle = restored(record);
    const char* texts[3] = {};
    ASSERT_TRUE(TmxAct_DecodeDeviceFound(handle.get(), &texts[0], &texts[1], &texts[2]));
    EXPECT_STREQ(texts[0], "Typ\xE4?");
    EXPECT_STREQ(texts[1], "");
}

// ---- The second user and the settings -----------------------------------------------------------

TEST_F(EventRestoreTest, TheSecondUserStaysOpenAndTakesNoField) {
    EXPECT_EQ(roundTrip("UserLogin (\"one\", User2: \"two\", \"host\")"),
              "UserLogin (\"one\", \"host\")");
}

TEST_F(EventRestoreTest, ALoneTextOfTheSettingsIsTheTimeRanges) {
    const std::string range = "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Range\" }";
    const std::string date = "\"2026/11/15 12:00:00,000 GMT+01:00\"";
    const std::string text =
        "SystemSettingsChanged (1, 1, TimeRange: " + range + ", 0, " + date + ")";
    EXPECT_EQ(roundTrip(text), text);
    // A user alone is taken for the time range, too.
    EXPECT_EQ(roundTrip("SystemSettingsChanged (1, User1: \"one\", 1, 0, " + date + ")"),
              "SystemSettingsChanged (1, 1, TimeRange: \"one\", 0, " + date + ")");
    // With a host the texts are texts.
    EXPECT_EQ(roundTrip("SystemSettingsChanged (1, User1: \"one\", Host: \"h\", 1, TimeRange: " +
                        range + ", 0, " + date + ")"),
              "SystemSettingsChanged (1, User1: \"one\", Host: \"h\", 1, 0, " + date + ")");
}

// ---- The two buffers ----------------------------------------------------------------------------

// The head, the number's field and the text's presence and count and terminator leave 210 bytes.
TEST_F(EventRestoreTest, WhatFitsTheFirstBufferComesBackWhole) {
    const std::string longest(105, 'x');
    EXPECT_EQ(roundTrip("CustomAction (4, \"" + longest + "\")"),
              "CustomAction (4, \"" + longest + "\")");
}

TEST_F(EventRestoreTest, WhatExceedsTheFirstBufferComesBackOpen) {
    const Handle handle = taken("CustomAction (4, \"" + std::string(108, 'x') + "\")");
    const Filled filled = fill(handle);
    EXPECT_EQ(machine(restoredMatch(filled.record)), "@ CustomAction ()");
    EXPECT_EQ(machine(restored(filled.record)), "CustomAction (0, \"\")");
}

// The second pass goes on where the first one stood.
TEST_F(EventRestoreTest, TheSecondPassReadsTheFieldsThatAreLeft) {
    const WText longText(108, TmxWChar{'x'});
    const WText other = W(u"B");
    const int64_t number = 4;
    const int64_t next = 77;
    TmxEventDataRecord record = emptyRecord(8);
    record.int64Fields[0] = &number;
    record.int64Fields[1] = &next;
    record.textFields[0] = {longText.size(), longText.c_str()};
    record.textFields[1] = {other.size(), other.c_str()};
    EXPECT_EQ(machine(restoredMatch(record)), "@ CustomAction (Int: 77, String: \"B\")");
    // The second text may take what the first was short of, and no more.
    const WText same(108, TmxWChar{'y'});
    record.textFields[1] = {same.size(), same.c_str()};
    EXPECT_EQ(machine(restoredMatch(record)),
              "@ CustomAction (Int: 77, String: \"" + std::string(108, 'y') + "\")");
    const WText longer(109, TmxWChar{'y'});
    record.textFields[1] = {longer.size(), longer.c_str()};
    EXPECT_FALSE(restoredMatch(record));
    EXPECT_FALSE(restored(record));
}

TEST_F(EventRestoreTest, TheLargestBufferHasAnEnd) {
    // 65535 bytes: the head, the open number, presence, count and terminator, and the units.
    const WText first(40000, TmxWChar{'x'});
    WText second((65535 - 9 - 1 - 1 - 4 - 2) / 2, TmxWChar{'y'});
    TmxEventDataRecord record = emptyRecord(8);
    record.textFields[0] = {first.size(), first.c_str()};
    record.textFields[1] = {second.size(), second.c_str()};
    EXPECT_TRUE(restoredMatch(record));
    second += TmxWChar{'y'};
    record.textFields[1] = {second.size(), second.c_str()};
    EXPECT_FALSE(restoredMatch(record));
}

TEST_F(EventRestoreTest, ATextNeedsNoTerminatorAndMayHoldZeros) {
    const WText text = W(u"abcdef");
    TmxEventDataRecord record = emptyRecord(8);
    record.textFields[0] = {3, text.c_str()};
    EXPECT_EQ(machine(restored(record)), "CustomAction (0, \"abc\")");
    const WText zeros = widen(std::string_view("a\0b", 3));
    record.textFields[0] = {3, zeros.data()};
    EXPECT_EQ(binary(restored(record)),
              header(1, 8) + le64(0) + hex("04 00 00 00 61 00 00 00 62 00 00 00") + emptyBlock());
}

}  // namespace
}  // namespace edge
