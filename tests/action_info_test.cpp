// The walk over the references of an action.
#include <functional>
#include <memory>

#include "support/event_support.h"

namespace edge {
namespace {

using ActionInfoTest = EdgeTest;

// A server that writes down what it is asked for, and does what a test says.
struct Server {
    TmxActionInfoCallbacks callbacks{};
    std::string calls;
    std::function<bool(const std::string&, TmxObjectRef*)> object =
        [](const std::string&, TmxObjectRef*) { return true; };
    std::function<bool(const std::string&, TmxGuidRef*, TmxObjectRef*)> guid =
        [](const std::string&, TmxGuidRef*, TmxObjectRef*) { return true; };

    Server() {
        callbacks.version = 1;
        callbacks.resolveVideoInput = [](void* c, TmxObjectRef* r) { return of(c, "input", r); };
        callbacks.resolveVideoOutput = [](void* c, TmxObjectRef* r) { return of(c, "output", r); };
        callbacks.resolveInputContact = [](void* c, TmxObjectRef* r) { return of(c, "in", r); };
        callbacks.resolveOutputContact = [](void* c, TmxObjectRef* r) { return of(c, "out", r); };
        callbacks.resolveNamedId = [](void* c, TmxObjectRef* r) { return of(c, "named", r); };
        callbacks.resolveGuidReference = [](void* c, uint32_t kind, TmxGuidRef* r) {
            return of(c, "guid", kind, r, nullptr);
        };
        callbacks.resolveChannelGuidReference = [](void* c, uint32_t kind, TmxGuidRef* r,
                                                   TmxObjectRef* channel) {
            return of(c, "set", kind, r, channel);
        };
    }
    static bool of(void* context, const std::string& role, TmxObjectRef* reference) {
        auto* server = static_cast<Server*>(context);
        server->calls += role + " ";
        return server->object(role, reference);
    }
    static bool of(void* context, const std::string& role, uint32_t kind, TmxGuidRef* reference,
                   TmxObjectRef* channel) {
        auto* server = static_cast<Server*>(context);
        server->calls += role + std::to_string(kind) + " ";
        return server->guid(role, reference, channel);
    }
};

bool walk(const Handle& handle, Server& server) {
    bool ok = false;
    EXPECT_TRUE(TmxAct_UpdateActionInfo(handle.get(), &server, &server.callbacks, &ok));
    EXPECT_EQ(lastError(), std::nullopt);
    return ok;
}

const std::string kSet = "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Set\" })";

TEST_F(ActionInfoTest, ACompleteActionIsNotWalked) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    for (const uint32_t flags : {1u, 3u}) {
        EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), flags));
        Server server;
        server.object = [](const std::string&, TmxObjectRef*) { return false; };
        EXPECT_TRUE(walk(handle, server));
        EXPECT_EQ(server.calls, "");
    }
}

TEST_F(ActionInfoTest, VersionsOutsideOneToHundredDoNothing) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    for (const uint32_t version : {0u, 101u, 0xFFFFFFFFu}) {
        Server server;
        server.callbacks.version = version;
        EXPECT_TRUE(walk(handle, server));
        EXPECT_EQ(server.calls, "");
    }
    for (const uint32_t version : {1u, 100u}) {
        Server server;
        server.callbacks.version = version;
        EXPECT_TRUE(walk(handle, server));
        EXPECT_EQ(server.calls, "input ");
    }
}

TEST_F(ActionInfoTest, ViewerConnectIsAskedForItsInputAndThenItsOutput) {
    Server server;
    EXPECT_TRUE(walk(taken("ViewerConnect (1, 2, 0)"), server));
    EXPECT_EQ(server.calls, "input output ");
}

TEST_F(ActionInfoTest, ContactsAndTypesHaveTheirOwnFunctions) {
    Server server;
    EXPECT_TRUE(walk(taken("DigitalInput (1, 2)"), server));
    EXPECT_TRUE(walk(taken("SetDigitalOutput (1, 2)"), server));
    EXPECT_TRUE(walk(taken("StartEvent ({ 17, \"Main\" })"), server));
    EXPECT_TRUE(walk(taken("AbortAutoBackup (" + kSet), server));
    EXPECT_TRUE(walk(taken("ABCDisconnect ()"), server));
    EXPECT_EQ(server.calls, "in out named guid21 ");
}

TEST_F(ActionInfoTest, AParameterSetIsAskedForWithItsChannelWhichIsLookedForFirst) {
    const Handle handle = taken("ChangeADParameterSet ({ 0, 7, \"\" }, " + kSet);
    TmxObjectRef* channel = nullptr;
    ASSERT_TRUE(TmxAct_GetVideoInput(handle.get(), &channel));
    Server server;
    int call = 0;
    server.object = [&](const std::string&, TmxObjectRef* reference) {
        // The copy has the head of the channel; of what is written to it the id alone counts.
        EXPECT_EQ(reference != channel, call == 0);
        EXPECT_EQ(reference->number, 7);
        EXPECT_EQ(reference->id, call == 0 ? 0 : 70);
        if (call++ > 0) return true;
        *reference = {70, nullptr, 8, 0};
        return false;
    };
    server.guid = [&](const std::string&, TmxGuidRef* reference, TmxObjectRef* given) {
        EXPECT_EQ(given, channel);
        EXPECT_EQ(given->id, 70);
        EXPECT_EQ(given->number, 7);
        reference->guid.Data1 = 1;
        return true;
    };
    EXPECT_TRUE(walk(handle, server));
    EXPECT_EQ(server.calls, "input set13 input ");
    EXPECT_EQ(machine(handle),
              "ChangeADParameterSet ({ 70, 7, \"\" }, "
              "{ \"00000001-4455-6677-8899-aabbccddeeff\", \"Set\" })");
}

TEST_F(ActionInfoTest, AChannelWithAnIdOrWithNothingIsNotLookedFor) {
    for (const char* channel : {"{ 5, 7, \"\" }", "{ 0, 0, \"\" }"}) {
        Server server;
        EXPECT_TRUE(
            walk(taken(std::string("ChangeADParameterSet (") + channel + ", " + kSet), server));
        EXPECT_EQ(server.calls, "set13 input ");
    }
    Server server;
    EXPECT_TRUE(walk(taken("ChangeADParameterSet ({ 0, 0, \"Name\" }, " + kSet), server));
    EXPECT_EQ(server.calls, "input set13 input ");
}

TEST_F(ActionInfoTest, TheFifthParameterSetIsNotAskedFor) {
    Server server;
    EXPECT_TRUE(walk(taken("ChangeSentaraParameterSet (7, " + kSet), server));
    EXPECT_EQ(server.calls, "input ");
}

TEST_F(ActionInfoTest, ARefusalDoesNotEndTheWalk) {
    Server server;
    server.object = [](const std::string& role, TmxObjectRef*) { return role != "input"; };
    EXPECT_FALSE(walk(taken("ViewerConnect (1, 2, 0)"), server));
    EXPECT_EQ(server.calls, "input output ");
}

TEST_F(ActionInfoTest, ARefusedScheduleMakesTheOutcomeFalse) {
    Server server;
    server.guid = [](const std::string&, TmxGuidRef*, TmxObjectRef*) { return false; };
    EXPECT_FALSE(walk(taken("AbortAutoBackup (" + kSet), server));
    EXPECT_FALSE(walk(taken("ChangeADParameterSet (7, " + kSet), server));
    EXPECT_EQ(server.calls, "guid21 input set13 input ");
}

TEST_F(ActionInfoTest, AVersionOfZeroEndsTheWalkAtTheNextStage) {
    // The rest of the object stage is still walked.
    Server server;
    server.object = [&](const std::string&, TmxObjectRef*) {
        server.callbacks.version = 0;
        return false;
    };
    EXPECT_FALSE(walk(taken("ViewerConnect (1, 2, 0)"), server));
    EXPECT_EQ(server.calls, "input output ");
    // The named one isn't.
    Server named;
    EXPECT_TRUE(walk(taken("ViewerShowAlarmByType (1, { 17, \"Main\" }, 0)"), named));
    EXPECT_EQ(named.calls, "output named ");
    named.calls.clear();
    named.object = [&](const std::string&, TmxObjectRef*) {
        named.callbacks.version = 0;
        return true;
    };
    EXPECT_TRUE(walk(taken("ViewerShowAlarmByType (1, { 17, \"Main\" }, 0)"), named));
    EXPECT_EQ(named.calls, "output ");
    // Behind the channel stage nothing is.
    Server early;
    early.guid = [&](const std::string&, TmxGuidRef*, TmxObjectRef*) {
        early.callbacks.version = 0;
        return true;
    };
    EXPECT_TRUE(walk(taken("ChangeADParameterSet ({ 5, 7, \"\" }, " + kSet), early));
    EXPECT_EQ(early.calls, "set13 ");
}

// ---- Names --------------------------------------------------------------------------------------

WText nameOf(const Handle& handle) {
    TmxObjectRef* camera = nullptr;
    EXPECT_TRUE(TmxAct_GetVideoInput(handle.get(), &camera));
    return camera->name;
}

TEST_F(ActionInfoTest, ANameIsTakenOverAndMayThenGo) {
    const Handle handle = taken("CameraOn ({ 0, 3, \"\" })");
    auto text = std::make_unique<WText>(W(u"A name that is longer than what lies inside"));
    Server server;
    server.object = [&](const std::string&, TmxObjectRef* reference) {
        reference->id = 5;
        reference->name = text->c_str();
        return true;
    };
    EXPECT_TRUE(walk(handle, server));
    std::fill(text->begin(), text->end(), TmxWChar{'x'});
    text.reset();
    EXPECT_EQ(nameOf(handle), W(u"A name that is longer than what lies inside"));
    EXPECT_EQ(machine(handle),
              "CameraOn ({ 5, 3, \"A name that is longer than what lies inside\" })");
}

TEST_F(ActionInfoTest, ANullNameIsTheEmptyOne) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    Server server;
    server.object = [](const std::string&, TmxObjectRef* reference) {
        reference->name = nullptr;
        return true;
    };
    EXPECT_TRUE(walk(handle, server));
    EXPECT_EQ(nameOf(handle), W(u""));
    EXPECT_EQ(machine(handle), "CameraOn ({ 5, 3, \"\" })");
}

TEST_F(ActionInfoTest, ANameMayBeAPartOfItself) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Prefix: Camera of the northern gate\" })");
    Server server;
    server.object = [](const std::string&, TmxObjectRef* reference) {
        reference->name += 8;
        return true;
    };
    EXPECT_TRUE(walk(handle, server));
    EXPECT_EQ(nameOf(handle), W(u"Camera of the northern gate"));
}

TEST_F(ActionInfoTest, ARefusedNameIsNotTakenOverButWhatIsWrittenStays) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const WText other = W(u"Other");
    Server server;
    server.object = [&](const std::string&, TmxObjectRef* reference) {
        *reference = {6, other.c_str(), 4, 0};
        return false;
    };
    EXPECT_FALSE(walk(handle, server));
    EXPECT_EQ(nameOf(handle), W(u"Cam"));
    EXPECT_EQ(machine(handle), "CameraOn ({ 6, 4, \"Cam\" })");
}

TEST_F(ActionInfoTest, AChannelMayBeRenamedWithItsParameterSet) {
    const Handle handle = taken("ChangeADParameterSet ({ 5, 7, \"\" }, " + kSet);
    auto text = std::make_unique<WText>(W(u"Channel"));
    Server server;
    server.guid = [&](const std::string&, TmxGuidRef* reference, TmxObjectRef* channel) {
        reference->name = channel->name = text->c_str();
        server.callbacks.version = 0;
        return true;
    };
    EXPECT_TRUE(walk(handle, server));
    text.reset();
    EXPECT_EQ(nameOf(handle), W(u"Channel"));
    EXPECT_EQ(machine(handle),
              "ChangeADParameterSet ({ 5, 7, \"Channel\" }, "
              "{ \"00112233-4455-6677-8899-aabbccddeeff\", \"Channel\" })");
}

// ---- The frame ----------------------------------------------------------------------------------

TEST_F(ActionInfoTest, AGenericActionIsWalkedByWhatItCarries) {
    const TmxObjectRef input = ref(0, 2);
    const Handle handle(TmxAct_CreateGenericAction(nullptr, &input, nullptr, &input, 7));
    Server server;
    EXPECT_TRUE(walk(handle, server));
    EXPECT_EQ(server.calls, "output out ");
}

TEST_F(ActionInfoTest, WhatAFunctionThrowsIsRecordedAndTheObjectIsWhole) {
    const Handle handle = taken("CameraOn ({ 5, 3, \"Cam\" })");
    const WText other = W(u"Other");
    Server server;
    server.object = [&](const std::string&, TmxObjectRef* reference) -> bool {
        reference->name = other.c_str();
        throw "thrown";
    };
    bool ok = true;
    EXPECT_FALSE(TmxAct_UpdateActionInfo(handle.get(), &server, &server.callbacks, &ok));
    EXPECT_EQ(lastError(), errorOf(0, 0, "Zinc::GenericException", "thrown"));
    EXPECT_TRUE(ok);
    EXPECT_EQ(nameOf(handle), W(u"Cam"));
}

// ---- The two stubs ------------------------------------------------------------------------------

TEST_F(ActionInfoTest, TheActionSourceClearsTheErrorAndTheTimeRangeDoesNotTouchIt) {
    const Handle handle = taken("ABCDisconnect ()");
    TmxEventDataRecord record{};
    bool complete = false;
    EXPECT_FALSE(TmxAct_GetActionEventData(handle.get(), &record, &complete));
    EXPECT_EQ(lastError(), wrongSize());
    EXPECT_FALSE(TmxAct_UpdateTimeRangeChanged());
    EXPECT_EQ(lastError(), wrongSize());
    EXPECT_TRUE(TmxAct_UpdateActionSource());
    EXPECT_EQ(lastError(), std::nullopt);
    EXPECT_FALSE(TmxAct_UpdateTimeRangeChanged());
    EXPECT_EQ(lastError(), std::nullopt);
}

}  // namespace
}  // namespace edge
