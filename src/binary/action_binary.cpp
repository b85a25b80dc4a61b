#include "binary/action_binary.h"

#include <algorithm>

#include "binary/values.h"
#include "catalogue/catalogue.h"

namespace TmxPLC {

namespace {

// The descriptor that the header names; null if there is none. A class that isn't known fails the
// stream, an unknown code doesn't.
const Descriptor* ReadHeader(BinInput& input) noexcept {
    std::uint32_t messageClass = 0;
    std::uint32_t code = 0;
    input.Read(messageClass);
    input.Read(code);
    if (input.failure != 0) return nullptr;
    if (messageClass != ActionMessage && messageClass != MatchActionMessage) {
        input.Fail();
        return nullptr;
    }
    return TheCatalogue().FindDescriptor(messageClass, code);
}

Zinc::WideString ReadWideString(BinInput& input) {
    WideText text;
    LoadText(input, text);
    return Zinc::WideString(text.view());
}

}  // namespace

BinOutput StorePropertyBlock(BinOutput output, const Properties& properties) {
    const Properties::Map& all = properties.All();
    output = output.Write(kPropertyBlockMarker).Write(static_cast<std::int32_t>(all.size()));
    for (const auto& [name, value] : all)
        output = output.WriteText(name.c_str(), name.size()).WriteText(value.c_str(), value.size());
    return output;
}

void LoadPropertyBlock(BinInput& input, Properties& properties) {
    properties.Clear();
    if (input.failure != 0) return;
    const std::uint8_t* const cursor = input.cursor;
    const std::int32_t remaining = input.remaining;
    std::uint32_t marker = 0;
    std::int32_t count = 0;
    const bool marked = input.Read(marker);
    input.Read(count);
    if (!marked || marker != kPropertyBlockMarker) input.Fail();
    count = std::clamp(count, 0, kMaxPropertiesRead);
    for (std::int32_t i = 0; i < count && input.failure == 0; ++i) {
        const Zinc::WideString name = ReadWideString(input);
        const Zinc::WideString value = ReadWideString(input);
        if (input.failure == 0) properties.Set(name, value);
    }
    // A block that ended with exactly nothing left has recorded no failure, and isn't rolled back.
    if (input.failure != 0) {
        input.cursor = cursor;
        input.remaining = remaining;
        input.failure = 0;
    }
}

CTmxMessage* CreateFromBin(const std::uint8_t* buffer, std::int32_t size,
                           std::uint32_t messageClass, std::uint32_t& used) {
    BinInput input(buffer, size);
    CTmxMessage* message = nullptr;
    const Descriptor* descriptor = ReadHeader(input);
    if (descriptor != nullptr &&
        (messageClass == kNone || messageClass == descriptor->messageClass)) {
        message = descriptor->createFromBin(input);
        if (message != nullptr && descriptor->messageClass == ActionMessage) {
            try {
                LoadPropertyBlock(input, static_cast<CTmxAction*>(message)->properties);
            } catch (...) {
                message->Release();
                throw;
            }
        }
    }
    used = input.failure != 0
               ? static_cast<std::uint32_t>(input.failure)
               : static_cast<std::uint32_t>(size) - static_cast<std::uint32_t>(input.remaining);
    return message;
}

}  // namespace TmxPLC
