// What an action and its template have in common as messages: every operation that walks their
// parameters, written once. The build makes for each row of the catalogue two classes that hold the
// members, and the lists of these (ActionFacts); all that follows is straight-line code known at
// compile time.
#pragma once

#include <new>
#include <type_traits>

#include "actions/event_fields.h"
#include "actions/fields.h"
#include "binary/action_binary.h"
#include "binary/values.h"
#include "catalogue/catalogue.h"
#include "match/match_action.h"
#include "objects/message_guard.h"
#include "text/parameter_text.h"

namespace TmxPLC {

/// Base is CTmxAction or CTmxMatchAction.
template <class Class, class Base>
class ConcreteMessage : public Base {
  public:
    using Facts = ActionFacts<Class>;
    static constexpr bool kIsTemplate = std::is_same_v<Base, CTmxMatchAction>;

    /// The class's descriptor; RegisterMessage fills it at load.
    inline static constinit Descriptor descriptor{};

    std::uint32_t Release() noexcept final { return this->ReleaseFrom(Self()); }
    const Descriptor& GetInfo() const noexcept final { return descriptor; }

    CTmxMessage* Clone() const final { return new (std::nothrow) Class(Self()); }

    bool StoreToTextW(TextWriter<WideChar>& writer) const final { return StoreToText(writer); }
    bool StoreToTextA(TextWriter<char>& writer) const final { return StoreToText(writer); }

    bool StoreToBin(BinOutput& output) const final {
        BinOutput stored = StoreHeader(output, descriptor);
        ForEachParameter(Self(), [&](std::uint32_t, const auto& parameter, const Name&) {
            stored = StoreValue(stored, parameter);
        });
        output = stored;
        return output.remaining >= 0;
    }

    void GetEventData(TmxEventDataRecord& record, bool& complete) const final {
        EventFieldWriter writer(Self(), record, complete);
        FeedEventFields(writer, Self());
    }

    /// The creators of the descriptor.
    template <typename Char>
    static CTmxMessage* CreateFromText(TextScanner<Char>& scanner) {
        return CreateFrom(scanner);
    }
    static CTmxMessage* CreateFromBin(BinInput& input) { return CreateFrom(input); }

  protected:
    TMX_FORCE_INLINE ConcreteMessage() noexcept : Base(Facts::kCode) {}

    Class& Self() noexcept { return static_cast<Class&>(*this); }
    const Class& Self() const noexcept { return static_cast<const Class&>(*this); }

    static Class* Make() noexcept { return new (std::nothrow) Class; }

  private:
    // Calls visit(type, parameter, name) for all that a message holds, in its order.
    template <class Object, class Visit>
    static void ForEachParameter(Object& object, Visit&& visit) {
        if constexpr (kIsTemplate) visit(ParamWideText, object.description, kDescriptionName);
        ForEachField<Class>(
            [&]<class Field>(const Name& name) { visit(Field::kType, Field::In(object), name); });
    }

    template <class Stream>
    static CTmxMessage* CreateFrom(Stream& stream) {
        MessageGuard<Class> made(Make());
        if (made.Get() == nullptr) return ReadWithoutMemory(stream);
        return made.Get()->Read(stream) ? made.Release() : nullptr;
    }
    template <class Stream>
    [[gnu::noinline]] static CTmxMessage* ReadWithoutMemory(Stream& stream) {
        // What the caller is told of the place is the same as with an object.
        Class passing;
        passing.Read(stream);
        return nullptr;
    }

    template <typename Char>
    bool Read(TextScanner<Char>& scanner) {
        scanner.ScanOpenParen();
        ForEachParameter(Self(), [&](std::uint32_t, auto& parameter, const Name& name) {
            ReadParameter(scanner, parameter, name);
        });
        scanner.ScanCloseParen();
        return scanner.Healthy();
    }
    bool Read(BinInput& input) {
        ForEachParameter(Self(), [&](std::uint32_t, auto& parameter, const Name&) {
            LoadValue(input, parameter);
        });
        return input.failure == 0;
    }

    template <typename Char>
    bool StoreToText(TextWriter<Char>& writer) const {
        writer.WriteName(descriptor, Facts::kName);
        if (writer.DisplayMode)
            ForEachParameter(Self(), [&](std::uint32_t type, const auto& parameter, const Name&) {
                DisplayParameter(writer, type, parameter);
            });
        else
            ForEachParameter(Self(), [&](std::uint32_t, const auto& parameter, const Name& name) {
                WriteParameter(writer, parameter, name);
            });
        return writer.WriteEnd();
    }
};

/// Registers a class of messages for the building of the catalogue.
template <class Class>
void RegisterMessage() {
    registerDescriptor(Class::descriptor, Class::kIsTemplate ? MatchActionMessage : ActionMessage,
                       Class::Facts::kCode, &Class::template CreateFromText<char>,
                       &Class::CreateFromBin, &Class::template CreateFromText<WideChar>);
}

}  // namespace TmxPLC
