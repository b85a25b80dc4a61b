#include <memory>
#include <optional>

#include "commands.h"
#include "encoding.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    OutputOptions output;
    std::optional<std::string> comment;
};

int MakeTemplates(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    Output output(File::OpenForWriting(options.output.file));
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ActionWriter writer(output, options.output.write);
    const std::u16string comment = Utf8ToWide(options.comment.value_or(""));
    Closing(output, [&] {
        ReadAction action;
        while (stream.Next(action)) {
            TmxHandle made = nullptr;
            std::string refused;
            if (!TmxAct_CreateMatchActionFromTemplate(action.handle.get(), &made) ||
                made == nullptr)
                throw std::runtime_error("can't make a template: " + LastErrorText());
            action.handle.reset(made);
            action.isTemplate = true;
            if (options.comment.has_value() && !TmxMatchAct_SetDescriptionW(made, comment.c_str()))
                throw std::runtime_error("can't set the comment: " + LastErrorText());
            refused = writer.Write(action);
            if (!refused.empty())
                reporter.Unwritable(stream.FileName(), action.offset,
                                    action.facts->name + ": " + refused);
        }
    });
    reporter.EndProgress();
    reporter.Detail(Counted(reporter.Actions(), "template") + " made, " +
                    std::to_string(reporter.RefusedCount()) + " refused");
    return ExitAfterReading(reporter);
}

}  // namespace

Run AddTemplate(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    options->stream.source.wanted = Wanted::kActions;
    CLI::App& command = *program.add_subcommand(
        "template",
        "Examples:\n"
        "  tmxact template site.actions\n"
        "  echo 'CameraOn (5)' | tmxact template --comment 'the gate' >> gate.templates\n"
        "\n"
        "Make templates from actions. All is set in them that the action has; what shall be\n"
        "open is then taken out by hand.\n");
    command.add_option("--comment", options->comment, "Give each template this comment")
        ->type_name("TEXT");
    AddForm(command, options->output);
    AddStreamOptions(command, options->stream);
    AddOutputOptions(command, options->output);
    return [options, &report] {
        const Form form = options->output.write.form;
        if (form == Form::kText && options->comment.value_or("").find('"') != std::string::npos)
            throw UsageError("--comment: action text can't carry a '\"' within a text");
        options->output.Settle(options->stream);
        return MakeTemplates(*options, report);
    };
}

}  // namespace tmxact
