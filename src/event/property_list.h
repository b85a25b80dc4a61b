// The text that lists an action's properties. It is written only: nothing reads it back.
#pragma once

#include "objects/properties.h"

namespace TmxPLC {

/// All pairs in order as an XML-like text, kept in the properties until the next call or the end of
/// the object.
const WideString& ListProperties(Properties& properties);

}  // namespace TmxPLC
