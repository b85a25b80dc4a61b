// The bytes of every value type, and what a reader makes of bytes that are short, long or odd.
#include <limits>

#include "support/edge_support.h"

namespace edge {
namespace {

constexpr uint32_t kFailedAtNothing = 0xFFFFFFFFu;

class BinaryValuesTest : public EdgeTest {
  protected:
    static Bytes action(uint32_t code) { return header(1, code); }

    // The bytes of a text's object without header and property block.
    static Bytes body(const std::string& text) {
        const Bytes bytes = binary(taken(text));
        if (bytes.size() < 16 || Bytes(bytes.end() - 8, bytes.end()) != emptyBlock()) {
            ADD_FAILURE() << text;
            return {};
        }
        return Bytes(bytes.begin() + 8, bytes.end() - 8);
    }

    // A VideoResult without optional parameters, channel 5, and the set's text as it is stored.
    static Bytes videoResult(std::u16string_view set) {
        return action(623) + Bytes(18, 0) + le64(0) + le32(5) + wideField(u"") + wideField(set) +
               emptyBlock();
    }
    static void expectSet(std::u16string_view stored, const std::string& items) {
        const Bytes bytes = videoResult(stored);
        expectBuilt(bytes, "VideoResult (5, {" + items + "})", bytes.size());
    }
    static Handle withSet(const std::vector<TmxDataSetEntry>& entries) {
        const TmxObjectRef channel = ref(0, 5);
        const TmxDataSet set{entries.data(), entries.size()};
        return Handle(TmxAct_CreateVideoResult(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                               &channel, &set));
    }
};

// ---- Encodings
// --------------------------------------------------------------------------------------

TEST_F(BinaryValuesTest, IntegersAreLittleEndian) {
    EXPECT_EQ(body("SetWatchdog (305419896)"), hex("78 56 34 12"));
    EXPECT_EQ(body("SetWatchdog (-2)"), hex("FE FF FF FF"));
    EXPECT_EQ(body("StopEventByID (1311768467463790320)"), hex("F0 DE BC 9A 78 56 34 12"));
    EXPECT_EQ(body("StopEventByID (-1)"), hex("FF FF FF FF FF FF FF FF"));
}

TEST_F(BinaryValuesTest, EnumerationsAreSignedNumbersOfFourBytes) {
    EXPECT_EQ(body("KeyPressed (256)"), hex("00 01 00 00"));
    EXPECT_EQ(body("KeyPressed (-1)"), hex("FF FF FF FF"));
    expectBuilt(action(35) + hex("78 56 34 12"), "KeyPressed (305419896)", 12);
}

TEST_F(BinaryValuesTest, TheSmallestValuesArePlainInBytes) {
    expectBuilt(action(53) + hex("00 00 00 80"), "SetWatchdog (-()", 12);
    expectBuilt(action(56) + hex("00 00 00 00 00 00 00 80"), "StopEventByID (-()", 16);
}

TEST_F(BinaryValuesTest, ADateTimeIsItsWord) {
    const TmxDateTime date{0xFFC4123456789ABCu};
    const Handle handle(TmxAct_CreateSetClock(&date));
    EXPECT_EQ(binary(handle), action(25) + hex("BC 9A 78 56 34 12 C4 FF") + emptyBlock());
    const BinRead back = fromBytes(binary(handle));
    TmxDateTime out{};
    EXPECT_TRUE(TmxAct_DecodeSetClock(back.handle.get(), &out));
    EXPECT_EQ(out.value, date.value);
}

TEST_F(BinaryValuesTest, BoolsAreOneByte) {
    EXPECT_EQ(body("SetTestPictureMode (5, 1)"), le64(0) + le32(5) + wideField(u"") + hex("01"));
    EXPECT_EQ(body("SetTestPictureMode (5, 0)"), le64(0) + le32(5) + wideField(u"") + hex("00"));
}

TEST_F(BinaryValuesTest, AnyNonZeroByteIsTrueAndIsWrittenAsOne) {
    const Bytes start = action(72) + le64(0) + le32(5) + wideField(u"");
    for (const char* byte : {"01", "02", "80", "FF"}) {
        const BinRead back = fromBytes(start + hex(byte) + emptyBlock());
        ASSERT_TRUE(back.handle);
        TmxObjectRef channel;
        bool mode = false;
        EXPECT_TRUE(TmxAct_DecodeSetTestPictureMode(back.handle.get(), &channel, &mode));
        EXPECT_TRUE(mode);
        EXPECT_EQ(binary(back.handle), start + hex("01") + emptyBlock());
    }
}

TEST_F(BinaryValuesTest, WideTextsHaveACountAndATerminator) {
    EXPECT_EQ(body("ABCConnect (\"\")"), hex("01 00 00 00 00 00"));
    EXPECT_EQ(body("ABCConnect (\"Cam\")"), hex("04 00 00 00 43 00 61 00 6D 00 00 00"));
    const Handle emoji(TmxAct_CreateABCConnect(W(u"\U0001F600").c_str()));
    EXPECT_EQ(binary(emoji), action(21) + hex("03 00 00 00 3D D8 00 DE 00 00") + emptyBlock());
}

TEST_F(BinaryValuesTest, NarrowTextsHaveACountAndATerminator) {
    EXPECT_EQ(body("DeviceFound (\"\", \"ab\", \"\")"),
              hex("01 00 00 00 00  03 00 00 00 61 62 00  01 00 00 00 00"));
    const Handle bytes(TmxAct_CreateDeviceFound("\xE4\xFF", "", ""));
    EXPECT_EQ(binary(bytes),
              action(10) + ansiField("\xE4\xFF") + ansiField("") + ansiField("") + emptyBlock());
}

TEST_F(BinaryValuesTest, AGuidIsInMemoryOrder) {
    EXPECT_EQ(body("CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 1)"),
              hex("33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF 01 00 00 00"));
}

TEST_F(BinaryValuesTest, AnObjectRefIsIdNumberAndName) {
    EXPECT_EQ(body("CameraOn ({ 1, -2, \"V\" })"),
              hex("01 00 00 00 00 00 00 00  FE FF FF FF  02 00 00 00 56 00 00 00"));
}

TEST_F(BinaryValuesTest, ANamedIdIsIdAndNameWithoutItsNumber) {
    const WText name = W(u"V");
    const TmxObjectRef type = ref(1, 77, name.c_str());
    const Handle handle(TmxAct_CreateStopEvent(&type));
    EXPECT_EQ(binary(handle), action(55) + le64(1) + wideField(u"V") + emptyBlock());
    const BinRead back = fromBytes(binary(handle));
    TmxObjectRef out = ref(9, 9);
    EXPECT_TRUE(TmxAct_DecodeStopEvent(back.handle.get(), &out));
    EXPECT_EQ(out.id, 1);
    EXPECT_EQ(out.number, 0);
    EXPECT_EQ(WText(out.name), name);
}

TEST_F(BinaryValuesTest, AGuidRefIsGuidAndNameWithoutItsReservedWord) {
    const WText name = W(u"V");
    const TmxGuidRef schedule{countingGuid(), name.c_str(), 77};
    const Handle handle(TmxAct_CreateStartAutoBackup(&schedule));
    EXPECT_EQ(binary(handle), action(280) + hex("33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF") +
                                  wideField(u"V") + emptyBlock());
    const BinRead back = fromBytes(binary(handle));
    TmxGuidRef out{};
    EXPECT_TRUE(TmxAct_DecodeStartAutoBackup(back.handle.get(), &out));
    EXPECT_TRUE(sameGuid(out.guid, countingGuid()));
    EXPECT_EQ(out.reserved, 0u);
    EXPECT_EQ(WText(out.name), name);
}

TEST_F(BinaryValuesTest, DoublesAreTheirBits) {
    const TmxObjectRef camera = ref(0, 5);
    const double one = 1.5;
    uint64_t bits = 0x7FF4000000000001u;
    double odd = 0;
    std::memcpy(&odd, &bits, sizeof odd);
    const Handle handle(TmxAct_CreateMoveToBySpeed(&camera, &one, &odd));
    EXPECT_EQ(binary(handle), action(162) + le64(0) + le32(5) + wideField(u"") +
                                  hex("00 00 00 00 00 00 F8 3F 01 00 00 00 00 00 F4 7F") +
                                  emptyBlock());
    EXPECT_EQ(binary(fromBytes(binary(handle)).handle), binary(handle));
}

TEST_F(BinaryValuesTest, ARectangleIsFourWords) {
    const std::string text = "SentaraZMXAlarm (5, AlarmArea: { 1, -2, 32767, 256 })";
    EXPECT_EQ(body(text), le64(0) + le32(5) + wideField(u"") + hex("00 00 00 00 01") +
                              hex("01 00 FE FF FF 7F 00 01"));
    EXPECT_EQ(machine(fromBytes(binary(taken(text))).handle), text);
}

TEST_F(BinaryValuesTest, AnOptionalFieldHasItsFlagInFront) {
    EXPECT_EQ(body("IPSwitchOperation (3, \"\", Param: 5)"),
              le32(3) + wideField(u"") + hex("01 05 00 00 00"));
    EXPECT_EQ(body("IPSwitchOperation (3, \"\")"), le32(3) + wideField(u"") + hex("00"));
    EXPECT_EQ(body("LPSQueryPosition (7, ScannerID: \"a\")"),
              le32(7) + hex("01") + wideField(u"a") + hex("00"));
    EXPECT_EQ(body("SystemInfo (1, 2, XMLInfo: \"a\")"),
              le32(1) + le32(2) + hex("00 01") + ansiField("a"));
}

// ---- Writing into short buffers
// ----------------------------------------------------------------------

TEST_F(BinaryValuesTest, ATextThatDoesNotFitIsSkippedWholeAndNothingFollowsIt) {
    const Handle handle = taken("BRD43Temperature (\"abcdef\", 5)");
    Bytes buffer(20, 0xCC);
    uint32_t needed = 0;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 16, &needed));
    EXPECT_EQ(needed, 8u + 4 + 14 + 4 + 8);
    EXPECT_EQ(buffer, action(424) + Bytes(12, 0xCC));
}

TEST_F(BinaryValuesTest, AFieldThatDoesNotFitIsSkippedWhole) {
    const Handle handle = taken("StopEventByID (-1)");
    Bytes buffer(16, 0xCC);
    uint32_t needed = 0;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 15, &needed));
    EXPECT_EQ(needed, 24u);
    EXPECT_EQ(buffer, action(56) + Bytes(8, 0xCC));
}

TEST_F(BinaryValuesTest, EveryBufferSizeLeavesACleanPrefixAndTheSameNeed) {
    const Handle handle = taken("BRD43Temperature (\"ab\", 5)");
    const Bytes whole = binary(handle);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Bytes buffer(whole.size(), 0xCC);
        uint32_t needed = 0;
        EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(),
                                             static_cast<uint32_t>(size), &needed));
        EXPECT_EQ(needed, whole.size());
        std::size_t prefix = 0;
        while (prefix < size && buffer[prefix] == whole[prefix]) ++prefix;
        for (std::size_t i = prefix; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], 0xCC) << size;
    }
}

// ---- Reading texts
// -----------------------------------------------------------------------------------

TEST_F(BinaryValuesTest, ACountOfZeroIsAnEmptyTextOfFourBytes) {
    expectBuilt(action(21) + hex("00 00 00 00") + emptyBlock(), "ABCConnect (\"\")", 20);
    expectBuilt(action(10) + hex("00 00 00 00 02 00 00 00 61 00 00 00 00 00") + emptyBlock(),
                "DeviceFound (\"\", \"a\", \"\")", 30);
}

TEST_F(BinaryValuesTest, TheLastCharacterIsSkippedUnread) {
    expectBuilt(action(21) + hex("03 00 00 00 61 00 62 00 63 00"), "ABCConnect (\"ab\")", 18);
    expectBuilt(action(21) + hex("01 00 00 00 63 00"), "ABCConnect (\"\")", 14);
    expectBuilt(action(10) + hex("03 00 00 00 61 62 63 01 00 00 00 00 01 00 00 00 00"),
                "DeviceFound (\"ab\", \"\", \"\")", 25);
}

TEST_F(BinaryValuesTest, EmbeddedZerosStayInTheText) {
    const Bytes bytes =
        action(21) + hex("05 00 00 00 61 00 00 00 62 00 00 00 00 00") + emptyBlock();
    const BinRead back = fromBytes(bytes);
    ASSERT_TRUE(back.handle);
    EXPECT_EQ(back.used, bytes.size());
    EXPECT_EQ(binary(back.handle), bytes);
    const TmxWChar* address = nullptr;
    EXPECT_TRUE(TmxAct_DecodeABCConnect(back.handle.get(), &address));
    EXPECT_EQ(WText(address, 4), WText(W(u"a")) + TmxWChar{0} + W(u"b") + TmxWChar{0});
}

TEST_F(BinaryValuesTest, ATextLongerThanTheRestFailsWithTheRest) {
    expectNothing(action(21) + hex("05 00 00 00 61 00 62 00 63 00 00 00"), 8);
    expectNothing(action(21) + hex("02 00 00 00 61 00 62"), 3);
    expectNothing(action(10) + hex("05 00 00 00 61 62 63 00"), 4);
}

TEST_F(BinaryValuesTest, ACountWithItsTopBitSetIsAFailedRead) {
    // Twice these counts wraps to a small number in 32 bits.
    expectNothing(action(21) + hex("00 00 00 80 61 00 62 00"), 4);
    expectNothing(action(21) + hex("01 00 00 80 61 00 62 00"), 4);
    expectNothing(action(21) + hex("FF FF FF FF 61 00 62 00"), 4);
    expectNothing(action(21) + hex("00 00 00 40 61 00 62 00"), 4);
    expectNothing(action(21) + hex("FF FF FF 7F 61 00 62 00"), 4);
    expectNothing(action(10) + hex("00 00 00 80 61 62 63 64"), 4);
    expectNothing(action(10) + hex("FF FF FF FF 61 62 63 64"), 4);
}

TEST_F(BinaryValuesTest, ACountAtTheEndOfTheBufferIsTheHoleForALastText) {
    const Bytes bytes = action(21) + hex("05 00 00 00");
    expectBuilt(bytes, "ABCConnect (\"\")", bytes.size() + 1);
}

TEST_F(BinaryValuesTest, AMissingCountFailsAtTheTextsNextStep) {
    expectNothing(action(21), kFailedAtNothing);
    expectNothing(action(21) + hex("05"), 1);
    expectNothing(action(21) + hex("05 00 00"), 3);
}

// ---- Reading fields of fixed size
// ----------------------------------------------------------------------

TEST_F(BinaryValuesTest, ABufferThatEndsBeforeTheLastFixedFieldGivesItsDefault) {
    expectBuilt(action(53), "SetWatchdog (0)", 9);
    expectBuilt(action(56), "StopEventByID (0)", 9);
    expectBuilt(action(35), "KeyPressed (0)", 9);
    const Bytes channel = action(72) + le64(0) + le32(5) + wideField(u"");
    expectBuilt(channel, "SetTestPictureMode (5, 0)", channel.size() + 1);
    const Bytes guid = action(456) + hex("33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF");
    expectBuilt(guid, "CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 0)", 25);
}

TEST_F(BinaryValuesTest, AMissingLastDateIsThePresentTime) {
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
                   .count() +
               millisecondsOf(1970, 1, 1);
    };
    const int64_t before = now();
    const BinRead back = fromBytes(action(25));
    const int64_t after = now();
    ASSERT_TRUE(back.handle);
    EXPECT_EQ(back.used, 9u);
    TmxDateTime date{};
    EXPECT_TRUE(TmxAct_DecodeSetClock(back.handle.get(), &date));
    const auto utc = static_cast<int64_t>(date.value & 0xFFFFFFFFFFFFu);
    EXPECT_GE(utc, before - 1);
    EXPECT_LE(utc, after + 1);
}

TEST_F(BinaryValuesTest, AFieldCutInItsMiddleFailsWithWhatWasLeft) {
    expectNothing(action(53) + hex("01"), 1);
    expectNothing(action(53) + hex("01 02 03"), 3);
    expectNothing(action(56) + hex("01 02 03 04 05 06 07"), 7);
    expectNothing(action(456) + Bytes(15, 0), 15);
    expectNothing(action(456) + Bytes(18, 0), 2);
}

TEST_F(BinaryValuesTest, TwoMissingReadsFail) {
    expectNothing(action(122), kFailedAtNothing);
    expectNothing(action(456), kFailedAtNothing);
    expectNothing(action(122) + le64(1), kFailedAtNothing);
    expectNothing(action(122) + le64(1) + le32(2), kFailedAtNothing);
    expectNothing(action(122) + le64(1) + hex("02 00"), 2);
    expectNothing(action(122) + hex("01 02 03"), 3);
}

TEST_F(BinaryValuesTest, EveryCutOfAViewerConnectFailsButTheOneBeforeItsMode) {
    const Bytes whole = action(201) + le64(1) + le32(2) + wideField(u"V") + le64(0) + le32(7) +
                        wideField(u"") + le32(1);
    for (std::size_t size = 8; size < whole.size(); ++size) {
        const BinRead result = fromBytes(front(whole, size));
        EXPECT_EQ(static_cast<bool>(result.handle), size == whole.size() - 4) << size;
    }
    expectBuilt(front(whole, whole.size() - 4), "ViewerConnect ({ 1, 2, \"V\" }, 7, 0)",
                whole.size() - 3);
}

TEST_F(BinaryValuesTest, ARectangleIsOneRead) {
    const Bytes start = action(520) + le64(0) + le32(5) + wideField(u"") + hex("00 00 00 00 01");
    expectNothing(start + hex("01 00 02 00 03 00"), 6);
    expectNothing(start + hex("01 00"), 2);
    expectBuilt(start, "SentaraZMXAlarm (5, AlarmArea: { 0, 0, 0, 0 })", start.size() + 1);
}

// ---- Reading optional fields
// -----------------------------------------------------------------------

TEST_F(BinaryValuesTest, OptionalFieldsMissingAtTheEndAreAbsent) {
    const Bytes type = action(54) + le64(17) + wideField(u"a");
    expectBuilt(type, "StartEvent ({ 17, \"a\" })", type.size());
    const Bytes query = action(463) + le32(7);
    expectBuilt(query, "LPSQueryPosition (7)", query.size());
    const Bytes scanner = query + hex("01") + wideField(u"s");
    expectBuilt(scanner, "LPSQueryPosition (7, ScannerID: \"s\")", scanner.size());
}

TEST_F(BinaryValuesTest, AnyNonZeroFlagMeansPresent) {
    const Bytes type = action(54) + le64(17) + wideField(u"a");
    for (const char* flag : {"01", "02", "FF"}) {
        const Bytes bytes = type + hex(flag) + le64(9) + emptyBlock();
        expectBuilt(bytes, "StartEvent ({ 17, \"a\" }, ForeignKey: 9)", bytes.size());
    }
    const Bytes absent = type + hex("00") + emptyBlock();
    expectBuilt(absent, "StartEvent ({ 17, \"a\" })", absent.size());
}

TEST_F(BinaryValuesTest, AFlagWithoutItsValueIsTheHoleForTheLastField) {
    const Bytes bytes = action(54) + le64(17) + wideField(u"a") + hex("01");
    expectBuilt(bytes, "StartEvent ({ 17, \"a\" }, ForeignKey: 0)", bytes.size() + 1);
    expectNothing(bytes + hex("09 00 00"), 3);
}

TEST_F(BinaryValuesTest, AnOptionalFieldBehindAFailedReadFailsToo) {
    // The flag of Data is due at minus one, behind the hole of ScannerID.
    expectNothing(action(463) + le32(7) + hex("01"), kFailedAtNothing);
    expectNothing(action(463), kFailedAtNothing);
}

TEST_F(BinaryValuesTest, ACutAtAnOptionalFieldWithOneRequiredFieldBehindItIsTheHole) {
    const Bytes bytes =
        action(212) + le64(0) + le32(1) + wideField(u"") + le64(17) + wideField(u"");
    expectBuilt(bytes, "ViewerShowAlarmByType (1, { 17, \"\" }, 0)", bytes.size() + 1);
    const Bytes absent = bytes + hex("00");
    expectBuilt(absent, "ViewerShowAlarmByType (1, { 17, \"\" }, 0)", absent.size() + 1);
    const Bytes whole = bytes + hex("00") + le32(2);
    expectBuilt(whole, "ViewerShowAlarmByType (1, { 17, \"\" }, 2)", whole.size());
    expectNothing(bytes + hex("01"), kFailedAtNothing);
}

TEST_F(BinaryValuesTest, ACutAtAnOptionalFieldWithARequiredTextBehindItFails) {
    const Bytes bytes = action(621) + le64(1) + le64(2);
    expectNothing(bytes, kFailedAtNothing);
    expectNothing(bytes + hex("00"), kFailedAtNothing);
    const Bytes whole = bytes + hex("00") + wideField(u"n");
    expectBuilt(whole, "InfoEvent (1, 2, \"n\")", whole.size());
}

// ---- Data sets
// ---------------------------------------------------------------------------------------

TEST_F(BinaryValuesTest, ADataSetIsStoredAsItsText) {
    const Bytes bytes = binary(
        taken("VideoResult (5, {{ 1, 2, 3, 4, 7, \"left\" }, { 5, 6, 7, 8, -1, \"right\" }})"));
    EXPECT_EQ(bytes, videoResult(u"1 2 3 4 7 'left', 5 6 7 8 -1 'right'"));
    expectSet(u"1 2 3 4 7 'left', 5 6 7 8 -1 'right'",
              "{ 1, 2, 3, 4, 7, \"left\" }, { 5, 6, 7, 8, 4294967295, \"right\" }");
}

TEST_F(BinaryValuesTest, AnEmptyDataSetIsTheEmptyText) {
    EXPECT_EQ(binary(withSet({})), videoResult(u""));
    expectSet(u"", "");
}

TEST_F(BinaryValuesTest, WordsAndNumbersAreSignedDecimals) {
    const Bytes bytes = binary(
        withSet({{{-1, -32768, 32767, 0}, std::numeric_limits<int32_t>::min(), 0, nullptr}}));
    EXPECT_EQ(bytes, videoResult(u"-1 -32768 32767 0 -2147483648 ''"));
    expectBuilt(bytes, "VideoResult (5, {{ -1, -(, 32767, 0, 2147483648, \"\" }})", bytes.size());
}

TEST_F(BinaryValuesTest, AnEntryWithoutItsQuotedPartIsDropped) {
    expectSet(u"1 2 3 4 5", "");
    expectSet(u"1 2 3 4 5 ", "");
    expectSet(u"1 2 3 4 5 x", "");
    expectSet(u"1 2 3 4 5 'x", "");
    expectSet(u"1 2 3 4", "");
    expectSet(u"1 2 3 4 'x'", "");
    expectSet(u"1 2 3 4 5 'x', 6 7 8 9 1", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"hello", "");
}

TEST_F(BinaryValuesTest, AWordOutOfRangeEndsTheSet) {
    expectSet(u"40000 2 3 4 5 'x'", "");
    expectSet(u"32768 2 3 4 5 'x'", "");
    expectSet(u"-32769 2 3 4 5 'x'", "");
    expectSet(u"1 2 3 4 5 'x', 1 2 3 40000 5 'y', 1 2 3 4 5 'z'", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"-32768 32767 3 4 5 'x'", "{ -(, 32767, 3, 4, 5, \"x\" }");
    expectSet(u"1 2 3 4 2147483648 'x'", "");
    expectSet(u"1 2 3 4 -2147483648 'x'", "{ 1, 2, 3, 4, 2147483648, \"x\" }");
    expectSet(u"1 2 3 4 99999999999999999999 'x'", "");
}

TEST_F(BinaryValuesTest, NumbersAreDecimalWithASign) {
    expectSet(u"+1 -2 3 4 +5 'x'", "{ 1, -2, 3, 4, 5, \"x\" }");
    expectSet(u"0x1 2 3 4 5 'x'", "");
    expectSet(u"010 2 3 4 5 'x'", "{ 10, 2, 3, 4, 5, \"x\" }");
    expectSet(u"1,2,3,4,5 'x'", "");
    expectSet(u"1.5 2 3 4 5 'x'", "");
    expectSet(u"- 2 3 4 5 'x'", "");
}

TEST_F(BinaryValuesTest, WhiteSpaceBeforeNumbersIsSkipped) {
    expectSet(u"  1\t2\n3\r\n4   5 'x'", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"1 2 3 4 5 'x',   \n6 7 8 9 1 'y'",
              "{ 1, 2, 3, 4, 5, \"x\" }, { 6, 7, 8, 9, 1, \"y\" }");
}

TEST_F(BinaryValuesTest, AnApostropheInATextCutsItAndLosesTheRest) {
    const WText name = W(u"it's");
    const WText second = W(u"next");
    const Bytes bytes =
        binary(withSet({{{1, 2, 3, 4}, 5, 0, name.c_str()}, {{1, 2, 3, 4}, 5, 0, second.c_str()}}));
    EXPECT_EQ(bytes, videoResult(u"1 2 3 4 5 'it's', 1 2 3 4 5 'next'"));
    expectSet(u"1 2 3 4 5 'it's', 1 2 3 4 5 'next'", "{ 1, 2, 3, 4, 5, \"it\" }");
}

TEST_F(BinaryValuesTest, ATextOfApostrophesIsEmpty) {
    expectSet(u"1 2 3 4 5 ''", "{ 1, 2, 3, 4, 5, \"\" }");
    expectSet(u"1 2 3 4 5 ''', 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"\" }");
}

TEST_F(BinaryValuesTest, MoreBlanksTakeInCharactersBehindTheQuotedPart) {
    // Two blanks: the part has one character more, the comma, and the next entry is lost with it.
    expectSet(u"1 2 3 4 5  'ab', 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"ab',\" }");
    expectSet(u"1 2 3 4 5   'ab', 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"ab', \" }");
    expectSet(u"1 2 3 4 5   'ab'", "{ 1, 2, 3, 4, 5, \"ab\" }");
    // One character more that is an apostrophe is stripped with the closing one.
    expectSet(u"1 2 3 4 5  'ab'', 6 7 8 9 1 'y'",
              "{ 1, 2, 3, 4, 5, \"ab\" }, { 6, 7, 8, 9, 1, \"y\" }");
}

TEST_F(BinaryValuesTest, NoBlankLeavesTheClosingApostropheOutAndEndsTheSet) {
    expectSet(u"1 2 3 4 5'ab', 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"ab\" }");
    expectSet(u"1 2 3 4 5'ab'", "{ 1, 2, 3, 4, 5, \"ab\" }");
}

TEST_F(BinaryValuesTest, OtherCharactersBeforeTheQuotedPartCountLikeBlanks) {
    expectSet(u"1 2 3 4 5x'ab'", "{ 1, 2, 3, 4, 5, \"ab\" }");
    expectSet(u"1 2 3 4 5.5 'ab'", "{ 1, 2, 3, 4, 5, \"ab\" }");
    expectSet(u"1 2 3 4 5x'ab', 6 7 8 9 1 'y'",
              "{ 1, 2, 3, 4, 5, \"ab\" }, { 6, 7, 8, 9, 1, \"y\" }");
}

TEST_F(BinaryValuesTest, EntriesGoOnOnlyBehindAComma) {
    expectSet(u"1 2 3 4 5 'x' 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"1 2 3 4 5 'x'; 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"1 2 3 4 5 'x'6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"x\" }");
    const std::string both = "{ 1, 2, 3, 4, 5, \"x\" }, { 6, 7, 8, 9, 1, \"y\" }";
    expectSet(u"1 2 3 4 5 'x',6 7 8 9 1 'y'", both);
    expectSet(u"1 2 3 4 5 'x' ,6 7 8 9 1 'y'", both);
    expectSet(u"1 2 3 4 5 'x'   ,,,   6 7 8 9 1 'y'", both);
    expectSet(u"1 2 3 4 5 'x', , 6 7 8 9 1 'y'", "{ 1, 2, 3, 4, 5, \"x\" }");
    expectSet(u"1 2 3 4 5 'x',", "{ 1, 2, 3, 4, 5, \"x\" }");
}

TEST_F(BinaryValuesTest, OddTextsNeverFailTheAction) {
    for (const char16_t* text : {u"'", u"''", u",", u"{}", u"1 2 3 4 5 \u4E00", u"\U0001F600"}) {
        expectSet(text, "");
    }
    expectSet(u"1 2 3 4 5 '\u00E4'", "{ 1, 2, 3, 4, 5, \"\xE4\" }");
}

TEST_F(BinaryValuesTest, ADataSetCutShortFailsLikeAText) {
    const Bytes whole = videoResult(u"1 2 3 4 5 'x'");
    const std::size_t end = whole.size() - 8;
    const std::size_t start = end - 4 - 14 * 2;
    expectNothing(front(whole, end - 1), 14 * 2 - 1);
    expectNothing(front(whole, start), kFailedAtNothing);
    expectNothing(front(whole, start + 2), 2);
    expectBuilt(front(whole, start + 4), "VideoResult (5, {})", start + 5);
    expectBuilt(front(whole, end), "VideoResult (5, {{ 1, 2, 3, 4, 5, \"x\" }})", end);
}

TEST_F(BinaryValuesTest, TextsReadFromBytesAreUsedAsTheyAre) {
    // A name with a double quote travels in bytes unharmed.
    const WText name = W(u"a\"b");
    const TmxObjectRef camera = ref(1, 2, name.c_str());
    const Handle handle(TmxAct_CreateCameraOn(&camera));
    const BinRead back = fromBytes(binary(handle));
    TmxObjectRef out;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(back.handle.get(), &out));
    EXPECT_EQ(WText(out.name), name);
}

}  // namespace
}  // namespace edge
