// The commands. Each adds itself to the program's command line, and runs if it was the one.
#ifndef TMXACT_COMMANDS_H
#define TMXACT_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "action_stream.h"
#include "report.h"

namespace tmxact {

// Exit codes, the same for every command.
enum ExitCode {
    kExitDone = 0,
    kExitNo = 1,          // done, but the answer is no
    kExitUsage = 2,       // wrong use
    kExitUnreadable = 3,  // input that had to be read can't be
    kExitSystem = 4       // file or system error
};

// A way of use that only shows when the options are looked at together.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Options that every command has.
void AddCommonOptions(CLI::App& command, ReportOptions& options);

// Options of every command that reads actions: --from, --ansi, --max-size and the files.
void AddStreamOptions(CLI::App& command, StreamOptions& options);

using Run = std::function<int()>;

// Each returns the command's run; it is called once the command line has been read.
Run AddConvert(CLI::App& program, const ReportOptions& report);
Run AddCheck(CLI::App& program, const ReportOptions& report);
Run AddCatalogue(CLI::App& program, const ReportOptions& report);
#ifdef TMXACT_EVENTS
// Has commands of its own, which take the common options too.
Run AddEvents(CLI::App& program, ReportOptions& report);
#endif

}  // namespace tmxact

#endif
