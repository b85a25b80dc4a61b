// The bytes of every action against the reference, the protocol of the buffer's size, and reading:
// back from what was written, cut at every place, and changed at every place.

#include <algorithm>

#include "support/binary_checks.h"
#include "support/reference_equal.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class BinaryRule : public RuleTest {};

Properties SomeProperties() {
    return {{TMX_W(""), TMX_W("empty name")},
            {TMX_W("B"), TMX_W("")},
            {TMX_W("a"), TMX_W("b")},
            {TMX_W("ab"), TMX_W("\u00E4\u20AC \xD800")},
            {TMX_W("store-properties"), TMX_W("a text that is long enough to be no short one")}};
}

void SetProperties(TmxHandle handle, const Properties& properties) {
    for (const auto& [name, value] : properties) {
        ASSERT_TRUE(TmxAct_SetProperty(handle, name.c_str(), value.c_str()));
    }
}

TEST_F(BinaryRule, BytesAreExact) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            if (number++ % kSparse != 0) continue;
            const std::string where = action.name + ", " + set.name;
            const Handle handle(Create(action, set.values));
            const Bytes expected = BinaryForm(action, set.values);
            const Bytes stored = StoredBytes(handle.get());
            EXPECT_EQ(stored, expected)
                << where << "\nexpected " << Shown(expected) << "\ngot      " << Shown(stored);
            CheckSizes(where, handle.get(), expected,
                       {expected.size(), expected.size() - 1, expected.size() + 5, 0, 8, 9,
                        expected.size() / 2, expected.size() - 8, expected.size() - 9});
            uint32_t needed = kUnsetSize;
            EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), nullptr, 0, &needed));
            EXPECT_EQ(needed, expected.size());
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(BinaryRule, EverySizeOfTheBuffer) {
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        const Values values = Typical(action);
        const Handle handle(Create(action, values));
        SetProperties(handle.get(), SomeProperties());
        const Bytes expected = BinaryForm(action, values, SomeProperties());
        std::vector<size_t> sizes;
        for (size_t size = 0; size <= expected.size() + 1; ++size) sizes.push_back(size);
        CheckSizes(name, handle.get(), expected, sizes);
    }
}

TEST_F(BinaryRule, TakesBackWhatWasWritten) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            if (number++ % kSparse != 0) continue;
            for (const Properties& properties : {Properties(), SomeProperties()}) {
                const std::string where = action.name + ", " + set.name;
                const Handle original(Create(action, set.values));
                SetProperties(original.get(), properties);
                Bytes bytes = StoredBytes(original.get());
                ASSERT_EQ(bytes, BinaryForm(action, set.values, properties)) << where;
                Handle read;
                ASSERT_TRUE(CheckRead(bytes, where, &read)) << where;
                uint32_t number32 = 77;
                EXPECT_TRUE(TmxAct_GetMessageFlags(read.get(), &number32));
                EXPECT_EQ(number32, 0u);
                EXPECT_TRUE(TmxAct_GetReferenceCounter(read.get(), &number32));
                EXPECT_EQ(number32, 1u);
                if (set.name.find("extreme") == std::string::npos) {
                    bool there = false;
                    bool back = false;
                    EXPECT_TRUE(TmxAct_Equal(original.get(), read.get(), &there));
                    EXPECT_TRUE(TmxAct_Equal(read.get(), original.get(), &back));
                    EXPECT_TRUE(there && back) << where;
                }
                // What follows is left for the next.
                const size_t size = bytes.size();
                bytes.insert(bytes.end(), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
                uint32_t used = 0;
                const Handle first(TmxAct_CreateFromBinBuffer(bytes.data(),
                                                              static_cast<int32_t>(bytes.size()),
                                                              TMX_ANY_MESSAGE_CLASS, &used));
                EXPECT_TRUE(first);
                EXPECT_EQ(used, size) << where;
            }
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(BinaryRule, EveryCutLength) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const Values& values : {Typical(action), Absent(action), Mixed(action, 2)}) {
            for (const Properties& properties :
                 {Properties(), Properties{{TMX_W("a"), TMX_W("b")}}}) {
                const Bytes bytes = BinaryForm(action, values, properties);
                for (size_t cut = 0; cut <= bytes.size(); ++cut) {
                    if (number++ % kSparse != 0) continue;
                    CheckRead(
                        Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(cut)),
                        action.name + ", cut");
                }
            }
            if (TooManyFailures()) return;
        }
    }
}

// Bytes behind the parameters that are no property block, or one that is cut.
TEST_F(BinaryRule, WhatFollowsTheParameters) {
    for (const ActionFacts& action : AllActions()) {
        const Values values = Typical(action);
        const size_t size = SizeWithoutProperties(action, values);
        const Bytes full = BinaryForm(action, values);
        const Bytes front(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes tails[] = {
            {},
            {0x0F},
            {0x0F, 0xF0, 0x00, 0x00},
            {0x01, 0x02, 0x03, 0x04},
            {0x0F, 0xF0, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x01, 0x00, 0xFF, 0xFF, 0xFF, 0xFF},
            {0x0F, 0xF0, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF},
            {0x0F, 0xF0, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0x7F},
            {0x0F, 0xF0, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00,
             0x00, 0x00, 0x61, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x61,
             0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x62, 0x00, 0x00, 0x00, 0x02, 0x00,
             0x00, 0x00, 0x63, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x64, 0x00},
            {0x0F, 0xF0, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,
             0x61, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,
             0x61, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x3C, 0x00, 0x00, 0x00},
            {0x0F, 0xF0, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80},
            {0x0F, 0xF0, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00},
        };
        for (const Bytes& tail : tails) {
            Bytes bytes = front;
            bytes.insert(bytes.end(), tail.begin(), tail.end());
            EXPECT_TRUE(CheckRead(bytes, action.name + ", tail " + Hex(tail.data(), tail.size())));
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(BinaryRule, OneByteChangedInChosenActions) {
    static constexpr uint8_t kReplacements[] = {0x00, 0x01, 0x02, 0x05, 0x10, 0x27, 0x2C,
                                                0x39, 0x7F, 0x80, 0xD8, 0xFE, 0xFF};
    size_t number = 0;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        for (const Values& values : {Typical(action), Absent(action)}) {
            const Bytes bytes = BinaryForm(action, values, {{TMX_W("a"), TMX_W("b")}});
            for (size_t place = 0; place < bytes.size(); ++place) {
                for (uint8_t replacement : kReplacements) {
                    if (number++ % kSparse != 0) continue;
                    Bytes changed = bytes;
                    changed[place] = replacement;
                    CheckRead(changed, action.name + ", changed");
                }
                if (number++ % kSparse != 0) continue;
                Bytes changed = bytes;
                changed[place] = static_cast<uint8_t>(changed[place] - 1);
                CheckRead(changed, action.name + ", one less");
                changed[place] = static_cast<uint8_t>(changed[place] + 2);
                CheckRead(changed, action.name + ", one more");
                changed = bytes;
                changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(place));
                CheckRead(changed, action.name + ", one left out");
                if (TooManyFailures()) return;
            }
        }
    }
}

TEST_F(BinaryRule, OneByteChangedInAllActions) {
    Random random(7);
    for (const ActionFacts& action : AllActions()) {
        for (unsigned variant : {0u, 1u}) {
            const Bytes bytes =
                BinaryForm(action, Mixed(action, variant + 4), {{TMX_W("a"), TMX_W("b")}});
            for (unsigned i = 0; i < 200 / kSparse; ++i) {
                Bytes changed = bytes;
                changed[Below(random, bytes.size())] = static_cast<uint8_t>(random());
                CheckRead(changed, action.name + ", changed");
                changed[Below(random, bytes.size())] = static_cast<uint8_t>(random() % 4);
                CheckRead(changed, action.name + ", changed twice");
                changed.resize(Below(random, bytes.size() + 1));
                CheckRead(changed, action.name + ", changed and cut");
            }
        }
        if (TooManyFailures()) return;
    }
}

TEST_F(BinaryRule, FilterAndHeader) {
    for (const ActionFacts& action : AllActions()) {
        Bytes bytes = BinaryForm(action, Typical(action));
        const auto size = static_cast<int32_t>(bytes.size());
        uint32_t used = 0;
        EXPECT_EQ(
            TmxAct_CreateFromBinBuffer(bytes.data(), size, TMX_MESSAGE_CLASS_MATCH_ACTION, &used),
            nullptr);
        EXPECT_EQ(used, 8u) << action.name;
        const Handle any(
            TmxAct_CreateFromBinBuffer(bytes.data(), size, TMX_ANY_MESSAGE_CLASS, nullptr));
        EXPECT_TRUE(any) << action.name;
        bytes[0] = 3;
        EXPECT_EQ(TmxAct_CreateFromBinBuffer(bytes.data(), size, TMX_ANY_MESSAGE_CLASS, &used),
                  nullptr);
        EXPECT_EQ(used, static_cast<uint32_t>(size == 8 ? 9 : size - 8)) << action.name;
    }
    // Nothing can be read of nothing, nor of less.
    uint32_t used = 0;
    EXPECT_EQ(TmxAct_CreateFromBinBuffer(nullptr, 0, TMX_ANY_MESSAGE_CLASS, &used), nullptr);
    EXPECT_EQ(used, 0xFFFFFFFF);
    EXPECT_EQ(TmxAct_CreateFromBinBuffer(nullptr, -5, TMX_ANY_MESSAGE_CLASS, &used), nullptr);
    EXPECT_EQ(used, static_cast<uint32_t>(-5));
    // Every code that no action has.
    for (uint32_t code = 0; code <= 700; ++code) {
        Bytes bytes = {1, 0, 0, 0, static_cast<uint8_t>(code), static_cast<uint8_t>(code >> 8),
                       0, 0, 0, 0};
        TmxActionInfo info{};
        if (TmxAct_GetActionInfo(&info, code)) continue;
        EXPECT_FALSE(CheckRead(bytes, "code " + std::to_string(code)));
    }
}

// A set's text that no writer makes.
TEST_F(BinaryRule, DataSetTexts) {
    const ActionFacts& action = ActionByName("VideoResult");
    const Values values = Absent(action);
    Bytes front = BinaryForm(action, values);
    // The set is the last parameter: cut it off, with the properties.
    Values empty = values;
    empty.back().data = DataSet{};
    front.resize(SizeWithoutProperties(action, empty) - 6);
    for (const TmxWChar* text : {TMX_W(""),
                                 TMX_W(" "),
                                 TMX_W("1 2 3 4 5"),
                                 TMX_W("1 2 3 4 5 "),
                                 TMX_W("1 2 3 4 5 'x'"),
                                 TMX_W("1 2 3 4 5'x'"),
                                 TMX_W("1 2 3 4 5  'x'"),
                                 TMX_W("1 2 3 4 5   'x', 1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5  'x' , 1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 'x',1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 'x',,, ,1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 'x' ,, 1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 'x' 1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 'it's'"),
                                 TMX_W("1 2 3 4 5 'it's', 1 2 3 4 6 'y'"),
                                 TMX_W("1 2 3 4 5 ''"),
                                 TMX_W("1 2 3 4 5 '''"),
                                 TMX_W("1 2 3 4 5 ''''"),
                                 TMX_W("40000 2 3 4 5 'x'"),
                                 TMX_W("-32768 32767 3 4 -2147483648 'x'"),
                                 TMX_W("1 2 3 4 2147483648 'x'"),
                                 TMX_W("1 2 3 -32769 5 'x'"),
                                 TMX_W("1 2 3 4 5 'x', 1 2 3 40000 5 'y'"),
                                 TMX_W("1\t2\n3 +4 -5 'x'"),
                                 TMX_W("01 002 0 -0 5 'x'"),
                                 TMX_W("1 2 3 4 5 x 'y'"),
                                 TMX_W("1 2 3 4 5 'x"),
                                 TMX_W("1,2,3,4,5 'x'"),
                                 TMX_W("0x1 2 3 4 5 'x'"),
                                 TMX_W("1.5 2 3 4 5 'x'"),
                                 TMX_W("a"),
                                 TMX_W("- 1 2 3 4 'x'"),
                                 TMX_W("+-1 2 3 4 5 'x'"),
                                 TMX_W("99999999999999999999 2 3 4 5 'x'"),
                                 TMX_W("1 2 3 4 5 'x', "),
                                 TMX_W("1 2 3 4 5 'x',"),
                                 TMX_W("1 2 3 4 5 '\u00E4\"', 5 4 3 2 1 '{}'"),
                                 TMX_W("1 2 3 4 5abc 'x'"),
                                 TMX_W("1 2 3 4 5, 'x'")}) {
        Bytes bytes = front;
        const WideString set = text;
        const auto put = [&](size_t value, int size) {
            for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        };
        put(set.size() + 1, 4);
        for (TmxWChar unit : set) put(unit, 2);
        put(0, 2);
        put(TMX_PROPERTY_BLOCK_MARKER, 4);
        put(0, 4);
        EXPECT_TRUE(CheckRead(bytes, Printable(set)));
    }
}

TEST_F(BinaryRule, MoreThanAThousandProperties) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    Properties properties;
    for (int i = 0; i < 1003; ++i) {
        TmxWChar name[8] = TMX_W("p0000");
        for (int digit = 4, rest = i; digit >= 1; --digit, rest /= 10) {
            name[digit] = static_cast<TmxWChar>(TMX_W('0') + rest % 10);
        }
        properties[name] = TMX_W("v");
    }
    SetProperties(handle.get(), properties);
    const Bytes bytes = StoredBytes(handle.get());
    EXPECT_EQ(bytes, BinaryForm(ActionByName("ABCDisconnect"), {}, properties));
    uint32_t used = 0;
    const Handle read(TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                                 TMX_ANY_MESSAGE_CLASS, &used));
    ASSERT_TRUE(read);
    EXPECT_EQ(bytes.size() - used, 3u * (4 + 12 + 4 + 4));
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(read.get(), TMX_W("p0999"), &value));
    EXPECT_EQ(WideString(value), TMX_W("v"));
    EXPECT_TRUE(TmxAct_GetProperty(read.get(), TMX_W("p1000"), &value));
    EXPECT_EQ(WideString(value), TMX_W(""));
}

TEST_F(BinaryRule, GenericActionIsItsPropertyBlock) {
    const Handle handle(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 5));
    EXPECT_EQ(StoredBytes(handle.get()), (Bytes{0x0F, 0xF0, 0, 0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace tmxtest
