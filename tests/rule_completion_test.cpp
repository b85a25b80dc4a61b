// The actions that every template makes: without a source, of a source of the same action, and of
// any other source by its roles; and templates from actions and back.

#include <map>
#include <string>
#include <tuple>

#include "support/checks.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class CompletionRule : public RuleTest {};

// Makes an action and compares it, and sees that the two that it came from stay as they were.
void CheckMade(TmxHandle match, TmxHandle source, const Message& expected,
               const std::string& where) {
    TmxHandle made = nullptr;
    ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(match, source, &made)) << where;
    EXPECT_FALSE(HasError()) << where;
    const Handle action(made);
    ASSERT_TRUE(action) << where;
    const std::string differences = MessageDifferences(made, expected);
    EXPECT_TRUE(differences.empty()) << where << "\n" << differences;
}

// Makes an action of every template here and of the source.
void CheckAllOf(const std::vector<NamedMessage>& templates, const std::vector<Handle>& handles,
                const Message& source, TmxHandle sourceHandle, const std::string& where) {
    for (size_t i = 0; i < templates.size(); ++i) {
        CheckMade(handles[i].get(), sourceHandle, Completed(templates[i].message, source),
                  templates[i].message.action->name + ", " + templates[i].name + " from " +
                      source.action->name + ", " + where);
    }
}

std::vector<Handle> HandlesOf(const std::vector<NamedMessage>& templates) {
    std::vector<Handle> handles;
    for (const NamedMessage& match : templates) handles.emplace_back(Create(match.message));
    return handles;
}

// Those of TemplateSets that show which parameter comes from where: the values of a template that
// was read, as it keeps them.
std::vector<NamedMessage> Patterns(const ActionFacts& action) {
    std::vector<NamedMessage> patterns;
    for (NamedMessage& set : TemplateSets(action)) {
        if (set.name.find("extreme") == 0) continue;
        bool fromAction = true;
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            if (!set.message.values[i].present && !action.parameters[i].optional) {
                fromAction = false;
            }
        }
        if (!fromAction) set.message.values = AsStored(set.message.values);
        patterns.push_back(std::move(set));
    }
    return patterns;
}

TEST_F(CompletionRule, WithoutASource) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : Patterns(action)) {
            const Handle handle(Create(set.message));
            CheckMade(handle.get(), nullptr, Completed(set.message), action.name + ", " + set.name);
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(CompletionRule, OfASourceOfTheSameAction) {
    for (const ActionFacts& action : AllActions()) {
        const std::vector<NamedMessage> templates = Patterns(action);
        const std::vector<Handle> handles = HandlesOf(templates);
        for (const NamedValues& set : AllSets(action)) {
            if (set.name.find("extreme") == 0 && set.name.back() % 4 != 0) continue;
            const Handle source(Create(action, set.values));
            CheckAllOf(templates, handles, {&action, set.values}, source.get(), set.name);
        }
        if (TooManyFailures()) return;
    }
}

// What a source has and has not, and where.
auto SignatureOf(const ActionFacts& action) {
    const auto state = [&](size_t place) {
        return place == kNoPlace ? 0 : action.parameters[place].optional ? 1 : 2;
    };
    return std::tuple(state(VideoInputPlace(action)), state(VideoOutputPlace(action)),
                      state(InputContactPlace(action)), state(OutputContactPlace(action)),
                      state(ForeignKeyPlace(action)), state(GenericNumberPlace(action)));
}

// One action for each combination of roles that the catalogue has, and the special one.
std::vector<const ActionFacts*> SourcesOfAllKinds() {
    std::map<decltype(SignatureOf(AllActions()[0])), const ActionFacts*> sources;
    for (const ActionFacts& action : AllActions()) {
        if (action.name != "CustomAction") sources.emplace(SignatureOf(action), &action);
    }
    std::vector<const ActionFacts*> list = {&ActionByName("CustomAction"),
                                            &ActionByName("SensorAudioAlarm"),
                                            &ActionByName("IPCamFailoverRestore")};
    for (const auto& [signature, action] : sources) list.push_back(action);
    return list;
}

TEST_F(CompletionRule, TheSourcesHaveAndLackEveryRole) {
    size_t with[6] = {};
    size_t without[6] = {};
    for (const ActionFacts* action : SourcesOfAllKinds()) {
        const Roles roles = RolesOf({action, Typical(*action)});
        const bool has[] = {roles.videoInput.has_value(),   roles.videoOutput.has_value(),
                            roles.inputContact.has_value(), roles.outputContact.has_value(),
                            roles.foreignKey.has_value(),   roles.number != 0};
        for (size_t i = 0; i < 6; ++i) ++(has[i] ? with : without)[i];
    }
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_GT(with[i], 0u) << i;
        EXPECT_GT(without[i], 0u) << i;
    }
}

TEST_F(CompletionRule, OfSourcesWithAndWithoutEachRole) {
    struct Source {
        Message message;
        Handle handle;
        std::string name;
    };
    std::vector<Source> sources;
    for (const ActionFacts* action : SourcesOfAllKinds()) {
        for (const auto& [name, values] :
             {NamedValues{"typical", Typical(*action)}, NamedValues{"absent", Absent(*action)},
              NamedValues{"empty", Empty(*action)}}) {
            sources.push_back({{action, values}, Handle(Create(*action, values)), name});
        }
    }
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        const std::vector<NamedMessage> templates = Patterns(action);
        const std::vector<Handle> handles = HandlesOf(templates);
        for (const Source& source : sources) {
            if (number++ % kSparse != 0) continue;
            CheckAllOf(templates, handles, source.message, source.handle.get(), source.name);
        }
        if (TooManyFailures()) return;
    }
}

// Every template with nothing set of every action.
TEST_F(CompletionRule, OfEveryOtherAction) {
    const std::vector<ActionFacts>& actions = AllActions();
    std::vector<Message> sources;
    std::vector<Handle> handles;
    for (const ActionFacts& action : actions) {
        sources.push_back({&action, Typical(action)});
        handles.emplace_back(Create(action, Typical(action)));
    }
    size_t number = 0;
    for (const ActionFacts& action : actions) {
        Message open = TemplateOf(action, Typical(action));
        for (Value& value : open.values) value.present = false;
        const Handle match(Create(open));
        for (size_t i = 0; i < actions.size(); ++i) {
            if (number++ % kSparse != 0) continue;
            CheckMade(match.get(), handles[i].get(), Completed(open, sources[i]),
                      action.name + " from " + actions[i].name);
        }
        if (TooManyFailures()) return;
    }
}

// Every combination of what a generic action has and lacks.
TEST_F(CompletionRule, OfAGenericAction) {
    struct Source {
        Roles roles;
        Handle handle;
    };
    std::vector<Source> sources;
    const ObjectRef given[] = {{1, 2, TMX_W("in")},
                               {0, 3, TMX_W("")},
                               {0, 0, TMX_W("contact")},
                               {0x100000000, 0, TMX_W("")}};
    for (unsigned bits = 0; bits < 16; ++bits) {
        TmxObjectRef flat[4];
        const TmxObjectRef* arguments[4] = {};
        const TmxObjectRef empty{};
        Source source;
        std::optional<ObjectRef>* const roles[] = {
            &source.roles.videoInput, &source.roles.videoOutput, &source.roles.inputContact,
            &source.roles.outputContact};
        for (unsigned i = 0; i < 4; ++i) {
            flat[i] = {given[i].id, given[i].name.c_str(), given[i].number, 0};
            if ((bits >> i & 1) != 0) {
                arguments[i] = &flat[i];
                *roles[i] = given[i];
            } else if (i % 2 == 0) {
                // An empty reference is none.
                arguments[i] = &empty;
            }
        }
        source.roles.number = static_cast<int32_t>(bits) - 7;
        source.handle = Handle(TmxAct_CreateGenericAction(arguments[0], arguments[1], arguments[2],
                                                          arguments[3], source.roles.number));
        sources.push_back(std::move(source));
    }
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : Patterns(action)) {
            const Handle match(Create(set.message));
            for (const Source& source : sources) {
                if (number++ % kSparse != 0) continue;
                CheckMade(match.get(), source.handle.get(), Completed(set.message, source.roles),
                          action.name + ", " + set.name + " from a generic action");
            }
        }
        if (TooManyFailures()) return;
    }
}

// An action's template, turned back without a source, is the action to the bit.
TEST_F(CompletionRule, ToATemplateAndBack) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            const std::string where = action.name + ", " + set.name;
            const Handle original(Create(action, set.values));
            TmxAct_SetMessageFlags(original.get(), 3);
            TmxAct_SetInternalData(original.get(), 4);
            TmxAct_SetProperty(original.get(), TMX_W("a"), TMX_W("b"));
            TmxHandle made = nullptr;
            ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(original.get(), &made)) << where;
            const Handle match(made);
            ASSERT_TRUE(match) << where;
            // Required texts are there even if none was given.
            Message expected = TemplateOf(action, set.values);
            for (size_t i = 0; i < expected.values.size(); ++i) {
                expected.values[i] = Seen(action.parameters[i], expected.values[i]);
            }
            EXPECT_EQ(MessageDifferences(made, expected), "") << where;
            CheckMade(made, nullptr, {&action, set.values}, where);
            for (TmxHandle handle : {made, original.get()}) {
                uint32_t count = 0;
                EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
                EXPECT_EQ(count, 1u) << where;
            }
            uint32_t flags = 1;
            uint64_t data = 1;
            EXPECT_TRUE(TmxAct_GetMessageFlags(made, &flags));
            EXPECT_TRUE(TmxAct_GetInternalData(made, &data));
            EXPECT_EQ(flags + data, 0u) << where;
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(CompletionRule, WhatIsMadeIsNewAndTheRestIsUntouched) {
    const ActionFacts& other = ActionByName("ViewerConnect");
    for (const ActionFacts& action : AllActions()) {
        Message half = TemplateOf(action, Typical(action), TMX_W("x"));
        for (size_t i = 0; i < half.values.size(); i += 2) half.values[i].present = false;
        const Handle match(Create(half));
        for (const ActionFacts* sourceAction : {&action, &other}) {
            const Handle source(Create(*sourceAction, Typical(*sourceAction, 1)));
            for (TmxHandle handle : {match.get(), source.get()}) {
                TmxAct_SetMessageFlags(handle, 3);
                TmxAct_SetInternalData(handle, 4);
            }
            TmxAct_SetProperty(source.get(), TMX_W("a"), TMX_W("b"));
            const Bytes matchBytes = StoredBytes(match.get());
            const Bytes sourceBytes = StoredBytes(source.get());
            const uint32_t open = TmxAct_GetNumberOfOpenHandles();
            TmxHandle made = nullptr;
            ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(match.get(), source.get(), &made));
            const Handle result(made);
            EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), open + 1) << action.name;
            uint32_t flags = 1;
            uint64_t data = 1;
            EXPECT_TRUE(TmxAct_GetMessageFlags(made, &flags));
            EXPECT_TRUE(TmxAct_GetInternalData(made, &data));
            EXPECT_EQ(flags + data, 0u) << action.name;
            for (TmxHandle handle : {made, match.get(), source.get()}) {
                uint32_t count = 0;
                EXPECT_TRUE(TmxAct_GetReferenceCounter(handle, &count));
                EXPECT_EQ(count, 1u) << action.name;
            }
            // No property came along.
            const Bytes madeBytes = StoredBytes(made);
            EXPECT_EQ(Bytes(madeBytes.end() - 8, madeBytes.end()),
                      (Bytes{0x0F, 0xF0, 0, 0, 0, 0, 0, 0}))
                << action.name;
            EXPECT_EQ(StoredBytes(match.get()), matchBytes) << action.name;
            EXPECT_EQ(StoredBytes(source.get()), sourceBytes) << action.name;
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(CompletionRule, AClonedTemplateIsTheSame) {
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : TemplateSets(action)) {
            const Handle match(Create(set.message));
            TmxHandle copy = nullptr;
            ASSERT_TRUE(TmxAct_CloneHandle(match.get(), &copy));
            const Handle clone(copy);
            ASSERT_TRUE(clone);
            EXPECT_EQ(StoredBytes(copy), StoredBytes(match.get()))
                << action.name << ", " << set.name;
            TmxHandle fromMatch = nullptr;
            TmxHandle fromClone = nullptr;
            ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(match.get(), nullptr, &fromMatch));
            const Handle first(fromMatch);
            ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(copy, nullptr, &fromClone));
            const Handle second(fromClone);
            // The times of open pairs are the same too.
            EXPECT_EQ(StoredBytes(fromClone), StoredBytes(fromMatch))
                << action.name << ", " << set.name;
        }
        if (TooManyFailures()) return;
    }
}

}  // namespace
}  // namespace tmxtest
