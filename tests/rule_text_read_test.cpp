// Reading of every action's text: back from what was written, cut at every place, and changed at
// every place, against the reference reader.

#include <algorithm>

#include "support/checks.h"
#include "support/reference_encoding.h"
#include "support/reference_equal.h"
#include "support/text_checks.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class TextReadRule : public RuleTest {};

// True where the set is made so that the reader must take the text back.
bool MustRead(const ActionFacts& action, const NamedValues& set) {
    for (const ParameterFacts& parameter : action.parameters) {
        if (parameter.type == Type::DataSet && set.name == "empty") return false;
    }
    return set.name == "typical" || set.name == "other typical" || set.name == "absent" ||
           set.name == "empty";
}

TEST_F(TextReadRule, TakesBackWhatWasWritten) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            if (number++ % kSparse != 0) continue;
            const Handle original(Create(action, set.values));
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = TextForm<Char>::Reference(action, set.values, false, utf8);
                if (!text) return;
                const std::string where = action.name + ", " + set.name;
                Handle read;
                const bool made = CheckRead(*text, TMX_MEASURE_LENGTH, utf8, where, &read);
                CheckRead(*text, static_cast<uint32_t>(text->size()), utf8, where);
                if (!MustRead(action, set)) return;
                ASSERT_TRUE(made) << where << "\n" << Printable(*text);
                bool there = false;
                bool back = false;
                EXPECT_TRUE(TmxAct_Equal(original.get(), read.get(), &there));
                EXPECT_TRUE(TmxAct_Equal(read.get(), original.get(), &back));
                EXPECT_TRUE(there && back) << where << "\n" << Printable(*text);
                // What was read writes the same text again.
                std::basic_string<Char> again(text->size() + 1, Char{1});
                EXPECT_TRUE(TextForm<Char>::Store(read.get(), again.data(),
                                                  static_cast<uint32_t>(again.size()), false, utf8,
                                                  nullptr));
                again.pop_back();
                EXPECT_EQ(Printable(again), Printable(*text)) << where;
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TextReadRule, NamesAreTakenInAnyCase) {
    for (const ActionFacts& action : AllActions()) {
        const Values values = Typical(action);
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = TextForm<Char>::Reference(action, values, false, utf8);
            for (bool upper : {false, true}) {
                EXPECT_TRUE(
                    CheckRead(WithNameCase(*text, upper), TMX_MEASURE_LENGTH, utf8, action.name));
            }
        });
        if (TooManyFailures()) return;
    }
}

// Blanks at every place where a token ends, and what may follow the text.
TEST_F(TextReadRule, WhiteSpaceStandsAroundEveryToken) {
    for (const ActionFacts& action : AllActions()) {
        const Values values = Typical(action);
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = *TextForm<Char>::Reference(action, values, false, utf8);
            const auto spaced = Spaced(text);
            auto dense = Dense(text);
            EXPECT_TRUE(CheckRead(spaced, TMX_MEASURE_LENGTH, utf8, action.name));
            EXPECT_TRUE(CheckRead(dense, TMX_MEASURE_LENGTH, utf8, action.name));
            dense += Char{')'};
            dense += text;
            EXPECT_TRUE(CheckRead(dense, TMX_MEASURE_LENGTH, utf8, action.name));
        });
        if (TooManyFailures()) return;
    }
}

TEST_F(TextReadRule, EveryCutLength) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const Values& values : {Typical(action), Absent(action), Mixed(action, 5)}) {
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = *TextForm<Char>::Reference(action, values, false, utf8);
                for (size_t cut = 0; cut <= text.size(); ++cut) {
                    if (number++ % kSparse != 0) continue;
                    // Once the text goes on behind its length, once it ends there.
                    const auto length = static_cast<uint32_t>(cut);
                    CheckRead(text, length, utf8, action.name + ", shorter length");
                    CheckRead(text.substr(0, cut), length, utf8, action.name + ", cut");
                    CheckRead(text.substr(0, cut), TMX_MEASURE_LENGTH, utf8,
                              action.name + ", cut and measured");
                    CheckRead(text.substr(0, cut), length + 9, utf8,
                              action.name + ", cut, longer length");
                }
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TextReadRule, OneCharacterChangedInChosenActions) {
    size_t number = 0;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        for (const Values& values : {Typical(action), Mixed(action, 3)}) {
            ForAllForms([&]<typename Char>(bool utf8) {
                const auto text = *TextForm<Char>::Reference(action, values, false, utf8);
                for (size_t place = 0; place < text.size(); ++place) {
                    for (Char replacement : Replacements<Char>()) {
                        if (number++ % kSparse != 0) continue;
                        auto changed = text;
                        changed[place] = replacement;
                        CheckChanged(changed, utf8, action.name + ", changed");
                    }
                    if (number++ % kSparse != 0) continue;
                    auto shorter = text;
                    shorter.erase(place, 1);
                    CheckChanged(shorter, utf8, action.name + ", one left out");
                    auto longer = text;
                    longer.insert(place, 1, Replacements<Char>()[place % 24]);
                    CheckChanged(longer, utf8, action.name + ", one put in");
                    if (TooManyFailures()) return;
                }
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TextReadRule, OneCharacterChangedInAllActions) {
    Random random(20261115);
    for (const ActionFacts& action : AllActions()) {
        const Values values = Typical(action, 1);
        ForAllForms([&]<typename Char>(bool utf8) {
            const auto text = *TextForm<Char>::Reference(action, values, false, utf8);
            for (unsigned i = 0; i < 400 / kSparse; ++i) {
                auto changed = text;
                const auto& list = Replacements<Char>();
                changed[Below(random, text.size())] = list[Below(random, list.size())];
                CheckChanged(changed, utf8, action.name + ", changed");
                // Two changes, and a change and a cut together.
                changed[Below(random, text.size())] = list[Below(random, list.size())];
                CheckChanged(changed, utf8, action.name + ", changed twice");
                CheckRead(changed, Below(random, text.size() + 1), utf8,
                          action.name + ", changed and cut");
            }
        });
        if (TooManyFailures()) return;
    }
}

// The names of optional parameters in another order, twice, or unknown.
TEST_F(TextReadRule, OptionalParametersOutOfPlace) {
    for (const ActionFacts& action : AllActions()) {
        const std::string text = *NarrowText(action, Typical(action), false, false);
        std::vector<size_t> starts;
        for (const ParameterFacts& parameter : action.parameters) {
            if (!parameter.optional) continue;
            const size_t at = text.find(parameter.name + ": ");
            ASSERT_NE(at, std::string::npos) << action.name;
            std::string twice = text;
            const size_t end = text.find(", ", at);
            twice.insert(
                at,
                text.substr(at, (end == std::string::npos ? text.size() - 1 : end) - at) + ", ");
            CheckRead(twice, TMX_MEASURE_LENGTH, false, action.name + ", twice");
            std::string unknown = text;
            unknown.insert(at, "No");
            CheckRead(unknown, TMX_MEASURE_LENGTH, false, action.name + ", unknown name");
            std::string longer = text;
            longer.insert(at + parameter.name.size(), "X");
            CheckRead(longer, TMX_MEASURE_LENGTH, false, action.name + ", longer name");
            std::string moved = text.substr(0, at) + text.substr(text.size() - 1);
            moved.insert(text.find('(') + 1, parameter.name + ": 1, ");
            CheckRead(moved, TMX_MEASURE_LENGTH, false, action.name + ", in front");
        }
        if (TooManyFailures()) return;
    }
}

// The name of an optional parameter is tested as a prefix: where one name begins with another that
// is absent, the reader takes the longer for the shorter and fails at the colon.
TEST_F(TextReadRule, LongerNameBehindAnAbsentShorterOneIsRefused) {
    std::string found;
    for (const ActionFacts& action : AllActions()) {
        for (size_t i = 0; i < action.parameters.size(); ++i) {
            for (size_t j = i + 1; j < action.parameters.size(); ++j) {
                const std::string& shorter = action.parameters[i].name;
                const std::string& longer = action.parameters[j].name;
                if (!action.parameters[i].optional || !action.parameters[j].optional) continue;
                if (longer.compare(0, shorter.size(), shorter) != 0) continue;
                found += action.name + "." + longer + " ";
                Values values = Absent(action);
                values[j] = Typical(action)[j];
                const std::string text = *NarrowText(action, values, false, false);
                EXPECT_FALSE(CheckRead(text, TMX_MEASURE_LENGTH, false, action.name)) << text;
                EXPECT_FALSE(CheckRead(Widened(text), TMX_MEASURE_LENGTH, false, action.name));
                values[i] = Typical(action)[i];
                const std::string both = *NarrowText(action, values, false, false);
                EXPECT_TRUE(CheckRead(both, TMX_MEASURE_LENGTH, false, action.name)) << both;
            }
        }
    }
    EXPECT_NE(found.find(".PricePerUnit "), std::string::npos) << found;
}

TEST_F(TextReadRule, NumbersInAllSpellings) {
    const ActionFacts& custom = ActionByName("CustomAction");
    const ActionFacts& speed = ActionByName("ViewerSetPlayMode");
    for (const char* number : {"",
                               "0",
                               "-",
                               "+",
                               "+5",
                               "-5",
                               "--5",
                               "0x",
                               "0X1f",
                               "0xFFFFFFFFFFFFFFFF",
                               "-0x10",
                               "0x12g",
                               "12a",
                               "4294967296",
                               "4294967295",
                               "2147483648",
                               "18446744073709551617",
                               "0x100000000",
                               "1.5",
                               "1e3",
                               "007",
                               "-2147483649",
                               "-(",
                               "12 34",
                               " 7 ",
                               "0xx",
                               "0 x1",
                               "\xB2"}) {
        CheckRead(custom.name + " (" + number + ", \"x\")", TMX_MEASURE_LENGTH, false, "64 bits");
        CheckRead(speed.name + " (1, 2, " + number + ")", TMX_MEASURE_LENGTH, false, "32 bits");
        CheckRead(speed.name + " (" + number + ", 2, 3)", TMX_MEASURE_LENGTH, false, "reference");
        CheckRead("ABCPlayFile (1, \"x\", " + std::string(number) + ")", TMX_MEASURE_LENGTH, false,
                  "bool");
        const std::string set =
            "VideoResult (1, {{" + std::string(number) + ", 2, 3, 4, 5, \"x\"}})";
        CheckRead(set, TMX_MEASURE_LENGTH, false, "16 bits");
        const std::string entry =
            "VideoResult (1, {{1, 2, 3, 4, " + std::string(number) + ", \"x\"}})";
        CheckRead(entry, TMX_MEASURE_LENGTH, false, "number of an entry");
    }
}

TEST_F(TextReadRule, DoublesInAllSpellings) {
    const ActionFacts* action = nullptr;
    size_t place = 0;
    for (const ActionFacts& candidate : AllActions()) {
        for (size_t i = 0; i < candidate.parameters.size() && action == nullptr; ++i) {
            if (candidate.parameters[i].type != Type::Double || candidate.parameters[i].optional) {
                continue;
            }
            action = &candidate;
            place = i;
        }
    }
    ASSERT_NE(action, nullptr);
    Values values = Typical(*action);
    values[place].data = 7777.25;
    const std::string text = *NarrowText(*action, values, false, false);
    const size_t at = text.find("7777.25");
    ASSERT_NE(at, std::string::npos) << text;
    for (const char* number : {"",
                               "1",
                               "-1",
                               "+1.5",
                               "1.",
                               ".5",
                               ".",
                               "-.5",
                               "-",
                               "1e6",
                               "1e+006",
                               "1e-006",
                               "1E6",
                               "1e",
                               "1e+",
                               "1.5e400",
                               "1e-400",
                               "4.94066e-324",
                               "1.79769e+308",
                               "inf",
                               "nan",
                               "infinity",
                               "NAN",
                               "0x10",
                               "0x1p3",
                               "1.#INF",
                               "-1.#IND",
                               "1,5",
                               "1d5",
                               "12345678901234567890",
                               "1 5",
                               "0.1000000000000000055511151231257827"}) {
        std::string changed = text;
        changed.replace(at, 7, number);
        CheckRead(changed, TMX_MEASURE_LENGTH, false, "double " + std::string(number));
        CheckRead(WideString(changed.begin(), changed.end()), TMX_MEASURE_LENGTH, false,
                  "double " + std::string(number));
    }
}

TEST_F(TextReadRule, DateTimesInAllSpellings) {
    for (const char* time : {"1601/01/01 00:00:00,000 GMT+00:00",
                             "1601/01/01 00:00:00,000 GMT+01:00",
                             "1601/01/01 GMT-00:01",
                             "1600/12/31",
                             "10000/01/01",
                             "16010/01/01",
                             "2024/02/29 UTC+00:00",
                             "2023/02/29 GMT+00:00",
                             "1900/02/29 GMT+00:00",
                             "2000/02/29 GMT+00:00",
                             "2026/11/15 24:00",
                             "2026/11/15 12",
                             "2026/11/15 GMT+01:00",
                             "2026/11/15 12:30 utc - 02:30",
                             "2026/11/15 12:30 GMT",
                             "2026/11/15 12:30 GMT+15:00",
                             "2026/11/15 12:30 GMT+14:59",
                             "2026/11/15 12:30:59,999 GMT+05:30  ",
                             "2026/11/15 12:30 GMT+05:30 x",
                             "2026/1/5 1:2 UTC1:0",
                             "2026/11/15 12:30",
                             "2026/11/15",
                             "2026/11/15 ",
                             "2026/11/15x",
                             "2026/11/15 12:60 GMT+0:0",
                             "2026/11/15 12:30:60 GMT+0:0",
                             "2026/11/15 12:30:1,5 GMT+0:0",
                             "",
                             " ",
                             "x",
                             "2026/13/15 GMT+0:0",
                             "2026/00/15 GMT+0:0",
                             "2026/11/31 GMT+0:0",
                             "2026/11/00 GMT+0:0",
                             "9999/12/31 23:59:59,999 GMT-14:00",
                             "  2026/11/15   12:30GMT+1:00",
                             "2026/11/15 12:30:00,1234 GMT+1:00",
                             "2026/11/15 12:30 GMT+1:60",
                             "2026/11/15 12:30 GM",
                             "2026-11-15 12:30 GMT+1:00",
                             "2026/11/15T12:30 GMT+1:00",
                             "2026/11/15 12:30 GMT + 1:00",
                             "2026/11/15\t12:30 GMT+1:00",
                             "2026/11/15 12:30 GMT+001:00",
                             "2026/11/15 12:30 GMT+1 :00",
                             "2026/11/15 12:30 Gmt-00:00",
                             "2026/11/15 12:30 \xC7MT"}) {
        const std::string text = "SetClock (\"" + std::string(time) + "\")";
        CheckRead(text, TMX_MEASURE_LENGTH, false, "date-time");
        CheckRead(text, TMX_MEASURE_LENGTH, true, "date-time");
        CheckRead(ToWide(text, false), TMX_MEASURE_LENGTH, false, "date-time");
    }
}

TEST_F(TextReadRule, GuidsInAllSpellings) {
    for (const char* guid :
         {"00112233-4455-6677-8899-aabbccddeeff", "{00112233-4455-6677-8899-AABBCCDDEEFF}",
          "{00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-aabbccddeeff} more",
          "{00112233-4455-6677-8899-aabbccddeeff} more", "00112233-4455-6677-8899-aabbccddeef",
          "00112233-4455-6677-8899aabbccddeeff", "001122334-455-6677-8899-aabbccddeeff", "", "{}",
          "0011223g-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-aabbccddeeff0",
          " 00112233-4455-6677-8899-aabbccddeeff", "\xFC",
          "{{00112233-4455-6677-8899-aabbccddeeff}"}) {
        for (const std::string& text :
             {"CancelExport (\"" + std::string(guid) + "\", 1)",
              "StartAutoBackup ({ \"" + std::string(guid) + "\", \"x\" })"}) {
            CheckRead(text, TMX_MEASURE_LENGTH, false, "GUID");
            CheckRead(text, TMX_MEASURE_LENGTH, true, "GUID");
            CheckRead(ToWide(text, false), TMX_MEASURE_LENGTH, false, "GUID");
        }
    }
}

TEST_F(TextReadRule, ReferencesAndSetsInAllSpellings) {
    for (const char* text :
         {"CameraOn ({1,2,\"x\"})",
          "CameraOn ({ 1, 2 })",
          "CameraOn ({ 1, 2, x })",
          "CameraOn ({ 1 , 2 , \"x\" } )",
          "CameraOn ({ , , \"\" })",
          "CameraOn ({ 1, 2, \"x\" )",
          "CameraOn ({})",
          "CameraOn ({",
          "CameraOn (\"x\")",
          "CameraOn ({ 0x10, -1, \"x\" })",
          "CameraOn (5) CameraOff (6)",
          "CameraOn (Camera: 5)",
          "CameraOn",
          "CameraOn,",
          "CameraOn()",
          "  cameraon(5)",
          "CAMERAON ( 0x5 )",
          "CameraOn (5,)",
          "CameraOn (,5)",
          "CameraOn (5",
          "",
          " ",
          "@",
          "@ ",
          "@CameraOn (5)",
          "@ CameraOn (5)",
          "@Nothing (5)",
          "Nothing (5)",
          "CameraO (5)",
          "CameraOnn (5)",
          "()",
          "(5)",
          "\"CameraOn\" (5)",
          "\fCameraOn (5)",
          "StartEvent (\"Main\")",
          "StartEvent ('Main\")",
          "StartEvent (xMain\")",
          "StartEvent ({ 17, \"Main\" })",
          "StartEvent ({ 17, 'Main\" })",
          "StartEvent ({ 17 })",
          "StartEvent ({ 17, \"Main\" }, ForeignKey : 5)",
          "StartEvent (\"a\", foreignkey: 0x5)",
          "StartEvent (\"a\", ForeignKeyX: 5)",
          "StartEvent (\"a\", 5)",
          "StartEvent (\"a\",)",
          "StartEvent (\"a\", ForeignKey)",
          "StartEvent (\"a\", ForeignKey:)",
          "StartEvent (\"a\", ForeignKey: , 5)",
          "StartEvent (\"a)",
          "StartEvent (",
          "StartAutoBackup (\"Night\")",
          "StartAutoBackup (~Night\")",
          "StartAutoBackup ({ \"00112233-4455-6677-8899-aabbccddeeff\" })",
          "StartAutoBackup ({ \"00112233-4455-6677-8899-aabbccddeeff, \"x\" })",
          "StartAutoBackup ({ '00112233-4455-6677-8899-aabbccddeeff\", \"x\" })",
          "StartAutoBackup ({ \", )",
          "StartAutoBackup ({ \"",
          "VideoResult (5, {})",
          "VideoResult (5, {",
          "VideoResult (5, { )",
          "VideoResult (5, {{1,2,3,4,5,\"x\"}})",
          "VideoResult (5, {{1,2,3,4,5,\"x\"})",
          "VideoResult (5, {{1,2,3,4,5,\"x\"}, )",
          "VideoResult (5, {{1,2,3,4,5,\"x\"},})",
          "VideoResult (5, {{1,2,3,4,5,\"x\"} {1,2,3,4,5,\"x\"}})",
          "VideoResult (5, { { 1 , 2 , 3 , 4 , 5 , \"x\" } , { 1 , 2 , 3 , 4 , 5 , \"y\" } } )",
          "VideoResult (5, {{1,2,3,4,\"x\"}})",
          "VideoResult (5, {{1,2,3,4,5,x}})",
          "VideoResult (5, 6)",
          "VideoResult (Int64FieldA: 1, DateFieldB: \"2026/11/15 UTC0:0\", 5, "
          "{{1,2,3,4,5,\"x\"}})",
          "VideoResult (Int64FieldB: 1, Int64FieldA: 2, 5, {{1,2,3,4,5,\"x\"}})"}) {
        CheckRead(std::string(text), TMX_MEASURE_LENGTH, false, "spelling");
        CheckRead(Widened(text), TMX_MEASURE_LENGTH, true, "spelling");
    }
}

// It is for people alone.
TEST_F(TextReadRule, DisplayFormIsRefused) {
    for (const ActionFacts& action : AllActions()) {
        const Values values = Typical(action);
        ForAllForms([&]<typename Char>(bool utf8) {
            EXPECT_FALSE(CheckRead(*TextForm<Char>::Reference(action, values, true, utf8),
                                   TMX_MEASURE_LENGTH, utf8, action.name + ", display"));
        });
    }
}

TEST_F(TextReadRule, MessageClassIsAFilter) {
    for (const ActionFacts& action : AllActions()) {
        const std::string text = *NarrowText(action, Typical(action), false, false);
        uint32_t consumed = 0;
        EXPECT_EQ(TmxAct_CreateFromTextBufferA(text.c_str(), TMX_MEASURE_LENGTH,
                                               TMX_MESSAGE_CLASS_MATCH_ACTION, false, &consumed),
                  nullptr);
        EXPECT_EQ(consumed, action.name.size()) << action.name;
        EXPECT_FALSE(HasError());
        const Handle any(TmxAct_CreateFromTextBufferA(text.c_str(), TMX_MEASURE_LENGTH,
                                                      TMX_ANY_MESSAGE_CLASS, false, nullptr));
        EXPECT_TRUE(any) << action.name;
    }
}

}  // namespace
}  // namespace tmxtest
