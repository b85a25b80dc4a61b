// The entry point of the DLL. The run-time library calls it behind the constructors of the module's
// objects at the attach, and ahead of their destructors at the detach.
#include <windows.h>

#include "platform/windows/thread.h"

namespace __gnu_cxx {
// Of the C++ run-time library that is linked in: gives back the memory that it sets aside for
// exceptions that are raised when there is none.
void __freeres();
}  // namespace __gnu_cxx

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID atEndOfProcess) {
    if (reason == DLL_THREAD_DETACH) Platform::Windows::EndOfThread();
    if (reason == DLL_PROCESS_DETACH && atEndOfProcess == nullptr) __gnu_cxx::__freeres();
    return TRUE;
}
