// The steps of the crash handling, their order and texts, over a system of this test's own: what
// real systems can't be made to do (have no dump writer, run out of names, wait for a dialog) is
// done here.
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "zinc/crash_handling.h"
#include "zinc/crash_state.h"
#include "zinc/debug_out.h"
#include "zinc/event_log.h"
#include "zinc/mini_dump.h"
#include "zinc/text.h"

// ---- The system ---------------------------------------------------------------------------------

namespace {

using Platform::WideChar;

struct System {
    std::string executable = "/opt/velmont/tmxserver";
    std::set<std::string> files;
    std::set<std::string> folders;
    std::map<std::string, Platform::RegistryValue> registry;
    bool hasKey = true;
    bool canDelete = true;
    bool canOpen = true;
    bool canWrite = true;
    bool debugger = false;
    bool hasLog = true;
    Platform::DumpWriter writer = Platform::DumpWriter::Ready;
    Platform::CrashFilter filter = nullptr;

    // What has been asked of the system, in order.
    std::vector<std::string> calls;
    std::string debugText;
    std::jmp_buf end;

    void Call(const std::string& call) { calls.push_back(call); }
};
System* system_ = nullptr;

std::string Narrow(const WideChar* text, std::size_t length) {
    return Zinc::WideToUtf8({text, length});
}

}  // namespace

namespace Platform {

std::uint32_t LastError() noexcept { return 0; }
void SetLastError(std::uint32_t) noexcept {}
std::size_t SystemErrorText(std::uint32_t, WideChar*, std::size_t) noexcept { return 0; }

void OutputDebugText(const char* text) noexcept {
    system_->Call(std::string("debug ") + text);
    system_->debugText += text;
}
void OutputDebugText(const WideChar* text) noexcept {
    OutputDebugText(Zinc::WideToUtf8(Zinc::WideView(text)).c_str());
}

void* AllocatePages(std::size_t bytes) noexcept { return std::calloc(1, bytes); }
void FreePages(void* pages, std::size_t) noexcept { std::free(pages); }

std::size_t ExecutablePath(char* text, std::size_t capacity) noexcept {
    const std::size_t size = system_->executable.copy(text, capacity - 1);
    text[size] = 0;
    return size;
}
std::size_t ExecutablePath(WideChar* text, std::size_t capacity) noexcept {
    const Zinc::WideString wide = Zinc::Utf8ToWide(system_->executable);
    const std::size_t size = wide.copy(text, capacity - 1);
    text[size] = 0;
    return size;
}

bool HasConsole() noexcept { return false; }
bool ConsoleHandle::GetOutput() noexcept {
    handle_ = 1;
    return true;
}
bool ConsoleHandle::GetError() noexcept {
    handle_ = 2;
    return true;
}
void ConsoleHandle::WriteText(std::uint16_t, const WideChar* text,
                              std::size_t length) const noexcept {
    system_->Call("console " + std::to_string(handle_) + " " + Narrow(text, length));
}

bool OutputFile::Open(const char* path, Access access) noexcept {
    system_->Call(std::string(access == Access::OwnerOnly ? "create " : "open ") + path);
    if (!system_->canOpen) return false;
    system_->files.insert(path);
    handle_ = 7;
    return true;
}
bool OutputFile::Write(const void*, std::size_t) noexcept { return true; }
void OutputFile::Close() noexcept {
    if (IsOpen()) system_->Call("close");
    handle_ = kNone;
}
bool FileExists(const char* path) noexcept {
    return system_->files.contains(path) && !system_->folders.contains(path);
}
bool RemoveFile(const char* path) noexcept {
    system_->Call(std::string("delete ") + path);
    if (system_->canDelete) system_->files.erase(path);
    return system_->canDelete;
}

bool EventUser::Find() noexcept { return false; }
bool EventSource::Register(const WideChar*) noexcept {
    if (system_->hasLog) handle_ = 1;
    return system_->hasLog;
}
bool EventSource::Report(EventType type, const EventUser&, const WideChar* text) noexcept {
    system_->Call("event " + std::to_string(static_cast<int>(type)) + " " +
                  Zinc::WideToUtf8(Zinc::WideView(text)));
    return true;
}
void EventSource::Deregister() noexcept { handle_ = kNone; }

bool RegistryKey::Open(const char* path) noexcept {
    system_->Call(std::string("key ") + path);
    if (!system_->hasKey) return false;
    handle_ = 1;
    return true;
}
bool RegistryKey::Query(const char* name, RegistryValue& value) const noexcept {
    system_->Call(std::string("query ") + name);
    const auto found = system_->registry.find(name);
    if (found == system_->registry.end()) return false;
    value = found->second;
    return true;
}
void RegistryKey::Close() noexcept { handle_ = kNone; }
std::size_t ExpandEnvironment(const char* text, char* target, std::size_t capacity) noexcept {
    const std::string expanded = std::string_view(text) == "%NUMBER%" ? "12" : text;
    const std::size_t size = expanded.copy(target, capacity - 1);
    target[size] = 0;
    return size;
}

void InstallCrashFilter(CrashFilter filter) noexcept { system_->filter = filter; }
void RemoveCrashFilter() noexcept { system_->filter = nullptr; }
DumpWriter PrepareDumpWriter() noexcept { return system_->writer; }
bool WriteDump(const OutputFile& file, const ExceptionPointers&, bool full) noexcept {
    EXPECT_EQ(file.Handle(), 7);
    system_->Call(full ? "write full" : "write mini");
    return system_->canWrite;
}
bool DebuggerIsPresent() noexcept { return system_->debugger; }
void RunWorkItem(void (*work)() noexcept, std::uint32_t milliseconds) noexcept {
    system_->Call("work " + (milliseconds == kNoLimit ? "on" : std::to_string(milliseconds)));
    work();
}
void ShowMessage(const char* caption, const char* text) noexcept {
    system_->Call(std::string("dialog ") + caption + "|" + text);
}
void KillProcess(std::int32_t exitCode) noexcept {
    system_->Call("kill " + std::to_string(exitCode));
}
void LeaveProcess(std::int32_t exitCode) noexcept {
    system_->Call("leave " + std::to_string(exitCode));
    std::longjmp(system_->end, 1);
}

}  // namespace Platform

// ---- The tests ----------------------------------------------------------------------------------

namespace Zinc {
namespace {

using Platform::ExceptionRecord;
using Platform::RegistryValue;
using Strings = std::vector<std::string>;

constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr char kCaption[] = "Application has been terminated / Applikation wurde beendet";

class CrashHandling : public testing::Test {
  protected:
    CrashHandling() {
        system_ = &system;
        thread_ = std::to_string(Platform::CurrentThreadId());
    }
    ~CrashHandling() override {
        CrashState::Reset();
        // The fallback of lines that come later needs a system.
        static System last;
        system_ = &last;
    }

    /// Runs the handler to the process's end.
    void Crash(std::uint32_t code = kAccessViolation) {
        record.code = code;
        record.flags = 1;
        record.address = reinterpret_cast<const void*>(std::uintptr_t{0x7FFE1234});
        record.numberParameters = 2;
        const ExceptionPointers pointers{&record, nullptr};
        if (setjmp(system.end) == 0) StructuredExceptionHandler(pointers);
    }

    /// The calls that begin with a word.
    Strings CallsOf(const std::string& word) const {
        Strings result;
        for (const std::string& call : system.calls)
            if (call.substr(0, call.find(' ')) == word) result.push_back(call);
        return result;
    }
    /// All but those of the registry, which are asked once a process.
    Strings CallsWithoutRegistry() const {
        Strings result;
        for (const std::string& call : system.calls)
            if (!call.starts_with("key ") && !call.starts_with("query ") &&
                call != "debug Enabled minidumps for application")
                result.push_back(call);
        return result;
    }
    std::string Line(const std::string& head, const std::string& text) const {
        return head + thread_ + "] " + text + "\r\n";
    }

    System system;
    ExceptionRecord record;
    std::string thread_;
};

std::string DialogText(const std::string& name) {
    return "The application has been terminated due to an error.\r\n"
           "A diagnosis file has been written to \r\n\r\n[" +
           name +
           "]\r\n\r\nDie Applikation wurde wegen eines Fehlers beendet.\r\n"
           "Eine Diagnosedatei mit dem Namen \r\n\r\n[" +
           name + "]\r\n\r\n wurde geschrieben.";
}

// The one answer that a process keeps is asked for first, by the server's name.

TEST_F(CrashHandling, ACrashRunsTheStepsInOrder) {
    const std::string mini = "/opt/velmont/tmxserver.MiniDump.dmp";
    const std::string full = "/opt/velmont/tmxserver.FullDump.dmp";
    const std::string dialogLine =
        Line("debug ERROR [BUG,", "Termination function called: Address:7ffe1234");
    const std::string last = Line("ERROR [MINIDUMP,",
                                  "StructuredExceptionHandler called,\r\nmini dump written,\r\n"
                                  "leaving application.");
    Crash();
    EXPECT_EQ(CallsWithoutRegistry(),
              (Strings{Line("debug ERROR [BUG,",
                            "Win64 exception catched: STATUS_ACCESS_VIOLATION\r\n"
                            "ExceptionCode:   c0000005\r\n"
                            "ExceptionFlags:  1\r\n"
                            "ExceptionAddress:7ffe1234\r\n"
                            "NumberParameters:2\r\n"
                            "Exit process....."),
                       "debug Dump file name: " + mini,
                       "create " + mini,
                       "write mini",
                       "debug Written mini dump to " + mini,
                       "work 1000",
                       std::string("dialog ") + kCaption + "|" + DialogText(mini),
                       dialogLine,
                       "close",
                       "debug Dump file name: " + full,
                       "create " + full,
                       "write full",
                       "debug Written mini dump to " + full,
                       "work 1000",
                       std::string("dialog ") + kCaption + "|" + DialogText(full),
                       dialogLine,
                       "close",
                       "console 2 " + last,
                       "debug " + last,
                       "event 1 " + last,
                       "kill -1",
                       "leave -1"}));
}

TEST_F(CrashHandling, AStackOverflowLeavesNoDumpAndExitCodeMinusOne) {
    Crash(0xC00000FD);
    EXPECT_EQ(system.calls, Strings{"leave -1"});
}

TEST_F(CrashHandling, WithoutTheDumpLibraryTheProcessStillEndsWithMinusOne) {
    system.writer = Platform::DumpWriter::NoLibrary;
    Crash();
    EXPECT_EQ(CallsOf("create"), Strings{});
    EXPECT_EQ(system.debugText.find("Failed to load dbghlp.dll"),
              system.debugText.find("Exit process.....\r\n") + 19);
    EXPECT_EQ(system.calls[system.calls.size() - 2], "kill -1");
    EXPECT_EQ(system.calls.back(), "leave -1");
    const ExceptionPointers pointers{&record, nullptr};
    EXPECT_FALSE(WriteMiniDump(pointers, false));
}

TEST_F(CrashHandling, WithoutTheDumpFunctionNothingIsWritten) {
    system.writer = Platform::DumpWriter::NoFunction;
    const ExceptionPointers pointers{&record, nullptr};
    EXPECT_FALSE(WriteMiniDump(pointers, true));
    EXPECT_EQ(system.calls,
              Strings{"debug Failed to retrieve MiniDumpWriteDump procedure address"});
}

TEST_F(CrashHandling, AFailedDumpIsToldAndTheNextStepsRun) {
    system.canWrite = false;
    Crash();
    EXPECT_EQ(CallsOf("write"), (Strings{"write mini", "write full"}));
    EXPECT_EQ(CallsOf("work"), Strings{});
    EXPECT_EQ(CallsOf("close"), (Strings{"close", "close"}));
    std::size_t failures = 0;
    for (const std::string& call : system.calls)
        failures += call == "debug Failed to write mini dump";
    EXPECT_EQ(failures, 2U);
    EXPECT_EQ(system.calls.back(), "leave -1");
}

TEST_F(CrashHandling, AFileThatCannotBeMadeIsAFailedDump) {
    system.canOpen = false;
    const ExceptionPointers pointers{&record, nullptr};
    EXPECT_FALSE(WriteMiniDump(pointers, false));
    EXPECT_EQ(CallsOf("write"), Strings{});
    EXPECT_EQ(system.calls.back(), "debug Failed to write mini dump");
}

TEST_F(CrashHandling, ADebuggerIsWaitedForWithoutLimit) {
    system.debugger = true;
    Crash();
    EXPECT_EQ(CallsOf("work"), (Strings{"work on", "work on"}));
}

TEST_F(CrashHandling, TheLastLineIsWrittenOnlyWhileTheChannelIsEnabled) {
    GlobalObject<DebugOutStreamer>::Get()->SetEnabled(0);
    Crash();
    GlobalObject<DebugOutStreamer>::Get()->SetEnabled(1);
    for (const std::string& call : system.calls)
        EXPECT_EQ(call.find("ERROR ["), std::string::npos) << call;
    EXPECT_EQ(CallsOf("dialog").size(), 2U);
    EXPECT_EQ(system.calls.back(), "leave -1");
}

TEST_F(CrashHandling, WithoutAnEventLogTheLineGoesToTheDebugger) {
    // The one event log of the process has its source by now; this one hasn't.
    EventLog log;
    system.hasLog = false;
    EXPECT_FALSE(log.Report(TMX_WIDE("text"), Platform::EventType::Error));
    EXPECT_EQ(system.calls, Strings{"debug text"});
    system.hasLog = true;
    EXPECT_TRUE(log.Report(TMX_WIDE("text"), Platform::EventType::Warning));
    EXPECT_EQ(system.calls.back(), "event 2 text");
}

TEST_F(CrashHandling, AnInvalidRecordPointerIsTold) {
    WriteExceptionInfoToDebugOut({});
    EXPECT_EQ(system.calls,
              Strings{Line("debug ERROR [BUG,",
                           "Invalid exception record pointer in WriteExceptionInfoToDebugOut")});
}

TEST_F(CrashHandling, TheTerminationFunctionShowsItsDialogAndReturns) {
    TerminationFunction();
    ASSERT_EQ(system.calls.size(), 2U);
    EXPECT_EQ(system.calls[0],
              std::string("dialog ") + kCaption +
                  "|The application has been terminated due to an error. A dump file has been "
                  "written.\r\nDie Applikation wurde wegen eines Fehlers beendet. Eine "
                  "Diagnosedatei wurde geschrieben.");
    const std::string head =
        "debug ERROR [BUG," + thread_ + "] Termination function called: Address:";
    ASSERT_EQ(system.calls[1].substr(0, head.size()), head);
    const std::string address = system.calls[1].substr(head.size());
    EXPECT_GT(address.size(), 2U);
    EXPECT_EQ(address.find_first_not_of("0123456789abcdef"), address.size() - 2);
}

TEST_F(CrashHandling, InstallingTakesTheFilterAndTheTerminateFunction) {
    const std::terminate_handler before = std::set_terminate(std::abort);
    InstallCrashHandling();
    EXPECT_EQ(system.filter, StructuredExceptionHandler);
    EXPECT_EQ(std::get_terminate(), TerminationFunction);
    // Somebody else's stays.
    const auto another = [] { std::_Exit(3); };
    std::set_terminate(another);
    EXPECT_EQ(std::get_terminate(), std::terminate_handler(another));
    std::set_terminate(before);
}

// ---- Codes --------------------------------------------------------------------------------------

TEST_F(CrashHandling, ExceptionCodesHaveTheirNames) {
    const std::map<std::uint32_t, std::string> names = {
        {0x40010009, "DBG_COMMAND_EXCEPTION"},
        {0x40010008, "DBG_CONTROL_BREAK"},
        {0x40010005, "DBG_CONTROL_C"},
        {0x80010001, "DBG_EXCEPTION_NOT_HANDLED"},
        {0x40010004, "DBG_TERMINATE_PROCESS"},
        {0x40010003, "DBG_TERMINATE_THREAD"},
        {0xC0000005, "STATUS_ACCESS_VIOLATION"},
        {0xC000008C, "STATUS_ARRAY_BOUNDS_EXCEEDED"},
        {0x80000003, "STATUS_BREAKPOINT"},
        {0xC000013A, "STATUS_CONTROL_C_EXIT"},
        {0x80000002, "STATUS_DATATYPE_MISALIGNMENT"},
        {0xC000008D, "STATUS_FLOAT_DENORMAL_OPERAND"},
        {0xC000008E, "STATUS_FLOAT_DIVIDE_BY_ZERO"},
        {0xC000008F, "STATUS_FLOAT_INEXACT_RESULT"},
        {0xC0000090, "STATUS_FLOAT_INVALID_OPERATION"},
        {0xC00002B4, "STATUS_FLOAT_MULTIPLE_FAULTS"},
        {0xC00002B5, "STATUS_FLOAT_MULTIPLE_TRAPS"},
        {0xC0000091, "STATUS_FLOAT_OVERFLOW"},
        {0xC0000092, "STATUS_FLOAT_STACK_CHECK"},
        {0xC0000093, "STATUS_FLOAT_UNDERFLOW"},
        {0x80000001, "STATUS_GUARD_PAGE_VIOLATION"},
        {0xC000001D, "STATUS_ILLEGAL_INSTRUCTION"},
        {0xC0000094, "STATUS_INTEGER_DIVIDE_BY_ZERO"},
        {0xC0000095, "STATUS_INTEGER_OVERFLOW"},
        {0xC0000026, "STATUS_INVALID_DISPOSITION"},
        {0xC0000008, "STATUS_INVALID_HANDLE"},
        {0xC0000006, "STATUS_IN_PAGE_ERROR"},
        {0xC0000025, "STATUS_NONCONTINUABLE_EXCEPTION"},
        {0xC0000017, "STATUS_NO_MEMORY"},
        {0xC0000096, "STATUS_PRIVILEGED_INSTRUCTION"},
        {0xC00002C9, "STATUS_REG_NAT_CONSUMPTION"},
        {0x40000005, "STATUS_SEGMENT_NOTIFICATION"},
        {0x80000004, "STATUS_SINGLE_STEP"},
        {0xC00000FD, "STATUS_STACK_OVERFLOW"},
        {0x00112233, "USER_EXCEPTION_MINI_DUMP"}};
    EXPECT_EQ(names.size(), 35U);
    for (const auto& [code, name] : names) EXPECT_EQ(ExceptionCodeName(code), name);
}

TEST_F(CrashHandling, AnUnknownCodeIsSpelledSo) {
    for (const std::uint32_t code : {0U, 1U, 0xC0000004U, 0xE06D7363U, 0xFFFFFFFFU})
        EXPECT_STREQ(ExceptionCodeName(code), "UKNOWN EXCEPTION");
}

// ---- File names ---------------------------------------------------------------------------------

std::string DumpName(unsigned number, const char* ending = ".MiniDump.dmp") {
    return "/opt/velmont/tmxserver" + (number == 1 ? "" : "#" + std::to_string(number)) + ending;
}

TEST_F(CrashHandling, NamesFollowEachOtherToTheEleventh) {
    for (unsigned number = 1; number <= 11; ++number) {
        system.calls.clear();
        MiniDump::FileName name;
        MiniDump::FindFileName(name, true);
        EXPECT_EQ(name.Text(), DumpName(number, ".FullDump.dmp"));
        EXPECT_EQ(CallsOf("debug").size(), number);
        EXPECT_EQ(system.calls.back(),
                  "debug Dump file name: " + DumpName(number, ".FullDump.dmp"));
        system.files.insert(std::string(name.Text()));
    }
}

TEST_F(CrashHandling, WithElevenDumpsPresentAllAreDeletedAndTheFirstNameComesAgain) {
    Strings expected;
    for (unsigned number = 1; number <= 11; ++number) {
        system.files.insert(DumpName(number));
        system.files.insert(DumpName(number, ".FullDump.dmp"));
        expected.push_back("debug Dump file name: " + DumpName(number));
    }
    for (unsigned number = 1; number <= 11; ++number)
        expected.push_back("delete " + DumpName(number));
    expected.push_back("debug Dump file name: " + DumpName(1));
    MiniDump::FileName name;
    MiniDump::FindFileName(name, false);
    EXPECT_EQ(name.Text(), DumpName(1));
    EXPECT_EQ(system.calls, expected);
    // Those of the other kind stay.
    EXPECT_EQ(system.files.size(), 11U);
}

TEST_F(CrashHandling, WhereNothingCanBeDeletedTheScanRunsOnlyOnceMore) {
    for (unsigned number = 1; number <= 11; ++number) system.files.insert(DumpName(number));
    system.canDelete = false;
    MiniDump::FileName name;
    MiniDump::FindFileName(name, false);
    EXPECT_EQ(CallsOf("debug").size(), 22U);
    EXPECT_EQ(CallsOf("delete").size(), 11U);
    EXPECT_EQ(name.Text(), DumpName(11));
}

TEST_F(CrashHandling, ANameThatIsADirectoryIsTaken) {
    system.files.insert(DumpName(1));
    system.folders.insert(DumpName(1));
    MiniDump::FileName name;
    MiniDump::FindFileName(name, false);
    EXPECT_EQ(name.Text(), DumpName(1));
}

TEST_F(CrashHandling, ALongPathIsNotCut) {
    system.executable = "/" + std::string(4000, 'x');
    MiniDump::FileName name;
    MiniDump::FindFileName(name, false);
    EXPECT_EQ(name.Text(), system.executable + ".MiniDump.dmp");
    EXPECT_EQ(system.calls.back(), "debug Dump file name: " + system.executable + ".MiniDump.dmp");
}

TEST_F(CrashHandling, ANameWithBracesIsWrittenAsItIs) {
    system.executable = "/opt/{0}/x";
    MiniDump::FileName name;
    MiniDump::FindFileName(name, false);
    EXPECT_EQ(system.calls.back(), "debug Dump file name: /opt/{0}/x.MiniDump.dmp");
}

// ---- Whether dumps are told of ------------------------------------------------------------------

RegistryValue Value(std::uint32_t type, std::string_view bytes) {
    RegistryValue value;
    value.type = type;
    value.size = bytes.copy(reinterpret_cast<char*>(value.data), sizeof value.data);
    return value;
}

RegistryValue Dword(unsigned char number) {
    return Value(Platform::kRegistryDword, std::string{static_cast<char>(number), 0, 0, 0});
}

const Strings kAskDisable = {"key SOFTWARE\\Velmont\\Zinc", "query DisableMinidumps"};
const Strings kAskEnable = {"key SOFTWARE\\Velmont\\Zinc", "query EnableMinidumps"};

Strings operator+(Strings left, const std::string& right) {
    left.push_back(right);
    return left;
}

TEST_F(CrashHandling, TheSystemsOwnExecutablesHaveDumpsOn) {
    for (const char* name : {"tmx", "TMXServer", "tmx.exe", "ZnProxy", "znproxy64", "testzinc",
                             "Q-", "q-anything.bin"}) {
        system.executable = std::string("/a/b/") + name;
        system.calls.clear();
        EXPECT_TRUE(MiniDump::FindOutWhetherEnabled()) << name;
        EXPECT_EQ(system.calls, kAskDisable + "debug Enabled minidumps for application") << name;
    }
}

TEST_F(CrashHandling, AHostOfAnotherNameHasDumpsOff) {
    for (const char* name : {"server", "xtmx", "q", "Q_x", "", "testzin", "zn-proxy"}) {
        system.executable = std::string("/tmx/") + name;
        system.calls.clear();
        EXPECT_FALSE(MiniDump::FindOutWhetherEnabled()) << name;
        EXPECT_EQ(system.calls, kAskEnable) << name;
    }
}

TEST_F(CrashHandling, ThePatternsThatAreNotInUpperCaseNeverMatch) {
    for (const char* name : {"RemoteCoder", "RemoteModule", "REMOTECODER", "remotemodule"}) {
        system.executable = std::string("/a/") + name;
        EXPECT_FALSE(MiniDump::FindOutWhetherEnabled()) << name;
    }
}

TEST_F(CrashHandling, AViewerIsLeftOut) {
    system.executable = "/a/TMXVIEW.EXE";
    EXPECT_FALSE(MiniDump::FindOutWhetherEnabled());
    EXPECT_EQ(system.calls,
              (Strings{"debug Mini dump generation disabled due to matching filter\r\n",
                       "key SOFTWARE\\Velmont\\Zinc", "query EnableMinidumps"}));
}

TEST_F(CrashHandling, AViewerIsInWhereTheRegistryEnablesIt) {
    system.executable = "/a/TmxViewer";
    system.registry["EnableMinidumps"] = Dword(1);
    system.registry["DisableMinidumps"] = Dword(1);
    EXPECT_TRUE(MiniDump::FindOutWhetherEnabled());
    ASSERT_EQ(system.calls.size(), 4U);
    EXPECT_EQ(system.calls[3],
              Line("debug INFO  [REGISTRY,",
                   "Enabled minidumps due to registry key SOFTWARE\\Velmont\\Zinc\\EnableMinidumps "
                   "!= 0 for application d: /a/TmxViewer"));
}

TEST_F(CrashHandling, AnEnabledHostOfAnotherNameIsTold) {
    system.executable = "/usr/bin/host";
    system.registry["EnableMinidumps"] = Dword(2);
    EXPECT_TRUE(MiniDump::FindOutWhetherEnabled());
    EXPECT_NE(system.debugText.find("for application d: /usr/bin/host\r\n"), std::string::npos);
}

TEST_F(CrashHandling, TheRegistrySwitchesDumpsOff) {
    system.registry["DisableMinidumps"] = Dword(1);
    EXPECT_FALSE(MiniDump::FindOutWhetherEnabled());
    EXPECT_EQ(system.calls, kAskDisable + "debug Disabled minidumps due to registry key SOFTWARE");
}

TEST_F(CrashHandling, AZeroOrWhatIsNoNumberSwitchesNothing) {
    for (const RegistryValue& value :
         {Dword(0), Value(Platform::kRegistryText, "yes"), Value(3, "\1\0\0\0"), Value(7, "1")}) {
        system.registry["DisableMinidumps"] = value;
        system.registry["EnableMinidumps"] = value;
        system.executable = "/a/tmx";
        EXPECT_TRUE(MiniDump::FindOutWhetherEnabled());
        system.executable = "/a/host";
        EXPECT_FALSE(MiniDump::FindOutWhetherEnabled());
    }
}

TEST_F(CrashHandling, WithoutTheKeyTheNameDecides) {
    system.hasKey = false;
    system.registry["DisableMinidumps"] = Dword(1);
    EXPECT_TRUE(MiniDump::FindOutWhetherEnabled());
    EXPECT_EQ(CallsOf("query"), Strings{});
}

TEST_F(CrashHandling, TheAnswerIsKept) {
    const bool answer = MiniDumpsEnabled();
    system.calls.clear();
    system.executable = answer ? "/a/host" : "/a/tmx";
    EXPECT_EQ(MiniDumpsEnabled(), answer);
    EXPECT_EQ(system.calls, Strings{});
}

// ---- Numbers ------------------------------------------------------------------------------------

void ExpectNumber(std::uint32_t type, std::string_view bytes, std::uint32_t expected) {
    std::uint32_t number = 0xDEADBEEF;
    EXPECT_TRUE(MiniDump::NumberOf(Value(type, bytes), number)) << type << " " << bytes;
    EXPECT_EQ(number, expected) << type << " " << bytes;
}

void ExpectNoNumber(std::uint32_t type, std::string_view bytes) {
    std::uint32_t number = 0;
    EXPECT_FALSE(MiniDump::NumberOf(Value(type, bytes), number)) << type << " " << bytes;
}

using namespace std::string_view_literals;

TEST_F(CrashHandling, NumbersOfFixedSize) {
    ExpectNumber(4, "\x04\x03\x02\x01"sv, 0x01020304);
    ExpectNumber(4, "\0\0\0\0"sv, 0);
    ExpectNumber(5, "\x01\x02\x03\x04"sv, 0x01020304);
    ExpectNumber(11, "\xFF\xFF\xFF\xFF\0\0\0\0"sv, 0xFFFFFFFF);
    ExpectNoNumber(11, "\0\0\0\0\x01\0\0\0"sv);
    ExpectNoNumber(4, "\x01\0\0"sv);
    ExpectNoNumber(5, "\x01\0\0\0\0"sv);
    ExpectNoNumber(11, "\x01\0\0\0"sv);
    ExpectNoNumber(4, ""sv);
}

TEST_F(CrashHandling, NumbersInText) {
    for (const std::uint32_t type : {1U, 2U}) {
        ExpectNumber(type, "1"sv, 1);
        ExpectNumber(type, "1\0"sv, 1);
        ExpectNumber(type, "  \t42\0\0"sv, 42);
        ExpectNumber(type, "0007"sv, 7);
        ExpectNumber(type, "4294967295\0"sv, 0xFFFFFFFF);
        ExpectNoNumber(type, "4294967296"sv);
        ExpectNoNumber(type, ""sv);
        ExpectNoNumber(type, "\0"sv);
        ExpectNoNumber(type, "   "sv);
        ExpectNoNumber(type, "1 "sv);
        ExpectNoNumber(type, "1x"sv);
        ExpectNoNumber(type, "0x1"sv);
        ExpectNoNumber(type, "one"sv);
    }
    ExpectNumber(2, "%NUMBER%\0"sv, 12);
    ExpectNoNumber(1, "%NUMBER%\0"sv);
}

TEST_F(CrashHandling, OtherTypesAreNoNumbers) {
    for (const std::uint32_t type : {0U, 3U, 6U, 7U, 8U, 9U, 10U, 12U})
        ExpectNoNumber(type, "\x01\0\0\0"sv);
}

// ---- Wildcards ----------------------------------------------------------------------------------

TEST_F(CrashHandling, Wildcards) {
    const auto matches = [](const char* name, const char* pattern) {
        return MiniDump::MatchesWildcard(AnsiToWide(name), AnsiToWide(pattern));
    };
    EXPECT_TRUE(matches("", ""));
    EXPECT_TRUE(matches("anything", ""));
    EXPECT_TRUE(matches("", "*"));
    EXPECT_TRUE(matches("abc", "*"));
    EXPECT_TRUE(matches("abc", "abc"));
    EXPECT_FALSE(matches("abc", "ABC"));
    EXPECT_FALSE(matches("abcd", "abc"));
    EXPECT_FALSE(matches("ab", "abc"));
    EXPECT_TRUE(matches("abc", "a?c"));
    EXPECT_FALSE(matches("ac", "a?c"));
    EXPECT_TRUE(matches("abc", "???"));
    EXPECT_FALSE(matches("abc", "????"));
    EXPECT_TRUE(matches("abc", "ab*"));
    EXPECT_TRUE(matches("ab", "ab*"));
    EXPECT_TRUE(matches("xxabyyab", "*ab"));
    EXPECT_FALSE(matches("xxaby", "*ab"));
    EXPECT_TRUE(matches("one two three", "one*two*three"));
    EXPECT_TRUE(matches("aXbXc", "a*?c"));
    EXPECT_FALSE(matches("ac", "a*?c"));
    EXPECT_TRUE(matches("a**", "a**"));
    EXPECT_TRUE(matches("abab", "*ab*ab*"));
    EXPECT_FALSE(matches("aba", "*ab*ab*"));
}

}  // namespace
}  // namespace Zinc
