#include "event/client_info.h"

#include <utility>

namespace TmxPLC {

namespace {

WideText Copy(const WideChar* text) {
    WideText copy;
    copy.AssignTerminated(text);
    return copy;
}

void Set(Optional<WideText>& parameter, const WideChar* text, WideText& copy) noexcept {
    if (text == nullptr) return;
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
    // Both copies come first: the texts may be the object's own, and what fails changes nothing.
    WideText hostCopy = Copy(host);
    WideText accountCopy = Copy(account);
    Set(*client.host, host, hostCopy);
    if (type != 0) *client.type = {true, type};
    Set(*client.account, account, accountCopy);
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
