// What the entry point of the DLL tells the thread slot.
#pragma once

namespace Platform::Windows {

/// Gives the calling thread's value back, if it has one. The thread is about to end.
void EndOfThread() noexcept;

}  // namespace Platform::Windows
