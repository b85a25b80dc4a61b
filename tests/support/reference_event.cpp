#include "support/reference_event.h"

#include <algorithm>
#include <cstring>

#include "support/reference_encoding.h"
#include "support/reference_text.h"

namespace tmxtest {

namespace {

const char* const kSecondUserActions[] = {"UserLogin", "UserLoginFailed", "UserLogout",
                                          "SetupUploadProgress", "SystemSettingsChanged"};

bool HasSecondUser(const ActionFacts& action) {
    return std::find(std::begin(kSecondUserActions), std::end(kSecondUserActions), action.name) !=
           std::end(kSecondUserActions);
}

int64_t Half(const TmxGuid& guid, int half) {
    int64_t value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&guid) + 8 * half, sizeof value);
    return value;
}

template <typename To, typename From>
To BitsOf(const From& from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

template <typename T, typename Slot>
void ReadSlot(const Slot* slot, std::optional<T>* value) {
    static_assert(sizeof(T) == sizeof(Slot));
    if (slot == nullptr) return;
    T read;
    std::memcpy(&read, slot, sizeof read);
    *value = read;
}

template <typename T>
void Cut(const std::vector<std::optional<T>>& from, bool* complete,
         std::array<std::optional<T>, 2>* to) {
    for (size_t i = 0; i < from.size(); ++i) {
        if (i < to->size()) {
            (*to)[i] = from[i];
        } else if (from[i]) {
            *complete = false;
        }
    }
}

template <typename T>
std::string Shown(const std::optional<T>& value) {
    return value ? std::to_string(*value) : "-";
}

// Takes the fields one by one; nothing behind the last.
class Cursor {
  public:
    explicit Cursor(const EventFields& fields) : fields_(fields) {}

    std::optional<int64_t> Int64() { return Next(fields_.int64, &int64_); }
    std::optional<uint64_t> Double() { return Next(fields_.doubles, &double_); }
    std::optional<uint64_t> Date() { return Next(fields_.dates, &date_); }
    std::optional<WideString> Text() { return Next(fields_.texts, &text_); }
    std::optional<int32_t> Int32() {
        if (int32_ < 4) return fields_.int32[int32_++];
        const std::optional<int64_t> wide = Int64();
        if (!wide) return std::nullopt;
        return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(*wide)));
    }
    std::optional<TmxGuid> Guid() {
        const auto low = Int64();
        const auto high = Int64();
        if (!low || !high) return std::nullopt;
        return Join(*low, *high);
    }
    TmxGuid LenientGuid() {
        const auto low = Int64();
        const auto high = Int64();
        return Join(low.value_or(0), high.value_or(0));
    }
    // The text of a text parameter.
    std::optional<WideString> TextOf(const ParameterFacts& parameter) {
        if (parameter.name == "User2") return std::nullopt;
        std::optional<WideString> text = Text();
        if (fields_.code == 6 && !fields_.texts[1]) return std::nullopt;
        return text;
    }
    // The name of a GUID reference; nothing for an empty one.
    std::optional<WideString> GuidName() {
        std::optional<WideString> text = Text();
        if (fields_.code == 6 && !fields_.texts[1]) text = fields_.texts[0];
        return NotEmpty(text);
    }
    std::optional<WideString> Name() { return NotEmpty(Text()); }

  private:
    template <typename Array>
    typename Array::value_type Next(const Array& array, size_t* at) {
        if (*at == array.size()) return std::nullopt;
        return array[(*at)++];
    }
    static TmxGuid Join(int64_t low, int64_t high) {
        TmxGuid guid;
        std::memcpy(&guid, &low, 8);
        std::memcpy(reinterpret_cast<char*>(&guid) + 8, &high, 8);
        return guid;
    }
    static std::optional<WideString> NotEmpty(const std::optional<WideString>& text) {
        return text && !text->empty() ? text : std::nullopt;
    }

    const EventFields& fields_;
    size_t int64_ = 0;
    size_t int32_ = 0;
    size_t double_ = 0;
    size_t date_ = 0;
    size_t text_ = 0;
};

std::optional<Datum> GatherOne(const ParameterFacts& parameter, Cursor& cursor) {
    switch (parameter.type) {
        case Type::Int32:
        case Type::Enum:
            if (const auto number = cursor.Int32()) return *number;
            break;
        case Type::Bool:
            if (const auto number = cursor.Int32()) return *number != 0;
            break;
        case Type::Int64:
            if (const auto number = cursor.Int64()) return *number;
            break;
        case Type::Rect:
            if (const auto bits = cursor.Int64()) return BitsOf<TmxRect>(*bits);
            break;
        case Type::Double:
            if (const auto bits = cursor.Double()) return BitsOf<double>(*bits);
            break;
        case Type::DateTime:
            if (const auto value = cursor.Date()) return DateTime{*value};
            break;
        case Type::Guid:
            if (const auto guid = cursor.Guid()) return *guid;
            break;
        case Type::WideText:
            if (const auto text = cursor.TextOf(parameter)) return *text;
            break;
        case Type::AnsiText:
            if (const auto text = cursor.TextOf(parameter)) return ToNarrow(*text, false);
            break;
        case Type::ObjectRef: {
            const int64_t id = cursor.Int64().value_or(0);
            const int32_t number = cursor.Int32().value_or(0);
            if (const auto name = cursor.Name()) return ObjectRef{id, number, *name};
            break;
        }
        case Type::NamedId: {
            const int64_t id = cursor.Int64().value_or(0);
            if (const auto name = cursor.Name()) return NamedId{id, *name};
            break;
        }
        case Type::GuidRef: {
            const TmxGuid guid = cursor.LenientGuid();
            if (const auto name = cursor.GuidName()) return GuidRef{guid, *name};
            break;
        }
        case Type::DataSet:
            break;
    }
    return std::nullopt;
}

Pairs GatherAll(const ActionFacts& action, Cursor& cursor) {
    Pairs pairs;
    for (const ParameterFacts& parameter : action.parameters) {
        pairs.push_back(GatherOne(parameter, cursor));
    }
    return pairs;
}

// The bytes in which the parameters are put together: as a template's, but for data sets, which
// have none.
size_t AssembledSize(const ActionFacts& action, const Pairs& pairs) {
    size_t size = TemplateBytes(action, pairs).size();
    for (const ParameterFacts& parameter : action.parameters) {
        if (parameter.type == Type::DataSet) --size;
    }
    return size;
}

// ---- Description --------------------------------------------------------------------------------

class Line {
  public:
    explicit Line(const std::string& title) : title_(Widened(title)), line_(title_) {}

    void AddCode(uint32_t code) { line_ += Widened("(" + std::to_string(code) + ")"); }

    void Tell(const ParameterFacts& parameter, const WideString& value) {
        told_.push_back({static_cast<uint32_t>(told_.size()), Widened(parameter.name), value});
        line_ += Widened("; ");
        const bool spoken = parameter.type == Type::Enum && HasNames(parameter.enumId) &&
                            std::any_of(value.begin(), value.end(), [](TmxWChar unit) {
                                return unit < TMX_W('0') || unit > TMX_W('9');
                            });
        if (!spoken) line_ += Widened(parameter.name + ": ");
        switch (parameter.type) {
            case Type::DateTime:
            case Type::AnsiText:
            case Type::WideText:
            case Type::Guid:
            case Type::NamedId:
            case Type::GuidRef:
                line_ += Widened("\"") + value + Widened("\"");
                break;
            case Type::Rect:
                line_ += Widened("{ ") + value + Widened(" }");
                break;
            default:
                line_ += value;
                break;
        }
    }

    std::vector<Told> End() {
        told_.push_back({0xffffffff, title_, line_});
        return told_;
    }

  private:
    // The types with enumeration names, as they are listed.
    static bool HasNames(uint32_t type) {
        static constexpr uint32_t kRanges[][2] = {
            {10, 18}, {20, 21}, {24, 24}, {28, 40}, {43, 43}, {45, 45}, {47, 50}, {52, 52},
            {54, 54}, {56, 56}, {58, 66}, {68, 68}, {70, 70}, {72, 75}, {77, 91}, {93, 99}};
        return std::any_of(std::begin(kRanges), std::end(kRanges), [&](const uint32_t(&range)[2]) {
            return type >= range[0] && type <= range[1];
        });
    }

    WideString title_;
    WideString line_;
    std::vector<Told> told_;
};

WideString NamedText(uint32_t type, int32_t value) {
    TmxEnumValueInfo info{};
    if (TmxAct_GetEnumValueInfo(&info, type, static_cast<uint32_t>(value))) return info.nameW;
    return Widened(std::to_string(value));
}

WideString RectText(const TmxRect& rect) {
    std::string text;
    for (const int16_t word : rect.words) {
        text += (text.empty() ? "" : ", ") + std::to_string(word);
    }
    return Widened(text);
}

// The text of a value but for references and bools, which differ between slots and bytes. Nothing
// where a date has none.
std::optional<WideString> ValueText(const ParameterFacts& parameter, const Datum& data) {
    switch (parameter.type) {
        case Type::Int32:
            return Widened(std::to_string(std::get<int32_t>(data)));
        case Type::Enum:
            return NamedText(parameter.enumId, std::get<int32_t>(data));
        case Type::Int64:
            return Widened(std::to_string(std::get<int64_t>(data)));
        case Type::Double:
            return Widened(DoubleText(std::get<double>(data)));
        case Type::DateTime: {
            const auto text = TimeText(std::get<DateTime>(data).value);
            if (!text) return std::nullopt;
            return Widened(*text);
        }
        case Type::AnsiText:
            return ToWide(std::get<std::string>(data), false);
        case Type::WideText:
            return std::get<WideString>(data);
        case Type::Guid:
            return Widened(GuidCharacters(std::get<TmxGuid>(data)));
        case Type::Rect:
            return RectText(std::get<TmxRect>(data));
        case Type::NamedId:
            return std::get<NamedId>(data).name;
        case Type::GuidRef:
            return std::get<GuidRef>(data).name;
        case Type::Bool:
            return NamedText(5, std::get<bool>(data) ? 1 : 0);
        case Type::ObjectRef: {
            const auto& reference = std::get<ObjectRef>(data);
            const WideString number = Widened(std::to_string(reference.number));
            if (reference.name.empty()) return number;
            return number + Widened(" - ") + reference.name;
        }
        case Type::DataSet:
            break;
    }
    return std::nullopt;
}

const ActionFacts& GeneralEventInfo() {
    static const ActionFacts facts = [] {
        ActionFacts made{0x7fffffff, "GeneralEventInfo", {}, nullptr, nullptr};
        const auto add = [&](const char* name, Type type) {
            made.parameters.push_back({name, type, Kind::None, false, 0});
        };
        for (const char* name : {"Int64FieldA", "Int64FieldB", "Int64FieldC", "Int64FieldD"})
            add(name, Type::Int64);
        for (const char* name : {"Int32FieldA", "Int32FieldB", "Int32FieldC", "Int32FieldD"})
            add(name, Type::Int32);
        for (const char* name : {"StringFieldA", "StringFieldB"}) add(name, Type::WideText);
        for (const char* name : {"DateFieldA", "DateFieldB"}) add(name, Type::DateTime);
        for (const char* name : {"DoubleFieldA", "DoubleFieldB"}) add(name, Type::Double);
        return made;
    }();
    return facts;
}

}  // namespace

// ---- Records ------------------------------------------------------------------------------------

EventFields FieldsOf(const TmxEventDataRecord& record) {
    EventFields fields;
    fields.code = record.code;
    for (size_t i = 0; i < 4; ++i) {
        ReadSlot(record.int32Fields[i], &fields.int32[i]);
        ReadSlot(record.int64Fields[i], &fields.int64[i]);
    }
    for (size_t i = 0; i < 2; ++i) {
        ReadSlot(record.doubleFields[i], &fields.doubles[i]);
        ReadSlot(record.dateFields[i], &fields.dates[i]);
        const TmxEventText& text = record.textFields[i];
        if (text.text != nullptr) fields.texts[i] = WideString(text.text, text.length);
    }
    return fields;
}

TmxEventDataRecord RecordOf(const EventFields& fields) {
    TmxEventDataRecord record{};
    record.size = sizeof record;
    record.code = fields.code;
    const auto at = [](const auto& field) { return field ? &*field : nullptr; };
    for (size_t i = 0; i < 4; ++i) {
        record.int32Fields[i] = at(fields.int32[i]);
        record.int64Fields[i] = at(fields.int64[i]);
    }
    for (size_t i = 0; i < 2; ++i) {
        static_assert(sizeof(TmxDateTime) == sizeof(uint64_t));
        record.doubleFields[i] = reinterpret_cast<const double*>(at(fields.doubles[i]));
        record.dateFields[i] = reinterpret_cast<const TmxDateTime*>(at(fields.dates[i]));
        if (fields.texts[i]) {
            record.textFields[i] = {fields.texts[i]->size(), fields.texts[i]->data()};
        }
    }
    return record;
}

void SetBinary(TmxEventDataRecord* record, const Bytes& bytes) {
    record->binarySize = bytes.size();
    record->binary = bytes.data();
}

std::string Describe(const EventFields& fields) {
    std::string text = "code " + std::to_string(fields.code) + ", int32";
    for (const auto& field : fields.int32) text += " " + Shown(field);
    text += ", int64";
    for (const auto& field : fields.int64) text += " " + Shown(field);
    text += ", double";
    for (const auto& field : fields.doubles) text += " " + Shown(field);
    text += ", date";
    for (const auto& field : fields.dates) text += " " + Shown(field);
    text += ", text";
    for (const auto& field : fields.texts) {
        text += field ? " \"" + Printable(WideView(*field)) + "\"" : " -";
    }
    return text;
}

// ---- Filling ------------------------------------------------------------------------------------

// Every kind of slot is a list without an end, which is cut at last.
Filling Spread(const ActionFacts& action, const Values& values, bool compact) {
    std::vector<std::optional<int32_t>> narrow;
    std::vector<std::optional<int64_t>> wide;
    std::vector<std::optional<uint64_t>> doubles;
    std::vector<std::optional<uint64_t>> dates;
    std::vector<std::optional<WideString>> texts;
    std::optional<WideString> borrowed;

    const auto putNumber = [&](const std::optional<int32_t>& number) {
        if (narrow.size() < 4) {
            narrow.push_back(number);
        } else {
            wide.push_back(number ? std::optional<int64_t>(*number) : std::nullopt);
        }
    };
    for (size_t i = 0; i < values.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (parameter.name == "User2" && HasSecondUser(action)) continue;
        const Datum data = values[i].present ? values[i].data : ZeroOf(parameter.type);
        const bool present = !parameter.optional || values[i].present;
        // A value that is there.
        const auto given = [&]<typename T>(const T& value) {
            return present ? std::optional<T>(value) : std::nullopt;
        };
        // One that the compact form keeps to itself.
        const auto full = [&]<typename T>(const T& value) {
            return compact ? std::nullopt : given(value);
        };
        switch (parameter.type) {
            case Type::Int32:
            case Type::Enum:
                putNumber(given(std::get<int32_t>(data)));
                break;
            case Type::Bool:
                putNumber(given(std::get<bool>(data) ? 1 : 0));
                break;
            case Type::Int64:
                wide.push_back(given(std::get<int64_t>(data)));
                break;
            case Type::Rect:
                wide.push_back(given(BitsOf<int64_t>(std::get<TmxRect>(data))));
                break;
            case Type::Double:
                doubles.push_back(given(BitsOf<uint64_t>(std::get<double>(data))));
                break;
            case Type::DateTime:
                dates.push_back(given(std::get<DateTime>(data).value));
                break;
            case Type::WideText:
                texts.push_back(given(std::get<WideString>(data)));
                break;
            case Type::AnsiText:
                texts.push_back(given(ToWide(std::get<std::string>(data), false)));
                break;
            case Type::Guid:
                wide.push_back(given(Half(std::get<TmxGuid>(data), 0)));
                wide.push_back(given(Half(std::get<TmxGuid>(data), 1)));
                break;
            case Type::ObjectRef: {
                const auto& reference = std::get<ObjectRef>(data);
                wide.push_back(full(reference.id));
                if (present) {
                    putNumber(reference.number);
                } else if (narrow.size() < 4) {
                    narrow.push_back(std::nullopt);
                }
                texts.push_back(full(reference.name));
                break;
            }
            case Type::NamedId: {
                const auto& reference = std::get<NamedId>(data);
                wide.push_back(full(reference.id));
                texts.push_back(given(reference.name));
                break;
            }
            case Type::GuidRef: {
                const auto& reference = std::get<GuidRef>(data);
                wide.push_back(full(Half(reference.guid, 0)));
                wide.push_back(full(Half(reference.guid, 1)));
                if (present && action.name == "SystemSettingsChanged" && !texts[0] && !texts[1]) {
                    borrowed = reference.name;
                } else {
                    texts.push_back(given(reference.name));
                }
                break;
            }
            case Type::DataSet:
                break;
        }
    }

    Filling filling;
    filling.complete = !HasSecondUser(action);
    filling.fields.code = action.code;
    for (size_t i = 0; i < narrow.size(); ++i) filling.fields.int32[i] = narrow[i];
    for (size_t i = 0; i < wide.size(); ++i) {
        if (i < 4) {
            filling.fields.int64[i] = wide[i];
        } else if (wide[i]) {
            filling.complete = false;
        }
    }
    Cut(doubles, &filling.complete, &filling.fields.doubles);
    Cut(dates, &filling.complete, &filling.fields.dates);
    Cut(texts, &filling.complete, &filling.fields.texts);
    if (borrowed) filling.fields.texts[0] = borrowed;
    return filling;
}

// ---- Restoring ----------------------------------------------------------------------------------

std::optional<Pairs> Gather(const ActionFacts& action, const EventFields& fields) {
    Cursor cursor(fields);
    Pairs pairs = GatherAll(action, cursor);
    const size_t first = AssembledSize(action, pairs);
    if (first <= 240) return pairs;
    // Once more, into a larger buffer, from where the cursor stands.
    pairs = GatherAll(action, cursor);
    if (AssembledSize(action, pairs) > std::min<size_t>(first, 65535)) return std::nullopt;
    return pairs;
}

Pairs PairsOf(const ActionFacts& action, const Values& values) {
    Pairs pairs;
    for (size_t i = 0; i < values.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (values[i].present) {
            pairs.push_back(values[i].data);
        } else if (parameter.optional) {
            pairs.push_back(std::nullopt);
        } else {
            pairs.push_back(ZeroOf(parameter.type));
        }
    }
    return pairs;
}

Bytes TemplateBytes(const ActionFacts& action, const Pairs& pairs) {
    // The stored form of an action with optional parameters alone, each with its presence byte,
    // between the template's head and no property block.
    ActionFacts optional = action;
    Values values;
    for (size_t i = 0; i < pairs.size(); ++i) {
        optional.parameters[i].optional = true;
        values.push_back(pairs[i] ? Value{*pairs[i]}
                                  : Value{ZeroOf(action.parameters[i].type), false});
    }
    Bytes bytes = BinaryForm(optional, values);
    bytes.resize(SizeWithoutProperties(optional, values));
    bytes[0] = TMX_MESSAGE_CLASS_MATCH_ACTION;
    bytes.insert(bytes.begin() + 8, 0);
    return bytes;
}

Values ActionOf(const ActionFacts& action, const Pairs& pairs) {
    Values values;
    for (size_t i = 0; i < pairs.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (pairs[i]) {
            values.push_back({*pairs[i]});
        } else if (parameter.type == Type::DateTime) {
            values.push_back({DateTime{0, true}, !parameter.optional});
        } else {
            values.push_back({ZeroOf(parameter.type), !parameter.optional});
        }
    }
    return values;
}

// ---- Describing ---------------------------------------------------------------------------------

std::string Describe(const std::vector<Told>& told) {
    std::string text;
    for (const Told& call : told) {
        text += std::to_string(call.index) + " " + Printable(WideView(call.name)) + " = " +
                Printable(WideView(call.value)) + "\n";
    }
    return text;
}

std::optional<std::vector<Told>> ToldOfFields(const ActionFacts* action,
                                              const EventFields& fields) {
    const ActionFacts& entry = action != nullptr ? *action : GeneralEventInfo();
    Line line(entry.name);
    if (action == nullptr && fields.code != 0) line.AddCode(fields.code);
    Cursor cursor(fields);
    for (const ParameterFacts& parameter : entry.parameters) {
        if (parameter.type == Type::ObjectRef) {
            cursor.Int64();
            const auto number = cursor.Int32();
            const auto name = cursor.Name();
            const WideString digits = Widened(std::to_string(number.value_or(0)));
            if (name) {
                line.Tell(parameter, *name + Widened(" (") + digits + Widened(")"));
            } else if (number) {
                line.Tell(parameter, digits);
            }
        } else if (parameter.type == Type::Bool) {
            if (const auto number = cursor.Int32()) line.Tell(parameter, NamedText(5, *number));
        } else if (parameter.type == Type::AnsiText) {
            if (const auto text = cursor.TextOf(parameter)) line.Tell(parameter, *text);
        } else if (const auto data = GatherOne(parameter, cursor)) {
            const auto text = ValueText(parameter, *data);
            if (!text) return std::nullopt;
            line.Tell(parameter, *text);
        }
    }
    return line.End();
}

std::optional<std::vector<Told>> ToldOfBytes(const ActionFacts& action, const Values& values,
                                             size_t binarySize) {
    const Pairs pairs = PairsOf(action, values);
    if (TemplateBytes(action, pairs).size() > std::min<size_t>(2 * binarySize, 10000))
        return std::nullopt;
    Line line(action.name);
    for (size_t i = 0; i < pairs.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (!pairs[i] || parameter.type == Type::DataSet) continue;
        const auto text = ValueText(parameter, *pairs[i]);
        if (!text) return std::nullopt;
        line.Tell(parameter, *text);
    }
    return line.End();
}

}  // namespace tmxtest
