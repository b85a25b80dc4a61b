#include "frame/typed.h"

namespace TmxPLC::Frame {

void ThrowWrongDecodeMethod() {
    throw TmxPLCException(TMX_WIDE("Wrong decode method"), TmxPLCException::WrongDecodeMethod);
}

}  // namespace TmxPLC::Frame
