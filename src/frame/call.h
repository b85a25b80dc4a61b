// The frame around every exported function that takes or makes a handle or converts data.
#pragma once

#include "frame/last_error.h"
#include "match/match_action.h"
#include "objects/message.h"

namespace TmxPLC::Frame {

inline CTmxMessage& Message(TmxHandle handle) noexcept {
    return *reinterpret_cast<CTmxMessage*>(handle);
}
inline CTmxAction& Action(TmxHandle handle) noexcept {
    return static_cast<CTmxAction&>(Message(handle));
}
inline CTmxMatchAction& Template(TmxHandle handle) noexcept {
    return static_cast<CTmxMatchAction&>(Message(handle));
}
inline TmxHandle Handle(CTmxMessage* message) noexcept {
    return reinterpret_cast<TmxHandle>(message);
}

/// Runs the work of an export. On normal completion the thread's last error is cleared and the
/// work's result goes back. An exception is recorded, and the result is 0: nothing ever leaves an
/// export as an exception.
template <class Work>
inline auto Call(Work&& work) noexcept -> decltype(work()) {
    try {
        auto result = work();
        LastError::Clear();
        return result;
    } catch (...) {
        LastError::RecordCurrentException();
        return {};
    }
}

/// The same for work whose completion is success.
template <class Work>
inline bool Run(Work&& work) noexcept {
    return Call([&] {
        work();
        return true;
    });
}

}  // namespace TmxPLC::Frame
