// The typed functions: null and empty texts, absent parameters, copies, and wrong decodes.
#include <limits>

#include "support/edge_support.h"

namespace edge {
namespace {

class TypedTest : public EdgeTest {};

constexpr char kLong[] = "a text that is longer than short strings are kept";
constexpr char16_t kLongW[] = u"a text that is longer than short strings are kept";

TEST_F(TypedTest, ANullRequiredWideTextIsEmpty) {
    const Handle handle(TmxAct_CreateABCConnect(nullptr));
    const TmxWChar* address = nullptr;
    EXPECT_TRUE(TmxAct_DecodeABCConnect(handle.get(), &address));
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(WText(address), WText());
    EXPECT_EQ(machine(handle), "ABCConnect (\"\")");
}

TEST_F(TypedTest, ANullRequiredNarrowTextIsEmpty) {
    const Handle handle(TmxAct_CreateDeviceFound(nullptr, nullptr, "s"));
    const char* type = nullptr;
    const char* name = nullptr;
    const char* serial = nullptr;
    EXPECT_TRUE(TmxAct_DecodeDeviceFound(handle.get(), &type, &name, &serial));
    ASSERT_NE(type, nullptr);
    EXPECT_STREQ(type, "");
    EXPECT_STREQ(name, "");
    EXPECT_STREQ(serial, "s");
}

TEST_F(TypedTest, ANullOptionalTextIsAbsent) {
    const Handle handle(TmxAct_CreateLPSQueryPosition(7, nullptr, nullptr));
    int32_t tag = 0;
    const WText other = W(u"before");
    const TmxWChar* scanner = other.c_str();
    const TmxWChar* data = other.c_str();
    EXPECT_TRUE(TmxAct_DecodeLPSQueryPosition(handle.get(), &tag, &scanner, &data));
    EXPECT_EQ(tag, 7);
    EXPECT_EQ(scanner, nullptr);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(machine(handle), "LPSQueryPosition (7)");
}

TEST_F(TypedTest, AnEmptyOptionalTextIsPresentAndEmpty) {
    const WText blank;
    const Handle handle(TmxAct_CreateLPSQueryPosition(7, blank.c_str(), nullptr));
    int32_t tag = 0;
    const TmxWChar* scanner = nullptr;
    const TmxWChar* data = nullptr;
    EXPECT_TRUE(TmxAct_DecodeLPSQueryPosition(handle.get(), &tag, &scanner, &data));
    ASSERT_NE(scanner, nullptr);
    EXPECT_EQ(WText(scanner), WText());
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(machine(handle), "LPSQueryPosition (7, ScannerID: \"\")");
}

TEST_F(TypedTest, AnOptionalNarrowTextFollowsTheSameRule) {
    const Handle absent(TmxAct_CreateSystemInfo(1, 2, nullptr, nullptr));
    const Handle empty(TmxAct_CreateSystemInfo(1, 2, nullptr, ""));
    int32_t source = 0;
    int32_t message = 0;
    const TmxWChar* description = nullptr;
    const char* xml = "before";
    EXPECT_TRUE(TmxAct_DecodeSystemInfo(absent.get(), &source, &message, &description, &xml));
    EXPECT_EQ(xml, nullptr);
    EXPECT_TRUE(TmxAct_DecodeSystemInfo(empty.get(), &source, &message, &description, &xml));
    ASSERT_NE(xml, nullptr);
    EXPECT_STREQ(xml, "");
    EXPECT_EQ(machine(empty), "SystemInfo (1, 2, XMLInfo: \"\")");
}

TEST_F(TypedTest, AFlatObjectRefWithANullNameDecodesToAnEmptyText) {
    const TmxObjectRef camera = ref(3, 4);
    const Handle handle(TmxAct_CreateCameraOn(&camera));
    TmxObjectRef out = ref(0, 0);
    EXPECT_TRUE(TmxAct_DecodeCameraOn(handle.get(), &out));
    EXPECT_EQ(out.id, 3);
    EXPECT_EQ(out.number, 4);
    ASSERT_NE(out.name, nullptr);
    EXPECT_EQ(WText(out.name), WText());
}

TEST_F(TypedTest, AFlatGuidRefWithANullNameDecodesToAnEmptyText) {
    const TmxGuidRef schedule{countingGuid(), nullptr, 9};
    const Handle handle(TmxAct_CreateStartAutoBackup(&schedule));
    TmxGuidRef out{};
    EXPECT_TRUE(TmxAct_DecodeStartAutoBackup(handle.get(), &out));
    EXPECT_TRUE(sameGuid(out.guid, countingGuid()));
    ASSERT_NE(out.name, nullptr);
    EXPECT_EQ(WText(out.name), WText());
    EXPECT_EQ(out.reserved, 9u);
}

TEST_F(TypedTest, TextsAreCopiedIntoTheObject) {
    WText text = W(kLongW);
    const Handle handle(TmxAct_CreateABCConnect(text.c_str()));
    text[0] = TmxWChar{'X'};
    const TmxWChar* address = nullptr;
    EXPECT_TRUE(TmxAct_DecodeABCConnect(handle.get(), &address));
    EXPECT_NE(address, text.c_str());
    EXPECT_EQ(WText(address), W(kLongW));
    const TmxWChar* again = nullptr;
    EXPECT_TRUE(TmxAct_DecodeABCConnect(handle.get(), &again));
    EXPECT_EQ(again, address);
}

TEST_F(TypedTest, NarrowTextsAreCopiedByteForByte) {
    const Handle handle(TmxAct_CreateDeviceFound(kLong, "\xE4\x81\xFF", ""));
    const char* type = nullptr;
    const char* name = nullptr;
    const char* serial = nullptr;
    EXPECT_TRUE(TmxAct_DecodeDeviceFound(handle.get(), &type, &name, &serial));
    EXPECT_STREQ(type, kLong);
    EXPECT_NE(type, kLong);
    EXPECT_STREQ(name, "\xE4\x81\xFF");
}

TEST_F(TypedTest, ADecodeOfAnotherActionLeavesAllOutArgumentsAlone) {
    const TmxObjectRef camera = ref(0, 5);
    const Handle handle(TmxAct_CreateCameraOn(&camera));
    TmxObjectRef viewer = ref(1, 2);
    TmxObjectRef channel = ref(3, 4);
    int32_t mode = 99;
    EXPECT_FALSE(TmxAct_DecodeViewerConnect(handle.get(), &viewer, &channel, &mode));
    EXPECT_EQ(lastError(), wrongDecode());
    EXPECT_EQ(viewer.id, 1);
    EXPECT_EQ(viewer.number, 2);
    EXPECT_EQ(channel.id, 3);
    EXPECT_EQ(channel.number, 4);
    EXPECT_EQ(mode, 99);
}

TEST_F(TypedTest, AnEnumerationValueWithoutANameIsCarried) {
    const TmxObjectRef viewer = ref(0, 1);
    const TmxObjectRef channel = ref(0, 5);
    const Handle handle(TmxAct_CreateViewerConnect(&viewer, &channel, 9999));
    TmxObjectRef a;
    TmxObjectRef b;
    int32_t mode = 0;
    EXPECT_TRUE(TmxAct_DecodeViewerConnect(handle.get(), &a, &b, &mode));
    EXPECT_EQ(mode, 9999);
    EXPECT_EQ(machine(handle), "ViewerConnect (1, 5, 9999)");
}

TEST_F(TypedTest, ViewerConnectGivesItsTwoReferencesAndItsMode) {
    const WText name = W(kLongW);
    const TmxObjectRef viewer = ref(1, 2, name.c_str());
    const TmxObjectRef channel = ref(-1, -2);
    const Handle handle(TmxAct_CreateViewerConnect(&viewer, &channel, -3));
    TmxObjectRef a;
    TmxObjectRef b;
    int32_t mode = 0;
    EXPECT_TRUE(TmxAct_DecodeViewerConnect(handle.get(), &a, &b, &mode));
    EXPECT_EQ(a.id, 1);
    EXPECT_EQ(a.number, 2);
    EXPECT_EQ(WText(a.name), name);
    EXPECT_EQ(b.id, -1);
    EXPECT_EQ(b.number, -2);
    EXPECT_EQ(mode, -3);
}

TEST_F(TypedTest, ANamedIdKeepsTheNumberThatNothingLooksAt) {
    const WText name = W(u"Main");
    const TmxObjectRef type = ref(17, 33, name.c_str());
    const Handle handle(TmxAct_CreateStopEvent(&type));
    TmxObjectRef out;
    EXPECT_TRUE(TmxAct_DecodeStopEvent(handle.get(), &out));
    EXPECT_EQ(out.id, 17);
    EXPECT_EQ(out.number, 33);
    EXPECT_EQ(WText(out.name), name);
    EXPECT_EQ(machine(handle), "StopEvent ({ 17, \"Main\" })");
    const Handle reread = taken(machine(handle));
    EXPECT_TRUE(TmxAct_DecodeStopEvent(reread.get(), &out));
    EXPECT_EQ(out.number, 0);
}

TEST_F(TypedTest, SetupChangedHandsOutTextsAndNulls) {
    const WText user = W(u"admin");
    const WText details = W(u"moved");
    const TmxDateTime date = instant(millisecondsOf(2026, 11, 15, 11), -60);
    const TmxObjectRef resource = ref(17, 0, nullptr);
    const Handle handle(TmxAct_CreateSetupChanged(user.c_str(), nullptr, &date, 1, &resource, 2,
                                                  details.c_str(), nullptr, nullptr, nullptr));
    const TmxWChar* outUser = nullptr;
    const TmxWChar* outHost = nullptr;
    TmxDateTime outDate{};
    int32_t resourceKind = 0;
    TmxObjectRef outResource{};
    int32_t changeKind = 0;
    const TmxWChar* outDetails = nullptr;
    const TmxWChar* clientHost = user.c_str();
    const int32_t other = 5;
    const int32_t* clientType = &other;
    const TmxWChar* clientAccount = user.c_str();
    EXPECT_TRUE(TmxAct_DecodeSetupChanged(handle.get(), &outUser, &outHost, &outDate, &resourceKind,
                                          &outResource, &changeKind, &outDetails, &clientHost,
                                          &clientType, &clientAccount));
    EXPECT_EQ(WText(outUser), user);
    ASSERT_NE(outHost, nullptr);
    EXPECT_EQ(WText(outHost), WText());
    EXPECT_EQ(outDate.value, date.value);
    EXPECT_EQ(resourceKind, 1);
    EXPECT_EQ(outResource.id, 17);
    EXPECT_EQ(changeKind, 2);
    EXPECT_EQ(WText(outDetails), details);
    EXPECT_EQ(clientHost, nullptr);
    EXPECT_EQ(clientType, nullptr);
    EXPECT_EQ(clientAccount, nullptr);
}

TEST_F(TypedTest, OptionalScalarsGiveTheAddressOfTheValueInTheObject) {
    const int32_t param = -7;
    const Handle handle(TmxAct_CreateIPSwitchOperation(3, nullptr, &param));
    int32_t operation = 0;
    const TmxWChar* port = nullptr;
    const int32_t* out = nullptr;
    EXPECT_TRUE(TmxAct_DecodeIPSwitchOperation(handle.get(), &operation, &port, &out));
    EXPECT_EQ(operation, 3);
    ASSERT_NE(out, nullptr);
    EXPECT_NE(out, &param);
    EXPECT_EQ(*out, -7);
}

TEST_F(TypedTest, ThePlainPairOfSensorVideoAlarmLeavesTheLaterParametersAbsent) {
    const TmxObjectRef channel = ref(0, 5);
    const int32_t area = 2;
    const Handle handle(
        TmxAct_CreateSensorVideoAlarm(&channel, 1, &area, nullptr, nullptr, nullptr));
    TmxObjectRef out;
    int32_t sensor = 0;
    const int32_t* adArea = nullptr;
    const int32_t* adCell = &area;
    const int32_t* vmdGroup = &area;
    const int32_t* vmdZone = &area;
    const int32_t* cycle = &area;
    const TmxRect rect{};
    const TmxRect* alarmArea = &rect;
    const int32_t* objectClass = &area;
    EXPECT_TRUE(TmxAct_DecodeSensorVideoAlarmEx(handle.get(), &out, &sensor, &adArea, &adCell,
                                                &vmdGroup, &vmdZone, &cycle, &alarmArea,
                                                &objectClass));
    EXPECT_EQ(sensor, 1);
    ASSERT_NE(adArea, nullptr);
    EXPECT_EQ(*adArea, 2);
    EXPECT_EQ(adCell, nullptr);
    EXPECT_EQ(vmdGroup, nullptr);
    EXPECT_EQ(vmdZone, nullptr);
    EXPECT_EQ(cycle, nullptr);
    EXPECT_EQ(alarmArea, nullptr);
    EXPECT_EQ(objectClass, nullptr);
}

TEST_F(TypedTest, ThePlainDecodeReadsWhatTheExCreateMade) {
    const TmxObjectRef channel = ref(0, 5);
    const int32_t cell = 3;
    const int32_t cycle = 4;
    const TmxRect rect{{1, 2, 3, 4}};
    const Handle handle(TmxAct_CreateSensorVideoAlarmEx(&channel, 1, nullptr, &cell, nullptr,
                                                        nullptr, &cycle, &rect, nullptr));
    EXPECT_EQ(machine(handle),
              "SensorVideoAlarm (5, 1, ADCell: 3, VMDCycle: 4, AlarmArea: { 1, 2, 3, 4 })");
    TmxObjectRef out;
    int32_t sensor = 0;
    const int32_t* adArea = &cell;
    const int32_t* adCell = nullptr;
    const int32_t* vmdGroup = &cell;
    const int32_t* vmdZone = &cell;
    EXPECT_TRUE(TmxAct_DecodeSensorVideoAlarm(handle.get(), &out, &sensor, &adArea, &adCell,
                                              &vmdGroup, &vmdZone));
    EXPECT_EQ(adArea, nullptr);
    ASSERT_NE(adCell, nullptr);
    EXPECT_EQ(*adCell, 3);
    EXPECT_EQ(vmdGroup, nullptr);
    EXPECT_EQ(vmdZone, nullptr);
}

TEST_F(TypedTest, TheInhibitTwinHasTheSamePairs) {
    const TmxObjectRef channel = ref(0, 5);
    const int32_t zone = 3;
    const Handle handle(
        TmxAct_CreateSensorInhibitVideoAlarm(&channel, 1, nullptr, nullptr, nullptr, &zone));
    EXPECT_EQ(machine(handle), "SensorInhibitVideoAlarm (5, 1, VMDZone: 3)");
    TmxObjectRef out;
    int32_t sensor = 0;
    const int32_t* part[6] = {};
    const TmxRect* area = nullptr;
    EXPECT_TRUE(TmxAct_DecodeSensorInhibitVideoAlarmEx(handle.get(), &out, &sensor, &part[0],
                                                       &part[1], &part[2], &part[3], &part[4],
                                                       &area, &part[5]));
    ASSERT_NE(part[3], nullptr);
    EXPECT_EQ(*part[3], 3);
    EXPECT_EQ(part[4], nullptr);
    EXPECT_EQ(area, nullptr);
    EXPECT_EQ(part[5], nullptr);
    EXPECT_FALSE(TmxAct_DecodeSensorVideoAlarm(handle.get(), &out, &sensor, &part[0], &part[1],
                                               &part[2], &part[3]));
    EXPECT_EQ(lastError(), wrongDecode());
}

TEST_F(TypedTest, StartEventAndEventStartedHaveTheKeyInTheExPairAlone) {
    const TmxObjectRef type = ref(17, 0);
    const int64_t eventId = 5;
    const int64_t key = 99;
    const Handle plain(TmxAct_CreateStartEvent(&type));
    const Handle withKey(TmxAct_CreateStartEventEx(&type, &key));
    TmxObjectRef out;
    const int64_t* outKey = &key;
    EXPECT_TRUE(TmxAct_DecodeStartEventEx(plain.get(), &out, &outKey));
    EXPECT_EQ(outKey, nullptr);
    EXPECT_TRUE(TmxAct_DecodeStartEventEx(withKey.get(), &out, &outKey));
    ASSERT_NE(outKey, nullptr);
    EXPECT_EQ(*outKey, 99);
    EXPECT_TRUE(TmxAct_DecodeStartEvent(withKey.get(), &out));
    EXPECT_EQ(out.id, 17);

    const Handle started(TmxAct_CreateEventStarted(&eventId, &type));
    const Handle startedWithKey(TmxAct_CreateEventStartedEx(&eventId, &type, &key));
    int64_t outId = 0;
    EXPECT_TRUE(TmxAct_DecodeEventStartedEx(started.get(), &outId, &out, &outKey));
    EXPECT_EQ(outId, 5);
    EXPECT_EQ(outKey, nullptr);
    EXPECT_TRUE(TmxAct_DecodeEventStarted(startedWithKey.get(), &outId, &out));
    EXPECT_EQ(machine(startedWithKey), "EventStarted (5, { 17, \"\" }, ForeignKey: 99)");
}

TEST_F(TypedTest, RequiredAndOptionalParametersInterleave) {
    const WText user = W(u"u");
    const TmxDateTime date = instant(millisecondsOf(2026, 11, 15), 0);
    const Handle handle(TmxAct_CreateSystemSettingsChanged(true, nullptr, user.c_str(), nullptr,
                                                           false, nullptr, true, &date));
    bool setup = false;
    bool timeRange = true;
    bool reserved = false;
    const TmxWChar* user1 = user.c_str();
    const TmxWChar* user2 = nullptr;
    const TmxWChar* host = user.c_str();
    const TmxGuidRef none{};
    const TmxGuidRef* range = &none;
    TmxDateTime out{};
    EXPECT_TRUE(TmxAct_DecodeSystemSettingsChanged(handle.get(), &setup, &user1, &user2, &host,
                                                   &timeRange, &range, &reserved, &out));
    EXPECT_TRUE(setup);
    EXPECT_EQ(user1, nullptr);
    EXPECT_EQ(WText(user2), user);
    EXPECT_EQ(host, nullptr);
    EXPECT_FALSE(timeRange);
    EXPECT_EQ(range, nullptr);
    EXPECT_TRUE(reserved);
    EXPECT_EQ(out.value, date.value);
    EXPECT_EQ(machine(handle),
              "SystemSettingsChanged (1, User2: \"u\", 0, 1, "
              "\"2026/11/15 00:00:00,000 GMT+00:00\")");
}

TEST_F(TypedTest, AnOptionalGuidRefIsHandedOutByItsAddress) {
    const TmxDateTime date = instant(0, 0);
    const WText name = W(u"Night");
    const TmxGuidRef range{countingGuid(), name.c_str(), 5};
    const Handle handle(TmxAct_CreateSystemSettingsChanged(false, nullptr, nullptr, nullptr, true,
                                                           &range, false, &date));
    bool flags[3] = {};
    const TmxWChar* texts[3] = {};
    const TmxGuidRef* out = nullptr;
    TmxDateTime outDate{};
    EXPECT_TRUE(TmxAct_DecodeSystemSettingsChanged(handle.get(), &flags[0], &texts[0], &texts[1],
                                                   &texts[2], &flags[1], &out, &flags[2],
                                                   &outDate));
    ASSERT_NE(out, nullptr);
    EXPECT_NE(out, &range);
    EXPECT_TRUE(sameGuid(out->guid, countingGuid()));
    EXPECT_EQ(WText(out->name), name);
    EXPECT_EQ(out->reserved, 5u);
}

TEST_F(TypedTest, ScalarsByPointerAreCopied) {
    int64_t number = std::numeric_limits<int64_t>::min();
    const Handle handle(TmxAct_CreateStopEventByID(&number));
    number = 0;
    int64_t out = 0;
    EXPECT_TRUE(TmxAct_DecodeStopEventByID(handle.get(), &out));
    EXPECT_EQ(out, std::numeric_limits<int64_t>::min());
}

struct VideoResult {
    const int64_t* int64s[4] = {};
    const int32_t* int32s[4] = {};
    const TmxDateTime* dates[2] = {};
    const double* doubles[2] = {};
    const TmxWChar* texts[6] = {};
    TmxObjectRef channel{};
    TmxDataSet set{};

    [[nodiscard]] bool decode(const Handle& handle) {
        return TmxAct_DecodeVideoResult(
            handle.get(), &int64s[0], &int64s[1], &int64s[2], &int64s[3], &int32s[0], &int32s[1],
            &int32s[2], &int32s[3], &dates[0], &dates[1], &doubles[0], &doubles[1], &texts[0],
            &texts[1], &texts[2], &texts[3], &texts[4], &texts[5], &channel, &set);
    }
    [[nodiscard]] Handle create() const {
        return Handle(TmxAct_CreateVideoResult(
            int64s[0], int64s[1], int64s[2], int64s[3], int32s[0], int32s[1], int32s[2], int32s[3],
            dates[0], dates[1], doubles[0], doubles[1], texts[0], texts[1], texts[2], texts[3],
            texts[4], texts[5], &channel, &set));
    }
};

TEST_F(TypedTest, VideoResultCopiesItsDataSet) {
    WText name = W(kLongW);
    TmxDataSetEntry entries[2] = {{{1, -2, 3, -4}, 7, 0, name.c_str()},
                                  {{5, 6, 7, 8}, -9, 0, nullptr}};
    VideoResult in;
    in.channel = ref(0, 5);
    in.set = TmxDataSet{entries, 2};
    const double value = 0.1;
    in.doubles[1] = &value;
    const WText last = W(u"F");
    in.texts[5] = last.c_str();
    const Handle handle = in.create();
    name[0] = TmxWChar{'X'};
    entries[0].words[0] = 99;

    VideoResult out;
    ASSERT_TRUE(out.decode(handle));
    for (const int64_t* absent : out.int64s) EXPECT_EQ(absent, nullptr);
    for (const int32_t* absent : out.int32s) EXPECT_EQ(absent, nullptr);
    for (const TmxDateTime* absent : out.dates) EXPECT_EQ(absent, nullptr);
    EXPECT_EQ(out.doubles[0], nullptr);
    ASSERT_NE(out.doubles[1], nullptr);
    EXPECT_EQ(*out.doubles[1], 0.1);
    EXPECT_EQ(out.texts[4], nullptr);
    EXPECT_EQ(WText(out.texts[5]), last);
    EXPECT_EQ(out.channel.number, 5);
    ASSERT_EQ(out.set.count, 2u);
    EXPECT_NE(out.set.items, entries);
    EXPECT_EQ(out.set.items[0].words[0], 1);
    EXPECT_EQ(out.set.items[0].words[1], -2);
    EXPECT_EQ(out.set.items[0].words[2], 3);
    EXPECT_EQ(out.set.items[0].words[3], -4);
    EXPECT_EQ(out.set.items[0].number, 7);
    EXPECT_EQ(WText(out.set.items[0].name), W(kLongW));
    EXPECT_EQ(out.set.items[1].number, -9);
    ASSERT_NE(out.set.items[1].name, nullptr);
    EXPECT_EQ(WText(out.set.items[1].name), WText());
}

TEST_F(TypedTest, AnEmptyDataSetMayHaveNullItems) {
    VideoResult in;
    in.channel = ref(0, 5);
    in.set = TmxDataSet{nullptr, 0};
    const Handle handle = in.create();
    VideoResult out;
    out.set.count = 99;
    ASSERT_TRUE(out.decode(handle));
    EXPECT_EQ(out.set.count, 0u);
}

TEST_F(TypedTest, ADataSetDecodesAgainAndAgain) {
    const Handle handle = taken("VideoResult (5, {{ 1, 2, 3, 4, 7, \"x\" }})");
    for (int i = 0; i < 3; ++i) {
        VideoResult out;
        ASSERT_TRUE(out.decode(handle));
        ASSERT_EQ(out.set.count, 1u);
        EXPECT_EQ(out.set.items[0].number, 7);
        EXPECT_EQ(WText(out.set.items[0].name), W(u"x"));
    }
}

TEST_F(TypedTest, ACloneOwnsItsDataSet) {
    Handle original = taken("VideoResult (5, {{ 1, 2, 3, 4, 7, \"a long entry text\" }})");
    VideoResult out;
    ASSERT_TRUE(out.decode(original));
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(original.get(), &raw));
    const Handle clone(raw);
    original.close();
    ASSERT_TRUE(out.decode(clone));
    ASSERT_EQ(out.set.count, 1u);
    EXPECT_EQ(WText(out.set.items[0].name), W(u"a long entry text"));
}

TEST_F(TypedTest, AnActionWithoutParametersDecodes) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    EXPECT_TRUE(TmxAct_DecodeABCDisconnect(handle.get()));
    EXPECT_FALSE(TmxAct_DecodeWatchdogTrigger(handle.get()));
    EXPECT_EQ(lastError(), wrongDecode());
}

TEST_F(TypedTest, ADecodeAfterAFailureClearsIt) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    EXPECT_FALSE(TmxAct_DecodeWatchdogTrigger(handle.get()));
    ASSERT_NE(lastError(), std::nullopt);
    EXPECT_TRUE(TmxAct_DecodeABCDisconnect(handle.get()));
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(TypedTest, ACreateAfterAFailureClearsIt) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    EXPECT_FALSE(TmxAct_DecodeWatchdogTrigger(handle.get()));
    ASSERT_NE(lastError(), std::nullopt);
    const Handle second(TmxAct_CreateABCDisconnect());
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(TypedTest, LenelAccessEventHasTwentyTwoParameters) {
    const int32_t id = 2289;
    const int64_t card = 1234567890123;
    const bool duress = false;
    const WText text = W(u"t");
    const Handle handle(TmxAct_CreateLenelAccessEvent(
        &id, nullptr, nullptr, nullptr, &card, nullptr, nullptr, nullptr, text.c_str(), nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr, &duress, nullptr, nullptr, nullptr, nullptr,
        nullptr, text.c_str()));
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(502), 22u);
    EXPECT_EQ(machine(handle),
              "LenelAccessEvent (ID: 2289, CardNumber: 1234567890123, \"t\", Duress: 0, "
              "EventText: \"t\")");
    bool equal = false;
    const Handle reread = taken(machine(handle));
    EXPECT_TRUE(TmxAct_Equal(handle.get(), reread.get(), &equal));
    EXPECT_TRUE(equal);
}

}  // namespace
}  // namespace edge
