#include <charconv>
#include <map>
#include <string_view>
#include <system_error>

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

void AddStreamOptions(CLI::App& command, StreamOptions& options) {
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
    command.add_option("FILE", options.files, "Files to read; - or none is standard input")
        ->type_name("");
}

}  // namespace tmxact
