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

// The match action of the stored bytes is looked at in a buffer of twice their size, up to this.
constexpr std::uint64_t kLargestStored = 10000;
// Up to this size that buffer is at hand.
constexpr std::int32_t kUsualStored = 1024;

// A text that grows, the usual ones without memory of their own.
class GrowingText {
  public:
    GrowingText() noexcept { Clear(); }
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    const WideChar* c_str() const noexcept { return units_; }
    WideView view() const noexcept { return {units_, size_}; }
    bool empty() const noexcept { return size_ == 0; }
    void Clear() noexcept { units_[size_ = 0] = 0; }

    /// Room for length more units, which the caller writes next.
    WideChar* Extend(std::size_t length) {
        if (capacity_ - size_ < length) Grow(size_ + length);
        WideChar* const place = units_ + size_;
        size_ += length;
        units_[size_] = 0;
        return place;
    }
    [[gnu::noinline]] GrowingText& operator+=(WideView text) {
        Zinc::Units::Copy(Extend(text.size()), text.data(), text.size() * sizeof(WideChar));
        return *this;
    }
    GrowingText& operator+=(WideChar unit) {
        *Extend(1) = unit;
        return *this;
    }

  private:
    static constexpr std::size_t kUsual = 255;

    void Grow(std::size_t length) {
        const std::size_t capacity = std::max(length, 2 * capacity_);
        auto grown = std::make_unique_for_overwrite<WideChar[]>(capacity + 1);
        Zinc::Units::Copy(grown.get(), units_, size_ * sizeof(WideChar));
        heap_ = std::move(grown);
        units_ = heap_.get();
        capacity_ = capacity;
    }

    WideChar* units_ = usual_;
    std::size_t size_ = 0;
    std::size_t capacity_ = kUsual;
    std::unique_ptr<WideChar[]> heap_;
    WideChar usual_[kUsual + 1];
};

// ---- The text of a value ------------------------------------------------------------------------

void AppendAscii(GrowingText& text, const char* units, std::size_t length) {
    Zinc::Units::CopyAscii(text.Extend(length), units, length);
}

template <typename Integer>
void AppendNumber(GrowingText& text, Integer number) {
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    AppendAscii(text, digits, static_cast<std::size_t>(end - digits));
}

void AppendDouble(GrowingText& text, double value) {
    char digits[Zinc::kDoubleTextCapacity];
    AppendAscii(text, digits, Zinc::FormatDouble(digits, value));
}

void AppendDate(GrowingText& text, TZincDateTime value) {
    WideChar date[Zinc::kDateTimeTextCapacity];
    text += WideView(date, Zinc::DateTimeToText(date, value));
}

void AppendGuid(GrowingText& text, const TmxGuid& guid) {
    Zinc::PutGuid(text.Extend(Zinc::kGuidTextLength), guid);
}

void AppendRect(GrowingText& text, const ParamRect& rect) {
    for (const std::int16_t word : rect.words) {
        if (!text.empty()) text += WideView(TMX_WIDE(", "));
        AppendNumber(text, word);
    }
}

// A bool or an enumeration value: its plain name, or its number if it has none. A plain number has
// none either.
void AppendNamed(GrowingText& text, std::uint32_t type, std::int32_t value) {
    const EnumValueRecord* const entry =
        type == ParamInt32 ? nullptr : TheCatalogue().FindEnumValue(type, value);
    if (entry != nullptr)
        text += WideView(entry->text.Plain().wide);
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
bool AppendSlots(GrowingText& text, std::uint32_t type, const EventFieldSlots& slots) {
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
                if (slots.number == nullptr) return false;
                AppendNumber(text, slots.Number());
                return true;
            }
            text += slots.Text();
            text += WideView(TMX_WIDE(" ("));
            AppendNumber(text, slots.Number());
            text += WideChar{')'};
            return true;
        case ParamDataSet:
            return false;
        default:
            if (slots.number == nullptr) return false;
            AppendNamed(text, type, slots.Number());
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
void AppendStored(GrowingText& text, std::uint32_t type, BinInput& input) {
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
            text += WideView(Zinc::AnsiToWide(Load<AnsiText>(input).view()));
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
            text += WideView(TMX_WIDE(" - "));
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
        line_ += title;
    }

    // The place for the next value's text.
    GrowingText& Value() noexcept {
        value_.Clear();
        return value_;
    }

    void AppendCode(std::uint32_t code) {
        line_ += WideChar{'('};
        AppendNumber(line_, code);
        line_ += WideChar{')'};
    }

    void Tell(const ParameterRecord& parameter) {
        const WideChar* const name = parameter.text.Plain().wide;
        callback_(context_, index_++, name, value_.c_str());
        line_ += WideView(TMX_WIDE("; "));
        // An enumeration value that has a name speaks for itself.
        if (!HasEnumeration(parameter.type) || IsNumeral(value_.view())) {
            line_ += WideView(name);
            line_ += WideView(TMX_WIDE(": "));
        }
        if (IsQuoted(parameter.type)) {
            line_ += WideChar{'"'};
            line_ += value_.view();
            line_ += WideChar{'"'};
        } else if (parameter.type == ParamRectangle) {
            line_ += WideView(TMX_WIDE("{ "));
            line_ += value_.view();
            line_ += WideView(TMX_WIDE(" }"));
        } else {
            line_ += value_.view();
        }
    }

    void End(const WideChar* title) {
        callback_(context_, TMX_EVENT_DESCRIPTION_INDEX, title, line_.c_str());
    }

  private:
    // A bool is told with its parameter's name.
    static bool HasEnumeration(std::uint32_t type) noexcept {
        return IsEnumeration(type) && TheCatalogue().HasEnumValues(type);
    }

    void* const context_;
    const TmxEventDescriptionCallback callback_;
    std::uint32_t index_ = 0;
    GrowingText value_;
    GrowingText line_;
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
    std::uint8_t usual[kUsualStored];
    std::unique_ptr<std::uint8_t[]> larger;
    if (size > kUsualStored)
        larger = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(size));
    std::uint8_t* const buffer = larger ? larger.get() : usual;
    BinOutput output(buffer, size);
    if (!made.Get()->StoreToBin(output)) throw TmxPLCException();

    BinInput input(buffer, size - static_cast<std::int32_t>(output.remaining));
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
