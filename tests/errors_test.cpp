// The last-error record: who fills it, who clears it, how long its texts stay, and what the texts
// say.
#include <thread>

#include "support/edge_support.h"

namespace edge {
namespace {

class ErrorsTest : public EdgeTest {};

void failWithWrongDecode(TmxHandle cameraOn) {
    TmxObjectRef viewer;
    TmxObjectRef channel;
    int32_t mode = 0;
    EXPECT_FALSE(TmxAct_DecodeViewerConnect(cameraOn, &viewer, &channel, &mode));
}

bool recordUntouched() {
    TmxErrorInfo info;
    TmxErrorInfo before;
    std::memset(&info, 0x5A, sizeof info);
    std::memcpy(&before, &info, sizeof info);
    return !TmxAct_GetLastError(&info) && std::memcmp(&info, &before, sizeof info) == 0;
}

std::string guidAction(const std::string& guid) { return "CancelExport (\"" + guid + "\", 1)"; }

TEST_F(ErrorsTest, AThreadThatNeverFailedHasNoErrorAndLeavesTheRecordAlone) {
    bool untouched = false;
    std::thread([&] { untouched = recordUntouched(); }).join();
    EXPECT_TRUE(untouched);
}

TEST_F(ErrorsTest, AThreadThatOnlySucceededHasNoErrorAndLeavesTheRecordAlone) {
    bool untouched = false;
    std::thread([&] {
        const Handle handle = Handle(TmxAct_CreateABCDisconnect());
        untouched = recordUntouched();
    }).join();
    EXPECT_TRUE(untouched);
}

TEST_F(ErrorsTest, AThreadThatNeverCallsTheLibraryEndsQuietly) {
    std::thread([] {}).join();
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(ErrorsTest, WrongDecodeIsRecordedWithAllItsFields) {
    const TmxObjectRef camera = ref(0, 5);
    const Handle handle(TmxAct_CreateCameraOn(&camera));
    failWithWrongDecode(handle.get());
    TmxErrorInfo info;
    ASSERT_TRUE(TmxAct_GetLastError(&info));
    EXPECT_EQ(info.code, 1008u);
    EXPECT_EQ(info.subcode, 3u);
    EXPECT_STREQ(info.exceptionClass, "class TmxPLC::TmxPLCException");
    EXPECT_STREQ(info.message, "Wrong decode method");
    EXPECT_EQ(WText(info.messageW), W(u"Wrong decode method"));
    EXPECT_STREQ(info.details, "");
}

TEST_F(ErrorsTest, DecodeCameraOnOfAnotherActionIsAWrongDecode) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    TmxObjectRef camera = ref(77, 78);
    EXPECT_FALSE(TmxAct_DecodeCameraOn(handle.get(), &camera));
    EXPECT_EQ(lastError(), wrongDecode());
    EXPECT_EQ(camera.id, 77);
    EXPECT_EQ(camera.number, 78);
}

TEST_F(ErrorsTest, AskingForTheErrorDoesNotClearIt) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    EXPECT_EQ(lastError(), wrongDecode());
    EXPECT_EQ(lastError(), wrongDecode());
}

TEST_F(ErrorsTest, ASuccessClearsTheErrorAndLeavesTheOutRecordAlone) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    ASSERT_NE(lastError(), std::nullopt);
    uint32_t code = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
    EXPECT_TRUE(recordUntouched());
}

TEST_F(ErrorsTest, ANullResultWithoutAFailureClearsTheError) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    ASSERT_NE(lastError(), std::nullopt);
    EXPECT_EQ(
        TmxAct_CreateFromTextBufferA("NoSuchAction ()", TMX_MEASURE_LENGTH, kAny, false, nullptr),
        nullptr);
    EXPECT_TRUE(recordUntouched());

    failWithWrongDecode(handle.get());
    ASSERT_NE(lastError(), std::nullopt);
    const uint8_t byte = 1;
    EXPECT_EQ(TmxAct_CreateFromBinBuffer(&byte, 1, kAny, nullptr), nullptr);
    EXPECT_TRUE(recordUntouched());
}

TEST_F(ErrorsTest, TheTextsStayInPlaceAfterASuccess) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    TmxErrorInfo info;
    ASSERT_TRUE(TmxAct_GetLastError(&info));
    uint32_t code = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
    ASSERT_EQ(lastError(), std::nullopt);
    EXPECT_STREQ(info.exceptionClass, "class TmxPLC::TmxPLCException");
    EXPECT_STREQ(info.message, "Wrong decode method");
    EXPECT_EQ(WText(info.messageW), W(u"Wrong decode method"));
    EXPECT_STREQ(info.details, "");
}

TEST_F(ErrorsTest, TheNextFailureOverwritesTheTextsInTheSamePlace) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    TmxErrorInfo first;
    ASSERT_TRUE(TmxAct_GetLastError(&first));
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, nullptr));
    TmxErrorInfo second;
    ASSERT_TRUE(TmxAct_GetLastError(&second));
    EXPECT_EQ(second.message, first.message);
    EXPECT_EQ(second.messageW, first.messageW);
    EXPECT_EQ(second.exceptionClass, first.exceptionClass);
    EXPECT_EQ(second.details, first.details);
    EXPECT_STREQ(first.message, "buffer too small");
}

TEST_F(ErrorsTest, CatalogueQueriesNeitherSetNorClearTheError) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    TmxActionInfo info;
    EXPECT_TRUE(TmxAct_GetActionInfo(&info, 122));
    EXPECT_FALSE(TmxAct_GetActionInfo(&info, 18));
    EXPECT_EQ(TmxAct_GetNumberOfActions(), 353u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("nothing"), TMX_NONE);
    EXPECT_EQ(TmxAct_InterfaceVersion(), 106u);
    EXPECT_GE(TmxAct_GetNumberOfOpenHandles(), 1u);
    bool native = false;
    EXPECT_TRUE(TmxAct_GetNativeTranslation(&native));
    EXPECT_EQ(lastError(), wrongDecode());

    uint32_t code = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
    EXPECT_FALSE(TmxAct_GetActionInfo(&info, 18));
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(ErrorsTest, ErrorsArePerThread) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    std::optional<Error> before = wrongDecode();
    std::optional<Error> after;
    std::thread([&] {
        before = lastError();
        EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, nullptr));
        after = lastError();
    }).join();
    EXPECT_EQ(before, std::nullopt);
    EXPECT_EQ(after, tooSmall());
    EXPECT_EQ(lastError(), wrongDecode());
}

TEST_F(ErrorsTest, ASuccessOfOneThreadLeavesTheErrorOfAnother) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    failWithWrongDecode(handle.get());
    std::thread([&] {
        uint32_t code = 0;
        EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
    }).join();
    EXPECT_EQ(lastError(), wrongDecode());
}

TEST_F(ErrorsTest, ALongMessageIsCutAt1023CharactersInBothForms) {
    const std::string text(1100, 'x');
    const std::string expected = ("Conversion of guid '" + text).substr(0, 1023);
    for (const bool wide : {false, true}) {
        const Handle handle =
            wide ? readW(widen(guidAction(text))).handle : readA(guidAction(text)).handle;
        EXPECT_FALSE(handle);
        TmxErrorInfo info;
        ASSERT_TRUE(TmxAct_GetLastError(&info));
        EXPECT_EQ(std::string(info.message), expected);
        EXPECT_EQ(WText(info.messageW), widen(expected));
        EXPECT_EQ(info.message[1023], '\0');
        EXPECT_EQ(info.messageW[1023], TmxWChar{0});
    }
}

TEST_F(ErrorsTest, AMessageOf1023CharactersStaysWhole) {
    // 20 characters before the text and 9 behind it.
    const std::string text(1023 - 20 - 9, 'x');
    expectRaised(guidAction(text), guidError(text));
    EXPECT_EQ(lastError()->message.size(), 1023u);
    const std::string longer = text + "x";
    const Read result = readA(guidAction(longer));
    ASSERT_NE(result.error, std::nullopt);
    EXPECT_EQ(result.error->message, "Conversion of guid '" + longer + "' failed");
    EXPECT_EQ(result.error->messageW, widen("Conversion of guid '" + longer + "' failed"));
}

TEST_F(ErrorsTest, AShorterMessageAfterALongOneIsTheWholeText) {
    EXPECT_FALSE(readA(guidAction(std::string(1100, 'x'))).handle);
    expectRaised(guidAction("y"), guidError("y"));
}

TEST_F(ErrorsTest, TheWideMessageOfANarrowOneComesByTheAnsiCodePage) {
    const Read result = readA(guidAction("\xE4\x80"));
    EXPECT_FALSE(result.handle);
    ASSERT_NE(result.error, std::nullopt);
    EXPECT_EQ(result.error->message, "Conversion of guid '\xE4\x80' failed.");
    EXPECT_EQ(result.error->messageW, W(u"Conversion of guid '\u00E4\u20AC' failed."));
}

TEST_F(ErrorsTest, AWideGuidTextIsReportedAsItsAnsiForm) {
    for (const bool utf8 : {false, true}) {
        const Read result =
            readW(W(u"CancelExport (\"\u4E00\u00E4\", 1)"), TMX_MEASURE_LENGTH, kAny, utf8);
        EXPECT_FALSE(result.handle);
        ASSERT_NE(result.error, std::nullopt);
        EXPECT_EQ(result.error->message, "Conversion of guid '?\xE4' failed.");
        EXPECT_EQ(result.error->messageW, W(u"Conversion of guid '?\u00E4' failed."));
    }
}

TEST_F(ErrorsTest, GuidFailuresHaveNumbersZero) {
    expectRaised(guidAction("no guid"), guidError("no guid"));
}

TEST_F(ErrorsTest, DateTimeFailuresHaveCodeFive) {
    expectRaised("SetClock (\"2026/11/15 12:30\")",
                 dateTimeError(11, "UTC or GMT in date/time string expected."));
}

TEST_F(ErrorsTest, ADateTimeBelow1601LocalIsASystemError) {
    const TmxDateTime date = instant(0, 1);
    const Handle handle(TmxAct_CreateSetClock(&date));
    char buffer[100];
    EXPECT_FALSE(
        TmxAct_StoreToTextBufferA(handle.get(), buffer, sizeof buffer, false, false, nullptr));
    EXPECT_EQ(lastError(), noCalendarDate());
}

TEST_F(ErrorsTest, AFailingStoreReportsBufferTooSmall) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    EXPECT_FALSE(TmxAct_StoreToTextBufferW(handle.get(), nullptr, 0, false, false, nullptr));
    EXPECT_EQ(lastError(), tooSmall());
    EXPECT_FALSE(TmxAct_StoreToTextBufferA(handle.get(), nullptr, 0, true, false, nullptr));
    EXPECT_EQ(lastError(), tooSmall());
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, nullptr));
    EXPECT_EQ(lastError(), tooSmall());
}

TEST_F(ErrorsTest, InterfaceVersionAndDate) {
    EXPECT_EQ(TmxAct_InterfaceVersion(), 106u);
    EXPECT_STREQ(TmxAct_InterfaceDate(), "26.02.2018");
    EXPECT_EQ(TmxAct_InterfaceDate(), TmxAct_InterfaceDate());
}

}  // namespace
}  // namespace edge
