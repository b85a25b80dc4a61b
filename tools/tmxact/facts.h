// What the catalogue tells, gathered once and held in the shape that the program needs.
#ifndef TMXACT_FACTS_H
#define TMXACT_FACTS_H

#include <tmxactions/tmxactions.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tmxact {

struct EnumValueFacts {
    std::int32_t value;
    std::string name;
};

struct EnumFacts {
    std::uint32_t id;
    std::string name;
    std::vector<EnumValueFacts> values;  // ascending

    const std::string* NameOf(std::int32_t value) const;
};

struct ParameterFacts {
    std::string name;
    std::uint32_t type;  // TmxParamType; 10 to 99 is the id of an enumeration
    std::uint32_t kind;  // TmxParamKind
    std::uint32_t extra;
    bool optional;
    const EnumFacts* enumeration;  // null but for an enumeration with values

    bool IsEnum() const noexcept {
        return type >= TmxParamType_FirstEnum && type <= TmxParamType_LastEnum;
    }
};

struct ActionFacts {
    std::uint32_t code;
    std::uint32_t classId;
    std::uint32_t index;
    std::string name;
    std::string className;
    std::string description;  // UTF-8; the name until a description is set
    std::vector<ParameterFacts> parameters;
};

struct ClassFacts {
    std::uint32_t id;
    std::string name;
    std::vector<const ActionFacts*> actions;  // in the order of names
};

class Facts {
  public:
    // The catalogue; it is gathered at the first call.
    static const Facts& Get();

    const std::vector<ActionFacts>& Actions() const noexcept { return actions_; }  // by name
    const std::vector<ClassFacts>& Classes() const noexcept { return classes_; }   // by id
    const std::map<std::uint32_t, EnumFacts>& Enumerations() const noexcept { return enums_; }
    // The parameter under which a template's text carries its description.
    const ParameterFacts& Description() const noexcept { return description_; }

    const ActionFacts* ByCode(std::uint32_t code) const noexcept;
    // Without regard to ASCII case.
    const ActionFacts* ByName(std::string_view name) const noexcept;

  private:
    Facts();

    std::vector<ActionFacts> actions_;
    std::vector<ClassFacts> classes_;
    std::map<std::uint32_t, EnumFacts> enums_;
    ParameterFacts description_;
    std::vector<const ActionFacts*> byCode_;
    std::unordered_map<std::string, const ActionFacts*> byName_;
};

// Words for a parameter's type: "32-bit number", "PlayMode", "object reference" and so on.
std::string TypeText(const ParameterFacts& parameter);
// The interface's own name of a type, a kind or an enumeration: "ObjectRef", "Camera", "PlayMode".
std::string TypeName(const ParameterFacts& parameter);
std::string KindName(std::uint32_t kind);

// The shape of a parameter's value in action text, such as `{ id, number, "name" }`.
std::string ValueShape(const ParameterFacts& parameter);
// A value as it might stand there.
std::string ValueExample(const ParameterFacts& parameter);

std::string Lower(std::string_view text);

// The names that resemble this one most, best first; none that differ by more than a third.
std::vector<std::string> NearestNames(std::string_view wanted,
                                      const std::vector<std::string_view>& names, std::size_t most);

}  // namespace tmxact

#endif
