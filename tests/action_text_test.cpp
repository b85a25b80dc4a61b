// The text of whole actions: the exports that store and create, name dispatch, and the counts that
// they report.
#include "support/edge_support.h"

namespace edge {
namespace {

class ActionTextTest : public EdgeTest {};

constexpr char kSetup[] =
    "SetupChanged (\"admin\", \"srv1\", \"2026/11/15 12:00:00,000 GMT+01:00\", 1, "
    "{ 17, \"Entrance\" }, 2)";
constexpr char kSetupWithTwo[] =
    "SetupChanged (\"admin\", \"srv1\", \"2026/11/15 12:00:00,000 GMT+01:00\", 1, "
    "{ 17, \"Entrance\" }, 2, Details: \"moved\", ClientAccount: \"op1\")";

TEST_F(ActionTextTest, TheWorkedTextsAreWrittenAndReadBack) {
    for (const char* text :
         {"CameraOn (5)", "CameraOn ({ 1234, 5, \"Gate\" })", "ViewerConnect (1, 5, 2)",
          "ViewerSetPlayMode (1, 2, 100)", kSetup, kSetupWithTwo,
          "CustomAction (7, \"hello, world\")", "ABCDisconnect ()"}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST_F(ActionTextTest, TheLooserTextsAreReadToo) {
    EXPECT_EQ(rewritten("  cameraon(5)"), "CameraOn (5)");
    EXPECT_EQ(rewritten("CAMERAON ( 0x5 )"), "CameraOn (5)");
    EXPECT_EQ(rewritten("ViewerConnect(1,5,2)"), "ViewerConnect (1, 5, 2)");
    EXPECT_EQ(rewritten("SetupChanged (\"admin\",\"srv1\",\"2026/11/15 12:00:00 UTC+01:00\",1,"
                        "\"Entrance\",2,clientaccount : \"op1\")"),
              "SetupChanged (\"admin\", \"srv1\", \"2026/11/15 12:00:00,000 GMT+01:00\", 1, "
              "\"Entrance\", 2, ClientAccount: \"op1\")");
}

TEST_F(ActionTextTest, TheTextsThatAreRefused) {
    expectRefused("CameraOn", 0xFFFFFFFFu);
    expectRefusedAt("CameraOn (Camera: 5)", "amera: 5)");
    expectRefusedAt("ViewerConnect (1, 5, PlayForward)", "layForward)");
    expectRefusedAt("SetupChanged (\"admin\", \"srv1\")", ")");
    expectRefusedAt("ViewerConnect (1, 5, 2,)", ",)");
}

TEST_F(ActionTextTest, TheTypedAndTheTextFormAgree) {
    const WText gate = W(u"Gate");
    const TmxObjectRef camera = ref(1234, 5, gate.c_str());
    const Handle typed(TmxAct_CreateCameraOn(&camera));
    const Handle read = taken("CameraOn ({ 1234, 5, \"Gate\" })");
    bool equal = false;
    EXPECT_TRUE(TmxAct_Equal(typed.get(), read.get(), &equal));
    EXPECT_TRUE(equal);
    EXPECT_EQ(machine(typed), machine(read));
    EXPECT_EQ(binary(typed), binary(read));
}

TEST_F(ActionTextTest, TheDisplayFormIsNotReadable) {
    expectRefusedAt("CameraOn; Camera: 5", "; Camera: 5");
    EXPECT_EQ(display(taken("CameraOn (5)")), "CameraOn; Camera: 5");
    EXPECT_EQ(display(taken("ABCDisconnect ()")), "ABCDisconnect");
}

// ---- Storing
// ---------------------------------------------------------------------------------------

TEST_F(ActionTextTest, ABufferOfSizeZeroReportsTheFullSize) {
    const Handle handle = taken("CameraOn (5)");
    uint32_t written = 0;
    EXPECT_FALSE(TmxAct_StoreToTextBufferA(handle.get(), nullptr, 0, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(lastError(), tooSmall());
    written = 0;
    EXPECT_FALSE(TmxAct_StoreToTextBufferW(handle.get(), nullptr, 0, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(lastError(), tooSmall());
}

TEST_F(ActionTextTest, ABufferOfExactlyTheSizeSuffices) {
    const Handle handle = taken("CameraOn (5)");
    char buffer[14];
    std::memset(buffer, 'x', sizeof buffer);
    uint32_t written = 0;
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), buffer, 13, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_STREQ(buffer, "CameraOn (5)");
    EXPECT_EQ(buffer[13], 'x');
}

TEST_F(ActionTextTest, ABufferOneShortFailsWithoutAZero) {
    const Handle handle = taken("CameraOn (5)");
    char buffer[14];
    std::memset(buffer, 'x', sizeof buffer);
    uint32_t written = 0;
    EXPECT_FALSE(TmxAct_StoreToTextBufferA(handle.get(), buffer, 12, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(std::string(buffer, 14), "CameraOn (5)xx");
}

TEST_F(ActionTextTest, APieceIsWrittenWholeOrNotAtAllAndNothingFollowsIt) {
    const Handle handle = taken("CameraOn (5)");
    char buffer[14];
    std::memset(buffer, 'x', sizeof buffer);
    uint32_t written = 0;
    EXPECT_FALSE(TmxAct_StoreToTextBufferA(handle.get(), buffer, 7, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(std::string(buffer, 14), "xxxxxxxxxxxxxx");
    TmxWChar wide[14];
    std::fill(std::begin(wide), std::end(wide), TmxWChar{'x'});
    EXPECT_FALSE(TmxAct_StoreToTextBufferW(handle.get(), wide, 9, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(WText(wide, 14), W(u"CameraOnxxxxxx"));
}

TEST_F(ActionTextTest, ALargerBufferIsLeftAloneBehindTheZero) {
    const Handle handle = taken("CameraOn (5)");
    char buffer[20];
    std::memset(buffer, 'x', sizeof buffer);
    uint32_t written = 0;
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), buffer, 20, false, false, &written));
    EXPECT_EQ(written, 13u);
    EXPECT_EQ(std::string(buffer, 20), std::string("CameraOn (5)\0xxxxxxx", 20));
}

TEST_F(ActionTextTest, TheSizeIsASignedNumber) {
    const Handle handle = taken("CameraOn (5)");
    for (const uint32_t size : {0x80000000u, 0xFFFFFFFFu}) {
        uint32_t written = kUnset;
        EXPECT_FALSE(
            TmxAct_StoreToTextBufferA(handle.get(), nullptr, size, false, false, &written));
        EXPECT_EQ(lastError(), tooSmall());
        EXPECT_EQ(written, 13u);
    }
}

TEST_F(ActionTextTest, TheCountsMayBeNull) {
    const Handle handle = taken("CameraOn (5)");
    char narrow[13];
    TmxWChar wide[13];
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), narrow, 13, false, false, nullptr));
    EXPECT_TRUE(TmxAct_StoreToTextBufferW(handle.get(), wide, 13, false, false, nullptr));
    EXPECT_FALSE(TmxAct_StoreToTextBufferW(handle.get(), wide, 12, false, false, nullptr));
    const Handle a(
        TmxAct_CreateFromTextBufferA("CameraOn (5)", TMX_MEASURE_LENGTH, kAny, false, nullptr));
    const Handle b(TmxAct_CreateFromTextBufferW(W(u"CameraOn (5)").c_str(), TMX_MEASURE_LENGTH,
                                                kAny, false, nullptr));
    EXPECT_TRUE(a);
    EXPECT_TRUE(b);
}

TEST_F(ActionTextTest, AFailingStoreOfADateLeavesTheCountAlone) {
    const TmxDateTime date = instant(0, 1);
    const Handle handle(TmxAct_CreateSetClock(&date));
    for (const bool display : {false, true}) {
        uint32_t written = kUnset;
        EXPECT_FALSE(TmxAct_StoreToTextBufferA(handle.get(), nullptr, 0, display, false, &written));
        EXPECT_EQ(lastError(), noCalendarDate());
        EXPECT_EQ(written, kUnset);
        EXPECT_FALSE(TmxAct_StoreToTextBufferW(handle.get(), nullptr, 0, display, false, &written));
        EXPECT_EQ(lastError(), noCalendarDate());
        EXPECT_EQ(written, kUnset);
    }
}

TEST_F(ActionTextTest, PropertiesStayOutOfTheText) {
    const Handle handle = taken("CameraOn (5)");
    setProperty(handle.get(), u"a", u"b");
    EXPECT_EQ(machine(handle), "CameraOn (5)");
}

// ---- Creating
// --------------------------------------------------------------------------------------

TEST_F(ActionTextTest, AFollowingActionBeginsWhereTheCountEnds) {
    const std::string text = "CameraOn (5) CameraOff (6)";
    expectTaken(text, TMX_MEASURE_LENGTH, "CameraOn (5)", 12);
    expectTaken(text.substr(12), TMX_MEASURE_LENGTH, "CameraOff (6)", 14);
    expectTaken(text, 12, "CameraOn (5)", 12);
    expectTaken("  CameraOn (5)  ", TMX_MEASURE_LENGTH, "CameraOn (5)", 14);
}

TEST_F(ActionTextTest, TheLengthIsMeasuredFromTheLargestValueUp) {
    for (const uint32_t length : {0x7fffffffu, 0x80000000u, 0xFFFFFFFFu}) {
        expectTaken("CameraOn (5)", length, "CameraOn (5)", 12);
    }
}

TEST_F(ActionTextTest, AnEmptyTextConsumesOneMoreThanItHas) {
    expectRefused("", 1);
    expectRefused("", 1, 0);
    expectRefused("CameraOn (5)", 1, 0);
    expectRefused("   ", 4);
    expectRefused(" \t\r\n", 5);
}

TEST_F(ActionTextTest, WhiteSpaceBeyondTheLengthShowsAsANegativeCount) {
    expectRefused("  CameraOn (5)", 0xFFFFFFFFu, 1);
    expectRefused("    ", 0xFFFFFFFDu, 1);
}

TEST_F(ActionTextTest, AnUnknownNameConsumesTheName) {
    expectRefused("Foo (5)", 3);
    expectRefused("  Foo (5)", 5);
    expectRefused("CameraO (5)", 7);
    expectRefused("CameraOnn (5)", 9);
    expectRefused("(5)", 0);
    expectRefused(", 5", 0);
    expectRefused("Foo", 3);
}

TEST_F(ActionTextTest, AnotherMessageClassConsumesTheName) {
    expectRefused("CameraOn (5)", 8, TMX_MEASURE_LENGTH, 2);
    expectRefused("@CameraOn (5)", 9, TMX_MEASURE_LENGTH, 1);
    expectRefused("@ CameraOn (5)", 10, TMX_MEASURE_LENGTH, 1);
    expectRefused("CameraOn (5)", 8, TMX_MEASURE_LENGTH, 0);
    expectRefused("CameraOn (5)", 8, TMX_MEASURE_LENGTH, 3);
}

TEST_F(ActionTextTest, AnotherMessageClassRunsNoCreator) {
    const Read result = read("CancelExport (\"bad\", 1)", TMX_MEASURE_LENGTH, 2);
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.error, std::nullopt);
    EXPECT_EQ(result.consumed, 12u);
}

TEST_F(ActionTextTest, TheClassOfTheMessageMayBeAskedFor) {
    EXPECT_TRUE(read("CameraOn (5)", TMX_MEASURE_LENGTH, 1).handle);
    EXPECT_TRUE(read("CameraOn (5)", TMX_MEASURE_LENGTH, kAny).handle);
}

TEST_F(ActionTextTest, AnAtSignAloneIsNothing) {
    expectRefused("@", 1);
    expectRefused("@  ", 3);
    expectRefused("@Foo (5)", 4);
    expectRefused("@@CameraOn (5)", 10);
}

TEST_F(ActionTextTest, ANameFollowedByAnotherDelimiterFailsAtTheOpenParenthesis) {
    expectRefusedAt("CameraOn,", ",");
    expectRefusedAt("CameraOn{5}", "{5}");
}

TEST_F(ActionTextTest, AnExceptionLeavesTheCountAlone) {
    expectRaised("CancelExport (\"bad\", 1)", guidError("bad"));
    expectRaised("SetClock (\"bad\")",
                 dateTimeError(3,
                               "Invalid year part in date/time string. Expected a number from "
                               "1601 to 9999."));
}

TEST_F(ActionTextTest, SyntaxErrorsAndUnknownNamesClearTheLastError) {
    EXPECT_FALSE(readA("CancelExport (\"bad\", 1)").handle);
    ASSERT_NE(lastError(), std::nullopt);
    expectRefused("Foo (5)", 3);
    EXPECT_FALSE(readA("CancelExport (\"bad\", 1)").handle);
    ASSERT_NE(lastError(), std::nullopt);
    expectRefusedAt("CameraOn (5,)", ",)");
}

TEST_F(ActionTextTest, NothingButAnAtSignStandsBeforeTheName) {
    expectRefused("#CameraOn (5)", 9);
    expectRefused("; CameraOn (5)", 0);
    expectRefused("\"CameraOn\" (5)", 0);
    expectRefused("1CameraOn (5)", 9);
}

TEST_F(ActionTextTest, NamesFoldAsciiLettersAlone) {
    const Read kelvin = readW(W(u"\u212AeyPressed (0)"));
    EXPECT_FALSE(kelvin.handle);
    EXPECT_EQ(kelvin.consumed, 10u);
    const Read low = readW(W(u"\u014BeyPressed (0)"));
    EXPECT_FALSE(low.handle);
    EXPECT_EQ(rewritten("kEYpRESSED (0)"), "KeyPressed (0)");
}

TEST_F(ActionTextTest, WideTextMayHoldAnyCharacterInItsTexts) {
    const WText text = W(u"CustomAction (7, \"\u00E4\u20AC\u4E00\U0001F600\")");
    const Read result = readW(text);
    ASSERT_TRUE(result.handle);
    EXPECT_EQ(result.consumed, text.size());
    EXPECT_EQ(textW(result.handle.get()), text);
}

TEST_F(ActionTextTest, LongTextsHaveNoLimit) {
    const std::string text = "ABCConnect (\"" + std::string(100000, 'x') + "\")";
    EXPECT_EQ(rewritten(text), text);
}

TEST_F(ActionTextTest, TheSpellingOfAParameterIsPartOfTheText) {
    const std::string text = "ATMTransaction (\"n\", 1, 2, BancCode: 5)";
    EXPECT_EQ(rewritten(text), text);
    expectRefusedAt("ATMTransaction (\"n\", 1, 2, BankCode: 5)", ", BankCode: 5)");
}

}  // namespace
}  // namespace edge
