#include "binary_source.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "encoding.h"

namespace tmxact {

namespace {

constexpr std::size_t kShownBytes = 16;

// Bytes as hexadecimal pairs and as characters; caret gets the column of the byte at mark.
std::string Dump(std::string_view before, std::string_view bytes, std::size_t& caret) {
    std::string pairs;
    std::string characters;
    const auto put = [&](char c) {
        char pair[4];
        const auto byte = static_cast<unsigned char>(c);
        std::snprintf(pair, sizeof pair, "%02X ", byte);
        pairs += pair;
        characters += byte >= 0x20 && byte < 0x7F ? c : '.';
    };
    for (const char c : before) put(c);
    caret = pairs.size();
    for (const char c : bytes) put(c);
    return pairs + ' ' + characters;
}

}  // namespace

BinarySource::BinarySource(Input& input, const SourceOptions& options, ReadEvents& events)
    : input_(input), events_(events), wanted_(options.wanted), walker_(options.largestAction) {}

// Walks the action that begins at this place of the window, and reads on as it needs.
BinaryWalker::Outcome BinarySource::WalkOn(std::size_t begin) {
    walker_.Begin();
    for (;;) {
        const BinaryWalker::Outcome outcome =
            walker_.Walk(input_.Window().substr(begin), input_.AtEnd());
        if (outcome != BinaryWalker::Outcome::kNeedsMore) return outcome;
        input_.Fill();
    }
}

bool BinarySource::Next(ReadAction& action) {
    action.handle.reset();
    while (!input_.Window().empty() || input_.Fill()) {
        const BinaryWalker::Outcome outcome = WalkOn(0);
        const std::size_t length = walker_.Position();
        if (outcome == BinaryWalker::Outcome::kBroken) {
            Refuse(length, walker_.Reason());
            Resynchronise();
            continue;
        }
        // The library sees this action's bytes and no more, so that nothing behind it can be taken
        // for a part of it.
        std::uint32_t used = 0;
        const std::string_view window = input_.Window();
        action.handle.reset(TmxAct_CreateFromBinBuffer(
            reinterpret_cast<const std::uint8_t*>(window.data()), static_cast<std::int32_t>(length),
            TMX_ANY_MESSAGE_CLASS, &used));
        if (action.handle == nullptr) {
            std::string reason = LastErrorText();
            if (reason.empty())
                reason = walker_.IsTemplate() ? "the library makes no template of it"
                                              : "the library refuses the action";
            Refuse(0, walker_.Action()->name + ": " + reason);
            Resynchronise();
            continue;
        }
        if (wanted_ == (walker_.IsTemplate() ? Wanted::kActions : Wanted::kTemplates)) {
            Refuse(0, walker_.Action()->name + (walker_.IsTemplate()
                                                    ? ": expected an action, found a template"
                                                    : ": expected a template, found an action"));
            input_.Consume(length);
            continue;
        }
        action.facts = walker_.Action();
        action.isTemplate = walker_.IsTemplate();
        action.bytes = window.substr(0, length);
        action.offset = input_.Offset();
        input_.Consume(length);
        return true;
    }
    return false;
}

void BinarySource::Refuse(std::size_t position, std::string reason) {
    const std::string_view window = input_.Window();
    const std::string_view behind = input_.Behind();
    Refusal refusal;
    refusal.file = input_.Name();
    refusal.offset = input_.Offset() + position;
    refusal.reason = std::move(reason);
    if (position > 0)
        refusal.reason += " (the action begins at " + std::to_string(input_.Offset()) + ")";
    std::string before;
    const std::size_t shown = std::min(kShownBytes / 2, position + behind.size());
    for (std::size_t back = shown; back > 0; --back)
        before +=
            back <= position ? window[position - back] : behind[behind.size() - (back - position)];
    refusal.excerpt = Dump(before, window.substr(position, kShownBytes - shown), refusal.caret);
    events_.Refused(refusal);
}

// Moves on to the next place where an action can be read whole and ends in its property block:
// the form has nothing else that tells an action from chance bytes.
void BinarySource::Resynchronise() {
    std::size_t from = 1;
    for (;;) {
        const std::string_view window = input_.Window();
        const std::size_t begin =
            std::min(window.find('\x01', std::min(from, window.size())), window.size());
        input_.Consume(begin);
        from = 0;
        if (begin == window.size()) {
            if (!input_.Fill()) return;
            continue;
        }
        if (WalkOn(0) == BinaryWalker::Outcome::kComplete && walker_.HasProperties()) return;
        from = 1;
    }
}

}  // namespace tmxact
