// Keeps the one reference of a message that may have to be let go of.
#pragma once

#include <utility>

#include "objects/reserve.h"

namespace TmxPLC {

/// Discards the message at the end of its scope, unless it was handed on. The message may be null.
template <class Class>
class MessageGuard {
  public:
    explicit MessageGuard(Class* message) noexcept : message_(message) {}
    MessageGuard(const MessageGuard&) = delete;
    MessageGuard& operator=(const MessageGuard&) = delete;
    ~MessageGuard() {
        if (message_ != nullptr) Reserve::Discard(message_);
    }
    Class* Get() const noexcept { return message_; }
    Class* Release() noexcept { return std::exchange(message_, nullptr); }

  private:
    Class* message_;
};

}  // namespace TmxPLC
