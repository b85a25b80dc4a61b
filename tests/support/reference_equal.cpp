#include "support/reference_equal.h"

namespace tmxtest {

namespace {

uint32_t Fold(uint32_t c) {
    if (c >= 'A' && c <= 'Z') return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 32;
    if (c == 0x3C2) return 0x3C3;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    if (c == 0x178) return 0xFF;
    if (c == 0x1E9E) return 0xDF;
    if (c == 0x212A) return 'k';
    if (c >= 0x10400 && c <= 0x10427) return c + 40;
    return c;
}

std::vector<uint32_t> FoldedPoints(const WideString& text) {
    std::vector<uint32_t> points;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t point = text[i];
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
            ++i;
        }
        points.push_back(Fold(point));
    }
    return points;
}

bool EqualNarrow(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c + 0; };
        if (fold(a[i]) != fold(b[i])) return false;
    }
    return true;
}

}  // namespace

bool EqualWide(const WideString& a, const WideString& b) {
    return a.size() == b.size() && FoldedPoints(a) == FoldedPoints(b);
}

bool EqualByRule(const ParameterFacts& parameter, const Value& givenA, const Value& givenB) {
    const Value a = Seen(parameter, givenA);
    const Value b = Seen(parameter, givenB);
    if (a.present != b.present) return false;
    if (!a.present) return true;
    switch (parameter.type) {
        case Type::Int32:
        case Type::Enum:
            return std::get<int32_t>(a.data) == std::get<int32_t>(b.data);
        case Type::Int64:
            return std::get<int64_t>(a.data) == std::get<int64_t>(b.data);
        case Type::Double:
            return std::get<double>(a.data) == std::get<double>(b.data);
        case Type::Bool:
            return std::get<bool>(a.data) == std::get<bool>(b.data);
        case Type::DateTime:
            return ((std::get<DateTime>(a.data).value ^ std::get<DateTime>(b.data).value) &
                    0xFFFFFFFFFFFF) == 0;
        case Type::Guid:
            return std::get<TmxGuid>(a.data) == std::get<TmxGuid>(b.data);
        case Type::Rect:
            return std::get<TmxRect>(a.data) == std::get<TmxRect>(b.data);
        case Type::AnsiText:
            return EqualNarrow(std::get<std::string>(a.data), std::get<std::string>(b.data));
        case Type::WideText:
            return EqualWide(std::get<WideString>(a.data), std::get<WideString>(b.data));
        case Type::ObjectRef: {
            const auto& left = std::get<ObjectRef>(a.data);
            const auto& right = std::get<ObjectRef>(b.data);
            if (left.id != 0) return left.id == right.id;
            if (left.number != 0) return left.number == right.number;
            return EqualWide(left.name, right.name);
        }
        case Type::NamedId: {
            const auto& left = std::get<NamedId>(a.data);
            const auto& right = std::get<NamedId>(b.data);
            if (left.id != 0) return left.id == right.id;
            return EqualWide(left.name, right.name);
        }
        case Type::GuidRef: {
            const auto& left = std::get<GuidRef>(a.data);
            const auto& right = std::get<GuidRef>(b.data);
            if (!(left.guid == TmxGuid{})) return left.guid == right.guid;
            return EqualWide(left.name, right.name);
        }
        case Type::DataSet:
            return std::get<DataSet>(a.data) == std::get<DataSet>(b.data);
    }
    return false;
}

bool EqualByRule(const ActionFacts& action, const Values& a, const Values& b) {
    for (size_t i = 0; i < action.parameters.size(); ++i) {
        if (!EqualByRule(action.parameters[i], a[i], b[i])) return false;
    }
    return true;
}

bool EqualByRule(const Message& a, const Message& b) {
    if (a.action != b.action || a.isTemplate != b.isTemplate) return false;
    for (size_t i = 0; i < a.values.size(); ++i) {
        if (!EqualByRule(FactsIn(a, i), a.values[i], b.values[i])) return false;
    }
    return true;
}

bool MatchesByRule(const Message& match, const Message& action) {
    if (match.action != action.action) return false;
    for (size_t i = 0; i < match.values.size(); ++i) {
        const ParameterFacts& parameter = match.action->parameters[i];
        if (!match.values[i].present) continue;
        Value stored = action.values[i];
        if (!stored.present) {
            // The time of an action's making is never one that a test gives.
            if (parameter.type == Type::DateTime) return false;
            stored = {ZeroOf(parameter.type)};
        }
        if (!EqualByRule(parameter, match.values[i], stored)) return false;
    }
    return true;
}

}  // namespace tmxtest
