// Files of templates and files of rules: what both have in common, and what each of them holds.
//
// A template is written as action text has it. Between templates there may be white space and
// comments, from "#" to the end of the line. All mistakes of a file are told, each with its place.
#ifndef TMXACT_TEMPLATE_TEXT_H
#define TMXACT_TEMPLATE_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "action_source.h"
#include "input.h"
#include "text_reader.h"

namespace tmxact {

struct Template {
    ActionHandle handle;
    const ActionFacts* facts = nullptr;
    std::string label;  // UTF-8: its comment, else its place, FILE:LINE
};

// A template from which an action is made when a rule matches.
struct Reaction {
    ActionHandle handle;
    const ActionFacts* facts = nullptr;
};

struct Rule {
    Template when;
    std::vector<Reaction> reactions;
};

// Goes from template to template. The window's begin is the present place.
class TemplateText {
  public:
    TemplateText(Input& input, const SourceOptions& options, ReadEvents& events);

    // Where the next token begins in the window, behind white space and comments; false if there
    // is none. Consumes nothing.
    bool Peek();
    std::size_t Ahead() const noexcept { return ahead_; }
    // Whether this is the next token. Only behind a Peek that found one.
    bool NextIs(std::string_view token);
    // Whether the next token is the first of its line, and whether it stands at the line's begin.
    bool FirstOfLine() const noexcept { return firstOfLine_; }
    bool AtLineBegin() const noexcept { return atLineBegin_; }

    // Moves on to the next token, or behind so many bytes of it.
    void Pass(std::size_t size = 0);

    // Reads the template that the next token begins. What is none is told, and passed over up to
    // where the next token may stand: a "=>", an "@" behind a parenthesis, or a line that begins
    // with either or like an action.
    bool Read(ReadAction& action);

    // The place of the window's begin.
    struct Spot {
        std::uint64_t line = 0;
        std::uint64_t column = 0;
        std::uint64_t offset = 0;
    };
    Spot Here() {
        const Input::Place place = input_.PlaceAt(0);
        return {place.line, place.column, input_.Offset()};
    }
    // Tells a mistake at a place of the window, or at a place that was taken before.
    void Mistake(std::size_t position, std::string reason);
    void Mistake(Refusal place, std::string reason);
    Refusal Place(std::size_t position) { return reader_.At(position, {}); }
    // Words for what the next token is.
    std::string Found();

  private:
    void PassOver(const TextReader::Failure& failure);

    Input& input_;
    ReadEvents& events_;
    TextReader reader_;
    bool started_ = false;
    bool lineBegun_ = false;  // the window's begin is not the first of its line
    bool fresh_ = true;       // the window's begin is the line's
    std::size_t ahead_ = 0;
    bool firstOfLine_ = false;
    bool atLineBegin_ = false;
};

// The comment of a template as UTF-8; false if it has none.
bool CommentOf(TmxHandle handle, std::string& comment);

// Reads a file of templates, text or stored ones ("-" is standard input). Throws SystemError.
std::vector<Template> ReadTemplates(const std::string& path, SourceOptions options,
                                    ReadEvents& events);

// Reads one template, or one action, as is wanted, that is an argument of the command line, in
// UTF-8. Mistakes are told with this name in the file's place. False if there is one.
bool ReadArgument(const std::string& name, const std::string& text, Wanted wanted,
                  ReadEvents& events, ReadAction& action);

// Reads a file of rules. Each is a template, "=>" and one or more reactions, which are templates
// too. It begins on a line of its own; a template at the begin of a line begins the next rule, and
// so does any first of its line that has a "=>" behind it. Throws SystemError.
std::vector<Rule> ReadRules(const std::string& path, SourceOptions options, ReadEvents& events);

}  // namespace tmxact

#endif
