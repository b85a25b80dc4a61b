#include <map>

#include "action_writer.h"
#include "event_row.h"
#include "events_commands.h"
#include "facts.h"

namespace tmxact {

namespace {

struct Options {
    std::string database;
    FilterOptions filter;
    WriteOptions write;
    std::string output = "-";
};

int Export(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    const EventFilter filter = options.filter.Filter();
    if (SameRegularFile(options.database, options.output))
        throw UsageError(options.output + ": the database is the output too");
    EventDatabase database(options.database, EventDatabase::Access::kRead);
    Output output(File::OpenForWriting(options.output));
    ActionWriter writer(output, options.write);
    std::uint64_t fromColumns = 0;
    std::uint64_t fromBytes = 0;
    const auto refuse = [&](const EventRow& row, const std::string& reason) {
        reporter.Unwritable(database.Name(), static_cast<std::uint64_t>(row.id),
                            CodeName(row.code) + ": " + reason);
    };
    try {
        database.Read(filter, EventOrder::kById, [&](const EventRow& row) {
            CheckSignals();
            RestoredFrom from = RestoredFrom::kColumns;
            ReadAction action;
            action.handle = Restore(row, from);
            action.facts = Facts::Get().ByCode(row.code);
            if (action.handle == nullptr || action.facts == nullptr) {
                const std::string reason = LastErrorText();
                refuse(row, reason.empty() ? "the event gives no action back" : reason);
                return true;
            }
            if (row.hasStored && from == RestoredFrom::kColumns)
                reporter.Tell(database.Name() + ':' + std::to_string(row.id) + ": " +
                              CodeName(row.code) +
                              ": the stored bytes can't be read; restored from the columns");
            const std::string refused = writer.Write(action);
            if (refused.empty()) {
                ++(from == RestoredFrom::kBytes ? fromBytes : fromColumns);
            } else {
                refuse(row, refused);
            }
            return true;
        });
        output.Close();
    } catch (const Interrupted&) {
        output.Close();
        throw;
    }
    reporter.Tell(Counted(fromColumns + fromBytes, "action") +
                  " restored: " + std::to_string(fromColumns) + " from columns, " +
                  std::to_string(fromBytes) + " from bytes");
    return reporter.RefusedCount() > 0 ? kExitUnreadable : kExitDone;
}

}  // namespace

Run AddEventsExport(CLI::App& events, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *events.add_subcommand(
        "export",
        "Examples:\n"
        "  tmxact events export --db site.db --to text\n"
        "  tmxact events export --db site.db --to bin -o site.bin\n"
        "  tmxact events export --db site.db --class Camera --to json\n"
        "\n"
        "Restore the actions of events, in the order of their import. It is told how many\n"
        "came back from the columns and how many from their bytes.\n");
    AddDatabase(command, options->database);
    static const std::map<std::string, Form> kForms = {
        {"text", Form::kText}, {"bin", Form::kBinary}, {"json", Form::kJson}};
    command
        .add_option_function<std::string>(
            "--to", [options](const std::string& form) { options->write.form = kForms.at(form); },
            "Form of the output: text, bin or json (an object a line)")
        ->type_name("FORM")
        ->check(CLI::IsMember({"text", "bin", "json"}).description(""))
        ->required();
    options->filter.Add(command, false);
    command.add_option("-o,--output", options->output, "Where to write [standard output]")
        ->type_name("FILE");
    command.add_flag("--ansi-output", options->write.ansi, "Write text in the ANSI code page");
    command
        .add_option_function<std::string>(
            "--int64",
            [options](const std::string& how) { options->write.int64AsString = how == "string"; },
            "64-bit integers in JSON: number or string")
        ->type_name("HOW")
        ->check(CLI::IsMember({"number", "string"}).description(""));
    return [options, &report] { return Export(*options, report); };
}

}  // namespace tmxact
