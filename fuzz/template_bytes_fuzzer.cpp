// Templates from bytes: the input is the buffer.
#include "oracle.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tmxfuzz::CheckBytes(data, size, TMX_MESSAGE_CLASS_MATCH_ACTION);
    return 0;
}
