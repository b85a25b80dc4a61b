// The diagnostic channel with the system's real outputs: a terminal, files, a log's socket; and the
// services of Linux under it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "zinc/debug_out.h"
#include "zinc/event_log.h"
#include "zinc/text.h"

namespace Zinc {
namespace {

using Strings = std::vector<std::string>;
using namespace std::string_literals;

// ---- Helpers ------------------------------------------------------------------------------------

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// All that can be read of a descriptor now.
std::string ReadAvailable(int file) {
    fcntl(file, F_SETFL, fcntl(file, F_GETFL) | O_NONBLOCK);
    std::string text;
    char buffer[4096];
    for (ssize_t count; (count = read(file, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

/// Puts another file in the place of a standard one.
class Redirected {
  public:
    Redirected(int standard, int file)
        : standard_(standard), saved_(fcntl(standard, F_DUPFD_CLOEXEC, 10)) {
        std::fflush(nullptr);
        if (file >= 0)
            dup2(file, standard);
        else
            close(standard);
    }
    ~Redirected() {
        std::fflush(nullptr);
        dup2(saved_, standard_);
        close(saved_);
    }

  private:
    int standard_;
    int saved_;
};

class Terminal {
  public:
    Terminal() {
        termios raw = {};
        cfmakeraw(&raw);
        good_ = openpty(&master, &slave, nullptr, &raw, nullptr) == 0;
    }
    ~Terminal() {
        close(master);
        close(slave);
    }
    bool IsGood() const { return good_; }
    int master = -1;
    int slave = -1;

  private:
    bool good_ = false;
};

class Pipe {
  public:
    Pipe() { good_ = pipe(ends) == 0; }
    ~Pipe() {
        close(ends[0]);
        if (ends[1] >= 0) close(ends[1]);
    }
    void CloseWriter() {
        close(ends[1]);
        ends[1] = -1;
    }
    bool IsGood() const { return good_; }
    int ends[2] = {-1, -1};

  private:
    bool good_ = false;
};

/// A datagram socket in the place of the system's log.
class LogSocket {
  public:
    explicit LogSocket(const std::string& path) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        socket_ = socket(AF_UNIX, SOCK_DGRAM, 0);
        good_ = bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~LogSocket() { close(socket_); }
    bool IsGood() const { return good_; }
    Strings Received() {
        Strings messages;
        char buffer[100000];
        for (ssize_t size; (size = recv(socket_, buffer, sizeof buffer, MSG_DONTWAIT)) >= 0;)
            messages.emplace_back(buffer, static_cast<std::size_t>(size));
        return messages;
    }

  private:
    int socket_ = -1;
    bool good_ = false;
};

class Diagnostics : public testing::Test {
  protected:
    Diagnostics() {
        char name[] = "/tmp/zincXXXXXX";
        folder = mkdtemp(name);
        debugFile = folder + "/debug";
        setenv("ZINC_DEBUG_OUTPUT", debugFile.c_str(), 1);
        setenv("ZINC_EVENT_LOG", (folder + "/log").c_str(), 1);
        thread = std::to_string(Platform::CurrentThreadId());
        executable = std::filesystem::read_symlink("/proc/self/exe").string();
        program = executable.substr(executable.rfind('/') + 1);
        program = program.substr(0, program.find('.'));
    }
    ~Diagnostics() override {
        unsetenv("ZINC_DEBUG_OUTPUT");
        unsetenv("ZINC_EVENT_LOG");
        unsetenv("ZINC_REGISTRY");
        std::filesystem::remove_all(folder);
    }

    std::string DebugOutput() const { return ReadFile(debugFile); }
    std::string Logged(int priority, const std::string& text) const {
        return "<" + std::to_string(priority) + ">" + program + "[" + std::to_string(getpid()) +
               "]: " + text;
    }
    /// Runs in a process of its own; returns its exit status.
    static int InChild(const std::function<void()>& work) {
        const pid_t child = fork();
        if (child == 0) {
            work();
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    std::string folder;
    std::string debugFile;
    std::string thread;
    std::string executable;
    std::string program;
};

const LineHeader kHeader{Level::kWarning, "SRC", 42};

Strings Texts(const OutputHistoryStreamer& history) {
    Strings texts;
    history.ForEach([&](const OutputHistoryStreamer::Entry& entry) {
        texts.push_back(WideToUtf8(entry.text.Text()));
    });
    return texts;
}

// ---- Text that doesn't fail ---------------------------------------------------------------------

TEST_F(Diagnostics, SafeTextGrowsBeyondItsBuffer) {
    SafeTextOf<char, 8> text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text.CStr(), "");
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        text.Append("abc");
        expected += "abc";
    }
    EXPECT_EQ(text.Text(), expected);
    EXPECT_EQ(text.CStr()[expected.size()], 0);
    text.Clear();
    text.AppendNumber(0);
    text.Append(' ');
    text.AppendNumber(18446744073709551615U);
    text.Append(' ');
    text.AppendNumber(0xDEADBEEF0123, 16);
    EXPECT_EQ(text.Text(), "0 18446744073709551615 deadbeef0123");
}

#ifndef TMX_SLOW_BUILD  // sanitizers need memory
TEST_F(Diagnostics, SafeTextIsCutWhereThereIsNoMemory) {
    const int status = InChild([] {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_AS, &none);
        SafeTextOf<char, 8> text;
        text.Append("0123456789");
        text.Append("abc");
        EXPECT_EQ(text.Text(), "0123456");
        SafeTextOf<WideChar, 4> wide;
        AppendAnsiToWide(wide, "01234");
        EXPECT_EQ(wide.Text(), WideView(TMX_WIDE("012")));
    });
    EXPECT_EQ(status, 0);
}
#endif

TEST_F(Diagnostics, ConversionsIntoSafeTextTakeTheAnsiCodePage) {
    SafeTextOf<WideChar, 4> wide;
    AppendAnsiToWide(wide, "a\x80\xE4");
    AppendAnsiToWide(wide, "");
    EXPECT_EQ(wide.Text(), WideView(TMX_WIDE("a\u20AC\u00E4")));
    SafeTextOf<char, 4> narrow;
    AppendWideToAnsi(narrow, TMX_WIDE("a\u20AC\u00E4\u4E00"));
    AppendWideToAnsi(narrow, {});
    EXPECT_EQ(narrow.Text(), "a\x80\xE4?");
}

// ---- Levels and lines ---------------------------------------------------------------------------

TEST_F(Diagnostics, LevelsHaveTheirTextColourAndType) {
    using Platform::EventType;
    struct Expected {
        std::uint32_t level;
        const char* text;
        int attribute;
        EventType type;
    };
    for (const Expected& expected : {Expected{0, "ERROR", 12, EventType::Error},
                                     {1, "SECTY", 13, EventType::Information},
                                     {2, "WARNG", 14, EventType::Warning},
                                     {3, "INFO ", 11, EventType::Information},
                                     {4, "DEBUG", 7, EventType::Information},
                                     {5, "UNKNOWN", 7, EventType::Information},
                                     {7, "UNKNOWN", 7, EventType::Information},
                                     {0xFFFFFFFF, "UNKNOWN", 7, EventType::Information}}) {
        const LevelTraits& traits = TraitsOf(expected.level);
        EXPECT_STREQ(traits.text, expected.text);
        EXPECT_EQ(traits.attribute, expected.attribute);
        EXPECT_EQ(traits.eventType, expected.type);
    }
}

TEST_F(Diagnostics, ALineHasLevelSourceThreadAndMessage) {
    EXPECT_EQ(FormattedLine(kHeader, TMX_WIDE("text")).Text(),
              WideView(TMX_WIDE("WARNG [SRC,42] text\r\n")));
    EXPECT_EQ(FormattedLine({7, "X", 4294967295}, TMX_WIDE("")).Text(),
              WideView(TMX_WIDE("UNKNOWN [X,4294967295] \r\n")));
}

TEST_F(Diagnostics, ANullSourcePrintsAsEmpty) {
    EXPECT_EQ(FormattedLine({3, nullptr, 1}, TMX_WIDE("t")).Text(),
              WideView(TMX_WIDE("INFO  [,1] t\r\n")));
}

// ---- Console ------------------------------------------------------------------------------------

TEST_F(Diagnostics, ATerminalShowsEachLevelInItsColour) {
    Terminal terminal;
    ASSERT_TRUE(terminal.IsGood());
    const char* const colours[] = {"\033[91m", "\033[95m", "\033[93m",
                                   "\033[96m", "\033[37m", "\033[37m"};
    for (std::uint32_t level = 0; level < 6; ++level) {
        const Redirected output(STDOUT_FILENO, terminal.slave);
        const Redirected error(STDERR_FILENO, terminal.slave);
        ConsoleOutputStreamer console;
        console.Write({level, "S", 5}, TMX_WIDE("h\u00E4"));
        EXPECT_EQ(ReadAvailable(terminal.master),
                  std::string(colours[level]) + TraitsOf(level).text + " [S,5] h\u00E4\r\n\033[0m");
    }
}

TEST_F(Diagnostics, AllSixteenColours) {
    Terminal terminal;
    ASSERT_TRUE(terminal.IsGood());
    const int codes[] = {30, 34, 32, 36, 31, 35, 33, 37, 90, 94, 92, 96, 91, 95, 93, 97};
    const Redirected output(STDOUT_FILENO, terminal.slave);
    Platform::ConsoleHandle handle;
    ASSERT_TRUE(handle.GetOutput());
    for (std::uint16_t attribute = 0; attribute < 16; ++attribute) {
        handle.WriteText(attribute, TMX_WIDE("x"), 1);
        EXPECT_EQ(ReadAvailable(terminal.master),
                  "\033[" + std::to_string(codes[attribute]) + "mx\033[0m");
    }
}

TEST_F(Diagnostics, ErrorsGoToStandardErrorAndTheRestToStandardOutput) {
    Pipe output;
    Pipe error;
    ASSERT_TRUE(output.IsGood() && error.IsGood());
    {
        const Redirected first(STDOUT_FILENO, output.ends[1]);
        const Redirected second(STDERR_FILENO, error.ends[1]);
        ConsoleOutputStreamer console;
        for (std::uint32_t level = 0; level < 6; ++level)
            console.Write({level, "S", 1}, TMX_WIDE("t"));
    }
    EXPECT_EQ(ReadAvailable(error.ends[0]), "ERROR [S,1] t\r\n");
    EXPECT_EQ(ReadAvailable(output.ends[0]),
              "SECTY [S,1] t\r\nWARNG [S,1] t\r\nINFO  [S,1] t\r\nDEBUG [S,1] t\r\n"
              "UNKNOWN [S,1] t\r\n");
}

TEST_F(Diagnostics, AMissingHandleIsToldAndTheOtherStaysUsable) {
    Pipe error;
    ASSERT_TRUE(error.IsGood());
    {
        const Redirected first(STDOUT_FILENO, -1);
        const Redirected second(STDERR_FILENO, error.ends[1]);
        ConsoleOutputStreamer console;
        console.Write({Level::kInfo, "S", 1}, TMX_WIDE("lost"));
        console.Write({Level::kError, "S", 1}, TMX_WIDE("kept"));
    }
    EXPECT_EQ(ReadAvailable(error.ends[0]), "ERROR [S,1] kept\r\n");
    EXPECT_EQ(DebugOutput(), "ConsoleOutputStreamer::GetStdHandle STD_OUTPUT failed");
}

TEST_F(Diagnostics, WithoutStandardErrorItsFailureIsTold) {
    {
        const Redirected second(STDERR_FILENO, -1);
        ConsoleOutputStreamer console;
        console.Write({Level::kError, "S", 1}, TMX_WIDE("lost"));
    }
    EXPECT_EQ(DebugOutput(), "ConsoleOutputStreamer::GetStdHandle STD_ERROR failed");
}

TEST_F(Diagnostics, AConsoleLineIsClippedAndTheClipIsTold) {
    const std::string path = folder + "/out";
    const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    {
        const Redirected first(STDOUT_FILENO, file);
        ConsoleOutputStreamer console;
        const std::size_t head = "INFO  [S,1] "s.size();
        console.Write({Level::kInfo, "S", 1}, WideString(0x10000 - head - 2, 'x'));
        EXPECT_EQ(DebugOutput(), "");
        console.Write({Level::kInfo, "S", 1}, WideString(0x10000, 'y'));
    }
    close(file);
    const std::string written = ReadFile(path);
    EXPECT_EQ(written.size(), 0x20000U);
    EXPECT_EQ(written[0x10000 - 1], '\n');
    EXPECT_EQ(written.back(), 'y');
    EXPECT_EQ(DebugOutput(), "ClipSizeT failed - Size > MaxSize");
}

TEST_F(Diagnostics, AClosedPipeKillsNobody) {
    Pipe output;
    ASSERT_TRUE(output.IsGood());
    const int status = InChild([&] {
        close(output.ends[0]);
        const Redirected first(STDOUT_FILENO, output.ends[1]);
        ConsoleOutputStreamer console;
        console.Write({Level::kInfo, "S", 1}, TMX_WIDE("lost"));
        sigset_t pending;
        sigpending(&pending);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    });
    EXPECT_EQ(status, 0);
}

// ---- Debugger -----------------------------------------------------------------------------------

TEST_F(Diagnostics, TheDebuggerGetsTheLine) {
    DebugWindowOutputStreamer stream;
    stream.Write(kHeader, TMX_WIDE("a < b \u20AC"));
    EXPECT_EQ(DebugOutput(), "WARNG [SRC,42] a < b \u20AC\r\n");
}

// ---- File ---------------------------------------------------------------------------------------

TEST_F(Diagnostics, TheFileStreamWritesNothingUntilItIsOpened) {
    FileOutputStreamer stream;
    stream.Write(kHeader, TMX_WIDE("lost"));
    const std::string path = folder + "/file";
    EXPECT_TRUE(stream.Open(AnsiToWide(path)));
    stream.Write(kHeader, TMX_WIDE("kept"));
    EXPECT_EQ(ReadFile(path),
              "<debugout type=\"WARNG\" filter=\"SRC\">\r\nkept\r\n</debugout>\r\n");
}

TEST_F(Diagnostics, AFileRecordIsNarrowAndEscaped) {
    FileOutputStreamer stream;
    const std::string path = folder + "/file";
    ASSERT_TRUE(stream.Open(AnsiToWide(path)));
    stream.Write({Level::kInfo, nullptr, 1}, TMX_WIDE("<a href='x'>&\"\u00E4"));
    stream.Write({9, "B", 1}, TMX_WIDE("plain \u00E4"));
    EXPECT_EQ(ReadFile(path),
              "<debugout type=\"INFO \" filter=\"\">\r\n"
              "&lt;a href=&apos;x&apos;&gt;&amp;&quot;&#228;\r\n</debugout>\r\n"
              "<debugout type=\"UNKNOWN\" filter=\"B\">\r\nplain \xE4\r\n</debugout>\r\n");
}

TEST_F(Diagnostics, OpeningAgainClosesTheFileAndMakesANewOne) {
    FileOutputStreamer stream;
    const std::string first = folder + "/first";
    const std::string second = folder + "/second";
    ASSERT_TRUE(stream.Open(AnsiToWide(first)));
    stream.Write(kHeader, TMX_WIDE("1"));
    ASSERT_TRUE(stream.Open(AnsiToWide(second)));
    stream.Write(kHeader, TMX_WIDE("2"));
    ASSERT_TRUE(stream.Open(AnsiToWide(first)));
    stream.Write(kHeader, TMX_WIDE("3"));
    EXPECT_EQ(ReadFile(first), "<debugout type=\"WARNG\" filter=\"SRC\">\r\n3\r\n</debugout>\r\n");
    EXPECT_EQ(ReadFile(second), "<debugout type=\"WARNG\" filter=\"SRC\">\r\n2\r\n</debugout>\r\n");
    EXPECT_FALSE(stream.Open(AnsiToWide(folder + "/no/such/folder")));
    // The one that was open is closed all the same.
    stream.Write(kHeader, TMX_WIDE("4"));
    EXPECT_EQ(ReadFile(first), "<debugout type=\"WARNG\" filter=\"SRC\">\r\n3\r\n</debugout>\r\n");
}

TEST_F(Diagnostics, AFullDeviceIsNoFailure) {
    FileOutputStreamer stream;
    ASSERT_TRUE(stream.Open(TMX_WIDE("/dev/full")));
    stream.Write(kHeader, TMX_WIDE("lost"));
}

// ---- Event log ----------------------------------------------------------------------------------

TEST_F(Diagnostics, TheEventLogGetsTheTextWithItsPriority) {
    LogSocket log(folder + "/log");
    ASSERT_TRUE(log.IsGood());
    EventLog events;
    EXPECT_TRUE(events.Report(TMX_WIDE("one"), Platform::EventType::Error));
    EXPECT_TRUE(events.Report(TMX_WIDE("tw\u00F6\r\n"), Platform::EventType::Warning));
    EXPECT_TRUE(events.Report(TMX_WIDE("three"), Platform::EventType::Information));
    // Facility "user" (8), with error (3), warning (4) and information (6).
    EXPECT_EQ(log.Received(),
              (Strings{Logged(11, "one"), Logged(12, "tw\u00F6\r\n"), Logged(14, "three")}));
    EXPECT_EQ(DebugOutput(), "");
}

TEST_F(Diagnostics, AReportThatFailsGoesToTheDebugger) {
    EventLog events;
    EXPECT_FALSE(events.Report(TMX_WIDE("lost\r\n"), Platform::EventType::Error));
    EXPECT_EQ(DebugOutput(), "lost\r\n");
    // A registration that failed is tried again.
    LogSocket log(folder + "/log");
    ASSERT_TRUE(log.IsGood());
    EXPECT_TRUE(events.Report(TMX_WIDE("kept"), Platform::EventType::Error));
    EXPECT_EQ(log.Received(), Strings{Logged(11, "kept")});
}

TEST_F(Diagnostics, ALogThatIsStartedAnewIsFoundAgain) {
    EventLog events;
    auto log = std::make_unique<LogSocket>(folder + "/log");
    ASSERT_TRUE(log->IsGood());
    EXPECT_TRUE(events.Report(TMX_WIDE("one"), Platform::EventType::Error));
    log.reset();
    EXPECT_FALSE(events.Report(TMX_WIDE("lost"), Platform::EventType::Error));
    std::filesystem::remove(folder + "/log");
    log = std::make_unique<LogSocket>(folder + "/log");
    ASSERT_TRUE(log->IsGood());
    EXPECT_TRUE(events.Report(TMX_WIDE("two"), Platform::EventType::Error));
    EXPECT_EQ(log->Received(), Strings{Logged(11, "two")});
    EXPECT_EQ(DebugOutput(), "lost");
}

TEST_F(Diagnostics, ALongReportComesWhole) {
    LogSocket log(folder + "/log");
    ASSERT_TRUE(log.IsGood());
    EventLog events;
    EXPECT_TRUE(events.Report(WideString(30000, 'x').c_str(), Platform::EventType::Error));
    EXPECT_EQ(log.Received(), Strings{Logged(11, std::string(30000, 'x'))});
}

TEST_F(Diagnostics, TheSourceIsTheExecutablesNameUpToItsFirstDot) {
    Platform::EventSource source;
    LogSocket log(folder + "/log");
    ASSERT_TRUE(log.IsGood());
    ASSERT_TRUE(source.Register(TMX_WIDE("n\u00E4me")));
    EXPECT_TRUE(source.Report(Platform::EventType::Error, {}, TMX_WIDE("t")));
    EXPECT_TRUE(source.Register(WideString(100, 0xE4).c_str()));
    EXPECT_TRUE(source.Report(Platform::EventType::Error, {}, TMX_WIDE("t")));
    const std::string pid = std::to_string(getpid());
    std::string cut;
    for (int i = 0; i < 31; ++i) cut += "\u00E4";
    EXPECT_EQ(log.Received(),
              (Strings{"<11>n\u00E4me[" + pid + "]: t", "<11>" + cut + "[" + pid + "]: t"}));
    source.Deregister();
    EXPECT_FALSE(source.IsRegistered());
    EXPECT_FALSE(source.Report(Platform::EventType::Error, {}, TMX_WIDE("t")));
}

// ---- History ------------------------------------------------------------------------------------

TEST_F(Diagnostics, TheHistoryKeepsLinesInItsOwnForm) {
    const auto history = std::make_unique<OutputHistoryStreamer>();
    history->Write(kHeader, TMX_WIDE("text"));
    history->Write({7, nullptr, 3}, WideString(500, 'x'));
    std::vector<std::string> sources;
    std::vector<std::uint32_t> threads;
    std::vector<std::uint32_t> levels;
    const std::uint64_t now = TZincDateTime::Now().UtcMilliseconds();
    history->ForEach([&](const OutputHistoryStreamer::Entry& entry) {
        sources.push_back(WideToUtf8(entry.source.Text()));
        threads.push_back(entry.threadId);
        levels.push_back(entry.level);
        EXPECT_LE(entry.time.UtcMilliseconds(), now);
        EXPECT_GT(entry.time.UtcMilliseconds() + 60000, now);
        EXPECT_EQ(entry.time.Bias(), TZincDateTime::Now().Bias());
    });
    EXPECT_EQ(sources, (Strings{"SRC", ""}));
    EXPECT_EQ(threads, (std::vector<std::uint32_t>{42, 3}));
    EXPECT_EQ(levels, (std::vector<std::uint32_t>{2, 7}));
    EXPECT_EQ(Texts(*history),
              (Strings{"WARNG : [SRC] text", "UNKNOWN : [] " + std::string(500, 'x')}));
}

TEST_F(Diagnostics, TheHistoryLine1025EvictsTheFirst) {
    const auto history = std::make_unique<OutputHistoryStreamer>();
    const auto write = [&](int number) {
        history->Write(kHeader, AnsiToWide(std::to_string(number)));
    };
    for (int i = 1; i <= 1024; ++i) write(i);
    EXPECT_EQ(history->Size(), 1024U);
    EXPECT_EQ(Texts(*history).front(), "WARNG : [SRC] 1");
    write(1025);
    EXPECT_EQ(history->Size(), 1024U);
    EXPECT_EQ(Texts(*history).front(), "WARNG : [SRC] 2");
    EXPECT_EQ(Texts(*history).back(), "WARNG : [SRC] 1025");
    EXPECT_EQ(history->Counter(), 1025U);
    for (int i = 1026; i <= 5000; ++i) write(i);
    const Strings texts = Texts(*history);
    ASSERT_EQ(texts.size(), 1024U);
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(texts[i], "WARNG : [SRC] " + std::to_string(5000 - 1023 + i));
    EXPECT_EQ(history->Counter(), 5000U);
}

// ---- The streamer -------------------------------------------------------------------------------

using Mode = IDebugOutStreamerProperties::Mode;

TEST_F(Diagnostics, AProcessWithAConsoleStartsWithItAndOneWithoutWithTheDebugWindow) {
    Terminal terminal;
    Pipe pipe;
    ASSERT_TRUE(terminal.IsGood() && pipe.IsGood());
    const auto maskWith = [](int output, int error) {
        const Redirected first(STDOUT_FILENO, output);
        const Redirected second(STDERR_FILENO, error);
        const auto streamer = std::make_unique<DebugOutStreamer>();
        return streamer->ActiveMask();
    };
    EXPECT_EQ(maskWith(pipe.ends[1], pipe.ends[1]), 2U);
    EXPECT_EQ(maskWith(terminal.slave, pipe.ends[1]), 1U);
    EXPECT_EQ(maskWith(pipe.ends[1], terminal.slave), 1U);
    EXPECT_EQ(maskWith(-1, -1), 2U);
}

/// A streamer with its console on a file, its log on a socket, and no stream on.
class Streamer : public Diagnostics {
  protected:
    Streamer() : log(folder + "/log") {
        consoleFile = folder + "/console";
        const int file = open(consoleFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        output = std::make_unique<Redirected>(STDOUT_FILENO, file);
        close(file);
        streamer = std::make_unique<DebugOutStreamer>();
        streamer->SetOutputs(0, Mode::Exactly);
    }
    ~Streamer() override { output.reset(); }

    void Write(std::uint32_t mask, const std::string& text) {
        streamer->WriteLine({Level::kInfo, "S", 1}, mask, AnsiToWide(text));
    }

    LogSocket log;
    std::string consoleFile;
    std::unique_ptr<Redirected> output;
    std::unique_ptr<DebugOutStreamer> streamer;
};

TEST_F(Streamer, OutputsAreSetAddedAndRemoved) {
    EXPECT_EQ(streamer->SetOutputs(3, Mode::Exactly), 3U);
    EXPECT_EQ(streamer->SetOutputs(16, Mode::Add), 19U);
    EXPECT_EQ(streamer->SetOutputs(2, Mode::Remove), 17U);
    EXPECT_EQ(streamer->SetOutputs(4, Mode::Remove), 17U);
    EXPECT_EQ(streamer->SetOutputs(0, Mode::Add), 17U);
    EXPECT_EQ(streamer->SetOutputs(6, Mode::Exactly), 6U);
    EXPECT_EQ(streamer->SetOutputs(0, Mode::Exactly), 0U);
    // There are no others.
    EXPECT_EQ(streamer->SetOutputs(8, Mode::Add), 0U);
    EXPECT_EQ(streamer->SetOutputs(0xFFFFFFFF, Mode::Exactly), 23U);
    EXPECT_EQ(streamer->SetOutputs(0xFFFFFFFF, Mode::Remove), 0U);
}

TEST_F(Streamer, ALineGoesToTheStreamsOfItsMask) {
    Write(1, "console");
    Write(2, "debug");
    Write(16, "event");
    EXPECT_EQ(ReadFile(consoleFile), "INFO  [S,1] console\r\n");
    EXPECT_EQ(DebugOutput(), "INFO  [S,1] debug\r\n");
    EXPECT_EQ(log.Received(), Strings{Logged(14, "INFO  [S,1] event\r\n")});
    // Streams that a line makes are not on for others.
    EXPECT_EQ(streamer->ActiveMask(), 0U);
}

TEST_F(Streamer, Bit32StandsForTheActiveStreams) {
    streamer->SetOutputs(2, Mode::Exactly);
    Write(32, "one");
    EXPECT_EQ(DebugOutput(), "INFO  [S,1] one\r\n");
    EXPECT_EQ(ReadFile(consoleFile), "");
    Write(33, "two");
    EXPECT_EQ(DebugOutput(), "INFO  [S,1] one\r\nINFO  [S,1] two\r\n");
    EXPECT_EQ(ReadFile(consoleFile), "INFO  [S,1] two\r\n");
}

TEST_F(Streamer, Bit8AndUnknownBitsDoNothing) {
    Write(8, "nowhere");
    Write(64, "nowhere");
    Write(0, "nowhere");
    EXPECT_EQ(DebugOutput() + ReadFile(consoleFile), "");
    EXPECT_EQ(streamer->History().Counter(), 0U);
    Write(8 | 2, "somewhere");
    EXPECT_EQ(DebugOutput(), "INFO  [S,1] somewhere\r\n");
}

TEST_F(Streamer, AnEmptyTextIsNotWritten) {
    streamer->SetOutputs(3, Mode::Exactly);
    Write(32, "");
    Write(16, "");
    EXPECT_EQ(DebugOutput() + ReadFile(consoleFile), "");
    EXPECT_EQ(log.Received(), Strings{});
    EXPECT_EQ(streamer->History().Counter(), 0U);
}

TEST_F(Streamer, TheHistoryHasALineForEachStreamThatHasIt) {
    Write(2, "one");
    EXPECT_EQ(Texts(streamer->History()), Strings{"INFO  : [S] one"});
    Write(1 | 2 | 16, "two");
    EXPECT_EQ(Texts(streamer->History()), (Strings{"INFO  : [S] one", "INFO  : [S] two",
                                                   "INFO  : [S] two", "INFO  : [S] two"}));
}

TEST_F(Streamer, TheFileStreamIsOpenedThroughTheStreamer) {
    const std::string path = folder + "/file";
    EXPECT_FALSE(streamer->OpenFileStream(AnsiToWide(path)));
    EXPECT_FALSE(std::filesystem::exists(path));
    streamer->SetOutputs(4, Mode::Exactly);
    EXPECT_TRUE(streamer->OpenFileStream(AnsiToWide(path)));
    EXPECT_FALSE(streamer->OpenFileStream(AnsiToWide(folder + "/no/file")));
    EXPECT_TRUE(streamer->OpenFileStream(AnsiToWide(path)));
    Write(32 | 2, "a<b");
    EXPECT_EQ(ReadFile(path),
              "<debugout type=\"INFO \" filter=\"S\">\r\na&lt;b\r\n</debugout>\r\n");
    EXPECT_EQ(DebugOutput(), "INFO  [S,1] a<b\r\n");
    // A stream that is removed and comes back has no file.
    streamer->SetOutputs(4, Mode::Remove);
    streamer->SetOutputs(4, Mode::Add);
    Write(4, "lost");
    EXPECT_EQ(ReadFile(path).find("lost"), std::string::npos);
}

TEST_F(Streamer, LinesOfManyThreadsComeWholeAndInTheSameOrderEverywhere) {
    constexpr int kThreads = 8;
    constexpr int kLines = 100;
    const std::string path = folder + "/file";
    streamer->SetOutputs(1 | 2 | 4, Mode::Exactly);
    ASSERT_TRUE(streamer->OpenFileStream(AnsiToWide(path)));
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number)
        threads.emplace_back([&, number] {
            for (int line = 0; line < kLines; ++line)
                streamer->WriteLine({Level::kInfo, "S", static_cast<std::uint32_t>(number)}, 32,
                                    AnsiToWide(std::to_string(number) + ":" + std::to_string(line) +
                                               std::string(static_cast<std::size_t>(line), '.')));
        });
    for (std::thread& one : threads) one.join();

    const auto lines = [](const std::string& text) {
        Strings result;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) result.push_back(line);
        return result;
    };
    const Strings console = lines(ReadFile(consoleFile));
    ASSERT_EQ(console.size(), std::size_t{kThreads * kLines});
    EXPECT_EQ(lines(DebugOutput()), console);
    // The message of each console line, in the forms of the other two.
    Strings messages;
    Strings records;
    for (const std::string& line : console) {
        const std::string message = line.substr(line.find("] ") + 2, line.size());
        messages.push_back("INFO  : [S] " + message.substr(0, message.size() - 1));
        records.insert(records.end(),
                       {"<debugout type=\"INFO \" filter=\"S\">\r", message, "</debugout>\r"});
    }
    EXPECT_EQ(lines(ReadFile(path)), records);
    // Three streams, so three times each; the last 1024 of them.
    Strings history;
    for (const std::string& message : messages) history.insert(history.end(), 3, message);
    history.erase(history.begin(), history.end() - 1024);
    EXPECT_EQ(Texts(streamer->History()), history);
    EXPECT_EQ(streamer->History().Counter(), std::uint64_t{3 * kThreads * kLines});
    // Each thread's own lines are in their order.
    for (int number = 0; number < kThreads; ++number) {
        const std::string mine = "INFO  [S," + std::to_string(number) + "] ";
        std::size_t line = 0;
        for (const std::string& text : console) {
            if (!text.starts_with(mine)) continue;
            EXPECT_EQ(text, mine + std::to_string(number) + ":" + std::to_string(line) +
                                std::string(line, '.') + "\r");
            ++line;
        }
        EXPECT_EQ(line, std::size_t{kLines});
    }
}

// ---- The line object ----------------------------------------------------------------------------

TEST_F(Diagnostics, ALineIsWrittenWhenItEnds) {
    {
        DebugOut line("SRC", Level::kDebug, StreamBit::kDebugWindow);
        line << "narrow \xE4 " << WideView(TMX_WIDE("wide \u20AC ")) << 12U << " ";
        line.Hex(0xABC);
        EXPECT_EQ(DebugOutput(), "");
    }
    EXPECT_EQ(DebugOutput(), "DEBUG [SRC," + thread + "] narrow \u00E4 wide \u20AC 12 abc\r\n");
}

TEST_F(Diagnostics, AFlushedLineBeginsAnew) {
    DebugOut line("SRC", Level::kDebug, StreamBit::kDebugWindow);
    line << "one";
    line.Flush();
    line << "two";
    line.Flush();
    EXPECT_EQ(DebugOutput(),
              "DEBUG [SRC," + thread + "] one\r\nDEBUG [SRC," + thread + "] two\r\n");
}

TEST_F(Diagnostics, ALineOrChannelThatIsNotEnabledDoesNothing) {
    {
        DebugOut line("SRC", Level::kDebug, StreamBit::kDebugWindow);
        line << "nothing";
        line.SetEnabled(false);
    }
    DebugOutStreamer* const streamer = GlobalObject<DebugOutStreamer>::Get();
    ASSERT_NE(streamer, nullptr);
    for (const std::uint32_t value : {0U, 2U}) {
        streamer->SetEnabled(value);
        EXPECT_FALSE(streamer->IsEnabled());
        DebugOut("SRC", Level::kDebug, StreamBit::kDebugWindow) << "nothing";
    }
    streamer->SetEnabled(1);
    EXPECT_TRUE(streamer->IsEnabled());
    EXPECT_EQ(DebugOutput(), "");
}

TEST_F(Diagnostics, TheOneStreamerIsMadeByTheFirstLine) {
    const DebugOutStreamer* const streamer = GlobalObject<DebugOutStreamer>::Get();
    EXPECT_EQ(GlobalObject<DebugOutStreamer>::Get(), streamer);
    EXPECT_EQ(streamer->referenceCount.load(), 1U);
}

TEST_F(Diagnostics, WithoutTheStreamerALineGoesToTheDebugger) {
    const int status = InChild([] {
        EndDiagnostics();
        DebugOut("SRC", Level::kDebug) << "text";
        DebugOut("SRC", Level::kDebug) << "";
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(DebugOutput(), "STATOUT: textSTATOUT: ");
}

class Recursive final : public IGlobalObjectInterface {
  public:
    Recursive() : inner(GlobalObject<Recursive>::Get()) {}
    Recursive* inner;
};

TEST_F(Diagnostics, AGlobalObjectIsNotThereWhileItIsBeingMade) {
    const Recursive* const object = GlobalObject<Recursive>::Get();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->inner, nullptr);
}

class Counted final : public IGlobalObjectInterface {
  public:
    Counted() { ++made; }
    ~Counted() override { ++ended; }
    static inline std::atomic<int> made{0};
    static inline std::atomic<int> ended{0};
};

TEST_F(Diagnostics, AGlobalObjectIsMadeOnceAndEndsWithItsLastReference) {
    std::vector<std::thread> threads;
    std::atomic<Counted*> seen[4] = {};
    for (auto& place : seen) threads.emplace_back([&] { place = GlobalObject<Counted>::Get(); });
    for (std::thread& one : threads) one.join();
    EXPECT_EQ(Counted::made, 1);
    Counted* const object = GlobalObject<Counted>::Get();
    for (auto& place : seen) EXPECT_EQ(place, object);
    EXPECT_EQ(object->referenceCount.load(), 1U);
    object->AddRef();
    GlobalObject<Counted>::ReleaseAtEnd();
    EXPECT_EQ(Counted::ended, 0);
    EXPECT_EQ(GlobalObject<Counted>::Get(), nullptr);
    object->Release();
    EXPECT_EQ(Counted::ended, 1);
}

// ---- A process that has crashed -----------------------------------------------------------------

TEST_F(Diagnostics, AfterACrashALockIsNotWaitedForLong) {
    const int status = InChild([] {
        Platform::CriticalSection lock;
        lock.lock();
        CrashState::Begin();
        const auto begin = std::chrono::steady_clock::now();
        { const DiagnosticLock guard(lock); }
        const auto waited = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(waited, std::chrono::milliseconds(900));
        EXPECT_LT(waited, std::chrono::seconds(30));
        // It is still the owner's.
        EXPECT_FALSE(lock.LockWithin(1));
        lock.unlock();
        { const DiagnosticLock guard(lock); }
        EXPECT_TRUE(lock.LockWithin(1));
        lock.unlock();
    });
    EXPECT_EQ(status, 0);
}

TEST_F(Diagnostics, AfterACrashTheTimeOfALineIsInUtc) {
    const int status = InChild([] {
        setenv("TZ", "XST-5", 1);
        CrashState::Begin();
        const auto history = std::make_unique<OutputHistoryStreamer>();
        history->Write(kHeader, TMX_WIDE("text"));
        history->ForEach([](const OutputHistoryStreamer::Entry& entry) {
            const std::uint64_t now = TZincDateTime::Now().UtcMilliseconds();
            EXPECT_EQ(entry.time.Bias(), 0);
            EXPECT_LE(entry.time.UtcMilliseconds(), now);
            EXPECT_GT(entry.time.UtcMilliseconds() + 60000, now);
        });
    });
    EXPECT_EQ(status, 0);
}

// ---- The registry's file ------------------------------------------------------------------------

constexpr char kKey[] = "SOFTWARE\\Velmont\\Zinc";
constexpr char kHead[] = "Windows Registry Editor Version 5.00\r\n\r\n";
constexpr char kSection[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc]\r\n";

class Registry : public Diagnostics {
  protected:
    void Put(const std::string& content) {
        const std::string path = folder + "/zinc.reg";
        std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
        setenv("ZINC_REGISTRY", path.c_str(), 1);
    }
    /// "TYPE:HEX BYTES", or "" where there is no such value.
    static std::string Query(const char* name) {
        Platform::RegistryKey key;
        Platform::RegistryValue value;
        if (!key.Open(kKey) || !key.Query(name, value)) return "";
        std::string text = std::to_string(value.type) + ":";
        for (std::size_t i = 0; i < value.size; ++i) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", unsigned{value.data[i]});
            text += digits;
        }
        return text;
    }
    /// The value "V" of a file with this entry.
    std::string Entry(const std::string& entry, const std::string& head = kHead) {
        Put(head + kSection + entry + "\r\n");
        return Query("V");
    }
};

TEST_F(Registry, EachTypeIsRead) {
    EXPECT_EQ(Entry("\"V\"=dword:00000001"), "4:01000000");
    EXPECT_EQ(Entry("\"V\"=dword:A1b2C3d4"), "4:d4c3b2a1");
    EXPECT_EQ(Entry("\"V\"=dword:7"), "4:07000000");
    EXPECT_EQ(Entry("\"V\"=hex(4):01,02,03,04"), "4:01020304");
    EXPECT_EQ(Entry("\"V\"=hex(5):00,00,00,01"), "5:00000001");
    EXPECT_EQ(Entry("\"V\"=hex(b):01,00,00,00,00,00,00,80"), "11:0100000000000080");
    EXPECT_EQ(Entry("\"V\"=\"12\""), "1:313200");
    EXPECT_EQ(Entry("\"V\"=\"\""), "1:00");
    EXPECT_EQ(Entry("\"V\"=\"a \\\"b\\\" c:\\\\d\""), "1:612022622220633a5c6400");
    EXPECT_EQ(Entry("\"V\"=hex(2):25,00,41,00,25,00,00,00"), "2:2541250000");
    EXPECT_EQ(Entry("\"V\"=hex(1):31,00"), "1:3100");
    EXPECT_EQ(Entry("\"V\"=hex(7):61,00,00,00,00,00"), "7:61000000");
    EXPECT_EQ(Entry("\"V\"=hex:01,ff"), "3:01ff");
    EXPECT_EQ(Entry("\"V\"=hex(0):"), "0:");
    EXPECT_EQ(Entry("\"V\"=hex(80000001):01"), "2147483649:01");
}

TEST_F(Registry, SpellingIsLoose) {
    EXPECT_EQ(Entry("  \"v\"  =  DWORD:00000002  "), "4:02000000");
    EXPECT_EQ(Entry("\"V\"=HEX(B):01,00,00,00,00,00,00,00"), "11:0100000000000000");
    EXPECT_EQ(Entry("\"V\"=hex(b):01,00,00,\\\r\n  00,00,00,\\\r\n  00,00"), "11:0100000000000000");
    EXPECT_EQ(Entry("\"V\"=dword:00000001", ""), "4:01000000");
    Put("\n[hkey_local_machine\\software\\VELMONT\\zinc]\n\"V\"=dword:00000003");
    EXPECT_EQ(Query("V"), "4:03000000");
}

TEST_F(Registry, TheFileMayBeInUtf16OrWithAMarkOrInAnsi) {
    const std::string text = std::string(kHead) + kSection + "\"V\"=\"1\u00E4\"\r\n";
    std::string utf16 = "\xFF\xFE";
    for (const WideChar unit : Utf8ToWide(text)) {
        utf16 += static_cast<char>(unit & 0xFF);
        utf16 += static_cast<char>(unit >> 8);
    }
    Put(utf16);
    EXPECT_EQ(Query("V"), "1:31e400");
    Put(utf16 + "\"");  // half a unit
    EXPECT_EQ(Query("V"), "1:31e400");
    Put("\xEF\xBB\xBF" + text);
    EXPECT_EQ(Query("V"), "1:31e400");
    Put(text);
    EXPECT_EQ(Query("V"), "1:31e400");
    Put("REGEDIT4\r\n\r\n"s + kSection + "\"V\"=\"1\xE4\"\r\n\"W\"=hex(2):31,32,00\r\n");
    EXPECT_EQ(Query("V"), "1:31e400");
    EXPECT_EQ(Query("W"), "2:313200");
}

TEST_F(Registry, OnlyTheKeyItselfCounts) {
    Put(kHead + "\"V\"=dword:1\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont]\r\n\"V\"=dword:2\r\n"s +
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc\\More]\r\n\"V\"=dword:3\r\n" +
        "[HKEY_CURRENT_USER\\SOFTWARE\\Velmont\\Zinc]\r\n\"V\"=dword:4\r\n" +
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Velmont\\Zinc]\r\n\"V\"=dword:5\r\n");
    Platform::RegistryKey key;
    EXPECT_FALSE(key.Open(kKey));
    EXPECT_EQ(Query("V"), "");
}

TEST_F(Registry, LaterEntriesWinAndDeletionsDelete) {
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n\"V\"=dword:2"), "4:02000000");
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n\"V\"=-"), "");
    EXPECT_EQ(Entry("\"V\"=-\r\n\"V\"=dword:1"), "4:01000000");
    const std::string section = kSection;
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc]"), "");
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont]"), "");
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velm]"), "4:01000000");
    EXPECT_EQ(Entry("\"V\"=dword:1\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc]\r\n" +
                    section + "\"V\"=dword:2"),
              "4:02000000");
}

TEST_F(Registry, WhatIsBrokenIsPassedOver) {
    for (const char* entry : {"\"V\"",
                              "\"V\"=",
                              "\"V",
                              "V=dword:1",
                              "\"V\"=dword:",
                              "\"V\"=dword:xyz",
                              "\"V\"=dword:123456789",
                              "\"V\"=dword:1 2",
                              "\"V\"=\"open",
                              "\"V\"=\"1\"2",
                              "\"V\"=hex(b:01",
                              "\"V\"=hex():01",
                              "\"V\"=hex(b)01",
                              "\"V\"=hex:0g",
                              "\"V\"=hex:01 02",
                              "\"V\"=hex(1):31",
                              "\"V\"=qword:1",
                              "\"V\"=1",
                              "@=dword:1",
                              ";\"V\"=dword:1",
                              "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmont\\Zinc",
                              "\"V\"=\\",
                              "\"V\"=hex:01,\\",
                              "\\",
                              "[]",
                              "[",
                              "[-]",
                              "]",
                              "\"\"=\"\"",
                              "\"V\"=\"\\"}) {
        const std::string got = Entry(entry);
        EXPECT_TRUE(got.empty() || got == "3:01") << entry << " gave " << got;
        // Nor does it spoil what stands before it and, but for a joined line, behind it.
        EXPECT_EQ(Entry("\"V\"=dword:9\r\n"s + entry), got == "3:01" ? got : "4:09000000") << entry;
        EXPECT_EQ(Entry(entry + "\r\n\r\n"s + kSection + "\"V\"=dword:9"), "4:09000000") << entry;
    }
}

TEST_F(Registry, LongLinesAndLargeValuesArePassedOver) {
    EXPECT_EQ(Entry("\"V\"=\"" + std::string(5000, 'x') + "\"\r\n\"W\"=dword:1"), "");
    EXPECT_EQ(Query("W"), "4:01000000");
    EXPECT_EQ(Entry("\"V\"=\"" + std::string(1023, '7') + "\"").size(), 2 + 2 * 1024U);
    EXPECT_EQ(Entry("\"V\"=\"" + std::string(1024, '7') + "\""), "");
    std::string bytes = "00";
    for (int i = 1; i < 1024; ++i) bytes += ",00";
    EXPECT_EQ(Entry("\"V\"=hex:" + bytes).size(), 2 + 2 * 1024U);
    EXPECT_EQ(Entry("\"V\"=hex:" + bytes + ",00"), "");
    EXPECT_EQ(Entry(std::string(10000, '\\') + "\r\n\"V\"=dword:1"), "4:01000000");
}

TEST_F(Registry, AnyBytesAreSurvived) {
    std::uint32_t state = 1;
    const std::string pieces[] = {"[",
                                  "]",
                                  "\"",
                                  "=",
                                  "dword:",
                                  "hex(",
                                  ")",
                                  ":",
                                  ",",
                                  "\\",
                                  "\r\n",
                                  "V",
                                  "\xFF",
                                  "\xFE",
                                  "\n",
                                  "-",
                                  ";",
                                  "0",
                                  std::string(1, '\0'),
                                  kSection,
                                  "\"V\"=",
                                  "hex:"};
    for (int round = 0; round < 500; ++round) {
        std::string content = round % 3 == 0 ? "\xFF\xFE" : kSection;
        for (int i = 0; i < 100; ++i) {
            state = state * 1664525 + 1013904223;
            content += pieces[(state >> 16) % std::size(pieces)];
        }
        Put(content);
        const std::string got = Query("V");
        EXPECT_LE(got.size(), 2 * 1024U + 12);
    }
}

TEST_F(Registry, WithoutAFileThereIsNoKey) {
    Platform::RegistryKey key;
    setenv("ZINC_REGISTRY", (folder + "/none").c_str(), 1);
    EXPECT_FALSE(key.Open(kKey));
    setenv("ZINC_REGISTRY", folder.c_str(), 1);
    EXPECT_FALSE(key.Open(kKey));
    const std::string fifo = folder + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    setenv("ZINC_REGISTRY", fifo.c_str(), 1);
    EXPECT_FALSE(key.Open(kKey));
    setenv("ZINC_REGISTRY", "/dev/zero", 1);
    EXPECT_FALSE(key.Open(kKey));
    Put(kSection);
    EXPECT_TRUE(key.Open(kKey));
    EXPECT_FALSE(key.Open(std::string(500, 'x').c_str()));
    Platform::RegistryValue value;
    EXPECT_FALSE(key.Query("V", value));
}

TEST_F(Registry, TheEnvironmentIsExpanded) {
    setenv("ZINC_TEST_NAME", "value", 1);
    const auto expand = [](const char* text) {
        char target[32];
        const std::size_t size = Platform::ExpandEnvironment(text, target, sizeof target);
        EXPECT_EQ(target[size], 0);
        return std::string(target, size);
    };
    EXPECT_EQ(expand(""), "");
    EXPECT_EQ(expand("plain"), "plain");
    EXPECT_EQ(expand("%ZINC_TEST_NAME%"), "value");
    EXPECT_EQ(expand("a%ZINC_TEST_NAME%b%ZINC_TEST_NAME%"), "avaluebvalue");
    EXPECT_EQ(expand("%ZINC_TEST_NONE%"), "%ZINC_TEST_NONE%");
    EXPECT_EQ(expand("%ZINC_TEST_NONE%ZINC_TEST_NAME%"), "%ZINC_TEST_NONEvalue");
    EXPECT_EQ(expand("100%"), "100%");
    EXPECT_EQ(expand("%%"), "%%");
    EXPECT_EQ(expand("%ZINC_TEST_NAME%%ZINC_TEST_NAME%%ZINC_TEST_NAME%%ZINC_TEST_NAME%"
                     "%ZINC_TEST_NAME%%ZINC_TEST_NAME%"),
              "valuevaluevaluevaluevaluevalue");
    EXPECT_EQ(expand("%ZINC_TEST_NAME%%ZINC_TEST_NAME%%ZINC_TEST_NAME%%ZINC_TEST_NAME%"
                     "%ZINC_TEST_NAME%%ZINC_TEST_NAME%xx"),
              "");
    unsetenv("ZINC_TEST_NAME");
}

// ---- Other services -----------------------------------------------------------------------------

TEST_F(Diagnostics, UpperCase) {
    const auto upper = [](WideString text) {
        Platform::UpperCase(text.data(), text.size());
        return text;
    };
    EXPECT_EQ(upper(TMX_WIDE("abcxyz{`AZ09")), WideString(TMX_WIDE("ABCXYZ{`AZ09")));
    EXPECT_EQ(upper(TMX_WIDE("\u00E4\u00FF\u0434\u03B1\u03BC\u03C3")),
              WideString(TMX_WIDE("\u00C4\u0178\u0414\u0391\u039C\u03A3")));
    // No letter of another alphabet becomes one of ours.
    EXPECT_EQ(upper(TMX_WIDE("\u017F\u0131\u00DF")), WideString(TMX_WIDE("\u017F\u0131\u1E9E")));
    EXPECT_EQ(upper({}), WideString());
}

TEST_F(Diagnostics, TheExecutableHasAPath) {
    char narrow[4096];
    EXPECT_EQ(std::string(narrow, Platform::ExecutablePath(narrow, sizeof narrow)), executable);
    WideChar wide[4096];
    EXPECT_EQ(WideToUtf8({wide, Platform::ExecutablePath(wide, 4096)}), executable);
    EXPECT_EQ(Platform::ExecutablePath(narrow, 5), 4U);
    EXPECT_EQ(std::string(narrow), executable.substr(0, 4));
    EXPECT_EQ(Platform::ExecutablePath(narrow, 0), 0U);
    EXPECT_EQ(Platform::ExecutablePath(wide, 0), 0U);
}

TEST_F(Diagnostics, FilesForTheOwnerAlone) {
    const std::string path = folder + "/file";
    const mode_t mask = umask(0777);
    Platform::OutputFile file;
    EXPECT_TRUE(file.Open(path.c_str(), Platform::OutputFile::Access::OwnerOnly));
    umask(mask);
    EXPECT_TRUE(file.Write("text", 4));
    file.Close();
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(ReadFile(path), "text");
    // What is there already is left alone, and links are not followed.
    EXPECT_FALSE(file.Open(path.c_str(), Platform::OutputFile::Access::OwnerOnly));
    const std::string link = folder + "/link";
    std::filesystem::create_symlink(folder + "/target", link);
    EXPECT_TRUE(Platform::FileExists(link.c_str()));
    EXPECT_FALSE(file.Open(link.c_str(), Platform::OutputFile::Access::OwnerOnly));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.Write("text", 4));
    EXPECT_TRUE(Platform::FileExists(path.c_str()));
    EXPECT_FALSE(Platform::FileExists(folder.c_str()));
    EXPECT_TRUE(Platform::RemoveFile(path.c_str()));
    EXPECT_FALSE(Platform::RemoveFile(path.c_str()));
    EXPECT_FALSE(Platform::FileExists(path.c_str()));
}

}  // namespace
}  // namespace Zinc
