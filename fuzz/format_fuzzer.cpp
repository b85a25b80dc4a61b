// The positional formatter. The input is the format and up to three arguments, zeros between them.
#include <algorithm>

#include "oracle.h"
#include "zinc/text.h"

using namespace tmxfuzz;

namespace {

struct Outcome {
    std::string text;
    const char* failure = nullptr;
    size_t position = 0;
};

bool AreDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A number of any length, held at a thousand.
size_t Number(std::string_view digits) {
    size_t number = 0;
    for (const char digit : digits)
        number = std::min<size_t>(number * 10 + static_cast<size_t>(digit - '0'), 1000);
    return number;
}

// The rule of the format, character by character.
Outcome Expected(std::string_view format, const std::vector<std::string>& arguments) {
    Outcome outcome;
    const auto fail = [&](const char* failure, size_t position) {
        outcome.failure = failure;
        outcome.position = position;
        return outcome;
    };
    for (size_t i = 0; i < format.size(); ++i) {
        const char character = format[i];
        if (character != '{' && character != '}') {
            outcome.text += character;
            continue;
        }
        if (i + 1 < format.size() && format[i + 1] == character) {
            outcome.text += character;
            ++i;
            continue;
        }
        if (character == '}') return fail("Text::Format illegal end of format string:", i);
        const size_t end = format.find('}', i);
        if (end == format.npos) return fail("Text::Format illegal begin of format string:", i);

        const std::string_view field = format.substr(i + 1, end - i - 1);
        const size_t comma = field.find(',');
        const std::string_view index = field.substr(0, comma);
        std::string_view width =
            comma == field.npos ? std::string_view("0") : field.substr(comma + 1);
        const bool left = !width.empty() && width.front() == '-';
        if (left) width.remove_prefix(1);
        if (!AreDigits(index) || index.size() > (comma == field.npos ? 2u : 1u) ||
            !AreDigits(width))
            return fail("Text::Format illegal format string :", i);
        const size_t number = Number(index);
        if (number >= arguments.size())
            return fail(comma == field.npos ? "Text::Format illegal argument number :"
                                            : "Text::Format illegal argument number (,):",
                        i);
        size_t columns = Number(width);
        if (columns > 512) columns = 0;
        const std::string& argument = arguments[number];
        const std::string blanks(columns > argument.size() ? columns - argument.size() : 0, ' ');
        outcome.text += left ? argument + blanks : blanks + argument;
        i = end;
    }
    return outcome;
}

std::string Format(std::string_view format, const std::vector<std::string>& arguments) {
    switch (arguments.size()) {
        case 0:
            return Zinc::Text::Format(format, {});
        case 1:
            return Zinc::Text::Format(format, {arguments[0]});
        case 2:
            return Zinc::Text::Format(format, {arguments[0], arguments[1]});
        default:
            return Zinc::Text::Format(format, {arguments[0], arguments[1], arguments[2]});
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view formatText = input.substr(0, input.find('\0'));
    std::vector<std::string> arguments;
    for (size_t zero = input.find('\0'); zero != input.npos && arguments.size() < 3;
         zero = input.find('\0')) {
        input.remove_prefix(zero + 1);
        arguments.emplace_back(input.substr(0, input.find('\0')));
    }
    const Exact<char> exact(formatText.data(), formatText.size());
    const std::string_view format(exact.data(), exact.size());

    const Outcome expected = Expected(format, arguments);
    std::string text;
    try {
        text = Format(format, arguments);
        TMX_HOLDS(expected.failure == nullptr);
    } catch (const Zinc::Text::InvalidFormatStringException& error) {
        TMX_HOLDS(expected.failure != nullptr);
        TMX_HOLDS(error.message == std::string(expected.failure) + " : " + std::string(format));
        TMX_HOLDS(error.errorPosition == expected.position);
        TMX_HOLDS(error.formatString.size() == format.size());
        return 0;
    }
    TMX_HOLDS(text == expected.text);

    // With its braces doubled a text is the format of itself.
    std::string doubled;
    for (const char character : text) {
        if (character == '{' || character == '}') doubled += character;
        doubled += character;
    }
    TMX_HOLDS(Format(doubled, {}) == text);
    return 0;
}
