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

    std::uint32_t Release() noexcept final { return this->ReleaseFrom(Self()); }

    bool Equal(const CTmxAction& other) const final {
        if (other.code != Facts::kCode) return false;
        const Action& right = static_cast<const Action&>(other);
        return AllFields<Action>(
            [&]<class Field>() { return Agree(Field::In(Self()), Field::In(right)); });
    }

    CTmxMatchAction* CreateMatchAction() const final { return Facts::Template::From(Self()); }

    GuidRef* GetGuidReference(std::uint32_t& kind) noexcept final {
        return FindGuidRef<Routing::GuidReference>(kind);
    }
    GuidRef* GetChannelGuidReference(std::uint32_t& kind) noexcept final {
        return FindGuidRef<Routing::ChannelGuidReference>(kind);
    }
    NamedId* GetNamedId() noexcept final {
        return Routing::Find<Routing::EventType, NamedId>(Self());
    }
    ObjectRef* GetVideoInput() noexcept final {
        return Routing::Find<Routing::VideoInput, ObjectRef>(Self());
    }
    ObjectRef* GetVideoOutput() noexcept final {
        return Routing::Find<Routing::VideoOutput, ObjectRef>(Self());
    }
    ObjectRef* GetInputContact() noexcept final {
        return Routing::Find<Routing::InputContact, ObjectRef>(Self());
    }
    ObjectRef* GetOutputContact() noexcept final {
        return Routing::Find<Routing::OutputContact, ObjectRef>(Self());
    }
    std::int64_t* GetForeignKey() noexcept final {
        return Routing::Find<Routing::ForeignKey, std::int64_t>(Self());
    }
    std::int32_t GetGenericInt32Parameter() const noexcept final {
        const std::int32_t* number =
            Routing::Find<Routing::GenericInt32, const std::int32_t>(Self());
        return number != nullptr ? *number : 0;
    }

    ClientParameters GetClientParameters() noexcept final { return FindClientParameters(Self()); }

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

    template <template <class> class Rule>
    GuidRef* FindGuidRef(std::uint32_t& kind) noexcept {
        // The kind is told even where the parameter is absent.
        using Found = FirstField<Action, Rule>;
        if constexpr (!std::is_void_v<Found>) kind = Found::kKind;
        return Routing::Find<Rule, GuidRef>(Self());
    }
};

}  // namespace TmxPLC
