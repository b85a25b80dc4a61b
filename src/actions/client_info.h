// The client that some actions tell: three optional parameters, known by their names. A class that
// has them all answers for it.
#pragma once

#include "actions/fields.h"
#include "objects/message.h"

namespace TmxPLC {

template <class Action>
ClientParameters FindClientParameters(Action& action) noexcept {
    static_cast<void>(action);
    if constexpr (HasParameter<Action>("ClientHost") && HasParameter<Action>("ClientType") &&
                  HasParameter<Action>("ClientAccount"))
        return {&FieldAt<Action, PlaceOf<Action>("ClientHost")>::In(action),
                &FieldAt<Action, PlaceOf<Action>("ClientType")>::In(action),
                &FieldAt<Action, PlaceOf<Action>("ClientAccount")>::In(action)};
    else
        return {};
}

}  // namespace TmxPLC
