// The text of every action's template with every pattern of what is set, in both widths: exact,
// back from what was written, cut at every place, changed, and with its parts in another order.

#include <algorithm>
#include <set>

#include "support/checks.h"
#include "support/reference_encoding.h"
#include "support/text_checks.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class TemplateTextRule : public RuleTest {};

constexpr uint32_t kMatch = TMX_MESSAGE_CLASS_MATCH_ACTION;

// A template with about half of its parameters set.
Message Half(const ActionFacts& action, unsigned variant) {
    Message match = TemplateOf(action, Typical(action, variant));
    if (variant != 0) match.description = TMX_W("half \u00E4");
    for (size_t i = 0; i < match.values.size(); ++i) {
        match.values[i].present = (i + variant) % 2 == 0;
    }
    return match;
}

Message Whole(const ActionFacts& action) {
    return TemplateOf(action, Typical(action), TMX_W("at night"));
}

bool BeginsWith(const std::string& text, const std::string& front) {
    if (text.size() < front.size()) return false;
    for (size_t i = 0; i < front.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c + 0; };
        if (lower(text[i]) != lower(front[i])) return false;
    }
    return true;
}

// A name that is written where an open parameter is tried whose name begins it is taken for that.
bool IsTakenForAnother(const Message& match) {
    const std::vector<ParameterFacts>& parameters = match.action->parameters;
    std::vector<std::string> tried;
    if (!match.description) tried.push_back("Comment");
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (!match.values[i].present) {
            tried.push_back(parameters[i].name);
            continue;
        }
        for (const std::string& name : tried) {
            if (BeginsWith(parameters[i].name, name)) return true;
        }
        tried.clear();
    }
    return false;
}

// True where the set is made so that the reader must take the text back.
bool MustRead(const NamedMessage& set) {
    if (set.name.find("extreme") == 0 || IsTakenForAnother(set.message)) return false;
    for (const Value& value : set.message.values) {
        const auto* entries = std::get_if<DataSet>(&value.data);
        if (value.present && entries != nullptr && entries->empty()) return false;
    }
    return true;
}

void CheckAllTemplates(bool display) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : TemplateSets(action)) {
            if (number++ % kSparse != 0) continue;
            const Handle handle(Create(set.message));
            ASSERT_TRUE(handle);
            ForAllForms([&]<typename Char>(bool utf8) {
                CheckStore<Char>(set.message, action.name + ", " + set.name, handle.get(), display,
                                 utf8);
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TemplateTextRule, MachineFormIsExact) { CheckAllTemplates(false); }

TEST_F(TemplateTextRule, DisplayFormIsExact) { CheckAllTemplates(true); }

// Spelled out once without the reference's writer: each set parameter with its name, in order.
TEST_F(TemplateTextRule, EverySetParameterIsNamed) {
    for (const ActionFacts& action : AllActions()) {
        Message match = TemplateOf(action, Typical(action));
        for (size_t alone = 0; alone < action.parameters.size(); ++alone) {
            for (size_t i = 0; i < match.values.size(); ++i) match.values[i].present = i == alone;
            const Handle handle(Create(match));
            std::string text(20000, '!');
            uint32_t written = 0;
            ASSERT_TRUE(
                TmxAct_StoreToTextBufferA(handle.get(), text.data(), 20000, false, true, &written));
            text.resize(written - 1);
            const std::string front =
                "@ " + action.name + " (" + action.parameters[alone].name + ": ";
            EXPECT_EQ(text.substr(0, front.size()), front);
            EXPECT_EQ(text.back(), ')') << text;
        }
        for (Value& value : match.values) value.present = false;
        const Handle none(Create(match));
        char text[200];
        ASSERT_TRUE(TmxAct_StoreToTextBufferA(none.get(), text, 200, false, false, nullptr));
        EXPECT_EQ(std::string(text), "@ " + action.name + " ()");
        ASSERT_TRUE(TmxAct_StoreToTextBufferA(none.get(), text, 200, true, false, nullptr));
        EXPECT_EQ(std::string(text), action.name);
    }
}

TEST_F(TemplateTextRule, EverySizeOfTheBuffer) {
    for (const char* name : kChosenActions) {
        const Message match = Whole(ActionByName(name));
        const Handle handle(Create(match));
        ForAllForms([&]<typename Char>(bool utf8) {
            for (bool display : {false, true}) {
                const auto expected = *TextForm<Char>::Reference(match, display, utf8);
                for (uint32_t size = 0; size <= expected.size() + 2; ++size) {
                    GuardedBuffer<Char> buffer(size);
                    uint32_t written = kUnset;
                    const bool stored = TextForm<Char>::Store(handle.get(), buffer.data(), size,
                                                              display, utf8, &written);
                    ASSERT_EQ(stored, size > expected.size()) << name << " with " << size;
                    ASSERT_EQ(written, expected.size() + 1) << name << " with " << size;
                    ASSERT_TRUE(buffer.GuardIsIntact()) << name << " with " << size;
                    ASSERT_TRUE(buffer.HoldsFrontOf(expected + Char{0}))
                        << name << " with " << size;
                    ASSERT_EQ(LastError(), stored ? "none" : "1008/7 buffer too small");
                }
            }
        });
    }
}

TEST_F(TemplateTextRule, TakesBackWhatWasWritten) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : TemplateSets(action)) {
            if (number++ % kSparse != 0) continue;
            const Handle original(Create(set.message));
            const std::string where = action.name + ", " + set.name;
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = TextForm<Char>::Reference(set.message, false, utf8);
                if (!text) return;
                Handle read;
                const bool made = CheckRead(*text, TMX_MEASURE_LENGTH, utf8, where, &read, kMatch);
                CheckRead(*text, static_cast<uint32_t>(text->size()), utf8, where, nullptr,
                          TMX_ANY_MESSAGE_CLASS);
                if (IsTakenForAnother(set.message)) {
                    EXPECT_FALSE(made) << where;
                }
                if (!MustRead(set)) return;
                ASSERT_TRUE(made) << where << "\n" << Printable(*text);
                bool there = false;
                bool back = false;
                EXPECT_TRUE(TmxAct_Equal(original.get(), read.get(), &there));
                EXPECT_TRUE(TmxAct_Equal(read.get(), original.get(), &back));
                EXPECT_TRUE(there && back) << where << "\n" << Printable(*text);
                // What was read writes the same text again.
                std::basic_string<Char> again(text->size() + 1, Char{1});
                EXPECT_TRUE(TextForm<Char>::Store(read.get(), again.data(),
                                                  static_cast<uint32_t>(again.size()), false, utf8,
                                                  nullptr));
                again.pop_back();
                EXPECT_EQ(Printable(again), Printable(*text)) << where;
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TemplateTextRule, NamesAreTakenInAnyCase) {
    for (const ActionFacts& action : AllActions()) {
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = *TextForm<Char>::Reference(Whole(action), false, utf8);
            for (bool upper : {false, true}) {
                EXPECT_TRUE(CheckRead(WithNameCase(text, upper), TMX_MEASURE_LENGTH, utf8,
                                      action.name, nullptr, kMatch));
            }
        });
        if (TooManyFailures()) return;
    }
}

TEST_F(TemplateTextRule, WhiteSpaceStandsAroundEveryToken) {
    for (const ActionFacts& action : AllActions()) {
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = *TextForm<Char>::Reference(Whole(action), false, utf8);
            const auto read = [&](const std::basic_string<Char>& spelling) {
                return CheckRead(spelling, TMX_MEASURE_LENGTH, utf8, action.name, nullptr, kMatch);
            };
            EXPECT_TRUE(read(Spaced(text)));
            EXPECT_TRUE(read(Dense(text)));
            EXPECT_TRUE(read(Dense(text) + Char{')'} + text));
            // White space on both sides of the sign.
            EXPECT_TRUE(read(Char{'\n'} + text.substr(0, 1) + Char{'\t'} + text.substr(1)));
        });
        if (TooManyFailures()) return;
    }
}

TEST_F(TemplateTextRule, EveryCutLength) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const Message& match : {Whole(action), Half(action, 1)}) {
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = *TextForm<Char>::Reference(match, false, utf8);
                for (size_t cut = 0; cut <= text.size(); ++cut) {
                    if (number++ % kSparse != 0) continue;
                    // Once the text goes on behind its length, once it ends there.
                    const auto length = static_cast<uint32_t>(cut);
                    CheckRead(text, length, utf8, action.name + ", shorter length", nullptr,
                              kMatch);
                    CheckRead(text.substr(0, cut), TMX_MEASURE_LENGTH, utf8,
                              action.name + ", cut and measured", nullptr, kMatch);
                    if (cut % 4 != 0) continue;
                    CheckRead(text.substr(0, cut), length + 9, utf8,
                              action.name + ", cut, longer length", nullptr, TMX_ANY_MESSAGE_CLASS);
                }
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TemplateTextRule, OneCharacterChangedInChosenActions) {
    size_t number = 0;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        for (const Message& match : {Whole(action), Half(action, 0)}) {
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = *TextForm<Char>::Reference(match, false, utf8);
                for (size_t place = 0; place < text.size(); ++place) {
                    for (Char replacement : Replacements<Char>()) {
                        // Every second place of the longer texts is enough.
                        if (number++ % (2 * kSparse) != 0) continue;
                        auto changed = text;
                        changed[place] = replacement;
                        CheckChanged(changed, utf8, action.name + ", changed",
                                     TMX_ANY_MESSAGE_CLASS);
                    }
                    if (place % kSparse != 0) continue;
                    auto shorter = text;
                    shorter.erase(place, 1);
                    CheckChanged(shorter, utf8, action.name + ", one left out",
                                 TMX_ANY_MESSAGE_CLASS);
                    auto longer = text;
                    longer.insert(place, 1, Replacements<Char>()[place % 24]);
                    CheckChanged(longer, utf8, action.name + ", one put in", kMatch);
                    if (TooManyFailures()) return;
                }
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TemplateTextRule, OneCharacterChangedInAllActions) {
    Random random(20261120);
    for (const ActionFacts& action : AllActions()) {
        const Message match = Whole(action);
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = *TextForm<Char>::Reference(match, false, utf8);
            for (unsigned i = 0; i < 150 / kSparse; ++i) {
                auto changed = text;
                const auto& list = Replacements<Char>();
                changed[Below(random, text.size())] = list[Below(random, list.size())];
                CheckChanged(changed, utf8, action.name + ", changed", kMatch);
                changed[Below(random, text.size())] = list[Below(random, list.size())];
                CheckChanged(changed, utf8, action.name + ", changed twice", TMX_ANY_MESSAGE_CLASS);
                CheckRead(changed, Below(random, text.size() + 1), utf8,
                          action.name + ", changed and cut", nullptr, kMatch);
            }
        });
        if (TooManyFailures()) return;
    }
}

// The text of one parameter, with its name.
std::string TextOf(const ActionFacts& action, size_t index) {
    Message match = TemplateOf(action, Typical(action));
    for (size_t i = 0; i < match.values.size(); ++i) match.values[i].present = i == index;
    const std::string text = *NarrowText(match, false, false);
    const size_t open = text.find('(') + 1;
    return text.substr(open, text.size() - 1 - open);
}

// Each name is valid, but bound to its place: whatever the order, all that is out of it makes the
// closing parenthesis fail.
TEST_F(TemplateTextRule, PartsOutOfPlaceAreRefused) {
    const std::string comment = "Comment: \"x\"";
    for (const ActionFacts& action : AllActions()) {
        const std::string front = "@ " + action.name + " (";
        const auto refused = [&](const std::string& inside, const char* what) {
            EXPECT_FALSE(CheckRead(front + inside + ")", TMX_MEASURE_LENGTH, false,
                                   action.name + ", " + what, nullptr, kMatch))
                << inside;
            EXPECT_FALSE(CheckRead(Widened(front) + ToWide(inside + ")", false), TMX_MEASURE_LENGTH,
                                   false, action.name + ", " + what, nullptr, kMatch))
                << inside;
        };
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            const std::string text = TextOf(action, i);
            const std::string& name = action.parameters[i].name;
            refused(text + ", " + comment, "description behind");
            refused(text + ", " + text, "twice");
            refused(text + ",", "comma behind");
            refused(", " + text, "comma ahead");
            refused("No" + text, "unknown name");
            refused(name + "X" + text.substr(name.size()), "longer name");
            refused(text.substr(name.size() + 2), "without its name");
            refused(comment + " " + text, "without a comma");
            for (size_t j = i + 1; j < action.parameters.size(); ++j) {
                refused(TextOf(action, j) + ", " + text, "other order");
            }
        }
        refused(comment + ", " + comment, "description twice");
        refused("Comment", "name alone");
        refused("Comment:", "no value");
        if (TooManyFailures()) return;
    }
}

// All places of the catalogue where one name begins with another: behind the open shorter one the
// reader takes the longer for it and misses the colon.
TEST_F(TemplateTextRule, LongerNameBehindAnOpenShorterOneIsRefused) {
    std::set<std::string> found;
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            for (size_t j = i + 1; j < action.parameters.size(); ++j) {
                const std::string& shorter = action.parameters[i].name;
                const std::string& longer = action.parameters[j].name;
                if (!BeginsWith(longer, shorter)) continue;
                found.insert(action.name + "." + longer);
                Message match = TemplateOf(action, Typical(action));
                for (size_t k = 0; k < match.values.size(); ++k) match.values[k].present = k == j;
                const std::string text = *NarrowText(match, false, false);
                EXPECT_FALSE(
                    CheckRead(text, TMX_MEASURE_LENGTH, false, action.name, nullptr, kMatch));
                EXPECT_FALSE(CheckRead(ToWide(text, false), TMX_MEASURE_LENGTH, false, action.name,
                                       nullptr, kMatch));
                match.values[i].present = true;
                EXPECT_TRUE(CheckRead(*NarrowText(match, false, false), TMX_MEASURE_LENGTH, false,
                                      action.name, nullptr, kMatch));
            }
        }
    }
    EXPECT_TRUE(found.count("SetLEDBlink.LedTimeOnMs"));
    EXPECT_TRUE(found.count("POSData.PricePerUnit"));
    EXPECT_EQ(found.size(), 12u);
}

// It is for people alone.
TEST_F(TemplateTextRule, DisplayFormIsRefused) {
    for (const ActionFacts& action : AllActions()) {
        ForAllForms([&]<typename Char>(bool utf8) {
            EXPECT_FALSE(CheckRead(*TextForm<Char>::Reference(Whole(action), true, utf8),
                                   TMX_MEASURE_LENGTH, utf8, action.name + ", display", nullptr,
                                   TMX_ANY_MESSAGE_CLASS));
        });
    }
}

TEST_F(TemplateTextRule, TheSignTellsTemplatesFromActions) {
    for (const ActionFacts& action : AllActions()) {
        const std::string match = *NarrowText(Whole(action), false, false);
        const std::string text = *NarrowText(action, Typical(action), false, false);
        for (uint32_t messageClass : {0u, 1u, 2u, 3u, TMX_ANY_MESSAGE_CLASS}) {
            const bool any = messageClass == TMX_ANY_MESSAGE_CLASS;
            EXPECT_EQ(
                CheckRead(match, TMX_MEASURE_LENGTH, false, action.name, nullptr, messageClass),
                any || messageClass == 2);
            EXPECT_EQ(
                CheckRead(text, TMX_MEASURE_LENGTH, false, action.name, nullptr, messageClass),
                any || messageClass == 1);
            // An action's list behind the sign, a template's without it.
            CheckRead("@ " + text, TMX_MEASURE_LENGTH, false, action.name, nullptr, messageClass);
            CheckRead(match.substr(2), TMX_MEASURE_LENGTH, false, action.name, nullptr,
                      messageClass);
        }
        if (TooManyFailures()) return;
    }
}

}  // namespace
}  // namespace tmxtest
