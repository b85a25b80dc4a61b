#include <memory>

#include "commands.h"
#include "template_text.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    OutputOptions output;
    TemplateOptions templates;
    std::vector<std::string> sources;
};

int Make(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    std::vector<Template> templates;
    if (const int code = options.templates.Read(options.stream, reporter, templates);
        code != kExitDone)
        return code;
    std::vector<ReadAction> sources(options.sources.size());
    bool good = true;
    for (std::size_t i = 0; i < sources.size(); ++i)
        good =
            ReadArgument("--source", options.sources[i], Wanted::kActions, reporter, sources[i]) &&
            good;
    if (!good) return kExitUsage;

    Output output(File::OpenForWriting(options.output.file));
    ActionWriter writer(output, options.output.write);
    // From each template in turn; source may be null.
    const auto make = [&](TmxHandle source, const std::string& file, std::uint64_t offset) {
        for (const Template& each : templates) {
            const ReadAction made = MadeFrom(each.handle.get(), each.facts, source);
            const std::string refused = writer.Write(made);
            if (!refused.empty())
                reporter.Unwritable(file, offset, made.facts->name + ": " + refused);
        }
    };
    Closing(output, [&] {
        for (const ReadAction& source : sources) make(source.handle.get(), "--source", 0);
        if (sources.empty() && options.stream.files.empty()) make(nullptr, "--template", 0);
        if (options.stream.files.empty()) return;
        ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
        ReadAction source;
        while (stream.Next(source)) make(source.handle.get(), stream.FileName(), source.offset);
    });
    reporter.EndProgress();
    return ExitAfterReading(reporter);
}

}  // namespace

Run AddMake(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    options->stream.source.wanted = Wanted::kActions;
    CLI::App& command = *program.add_subcommand(
        "make",
        "Examples:\n"
        "  tmxact make --template '@ CameraOn ()' --source 'SensorVideoAlarm (5, 0)'\n"
        "  tmxact make --template '@ FocusFar (Camera: 3)' --source 'FocusFar (8, 7)'\n"
        "  tmxact make --templates shift.templates --to bin -o shift.bin\n"
        "\n"
        "Make actions from templates. What a template sets is taken from it; what it leaves\n"
        "open comes from the source. A source of the same action gives its parameters; any\n"
        "other gives what it has of the role that is asked for: a video channel or camera, a\n"
        "viewer, a contact, a foreign key, its one number. What no source gives is empty or\n"
        "0, and an optional parameter is absent. With files of sources, each of their actions\n"
        "is the source in turn.\n");
    options->templates.Add(command);
    command.add_option("--source", options->sources, "The source, in action text")
        ->type_name("ACTION")
        ->allow_extra_args(false);
    AddForm(command, options->output);
    AddStreamOptions(command, options->stream,
                     "Files of sources; - is standard input, none is no source");
    AddOutputOptions(command, options->output);
    return [options, &report] {
        if (!options->sources.empty() && !options->stream.files.empty())
            throw UsageError("--source: there is a file of sources too, " +
                             options->stream.files.front());
        options->output.Settle(options->stream, options->templates.files);
        options->templates.Settle(options->stream.files, false);
        return Make(*options, report);
    };
}

}  // namespace tmxact
