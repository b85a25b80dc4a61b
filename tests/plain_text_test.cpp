// Plain texts and the native-translation flag. Every test puts back the names that it replaced;
// what can't be put back is that a text was ever set, which no query shows.
#include "support/edge_support.h"

namespace edge {
namespace {

// The flag is on when the module loads, and after each test.
class PlainTextTest : public EdgeTest {
  protected:
    void TearDown() override {
        for (const bool native : {false, true}) {
            EXPECT_TRUE(TmxAct_SetNativeTranslation(native));
            for (const uint32_t code : {122u, 217u, 280u, 72u, 35u}) restoreAction(code);
            for (const uint32_t id : {1u, 3u}) restoreClass(id);
            for (const auto& [id, value] : {std::pair{40u, 2u}, {5u, 1u}, {60u, 0u}, {34u, 0u}}) {
                TmxEnumValueInfo info{};
                ASSERT_TRUE(TmxAct_GetEnumValueInfo(&info, id, value));
                info.plainNameW = info.nameW;
                EXPECT_TRUE(TmxAct_SetEnumValuePlainInfo(&info));
            }
            TmxParameterInfo field{};
            ASSERT_TRUE(TmxAct_GetEventFieldInfo(&field, 3));
            EXPECT_TRUE(TmxAct_SetEventFieldPlainInfo(named(field), 3));
            ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&field));
            EXPECT_TRUE(TmxAct_SetMatchActionDescriptionPlainInfo(named(field)));
            TmxActionInfo event{};
            ASSERT_TRUE(TmxAct_GetEventDescriptionInfo(&event));
            EXPECT_TRUE(TmxAct_SetEventDescriptionPlainInfo(named(event)));
        }
        EdgeTest::TearDown();
    }

    template <typename Record>
    static const Record* named(Record& record) {
        record.plainNameW = record.nameW;
        record.descriptionW = record.nameW;
        return &record;
    }
    static void restoreAction(uint32_t code) {
        TmxActionInfo info{};
        ASSERT_TRUE(TmxAct_GetActionInfo(&info, code));
        EXPECT_TRUE(TmxAct_SetActionPlainInfo(named(info)));
        for (uint32_t i = 0; i < info.parameterCount; ++i) {
            TmxParameterInfo parameter{};
            ASSERT_TRUE(TmxAct_GetActionParameterInfo(&parameter, code, i));
            EXPECT_TRUE(TmxAct_SetActionParameterPlainInfo(named(parameter), code, i));
        }
    }
    static void restoreClass(uint32_t id) {
        TmxActionClassInfo info{};
        ASSERT_TRUE(TmxAct_GetActionClassInfo(&info, id));
        EXPECT_TRUE(TmxAct_SetActionClassPlainInfo(named(info)));
    }

    static TmxActionInfo action(uint32_t code) {
        TmxActionInfo info{};
        EXPECT_TRUE(TmxAct_GetActionInfo(&info, code));
        return info;
    }
    static void setAction(uint32_t code, std::u16string_view plain) {
        TmxActionInfo info{};
        info.code = code;
        const WText text = W(plain);
        info.plainNameW = text.c_str();
        EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    }
    static void setDescription(uint32_t code, std::u16string_view description) {
        TmxActionInfo info{};
        info.code = code;
        const WText text = W(description);
        info.descriptionW = text.c_str();
        EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    }
    static void setParameter(uint32_t code, uint32_t index, std::u16string_view plain) {
        TmxParameterInfo info{};
        const WText text = W(plain);
        info.plainNameW = text.c_str();
        EXPECT_TRUE(TmxAct_SetActionParameterPlainInfo(&info, code, index));
    }
    static void setEnum(uint32_t id, uint32_t value, std::u16string_view plain) {
        TmxEnumValueInfo info{};
        info.enumId = id;
        info.value = value;
        const WText text = W(plain);
        info.plainNameW = text.c_str();
        EXPECT_TRUE(TmxAct_SetEnumValuePlainInfo(&info));
    }
    static void native(bool on) { EXPECT_TRUE(TmxAct_SetNativeTranslation(on)); }

    // A record whose six changeable texts are its name.
    template <typename Record>
    static bool texted(const Record& record) {
        const std::string name = record.name;
        return record.nameW == widen(name) && record.plainName == name &&
               record.plainNameU8 == name && record.plainNameW == widen(name);
    }
    template <typename Record>
    static bool described(const Record& record) {
        const std::string name = record.name;
        return texted(record) && record.description == name && record.descriptionU8 == name &&
               record.descriptionW == widen(name);
    }
};

TEST_F(PlainTextTest, TheFlagIsOnAtFirstAndKeepsWhatItIsGiven) {
    bool on = false;
    EXPECT_TRUE(TmxAct_GetNativeTranslation(&on));
    EXPECT_TRUE(on);
    EXPECT_TRUE(TmxAct_SetNativeTranslation(false));
    EXPECT_TRUE(TmxAct_GetNativeTranslation(&on));
    EXPECT_FALSE(on);
    EXPECT_TRUE(TmxAct_SetNativeTranslation(true));
    EXPECT_TRUE(TmxAct_GetNativeTranslation(&on));
    EXPECT_TRUE(on);
}

TEST_F(PlainTextTest, WithoutPlainTextsAllTextsAreTheNameInBothSets) {
    for (const bool on : {false, true}) {
        native(on);
        std::vector<TmxActionInfo> actions(353);
        ASSERT_EQ(TmxAct_EnumerateActions(actions.data(), 353), 353u);
        for (const TmxActionInfo& info : actions) {
            EXPECT_TRUE(described(info)) << info.name;
            TmxParameterInfo parameters[25];
            const uint32_t count = TmxAct_EnumerateActionParameters(parameters, 25, info.code);
            ASSERT_EQ(count, info.parameterCount);
            for (uint32_t i = 0; i < count; ++i) {
                EXPECT_TRUE(described(parameters[i])) << info.name << ' ' << parameters[i].name;
            }
        }
        std::vector<TmxActionClassInfo> classes(20);
        ASSERT_EQ(TmxAct_EnumerateActionClasses(classes.data(), 20), 20u);
        for (const TmxActionClassInfo& info : classes) EXPECT_TRUE(described(info)) << info.name;
        std::vector<TmxEnumValueInfo> values(552);
        ASSERT_EQ(TmxAct_EnumerateEnumValues(values.data(), 552, TMX_NONE), 552u);
        for (const TmxEnumValueInfo& info : values) EXPECT_TRUE(texted(info)) << info.name;
        TmxParameterInfo fields[14];
        ASSERT_EQ(TmxAct_EnumerateEventFields(fields, 14), 14u);
        for (const TmxParameterInfo& info : fields) EXPECT_TRUE(described(info)) << info.name;
        TmxActionInfo event{};
        ASSERT_TRUE(TmxAct_GetEventDescriptionInfo(&event));
        EXPECT_TRUE(described(event));
        TmxParameterInfo comment{};
        ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&comment));
        EXPECT_TRUE(described(comment));
    }
}

TEST_F(PlainTextTest, APlainNameGoesIntoTheSelectedSetAlone) {
    setAction(122, u"Kamera an");
    EXPECT_STREQ(action(122).plainName, "Kamera an");
    EXPECT_STREQ(action(122).plainNameU8, "Kamera an");
    EXPECT_EQ(WText(action(122).plainNameW), W(u"Kamera an"));
    native(false);
    EXPECT_STREQ(action(122).plainName, "CameraOn");
    EXPECT_EQ(WText(action(122).plainNameW), W(u"CameraOn"));
    setAction(122, u"Camera on");
    EXPECT_STREQ(action(122).plainName, "Camera on");
    native(true);
    EXPECT_STREQ(action(122).plainName, "Kamera an");
    native(false);
    EXPECT_STREQ(action(122).plainNameU8, "Camera on");
}

TEST_F(PlainTextTest, NamesNeverChange) {
    setAction(122, u"Kamera an");
    setDescription(122, u"Schaltet ein");
    EXPECT_STREQ(action(122).name, "CameraOn");
    EXPECT_EQ(WText(action(122).nameW), W(u"CameraOn"));
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("CameraOn"), 122u);
    EXPECT_EQ(TmxAct_GetActionCodeByNameA("Kamera an"), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionCodeByNameW(W(u"Kamera an").c_str()), TMX_NONE);
    EXPECT_EQ(rewritten("CameraOn (5)"), "CameraOn (5)");
    expectRefused("Kamera (5)", 6);
}

TEST_F(PlainTextTest, OneDescriptionServesBothSets) {
    setDescription(122, u"Schaltet ein");
    EXPECT_STREQ(action(122).description, "Schaltet ein");
    EXPECT_STREQ(action(122).plainName, "CameraOn");
    native(false);
    EXPECT_STREQ(action(122).description, "Schaltet ein");
    EXPECT_EQ(WText(action(122).descriptionW), W(u"Schaltet ein"));
    setDescription(122, u"switches on");
    native(true);
    EXPECT_STREQ(action(122).descriptionU8, "switches on");
}

TEST_F(PlainTextTest, TheThreeFormsAreConverted) {
    setAction(122, u"Gr\u00FC\u00DFe \u20AC \u4E00 \U0001F600!");
    EXPECT_STREQ(action(122).plainName,
                 "Gr\xFC\xDF"
                 "e \x80 ? \?\?!");
    EXPECT_STREQ(action(122).plainNameU8,
                 "Gr\xC3\xBC\xC3\x9F"
                 "e \xE2\x82\xAC \xE4\xB8\x80 \xF0\x9F\x98\x80!");
    EXPECT_EQ(WText(action(122).plainNameW), W(u"Gr\u00FC\u00DFe \u20AC \u4E00 \U0001F600!"));
    setDescription(122, u"\u00E4\u4E00");
    EXPECT_STREQ(action(122).description, "\xE4?");
    EXPECT_STREQ(action(122).descriptionU8, "\xC3\xA4\xE4\xB8\x80");
}

TEST_F(PlainTextTest, AnUnpairedSurrogateIsReplacedInUtf8) {
    const char16_t text[] = {u'a', 0xD800, u'b', 0};
    setAction(122, text);
    EXPECT_STREQ(action(122).plainName, "a?b");
    EXPECT_STREQ(action(122).plainNameU8,
                 "a\xEF\xBF\xBD"
                 "b");
    EXPECT_EQ(WText(action(122).plainNameW), W(text));
}

TEST_F(PlainTextTest, NullAndEmptyTextsLeaveWhatStood) {
    setAction(122, u"Kamera an");
    setDescription(122, u"Schaltet ein");
    TmxActionInfo info{};
    info.code = 122;
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    const WText blank;
    info.plainNameW = blank.c_str();
    info.descriptionW = blank.c_str();
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    EXPECT_STREQ(action(122).plainName, "Kamera an");
    EXPECT_STREQ(action(122).description, "Schaltet ein");
}

TEST_F(PlainTextTest, ASetterLooksAtNothingButTheKeyAndTheTwoWideTexts) {
    const WText other = W(u"other");
    TmxActionInfo info{};
    info.classId = 99;
    info.code = 122;
    info.reserved = 99;
    info.parameterCount = 99;
    info.name = "other";
    info.nameW = other.c_str();
    info.plainName = "other";
    info.plainNameU8 = "other";
    info.description = "other";
    info.descriptionU8 = "other";
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    EXPECT_TRUE(described(action(122)));
    EXPECT_EQ(action(122).classId, 3u);
    EXPECT_EQ(action(122).parameterCount, 1u);
}

TEST_F(PlainTextTest, SettersCopyTheirTexts) {
    WText text = W(u"a plain name that is longer than short strings are");
    TmxActionInfo info{};
    info.code = 122;
    info.plainNameW = text.c_str();
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
    text[0] = TmxWChar{'X'};
    EXPECT_STREQ(action(122).plainName, "a plain name that is longer than short strings are");
}

TEST_F(PlainTextTest, UnknownKeysAreRefused) {
    const WText text = W(u"x");
    TmxActionInfo info{};
    info.plainNameW = text.c_str();
    for (const uint32_t code : {0u, 18u, 0x7ffffffeu, 0x7fffffffu}) {
        info.code = code;
        EXPECT_FALSE(TmxAct_SetActionPlainInfo(&info)) << code;
    }
    TmxActionClassInfo classInfo{};
    classInfo.plainNameW = text.c_str();
    classInfo.classId = 19;
    EXPECT_FALSE(TmxAct_SetActionClassPlainInfo(&classInfo));
    TmxParameterInfo parameter{};
    parameter.plainNameW = text.c_str();
    EXPECT_FALSE(TmxAct_SetActionParameterPlainInfo(&parameter, 122, 1));
    EXPECT_FALSE(TmxAct_SetActionParameterPlainInfo(&parameter, 18, 0));
    EXPECT_FALSE(TmxAct_SetEventFieldPlainInfo(&parameter, 14));
    TmxEnumValueInfo value{};
    value.plainNameW = text.c_str();
    value.enumId = 40;
    value.value = 15;
    EXPECT_FALSE(TmxAct_SetEnumValuePlainInfo(&value));
    value.enumId = TMX_NONE;
    value.value = 0;
    EXPECT_FALSE(TmxAct_SetEnumValuePlainInfo(&value));
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(PlainTextTest, PlainNamesOfClassesAreNotFoundByName) {
    TmxActionClassInfo info{};
    info.classId = 1;
    const WText text = W(u"Bild");
    info.plainNameW = text.c_str();
    info.descriptionW = text.c_str();
    EXPECT_TRUE(TmxAct_SetActionClassPlainInfo(&info));
    TmxActionClassInfo out{};
    ASSERT_TRUE(TmxAct_GetActionClassInfo(&out, 1));
    EXPECT_STREQ(out.name, "Video");
    EXPECT_STREQ(out.plainName, "Bild");
    EXPECT_STREQ(out.plainNameU8, "Bild");
    EXPECT_STREQ(out.description, "Bild");
    EXPECT_EQ(TmxAct_GetActionClassByNameW(W(u"Video").c_str()), 1u);
    EXPECT_EQ(TmxAct_GetActionClassByNameW(W(u"Bild").c_str()), TMX_NONE);
    EXPECT_EQ(TmxAct_GetActionClassByNameA("Bild"), TMX_NONE);
}

TEST_F(PlainTextTest, ParametersHaveTextsOfTheirOwn) {
    setParameter(122, 0, u"Kamera");
    TmxParameterInfo info{};
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 122, 0));
    EXPECT_STREQ(info.name, "Camera");
    EXPECT_STREQ(info.plainName, "Kamera");
    ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, 123, 0));
    EXPECT_STREQ(info.plainName, "Camera");
    EXPECT_EQ(rewritten("CameraOn (5)"), "CameraOn (5)");
}

TEST_F(PlainTextTest, TheDescriptionOfAnEnumerationValueComesFromTheNameAndIsNeverShown) {
    const WText description = W(u"a description");
    const WText plain = W(u"Vorw\u00E4rts");
    TmxEnumValueInfo info{};
    info.enumId = 40;
    info.value = 2;
    info.nameW = description.c_str();
    info.plainNameW = plain.c_str();
    EXPECT_TRUE(TmxAct_SetEnumValuePlainInfo(&info));
    TmxEnumValueInfo out{};
    ASSERT_TRUE(TmxAct_GetEnumValueInfo(&out, 40, 2));
    EXPECT_STREQ(out.name, "PlayForward");
    EXPECT_EQ(WText(out.nameW), W(u"PlayForward"));
    EXPECT_STREQ(out.plainName, "Vorw\xE4rts");
    EXPECT_STREQ(out.plainNameU8, "Vorw\xC3\xA4rts");
    EXPECT_EQ(WText(out.plainNameW), plain);
    info.nameW = nullptr;
    info.plainNameW = nullptr;
    EXPECT_TRUE(TmxAct_SetEnumValuePlainInfo(&info));
    ASSERT_TRUE(TmxAct_GetEnumValueInfo(&out, 40, 2));
    EXPECT_STREQ(out.plainName, "Vorw\xE4rts");
}

TEST_F(PlainTextTest, EventFieldsTheEventRecordAndTheCommentHaveTextsToo) {
    const WText plain = W(u"Feld");
    const WText description = W(u"ein Feld");
    TmxParameterInfo field{};
    field.plainNameW = plain.c_str();
    field.descriptionW = description.c_str();
    EXPECT_TRUE(TmxAct_SetEventFieldPlainInfo(&field, 3));
    EXPECT_TRUE(TmxAct_SetMatchActionDescriptionPlainInfo(&field));
    TmxActionInfo event{};
    event.plainNameW = plain.c_str();
    event.descriptionW = description.c_str();
    EXPECT_TRUE(TmxAct_SetEventDescriptionPlainInfo(&event));

    TmxParameterInfo out{};
    ASSERT_TRUE(TmxAct_GetEventFieldInfo(&out, 3));
    EXPECT_STREQ(out.name, "Int64FieldD");
    EXPECT_STREQ(out.plainName, "Feld");
    EXPECT_STREQ(out.descriptionU8, "ein Feld");
    ASSERT_TRUE(TmxAct_GetEventFieldInfo(&out, 2));
    EXPECT_STREQ(out.plainName, "Int64FieldC");
    ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&out));
    EXPECT_STREQ(out.name, "Comment");
    EXPECT_STREQ(out.plainName, "Feld");
    TmxActionInfo outEvent{};
    ASSERT_TRUE(TmxAct_GetEventDescriptionInfo(&outEvent));
    EXPECT_STREQ(outEvent.name, "GeneralEventInfo");
    EXPECT_STREQ(outEvent.plainName, "Feld");
    EXPECT_STREQ(outEvent.description, "ein Feld");
    native(false);
    ASSERT_TRUE(TmxAct_GetEventFieldInfo(&out, 3));
    EXPECT_STREQ(out.plainName, "Int64FieldD");
    EXPECT_STREQ(out.description, "ein Feld");
}

TEST_F(PlainTextTest, TheObjectGivesTheCurrentPlainName) {
    const Handle handle = taken("CameraOn (5)");
    setAction(122, u"K\u00E4mera \u4E00");
    const char* narrow = nullptr;
    const TmxWChar* wide = nullptr;
    EXPECT_TRUE(TmxAct_GetActionPlainNameA(handle.get(), &narrow));
    EXPECT_TRUE(TmxAct_GetActionPlainNameW(handle.get(), &wide));
    EXPECT_STREQ(narrow, "K\xE4mera ?");
    EXPECT_EQ(WText(wide), W(u"K\u00E4mera \u4E00"));
    EXPECT_TRUE(TmxAct_GetActionNameA(handle.get(), &narrow));
    EXPECT_STREQ(narrow, "CameraOn");
    native(false);
    EXPECT_TRUE(TmxAct_GetActionPlainNameA(handle.get(), &narrow));
    EXPECT_STREQ(narrow, "CameraOn");
}

TEST_F(PlainTextTest, TheDisplayFormShowsThePlainTexts) {
    setAction(217, u"Play mode");
    setParameter(217, 0, u"Viewer");
    setParameter(217, 2, u"Speed");
    const Handle handle = taken("ViewerSetPlayMode (1, 2, 100)");
    EXPECT_EQ(display(handle), "Play mode; Viewer: 1; PlayForward; Speed: 100");
    setEnum(40, 2, u"Vorwaerts");
    EXPECT_EQ(display(handle), "Play mode; Viewer: 1; Vorwaerts; Speed: 100");
    EXPECT_EQ(machine(handle), "ViewerSetPlayMode (1, 2, 100)");
    native(false);
    EXPECT_EQ(display(handle), "ViewerSetPlayMode; Viewer: 1; PlayForward; PlaySpeed: 100");
}

TEST_F(PlainTextTest, TheDisplayFormTakesTheFormOfItsWidthAndCodePage) {
    setAction(217, u"\u00C4");
    setParameter(217, 0, u"\u00D6\u4E00");
    setEnum(40, 2, u"\u00DC");
    const Handle handle = taken("ViewerSetPlayMode (1, 2, 100)");
    EXPECT_EQ(textA(handle.get(), true, false), "\xC4; \xD6?: 1; \xDC; PlaySpeed: 100");
    EXPECT_EQ(textA(handle.get(), true, true),
              "\xC3\x84; \xC3\x96\xE4\xB8\x80: 1; \xC3\x9C; PlaySpeed: 100");
    for (const bool utf8 : {false, true}) {
        EXPECT_EQ(textW(handle.get(), true, utf8),
                  W(u"\u00C4; \u00D6\u4E00: 1; \u00DC; PlaySpeed: 100"));
    }
}

TEST_F(PlainTextTest, BoolsAndTheRestOfTimeShowTheirPlainTexts) {
    setEnum(5, 1, u"ja");
    EXPECT_EQ(display(taken("SetTestPictureMode (5, 1)")),
              "SetTestPictureMode; Channel: 5; Mode: ja");
    setEnum(60, 0, u"sonst");
    EXPECT_EQ(
        display(taken("StartAutoBackup ({ \"baa41e7c-9328-427e-943d-a66b44ef2fdb\", \"x\" })")),
        "StartAutoBackup; sonst");
}

TEST_F(PlainTextTest, EnumerationsAreReadByNumberEvenWithAPlainText) {
    setEnum(34, 0, u"7");
    EXPECT_EQ(display(taken("KeyPressed (0)")), "KeyPressed; 7");
    EXPECT_EQ(rewritten("KeyPressed (7)"), "KeyPressed (7)");
}

}  // namespace
}  // namespace edge
