// The date-time: its machine text read, written and read again, and the zone arithmetic.
//
// The first byte selects what the rest is: 0 a text to read (see UnitsFromBytes), 1 the eight bytes
// of a value, 2 a zone and a time to ask its bias for (modulo 3).
#include "zinc/date_time.h"

#include <cstdio>
#include <cstring>

#include "oracle.h"

using namespace tmxfuzz;

namespace {

std::string_view PartName(uint32_t subcode) {
    switch (subcode) {
        case 3:
            return "year";
        case 4:
            return "month";
        case 5:
            return "day";
        case 6:
            return "hour";
        case 7:
            return "minute";
        case 8:
            return "second";
        case 9:
            return "millisecond";
        default:
            return {};
    }
}

// The texts that each number of an error can have.
void CheckError(const Zinc::EZincDateTime& error) {
    TMX_HOLDS(error.code == 5);
    const std::string_view message = error.message;
    TMX_HOLDS(Zinc::WideString(message.begin(), message.end()) == error.messageW);
    TMX_HOLDS(error.details.empty());
    if (!PartName(error.subcode).empty()) {
        const std::string start = "Invalid " + std::string(PartName(error.subcode)) +
                                  " part in date/time string. Expected a number from ";
        TMX_HOLDS(message.substr(0, start.size()) == start);
        TMX_HOLDS(message.back() == '.');
        return;
    }
    switch (error.subcode) {
        case 10:
            TMX_HOLDS(message.size() == 13 && message.front() == '\'');
            TMX_HOLDS(message.substr(2) == "' expected.");
            return;
        case 11:
            TMX_HOLDS(message == "UTC or GMT in date/time string expected.");
            return;
        case 12:
            TMX_HOLDS(message.substr(0, 27) == "End of date/time string or ");
            return;
        default:
            TMX_HOLDS(error.subcode == 13);
            TMX_HOLDS(message.substr(0, 42) == "SetUTCMilliseconds(): Internal millisecond");
    }
}

// What call gives, or nothing where it raises.
template <typename Call>
auto Try(const Call& call) -> std::optional<decltype(call())> {
    try {
        return call();
    } catch (const Zinc::EZincDateTime& error) {
        CheckError(error);
        return std::nullopt;
    }
}

template <typename Char>
std::basic_string<Char> TextOf(uint64_t word) {
    Exact<Char> buffer(Zinc::kDateTimeTextCapacity);
    const size_t length = Zinc::DateTimeToText(buffer.data(), Zinc::TZincDateTime(word));
    TMX_HOLDS(length < buffer.size() && buffer.data()[length] == 0);
    return {buffer.data(), length};
}

// A value is written as its local calendar fields and its zone, and read again.
void CheckValue(uint64_t word) {
    std::string text;
    try {
        text = TextOf<char>(word);
    } catch (const Zinc::SystemException& error) {
        TMX_HOLDS(error.code == 2);
        TMX_HOLDS(HasNoText(word));
        return;
    }
    TMX_HOLDS(!HasNoText(word));
    const WideString wide = TextOf<TmxWChar>(word);
    TMX_HOLDS(wide == WideString(text.begin(), text.end()));

    // The fields add up to the value.
    unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    char sign = 0;
    int zoneHours = 0, zoneMinutes = 0, length = 0;
    TMX_HOLDS(std::sscanf(text.c_str(), "%u/%2u/%2u %2u:%2u:%2u,%3u GMT%c%d:%2d%n", &year, &month,
                          &day, &hour, &minute, &second, &millisecond, &sign, &zoneHours,
                          &zoneMinutes, &length) == 10);
    TMX_HOLDS(static_cast<size_t>(length) == text.size());
    TMX_HOLDS(month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour < 24 && minute < 60);
    TMX_HOLDS(second < 60 && millisecond < 1000);
    const int64_t local =
        DaysFrom1601(year, static_cast<int>(month), static_cast<int>(day)) * kMillisecondsPerDay +
        int64_t{hour} * 3600000 + minute * 60000 + second * 1000 + millisecond;
    TMX_HOLDS(local == LocalOf(word));
    TMX_HOLDS((sign == '-') == (BiasOf(word) > 0));
    TMX_HOLDS((sign == '-' ? 1 : -1) * (zoneHours * 60 + zoneMinutes) == BiasOf(word));

    uint64_t expected = word;
    const Fate fate = DateThroughText(expected);
    const auto exact = Exact<TmxWChar>::Terminated(wide);
    const auto read = Try([&] { return Zinc::ParseDateTime(exact.data()); });
    TMX_HOLDS(read.has_value() == (fate == Fate::Kept));
    if (read) TMX_HOLDS(read->Word() == expected);
}

void CheckText(const Exact<TmxWChar>& text) {
    const TmxWChar* const begin = text.data();
    size_t consumed = 0;
    const auto time = Try([&] { return Zinc::ParseDateTimeText(begin, &consumed); });
    const auto whole = Try([&] { return Zinc::ParseDateTimeText(begin, nullptr); });
    const auto value = Try([&] { return Zinc::ParseDateTime(begin); });
    if (!time) {
        TMX_HOLDS(!whole && !value);
        return;
    }
    TMX_HOLDS(consumed <= std::char_traits<TmxWChar>::length(begin));
    TMX_HOLDS(time->year >= 1601 && time->year <= 9999 && time->month >= 1 && time->month <= 12);
    TMX_HOLDS(time->day >= 1 && time->day <= 31 && time->hour <= 23 && time->minute <= 59);
    TMX_HOLDS(time->second <= 59 && time->millisecond <= 999);
    const int64_t local = DaysFrom1601(time->year, time->month, time->day) * kMillisecondsPerDay +
                          int64_t{time->hour} * 3600000 + time->minute * 60000 +
                          time->second * 1000 + time->millisecond;
    // Without a consumed count only blanks may follow.
    const std::basic_string_view<TmxWChar> rest = begin + consumed;
    TMX_HOLDS(whole.has_value() == (rest.find_first_not_of(TmxWChar{' '}) == rest.npos));

    const auto bias = Try([&] { return Zinc::ParseBiasText(begin + consumed); });
    if (!bias) {
        TMX_HOLDS(!value);
        return;
    }
    TMX_HOLDS(*bias >= -14 * 60 && *bias < 15 * 60);
    const int64_t utc = local + int64_t{*bias} * 60000;
    TMX_HOLDS(value.has_value() == (utc >= 0 && utc <= 0xFFFFFFFFFFFF));
    if (!value) return;
    TMX_HOLDS(value->Word() == DateTimeFrom(utc, *bias));
    CheckValue(value->Word());
}

template <typename T>
T Take(const uint8_t*& data, size_t& size) {
    T value{};
    const size_t count = size < sizeof(T) ? size : sizeof(T);
    std::memcpy(&value, data, count);
    data += count;
    size -= count;
    return value;
}

Zinc::SystemTime TakeRule(const uint8_t*& data, size_t& size) {
    Zinc::SystemTime rule;
    rule.year = Take<uint8_t>(data, size) < 0xC0 ? uint16_t{0} : Take<uint16_t>(data, size);
    rule.month = Take<uint8_t>(data, size) & 15;
    rule.day = Take<uint8_t>(data, size) & 7;
    rule.dayOfWeek = Take<uint8_t>(data, size) & 7;
    rule.hour = Take<uint8_t>(data, size) & 31;
    rule.minute = Take<uint8_t>(data, size) & 63;
    return rule;
}

void CheckZone(const uint8_t* data, size_t size) {
    const auto milliseconds = Take<uint64_t>(data, size);
    Zinc::ZoneInformation zone;
    zone.bias = Take<int16_t>(data, size);
    zone.standardBias = Take<int16_t>(data, size);
    zone.daylightBias = Take<int16_t>(data, size);
    zone.standardDate = TakeRule(data, size);
    zone.daylightDate = TakeRule(data, size);

    std::optional<uint32_t> year;
    try {
        year = Zinc::YearFromMilliseconds(milliseconds);
        const auto days = static_cast<int64_t>(milliseconds / kMillisecondsPerDay);
        TMX_HOLDS(DaysFrom1601(*year, 1, 1) <= days && DaysFrom1601(*year + 1, 1, 1) > days);
        TMX_HOLDS(*year <= 30827);
    } catch (const Zinc::EZincDateTime& error) {
        TMX_HOLDS(error.subcode == 13);
        TMX_HOLDS(error.message == "YearFromMilliseconds: Year/Century out of range.");
        TMX_HOLDS(milliseconds / kMillisecondsPerDay >=
                  static_cast<uint64_t>(DaysFrom1601(30828, 1, 1)));
    }
    const bool changes = zone.standardDate.month != 0 && zone.daylightDate.month != 0;
    try {
        const int16_t bias = Zinc::BiasAtUtc(milliseconds, &zone);
        const auto cut = [](int32_t minutes) { return static_cast<int16_t>(minutes); };
        if (!changes) {
            TMX_HOLDS(bias == cut(zone.bias));
        } else {
            TMX_HOLDS(year.has_value());
            TMX_HOLDS(bias == cut(zone.bias + zone.standardBias) ||
                      bias == cut(zone.bias + zone.daylightBias));
        }
        // The answer comes out of the cache the second time.
        TMX_HOLDS(Zinc::BiasAtUtc(milliseconds, &zone) == bias);
    } catch (const Zinc::EZincDateTime& error) {
        TMX_HOLDS(changes);
        TMX_HOLDS(error.subcode == 13 ? !year : error.subcode == 1);
    } catch (const Zinc::SystemException& error) {
        // An hour beyond the day, or an absolute date that isn't in the calendar.
        TMX_HOLDS(changes && year && error.code == 2);
    }
    if (!year) return;
    // A rule's change lies on the right day of the week, in its month.
    try {
        const Zinc::SystemTime& rule = zone.standardDate;
        const int64_t at = Zinc::TransitionToMilliseconds(*year, rule);
        if (rule.year != 0) return;
        const int64_t days = at / kMillisecondsPerDay;
        TMX_HOLDS((days + 1) % 7 == rule.dayOfWeek);
        TMX_HOLDS(at % kMillisecondsPerDay == rule.hour * 3600000 + rule.minute * 60000);
        const int64_t first = DaysFrom1601(*year, rule.month, 1);
        const int64_t next = rule.month == 12 ? DaysFrom1601(*year + 1, 1, 1)
                                              : DaysFrom1601(*year, rule.month + 1, 1);
        TMX_HOLDS(days >= first && days < next);
        if (rule.day < 5) TMX_HOLDS((days - first) / 7 == rule.day - 1);
        if (rule.day == 5) TMX_HOLDS(days + 7 >= next);
    } catch (const Zinc::EZincDateTime& error) {
        TMX_HOLDS(error.subcode == 1);
    } catch (const Zinc::SystemException& error) {
        TMX_HOLDS(error.code == 2);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const unsigned mode = data[0] % 3;
    ++data;
    --size;
    if (mode == 0) {
        CheckText(Exact<TmxWChar>::Terminated(
            UnitsFromBytes({reinterpret_cast<const char*>(data), size})));
    } else if (mode == 1) {
        CheckValue(Take<uint64_t>(data, size));
    } else {
        CheckZone(data, size);
    }
    return 0;
}
