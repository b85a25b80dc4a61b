// The parameters of a class on their way into an event record, in catalogue order. What a parameter
// becomes there is a matter of its type (event/event_data.h); a class is a list of calls.
#pragma once

#include "actions/fields.h"
#include "event/event_data.h"

namespace TmxPLC {

/// Feeds all parameters; parameterOf.operator()<Field>() gives one. Serves an action and its match
/// action.
template <class Action, class ParameterOf>
inline void FeedEventFields(EventFieldWriter& writer, ParameterOf&& parameterOf) {
    ForEachPlace<Action>([&]<class Field, std::size_t Place>() {
        // The next text goes on as if the second user didn't exist.
        if constexpr (Place != PlaceOf<Action>(kSecondUser))
            writer.Put(Given(parameterOf.template operator()<Field>()));
    });
    if constexpr (HasParameter<Action>(kSecondUser)) writer.SetIncomplete();
}

}  // namespace TmxPLC
