// The link from a class of messages to the catalogue and to its creators.
#pragma once

#include <cstdint>

#include <tmxactions/types.h>

namespace TmxPLC {

class CTmxMessage;
struct ActionRecord;
struct BinInput;
template <typename Char>
class TextScanner;

enum MessageClass : std::uint32_t { ActionMessage = 1, MatchActionMessage = 2 };

/// "None" in every code and class field, and the wildcard of filters.
inline constexpr std::uint32_t kNone = 0x7fffffff;

/// One static record per concrete class. A creator returns a new object with reference count 1, or
/// null when the stream reports an error or no memory can be had for the object.
struct Descriptor {
    const ActionRecord* catalogueRecord = nullptr;  // null until the catalogue is built; always
                                                    // null for the generic action
    std::uint32_t messageClass = 0;
    std::uint32_t code = 0;
    CTmxMessage* (*createFromTextA)(TextScanner<char>&) = nullptr;
    CTmxMessage* (*createFromBin)(BinInput&) = nullptr;
    CTmxMessage* (*createFromTextW)(TextScanner<TmxWChar>&) = nullptr;
};

}  // namespace TmxPLC
