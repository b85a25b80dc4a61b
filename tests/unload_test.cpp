// The library loaded, unloaded and loaded again by a program that isn't linked with it, and what it
// says when the process ends.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <tmxactions/tmxactions.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/live_blocks.h"

namespace tmxtest {
namespace {

constexpr char kLeftOpen[] = "TMXACTIONS.DLL: some actions/messages are not destroyed!\n";

// ---- The library --------------------------------------------------------------------------------

// The functions that are used here, as one load of the library has them.
struct Library {
    void* module = nullptr;
    decltype(&TmxAct_GetLastError) getLastError = nullptr;
    decltype(&TmxAct_GetNumberOfOpenHandles) openHandles = nullptr;
    decltype(&TmxAct_CloseHandle) close = nullptr;
    decltype(&TmxAct_CreateCameraOn) createCameraOn = nullptr;
    decltype(&TmxAct_DecodeCameraOn) decodeCameraOn = nullptr;
    decltype(&TmxAct_DecodeSystemStarted) decodeSystemStarted = nullptr;
    decltype(&TmxAct_CreateFromTextBufferA) createFromText = nullptr;
    decltype(&TmxAct_StoreToTextBufferW) storeToText = nullptr;
    decltype(&TmxAct_SetProperty) setProperty = nullptr;
    decltype(&TmxAct_GetActionInfo) getActionInfo = nullptr;
    decltype(&TmxAct_SetActionPlainInfo) setActionPlainInfo = nullptr;

    bool Load() {
        module = dlopen(TMX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            return false;
        }
        return Find(getLastError, "TmxAct_GetLastError") &&
               Find(openHandles, "TmxAct_GetNumberOfOpenHandles") &&
               Find(close, "TmxAct_CloseHandle") && Find(createCameraOn, "TmxAct_CreateCameraOn") &&
               Find(decodeCameraOn, "TmxAct_DecodeCameraOn") &&
               Find(decodeSystemStarted, "TmxAct_DecodeSystemStarted") &&
               Find(createFromText, "TmxAct_CreateFromTextBufferA") &&
               Find(storeToText, "TmxAct_StoreToTextBufferW") &&
               Find(setProperty, "TmxAct_SetProperty") &&
               Find(getActionInfo, "TmxAct_GetActionInfo") &&
               Find(setActionPlainInfo, "TmxAct_SetActionPlainInfo");
    }

    bool Unload() { return dlclose(module) == 0; }

    TmxHandle MakeCameraOn() const {
        const TmxObjectRef camera{1, u"a camera with a name too long to lie inside the object", 2,
                                  0};
        return createCameraOn(&camera);
    }

  private:
    template <typename Function>
    bool Find(Function& function, const char* name) {
        function = reinterpret_cast<Function>(dlsym(module, name));
        return function != nullptr;
    }
};

bool IsLoaded() {
    void* module = dlopen(TMX_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (module != nullptr) dlclose(module);
    return module != nullptr;
}

// Makes, stores, fails, reads the failure and closes. Returns whether all went as it should.
bool Use(const Library& library) {
    // A thread that this load of the library hasn't seen has no record yet; one that it has seen
    // was left with a success.
    TmxErrorInfo info{};
    if (library.getLastError(&info)) return false;
    const TmxHandle handle = library.MakeCameraOn();
    if (handle == nullptr) return false;
    TmxWChar text[200];
    uint32_t written = 0;
    bool well = library.storeToText(handle, text, 200, false, false, &written) &&
                std::u16string_view(text).starts_with(u"CameraOn ({ 1, 2, \"a camera");
    well = well && library.setProperty(handle, u"name", u"a value");
    TmxDateTime time{};
    well = well && !library.decodeSystemStarted(handle, &time) && library.getLastError(&info) &&
           std::string_view(info.message) == "Wrong decode method";
    TmxObjectRef camera{};
    well = well && library.decodeCameraOn(handle, &camera) && camera.number == 2;
    const TmxHandle read = library.createFromText("CameraOn (5)", TMX_MEASURE_LENGTH,
                                                  TMX_ANY_MESSAGE_CLASS, false, nullptr);
    return library.close(handle) && read != nullptr && library.close(read) && well;
}

// Threads that use the library when they are told to, and end when they are told to.
class Workers {
  public:
    explicit Workers(unsigned count) : steps_(count + 1) {
        for (unsigned i = 0; i < count; ++i) {
            threads_.emplace_back([this] {
                while (true) {
                    steps_.arrive_and_wait();
                    const Library* library = library_;
                    if (library == nullptr) return;
                    if (!Use(*library)) failures_.fetch_add(1);
                    steps_.arrive_and_wait();
                }
            });
        }
    }
    ~Workers() {
        library_ = nullptr;
        steps_.arrive_and_wait();
        for (std::thread& thread : threads_) thread.join();
    }

    // All use the library once; they live on.
    void UseOnce(const Library& library) {
        library_ = &library;
        steps_.arrive_and_wait();
        steps_.arrive_and_wait();
    }
    unsigned Failures() const { return failures_.load(); }

  private:
    std::barrier<> steps_;
    const Library* library_ = nullptr;
    std::atomic<unsigned> failures_{0};
    std::vector<std::thread> threads_;
};

TEST(UnloadTest, UnloadedAndLoadedAgain) {
    constexpr int kLoads = 20;
    // These live through all loads; each load finds them as threads that it hasn't seen.
    Workers lasting(4);
    int64_t blocks = 0;
    for (int load = 0; load < kLoads; ++load) {
        SCOPED_TRACE(load);
        ASSERT_FALSE(IsLoaded());
        {
            Library library;
            ASSERT_TRUE(library.Load());
            EXPECT_EQ(0u, library.openHandles());
            // These have used this load, and end when it is gone.
            Workers passing(4);
            for (int i = 0; i < 3; ++i) {
                lasting.UseOnce(library);
                passing.UseOnce(library);
                EXPECT_TRUE(Use(library));
            }
            // One ends while the library is there.
            std::thread([&] { EXPECT_TRUE(Use(library)); }).join();
            // What was set is gone with the load.
            TmxActionInfo info{};
            ASSERT_TRUE(library.getActionInfo(&info, 122));
            EXPECT_EQ(std::u16string_view(info.nameW), u"CameraOn");
            EXPECT_NE(std::u16string_view(info.plainNameW), u"a plain name of this load");
            info.plainNameW = u"a plain name of this load";
            EXPECT_TRUE(library.setActionPlainInfo(&info));
            EXPECT_EQ(0u, library.openHandles());
            ASSERT_TRUE(library.Unload());
            ASSERT_FALSE(IsLoaded());
            EXPECT_EQ(0u, passing.Failures());
        }
        // The records of all threads, the living ones' too, went with the library.
        if (load == 0) blocks = liveBlocks.load();
        EXPECT_EQ(blocks, liveBlocks.load());
    }
    EXPECT_EQ(0u, lasting.Failures());
}

// Nothing of a load is left in the process.
TEST(UnloadTest, GivesBackAllMemory) {
    {
        Library library;
        ASSERT_TRUE(library.Load());
        ASSERT_TRUE(library.Unload());
    }
    const int64_t blocks = liveBlocks.load();
    Library library;
    ASSERT_TRUE(library.Load());
    EXPECT_TRUE(Use(library));
    ASSERT_TRUE(library.Unload());
    EXPECT_EQ(blocks, liveBlocks.load());
}

// Two users of one load: it stays until the second lets go.
TEST(UnloadTest, StaysWhileItIsUsed) {
    Library first;
    Library second;
    ASSERT_TRUE(first.Load());
    ASSERT_TRUE(second.Load());
    const TmxHandle handle = first.MakeCameraOn();
    ASSERT_TRUE(first.Unload());
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(1u, second.openHandles());
    EXPECT_TRUE(second.close(handle));
    EXPECT_TRUE(Use(second));
    ASSERT_TRUE(second.Unload());
    EXPECT_FALSE(IsLoaded());
}

// ---- What a process says at its end -------------------------------------------------------------

// Reachable until the very end, so that what stays open on purpose is no leak; volatile, because it
// is never read.
TmxHandle volatile leftOpen = nullptr;
Library lastLibrary;

// What a child process does; returns its exit status.
using Child = int (*)();

int UseAndClose() { return lastLibrary.Load() && Use(lastLibrary) ? 0 : 1; }

int LeaveOneOpen() {
    if (UseAndClose() != 0) return 1;
    leftOpen = lastLibrary.MakeCameraOn();
    return lastLibrary.openHandles() == 1 ? 0 : 1;
}

int LeaveOneOpenAndUnload() { return LeaveOneOpen() == 0 && lastLibrary.Unload() ? 0 : 1; }

int UnloadAndLoadAgain() {
    // The second load has no open handles of its own.
    return LeaveOneOpenAndUnload() == 0 && UseAndClose() == 0 ? 0 : 1;
}

int UseAndUnload() { return UseAndClose() == 0 && lastLibrary.Unload() ? 0 : 1; }

// Ends while other threads, with records, are still there.
int LeaveThreadsBehind() {
    if (!lastLibrary.Load()) return 1;
    static std::barrier<> used(5);
    for (int i = 0; i < 4; ++i) {
        std::thread([] {
            if (!Use(lastLibrary)) std::abort();
            used.arrive_and_wait();
            while (true) pause();
        }).detach();
    }
    used.arrive_and_wait();
    leftOpen = lastLibrary.MakeCameraOn();
    return 0;
}

const std::map<std::string_view, Child>& Children() {
    static const std::map<std::string_view, Child> children = {
        {"UseAndClose", &UseAndClose},
        {"LeaveOneOpen", &LeaveOneOpen},
        {"LeaveOneOpenAndUnload", &LeaveOneOpenAndUnload},
        {"UnloadAndLoadAgain", &UnloadAndLoadAgain},
        {"UseAndUnload", &UseAndUnload},
        {"LeaveThreadsBehind", &LeaveThreadsBehind},
    };
    return children;
}

// Runs this program as the given child. Returns what came out of its standard error stream; the
// test fails where the child did.
std::string ErrorsOf(const char* child, const char* debugOutput) {
    int ends[2];
    if (pipe(ends) != 0) return "no pipe";
    const pid_t process = fork();
    if (process == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        if (debugOutput != nullptr) {
            setenv("ZINC_DEBUG_OUTPUT", debugOutput, 1);
        } else {
            unsetenv("ZINC_DEBUG_OUTPUT");
        }
        execl("/proc/self/exe", "unload_test", "--child", child, static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string text;
    char buffer[1024];
    for (ssize_t size; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(size));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(process, waitpid(process, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << child << ": " << text;
    EXPECT_EQ(0, WEXITSTATUS(status)) << child << ": " << text;
    return text;
}

TEST(UnloadTest, TellsOfOpenHandlesOnce) {
    EXPECT_EQ(kLeftOpen, ErrorsOf("LeaveOneOpen", "stderr"));
    EXPECT_EQ(kLeftOpen, ErrorsOf("LeaveOneOpenAndUnload", "stderr"));
    EXPECT_EQ(kLeftOpen, ErrorsOf("UnloadAndLoadAgain", "stderr"));
    EXPECT_EQ(kLeftOpen, ErrorsOf("LeaveThreadsBehind", "stderr"));
}

TEST(UnloadTest, IsSilentOtherwise) {
    EXPECT_EQ("", ErrorsOf("UseAndClose", "stderr"));
    EXPECT_EQ("", ErrorsOf("UseAndUnload", "stderr"));
    // Nobody listens.
    EXPECT_EQ("", ErrorsOf("LeaveOneOpen", nullptr));
    EXPECT_EQ("", ErrorsOf("LeaveOneOpenAndUnload", nullptr));
}

}  // namespace
}  // namespace tmxtest

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0) {
        const auto child = tmxtest::Children().find(argv[2]);
        return child == tmxtest::Children().end() ? 2 : child->second();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
