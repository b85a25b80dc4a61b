"""Reads the tables of actions and enumerations, and refuses what is wrong in them.

A table of actions holds classes and rows:

    class 3 CameraControl
    122 CameraOn | Camera ObjectRef KindCamera
     54 StartEvent plain=1 | TypeID NamedId KindEventType; ForeignKey Int64 KindForeignKey optional
     62 StopAllEvents | none

A row is a code, a name, and the parameters in order: name, type (a parameter type or the name of an
enumeration), the kind where there is one, and the word optional. extra=N is the number that the
catalogue passes through with a parameter. role=R gives a parameter a routing role that its kind
doesn't (VideoInput, NamedId), or takes it away (none). plain=N makes a second pair of typed
functions: the plain pair covers the first N parameters only, and the pair with the suffix Ex all.

A table of enumerations holds rows of an id, a name, and the entries (value and name).

A line that begins with six blanks goes on with the row above. Lines that begin with # are comments.
"""

import re
from dataclasses import dataclass, field

PARAMETER_TYPES = {
    "Int32": 0, "Int64": 1, "DateTime": 2, "AnsiText": 3, "WideText": 4, "Bool": 5, "Guid": 6,
    "NamedId": 7, "ObjectRef": 8, "GuidRef": 9, "Double": 100, "Rect": 101, "DataSet": 102,
}
FIRST_ENUMERATION, LAST_ENUMERATION = 10, 99

PARAMETER_KINDS = {
    "KindNone": 0, "KindUser": 1, "KindDeviceType": 2, "KindDeviceName": 3, "KindVideoChannel": 4,
    "KindViewer": 5, "KindInputContact": 6, "KindOutputContact": 7, "KindCamera": 8,
    "KindTimeRange": 9, "KindEventType": 10, "KindAudioChannel": 11, "KindADParameterSet": 13,
    "KindVMDParameterSet": 14, "KindWindowsError": 15, "KindDeviceSubType": 16,
    "KindForeignKey": 17, "KindCPAParameterSet": 18, "KindPathwiseParameterSet": 19,
    "KindBackupDestination": 20, "KindSchedule": 21, "KindHardwareModule": 22,
    "KindCameraProfile": 23, "KindSentaraParameterSet": 24, "KindImageDestination": 25,
}

# The type of the parameters that a kind routes by; the other kinds go with any type but enumerations.
KIND_TYPES = {
    "KindVideoChannel": "ObjectRef", "KindCamera": "ObjectRef", "KindAudioChannel": "ObjectRef",
    "KindViewer": "ObjectRef", "KindInputContact": "ObjectRef", "KindOutputContact": "ObjectRef",
    "KindEventType": "NamedId", "KindForeignKey": "Int64", "KindSchedule": "GuidRef",
    "KindBackupDestination": "GuidRef", "KindTimeRange": "GuidRef",
    "KindADParameterSet": "GuidRef", "KindVMDParameterSet": "GuidRef",
    "KindCPAParameterSet": "GuidRef", "KindPathwiseParameterSet": "GuidRef",
    "KindSentaraParameterSet": "GuidRef",
}
ROLE_TYPES = {"VideoInput": "ObjectRef", "NamedId": "NamedId"}

# Names that the classes of the actions have for other things.
RESERVED_NAMES = frozenset("""
    AddRef AllSetAgree AnsiText ClearDescription Clone CreateAction CreateFrom CreateFromBin
    CreateFromText CreateMatchAction DataSet Decode DecodeAllToFlat Destroy DumpText Equal Facts
    Find FindByRole From FromFlat GetChannelGuidReference GetEventData GetForeignKey
    GetGenericInt32Parameter GetGuidReference GetInfo GetInputContact GetNamedId
    GetOutputContact GetVideoInput GetVideoOutput GetWindowsClientInfo Guid GuidRef Make MakeAt
    Matches MatchParam NamedId NarrowDescription ObjectRef OnFinalRelease Optional
    ParamRect Read Release ReleaseFrom Self SetAllFromFlat SetDescription Store StoreToBin
    StoreToTextA StoreToTextW TZincDateTime UpdateWindowsClientInfo WideText
""".split())

ROLES = ("VideoInput", "NamedId", "none")

MAX_PARAMETERS = 25
MAX_CODE = 0x7FFF
MAX_CLASS = 0xFFFF
NAME = re.compile(r"[A-Za-z][A-Za-z0-9]*\Z")
VALUE_NAME = re.compile(r"[A-Za-z0-9_]+\Z")


class TableError(Exception):
    """A mistake in a table: where it stands and what is wrong."""

    def __init__(self, place, reason):
        super().__init__(f"{place}: error: {reason}")


@dataclass(frozen=True)
class Place:
    file: str
    line: int

    def __str__(self):
        return f"{self.file}:{self.line}"


@dataclass
class Parameter:
    name: str
    type: str  # a parameter type, or "Enum"
    type_id: int
    kind: str
    extra: int
    optional: bool
    role: str  # "" for the role of the kind
    enumeration: str  # the enumeration's name, "" if it is none
    place: Place


@dataclass
class Action:
    code: int
    name: str
    class_id: int
    class_name: str
    family: str
    plain: int  # how many parameters the plain pair covers; 0: all, and there is no second pair
    parameters: list
    place: Place


@dataclass
class EnumValue:
    value: int
    name: str


@dataclass
class Enumeration:
    id: int
    name: str
    values: list
    place: Place


@dataclass
class Catalogue:
    actions: list = field(default_factory=list)
    classes: dict = field(default_factory=dict)  # id: (name, place)
    enumerations: list = field(default_factory=list)
    families: list = field(default_factory=list)

    def by_name(self):
        """The actions in the order of the static table: by name without regard to case."""
        return sorted(self.actions, key=lambda action: action.name.lower())

    def of_family(self, family):
        return [action for action in self.actions if action.family == family]


def rows(path):
    """The rows of a table file: (place, text), continuation lines joined."""
    result = []
    with open(path, encoding="utf-8", errors="replace") as file:
        for number, line in enumerate(file, 1):
            text = line.rstrip("\n")
            if not text.isascii():
                raise TableError(Place(str(path), number), "a table is in ASCII")
            if not text.strip() or text.startswith("#"):
                continue
            if text.startswith(" " * 6):
                if not result:
                    raise TableError(Place(str(path), number), "a continued row has no beginning")
                place, before = result[-1]
                result[-1] = (place, before + " " + text.strip())
            else:
                result.append((Place(str(path), number), text.strip()))
    return result


def split_row(place, text):
    head, bar, body = text.partition("|")
    if not bar:
        raise TableError(place, f"a row needs '|' behind its name: {text!r}")
    words = head.split()
    if len(words) < 2 or not words[0].isdigit():
        raise TableError(place, f"a row begins with a number and a name, not {head.strip()!r}")
    return int(words[0]), words[1], words[2:], [item.strip() for item in body.split(";")]


def read_enumerations(path):
    enumerations, ids, names = [], {}, {}
    for place, text in rows(path):
        number, name, rest, items = split_row(place, text)
        if rest:
            raise TableError(place, f"unknown word {rest[0]!r}")
        if number != PARAMETER_TYPES["Bool"] and not (
            FIRST_ENUMERATION <= number <= LAST_ENUMERATION
        ):
            raise TableError(place, f"enumeration id {number} is not 5 or 10 to 99")
        if not NAME.match(name):
            raise TableError(place, f"{name!r} is no name")
        if name in PARAMETER_TYPES:
            raise TableError(place, f"{name} is a parameter type")
        for known, key, what in ((ids, number, "id"), (names, name, "name")):
            if key in known:
                raise TableError(place, f"duplicate enumeration {what} {key}, first at {known[key]}")
            known[key] = place
        values, seen_values, seen_names = [], set(), set()
        for item in items:
            words = item.split()
            if len(words) != 2 or not re.match(r"-?\d+\Z", words[0]):
                raise TableError(place, f"an entry of {name} is a value and a name, not {item!r}")
            value, value_name = int(words[0]), words[1]
            if not VALUE_NAME.match(value_name):
                raise TableError(place, f"{value_name!r} is no name")
            if not -0x80000000 <= value <= 0x7FFFFFFF:
                raise TableError(place, f"value {value} of {name} has more than 32 bits")
            if value in seen_values:
                raise TableError(place, f"duplicate value {value} in {name}")
            if value_name in seen_names:
                raise TableError(place, f"duplicate name {value_name} in {name}")
            seen_values.add(value)
            seen_names.add(value_name)
            values.append(EnumValue(value, value_name))
        values.sort(key=lambda entry: entry.value)
        enumerations.append(Enumeration(number, name, values, place))
    return sorted(enumerations, key=lambda enumeration: enumeration.id)


def read_parameter(place, action, text, enumerations):
    words = text.split()
    if len(words) < 2:
        raise TableError(place, f"a parameter of {action} is a name and a type, not {text!r}")
    name, type_name = words[0], words[1]
    if not NAME.match(name) or not name[0].isupper():
        raise TableError(place, f"{name!r} is no name of a parameter: it begins with a capital")
    if name in RESERVED_NAMES:
        raise TableError(place, f"the classes of actions use the name {name} for something else")
    parameter = Parameter(name, type_name, 0, "KindNone", 0, False, "", "", place)
    if type_name in PARAMETER_TYPES:
        parameter.type_id = PARAMETER_TYPES[type_name]
    elif type_name in enumerations:
        parameter.type = "Enum"
        parameter.type_id = enumerations[type_name].id
        parameter.enumeration = type_name
        if parameter.type_id < FIRST_ENUMERATION:
            raise TableError(place, f"{type_name} can be no parameter's enumeration")
    else:
        raise TableError(
            place, f"unknown type or enumeration {type_name!r} of parameter {name} of {action}"
        )
    for word in words[2:]:
        key, equals, value = word.partition("=")
        if word == "optional":
            parameter.optional = True
        elif word in PARAMETER_KINDS:
            if parameter.kind != "KindNone":
                raise TableError(place, f"two kinds, {parameter.kind} and {word}, on parameter {name}")
            parameter.kind = word
        elif equals and key == "extra" and value.isdigit():
            parameter.extra = int(value)
        elif equals and key == "role" and value in ROLES:
            parameter.role = value
        elif word.startswith("Kind"):
            raise TableError(place, f"unknown kind {word!r} of parameter {name} of {action}")
        else:
            raise TableError(place, f"unknown word {word!r} behind parameter {name} of {action}")
    if parameter.type == "DataSet" and parameter.optional:
        raise TableError(place, f"a DataSet can't be optional: parameter {name} of {action}")
    if parameter.type == "Enum" and parameter.kind != "KindNone":
        raise TableError(place, f"an enumeration has no kind: parameter {name} of {action}")
    for what, needed in ((parameter.kind, KIND_TYPES.get(parameter.kind)),
                         (f"role={parameter.role}", ROLE_TYPES.get(parameter.role))):
        if needed is not None and parameter.type != needed:
            raise TableError(place, f"{what} goes with {needed}: parameter {name} of {action}")
    return parameter


def read_family(path, family, catalogue, known):
    enumerations = {enumeration.name: enumeration for enumeration in catalogue.enumerations}
    class_id, class_name = None, ""
    for place, text in rows(path):
        words = text.split()
        if words[0] == "class":
            if len(words) != 3 or not words[1].isdigit() or not NAME.match(words[2]):
                raise TableError(place, "a class line is 'class', an id and a name")
            class_id, class_name = int(words[1]), words[2]
            if class_id > MAX_CLASS:
                raise TableError(place, f"class id {class_id} is above {MAX_CLASS}")
            for other_id, (other, where) in catalogue.classes.items():
                if other_id == class_id or other.lower() == class_name.lower():
                    raise TableError(place, f"duplicate class {class_id} {class_name}, first at {where}")
            catalogue.classes[class_id] = (class_name, place)
            continue
        code, name, rest, items = split_row(place, text)
        if class_id is None:
            raise TableError(place, "a row needs a class line above it")
        if not NAME.match(name):
            raise TableError(place, f"{name!r} is no name")
        if not 1 <= code <= MAX_CODE:
            raise TableError(place, f"code {code} is not 1 to {MAX_CODE}")
        for key, what in ((code, "code"), (name.lower(), "name")):
            if key in known:
                raise TableError(place, f"duplicate action {what} {key}, first at {known[key]}")
            known[key] = place
        action = Action(code, name, class_id, class_name, family, 0, [], place)
        for word in rest:
            key, _, value = word.partition("=")
            if key != "plain" or not value.isdigit() or int(value) == 0:
                raise TableError(place, f"unknown word {word!r} behind {name}")
            action.plain = int(value)
        if items != ["none"]:
            for item in items:
                parameter = read_parameter(place, name, item, enumerations)
                for other in action.parameters:
                    if other.name.lower() == parameter.name.lower():
                        raise TableError(place, f"duplicate parameter {parameter.name} of {name}")
                action.parameters.append(parameter)
        count = len(action.parameters)
        if count > MAX_PARAMETERS:
            raise TableError(place, f"{name} has {count} parameters; {MAX_PARAMETERS} are the most")
        if action.plain:
            if action.plain >= count:
                raise TableError(place, f"plain={action.plain} leaves nothing to the Ex pair of {name}")
            for parameter in action.parameters[action.plain:]:
                if not parameter.optional:
                    raise TableError(
                        place, f"the plain pair of {name} can't leave out {parameter.name}"
                    )
        catalogue.actions.append(action)


def read_catalogue(enumeration_path, family_paths):
    """Reads all tables. Raises TableError at the first mistake."""
    catalogue = Catalogue(enumerations=read_enumerations(enumeration_path))
    known = {}
    for path in family_paths:
        family = path.stem
        catalogue.families.append(family)
        read_family(path, family, catalogue, known)
    catalogue.actions.sort(key=lambda action: action.code)
    return catalogue
