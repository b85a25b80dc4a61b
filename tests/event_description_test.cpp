// Event records as lines for people, and the values that are told one by one.
#include "support/event_support.h"

namespace edge {
namespace {

using EventDescriptionTest = EdgeTest;

Described describeFields(const std::string& text) {
    const Handle handle = taken(text);
    return describe(fill(handle).record);
}

Described describeBytes(const std::string& text) {
    const Handle handle = taken(text);
    const Bytes bytes = binary(handle);
    uint32_t code = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
    TmxEventDataRecord record = emptyRecord(code);
    setBytes(&record, bytes);
    return describe(record);
}

void expectDescribed(const Described& described, const std::string& calls,
                     const std::string& line) {
    EXPECT_TRUE(described.answer);
    EXPECT_TRUE(described.complete);
    EXPECT_EQ(described.error, std::nullopt);
    EXPECT_EQ(described.calls, calls);
    EXPECT_EQ(described.line, line);
}

// The two forms of a reference differ.
TEST_F(EventDescriptionTest, AReferenceShowsItsNameFirstFromTheFields) {
    expectDescribed(describeFields("CameraOn ({ 5, 3, \"Gate\" })"),
                    "0 Camera = Gate (3)\n* CameraOn\n", "CameraOn; Camera: Gate (3)");
}
TEST_F(EventDescriptionTest, AReferenceShowsItsNumberFirstFromTheBytes) {
    expectDescribed(describeBytes("CameraOn ({ 5, 3, \"Gate\" })"),
                    "0 Camera = 3 - Gate\n* CameraOn\n", "CameraOn; Camera: 3 - Gate");
}
TEST_F(EventDescriptionTest, AReferenceWithoutANameShowsItsNumber) {
    expectDescribed(describeFields("CameraOn ({ 5, 3, \"\" })"), "0 Camera = 3\n* CameraOn\n",
                    "CameraOn; Camera: 3");
    expectDescribed(describeBytes("CameraOn ({ 5, 3, \"\" })"), "0 Camera = 3\n* CameraOn\n",
                    "CameraOn; Camera: 3");
}

TEST_F(EventDescriptionTest, AnEnumerationValueSpeaksForItself) {
    // 1 is PlayStop; 99 has no name.
    expectDescribed(describeFields("ViewerConnect ({ 1, 2, \"V\" }, 7, 1)"),
                    "0 Viewer = V (2)\n1 Channel = 7\n2 PlayMode = PlayStop\n* ViewerConnect\n",
                    "ViewerConnect; Viewer: V (2); Channel: 7; PlayStop");
    expectDescribed(describeBytes("ViewerConnect ({ 1, 2, \"V\" }, 7, 99)"),
                    "0 Viewer = 2 - V\n1 Channel = 7\n2 PlayMode = 99\n* ViewerConnect\n",
                    "ViewerConnect; Viewer: 2 - V; Channel: 7; PlayMode: 99");
    // A sign is a character other than a digit.
    EXPECT_EQ(describeFields("ViewerConnect (1, 7, -99)").line,
              "ViewerConnect; Viewer: 1; Channel: 7; -99");
}

TEST_F(EventDescriptionTest, ABoolHasItsName) {
    const Described described = describeFields("SetClientVCA (1, 0, 1)");
    EXPECT_NE(described.line.find("; Enabled: "), std::string::npos) << described.line;
    EXPECT_EQ(describeBytes("SetClientVCA (1, 0, 1)").line, described.line);
}

TEST_F(EventDescriptionTest, TextsDatesAndGuidsAreQuoted) {
    expectDescribed(describeFields("CustomAction (-4, \"a \")"),
                    "0 Int = -4\n1 String = a \n* CustomAction\n",
                    "CustomAction; Int: -4; String: \"a \"");
    const std::string date = "2026/11/15 12:00:00,000 GMT+01:00";
    EXPECT_EQ(describeBytes("SystemStarted (\"" + date + "\")").line,
              "SystemStarted; Date: \"" + date + "\"");
    const std::string guid = "00112233-4455-6677-8899-aabbccddeeff";
    EXPECT_EQ(describeFields("CancelExport (\"" + guid + "\", 77)").line,
              "CancelExport; ExportID: \"" + guid + "\"; AbortFlag: 77");
    EXPECT_EQ(describeFields("StartEvent ({ 17, \"Main\" })").line, "StartEvent; TypeID: \"Main\"");
    const std::string set = "ChangeADParameterSet (1, { \"" + guid + "\", \"Set\" })";
    EXPECT_EQ(describeBytes(set).line, "ChangeADParameterSet; Channel: 1; ParameterSet: \"Set\"");
}

TEST_F(EventDescriptionTest, AnEmptyNameIsToldFromTheBytesAlone) {
    EXPECT_EQ(describeFields("StartEvent ({ 17, \"\" })").line, "StartEvent");
    EXPECT_EQ(describeBytes("StartEvent ({ 17, \"\" })").line, "StartEvent; TypeID: \"\"");
    // An empty text is a text.
    EXPECT_EQ(describeFields("CustomAction (0, \"\")").line, "CustomAction; Int: 0; String: \"\"");
}

TEST_F(EventDescriptionTest, DoublesHaveSixDigits) {
    EXPECT_EQ(describeFields("MoveToAbsolutePosition (1, 0.333333333, 1234567, 0, 0)").line,
              "MoveToAbsolutePosition; Camera: 1; Alpha: 0.333333; Beta: 1.23457e+006");
}

TEST_F(EventDescriptionTest, ARectangleIsFourWordsInBraces) {
    const Described described =
        describeBytes("SensorVideoAlarm (1, 99, AlarmArea: { 1, -2, 3, 4 })");
    EXPECT_EQ(described.calls,
              "0 Channel = 1\n1 SensorType = 99\n2 AlarmArea = 1, -2, 3, 4\n* SensorVideoAlarm\n");
    EXPECT_EQ(described.line,
              "SensorVideoAlarm; Channel: 1; SensorType: 99; AlarmArea: { 1, -2, 3, 4 }");
}

TEST_F(EventDescriptionTest, ADataSetIsNotTold) {
    const std::string text = "VideoResult (Int64FieldA: 1, 12, { { 1, 2, 3, 4, 5, \"x\" } })";
    expectDescribed(describeBytes(text), "0 Int64FieldA = 1\n1 Channel = 12\n* VideoResult\n",
                    "VideoResult; Int64FieldA: 1; Channel: 12");
}

TEST_F(EventDescriptionTest, TheSecondUserIsToldFromTheBytesAlone) {
    const std::string text = "UserLogin (\"one\", User2: \"two\", \"host\")";
    EXPECT_EQ(describeFields(text).line, "UserLogin; User1: \"one\"; Host: \"host\"");
    EXPECT_EQ(describeBytes(text).line,
              "UserLogin; User1: \"one\"; User2: \"two\"; Host: \"host\"");
}

TEST_F(EventDescriptionTest, ALoneTextOfTheSettingsIsTheTimeRanges) {
    const WText range = W(u"Range");
    TmxEventDataRecord record = emptyRecord(6);
    record.textFields[0] = {range.size(), range.c_str()};
    expectDescribed(describe(record), "0 TimeRange = Range\n* SystemSettingsChanged\n",
                    "SystemSettingsChanged; TimeRange: \"Range\"");
}

TEST_F(EventDescriptionTest, AFieldWithoutDataIsSkipped) {
    expectDescribed(describe(emptyRecord(122)), "* CameraOn\n", "CameraOn");
    expectDescribed(describe(emptyRecord(201)), "* ViewerConnect\n", "ViewerConnect");
}

// ---- Records without a known action -------------------------------------------------------------

TmxEventDataRecord allFields(uint32_t code, const int32_t* number, const int64_t* wide,
                             const double* real, const TmxDateTime* date, const WText& text) {
    TmxEventDataRecord record = emptyRecord(code);
    record.int32Fields[1] = number;
    record.int64Fields[0] = wide;
    record.int64Fields[3] = wide;
    record.doubleFields[1] = real;
    record.dateFields[0] = date;
    record.textFields[1] = {text.size(), text.c_str()};
    return record;
}

TEST_F(EventDescriptionTest, CodeZeroShowsTheFieldsInTheirOrder) {
    const int32_t number = -1;
    const int64_t wide = 22;
    const double real = 0.5;
    const TmxDateTime date = localTime(millisecondsOf(2026, 11, 15, 12), -60);
    const WText text = W(u"t");
    const std::string calls =
        "0 Int64FieldA = 22\n1 Int64FieldD = 22\n2 Int32FieldB = -1\n3 StringFieldB = t\n"
        "4 DateFieldA = 2026/11/15 12:00:00,000 GMT+01:00\n5 DoubleFieldB = 0.5\n"
        "* GeneralEventInfo\n";
    const std::string rest =
        "; Int64FieldA: 22; Int64FieldD: 22; Int32FieldB: -1; StringFieldB: \"t\"; "
        "DateFieldA: \"2026/11/15 12:00:00,000 GMT+01:00\"; DoubleFieldB: 0.5";
    expectDescribed(describe(allFields(0, &number, &wide, &real, &date, text)), calls,
                    "GeneralEventInfo" + rest);
    // An unknown code shows the same, and itself.
    expectDescribed(describe(allFields(9999, &number, &wide, &real, &date, text)), calls,
                    "GeneralEventInfo(9999)" + rest);
    expectDescribed(describe(allFields(0xFFFFFFFF, &number, &wide, &real, &date, text)), calls,
                    "GeneralEventInfo(4294967295)" + rest);
}

// ---- Plain names --------------------------------------------------------------------------------

TEST_F(EventDescriptionTest, PlainNamesFollowTheSwitch) {
    const auto rename = [](const TmxWChar* action, const TmxWChar* parameter) {
        TmxActionInfo info{};
        ASSERT_TRUE(TmxAct_GetActionInfo(&info, 122));
        info.plainNameW = action;
        info.descriptionW = nullptr;
        EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
        TmxParameterInfo camera{};
        ASSERT_TRUE(TmxAct_GetActionParameterInfo(&camera, 122, 0));
        camera.plainNameW = parameter;
        camera.descriptionW = nullptr;
        EXPECT_TRUE(TmxAct_SetActionParameterPlainInfo(&camera, 122, 0));
    };
    EXPECT_TRUE(TmxAct_SetNativeTranslation(false));
    rename(W(u"Turn on").c_str(), W(u"Eye").c_str());
    expectDescribed(describeFields("CameraOn ({ 5, 3, \"Gate\" })"),
                    "0 Eye = Gate (3)\n* Turn on\n", "Turn on; Eye: Gate (3)");
    EXPECT_TRUE(TmxAct_SetNativeTranslation(true));
    EXPECT_EQ(describeBytes("CameraOn ({ 5, 3, \"Gate\" })").line, "CameraOn; Camera: 3 - Gate");
    EXPECT_TRUE(TmxAct_SetNativeTranslation(false));
    rename(W(u"CameraOn").c_str(), W(u"Camera").c_str());
    EXPECT_TRUE(TmxAct_SetNativeTranslation(true));
}

// ---- Bytes --------------------------------------------------------------------------------------

TEST_F(EventDescriptionTest, UnreadableBytesFallBackToTheFields) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Gate\" })");
    TmxEventDataRecord record = fill(handle).record;
    const Bytes cut = front(binary(handle), 20);
    setBytes(&record, cut);
    EXPECT_EQ(describe(record).line, "CameraOn; Camera: Gate (3)");
    const Bytes match = binary(taken("@ CameraOn (Camera: 9)"));
    setBytes(&record, match);
    EXPECT_EQ(describe(record).line, "CameraOn; Camera: Gate (3)");
}

// The bytes of an action are looked at with the parameters of the record's code.
TEST_F(EventDescriptionTest, BytesOfAnotherActionAreReadAsTheCodeSays) {
    const Bytes bytes = binary(taken("CustomAction (3, \"x\")"));
    TmxEventDataRecord record = emptyRecord(TmxActionCode_ABCDisconnect);
    setBytes(&record, bytes);
    expectDescribed(describe(record), "* ABCDisconnect\n", "ABCDisconnect");
    // A read that fails ends the values.
    record.code = TmxActionCode_StartEvent;
    expectDescribed(describe(record), "* StartEvent\n", "StartEvent");
}

TEST_F(EventDescriptionTest, AStoredActionOfMoreThanTenThousandBytesEndsTheCall) {
    const auto described = [](std::size_t units) {
        return describeBytes("CustomAction (1, \"" + std::string(units, 'x') + "\")");
    };
    // The template's head, presence and number, and presence, count and terminator of the text.
    constexpr std::size_t kRest = 9 + 9 + 1 + 4 + 2;
    EXPECT_TRUE(described((10000 - kRest) / 2).answer);
    const Described larger = described((10000 - kRest) / 2 + 1);
    EXPECT_FALSE(larger.answer);
    EXPECT_EQ(larger.error, tooSmall());
    EXPECT_EQ(larger.calls, "");
    EXPECT_TRUE(larger.complete);
}

// A text and seventeen absent parameters, each of which takes a byte of the template and may be cut
// off the action.
TEST_F(EventDescriptionTest, AStoredActionOfLessThanHalfItsTemplateEndsTheCall) {
    const Bytes whole = binary(taken("LogBarcodeDataLPS (\"\")"));
    TmxEventDataRecord record = emptyRecord(TmxActionCode_LogBarcodeDataLPS);
    constexpr std::size_t kTemplate = 9 + 1 + 6 + 17;
    const Bytes half = front(whole, (kTemplate + 1) / 2);
    setBytes(&record, half);
    EXPECT_EQ(describe(record).line, "LogBarcodeDataLPS; Barcode: \"\"");
    const Bytes less = front(whole, kTemplate / 2);
    setBytes(&record, less);
    const Described described = describe(record);
    EXPECT_FALSE(described.answer);
    EXPECT_EQ(described.error, tooSmall());
    EXPECT_EQ(described.calls, "");
    // It is restored all the same.
    EXPECT_EQ(machine(restored(record)), "LogBarcodeDataLPS (\"\")");
}

TEST_F(EventDescriptionTest, ADateWithoutATextEndsTheCall) {
    const TmxDateTime before1601 = instant(0, 60);
    TmxEventDataRecord record = emptyRecord(TmxActionCode_SystemStarted);
    record.dateFields[0] = &before1601;
    const Described described = describe(record);
    EXPECT_FALSE(described.answer);
    EXPECT_EQ(described.error, noCalendarDate());
    EXPECT_EQ(described.calls, "");
}

TEST_F(EventDescriptionTest, LongLinesAreWhole) {
    const std::string text(3000, 'x');
    const Described described = describeBytes("CustomAction (1, \"" + text + "\")");
    EXPECT_EQ(described.line, "CustomAction; Int: 1; String: \"" + text + "\"");
}

TEST_F(EventDescriptionTest, TheSizeIsNotLookedAt) {
    TmxEventDataRecord record = emptyRecord(122);
    record.size = 0;
    EXPECT_EQ(describe(record).line, "CameraOn");
}

TEST_F(EventDescriptionTest, WhatACallbackThrowsIsRecorded) {
    const TmxEventDataRecord record = emptyRecord(122);
    bool complete = false;
    EXPECT_FALSE(TmxAct_GetActionEventDescription(
        &record, nullptr, [](void*, uint32_t, const TmxWChar*, const TmxWChar*) { throw "thrown"; },
        &complete));
    EXPECT_EQ(lastError(), errorOf(0, 0, "Zinc::GenericException", "thrown"));
}

}  // namespace
}  // namespace edge
