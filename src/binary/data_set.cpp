// The text that stands for a data set in the binary form.
#include <charconv>
#include <string>

#include "binary/values.h"
#include "zinc/exceptions.h"

namespace TmxPLC {

namespace {

using Zinc::WideString;
using Zinc::WideView;

void AppendNumber(WideString& text, std::int32_t number) {
    char digits[12];
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    for (const char* digit = digits; digit != end; ++digit) text += static_cast<WideChar>(*digit);
}

WideString TextOf(const DataSet& set) {
    WideString text;
    for (const DataSetEntry& entry : set.entries) {
        if (!text.empty()) text += TMX_WIDE(", ");
        for (const std::int16_t word : entry.words) {
            AppendNumber(text, word);
            text += ' ';
        }
        AppendNumber(text, entry.number);
        // An apostrophe inside the text isn't escaped: it ends the entry for the reader.
        text += TMX_WIDE(" '");
        text.append(entry.nameText.view());
        text += '\'';
    }
    return text;
}

bool IsSpace(WideChar unit) noexcept { return unit == ' ' || (unit >= '\t' && unit <= '\r'); }

// Takes a signed decimal number off the front, behind white space, as a stream's extractor does:
// what the type can't hold fails. Where it failed the text is of no further use.
template <typename Integer>
bool ExtractNumber(WideView& text, Integer& number) noexcept {
    std::size_t at = 0;
    while (at < text.size() && IsSpace(text[at])) ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) negative = text[at++] == '-';
    constexpr std::int64_t kBeyond = std::int64_t{1} << 40;
    std::int64_t value = 0;
    const std::size_t first = at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        if (value < kBeyond) value = value * 10 + (text[at] - '0');
    if (at == first) return false;
    if (negative) value = -value;
    number = static_cast<Integer>(value);
    if (number != value) return false;
    text.remove_prefix(at);
    return true;
}

void DropLeading(WideView& text, WideChar unit) noexcept {
    while (!text.empty() && text.front() == unit) text.remove_prefix(1);
}

void ReadEntries(WideView text, DataSet& set) {
    while (true) {
        DataSetEntry entry;
        for (std::int16_t& word : entry.words)
            if (!ExtractNumber(text, word)) return;
        // A text that ends right behind the number is at its end before the quoted part: the entry
        // is dropped.
        if (!ExtractNumber(text, entry.number) || text.empty()) return;
        const std::size_t first = text.find('\'');
        if (first == WideView::npos) return;
        const std::size_t second = text.find('\'', first + 1);
        if (second == WideView::npos) return;
        // The quoted part is as long as the index of the second apostrophe, which is right with the
        // one blank that the writer puts before it; with more it takes in units behind.
        WideView quoted = text.substr(first, second);
        text.remove_prefix(first + quoted.size());
        DropLeading(quoted, '\'');
        while (!quoted.empty() && quoted.back() == '\'') quoted.remove_suffix(1);
        entry.nameText.Assign(quoted);
        set.entries.push_back(std::move(entry));
        DropLeading(text, ' ');
        const std::size_t before = text.size();
        DropLeading(text, ',');
        if (text.size() == before) return;
        DropLeading(text, ' ');
    }
}

}  // namespace

BinOutput StoreValue(BinOutput output, const DataSet& value) {
    const WideString text = TextOf(value);
    return output.WriteText(text.c_str(), text.size());
}

void LoadValue(BinInput& input, DataSet& value) {
    WideText text;
    LoadText(input, text);
    ReadEntries(text.view(), value);
}

}  // namespace TmxPLC
