// The client that some actions tell: three optional parameters, known by their names. A class that
// has them all answers for it.
#pragma once

#include "actions/fields.h"

namespace TmxPLC::ClientInfo {

inline constexpr std::string_view kHost = "ClientHost";
inline constexpr std::string_view kType = "ClientType";
inline constexpr std::string_view kAccount = "ClientAccount";

/// The parameter of this name, absent or not; null in a class that tells no client.
template <const std::string_view& Name, class Action>
void* Find(Action& action) noexcept {
    if constexpr (HasParameter<Action>(kHost) && HasParameter<Action>(kType) &&
                  HasParameter<Action>(kAccount)) {
        using Parameter = FieldAt<Action, PlaceOf<Action>(Name)>;
        static_assert(Parameter::kOptional);
        return &Parameter::In(action);
    } else {
        static_cast<void>(action);
        return nullptr;
    }
}

}  // namespace TmxPLC::ClientInfo
