#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "encoding.h"
#include "json_text.h"
#include "output.h"

namespace tmxact {

namespace {

struct Options {
    std::optional<std::string> name;
    bool json = false;
    bool names = false;
};

// The shape of an action's text: `Name (Required[, Optional: value])`. An optional parameter ahead
// of every required one brings the comma behind it.
std::string TextShape(const ActionFacts& action) {
    const auto& parameters = action.parameters;
    std::size_t firstRequired = 0;
    while (firstRequired < parameters.size() && parameters[firstRequired].optional) ++firstRequired;
    const bool anyRequired = firstRequired < parameters.size();
    std::string shape = action.name + " (";
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const ParameterFacts& parameter = parameters[i];
        const bool ahead = anyRequired && i < firstRequired;
        const bool comma = i > 0 && !ahead && i != firstRequired;
        if (parameter.optional) {
            shape += (comma ? "[, " : "[") + parameter.name + (ahead ? ": value, ]" : ": value]");
        } else {
            shape += (comma ? ", " : "") + parameter.name;
        }
    }
    return shape + ')';
}

// A text that the reader takes, with the required parameters alone.
std::string Example(const ActionFacts& action) {
    std::string text = action.name + " (";
    bool first = true;
    for (const ParameterFacts& parameter : action.parameters) {
        if (parameter.optional) continue;
        if (!first) text += ", ";
        text += ValueExample(parameter);
        first = false;
    }
    return text + ')';
}

std::string KindText(const ParameterFacts& parameter) {
    return parameter.kind == TmxParamKind_None ? std::string() : KindName(parameter.kind);
}

void PutMember(JsonText& json, std::string_view name, std::string_view value) {
    json.Key(name);
    json.Utf8(value);
}

void PutMember(JsonText& json, std::string_view name, std::int64_t value) {
    json.Key(name);
    json.Number(value);
}

// The members of an enumeration's object.
void PutEnum(JsonText& json, const EnumFacts& enumeration) {
    PutMember(json, "enumeration", enumeration.name);
    PutMember(json, "id", enumeration.id);
    json.Key("values");
    json.StartArray();
    for (const EnumValueFacts& value : enumeration.values) {
        json.StartObject();
        PutMember(json, "value", value.value);
        PutMember(json, "name", value.name);
        json.EndObject();
    }
    json.EndArray();
}

void PutParameter(JsonText& json, const ParameterFacts& parameter) {
    json.StartObject();
    PutMember(json, "name", parameter.name);
    PutMember(json, "type", parameter.IsEnum() ? std::string("Enum") : TypeName(parameter));
    PutMember(json, "typeId", parameter.type);
    PutMember(json, "kind", KindName(parameter.kind));
    PutMember(json, "kindId", parameter.kind);
    PutMember(json, "extra", parameter.extra);
    json.Key("optional");
    json.Bool(parameter.optional);
    if (parameter.IsEnum()) PutMember(json, "enumeration", TypeName(parameter));
    json.EndObject();
}

// The members of an action's object.
void PutAction(JsonText& json, const ActionFacts& action) {
    PutMember(json, "action", action.name);
    PutMember(json, "code", action.code);
    PutMember(json, "class", action.className);
    PutMember(json, "classId", action.classId);
    PutMember(json, "index", action.index);
    PutMember(json, "description", action.description);
    json.Key("parameters");
    json.StartArray();
    for (const ParameterFacts& parameter : action.parameters) PutParameter(json, parameter);
    json.EndArray();
    PutMember(json, "text", TextShape(action));
    PutMember(json, "example", Example(action));
}

class Listing {
  public:
    Listing(const Options& options, Output& output, const Palette& palette)
        : options_(options), output_(output), palette_(palette) {}

    void Line(std::string_view line) {
        output_.Put(line);
        output_.Put("\n");
        output_.EndRecord();
    }

    // A line of one object, of the members that put puts.
    template <typename Put>
    void Object(const Put& put) {
        JsonText json(false);
        json.StartObject();
        put(json);
        json.EndObject();
        Line(json.Text());
    }

    std::string Bold(const std::string& text) const {
        return std::string(palette_.bold) + text + std::string(palette_.plain);
    }

    static std::string Padded(std::string text, std::size_t width) {
        if (text.size() < width) text.resize(width, ' ');
        return text;
    }

    void Action(const ActionFacts& action) {
        if (options_.json) return Object([&](JsonText& json) { PutAction(json, action); });
        Line(Bold(action.name));
        Line("  code         " + std::to_string(action.code));
        Line("  class        " + action.className + " (" + std::to_string(action.classId) + ")");
        Line("  index        " + std::to_string(action.index));
        if (action.description != action.name) Line("  description  " + action.description);
        Line("  text         " + TextShape(action));
        Line("  example      " + Example(action));
        if (action.parameters.empty()) return Line("  parameters   none");
        Line("  parameters");
        std::size_t width = 0;
        for (const ParameterFacts& each : action.parameters)
            width = std::max(width, each.name.size());
        std::size_t number = 0;
        for (const ParameterFacts& each : action.parameters) {
            std::string line = Padded("    " + std::to_string(++number), 8) +
                               Padded(each.name, width + 2) + TypeText(each);
            if (!KindText(each).empty()) line += ", kind " + KindText(each);
            if (each.extra != 0) line += ", extra " + std::to_string(each.extra);
            if (each.optional) line += ", optional";
            Line(line);
            const std::string indent(width + 10, ' ');
            if (!each.IsEnum())
                Line(indent + "  " + std::string(palette_.dim) + ValueShape(each) +
                     std::string(palette_.plain));
            if (each.enumeration == nullptr) continue;
            for (const EnumValueFacts& value : each.enumeration->values)
                Line(indent + "  " + std::to_string(value.value) + " " + value.name);
        }
    }

    void Class(const ClassFacts& each) {
        if (options_.json) {
            return Object([&](JsonText& json) {
                PutMember(json, "class", each.name);
                PutMember(json, "id", each.id);
                json.Key("actions");
                json.StartArray();
                for (const ActionFacts* action : each.actions) {
                    json.StartObject();
                    PutMember(json, "action", action->name);
                    PutMember(json, "code", action->code);
                    json.EndObject();
                }
                json.EndArray();
            });
        }
        Line(Bold(each.name) + " (class " + std::to_string(each.id) + ", " +
             Counted(each.actions.size(), "action") + ")");
        for (const ActionFacts* action : each.actions)
            Line("  " + Padded(std::to_string(action->code), 5) + TextShape(*action));
    }

    void Enumeration(const EnumFacts& each) {
        std::vector<std::string> users;
        for (const ActionFacts& action : Facts::Get().Actions())
            for (const ParameterFacts& parameter : action.parameters)
                if (parameter.type == each.id) users.push_back(action.name + '.' + parameter.name);
        if (options_.json) {
            return Object([&](JsonText& json) {
                PutEnum(json, each);
                json.Key("usedBy");
                json.StartArray();
                for (const std::string& user : users) json.Utf8(user);
                json.EndArray();
            });
        }
        Line(Bold(each.name) + " (enumeration " + std::to_string(each.id) + ", " +
             Counted(each.values.size(), "value") + ")");
        for (const EnumValueFacts& value : each.values)
            Line("  " + Padded(std::to_string(value.value), 6) + value.name);
        for (std::size_t i = 0; i < users.size(); ++i)
            Line((i == 0 ? "  used by  " : "           ") + users[i]);
    }

    void Value(const EnumFacts& enumeration, const EnumValueFacts& value) {
        if (options_.json)
            return Object([&](JsonText& json) {
                PutMember(json, "enumeration", enumeration.name);
                PutMember(json, "id", enumeration.id);
                PutMember(json, "value", value.value);
                PutMember(json, "name", value.name);
            });
        Line(Bold(value.name) + " is " + std::to_string(value.value) + " in the enumeration " +
             enumeration.name + " (" + std::to_string(enumeration.id) + ")");
    }

  private:
    const Options& options_;
    Output& output_;
    const Palette& palette_;
};

std::vector<std::string_view> AllNames() {
    const Facts& facts = Facts::Get();
    std::vector<std::string_view> names;
    for (const ActionFacts& action : facts.Actions()) names.push_back(action.name);
    for (const ClassFacts& each : facts.Classes()) names.push_back(each.name);
    for (const auto& [id, each] : facts.Enumerations()) {
        names.push_back(each.name);
        for (const EnumValueFacts& value : each.values) names.push_back(value.name);
    }
    return names;
}

// All that has this name or code. False if nothing has.
bool Find(const std::string& wanted, Listing& listing) {
    const Facts& facts = Facts::Get();
    const std::string lower = Lower(wanted);
    bool found = false;
    std::uint32_t code = 0;
    const char* const end = wanted.data() + wanted.size();
    const auto number = std::from_chars(wanted.data(), end, code);
    if (number.ec == std::errc() && number.ptr == end) {
        if (const ActionFacts* action = facts.ByCode(code)) {
            listing.Action(*action);
            return true;
        }
    }
    if (const ActionFacts* action = facts.ByName(wanted)) {
        listing.Action(*action);
        found = true;
    }
    for (const ClassFacts& each : facts.Classes()) {
        if (Lower(each.name) != lower) continue;
        listing.Class(each);
        found = true;
    }
    for (const auto& [id, each] : facts.Enumerations()) {
        if (Lower(each.name) == lower) {
            listing.Enumeration(each);
            found = true;
        }
        for (const EnumValueFacts& value : each.values) {
            if (Lower(value.name) != lower) continue;
            listing.Value(each, value);
            found = true;
        }
    }
    return found;
}

// Names that resemble the wanted one, and then such as hold it.
std::vector<std::string> Suggestions(const std::string& wanted) {
    constexpr std::size_t kMost = 8;
    constexpr std::size_t kShortestPart = 3;
    std::vector<std::string_view> all = AllNames();
    std::vector<std::string> names = NearestNames(wanted, all, 5);
    if (wanted.size() < kShortestPart) return names;
    const std::string lower = Lower(wanted);
    std::sort(all.begin(), all.end());
    for (const std::string_view name : all)
        if (names.size() < kMost && Lower(name).find(lower) != std::string::npos &&
            std::find(names.begin(), names.end(), name) == names.end())
            names.emplace_back(name);
    return names;
}

int Catalogue(const Options& options, const ReportOptions& report) {
    const Palette palette(UseColor(report.color, StandardOutputIsTerminal()) && !options.json &&
                          !options.names);
    Output output(File::OpenForWriting("-"));
    Listing listing(options, output, palette);
    bool found = true;
    if (options.names) {
        std::vector<std::string_view> names = AllNames();
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        for (const std::string_view name : names) listing.Line(std::string(name));
    } else if (options.name.has_value()) {
        found = Find(*options.name, listing);
    } else if (options.json) {
        for (const ActionFacts& action : Facts::Get().Actions()) listing.Action(action);
    } else {
        for (const ClassFacts& each : Facts::Get().Classes()) listing.Class(each);
    }
    output.Close();
    if (found) return kExitDone;
    std::string message =
        "nothing in the catalogue is called '" + Printable(*options.name, false) + "'";
    std::string nearest;
    for (const std::string& name : Suggestions(*options.name))
        nearest += (nearest.empty() ? "; perhaps " : ", ") + name;
    if (report.verbosity >= 0)
        std::fprintf(stderr, "tmxact: %s%s\n", message.c_str(), nearest.c_str());
    return kExitNo;
}

}  // namespace

Run AddCatalogue(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *program.add_subcommand(
        "catalogue",
        "Examples:\n"
        "  tmxact catalogue\n"
        "  tmxact catalogue CameraOn\n"
        "  tmxact catalogue PlayForward\n"
        "  tmxact catalogue --json 122\n"
        "\n"
        "Tell what actions there are: all of them by class, or all that is known of one\n"
        "action, class, enumeration or enumeration value. The exit code is 1 if nothing\n"
        "has the name.\n");
    command
        .add_option("NAME", options->name,
                    "A name, in any case of letters, or the code of an action")
        ->type_name("");
    command.add_flag("--json", options->json, "An object a line (all actions without a NAME)");
    command.add_flag("--names", options->names, "All names, one a line, for completion");
    return [options, &report] { return Catalogue(*options, report); };
}

}  // namespace tmxact
