// The walk over the references of an action, in which a server completes what it knows of them.
#pragma once

#include "objects/message.h"

namespace TmxPLC {

/// Hands each reference that the action has to the function of its role. True unless a function
/// that was asked for a reference of the action itself returned false. Raises std::bad_alloc where
/// memory runs out for a name, and what a function raises; the object is then whole, and keeps what
/// was taken over.
bool UpdateActionInfo(CTmxAction& action, void* context, const TmxActionInfoCallbacks& callbacks);

}  // namespace TmxPLC
