// An addon that brings the library along into a JavaScript engine, and does nothing else.
#include <tmxactions/functions.h>

/// The entry point of the engine's C interface, version 1.
extern "C" __attribute__((visibility("default"))) void* napi_register_module_v1(void* /*engine*/,
                                                                                void* exports) {
    return TmxAct_InterfaceVersion() == 106 ? exports : nullptr;
}
