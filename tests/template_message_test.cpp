// Templates as messages: their class, what they tell of their action, their descriptions, how they
// come from actions, their copies, and when two of them are equal.
#include <cstring>

#include "support/edge_support.h"

namespace edge {
namespace {

class TemplateMessageTest : public EdgeTest {
  protected:
    static uint32_t messageClass(const Handle& handle) {
        uint32_t number = 0;
        EXPECT_TRUE(TmxAct_GetMessageClass(handle.get(), &number));
        return number;
    }
    static uint32_t references(const Handle& handle) {
        uint32_t count = 0;
        EXPECT_TRUE(TmxAct_GetReferenceCounter(handle.get(), &count));
        return count;
    }
    static Handle clone(const Handle& handle) {
        TmxHandle copy = nullptr;
        EXPECT_TRUE(TmxAct_CloneHandle(handle.get(), &copy));
        return Handle(copy);
    }
    // A call that leaves a last error behind.
    static void leaveAnError() {
        const Handle action(TmxAct_CreateABCDisconnect());
        TmxObjectRef camera;
        EXPECT_FALSE(TmxAct_DecodeCameraOn(action.get(), &camera));
        EXPECT_NE(lastError(), std::nullopt);
    }
};

// ---- What a template tells of itself ------------------------------------------------------------

TEST_F(TemplateMessageTest, ATemplateHasMessageClassTwoAndTheCodeOfItsAction) {
    const Read match = read("@ABCDisconnect ()");
    ASSERT_TRUE(match.handle);
    EXPECT_EQ(match.consumed, 17u);
    EXPECT_EQ(messageClass(match.handle), 2u);
    uint32_t number = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(match.handle.get(), &number));
    EXPECT_EQ(number, 22u);
    number = 0;
    EXPECT_TRUE(TmxMatchAct_GetActionCode(match.handle.get(), &number));
    EXPECT_EQ(number, 22u);
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(TemplateMessageTest, TheFactsOfATemplateAreThoseOfItsAction) {
    const Handle action = taken("ViewerConnect (1, 5, 2)");
    const Handle match = taken("@ ViewerConnect (Viewer: 1)");
    uint32_t ofAction = 0;
    uint32_t ofMatch = 1;
    EXPECT_TRUE(TmxAct_GetActionClass(action.get(), &ofAction));
    EXPECT_TRUE(TmxMatchAct_GetActionClass(match.get(), &ofMatch));
    EXPECT_EQ(ofAction, ofMatch);
    const char* narrow = nullptr;
    const char* narrowOfMatch = nullptr;
    EXPECT_TRUE(TmxAct_GetActionNameA(action.get(), &narrow));
    EXPECT_TRUE(TmxMatchAct_GetActionNameA(match.get(), &narrowOfMatch));
    EXPECT_STREQ(narrowOfMatch, "ViewerConnect");
    // Both point into the one catalogue.
    EXPECT_EQ(narrow, narrowOfMatch);
    const TmxWChar* wide = nullptr;
    const TmxWChar* wideOfMatch = nullptr;
    EXPECT_TRUE(TmxAct_GetActionNameW(action.get(), &wide));
    EXPECT_TRUE(TmxMatchAct_GetActionNameW(match.get(), &wideOfMatch));
    EXPECT_EQ(WText(wideOfMatch), W(u"ViewerConnect"));
    EXPECT_EQ(wide, wideOfMatch);
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(TemplateMessageTest, TheNameOutlivesTheTemplate) {
    const char* narrow = nullptr;
    {
        const Handle match = taken("@ CameraOn ()");
        EXPECT_TRUE(TmxMatchAct_GetActionNameA(match.get(), &narrow));
    }
    EXPECT_STREQ(narrow, "CameraOn");
}

TEST_F(TemplateMessageTest, ThePlainNameIsThatOfTheChosenTranslation) {
    const Handle match = taken("@ CameraOff ()");
    const WText plain = W(u"K\u00E4mera aus \u4E00");
    TmxActionInfo info{};
    info.code = 123;
    info.plainNameW = plain.c_str();
    ASSERT_TRUE(TmxAct_SetActionPlainInfo(&info));
    const char* narrow = nullptr;
    const TmxWChar* wide = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameA(match.get(), &narrow));
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameW(match.get(), &wide));
    EXPECT_STREQ(narrow, "K\xE4mera aus ?");
    EXPECT_EQ(WText(wide), plain);
    EXPECT_TRUE(TmxAct_SetNativeTranslation(false));
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameA(match.get(), &narrow));
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameW(match.get(), &wide));
    EXPECT_STREQ(narrow, "CameraOff");
    EXPECT_EQ(WText(wide), W(u"CameraOff"));
    EXPECT_TRUE(TmxAct_SetNativeTranslation(true));
    const WText name = W(u"CameraOff");
    info.plainNameW = name.c_str();
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&info));
}

TEST_F(TemplateMessageTest, TheQueriesClearTheLastError) {
    const Handle match = taken("@ CameraOn ()");
    uint32_t number = 0;
    const char* narrow = nullptr;
    const TmxWChar* wide = nullptr;
    bool flag = false;
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionCode(match.get(), &number));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionClass(match.get(), &number));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionNameA(match.get(), &narrow));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionNameW(match.get(), &wide));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameA(match.get(), &narrow));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetActionPlainNameW(match.get(), &wide));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_HasDescription(match.get(), &flag));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetDescriptionA(match.get(), &narrow));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &wide));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), "x"));
    EXPECT_EQ(lastError(), std::nullopt);
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), nullptr));
    EXPECT_EQ(lastError(), std::nullopt);
    const Handle action = taken("CameraOn (5)");
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_Matches(match.get(), action.get(), &flag));
    EXPECT_EQ(lastError(), std::nullopt);
    TmxHandle made = nullptr;
    leaveAnError();
    EXPECT_TRUE(TmxMatchAct_CreateActionFromTemplate(match.get(), nullptr, &made));
    EXPECT_EQ(lastError(), std::nullopt);
    const Handle first(made);
    leaveAnError();
    EXPECT_TRUE(TmxAct_CreateMatchActionFromTemplate(action.get(), &made));
    EXPECT_EQ(lastError(), std::nullopt);
    const Handle second(made);
}

// ---- Filters ------------------------------------------------------------------------------------

TEST_F(TemplateMessageTest, TheClassOfATemplateMayBeAskedFor) {
    EXPECT_TRUE(read("@ABCDisconnect ()", TMX_MEASURE_LENGTH, 2).handle);
    EXPECT_TRUE(read("@ABCDisconnect ()", TMX_MEASURE_LENGTH, kAny).handle);
    expectRefused("@ABCDisconnect ()", 14, TMX_MEASURE_LENGTH, 1);
    expectRefused("@ABCDisconnect ()", 14, TMX_MEASURE_LENGTH, 0);
    expectRefused("ABCDisconnect ()", 13, TMX_MEASURE_LENGTH, 2);
}

TEST_F(TemplateMessageTest, ABytesFilterTellsTemplatesFromActions) {
    const Handle match = read("@ABCDisconnect ()").handle;
    ASSERT_TRUE(match);
    const Bytes bytes = binary(match);
    EXPECT_EQ(front(bytes, 8), header(2, 22));
    EXPECT_TRUE(fromBytes(bytes, 2).handle);
    expectNothing(bytes, 8, 1);
    expectNothing(bytes, 8, 0);
    expectNothing(header(1, 22) + emptyBlock(), 8, 2);
}

// ---- References and copies ----------------------------------------------------------------------

TEST_F(TemplateMessageTest, ATemplateCountsAsOneOpenObjectWithOneReference) {
    Handle match = taken("@ CameraOn (Camera: 5)");
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_EQ(references(match), 1u);
    Handle fromAction = templateOf(taken("CameraOn (5)"));
    EXPECT_EQ(openSinceStart(), 2u);
    EXPECT_EQ(references(fromAction), 1u);
    Handle bytes = fromBytes(binary(match)).handle;
    EXPECT_EQ(openSinceStart(), 3u);
    EXPECT_EQ(references(bytes), 1u);
    Handle copy = clone(match);
    EXPECT_EQ(openSinceStart(), 4u);
    EXPECT_EQ(references(copy), 1u);
    copy.close();
    bytes.close();
    fromAction.close();
    match.close();
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(TemplateMessageTest, ADuplicatedTemplateIsClosedTwice) {
    Handle match = taken("@ CameraOn (Camera: 5)");
    EXPECT_TRUE(TmxAct_DuplicateHandle(match.get()));
    EXPECT_EQ(references(match), 2u);
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_TRUE(TmxAct_CloseHandle(match.get()));
    EXPECT_EQ(references(match), 1u);
    EXPECT_EQ(machine(match), "@ CameraOn (Camera: 5)");
    match.close();
    EXPECT_EQ(openSinceStart(), 0u);
}

TEST_F(TemplateMessageTest, ACloneHasTheDescriptionAndAllPairs) {
    const std::string text =
        "@ SetupChanged (Comment: \"a description that no short string holds\", "
        "User: \"a user whose name is longer than short strings are\", "
        "ResourceID: { 17, \"Entrance\" }, Details: \"\")";
    Handle match = taken(text);
    const Handle copy = clone(match);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), match.get());
    EXPECT_EQ(messageClass(copy), 2u);
    EXPECT_TRUE(equal(match, copy));
    EXPECT_TRUE(equal(copy, match));
    // Its texts are its own.
    match.close();
    EXPECT_EQ(machine(copy), text);
    EXPECT_EQ(descriptionW(copy), W(u"a description that no short string holds"));
}

TEST_F(TemplateMessageTest, ACloneHasNeitherFlagsNorData) {
    const Handle match = taken("@ CameraOn ()");
    EXPECT_TRUE(TmxAct_SetMessageFlags(match.get(), 5));
    EXPECT_TRUE(TmxAct_SetInternalData(match.get(), 7));
    EXPECT_TRUE(TmxAct_DuplicateHandle(match.get()));
    const Handle copy = clone(match);
    uint32_t flags = 1;
    uint64_t data = 1;
    EXPECT_TRUE(TmxAct_GetMessageFlags(copy.get(), &flags));
    EXPECT_TRUE(TmxAct_GetInternalData(copy.get(), &data));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(data, 0u);
    EXPECT_EQ(references(copy), 1u);
    EXPECT_TRUE(TmxAct_CloseHandle(match.get()));
}

TEST_F(TemplateMessageTest, ACloneIsIndependentOfItsOriginal) {
    const Handle match = taken("@ CameraOn (Comment: \"one\", Camera: 5)");
    const Handle copy = clone(match);
    describe(copy, u"two");
    EXPECT_EQ(descriptionW(match), W(u"one"));
    EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), nullptr));
    EXPECT_EQ(descriptionA(copy), "two");
}

// ---- Descriptions -------------------------------------------------------------------------------

TEST_F(TemplateMessageTest, ANewTemplateHasNoDescription) {
    const Handle match = taken("@ CameraOn (Camera: 5)");
    EXPECT_FALSE(hasDescription(match));
    EXPECT_EQ(descriptionW(match), W(u""));
    EXPECT_EQ(descriptionA(match), "");
}

TEST_F(TemplateMessageTest, ADescriptionIsKept) {
    const Handle match = taken("@ CameraOn (Camera: 5)");
    describe(match, u"T\u00FCr \u4E00 \U0001F3A5");
    EXPECT_TRUE(hasDescription(match));
    EXPECT_EQ(descriptionW(match), W(u"T\u00FCr \u4E00 \U0001F3A5"));
    // A unit that the code page lacks becomes a question mark.
    EXPECT_EQ(descriptionA(match), "T\xFCr ? ??");
    EXPECT_EQ(descriptionW(match), W(u"T\u00FCr \u4E00 \U0001F3A5"));
    describe(match, u"other");
    EXPECT_EQ(descriptionW(match), W(u"other"));
    EXPECT_EQ(descriptionA(match), "other");
}

TEST_F(TemplateMessageTest, ANarrowDescriptionIsInTheAnsiCodePage) {
    const Handle match = taken("@ CameraOn (Camera: 5)");
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), "T\xFCr \x80 \x81"));
    EXPECT_TRUE(hasDescription(match));
    EXPECT_EQ(descriptionW(match), W(u"T\u00FCr \u20AC \u0081"));
    EXPECT_EQ(descriptionA(match), "T\xFCr \x80 \x81");
    // UTF-8 is nothing special here.
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), "\xC3\xBC"));
    EXPECT_EQ(descriptionW(match), W(u"\u00C3\u00BC"));
}

TEST_F(TemplateMessageTest, ABaseLetterAndItsMarkBecomeOneNarrowLetter) {
    const Handle match = taken("@ CameraOn ()");
    describe(match, u"A\u0308rger");
    EXPECT_EQ(descriptionA(match), "\xC4rger");
    EXPECT_EQ(descriptionW(match), W(u"A\u0308rger"));
}

TEST_F(TemplateMessageTest, ADescriptionEndsAtItsFirstZero) {
    const Handle match = taken("@ CameraOn ()");
    EXPECT_TRUE(
        TmxMatchAct_SetDescriptionW(match.get(), W(std::u16string_view(u"ab\0cd", 5)).c_str()));
    EXPECT_EQ(descriptionW(match), W(u"ab"));
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), "ef\0gh"));
    EXPECT_EQ(descriptionW(match), W(u"ef"));
    EXPECT_EQ(machine(match), "@ CameraOn (Comment: \"ef\")");
}

TEST_F(TemplateMessageTest, AnEmptyDescriptionIsADescription) {
    const Handle match = taken("@ CameraOn ()");
    describe(match, u"");
    EXPECT_TRUE(hasDescription(match));
    EXPECT_EQ(descriptionW(match), W(u""));
    EXPECT_EQ(descriptionA(match), "");
    EXPECT_EQ(machine(match), "@ CameraOn (Comment: \"\")");
    EXPECT_EQ(binary(match), header(2, 122) + hex("01 01 00 00 00 00 00  00"));
    // The narrow function gives the same.
    const Handle narrow = taken("@ CameraOn ()");
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(narrow.get(), ""));
    EXPECT_TRUE(hasDescription(narrow));
    EXPECT_EQ(binary(narrow), binary(match));
}

TEST_F(TemplateMessageTest, NullTakesTheDescriptionAway) {
    const Handle match = taken("@ CameraOn (Camera: 5)");
    const Bytes bytes = binary(match);
    for (const bool wide : {false, true}) {
        describe(match, u"a description that no short string holds");
        if (wide) {
            EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), nullptr));
        } else {
            EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), nullptr));
        }
        EXPECT_FALSE(hasDescription(match));
        EXPECT_EQ(descriptionW(match), W(u""));
        EXPECT_EQ(descriptionA(match), "");
        EXPECT_EQ(machine(match), "@ CameraOn (Camera: 5)");
        EXPECT_EQ(binary(match), bytes);
        // The copy of a template with a hidden text shows it as little.
        const Handle copy = clone(match);
        EXPECT_FALSE(hasDescription(copy));
        EXPECT_EQ(descriptionW(copy), W(u""));
        EXPECT_EQ(descriptionA(copy), "");
        EXPECT_EQ(machine(copy), "@ CameraOn (Camera: 5)");
        EXPECT_EQ(binary(copy), bytes);
    }
}

TEST_F(TemplateMessageTest, WithoutADescriptionTheTextIsTheLibrarysOwnEmptyOne) {
    const TmxWChar* wide = nullptr;
    const char* narrow = nullptr;
    {
        const Handle match = taken("@ CameraOn ()");
        describe(match, u"hidden");
        EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), nullptr));
        EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &wide));
        EXPECT_TRUE(TmxMatchAct_GetDescriptionA(match.get(), &narrow));
    }
    // The same for all, and there after the object is gone.
    const Handle other = taken("@ CameraOff ()");
    const TmxWChar* otherWide = nullptr;
    const char* otherNarrow = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(other.get(), &otherWide));
    EXPECT_TRUE(TmxMatchAct_GetDescriptionA(other.get(), &otherNarrow));
    EXPECT_EQ(wide, otherWide);
    EXPECT_EQ(narrow, otherNarrow);
    EXPECT_EQ(*wide, 0);
    EXPECT_EQ(*narrow, 0);
}

TEST_F(TemplateMessageTest, TheWideDescriptionIsTheObjectsOwnText) {
    const Handle match = taken("@ CameraOn ()");
    describe(match, u"a description that no short string holds");
    const TmxWChar* first = nullptr;
    const TmxWChar* second = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &first));
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &second));
    EXPECT_EQ(first, second);
}

TEST_F(TemplateMessageTest, ADescriptionMayBeSetFromItself) {
    const Handle match = taken("@ CameraOn ()");
    describe(match, u"a description that no short string holds");
    const TmxWChar* wide = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionW(match.get(), &wide));
    EXPECT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), wide + 2));
    EXPECT_EQ(descriptionW(match), W(u"description that no short string holds"));
    const char* narrow = nullptr;
    EXPECT_TRUE(TmxMatchAct_GetDescriptionA(match.get(), &narrow));
    EXPECT_TRUE(TmxMatchAct_SetDescriptionA(match.get(), narrow));
    EXPECT_EQ(descriptionW(match), W(u"description that no short string holds"));
}

TEST_F(TemplateMessageTest, TheDescriptionTravelsInTextAndBytes) {
    const Handle match = taken("@ CameraOn (Comment: \"at night\", Camera: 5)");
    EXPECT_TRUE(hasDescription(match));
    EXPECT_EQ(descriptionW(match), W(u"at night"));
    const BinRead back = fromBytes(binary(match));
    ASSERT_TRUE(back.handle);
    EXPECT_TRUE(hasDescription(back.handle));
    EXPECT_EQ(descriptionA(back.handle), "at night");
}

TEST_F(TemplateMessageTest, TheRecordOfTheDescriptionStandsOutsideOfEveryAction) {
    TmxParameterInfo info{};
    ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&info));
    EXPECT_EQ(info.type, static_cast<uint32_t>(TmxParamType_WideText));
    EXPECT_EQ(info.kind, static_cast<uint32_t>(TmxParamKind_None));
    EXPECT_EQ(info.extra, 0u);
    EXPECT_STREQ(info.name, "Comment");
    EXPECT_EQ(WText(info.nameW), W(u"Comment"));
    // No query of parameters gives it.
    EXPECT_FALSE(TmxAct_GetActionParameterInfo(&info, 122, 1));
    EXPECT_FALSE(TmxAct_GetActionParameterInfo(&info, 122, 0xFFFFFFFF));
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(122), 1u);
}

TEST_F(TemplateMessageTest, ThePlainNameOfTheDescriptionIsInNoText) {
    const WText plain = W(u"Bemerkung");
    TmxParameterInfo info{};
    info.plainNameW = plain.c_str();
    EXPECT_TRUE(TmxAct_SetMatchActionDescriptionPlainInfo(&info));
    TmxParameterInfo out{};
    ASSERT_TRUE(TmxAct_GetMatchActionDescriptionInfo(&out));
    EXPECT_STREQ(out.plainName, "Bemerkung");
    const Handle match = taken("@ CameraOn (Comment: \"x\", Camera: 5)");
    EXPECT_EQ(machine(match), "@ CameraOn (Comment: \"x\", Camera: 5)");
    EXPECT_EQ(display(match), "CameraOn; Camera: 5");
    expectRefusedAt("@ CameraOn (Bemerkung: \"x\")", "Bemerkung: \"x\")");
    const WText name = W(u"Comment");
    info.plainNameW = name.c_str();
    EXPECT_TRUE(TmxAct_SetMatchActionDescriptionPlainInfo(&info));
}

// ---- From an action -----------------------------------------------------------------------------

TEST_F(TemplateMessageTest, ATemplateFromAnActionHasAllRequiredParametersSet) {
    const Handle action = taken("ViewerConnect ({ 1, 2, \"V\" }, 0, 2)");
    const Handle match = templateOf(action);
    ASSERT_TRUE(match);
    EXPECT_EQ(messageClass(match), 2u);
    EXPECT_FALSE(hasDescription(match));
    EXPECT_EQ(machine(match), "@ ViewerConnect (Viewer: { 1, 2, \"V\" }, Channel: 0, PlayMode: 2)");
    EXPECT_TRUE(matches(match, action));
}

TEST_F(TemplateMessageTest, ATemplateFromAnActionHasItsPresentOptionalParametersSet) {
    EXPECT_EQ(machine(templateOf(taken("SensorVideoAlarm (5, 2)"))),
              "@ SensorVideoAlarm (Channel: 5, SensorType: 2)");
    EXPECT_EQ(machine(templateOf(taken("SensorVideoAlarm (5, 2, ADCell: 0, "
                                       "AlarmArea: { 1, 2, 3, 4 })"))),
              "@ SensorVideoAlarm (Channel: 5, SensorType: 2, ADCell: 0, "
              "AlarmArea: { 1, 2, 3, 4 })");
}

TEST_F(TemplateMessageTest, ATemplateHoldsNoLinkToItsAction) {
    Handle action = taken("CustomAction (7, \"a text that is longer than short strings are\")");
    EXPECT_TRUE(TmxAct_SetMessageFlags(action.get(), 3));
    EXPECT_TRUE(TmxAct_SetInternalData(action.get(), 4));
    setProperty(action.get(), u"a", u"b");
    const Handle match = templateOf(action);
    EXPECT_EQ(references(action), 1u);
    action.close();
    EXPECT_EQ(openSinceStart(), 1u);
    EXPECT_EQ(machine(match),
              "@ CustomAction (Int: 7, String: \"a text that is longer than short strings are\")");
    uint32_t flags = 1;
    uint64_t data = 1;
    EXPECT_TRUE(TmxAct_GetMessageFlags(match.get(), &flags));
    EXPECT_TRUE(TmxAct_GetInternalData(match.get(), &data));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(data, 0u);
}

TEST_F(TemplateMessageTest, AGenericActionHasNoTemplate) {
    const TmxObjectRef camera = ref(1, 2);
    const Handle generic(TmxAct_CreateGenericAction(&camera, nullptr, nullptr, nullptr, 5));
    leaveAnError();
    TmxHandle made = generic.get();
    EXPECT_TRUE(TmxAct_CreateMatchActionFromTemplate(generic.get(), &made));
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(openSinceStart(), 1u);
}

// ---- Equality -----------------------------------------------------------------------------------

TEST_F(TemplateMessageTest, AnActionAndATemplateOfTheSameCodeDiffer) {
    const Handle action(TmxAct_CreateABCDisconnect());
    const Handle match = read("@ABCDisconnect ()").handle;
    ASSERT_TRUE(match);
    EXPECT_FALSE(equal(action, match));
    EXPECT_FALSE(equal(match, action));
    EXPECT_TRUE(equal(match, match));
}

TEST_F(TemplateMessageTest, TemplatesOfTwoActionsDiffer) {
    const Handle on = taken("@ CameraOn (Camera: 5)");
    const Handle off = taken("@ CameraOff (Camera: 5)");
    EXPECT_FALSE(equal(on, off));
    EXPECT_FALSE(equal(off, on));
}

TEST_F(TemplateMessageTest, TemplatesThatDifferInTheirDescriptionsAloneAreEqual) {
    const Handle plain = taken("@ CameraOn (Camera: 5)");
    const Handle night = taken("@ CameraOn (Comment: \"night\", Camera: 5)");
    const Handle day = taken("@ CameraOn (Comment: \"day\", Camera: 5)");
    EXPECT_TRUE(equal(plain, night));
    EXPECT_TRUE(equal(night, plain));
    EXPECT_TRUE(equal(night, day));
    EXPECT_NE(machine(night), machine(day));
    EXPECT_NE(machine(night), machine(plain));
    EXPECT_NE(binary(night), binary(plain));
}

TEST_F(TemplateMessageTest, WhatIsSetMustAgree) {
    const Handle none = taken("@ FocusFar ()");
    const Handle camera = taken("@ FocusFar (Camera: 0)");
    const Handle speed = taken("@ FocusFar (Speed: 0)");
    const Handle both = taken("@ FocusFar (Camera: 0, Speed: 0)");
    const Handle* const all[] = {&none, &camera, &speed, &both};
    for (const Handle* a : all) {
        for (const Handle* b : all) EXPECT_EQ(equal(*a, *b), a == b);
    }
}

TEST_F(TemplateMessageTest, TheLeftTemplateChoosesHowReferencesAreCompared) {
    const Handle number = taken("@ CameraOn (Camera: 5)");
    const Handle named = taken("@ CameraOn (Camera: { 0, 5, \"x\" })");
    // Both give a number.
    EXPECT_TRUE(equal(number, named));
    EXPECT_TRUE(equal(named, number));
    const Handle nameAlone = taken("@ CameraOn (Camera: { 0, 0, \"X\" })");
    EXPECT_TRUE(equal(nameAlone, named));
    EXPECT_FALSE(equal(named, nameAlone));
    EXPECT_FALSE(equal(nameAlone, number));
    const Handle id = taken("@ CameraOn (Camera: { 9, 5, \"x\" })");
    EXPECT_FALSE(equal(id, named));
    EXPECT_TRUE(equal(named, id));
    // A GUID likewise.
    const Handle guid = taken(
        "@ StartAutoBackup (Schedule: { \"00112233-4455-6677-8899-aabbccddeeff\", \"Night\" })");
    const Handle night = taken("@ StartAutoBackup (Schedule: \"NIGHT\")");
    EXPECT_TRUE(equal(night, guid));
    EXPECT_FALSE(equal(guid, night));
}

TEST_F(TemplateMessageTest, UnsetValuesAreNotCompared) {
    // Both hold the time of their reading, which differs.
    const Handle first = taken("@ SetClock ()");
    const int64_t until = std::chrono::duration_cast<std::chrono::milliseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count() +
                          3;
    while (std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
               .count() < until) {
    }
    const Handle second = taken("@ SetClock ()");
    TmxDateTime firstTime{};
    TmxDateTime secondTime{};
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(first).get(), &firstTime));
    EXPECT_TRUE(TmxAct_DecodeSetClock(made(second).get(), &secondTime));
    EXPECT_NE(firstTime.value, secondTime.value);
    EXPECT_TRUE(equal(first, second));
    EXPECT_TRUE(equal(second, first));
}

TEST_F(TemplateMessageTest, ASetNanDiffersFromItself) {
    const Handle camera = taken("@ MoveToBySpeed (Camera: 1)");
    Bytes bytes = header(2, 0) + hex("00 00 01 00 00 00 00 00 00 F8 7F");
    uint32_t code = 0;
    EXPECT_TRUE(TmxMatchAct_GetActionCode(camera.get(), &code));
    bytes[4] = static_cast<uint8_t>(code);
    bytes[5] = static_cast<uint8_t>(code >> 8);
    const Handle nan = fromBytes(bytes).handle;
    ASSERT_TRUE(nan);
    EXPECT_FALSE(equal(nan, nan));
}

}  // namespace
}  // namespace edge
