// Actions from bytes: the input is the buffer.
#include <algorithm>

#include "oracle.h"

using namespace tmxfuzz;

namespace {

struct Reading {
    explicit Reading(const Exact<uint8_t>& bytes, uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION)
        : action(TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                            messageClass, &used)) {
        // Bytes that can't be read record nothing.
        TMX_HOLDS(!LastFailure());
    }
    uint32_t used = 0xA5C3F00D;  // before the handle, whose making fills it
    Owned action;
};

// What the eight bytes of the header settle alone.
void CheckHeader(const Exact<uint8_t>& bytes, const Reading& reading) {
    const auto size = static_cast<uint32_t>(bytes.size());
    const auto number = [&](size_t at) {
        uint32_t value = 0;
        for (size_t i = 4; i-- > 0;) value = value << 8 | bytes.data()[at + i];
        return value;
    };
    if (size < 8) {
        TMX_HOLDS(!reading.action);
        const uint32_t used = size == 0   ? 0xFFFFFFFF
                              : size < 4  ? size
                              : size == 4 ? (number(0) == 1 || number(0) == 2 ? 5 : 0xFFFFFFFF)
                                          : size - 4;
        TMX_HOLDS(reading.used == used);
    } else if (number(0) != TMX_MESSAGE_CLASS_ACTION &&
               number(0) != TMX_MESSAGE_CLASS_MATCH_ACTION) {
        TMX_HOLDS(!reading.action);
        TMX_HOLDS(reading.used == (size == 8 ? 9 : size - 8));
    } else if (number(0) != TMX_MESSAGE_CLASS_ACTION || FindAction(number(4)) == nullptr) {
        TMX_HOLDS(!reading.action);
        TMX_HOLDS(reading.used == 8);
    } else {
        const Reading filtered(bytes, TMX_MESSAGE_CLASS_MATCH_ACTION);
        TMX_HOLDS(!filtered.action);
        TMX_HOLDS(filtered.used == 8);
    }
}

bool HasDataSet(const ActionFacts& action) {
    return std::any_of(
        action.parameters.begin(), action.parameters.end(),
        [](const Parameter& parameter) { return parameter.type == TmxParamType_DataSet; });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const NothingLeftOpen nothingLeftOpen;
    const Exact<uint8_t> bytes(data, size);
    const Reading reading(bytes);
    CheckHeader(bytes, reading);
    const std::optional<Parameters> parameters = WalkAsReader(Bytes(data, data + size));
    if (!reading.action) {
        TMX_HOLDS(!parameters);
        // What remained at the first failed read; -1 where an earlier one at exactly nothing left
        // had not been seen.
        TMX_HOLDS(reading.used <= size + 1 || reading.used == 0xFFFFFFFF);
        return 0;
    }
    TMX_HOLDS(reading.used >= 8 && reading.used <= size + 1);
    CheckAction(reading.action.get());
    const Message message = ValuesOf(reading.action.get());
    if (parameters) {
        TMX_HOLDS(parameters->action == message.action);
        TMX_HOLDS(reading.used >= parameters->end);
        // The text of a data set has more than one spelling.
        if (!HasDataSet(*message.action)) TMX_HOLDS(parameters->values == message.values);
    } else {
        // Parameters that end just before a last field give the object with that field's default.
        TMX_HOLDS(reading.used == size + 1);
    }
    // A foreign block of exactly eight bytes tells one more than the size, too.
    if (reading.used > size) return 0;

    // What follows is not looked at.
    const Bytes stored = StoreBytes(reading.action.get());
    const Exact<uint8_t> prefix(data, reading.used);
    const Reading alone(prefix);
    TMX_HOLDS(static_cast<bool>(alone.action));
    TMX_HOLDS(alone.used == reading.used);
    TMX_HOLDS(ValuesOf(alone.action.get()).values == message.values);

    // Bytes as the library writes them are written again as they were.
    const std::optional<Message> canonical = Walk(Bytes(data, data + reading.used));
    if (canonical && !HasDataSet(*canonical->action)) {
        TMX_HOLDS(canonical->parametersEnd == message.parametersEnd);
        TMX_HOLDS(std::equal(stored.begin(),
                             stored.begin() + static_cast<ptrdiff_t>(message.parametersEnd), data));
        Properties expected = canonical->properties;
        std::sort(expected.begin(), expected.end());
        Properties got = message.properties;
        std::sort(got.begin(), got.end());
        TMX_HOLDS(got == expected);
    }
    return 0;
}
