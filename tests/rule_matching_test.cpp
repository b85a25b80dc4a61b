// Matching and equality of every action's template, parameter by parameter, by the rule of each
// type.

#include <string>

#include "support/checks.h"
#include "support/reference_equal.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class MatchingRule : public RuleTest {};

bool Matches(TmxHandle match, TmxHandle action) {
    bool result = false;
    EXPECT_TRUE(TmxMatchAct_Matches(match, action, &result));
    EXPECT_FALSE(HasError());
    return result;
}

bool Equal(TmxHandle a, TmxHandle b) {
    bool equal = false;
    EXPECT_TRUE(TmxAct_Equal(a, b, &equal));
    EXPECT_FALSE(HasError());
    return equal;
}

Message Alone(const ActionFacts& action, size_t place, const Datum& data) {
    Message match = TemplateOf(action, Typical(action));
    for (size_t i = 0; i < match.values.size(); ++i) match.values[i].present = i == place;
    if (place < match.values.size()) match.values[place].data = data;
    return match;
}

// The template chooses what is compared: each pair is tried both ways.
TEST_F(MatchingRule, EachParameterByTheRuleOfItsType) {
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            for (const ValuePair& pair : PairsOfValues(action.parameters[i].type)) {
                Values left = Typical(action, 1);
                Values right = Typical(action, 1);
                left[i].data = pair.a;
                right[i].data = pair.b;
                const Handle a(Create(action, left));
                const Handle b(Create(action, right));
                const Message aMessage = Alone(action, i, pair.a);
                const Message bMessage = Alone(action, i, pair.b);
                const Handle aAlone(Create(aMessage));
                const Handle bAlone(Create(bMessage));
                const std::string where = action.name + "." + action.parameters[i].name + ": " +
                                          Describe({pair.a}) + " and " + Describe({pair.b});
                EXPECT_EQ(Matches(aAlone.get(), b.get()), pair.there) << where;
                EXPECT_EQ(Matches(bAlone.get(), a.get()), pair.back) << where << ", back";
                EXPECT_EQ(MatchesByRule(aMessage, {&action, right}), pair.there) << where;
                EXPECT_EQ(MatchesByRule(bMessage, {&action, left}), pair.back) << where;
                // With all the others set too, where both are the same.
                const Handle aAll(Create(TemplateOf(action, left)));
                const Handle bAll(Create(TemplateOf(action, right)));
                EXPECT_EQ(Matches(aAll.get(), b.get()), pair.there) << where << ", all set";
                EXPECT_EQ(Matches(bAll.get(), a.get()), pair.back) << where << ", all set, back";
                // Templates are equal by the same rules.
                EXPECT_EQ(Equal(aAlone.get(), bAlone.get()), pair.there) << where << ", templates";
                EXPECT_EQ(Equal(bAlone.get(), aAlone.get()), pair.back) << where << ", templates";
                EXPECT_EQ(Equal(aAll.get(), bAll.get()), pair.there) << where << ", templates";
                EXPECT_EQ(Equal(bAll.get(), aAll.get()), pair.back) << where << ", templates";
            }
            if (TooManyFailures()) return;
        }
    }
}

// All but one agree: that one decides, wherever it stands, and open it doesn't.
TEST_F(MatchingRule, OneThatDisagreesDecides) {
    for (const ActionFacts& action : AllActions()) {
        const Handle target(Create(action, Typical(action)));
        const Handle all(Create(TemplateOf(action, Typical(action))));
        EXPECT_TRUE(Matches(all.get(), target.get())) << action.name;
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const std::string where = action.name + "." + action.parameters[i].name;
            Values values = Typical(action);
            values[i].data = Typical(action, 1)[i].data;
            const Handle differs(Create(TemplateOf(action, values)));
            EXPECT_FALSE(Matches(differs.get(), target.get())) << where;
            EXPECT_FALSE(Equal(differs.get(), all.get())) << where;
            values[i].present = false;
            const Handle open(Create(TemplateOf(action, values)));
            EXPECT_TRUE(Matches(open.get(), target.get())) << where;
            EXPECT_FALSE(Equal(open.get(), all.get())) << where;
            EXPECT_FALSE(Equal(all.get(), open.get())) << where;
        }
        if (TooManyFailures()) return;
    }
}

// The stored value of an absent parameter is that of a new action: its presence isn't asked for.
TEST_F(MatchingRule, AbsentParametersCountByTheirStoredValue) {
    size_t tried = 0;
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const ParameterFacts& parameter = action.parameters[i];
            if (!parameter.optional) continue;
            ++tried;
            const std::string where = action.name + "." + parameter.name;
            Values values = Typical(action);
            values[i].present = false;
            // Created so, and read so.
            const Handle created(Create(action, values));
            const Bytes bytes = BinaryForm(action, values);
            const Handle read(TmxAct_CreateFromBinBuffer(
                bytes.data(), static_cast<int32_t>(bytes.size()), 1, nullptr));
            const Handle zero(Create(Alone(action, i, ZeroOf(parameter.type))));
            const Handle other(Create(Alone(action, i, Typical(action)[i].data)));
            for (TmxHandle target : {created.get(), read.get()}) {
                EXPECT_EQ(Matches(zero.get(), target), parameter.type != Type::DateTime) << where;
                const Value typical = Typical(action)[i];
                const bool* flag = std::get_if<bool>(&typical.data);
                const bool isFalse = flag != nullptr && !*flag;
                EXPECT_EQ(Matches(other.get(), target), isFalse) << where;
            }
        }
    }
    EXPECT_GT(tried, 300u);
}

TEST_F(MatchingRule, AllTemplatesAgainstAllValues) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        std::vector<NamedMessage> templates = TemplateSets(action);
        std::vector<NamedValues> sets = AllSets(action);
        std::vector<Handle> handles;
        for (const NamedValues& set : sets) handles.emplace_back(Create(action, set.values));
        for (const NamedMessage& match : templates) {
            const Handle handle(Create(match.message));
            for (size_t i = 0; i < sets.size(); ++i) {
                if (number++ % kSparse != 0) continue;
                EXPECT_EQ(Matches(handle.get(), handles[i].get()),
                          MatchesByRule(match.message, {&action, sets[i].values}))
                    << action.name << ": " << match.name << " and " << sets[i].name;
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(MatchingRule, AllTemplatesAgainstEachOther) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        const std::vector<NamedMessage> sets = TemplateSets(action);
        std::vector<Handle> handles;
        for (const NamedMessage& set : sets) handles.emplace_back(Create(set.message));
        for (size_t i = 0; i < sets.size(); ++i) {
            for (size_t j = 0; j < sets.size(); ++j) {
                if (number++ % kSparse != 0) continue;
                EXPECT_EQ(Equal(handles[i].get(), handles[j].get()),
                          EqualByRule(sets[i].message, sets[j].message))
                    << action.name << ": " << sets[i].name << " and " << sets[j].name;
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(MatchingRule, WithNothingSetTheCodeAloneDecides) {
    const std::vector<ActionFacts>& actions = AllActions();
    std::vector<Handle> handles;
    std::vector<Handle> templates;
    for (const ActionFacts& action : actions) {
        handles.emplace_back(Create(action, Typical(action)));
        templates.emplace_back(Create(Alone(action, ~size_t{0}, {})));
    }
    const Handle generic(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0));
    for (size_t i = 0; i < actions.size(); ++i) {
        for (size_t j = 0; j < actions.size(); ++j) {
            ASSERT_EQ(Matches(templates[i].get(), handles[j].get()), i == j)
                << actions[i].name << " and " << actions[j].name;
            ASSERT_EQ(Equal(templates[i].get(), templates[j].get()), i == j)
                << actions[i].name << " and " << actions[j].name;
        }
        EXPECT_FALSE(Matches(templates[i].get(), generic.get())) << actions[i].name;
        EXPECT_FALSE(Equal(templates[i].get(), handles[i].get())) << actions[i].name;
        EXPECT_FALSE(Equal(handles[i].get(), templates[i].get())) << actions[i].name;
        EXPECT_FALSE(Equal(templates[i].get(), generic.get())) << actions[i].name;
        EXPECT_FALSE(Equal(generic.get(), templates[i].get())) << actions[i].name;
    }
}

TEST_F(MatchingRule, DescriptionsAndAttributesTakeNoPart) {
    for (const ActionFacts& action : AllActions()) {
        const Handle plain(Create(TemplateOf(action, Typical(action))));
        const Handle described(Create(TemplateOf(action, Typical(action), TMX_W("x"))));
        const Handle other(Create(TemplateOf(action, Typical(action), TMX_W("y"))));
        const Handle target(Create(action, Typical(action)));
        TmxAct_SetMessageFlags(described.get(), 3);
        TmxAct_SetInternalData(described.get(), 4);
        EXPECT_TRUE(Equal(plain.get(), described.get())) << action.name;
        EXPECT_TRUE(Equal(described.get(), other.get())) << action.name;
        EXPECT_NE(StoredBytes(described.get()), StoredBytes(other.get())) << action.name;
        EXPECT_TRUE(Matches(described.get(), target.get())) << action.name;
        TmxAct_SetMessageFlags(target.get(), 3);
        TmxAct_SetInternalData(target.get(), 4);
        TmxAct_SetProperty(target.get(), TMX_W("a"), TMX_W("b"));
        EXPECT_TRUE(Matches(plain.get(), target.get())) << action.name;
    }
}

// The template of an action matches it, but for what isn't equal to itself.
TEST_F(MatchingRule, ATemplateFromAnActionMatchesIt) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            const Handle target(Create(action, set.values));
            TmxHandle made = nullptr;
            ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(target.get(), &made));
            const Handle match(made);
            const Message message{&action, set.values};
            EXPECT_EQ(Matches(match.get(), target.get()), EqualByRule(message, message))
                << action.name << ", " << set.name;
        }
        if (TooManyFailures()) return;
    }
}

}  // namespace
}  // namespace tmxtest
