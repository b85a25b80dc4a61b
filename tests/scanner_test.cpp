// The scanner under the readers of action text: tokens, numbers, quoted texts, and what the given
// length does and does not bound. Every ASCII text here goes through both twins.
#include <cmath>
#include <limits>

#include "support/edge_support.h"

namespace edge {
namespace {

class ScannerTest : public EdgeTest {
  protected:
    static int32_t int32Of(const std::string& number) {
        const Handle handle = taken("SetWatchdog (" + number + ")");
        int32_t value = 0x5A5A5A5A;
        EXPECT_TRUE(handle && TmxAct_DecodeSetWatchdog(handle.get(), &value)) << number;
        return value;
    }
    static int64_t int64Of(const std::string& number) {
        const Handle handle = taken("StopEventByID (" + number + ")");
        int64_t value = 0x5A5A5A5A;
        EXPECT_TRUE(handle && TmxAct_DecodeStopEventByID(handle.get(), &value)) << number;
        return value;
    }
    static int16_t int16Of(const std::string& number) {
        const Handle handle = taken("SentaraZMXAlarm (5, AlarmArea: {" + number + ",0,0,0})");
        TmxObjectRef channel;
        const int32_t* numbers[4] = {};
        const TmxRect* area = nullptr;
        EXPECT_TRUE(handle &&
                    TmxAct_DecodeSentaraZMXAlarm(handle.get(), &channel, &numbers[0], &numbers[1],
                                                 &numbers[2], &numbers[3], &area));
        return area != nullptr ? area->words[0] : int16_t{0x5A5A};
    }
    static bool boolOf(const std::string& number) {
        const Handle handle = taken("SetTestPictureMode (5, " + number + ")");
        TmxObjectRef channel;
        bool mode = false;
        EXPECT_TRUE(handle && TmxAct_DecodeSetTestPictureMode(handle.get(), &channel, &mode));
        return mode;
    }
    static double doubleOf(const std::string& number) {
        const Handle handle = taken("MoveToBySpeed (5, " + number + ", 0)");
        TmxObjectRef camera;
        double alpha = -77;
        double beta = -77;
        EXPECT_TRUE(handle && TmxAct_DecodeMoveToBySpeed(handle.get(), &camera, &alpha, &beta));
        return alpha;
    }
    static WText addressOf(const std::string& text) {
        const Handle handle = taken(text);
        const TmxWChar* address = nullptr;
        EXPECT_TRUE(handle && TmxAct_DecodeABCConnect(handle.get(), &address)) << text;
        return address != nullptr ? WText(address) : W(u"(none)");
    }
};

// ---- White space and delimiters
// ------------------------------------------------------------------

TEST_F(ScannerTest, NoWhiteSpaceIsRequired) {
    EXPECT_EQ(rewritten("CameraOn(5)"), "CameraOn (5)");
    EXPECT_EQ(rewritten("ViewerConnect(1,5,2)"), "ViewerConnect (1, 5, 2)");
}

TEST_F(ScannerTest, WhiteSpaceIsTakenBetweenAllTokens) {
    EXPECT_EQ(rewritten("CameraOn  (  5  )"), "CameraOn (5)");
    EXPECT_EQ(rewritten(" \t\r\nCameraOn\n(\t5\r)"), "CameraOn (5)");
    EXPECT_EQ(rewritten("ViewerConnect (\n1\n,\n5\n,\n2\n)"), "ViewerConnect (1, 5, 2)");
    EXPECT_EQ(rewritten("ABCDisconnect(\r\n)"), "ABCDisconnect ()");
}

TEST_F(ScannerTest, AFormFeedIsAnOrdinaryCharacter) {
    expectRefusedAt("CameraOn (\f5)", "5)");
    expectRefused("\fCameraOn (5)", 9);
    expectRefusedAt("CameraOn (5\v)", ")");
}

TEST_F(ScannerTest, ANoBreakSpaceIsAnOrdinaryCharacter) {
    const Read result = readW(W(u"CameraOn (\u00A05)"));
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.consumed, 2u);
    const Read start = readW(W(u"\u2003CameraOn (5)"));
    EXPECT_FALSE(start.handle);
    EXPECT_EQ(start.consumed, 9u);
}

TEST_F(ScannerTest, NarrowCharactersAbove127AreOrdinary) {
    const Read result = readA(
        "CameraOn (\xA0"
        "5)");
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.consumed, 2u);
    const Read name = readA(
        "\xFF"
        "CameraOn (5)");
    EXPECT_FALSE(name.handle);
    EXPECT_EQ(name.consumed, 9u);
}

TEST_F(ScannerTest, AWideCharacterIsNotTakenForTheDelimiterOfItsLowByte) {
    // U+0128 has the low byte of the open parenthesis, U+2229 that of the close parenthesis.
    const Read open = readW(W(u"CameraOn \u01285)"));
    EXPECT_FALSE(open.handle);
    EXPECT_EQ(open.consumed, 3u);
    const Read close = readW(W(u"CameraOn (5\u2229"));
    EXPECT_FALSE(close.handle);
}

TEST_F(ScannerTest, EveryDelimiterEndsTheName) {
    for (const char c : std::string("(){}\"',.;:")) {
        const std::string text = std::string("CameraOn") + c + " 5)";
        if (c == '(') {
            EXPECT_EQ(rewritten(text), "CameraOn (5)");
        } else {
            expectRefusedAt(text, std::string(1, c) + " 5)");
        }
    }
    expectRefused("CameraOn-(5)", 9);
    expectRefused("CameraOn_ (5)", 9);
}

TEST_F(ScannerTest, EveryDelimiterMayFollowANumber) {
    for (const char c : std::string("({}\"',.;:")) {
        expectRefusedAt(std::string("SetWatchdog (12") + c + ")", std::string(1, c) + ")");
    }
    for (const char c : std::string("-+/\\[]<>|#@=x")) {
        expectRefusedAt(std::string("SetWatchdog (12") + c + ")", ")");
    }
}

TEST_F(ScannerTest, TheOpenParenthesisIsRequired) {
    expectRefusedAt("CameraOn 5)", "5)");
    expectRefusedAt("CameraOn ) (5)", ") (5)");
    expectRefusedAt("CameraOn, 5)", ", 5)");
}

TEST_F(ScannerTest, TheCloseParenthesisIsRequired) {
    expectRefusedAt("CameraOn (5 6)", "6)");
    expectRefusedAt("CameraOn (5}", "}");
    expectRefusedAt("CameraOn (5,)", ",)");
    expectRefusedAt("ABCDisconnect (5)", "5)");
}

TEST_F(ScannerTest, TextBehindTheCloseParenthesisIsNotLookedAt) {
    expectTaken("CameraOn (5)garbage \"", TMX_MEASURE_LENGTH, "CameraOn (5)", 12);
    expectTaken("CameraOn (5))))", TMX_MEASURE_LENGTH, "CameraOn (5)", 12);
}

// ---- Numbers
// --------------------------------------------------------------------------------------

TEST_F(ScannerTest, AnEmptyNumberIsZero) {
    EXPECT_EQ(rewritten("CameraOn ()"), "CameraOn (0)");
    EXPECT_EQ(rewritten("ViewerConnect (,5,)"), "ViewerConnect (0, 5, 0)");
    EXPECT_EQ(rewritten("ViewerConnect ( , 5 , 2 )"), "ViewerConnect (0, 5, 2)");
    EXPECT_EQ(int32Of(""), 0);
    EXPECT_EQ(int64Of(" "), 0);
    EXPECT_FALSE(boolOf(""));
    EXPECT_EQ(int16Of(""), 0);
}

TEST_F(ScannerTest, ALoneSignIsZero) {
    EXPECT_EQ(int32Of("-"), 0);
    EXPECT_EQ(int32Of("+"), 0);
    EXPECT_EQ(int64Of("-"), 0);
    EXPECT_EQ(int64Of("- "), 0);
}

TEST_F(ScannerTest, OneSignIsTaken) {
    EXPECT_EQ(int32Of("-5"), -5);
    EXPECT_EQ(int32Of("+5"), 5);
    EXPECT_EQ(int32Of("-0"), 0);
    EXPECT_EQ(int64Of("-1234567890123"), -1234567890123);
    expectRefusedAt("SetWatchdog (--5)", "5)");
    expectRefusedAt("SetWatchdog (+-5)", "5)");
    expectRefusedAt("SetWatchdog (- 5)", "5)");
}

TEST_F(ScannerTest, HexadecimalNumbersAreTaken) {
    EXPECT_EQ(int32Of("0x10"), 16);
    EXPECT_EQ(int32Of("0X1f"), 31);
    EXPECT_EQ(int32Of("0xabcdEF"), 0xABCDEF);
    EXPECT_EQ(int64Of("0x7FFFFFFFFFFFFFFF"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(rewritten("CAMERAON ( 0x5 )"), "CameraOn (5)");
    EXPECT_EQ(int16Of("0x10"), 16);
    EXPECT_TRUE(boolOf("0x1"));
}

TEST_F(ScannerTest, APrefixWithoutDigitsIsZero) {
    EXPECT_EQ(int32Of("0x"), 0);
    EXPECT_EQ(int32Of("0X "), 0);
}

TEST_F(ScannerTest, ASignAndAPrefixNeverCombine) {
    expectRefusedAt("SetWatchdog (-0x10)", "10)");
    expectRefusedAt("SetWatchdog (+0x10)", "10)");
    expectRefusedAt("SetWatchdog (0x-10)", "10)");
}

TEST_F(ScannerTest, ThePrefixIsLookedForAtTheStartAlone) {
    expectRefusedAt("SetWatchdog (00x10)", "10)");
    EXPECT_EQ(int32Of("0012"), 12);
    EXPECT_EQ(int32Of("010"), 10);
}

TEST_F(ScannerTest, AForeignCharacterInANumberIsConsumedBeforeTheFailure) {
    expectRefusedAt("SetWatchdog (12a)", ")");
    expectRefusedAt("SetWatchdog (12abc)", "bc)");
    expectRefusedAt("SetWatchdog (0x12g)", ")");
    expectRefusedAt("SetWatchdog (a)", ")");
    expectRefusedAt("ViewerConnect (1, 5, PlayForward)", "layForward)");
}

TEST_F(ScannerTest, ADecimalPointEndsAnInteger) { expectRefusedAt("SetWatchdog (12.5)", ".5)"); }

TEST_F(ScannerTest, NumbersWrapAtTheirWidth) {
    EXPECT_EQ(int32Of("2147483647"), 2147483647);
    EXPECT_EQ(int32Of("2147483648"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(int32Of("-2147483648"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(int32Of("-2147483649"), 2147483647);
    EXPECT_EQ(int32Of("4294967295"), -1);
    EXPECT_EQ(int32Of("4294967296"), 0);
    EXPECT_EQ(int32Of("4294967301"), 5);
    EXPECT_EQ(int32Of("0xFFFFFFFF"), -1);
    EXPECT_EQ(int32Of("0x100000005"), 5);
    EXPECT_EQ(int64Of("9223372036854775807"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(int64Of("9223372036854775808"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(int64Of("-9223372036854775808"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(int64Of("18446744073709551616"), 0);
    EXPECT_EQ(int64Of("18446744073709551621"), 5);
    EXPECT_EQ(int64Of("0x1FFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(int16Of("32768"), -32768);
    EXPECT_EQ(int16Of("65535"), -1);
    EXPECT_EQ(int16Of("65537"), 1);
    EXPECT_EQ(int16Of("-32769"), 32767);
}

TEST_F(ScannerTest, BoolsAreReadInEightBits) {
    EXPECT_FALSE(boolOf("0"));
    EXPECT_TRUE(boolOf("1"));
    EXPECT_TRUE(boolOf("2"));
    EXPECT_TRUE(boolOf("255"));
    EXPECT_FALSE(boolOf("256"));
    EXPECT_TRUE(boolOf("257"));
    EXPECT_TRUE(boolOf("-1"));
    EXPECT_FALSE(boolOf("-256"));
    EXPECT_FALSE(boolOf("0x100"));
    expectRefusedAt("SetTestPictureMode (5, true)", "rue)");
    expectRefusedAt("SetTestPictureMode (5, True)", "rue)");
}

TEST_F(ScannerTest, EnumerationsAreReadAsNumbers) {
    EXPECT_EQ(rewritten("KeyPressed (-7)"), "KeyPressed (-7)");
    EXPECT_EQ(rewritten("KeyPressed (0x100)"), "KeyPressed (256)");
    expectRefusedAt("KeyPressed (Display1)", "isplay1)");
    expectRefusedAt("SensorVideoAlarm (5, 1, VMDCycle: 40ms)", "s)");
}

// ---- Doubles
// ---------------------------------------------------------------------------------------

TEST_F(ScannerTest, DoublesAreTakenInDecimalForms) {
    EXPECT_EQ(doubleOf("1.5"), 1.5);
    EXPECT_EQ(doubleOf("-2.25e2"), -225.0);
    EXPECT_EQ(doubleOf("+.5"), 0.5);
    EXPECT_EQ(doubleOf("5."), 5.0);
    EXPECT_EQ(doubleOf("1e+006"), 1e6);
    EXPECT_EQ(doubleOf("1E-5"), 1e-5);
    EXPECT_EQ(doubleOf("0000.10"), 0.1);
    EXPECT_EQ(doubleOf("0.1000000000000000055511151231257827"), 0.1);
    EXPECT_EQ(doubleOf("123456789012345678901234567890"), 123456789012345678901234567890.0);
}

TEST_F(ScannerTest, AMissingDoubleIsZero) {
    EXPECT_EQ(doubleOf(""), 0.0);
    EXPECT_EQ(rewritten("MoveToBySpeed (5,,)"), "MoveToBySpeed (5, 0, 0)");
    EXPECT_EQ(rewritten("MoveToBySpeed (5, 1, )"), "MoveToBySpeed (5, 1, 0)");
}

TEST_F(ScannerTest, MinusZeroKeepsItsSign) {
    EXPECT_TRUE(std::signbit(doubleOf("-0")));
    EXPECT_TRUE(std::signbit(doubleOf("-0.0e5")));
    EXPECT_FALSE(std::signbit(doubleOf("0")));
}

TEST_F(ScannerTest, DoublesOutOfRangeGoToTheirLimits) {
    EXPECT_EQ(doubleOf("1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(doubleOf("-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(doubleOf("1e-999"), 0.0);
    EXPECT_EQ(doubleOf("5e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(doubleOf("1.7976931348623157e308"), std::numeric_limits<double>::max());
}

TEST_F(ScannerTest, WordsAndHexadecimalAreNoDoubles) {
    expectRefusedAt("MoveToBySpeed (5, inf, 2)", "inf, 2)");
    expectRefusedAt("MoveToBySpeed (5, nan, 2)", "nan, 2)");
    expectRefusedAt("MoveToBySpeed (5, -inf, 2)", "-inf, 2)");
    expectRefusedAt("MoveToBySpeed (5, 0x10, 2)", "x10, 2)");
}

TEST_F(ScannerTest, ADoubleEndsWhereItsFormEnds) {
    expectRefusedAt("MoveToBySpeed (5, 1.5.5, 2)", ".5, 2)");
    expectRefusedAt("MoveToBySpeed (5, 1e, 2)", "e, 2)");
    expectRefusedAt("MoveToBySpeed (5, 1e+, 2)", "e+, 2)");
    expectRefusedAt("MoveToBySpeed (5, 1x, 2)", "x, 2)");
    expectRefusedAt("MoveToBySpeed (5, ., 2)", "., 2)");
    expectRefusedAt("MoveToBySpeed (5, -, 2)", "-, 2)");
    expectRefusedAt("MoveToBySpeed (5, +-1, 2)", "+-1, 2)");
}

TEST_F(ScannerTest, NonFiniteTextsReadOneAndFailBehindThePoint) {
    expectRefusedAt("MoveToBySpeed (5, 1.#INF, 2)", "#INF, 2)");
    expectRefusedAt("MoveToBySpeed (5, -1.#IND, 2)", "#IND, 2)");
}

TEST_F(ScannerTest, ADoubleIsReadBeyondTheGivenLengthAndItsCountIsClipped) {
    // The last of the three digits counts alone, and the text seems to end where ")" is due.
    const std::string text = "MoveToBySpeed (1, 2, 345)";
    expectTaken(text, 22, "MoveToBySpeed (1, 2, 345)", 23);
}

// ---- Quoted texts
// ----------------------------------------------------------------------------------

TEST_F(ScannerTest, OnlyTheDoubleQuoteEndsAText) {
    EXPECT_EQ(addressOf("ABCConnect (\"a, (b) {c} 'd'; e: f.\r\n\tg\")"),
              W(u"a, (b) {c} 'd'; e: f.\r\n\tg"));
    EXPECT_EQ(addressOf("ABCConnect (\"\")"), W(u""));
}

TEST_F(ScannerTest, ThereIsNoEscapeCharacter) {
    EXPECT_EQ(addressOf("ABCConnect (\"a\\\")"), W(u"a\\"));
    expectRefusedAt("ABCConnect (\"a\\\"b\")", "b\")");
    expectRefusedAt("ABCConnect (\"a\"\"b\")", "\"b\")");
}

TEST_F(ScannerTest, AMissingClosingQuoteFailsBehindTheOpeningOne) {
    expectRefusedAt("ABCConnect (\"abc)", "abc)");
    expectRefusedAt("LPSQueryPosition (1, ScannerID: \"abc)", "abc)");
}

TEST_F(ScannerTest, TheOpeningCharacterOfATextIsNotLookedAt) {
    EXPECT_EQ(addressOf("ABCConnect (xabc\")"), W(u"abc"));
    EXPECT_EQ(addressOf("ABCConnect ('abc\")"), W(u"abc"));
    EXPECT_EQ(rewritten("StopEvent (xMain\")"), "StopEvent (\"Main\")");
    EXPECT_EQ(rewritten("StartAutoBackup (xNight\")"), "StartAutoBackup (\"Night\")");
    EXPECT_EQ(rewritten("DeviceFound (.a\", ,b\", )c\")"), "DeviceFound (\"a\", \"b\", \"c\")");
    EXPECT_EQ(rewritten("CancelExport (x00112233-4455-6677-8899-aabbccddeeff\", 1)"),
              "CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 1)");
}

TEST_F(ScannerTest, TheCloseParenthesisCanBeTakenForTheOpeningQuote) {
    expectRefused("ABCConnect ()", 0xFFFFFFFFu);
    expectTaken("ABCConnect () \"", TMX_MEASURE_LENGTH, "ABCConnect (\" \")", 16);
}

TEST_F(ScannerTest, ANulWhereATextBeginsFails) {
    const std::string text = std::string("ABCConnect (\0abc\")", 18);
    expectRefused(text, 6, 18);
    expectRefused(std::string("StopEvent (\0abc\")", 17), 6, 17);
}

TEST_F(ScannerTest, ADateTimeRequiresTheDoubleQuote) {
    expectRefusedAt("SetClock (2026/11/15 12:00:00,000 GMT+01:00\")",
                    "2026/11/15 12:00:00,000 GMT+01:00\")");
    expectRefusedAt("SetClock ('2026/11/15 12:00:00,000 GMT+01:00\")",
                    "'2026/11/15 12:00:00,000 GMT+01:00\")");
}

TEST_F(ScannerTest, ADateTimeRequiresTheClosingQuote) {
    const Read result = read("SetClock (\"2026/11/15 12:00:00,000 GMT+01:00)");
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.error, std::nullopt);
    EXPECT_EQ(result.consumed, 34u);
}

TEST_F(ScannerTest, TextsInBracesRequireTheDoubleQuote) {
    expectRefusedAt("CameraOn ({ 1, 2, x })", "x })");
    expectRefusedAt("CameraOn ({ 1, 2, 'x' })", "'x' })");
    expectRefusedAt("StopEvent ({ 17, Main\" })", "Main\" })");
    expectRefusedAt("StartAutoBackup ({ baa4\", \"Night\" })", "baa4\", \"Night\" })");
    expectRefusedAt("StartAutoBackup ({ \"baa41e7c-9328-427e-943d-a66b44ef2fdb\", Night\" })",
                    "Night\" })");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7, x\" }})", "x\" }})");
}

TEST_F(ScannerTest, AClosingQuoteBeyondTheLengthMakesTheCountNegative) {
    const std::string text = "ABCConnect (\"abc\")";
    // Cut at every place within the text: four characters follow the opening quote.
    expectRefused(text, 0xFFFFFFFFu, 12);
    expectRefused(text, 0xFFFFFFFCu, 13);
    expectRefused(text, 0xFFFFFFFDu, 14);
    expectRefused(text, 0xFFFFFFFEu, 15);
    expectRefused(text, 0xFFFFFFFFu, 16);
    expectTaken(text, 17, "ABCConnect (\"abc\")", 18);
    expectTaken(text, 18, "ABCConnect (\"abc\")", 18);
}

// ---- Parameters
// ------------------------------------------------------------------------------------

TEST_F(ScannerTest, RequiredParametersTakeNoName) {
    expectRefusedAt("CameraOn (Camera: 5)", "amera: 5)");
    expectRefusedAt("ViewerConnect (1, Channel: 5, 2)", "hannel: 5, 2)");
}

TEST_F(ScannerTest, OptionalParametersNeedTheirName) {
    expectRefusedAt("IPSwitchOperation (0, \"p\", 5)", ", 5)");
    EXPECT_EQ(rewritten("IPSwitchOperation (0, \"p\", Param: 5)"),
              "IPSwitchOperation (0, \"p\", Param: 5)");
}

TEST_F(ScannerTest, ParameterNamesAreComparedWithoutCase) {
    EXPECT_EQ(rewritten("IPSwitchOperation (0, \"p\", pARAM: 5)"),
              "IPSwitchOperation (0, \"p\", Param: 5)");
    EXPECT_EQ(rewritten("ViewerCleared (1, clienthost : \"x\")"),
              "ViewerCleared (1, ClientHost: \"x\")");
}

TEST_F(ScannerTest, WhiteSpaceMayStandAroundTheColon) {
    EXPECT_EQ(rewritten("IPSwitchOperation (0, \"p\" \n,\n Param \r\n :\t5)"),
              "IPSwitchOperation (0, \"p\", Param: 5)");
    EXPECT_EQ(rewritten("IPSwitchOperation (0,\"p\",Param:5)"),
              "IPSwitchOperation (0, \"p\", Param: 5)");
}

TEST_F(ScannerTest, ANameIsFoundByItsPrefixAndFailsAtTheColon) {
    expectRefusedAt("IPSwitchOperation (0, \"p\", ParamX: 5)", "X: 5)");
    expectRefusedAt("IPSwitchOperation (0, \"p\", Param 5)", "5)");
    expectRefusedAt("ViewerCleared (1, ClientHostName: \"x\")", "Name: \"x\")");
}

TEST_F(ScannerTest, ANameCutShortIsAnAbsentParameter) {
    expectRefusedAt("IPSwitchOperation (0, \"p\", Para: 5)", ", Para: 5)");
}

TEST_F(ScannerTest, PricePerUnitWithoutPriceIsRefusedThoughTheWriterWritesIt) {
    const WText name = W(u"n");
    const TmxDateTime date = instant(0, 0);
    const double price = 1.5;
    const Handle handle(TmxAct_CreatePOSData(name.c_str(), &date, nullptr, nullptr, nullptr, &price,
                                             nullptr, nullptr, nullptr, nullptr, nullptr));
    const std::string text = machine(handle);
    EXPECT_EQ(text, "POSData (\"n\", \"1601/01/01 00:00:00,000 GMT+00:00\", PricePerUnit: 1.5)");
    expectRefusedAt(text, "PerUnit: 1.5)");
    const std::string both =
        "POSData (\"n\", \"1601/01/01 00:00:00,000 GMT+00:00\", Price: 3, PricePerUnit: 1.5)";
    EXPECT_EQ(rewritten(both), both);
}

TEST_F(ScannerTest, OptionalParametersComeInCatalogueOrder) {
    EXPECT_EQ(rewritten("ViewerCleared (1, ClientHost: \"h\", ClientAccount: \"a\")"),
              "ViewerCleared (1, ClientHost: \"h\", ClientAccount: \"a\")");
    expectRefusedAt("ViewerCleared (1, ClientAccount: \"a\", ClientHost: \"h\")",
                    ", ClientHost: \"h\")");
    expectRefusedAt("ViewerCleared (1, ClientHost: \"h\", ClientHost: \"h\")",
                    ", ClientHost: \"h\")");
}

TEST_F(ScannerTest, AnOptionalParameterWithoutItsCommaIsAbsent) {
    expectRefusedAt("IPSwitchOperation (0, \"p\" Param: 5)", "Param: 5)");
}

TEST_F(ScannerTest, AnOptionalParameterMayComeFirst) {
    EXPECT_EQ(rewritten("VideoResult (Int64FieldA: 7, 5, {{ 1, 2, 3, 4, 7, \"x\" }})"),
              "VideoResult (Int64FieldA: 7, 5, {{ 1, 2, 3, 4, 7, \"x\" }})");
    EXPECT_EQ(rewritten("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})"),
              "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})");
    EXPECT_EQ(rewritten("SetupUploadProgress (host : \"h\", 7, "
                        "\"1601/01/01 00:00 GMT+0:0\")"),
              "SetupUploadProgress (Host: \"h\", 7, \"1601/01/01 00:00:00,000 GMT+00:00\")");
}

TEST_F(ScannerTest, ACommaBeforeTheFirstParameterBelongsToNobody) {
    expectRefusedAt("VideoResult (, Int64FieldA: 7, 5, {)", "Int64FieldA: 7, 5, {)");
}

TEST_F(ScannerTest, ARequiredParameterAfterAnAbsentOptionalOneNeedsItsComma) {
    EXPECT_EQ(rewritten("UserLogin (\"u\", \"h\")"), "UserLogin (\"u\", \"h\")");
    EXPECT_EQ(rewritten("UserLogin (\"u\", User2: \"v\", \"h\")"),
              "UserLogin (\"u\", User2: \"v\", \"h\")");
    expectRefusedAt("UserLogin (\"u\" \"h\")", "\"h\")");
    expectRefusedAt("UserLogin (\"u\", User2: \"v\" \"h\")", "\"h\")");
}

TEST_F(ScannerTest, AnOptionalNumberMayBeEmptyAndIsPresent) {
    EXPECT_EQ(rewritten("IPSwitchOperation (0, \"p\", Param: )"),
              "IPSwitchOperation (0, \"p\", Param: 0)");
}

TEST_F(ScannerTest, AMissingRequiredParameterFailsAtTheCloseParenthesis) {
    expectRefusedAt("SetupChanged (\"admin\", \"srv1\")", ")");
    expectRefusedAt("ViewerConnect (1, 5)", ")");
}

TEST_F(ScannerTest, ATooLongListFailsAtTheComma) {
    expectRefusedAt("ViewerConnect (1, 5, 2, 3)", ", 3)");
    expectRefusedAt("CustomAction (7, \"x\",)", ",)");
}

// ---- The given length, NULs and the blind spot
// ----------------------------------------------------

TEST_F(ScannerTest, ATextThatEndsWhereTheCloseParenthesisIsDueIsTaken) {
    expectTaken("CameraOn (5", TMX_MEASURE_LENGTH, "CameraOn (5)", 12);
    expectTaken("CameraOn (5)", 11, "CameraOn (5)", 12);
    expectTaken("CameraOn (5 ", TMX_MEASURE_LENGTH, "CameraOn (5)", 13);
    expectTaken("ABCDisconnect (", TMX_MEASURE_LENGTH, "ABCDisconnect ()", 16);
    expectTaken("CustomAction (7, \"x\"", TMX_MEASURE_LENGTH, "CustomAction (7, \"x\")", 21);
}

TEST_F(ScannerTest, ATextCutEarlierIsRefused) {
    expectRefused("CameraOn (", 0xFFFFFFFFu);
    expectRefused("CameraOn", 0xFFFFFFFFu);
    expectRefused("ABCDisconnect", 0xFFFFFFFFu);
    expectRefused("ViewerConnect (1, 5", 0xFFFFFFFFu);
    expectRefused("ViewerConnect (1, 5,", 0xFFFFFFFFu);
    expectRefused("SetWatchdog (12a", 0xFFFFFFFFu);
    expectRefused("CameraOn ({ 1, 2, \"x\"", 0xFFFFFFFFu);
    expectRefused("CameraOn ({ 1, 2", 0xFFFFFFFFu);
    expectRefused("CameraOn ({", 0xFFFFFFFFu);
    expectRefused("IPSwitchOperation (0, \"p\", Param", 0xFFFFFFFFu);
    expectRefused("IPSwitchOperation (0, \"p\", Param:", 0xFFFFFFFFu);
    expectRefused("IPSwitchOperation (0, \"p\",", 0xFFFFFFFFu);
}

TEST_F(ScannerTest, WhiteSpaceBeyondTheLengthIsSkippedToo) {
    // The blank behind the length is counted off, and the close parenthesis fails at minus one.
    expectRefused("CameraOn (5 )", 0xFFFFFFFFu, 11);
    expectRefused("CameraOn (5   )", 0xFFFFFFFDu, 11);
    expectTaken("CameraOn (5 )", 12, "CameraOn (5)", 13);
}

TEST_F(ScannerTest, NumbersAreBoundByTheLength) {
    expectTaken("CameraOn (567)", 12, "CameraOn (56)", 13);
}

TEST_F(ScannerTest, ANameThatRunsPastTheLengthIsTakenWholeAndFailsAtTheParenthesis) {
    expectRefused("CameraOn(5)", 0xFFFFFFFCu, 4);
    expectRefused("CameraOn (5)", 0xFFFFFFFBu, 4);
    expectRefused("FooBarBaz (5)", 9, 3);
}

TEST_F(ScannerTest, ANulWithinTheLengthEndsTheNumber) {
    expectRefused(std::string("CameraOn (5\0)", 13), 2, 13);
    expectRefused(std::string("CameraOn (5\0 ) ", 15), 4, 15);
}

TEST_F(ScannerTest, ANulWithinTheLengthEndsTheName) {
    expectRefused(std::string("CameraOn\0(5)", 12), 4, 12);
    expectRefused(std::string("Camera\0On (5)", 13), 6, 13);
}

TEST_F(ScannerTest, ANulWithinTheLengthEndsTheSearchForAQuote) {
    expectRefused(std::string("ABCConnect (\"ab\0c\")", 19), 6, 19);
}

TEST_F(ScannerTest, TheFirstFailureWins) {
    expectRefusedAt("ViewerConnect (a, b, c)", ", b, c)");
    expectRefusedAt("ViewerConnect (1 5 2", "5 2");
}

}  // namespace
}  // namespace edge
