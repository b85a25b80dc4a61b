/* types.h alone, in C: its records are initialised and its layouts hold. */
#include <tmxactions/types.h>

int header_types_c(void);

int header_types_c(void) {
    const TmxWChar name[] = {'G', 'a', 't', 'e', 0};
    TmxObjectRef camera = {0};
    TmxGuidRef schedule = {{0, 0, 0, {0}}, 0, 0};
    TmxDataSetEntry entry = {{1, 2, 3, 4}, 7, 0, 0};
    TmxDataSet set = {0, 1};
    TmxErrorInfo error = {0};
    TmxHandle handle = 0;
    bool flag = true;
    camera.name = name;
    camera.number = 5;
    entry.name = name;
    set.items = &entry;
    error.code = TmxErrorCode_Actions;
    error.subcode = TmxActionsError_BufferTooSmall;
    return camera.name[0] == 'G' && set.items[0].number == 7 && schedule.reserved == 0 &&
           error.code == 1008 && error.subcode == 7 && handle == 0 && flag &&
           sizeof(TmxActionInfo) == 80 && offsetof(TmxActionInfo, name) == 16 && TMX_NONE != 0 &&
           TmxDateTimeError_Range == 13;
}
