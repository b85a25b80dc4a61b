// How an action that is made from a template gets what the template leaves open.
#pragma once

#include "actions/fields.h"
#include "match/match_action.h"

namespace TmxPLC {

/// The foreign key that an action offers; 0 where it has none.
std::int64_t OfferedForeignKey(CTmxAction& source) noexcept;

/// A required parameter from a source of another action, whose parameters mean something else: by
/// the role that the parameter's kind names. A source without the role gives the empty value. Types
/// and kinds without a role are not filled: returns false.
///
/// The number is filled whatever it means: each parameter of the type gets the one number that the
/// source offers.
template <class Field>
bool TakeByRole(typename Field::Holder& parameter, CTmxAction& source) {
    if constexpr (Field::kType == ParamInt32) {
        parameter = source.GetGenericInt32Parameter();
        return true;
    } else if constexpr (Field::kType == ParamInt64 && Field::kKind == KindForeignKey) {
        parameter = OfferedForeignKey(source);
        return true;
    } else if constexpr (Field::kType == ParamObjectRef) {
        const ObjectRef* offered = nullptr;
        if constexpr (Field::kKind == KindVideoChannel || Field::kKind == KindCamera ||
                      Field::kKind == KindAudioChannel)
            offered = source.GetVideoInput();
        else if constexpr (Field::kKind == KindViewer)
            offered = source.GetVideoOutput();
        else if constexpr (Field::kKind == KindInputContact)
            offered = source.GetInputContact();
        else if constexpr (Field::kKind == KindOutputContact)
            offered = source.GetOutputContact();
        else
            return false;
        if (offered != nullptr) parameter = *offered;
        return true;
    } else {
        return false;
    }
}

/// A required parameter of a new action. same: the parameter in a source of the same action, or
/// null; source: a source of another action, or null.
template <class T>
[[gnu::noinline]] void FillRequired(T& parameter, const MatchParam<T>& pair, const T* same) {
    parameter = pair.IsSet || same == nullptr ? pair.Value : *same;
}
template <class Field, class T>
void Complete(T& parameter, const MatchParam<T>& pair, const T* same, CTmxAction* source) {
    if (source != nullptr && !pair.IsSet && TakeByRole<Field>(parameter, *source)) return;
    FillRequired(parameter, pair, same);
}

/// An optional parameter: only a source of the same action gives it.
template <class T>
[[gnu::noinline]] void FillOptional(Optional<T>& parameter, const MatchParam<T>& pair,
                                    const Optional<T>* same) {
    parameter.present = pair.IsSet || (same != nullptr && same->present);
    if (!parameter.present) return SetUnread(parameter.value);
    parameter.value = pair.IsSet ? pair.Value : same->value;
}
template <class Field, class T>
void Complete(Optional<T>& parameter, const MatchParam<T>& pair, const Optional<T>* same,
              CTmxAction*) {
    FillOptional(parameter, pair, same);
}

}  // namespace TmxPLC
