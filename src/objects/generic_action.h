// An action without a catalogue entry: a carrier of routing values.
#pragma once

#include "objects/message.h"

namespace TmxPLC {

/// Has no name, no text form and no parameters in bytes, and equals nothing, itself included.
class CTmxGenericAction final : public CTmxAction {
  public:
    static constexpr std::uint32_t kCode = 0x7ffffffe;
    /// Its catalogue record stays null: the code stands in no map and in no query.
    inline static constinit Descriptor descriptor{};

    /// Fills the descriptor. Called at load behind the building of the catalogue.
    static void Register() noexcept {
        descriptor.messageClass = ActionMessage;
        descriptor.code = kCode;
    }

    CTmxGenericAction() noexcept : CTmxAction(kCode) {}
    /// Each reference may be null, which leaves the value empty.
    CTmxGenericAction(const TmxObjectRef* input, const TmxObjectRef* output,
                      const TmxObjectRef* inContact, const TmxObjectRef* outContact,
                      std::int32_t number)
        : CTmxGenericAction() {
        if (input) videoInput = *input;
        if (output) videoOutput = *output;
        if (inContact) inputContact = *inContact;
        if (outContact) outputContact = *outContact;
        genericInt32 = number;
    }

    const Descriptor& GetInfo() const noexcept override { return descriptor; }
    CTmxMessage* Clone() const override { return new (std::nothrow) CTmxGenericAction(*this); }
    bool StoreToTextW(TextWriter<WideChar>&) const override { return false; }
    bool StoreToTextA(TextWriter<char>&) const override { return false; }
    bool StoreToBin(BinOutput&) const override { return false; }
    bool Equal(const CTmxAction&) const override { return false; }
    CTmxMatchAction* CreateMatchAction() const override { return nullptr; }
    /// Leaves everything as it is.
    void GetEventData(TmxEventDataRecord&, bool&) const override {}

    ObjectRef videoInput;
    ObjectRef videoOutput;
    ObjectRef inputContact;
    ObjectRef outputContact;
    std::int32_t genericInt32 = 0;

  protected:
    void* FindByRole(RoutingRole role, std::uint32_t&) noexcept override {
        switch (role) {
            case RoutingRole::VideoInput:
                return Given(videoInput);
            case RoutingRole::VideoOutput:
                return Given(videoOutput);
            case RoutingRole::InputContact:
                return Given(inputContact);
            case RoutingRole::OutputContact:
                return Given(outputContact);
            case RoutingRole::GenericInt32:
                return &genericInt32;
            default:
                return nullptr;
        }
    }

  private:
    static ObjectRef* Given(ObjectRef& value) noexcept {
        return value.IsEmpty() ? nullptr : &value;
    }
};

}  // namespace TmxPLC
