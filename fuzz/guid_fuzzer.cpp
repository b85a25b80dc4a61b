// The text of a GUID, read and written.
#include "zinc/guid.h"

#include <algorithm>
#include <cstring>

#include "oracle.h"

using namespace tmxfuzz;

namespace {

constexpr std::string_view kShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

// What the text says by the rule of its shape: the 36 characters in lower case, or nothing.
std::optional<std::string> Expected(std::string_view text) {
    const bool braces = !text.empty() && text.front() == '{';
    if (braces) text.remove_prefix(1);
    if (text.size() < kShape.size()) return std::nullopt;
    std::string digits(text.substr(0, kShape.size()));
    for (size_t i = 0; i < digits.size(); ++i) {
        if (kShape[i] == '-') {
            if (digits[i] != '-') return std::nullopt;
            continue;
        }
        if (digits[i] >= 'A' && digits[i] <= 'F') digits[i] = static_cast<char>(digits[i] + 32);
        if (std::string_view("0123456789abcdef").find(digits[i]) == std::string_view::npos)
            return std::nullopt;
    }
    if (braces && (text.size() == kShape.size() || text[kShape.size()] != '}')) return std::nullopt;
    return digits;
}

Zinc::Guid Read(std::string_view text) {
    const Exact<char> exact(text.data(), text.size());
    return Zinc::StrToGuid({exact.data(), exact.size()});
}

// A buffer of the size gets what fits and a terminator, and only one that is large enough succeeds.
void CheckWrite(const Zinc::Guid& guid, const std::string& text, size_t size) {
    Exact<char> buffer(size);
    try {
        Zinc::GuidToStr(buffer.data(), size, guid);
        TMX_HOLDS(size > text.size());
    } catch (const Zinc::SystemException& error) {
        TMX_HOLDS(size <= text.size());
        TMX_HOLDS(error.subcode == (size == 0 ? 0x80070057 : 0x8007007A));
    }
    if (size != 0) TMX_HOLDS(buffer.data() == text.substr(0, std::min(size - 1, text.size())));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::optional<std::string> expected = Expected(text);
    Zinc::Guid guid{};
    try {
        guid = Read(text);
        TMX_HOLDS(expected.has_value());
    } catch (const Zinc::GuidConversionException& error) {
        TMX_HOLDS(!expected);
        TMX_HOLDS(error.message == "Conversion of guid '" + text + "' failed.");
        TMX_HOLDS(error.code == 0 && error.subcode == 0);
        return 0;
    }
    Exact<char> written(Zinc::kGuidTextLength);
    Zinc::PutGuid(written.data(), guid);
    TMX_HOLDS(std::string(written.data(), written.size()) == *expected);
    TMX_HOLDS(Read(*expected) == guid);
    TMX_HOLDS(Read("{" + *expected + "}") == guid);
    for (size_t room : {size_t{0}, size_t{1}, size % 37, size_t{36}, size_t{37}, size_t{64}})
        CheckWrite(guid, *expected, room);
    return 0;
}
