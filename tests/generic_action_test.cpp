// The generic action: routing values without a catalogue entry.
#include "support/edge_support.h"

namespace edge {
namespace {

class GenericActionTest : public EdgeTest {
  protected:
    static Handle empty() {
        return Handle(TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0));
    }
    using Accessor = bool (*)(TmxHandle, TmxObjectRef**);
    static TmxObjectRef* routed(Accessor accessor, const Handle& handle) {
        static TmxObjectRef none;
        TmxObjectRef* result = &none;
        EXPECT_TRUE(accessor(handle.get(), &result));
        EXPECT_EQ(lastError(), std::nullopt);
        return result;
    }
};

TEST_F(GenericActionTest, FourNullReferencesGiveFourNulls) {
    const Handle handle = empty();
    ASSERT_TRUE(handle);
    EXPECT_EQ(routed(TmxAct_GetVideoInput, handle), nullptr);
    EXPECT_EQ(routed(TmxAct_GetVideoOutput, handle), nullptr);
    EXPECT_EQ(routed(TmxAct_GetInputContact, handle), nullptr);
    EXPECT_EQ(routed(TmxAct_GetOutputContact, handle), nullptr);
    uint32_t number = 0;
    EXPECT_TRUE(TmxAct_GetActionCode(handle.get(), &number));
    EXPECT_EQ(number, 0x7ffffffeu);
    EXPECT_TRUE(TmxAct_GetMessageClass(handle.get(), &number));
    EXPECT_EQ(number, 1u);
}

TEST_F(GenericActionTest, EachAccessorGivesItsOwnReference) {
    const TmxObjectRef a = ref(1, 0);
    const TmxObjectRef b = ref(2, 0);
    const TmxObjectRef c = ref(3, 0);
    const TmxObjectRef d = ref(4, 0);
    const Handle handle(TmxAct_CreateGenericAction(&a, &b, &c, &d, -5));
    EXPECT_EQ(routed(TmxAct_GetVideoInput, handle)->id, 1);
    EXPECT_EQ(routed(TmxAct_GetVideoOutput, handle)->id, 2);
    EXPECT_EQ(routed(TmxAct_GetInputContact, handle)->id, 3);
    EXPECT_EQ(routed(TmxAct_GetOutputContact, handle)->id, 4);
    int32_t value = 0;
    EXPECT_TRUE(TmxAct_GetGenericInt32Parameter(handle.get(), &value));
    EXPECT_EQ(value, -5);
}

TEST_F(GenericActionTest, ANameOrANumberAloneIsAReference) {
    const WText name = W(u"Gate");
    const TmxObjectRef named = ref(0, 0, name.c_str());
    const TmxObjectRef numbered = ref(0, 7);
    const Handle handle(TmxAct_CreateGenericAction(&named, &numbered, nullptr, nullptr, 0));
    TmxObjectRef* input = routed(TmxAct_GetVideoInput, handle);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(WText(input->name), W(u"Gate"));
    EXPECT_NE(input->name, name.c_str());
    TmxObjectRef* output = routed(TmxAct_GetVideoOutput, handle);
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(output->number, 7);
    EXPECT_EQ(WText(output->name), WText());
}

TEST_F(GenericActionTest, AReferenceWithAllPartsEmptyIsNull) {
    const WText name;
    const TmxObjectRef blank = ref(0, 0, name.c_str());
    const Handle handle(TmxAct_CreateGenericAction(&blank, nullptr, nullptr, nullptr, 0));
    EXPECT_EQ(routed(TmxAct_GetVideoInput, handle), nullptr);
}

TEST_F(GenericActionTest, WritingThroughTheReferenceShowsAtOnce) {
    const TmxObjectRef numbered = ref(0, 7);
    const Handle handle(TmxAct_CreateGenericAction(&numbered, nullptr, nullptr, nullptr, 0));
    TmxObjectRef* input = routed(TmxAct_GetVideoInput, handle);
    ASSERT_NE(input, nullptr);
    input->id = 42;
    EXPECT_EQ(routed(TmxAct_GetVideoInput, handle)->id, 42);
    input->id = 0;
    input->number = 0;
    EXPECT_EQ(routed(TmxAct_GetVideoInput, handle), nullptr);
}

TEST_F(GenericActionTest, ItHasNoForeignKey) {
    const Handle handle = empty();
    int64_t none = 0;
    int64_t* key = &none;
    EXPECT_TRUE(TmxAct_GetForeignKey(handle.get(), &key));
    EXPECT_EQ(key, nullptr);
}

TEST_F(GenericActionTest, ItDiffersEvenFromItself) {
    const Handle handle = empty();
    bool equal = true;
    EXPECT_TRUE(TmxAct_Equal(handle.get(), handle.get(), &equal));
    EXPECT_FALSE(equal);
    EXPECT_EQ(lastError(), std::nullopt);
}

TEST_F(GenericActionTest, StoringItAsTextSucceedsAndWritesNothing) {
    const Handle handle = empty();
    for (const bool display : {false, true}) {
        char narrow[4] = {'a', 'b', 'c', 'd'};
        TmxWChar wide[2] = {TmxWChar{'a'}, TmxWChar{'b'}};
        uint32_t written = 99;
        EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), narrow, 4, display, false, &written));
        EXPECT_EQ(written, 0u);
        EXPECT_EQ(std::string(narrow, 4), "abcd");
        written = 99;
        EXPECT_TRUE(TmxAct_StoreToTextBufferW(handle.get(), wide, 2, display, true, &written));
        EXPECT_EQ(written, 0u);
        EXPECT_EQ(WText(wide, 2), W(u"ab"));
        written = 99;
        EXPECT_TRUE(TmxAct_StoreToTextBufferA(handle.get(), nullptr, 0, display, false, &written));
        EXPECT_EQ(written, 0u);
        EXPECT_TRUE(TmxAct_StoreToTextBufferW(handle.get(), nullptr, 0, display, false, nullptr));
        EXPECT_EQ(lastError(), std::nullopt);
    }
}

TEST_F(GenericActionTest, ItsBytesAreThePropertyBlockAlone) {
    const Handle handle = empty();
    EXPECT_EQ(binary(handle), hex("0F F0 00 00 00 00 00 00"));
    uint8_t buffer[8] = {};
    uint32_t needed = 0;
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(handle.get(), buffer, 7, &needed));
    EXPECT_EQ(needed, 8u);
    EXPECT_EQ(lastError(), tooSmall());
    setProperty(handle.get(), u"a", u"b");
    EXPECT_EQ(binary(handle), hex("0F F0 00 00 01 00 00 00") + wideField(u"a") + wideField(u"b"));
}

TEST_F(GenericActionTest, ItsBytesCantBeReadBack) {
    const Handle handle = empty();
    expectNothing(binary(handle), 9);
}

TEST_F(GenericActionTest, ItsCodeHasNoBytesForm) {
    expectNothing(header(1, 0x7ffffffe) + emptyBlock(), 8);
    expectNothing(header(2, 0x7ffffffe) + emptyBlock(), 8);
}

TEST_F(GenericActionTest, ItsCodeIsInNoQuery) {
    TmxActionInfo info;
    EXPECT_FALSE(TmxAct_GetActionInfo(&info, TMX_GENERIC_ACTION_CODE));
    EXPECT_EQ(TmxAct_GetInternalIndexByCode(TMX_GENERIC_ACTION_CODE), TMX_NONE);
    EXPECT_EQ(TmxAct_GetNumberOfActionParameters(TMX_GENERIC_ACTION_CODE), 0u);
}

TEST_F(GenericActionTest, QueriesThroughTheCatalogueRecordFail) {
    const Handle handle = empty();
    uint32_t number = 77;
    EXPECT_FALSE(TmxAct_GetActionClass(handle.get(), &number));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_FALSE(TmxAct_GetInternalIndex(handle.get(), &number));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_EQ(number, 77u);
    const char* narrow = "before";
    EXPECT_FALSE(TmxAct_GetActionNameA(handle.get(), &narrow));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_FALSE(TmxAct_GetActionPlainNameA(handle.get(), &narrow));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_STREQ(narrow, "before");
    const TmxWChar* wide = nullptr;
    EXPECT_FALSE(TmxAct_GetActionNameW(handle.get(), &wide));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_FALSE(TmxAct_GetActionPlainNameW(handle.get(), &wide));
    EXPECT_EQ(lastError(), noCatalogueRecord());
    EXPECT_EQ(wide, nullptr);
}

TEST_F(GenericActionTest, DecodingItIsAWrongDecode) {
    const Handle handle = empty();
    TmxObjectRef camera = ref(1, 2);
    EXPECT_FALSE(TmxAct_DecodeCameraOn(handle.get(), &camera));
    EXPECT_EQ(lastError(), wrongDecode());
    EXPECT_EQ(camera.id, 1);
}

TEST_F(GenericActionTest, ItsCloneHasTheFiveValues) {
    const WText name = W(u"a name that is longer than short strings are");
    const TmxObjectRef a = ref(1, 2, name.c_str());
    const TmxObjectRef b = ref(0, 3);
    Handle handle(TmxAct_CreateGenericAction(&a, &b, nullptr, &a, 77));
    setProperty(handle.get(), u"a", u"b");
    EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), 1));
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(handle.get(), &raw));
    const Handle clone(raw);
    handle.close();
    ASSERT_NE(routed(TmxAct_GetVideoInput, clone), nullptr);
    EXPECT_EQ(routed(TmxAct_GetVideoInput, clone)->id, 1);
    EXPECT_EQ(routed(TmxAct_GetVideoInput, clone)->number, 2);
    EXPECT_EQ(WText(routed(TmxAct_GetVideoInput, clone)->name), name);
    EXPECT_EQ(routed(TmxAct_GetVideoOutput, clone)->number, 3);
    EXPECT_EQ(routed(TmxAct_GetInputContact, clone), nullptr);
    EXPECT_EQ(routed(TmxAct_GetOutputContact, clone)->id, 1);
    int32_t value = 0;
    EXPECT_TRUE(TmxAct_GetGenericInt32Parameter(clone.get(), &value));
    EXPECT_EQ(value, 77);
    EXPECT_EQ(properties(clone.get()), W(u"<properties />"));
    uint32_t flags = 9;
    EXPECT_TRUE(TmxAct_GetMessageFlags(clone.get(), &flags));
    EXPECT_EQ(flags, 0u);
}

TEST_F(GenericActionTest, ItCountsAsAnOpenHandle) {
    Handle handle = empty();
    EXPECT_EQ(openSinceStart(), 1u);
    handle.close();
    EXPECT_EQ(openSinceStart(), 0u);
}

}  // namespace
}  // namespace edge
