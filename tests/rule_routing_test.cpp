// The routing accessors of every action: by the kinds of the parameters, with the exceptions and
// the tables written down by hand.

#include <map>
#include <set>
#include <string>

#include "support/checks.h"
#include "support/reference_routing.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class RoutingRule : public RuleTest {};

// Checks what the accessor hands out against the parameter at a place, in an object with the
// values. What is written through the pointer must show in the object.
void CheckReference(const ActionFacts& action, const Values& values, size_t place,
                    bool (*accessor)(TmxHandle, TmxObjectRef**)) {
    const Handle handle(Create(action, values));
    TmxObjectRef marker{};
    TmxObjectRef* reference = &marker;
    ASSERT_TRUE(accessor(handle.get(), &reference)) << action.name;
    EXPECT_FALSE(HasError()) << action.name;
    if (place == kNoPlace || !values[place].present) {
        EXPECT_EQ(reference, nullptr) << action.name;
        return;
    }
    ASSERT_NE(reference, nullptr) << action.name;
    const auto& expected = std::get<ObjectRef>(values[place].data);
    EXPECT_EQ(reference->id, expected.id) << action.name;
    EXPECT_EQ(reference->number, expected.number) << action.name;
    EXPECT_EQ(WideString(reference->name), expected.name) << action.name;
    reference->id = 424242;
    reference->number = 4242;
    Values decoded;
    ASSERT_TRUE(Decode(action, handle.get(), &decoded));
    Values changed = values;
    changed[place].data = ObjectRef{424242, 4242, expected.name};
    EXPECT_EQ(Differences(action, changed, decoded), "");
}

void CheckReferences(size_t (*placeOf)(const ActionFacts&),
                     bool (*accessor)(TmxHandle, TmxObjectRef**), size_t count) {
    size_t answering = 0;
    for (const ActionFacts& action : AllActions()) {
        const size_t place = placeOf(action);
        if (place != kNoPlace) ++answering;
        CheckReference(action, Typical(action), place, accessor);
        CheckReference(action, Absent(action), place, accessor);
        // An empty reference is a present one.
        CheckReference(action, Empty(action), place, accessor);
        if (TooManyFailures()) return;
    }
    EXPECT_EQ(answering, count);
}

TEST_F(RoutingRule, VideoInput) { CheckReferences(&VideoInputPlace, &TmxAct_GetVideoInput, 137); }

TEST_F(RoutingRule, VideoInputOfAnAbsentChannel) {
    const std::set<std::string> optionalOnes = {"TMXSVehicleAccessDenied",
                                                "TMXSVehicleAccessExpired",
                                                "TMXSVehicleAccessGranted",
                                                "TMXSVehicleAccessPending",
                                                "LogBarcodeData",
                                                "LogBarcodeDataLPS",
                                                "LogBarcodeID",
                                                "LogNPRRecognition",
                                                "SMTPMailSend"};
    std::set<std::string> found;
    for (const ActionFacts& action : AllActions()) {
        const size_t place = VideoInputPlace(action);
        if (place != kNoPlace && action.parameters[place].optional) found.insert(action.name);
    }
    EXPECT_EQ(found, optionalOnes);
    for (const std::string& name : optionalOnes) {
        const ActionFacts& action = ActionByName(name);
        const Handle handle(Create(action, Absent(action)));
        TmxObjectRef marker{};
        TmxObjectRef* reference = &marker;
        EXPECT_TRUE(TmxAct_GetVideoInput(handle.get(), &reference));
        EXPECT_EQ(reference, nullptr) << name;
    }
}

TEST_F(RoutingRule, VideoOutput) { CheckReferences(&VideoOutputPlace, &TmxAct_GetVideoOutput, 44); }

TEST_F(RoutingRule, InputContact) {
    CheckReferences(&InputContactPlace, &TmxAct_GetInputContact, 1);
}

TEST_F(RoutingRule, OutputContact) {
    CheckReferences(&OutputContactPlace, &TmxAct_GetOutputContact, 1);
}

TEST_F(RoutingRule, ForeignKey) {
    struct Row {
        const char* parameter;
        bool optional;
    };
    const std::map<std::string, Row> table = {
        {"EventStarted", {"ForeignKey", true}},
        {"InfoEvent", {"ForeignKey", true}},
        {"StartEvent", {"ForeignKey", true}},
        {"ViewerShowAlarmByKey", {"ForeignKey", false}},
        {"ViewerShowAlarmByType", {"ForeignKey", true}},
        {"TARVIKalarm", {"TARVIKkey", false}},
        {"LogBarcodeData", {"Hash", true}},
        {"LogBarcodeDataLPS", {"Hash", true}},
        {"LogBarcodeID", {"Hash", true}},
        {"LogNPRRecognition", {"Hash", true}},
    };
    for (const ActionFacts& action : AllActions()) {
        const auto row = table.find(action.name);
        size_t place = kNoPlace;
        if (row != table.end()) {
            place = PlaceOfName(action, row->second.parameter);
            ASSERT_NE(place, kNoPlace) << action.name;
            EXPECT_EQ(action.parameters[place].optional, row->second.optional) << action.name;
        }
        EXPECT_EQ(ForeignKeyPlace(action), place) << action.name;
        for (const Values& values : {Typical(action), Absent(action), Empty(action)}) {
            const Handle handle(Create(action, values));
            int64_t marker = 0;
            int64_t* key = &marker;
            ASSERT_TRUE(TmxAct_GetForeignKey(handle.get(), &key));
            EXPECT_FALSE(HasError());
            if (place == kNoPlace || !values[place].present) {
                EXPECT_EQ(key, nullptr) << action.name;
                continue;
            }
            ASSERT_NE(key, nullptr) << action.name;
            EXPECT_EQ(*key, std::get<int64_t>(values[place].data)) << action.name;
            *key = 99;
            Values decoded;
            ASSERT_TRUE(Decode(action, handle.get(), &decoded));
            Values changed = values;
            changed[place].data = int64_t{99};
            EXPECT_EQ(Differences(action, changed, decoded), "");
        }
    }
}

TEST_F(RoutingRule, GenericNumberIsTheFirstRequiredInt32) {
    size_t answering = 0;
    for (const ActionFacts& action : AllActions()) {
        const size_t place = GenericNumberPlace(action);
        if (place != kNoPlace) ++answering;
        for (const Values& values : {Typical(action), Absent(action), Extreme(action, 5)}) {
            const Handle handle(Create(action, values));
            int32_t number = 77;
            ASSERT_TRUE(TmxAct_GetGenericInt32Parameter(handle.get(), &number));
            EXPECT_FALSE(HasError());
            EXPECT_EQ(number, place == kNoPlace ? 0 : std::get<int32_t>(values[place].data))
                << action.name;
        }
    }
    EXPECT_EQ(answering, 117u);
}

TEST_F(RoutingRule, WorkedAnswers) {
    const Handle camera(Create(ActionByName("CameraOn"), {{ObjectRef{1, 2, TMX_W("x")}}}));
    TmxObjectRef* reference = nullptr;
    EXPECT_TRUE(TmxAct_GetVideoOutput(camera.get(), &reference));
    EXPECT_EQ(reference, nullptr);
    const Handle viewer(
        Create(ActionByName("ViewerConnect"),
               {{ObjectRef{1, 2, TMX_W("V")}}, {ObjectRef{0, 7, TMX_W("")}}, {int32_t{1}}}));
    EXPECT_TRUE(TmxAct_GetVideoInput(viewer.get(), &reference));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->number, 7);
    EXPECT_TRUE(TmxAct_GetVideoOutput(viewer.get(), &reference));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->number, 2);
    const ActionFacts& blink = ActionByName("SetLEDBlink");
    const Values values = Typical(blink);
    const Handle led(Create(blink, values));
    int32_t number = 0;
    EXPECT_TRUE(TmxAct_GetGenericInt32Parameter(led.get(), &number));
    EXPECT_EQ(number, std::get<int32_t>(values[PlaceOfName(blink, "LedTimeOnMs")].data));
}

TEST_F(RoutingRule, GenericAction) {
    using Accessor = bool (*)(TmxHandle, TmxObjectRef**);
    const Accessor accessors[] = {&TmxAct_GetVideoInput, &TmxAct_GetVideoOutput,
                                  &TmxAct_GetInputContact, &TmxAct_GetOutputContact};
    const TmxObjectRef empty{};
    const TmxObjectRef some[] = {{5, nullptr, 0, 0}, {0, nullptr, 6, 0}, {0, TMX_W("name"), 0, 0}};
    for (size_t role = 0; role < 4; ++role) {
        for (const TmxObjectRef& given : some) {
            const TmxObjectRef* arguments[4] = {&empty, nullptr, &empty, nullptr};
            arguments[role] = &given;
            const Handle handle(TmxAct_CreateGenericAction(arguments[0], arguments[1], arguments[2],
                                                           arguments[3], -77));
            ASSERT_TRUE(handle);
            for (size_t asked = 0; asked < 4; ++asked) {
                TmxObjectRef marker{};
                TmxObjectRef* reference = &marker;
                EXPECT_TRUE(accessors[asked](handle.get(), &reference));
                if (asked != role) {
                    EXPECT_EQ(reference, nullptr);
                    continue;
                }
                ASSERT_NE(reference, nullptr);
                EXPECT_EQ(reference->id, given.id);
                EXPECT_EQ(reference->number, given.number);
                EXPECT_EQ(WideString(reference->name),
                          given.name == nullptr ? TMX_W("") : given.name);
            }
            int32_t number = 0;
            int64_t marker = 0;
            int64_t* key = &marker;
            EXPECT_TRUE(TmxAct_GetGenericInt32Parameter(handle.get(), &number));
            EXPECT_EQ(number, -77);
            EXPECT_TRUE(TmxAct_GetForeignKey(handle.get(), &key));
            EXPECT_EQ(key, nullptr);
            uint32_t code = 0;
            EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
            EXPECT_EQ(code, TMX_GENERIC_ACTION_CODE);
            EXPECT_TRUE(TmxAct_GetMessageClass(handle.get(), &code));
            EXPECT_EQ(code, TMX_MESSAGE_CLASS_ACTION);
        }
    }
}

}  // namespace
}  // namespace tmxtest
