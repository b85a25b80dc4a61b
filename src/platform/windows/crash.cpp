// The crash filter, dumps, and the end of a process.
#include <windows.h>

// Behind <windows.h>, which it needs.
#include <dbghelp.h>

#include <atomic>
#include <new>

#include "platform/platform.h"

namespace Platform {

static_assert(kExceptionStackOverflow == EXCEPTION_STACK_OVERFLOW);

// ---- The filter ---------------------------------------------------------------------------------

namespace {

std::atomic<CrashFilter> crashFilter{nullptr};
// What was there before. It is wanted only where this module goes ahead of the process.
LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* system) noexcept {
    ExceptionRecord record;
    ExceptionPointers pointers;
    pointers.system = system;
    if (system != nullptr && system->ExceptionRecord != nullptr) {
        const EXCEPTION_RECORD& from = *system->ExceptionRecord;
        record.code = from.ExceptionCode;
        record.flags = from.ExceptionFlags;
        record.address = from.ExceptionAddress;
        record.numberParameters = from.NumberParameters;
        pointers.record = &record;
    }
    if (const CrashFilter filter = crashFilter.load(std::memory_order_acquire)) filter(pointers);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void InstallCrashFilter(CrashFilter filter) noexcept {
    crashFilter.store(filter, std::memory_order_release);
    previousFilter = SetUnhandledExceptionFilter(OnUnhandledException);
}

void RemoveCrashFilter() noexcept {
    const LPTOP_LEVEL_EXCEPTION_FILTER last = SetUnhandledExceptionFilter(previousFilter);
    // Somebody has come in between: theirs stays.
    if (last != OnUnhandledException) SetUnhandledExceptionFilter(last);
    crashFilter.store(nullptr, std::memory_order_release);
}

// ---- Dumps --------------------------------------------------------------------------------------

namespace {

std::atomic<decltype(&MiniDumpWriteDump)> dumpFunction{nullptr};

}  // namespace

DumpWriter PrepareDumpWriter() noexcept {
    // The system's own, and none that lies beside the executable.
    const HMODULE library = LoadLibraryExA("DbgHelp.Dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) return DumpWriter::NoLibrary;
    const auto function = reinterpret_cast<void*>(GetProcAddress(library, "MiniDumpWriteDump"));
    dumpFunction.store(reinterpret_cast<decltype(&MiniDumpWriteDump)>(function),
                       std::memory_order_release);
    return function != nullptr ? DumpWriter::Ready : DumpWriter::NoFunction;
}

bool WriteDump(const OutputFile& file, const ExceptionPointers& pointers, bool full) noexcept {
    const auto function = dumpFunction.load(std::memory_order_acquire);
    if (function == nullptr || !file.IsOpen()) return false;
    constexpr int kFull = MiniDumpWithDataSegs | MiniDumpWithFullMemory | MiniDumpWithHandleData |
                          MiniDumpWithUnloadedModules | MiniDumpWithIndirectlyReferencedMemory |
                          MiniDumpWithProcessThreadData | MiniDumpWithPrivateReadWriteMemory;
    static_assert(kFull == 871);
    MINIDUMP_EXCEPTION_INFORMATION exception = {};
    exception.ThreadId = GetCurrentThreadId();
    // The function only reads them.
    exception.ExceptionPointers =
        static_cast<EXCEPTION_POINTERS*>(const_cast<void*>(pointers.system));
    exception.ClientPointers = FALSE;
    return function(GetCurrentProcess(), GetCurrentProcessId(),
                    reinterpret_cast<HANDLE>(file.Handle()),
                    static_cast<MINIDUMP_TYPE>(full ? kFull : MiniDumpNormal),
                    pointers.system != nullptr ? &exception : nullptr, nullptr, nullptr) != 0;
}

// ---- Work, and the end --------------------------------------------------------------------------

bool DebuggerIsPresent() noexcept { return IsDebuggerPresent() != 0; }

namespace {

/// Shared by the one who waits and the one who works; the last of the two gives it back.
struct WorkItem {
    void (*work)() noexcept;
    HANDLE done;
    std::atomic<int> users;
};

void LetGo(WorkItem* item) noexcept {
    if (item->users.fetch_sub(1) != 1) return;
    CloseHandle(item->done);
    item->~WorkItem();
    FreePages(item, sizeof *item);
}

DWORD WINAPI RunItem(void* context) noexcept {
    auto* const item = static_cast<WorkItem*>(context);
    item->work();
    SetEvent(item->done);
    LetGo(item);
    return 0;
}

/// Queues the work. Null: it can't be.
WorkItem* Queue(void (*work)() noexcept) noexcept {
    void* const pages = AllocatePages(sizeof(WorkItem));
    if (pages == nullptr) return nullptr;
    auto* const item = new (pages) WorkItem{work, CreateEventA(nullptr, TRUE, FALSE, nullptr), 2};
    if (item->done != nullptr && QueueUserWorkItem(RunItem, item, WT_EXECUTELONGFUNCTION))
        return item;
    if (item->done != nullptr) CloseHandle(item->done);
    item->~WorkItem();
    FreePages(pages, sizeof(WorkItem));
    return nullptr;
}

}  // namespace

void RunWorkItem(void (*work)() noexcept, std::uint32_t milliseconds) noexcept {
    static_assert(kNoLimit == INFINITE);
    WorkItem* const item = Queue(work);
    if (item == nullptr) {
        work();
        return;
    }
    WaitForSingleObject(item->done, milliseconds);
    LetGo(item);
}

void ShowMessage(const char* caption, const char* text) noexcept {
    MessageBoxA(nullptr, text, caption, 0);
}

void KillProcess(std::int32_t exitCode) noexcept {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
}

void LeaveProcess(std::int32_t exitCode) noexcept { ExitProcess(static_cast<UINT>(exitCode)); }

}  // namespace Platform
