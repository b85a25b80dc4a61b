#include "support/value_sets.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include "support/reference_encoding.h"

namespace tmxtest {

namespace {

constexpr TmxGuid kRestOfTime = {
    0xbaa41e7c, 0x9328, 0x427e, {0x94, 0x3d, 0xa6, 0x6b, 0x44, 0xef, 0x2f, 0xdb}};

// 2026-11-15 11:00:00,000 UTC.
constexpr uint64_t kNoon = 13439214000000;

uint64_t TimeValue(uint64_t milliseconds, int bias) {
    return milliseconds | static_cast<uint64_t>(static_cast<uint16_t>(bias)) << 48;
}

TmxGuid NumberedGuid(unsigned number) {
    TmxGuid guid = {0x00112233 + number * 0x01010101,
                    static_cast<uint16_t>(0x4455 + number),
                    static_cast<uint16_t>(0x6677 + number * 3),
                    {0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff}};
    guid.Data4[7] = static_cast<uint8_t>(0xff - number);
    return guid;
}

WideString Name(const TmxWChar* prefix, unsigned number) {
    return prefix + Widened(std::to_string(number));
}

Datum TypicalDatum(Type type, unsigned place, unsigned variant) {
    const unsigned n = place + 1 + variant * 100;
    switch (type) {
        case Type::Int32:
        case Type::Enum:
            return static_cast<int32_t>(n % 2 == 0 ? n : 0u - n);
        case Type::Int64:
            return static_cast<int64_t>(0x1122334455660000 + n);
        case Type::DateTime:
            return DateTime{TimeValue(kNoon + n * 3661001ull, n % 3 == 0   ? -60
                                                              : n % 3 == 1 ? 300
                                                                           : 0)};
        case Type::AnsiText:
            // Well-formed in both encodings.
            return "narrow " + std::to_string(n) + "\xC3\xA4";
        case Type::WideText:
            return Name(TMX_W("wide \u00E4\u20AC, ("), n);
        case Type::Bool:
            return (place + variant) % 2 == 0;
        case Type::Guid:
            return NumberedGuid(n);
        case Type::NamedId:
            return NamedId{n, Name(TMX_W("named "), n), static_cast<int32_t>(n + 1)};
        case Type::ObjectRef:
            return ObjectRef{n + 0x100000000, static_cast<int32_t>(n + 7),
                             Name(TMX_W("object "), n)};
        case Type::GuidRef:
            return GuidRef{NumberedGuid(n + 50), Name(TMX_W("guid "), n), n + 3};
        case Type::Double:
            return n + 0.5;
        case Type::Rect: {
            const auto a = static_cast<int16_t>(n);
            return TmxRect{{a, static_cast<int16_t>(-a), static_cast<int16_t>(a * 2), 640}};
        }
        case Type::DataSet: {
            const auto a = static_cast<int16_t>(n);
            return DataSet{{{a, 2, -3, 4}, 7, Name(TMX_W("left "), n)},
                           {{5, 6, 7, a}, -1, TMX_W("right")}};
        }
    }
    std::abort();
}

template <typename T>
const T& Pick(const std::vector<T>& list, unsigned index) {
    return list[index % list.size()];
}

const std::vector<WideString>& WideTexts() {
    static const std::vector<WideString> texts = [] {
        WideString longest;
        for (int i = 0; i < 5000; ++i) longest += static_cast<TmxWChar>(TMX_W('a') + i % 26);
        WideString umlauts;
        for (int i = 0; i < 255; ++i) umlauts += i % 2 == 0 ? TMX_W('\u00FC') : TMX_W('\u00DF');
        WideString page;
        for (TmxWChar c = 1; c < 0x180; ++c) {
            if (c != TMX_W('"')) page += c;
        }
        return std::vector<WideString>{
            TMX_W("123456789012345678901234"),
            longest,
            umlauts,
            TMX_W("\U0001F3A5 camera \U00010400\U0010FFFF"),
            WideString(TMX_W("low \xDC00 high \xD800")),
            WideString(1, TmxWChar{0xD83D}),
            TMX_W("a \"quoted\" word"),
            TMX_W("A\u0308o\u0308 n\u0303 z\u030C q\u0308 \u0308"),
            TMX_W("\uFFFF\uFEFF\u4E2D\u6587 \u20AC\u2122\u0178"),
            page,
            TMX_W("' , '' ), ({ }"),
            TMX_W("\r\n\ttab\\n"),
            TMX_W("12345678901234567890123456789012"),
            TMX_W("x"),
            TMX_W("\""),
            WideString(TMX_W("\xDBFF\xDBFF\xDFFF\xDFFF")),
        };
    }();
    return texts;
}

const std::vector<std::string>& NarrowTexts() {
    static const std::vector<std::string> texts = [] {
        std::string page;
        for (int c = 1; c < 256; ++c) {
            if (c != '"') page += static_cast<char>(c);
        }
        return std::vector<std::string>{
            "123456789012345678901234",
            std::string(5000, 'q'),
            "\xC3\xBC\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA5",
            page,
            "broken \xC3 \xE2\x82 \xF0\x9F\x8E \xC0\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \xFF",
            "a \"quoted\" word",
            std::string(255, '\xFC'),
            "\r\n\t'",
            "y",
            "\xF0\x90\x80",
            "\"",
        };
    }();
    return texts;
}

Datum ExtremeDatum(Type type, unsigned i) {
    using Limits32 = std::numeric_limits<int32_t>;
    using Limits64 = std::numeric_limits<int64_t>;
    using LimitsDouble = std::numeric_limits<double>;
    switch (type) {
        case Type::Int32:
        case Type::Enum:
            return Pick<int32_t>({Limits32::max(), Limits32::min() + 1, -1, 0, 1000000000,
                                  Limits32::min(), 9999, -10},
                                 i);
        case Type::Int64:
            return Pick<int64_t>({Limits64::max(), Limits64::min() + 1, -1, 0x100000000,
                                  Limits64::min(), 281474976710655, 0, -1000000000000000000},
                                 i);
        case Type::Double:
            return Pick<double>({0.0,
                                 -0.0,
                                 LimitsDouble::max(),
                                 LimitsDouble::denorm_min(),
                                 1234567.0,
                                 -1e-5,
                                 0.000123456789,
                                 1.0 / 3.0,
                                 1e100,
                                 LimitsDouble::quiet_NaN(),
                                 999999.5,
                                 100000.0,
                                 LimitsDouble::infinity(),
                                 -LimitsDouble::infinity(),
                                 -LimitsDouble::quiet_NaN(),
                                 LimitsDouble::lowest(),
                                 999999.4,
                                 1e-308,
                                 123456.5,
                                 -2.5e10},
                                i);
        case Type::DateTime:
            return DateTime{Pick<uint64_t>(
                {0, TimeValue(0xFFFFFFFFFFFF, 0), TimeValue(0xFFFFFFFFFFFF, -840),
                 TimeValue(kNoon, 840), TimeValue(1, -60), TimeValue(kNoon + 999, -330),
                 TimeValue(kNoon, 210), TimeValue(kNoon, 32767), TimeValue(60000, 1),
                 TimeValue(kNoon, -32767), TimeValue(59999, 1),
                 // 2024-02-29 and the last instant of 2000.
                 TimeValue(13353638400000ull + 3600000, -60), TimeValue(12622780799999ull, 0),
                 TimeValue(kNoon, -900)},
                i)};
        case Type::AnsiText:
            return Pick(NarrowTexts(), i);
        case Type::WideText:
            return Pick(WideTexts(), i);
        case Type::Bool:
            return i % 2 == 0;
        case Type::Guid: {
            TmxGuid ones;
            ones = {0xFFFFFFFF, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255}};
            return Pick<TmxGuid>({TmxGuid{}, ones, kRestOfTime, {1, 0, 0, {0}}}, i);
        }
        case Type::NamedId:
            return Pick<NamedId>({{0, Pick(WideTexts(), i), 5},
                                  {Limits64::min(), TMX_W("least"), 0},
                                  {Limits64::max(), Pick(WideTexts(), i), 0},
                                  {-1, TMX_W(""), 1},
                                  {0, TMX_W(""), 3},
                                  {1, Pick(WideTexts(), i), -2}},
                                 i);
        case Type::ObjectRef:
            return Pick<ObjectRef>({{0, 0, Pick(WideTexts(), i)},
                                    {Limits64::min(), Limits32::min(), TMX_W("least")},
                                    {Limits64::max(), Limits32::max(), Pick(WideTexts(), i)},
                                    {0, Limits32::min(), TMX_W("")},
                                    {0, -1, TMX_W("")},
                                    {-1, 0, TMX_W("")},
                                    {0, 5, Pick(WideTexts(), i)},
                                    {Limits64::min() + 1, Limits32::min() + 1, TMX_W("\"")}},
                                   i);
        case Type::GuidRef:
            return Pick<GuidRef>({{TmxGuid{}, Pick(WideTexts(), i), 0},
                                  {kRestOfTime, Pick(WideTexts(), i), ~0ull},
                                  {kRestOfTime, TMX_W(""), 1},
                                  {NumberedGuid(i), TMX_W(""), 2},
                                  {NumberedGuid(i + 1), Pick(WideTexts(), i + 3), 0}},
                                 i);
        case Type::Rect:
            return Pick<TmxRect>({{{32767, -32767, -1, 0}},
                                  {{-32768, 0, 0, 0}},
                                  {{1, 2, 3, -32768}},
                                  {{0, 0, 640, 480}}},
                                 i);
        case Type::DataSet: {
            DataSet many;
            for (int16_t n = 0; n < 100; ++n) {
                many.push_back({{n, static_cast<int16_t>(-n), 32767, -32767},
                                Limits32::max() - n,
                                Pick(WideTexts(), static_cast<unsigned>(n) % 4)});
            }
            return Pick<DataSet>(
                {many,
                 {{{1, 2, 3, 4}, Limits32::min(), TMX_W("it's")}, {{5, 6, 7, 8}, 9, TMX_W("")}},
                 {{{-32768, 0, 0, 0}, -1, TMX_W("x")}},
                 {{{1, 2, 3, 4}, 5, TMX_W("a \"b\"")}},
                 {{{1, 2, 3, 4}, 5, TMX_W("''")}, {{1, 2, 3, 4}, 6, TMX_W(", 1 2 3 4 5 'y")}},
                 {{{1, 2, 3, 4}, 0, Pick(WideTexts(), i)}}},
                i);
        }
    }
    std::abort();
}

}  // namespace

Values Typical(const ActionFacts& action, unsigned variant) {
    Values values;
    for (const ParameterFacts& parameter : action.parameters) {
        values.push_back(
            {TypicalDatum(parameter.type, static_cast<unsigned>(values.size()), variant)});
    }
    return values;
}

Values Extreme(const ActionFacts& action, unsigned variant) {
    Values values;
    for (const ParameterFacts& parameter : action.parameters) {
        const auto place = static_cast<unsigned>(values.size());
        if (parameter.type == Type::Bool) {
            // Over the variants each bit of the place is shown, so that no two bools agree in all.
            values.push_back({(place >> variant % 5 & 1) != 0});
        } else {
            values.push_back({ExtremeDatum(parameter.type, place + variant)});
        }
    }
    return values;
}

Values Absent(const ActionFacts& action) {
    Values values = Typical(action);
    for (size_t i = 0; i < values.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        if (parameter.optional || parameter.type == Type::AnsiText ||
            parameter.type == Type::WideText) {
            values[i].present = false;
        }
    }
    return values;
}

Values Empty(const ActionFacts& action) {
    Values values;
    for (const ParameterFacts& parameter : action.parameters) {
        values.push_back({ZeroOf(parameter.type)});
    }
    return values;
}

Values Mixed(const ActionFacts& action, unsigned variant) {
    Values values = Typical(action, variant % 2);
    unsigned bit = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (!action.parameters[i].optional) continue;
        values[i].present = ((variant * 2654435761u) >> (bit++ % 30) & 1) != 0;
    }
    return values;
}

std::vector<NamedValues> AllSets(const ActionFacts& action) {
    std::vector<NamedValues> sets;
    sets.push_back({"typical", Typical(action)});
    sets.push_back({"other typical", Typical(action, 1)});
    sets.push_back({"absent", Absent(action)});
    sets.push_back({"empty", Empty(action)});
    for (unsigned variant = 1; variant < 7; ++variant) {
        sets.push_back({"mixed " + std::to_string(variant), Mixed(action, variant)});
    }
    for (unsigned variant = 0; variant < kExtremeVariants; ++variant) {
        sets.push_back({"extreme " + std::to_string(variant), Extreme(action, variant)});
    }
    return sets;
}

std::vector<ValuePair> PairsOfValues(Type type) {
    const TmxGuid guid = {0x00112233, 0x4455, 0x6677, {1, 2, 3, 4, 5, 6, 7, 8}};
    TmxGuid otherGuid = guid;
    otherGuid.Data4[7] = 9;
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const auto wide = [](const TmxWChar* text) { return Datum(WideString(text)); };
    const auto narrow = [](const char* text) { return Datum(std::string(text)); };
    switch (type) {
        case Type::Int32:
        case Type::Enum:
            return {{int32_t{5}, int32_t{5}, true, true},
                    {int32_t{5}, int32_t{-5}, false, false},
                    {int32_t{0}, int32_t{0x01000000}, false, false}};
        case Type::Int64:
            return {{int64_t{5}, int64_t{5}, true, true},
                    {int64_t{5}, int64_t{0x100000005}, false, false}};
        case Type::DateTime:
            return {{DateTime{1000}, DateTime{1000}, true, true},
                    {DateTime{1000}, DateTime{1001}, false, false},
                    {DateTime{1000}, DateTime{1000 | (uint64_t{0xFFC4} << 48)}, true, true},
                    {DateTime{0x800000000000}, DateTime{0}, false, false}};
        case Type::AnsiText:
            return {{narrow("abc"), narrow("ABC"), true, true},
                    {narrow("abc"), narrow("abd"), false, false},
                    {narrow("abc"), narrow("abcd"), false, false},
                    {narrow("abc"), narrow(""), false, false},
                    {narrow(""), narrow(""), true, true},
                    // The fold is that of ASCII: umlauts in the code page differ, and so do the
                    // characters beside the letters.
                    {narrow("\xE4"), narrow("\xC4"), false, false},
                    {narrow("@["), narrow("`{"), false, false},
                    {narrow("zZ"), narrow("Zz"), true, true}};
        case Type::WideText:
            return {{wide(TMX_W("abc")), wide(TMX_W("ABC")), true, true},
                    {wide(TMX_W("abc")), wide(TMX_W("abd")), false, false},
                    {wide(TMX_W("abc")), wide(TMX_W("abcd")), false, false},
                    {wide(TMX_W("")), wide(TMX_W("x")), false, false},
                    {wide(TMX_W("\u00E4\u00F6")), wide(TMX_W("\u00C4\u00D6")), true, true},
                    {wide(TMX_W("\u00E4")), wide(TMX_W("a\u0308")), false, false},
                    {wide(TMX_W("\u00DF")), wide(TMX_W("ss")), false, false},
                    {wide(TMX_W("\u00DF")), wide(TMX_W("\u1E9E")), true, true},
                    {wide(TMX_W("\u03C3\u03A3")), wide(TMX_W("\u03C2\u03C3")), true, true},
                    {wide(TMX_W("\u0436")), wide(TMX_W("\u0416")), true, true},
                    {wide(TMX_W("\u212A")), wide(TMX_W("k")), true, true},
                    {wide(TMX_W("\U00010400")), wide(TMX_W("\U00010428")), true, true},
                    {wide(TMX_W("\U0001F3A5")), wide(TMX_W("\U0001F3A6")), false, false},
                    {wide(TMX_W("\xD800")), wide(TMX_W("\xD801")), false, false},
                    {wide(TMX_W("@[")), wide(TMX_W("`{")), false, false}};
        case Type::Bool:
            return {
                {true, true, true, true}, {true, false, false, false}, {false, false, true, true}};
        case Type::Guid:
            return {{guid, guid, true, true}, {guid, otherGuid, false, false}};
        case Type::ObjectRef:
            return {
                {ObjectRef{1, 2, TMX_W("x")}, ObjectRef{1, 3, TMX_W("y")}, true, true},
                {ObjectRef{1, 2, TMX_W("x")}, ObjectRef{2, 2, TMX_W("x")}, false, false},
                {ObjectRef{0, 2, TMX_W("x")}, ObjectRef{0, 2, TMX_W("y")}, true, true},
                {ObjectRef{0, 2, TMX_W("x")}, ObjectRef{0, 3, TMX_W("x")}, false, false},
                {ObjectRef{0, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("CAM")}, true, true},
                {ObjectRef{0, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("Can")}, false, false},
                // The left side chooses what is compared.
                {ObjectRef{0, 5, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("Cam")}, false, true},
                {ObjectRef{7, 5, TMX_W("Cam")}, ObjectRef{0, 5, TMX_W("x")}, false, true},
                {ObjectRef{7, 0, TMX_W("Cam")}, ObjectRef{0, 0, TMX_W("cam")}, false, true},
                {ObjectRef{0x100000000, 0, TMX_W("")}, ObjectRef{0, 0, TMX_W("")}, false, true}};
        case Type::NamedId:
            return {{NamedId{1, TMX_W("x"), 1}, NamedId{1, TMX_W("y"), 2}, true, true},
                    {NamedId{1, TMX_W("x"), 1}, NamedId{2, TMX_W("x"), 1}, false, false},
                    {NamedId{0, TMX_W("Cam"), 1}, NamedId{0, TMX_W("CAM"), 2}, true, true},
                    {NamedId{0, TMX_W("Cam"), 1}, NamedId{0, TMX_W("Can"), 1}, false, false},
                    {NamedId{7, TMX_W("Cam"), 0}, NamedId{0, TMX_W("cam"), 0}, false, true}};
        case Type::GuidRef:
            return {
                {GuidRef{guid, TMX_W("x"), 1}, GuidRef{guid, TMX_W("y"), 2}, true, true},
                {GuidRef{guid, TMX_W("x"), 1}, GuidRef{otherGuid, TMX_W("x"), 1}, false, false},
                {GuidRef{TmxGuid{}, TMX_W("Set"), 1}, GuidRef{TmxGuid{}, TMX_W("SET"), 2}, true,
                 true},
                {GuidRef{TmxGuid{}, TMX_W("Set"), 1}, GuidRef{TmxGuid{}, TMX_W("Sed"), 1}, false,
                 false},
                {GuidRef{guid, TMX_W("Set"), 0}, GuidRef{TmxGuid{}, TMX_W("set"), 0}, false, true}};
        case Type::Double:
            return {{1.5, 1.5, true, true},
                    {1.5, 1.5000000000000002, false, false},
                    {0.0, -0.0, true, true},
                    {kNan, kNan, false, false}};
        case Type::Rect:
            return {{TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 3, 4}}, true, true},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{0, 2, 3, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 0, 3, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 0, 4}}, false, false},
                    {TmxRect{{1, 2, 3, 4}}, TmxRect{{1, 2, 3, 0}}, false, false}};
        case Type::DataSet: {
            const DataSet set = {{{1, 2, 3, 4}, 5, TMX_W("x")}, {{6, 7, 8, 9}, 10, TMX_W("y")}};
            DataSet shorter = set;
            shorter.pop_back();
            DataSet number = set;
            number[1].number = 0;
            DataSet word = set;
            word[0].words[3] = 0;
            DataSet name = set;
            name[1].name = TMX_W("Y");
            return {{set, set, true, true},
                    {set, shorter, false, false},
                    {set, number, false, false},
                    {set, word, false, false},
                    // With case, unlike all other texts.
                    {set, name, false, false},
                    {DataSet{}, DataSet{}, true, true},
                    {set, DataSet{}, false, false}};
        }
    }
    return {};
}

std::vector<NamedMessage> TemplateSets(const ActionFacts& action) {
    std::vector<NamedMessage> sets;
    const auto add = [&](const std::string& name, Values values, unsigned description) {
        std::optional<WideString> text;
        if (description == 1) text = WideString();
        if (description == 2) text = TMX_W("at \u20AC night, (1): {");
        if (description > 2) text = Pick(WideTexts(), description);
        sets.push_back({name, {&action, std::move(values), true, std::move(text)}});
    };
    const auto unset = [](Values values, auto isSet) {
        for (size_t i = 0; i < values.size(); ++i) values[i].present = isSet(i);
        return values;
    };
    for (unsigned description = 0; description < 3; ++description) {
        add("none", unset(Typical(action), [](size_t) { return false; }), description);
    }
    add("all", Typical(action), 0);
    add("all", Typical(action, 1), 2);
    add("all", Empty(action), 1);
    for (size_t alone = 0; alone < action.parameters.size(); ++alone) {
        add("alone " + std::to_string(alone),
            unset(Typical(action), [&](size_t i) { return i == alone; }), 0);
        add("all but " + std::to_string(alone),
            unset(Typical(action, 1), [&](size_t i) { return i != alone; }), 2);
    }
    // The same in every run, and another for each action.
    std::mt19937 random(action.code);
    for (unsigned n = 0; n < 4; ++n) {
        add("random " + std::to_string(n),
            unset(Typical(action, n % 2), [&](size_t) { return random() % 2 == 0; }), n % 3);
    }
    for (unsigned n = 0; n < kExtremeVariants; n += 3) {
        Values values = Extreme(action, n);
        if (n % 2 != 0) values = unset(values, [&](size_t) { return random() % 3 != 0; });
        for (size_t i = 0; i < values.size(); ++i) {
            // Not every set comes back out of its bytes, by which such a template is made.
            if (n % 2 != 0 && action.parameters[i].type == Type::DataSet) {
                values[i].data = Typical(action)[i].data;
            }
        }
        add("extreme " + std::to_string(n), values, n + 3);
    }
    return sets;
}

}  // namespace tmxtest
