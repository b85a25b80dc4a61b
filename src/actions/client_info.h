// The client that some actions tell: three optional parameters, known by their names. A class that
// has them all answers for it.
#pragma once

#include "actions/fields.h"

namespace TmxPLC::ClientInfo {

inline constexpr std::string_view kHost = "ClientHost";        // wide text
inline constexpr std::string_view kType = "ClientType";        // enumeration
inline constexpr std::string_view kAccount = "ClientAccount";  // wide text

template <class Action>
inline constexpr bool kPresent =
    HasParameter<Action>(kHost) && HasParameter<Action>(kType) && HasParameter<Action>(kAccount);

template <class Action>
struct Parameters {
    template <auto& Name>
    using Named = FieldAt<Action, PlaceOf<Action>(Name)>;
    using Host = Named<kHost>;
    using Type = Named<kType>;
    using Account = Named<kAccount>;
    static_assert(std::is_same_v<typename Host::Holder, Optional<WideText>> &&
                  std::is_same_v<typename Type::Holder, Optional<std::int32_t>> &&
                  std::is_same_v<typename Account::Holder, Optional<WideText>>);
};

inline void Set(Optional<WideText>& parameter, const WideChar* text) {
    if (text == nullptr) return;
    // By way of a copy: the text may be the one that the object gave out.
    WideText copy;
    copy.AssignTerminated(text);
    parameter.value = std::move(copy);
    parameter.present = true;
}
inline void Set(Optional<std::int32_t>& parameter, std::int32_t value) noexcept {
    if (value != 0) parameter = {true, value};
}
inline const WideChar* Get(const Optional<WideText>& parameter) noexcept {
    return parameter.present ? parameter.value.c_str() : nullptr;
}
inline const std::int32_t* Get(const Optional<std::int32_t>& parameter) noexcept {
    return parameter.present ? &parameter.value : nullptr;
}

}  // namespace TmxPLC::ClientInfo
