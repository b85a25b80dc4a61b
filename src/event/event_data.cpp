#include "event/event_data.h"

#include <cstddef>
#include <cstring>
#include <new>

#include "zinc/text.h"
#include "zinc/thread_state.h"

namespace TmxPLC {

namespace {

constexpr std::uint32_t kCompactFlag = TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA;

// What the slots of a bool point at.
constexpr std::int32_t kTrue = 1;
constexpr std::int32_t kFalse = 0;

// The frame has made the thread's record before it comes here, unless memory ran out for it.
Zinc::ThreadScratch& Scratch() {
    Zinc::ThreadState* const state = Zinc::ThreadState::Current();
    if (state == nullptr) throw std::bad_alloc();
    return state->scratch;
}

}  // namespace

EventFieldWriter::EventFieldWriter(const CTmxMessage& object, EventDataRecord& record,
                                   bool& complete) noexcept
    : record_(record), complete_(complete), compact_((object.messageFlags & kCompactFlag) != 0) {
    complete = true;
    record.code = object.code;
    record.reserved[0] = record.reserved[1] = 0;
    constexpr std::size_t kFirst = offsetof(EventDataRecord, int32Fields);
    std::memset(reinterpret_cast<char*>(&record) + kFirst, 0, sizeof record - kFirst);
}

EventFieldWriter::EventFieldWriter(const CTmxAction& action, EventDataRecord& record,
                                   bool& complete) noexcept
    : EventFieldWriter(static_cast<const CTmxMessage&>(action), record, complete) {
    if (action.properties.Find(kStoreProperties) != nullptr) complete = false;
}

void EventFieldWriter::PutInt64(const void* value) noexcept {
    if (cursor_.int64 < EventFieldCursor::kIntegerSlots)
        record_.int64Fields[cursor_.int64++] = static_cast<const std::int64_t*>(value);
    else if (value != nullptr)
        complete_ = false;
}

void EventFieldWriter::PassInt64() noexcept { PutInt64(nullptr); }

void EventFieldWriter::PutText(const WideChar* text, std::size_t length) noexcept {
    if (cursor_.text < EventFieldCursor::kOtherSlots)
        record_.textFields[cursor_.text++] = {length, text};
    else if (text != nullptr)
        complete_ = false;
}

void EventFieldWriter::Put(const std::int32_t* value) {
    if (!cursor_.Spills()) {
        record_.int32Fields[cursor_.int32++] = value;
    } else if (value == nullptr || cursor_.int64 >= EventFieldCursor::kIntegerSlots) {
        PutInt64(value);
    } else {
        std::int64_t& spilled = Scratch().integers[cursor_.int64];
        spilled = *value;
        PutInt64(&spilled);
    }
}

void EventFieldWriter::Put(const bool* value) {
    Put(value == nullptr ? nullptr : *value ? &kTrue : &kFalse);
}

void EventFieldWriter::Put(const std::int64_t* value) noexcept { PutInt64(value); }

void EventFieldWriter::Put(const ParamRect* value) noexcept { PutInt64(value); }

void EventFieldWriter::Put(const double* value) noexcept {
    if (cursor_.real < EventFieldCursor::kOtherSlots)
        record_.doubleFields[cursor_.real++] = value;
    else if (value != nullptr)
        complete_ = false;
}

void EventFieldWriter::Put(const TZincDateTime* value) noexcept {
    static_assert(sizeof(TZincDateTime) == sizeof(TmxDateTime));
    if (cursor_.date < EventFieldCursor::kOtherSlots)
        record_.dateFields[cursor_.date++] = reinterpret_cast<const TmxDateTime*>(value);
    else if (value != nullptr)
        complete_ = false;
}

void EventFieldWriter::Put(const WideText* value) noexcept {
    if (value != nullptr)
        PutText(value->c_str(), value->size());
    else
        PutText(nullptr, 0);
}

void EventFieldWriter::Put(const AnsiText* value) {
    if (value == nullptr) return PutText(nullptr, 0);
    if (cursor_.text >= EventFieldCursor::kOtherSlots) return SetIncomplete();
    Zinc::WideString& wide = Scratch().texts[cursor_.text];
    Zinc::NarrowToWide(wide, Zinc::CodePage::Ansi, Platform::kPrecomposed, value->c_str(),
                       static_cast<std::int64_t>(value->size()));
    PutText(wide.c_str(), wide.size());
}

// The two halves, in the order of memory.
void EventFieldWriter::Put(const Guid* value) noexcept {
    PutInt64(value);
    PutInt64(value != nullptr ? reinterpret_cast<const char*>(value) + 8 : nullptr);
}

// The compact form carries the number alone.
void EventFieldWriter::Put(const ObjectRef* value) {
    if (value == nullptr) {
        // Unlike other absent values this one passes no 64-bit slot over where its number would
        // have spilled.
        PassInt64();
        if (!cursor_.Spills()) ++cursor_.int32;
        return PutText(nullptr, 0);
    }
    PutInt64(compact_ ? nullptr : &value->id);
    Put(&value->number);
    if (compact_)
        PutText(nullptr, 0);
    else
        Put(&value->nameText);
}

// The compact form passes the id over.
void EventFieldWriter::Put(const NamedId* value) noexcept {
    PutInt64(compact_ || value == nullptr ? nullptr : &value->id);
    Put(value != nullptr ? &value->nameText : nullptr);
}

// The compact form passes the GUID over.
void EventFieldWriter::Put(const GuidRef* value) noexcept {
    Put(compact_ || value == nullptr ? nullptr : &value->guid);
    // User1 and Host of SystemSettingsChanged use up both text slots ahead of its TimeRange. Where
    // both are absent, the range lends itself the first slot.
    if (value != nullptr && record_.code == kSystemSettingsChanged &&
        record_.textFields[0].text == nullptr && record_.textFields[1].text == nullptr)
        record_.textFields[0] = {value->nameText.size(), value->nameText.c_str()};
    else
        Put(value != nullptr ? &value->nameText : nullptr);
}

std::int32_t EventFieldSlots::Number() const noexcept {
    std::int32_t value = 0;
    if (number != nullptr) std::memcpy(&value, number, sizeof value);
    return value;
}

TmxGuid EventFieldSlots::Guid() const noexcept {
    TmxGuid guid{};
    if (id != nullptr) std::memcpy(&guid, id, sizeof guid / 2);
    if (high != nullptr)
        std::memcpy(reinterpret_cast<char*>(&guid) + sizeof guid / 2, high, sizeof guid / 2);
    return guid;
}

const std::int64_t* EventFieldReader::TakeInt64() noexcept {
    return cursor_.int64 < EventFieldCursor::kIntegerSlots ? record_.int64Fields[cursor_.int64++]
                                                           : nullptr;
}

// A spilled value is the low half of its 64-bit slot.
const void* EventFieldReader::TakeInt32() noexcept {
    if (cursor_.Spills()) return TakeInt64();
    return record_.int32Fields[cursor_.int32++];
}

TmxEventText EventFieldReader::TakeText() noexcept {
    return cursor_.text < EventFieldCursor::kOtherSlots ? record_.textFields[cursor_.text++]
                                                        : TmxEventText{};
}

// Where the second text of SystemSettingsChanged is missing, the first is its TimeRange's.
bool EventFieldReader::BorrowsText() const noexcept {
    return record_.code == kSystemSettingsChanged && record_.textFields[1].text == nullptr;
}

EventFieldSlots EventFieldReader::Take(const ParameterRecord& parameter) noexcept {
    EventFieldSlots slots;
    switch (parameter.type) {
        case ParamInt64:
        case ParamRectangle:
            slots.id = TakeInt64();
            break;
        case ParamDouble:
            if (cursor_.real < EventFieldCursor::kOtherSlots)
                slots.real = record_.doubleFields[cursor_.real++];
            break;
        case ParamDateTime:
            if (cursor_.date < EventFieldCursor::kOtherSlots)
                slots.date = record_.dateFields[cursor_.date++];
            break;
        case ParamAnsiText:
        case ParamWideText:
            if (parameter.text.name == kSecondUser) break;
            slots.text = TakeText();
            if (BorrowsText()) slots.text = {};
            break;
        case ParamGuid:
            slots.id = TakeInt64();
            slots.high = TakeInt64();
            break;
        case ParamNamedId:
            slots.id = TakeInt64();
            slots.text = TakeText();
            break;
        case ParamObjectRef:
            slots.id = TakeInt64();
            slots.number = TakeInt32();
            slots.text = TakeText();
            break;
        case ParamGuidRef:
            slots.id = TakeInt64();
            slots.high = TakeInt64();
            slots.text = TakeText();
            if (BorrowsText()) slots.text = record_.textFields[0];
            break;
        case ParamDataSet:
            break;
        default:  // a number, a bool or an enumeration
            slots.number = TakeInt32();
            break;
    }
    return slots;
}

}  // namespace TmxPLC
