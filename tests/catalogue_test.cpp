// Queries on the catalogue: actions, classes and parameters by code, by name and in a row.
#include <set>

#include "support/edge_support.h"

namespace edge {
namespace {

class CatalogueTest : public EdgeTest {};

std::string lowered(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

template <typename Record>
bool untouched(const Record& record, int pattern) {
    Record expected;
    std::memset(static_cast<void*>(&expected), pattern, sizeof expected);
    return std::memcmp(&record, &expected, sizeof expected) == 0;
}

template <typename Record>
Record patterned(int pattern) {
    Record record;
    std::memset(static_cast<void*>(&record), pattern, sizeof record);
    return record;
}

TEST_F(CatalogueTest, ItHas353ActionsIn20Classes) {
    EXPECT_EQ(TmxAct_GetNumberOfActions(), 353u);
    EXPECT_EQ(TmxAct_GetNumberOfActionClasses(), 20u);
}

TEST_F(CatalogueTest, NamesAreFoundWithoutRegardToCase) {
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CameraOn"), 122u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("cameraON"), 122u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("cameraon"), 122u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CAMERAON"), 122u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"cAMERAoN").c_str()), 122u);
}

TEST_F(CatalogueTest, NamesMustBeWhole) {
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CameraOn "), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA(" CameraOn"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CameraO"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CameraOnn"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA(""), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"CameraOn ").c_str()), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"").c_str()), TMX_NONE);
}

TEST_F(CatalogueTest, OnlyAsciiLettersFold) {
    // The Kelvin sign and the long s fold to ASCII letters elsewhere.
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("KeyPressed"), 35u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"\u212AeyPressed").c_str()), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"Key\u0050res\u017Fed").c_str()), TMX_NONE);
    // A wide unit is not cut to its low byte.
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"\u014BeyPressed").c_str()), TMX_NONE);
}

TEST_F(CatalogueTest, PseudoRecordsHaveNoName) {
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("--unknown--"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("GeneralEventInfo"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("Comment"), TMX_NONE);
}

TEST_F(CatalogueTest, ClassesAreFoundByName) {
    EXPECT_EQ(TmxAct_GetActionClassByNameW(W(u"Video").c_str()), 1u);
    EXPECT_EQ(TmxAct_GetActionClassByNameA("system"), 0u);
    EXPECT_EQ(TmxAct_GetActionClassByNameA("SMS"), 22u);
    EXPECT_EQ(TmxAct_GetActionClassByNameW(W(u"viewernotification").c_str()), 10u);
    EXPECT_EQ(TmxAct_GetActionClassByNameA("Vide"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionClassByNameA("Video "), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionClassByNameA(""), TMX_NONE);
}

TEST_F(CatalogueTest, IndexesRunFromABCConnectTo352) {
    EXPECT_EQ(TmxAct_GetActionCodeByIndex(0), 21u);
    EXPECT_EQ(TmxAct_GetInternalIndexByCode(21), 0u);
    EXPECT_NE(TmxAct_GetActionCodeByIndex(352), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByIndex(353), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByIndex(0xFFFFFFFFu), TMX_NONE);
    for (uint32_t index = 0; index < 353; ++index) {
        EXPECT_EQ(TmxAct_GetInternalIndexByCode(TmxAct_GetActionCodeByIndex(index)), index);
    }
}

TEST_F(CatalogueTest, TheIndexFollowsTheNameAndNotTheCode) {
    std::vector<TmxActionInfo> infos(353);
    ASSERT_EQ(TmxAct_EnumerateActions(infos.data(), 353), 353u);
    for (std::size_t i = 0; i + 1 < infos.size(); ++i) {
        EXPECT_LT(lowered(infos[i].name), lowered(infos[i + 1].name));
    }
    for (uint32_t i = 0; i < 353; ++i) {
        EXPECT_EQ(TmxAct_GetActionCodeByIndex(i), infos[i].code);
    }
}

TEST_F(CatalogueTest, CodesAreUniqueWithin1To647And294AreUnused) {
    std::set<uint32_t> codes;
    for (uint32_t index = 0; index < 353; ++index) codes.insert(TmxAct_GetActionCodeByIndex(index));
    EXPECT_EQ(codes.size(), 353u);
    EXPECT_EQ(*codes.begin(), 1u);
    EXPECT_EQ(*codes.rbegin(), 647u);
    uint32_t unused = 0;
    for (uint32_t code = 1; code <= 647; ++code) {
        if (codes.count(code) != 0) continue;
        ++unused;
        EXPECT_EQ(TmxAct_GetInternalIndexByCode(code), TMX_NONE) << code;
        EXPECT_EQ(TmxAct_GetNumberOfActionParameters(code), 0u) << code;
    }
    EXPECT_EQ(unused, 294u);
}

TEST_F(CatalogueTest, AnUnknownCodeIsAnsweredAsTold) {
    for (const uint32_t code : {0u, 18u, 648u, 0x7ffffffeu, 0x7fffffffu, 0xFFFFFFFFu}) {
        TmxActionInfo info = patterned<TmxActionInfo>(0x5A);
        EXPECT_FALSE(TmxAct_GetActionInfo(&info, code)) << code;
        EXPECT_TRUE(untouched(info, 0x5A)) << code;
        TmxParameterInfo parameter = patterned<TmxParameterInfo>(0x5A);
        EXPECT_FALSE(TmxAct_GetActionParameterInfo(&parameter, code, 0)) << code;
        EXPECT_TRUE(untouched(parameter, 0x5A)) << code;
        EXPECT_EQ(TmxAct_EnumerateActionParameters(&parameter, 1, code), 0u) << code;
        EXPECT_TRUE(untouched(parameter, 0x5A)) << code;
        EXPECT_EQ(TmxAct_GetNumberOfActionParameters(code), 0u) << code;
        EXPECT_EQ(TmxAct_GetInternalIndexByCode(code), TMX_NONE) << code;
    }
}

TEST_F(CatalogueTest, TheRecordOfCameraOn) {
    TmxActionInfo info = patterned<TmxActionInfo>(0x5A);
    ASSERT_TRUE(TmxAct_GetActionInfo(&info, 122));
    EXPECT_EQ(info.classId, 3u);
    EXPECT_EQ(info.code, 122u);
    EXPECT_EQ(info.reserved, 0u);
    EXPECT_EQ(info.parameterCount, 1u);
    EXPECT_STREQ(info.name, "CameraOn");
    EXPECT_EQ(WText(info.nameW), W(u"CameraOn"));
}

TEST_F(CatalogueTest, TheParameterOfCameraOn) {
    TmxParameterInfo info = patterned<TmxParameterInfo>(0x5A);
    EXPECT_FALSE(TmxAct_GetActionParameterInfo(&info, 122, 1));
    EXPECT_TRUE(untouched(info, 0x5A));
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 122, 0));
    EXPECT_EQ(info.type, 8u);
    EXPECT_EQ(info.kind, 8u);
    EXPECT_EQ(info.extra, 0u);
    EXPECT_EQ(info.count, 0x5A5A5A5Au);
    EXPECT_STREQ(info.name, "Camera");
    EXPECT_EQ(WText(info.nameW), W(u"Camera"));
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(122), 1u);
}

TEST_F(CatalogueTest, TheTypeOfAnEnumerationParameterIsTheIdOfTheEnumeration) {
    TmxParameterInfo info{};
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 201, 2));
    EXPECT_STREQ(info.name, "PlayMode");
    EXPECT_EQ(info.type, 40u);
    EXPECT_EQ(info.kind, 0u);
}

TEST_F(CatalogueTest, AParameterIndexIsComparedAsAnUnsignedNumber) {
    TmxParameterInfo info = patterned<TmxParameterInfo>(0x5A);
    EXPECT_FALSE(TmxAct_GetActionParameterInfo(&info, 122, 0xFFFFFFFFu));
    EXPECT_FALSE(TmxAct_GetActionParameterInfo(&info, 122, 0x7FFFFFFFu));
    EXPECT_TRUE(untouched(info, 0x5A));
}

TEST_F(CatalogueTest, ParametersComeInTheirOrder) {
    TmxParameterInfo infos[4];
    std::memset(infos, 0x5A, sizeof infos);
    EXPECT_EQ(TmxAct_EnumerateActionParameters(infos, 4, 201), 3u);
    EXPECT_STREQ(infos[0].name, "Viewer");
    EXPECT_STREQ(infos[1].name, "Channel");
    EXPECT_STREQ(infos[2].name, "PlayMode");
    EXPECT_EQ(infos[0].count, 0x5A5A5A5Au);
    EXPECT_TRUE(untouched(infos[3], 0x5A));
}

TEST_F(CatalogueTest, AnEnumerationStopsAtTheCapacity) {
    TmxParameterInfo parameters[3];
    std::memset(parameters, 0x5A, sizeof parameters);
    EXPECT_EQ(TmxAct_EnumerateActionParameters(parameters, 2, 201), 2u);
    EXPECT_TRUE(untouched(parameters[2], 0x5A));

    TmxActionInfo actions[3];
    std::memset(actions, 0x5A, sizeof actions);
    EXPECT_EQ(TmxAct_EnumerateActions(actions, 2), 2u);
    EXPECT_STREQ(actions[0].name, "ABCConnect");
    EXPECT_STREQ(actions[1].name, "ABCDisconnect");
    EXPECT_TRUE(untouched(actions[2], 0x5A));

    TmxActionClassInfo classes[2];
    std::memset(classes, 0x5A, sizeof classes);
    EXPECT_EQ(TmxAct_EnumerateActionClasses(classes, 1), 1u);
    EXPECT_STREQ(classes[0].name, "System");
    EXPECT_TRUE(untouched(classes[1], 0x5A));
}

TEST_F(CatalogueTest, ACapacityOfZeroWritesNothing) {
    EXPECT_EQ(TmxAct_EnumerateActions(nullptr, 0), 0u);
    EXPECT_EQ(TmxAct_EnumerateActionClasses(nullptr, 0), 0u);
    EXPECT_EQ(TmxAct_EnumerateActionParameters(nullptr, 0, 201), 0u);
    EXPECT_EQ(TmxAct_EnumerateEnumValues(nullptr, 0, TMX_NONE), 0u);
    EXPECT_EQ(TmxAct_EnumerateEventFields(nullptr, 0), 0u);
}

TEST_F(CatalogueTest, ALargerCapacityGivesWhatThereIs) {
    std::vector<TmxActionInfo> actions(400);
    EXPECT_EQ(TmxAct_EnumerateActions(actions.data(), 400), 353u);
    std::vector<TmxActionClassInfo> classes(40);
    EXPECT_EQ(TmxAct_EnumerateActionClasses(classes.data(), 40), 20u);
}

TEST_F(CatalogueTest, ClassesHaveTheirIdsNamesAndNumbersOfActions) {
    struct Row {
        uint32_t id;
        const char* name;
        int actions;
    };
    const Row rows[] = {
        {0, "System", 41},
        {1, "Video", 55},
        {2, "Audio", 4},
        {3, "CameraControl", 66},
        {4, "DigitalContacts", 18},
        {5, "Device", 6},
        {6, "ATM", 7},
        {7, "Backup", 19},
        {8, "CashManagement", 6},
        {9, "Viewer", 34},
        {10, "ViewerNotification", 9},
        {11, "POS", 8},
        {12, "RemoteExport", 7},
        {13, "SkiData", 5},
        {14, "LPS", 2},
        {15, "Logistic", 8},
        {16, "Lenel", 36},
        {17, "Picsave", 6},
        {18, "PP", 10},
        {22, "SMS", 6},
    };
    std::vector<TmxActionInfo> actions(353);
    ASSERT_EQ(TmxAct_EnumerateActions(actions.data(), 353), 353u);
    std::vector<TmxActionClassInfo> classes(20);
    ASSERT_EQ(TmxAct_EnumerateActionClasses(classes.data(), 20), 20u);
    std::size_t place = 0;
    for (const Row& row : rows) {
        EXPECT_EQ(classes[place].classId, row.id);
        EXPECT_STREQ(classes[place].name, row.name);
        EXPECT_EQ(std::count_if(actions.begin(), actions.end(),
                                [&](const TmxActionInfo& a) { return a.classId == row.id; }),
                  row.actions)
            << row.name;
        EXPECT_EQ(TmxAct_GetActionClassByNameA(row.name), row.id);
        ++place;
    }
}

TEST_F(CatalogueTest, AClassRecordLeavesItsGapsAlone) {
    TmxActionClassInfo info = patterned<TmxActionClassInfo>(0x5A);
    ASSERT_TRUE(TmxAct_GetActionClassInfo(&info, 3));
    EXPECT_EQ(info.classId, 3u);
    EXPECT_EQ(info.padding, 0x5A5A5A5Au);
    EXPECT_EQ(info.reserved, 0x5A5A5A5A5A5A5A5Au);
    EXPECT_STREQ(info.name, "CameraControl");
    EXPECT_EQ(WText(info.nameW), W(u"CameraControl"));
    TmxActionClassInfo row[1];
    std::memset(row, 0x5A, sizeof row);
    EXPECT_EQ(TmxAct_EnumerateActionClasses(row, 1), 1u);
    EXPECT_EQ(row[0].padding, 0x5A5A5A5Au);
    EXPECT_EQ(row[0].reserved, 0x5A5A5A5A5A5A5A5Au);
}

TEST_F(CatalogueTest, IdsWithoutAClassAreUnknown) {
    for (const uint32_t id : {19u, 20u, 21u, 23u, 0x7fffffffu}) {
        TmxActionClassInfo info = patterned<TmxActionClassInfo>(0x5A);
        EXPECT_FALSE(TmxAct_GetActionClassInfo(&info, id)) << id;
        EXPECT_TRUE(untouched(info, 0x5A)) << id;
    }
}

TEST_F(CatalogueTest, ExtraIsZeroInAllButSevenParameters) {
    struct Row {
        uint32_t code;
        const char* parameter;
        uint32_t extra;
    };
    const Row rows[] = {{42, "Channel", 1},   {43, "Channel", 1},  {44, "Channel", 1},
                        {90, "Channel", 1},   {534, "Channel", 1}, {536, "Channel", 1},
                        {92, "TmxNetName", 3}};
    std::size_t found = 0;
    for (uint32_t index = 0; index < 353; ++index) {
        const uint32_t code = TmxAct_GetActionCodeByIndex(index);
        TmxParameterInfo infos[25];
        const uint32_t count = TmxAct_EnumerateActionParameters(infos, 25, code);
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t expected = 0;
            for (const Row& row : rows) {
                if (row.code == code && std::string(row.parameter) == infos[i].name) {
                    expected = row.extra;
                    ++found;
                }
            }
            EXPECT_EQ(infos[i].extra, expected) << code << ' ' << infos[i].name;
        }
    }
    EXPECT_EQ(found, std::size(rows));
}

TEST_F(CatalogueTest, NoParameterHasTheUnusedKindAndNoEnumerationHasAKind) {
    for (uint32_t index = 0; index < 353; ++index) {
        const uint32_t code = TmxAct_GetActionCodeByIndex(index);
        TmxParameterInfo infos[25];
        const uint32_t count = TmxAct_EnumerateActionParameters(infos, 25, code);
        EXPECT_LE(count, 22u);
        for (uint32_t i = 0; i < count; ++i) {
            EXPECT_NE(infos[i].kind, 12u) << code;
            EXPECT_LE(infos[i].kind, 25u) << code;
            if (infos[i].type >= 10 && infos[i].type <= 99) {
                EXPECT_EQ(infos[i].kind, 0u) << code << ' ' << infos[i].name;
            }
        }
    }
}

TEST_F(CatalogueTest, TheLongestParameterListsAreThoseOfLenelAccessEventAndVideoResult) {
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(502), 22u);
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(623), 20u);
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(22), 0u);
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(514), 0u);
}

TEST_F(CatalogueTest, SpellingsStandAsTheyAre) {
    TmxParameterInfo info{};
    for (const uint32_t code : {431u, 432u, 433u}) {
        ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, code, 2));
        EXPECT_STREQ(info.name, "TranscactionID");
    }
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 352, 5));
    EXPECT_STREQ(info.name, "BancCode");
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 150, 1));
    EXPECT_STREQ(info.name, "Modus");
}

TEST_F(CatalogueTest, VideoResultHasTheOnlyDataSet) {
    uint32_t found = 0;
    for (uint32_t index = 0; index < 353; ++index) {
        const uint32_t code = TmxAct_GetActionCodeByIndex(index);
        TmxParameterInfo infos[25];
        const uint32_t count = TmxAct_EnumerateActionParameters(infos, 25, code);
        for (uint32_t i = 0; i < count; ++i) {
            if (infos[i].type != 102) continue;
            ++found;
            EXPECT_EQ(code, 623u);
            EXPECT_STREQ(infos[i].name, "ResultDataSet");
        }
    }
    EXPECT_EQ(found, 1u);
}

TEST_F(CatalogueTest, TheEventRecordHasFourteenFields) {
    struct Row {
        const char* name;
        uint32_t type;
    };
    const Row rows[] = {{"Int64FieldA", 1},    {"Int64FieldB", 1},   {"Int64FieldC", 1},
                        {"Int64FieldD", 1},    {"Int32FieldA", 0},   {"Int32FieldB", 0},
                        {"Int32FieldC", 0},    {"Int32FieldD", 0},   {"StringFieldA", 4},
                        {"StringFieldB", 4},   {"DateFieldA", 2},    {"DateFieldB", 2},
                        {"DoubleFieldA", 100}, {"DoubleFieldB", 100}};
    ASSERT_EQ(std::size(rows), 14u);
    TmxParameterInfo all[15];
    std::memset(all, 0x5A, sizeof all);
    ASSERT_EQ(TmxAct_EnumerateEventFields(all, 15), 14u);
    EXPECT_TRUE(untouched(all[14], 0x5A));
    for (uint32_t i = 0; i < 14; ++i) {
        TmxParameterInfo info = patterned<TmxParameterInfo>(0x5A);
        ASSERT_TRUE(TmxAct_GetEventFieldInfo(&info, i));
        EXPECT_STREQ(info.name, rows[i].name);
        EXPECT_EQ(WText(info.nameW), widen(rows[i].name));
        EXPECT_EQ(info.type, rows[i].type);
        EXPECT_EQ(info.kind, 0u);
        EXPECT_EQ(info.extra, 0u);
        EXPECT_EQ(info.count, 0x5A5A5A5Au);
        EXPECT_EQ(std::memcmp(&info, &all[i], sizeof info), 0);
    }
}

TEST_F(CatalogueTest, EventFieldsEndAtIndexThirteen) {
    TmxParameterInfo info = patterned<TmxParameterInfo>(0x5A);
    EXPECT_FALSE(TmxAct_GetEventFieldInfo(&info, 14));
    EXPECT_FALSE(TmxAct_GetEventFieldInfo(&info, 0xFFFFFFFFu));
    EXPECT_TRUE(untouched(info, 0x5A));
    TmxParameterInfo few[3];
    std::memset(few, 0x5A, sizeof few);
    EXPECT_EQ(TmxAct_EnumerateEventFields(few, 2), 2u);
    EXPECT_STREQ(few[1].name, "Int64FieldB");
    EXPECT_TRUE(untouched(few[2], 0x5A));
}

TEST_F(CatalogueTest, TheEventRecordItselfHasNeitherClassNorCode) {
    TmxActionInfo info = patterned<TmxActionInfo>(0x5A);
    ASSERT_TRUE(TmxAct_GetEventDescriptionInfo(&info));
    EXPECT_EQ(info.classId, 0x7fffffffu);
    EXPECT_EQ(info.code, 0x7fffffffu);
    EXPECT_EQ(info.reserved, 0u);
    EXPECT_EQ(info.parameterCount, 14u);
    EXPECT_STREQ(info.name, "GeneralEventInfo");
    EXPECT_EQ(WText(info.nameW), W(u"GeneralEventInfo"));
}

TEST_F(CatalogueTest, TheDescriptionOfTemplatesIsCalledComment) {
    TmxParameterInfo info = patterned<TmxParameterInfo>(0x5A);
    ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&info));
    EXPECT_EQ(info.type, 4u);
    EXPECT_EQ(info.kind, 0u);
    EXPECT_EQ(info.extra, 0u);
    EXPECT_STREQ(info.name, "Comment");
    EXPECT_EQ(WText(info.nameW), W(u"Comment"));
}

TEST_F(CatalogueTest, RecordsOfTheSameItemShareTheirTexts) {
    TmxActionInfo a{};
    TmxActionInfo b{};
    ASSERT_TRUE(TmxAct_GetActionInfo(&a, 21));
    ASSERT_EQ(TmxAct_EnumerateActions(&b, 1), 1u);
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.nameW, b.nameW);
    EXPECT_EQ(a.plainNameU8, b.plainNameU8);
}

}  // namespace
}  // namespace edge
