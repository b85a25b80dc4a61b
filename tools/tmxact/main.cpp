// tmxact: works with actions on the command line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "encoding.h"
#include "facts.h"
#include "output.h"
#include "system.h"

namespace {

using namespace tmxact;

constexpr char kExamples[] =
    "Examples:\n"
    "  tmxact convert --to json events.bin\n"
    "  tmxact check actions.txt\n"
    "  tmxact match --template '@ CameraOn (Camera: 5)' actions.txt\n"
    "  tmxact rules site.rules actions.txt\n"
    "  tmxact catalogue CameraOn\n"
#ifdef TMXACT_EVENTS
    "  tmxact events import --db site.db site.actions\n"
#endif
    "\n"
    "Work with the actions of a video-surveillance system.\n";

constexpr char kShortHelp[] =
    "Usage: tmxact COMMAND [OPTION]... [FILE]...\n"
    "\n"
    "  convert    convert actions between text, bytes, display and JSON\n"
    "  check      tell what in the input is no action\n"
    "  match      pass on the actions that a template matches\n"
    "  template   make templates from actions\n"
    "  make       make actions from templates\n"
    "  rules      put out the reactions of rules to actions\n"
    "  catalogue  tell what actions there are\n"
#ifdef TMXACT_EVENTS
    "  events     keep actions as events in a database\n"
#endif
    "\n"
    "tmxact --help tells more, and so does tmxact COMMAND --help.\n";

// In the list of commands each has the first sentence behind its examples.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_subcommand(const CLI::App* command) const override {
        std::string text = command->get_description();
        text = text.substr(text.find("\n\n") + 2);
        text = text.substr(0, text.find_first_of(".:") + 1);
        text.back() = '.';
        std::replace(text.begin(), text.end(), '\n', ' ');
        std::string line = "  " + command->get_name();
        line.resize(get_column_width(), ' ');
        return line + text + '\n';
    }
};

std::string Version() {
    return std::string("tmxact " TMXACT_VERSION "\nTmxActions library " TMXACT_VERSION
                       ", interface version ") +
           std::to_string(TmxAct_InterfaceVersion()) + " of " + TmxAct_InterfaceDate();
}

// The first word of the command line that nothing takes; empty if there is none. The parser knows
// which they are, but not their order.
std::string Foreign(const CLI::App& program, int argc, char** argv) {
    const std::vector<std::string> foreign = program.remaining(true);
    for (int i = 1; i < argc; ++i)
        if (std::find(foreign.begin(), foreign.end(), argv[i]) != foreign.end()) return argv[i];
    return foreign.empty() ? std::string() : foreign.front();
}

// The command that was chosen, or a command's own one; the program itself if there is none.
const CLI::App& Chosen(const CLI::App& program) {
    const auto used = program.get_subcommands();
    return used.empty() ? program : Chosen(*used.front());
}

// Words for a wrong use by a word that nothing takes.
std::string Unexpected(const CLI::App& program, const std::string& word) {
    const CLI::App& command = Chosen(program);
    const bool isOption = word.size() > 1 && word[0] == '-';
    std::string told = word.substr(0, isOption ? word.find('=') : std::string::npos);
    std::vector<std::string> names;
    if (isOption) {
        for (const CLI::Option* each : command.get_options())
            for (const std::string& name : each->get_lnames()) names.push_back("--" + name);
        told = "there is no option '" + Printable(told, false) + "'";
    } else if (!command.get_subcommands({}).empty()) {
        for (const CLI::App* each : command.get_subcommands({})) names.push_back(each->get_name());
        told = "there is no command '" + Printable(told, false) + "'";
    } else {
        return "nothing is expected at '" + Printable(told, false) + "'";
    }
    const std::string wanted = word.substr(0, word.find('='));
    const std::vector<std::string> nearest =
        NearestNames(wanted, std::vector<std::string_view>(names.begin(), names.end()), 1);
    return nearest.empty() ? told : told + "; perhaps " + nearest.front();
}

// Tells a wrong use. The message of the option parser names the option.
int WrongUse(const std::string& message, const std::string& command) {
    std::fprintf(stderr, "tmxact: %s\nTry 'tmxact%s --help'.\n", message.c_str(),
                 command.empty() ? "" : (' ' + command).c_str());
    return kExitUsage;
}

void PutHelp(const std::string& text) {
    Output output(File::OpenForWriting("-"));
    output.Put(text);
    output.EndRecord();
    output.Close();
}

int Main(int argc, char** argv) {
    CLI::App program(kExamples, "tmxact");
    program.formatter(std::make_shared<HelpFormatter>());
    program.get_formatter()->column_width(26);
    program.require_subcommand(0, 1);
    // On no system does a "/" begin an option.
    program.allow_windows_style_options(false);
    program.set_help_flag("-h,--help", "Tell how to use it");
    program.set_version_flag("--version", Version, "Tell the versions of program and interface");

    ReportOptions report;
    std::vector<Run> runs = {AddConvert(program, report),  AddCheck(program, report),
                             AddMatch(program, report),    AddTemplate(program, report),
                             AddMake(program, report),     AddRules(program, report),
                             AddCatalogue(program, report)};
#ifdef TMXACT_EVENTS
    runs.push_back(AddEvents(program, report));
#endif
    const std::vector<CLI::App*> commands = program.get_subcommands({});
    for (CLI::App* command : commands) {
        command->set_help_flag("-h,--help", "Tell how to use it");
        AddCommonOptions(*command, report);
    }

    const auto chosen = [&]() -> std::string {
        std::string names;
        for (const CLI::App* each = &Chosen(program); each != &program; each = each->get_parent())
            names = each->get_name() + (names.empty() ? "" : ' ' + names);
        return names;
    };
    if (argc < 2) {
        std::fputs(kShortHelp, stderr);
        return kExitUsage;
    }
    try {
        program.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        const CLI::App& command = Chosen(program);
        PutHelp(&command == &program
                    ? program.help()
                    : command.help(program.get_name() +
                                   (command.get_parent() == &program
                                        ? std::string()
                                        : ' ' + command.get_parent()->get_name())));
        return kExitDone;
    } catch (const CLI::CallForVersion& version) {
        PutHelp(std::string(version.what()) + "\n");
        return kExitDone;
    } catch (const CLI::ParseError& error) {
        // A misspelt option is told ahead of the required one that it leaves missing.
        const std::string foreign = Foreign(program, argc, argv);
        return WrongUse(foreign.empty() ? error.what() : Unexpected(program, foreign), chosen());
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
        if (!commands[i]->parsed()) continue;
        try {
            return runs[i]();
        } catch (const UsageError& error) {
            return WrongUse(error.what(), chosen());
        }
    }
    std::fputs(kShortHelp, stderr);
    return kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        HoldStandardStreams();
        CatchSignals();
        std::vector<std::string> words = CommandLine(argc, argv);
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        return Main(static_cast<int>(words.size()), pointers.data());
    } catch (const BrokenPipe&) {
        return kExitDone;  // whoever read the output has had enough
    } catch (const Interrupted& interrupted) {
        return 128 + interrupted.Signal();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tmxact: %s\n", error.what());
        return kExitSystem;
    }
}
