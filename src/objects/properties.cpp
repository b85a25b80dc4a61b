#include "objects/properties.h"

namespace TmxPLC {

namespace {

// One pass over the text. The search goes on behind what was put in, so that a replacement is not
// replaced again.
void ReplaceAll(WideString& text, WideChar unit, WideView replacement) {
    for (std::size_t at = text.find(unit); at != WideString::npos;
         at = text.find(unit, at + replacement.size()))
        text.replace(at, 1, replacement);
}

// The ampersand comes first: the other two replacements hold one. Quotes, apostrophes and control
// characters stay, and a text that is escaped already is escaped again.
WideString Escape(WideView text) {
    WideString escaped(text);
    ReplaceAll(escaped, '&', TMX_WIDE("&amp;"));
    ReplaceAll(escaped, '<', TMX_WIDE("&lt;"));
    ReplaceAll(escaped, '>', TMX_WIDE("&gt;"));
    return escaped;
}

}  // namespace

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

const WideString& Properties::List() {
    WideString text;
    if (All().empty()) {
        text = TMX_WIDE("<properties />");
    } else {
        text = TMX_WIDE("<properties>\r\n");
        for (const auto& [name, value] : All()) {
            text += TMX_WIDE("  <property>\r\n    <name>");
            text += Escape(name);
            text += TMX_WIDE("</name>\r\n    <value>");
            text += Escape(value);
            text += TMX_WIDE("</value>\r\n  </property>\r\n");
        }
        text += TMX_WIDE("</properties>");
    }
    return Made().text = std::move(text);
}

}  // namespace TmxPLC
