/* typed.h alone, in C: a Create and a Decode of each kind of argument. */
#include <tmxactions/typed.h>

/* Closing is declared in functions.h, which this file leaves out on purpose. */
TMXACT_API bool TmxAct_CloseHandle(TmxHandle handle);

int header_typed_c(void);

int header_typed_c(void) {
    static const TmxWChar name[] = {'G', 'a', 't', 'e', 0};
    TmxObjectRef camera = {0};
    TmxObjectRef out = {0};
    int64_t number = -5;
    int64_t outNumber = 0;
    int32_t param = 3;
    int32_t operation = 0;
    const int32_t* outParam = 0;
    const TmxWChar* text = 0;
    int good = 1;
    TmxHandle handle;
    camera.number = 5;
    camera.name = name;
    handle = TmxAct_CreateCameraOn(&camera);
    good = good && handle != 0 && TmxAct_DecodeCameraOn(handle, &out) && out.number == 5 &&
           out.name != name && out.name[3] == 'e';
    good = good && !TmxAct_DecodeABCDisconnect(handle) && TmxAct_CloseHandle(handle);
    handle = TmxAct_CreateCustomAction(&number, 0);
    good = good && handle != 0 && TmxAct_DecodeCustomAction(handle, &outNumber, &text) &&
           outNumber == -5 && text[0] == 0 && TmxAct_CloseHandle(handle);
    handle = TmxAct_CreateIPSwitchOperation(1, name, &param);
    good = good && handle != 0 &&
           TmxAct_DecodeIPSwitchOperation(handle, &operation, &text, &outParam) && operation == 1 &&
           outParam != 0 && *outParam == 3 && TmxAct_CloseHandle(handle);
    return good;
}
