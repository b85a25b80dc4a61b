"""The C declarations that follow from the catalogue."""

import tables

NOTICE = "/* Made by the build from the tables of actions. Do not edit. */\n"

# Per parameter type: the argument of Create, the out argument of Decode, the pointed-to type where
# the parameter is optional, and what a reader is told of it.
ARGUMENTS = {
    "Int32": ("int32_t ", "int32_t* ", "int32_t", "32-bit integer"),
    "Enum": ("int32_t ", "int32_t* ", "int32_t", ""),
    "Bool": ("bool ", "bool* ", "bool", "bool"),
    "Int64": ("const int64_t* ", "int64_t* ", "int64_t", "64-bit integer"),
    "Double": ("const double* ", "double* ", "double", "64-bit float"),
    "DateTime": ("const TmxDateTime* ", "TmxDateTime* ", "TmxDateTime", "date-time"),
    "Guid": ("const TmxGuid* ", "TmxGuid* ", "TmxGuid", "GUID"),
    "Rect": ("const TmxRect* ", "TmxRect* ", "TmxRect", "rectangle"),
    "AnsiText": ("const char* ", "const char** ", "char", "narrow text, ANSI code page"),
    "WideText": ("const TmxWChar* ", "const TmxWChar** ", "TmxWChar", "wide text"),
    "ObjectRef": ("const TmxObjectRef* ", "TmxObjectRef* ", "TmxObjectRef",
                  "reference by id, number or name"),
    "NamedId": ("const TmxObjectRef* ", "TmxObjectRef* ", "TmxObjectRef",
                "reference by id or name"),
    "GuidRef": ("const TmxGuidRef* ", "TmxGuidRef* ", "TmxGuidRef", "reference by GUID or name"),
    "DataSet": ("const TmxDataSet* ", "TmxDataSet* ", "TmxDataSet", "data set"),
}


def create_argument(parameter):
    required, _, pointed, _ = ARGUMENTS[parameter.type]
    return (f"const {pointed}* " if parameter.optional else required) + parameter.name


def decode_argument(parameter):
    _, required, pointed, _ = ARGUMENTS[parameter.type]
    return (f"const {pointed}** " if parameter.optional else required) + parameter.name


def pairs(action):
    """The typed pairs of an action: (suffix of the names, parameters covered)."""
    if action.plain:
        return [(action.name, action.parameters[:action.plain]),
                (action.name + "Ex", action.parameters)]
    return [(action.name, action.parameters)]


def typed_names_of(action):
    return [f"TmxAct_{verb}{name}" for name, _ in pairs(action) for verb in ("Create", "Decode")]


def wrapped(head, arguments, tail):
    """A declaration, its arguments wrapped at 100 columns."""
    lines, line = [], head
    for position, argument in enumerate(arguments):
        piece = argument + ("," if position + 1 < len(arguments) else tail)
        separator = "" if line.endswith("(") else " "
        if len(line) + len(separator) + len(piece) > 100:
            lines.append(line)
            line, separator = " " * 4, ""
        line += separator + piece
    if not arguments:
        line += tail
    return "\n".join(lines + [line])


def prototype(verb, name, parameters, tail=";"):
    if verb == "Create":
        head = f"TMXACT_API TmxHandle TmxAct_Create{name}("
        arguments = [create_argument(parameter) for parameter in parameters] or ["void"]
    else:
        head = f"TMXACT_API bool TmxAct_Decode{name}("
        arguments = ["TmxHandle handle"] + [decode_argument(parameter) for parameter in parameters]
    return wrapped(head, arguments, ")" + tail)


def describe(parameter):
    words = [f"TmxEnum_{parameter.enumeration}" if parameter.enumeration
             else ARGUMENTS[parameter.type][3]]
    if parameter.kind != "KindNone":
        words.append(parameter.kind)
    if parameter.optional:
        words.append("optional")
    return f" *   {parameter.name}: {', '.join(words)}\n"


TYPED_HEAD = """
/*
 * The typed functions: a Create and a Decode for every action.
 *
 * All are framed (see functions.h). For all of them holds:
 *
 * Create takes the parameters in the order of the catalogue, checks none of their values, and copies
 * every text. Numbers, enumeration values and bools come by value, all else by a pointer, which must
 * not be null, but for texts, where null is the empty text. An optional parameter always comes by a
 * pointer, and null makes it absent; a pointer to an empty text is a present text.
 * Returns: a new handle that the caller closes with TmxAct_CloseHandle; null without a recorded
 * failure where there is no memory for the object, null with one where there is none for a text.
 *
 * Decode gives the parameters of a handle of this action. Values are copied; texts and the names in
 * references lead into the object and live as long as it does; the items of a data set live until
 * the next Decode. An optional parameter is given by the address of its value in the object, or null
 * where it is absent. All out pointers are required.
 * Returns: true; false ("Wrong decode method") where the handle is of another action, with all out
 * arguments untouched; false where memory runs out for the records of a data set, which comes last of
 * its action's parameters.
 */
#ifndef TMXACTIONS_TYPED_H
#define TMXACTIONS_TYPED_H

#include <tmxactions/constants.h>
#include <tmxactions/types.h>

#ifdef __cplusplus
extern "C" {
#endif
"""

TAIL = """
#ifdef __cplusplus
}
#endif

#endif
"""


def typed(catalogue):
    out = [NOTICE, TYPED_HEAD]
    current = None
    for action in sorted(catalogue.actions, key=lambda action: (action.class_id, action.code)):
        if action.class_id != current:
            current = action.class_id
            out.append(f"\n/* ---- Class {action.class_name} ---- */\n")
        for name, parameters in pairs(action):
            out.append(f"\n/* {action.name}, code {action.code}, class {action.class_name}")
            if len(parameters) < len(action.parameters):
                out.append(f"; its first {len(parameters)} parameters, see the Ex pair")
            out.append(".\n" if parameters else "; no parameters.")
            out.extend(describe(parameter) for parameter in parameters)
            out.append(" */\n")
            for verb in ("Create", "Decode"):
                out.append(prototype(verb, name, parameters) + "\n")
    return "".join(out) + TAIL


def enum(name, entries, comment):
    lines = [f"\n/* {comment} */\nenum {name} {{\n"]
    for position, (entry, value) in enumerate(entries):
        comma = "," if position + 1 < len(entries) else ""
        lines.append(f"    {name}_{entry} = {value}{comma}\n")
    lines.append("};\n")
    return "".join(lines)


def constants(catalogue):
    out = [NOTICE, """
/*
 * The numbers of the catalogue: parameter types and kinds, action classes and codes, and the values
 * of the enumerations. Their type in calls is uint32_t (types, kinds, classes, codes, ids) or
 * int32_t (enumeration values); any other value is carried as it is.
 */
#ifndef TMXACTIONS_CONSTANTS_H
#define TMXACTIONS_CONSTANTS_H
"""]
    out.append(enum("TmxParamType", [*tables.PARAMETER_TYPES.items(),
                                     ("FirstEnum", tables.FIRST_ENUMERATION),
                                     ("LastEnum", tables.LAST_ENUMERATION)],
                    "Parameter types; 10 to 99 is the id of an enumeration (TmxEnumId)."))
    out.append(enum("TmxParamKind", [(name[len("Kind"):], value) for name, value
                                     in tables.PARAMETER_KINDS.items()],
                    "What a parameter denotes."))
    out.append(enum("TmxActionClass", [(name, number) for number, (name, _)
                                       in sorted(catalogue.classes.items())], "Action classes."))
    out.append(enum("TmxActionCode", [(action.name, action.code) for action in catalogue.actions],
                    "Action codes."))
    out.append(enum("TmxEnumId", [(enumeration.name, enumeration.id) for enumeration
                                  in catalogue.enumerations], "Ids of the enumerations."))
    for enumeration in catalogue.enumerations:
        out.append(enum(f"TmxEnum_{enumeration.name}",
                        [(value.name, value.value) for value in enumeration.values],
                        f"Enumeration {enumeration.id}."))
    out.append("\n#endif\n")
    return "".join(out)


def action_list(catalogue):
    out = [NOTICE, """
/*
 * The catalogue as a list of macro calls, for code that is made per action: define TMX_ACTION,
 * TMX_PARAMETER or both, and include this file; it undefines them. For each action one
 *
 *   TMX_ACTION(code, name, typed)        typed: the suffix of the typed pair that covers all
 *
 * and behind it for each of its parameters, in order, one
 *
 *   TMX_PARAMETER(code, name, type, kind, optional)   type: see TmxParamType, or Enum;
 *                                                     optional: 0 or 1
 */
#ifndef TMX_ACTION
#define TMX_ACTION(code, name, typed)
#endif
#ifndef TMX_PARAMETER
#define TMX_PARAMETER(code, name, type, kind, optional)
#endif

"""]
    for action in catalogue.actions:
        out.append(f"TMX_ACTION({action.code}, {action.name}, {pairs(action)[-1][0]})\n")
        for parameter in action.parameters:
            out.append(f"TMX_PARAMETER({action.code}, {parameter.name}, {parameter.type}, "
                       f"{parameter.kind[len('Kind'):]}, {int(parameter.optional)})\n")
    out.append("\n#undef TMX_ACTION\n#undef TMX_PARAMETER\n")
    return "".join(out)


def version_script(names):
    listed = "".join(f"        {name};\n" for name in names)
    return f"TMXACTIONS_1 {{\n    global:\n{listed}    local:\n        *;\n}};\n"


def module_definitions(names):
    """The list of exports for the linkers of Windows."""
    return "LIBRARY tmxactions.dll\nEXPORTS\n" + "".join(f"    {name}\n" for name in names)
