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
    Optional<WideText>* host = nullptr;
    Optional<std::int32_t>* type = nullptr;
    Optional<WideText>* account = nullptr;
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
    /// kind: out, the kind of the parameter as the catalogue numbers it; untouched without one.
    virtual GuidRef* GetGuidReference(std::uint32_t& kind) noexcept;
    virtual GuidRef* GetChannelGuidReference(std::uint32_t& kind) noexcept;
    virtual NamedId* GetNamedId() noexcept;
    virtual ObjectRef* GetVideoInput() noexcept;
    virtual ObjectRef* GetVideoOutput() noexcept;
    virtual ObjectRef* GetInputContact() noexcept;
    virtual ObjectRef* GetOutputContact() noexcept;
    virtual std::int64_t* GetForeignKey() noexcept;
    virtual std::int32_t GetGenericInt32Parameter() const noexcept;
    /// The parameters that tell the client of the action; null in an action that knows none.
    virtual ClientParameters GetClientParameters() noexcept;

    Properties properties;

    TMX_FORCE_INLINE ~CTmxAction() override {}

  protected:
    TMX_FORCE_INLINE explicit CTmxAction(std::uint32_t actionCode) noexcept
        : CTmxMessage(actionCode) {}
    /// The copies of the concrete classes carry over the parameters alone.
    CTmxAction(const CTmxAction& other) noexcept : CTmxMessage(other) {}
};

}  // namespace TmxPLC
