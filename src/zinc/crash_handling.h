// What becomes of the process when a fault goes unhandled or the terminate function is called:
// diagnostic lines, two dump files, a dialog, and the end.
//
// All of it runs in a process that has crashed: it allocates nothing from the heap, waits for no
// lock for long, and goes on with its next step where one fails.
#pragma once

#include <cstdint>

#include "zinc/exceptions.h"

namespace Zinc {

using Platform::ExceptionPointers;

/// Takes the process's faults and its terminate function, whatever was there before.
void InstallCrashHandling() noexcept;
/// Gives back what is still taken, for a module that goes.
void RemoveCrashHandling() noexcept;

/// Tells of the fault, writes both dumps and ends the process with -1. A stack overflow ends it at
/// once.
[[noreturn]] void StructuredExceptionHandler(const ExceptionPointers& pointers) noexcept;

/// Shows its dialog and returns to the run-time, which ends the process. Writes no dump, though its
/// text speaks of one.
void TerminationFunction() noexcept;

/// The name of a Windows exception code; "UKNOWN EXCEPTION", spelled so, for any other.
const char* ExceptionCodeName(std::uint32_t code) noexcept;

void WriteExceptionInfoToDebugOut(const ExceptionPointers& pointers) noexcept;

/// Whether dumps are told of: on for this system's own executables but the viewers, unless the
/// registry says otherwise. Found out once.
bool MiniDumpsEnabled() noexcept;

/// Writes a dump beside the executable, even where dumps are off: then nobody is told. False: it
/// failed.
bool WriteMiniDump(const ExceptionPointers& pointers, bool full) noexcept;

}  // namespace Zinc
