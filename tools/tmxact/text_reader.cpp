#include "text_reader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "encoding.h"

namespace tmxact {

namespace {

constexpr std::size_t kExcerptBefore = 60;
constexpr std::size_t kExcerptAfter = 60;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsContinuation(char c) noexcept { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

bool IsNameCharacter(char c) noexcept {
    return (c >= '0' && c <= '9') || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

std::optional<bool> TextReader::BeginsLikeAction(std::string_view text, bool last, bool onlyKnown) {
    constexpr std::size_t kFarthest = 512;
    const auto undecided = [&]() -> std::optional<bool> {
        if (last || text.size() > kFarthest) return false;
        return std::nullopt;
    };
    std::size_t at = 0;
    const auto white = [&] {
        while (at < text.size() && TextWalker::IsWhite(text[at])) ++at;
    };
    if (!text.empty() && text[0] == '@') {
        ++at;
        white();
    }
    const std::size_t begin = at;
    while (at < text.size() && IsNameCharacter(text[at])) ++at;
    const std::string_view name = text.substr(begin, at - begin);
    white();
    if (at == text.size()) return undecided();
    if (name.empty() || text[at] != '(') return false;
    return !onlyKnown || Facts::Get().ByName(name) != nullptr;
}

std::string_view TextReader::FirstWord(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::size_t size = 0;
    while (size < text.size() && size < kLongest && !TextWalker::IsDelimiter(text[size])) ++size;
    if (size == 0) size = 1;
    while (size < text.size() && size > 1 && IsContinuation(text[size])) --size;
    return text.substr(0, size);
}

TextReader::TextReader(Input& input, const SourceOptions& options, ReadEvents& events)
    : input_(input), options_(options), events_(events) {
    input_.CountLines(!options.ansi);
}

std::optional<TextReader::Failure> TextReader::Start() {
    while (!options_.ansi && input_.Window().size() < kByteOrderMark.size() &&
           kByteOrderMark.starts_with(input_.Window()) && input_.Fill()) {
    }
    if (!options_.ansi && input_.Window().starts_with(kByteOrderMark))
        input_.SkipMark(markSize_ = kByteOrderMark.size());
    if (input_.Window().starts_with("\xFF\xFE") || input_.Window().starts_with("\xFE\xFF"))
        return Failure{At(0,
                          "the file begins with the byte order mark of UTF-16; action text is read "
                          "as UTF-8 or, with --ansi, in the ANSI code page"),
                       2, false, false};
    return std::nullopt;
}

std::optional<TextReader::Failure> TextReader::Read(ReadAction& action) {
    action.handle.reset();
    walker_.Begin(input_.Offset());
    TextWalker::Outcome outcome = TextWalker::Outcome::kNeedsMore;
    bool tooLong = false;
    do {
        tooLong = input_.Window().size() > options_.largestAction;
        outcome = walker_.Walk(input_.Window(), input_.AtEnd() || tooLong);
        // What the end of the file means is known only when it has been reached.
    } while (outcome == TextWalker::Outcome::kNeedsMore && (input_.Fill(), true));
    if (outcome == TextWalker::Outcome::kComplete) return Take(action);
    return Broken(tooLong);
}

// The words for an action where a template is wanted, or the other way about.
std::string TextReader::Unwanted(const ReadAction& action) {
    if (action.isTemplate)
        return action.facts->name +
               ": expected an action, found a template (which begins with '@')";
    std::string reason =
        action.facts->name + ": expected a template, which begins with '@', found an action";
    TmxHandle made = nullptr;
    if (!TmxAct_CreateMatchActionFromTemplate(action.handle.get(), &made) || made == nullptr)
        return reason;
    const ActionHandle handle(made);
    constexpr std::size_t kLongest = 200;
    char text[kLongest];
    if (TmxAct_StoreToTextBufferA(made, text, kLongest, false, true, nullptr))
        reason += std::string("; as a template it is ") + Printable(text, false);
    return reason;
}

TextReader::Failure TextReader::Broken(bool tooLong) {
    // The grammar of actions would tell of it what is of no use here.
    if (options_.wanted == Wanted::kTemplates && !walker_.IsTemplate())
        return {At(0, "expected a template, which begins with '@', found '" +
                          Printable(FirstWord(input_.Window()), options_.ansi) + "'"),
                1, false, false};
    std::string reason = Printable(walker_.Reason(), options_.ansi);
    if (tooLong && walker_.RanOut())
        reason = "the action doesn't end within " + std::to_string(options_.largestAction) +
                 " bytes (see --max-size)";
    if (walker_.TrustedIsEarlier())
        reason += "; the text that begins on line " +
                  std::to_string(input_.PlaceAt(walker_.Trusted()).line) +
                  " runs over the end of its line: is its closing '\"' missing?";
    return {At(walker_.Position(), std::move(reason)), walker_.Trusted(),
            walker_.TrustedIsEarlier(), false};
}

// Hands the text that the walker has gone over to the library.
std::optional<TextReader::Failure> TextReader::Take(ReadAction& action) {
    const std::size_t length = walker_.Position();
    char* const text = input_.MutableWindow();
    // The library's searches end at a NUL only.
    const char behind = std::exchange(text[length], '\0');
    std::uint32_t consumed = 0;
    action.handle.reset(TmxAct_CreateFromTextBufferA(text, static_cast<std::uint32_t>(length),
                                                     TMX_ANY_MESSAGE_CLASS, !options_.ansi,
                                                     &consumed));
    text[length] = behind;
    if (action.handle == nullptr) return RefusedByLibrary(length);
    action.facts = walker_.Action();
    action.isTemplate = walker_.IsTemplate();
    action.bytes = {text, length};
    action.offset = input_.Offset();
    if (options_.wanted == (action.isTemplate ? Wanted::kActions : Wanted::kTemplates))
        return Failure{At(0, Unwanted(action)), length, false, true};
    const std::size_t bad = options_.ansi ? std::string_view::npos : FindBadUtf8(action.bytes);
    if (bad != std::string_view::npos && !std::exchange(doubted_, true))
        events_.Doubtful(At(bad,
                            "a byte that isn't UTF-8; the library puts U+FFFD in its place in "
                            "wide texts (is this ANSI text? see --ansi; told once a file)"));
    input_.Consume(std::min<std::size_t>(consumed, length));
    return std::nullopt;
}

// The grammar holds, but a value was refused: a date-time or a GUID, as the library's error says.
TextReader::Failure TextReader::RefusedByLibrary(std::size_t length) {
    std::string reason = LastErrorText();
    const std::string_view text = input_.Window();
    std::size_t place = 0;
    std::string naming = walker_.Action()->name;
    const auto& values = walker_.CheckedValues();
    for (const TextWalker::Checked& value : values) {
        const std::string wanted(text.substr(value.position, value.length));
        // An action whose one parameter is a date-time tells whether it is this one.
        const std::string probe = "SystemStarted (\"" + wanted + "\")";
        const bool isGuid = reason.find("guid '") != std::string::npos;
        bool found = values.size() == 1;
        if (isGuid) {
            found =
                found || reason.find('\'' + Printable(wanted, true) + '\'') != std::string::npos;
        } else if (!found) {
            const ActionHandle tried(TmxAct_CreateFromTextBufferA(
                probe.c_str(), static_cast<std::uint32_t>(probe.size()), TMX_MESSAGE_CLASS_ACTION,
                !options_.ansi, nullptr));
            found = tried == nullptr;
        }
        if (!found) continue;
        place = value.position;
        naming = walker_.Naming(value.parameter);
        break;
    }
    if (reason.empty())
        reason = walker_.IsTemplate() ? "the library makes no template of it"
                                      : "the library refuses the action";
    return {At(place, naming + ": " + reason), length, false, false};
}

Refusal TextReader::At(std::size_t position, std::string reason) {
    const std::string_view window = input_.Window();
    const std::string_view behind = input_.Behind();
    position = std::min(position, window.size());
    // What is due at the end of the text is shown behind its last character, not lines later.
    if (position == window.size())
        while (position > 0 && TextWalker::IsWhite(window[position - 1])) --position;

    const auto at = [&](std::size_t back) {
        return back <= position ? window[position - back]
                                : behind[behind.size() - (back - position)];
    };
    std::size_t before = 0;
    // A byte order mark at the file's begin is no part of the line.
    const std::uint64_t inText = input_.Offset() + position - markSize_;
    const auto most =
        static_cast<std::size_t>(std::min<std::uint64_t>(position + behind.size(), inText));
    while (before < most && before < kExcerptBefore && at(before + 1) != '\n') ++before;
    bool cutBefore = before < most && at(before + 1) != '\n';
    if (!options_.ansi && cutBefore)
        while (before > 0 && IsContinuation(at(before))) --before;
    std::string head;
    for (std::size_t back = before; back > 0; --back) head += at(back);
    std::size_t after = position;
    while (after < window.size() && after - position < kExcerptAfter && window[after] != '\n')
        ++after;
    const bool cutAfter = after < window.size() && window[after] != '\n';
    if (!options_.ansi && cutAfter)
        while (after > position && IsContinuation(window[after])) --after;

    const Input::Place place = input_.PlaceAt(position);
    Refusal refusal;
    refusal.file = input_.Name();
    refusal.line = place.line;
    refusal.column = place.column;
    refusal.offset = input_.Offset() + position;
    refusal.reason = std::move(reason);
    head = (cutBefore ? "..." : "") + Printable(head, options_.ansi);
    refusal.caret = DisplayWidth(head);
    std::string tail = Printable(window.substr(position, after - position), options_.ansi);
    while (!tail.empty() && tail.back() == ' ') tail.pop_back();
    refusal.excerpt = head + tail + (cutAfter ? "..." : "");
    return refusal;
}

}  // namespace tmxact
