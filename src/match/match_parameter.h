// A parameter of a template.
#pragma once

#include "objects/values.h"

namespace TmxPLC {

/// A pair: a set parameter states a value, one that isn't set leaves the parameter open. The value
/// is always a valid one: while it isn't set, the zero of its type, or for a date-time the time of
/// the template's making. It matters: an action made from the template may receive it.
template <class T>
struct MatchParam {
    bool IsSet = false;
    alignas(kParameterAlignment<T>) T Value{};
};

}  // namespace TmxPLC
