// Templates as messages: their class, and that they never equal an action.
#include "support/edge_support.h"

namespace edge {
namespace {

class TemplateMessageTest : public EdgeTest {
  protected:
    static bool equal(const Handle& a, const Handle& b) {
        bool result = false;
        EXPECT_TRUE(TmxAct_Equal(a.get(), b.get(), &result));
        return result;
    }
};

TEST_F(TemplateMessageTest, ATemplateHasMessageClassTwoAndTheCodeOfItsAction) {
    const Read match = read("@ABCDisconnect ()");
    ASSERT_TRUE(match.handle);
    EXPECT_EQ(match.consumed, 17u);
    uint32_t number = 0;
    EXPECT_TRUE(TmxAct_GetMessageClass(match.handle.get(), &number));
    EXPECT_EQ(number, 2u);
    EXPECT_TRUE(TmxAct_GetActionCode(match.handle.get(), &number));
    EXPECT_EQ(number, 22u);
}

TEST_F(TemplateMessageTest, AnActionAndATemplateOfTheSameCodeDiffer) {
    const Handle action(TmxAct_CreateABCDisconnect());
    const Handle match = read("@ABCDisconnect ()").handle;
    ASSERT_TRUE(match);
    EXPECT_FALSE(equal(action, match));
    EXPECT_FALSE(equal(match, action));
    EXPECT_TRUE(equal(match, match));
}

TEST_F(TemplateMessageTest, TheClassOfATemplateMayBeAskedFor) {
    EXPECT_TRUE(read("@ABCDisconnect ()", TMX_MEASURE_LENGTH, 2).handle);
    EXPECT_TRUE(read("@ABCDisconnect ()", TMX_MEASURE_LENGTH, kAny).handle);
    expectRefused("@ABCDisconnect ()", 14, TMX_MEASURE_LENGTH, 1);
}

TEST_F(TemplateMessageTest, ABytesFilterTellsTemplatesFromActions) {
    const Handle match = read("@ABCDisconnect ()").handle;
    ASSERT_TRUE(match);
    const Bytes bytes = binary(match);
    EXPECT_EQ(front(bytes, 8), header(2, 22));
    EXPECT_TRUE(fromBytes(bytes, 2).handle);
    expectNothing(bytes, 8, 1);
}

}  // namespace
}  // namespace edge
