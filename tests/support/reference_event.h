// Event records, worked out a second time and as plainly as possible: what filling gives, what is
// restored from given fields, and how they are described. It shares no code with the library.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_EVENT_H
#define TMX_TESTS_SUPPORT_REFERENCE_EVENT_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/model.h"
#include "support/reference_binary.h"

namespace tmxtest {

// The fields of a record by value; nothing stands for a null.
struct EventFields {
    uint32_t code = 0;
    std::array<std::optional<int32_t>, 4> int32;
    std::array<std::optional<int64_t>, 4> int64;
    std::array<std::optional<uint64_t>, 2> doubles;  // their bits
    std::array<std::optional<uint64_t>, 2> dates;
    std::array<std::optional<WideString>, 2> texts;
    bool operator==(const EventFields&) const = default;
};

// Reads a record's fields through its pointers.
EventFields FieldsOf(const TmxEventDataRecord& record);
std::string Describe(const EventFields& fields);

// A record that points at the given fields, none of its texts terminated. The fields must outlive
// it.
TmxEventDataRecord RecordOf(const EventFields& fields);
// Puts a stored action into a record.
void SetBinary(TmxEventDataRecord* record, const Bytes& bytes);

// What filling gives for values as Decode tells them.
struct Filling {
    EventFields fields;
    bool complete = true;
};
Filling Spread(const ActionFacts& action, const Values& values, bool compact);

// A template's parameters; nothing for an open one.
using Pairs = std::vector<std::optional<Datum>>;

// The template that the fields restore to; nothing where none is made.
std::optional<Pairs> Gather(const ActionFacts& action, const EventFields& fields);
// The template of an action.
Pairs PairsOf(const ActionFacts& action, const Values& values);
// The binary form of a template without a description.
Bytes TemplateBytes(const ActionFacts& action, const Pairs& pairs);
// The action that a template makes without a source.
Values ActionOf(const ActionFacts& action, const Pairs& pairs);

// A call of the callback.
struct Told {
    uint32_t index = 0;
    WideString name;
    WideString value;
    bool operator==(const Told&) const = default;
};
std::string Describe(const std::vector<Told>& told);

// The calls for a record without bytes, the whole line last; nothing where a date has no text.
// action is that of the fields' code, or null.
std::optional<std::vector<Told>> ToldOfFields(const ActionFacts* action, const EventFields& fields);
// The calls for a record with the bytes of an action; nothing where a date has no text, or where
// the template doesn't fit.
std::optional<std::vector<Told>> ToldOfBytes(const ActionFacts& action, const Values& values,
                                             size_t binarySize);

}  // namespace tmxtest

#endif
