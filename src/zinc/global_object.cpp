#include "zinc/global_object.h"

namespace Zinc {

Platform::CriticalSection& GlobalObjectLock() noexcept {
    static Platform::CriticalSection lock;
    return lock;
}

}  // namespace Zinc
