// A stream of actions out of any number of files, text or binary. This is what every command that
// reads actions is built on.
#ifndef TMXACT_ACTION_STREAM_H
#define TMXACT_ACTION_STREAM_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "action_source.h"
#include "input.h"
#include "report.h"

namespace tmxact {

enum class InputForm { kAuto, kText, kBinary };

struct StreamOptions {
    std::vector<std::string> files;  // "-" is standard input; none at all means it too
    InputForm form = InputForm::kAuto;
    SourceOptions source;
};

class ActionStream : public ActionSource {
  public:
    // beforeWait is called ahead of each wait for input: what is ready should leave then.
    ActionStream(const StreamOptions& options, Reporter& reporter,
                 std::function<void()> beforeWait);

    // The next action of the present file, or of the next one. A file that can't be read is told,
    // and passed over.
    bool Next(ReadAction& action) override;

    // The file of the action that was read last.
    const std::string& FileName() const { return input_->Name(); }

  private:
    void Open(const std::string& path);
    bool LooksBinary();

    StreamOptions options_;
    Reporter& reporter_;
    InputEvents events_;
    std::size_t next_ = 0;
    std::optional<Input> input_;
    std::unique_ptr<ActionSource> source_;
    bool binary_ = false;
};

}  // namespace tmxact

#endif
