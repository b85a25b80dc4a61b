#include <memory>
#include <utility>

#include "commands.h"
#include "json_text.h"
#include "template_index.h"
#include "template_text.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    OutputOptions output;
    TemplateOptions templates;
    bool invert = false;
    bool count = false;
};

// What --count puts out.
void PutCount(Output& output, const Options& options, std::uint64_t actions, std::uint64_t passed,
              const std::vector<Template>& templates, const std::vector<std::uint64_t>& matched) {
    if (options.output.write.form != Form::kJson) {
        output.Put(std::to_string(passed) + "\n");
    } else {
        JsonText json(false);
        const auto number = [&json](const char* key, std::uint64_t value) {
            json.Key(key);
            json.Number(static_cast<std::int64_t>(value));
        };
        json.StartObject();
        number("actions", actions);
        number("passed", passed);
        json.Key("templates");
        json.StartArray();
        for (std::size_t i = 0; i < templates.size(); ++i) {
            json.StartObject();
            json.Key("label");
            json.Utf8(templates[i].label);
            number("matched", matched[i]);
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        output.Put(json.Text());
        output.Put("\n");
    }
    output.EndRecord();
}

int Match(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    std::vector<Template> templates;
    if (const int code = options.templates.Read(options.stream, reporter, templates);
        code != kExitDone)
        return code;
    TemplateIndex index;
    for (const Template& each : templates) index.Add(each.facts->code, each.handle.get());
    index.Build();
    std::vector<std::uint64_t> matched(templates.size());

    Output output(File::OpenForWriting(options.output.file));
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ActionWriter writer(output, options.output.write);
    const bool json = options.output.write.form == Form::kJson;
    const bool named =
        !options.invert &&
        (json || (options.output.write.form == Form::kDisplay && options.templates.MoreThanOne()));
    // Where nobody asks which templates match, the first that does is enough.
    const bool all = named || (options.count && json) || reportOptions.verbosity > 0;
    std::uint64_t passed = 0;
    Closing(output, [&] {
        ReadAction action;
        Labels labels{"matched", true, {}};
        while (stream.Next(action)) {
            bool any = false;
            labels.texts.clear();
            index.Match(action.facts->code, action.handle.get(), [&](std::uint32_t number) {
                any = true;
                ++matched[number];
                if (named) labels.texts.push_back(&templates[number].label);
                return all;
            });
            if (any == options.invert) continue;
            ++passed;
            if (options.count) continue;
            const std::string refused = writer.Write(action, named ? &labels : nullptr);
            if (!refused.empty())
                reporter.Unwritable(stream.FileName(), action.offset,
                                    action.facts->name + ": " + refused);
        }
        if (options.count)
            PutCount(output, options, reporter.Actions(), passed, templates, matched);
    });
    reporter.EndProgress();
    for (std::size_t i = 0; i < templates.size(); ++i)
        if (matched[i] > 0)
            reporter.Detail(templates[i].label + ": matched " + Counted(matched[i], "action"));
    reporter.Detail(Counted(reporter.Actions(), "action") + " read, " + std::to_string(passed) +
                    " passed on");
    const int code = ExitAfterReading(reporter);
    return code == kExitDone && passed == 0 ? kExitNo : code;
}

}  // namespace

Run AddMatch(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    options->stream.source.wanted = Wanted::kActions;
    CLI::App& command = *program.add_subcommand(
        "match",
        "Examples:\n"
        "  tmxact match --template '@ CameraOn (Camera: 5)' site.actions\n"
        "  tmxact match --templates doors.templates --to display site.actions\n"
        "  tmxact match --template '@ LiveCheck ()' --invert --to bin -o rest.bin site.bin\n"
        "  tmxact match --template '@ EventStarted ()' --count site.actions\n"
        "\n"
        "Pass on the actions that a template matches: those of its name whose parameters\n"
        "agree with all that it sets. Case aside texts must be the same; a reference agrees\n"
        "by the id that the template gives, else by its number, else by its name. In JSON,\n"
        "and in the display form where there is more than one template, the templates that\n"
        "matched are named, by their Comment or by their place. The exit code is 1 if no\n"
        "action was passed on.\n");
    options->templates.Add(command);
    command.add_flag("--invert", options->invert, "Pass on what no template matches");
    command.add_flag("--count", options->count, "Tell only how many actions would be passed on");
    AddForm(command, options->output);
    AddStreamOptions(command, options->stream);
    AddOutputOptions(command, options->output);
    return [options, &report] {
        options->output.Settle(options->stream, options->templates.files);
        options->templates.Settle(options->stream.files, true);
        return Match(*options, report);
    };
}

}  // namespace tmxact
