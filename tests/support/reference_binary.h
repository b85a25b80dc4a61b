// The binary form, written a second time and as plainly as possible: the bytes of a message, and
// what a reader must do with any bytes. It shares no code with the library.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_BINARY_H
#define TMX_TESTS_SUPPORT_REFERENCE_BINARY_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/model.h"

namespace tmxtest {

using Bytes = std::vector<uint8_t>;
using Properties = std::map<WideString, WideString>;

// Header and parameters, and of an action the property block.
Bytes BinaryForm(const Message& message, const Properties& properties = {});
Bytes BinaryForm(const ActionFacts& action, const Values& values,
                 const Properties& properties = {});

// The bytes from the start up to the property block.
size_t SizeWithoutProperties(const ActionFacts& action, const Values& values);

struct BinaryReading : Message {  // no action where no handle is made
    Properties properties;
    uint32_t used = 0;
};

// Reads a message of a class, or of any.
BinaryReading ReadBinary(const Bytes& bytes, uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION);

}  // namespace tmxtest

#endif
