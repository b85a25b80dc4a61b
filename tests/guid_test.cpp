#include "zinc/guid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

using Zinc::Guid;

constexpr Guid kGuid = {
    0xbaa41e7c, 0x9328, 0x427e, {0x94, 0x3d, 0xa6, 0x6b, 0x44, 0xef, 0x2f, 0xdb}};
constexpr char kText[] = "baa41e7c-9328-427e-943d-a66b44ef2fdb";
constexpr char kSignature[] =
    "void __cdecl Zinc::GuidToStr(char *,unsigned __int64,const struct _GUID &,bool)";

// The message ends in the number and the signature; what stands in front is the system's.
void ExpectClosing(const std::string& message, const std::string& number) {
    const std::string closing = number + kSignature;
    ASSERT_GE(message.size(), closing.size());
    EXPECT_EQ(message.substr(message.size() - closing.size()), closing);
}

void ExpectFailure(const std::string& text) {
    try {
        Zinc::StrToGuid(text);
        ADD_FAILURE() << "taken: " << text;
    } catch (const Zinc::GuidConversionException& error) {
        EXPECT_EQ(error.code, 0U);
        EXPECT_EQ(error.subcode, 0U);
        EXPECT_EQ(error.message, "Conversion of guid '" + text + "' failed.");
        EXPECT_EQ(error.details, "");
        EXPECT_EQ(error.GetClassName(), "class Zinc::GuidConversionException");
    }
}

// ---- Writing ------------------------------------------------------------------------------------

TEST(PutGuidTest, Writes36LowerCaseCharactersNarrowAndWide) {
    char narrow[37];
    std::fill(std::begin(narrow), std::end(narrow), '#');
    Zinc::PutGuid(narrow, kGuid);
    EXPECT_EQ(std::string(narrow, 36), kText);
    EXPECT_EQ(narrow[36], '#');

    Zinc::WideChar wide[37];
    std::fill(std::begin(wide), std::end(wide), Zinc::WideChar{'#'});
    Zinc::PutGuid(wide, kGuid);
    EXPECT_EQ(Zinc::WideString(wide, 36), TMX_WIDE("baa41e7c-9328-427e-943d-a66b44ef2fdb"));
    EXPECT_EQ(wide[36], Zinc::WideChar{'#'});
}

TEST(GuidToStrTest, WritesTheTextAndATerminator) {
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    Zinc::GuidToStr(buffer, sizeof buffer, kGuid);
    EXPECT_STREQ(buffer, kText);
    EXPECT_EQ(buffer[37], '#');
}

TEST(GuidToStrTest, AnAllZeroGuidIsZerosWithoutBraces) {
    char buffer[37];
    Zinc::GuidToStr(buffer, sizeof buffer, Guid{});
    EXPECT_STREQ(buffer, "00000000-0000-0000-0000-000000000000");
}

TEST(GuidToStrTest, EveryFieldKeepsItsLeadingZeros) {
    char buffer[37];
    Zinc::GuidToStr(buffer, sizeof buffer, Guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
    EXPECT_STREQ(buffer, "00000001-0002-0003-0405-060708090a0b");
}

TEST(GuidToStrTest, EveryShortBufferHoldsWhatFittedAndRaises) {
    for (std::size_t size = 1; size <= 36; ++size) {
        char buffer[38];
        std::memset(buffer, '#', sizeof buffer);
        try {
            Zinc::GuidToStr(buffer, size, kGuid);
            ADD_FAILURE() << "no exception for " << size;
        } catch (const Zinc::SystemException& error) {
            EXPECT_EQ(error.code, 2U);
            EXPECT_EQ(error.subcode, 0x8007007aU);
            ExpectClosing(error.message, " [ErrorCode #2147942522] in ");
        }
        EXPECT_EQ(std::string(buffer), std::string(kText).substr(0, size - 1));
        EXPECT_EQ(buffer[size], '#');
    }
}

TEST(GuidToStrTest, ABoundOfZeroOrAbove31BitsIsAnInvalidArgument) {
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{0x80000000}, UINT64_MAX}) {
        char buffer[37] = "#";
        try {
            Zinc::GuidToStr(buffer, size, kGuid);
            ADD_FAILURE() << "no exception for " << size;
        } catch (const Zinc::SystemException& error) {
            EXPECT_EQ(error.code, 2U);
            EXPECT_EQ(error.subcode, 0x80070057U);
            ExpectClosing(error.message, " [ErrorCode #2147942487] in ");
        }
        EXPECT_STREQ(buffer, size == 0 ? "#" : "");
    }
    char buffer[37];
    Zinc::GuidToStr(buffer, 0x7fffffff, kGuid);
    EXPECT_STREQ(buffer, kText);
}

// ---- Reading ------------------------------------------------------------------------------------

TEST(StrToGuidTest, ReadsPlainTextAndBraces) {
    EXPECT_TRUE(Zinc::StrToGuid(kText) == kGuid);
    EXPECT_TRUE(Zinc::StrToGuid("{" + std::string(kText) + "}") == kGuid);
}

TEST(StrToGuidTest, ReadsDigitsOfBothCases) {
    EXPECT_TRUE(Zinc::StrToGuid("BAA41E7C-9328-427E-943D-A66B44EF2FDB") == kGuid);
    EXPECT_TRUE(Zinc::StrToGuid("{bAa41E7c-9328-427e-943D-a66B44eF2fdB}") == kGuid);
}

TEST(StrToGuidTest, PutsEveryDigitInItsPlace) {
    const Guid guid = Zinc::StrToGuid("01234567-89ab-cdef-fedc-ba9876543210");
    EXPECT_EQ(guid.Data1, 0x01234567U);
    EXPECT_EQ(guid.Data2, 0x89abU);
    EXPECT_EQ(guid.Data3, 0xcdefU);
    const std::uint8_t last[8] = {0xfe, 0xdc, 0xba, 0x98, 0x76, 0x54, 0x32, 0x10};
    EXPECT_EQ(std::memcmp(guid.Data4, last, 8), 0);
}

TEST(StrToGuidTest, DoesNotLookAtWhatFollows) {
    const std::string text = kText;
    EXPECT_TRUE(Zinc::StrToGuid(text + "xyz") == kGuid);
    EXPECT_TRUE(Zinc::StrToGuid(text + "0") == kGuid);
    EXPECT_TRUE(Zinc::StrToGuid(text + "}") == kGuid);
    EXPECT_TRUE(Zinc::StrToGuid("{" + text + "}xyz") == kGuid);
}

TEST(StrToGuidTest, AnOpeningBraceNeedsItsClosingOneAtOnce) {
    const std::string text = kText;
    ExpectFailure("{" + text);
    ExpectFailure("{" + text + " }");
    ExpectFailure("{" + text + "x}");
    ExpectFailure("{{" + text + "}}");
}

TEST(StrToGuidTest, EveryCutFails) {
    const std::string text = kText;
    for (std::size_t length = 0; length < 36; ++length) ExpectFailure(text.substr(0, length));
    const std::string braces = "{" + text + "}";
    for (std::size_t length = 0; length < 38; ++length) ExpectFailure(braces.substr(0, length));
}

TEST(StrToGuidTest, EveryPlaceTakesItsKindOfCharacterAlone) {
    for (std::size_t i = 0; i < 36; ++i) {
        for (const char wrong : {'g', 'G', '/', ':', '@', '`', ' ', '\xB2', '\0'}) {
            std::string text = kText;
            text[i] = wrong;
            ExpectFailure(text);
        }
        std::string text = kText;
        text[i] = text[i] == '-' ? '0' : '-';
        ExpectFailure(text);
    }
}

TEST(StrToGuidTest, LeadingBlanksFail) { ExpectFailure(" " + std::string(kText)); }

TEST(StrToGuidTest, ReadsBackWhatGuidToStrWrites) {
    std::uint64_t state = 0x9E3779B97F4A7C15;
    for (int i = 0; i < 1000; ++i) {
        Guid guid;
        auto* bytes = reinterpret_cast<unsigned char*>(&guid);
        for (std::size_t b = 0; b < sizeof guid; ++b) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            bytes[b] = static_cast<unsigned char>(state >> 56);
        }
        char text[37];
        Zinc::GuidToStr(text, sizeof text, guid);
        EXPECT_TRUE(Zinc::StrToGuid(text) == guid) << text;
    }
}

TEST(GuidTest, EqualityLooksAtEveryByteAndNilIsAllZero) {
    for (std::size_t b = 0; b < sizeof(Guid); ++b) {
        Guid guid{};
        EXPECT_TRUE(Zinc::IsNil(guid));
        reinterpret_cast<unsigned char*>(&guid)[b] = 1;
        EXPECT_FALSE(guid == Guid{});
        EXPECT_FALSE(Zinc::IsNil(guid));
    }
}

}  // namespace
