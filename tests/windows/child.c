/*
 * A program in C that isn't linked with the library and knows nothing of it but its functions'
 * names: it loads the DLL, does what its second argument names, and ends with 0 if all was well.
 *
 * usage: child DLL WORK
 */
#include <malloc.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

/* ---- The DLL ---- */

typedef struct ObjectRef {
    int64_t id;
    const wchar_t* name;
    int32_t number;
    int32_t padding;
} ObjectRef;

typedef struct ErrorInfo {
    uint32_t code;
    uint32_t subcode;
    const char* exceptionClass;
    const char* message;
    const wchar_t* messageW;
    const char* details;
} ErrorInfo;

static const char* path;
static HMODULE module;
static void* (*createCameraOn)(const ObjectRef*);
static bool (*decodeCameraOn)(void*, ObjectRef*);
static bool (*decodeSystemStarted)(void*, uint64_t*);
static bool (*closeHandle)(void*);
static bool (*getLastError)(ErrorInfo*);
static uint32_t (*openHandles)(void);

#define FIND(function, name) (*(FARPROC*)&(function) = GetProcAddress(module, name))

static bool Load(void) {
    module = LoadLibraryA(path);
    return module != NULL && FIND(createCameraOn, "TmxAct_CreateCameraOn") != NULL &&
           FIND(decodeCameraOn, "TmxAct_DecodeCameraOn") != NULL &&
           FIND(decodeSystemStarted, "TmxAct_DecodeSystemStarted") != NULL &&
           FIND(closeHandle, "TmxAct_CloseHandle") != NULL &&
           FIND(getLastError, "TmxAct_GetLastError") != NULL &&
           FIND(openHandles, "TmxAct_GetNumberOfOpenHandles") != NULL;
}

static void* MakeCameraOn(void) {
    const ObjectRef camera = {1, L"a camera with a name too long to lie inside the object", 2, 0};
    return createCameraOn(&camera);
}

/* Makes, fails, reads the failure and closes. */
static bool Use(void) {
    void* const handle = MakeCameraOn();
    ObjectRef camera;
    ErrorInfo info;
    uint64_t time;
    if (handle == NULL) return false;
    bool well = !decodeSystemStarted(handle, &time) && getLastError(&info) && info.code == 1008 &&
                info.subcode == 3 && strcmp(info.message, "Wrong decode method") == 0 &&
                wcscmp(info.messageW, L"Wrong decode method") == 0;
    well = well && decodeCameraOn(handle, &camera) && camera.number == 2 && camera.id == 1 &&
           wcsncmp(camera.name, L"a camera", 8) == 0 && !getLastError(&info);
    return closeHandle(handle) && well;
}

static int UseAndUnload(void) { return Load() && Use() && FreeLibrary(module) ? 0 : 1; }

static int UseAndClose(void) { return Load() && Use() && openHandles() == 0 ? 0 : 1; }

static int LeaveOneOpen(void) {
    return UseAndClose() == 0 && MakeCameraOn() != NULL && openHandles() == 1 ? 0 : 1;
}

static int LeaveOneOpenAndUnload(void) {
    if (LeaveOneOpen() != 0) return 1;
    return FreeLibrary(module) && GetModuleHandleA(path) == NULL ? 0 : 1;
}

/* ---- Threads ---- */

/* The blocks of the C library's heap, which all modules of the process share, of at least a size.
 */
static long Blocks(DWORD least) {
    const HANDLE heap = (HANDLE)_get_heap_handle();
    PROCESS_HEAP_ENTRY entry = {0};
    long count = 0;
    HeapLock(heap);
    while (HeapWalk(heap, &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 && entry.cbData >= least) ++count;
    HeapUnlock(heap);
    return count;
}

static volatile LONG failures = 0;
static HANDLE go;

static DWORD WINAPI UseAsThread(LPVOID unused) {
    (void)unused;
    if (!Use()) InterlockedIncrement(&failures);
    return 0;
}

static DWORD WINAPI UseAndWait(LPVOID used) {
    if (!Use()) InterlockedIncrement(&failures);
    SetEvent((HANDLE)used);
    WaitForSingleObject(go, INFINITE);
    return 0;
}

static bool RunThreads(int count) {
    for (int i = 0; i < count; ++i) {
        HANDLE threads[8];
        for (int t = 0; t < 8; ++t) threads[t] = CreateThread(NULL, 0, UseAsThread, NULL, 0, NULL);
        if (WaitForMultipleObjects(8, threads, TRUE, 20000) != WAIT_OBJECT_0) return false;
        for (int t = 0; t < 8; ++t) CloseHandle(threads[t]);
    }
    return failures == 0;
}

/* A thread that ends gives its record of the last error back. */
static int EndThreads(void) {
    if (!Load() || !Use() || !RunThreads(2)) return 1;
    const long before = Blocks(0);
    if (!RunThreads(50)) return 2;
    const long after = Blocks(0);
    printf("%ld blocks before, %ld after\n", before, after);
    /* A record more or less for a thread that the system itself keeps. */
    return after - before < 20 ? 0 : 3;
}

/*
 * The records of threads that live on go with the DLL, and so does all else of the library. Of the
 * run-time library that is linked in a few blocks stay behind, all of them small.
 */
static int Reload(void) {
    HANDLE threads[4];
    long before = 0;
    go = CreateEventA(NULL, TRUE, FALSE, NULL);
    for (int load = 0; load < 22; ++load) {
        if (!Load() || !Use()) return 1;
        ResetEvent(go);
        for (int t = 0; t < 4; ++t) {
            const HANDLE used = CreateEventA(NULL, TRUE, FALSE, NULL);
            threads[t] = CreateThread(NULL, 0, UseAndWait, used, 0, NULL);
            if (WaitForSingleObject(used, 20000) != WAIT_OBJECT_0) return 2;
            CloseHandle(used);
        }
        if (!FreeLibrary(module) || GetModuleHandleA(path) != NULL) return 3;
        /* They end without the DLL that they have used. */
        SetEvent(go);
        if (WaitForMultipleObjects(4, threads, TRUE, 20000) != WAIT_OBJECT_0) return 4;
        for (int t = 0; t < 4; ++t) CloseHandle(threads[t]);
        if (load == 1) before = Blocks(1000);
    }
    const long after = Blocks(1000);
    printf("%ld large blocks before, %ld after\n", before, after);
    return failures == 0 && after - before < 3 ? 0 : 5;
}

/* Ends while threads that have used the DLL are still there. */
static int LeaveThreadsBehind(void) {
    if (LeaveOneOpen() != 0) return 1;
    go = CreateEventA(NULL, TRUE, FALSE, NULL);
    for (int t = 0; t < 4; ++t) {
        const HANDLE used = CreateEventA(NULL, TRUE, FALSE, NULL);
        CreateThread(NULL, 0, UseAndWait, used, 0, NULL);
        if (WaitForSingleObject(used, 20000) != WAIT_OBJECT_0) return 2;
    }
    return failures == 0 ? 0 : 3;
}

/* ---- The filter ---- */

static LONG WINAPI OwnFilter(EXCEPTION_POINTERS* pointers) {
    (void)pointers;
    return EXCEPTION_CONTINUE_SEARCH;
}

/* The filter is the DLL's while it is there, and the one from before when it has gone. */
static int ReplaceFilter(void) {
    SetUnhandledExceptionFilter(OwnFilter);
    if (!Load()) return 1;
    const LPTOP_LEVEL_EXCEPTION_FILTER its = SetUnhandledExceptionFilter(OwnFilter);
    if (its == NULL || its == OwnFilter) return 2;
    SetUnhandledExceptionFilter(its);
    if (!FreeLibrary(module)) return 3;
    return SetUnhandledExceptionFilter(NULL) == OwnFilter ? 0 : 4;
}

/* Somebody who has come later keeps theirs. */
static int KeepLaterFilter(void) {
    if (!Load()) return 1;
    SetUnhandledExceptionFilter(OwnFilter);
    if (!FreeLibrary(module)) return 2;
    return SetUnhandledExceptionFilter(NULL) == OwnFilter ? 0 : 3;
}

/* ---- Crashes ---- */

/* Found again in a full dump alone. */
static char* heapText;

static DWORD WINAPI Bystander(LPVOID started) {
    SetEvent((HANDLE)started);
    Sleep(INFINITE);
    return 0;
}

static bool PrepareCrash(void) {
    static const char kText[] = "a text of the heap, #4711#";
    if (!Load() || !Use()) return false;
    heapText = malloc(sizeof kText);
    memcpy(heapText, kText, sizeof kText);
    for (int i = 0; i < 2; ++i) {
        const HANDLE started = CreateEventA(NULL, TRUE, FALSE, NULL);
        CreateThread(NULL, 0, Bystander, started, 0, NULL);
        WaitForSingleObject(started, 20000);
        CloseHandle(started);
    }
    /* No windows of the system's own. */
    SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
    printf("thread %lu\n", GetCurrentThreadId());
    fflush(stdout);
    return true;
}

static int WriteToNull(void) {
    if (!PrepareCrash()) return 1;
    volatile int* volatile nowhere = NULL;
    *nowhere = 1;
    return 2;
}

static int DivideByZero(void) {
    if (!PrepareCrash()) return 1;
    volatile int dividend = 4711;
    volatile int zero = 0;
    return dividend / zero;
}

static int RunIllegalInstruction(void) {
    if (!PrepareCrash()) return 1;
    __asm__ volatile("ud2");
    return 2;
}

static int OverflowStack(void) {
    if (!PrepareCrash()) return 1;
    RaiseException(EXCEPTION_STACK_OVERFLOW, 0, 0, NULL);
    return 2;
}

static int RaiseUserException(void) {
    if (!PrepareCrash()) return 1;
    RaiseException(0x112233, 0, 0, NULL);
    return 2;
}

static int RaiseUnknownException(void) {
    const ULONG_PTR arguments[3] = {1, 2, 3};
    if (!PrepareCrash()) return 1;
    RaiseException(0xE0004711, EXCEPTION_NONCONTINUABLE, 3, arguments);
    return 2;
}

static DWORD WINAPI CrashAsThread(LPVOID unused) {
    (void)unused;
    volatile int* volatile nowhere = NULL;
    *nowhere = 1;
    return 0;
}

/* On a thread while another holds the heap's lock. */
static int CrashWithLockedHeap(void) {
    if (!PrepareCrash()) return 1;
    HeapLock((HANDLE)_get_heap_handle());
    const HANDLE thread = CreateThread(NULL, 0, CrashAsThread, NULL, 0, NULL);
    WaitForSingleObject(thread, 60000);
    return 2;
}

/* ---- The work ---- */

static const struct {
    const char* name;
    int (*work)(void);
} kWork[] = {
    {"UseAndClose", UseAndClose},
    {"UseAndUnload", UseAndUnload},
    {"LeaveOneOpen", LeaveOneOpen},
    {"LeaveOneOpenAndUnload", LeaveOneOpenAndUnload},
    {"LeaveThreadsBehind", LeaveThreadsBehind},
    {"EndThreads", EndThreads},
    {"Reload", Reload},
    {"ReplaceFilter", ReplaceFilter},
    {"KeepLaterFilter", KeepLaterFilter},
    {"WriteToNull", WriteToNull},
    {"DivideByZero", DivideByZero},
    {"RunIllegalInstruction", RunIllegalInstruction},
    {"OverflowStack", OverflowStack},
    {"RaiseUserException", RaiseUserException},
    {"RaiseUnknownException", RaiseUnknownException},
    {"CrashWithLockedHeap", CrashWithLockedHeap},
};

int main(int argc, char** argv) {
    if (argc != 3) return 99;
    path = argv[1];
    for (size_t i = 0; i < sizeof kWork / sizeof kWork[0]; ++i)
        if (strcmp(argv[2], kWork[i].name) == 0) return kWork[i].work();
    return 98;
}
