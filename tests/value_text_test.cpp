// The text of every value type: what the writer prints in the machine and in the display form, what
// the reader takes, and where the two differ.
#include <limits>

#include "support/edge_support.h"
#include "support/reference_encoding.h"
#include "support/system.h"

namespace edge {
namespace {

constexpr char kGuidText[] = "00112233-4455-6677-8899-aabbccddeeff";
constexpr char kRestOfTime[] = "baa41e7c-9328-427e-943d-a66b44ef2fdb";

class ValueTextTest : public EdgeTest {
  protected:
    static Handle cameraOn(int64_t id, int32_t number, std::u16string_view name) {
        const WText text = W(name);
        const TmxObjectRef camera = ref(id, number, text.c_str());
        return Handle(TmxAct_CreateCameraOn(&camera));
    }
    static Handle stopEvent(int64_t id, std::u16string_view name) {
        const WText text = W(name);
        const TmxObjectRef type = ref(id, 0, text.c_str());
        return Handle(TmxAct_CreateStopEvent(&type));
    }
    static Handle startAutoBackup(const TmxGuid& guid, std::u16string_view name) {
        const WText text = W(name);
        const TmxGuidRef schedule{guid, text.c_str(), 0};
        return Handle(TmxAct_CreateStartAutoBackup(&schedule));
    }
    static Handle moveToBySpeed(double value) {
        const TmxObjectRef camera = ref(0, 5);
        const double zero = 0;
        return Handle(TmxAct_CreateMoveToBySpeed(&camera, &value, &zero));
    }
    static std::string doubleText(double value) {
        const Handle handle = moveToBySpeed(value);
        const std::string text = machine(handle);
        const std::string start = "MoveToBySpeed (5, ";
        const std::string end = ", 0)";
        EXPECT_EQ(text.substr(0, start.size()), start);
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        const std::string number =
            text.substr(start.size(), text.size() - start.size() - end.size());
        EXPECT_EQ(display(handle),
                  "MoveToBySpeed; Camera: 5; SpeedAlpha: " + number + "; SpeedBeta: 0");
        return number;
    }
    static Handle abcConnect(std::u16string_view address) {
        return Handle(TmxAct_CreateABCConnect(W(address).c_str()));
    }
    static WText addressOf(const Handle& handle) {
        const TmxWChar* address = nullptr;
        EXPECT_TRUE(handle && TmxAct_DecodeABCConnect(handle.get(), &address));
        return address != nullptr ? WText(address) : W(u"(none)");
    }
    static Handle deviceFound(const char* type) {
        return Handle(TmxAct_CreateDeviceFound(type, "", ""));
    }
    static std::string typeOf(const Handle& handle) {
        const char* type = nullptr;
        const char* name = nullptr;
        const char* serial = nullptr;
        EXPECT_TRUE(handle && TmxAct_DecodeDeviceFound(handle.get(), &type, &name, &serial));
        return type != nullptr ? type : "(none)";
    }
};

// ---- Integers, bools, enumerations
// ------------------------------------------------------------------

TEST_F(ValueTextTest, IntegersAreDecimalInBothForms) {
    EXPECT_EQ(rewritten("SetWatchdog (-7)"), "SetWatchdog (-7)");
    EXPECT_EQ(display(taken("SetWatchdog (-7)")), "SetWatchdog; Timeout: -7");
    EXPECT_EQ(rewritten("SetWatchdog (2147483647)"), "SetWatchdog (2147483647)");
    EXPECT_EQ(rewritten("SetWatchdog (-2147483647)"), "SetWatchdog (-2147483647)");
    EXPECT_EQ(rewritten("StopEventByID (281474976710655)"), "StopEventByID (281474976710655)");
    EXPECT_EQ(rewritten("StopEventByID (-9223372036854775807)"),
              "StopEventByID (-9223372036854775807)");
    EXPECT_EQ(display(taken("StopEventByID (281474976710655)")),
              "StopEventByID; EventID: 281474976710655");
}

TEST_F(ValueTextTest, TheSmallestValueOfAnyWidthIsMinusAndAParenthesis) {
    const Handle small(TmxAct_CreateSetWatchdog(std::numeric_limits<int32_t>::min()));
    EXPECT_EQ(machine(small), "SetWatchdog (-()");
    EXPECT_EQ(display(small), "SetWatchdog; Timeout: -(");
    const int64_t id = std::numeric_limits<int64_t>::min();
    const Handle large(TmxAct_CreateStopEventByID(&id));
    EXPECT_EQ(machine(large), "StopEventByID (-()");
    EXPECT_EQ(machine(cameraOn(id, std::numeric_limits<int32_t>::min(), u"x")),
              "CameraOn ({ -(, -(, \"x\" })");
    EXPECT_EQ(machine(cameraOn(0, std::numeric_limits<int32_t>::min(), u"")), "CameraOn (-()");
    EXPECT_EQ(machine(stopEvent(id, u"x")), "StopEvent ({ -(, \"x\" })");
    const TmxObjectRef channel = ref(0, 5);
    const TmxRect rect{{-32768, 1, -32768, 32767}};
    const Handle alarm(
        TmxAct_CreateSentaraZMXAlarm(&channel, nullptr, nullptr, nullptr, nullptr, &rect));
    EXPECT_EQ(machine(alarm), "SentaraZMXAlarm (5, AlarmArea: { -(, 1, -(, 32767 })");
}

TEST_F(ValueTextTest, TheTextOfTheSmallestValueIsNotRead) {
    expectRefusedAt("SetWatchdog (-()", "()");
    expectRefusedAt("StopEventByID (-()", "()");
    expectRefusedAt("ViewerSetPlayMode (1, -(, 5)", "(, 5)");
}

TEST_F(ValueTextTest, BoolsAreANumberInMachineFormAndANameInDisplayForm) {
    EXPECT_EQ(rewritten("SetTestPictureMode (5, 1)"), "SetTestPictureMode (5, 1)");
    EXPECT_EQ(rewritten("SetTestPictureMode (5, 0)"), "SetTestPictureMode (5, 0)");
    EXPECT_EQ(rewritten("SetTestPictureMode (5, 77)"), "SetTestPictureMode (5, 1)");
    EXPECT_EQ(display(taken("SetTestPictureMode (5, 1)")),
              "SetTestPictureMode; Channel: 5; Mode: True");
    EXPECT_EQ(display(taken("SetTestPictureMode (5, 0)")),
              "SetTestPictureMode; Channel: 5; Mode: False");
}

TEST_F(ValueTextTest, AnEnumerationDisplaysItsNameWithoutTheParameterName) {
    EXPECT_EQ(machine(taken("KeyPressed (256)")), "KeyPressed (256)");
    EXPECT_EQ(display(taken("KeyPressed (256)")), "KeyPressed; Reporter1");
    EXPECT_EQ(display(taken("SetLEDBlink (0, 100, 200)")),
              "SetLEDBlink; Error; LedTimeOnMs: 100; LedTimeOffMs: 200");
    EXPECT_EQ(display(taken("ViewerSetPlayMode (1, 2, 100)")),
              "ViewerSetPlayMode; Viewer: 1; PlayForward; PlaySpeed: 100");
}

TEST_F(ValueTextTest, AnEnumerationValueWithoutANameDisplaysAsANamedNumber) {
    EXPECT_EQ(display(taken("KeyPressed (5)")), "KeyPressed; Key: 5");
    EXPECT_EQ(display(taken("SetLEDBlink (4, 100, 200)")),
              "SetLEDBlink; LED: 4; LedTimeOnMs: 100; LedTimeOffMs: 200");
    EXPECT_EQ(display(taken("KeyPressed (-1)")), "KeyPressed; Key: -1");
}

TEST_F(ValueTextTest, AnOptionalEnumerationDisplaysItsNameToo) {
    EXPECT_EQ(display(taken("ViewerCleared (1, ClientType: 2, ClientAccount: \"a\")")),
              "ViewerCleared; Viewer: 1; TmxSetup; ClientAccount: \"a\"");
    EXPECT_EQ(machine(taken("ViewerCleared (1, ClientType: 2)")),
              "ViewerCleared (1, ClientType: 2)");
    EXPECT_EQ(display(taken("ViewerCleared (1, ClientType: 77)")),
              "ViewerCleared; Viewer: 1; ClientType: 77");
}

// ---- Texts
// ------------------------------------------------------------------------------------------

TEST_F(ValueTextTest, TextsAreQuotedInBothFormsAndNothingIsEscaped) {
    EXPECT_EQ(machine(abcConnect(u"a, (b) {c}\r\n\t'd'\\")),
              "ABCConnect (\"a, (b) {c}\r\n\t'd'\\\")");
    EXPECT_EQ(display(abcConnect(u"abc")), "ABCConnect; Address: \"abc\"");
    EXPECT_EQ(machine(deviceFound("abc")), "DeviceFound (\"abc\", \"\", \"\")");
    EXPECT_EQ(display(deviceFound("abc")), "DeviceFound; Type: \"abc\"; Name: \"\"; Serial: \"\"");
}

TEST_F(ValueTextTest, ADoubleQuoteInATextIsWrittenRawAndEndsItForTheReader) {
    EXPECT_EQ(machine(abcConnect(u"a\"b")), "ABCConnect (\"a\"b\")");
    expectRefusedAt("ABCConnect (\"a\"b\")", "b\")");
}

TEST_F(ValueTextTest, WideTextGoesNarrowByTheAnsiCodePage) {
    const Handle handle = abcConnect(u"\u00E4\u20AC\u4E00\U0001F600");
    EXPECT_EQ(textA(handle.get()), "ABCConnect (\"\xE4\x80???\")");
    EXPECT_EQ(textA(handle.get(), true), "ABCConnect; Address: \"\xE4\x80???\"");
    EXPECT_EQ(textW(handle.get()), W(u"ABCConnect (\"\u00E4\u20AC\u4E00\U0001F600\")"));
    // What was lost does not come back.
    EXPECT_EQ(addressOf(readA(textA(handle.get())).handle), W(u"\u00E4\u20AC???"));
}

TEST_F(ValueTextTest, WideTextThroughUtf8IsExact) {
    const Handle handle = abcConnect(u"\u00E4\u20AC\u4E00\U0001F600");
    const std::string text = textA(handle.get(), false, true);
    EXPECT_EQ(text, "ABCConnect (\"\xC3\xA4\xE2\x82\xAC\xE4\xB8\x80\xF0\x9F\x98\x80\")");
    const Read back = readA(text, TMX_MEASURE_LENGTH, kAny, true);
    EXPECT_EQ(addressOf(back.handle), W(u"\u00E4\u20AC\u4E00\U0001F600"));
    EXPECT_EQ(back.consumed, text.size());
    EXPECT_EQ(textW(handle.get(), false, true), textW(handle.get(), false, false));
}

TEST_F(ValueTextTest, TheFiveFreeBytesOfTheCodePageAreControlCharacters) {
    const Handle handle = abcConnect(u"\u0081\u008D\u008F\u0090\u009D");
    EXPECT_EQ(textA(handle.get()), "ABCConnect (\"\x81\x8D\x8F\x90\x9D\")");
    EXPECT_EQ(addressOf(readA("ABCConnect (\"\x81\x8D\x8F\x90\x9D\x80\x9F\")").handle),
              W(u"\u0081\u008D\u008F\u0090\u009D\u20AC\u0178"));
    EXPECT_EQ(textA(abcConnect(u"\u0080").get()), "ABCConnect (\"?\")");
}

TEST_F(ValueTextTest, ABaseLetterAndItsMarkAreComposed) {
    EXPECT_EQ(textA(abcConnect(u"a\u0308o\u0302").get()), "ABCConnect (\"\xE4\xF4\")");
    EXPECT_EQ(textA(abcConnect(u"a\u0308").get(), false, true), "ABCConnect (\"a\xCC\x88\")");
}

TEST_F(ValueTextTest, UnpairedSurrogatesAreReplacedInUtf8) {
    const char16_t text[] = {u'a', 0xDC00, 0xD83D, u'b', 0};
    EXPECT_EQ(textA(abcConnect(text).get(), false, true),
              "ABCConnect (\"a\xEF\xBF\xBD\xEF\xBF\xBD"
              "b\")");
    EXPECT_EQ(textA(abcConnect(text).get()), "ABCConnect (\"a??b\")");
    EXPECT_EQ(textW(abcConnect(text).get()), W(u"ABCConnect (\"") + W(text) + W(u"\")"));
}

TEST_F(ValueTextTest, IllFormedUtf8IsReplacedPartByPart) {
    const auto decoded = [](const std::string& bytes) {
        return addressOf(
            readA("ABCConnect (\"" + bytes + "\")", TMX_MEASURE_LENGTH, kAny, true).handle);
    };
    EXPECT_EQ(decoded("\xE4"), W(u"\uFFFD"));
    EXPECT_EQ(decoded("\xE2\x82x"), W(u"\uFFFDx"));
    EXPECT_EQ(decoded("\xC0\x80"), W(u"\uFFFD\uFFFD"));
    // How many parts these are is for the system to say.
    EXPECT_EQ(decoded("\xED\xA0\x80"), tmxtest::ToWide("\xED\xA0\x80", true));
    EXPECT_EQ(decoded("\xF0\x9F\x98"), W(u"\uFFFD"));
    EXPECT_EQ(decoded("\xF5\x80"), W(u"\uFFFD\uFFFD"));
    EXPECT_EQ(decoded("\x80\xFF"), W(u"\uFFFD\uFFFD"));
    EXPECT_EQ(decoded("\xC3\xA4"), W(u"\u00E4"));
}

TEST_F(ValueTextTest, NarrowTextKeepsItsBytesBetweenNarrowForms) {
    const std::string bytes = "\xE4\x81\xC3\xA4\xFF";
    const Handle handle = deviceFound(bytes.c_str());
    for (const bool writing : {false, true}) {
        const std::string text = textA(handle.get(), false, writing);
        EXPECT_EQ(text, "DeviceFound (\"" + bytes + "\", \"\", \"\")");
        for (const bool reading : {false, true}) {
            EXPECT_EQ(typeOf(readA(text, TMX_MEASURE_LENGTH, kAny, reading).handle), bytes);
        }
    }
}

TEST_F(ValueTextTest, NarrowTextGoesWideWithTheFlagOfTheWriter) {
    const Handle handle = deviceFound("\xC3\xA4");
    EXPECT_EQ(textW(handle.get(), false, false), W(u"DeviceFound (\"\u00C3\u00A4\", \"\", \"\")"));
    EXPECT_EQ(textW(handle.get(), false, true), W(u"DeviceFound (\"\u00E4\", \"\", \"\")"));
}

TEST_F(ValueTextTest, NarrowTextComesFromWideWithTheFlagOfTheReader) {
    const WText text = W(u"DeviceFound (\"\u00E4\u4E00\", \"\", \"\")");
    EXPECT_EQ(typeOf(readW(text, TMX_MEASURE_LENGTH, kAny, false).handle), "\xE4?");
    EXPECT_EQ(typeOf(readW(text, TMX_MEASURE_LENGTH, kAny, true).handle), "\xC3\xA4\xE4\xB8\x80");
}

TEST_F(ValueTextTest, NarrowTextThroughWideTextNeedsTheSameFlagTwice) {
    const Handle handle = deviceFound("\xE4");
    const WText text = textW(handle.get(), false, false);
    EXPECT_EQ(typeOf(readW(text, TMX_MEASURE_LENGTH, kAny, false).handle), "\xE4");
    EXPECT_EQ(typeOf(readW(text, TMX_MEASURE_LENGTH, kAny, true).handle), "\xC3\xA4");
}

TEST_F(ValueTextTest, NamesOfReferencesConvertLikeWideTexts) {
    EXPECT_EQ(textA(cameraOn(0, 5, u"\u00E4\u4E00").get()), "CameraOn ({ 0, 5, \"\xE4?\" })");
    EXPECT_EQ(textA(cameraOn(0, 5, u"\u00E4").get(), true), "CameraOn; Camera: \xE4 (5)");
    EXPECT_EQ(textA(cameraOn(0, 5, u"\u00E4").get(), false, true),
              "CameraOn ({ 0, 5, \"\xC3\xA4\" })");
    EXPECT_EQ(textA(stopEvent(0, u"\u00E4").get()), "StopEvent (\"\xE4\")");
    EXPECT_EQ(textA(startAutoBackup(TmxGuid{}, u"\u00E4").get()), "StartAutoBackup (\"\xE4\")");
}

TEST_F(ValueTextTest, AnyBufferSizeReportsTheSameTotal) {
    // Converted pieces are measured where they don't fit.
    const Handle wide = abcConnect(u"ab\u00E4\u20AC\U0001F600 a\u0308 cd");
    const Handle narrow = deviceFound("\xE4\xF6\xFC xyz");
    for (const bool utf8 : {false, true}) {
        for (const TmxHandle handle : {wide.get(), narrow.get()}) {
            const std::string a = textA(handle, false, utf8);
            const WText w = textW(handle, false, utf8);
            for (uint32_t size = 0; size <= a.size(); ++size) {
                const auto buffer = std::make_unique<char[]>(size);
                uint32_t written = 0;
                EXPECT_FALSE(
                    TmxAct_StoreToTextBufferA(handle, buffer.get(), size, false, utf8, &written));
                EXPECT_EQ(written, a.size() + 1) << size;
            }
            for (uint32_t size = 0; size <= w.size(); ++size) {
                const auto buffer = std::make_unique<TmxWChar[]>(size);
                uint32_t written = 0;
                EXPECT_FALSE(
                    TmxAct_StoreToTextBufferW(handle, buffer.get(), size, false, utf8, &written));
                EXPECT_EQ(written, w.size() + 1) << size;
            }
        }
    }
}

// ---- Date-times, GUIDs
// --------------------------------------------------------------------------------

TEST_F(ValueTextTest, ADateTimeHasItsClockTimeAndZoneInMachineForm) {
    EXPECT_EQ(rewritten("SetClock (\"2026/11/15 12:00:00,000 GMT+01:00\")"),
              "SetClock (\"2026/11/15 12:00:00,000 GMT+01:00\")");
}

TEST_F(ValueTextTest, ADateTimeDisplaysAsShortDateAndTimeOfTheLocaleWithoutAZone) {
    std::tm clock{};
    clock.tm_year = 126;
    clock.tm_mon = 10;
    clock.tm_mday = 15;
    clock.tm_hour = 12;
    clock.tm_min = 34;
    clock.tm_sec = 56;
    clock.tm_wday = 0;
    clock.tm_yday = 318;
    EXPECT_EQ(textA(taken("SetClock (\"2026/11/15 12:34:56,789 GMT+01:00\")").get(), true),
              "SetClock; Date: \"" + tmxtest::ShortDateAndTime(clock) + "\"");
}

TEST_F(ValueTextTest, GuidsAreLowerCaseWithoutBracesInBothForms) {
    const TmxGuid guid = countingGuid();
    const Handle handle(TmxAct_CreateCancelExport(&guid, 1));
    EXPECT_EQ(machine(handle), std::string("CancelExport (\"") + kGuidText + "\", 1)");
    EXPECT_EQ(display(handle),
              std::string("CancelExport; ExportID: \"") + kGuidText + "\"; LowDiscSpace");
    const TmxGuid nil{};
    EXPECT_EQ(machine(Handle(TmxAct_CreateCancelExport(&nil, 0))),
              "CancelExport (\"00000000-0000-0000-0000-000000000000\", 0)");
}

TEST_F(ValueTextTest, GuidsAreReadInTheirForms) {
    const std::string expected = std::string("CancelExport (\"") + kGuidText + "\", 1)";
    for (const char* form :
         {"00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-AABBCCDDEEFF",
          "{00112233-4455-6677-8899-aAbBcCdDeEfF}", "00112233-4455-6677-8899-aabbccddeeff}",
          "00112233-4455-6677-8899-aabbccddeeff and more",
          "{00112233-4455-6677-8899-aabbccddeeff} and more",
          "00112233-4455-6677-8899-aabbccddeeff0"}) {
        EXPECT_EQ(rewritten(std::string("CancelExport (\"") + form + "\", 1)"), expected) << form;
    }
}

TEST_F(ValueTextTest, BadGuidsRaiseTheirText) {
    for (const char* form :
         {"", "{", "x", "{00112233-4455-6677-8899-aabbccddeeff",
          "{00112233-4455-6677-8899-aabbccddeeff }", "00112233-4455-6677-8899-aabbccddeef",
          "00112233-4455-6677-8899-aabbccddeefg", "0112233-4455-6677-8899-aabbccddeeff",
          "001122334-455-6677-8899-aabbccddeeff", "00112233445566778899aabbccddeeff",
          " 00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899aabbccddeeff",
          "00112233_4455_6677_8899_aabbccddeeff", "0x112233-4455-6677-8899-aabbccddeeff",
          "+0112233-4455-6677-8899-aabbccddeeff"}) {
        expectRaised(std::string("CancelExport (\"") + form + "\", 1)", guidError(form));
    }
}

TEST_F(ValueTextTest, ABadGuidRaisesBeforeLaterSyntaxErrors) {
    expectRaised("CancelExport (\"x\", y", guidError("x"));
}

// ---- NamedId
// ------------------------------------------------------------------------------------------

TEST_F(ValueTextTest, ANamedIdWithAnIdIsBraced) {
    EXPECT_EQ(machine(stopEvent(17, u"Main")), "StopEvent ({ 17, \"Main\" })");
    EXPECT_EQ(machine(stopEvent(17, u"")), "StopEvent ({ 17, \"\" })");
    EXPECT_EQ(machine(stopEvent(-17, u"")), "StopEvent ({ -17, \"\" })");
}

TEST_F(ValueTextTest, ANamedIdWithoutAnIdIsItsName) {
    EXPECT_EQ(machine(stopEvent(0, u"Main")), "StopEvent (\"Main\")");
    EXPECT_EQ(machine(stopEvent(0, u"")), "StopEvent (\"\")");
}

TEST_F(ValueTextTest, ANamedIdDisplaysItsNameElseItsId) {
    EXPECT_EQ(display(stopEvent(17, u"Main")), "StopEvent; TypeID: \"Main\"");
    EXPECT_EQ(display(stopEvent(0, u"Main")), "StopEvent; TypeID: \"Main\"");
    EXPECT_EQ(display(stopEvent(17, u"")), "StopEvent; TypeID: 17");
    EXPECT_EQ(display(stopEvent(0, u"")), "StopEvent; TypeID: 0");
}

TEST_F(ValueTextTest, ANamedIdIsReadInBracesOrAsABareText) {
    EXPECT_EQ(rewritten("StopEvent ({17,\"Main\"})"), "StopEvent ({ 17, \"Main\" })");
    EXPECT_EQ(rewritten("StopEvent ({ \n17 , \t\"Main\"\r})"), "StopEvent ({ 17, \"Main\" })");
    EXPECT_EQ(rewritten("StopEvent ({ 0x11, \"Main\" })"), "StopEvent ({ 17, \"Main\" })");
    EXPECT_EQ(rewritten("StopEvent ({ , \"Main\" })"), "StopEvent (\"Main\")");
    EXPECT_EQ(rewritten("StopEvent (\"Main\")"), "StopEvent (\"Main\")");
    expectRefusedAt("StopEvent (17)", "7)");
    expectRefusedAt("StopEvent ({ 17 })", "})");
    expectRefusedAt("StopEvent ({ 17, \"Main\", 5 })", ", 5 })");
}

// ---- ObjectRef
// ----------------------------------------------------------------------------------------

TEST_F(ValueTextTest, AnObjectRefWithANumberAloneIsTheNumber) {
    EXPECT_EQ(machine(cameraOn(0, 5, u"")), "CameraOn (5)");
    EXPECT_EQ(machine(cameraOn(0, -5, u"")), "CameraOn (-5)");
    EXPECT_EQ(machine(cameraOn(0, 0, u"")), "CameraOn (0)");
}

TEST_F(ValueTextTest, AnObjectRefWithAnIdOrANameIsBraced) {
    EXPECT_EQ(machine(cameraOn(1234, 5, u"Gate")), "CameraOn ({ 1234, 5, \"Gate\" })");
    EXPECT_EQ(machine(cameraOn(0, 5, u"Gate")), "CameraOn ({ 0, 5, \"Gate\" })");
    EXPECT_EQ(machine(cameraOn(1234, 0, u"")), "CameraOn ({ 1234, 0, \"\" })");
    EXPECT_EQ(machine(cameraOn(0, 0, u"Gate")), "CameraOn ({ 0, 0, \"Gate\" })");
}

TEST_F(ValueTextTest, AnObjectRefDisplaysNameAndNumberElseNumberElseId) {
    EXPECT_EQ(display(cameraOn(1234, 5, u"Gate")), "CameraOn; Camera: Gate (5)");
    EXPECT_EQ(display(cameraOn(0, 0, u"Gate")), "CameraOn; Camera: Gate (0)");
    EXPECT_EQ(display(cameraOn(1234, 5, u"")), "CameraOn; Camera: 5");
    EXPECT_EQ(display(cameraOn(1234, 0, u"")), "CameraOn; Camera: #: 1234");
    EXPECT_EQ(display(cameraOn(0, 0, u"")), "CameraOn; Camera: #: 0");
    EXPECT_EQ(display(cameraOn(-1, 0, u"")), "CameraOn; Camera: #: -1");
}

TEST_F(ValueTextTest, AnObjectRefIsReadWithAnyWhiteSpaceInItsBraces) {
    const std::string expected = "CameraOn ({ 1, 2, \"x\" })";
    EXPECT_EQ(rewritten("CameraOn ({1,2,\"x\"})"), expected);
    EXPECT_EQ(rewritten("CameraOn ({\n1\t,\r\n2  ,  \"x\"\n}\n)"), expected);
    EXPECT_EQ(rewritten("CameraOn ({ 0x1, +2, \"x\" })"), expected);
    EXPECT_EQ(rewritten("CameraOn ({ , , \"x\" })"), "CameraOn ({ 0, 0, \"x\" })");
}

TEST_F(ValueTextTest, AnObjectRefReadInBracesWithANumberAloneIsWrittenShort) {
    EXPECT_EQ(rewritten("CameraOn ({ 0, 5, \"\" })"), "CameraOn (5)");
}

TEST_F(ValueTextTest, AnIncompleteObjectRefFailsAtItsPlace) {
    expectRefusedAt("CameraOn ({ 1, 2 })", "})");
    expectRefusedAt("CameraOn ({ 1, 2, x })", "x })");
    expectRefusedAt("CameraOn ({ 1 2, \"x\" })", "2, \"x\" })");
    expectRefusedAt("CameraOn ({ 1, 2, \"x\" )", ")");
    expectRefusedAt("CameraOn ({ 1, 2, \"x\", })", ", })");
    expectRefusedAt("CameraOn ({})", "})");
    expectRefusedAt("CameraOn (\"Gate\")", "\"Gate\")");
}

// ---- GuidRef
// ------------------------------------------------------------------------------------------

TEST_F(ValueTextTest, AGuidRefIsBracedUnlessItsGuidIsNil) {
    EXPECT_EQ(machine(startAutoBackup(restOfTimeGuid(), u"Night")),
              std::string("StartAutoBackup ({ \"") + kRestOfTime + "\", \"Night\" })");
    EXPECT_EQ(machine(startAutoBackup(TmxGuid{}, u"Night")), "StartAutoBackup (\"Night\")");
    EXPECT_EQ(machine(startAutoBackup(TmxGuid{}, u"")), "StartAutoBackup (\"\")");
    EXPECT_EQ(machine(startAutoBackup(countingGuid(), u"")),
              std::string("StartAutoBackup ({ \"") + kGuidText + "\", \"\" })");
}

TEST_F(ValueTextTest, AGuidRefDisplaysItsNameElseItsGuid) {
    EXPECT_EQ(display(startAutoBackup(countingGuid(), u"Night")),
              "StartAutoBackup; Schedule: \"Night\"");
    EXPECT_EQ(display(startAutoBackup(countingGuid(), u"")),
              std::string("StartAutoBackup; Schedule: \"") + kGuidText + "\"");
    EXPECT_EQ(display(startAutoBackup(TmxGuid{}, u"")),
              "StartAutoBackup; Schedule: \"00000000-0000-0000-0000-000000000000\"");
    EXPECT_EQ(display(startAutoBackup(TmxGuid{}, u"Night")),
              "StartAutoBackup; Schedule: \"Night\"");
}

TEST_F(ValueTextTest, TheFixedGuidDisplaysAsTheRestOfTimeWithoutAParameterName) {
    EXPECT_EQ(display(startAutoBackup(restOfTimeGuid(), u"Night")), "StartAutoBackup; RestOfTime");
    EXPECT_EQ(display(startAutoBackup(restOfTimeGuid(), u"")), "StartAutoBackup; RestOfTime");
}

TEST_F(ValueTextTest, TheRestOfTimeKeepsTheCountOfParameters) {
    const std::string destination = std::string("{ \"") + kRestOfTime + "\", \"x\" }";
    EXPECT_EQ(display(taken("BackupEvent (1, \"t\", " + destination + ", StopHintID: 5)")),
              "BackupEvent; EventID: 1; TypeID: \"t\"; RestOfTime; StopHintID: 5");
    const std::string shown = display(taken(
        "SystemSettingsChanged (0, 1, TimeRange: " + destination + ", 0, \"1601/01/01 GMT+0:0\")"));
    EXPECT_TRUE(shown.starts_with(
        "SystemSettingsChanged; SetupChanged: False; TimeRangeChanged: True; RestOfTime; "
        "ReservedChanged: False; Date: \""))
        << shown;
}

TEST_F(ValueTextTest, AGuidRefIsReadInBracesOrAsABareText) {
    const std::string guid = kGuidText;
    const std::string expected = "StartAutoBackup ({ \"" + guid + "\", \"Night\" })";
    EXPECT_EQ(rewritten("StartAutoBackup ({\"" + guid + "\",\"Night\"})"), expected);
    EXPECT_EQ(rewritten("StartAutoBackup ({ \"{" + guid + "}\" ,\n\"Night\" })"), expected);
    EXPECT_EQ(rewritten("StartAutoBackup (\"Night\")"), "StartAutoBackup (\"Night\")");
    EXPECT_EQ(rewritten("StartAutoBackup ({ \"00000000-0000-0000-0000-000000000000\", \"N\" })"),
              "StartAutoBackup (\"N\")");
    expectRaised("StartAutoBackup ({ \"bad\", \"Night\" })", guidError("bad"));
    expectRefusedAt("StartAutoBackup ({ \"" + guid + "\" })", "})");
}

TEST_F(ValueTextTest, AGuidWithoutItsClosingQuoteInBracesFailsAtTheComma) {
    expectRefusedAt("StartAutoBackup ({ \"abc })", "abc })");
}

TEST_F(ValueTextTest, ABareTextInPlaceOfAGuidRefIsNeverAGuid) {
    EXPECT_EQ(rewritten(std::string("StartAutoBackup (\"") + kGuidText + "\")"),
              std::string("StartAutoBackup (\"") + kGuidText + "\")");
}

// ---- Doubles
// -----------------------------------------------------------------------------------------

TEST_F(ValueTextTest, DoublesHaveSixSignificantDigits) {
    EXPECT_EQ(doubleText(1.5), "1.5");
    EXPECT_EQ(doubleText(1.0 / 3), "0.333333");
    EXPECT_EQ(doubleText(-2), "-2");
    EXPECT_EQ(doubleText(100000), "100000");
    EXPECT_EQ(doubleText(123456), "123456");
    EXPECT_EQ(doubleText(0.0001), "0.0001");
    EXPECT_EQ(doubleText(99999.96), "100000");
    EXPECT_EQ(doubleText(1234.565), "1234.57");
    EXPECT_EQ(doubleText(0.1 + 0.2), "0.3");
}

TEST_F(ValueTextTest, ExponentsHaveAtLeastThreeDigits) {
    EXPECT_EQ(doubleText(1e6), "1e+006");
    EXPECT_EQ(doubleText(1234567.0), "1.23457e+006");
    EXPECT_EQ(doubleText(999999.5), "1e+006");
    EXPECT_EQ(doubleText(0.00001), "1e-005");
    EXPECT_EQ(doubleText(-1.25e-10), "-1.25e-010");
    EXPECT_EQ(doubleText(1e100), "1e+100");
    EXPECT_EQ(doubleText(std::numeric_limits<double>::max()), "1.79769e+308");
    EXPECT_EQ(doubleText(std::numeric_limits<double>::denorm_min()), "4.94066e-324");
}

TEST_F(ValueTextTest, ZerosKeepTheirSign) {
    EXPECT_EQ(doubleText(0.0), "0");
    EXPECT_EQ(doubleText(-0.0), "-0");
}

TEST_F(ValueTextTest, NonFiniteDoublesHaveTheirTexts) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(doubleText(infinity), "1.#INF");
    EXPECT_EQ(doubleText(-infinity), "-1.#INF");
    uint64_t bits = 0x7FF8000000000000u;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    EXPECT_EQ(doubleText(value), "1.#QNAN");
    bits = 0xFFF8000000000000u;
    std::memcpy(&value, &bits, sizeof value);
    EXPECT_EQ(doubleText(value), "-1.#IND");
}

TEST_F(ValueTextTest, PrecisionIsLostInARoundTrip) {
    const Handle back = taken(machine(moveToBySpeed(1.0 / 3)));
    TmxObjectRef camera;
    double alpha = 0;
    double beta = 0;
    EXPECT_TRUE(TmxAct_DecodeMoveToBySpeed(back.get(), &camera, &alpha, &beta));
    EXPECT_EQ(alpha, 0.333333);
}

// ---- Rectangles and data sets
// ----------------------------------------------------------------------

TEST_F(ValueTextTest, ARectangleIsFourNumbersInBraces) {
    const std::string text = "SentaraZMXAlarm (5, AlarmArea: { 0, 0, 640, 480 })";
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(rewritten("SentaraZMXAlarm (5, AlarmArea:{0,0,640,480})"), text);
    EXPECT_EQ(rewritten("SentaraZMXAlarm (5, AlarmArea: {\n0 ,\t0 , 0x280 , +480\r})"), text);
    EXPECT_EQ(display(taken(text)), "SentaraZMXAlarm; Channel: 5; AlarmArea: { 0, 0, 640, 480 }");
}

TEST_F(ValueTextTest, ARectangleTakesEmptyNumbersAndNothingElse) {
    EXPECT_EQ(rewritten("SentaraZMXAlarm (5, AlarmArea: {,,,})"),
              "SentaraZMXAlarm (5, AlarmArea: { 0, 0, 0, 0 })");
    expectRefusedAt("SentaraZMXAlarm (5, AlarmArea: 0, 0, 640, 480)", "0, 0, 640, 480)");
    expectRefusedAt("SentaraZMXAlarm (5, AlarmArea: { 1, 2, 3 })", "})");
    expectRefusedAt("SentaraZMXAlarm (5, AlarmArea: { 1, 2, 3, 4, 5 })", ", 5 })");
    expectRefusedAt("SentaraZMXAlarm (5, AlarmArea: { 1, 2, 3, 4 )", ")");
    expectRefusedAt("SentaraZMXAlarm (5, AlarmArea: { -1, -32767, 32767, , })", ", })");
}

TEST_F(ValueTextTest, ADataSetIsAListInBraces) {
    const std::string text =
        "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }, { 5, 6, 7, 8, 9, \"y\" }})";
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(rewritten("VideoResult(5,{{1,2,3,4,7,\"x\"},{5,6,7,8,9,\"y\"}})"), text);
    EXPECT_EQ(rewritten("VideoResult (5, {\n{ 1 , 2 , 3 , 4 , 0x7 , \"x\" }\t,\n"
                        "{ 5, 6, 7, 8, +9, \"y\" }\n}\n)"),
              text);
    EXPECT_EQ(display(taken(text)),
              "VideoResult; Channel: 5; ResultDataSet: {{ 1, 2, 3, 4, 7, \"x\" }, "
              "{ 5, 6, 7, 8, 9, \"y\" }}");
}

TEST_F(ValueTextTest, TheNumberOfAnEntryIsWrittenUnsigned) {
    const std::string text = "VideoResult (5, {{ -1, 2, 3, 4, 4294967295, \"\" }})";
    EXPECT_EQ(rewritten("VideoResult (5, {{ 65535, 2, 3, 4, -1, \"\" }})"), text);
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(rewritten("VideoResult (5, {{ 1, 2, 3, 4, -2147483648, \"\" }})"),
              "VideoResult (5, {{ 1, 2, 3, 4, 2147483648, \"\" }})");
}

TEST_F(ValueTextTest, TheWordsOfAnEntryWrapAndHaveTheSmallestValueOfTheirWidth) {
    EXPECT_EQ(rewritten("VideoResult (5, {{ 65537, -32769, , 4, , \"\" }})"),
              "VideoResult (5, {{ 1, 32767, 0, 4, 0, \"\" }})");
    const TmxObjectRef channel = ref(0, 5);
    const TmxDataSetEntry entry{{-32768, 0, 0, 0}, 0, 0, nullptr};
    const TmxDataSet set{&entry, 1};
    const Handle handle(TmxAct_CreateVideoResult(
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &channel, &set));
    EXPECT_EQ(machine(handle), "VideoResult (5, {{ -(, 0, 0, 0, 0, \"\" }})");
}

TEST_F(ValueTextTest, AnEmptyDataSetIsWrittenAndNotRead) {
    const TmxObjectRef channel = ref(0, 5);
    const TmxDataSet set{nullptr, 0};
    const Handle handle(TmxAct_CreateVideoResult(
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &channel, &set));
    EXPECT_EQ(machine(handle), "VideoResult (5, {})");
    EXPECT_EQ(display(handle), "VideoResult; Channel: 5; ResultDataSet: {}");
    expectRefusedAt("VideoResult (5, {})", "})");
}

TEST_F(ValueTextTest, ADataSetThatEndsBeforeAnEntryIsTakenAsItStands) {
    EXPECT_EQ(rewritten("VideoResult (5, {)"), "VideoResult (5, {})");
    EXPECT_EQ(rewritten("VideoResult (5, { \n)"), "VideoResult (5, {})");
    EXPECT_EQ(rewritten("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" },)"),
              "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})");
    EXPECT_EQ(rewritten("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" } , )"),
              "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})");
}

TEST_F(ValueTextTest, ATrailingCommaInADataSetFailsAtTheBrace) {
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" },})", "})");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }, 5})", "5})");
}

TEST_F(ValueTextTest, ADataSetFailsInsideAnEntryAndBehindIt) {
    expectRefusedAt("VideoResult (5, 7)", "7)");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7 }})", "}})");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, \"x\" }})", "\"x\" }})");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" })", ")");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" } { 1, 2, 3, 4, 7, \"x\" }})",
                    "{ 1, 2, 3, 4, 7, \"x\" }})");
    expectRefusedAt("VideoResult (5, {{ 1, 2, 3a, 4, 7, \"x\" }})", ", 4, 7, \"x\" }})");
}

TEST_F(ValueTextTest, ADataSetCutShortIsRefused) {
    expectRefused("VideoResult (5, {", 0xFFFFFFFFu);
    expectRefused("VideoResult (5, {{", 0xFFFFFFFFu);
    expectRefused("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\"", 0xFFFFFFFFu);
    expectRefused("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }", 0xFFFFFFFFu);
    expectTaken("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }}", TMX_MEASURE_LENGTH,
                "VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})", 41);
}

// ---- Optional parameters
// -----------------------------------------------------------------------------

TEST_F(ValueTextTest, AbsentParametersLeaveNoTraceInEitherForm) {
    const Handle handle = taken("ACSAccessGranted (\"n\", ACSNo: 5, CardNo: \"1234\")");
    EXPECT_EQ(machine(handle), "ACSAccessGranted (\"n\", ACSNo: 5, CardNo: \"1234\")");
    EXPECT_EQ(display(handle), "ACSAccessGranted; ACSName: \"n\"; ACSNo: 5; CardNo: \"1234\"");
}

TEST_F(ValueTextTest, AnOptionalObjectRefHasItsName) {
    const std::string text =
        "SMTPMailSend (\"s\", \"t\", \"c\", \"b\", Channel: { 1234, 5, \"Gate\" })";
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(display(taken(text)),
              "SMTPMailSend; Subject: \"s\"; To: \"t\"; Cc: \"c\"; Body: \"b\"; "
              "Channel: Gate (5)");
}

TEST_F(ValueTextTest, APresentEmptyTextIsPrinted) {
    EXPECT_EQ(rewritten("POSStatus (\"n\", \"1601/01/01 GMT+0:0\", 1, Details: \"\")"),
              "POSStatus (\"n\", \"1601/01/01 00:00:00,000 GMT+00:00\", 1, Details: \"\")");
}

TEST_F(ValueTextTest, OptionalBoolsAndDoublesHaveTheirNames) {
    const std::string text =
        "SafebagData (1, \"1601/01/01 00:00:00,000 GMT+00:00\", \"n\", \"i\", 0, Total: 1.5, "
        "HasDifference: 1)";
    EXPECT_EQ(rewritten(text), text);
    const std::string shown = display(taken(text));
    const std::string end =
        "; SafebagNo: \"n\"; SafebagInfo: \"i\"; Open; Total: 1.5; "
        "HasDifference: True";
    ASSERT_GE(shown.size(), end.size());
    EXPECT_EQ(shown.substr(shown.size() - end.size()), end);
}

}  // namespace
}  // namespace edge
