#include "event/action_info.h"

#include <utility>

namespace TmxPLC {

namespace {

constexpr std::uint32_t kLastVersion = 100;

// A reference in the hands of a function, which may point the flat head at a text of its own. At
// the end the head points at the object's text again, whatever has happened.
template <class Reference>
class Lent {
  public:
    explicit Lent(Reference& reference) noexcept : reference_(reference) {}
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;
    ~Lent() { reference_.Attach(); }

    // Takes the text over.
    void Take() {
        if (reference_.name == reference_.nameText.c_str()) return;
        // By way of a copy: the function may have pointed into the object's text.
        WideText text;
        text.AssignTerminated(reference_.name);
        reference_.nameText = std::move(text);
    }

  private:
    Reference& reference_;
};

// Lends a reference for the time of a call and takes its name over if the call says true. True
// where there is no reference to be lent.
template <class Reference, class Resolve>
bool Lend(Reference* reference, Resolve&& resolve) {
    if (reference == nullptr) return true;
    Lent lent(*reference);
    if (!resolve(reference)) return false;
    lent.Take();
    return true;
}

// A channel that is known by its number or its name alone is looked for first: on a copy, from
// which the id is taken over, whatever the function says.
void FindChannelId(ObjectRef& channel, void* context, const TmxActionInfoCallbacks& callbacks) {
    if (channel.id != 0 || (channel.number == 0 && channel.nameText.empty())) return;
    TmxObjectRef copy = channel;
    callbacks.resolveVideoInput(context, &copy);
    channel.id = copy.id;
}

// A parameter set belongs to a channel; without one it isn't asked for.
bool ResolveChannelSet(CTmxAction& action, void* context, const TmxActionInfoCallbacks& callbacks) {
    std::uint32_t kind = 0;
    GuidRef* const reference = action.GetChannelGuidReference(kind);
    ObjectRef* const channel = reference != nullptr ? action.GetVideoInput() : nullptr;
    if (channel == nullptr) return true;
    FindChannelId(*channel, context, callbacks);
    return Lend(channel, [&](ObjectRef*) {
        return Lend(reference, [&](GuidRef* set) {
            return callbacks.resolveChannelGuidReference(context, kind, set, channel);
        });
    });
}

}  // namespace

bool UpdateActionInfo(CTmxAction& action, void* context, const TmxActionInfoCallbacks& callbacks) {
    if ((action.messageFlags & TMX_MESSAGE_FLAG_COMPLETE) != 0 || callbacks.version > kLastVersion)
        return true;
    // The version is read anew before each stage, so that a function can end the walk.
    const auto ended = [&] { return callbacks.version < 1; };
    if (ended()) return true;

    bool ok = ResolveChannelSet(action, context, callbacks);

    if (ended()) return ok;
    const auto resolve = [&](auto* reference, auto* function) {
        if (!Lend(reference, [&](auto* lent) { return function(context, lent); })) ok = false;
    };
    resolve(action.GetVideoInput(), callbacks.resolveVideoInput);
    resolve(action.GetVideoOutput(), callbacks.resolveVideoOutput);
    resolve(action.GetInputContact(), callbacks.resolveInputContact);
    resolve(action.GetOutputContact(), callbacks.resolveOutputContact);

    if (ended()) return ok;
    resolve(action.GetNamedId(), callbacks.resolveNamedId);

    if (ended()) return ok;
    std::uint32_t kind = 0;
    GuidRef* const reference = action.GetGuidReference(kind);
    return Lend(reference,
                [&](GuidRef* lent) {
                    return callbacks.resolveGuidReference(context, kind, lent);
                }) &&
           ok;
}

}  // namespace TmxPLC
