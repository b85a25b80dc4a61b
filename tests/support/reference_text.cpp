#include "support/reference_text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <type_traits>

#include "support/reference_encoding.h"

namespace tmxtest {

namespace {

// ---- Calendar ----------------------------------------------------------------------------------

struct Calendar {
    int year = 1601;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

bool IsLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysOfMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

constexpr int64_t kMillisecondsOfDay = 86400000;
constexpr uint64_t kMillisecondsMask = 0xFFFFFFFFFFFF;

Calendar FromMilliseconds(int64_t milliseconds) {
    Calendar calendar;
    int64_t days = milliseconds / kMillisecondsOfDay;
    int64_t rest = milliseconds % kMillisecondsOfDay;
    calendar.millisecond = static_cast<int>(rest % 1000);
    rest /= 1000;
    calendar.second = static_cast<int>(rest % 60);
    rest /= 60;
    calendar.minute = static_cast<int>(rest % 60);
    calendar.hour = static_cast<int>(rest / 60);
    // 400 years have always the same number of days.
    calendar.year += static_cast<int>(days / 146097 * 400);
    days %= 146097;
    while (days >= (IsLeap(calendar.year) ? 366 : 365)) {
        days -= IsLeap(calendar.year) ? 366 : 365;
        ++calendar.year;
    }
    while (days >= DaysOfMonth(calendar.year, calendar.month)) {
        days -= DaysOfMonth(calendar.year, calendar.month);
        ++calendar.month;
    }
    calendar.day += static_cast<int>(days);
    return calendar;
}

int64_t ToMilliseconds(const Calendar& calendar) {
    int64_t days = 0;
    for (int year = 1601; year < calendar.year; ++year) days += IsLeap(year) ? 366 : 365;
    for (int month = 1; month < calendar.month; ++month) {
        days += DaysOfMonth(calendar.year, month);
    }
    days += calendar.day - 1;
    return days * kMillisecondsOfDay + calendar.hour * int64_t{3600000} +
           calendar.minute * int64_t{60000} + calendar.second * int64_t{1000} +
           calendar.millisecond;
}

int BiasOf(uint64_t value) { return static_cast<int16_t>(value >> 48); }

// The clock time of the value's place; nothing where it lies before 1601.
std::optional<Calendar> LocalTime(uint64_t value) {
    const int64_t local =
        static_cast<int64_t>(value & kMillisecondsMask) - BiasOf(value) * int64_t{60000};
    if (local < 0) return std::nullopt;
    return FromMilliseconds(local);
}

std::string MachineTime(const Calendar& c, int bias) {
    char text[80];
    const int amount = bias > 0 ? bias : -bias;
    std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d:%02d,%03d GMT%c%02d:%02d", c.year,
                  c.month, c.day, c.hour, c.minute, c.second, c.millisecond, bias > 0 ? '-' : '+',
                  amount / 60, amount % 60);
    return text;
}

std::string DisplayTime(const Calendar& c) {
    std::tm time{};
    time.tm_year = c.year - 1900;
    time.tm_mon = c.month - 1;
    time.tm_mday = c.day;
    time.tm_hour = c.hour;
    time.tm_min = c.minute;
    time.tm_sec = c.second;
    const int64_t days = ToMilliseconds(c) / kMillisecondsOfDay;
    time.tm_wday = static_cast<int>((days + 1) % 7);
    // The form of the environment's locale, as the system prints it.
    std::locale locale = std::locale::classic();
    try {
        locale = std::locale(locale, "", std::locale::time);
    } catch (const std::runtime_error&) {
        // The environment names a locale that isn't there.
    }
    std::ostringstream stream;
    stream.imbue(locale);
    stream << std::put_time(&time, "%x %X");
    return stream.str();
}

// ---- Writer ------------------------------------------------------------------------------------

template <typename Integer>
std::string Number(Integer value) {
    // The digits are made from the back while the quotient is positive: the smallest value of a
    // width stays negative and ends after one "digit".
    bool negative = value < 0;
    if (negative && value == std::numeric_limits<Integer>::min()) return "-(";
    uint64_t amount = negative ? 0 - static_cast<uint64_t>(static_cast<int64_t>(value))
                               : static_cast<uint64_t>(value);
    std::string text = std::to_string(amount);
    return negative ? "-" + text : text;
}

std::string GeneralNumber(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const bool negative = (bits >> 63) != 0;
    if ((bits & 0x7FF0000000000000) == 0x7FF0000000000000) {
        const bool infinite = (bits & 0xFFFFFFFFFFFFF) == 0;
        if (infinite) return negative ? "-1.#INF" : "1.#INF";
        return negative ? "-1.#IND" : "1.#QNAN";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", value);
    std::string number = text;
    const size_t at = number.find('e');
    if (at != std::string::npos && number.size() - at - 2 < 3) number.insert(at + 2, 1, '0');
    return number;
}

std::string GuidText(const TmxGuid& g) {
    char text[40];
    std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", g.Data1,
                  g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4],
                  g.Data4[5], g.Data4[6], g.Data4[7]);
    return text;
}

bool IsNull(const TmxGuid& guid) { return guid == TmxGuid{}; }

constexpr TmxGuid kRestOfTime = {
    0xbaa41e7c, 0x9328, 0x427e, {0x94, 0x3d, 0xa6, 0x6b, 0x44, 0xef, 0x2f, 0xdb}};
constexpr uint32_t kBoolNames = 5;
constexpr uint32_t kRestOfTimeNames = 60;

template <typename Char>
class Writer {
  public:
    using String = std::basic_string<Char>;

    Writer(bool display, bool utf8) : display_(display), utf8_(utf8) {}

    // Returns false where a date-time has no calendar date.
    bool Write(const Message& message) {
        if (message.isTemplate && !display_) Ascii("@ ");
        Ascii(message.action->name);
        if (!display_) Ascii(" (");
        // In the display form the first value has its "; Name: " too.
        previous_ = display_;
        if (message.description && !display_) {
            named_ = true;
            WriteValue(DescriptionFacts(), *message.description);
            previous_ = true;
        }
        for (size_t i = 0; i < message.values.size(); ++i) {
            const ParameterFacts parameter = FactsIn(message, i);
            Value value = message.values[i];
            if (!value.present) {
                if (parameter.optional) continue;
                value = {ZeroOf(parameter.type)};
            }
            named_ = parameter.optional && !display_;
            if (!WriteValue(parameter, value.data)) return false;
            previous_ = true;
        }
        if (!display_) Ascii(")");
        return true;
    }

    String text;

  private:
    void Ascii(std::string_view piece) { text.append(piece.begin(), piece.end()); }

    void Separate(const ParameterFacts& parameter) {
        if (display_) {
            Ascii("; " + parameter.name + ": ");
            return;
        }
        if (previous_) Ascii(", ");
        if (named_) Ascii(parameter.name + ": ");
    }

    void Wide(const WideString& value) {
        if constexpr (std::is_same_v<Char, char>) {
            text += ToNarrow(value, utf8_);
        } else {
            text += value;
        }
    }

    void Narrow(const std::string& value) {
        if constexpr (std::is_same_v<Char, char>) {
            text += value;
        } else {
            text += ToWide(value, utf8_);
        }
    }

    void Quoted(const WideString& value) {
        Ascii("\"");
        Wide(value);
        Ascii("\"");
    }

    // The plain text of an enumeration value; false if it has none.
    bool EnumName(uint32_t enumId, int32_t value) {
        TmxEnumValueInfo info{};
        if (!TmxAct_GetEnumValueInfo(&info, enumId, static_cast<uint32_t>(value))) return false;
        Ascii(info.name);
        return true;
    }

    bool WriteValue(const ParameterFacts& parameter, const Datum& data) {
        switch (parameter.type) {
            case Type::Enum: {
                const int32_t number = std::get<int32_t>(data);
                TmxEnumValueInfo info{};
                if (display_ && TmxAct_GetEnumValueInfo(&info, parameter.enumId,
                                                        static_cast<uint32_t>(number))) {
                    Ascii("; ");
                    Ascii(info.name);
                    return true;
                }
                Separate(parameter);
                Ascii(Number(number));
                return true;
            }
            case Type::GuidRef: {
                const auto& value = std::get<GuidRef>(data);
                if (display_) {
                    if (value.guid == kRestOfTime) {
                        Ascii("; ");
                        return EnumName(kRestOfTimeNames, 0);
                    }
                    Separate(parameter);
                    if (value.name.empty()) {
                        Ascii("\"" + GuidText(value.guid) + "\"");
                    } else {
                        Quoted(value.name);
                    }
                    return true;
                }
                Separate(parameter);
                if (IsNull(value.guid)) {
                    Quoted(value.name);
                } else {
                    Ascii("{ \"" + GuidText(value.guid) + "\", ");
                    Quoted(value.name);
                    Ascii(" }");
                }
                return true;
            }
            default:
                break;
        }
        Separate(parameter);
        switch (parameter.type) {
            case Type::Int32:
                Ascii(Number(std::get<int32_t>(data)));
                break;
            case Type::Int64:
                Ascii(Number(std::get<int64_t>(data)));
                break;
            case Type::Double:
                Ascii(GeneralNumber(std::get<double>(data)));
                break;
            case Type::Bool: {
                const bool value = std::get<bool>(data);
                if (!display_ || !EnumName(kBoolNames, value ? 1 : 0)) Ascii(value ? "1" : "0");
                break;
            }
            case Type::DateTime: {
                const uint64_t value = std::get<DateTime>(data).value;
                const auto local = LocalTime(value);
                if (!local) return false;
                Ascii("\"");
                Ascii(display_ ? DisplayTime(*local) : MachineTime(*local, BiasOf(value)));
                Ascii("\"");
                break;
            }
            case Type::AnsiText:
                Ascii("\"");
                Narrow(std::get<std::string>(data));
                Ascii("\"");
                break;
            case Type::WideText:
                Quoted(std::get<WideString>(data));
                break;
            case Type::Guid:
                Ascii("\"" + GuidText(std::get<TmxGuid>(data)) + "\"");
                break;
            case Type::NamedId: {
                const auto& value = std::get<NamedId>(data);
                if (display_) {
                    if (value.name.empty()) {
                        Ascii(Number(value.id));
                    } else {
                        Quoted(value.name);
                    }
                } else if (value.id == 0) {
                    Quoted(value.name);
                } else {
                    Ascii("{ " + Number(value.id) + ", ");
                    Quoted(value.name);
                    Ascii(" }");
                }
                break;
            }
            case Type::ObjectRef: {
                const auto& value = std::get<ObjectRef>(data);
                if (display_) {
                    if (!value.name.empty()) {
                        Wide(value.name);
                        Ascii(" (" + Number(value.number) + ")");
                    } else if (value.number != 0) {
                        Ascii(Number(value.number));
                    } else {
                        Ascii("#: " + Number(value.id));
                    }
                } else if (value.id == 0 && value.name.empty()) {
                    Ascii(Number(value.number));
                } else {
                    Ascii("{ " + Number(value.id) + ", " + Number(value.number) + ", ");
                    Quoted(value.name);
                    Ascii(" }");
                }
                break;
            }
            case Type::Rect: {
                const auto& value = std::get<TmxRect>(data);
                Ascii("{ " + Words(value.words) + " }");
                break;
            }
            case Type::DataSet: {
                Ascii("{");
                bool first = true;
                for (const DataSetEntry& entry : std::get<DataSet>(data)) {
                    if (!first) Ascii(", ");
                    first = false;
                    Ascii("{ " + Words(entry.words.data()) + ", " +
                          std::to_string(static_cast<uint32_t>(entry.number)) + ", ");
                    Quoted(entry.name);
                    Ascii(" }");
                }
                Ascii("}");
                break;
            }
            default:
                std::abort();
        }
        return true;
    }

    static std::string Words(const int16_t* words) {
        return Number(words[0]) + ", " + Number(words[1]) + ", " + Number(words[2]) + ", " +
               Number(words[3]);
    }

    bool display_;
    bool utf8_;
    bool previous_ = false;
    bool named_ = false;
};

// ---- Reader ------------------------------------------------------------------------------------

// A failure that is recorded with a text, and ends the reading at once.
struct Raised {
    uint32_t code;
    uint32_t subcode;
    std::string message;
};

[[noreturn]] void RaiseDateTime(uint32_t subcode, std::string message) {
    throw Raised{TmxErrorCode_DateTime, subcode, std::move(message)};
}

// The date-time and zone between two quotes.
class TimeParser {
  public:
    explicit TimeParser(const WideString& text) : text_(text) {}

    uint64_t Parse() {
        Calendar c;
        SkipBlanks();
        c.year = Part(4, 1601, 9999, TmxDateTimeError_Year, "year");
        Expect(TMX_W('/'));
        c.month = Part(2, 1, 12, TmxDateTimeError_Month, "month");
        Expect(TMX_W('/'));
        c.day = Part(2, 1, DaysOfMonth(c.year, c.month), TmxDateTimeError_Day, "day");
        if (Here() != TMX_W('\0')) {
            Expect(TMX_W(' '));
            SkipBlanks();
            if (IsDigit(Here())) Clock(&c);
        }
        const int bias = Zone();
        const int64_t milliseconds = ToMilliseconds(c) + bias * int64_t{60000};
        if (milliseconds < 0) {
            RaiseDateTime(TmxDateTimeError_Range,
                          "SetUTCMilliseconds(): Internal milliseconds underflow. A year below "
                          "1601 is not supported.");
        }
        return static_cast<uint64_t>(milliseconds) |
               static_cast<uint64_t>(static_cast<uint16_t>(bias)) << 48;
    }

  private:
    static bool IsDigit(TmxWChar c) { return c >= TMX_W('0') && c <= TMX_W('9'); }

    TmxWChar Here() const { return at_ < text_.size() ? text_[at_] : TMX_W('\0'); }

    void SkipBlanks() {
        while (Here() == TMX_W(' ')) ++at_;
    }

    void Clock(Calendar* c) {
        c->hour = Part(2, 0, 23, TmxDateTimeError_Hour, "hour");
        Expect(TMX_W(':'));
        c->minute = Part(2, 0, 59, TmxDateTimeError_Minute, "minute");
        if (Here() != TMX_W(':')) return;
        ++at_;
        c->second = Part(2, 0, 59, TmxDateTimeError_Second, "second");
        if (Here() != TMX_W(',')) return;
        ++at_;
        c->millisecond = Part(3, 0, 999, TmxDateTimeError_Millisecond, "millisecond");
    }

    int Zone() {
        SkipBlanks();
        std::string word;
        for (size_t i = at_; i < at_ + 3 && i < text_.size(); ++i) {
            TmxWChar c = text_[i];
            if (c >= TMX_W('a') && c <= TMX_W('z'))
                c = static_cast<TmxWChar>(c - TMX_W('a') + TMX_W('A'));
            word += c < 0x80 ? static_cast<char>(c) : '?';
        }
        if (word != "GMT" && word != "UTC") {
            RaiseDateTime(TmxDateTimeError_ExpectedZone,
                          "UTC or GMT in date/time string expected.");
        }
        at_ += 3;
        SkipBlanks();
        bool west = false;
        if (Here() == TMX_W('+') || Here() == TMX_W('-')) {
            west = Here() == TMX_W('-');
            ++at_;
        }
        SkipBlanks();
        const int hours = Part(2, 0, 14, TmxDateTimeError_Hour, "hour");
        Expect(TMX_W(':'));
        const int minutes = Part(2, 0, 59, TmxDateTimeError_Minute, "minute");
        SkipBlanks();
        if (Here() != TMX_W('\0')) {
            RaiseDateTime(TmxDateTimeError_ExpectedEnd, "End of date/time string or expected.");
        }
        // East of Greenwich the minutes are added, though they would have to be subtracted.
        return west ? hours * 60 + minutes : minutes - hours * 60;
    }

    int Part(int maxDigits, int low, int high, uint32_t subcode, const char* name) {
        int value = 0;
        int digits = 0;
        while (digits < maxDigits && IsDigit(Here())) {
            value = value * 10 + (Here() - TMX_W('0'));
            ++digits;
            ++at_;
        }
        if (digits == 0 || value < low || value > high) {
            char message[160];
            std::snprintf(message, sizeof message,
                          "Invalid %s part in date/time string. Expected a number from %d to %d.",
                          name, low, high);
            RaiseDateTime(subcode, message);
        }
        return value;
    }

    void Expect(TmxWChar c) {
        if (Here() != c) {
            RaiseDateTime(TmxDateTimeError_ExpectedCharacter,
                          std::string("'") + static_cast<char>(c) + "' expected.");
        }
        ++at_;
    }

    const WideString& text_;
    size_t at_ = 0;
};

TmxGuid ParseGuid(const std::string& text) {
    const auto fail = [&]() {
        throw Raised{TmxErrorCode_Other, 0, "Conversion of guid '" + text + "' failed."};
    };
    size_t at = 0;
    const bool braced = !text.empty() && text[0] == '{';
    if (braced) at = 1;
    uint8_t bytes[16];
    static constexpr int kPairsBeforeDash[] = {4, 6, 8, 10};
    for (int pair = 0; pair < 16; ++pair) {
        for (int dash : kPairsBeforeDash) {
            if (dash != pair) continue;
            if (at >= text.size() || text[at] != '-') fail();
            ++at;
        }
        unsigned value = 0;
        for (int digit = 0; digit < 2; ++digit, ++at) {
            const char c = at < text.size() ? text[at] : '\0';
            if (c >= '0' && c <= '9') {
                value = value * 16 + static_cast<unsigned>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                value = value * 16 + static_cast<unsigned>(c - 'a' + 10);
            } else if (c >= 'A' && c <= 'F') {
                value = value * 16 + static_cast<unsigned>(c - 'A' + 10);
            } else {
                fail();
            }
        }
        bytes[pair] = static_cast<uint8_t>(value);
    }
    if (braced && (at >= text.size() || text[at] != '}')) fail();
    TmxGuid guid{};
    guid.Data1 = static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
                 static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
    guid.Data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
    std::memcpy(guid.Data4, bytes + 8, 8);
    return guid;
}

char Folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

template <typename Char>
class Reader {
  public:
    using String = std::basic_string<Char>;

    Reader(const String& text, uint32_t length, bool utf8, uint32_t messageClass)
        : text_(text),
          length_(length),
          remaining_(static_cast<int32_t>(length)),
          utf8_(utf8),
          messageClass_(messageClass) {}

    TextReading Read() {
        TextReading reading;
        try {
            ReadMessage(&reading);
            if (errorRemaining_ != 0) reading.action = nullptr;
        } catch (const Raised& raised) {
            static_cast<Message&>(reading) = Message();
            reading.errorCode = raised.code;
            reading.errorSubcode = raised.subcode;
            reading.errorMessage = raised.message;
            return reading;
        }
        reading.consumed = errorRemaining_ != 0 ? static_cast<uint32_t>(errorRemaining_)
                                                : length_ - static_cast<uint32_t>(remaining_);
        reading.consumedIsOpen = unseen_ && reading.action == nullptr && errorRemaining_ < 0;
        if (reading.action == nullptr) static_cast<Message&>(reading) = Message();
        return reading;
    }

  private:
    // The unit at a place; a zero from the end on.
    uint32_t At(size_t place) const {
        return place < text_.size()
                   ? static_cast<uint32_t>(static_cast<std::make_unsigned_t<Char>>(text_[place]))
                   : 0u;
    }
    uint32_t Here() const { return At(cursor_); }

    void Consume(size_t count = 1) {
        cursor_ += count;
        remaining_ -= static_cast<int32_t>(count);
    }

    static bool IsWhite(uint32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    static bool IsDelimiter(uint32_t c) {
        return c == 0 || (c < 0x80 && std::strchr(" \t\n\r(){}\"',.;:", static_cast<int>(c)));
    }

    void Fail() {
        if (errorRemaining_ != 0) return;
        if (remaining_ == 0) unseen_ = true;
        errorRemaining_ = remaining_;
        remaining_ = -1;
    }

    void SkipWhite() {
        while (IsWhite(Here())) Consume();
    }

    // White space, and then something must remain.
    bool SkipToToken() {
        SkipWhite();
        if (remaining_ > 0) return true;
        Fail();
        return false;
    }

    void Paren(char paren) {
        if (errorRemaining_ == 0) {
            SkipWhite();
            if (remaining_ > 0 && Here() == static_cast<uint32_t>(paren)) {
                Consume();
                return;
            }
        }
        Fail();
    }

    bool ParamStart(const std::string* name) {
        if (errorRemaining_ != 0) {
            Fail();
            return false;
        }
        SkipWhite();
        if (remaining_ <= 0) {
            Fail();
            return false;
        }
        const size_t cursor = cursor_;
        const int32_t remaining = remaining_;
        if (previous_) {
            if (Here() != ',') {
                if (name == nullptr) Fail();
                return false;
            }
            Consume();
        }
        SkipWhite();
        if (remaining_ < 1) {
            Fail();
            return false;
        }
        if (name == nullptr) {
            previous_ = true;
            return true;
        }
        for (size_t i = 0; i < name->size(); ++i) {
            const uint32_t c = At(cursor_ + i);
            if (c >= 0x80 || Folded(static_cast<char>(c)) != Folded((*name)[i])) {
                cursor_ = cursor;
                remaining_ = remaining;
                return false;
            }
        }
        Consume(name->size());
        SkipWhite();
        if (remaining_ < 1 || Here() != ':') {
            Fail();
            return false;
        }
        previous_ = false;
        Consume();
        return true;
    }

    template <typename Unsigned>
    bool Number(Unsigned* target) {
        unsigned base = 10;
        bool negative = false;
        if (Here() == '-') {
            negative = true;
            Consume();
        } else if (Here() == '+') {
            Consume();
        } else if (Here() == '0' && (At(cursor_ + 1) == 'x' || At(cursor_ + 1) == 'X')) {
            base = 16;
            Consume(2);
        }
        *target = 0;
        while (remaining_ > 0) {
            const uint32_t c = Here();
            Consume();
            unsigned digit = 0;
            if (c >= '0' && c <= '9') {
                digit = c - '0';
            } else if (base == 16 && c >= 'a' && c <= 'f') {
                digit = c - 'a' + 10;
            } else if (base == 16 && c >= 'A' && c <= 'F') {
                digit = c - 'A' + 10;
            } else {
                if (!IsDelimiter(c)) {
                    Fail();
                    return false;
                }
                --cursor_;
                ++remaining_;
                break;
            }
            *target = static_cast<Unsigned>(*target * base + digit);
        }
        if (negative) *target = static_cast<Unsigned>(0 - *target);
        return true;
    }

    template <typename Signed>
    bool SignedNumber(Signed* target) {
        std::make_unsigned_t<Signed> value = 0;
        const bool good = Number(&value);
        *target = static_cast<Signed>(value);
        return good;
    }

    // The characters from behind an opening quote up to the closing one, which is consumed too.
    bool RestOfQuoted(String* value) {
        const size_t end = text_.find(static_cast<Char>('"'), cursor_);
        const size_t zero = text_.find(Char{0}, cursor_);
        if (end == String::npos || zero < end) return false;
        *value = text_.substr(cursor_, end - cursor_);
        Consume(value->size() + 1);
        return true;
    }

    // After a parameter start: the opening character may be any but a zero.
    bool LooseQuoted(String* value) {
        if (Here() == 0) {
            Fail();
            return false;
        }
        Consume();
        if (RestOfQuoted(value)) return true;
        Fail();
        return false;
    }

    bool StrictQuoted(String* value) {
        if (Here() != '"') {
            Fail();
            return false;
        }
        Consume();
        if (RestOfQuoted(value)) return true;
        Fail();
        return false;
    }

    bool Token(char c) {
        if (!SkipToToken()) return false;
        if (Here() != static_cast<uint32_t>(c)) {
            Fail();
            return false;
        }
        Consume();
        return true;
    }

    // A comma, and something behind it.
    bool Comma() { return Token(',') && SkipToToken(); }

    WideString AsWide(const String& value) const {
        if constexpr (std::is_same_v<Char, char>) {
            return ToWide(value, utf8_);
        } else {
            return value;
        }
    }

    std::string AsNarrow(const String& value) const {
        if constexpr (std::is_same_v<Char, char>) {
            return value;
        } else {
            return ToNarrow(value, utf8_);
        }
    }

    // Wide by the ANSI code page, whatever the flag says.
    static WideString AnsiWide(const String& value) {
        if constexpr (std::is_same_v<Char, char>) {
            return ToWide(value, false);
        } else {
            return value;
        }
    }

    static TmxGuid GuidOf(const String& value) {
        if constexpr (std::is_same_v<Char, char>) {
            return ParseGuid(value);
        } else {
            return ParseGuid(ToNarrow(value, false));
        }
    }

    bool Words(int16_t* words) {
        for (int i = 0; i < 4; ++i) {
            if (i != 0 && !Comma()) return false;
            if (!SignedNumber(&words[i])) return false;
        }
        return true;
    }

    double Double() {
        // A decimal number, wherever the length ends; the count alone is clipped.
        std::string number;
        size_t at = cursor_;
        size_t digits = 0;
        const auto digit = [&](size_t place) { return At(place) >= '0' && At(place) <= '9'; };
        const auto take = [&] { number += static_cast<char>(At(at++)); };
        if (At(at) == '+' || At(at) == '-') take();
        for (; digit(at); ++digits) take();
        if (At(at) == '.') {
            if (digits > 0 || digit(at + 1)) take();
            for (; digit(at); ++digits) take();
        }
        if (digits == 0) return 0.0;
        if (At(at) == 'e' || At(at) == 'E') {
            const size_t sign = At(at + 1) == '+' || At(at + 1) == '-' ? 1 : 0;
            if (digit(at + 1 + sign)) {
                take();
                if (sign != 0) take();
                while (digit(at)) take();
            }
        }
        size_t count = at - cursor_;
        if (remaining_ >= 0 && count > static_cast<size_t>(remaining_)) {
            count = static_cast<size_t>(remaining_);
        }
        Consume(count);
        return std::strtod(number.c_str(), nullptr);
    }

    void ReadValue(Type type, Datum* data) {
        if (!ParamStart(nullptr)) return;
        switch (type) {
            case Type::Int32:
            case Type::Enum:
                SignedNumber(&std::get<int32_t>(*data));
                break;
            case Type::Int64:
                SignedNumber(&std::get<int64_t>(*data));
                break;
            case Type::Bool: {
                uint8_t byte = 0;
                Number(&byte);
                *data = byte != 0;
                break;
            }
            case Type::Double:
                *data = Double();
                break;
            case Type::DateTime: {
                String value;
                if (StrictQuoted(&value)) *data = DateTime{TimeParser(AnsiWide(value)).Parse()};
                break;
            }
            case Type::AnsiText: {
                String value;
                if (LooseQuoted(&value)) *data = AsNarrow(value);
                break;
            }
            case Type::WideText: {
                String value;
                if (LooseQuoted(&value)) *data = AsWide(value);
                break;
            }
            case Type::Guid: {
                String value;
                if (LooseQuoted(&value)) *data = GuidOf(value);
                break;
            }
            case Type::NamedId:
                ReadNamedId(&std::get<NamedId>(*data));
                break;
            case Type::ObjectRef:
                ReadObjectRef(&std::get<ObjectRef>(*data));
                break;
            case Type::GuidRef:
                ReadGuidRef(&std::get<GuidRef>(*data));
                break;
            case Type::Rect:
                if (Here() != '{') {
                    Fail();
                    break;
                }
                Consume();
                if (SkipToToken() && Words(std::get<TmxRect>(*data).words)) Token('}');
                break;
            case Type::DataSet:
                ReadDataSet(&std::get<DataSet>(*data));
                break;
        }
    }

    void ReadNamedId(NamedId* value) {
        String name;
        if (Here() != '{') {
            if (LooseQuoted(&name)) value->name = AsWide(name);
            return;
        }
        Consume();
        if (!SkipToToken() || !SignedNumber(&value->id) || !Comma() || !StrictQuoted(&name)) return;
        value->name = AsWide(name);
        Token('}');
    }

    void ReadObjectRef(ObjectRef* value) {
        if (Here() != '{') {
            SignedNumber(&value->number);
            return;
        }
        String name;
        Consume();
        if (!SkipToToken() || !SignedNumber(&value->id) || !Comma() ||
            !SignedNumber(&value->number) || !Comma() || !StrictQuoted(&name)) {
            return;
        }
        value->name = AsWide(name);
        Token('}');
    }

    void ReadGuidRef(GuidRef* value) {
        String text;
        if (Here() != '{') {
            if (LooseQuoted(&text)) value->name = AsWide(text);
            return;
        }
        Consume();
        if (!SkipToToken()) return;
        if (Here() != '"') {
            Fail();
            return;
        }
        Consume();
        // Without a closing quote the comma test that follows decides.
        if (RestOfQuoted(&text)) value->guid = GuidOf(text);
        if (!Comma() || !StrictQuoted(&text)) return;
        value->name = AsWide(text);
        Token('}');
    }

    void ReadDataSet(DataSet* set) {
        if (Here() != '{') {
            Fail();
            return;
        }
        Consume();
        if (!SkipToToken()) return;
        while (Here() == '{') {
            Consume();
            DataSetEntry entry;
            String name;
            if (!SkipToToken() || !Words(entry.words.data()) || !Comma() ||
                !SignedNumber(&entry.number) || !Comma() || !StrictQuoted(&name) || !Token('}')) {
                return;
            }
            entry.name = AsWide(name);
            set->push_back(entry);
            if (!SkipToToken()) return;
            if (Here() == '}') {
                Consume();
                return;
            }
            if (Here() != ',') {
                Fail();
                return;
            }
            Consume();
            if (!SkipToToken()) return;
        }
    }

    const ActionFacts* Lookup(size_t length) const {
        for (const ActionFacts& action : AllActions()) {
            if (action.name.size() != length) continue;
            bool same = true;
            for (size_t i = 0; i < length && same; ++i) {
                const uint32_t c = At(cursor_ + i);
                same = c < 0x80 && Folded(static_cast<char>(c)) == Folded(action.name[i]);
            }
            if (same) return &action;
        }
        return nullptr;
    }

    // Leaves the action null where there is none of the name, or none of the class.
    void ReadMessage(Message* message) {
        SkipWhite();
        if (remaining_ < 1) {
            Fail();
            return;
        }
        if (Here() == '@') {
            Consume();
            SkipWhite();
            message->isTemplate = remaining_ > 0;
        }
        size_t length = 0;
        while (!IsDelimiter(At(cursor_ + length))) ++length;
        const ActionFacts* action = Lookup(length);
        Consume(length);
        const uint32_t messageClass =
            message->isTemplate ? TMX_MESSAGE_CLASS_MATCH_ACTION : TMX_MESSAGE_CLASS_ACTION;
        if (action == nullptr) return;
        if (messageClass_ != TMX_ANY_MESSAGE_CLASS && messageClass_ != messageClass) return;
        message->action = action;
        Paren('(');
        if (message->isTemplate) {
            const Value description = ReadParameter(DescriptionFacts());
            if (description.present) message->description = std::get<WideString>(description.data);
        }
        for (size_t i = 0; i < action->parameters.size(); ++i) {
            message->values.push_back(ReadParameter(FactsIn(*message, i)));
        }
        Paren(')');
    }

    Value ReadParameter(const ParameterFacts& parameter) {
        Value value{ZeroOf(parameter.type)};
        if (parameter.optional) value.present = ParamStart(&parameter.name);
        if (value.present) ReadValue(parameter.type, &value.data);
        return value;
    }

    const String& text_;
    size_t cursor_ = 0;
    uint32_t length_;
    int32_t remaining_;
    int32_t errorRemaining_ = 0;
    bool utf8_;
    uint32_t messageClass_;
    bool previous_ = false;
    bool unseen_ = false;
};

uint32_t Measured(size_t size, uint32_t length) {
    return length >= TMX_MEASURE_LENGTH ? static_cast<uint32_t>(size) : length;
}

}  // namespace

std::optional<std::string> TimeText(uint64_t value) {
    const std::optional<Calendar> local = LocalTime(value);
    if (!local) return std::nullopt;
    return MachineTime(*local, BiasOf(value));
}

std::string DoubleText(double value) { return GeneralNumber(value); }

std::string GuidCharacters(const TmxGuid& guid) { return GuidText(guid); }

std::optional<std::string> NarrowText(const Message& message, bool display, bool utf8) {
    Writer<char> writer(display, utf8);
    if (!writer.Write(message)) return std::nullopt;
    return writer.text;
}

std::optional<WideString> WideText(const Message& message, bool display, bool utf8) {
    Writer<TmxWChar> writer(display, utf8);
    if (!writer.Write(message)) return std::nullopt;
    return writer.text;
}

std::optional<std::string> NarrowText(const ActionFacts& action, const Values& values, bool display,
                                      bool utf8) {
    return NarrowText(Message{&action, values}, display, utf8);
}

std::optional<WideString> WideText(const ActionFacts& action, const Values& values, bool display,
                                   bool utf8) {
    return WideText(Message{&action, values}, display, utf8);
}

TextReading ReadNarrowText(const std::string& text, uint32_t length, bool utf8,
                           uint32_t messageClass) {
    return Reader<char>(text, Measured(text.size(), length), utf8, messageClass).Read();
}

TextReading ReadWideText(const WideString& text, uint32_t length, bool utf8,
                         uint32_t messageClass) {
    return Reader<TmxWChar>(text, Measured(text.size(), length), utf8, messageClass).Read();
}

}  // namespace tmxtest
