// The index of the program's rules finds what the library finds, for every action, and asks less.
#include "template_index.h"

#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "facts.h"

namespace {

using namespace tmxact;

struct Close {
    void operator()(TmxMessage* handle) const noexcept { TmxAct_CloseHandle(handle); }
};
using Message = std::unique_ptr<TmxMessage, Close>;

Message Read(const std::string& text) {
    return Message(TmxAct_CreateFromTextBufferA(text.c_str(), TMX_MEASURE_LENGTH,
                                                TMX_ANY_MESSAGE_CLASS, true, nullptr));
}

bool Matches(const Message& asked, const Message& action) {
    bool matches = false;
    EXPECT_TRUE(TmxMatchAct_Matches(asked.get(), action.get(), &matches));
    return matches;
}

// Values of each type that agree with each other in all the ways that they can, and that don't.
std::vector<std::string> ValuesOf(const ParameterFacts& parameter) {
    switch (parameter.type) {
        case TmxParamType_Bool:
            return {"0", "1"};
        case TmxParamType_Double:
            return {"0", "-0", "1.5", "-1.5"};
        case TmxParamType_DateTime:
            return {"\"2026/11/15 12:00:00,000 GMT+01:00\"",
                    "\"2026/11/15 11:00:00,000 GMT+00:00\"",
                    "\"2026/11/15 12:00:00,001 GMT+01:00\"", "\"1601/01/01 00:00 GMT+00:00\""};
        case TmxParamType_AnsiText:
            return {"\"\"", "\"abc\"", "\"ABC\"", "\"ab\"", "\"\u00e4\"", "\"\u00c4\""};
        case TmxParamType_WideText:
            // The long s and the Kelvin sign are an S and a K to a fold; the last is a pair of
            // letters beyond the first plane.
            return {"\"\"",        "\"sk\"",      "\"SK\"",         "\"\u017f\u212a\"",
                    "\"\u00e4x\"", "\"\u00c4X\"", "\"\U00010428\"", "\"\U00010400\""};
        case TmxParamType_Guid:
            return {"\"00000000-0000-0000-0000-000000000000\"",
                    "\"00112233-4455-6677-8899-aabbccddeeff\"",
                    "\"00112233-4455-6677-8899-AABBCCDDEEFE\""};
        case TmxParamType_NamedId:
            return {"{ 0, \"\" }", "{ 7, \"a\" }", "{ 7, \"b\" }", "{ 0, \"A\" }", "{ 8, \"a\" }"};
        case TmxParamType_ObjectRef:
            return {"0",
                    "5",
                    "{ 9, 5, \"gate\" }",
                    "{ 9, 6, \"x\" }",
                    "{ 0, 0, \"GATE\" }",
                    "{ 0, 6, \"gate\" }",
                    "{ 8, 0, \"\" }"};
        case TmxParamType_GuidRef:
            return {"{ \"00000000-0000-0000-0000-000000000000\", \"\" }",
                    "{ \"00000000-0000-0000-0000-000000000000\", \"night\" }",
                    "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Night\" }",
                    "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"day\" }"};
        case TmxParamType_Rect:
            return {"{ 0, 0, 0, 0 }", "{ 1, 2, 3, 4 }", "{ 1, 2, 3, -4 }"};
        case TmxParamType_DataSet:
            return {"{{ 1, 2, 3, 4, 5, \"x\" }}", "{{ 1, 2, 3, 4, 5, \"y\" }}"};
        default:
            return {"0", "1", "2", "-1"};
    }
}

class TemplateIndexTest : public testing::Test {
  protected:
    std::size_t Below(std::size_t bound) { return random_() % bound; }

    std::string Any(const ParameterFacts& parameter) {
        const std::vector<std::string> values = ValuesOf(parameter);
        return values[Below(values.size())];
    }

    std::string ActionText(const ActionFacts& facts) {
        std::vector<bool> present(facts.parameters.size());
        for (std::size_t i = 0; i < present.size(); ++i)
            present[i] = !facts.parameters[i].optional || Below(3) != 0;
        TakeInPrefixes(facts, present);
        std::string text;
        for (std::size_t i = 0; i < present.size(); ++i) {
            const ParameterFacts& each = facts.parameters[i];
            if (!present[i]) continue;
            if (!text.empty()) text += ", ";
            if (each.optional) text += each.name + ": ";
            text += Any(each);
        }
        return facts.name + " (" + text + ")";
    }

    // Sets one to three parameters, so that templates match now and then; or none.
    std::string TemplateText(const ActionFacts& facts) {
        std::vector<bool> set(facts.parameters.size());
        if (!set.empty())
            for (std::size_t i = Below(4); i > 0; --i) set[Below(set.size())] = true;
        TakeInPrefixes(facts, set);
        std::string text;
        for (std::size_t i = 0; i < set.size(); ++i) {
            if (!set[i]) continue;
            if (!text.empty()) text += ", ";
            text += facts.parameters[i].name + ": " + Any(facts.parameters[i]);
        }
        return "@ " + facts.name + " (" + text + ")";
    }

  private:
    // The text form can't leave out a parameter with whose name a later one's name begins.
    static void TakeInPrefixes(const ActionFacts& facts, std::vector<bool>& given) {
        for (std::size_t i = given.size(); i-- > 0;)
            for (std::size_t k = i + 1; k < given.size(); ++k)
                if (given[k] &&
                    Lower(facts.parameters[k].name).starts_with(Lower(facts.parameters[i].name)))
                    given[i] = true;
    }

    std::mt19937 random_{20261114};
};

TEST_F(TemplateIndexTest, FindsWhatTheLibraryFinds) {
    constexpr std::size_t kTemplates = 120;
    constexpr std::size_t kActions = 12;
    std::uint64_t asked = 0;
    std::uint64_t pairs = 0;
    std::uint64_t matches = 0;
    for (const ActionFacts& facts : Facts::Get().Actions()) {
        SCOPED_TRACE(facts.name);
        std::vector<Message> templates;
        TemplateIndex index;
        for (std::size_t i = 0; i < kTemplates; ++i) {
            const std::string text = TemplateText(facts);
            templates.push_back(Read(text));
            ASSERT_NE(templates.back(), nullptr) << text;
            index.Add(facts.code, templates.back().get());
        }
        index.Build();
        for (std::size_t i = 0; i < kActions; ++i) {
            const std::string text = ActionText(facts);
            const Message action = Read(text);
            ASSERT_NE(action, nullptr) << text;
            std::vector<std::uint32_t> expected;
            for (std::uint32_t k = 0; k < kTemplates; ++k)
                if (Matches(templates[k], action)) expected.push_back(k);
            std::vector<std::uint32_t> found;
            index.Match(facts.code, action.get(), [&](std::uint32_t number) {
                found.push_back(number);
                return true;
            });
            ASSERT_EQ(found, expected) << text;
            matches += expected.size();
        }
        asked += index.Comparisons();
        pairs += kTemplates * kActions;
    }
    EXPECT_GT(matches, pairs / 100);
    // Some templates ask for values that no key tells, and some are compared one by one.
    EXPECT_LT(asked - matches, (pairs - matches) / 4);
}

TEST_F(TemplateIndexTest, StopsWhereItIsToldTo) {
    for (const std::size_t count : {std::size_t{3}, 5 * TemplateIndex::kFew}) {
        std::vector<Message> templates;
        TemplateIndex index;
        for (std::size_t i = 0; i < count; ++i) {
            templates.push_back(Read("@ CameraOn (Camera: 5)"));
            index.Add(TmxActionCode_CameraOn, templates.back().get());
        }
        index.Build();
        const Message action = Read("CameraOn (5)");
        std::vector<std::uint32_t> found;
        index.Match(TmxActionCode_CameraOn, action.get(), [&](std::uint32_t number) {
            found.push_back(number);
            return found.size() < 2;
        });
        EXPECT_EQ(found, (std::vector<std::uint32_t>{0, 1}));
        EXPECT_EQ(index.Comparisons(), 2u);
    }
}

TEST_F(TemplateIndexTest, KeepsTheOrderOverTables) {
    std::vector<Message> templates;
    TemplateIndex index;
    for (int i = 0; i < 20; ++i) {
        templates.push_back(Read(i % 3 == 0   ? "@ FocusFar (Camera: 5)"
                                 : i % 3 == 1 ? "@ FocusFar (Camera: 5, Speed: 2)"
                                              : "@ FocusFar (Speed: 2)"));
        index.Add(TmxActionCode_FocusFar, templates.back().get());
    }
    index.Build();
    std::uint32_t next = 0;
    index.Match(TmxActionCode_FocusFar, Read("FocusFar (5, 2)").get(), [&](std::uint32_t number) {
        EXPECT_EQ(number, next++);
        return true;
    });
    EXPECT_EQ(next, 20u);
}

TEST_F(TemplateIndexTest, KnowsNothingOfCodesBeyondItsOwn) {
    TemplateIndex index;
    index.Build();
    const Message action = Read("CameraOn (5)");
    index.Match(TmxActionCode_CameraOn, action.get(), [](std::uint32_t) {
        ADD_FAILURE();
        return true;
    });
    EXPECT_EQ(index.Comparisons(), 0u);
}

}  // namespace
