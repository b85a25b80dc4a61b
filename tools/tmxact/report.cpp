#include "report.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "system.h"

namespace tmxact {

namespace {

constexpr double kFirstProgress = 1.0;  // seconds
constexpr double kProgressEvery = 0.25;

bool EnvironmentAllowsColor() {
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return (noColor == nullptr || *noColor == 0) &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

std::string Amount(double bytes) {
    constexpr const char* kUnits[] = {"B", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    while (bytes >= 1000 && unit + 1 < std::size(kUnits)) {
        bytes /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
    return text;
}

}  // namespace

bool UseColor(ColorChoice choice, bool terminal) {
    if (choice != ColorChoice::kAuto) return choice == ColorChoice::kAlways;
    return terminal && EnvironmentAllowsColor();
}

Palette::Palette(bool color) {
    if (!color) return;
    bold = "\x1b[1m";
    red = "\x1b[1;31m";
    yellow = "\x1b[1;33m";
    green = "\x1b[1;32m";
    cyan = "\x1b[36m";
    dim = "\x1b[2m";
    plain = "\x1b[0m";
}

std::string Counted(std::uint64_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

Reporter::Reporter(const ReportOptions& options)
    : options_(options),
      palette_(UseColor(options.color, StandardErrorIsTerminal())),
      showProgress_(options.progress == ProgressChoice::kAlways ||
                    (options.progress == ProgressChoice::kAuto && options.verbosity >= 0 &&
                     StandardErrorIsTerminal())),
      begin_(MonotonicSeconds()) {}

Reporter::~Reporter() { ClearLine(); }

void Reporter::Print(const std::string& text) {
    ClearLine();
    // Nobody is left to be told where this fails.
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void Reporter::Place(const Refusal& refusal, std::string_view color, std::string_view word) {
    std::string text;
    text.append(palette_.bold).append(refusal.Where()).append(": ").append(palette_.plain);
    text.append(color).append(word).append(palette_.plain).append(refusal.reason).append("\n");
    if (!refusal.excerpt.empty()) {
        text.append("  ").append(refusal.excerpt).append("\n  ").append(refusal.caret, ' ');
        text.append(palette_.green).append("^").append(palette_.plain).append("\n");
    }
    Print(text);
}

void Reporter::Refused(const Refusal& refusal) {
    ++refused_;
    if (sink_) return sink_(refusal, "error");
    if (options_.verbosity >= 0) Place(refusal, palette_.red, "");
}

void Reporter::Doubtful(const Refusal& doubt) {
    if (sink_) return sink_(doubt, "warning");
    if (options_.verbosity >= 0) Place(doubt, palette_.yellow, "warning: ");
}

void Reporter::Unwritable(const std::string& file, std::uint64_t offset,
                          const std::string& reason) {
    Refused({file, 0, 0, offset, reason, {}, 0});
}

void Reporter::Failed(const std::string& message) {
    ++failures_;
    std::string text("tmxact: ");
    text.append(palette_.red).append(message).append(palette_.plain).append("\n");
    Print(text);
}

void Reporter::Tell(const std::string& line) {
    if (options_.verbosity >= 0) Print("tmxact: " + line + "\n");
}

void Reporter::Answer(const std::string& line) { Print("tmxact: " + line + "\n"); }

void Reporter::Detail(const std::string& line) {
    if (options_.verbosity > 0) Print("tmxact: " + line + "\n");
}

double Reporter::Seconds() const { return MonotonicSeconds() - begin_; }

void Reporter::CountBytes(std::size_t bytes) {
    bytes_ += bytes;
    if (!showProgress_) return;
    const double now = MonotonicSeconds();
    if (now - begin_ >= kFirstProgress && now - shown_ >= kProgressEvery) ShowProgress(now);
}

void Reporter::ShowProgress(double now) {
    shown_ = now;
    const double seconds = now - begin_;
    const double rate = static_cast<double>(bytes_) / seconds;
    std::string line = Amount(static_cast<double>(bytes_));
    if (total_.has_value() && *total_ > 0) {
        char percent[16];
        std::snprintf(percent, sizeof percent, " (%.0f %%)",
                      100.0 * static_cast<double>(bytes_) / static_cast<double>(*total_));
        line += " of " + Amount(static_cast<double>(*total_)) + percent;
    }
    line += ", " + Counted(actions_, "action") + ", " + Amount(rate) + "/s";
    if (total_.has_value() && rate > 0 && *total_ > bytes_) {
        const auto left = static_cast<std::uint64_t>(static_cast<double>(*total_ - bytes_) / rate);
        char time[48];
        std::snprintf(time, sizeof time, ", %llu:%02llu left",
                      static_cast<unsigned long long>(left / 60),
                      static_cast<unsigned long long>(left % 60));
        line += time;
    }
    line = line.substr(0, TerminalColumns() - 1);
    std::fputs(("\r\x1b[K" + line).c_str(), stderr);
    std::fflush(stderr);
    lineShown_ = true;
}

void Reporter::ClearLine() {
    if (!lineShown_) return;
    std::fputs("\r\x1b[K", stderr);
    lineShown_ = false;
}

void Reporter::EndProgress() {
    ClearLine();
    showProgress_ = false;
}

}  // namespace tmxact
