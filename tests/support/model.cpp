#include "support/model.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>

namespace tmxtest {

bool operator==(const TmxGuid& a, const TmxGuid& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool operator==(const TmxRect& a, const TmxRect& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool operator==(const GuidRef& a, const GuidRef& b) {
    return a.guid == b.guid && a.name == b.name && a.reserved == b.reserved;
}

namespace {

constexpr unsigned char kUntouched = 0xCD;

WideString UpToZero(const WideString& text) { return text.substr(0, text.find(TMX_W('\0'))); }

}  // namespace

Outs::Outs(size_t count) : slots_(count) {
    for (Slot& slot : slots_) std::memset(slot.bytes, kUntouched, kSlotSize);
}

bool Outs::Untouched() const {
    for (const Slot& slot : slots_) {
        for (unsigned char byte : slot.bytes) {
            if (byte != kUntouched) return false;
        }
    }
    return true;
}

Arguments::Arguments(const Values& values) : values_(values), flats_(values.size()) {
    for (size_t i = 0; i < values.size(); ++i) {
        const Datum& data = values[i].data;
        Flat& flat = flats_[i];
        if (const auto* object = std::get_if<ObjectRef>(&data)) {
            // A null name reads as empty; both ways of handing in the empty name are used.
            const bool null = object->name.empty() && object->number % 2 == 0;
            flat.object = {object->id, null ? nullptr : object->name.c_str(), object->number, -1};
        } else if (const auto* named = std::get_if<NamedId>(&data)) {
            const bool null = named->name.empty() && named->number % 2 == 0;
            flat.object = {named->id, null ? nullptr : named->name.c_str(), named->number, -1};
        } else if (const auto* guid = std::get_if<GuidRef>(&data)) {
            const bool null = guid->name.empty() && guid->reserved % 2 == 0;
            flat.guid = {guid->guid, null ? nullptr : guid->name.c_str(), guid->reserved};
        } else if (const auto* time = std::get_if<DateTime>(&data)) {
            flat.time = {time->value};
        } else if (const auto* set = std::get_if<DataSet>(&data)) {
            for (const DataSetEntry& entry : *set) {
                const auto& w = entry.words;
                flat.entries.push_back(
                    {{w[0], w[1], w[2], w[3]},
                     entry.number,
                     -1,
                     entry.name.empty() && entry.number % 2 == 0 ? nullptr : entry.name.c_str()});
            }
            flat.set = {flat.entries.empty() ? nullptr : flat.entries.data(), flat.entries.size()};
        }
    }
}

template <typename T>
T Arguments::As(size_t index) const {
    const Value& value = values_[index];
    if constexpr (std::is_same_v<T, int32_t> || std::is_same_v<T, bool>) {
        return std::get<T>(value.data);
    } else {
        static_assert(std::is_pointer_v<T>);
        using Pointed = std::remove_const_t<std::remove_pointer_t<T>>;
        if (!value.present) return nullptr;
        if constexpr (std::is_same_v<Pointed, char>) {
            return std::get<std::string>(value.data).c_str();
        } else if constexpr (std::is_same_v<Pointed, TmxWChar>) {
            return std::get<WideString>(value.data).c_str();
        } else if constexpr (std::is_same_v<Pointed, TmxObjectRef>) {
            return &flats_[index].object;
        } else if constexpr (std::is_same_v<Pointed, TmxGuidRef>) {
            return &flats_[index].guid;
        } else if constexpr (std::is_same_v<Pointed, TmxDateTime>) {
            return &flats_[index].time;
        } else if constexpr (std::is_same_v<Pointed, TmxDataSet>) {
            return &flats_[index].set;
        } else {
            return &std::get<Pointed>(value.data);
        }
    }
}

namespace {

// The typed functions, called through their argument types.
template <typename... In>
TmxHandle CallCreate(TmxHandle (*create)(In...), const Arguments& arguments) {
    return [&]<size_t... i>(std::index_sequence<i...>) {
        (void)arguments;
        return create(arguments.As<In>(i)...);
    }
    (std::index_sequence_for<In...>());
}

template <typename... Out>
bool CallDecode(bool (*decode)(TmxHandle, Out...), TmxHandle handle, Outs& outs) {
    return [&]<size_t... i>(std::index_sequence<i...>) {
        (void)outs;
        return decode(handle, outs.As<Out>(i)...);
    }
    (std::index_sequence_for<Out...>());
}

// The list of all actions as constant tables: quick to compile in every kind of build.
struct ActionRow {
    uint32_t code;
    const char* name;
    TmxHandle (*create)(const Arguments&);
    bool (*decode)(TmxHandle, Outs&);
};

struct ParameterRow {
    uint32_t code;
    const char* name;
    Type type;
    Kind kind;
    bool optional;
};

constexpr ActionRow kActionRows[] = {
#define TMX_ACTION(code, name, typed)                                                         \
    {code, #name,                                                                             \
     [](const Arguments& arguments) { return CallCreate(&TmxAct_Create##typed, arguments); }, \
     [](TmxHandle handle, Outs& outs) {                                                       \
         return CallDecode(&TmxAct_Decode##typed, handle, outs);                              \
     }},
#include <tmxactions/actions.def>
};

constexpr ParameterRow kParameterRows[] = {
#define TMX_PARAMETER(code, name, type, kind, optional) \
    {code, #name, Type::type, Kind::kind, (optional) != 0},
#include <tmxactions/actions.def>
};

std::vector<ActionFacts> MakeActions() {
    std::vector<ActionFacts> actions;
    // Every parameter in the list stands behind its action, in the order of the actions.
    const ParameterRow* parameter = std::begin(kParameterRows);
    for (const ActionRow& row : kActionRows) {
        ActionFacts action = {row.code, row.name, {}, row.create, row.decode};
        for (; parameter != std::end(kParameterRows) && parameter->code == row.code; ++parameter) {
            action.parameters.push_back(
                {parameter->name, parameter->type, parameter->kind, parameter->optional, 0});
        }
        actions.push_back(action);
    }
    if (parameter != std::end(kParameterRows)) std::abort();
    for (ActionFacts& action : actions) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            if (action.parameters[i].type != Type::Enum) continue;
            TmxParameterInfo info{};
            if (TmxAct_GetActionParameterInfo(&info, action.code, static_cast<uint32_t>(i))) {
                action.parameters[i].enumId = info.type;
            }
        }
    }
    return actions;
}

}  // namespace

const std::vector<ActionFacts>& AllActions() {
    static const std::vector<ActionFacts> actions = MakeActions();
    return actions;
}

const ActionFacts& ActionByName(std::string_view name) {
    for (const ActionFacts& action : AllActions()) {
        if (action.name == name) return action;
    }
    std::fprintf(stderr, "no action %s\n", std::string(name).c_str());
    std::abort();
}

ParameterFacts FactsIn(const Message& message, size_t index) {
    ParameterFacts facts = message.action->parameters[index];
    if (message.isTemplate) facts.optional = true;
    return facts;
}

const ParameterFacts& DescriptionFacts() {
    static const ParameterFacts facts = {"Comment", Type::WideText, Kind::None, true, 0};
    return facts;
}

TmxHandle Create(const ActionFacts& action, const Values& values) {
    return action.create(Arguments(values));
}

namespace {

template <typename T>
Value Copied(const ParameterFacts& parameter, const Outs& outs, size_t index) {
    if (!parameter.optional) return {outs.Get<T>(index)};
    const T* value = outs.Get<const T*>(index);
    if (value == nullptr) return {T{}, false};
    return {*value};
}

ObjectRef FromFlat(const TmxObjectRef& flat) { return {flat.id, flat.number, flat.name}; }

Value Decoded(const ParameterFacts& parameter, const Outs& outs, size_t index) {
    switch (parameter.type) {
        case Type::Int32:
        case Type::Enum:
            return Copied<int32_t>(parameter, outs, index);
        case Type::Int64:
            return Copied<int64_t>(parameter, outs, index);
        case Type::Double:
            return Copied<double>(parameter, outs, index);
        case Type::Bool:
            return Copied<bool>(parameter, outs, index);
        case Type::Guid:
            return Copied<TmxGuid>(parameter, outs, index);
        case Type::Rect:
            return Copied<TmxRect>(parameter, outs, index);
        case Type::DateTime: {
            if (!parameter.optional) return {DateTime{outs.Get<TmxDateTime>(index).value}};
            const auto* time = outs.Get<const TmxDateTime*>(index);
            if (time == nullptr) return {DateTime{}, false};
            return {DateTime{time->value}};
        }
        case Type::AnsiText: {
            const char* text = outs.Get<const char*>(index);
            if (text == nullptr) return {std::string(), false};
            return {std::string(text)};
        }
        case Type::WideText: {
            const TmxWChar* text = outs.Get<const TmxWChar*>(index);
            if (text == nullptr) return {WideString(), false};
            return {WideString(text)};
        }
        case Type::ObjectRef: {
            if (!parameter.optional) return {FromFlat(outs.Get<TmxObjectRef>(index))};
            const auto* flat = outs.Get<const TmxObjectRef*>(index);
            if (flat == nullptr) return {ObjectRef{}, false};
            return {FromFlat(*flat)};
        }
        case Type::NamedId: {
            const TmxObjectRef* flat = nullptr;
            TmxObjectRef copy;
            if (parameter.optional) {
                flat = outs.Get<const TmxObjectRef*>(index);
            } else {
                copy = outs.Get<TmxObjectRef>(index);
                flat = &copy;
            }
            if (flat == nullptr) return {NamedId{}, false};
            return {NamedId{flat->id, flat->name, flat->number}};
        }
        case Type::GuidRef: {
            const TmxGuidRef* flat = nullptr;
            TmxGuidRef copy;
            if (parameter.optional) {
                flat = outs.Get<const TmxGuidRef*>(index);
            } else {
                copy = outs.Get<TmxGuidRef>(index);
                flat = &copy;
            }
            if (flat == nullptr) return {GuidRef{}, false};
            return {GuidRef{flat->guid, flat->name, flat->reserved}};
        }
        case Type::DataSet: {
            const TmxDataSet flat = outs.Get<TmxDataSet>(index);
            DataSet set;
            for (uint64_t i = 0; i < flat.count; ++i) {
                const TmxDataSetEntry& entry = flat.items[i];
                const int16_t* w = entry.words;
                set.push_back({{w[0], w[1], w[2], w[3]}, entry.number, entry.name});
            }
            return {set};
        }
    }
    std::abort();
}

}  // namespace

bool Decode(const ActionFacts& action, TmxHandle handle, Values* values) {
    Outs outs(action.parameters.size());
    if (!action.decode(handle, outs)) return false;
    values->clear();
    for (size_t i = 0; i < action.parameters.size(); ++i) {
        values->push_back(Decoded(action.parameters[i], outs, i));
    }
    return true;
}

Value Seen(const ParameterFacts& parameter, const Value& value) {
    Value seen = value;
    if (!value.present && !parameter.optional) seen = {ZeroOf(parameter.type)};
    if (auto* narrow = std::get_if<std::string>(&seen.data)) {
        narrow->resize(std::strlen(narrow->c_str()));
    } else if (auto* wide = std::get_if<WideString>(&seen.data)) {
        *wide = UpToZero(*wide);
    } else if (auto* object = std::get_if<ObjectRef>(&seen.data)) {
        object->name = UpToZero(object->name);
    } else if (auto* named = std::get_if<NamedId>(&seen.data)) {
        named->name = UpToZero(named->name);
    } else if (auto* guid = std::get_if<GuidRef>(&seen.data)) {
        guid->name = UpToZero(guid->name);
    } else if (auto* set = std::get_if<DataSet>(&seen.data)) {
        for (DataSetEntry& entry : *set) entry.name = UpToZero(entry.name);
    }
    return seen;
}

bool Same(const Value& expected, const Value& actual) {
    if (expected.present != actual.present) return false;
    if (!expected.present) return true;
    if (expected.data.index() != actual.data.index()) return false;
    if (const auto* number = std::get_if<double>(&expected.data)) {
        return std::memcmp(number, &std::get<double>(actual.data), sizeof *number) == 0;
    }
    if (const auto* time = std::get_if<DateTime>(&expected.data); time != nullptr && time->now) {
        using std::chrono::duration_cast;
        using std::chrono::milliseconds;
        const auto sinceEpoch =
            duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch());
        const int64_t present = sinceEpoch.count() + int64_t{11644473600} * 1000;
        const auto given =
            static_cast<int64_t>(std::get<DateTime>(actual.data).value & 0xFFFFFFFFFFFFu);
        return given <= present + 1 && given >= present - 60000;
    }
    return std::visit(
        [&](const auto& data) {
            return data == std::get<std::decay_t<decltype(data)>>(actual.data);
        },
        expected.data);
}

std::string Hex(const void* data, size_t size) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) {
        if (i != 0) text += ' ';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

std::string Printable(std::string_view text) {
    std::string printable;
    for (char c : text) {
        if (c >= ' ' && c < 0x7F) {
            printable += c;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
            printable += escape;
        }
    }
    return printable;
}

std::string Printable(WideView text) {
    std::string printable;
    for (TmxWChar c : text) {
        if (c >= TMX_W(' ') && c < 0x7F) {
            printable += static_cast<char>(c);
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(c));
            printable += escape;
        }
    }
    return printable;
}

Datum ZeroOf(Type type) {
    switch (type) {
        case Type::Int32:
        case Type::Enum:
            return int32_t{0};
        case Type::Int64:
            return int64_t{0};
        case Type::DateTime:
            return DateTime{};
        case Type::AnsiText:
            return std::string();
        case Type::WideText:
            return WideString();
        case Type::Bool:
            return false;
        case Type::Guid:
            return TmxGuid{};
        case Type::NamedId:
            return NamedId{};
        case Type::ObjectRef:
            return ObjectRef{};
        case Type::GuidRef:
            return GuidRef{};
        case Type::Double:
            return 0.0;
        case Type::Rect:
            return TmxRect{};
        case Type::DataSet:
            return DataSet{};
    }
    std::abort();
}

Datum FreshOf(Type type) {
    if (type == Type::DateTime) return DateTime{0, true};
    return ZeroOf(type);
}

Values AsStored(Values values) {
    for (Value& value : values) {
        if (auto* named = std::get_if<NamedId>(&value.data)) named->number = 0;
        if (auto* guid = std::get_if<GuidRef>(&value.data)) guid->reserved = 0;
    }
    return values;
}

std::string Describe(const Value& value) {
    if (!value.present) return "(absent)";
    struct Visitor {
        std::string operator()(int32_t v) const { return std::to_string(v); }
        std::string operator()(int64_t v) const { return std::to_string(v); }
        std::string operator()(double v) const {
            char text[64];
            std::snprintf(text, sizeof text, "%a", v);
            return text;
        }
        std::string operator()(bool v) const { return v ? "true" : "false"; }
        std::string operator()(const DateTime& v) const {
            if (v.now) return "(now)";
            char text[32];
            std::snprintf(text, sizeof text, "time %016llX",
                          static_cast<unsigned long long>(v.value));
            return text;
        }
        std::string operator()(const TmxGuid& v) const { return Hex(&v, sizeof v); }
        std::string operator()(const TmxRect& v) const { return Hex(&v, sizeof v); }
        std::string operator()(const std::string& v) const { return "'" + Printable(v) + "'"; }
        std::string operator()(const WideString& v) const { return "u'" + Printable(v) + "'"; }
        std::string operator()(const ObjectRef& v) const {
            return "{" + std::to_string(v.id) + ", " + std::to_string(v.number) + ", " +
                   (*this)(v.name) + "}";
        }
        std::string operator()(const NamedId& v) const {
            return "{" + std::to_string(v.id) + ", " + (*this)(v.name) + ", (" +
                   std::to_string(v.number) + ")}";
        }
        std::string operator()(const GuidRef& v) const {
            return "{" + (*this)(v.guid) + ", " + (*this)(v.name) + ", (" +
                   std::to_string(v.reserved) + ")}";
        }
        std::string operator()(const DataSet& v) const {
            std::string text = "{";
            for (const DataSetEntry& entry : v) {
                text += "[" + Hex(entry.words.data(), 8) + " " + std::to_string(entry.number) +
                        " " + (*this)(entry.name) + "]";
            }
            return text + "}";
        }
    };
    std::string text = std::visit(Visitor(), value.data);
    if (text.size() > 600) text = text.substr(0, 600) + "...";
    return text;
}

std::string Differences(const ActionFacts& action, const Values& expected, const Values& actual) {
    if (expected.size() != actual.size()) return action.name + ": other number of parameters";
    std::string text;
    for (size_t i = 0; i < expected.size(); ++i) {
        const Value seen = Seen(action.parameters[i], expected[i]);
        if (Same(seen, actual[i])) continue;
        text += action.name + "." + action.parameters[i].name + ": expected " + Describe(seen) +
                ", got " + Describe(actual[i]) + "\n";
    }
    return text;
}

}  // namespace tmxtest
