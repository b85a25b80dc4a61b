#include "event/event_restore.h"

#include <algorithm>
#include <memory>

#include "binary/action_binary.h"
#include "binary/stream.h"
#include "objects/message_guard.h"
#include "zinc/text.h"

namespace TmxPLC {

namespace {

// The sizes of the buffer in which a match action is put together.
constexpr std::uint32_t kSmallestBuffer = 240;
constexpr std::uint32_t kLargestBuffer = 65535;

// ---- One field of a match action ----------------------------------------------------------------

BinOutput StoreOpen(BinOutput output) noexcept { return output.Write<std::uint8_t>(0); }
BinOutput StoreSet(BinOutput output) noexcept { return output.Write<std::uint8_t>(1); }

template <typename T, typename Slot>
BinOutput StoreSlot(BinOutput output, const Slot* slot) noexcept {
    static_assert(sizeof(T) == sizeof(Slot));
    return slot != nullptr ? StoreSet(output).WriteBytes(slot, sizeof(T)) : StoreOpen(output);
}

// A caller's text has no terminator that could be relied on. One that is longer than any buffer is
// as good as the longest.
BinOutput StoreText(BinOutput output, WideView text) noexcept {
    text = text.substr(0, kLargestBuffer);
    output = output.Write(static_cast<std::uint32_t>(text.size() + 1));
    output = output.WriteBytes(text.data(), text.size() * sizeof(WideChar));
    return output.Write(WideChar{0});
}

// A reference is told by its name; without one it is open. An id or a number without a slot is 0.
BinOutput StoreReference(BinOutput output, std::uint32_t type,
                         const EventFieldSlots& slots) noexcept {
    const WideView name = slots.Text();
    if (name.empty()) return StoreOpen(output);
    output = StoreSet(output);
    if (type == ParamGuidRef) {
        output = output.Write(slots.Guid());
    } else {
        std::int64_t id = 0;
        if (slots.id != nullptr) std::memcpy(&id, slots.id, sizeof id);
        output = output.Write(id);
        if (type == ParamObjectRef) output = output.Write(slots.Number());
    }
    return StoreText(output, name);
}

BinOutput StoreField(BinOutput output, std::uint32_t type, const EventFieldSlots& slots) {
    switch (type) {
        case ParamInt64:
        case ParamRectangle:
            return StoreSlot<std::int64_t>(output, slots.id);
        case ParamDouble:
            return StoreSlot<double>(output, slots.real);
        case ParamDateTime:
            return StoreSlot<TmxDateTime>(output, slots.date);
        case ParamGuid:
            return slots.HasGuid() ? StoreSet(output).Write(slots.Guid()) : StoreOpen(output);
        case ParamWideText:
            return slots.HasText() ? StoreText(StoreSet(output), slots.Text()) : StoreOpen(output);
        case ParamAnsiText: {
            if (!slots.HasText()) return StoreOpen(output);
            const std::string narrow = Zinc::WideToAnsi(slots.Text());
            return StoreSet(output).WriteText(narrow.c_str(), narrow.size());
        }
        case ParamNamedId:
        case ParamObjectRef:
        case ParamGuidRef:
            return StoreReference(output, type, slots);
        case ParamBool:
            return slots.number != nullptr
                       ? StoreSet(output).Write<std::uint8_t>(slots.Number() != 0 ? 1 : 0)
                       : StoreOpen(output);
        case ParamDataSet:
            // Not even a presence byte; it is the last parameter of its action.
            return output;
        default:
            return slots.number != nullptr ? StoreSet(output).Write(slots.Number())
                                           : StoreOpen(output);
    }
}

// ---- The whole ----------------------------------------------------------------------------------

// Puts the match action together and returns what remains of the buffer; negative: it is too small.
std::int64_t Assemble(const Descriptor& descriptor, EventFieldReader& reader, std::uint8_t* buffer,
                      std::uint32_t size) {
    BinOutput output = StoreHeader({buffer, static_cast<std::int32_t>(size)}, descriptor);
    output = StoreOpen(output);  // no description
    for (const ParameterRecord& parameter : descriptor.catalogueRecord->parameters)
        output = StoreField(output, parameter.type, reader.Take(parameter));
    return output.remaining;
}

CTmxMatchAction* Read(const std::uint8_t* buffer, std::uint32_t size) {
    std::uint32_t used = 0;
    return static_cast<CTmxMatchAction*>(
        CreateFromBin(buffer, static_cast<std::int32_t>(size), MatchActionMessage, used));
}

// What doesn't fit the first buffer is put together again in a larger one, but the reader goes on
// where it stood: the second match action is open in nearly all of its parameters.
CTmxMatchAction* BuildFromSlots(const EventDataRecord& record) {
    const Descriptor* const descriptor =
        TheCatalogue().FindDescriptor(MatchActionMessage, record.code);
    if (descriptor == nullptr || descriptor->catalogueRecord == nullptr) return nullptr;
    EventFieldReader reader(record);
    std::uint8_t first[kSmallestBuffer];
    std::int64_t remaining = Assemble(*descriptor, reader, first, sizeof first);
    if (remaining >= 0) return Read(first, kSmallestBuffer - static_cast<std::uint32_t>(remaining));

    const auto size = static_cast<std::uint32_t>(
        std::min<std::int64_t>(kSmallestBuffer - remaining, kLargestBuffer));
    const auto second = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    remaining = Assemble(*descriptor, reader, second.get(), size);
    return remaining >= 0 ? Read(second.get(), size - static_cast<std::uint32_t>(remaining))
                          : nullptr;
}

}  // namespace

CTmxAction* ReadStoredAction(const EventDataRecord& record) {
    if (record.binarySize == 0 || record.binary == nullptr) return nullptr;
    std::uint32_t used = 0;
    const auto size = static_cast<std::int32_t>(static_cast<std::uint32_t>(record.binarySize));
    return static_cast<CTmxAction*>(CreateFromBin(record.binary, size, ActionMessage, used));
}

CTmxAction* RestoreAction(const EventDataRecord& record) {
    if (CTmxAction* const stored = ReadStoredAction(record)) return stored;
    const MessageGuard<CTmxMatchAction> built(BuildFromSlots(record));
    return built.Get() != nullptr ? built.Get()->CreateAction(nullptr) : nullptr;
}

CTmxMatchAction* RestoreMatchAction(const EventDataRecord& record) {
    const MessageGuard<CTmxAction> stored(ReadStoredAction(record));
    CTmxMatchAction* const made =
        stored.Get() != nullptr ? stored.Get()->CreateMatchAction() : nullptr;
    return made != nullptr ? made : BuildFromSlots(record);
}

}  // namespace TmxPLC
