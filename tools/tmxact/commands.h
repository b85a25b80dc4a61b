// The commands. Each adds itself to the program's command line, and runs if it was the one.
#ifndef TMXACT_COMMANDS_H
#define TMXACT_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "action_stream.h"
#include "action_writer.h"
#include "output.h"
#include "report.h"
#include "template_text.h"

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

// Options of every command that reads actions: --from, --ansi, --max-size and the files, whose help
// says what they are.
void AddStreamOptions(CLI::App& command, StreamOptions& options,
                      const char* files = "Files to read; - or none is standard input");

// Where and how a command puts out actions.
struct OutputOptions {
    WriteOptions write;
    std::string file = "-";

    // What hangs on the input's options too, and wrong use that shows only now: an input that is
    // the output. Other files that are read besides may be named. Throws UsageError.
    void Settle(const StreamOptions& stream, const std::vector<std::string>& others = {});
};

// --to, which is text unless it is required, -o, --ansi-output and --int64.
CLI::Option& AddForm(CLI::App& command, OutputOptions& options);
void AddOutputOptions(CLI::App& command, OutputOptions& options);

// Runs what writes, and closes the output behind it. Where the user ends it early, whole records
// leave, and all that were ready.
void Closing(Output& output, const std::function<void()>& writes);

// Throws UsageError if standard input would be read twice: by the files that are read ahead of the
// stream, or by one of them and the stream, which reads it where it has no file if noneIsInput.
void RefuseSecondReader(const std::vector<std::string>& ahead,
                        const std::vector<std::string>& stream, bool noneIsInput);

// The templates that a command works with.
struct TemplateOptions {
    std::vector<std::string> texts;  // of --template
    std::vector<std::string> files;  // of --templates

    // --template and --templates.
    void Add(CLI::App& command);
    // Throws UsageError if there are none, or if standard input would be read twice.
    void Settle(const std::vector<std::string>& stream, bool noneIsInput) const;
    bool MoreThanOne() const noexcept { return !files.empty() || texts.size() > 1; }
    // Reads them, those of the command line first. Tells all mistakes, and returns an exit code.
    int Read(const StreamOptions& stream, Reporter& reporter,
             std::vector<Template>& templates) const;
};

// The action that a template makes; source may be null.
ReadAction MadeFrom(TmxHandle handle, const ActionFacts* facts, TmxHandle source);

// The exit code of a command that reads actions to the end.
int ExitAfterReading(const Reporter& reporter);

using Run = std::function<int()>;

// Each returns the command's run; it is called once the command line has been read.
Run AddConvert(CLI::App& program, const ReportOptions& report);
Run AddCheck(CLI::App& program, const ReportOptions& report);
Run AddMatch(CLI::App& program, const ReportOptions& report);
Run AddTemplate(CLI::App& program, const ReportOptions& report);
Run AddMake(CLI::App& program, const ReportOptions& report);
Run AddRules(CLI::App& program, const ReportOptions& report);
Run AddCatalogue(CLI::App& program, const ReportOptions& report);
#ifdef TMXACT_EVENTS
// Has commands of its own, which take the common options too.
Run AddEvents(CLI::App& program, ReportOptions& report);
#endif

}  // namespace tmxact

#endif
