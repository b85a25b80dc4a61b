#include <memory>

#include "commands.h"

namespace tmxact {

namespace {

int Check(const StreamOptions& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    ActionStream stream(options, reporter, [] {});
    ReadAction action;
    while (stream.Next(action)) {
    }
    reporter.EndProgress();
    reporter.Tell(Counted(reporter.Actions(), "action") + " read, " +
                  std::to_string(reporter.RefusedCount()) + " refused");
    if (reporter.SystemFailed()) return kExitSystem;
    return reporter.RefusedCount() > 0 ? kExitNo : kExitDone;
}

}  // namespace

Run AddCheck(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<StreamOptions>();
    CLI::App& command = *program.add_subcommand(
        "check",
        "Examples:\n"
        "  tmxact check actions.txt\n"
        "  tmxact check --from bin *.bin && echo all well\n"
        "\n"
        "Tell what in the input is no action, each with its place and reason. The exit\n"
        "code is 1 if there was anything, else 0.\n");
    AddStreamOptions(command, *options);
    command.get_option("FILE")->required();
    return [options, &report] { return Check(*options, report); };
}

}  // namespace tmxact
