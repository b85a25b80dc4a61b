// The rule that turns a row of the catalogue into an action class.
#pragma once

#include "actions/client_info.h"
#include "actions/concrete_message.h"
#include "actions/routing.h"
#include "match/agreement.h"

namespace TmxPLC {

/// A parameter from its flat argument: a value by value, all else by a pointer.
template <class T>
inline void SetFromFlat(T& parameter, T argument) noexcept requires std::is_arithmetic_v<T> {
    parameter = argument;
}
template <class T, class Flat>
inline void SetFromFlat(T& parameter, const Flat* argument) {
    if constexpr (std::is_same_v<T, WideText> || std::is_same_v<T, AnsiText>)
        parameter.AssignTerminated(argument);
    else if constexpr (std::is_same_v<T, TZincDateTime>)
        parameter = TZincDateTime(argument->value);
    else
        parameter = *argument;
}
/// A null argument makes an optional parameter absent.
template <class T, class Flat>
inline void SetFromFlat(Optional<T>& parameter, const Flat* argument) {
    if (argument == nullptr) return SetUnread(parameter.value);
    SetFromFlat(parameter.value, argument);
    parameter.present = true;
}

/// A parameter given to the flat out argument of a typed Decode function.
template <class T, class Flat>
inline void DecodeToFlat(const T& parameter, Flat* out) {
    if constexpr (std::is_same_v<T, WideText> || std::is_same_v<T, AnsiText>)
        *out = parameter.c_str();
    else if constexpr (std::is_same_v<T, TZincDateTime>)
        out->value = parameter.Word();
    else if constexpr (std::is_same_v<T, DataSet>)
        *out = parameter.Flat();
    else
        *out = parameter;
}
template <class T, class Flat>
inline void DecodeToFlat(const Optional<T>& parameter, const Flat** out) noexcept {
    static_assert(sizeof(TZincDateTime) == sizeof(TmxDateTime));
    if (!parameter.present)
        *out = nullptr;
    else if constexpr (std::is_same_v<T, WideText> || std::is_same_v<T, AnsiText>)
        *out = parameter.value.c_str();
    else if constexpr (std::is_same_v<T, TZincDateTime>)
        *out = reinterpret_cast<const TmxDateTime*>(&parameter.value);
    else
        *out = &parameter.value;
}

template <class Action>
class ConcreteAction : public ConcreteMessage<Action, CTmxAction> {
    using Message = ConcreteMessage<Action, CTmxAction>;

  public:
    using typename Message::Facts;

    using Message::Make;

    template <typename Char>
    bool Store(TextWriter<Char>& writer) const {
        writer.WriteName(Message::descriptor, Facts::kName);
        if (writer.DisplayMode)
            ForEachField<Action>([&]<class Field>(const Name&) {
                DisplayParameter(writer, Field::kType, Field::In(Self()));
            });
        else
            ForEachField<Action>([&]<class Field>(const Name& name) {
                WriteParameter(writer, Field::In(Self()), name);
            });
        return writer.WriteEnd();
    }
    BinOutput Store(BinOutput output) const {
        ForEachField<Action>(
            [&]<class Field>(const Name&) { output = StoreValue(output, Field::In(Self())); });
        return output;
    }
    template <typename Char>
    bool Read(TextScanner<Char>& scanner) {
        scanner.ScanOpenParen();
        ForEachField<Action>([&]<class Field>(const Name& name) {
            ReadParameter(scanner, Field::In(Self()), name);
        });
        scanner.ScanCloseParen();
        return scanner.Healthy();
    }
    bool Read(BinInput& input) {
        ForEachField<Action>(
            [&]<class Field>(const Name&) { LoadValue(input, Field::In(Self())); });
        return input.failure == 0;
    }

    std::uint32_t Release() noexcept final { return this->ReleaseFrom(Self()); }

    bool Equal(const CTmxAction& other) const final {
        if (other.code != Facts::kCode) return false;
        const Action& right = static_cast<const Action&>(other);
        return AllFields<Action>(
            [&]<class Field>() { return Agree(Field::In(Self()), Field::In(right)); });
    }

    CTmxMatchAction* CreateMatchAction() const final { return Facts::Template::From(Self()); }

    /// A new object from the flat arguments of the first parameters; the rest is absent. Null where
    /// there is no memory for the object.
    template <class... Flat>
    static Action* FromFlat(const Flat&... arguments) {
        MessageGuard<Action> made(new (std::nothrow) Action);
        if (made.Get() != nullptr)
            SetAllFromFlat(*made.Get(), typename Facts::Fields{}, arguments...);
        return made.Release();
    }

    /// Hands the first parameters to flat out arguments.
    template <class... Flat>
    void Decode(Flat*... out) const {
        DecodeAllToFlat(typename Facts::Fields{}, out...);
    }

  protected:
    ConcreteAction() = default;
    ConcreteAction(const ConcreteAction&) = default;
    TMX_FORCE_INLINE ~ConcreteAction() override {}

    void* FindByRole(RoutingRole role, std::uint32_t& kind) noexcept final {
        switch (role) {
            case RoutingRole::GuidReference:
                return Routing::Find<Routing::GuidReference>(Self(), kind);
            case RoutingRole::ChannelGuidReference:
                return Routing::Find<Routing::ChannelGuidReference>(Self(), kind);
            case RoutingRole::NamedId:
                return Routing::Find<Routing::EventType>(Self(), kind);
            case RoutingRole::VideoInput:
                return Routing::Find<Routing::VideoInput>(Self(), kind);
            case RoutingRole::VideoOutput:
                return Routing::Find<Routing::VideoOutput>(Self(), kind);
            case RoutingRole::InputContact:
                return Routing::Find<Routing::InputContact>(Self(), kind);
            case RoutingRole::OutputContact:
                return Routing::Find<Routing::OutputContact>(Self(), kind);
            case RoutingRole::ForeignKey:
                return Routing::Find<Routing::ForeignKey>(Self(), kind);
            case RoutingRole::GenericInt32:
                return Routing::Find<Routing::GenericInt32>(Self(), kind);
            case RoutingRole::ClientHost:
                return ClientInfo::Find<ClientInfo::kHost>(Self());
            case RoutingRole::ClientType:
                return ClientInfo::Find<ClientInfo::kType>(Self());
            case RoutingRole::ClientAccount:
                return ClientInfo::Find<ClientInfo::kAccount>(Self());
        }
        return nullptr;
    }

  private:
    using Message::Self;

    static void SetAllFromFlat(Action&, FieldList<>) noexcept {}
    template <class Field, class... Rest, class Flat, class... Flats>
    static void SetAllFromFlat(Action& action, FieldList<Field, Rest...>, const Flat& argument,
                               const Flats&... arguments) {
        SetFromFlat(Field::In(action), argument);
        SetAllFromFlat(action, FieldList<Rest...>{}, arguments...);
    }
    // What the plain pair of an action leaves out is optional, and absent.
    template <class Field, class... Rest>
    static void SetAllFromFlat(Action& action, FieldList<Field, Rest...>) {
        SetUnread(Field::In(action).value);
        SetAllFromFlat(action, FieldList<Rest...>{});
    }

    template <class... Fields>
    void DecodeAllToFlat(FieldList<Fields...>) const noexcept {}
    template <class Field, class... Rest, class Flat, class... Flats>
    void DecodeAllToFlat(FieldList<Field, Rest...>, Flat* out, Flats*... outs) const {
        DecodeToFlat(Field::In(Self()), out);
        DecodeAllToFlat(FieldList<Rest...>{}, outs...);
    }
};

}  // namespace TmxPLC
