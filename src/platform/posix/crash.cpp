// The crash filter: handlers of the signals that faults raise.
//
// All this runs in a signal's handler, in a process in any state: it calls nothing but the system
// itself and what is said to be safe there.
#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/fault.h"
#include "platform/posix/fault_stack.h"
#include "platform/posix/memory_map.h"

namespace Platform {

using Detail::ErrnoGuard;
using Detail::Fault;
using Detail::ProgramCounter;
using Detail::StackPointer;

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE};
constexpr std::size_t kSignalCount = std::size(kSignals);

std::atomic<CrashFilter> crashFilter{nullptr};
// What was there before, by the order of kSignals.
struct sigaction previous[kSignalCount];

// ---- The end ------------------------------------------------------------------------------------

constexpr int StatusOf(std::int32_t exitCode) noexcept { return exitCode & 0xFF; }
constexpr int kCrashed = StatusOf(-1);

// The thread whose fault is being handled, and its process: a fork takes a copy of this along.
std::atomic<std::uint64_t> owner{0};

std::uint64_t ThisThread() noexcept {
    return static_cast<std::uint64_t>(getpid()) << 32 | CurrentThreadId();
}

// The stack pointers of the faults of threads that wait.
std::atomic<std::size_t> parkedCount{0};
std::uintptr_t parked[Detail::kMaxParked];

[[noreturn]] void WaitForTheEnd(const ucontext_t& context) noexcept {
    const std::size_t place = parkedCount.fetch_add(1);
    if (place < Detail::kMaxParked) parked[place] = StackPointer(context);
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    for (;;) poll(nullptr, 0, -1);
}

// ---- What kind of fault -------------------------------------------------------------------------

// Codes of the Windows headers; the parameters are counted as there.
ExceptionRecord Describe(int signal, const siginfo_t& information,
                         const ucontext_t& context) noexcept {
    ExceptionRecord record;
    record.address = reinterpret_cast<const void*>(ProgramCounter(context));
    const int code = information.si_code;
    switch (signal) {
        case SIGBUS:
            if (code == BUS_ADRALN) {
                record.code = 0x80000002;  // STATUS_DATATYPE_MISALIGNMENT
            } else {
                record.code = 0xC0000006;  // STATUS_IN_PAGE_ERROR
                record.numberParameters = 3;
            }
            break;
        case SIGILL:
            record.code = code == ILL_PRVOPC || code == ILL_PRVREG
                              ? 0xC0000096   // STATUS_PRIVILEGED_INSTRUCTION
                              : 0xC000001D;  // STATUS_ILLEGAL_INSTRUCTION
            break;
        case SIGFPE:
            switch (code) {
                case FPE_INTOVF:
                    record.code = 0xC0000095;  // STATUS_INTEGER_OVERFLOW
                    break;
                case FPE_FLTDIV:
                    record.code = 0xC000008E;  // STATUS_FLOAT_DIVIDE_BY_ZERO
                    break;
                case FPE_FLTOVF:
                    record.code = 0xC0000091;  // STATUS_FLOAT_OVERFLOW
                    break;
                case FPE_FLTUND:
                    record.code = 0xC0000093;  // STATUS_FLOAT_UNDERFLOW
                    break;
                case FPE_FLTRES:
                    record.code = 0xC000008F;  // STATUS_FLOAT_INEXACT_RESULT
                    break;
                case FPE_FLTINV:
                    record.code = 0xC0000090;  // STATUS_FLOAT_INVALID_OPERATION
                    break;
                case FPE_FLTSUB:
                    record.code = 0xC000008C;  // STATUS_ARRAY_BOUNDS_EXCEEDED
                    break;
                default:
                    record.code = 0xC0000094;  // STATUS_INTEGER_DIVIDE_BY_ZERO
                    break;
            }
            break;
        default:
            record.code = 0xC0000005;  // STATUS_ACCESS_VIOLATION
            record.numberParameters = 2;
            break;
    }
    return record;
}

/// Whether the fault lies below the thread's stack, where its guard is: the next memory above it is
/// the stack, or the stack pointer itself has left the stack downwards.
bool IsStackOverflow(int signal, const siginfo_t& information, const ucontext_t& context) noexcept {
    if (signal != SIGSEGV) return false;
    if (information.si_code != SEGV_MAPERR && information.si_code != SEGV_ACCERR) return false;
    // What a push, a call or a probe touches below the stack pointer.
    constexpr std::uintptr_t kBelow = 64 * 1024;
    // The largest frame that is believed.
    constexpr std::uintptr_t kFrame = 16 * 1024 * 1024;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(information.si_addr);
    const std::uintptr_t stack = StackPointer(context);
    if (address + kBelow < stack || address > stack + kFrame) return false;

    Detail::MemoryMap map;
    if (!map.Load()) return address + kBelow >= stack && address <= stack + kBelow;
    Detail::Mapping above;
    do {
        if (!map.Next(above)) return false;
        if (above.readable && address >= above.start && address < above.end) return false;
    } while (above.start <= address || !above.writable);
    return stack < above.end && above.start - std::min(above.start, stack) <= kFrame;
}

// ---- Our own handling ---------------------------------------------------------------------------

// The handler may run on a small stack of the host's, or in the last bytes of a stack.
constexpr std::size_t kCrashStackSize = 256 * 1024;
alignas(64) unsigned char crashStack[kCrashStackSize];
Fault currentFault;

/// Descriptors may be what the process has run out of.
void RaiseDescriptorLimit() noexcept {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

[[noreturn]] void FilterOnCrashStack() noexcept {
    RaiseDescriptorLimit();
    const Fault& fault = currentFault;
    static ExceptionRecord record;
    record = Describe(fault.signal, *fault.information, *fault.context);
    if (IsStackOverflow(fault.signal, *fault.information, *fault.context))
        record.code = kExceptionStackOverflow;
    static ExceptionPointers pointers;
    pointers = {&record, &fault};
    if (const CrashFilter filter = crashFilter.load()) filter(pointers);
    _exit(kCrashed);
}

[[noreturn]] void Crash(int signal, const siginfo_t* information,
                        const ucontext_t* context) noexcept {
    const std::uint64_t self = ThisThread();
    std::uint64_t other = 0;
    while (!owner.compare_exchange_strong(other, self)) {
        // The handling itself has failed.
        if (other == self) _exit(kCrashed);
        if (other >> 32 == self >> 32) WaitForTheEnd(*context);
        // It was copied from the process that this one is a fork of.
    }
    Detail::hasCrashed.store(true);
    // Nothing but a further fault comes in between.
    sigset_t all;
    sigfillset(&all);
    for (const int fault : kSignals) sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    currentFault = {signal, static_cast<pid_t>(CurrentThreadId()), information, context};
    asm volatile(
        "movq %0, %%rsp\n\t"
        "xorl %%ebp, %%ebp\n\t"
        "callq *%1\n\t"
        "ud2"
        :
        : "r"(crashStack + kCrashStackSize), "r"(&FilterOnCrashStack)
        : "memory");
    __builtin_unreachable();
}

// ---- The host's handlers ------------------------------------------------------------------------

// What this thread remembers of its last fault that a handler of the host's was asked about.
struct Asked {
    // While it is asked: the fault, and where on the stack we were. (A handler may leave by a jump,
    // so that these stay behind.)
    const siginfo_t* information;
    const void* frame;
    // After it has changed nothing in the registers: what the fault looked like, and when.
    std::uint64_t likeness;
    std::int64_t time;  // in nanoseconds; 0: it is not to be compared
};
__thread Asked asked __attribute__((tls_model("initial-exec"))) = {};

// A fault that comes again in the same way within this time has not been handled.
constexpr std::int64_t kAgain = 10'000'000;

std::int64_t Nanoseconds() noexcept {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

/// FNV-1a over the fault's address and all registers.
std::uint64_t Likeness(int signal, const siginfo_t& information,
                       const ucontext_t& context) noexcept {
    std::uint64_t hash = 0xCBF29CE484222325;
    const auto add = [&hash](std::uint64_t word) { hash = (hash ^ word) * 0x100000001B3; };
    add(static_cast<std::uint64_t>(signal));
    add(reinterpret_cast<std::uint64_t>(information.si_addr));
    for (const greg_t word : context.uc_mcontext.gregs) add(static_cast<std::uint64_t>(word));
    return hash;
}

bool IsHandler(const struct sigaction& action) noexcept {
    // Both members begin the same union.
    return (action.sa_flags & SA_SIGINFO) != 0 ||
           (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

void Entry(int signal, siginfo_t* information, void* context);

bool IsOurs(const struct sigaction& action) noexcept {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == Entry;
}

void TakeSignal(std::size_t place) noexcept {
    struct sigaction ours = {};
    ours.sa_sigaction = Entry;
    sigemptyset(&ours.sa_mask);
    // A fault in our own handling comes here as well.
    ours.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    struct sigaction old = {};
    if (sigaction(kSignals[place], &ours, &old) == 0 && !IsOurs(old)) previous[place] = old;
}

/// Lets the handler that was there before have the fault as if it had come there. It may leave by a
/// jump or an exception.
void AskPrevious(std::size_t place, siginfo_t* information, ucontext_t* context) {
    const int signal = kSignals[place];
    const struct sigaction action = previous[place];
    const auto flags = static_cast<unsigned>(action.sa_flags);
    if ((flags & SA_RESETHAND) != 0) previous[place] = {};
    sigset_t mask;
    sigorset(&mask, &context->uc_sigmask, &action.sa_mask);
    if ((flags & SA_NODEFER) == 0) sigaddset(&mask, signal);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if ((flags & SA_SIGINFO) != 0)
        action.sa_sigaction(signal, information, context);
    else
        action.sa_handler(signal);
}

extern "C" __attribute__((used, visibility("hidden"))) void TmxActHandleFault(
    int signal, siginfo_t* information, void* contextPointer) {
    const int savedErrno = errno;
    auto* const context = static_cast<ucontext_t*>(contextPointer);
    const auto place =
        static_cast<std::size_t>(std::find(kSignals, kSignals + kSignalCount, signal) - kSignals);
    // Sent by somebody, and not wanted: only a fault can't be ignored.
    if (place < kSignalCount && previous[place].sa_handler == SIG_IGN && information->si_code <= 0)
        return;
    const void* const frame = __builtin_frame_address(0);
    // A host's handler that passes the fault on to us, to whom we have passed it on already.
    const bool passedBack = asked.information == information && asked.frame > frame;
    const std::uint64_t likeness = Likeness(signal, *information, *context);
    const bool again =
        asked.time != 0 && asked.likeness == likeness && Nanoseconds() - asked.time < kAgain;
    if (place == kSignalCount || !IsHandler(previous[place]) || passedBack || again ||
        owner.load() == ThisThread())
        Crash(signal, information, context);

    asked.information = information;
    asked.frame = frame;
    asked.time = 0;
    AskPrevious(place, information, context);
    asked.information = nullptr;

    struct sigaction now = {};
    sigaction(signal, nullptr, &now);
    if (!IsHandler(now)) {
        // It has given up. If the fault comes again, it is ours alone.
        previous[place] = now;
        TakeSignal(place);
    } else if (Likeness(signal, *information, *context) == likeness) {
        asked.likeness = likeness;
        asked.time = Nanoseconds();
    }
    errno = savedErrno;
}

// The processor may be told to check alignment, which our code doesn't keep.
__attribute__((naked)) void Entry(int /*signal*/, siginfo_t* /*information*/, void* /*context*/) {
    asm volatile(
        "pushfq\n\t"
        "andq $~0x40000, (%rsp)\n\t"
        "popfq\n\t"
        "jmp TmxActHandleFault");
}

}  // namespace

std::size_t Detail::ParkedStacks(std::uintptr_t (&stacks)[kMaxParked]) noexcept {
    const std::size_t count = std::min(parkedCount.load(), kMaxParked);
    std::copy_n(parked, count, stacks);
    return count;
}

void InstallCrashFilter(CrashFilter filter) noexcept {
    const ErrnoGuard guard;
    crashFilter.store(filter);
    Detail::UseFaultStacks(true);
    Detail::AttachFaultStack();
    for (std::size_t place = 0; place < kSignalCount; ++place) TakeSignal(place);
}

void RemoveCrashFilter() noexcept {
    const ErrnoGuard guard;
    for (std::size_t place = 0; place < kSignalCount; ++place) {
        struct sigaction now = {};
        if (sigaction(kSignals[place], nullptr, &now) == 0 && IsOurs(now))
            sigaction(kSignals[place], &previous[place], nullptr);
    }
    Detail::UseFaultStacks(false);
    Detail::DetachFaultStack();
    crashFilter.store(nullptr);
}

// ---- Work items ---------------------------------------------------------------------------------

namespace {

constexpr std::size_t kWorkStackSize = 128 * 1024;
constexpr std::size_t kWorkItems = 2;  // one for each dump
alignas(64) unsigned char workStacks[kWorkItems][kWorkStackSize];
std::atomic<std::size_t> workItems{0};

struct Work {
    void (*run)() noexcept = nullptr;
    std::atomic<std::uint32_t> done{0};
};
Work works[kWorkItems];

long Futex(std::atomic<std::uint32_t>& word, int operation, std::uint32_t value,
           const timespec* time) noexcept {
    return syscall(SYS_futex, &word, operation | FUTEX_PRIVATE_FLAG, value, time, nullptr, 0);
}

int RunWork(void* argument) {
    Work& work = *static_cast<Work*>(argument);
    work.run();
    work.done.store(1);
    Futex(work.done, FUTEX_WAKE, 1, nullptr);
    return 0;
}

}  // namespace

void RunWorkItem(void (*run)() noexcept, std::uint32_t milliseconds) noexcept {
    const ErrnoGuard guard;
    const std::size_t place = workItems.fetch_add(1);
    if (place >= kWorkItems) return run();
    // A thread of the C library takes memory from the heap to begin with. This one has only its
    // stack; what else belongs to a thread it shares with ours, which waits.
    Work& work = works[place];
    work.run = run;
    constexpr int kFlags =
        CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SIGHAND | CLONE_THREAD | CLONE_SYSVSEM;
    if (clone(RunWork, workStacks[place] + kWorkStackSize, kFlags, &work) < 0) return run();
    const std::int64_t begin = Nanoseconds();
    while (work.done.load() == 0) {
        timespec rest = {};
        if (milliseconds != kNoLimit) {
            const std::int64_t left = begin + milliseconds * 1'000'000LL - Nanoseconds();
            if (left <= 0) return;
            rest.tv_sec = left / 1'000'000'000;
            rest.tv_nsec = left % 1'000'000'000;
        }
        Futex(work.done, FUTEX_WAIT, 0, milliseconds != kNoLimit ? &rest : nullptr);
    }
}

void ShowMessage(const char* caption, const char* text) noexcept {
    const ErrnoGuard guard;
    for (const char* const part : {caption, "\n", text, "\n"})
        if (!Detail::WriteAll(STDERR_FILENO, part, std::strlen(part))) return;
}

// ---- The process's end --------------------------------------------------------------------------

void KillProcess(std::int32_t exitCode) noexcept { _exit(StatusOf(exitCode)); }
void LeaveProcess(std::int32_t exitCode) noexcept { _exit(StatusOf(exitCode)); }

}  // namespace Platform
