#include "support/reference_routing.h"

#include <gtest/gtest.h>

namespace tmxtest {

namespace {

template <typename Predicate>
size_t PlaceOf(const ActionFacts& action, const Predicate& fits) {
    size_t place = kNoPlace;
    for (size_t i = 0; i < action.parameters.size(); ++i) {
        if (!fits(action.parameters[i])) continue;
        EXPECT_EQ(place, kNoPlace) << action.name << ": two parameters for one role";
        place = i;
    }
    return place;
}

template <typename T>
std::optional<T> ValueAt(const Message& action, size_t place) {
    if (place == kNoPlace || !action.values[place].present) return std::nullopt;
    return std::get<T>(action.values[place].data);
}

// Decides for each parameter that the template leaves open.
template <typename Open>
Message CompletedBy(const Message& match, const Open& open) {
    Message action{match.action, {}};
    for (size_t i = 0; i < match.values.size(); ++i) {
        action.values.push_back(match.values[i].present ? match.values[i]
                                                        : open(match.action->parameters[i], i));
    }
    return action;
}

// What an open parameter is where the source gives nothing for it.
Value Unfilled(const ParameterFacts& parameter) {
    return {FreshOf(parameter.type), !parameter.optional};
}

}  // namespace

size_t PlaceOfKind(const ActionFacts& action, Kind kind) {
    return PlaceOf(action, [&](const ParameterFacts& p) { return p.kind == kind; });
}

size_t PlaceOfName(const ActionFacts& action, const std::string& name) {
    return PlaceOf(action, [&](const ParameterFacts& p) { return p.name == name; });
}

size_t VideoInputPlace(const ActionFacts& action) {
    if (action.name == "SensorAudioAlarm") return PlaceOfName(action, "Channel");
    if (action.name == "IPCamFailoverNotification" || action.name == "IPCamFailoverRestore") {
        return PlaceOfName(action, "SecondaryChannel");
    }
    return PlaceOf(action, [](const ParameterFacts& p) {
        return p.kind == Kind::VideoChannel || p.kind == Kind::Camera;
    });
}

size_t VideoOutputPlace(const ActionFacts& action) { return PlaceOfKind(action, Kind::Viewer); }

size_t InputContactPlace(const ActionFacts& action) {
    return action.name == "DigitalInput" ? PlaceOfName(action, "Contact") : kNoPlace;
}

size_t OutputContactPlace(const ActionFacts& action) {
    return action.name == "SetDigitalOutput" ? PlaceOfName(action, "Contact") : kNoPlace;
}

size_t ForeignKeyPlace(const ActionFacts& action) { return PlaceOfKind(action, Kind::ForeignKey); }

size_t GenericNumberPlace(const ActionFacts& action) {
    for (size_t i = 0; i < action.parameters.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (parameter.type == Type::Int32 && !parameter.optional) return i;
    }
    return kNoPlace;
}

Roles RolesOf(const Message& action) {
    const ActionFacts& facts = *action.action;
    Roles roles;
    roles.videoInput = ValueAt<ObjectRef>(action, VideoInputPlace(facts));
    roles.videoOutput = ValueAt<ObjectRef>(action, VideoOutputPlace(facts));
    roles.inputContact = ValueAt<ObjectRef>(action, InputContactPlace(facts));
    roles.outputContact = ValueAt<ObjectRef>(action, OutputContactPlace(facts));
    roles.foreignKey = ValueAt<int64_t>(action, ForeignKeyPlace(facts));
    roles.number = ValueAt<int32_t>(action, GenericNumberPlace(facts)).value_or(0);
    // Its number is taken for a key, though its kind doesn't say so.
    if (facts.name == "CustomAction") roles.foreignKey = std::get<int64_t>(action.values[0].data);
    return roles;
}

Message Completed(const Message& match) {
    return CompletedBy(match,
                       [](const ParameterFacts& parameter, size_t) { return Unfilled(parameter); });
}

Message Completed(const Message& match, const Message& source) {
    if (match.action != source.action) return Completed(match, RolesOf(source));
    return CompletedBy(match, [&](const ParameterFacts&, size_t i) { return source.values[i]; });
}

Message Completed(const Message& match, const Roles& source) {
    return CompletedBy(match, [&](const ParameterFacts& parameter, size_t) -> Value {
        if (parameter.optional) return Unfilled(parameter);
        switch (parameter.type) {
            case Type::Int32:
                return {source.number};
            case Type::Int64:
                if (parameter.kind == Kind::ForeignKey) return {source.foreignKey.value_or(0)};
                break;
            case Type::ObjectRef:
                switch (parameter.kind) {
                    case Kind::VideoChannel:
                    case Kind::Camera:
                    case Kind::AudioChannel:
                        return {source.videoInput.value_or(ObjectRef())};
                    case Kind::Viewer:
                        return {source.videoOutput.value_or(ObjectRef())};
                    case Kind::InputContact:
                        return {source.inputContact.value_or(ObjectRef())};
                    case Kind::OutputContact:
                        return {source.outputContact.value_or(ObjectRef())};
                    default:
                        break;
                }
                break;
            default:
                break;
        }
        return Unfilled(parameter);
    });
}

}  // namespace tmxtest
