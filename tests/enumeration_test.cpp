// The enumerations: how many values, which names, in which order.
#include <map>

#include "support/edge_support.h"

namespace edge {
namespace {

class EnumerationTest : public EdgeTest {
  protected:
    // The name of a value, or "-" where it has none.
    static std::string nameOf(uint32_t enumId, int32_t value) {
        TmxEnumValueInfo info{};
        if (!TmxAct_GetEnumValueInfo(&info, enumId, static_cast<uint32_t>(value))) return "-";
        EXPECT_EQ(info.enumId, enumId);
        EXPECT_EQ(info.value, static_cast<uint32_t>(value));
        EXPECT_EQ(WText(info.nameW), widen(info.name));
        return info.name;
    }
};

TEST_F(EnumerationTest, EveryEnumerationHasItsNumberOfValues) {
    const std::map<uint32_t, uint32_t> counts = {
        {5, 2},   {10, 3},  {11, 3},  {12, 2},  {13, 2}, {14, 2},  {15, 4}, {16, 4},  {17, 8},
        {18, 11}, {20, 7},  {21, 22}, {24, 31}, {28, 4}, {29, 4},  {30, 5}, {31, 3},  {32, 3},
        {33, 3},  {34, 5},  {35, 5},  {36, 1},  {37, 3}, {38, 2},  {39, 3}, {40, 17}, {43, 5},
        {45, 9},  {47, 5},  {48, 8},  {49, 4},  {50, 7}, {52, 6},  {54, 9}, {56, 3},  {58, 3},
        {59, 3},  {60, 1},  {61, 3},  {62, 4},  {63, 3}, {64, 2},  {65, 4}, {66, 4},  {68, 4},
        {70, 12}, {72, 2},  {73, 3},  {74, 7},  {75, 4}, {77, 5},  {78, 5}, {79, 2},  {80, 2},
        {81, 3},  {82, 2},  {83, 2},  {84, 8},  {85, 4}, {86, 3},  {87, 2}, {88, 6},  {89, 2},
        {90, 2},  {91, 10}, {93, 2},  {94, 3},  {95, 5}, {96, 28}, {97, 6}, {98, 7},  {99, 169}};
    ASSERT_EQ(counts.size(), 72u);
    for (uint32_t id = 0; id < 200; ++id) {
        const auto found = counts.find(id);
        EXPECT_EQ(TmxAct_GetNumberOfEnumValues(id), found == counts.end() ? 0u : found->second)
            << id;
    }
    EXPECT_EQ(TmxAct_GetNumberOfEnumValues(TMX_NONE), 552u);
}

TEST_F(EnumerationTest, BoolsAreFalseThenTrue) {
    EXPECT_EQ(TmxAct_GetNumberOfEnumValues(5), 2u);
    TmxEnumValueInfo infos[3];
    std::memset(infos, 0x5A, sizeof infos);
    ASSERT_EQ(TmxAct_EnumerateEnumValues(infos, 3, 5), 2u);
    EXPECT_EQ(infos[0].value, 0u);
    EXPECT_STREQ(infos[0].name, "False");
    EXPECT_EQ(infos[1].value, 1u);
    EXPECT_STREQ(infos[1].name, "True");
    EXPECT_EQ(infos[2].value, 0x5A5A5A5Au);
}

TEST_F(EnumerationTest, ARecordLeavesItsReservedWordAlone) {
    TmxEnumValueInfo info;
    std::memset(&info, 0x5A, sizeof info);
    ASSERT_TRUE(TmxAct_GetEnumValueInfo(&info, 5, 1));
    EXPECT_EQ(info.enumId, 5u);
    EXPECT_EQ(info.value, 1u);
    EXPECT_EQ(info.reserved, 0x5A5A5A5A5A5A5A5Au);
    TmxEnumValueInfo row[1];
    std::memset(row, 0x5A, sizeof row);
    ASSERT_EQ(TmxAct_EnumerateEnumValues(row, 1, 5), 1u);
    EXPECT_EQ(row[0].reserved, 0x5A5A5A5A5A5A5A5Au);
}

TEST_F(EnumerationTest, AValueWithoutANameIsAnsweredFalse) {
    TmxEnumValueInfo info;
    TmxEnumValueInfo before;
    std::memset(&info, 0x5A, sizeof info);
    std::memcpy(&before, &info, sizeof info);
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, 5, 2));
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, 40, 15));
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, 40, 16));
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, 19, 0));
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, TMX_NONE, 0));
    EXPECT_FALSE(TmxAct_GetEnumValueInfo(&info, 5, 0xFFFFFFFFu));
    EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

TEST_F(EnumerationTest, AnIdWithoutValuesEnumeratesNothing) {
    TmxEnumValueInfo info;
    EXPECT_EQ(TmxAct_GetNumberOfEnumValues(19), 0u);
    EXPECT_EQ(TmxAct_EnumerateEnumValues(&info, 1, 19), 0u);
}

TEST_F(EnumerationTest, SafebagStepIDHasTheOneValueOpen) {
    EXPECT_EQ(TmxAct_GetNumberOfEnumValues(36), 1u);
    EXPECT_EQ(nameOf(36, 0), "Open");
}

TEST_F(EnumerationTest, RestOfTimeIsAValueThatNoParameterUses) {
    EXPECT_EQ(TmxAct_GetNumberOfEnumValues(60), 1u);
    EXPECT_EQ(nameOf(60, 0), "RestOfTime");
    for (uint32_t index = 0; index < 353; ++index) {
        TmxParameterInfo infos[25];
        const uint32_t count =
            TmxAct_EnumerateActionParameters(infos, 25, TmxAct_GetActionCodeByIndex(index));
        for (uint32_t i = 0; i < count; ++i) EXPECT_NE(infos[i].type, 60u);
    }
}

TEST_F(EnumerationTest, TheGapsOfLEDHaveNoNameAndAreCarried) {
    EXPECT_EQ(nameOf(17, 3), "Yellow");
    for (int32_t value = 4; value <= 8; ++value) EXPECT_EQ(nameOf(17, value), "-");
    EXPECT_EQ(nameOf(17, 9), "BRD43a1");
    EXPECT_EQ(rewritten("SetLED (6, 1)"), "SetLED (6, 1)");
}

TEST_F(EnumerationTest, SpellingsStandAsTheyAre) {
    EXPECT_EQ(nameOf(37, 1), "Outcoming");
    EXPECT_EQ(nameOf(24, 78), "IODuplcatedAddress");
    EXPECT_EQ(nameOf(95, 1), "lUnknown");
    EXPECT_EQ(nameOf(98, 1), "IncommingCall");
    EXPECT_EQ(nameOf(98, 3), "ConectionLost");
    EXPECT_EQ(nameOf(99, 847), "AccessGrantedGenral");
    EXPECT_EQ(nameOf(20, 2), "User1InvalPwd");
}

TEST_F(EnumerationTest, VMDCycleNamesBeginWithDigits) {
    EXPECT_EQ(nameOf(35, 0), "40ms");
    EXPECT_EQ(nameOf(35, 1), "160ms");
    EXPECT_EQ(nameOf(35, 2), "640ms");
    EXPECT_EQ(nameOf(35, 3), "2_5s");
    EXPECT_EQ(nameOf(35, 4), "10s");
}

TEST_F(EnumerationTest, PlayModeSkipsFifteenAndSixteen) {
    EXPECT_EQ(nameOf(40, 0), "UnknownMode");
    EXPECT_EQ(nameOf(40, 2), "PlayForward");
    EXPECT_EQ(nameOf(40, 6), "PlayStepForward");
    EXPECT_EQ(nameOf(40, 14), "PeekLivePicture");
    EXPECT_EQ(nameOf(40, 15), "-");
    EXPECT_EQ(nameOf(40, 17), "PlayNextMOS");
    EXPECT_EQ(nameOf(40, 18), "PlayPrevMOS");
}

TEST_F(EnumerationTest, ANameMeansNothingAcrossEnumerations) {
    EXPECT_EQ(nameOf(24, 3), "ConnectionLost");
    EXPECT_EQ(nameOf(49, 4), "ConnectionLost");
    EXPECT_EQ(nameOf(65, 4), "ConnectionLost");
    EXPECT_EQ(nameOf(81, 0), "In");
    EXPECT_EQ(nameOf(86, 1), "In");
    EXPECT_EQ(nameOf(94, 0), "High");
    EXPECT_EQ(nameOf(10, 2), "High");
    EXPECT_EQ(nameOf(50, 5), "Default");
    EXPECT_EQ(nameOf(43, 0), "Default");
}

TEST_F(EnumerationTest, SomeBeginAtOneAndSomeHaveLargeValues) {
    EXPECT_EQ(nameOf(66, 0), "-");
    EXPECT_EQ(nameOf(66, 1), "Ticket");
    EXPECT_EQ(nameOf(34, 4), "-");
    EXPECT_EQ(nameOf(34, 256), "Reporter1");
    EXPECT_EQ(nameOf(99, 0), "-");
    EXPECT_EQ(nameOf(99, 1), "AccessGranted");
    EXPECT_EQ(nameOf(99, 2289), "AccessDeniedSpecial");
    EXPECT_EQ(nameOf(96, 13), "-");
    EXPECT_EQ(nameOf(96, 32), "PortableProgrammer");
}

TEST_F(EnumerationTest, ValuesComeAscendingByIdThenByValue) {
    std::vector<TmxEnumValueInfo> infos(600);
    const uint32_t count = TmxAct_EnumerateEnumValues(infos.data(), 600, TMX_NONE);
    ASSERT_EQ(count, 552u);
    for (uint32_t i = 0; i + 1 < count; ++i) {
        const auto key = [&](uint32_t place) {
            return std::pair(infos[place].enumId, static_cast<int32_t>(infos[place].value));
        };
        EXPECT_LT(key(i), key(i + 1));
    }
    EXPECT_EQ(infos[0].enumId, 5u);
    EXPECT_EQ(infos[551].enumId, 99u);
    EXPECT_STREQ(infos[551].name, "AccessDeniedSpecial");
}

TEST_F(EnumerationTest, TheEnumerationEndsAtTheCapacity) {
    TmxEnumValueInfo infos[3];
    std::memset(infos, 0x5A, sizeof infos);
    EXPECT_EQ(TmxAct_EnumerateEnumValues(infos, 2, 40), 2u);
    EXPECT_STREQ(infos[0].name, "UnknownMode");
    EXPECT_STREQ(infos[1].name, "PlayStop");
    EXPECT_EQ(infos[2].value, 0x5A5A5A5Au);
    EXPECT_EQ(TmxAct_EnumerateEnumValues(infos, 3, TMX_NONE), 3u);
    EXPECT_EQ(infos[2].enumId, 10u);
    EXPECT_STREQ(infos[2].name, "Low");
}

}  // namespace
}  // namespace edge
