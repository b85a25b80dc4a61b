// The fast work on short runs of units, against the plain way at every length and place.
#include "zinc/units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Zinc;

template <typename Char>
class UnitsOf : public testing::Test {};
using Widths = testing::Types<char, Platform::WideChar>;
TYPED_TEST_SUITE(UnitsOf, Widths);

// A text at each place of a block, in memory of exactly its size.
template <typename Char, class Check>
void AtEachPlace(const std::basic_string<Char>& text, Check check) {
    for (std::size_t place = 0; place < 16; ++place) {
        const std::size_t size = place + text.size() + 1;
        const auto memory = std::make_unique<Char[]>(size);
        std::fill_n(memory.get(), place, Char('"'));
        std::copy_n(text.c_str(), text.size() + 1, memory.get() + place);
        check(memory.get() + place);
    }
}

template <typename Char>
std::basic_string<Char> Letters(std::size_t length) {
    std::basic_string<Char> text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<Char>('a' + i % 26);
    return text;
}

TYPED_TEST(UnitsOf, LengthIsTheCountUpToTheTerminator) {
    for (std::size_t length = 0; length < 70; ++length)
        AtEachPlace(Letters<TypeParam>(length),
                    [&](const TypeParam* text) { ASSERT_EQ(Units::Length(text), length); });
}

TYPED_TEST(UnitsOf, FindEitherStopsAtTheFirstOfTheTwo) {
    for (std::size_t length = 1; length < 40; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::basic_string<TypeParam> quoted = Letters<TypeParam>(length);
            quoted[at] = '"';
            AtEachPlace(quoted, [&](const TypeParam* text) {
                ASSERT_EQ(Units::FindEither(text, '"', 0) - text, static_cast<std::ptrdiff_t>(at));
            });
        }
        AtEachPlace(Letters<TypeParam>(length), [&](const TypeParam* text) {
            ASSERT_EQ(Units::FindEither(text, '"', 0) - text, static_cast<std::ptrdiff_t>(length));
        });
    }
}

TYPED_TEST(UnitsOf, BeginsWithComparesUpToTheLength) {
    for (std::size_t length = 0; length < 40; ++length) {
        const auto units = Letters<TypeParam>(length);
        AtEachPlace(units, [&](const TypeParam* text) {
            for (std::size_t n = 0; n <= length; ++n)
                ASSERT_TRUE(Units::BeginsWith(text, units.c_str(), n));
        });
        for (std::size_t at = 0; at < length; ++at) {
            auto other = units;
            other[at] = '.';
            AtEachPlace(other, [&](const TypeParam* text) {
                ASSERT_TRUE(Units::BeginsWith(text, units.c_str(), at));
                ASSERT_FALSE(Units::BeginsWith(text, units.c_str(), length));
            });
            AtEachPlace(units.substr(0, at), [&](const TypeParam* text) {
                ASSERT_FALSE(Units::BeginsWith(text, units.c_str(), length));
            });
        }
    }
}

TEST(Units, CopyCopiesEveryLengthAndNothingElse) {
    for (std::size_t length = 0; length < 140; ++length) {
        std::vector<char> source(length), target(length + 2, '#');
        for (std::size_t i = 0; i < length; ++i) source[i] = static_cast<char>(i + 1);
        Units::Copy(target.data() + 1, source.data(), length);
        ASSERT_TRUE(std::equal(source.begin(), source.end(), target.begin() + 1)) << length;
        ASSERT_EQ(target.front(), '#');
        ASSERT_EQ(target.back(), '#');
    }
}

TEST(Units, EqualSeesADifferenceAtEveryPlace) {
    for (std::size_t length = 0; length < 80; ++length) {
        std::vector<char> left(length, 'x');
        std::vector<char> right = left;
        ASSERT_TRUE(Units::Equal(left.data(), right.data(), length));
        for (std::size_t at = 0; at < length; ++at) {
            right[at] = 'y';
            ASSERT_FALSE(Units::Equal(left.data(), right.data(), length)) << length << ' ' << at;
            right[at] = 'x';
        }
    }
}

template <typename From, typename To>
void ExpectAsciiCopied(From beyond) {
    for (std::size_t length = 0; length < 60; ++length) {
        std::basic_string<From> source = Letters<From>(length);
        const auto target = std::make_unique<To[]>(length);
        ASSERT_TRUE(Units::CopyAscii(target.get(), source.data(), length));
        ASSERT_TRUE(Units::IsAscii(source.data(), length));
        ASSERT_TRUE(std::equal(source.begin(), source.end(), target.get()));
        for (std::size_t at = 0; at < length; ++at) {
            source[at] = 0x7F;
            ASSERT_TRUE(Units::CopyAscii(target.get(), source.data(), length));
            source[at] = beyond;
            ASSERT_FALSE(Units::CopyAscii(target.get(), source.data(), length));
            ASSERT_FALSE(Units::IsAscii(source.data(), length));
            source[at] = 'a';
        }
    }
}

TEST(Units, AsciiIsCopiedIntoTheOtherWidthAndAnythingElseTold) {
    ExpectAsciiCopied<char, Platform::WideChar>('\x80');
    ExpectAsciiCopied<char, Platform::WideChar>('\xFF');
    ExpectAsciiCopied<Platform::WideChar, char>(0x80);
    ExpectAsciiCopied<Platform::WideChar, char>(0x4100);
    ExpectAsciiCopied<Platform::WideChar, char>(0xFFFF);
}

}  // namespace
