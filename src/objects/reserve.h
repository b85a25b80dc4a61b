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

    /// Memory for an object of the size: the system's, or where there is none this one, once it is
    /// free.
    static void* Allocate(std::size_t size) noexcept;

    /// An object that was read: itself if all went well and it lies in the system's memory, else
    /// null, and it is let go.
    static CTmxMessage* Keep(CTmxMessage* message, bool read) noexcept;

    /// Lets go of an object, wherever it lies.
    static void Discard(CTmxMessage* message) noexcept;
};

}  // namespace TmxPLC
