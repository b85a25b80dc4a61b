// Exports: catalogue queries and plain texts. They have no frame and don't touch the last error.
#include <algorithm>

#include <tmxactions/functions.h>

#include "catalogue/catalogue.h"

using namespace TmxPLC;

namespace {

// The texts that all but one of the info records end in.
template <class Info>
void FillTexts(Info& info, const TextBlock& text) noexcept {
    info.name = text.name;
    info.nameW = text.nameW;
    info.plainName = text.Plain().narrow;
    info.plainNameU8 = text.Plain().narrowU8;
    info.plainNameW = text.Plain().wide;
    if constexpr (requires { info.description; }) {
        info.description = text.Description().narrow;
        info.descriptionU8 = text.Description().narrowU8;
        info.descriptionW = text.Description().wide;
    }
}

void Fill(TmxActionInfo& info, const ActionRecord& record) noexcept {
    info.classId = record.classId;
    info.code = record.code;
    info.reserved = record.reserved;
    info.parameterCount = static_cast<uint32_t>(record.parameters.size());
    FillTexts(info, record.text);
}

void Fill(TmxParameterInfo& info, const ParameterRecord& record) noexcept {
    info.type = record.type;
    info.kind = record.kind;
    info.extra = record.extra;
    FillTexts(info, record.text);
}

void Fill(TmxActionClassInfo& info, const ClassRecord& record) noexcept {
    info.classId = record.classId;
    FillTexts(info, record.text);
}

void Fill(TmxEnumValueInfo& info, const EnumValueRecord& record) noexcept {
    info.enumId = record.enumId;
    info.value = static_cast<uint32_t>(record.value);
    FillTexts(info, record.text);
}

template <class Info, class Record>
bool FillFound(Info* info, const Record* record) noexcept {
    if (record == nullptr) return false;
    Fill(*info, *record);
    return true;
}

template <class Info, class Records>
uint32_t FillAll(Info* infos, uint32_t capacity, const Records& records) noexcept {
    const auto count = static_cast<uint32_t>(std::min<std::size_t>(capacity, records.size()));
    for (uint32_t i = 0; i < count; ++i) Fill(infos[i], records[i]);
    return count;
}

template <class Record>
bool SetFound(Record* record, const TmxWChar* plainName, const TmxWChar* description) noexcept {
    return record != nullptr && record->text.SetPlain(plainName, description);
}

template <typename Char, class Records>
const auto* FindByName(const Records& records, const Char* name) noexcept {
    const std::size_t length = std::char_traits<Char>::length(name);
    const auto found = std::find_if(records.begin(), records.end(), [&](const auto& record) {
        return std::char_traits<char>::length(record.text.name) == length &&
               EqualsAsciiFold(name, record.text.name, length);
    });
    return found == records.end() ? nullptr : &*found;
}

template <typename Char>
uint32_t CodeByName(const Char* name) noexcept {
    const ActionRecord* record = FindByName(TheCatalogue().actions, name);
    return record != nullptr ? record->code : kNone;
}

template <typename Char>
uint32_t ClassByName(const Char* name) noexcept {
    const ClassRecord* record = FindByName(TheCatalogue().actionClasses, name);
    return record != nullptr ? record->classId : kNone;
}

// The values of one enumeration, or all for the wildcard.
std::span<const EnumValueRecord> ValuesOf(uint32_t enumId) noexcept {
    const std::span<const EnumValueRecord> all = TheCatalogue().enumValues;
    if (enumId == kNone) return all;
    const auto first = std::find_if(all.begin(), all.end(), [&](const EnumValueRecord& record) {
        return record.enumId == enumId;
    });
    const auto last = std::find_if(
        first, all.end(), [&](const EnumValueRecord& record) { return record.enumId != enumId; });
    return {first, last};
}

ParameterRecord* EventField(uint32_t index) noexcept {
    auto& fields = TheCatalogue().eventFields;
    return index < fields.size() ? &fields[index] : nullptr;
}

}  // namespace

bool TmxAct_SetNativeTranslation(bool native) {
    nativeTranslation = native;
    return true;
}

bool TmxAct_GetNativeTranslation(bool* native) {
    *native = nativeTranslation;
    return true;
}

uint32_t TmxAct_GetNumberOfActions() {
    return static_cast<uint32_t>(TheCatalogue().actions.size());
}

uint32_t TmxAct_GetNumberOfActionClasses() {
    return static_cast<uint32_t>(TheCatalogue().actionClasses.size());
}

uint32_t TmxAct_GetNumberOfActionParameters(uint32_t code) {
    const ActionRecord* record = TheCatalogue().FindAction(code);
    return record != nullptr ? static_cast<uint32_t>(record->parameters.size()) : 0;
}

uint32_t TmxAct_GetNumberOfEnumValues(uint32_t enumId) {
    return static_cast<uint32_t>(ValuesOf(enumId).size());
}

uint32_t TmxAct_GetActionCodeByIndex(uint32_t index) {
    const auto& actions = TheCatalogue().actions;
    return index < actions.size() ? actions[index].code : kNone;
}

uint32_t TmxAct_GetInternalIndexByCode(uint32_t code) {
    const ActionRecord* record = TheCatalogue().FindAction(code);
    return record != nullptr ? record->index : kNone;
}

uint32_t TmxAct_GetActionCodeByNameA(const char* name) { return CodeByName(name); }
uint32_t TmxAct_GetActionCodeByNameW(const TmxWChar* name) { return CodeByName(name); }
uint32_t TmxAct_GetActionClassByNameA(const char* name) { return ClassByName(name); }
uint32_t TmxAct_GetActionClassByNameW(const TmxWChar* name) { return ClassByName(name); }

bool TmxAct_GetActionInfo(TmxActionInfo* info, uint32_t code) {
    return FillFound(info, TheCatalogue().FindAction(code));
}

uint32_t TmxAct_EnumerateActions(TmxActionInfo* infos, uint32_t capacity) {
    return FillAll(infos, capacity, TheCatalogue().actions);
}

bool TmxAct_GetActionClassInfo(TmxActionClassInfo* info, uint32_t classId) {
    return FillFound(info, TheCatalogue().FindClass(classId));
}

uint32_t TmxAct_EnumerateActionClasses(TmxActionClassInfo* infos, uint32_t capacity) {
    return FillAll(infos, capacity, TheCatalogue().actionClasses);
}

bool TmxAct_GetActionParameterInfo(TmxParameterInfo* info, uint32_t code, uint32_t index) {
    return FillFound(info, TheCatalogue().FindParameter(code, index));
}

uint32_t TmxAct_EnumerateActionParameters(TmxParameterInfo* infos, uint32_t capacity,
                                          uint32_t code) {
    const ActionRecord* record = TheCatalogue().FindAction(code);
    return record != nullptr ? FillAll(infos, capacity, record->parameters) : 0;
}

bool TmxAct_GetEnumValueInfo(TmxEnumValueInfo* info, uint32_t enumId, uint32_t value) {
    return FillFound(info, TheCatalogue().FindEnumValue(enumId, static_cast<std::int32_t>(value)));
}

uint32_t TmxAct_EnumerateEnumValues(TmxEnumValueInfo* infos, uint32_t capacity, uint32_t enumId) {
    return FillAll(infos, capacity, ValuesOf(enumId));
}

bool TmxAct_GetEventFieldInfo(TmxParameterInfo* info, uint32_t index) {
    return FillFound(info, EventField(index));
}

uint32_t TmxAct_EnumerateEventFields(TmxParameterInfo* infos, uint32_t capacity) {
    return FillAll(infos, capacity, TheCatalogue().eventFields);
}

bool TmxAct_GetEventDescriptionInfo(TmxActionInfo* info) {
    Fill(*info, TheCatalogue().eventInfo);
    return true;
}

bool TmxAct_GetMatchActionDescriptionInfo(TmxParameterInfo* info) {
    Fill(*info, TheCatalogue().matchActionDescription);
    return true;
}

bool TmxAct_SetActionPlainInfo(const TmxActionInfo* info) {
    return SetFound(TheCatalogue().FindAction(info->code), info->plainNameW, info->descriptionW);
}

bool TmxAct_SetActionClassPlainInfo(const TmxActionClassInfo* info) {
    return SetFound(TheCatalogue().FindClass(info->classId), info->plainNameW, info->descriptionW);
}

bool TmxAct_SetActionParameterPlainInfo(const TmxParameterInfo* info, uint32_t code,
                                        uint32_t index) {
    return SetFound(TheCatalogue().FindParameter(code, index), info->plainNameW,
                    info->descriptionW);
}

bool TmxAct_SetEnumValuePlainInfo(const TmxEnumValueInfo* info) {
    // The record has no field for a description: nameW carries it.
    return SetFound(
        TheCatalogue().FindEnumValue(info->enumId, static_cast<std::int32_t>(info->value)),
        info->plainNameW, info->nameW);
}

bool TmxAct_SetEventFieldPlainInfo(const TmxParameterInfo* info, uint32_t index) {
    return SetFound(EventField(index), info->plainNameW, info->descriptionW);
}

bool TmxAct_SetEventDescriptionPlainInfo(const TmxActionInfo* info) {
    return SetFound(&TheCatalogue().eventInfo, info->plainNameW, info->descriptionW);
}

bool TmxAct_SetMatchActionDescriptionPlainInfo(const TmxParameterInfo* info) {
    return SetFound(&TheCatalogue().matchActionDescription, info->plainNameW, info->descriptionW);
}
