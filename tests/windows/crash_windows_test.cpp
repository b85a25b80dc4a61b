// Programs that really crash, the registry that they obey, and the dumps that they leave.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "windows/child_process.h"
#include "windows/mini_dump.h"

namespace tmxtest {
namespace {

constexpr char kKey[] = "SOFTWARE\\Velmont\\Zinc";
constexpr uint32_t kCrashed = 0xFFFFFFFF;

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class CrashTest : public testing::Test {
  protected:
    void SetUp() override {
        char folder[MAX_PATH];
        char name[MAX_PATH];
        ASSERT_NE(GetTempPathA(MAX_PATH, folder), 0u);
        ASSERT_NE(GetTempFileNameA(folder, "tmx", 0, name), 0u);
        DeleteFileA(name);
        ASSERT_TRUE(CreateDirectoryA(name, nullptr));
        folder_ = name;
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kKey);
    }
    void TearDown() override {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kKey);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    // The child under another name: dumps are told of by the executable's name.
    std::string Program(const std::string& name) const {
        const std::string path = folder_ + "\\" + name;
        CopyFileA(TMX_CHILD, path.c_str(), FALSE);
        return path;
    }

    // A dump takes its time: where it doesn't count, a folder of its name keeps it from being
    // written.
    static void WithoutFullDump(const std::string& program) {
        ASSERT_TRUE(CreateDirectoryA((program + ".FullDump.dmp").c_str(), nullptr));
    }

    static void WithoutDumps(const std::string& program) {
        WithoutFullDump(program);
        ASSERT_TRUE(CreateDirectoryA((program + ".MiniDump.dmp").c_str(), nullptr));
    }

    // Runs it to its crash. The number of the thread that crashes is told by itself.
    Outcome Crash(const std::string& program, const char* work, bool onMainThread = true) {
        const Outcome outcome = RunProgram(program, {TMX_LIBRARY, work}, Listener::Monitor);
        EXPECT_TRUE(outcome.started) << program;
        EXPECT_EQ(outcome.exitCode, kCrashed) << work;
        if (onMainThread && outcome.output.starts_with("thread "))
            thread_ = static_cast<uint32_t>(
                std::strtoul(outcome.output.c_str() + std::size("thread ") - 1, nullptr, 10));
        return outcome;
    }

    static bool Told(const Outcome& outcome, const std::string& text) {
        return std::find(outcome.debug.begin(), outcome.debug.end(), text) != outcome.debug.end();
    }

    std::vector<std::string> Dumps() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_))
            if (entry.path().extension() == ".dmp")
                names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    template <typename Value>
    static void SetValue(const char* name, DWORD type, const Value& value, DWORD size) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0,
                                  KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(&value), size),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }

    std::string folder_;
    uint32_t thread_ = 0;
};

const std::string kEnabled = "Enabled minidumps for application";
const std::string kDisabled = "Disabled minidumps due to registry key SOFTWARE";

// ---- What is told -------------------------------------------------------------------------------

TEST_F(CrashTest, TheLinesOfAnAccessViolationInTheirOrder) {
    const std::string program = Program("TmxServer.exe");
    const Outcome outcome = Crash(program, "WriteToNull");
    const std::string mini = program + ".MiniDump.dmp";
    const std::string full = program + ".FullDump.dmp";
    std::vector<std::string> lines = outcome.debug;
    ASSERT_GE(lines.size(), 7u);
    const std::string first = "ERROR [BUG," + std::to_string(thread_) +
                              "] Win64 exception catched: STATUS_ACCESS_VIOLATION\r\n"
                              "ExceptionCode:   ";
    EXPECT_EQ(lines[0].substr(0, first.size()), first);
    EXPECT_NE(lines[0].find("\r\nNumberParameters:2\r\nExit process.....\r\n"), std::string::npos);
    EXPECT_EQ(lines[1], "Dump file name: " + mini);
    EXPECT_EQ(lines[2], kEnabled);
    EXPECT_EQ(lines[3], "Written mini dump to " + mini);
    // The dialogs' own lines come from other threads.
    const auto is = [](const char* text) {
        return [text](const std::string& line) { return line.find(text) != std::string::npos; };
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), is("Termination function called")),
                lines.end());
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[4], "Dump file name: " + full);
    EXPECT_EQ(lines[5], "Written mini dump to " + full);
    EXPECT_EQ(lines[6], "ERROR [MINIDUMP," + std::to_string(thread_) +
                            "] StructuredExceptionHandler called,\r\nmini dump written,\r\n"
                            "leaving application.\r\n");
    EXPECT_EQ(Dumps(), (std::vector<std::string>{"TmxServer.exe.FullDump.dmp",
                                                 "TmxServer.exe.MiniDump.dmp"}));
}

TEST_F(CrashTest, EveryKindHasItsName) {
    const std::pair<const char*, const char*> kinds[] = {
        {"DivideByZero", "STATUS_INTEGER_DIVIDE_BY_ZERO"},
        {"RunIllegalInstruction", "STATUS_ILLEGAL_INSTRUCTION"},
        {"RaiseUserException", "USER_EXCEPTION_MINI_DUMP"},
        {"RaiseUnknownException", "UKNOWN EXCEPTION"},
    };
    const std::string program = Program("Q-server.exe");
    WithoutDumps(program);
    for (const auto& [work, name] : kinds) {
        const Outcome outcome = Crash(program, work);
        ASSERT_FALSE(outcome.debug.empty()) << work;
        EXPECT_NE(outcome.debug[0].find(std::string("Win64 exception catched: ") + name + "\r\n"),
                  std::string::npos)
            << outcome.debug[0];
    }
}

TEST_F(CrashTest, AStackOverflowEndsTheProcessAtOnce) {
    const Outcome outcome = Crash(Program("TmxServer.exe"), "OverflowStack");
    EXPECT_EQ(outcome.debug, std::vector<std::string>{});
    EXPECT_EQ(Dumps(), std::vector<std::string>{});
}

TEST_F(CrashTest, ALockedHeapDoesNotHoldItUp) {
    const std::string program = Program("TmxServer.exe");
    WithoutFullDump(program);
    const Outcome outcome = Crash(program, "CrashWithLockedHeap", false);
    ASSERT_FALSE(outcome.debug.empty());
    EXPECT_NE(outcome.debug[0].find("STATUS_ACCESS_VIOLATION"), std::string::npos);
    EXPECT_NE(outcome.debug.back().find("leaving application"), std::string::npos);
}

// ---- The dumps ----------------------------------------------------------------------------------

TEST_F(CrashTest, TheMiniDumpHoldsTheExceptionAndAllThreads) {
    const std::string program = Program("TmxServer.exe");
    WithoutFullDump(program);
    Crash(program, "WriteToNull");
    const auto facts = ReadMiniDump(Contents(program + ".MiniDump.dmp"));
    ASSERT_TRUE(facts.has_value());
    EXPECT_EQ(facts->flags, 0u);
    EXPECT_EQ(facts->exceptionCode, 0xC0000005u);
    EXPECT_EQ(facts->exceptionThread, thread_);
    EXPECT_GE(facts->contextSize, sizeof(CONTEXT) / 2);
    // The one that crashed and its two bystanders.
    EXPECT_GE(facts->threads.size(), 3u);
    EXPECT_EQ(std::count(facts->threads.begin(), facts->threads.end(), thread_), 1);
    const auto& modules = facts->modules;
    EXPECT_EQ(std::count(modules.begin(), modules.end(), "tmxactions.dll"), 1);
    // It happened in the program's own code.
    ASSERT_NE(facts->moduleOfException, 0u);
    EXPECT_EQ(modules[facts->moduleOfException - 1], "TmxServer.exe");
}

TEST_F(CrashTest, TheFullDumpIsOfItsType) {
    const std::string program = Program("TmxServer.exe");
    Crash(program, "WriteToNull");
    const auto facts = ReadMiniDump(Contents(program + ".FullDump.dmp"));
    ASSERT_TRUE(facts.has_value());
    EXPECT_EQ(facts->flags, 871u);
    EXPECT_EQ(facts->exceptionCode, 0xC0000005u);
    EXPECT_EQ(facts->exceptionThread, thread_);
    EXPECT_GE(facts->threads.size(), 3u);
}

TEST_F(CrashTest, NamesFollowEachOtherToTheEleventhAndStartAgain) {
    const std::string program = Program("TmxServer.exe");
    const auto nameOf = [&](int n, const char* kind) {
        return program + (n == 1 ? "" : "#" + std::to_string(n)) + kind;
    };
    for (int n = 1; n <= 10; ++n)
        for (const char* kind : {".MiniDump.dmp", ".FullDump.dmp"})
            std::ofstream(nameOf(n, kind)) << "old";
    const Outcome last = Crash(program, "WriteToNull");
    EXPECT_TRUE(Told(last, "Dump file name: " + nameOf(11, ".MiniDump.dmp")));
    EXPECT_TRUE(Told(last, "Written mini dump to " + nameOf(11, ".FullDump.dmp")));
    EXPECT_EQ(Dumps().size(), 22u);
    EXPECT_EQ(Contents(nameOf(1, ".MiniDump.dmp")), "old");

    const Outcome again = Crash(program, "WriteToNull");
    EXPECT_TRUE(Told(again, "Written mini dump to " + nameOf(1, ".MiniDump.dmp")));
    EXPECT_EQ(Dumps(), (std::vector<std::string>{"TmxServer.exe.FullDump.dmp",
                                                 "TmxServer.exe.MiniDump.dmp"}));
    EXPECT_TRUE(ReadMiniDump(Contents(nameOf(1, ".MiniDump.dmp"))).has_value());
}

// ---- The registry -------------------------------------------------------------------------------

struct Value {
    DWORD type;
    std::string bytes;
    bool isOne;
};

const Value kValues[] = {
    {REG_DWORD, std::string("\1\0\0\0", 4), true},
    {REG_DWORD, std::string("\0\0\0\0", 4), false},
    {REG_DWORD_BIG_ENDIAN, std::string("\0\0\0\1", 4), true},
    {REG_QWORD, std::string("\0\0\0\x80\0\0\0\0", 8), true},
    {REG_QWORD, std::string("\1\0\0\0\1\0\0\0", 8), false},
    {REG_SZ, std::string("  17\0", 5), true},
    {REG_SZ, std::string("0\0", 2), false},
    {REG_SZ, std::string("1x\0", 3), false},
    {REG_EXPAND_SZ, std::string("%TMX_TEST_ONE%\0", 15), true},
    {REG_EXPAND_SZ, std::string("%TMX_TEST_NONE%\0", 16), false},
    {REG_BINARY, std::string("\1\0\0\0", 4), false},
};

TEST_F(CrashTest, OwnProgramsObeyDisableMinidumpsInEveryType) {
    SetEnvironmentVariableA("TMX_TEST_ONE", "1");
    const std::string program = Program("TmxServer.exe");
    WithoutDumps(program);
    for (const Value& value : kValues) {
        SetValue("DisableMinidumps", value.type, value.bytes[0],
                 static_cast<DWORD>(value.bytes.size()));
        const Outcome outcome = Crash(program, "WriteToNull");
        EXPECT_EQ(Told(outcome, kDisabled), value.isOne) << value.type << value.bytes;
        EXPECT_EQ(Told(outcome, kEnabled), !value.isOne) << value.type << value.bytes;
    }
}

TEST_F(CrashTest, OtherProgramsObeyEnableMinidumps) {
    const std::string program = Program("Other.exe");
    const std::string told =
        "] Enabled minidumps due to registry key "
        "SOFTWARE\\Velmont\\Zinc\\EnableMinidumps != 0 for application d: " +
        program + "\r\n";
    const auto enabled = [&](const Outcome& outcome) {
        return std::count_if(outcome.debug.begin(), outcome.debug.end(),
                             [&](const std::string& line) { return line.ends_with(told); });
    };
    // Without it the dumps are written, and nothing is told of them.
    Outcome outcome = Crash(program, "WriteToNull");
    EXPECT_EQ(enabled(outcome), 0);
    EXPECT_FALSE(Told(outcome, "Written mini dump to " + program + ".MiniDump.dmp"));
    EXPECT_EQ(Dumps().size(), 2u);

    WithoutFullDump(program + "#2");
    SetValue("EnableMinidumps", REG_DWORD, "\1\0\0", 4);
    outcome = Crash(program, "WriteToNull");
    EXPECT_EQ(enabled(outcome), 1);
    EXPECT_TRUE(Told(outcome, "Written mini dump to " + program + "#2.MiniDump.dmp"));
}

TEST_F(CrashTest, ViewersAreLeftOut) {
    const std::string program = Program("TMXView.exe");
    WithoutFullDump(program);
    const Outcome outcome = Crash(program, "WriteToNull");
    EXPECT_TRUE(Told(outcome, "Mini dump generation disabled due to matching filter\r\n"));
    EXPECT_FALSE(Told(outcome, "Written mini dump to " + program + ".MiniDump.dmp"));
    EXPECT_TRUE(ReadMiniDump(Contents(program + ".MiniDump.dmp")).has_value());
}

}  // namespace
}  // namespace tmxtest
