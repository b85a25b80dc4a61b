// Matching: which actions a template describes, by the rule of each type.
#include <limits>

#include "support/edge_support.h"

namespace edge {
namespace {

class MatchingTest : public EdgeTest {
  protected:
    // A template of one parameter against an action of the same.
    static bool cameraMatches(const std::string& match, const std::string& action) {
        return matches("@ CameraOn (Camera: " + match + ")", "CameraOn (" + action + ")");
    }
    static bool textMatches(std::u16string_view match, std::u16string_view action) {
        const int64_t number = 1;
        const Handle of(TmxAct_CreateCustomAction(&number, W(match).c_str()));
        const Handle to(TmxAct_CreateCustomAction(&number, W(action).c_str()));
        return matches(templateOf(of), to);
    }
    static bool narrowMatches(const char* match, const char* action) {
        const Handle of(TmxAct_CreateDeviceFound(match, "", ""));
        const Handle to(TmxAct_CreateDeviceFound(action, "", ""));
        return matches(templateOf(of), to);
    }
    static bool numberMatches(double match, double action) {
        const TmxObjectRef camera = ref(0, 1);
        const double beta = 0;
        const Handle of(TmxAct_CreateMoveToBySpeed(&camera, &match, &beta));
        const Handle to(TmxAct_CreateMoveToBySpeed(&camera, &action, &beta));
        return matches(templateOf(of), to);
    }
    static bool timeMatches(TmxDateTime match, TmxDateTime action) {
        const Handle of(TmxAct_CreateSetClock(&match));
        const Handle to(TmxAct_CreateSetClock(&action));
        return matches(templateOf(of), to);
    }
    static bool setMatches(const std::string& match, const std::string& action) {
        return matches("@ VideoResult (ResultDataSet: " + match + ")",
                       "VideoResult (1, " + action + ")");
    }
};

TEST_F(MatchingTest, WithNothingSetATemplateMatchesAllActionsOfItsCode) {
    for (const char* action : {"CameraOn (5)", "CameraOn (0)", "CameraOn ({ 1, 2, \"x\" })"}) {
        EXPECT_TRUE(matches("@ CameraOn ()", action));
        EXPECT_FALSE(matches("@ CameraOff ()", action));
    }
    EXPECT_TRUE(matches("@ ABCDisconnect ()", "ABCDisconnect ()"));
    EXPECT_FALSE(matches("@ ABCDisconnect ()", "CameraOn (5)"));
}

TEST_F(MatchingTest, AnotherCodeNeverMatchesAndIsNoError) {
    EXPECT_FALSE(matches("@ CameraOff (Camera: 5)", "CameraOn (5)"));
    const Handle generic(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0));
    EXPECT_FALSE(matches(taken("@ CameraOn ()"), generic));
    EXPECT_FALSE(matches(taken("@ ABCDisconnect ()"), generic));
}

TEST_F(MatchingTest, EverySetParameterMustAgree) {
    const std::string action = "ViewerConnect (1, 5, 2)";
    EXPECT_TRUE(matches("@ ViewerConnect (Viewer: 1)", action));
    EXPECT_TRUE(matches("@ ViewerConnect (Channel: 5)", action));
    EXPECT_TRUE(matches("@ ViewerConnect (PlayMode: 2)", action));
    EXPECT_TRUE(matches("@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 2)", action));
    EXPECT_FALSE(matches("@ ViewerConnect (Viewer: 2, Channel: 5, PlayMode: 2)", action));
    EXPECT_FALSE(matches("@ ViewerConnect (Viewer: 1, Channel: 6, PlayMode: 2)", action));
    EXPECT_FALSE(matches("@ ViewerConnect (Viewer: 1, Channel: 5, PlayMode: 3)", action));
    EXPECT_FALSE(matches("@ ViewerConnect (Viewer: 2, Channel: 6, PlayMode: 3)", action));
}

TEST_F(MatchingTest, NeitherDescriptionNorAttributesTakePart) {
    const Handle action = taken("CameraOn (5)");
    EXPECT_TRUE(TmxAct_SetMessageFlags(action.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(action.get(), 4));
    setProperty(action.get(), u"a", u"b");
    EXPECT_TRUE(matches(taken("@ CameraOn (Comment: \"x\", Camera: 5)"), action));
    EXPECT_TRUE(matches(taken("@ CameraOn (Camera: 5)"), action));
    const Handle flagged = taken("@ CameraOn (Camera: 5)");
    EXPECT_TRUE(TmxAct_SetMessageFlags(flagged.get(), 8));
    EXPECT_TRUE(TmxAct_SetInternalData(flagged.get(), 9));
    EXPECT_TRUE(matches(flagged, action));
}

// ---- References ---------------------------------------------------------------------------------

TEST_F(MatchingTest, AnIdDecidesAlone) {
    EXPECT_TRUE(cameraMatches("{ 99, 7, \"Gate\" }", "{ 99, 8, \"Door\" }"));
    EXPECT_TRUE(cameraMatches("{ 99, 0, \"\" }", "{ 99, 8, \"Door\" }"));
    EXPECT_FALSE(cameraMatches("{ 99, 7, \"Gate\" }", "{ 98, 7, \"Gate\" }"));
    EXPECT_FALSE(cameraMatches("{ 99, 7, \"Gate\" }", "{ 0, 7, \"Gate\" }"));
}

TEST_F(MatchingTest, WithoutAnIdTheNumberDecides) {
    EXPECT_TRUE(cameraMatches("{ 0, 7, \"Gate\" }", "{ 99, 7, \"Door\" }"));
    EXPECT_TRUE(cameraMatches("7", "7"));
    EXPECT_TRUE(cameraMatches("7", "{ 99, 7, \"Door\" }"));
    EXPECT_FALSE(cameraMatches("{ 0, 7, \"Gate\" }", "{ 99, 8, \"Gate\" }"));
    // It names the same object, but without its number.
    EXPECT_FALSE(cameraMatches("{ 0, 7, \"Gate\" }", "{ 0, 0, \"Gate\" }"));
}

TEST_F(MatchingTest, WithoutIdAndNumberTheNameDecides) {
    EXPECT_TRUE(cameraMatches("{ 0, 0, \"gate\" }", "{ 5, 0, \"GATE\" }"));
    EXPECT_TRUE(cameraMatches("{ 0, 0, \"gate\" }", "{ 5, 6, \"Gate\" }"));
    EXPECT_FALSE(cameraMatches("{ 0, 0, \"gate\" }", "{ 5, 6, \"\" }"));
    EXPECT_FALSE(cameraMatches("{ 0, 0, \"gate\" }", "{ 5, 6, \"gates\" }"));
}

TEST_F(MatchingTest, AnEmptyReferenceThatIsSetMatchesAnEmptyName) {
    EXPECT_TRUE(cameraMatches("0", "0"));
    EXPECT_TRUE(cameraMatches("0", "7"));
    EXPECT_TRUE(cameraMatches("0", "{ 99, 7, \"\" }"));
    EXPECT_FALSE(cameraMatches("0", "{ 0, 0, \"Gate\" }"));
    EXPECT_FALSE(cameraMatches("0", "{ 99, 7, \"Gate\" }"));
}

TEST_F(MatchingTest, ANamedIdIsFoundByItsIdElseByItsName) {
    const auto event = [](const std::string& match, const std::string& action) {
        return matches("@ StartEvent (TypeID: " + match + ")", "StartEvent (" + action + ")");
    };
    EXPECT_TRUE(event("{ 17, \"Main\" }", "{ 17, \"Other\" }"));
    EXPECT_FALSE(event("{ 17, \"Main\" }", "{ 18, \"Main\" }"));
    EXPECT_FALSE(event("{ 17, \"Main\" }", "\"Main\""));
    EXPECT_TRUE(event("\"Main\"", "{ 17, \"MAIN\" }"));
    EXPECT_FALSE(event("\"Main\"", "{ 17, \"\" }"));
    EXPECT_TRUE(event("\"\"", "{ 17, \"\" }"));
    EXPECT_FALSE(event("\"\"", "\"x\""));
}

TEST_F(MatchingTest, AGuidReferenceIsFoundByItsGuidElseByItsName) {
    const std::string guid = "\"00112233-4455-6677-8899-aabbccddeeff\"";
    const std::string other = "\"00112233-4455-6677-8899-aabbccddeefe\"";
    const auto backup = [](const std::string& match, const std::string& action) {
        return matches("@ StartAutoBackup (Schedule: " + match + ")",
                       "StartAutoBackup (" + action + ")");
    };
    EXPECT_TRUE(backup("{ " + guid + ", \"Night\" }", "{ " + guid + ", \"Day\" }"));
    EXPECT_FALSE(backup("{ " + guid + ", \"Night\" }", "{ " + other + ", \"Night\" }"));
    EXPECT_FALSE(backup("{ " + guid + ", \"Night\" }", "\"Night\""));
    EXPECT_TRUE(backup("\"Night\"", "{ " + guid + ", \"NIGHT\" }"));
    EXPECT_FALSE(backup("\"Night\"", "{ " + guid + ", \"Day\" }"));
    EXPECT_TRUE(backup("\"\"", "{ " + guid + ", \"\" }"));
}

// ---- Other types --------------------------------------------------------------------------------

TEST_F(MatchingTest, NumbersAreComparedInFullWidth) {
    EXPECT_TRUE(matches("@ CustomAction (Int: 5)", "CustomAction (5, \"x\")"));
    EXPECT_FALSE(matches("@ CustomAction (Int: 5)", "CustomAction (4294967301, \"x\")"));
    EXPECT_TRUE(matches("@ FocusFar (Speed: -1)", "FocusFar (1, 4294967295)"));
    EXPECT_FALSE(matches("@ FocusFar (Speed: 1)", "FocusFar (1, 65537)"));
    EXPECT_TRUE(matches("@ ViewerConnect (PlayMode: -5)", "ViewerConnect (1, 2, -5)"));
    EXPECT_TRUE(matches("@ ABCPlayFile (AutoRepeat: 5)", "ABCPlayFile (1, \"x\", 1)"));
    EXPECT_FALSE(matches("@ ABCPlayFile (AutoRepeat: 0)", "ABCPlayFile (1, \"x\", 1)"));
}

TEST_F(MatchingTest, AllBytesOfAGuidCount) {
    const std::string action = "CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 1)";
    EXPECT_TRUE(
        matches("@ CancelExport (ExportID: \"{00112233-4455-6677-8899-AABBCCDDEEFF}\")", action));
    EXPECT_FALSE(
        matches("@ CancelExport (ExportID: \"00112233-4455-6677-8899-aabbccddeefe\")", action));
    EXPECT_FALSE(
        matches("@ CancelExport (ExportID: \"10112233-4455-6677-8899-aabbccddeeff\")", action));
    EXPECT_FALSE(
        matches("@ CancelExport (ExportID: \"00112233-4455-6678-8899-aabbccddeeff\")", action));
}

TEST_F(MatchingTest, TheSameInstantAgreesInEveryZone) {
    const int64_t noon = millisecondsOf(2026, 11, 15, 11);
    EXPECT_TRUE(timeMatches(instant(noon, -60), instant(noon, 300)));
    EXPECT_TRUE(timeMatches(instant(noon, 0), instant(noon, -840)));
    EXPECT_FALSE(timeMatches(instant(noon, 0), instant(noon + 1, 0)));
    // The same clock time in two zones is another instant.
    EXPECT_FALSE(timeMatches(localTime(noon, -60), localTime(noon, 300)));
    EXPECT_FALSE(timeMatches(instant(int64_t{1} << 47, 0), instant(0, 0)));
}

TEST_F(MatchingTest, DoublesAreEqualOrNot) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(numberMatches(1.5, 1.5));
    EXPECT_FALSE(numberMatches(1.5, 1.5000000000000002));
    EXPECT_TRUE(numberMatches(0.0, -0.0));
    EXPECT_TRUE(numberMatches(-0.0, 0.0));
    EXPECT_TRUE(numberMatches(infinity, infinity));
    EXPECT_FALSE(numberMatches(infinity, -infinity));
    EXPECT_FALSE(numberMatches(nan, nan));
    EXPECT_FALSE(numberMatches(nan, 1));
    EXPECT_FALSE(numberMatches(1, nan));
}

TEST_F(MatchingTest, AllFourWordsOfARectangleCount) {
    const std::string action = "SensorVideoAlarm (1, 2, AlarmArea: { 1, 2, 3, 4 })";
    EXPECT_TRUE(matches("@ SensorVideoAlarm (AlarmArea: { 1, 2, 3, 4 })", action));
    EXPECT_FALSE(matches("@ SensorVideoAlarm (AlarmArea: { 0, 2, 3, 4 })", action));
    EXPECT_FALSE(matches("@ SensorVideoAlarm (AlarmArea: { 1, 0, 3, 4 })", action));
    EXPECT_FALSE(matches("@ SensorVideoAlarm (AlarmArea: { 1, 2, 0, 4 })", action));
    EXPECT_FALSE(matches("@ SensorVideoAlarm (AlarmArea: { 1, 2, 3, 0 })", action));
}

TEST_F(MatchingTest, WideTextsAgreeWithoutRegardToCase) {
    EXPECT_TRUE(textMatches(u"abc", u"ABC"));
    EXPECT_TRUE(textMatches(u"\u00E4\u03C3\u0436", u"\u00C4\u03A3\u0416"));
    EXPECT_FALSE(textMatches(u"abc", u"abd"));
    EXPECT_TRUE(textMatches(u"", u""));
    EXPECT_FALSE(textMatches(u"", u"x"));
    EXPECT_FALSE(textMatches(u"x", u""));
    // No more than case: marks, width and what stands beside the letters count.
    EXPECT_FALSE(textMatches(u"a", u"\u00E4"));
    EXPECT_FALSE(textMatches(u"a", u"\uFF41"));
    EXPECT_FALSE(textMatches(u"\u3042", u"\u30A2"));
    EXPECT_FALSE(textMatches(u"@[", u"`{"));
    // No wildcards and no patterns.
    EXPECT_FALSE(textMatches(u"*", u"x"));
    EXPECT_FALSE(textMatches(u"?", u"x"));
}

TEST_F(MatchingTest, WideTextsOfOtherLengthsNeverAgree) {
    EXPECT_FALSE(textMatches(u"Stra\u00DFe", u"STRASSE"));
    EXPECT_FALSE(textMatches(u"abc", u"abcd"));
    EXPECT_FALSE(textMatches(u"abc", u"abc "));
    EXPECT_FALSE(textMatches(u"\u00E4", u"a\u0308"));
}

TEST_F(MatchingTest, LongTextsAreComparedToTheirEnd) {
    std::u16string text(5000, u'q');
    std::u16string other = text;
    EXPECT_TRUE(textMatches(text, std::u16string(5000, u'Q')));
    other[4999] = u'r';
    EXPECT_FALSE(textMatches(text, other));
    other = text;
    other[2501] = u'\u4E00';
    EXPECT_FALSE(textMatches(text, other));
}

TEST_F(MatchingTest, NarrowTextsFoldTheLettersOfAsciiAlone) {
    EXPECT_TRUE(narrowMatches("abc", "ABC"));
    EXPECT_TRUE(narrowMatches("aZ09", "Az09"));
    EXPECT_FALSE(narrowMatches("abc", "abd"));
    EXPECT_FALSE(narrowMatches("abc", "abcd"));
    EXPECT_TRUE(narrowMatches("", ""));
    // An umlaut in the code page.
    EXPECT_FALSE(narrowMatches("\xE4", "\xC4"));
    EXPECT_TRUE(narrowMatches("\xE4", "\xE4"));
    EXPECT_FALSE(narrowMatches("@[", "`{"));
}

TEST_F(MatchingTest, ADataSetAgreesEntryByEntry) {
    const std::string set = "{{ 1, 2, 3, 4, 5, \"x\" }, { 6, 7, 8, 9, 10, \"y\" }}";
    EXPECT_TRUE(setMatches(set, set));
    EXPECT_FALSE(setMatches(set, "{{ 6, 7, 8, 9, 10, \"y\" }, { 1, 2, 3, 4, 5, \"x\" }}"));
    EXPECT_FALSE(setMatches(set, "{{ 1, 2, 3, 4, 5, \"x\" }}"));
    EXPECT_FALSE(setMatches("{{ 1, 2, 3, 4, 5, \"x\" }}", set));
    // With case, unlike all other texts.
    EXPECT_FALSE(setMatches(set, "{{ 1, 2, 3, 4, 5, \"x\" }, { 6, 7, 8, 9, 10, \"Y\" }}"));
    EXPECT_FALSE(setMatches(set, "{{ 1, 2, 3, 4, 6, \"x\" }, { 6, 7, 8, 9, 10, \"y\" }}"));
    EXPECT_FALSE(setMatches(set, "{{ 1, 2, 3, 5, 5, \"x\" }, { 6, 7, 8, 9, 10, \"y\" }}"));
    EXPECT_FALSE(setMatches(set, "{{ 0, 2, 3, 4, 5, \"x\" }, { 6, 7, 8, 9, 10, \"y\" }}"));
    // An empty set that is set matches the empty set alone.
    const TmxObjectRef channel = ref(0, 1);
    const TmxDataSet none{nullptr, 0};
    const Handle empty(TmxAct_CreateVideoResult(
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &channel, &none));
    EXPECT_TRUE(matches(templateOf(empty), empty));
    EXPECT_FALSE(matches(templateOf(empty), taken("VideoResult (1, " + set + ")")));
    EXPECT_FALSE(matches(taken("@ VideoResult (ResultDataSet: " + set + ")"), empty));
    // One that is open matches all.
    EXPECT_TRUE(matches(taken("@ VideoResult (Channel: 1)"), empty));
}

// ---- Absent parameters --------------------------------------------------------------------------

TEST_F(MatchingTest, AnAbsentParameterCountsAsTheZeroOfItsType) {
    EXPECT_TRUE(matches("@ SensorVideoAlarm (ADCell: 0)", "SensorVideoAlarm (1, 2)"));
    EXPECT_TRUE(matches("@ SensorVideoAlarm (ADCell: 0)", "SensorVideoAlarm (1, 2, ADCell: 0)"));
    EXPECT_FALSE(matches("@ SensorVideoAlarm (ADCell: 1)", "SensorVideoAlarm (1, 2)"));
    EXPECT_TRUE(
        matches("@ SensorVideoAlarm (AlarmArea: { 0, 0, 0, 0 })", "SensorVideoAlarm (1, 2)"));
    EXPECT_FALSE(
        matches("@ SensorVideoAlarm (AlarmArea: { 0, 0, 0, 1 })", "SensorVideoAlarm (1, 2)"));
    const std::string user = "UserLogin (\"a\", \"b\")";
    EXPECT_TRUE(matches("@ UserLogin (User2: \"\")", user));
    EXPECT_FALSE(matches("@ UserLogin (User2: \"x\")", user));
    EXPECT_TRUE(matches("@ StartEvent (ForeignKey: 0)", "StartEvent (\"a\")"));
    const std::string mail = "LogBarcodeData (\"a\")";
    const Handle barcode = read(mail).handle;
    ASSERT_TRUE(barcode);
    EXPECT_TRUE(matches(taken("@ LogBarcodeData (Channel: 0)"), barcode));
    EXPECT_FALSE(matches(taken("@ LogBarcodeData (Channel: 5)"), barcode));
    EXPECT_FALSE(matches(taken("@ LogBarcodeData (Channel: { 0, 0, \"x\" })"), barcode));
}

TEST_F(MatchingTest, AnAbsentDateTimeCountsAsTheTimeOfTheActionsMaking) {
    const Handle action = fromBytes(header(1, 623) + Bytes(18, 0) + le64(0) + le32(1) +
                                    wideField(u"") + wideField(u"") + emptyBlock())
                              .handle;
    ASSERT_TRUE(action);
    // No template can know the time to the millisecond, but one of all that it may have been does.
    const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count() +
                        11644473600000;
    int found = 0;
    for (int64_t time = now - 2000; time <= now + 1 && found == 0; ++time) {
        const Bytes bytes = header(2, 623) + Bytes(9, 0) + hex("01") +
                            le64(static_cast<uint64_t>(time)) + Bytes(11, 0);
        if (matches(fromBytes(bytes).handle, action)) ++found;
    }
    EXPECT_EQ(found, 1);
    // Zero is not it.
    EXPECT_FALSE(
        matches(fromBytes(header(2, 623) + Bytes(9, 0) + hex("01") + le64(0)).handle, action));
}

TEST_F(MatchingTest, AnUnsetParameterMatchesPresentAndAbsentAlike) {
    const std::string match = "@ SensorVideoAlarm (Channel: 1)";
    EXPECT_TRUE(matches(match, "SensorVideoAlarm (1, 2)"));
    EXPECT_TRUE(matches(match, "SensorVideoAlarm (1, 2, ADCell: 5, AlarmArea: { 1, 2, 3, 4 })"));
}

TEST_F(MatchingTest, ATemplateMadeFromAnActionMatchesIt) {
    for (const char* action :
         {"SetupChanged (\"admin\", \"srv1\", \"2026/11/15 12:00:00,000 GMT+01:00\", 1, "
          "{ 17, \"Entrance\" }, 2, Details: \"moved\", ClientAccount: \"op1\")",
          "SensorVideoAlarm ({ 1, 2, \"x\" }, 2)", "ABCDisconnect ()"}) {
        EXPECT_TRUE(matches(templateOf(taken(action)), taken(action)));
    }
    // One with more optional parameters matches as well, one with another value doesn't.
    EXPECT_TRUE(matches(templateOf(taken("SensorVideoAlarm (1, 2)")),
                        taken("SensorVideoAlarm (1, 2, ADCell: 5)")));
    EXPECT_FALSE(matches(templateOf(taken("SensorVideoAlarm (1, 2, ADCell: 5)")),
                         taken("SensorVideoAlarm (1, 2)")));
}

TEST_F(MatchingTest, NothingIsChangedByMatching) {
    const Handle match = taken("@ VideoResult (ResultDataSet: {{ 1, 2, 3, 4, 5, \"x\" }})");
    const Handle action = taken("VideoResult (1, {{ 1, 2, 3, 4, 5, \"x\" }})");
    const Bytes before = binary(match);
    const Bytes actionBefore = binary(action);
    EXPECT_TRUE(matches(match, action));
    EXPECT_EQ(binary(match), before);
    EXPECT_EQ(binary(action), actionBefore);
    uint32_t count = 0;
    EXPECT_TRUE(TmxAct_GetReferenceCounter(match.get(), &count));
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(TmxAct_GetReferenceCounter(action.get(), &count));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(openSinceStart(), 2u);
}

}  // namespace
}  // namespace edge
