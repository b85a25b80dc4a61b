// Event records: where the values of an action go.
#include "support/event_support.h"

namespace edge {
namespace {

constexpr uint32_t kCompact = TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA;

using EventDataTest = EdgeTest;

std::string noon(uint64_t milliseconds = 0) {
    const TmxDateTime date = localTime(millisecondsOf(2026, 11, 15, 12), -60);
    return std::to_string(date.value + milliseconds);
}

TEST_F(EventDataTest, CameraOnTakesAnIdANumberAndAName) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=3 l0=5 s0='Cam'");
    EXPECT_TRUE(filled.complete);
    EXPECT_EQ(filled.record.code, 122u);
}

TEST_F(EventDataTest, TheSlotsPointIntoTheObject) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Filled filled = fill(handle);
    TmxObjectRef* camera = nullptr;
    ASSERT_TRUE(TmxAct_GetVideoInput(handle.get(), &camera));
    EXPECT_EQ(filled.record.int64Fields[0], &camera->id);
    EXPECT_EQ(filled.record.int32Fields[0], &camera->number);
    EXPECT_EQ(filled.record.textFields[0].text, camera->name);
    EXPECT_EQ(filled.record.textFields[0].length, 3u);
}

TEST_F(EventDataTest, ViewerConnectTakesTwoReferencesAndAMode) {
    const Handle handle = taken("ViewerConnect ({ 1, 2, \"V\" }, { 3, 4, \"C\" }, 1)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=2 i1=4 i2=1 l0=1 l1=3 s0='V' s1='C'");
    EXPECT_TRUE(filled.complete);
}

// Two texts come first: no reference finds a text slot.
TEST_F(EventDataTest, AReferenceWithoutATextSlotStillStoresItsIdAndItsNumber) {
    const Handle handle =
        taken("IPCamFailoverRestore (\"A\", \"B\", { 1, 2, \"P\" }, { 3, 4, \"S\" })");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=2 i1=4 l0=1 l1=3 s0='A' s1='B'");
    EXPECT_FALSE(filled.complete);
}

TEST_F(EventDataTest, TheCompactFormOfCameraOnIsItsNumber) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Filled filled = fill(handle, kCompact);
    EXPECT_EQ(slots(filled.record), "i0=3");
    EXPECT_TRUE(filled.complete);
}

TEST_F(EventDataTest, TheCompactFormKeepsPlacesAndTheNamesOfOtherReferences) {
    const Handle named = taken("StartEvent ({ 17, \"Main\" }, ForeignKey: 99)");
    EXPECT_EQ(slots(fill(named).record), "l0=17 l1=99 s0='Main'");
    EXPECT_EQ(slots(fill(named, kCompact).record), "l1=99 s0='Main'");
    const Handle set = taken(
        "ChangeADParameterSet ({ 5, 3, \"Cam\" }, { \"00112233-4455-6677-8899-aabbccddeeff\", "
        "\"Set\" })");
    EXPECT_EQ(slots(fill(set, kCompact).record), "i0=3 s1='Set'");
}

TEST_F(EventDataTest, WhatTheCompactFormPassesOverIsNotMissing) {
    const Handle handle =
        taken("IPCamFailoverRestore (\"A\", \"B\", { 1, 2, \"P\" }, { 3, 4, \"S\" })");
    const Filled filled = fill(handle, kCompact);
    EXPECT_EQ(slots(filled.record), "i0=2 i1=4 s0='A' s1='B'");
    EXPECT_TRUE(filled.complete);
}

// The fifth 32-bit value and those behind it are widened with their sign.
TEST_F(EventDataTest, TheFifthNumberSpillsIntoTheWideSlots) {
    const Handle handle = taken(
        "SensorVideoAlarm ({ 9, 1, \"C\" }, 2, ADArea: 3, ADCell: -4, VMDGroup: -5, VMDZone: 6, "
        "VMDCycle: -7)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=1 i1=2 i2=3 i3=-4 l0=9 l1=-5 l2=6 l3=-7 s0='C'");
    EXPECT_TRUE(filled.complete);
}

TEST_F(EventDataTest, AnAbsentNumberPassesASlotOver) {
    const Handle handle = taken("SensorVideoAlarm ({ 9, 1, \"C\" }, 2, ADCell: 4, VMDCycle: 7)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=1 i1=2 i3=4 l0=9 l3=7 s0='C'");
    EXPECT_TRUE(filled.complete);
}

TEST_F(EventDataTest, AValueThatFindsNoWideSlotIsDropped) {
    const Handle handle = taken("SensorVideoAlarm ({ 9, 1, \"C\" }, 2, ObjectClass: 8)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=1 i1=2 l0=9 s0='C'");
    EXPECT_FALSE(filled.complete);
}

TEST_F(EventDataTest, SpilledNumbersStayUntilTheThreadsNextFilling) {
    const Handle handle = taken("SensorVideoAlarm ({ 9, 1, \"C\" }, 2, VMDGroup: 5)");
    const Handle other = taken("SensorVideoAlarm ({ 9, 1, \"C\" }, 2, VMDGroup: 6)");
    const Filled first = fill(handle);
    EXPECT_EQ(*first.record.int64Fields[1], 5);
    machine(other);
    fill(taken("CameraOn ({ 5, 3, \"Cam\" })"));
    EXPECT_EQ(*first.record.int64Fields[1], 5);
    const Filled second = fill(other);
    EXPECT_EQ(second.record.int64Fields[1], first.record.int64Fields[1]);
    EXPECT_EQ(*first.record.int64Fields[1], 6);
}

TEST_F(EventDataTest, ABoolPointsAtOneOfTwoConstants) {
    const Handle on = taken("SetClientVCA ({ 1, 2, \"C\" }, 0, 1)");
    const Handle off = taken("SetClientVCA ({ 1, 2, \"C\" }, 0, 0)");
    const Filled a = fill(on);
    const Filled b = fill(off);
    const Filled c = fill(on);
    EXPECT_EQ(*a.record.int32Fields[2], 1);
    EXPECT_EQ(*b.record.int32Fields[2], 0);
    EXPECT_EQ(a.record.int32Fields[2], c.record.int32Fields[2]);
}

TEST_F(EventDataTest, ANarrowTextIsMadeWide) {
    const Handle handle(TmxAct_CreateDeviceFound("Typ\xE4", "", "Serial"));
    const Filled filled = fill(handle);
    EXPECT_EQ(WText(filled.record.textFields[0].text), W(u"Typ\u00E4"));
    EXPECT_EQ(filled.record.textFields[0].length, 4u);
    ASSERT_NE(filled.record.textFields[1].text, nullptr);
    EXPECT_EQ(filled.record.textFields[1].length, 0u);
    // The third finds no slot.
    EXPECT_FALSE(filled.complete);
}

TEST_F(EventDataTest, AnAbsentNarrowTextIsNull) {
    const Handle handle = taken("DevicePluginError ({ 1, 2, \"C\" }, \"t\", \"n\", \"s\", 0)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=2 i1=0 l0=1 s0='C' s1='t'");
}

// Both halves are read as 64-bit integers, so they lie at places that such ask for.
TEST_F(EventDataTest, AGuidTakesTwoWideSlots) {
    const TmxGuid id = countingGuid();
    const Handle handle(TmxAct_CreateCancelExport(&id, 1));
    const Filled filled = fill(handle);
    EXPECT_EQ(std::memcmp(filled.record.int64Fields[0], &id, 8), 0);
    EXPECT_EQ(std::memcmp(filled.record.int64Fields[1], reinterpret_cast<const char*>(&id) + 8, 8),
              0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(filled.record.int64Fields[0]) % 8, 0u);
    // 0x6677445500112233 and 0xffeeddccbbaa9988.
    EXPECT_EQ(slots(filled.record), "i0=1 l0=7383445245961249331 l1=-4822678189205112");
    EXPECT_TRUE(filled.complete);
}

TEST_F(EventDataTest, ARectangleTakesAWideSlotAsItsBytes) {
    const Handle handle =
        taken("SensorVideoAlarm ({ 9, 1, \"C\" }, 2, AlarmArea: { 1, 2, 3, -4 })");
    const Filled filled = fill(handle);
    // Its slot is taken by the spilled ones ahead of it, absent as they are.
    EXPECT_EQ(slots(filled.record), "i0=1 i1=2 l0=9 s0='C'");
    EXPECT_FALSE(filled.complete);
    const Handle plate = taken(
        "NPRRecognition (\"P\", \"D\", { 1, 2, \"C\" }, \"2026/11/15 12:00:00,000 GMT+01:00\", "
        "{ 1, 2, 3, -4 }, 0, \"\", 1, 2, 3, \"\", 4)");
    const Filled npr = fill(plate);
    const TmxRect expected = {{1, 2, 3, -4}};
    EXPECT_EQ(std::memcmp(npr.record.int64Fields[1], &expected, sizeof expected), 0);
}

TEST_F(EventDataTest, OnlyTwoDoublesFit) {
    const Handle handle = taken("MoveToAbsolutePosition ({ 1, 2, \"C\" }, 1.5, 2.5, 3.5, 4.5)");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "i0=2 l0=1 d0=1.500000 d1=2.500000 s0='C'");
    EXPECT_FALSE(filled.complete);
}

TEST_F(EventDataTest, AnActionWithStorePropertiesIsNeverComplete) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    EXPECT_TRUE(fill(handle).complete);
    setProperty(handle.get(), u"Store-Properties", u"1");
    EXPECT_TRUE(fill(handle).complete);
    setProperty(handle.get(), u"store-properties", u"");
    EXPECT_FALSE(fill(handle).complete);
    EXPECT_TRUE(TmxAct_SetProperty(handle.get(), W(u"store-properties").c_str(), nullptr));
    EXPECT_TRUE(fill(handle).complete);
}

TEST_F(EventDataTest, VideoResultFillsAllFieldsAndOverflows) {
    const Handle handle = taken(
        "VideoResult (Int64FieldA: 1, Int64FieldB: 2, Int64FieldC: 3, Int64FieldD: 4, "
        "Int32FieldA: 5, Int32FieldB: 6, Int32FieldC: 7, Int32FieldD: 8, "
        "DateFieldA: \"2026/11/15 12:00:00,000 GMT+01:00\", "
        "DateFieldB: \"2026/11/15 12:00:00,001 GMT+01:00\", DoubleFieldA: 9.5, DoubleFieldB: 10.5, "
        "StringFieldA: \"a\", StringFieldB: \"b\", StringFieldC: \"c\", StringFieldD: \"d\", "
        "StringFieldE: \"e\", StringFieldF: \"f\", { 11, 12, \"Channel\" }, { { 1, 2, 3, 4, 5, "
        "\"x\" } })");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record),
              "i0=5 i1=6 i2=7 i3=8 l0=1 l1=2 l2=3 l3=4 d0=9.500000 d1=10.500000 "
              "t0=" +
                  noon() + " t1=" + noon(1) + " s0='a' s1='b'");
    EXPECT_FALSE(filled.complete);
}

// ---- The second user ----------------------------------------------------------------------------

TEST_F(EventDataTest, TheSecondUserIsLeftOut) {
    const Handle handle = taken("UserLogin (\"one\", User2: \"two\", \"host\")");
    const Filled filled = fill(handle);
    EXPECT_EQ(slots(filled.record), "s0='one' s1='host'");
    EXPECT_FALSE(filled.complete);
}

TEST_F(EventDataTest, TheActionsWithASecondUserAreNeverComplete) {
    EXPECT_FALSE(fill(taken("UserLogin (\"one\", \"host\")")).complete);
    EXPECT_FALSE(fill(taken("UserLoginFailed (\"one\", \"host\", 1)")).complete);
    EXPECT_FALSE(fill(taken("UserLogout (\"one\", \"host\")")).complete);
    EXPECT_FALSE(
        fill(taken("SetupUploadProgress (1, \"2026/11/15 12:00:00,000 GMT+01:00\")")).complete);
    EXPECT_FALSE(
        fill(taken("SystemSettingsChanged (1, 0, 0, \"2026/11/15 12:00:00,000 GMT+01:00\")"))
            .complete);
    EXPECT_FALSE(fillMatch(taken("@ UserLogin ()")).complete);
}

constexpr const char* kRange = "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Range\" }";
constexpr const char* kDate = "\"2026/11/15 12:00:00,000 GMT+01:00\"";

TEST_F(EventDataTest, TheTimeRangeBorrowsTheFirstTextOfTheSettings) {
    const Handle handle = taken(std::string("SystemSettingsChanged (1, User2: \"two\", 1, "
                                            "TimeRange: ") +
                                kRange + ", 0, " + kDate + ")");
    const Filled filled = fill(handle);
    EXPECT_EQ(filled.record.textFields[0].length, 5u);
    EXPECT_EQ(WText(filled.record.textFields[0].text), W(u"Range"));
    EXPECT_EQ(filled.record.textFields[1].text, nullptr);
    // The compact form too: it keeps the name.
    EXPECT_EQ(slots(fill(handle, kCompact).record), "i0=1 i1=1 i2=0 t0=" + noon() + " s0='Range'");
}

TEST_F(EventDataTest, TheTimeRangeFindsNoTextBesideAUserOrAHost) {
    for (const char* text : {"User1: \"one\", ", "Host: \"host\", "}) {
        const bool user = text[0] == 'U';
        const Handle handle = taken(std::string("SystemSettingsChanged (1, ") + text +
                                    "1, TimeRange: " + kRange + ", 0, " + kDate + ")");
        const Filled filled = fill(handle);
        EXPECT_EQ(filled.record.textFields[0].text != nullptr, user);
        EXPECT_EQ(filled.record.textFields[1].text != nullptr, !user);
        EXPECT_FALSE(filled.complete);
    }
}

// ---- Templates ----------------------------------------------------------------------------------

TEST_F(EventDataTest, ATemplateFillsWithWhatIsSet) {
    const Handle handle = taken("@ ViewerConnect (Comment: \"never\", Channel: { 3, 4, \"C\" })");
    const Filled filled = fillMatch(handle);
    EXPECT_EQ(filled.record.code, 201u);
    EXPECT_EQ(slots(filled.record), "i1=4 l1=3 s1='C'");
    EXPECT_TRUE(filled.complete);
    EXPECT_EQ(slots(fillMatch(handle, kCompact).record), "i1=4");
}

TEST_F(EventDataTest, AnOpenReferencePassesNoWideSlotOverForItsNumber) {
    // Four 32-bit values come first: a number behind them would spill.
    const Handle open = taken(
        "@ VideoResult (Int64FieldA: 1, Int32FieldA: 5, Int32FieldB: 6, Int32FieldC: 7, "
        "Int32FieldD: 8)");
    const Filled filled = fillMatch(open);
    EXPECT_EQ(slots(filled.record), "i0=5 i1=6 i2=7 i3=8 l0=1");
    EXPECT_TRUE(filled.complete);
}

// ---- The frame ----------------------------------------------------------------------------------

TEST_F(EventDataTest, ARecordOfAnotherSizeIsRefusedUntouched) {
    const Handle action = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const Handle match = taken("@ CameraOn ()");
    for (const uint32_t size : {0u, 175u, 177u, 0xFFFFFFFFu}) {
        TmxEventDataRecord record;
        std::memset(&record, 0xCD, sizeof record);
        record.size = size;
        const TmxEventDataRecord before = record;
        bool complete = true;
        EXPECT_FALSE(TmxAct_GetActionEventData(action.get(), &record, &complete));
        EXPECT_EQ(lastError(), wrongSize());
        EXPECT_FALSE(TmxMatchAct_GetActionEventData(match.get(), &record, &complete));
        EXPECT_EQ(lastError(), wrongSize());
        EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
        EXPECT_TRUE(complete);
    }
}

TEST_F(EventDataTest, FillingClearsAllButTheSizeAndOneReservedField) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    TmxEventDataRecord record;
    std::memset(&record, 0xCD, sizeof record);
    record.size = sizeof record;
    bool complete = false;
    EXPECT_TRUE(TmxAct_GetActionEventData(handle.get(), &record, &complete));
    TmxEventDataRecord expected = emptyRecord(TmxActionCode_ABCDisconnect);
    expected.untouched = 0xCDCDCDCDCDCDCDCD;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
    EXPECT_TRUE(complete);
}

TEST_F(EventDataTest, AGenericActionLeavesTheRecordAsItIs) {
    const TmxObjectRef input = ref(1, 2);
    const Handle handle(TmxAct_CreateGenericAction(&input, nullptr, nullptr, nullptr, 7));
    TmxEventDataRecord record;
    std::memset(&record, 0xCD, sizeof record);
    record.size = sizeof record;
    const TmxEventDataRecord before = record;
    bool complete = false;
    EXPECT_TRUE(TmxAct_GetActionEventData(handle.get(), &record, &complete));
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
    EXPECT_FALSE(complete);
}

}  // namespace
}  // namespace edge
