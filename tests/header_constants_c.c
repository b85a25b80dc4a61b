/* constants.h alone, in C. */
#include <tmxactions/constants.h>

int header_constants_c(void);

int header_constants_c(void) {
    enum TmxParamType type = TmxParamType_ObjectRef;
    enum TmxParamKind kind = TmxParamKind_Camera;
    enum TmxActionClass actionClass = TmxActionClass_CameraControl;
    enum TmxActionCode code = TmxActionCode_CameraOn;
    return type == 8 && kind == 8 && actionClass == 3 && code == 122;
}
