// The rule that turns a row of the catalogue into the class of its templates.
//
// The steps are one function a type where they are more than a comparison of numbers: there are as
// many classes of templates as of actions, and their code shall stay small.
#pragma once

#include "actions/completion.h"
#include "actions/concrete_message.h"
#include "match/agreement.h"

namespace TmxPLC {

/// An action's parameter put into its template: what the action has becomes set.
template <class T>
[[gnu::noinline]] void SetPair(MatchParam<T>& pair, const T& parameter) {
    pair.Value = parameter;
    pair.IsSet = true;
}
template <class T>
[[gnu::noinline]] void SetPair(MatchParam<T>& pair, const Optional<T>& parameter) {
    if (!parameter.present) return SetUnread(pair.Value);
    SetPair(pair, parameter.value);
}

template <class Template, class Action>
class ConcreteMatchAction : public ConcreteMessage<Template, CTmxMatchAction> {
    using Message = ConcreteMessage<Template, CTmxMatchAction>;

  public:
    using typename Message::Facts;

    /// A template in which everything is set that the action has; null where there is no memory
    /// for it.
    static Template* From(const Action& action) {
        MessageGuard<Template> made(Message::Make());
        if (made.Get() != nullptr)
            ForEachPair<Template, Action>([&]<class Pair, class Parameter>() {
                SetPair(Pair::In(*made.Get()), Parameter::In(action));
            });
        return made.Release();
    }

    template <typename Char>
    bool Store(TextWriter<Char>& writer) const {
        WriteTemplateStart(writer, Message::descriptor, Facts::kName, *this);
        ForEachField<Template>([&]<class Pair>(const Name& name) {
            WritePair(writer, Pair::kType, Pair::In(Self()), name);
        });
        return WriteTemplateEnd(writer);
    }
    BinOutput Store(BinOutput output) const {
        output = StorePair(output, this->Description());
        ForEachField<Template>(
            [&]<class Pair>(const Name&) { output = StorePair(output, Pair::In(Self())); });
        return output;
    }
    template <typename Char>
    bool Read(TextScanner<Char>& scanner) {
        ReadTemplateStart(scanner, *this);
        ForEachField<Template>(
            [&]<class Pair>(const Name& name) { ReadPair(scanner, Pair::In(Self()), name); });
        return ReadTemplateEnd(scanner);
    }
    bool Read(BinInput& input) {
        LoadDescription(input, *this);
        ForEachField<Template>([&]<class Pair>(const Name&) { LoadPair(input, Pair::In(Self())); });
        return input.failure == 0;
    }

    bool Equal(const CTmxMatchAction& other) const final {
        if (other.code != Facts::kCode) return false;
        const Template& right = static_cast<const Template&>(other);
        return AllFields<Template>(
            [&]<class Pair>() { return Agree(Pair::In(Self()), Pair::In(right)); });
    }

    CTmxAction* CreateAction(CTmxAction* source) const final {
        MessageGuard<Action> made(Action::Make());
        if (made.Get() == nullptr) return nullptr;
        const Action* same = nullptr;
        if (source != nullptr && source->code == Facts::kCode)
            same = static_cast<const Action*>(std::exchange(source, nullptr));
        ForEachPair<Template, Action>([&]<class Pair, class Parameter>() {
            Complete<Parameter>(Parameter::In(*made.Get()), Pair::In(Self()),
                                same != nullptr ? &Parameter::In(*same) : nullptr, source);
        });
        return made.Release();
    }

  protected:
    ConcreteMatchAction() = default;
    ConcreteMatchAction(const ConcreteMatchAction&) = default;
    TMX_FORCE_INLINE ~ConcreteMatchAction() override {}

    bool AllSetAgree(const CTmxAction& other) const final {
        const Action& action = static_cast<const Action&>(other);
        return AllPairs<Template, Action>([&]<class Pair, class Parameter>() {
            return AgreeIfSet(Pair::In(Self()), Parameter::In(action));
        });
    }

  private:
    using Message::Self;
};

}  // namespace TmxPLC
