// The DLL as programs meet it that were built elsewhere: loaded and unloaded, with threads, and
// what a debugger hears of it.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "windows/child_process.h"

namespace tmxtest {
namespace {

const std::string kLeftOpen = "TMXACTIONS.DLL: some actions/messages are not destroyed!\n";

Outcome Child(const char* work, Listener listener = Listener::Debugger) {
    const Outcome outcome = RunProgram(TMX_CHILD, {TMX_LIBRARY, work}, listener);
    EXPECT_TRUE(outcome.started) << GetLastError();
    EXPECT_EQ(outcome.exitCode, 0u) << work << ": " << outcome.output;
    return outcome;
}

// The system's loader may tell a debugger things of its own.
std::ptrdiff_t LinesOfTheLibrary(const Outcome& outcome) {
    return std::count_if(outcome.debug.begin(), outcome.debug.end(), [](const std::string& text) {
        return text.find("TMXACTIONS") != std::string::npos;
    });
}

TEST(ModuleTest, IsLoadedByAProgramInC) {
    EXPECT_EQ(LinesOfTheLibrary(Child("UseAndClose")), 0);
    EXPECT_EQ(LinesOfTheLibrary(Child("UseAndUnload")), 0);
}

TEST(ModuleTest, TellsADebuggerOfOpenHandlesOnce) {
    for (const char* work : {"LeaveOneOpen", "LeaveOneOpenAndUnload", "LeaveThreadsBehind"}) {
        const Outcome outcome = Child(work);
        EXPECT_EQ(LinesOfTheLibrary(outcome), 1) << work;
        EXPECT_EQ(std::count(outcome.debug.begin(), outcome.debug.end(), kLeftOpen), 1) << work;
    }
}

TEST(ModuleTest, TellsAMonitorOfOpenHandlesOnce) {
    EXPECT_EQ(Child("LeaveOneOpen", Listener::Monitor).debug, std::vector<std::string>{kLeftOpen});
    EXPECT_EQ(Child("UseAndClose", Listener::Monitor).debug, std::vector<std::string>{});
}

TEST(ModuleTest, AThreadThatEndsGivesItsRecordBack) { Child("EndThreads", Listener::Monitor); }

TEST(ModuleTest, UnloadedAndLoadedAgainWithThreadsThatLiveOn) {
    Child("Reload", Listener::Monitor);
}

TEST(ModuleTest, TheCrashFilterGoesWithTheModule) {
    Child("ReplaceFilter", Listener::Monitor);
    Child("KeepLaterFilter", Listener::Monitor);
}

}  // namespace
}  // namespace tmxtest
