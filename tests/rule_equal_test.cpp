// Equality of every action, parameter by parameter, by the rule of each type.

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

TEST_F(EqualRule, EachParameterByTheRuleOfItsType) {
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const ParameterFacts& parameter = action.parameters[i];
            const std::vector<ValuePair> pairs = PairsOfValues(parameter.type);
            ASSERT_FALSE(pairs.empty());
            for (const ValuePair& pair : pairs) {
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
