#include "support/reference_binary.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace tmxtest {

namespace {

class Output {
  public:
    Bytes bytes;

    void Integer(uint64_t value, int size) {
        for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }

    void Guid(const TmxGuid& guid) {
        Integer(guid.Data1, 4);
        Integer(guid.Data2, 2);
        Integer(guid.Data3, 2);
        bytes.insert(bytes.end(), guid.Data4, guid.Data4 + 8);
    }

    void Wide(const WideString& text) {
        Integer(text.size() + 1, 4);
        for (TmxWChar unit : text) Integer(unit, 2);
        Integer(0, 2);
    }

    void Narrow(const std::string& text) {
        Integer(text.size() + 1, 4);
        for (char c : text) Integer(static_cast<unsigned char>(c), 1);
        Integer(0, 1);
    }

    void Datum(const ParameterFacts& parameter, const tmxtest::Datum& data) {
        switch (parameter.type) {
            case Type::Int32:
            case Type::Enum:
                Integer(static_cast<uint32_t>(std::get<int32_t>(data)), 4);
                break;
            case Type::Int64:
                Integer(static_cast<uint64_t>(std::get<int64_t>(data)), 8);
                break;
            case Type::Double: {
                uint64_t bits = 0;
                std::memcpy(&bits, &std::get<double>(data), sizeof bits);
                Integer(bits, 8);
                break;
            }
            case Type::Bool:
                Integer(std::get<bool>(data) ? 1 : 0, 1);
                break;
            case Type::DateTime:
                Integer(std::get<DateTime>(data).value, 8);
                break;
            case Type::Guid:
                Guid(std::get<TmxGuid>(data));
                break;
            case Type::Rect:
                for (int16_t word : std::get<TmxRect>(data).words) {
                    Integer(static_cast<uint16_t>(word), 2);
                }
                break;
            case Type::AnsiText:
                Narrow(std::get<std::string>(data));
                break;
            case Type::WideText:
                Wide(std::get<WideString>(data));
                break;
            case Type::ObjectRef: {
                const auto& value = std::get<ObjectRef>(data);
                Integer(static_cast<uint64_t>(value.id), 8);
                Integer(static_cast<uint32_t>(value.number), 4);
                Wide(value.name);
                break;
            }
            case Type::NamedId: {
                const auto& value = std::get<NamedId>(data);
                Integer(static_cast<uint64_t>(value.id), 8);
                Wide(value.name);
                break;
            }
            case Type::GuidRef: {
                const auto& value = std::get<GuidRef>(data);
                Guid(value.guid);
                Wide(value.name);
                break;
            }
            case Type::DataSet: {
                WideString text;
                const auto put = [&](const std::string& piece) {
                    text.append(piece.begin(), piece.end());
                };
                for (const DataSetEntry& entry : std::get<DataSet>(data)) {
                    if (!text.empty()) put(", ");
                    for (int16_t word : entry.words) put(std::to_string(word) + " ");
                    put(std::to_string(entry.number) + " '");
                    text += entry.name;
                    put("'");
                }
                Wide(text);
                break;
            }
        }
    }

    void Parameters(const Message& message) {
        Integer(message.isTemplate ? TMX_MESSAGE_CLASS_MATCH_ACTION : TMX_MESSAGE_CLASS_ACTION, 4);
        Integer(message.action->code, 4);
        if (message.isTemplate) {
            Integer(message.description ? 1 : 0, 1);
            if (message.description) Wide(*message.description);
        }
        for (size_t i = 0; i < message.values.size(); ++i) {
            const ParameterFacts parameter = FactsIn(message, i);
            const Value& value = message.values[i];
            if (parameter.optional) Integer(value.present ? 1 : 0, 1);
            if (value.present) {
                Datum(parameter, value.data);
            } else if (!parameter.optional) {
                Datum(parameter, ZeroOf(parameter.type));
            }
        }
    }
};

// A number out of a stream of characters, as a decimal extractor takes it.
class NumberStream {
  public:
    explicit NumberStream(const WideString& text) : text_(text) {}

    // Takes a number in a range; false leaves the stream bad.
    bool Take(int64_t low, int64_t high, int64_t* value) {
        while (at_ < text_.size() &&
               (text_[at_] == TMX_W(' ') || (text_[at_] >= 9 && text_[at_] <= 13))) {
            ++at_;
        }
        bool negative = false;
        if (at_ < text_.size() && (text_[at_] == TMX_W('-') || text_[at_] == TMX_W('+'))) {
            negative = text_[at_] == TMX_W('-');
            ++at_;
        }
        int64_t amount = 0;
        size_t digits = 0;
        bool over = false;
        for (; at_ < text_.size() && text_[at_] >= TMX_W('0') && text_[at_] <= TMX_W('9');
             ++at_, ++digits) {
            amount = amount * 10 + (text_[at_] - TMX_W('0'));
            if (amount > int64_t{1} << 40) {
                over = true;
                amount = 0;
            }
        }
        if (negative) amount = -amount;
        *value = amount;
        return digits > 0 && !over && amount >= low && amount <= high;
    }

    bool AtEnd() const { return at_ >= text_.size(); }
    WideString Rest() const { return text_.substr(at_); }

  private:
    const WideString& text_;
    size_t at_ = 0;
};

DataSet ParseDataSet(WideString text) {
    DataSet set;
    for (;;) {
        DataSetEntry entry;
        NumberStream stream(text);
        int64_t value = 0;
        for (int16_t& word : entry.words) {
            if (!stream.Take(-32768, 32767, &value)) return set;
            word = static_cast<int16_t>(value);
        }
        if (!stream.Take(INT32_MIN, INT32_MAX, &value) || stream.AtEnd()) return set;
        entry.number = static_cast<int32_t>(value);
        const WideString rest = stream.Rest();
        const size_t first = rest.find(TMX_W('\''));
        if (first == WideString::npos) return set;
        const size_t second = rest.find(TMX_W('\''), first + 1);
        if (second == WideString::npos) return set;
        // The length is the place of the second apostrophe: right with one blank ahead.
        WideString quoted = rest.substr(first, second);
        const size_t end = first + quoted.size();
        quoted.erase(0, std::min(quoted.find_first_not_of(TMX_W('\'')), quoted.size()));
        quoted.erase(quoted.find_last_not_of(TMX_W('\'')) + 1);
        entry.name = quoted;
        set.push_back(entry);
        size_t at = end;
        bool comma = false;
        const auto skip = [&](TmxWChar c) {
            bool any = false;
            for (; at < rest.size() && rest[at] == c; ++at) any = true;
            return any;
        };
        skip(TMX_W(' '));
        comma = skip(TMX_W(','));
        skip(TMX_W(' '));
        if (!comma) return set;
        text = rest.substr(at);
    }
}

class Input {
  public:
    explicit Input(const Bytes& bytes)
        : bytes_(bytes), remaining_(static_cast<int64_t>(bytes.size())) {}

    BinaryReading Read(uint32_t filter) {
        BinaryReading reading;
        uint64_t messageClass = 0;
        uint64_t code = 0;
        Integer(4, &messageClass);
        Integer(4, &code);
        const ActionFacts* action = nullptr;
        if (failure_ == 0) {
            if (messageClass != 1 && messageClass != 2) {
                Fail();
            } else if (filter == TMX_ANY_MESSAGE_CLASS || filter == messageClass) {
                for (const ActionFacts& candidate : AllActions()) {
                    if (candidate.code == code) action = &candidate;
                }
            }
        }
        if (action != nullptr) {
            reading.action = action;
            reading.isTemplate = messageClass == TMX_MESSAGE_CLASS_MATCH_ACTION;
            if (reading.isTemplate) {
                const Value description = Parameter(DescriptionFacts());
                if (description.present) {
                    reading.description = std::get<WideString>(description.data);
                }
            }
            for (size_t i = 0; i < action->parameters.size(); ++i) {
                reading.values.push_back(Parameter(FactsIn(reading, i)));
            }
            if (failure_ != 0) {
                static_cast<Message&>(reading) = Message();
            } else if (!reading.isTemplate) {
                ReadProperties(&reading.properties);
            }
        }
        reading.used =
            failure_ != 0 ? static_cast<uint32_t>(failure_)
                          : static_cast<uint32_t>(static_cast<int64_t>(bytes_.size()) - remaining_);
        return reading;
    }

  private:
    // At exactly no remaining byte the failure isn't recorded: the first hole.
    void Fail() {
        if (failure_ != 0) return;
        failure_ = remaining_;
        remaining_ = -1;
    }

    bool Take(int64_t size, const uint8_t** data) {
        if (remaining_ < size) {
            Fail();
            return false;
        }
        *data = bytes_.data() + cursor_;
        cursor_ += static_cast<size_t>(size);
        remaining_ -= size;
        return true;
    }

    bool Integer(int size, uint64_t* value) {
        const uint8_t* data = nullptr;
        if (!Take(size, &data)) return false;
        *value = 0;
        for (int i = 0; i < size; ++i) *value |= static_cast<uint64_t>(data[i]) << (8 * i);
        return true;
    }

    template <typename T>
    T Signed() {
        uint64_t value = 0;
        Integer(sizeof(T), &value);
        return static_cast<T>(value);
    }

    TmxGuid Guid() {
        TmxGuid guid{};
        const uint8_t* d = nullptr;
        if (!Take(16, &d)) return guid;
        guid.Data1 = static_cast<uint32_t>(d[0] | d[1] << 8 | d[2] << 16) |
                     static_cast<uint32_t>(d[3]) << 24;
        guid.Data2 = static_cast<uint16_t>(d[4] | d[5] << 8);
        guid.Data3 = static_cast<uint16_t>(d[6] | d[7] << 8);
        std::memcpy(guid.Data4, d + 8, 8);
        return guid;
    }

    // The bytes of a text without its last character, which isn't looked at.
    const uint8_t* Text(int unit, size_t* count) {
        *count = 0;
        uint64_t units = 0;
        Integer(4, &units);
        if (failure_ != 0) return nullptr;
        const uint8_t* data = nullptr;
        if (!Take(static_cast<int64_t>(units) * unit, &data) || units == 0) return nullptr;
        *count = static_cast<size_t>(units) - 1;
        return data;
    }

    WideString Wide() {
        size_t count = 0;
        const uint8_t* data = Text(2, &count);
        WideString text;
        for (size_t i = 0; i < count; ++i) {
            text += static_cast<TmxWChar>(data[2 * i] | data[2 * i + 1] << 8);
        }
        return text;
    }

    std::string Narrow() {
        size_t count = 0;
        const uint8_t* data = Text(1, &count);
        return count == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), count);
    }

    Value Parameter(const ParameterFacts& parameter) {
        if (parameter.optional) {
            if (remaining_ == 0) return {ZeroOf(parameter.type), false};
            uint64_t flag = 0;
            Integer(1, &flag);
            if (flag == 0) return {ZeroOf(parameter.type), false};
        }
        switch (parameter.type) {
            case Type::Int32:
            case Type::Enum:
                return {Signed<int32_t>()};
            case Type::Int64:
                return {Signed<int64_t>()};
            case Type::Double: {
                uint64_t bits = 0;
                Integer(8, &bits);
                double value = 0;
                std::memcpy(&value, &bits, sizeof value);
                return {value};
            }
            case Type::Bool: {
                uint64_t byte = 0;
                Integer(1, &byte);
                return {byte != 0};
            }
            case Type::DateTime: {
                uint64_t value = 0;
                if (!Integer(8, &value)) return {DateTime{0, true}};
                return {DateTime{value}};
            }
            case Type::Guid:
                return {Guid()};
            case Type::Rect: {
                uint64_t words = 0;
                Integer(8, &words);
                TmxRect rect{};
                for (int i = 0; i < 4; ++i) {
                    rect.words[i] = static_cast<int16_t>(static_cast<uint16_t>(words >> (16 * i)));
                }
                return {rect};
            }
            case Type::AnsiText:
                return {Narrow()};
            case Type::WideText:
                return {Wide()};
            case Type::ObjectRef: {
                ObjectRef value;
                value.id = Signed<int64_t>();
                value.number = Signed<int32_t>();
                value.name = Wide();
                return {value};
            }
            case Type::NamedId: {
                NamedId value;
                value.id = Signed<int64_t>();
                value.name = Wide();
                return {value};
            }
            case Type::GuidRef: {
                GuidRef value;
                value.guid = Guid();
                value.name = Wide();
                return {value};
            }
            case Type::DataSet:
                return {ParseDataSet(Wide())};
        }
        std::abort();
    }

    void ReadProperties(Properties* properties) {
        const size_t cursor = cursor_;
        const int64_t remaining = remaining_;
        uint64_t marker = 0;
        Integer(4, &marker);
        auto count = Signed<int32_t>();
        if (marker != TMX_PROPERTY_BLOCK_MARKER) Fail();
        if (count > 1000) count = 1000;
        for (int32_t i = 0; i < count && failure_ == 0; ++i) {
            const WideString name = Wide();
            const WideString value = Wide();
            if (failure_ == 0) (*properties)[name] = value;
        }
        if (failure_ != 0) {
            cursor_ = cursor;
            remaining_ = remaining;
            failure_ = 0;
        }
    }

    const Bytes& bytes_;
    size_t cursor_ = 0;
    int64_t remaining_;
    int64_t failure_ = 0;
};

}  // namespace

Bytes BinaryForm(const Message& message, const Properties& properties) {
    Output output;
    output.Parameters(message);
    if (message.isTemplate) return output.bytes;
    output.Integer(TMX_PROPERTY_BLOCK_MARKER, 4);
    output.Integer(properties.size(), 4);
    for (const auto& [name, value] : properties) {
        output.Wide(name);
        output.Wide(value);
    }
    return output.bytes;
}

Bytes BinaryForm(const ActionFacts& action, const Values& values, const Properties& properties) {
    return BinaryForm(Message{&action, values}, properties);
}

size_t SizeWithoutProperties(const ActionFacts& action, const Values& values) {
    Output output;
    output.Parameters(Message{&action, values});
    return output.bytes.size();
}

BinaryReading ReadBinary(const Bytes& bytes, uint32_t messageClass) {
    return Input(bytes).Read(messageClass);
}

}  // namespace tmxtest
