// Equality of every action, parameter by parameter, by the rule of each type.

#include <limits>
#include <string>

#include "support/checks.h"
#include "support/reference_equal.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class EqualRule : public RuleTest {};

bool Equal(TmxHandle a, TmxHandle b) {
    bool equal = false;
    EXPECT_TRUE(TmxAct_Equal(a, b, &equal));
    EXPECT_FALSE(HasError());
    return equal;
}

// Two values of one type: does a equal b, and b equal a?
struct Pair {
    Datum a;
    Datum b;
    bool there;
    bool back;
};

std::vector<Pair> PairsOf(Type type) {
    const TmxGuid guid = {0x00112233, 0x4455, 0x6677, {1, 2, 3, 4, 5, 6, 7, 8}};
    TmxGuid otherGuid = guid;
    otherGuid.Data4[7] = 9;
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const auto wide = [](const TmxWChar* text) { return Datum(WideString(text)); };
    const auto narrow = [](const char* text) { return Datum(std::string(text)); };
    switch (type) {
        case Type::Int32:
        case Type::Enum:
            return {{int32_t{5}, int32_t{5}, true, true},
                    {int32_t{5}, int32_t{-5}, false, false},
                    {int32_t{0}, int32_t{0x01000000}, false, false}};
        case Type::Int64:
            return {{int64_t{5}, int64_t{5}, true, true},
                    {int64_t{5}, int64_t{0x100000005}, false, false}};
        case Type::DateTime:
            return {{DateTime{1000}, DateTime{1000}, true, true},
                    {DateTime{1000}, DateTime{1001}, false, false},
                    {DateTime{1000}, DateTime{1000 | (uint64_t{0xFFC4} << 48)}, true, true},
                    {DateTime{0x800000000000}, DateTime{0}, false, false}};
        case Type::AnsiText:
            return {{narrow("abc"), narrow("ABC"), true, true},
                    {narrow("abc"), narrow("abd"), false, false},
                    {narrow("abc"), narrow("abcd"), false, false},
                    {narrow("abc"), narrow(""), false, false},
                    {narrow(""), narrow(""), true, true},
                    // The fold is that of ASCII: umlauts in the code page differ, and so do the
                    // characters beside the letters.
                    {narrow("\xE4"), narrow("\xC4"), false, false},
                    {narrow("@["), narrow("`{"), false, false},
                    {narrow("zZ"), narrow("Zz"), true, true}};
        case Type::WideText: {
            const bool deseret = EqualWide(TMX_W("\U00010400"), TMX_W("\U00010428"));
            return {{wide(TMX_W("abc")), wide(TMX_W("ABC")), true, true},
                    {wide(TMX_W("abc")), wide(TMX_W("abd")), false, false},
                    {wide(TMX_W("abc")), wide(TMX_W("abcd")), false, false},
                    {wide(TMX_W("")), wide(TMX_W("x")), false, false},
                    {wide(TMX_W("\u00E4\u00F6")), wide(TMX_W("\u00C4\u00D6")), true, true},
                    {wide(TMX_W("\u00E4")), wide(TMX_W("a\u0308")), false, false},
                    {wide(TMX_W("\u00DF")), wide(TMX_W("ss")), false, false},
                    {wide(TMX_W("\u00DF")), wide(TMX_W("\u1E9E")), true, true},
                    {wide(TMX_W("\u03C3\u03A3")), wide(TMX_W("\u03C2\u03C3")), true, true},
                    {wide(TMX_W("\u0436")), wide(TMX_W("\u0416")), true, true},
                    {wide(TMX_W("\u212A")), wide(TMX_W("k")), true, true},
                    // Not every system knows the case of these.
                    {wide(TMX_W("\U00010400")), wide(TMX_W("\U00010428")), deseret, deseret},
                    {wide(TMX_W("\U0001F3A5")), wide(TMX_W("\U0001F3A6")), false, false},
                    {wide(TMX_W("\xD800")), wide(TMX_W("\xD801")), false, false},
                    {wide(TMX_W("@[")), wide(TMX_W("`{")), false, false}};
        }
        case Type::Bool:
            return {
                {true, true, true, true}, {true, false, false, false}, {false, false, true, true}};
        case Type::Guid:
            return {{guid, guid, true, true}, {guid, otherGuid, false, false}};
        case Type::ObjectRef:
            return {
                {ObjectRef{1, 2, TMX_W("x")}, ObjectRef{1, 3, TMX_W("y")}, true, true},
                {ObjectRef{1, 2, TMX_W("x")}, ObjectRef{2, 2, TMX_W("x")}, false, false},
                {ObjectRef{0, 2, TMX_W("x")}, ObjectRef{0, 2, TMX_W("y")}, true, true},
                {ObjectRef{0, 2, TMX_W("x")}, ObjectRef{0, 3, TMX_W("x")}, false, false},
                {ObjectRef{0, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("CAM")}, true, true},
                {ObjectRef{0, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("Can")}, false, false},
                // The left side chooses what is compared.
                {ObjectRef{0, 5, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("Cam")}, false, true},
                {ObjectRef{7, 5, TMX_W("Cam")}, ObjectRef{0, 5, TMX_W("x")}, false, true},
                {ObjectRef{7, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("cam")}, false, true},
                {ObjectRef{0x100000000, 0, TMX_W("")}, ObjectRef{0, 0, TMX_W("")}, false, true}};
        case Type::NamedId:
            return {{NamedId{1, TMX_W("x"), 1}, NamedId{1, TMX_W("y"), 2}, true, true},
                    {NamedId{1, TMX_W("x"), 1}, NamedId{2, TMX_W("x"), 1}, false, false},
                    {NamedId{0, TMX_W("Cam"), 1}, NamedId{0, TMX_W("CAM"), 2}, true, true},
                    {NamedId{0, TMX_W("Cam"), 1}, NamedId{0, TMX_W("Can"), 1}, false, false},
                    {NamedId{7, TMX_W("Cam"), 0}, NamedId{0, TMX_W("cam"), 0}, false, true}};
        case Type::GuidRef:
            return {
                {GuidRef{guid, TMX_W("x"), 1}, GuidRef{guid, TMX_W("y"), 2}, true, true},
                {GuidRef{guid, TMX_W("x"), 1}, GuidRef{otherGuid, TMX_W("x"), 1}, false, false},
                {GuidRef{TmxGuid{}, TMX_W("Set"), 1}, GuidRef{TmxGuid{}, TMX_W("SET"), 2}, true,
                 true},
                {GuidRef{TmxGuid{}, TMX_W("Set"), 1}, GuidRef{TmxGuid{}, TMX_W("Sed"), 1}, false,
                 false},
                {GuidRef{guid, TMX_W("Set"), 0}, GuidRef{TmxGuid{}, TMX_W("set"), 0}, false, true}};
        case Type::Double:
            return {{1.5, 1.5, true, true},
                    {1.5, 1.5000000000000002, false, false},
                    {0.0, -0.0, true, true},
                    {kNan, kNan, false, false}};
        case Type::Rect:
            return {{TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 3, 4}}, true, true},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{0, 2, 3, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 0, 3, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 0, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 3, 0}}, false, false}};
        case Type::DataSet: {
            const DataSet set = {{{1, 2, 3, 4}, 5, TMX_W("x")}, {{6, 7, 8, 9}, 10, TMX_W("y")}};
            DataSet shorter = set;
            shorter.pop_back();
            DataSet number = set;
            number[1].number = 0;
            DataSet word = set;
            word[0].words[3] = 0;
            DataSet name = set;
            name[1].name = TMX_W("Y");
            return {{set, set, true, true},
                    {set, shorter, false, false},
                    {set, number, false, false},
                    {set, word, false, false},
                    // With case, unlike all other texts.
                    {set, name, false, false},
                    {DataSet{}, DataSet{}, true, true},
                    {set, DataSet{}, false, false}};
        }
    }
    return {};
}

TEST_F(EqualRule, EachParameterByTheRuleOfItsType) {
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const ParameterFacts& parameter = action.parameters[i];
            const std::vector<Pair> pairs = PairsOf(parameter.type);
            ASSERT_FALSE(pairs.empty());
            for (const Pair& pair : pairs) {
                Values left = Typical(action);
                Values right = Typical(action);
                left[i].data = pair.a;
                right[i].data = pair.b;
                const Handle a(Create(action, left));
                const Handle b(Create(action, right));
                const std::string where = action.name + "." + parameter.name + ": " +
                                          Describe(left[i]) + " and " + Describe(right[i]);
                EXPECT_EQ(Equal(a.get(), b.get()), pair.there) << where;
                EXPECT_EQ(Equal(b.get(), a.get()), pair.back) << where << ", back";
                EXPECT_EQ(EqualByRule(action, left, right), pair.there) << where;
                EXPECT_EQ(EqualByRule(action, right, left), pair.back) << where;
            }
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(EqualRule, PresenceMustAgree) {
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            if (!action.parameters[i].optional) continue;
            const std::string where = action.name + "." + action.parameters[i].name;
            Values without = Typical(action);
            without[i].present = false;
            Values empty = Typical(action);
            empty[i].data = ZeroOf(action.parameters[i].type);
            const Handle a(Create(action, without));
            const Handle again(Create(action, without));
            const Handle b(Create(action, empty));
            const Handle c(Create(action, Typical(action)));
            EXPECT_TRUE(Equal(a.get(), again.get())) << where;
            EXPECT_FALSE(Equal(a.get(), b.get())) << where;
            EXPECT_FALSE(Equal(b.get(), a.get())) << where;
            EXPECT_FALSE(Equal(a.get(), c.get())) << where;
            EXPECT_FALSE(Equal(c.get(), a.get())) << where;
        }
    }
}

TEST_F(EqualRule, AllSetsAgainstEachOther) {
    for (const ActionFacts& action : AllActions()) {
        const std::vector<NamedValues> sets = AllSets(action);
        std::vector<Handle> handles;
        for (const NamedValues& set : sets) handles.emplace_back(Create(action, set.values));
        for (size_t i = 0; i < sets.size(); ++i) {
            for (size_t j = 0; j < sets.size(); ++j) {
                if ((i * sets.size() + j) % kSparse != 0) continue;
                EXPECT_EQ(Equal(handles[i].get(), handles[j].get()),
                          EqualByRule(action, sets[i].values, sets[j].values))
                    << action.name << ": " << sets[i].name << " and " << sets[j].name;
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(EqualRule, OtherActionsAndOtherClassesDiffer) {
    const size_t count = AllActions().size();
    std::vector<Handle> handles;
    for (const ActionFacts& action : AllActions()) {
        handles.emplace_back(Create(action, Empty(action)));
    }
    const Handle generic(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0));
    EXPECT_FALSE(Equal(generic.get(), generic.get()));
    for (size_t i = 0; i < count; ++i) {
        EXPECT_TRUE(Equal(handles[i].get(), handles[i].get())) << AllActions()[i].name;
        EXPECT_FALSE(Equal(handles[i].get(), handles[(i + 1) % count].get()));
        EXPECT_FALSE(Equal(handles[(i + 50) % count].get(), handles[i].get()));
        EXPECT_FALSE(Equal(handles[i].get(), generic.get()));
        EXPECT_FALSE(Equal(generic.get(), handles[i].get()));
    }
}

TEST_F(EqualRule, AttributesTakeNoPart) {
    for (const ActionFacts& action : AllActions()) {
        const Handle a(Create(action, Typical(action)));
        const Handle b(Create(action, Typical(action)));
        TmxAct_SetMessageFlags(a.get(), 3);
        TmxAct_SetInternalData(a.get(), 4);
        TmxAct_SetProperty(a.get(), TMX_W("a"), TMX_W("b"));
        EXPECT_TRUE(Equal(a.get(), b.get())) << action.name;
        EXPECT_TRUE(Equal(b.get(), a.get())) << action.name;
    }
}

}  // namespace
}  // namespace tmxtest
