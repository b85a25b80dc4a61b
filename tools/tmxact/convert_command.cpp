#include <memory>

#include "commands.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    OutputOptions output;
};

int Convert(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    Output output(File::OpenForWriting(options.output.file));
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ActionWriter writer(output, options.output.write);
    Closing(output, [&] {
        ReadAction action;
        while (stream.Next(action)) {
            const std::string refused = writer.Write(action);
            if (!refused.empty())
                reporter.Unwritable(stream.FileName(), action.offset,
                                    action.facts->name + ": " + refused);
        }
    });
    reporter.EndProgress();
    reporter.Detail(Counted(reporter.Actions(), "action") + " read, " +
                    std::to_string(reporter.RefusedCount()) + " refused, " +
                    std::to_string(reporter.Bytes()) + " bytes");
    return ExitAfterReading(reporter);
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
    AddForm(command, options->output).required();
    AddStreamOptions(command, options->stream);
    AddOutputOptions(command, options->output);
    return [options, &report] {
        options->output.Settle(options->stream);
        return Convert(*options, report);
    };
}

}  // namespace tmxact
