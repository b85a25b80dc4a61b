// The entry point of the DLL. The run-time library calls it behind the constructors of the module's
// objects at the attach, and ahead of their destructors at the detach.
#include <windows.h>

#include "platform/windows/thread.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_THREAD_DETACH) Platform::Windows::EndOfThread();
    return TRUE;
}
