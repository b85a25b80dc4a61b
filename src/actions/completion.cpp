#include "actions/completion.h"

#include "actions/system.h"

namespace TmxPLC {

std::int64_t OfferedForeignKey(CTmxAction& source) noexcept {
    // A custom action offers its number, whatever that means there.
    if (source.code == ActionFacts<CTmxActCustomAction>::kCode)
        return static_cast<const CTmxActCustomAction&>(source).Int;
    const std::int64_t* key = source.GetForeignKey();
    return key != nullptr ? *key : 0;
}

}  // namespace TmxPLC
