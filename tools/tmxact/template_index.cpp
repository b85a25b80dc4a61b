#include "template_index.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "action_source.h"
#include "binary_walker.h"
#include "parameter_values.h"

namespace tmxact {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;  // 2^64 by the golden ratio

std::uint64_t Mixed(std::uint64_t hash, std::uint64_t key) noexcept {
    hash = (hash ^ key) * kMultiplier;
    return hash ^ (hash >> 32);
}

// Keys of values: equal for any two that agree. All are 0 for what an absent parameter counts as.

std::uint64_t KeyOf(std::int64_t value) noexcept { return static_cast<std::uint64_t>(value); }

std::uint64_t KeyOf(double value) noexcept {
    return value == 0 ? 0 : std::bit_cast<std::uint64_t>(value);  // the two zeros agree
}

// The zone takes no part.
std::uint64_t KeyOf(const TmxDateTime& value) noexcept { return value.value & 0xFFFF'FFFF'FFFFu; }

std::uint64_t KeyOf(const TmxGuid& value) noexcept {
    std::uint64_t halves[2];
    static_assert(sizeof halves == sizeof value);
    std::memcpy(halves, &value, sizeof halves);
    return halves[0] == 0 && halves[1] == 0 ? 0 : Mixed(Mixed(0, halves[0]), halves[1]);
}

std::uint64_t KeyOf(const TmxRect& value) noexcept { return std::bit_cast<std::uint64_t>(value); }

std::uint64_t KeyOf(const char* text) noexcept {
    std::uint64_t hash = 0;
    for (; *text != 0; ++text) {
        const auto c = static_cast<unsigned char>(*text);
        hash = Mixed(hash, c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    return hash;
}

// Wide texts agree by a fold that only the library knows. It keeps the number of units, and takes
// no letter of ASCII to another one; but the long s and the Kelvin sign are an S and a K.
std::uint64_t KeyOf(const TmxWChar* text) noexcept {
    std::uint64_t hash = 0;
    for (; *text != 0; ++text) {
        std::uint32_t c = *text;
        if (c >= 'a' && c <= 'z') c = c - 'a' + 'A';
        if (c >= 0x80 || c == 'S' || c == 'K') c = 0x80;
        hash = Mixed(hash, c);
    }
    return hash;
}

constexpr std::size_t kId = 0;
constexpr std::size_t kNumber = 1;
constexpr std::size_t kName = 2;

}  // namespace

// Takes the keys of an action's values.
struct TemplateIndex::ActionKeys {
    const std::vector<bool>& wanted;
    std::vector<std::uint64_t>& keys;

    template <typename Key>
    void Put(std::size_t index, std::size_t component, const Key& key) {
        const std::size_t slot = index * kSlots + component;
        if (wanted[slot]) keys[slot] = key();
    }
    template <typename Value>
    void Given(std::size_t index, const Value& value) {
        Put(index, kId, [&] { return KeyOf(value); });
    }
    void Given(std::size_t index, std::int32_t value) { Given(index, std::int64_t{value}); }
    void Given(std::size_t index, bool value) { Given(index, std::int64_t{value}); }
    void Given(std::size_t index, const TmxObjectRef& value) {
        Put(index, kId, [&] { return KeyOf(value.id); });
        Put(index, kNumber, [&] { return KeyOf(std::int64_t{value.number}); });
        Put(index, kName, [&] { return KeyOf(value.name); });
    }
    void Given(std::size_t index, const TmxGuidRef& value) {
        Put(index, kId, [&] { return KeyOf(value.guid); });
        Put(index, kName, [&] { return KeyOf(value.name); });
    }
    void Given(std::size_t, const TmxDataSet&) {}
    void Absent(std::size_t index) {
        for (std::size_t i = 0; i < kSlots; ++i) keys[index * kSlots + i] = 0;
    }
};

// Takes the slots and keys that a template asks for, from the action that it makes without a source
// and from the flags in its bytes.
struct TemplateIndex::TemplateKeys {
    const ActionFacts& facts;
    const BinaryWalker& walker;
    std::vector<Slot>& slots;
    std::vector<std::uint64_t>& keys;

    void Put(std::size_t index, std::size_t component, std::uint64_t key) {
        const std::size_t slot = index * kSlots + component;
        slots.push_back(static_cast<Slot>(slot));
        keys[slot] = key;
    }
    bool Open(std::size_t index) const { return !walker.IsSet(index); }

    template <typename Value>
    void Given(std::size_t index, const Value& value) {
        if (!Open(index)) Put(index, kId, KeyOf(value));
    }
    void Given(std::size_t index, std::int32_t value) { Given(index, std::int64_t{value}); }
    void Given(std::size_t index, bool value) { Given(index, std::int64_t{value}); }
    void Given(std::size_t index, const TmxDateTime& value) {
        // An absent date counts as the time of the action's making, which nothing tells.
        if (!Open(index) && !facts.parameters[index].optional) Put(index, kId, KeyOf(value));
    }
    // Which component counts is told by the template alone.
    void Given(std::size_t index, const TmxObjectRef& value) {
        if (Open(index)) return;
        if (value.id != 0) return Put(index, kId, KeyOf(value.id));
        if (facts.parameters[index].type == TmxParamType_ObjectRef && value.number != 0)
            return Put(index, kNumber, KeyOf(std::int64_t{value.number}));
        Put(index, kName, KeyOf(value.name));
    }
    void Given(std::size_t index, const TmxGuidRef& value) {
        if (Open(index)) return;
        const TmxGuid none{};
        const bool byGuid = std::memcmp(&value.guid, &none, sizeof none) != 0;
        Put(index, byGuid ? kId : kName, byGuid ? KeyOf(value.guid) : KeyOf(value.name));
    }
    void Given(std::size_t, const TmxDataSet&) {}
    void Absent(std::size_t) {}
};

void TemplateIndex::Add(std::uint32_t code, TmxHandle handle) {
    if (code >= groups_.size()) groups_.resize(code + 1);
    groups_[code].entries.push_back({handle, count_++});
}

void TemplateIndex::Build() {
    for (const ActionFacts& facts : Facts::Get().Actions())
        if (facts.code < groups_.size() && groups_[facts.code].entries.size() > kFew)
            BuildTables(facts, groups_[facts.code]);
}

std::uint64_t TemplateIndex::HashOf(const std::vector<Slot>& slots,
                                    const std::vector<std::uint64_t>& keys) {
    std::uint64_t hash = 0;
    for (const Slot slot : slots) hash = Mixed(hash, keys[slot]);
    return hash * kMultiplier;
}

void TemplateIndex::BuildTables(const ActionFacts& facts, Group& group) {
    const std::size_t slotCount = facts.parameters.size() * kSlots;
    std::vector<std::uint64_t> keys(slotCount);
    keys_.resize(std::max(keys_.size(), slotCount));
    group.wanted.assign(slotCount, false);
    std::map<std::vector<Slot>, std::vector<std::pair<std::uint64_t, Entry>>> tables;
    BinaryWalker walker(std::numeric_limits<std::uint32_t>::max());
    std::string bytes;
    for (const Entry& entry : group.entries) {
        std::uint32_t size = 0;
        TmxAct_StoreToBinBuffer(entry.handle, nullptr, 0, &size);
        bytes.resize(size);
        TmxHandle made = nullptr;
        if (!TmxAct_StoreToBinBuffer(entry.handle, reinterpret_cast<std::uint8_t*>(bytes.data()),
                                     size, &size) ||
            !TmxMatchAct_CreateActionFromTemplate(entry.handle, nullptr, &made) || made == nullptr)
            throw std::runtime_error("can't read a template: " + LastErrorText());
        const ActionHandle action(made);
        walker.Begin();
        walker.Walk(bytes, true);
        std::vector<Slot> slots;
        TemplateKeys visitor{facts, walker, slots, keys};
        if (!ParameterValues<TemplateKeys>::Visit(facts.code, made, visitor))
            throw std::runtime_error("can't read a template: " + LastErrorText());
        const std::uint64_t hash = HashOf(slots, keys);
        for (const Slot slot : slots) group.wanted[slot] = true;
        tables[std::move(slots)].push_back({hash, entry});
    }
    if (tables.size() * 2 > group.entries.size()) return;
    group.entries = {};
    for (auto& [slots, entries] : tables) {
        std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
            return std::pair(a.first, a.second.number) < std::pair(b.first, b.second.number);
        });
        Table table;
        table.slots = slots;
        const auto bits = static_cast<unsigned>(std::bit_width(entries.size()));
        table.shift = 64 - bits;
        table.begins.assign((std::size_t{1} << bits) + 1, 0);
        for (const auto& [hash, entry] : entries) {
            ++table.begins[(hash >> table.shift) + 1];
            table.hashes.push_back(hash);
            table.entries.push_back(entry);
        }
        for (std::size_t i = 1; i < table.begins.size(); ++i)
            table.begins[i] += table.begins[i - 1];
        group.tables.push_back(std::move(table));
    }
}

std::span<const TemplateIndex::Entry> TemplateIndex::LookUp(std::uint32_t code, const Group& group,
                                                            TmxHandle action) {
    ActionKeys visitor{group.wanted, keys_};
    if (!ParameterValues<ActionKeys>::Visit(code, action, visitor)) CantCompare();
    found_.clear();
    for (const Table& table : group.tables) {
        const std::uint64_t hash = HashOf(table.slots, keys_);
        const std::size_t top = hash >> table.shift;
        std::size_t begin = table.begins[top];
        std::size_t end = table.begins[top + 1];
        while (begin < end && table.hashes[begin] != hash) ++begin;
        while (end > begin && table.hashes[end - 1] != hash) --end;
        const std::span<const Entry> same(table.entries.data() + begin, end - begin);
        if (group.tables.size() == 1) return same;
        found_.insert(found_.end(), same.begin(), same.end());
    }
    std::sort(found_.begin(), found_.end(),
              [](const Entry& a, const Entry& b) { return a.number < b.number; });
    return found_;
}

void TemplateIndex::CantCompare() {
    throw std::runtime_error("can't compare an action with a template: " + LastErrorText());
}

}  // namespace tmxact
