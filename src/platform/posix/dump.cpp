// The dump: an ELF core file in the form that Linux's kernel writes (core(5)), by which debuggers
// read it.
//
// A helper process writes it. It shares this one's memory, so that it needs none of its own, and
// stops the other threads meanwhile to read their registers, which only a process beside this one
// can do. Where there can be no such process the crashing thread writes by itself.
//
// The file: header, program headers, notes, then memory in pages. A mapping that isn't written has
// a program header without bytes in the file: the debugger takes what it can from the file that was
// mapped there.
#include <asm/prctl.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <linux/futex.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/procfs.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/fault.h"
#include "platform/posix/memory_map.h"

namespace Platform {

using Detail::ErrnoGuard;
using Detail::Fault;
using Detail::Mapping;
using Detail::MemoryMap;

namespace {

constexpr std::uintptr_t kPage = 4096;

constexpr std::uintptr_t PageDown(std::uintptr_t address) noexcept {
    return address & ~(kPage - 1);
}
constexpr std::uintptr_t PageUp(std::uintptr_t address) noexcept {
    return PageDown(address + kPage - 1);
}

// ---- Small files of the system ------------------------------------------------------------------

/// The text of "/proc/PID/task/TID/NAME" and the like.
class Path {
  public:
    Path& operator<<(std::string_view text) noexcept {
        size_ += text.copy(text_ + size_, std::min(text.size(), sizeof text_ - 1 - size_));
        text_[size_] = '\0';
        return *this;
    }
    Path& operator<<(pid_t number) noexcept {
        char digits[12];
        char* begin = digits + sizeof digits;
        do *--begin = static_cast<char>('0' + number % 10);
        while ((number /= 10) > 0);
        return *this << std::string_view(begin, static_cast<std::size_t>(std::end(digits) - begin));
    }
    const char* Text() const noexcept { return text_; }

  private:
    char text_[64] = {};
    std::size_t size_ = 0;
};

std::size_t ReadWhole(const char* path, char* buffer, std::size_t capacity) noexcept {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    std::size_t size = 0;
    while (size < capacity) {
        const ssize_t count = read(file, buffer + size, capacity - size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        size += static_cast<std::size_t>(count);
    }
    close(file);
    return size;
}

/// Memory that may not be there: false, and no fault.
bool Peek(std::uintptr_t address, void* target, std::size_t size) noexcept {
    iovec local = {target, size};
    iovec remote = {reinterpret_cast<void*>(address), size};
    if (process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size))
        return true;
    if (errno == EFAULT) return false;
    // The call isn't there, or not allowed.
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    if (memory < 0) return false;
    const ssize_t count = pread(memory, target, size, static_cast<off_t>(address));
    close(memory);
    return count == static_cast<ssize_t>(size);
}

template <typename Object>
bool Peek(std::uintptr_t address, Object& object) noexcept {
    return Peek(address, &object, sizeof object);
}

// ---- Threads ------------------------------------------------------------------------------------

struct Thread {
    pid_t id;
    bool stopped;  // by us
};
// Threads beyond these are left out.
constexpr std::size_t kMaxThreads = 8192;

// The one dump that is being written; dumps are written one after the other.
struct Job {
    int file = -1;
    bool full = false;
    Fault fault;
    pid_t process = 0;
    bool beside = false;  // in a process of its own
    std::uintptr_t threadBase = 0;
    std::atomic<std::uint32_t> released{0};
    std::atomic<bool> written{false};
    Thread threads[kMaxThreads];  // without the crashing one
    std::size_t threadCount = 0;
};
Job job;

void FindThreads() noexcept {
    Path path;
    path << "/proc/" << job.process << "/task";
    const int folder = open(path.Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    alignas(8) char buffer[4096];
    for (;;) {
        const long size = syscall(SYS_getdents64, folder, buffer, sizeof buffer);
        if (size <= 0) break;
        // d_ino and d_off of 8 bytes each, d_reclen of 2, d_type of 1, d_name
        for (long at = 0; at < size;) {
            std::uint16_t length;
            std::memcpy(&length, buffer + at + 16, sizeof length);
            pid_t id = 0;
            for (const char* name = buffer + at + 19; *name >= '0' && *name <= '9'; ++name)
                id = id * 10 + (*name - '0');
            at += length;
            if (id == 0 || id == job.fault.thread || job.threadCount == kMaxThreads) continue;
            Thread* const end = job.threads + job.threadCount;
            if (std::none_of(job.threads, end, [id](const Thread& t) { return t.id == id; }))
                job.threads[job.threadCount++] = {id, false};
        }
    }
    close(folder);
}

/// Stops a thread. One that can't be stopped (a debugger has it, the system forbids it, it doesn't
/// come back from the kernel) goes on.
void Stop(Thread& thread, unsigned& patience) noexcept {
    if (ptrace(PTRACE_SEIZE, thread.id, nullptr, nullptr) != 0) return;
    if (ptrace(PTRACE_INTERRUPT, thread.id, nullptr, nullptr) != 0) return;
    constexpr timespec kMillisecond = {0, 1'000'000};
    for (;;) {
        int status = 0;
        const pid_t who = waitpid(thread.id, &status, __WALL | WNOHANG);
        if (who == thread.id) {
            thread.stopped = WIFSTOPPED(status);
            return;
        }
        if ((who < 0 && errno != EINTR) || patience == 0) return;
        --patience;
        nanosleep(&kMillisecond, nullptr);
    }
}

void StopThreads() noexcept {
    // In milliseconds, for all of them.
    unsigned patience = 2000;
    // A thread that wasn't stopped yet may have made another.
    for (std::size_t stopped = 0, pass = 0; pass < 8; ++pass) {
        FindThreads();
        if (stopped == job.threadCount) break;
        for (; stopped < job.threadCount; ++stopped)
            if (job.beside) Stop(job.threads[stopped], patience);
    }
}

void LetThreadsGo() noexcept {
    for (std::size_t i = 0; i < job.threadCount; ++i)
        if (job.threads[i].stopped) ptrace(PTRACE_DETACH, job.threads[i].id, nullptr, nullptr);
}

/// Of a thread that couldn't be stopped but sleeps in the kernel, the system tells two registers:
/// "NUMBER ARGUMENT... STACK PROGRAM".
void RegistersOfSleeper(pid_t id, user_regs_struct& registers) noexcept {
    Path path;
    path << "/proc/" << job.process << "/task/" << id << "/syscall";
    char text[256];
    const std::size_t size = ReadWhole(path.Text(), text, sizeof text);
    unsigned long long words[16] = {};
    std::size_t count = 0;
    bool inWord = false;
    for (std::size_t i = 0; i < size; ++i) {
        const char digit = text[i];
        if (digit == ' ' || digit == '\n') {
            if (inWord && ++count == std::size(words)) break;
            inWord = false;
            continue;
        }
        inWord = true;
        if (digit == 'x') continue;  // behind a zero
        const bool decimal = digit >= '0' && digit <= '9';
        words[count] = words[count] << 4 |
                       static_cast<unsigned>(decimal ? digit - '0' : (digit | 0x20) - 'a' + 10);
    }
    if (count < 3) return;
    registers.rsp = words[count - 2];
    registers.rip = words[count - 1];
}

user_regs_struct RegistersOf(const Thread& thread) noexcept {
    user_regs_struct registers = {};
    if (!thread.stopped || ptrace(PTRACE_GETREGS, thread.id, nullptr, &registers) != 0)
        RegistersOfSleeper(thread.id, registers);
    return registers;
}

user_regs_struct RegistersOfFault() noexcept {
    const auto& general = job.fault.context->uc_mcontext.gregs;
    const auto word = [&general](int number) {
        return static_cast<unsigned long long>(general[number]);
    };
    user_regs_struct registers = {};
    registers.r15 = word(REG_R15);
    registers.r14 = word(REG_R14);
    registers.r13 = word(REG_R13);
    registers.r12 = word(REG_R12);
    registers.rbp = word(REG_RBP);
    registers.rbx = word(REG_RBX);
    registers.r11 = word(REG_R11);
    registers.r10 = word(REG_R10);
    registers.r9 = word(REG_R9);
    registers.r8 = word(REG_R8);
    registers.rax = word(REG_RAX);
    registers.rcx = word(REG_RCX);
    registers.rdx = word(REG_RDX);
    registers.rsi = word(REG_RSI);
    registers.rdi = word(REG_RDI);
    registers.orig_rax = ~0ULL;  // not in a system call
    registers.rip = word(REG_RIP);
    registers.eflags = word(REG_EFL);
    registers.rsp = word(REG_RSP);
    const unsigned long long selectors = word(REG_CSGSFS);
    registers.cs = selectors & 0xFFFF;
    registers.gs = selectors >> 16 & 0xFFFF;
    registers.fs = selectors >> 32 & 0xFFFF;
    registers.ss = selectors >> 48 & 0xFFFF;
    registers.fs_base = job.threadBase;
    return registers;
}

// ---- What a mini dump holds ---------------------------------------------------------------------

struct Range {
    std::uintptr_t start;
    std::uintptr_t end;
};

/// Ranges of memory, in whole pages. Those beyond the capacity are left out.
class Ranges {
  public:
    void Clear() noexcept { count_ = 0; }
    void Add(std::uintptr_t start, std::uintptr_t end) noexcept {
        if (start < end && count_ < kCapacity) ranges_[count_++] = {PageDown(start), PageUp(end)};
    }
    /// Puts them in order and makes one of those that touch.
    void Merge() noexcept {
        std::sort(ranges_, ranges_ + count_,
                  [](const Range& a, const Range& b) { return a.start < b.start; });
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            if (kept > 0 && ranges_[i].start <= ranges_[kept - 1].end)
                ranges_[kept - 1].end = std::max(ranges_[kept - 1].end, ranges_[i].end);
            else
                ranges_[kept++] = ranges_[i];
        }
        count_ = kept;
    }
    const Range* begin() const noexcept { return ranges_; }
    const Range* end() const noexcept { return ranges_ + count_; }

  private:
    static constexpr std::size_t kCapacity = 32768;
    Range ranges_[kCapacity];
    std::size_t count_ = 0;
};
Ranges wanted;

// A stack deeper than this is cut.
constexpr std::uintptr_t kMaxStack = 8 * 1024 * 1024;
// What the x86-64 ABI lets a function use below its stack pointer.
constexpr std::uintptr_t kRedZone = 128;

void WantStack(MemoryMap& map, std::uintptr_t stackPointer) noexcept {
    Mapping mapping;
    if (!map.Find(stackPointer, mapping)) return;
    wanted.Add(std::max(stackPointer - kRedZone, mapping.start),
               std::min(mapping.end, stackPointer + kMaxStack));
}

void WantThread(MemoryMap& map, const user_regs_struct& registers) noexcept {
    WantStack(map, registers.rsp);
    // The code that runs, which may have been made at run time.
    wanted.Add(registers.rip - 256, registers.rip + 256);
    // The C library's record of the thread.
    constexpr std::uintptr_t kThreadRecord = 4096;
    if (registers.fs_base != 0) wanted.Add(registers.fs_base, registers.fs_base + kThreadRecord);
}

alignas(8) char auxiliary[4096];
std::size_t auxiliarySize = 0;

std::uintptr_t Auxiliary(unsigned long type) noexcept {
    for (std::size_t at = 0; at + sizeof(Elf64_auxv_t) <= auxiliarySize;
         at += sizeof(Elf64_auxv_t)) {
        Elf64_auxv_t entry;
        std::memcpy(&entry, auxiliary + at, sizeof entry);
        if (entry.a_type == type) return entry.a_un.a_val;
    }
    return 0;
}

/// The linker's list of loaded objects, found through the program's dynamic section.
std::uintptr_t FindLinkerRecord() noexcept {
    const std::uintptr_t headers = Auxiliary(AT_PHDR);
    const std::uintptr_t count = Auxiliary(AT_PHNUM);
    std::uintptr_t base = 0;
    std::uintptr_t dynamic = 0;
    wanted.Add(headers, headers + count * sizeof(Elf64_Phdr));
    for (std::uintptr_t i = 0; i < count; ++i) {
        Elf64_Phdr header;
        if (!Peek(headers + i * sizeof header, header)) return 0;
        if (header.p_type == PT_PHDR) base = headers - header.p_vaddr;
        if (header.p_type == PT_DYNAMIC) dynamic = header.p_vaddr;
    }
    if (dynamic == 0) return 0;
    Elf64_Dyn entry;
    for (std::uintptr_t at = base + dynamic; Peek(at, entry) && entry.d_tag != DT_NULL;
         at += sizeof entry)
        if (entry.d_tag == DT_DEBUG) return entry.d_un.d_ptr;
    return 0;
}

/// The beginning of a loaded object's data. That of the C library tells a debugger of threads.
void WantData(std::uintptr_t base) noexcept {
    constexpr std::uintptr_t kMaxData = 32 * 1024;
    Elf64_Ehdr header;
    if (base == 0 || !Peek(base, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return;
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr program;
        if (!Peek(base + header.e_phoff + i * sizeof program, program)) return;
        if (program.p_type != PT_LOAD || (program.p_flags & PF_W) == 0) continue;
        const std::uintptr_t start = base + program.p_vaddr;
        wanted.Add(start, start + std::min<std::uintptr_t>(program.p_filesz, kMaxData));
    }
}

void WantLinkerRecords(MemoryMap& map) noexcept {
    constexpr std::uintptr_t kName = 512;
    constexpr std::uintptr_t kDynamic = 1024;
    // The linker keeps more behind the public part, which a debugger may look at.
    constexpr std::uintptr_t kLinkMap = 1280;
    constexpr std::uintptr_t kLinkerData = 64 * 1024;
    const std::uintptr_t address = FindLinkerRecord();
    r_debug record;
    if (address == 0 || !Peek(address, record)) return;
    Mapping data;
    if (map.Find(address, data))
        wanted.Add(data.start, std::min(data.end, data.start + kLinkerData));
    wanted.Add(address, address + sizeof record);
    auto at = reinterpret_cast<std::uintptr_t>(record.r_map);
    constexpr unsigned kMaxObjects = 4096;
    for (unsigned i = 0; at != 0 && i < kMaxObjects; ++i) {
        link_map object;
        if (!Peek(at, object)) return;
        wanted.Add(at, at + kLinkMap);
        const auto name = reinterpret_cast<std::uintptr_t>(object.l_name);
        wanted.Add(name, name + kName);
        const auto dynamic = reinterpret_cast<std::uintptr_t>(object.l_ld);
        wanted.Add(dynamic, dynamic + kDynamic);
        WantData(object.l_addr);
        at = reinterpret_cast<std::uintptr_t>(object.l_next);
    }
}

void FindWanted(MemoryMap& map) noexcept {
    wanted.Clear();
    WantThread(map, RegistersOfFault());
    for (std::size_t i = 0; i < job.threadCount; ++i) WantThread(map, RegistersOf(job.threads[i]));
    std::uintptr_t parked[Detail::kMaxParked];
    const std::size_t parkedCount = Detail::ParkedStacks(parked);
    for (std::size_t i = 0; i < parkedCount; ++i) WantStack(map, parked[i]);
    WantLinkerRecords(map);
    // The headers of what is mapped from files, by which a debugger knows the file again.
    Mapping mapping;
    for (map.Rewind(); map.Next(mapping);)
        if ((mapping.inode != 0 && mapping.offset == 0) || mapping.path == "[vdso]")
            wanted.Add(mapping.start, mapping.inode != 0 ? mapping.start + kPage : mapping.end);
    wanted.Merge();
}

// ---- Segments -----------------------------------------------------------------------------------

/// Whether reading a mapping could do more than give memory.
bool IsOfDevice(const Mapping& mapping) noexcept {
    constexpr std::string_view kMemory[] = {"/dev/shm/", "/dev/zero", "/dev/hugepages/"};
    if (mapping.path.starts_with("[vvar") || mapping.path == "[vsyscall]") return true;
    if (!mapping.path.starts_with("/dev/")) return false;
    return std::none_of(std::begin(kMemory), std::end(kMemory),
                        [&](std::string_view folder) { return mapping.path.starts_with(folder); });
}

/// Calls visit(mapping, start, end, written) for the parts of all mappings from the lowest on.
template <typename Visit>
void ForEachSegment(MemoryMap& map, Visit&& visit) noexcept {
    Mapping mapping;
    for (map.Rewind(); map.Next(mapping);) {
        // At the end of the address space, where the kernel's own begins.
        if (mapping.path == "[vsyscall]") continue;
        const bool readable = mapping.readable && !IsOfDevice(mapping);
        if (job.full || !readable) {
            visit(mapping, mapping.start, mapping.end, readable);
            continue;
        }
        std::uintptr_t at = mapping.start;
        const Range* range = std::lower_bound(
            wanted.begin(), wanted.end(), at,
            [](const Range& candidate, std::uintptr_t start) { return candidate.end <= start; });
        for (; range != wanted.end() && range->start < mapping.end; ++range) {
            const std::uintptr_t start = std::max(range->start, at);
            const std::uintptr_t end = std::min(range->end, mapping.end);
            if (start > at) visit(mapping, at, start, false);
            visit(mapping, start, end, true);
            at = end;
        }
        if (at < mapping.end) visit(mapping, at, mapping.end, false);
    }
}

// ---- The file -----------------------------------------------------------------------------------

/// Counts, or writes in pieces.
class Output {
  public:
    explicit Output(bool counts) noexcept : counts_(counts) {}

    void Put(const void* bytes, std::size_t size) noexcept {
        position_ += size;
        if (counts_) return;
        const char* from = static_cast<const char*>(bytes);
        while (size > 0 && good_) {
            const std::size_t piece = std::min(size, sizeof buffer_ - filled_);
            std::memcpy(buffer_ + filled_, from, piece);
            filled_ += piece;
            from += piece;
            size -= piece;
            if (filled_ == sizeof buffer_) Flush();
        }
    }
    template <typename Object>
    void Put(const Object& object) noexcept {
        Put(&object, sizeof object);
    }
    void PadTo(std::uint64_t boundary) noexcept {
        static constexpr char kZeros[kPage] = {};
        const std::uint64_t rest = position_ % boundary;
        if (rest != 0) Put(kZeros, static_cast<std::size_t>(boundary - rest));
    }
    void Flush() noexcept {
        const char* from = buffer_;
        while (filled_ > 0 && good_) {
            const ssize_t count = write(job.file, from, filled_);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) {
                good_ = false;
                break;
            }
            from += count;
            filled_ -= static_cast<std::size_t>(count);
        }
        filled_ = 0;
    }
    std::uint64_t Position() const noexcept { return position_; }
    bool IsGood() const noexcept { return good_; }

  private:
    bool counts_;
    bool good_ = true;
    std::uint64_t position_ = 0;
    char buffer_[8192];
    std::size_t filled_ = 0;
};

// ---- Notes --------------------------------------------------------------------------------------

void PutNote(Output& output, std::uint32_t type, std::string_view name, std::size_t size) noexcept {
    const Elf64_Nhdr header = {static_cast<Elf64_Word>(name.size() + 1),
                               static_cast<Elf64_Word>(size), type};
    output.Put(header);
    output.Put(name.data(), name.size());
    output.Put('\0');
    output.PadTo(4);
}

constexpr std::string_view kCore = "CORE";

template <typename Object>
void PutNote(Output& output, std::uint32_t type, const Object& object) noexcept {
    PutNote(output, type, kCore, sizeof object);
    output.Put(object);
    output.PadTo(4);
}

void PutStatus(Output& output, pid_t thread, const user_regs_struct& registers) noexcept {
    elf_prstatus status = {};
    status.pr_info.si_signo = job.fault.signal;
    status.pr_cursig = static_cast<short>(job.fault.signal);
    status.pr_pid = thread;
    static_assert(sizeof status.pr_reg == sizeof registers);
    std::memcpy(&status.pr_reg, &registers, sizeof registers);
    status.pr_fpvalid = 1;
    PutNote(output, NT_PRSTATUS, status);
}

void PutThreads(Output& output) noexcept {
    for (std::size_t i = 0; i < job.threadCount; ++i) {
        const Thread& thread = job.threads[i];
        PutStatus(output, thread.id, RegistersOf(thread));
        user_fpregs_struct floating = {};
        if (thread.stopped) ptrace(PTRACE_GETFPREGS, thread.id, nullptr, &floating);
        PutNote(output, NT_FPREGSET, floating);
    }
}

void PutProcess(Output& output) noexcept {
    elf_prpsinfo process = {};
    process.pr_sname = 'R';
    process.pr_uid = getuid();
    process.pr_gid = getgid();
    process.pr_pid = job.process;
    process.pr_pgrp = getpgid(job.process);
    process.pr_sid = getsid(job.process);
    Path path;
    path << "/proc/" << job.process << "/comm";
    const std::size_t nameSize =
        ReadWhole(path.Text(), process.pr_fname, sizeof process.pr_fname - 1);
    if (nameSize > 0 && process.pr_fname[nameSize - 1] == '\n')
        process.pr_fname[nameSize - 1] = '\0';
    const std::size_t size =
        ReadWhole("/proc/self/cmdline", process.pr_psargs, sizeof process.pr_psargs - 1);
    for (std::size_t i = 0; i + 1 < size; ++i)
        if (process.pr_psargs[i] == '\0') process.pr_psargs[i] = ' ';
    PutNote(output, NT_PRPSINFO, process);
}

/// The files that are mapped: count, page size, (start, end, offset in pages) of each, the names.
void PutFiles(Output& output, MemoryMap& map) noexcept {
    constexpr auto isFile = [](const Mapping& mapping) { return mapping.inode != 0; };
    std::uint64_t count = 0;
    std::size_t names = 0;
    Mapping mapping;
    for (map.Rewind(); map.Next(mapping);)
        if (isFile(mapping)) {
            ++count;
            names += mapping.path.size() + 1;
        }
    PutNote(output, NT_FILE, kCore, (2 + 3 * count) * sizeof(std::uint64_t) + names);
    output.Put(count);
    output.Put(std::uint64_t{kPage});
    for (map.Rewind(); map.Next(mapping);)
        if (isFile(mapping))
            for (const std::uint64_t word :
                 {std::uint64_t{mapping.start}, std::uint64_t{mapping.end}, mapping.offset / kPage})
                output.Put(word);
    for (map.Rewind(); map.Next(mapping);)
        if (isFile(mapping)) {
            output.Put(mapping.path.data(), mapping.path.size());
            output.Put('\0');
        }
    output.PadTo(4);
}

void PutNotes(Output& output, MemoryMap& map) noexcept {
    // The first thread is the one that a debugger shows.
    PutStatus(output, job.fault.thread, RegistersOfFault());
    PutProcess(output);
    siginfo_t information = {};
    if (job.fault.information != nullptr) information = *job.fault.information;
    PutNote(output, NT_SIGINFO, information);
    PutNote(output, NT_AUXV, kCore, auxiliarySize);
    output.Put(auxiliary, auxiliarySize);
    PutFiles(output, map);
    user_fpregs_struct floating = {};
    static_assert(sizeof(_libc_fpstate) == sizeof floating);
    if (job.fault.context->uc_mcontext.fpregs != nullptr)
        std::memcpy(&floating, job.fault.context->uc_mcontext.fpregs, sizeof floating);
    PutNote(output, NT_FPREGSET, floating);
    PutThreads(output);
}

// ---- Memory -------------------------------------------------------------------------------------

/// Tells of pages that were never touched, which read as zeros and are left out as holes of the
/// file.
class Touched {
  public:
    Touched() noexcept : file_(open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC)) {}
    ~Touched() {
        if (file_ >= 0) close(file_);
    }
    Touched(const Touched&) = delete;
    Touched& operator=(const Touched&) = delete;

    /// The pages from start on that are alike, at most to end; whether they were touched.
    std::uintptr_t Run(std::uintptr_t start, std::uintptr_t end, bool& touched) noexcept {
        touched = true;
        std::uintptr_t at = start;
        while (at < end) {
            const std::size_t count =
                std::min<std::size_t>((end - at) / kPage, std::size(entries_));
            const ssize_t size = pread(file_, entries_, count * sizeof entries_[0],
                                       static_cast<off_t>(at / kPage * sizeof entries_[0]));
            // Unknown: as if touched.
            if (size < static_cast<ssize_t>(sizeof entries_[0])) return end;
            const auto known = static_cast<std::size_t>(size) / sizeof entries_[0];
            for (std::size_t i = 0; i < known; ++i, at += kPage) {
                const bool here = (entries_[i] & (kPresent | kSwapped)) != 0;
                if (at == start) touched = here;
                if (here != touched) return at;
            }
        }
        return at;
    }

  private:
    static constexpr std::uint64_t kPresent = 1ULL << 63;
    static constexpr std::uint64_t kSwapped = 1ULL << 62;
    int file_;
    std::uint64_t entries_[512];
};

/// Writes memory at a place of the file. What can't be read stays a hole.
bool WriteMemory(std::uintptr_t start, std::uintptr_t end, std::uint64_t place) noexcept {
    constexpr std::uintptr_t kPiece = 1024 * 1024;
    while (start < end) {
        const std::size_t size = std::min(end - start, kPiece);
        const ssize_t count =
            pwrite(job.file, reinterpret_cast<const void*>(start), size, static_cast<off_t>(place));
        std::uintptr_t done = 0;
        if (count > 0) {
            done = static_cast<std::uintptr_t>(count);
        } else if (count < 0 && errno == EFAULT) {
            // Not all of a file is there that is mapped beyond its end.
            done = PageDown(start + kPage) - start;
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
        start += done;
        place += done;
    }
    return true;
}

bool WriteSegments(MemoryMap& map, std::uint64_t place) noexcept {
    bool good = true;
    Touched pages;
    ForEachSegment(map, [&](const Mapping& mapping, std::uintptr_t start, std::uintptr_t end,
                            bool written) {
        if (!written) return;
        while (start < end && good) {
            bool touched = true;
            const std::uintptr_t next = mapping.inode == 0 ? pages.Run(start, end, touched) : end;
            if (touched) good = WriteMemory(start, next, place);
            place += next - start;
            start = next;
        }
    });
    // The last page may be a hole.
    return good && ftruncate(job.file, static_cast<off_t>(place)) == 0;
}

// ---- The whole ----------------------------------------------------------------------------------

Elf64_Ehdr HeaderFor(std::uint64_t segments) noexcept {
    Elf64_Ehdr header = {};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_ident[EI_VERSION] = EV_CURRENT;
    header.e_type = ET_CORE;
    header.e_machine = EM_X86_64;
    header.e_version = EV_CURRENT;
    header.e_phoff = sizeof header;
    header.e_ehsize = sizeof header;
    header.e_phentsize = sizeof(Elf64_Phdr);
    header.e_phnum = static_cast<Elf64_Half>(std::min<std::uint64_t>(segments, PN_XNUM));
    if (segments >= PN_XNUM) {
        // The number stands in a section header then.
        header.e_shoff = sizeof header + segments * sizeof(Elf64_Phdr);
        header.e_shentsize = sizeof(Elf64_Shdr);
        header.e_shnum = 1;
    }
    return header;
}

bool WriteCore() noexcept {
    MemoryMap map;
    if (!map.Load()) return false;
    auxiliarySize = ReadWhole("/proc/self/auxv", auxiliary, sizeof auxiliary);
    if (!job.full) FindWanted(map);

    std::uint64_t segments = 1;
    ForEachSegment(map, [&](const Mapping&, std::uintptr_t, std::uintptr_t, bool) { ++segments; });
    Output count(true);
    PutNotes(count, map);
    const std::uint64_t notes = count.Position();

    Output output(false);
    const Elf64_Ehdr header = HeaderFor(segments);
    output.Put(header);
    Elf64_Phdr program = {};
    program.p_type = PT_NOTE;
    program.p_offset =
        sizeof header + segments * sizeof program + header.e_shnum * sizeof(Elf64_Shdr);
    program.p_filesz = notes;
    program.p_align = 4;
    output.Put(program);
    const std::uint64_t memory = PageUp(program.p_offset + notes);
    std::uint64_t place = memory;
    ForEachSegment(
        map, [&](const Mapping& mapping, std::uintptr_t start, std::uintptr_t end, bool written) {
            Elf64_Phdr segment = {};
            segment.p_type = PT_LOAD;
            segment.p_flags = (mapping.readable ? PF_R : 0U) | (mapping.writable ? PF_W : 0U) |
                              (mapping.executable ? PF_X : 0U);
            segment.p_offset = place;
            segment.p_vaddr = start;
            segment.p_memsz = end - start;
            segment.p_filesz = written ? end - start : 0;
            segment.p_align = kPage;
            place += segment.p_filesz;
            output.Put(segment);
        });
    if (header.e_shnum != 0) {
        Elf64_Shdr section = {};
        section.sh_size = 1;
        section.sh_info = static_cast<Elf64_Word>(segments);
        output.Put(section);
    }
    PutNotes(output, map);
    output.PadTo(kPage);
    output.Flush();
    return output.IsGood() && WriteSegments(map, memory);
}

void StopAndWrite() noexcept {
    job.threadCount = 0;
    StopThreads();
    job.written.store(WriteCore());
    LetThreadsGo();
}

// ---- The helper ---------------------------------------------------------------------------------

constexpr std::size_t kHelperStackSize = 256 * 1024;
alignas(64) unsigned char helperStack[kHelperStackSize];

[[noreturn]] void EndHelper(int) { _exit(1); }

long Futex(std::atomic<std::uint32_t>& word, int operation, const timespec* time) noexcept {
    return syscall(SYS_futex, &word, operation, operation == FUTEX_WAIT ? 0 : 1, time, nullptr, 0);
}

int Helper(void*) {
    // If the process is killed meanwhile, this one must not stay.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != job.process) return 1;
    // A fault in here ends this process only: the default action would end all that share the
    // memory. A limit of file size is a failed write.
    struct sigaction action = {};
    action.sa_handler = EndHelper;
    action.sa_flags = SA_NODEFER;
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE}) sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &action, nullptr);
    // The table of descriptors is a copy: the host's are not needed, and may be all that there are.
    const auto file = static_cast<unsigned>(job.file);
    if (file > 0) syscall(SYS_close_range, 0U, file - 1, 0U);
    syscall(SYS_close_range, file + 1, ~0U, 0U);
    constexpr timespec kSecond = {1, 0};
    if (job.released.load() == 0) Futex(job.released, FUTEX_WAIT, &kSecond);
    StopAndWrite();
    return 0;
}

}  // namespace

DumpWriter PrepareDumpWriter() noexcept { return DumpWriter::Ready; }

bool WriteDump(const OutputFile& file, const ExceptionPointers& pointers, bool full) noexcept {
    const ErrnoGuard guard;
    static ucontext_t here;
    job.file = static_cast<int>(file.Handle());
    job.full = full;
    job.process = getpid();
    job.fault = {};
    if (pointers.system != nullptr) {
        job.fault = *static_cast<const Fault*>(pointers.system);
    } else {
        // Without a fault, this place is told of.
        getcontext(&here);
        job.fault.thread = static_cast<pid_t>(CurrentThreadId());
        job.fault.context = &here;
    }
    syscall(SYS_arch_prctl, ARCH_GET_FS, &job.threadBase);
    job.written.store(false);
    job.released.store(0);
    job.beside = true;
    // No signal tells of its end: the host may count on the ends of its own children.
    const pid_t helper =
        clone(Helper, helperStack + kHelperStackSize, CLONE_VM | CLONE_UNTRACED, nullptr);
    if (helper < 0) {
        job.beside = false;
        StopAndWrite();
        return job.written.load();
    }
    // Where the system asks for it, lets the helper stop the threads.
    prctl(PR_SET_PTRACER, helper, 0, 0, 0);
    job.released.store(1);
    Futex(job.released, FUTEX_WAKE, nullptr);
    int status = 0;
    while (waitpid(helper, &status, __WALL) < 0 && errno == EINTR) {
    }
    prctl(PR_SET_PTRACER, 0, 0, 0, 0);
    return job.written.load();
}

}  // namespace Platform
