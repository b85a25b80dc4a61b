/* A program in plain C: text to handle to bytes to handle to text. */
#include <stdio.h>
#include <string.h>
#include <tmxactions/tmxactions.h>

int main(void) {
    static const char text[] = "ViewerConnect (1, { 1234, 5, \"Gate\" }, 2)";
    uint8_t bytes[256];
    char again[256];
    uint32_t needed = 0, used = 0, written = 0;
    bool equal = false;
    TmxObjectRef viewer, channel;
    int32_t mode = 0;

    TmxHandle action =
        TmxAct_CreateFromTextBufferA(text, TMX_MEASURE_LENGTH, TMX_ANY_MESSAGE_CLASS, true, NULL);
    if (action == NULL) return 1;
    if (!TmxAct_DecodeViewerConnect(action, &viewer, &channel, &mode)) return 2;
    if (viewer.number != 1 || channel.id != 1234 || channel.number != 5 ||
        mode != TmxEnum_PlayMode_PlayForward)
        return 3;
    if (!TmxAct_StoreToBinBuffer(action, bytes, sizeof bytes, &needed)) return 4;
    TmxHandle copy =
        TmxAct_CreateFromBinBuffer(bytes, (int32_t)needed, TMX_MESSAGE_CLASS_ACTION, &used);
    if (copy == NULL || used != needed) return 5;
    if (!TmxAct_Equal(action, copy, &equal) || !equal) return 6;
    if (!TmxAct_StoreToTextBufferA(copy, again, sizeof again, false, true, &written)) return 7;
    if (written != sizeof text || strcmp(text, again) != 0) return 8;
    TmxAct_CloseHandle(copy);
    TmxAct_CloseHandle(action);
    if (TmxAct_GetNumberOfOpenHandles() != 0) return 9;
    printf("%s: %u bytes, interface %u\n", again, needed, TmxAct_InterfaceVersion());
    return 0;
}
