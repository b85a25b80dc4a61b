#include <memory>

#include "commands.h"
#include "json_text.h"
#include "output.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    bool json = false;
};

void PutJson(Output& output, const Refusal& refusal, std::string_view severity) {
    JsonText json(false);
    json.StartObject();
    json.Key("file");
    json.Utf8(refusal.file);
    if (refusal.line > 0) {
        json.Key("line");
        json.Number(static_cast<std::int64_t>(refusal.line));
        json.Key("column");
        json.Number(static_cast<std::int64_t>(refusal.column));
    }
    json.Key("offset");
    json.Number(static_cast<std::int64_t>(refusal.offset));
    json.Key("severity");
    json.Utf8(severity);
    json.Key("reason");
    json.Utf8(refusal.reason);
    json.EndObject();
    output.Put(json.Text());
    output.Put("\n");
    output.EndRecord();
}

int Check(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    Output output(File::OpenForWriting("-"));
    if (options.json)
        reporter.SendTo([&output](const Refusal& refusal, std::string_view severity) {
            PutJson(output, refusal, severity);
        });
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ReadAction action;
    try {
        while (stream.Next(action)) {
        }
    } catch (const Interrupted&) {
        if (options.json) output.Close();
        throw;
    }
    // Nothing is written without --json, and a closed standard output is no fault then.
    if (options.json) output.Close();
    reporter.EndProgress();
    reporter.Tell(Counted(reporter.Actions(), "action") + " read, " +
                  std::to_string(reporter.RefusedCount()) + " refused");
    if (reporter.SystemFailed()) return kExitSystem;
    return reporter.RefusedCount() > 0 ? kExitNo : kExitDone;
}

}  // namespace

Run AddCheck(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *program.add_subcommand(
        "check",
        "Examples:\n"
        "  tmxact check actions.txt\n"
        "  tmxact check --from bin *.bin && echo all well\n"
        "  tmxact check --json actions.txt | jq .reason\n"
        "\n"
        "Tell what in the input is no action, each with its place and reason. The exit\n"
        "code is 1 if there was anything, else 0.\n");
    AddStreamOptions(command, options->stream);
    command.add_flag("--json", options->json,
                     "Tell each on standard output as an object a line, for programs");
    return [options, &report] { return Check(*options, report); };
}

}  // namespace tmxact
