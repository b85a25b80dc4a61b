#include "oracle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <tuple>
#include <type_traits>

namespace tmxfuzz {

void Broken(const char* file, int line, const char* what) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

std::u16string UnitsFromBytes(std::string_view bytes) {
    std::u16string units;
    const auto follows = [&](size_t i) {
        return i < bytes.size() && (static_cast<uint8_t>(bytes[i]) & 0xC0) == 0x80;
    };
    const auto bits = [&](size_t i, unsigned mask) {
        return static_cast<uint8_t>(bytes[i]) & mask;
    };
    for (size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<uint8_t>(bytes[i]);
        unsigned unit = lead;
        size_t length = 1;
        if (lead >= 0xC0 && lead < 0xE0 && follows(i + 1)) {
            unit = bits(i, 0x1F) << 6 | bits(i + 1, 0x3F);
            length = 2;
        } else if (lead >= 0xE0 && lead < 0xF0 && follows(i + 1) && follows(i + 2)) {
            unit = bits(i, 0x0F) << 12 | bits(i + 1, 0x3F) << 6 | bits(i + 2, 0x3F);
            length = 3;
        }
        units += static_cast<char16_t>(unit);
        i += length;
    }
    return units;
}

// ---- Facts --------------------------------------------------------------------------------------

namespace {

std::u16string NameOf(const TmxWChar* name) { return name; }

SetEntry EntryFrom(const TmxDataSetEntry& flat) {
    SetEntry entry;
    std::copy_n(flat.words, 4, entry.words.begin());
    entry.number = flat.number;
    entry.name = NameOf(flat.name);
    return entry;
}

void Append(std::vector<std::vector<SetEntry>>& sets, const TmxDataSet& set) {
    std::vector<SetEntry> entries;
    for (uint64_t i = 0; i < set.count; ++i) entries.push_back(EntryFrom(set.items[i]));
    sets.push_back(std::move(entries));
}
template <typename Other>
void Append(std::vector<std::vector<SetEntry>>&, const Other&) {}

// Decodes an action that has a data set; the others have nothing to give.
template <auto Decode>
struct DataSets;
template <typename... Outs, bool (*Decode)(TmxHandle, Outs...)>
struct DataSets<Decode> {
    static void Collect([[maybe_unused]] TmxHandle action,
                        [[maybe_unused]] std::vector<std::vector<SetEntry>>& sets) {
        if constexpr ((std::is_same_v<Outs, TmxDataSet*> || ...)) {
            std::tuple<std::remove_pointer_t<Outs>...> outs{};
            const bool decoded =
                std::apply([&](auto&... out) { return Decode(action, &out...); }, outs);
            TMX_HOLDS(decoded);
            std::apply([&](const auto&... out) { (Append(sets, out), ...); }, outs);
        }
    }
};

std::map<uint32_t, ActionFacts> MakeActions() {
    std::map<uint32_t, ActionFacts> all;
    std::map<uint32_t, std::vector<bool>> optionals;
#define TMX_PARAMETER(code, name, type, kind, optional) optionals[code].push_back(optional != 0);
#include <tmxactions/actions.def>
#define TMX_ACTION(code, name, typed) \
    all[code] = {code, #name, {}, false, &DataSets<&TmxAct_Decode##typed>::Collect};
#include <tmxactions/actions.def>
    for (auto& [code, facts] : all) {
        const std::vector<bool>& optional = optionals[code];
        TMX_HOLDS(TmxAct_GetNumberOfActionParameters(code) == optional.size());
        for (uint32_t i = 0; i < optional.size(); ++i) {
            TmxParameterInfo info{};
            TMX_HOLDS(TmxAct_GetActionParameterInfo(&info, code, i));
            facts.parameters.push_back({info.name, info.type, optional[i]});
        }
    }
    return all;
}

std::map<uint32_t, ActionFacts> TemplatesOf(std::map<uint32_t, ActionFacts> actions) {
    for (auto& [code, facts] : actions) {
        facts.isTemplate = true;
        for (Parameter& parameter : facts.parameters) parameter.optional = true;
        facts.parameters.insert(facts.parameters.begin(), {"Comment", TmxParamType_WideText, true});
    }
    return actions;
}

constexpr bool IsEnumeration(uint32_t type) { return type >= 10 && type <= 99; }

}  // namespace

const ActionFacts* FindMessage(uint32_t messageClass, uint32_t code) {
    static const std::map<uint32_t, ActionFacts> actions = MakeActions();
    static const std::map<uint32_t, ActionFacts> templates = TemplatesOf(actions);
    if (messageClass != TMX_MESSAGE_CLASS_ACTION &&
        messageClass != TMX_MESSAGE_CLASS_MATCH_ACTION) {
        return nullptr;
    }
    const auto& all = messageClass == TMX_MESSAGE_CLASS_ACTION ? actions : templates;
    const auto found = all.find(code);
    return found == all.end() ? nullptr : &found->second;
}

// ---- Walk ---------------------------------------------------------------------------------------

namespace {

class Walker {
  public:
    Walker(const Bytes& bytes, bool strict) : bytes_(bytes), strict_(strict) {}

    bool ok() const { return ok_; }
    size_t at() const { return at_; }
    bool atEnd() const { return at_ == bytes_.size(); }
    void Refuse() { ok_ = false; }

    template <typename T>
    T Take() {
        T value{};
        if (bytes_.size() - at_ < sizeof(T)) {
            ok_ = false;
            return value;
        }
        std::memcpy(&value, bytes_.data() + at_, sizeof(T));
        at_ += sizeof(T);
        return value;
    }
    bool TakeFlag() {
        const auto byte = Take<uint8_t>();
        if (strict_ && byte > 1) ok_ = false;
        return byte != 0;
    }
    template <typename Char>
    std::basic_string<Char> TakeText() {
        const auto count = Take<uint32_t>();
        std::basic_string<Char> text;
        if (ok_ && count == 0 && !strict_) return text;
        if (!ok_ || count == 0 || (bytes_.size() - at_) / sizeof(Char) < count) {
            ok_ = false;
            return text;
        }
        text.resize(count);
        std::memcpy(text.data(), bytes_.data() + at_, count * sizeof(Char));
        at_ += count * sizeof(Char);
        if (strict_ && text.back() != 0) ok_ = false;
        text.pop_back();
        return text;
    }

    Value TakeValue(const Parameter& parameter) {
        Value value;
        // No action has an optional data set.
        if (parameter.optional) {
            value.present = (strict_ || !atEnd()) && TakeFlag();
            if (!value.present) return value;
        }
        switch (parameter.type) {
            case TmxParamType_Int64:
                value.id = Take<int64_t>();
                break;
            case TmxParamType_DateTime:
            case TmxParamType_Double:
                value.word = Take<uint64_t>();
                break;
            case TmxParamType_AnsiText:
                value.narrow = TakeText<char>();
                break;
            case TmxParamType_WideText:
            case TmxParamType_DataSet:
                value.wide = TakeText<char16_t>();
                break;
            case TmxParamType_Bool:
                value.word = TakeFlag() ? 1 : 0;
                break;
            case TmxParamType_Guid:
                value.guid = Take<std::array<uint8_t, 16>>();
                break;
            case TmxParamType_NamedId:
                value.id = Take<int64_t>();
                value.wide = TakeText<char16_t>();
                break;
            case TmxParamType_ObjectRef:
                value.id = Take<int64_t>();
                value.number = Take<int32_t>();
                value.wide = TakeText<char16_t>();
                break;
            case TmxParamType_GuidRef:
                value.guid = Take<std::array<uint8_t, 16>>();
                value.wide = TakeText<char16_t>();
                break;
            case TmxParamType_Rect:
                value.words = Take<std::array<int16_t, 4>>();
                break;
            default:
                TMX_HOLDS(parameter.type == TmxParamType_Int32 || IsEnumeration(parameter.type));
                value.number = Take<int32_t>();
                break;
        }
        return value;
    }

  private:
    const Bytes& bytes_;
    const bool strict_;
    size_t at_ = 0;
    bool ok_ = true;
};

// The text that stands for a data set in the bytes.
std::u16string SetText(const std::vector<SetEntry>& entries) {
    std::u16string text;
    const auto put = [&](const std::string& ascii) { text.append(ascii.begin(), ascii.end()); };
    for (const SetEntry& entry : entries) {
        if (!text.empty()) put(", ");
        for (const int16_t word : entry.words) put(std::to_string(word) + " ");
        put(std::to_string(entry.number) + " '");
        text += entry.name;
        put("'");
    }
    return text;
}

// A set's text shows where each entry ends only if no name has an apostrophe.
bool HasApostropheInName(const Value& set) {
    return static_cast<size_t>(std::count(set.wide.begin(), set.wide.end(), u'\'')) !=
           2 * set.entries.size();
}

}  // namespace

namespace {

// The header and the parameters; nothing where the walk fails.
std::optional<Parameters> TakeParameters(Walker& walker) {
    const auto messageClass = walker.Take<uint32_t>();
    const auto code = walker.Take<uint32_t>();
    const ActionFacts* action = FindMessage(messageClass, code);
    if (!walker.ok() || action == nullptr) return std::nullopt;
    Parameters parameters{action, {}, {}, 0};
    for (const Parameter& parameter : action->parameters) {
        parameters.values.push_back(walker.TakeValue(parameter));
        if (!walker.ok()) return std::nullopt;
        parameters.ends.push_back(walker.at());
    }
    parameters.end = walker.at();
    return parameters;
}

}  // namespace

std::optional<Parameters> WalkAsReader(const Bytes& bytes) {
    Walker walker(bytes, false);
    return TakeParameters(walker);
}

std::optional<Message> Walk(const Bytes& bytes) {
    Walker walker(bytes, true);
    std::optional<Parameters> parameters = TakeParameters(walker);
    if (!parameters) return std::nullopt;
    Message message{parameters->action,
                    std::move(parameters->values),
                    std::move(parameters->ends),
                    parameters->end,
                    {}};
    if (message.action->isTemplate) {
        if (!walker.atEnd()) return std::nullopt;
        return message;
    }
    if (walker.Take<uint32_t>() != TMX_PROPERTY_BLOCK_MARKER) walker.Refuse();
    const auto count = walker.Take<int32_t>();
    if (count < 0) walker.Refuse();
    std::set<std::u16string> names;
    for (int32_t i = 0; i < count && walker.ok(); ++i) {
        std::u16string name = walker.TakeText<char16_t>();
        std::u16string value = walker.TakeText<char16_t>();
        if (!names.insert(name).second) walker.Refuse();
        message.properties.emplace_back(std::move(name), std::move(value));
    }
    if (!walker.ok() || !walker.atEnd()) return std::nullopt;
    return message;
}

// ---- Calls --------------------------------------------------------------------------------------

std::optional<Failure> LastFailure() {
    TmxErrorInfo info{};
    if (!TmxAct_GetLastError(&info)) return std::nullopt;
    TMX_HOLDS(info.exceptionClass != nullptr && info.message != nullptr);
    TMX_HOLDS(info.messageW != nullptr && info.details != nullptr);
    return Failure{info.code, info.subcode, info.exceptionClass};
}

namespace {

constexpr uint32_t kUntouched = 0xA5C3F00D;
const Failure kTooSmall = {1008, 7, "class TmxPLC::TmxPLCException"};

bool Store(TmxHandle action, char* buffer, uint32_t size, bool display, bool utf8, uint32_t* out) {
    return TmxAct_StoreToTextBufferA(action, buffer, size, display, utf8, out);
}
bool Store(TmxHandle action, TmxWChar* buffer, uint32_t size, bool display, bool utf8,
           uint32_t* out) {
    return TmxAct_StoreToTextBufferW(action, buffer, size, display, utf8, out);
}
TmxHandle Create(const char* text, uint32_t length, uint32_t messageClass, bool utf8,
                 uint32_t* consumed) {
    return TmxAct_CreateFromTextBufferA(text, length, messageClass, utf8, consumed);
}
TmxHandle Create(const TmxWChar* text, uint32_t length, uint32_t messageClass, bool utf8,
                 uint32_t* consumed) {
    return TmxAct_CreateFromTextBufferW(text, length, messageClass, utf8, consumed);
}

// Runs a store into no buffer, into one of exactly the size that it then tells, and into one that
// is short by one unit. Nothing if it fails by anything else than the size.
template <typename T, typename StoreCall>
std::optional<std::vector<T>> StoreInAllSizes(const StoreCall& store) {
    uint32_t size = kUntouched;
    TMX_HOLDS(!store(nullptr, 0, &size));
    const std::optional<Failure> failure = LastFailure();
    TMX_HOLDS(failure.has_value());
    if (*failure != kTooSmall) {
        TMX_HOLDS(size == kUntouched);
        return std::nullopt;
    }
    TMX_HOLDS(size > 0 && size < 0x10000000);

    Exact<T> exact(size);
    uint32_t written = kUntouched;
    TMX_HOLDS(store(exact.data(), size, &written));
    TMX_HOLDS(written == size);
    TMX_HOLDS(!LastFailure());

    Exact<T> shorter(size - 1);
    written = kUntouched;
    TMX_HOLDS(!store(shorter.data(), size - 1, &written));
    TMX_HOLDS(written == size);
    TMX_HOLDS(LastFailure() == kTooSmall);
    return std::vector<T>(exact.data(), exact.data() + size);
}

// What reading a text gave.
struct Reading {
    std::unique_ptr<Owned> action;
    uint32_t consumed = kUntouched;
    std::optional<Failure> failure;
};

template <typename Char>
Reading Read(const Exact<Char>& text, TextInput input) {
    Reading reading;
    reading.action = std::make_unique<Owned>(
        Create(text.data(), input.length, input.messageClass, input.utf8, &reading.consumed));
    reading.failure = LastFailure();
    if (*reading.action) TMX_HOLDS(!reading.failure);
    // What is recorded comes from a date-time or from a GUID, and leaves the count alone.
    if (reading.failure) {
        TMX_HOLDS(reading.consumed == kUntouched);
        const Failure& failure = *reading.failure;
        if (failure.code == 5)
            TMX_HOLDS(failure.exceptionClass == "class Zinc::EZincDateTime" &&
                      failure.subcode >= 3 && failure.subcode <= 13);
        else
            TMX_HOLDS(failure.exceptionClass == "class Zinc::GuidConversionException" &&
                      failure.code == 0 && failure.subcode == 0);
    }
    return reading;
}

uint32_t ClassOf(const ActionFacts& facts) {
    return facts.isTemplate ? TMX_MESSAGE_CLASS_MATCH_ACTION : TMX_MESSAGE_CLASS_ACTION;
}

std::unique_ptr<Owned> ReadBytes(const uint8_t* data, size_t size, uint32_t messageClass,
                                 uint32_t& used) {
    const Exact<uint8_t> exact(data, size);
    used = kUntouched;
    auto action = std::make_unique<Owned>(
        TmxAct_CreateFromBinBuffer(exact.data(), static_cast<int32_t>(size), messageClass, &used));
    TMX_HOLDS(!LastFailure());
    return action;
}

}  // namespace

Bytes StoreBytes(TmxHandle handle) {
    const auto bytes = StoreInAllSizes<uint8_t>([&](uint8_t* buffer, uint32_t size, uint32_t* out) {
        return TmxAct_StoreToBinBuffer(handle, buffer, size, out);
    });
    TMX_HOLDS(bytes.has_value());
    return *bytes;
}

namespace {

// The action that a template makes of a source, or of none.
std::unique_ptr<Owned> MakeAction(TmxHandle match, TmxHandle source) {
    TmxHandle made = nullptr;
    TMX_HOLDS(TmxMatchAct_CreateActionFromTemplate(match, source, &made));
    TMX_HOLDS(made != nullptr && !LastFailure());
    return std::make_unique<Owned>(made);
}

void AddDataSets(TmxHandle handle, Message& message) {
    std::vector<std::vector<SetEntry>> sets;
    // Only an action shows its sets' entries.
    const auto made = message.action->isTemplate ? MakeAction(handle, nullptr) : nullptr;
    message.action->dataSets(made ? made->get() : handle, sets);
    size_t next = 0;
    for (size_t i = 0; i < message.values.size(); ++i) {
        if (message.action->parameters[i].type != TmxParamType_DataSet) continue;
        TMX_HOLDS(next < sets.size());
        Value& set = message.values[i];
        set.entries = std::move(sets[next++]);
        if (!set.present) {
            TMX_HOLDS(set.entries.empty());
            continue;
        }
        // The typed function shows names up to their first zero only.
        if (set.wide.find(u'\0') == std::u16string::npos)
            TMX_HOLDS(set.wide == SetText(set.entries));
    }
    TMX_HOLDS(next == sets.size());
}

Message ValuesFrom(TmxHandle handle, const Bytes& bytes) {
    std::optional<Message> message = Walk(bytes);
    TMX_HOLDS(message.has_value());
    uint32_t code = 0;
    TMX_HOLDS(TmxAct_GetActionCode(handle, &code));
    TMX_HOLDS(code == message->action->code);
    uint32_t messageClass = 0;
    TMX_HOLDS(TmxAct_GetMessageClass(handle, &messageClass));
    TMX_HOLDS(messageClass == ClassOf(*message->action));
    AddDataSets(handle, *message);
    return std::move(*message);
}

}  // namespace

Message ValuesOf(TmxHandle handle) { return ValuesFrom(handle, StoreBytes(handle)); }

// ---- Exceptions ---------------------------------------------------------------------------------

Fate NumberThroughText(int64_t value, int64_t smallest) {
    // The smallest value of a width is written "-(", and the reader stops at the parenthesis.
    return value == smallest ? Fate::Refused : Fate::Kept;
}

Fate DoubleThroughText(uint64_t& bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    // "1.#INF" and its like read as 1, and the "#" is left.
    if (!std::isfinite(value)) return Fate::Refused;
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    value = std::strtod(text, nullptr);
    std::memcpy(&bits, &value, sizeof value);
    return Fate::Kept;
}

bool HasNoText(uint64_t dateTime) { return LocalOf(dateTime) < 0; }

Fate DateThroughText(uint64_t& word) {
    const int64_t local = LocalOf(word);
    // The reader's year has four digits.
    if (local >= DaysFrom1601(10000, 1, 1) * kMillisecondsPerDay) return Fate::Raised;
    // The reader's zone ends at 14 hours.
    const int bias = BiasOf(word);
    const int hours = std::abs(bias) / 60;
    if (hours > 14) return Fate::Raised;
    // The minutes of an eastern zone are added where they should be taken off.
    const int minutes = std::abs(bias) % 60;
    const int read = bias > 0 ? bias : minutes - hours * 60;
    const int64_t utc = local + int64_t{read} * 60000;
    if (utc < 0 || utc > 0xFFFFFFFFFFFF) return Fate::Raised;
    word = DateTimeFrom(utc, static_cast<int16_t>(read));
    return Fate::Kept;
}

namespace {

// A double quote inside a text ends it for the reader; a zero ends the whole text.
template <typename Char>
Fate QuotedFate(const std::basic_string<Char>& text) {
    for (const Char unit : text) {
        if (unit == '"') return Fate::Open;
        if (unit == 0) return Fate::Refused;
    }
    return Fate::Kept;
}

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLow(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

bool IsInAnsiPage(char16_t unit) {
    static const std::u16string upper =
        u"\u20AC\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u017D"
        u"\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u017E\u0178";
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return true;
    if (unit == 0x81 || unit == 0x8D || unit == 0x8F || unit == 0x90 || unit == 0x9D) return true;
    return upper.find(unit) != std::u16string::npos;
}

// The bytes of the longest beginning of a well-formed sequence at position (The Unicode Standard,
// table 3-7); complete tells whether it is a whole one.
size_t SequenceAt(std::string_view text, size_t position, bool& complete) {
    const auto byte = [&](size_t i) {
        return position + i < text.size() ? static_cast<uint8_t>(text[position + i]) : 0;
    };
    const unsigned lead = static_cast<unsigned>(byte(0));
    complete = lead < 0x80;
    if (lead < 0xC2 || lead > 0xF4) return 1;
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    const int low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const int high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high) return 1;
    size_t matched = 2;
    while (matched < length && byte(matched) >= 0x80 && byte(matched) <= 0xBF) ++matched;
    complete = matched == length;
    return matched;
}

}  // namespace

Fate WideTextThroughText(std::u16string& text, Form form, bool& any) {
    const Fate fate = QuotedFate(text);
    if (fate != Fate::Kept || form.wide) return fate;
    if (form.utf8) {
        // An unpaired surrogate has no UTF-8.
        for (size_t i = 0; i < text.size(); ++i) {
            if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1]))
                ++i;
            else if (IsHigh(text[i]) || IsLow(text[i]))
                text[i] = 0xFFFD;
        }
        return fate;
    }
    for (char16_t& unit : text) {
        // A combining mark may go into the letter before it.
        if (unit >= 0x300 && unit <= 0x36F) any = true;
        if (!IsInAnsiPage(unit)) unit = u'?';
    }
    return fate;
}

Fate AnsiTextThroughText(std::string& text, Form form) {
    const Fate fate = QuotedFate(text);
    // The ANSI page has a character for every byte. UTF-8 has not: ill-formed bytes become U+FFFD.
    if (fate != Fate::Kept || !form.wide || !form.utf8) return fate;
    std::string read;
    for (size_t i = 0; i < text.size();) {
        bool complete = false;
        const size_t length = SequenceAt(text, i, complete);
        if (complete)
            read.append(text, i, length);
        else
            read += "\xEF\xBF\xBD";
        i += length;
    }
    text = std::move(read);
    return fate;
}

bool IsTakenForAbsent(const Message& message, size_t absent) {
    const std::vector<Parameter>& parameters = message.action->parameters;
    for (size_t i = absent + 1; i < parameters.size(); ++i) {
        if (!message.values[i].present) continue;
        if (!parameters[i].optional) return false;
        const std::string& shorter = parameters[absent].name;
        const std::string& next = parameters[i].name;
        const auto fold = [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
        };
        return next.size() >= shorter.size() &&
               std::equal(shorter.begin(), shorter.end(), next.begin(),
                          [&](char a, char b) { return fold(a) == fold(b); });
    }
    return false;
}

namespace {

Fate WordsThroughText(const std::array<int16_t, 4>& words) {
    return std::count(words.begin(), words.end(), INT16_MIN) != 0 ? Fate::Refused : Fate::Kept;
}

Fate SetThroughText(Value& set, Form form, bool& any) {
    // "{}" is not read.
    if (set.entries.empty()) return Fate::Refused;
    // The typed function, from which the entries are known, cuts a name at its zero.
    if (set.wide.find(u'\0') != std::u16string::npos) return Fate::Open;
    for (SetEntry& entry : set.entries) {
        if (WordsThroughText(entry.words) != Fate::Kept) return Fate::Refused;
        const Fate fate = WideTextThroughText(entry.name, form, any);
        if (fate != Fate::Kept) return fate;
    }
    set.wide = SetText(set.entries);
    return Fate::Kept;
}

// What one written value reads back as.
Fate ThroughText(uint32_t type, Value& value, Form form, bool& any) {
    switch (type) {
        case TmxParamType_Int64:
            return NumberThroughText(value.id, INT64_MIN);
        case TmxParamType_DateTime:
            return DateThroughText(value.word);
        case TmxParamType_AnsiText:
            return AnsiTextThroughText(value.narrow, form);
        case TmxParamType_WideText:
            return WideTextThroughText(value.wide, form, any);
        case TmxParamType_Bool:
        case TmxParamType_Guid:
            return Fate::Kept;
        case TmxParamType_ObjectRef:
            if (NumberThroughText(value.id, INT64_MIN) != Fate::Kept ||
                NumberThroughText(value.number, INT32_MIN) != Fate::Kept)
                return Fate::Refused;
            return WideTextThroughText(value.wide, form, any);
        case TmxParamType_NamedId:
            if (NumberThroughText(value.id, INT64_MIN) != Fate::Kept) return Fate::Refused;
            return WideTextThroughText(value.wide, form, any);
        case TmxParamType_GuidRef:
            return WideTextThroughText(value.wide, form, any);
        case TmxParamType_Double:
            return DoubleThroughText(value.word);
        case TmxParamType_Rect:
            return WordsThroughText(value.words);
        case TmxParamType_DataSet:
            return SetThroughText(value, form, any);
        default:
            return NumberThroughText(value.number, INT32_MIN);
    }
}

struct Expectation {
    Fate fate = Fate::Kept;
    Values values;
    std::vector<bool> any;  // by parameter: its text is not compared
};

// Parameters are read in order: the first one that is not kept decides.
Expectation Expect(const Message& message, Form form) {
    Expectation expected{Fate::Kept, message.values, std::vector<bool>(message.values.size())};
    for (size_t i = 0; i < message.values.size(); ++i) {
        Value& value = expected.values[i];
        if (!value.present) {
            if (IsTakenForAbsent(message, i)) expected.fate = Fate::Refused;
        } else {
            bool any = false;
            expected.fate = ThroughText(message.action->parameters[i].type, value, form, any);
            expected.any[i] = any;
        }
        if (expected.fate != Fate::Kept) return expected;
    }
    return expected;
}

void CheckSameValues(const Expectation& expected, const Message& read) {
    TMX_HOLDS(read.values.size() == expected.values.size());
    for (size_t i = 0; i < read.values.size(); ++i) {
        Value left = expected.values[i];
        Value right = read.values[i];
        if (expected.any[i]) {
            left.wide.clear();
            right.wide.clear();
            for (SetEntry& entry : left.entries) entry.name.clear();
            for (SetEntry& entry : right.entries) entry.name.clear();
        }
        TMX_HOLDS(left == right);
    }
}

bool HasDateWithoutText(const Message& message) {
    for (size_t i = 0; i < message.values.size(); ++i)
        if (message.action->parameters[i].type == TmxParamType_DateTime &&
            message.values[i].present && HasNoText(message.values[i].word))
            return true;
    return false;
}

template <typename Char>
void CheckTextOf(TmxHandle handle, const Message& message, bool utf8) {
    const bool hasText = !HasDateWithoutText(message);
    std::optional<std::vector<Char>> machine;
    for (const bool display : {true, false}) {
        machine = StoreInAllSizes<Char>([&](Char* buffer, uint32_t size, uint32_t* out) {
            return Store(handle, buffer, size, display, utf8, out);
        });
        TMX_HOLDS(machine.has_value() == hasText);
        if (!machine) {
            const std::optional<Failure> failure = LastFailure();
            TMX_HOLDS(failure && failure->code == 2);
            TMX_HOLDS(failure->exceptionClass == "class Zinc::SystemException");
            continue;
        }
        TMX_HOLDS(machine->back() == 0);
    }
    if (!machine) return;

    const size_t length = machine->size() - 1;
    TMX_HOLDS((*machine)[length - 1] == ')');
    const auto text = Exact<Char>::Terminated({machine->data(), length});
    const Reading reading =
        Read(text, {utf8, static_cast<uint32_t>(length), ClassOf(*message.action)});
    const Expectation expected = Expect(message, {sizeof(Char) == 2, utf8});
    switch (expected.fate) {
        case Fate::Open:
            return;
        case Fate::Refused:
            TMX_HOLDS(!*reading.action);
            TMX_HOLDS(!reading.failure);
            return;
        case Fate::Raised:
            TMX_HOLDS(!*reading.action);
            TMX_HOLDS(reading.failure.has_value());
            return;
        case Fate::Kept:
            break;
    }
    TMX_HOLDS(static_cast<bool>(*reading.action));
    TMX_HOLDS(reading.consumed == length);
    const Message read = ValuesOf(reading.action->get());
    TMX_HOLDS(read.action == message.action);
    // Properties don't travel in text.
    TMX_HOLDS(read.properties.empty());
    CheckSameValues(expected, read);
}

// The record of a template may end behind each of its pairs: what is missing is open.
void CheckBordersOf(const Message& message, const Bytes& bytes) {
    size_t open = message.ends.size();
    for (size_t i = 0; i <= message.ends.size(); ++i, --open) {
        const size_t end = i == 0 ? 8 : message.ends[i - 1];
        // A set need not come back as it was.
        if (i != 0 && message.action->parameters[i - 1].type == TmxParamType_DataSet) return;
        uint32_t used = 0;
        const auto cut = ReadBytes(bytes.data(), end, TMX_MESSAGE_CLASS_MATCH_ACTION, used);
        TMX_HOLDS(static_cast<bool>(*cut));
        TMX_HOLDS(used == end);
        Bytes expected(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(end));
        expected.resize(end + open);
        TMX_HOLDS(StoreBytes(cut->get()) == expected);
    }
}

void CheckBytesOf(const Message& message, const Bytes& bytes) {
    // Whole.
    const uint32_t messageClass = ClassOf(*message.action);
    uint32_t used = 0;
    const auto whole = ReadBytes(bytes.data(), bytes.size(), messageClass, used);
    TMX_HOLDS(static_cast<bool>(*whole));
    TMX_HOLDS(used == bytes.size());
    const bool hasApostrophe =
        std::any_of(message.values.begin(), message.values.end(), [&](const Value& value) {
            const size_t index = static_cast<size_t>(&value - message.values.data());
            return message.action->parameters[index].type == TmxParamType_DataSet &&
                   HasApostropheInName(value);
        });
    if (!hasApostrophe) {
        TMX_HOLDS(StoreBytes(whole->get()) == bytes);
    } else {
        // Such a set comes back cut; the rest doesn't.
        Message read = ValuesOf(whole->get());
        TMX_HOLDS(read.action == message.action && read.properties == message.properties);
        for (size_t i = 0; i < read.values.size(); ++i)
            if (message.action->parameters[i].type != TmxParamType_DataSet)
                TMX_HOLDS(read.values[i] == message.values[i]);
    }
    if (message.action->isTemplate) {
        CheckBordersOf(message, bytes);
        return;
    }
    // A cut property block, and none at all, are passed over.
    for (const size_t size : {bytes.size() - 1, message.parametersEnd}) {
        const auto cut = ReadBytes(bytes.data(), size, messageClass, used);
        TMX_HOLDS(static_cast<bool>(*cut));
        TMX_HOLDS(used == message.parametersEnd);
    }
}

void CheckClone(TmxHandle original, const Message& message, const Bytes& bytes) {
    TmxHandle handle = nullptr;
    TMX_HOLDS(TmxAct_CloneHandle(original, &handle));
    TMX_HOLDS(handle != nullptr);
    const Owned clone(handle);
    if (message.action->isTemplate) {
        TMX_HOLDS(StoreBytes(handle) == bytes);
        return;
    }
    Bytes expected(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(message.parametersEnd));
    const uint8_t noProperties[8] = {0x0F, 0xF0};
    expected.insert(expected.end(), noProperties, noProperties + 8);
    TMX_HOLDS(StoreBytes(handle) == expected);
}

bool IsNan(uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return std::isnan(value);
}

bool Matches(TmxHandle match, TmxHandle action) {
    bool answer = false;
    TMX_HOLDS(TmxMatchAct_Matches(match, action, &answer));
    TMX_HOLDS(!LastFailure());
    return answer;
}

bool Equal(TmxHandle a, TmxHandle b) {
    bool answer = false;
    TMX_HOLDS(TmxAct_Equal(a, b, &answer));
    TMX_HOLDS(!LastFailure());
    return answer;
}

void CheckDescription(TmxHandle match, const Value& description) {
    bool has = false;
    const TmxWChar* wide = nullptr;
    const char* narrow = nullptr;
    TMX_HOLDS(TmxMatchAct_HasDescription(match, &has));
    TMX_HOLDS(TmxMatchAct_GetDescriptionW(match, &wide));
    TMX_HOLDS(TmxMatchAct_GetDescriptionA(match, &narrow));
    TMX_HOLDS(has == description.present);
    TMX_HOLDS(std::u16string(wide) == description.wide.c_str());
    const bool isAscii = std::all_of(description.wide.begin(), description.wide.end(),
                                     [](char16_t unit) { return unit != 0 && unit < 0x80; });
    if (isAscii) {
        TMX_HOLDS(std::string(narrow) ==
                  std::string(description.wide.begin(), description.wide.end()));
    }
}

// The action that a template makes without a source has what is set and nothing else, and the
// template matches it. The exception is a set NaN, which equals nothing.
void CheckTemplate(TmxHandle match, const Message& message) {
    CheckDescription(match, message.values[0]);
    const auto action = MakeAction(match, nullptr);
    const Message made = ValuesOf(action->get());
    TMX_HOLDS(made.action == FindMessage(TMX_MESSAGE_CLASS_ACTION, message.action->code));
    TMX_HOLDS(made.properties.empty());
    bool hasNan = false;
    for (size_t i = 0; i < made.values.size(); ++i) {
        const Parameter& parameter = made.action->parameters[i];
        const Value& set = message.values[i + 1];
        Value value = made.values[i];
        if (set.present) {
            TMX_HOLDS(value == set);
            if (parameter.type == TmxParamType_Double && IsNan(set.word)) hasNan = true;
        } else if (parameter.optional) {
            TMX_HOLDS(!value.present);
        } else {
            // An open date-time is the time of the template's making.
            if (parameter.type == TmxParamType_DateTime) value.word = 0;
            TMX_HOLDS(value == Value());
        }
    }
    TMX_HOLDS(Matches(match, action->get()) != hasNan);
    TMX_HOLDS(Equal(match, match) != hasNan);
    TMX_HOLDS(!Equal(match, action->get()) && !Equal(action->get(), match));

    // Of its own action it takes over what it leaves open, so that the same comes out.
    const auto again = MakeAction(match, action->get());
    TMX_HOLDS(StoreBytes(again->get()) == StoreBytes(action->get()));
    // The action's template has all of that set.
    TmxHandle handle = nullptr;
    TMX_HOLDS(TmxAct_CreateMatchActionFromTemplate(action->get(), &handle));
    TMX_HOLDS(handle != nullptr && !LastFailure());
    const Owned full(handle);
    const Message fullMessage = ValuesOf(handle);
    TMX_HOLDS(!fullMessage.values[0].present);
    for (size_t i = 0; i < made.values.size(); ++i)
        TMX_HOLDS(fullMessage.values[i + 1] == made.values[i]);
    TMX_HOLDS(Matches(handle, action->get()) != hasNan);
}

}  // namespace

void CheckMessage(TmxHandle handle) {
    const Bytes bytes = StoreBytes(handle);
    const Message message = ValuesFrom(handle, bytes);
    CheckBytesOf(message, bytes);
    CheckClone(handle, message, bytes);
    if (message.action->isTemplate) CheckTemplate(handle, message);
    for (const bool utf8 : {false, true}) {
        CheckTextOf<char>(handle, message, utf8);
        CheckTextOf<TmxWChar>(handle, message, utf8);
    }
}

// ---- Reading a text -----------------------------------------------------------------------------

namespace {

bool IsAscii(const char* text, size_t size) {
    return std::all_of(text, text + size, [](char unit) { return unit >= 0; });
}
bool IsAscii(const TmxWChar* text, size_t size) {
    return std::all_of(text, text + size, [](TmxWChar unit) { return unit < 0x80; });
}

// The other width takes and refuses the same, at the same place.
template <typename Char>
void CheckOtherWidth(const Exact<Char>& text, TextInput input, const Reading& reading) {
    using Other = std::conditional_t<std::is_same_v<Char, char>, TmxWChar, char>;
    const std::basic_string<Other> units(text.data(), text.data() + text.size());
    const Reading other = Read(Exact<Other>::Terminated(units), input);
    TMX_HOLDS(static_cast<bool>(*other.action) == static_cast<bool>(*reading.action));
    TMX_HOLDS(other.consumed == reading.consumed);
    TMX_HOLDS(other.failure == reading.failure);
    if (*reading.action)
        TMX_HOLDS(StoreBytes(other.action->get()) == StoreBytes(reading.action->get()));
}

template <typename Char>
void Check(const Exact<Char>& text, TextInput input) {
    const NothingLeftOpen nothingLeftOpen;
    const bool measured = input.length >= TMX_MEASURE_LENGTH;
    const auto length = static_cast<int64_t>(measured ? std::char_traits<Char>::length(text.data())
                                                      : size_t{input.length});
    const auto size = static_cast<int64_t>(text.size());

    const Reading reading = Read(text, input);
    // Only what an "@" begins is a match action, and nothing is of both classes.
    TextInput other = input;
    other.messageClass ^= TMX_MESSAGE_CLASS_ACTION ^ TMX_MESSAGE_CLASS_MATCH_ACTION;
    const Reading otherClass = Read(text, other);
    for (const Reading* read : {&reading, &otherClass}) {
        if (!*read->action) continue;
        const size_t first = std::basic_string_view<Char>(text.data(), text.size())
                                 .find_first_not_of(std::basic_string<Char>{' ', '\t', '\n', '\r'});
        uint32_t messageClass = 0;
        TMX_HOLDS(TmxAct_GetMessageClass(read->action->get(), &messageClass));
        TMX_HOLDS(messageClass == (read == &reading ? input : other).messageClass);
        const bool hasSign = first < text.size() && text.data()[first] == '@';
        TMX_HOLDS(hasSign == (messageClass == TMX_MESSAGE_CLASS_MATCH_ACTION));
    }
    TMX_HOLDS(!*reading.action || !*otherClass.action);

    if (IsAscii(text.data(), text.size())) CheckOtherWidth(text, input, reading);
    if (reading.failure) return;
    if (!*reading.action) {
        // The place behind an unknown name, which may lie beyond the length; or what remained at
        // the failure, below zero where the reader had run beyond the length, and by one more where
        // an earlier failure with nothing left had not been seen.
        const int64_t told = static_cast<int32_t>(reading.consumed);
        TMX_HOLDS(told <= std::max(size, length + 1) && told >= length - size - 1);
        TMX_HOLDS(length - told <= size + 1 || told <= size);
        return;
    }

    // A text that ends where the closing parenthesis is due tells one more than its length.
    TMX_HOLDS(reading.consumed <= length + 1);
    CheckMessage(reading.action->get());
    if (reading.consumed > length) return;
    TMX_HOLDS(reading.consumed > 0 && text.data()[reading.consumed - 1] == ')');
    // What follows the closing parenthesis is not looked at.
    const auto alone = Exact<Char>::Terminated({text.data(), reading.consumed});
    const Reading again = Read(alone, {input.utf8, reading.consumed, input.messageClass});
    TMX_HOLDS(static_cast<bool>(*again.action));
    TMX_HOLDS(again.consumed == reading.consumed);
    TMX_HOLDS(StoreBytes(again.action->get()) == StoreBytes(reading.action->get()));
}

}  // namespace

void CheckText(const Exact<char>& text, TextInput input) { Check(text, input); }
void CheckText(const Exact<TmxWChar>& text, TextInput input) { Check(text, input); }

TextInput InputFrom(uint8_t control, size_t size, uint32_t messageClass) {
    // Bit 0: UTF-8. Bits 1 and 2: 1 the text is measured, 2 the length ends inside the text, else
    // it is the text's own. Bits 3 to 7: how far inside.
    TextInput input{(control & 1) != 0, static_cast<uint32_t>(size), messageClass};
    const unsigned mode = control >> 1 & 3;
    const size_t cut = size_t{control} >> 3;
    if (mode == 1) input.length = TMX_MEASURE_LENGTH + static_cast<uint32_t>(cut);
    if (mode == 2) input.length -= static_cast<uint32_t>(std::min(size, cut + 1));
    return input;
}

// ---- Reading bytes ------------------------------------------------------------------------------

namespace {

struct BytesReading {
    BytesReading(const Exact<uint8_t>& bytes, uint32_t messageClass)
        : action(TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                            messageClass, &used)) {
        // Bytes that can't be read record nothing.
        TMX_HOLDS(!LastFailure());
    }
    uint32_t used = 0xA5C3F00D;  // before the handle, whose making fills it
    Owned action;
};

// What the eight bytes of the header settle alone.
void CheckHeader(const Exact<uint8_t>& bytes, uint32_t messageClass, const BytesReading& reading) {
    const auto size = static_cast<uint32_t>(bytes.size());
    const auto number = [&](size_t at) {
        uint32_t value = 0;
        for (size_t i = 4; i-- > 0;) value = value << 8 | bytes.data()[at + i];
        return value;
    };
    if (size < 8) {
        TMX_HOLDS(!reading.action);
        const uint32_t used = size == 0   ? 0xFFFFFFFF
                              : size < 4  ? size
                              : size == 4 ? (number(0) == 1 || number(0) == 2 ? 5 : 0xFFFFFFFF)
                                          : size - 4;
        TMX_HOLDS(reading.used == used);
    } else if (number(0) != TMX_MESSAGE_CLASS_ACTION &&
               number(0) != TMX_MESSAGE_CLASS_MATCH_ACTION) {
        TMX_HOLDS(!reading.action);
        TMX_HOLDS(reading.used == (size == 8 ? 9 : size - 8));
    } else if (number(0) != messageClass || FindMessage(messageClass, number(4)) == nullptr) {
        TMX_HOLDS(!reading.action);
        TMX_HOLDS(reading.used == 8);
    } else {
        const BytesReading filtered(
            bytes, messageClass ^ TMX_MESSAGE_CLASS_ACTION ^ TMX_MESSAGE_CLASS_MATCH_ACTION);
        TMX_HOLDS(!filtered.action);
        TMX_HOLDS(filtered.used == 8);
    }
}

bool HasDataSet(const ActionFacts& action) {
    return std::any_of(
        action.parameters.begin(), action.parameters.end(),
        [](const Parameter& parameter) { return parameter.type == TmxParamType_DataSet; });
}

}  // namespace

void CheckBytes(const uint8_t* data, size_t size, uint32_t messageClass) {
    const NothingLeftOpen nothingLeftOpen;
    const Exact<uint8_t> bytes(data, size);
    const BytesReading reading(bytes, messageClass);
    CheckHeader(bytes, messageClass, reading);
    std::optional<Parameters> parameters = WalkAsReader(Bytes(data, data + size));
    // Whole, but of the other class.
    if (parameters && ClassOf(*parameters->action) != messageClass) parameters.reset();
    if (!reading.action) {
        TMX_HOLDS(!parameters);
        // What remained at the first failed read; -1 where an earlier one at exactly nothing left
        // had not been seen.
        TMX_HOLDS(reading.used <= size + 1 || reading.used == 0xFFFFFFFF);
        return;
    }
    TMX_HOLDS(reading.used >= 8 && reading.used <= size + 1);
    CheckMessage(reading.action.get());
    const Message message = ValuesOf(reading.action.get());
    if (parameters) {
        TMX_HOLDS(parameters->action == message.action);
        TMX_HOLDS(reading.used >= parameters->end);
        // The text of a data set has more than one spelling.
        if (!HasDataSet(*message.action)) TMX_HOLDS(parameters->values == message.values);
    } else {
        // Parameters that end just before a last field give the object with that field's default.
        TMX_HOLDS(reading.used == size + 1);
    }
    // A foreign block of exactly eight bytes tells one more than the size, too.
    if (reading.used > size) return;

    // What follows is not looked at.
    const Bytes stored = StoreBytes(reading.action.get());
    const Exact<uint8_t> prefix(data, reading.used);
    const BytesReading alone(prefix, messageClass);
    TMX_HOLDS(static_cast<bool>(alone.action));
    TMX_HOLDS(alone.used == reading.used);
    TMX_HOLDS(ValuesOf(alone.action.get()).values == message.values);

    // Bytes as the library writes them are written again as they were.
    const std::optional<Message> canonical = Walk(Bytes(data, data + reading.used));
    if (canonical && !HasDataSet(*canonical->action)) {
        TMX_HOLDS(canonical->parametersEnd == message.parametersEnd);
        TMX_HOLDS(std::equal(stored.begin(),
                             stored.begin() + static_cast<ptrdiff_t>(message.parametersEnd), data));
        Properties expected = canonical->properties;
        std::sort(expected.begin(), expected.end());
        Properties got = message.properties;
        std::sort(got.begin(), got.end());
        TMX_HOLDS(got == expected);
    }
}

}  // namespace tmxfuzz
