#include <algorithm>
#include <map>

#include "encoding.h"
#include "event_chart.h"
#include "events_commands.h"
#include "json_text.h"
#include "output.h"
#include "time_text.h"

namespace tmxact {

namespace {

struct Options {
    std::string database;
    FilterOptions filter;
    std::size_t top = 20;
    bool json = false;
    std::string svg;
};

// The most frequent first, and by name where they are as frequent.
std::vector<NamedCount> Ranked(const std::map<std::string, std::uint64_t>& counts) {
    std::vector<NamedCount> ranked;
    for (const auto& [name, count] : counts) ranked.push_back({name, count});
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const NamedCount& a, const NamedCount& b) { return a.count > b.count; });
    return ranked;
}

EventSummary Summarise(const EventCounts& counts, const std::string& database, bool local,
                       std::size_t top) {
    EventSummary summary;
    summary.database = database;
    summary.zone = local ? "local time" : "UTC";
    summary.first = TimeText(counts.first, local);
    summary.last = TimeText(counts.last, local);
    std::map<std::string, std::uint64_t> classes;
    std::map<std::string, std::uint64_t> actions;
    for (const CodeCount& each : counts.codes) {
        summary.total += each.count;
        classes[ClassName(each.classId)] += each.count;
        actions[CodeName(each.code)] += each.count;
    }
    summary.classes = Ranked(classes);
    summary.actions = Ranked(actions);
    if (top > 0 && summary.actions.size() > top) {
        summary.otherActions = summary.actions.size() - top;
        for (std::size_t i = top; i < summary.actions.size(); ++i)
            summary.otherEvents += summary.actions[i].count;
        summary.actions.resize(top);
    }
    for (const QuarterCount& each : counts.quarters) {
        constexpr std::int64_t kHour = 3600;
        constexpr std::int64_t kDay = 24 * kHour;
        const std::int64_t seconds = each.begin / 1000;
        const std::int64_t clock = seconds + (local ? ZoneOffsetSeconds(seconds) : 0);
        const auto hour = static_cast<std::size_t>((clock % kDay + kDay) % kDay / kHour);
        (each.timeIsOwn ? summary.ownHours : summary.importHours)[hour] += each.count;
        if (each.timeIsOwn) summary.own += each.count;
    }
    return summary;
}

void PutJson(Output& output, const EventSummary& summary) {
    JsonText json(false);
    const auto line = [&](const char* by, const auto& put) {
        json.Clear();
        json.StartObject();
        json.Key("by");
        json.Utf8(by);
        put();
        json.EndObject();
        output.Put(json.Text());
        output.Put("\n");
        output.EndRecord();
    };
    const auto number = [&](const char* key, std::uint64_t value) {
        json.Key(key);
        json.Number(static_cast<std::int64_t>(value));
    };
    const auto text = [&](const char* key, const std::string& value) {
        json.Key(key);
        json.Utf8(value);
    };
    line("all", [&] {
        number("events", summary.total);
        if (summary.total > 0) {
            text("first", summary.first);
            text("last", summary.last);
        }
        number("timeFromAction", summary.own);
        number("timeFromImport", summary.total - summary.own);
    });
    for (const NamedCount& each : summary.classes)
        line("class", [&] {
            text("class", each.name);
            number("events", each.count);
        });
    for (const NamedCount& each : summary.actions)
        line("action", [&] {
            text("action", each.name);
            number("events", each.count);
        });
    for (std::size_t i = 0; i < summary.ownHours.size(); ++i)
        line("hour", [&] {
            number("hour", i);
            text("zone", summary.zone);
            number("timeFromAction", summary.ownHours[i]);
            number("timeFromImport", summary.importHours[i]);
        });
}

class Table {
  public:
    Table(Output& output, bool color) : output_(output), palette_(color) {}

    void Line(const std::string& line) {
        output_.Put(line);
        output_.Put("\n");
        output_.EndRecord();
    }

    void Bars(const std::string& title, const std::vector<NamedCount>& counts) {
        std::size_t names = title.size();
        std::uint64_t most = 1;
        for (const NamedCount& each : counts) {
            names = std::max(names, DisplayWidth(each.name));
            most = std::max(most, each.count);
        }
        Line("");
        Line(std::string(palette_.bold) + Padded(title, names) + Right("Events") +
             std::string(palette_.plain));
        for (const NamedCount& each : counts)
            Line(Padded(each.name, names) + Right(Grouped(each.count)) + "  " +
                 std::string(palette_.cyan) + Bar(each.count, most, kBar) +
                 std::string(palette_.plain));
    }

    // The bars of each of the two have a scale of their own: an import puts all its events that
    // have no time of their own into one hour.
    void Hours(const EventSummary& summary) {
        const std::string title = "Hour (" + summary.zone + ")";
        Line("");
        Line(std::string(palette_.bold) + Padded(title, title.size()) + Right("Of action") +
             std::string(kBar / 2 + 2, ' ') + Right("Of import") + std::string(palette_.plain));
        const auto most = [](const std::array<std::uint64_t, 24>& hours) {
            return std::max<std::uint64_t>(*std::max_element(hours.begin(), hours.end()), 1);
        };
        for (std::size_t i = 0; i < summary.ownHours.size(); ++i) {
            const std::string name = (i < 10 ? "0" : "") + std::to_string(i) + ":00";
            const std::string own = Bar(summary.ownHours[i], most(summary.ownHours), kBar / 2);
            const std::string imported =
                Bar(summary.importHours[i], most(summary.importHours), kBar / 2);
            Line(Padded(name, title.size()) + Right(Grouped(summary.ownHours[i])) + "  " +
                 std::string(palette_.cyan) + Padded(own, kBar / 2) + std::string(palette_.plain) +
                 Right(Grouped(summary.importHours[i])) +
                 (imported.empty() ? ""
                                   : "  " + std::string(palette_.yellow) + imported +
                                         std::string(palette_.plain)));
        }
    }

  private:
    static constexpr std::size_t kNumbers = 12;
    static constexpr std::uint64_t kBar = 40;

    static std::string Padded(std::string text, std::size_t width) {
        const std::size_t used = DisplayWidth(text);
        return text.append(used < width ? width - used : 0, ' ');
    }

    static std::string Right(const std::string& number) {
        return std::string(number.size() < kNumbers ? kNumbers - number.size() : 0, ' ') + number;
    }

    // The bar of a count where the most frequent one takes the whole width. A count that isn't 0
    // shows.
    static std::string Bar(std::uint64_t count, std::uint64_t most, std::uint64_t width) {
        std::string bar;
        if (count == 0) return bar;
        const double part = static_cast<double>(count) / static_cast<double>(most);
        const auto cells = static_cast<std::uint64_t>(part * static_cast<double>(width) + 0.5);
        for (std::uint64_t i = 0; i < std::max<std::uint64_t>(cells, 1); ++i) bar += "█";
        return bar;
    }

    Output& output_;
    Palette palette_;
};

void PutTable(Output& output, const EventSummary& summary, bool color) {
    Table table(output, color);
    table.Line(Grouped(summary.total) + (summary.total == 1 ? " event in " : " events in ") +
               Printable(summary.database, false));
    if (summary.total == 0) return;
    table.Line("from " + summary.first + " to " + summary.last);
    table.Line(TimesText(summary));
    table.Bars("Class", summary.classes);
    table.Bars("Action", summary.actions);
    if (summary.otherActions > 0)
        table.Line("and " + Grouped(summary.otherActions) + " more actions with " +
                   Grouped(summary.otherEvents) + " events (--top 0 shows all)");
    table.Hours(summary);
}

int Stats(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    const EventFilter filter = options.filter.Filter();
    EventDatabase database(options.database, EventDatabase::Access::kRead);
    const EventSummary summary =
        Summarise(database.Count(filter), database.Name(), options.filter.local, options.top);
    if (!options.svg.empty()) {
        if (SameRegularFile(options.database, options.svg))
            throw UsageError(options.svg + ": the database is the output too");
        Output picture(File::OpenForWriting(options.svg));
        picture.Put(EventChart(summary));
        picture.EndRecord();
        picture.Close();
        // Standard output is the picture's alone then.
        if (options.svg == "-") return kExitDone;
    }
    Output output(File::OpenForWriting("-"));
    if (options.json) {
        PutJson(output, summary);
    } else {
        PutTable(output, summary, UseColor(reportOptions.color, StandardOutputIsTerminal()));
    }
    output.Close();
    return kExitDone;
}

}  // namespace

Run AddEventsStats(CLI::App& events, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *events.add_subcommand(
        "stats",
        "Examples:\n"
        "  tmxact events stats --db site.db\n"
        "  tmxact events stats --db site.db --local --svg site.svg\n"
        "  tmxact events stats --db site.db --json | jq 'select(.by == \"class\")'\n"
        "\n"
        "Count events by class, by action and by hour of the day, as a table with bars. An\n"
        "event's time is the first date-time of its action, or else that of its import; it\n"
        "is told how many have which.\n");
    AddDatabase(command, options->database);
    options->filter.Add(command, true);
    command
        .add_option("--top", options->top,
                    "How many actions are told, the most frequent first; 0 for all [20]")
        ->type_name("COUNT");
    command.add_flag("--json", options->json, "As JSON, an object for each count");
    command.add_option("--svg", options->svg, "Draw the same as a picture in this file (SVG)")
        ->type_name("FILE");
    return [options, &report] { return Stats(*options, report); };
}

}  // namespace tmxact
