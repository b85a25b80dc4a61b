// The frame around the exports: what each kind of failure is recorded as.
#include "frame/call.h"

#include <gtest/gtest.h>
#include <tmxactions/functions.h>

#include <stdexcept>
#include <string>

#include "zinc/text.h"

namespace {

using namespace TmxPLC;

TmxErrorInfo LastErrorInfo() {
    TmxErrorInfo info{};
    EXPECT_TRUE(TmxAct_GetLastError(&info));
    return info;
}

std::basic_string_view<TmxWChar> Wide(const TmxErrorInfo& info) { return info.messageW; }

template <class Exception>
TmxErrorInfo Fail(Exception exception) {
    EXPECT_FALSE(Frame::Run([&] { throw exception; }));
    return LastErrorInfo();
}

TEST(Frame, AZincExceptionIsRecordedWithAllItsFields) {
    const Zinc::ZincException error("caf\xE9", 21, 9, "more");
    const TmxErrorInfo info = Fail(error);
    EXPECT_EQ(info.code, 9u);
    EXPECT_EQ(info.subcode, 21u);
    EXPECT_STREQ(info.exceptionClass, "class Zinc::ZincException");
    EXPECT_STREQ(info.message, "caf\xE9");
    EXPECT_EQ(Wide(info), TMX_WIDE("caf\u00E9"));
    EXPECT_STREQ(info.details, "more");
}

TEST(Frame, TheClassNameIsThatOfTheMostDerivedClass) {
    EXPECT_STREQ(Fail(TmxPLCException()).exceptionClass, "class TmxPLC::TmxPLCException");
    EXPECT_STREQ(Fail(Zinc::EZincDateTime(TMX_WIDE("x"), 3)).exceptionClass,
                 "class Zinc::EZincDateTime");
    EXPECT_STREQ(Fail(Zinc::SystemException(87, "Call")).exceptionClass,
                 "class Zinc::SystemException");
    EXPECT_STREQ(Fail(Zinc::GuidConversionException("x")).exceptionClass,
                 "class Zinc::GuidConversionException");
    EXPECT_STREQ(Fail(Zinc::Text::InvalidFormatStringException("a", "b", 0)).exceptionClass,
                 "class Zinc::Text::InvalidFormatStringException");
}

TEST(Frame, AStandardExceptionIsAGenericOne) {
    const TmxErrorInfo info = Fail(std::runtime_error("broken \x84"));
    EXPECT_EQ(info.code, 0u);
    EXPECT_EQ(info.subcode, 0u);
    EXPECT_STREQ(info.exceptionClass, "Zinc::GenericException");
    EXPECT_STREQ(info.message, "broken \x84");
    EXPECT_EQ(Wide(info), TMX_WIDE("broken \u201E"));
    EXPECT_STREQ(info.details, "");
}

TEST(Frame, AThrownNarrowTextIsAGenericException) {
    char text[] = "narrow";
    char* thrown = text;
    const TmxErrorInfo info = Fail(thrown);
    EXPECT_EQ(info.code, 0u);
    EXPECT_STREQ(info.exceptionClass, "Zinc::GenericException");
    EXPECT_STREQ(info.message, "narrow");
    EXPECT_EQ(Wide(info), TMX_WIDE("narrow"));
}

TEST(Frame, AThrownWideTextIsAGenericExceptionWithItsNarrowTextConverted) {
    TmxWChar text[] = TMX_WIDE("\u20AC 5 \u4E2D");
    TmxWChar* thrown = text;
    const TmxErrorInfo info = Fail(thrown);
    EXPECT_STREQ(info.exceptionClass, "Zinc::GenericException");
    EXPECT_STREQ(info.message, "\x80 5 ?");
    EXPECT_EQ(Wide(info), TMX_WIDE("\u20AC 5 \u4E2D"));
}

TEST(Frame, AnythingElseIsUnknown) {
    const TmxErrorInfo info = Fail(42);
    EXPECT_EQ(info.code, TMX_ERROR_CODE_UNKNOWN);
    EXPECT_EQ(info.subcode, 0u);
    EXPECT_STREQ(info.exceptionClass, "Zinc::UnknownException");
    EXPECT_STREQ(info.message, "Zinc::UnknownException");
    EXPECT_EQ(Wide(info), TMX_WIDE("Zinc::UnknownException"));
    EXPECT_STREQ(info.details, "");
}

TEST(Frame, AFailedCallGivesTheZeroOfItsResult) {
    EXPECT_EQ(Frame::Call([]() -> TmxHandle { throw 1; }), nullptr);
    EXPECT_EQ(Frame::Call([]() -> int { throw 1; }), 0);
    EXPECT_FALSE(Frame::Call([]() -> bool { throw 1; }));
}

TEST(Frame, TextsLongerThanTheirFieldAreCut) {
    const std::string text(6000, 'x');
    const TmxErrorInfo info = Fail(Zinc::ZincException(text, 1, 2, text));
    EXPECT_EQ(std::string_view(info.message), text.substr(0, 1023));
    EXPECT_EQ(Wide(info), Zinc::WideString(1023, TMX_WIDE('x')));
    EXPECT_EQ(std::string_view(info.details), text.substr(0, 5631));
}

TEST(Frame, AConvertedTextIsCutToo) {
    const Zinc::WideString wide(3000, TMX_WIDE('\u20AC'));
    Zinc::WideString text = wide;
    TmxWChar* thrown = text.data();
    const TmxErrorInfo info = Fail(thrown);
    EXPECT_EQ(std::string_view(info.message), std::string(1023, '\x80'));
    EXPECT_EQ(Wide(info), wide.substr(0, 1023));
}

TEST(Frame, ASuccessClearsTheErrorAndLeavesItsTexts) {
    const TmxErrorInfo info = Fail(std::runtime_error("stays"));
    EXPECT_TRUE(Frame::Run([] {}));
    TmxErrorInfo untouched{};
    untouched.code = 77;
    EXPECT_FALSE(TmxAct_GetLastError(&untouched));
    EXPECT_EQ(untouched.code, 77u);
    EXPECT_STREQ(info.message, "stays");
}

}  // namespace
