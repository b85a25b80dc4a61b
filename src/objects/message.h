// The bases of all messages. A handle is the address of a live CTmxMessage.
#pragma once

#include <cstdint>
#include <new>

#include "objects/descriptor.h"
#include "objects/live_objects.h"
#include "objects/properties.h"
#include "objects/values.h"
#include "zinc/reference.h"

namespace TmxPLC {

struct BinOutput;
class CTmxMatchAction;
template <typename Char>
class TextWriter;

/// What every message is: counted, described, cloned, stored and compared.
class CTmxMessage : public Zinc::ReferenceBaseClass<Zinc::VirtualReferenceCountBaseClass> {
  public:
    TMX_FORCE_INLINE ~CTmxMessage() override { LiveObjects::Remove(); }

    virtual const Descriptor& GetInfo() const noexcept = 0;
    /// A new object of the same class with the same parameters and nothing else of this one; null
    /// where there is no memory for the object.
    virtual CTmxMessage* Clone() const = 0;
    /// The stores return whether the buffer sufficed.
    virtual bool StoreToTextW(TextWriter<WideChar>& writer) const = 0;
    virtual bool StoreToTextA(TextWriter<char>& writer) const = 0;
    virtual bool StoreToBin(BinOutput& output) const = 0;

    std::uint32_t messageFlags = 0;
    std::uint64_t internalData = 0;  // the caller's own; never looked at
    const std::uint32_t code;        // the descriptor's, at hand where one is tested against many

  protected:
    // Made and ended with every object of every class: inlined, they cost a few stores.
    TMX_FORCE_INLINE explicit CTmxMessage(std::uint32_t actionCode) noexcept : code(actionCode) {
        referenceCount.store(1, std::memory_order_relaxed);
        LiveObjects::Add();
    }
    /// A copy begins as a new object does: what belongs to the message itself is not carried over.
    CTmxMessage(const CTmxMessage& other) noexcept : CTmxMessage(other.code) {}
};

/// The client that sent an action, as some actions tell it.
struct ClientParameters {
    Optional<WideText>* host;
    Optional<std::int32_t>* type;
    Optional<WideText>* account;
};

/// The roles that a parameter may play for those who route actions.
enum class RoutingRole : std::uint8_t {
    GuidReference,
    ChannelGuidReference,
    NamedId,
    VideoInput,
    VideoOutput,
    InputContact,
    OutputContact,
    ForeignKey,
    GenericInt32,
    // The parameter itself, whether it is present or not.
    ClientHost,
    ClientType,
    ClientAccount,
};

/// The base of all actions. The accessors by role give the parameter that plays the role inside the
/// object, null where there is none or where it is absent.
class CTmxAction : public CTmxMessage {
  public:
    virtual bool Equal(const CTmxAction& other) const = 0;
    /// A new template in which everything is set that has a value here; null where there is no
    /// memory for it, and for the generic action, which has no template.
    virtual CTmxMatchAction* CreateMatchAction() const = 0;
    /// Spreads the parameters over the fields of an event record, see event/event_data.h.
    virtual void GetEventData(TmxEventDataRecord& record, bool& complete) const = 0;

    /// kind: out, the kind of the parameter as the catalogue numbers it, told even where the
    /// parameter is absent; untouched without one.
    GuidRef* GetGuidReference(std::uint32_t& kind) noexcept {
        return static_cast<GuidRef*>(FindByRole(RoutingRole::GuidReference, kind));
    }
    GuidRef* GetChannelGuidReference(std::uint32_t& kind) noexcept {
        return static_cast<GuidRef*>(FindByRole(RoutingRole::ChannelGuidReference, kind));
    }
    NamedId* GetNamedId() noexcept { return Find<TmxPLC::NamedId>(RoutingRole::NamedId); }
    ObjectRef* GetVideoInput() noexcept { return Find<ObjectRef>(RoutingRole::VideoInput); }
    ObjectRef* GetVideoOutput() noexcept { return Find<ObjectRef>(RoutingRole::VideoOutput); }
    ObjectRef* GetInputContact() noexcept { return Find<ObjectRef>(RoutingRole::InputContact); }
    ObjectRef* GetOutputContact() noexcept { return Find<ObjectRef>(RoutingRole::OutputContact); }
    std::int64_t* GetForeignKey() noexcept { return Find<std::int64_t>(RoutingRole::ForeignKey); }
    /// 0 where there is none.
    std::int32_t GetGenericInt32Parameter() noexcept {
        const std::int32_t* number = Find<std::int32_t>(RoutingRole::GenericInt32);
        return number != nullptr ? *number : 0;
    }
    /// All null in an action that knows no client.
    ClientParameters GetClientParameters() noexcept {
        return {Find<Optional<WideText>>(RoutingRole::ClientHost),
                Find<Optional<std::int32_t>>(RoutingRole::ClientType),
                Find<Optional<WideText>>(RoutingRole::ClientAccount)};
    }

    Properties properties;

    TMX_FORCE_INLINE ~CTmxAction() override {}

  protected:
    /// The parameter that plays the role, of the type of the role's accessor. One function for all
    /// roles: most actions have none or one.
    virtual void* FindByRole(RoutingRole role, std::uint32_t& kind) noexcept = 0;

    TMX_FORCE_INLINE explicit CTmxAction(std::uint32_t actionCode) noexcept
        : CTmxMessage(actionCode) {}
    /// The copies of the concrete classes carry over the parameters alone.
    CTmxAction(const CTmxAction& other) noexcept : CTmxMessage(other) {}

  private:
    template <class Value>
    Value* Find(RoutingRole role) noexcept {
        std::uint32_t kind = 0;
        return static_cast<Value*>(FindByRole(role, kind));
    }
};

}  // namespace TmxPLC
