#include <map>
#include <memory>

#include "action_writer.h"
#include "commands.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    WriteOptions write;
    std::string output = "-";
};

int Convert(const Options& options, const ReportOptions& reportOptions) {
    for (const std::string& file : options.stream.files)
        if (SameRegularFile(file, options.output))
            throw UsageError(file + ": the input is the output too");
    Reporter reporter(reportOptions);
    Output output(File::OpenForWriting(options.output));
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ActionWriter writer(output, options.write);
    ReadAction action;
    try {
        while (stream.Next(action)) {
            const std::string refused = writer.Write(action);
            if (!refused.empty())
                reporter.Unwritable(stream.FileName(), action.offset,
                                    action.facts->name + ": " + refused);
        }
        output.Close();
    } catch (const Interrupted&) {
        // Whole records only, and all that were ready.
        output.Close();
        throw;
    }
    reporter.EndProgress();
    reporter.Detail(Counted(reporter.Actions(), "action") + " read, " +
                    std::to_string(reporter.RefusedCount()) + " refused, " +
                    std::to_string(reporter.Bytes()) + " bytes");
    if (reporter.SystemFailed()) return kExitSystem;
    return reporter.RefusedCount() > 0 ? kExitUnreadable : kExitDone;
}

}  // namespace

Run AddConvert(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *program.add_subcommand(
        "convert",
        "Examples:\n"
        "  tmxact convert --to json events.bin\n"
        "  tmxact convert --from text --to bin -o events.bin events.txt\n"
        "  tail -f actions.log | tmxact convert --to display\n"
        "\n"
        "Convert actions between their forms. An action that can't be read is told on\n"
        "standard error with its place, and the rest goes on.\n");
    static const std::map<std::string, Form> kForms = {{"text", Form::kText},
                                                       {"bin", Form::kBinary},
                                                       {"display", Form::kDisplay},
                                                       {"json", Form::kJson}};
    command
        .add_option_function<std::string>(
            "--to", [options](const std::string& form) { options->write.form = kForms.at(form); },
            "Form of the output: text, bin, display (for people) or json (an object a line)")
        ->type_name("FORM")
        ->check(CLI::IsMember({"text", "bin", "display", "json"}).description(""))
        ->required();
    AddStreamOptions(command, options->stream);
    command.add_option("-o,--output", options->output, "Where to write [standard output]")
        ->type_name("FILE");
    command.add_flag("--ansi-output", options->write.ansi,
                     "Write text and display forms in the ANSI code page");
    command
        .add_option_function<std::string>(
            "--int64",
            [options](const std::string& how) { options->write.int64AsString = how == "string"; },
            "64-bit integers in JSON: number or string")
        ->type_name("HOW")
        ->check(CLI::IsMember({"number", "string"}).description(""));
    return [options, &report] {
        options->write.narrowMayBeUtf8 = !options->stream.source.ansi;
        return Convert(*options, report);
    };
}

}  // namespace tmxact
