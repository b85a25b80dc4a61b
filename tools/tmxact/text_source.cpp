#include "text_source.h"

#include <algorithm>
#include <string_view>

namespace tmxact {

TextSource::TextSource(Input& input, const SourceOptions& options, ReadEvents& events)
    : input_(input), events_(events), reader_(input, options, events) {}

bool TextSource::SkipWhite() {
    if (!started_) {
        const auto failure = reader_.Start();
        started_ = true;
        if (failure.has_value()) Refuse(*failure);
    }
    for (;;) {
        const std::string_view window = input_.Window();
        std::size_t at = 0;
        while (at < window.size() && TextWalker::IsWhite(window[at])) ++at;
        input_.Consume(at);
        if (at < window.size()) return true;
        if (!input_.Fill()) return false;
    }
}

bool TextSource::Next(ReadAction& action) {
    action.handle.reset();
    while (SkipWhite()) {
        const auto failure = reader_.Read(action);
        if (!failure.has_value()) return true;
        Refuse(*failure);
    }
    return false;
}

void TextSource::Refuse(const TextReader::Failure& failure) {
    // An action that its line left unfinished may break at the begin of the next action.
    const std::string_view passed = input_.Window().substr(0, failure.resume);
    const std::size_t lineEnd = passed.find_last_of('\n');
    const bool lineBegin = lineEnd != std::string_view::npos &&
                           std::all_of(passed.begin() + static_cast<std::ptrdiff_t>(lineEnd),
                                       passed.end(), TextWalker::IsWhite);
    input_.Consume(passed.size());
    // The place is told at once; how far the search goes may hang on input that is yet to come.
    events_.Refused(failure.refusal);
    if (!failure.inStep) Resynchronise(failure.afterLine, lineBegin, passed.empty());
}

// Moves on to where the next action may begin: the first line that begins like one, or on the same
// line what stands behind a closing parenthesis and names an action of the catalogue. Quoted pieces
// of a line are passed over. With afterLine the search begins at the next line, and asks for names
// of the catalogue there too. lineBegin tells that the search begins at the begin of a line that
// names an action of the catalogue if it begins one; behindAction that nothing has been passed
// since the last action, so that what separates it from the next one may stand here.
void TextSource::Resynchronise(bool afterLine, bool lineBegin, bool behindAction) {
    const auto isSeparator = [](char c) { return c == ';' || c == ',' || c == '\0'; };
    bool quoted = false;
    bool behindParenthesis =
        lineBegin || (behindAction && !input_.Window().empty() && isSeparator(input_.Window()[0]));
    bool skipLine = afterLine;
    lineBegin = false;
    for (;;) {
        const std::string_view window = input_.Window();
        std::size_t at = 0;
        for (; at < window.size(); ++at) {
            const char c = window[at];
            if (c == '\n') {
                lineBegin = true;
                quoted = behindParenthesis = skipLine = false;
                continue;
            }
            if (skipLine || TextWalker::IsWhite(c) || (behindParenthesis && isSeparator(c)))
                continue;
            if (lineBegin || behindParenthesis) {
                const std::optional<bool> begins = TextReader::BeginsLikeAction(
                    window.substr(at), input_.AtEnd(), afterLine || !lineBegin);
                if (!begins.has_value()) break;
                if (*begins) {
                    input_.Consume(at);
                    return;
                }
            }
            lineBegin = behindParenthesis = false;
            if (c == '"') quoted = !quoted;
            if (!quoted && c == ')') behindParenthesis = true;
        }
        input_.Consume(at);
        const bool undecided = at < window.size();
        if (!input_.Fill() && !undecided) return;
    }
}

}  // namespace tmxact
