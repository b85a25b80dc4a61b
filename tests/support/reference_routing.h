// What an action tells of the roles that its parameters play, and the action that a template makes
// of a source, written down a second time.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_ROUTING_H
#define TMX_TESTS_SUPPORT_REFERENCE_ROUTING_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "support/model.h"

namespace tmxtest {

constexpr size_t kNoPlace = ~size_t{0};

// The place of the one parameter of a kind or of a name; kNoPlace if there is none.
size_t PlaceOfKind(const ActionFacts& action, Kind kind);
size_t PlaceOfName(const ActionFacts& action, const std::string& name);

// The place of the parameter that answers for a role.
size_t VideoInputPlace(const ActionFacts& action);
size_t VideoOutputPlace(const ActionFacts& action);
size_t InputContactPlace(const ActionFacts& action);
size_t OutputContactPlace(const ActionFacts& action);
size_t ForeignKeyPlace(const ActionFacts& action);
// The first required number.
size_t GenericNumberPlace(const ActionFacts& action);

// What a source gives to a template of another action.
struct Roles {
    std::optional<ObjectRef> videoInput;
    std::optional<ObjectRef> videoOutput;
    std::optional<ObjectRef> inputContact;
    std::optional<ObjectRef> outputContact;
    std::optional<int64_t> foreignKey;
    int32_t number = 0;
};

Roles RolesOf(const Message& action);

// The action that a template makes: without a source, of an action, of what has only roles.
Message Completed(const Message& match);
Message Completed(const Message& match, const Message& source);
Message Completed(const Message& match, const Roles& source);

}  // namespace tmxtest

#endif
