// JSON on its way into a text. RapidJSON writes it; here stands what actions need beside: wide and
// narrow texts of any content, numbers that aren't finite, 64-bit integers as strings.
#ifndef TMXACT_JSON_TEXT_H
#define TMXACT_JSON_TEXT_H

// RapidJSON counts in 32 bits unless told otherwise; the room for a long text, six bytes for each
// of its units, takes more.
#define RAPIDJSON_NO_SIZETYPEDEFINE
#include <cstddef>
namespace rapidjson {
using SizeType = std::size_t;
}

#include <rapidjson/encodings.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <tmxactions/types.h>

#include <cstdint>
#include <string_view>

namespace tmxact {

// RapidJSON's memory. Its own allocator doesn't look whether there is any left.
class JsonMemory {
  public:
    static constexpr bool kNeedFree = true;

    void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }
    void* Realloc(void* block, std::size_t oldSize, std::size_t size);  // throws std::bad_alloc
    static void Free(void* block) noexcept;
};

// UTF-8 as a line of text takes it: other control characters than RapidJSON escapes anyway, line
// separators and surrogates are escaped too.
struct LineUtf8 : rapidjson::UTF8<> {
    template <typename Stream>
    static void EncodeUnsafe(Stream& out, unsigned codePoint);
};

class JsonText {
  public:
    explicit JsonText(bool int64AsString) : writer_(buffer_), int64AsString_(int64AsString) {}

    // The value that was put, an object mostly; valid until the next call.
    std::string_view Text() const { return {buffer_.GetString(), buffer_.GetSize()}; }
    void Clear();

    void StartObject() { writer_.StartObject(); }
    void EndObject() { writer_.EndObject(); }
    void StartArray() { writer_.StartArray(); }
    void EndArray() { writer_.EndArray(); }
    void Key(std::string_view name);  // well-formed UTF-8

    void Number(std::int64_t value) { writer_.Int64(value); }
    void Int64(std::int64_t value);  // as a string if so constructed
    void Bool(bool value) { writer_.Bool(value); }
    // The shortest text that reads back; "NaN", "Infinity" and "-Infinity" as strings.
    void Double(double value);
    void Utf8(std::string_view text);  // ill-formed bytes become U+FFFD
    // Zero-terminated UTF-16, a key or a value; unpaired surrogates are escaped.
    void Wide(const TmxWChar* text);
    // From the ANSI code page, unless it is well-formed UTF-8 beyond ASCII and mayBeUtf8.
    void Narrow(const char* text, bool mayBeUtf8);
    void DateTime(TmxDateTime value);
    void Guid(const TmxGuid& value);

  private:
    using Buffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, JsonMemory>;
    template <typename Source>
    using Writer = rapidjson::Writer<Buffer, Source, LineUtf8, JsonMemory>;

    template <typename Source>
    void StringFrom(const typename Source::Ch* text, std::size_t length);

    Buffer buffer_;
    Writer<rapidjson::UTF8<>> writer_;
    bool int64AsString_;
};

}  // namespace tmxact

#endif
