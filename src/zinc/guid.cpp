#include "zinc/guid.h"

#include <algorithm>
#include <string>

namespace Zinc {

namespace {

constexpr char kGuidToStrName[] =
    "void __cdecl Zinc::GuidToStr(char *,unsigned __int64,const struct _GUID &,bool)";

// Reads a GUID character by character; a reader that has failed stays failed.
class GuidReader {
  public:
    explicit GuidReader(std::string_view text) noexcept : text_(text) {}

    bool Failed() const noexcept { return failed_; }

    bool Take(char expected) noexcept {
        if (position_ >= text_.size() || text_[position_] != expected) return false;
        ++position_;
        return true;
    }

    void Expect(char expected) noexcept {
        if (!Take(expected)) failed_ = true;
    }

    template <typename Number>
    Number Digits() noexcept {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 2 * sizeof(Number); ++i) {
            const int digit = position_ < text_.size() ? HexValue(text_[position_]) : -1;
            if (digit < 0) {
                failed_ = true;
                return 0;
            }
            value = (value << 4) | static_cast<std::uint32_t>(digit);
            ++position_;
        }
        return static_cast<Number>(value);
    }

  private:
    static int HexValue(char character) noexcept {
        if (character >= '0' && character <= '9') return character - '0';
        if (character >= 'a' && character <= 'f') return character - 'a' + 10;
        if (character >= 'A' && character <= 'F') return character - 'A' + 10;
        return -1;
    }

    std::string_view text_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

}  // namespace

void GuidToStr(char* buffer, std::uint64_t size, const Guid& guid) {
    if (size == 0 || size > 0x7fffffff) {
        if (size > 0) *buffer = 0;
        throw SystemException(Platform::kInvalidArgumentHresult, kGuidToStrName);
    }
    char text[kGuidTextLength];
    PutGuid(text, guid);
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = std::min(room, kGuidTextLength);
    std::copy_n(text, length, buffer);
    buffer[length] = 0;
    if (length < kGuidTextLength)
        throw SystemException(Platform::kErrorInsufficientBufferHresult, kGuidToStrName);
}

Guid StrToGuid(std::string_view text) {
    GuidReader reader(text);
    Guid guid{};
    const bool braces = reader.Take('{');
    guid.Data1 = reader.Digits<std::uint32_t>();
    reader.Expect('-');
    guid.Data2 = reader.Digits<std::uint16_t>();
    reader.Expect('-');
    guid.Data3 = reader.Digits<std::uint16_t>();
    reader.Expect('-');
    for (int i = 0; i < 2; ++i) guid.Data4[i] = reader.Digits<std::uint8_t>();
    reader.Expect('-');
    for (int i = 2; i < 8; ++i) guid.Data4[i] = reader.Digits<std::uint8_t>();
    if (braces) reader.Expect('}');
    if (reader.Failed())
        throw GuidConversionException("Conversion of guid '" + std::string(text) + "' failed.");
    return guid;
}

}  // namespace Zinc
