// Templates as text: the parameters by name, the description under the name "Comment", and what the
// reader refuses.
#include "support/edge_support.h"

namespace edge {
namespace {

class TemplateTextTest : public EdgeTest {};

// ---- What is written ----------------------------------------------------------------------------

TEST_F(TemplateTextTest, WithNothingSetTheParenthesesStandEmpty) {
    EXPECT_EQ(rewritten("@ CameraOn ()"), "@ CameraOn ()");
    EXPECT_EQ(rewritten("@ ViewerConnect ()"), "@ ViewerConnect ()");
    EXPECT_EQ(rewritten("@ VideoResult ()"), "@ VideoResult ()");
    EXPECT_EQ(rewritten("@ ABCDisconnect ()"), "@ ABCDisconnect ()");
}

TEST_F(TemplateTextTest, EverySetParameterHasItsName) {
    EXPECT_EQ(machine(templateOf(taken("ViewerConnect (1, 5, 2)"))),
              "@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 2)");
    EXPECT_EQ(rewritten("@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 2)"),
              "@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 2)");
}

TEST_F(TemplateTextTest, AnUnsetParameterLeavesNoTrace) {
    for (const char* text :
         {"@ ViewerConnect (Viewer: 1)", "@ ViewerConnect (Channel: 5)",
          "@ ViewerConnect (PlayMode: 2)", "@ ViewerConnect (Viewer: 1, PlayMode: 2)",
          "@ ViewerConnect (Channel: 5, PlayMode: 2)", "@ ViewerConnect (Viewer: 1, Channel: 5)"}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST_F(TemplateTextTest, TheDescriptionComesFirstAndIsCalledComment) {
    for (const char* text :
         {"@ CameraOn (Comment: \"at night\")", "@ CameraOn (Comment: \"at night\", Camera: 5)",
          "@ ABCDisconnect (Comment: \"x\")", "@ ViewerConnect (Comment: \"x\", PlayMode: 2)",
          "@ CameraOn (Comment: \"\")", "@ CameraOn (Comment: \"\", Camera: 0)",
          "@ CameraOn (Comment: \"a, (b): { c }\", Camera: 5)"}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST_F(TemplateTextTest, EveryTypeIsWrittenAsInAnAction) {
    for (const char* text :
         {"@ SetupChanged (User: \"admin\", Host: \"srv1\", "
          "Date: \"2026/11/15 12:00:00,000 GMT+01:00\", ResourceKind: 1, "
          "ResourceID: { 17, \"Entrance\" }, ChangeKind: 2, Details: \"\", ClientType: -1)",
          "@ SetupChanged (ResourceID: \"Entrance\")",
          "@ CancelExport (ExportID: \"00112233-4455-6677-8899-aabbccddeeff\", AbortFlag: 1)",
          "@ StartAutoBackup (Schedule: { \"00112233-4455-6677-8899-aabbccddeeff\", \"Night\" })",
          "@ StartAutoBackup (Schedule: \"Night\")", "@ CameraOn (Camera: { 1234, 5, \"Gate\" })",
          "@ CameraOn (Camera: 5)",
          "@ CustomAction (Int: -281474976710655, String: \"hello, world\")",
          "@ DeviceFound (Type: \"a\", Serial: \"b\")", "@ ABCPlayFile (AutoRepeat: 1)",
          "@ MoveToBySpeed (SpeedAlpha: 1.5, SpeedBeta: 1e+006)",
          "@ SensorVideoAlarm (AlarmArea: { 1, -2, 3, -4 })",
          "@ VideoResult (ResultDataSet: {{ 1, 2, 3, 4, 7, \"x\" }, { 5, 6, 7, 8, 9, \"y\" }})"}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST_F(TemplateTextTest, TheNarrowTextIsInItsCodePage) {
    const Handle match = taken("@ CameraOn ()");
    describe(match, u"T\u00FCr \u20AC");
    EXPECT_EQ(textA(match.get()), "@ CameraOn (Comment: \"T\xFCr \x80\")");
    EXPECT_EQ(textA(match.get(), false, true), "@ CameraOn (Comment: \"T\xC3\xBCr \xE2\x82\xAC\")");
    EXPECT_EQ(textW(match.get()), W(u"@ CameraOn (Comment: \"T\u00FCr \u20AC\")"));
    for (const bool utf8 : {false, true}) {
        const std::string text = textA(match.get(), false, utf8);
        const Read back = readA(text, TMX_MEASURE_LENGTH, kAny, utf8);
        ASSERT_TRUE(back.handle);
        EXPECT_EQ(descriptionW(back.handle), W(u"T\u00FCr \u20AC"));
        EXPECT_EQ(back.consumed, text.size());
    }
}

TEST_F(TemplateTextTest, ABufferTooSmallIsToldWithTheNeededSize) {
    const Handle match = taken("@ CameraOn (Comment: \"x\", Camera: 5)");
    const std::string expected = machine(match);
    for (uint32_t size = 0; size <= expected.size() + 1; ++size) {
        std::string narrow(expected.size() + 8, '~');
        WText wide(expected.size() + 8, TmxWChar{'~'});
        uint32_t written = kUnset;
        EXPECT_EQ(storeText(match.get(), narrow.data(), size, false, false, &written),
                  size > expected.size());
        EXPECT_EQ(written, expected.size() + 1);
        EXPECT_EQ(lastError(),
                  size > expected.size() ? std::nullopt : std::optional<Error>(tooSmall()));
        EXPECT_EQ(narrow.substr(size), std::string(narrow.size() - size, '~'));
        written = kUnset;
        EXPECT_EQ(storeText(match.get(), wide.data(), size, false, false, &written),
                  size > expected.size());
        EXPECT_EQ(written, expected.size() + 1);
        EXPECT_EQ(lastError(),
                  size > expected.size() ? std::nullopt : std::optional<Error>(tooSmall()));
        EXPECT_EQ(wide.substr(size), WText(wide.size() - size, TmxWChar{'~'}));
        // The count may be left out.
        EXPECT_EQ(storeText(match.get(), narrow.data(), size, false, false, nullptr),
                  size > expected.size());
    }
}

// ---- The display form ---------------------------------------------------------------------------

TEST_F(TemplateTextTest, TheDisplayFormShowsSetParametersAlone) {
    EXPECT_EQ(display(taken("@ CameraOn ()")), "CameraOn");
    EXPECT_EQ(display(taken("@ CameraOn (Camera: { 1234, 5, \"Gate\" })")),
              "CameraOn; Camera: Gate (5)");
    EXPECT_EQ(display(taken("@ FocusFar (Speed: 7)")), "FocusFar; Speed: 7");
    EXPECT_EQ(display(taken("@ FocusFar (Camera: 5)")), "FocusFar; Camera: 5");
    EXPECT_EQ(display(taken("@ SetupChanged (User: \"admin\", ClientAccount: \"op1\")")),
              "SetupChanged; User: \"admin\"; ClientAccount: \"op1\"");
}

TEST_F(TemplateTextTest, TheDisplayFormNeverShowsTheDescription) {
    EXPECT_EQ(display(taken("@ CameraOn (Comment: \"at night\")")), "CameraOn");
    EXPECT_EQ(display(taken("@ CameraOn (Comment: \"at night\", Camera: 5)")),
              "CameraOn; Camera: 5");
    EXPECT_EQ(display(taken("@ ABCDisconnect (Comment: \"\")")), "ABCDisconnect");
}

TEST_F(TemplateTextTest, TheDisplayFormOfAnEnumerationIsItsText) {
    EXPECT_EQ(display(taken("@ ViewerSetPlayMode (PlayMode: 2)")),
              "ViewerSetPlayMode; PlayForward");
    EXPECT_EQ(display(taken("@ ViewerSetPlayMode (Comment: \"x\", PlayMode: 2, PlaySpeed: 100)")),
              "ViewerSetPlayMode; PlayForward; PlaySpeed: 100");
    // One without a text keeps its name.
    EXPECT_EQ(display(taken("@ ViewerSetPlayMode (PlayMode: -77)")),
              "ViewerSetPlayMode; PlayMode: -77");
}

TEST_F(TemplateTextTest, TheDisplayFormTakesPlainNames) {
    const WText actionName = W(u"Weit");
    const WText parameterName = W(u"Tempo");
    TmxActionInfo action{};
    action.code = 111;
    action.plainNameW = actionName.c_str();
    TmxParameterInfo parameter{};
    parameter.plainNameW = parameterName.c_str();
    ASSERT_TRUE(TmxAct_SetActionPlainInfo(&action));
    ASSERT_TRUE(TmxAct_SetActionParameterPlainInfo(&parameter, 111, 1));
    const Handle match = taken("@ FocusFar (Comment: \"x\", Speed: 7)");
    EXPECT_EQ(display(match), "Weit; Tempo: 7");
    EXPECT_EQ(machine(match), "@ FocusFar (Comment: \"x\", Speed: 7)");
    const WText plainAction = W(u"FocusFar");
    const WText plainParameter = W(u"Speed");
    action.plainNameW = plainAction.c_str();
    parameter.plainNameW = plainParameter.c_str();
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&action));
    EXPECT_TRUE(TmxAct_SetActionParameterPlainInfo(&parameter, 111, 1));
}

TEST_F(TemplateTextTest, TheDisplayFormIsNotRead) {
    expectRefused("@ CameraOn; Camera: 5", 11);
    // Without its @ it isn't even a template.
    expectRefused("CameraOn; Camera: 5", 11);
}

// ---- What is read -------------------------------------------------------------------------------

TEST_F(TemplateTextTest, WhiteSpaceMayStandAroundEveryToken) {
    for (const char* text :
         {"@CameraOn(Comment:\"x\",Camera:5)", "@ CameraOn (Comment: \"x\", Camera: 5)",
          " \t\r\n@\n CameraOn \t( Comment \r: \n\"x\" , Camera\t:\n5 )",
          "@\t\tcameraon(COMMENT:\"x\",camera:0x5)"}) {
        EXPECT_EQ(rewritten(text), "@ CameraOn (Comment: \"x\", Camera: 5)") << text;
    }
}

TEST_F(TemplateTextTest, NamesAreTakenInAnyCase) {
    EXPECT_EQ(rewritten("@ VIEWERCONNECT (VIEWER: 1, channel: 5, pLAYmODE: 2)"),
              "@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 2)");
    EXPECT_EQ(rewritten("@ cameraon (cOMMENT: \"x\")"), "@ CameraOn (Comment: \"x\")");
}

TEST_F(TemplateTextTest, AnEmptyValueReadsAsZero) {
    EXPECT_EQ(rewritten("@ FocusFar (Camera: , Speed: )"), "@ FocusFar (Camera: 0, Speed: 0)");
}

TEST_F(TemplateTextTest, WhatFollowsTheClosingParenthesisIsLeft) {
    expectTaken("@ CameraOn (Camera: 5) CameraOff (6)", TMX_MEASURE_LENGTH,
                "@ CameraOn (Camera: 5)", 22);
    expectTaken("@ CameraOn () @ CameraOff ()", TMX_MEASURE_LENGTH, "@ CameraOn ()", 13);
}

TEST_F(TemplateTextTest, WithoutParenthesesATemplateIsRefused) {
    // The parenthesis is due at the very end, where the first failure goes unseen and the second
    // is told.
    expectRefused("@ CameraOn", 0xFFFFFFFF);
    expectRefused("@ CameraOn Camera: 5", 9);
    expectRefused("@ CameraOn, ()", 4);
}

TEST_F(TemplateTextTest, AValueWithoutANameIsRefused) {
    expectRefusedAt("@ CameraOn (5)", "5)");
    expectRefusedAt("@ ViewerConnect (Viewer: 1, 5, 2)", ", 5, 2)");
}

TEST_F(TemplateTextTest, ParametersInAnotherOrderAreRefusedAtTheEnd) {
    expectRefusedAt("@ ViewerConnect (Channel: 5, Viewer: 1)", ", Viewer: 1)");
    expectRefusedAt("@ ViewerConnect (PlayMode: 2, Channel: 5)", ", Channel: 5)");
    expectRefusedAt("@ CameraOn (Camera: 5, Comment: \"x\")", ", Comment: \"x\")");
}

TEST_F(TemplateTextTest, AParameterTwiceIsRefused) {
    expectRefusedAt("@ CameraOn (Camera: 5, Camera: 5)", ", Camera: 5)");
    expectRefusedAt("@ CameraOn (Comment: \"x\", Comment: \"y\")", ", Comment: \"y\")");
}

TEST_F(TemplateTextTest, AnUnknownNameIsRefused) {
    expectRefusedAt("@ CameraOn (Speed: 5)", "Speed: 5)");
    expectRefusedAt("@ CameraOn (Camera: 5, Speed: 5)", ", Speed: 5)");
    expectRefusedAt("@ CameraOn (Descr: \"x\")", "Descr: \"x\")");
    expectRefused("@ Nothing ()", 9);
    // An action's name is no template's without its @, and the other way round.
    expectRefusedAt("CameraOn (Camera: 5)", "amera: 5)");
}

TEST_F(TemplateTextTest, ALongerNameThatBeginsWithTheParametersIsAnError) {
    expectRefusedAt("@ CameraOn (CameraX: 5)", "X: 5)");
    expectRefusedAt("@ CameraOn (Comments: \"x\")", "s: \"x\")");
    expectRefusedAt("@ CameraOn (Camera 5)", "5)");
    expectRefusedAt("@ CameraOn (Camera)", ")");
    expectRefusedAt("@ CameraOn (Comment)", ")");
}

// A parameter whose name begins with that of an unset one ahead of it is taken for that.
TEST_F(TemplateTextTest, AWrittenTemplateIsRefusedWhereOneNameBeginsWithAnother) {
    const Handle match = fromBytes(header(2, 33) + hex("00 00 01 07 00 00 00 00")).handle;
    ASSERT_TRUE(match);
    EXPECT_EQ(machine(match), "@ SetLEDBlink (LedTimeOnMs: 7)");
    expectRefusedAt("@ SetLEDBlink (LedTimeOnMs: 7)", "TimeOnMs: 7)");
    EXPECT_EQ(rewritten("@ SetLEDBlink (LED: 1, LedTimeOnMs: 7)"),
              "@ SetLEDBlink (LED: 1, LedTimeOnMs: 7)");
}

TEST_F(TemplateTextTest, ACommaTooManyIsRefused) {
    expectRefusedAt("@ CameraOn (Camera: 5,)", ",)");
    expectRefusedAt("@ CameraOn (, Camera: 5)", ", Camera: 5)");
    expectRefusedAt("@ CameraOn (,)", ",)");
    expectRefusedAt("@ ViewerConnect (Viewer: 1,, Channel: 5)", ",, Channel: 5)");
}

TEST_F(TemplateTextTest, ACommaTooFewIsRefused) {
    expectRefusedAt("@ ViewerConnect (Viewer: 1 Channel: 5)", "Channel: 5)");
    expectRefusedAt("@ CameraOn (Comment: \"x\" Camera: 5)", "Camera: 5)");
}

// There is no escape: the first quote ends the text.
TEST_F(TemplateTextTest, AQuoteInATextDoesNotComeBack) {
    const Handle match = taken("@ CameraOn (Camera: 5)");
    describe(match, u"the \"Gate\"");
    EXPECT_EQ(machine(match), "@ CameraOn (Comment: \"the \"Gate\"\", Camera: 5)");
    expectRefusedAt("@ CameraOn (Comment: \"the \"Gate\"\", Camera: 5)", "Gate\"\", Camera: 5)");
    const Handle custom = fromBytes(header(2, 8) + hex("00 00 01") + wideField(u"a\"b")).handle;
    ASSERT_TRUE(custom);
    EXPECT_EQ(machine(custom), "@ CustomAction (String: \"a\"b\")");
    expectRefusedAt("@ CustomAction (String: \"a\"b\")", "b\")");
}

TEST_F(TemplateTextTest, AnUnclosedTextIsRefused) {
    expectRefusedAt("@ CameraOn (Comment: \"x, Camera: 5)", "x, Camera: 5)");
    // The failure at the very end goes unseen, the next one is told.
    expectRefused("@ CustomAction (String: \"", 0xFFFFFFFF);
}

TEST_F(TemplateTextTest, BadValuesAreRefusedAsInAnAction) {
    expectRefusedAt("@ ViewerConnect (PlayMode: PlayForward)", "layForward)");
    expectRefusedAt("@ CameraOn (Camera: { 1, 2 })", "})");
    expectRaised("@ CancelExport (ExportID: \"x\")", guidError("x"));
    expectRaised(
        "@ SetClock (Date: \"2026/11/15 12:00\")",
        dateTimeError(TmxDateTimeError_ExpectedZone, "UTC or GMT in date/time string expected."));
    // An empty set can be written and not read.
    expectRefusedAt("@ VideoResult (ResultDataSet: {})", "})");
}

TEST_F(TemplateTextTest, AnAtSignAloneGivesNothing) {
    const Read alone = read("@");
    EXPECT_FALSE(alone.handle);
    EXPECT_EQ(alone.error, std::nullopt);
    EXPECT_EQ(alone.consumed, 1u);
    const Read blank = read("@ \n\t");
    EXPECT_FALSE(blank.handle);
    EXPECT_EQ(blank.consumed, 4u);
    const Read noName = read("@ ()");
    EXPECT_FALSE(noName.handle);
    EXPECT_EQ(noName.consumed, 2u);
    const Read twice = read("@@ CameraOn ()");
    EXPECT_FALSE(twice.handle);
    EXPECT_EQ(twice.consumed, 2u);
}

// With the length ending at the sign the name counts as an action's, and the list is out of reach.
TEST_F(TemplateTextTest, ALengthThatEndsAtTheSignFindsNoTemplate) {
    const Read result = read("@CameraOn (5)", 1);
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.error, std::nullopt);
}

TEST_F(TemplateTextTest, ALengthThatEndsAheadOfTheClosingParenthesisIsEnough) {
    expectTaken("@ CameraOn (Camera: 5)", 21, "@ CameraOn (Camera: 5)", 22);
    // But not where a parameter is still to be tried there: its failure is the unseen one.
    expectRefused("@ ViewerConnect (Viewer: 5)", 0xFFFFFFFF, 26);
    expectRefused("@ ABCDisconnect ()", 0xFFFFFFFF, 17);
    for (uint32_t length = 0; length < 21; ++length) {
        EXPECT_FALSE(read("@ CameraOn (Camera: 5)", length).handle) << length;
    }
}

TEST_F(TemplateTextTest, AFailedReadLeavesNoObjectBehind) {
    expectRefusedAt(
        "@ SetupChanged (Comment: \"a description longer than short strings\", "
        "User: \"a user name that is longer than short strings\", 5)",
        ", 5)");
    EXPECT_FALSE(readA("@ CancelExport (Comment: \"a description longer than short strings\", "
                       "ExportID: \"x\")")
                     .handle);
    EXPECT_EQ(openSinceStart(), 0u);
}

}  // namespace
}  // namespace edge
