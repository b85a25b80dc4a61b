#include "action_source.h"
#include "encoding.h"

namespace tmxact {

std::string LastErrorText() {
    TmxErrorInfo info{};
    if (!TmxAct_GetLastError(&info)) return {};
    std::string text = Printable(info.message, true);
    return text.empty() ? "the library tells a failure without a text" : text;
}

}  // namespace tmxact
