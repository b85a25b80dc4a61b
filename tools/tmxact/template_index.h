// Finds the templates that an action matches among any number of them, without asking each.
//
// Templates are kept by action code. Where a code has more than a few, they are kept by what they
// ask for too: templates that set the same parameters make a table, hashed by the values that they
// set, and an action looks up its own values in each table. What is found there is only likely to
// match; the library decides.
#ifndef TMXACT_TEMPLATE_INDEX_H
#define TMXACT_TEMPLATE_INDEX_H

#include <tmxactions/tmxactions.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "facts.h"

namespace tmxact {

class TemplateIndex {
  public:
    // Adds a template, which is borrowed. Templates are numbered from 0 as they come.
    void Add(std::uint32_t code, TmxHandle handle);

    // To be called once, when all have been added. Throws std::runtime_error if a template's values
    // can't be had.
    void Build();

    // Calls found(number) for each template that matches the action of this code, in the order of
    // numbers, until it returns false. Throws std::runtime_error if two values can't be compared.
    template <typename Found>
    void Match(std::uint32_t code, TmxHandle action, Found&& found) {
        for (const Entry& entry : Candidates(code, action)) {
            ++comparisons_;
            bool matches = false;
            if (!TmxMatchAct_Matches(entry.handle, action, &matches)) CantCompare();
            if (matches && !found(entry.number)) return;
        }
    }

    // How often an action was compared with a template.
    std::uint64_t Comparisons() const noexcept { return comparisons_; }

    // A code with more templates than this has tables, unless they set too many different
    // parameters: a look at a table costs about as much as a comparison.
    static constexpr std::size_t kFew = 4;

  private:
    struct Entry {
        TmxHandle handle;
        std::uint32_t number;
    };

    // A value of an action that templates may ask for: three for each parameter, of which an object
    // reference has all (its id, its number, its name), and other types the first, or the first and
    // the last.
    using Slot = std::uint16_t;
    static constexpr std::size_t kSlots = 3;

    // The templates of a code that set the same parameters, in the order of their hashes.
    struct Table {
        std::vector<Slot> slots;
        std::vector<std::uint64_t> hashes;
        std::vector<Entry> entries;
        std::vector<std::uint32_t> begins;  // of the entries of each value of the hash's top bits
        unsigned shift = 0;
    };

    struct Group {
        std::vector<Entry> entries;  // where there are few
        std::vector<Table> tables;   // else
        std::vector<bool> wanted;    // which slots any table looks at
    };

    struct ActionKeys;
    struct TemplateKeys;

    std::span<const Entry> Candidates(std::uint32_t code, TmxHandle action) {
        if (code >= groups_.size()) return {};
        const Group& group = groups_[code];
        return group.tables.empty() ? group.entries : LookUp(code, group, action);
    }
    std::span<const Entry> LookUp(std::uint32_t code, const Group& group, TmxHandle action);
    static std::uint64_t HashOf(const std::vector<Slot>& slots,
                                const std::vector<std::uint64_t>& keys);
    void BuildTables(const ActionFacts& facts, Group& group);
    [[noreturn]] static void CantCompare();

    std::vector<Group> groups_;  // by code
    std::uint32_t count_ = 0;
    std::uint64_t comparisons_ = 0;
    std::vector<std::uint64_t> keys_;  // of the present action, by slot
    std::vector<Entry> found_;
};

}  // namespace tmxact

#endif
