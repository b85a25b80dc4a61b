// The rule that turns a row of the catalogue into a class: every operation of an action, written
// once over its list of parameters. The build makes for each row a class that holds the members,
// and the list (ActionFacts); all that follows is straight-line code known at compile time.
#pragma once

#include <new>

#include "actions/client_info.h"
#include "actions/event_fields.h"
#include "actions/fields.h"
#include "actions/routing.h"
#include "binary/action_binary.h"
#include "binary/values.h"
#include "catalogue/catalogue.h"
#include "match/agreement.h"
#include "objects/message.h"
#include "text/value_reader.h"
#include "text/value_writer.h"

namespace TmxPLC {

/// Says that a constructor takes the flat arguments of a typed Create function.
struct FlatArguments {};

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
class ConcreteAction : public CTmxAction {
  public:
    using Facts = ActionFacts<Action>;

    /// The class's descriptor; RegisterAction fills it at load.
    inline static constinit Descriptor descriptor{};

    std::uint32_t Release() noexcept final { return this->ReleaseFrom(Self()); }
    const Descriptor& GetInfo() const noexcept final { return descriptor; }

    CTmxMessage* Clone() const final { return new (std::nothrow) Action(Self()); }

    bool StoreToTextW(TextWriter<WideChar>& writer) const final { return StoreToText(writer); }
    bool StoreToTextA(TextWriter<char>& writer) const final { return StoreToText(writer); }

    bool StoreToBin(BinOutput& output) const final {
        BinOutput stored = StoreHeader(output, descriptor);
        ForEachField<Action>(
            [&]<class Field>(const Name&) { stored = StoreValue(stored, Field::In(Self())); });
        output = stored;
        return output.remaining >= 0;
    }

    bool Equal(const CTmxAction& other) const final {
        if (other.GetInfo().code != Facts::kCode) return false;
        const Action& right = static_cast<const Action&>(other);
        return AllFields<Action>(
            [&]<class Field>() { return Agree(Field::In(Self()), Field::In(right)); });
    }

    void GetEventData(TmxEventDataRecord& record, bool& complete) const final {
        EventFieldWriter writer(*this, Facts::kCode, record, complete);
        FeedEventFields<Action>(
            writer, [&]<class Field>() -> const auto& { return Field::In(Self()); });
    }

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

    bool UpdateWindowsClientInfo(const WideChar* host, std::int32_t type,
                                 const WideChar* account) final {
        if constexpr (ClientInfo::kPresent<Action>) {
            using Client = ClientInfo::Parameters<Action>;
            ClientInfo::Set(Client::Host::In(Self()), host);
            ClientInfo::Set(Client::Type::In(Self()), type);
            ClientInfo::Set(Client::Account::In(Self()), account);
            return true;
        } else {
            return CTmxAction::UpdateWindowsClientInfo(host, type, account);
        }
    }
    bool GetWindowsClientInfo(const WideChar*& host, const std::int32_t*& type,
                              const WideChar*& account) const noexcept final {
        if constexpr (ClientInfo::kPresent<Action>) {
            using Client = ClientInfo::Parameters<Action>;
            host = ClientInfo::Get(Client::Host::In(Self()));
            type = ClientInfo::Get(Client::Type::In(Self()));
            account = ClientInfo::Get(Client::Account::In(Self()));
            return true;
        } else {
            return CTmxAction::GetWindowsClientInfo(host, type, account);
        }
    }

    /// A new object from the flat arguments of the first parameters; the rest is absent. Null where
    /// there is no memory for the object.
    template <class... Flat>
    static Action* FromFlat(const Flat&... arguments) {
        Guard guard{Make()};
        if (guard.action != nullptr)
            SetAllFromFlat(*guard.action, typename Facts::Fields{}, arguments...);
        return guard.Release();
    }

    /// Hands the first parameters to flat out arguments.
    template <class... Flat>
    void Decode(Flat*... out) const {
        DecodeAllToFlat(typename Facts::Fields{}, out...);
    }

    /// The creators of the descriptor.
    template <typename Char>
    static CTmxMessage* CreateFromText(TextScanner<Char>& scanner) {
        Guard guard{Make()};
        if (guard.action == nullptr) return ReadWithoutMemory(scanner);
        return guard.action->Read(scanner) ? guard.Release() : nullptr;
    }
    static CTmxMessage* CreateFromBin(BinInput& input) {
        Guard guard{Make()};
        if (guard.action == nullptr) return ReadWithoutMemory(input);
        return guard.action->Read(input) ? guard.Release() : nullptr;
    }

  private:
    // Lets go of an object that can't be finished.
    struct Guard {
        Action* action;
        ~Guard() {
            if (action != nullptr) action->Release();
        }
        Action* Release() noexcept { return std::exchange(action, nullptr); }
    };

    Action& Self() noexcept { return static_cast<Action&>(*this); }
    const Action& Self() const noexcept { return static_cast<const Action&>(*this); }

    static Action* Make() noexcept { return new (std::nothrow) Action; }

    template <class Stream>
    [[gnu::noinline]] static CTmxMessage* ReadWithoutMemory(Stream& stream) {
        // What the caller is told of the place is the same as with an object.
        Action passing;
        passing.Read(stream);
        return nullptr;
    }

    template <typename Char>
    bool Read(TextScanner<Char>& scanner) {
        scanner.ScanOpenParen();
        ForEachField<Action>(
            [&]<class Field>(const Name& name) { ReadField(scanner, Field::In(Self()), name); });
        scanner.ScanCloseParen();
        return scanner.Healthy();
    }
    bool Read(BinInput& input) {
        ForEachField<Action>(
            [&]<class Field>(const Name&) { LoadValue(input, Field::In(Self())); });
        return input.failure == 0;
    }

    template <typename Char, class T>
    static void ReadField(TextScanner<Char>& scanner, T& parameter, const Name&) {
        if (scanner.ScanParamStart()) ReadValue(scanner, parameter);
    }
    template <typename Char, class T>
    static void ReadField(TextScanner<Char>& scanner, Optional<T>& parameter, const Name& name) {
        bool opened = false;
        parameter.present = scanner.ScanOptionalStart(name.In<Char>(), name.length, opened);
        if (!parameter.present) return SetUnread(parameter.value);
        if (opened) ReadValue(scanner, parameter.value);
    }

    template <typename Char>
    bool StoreToText(TextWriter<Char>& writer) const {
        writer.WriteName(descriptor, Facts::kName);
        if (writer.DisplayMode)
            ForEachField<Action>([&]<class Field>(const Name&) {
                DisplayField(writer, Field::kType, Field::In(Self()));
            });
        else
            ForEachField<Action>([&]<class Field>(const Name& name) {
                WriteField(writer, Field::In(Self()), name);
            });
        return writer.WriteEnd();
    }

    template <typename Char, class T>
    static void WriteField(TextWriter<Char>& writer, const T& parameter, const Name&) {
        writer.Separator();
        PutMachine(writer, parameter);
    }
    template <typename Char, class T>
    static void WriteField(TextWriter<Char>& writer, const Optional<T>& parameter,
                           const Name& name) {
        if (!parameter.present) return writer.PassAbsent();
        writer.WriteParameterName(name);
        WriteField(writer, parameter.value, name);
    }
    template <typename Char, class T>
    static void DisplayField(TextWriter<Char>& writer, std::uint32_t type, const T& parameter) {
        WriteDisplay(writer, type, parameter);
    }
    template <typename Char, class T>
    static void DisplayField(TextWriter<Char>& writer, std::uint32_t type,
                             const Optional<T>& parameter) {
        if (!parameter.present) return writer.PassAbsent();
        WriteDisplay(writer, type, parameter.value);
    }

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

/// Registers an action class for the building of the catalogue.
template <class Action>
void RegisterAction() {
    registerDescriptor(Action::descriptor, ActionMessage, ActionFacts<Action>::kCode,
                       &Action::template CreateFromText<char>, &Action::CreateFromBin,
                       &Action::template CreateFromText<WideChar>);
}

}  // namespace TmxPLC
