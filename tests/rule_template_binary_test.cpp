// The bytes of every action's template with every pattern of what is set: exact, back from what was
// written, cut at every place, and changed.

#include <algorithm>

#include "support/binary_checks.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class TemplateBinaryRule : public RuleTest {};

constexpr uint32_t kMatch = TMX_MESSAGE_CLASS_MATCH_ACTION;

Bytes Cut(const Bytes& bytes, size_t size) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

// A template with a description and about half of its parameters set.
Message Half(const ActionFacts& action, unsigned variant) {
    Message match = TemplateOf(action, Typical(action), TMX_W("half"));
    for (size_t i = 0; i < match.values.size(); ++i) {
        match.values[i].present = (i + variant) % 2 == 0;
    }
    return match;
}

TEST_F(TemplateBinaryRule, BytesAreExact) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : TemplateSets(action)) {
            if (number++ % kSparse != 0) continue;
            const std::string where = action.name + ", " + set.name;
            const Handle handle(Create(set.message));
            ASSERT_TRUE(handle) << where;
            const Bytes expected = BinaryForm(set.message);
            const Bytes stored = StoredBytes(handle.get());
            EXPECT_EQ(stored, expected)
                << where << "\nexpected " << Shown(expected) << "\ngot      " << Shown(stored);
            CheckSizes(where, handle.get(), expected,
                       {expected.size(), expected.size() - 1, expected.size() + 5, 0, 8,
                        expected.size() / 2});
            uint32_t needed = kUnsetSize;
            EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, &needed));
            EXPECT_EQ(needed, expected.size()) << where;
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TemplateBinaryRule, EverySizeOfTheBuffer) {
    for (const char* name : kChosenActions) {
        for (const Message& match : {Half(ActionByName(name), 0),
                                     TemplateOf(ActionByName(name), Typical(ActionByName(name)))}) {
            const Handle handle(Create(match));
            const Bytes expected = BinaryForm(match);
            std::vector<size_t> sizes;
            for (size_t size = 0; size <= expected.size() + 1; ++size) sizes.push_back(size);
            CheckSizes(name, handle.get(), expected, sizes);
        }
    }
}

TEST_F(TemplateBinaryRule, TakesBackWhatWasWritten) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedMessage& set : TemplateSets(action)) {
            if (number++ % kSparse != 0) continue;
            const std::string where = action.name + ", " + set.name;
            Bytes bytes = BinaryForm(set.message);
            Handle read;
            ASSERT_TRUE(CheckRead(bytes, where, &read, kMatch)) << where;
            EXPECT_TRUE(CheckRead(bytes, where, nullptr, TMX_ANY_MESSAGE_CLASS)) << where;
            uint32_t number32 = 77;
            EXPECT_TRUE(TmxAct_GetMessageFlags(read.get(), &number32));
            EXPECT_EQ(number32, 0u);
            EXPECT_TRUE(TmxAct_GetReferenceCounter(read.get(), &number32));
            EXPECT_EQ(number32, 1u);
            // What follows is left for the next.
            const size_t size = bytes.size();
            bytes.insert(bytes.end(), {0x0F, 0xF0, 0, 0, 0, 0, 0, 0, 9, 10});
            uint32_t used = 0;
            const Handle first(TmxAct_CreateFromBinBuffer(
                bytes.data(), static_cast<int32_t>(bytes.size()), kMatch, &used));
            EXPECT_TRUE(first) << where;
            EXPECT_EQ(used, size) << where;
            if (TooManyFailures()) return;
        }
    }
}

// A template whose pairs from one on are open. Pair 0 is the description, and behind the last one
// stands the whole.
Message OpenFrom(Message match, size_t pair) {
    if (pair == 0) match.description.reset();
    for (size_t i = pair == 0 ? 0 : pair - 1; i < match.values.size(); ++i) {
        match.values[i].present = false;
    }
    return match;
}

// How many bytes stand ahead of the flag of a pair.
size_t SizeAhead(const Message& match, size_t pair) {
    const size_t zeros = match.values.size() + 1 - pair;
    return BinaryForm(OpenFrom(match, pair)).size() - zeros;
}

// At each border between two pairs a record is whole, and what is missing is open.
TEST_F(TemplateBinaryRule, EveryBorderEndsAValidRecord) {
    for (const ActionFacts& action : AllActions()) {
        for (const Message& match :
             {TemplateOf(action, Typical(action), TMX_W("at night")),
              TemplateOf(action, Typical(action)), Half(action, 0), Half(action, 1)}) {
            const Bytes bytes = BinaryForm(match);
            for (size_t pair = 0; pair <= match.values.size() + 1; ++pair) {
                const Bytes cut = Cut(bytes, SizeAhead(match, pair));
                uint32_t used = 0;
                const Handle read(TmxAct_CreateFromBinBuffer(
                    cut.data(), static_cast<int32_t>(cut.size()), kMatch, &used));
                ASSERT_TRUE(read) << action.name << ", ahead of pair " << pair;
                EXPECT_EQ(used, cut.size()) << action.name << ", ahead of pair " << pair;
                Message expected = OpenFrom(match, pair);
                expected.values = AsStored(expected.values);
                EXPECT_EQ(MessageDifferences(read.get(), expected), "")
                    << action.name << ", ahead of pair " << pair;
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(TemplateBinaryRule, EveryCutLength) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const Message& match : {TemplateOf(action, Typical(action), TMX_W("at night")),
                                     Half(action, 0), Half(action, 1)}) {
            const Bytes bytes = BinaryForm(match);
            for (size_t cut = 0; cut <= bytes.size(); ++cut) {
                if (number++ % kSparse != 0) continue;
                CheckRead(Cut(bytes, cut), action.name + ", cut", nullptr, kMatch);
            }
        }
        if (TooManyFailures()) return;
    }
}

// Any flag but zero sets, and is stored as 1 again.
TEST_F(TemplateBinaryRule, AnyFlagButZeroSets) {
    for (const ActionFacts& action : AllActions()) {
        const Message match = TemplateOf(action, Typical(action), TMX_W("x"));
        const Bytes bytes = BinaryForm(match);
        for (size_t pair = 0; pair <= action.parameters.size(); ++pair) {
            const size_t flag = SizeAhead(match, pair);
            ASSERT_EQ(bytes[flag], 1) << action.name;
            for (const uint8_t value : {uint8_t{0x02}, uint8_t{0x80}, uint8_t{0xFF}}) {
                Bytes changed = bytes;
                changed[flag] = value;
                Handle read;
                ASSERT_TRUE(CheckRead(changed, action.name + ", flag", &read, kMatch));
                EXPECT_EQ(StoredBytes(read.get()), bytes) << action.name;
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(TemplateBinaryRule, OneByteChangedInChosenActions) {
    static constexpr uint8_t kReplacements[] = {0x00, 0x01, 0x02, 0x05, 0x27, 0x2C,
                                                0x7F, 0x80, 0xD8, 0xFE, 0xFF};
    size_t number = 0;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        for (const Message& match : {TemplateOf(action, Typical(action), TMX_W("at night")),
                                     Half(action, 0), Half(action, 1)}) {
            const Bytes bytes = BinaryForm(match);
            for (size_t place = 0; place < bytes.size(); ++place) {
                for (uint8_t replacement : kReplacements) {
                    if (number++ % kSparse != 0) continue;
                    Bytes changed = bytes;
                    changed[place] = replacement;
                    CheckRead(changed, action.name + ", changed", nullptr, TMX_ANY_MESSAGE_CLASS);
                }
                if (number++ % kSparse != 0) continue;
                Bytes changed = bytes;
                changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(place));
                CheckRead(changed, action.name + ", one left out", nullptr, kMatch);
                if (TooManyFailures()) return;
            }
        }
    }
}

TEST_F(TemplateBinaryRule, OneByteChangedInAllActions) {
    Random random(11);
    for (const ActionFacts& action : AllActions()) {
        for (unsigned variant : {0u, 1u}) {
            const Bytes bytes = BinaryForm(Half(action, variant));
            for (unsigned i = 0; i < 120 / kSparse; ++i) {
                Bytes changed = bytes;
                changed[Below(random, bytes.size())] = static_cast<uint8_t>(random());
                CheckRead(changed, action.name + ", changed", nullptr, kMatch);
                changed[Below(random, bytes.size())] = static_cast<uint8_t>(random() % 4);
                CheckRead(changed, action.name + ", changed twice", nullptr, TMX_ANY_MESSAGE_CLASS);
                changed.resize(Below(random, bytes.size() + 1));
                CheckRead(changed, action.name + ", changed and cut", nullptr, kMatch);
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(TemplateBinaryRule, FilterAndHeader) {
    for (const ActionFacts& action : AllActions()) {
        const Bytes bytes = BinaryForm(TemplateOf(action, Typical(action)));
        for (uint32_t messageClass : {0u, 1u, 2u, 3u, TMX_ANY_MESSAGE_CLASS}) {
            EXPECT_EQ(CheckRead(bytes, action.name + ", filter", nullptr, messageClass),
                      messageClass == 2 || messageClass == TMX_ANY_MESSAGE_CLASS);
        }
        // An action's bytes under the header of a template are read by the template's rule.
        Bytes foreign = BinaryForm(action, Typical(action));
        foreign[0] = 2;
        CheckRead(foreign, action.name + ", an action's bytes", nullptr, kMatch);
        Bytes other = bytes;
        other[0] = 1;
        CheckRead(other, action.name + ", a template's bytes", nullptr, TMX_ANY_MESSAGE_CLASS);
    }
    for (uint32_t code = 0; code <= 700; ++code) {
        const Bytes bytes = {
            2, 0, 0, 0, static_cast<uint8_t>(code), static_cast<uint8_t>(code >> 8), 0, 0, 0, 0};
        TmxActionInfo info{};
        if (TmxAct_GetActionInfo(&info, code)) continue;
        EXPECT_FALSE(CheckRead(bytes, "code " + std::to_string(code), nullptr, kMatch));
    }
}

// Templates and actions behind each other: each count leads to the next.
TEST_F(TemplateBinaryRule, RecordsInARow) {
    Bytes row;
    for (const ActionFacts& action : AllActions()) {
        for (const Bytes& bytes : {BinaryForm(Half(action, action.code)),
                                   BinaryForm(action, Mixed(action, action.code))}) {
            row.insert(row.end(), bytes.begin(), bytes.end());
        }
    }
    size_t at = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const Message& message :
             {Half(action, action.code), Message{&action, Mixed(action, action.code)}}) {
            uint32_t used = 0;
            const Handle read(TmxAct_CreateFromBinBuffer(row.data() + at,
                                                         static_cast<int32_t>(row.size() - at),
                                                         TMX_ANY_MESSAGE_CLASS, &used));
            ASSERT_TRUE(read) << action.name;
            Message expected = message;
            expected.values = AsStored(expected.values);
            EXPECT_EQ(MessageDifferences(read.get(), expected), "") << action.name;
            at += used;
        }
        if (TooManyFailures()) return;
    }
    EXPECT_EQ(at, row.size());
}

}  // namespace
}  // namespace tmxtest
