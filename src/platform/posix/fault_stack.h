// The stack on which a thread handles its faults when its own is used up.
#pragma once

namespace Platform::Detail {

/// While the crash filter is installed, gives the calling thread such a stack, unless it has one.
void AttachFaultStack() noexcept;
/// Takes it back, if it is still the thread's.
void DetachFaultStack() noexcept;
/// What AttachFaultStack asks.
void UseFaultStacks(bool use) noexcept;

}  // namespace Platform::Detail
