// Routing: which parameter answers for the video input, the viewer, the contacts, the key and the
// number.
#include "support/edge_support.h"

namespace edge {
namespace {

class RoutingTest : public EdgeTest {
  protected:
    using Accessor = bool (*)(TmxHandle, TmxObjectRef**);
    // The number of the answer, or -1 for null.
    static int32_t numberOf(Accessor accessor, const std::string& text) {
        const Handle handle = taken(text);
        static TmxObjectRef none;
        TmxObjectRef* answer = &none;
        EXPECT_TRUE(handle && accessor(handle.get(), &answer)) << text;
        EXPECT_EQ(lastError(), std::nullopt);
        return answer != nullptr ? answer->number : -1;
    }
    static int32_t input(const std::string& text) { return numberOf(TmxAct_GetVideoInput, text); }
    static int32_t output(const std::string& text) { return numberOf(TmxAct_GetVideoOutput, text); }
    static int64_t key(const std::string& text) {
        const Handle handle = taken(text);
        int64_t none = 0;
        int64_t* answer = &none;
        EXPECT_TRUE(handle && TmxAct_GetForeignKey(handle.get(), &answer)) << text;
        return answer != nullptr ? *answer : -1;
    }
    static int32_t number(const std::string& text) {
        const Handle handle = taken(text);
        int32_t value = -77;
        EXPECT_TRUE(handle && TmxAct_GetGenericInt32Parameter(handle.get(), &value)) << text;
        return value;
    }
    static constexpr char kDate[] = "\"2026/11/15 GMT+01:00\"";
};

TEST_F(RoutingTest, ACameraOnHasAVideoInputAndNoOutput) {
    const std::string text = "CameraOn (5)";
    EXPECT_EQ(input(text), 5);
    EXPECT_EQ(output(text), -1);
    EXPECT_EQ(numberOf(TmxAct_GetInputContact, text), -1);
    EXPECT_EQ(numberOf(TmxAct_GetOutputContact, text), -1);
    EXPECT_EQ(key(text), -1);
    EXPECT_EQ(number(text), 0);
}

TEST_F(RoutingTest, AViewerConnectHasBoth) {
    EXPECT_EQ(input("ViewerConnect (1, 5, 2)"), 5);
    EXPECT_EQ(output("ViewerConnect (1, 5, 2)"), 1);
    EXPECT_EQ(input("ViewerClear (1)"), -1);
    EXPECT_EQ(output("ViewerClear (1)"), 1);
}

TEST_F(RoutingTest, AVideoChannelAnswersAsVideoInput) {
    EXPECT_EQ(input("VideoSyncFailed (7)"), 7);
    EXPECT_EQ(input(std::string("PathwiseFrameRawData (") + kDate + ", 7, 1, 2)"), 7);
    EXPECT_EQ(input("VideoResult (7, {{ 1, 2, 3, 4, 7, \"x\" }})"), 7);
}

TEST_F(RoutingTest, TheAudioChannelOfASensorAudioAlarmAnswersToo) {
    EXPECT_EQ(input("SensorAudioAlarm (7)"), 7);
}

TEST_F(RoutingTest, AFailoverAnswersWithItsSecondaryChannel) {
    EXPECT_EQ(input("IPCamFailoverNotification (\"a\", \"b\", 3, 4)"), 4);
    EXPECT_EQ(input("IPCamFailoverRestore (\"a\", \"b\", 3, 4)"), 4);
}

TEST_F(RoutingTest, AChannelWithoutAKindDoesNotAnswer) {
    EXPECT_EQ(input("SMRPViewerConnected (\"s\", 7)"), -1);
    EXPECT_EQ(input("LenelVideoEvent (Channel: 7, \"d\")"), -1);
}

TEST_F(RoutingTest, AnAbsentChannelIsNull) {
    const std::string date = kDate;
    const std::string texts[] = {
        "TMXSVehicleAccessDenied (1, \"p\", " + date,
        "TMXSVehicleAccessExpired (1, \"p\", " + date + ", " + date,
        "TMXSVehicleAccessGranted (1, \"p\", " + date,
        "TMXSVehicleAccessPending (1, \"p\", " + date,
        "LogBarcodeData (\"b\"",
        "LogBarcodeDataLPS (\"b\"",
        "LogBarcodeID (\"b\"",
        "LogNPRRecognition (\"b\"",
        "SMTPMailSend (\"s\", \"t\", \"c\", \"b\"",
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(input(text + ")"), -1);
        EXPECT_EQ(input(text + ", Channel: 7)"), 7);
    }
}

TEST_F(RoutingTest, AnEmptyReferenceAnswersAllTheSame) {
    EXPECT_EQ(input("CameraOn (0)"), 0);
    EXPECT_EQ(output("ViewerClear (0)"), 0);
}

TEST_F(RoutingTest, TheContactsAnswerInTwoActionsAlone) {
    EXPECT_EQ(numberOf(TmxAct_GetInputContact, "DigitalInput (3, 1)"), 3);
    EXPECT_EQ(numberOf(TmxAct_GetOutputContact, "DigitalInput (3, 1)"), -1);
    EXPECT_EQ(numberOf(TmxAct_GetOutputContact, "SetDigitalOutput (4, 1)"), 4);
    EXPECT_EQ(numberOf(TmxAct_GetInputContact, "SetDigitalOutput (4, 1)"), -1);
    EXPECT_EQ(input("DigitalInput (3, 1)"), -1);
}

TEST_F(RoutingTest, TheForeignKeysOfTheTenActions) {
    EXPECT_EQ(key("EventStarted (1, \"t\", ForeignKey: 9)"), 9);
    EXPECT_EQ(key("InfoEvent (1, 2, ForeignKey: 9, \"n\")"), 9);
    EXPECT_EQ(key("StartEvent (\"t\", ForeignKey: 9)"), 9);
    EXPECT_EQ(key("ViewerShowAlarmByKey (1, 9, 2)"), 9);
    EXPECT_EQ(key("ViewerShowAlarmByType (1, \"t\", ForeignKey: 9, 2)"), 9);
    EXPECT_EQ(key("TARVIKalarm (9, 2, \"s\")"), 9);
    EXPECT_EQ(key("LogBarcodeData (\"b\", Hash: 9)"), 9);
    EXPECT_EQ(key("LogBarcodeDataLPS (\"b\", Hash: 9)"), 9);
    EXPECT_EQ(key("LogBarcodeID (\"b\", Hash: 9)"), 9);
    EXPECT_EQ(key("LogNPRRecognition (\"b\", Hash: 9)"), 9);
}

TEST_F(RoutingTest, AnAbsentForeignKeyIsNull) {
    EXPECT_EQ(key("EventStarted (1, \"t\")"), -1);
    EXPECT_EQ(key("InfoEvent (1, 2, \"n\")"), -1);
    EXPECT_EQ(key("StartEvent (\"t\")"), -1);
    EXPECT_EQ(key("ViewerShowAlarmByType (1, \"t\", 2)"), -1);
    EXPECT_EQ(key("LogBarcodeData (\"b\")"), -1);
    EXPECT_EQ(key("LogBarcodeDataLPS (\"b\")"), -1);
    EXPECT_EQ(key("LogBarcodeID (\"b\")"), -1);
    EXPECT_EQ(key("LogNPRRecognition (\"b\")"), -1);
    EXPECT_EQ(key("ViewerShowAlarmByKey (1, 0, 2)"), 0);
}

TEST_F(RoutingTest, OtherIdsAreNoForeignKeys) {
    EXPECT_EQ(key("StopEventByID (9)"), -1);
    EXPECT_EQ(key("ViewerShowAlarmByInstance (1, 9, 2)"), -1);
    EXPECT_EQ(key("CustomAction (9, \"x\")"), -1);
}

TEST_F(RoutingTest, TheNumberIsTheFirstRequiredInt32) {
    EXPECT_EQ(number("SetLEDBlink (1, 100, 200)"), 100);
    EXPECT_EQ(number("SetWatchdog (7)"), 7);
    EXPECT_EQ(number("ViewerSetPlayMode (1, 2, 100)"), 100);
    EXPECT_EQ(number("PanRight (5, 30)"), 30);
    EXPECT_EQ(number("Temperature (1, \"i\", 36)"), 36);
    EXPECT_EQ(number("LenelReader (\"m\", \"n\", \"h\", 11, 12, 13, 14, 15)"), 11);
    EXPECT_EQ(number("TARVIKalarm (9, 2, \"s\")"), 2);
    EXPECT_EQ(number("PPZoneAlarm (\"z\", \"i\", 5, Subcell: 6, 0)"), 5);
}

TEST_F(RoutingTest, AnOptionalNumberNeverAnswers) {
    EXPECT_EQ(number("IPSwitchOperation (3, \"p\", Param: 9)"), 0);
    EXPECT_EQ(number("FRCNotification (3, Param: 9)"), 0);
    EXPECT_EQ(number("LenelSecurityEvent (SecondaryDevice: 9, \"d\", SerialNumber: 8)"), 0);
    EXPECT_EQ(number("SensorVideoAlarm (5, 1, ADCell: 9)"), 0);
    EXPECT_EQ(number(std::string("TerminalArticleData (\"n\", ") + kDate + ", 4, PumpNo: 9, 0)"),
              4);
}

TEST_F(RoutingTest, OtherTypesNeverAnswerForTheNumber) {
    EXPECT_EQ(number("CustomAction (9, \"x\")"), 0);
    EXPECT_EQ(number("KeyPressed (3)"), 0);
    EXPECT_EQ(number("SetTestPictureMode (5, 1)"), 0);
    EXPECT_EQ(number("ABCDisconnect ()"), 0);
    EXPECT_EQ(number("MoveToBySpeed (5, 1, 2)"), 0);
}

TEST_F(RoutingTest, WhatIsWrittenThroughTheAnswerShowsInTheObject) {
    const Handle handle = taken("CameraOn ({ 1, 5, \"Gate\" })");
    TmxObjectRef* camera = nullptr;
    EXPECT_TRUE(TmxAct_GetVideoInput(handle.get(), &camera));
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(camera->id, 1);
    EXPECT_EQ(camera->number, 5);
    EXPECT_EQ(WText(camera->name), W(u"Gate"));
    camera->id = 42;
    camera->number = 43;
    TmxObjectRef out;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(handle.get(), &out));
    EXPECT_EQ(out.id, 42);
    EXPECT_EQ(out.number, 43);
    EXPECT_EQ(machine(handle), "CameraOn ({ 42, 43, \"Gate\" })");
    const BinRead back = fromBytes(binary(handle));
    EXPECT_EQ(machine(back.handle), "CameraOn ({ 42, 43, \"Gate\" })");
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(handle.get(), &raw));
    EXPECT_EQ(machine(Handle(raw)), "CameraOn ({ 42, 43, \"Gate\" })");
}

TEST_F(RoutingTest, TheKeyIsTheObjectsOwn) {
    const Handle handle = taken("StartEvent (\"t\", ForeignKey: 9)");
    int64_t* answer = nullptr;
    EXPECT_TRUE(TmxAct_GetForeignKey(handle.get(), &answer));
    ASSERT_NE(answer, nullptr);
    *answer = 10;
    EXPECT_EQ(machine(handle), "StartEvent (\"t\", ForeignKey: 10)");
    TmxObjectRef type;
    const int64_t* decoded = nullptr;
    EXPECT_TRUE(TmxAct_DecodeStartEventEx(handle.get(), &type, &decoded));
    EXPECT_EQ(decoded, answer);
}

TEST_F(RoutingTest, TheAnswerOfAnOptionalChannelLeadsIntoTheObject) {
    const Handle handle = taken("LogNPRRecognition (\"b\", Channel: 7)");
    TmxObjectRef* channel = nullptr;
    EXPECT_TRUE(TmxAct_GetVideoInput(handle.get(), &channel));
    ASSERT_NE(channel, nullptr);
    channel->number = 8;
    EXPECT_EQ(machine(handle), "LogNPRRecognition (\"b\", Channel: 8)");
}

}  // namespace
}  // namespace edge
