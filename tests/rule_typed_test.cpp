// Typed create and decode of every action, and what holds for every object: clone, reference count,
// flags, internal data, the facts that it tells about itself.

#include <algorithm>

#include "support/checks.h"
#include "support/reference_equal.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class TypedRule : public RuleTest {};

TEST_F(TypedRule, CatalogueIsComplete) {
    ASSERT_EQ(AllActions().size(), 353u);
    ASSERT_EQ(TmxAct_GetNumberOfActions(), 353u);
    for (const ActionFacts& action : AllActions()) {
        EXPECT_EQ(TmxAct_GetNumberOfActionParameters(action.code), action.parameters.size())
            << action.name;
        TmxActionInfo info{};
        ASSERT_TRUE(TmxAct_GetActionInfo(&info, action.code)) << action.name;
        EXPECT_EQ(info.name, action.name);
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const ParameterFacts& facts = action.parameters[i];
            TmxParameterInfo parameter{};
            ASSERT_TRUE(
                TmxAct_GetActionParameterInfo(&parameter, action.code, static_cast<uint32_t>(i)));
            EXPECT_EQ(parameter.name, facts.name) << action.name;
            EXPECT_EQ(parameter.kind, static_cast<uint32_t>(facts.kind)) << action.name;
            static const std::pair<Type, uint32_t> kTypes[] = {
                {Type::Int32, 0},     {Type::Int64, 1},   {Type::DateTime, 2}, {Type::AnsiText, 3},
                {Type::WideText, 4},  {Type::Bool, 5},    {Type::Guid, 6},     {Type::NamedId, 7},
                {Type::ObjectRef, 8}, {Type::GuidRef, 9}, {Type::Double, 100}, {Type::Rect, 101},
                {Type::DataSet, 102}};
            const auto* row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                           [&](const auto& t) { return t.first == facts.type; });
            if (row != std::end(kTypes)) {
                EXPECT_EQ(parameter.type, row->second) << action.name << "." << facts.name;
            } else {
                EXPECT_GE(parameter.type, 10u) << action.name << "." << facts.name;
                EXPECT_LE(parameter.type, 99u) << action.name << "." << facts.name;
            }
        }
    }
}

TEST_F(TypedRule, DecodeGivesWhatCreateTook) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            const Handle handle(Create(action, set.values));
            ASSERT_TRUE(handle) << action.name << ", " << set.name << ": " << LastError();
            EXPECT_FALSE(HasError()) << action.name << ", " << set.name;
            Values decoded;
            ASSERT_TRUE(Decode(action, handle.get(), &decoded)) << action.name << ", " << set.name;
            EXPECT_FALSE(HasError()) << action.name << ", " << set.name;
            const std::string differences = Differences(action, set.values, decoded);
            EXPECT_TRUE(differences.empty()) << set.name << "\n" << differences;
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TypedRule, CreateCopiesEveryText) {
    for (const ActionFacts& action : AllActions()) {
        Handle handle;
        {
            // The arguments end with this scope, so nothing may point into them.
            Values values = Typical(action, 1);
            handle = Handle(Create(action, values));
            for (Value& value : values) {
                if (auto* text = std::get_if<WideString>(&value.data)) text->assign(30, TMX_W('!'));
                if (auto* text = std::get_if<std::string>(&value.data)) text->assign(30, '!');
                if (auto* object = std::get_if<ObjectRef>(&value.data)) object->name = TMX_W("!");
                if (auto* object = std::get_if<NamedId>(&value.data)) object->name = TMX_W("!");
                if (auto* object = std::get_if<GuidRef>(&value.data)) object->name = TMX_W("!");
                if (auto* set = std::get_if<DataSet>(&value.data)) (*set)[0].name = TMX_W("!");
            }
        }
        Values decoded;
        ASSERT_TRUE(Decode(action, handle.get(), &decoded)) << action.name;
        EXPECT_EQ(Differences(action, Typical(action, 1), decoded), "");
    }
}

TEST_F(TypedRule, WrongDecodeFailsAndTouchesNothing) {
    std::vector<Handle> handles;
    for (const ActionFacts& action : AllActions()) {
        handles.emplace_back(Create(action, Typical(action)));
    }
    const size_t count = AllActions().size();
    for (size_t i = 0; i < count; ++i) {
        const ActionFacts& decoder = AllActions()[i];
        for (size_t step : {size_t{1}, size_t{2}, size_t{7}, size_t{100}, count - 1}) {
            const size_t other = (i + step) % count;
            Outs outs(decoder.parameters.size());
            EXPECT_FALSE(decoder.decode(handles[other].get(), outs))
                << decoder.name << " on " << AllActions()[other].name;
            EXPECT_TRUE(outs.Untouched()) << decoder.name << " on " << AllActions()[other].name;
            TmxErrorInfo info{};
            ASSERT_TRUE(TmxAct_GetLastError(&info)) << decoder.name;
            EXPECT_EQ(info.code, 1008u);
            EXPECT_EQ(info.subcode, 3u);
            EXPECT_STREQ(info.exceptionClass, "class TmxPLC::TmxPLCException");
            EXPECT_STREQ(info.message, "Wrong decode method");
            EXPECT_EQ(WideString(info.messageW), TMX_W("Wrong decode method"));
            EXPECT_STREQ(info.details, "");
            if (TooManyFailures()) return;
        }
        // A success clears the error.
        Values values;
        EXPECT_TRUE(Decode(decoder, handles[i].get(), &values));
        EXPECT_FALSE(HasError()) << decoder.name;
    }
    const Handle generic(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0));
    for (const ActionFacts& decoder : AllActions()) {
        Outs outs(decoder.parameters.size());
        EXPECT_FALSE(decoder.decode(generic.get(), outs)) << decoder.name;
        EXPECT_TRUE(outs.Untouched()) << decoder.name;
        EXPECT_EQ(LastError(), "1008/3 Wrong decode method") << decoder.name;
    }
}

TEST_F(TypedRule, ObjectTellsItsFacts) {
    for (const ActionFacts& action : AllActions()) {
        const Handle handle(Create(action, Typical(action)));
        uint32_t number = 0;
        EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &number));
        EXPECT_EQ(number, action.code);
        EXPECT_TRUE(TmxAct_GetMessageClass(handle.get(), &number));
        EXPECT_EQ(number, TMX_MESSAGE_CLASS_ACTION);
        EXPECT_TRUE(TmxAct_GetInternalIndex(handle.get(), &number));
        EXPECT_EQ(TmxAct_GetActionCodeByIndex(number), action.code);
        TmxActionInfo info{};
        ASSERT_TRUE(TmxAct_GetActionInfo(&info, action.code));
        EXPECT_TRUE(TmxAct_GetActionClass(handle.get(), &number));
        EXPECT_EQ(number, info.classId) << action.name;
        const char* name = nullptr;
        const TmxWChar* nameW = nullptr;
        EXPECT_TRUE(TmxAct_GetActionNameA(handle.get(), &name));
        EXPECT_EQ(name, action.name);
        EXPECT_TRUE(TmxAct_GetActionNameW(handle.get(), &nameW));
        EXPECT_EQ(WideString(nameW), WideString(action.name.begin(), action.name.end()));
        EXPECT_TRUE(TmxAct_GetActionPlainNameA(handle.get(), &name));
        EXPECT_STREQ(name, info.plainName);
        EXPECT_TRUE(TmxAct_GetActionPlainNameW(handle.get(), &nameW));
        EXPECT_EQ(WideString(nameW), WideString(info.plainNameW));
        EXPECT_FALSE(HasError());
    }
}

TEST_F(TypedRule, FlagsAndInternalDataAreKept) {
    for (const ActionFacts& action : AllActions()) {
        const Handle handle(Create(action, Absent(action)));
        uint32_t flags = 77;
        uint64_t data = 77;
        EXPECT_TRUE(TmxAct_GetMessageFlags(handle.get(), &flags));
        EXPECT_TRUE(TmxAct_GetInternalData(handle.get(), &data));
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(data, 0u);
        EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), 0xFFFFFFFE));
        EXPECT_TRUE(TmxAct_SetInternalData(handle.get(), 0x8877665544332211));
        EXPECT_TRUE(TmxAct_GetMessageFlags(handle.get(), &flags));
        EXPECT_TRUE(TmxAct_GetInternalData(handle.get(), &data));
        EXPECT_EQ(flags, 0xFFFFFFFE);
        EXPECT_EQ(data, 0x8877665544332211u);
    }
}

TEST_F(TypedRule, CloneHasTheParametersAlone) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            const uint32_t before = TmxAct_GetNumberOfOpenHandles();
            Handle original(Create(action, set.values));
            TmxAct_SetMessageFlags(original.get(), 5);
            TmxAct_SetInternalData(original.get(), 7);
            TmxAct_SetProperty(original.get(), TMX_W("name"), TMX_W("value"));
            TmxHandle cloned = nullptr;
            ASSERT_TRUE(TmxAct_CloneHandle(original.get(), &cloned)) << action.name;
            const Handle clone(cloned);
            EXPECT_NE(clone.get(), original.get());
            EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before + 2);
            uint32_t count = 0;
            uint32_t flags = 77;
            uint64_t data = 77;
            const TmxWChar* properties = nullptr;
            EXPECT_TRUE(TmxAct_GetReferenceCounter(clone.get(), &count));
            EXPECT_EQ(count, 1u);
            EXPECT_TRUE(TmxAct_GetMessageFlags(clone.get(), &flags));
            EXPECT_EQ(flags, 0u);
            EXPECT_TRUE(TmxAct_GetInternalData(clone.get(), &data));
            EXPECT_EQ(data, 0u);
            EXPECT_TRUE(TmxAct_GetProperties(clone.get(), &properties));
            EXPECT_EQ(WideString(properties), TMX_W("<properties />"));
            bool equal = false;
            EXPECT_TRUE(TmxAct_Equal(original.get(), clone.get(), &equal));
            EXPECT_EQ(equal, EqualByRule(action, set.values, set.values))
                << action.name << ", " << set.name;
            // The clone's texts are its own.
            original = Handle();
            Values decoded;
            ASSERT_TRUE(Decode(action, clone.get(), &decoded));
            EXPECT_EQ(Differences(action, set.values, decoded), "") << set.name;
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TypedRule, ReferencesAreCounted) {
    for (const ActionFacts& action : AllActions()) {
        const uint32_t before = TmxAct_GetNumberOfOpenHandles();
        TmxHandle handle = Create(action, Typical(action));
        uint32_t count = 0;
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before + 1);
        EXPECT_TRUE(TmxAct_DuplicateHandle(handle));
        EXPECT_TRUE(TmxAct_DuplicateHandle(handle));
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
        EXPECT_EQ(count, 3u);
        EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before + 1);
        EXPECT_TRUE(TmxAct_CloseHandle(handle));
        EXPECT_TRUE(TmxAct_CloseHandle(handle));
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before + 1);
        EXPECT_TRUE(TmxAct_CloseHandle(handle));
        EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before) << action.name;
    }
}

// The plain pair of four actions covers their first parameters alone.

TEST_F(TypedRule, PlainPairOfStartEvent) {
    const TmxObjectRef type = {17, TMX_W("Main"), 3, 0};
    const Handle handle(TmxAct_CreateStartEvent(&type));
    ASSERT_TRUE(handle);
    Values decoded;
    const ActionFacts& action = ActionByName("StartEvent");
    ASSERT_TRUE(Decode(action, handle.get(), &decoded));
    EXPECT_EQ(Differences(action, {{NamedId{17, TMX_W("Main"), 3}}, {int64_t{0}, false}}, decoded),
              "");
    TmxObjectRef out{};
    EXPECT_TRUE(TmxAct_DecodeStartEvent(handle.get(), &out));
    EXPECT_EQ(out.id, 17);
    EXPECT_EQ(WideString(out.name), TMX_W("Main"));
    const Handle full(Create(action, Typical(action)));
    EXPECT_TRUE(TmxAct_DecodeStartEvent(full.get(), &out));
    EXPECT_EQ(WideString(out.name), std::get<NamedId>(Typical(action)[0].data).name);
    const Handle other(TmxAct_CreateABCDisconnect());
    EXPECT_FALSE(TmxAct_DecodeStartEvent(other.get(), &out));
    EXPECT_EQ(LastError(), "1008/3 Wrong decode method");
}

TEST_F(TypedRule, PlainPairOfEventStarted) {
    const int64_t event = 4711;
    const TmxObjectRef type = {17, TMX_W("Main"), 0, 0};
    const Handle handle(TmxAct_CreateEventStarted(&event, &type));
    ASSERT_TRUE(handle);
    Values decoded;
    const ActionFacts& action = ActionByName("EventStarted");
    ASSERT_TRUE(Decode(action, handle.get(), &decoded));
    EXPECT_EQ(Differences(action, {{event}, {NamedId{17, TMX_W("Main"), 0}}, {int64_t{0}, false}},
                          decoded),
              "");
    int64_t outEvent = 0;
    TmxObjectRef outType{};
    EXPECT_TRUE(TmxAct_DecodeEventStarted(handle.get(), &outEvent, &outType));
    EXPECT_EQ(outEvent, event);
    EXPECT_EQ(outType.id, 17);
    const Handle other(TmxAct_CreateABCDisconnect());
    EXPECT_FALSE(TmxAct_DecodeEventStarted(other.get(), &outEvent, &outType));
    EXPECT_EQ(LastError(), "1008/3 Wrong decode method");
}

template <typename CreateFunction, typename DecodeFunction>
void CheckPlainSensorPair(const char* name, CreateFunction create, DecodeFunction decode) {
    const ActionFacts& action = ActionByName(name);
    ASSERT_EQ(action.parameters.size(), 9u);
    const TmxObjectRef channel = {1234, TMX_W("Gate"), 5, 0};
    const int32_t area = 1;
    const int32_t group = 3;
    const TmxHandle made = create(&channel, 2, &area, nullptr, &group, nullptr);
    const Handle handle(made);
    ASSERT_TRUE(handle);
    Values decoded;
    ASSERT_TRUE(Decode(action, handle.get(), &decoded));
    Values expected = Empty(action);
    for (Value& value : expected) value.present = false;
    expected[0] = {ObjectRef{1234, 5, TMX_W("Gate")}};
    expected[1] = {int32_t{2}};
    expected[2] = {area};
    expected[4] = {group};
    EXPECT_EQ(Differences(action, expected, decoded), "");
    TmxObjectRef outChannel{};
    int32_t outType = 0;
    const int32_t* outs[4] = {&area, &area, &area, &area};
    ASSERT_TRUE(
        decode(handle.get(), &outChannel, &outType, &outs[0], &outs[1], &outs[2], &outs[3]));
    EXPECT_EQ(outChannel.id, 1234);
    EXPECT_EQ(outType, 2);
    ASSERT_NE(outs[0], nullptr);
    EXPECT_EQ(*outs[0], 1);
    EXPECT_EQ(outs[1], nullptr);
    ASSERT_NE(outs[2], nullptr);
    EXPECT_EQ(*outs[2], 3);
    EXPECT_EQ(outs[3], nullptr);
}

TEST_F(TypedRule, PlainPairsOfTheVideoSensors) {
    CheckPlainSensorPair("SensorVideoAlarm", &TmxAct_CreateSensorVideoAlarm,
                         &TmxAct_DecodeSensorVideoAlarm);
    CheckPlainSensorPair("SensorInhibitVideoAlarm", &TmxAct_CreateSensorInhibitVideoAlarm,
                         &TmxAct_DecodeSensorInhibitVideoAlarm);
}

}  // namespace
}  // namespace tmxtest
