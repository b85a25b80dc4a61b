// An event record as a line of text for people.
#pragma once

#include "event/event_data.h"

namespace TmxPLC {

/// Calls back for each value and at the end for the whole line. The values come from the stored
/// bytes where the record has them and they can be read, else from the slots. Sets complete. Raises
/// TmxPLCException ("buffer too small") where the stored action is too large to be shown, what a
/// text raises that can't be had (a date before 1601), and what the callback raises.
void DescribeEvent(const EventDataRecord& record, void* context,
                   TmxEventDescriptionCallback callback, bool& complete);

}  // namespace TmxPLC
