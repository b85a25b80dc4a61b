#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "zinc/text.h"

namespace {

using Platform::CodePage;
using Zinc::WideString;
using Zinc::XmlEscape;
using Zinc::Text::Format;
using Zinc::Text::InvalidFormatStringException;

constexpr auto kNoSuchPage = static_cast<CodePage>(4711);

template <typename Call>
void ExpectSystemFailure(const char* callName, Call call) {
    try {
        call();
        ADD_FAILURE() << "no exception";
    } catch (const Zinc::SystemException& error) {
        const std::string closing = std::string("] in ") + callName;
        EXPECT_EQ(error.code, 2U);
        ASSERT_GE(error.message.size(), closing.size());
        EXPECT_EQ(error.message.substr(error.message.size() - closing.size()), closing);
    }
}

// ---- Conversion ---------------------------------------------------------------------------------

TEST(ConversionTest, AsciiPassesThroughUnchanged) {
    EXPECT_EQ(Zinc::WideToAnsi(TMX_WIDE("Camera 1")), "Camera 1");
    EXPECT_EQ(Zinc::AnsiToWide("Camera 1"), TMX_WIDE("Camera 1"));
    EXPECT_EQ(Zinc::WideToUtf8(TMX_WIDE("Camera 1")), "Camera 1");
    EXPECT_EQ(Zinc::Utf8ToWide("Camera 1"), TMX_WIDE("Camera 1"));
}

TEST(ConversionTest, TheAnsiPageHasItsOwnBytes) {
    EXPECT_EQ(Zinc::WideToAnsi(TMX_WIDE("\u00E4\u20AC\u0178")), "\xE4\x80\x9F");
    EXPECT_EQ(Zinc::AnsiToWide("\xE4\x80\x9F"), TMX_WIDE("\u00E4\u20AC\u0178"));
}

TEST(ConversionTest, AUnitThatTheAnsiPageLacksIsAQuestionMark) {
    EXPECT_EQ(Zinc::WideToAnsi(TMX_WIDE("a\u4E2Db")), "a?b");
}

TEST(ConversionTest, TowardsAnsiACombiningMarkIsComposed) {
    EXPECT_EQ(Zinc::WideToAnsi(TMX_WIDE("u\u0308")), "\xFC");
}

TEST(ConversionTest, Utf8HasOneToThreeBytesAUnit) {
    EXPECT_EQ(Zinc::WideToUtf8(TMX_WIDE("a\u00E4\u20AC\U0001F600")),
              "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(Zinc::Utf8ToWide("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"),
              TMX_WIDE("a\u00E4\u20AC\U0001F600"));
}

TEST(ConversionTest, EmptyAndNullTextsGiveAnEmptyTargetWithoutACall) {
    // A page that no call takes shows that none is made.
    for (const std::int64_t length : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{5}}) {
        std::string narrow = "before";
        Zinc::WideToNarrow(narrow, kNoSuchPage, 0, nullptr, length);
        EXPECT_EQ(narrow, "");
        WideString wide = TMX_WIDE("before");
        Zinc::NarrowToWide(wide, kNoSuchPage, 0, nullptr, length);
        EXPECT_EQ(wide, WideString());
    }
    std::string narrow = "before";
    Zinc::WideToNarrow(narrow, kNoSuchPage, 0, TMX_WIDE("\u00E4"), 0);
    EXPECT_EQ(narrow, "");
    WideString wide = TMX_WIDE("before");
    Zinc::NarrowToWide(wide, kNoSuchPage, 0, "\xE4", 0);
    EXPECT_EQ(wide, WideString());
}

TEST(ConversionTest, AFirstUnitOfZeroGivesAnEmptyTargetWhateverTheLength) {
    for (const std::int64_t length : {std::int64_t{-1}, std::int64_t{2}}) {
        std::string narrow = "before";
        Zinc::WideToNarrow(narrow, kNoSuchPage, 0, TMX_WIDE("\0\u00E4"), length);
        EXPECT_EQ(narrow, "");
        WideString wide = TMX_WIDE("before");
        Zinc::NarrowToWide(wide, kNoSuchPage, 0, "\0\xE4", length);
        EXPECT_EQ(wide, WideString());
    }
}

TEST(ConversionTest, ALaterZeroIsAUnitLikeAnyOtherWhereALengthIsGiven) {
    EXPECT_EQ(Zinc::WideToUtf8(std::basic_string_view(TMX_WIDE("a\0b"), 3)),
              std::string("a\0b", 3));
    EXPECT_EQ(Zinc::WideToUtf8(std::basic_string_view(TMX_WIDE("\u00E4\0b"), 3)),
              std::string("\xC3\xA4\0b", 4));
    EXPECT_EQ(Zinc::AnsiToWide(std::string_view("\xE4\0b", 3)),
              WideString(TMX_WIDE("\u00E4\0b"), 3));
}

TEST(ConversionTest, AZeroTerminatedTextIsMeasured) {
    std::string narrow = "before";
    Zinc::WideToNarrow(narrow, CodePage::Utf8, 0, TMX_WIDE("\u00E4\u20AC"), -1);
    EXPECT_EQ(narrow, "\xC3\xA4\xE2\x82\xAC");
    Zinc::WideToNarrow(narrow, CodePage::Ansi, Platform::kCompositeCheck, TMX_WIDE("plain"), -1);
    EXPECT_EQ(narrow, "plain");
    WideString wide = TMX_WIDE("before");
    Zinc::NarrowToWide(wide, CodePage::Utf8, 0, "\xC3\xA4\xE2\x82\xAC", -1);
    EXPECT_EQ(wide, TMX_WIDE("\u00E4\u20AC"));
    Zinc::NarrowToWide(wide, CodePage::Ansi, Platform::kPrecomposed, "plain", -1);
    EXPECT_EQ(wide, TMX_WIDE("plain"));
}

TEST(ConversionTest, EveryLengthAroundTheStackBufferConvertsWhole) {
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{15}, std::size_t{16}, std::size_t{255}, std::size_t{256},
          std::size_t{257}, std::size_t{100000}}) {
        // ASCII, all units of the largest size, and one such unit at the end.
        const WideString ascii(length, 'x');
        const WideString large(length, 0x20AC);
        WideString mixed = ascii;
        mixed.back() = 0x20AC;
        std::string largeBytes;
        for (std::size_t i = 0; i < length; ++i) largeBytes += "\xE2\x82\xAC";
        const std::string mixedBytes = std::string(length - 1, 'x') + "\xE2\x82\xAC";

        EXPECT_EQ(Zinc::WideToUtf8(ascii), std::string(length, 'x'));
        EXPECT_EQ(Zinc::WideToUtf8(large), largeBytes);
        EXPECT_EQ(Zinc::WideToUtf8(mixed), mixedBytes);
        EXPECT_EQ(Zinc::Utf8ToWide(largeBytes), large);
        EXPECT_EQ(Zinc::Utf8ToWide(mixedBytes), mixed);
        EXPECT_EQ(Zinc::WideToAnsi(mixed), std::string(length - 1, 'x') + "\x80");
        EXPECT_EQ(Zinc::AnsiToWide(std::string(length - 1, 'x') + "\x80"), mixed);

        std::string narrow;
        Zinc::WideToNarrow(narrow, CodePage::Utf8, 0, mixed.c_str(), -1);
        EXPECT_EQ(narrow, mixedBytes);
        WideString wide;
        Zinc::NarrowToWide(wide, CodePage::Utf8, 0, mixedBytes.c_str(), -1);
        EXPECT_EQ(wide, mixed);
    }
}

TEST(ConversionTest, ATextLongerThanTheLimitFailsAtOnceWithTheLastError) {
    // Only the length is looked at, so that the text need not be there.
    Platform::SetLastError(0xE1234567);
    std::string narrow = "before";
    try {
        Zinc::WideToNarrow(narrow, CodePage::Utf8, 0, TMX_WIDE("x"), 715827883);
        ADD_FAILURE() << "no exception";
    } catch (const Zinc::SystemException& error) {
        EXPECT_EQ(error.subcode, 0xE1234567U);
        EXPECT_EQ(error.message,
                  "Unknown system error [ErrorCode #3777185127] in WideCharToMultiByte");
    }
    EXPECT_EQ(narrow, "");
    WideString wide = TMX_WIDE("before");
    ExpectSystemFailure("MultiByteToWideChar",
                        [&] { Zinc::NarrowToWide(wide, CodePage::Utf8, 0, "x", 715827883); });
    EXPECT_EQ(wide, WideString());
    Platform::SetLastError(0);
}

TEST(ConversionTest, AFailedCallRaisesItsNameAndLeavesNoPartialResult) {
    const WideString longWide(1000, 0x20AC);
    const std::string longNarrow(1000, '\xE4');
    for (const std::int64_t length : {std::int64_t{-1}, std::int64_t{3}, std::int64_t{1000}}) {
        std::string narrow = "before";
        ExpectSystemFailure("WideCharToMultiByte", [&] {
            Zinc::WideToNarrow(narrow, kNoSuchPage, 0, longWide.c_str(), length);
        });
        EXPECT_EQ(narrow, "");
        WideString wide = TMX_WIDE("before");
        ExpectSystemFailure("MultiByteToWideChar", [&] {
            Zinc::NarrowToWide(wide, kNoSuchPage, 0, longNarrow.c_str(), length);
        });
        EXPECT_EQ(wide, WideString());
    }
}

// ---- Formatter ----------------------------------------------------------------------------------

void ExpectFormatFailure(std::string_view format, std::string_view failure,
                         std::uint64_t position) {
    try {
        Format(format, {"x"});
        ADD_FAILURE() << "taken: " << format;
    } catch (const InvalidFormatStringException& error) {
        EXPECT_EQ(error.code, 0U);
        EXPECT_EQ(error.subcode, 0U);
        EXPECT_EQ(error.message, std::string(failure) + " : " + std::string(format));
        EXPECT_EQ(error.formatString, Zinc::AnsiToWide(format));
        EXPECT_EQ(error.errorPosition, position) << format;
    }
}

TEST(FormatTest, TextWithoutBracesIsCopied) {
    EXPECT_EQ(Format("", {}), "");
    EXPECT_EQ(Format("plain text", {"x"}), "plain text");
}

TEST(FormatTest, DoubledBracesAreSingleOnes) {
    EXPECT_EQ(Format("a {{b}} c", {}), "a {b} c");
    EXPECT_EQ(Format("{{}}", {}), "{}");
    EXPECT_EQ(Format("{{{{", {}), "{{");
    EXPECT_EQ(Format("}}}}", {}), "}}");
    EXPECT_EQ(Format("{{0}}", {"x"}), "{0}");
    EXPECT_EQ(Format("{{{0}}}", {"x"}), "{x}");
}

TEST(FormatTest, AFieldStandsForItsArgument) {
    EXPECT_EQ(Format("[{0}]", {"x"}), "[x]");
    EXPECT_EQ(Format("Dump file name: {0}", {"a.dmp"}), "Dump file name: a.dmp");
    EXPECT_EQ(Format("{0}{0} {1}{0}", {"a", "b"}), "aa ba");
    EXPECT_EQ(Format("{00}{01}", {"a", "b"}), "ab");
    EXPECT_EQ(Format("{10}", {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"}), "ten");
}

TEST(FormatTest, AnArgumentIsNotScannedForBraces) {
    EXPECT_EQ(Format("{0}{1}", {"{1}", "}"}), "{1}}");
}

TEST(FormatTest, AWidthAlignsRightAndANegativeOneLeft) {
    EXPECT_EQ(Format("{0,3}", {"ab"}), " ab");
    EXPECT_EQ(Format("{0,-3}", {"ab"}), "ab ");
    EXPECT_EQ(Format("[{0,5}|{1,-5}]", {"a", "b"}), "[    a|b    ]");
    EXPECT_EQ(Format("{0,003}", {"ab"}), " ab");
}

TEST(FormatTest, ALongerArgumentIsNotCut) {
    EXPECT_EQ(Format("{0,3}{0,-3}{0,0}", {"abcd"}), "abcdabcdabcd");
}

TEST(FormatTest, AWidthAbove512CountsAsNone) {
    EXPECT_EQ(Format("{0,512}", {"ab"}), std::string(510, ' ') + "ab");
    EXPECT_EQ(Format("{0,-512}", {"ab"}), "ab" + std::string(510, ' '));
    EXPECT_EQ(Format("{0,513}", {"ab"}), "ab");
    EXPECT_EQ(Format("{0,-513}", {"ab"}), "ab");
    // Too long for any integer, and with a remainder that would be a good width.
    EXPECT_EQ(Format("{0,18446744073709551619}", {"ab"}), "ab");
}

TEST(FormatTest, ASingleClosingBraceBeforeAnyOpeningOneRaises) {
    constexpr char failure[] = "Text::Format illegal end of format string:";
    ExpectFormatFailure("}", failure, 0);
    ExpectFormatFailure("ab} {0}", failure, 2);
    ExpectFormatFailure("{0} }", failure, 4);
    ExpectFormatFailure("}}}", failure, 2);
}

TEST(FormatTest, AnOpeningBraceWithoutAClosingOneRaises) {
    constexpr char failure[] = "Text::Format illegal begin of format string:";
    ExpectFormatFailure("{", failure, 0);
    ExpectFormatFailure("ab{0", failure, 2);
    ExpectFormatFailure("{0}{", failure, 3);
    ExpectFormatFailure("{{{", failure, 2);
}

TEST(FormatTest, AnArgumentNumberThatIsNotThereRaises) {
    constexpr char failure[] = "Text::Format illegal argument number :";
    ExpectFormatFailure("{1}", failure, 0);
    ExpectFormatFailure("ab {99}", failure, 3);
    EXPECT_THROW(Format("{0}", {}), InvalidFormatStringException);
}

TEST(FormatTest, AnArgumentNumberThatIsNotThereRaisesItsOwnTextWithAWidth) {
    constexpr char failure[] = "Text::Format illegal argument number (,):";
    ExpectFormatFailure("{1,3}", failure, 0);
    ExpectFormatFailure("ab {9,-3}", failure, 3);
}

TEST(FormatTest, AnythingElseBetweenBracesRaises) {
    constexpr char failure[] = "Text::Format illegal format string :";
    for (const char* format : {"{}",     "{x}",  "{ 0}",    "{0 }",    "{-1}",   "{000}",  "{0x}",
                               "{x0}",   "{0,}", "{0,-}",   "{0,--3}", "{0,+3}", "{0, 3}", "{0,3 }",
                               "{00,3}", "{,3}", "{0,3,3}", "{0:3}",   "{0{0}",  "{\xB2}"})
        ExpectFormatFailure(format, failure, 0);
    ExpectFormatFailure("ab {0} {?}", failure, 7);
}

TEST(FormatTest, TheFailuresClassHasItsName) {
    try {
        Format("{", {});
        ADD_FAILURE() << "no exception";
    } catch (const Zinc::ZincException& error) {
        EXPECT_EQ(error.GetClassName(), "class Zinc::Text::InvalidFormatStringException");
        EXPECT_EQ(error.message, "Text::Format illegal begin of format string: : {");
    }
}

// ---- XML ----------------------------------------------------------------------------------------

TEST(XmlEscapeTest, TextWithoutTheFiveCharactersIsUnchanged) {
    EXPECT_EQ(XmlEscape(""), "");
    EXPECT_EQ(XmlEscape("plain; text\r\n\t"), "plain; text\r\n\t");
    EXPECT_EQ(XmlEscape("K\xC3\xBC"
                        "che \xF0\x9F\x98\x80"),
              "K\xC3\xBC"
              "che \xF0\x9F\x98\x80");
    // Unchanged is unchanged, for bytes that are no UTF-8 as well.
    EXPECT_EQ(XmlEscape("\xFC"), "\xFC");
}

TEST(XmlEscapeTest, EachOfTheFiveCharactersIsReplaced) {
    EXPECT_EQ(XmlEscape("&"), "&amp;");
    EXPECT_EQ(XmlEscape("<"), "&lt;");
    EXPECT_EQ(XmlEscape(">"), "&gt;");
    EXPECT_EQ(XmlEscape("\""), "&quot;");
    EXPECT_EQ(XmlEscape("'"), "&apos;");
    EXPECT_EQ(XmlEscape("a<b c=\"d\">'&amp;'</b>"),
              "a&lt;b c=&quot;d&quot;&gt;&apos;&amp;amp;&apos;&lt;/b&gt;");
}

TEST(XmlEscapeTest, OtherBytesAreCopiedBesideAReplacement) {
    EXPECT_EQ(XmlEscape(std::string_view("\x01\t\r\n\0&", 6)),
              std::string("\x01\t\r\n\0&amp;", 10));
}

TEST(XmlEscapeTest, Utf8SequencesAreCopiedWhole) {
    EXPECT_EQ(XmlEscape("\xC3\xBC<\xE2\x82\xAC>\xF0\x9F\x98\x80&\xF4\x8F\xBF\xBF"),
              "\xC3\xBC&lt;\xE2\x82\xAC&gt;\xF0\x9F\x98\x80&amp;\xF4\x8F\xBF\xBF");
}

TEST(XmlEscapeTest, ABrokenSequenceNeverHidesASpecialCharacter) {
    EXPECT_EQ(XmlEscape("\xC3<"), "&#195;&lt;");
    EXPECT_EQ(XmlEscape("\xE2\x82<"), "&#226;&#130;&lt;");
    EXPECT_EQ(XmlEscape("\xF0\x9F\x98<"), "&#240;&#159;&#152;&lt;");
}

TEST(XmlEscapeTest, AByteOutsideAnySequenceBecomesItsNumber) {
    EXPECT_EQ(XmlEscape("&\x80"), "&amp;&#128;");
    EXPECT_EQ(XmlEscape("&\xFF"), "&amp;&#255;");
    EXPECT_EQ(XmlEscape("&\xE2\x82"), "&amp;&#226;&#130;");                      // cut at the end
    EXPECT_EQ(XmlEscape("&\xC0\xAF"), "&amp;&#192;&#175;");                      // overlong
    EXPECT_EQ(XmlEscape("&\xE0\x80\xAF"), "&amp;&#224;&#128;&#175;");            // overlong
    EXPECT_EQ(XmlEscape("&\xED\xA0\x80"), "&amp;&#237;&#160;&#128;");            // surrogate
    EXPECT_EQ(XmlEscape("&\xF0\x8F\xBF\xBF"), "&amp;&#240;&#143;&#191;&#191;");  // overlong
    EXPECT_EQ(XmlEscape("&\xF4\x90\x80\x80"), "&amp;&#244;&#144;&#128;&#128;");  // above U+10FFFF
}

}  // namespace
