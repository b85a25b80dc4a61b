"""The static table, the classes and the typed functions that follow from the catalogue."""

import c_interface

NOTICE = "// Made by the build from the tables of actions. Do not edit.\n"

# The member that holds a parameter of a type.
MEMBERS = {
    "Int32": "std::int32_t", "Enum": "std::int32_t", "Int64": "std::int64_t",
    "DateTime": "TZincDateTime", "AnsiText": "AnsiText", "WideText": "WideText", "Bool": "bool",
    "Guid": "Guid", "NamedId": "NamedId", "ObjectRef": "ObjectRef", "GuidRef": "GuidRef",
    "Double": "double", "Rect": "ParamRect", "DataSet": "DataSet",
}
# Members without a constructor of their own start at zero.
PLAIN = {"Int32", "Enum", "Int64", "Bool", "Guid", "Double", "Rect"}
# Members whose type asks for less alignment than an event record does.
ALIGNED = {"Guid", "Rect"}


def static_table(catalogue):
    """The constant table: one pool of names, and records that index it."""
    offsets, pool, position = {}, [], 0

    def offset(name):
        nonlocal position
        if name not in offsets:
            offsets[name] = position
            pool.append(name)
            position += len(name) + 1
        return offsets[name]

    parameters, actions, count = [], [], 0
    for action in catalogue.by_name():
        actions.append(f"    {{{action.class_id}, {action.code}, 0, {len(action.parameters)}, "
                       f"{offset(action.name)}, {count}}},  // {action.name}\n")
        for parameter in action.parameters:
            kind = c_interface.tables.PARAMETER_KINDS[parameter.kind]
            parameters.append(f"    {{{parameter.type_id}, {kind}, {parameter.extra}, "
                              f"{offset(parameter.name)}}},  // {parameter.name}\n")
            count += 1
    actions.append(f"    {{kNone, kNone, 0, 0, {offset('--unknown--')}, {count}}},\n")
    classes = [f"    {{{number}, {offset(name)}}},  // {name}\n"
               for number, (name, _) in sorted(catalogue.classes.items())]
    values = [f"    {{{enumeration.id}, {value.value}, {offset(value.name)}}},  // {value.name}\n"
              for enumeration in catalogue.enumerations for value in enumeration.values]
    names = "".join(f'    TMX_POOLED("{name}\\0")\n' for name in pool)
    return (
        f"{NOTICE}\n"
        "// Names of everything, each with its terminator. Records hold offsets into the pool.\n"
        f"#define TMX_NAME_POOL \\\n" + names.replace(")\n", ") \\\n") + "    \"\"\n\n"
        "// In the order of names without regard to case; the last record closes the table.\n"
        "constexpr StaticAction kStaticActions[] = {\n" + "".join(actions) + "};\n\n"
        "// The parameters of the actions, in their order.\n"
        "constexpr StaticParameter kStaticParameters[] = {\n" + "".join(parameters) + "};\n\n"
        "// By id.\nconstexpr StaticClass kStaticClasses[] = {\n" + "".join(classes) + "};\n\n"
        "// By enumeration id, then by value.\n"
        "constexpr StaticEnumValue kStaticEnumValues[] = {\n" + "".join(values) + "};\n"
    )


def families(catalogue):
    registers = "".join(f"void Register_{family}();\n" for family in catalogue.families)
    calls = "".join(f"    Register_{family}();\n" for family in catalogue.families)
    return (f"{NOTICE}#pragma once\n\nnamespace TmxPLC {{\n\n"
            f"// Each appends the descriptors of its family to the registration list.\n{registers}\n"
            f"inline void RegisterAllFamilies() {{\n{calls}}}\n\n}}  // namespace TmxPLC\n")


def member(parameter):
    type_name = MEMBERS[parameter.type]
    if parameter.optional:
        return f"    Optional<{type_name}> {parameter.name};\n"
    zero = "{}" if parameter.type in PLAIN else ""
    aligned = f"alignas(kParameterAlignment<{type_name}>) " if parameter.type in ALIGNED else ""
    return f"    {aligned}{type_name} {parameter.name}{zero};\n"


def template_member(parameter):
    return f"    MatchParam<{MEMBERS[parameter.type]}> {parameter.name};\n"


def field_list(class_name, action):
    fields = []
    for parameter in action.parameters:
        role = f", Role::{parameter.role}" if parameter.role else ""
        fields.append(f"\n        Field<&{class_name}::{parameter.name}, {parameter.type_id}, "
                      f"{parameter.kind}{role}>")
    return f"    using Fields = FieldList<{','.join(fields)}>;\n"


def family_header(catalogue, family):
    out = [NOTICE, '#pragma once\n\n#include "actions/concrete_action.h"\n'
                   '#include "actions/concrete_match_action.h"\n\nnamespace TmxPLC {\n']
    for action in catalogue.of_family(family):
        name, template = f"CTmxAct{action.name}", f"CTmxMatchAct{action.name}"
        members = "".join(member(parameter) for parameter in action.parameters)
        pairs = "".join(template_member(parameter) for parameter in action.parameters)
        names = ", ".join(f'TMX_NAME("{parameter.name}")' for parameter in action.parameters)
        out.append(f"\nclass {name} final : public ConcreteAction<{name}> {{\n  public:\n"
                   f"{members}}};\n"
                   f"class {template} final : public ConcreteMatchAction<{template}, {name}> {{\n"
                   f"  public:\n{pairs}}};\n"
                   f"template <>\nstruct ActionFacts<{name}> {{\n"
                   f"    using Template = {template};\n"
                   f"    static constexpr std::uint32_t kCode = {action.code};\n"
                   f'    static constexpr Name kName = TMX_NAME("{action.name}");\n'
                   f"{field_list(name, action)}"
                   f"    static constexpr std::array<Name, {len(action.parameters)}> kNames = "
                   f"{{{names}}};\n}};\n"
                   f"template <>\nstruct ActionFacts<{template}> : ActionFacts<{name}> {{\n"
                   f"{field_list(template, action)}}};\n"
                   + "".join(f"extern {instantiation}" for instantiation in instantiations(action)))
    out.append("\n}  // namespace TmxPLC\n")
    return "".join(out)


def instantiations(action):
    return action_instantiations(action) + template_instantiations(action)


def action_instantiations(action):
    name = f"CTmxAct{action.name}"
    return [f"template class ConcreteMessage<{name}, CTmxAction>;\n",
            f"template class ConcreteAction<{name}>;\n"]


def template_instantiations(action):
    name, template = f"CTmxAct{action.name}", f"CTmxMatchAct{action.name}"
    return [f"template class ConcreteMessage<{template}, CTmxMatchAction>;\n",
            f"template class ConcreteMatchAction<{template}, {name}>;\n"]


def family_source(catalogue, family):
    calls = "".join(f"    RegisterMessage<CTmxAct{action.name}>();\n"
                    f"    RegisterMessage<CTmxMatchAct{action.name}>();\n"
                    for action in catalogue.of_family(family))
    classes = "".join(line for action in catalogue.of_family(family)
                      for line in action_instantiations(action))
    return (f'{NOTICE}#include "actions/{family}.h"\n\n#include "actions/families.h"\n\n'
            f"namespace TmxPLC {{\n\n{classes}\nvoid Register_{family}() {{\n{calls}}}\n\n"
            "}  // namespace TmxPLC\n")


def templates_source(catalogue, family):
    classes = "".join(line for action in catalogue.of_family(family)
                      for line in template_instantiations(action))
    return (f'{NOTICE}#include "actions/{family}.h"\n\nnamespace TmxPLC {{\n\n{classes}\n'
            "}  // namespace TmxPLC\n")


def typed_source(catalogue, family):
    out = [NOTICE, f'#include <tmxactions/typed.h>\n\n#include "actions/{family}.h"\n'
           '#include "frame/typed.h"\n\nusing namespace TmxPLC;\n']
    for action in catalogue.of_family(family):
        for name, parameters in c_interface.pairs(action):
            arguments = [parameter.name for parameter in parameters]
            out.append("\n" + c_interface.prototype("Create", name, parameters, " {") + "\n"
                       + c_interface.wrapped(
                           f"    return Frame::Create<CTmxAct{action.name}>(", arguments, ");")
                       + "\n}\n")
            out.append("\n" + c_interface.prototype("Decode", name, parameters, " {") + "\n"
                       + c_interface.wrapped(f"    return Frame::Decode<CTmxAct{action.name}>(",
                                             ["handle"] + arguments, ");")
                       + "\n}\n")
    return "".join(out)
