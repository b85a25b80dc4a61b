#include <bit>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <future>
#include <map>
#include <utility>

#include "event_row.h"
#include "events_commands.h"
#include "facts.h"

namespace tmxact {

namespace {

struct Options {
    StreamOptions stream;
    std::string database;
    bool resume = false;
    KeepBytes keep = KeepBytes::kIncomplete;
    std::size_t batch = 20000;
};

// A batch of large actions is closed earlier.
constexpr std::size_t kLargestBatch = std::size_t{8} << 20;  // bytes of texts and stored actions
// What a row's texts may keep of the memory that one large action took.
constexpr std::size_t kKeptCapacity = 4096;

std::int64_t Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Mixes an action's place and bytes into what is known of a file. It tells a file from another one
// that has taken its place, and isn't made to withstand forgery.
std::uint64_t Fingerprint(std::uint64_t before, const ReadAction& action) {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    std::uint64_t print = before ^ action.offset;
    std::string_view bytes = action.bytes;
    const auto mix = [&print](std::uint64_t word) {
        print = std::rotl((print ^ word) * kFactor, 29);
    };
    mix(bytes.size());
    while (!bytes.empty()) {
        std::uint64_t word = 0;
        const std::size_t size = std::min(bytes.size(), sizeof word);
        std::memcpy(&word, bytes.data(), size);
        mix(word);
        bytes.remove_prefix(size);
    }
    return print;
}

class Importer {
  public:
    Importer(const Options& options, Reporter& reporter)
        : options_(options),
          reporter_(reporter),
          database_(options.database, EventDatabase::Access::kWrite),
          filler_(options.keep) {}

    // Imports one file, "-" for standard input.
    void Import(const std::string& path, std::optional<std::uint64_t> totalBytes);
    // Keeps what has been read so far, and waits for that.
    void Flush();

    const std::string& Name() const noexcept { return database_.Name(); }
    std::uint64_t Kept() const noexcept { return kept_; }
    std::uint64_t KeptBefore() const noexcept { return keptBefore_; }
    std::uint64_t WithBytes() const noexcept { return withBytes_; }
    std::uint64_t Lossy() const noexcept { return filler_.LossyRows(); }

  private:
    void Begin(const std::string& path);
    void Take(const ReadAction& action, const std::string& file);
    bool CheckEarlierPart(const std::string& file);
    void HandOver();
    void Finish();

    const Options& options_;
    Reporter& reporter_;
    EventDatabase database_;
    RowFiller filler_;
    EventSource known_;                   // what the database holds of the present file
    EventSource read_;                    // what has been read of it
    std::optional<EventSource> earlier_;  // the part that is still to be passed over
    // While one batch is read, another thread has the database, known_ and the batch before.
    std::vector<EventRow> rows_;
    std::vector<EventRow> handed_;
    std::size_t handedCount_ = 0;
    std::future<void> writing_;
    std::size_t count_ = 0;  // of rows_ that are in use
    std::size_t size_ = 0;   // of their texts and stored actions, in bytes
    std::uint64_t kept_ = 0;
    std::uint64_t keptBefore_ = 0;
    std::uint64_t withBytes_ = 0;
};

void Importer::Begin(const std::string& path) {
    known_ = EventSource();
    known_.name = path == "-" ? "standard input"
                              : std::filesystem::absolute(path).lexically_normal().string();
    known_.started = Now();
    earlier_.reset();
    if (path != "-") {
        std::optional<EventSource> last = database_.LastImport(known_.name);
        if (last.has_value() && options_.resume) {
            known_ = *last;
            if (last->actionsDone > 0) earlier_ = std::move(last);
        } else if (last.has_value() && !last->finished) {
            reporter_.Tell(path + ": an earlier import stopped at byte " +
                           std::to_string(last->bytesDone) +
                           "; this one begins anew (--resume would go on there)");
        }
    }
    read_ = known_;
    read_.finished = false;
    if (earlier_.has_value()) read_.bytesDone = read_.actionsDone = read_.fingerprint = 0;
}

// At the end of the part that is in the database already: whether this is the same file.
bool Importer::CheckEarlierPart(const std::string& file) {
    const EventSource& earlier = *earlier_;
    const bool same = read_.bytesDone == earlier.bytesDone &&
                      read_.actionsDone == earlier.actionsDone &&
                      read_.fingerprint == earlier.fingerprint;
    if (!same)
        reporter_.Failed(file + ": this isn't the file whose import stopped at byte " +
                         std::to_string(earlier.bytesDone) +
                         ": it differs ahead of that; nothing more of it is imported");
    keptBefore_ += same ? earlier.actionsDone : 0;
    earlier_.reset();
    return same;
}

void Importer::Import(const std::string& path, std::optional<std::uint64_t> totalBytes) {
    Begin(path);
    StreamOptions options = options_.stream;
    options.files = {path};
    ActionStream stream(options, reporter_, [this] { Flush(); });
    reporter_.ExpectBytes(totalBytes);
    const std::uint64_t failuresBefore = reporter_.FailureCount();
    ReadAction action;
    while (stream.Next(action)) {
        const std::uint64_t end = action.offset + action.bytes.size();
        if (earlier_.has_value() && action.offset >= earlier_->bytesDone &&
            !CheckEarlierPart(stream.FileName()))
            return;
        if (action.isTemplate) {
            reporter_.Unwritable(stream.FileName(), action.offset,
                                 action.facts->name + ": a template is no event");
            continue;
        }
        read_.bytesDone = end;
        ++read_.actionsDone;
        read_.fingerprint = Fingerprint(read_.fingerprint, action);
        if (!earlier_.has_value()) Take(action, stream.FileName());
    }
    if (earlier_.has_value() && !CheckEarlierPart(path)) return;
    // A file that couldn't be read isn't finished, and isn't known at all if nothing came of it.
    read_.finished = reporter_.FailureCount() == failuresBefore;
    if (!read_.finished && read_.actionsDone == 0) return;
    Flush();
}

void Importer::Take(const ReadAction& action, const std::string& file) {
    if (rows_.size() == count_) rows_.emplace_back();
    EventRow& row = rows_[count_];
    const std::string refused = filler_.Fill(action, Now(), row);
    if (!refused.empty())
        return reporter_.Unwritable(file, action.offset, action.facts->name + ": " + refused);
    ++count_;
    for (unsigned i = 0; i < 2; ++i)
        if (row.Has(kStringFieldA + i)) size_ += row.texts[i].size();
    if (row.hasStored) size_ += row.stored.size();
    if (count_ >= options_.batch || size_ >= kLargestBatch) HandOver();
}

void Importer::Flush() {
    HandOver();
    Finish();
}

// Begins to keep what has been read, once the batch before is kept. The next one is read meanwhile.
void Importer::HandOver() {
    Finish();
    // Nothing has been read of the file, or no more than the database knows.
    if (earlier_.has_value() ||
        (count_ == 0 && read_.bytesDone == known_.bytesDone && read_.finished == known_.finished))
        return;
    rows_.swap(handed_);
    handedCount_ = std::exchange(count_, 0);
    size_ = 0;
    writing_ = std::async(std::launch::async, [this, after = read_] {
        database_.Add({handed_.data(), handedCount_}, known_, after);
    });
}

// Waits until the batch that was handed over is kept, and takes note of it.
void Importer::Finish() {
    if (!writing_.valid()) return;
    writing_.get();
    read_.id = known_.id;
    kept_ += handedCount_;
    for (std::size_t i = 0; i < handedCount_; ++i) {
        EventRow& row = handed_[i];
        if (row.hasStored) ++withBytes_;
        for (std::string* text : {&row.texts[0], &row.texts[1], &row.stored})
            if (text->capacity() > kKeptCapacity) std::string().swap(*text);
    }
}

std::string KeptText(const Importer& importer) {
    std::string text = Counted(importer.Kept(), "action") + " imported";
    if (importer.KeptBefore() > 0)
        text += " (" + std::to_string(importer.KeptBefore()) + " were there before)";
    return text;
}

int Import(const Options& options, const ReportOptions& reportOptions) {
    std::vector<std::string> files = options.stream.files;
    if (files.empty()) files.push_back("-");
    std::optional<std::uint64_t> total = 0;
    for (const std::string& file : files) {
        if (file == "-" && options.resume)
            throw UsageError("--resume needs files: standard input can't be read once more");
        const std::optional<std::uint64_t> size = RegularFileSize(file);
        total =
            total.has_value() && size.has_value() ? std::optional(*total + *size) : std::nullopt;
    }
    Reporter reporter(reportOptions);
    std::unique_ptr<Importer> importer;
    try {
        importer = std::make_unique<Importer>(options, reporter);
        try {
            for (const std::string& file : files) importer->Import(file, total);
        } catch (const Interrupted&) {
            importer->Flush();
            reporter.EndProgress();
            reporter.Tell("interrupted; " + KeptText(*importer) +
                          ", and --resume goes on behind them");
            throw;
        }
    } catch (const DatabaseError& error) {
        reporter.EndProgress();
        // Until the database is open there is nothing that could have been kept.
        reporter.Failed(error.what() + (importer == nullptr
                                            ? std::string()
                                            : "; " + KeptText(*importer) +
                                                  " ahead of that, and --resume goes on behind "
                                                  "them"));
        return kExitSystem;
    }
    reporter.EndProgress();
    reporter.Tell(KeptText(*importer) + " into " + importer->Name() + ", " +
                  std::to_string(importer->WithBytes()) + " with their bytes; " +
                  std::to_string(reporter.RefusedCount()) + " refused");
    if (importer->Lossy() > 0)
        reporter.Tell(Counted(importer->Lossy(), "action") +
                      " will come back from the columns with less than they hold (--bytes lossy "
                      "keeps the bytes of such)");
    reporter.Detail(std::to_string(static_cast<std::uint64_t>(
                        static_cast<double>(reporter.Actions()) / reporter.Seconds())) +
                    " actions a second");
    if (reporter.SystemFailed()) return kExitSystem;
    return reporter.RefusedCount() > 0 ? kExitUnreadable : kExitDone;
}

}  // namespace

Run AddEventsImport(CLI::App& events, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *events.add_subcommand(
        "import",
        "Examples:\n"
        "  tmxact events import --db site.db site.actions\n"
        "  tmxact events import --db postgresql://tmx@db/site --resume day/*.bin\n"
        "  tail -f actions.log | tmxact events import --db site.db\n"
        "\n"
        "Read actions and add each as an event to a database, which is made if it is\n"
        "missing. They are kept in batches, each as a whole or not at all.\n");
    AddDatabase(command, options->database);
    command.add_flag("--resume", options->resume,
                     "Go on where the last import of each file stopped, also if it has grown");
    static const std::map<std::string, KeepBytes> kKeeps = {{"incomplete", KeepBytes::kIncomplete},
                                                            {"lossy", KeepBytes::kLossy},
                                                            {"all", KeepBytes::kAll}};
    command
        .add_option_function<std::string>(
            "--bytes", [options](const std::string& which) { options->keep = kKeeps.at(which); },
            "Which actions keep their bytes too: incomplete (that don't fit the columns), lossy "
            "(also those that the columns would change) or all [incomplete]")
        ->type_name("WHICH")
        ->check(CLI::IsMember({"incomplete", "lossy", "all"}).description(""));
    command.add_option("--batch", options->batch, "How many events are kept at once [20000]")
        ->type_name("COUNT")
        ->check(CLI::Range(std::size_t{1}, std::size_t{1000000}).description(""));
    AddStreamOptions(command, options->stream);
    return [options, &report] { return Import(*options, report); };
}

}  // namespace tmxact
