#include <memory>

#include "commands.h"
#include "template_index.h"
#include "template_text.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    OutputOptions output;
    std::string rules;
    bool check = false;
    bool stats = false;
};

int RunRules(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    std::vector<Rule> rules;
    try {
        rules = ReadRules(options.rules, options.stream.source, reporter);
    } catch (const SystemError& error) {
        reporter.Failed(error.what());
        return kExitSystem;
    }
    if (reporter.RefusedCount() > 0) {
        reporter.Tell(options.rules + ": " + Counted(reporter.RefusedCount(), "mistake") +
                      "; no rule was run");
        return kExitUnreadable;
    }
    if (rules.empty()) reporter.Tell(options.rules + ": there is no rule in it");
    reporter.Detail(options.rules + ": " + Counted(rules.size(), "rule"));
    if (options.check) return kExitDone;
    TemplateIndex index;
    for (const Rule& rule : rules) index.Add(rule.when.facts->code, rule.when.handle.get());
    index.Build();
    std::vector<std::uint64_t> matched(rules.size());
    std::uint64_t matches = 0;
    std::uint64_t reactions = 0;

    Output output(File::OpenForWriting(options.output.file));
    ActionStream stream(options.stream, reporter, [&output] { output.Flush(); });
    ActionWriter writer(output, options.output.write);
    Closing(output, [&] {
        ReadAction action;
        while (stream.Next(action)) {
            index.Match(action.facts->code, action.handle.get(), [&](std::uint32_t number) {
                const Rule& rule = rules[number];
                const Labels labels{"rule", false, {&rule.when.label}};
                ++matches;
                ++matched[number];
                for (const Reaction& reaction : rule.reactions) {
                    const ReadAction made =
                        MadeFrom(reaction.handle.get(), reaction.facts, action.handle.get());
                    const std::string refused = writer.Write(made, &labels);
                    reactions += refused.empty() ? 1 : 0;
                    if (!refused.empty())
                        reporter.Unwritable(
                            stream.FileName(), action.offset,
                            rule.when.label + ": " + made.facts->name + ": " + refused);
                }
                return true;
            });
        }
    });
    reporter.EndProgress();
    for (std::size_t i = 0; i < rules.size(); ++i)
        if (matched[i] > 0)
            reporter.Detail(rules[i].when.label + ": matched " + Counted(matched[i], "action"));
    if (options.stats)
        reporter.Answer(
            Counted(rules.size(), "rule") + ", " + Counted(reporter.Actions(), "action") + ", " +
            Counted(index.Comparisons(), "comparison") + ", " + std::to_string(matches) +
            (matches == 1 ? " match, " : " matches, ") + Counted(reactions, "reaction"));
    return ExitAfterReading(reporter);
}

}  // namespace

Run AddRules(CLI::App& program, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    options->stream.source.wanted = Wanted::kActions;
    CLI::App& command = *program.add_subcommand(
        "rules",
        "Examples:\n"
        "  tmxact rules site.rules site.actions\n"
        "  tail -f actions.log | tmxact rules --to display site.rules\n"
        "  tmxact rules --check site.rules\n"
        "\n"
        "Put out the reactions of rules to actions. A rule is a template, => and one or more\n"
        "reactions, which are templates too:\n"
        "\n"
        "  # the gate's camera and lights follow its contact\n"
        "  @ DigitalInput (Contact: 3, State: 2) => @ CameraOn (Camera: 1)\n"
        "      @ SetDigitalOutput (Contact: 4, State: 1)\n"
        "\n"
        "For each action in order, and each rule whose template matches it in the order of\n"
        "the file, the reactions are made with the action as their source, as make does. All\n"
        "mistakes of the file are told before anything is read. A rule begins on a line of\n"
        "its own; further lines of it are indented.\n");
    command.add_option("RULES", options->rules, "The file of rules; - is standard input")
        ->type_name("")
        ->required();
    command.add_flag("--check", options->check, "Only read the rules, and tell their mistakes");
    command.add_flag("--stats", options->stats,
                     "Tell at the end how many rules, actions, comparisons, matches and reactions "
                     "there were");
    AddForm(command, options->output);
    AddStreamOptions(command, options->stream);
    AddOutputOptions(command, options->output);
    return [options, &report] {
        RefuseSecondReader({options->rules}, options->stream.files, !options->check);
        options->output.Settle(options->stream, {options->rules});
        return RunRules(*options, report);
    };
}

}  // namespace tmxact
