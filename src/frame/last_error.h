// The last-error record of each thread.
#pragma once

#include <cstdint>

#include "zinc/thread_state.h"

namespace TmxPLC {

/// One per thread, made with the thread's first framed call. Texts longer than their field are cut.
struct LastErrorRecord : Zinc::ThreadState {
    std::uint32_t present = 0;  // 1 after a failure, 0 after a later success
    std::uint32_t code = 0;
    std::uint32_t subcode = 0;
    char exceptionClass[500];
    char message[1024];
    Platform::WideChar messageW[1024];
    char details[5632];
};

namespace LastError {

/// Allocates the thread-local storage. Without it the library works without records.
void Attach() noexcept;
/// Frees the storage and the records of all threads.
void Detach() noexcept;

/// The calling thread's record, made if necessary; null if none can be had. A failed allocation is
/// tried again with the next call.
LastErrorRecord* Make() noexcept;
TMX_FORCE_INLINE LastErrorRecord* Fetch() noexcept {
    auto* record = static_cast<LastErrorRecord*>(Zinc::ThreadState::Current());
    return record != nullptr ? record : Make();
}

/// Records success.
TMX_FORCE_INLINE void Clear() noexcept {
    if (LastErrorRecord* record = Fetch()) record->present = 0;
}

/// Records the exception that is being handled. To be called inside a handler.
void RecordCurrentException() noexcept;

}  // namespace LastError

}  // namespace TmxPLC
