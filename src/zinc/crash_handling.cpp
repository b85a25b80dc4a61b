#include "zinc/crash_handling.h"

#include <atomic>
#include <exception>

#include "zinc/crash_state.h"
#include "zinc/debug_out.h"
#include "zinc/mini_dump.h"

namespace Zinc {

namespace {

constexpr std::int32_t kExitCode = -1;

ExceptionPointers storedPointers;
std::terminate_handler previousTerminate = nullptr;

}  // namespace

// ---- Installing ---------------------------------------------------------------------------------

void InstallCrashHandling() noexcept {
    PrepareDiagnostics();
    MiniDump::Prepare();
    Platform::InstallCrashFilter(StructuredExceptionHandler);
    previousTerminate = std::set_terminate(TerminationFunction);
}

void RemoveCrashHandling() noexcept {
    // What was there before is wanted only because this module may be gone in a moment.
    if (std::get_terminate() == TerminationFunction) std::set_terminate(previousTerminate);
    Platform::RemoveCrashFilter();
    EndDiagnostics();
}

// ---- Ends ---------------------------------------------------------------------------------------

void StructuredExceptionHandler(const ExceptionPointers& pointers) noexcept {
    storedPointers = pointers;
    CrashState::Begin();
    // The stack can't carry lines or dumps any more.
    if (pointers.record != nullptr && pointers.record->code == Platform::kExceptionStackOverflow)
        Platform::LeaveProcess(kExitCode);
    WriteExceptionInfoToDebugOut(storedPointers);
    WriteMiniDump(storedPointers, false);
    WriteMiniDump(storedPointers, true);
    const DebugOutStreamer* const streamer = GlobalObject<DebugOutStreamer>::Get();
    if (streamer != nullptr && streamer->IsEnabled()) {
        DebugOut("MINIDUMP", Level::kError,
                 StreamBit::kConsole | StreamBit::kDebugWindow | StreamBit::kEventLog)
            << "StructuredExceptionHandler called,\r\nmini dump written,\r\nleaving application.";
    }
    Platform::KillProcess(kExitCode);
    Platform::LeaveProcess(kExitCode);
}

void TerminationFunction() noexcept {
    CrashState::Begin();
    Platform::ShowMessage(
        MiniDump::kCaption,
        "The application has been terminated due to an error. A dump file has been written.\r\n"
        "Die Applikation wurde wegen eines Fehlers beendet. Eine Diagnosedatei wurde geschrieben.");
    (DebugOut("BUG", Level::kError) << "Termination function called: Address:")
        .Hex(reinterpret_cast<std::uintptr_t>(__builtin_return_address(0)));
}

// ---- The fault's lines --------------------------------------------------------------------------

const char* ExceptionCodeName(std::uint32_t code) noexcept {
    struct Name {
        std::uint32_t code;
        const char* name;
    };
    // The codes are those of the Windows headers.
    static constexpr Name names[] = {
        {0x40010003, "DBG_TERMINATE_THREAD"},
        {0x40010004, "DBG_TERMINATE_PROCESS"},
        {0x40010005, "DBG_CONTROL_C"},
        {0x40010008, "DBG_CONTROL_BREAK"},
        {0x40010009, "DBG_COMMAND_EXCEPTION"},
        {0x80010001, "DBG_EXCEPTION_NOT_HANDLED"},
        {0x40000005, "STATUS_SEGMENT_NOTIFICATION"},
        {0x80000001, "STATUS_GUARD_PAGE_VIOLATION"},
        {0x80000002, "STATUS_DATATYPE_MISALIGNMENT"},
        {0x80000003, "STATUS_BREAKPOINT"},
        {0x80000004, "STATUS_SINGLE_STEP"},
        {0xC0000005, "STATUS_ACCESS_VIOLATION"},
        {0xC0000006, "STATUS_IN_PAGE_ERROR"},
        {0xC0000008, "STATUS_INVALID_HANDLE"},
        {0xC0000017, "STATUS_NO_MEMORY"},
        {0xC000001D, "STATUS_ILLEGAL_INSTRUCTION"},
        {0xC0000025, "STATUS_NONCONTINUABLE_EXCEPTION"},
        {0xC0000026, "STATUS_INVALID_DISPOSITION"},
        {0xC000008C, "STATUS_ARRAY_BOUNDS_EXCEEDED"},
        {0xC000008D, "STATUS_FLOAT_DENORMAL_OPERAND"},
        {0xC000008E, "STATUS_FLOAT_DIVIDE_BY_ZERO"},
        {0xC000008F, "STATUS_FLOAT_INEXACT_RESULT"},
        {0xC0000090, "STATUS_FLOAT_INVALID_OPERATION"},
        {0xC0000091, "STATUS_FLOAT_OVERFLOW"},
        {0xC0000092, "STATUS_FLOAT_STACK_CHECK"},
        {0xC0000093, "STATUS_FLOAT_UNDERFLOW"},
        {0xC0000094, "STATUS_INTEGER_DIVIDE_BY_ZERO"},
        {0xC0000095, "STATUS_INTEGER_OVERFLOW"},
        {0xC0000096, "STATUS_PRIVILEGED_INSTRUCTION"},
        {0xC00000FD, "STATUS_STACK_OVERFLOW"},
        {0xC000013A, "STATUS_CONTROL_C_EXIT"},
        {0xC00002B4, "STATUS_FLOAT_MULTIPLE_FAULTS"},
        {0xC00002B5, "STATUS_FLOAT_MULTIPLE_TRAPS"},
        {0xC00002C9, "STATUS_REG_NAT_CONSUMPTION"},
        {0x00112233, "USER_EXCEPTION_MINI_DUMP"},
    };
    for (const Name& entry : names)
        if (entry.code == code) return entry.name;
    return "UKNOWN EXCEPTION";
}

void WriteExceptionInfoToDebugOut(const ExceptionPointers& pointers) noexcept {
    DebugOut line("BUG", Level::kError);
    const Platform::ExceptionRecord* const record = pointers.record;
    if (record == nullptr) {
        line << "Invalid exception record pointer in WriteExceptionInfoToDebugOut";
        return;
    }
    line << "Win64 exception catched: " << ExceptionCodeName(record->code);
    (line << "\r\nExceptionCode:   ").Hex(record->code);
    line << "\r\nExceptionFlags:  " << record->flags;
    (line << "\r\nExceptionAddress:").Hex(reinterpret_cast<std::uintptr_t>(record->address));
    line << "\r\nNumberParameters:" << record->numberParameters << "\r\nExit process.....";
}

}  // namespace Zinc
