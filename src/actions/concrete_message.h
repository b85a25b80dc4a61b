// What an action and its template have in common as messages. The build makes for each row of the
// catalogue two classes that hold the members, and the lists of these (ActionFacts); all that
// follows is straight-line code known at compile time.
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
#include "objects/reserve.h"
#include "text/parameter_text.h"

namespace TmxPLC {

/// Base is CTmxAction or CTmxMatchAction. What depends on the kind of message stands in the class:
/// Store(TextWriter&) and Store(BinOutput), and Read for each of the three streams, which tells
/// whether nothing failed.
template <class Class, class Base>
class ConcreteMessage : public Base {
  public:
    using Facts = ActionFacts<Class>;
    static constexpr bool kIsTemplate = std::is_same_v<Base, CTmxMatchAction>;

    /// The class's descriptor; RegisterMessage fills it at load.
    inline static constinit Descriptor descriptor{};

    const Descriptor& GetInfo() const noexcept final { return descriptor; }

    CTmxMessage* Clone() const final { return new (std::nothrow) Class(Self()); }

    bool StoreToTextW(TextWriter<WideChar>& writer) const final { return Self().Store(writer); }
    bool StoreToTextA(TextWriter<char>& writer) const final { return Self().Store(writer); }
    bool StoreToBin(BinOutput& output) const final {
        output = Self().Store(StoreHeader(output, descriptor));
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
    ConcreteMessage(const ConcreteMessage&) = default;
    // Inlined, the bases leave nothing behind of their own, not even their tables of functions.
    TMX_FORCE_INLINE ~ConcreteMessage() override {}

    Class& Self() noexcept { return static_cast<Class&>(*this); }
    const Class& Self() const noexcept { return static_cast<const Class&>(*this); }

    /// A message with reference count 1 and nothing in it; null where there is no memory for it.
    static Class* Make() noexcept { return MakeAt(::operator new(sizeof(Class), std::nothrow)); }

  private:
    [[gnu::noinline]] static Class* MakeAt(void* memory) noexcept {
        return memory != nullptr ? ::new (memory) Class : nullptr;
    }

    template <class Stream>
    static CTmxMessage* CreateFrom(Stream& stream) {
        static_assert(sizeof(Class) <= Reserve::kSize);
        MessageGuard<Class> made(MakeAt(Reserve::Allocate(sizeof(Class))));
        const bool read = made.Get()->Read(stream);
        return Reserve::Keep(made.Release(), read);
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
