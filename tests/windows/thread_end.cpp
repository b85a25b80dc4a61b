// The end of a thread, for programs that hold the library's objects themselves: the system tells it
// to DLLs by their entry point, and to a program by a callback that its image names.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace {

void NTAPI OnThread(PVOID module, DWORD reason, PVOID reserved) {
    if (reason == DLL_THREAD_DETACH) DllMain(static_cast<HINSTANCE>(module), reason, reserved);
}

}  // namespace

// Between the run-time library's own first and last entry of the list.
extern "C" __attribute__((section(".CRT$XLM"), used))
const PIMAGE_TLS_CALLBACK tmxactionsTestThreadCallback = &OnThread;
