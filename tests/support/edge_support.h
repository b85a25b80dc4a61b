// Helpers of the tests that name one behaviour each. They use the public interface alone.
#ifndef TMXACTIONS_TESTS_SUPPORT_EDGE_SUPPORT_H
#define TMXACTIONS_TESTS_SUPPORT_EDGE_SUPPORT_H

#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iomanip>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace edge {

// ---- Texts --------------------------------------------------------------------------------------

using WText = std::basic_string<TmxWChar>;

// Wide text of the interface's own character type, the same literal on every system.
inline WText W(std::u16string_view text) { return WText(text.begin(), text.end()); }

// ASCII text unit by unit, embedded zeros included.
inline WText widen(std::string_view ascii) {
    WText wide;
    for (const char c : ascii) wide.push_back(static_cast<TmxWChar>(static_cast<unsigned char>(c)));
    return wide;
}

inline bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 128; });
}

// ---- Handles ------------------------------------------------------------------------------------

// Every test gives back the objects that it made.
class EdgeTest : public ::testing::Test {
  protected:
    void SetUp() override { openAtStart_ = TmxAct_GetNumberOfOpenHandles(); }
    void TearDown() override { EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), openAtStart_); }
    [[nodiscard]] uint32_t openSinceStart() const {
        return TmxAct_GetNumberOfOpenHandles() - openAtStart_;
    }

  private:
    uint32_t openAtStart_ = 0;
};

// Owns one reference.
class Handle {
  public:
    Handle() = default;
    explicit Handle(TmxHandle handle) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) {
            close();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { close(); }

    [[nodiscard]] TmxHandle get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    TmxHandle release() { return std::exchange(handle_, nullptr); }
    void close() {
        if (handle_ != nullptr) {
            EXPECT_TRUE(TmxAct_CloseHandle(std::exchange(handle_, nullptr)));
        }
    }

  private:
    TmxHandle handle_ = nullptr;
};

// ---- Last errors --------------------------------------------------------------------------------

struct Error {
    uint32_t code = 0;
    uint32_t subcode = 0;
    std::string exceptionClass;
    std::string message;
    WText messageW;
    std::string details;
    bool operator==(const Error&) const = default;
};

inline void PrintTo(const Error& error, std::ostream* out) {
    *out << "{code " << error.code << ", subcode " << error.subcode << ", \""
         << error.exceptionClass << "\", \"" << error.message << "\", wide of "
         << error.messageW.size() << " units, details \"" << error.details << "\"}";
}

inline std::optional<Error> lastError() {
    TmxErrorInfo info;
    if (!TmxAct_GetLastError(&info)) return std::nullopt;
    return Error{info.code,    info.subcode,  info.exceptionClass,
                 info.message, info.messageW, info.details};
}

// Both forms of the message are ASCII in these.
inline Error errorOf(uint32_t code, uint32_t subcode, const std::string& exceptionClass,
                     const std::string& message) {
    return Error{code, subcode, exceptionClass, message, widen(message), ""};
}
inline Error actionsError(uint32_t subcode, const std::string& message) {
    return errorOf(1008, subcode, "class TmxPLC::TmxPLCException", message);
}
inline Error tooSmall() { return actionsError(7, "buffer too small"); }
inline Error wrongDecode() { return actionsError(3, "Wrong decode method"); }
inline Error dateTimeError(uint32_t subcode, const std::string& message) {
    return errorOf(5, subcode, "class Zinc::EZincDateTime", message);
}
inline Error guidError(const std::string& text) {
    return errorOf(0, 0, "class Zinc::GuidConversionException",
                   "Conversion of guid '" + text + "' failed.");
}
inline Error noCatalogueRecord() {
    return errorOf(0, 0, "class Zinc::ZincException", "The generic action has no catalogue record");
}
inline Error noCalendarDate() {
    return errorOf(2, 87, "class Zinc::SystemException",
                   "Unknown system error [ErrorCode #87] in struct _SYSTEMTIME __cdecl "
                   "Zinc::FileTimeToSystemTime(const struct _FILETIME &)");
}

// ---- Values -------------------------------------------------------------------------------------

// The texts must live as long as the records.
inline TmxObjectRef ref(int64_t id, int32_t number, const TmxWChar* name = nullptr) {
    return TmxObjectRef{id, name, number, 0};
}

inline TmxGuid guidOf(uint32_t a, uint16_t b, uint16_t c, std::initializer_list<int> rest) {
    TmxGuid guid{a, b, c, {}};
    std::size_t place = 0;
    for (const int byte : rest) guid.Data4[place++] = static_cast<uint8_t>(byte);
    return guid;
}
// 00112233-4455-6677-8899-aabbccddeeff
inline TmxGuid countingGuid() {
    return guidOf(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff});
}
// baa41e7c-9328-427e-943d-a66b44ef2fdb, shown as the rest of time.
inline TmxGuid restOfTimeGuid() {
    return guidOf(0xbaa41e7c, 0x9328, 0x427e, {0x94, 0x3d, 0xa6, 0x6b, 0x44, 0xef, 0x2f, 0xdb});
}
inline bool sameGuid(const TmxGuid& a, const TmxGuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Milliseconds since 1601-01-01 of a clock time.
inline int64_t millisecondsOf(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                              int second = 0, int millisecond = 0) {
    using namespace std::chrono;
    const sys_days start = std::chrono::year{1601} / 1 / 1;
    const sys_days date =
        std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day};
    return ((static_cast<int64_t>((date - start).count()) * 24 + hour) * 60 + minute) * 60000 +
           second * 1000 + millisecond;
}
// An instant and its bias in minutes.
inline TmxDateTime instant(int64_t utcMilliseconds, int bias) {
    return TmxDateTime{static_cast<uint64_t>(utcMilliseconds) |
                       static_cast<uint64_t>(static_cast<uint16_t>(bias)) << 48};
}
// A clock time in a zone.
inline TmxDateTime localTime(int64_t localMilliseconds, int bias) {
    return instant(localMilliseconds + int64_t{bias} * 60000, bias);
}

// ---- Text form ----------------------------------------------------------------------------------

constexpr uint32_t kUnset = 0xABCD1234u;
constexpr uint32_t kAny = TMX_ANY_MESSAGE_CLASS;

inline bool storeText(TmxHandle h, char* buffer, uint32_t size, bool display, bool utf8,
                      uint32_t* written) {
    return TmxAct_StoreToTextBufferA(h, buffer, size, display, utf8, written);
}
inline bool storeText(TmxHandle h, TmxWChar* buffer, uint32_t size, bool display, bool utf8,
                      uint32_t* written) {
    return TmxAct_StoreToTextBufferW(h, buffer, size, display, utf8, written);
}

// Stores as callers do: measure with no buffer, then fill one of exactly that size.
template <typename Char>
std::basic_string<Char> storedText(TmxHandle handle, bool display, bool utf8) {
    uint32_t needed = kUnset;
    EXPECT_FALSE(storeText(handle, static_cast<Char*>(nullptr), 0, display, utf8, &needed));
    EXPECT_EQ(lastError(), tooSmall());
    if (needed == kUnset || needed == 0) {
        ADD_FAILURE() << "no size reported";
        return {};
    }
    const auto buffer = std::make_unique<Char[]>(needed);
    uint32_t written = kUnset;
    EXPECT_TRUE(storeText(handle, buffer.get(), needed, display, utf8, &written));
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(written, needed);
    EXPECT_EQ(buffer[needed - 1], Char{0});
    return std::basic_string<Char>(buffer.get(), needed - 1);
}
inline std::string textA(TmxHandle h, bool display = false, bool utf8 = false) {
    return storedText<char>(h, display, utf8);
}
inline WText textW(TmxHandle h, bool display = false, bool utf8 = false) {
    return storedText<TmxWChar>(h, display, utf8);
}

// The twins agree wherever the text is ASCII.
inline std::string twinText(TmxHandle handle, bool display) {
    std::string narrow = textA(handle, display);
    if (isAscii(narrow)) {
        EXPECT_EQ(textW(handle, display), widen(narrow)) << narrow;
    }
    return narrow;
}
inline std::string machine(TmxHandle handle) { return twinText(handle, false); }
inline std::string machine(const Handle& handle) { return machine(handle.get()); }
inline std::string display(TmxHandle handle) { return twinText(handle, true); }
inline std::string display(const Handle& handle) { return display(handle.get()); }

struct Read {
    Handle handle;
    uint32_t consumed = kUnset;
    std::optional<Error> error;
};

inline Read readA(const std::string& text, uint32_t length = TMX_MEASURE_LENGTH,
                  uint32_t messageClass = kAny, bool utf8 = false) {
    Read read;
    read.handle = Handle(
        TmxAct_CreateFromTextBufferA(text.c_str(), length, messageClass, utf8, &read.consumed));
    read.error = lastError();
    return read;
}
inline Read readW(const WText& text, uint32_t length = TMX_MEASURE_LENGTH,
                  uint32_t messageClass = kAny, bool utf8 = false) {
    Read read;
    read.handle = Handle(
        TmxAct_CreateFromTextBufferW(text.c_str(), length, messageClass, utf8, &read.consumed));
    read.error = lastError();
    return read;
}

// Reads ASCII text with both twins, which must agree in everything.
inline Read read(const std::string& text, uint32_t length = TMX_MEASURE_LENGTH,
                 uint32_t messageClass = kAny) {
    Read narrow = readA(text, length, messageClass);
    const Read wide = readW(widen(text), length, messageClass);
    EXPECT_EQ(static_cast<bool>(narrow.handle), static_cast<bool>(wide.handle)) << text;
    EXPECT_EQ(narrow.consumed, wide.consumed) << text;
    EXPECT_EQ(narrow.error, wide.error) << text;
    if (narrow.handle && wide.handle) {
        EXPECT_EQ(textA(narrow.handle.get()), textA(wide.handle.get())) << text;
    }
    return narrow;
}

// Reads a whole text that must be taken.
inline Handle taken(const std::string& text) {
    Read result = read(text);
    EXPECT_TRUE(result.handle) << text;
    EXPECT_EQ(result.consumed, text.size()) << text;
    EXPECT_EQ(result.error, std::nullopt) << text;
    return std::move(result.handle);
}

// What the writer makes of a text that the reader took.
inline std::string rewritten(const std::string& text) {
    const Handle handle = taken(text);
    return handle ? machine(handle) : "(refused)";
}

// A text that is taken in part: the object as text, and the characters used.
inline void expectTaken(const std::string& text, uint32_t length, const std::string& expected,
                        uint32_t consumed) {
    const Read result = read(text, length);
    ASSERT_TRUE(result.handle) << text;
    EXPECT_EQ(machine(result.handle), expected) << text;
    EXPECT_EQ(result.consumed, consumed) << text;
    EXPECT_EQ(result.error, std::nullopt) << text;
}

// A text that is refused without a recorded error.
inline void expectRefused(const std::string& text, uint32_t consumed,
                          uint32_t length = TMX_MEASURE_LENGTH, uint32_t messageClass = kAny) {
    const Read result = read(text, length, messageClass);
    EXPECT_FALSE(result.handle) << text;
    EXPECT_EQ(result.consumed, consumed) << text;
    EXPECT_EQ(result.error, std::nullopt) << text;
}

// A text refused at the first character of `rest`, its own end.
inline void expectRefusedAt(const std::string& text, const std::string& rest) {
    ASSERT_TRUE(text.size() >= rest.size() &&
                text.compare(text.size() - rest.size(), rest.size(), rest) == 0)
        << text;
    expectRefused(text, static_cast<uint32_t>(rest.size()));
}

// A text that raises an exception: it leaves the count alone.
inline void expectRaised(const std::string& text, const Error& error) {
    const Read result = read(text);
    EXPECT_FALSE(result.handle) << text;
    EXPECT_EQ(result.consumed, kUnset) << text;
    EXPECT_EQ(result.error, error) << text;
}

// ---- Binary form --------------------------------------------------------------------------------

using Bytes = std::vector<uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Bytes from two-digit groups, such as "0F F0 00 00".
inline Bytes hex(const std::string& groups) {
    Bytes bytes;
    std::istringstream in(groups);
    for (std::string group; in >> group;) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(group, nullptr, 16)));
    }
    return bytes;
}

template <typename Number>
Bytes littleEndian(Number value) {
    Bytes bytes;
    auto rest = static_cast<std::make_unsigned_t<Number>>(value);
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        bytes.push_back(static_cast<uint8_t>(rest & 0xff));
        rest = static_cast<decltype(rest)>(static_cast<uint64_t>(rest) >> 8);
    }
    return bytes;
}
inline Bytes le32(uint32_t value) { return littleEndian(value); }
inline Bytes le64(uint64_t value) { return littleEndian(value); }

// Units without a count or a terminator.
inline Bytes units(std::u16string_view text) {
    Bytes bytes;
    for (const char16_t unit : text) {
        bytes = std::move(bytes) + littleEndian(static_cast<uint16_t>(unit));
    }
    return bytes;
}
inline Bytes wideField(std::u16string_view text) {
    return le32(static_cast<uint32_t>(text.size() + 1)) + units(text) + hex("00 00");
}
inline Bytes ansiField(std::string_view text) {
    return le32(static_cast<uint32_t>(text.size() + 1)) + Bytes(text.begin(), text.end()) +
           hex("00");
}
inline Bytes header(uint32_t messageClass, uint32_t code) {
    return le32(messageClass) + le32(code);
}
inline Bytes emptyBlock() { return hex("0F F0 00 00 00 00 00 00"); }

inline Bytes binary(TmxHandle handle) {
    uint32_t needed = kUnset;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle, nullptr, 0, &needed));
    EXPECT_EQ(lastError(), tooSmall());
    if (needed == kUnset) return {};
    Bytes bytes(needed);
    uint32_t written = kUnset;
    EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle, bytes.data(), needed, &written));
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(written, needed);
    return bytes;
}
inline Bytes binary(const Handle& handle) { return binary(handle.get()); }

struct BinRead {
    Handle handle;
    uint32_t used = kUnset;
};

// Reads from a block of exactly the given size, so that a checker sees a read beyond it.
inline BinRead fromBytes(const Bytes& bytes, uint32_t filter = kAny) {
    const auto block = std::make_unique<uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    BinRead read;
    read.handle = Handle(TmxAct_CreateFromBinBuffer(block.get(), static_cast<int32_t>(bytes.size()),
                                                    filter, &read.used));
    EXPECT_EQ(lastError(), std::nullopt);
    return read;
}

// Bytes that build an object: its machine text, and the bytes used.
inline void expectBuilt(const Bytes& bytes, const std::string& text, std::size_t used) {
    const BinRead result = fromBytes(bytes);
    ASSERT_TRUE(result.handle);
    EXPECT_EQ(machine(result.handle), text);
    EXPECT_EQ(result.used, static_cast<uint32_t>(used));
}

// Bytes that build nothing.
inline void expectNothing(const Bytes& bytes, uint32_t used, uint32_t filter = kAny) {
    const BinRead result = fromBytes(bytes, filter);
    EXPECT_FALSE(result.handle);
    EXPECT_EQ(result.used, used);
}

inline Bytes front(const Bytes& bytes, std::size_t size) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

// ---- Templates ----------------------------------------------------------------------------------

inline bool equal(const Handle& a, const Handle& b) {
    bool result = false;
    EXPECT_TRUE(TmxAct_Equal(a.get(), b.get(), &result));
    EXPECT_EQ(lastError(), std::nullopt);
    return result;
}

// The template in which all is set that the action has.
inline Handle templateOf(const Handle& action) {
    TmxHandle made = nullptr;
    EXPECT_TRUE(TmxAct_CreateMatchActionFromTemplate(action.get(), &made));
    EXPECT_EQ(lastError(), std::nullopt);
    return Handle(made);
}

inline bool matches(const Handle& match, const Handle& action) {
    bool result = false;
    if (!match || !action) {
        ADD_FAILURE() << "nothing to match";
        return false;
    }
    EXPECT_TRUE(TmxMatchAct_Matches(match.get(), action.get(), &result));
    EXPECT_EQ(lastError(), std::nullopt);
    bool again = !result;
    EXPECT_TRUE(TmxMatchAct_Matches(match.get(), action.get(), &again));
    EXPECT_EQ(result, again);
    return result;
}
// Both as texts.
inline bool matches(const std::string& match, const std::string& action) {
    return matches(taken(match), taken(action));
}

// The action that a template makes of a source, which may be none.
inline Handle made(const Handle& match, const Handle& source = Handle()) {
    TmxHandle action = nullptr;
    if (!match) return Handle();
    EXPECT_TRUE(TmxMatchAct_CreateActionFromTemplate(match.get(), source.get(), &action));
    EXPECT_EQ(lastError(), std::nullopt);
    return Handle(action);
}
// All as texts; an empty text is no source.
inline std::string made(const std::string& match, const std::string& source = "") {
    const Handle action = made(taken(match), source.empty() ? Handle() : taken(source));
    return action ? machine(action) : "(nothing)";
}

inline bool hasDescription(const Handle& match) {
    bool has = false;
    EXPECT_TRUE(TmxMatchAct_HasDescription(match.get(), &has));
    EXPECT_EQ(lastError(), std::nullopt);
    return has;
}
inline WText descriptionW(const Handle& match) {
    const TmxWChar* text = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &text));
    EXPECT_EQ(lastError(), std::nullopt);
    return text != nullptr ? WText(text) : W(u"(null)");
}
inline std::string descriptionA(const Handle& match) {
    const char* text = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionA(match.get(), &text));
    EXPECT_EQ(lastError(), std::nullopt);
    return text != nullptr ? std::string(text) : std::string("(null)");
}
inline void describe(const Handle& match, std::u16string_view text) {
    EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), W(text).c_str()));
    EXPECT_EQ(lastError(), std::nullopt);
}

// ---- Properties ---------------------------------------------------------------------------------

inline WText property(TmxHandle handle, std::u16string_view name) {
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(handle, W(name).c_str(), &value));
    return value != nullptr ? WText(value) : WText();
}
inline void setProperty(TmxHandle handle, std::u16string_view name, std::u16string_view value) {
    EXPECT_TRUE(TmxAct_SetProperty(handle, W(name).c_str(), W(value).c_str()));
}
inline WText properties(TmxHandle handle) {
    const TmxWChar* text = nullptr;
    EXPECT_TRUE(TmxAct_GetProperties(handle, &text));
    return text != nullptr ? WText(text) : WText();
}

}  // namespace edge

#endif
