// The named texts that an action carries beside its parameters.
#pragma once

#include <map>
#include <memory>

#include "zinc/exceptions.h"

namespace TmxPLC {

using Platform::WideChar;
using Zinc::WideString;
using Zinc::WideView;

/// An ordered map from name to value. The order is by unit value, a shorter name before a longer
/// one that begins with it; there is no case folding. Most actions have none, so that the map is
/// made with the first property.
class Properties {
  public:
    using Map = std::map<WideString, WideString, std::less<>>;

    /// All pairs in order.
    const Map& All() const noexcept;
    /// The value, or null if there is no such property.
    const WideString* Find(WideView name) const noexcept;
    void Set(WideView name, WideView value);
    void Remove(WideView name) noexcept;
    void Clear() noexcept { state_.reset(); }

    /// The place for the text that lists all pairs; it stays until the end of the object.
    WideString& ListText() { return Made().text; }

  private:
    struct State {
        Map map;
        WideString text;
    };
    State& Made();
    std::unique_ptr<State> state_;
};

}  // namespace TmxPLC
