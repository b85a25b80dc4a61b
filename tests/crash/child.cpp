// A program that crashes in the way that its argument names, with the library loaded from its
// start. Whatever is allocated behind the crash is told on standard error.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>

#include <tmxactions/functions.h>

// ---- The allocator ------------------------------------------------------------------------------

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);
}

namespace {

std::atomic<bool> crashing{false};
pthread_mutex_t allocatorLock = PTHREAD_MUTEX_INITIALIZER;

class AllocatorCall {
  public:
    AllocatorCall() {
        static constexpr char kTold[] = "the allocator is called\n";
        if (crashing.load() && write(STDERR_FILENO, kTold, sizeof kTold - 1) < 0) _exit(99);
        pthread_mutex_lock(&allocatorLock);
    }
    ~AllocatorCall() { pthread_mutex_unlock(&allocatorLock); }
};

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    const AllocatorCall call;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    const AllocatorCall call;
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
    const AllocatorCall call;
    return __libc_realloc(block, size);
}
void free(void* block) {
    const AllocatorCall call;
    __libc_free(block);
}

// ---- Functions that a backtrace is looked through for -------------------------------------------

// Found again in the full dump alone.
char* heapText = nullptr;

[[gnu::noinline]] void write_to_null() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

[[gnu::noinline]] void read_misaligned() {
    alignas(8) volatile char words[16] = {};
    // The flag that makes the processor check alignment.
    asm volatile(
        "pushfq\n\t"
        "orq $0x40000, (%%rsp)\n\t"
        "popfq\n\t"
        "movl 1(%0), %%eax\n\t"
        "pushfq\n\t"
        "andq $~0x40000, (%%rsp)\n\t"
        "popfq"
        :
        : "r"(words)
        : "rax", "memory", "cc");
}

[[gnu::noinline]] void read_past_file() {
    const int file = fileno(std::tmpfile());
    if (ftruncate(file, 4096) != 0) return;
    const auto* const mapped =
        static_cast<const volatile char*>(mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE, file, 0));
    static_cast<void>(mapped[4096]);
}

[[gnu::noinline]] void divide_by_zero() {
    int dividend = 1;
    asm volatile("cltd\n\tidivl %1" : "+a"(dividend) : "r"(0) : "rdx", "cc");
}

[[gnu::noinline]] void run_illegal_instruction() { asm volatile("ud2"); }

volatile bool goOn = true;

[[gnu::noinline]] int descend(volatile char* above) {
    volatile char frame[512];
    frame[0] = above == nullptr ? 0 : above[0];
    return goOn ? descend(frame) + frame[0] : 0;
}

[[gnu::noinline]] void take_large_frame() {
    // Below the stack, its guard and all that might lie there.
    volatile char* frame = static_cast<volatile char*>(__builtin_alloca(12 * 1024 * 1024));
    frame[0] = 1;
}

[[gnu::noinline]] int compare_and_crash(const void*, const void*) {
    write_to_null();
    return 0;
}

[[gnu::noinline]] void wait_as_bystander() {
    for (;;) pause();
}

[[gnu::noinline]] void spin_as_bystander() {
    static std::atomic<int> turns;
    for (;;) turns.fetch_add(1);
}
}

namespace {

// ---- Threads ------------------------------------------------------------------------------------

std::atomic<int> ready{0};

void* Bystander(void*) {
    ready.fetch_add(1);
    wait_as_bystander();
    return nullptr;
}

/// Nothing that is sent to this thread reaches it.
void* Spinner(void*) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    ready.fetch_add(1);
    spin_as_bystander();
    return nullptr;
}

void* AllocatorsOwner(void*) {
    pthread_mutex_lock(&allocatorLock);
    ready.fetch_add(1);
    wait_as_bystander();
    return nullptr;
}

pthread_t Start(void* (*run)(void*)) {
    pthread_t thread = {};
    const int before = ready.load();
    pthread_create(&thread, nullptr, run, nullptr);
    while (ready.load() == before) usleep(1000);
    return thread;
}

pthread_barrier_t barrier;

void* CrashTogether(void*) {
    ready.fetch_add(1);
    pthread_barrier_wait(&barrier);
    write_to_null();
    return nullptr;
}

void* OverflowThread(void*) {
    ready.fetch_add(1);
    // The thread is known to the library from its first call on.
    TmxAct_InterfaceVersion();
    TmxAct_CreateFromTextBufferA("", 0, 1, false, nullptr);
    descend(nullptr);
    return nullptr;
}

void* CrashThread(void*) {
    ready.fetch_add(1);
    write_to_null();
    return nullptr;
}

// ---- Ways to crash ------------------------------------------------------------------------------

void TouchMemory() {
    constexpr std::size_t kSize = 256 * 1024 * 1024;
    void* const memory =
        mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    std::memset(memory, 0x5A, kSize);
}

std::size_t UsedAddressSpace() {
    // In pages.
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    unsigned long pages = 0;
    if (file == nullptr || std::fscanf(file, "%lu", &pages) != 1) _exit(98);
    std::fclose(file);
    return pages * 4096;
}

void Limit(int resource, rlim_t soft, rlim_t hard) {
    const rlimit limit = {soft, hard};
    if (setrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) _exit(97);
}

/// Makes a system call fail with EPERM from now on.
void Forbid(unsigned number) {
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {4, code};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(95);
}

void UseAllDescriptors() {
    while (open("/dev/null", O_RDONLY) >= 0) {
    }
}

void ReportStatusOfFork() {
    const pid_t child = fork();
    if (child == 0) write_to_null();
    int status = 0;
    waitpid(child, &status, 0);
    std::printf("the fork ended with %d\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

struct Mode {
    const char* name;
    void (*run)();
};

const Mode kModes[] = {
    {"nothing", [] {}},
    {"null-write",
     [] {
         Start(Bystander);
         Start(Spinner);
         crashing = true;
         write_to_null();
     }},
    {"misaligned",
     [] {
         crashing = true;
         read_misaligned();
     }},
    {"past-file", [] { read_past_file(); }},
    {"division",
     [] {
         crashing = true;
         divide_by_zero();
     }},
    {"illegal",
     [] {
         crashing = true;
         run_illegal_instruction();
     }},
    {"overflow",
     [] {
         crashing = true;
         descend(nullptr);
     }},
    {"overflow-at-once", [] { take_large_frame(); }},
    {"overflow-in-thread", [] { pthread_join(Start(OverflowThread), nullptr); }},
    {"thread", [] { pthread_join(Start(CrashThread), nullptr); }},
    {"uncaught", [] { throw std::runtime_error("nobody catches this"); }},
    {"terminate", [] { std::terminate(); }},
    {"callback",
     [] {
         int numbers[] = {2, 1};
         std::qsort(numbers, 2, sizeof numbers[0], compare_and_crash);
     }},
    {"allocator-locked",
     [] {
         Start(AllocatorsOwner);
         crashing = true;
         write_to_null();
     }},
    {"heap-corrupt",
     [] {
         std::memset(heapText - 64, 0xFF, 4096);
         crashing = true;
         write_to_null();
     }},
    {"two-threads",
     [] {
         pthread_barrier_init(&barrier, nullptr, 2);
         Start(CrashTogether);
         pthread_join(Start(CrashTogether), nullptr);
     }},
    {"in-handling",
     [] {
         // What the handling looks at first.
         environ = reinterpret_cast<char**>(16);
         write_to_null();
     }},
    {"no-memory",
     [] {
         Start(Bystander);
         Limit(RLIMIT_AS, UsedAddressSpace(), UsedAddressSpace());
         crashing = true;
         write_to_null();
     }},
    {"no-descriptors",
     [] {
         Limit(RLIMIT_NOFILE, 64, 128);
         UseAllDescriptors();
         crashing = true;
         write_to_null();
     }},
    {"no-processes",
     [] {
         Start(Bystander);
         Start(Spinner);
         Forbid(SYS_clone);
         crashing = true;
         write_to_null();
     }},
    {"no-tracing",
     [] {
         Start(Bystander);
         Start(Spinner);
         Forbid(SYS_ptrace);
         Forbid(SYS_process_vm_readv);
         write_to_null();
     }},
    {"small-files",
     [] {
         Limit(RLIMIT_FSIZE, 8192, 8192);
         write_to_null();
     }},
    {"much-memory",
     [] {
         TouchMemory();
         write_to_null();
     }},
    {"fork", ReportStatusOfFork},
    {"wait",
     [] {
         std::printf("waiting\n");
         std::fflush(stdout);
         wait_as_bystander();
     }},
};

}  // namespace

int main(int argc, char** argv) {
    TmxAct_InterfaceVersion();
    Limit(RLIMIT_CORE, 0, 0);
    heapText = static_cast<char*>(std::malloc(8192)) + 128;
    std::strcpy(heapText, "text on the heap");
    for (const Mode& mode : kModes)
        if (argc > 1 && std::strcmp(mode.name, argv[1]) == 0) {
            mode.run();
            return 0;
        }
    return 96;
}
