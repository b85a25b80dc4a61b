// JSON values on their way into a text. Written by hand, since what the actions carry needs more
// than a JSON library gives: unpaired surrogates, numbers that aren't finite, 64-bit integers as
// strings.
#ifndef TMXACT_JSON_TEXT_H
#define TMXACT_JSON_TEXT_H

#include <tmxactions/types.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tmxact {

class JsonText {
  public:
    explicit JsonText(bool int64AsString) : int64AsString_(int64AsString) {}

    std::string_view Text() const noexcept { return text_; }
    void Clear() noexcept { text_.clear(); }

    // Punctuation and ready-made pieces.
    void Raw(std::string_view piece) { text_ += piece; }
    void Key(std::string_view name);  // with the comma ahead that it needs

    void Int32(std::int64_t value);
    void Int64(std::int64_t value);
    void Bool(bool value) { text_ += value ? "true" : "false"; }
    // The shortest text that reads back; "NaN", "Infinity" and "-Infinity" as strings.
    void Double(double value);
    void Utf8(std::string_view text);  // ill-formed bytes become U+FFFD
    void Wide(const TmxWChar* text);   // unpaired surrogates are escaped
    // From the ANSI code page, unless it is well-formed UTF-8 beyond ASCII and mayBeUtf8.
    void Narrow(const char* text, bool mayBeUtf8);
    void DateTime(TmxDateTime value);
    void Guid(const TmxGuid& value);

  private:
    void Character(std::uint32_t codePoint);

    std::string text_;
    bool int64AsString_;
};

}  // namespace tmxact

#endif
