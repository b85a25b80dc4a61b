#include "template_text.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "binary_source.h"
#include "encoding.h"

namespace tmxact {

namespace {

// Tells what stands in a file more than once. Equal are things that are stored as the same bytes.
class Repetitions {
  public:
    explicit Repetitions(ReadEvents& events) : events_(events) {}

    void Add(TmxHandle handle) {
        std::uint32_t size = 0;
        TmxAct_StoreToBinBuffer(handle, nullptr, 0, &size);
        const std::size_t before = stored_.size();
        stored_.resize(before + size);
        TmxAct_StoreToBinBuffer(handle, reinterpret_cast<std::uint8_t*>(stored_.data()) + before,
                                size, &size);
    }

    // What has been added is one thing, which stands here.
    void End(const std::string& file, const TemplateText::Spot& spot, const char* what) {
        const auto [found, isNew] = lines_.try_emplace(std::exchange(stored_, {}), spot.line);
        if (isNew) return;
        Refusal doubt;
        doubt.file = file;
        doubt.line = spot.line;
        doubt.column = spot.column;
        doubt.offset = spot.offset;
        doubt.reason =
            std::string("the same ") + what + " stands on line " + std::to_string(found->second);
        events_.Doubtful(doubt);
    }

  private:
    ReadEvents& events_;
    std::string stored_;
    std::unordered_map<std::string, std::uint64_t> lines_;
};

// Holds what is told until all is known, and tells it in the order of places: that something is
// missing is found out behind it.
class InOrder : public ReadEvents {
  public:
    explicit InOrder(ReadEvents& events) : events_(events) {}

    void Refused(const Refusal& refusal) override { told_.push_back({refusal, false}); }
    void Doubtful(const Refusal& doubt) override { told_.push_back({doubt, true}); }

    void Tell() {
        std::stable_sort(told_.begin(), told_.end(), [](const Told& a, const Told& b) {
            return a.what.offset < b.what.offset;
        });
        for (const Told& each : told_)
            each.doubt ? events_.Doubtful(each.what) : events_.Refused(each.what);
        told_.clear();
    }

  private:
    struct Told {
        Refusal what;
        bool doubt;
    };

    ReadEvents& events_;
    std::vector<Told> told_;
};

std::string LabelOf(TmxHandle handle, const std::string& place) {
    std::string comment;
    return CommentOf(handle, comment) && !comment.empty() ? comment : place;
}

class RuleParser {
  public:
    RuleParser(Input& input, const SourceOptions& options, ReadEvents& events)
        : input_(input), events_(events), text_(input, options, events_), repetitions_(events_) {}

    std::vector<Rule> Parse() {
        while (text_.Peek()) {
            if (text_.NextIs("=>")) {
                text_.Mistake(text_.Ahead(), "expected a template ahead of '=>'");
                text_.Pass(2);
                EndRule();
                Begin(Template(), false);
            } else {
                Item();
            }
        }
        EndRule();
        events_.Tell();
        return std::move(rules_);
    }

  private:
    // One template, which may begin a rule or be a reaction.
    void Item() {
        const bool lineBegin = text_.AtLineBegin();
        const bool firstOfLine = text_.FirstOfLine();
        if (open_ && !due_ && IsSeparator()) return;
        text_.Pass();
        const TemplateText::Spot spot = text_.Here();
        ReadAction read;
        const bool good = text_.Read(read);
        const bool arrow = text_.Peek() && text_.NextIs("=>");
        if (arrow && open_ && due_ && !lineBegin) {
            // "A => B => C"
            text_.Mistake(text_.Ahead(),
                          "a rule has one '=>', and its reactions follow each other behind it");
            text_.Pass(2);
            good_ = false;
            return;
        }
        if (arrow) {
            if (good && open_ && !firstOfLine)
                text_.Mistake(text_.Ahead(),
                              "expected a reaction or the end of the line, found '=>': a rule "
                              "begins on a line of its own");
            EndRule();
            text_.Pass(2);
            Template when;
            if (good) when = {std::move(read.handle), read.facts, PlaceOf(spot.line)};
            Begin(std::move(when), good);
            spot_ = spot;
            due_ = true;
            // Where a reaction will be missed.
            if (!text_.Peek() || text_.AtLineBegin()) behindArrow_ = text_.Place(0);
            return;
        }
        if (open_ && (!lineBegin || due_)) {
            due_ = false;
            if (good) {
                rule_.reactions.push_back({std::move(read.handle), read.facts});
            } else {
                good_ = false;
            }
            return;
        }
        const bool follows = open_;
        EndRule();
        Begin(Template(), false);
        if (!good) return;
        text_.Mistake(0, "expected '=>' behind the template of a rule, found " + text_.Found() +
                             (follows ? "; a further reaction of the rule above is indented" : ""));
        PassArrowLike();
    }

    // "A => B, C": nothing stands between reactions.
    bool IsSeparator() {
        const char c = input_.Window()[text_.Ahead()];
        if (c != ',' && c != ';') return false;
        text_.Mistake(text_.Ahead(), std::string("expected a reaction or the next rule, found '") +
                                         c + "': reactions follow each other with nothing between");
        text_.Pass(1);
        good_ = false;
        return true;
    }

    // What was meant as the arrow, so that it is told once.
    void PassArrowLike() {
        if (!text_.Peek() || text_.FirstOfLine()) return;
        const std::string_view there = input_.Window().substr(text_.Ahead());
        const std::size_t size = std::min(there.find_first_not_of("-=>:,;"), there.size());
        if (size > 0) text_.Pass(size);
    }

    void Begin(Template when, bool good) {
        rule_ = {std::move(when), {}};
        open_ = true;
        good_ = good;
        due_ = false;
        behindArrow_.reset();
    }

    void EndRule() {
        if (!open_) return;
        open_ = false;
        if (due_) {
            if (behindArrow_.has_value()) {
                text_.Mistake(std::move(*behindArrow_),
                              "expected a reaction behind '=>': the rule has none");
            }
            return;
        }
        if (!good_) return;
        rule_.when.label = LabelOf(rule_.when.handle.get(), rule_.when.label);
        repetitions_.Add(rule_.when.handle.get());
        for (const Reaction& reaction : rule_.reactions) repetitions_.Add(reaction.handle.get());
        repetitions_.End(input_.Name(), spot_, "rule");
        rules_.push_back(std::move(rule_));
    }

    std::string PlaceOf(std::uint64_t line) const {
        return input_.Name() + ':' + std::to_string(line);
    }

    Input& input_;
    InOrder events_;
    TemplateText text_;
    Repetitions repetitions_;
    std::vector<Rule> rules_;

    Rule rule_;          // the present one
    bool open_ = false;  // it has begun
    bool good_ = false;  // nothing in it was refused
    bool due_ = false;   // its first reaction has not come yet
    TemplateText::Spot spot_;
    std::optional<Refusal> behindArrow_;
};

bool LooksBinary(Input& input) {
    while (input.Window().size() < 4 &&
           (input.Window().empty() || BinaryWalker::BeginsLikeAction(input.Window())) &&
           input.Fill()) {
    }
    return BinaryWalker::BeginsLikeAction(input.Window().substr(0, 4));
}

}  // namespace

TemplateText::TemplateText(Input& input, const SourceOptions& options, ReadEvents& events)
    : input_(input), events_(events), reader_(input, options, events) {}

bool TemplateText::Peek() {
    if (!started_) {
        started_ = true;
        if (const auto failure = reader_.Start()) PassOver(*failure);
    }
    ahead_ = 0;
    firstOfLine_ = !lineBegun_;
    atLineBegin_ = fresh_;
    bool comment = false;
    for (;;) {
        const std::string_view window = input_.Window();
        for (; ahead_ < window.size(); ++ahead_) {
            const char c = window[ahead_];
            if (c == '\n') {
                comment = false;
                firstOfLine_ = atLineBegin_ = true;
            } else if (comment) {
            } else if (TextWalker::IsWhite(c)) {
                atLineBegin_ = false;
            } else if (c == '#') {
                comment = true;
            } else {
                return true;
            }
        }
        if (!input_.Fill()) return false;
    }
}

bool TemplateText::NextIs(std::string_view token) {
    while (input_.Window().size() < ahead_ + token.size() && input_.Fill()) {
    }
    return input_.Window().substr(ahead_, token.size()) == token;
}

void TemplateText::Pass(std::size_t size) {
    input_.Consume(ahead_ + size);
    ahead_ = 0;
    lineBegun_ = size > 0 || !firstOfLine_;
    fresh_ = size == 0 && atLineBegin_;
}

bool TemplateText::Read(ReadAction& action) {
    const auto failure = reader_.Read(action);
    if (failure.has_value()) {
        action.handle.reset();
        PassOver(*failure);
        return false;
    }
    lineBegun_ = true;
    fresh_ = false;
    return true;
}

void TemplateText::Mistake(std::size_t position, std::string reason) {
    events_.Refused(reader_.At(position, std::move(reason)));
}

void TemplateText::Mistake(Refusal place, std::string reason) {
    place.reason = std::move(reason);
    events_.Refused(place);
}

std::string TemplateText::Found() {
    if (!Peek()) return "the end of the file";
    if (input_.Window()[ahead_] == '@') return "the next template";
    return "'" + Printable(TextReader::FirstWord(input_.Window().substr(ahead_)), false) + "'";
}

void TemplateText::PassOver(const TextReader::Failure& failure) {
    events_.Refused(failure.refusal);
    // What broke off at the begin of a later line left its own line unfinished.
    const std::string_view passed = input_.Window().substr(0, failure.resume);
    const std::size_t lineEnd = passed.find_last_of('\n');
    bool first = lineEnd != std::string_view::npos &&
                 std::all_of(passed.begin() + static_cast<std::ptrdiff_t>(lineEnd), passed.end(),
                             TextWalker::IsWhite);
    bool fresh = first && lineEnd + 1 == passed.size();
    input_.Consume(passed.size());
    lineBegun_ = !first;
    fresh_ = fresh;
    if (failure.inStep) return;

    bool quoted = false;
    bool behindParenthesis = false;
    bool skipLine = failure.afterLine;
    for (;;) {
        const std::string_view window = input_.Window();
        std::size_t at = 0;
        for (; at < window.size(); ++at) {
            const char c = window[at];
            if (c == '\n') {
                first = fresh = true;
                quoted = behindParenthesis = skipLine = false;
                continue;
            }
            if (skipLine) continue;
            if (TextWalker::IsWhite(c)) {
                fresh = false;
                continue;
            }
            bool stops = c == '@' && (first || behindParenthesis);
            if (!quoted && c == '=') {
                if (at + 1 == window.size() && !input_.AtEnd()) break;
                stops = stops || window.substr(at, 2) == "=>";
            }
            if (first && !stops) {
                const std::optional<bool> begins =
                    TextReader::BeginsLikeAction(window.substr(at), input_.AtEnd(), true);
                if (!begins.has_value()) break;
                stops = *begins;
            }
            if (stops) {
                input_.Consume(at);
                lineBegun_ = !first;
                fresh_ = fresh;
                return;
            }
            if (c == '#' && (first || behindParenthesis)) skipLine = true;
            first = fresh = false;
            if (c == '"') quoted = !quoted;
            behindParenthesis = !quoted && c == ')';
        }
        const bool undecided = at < window.size();
        input_.Consume(at);
        if (!input_.Fill() && !undecided) return;
    }
}

bool CommentOf(TmxHandle handle, std::string& comment) {
    bool has = false;
    const TmxWChar* text = nullptr;
    if (!TmxMatchAct_HasDescription(handle, &has) || !has ||
        !TmxMatchAct_GetDescriptionW(handle, &text))
        return false;
    comment = WideToUtf8(text);
    return true;
}

std::vector<Template> ReadTemplates(const std::string& path, SourceOptions options,
                                    ReadEvents& events) {
    options.wanted = Wanted::kTemplates;
    const InputEvents inputEvents;
    Input input(File::OpenForReading(path), inputEvents);
    std::vector<Template> templates;
    ReadAction read;
    const auto take = [&](const std::string& place) {
        templates.push_back({std::move(read.handle), read.facts, {}});
        templates.back().label = LabelOf(templates.back().handle.get(), place);
    };
    if (LooksBinary(input)) {
        BinarySource source(input, options, events);
        while (source.Next(read)) take(input.Name() + ':' + std::to_string(read.offset));
        return templates;
    }
    TemplateText text(input, options, events);
    Repetitions repetitions(events);
    while (text.Peek()) {
        if (text.NextIs("=>")) {
            text.Mistake(text.Ahead(), "expected a template, found '=>': this is a file of rules");
            text.Pass(2);
            continue;
        }
        text.Pass();
        const TemplateText::Spot spot = text.Here();
        if (!text.Read(read)) continue;
        repetitions.Add(read.handle.get());
        repetitions.End(input.Name(), spot, "template");
        take(input.Name() + ':' + std::to_string(spot.line));
    }
    return templates;
}

bool ReadArgument(const std::string& name, const std::string& text, Wanted wanted,
                  ReadEvents& events, ReadAction& action) {
    SourceOptions options;
    options.wanted = wanted;
    Input input(name, text);
    TextReader reader(input, options, events);
    const auto skipWhite = [&input] {
        const std::string_view window = input.Window();
        input.Consume(static_cast<std::size_t>(
            std::find_if_not(window.begin(), window.end(), TextWalker::IsWhite) - window.begin()));
    };
    skipWhite();
    const char* const what = wanted == Wanted::kTemplates ? "a template" : "an action";
    if (input.Window().empty()) {
        events.Refused(reader.At(0, std::string("expected ") + what + ", found nothing"));
        return false;
    }
    if (const auto failure = reader.Read(action)) {
        events.Refused(failure->refusal);
        return false;
    }
    skipWhite();
    if (input.Window().empty()) return true;
    events.Refused(reader.At(0, std::string("expected nothing behind ") + what + ", found '" +
                                    Printable(TextReader::FirstWord(input.Window()), false) + "'"));
    return false;
}

std::vector<Rule> ReadRules(const std::string& path, SourceOptions options, ReadEvents& events) {
    options.wanted = Wanted::kTemplates;
    const InputEvents inputEvents;
    Input input(File::OpenForReading(path), inputEvents);
    if (LooksBinary(input)) {
        Refusal refusal;
        refusal.file = input.Name();
        refusal.reason = "these are stored actions, and no rules";
        events.Refused(refusal);
        return {};
    }
    return RuleParser(input, options, events).Parse();
}

}  // namespace tmxact
