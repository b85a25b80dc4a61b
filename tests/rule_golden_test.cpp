// The stored forms as they stand in files: single actions worked by hand, and one line for every
// action whose forms must never change.

#include <fstream>
#include <map>
#include <sstream>

#include "support/checks.h"
#include "support/reference_binary.h"
#include "support/reference_encoding.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class GoldenRule : public RuleTest {};

struct Line {
    std::string label;
    std::string rest;
};

// The lines of a golden file, without comments.
std::vector<std::string> LinesOf(const std::string& file) {
    const std::string path = std::string(TMX_TEST_DATA_DIR) + "/golden/" + file;
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    }
    EXPECT_FALSE(lines.empty()) << path;
    return lines;
}

// The label ends at the first blank; what follows it is kept with its blanks.
std::vector<Line> LabelledLinesOf(const std::string& file) {
    std::vector<Line> lines;
    for (const std::string& line : LinesOf(file)) {
        const size_t blank = line.find(' ');
        lines.push_back({line.substr(0, blank), line.substr(blank + 1)});
    }
    return lines;
}

Bytes FromHex(const std::string& text) {
    std::istringstream stream(text);
    stream >> std::hex;
    Bytes bytes;
    for (unsigned byte = 0; stream >> byte;) bytes.push_back(static_cast<uint8_t>(byte));
    return bytes;
}

struct Example {
    const char* action;
    Values values;
    Properties properties = {};
};

Value None(Datum data) { return {std::move(data), false}; }

const std::map<std::string, Example>& Examples() {
    static const std::map<std::string, Example> examples = [] {
        const TmxGuid guid = {
            0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
        // 2026-11-15 11:00:00,000 UTC, in central Europe and on the American east coast.
        constexpr uint64_t kNoon = 13439214000000;
        const DateTime europe{kNoon | uint64_t{0xFFC4} << 48};
        const DateTime america{kNoon | uint64_t{300} << 48};
        const WideString none;
        std::map<std::string, Example> list;
        list["CameraOn"] = {"CameraOn", {{ObjectRef{0x1122334455667788, 3, TMX_W("Cam")}}}};
        list["CancelExport"] = {"CancelExport", {{guid}, {int32_t{1}}}};
        list["ViewerConnect"] = {
            "ViewerConnect",
            {{ObjectRef{1, 2, TMX_W("V")}}, {ObjectRef{0, 7, TMX_W("")}}, {int32_t{1}}}};
        for (const char* name : {"CameraOn", "CancelExport", "ViewerConnect"}) {
            Example example = list[name];
            example.properties = {{TMX_W("a"), TMX_W("b")}};
            list[name + std::string("+property")] = example;
        }
        list["CameraOn-number"] = {"CameraOn", {{ObjectRef{0, 5, TMX_W("")}}}};
        list["CameraOn-full"] = {"CameraOn", {{ObjectRef{1234, 5, TMX_W("Gate")}}}};
        list["CameraOn-empty"] = {"CameraOn", {{ObjectRef{}}}};
        list["CameraOn-name"] = {"CameraOn", {{ObjectRef{0, 5, TMX_W("Gate")}}}};
        list["ViewerConnect-text"] = {
            "ViewerConnect",
            {{ObjectRef{0, 1, TMX_W("")}}, {ObjectRef{0, 5, TMX_W("")}}, {int32_t{2}}}};
        list["ViewerSetPlayMode"] = {"ViewerSetPlayMode",
                                     {{ObjectRef{0, 1, TMX_W("")}}, {int32_t{2}}, {int32_t{100}}}};
        const Values setup = {{WideString(TMX_W("admin"))},
                              {WideString(TMX_W("srv1"))},
                              {europe},
                              {int32_t{1}},
                              {NamedId{17, TMX_W("Entrance"), 0}},
                              {int32_t{2}},
                              None(none),
                              None(none),
                              None(int32_t{0}),
                              None(none)};
        list["SetupChanged"] = {"SetupChanged", setup};
        list["SetupChanged-two"] = {"SetupChanged", setup};
        list["SetupChanged-two"].values[6] = {WideString(TMX_W("moved"))};
        list["SetupChanged-two"].values[9] = {WideString(TMX_W("op1"))};
        list["SetupChanged-empty"] = {"SetupChanged", setup};
        list["SetupChanged-empty"].values[2] = {america};
        list["SetupChanged-empty"].values[4] = {NamedId{}};
        list["SetupChanged-empty"].values[6] = {none};
        list["SetupChanged-bare"] = {"SetupChanged", setup};
        list["SetupChanged-bare"].values[4] = {NamedId{0, TMX_W("Entrance"), 0}};
        list["SetupChanged-bare"].values[9] = {WideString(TMX_W("op1"))};
        list["CustomAction"] = {"CustomAction",
                                {{int64_t{7}}, {WideString(TMX_W("hello, world"))}}};
        list["ABCDisconnect"] = {"ABCDisconnect", {}};
        list["SetClock-zero"] = {"SetClock", {{DateTime{0}}}};
        Values result = Absent(ActionByName("VideoResult"));
        result[18] = {ObjectRef{0, 5, TMX_W("")}};
        result[19] = {DataSet{{{1, 2, 3, 4}, 7, TMX_W("x")}, {{5, 6, 7, 8}, 9, TMX_W("y")}}};
        list["VideoResult"] = {"VideoResult", result};
        return list;
    }();
    return examples;
}

const Example& ExampleOf(const std::string& label) {
    const auto found = Examples().find(label);
    if (found == Examples().end()) ADD_FAILURE() << "no values for " << label;
    return found == Examples().end() ? Examples().begin()->second : found->second;
}

void ExpectValues(TmxHandle handle, const Example& example, const std::string& where) {
    ASSERT_NE(handle, nullptr) << where << ": " << LastError();
    Values values;
    const ActionFacts& action = ActionByName(example.action);
    ASSERT_TRUE(Decode(action, handle, &values)) << where;
    EXPECT_EQ(Differences(action, example.values, values), "") << where;
}

TEST_F(GoldenRule, Bytes) {
    for (const Line& line : LabelledLinesOf("binary.txt")) {
        const Example& example = ExampleOf(line.label);
        const Bytes expected = FromHex(line.rest);
        const Handle handle(Create(ActionByName(example.action), example.values));
        for (const auto& [name, value] : example.properties) {
            EXPECT_TRUE(TmxAct_SetProperty(handle.get(), name.c_str(), value.c_str()));
        }
        Bytes bytes(expected.size());
        uint32_t needed = 0;
        EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle.get(), bytes.data(),
                                            static_cast<uint32_t>(bytes.size()), &needed))
            << line.label;
        EXPECT_EQ(needed, expected.size()) << line.label;
        EXPECT_EQ(Hex(bytes.data(), bytes.size()), line.rest);
        uint32_t used = 0;
        const Handle read(TmxAct_CreateFromBinBuffer(
            expected.data(), static_cast<int32_t>(expected.size()), TMX_ANY_MESSAGE_CLASS, &used));
        EXPECT_EQ(used, expected.size()) << line.label;
        ExpectValues(read.get(), example, line.label);
        const TmxWChar* value = nullptr;
        EXPECT_TRUE(TmxAct_GetProperty(read.get(), TMX_W("a"), &value));
        EXPECT_EQ(WideString(value), example.properties.empty() ? TMX_W("") : TMX_W("b"))
            << line.label;
    }
}

TEST_F(GoldenRule, Text) {
    for (const Line& line : LabelledLinesOf("text.txt")) {
        const Example& example = ExampleOf(line.label);
        const Handle handle(Create(ActionByName(example.action), example.values));
        std::string narrow(line.rest.size() + 1, '!');
        WideString wide(line.rest.size() + 1, TMX_W('!'));
        const auto size = static_cast<uint32_t>(narrow.size());
        EXPECT_TRUE(
            TmxAct_StoreToTextBufferA(handle.get(), narrow.data(), size, false, false, nullptr));
        EXPECT_TRUE(
            TmxAct_StoreToTextBufferW(handle.get(), wide.data(), size, false, false, nullptr));
        EXPECT_EQ(std::string(narrow.c_str()), line.rest) << line.label;
        EXPECT_EQ(WideString(wide.c_str()), Widened(line.rest)) << line.label;
        uint32_t consumed = 0;
        const Handle readNarrow(TmxAct_CreateFromTextBufferA(
            line.rest.c_str(), TMX_MEASURE_LENGTH, TMX_MESSAGE_CLASS_ACTION, false, &consumed));
        EXPECT_EQ(consumed, line.rest.size()) << line.label;
        ExpectValues(readNarrow.get(), example, line.label);
        const Handle readWide(
            TmxAct_CreateFromTextBufferW(Widened(line.rest).c_str(), TMX_MEASURE_LENGTH,
                                         TMX_ANY_MESSAGE_CLASS, false, &consumed));
        EXPECT_EQ(consumed, line.rest.size()) << line.label;
        ExpectValues(readWide.get(), example, line.label);
    }
}

TEST_F(GoldenRule, OtherSpellings) {
    for (const Line& line : LabelledLinesOf("text_read.txt")) {
        const Example& example = ExampleOf(line.label);
        uint32_t consumed = 0;
        const Handle narrow(TmxAct_CreateFromTextBufferA(line.rest.c_str(), TMX_MEASURE_LENGTH,
                                                         TMX_ANY_MESSAGE_CLASS, false, &consumed));
        EXPECT_EQ(consumed, line.rest.size()) << line.rest;
        ExpectValues(narrow.get(), example, line.rest);
        const Handle wide(TmxAct_CreateFromTextBufferW(Widened(line.rest).c_str(),
                                                       TMX_MEASURE_LENGTH, TMX_ANY_MESSAGE_CLASS,
                                                       false, &consumed));
        EXPECT_EQ(consumed, line.rest.size()) << line.rest;
        ExpectValues(wide.get(), example, line.rest);
    }
}

TEST_F(GoldenRule, Refused) {
    for (const std::string& text : LinesOf("text_refused.txt")) {
        EXPECT_EQ(TmxAct_CreateFromTextBufferA(text.c_str(), TMX_MEASURE_LENGTH,
                                               TMX_ANY_MESSAGE_CLASS, false, nullptr),
                  nullptr)
            << text;
        EXPECT_FALSE(HasError()) << text;
        EXPECT_EQ(TmxAct_CreateFromTextBufferW(Widened(text).c_str(), TMX_MEASURE_LENGTH,
                                               TMX_ANY_MESSAGE_CLASS, false, nullptr),
                  nullptr)
            << text;
        EXPECT_FALSE(HasError()) << text;
    }
}

// Two actions in one text: the count of the first leads to the second.
TEST_F(GoldenRule, NextActionBeginsWhereTheFirstEnds) {
    const char* text = "CameraOn (5) CameraOff (6)";
    uint32_t consumed = 0;
    const Handle first(TmxAct_CreateFromTextBufferA(text, TMX_MEASURE_LENGTH, TMX_ANY_MESSAGE_CLASS,
                                                    false, &consumed));
    EXPECT_EQ(consumed, 12u);
    ExpectValues(first.get(), {"CameraOn", {{ObjectRef{0, 5, TMX_W("")}}}}, text);
    const Handle second(TmxAct_CreateFromTextBufferA(text + consumed, TMX_MEASURE_LENGTH,
                                                     TMX_ANY_MESSAGE_CLASS, false, &consumed));
    EXPECT_EQ(consumed, 14u);
    ExpectValues(second.get(), {"CameraOff", {{ObjectRef{0, 6, TMX_W("")}}}}, text);
}

// The one text that is cut and yet taken: just ahead of its closing parenthesis.
TEST_F(GoldenRule, CutAheadOfTheClosingParenthesis) {
    uint32_t consumed = 0;
    const Handle handle(
        TmxAct_CreateFromTextBufferA("CameraOn (5", 11, TMX_ANY_MESSAGE_CLASS, false, &consumed));
    EXPECT_EQ(consumed, 12u);
    ExpectValues(handle.get(), {"CameraOn", {{ObjectRef{0, 5, TMX_W("")}}}}, "cut");
    for (uint32_t length = 0; length < 11; ++length) {
        EXPECT_EQ(TmxAct_CreateFromTextBufferA("CameraOn (5", length, TMX_ANY_MESSAGE_CLASS, false,
                                               nullptr),
                  nullptr)
            << length;
    }
}

// actions.txt holds for each action a line "name code <tab> text <tab> bytes", made from its
// typical values. Lines are added for new actions and never changed: what was stored once must be
// read for ever.
TEST_F(GoldenRule, StoredFormsNeverChange) {
    size_t count = 0;
    for (const std::string& line : LinesOf("actions.txt")) {
        const size_t tab = line.find('\t');
        const size_t second = line.find('\t', tab + 1);
        ASSERT_NE(second, std::string::npos) << line;
        const std::string head = line.substr(0, tab);
        const std::string text = line.substr(tab + 1, second - tab - 1);
        const std::string hex = line.substr(second + 1);
        const std::string name = head.substr(0, head.find(' '));
        const ActionFacts& action = ActionByName(name);
        EXPECT_EQ(head, name + " " + std::to_string(action.code));
        const Values values = Typical(action);
        const Handle handle(Create(action, values));
        std::string stored(text.size() + 1, '!');
        EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), stored.data(),
                                              static_cast<uint32_t>(stored.size()), false, true,
                                              nullptr))
            << name;
        EXPECT_EQ(std::string(stored.c_str()), text);
        const Bytes expected = FromHex(hex);
        Bytes bytes(expected.size());
        EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle.get(), bytes.data(),
                                            static_cast<uint32_t>(bytes.size()), nullptr))
            << name;
        EXPECT_EQ(Hex(bytes.data(), bytes.size()), hex) << name;
        const Example example = {action.name.c_str(), AsStored(values)};
        const Handle fromText(TmxAct_CreateFromTextBufferA(
            text.c_str(), TMX_MEASURE_LENGTH, TMX_MESSAGE_CLASS_ACTION, true, nullptr));
        ExpectValues(fromText.get(), example, name + " from text");
        const Handle fromBytes(TmxAct_CreateFromBinBuffer(expected.data(),
                                                          static_cast<int32_t>(expected.size()),
                                                          TMX_MESSAGE_CLASS_ACTION, nullptr));
        ExpectValues(fromBytes.get(), example, name + " from bytes");
        ++count;
    }
    EXPECT_GE(count, 353u);
}

// Each form gives the other, in both widths.
TEST_F(GoldenRule, Templates) {
    for (const std::string& line : LinesOf("templates.txt")) {
        const size_t tab = line.find('\t');
        ASSERT_NE(tab, std::string::npos) << line;
        const std::string text = line.substr(0, tab);
        const WideString wideText = ToWide(text, true);
        const Bytes bytes = FromHex(line.substr(tab + 1));
        uint32_t consumed = 0;
        const Handle narrow(TmxAct_CreateFromTextBufferA(
            text.c_str(), TMX_MEASURE_LENGTH, TMX_MESSAGE_CLASS_MATCH_ACTION, true, &consumed));
        ASSERT_TRUE(narrow) << text;
        EXPECT_EQ(consumed, text.size()) << text;
        const Handle wide(TmxAct_CreateFromTextBufferW(wideText.c_str(), TMX_MEASURE_LENGTH,
                                                       TMX_MESSAGE_CLASS_MATCH_ACTION, false,
                                                       &consumed));
        ASSERT_TRUE(wide) << text;
        EXPECT_EQ(consumed, wideText.size()) << text;
        const Handle read(TmxAct_CreateFromBinBuffer(bytes.data(),
                                                     static_cast<int32_t>(bytes.size()),
                                                     TMX_MESSAGE_CLASS_MATCH_ACTION, &consumed));
        ASSERT_TRUE(read) << text;
        EXPECT_EQ(consumed, bytes.size()) << text;
        for (const Handle* handle : {&narrow, &wide, &read}) {
            const Bytes stored = StoredBytes(handle->get());
            EXPECT_EQ(Hex(stored.data(), stored.size()), line.substr(tab + 1)) << text;
            std::string again(text.size() + 1, '!');
            EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle->get(), again.data(),
                                                  static_cast<uint32_t>(again.size()), false, true,
                                                  nullptr));
            EXPECT_EQ(std::string(again.c_str()), text);
            WideString wideAgain(wideText.size() + 1, TMX_W('!'));
            EXPECT_TRUE(TmxAct_StoreToTextBufferW(handle->get(), wideAgain.data(),
                                                  static_cast<uint32_t>(wideAgain.size()), false,
                                                  false, nullptr));
            EXPECT_EQ(WideString(wideAgain.c_str()), wideText);
        }
    }
}

}  // namespace
}  // namespace tmxtest
