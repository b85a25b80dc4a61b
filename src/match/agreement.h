// When two values of a parameter agree: one rule a type. The left value alone chooses the way of
// comparing where there is a choice, so that agreement is not symmetric: a left reference with a
// number agrees with any that has this number, and disagrees with one known by its name alone.
#pragma once

#include "catalogue/name.h"
#include "match/match_parameter.h"

namespace TmxPLC {

/// Compares two wide texts of the same length without regard to case. Raises Zinc::SystemException
/// ("CompareString").
bool SameLengthTextsAgree(const WideChar* left, const WideChar* right, std::size_t length);

/// Texts of different lengths never agree, even where a locale would call them equal.
inline bool Agree(const WideText& left, const WideText& right) {
    return left.size() == right.size() &&
           (Zinc::Units::Equal(left.c_str(), right.c_str(), left.size() * sizeof(WideChar)) ||
            SameLengthTextsAgree(left.c_str(), right.c_str(), left.size()));
}

/// Narrow texts fold ASCII letters and nothing else.
inline bool Agree(const AnsiText& left, const AnsiText& right) noexcept {
    return left.size() == right.size() && EqualsAsciiFold(left.c_str(), right.c_str(), left.size());
}

inline bool Agree(std::int32_t left, std::int32_t right) noexcept { return left == right; }
inline bool Agree(std::int64_t left, std::int64_t right) noexcept { return left == right; }
inline bool Agree(bool left, bool right) noexcept { return left == right; }
/// By number: a NaN disagrees with itself, 0.0 agrees with -0.0.
inline bool Agree(double left, double right) noexcept { return left == right; }
/// The same instant seen from two zones agrees.
inline bool Agree(const TZincDateTime& left, const TZincDateTime& right) noexcept {
    return left.UtcMilliseconds() == right.UtcMilliseconds();
}
inline bool Agree(const Guid& left, const Guid& right) noexcept { return left == right; }
inline bool Agree(const ParamRect& left, const ParamRect& right) noexcept {
    return std::memcmp(left.words, right.words, sizeof left.words) == 0;
}
inline bool Agree(const ObjectRef& left, const ObjectRef& right) {
    if (left.id != 0) return left.id == right.id;
    if (left.number != 0) return left.number == right.number;
    return Agree(left.nameText, right.nameText);
}
inline bool Agree(const NamedId& left, const NamedId& right) {
    if (left.id != 0) return left.id == right.id;
    return Agree(left.nameText, right.nameText);
}
inline bool Agree(const GuidRef& left, const GuidRef& right) {
    if (!Zinc::IsNil(left.guid)) return left.guid == right.guid;
    return Agree(left.nameText, right.nameText);
}
/// Entry by entry in order, the names with case.
bool Agree(const DataSet& left, const DataSet& right) noexcept;

/// Two optional parameters: both absent, whatever they store, or both present with values that
/// agree.
template <class T>
bool Agree(const Optional<T>& left, const Optional<T>& right) {
    return left.present == right.present && (!left.present || Agree(left.value, right.value));
}

/// Two templates' parameters, likewise.
template <class T>
bool Agree(const MatchParam<T>& left, const MatchParam<T>& right) {
    return left.IsSet == right.IsSet && (!left.IsSet || Agree(left.Value, right.Value));
}

/// A template's parameter and an action's. What isn't set agrees with everything. What is set
/// compares with the stored value: an absent optional parameter is one with the zero of its type.
template <class T, class Parameter>
bool AgreeIfSet(const MatchParam<T>& pair, const Parameter& parameter) {
    return !pair.IsSet || Agree(pair.Value, ValueOf(parameter));
}

}  // namespace TmxPLC
