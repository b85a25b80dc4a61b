// What people are told, on standard error: messages with a place and a caret, and progress.
#ifndef TMXACT_REPORT_H
#define TMXACT_REPORT_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "action_source.h"

namespace tmxact {

enum class ColorChoice { kAuto, kAlways, kNever };
enum class ProgressChoice { kAuto, kAlways, kNever };

struct ReportOptions {
    ColorChoice color = ColorChoice::kAuto;
    ProgressChoice progress = ProgressChoice::kAuto;
    int verbosity = 0;  // -1 with -q, 1 with -v
};

// Whether colour is to be used on a stream that is a terminal or not.
bool UseColor(ColorChoice choice, bool terminal);

// The sequences that turn colours on and off; empty texts without colour.
struct Palette {
    explicit Palette(bool color);
    std::string_view bold, red, yellow, green, cyan, dim, plain;
};

class Reporter : public ReadEvents {
  public:
    explicit Reporter(const ReportOptions& options);
    ~Reporter() override;

    void Refused(const Refusal& refusal) override;
    void Doubtful(const Refusal& doubt) override;
    // The action was read, but can't be written.
    void Unwritable(const std::string& file, std::uint64_t offset, const std::string& reason);
    // From now on refusals and doubts (with the word "error" or "warning") go to the sink, and are
    // not printed.
    using Sink = std::function<void(const Refusal&, std::string_view)>;
    void SendTo(Sink sink) { sink_ = std::move(sink); }
    // A file or system error; the program goes on if it can.
    void Failed(const std::string& message);
    // A line that -q leaves out.
    void Tell(const std::string& line);
    // A line that was asked for by an option of its own, so that -q leaves it in.
    void Answer(const std::string& line);
    // A line for -v.
    void Detail(const std::string& line);

    std::uint64_t RefusedCount() const noexcept { return refused_; }
    bool SystemFailed() const noexcept { return failures_ > 0; }
    std::uint64_t FailureCount() const noexcept { return failures_; }

    // Progress. The total is known for regular files only.
    void ExpectBytes(std::optional<std::uint64_t> total) { total_ = total; }
    void CountBytes(std::size_t bytes);
    void CountAction() noexcept { ++actions_; }
    std::uint64_t Actions() const noexcept { return actions_; }
    std::uint64_t Bytes() const noexcept { return bytes_; }
    double Seconds() const;
    // Takes the progress line off the terminal, and shows no other.
    void EndProgress();

  private:
    void Place(const Refusal& refusal, std::string_view color, std::string_view word);
    void Print(const std::string& text);
    void ClearLine();
    void ShowProgress(double now);

    ReportOptions options_;
    Sink sink_;
    Palette palette_;
    bool showProgress_;
    double begin_;
    double shown_ = 0;
    bool lineShown_ = false;
    std::uint64_t refused_ = 0;
    std::uint64_t failures_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t actions_ = 0;
    std::optional<std::uint64_t> total_;
};

// "1 action", "2 actions".
std::string Counted(std::uint64_t count, std::string_view noun);

}  // namespace tmxact

#endif
