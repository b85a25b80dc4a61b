// The bytes of a template's parameters.
#include <utility>

#include "binary/values.h"

namespace TmxPLC {

template <class T>
BinOutput StorePair(BinOutput output, const MatchParam<T>& pair) {
    return StoreIfPresent(output, pair.IsSet, pair.Value);
}

template <class T>
void LoadPair(BinInput& input, MatchParam<T>& pair) {
    LoadIfPresent(input, pair.IsSet, pair.Value);
}

void LoadDescription(BinInput& input, CTmxMatchAction& message) {
    MatchParam<WideText> description;
    LoadPair(input, description);
    if (description.IsSet) message.SetDescription(std::move(description.Value));
}

#define TMX_PAIR(T)                                                \
    template BinOutput StorePair(BinOutput, const MatchParam<T>&); \
    template void LoadPair(BinInput&, MatchParam<T>&);
TMX_PAIR(std::int32_t)
TMX_PAIR(std::int64_t)
TMX_PAIR(TZincDateTime)
TMX_PAIR(AnsiText)
TMX_PAIR(WideText)
TMX_PAIR(bool)
TMX_PAIR(Guid)
TMX_PAIR(NamedId)
TMX_PAIR(ObjectRef)
TMX_PAIR(GuidRef)
TMX_PAIR(double)
TMX_PAIR(ParamRect)
TMX_PAIR(DataSet)
#undef TMX_PAIR

}  // namespace TmxPLC
