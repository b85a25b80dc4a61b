// Message objects: references, clones, the small attributes, the catalogue's facts and equality.
#include "support/edge_support.h"
#include "support/reference_equal.h"

namespace edge {
namespace {

class MessageTest : public EdgeTest {
  protected:
    static Handle cameraOn(int64_t id, int32_t number, std::u16string_view name) {
        const WText text = W(name);
        const TmxObjectRef camera = ref(id, number, text.c_str());
        return Handle(TmxAct_CreateCameraOn(&camera));
    }
    static Handle stopEvent(int64_t id, int32_t number, std::u16string_view name) {
        const WText text = W(name);
        const TmxObjectRef type = ref(id, number, text.c_str());
        return Handle(TmxAct_CreateStopEvent(&type));
    }
    static Handle startAutoBackup(const TmxGuid& guid, std::u16string_view name,
                                  uint64_t reserved = 0) {
        const WText text = W(name);
        const TmxGuidRef schedule{guid, text.c_str(), reserved};
        return Handle(TmxAct_CreateStartAutoBackup(&schedule));
    }
    static Handle abcConnect(std::u16string_view address) {
        return Handle(TmxAct_CreateABCConnect(W(address).c_str()));
    }
    static Handle deviceFound(const char* type) {
        return Handle(TmxAct_CreateDeviceFound(type, "", ""));
    }
    static Handle moveToBySpeed(double alpha) {
        const TmxObjectRef camera = ref(0, 1);
        const double beta = 0;
        return Handle(TmxAct_CreateMoveToBySpeed(&camera, &alpha, &beta));
    }
    static bool equal(const Handle& a, const Handle& b) {
        bool result = false;
        EXPECT_TRUE(TmxAct_Equal(a.get(), b.get(), &result));
        bool again = !result;
        EXPECT_TRUE(TmxAct_Equal(a.get(), b.get(), &again));
        EXPECT_EQ(result, again);
        return result;
    }
};

TEST_F(MessageTest, CameraOnGoesFromEndToEnd) {
    const Handle first = cameraOn(0, 5, u"Gate");
    uint32_t code = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(first.get(), &code));
    EXPECT_EQ(code, 122u);
    const std::string text = machine(first);
    EXPECT_EQ(text, "CameraOn ({ 0, 5, \"Gate\" })");
    EXPECT_FALSE(binary(first).empty());
    const Handle second = taken(text);
    EXPECT_TRUE(equal(first, second));
    TmxObjectRef camera;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(second.get(), &camera));
    EXPECT_EQ(camera.id, 0);
    EXPECT_EQ(camera.number, 5);
    EXPECT_EQ(WText(camera.name), W(u"Gate"));
    EXPECT_EQ(openSinceStart(), 2u);
}

TEST_F(MessageTest, OpenHandlesCountObjectsAndNotHandles) {
    const TmxHandle first = TmxAct_CreateABCDisconnect();
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_TRUE(TmxAct_DuplicateHandle(first));
    EXPECT_EQ(openSinceStart(), 1u);
    TmxHandle second = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(first, &second));
    EXPECT_EQ(openSinceStart(), 2u);
    EXPECT_TRUE(TmxAct_CloseHandle(first));
    EXPECT_EQ(openSinceStart(), 2u);
    EXPECT_TRUE(TmxAct_CloseHandle(first));
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_TRUE(TmxAct_CloseHandle(second));
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(MessageTest, AFailedReadLeavesNoObjectBehind) {
    expectRefused("ViewerConnect (1, 5)", 1);
    EXPECT_FALSE(readA("CancelExport (\"x\", 1)").handle);
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(MessageTest, ADuplicatedHandleIsClosedTwice) {
    const TmxHandle handle = TmxAct_CreateABCDisconnect();
    uint32_t count = 0;
    EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(TmxAct_DuplicateHandle(handle));
    EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
    EXPECT_EQ(count, 2u);
    EXPECT_TRUE(TmxAct_CloseHandle(handle));
    EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_TRUE(TmxAct_CloseHandle(handle));
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(MessageTest, EveryWayOfMakingGivesOneReference) {
    const Handle typed(TmxAct_CreateABCDisconnect());
    const Handle text = taken("ABCDisconnect ()");
    const BinRead bytes = fromBytes(header(1, 22));
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(typed.get(), &raw));
    const Handle clone(raw);
    for (const Handle* handle : {&typed, &text, &bytes.handle, &clone}) {
        uint32_t count = 0;
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle->get(), &count));
        EXPECT_EQ(count, 1u);
    }
}

TEST_F(MessageTest, ACloneHasTheParametersAlone) {
    const Handle original = cameraOn(17, 5, u"a name that is longer than short strings are");
    EXPECT_TRUE(TmxAct_DuplicateHandle(original.get()));
    EXPECT_TRUE(TmxAct_SetMessageFlags(original.get(), 5));
    EXPECT_TRUE(TmxAct_SetInternalData(original.get(), 7));
    setProperty(original.get(), u"a", u"b");
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(original.get(), &raw));
    const Handle clone(raw);
    ASSERT_TRUE(clone);
    EXPECT_NE(clone.get(), original.get());

    uint32_t number = 99;
    EXPECT_TRUE(TmxAct_GetMessageFlags(clone.get(), &number));
    EXPECT_EQ(number, 0u);
    EXPECT_TRUE(TmxAct_GetReferenceCounter(clone.get(), &number));
    EXPECT_EQ(number, 1u);
    uint64_t data = 99;
    EXPECT_TRUE(TmxAct_GetInternalData(clone.get(), &data));
    EXPECT_EQ(data, 0u);
    EXPECT_EQ(properties(clone.get()), W(u"<properties />"));
    EXPECT_TRUE(equal(original, clone));
    EXPECT_TRUE(equal(clone, original));

    EXPECT_TRUE(TmxAct_GetMessageFlags(original.get(), &number));
    EXPECT_EQ(number, 5u);
    EXPECT_EQ(property(original.get(), u"a"), W(u"b"));
    EXPECT_TRUE(TmxAct_CloseHandle(original.get()));
}

TEST_F(MessageTest, ACloneOwnsItsTexts) {
    Handle original = cameraOn(17, 5, u"a name that is longer than short strings are");
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(original.get(), &raw));
    const Handle clone(raw);
    TmxObjectRef first;
    TmxObjectRef second;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(original.get(), &first));
    EXPECT_TRUE(TmxAct_DecodeCameraOn(clone.get(), &second));
    EXPECT_NE(first.name, second.name);
    original.close();
    EXPECT_EQ(WText(second.name), W(u"a name that is longer than short strings are"));
    EXPECT_EQ(second.id, 17);
    EXPECT_EQ(second.number, 5);
}

TEST_F(MessageTest, ACloneOfShortTextsOwnsThemToo) {
    Handle original = cameraOn(0, 0, u"ab");
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(original.get(), &raw));
    const Handle clone(raw);
    original.close();
    EXPECT_EQ(machine(clone), "CameraOn ({ 0, 0, \"ab\" })");
}

TEST_F(MessageTest, ACloneCopiesTheReservedWordOfAGuidRef) {
    const Handle original = startAutoBackup(countingGuid(), u"x", 0x1122334455667788u);
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(original.get(), &raw));
    const Handle clone(raw);
    TmxGuidRef schedule;
    EXPECT_TRUE(TmxAct_DecodeStartAutoBackup(clone.get(), &schedule));
    EXPECT_EQ(schedule.reserved, 0x1122334455667788u);
}

TEST_F(MessageTest, FlagsAndInternalDataStartAtZeroAndKeepAllBits) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    uint32_t flags = 9;
    uint64_t data = 9;
    EXPECT_TRUE(TmxAct_GetMessageFlags(handle.get(), &flags));
    EXPECT_TRUE(TmxAct_GetInternalData(handle.get(), &data));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(data, 0u);
    EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), 0xFFFFFFFFu));
    EXPECT_TRUE(TmxAct_SetInternalData(handle.get(), 0xFEDCBA9876543210u));
    EXPECT_TRUE(TmxAct_GetMessageFlags(handle.get(), &flags));
    EXPECT_TRUE(TmxAct_GetInternalData(handle.get(), &data));
    EXPECT_EQ(flags, 0xFFFFFFFFu);
    EXPECT_EQ(data, 0xFEDCBA9876543210u);
}

TEST_F(MessageTest, TheCataloguesFactsComeThroughTheObject) {
    const Handle handle = cameraOn(0, 5, u"");
    uint32_t number = 99;
    EXPECT_TRUE(TmxAct_GetMessageClass(handle.get(), &number));
    EXPECT_EQ(number, 1u);
    EXPECT_TRUE(TmxAct_GetActionClass(handle.get(), &number));
    EXPECT_EQ(number, 3u);
    EXPECT_TRUE(TmxAct_GetInternalIndex(handle.get(), &number));
    EXPECT_EQ(number, TmxAct_GetInternalIndexByCode(122));
    const char* narrow = nullptr;
    const TmxWChar* wide = nullptr;
    EXPECT_TRUE(TmxAct_GetActionNameA(handle.get(), &narrow));
    EXPECT_TRUE(TmxAct_GetActionNameW(handle.get(), &wide));
    EXPECT_STREQ(narrow, "CameraOn");
    EXPECT_EQ(WText(wide), W(u"CameraOn"));
    EXPECT_TRUE(TmxAct_GetActionPlainNameA(handle.get(), &narrow));
    EXPECT_TRUE(TmxAct_GetActionPlainNameW(handle.get(), &wide));
    EXPECT_STREQ(narrow, "CameraOn");
    EXPECT_EQ(WText(wide), W(u"CameraOn"));
}

TEST_F(MessageTest, NamesBelongToTheCatalogueAndOutliveTheObject) {
    Handle handle(TmxAct_CreateABCDisconnect());
    const char* narrow = nullptr;
    const TmxWChar* wide = nullptr;
    EXPECT_TRUE(TmxAct_GetActionNameA(handle.get(), &narrow));
    EXPECT_TRUE(TmxAct_GetActionNameW(handle.get(), &wide));
    handle.close();
    EXPECT_STREQ(narrow, "ABCDisconnect");
    EXPECT_EQ(WText(wide), W(u"ABCDisconnect"));
    TmxActionInfo info;
    ASSERT_TRUE(TmxAct_GetActionInfo(&info, 22));
    EXPECT_EQ(narrow, info.name);
    EXPECT_EQ(wide, info.nameW);
}

TEST_F(MessageTest, TheIndexOfABCConnectIsZero) {
    const Handle handle = abcConnect(u"x");
    uint32_t index = 99;
    EXPECT_TRUE(TmxAct_GetInternalIndex(handle.get(), &index));
    EXPECT_EQ(index, 0u);
}

TEST_F(MessageTest, AnActionEqualsItself) {
    const Handle handle = cameraOn(1, 2, u"x");
    EXPECT_TRUE(equal(handle, handle));
}

TEST_F(MessageTest, ActionsOfDifferentCodesDiffer) {
    const TmxObjectRef camera = ref(0, 5);
    const Handle on(TmxAct_CreateCameraOn(&camera));
    const Handle off(TmxAct_CreateCameraOff(&camera));
    EXPECT_FALSE(equal(on, off));
    EXPECT_FALSE(equal(off, on));
}

TEST_F(MessageTest, FlagsDataAndPropertiesTakeNoPartInEquality) {
    const Handle a = cameraOn(0, 5, u"");
    const Handle b = cameraOn(0, 5, u"");
    EXPECT_TRUE(TmxAct_SetMessageFlags(a.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(a.get(), 3));
    setProperty(a.get(), u"a", u"b");
    EXPECT_TRUE(equal(a, b));
    EXPECT_TRUE(equal(b, a));
}

TEST_F(MessageTest, ObjectRefsWithAnIdCompareTheIdAlone) {
    EXPECT_TRUE(equal(cameraOn(9, 1, u"a"), cameraOn(9, 2, u"b")));
    EXPECT_FALSE(equal(cameraOn(9, 1, u"a"), cameraOn(8, 1, u"a")));
    EXPECT_FALSE(equal(cameraOn(9, 1, u"a"), cameraOn(0, 1, u"a")));
}

TEST_F(MessageTest, ObjectRefsWithANumberCompareTheNumberAlone) {
    EXPECT_TRUE(equal(cameraOn(0, 5, u"a"), cameraOn(0, 5, u"b")));
    EXPECT_TRUE(equal(cameraOn(0, 5, u"a"), cameraOn(77, 5, u"b")));
    EXPECT_FALSE(equal(cameraOn(0, 5, u"Cam"), cameraOn(0, 0, u"Cam")));
}

TEST_F(MessageTest, ObjectRefsWithANameAloneCompareNamesWithoutCase) {
    EXPECT_TRUE(equal(cameraOn(0, 0, u"Cam"), cameraOn(0, 0, u"CAM")));
    EXPECT_FALSE(equal(cameraOn(0, 0, u"Cam"), cameraOn(0, 0, u"Cam ")));
    EXPECT_TRUE(equal(cameraOn(0, 0, u""), cameraOn(0, 0, u"")));
}

TEST_F(MessageTest, TheLeftReferenceChoosesTheComparison) {
    const Handle numbered = cameraOn(0, 5, u"Cam");
    const Handle named = cameraOn(0, 0, u"CAM");
    EXPECT_FALSE(equal(numbered, named));
    EXPECT_TRUE(equal(named, numbered));
    EXPECT_TRUE(equal(cameraOn(0, 5, u""), cameraOn(3, 5, u"x")));
    EXPECT_FALSE(equal(cameraOn(3, 5, u"x"), cameraOn(0, 5, u"")));
    EXPECT_FALSE(equal(cameraOn(0, 5, u""), cameraOn(0, 0, u"Cam")));
}

TEST_F(MessageTest, NamedIdsCompareTheIdElseTheNameAndNeverTheNumber) {
    EXPECT_TRUE(equal(stopEvent(9, 1, u"a"), stopEvent(9, 2, u"b")));
    EXPECT_FALSE(equal(stopEvent(9, 1, u"a"), stopEvent(8, 1, u"a")));
    EXPECT_TRUE(equal(stopEvent(0, 1, u"Main"), stopEvent(0, 2, u"MAIN")));
    EXPECT_FALSE(equal(stopEvent(0, 1, u"a"), stopEvent(0, 1, u"b")));
    EXPECT_TRUE(equal(stopEvent(0, 0, u"a"), stopEvent(7, 0, u"A")));
    EXPECT_FALSE(equal(stopEvent(7, 0, u"a"), stopEvent(0, 0, u"a")));
}

TEST_F(MessageTest, GuidRefsCompareTheGuidElseTheName) {
    const TmxGuid nil{};
    EXPECT_TRUE(
        equal(startAutoBackup(countingGuid(), u"a"), startAutoBackup(countingGuid(), u"b")));
    EXPECT_FALSE(
        equal(startAutoBackup(countingGuid(), u"a"), startAutoBackup(restOfTimeGuid(), u"a")));
    EXPECT_FALSE(equal(startAutoBackup(countingGuid(), u"a"), startAutoBackup(nil, u"a")));
    EXPECT_TRUE(equal(startAutoBackup(nil, u"a"), startAutoBackup(countingGuid(), u"A")));
    EXPECT_TRUE(equal(startAutoBackup(nil, u"Night"), startAutoBackup(nil, u"nIGHT")));
    EXPECT_TRUE(equal(startAutoBackup(nil, u"a", 1), startAutoBackup(nil, u"a", 2)));
}

TEST_F(MessageTest, WideTextsCompareBySimpleCaseFolding) {
    EXPECT_TRUE(equal(abcConnect(u"\u00C4\u00D6\u00DC"), abcConnect(u"\u00E4\u00F6\u00FC")));
    EXPECT_TRUE(equal(abcConnect(u"\u0416"), abcConnect(u"\u0436")));
    EXPECT_TRUE(equal(abcConnect(u"\u03A3"), abcConnect(u"\u03C2")));
    // Not every system knows the case of these.
    EXPECT_EQ(equal(abcConnect(u"\U00010400"), abcConnect(u"\U00010428")),
              tmxtest::EqualWide(W(u"\U00010400"), W(u"\U00010428")));
    EXPECT_FALSE(equal(abcConnect(u"a"), abcConnect(u"\u00E4")));
}

TEST_F(MessageTest, WideTextsOfDifferentLengthDiffer) {
    EXPECT_FALSE(equal(abcConnect(u"stra\u00DFe"), abcConnect(u"strasse")));
    EXPECT_FALSE(equal(abcConnect(u"\u00E4"), abcConnect(u"a\u0308")));
    EXPECT_FALSE(equal(abcConnect(u""), abcConnect(u" ")));
}

TEST_F(MessageTest, NarrowTextsCompareByTheAsciiFold) {
    EXPECT_TRUE(equal(deviceFound("Abc"), deviceFound("aBC")));
    EXPECT_FALSE(equal(deviceFound("\xC4"), deviceFound("\xE4")));
    EXPECT_FALSE(equal(deviceFound("abc"), deviceFound("abcd")));
    EXPECT_FALSE(equal(deviceFound("["), deviceFound("{")));
    EXPECT_FALSE(equal(deviceFound("@"), deviceFound("`")));
}

TEST_F(MessageTest, DateTimesCompareByTheInstantAlone) {
    const int64_t utc = millisecondsOf(2026, 11, 15, 11);
    const TmxDateTime first = instant(utc, -60);
    const TmxDateTime second = instant(utc, 300);
    const TmxDateTime third = instant(utc + 1, -60);
    const Handle a(TmxAct_CreateSetClock(&first));
    const Handle b(TmxAct_CreateSetClock(&second));
    const Handle c(TmxAct_CreateSetClock(&third));
    EXPECT_TRUE(equal(a, b));
    EXPECT_TRUE(equal(b, a));
    EXPECT_FALSE(equal(a, c));
}

TEST_F(MessageTest, DoublesCompareByValue) {
    EXPECT_TRUE(equal(moveToBySpeed(0.0), moveToBySpeed(-0.0)));
    EXPECT_FALSE(equal(moveToBySpeed(0.1), moveToBySpeed(0.1 + 1e-16)));
    EXPECT_TRUE(equal(moveToBySpeed(1e300), moveToBySpeed(1e300)));
}

TEST_F(MessageTest, RectanglesCompareWordByWord) {
    const TmxObjectRef channel = ref(0, 5);
    const TmxRect rect{{1, 2, 3, 4}};
    const auto make = [&](const TmxRect* area) {
        return Handle(
            TmxAct_CreateSentaraZMXAlarm(&channel, nullptr, nullptr, nullptr, nullptr, area));
    };
    const Handle a = make(&rect);
    EXPECT_TRUE(equal(a, make(&rect)));
    for (int word = 0; word < 4; ++word) {
        TmxRect other = rect;
        other.words[word] = 9;
        EXPECT_FALSE(equal(a, make(&other))) << word;
    }
}

TEST_F(MessageTest, ScalarsAndGuidsCompareByValue) {
    EXPECT_FALSE(equal(taken("SetWatchdog (1)"), taken("SetWatchdog (2)")));
    EXPECT_FALSE(equal(taken("StopEventByID (1)"), taken("StopEventByID (4294967297)")));
    EXPECT_FALSE(equal(taken("KeyPressed (0)"), taken("KeyPressed (256)")));
    EXPECT_FALSE(equal(taken("SetTestPictureMode (1, 0)"), taken("SetTestPictureMode (1, 1)")));
    EXPECT_TRUE(equal(taken("SetTestPictureMode (1, 2)"), taken("SetTestPictureMode (1, 1)")));
    EXPECT_FALSE(equal(taken("CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 1)"),
                       taken("CancelExport (\"00112233-4455-6677-8899-aabbccddeefe\", 1)")));
}

TEST_F(MessageTest, OptionalParametersCompareTheirPresenceFirst) {
    EXPECT_FALSE(equal(taken("IPSwitchOperation (0, \"p\")"),
                       taken("IPSwitchOperation (0, \"p\", Param: 0)")));
    EXPECT_FALSE(equal(taken("IPSwitchOperation (0, \"p\", Param: 0)"),
                       taken("IPSwitchOperation (0, \"p\")")));
    EXPECT_FALSE(equal(taken("IPSwitchOperation (0, \"p\", Param: 1)"),
                       taken("IPSwitchOperation (0, \"p\", Param: 0)")));
    EXPECT_TRUE(equal(taken("IPSwitchOperation (0, \"p\", Param: 1)"),
                      taken("IPSwitchOperation (0, \"P\", Param: 1)")));
    EXPECT_FALSE(
        equal(taken("LPSQueryPosition (1, ScannerID: \"\")"), taken("LPSQueryPosition (1)")));
}

TEST_F(MessageTest, AbsentDatesAreEqualWhateverTheTimeOfTheirMaking) {
    // An absent date-time holds the time of its making, which nobody sees.
    const Handle a = taken("LogNPRRecognition (\"x\")");
    const Handle b = taken("LogNPRRecognition (\"x\")");
    const int64_t start = std::chrono::steady_clock::now().time_since_epoch().count();
    while (std::chrono::steady_clock::duration(
               std::chrono::steady_clock::now().time_since_epoch().count() - start) <
           std::chrono::milliseconds(5)) {
    }
    const Handle c = taken("LogNPRRecognition (\"X\")");
    EXPECT_TRUE(equal(a, b));
    EXPECT_TRUE(equal(a, c));
}

TEST_F(MessageTest, DataSetsCompareCountEntriesAndNamesWithCase) {
    const std::string start = "VideoResult (5, {";
    const Handle a = taken(start + "{ 1, 2, 3, 4, 7, \"x\" }})");
    EXPECT_TRUE(equal(a, taken(start + "{ 1, 2, 3, 4, 7, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 2, 3, 4, 7, \"X\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 2, 3, 4, 8, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 0, 2, 3, 4, 7, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 0, 3, 4, 7, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 2, 0, 4, 7, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 2, 3, 0, 7, \"x\" }})")));
    EXPECT_FALSE(equal(a, taken(start + "{ 1, 2, 3, 4, 7, \"x\" }, { 1, 2, 3, 4, 7, \"x\" }})")));
}

TEST_F(MessageTest, TheFirstInequalityOfSeveralParametersDecides) {
    EXPECT_TRUE(equal(taken("ViewerConnect (1, 5, 2)"), taken("ViewerConnect (1, 5, 2)")));
    EXPECT_FALSE(equal(taken("ViewerConnect (1, 5, 2)"), taken("ViewerConnect (2, 5, 2)")));
    EXPECT_FALSE(equal(taken("ViewerConnect (1, 5, 2)"), taken("ViewerConnect (1, 6, 2)")));
    EXPECT_FALSE(equal(taken("ViewerConnect (1, 5, 2)"), taken("ViewerConnect (1, 5, 3)")));
}

}  // namespace
}  // namespace edge
