// What a fault's handler knows of it, for the one who writes the dump.
#pragma once

#include <signal.h>
#include <ucontext.h>

#include <cstddef>
#include <cstdint>

namespace Platform::Detail {

struct Fault {
    int signal = 0;
    pid_t thread = 0;
    const siginfo_t* information = nullptr;
    const ucontext_t* context = nullptr;
};

inline std::uintptr_t StackPointer(const ucontext_t& context) noexcept {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSP]);
}
inline std::uintptr_t ProgramCounter(const ucontext_t& context) noexcept {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
}

/// Threads that had a fault while another's was being handled, and wait for the end.
inline constexpr std::size_t kMaxParked = 64;
std::size_t ParkedStacks(std::uintptr_t (&stacks)[kMaxParked]) noexcept;

}  // namespace Platform::Detail
