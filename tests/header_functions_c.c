/* functions.h alone, in C: every kind of function is called from C. */
#include <tmxactions/functions.h>

int header_functions_c(void);

int header_functions_c(void) {
    TmxErrorInfo error;
    TmxActionInfo info;
    TmxObjectRef camera = {0};
    TmxObjectRef* routed = 0;
    char text[64];
    uint32_t written = 0;
    uint32_t code = 0;
    bool equal = true;
    int good = 1;
    TmxHandle handle = TmxAct_CreateFromTextBufferA("CameraOn (5)", TMX_MEASURE_LENGTH,
                                                    TMX_ANY_MESSAGE_CLASS, false, &written);
    TmxHandle generic;
    if (handle == 0) return 0;
    good = good && written == 12;
    good = good && TmxAct_GetActionCode(handle, &code) && code == 122;
    good = good && TmxAct_StoreToTextBufferA(handle, text, sizeof text, false, false, &written) &&
           written == 13 && text[0] == 'C';
    good = good && !TmxAct_StoreToBinBuffer(handle, 0, 0, &written) && written == 34;
    good = good && TmxAct_GetLastError(&error) && error.code == TmxErrorCode_Actions;
    good = good && TmxAct_GetVideoInput(handle, &routed) && routed != 0 && routed->number == 5;
    good = good && TmxAct_GetActionInfo(&info, code) && info.parameterCount == 1;
    camera.number = 5;
    generic = TmxAct_CreateGenericAction(&camera, 0, 0, 0, 7);
    good = good && generic != 0 && TmxAct_Equal(generic, generic, &equal) && !equal;
    good = good && TmxAct_CloseHandle(generic);
    good = good && TmxAct_CloseHandle(handle);
    return good && TmxAct_InterfaceVersion() == 106;
}
