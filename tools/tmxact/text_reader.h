// One action or template out of action text: the one at the present place of an input, or why there
// is none.
#ifndef TMXACT_TEXT_READER_H
#define TMXACT_TEXT_READER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "action_source.h"
#include "input.h"
#include "text_walker.h"

namespace tmxact {

class TextReader {
  public:
    TextReader(Input& input, const SourceOptions& options, ReadEvents& events);

    // What couldn't be read, and how to go on. Nothing has been consumed.
    struct Failure {
        Refusal refusal;
        std::size_t resume = 0;  // bytes of the window behind which the search goes on
        bool afterLine = false;  // a quote may be missing: only behind the end of the line
        bool inStep = false;     // no search: what follows begins there
    };

    // At the file's begin: passes a byte order mark. A failure if it isn't one of UTF-8.
    std::optional<Failure> Start();

    // Reads what begins at the window's begin, which is no white space, and consumes it.
    std::optional<Failure> Read(ReadAction& action);

    // A refusal with its place, line and caret. position counts from the window's begin.
    Refusal At(std::size_t position, std::string reason);

    // Whether "Name (" or "@ Name (" begins the text; nothing if the text ends too early to tell.
    static std::optional<bool> BeginsLikeAction(std::string_view text, bool last, bool onlyKnown);

    // The first word of a text that isn't empty, or its first character.
    static std::string_view FirstWord(std::string_view text);

  private:
    Failure Broken(bool tooLong);
    Failure RefusedByLibrary(std::size_t length);
    std::optional<Failure> Take(ReadAction& action);
    static std::string Unwanted(const ReadAction& action);

    Input& input_;
    const SourceOptions& options_;
    ReadEvents& events_;
    TextWalker walker_;
    bool doubted_ = false;
    std::size_t markSize_ = 0;  // of the byte order mark
};

}  // namespace tmxact

#endif
