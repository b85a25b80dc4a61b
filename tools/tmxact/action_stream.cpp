#include "action_stream.h"

#include <utility>

#include "binary_source.h"
#include "text_source.h"

namespace tmxact {

ActionStream::ActionStream(const StreamOptions& options, Reporter& reporter,
                           std::function<void()> beforeWait)
    : options_(options), reporter_(reporter) {
    if (options_.files.empty()) options_.files.push_back("-");
    events_.beforeWait = std::move(beforeWait);
    events_.afterRead = [this](std::size_t bytes) { reporter_.CountBytes(bytes); };

    // The time that is left can be told only if every file has a size.
    std::optional<std::uint64_t> total = 0;
    for (const std::string& path : options_.files) {
        const std::optional<std::uint64_t> size = RegularFileSize(path);
        total =
            total.has_value() && size.has_value() ? std::optional(*total + *size) : std::nullopt;
    }
    reporter_.ExpectBytes(total);
}

bool ActionStream::LooksBinary() {
    if (options_.form != InputForm::kAuto) return options_.form == InputForm::kBinary;
    // As few bytes as decide are waited for.
    while (input_->Window().size() < 4 &&
           (input_->Window().empty() || BinaryWalker::BeginsLikeAction(input_->Window())) &&
           input_->Fill()) {
    }
    return BinaryWalker::BeginsLikeAction(input_->Window().substr(0, 4));
}

void ActionStream::Open(const std::string& path) {
    source_.reset();
    input_.emplace(File::OpenForReading(path), events_);
    binary_ = LooksBinary();
    if (binary_) {
        source_ = std::make_unique<BinarySource>(*input_, options_.source, reporter_);
    } else {
        source_ = std::make_unique<TextSource>(*input_, options_.source, reporter_);
    }
    reporter_.Detail(input_->Name() + ": reading " + (binary_ ? "stored actions" : "action text"));
}

bool ActionStream::Next(ReadAction& action) {
    for (;;) {
        try {
            if (source_ == nullptr) {
                if (next_ == options_.files.size()) return false;
                Open(options_.files[next_++]);
            }
            if (source_->Next(action)) {
                reporter_.CountAction();
                return true;
            }
        } catch (const SystemError& error) {
            reporter_.Failed(error.what());
        }
        source_.reset();
    }
}

}  // namespace tmxact
