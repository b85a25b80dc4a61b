// Properties: set, removed, listed as text, and left out of clones.
#include "support/edge_support.h"

namespace edge {
namespace {

class PropertiesTest : public EdgeTest {
  protected:
    void SetUp() override {
        EdgeTest::SetUp();
        handle_ = Handle(TmxAct_CreateABCDisconnect());
    }
    void TearDown() override {
        handle_.close();
        EdgeTest::TearDown();
    }
    [[nodiscard]] TmxHandle h() const { return handle_.get(); }
    void set(std::u16string_view name, std::u16string_view value) { setProperty(h(), name, value); }
    void remove(std::u16string_view name) {
        EXPECT_TRUE(TmxAct_SetProperty(h(), W(name).c_str(), nullptr));
    }
    static WText listed(std::initializer_list<std::pair<std::u16string, std::u16string>> pairs) {
        std::u16string text = u"<properties>\r\n";
        for (const auto& [name, value] : pairs) {
            text += u"  <property>\r\n    <name>" + name + u"</name>\r\n    <value>" + value +
                    u"</value>\r\n  </property>\r\n";
        }
        return W(text + u"</properties>");
    }

  private:
    Handle handle_;
};

TEST_F(PropertiesTest, AnEmptyMapIsOneTag) { EXPECT_EQ(properties(h()), W(u"<properties />")); }

TEST_F(PropertiesTest, OnePropertyIsListedLineByLine) {
    set(u"a", u"b");
    EXPECT_EQ(properties(h()), W(u"<properties>\r\n  <property>\r\n    <name>a</name>\r\n"
                                 u"    <value>b</value>\r\n  </property>\r\n</properties>"));
    EXPECT_EQ(property(h(), u"a"), W(u"b"));
}

TEST_F(PropertiesTest, NamesAreOrderedByTheirUnits) {
    set(u"a", u"1");
    set(u"B", u"2");
    set(u"ab", u"3");
    EXPECT_EQ(properties(h()), listed({{u"B", u"2"}, {u"a", u"1"}, {u"ab", u"3"}}));
}

TEST_F(PropertiesTest, SurrogatesComeBeforeTheUnitsAboveThem) {
    set(u"\uFF01", u"1");
    set(u"\U0001F600", u"2");
    EXPECT_EQ(properties(h()), listed({{u"\U0001F600", u"2"}, {u"\uFF01", u"1"}}));
}

TEST_F(PropertiesTest, NamesDifferByCase) {
    set(u"name", u"1");
    set(u"Name", u"2");
    EXPECT_EQ(property(h(), u"name"), W(u"1"));
    EXPECT_EQ(property(h(), u"Name"), W(u"2"));
    EXPECT_EQ(property(h(), u"NAME"), W(u""));
}

TEST_F(PropertiesTest, ALaterValueReplacesTheEarlierOne) {
    set(u"a", u"1");
    set(u"a", u"2");
    EXPECT_EQ(property(h(), u"a"), W(u"2"));
    EXPECT_EQ(properties(h()), listed({{u"a", u"2"}}));
}

TEST_F(PropertiesTest, AnEmptyNameIsAName) {
    set(u"", u"b");
    EXPECT_EQ(properties(h()), listed({{u"", u"b"}}));
    EXPECT_EQ(property(h(), u""), W(u"b"));
}

TEST_F(PropertiesTest, ANullNameIsTheEmptyName) {
    EXPECT_TRUE(TmxAct_SetProperty(h(), nullptr, W(u"b").c_str()));
    EXPECT_EQ(property(h(), u""), W(u"b"));
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(h(), nullptr, &value));
    EXPECT_EQ(WText(value), W(u"b"));
    EXPECT_TRUE(TmxAct_SetProperty(h(), nullptr, nullptr));
    EXPECT_EQ(properties(h()), W(u"<properties />"));
}

TEST_F(PropertiesTest, AnEmptyValueIsAValue) {
    set(u"a", u"");
    EXPECT_EQ(properties(h()), listed({{u"a", u""}}));
    EXPECT_EQ(property(h(), u"a"), W(u""));
}

TEST_F(PropertiesTest, ANullValueRemovesTheProperty) {
    set(u"a", u"1");
    set(u"b", u"2");
    remove(u"a");
    EXPECT_EQ(properties(h()), listed({{u"b", u"2"}}));
    EXPECT_EQ(property(h(), u"a"), W(u""));
    remove(u"b");
    EXPECT_EQ(properties(h()), W(u"<properties />"));
}

TEST_F(PropertiesTest, RemovingWhatIsNotThereIsNoError) {
    set(u"a", u"1");
    remove(u"b");
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(properties(h()), listed({{u"a", u"1"}}));
}

TEST_F(PropertiesTest, AnUnknownNameGivesAnEmptyText) {
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(h(), W(u"nothing").c_str(), &value));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(WText(value), WText());
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_EQ(properties(h()), W(u"<properties />"));
}

TEST_F(PropertiesTest, ThreeCharactersAreEscapedInNamesAndValues) {
    set(u"n<>&", u"a<b&c>d");
    EXPECT_EQ(properties(h()), listed({{u"n&lt;&gt;&amp;", u"a&lt;b&amp;c&gt;d"}}));
    EXPECT_EQ(property(h(), u"n<>&"), W(u"a<b&c>d"));
}

TEST_F(PropertiesTest, EscapedTextIsEscapedAgain) {
    set(u"a", u"&lt;&amp;&");
    EXPECT_EQ(properties(h()), listed({{u"a", u"&amp;lt;&amp;amp;&amp;"}}));
}

TEST_F(PropertiesTest, OtherCharactersStayAsTheyAre) {
    set(u"a", u"\"'\r\n\t\u0001\u00E4\u4E00\U0001F600");
    EXPECT_EQ(properties(h()), listed({{u"a", u"\"'\r\n\t\u0001\u00E4\u4E00\U0001F600"}}));
}

TEST_F(PropertiesTest, StorePropertiesIsANameLikeAnyOther) {
    set(u"store-properties", u"1");
    EXPECT_EQ(property(h(), u"store-properties"), W(u"1"));
    EXPECT_EQ(properties(h()), listed({{u"store-properties", u"1"}}));
}

TEST_F(PropertiesTest, TextsAreCopied) {
    WText name = W(u"a name that is longer than short strings are kept");
    WText value = W(u"a value that is longer than short strings are kept");
    EXPECT_TRUE(TmxAct_SetProperty(h(), name.c_str(), value.c_str()));
    const TmxWChar* stored = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(h(), name.c_str(), &stored));
    EXPECT_NE(stored, value.c_str());
    value[0] = TmxWChar{'X'};
    EXPECT_EQ(WText(stored), W(u"a value that is longer than short strings are kept"));
}

TEST_F(PropertiesTest, AValueStaysWhileOthersComeAndGo) {
    set(u"m", u"stays");
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(h(), W(u"m").c_str(), &value));
    for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(TmxAct_SetProperty(h(), widen(std::to_string(i)).c_str(), W(u"v").c_str()));
    }
    for (int i = 0; i < 200; i += 2) {
        EXPECT_TRUE(TmxAct_SetProperty(h(), widen(std::to_string(i)).c_str(), nullptr));
    }
    EXPECT_EQ(WText(value), W(u"stays"));
}

TEST_F(PropertiesTest, ListingsOfTwoObjectsDoNotDisturbEachOther) {
    const Handle other(TmxAct_CreateABCDisconnect());
    set(u"a", u"1");
    setProperty(other.get(), u"b", u"2");
    const TmxWChar* first = nullptr;
    const TmxWChar* second = nullptr;
    EXPECT_TRUE(TmxAct_GetProperties(h(), &first));
    EXPECT_TRUE(TmxAct_GetProperties(other.get(), &second));
    EXPECT_EQ(WText(first), listed({{u"a", u"1"}}));
    EXPECT_EQ(WText(second), listed({{u"b", u"2"}}));
}

TEST_F(PropertiesTest, AListingIsAsOfItsCall) {
    set(u"a", u"1");
    EXPECT_EQ(properties(h()), listed({{u"a", u"1"}}));
    set(u"b", u"2");
    EXPECT_EQ(properties(h()), listed({{u"a", u"1"}, {u"b", u"2"}}));
}

TEST_F(PropertiesTest, ACloneStartsWithNone) {
    set(u"a", u"1");
    TmxHandle raw = nullptr;
    EXPECT_TRUE(TmxAct_CloneHandle(h(), &raw));
    const Handle clone(raw);
    EXPECT_EQ(properties(clone.get()), W(u"<properties />"));
    EXPECT_EQ(property(h(), u"a"), W(u"1"));
}

TEST_F(PropertiesTest, TheyTravelInTheBytes) {
    set(u"a", u"\u4E00");
    set(u"", u"");
    const BinRead back = fromBytes(binary(h()));
    EXPECT_EQ(properties(back.handle.get()), properties(h()));
}

TEST_F(PropertiesTest, ASuccessClearsTheLastError) {
    EXPECT_FALSE(TmxAct_StoreToBinBuffer(h(), nullptr, 0, nullptr));
    ASSERT_NE(lastError(), std::nullopt);
    set(u"a", u"1");
    EXPECT_EQ(lastError(), std::nullopt);
}

}  // namespace
}  // namespace edge
