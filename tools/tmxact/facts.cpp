#include "facts.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace tmxact {

namespace {

// Whether a parameter is optional is told by no query: it comes from the list of actions.
struct Optionality {
    std::uint32_t code;
    std::string_view name;
    bool optional;
};

constexpr Optionality kOptionality[] = {
#define TMX_PARAMETER(code, name, type, kind, optional) {code, #name, optional != 0},
#include <tmxactions/actions.def>
};

// The enumerators of the interface carry names that no query tells (of types, kinds and
// enumerations). The compiler knows them: it spells a template argument that is an enumerator by
// its name, and any other value by a cast.
template <auto Value>
constexpr std::string_view Spelled() {
    constexpr std::string_view function = __PRETTY_FUNCTION__;
    constexpr std::size_t begin = function.find("Value = ") + 8;
    constexpr std::size_t end = function.find_first_of(";]", begin);
    constexpr std::string_view whole = function.substr(begin, end - begin);
    if (whole.find('(') != std::string_view::npos) return {};
    constexpr std::size_t scope = whole.rfind(':');
    constexpr std::string_view name =
        scope == std::string_view::npos ? whole : whole.substr(scope + 1);
    return name.substr(name.find('_') + 1);
}

template <typename Enum, std::size_t... Values>
constexpr auto SpelledAll(std::index_sequence<Values...>) {
    return std::array<std::string_view, sizeof...(Values)>{Spelled<static_cast<Enum>(Values)>()...};
}

// The bounds are those of the smallest bit field that holds every enumerator.
constexpr auto kTypeNames = SpelledAll<TmxParamType>(std::make_index_sequence<128>());
constexpr auto kKindNames = SpelledAll<TmxParamKind>(std::make_index_sequence<32>());
constexpr auto kEnumNames = SpelledAll<TmxEnumId>(std::make_index_sequence<128>());
static_assert(kTypeNames[TmxParamType_ObjectRef] == "ObjectRef");
static_assert(kEnumNames[TmxEnumId_PlayMode] == "PlayMode");

template <typename Table>
std::string NameIn(const Table& table, std::uint32_t value) {
    if (value < table.size() && !table[value].empty()) return std::string(table[value]);
    return std::to_string(value);
}

char LowerLetter(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// How often each letter of ASCII occurs, case aside; other characters share what is left.
std::array<int, 128> LettersOf(std::string_view text) noexcept {
    std::array<int, 128> letters{};
    for (const char c : text) ++letters[static_cast<unsigned char>(LowerLetter(c)) & 0x7Fu];
    return letters;
}

// A bound below the edit distance that is cheap to have: a letter that one text has more often than
// the other costs an edit, which may make up for one that the other has more often.
std::size_t LeastDistance(const std::array<int, 128>& letters, std::string_view other) noexcept {
    std::array<int, 128> left = letters;
    std::size_t more = 0;
    for (const char c : other)
        if (--left[static_cast<unsigned char>(LowerLetter(c)) & 0x7Fu] < 0) ++more;
    const int surplus = std::accumulate(left.begin(), left.end(), 0);
    // Of the sum of all differences, "more" are on the other's side.
    return std::max(more, static_cast<std::size_t>(std::max(0, surplus + static_cast<int>(more))));
}

// How many letters are missing, foreign, wrong or swapped with the next one.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1);  // the row ahead of the last one
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        before.swap(last);
        last.swap(row);
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            row[j + 1] = std::min({last[j] + (a[i] == b[j] ? 0 : 1), last[j + 1] + 1, row[j] + 1});
            if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j])
                row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
        }
    }
    return row[b.size()];
}

}  // namespace

const std::string* EnumFacts::NameOf(std::int32_t value) const {
    const auto found = std::lower_bound(
        values.begin(), values.end(), value,
        [](const EnumValueFacts& each, std::int32_t wanted) { return each.value < wanted; });
    return found != values.end() && found->value == value ? &found->name : nullptr;
}

const Facts& Facts::Get() {
    static const Facts facts;
    return facts;
}

Facts::Facts() {
    std::vector<TmxEnumValueInfo> values(TmxAct_GetNumberOfEnumValues(TMX_NONE));
    values.resize(TmxAct_EnumerateEnumValues(values.data(),
                                             static_cast<std::uint32_t>(values.size()), TMX_NONE));
    for (const TmxEnumValueInfo& value : values) {
        EnumFacts& facts = enums_[value.enumId];
        facts.id = value.enumId;
        facts.name = NameIn(kEnumNames, value.enumId);
        facts.values.push_back({static_cast<std::int32_t>(value.value), value.name});
    }

    std::vector<TmxActionClassInfo> classes(TmxAct_GetNumberOfActionClasses());
    classes.resize(
        TmxAct_EnumerateActionClasses(classes.data(), static_cast<std::uint32_t>(classes.size())));
    for (const TmxActionClassInfo& each : classes)
        classes_.push_back({each.classId, each.name, {}});

    std::map<std::pair<std::uint32_t, std::string_view>, bool> optional;
    for (const Optionality& each : kOptionality) optional[{each.code, each.name}] = each.optional;

    const auto parameter = [&](const TmxParameterInfo& info, bool isOptional) {
        const auto found = enums_.find(info.type);
        ParameterFacts facts{info.name, info.type, info.kind, info.extra, isOptional, nullptr};
        if (facts.IsEnum() && found != enums_.end()) facts.enumeration = &found->second;
        return facts;
    };

    std::vector<TmxActionInfo> actions(TmxAct_GetNumberOfActions());
    actions.resize(
        TmxAct_EnumerateActions(actions.data(), static_cast<std::uint32_t>(actions.size())));
    for (const TmxActionInfo& each : actions) {
        ActionFacts facts{each.code, each.classId, static_cast<std::uint32_t>(actions_.size()),
                          each.name, {},           each.descriptionU8,
                          {}};
        std::vector<TmxParameterInfo> infos(each.parameterCount);
        infos.resize(
            TmxAct_EnumerateActionParameters(infos.data(), each.parameterCount, each.code));
        for (const TmxParameterInfo& info : infos) {
            const auto found = optional.find({each.code, info.name});
            facts.parameters.push_back(parameter(info, found != optional.end() && found->second));
        }
        actions_.push_back(std::move(facts));
    }
    TmxParameterInfo info{};
    TmxAct_GetMatchActionDescriptionInfo(&info);
    description_ = parameter(info, true);

    for (ActionFacts& action : actions_) {
        for (ClassFacts& each : classes_) {
            if (each.id != action.classId) continue;
            action.className = each.name;
            each.actions.push_back(&action);
        }
        if (action.code >= byCode_.size()) byCode_.resize(action.code + 1);
        byCode_[action.code] = &action;
        byName_[Lower(action.name)] = &action;
    }
}

const ActionFacts* Facts::ByCode(std::uint32_t code) const noexcept {
    return code < byCode_.size() ? byCode_[code] : nullptr;
}

const ActionFacts* Facts::ByName(std::string_view name) const noexcept {
    const auto found = byName_.find(Lower(name));
    return found != byName_.end() ? found->second : nullptr;
}

std::string KindName(std::uint32_t kind) { return NameIn(kKindNames, kind); }

std::string TypeName(const ParameterFacts& parameter) {
    return parameter.IsEnum() ? NameIn(kEnumNames, parameter.type)
                              : NameIn(kTypeNames, parameter.type);
}

std::string TypeText(const ParameterFacts& parameter) {
    switch (parameter.type) {
        case TmxParamType_Int32:
            return "32-bit number";
        case TmxParamType_Int64:
            return "64-bit number";
        case TmxParamType_DateTime:
            return "date-time";
        case TmxParamType_AnsiText:
        case TmxParamType_WideText:
            return "text";
        case TmxParamType_Bool:
            return "bool";
        case TmxParamType_Guid:
            return "GUID";
        case TmxParamType_NamedId:
            return "named id";
        case TmxParamType_ObjectRef:
            return "object reference";
        case TmxParamType_GuidRef:
            return "GUID reference";
        case TmxParamType_Double:
            return "floating-point number";
        case TmxParamType_Rect:
            return "rectangle";
        case TmxParamType_DataSet:
            return "data set";
        default:
            return "enumeration " + TypeName(parameter);
    }
}

std::string ValueShape(const ParameterFacts& parameter) {
    switch (parameter.type) {
        case TmxParamType_DateTime:
            return "\"YYYY/MM/DD hh:mm:ss,mmm GMT+hh:mm\"";
        case TmxParamType_AnsiText:
        case TmxParamType_WideText:
            return "\"text\"";
        case TmxParamType_Bool:
            return "0 or 1";
        case TmxParamType_Guid:
            return "\"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx\"";
        case TmxParamType_NamedId:
            return "\"name\" or { id, \"name\" }";
        case TmxParamType_ObjectRef:
            return "a number or { id, number, \"name\" }";
        case TmxParamType_GuidRef:
            return "\"name\" or { \"guid\", \"name\" }";
        case TmxParamType_Rect:
            return "{ a, b, c, d }";
        case TmxParamType_DataSet:
            return "{{ a, b, c, d, number, \"name\" }, ...}";
        case TmxParamType_Double:
            return "a decimal number";
        default:
            return "a number";
    }
}

std::string ValueExample(const ParameterFacts& parameter) {
    switch (parameter.type) {
        case TmxParamType_DateTime:
            return "\"2026/11/15 12:00:00,000 GMT+01:00\"";
        case TmxParamType_AnsiText:
        case TmxParamType_WideText:
            return "\"text\"";
        case TmxParamType_Guid:
            return "\"00112233-4455-6677-8899-aabbccddeeff\"";
        case TmxParamType_NamedId:
            return "{ 17, \"Main\" }";
        case TmxParamType_ObjectRef:
            return "5";
        case TmxParamType_GuidRef:
            return "\"Night\"";
        case TmxParamType_Double:
            return "1.5";
        case TmxParamType_Rect:
            return "{ 0, 0, 640, 480 }";
        case TmxParamType_DataSet:
            return "{{ 1, 2, 3, 4, 5, \"x\" }}";
        default:
            if (parameter.enumeration != nullptr)
                return std::to_string(parameter.enumeration->values.front().value);
            return "1";
    }
}

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = LowerLetter(c);
    return lower;
}

std::vector<std::string> NearestNames(std::string_view wanted,
                                      const std::vector<std::string_view>& names,
                                      std::size_t most) {
    constexpr std::size_t kLongestName = 64;
    if (wanted.empty() || wanted.size() > kLongestName) return {};
    const std::string lower = Lower(wanted);
    const std::array<int, 128> letters = LettersOf(wanted);
    std::vector<std::pair<std::size_t, std::string_view>> ranked;
    for (const std::string_view name : names) {
        const std::size_t longer = std::max(wanted.size(), name.size());
        if (LeastDistance(letters, name) * 3 > longer) continue;
        const std::size_t distance = EditDistance(lower, Lower(name));
        if (distance * 3 <= longer) ranked.push_back({distance, name});
    }
    std::sort(ranked.begin(), ranked.end());
    ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
    std::vector<std::string> nearest;
    for (const auto& [distance, name] : ranked) {
        if (nearest.size() == most) break;
        nearest.emplace_back(name);
    }
    return nearest;
}

}  // namespace tmxact
