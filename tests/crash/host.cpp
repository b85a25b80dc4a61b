// A program that has handlers of its own before it loads the library, in the way that its first
// argument names.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <tmxactions/functions.h>

extern "C" {

[[gnu::noinline]] void write_to(volatile int* place) { *place = 1; }

[[gnu::noinline]] void write_to_null() {
    volatile int* volatile nowhere = nullptr;
    write_to(nowhere);
}
}

namespace {

constexpr int kWrong = 90;  // something isn't as it should be: the line is told

#define REQUIRE(condition)                                          \
    do {                                                            \
        if (!(condition)) {                                         \
            std::printf("line %d: not %s\n", __LINE__, #condition); \
            std::fflush(stdout);                                    \
            _exit(kWrong);                                          \
        }                                                           \
    } while (false)

// ---- The library --------------------------------------------------------------------------------

void* module = nullptr;

void Load() {
    module = dlopen(TMX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    REQUIRE(module != nullptr);
}

void Unload() {
    REQUIRE(dlclose(module) == 0);
    REQUIRE(dlopen(TMX_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD) == nullptr);
}

/// A call that the library keeps a record of for the thread.
void Call() {
    const auto create = reinterpret_cast<decltype(&TmxAct_CreateFromTextBufferA)>(
        dlsym(module, "TmxAct_CreateFromTextBufferA"));
    REQUIRE(create != nullptr);
    create("", 0, 1, false, nullptr);
}

// ---- Handlers -----------------------------------------------------------------------------------

using Handler = void (*)(int, siginfo_t*, void*);

void Install(int signal, Handler handler, int flags = 0, struct sigaction* old = nullptr) {
    struct sigaction action = {};
    action.sa_sigaction = handler;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGUSR1);
    action.sa_flags = SA_SIGINFO | flags;
    REQUIRE(sigaction(signal, &action, old) == 0);
}

struct sigaction Current(int signal) {
    struct sigaction action = {};
    REQUIRE(sigaction(signal, nullptr, &action) == 0);
    return action;
}

std::atomic<int> calls{0};

void Tell(const char* text) {
    if (write(STDOUT_FILENO, text, std::strlen(text)) < 0) _exit(kWrong);
}

void TellTheFirstTime() {
    if (calls.fetch_add(1) == 0) Tell("the host's handler\n");
}

void DoNothing(int, siginfo_t*, void*) { TellTheFirstTime(); }

void GiveUp(int signal, siginfo_t*, void*) {
    Tell("the host's handler\n");
    ::signal(signal, SIG_DFL);
}

void GiveUpAndRaise(int signal, siginfo_t*, void*) {
    Tell("the host's handler\n");
    ::signal(signal, SIG_DFL);
    raise(signal);
}

void OldStyle(int) { TellTheFirstTime(); }

sigjmp_buf wayOut;

void JumpOut(int, siginfo_t*, void*) {
    calls.fetch_add(1);
    siglongjmp(wayOut, 1);
}

void* page = nullptr;

void MakeWritable(int, siginfo_t* information, void*) {
    calls.fetch_add(1);
    if (information->si_addr == page) mprotect(page, 4096, PROT_READ | PROT_WRITE);
}

bool IsBlocked(const sigset_t& set, int signal) { return sigismember(&set, signal) == 1; }

/// Continues behind the instruction of write_to.
void Skip(int signal, siginfo_t* information, void* contextPointer) {
    auto* const context = static_cast<ucontext_t*>(contextPointer);
    REQUIRE(signal == SIGSEGV);
    REQUIRE(information->si_addr == nullptr);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    REQUIRE(IsBlocked(blocked, SIGSEGV));
    REQUIRE(IsBlocked(blocked, SIGUSR1));
    REQUIRE(IsBlocked(blocked, SIGUSR2));
    REQUIRE(!IsBlocked(blocked, SIGTERM));
    calls.fetch_add(1);
    // "movl $1, (%rdi)"
    context->uc_mcontext.gregs[REG_RIP] += 6;
    errno = EDOM;
}

struct sigaction passedTo;

void PassOn(int signal, siginfo_t* information, void* context) {
    TellTheFirstTime();
    REQUIRE((passedTo.sa_flags & SA_SIGINFO) != 0);
    passedTo.sa_sigaction(signal, information, context);
}

struct ThrownFromHandler {};

void Throw(int, siginfo_t*, void*) { throw ThrownFromHandler(); }

// ---- What the process holds ---------------------------------------------------------------------

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += !entry.path().empty();
    return count;
}

std::size_t Mappings() {
    std::ifstream maps("/proc/self/maps");
    return static_cast<std::size_t>(
        std::count(std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>(), '\n'));
}

stack_t AlternateStack() {
    stack_t stack = {};
    REQUIRE(sigaltstack(nullptr, &stack) == 0);
    return stack;
}

// ---- The ways -----------------------------------------------------------------------------------

void CrashAfterLoad(Handler handler, int flags = 0) {
    Install(SIGSEGV, handler, flags);
    Load();
    write_to_null();
}

struct Way {
    const char* name;
    void (*run)();
};

const Way kWays[] = {
    {"does-nothing", [] { CrashAfterLoad(DoNothing); }},
    {"gives-up", [] { CrashAfterLoad(GiveUp); }},
    {"gives-up-and-raises", [] { CrashAfterLoad(GiveUpAndRaise); }},
    {"is-reset", [] { CrashAfterLoad(DoNothing, static_cast<int>(SA_RESETHAND)); }},
    {"on-alternate-stack", [] { CrashAfterLoad(DoNothing, SA_ONSTACK); }},
    {"is-of-the-old-style",
     [] {
         ::signal(SIGSEGV, OldStyle);
         Load();
         write_to_null();
     }},
    {"passes-on",
     [] {
         Load();
         Install(SIGSEGV, PassOn, 0, &passedTo);
         write_to_null();
     }},
    {"passes-back",
     [] {
         Install(SIGSEGV, PassOn);
         Load();
         Install(SIGSEGV, PassOn, 0, &passedTo);
         write_to_null();
     }},
    {"jumps-out",
     [] {
         Install(SIGSEGV, JumpOut);
         Load();
         for (static int i = 0; i < 1000; ++i)
             if (sigsetjmp(wayOut, 1) == 0) write_to_null();
         REQUIRE(calls == 1000);
     }},
    {"makes-writable",
     [] {
         page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
         Install(SIGSEGV, MakeWritable);
         Load();
         for (int i = 0; i < 1000; ++i) {
             mprotect(page, 4096, PROT_NONE);
             write_to(static_cast<volatile int*>(page));
             usleep(i % 100 == 0 ? 12000 : 0);
         }
         REQUIRE(calls >= 1000);
     }},
    {"skips",
     [] {
         Install(SIGSEGV, Skip);
         sigset_t one;
         sigemptyset(&one);
         sigaddset(&one, SIGUSR2);
         pthread_sigmask(SIG_BLOCK, &one, nullptr);
         Load();
         for (int i = 0; i < 1000; ++i) {
             errno = 0;
             write_to_null();
         }
         REQUIRE(calls == 1000);
         sigset_t after;
         pthread_sigmask(SIG_SETMASK, nullptr, &after);
         REQUIRE(!IsBlocked(after, SIGSEGV) && !IsBlocked(after, SIGUSR1));
         REQUIRE(IsBlocked(after, SIGUSR2));
     }},
    {"throws",
     [] {
         Install(SIGSEGV, Throw);
         Load();
         for (int i = 0; i < 10; ++i) {
             bool caught = false;
             try {
                 write_to_null();
             } catch (const ThrownFromHandler&) {
                 caught = true;
             }
             sigset_t one;
             sigemptyset(&one);
             sigaddset(&one, SIGSEGV);
             sigaddset(&one, SIGUSR1);
             pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
             REQUIRE(caught);
         }
     }},
    {"ignores",
     [] {
         ::signal(SIGFPE, SIG_IGN);
         Load();
         kill(getpid(), SIGFPE);
     }},
    {"ignores-a-fault",
     [] {
         ::signal(SIGSEGV, SIG_IGN);
         Load();
         write_to_null();
     }},
    {"has-a-terminate-function",
     [] {
         std::set_terminate([] { _exit(7); });
         Load();
         std::terminate();
     }},
    {"unloads",
     [] {
         Install(SIGSEGV, DoNothing);
         const auto terminate = [] { _exit(7); };
         std::set_terminate(terminate);
         Load();
         REQUIRE(Current(SIGSEGV).sa_sigaction != DoNothing);
         REQUIRE(Current(SIGBUS).sa_handler != SIG_DFL);
         REQUIRE(std::get_terminate() != std::terminate_handler(terminate));
         REQUIRE((AlternateStack().ss_flags & SS_DISABLE) == 0);
         Unload();
         REQUIRE(Current(SIGSEGV).sa_sigaction == DoNothing);
         REQUIRE(IsBlocked(Current(SIGSEGV).sa_mask, SIGUSR1));
         for (const int signal : {SIGBUS, SIGILL, SIGFPE})
             REQUIRE(Current(signal).sa_handler == SIG_DFL);
         REQUIRE(std::get_terminate() == std::terminate_handler(terminate));
         REQUIRE((AlternateStack().ss_flags & SS_DISABLE) != 0);
     }},
    {"unloads-and-crashes",
     [] {
         Load();
         Unload();
         write_to_null();
     }},
    {"replaces-and-unloads",
     [] {
         Load();
         Install(SIGSEGV, DoNothing);
         const auto terminate = [] { _exit(7); };
         std::set_terminate(terminate);
         Unload();
         REQUIRE(Current(SIGSEGV).sa_sigaction == DoNothing);
         REQUIRE(std::get_terminate() == std::terminate_handler(terminate));
     }},
    {"reloads",
     [] {
         std::size_t descriptors = 0;
         std::size_t mappings = 0;
         for (int i = 0; i < 30; ++i) {
             Load();
             Call();
             Unload();
             if (i == 4) {
                 descriptors = OpenDescriptors();
                 mappings = Mappings();
             }
         }
         REQUIRE(OpenDescriptors() == descriptors);
         REQUIRE(Mappings() == mappings);
         Load();
         write_to_null();
     }},
    {"reloads-beside-a-thread",
     [] {
         static std::atomic<int> step{0};
         static std::size_t mappings = 0;
         pthread_t thread = {};
         const auto waitFor = [](int wanted) {
             while (step != wanted) usleep(500);
         };
         Load();
         pthread_create(
             &thread, nullptr,
             [](void*) -> void* {
                 Call();
                 REQUIRE((AlternateStack().ss_flags & SS_DISABLE) == 0);
                 step = 1;
                 while (step != 2) usleep(500);
                 // The module has gone and come back.
                 Call();
                 REQUIRE((AlternateStack().ss_flags & SS_DISABLE) == 0);
                 return nullptr;
             },
             nullptr);
         waitFor(1);
         Unload();
         Load();
         mappings = Mappings();
         step = 2;
         pthread_join(thread, nullptr);
         // The thread's stack for faults went with it: the stack and its guard, at most merged with
         // a neighbour before.
         REQUIRE(Mappings() < mappings);
         Unload();
     }},
    {"threads-end",
     [] {
         Load();
         std::size_t mappings = 0;
         for (int i = 0; i < 50; ++i) {
             pthread_t thread = {};
             pthread_create(
                 &thread, nullptr,
                 [](void*) -> void* {
                     Call();
                     REQUIRE((AlternateStack().ss_flags & SS_DISABLE) == 0);
                     return nullptr;
                 },
                 nullptr);
             pthread_join(thread, nullptr);
             if (i == 9) mappings = Mappings();
         }
         REQUIRE(Mappings() == mappings);
     }},
    {"keeps-its-alternate-stack",
     [] {
         static char memory[65536];
         stack_t mine = {};
         mine.ss_sp = memory;
         mine.ss_size = sizeof memory;
         REQUIRE(sigaltstack(&mine, nullptr) == 0);
         Load();
         REQUIRE(AlternateStack().ss_sp == memory);
         Unload();
         REQUIRE(AlternateStack().ss_sp == memory);
     }},
    {"has-a-small-alternate-stack",
     [] {
         // As small as the system allows for the frame of a signal, and a page.
         const auto size = static_cast<std::size_t>(sysconf(_SC_MINSIGSTKSZ)) + 4096;
         stack_t mine = {};
         mine.ss_sp =
             mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
         mine.ss_size = size;
         REQUIRE(sigaltstack(&mine, nullptr) == 0);
         Load();
         write_to_null();
     }},
};

}  // namespace

int main(int argc, char** argv) {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    for (const Way& way : kWays)
        if (argc > 1 && std::strcmp(way.name, argv[1]) == 0) {
            way.run();
            std::printf("went on\n");
            return 0;
        }
    return 96;
}
