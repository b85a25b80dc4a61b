// The parameters of a class on their way into an event record, in catalogue order. What a parameter
// becomes there is a matter of its type (event/event_data.h); a class is a list of calls.
#pragma once

#include "actions/fields.h"
#include "event/event_data.h"

namespace TmxPLC {

/// Feeds a parameter that may be absent. One function a type: there are many such parameters.
template <class Parameter>
[[gnu::noinline]] void FeedIfGiven(EventFieldWriter& writer, const Parameter& parameter) {
    writer.Put(Given(parameter));
}

/// Feeds all parameters of an action, or of a match action.
template <class Class>
inline void FeedEventFields(EventFieldWriter& writer, const Class& object) {
    ForEachPlace<Class>([&]<class Field, std::size_t Place>() {
        // The next text goes on as if the second user didn't exist.
        if constexpr (Place == PlaceOf<Class>(kSecondUser))
            return;
        else if constexpr (kCanBeAbsent<typename Field::Holder>)
            FeedIfGiven(writer, Field::In(object));
        else
            writer.Put(&Field::In(object));
    });
    if constexpr (HasParameter<Class>(kSecondUser)) writer.SetIncomplete();
}

}  // namespace TmxPLC
