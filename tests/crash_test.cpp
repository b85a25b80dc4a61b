// Programs that really crash: what they say, what they leave behind, and how they end.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Strings = std::vector<std::string>;
using std::chrono::steady_clock;

constexpr char kCaption[] = "Application has been terminated / Applikation wurde beendet\n";

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Replaced(const std::string& text, const char* pattern, const char* replacement) {
    return std::regex_replace(text, std::regex(pattern), replacement);
}

/// Numbers of threads and addresses, which no test can know.
std::string Normal(const std::string& text) {
    return Replaced(Replaced(text, R"(\[(BUG|MINIDUMP|REGISTRY),\d+\])", "[$1,T]"),
                    "Address:[0-9a-f]+", "Address:A");
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++count;
    return count;
}

class Crash : public testing::Test {
  protected:
    Crash() {
        char name[] = "/tmp/zinccrashXXXXXX";
        folder = mkdtemp(name);
        environment["ZINC_DEBUG_OUTPUT"] = folder + "/debug";
        environment["ZINC_EVENT_LOG"] = folder + "/log";
        environment["ZINC_REGISTRY"] = folder + "/zinc.reg";
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        environment["ZINC_EVENT_LOG"].copy(address.sun_path, sizeof address.sun_path - 1);
        log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~Crash() override {
        close(log);
        std::filesystem::remove_all(folder);
    }

    /// Puts a program into the folder under a name of its own.
    std::string Put(const char* program, const std::string& name) {
        const std::string path = folder + "/" + name;
        std::filesystem::copy_file(program, path,
                                   std::filesystem::copy_options::overwrite_existing);
        return path;
    }
    std::string Child(const std::string& name = "tmxchild") { return Put(TMX_CRASH_CHILD, name); }

    /// Starts a program; its output goes to files.
    pid_t Start(const Strings& command) {
        std::filesystem::remove(folder + "/debug");
        const pid_t child = fork();
        if (child != 0) return child;
        for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        const auto direct = [this](const char* name, int standard) {
            const std::string path = folder + "/" + name;
            dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), standard);
        };
        direct("out", STDOUT_FILENO);
        direct("err", STDERR_FILENO);
        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        _exit(94);
    }

    /// The end of a program, which is waited for half a minute: its exit status, or the signal's
    /// number below zero, or -1000 where it doesn't end.
    int End(pid_t child) {
        const auto begin = steady_clock::now();
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0) {
            if (steady_clock::now() - begin > std::chrono::seconds(30)) {
                kill(child, SIGKILL);
                waitpid(child, &status, 0);
                return -1000;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    int Run(const Strings& command) { return End(Start(command)); }

    std::string Output() const { return ReadFile(folder + "/out"); }
    std::string Errors() const { return ReadFile(folder + "/err"); }
    std::string DebugOutput() const { return ReadFile(folder + "/debug"); }
    Strings Logged() const {
        Strings messages;
        char buffer[4096];
        for (ssize_t size; (size = recv(log, buffer, sizeof buffer, MSG_DONTWAIT)) >= 0;)
            messages.emplace_back(buffer, static_cast<std::size_t>(size));
        return messages;
    }
    /// The dumps in the folder, in order.
    Strings Dumps() const {
        Strings names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".dmp")
                names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    Strings BothDumps(const std::string& program = "tmxchild") const {
        return {program + ".FullDump.dmp", program + ".MiniDump.dmp"};
    }

    /// What the debugger says of a dump.
    std::string Debugger(const std::string& dump, const std::string& command,
                         const std::string& program = "tmxchild") {
        const std::string line = std::string(TMX_GDB) +
                                 " -nx -batch -ex 'set auto-load safe-path /'"
                                 " -ex '" +
                                 command + "' '" + folder + "/" + program + "' '" + folder + "/" +
                                 dump + "' 2>&1";
        std::FILE* const pipe = popen(line.c_str(), "r");
        std::string text;
        char buffer[4096];
        for (std::size_t size; (size = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            text.append(buffer, size);
        pclose(pipe);
        return text;
    }
    std::string Backtraces(const std::string& dump) {
        return Debugger(dump, "thread apply all bt");
    }
    /// The functions of one thread of a backtrace, from the innermost on.
    static Strings Functions(const std::string& backtraces, unsigned thread) {
        Strings functions;
        std::istringstream stream(backtraces);
        bool here = false;
        const std::string head = "Thread " + std::to_string(thread) + " ";
        const std::regex frame(R"(^#\d+ +(?:0x[0-9a-f]+ in )?(.*?) \(.*)");
        for (std::string line; std::getline(stream, line);) {
            std::smatch match;
            if (line.starts_with("Thread ")) here = line.starts_with(head);
            if (here && std::regex_match(line, match, frame)) functions.push_back(match[1]);
        }
        return functions;
    }
    static bool Contains(const Strings& functions, const std::string& function) {
        return std::find(functions.begin(), functions.end(), function) != functions.end();
    }

    /// That a crash of this kind is told of and dumped, and that its dumps show where it was.
    void ExpectCrash(const char* mode, const std::string& codeName, const std::string& code,
                     int parameters, const std::string& function) {
        const std::string program = Child();
        EXPECT_EQ(Run({program, mode}), 255) << mode;
        EXPECT_TRUE(Normal(DebugOutput())
                        .starts_with("ERROR [BUG,T] Win64 exception catched: " + codeName +
                                     "\r\nExceptionCode:   " + code +
                                     "\r\nExceptionFlags:  0\r\nExceptionAddress:A\r\n"
                                     "NumberParameters:" +
                                     std::to_string(parameters) + "\r\nExit process.....\r\n"))
            << DebugOutput();
        EXPECT_EQ(Count(Errors(), "the allocator is called"), 0U);
        EXPECT_EQ(Dumps(), BothDumps());
        for (const std::string& dump : Dumps()) {
            const std::string text = Backtraces(dump);
            const Strings functions = Functions(text, 1);
            ASSERT_FALSE(functions.empty()) << dump << text;
            EXPECT_EQ(functions[0], function) << dump << text;
            EXPECT_TRUE(Contains(functions, "main")) << dump << text;
        }
    }

    std::string folder;
    std::map<std::string, std::string> environment;
    int log = -1;
};

std::string Dialog(const std::string& name) {
    return kCaption + ("The application has been terminated due to an error.\r\n"
                       "A diagnosis file has been written to \r\n\r\n[" +
                       name +
                       "]\r\n\r\nDie Applikation wurde wegen eines Fehlers beendet.\r\n"
                       "Eine Diagnosedatei mit dem Namen \r\n\r\n[" +
                       name + "]\r\n\r\n wurde geschrieben.\n");
}

constexpr char kLastLine[] =
    "ERROR [MINIDUMP,T] StructuredExceptionHandler called,\r\nmini dump written,\r\n"
    "leaving application.\r\n";
constexpr char kDialogLine[] = "ERROR [BUG,T] Termination function called: Address:A\r\n";
constexpr char kFaultLines[] =
    "ERROR [BUG,T] Win64 exception catched: STATUS_ACCESS_VIOLATION\r\n"
    "ExceptionCode:   c0000005\r\nExceptionFlags:  0\r\nExceptionAddress:A\r\n"
    "NumberParameters:2\r\nExit process.....\r\n";

// ---- All that a crash leaves --------------------------------------------------------------------

TEST_F(Crash, ItsTextsComeInTheToldOrder) {
    const std::string program = Child();
    const std::string mini = program + ".MiniDump.dmp";
    const std::string full = program + ".FullDump.dmp";
    EXPECT_EQ(Run({program, "null-write"}), 255);
    EXPECT_EQ(Normal(DebugOutput()), std::string(kFaultLines) + "Dump file name: " + mini +
                                         "Enabled minidumps for applicationWritten mini dump to " +
                                         mini + kDialogLine + "Dump file name: " + full +
                                         "Written mini dump to " + full + kDialogLine + kLastLine);
    EXPECT_EQ(Normal(Errors()), Dialog(mini) + Dialog(full) + kLastLine);
    EXPECT_EQ(Output(), "");
    const Strings events = Logged();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(Replaced(Normal(events[0]), R"(child\[\d+\])", "child[P]"),
              std::string("<11>tmxchild[P]: ") + kLastLine);
}

TEST_F(Crash, TheAddressIsThatOfTheFault) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "null-write"}), 255);
    std::smatch match;
    const std::string text = DebugOutput();
    ASSERT_TRUE(std::regex_search(text, match, std::regex("ExceptionAddress:([0-9a-f]+)\r\n")));
    EXPECT_NE(
        Debugger("tmxchild.MiniDump.dmp", "info symbol 0x" + match[1].str()).find("write_to_null"),
        std::string::npos);
    // That of the dialogs' lines is the same.
    EXPECT_EQ(Count(text, "Termination function called: Address:" + match[1].str() + "\r\n"), 2U);
}

TEST_F(Crash, TheDumpsShowAllThreads) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "null-write"}), 255);
    for (const std::string& dump : BothDumps()) {
        const std::string text = Backtraces(dump);
        EXPECT_EQ(Functions(text, 1)[0], "write_to_null") << text;
        bool sleeps = false;
        bool spins = false;
        for (const unsigned thread : {2U, 3U}) {
            const Strings functions = Functions(text, thread);
            sleeps = sleeps || Contains(functions, "wait_as_bystander");
            spins = spins || Contains(functions, "spin_as_bystander");
            EXPECT_TRUE(Contains(functions, "start_thread")) << text;
        }
        EXPECT_TRUE(sleeps && spins) << text;
        // The debugger finds the C library's threads, too.
        EXPECT_NE(text.find("libthread_db"), std::string::npos) << text;
        EXPECT_EQ(text.find("Cannot find new threads"), std::string::npos) << text;
        EXPECT_NE(text.find("Program terminated with signal SIGSEGV"), std::string::npos) << text;
        EXPECT_NE(text.find("tmxchild null-write'"), std::string::npos) << text;
    }
}

TEST_F(Crash, TheHeapIsInTheFullDumpAlone) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "null-write"}), 255);
    EXPECT_NE(Debugger("tmxchild.FullDump.dmp", "x/s heapText").find("\"text on the heap\""),
              std::string::npos);
    const std::string mini = Debugger("tmxchild.MiniDump.dmp", "x/s heapText");
    EXPECT_EQ(mini.find("text on the heap"), std::string::npos);
    EXPECT_LT(std::filesystem::file_size(folder + "/tmxchild.MiniDump.dmp"), 2U << 20);
}

TEST_F(Crash, OnlyTheOwnerReadsTheDumps) {
    const mode_t mask = umask(0);
    const std::string program = Child();
    EXPECT_EQ(Run({program, "null-write"}), 255);
    umask(mask);
    for (const std::string& dump : BothDumps()) {
        struct stat status;
        ASSERT_EQ(stat((folder + "/" + dump).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
    }
}

TEST_F(Crash, APageThatWasNeverTouchedTakesNoRoom) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "null-write"}), 255);
    struct stat status;
    ASSERT_EQ(stat((folder + "/tmxchild.FullDump.dmp").c_str(), &status), 0);
    EXPECT_LT(status.st_blocks * 512, status.st_size / 2);
}

// ---- Kinds of fault -----------------------------------------------------------------------------

TEST_F(Crash, ANullWrite) {
    ExpectCrash("null-write", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
}

TEST_F(Crash, AMisalignedAccess) {
    ExpectCrash("misaligned", "STATUS_DATATYPE_MISALIGNMENT", "80000002", 0, "read_misaligned");
}

TEST_F(Crash, AReadBehindTheEndOfAFile) {
    ExpectCrash("past-file", "STATUS_IN_PAGE_ERROR", "c0000006", 3, "read_past_file");
}

TEST_F(Crash, ADivisionByZero) {
    ExpectCrash("division", "STATUS_INTEGER_DIVIDE_BY_ZERO", "c0000094", 0, "divide_by_zero");
}

TEST_F(Crash, AnIllegalInstruction) {
    ExpectCrash("illegal", "STATUS_ILLEGAL_INSTRUCTION", "c000001d", 0, "run_illegal_instruction");
}

TEST_F(Crash, AStackOverflowLeavesNoDumpAndExitCodeMinusOne) {
    const std::string program = Child();
    for (const char* mode : {"overflow", "overflow-at-once", "overflow-in-thread"}) {
        EXPECT_EQ(Run({program, mode}), 255) << mode;
        EXPECT_EQ(Dumps(), Strings{}) << mode;
        EXPECT_EQ(DebugOutput() + Errors(), "") << mode;
        EXPECT_EQ(Logged(), Strings{}) << mode;
    }
}

TEST_F(Crash, ACrashInACallback) {
    ExpectCrash("callback", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    EXPECT_TRUE(Contains(Functions(Backtraces("tmxchild.MiniDump.dmp"), 1), "compare_and_crash"));
}

TEST_F(Crash, ACrashOfAnotherThread) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "thread"}), 255);
    for (const std::string& dump : BothDumps()) {
        const std::string text = Backtraces(dump);
        EXPECT_EQ(Functions(text, 1)[0], "write_to_null") << text;
        EXPECT_TRUE(Contains(Functions(text, 2), "main")) << text;
    }
}

TEST_F(Crash, AFaultThatIsSentFromOutside) {
    const std::string program = Child();
    const pid_t child = Start({program, "wait"});
    while (Output().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    kill(child, SIGSEGV);
    EXPECT_EQ(End(child), 255);
    EXPECT_EQ(Dumps(), BothDumps());
}

TEST_F(Crash, AProcessThatIsAFork) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "fork"}), 0);
    EXPECT_EQ(Output(), "the fork ended with 255\n");
    EXPECT_EQ(Dumps(), BothDumps());
}

TEST_F(Crash, WithoutACrashNothingIsLeft) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "nothing"}), 0);
    EXPECT_EQ(DebugOutput() + Errors() + Output(), "");
    EXPECT_EQ(Dumps(), Strings{});
}

// ---- The terminate function ---------------------------------------------------------------------

TEST_F(Crash, AnExceptionThatNobodyCatchesAndACallOfTerminate) {
    const std::string program = Child();
    for (const char* mode : {"uncaught", "terminate"}) {
        EXPECT_EQ(Run({program, mode}), -SIGABRT) << mode;
        EXPECT_EQ(Errors(), std::string(kCaption) +
                                "The application has been terminated due to an error. A dump file "
                                "has been written.\r\nDie Applikation wurde wegen eines Fehlers "
                                "beendet. Eine Diagnosedatei wurde geschrieben.\n")
            << mode;
        EXPECT_EQ(Normal(DebugOutput()), kDialogLine) << mode;
        EXPECT_EQ(Dumps(), Strings{}) << mode;
    }
}

// ---- A process in a bad state -------------------------------------------------------------------

TEST_F(Crash, WhileAnotherThreadHoldsTheAllocatorsLock) {
    ExpectCrash("allocator-locked", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    EXPECT_EQ(Count(DebugOutput(), "Written mini dump to "), 2U);
}

TEST_F(Crash, WithTheHeapCorrupt) {
    ExpectCrash("heap-corrupt", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
}

TEST_F(Crash, WithMemoryShort) {
    ExpectCrash("no-memory", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    EXPECT_TRUE(Contains(Functions(Backtraces("tmxchild.MiniDump.dmp"), 2), "wait_as_bystander"));
}

TEST_F(Crash, WithDescriptorsShort) {
    ExpectCrash("no-descriptors", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
}

TEST_F(Crash, WithoutStandardFilesKeepsItsTextsOutOfTheDumps) {
    ExpectCrash("no-output", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    EXPECT_EQ(Logged().size(), 1U);
    for (const std::string& dump : BothDumps())
        EXPECT_EQ(ReadFile(folder + "/" + dump).substr(0, 4),
                  "\x7F"
                  "ELF");
    // The dialogs went nowhere.
    EXPECT_EQ(Count(ReadFile(folder + "/tmxchild.MiniDump.dmp"), "diagnosis file has been"), 0U);
}

TEST_F(Crash, WhereThereCanBeNoHelper) {
    ExpectCrash("no-processes", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    // A thread that sleeps in the system is seen from there; the dialogs are told all the same.
    const std::string text = Backtraces("tmxchild.MiniDump.dmp");
    EXPECT_TRUE(Contains(Functions(text, 2), "wait_as_bystander") ||
                Contains(Functions(text, 3), "wait_as_bystander"))
        << text;
    EXPECT_EQ(Count(Errors(), kCaption), 2U);
}

TEST_F(Crash, WhereThreadsMayNotBeStopped) {
    ExpectCrash("no-tracing", "STATUS_ACCESS_VIOLATION", "c0000005", 2, "write_to_null");
    const std::string text = Backtraces("tmxchild.FullDump.dmp");
    EXPECT_TRUE(Contains(Functions(text, 2), "wait_as_bystander") ||
                Contains(Functions(text, 3), "wait_as_bystander"))
        << text;
}

TEST_F(Crash, WhereTheDumpCannotBeWrittenThatIsTold) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "small-files"}), 255);
    EXPECT_EQ(Count(DebugOutput(), "Failed to write mini dump"), 2U);
    EXPECT_EQ(Errors().find(kCaption), std::string::npos);
    EXPECT_TRUE(Normal(DebugOutput()).ends_with(kLastLine));
}

TEST_F(Crash, OfTwoThreadsAtOnceEndsOnce) {
    const std::string program = Child();
    for (int round = 0; round < 5; ++round) {
        for (const std::string& dump : Dumps()) std::filesystem::remove(folder + "/" + dump);
        EXPECT_EQ(Run({program, "two-threads"}), 255);
        EXPECT_EQ(Count(DebugOutput(), "Win64 exception catched"), 1U);
        EXPECT_EQ(Dumps(), BothDumps());
        // Both are seen at their fault, if both came so far.
        const std::string text = Backtraces("tmxchild.MiniDump.dmp");
        EXPECT_EQ(Functions(text, 1)[0], "write_to_null") << text;
    }
}

TEST_F(Crash, OfTheHandlingItselfEndsTheProcess) {
    const std::string program = Child();
    EXPECT_EQ(Run({program, "in-handling"}), 255);
    EXPECT_EQ(Dumps(), Strings{});
}

TEST_F(Crash, WithoutAReaderOfItsOutputEnds) {
    const std::string program = Child();
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    // A full pipe that nobody empties, in the place of standard error.
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);
    dup2(ends[1], 9);
    EXPECT_EQ(Run({"sh", "-c", "exec '" + program + "' null-write 2>&9"}), 255);
    close(9);
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(Dumps(), BothDumps());
}

// ---- Who is told --------------------------------------------------------------------------------

TEST_F(Crash, OfAHostWithDumpsOffWritesBothAndTellsNobody) {
    const std::string program = Child("host");
    EXPECT_EQ(Run({program, "null-write"}), 255);
    EXPECT_EQ(Dumps(), BothDumps("host"));
    EXPECT_EQ(Normal(DebugOutput()), std::string(kFaultLines) + "Dump file name: " + program +
                                         ".MiniDump.dmpDump file name: " + program +
                                         ".FullDump.dmp" + kLastLine);
    EXPECT_EQ(Normal(Errors()), kLastLine);
}

TEST_F(Crash, OfAViewerIsLeftOut) {
    const std::string program = Child("TMXVIEW.EXE");
    EXPECT_EQ(Run({program, "null-write"}), 255);
    EXPECT_EQ(Dumps(), BothDumps("TMXVIEW.EXE"));
    EXPECT_EQ(Count(DebugOutput(), "Mini dump generation disabled due to matching filter\r\n"), 1U);
    EXPECT_EQ(Count(DebugOutput(), "Written"), 0U);
    // The log's source ends before the first dot.
    ASSERT_EQ(Logged().size(), 1U);
}

TEST_F(Crash, TheRegistryEnablesAndDisables) {
    const std::string head =
        "Windows Registry Editor Version 5.00\r\n\r\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc]\r\n";
    const auto runWith = [&](const std::string& program, const std::string& entry) {
        std::ofstream(environment["ZINC_REGISTRY"]) << head << entry << "\r\n";
        for (const std::string& dump : Dumps()) std::filesystem::remove(folder + "/" + dump);
        EXPECT_EQ(Run({program, "null-write"}), 255);
        EXPECT_EQ(Dumps().size(), 2U);
        // The log's queue is short.
        EXPECT_EQ(Logged().size(), 1U);
        return Normal(DebugOutput());
    };
    const std::string host = Child("host");
    const std::string enabled =
        "INFO  [REGISTRY,T] Enabled minidumps due to registry key "
        "SOFTWARE\\Velmont\\Zinc\\EnableMinidumps != 0 for application d: " +
        host + "\r\n";
    for (const char* data :
         {"dword:00000001", "hex(4):02,00,00,00", "hex(5):00,00,00,01",
          "hex(b):01,00,00,00,00,00,00,00", "\" 1\"", "hex(2):31,00,00,00", "hex(1):37,00"}) {
        const std::string text = runWith(host, std::string("\"EnableMinidumps\"=") + data);
        EXPECT_EQ(Count(text, enabled), 1U) << data;
        EXPECT_EQ(Count(text, "Written mini dump to "), 2U) << data;
    }
    environment["TMX_TEST_NUMBER"] = "3";
    // "%TMX_TEST_NUMBER%"
    EXPECT_EQ(Count(runWith(host,
                            "\"EnableMinidumps\"=hex(2):25,00,54,00,4d,00,58,00,5f,00,54,00,45,00,"
                            "53,00,54,00,5f,00,4e,00,55,00,4d,00,42,00,45,00,52,00,25,00,00,00"),
                    enabled),
              1U);
    for (const char* data : {"dword:00000000", "hex(b):00,00,00,00,01,00,00,00", "\"1x\"",
                             "hex:01,00,00,00", "hex(7):31,00,00,00", "nonsense", ""})
        EXPECT_EQ(Count(runWith(host, std::string("\"EnableMinidumps\"=") + data), "Written"), 0U)
            << data;

    const std::string own = Child("Q-service");
    const std::string off = runWith(own, "\"DisableMinidumps\"=dword:00000001");
    EXPECT_EQ(Count(off, "Disabled minidumps due to registry key SOFTWARE"), 1U);
    EXPECT_EQ(Count(off, "Written"), 0U);
    EXPECT_EQ(Count(runWith(own, "\"DisableMinidumps\"=dword:00000000"), "Written"), 2U);
}

TEST_F(Crash, ASourceOfEventsIsNamedUpToTheFirstDot) {
    const std::string program = Child("tmx.one.two");
    EXPECT_EQ(Run({program, "null-write"}), 255);
    const Strings events = Logged();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_TRUE(events[0].starts_with("<11>tmx[")) << events[0];
}

// ---- Names --------------------------------------------------------------------------------------

TEST_F(Crash, NamesFollowEachOtherToTheEleventhAndStartAgain) {
    const std::string program = Child();
    const auto names = [](unsigned count) {
        Strings expected;
        for (unsigned number = 1; number <= count; ++number)
            for (const char* ending : {".FullDump.dmp", ".MiniDump.dmp"})
                expected.push_back("tmxchild" + (number == 1 ? "" : "#" + std::to_string(number)) +
                                   ending);
        std::sort(expected.begin(), expected.end());
        return expected;
    };
    for (unsigned number = 1; number <= 11; ++number) {
        EXPECT_EQ(Run({program, "thread"}), 255);
        EXPECT_EQ(Dumps(), names(number)) << number;
    }
    EXPECT_EQ(Run({program, "thread"}), 255);
    EXPECT_EQ(Dumps(), names(1));
    EXPECT_EQ(Count(DebugOutput(), "Dump file name: "), 24U);
}

// ---- Killed on the way --------------------------------------------------------------------------

/// The processes that run a program.
std::vector<pid_t> ProcessesOf(const std::string& program) {
    std::vector<pid_t> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry.path() / "exe", error);
        if (!error && target == program)
            processes.push_back(std::atoi(entry.path().filename().c_str()));
    }
    return processes;
}

void WaitUntil(const std::function<bool()>& condition) {
    const auto begin = steady_clock::now();
    while (!condition() && steady_clock::now() - begin < std::chrono::seconds(20))
        std::this_thread::sleep_for(std::chrono::microseconds(200));
}

TEST_F(Crash, ThatIsKilledInTheMiddleOfADumpLeavesNoProcessAndTheNextOneGoesOn) {
    const std::string program = Child();
    const std::string dump = program + ".FullDump.dmp";
    // On a busy machine the process may have ended by the time it is killed.
    int status = 0;
    for (int attempt = 0; attempt < 20 && status != -SIGKILL; ++attempt) {
        for (const std::string& left : Dumps())
            std::filesystem::remove(std::filesystem::path(program).parent_path() / left);
        const pid_t child = Start({program, "much-memory"});
        WaitUntil([&] {
            std::error_code missing;
            const auto size = std::filesystem::file_size(dump, missing);
            return !missing && size > 0;
        });
        kill(child, SIGKILL);
        status = End(child);
    }
    EXPECT_EQ(status, -SIGKILL);
    WaitUntil([&] { return ProcessesOf(program).empty(); });
    EXPECT_EQ(ProcessesOf(program), std::vector<pid_t>{});
    EXPECT_EQ(Run({program, "thread"}), 255);
    EXPECT_EQ(Dumps(), (Strings{"tmxchild#2.FullDump.dmp", "tmxchild#2.MiniDump.dmp",
                                "tmxchild.FullDump.dmp", "tmxchild.MiniDump.dmp"}));
    EXPECT_EQ(Functions(Backtraces("tmxchild#2.MiniDump.dmp"), 1)[0], "write_to_null");
}

TEST_F(Crash, WhoseHelperIsKilledGoesOn) {
    const std::string program = Child();
    const std::string dump = program + ".FullDump.dmp";
    const pid_t child = Start({program, "much-memory"});
    WaitUntil([&] { return std::filesystem::exists(dump); });
    WaitUntil([&] {
        bool killed = false;
        for (const pid_t process : ProcessesOf(program))
            killed = killed || (process != child && kill(process, SIGKILL) == 0);
        return killed;
    });
    EXPECT_EQ(End(child), 255);
    EXPECT_EQ(Count(DebugOutput(), "Failed to write mini dump"), 1U);
    EXPECT_EQ(Count(DebugOutput(), "Written mini dump to "), 1U);
    EXPECT_TRUE(Normal(DebugOutput()).ends_with(kLastLine));
}

// ---- Hosts with handlers of their own -----------------------------------------------------------

class Host : public Crash {
  protected:
    void ExpectHandlerThenCrash(const char* way) {
        const std::string program = Put(TMX_CRASH_HOST, "tmxhost");
        for (const std::string& dump : Dumps()) std::filesystem::remove(folder + "/" + dump);
        EXPECT_EQ(Run({program, way}), 255) << way;
        EXPECT_EQ(Output(), "the host's handler\n") << way;
        EXPECT_TRUE(Normal(DebugOutput()).starts_with(kFaultLines)) << way << DebugOutput();
        EXPECT_EQ(Dumps(), BothDumps("tmxhost")) << way;
    }
    void ExpectToGoOn(const char* way) {
        const std::string program = Put(TMX_CRASH_HOST, "tmxhost");
        EXPECT_EQ(Run({program, way}), 0) << way << Output();
        EXPECT_EQ(Output(), "went on\n") << way;
        EXPECT_EQ(DebugOutput() + Errors(), "") << way;
        EXPECT_EQ(Dumps(), Strings{}) << way;
    }
};

TEST_F(Host, HasTheFaultFirst) {
    ExpectHandlerThenCrash("does-nothing");
    ExpectHandlerThenCrash("is-of-the-old-style");
    ExpectHandlerThenCrash("on-alternate-stack");
}

TEST_F(Host, ThatGivesUpLeavesTheFaultToUs) {
    ExpectHandlerThenCrash("gives-up");
    ExpectHandlerThenCrash("gives-up-and-raises");
    ExpectHandlerThenCrash("is-reset");
}

TEST_F(Host, ThatPassesTheFaultOnEndsWithUs) {
    ExpectHandlerThenCrash("passes-on");
    ExpectHandlerThenCrash("passes-back");
}

TEST_F(Host, ThatHandlesItsFaultsGoesOn) {
    ExpectToGoOn("jumps-out");
    ExpectToGoOn("makes-writable");
    ExpectToGoOn("skips");
    ExpectToGoOn("throws");
}

TEST_F(Host, ThatIgnoresASignalIsNotEndedByOne) { ExpectToGoOn("ignores"); }

TEST_F(Host, AFaultCannotBeIgnored) {
    EXPECT_EQ(Run({Put(TMX_CRASH_HOST, "tmxhost"), "ignores-a-fault"}), 255);
    EXPECT_EQ(Dumps(), BothDumps("tmxhost"));
}

TEST_F(Host, ATerminateFunctionIsReplaced) {
    EXPECT_EQ(Run({Put(TMX_CRASH_HOST, "tmxhost"), "has-a-terminate-function"}), -SIGABRT);
    EXPECT_TRUE(Errors().starts_with(kCaption));
}

TEST_F(Host, KeepsItsAlternateStack) {
    ExpectToGoOn("keeps-its-alternate-stack");
    EXPECT_EQ(Run({Put(TMX_CRASH_HOST, "tmxhost"), "has-a-small-alternate-stack"}), 255);
    EXPECT_EQ(Dumps(), BothDumps("tmxhost"));
}

TEST_F(Host, GetsItsHandlersBackWhenTheLibraryGoes) {
    ExpectToGoOn("unloads");
    ExpectToGoOn("replaces-and-unloads");
}

TEST_F(Host, CrashesByItselfWithoutTheLibrary) {
    EXPECT_EQ(Run({Put(TMX_CRASH_HOST, "tmxhost"), "unloads-and-crashes"}), -SIGSEGV);
    EXPECT_EQ(Dumps(), Strings{});
}

TEST_F(Host, MayLoadTheLibraryAgainAndAgain) {
    EXPECT_EQ(Run({Put(TMX_CRASH_HOST, "tmxhost"), "reloads"}), 255) << Output();
    EXPECT_EQ(Output(), "");
    EXPECT_EQ(Dumps(), BothDumps("tmxhost"));
    for (const std::string& dump : Dumps()) std::filesystem::remove(folder + "/" + dump);
    ExpectToGoOn("reloads-beside-a-thread");
}

TEST_F(Host, AThreadThatEndsGivesItsStackForFaultsBack) { ExpectToGoOn("threads-end"); }

#ifdef TMX_MONO
TEST_F(Host, MonoCatchesANullReferenceAsBefore) {
    const std::string program = folder + "/catches.exe";
    ASSERT_EQ(Run({TMX_MCS, "-out:" + program, TMX_CRASH_SOURCES "/catches.cs"}), 0) << Output();
    environment["HOME"] = folder;
    EXPECT_EQ(Run({TMX_MONO, program}), 0);
    EXPECT_EQ(Output(), "caught 1000\n");
    environment["LD_LIBRARY_PATH"] = std::filesystem::path(TMX_LIBRARY_PATH).parent_path();
    EXPECT_EQ(Run({TMX_MONO, program, "load"}), 0);
    EXPECT_EQ(Output(), "version 106\ncaught 1000\n");
    environment["LD_PRELOAD"] = TMX_LIBRARY_PATH;
    EXPECT_EQ(Run({TMX_MONO, program}), 0);
    EXPECT_EQ(Output(), "caught 1000\n");
    EXPECT_EQ(DebugOutput() + Errors(), "");
}
#endif

#ifdef TMX_NODE
TEST_F(Host, NodeCatchesAWebAssemblyTrapAsBefore) {
    const std::string script = TMX_CRASH_SOURCES "/traps.js";
    EXPECT_EQ(Run({TMX_NODE, script}), 0);
    EXPECT_EQ(Output(), "caught 1000\n");
    EXPECT_EQ(Run({TMX_NODE, script, TMX_CRASH_ADDON}), 0);
    EXPECT_EQ(Output(), "caught 1000\n");
    environment["LD_PRELOAD"] = TMX_LIBRARY_PATH;
    EXPECT_EQ(Run({TMX_NODE, script}), 0);
    EXPECT_EQ(Output(), "caught 1000\n");
    EXPECT_EQ(DebugOutput() + Errors(), "");
}

TEST_F(Host, AFaultThatNodeDoesNotHandleIsOurs) {
    // Dumps are put beside the program.
    const std::string program = Put(TMX_NODE, "tmxnode");
    EXPECT_EQ(Run({program, TMX_CRASH_SOURCES "/traps.js", TMX_CRASH_ADDON, "crash"}), 255);
    EXPECT_EQ(Output(), "caught 1000\n");
    EXPECT_TRUE(Normal(DebugOutput()).starts_with(kFaultLines)) << DebugOutput();
    EXPECT_EQ(Dumps(), BothDumps("tmxnode"));
}
#endif

}  // namespace
