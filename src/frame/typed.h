// What the typed functions are made of.
#pragma once

#include "frame/call.h"
#include "zinc/exceptions.h"

namespace TmxPLC::Frame {

[[noreturn]] void ThrowWrongDecodeMethod();

template <class Action, class... Flat>
inline TmxHandle Create(const Flat&... arguments) noexcept {
    return Call([&] { return Handle(Action::FromFlat(arguments...)); });
}

/// An action of another code is the only thing that is tested.
template <class Action, class... Flat>
inline bool Decode(TmxHandle handle, Flat*... out) noexcept {
    return Run([&] {
        const CTmxMessage& message = Message(handle);
        if (message.code != Action::Facts::kCode) ThrowWrongDecodeMethod();
        static_cast<const Action&>(message).Decode(out...);
    });
}

}  // namespace TmxPLC::Frame
