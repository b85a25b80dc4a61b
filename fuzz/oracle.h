// What the fuzzers share: the facts of the actions, a strict walk of the binary form, and what must
// hold for every message and for every text that is read.
//
// The walk and the expectations share no code with the library. Where a form can't keep a value,
// the exception is a predicate of its own below, as narrow as it can be told from the value; for
// all else equality to the bit is asserted.
#ifndef TMX_FUZZ_ORACLE_H
#define TMX_FUZZ_ORACLE_H

#include <tmxactions/tmxactions.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tmxfuzz {

// Tells the broken expectation and ends the process by a signal, which is what a fuzzer looks for.
[[noreturn]] void Broken(const char* file, int line, const char* what);

#define TMX_HOLDS(condition)                                                 \
    do {                                                                     \
        if (!(condition)) ::tmxfuzz::Broken(__FILE__, __LINE__, #condition); \
    } while (false)

// ---- Buffers ------------------------------------------------------------------------------------

// Units on the heap and nothing behind them, so that the address sanitizer sees every access
// beyond.
template <typename T>
class Exact {
  public:
    explicit Exact(size_t size) : units_(new T[size]()), size_(size) {}
    Exact(const T* units, size_t size) : Exact(size) {
        for (size_t i = 0; i < size; ++i) units_[i] = units[i];
    }
    // With one terminating zero behind, which size() doesn't count.
    static Exact Terminated(std::basic_string_view<T> text) {
        Exact copy(text.size() + 1);
        for (size_t i = 0; i < text.size(); ++i) copy.units_[i] = text[i];
        copy.size_ = text.size();
        return copy;
    }
    T* data() { return units_.get(); }
    const T* data() const { return units_.get(); }
    size_t size() const { return size_; }

  private:
    std::unique_ptr<T[]> units_;
    size_t size_;
};

// Wide text out of a fuzzer's bytes: sequences of the shape of UTF-8 up to three bytes become one
// unit each, any other byte stands for itself. Every text of units can be written so, ill-formed
// ones too, and ASCII is itself, so that one dictionary serves both widths.
std::u16string UnitsFromBytes(std::string_view bytes);

// ---- Values -------------------------------------------------------------------------------------

struct SetEntry {
    std::array<int16_t, 4> words{};
    int32_t number = 0;
    std::u16string name;
    bool operator==(const SetEntry&) const = default;
};

// The value of a parameter of any type, as its bytes hold it; what the type doesn't use is zero.
struct Value {
    bool present = true;
    int64_t id = 0;      // Int64; the id of a reference
    int32_t number = 0;  // Int32, an enumeration value; the number of an ObjectRef
    uint64_t word = 0;   // a date-time; the bits of a double; a bool
    std::array<uint8_t, 16> guid{};
    std::array<int16_t, 4> words{};
    std::string narrow;
    std::u16string wide;  // WideText; the name of a reference; a data set's text
    std::vector<SetEntry> entries;
    bool operator==(const Value&) const = default;
};
using Values = std::vector<Value>;

struct Parameter {
    std::string name;
    uint32_t type;  // see TmxParamType
    bool optional;
};

// Of an action or of its template. A template's parameters are its description and then those of
// the action, all optional.
struct ActionFacts {
    uint32_t code;
    std::string name;
    std::vector<Parameter> parameters;
    bool isTemplate;
    // Appends the entries of each data set of an action, as its typed function gives them.
    void (*dataSets)(TmxHandle, std::vector<std::vector<SetEntry>>&);
};

// Null if there is no action of this code, or no such class of messages.
const ActionFacts* FindMessage(uint32_t messageClass, uint32_t code);

// ---- Bytes --------------------------------------------------------------------------------------

using Bytes = std::vector<uint8_t>;
using Properties = std::vector<std::pair<std::u16string, std::u16string>>;

struct Message {
    const ActionFacts* action = nullptr;
    Values values;
    std::vector<size_t> ends;  // behind each parameter
    size_t parametersEnd = 0;
    Properties properties;
};

// Reads a message's bytes as the library writes them and in no other way: a flag or a bool of 0 or
// 1, every text with its terminator, of an action the property block with each name once, nothing
// behind it.
std::optional<Message> Walk(const Bytes& bytes);

// Reads a message's parameters as the library's reader must: any byte but 0 is a set flag, a text's
// last unit is passed over unread, a count of 0 is an empty text, and an optional parameter at the
// very end is absent. Nothing if they aren't there whole.
struct Parameters {
    const ActionFacts* action;
    Values values;
    std::vector<size_t> ends;
    size_t end;
};
std::optional<Parameters> WalkAsReader(const Bytes& bytes);

// The values of a live message: its bytes, with the data sets' entries besides.
Message ValuesOf(TmxHandle handle);

// Stores a message as bytes into a buffer of exactly the size that it reports, and sees it refused
// with none at all and with one byte less.
Bytes StoreBytes(TmxHandle handle);

// ---- Texts --------------------------------------------------------------------------------------

struct Form {
    bool wide;
    bool utf8;
};

// What becomes of a value, or of a message, that is written as machine text and read back.
enum class Fate {
    Kept,     // reads back; a changed value is told
    Refused,  // the reader makes no handle and records nothing
    Raised,   // the reader makes no handle and records an error
    Open,     // what is read depends on what stands in the text
};

// The exceptions, each for a value that has a text. Those that change the value leave in it what
// reads back.
Fate NumberThroughText(int64_t value, int64_t smallest);
Fate DoubleThroughText(uint64_t& bits);
Fate DateThroughText(uint64_t& word);
// any: the reader's text can't be told from here.
Fate WideTextThroughText(std::u16string& text, Form form, bool& any);
Fate AnsiTextThroughText(std::string& text, Form form);

// A date-time whose local clock time falls below 1601 has no text: the writers raise.
bool HasNoText(uint64_t dateTime);

// An absent optional parameter whose name begins the name of the next one that is written: the
// reader takes the longer name for the absent one, and misses the colon.
bool IsTakenForAbsent(const Message& message, size_t absent);

// ---- What must hold -----------------------------------------------------------------------------

// For every message: its bytes and all its texts, exact and one short, and what reading them gives.
// A template matches and equals what it should, and makes its action.
void CheckMessage(TmxHandle handle);

// For the bytes of a message of one class, or of what is none, and what reading them gives.
void CheckBytes(const uint8_t* data, size_t size, uint32_t messageClass);

struct TextInput {
    bool utf8;
    uint32_t length;  // as handed to the library
    uint32_t messageClass;
};

// For a text and what reading it gives. text is zero-terminated behind its size.
void CheckText(const Exact<char>& text, TextInput input);
void CheckText(const Exact<TmxWChar>& text, TextInput input);

// How a text fuzzer's first byte tells the flags and the length.
TextInput InputFrom(uint8_t control, size_t size, uint32_t messageClass);

// Sees at its end that no message object was left behind.
class NothingLeftOpen {
  public:
    NothingLeftOpen() : before_(TmxAct_GetNumberOfOpenHandles()) {}
    ~NothingLeftOpen() { TMX_HOLDS(TmxAct_GetNumberOfOpenHandles() == before_); }
    NothingLeftOpen(const NothingLeftOpen&) = delete;
    NothingLeftOpen& operator=(const NothingLeftOpen&) = delete;

  private:
    uint32_t before_;
};

// A handle that is given back.
class Owned {
  public:
    explicit Owned(TmxHandle handle) : handle_(handle) {}
    ~Owned() {
        if (handle_ != nullptr) TMX_HOLDS(TmxAct_CloseHandle(handle_));
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    TmxHandle get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

  private:
    TmxHandle handle_;
};

// The thread's last error; nothing if the last call had none.
struct Failure {
    uint32_t code;
    uint32_t subcode;
    std::string exceptionClass;
    bool operator==(const Failure&) const = default;
};
std::optional<Failure> LastFailure();

// ---- Calendar -----------------------------------------------------------------------------------

constexpr int64_t kMillisecondsPerDay = 86400000;

// Days from 1601-01-01 to a date of the Gregorian calendar.
constexpr int64_t DaysFrom1601(int64_t year, int month, int day) {
    // Years begin in March here, so that the leap day is the last one.
    const int64_t shifted = month > 2 ? year : year - 1;
    const int64_t monthFromMarch = (month + 9) % 12;
    const auto count = [](int64_t y) { return y * 365 + y / 4 - y / 100 + y / 400; };
    // 1601-01-01 is day 306 of the year that began in March 1600.
    return count(shifted) - count(1600) + (monthFromMarch * 153 + 2) / 5 + day - 1 - 306;
}
static_assert(DaysFrom1601(1601, 1, 1) == 0);
static_assert(DaysFrom1601(1970, 1, 1) == 134774);
static_assert(DaysFrom1601(2000, 3, 1) - DaysFrom1601(2000, 2, 28) == 2);

constexpr int16_t BiasOf(uint64_t dateTime) { return static_cast<int16_t>(dateTime >> 48); }
constexpr int64_t UtcOf(uint64_t dateTime) {
    return static_cast<int64_t>(dateTime & 0xFFFFFFFFFFFF);
}
constexpr int64_t LocalOf(uint64_t dateTime) {
    return UtcOf(dateTime) - int64_t{BiasOf(dateTime)} * 60000;
}
constexpr uint64_t DateTimeFrom(int64_t utc, int16_t bias) {
    return static_cast<uint64_t>(utc) | uint64_t{static_cast<uint16_t>(bias)} << 48;
}

}  // namespace tmxfuzz

// One input; every fuzzer defines it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#endif
