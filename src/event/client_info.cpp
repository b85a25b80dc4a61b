#include "event/client_info.h"

#include <utility>

namespace TmxPLC {

namespace {

// By way of a copy: the text may be the one that the object gave out.
void Set(Optional<WideText>& parameter, const WideChar* text) {
    if (text == nullptr) return;
    WideText copy;
    copy.AssignTerminated(text);
    parameter.value = std::move(copy);
    parameter.present = true;
}

const WideChar* Get(const Optional<WideText>& parameter) noexcept {
    return parameter.present ? parameter.value.c_str() : nullptr;
}

}  // namespace

bool UpdateWindowsClientInfo(CTmxAction& action, const WideChar* host, std::int32_t type,
                             const WideChar* account) {
    const ClientParameters client = action.GetClientParameters();
    if (client.host == nullptr) return false;
    Set(*client.host, host);
    if (type != 0) *client.type = {true, type};
    Set(*client.account, account);
    return true;
}

bool GetWindowsClientInfo(CTmxAction& action, const WideChar*& host, const std::int32_t*& type,
                          const WideChar*& account) noexcept {
    const ClientParameters client = action.GetClientParameters();
    if (client.host == nullptr) return false;
    host = Get(*client.host);
    type = client.type->present ? &client.type->value : nullptr;
    account = Get(*client.account);
    return true;
}

}  // namespace TmxPLC
