#include "event/event_description.h"

#include <algorithm>
#include <charconv>
#include <memory>

#include "binary/stream.h"
#include "binary/values.h"
#include "event/event_restore.h"
#include "objects/message_guard.h"
#include "zinc/text.h"

namespace TmxPLC {

namespace {

using Zinc::WideString;

// The match action of the stored bytes is looked at in a buffer of twice their size, up to this.
constexpr std::uint64_t kLargestStored = 10000;

// ---- The text of a value ------------------------------------------------------------------------

void AppendAscii(WideString& text, const char* units, std::size_t length) {
    const std::size_t at = text.size();
    text.resize(at + length);
    Zinc::Units::CopyAscii(text.data() + at, units, length);
}

template <typename Integer>
void AppendNumber(WideString& text, Integer number) {
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    AppendAscii(text, digits, static_cast<std::size_t>(end - digits));
}

void AppendDouble(WideString& text, double value) {
    char digits[Zinc::kDoubleTextCapacity];
    AppendAscii(text, digits, Zinc::FormatDouble(digits, value));
}

void AppendDate(WideString& text, TZincDateTime value) {
    WideChar date[Zinc::kDateTimeTextCapacity];
    text.append(date, Zinc::DateTimeToText(date, value));
}

void AppendGuid(WideString& text, const TmxGuid& guid) {
    WideChar units[Zinc::kGuidTextLength];
    Zinc::PutGuid(units, guid);
    text.append(units, std::size(units));
}

void AppendRect(WideString& text, const ParamRect& rect) {
    for (const std::int16_t word : rect.words) {
        if (!text.empty()) text += TMX_WIDE(", ");
        AppendNumber(text, word);
    }
}

// A bool or an enumeration value: its plain name, or its number if it has none. A plain number has
// none either.
void AppendNamed(WideString& text, std::uint32_t type, std::int32_t value) {
    const EnumValueRecord* const entry =
        type == ParamInt32 ? nullptr : TheCatalogue().FindEnumValue(type, value);
    if (entry != nullptr)
        text += entry->text.Plain().wide;
    else
        AppendNumber(text, value);
}

template <typename T>
T ValueAt(const void* slot) noexcept {
    T value;
    std::memcpy(&value, slot, sizeof value);
    return value;
}

// Appends the text of a value in the slots. False: there is none.
bool AppendSlots(WideString& text, std::uint32_t type, const EventFieldSlots& slots) {
    switch (type) {
        case ParamInt64:
            if (slots.id == nullptr) return false;
            AppendNumber(text, ValueAt<std::int64_t>(slots.id));
            return true;
        case ParamRectangle:
            if (slots.id == nullptr) return false;
            AppendRect(text, ValueAt<ParamRect>(slots.id));
            return true;
        case ParamDouble:
            if (slots.real == nullptr) return false;
            AppendDouble(text, ValueAt<double>(slots.real));
            return true;
        case ParamDateTime:
            if (slots.date == nullptr) return false;
            AppendDate(text, ValueAt<TZincDateTime>(slots.date));
            return true;
        case ParamGuid:
            if (!slots.HasGuid()) return false;
            AppendGuid(text, slots.Guid());
            return true;
        case ParamAnsiText:
        case ParamWideText:
            text += slots.Text();
            return slots.HasText();
        case ParamNamedId:
        case ParamGuidRef:
            text += slots.Text();
            return !text.empty();
        case ParamObjectRef:
            // The name first, and the number behind it. From the stored bytes it is the other way
            // round.
            if (slots.Text().empty()) {
                if (!slots.number) return false;
                AppendNumber(text, *slots.number);
                return true;
            }
            text += slots.Text();
            text += TMX_WIDE(" (");
            AppendNumber(text, slots.number.value_or(0));
            text += ')';
            return true;
        case ParamDataSet:
            return false;
        default:
            if (!slots.number) return false;
            AppendNamed(text, type, *slots.number);
            return true;
    }
}

template <typename T>
T Load(BinInput& input) {
    T value{};
    LoadValue(input, value);
    return value;
}

// Appends the text of a value in the stored form.
void AppendStored(WideString& text, std::uint32_t type, BinInput& input) {
    switch (type) {
        case ParamInt64:
            return AppendNumber(text, Load<std::int64_t>(input));
        case ParamRectangle:
            return AppendRect(text, Load<ParamRect>(input));
        case ParamDouble:
            return AppendDouble(text, Load<double>(input));
        case ParamDateTime: {
            std::uint64_t word = 0;
            input.Read(word);
            if (input.remaining >= 0) AppendDate(text, TZincDateTime(word));
            return;
        }
        case ParamGuid:
            return AppendGuid(text, Load<TmxGuid>(input));
        case ParamAnsiText:
            text += Zinc::AnsiToWide(Load<AnsiText>(input).view());
            return;
        case ParamWideText:
            text += Load<WideText>(input).view();
            return;
        case ParamNamedId:
            text += Load<NamedId>(input).nameText.view();
            return;
        case ParamGuidRef:
            text += Load<GuidRef>(input).nameText.view();
            return;
        case ParamObjectRef: {
            const ObjectRef reference = Load<ObjectRef>(input);
            AppendNumber(text, reference.number);
            if (reference.nameText.empty()) return;
            text += TMX_WIDE(" - ");
            text += reference.nameText.view();
            return;
        }
        case ParamBool:
            return AppendNamed(text, type, Load<std::uint8_t>(input));
        case ParamDataSet:
            Load<WideText>(input);
            return;
        default:
            return AppendNamed(text, type, Load<std::int32_t>(input));
    }
}

// ---- The line -----------------------------------------------------------------------------------

bool IsQuoted(std::uint32_t type) noexcept {
    switch (type) {
        case ParamDateTime:
        case ParamAnsiText:
        case ParamWideText:
        case ParamGuid:
        case ParamNamedId:
        case ParamGuidRef:
            return true;
        default:
            return false;
    }
}

bool IsNumeral(WideView text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](WideChar unit) { return unit >= '0' && unit <= '9'; });
}

// Tells the values one by one, and gathers the line.
class Description {
  public:
    Description(void* context, TmxEventDescriptionCallback callback, WideView title)
        : context_(context), callback_(callback) {
        line_.reserve(kUsualLine);
        line_ += title;
    }

    // The place for the next value's text.
    WideString& Value() noexcept {
        value_.clear();
        return value_;
    }

    void AppendCode(std::uint32_t code) {
        line_ += '(';
        AppendNumber(line_, code);
        line_ += ')';
    }

    void Tell(const ParameterRecord& parameter) {
        const WideChar* const name = parameter.text.Plain().wide;
        callback_(context_, index_++, name, value_.c_str());
        line_ += TMX_WIDE("; ");
        // An enumeration value that has a name speaks for itself.
        if (!HasEnumeration(parameter.type) || IsNumeral(value_)) {
            line_ += name;
            line_ += TMX_WIDE(": ");
        }
        if (IsQuoted(parameter.type)) {
            line_ += '"';
            line_ += value_;
            line_ += '"';
        } else if (parameter.type == ParamRectangle) {
            line_ += TMX_WIDE("{ ");
            line_ += value_;
            line_ += TMX_WIDE(" }");
        } else {
            line_ += value_;
        }
    }

    void End(const WideChar* title) {
        callback_(context_, TMX_EVENT_DESCRIPTION_INDEX, title, line_.c_str());
    }

  private:
    static constexpr std::size_t kUsualLine = 256;

    // A bool is told with its parameter's name.
    static bool HasEnumeration(std::uint32_t type) noexcept {
        return IsEnumeration(type) && TheCatalogue().HasEnumValues(type);
    }

    void* const context_;
    const TmxEventDescriptionCallback callback_;
    std::uint32_t index_ = 0;
    WideString value_;
    WideString line_;
};

// The values of the match action that the record's bytes make. The parameters are those of the
// record's code, whatever the bytes say of theirs. False: the record has no bytes that make one.
bool DescribeStored(const EventDataRecord& record, std::span<const ParameterRecord> parameters,
                    Description& description) {
    const MessageGuard<CTmxAction> action(ReadStoredAction(record));
    if (action.Get() == nullptr) return false;
    const MessageGuard<CTmxMatchAction> made(action.Get()->CreateMatchAction());
    if (made.Get() == nullptr) return false;
    const auto size = static_cast<std::int32_t>(
        std::min(std::uint64_t{2} * static_cast<std::uint32_t>(record.binarySize), kLargestStored));
    const auto buffer =
        std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(size));
    BinOutput output(buffer.get(), size);
    if (!made.Get()->StoreToBin(output)) throw TmxPLCException();

    BinInput input(buffer.get(), size - static_cast<std::int32_t>(output.remaining));
    std::uint32_t header = 0;
    input.Read(header);
    input.Read(header);
    if (input.ReadPresence()) Load<WideText>(input);
    for (const ParameterRecord& parameter : parameters) {
        if (!input.ReadPresence()) continue;
        AppendStored(description.Value(), parameter.type, input);
        if (input.remaining < 0) break;
        if (parameter.type != ParamDataSet) description.Tell(parameter);
    }
    return true;
}

void DescribeSlots(const EventDataRecord& record, std::span<const ParameterRecord> parameters,
                   Description& description) {
    EventFieldReader reader(record);
    for (const ParameterRecord& parameter : parameters)
        if (AppendSlots(description.Value(), parameter.type, reader.Take(parameter)))
            description.Tell(parameter);
}

}  // namespace

void DescribeEvent(const EventDataRecord& record, void* context,
                   TmxEventDescriptionCallback callback, bool& complete) {
    // A record without an action, or of an unknown one, shows its fields as they are.
    const ActionRecord* const known = TheCatalogue().FindAction(record.code);
    const ActionRecord& entry = known != nullptr ? *known : TheCatalogue().eventInfo;
    complete = true;
    const WideChar* const title = entry.text.Plain().wide;
    Description description(context, callback, title);
    if (known == nullptr && record.code != 0) description.AppendCode(record.code);
    if (!DescribeStored(record, entry.parameters, description))
        DescribeSlots(record, entry.parameters, description);
    description.End(title);
}

}  // namespace TmxPLC
