#include "zinc/text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>

namespace Zinc {

namespace {

// ---- Conversion ---------------------------------------------------------------------------------

// Three narrow bytes for each unit of a text of this length still fit a signed 32-bit count.
constexpr std::int64_t kMaxLength = 715827882;
// What the system's conversions count with.
constexpr std::ptrdiff_t kMaxCount = 0x7fffffff;
// Up to here a text is converted on the stack, so that its target is allocated once, in its size.
constexpr std::size_t kShortText = 256;

struct ToNarrow {
    using Source = WideChar;
    using Target = char;
    // A code unit becomes three bytes at most.
    static constexpr std::size_t kGrowth = 3;
    static constexpr const char* kCallName = "WideCharToMultiByte";
    static std::ptrdiff_t Run(CodePage page, std::uint32_t flags, const Source* text,
                              std::size_t length, Target* target, std::size_t capacity) noexcept {
        return Platform::WideToNarrow(page, flags, text, length, target, capacity);
    }
};

struct ToWide {
    using Source = char;
    using Target = WideChar;
    static constexpr std::size_t kGrowth = 1;
    static constexpr const char* kCallName = "MultiByteToWideChar";
    static std::ptrdiff_t Run(CodePage page, std::uint32_t flags, const Source* text,
                              std::size_t length, Target* target, std::size_t capacity) noexcept {
        return Platform::NarrowToWide(page, flags, text, length, target, capacity);
    }
};

template <typename Char>
bool IsAscii(const Char* text, std::size_t length) noexcept {
    // One pass without an early exit: short texts are nearly always ASCII, and this is vectorised.
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < length; ++i) all |= static_cast<std::uint32_t>(text[i]);
    return all < 0x80;
}

template <typename Direction>
[[noreturn]] void Fail(std::basic_string<typename Direction::Target>& target) {
    target.clear();
    ThrowLastSystemError(Direction::kCallName);
}

// Measures first, and converts into a target of the right size.
template <typename Direction>
void ConvertMeasured(std::basic_string<typename Direction::Target>& target, CodePage page,
                     std::uint32_t flags, const typename Direction::Source* text,
                     std::size_t length) {
    const std::ptrdiff_t count = Direction::Run(page, flags, text, length, nullptr, 0);
    if (count < 1 || count > kMaxCount) Fail<Direction>(target);
    target.resize(static_cast<std::size_t>(count));
    if (Direction::Run(page, flags, text, length, target.data(), target.size()) < 1)
        Fail<Direction>(target);
}

// Runs the conversion once into room of the largest size that it can need. False: it gave nothing.
template <typename Direction>
bool ConvertAtOnce(std::basic_string<typename Direction::Target>& target, CodePage page,
                   std::uint32_t flags, const typename Direction::Source* text,
                   std::size_t length) {
    const auto fits = [](std::ptrdiff_t count, std::size_t capacity) {
        return count > 0 && static_cast<std::size_t>(count) <= capacity;
    };
    if (length <= kShortText) {
        typename Direction::Target room[kShortText * Direction::kGrowth];
        const std::ptrdiff_t count =
            Direction::Run(page, flags, text, length, room, std::size(room));
        if (!fits(count, std::size(room))) return false;
        target.assign(room, static_cast<std::size_t>(count));
        return true;
    }
    target.resize(length * Direction::kGrowth);
    const std::ptrdiff_t count =
        Direction::Run(page, flags, text, length, target.data(), target.size());
    if (!fits(count, target.size())) return false;
    target.resize(static_cast<std::size_t>(count));
    return true;
}

template <typename Direction>
void Convert(std::basic_string<typename Direction::Target>& target, CodePage page,
             std::uint32_t flags, const typename Direction::Source* text, std::int64_t length) {
    using Source = typename Direction::Source;
    using Target = typename Direction::Target;

    if (text == nullptr || length == 0 || *text == 0) {
        target.clear();
        return;
    }
    if (length > kMaxLength) Fail<Direction>(target);

    const bool zeroTerminated = length < 0;
    const std::size_t units =
        zeroTerminated ? std::char_traits<Source>::length(text) : static_cast<std::size_t>(length);
    // ASCII is the same in every code page that we convert from or to.
    if (units <= kShortText && IsAscii(text, units)) {
        target.resize(units);
        for (std::size_t i = 0; i < units; ++i) target[i] = static_cast<Target>(text[i]);
        return;
    }
    if (!zeroTerminated && ConvertAtOnce<Direction>(target, page, flags, text, units)) return;
    ConvertMeasured<Direction>(target, page, flags, text, units);
}

}  // namespace

void WideToNarrow(std::string& target, CodePage page, std::uint32_t flags, const WideChar* text,
                  std::int64_t length) {
    Convert<ToNarrow>(target, page, flags, text, length);
}

void NarrowToWide(WideString& target, CodePage page, std::uint32_t flags, const char* text,
                  std::int64_t length) {
    Convert<ToWide>(target, page, flags, text, length);
}

std::string WideToAnsi(WideView text) {
    std::string result;
    WideToNarrow(result, CodePage::Ansi, Platform::kCompositeCheck, text.data(),
                 static_cast<std::int64_t>(text.size()));
    return result;
}

WideString AnsiToWide(std::string_view text) {
    WideString result;
    NarrowToWide(result, CodePage::Ansi, Platform::kPrecomposed, text.data(),
                 static_cast<std::int64_t>(text.size()));
    return result;
}

std::string WideToUtf8(WideView text) {
    std::string result;
    WideToNarrow(result, CodePage::Utf8, 0, text.data(), static_cast<std::int64_t>(text.size()));
    return result;
}

WideString Utf8ToWide(std::string_view text) {
    WideString result;
    NarrowToWide(result, CodePage::Utf8, 0, text.data(), static_cast<std::int64_t>(text.size()));
    return result;
}

// ---- XML ----------------------------------------------------------------------------------------

namespace {

unsigned ByteAt(std::string_view text, std::size_t position) noexcept {
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0U;
}

// The bytes of the well-formed UTF-8 sequence (RFC 3629, section 4) of two bytes or more that
// begins at position; 0 where there is none.
std::size_t SequenceLength(std::string_view text, std::size_t position) noexcept {
    const unsigned lead = ByteAt(text, position);
    const unsigned second = ByteAt(text, position + 1);
    std::size_t length = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;   // shorter forms exist
        if (lead == 0xED) high = 0x9F;  // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;   // shorter forms exist
        if (lead == 0xF4) high = 0x8F;  // above U+10FFFF
    } else {
        return 0;
    }
    if (second < low || second > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((ByteAt(text, position + i) & 0xC0) != 0x80) return 0;
    return length;
}

// A sink into a string, which is made room for as it grows.
class StringSink final : public TextSink {
  public:
    explicit StringSink(std::string& target) noexcept : target_(target) {}
    void Append(std::string_view text) override { target_ += text; }

  private:
    std::string& target_;
};

void AppendXmlCharacter(TextSink& sink, char character) {
    switch (character) {
        case '&':
            return sink.Append("&amp;");
        case '<':
            return sink.Append("&lt;");
        case '>':
            return sink.Append("&gt;");
        case '"':
            return sink.Append("&quot;");
        case '\'':
            return sink.Append("&apos;");
        default:
            break;
    }
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80) return sink.Append({&character, 1});
    // Always three digits.
    const char reference[] = {'&',
                              '#',
                              static_cast<char>('0' + byte / 100),
                              static_cast<char>('0' + byte / 10 % 10),
                              static_cast<char>('0' + byte % 10),
                              ';'};
    sink.Append({reference, sizeof reference});
}

}  // namespace

void XmlEscape(std::string_view text, TextSink& sink) {
    // No byte of a UTF-8 sequence is one of the five, so that bytes can be searched.
    const std::size_t first = text.find_first_of("<&>'\"");
    if (first == std::string_view::npos) return sink.Append(text);
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = SequenceLength(text, position);
        if (length > 0) {
            sink.Append(text.substr(position, length));
            position += length;
        } else {
            AppendXmlCharacter(sink, text[position]);
            ++position;
        }
    }
}

std::string XmlEscape(std::string_view text) {
    std::string result;
    result.reserve(text.size() + 32);
    StringSink sink(result);
    XmlEscape(text, sink);
    return result;
}

// ---- The formatter ------------------------------------------------------------------------------

namespace Text {

namespace {

constexpr int kMaxWidth = 512;

bool IsDigit(char character) noexcept { return character >= '0' && character <= '9'; }

// What stands between two braces.
struct Field {
    std::size_t argument = 0;
    bool hasWidth = false;
    bool left = false;
    std::size_t width = 0;
};

// The digits of a width, to their end. A width above kMaxWidth counts as none. Nothing where
// anything else than digits stands there, or no digit.
std::optional<std::size_t> ReadWidth(std::string_view digits) noexcept {
    if (digits.empty()) return std::nullopt;
    int width = 0;
    for (const char digit : digits) {
        if (!IsDigit(digit)) return std::nullopt;
        // Stays above the limit once it is there, however many digits follow.
        if (width <= kMaxWidth) width = width * 10 + (digit - '0');
    }
    return width <= kMaxWidth ? static_cast<std::size_t>(width) : 0;
}

// "n", "nn", "n,w" or "n,-w".
std::optional<Field> ReadField(std::string_view text) noexcept {
    Field field;
    if (text.empty() || !IsDigit(text[0])) return std::nullopt;
    field.argument = static_cast<std::size_t>(text[0] - '0');
    if (text.size() == 1) return field;
    if (text[1] != ',') {
        if (text.size() != 2 || !IsDigit(text[1])) return std::nullopt;
        field.argument = field.argument * 10 + static_cast<std::size_t>(text[1] - '0');
        return field;
    }
    text.remove_prefix(2);
    field.hasWidth = true;
    field.left = !text.empty() && text[0] == '-';
    if (field.left) text.remove_prefix(1);
    const std::optional<std::size_t> width = ReadWidth(text);
    if (!width) return std::nullopt;
    field.width = *width;
    return field;
}

void AppendBlanks(TextSink& sink, std::size_t count) {
    constexpr std::string_view blanks = "                ";
    for (; count > 0; count -= std::min(count, blanks.size())) sink.Append(blanks.substr(0, count));
}

void AppendAligned(TextSink& sink, std::string_view argument, const Field& field) {
    const std::size_t blanks = field.width > argument.size() ? field.width - argument.size() : 0;
    if (!field.left) AppendBlanks(sink, blanks);
    sink.Append(argument);
    if (field.left) AppendBlanks(sink, blanks);
}

}  // namespace

InvalidFormatStringException::InvalidFormatStringException(std::string_view failure,
                                                           std::string_view format,
                                                           std::uint64_t position)
    : ZincException(std::string(failure) + " : " + std::string(format)),
      formatString(AnsiToWide(format)),
      errorPosition(position) {}

std::string InvalidFormatStringException::GetClassName() const {
    return "class Zinc::Text::InvalidFormatStringException";
}

void Format(TextSink& sink, std::string_view format,
            std::initializer_list<std::string_view> arguments) {
    constexpr std::size_t none = std::string_view::npos;
    std::size_t cursor = 0;
    for (;;) {
        const std::size_t open = format.find('{', cursor);
        const std::size_t close = format.find('}', cursor);
        if (open == none && close == none) {
            sink.Append(format.substr(cursor));
            return;
        }
        // none is the largest position, so that the smaller one is there.
        const std::size_t brace = open < close ? open : close;
        const bool doubled = brace + 1 < format.size() && format[brace + 1] == format[brace];
        sink.Append(format.substr(cursor, brace - cursor));
        if (doubled) {
            sink.Append(format.substr(brace, 1));
            cursor = brace + 2;
            continue;
        }
        if (brace == close)
            throw InvalidFormatStringException("Text::Format illegal end of format string:", format,
                                               brace);
        if (close == none)
            throw InvalidFormatStringException(
                "Text::Format illegal begin of format string:", format, brace);
        const std::optional<Field> field = ReadField(format.substr(open + 1, close - open - 1));
        if (!field)
            throw InvalidFormatStringException("Text::Format illegal format string :", format,
                                               brace);
        if (field->argument >= arguments.size())
            throw InvalidFormatStringException(field->hasWidth
                                                   ? "Text::Format illegal argument number (,):"
                                                   : "Text::Format illegal argument number :",
                                               format, brace);
        AppendAligned(sink, arguments.begin()[field->argument], *field);
        cursor = close + 1;
    }
}

std::string Format(std::string_view format, std::initializer_list<std::string_view> arguments) {
    std::string result;
    StringSink sink(result);
    Format(sink, format, arguments);
    return result;
}

}  // namespace Text

}  // namespace Zinc
