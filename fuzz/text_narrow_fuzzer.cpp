// Actions from narrow text. The first byte tells the flags and the length, see InputFrom; the rest
// is the text.
#include "oracle.h"

using namespace tmxfuzz;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const auto text = Exact<char>::Terminated({reinterpret_cast<const char*>(data) + 1, size - 1});
    CheckText(text, InputFrom(data[0], text.size(), TMX_MESSAGE_CLASS_ACTION));
    return 0;
}
