// A stored message as a whole: the header, and the properties behind an action's parameters.
#pragma once

#include "binary/stream.h"
#include "objects/message.h"

namespace TmxPLC {

/// Writes the class and the code.
inline BinOutput StoreHeader(BinOutput output, const Descriptor& descriptor) noexcept {
    return output.Write(descriptor.messageClass).Write(descriptor.code);
}

inline constexpr std::uint32_t kPropertyBlockMarker = TMX_PROPERTY_BLOCK_MARKER;
/// At most so many pairs are read; what follows them is left unread. The writer has no limit.
inline constexpr std::int32_t kMaxPropertiesRead = 1000;

/// Writes an action's properties.
BinOutput StorePropertyBlock(BinOutput output, const Properties& properties);

/// Reads an action's properties. Bytes never fail the action: where they hold no block, or a cut or
/// foreign one, the place stays behind the parameters and pairs read before a cut stay, but for a
/// failure with exactly nothing left, which isn't seen and isn't rolled back.
void LoadPropertyBlock(BinInput& input, Properties& properties);

/// Reads one message. messageClass is kNone for any. used: see TmxAct_CreateFromBinBuffer. Null:
/// bytes that can't be read, an unknown code, another class, or no memory for the object.
CTmxMessage* CreateFromBin(const std::uint8_t* buffer, std::int32_t size,
                           std::uint32_t messageClass, std::uint32_t& used);

}  // namespace TmxPLC
