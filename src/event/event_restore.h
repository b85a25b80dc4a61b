// The way back from an event record: from the stored bytes where the record has them and they can
// be read, else from its slots. From the slots a match action is put together, in the binary form,
// in which a parameter whose slots are empty is open; an action is what that match action makes
// without a source.
#pragma once

#include "event/event_data.h"
#include "match/match_action.h"

namespace TmxPLC {

/// A new action with reference count 1. Null: the bytes can't be read, if there are any, and the
/// code is unknown; or there is no memory for an object. Raises what a conversion of text raises.
CTmxAction* RestoreAction(const EventDataRecord& record);
/// The same for a match action.
CTmxMatchAction* RestoreMatchAction(const EventDataRecord& record);

/// The action in the record's bytes, or null.
CTmxAction* ReadStoredAction(const EventDataRecord& record);

}  // namespace TmxPLC
