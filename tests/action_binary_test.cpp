// Stored actions as a whole: the header, the worked bytes, the property block and its tolerance.
#include "support/edge_support.h"

namespace edge {
namespace {

class ActionBinaryTest : public EdgeTest {
  protected:
    // SetWatchdog (7): the shortest body with a value, 12 bytes.
    static Bytes watchdog() { return header(1, 53) + le32(7); }
    static Bytes pair(std::u16string_view name, std::u16string_view value) {
        return wideField(name) + wideField(value);
    }
    static Bytes block(uint32_t count) { return hex("0F F0 00 00") + le32(count); }

    // What a watchdog with these bytes behind it becomes: the bytes used, and its properties.
    static void expectBlock(const Bytes& tail, std::size_t used,
                            const std::vector<std::pair<WText, WText>>& expected) {
        const BinRead result = fromBytes(watchdog() + tail);
        ASSERT_TRUE(result.handle);
        EXPECT_EQ(result.used, used);
        int32_t timeout = 0;
        EXPECT_TRUE(TmxAct_DecodeSetWatchdog(result.handle.get(), &timeout));
        EXPECT_EQ(timeout, 7);
        Bytes stored = watchdog() + block(static_cast<uint32_t>(expected.size()));
        for (const auto& [name, value] : expected) {
            const std::u16string n(name.begin(), name.end());
            const std::u16string v(value.begin(), value.end());
            stored = std::move(stored) + pair(n, v);
        }
        EXPECT_EQ(binary(result.handle), stored);
    }
};

// ---- Worked bytes
// ------------------------------------------------------------------------------------

TEST_F(ActionBinaryTest, TheBytesOfACameraOn) {
    const Bytes expected =
        hex("01 00 00 00 7A 00 00 00  88 77 66 55 44 33 22 11  03 00 00 00 "
            "04 00 00 00 43 00 61 00 6D 00 00 00  0F F0 00 00 00 00 00 00");
    ASSERT_EQ(expected.size(), 40u);
    const WText name = W(u"Cam");
    const TmxObjectRef camera = ref(0x1122334455667788, 3, name.c_str());
    const Handle handle(TmxAct_CreateCameraOn(&camera));
    EXPECT_EQ(binary(handle), expected);
    const BinRead back = fromBytes(expected);
    ASSERT_TRUE(back.handle);
    EXPECT_EQ(back.used, 40u);
    TmxObjectRef out;
    EXPECT_TRUE(TmxAct_DecodeCameraOn(back.handle.get(), &out));
    EXPECT_EQ(out.id, 0x1122334455667788);
    EXPECT_EQ(out.number, 3);
    EXPECT_EQ(WText(out.name), name);
}

TEST_F(ActionBinaryTest, TheBytesOfACancelExport) {
    const Bytes expected =
        hex("01 00 00 00 C8 01 00 00  33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF  01 00 00 00 "
            "0F F0 00 00 00 00 00 00");
    ASSERT_EQ(expected.size(), 36u);
    const TmxGuid guid = countingGuid();
    const Handle handle(TmxAct_CreateCancelExport(&guid, 1));
    EXPECT_EQ(binary(handle), expected);
    expectBuilt(expected, "CancelExport (\"00112233-4455-6677-8899-aabbccddeeff\", 1)", 36);
}

TEST_F(ActionBinaryTest, TheBytesOfAViewerConnect) {
    const Bytes expected = hex(
        "01 00 00 00 C9 00 00 00  01 00 00 00 00 00 00 00  02 00 00 00  02 00 00 00 56 00 00 00 "
        "00 00 00 00 00 00 00 00  07 00 00 00  01 00 00 00 00 00  01 00 00 00 "
        "0F F0 00 00 00 00 00 00");
    ASSERT_EQ(expected.size(), 58u);
    const WText name = W(u"V");
    const TmxObjectRef viewer = ref(1, 2, name.c_str());
    const TmxObjectRef channel = ref(0, 7);
    const Handle handle(TmxAct_CreateViewerConnect(&viewer, &channel, 1));
    EXPECT_EQ(binary(handle), expected);
    expectBuilt(expected, "ViewerConnect ({ 1, 2, \"V\" }, 7, 1)", 58);
}

TEST_F(ActionBinaryTest, OnePropertyMakesTheBlockLonger) {
    const Handle handle = taken("SetWatchdog (7)");
    setProperty(handle.get(), u"a", u"b");
    const Bytes expected =
        watchdog() + hex("0F F0 00 00 01 00 00 00 02 00 00 00 61 00 00 00 02 00 00 00 62 00 00 00");
    EXPECT_EQ(binary(handle), expected);
    const BinRead back = fromBytes(expected);
    EXPECT_EQ(back.used, expected.size());
    EXPECT_EQ(property(back.handle.get(), u"a"), W(u"b"));
}

TEST_F(ActionBinaryTest, PropertiesAreStoredInTheOrderOfTheirNames) {
    const Handle handle = taken("SetWatchdog (7)");
    setProperty(handle.get(), u"ab", u"3");
    setProperty(handle.get(), u"a", u"2");
    setProperty(handle.get(), u"B", u"1");
    EXPECT_EQ(binary(handle),
              watchdog() + block(3) + pair(u"B", u"1") + pair(u"a", u"2") + pair(u"ab", u"3"));
}

TEST_F(ActionBinaryTest, FlagsAndInternalDataStayBehind) {
    const Handle handle = taken("SetWatchdog (7)");
    EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(handle.get(), 3));
    EXPECT_EQ(binary(handle), watchdog() + emptyBlock());
    const BinRead back = fromBytes(binary(handle));
    uint32_t flags = 9;
    uint64_t data = 9;
    EXPECT_TRUE(TmxAct_GetMessageFlags(back.handle.get(), &flags));
    EXPECT_TRUE(TmxAct_GetInternalData(back.handle.get(), &data));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(data, 0u);
}

// ---- Storing
// -------------------------------------------------------------------------------------------

TEST_F(ActionBinaryTest, TheNeededSizeIsLearntFromASmallBuffer) {
    const Handle handle = taken("SetWatchdog (7)");
    Bytes buffer(21, 0xCC);
    uint32_t needed = 0;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, &needed));
    EXPECT_EQ(needed, 20u);
    EXPECT_EQ(lastError(), tooSmall());
    needed = 0;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 19, &needed));
    EXPECT_EQ(needed, 20u);
    EXPECT_EQ(lastError(), tooSmall());
    needed = 0;
    EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 20, &needed));
    EXPECT_EQ(needed, 20u);
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(buffer, watchdog() + emptyBlock() + hex("CC"));
}

TEST_F(ActionBinaryTest, ALargerBufferIsLeftAloneBehindTheAction) {
    const Handle handle = taken("SetWatchdog (7)");
    Bytes buffer(40, 0xCC);
    uint32_t needed = 0;
    EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 40, &needed));
    EXPECT_EQ(needed, 20u);
    EXPECT_EQ(buffer, watchdog() + emptyBlock() + Bytes(20, 0xCC));
}

TEST_F(ActionBinaryTest, TheSizesMayBeNull) {
    const Handle handle = taken("SetWatchdog (7)");
    Bytes buffer(20);
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, nullptr));
    EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle.get(), buffer.data(), 20, nullptr));
    const Handle back(TmxAct_CreateFromBinBuffer(buffer.data(), 20, kAny, nullptr));
    EXPECT_TRUE(back);
    EXPECT_EQ(TmxAct_CreateFromBinBuffer(buffer.data(), 3, kAny, nullptr), nullptr);
}

TEST_F(ActionBinaryTest, TheSizeIsASignedNumber) {
    const Handle handle = taken("SetWatchdog (7)");
    for (const uint32_t size : {0xFFFFFFFFu, 0x80000000u}) {
        uint32_t needed = 0;
        EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, size, &needed));
        EXPECT_EQ(lastError(), tooSmall());
        EXPECT_EQ(needed, 20u);
    }
}

// ---- The header
// ----------------------------------------------------------------------------------------

TEST_F(ActionBinaryTest, BuffersShorterThanTheHeader) {
    const Bytes bytes = watchdog();
    expectNothing({}, 0xFFFFFFFFu);
    for (std::size_t size = 1; size <= 3; ++size) {
        expectNothing(front(bytes, size), static_cast<uint32_t>(size));
    }
    expectNothing(front(bytes, 4), 5);
    for (std::size_t size = 5; size <= 7; ++size) {
        expectNothing(front(bytes, size), static_cast<uint32_t>(size - 4));
    }
}

TEST_F(ActionBinaryTest, ABufferOfFourBytesWithAForeignClass) {
    expectNothing(le32(3), 0xFFFFFFFFu);
    expectNothing(le32(0), 0xFFFFFFFFu);
}

TEST_F(ActionBinaryTest, AForeignClassReportsWhatRemained) {
    expectNothing(le32(3) + le32(53) + Bytes(12, 0), 12);
    expectNothing(le32(0) + le32(53) + Bytes(1, 0), 1);
    expectNothing(le32(0xF00F) + le32(0), 9);
    expectNothing(le32(3) + le32(53), 9);
    expectNothing(le32(0xFFFFFFFFu) + le32(53) + Bytes(4, 0), 4);
    expectNothing(le32(3) + hex("35 00"), 2);
}

TEST_F(ActionBinaryTest, AnUnknownCodeUsesTheHeader) {
    expectNothing(header(1, 18), 8);
    expectNothing(header(1, 18) + Bytes(100, 0), 8);
    expectNothing(header(1, 0) + Bytes(100, 0), 8);
    expectNothing(header(1, 0xFFFFFFFFu) + Bytes(100, 0), 8);
    expectNothing(header(1, 0x7fffffffu) + Bytes(100, 0), 8);
    expectNothing(header(2, 18) + Bytes(100, 0), 8);
}

TEST_F(ActionBinaryTest, TheOtherMessageClassUsesTheHeaderAlone) {
    const Bytes bytes = watchdog() + emptyBlock();
    expectNothing(bytes, 8, 2);
    expectNothing(bytes, 8, 0);
    expectNothing(bytes, 8, 3);
    // Nothing behind the header is looked at.
    expectNothing(header(1, 122) + hex("01"), 8, 2);
    EXPECT_TRUE(fromBytes(bytes, 1).handle);
    EXPECT_TRUE(fromBytes(bytes, kAny).handle);
}

TEST_F(ActionBinaryTest, AFailedReadClearsTheLastError) {
    const Handle handle = taken("SetWatchdog (7)");
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, nullptr));
    ASSERT_NE(lastError(), std::nullopt);
    expectNothing(header(1, 18), 8);
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(ActionBinaryTest, SeveralActionsFollowEachOtherInOneBuffer) {
    const Bytes all = binary(taken("CameraOn (5)")) + binary(taken("ABCDisconnect ()")) +
                      binary(taken("StartEvent (\"x\", ForeignKey: 9)"));
    std::vector<std::string> texts;
    for (std::size_t place = 0; place < all.size();) {
        const BinRead one =
            fromBytes(Bytes(all.begin() + static_cast<std::ptrdiff_t>(place), all.end()));
        ASSERT_TRUE(one.handle);
        texts.push_back(machine(one.handle));
        place += one.used;
        ASSERT_LE(place, all.size());
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"CameraOn (5)", "ABCDisconnect ()",
                                               "StartEvent (\"x\", ForeignKey: 9)"}));
}

TEST_F(ActionBinaryTest, AnActionWithoutParametersIsItsHeader) {
    EXPECT_EQ(binary(taken("ABCDisconnect ()")), header(1, 22) + emptyBlock());
    expectBuilt(header(1, 22), "ABCDisconnect ()", 8);
    expectBuilt(header(1, 22) + emptyBlock(), "ABCDisconnect ()", 16);
}

// ---- Reading the property block
// -------------------------------------------------------------------

TEST_F(ActionBinaryTest, WithoutABlockTheActionEndsWithItsParameters) { expectBlock({}, 12, {}); }

TEST_F(ActionBinaryTest, TrailingBytesShorterThanABlockAreIgnored) {
    for (std::size_t size = 1; size < 8; ++size) {
        expectBlock(Bytes(size, 0xCC), 12, {});
        if (size != 4) expectBlock(front(emptyBlock(), size), 12, {});
    }
}

TEST_F(ActionBinaryTest, ABlockCutBehindItsMarkerIsTheHole) {
    // The count fails with nothing left, which no later read notices.
    expectBlock(hex("0F F0 00 00"), 17, {});
}

TEST_F(ActionBinaryTest, ABlockIsUsedWhole) {
    expectBlock(block(0), 20, {});
    expectBlock(block(1) + pair(u"a", u"b"), 12 + 24, {{W(u"a"), W(u"b")}});
    expectBlock(block(0) + Bytes(5, 0xCC), 20, {});
}

TEST_F(ActionBinaryTest, AForeignMarkerIsNoBlock) {
    expectBlock(hex("0F F0 01 00 00 00 00 00 00"), 12, {});
    expectBlock(hex("0E F0 00 00 00 00 00 00 00"), 12, {});
    expectBlock(hex("0F F0 00 01 00 00 00 00 00"), 12, {});
    expectBlock(hex("01 00 00 00 16 00 00 00 0F F0 00 00 00 00 00 00"), 12, {});
    expectBlock(hex("0F F0 01 00 01 00 00 00") + pair(u"a", u"b"), 12, {});
}

TEST_F(ActionBinaryTest, AForeignMarkerWithExactlyEightBytesDoesNotRollBack) {
    expectBlock(hex("0F F0 01 00 00 00 00 00"), 21, {});
    expectBlock(hex("0F F0 01 00 FF FF FF FF"), 21, {});
    expectBlock(hex("CC CC CC CC 00 00 00 80"), 21, {});
}

TEST_F(ActionBinaryTest, AForeignMarkerWithExactlyEightBytesAndAPositiveCountRollsBack) {
    expectBlock(hex("0F F0 01 00 01 00 00 00"), 12, {});
    expectBlock(hex("CC CC CC CC FF FF FF 7F"), 12, {});
}

TEST_F(ActionBinaryTest, ANegativeCountIsZero) {
    expectBlock(block(0xFFFFFFFFu), 20, {});
    expectBlock(block(0x80000000u) + pair(u"a", u"b"), 20, {});
}

TEST_F(ActionBinaryTest, FewerPairsThanCountedRollBackAndKeepThoseRead) {
    expectBlock(block(2) + pair(u"a", u"b"), 12, {{W(u"a"), W(u"b")}});
    expectBlock(block(2) + pair(u"a", u"b") + wideField(u"c"), 12, {{W(u"a"), W(u"b")}});
    expectBlock(block(2) + pair(u"a", u"b") + wideField(u"c") + hex("05 00 00 00 61 00"), 12,
                {{W(u"a"), W(u"b")}});
    expectBlock(block(1), 12, {});
    expectBlock(block(1) + hex("02 00"), 12, {});
}

TEST_F(ActionBinaryTest, MorePairsThanCountedStayUnread) {
    expectBlock(block(1) + pair(u"a", u"b") + pair(u"c", u"d"), 12 + 24, {{W(u"a"), W(u"b")}});
}

TEST_F(ActionBinaryTest, ALaterValueOfANameReplacesTheEarlierOne) {
    expectBlock(block(3) + pair(u"a", u"1") + pair(u"b", u"2") + pair(u"a", u"3"), 12 + 8 + 3 * 16,
                {{W(u"a"), W(u"3")}, {W(u"b"), W(u"2")}});
}

TEST_F(ActionBinaryTest, NamesMayComeInAnyOrderAndBeEmpty) {
    expectBlock(block(3) + pair(u"b", u"1") + pair(u"", u"") + pair(u"a", u"2"),
                12 + 8 + 16 + 12 + 16, {{W(u""), W(u"")}, {W(u"a"), W(u"2")}, {W(u"b"), W(u"1")}});
}

TEST_F(ActionBinaryTest, AValueCutBehindItsCountAtTheEndIsTheHole) {
    // The pair is kept with an empty value, and nothing rolls back.
    const Bytes tail = block(1) + wideField(u"a") + hex("05 00 00 00");
    expectBlock(tail, 12 + tail.size() + 1, {{W(u"a"), W(u"")}});
}

TEST_F(ActionBinaryTest, AtMostAThousandPairsAreRead) {
    const Handle handle = taken("SetWatchdog (7)");
    for (int i = 0; i < 1001; ++i) {
        const std::string name = std::to_string(10000 + i);
        EXPECT_TRUE(TmxAct_SetProperty(handle.get(), widen(name).c_str(), W(u"v").c_str()));
    }
    const Bytes bytes = binary(handle);
    const std::size_t pairSize = 4 + 12 + 4 + 4;
    ASSERT_EQ(bytes.size(), 20 + 1001 * pairSize);
    EXPECT_EQ(Bytes(bytes.begin() + 16, bytes.begin() + 20), le32(1001));
    const BinRead back = fromBytes(bytes);
    ASSERT_TRUE(back.handle);
    EXPECT_EQ(back.used, 20 + 1000 * pairSize);
    EXPECT_EQ(property(back.handle.get(), u"10000"), W(u"v"));
    EXPECT_EQ(property(back.handle.get(), u"10999"), W(u"v"));
    EXPECT_EQ(property(back.handle.get(), u"11000"), W(u""));
    const Bytes again = binary(back.handle);
    EXPECT_EQ(Bytes(again.begin() + 16, again.begin() + 20), le32(1000));
}

TEST_F(ActionBinaryTest, AThousandPairsAreReadWhole) {
    Bytes tail = block(1000);
    for (int i = 0; i < 1000; ++i) {
        const std::string digits = std::to_string(10000 + i);
        tail = std::move(tail) + pair(std::u16string(digits.begin(), digits.end()), u"v");
    }
    const BinRead back = fromBytes(watchdog() + tail);
    EXPECT_EQ(back.used, 12 + tail.size());
    EXPECT_EQ(property(back.handle.get(), u"10999"), W(u"v"));
}

TEST_F(ActionBinaryTest, PropertiesKeepZerosWithinTheirTexts) {
    const Bytes tail = block(1) + hex("04 00 00 00 61 00 00 00 62 00 00 00") + wideField(u"v");
    const BinRead back = fromBytes(watchdog() + tail);
    EXPECT_EQ(back.used, 12 + tail.size());
    EXPECT_EQ(binary(back.handle), watchdog() + tail);
}

TEST_F(ActionBinaryTest, TheHoleOfTheLastParameterLeavesNoPlaceForABlock) {
    const BinRead back = fromBytes(header(1, 53));
    ASSERT_TRUE(back.handle);
    EXPECT_EQ(back.used, 9u);
    EXPECT_EQ(properties(back.handle.get()), W(u"<properties />"));
}

}  // namespace
}  // namespace edge
