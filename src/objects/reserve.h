// Memory for one message, kept for the reading of messages for which no other memory can be had:
// they are read all the same, so that the caller is told the same place as with an object, and are
// let go at once.
#pragma once

#include <cstddef>

#include "objects/message.h"

namespace TmxPLC {

class Reserve {
  public:
    static constexpr std::size_t kSize = 8192;

    /// Waits until the memory is free.
    static void* Take() noexcept;
    static bool Holds(const CTmxMessage* message) noexcept;

    /// Lets go of an object, wherever it lies.
    static void Discard(CTmxMessage* message) noexcept;
};

}  // namespace TmxPLC
