#include <algorithm>
#include <charconv>

#include "encoding.h"
#include "events_commands.h"
#include "facts.h"
#include "time_text.h"

namespace tmxact {

namespace {

std::optional<std::uint32_t> NumberFrom(const std::string& text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

[[noreturn]] void UnknownName(const char* what, const std::string& name,
                              const std::vector<std::string_view>& names) {
    std::string message = std::string("there is no ") + what + " '" + Printable(name, false) + "'";
    const std::vector<std::string> nearest = NearestNames(name, names, 1);
    if (!nearest.empty()) message += "; perhaps " + nearest.front();
    throw UsageError(message);
}

std::uint32_t CodeOf(const std::string& name) {
    // A number counts also where the catalogue doesn't know it: a newer one may have made the row.
    if (const auto number = NumberFrom(name)) return *number;
    if (const ActionFacts* const facts = Facts::Get().ByName(name)) return facts->code;
    std::vector<std::string_view> names;
    for (const ActionFacts& action : Facts::Get().Actions()) names.push_back(action.name);
    UnknownName("action", name, names);
}

std::uint32_t ClassOf(const std::string& name) {
    if (const auto number = NumberFrom(name)) return *number;
    std::vector<std::string_view> names;
    for (const ClassFacts& each : Facts::Get().Classes()) {
        if (Lower(each.name) == Lower(name)) return each.id;
        names.push_back(each.name);
    }
    UnknownName("class", name, names);
}

std::optional<std::int64_t> PointOf(const char* option, const std::string& text, bool local) {
    if (text.empty()) return std::nullopt;
    const auto point = TimeFromText(text, local);
    if (!point.has_value())
        throw UsageError(std::string(option) +
                         " must be a date or a time by RFC 3339, such as 2026-11-14 or "
                         "2026-11-14T18:00:00+01:00, found '" +
                         Printable(text, false) + "'");
    return point;
}

}  // namespace

void AddDatabase(CLI::App& command, std::string& where) {
    command
        .add_option("--db", where,
                    "The database: the path of an SQLite file, or postgresql://USER@HOST/NAME")
        ->type_name("PATH|URL")
        ->required();
}

void FilterOptions::Add(CLI::App& command, bool withLocal) {
    command.add_option("--code", codes, "Only this action, by name or code (may be repeated)")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command.add_option("--class", classes, "Only actions of this class (may be repeated)")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command
        .add_option("--since", since,
                    "Only events of this time (RFC 3339) or later; a date is its begin in UTC")
        ->type_name("TIME");
    command.add_option("--until", until, "Only events ahead of this time")->type_name("TIME");
    if (withLocal)
        command.add_flag("--local", local, "Times and dates in the zone of this system, not UTC");
}

EventFilter FilterOptions::Filter() const {
    EventFilter filter;
    std::transform(codes.begin(), codes.end(), std::back_inserter(filter.codes), CodeOf);
    std::transform(classes.begin(), classes.end(), std::back_inserter(filter.classes), ClassOf);
    filter.since = PointOf("--since", since, local);
    filter.until = PointOf("--until", until, local);
    return filter;
}

std::string CodeName(std::uint32_t code) {
    const ActionFacts* const facts = Facts::Get().ByCode(code);
    return facts != nullptr ? facts->name : std::to_string(code);
}

std::string ClassName(std::uint32_t classId) {
    for (const ClassFacts& each : Facts::Get().Classes())
        if (each.id == classId) return each.name;
    return std::to_string(classId);
}

const char* TimeOrigin(bool own) noexcept { return own ? "action" : "import"; }

Run AddEvents(CLI::App& program, ReportOptions& report) {
    CLI::App& events = *program.add_subcommand(
        "events",
        "Examples:\n"
        "  tmxact events import --db site.db site.actions\n"
        "  tmxact events list --db site.db --class Alarm --since 2026-11-14\n"
        "  tmxact events export --db site.db --to bin -o site.bin\n"
        "  tmxact events stats --db site.db --svg site.svg\n"
        "\n"
        "Keep actions as events in a database. Each becomes a row of generic columns, from\n"
        "which it can be described and restored.\n");
    events.require_subcommand(1);
    const std::vector<Run> runs = {AddEventsImport(events, report), AddEventsList(events, report),
                                   AddEventsExport(events, report), AddEventsStats(events, report)};
    const std::vector<CLI::App*> commands = events.get_subcommands({});
    for (CLI::App* command : commands) {
        command->set_help_flag("-h,--help", "Tell how to use it");
        AddCommonOptions(*command, report);
    }
    return [runs, commands] {
        for (std::size_t i = 0; i < commands.size(); ++i)
            if (commands[i]->parsed()) return runs[i]();
        return static_cast<int>(kExitUsage);
    };
}

}  // namespace tmxact
