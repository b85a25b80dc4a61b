// Templates from wide text. The first byte tells the flags and the length, see InputFrom; the rest
// holds the text's units, see UnitsFromBytes.
#include "oracle.h"

using namespace tmxfuzz;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const auto text = Exact<TmxWChar>::Terminated(
        UnitsFromBytes({reinterpret_cast<const char*>(data) + 1, size - 1}));
    CheckText(text, InputFrom(data[0], text.size(), TMX_MESSAGE_CLASS_MATCH_ACTION));
    return 0;
}
