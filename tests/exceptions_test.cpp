#include "zinc/exceptions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>

#include "zinc/date_time.h"
#include "zinc/text.h"

namespace {

using Zinc::EZincDateTime;
using Zinc::GuidConversionException;
using Zinc::SystemException;
using Zinc::WideString;
using Zinc::ZincException;
using Zinc::Text::InvalidFormatStringException;

// A number that no system has a text for.
constexpr std::uint32_t kUnknownNumber = 0xE1234567;

// ---- The base -----------------------------------------------------------------------------------

TEST(ZincExceptionTest, NarrowTextWithNumbersFillsTheWideText) {
    const ZincException error(
        "K\xFC"
        "che \x80",
        12, 34, "more");
    EXPECT_EQ(error.code, 34U);
    EXPECT_EQ(error.subcode, 12U);
    EXPECT_EQ(error.message,
              "K\xFC"
              "che \x80");
    EXPECT_EQ(error.messageW, TMX_WIDE("K\u00FCche \u20AC"));
    EXPECT_EQ(error.details, "more");
    EXPECT_STREQ(error.what(),
                 "K\xFC"
                 "che \x80");
}

TEST(ZincExceptionTest, WideTextWithNumbersFillsTheNarrowText) {
    const ZincException error(TMX_WIDE("K\u00FCche \u20AC \u4E2D"), 12, 34, "more");
    EXPECT_EQ(error.code, 34U);
    EXPECT_EQ(error.subcode, 12U);
    EXPECT_EQ(error.message,
              "K\xFC"
              "che \x80 ?");
    EXPECT_EQ(error.messageW, TMX_WIDE("K\u00FCche \u20AC \u4E2D"));
    EXPECT_EQ(error.details, "more");
    EXPECT_STREQ(error.what(), error.message.c_str());
}

TEST(ZincExceptionTest, WideTextIsComposedOnTheWayToNarrow) {
    const ZincException error(TMX_WIDE("Ku\u0308che"), 0, 0, {});
    EXPECT_EQ(error.message,
              "K\xFC"
              "che");
    EXPECT_EQ(error.messageW, TMX_WIDE("Ku\u0308che"));
}

TEST(ZincExceptionTest, NarrowStringAloneHasNumbersZeroAndZero) {
    const ZincException plain("plain");
    EXPECT_EQ(plain.code, 0U);
    EXPECT_EQ(plain.subcode, 0U);
    EXPECT_EQ(plain.message, "plain");
    EXPECT_EQ(plain.messageW, TMX_WIDE("plain"));
    EXPECT_EQ(plain.details, "");
    EXPECT_EQ(ZincException("plain", "more").details, "more");
}

TEST(ZincExceptionTest, EmptyTextsStayEmpty) {
    const ZincException narrow(std::string_view{});
    EXPECT_EQ(narrow.message, "");
    EXPECT_EQ(narrow.messageW, WideString());
    const ZincException wide(Zinc::WideView{}, 1, 2, {});
    EXPECT_EQ(wide.message, "");
    EXPECT_EQ(wide.messageW, WideString());
}

TEST(ZincExceptionTest, ACopyHasAllFields) {
    const ZincException original(TMX_WIDE("text"), 12, 34, "more");
    const ZincException copy(original);
    EXPECT_EQ(copy.code, 34U);
    EXPECT_EQ(copy.subcode, 12U);
    EXPECT_EQ(copy.message, "text");
    EXPECT_EQ(copy.messageW, TMX_WIDE("text"));
    EXPECT_EQ(copy.details, "more");
}

TEST(ZincExceptionTest, TheFamilyIsRootedInTheStandardException) {
    static_assert(std::is_base_of_v<std::exception, ZincException>);
    static_assert(std::is_base_of_v<ZincException, SystemException>);
    static_assert(std::is_base_of_v<ZincException, EZincDateTime>);
    static_assert(std::is_base_of_v<ZincException, GuidConversionException>);
    static_assert(std::is_base_of_v<ZincException, InvalidFormatStringException>);
    static_assert(std::is_base_of_v<ZincException, TmxPLC::TmxPLCException>);
    try {
        throw TmxPLC::TmxPLCException();
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "buffer too small");
    }
}

TEST(ZincExceptionTest, TheClassNameIsThatOfTheMostDerivedClass) {
    const auto nameOf = [](const ZincException& error) { return error.GetClassName(); };
    EXPECT_EQ(nameOf(ZincException("")), "class Zinc::ZincException");
    EXPECT_EQ(nameOf(SystemException(1, nullptr)), "class Zinc::SystemException");
    EXPECT_EQ(nameOf(EZincDateTime({}, 1)), "class Zinc::EZincDateTime");
    EXPECT_EQ(nameOf(GuidConversionException("")), "class Zinc::GuidConversionException");
    EXPECT_EQ(nameOf(InvalidFormatStringException("", "", 0)),
              "class Zinc::Text::InvalidFormatStringException");
    EXPECT_EQ(nameOf(TmxPLC::TmxPLCException()), "class TmxPLC::TmxPLCException");
}

TEST(ZincExceptionTest, AConversionThatFailsInAConstructorPasses) {
    // One unit more than a conversion takes. Only the length is looked at, so that the text behind
    // the first unit need not be there.
    const WideString text = TMX_WIDE("x");
    try {
        const ZincException error(Zinc::WideView(text.data(), 715827883), 1, 2, {});
        FAIL() << "no exception";
    } catch (const SystemException& error) {
        EXPECT_NE(error.message.find("] in WideCharToMultiByte"), std::string::npos);
    }
}

// ---- The children -------------------------------------------------------------------------------

TEST(EZincDateTimeTest, HasCode5AndNoDetails) {
    const EZincDateTime error(TMX_WIDE("text"), 10);
    EXPECT_EQ(error.code, 5U);
    EXPECT_EQ(error.subcode, 10U);
    EXPECT_EQ(error.message, "text");
    EXPECT_EQ(error.messageW, TMX_WIDE("text"));
    EXPECT_EQ(error.details, "");
}

TEST(EZincDateTimeTest, TheSubcodesAreThoseOfTheInterface) {
    EXPECT_EQ(EZincDateTime::ZoneRule, 1U);
    EXPECT_EQ(EZincDateTime::Year, 3U);
    EXPECT_EQ(EZincDateTime::Month, 4U);
    EXPECT_EQ(EZincDateTime::Day, 5U);
    EXPECT_EQ(EZincDateTime::Hour, 6U);
    EXPECT_EQ(EZincDateTime::Minute, 7U);
    EXPECT_EQ(EZincDateTime::Second, 8U);
    EXPECT_EQ(EZincDateTime::Millisecond, 9U);
    EXPECT_EQ(EZincDateTime::ExpectedCharacter, 10U);
    EXPECT_EQ(EZincDateTime::ExpectedZone, 11U);
    EXPECT_EQ(EZincDateTime::ExpectedEnd, 12U);
    EXPECT_EQ(EZincDateTime::Range, 13U);
}

TEST(GuidConversionExceptionTest, HasNumbersZeroAndTheMessageThatItIsGiven) {
    const GuidConversionException error("no guid");
    EXPECT_EQ(error.code, 0U);
    EXPECT_EQ(error.subcode, 0U);
    EXPECT_EQ(error.message, "no guid");
    EXPECT_EQ(error.messageW, TMX_WIDE("no guid"));
    EXPECT_EQ(error.details, "");
}

TEST(InvalidFormatStringExceptionTest, HoldsFormatAndPosition) {
    const InvalidFormatStringException error("failure:", "f\xFC{", 2);
    EXPECT_EQ(error.code, 0U);
    EXPECT_EQ(error.subcode, 0U);
    EXPECT_EQ(error.message, "failure: : f\xFC{");
    EXPECT_EQ(error.messageW, TMX_WIDE("failure: : f\u00FC{"));
    EXPECT_EQ(error.details, "");
    EXPECT_EQ(error.formatString, TMX_WIDE("f\u00FC{"));
    EXPECT_EQ(error.errorPosition, 2U);
}

TEST(TmxPLCExceptionTest, TheDefaultIsBufferTooSmall) {
    const TmxPLC::TmxPLCException error;
    EXPECT_EQ(error.code, 1008U);
    EXPECT_EQ(error.subcode, 7U);
    EXPECT_EQ(error.message, "buffer too small");
    EXPECT_EQ(error.messageW, TMX_WIDE("buffer too small"));
    EXPECT_EQ(error.details, "");
}

TEST(TmxPLCExceptionTest, IsMadeFromWideTextAndSubcode) {
    const TmxPLC::TmxPLCException error(TMX_WIDE("Wrong decode method"),
                                        TmxPLC::TmxPLCException::WrongDecodeMethod);
    EXPECT_EQ(error.code, 1008U);
    EXPECT_EQ(error.subcode, 3U);
    EXPECT_EQ(error.message, "Wrong decode method");
    EXPECT_EQ(error.details, "");
    EXPECT_EQ(TmxPLC::TmxPLCException::WrongStructureSize, 8U);
}

// ---- System errors ------------------------------------------------------------------------------

TEST(SystemExceptionTest, HasCode2AndTheNumberAsSubcode) {
    const SystemException error(kUnknownNumber, "CompareString");
    EXPECT_EQ(error.code, 2U);
    EXPECT_EQ(error.subcode, kUnknownNumber);
    EXPECT_EQ(error.details, "");
}

TEST(SystemExceptionTest, ANumberWithoutATextIsAnUnknownSystemError) {
    const SystemException error(kUnknownNumber, "CompareString");
    // Above 0x7fffffff, and printed without a sign.
    EXPECT_EQ(error.message, "Unknown system error [ErrorCode #3777185127] in CompareString");
    EXPECT_EQ(error.messageW,
              TMX_WIDE("Unknown system error [ErrorCode #3777185127] in CompareString"));
    EXPECT_EQ(SystemException(0xffffffff, nullptr).message,
              "Unknown system error [ErrorCode #4294967295]");
}

TEST(SystemExceptionTest, WithoutACallNameTheTextEndsInTheBracket) {
    EXPECT_EQ(SystemException(kUnknownNumber, nullptr).message,
              "Unknown system error [ErrorCode #3777185127]");
    EXPECT_EQ(SystemException(kUnknownNumber, "").message,
              "Unknown system error [ErrorCode #3777185127]");
}

TEST(SystemExceptionTest, TheSystemsTextStandsInFrontWithoutLineEnds) {
    // 2 is a missing file on every system.
    const SystemException error(2, "open");
    const std::string closing = " [ErrorCode #2] in open";
    ASSERT_GT(error.message.size(), closing.size());
    const std::string text = error.message.substr(0, error.message.size() - closing.size());
    EXPECT_EQ(error.message.substr(text.size()), closing);
    EXPECT_NE(text, "Unknown system error");
    EXPECT_NE(text.back(), '\n');
    EXPECT_NE(text.back(), '\r');
}

#ifndef _WIN32
TEST(SystemExceptionTest, TheTextOfTheSystemIsTheCLibrarys) {
    EXPECT_EQ(SystemException(2, nullptr).message, "No such file or directory [ErrorCode #2]");
}

TEST(SystemExceptionTest, ANumberOfWindowsAloneIsUnknown) {
    EXPECT_EQ(SystemException(Platform::kErrorInvalidParameter, "call").message,
              "Unknown system error [ErrorCode #87] in call");
}
#endif

TEST(SystemExceptionTest, TheCallNameIsWidenedByTheAnsiPage) {
    EXPECT_EQ(Zinc::SystemErrorMessage(kUnknownNumber, "\x80"),
              TMX_WIDE("Unknown system error [ErrorCode #3777185127] in \u20AC"));
}

TEST(ThrowLastSystemErrorTest, TakesTheThreadsLastError) {
    Platform::SetLastError(kUnknownNumber);
    try {
        Zinc::ThrowLastSystemError("GetModuleFileNameA");
    } catch (const SystemException& error) {
        EXPECT_EQ(error.code, 2U);
        EXPECT_EQ(error.subcode, kUnknownNumber);
        EXPECT_EQ(error.message,
                  "Unknown system error [ErrorCode #3777185127] in GetModuleFileNameA");
    }
    Platform::SetLastError(0);
}

// ---- Sizes --------------------------------------------------------------------------------------

#ifndef _WIN32
// What goes to the debugger while the object lives, through the file that stands in for one.
class DebugCapture {
  public:
    DebugCapture() : path_(testing::TempDir() + "zinc_debug_capture.txt") {
        std::remove(path_.c_str());
        setenv("ZINC_DEBUG_OUTPUT", path_.c_str(), 1);
    }
    ~DebugCapture() {
        unsetenv("ZINC_DEBUG_OUTPUT");
        std::remove(path_.c_str());
    }
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    std::string Text() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

  private:
    std::string path_;
};

TEST(ClipTest, AClippedSizeIsToldToTheDebugger) {
    const DebugCapture capture;
    EXPECT_EQ(Zinc::ClipSizeT(0xffffffff, 0xffffffff), 0xffffffffU);
    EXPECT_EQ(capture.Text(), "");
    EXPECT_EQ(Zinc::ClipSizeT(0x100000000, 0xffffffff), 0xffffffffU);
    EXPECT_EQ(capture.Text(), "ClipSizeT failed - Size > MaxSize");
}

TEST(ClipTest, ANegativeDifferenceIsToldToTheDebugger) {
    const DebugCapture capture;
    EXPECT_EQ(Zinc::ClipPtrDiff(0, 0xffffffff), 0U);
    EXPECT_EQ(capture.Text(), "");
    EXPECT_EQ(Zinc::ClipPtrDiff(-1, 0xffffffff), 0U);
    EXPECT_EQ(capture.Text(), "ClipPtrDiff failed - pointer difference is negative");
}

TEST(ClipTest, ADifferenceAboveTheMaximumIsClippedAsASize) {
    const DebugCapture capture;
    EXPECT_EQ(Zinc::ClipPtrDiff(0x100000000, 0xffffffff), 0xffffffffU);
    EXPECT_EQ(capture.Text(), "ClipSizeT failed - Size > MaxSize");
}
#endif

TEST(ClipTest, SizesUpToTheMaximumPass) {
    EXPECT_EQ(Zinc::ClipSizeT(0, 0xffffffff), 0U);
    EXPECT_EQ(Zinc::ClipSizeT(7, 7), 7U);
    EXPECT_EQ(Zinc::ClipSizeT(8, 7), 7U);
    EXPECT_EQ(Zinc::ClipSizeT(UINT64_MAX, 0xffffffff), 0xffffffffU);
    EXPECT_EQ(Zinc::ClipPtrDiff(7, 7), 7U);
    EXPECT_EQ(Zinc::ClipPtrDiff(8, 7), 7U);
    EXPECT_EQ(Zinc::ClipPtrDiff(INT64_MIN, 7), 0U);
    static_assert(noexcept(Zinc::ClipSizeT(0, 0))&& noexcept(Zinc::ClipPtrDiff(0, 0)));
}

TEST(SizeToIntTest, PassesBelowTheTopBitAndRaisesFromThereOn) {
    EXPECT_EQ(Zinc::SizeToInt(0), 0);
    EXPECT_EQ(Zinc::SizeToInt(0x7fffffff), 0x7fffffff);
    for (const std::uint64_t size : {std::uint64_t{0x80000000}, UINT64_MAX}) {
        try {
            Zinc::SizeToInt(size);
            ADD_FAILURE() << "no exception for " << size;
        } catch (const EZincDateTime& error) {
            EXPECT_EQ(error.code, 5U);
            EXPECT_EQ(error.subcode, 13U);
            EXPECT_EQ(error.message, "size_t out of range.");
            EXPECT_EQ(error.messageW, TMX_WIDE("size_t out of range."));
        }
    }
}

}  // namespace
