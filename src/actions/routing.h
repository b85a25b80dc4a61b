// Which parameter of an action answers for a routing role. The kind of a parameter tells, but for
// the few that carry a role of their own in the table. No action has two parameters for one role.
#pragma once

#include "actions/fields.h"

namespace TmxPLC::Routing {

/// A field has a role by its kind if the table says nothing else.
template <class Field, std::uint32_t... Kinds>
inline constexpr bool kOfKind = Field::kRole == Role::OfKind && ((Field::kKind == Kinds) || ...);

template <class Field>
struct VideoInput : std::bool_constant<Field::kRole == Role::VideoInput ||
                                       kOfKind<Field, KindVideoChannel, KindCamera>> {};
template <class Field>
struct VideoOutput : std::bool_constant<kOfKind<Field, KindViewer>> {};
template <class Field>
struct InputContact : std::bool_constant<kOfKind<Field, KindInputContact>> {};
template <class Field>
struct OutputContact : std::bool_constant<kOfKind<Field, KindOutputContact>> {};
template <class Field>
struct ForeignKey : std::bool_constant<kOfKind<Field, KindForeignKey>> {};
template <class Field>
struct EventType
    : std::bool_constant<Field::kRole == Role::NamedId || kOfKind<Field, KindEventType>> {};
template <class Field>
struct GuidReference
    : std::bool_constant<kOfKind<Field, KindSchedule, KindBackupDestination, KindTimeRange>> {};
template <class Field>
struct ChannelGuidReference
    : std::bool_constant<
          kOfKind<Field, KindADParameterSet, KindVMDParameterSet, KindCPAParameterSet,
                  KindPathwiseParameterSet, KindSentaraParameterSet>> {};
/// An optional number never answers, nor does an enumeration.
template <class Field>
struct GenericInt32 : std::bool_constant<Field::kType == ParamInt32 && !Field::kOptional> {};

/// The value that answers, or null: the class has none, or it is an absent optional one.
template <template <class> class Rule, class Action>
void* Find(Action& action, std::uint32_t& kind) noexcept {
    using Found = FirstField<Action, Rule>;
    if constexpr (std::is_void_v<Found>) {
        return nullptr;
    } else {
        kind = Found::kKind;
        auto& parameter = Found::In(action);
        if constexpr (Found::kOptional)
            return parameter.present ? &parameter.value : nullptr;
        else
            return &parameter;
    }
}

}  // namespace TmxPLC::Routing
