#include "catalogue/catalogue.h"

#include <algorithm>
#include <optional>

#include "zinc/units.h"

namespace TmxPLC {

namespace {

// The records of the constant table. A name is an offset into the pool of names.
struct StaticAction {
    std::uint32_t classId;
    std::uint32_t code;
    std::uint32_t reserved;
    std::uint32_t parameterCount;
    std::uint32_t name;
    std::uint32_t firstParameter;
};
struct StaticParameter {
    std::uint32_t type;
    std::uint32_t kind;
    std::uint32_t extra;
    std::uint32_t name;
};
struct StaticClass {
    std::uint32_t classId;
    std::uint32_t name;
};
struct StaticEnumValue {
    std::uint32_t enumId;
    std::int32_t value;
    std::uint32_t name;
};

// Defines TMX_NAME_POOL, kStaticActions, kStaticParameters, kStaticClasses and kStaticEnumValues.
#include "catalogue/static_table.inc"

#define TMX_POOLED(literal) literal
constexpr char kNames[] = TMX_NAME_POOL;
#undef TMX_POOLED
#define TMX_POOLED(literal) TMX_WIDE(literal)
constexpr WideChar kWideNames[] = TMX_NAME_POOL;
#undef TMX_POOLED

TextBlock PooledText(std::uint32_t offset) noexcept {
    return TextBlock(kNames + offset, kWideNames + offset);
}

// The generic event record and its fields.
struct EventField {
    Name name;
    ParamType type;
};
constexpr Name kEventInfoName = TMX_NAME("GeneralEventInfo");
constexpr EventField kEventFields[] = {
    {TMX_NAME("Int64FieldA"), ParamInt64},     {TMX_NAME("Int64FieldB"), ParamInt64},
    {TMX_NAME("Int64FieldC"), ParamInt64},     {TMX_NAME("Int64FieldD"), ParamInt64},
    {TMX_NAME("Int32FieldA"), ParamInt32},     {TMX_NAME("Int32FieldB"), ParamInt32},
    {TMX_NAME("Int32FieldC"), ParamInt32},     {TMX_NAME("Int32FieldD"), ParamInt32},
    {TMX_NAME("StringFieldA"), ParamWideText}, {TMX_NAME("StringFieldB"), ParamWideText},
    {TMX_NAME("DateFieldA"), ParamDateTime},   {TMX_NAME("DateFieldB"), ParamDateTime},
    {TMX_NAME("DoubleFieldA"), ParamDouble},   {TMX_NAME("DoubleFieldB"), ParamDouble},
};

TextBlock StaticText(const Name& name) noexcept { return TextBlock(name.narrow, name.wide); }

template <typename Char>
const Char* NameIn(const TextBlock& text) noexcept {
    if constexpr (std::is_same_v<Char, char>)
        return text.name;
    else
        return text.nameW;
}

std::vector<Descriptor*>& RegistrationList() {
    static std::vector<Descriptor*> list;
    return list;
}

std::optional<Catalogue>& Storage() {
    static std::optional<Catalogue> storage;
    return storage;
}

Catalogue* theCatalogue = nullptr;

}  // namespace

bool nativeTranslation = true;

const Descriptor& registerDescriptor(Descriptor& descriptor, std::uint32_t messageClass,
                                     std::uint32_t code,
                                     CTmxMessage* (*createFromTextA)(TextScanner<char>&),
                                     CTmxMessage* (*createFromBin)(BinInput&),
                                     CTmxMessage* (*createFromTextW)(TextScanner<WideChar>&)) {
    descriptor = {nullptr, messageClass, code, createFromTextA, createFromBin, createFromTextW};
    RegistrationList().push_back(&descriptor);
    return descriptor;
}

Catalogue::Catalogue()
    : eventInfo{StaticText(kEventInfoName), static_cast<std::uint32_t>(-1), kNone, kNone, 0, {}},
      matchActionDescription{StaticText(kDescriptionName), ParamWideText, KindNone, 0} {
    for (const EventField& field : kEventFields)
        eventFields.push_back({StaticText(field.name), field.type, KindNone, 0});
    eventInfo.parameters = eventFields;

    enumValues.reserve(std::size(kStaticEnumValues));
    for (const StaticEnumValue& value : kStaticEnumValues)
        enumValues.push_back({PooledText(value.name), value.enumId, value.value});
    actionClasses.reserve(std::size(kStaticClasses));
    for (const StaticClass& entry : kStaticClasses)
        actionClasses.push_back({PooledText(entry.name), entry.classId});

    parameters_.reserve(std::size(kStaticParameters));
    for (const StaticParameter& entry : kStaticParameters)
        parameters_.push_back({PooledText(entry.name), entry.type, entry.kind, entry.extra});
    // The closing record ends the table and does not enter the catalogue.
    std::uint32_t maxCode = 0;
    actions.reserve(std::size(kStaticActions) - 1);
    for (const StaticAction* entry = kStaticActions; entry->code != kNone; ++entry) {
        const auto index = static_cast<std::uint32_t>(actions.size());
        actions.push_back(
            {PooledText(entry->name), index, entry->classId, entry->code, entry->reserved,
             std::span(parameters_).subspan(entry->firstParameter, entry->parameterCount)});
        maxCode = std::max(maxCode, entry->code);
    }

    actionByCode_.resize(maxCode + 1);
    std::size_t buckets = 1;
    while (buckets < 3 * actions.size()) buckets *= 2;
    buckets_.resize(buckets);
    for (const ActionRecord& record : actions) {
        actionByCode_[record.code] = static_cast<std::uint16_t>(record.index + 1);
        AddName(record);
    }
    actionDescriptors_.resize(actions.size());
    matchDescriptors_.resize(actions.size());
    for (Descriptor* descriptor : RegistrationList()) AddDescriptor(*descriptor);
}

void Catalogue::AddDescriptor(Descriptor& descriptor) noexcept {
    const ActionRecord* record = FindAction(descriptor.code);
    descriptor.catalogueRecord = record;
    if (record == nullptr) return;
    if (descriptor.messageClass == ActionMessage)
        actionDescriptors_[record->index] = &descriptor;
    else if (descriptor.messageClass == MatchActionMessage)
        matchDescriptors_[record->index] = &descriptor;
}

void Catalogue::AddName(const ActionRecord& record) noexcept {
    NameHash hash;
    const char* name = record.text.name;
    std::uint16_t length = 0;
    for (; name[length] != 0; ++length) hash.Add(name[length]);
    const std::size_t mask = buckets_.size() - 1;
    std::size_t at = hash.Value() & mask;
    while (buckets_[at].action != 0) at = (at + 1) & mask;
    buckets_[at] = {static_cast<std::uint16_t>(record.index + 1), length};
}

ActionRecord* Catalogue::FindAction(std::uint32_t code) noexcept {
    if (code >= actionByCode_.size() || actionByCode_[code] == 0) return nullptr;
    return &actions[actionByCode_[code] - 1u];
}

ClassRecord* Catalogue::FindClass(std::uint32_t classId) noexcept {
    const auto found = std::lower_bound(
        actionClasses.begin(), actionClasses.end(), classId,
        [](const ClassRecord& record, std::uint32_t id) { return record.classId < id; });
    return found != actionClasses.end() && found->classId == classId ? &*found : nullptr;
}

ParameterRecord* Catalogue::FindParameter(std::uint32_t code, std::uint32_t index) noexcept {
    ActionRecord* action = FindAction(code);
    return action && index < action->parameters.size() ? &action->parameters[index] : nullptr;
}

EnumValueRecord* Catalogue::FindEnumValue(std::uint32_t enumId, std::int32_t value) noexcept {
    const auto found = std::lower_bound(
        enumValues.begin(), enumValues.end(), value,
        [enumId](const EnumValueRecord& record, std::int32_t wanted) {
            return record.enumId != enumId ? record.enumId < enumId : record.value < wanted;
        });
    return found != enumValues.end() && found->enumId == enumId && found->value == value ? &*found
                                                                                         : nullptr;
}

bool Catalogue::HasEnumValues(std::uint32_t enumId) const noexcept {
    const auto found = std::lower_bound(
        enumValues.begin(), enumValues.end(), enumId,
        [](const EnumValueRecord& record, std::uint32_t id) { return record.enumId < id; });
    return found != enumValues.end() && found->enumId == enumId;
}

const Descriptor* Catalogue::FindDescriptor(std::uint32_t messageClass,
                                            std::uint32_t code) const noexcept {
    if (code >= actionByCode_.size() || actionByCode_[code] == 0) return nullptr;
    const std::size_t index = actionByCode_[code] - 1u;
    return messageClass == ActionMessage ? actionDescriptors_[index] : matchDescriptors_[index];
}

template <typename Char>
const Descriptor* Catalogue::FindDescriptor(std::uint32_t messageClass, const Char* name,
                                            std::size_t length,
                                            const NameHash& hash) const noexcept {
    const std::size_t mask = buckets_.size() - 1;
    for (std::size_t at = hash.Value() & mask; buckets_[at].action != 0; at = (at + 1) & mask) {
        if (buckets_[at].length != length) continue;
        const std::size_t index = buckets_[at].action - 1u;
        const TextBlock& text = actions[index].text;
        // Nearly all texts have the case of the name.
        if (!Zinc::Units::BeginsWith(name, NameIn<Char>(text), length) &&
            !EqualsAsciiFold(name, text.name, length))
            continue;
        return messageClass == ActionMessage ? actionDescriptors_[index] : matchDescriptors_[index];
    }
    return nullptr;
}
template const Descriptor* Catalogue::FindDescriptor(std::uint32_t, const char*, std::size_t,
                                                     const NameHash&) const noexcept;
template const Descriptor* Catalogue::FindDescriptor(std::uint32_t, const WideChar*, std::size_t,
                                                     const NameHash&) const noexcept;

const ParameterRecord& Catalogue::Parameter(const Descriptor& descriptor,
                                            std::int32_t index) const noexcept {
    const ActionRecord* record = descriptor.catalogueRecord;
    if (record == nullptr || static_cast<std::uint32_t>(index) >= record->parameters.size())
        return matchActionDescription;
    return record->parameters[static_cast<std::uint32_t>(index)];
}

void BuildCatalogue() { theCatalogue = &Storage().emplace(); }

void TearDownCatalogue() noexcept {
    theCatalogue = nullptr;
    Storage().reset();
}

Catalogue& TheCatalogue() noexcept { return *theCatalogue; }

}  // namespace TmxPLC
