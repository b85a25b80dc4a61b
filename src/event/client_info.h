// The client that some actions tell.
#pragma once

#include "objects/message.h"

namespace TmxPLC {

/// Sets what is given: a null text and a type of 0 leave their parameter as it is. False: the
/// action knows no client.
bool UpdateWindowsClientInfo(CTmxAction& action, const WideChar* host, std::int32_t type,
                             const WideChar* account);

/// Gives the values in the object, null for an absent one. False, and nothing given: the action
/// knows no client.
bool GetWindowsClientInfo(CTmxAction& action, const WideChar*& host, const std::int32_t*& type,
                          const WideChar*& account) noexcept;

}  // namespace TmxPLC
