// Event records: the input is a record's fields, and the bytes of an action besides.
#include <algorithm>
#include <cstring>

#include "oracle.h"

using namespace tmxfuzz;

namespace {

// ---- The input ----------------------------------------------------------------------------------

// Takes bytes off the front; zeros behind the end.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    template <typename T>
    T Take() {
        T value{};
        const size_t count = std::min(sizeof value, size_);
        std::memcpy(&value, data_, count);
        Skip(count);
        return value;
    }
    std::u16string Text() {
        const auto wanted = Take<uint16_t>();
        const size_t units = std::min<size_t>(wanted, size_ / 2);
        std::u16string text(units, u'\0');
        std::memcpy(text.data(), data_, units * 2);
        Skip(units * 2);
        return text;
    }
    const uint8_t* Rest() const { return data_; }
    size_t RestSize() const { return size_; }

  private:
    void Skip(size_t count) {
        data_ += count;
        size_ -= count;
    }
    const uint8_t* data_;
    size_t size_;
};

// A record with its values, each on the heap alone and the texts without terminators.
struct Record {
    TmxEventDataRecord flat{};
    std::vector<std::unique_ptr<Exact<uint8_t>>> blocks;

    const uint8_t* Keep(const void* bytes, size_t size) {
        blocks.push_back(
            std::make_unique<Exact<uint8_t>>(static_cast<const uint8_t*>(bytes), size));
        return blocks.back()->data();
    }
    template <typename T>
    void Fill(const T*& field, Input& input) {
        const T value = input.Take<T>();
        field = reinterpret_cast<const T*>(Keep(&value, sizeof value));
    }
};

Record RecordFrom(Input& input) {
    Record record;
    TmxEventDataRecord& flat = record.flat;
    const auto control = input.Take<uint8_t>();
    flat.size = input.Take<uint8_t>();
    flat.code =
        control & 1
            ? input.Take<uint32_t>()
            : TmxAct_GetActionCodeByIndex(input.Take<uint16_t>() % TmxAct_GetNumberOfActions());
    const auto present = input.Take<uint16_t>();
    int field = 0;
    const auto has = [&] { return (present >> field++ & 1) != 0; };
    for (auto& slot : flat.int32Fields)
        if (has()) record.Fill(slot, input);
    for (auto& slot : flat.int64Fields)
        if (has()) record.Fill(slot, input);
    for (auto& slot : flat.doubleFields)
        if (has()) record.Fill(slot, input);
    for (auto& slot : flat.dateFields)
        if (has()) record.Fill(slot, input);
    for (TmxEventText& slot : flat.textFields) {
        if (!has()) continue;
        const std::u16string text = input.Text();
        slot.length = text.size();
        slot.text = reinterpret_cast<const TmxWChar*>(record.Keep(text.data(), text.size() * 2));
    }
    if (control & 2) {
        flat.binarySize = input.RestSize();
        flat.binary = record.Keep(input.Rest(), input.RestSize());
    }
    return record;
}

// ---- What the fields must give ------------------------------------------------------------------

class Slots {
  public:
    explicit Slots(const TmxEventDataRecord& record) : record_(record) {}

    // The value of a parameter; absent where its fields have none.
    Value Take(const Parameter& parameter) {
        Value value;
        const auto lone = [&] {
            return record_.code == 6 && record_.textFields[1].text == nullptr;
        };
        switch (parameter.type) {
            case TmxParamType_Int64:
                value.present = Long(&value.id);
                break;
            case TmxParamType_Rect:
                value.present = Long(value.words.data());
                break;
            case TmxParamType_Double:
                value.present = Next(record_.doubleFields, real_, &value.word);
                break;
            case TmxParamType_DateTime:
                value.present = Next(record_.dateFields, date_, &value.word);
                break;
            case TmxParamType_Guid: {
                const bool low = Long(value.guid.data());
                value.present = Long(value.guid.data() + 8) && low;
                break;
            }
            case TmxParamType_AnsiText:
            case TmxParamType_WideText:
                value.present = parameter.name != "User2" && Text(&value.wide) && !lone();
                break;
            case TmxParamType_NamedId:
                Long(&value.id);
                value.present = Text(&value.wide) && !value.wide.empty();
                break;
            case TmxParamType_ObjectRef:
                Long(&value.id);
                Number(&value.number);
                value.present = Text(&value.wide) && !value.wide.empty();
                break;
            case TmxParamType_GuidRef:
                Long(value.guid.data());
                Long(value.guid.data() + 8);
                Text(&value.wide);
                if (lone()) Copy(record_.textFields[0], &value.wide);
                value.present = !value.wide.empty();
                break;
            case TmxParamType_DataSet:
                value.present = false;
                break;
            default:
                value.present = Number(&value.number);
                if (parameter.type == TmxParamType_Bool) {
                    value.word = value.number != 0;
                    value.number = 0;
                }
                break;
        }
        return value;
    }

  private:
    template <typename Slot, size_t N, typename Target>
    static bool Next(const Slot* const (&fields)[N], size_t& at, Target* target) {
        const Slot* slot = at < N ? fields[at++] : nullptr;
        if (slot != nullptr) std::memcpy(target, slot, sizeof(Slot));
        return slot != nullptr;
    }
    template <typename Target>
    bool Long(Target* target) {
        return Next(record_.int64Fields, long_, target);
    }
    bool Number(int32_t* target) {
        if (int_ < 4) return Next(record_.int32Fields, int_, target);
        int64_t wide = 0;
        const bool present = Long(&wide);
        *target = static_cast<int32_t>(wide);
        return present;
    }
    static bool Copy(const TmxEventText& field, std::u16string* target) {
        target->clear();
        if (field.text != nullptr) target->assign(field.text, field.length);
        return field.text != nullptr;
    }
    bool Text(std::u16string* target) {
        return text_ < 2 && Copy(record_.textFields[text_++], target);
    }

    const TmxEventDataRecord& record_;
    size_t int_ = 0;
    size_t long_ = 0;
    size_t real_ = 0;
    size_t date_ = 0;
    size_t text_ = 0;
};

// The bytes that a template's parameter takes where it is put together.
size_t SizeOf(const Parameter& parameter, const Value& value) {
    if (parameter.type == TmxParamType_DataSet) return 0;
    if (!value.present) return 1;
    const size_t text = 4 + (value.wide.size() + 1) * 2;
    switch (parameter.type) {
        case TmxParamType_Bool:
            return 2;
        case TmxParamType_Int64:
        case TmxParamType_Rect:
        case TmxParamType_Double:
        case TmxParamType_DateTime:
            return 9;
        case TmxParamType_Guid:
            return 17;
        case TmxParamType_WideText:
            return 1 + text;
        case TmxParamType_AnsiText:
            return 1 + 4 + value.wide.size() + 1;
        case TmxParamType_NamedId:
            return 9 + text;
        case TmxParamType_ObjectRef:
            return 13 + text;
        case TmxParamType_GuidRef:
            return 17 + text;
        default:
            return 5;
    }
}

// The parameters that a record's fields give, the description first; nothing where they are too
// many for the larger buffer. open: a narrow text may take less room than told, since units may
// become one character.
std::optional<Values> Gather(const ActionFacts& facts, const TmxEventDataRecord& record,
                             bool* open) {
    Slots slots(record);
    const auto pass = [&](Values* values) {
        size_t size = 8;
        *values = {};
        for (const Parameter& parameter : facts.parameters) {
            Value value;
            if (values->empty()) {
                value.present = false;  // the description
            } else {
                value = slots.Take(parameter);
            }
            size += SizeOf(parameter, value);
            if (parameter.type == TmxParamType_AnsiText && value.present) {
                for (const char16_t unit : value.wide) {
                    if (unit == 0 || unit > 127) *open = true;
                }
            }
            if (!value.present) {
                value = {};
                value.present = false;
            }
            values->push_back(value);
        }
        return size;
    };
    Values values;
    const size_t first = pass(&values);
    if (first <= 240) return values;
    if (pass(&values) > std::min<size_t>(first, 65535)) return std::nullopt;
    return values;
}

void CheckTemplate(const ActionFacts& facts, const TmxEventDataRecord& record, TmxHandle match) {
    bool open = false;
    const std::optional<Values> expected = Gather(facts, record, &open);
    if (open) return;
    TMX_HOLDS(expected.has_value() == (match != nullptr));
    if (match == nullptr) return;
    Values values = ValuesOf(match).values;
    TMX_HOLDS(values.size() == expected->size());
    for (size_t i = 0; i < values.size(); ++i) {
        TMX_HOLDS(values[i].present == (*expected)[i].present);
        if (!values[i].present) continue;
        Value wanted = (*expected)[i];
        if (facts.parameters[i].type == TmxParamType_AnsiText) {
            wanted.narrow.assign(wanted.wide.begin(), wanted.wide.end());
            wanted.wide.clear();
        }
        TMX_HOLDS(values[i] == wanted);
    }
}

// ---- Description --------------------------------------------------------------------------------

struct Told {
    std::u16string name;
    std::u16string value;
    bool operator==(const Told&) const = default;
};

struct Listener {
    std::vector<Told> values;
    std::optional<Told> line;
    static void Hear(void* context, uint32_t index, const TmxWChar* name, const TmxWChar* value) {
        auto* listener = static_cast<Listener*>(context);
        TMX_HOLDS(!listener->line);
        const Told told{std::u16string(name), std::u16string(value)};
        if (index == TMX_EVENT_DESCRIPTION_INDEX) {
            listener->line = told;
        } else {
            TMX_HOLDS(index == listener->values.size());
            listener->values.push_back(told);
        }
    }
};

std::vector<std::u16string> NamesOf(uint32_t code, std::u16string* title) {
    std::vector<TmxParameterInfo> infos(64);
    TmxActionInfo info{};
    uint32_t count = 0;
    if (TmxAct_GetActionInfo(&info, code)) {
        count = TmxAct_EnumerateActionParameters(infos.data(), 64, code);
    } else {
        TmxAct_GetEventDescriptionInfo(&info);
        count = TmxAct_EnumerateEventFields(infos.data(), 64);
    }
    *title = info.plainNameW;
    std::vector<std::u16string> names;
    for (uint32_t i = 0; i < count; ++i) names.emplace_back(infos[i].plainNameW);
    return names;
}

void CheckDescription(const TmxEventDataRecord& record) {
    Listener listener;
    bool complete = false;
    const bool answer =
        TmxAct_GetActionEventDescription(&record, &listener, &Listener::Hear, &complete);
    const std::optional<Failure> failure = LastFailure();
    TMX_HOLDS(complete);
    TMX_HOLDS(answer == !failure.has_value());
    TMX_HOLDS(answer == listener.line.has_value());
    std::u16string title;
    const std::vector<std::u16string> names = NamesOf(record.code, &title);
    // The values are told in the order of the parameters.
    size_t at = 0;
    for (const Told& told : listener.values) {
        while (at < names.size() && names[at] != told.name) ++at;
        TMX_HOLDS(at++ < names.size());
    }
    if (!answer) {
        const bool date = failure->code == TmxErrorCode_System && failure->subcode == 87;
        const bool size = failure->code == TmxErrorCode_Actions &&
                          failure->subcode == TmxActionsError_BufferTooSmall;
        TMX_HOLDS(date || (size && record.binarySize != 0 && listener.values.empty()));
        return;
    }
    TMX_HOLDS(listener.line->name == title);
    TmxActionInfo known{};
    if (record.code != 0 && !TmxAct_GetActionInfo(&known, record.code)) {
        title += u'(';
        for (const char digit : std::to_string(record.code)) title += static_cast<TmxWChar>(digit);
        title += u')';
    }
    const std::u16string& line = listener.line->value;
    TMX_HOLDS(line.compare(0, title.size(), title) == 0);
    size_t place = title.size();
    for (const Told& told : listener.values) {
        TMX_HOLDS(line.compare(place, 2, u"; ") == 0);
        place = line.find(told.value, place);
        // A zero inside a text ends it, and the line, for whoever takes them as terminated.
        if (place == std::u16string::npos || place + told.value.size() == line.size()) break;
        // The value may have been found ahead of its place.
        place = line.find(u"; ", place + told.value.size());
        if (place == std::u16string::npos) break;
    }
    const bool whole = record.binarySize == 0 &&
                       std::none_of(std::begin(record.textFields), std::end(record.textFields),
                                    [](const TmxEventText& text) {
                                        return std::find(text.text, text.text + text.length, 0) !=
                                               text.text + text.length;
                                    });
    if (whole && !listener.values.empty()) {
        const std::u16string& last = listener.values.back().value;
        TMX_HOLDS(line.find(last, line.size() - std::min(line.size(), last.size() + 2)) !=
                  std::u16string::npos);
    }
    Listener again;
    TMX_HOLDS(TmxAct_GetActionEventDescription(&record, &again, &Listener::Hear, &complete));
    TMX_HOLDS(again.values == listener.values && again.line == listener.line);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const NothingLeftOpen nothing;
    Input input(data, size);
    const Record owner = RecordFrom(input);
    const TmxEventDataRecord& record = owner.flat;

    const Owned action(TmxAct_RestoreActionFromEventData(&record));
    TMX_HOLDS(!LastFailure());
    const Owned match(TmxMatchAct_RestoreActionFromEventData(&record));
    TMX_HOLDS(!LastFailure());
    TMX_HOLDS(static_cast<bool>(action) == static_cast<bool>(match));

    const Owned stored(record.binarySize == 0
                           ? nullptr
                           : TmxAct_CreateFromBinBuffer(record.binary,
                                                        static_cast<int32_t>(record.binarySize),
                                                        TMX_MESSAGE_CLASS_ACTION, nullptr));
    const ActionFacts* facts = FindMessage(TMX_MESSAGE_CLASS_MATCH_ACTION, record.code);
    if (stored) {
        TMX_HOLDS(static_cast<bool>(action));
        TMX_HOLDS(StoreBytes(action.get()).size() == StoreBytes(stored.get()).size());
    } else if (facts == nullptr) {
        TMX_HOLDS(!action);
    } else {
        CheckTemplate(*facts, record, match.get());
    }
    if (action) {
        CheckMessage(action.get());
        CheckMessage(match.get());
        // What is filled again holds at most what was there.
        TmxEventDataRecord filled{};
        filled.size = sizeof filled;
        bool complete = false;
        TMX_HOLDS(TmxAct_GetActionEventData(action.get(), &filled, &complete));
        TMX_HOLDS(TmxMatchAct_GetActionEventData(match.get(), &filled, &complete));
        const Owned second(TmxMatchAct_RestoreActionFromEventData(&filled));
        TMX_HOLDS(!LastFailure());
        const ActionFacts* made = FindMessage(TMX_MESSAGE_CLASS_MATCH_ACTION, filled.code);
        TMX_HOLDS(made != nullptr);
        CheckTemplate(*made, filled, second.get());
    }
    CheckDescription(record);
    return 0;
}
