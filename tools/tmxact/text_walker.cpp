#include "text_walker.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tmxact {

namespace {

constexpr std::size_t kLongestWord = 40;

bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

bool SameLetters(std::string_view a, std::string_view b) noexcept {
    const auto fold = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return fold(x) == fold(y); });
}

// A value as a row of tokens: n number, d floating-point number, q quoted text, s text behind any
// opening character, t date-time, g GUID in quotes, h GUID behind any opening character, E the end
// of a data set's entry; braces and commas stand for themselves.
const char* ProgramOf(const ParameterFacts& parameter, char first) {
    const bool braces = first == '{';
    switch (parameter.type) {
        case TmxParamType_DateTime:
            return "t";
        case TmxParamType_AnsiText:
        case TmxParamType_WideText:
            return "s";
        case TmxParamType_Guid:
            return "h";
        case TmxParamType_NamedId:
            return braces ? "{n,q}" : "s";
        case TmxParamType_ObjectRef:
            return braces ? "{n,n,q}" : "n";
        case TmxParamType_GuidRef:
            return braces ? "{g,q}" : "s";
        case TmxParamType_Double:
            return "d";
        case TmxParamType_Rect:
            return "{n,n,n,n}";
        case TmxParamType_DataSet:
            return "{";
        default:
            return "n";
    }
}

constexpr char kEntryProgram[] = "{n,n,n,n,n,q}E";

}  // namespace

bool TextWalker::IsDelimiter(char c) noexcept {
    switch (c) {
        case '\0':
        case ' ':
        case '\t':
        case '\n':
        case '\r':
        case '(':
        case ')':
        case '{':
        case '}':
        case '"':
        case '\'':
        case ',':
        case '.':
        case ';':
        case ':':
            return true;
        default:
            return false;
    }
}

void TextWalker::Begin(std::uint64_t offset) {
    offset_ = offset;
    stage_ = Stage::kName;
    position_ = 0;
    ahead_ = 0;
    template_ = false;
    action_ = nullptr;
    parameter_ = 0;
    commaDue_ = false;
    program_ = "";
    valueBegin_ = 0;
    firstToken_ = false;
    checked_.clear();
    trusted_ = 0;
    lineCrossed_ = false;
    reason_.clear();
    ranOut_ = false;
}

TextWalker::Outcome TextWalker::Walk(std::string_view text, bool last) {
    text_ = text;
    last_ = last;
    for (;;) {
        Step step = Step::kDone;
        switch (stage_) {
            case Stage::kName:
                if (position_ == 0 && !text_.empty() && text_[0] == '@') {
                    template_ = true;
                    position_ = 1;
                    stage_ = Stage::kAfterAt;
                    break;
                }
                step = Name();
                break;
            case Stage::kAfterAt:
                if (!White()) {
                    step = OutOfText();
                    break;
                }
                ahead_ = position_;
                stage_ = Stage::kName;
                break;
            case Stage::kOpen:
                if (!White()) {
                    step = OutOfText();
                } else if (text_[position_] != '(') {
                    step = Expected(position_, "'(' behind the name");
                } else {
                    ++position_;
                    stage_ = Stage::kParameter;
                }
                break;
            case Stage::kParameter:
                step = NextParameter();
                break;
            case Stage::kColon:
                if (!White()) {
                    step = OutOfText();
                } else if (text_[position_] != ':') {
                    step = Broken(position_, Naming(parameter_) +
                                                 ": expected ':' behind the name, found " +
                                                 Found(position_) + WhyNoColon());
                } else {
                    ++position_;
                    stage_ = Stage::kLead;
                }
                break;
            case Stage::kLead:
                step = Lead();
                break;
            case Stage::kValue:
                step = Value();
                break;
            case Stage::kEntries:
                step = Entries();
                break;
            case Stage::kClose:
                step = Close();
                if (step == Step::kDone) return Outcome::kComplete;
                break;
        }
        if (step == Step::kMore) return Outcome::kNeedsMore;
        if (step == Step::kBroken) {
            if (!lineCrossed_) trusted_ = position_;
            return Outcome::kBroken;
        }
    }
}

const ParameterFacts& TextWalker::Parameter(std::size_t number) const {
    if (!template_) return action_->parameters[number];
    return number == 0 ? Facts::Get().Description() : action_->parameters[number - 1];
}

std::size_t TextWalker::Count() const { return action_->parameters.size() + (template_ ? 1 : 0); }

std::string TextWalker::Naming(std::size_t parameter) const {
    const ParameterFacts& facts = Parameter(parameter);
    if (template_ && parameter == 0) return action_->name + ": the description, " + facts.name;
    return action_->name + ": parameter " + std::to_string(parameter + (template_ ? 0 : 1)) + ", " +
           facts.name + " (" + TypeText(facts) + ")";
}

// Passes white space; false where the text ends with it.
bool TextWalker::White() {
    while (position_ < text_.size() && IsWhite(text_[position_])) ++position_;
    return position_ < text_.size();
}

TextWalker::Step TextWalker::Broken(std::size_t position, std::string reason) {
    position_ = position;
    reason_ = std::move(reason);
    return Step::kBroken;
}

TextWalker::Step TextWalker::Expected(std::size_t position, const std::string& what) {
    return Broken(position, action_->name + ": expected " + what + ", found " + Found(position));
}

TextWalker::Step TextWalker::OutOfText() {
    if (!last_) return Step::kMore;
    ranOut_ = true;
    std::string reason = action_ != nullptr ? action_->name + ": " : std::string();
    reason += "the text ends in the middle of an action";
    if (stage_ == Stage::kValue || stage_ == Stage::kLead || stage_ == Stage::kEntries) {
        reason = Naming(parameter_) + ": the text ends in the middle of the action";
    } else if (stage_ == Stage::kClose) {
        reason += ", where ')' is due";
    }
    return Broken(text_.size(), std::move(reason));
}

TextWalker::Step TextWalker::Name() {
    std::size_t end = std::max(ahead_, position_);
    while (end < text_.size() && !IsDelimiter(text_[end])) ++end;
    ahead_ = end;
    constexpr std::size_t kLongestName = 256;
    const bool tooLong = end - position_ > kLongestName;
    if (end == text_.size() && !last_ && !tooLong) return Step::kMore;
    const std::string_view name = text_.substr(position_, end - position_);
    action_ = Facts::Get().ByName(name);
    if (action_ != nullptr) {
        given_.assign(Count(), false);
        position_ = end;
        stage_ = Stage::kOpen;
        return Step::kDone;
    }
    const bool looksLikeName =
        !name.empty() && !tooLong && std::all_of(name.begin(), name.end(), [](char c) {
            return IsDigit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        });
    if (!looksLikeName)
        return Broken(position_, "expected the name of an action, found " + Found(position_));
    std::string reason = "unknown action '" + std::string(name) + "'";
    std::vector<std::string_view> names;
    for (const ActionFacts& action : Facts::Get().Actions()) names.push_back(action.name);
    const std::vector<std::string> nearest = NearestNames(name, names, 1);
    if (!nearest.empty()) reason += "; the nearest is " + nearest.front();
    return Broken(position_, std::move(reason));
}

TextWalker::Step TextWalker::NextParameter() {
    if (parameter_ == Count()) {
        stage_ = Stage::kClose;
        return Step::kDone;
    }
    if (!White()) return OutOfText();
    const ParameterFacts& facts = Parameter(parameter_);
    const bool named = template_ || facts.optional;
    if (!named) {
        if (commaDue_) {
            if (text_[position_] != ',') {
                const std::string what =
                    text_[position_] == ')'
                        ? ": is missing, found ')'"
                        : ": expected ',' ahead of it, found " + Found(position_);
                return Broken(position_, Naming(parameter_) + what);
            }
            ++position_;
            commaDue_ = false;
        }
        stage_ = Stage::kLead;
        return Step::kDone;
    }

    // An optional parameter is there only if its name comes next; else all stays as it was.
    const auto absent = [this] {
        ++parameter_;
        ahead_ = 0;
        return Step::kDone;
    };
    std::size_t at = std::max(ahead_, position_);
    if (at == position_ && commaDue_) {
        if (text_[position_] != ',') return absent();
        ++at;
    }
    while (at < text_.size() && IsWhite(text_[at])) ++at;
    ahead_ = at;
    if (at == text_.size()) {
        position_ = last_ ? at : position_;
        return OutOfText();
    }
    const std::string_view there = text_.substr(at, facts.name.size());
    if (!SameLetters(there, std::string_view(facts.name).substr(0, there.size()))) return absent();
    if (there.size() < facts.name.size()) {
        position_ = last_ ? text_.size() : position_;
        return OutOfText();
    }
    position_ = at + facts.name.size();
    given_[parameter_] = true;
    commaDue_ = false;
    ahead_ = 0;
    stage_ = Stage::kColon;
    return Step::kDone;
}

TextWalker::Step TextWalker::Lead() {
    if (!White()) return OutOfText();
    commaDue_ = true;
    valueBegin_ = position_;
    program_ = ProgramOf(Parameter(parameter_), text_[position_]);
    firstToken_ = true;
    ahead_ = 0;
    stage_ = Stage::kValue;
    return Step::kDone;
}

TextWalker::Step TextWalker::Value() {
    const ParameterFacts& facts = Parameter(parameter_);
    while (*program_ != 0) {
        if (*program_ == 'E') {
            stage_ = Stage::kEntries;
            return Step::kDone;
        }
        if (!firstToken_ && ahead_ == 0 && !White()) return OutOfText();
        if (position_ >= text_.size()) return OutOfText();
        const char here = text_[position_];
        Step step = Step::kDone;
        switch (*program_) {
            case 'n':
                step = Number();
                break;
            case 'd':
                step = Double();
                break;
            case 's':
            case 'h':
                step = Quoted(true);
                break;
            case 'q':
            case 't':
            case 'g':
                step = Quoted(false);
                break;
            default:
                if (here == *program_) {
                    ++position_;
                } else {
                    const std::string what = *program_ == '{' ? ValueShape(facts)
                                                              : "'" + std::string(1, *program_) +
                                                                    "' in " + ValueShape(facts);
                    step = Broken(position_, Naming(parameter_) + ": expected " + what +
                                                 ", found " + Found(position_));
                }
        }
        if (step != Step::kDone) return step;
        ahead_ = 0;
        firstToken_ = false;
        ++program_;
    }
    if (facts.type == TmxParamType_DataSet) {
        stage_ = Stage::kEntries;
        return Step::kDone;
    }
    ++parameter_;
    stage_ = Stage::kParameter;
    return Step::kDone;
}

// Inside the outer braces of a data set. An entry begins with a brace; anything else ends the
// value without a failure, so that it is the comma or the parenthesis behind it that fails.
TextWalker::Step TextWalker::Entries() {
    if (!White()) return OutOfText();
    const bool behindEntry = *program_ == 'E';
    const char here = text_[position_];
    if (behindEntry && here == ',') {
        ++position_;
        program_ = "";
        return Step::kDone;
    }
    if (behindEntry && here != '}')
        return Broken(position_, Naming(parameter_) +
                                     ": expected ',' or '}' behind an entry, found " +
                                     Found(position_));
    if (!behindEntry && here == '{') {
        program_ = kEntryProgram;
        firstToken_ = true;
        stage_ = Stage::kValue;
        return Step::kDone;
    }
    if (behindEntry) ++position_;
    ++parameter_;
    stage_ = Stage::kParameter;
    return Step::kDone;
}

TextWalker::Step TextWalker::Number() {
    // An empty number counts as 0, so any delimiter ends well.
    std::size_t at = position_;
    bool hexadecimal = false;
    if (text_[at] == '-' || text_[at] == '+') {
        ++at;
    } else if (text_[at] == '0') {
        if (at + 1 == text_.size()) return OutOfText();
        if (text_[at + 1] == 'x' || text_[at + 1] == 'X') {
            hexadecimal = true;
            at += 2;
        }
    }
    at = std::max(at, ahead_);
    const auto isDigit = [hexadecimal](char c) {
        return IsDigit(c) || (hexadecimal && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
    };
    while (at < text_.size() && isDigit(text_[at])) ++at;
    ahead_ = at;
    if (at == text_.size()) return OutOfText();
    if (!IsDelimiter(text_[at])) return Broken(at, Naming(parameter_) + ": " + WhyNoNumber(at));
    position_ = at;
    return Step::kDone;
}

TextWalker::Step TextWalker::Double() {
    std::size_t end = std::max(position_, ahead_);
    while (end < text_.size() &&
           (IsDigit(text_[end]) || std::memchr("+-.eE", text_[end], 5) != nullptr))
        ++end;
    ahead_ = end;
    if (end == text_.size()) return OutOfText();
    std::size_t at = position_;
    if (text_[at] == '-' || text_[at] == '+') ++at;
    const std::size_t whole = at;
    while (IsDigit(text_[at])) ++at;
    std::size_t digits = at - whole;
    if (text_[at] == '.') {
        const std::size_t fraction = ++at;
        while (IsDigit(text_[at])) ++at;
        digits += at - fraction;
    }
    if (digits == 0) return Step::kDone;  // no number counts as 0
    if (text_[at] == 'e' || text_[at] == 'E') {
        std::size_t exponent = at + 1;
        if (text_[exponent] == '-' || text_[exponent] == '+') ++exponent;
        if (IsDigit(text_[exponent])) {
            while (IsDigit(text_[exponent])) ++exponent;
            at = exponent;
        }
    }
    position_ = at;
    return Step::kDone;
}

TextWalker::Step TextWalker::Quoted(bool opened) {
    const char opening = text_[position_];
    if (opened ? opening == 0 : opening != '"') {
        std::string what = *program_ == 't'   ? ValueShape(Parameter(parameter_))
                           : *program_ == 'g' ? "a quoted GUID"
                                              : "a quoted text";
        return Broken(position_,
                      Naming(parameter_) + ": expected " + what + ", found " + Found(position_));
    }
    const std::size_t begin = position_ + 1;
    std::size_t at = std::max(begin, ahead_);
    if (offset_ + at >= quoteFreeFrom_ && offset_ + at < quoteFreeTo_)
        at =
            static_cast<std::size_t>(std::min<std::uint64_t>(quoteFreeTo_ - offset_, text_.size()));
    const char* const from = text_.data() + at;
    const auto* quote = static_cast<const char*>(std::memchr(from, '"', text_.size() - at));
    const std::size_t limit =
        quote != nullptr ? static_cast<std::size_t>(quote - text_.data()) : text_.size();
    const auto* zero = static_cast<const char*>(std::memchr(from, 0, limit - at));
    const std::size_t end = zero != nullptr ? static_cast<std::size_t>(zero - text_.data()) : limit;
    if (end > at) {
        if (offset_ + at != quoteFreeTo_ || offset_ + begin < quoteFreeFrom_)
            quoteFreeFrom_ = offset_ + at;
        quoteFreeTo_ = offset_ + end;
    }
    ahead_ = end;
    const auto crossLine = [&] {
        if (lineCrossed_ || std::memchr(text_.data() + begin, '\n', end - begin) == nullptr) return;
        lineCrossed_ = true;
        trusted_ = position_;
    };
    if (zero != nullptr) {
        crossLine();
        return Broken(end, Naming(parameter_) + ": a text may not hold the character of code 0");
    }
    if (quote == nullptr) {
        if (!last_) return Step::kMore;
        ranOut_ = true;
        crossLine();
        return Broken(position_,
                      Naming(parameter_) +
                          (opening == '"' ? ": the closing '\"' is missing"
                                          : ": expected " + ValueShape(Parameter(parameter_)) +
                                                ", found " + Found(position_)));
    }
    crossLine();
    if (*program_ == 't' || *program_ == 'h' || *program_ == 'g')
        checked_.push_back({parameter_, begin, end - begin});
    position_ = end + 1;
    return Step::kDone;
}

TextWalker::Step TextWalker::Close() {
    if (!White()) return OutOfText();
    if (text_[position_] != ')') return Broken(position_, action_->name + ": " + WhyNoClose());
    ++position_;
    return Step::kDone;
}

std::string TextWalker::WordAt(std::size_t position) const {
    std::size_t end = position;
    while (end < text_.size() && end - position < kLongestWord && !IsDelimiter(text_[end])) ++end;
    // A UTF-8 character is not cut in two.
    while (end < text_.size() && end > position + 1 &&
           (static_cast<unsigned char>(text_[end]) & 0xC0) == 0x80)
        --end;
    return std::string(text_.substr(position, end - position));
}

std::string TextWalker::Found(std::size_t position) const {
    if (position >= text_.size()) return "the end of the text";
    const std::string word = WordAt(position);
    if (!word.empty()) return "'" + word + "'";
    const char c = text_[position];
    if (c == 0) return "the character of code 0";
    if (c == '\n' || c == '\r') return "the end of the line";
    if (c == '\'') return "\"'\"";
    return "'" + std::string(1, c) + "'";
}

// Behind a name that was the begin of another one, which the library tries in vain.
std::string TextWalker::WhyNoColon() const {
    const std::string& name = Parameter(parameter_).name;
    const std::string word = WordAt(position_ - name.size());
    for (std::size_t i = parameter_ + 1; i < Count(); ++i)
        if (SameLetters(Parameter(i).name, word))
            return "; the text form can't tell " + Parameter(i).name + " unless " + name +
                   " stands ahead of it";
    return {};
}

// The whole word around a letter that no number has.
std::string TextWalker::WhyNoNumber(std::size_t position) const {
    const ParameterFacts& facts = Parameter(parameter_);
    const bool braces = text_[valueBegin_] == '{';
    std::size_t begin = position;
    while (begin > valueBegin_ && !IsDelimiter(text_[begin - 1])) --begin;
    const std::string word = WordAt(begin);
    std::string expected = "expected a number";
    if (!braces) expected = "expected " + ValueShape(facts);
    if (facts.IsEnum()) expected += " (an enumeration's value is written as its number)";
    const std::string reason = expected + ", found '" + word + "'";
    if (braces) return reason;

    std::size_t behind = begin + word.size();
    while (behind < text_.size() && IsWhite(text_[behind])) ++behind;
    if (!facts.optional && !template_ && behind < text_.size() && text_[behind] == ':') {
        if (SameLetters(word, facts.name))
            return reason + "; a required parameter is written without its name";
        return reason;
    }
    if (facts.enumeration != nullptr) {
        std::vector<std::string_view> names;
        for (const EnumValueFacts& value : facts.enumeration->values) names.push_back(value.name);
        const std::vector<std::string> nearest = NearestNames(word, names, 1);
        for (const EnumValueFacts& value : facts.enumeration->values)
            if (!nearest.empty() && value.name == nearest.front())
                return reason + "; " + value.name + " is " + std::to_string(value.value);
    }
    if (facts.type == TmxParamType_Bool && SameLetters(word, "true")) return reason + "; true is 1";
    if (facts.type == TmxParamType_Bool && SameLetters(word, "false"))
        return reason + "; false is 0";
    return reason;
}

// Behind the last parameter: more values, a name out of order, or something foreign.
std::string TextWalker::WhyNoClose() const {
    std::size_t at = position_;
    const bool comma = text_[at] == ',';
    if (comma) ++at;
    while (at < text_.size() && IsWhite(text_[at])) ++at;
    const std::string word = at < text_.size() ? WordAt(at) : std::string();
    const std::string reason =
        (commaDue_ ? "expected ',' or ')', found " : "expected ')', found ") +
        (comma && !word.empty() ? "'" + word + "' behind ','" : Found(position_));
    if (word.empty() || (!comma && commaDue_)) return reason;
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < Count(); ++i) {
        const ParameterFacts& facts = Parameter(i);
        if (!template_ && !facts.optional) {
            if (SameLetters(facts.name, word))
                return reason + "; the required parameter " + facts.name +
                       " has no name and stands at place " + std::to_string(i + 1);
            continue;
        }
        if (SameLetters(facts.name, word)) {
            if (given_[i]) return reason + "; " + facts.name + " stands twice";
            // All have been passed in order, so the first one behind it that came stands wrong.
            std::size_t later = i + 1;
            while (later < Count() && !given_[later]) ++later;
            if (later == Count()) return reason;
            return reason + "; " + facts.name + " must stand ahead of " + Parameter(later).name +
                   ", in the catalogue's order";
        }
        names.push_back(facts.name);
    }
    const bool number = IsDigit(word.front()) || word.front() == '-';
    if (template_ && number && !action_->parameters.empty())
        return reason + "; each parameter of a template has its name, such as " +
               action_->parameters.front().name + ": " + ValueExample(action_->parameters.front());
    if (number)
        return reason + "; " + action_->name + " takes " + std::to_string(Count()) + " parameter" +
               (Count() == 1 ? "" : "s");
    const std::vector<std::string> nearest = NearestNames(word, names, 1);
    if (!nearest.empty()) return reason + "; the nearest parameter is " + nearest.front();
    return reason;
}

}  // namespace tmxact
