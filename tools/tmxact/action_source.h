// A stream of actions out of one input, whatever its form; what can't be read is told to a sink,
// and the stream goes on behind it.
#ifndef TMXACT_ACTION_SOURCE_H
#define TMXACT_ACTION_SOURCE_H

#include <tmxactions/tmxactions.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "facts.h"

namespace tmxact {

struct CloseHandle {
    void operator()(TmxMessage* handle) const noexcept { TmxAct_CloseHandle(handle); }
};
using ActionHandle = std::unique_ptr<TmxMessage, CloseHandle>;

// One action (or template) that was read.
struct ReadAction {
    ActionHandle handle;
    const ActionFacts* facts = nullptr;
    bool isTemplate = false;
    std::string_view bytes;    // as it stood in the input; until the next read
    std::uint64_t offset = 0;  // in the input
};

// Something in the input that is no action.
struct Refusal {
    std::string file;
    std::uint64_t line = 0;    // from 1; 0 where a place is told by its offset
    std::uint64_t column = 0;  // characters from 1
    std::uint64_t offset = 0;  // bytes from 0
    std::string reason;        // one line, UTF-8
    std::string excerpt;       // what stands there, one line, UTF-8; may be empty
    std::size_t caret = 0;     // the column of the place in it, from 0

    // FILE:LINE:COLUMN or FILE:OFFSET.
    std::string Where() const {
        return file + ':' +
               (line == 0 ? std::to_string(offset)
                          : std::to_string(line) + ':' + std::to_string(column));
    }
};

class ReadEvents {
  public:
    virtual ~ReadEvents() = default;
    virtual void Refused(const Refusal& refusal) = 0;
    // Taken, but with a doubt.
    virtual void Doubtful(const Refusal& doubt) = 0;
};

enum class Wanted { kBoth, kActions, kTemplates };

struct SourceOptions {
    Wanted wanted = Wanted::kBoth;                      // what isn't is refused
    bool ansi = false;                                  // action text is in the ANSI code page
    std::size_t largestAction = std::size_t{64} << 20;  // bytes
};

class ActionSource {
  public:
    virtual ~ActionSource() = default;

    // The next action; false at the end. Throws SystemError and Interrupted.
    virtual bool Next(ReadAction& action) = 0;
};

// The text of the calling thread's last recorded failure, as one line of UTF-8; empty if there is
// none.
std::string LastErrorText();

}  // namespace tmxact

#endif
