// Actions made from templates: without a source, from a source of the same action, and from any
// other by the roles that it has.
#include "support/edge_support.h"

namespace edge {
namespace {

class TemplateActionTest : public EdgeTest {
  protected:
    static Handle generic(const TmxObjectRef* videoInput, const TmxObjectRef* videoOutput,
                          const TmxObjectRef* inputContact, const TmxObjectRef* outputContact,
                          int32_t number) {
        return Handle(TmxAct_CreateGenericAction(videoInput, videoOutput, inputContact,
                                                 outputContact, number));
    }
};

// ---- Without a source ---------------------------------------------------------------------------

TEST_F(TemplateActionTest, WithoutASourceSetParametersGiveTheirValues) {
    EXPECT_EQ(made("@ FocusFar (Camera: 3, Speed: 7)"), "FocusFar (3, 7)");
    EXPECT_EQ(made("@ CameraOn (Camera: { 1234, 5, \"Gate\" })"),
              "CameraOn ({ 1234, 5, \"Gate\" })");
    EXPECT_EQ(made("@ SensorVideoAlarm (Channel: 1, SensorType: 2, ADCell: 0)"),
              "SensorVideoAlarm (1, 2, ADCell: 0)");
    EXPECT_EQ(made("@ ABCDisconnect ()"), "ABCDisconnect ()");
}

TEST_F(TemplateActionTest, WithoutASourceOpenParametersAreZeroOrAbsent) {
    EXPECT_EQ(made("@ FocusFar (Camera: 3)"), "FocusFar (3, 0)");
    EXPECT_EQ(made("@ FocusFar ()"), "FocusFar (0, 0)");
    EXPECT_EQ(made("@ ViewerConnect ()"), "ViewerConnect (0, 0, 0)");
    EXPECT_EQ(made("@ CustomAction ()"), "CustomAction (0, \"\")");
    EXPECT_EQ(made("@ CancelExport ()"),
              "CancelExport (\"00000000-0000-0000-0000-000000000000\", 0)");
    EXPECT_EQ(made("@ StartEvent ()"), "StartEvent (\"\")");
    EXPECT_EQ(made("@ StartAutoBackup ()"), "StartAutoBackup (\"\")");
    EXPECT_EQ(made("@ ABCPlayFile ()"), "ABCPlayFile (0, \"\", 0)");
    EXPECT_EQ(made("@ DeviceFound ()"), "DeviceFound (\"\", \"\", \"\")");
    EXPECT_EQ(made("@ SensorVideoAlarm ()"), "SensorVideoAlarm (0, 0)");
    EXPECT_EQ(made("@ VideoResult ()"), "VideoResult (0, {})");
}

TEST_F(TemplateActionTest, AnOpenDateTimeIsTheTimeOfTheTemplatesMaking) {
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
                   .count() +
               11644473600000;
    };
    const int64_t before = now();
    const Handle match = taken("@ SetClock ()");
    const int64_t after = now();
    while (now() < after + 5) {
    }
    TmxDateTime first{};
    TmxDateTime second{};
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(match).get(), &first));
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(match).get(), &second));
    // The time when the template was read, not when the action is made: the same each time.
    EXPECT_EQ(first.value, second.value);
    const auto time = static_cast<int64_t>(first.value & 0xFFFFFFFFFFFF);
    // The time is rounded.
    EXPECT_GE(time, before);
    EXPECT_LE(time, after + 1);
    // A clone has it too.
    TmxHandle copy = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(match.get(), &copy));
    const Handle clone(copy);
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(clone).get(), &second));
    EXPECT_EQ(first.value, second.value);
}

TEST_F(TemplateActionTest, AnActionGoesToItsTemplateAndBack) {
    for (const char* text :
         {"SetupChanged (\"admin\", \"srv1\", \"2026/11/15 12:00:00,000 GMT+01:00\", 1, "
          "{ 17, \"Entrance\" }, 2, Details: \"moved\", ClientAccount: \"op1\")",
          "SensorVideoAlarm ({ 1, 2, \"x\" }, 2, AlarmArea: { 1, 2, 3, 4 })",
          "ViewerConnect (1, 5, 2)", "ABCDisconnect ()",
          "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})"}) {
        const Handle action = taken(text);
        setProperty(action.get(), u"a", u"b");
        const Handle back = made(templateOf(action));
        EXPECT_EQ(machine(back), text);
        EXPECT_TRUE(equal(action, back));
        EXPECT_TRUE(equal(back, action));
        EXPECT_EQ(properties(back.get()), W(u"<properties />"));
    }
}

// ---- From a source of the same action -----------------------------------------------------------

TEST_F(TemplateActionTest, TheTemplateOverridesASourceOfItsAction) {
    EXPECT_EQ(made("@ FocusFar (Camera: 3)", "FocusFar (9, 7)"), "FocusFar (3, 7)");
    EXPECT_EQ(made("@ FocusFar (Speed: 1)", "FocusFar ({ 4, 9, \"x\" }, 7)"),
              "FocusFar ({ 4, 9, \"x\" }, 1)");
    EXPECT_EQ(made("@ FocusFar (Camera: 0, Speed: 0)", "FocusFar (9, 7)"), "FocusFar (0, 0)");
    EXPECT_EQ(made("@ FocusFar ()", "FocusFar (9, 7)"), "FocusFar (9, 7)");
    EXPECT_EQ(made("@ CameraOn ()", "CameraOn ({ 1, 5, \"Gate\" })"),
              "CameraOn ({ 1, 5, \"Gate\" })");
}

TEST_F(TemplateActionTest, AnOpenOptionalParameterTakesTheStateOfTheSource) {
    const std::string match = "@ SensorVideoAlarm (SensorType: 3)";
    EXPECT_EQ(made(match, "SensorVideoAlarm (1, 2)"), "SensorVideoAlarm (1, 3)");
    EXPECT_EQ(made(match, "SensorVideoAlarm (1, 2, ADCell: 5)"),
              "SensorVideoAlarm (1, 3, ADCell: 5)");
    EXPECT_EQ(made(match, "SensorVideoAlarm (1, 2, ADCell: 0, AlarmArea: { 1, 2, 3, 4 })"),
              "SensorVideoAlarm (1, 3, ADCell: 0, AlarmArea: { 1, 2, 3, 4 })");
    // One that is set overrides presence and absence.
    EXPECT_EQ(made("@ SensorVideoAlarm (ADCell: 9)", "SensorVideoAlarm (1, 2)"),
              "SensorVideoAlarm (1, 2, ADCell: 9)");
    EXPECT_EQ(made("@ SensorVideoAlarm (ADCell: 9)", "SensorVideoAlarm (1, 2, ADCell: 5)"),
              "SensorVideoAlarm (1, 2, ADCell: 9)");
    EXPECT_EQ(made("@ UserLogin (User2: \"\")", "UserLogin (\"a\", User2: \"b\", \"c\")"),
              "UserLogin (\"a\", User2: \"\", \"c\")");
}

// ---- From any other source ----------------------------------------------------------------------

TEST_F(TemplateActionTest, TheCameraOfAnAlarmIsSwitchedOn) {
    EXPECT_EQ(made("@ CameraOn ()", "SensorVideoAlarm (5, 2)"), "CameraOn (5)");
    EXPECT_EQ(made("@ CameraOn ()", "SensorVideoAlarm ({ 1, 5, \"Gate\" }, 2)"),
              "CameraOn ({ 1, 5, \"Gate\" })");
    EXPECT_EQ(made("@ CameraOn (Camera: 9)", "SensorVideoAlarm (5, 2)"), "CameraOn (9)");
    // A sensor of sound has its channel there too.
    EXPECT_EQ(made("@ CameraOn ()", "SensorAudioAlarm (6)"), "CameraOn (6)");
    EXPECT_EQ(made("@ SensorAudioAlarm ()", "CameraOn (7)"), "SensorAudioAlarm (7)");
}

TEST_F(TemplateActionTest, ASourceWithoutTheRoleGivesTheEmptyReference) {
    EXPECT_EQ(made("@ CameraOn ()", "CustomAction (7, \"x\")"), "CameraOn (0)");
    EXPECT_EQ(made("@ CameraOn ()", "ABCDisconnect ()"), "CameraOn (0)");
    // An optional channel that is absent is no channel.
    EXPECT_EQ(made("@ CameraOn ()", "LogBarcodeData (\"a\")"), "CameraOn (0)");
    EXPECT_EQ(made("@ CameraOn ()", "LogBarcodeData (\"a\", Channel: 5)"), "CameraOn (5)");
}

TEST_F(TemplateActionTest, ViewerAndChannelTakeTheirOwnRoles) {
    EXPECT_EQ(made("@ ViewerConnect ()", "CameraOn (5)"), "ViewerConnect (0, 5, 0)");
    EXPECT_EQ(made("@ ViewerConnect ()", "ViewerSetPlayMode (3, 2, 100)"),
              "ViewerConnect (3, 0, 0)");
    EXPECT_EQ(made("@ ViewerConnect (PlayMode: 2)", "ViewerConnect (3, 5, 1)"),
              "ViewerConnect (3, 5, 2)");
    const TmxObjectRef channel = ref(0, 5);
    const TmxObjectRef viewer = ref(0, 3);
    EXPECT_EQ(
        machine(made(taken("@ ViewerConnect ()"), generic(&channel, &viewer, nullptr, nullptr, 9))),
        "ViewerConnect (3, 5, 0)");
}

TEST_F(TemplateActionTest, ContactsTakeTheirOwnRoles) {
    const TmxObjectRef input = ref(0, 4);
    const TmxObjectRef output = ref(0, 6);
    const Handle source = generic(nullptr, nullptr, &input, &output, 9);
    EXPECT_EQ(machine(made(taken("@ DigitalInput ()"), source)), "DigitalInput (4, 0)");
    EXPECT_EQ(machine(made(taken("@ SetDigitalOutput (State: 1)"), source)),
              "SetDigitalOutput (6, 1)");
    EXPECT_EQ(made("@ DigitalInput ()", "SetDigitalOutput (6, 1)"), "DigitalInput (0, 0)");
    EXPECT_EQ(made("@ SetDigitalOutput ()", "DigitalInput (4, 1)"), "SetDigitalOutput (0, 0)");
}

TEST_F(TemplateActionTest, AReferenceOfNoRoleStaysEmpty) {
    // Of the failover's two channels one has the kind of a video channel.
    EXPECT_EQ(made("@ IPCamFailoverNotification ()", "CameraOn (5)"),
              "IPCamFailoverNotification (\"\", \"\", 0, 5)");
}

TEST_F(TemplateActionTest, EveryOpenRequiredNumberIsTheOneOfTheSource) {
    // A camera has none.
    EXPECT_EQ(made("@ FocusFar (Camera: 3)", "CameraOn (5)"), "FocusFar (3, 0)");
    EXPECT_EQ(made("@ FocusFar ()", "FocusNear (8, 33)"), "FocusFar (8, 33)");
    EXPECT_EQ(made("@ SetLEDBlink ()", "SetWatchdog (33)"), "SetLEDBlink (0, 33, 33)");
    EXPECT_EQ(made("@ SetLEDBlink (LED: 2, LedTimeOffMs: 1)", "SetWatchdog (33)"),
              "SetLEDBlink (2, 33, 1)");
    const std::string backup = made(
        "@ AutoBackupFileDone (EffectiveStartTime: \"2026/11/15 12:00:00,000 GMT+01:00\", "
        "OperationStartTime: \"2026/11/15 12:00:00,000 GMT+01:00\")",
        "SetWatchdog (33)");
    EXPECT_EQ(backup,
              "AutoBackupFileDone (\"\", \"2026/11/15 12:00:00,000 GMT+01:00\", 33, 0, 33, "
              "\"2026/11/15 12:00:00,000 GMT+01:00\", \"\", \"\", 0, 0, 33, \"\", 0)");
    EXPECT_EQ(
        machine(made(taken("@ SetWatchdog ()"), generic(nullptr, nullptr, nullptr, nullptr, -77))),
        "SetWatchdog (-77)");
}

TEST_F(TemplateActionTest, AForeignKeyIsThatOfTheSource) {
    EXPECT_EQ(made("@ TARVIKalarm ()", "EventStarted (1, \"a\", ForeignKey: 4294967338)"),
              "TARVIKalarm (4294967338, 0, \"\")");
    EXPECT_EQ(made("@ TARVIKalarm ()", "EventStarted (1, \"a\")"), "TARVIKalarm (0, 0, \"\")");
    EXPECT_EQ(made("@ TARVIKalarm ()", "ViewerShowAlarmByKey (1, 43, 2)"),
              "TARVIKalarm (43, 0, \"\")");
    EXPECT_EQ(made("@ TARVIKalarm ()", "CameraOn (5)"), "TARVIKalarm (0, 0, \"\")");
    EXPECT_EQ(made("@ TARVIKalarm (TARVIKkey: 7)", "EventStarted (1, \"a\", ForeignKey: 43)"),
              "TARVIKalarm (7, 0, \"\")");
    EXPECT_EQ(made("@ ViewerShowAlarmByKey ()", "TARVIKalarm (43, 5, \"x\")"),
              "ViewerShowAlarmByKey (0, 43, 0)");
}

TEST_F(TemplateActionTest, ACustomActionGivesItsNumberForTheForeignKey) {
    EXPECT_EQ(made("@ TARVIKalarm ()", "CustomAction (42, \"x\")"), "TARVIKalarm (42, 0, \"\")");
    EXPECT_EQ(made("@ ViewerShowAlarmByKey ()", "CustomAction (4294967338, \"x\")"),
              "ViewerShowAlarmByKey (0, 4294967338, 0)");
    EXPECT_EQ(made("@ TARVIKalarm (TARVIKkey: 7)", "CustomAction (42, \"x\")"),
              "TARVIKalarm (7, 0, \"\")");
    // Nothing else takes it.
    EXPECT_EQ(made("@ ABCPlayFile ()", "CustomAction (42, \"x\")"), "ABCPlayFile (0, \"\", 0)");
}

TEST_F(TemplateActionTest, AnOptionalParameterIsNeverFilledFromAnotherAction) {
    EXPECT_EQ(made("@ StartEvent ()", "EventStarted (1, { 17, \"Main\" }, ForeignKey: 43)"),
              "StartEvent (\"\")");
    EXPECT_EQ(made("@ LogBarcodeData ()", "CameraOn (5)"), "LogBarcodeData (\"\")");
    EXPECT_EQ(made("@ LogBarcodeData (Channel: 6)", "CameraOn (5)"),
              "LogBarcodeData (\"\", Channel: 6)");
    EXPECT_EQ(made("@ SensorVideoAlarm ()", "FocusFar (5, 33)"), "SensorVideoAlarm (5, 0)");
}

TEST_F(TemplateActionTest, OtherTypesHaveNoSource) {
    // GUID references, named ids, texts and enumerations are the template's own.
    EXPECT_EQ(made("@ StartAutoBackup ()",
                   "AbortAutoBackup ({ \"00112233-4455-6677-8899-aabbccddeeff\", \"Night\" })"),
              "StartAutoBackup (\"\")");
    EXPECT_EQ(made("@ StopEvent ()", "StartEvent ({ 17, \"Main\" })"), "StopEvent (\"\")");
    EXPECT_EQ(made("@ CustomAction ()", "ABCPlayFile (5, \"x\", 1)"), "CustomAction (0, \"\")");
    EXPECT_EQ(made("@ ViewerSetPlayMode ()", "ViewerConnect (3, 5, 2)"),
              "ViewerSetPlayMode (3, 0, 0)");
}

TEST_F(TemplateActionTest, AGenericActionWithoutRolesGivesNothing) {
    const Handle none = generic(nullptr, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(machine(made(taken("@ ViewerConnect ()"), none)), "ViewerConnect (0, 0, 0)");
    EXPECT_EQ(machine(made(taken("@ TARVIKalarm ()"), none)), "TARVIKalarm (0, 0, \"\")");
    // A name alone is enough.
    const WText name = W(u"Gate");
    const TmxObjectRef gate = ref(0, 0, name.c_str());
    EXPECT_EQ(machine(made(taken("@ CameraOn ()"), generic(&gate, nullptr, nullptr, nullptr, 0))),
              "CameraOn ({ 0, 0, \"Gate\" })");
}

// ---- What is made -------------------------------------------------------------------------------

TEST_F(TemplateActionTest, TheActionIsNewAndItsOwn) {
    Handle match = taken("@ CustomAction (Comment: \"x\", Int: 7)");
    Handle source = taken("CustomAction (1, \"a text that is longer than short strings are\")");
    EXPECT_TRUE(TmxAct_SetMessageFlags(source.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(source.get(), 4));
    setProperty(source.get(), u"a", u"b");
    EXPECT_TRUE(TmxAct_SetMessageFlags(match.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(match.get(), 4));
    const std::string matchText = machine(match);
    const std::string sourceText = machine(source);
    const Handle action = made(match, source);
    EXPECT_EQ(openSinceStart(), 3u);
    for (const Handle* handle : std::initializer_list<const Handle*>{&match, &source, &action}) {
        uint32_t count = 0;
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle->get(), &count));
        EXPECT_EQ(count, 1u);
    }
    uint32_t number = 5;
    EXPECT_TRUE(TmxAct_GetMessageClass(action.get(), &number));
    EXPECT_EQ(number, 1u);
    EXPECT_TRUE(TmxAct_GetMessageFlags(action.get(), &number));
    EXPECT_EQ(number, 0u);
    uint64_t data = 5;
    EXPECT_TRUE(TmxAct_GetInternalData(action.get(), &data));
    EXPECT_EQ(data, 0u);
    EXPECT_EQ(properties(action.get()), W(u"<properties />"));
    // Neither was changed.
    EXPECT_EQ(machine(match), matchText);
    EXPECT_EQ(machine(source), sourceText);
    EXPECT_EQ(property(source.get(), u"a"), W(u"b"));
    match.close();
    source.close();
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_EQ(machine(action),
              "CustomAction (7, \"a text that is longer than short strings are\")");
}

TEST_F(TemplateActionTest, NamesFromARoleAreCopied) {
    Handle source =
        taken("SensorVideoAlarm ({ 1, 5, \"a name that is longer than short ones\" }, 2)");
    const Handle action = made(taken("@ CameraOn ()"), source);
    source.close();
    TmxObjectRef camera;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(action.get(), &camera));
    EXPECT_EQ(camera.id, 1);
    EXPECT_EQ(camera.number, 5);
    EXPECT_EQ(WText(camera.name), W(u"a name that is longer than short ones"));
}

}  // namespace
}  // namespace edge
