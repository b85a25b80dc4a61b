// The text of every action, machine and display form, in both widths, against the reference; and
// the protocol of the buffer's size.

#include <algorithm>

#include "support/checks.h"
#include "support/reference_encoding.h"
#include "support/text_checks.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class TextWriteRule : public RuleTest {};

void CheckAllActions(bool display) {
    size_t number = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            if (number++ % kSparse != 0) continue;
            const Handle handle(Create(action, set.values));
            ASSERT_TRUE(handle);
            ForAllForms([&]<typename Char>(bool utf8) {
                CheckStore<Char>({&action, set.values}, action.name + ", " + set.name, handle.get(),
                                 display, utf8);
            });
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(TextWriteRule, MachineFormIsExact) { CheckAllActions(false); }

TEST_F(TextWriteRule, DisplayFormIsExact) { CheckAllActions(true); }

TEST_F(TextWriteRule, EverySizeOfTheBuffer) {
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        const Values values = Typical(action);
        const Handle handle(Create(action, values));
        ForAllForms([&]<typename Char>(bool utf8) {
            for (bool display : {false, true}) {
                const auto expected = *TextForm<Char>::Reference(action, values, display, utf8);
                for (uint32_t size = 0; size <= expected.size() + 2; ++size) {
                    GuardedBuffer<Char> buffer(size);
                    uint32_t written = kUnset;
                    const bool stored = TextForm<Char>::Store(handle.get(), buffer.data(), size,
                                                              display, utf8, &written);
                    ASSERT_EQ(stored, size > expected.size()) << name << " with " << size;
                    ASSERT_EQ(written, expected.size() + 1) << name << " with " << size;
                    ASSERT_TRUE(buffer.GuardIsIntact()) << name << " with " << size;
                    ASSERT_TRUE(buffer.HoldsFrontOf(expected + Char{0}))
                        << name << " with " << size;
                    ASSERT_EQ(LastError(), stored ? "none" : "1008/7 buffer too small");
                }
            }
        });
    }
}

// The size is taken as a signed number: one with the top bit is as good as none.
TEST_F(TextWriteRule, NegativeSizeHoldsNothing) {
    const Handle handle(TmxAct_CreateABCDisconnect());
    char narrow[64] = "untouched";
    uint32_t written = kUnset;
    EXPECT_FALSE(
        TmxAct_StoreToTextBufferA(handle.get(), narrow, 0xFFFFFFFF, false, false, &written));
    EXPECT_EQ(written, 17u);
    EXPECT_STREQ(narrow, "untouched");
    EXPECT_EQ(LastError(), "1008/7 buffer too small");
}

TEST_F(TextWriteRule, GenericActionHasNoText) {
    const Handle handle(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 5));
    ForAllForms([&]<typename Char>(bool utf8) {
        for (bool display : {false, true}) {
            GuardedBuffer<Char> buffer(8);
            uint32_t written = kUnset;
            EXPECT_TRUE(
                TextForm<Char>::Store(handle.get(), buffer.data(), 8, display, utf8, &written));
            EXPECT_EQ(written, 0u);
            EXPECT_TRUE(buffer.HoldsFrontOf({}));
        }
    });
}

// The display form takes the plain texts that are set, in the encoding of the text.
TEST_F(TextWriteRule, DisplayFormShowsPlainTexts) {
    const ActionFacts& action = ActionByName("ViewerSetPlayMode");
    TmxActionInfo actionInfo{};
    ASSERT_TRUE(TmxAct_GetActionInfo(&actionInfo, action.code));
    actionInfo.plainNameW = TMX_W("Play mode");
    actionInfo.descriptionW = nullptr;
    ASSERT_TRUE(TmxAct_SetActionPlainInfo(&actionInfo));
    const TmxWChar* const names[] = {TMX_W("Viewer"), TMX_W(""), TMX_W("Gr\u00F6\u00DFe \u20AC")};
    for (uint32_t i = 0; i < 3; ++i) {
        TmxParameterInfo info{};
        info.plainNameW = names[i];
        ASSERT_TRUE(TmxAct_SetActionParameterPlainInfo(&info, action.code, i));
    }
    const Handle handle(
        Create(action, {{ObjectRef{0, 1, TMX_W("")}}, {int32_t{2}}, {int32_t{100}}}));
    char narrow[128] = "";
    char utf8[128] = "";
    TmxWChar wide[128] = TMX_W("");
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), narrow, 128, true, false, nullptr));
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), utf8, 128, true, true, nullptr));
    EXPECT_TRUE(TmxAct_StoreToTextBufferW(handle.get(), wide, 128, true, false, nullptr));
    EXPECT_STREQ(narrow,
                 "Play mode; Viewer: 1; PlayForward; Gr\xF6\xDF"
                 "e \x80: 100");
    EXPECT_STREQ(utf8,
                 "Play mode; Viewer: 1; PlayForward; Gr\xC3\xB6\xC3\x9F"
                 "e \xE2\x82\xAC: 100");
    EXPECT_EQ(WideString(wide),
              TMX_W("Play mode; Viewer: 1; PlayForward; Gr\u00F6\u00DFe \u20AC: 100"));
    // The other set of names is as it was.
    EXPECT_TRUE(TmxAct_SetNativeTranslation(false));
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), narrow, 128, true, false, nullptr));
    EXPECT_TRUE(TmxAct_SetNativeTranslation(true));
    EXPECT_STREQ(narrow, "ViewerSetPlayMode; Viewer: 1; PlayForward; PlaySpeed: 100");
    // The machine form doesn't show them.
    EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), narrow, 128, false, false, nullptr));
    EXPECT_STREQ(narrow, "ViewerSetPlayMode (1, 2, 100)");
    // Put the names back.
    actionInfo.plainNameW = TMX_W("ViewerSetPlayMode");
    EXPECT_TRUE(TmxAct_SetActionPlainInfo(&actionInfo));
    for (uint32_t i = 0; i < 3; ++i) {
        const WideString name = Widened(action.parameters[i].name);
        TmxParameterInfo info{};
        info.plainNameW = name.c_str();
        EXPECT_TRUE(TmxAct_SetActionParameterPlainInfo(&info, action.code, i));
    }
}

}  // namespace
}  // namespace tmxtest
