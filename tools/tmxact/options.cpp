#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

#include "commands.h"

namespace tmxact {

namespace {

// The interface counts the bytes of one action in 32 bits.
constexpr std::uint64_t kLargestMaxSize = std::uint64_t{1} << 30;

// A number of bytes, with k, M or G behind it.
std::uint64_t SizeOf(const std::string& text) {
    constexpr std::string_view kUnits = "kmg";
    std::uint64_t size = 0;
    const char* const end = text.data() + text.size();
    const auto number = std::from_chars(text.data(), end, size);
    unsigned shift = 0;
    bool good = number.ec == std::errc() && end - number.ptr <= 1;
    if (good && number.ptr != end) {
        const std::size_t unit = kUnits.find(static_cast<char>(*number.ptr | 0x20));
        good = unit != std::string_view::npos;
        shift = 10 * static_cast<unsigned>(unit + 1);
    }
    if (!good || size == 0 || size > kLargestMaxSize >> shift)
        throw CLI::ValidationError("--max-size",
                                   "must be from 1 to 1G, such as 500k, found '" + text + "'");
    return size << shift;
}

}  // namespace

void AddCommonOptions(CLI::App& command, ReportOptions& options) {
    static const std::map<std::string, ColorChoice> kColors = {{"auto", ColorChoice::kAuto},
                                                               {"always", ColorChoice::kAlways},
                                                               {"never", ColorChoice::kNever}};
    command
        .add_option_function<std::string>(
            "--color", [&options](const std::string& when) { options.color = kColors.at(when); },
            "Colour: auto (on a terminal), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->group("Common options");
    command
        .add_flag_callback(
            "--progress", [&options] { options.progress = ProgressChoice::kAlways; },
            "Show progress even where standard error is no terminal")
        ->group("Common options");
    command
        .add_flag_callback(
            "--no-progress", [&options] { options.progress = ProgressChoice::kNever; },
            "Show no progress")
        ->group("Common options");
    command
        .add_flag_callback(
            "-q,--quiet", [&options] { options.verbosity = -1; },
            "No messages but of file and system errors")
        ->group("Common options");
    command
        .add_flag_callback(
            "-v,--verbose", [&options] { options.verbosity = 1; }, "Tell what is done")
        ->group("Common options");
    command.get_option("--help")->group("Common options");
}

void AddStreamOptions(CLI::App& command, StreamOptions& options, const char* files) {
    static const std::map<std::string, InputForm> kForms = {
        {"auto", InputForm::kAuto}, {"text", InputForm::kText}, {"bin", InputForm::kBinary}};
    command
        .add_option_function<std::string>(
            "--from", [&options](const std::string& form) { options.form = kForms.at(form); },
            "Form of the input: auto (by the first bytes of each file), text or bin")
        ->type_name("FORM")
        ->check(CLI::IsMember({"auto", "text", "bin"}).description(""));
    command.add_flag("--ansi", options.source.ansi,
                     "Action text in the input is in the ANSI code page (windows-1252), not UTF-8");
    command
        .add_option_function<std::string>(
            "--max-size",
            [&options](const std::string& size) {
                options.source.largestAction = static_cast<std::size_t>(SizeOf(size));
            },
            "The most bytes that one action may take; k, M and G are understood [64M]")
        ->type_name("BYTES");
    command.add_option("FILE", options.files, files)->type_name("");
}

void OutputOptions::Settle(const StreamOptions& stream, const std::vector<std::string>& others) {
    write.narrowMayBeUtf8 = !stream.source.ansi;
    for (const auto* files : {&stream.files, &others})
        for (const std::string& each : *files)
            if (SameRegularFile(each, file))
                throw UsageError(each + ": the input is the output too");
}

CLI::Option& AddForm(CLI::App& command, OutputOptions& options) {
    static const std::map<std::string, Form> kForms = {{"text", Form::kText},
                                                       {"bin", Form::kBinary},
                                                       {"display", Form::kDisplay},
                                                       {"json", Form::kJson}};
    return *command
                .add_option_function<std::string>(
                    "--to",
                    [&options](const std::string& form) { options.write.form = kForms.at(form); },
                    "Form of the output: text, bin, display (for people) or json (an object a "
                    "line)")
                ->type_name("FORM")
                ->check(CLI::IsMember({"text", "bin", "display", "json"}).description(""));
}

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
    command.add_option("-o,--output", options.file, "Where to write [standard output]")
        ->type_name("FILE");
    command.add_flag("--ansi-output", options.write.ansi,
                     "Write text and display forms in the ANSI code page");
    command
        .add_option_function<std::string>(
            "--int64",
            [&options](const std::string& how) { options.write.int64AsString = how == "string"; },
            "64-bit integers in JSON: number or string")
        ->type_name("HOW")
        ->check(CLI::IsMember({"number", "string"}).description(""));
}

void Closing(Output& output, const std::function<void()>& writes) {
    try {
        writes();
    } catch (const Interrupted&) {
        output.Close();
        throw;
    }
    output.Close();
}

void RefuseSecondReader(const std::vector<std::string>& ahead,
                        const std::vector<std::string>& stream, bool noneIsInput) {
    const auto readers = std::count(ahead.begin(), ahead.end(), "-");
    const bool streamReads = (stream.empty() && noneIsInput) ||
                             std::find(stream.begin(), stream.end(), "-") != stream.end();
    if (readers + (streamReads ? 1 : 0) > 1 && readers > 0)
        throw UsageError("standard input can't be read twice; name a file");
}

void TemplateOptions::Add(CLI::App& command) {
    command.add_option("--template", texts, "A template; may be given several times")
        ->type_name("TEMPLATE")
        ->allow_extra_args(false);
    command
        .add_option("--templates", files,
                    "A file of templates, one a line, with comments from # on; - is standard input")
        ->type_name("FILE")
        ->allow_extra_args(false);
}

void TemplateOptions::Settle(const std::vector<std::string>& stream, bool noneIsInput) const {
    if (texts.empty() && files.empty())
        throw UsageError("a template is missing: give --template or --templates");
    RefuseSecondReader(files, stream, noneIsInput);
}

int TemplateOptions::Read(const StreamOptions& stream, Reporter& reporter,
                          std::vector<Template>& templates) const {
    bool good = true;
    for (const std::string& text : texts) {
        ReadAction read;
        if (!ReadArgument("--template", text, Wanted::kTemplates, reporter, read)) {
            good = false;
            continue;
        }
        templates.push_back({std::move(read.handle), read.facts, text});
        std::string comment;
        if (CommentOf(templates.back().handle.get(), comment) && !comment.empty())
            templates.back().label = comment;
    }
    if (!good) return kExitUsage;
    for (const std::string& file : files) {
        const std::size_t before = templates.size();
        try {
            for (Template& each : ReadTemplates(file, stream.source, reporter))
                templates.push_back(std::move(each));
        } catch (const SystemError& error) {
            reporter.Failed(error.what());
            continue;
        }
        if (reporter.RefusedCount() == 0 && templates.size() == before)
            reporter.Tell(file + ": there is no template in it");
    }
    if (reporter.SystemFailed()) return kExitSystem;
    if (reporter.RefusedCount() == 0) return kExitDone;
    reporter.Tell(Counted(reporter.RefusedCount(), "mistake") +
                  " in the templates; nothing was done");
    return kExitUnreadable;
}

ReadAction MadeFrom(TmxHandle handle, const ActionFacts* facts, TmxHandle source) {
    ReadAction made;
    TmxHandle action = nullptr;
    if (!TmxMatchAct_CreateActionFromTemplate(handle, source, &action) || action == nullptr)
        throw std::runtime_error("can't make an action: " + LastErrorText());
    made.handle.reset(action);
    made.facts = facts;
    return made;
}

int ExitAfterReading(const Reporter& reporter) {
    if (reporter.SystemFailed()) return kExitSystem;
    return reporter.RefusedCount() > 0 ? kExitUnreadable : kExitDone;
}

}  // namespace tmxact
