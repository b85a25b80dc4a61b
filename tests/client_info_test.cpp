// The client that some actions tell.
#include "support/event_support.h"

namespace edge {
namespace {

using ClientInfoTest = EdgeTest;

struct Client {
    bool answer = false;
    const TmxWChar* host = nullptr;
    const int32_t* type = nullptr;
    const TmxWChar* account = nullptr;
};

Client clientOf(const Handle& handle) {
    Client client;
    client.answer =
        TmxAct_GetWindowsClientInfo(handle.get(), &client.host, &client.type, &client.account);
    EXPECT_EQ(lastError(), std::nullopt);
    return client;
}

bool update(const Handle& handle, const TmxWChar* host, int32_t type, const TmxWChar* account) {
    const bool answer = TmxAct_UpdateWindowsClientInfo(handle.get(), host, type, account);
    EXPECT_EQ(lastError(), std::nullopt);
    return answer;
}

TEST_F(ClientInfoTest, WhatIsGivenIsSet) {
    const Handle handle = taken("ViewerCleared (1)");
    const WText host = W(u"pc");
    const WText account = W(u"me");
    EXPECT_TRUE(update(handle, host.c_str(), 0, nullptr));
    EXPECT_EQ(machine(handle), "ViewerCleared (1, ClientHost: \"pc\")");
    EXPECT_TRUE(update(handle, nullptr, 3, nullptr));
    EXPECT_EQ(machine(handle), "ViewerCleared (1, ClientHost: \"pc\", ClientType: 3)");
    EXPECT_TRUE(update(handle, nullptr, 0, account.c_str()));
    EXPECT_EQ(machine(handle),
              "ViewerCleared (1, ClientHost: \"pc\", ClientType: 3, ClientAccount: \"me\")");
}

TEST_F(ClientInfoTest, NothingCanBeCleared) {
    const std::string text =
        "ViewerCleared (1, ClientHost: \"pc\", ClientType: 3, ClientAccount: \"me\")";
    const Handle handle = taken(text);
    EXPECT_TRUE(update(handle, nullptr, 0, nullptr));
    EXPECT_EQ(machine(handle), text);
    // The empty text is a text.
    EXPECT_TRUE(update(handle, W(u"").c_str(), 0, nullptr));
    EXPECT_EQ(machine(handle),
              "ViewerCleared (1, ClientHost: \"\", ClientType: 3, ClientAccount: \"me\")");
}

TEST_F(ClientInfoTest, ATypeOfZeroKeepsTheEarlierOne) {
    const Handle handle = taken("ViewerCleared (1, ClientType: 3)");
    EXPECT_TRUE(update(handle, nullptr, 0, nullptr));
    EXPECT_EQ(*clientOf(handle).type, 3);
    EXPECT_TRUE(update(handle, nullptr, -4, nullptr));
    EXPECT_EQ(*clientOf(handle).type, -4);
}

TEST_F(ClientInfoTest, WhatIsAbsentIsNull) {
    const Handle handle = taken("UserLogin (\"one\", \"host\", ClientType: 0)");
    const Client client = clientOf(handle);
    EXPECT_TRUE(client.answer);
    EXPECT_EQ(client.host, nullptr);
    ASSERT_NE(client.type, nullptr);
    EXPECT_EQ(*client.type, 0);
    EXPECT_EQ(client.account, nullptr);
}

TEST_F(ClientInfoTest, TheTextsMayBeTheObjectsOwn) {
    const Handle handle = taken(
        "ViewerCleared (1, ClientHost: \"a host of more than twenty-three units\", ClientAccount: "
        "\"me\")");
    const Client client = clientOf(handle);
    EXPECT_TRUE(update(handle, client.host + 2, 0, client.host));
    EXPECT_EQ(machine(handle),
              "ViewerCleared (1, ClientHost: \"host of more than twenty-three units\", "
              "ClientAccount: \"a host of more than twenty-three units\")");
    const Handle same = taken("ViewerCleared (1, ClientHost: \"pc\")");
    EXPECT_TRUE(update(same, clientOf(same).host, 0, clientOf(same).host));
    EXPECT_EQ(machine(same), "ViewerCleared (1, ClientHost: \"pc\", ClientAccount: \"pc\")");
}

TEST_F(ClientInfoTest, OtherActionsTellNoneAndThatIsNoFailure) {
    const TmxObjectRef input = ref(1, 2);
    const Handle handles[] = {
        taken("CameraOn (1)"), taken("ABCDisconnect ()"),
        Handle(TmxAct_CreateGenericAction(&input, nullptr, nullptr, nullptr, 7))};
    for (const Handle& handle : handles) {
        EXPECT_FALSE(update(handle, W(u"pc").c_str(), 3, W(u"me").c_str()));
        const WText untouched = W(u"untouched");
        const int32_t type = 9;
        Client client{false, untouched.c_str(), &type, untouched.c_str()};
        EXPECT_FALSE(
            TmxAct_GetWindowsClientInfo(handle.get(), &client.host, &client.type, &client.account));
        EXPECT_EQ(lastError(), std::nullopt);
        EXPECT_EQ(client.host, untouched.c_str());
        EXPECT_EQ(client.type, &type);
        EXPECT_EQ(client.account, untouched.c_str());
    }
}

}  // namespace
}  // namespace edge
