#include "objects/properties.h"

namespace TmxPLC {

Properties::State& Properties::Made() {
    if (!state_) state_ = std::make_unique<State>();
    return *state_;
}

const Properties::Map& Properties::All() const noexcept {
    static const Map empty;
    return state_ ? state_->map : empty;
}

const WideString* Properties::Find(WideView name) const noexcept {
    const Map& map = All();
    const auto found = map.find(name);
    return found == map.end() ? nullptr : &found->second;
}

void Properties::Set(WideView name, WideView value) {
    Map& map = Made().map;
    const auto found = map.find(name);
    if (found != map.end())
        found->second = value;
    else
        map.emplace(WideString(name), WideString(value));
}

void Properties::Remove(WideView name) noexcept {
    if (!state_) return;
    const auto found = state_->map.find(name);
    if (found != state_->map.end()) state_->map.erase(found);
}

}  // namespace TmxPLC
