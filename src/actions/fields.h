// The parameters of an action as a list that code walks at compile time.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "catalogue/name.h"
#include "objects/values.h"

namespace TmxPLC {

/// The routing role of a parameter: the one of its kind, another, or none.
enum class Role : std::uint8_t { OfKind, VideoInput, NamedId, none };

/// One parameter: the member that holds it, its type and kind in the catalogue, and its role.
template <auto Member, std::uint32_t Type, std::uint32_t Kind, Role Routing = Role::OfKind>
struct Field;
template <class Class, class Held, Held Class::*Member, std::uint32_t Type, std::uint32_t Kind,
          Role Routing>
struct Field<Member, Type, Kind, Routing> {
    using Holder = Held;
    static constexpr std::uint32_t kType = Type;
    static constexpr std::uint32_t kKind = Kind;
    static constexpr Role kRole = Routing;
    static constexpr bool kOptional = kIsOptional<Held>;
    static constexpr Held& In(Class& object) noexcept { return object.*Member; }
    static constexpr const Held& In(const Class& object) noexcept { return object.*Member; }
};

/// The parameters in catalogue order.
template <class... Fields>
struct FieldList {
    static constexpr std::size_t kCount = sizeof...(Fields);
};

/// The facts of an action class or of its template's; the build makes one for each: kCode, kName,
/// Fields (a FieldList), kNames (the parameters' names), and Template (the template's class).
template <class Class>
struct ActionFacts;

namespace Detail {

template <class Action, class Visit, class... Fields, std::size_t... Index>
constexpr void ForEachField(FieldList<Fields...>, std::index_sequence<Index...>, Visit&& visit) {
    (visit.template operator()<Fields>(ActionFacts<Action>::kNames[Index]), ...);
}
template <class Visit, class... Fields, std::size_t... Index>
constexpr void ForEachPlace(FieldList<Fields...>, std::index_sequence<Index...>, Visit&& visit) {
    (visit.template operator()<Fields, Index>(), ...);
}
template <class Action, class Visit, class... Fields>
constexpr bool AllFields(FieldList<Fields...>, Visit&& visit) {
    return (visit.template operator()<Fields>() && ...);
}
template <std::size_t Index, class List>
struct At;
template <std::size_t Index, class Field, class... Rest>
struct At<Index, FieldList<Field, Rest...>> : At<Index - 1, FieldList<Rest...>> {};
template <class Field, class... Rest>
struct At<0, FieldList<Field, Rest...>> {
    using Type = Field;
};
template <class Visit, class... Lefts, class... Rights>
constexpr void ForEachPair(FieldList<Lefts...>, FieldList<Rights...>, Visit&& visit) {
    (visit.template operator()<Lefts, Rights>(), ...);
}
template <class Visit, class... Lefts, class... Rights>
constexpr bool AllPairs(FieldList<Lefts...>, FieldList<Rights...>, Visit&& visit) {
    return (visit.template operator()<Lefts, Rights>() && ...);
}
template <template <class> class Condition, class Chosen, class... Fields>
struct First {
    using Type = Chosen;
};
template <template <class> class Condition, class Field, class... Rest>
struct First<Condition, void, Field, Rest...>
    : First<Condition, std::conditional_t<Condition<Field>::value, Field, void>, Rest...> {};
template <template <class> class Condition, class List>
struct FirstIn;
template <template <class> class Condition, class... Fields>
struct FirstIn<Condition, FieldList<Fields...>> : First<Condition, void, Fields...> {};

}  // namespace Detail

/// Calls visit.operator()<Field>(name) for each parameter of an action, in order.
template <class Action, class Visit>
constexpr void ForEachField(Visit&& visit) {
    using List = typename ActionFacts<Action>::Fields;
    Detail::ForEachField<Action>(List{}, std::make_index_sequence<List::kCount>{}, visit);
}

/// Calls visit.operator()<Field, place>() for each parameter of an action, in order.
template <class Action, class Visit>
constexpr void ForEachPlace(Visit&& visit) {
    using List = typename ActionFacts<Action>::Fields;
    Detail::ForEachPlace(List{}, std::make_index_sequence<List::kCount>{}, visit);
}

/// Whether visit.operator()<Field>() holds for all parameters; ends at the first that fails.
template <class Action, class Visit>
constexpr bool AllFields(Visit&& visit) {
    return Detail::AllFields<Action>(typename ActionFacts<Action>::Fields{}, visit);
}

/// The same for the parameters of two classes of one action, side by side:
/// visit.operator()<Left, Right>().
template <class Left, class Right, class Visit>
constexpr void ForEachPair(Visit&& visit) {
    Detail::ForEachPair(typename ActionFacts<Left>::Fields{}, typename ActionFacts<Right>::Fields{},
                        visit);
}
template <class Left, class Right, class Visit>
constexpr bool AllPairs(Visit&& visit) {
    return Detail::AllPairs(typename ActionFacts<Left>::Fields{},
                            typename ActionFacts<Right>::Fields{}, visit);
}

/// The parameter of an action at a place.
template <class Action, std::size_t Place>
using FieldAt = typename Detail::At<Place, typename ActionFacts<Action>::Fields>::Type;

/// The place of the parameter of this name; the number of parameters if there is none.
template <class Action>
consteval std::size_t PlaceOf(std::string_view name) {
    std::size_t place = 0;
    for (const Name& other : ActionFacts<Action>::kNames) {
        if (std::string_view(other.narrow, other.length) == name) break;
        ++place;
    }
    return place;
}
template <class Action>
consteval bool HasParameter(std::string_view name) {
    return PlaceOf<Action>(name) < ActionFacts<Action>::kNames.size();
}

/// The first parameter of an action for which Condition<Field>::value holds; void without one.
template <class Action, template <class> class Condition>
using FirstField =
    typename Detail::FirstIn<Condition,
                             typename ActionFacts<std::remove_const_t<Action>>::Fields>::Type;

}  // namespace TmxPLC
