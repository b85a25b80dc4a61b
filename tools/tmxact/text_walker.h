// Finds the end of one action's text, or the place where it breaks the grammar and why.
//
// The library reads whole texts only, and answers a broken one with a bare count. The walker goes
// over the same grammar, can be stopped at any character and goes on when more have come, so that
// each character is looked at once. It decides nothing that the library decides: what it takes is
// handed to the library as a whole.
#ifndef TMXACT_TEXT_WALKER_H
#define TMXACT_TEXT_WALKER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "facts.h"

namespace tmxact {

class TextWalker {
  public:
    enum class Outcome { kComplete, kNeedsMore, kBroken };

    // A date-time or GUID on the way, which the library may still refuse.
    struct Checked {
        std::size_t parameter;
        std::size_t position;
        std::size_t length;
    };

    // Begins a new action, at this place of the file.
    void Begin(std::uint64_t offset);

    // Goes on. text begins at the action and holds what it held before, and more; last tells that
    // nothing more will come.
    Outcome Walk(std::string_view text, bool last);

    // Where the walk stands: behind the closing parenthesis, or where the text breaks.
    std::size_t Position() const noexcept { return position_; }

    // Why the text breaks.
    const std::string& Reason() const noexcept { return reason_; }

    // Whether it breaks only because there is no more of it.
    bool RanOut() const noexcept { return ranOut_; }

    // The action's record, once its name has been read.
    const ActionFacts* Action() const noexcept { return action_; }
    bool IsTemplate() const noexcept { return template_; }

    const std::vector<Checked>& CheckedValues() const noexcept { return checked_; }

    // Of a broken text: where the search for the next action may begin. That is where it breaks,
    // or the first text value that runs over the end of a line, since its closing quote may have
    // been forgotten.
    std::size_t Trusted() const noexcept { return trusted_; }
    bool TrustedIsEarlier() const noexcept { return trusted_ < position_; }

    // Words for a parameter, for the head of a reason.
    std::string Naming(std::size_t parameter) const;

    static bool IsDelimiter(char c) noexcept;
    static bool IsWhite(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  private:
    enum class Stage {
        kName,
        kAfterAt,
        kOpen,
        kParameter,
        kColon,
        kLead,
        kValue,
        kEntries,
        kClose
    };
    enum class Step { kDone, kMore, kBroken };

    const ParameterFacts& Parameter(std::size_t number) const;
    std::size_t Count() const;
    bool White();
    Step Broken(std::size_t position, std::string reason);
    Step OutOfText();
    Step Name();
    Step NextParameter();
    Step Lead();
    Step Value();
    Step Entries();
    Step Close();
    Step Number();
    Step Double();
    Step Quoted(bool opened);
    std::string Found(std::size_t position) const;
    std::string WordAt(std::size_t position) const;
    std::string WhyNoColon() const;
    std::string WhyNoNumber(std::size_t position) const;
    std::string WhyNoClose() const;
    Step Expected(std::size_t position, const std::string& what);

    std::uint64_t offset_ = 0;
    std::string_view text_;
    bool last_ = false;

    Stage stage_ = Stage::kName;
    std::size_t position_ = 0;
    std::size_t ahead_ = 0;  // how far the present token has been looked at
    bool template_ = false;
    const ActionFacts* action_ = nullptr;
    std::size_t parameter_ = 0;  // of a template, 0 is the description
    std::vector<bool> given_;    // which named parameters have come
    bool commaDue_ = false;
    const char* program_ = "";  // what is left of the present value
    std::size_t valueBegin_ = 0;
    bool firstToken_ = false;
    std::vector<Checked> checked_;
    std::size_t trusted_ = 0;
    bool lineCrossed_ = false;
    std::string reason_;
    bool ranOut_ = false;

    // Absolute places between which there is neither a quote nor a NUL: one search serves all the
    // texts that look for their end there.
    std::uint64_t quoteFreeFrom_ = 0;
    std::uint64_t quoteFreeTo_ = 0;
};

}  // namespace tmxact

#endif
