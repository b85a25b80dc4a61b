// Event records of every action: filling, restoring and describing against a computation of its
// own, from the table of actions alone; the walk over references and the client info by the rules
// of their parameters.

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "support/checks.h"
#include "support/reference_encoding.h"
#include "support/reference_event.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

class EventRule : public RuleTest {};

constexpr uint32_t kCompact = TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA;

TmxEventDataRecord Blank() {
    TmxEventDataRecord record;
    std::memset(&record, 0xCD, sizeof record);
    record.size = sizeof record;
    return record;
}

// What every filling leaves behind, whatever the object.
void CheckFrame(const TmxEventDataRecord& record, const std::string& name) {
    EXPECT_EQ(record.size, 176u) << name;
    EXPECT_EQ(record.reserved[0], 0u) << name;
    EXPECT_EQ(record.reserved[1], 0u) << name;
    EXPECT_EQ(record.untouched, 0xCDCDCDCDCDCDCDCDu) << name;
    EXPECT_EQ(record.binarySize, 0u) << name;
    EXPECT_EQ(record.binary, nullptr) << name;
    for (const TmxEventText& text : record.textFields) {
        if (text.text == nullptr) {
            EXPECT_EQ(text.length, 0u) << name;
        } else {
            EXPECT_EQ(text.text[text.length], TmxWChar{0}) << name;
        }
    }
    EXPECT_FALSE(HasError()) << name;
}

void CheckFilling(const TmxEventDataRecord& record, bool complete, const Filling& expected,
                  const std::string& name) {
    CheckFrame(record, name);
    const EventFields fields = FieldsOf(record);
    EXPECT_TRUE(fields == expected.fields)
        << name << ":\n  " << Describe(fields) << "\ninstead of\n  " << Describe(expected.fields);
    EXPECT_EQ(complete, expected.complete) << name;
}

// Calls check(action, handle, values as decoded, name) for all actions and sets of values.
template <typename Check>
void ForAllObjects(const Check& check) {
    unsigned turn = 0;
    for (const ActionFacts& action : AllActions()) {
        for (const NamedValues& set : AllSets(action)) {
            if (turn++ % kSparse != 0) continue;
            const Handle handle(Create(action, set.values));
            ASSERT_TRUE(handle) << action.name;
            Values values;
            ASSERT_TRUE(Decode(action, handle.get(), &values)) << action.name;
            check(action, handle.get(), values, action.name + ", " + set.name);
            if (TooManyFailures()) return;
        }
    }
}

// ---- Filling ------------------------------------------------------------------------------------

TEST_F(EventRule, EveryActionFills) {
    ForAllObjects([](const ActionFacts& action, TmxHandle handle, const Values& values,
                     const std::string& name) {
        for (const uint32_t flags : {0u, kCompact, 0xFFFFFFFDu}) {
            ASSERT_TRUE(TmxAct_SetMessageFlags(handle, flags));
            TmxEventDataRecord record = Blank();
            bool complete = false;
            ASSERT_TRUE(TmxAct_GetActionEventData(handle, &record, &complete)) << name;
            CheckFilling(record, complete, Spread(action, values, flags == kCompact),
                         name + ", flags " + std::to_string(flags));
        }
    });
}

TEST_F(EventRule, EveryActionIsIncompleteWithStoreProperties) {
    for (const ActionFacts& action : AllActions()) {
        const Handle handle(Create(action, Typical(action)));
        ASSERT_TRUE(TmxAct_SetProperty(handle.get(), TMX_W("store-properties"), TMX_W("")));
        Values values;
        ASSERT_TRUE(Decode(action, handle.get(), &values));
        Filling expected = Spread(action, values, false);
        expected.complete = false;
        TmxEventDataRecord record = Blank();
        bool complete = true;
        ASSERT_TRUE(TmxAct_GetActionEventData(handle.get(), &record, &complete));
        CheckFilling(record, complete, expected, action.name);
    }
}

// A set parameter of a template fills as a present one of an action, an open one as an absent one.
TEST_F(EventRule, EveryTemplateFills) {
    ForAllObjects([](const ActionFacts& action, TmxHandle handle, const Values& values,
                     const std::string& name) {
        // The sets of values say which parameters are present, required ones too, where the
        // template is read from bytes.
        ActionFacts open = action;
        Values state = values;
        for (size_t i = 0; i < state.size(); ++i) {
            open.parameters[i].optional = true;
            if (i % 3 == values.size() % 3) state[i].present = false;
        }
        Pairs pairs;
        for (const Value& value : state) {
            pairs.push_back(value.present ? std::optional(value.data) : std::nullopt);
        }
        const Bytes bytes = TemplateBytes(action, pairs);
        const Handle made(TmxAct_CreateFromBinBuffer(bytes.data(),
                                                     static_cast<int32_t>(bytes.size()),
                                                     TMX_MESSAGE_CLASS_MATCH_ACTION, nullptr));
        ASSERT_TRUE(made) << name;
        for (const uint32_t flags : {0u, kCompact}) {
            ASSERT_TRUE(TmxAct_SetMessageFlags(made.get(), flags));
            TmxEventDataRecord record = Blank();
            bool complete = false;
            ASSERT_TRUE(TmxMatchAct_GetActionEventData(made.get(), &record, &complete)) << name;
            CheckFilling(record, complete, Spread(open, state, flags == kCompact),
                         name + ", flags " + std::to_string(flags));
        }
        // What is made from an action is as full as that.
        TmxHandle whole = nullptr;
        ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(handle, &whole));
        const Handle owner(whole);
        TmxEventDataRecord record = Blank();
        bool complete = false;
        ASSERT_TRUE(TmxMatchAct_GetActionEventData(whole, &record, &complete)) << name;
        CheckFilling(record, complete, Spread(action, values, false), name + ", as a template");
    });
}

TEST_F(EventRule, TheActionsWithASecondUser) {
    std::map<std::string, uint32_t> found;
    for (const ActionFacts& action : AllActions()) {
        for (const ParameterFacts& parameter : action.parameters) {
            if (parameter.name == "User2") found[action.name] = action.code;
        }
    }
    const std::map<std::string, uint32_t> expected = {{"UserLogin", 3},
                                                      {"UserLoginFailed", 4},
                                                      {"UserLogout", 5},
                                                      {"SystemSettingsChanged", 6},
                                                      {"SetupUploadProgress", 16}};
    EXPECT_EQ(found, expected);
}

// ---- Restoring ----------------------------------------------------------------------------------

// Restores both ways and compares with what is expected; nothing: null and no error.
void CheckRestored(const ActionFacts& action, const TmxEventDataRecord& record,
                   const std::optional<Pairs>& expected, const std::string& name) {
    const Handle restored(TmxAct_RestoreActionFromEventData(&record));
    EXPECT_FALSE(HasError()) << name << ": " << LastError();
    const Handle match(TmxMatchAct_RestoreActionFromEventData(&record));
    EXPECT_FALSE(HasError()) << name << ": " << LastError();
    EXPECT_EQ(static_cast<bool>(restored), expected.has_value()) << name;
    EXPECT_EQ(static_cast<bool>(match), expected.has_value()) << name;
    if (!expected || !restored || !match) return;

    Values values;
    ASSERT_TRUE(Decode(action, restored.get(), &values)) << name;
    EXPECT_EQ(Differences(action, ActionOf(action, *expected), values), "") << name;
    EXPECT_EQ(Hex(StoredBytes(match.get()).data(), StoredBytes(match.get()).size()),
              Hex(TemplateBytes(action, *expected).data(), TemplateBytes(action, *expected).size()))
        << name;
}

TEST_F(EventRule, EveryActionComesBackFromItsFields) {
    ForAllObjects(
        [](const ActionFacts& action, TmxHandle handle, const Values&, const std::string& name) {
            for (const uint32_t flags : {0u, kCompact}) {
                ASSERT_TRUE(TmxAct_SetMessageFlags(handle, flags));
                TmxEventDataRecord record = Blank();
                bool complete = false;
                ASSERT_TRUE(TmxAct_GetActionEventData(handle, &record, &complete)) << name;
                record.size = 0;  // not looked at
                CheckRestored(action, record, Gather(action, FieldsOf(record)),
                              name + ", flags " + std::to_string(flags));
            }
        });
}

TEST_F(EventRule, EveryActionComesBackFromItsBytes) {
    ForAllObjects(
        [](const ActionFacts& action, TmxHandle handle, const Values&, const std::string& name) {
            ASSERT_TRUE(TmxAct_SetProperty(handle, TMX_W("key"), TMX_W("value")));
            const Bytes bytes = StoredBytes(handle);
            TmxEventDataRecord record{};
            record.code = action.code == 1 ? 2 : 1;  // the bytes alone count
            SetBinary(&record, bytes);
            record.binarySize |= 0x500000000;  // the low half counts
            // Some data sets don't survive as bytes.
            const Values values = ReadBinary(bytes).values;
            const Handle restored(TmxAct_RestoreActionFromEventData(&record));
            ASSERT_TRUE(restored) << name;
            EXPECT_FALSE(HasError()) << name;
            EXPECT_TRUE(StoredBytes(restored.get()) ==
                        BinaryForm(action, values, {{TMX_W("key"), TMX_W("value")}}))
                << name;
            const Handle match(TmxMatchAct_RestoreActionFromEventData(&record));
            ASSERT_TRUE(match) << name;
            EXPECT_FALSE(HasError()) << name;
            EXPECT_TRUE(StoredBytes(match.get()) == TemplateBytes(action, PairsOf(action, values)))
                << name;
        });
}

// Bytes that can't be read leave the fields to tell.
TEST_F(EventRule, BrokenBytesFallBackToTheFields) {
    Random random(20);
    for (const ActionFacts& action : AllActions()) {
        const Handle handle(Create(action, Typical(action)));
        const Bytes whole = StoredBytes(handle.get());
        TmxEventDataRecord filled = Blank();
        bool complete = false;
        ASSERT_TRUE(TmxAct_GetActionEventData(handle.get(), &filled, &complete));
        const std::optional<Pairs> fields = Gather(action, FieldsOf(filled));
        for (int i = 0; i < 12; ++i) {
            Bytes bytes = whole;
            if (i % 2 == 0) {
                bytes.resize(1 + Below(random, bytes.size()));
            } else {
                // Within the header.
                bytes[Below(random, 8)] ^= static_cast<uint8_t>(1u << Below(random, 8));
            }
            TmxEventDataRecord record = filled;
            SetBinary(&record, bytes);
            const BinaryReading reading = ReadBinary(bytes);
            const std::string name = action.name + ", " + Hex(bytes.data(), bytes.size());
            if (reading.action == nullptr) {
                CheckRestored(action, record, fields, name);
                continue;
            }
            const Handle restored(TmxAct_RestoreActionFromEventData(&record));
            ASSERT_TRUE(restored) << name;
            Values values;
            ASSERT_TRUE(Decode(*reading.action, restored.get(), &values)) << name;
            EXPECT_EQ(Differences(*reading.action, reading.values, values), "") << name;
        }
        if (TooManyFailures()) return;
    }
}

// ---- Describing ---------------------------------------------------------------------------------

struct Listener {
    std::vector<Told> told;
    static void Hear(void* context, uint32_t index, const TmxWChar* name, const TmxWChar* value) {
        static_cast<Listener*>(context)->told.push_back({index, name, value});
    }
};

void CheckDescribed(const TmxEventDataRecord& record,
                    const std::optional<std::vector<Told>>& expected, const std::string& name) {
    Listener listener;
    bool complete = false;
    const bool answer =
        TmxAct_GetActionEventDescription(&record, &listener, &Listener::Hear, &complete);
    EXPECT_EQ(answer, expected.has_value()) << name << ": " << LastError();
    EXPECT_TRUE(complete) << name;
    EXPECT_EQ(HasError(), !expected.has_value()) << name;
    if (!expected || !answer) return;
    EXPECT_TRUE(listener.told == *expected) << name << ":\n"
                                            << Describe(listener.told) << "instead of\n"
                                            << Describe(*expected);
}

TEST_F(EventRule, EveryActionIsDescribedFromItsFields) {
    ForAllObjects(
        [](const ActionFacts& action, TmxHandle handle, const Values&, const std::string& name) {
            for (const uint32_t flags : {0u, kCompact}) {
                ASSERT_TRUE(TmxAct_SetMessageFlags(handle, flags));
                TmxEventDataRecord record = Blank();
                bool complete = false;
                ASSERT_TRUE(TmxAct_GetActionEventData(handle, &record, &complete)) << name;
                record.size = 0;
                const EventFields fields = FieldsOf(record);
                const std::string what = name + ", flags " + std::to_string(flags);
                CheckDescribed(record, ToldOfFields(&action, fields), what);
                // The fields of an unknown code and of none are shown as they are.
                for (const uint32_t code : {0u, 1u << 20}) {
                    EventFields other = fields;
                    other.code = record.code = code;
                    CheckDescribed(record, ToldOfFields(nullptr, other), what + ", other code");
                }
            }
        });
}

TEST_F(EventRule, EveryActionIsDescribedFromItsBytes) {
    ForAllObjects([](const ActionFacts& action, TmxHandle handle, const Values& values,
                     const std::string& name) {
        const Bytes bytes = StoredBytes(handle);
        TmxEventDataRecord record{};
        record.code = action.code;
        SetBinary(&record, bytes);
        CheckDescribed(record, ToldOfBytes(action, values, bytes.size()), name);
        // Without the tail that its absent optional parameters and properties take.
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(
                                                           SizeWithoutProperties(action, values)));
        SetBinary(&record, cut);
        CheckDescribed(record, ToldOfBytes(action, values, cut.size()), name + ", cut");
    });
}

// ---- Any fields ---------------------------------------------------------------------------------

template <typename T, size_t N>
void Shuffle(Random& random, std::array<std::optional<T>, N>* fields) {
    for (auto& field : *fields) {
        field = std::nullopt;
        if (Below(random, 4) == 0) continue;
        const uint64_t bits = uint64_t{random()} << 32 | random();
        field = static_cast<T>(Below(random, 2) == 0 ? bits : bits % 5);
    }
}

EventFields AnyFields(Random& random, uint32_t code) {
    EventFields fields;
    fields.code = code;
    Shuffle(random, &fields.int32);
    Shuffle(random, &fields.int64);
    Shuffle(random, &fields.dates);
    for (auto& field : fields.doubles) {
        if (Below(random, 4) == 0) continue;
        const double value = static_cast<double>(random()) / 7;
        uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        field = bits;
    }
    for (auto& field : fields.texts) {
        if (Below(random, 4) == 0) continue;
        // Up to where the assembled bytes pass the first buffer, and now and then the largest.
        const unsigned length = Below(random, 40) == 0  ? Below(random, 34000)
                                : Below(random, 3) == 0 ? Below(random, 140)
                                                        : Below(random, 12);
        WideString text;
        for (unsigned i = 0; i < length; ++i) {
            text += static_cast<TmxWChar>(Below(random, 5) == 0 ? 0xC0 + Below(random, 200)
                                                                : 32 + Below(random, 90));
        }
        field = text;
    }
    return fields;
}

TEST_F(EventRule, AnyFieldsRestoreAndAreDescribed) {
    Random random(6);
    for (const ActionFacts& action : AllActions()) {
        for (unsigned i = 0; i < 200 / kSparse; ++i) {
            const EventFields fields = AnyFields(random, action.code);
            const TmxEventDataRecord record = RecordOf(fields);
            const std::string name = action.name + ": " + Describe(fields).substr(0, 500);
            CheckRestored(action, record, Gather(action, fields), name);
            CheckDescribed(record, ToldOfFields(&action, fields), name);
            if (TooManyFailures()) return;
        }
    }
}

TEST_F(EventRule, AnyFieldsOfAnUnknownCode) {
    Random random(7);
    for (const uint32_t code : {0u, 9999u, 1u << 16, 0x7fffffffu, 0x7ffffffeu, 0xffffffffu}) {
        for (int i = 0; i < 200; ++i) {
            const EventFields fields = AnyFields(random, code);
            const TmxEventDataRecord record = RecordOf(fields);
            const std::string name = Describe(fields).substr(0, 500);
            CheckRestored(AllActions().front(), record, std::nullopt, name);
            CheckDescribed(record, ToldOfFields(nullptr, fields), name);
        }
    }
}

// ---- The walk -----------------------------------------------------------------------------------

enum class Role { VideoInput, VideoOutput, InputContact, OutputContact, Named, Guid, ChannelGuid };

// A call of a walk: the role, and the kind where the function is told one.
struct Call {
    Role role;
    uint32_t kind = 0;
    bool onCopy = false;
    bool operator==(const Call&) const = default;
};

const WideString kOwn = TMX_W("a server's own name, longer than what lies inside");
const WideString kBrief = TMX_W("gone when the function has returned, all of it");

// What a server does with the references that it is asked for.
struct Server {
    TmxActionInfoCallbacks callbacks{};
    std::vector<Call> calls;
    bool answer = true;
    enum { Leave, Null, OwnText, BriefText } names = Leave;
    int endAt = -1;                          // the call that sets the version to 0
    const TmxObjectRef* inObject = nullptr;  // the video input of the object itself

    Server();

    // The text of the call before is gone.
    void Forget() {
        if (brief_) std::fill(brief_->begin(), brief_->end(), TmxWChar{'x'});
        brief_.reset();
    }

    template <typename Reference>
    void Rename(Reference* reference) {
        Forget();
        if (names == Null) reference->name = nullptr;
        if (names == OwnText) reference->name = kOwn.c_str();
        if (names == BriefText) {
            brief_ = std::make_unique<WideString>(kBrief);
            reference->name = brief_->c_str();
        }
    }
    bool Done(Call call) {
        calls.push_back(call);
        if (static_cast<int>(calls.size()) == endAt + 1) callbacks.version = 0;
        return answer;
    }
    static Server& Of(void* context) { return *static_cast<Server*>(context); }

  private:
    std::unique_ptr<WideString> brief_;

    template <Role kRole>
    static bool Resolve(void* context, TmxObjectRef* reference) {
        Server& server = Of(context);
        const bool onCopy = kRole == Role::VideoInput && reference != server.inObject;
        reference->id = 777;
        if (!onCopy) {
            reference->number = 77;
            server.Rename(reference);
        }
        return server.Done({kRole, 0, onCopy});
    }
    static bool ResolveGuid(void* context, uint32_t kind, TmxGuidRef* reference) {
        reference->guid.Data1 = 777;
        Of(context).Rename(reference);
        return Of(context).Done({Role::Guid, kind});
    }
    static bool ResolveChannelGuid(void* context, uint32_t kind, TmxGuidRef* reference,
                                   TmxObjectRef* channel) {
        EXPECT_EQ(channel, Of(context).inObject);
        reference->guid.Data1 = 778;
        Of(context).Rename(reference);
        return Of(context).Done({Role::ChannelGuid, kind});
    }
};

Server::Server() {
    callbacks.version = 1;
    callbacks.resolveVideoInput = &Resolve<Role::VideoInput>;
    callbacks.resolveVideoOutput = &Resolve<Role::VideoOutput>;
    callbacks.resolveInputContact = &Resolve<Role::InputContact>;
    callbacks.resolveOutputContact = &Resolve<Role::OutputContact>;
    callbacks.resolveNamedId = &Resolve<Role::Named>;
    callbacks.resolveGuidReference = &ResolveGuid;
    callbacks.resolveChannelGuidReference = &ResolveChannelGuid;
}

bool IsOneOf(Kind kind, std::initializer_list<Kind> kinds) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

constexpr size_t kNone = ~size_t{0};

// The place of the present parameter that plays a role.
size_t PlaceOf(const ActionFacts& action, const Values& values, Role role) {
    for (size_t i = 0; i < action.parameters.size(); ++i) {
        const ParameterFacts& parameter = action.parameters[i];
        const Kind kind = parameter.kind;
        bool plays = false;
        switch (role) {
            case Role::VideoInput:
                plays = IsOneOf(kind, {Kind::VideoChannel, Kind::Camera}) ||
                        (action.name == "SensorAudioAlarm" && parameter.name == "Channel");
                break;
            case Role::VideoOutput:
                plays = kind == Kind::Viewer;
                break;
            case Role::InputContact:
                plays = kind == Kind::InputContact;
                break;
            case Role::OutputContact:
                plays = kind == Kind::OutputContact;
                break;
            case Role::Named:
                plays = kind == Kind::EventType ||
                        (action.name == "SetupChanged" && parameter.name == "ResourceID");
                break;
            case Role::Guid:
                plays = IsOneOf(kind, {Kind::Schedule, Kind::BackupDestination, Kind::TimeRange});
                break;
            case Role::ChannelGuid:
                plays = IsOneOf(kind, {Kind::ADParameterSet, Kind::VMDParameterSet,
                                       Kind::CPAParameterSet, Kind::PathwiseParameterSet});
                break;
        }
        if (plays) return !parameter.optional || values[i].present ? i : kNone;
    }
    return kNone;
}

// What a walk with a server must do to the values; the calls and the outcome.
struct Walked {
    std::vector<Call> calls;
    bool ok = true;
};

Walked Walk(const ActionFacts& action, const Server& server, Values* values) {
    Walked walked;
    const auto name = [&](WideString* text) {
        if (!server.answer) return;
        if (server.names == Server::Null) text->clear();
        if (server.names == Server::OwnText) *text = kOwn;
        if (server.names == Server::BriefText) *text = kBrief;
    };
    const auto call = [&](Role role, uint32_t kind = 0, bool onCopy = false) {
        walked.calls.push_back({role, kind, onCopy});
        if (!server.answer && !onCopy) walked.ok = false;
    };
    const auto ended = [&] {
        return server.endAt >= 0 && walked.calls.size() > static_cast<size_t>(server.endAt);
    };
    const auto resolveGuid = [&](Role role, uint32_t data) {
        const size_t place = PlaceOf(action, *values, role);
        if (place == kNone) return;
        auto& reference = std::get<GuidRef>((*values)[place].data);
        reference.guid.Data1 = data;
        name(&reference.name);
        call(role, static_cast<uint32_t>(action.parameters[place].kind));
    };

    const size_t channel = PlaceOf(action, *values, Role::VideoInput);
    if (PlaceOf(action, *values, Role::ChannelGuid) != kNone && channel != kNone) {
        auto& reference = std::get<ObjectRef>((*values)[channel].data);
        if (reference.id == 0 && (reference.number != 0 || !reference.name.empty())) {
            reference.id = 777;
            call(Role::VideoInput, 0, true);
        }
        resolveGuid(Role::ChannelGuid, 778);
    }
    if (ended()) return walked;
    for (const Role role :
         {Role::VideoInput, Role::VideoOutput, Role::InputContact, Role::OutputContact}) {
        const size_t place = PlaceOf(action, *values, role);
        if (place == kNone) continue;
        auto& reference = std::get<ObjectRef>((*values)[place].data);
        reference.id = 777;
        reference.number = 77;
        name(&reference.name);
        call(role);
    }
    if (ended()) return walked;
    if (const size_t place = PlaceOf(action, *values, Role::Named); place != kNone) {
        auto& reference = std::get<NamedId>((*values)[place].data);
        reference.id = 777;
        reference.number = 77;
        name(&reference.name);
        call(Role::Named);
    }
    if (ended()) return walked;
    resolveGuid(Role::Guid, 777);
    return walked;
}

void CheckWalk(const ActionFacts& action, const Values& start, Server& server,
               const std::string& name) {
    const Handle handle(Create(action, start));
    Values expected;
    ASSERT_TRUE(Decode(action, handle.get(), &expected));
    TmxObjectRef* input = nullptr;
    ASSERT_TRUE(TmxAct_GetVideoInput(handle.get(), &input));
    server.inObject = input;
    const Walked walked = Walk(action, server, &expected);
    bool ok = !walked.ok;
    ASSERT_TRUE(TmxAct_UpdateActionInfo(handle.get(), &server, &server.callbacks, &ok)) << name;
    EXPECT_FALSE(HasError()) << name;
    server.Forget();
    EXPECT_EQ(ok, walked.ok) << name;
    EXPECT_TRUE(server.calls == walked.calls)
        << name << ": " << server.calls.size() << " calls, expected " << walked.calls.size();
    // The heads point at the object's own texts again, also behind a function that returned false.
    Values values;
    ASSERT_TRUE(Decode(action, handle.get(), &values));
    EXPECT_EQ(Differences(action, expected, values), "") << name;
    const Bytes bytes = StoredBytes(handle.get());
    const Handle again(TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                                  TMX_ANY_MESSAGE_CLASS, nullptr));
    bool equal = false;
    ASSERT_TRUE(TmxAct_Equal(handle.get(), again.get(), &equal));
    for (const Value& value : values) {
        // A NaN equals nothing.
        if (const auto* real = std::get_if<double>(&value.data); real != nullptr && *real != *real)
            equal = true;
    }
    EXPECT_TRUE(equal) << name;
}

// Actions that have their references by number or name alone.
Values HalfKnown(const ActionFacts& action, bool byName) {
    Values values = Typical(action);
    for (Value& value : values) {
        if (auto* object = std::get_if<ObjectRef>(&value.data)) {
            object->id = 0;
            if (byName) {
                object->number = 0;
            } else {
                object->name.clear();
            }
        }
    }
    return values;
}

TEST_F(EventRule, EveryActionIsWalked) {
    std::map<Role, int> asked;
    for (const ActionFacts& action : AllActions()) {
        const std::pair<const char*, Values> sets[] = {{"typical", Typical(action)},
                                                       {"absent", Absent(action)},
                                                       {"empty", Empty(action)},
                                                       {"by number", HalfKnown(action, false)},
                                                       {"by name", HalfKnown(action, true)}};
        for (const auto& [set, values] : sets) {
            for (const bool answer : {true, false}) {
                for (const auto names :
                     {Server::Leave, Server::Null, Server::OwnText, Server::BriefText}) {
                    // Ended nowhere, and at each of the calls that there may be.
                    for (int endAt = -1; endAt < 4; ++endAt) {
                        Server server;
                        server.answer = answer;
                        server.names = names;
                        server.endAt = endAt;
                        CheckWalk(action, values, server,
                                  action.name + ", " + set + (answer ? "" : ", refused") +
                                      ", names " + std::to_string(names) + ", ended at " +
                                      std::to_string(endAt));
                    }
                }
            }
        }
        Values values = Typical(action);
        for (const Call& call : Walk(action, Server(), &values).calls) ++asked[call.role];
        if (TooManyFailures()) return;
    }
    EXPECT_EQ(asked[Role::VideoInput], 137);
    EXPECT_EQ(asked[Role::VideoOutput], 44);
    EXPECT_EQ(asked[Role::InputContact], 1);
    EXPECT_EQ(asked[Role::OutputContact], 1);
    EXPECT_EQ(asked[Role::Named], 19);
    EXPECT_EQ(asked[Role::Guid], 16);
    EXPECT_EQ(asked[Role::ChannelGuid], 4);
}

TEST_F(EventRule, NoActionIsWalkedThatCountsAsComplete) {
    for (const ActionFacts& action : AllActions()) {
        for (const uint32_t version : {0u, 1u, 100u, 101u, 0xffffffffu}) {
            for (const uint32_t flags : {0u, 1u, 3u}) {
                if (flags == 0 && (version == 1 || version == 100)) continue;
                const Handle handle(Create(action, Typical(action)));
                ASSERT_TRUE(TmxAct_SetMessageFlags(handle.get(), flags));
                const Bytes before = StoredBytes(handle.get());
                Server server;
                server.answer = false;
                server.callbacks.version = version;
                bool ok = false;
                ASSERT_TRUE(TmxAct_UpdateActionInfo(handle.get(), &server, &server.callbacks, &ok));
                EXPECT_TRUE(ok) << action.name;
                EXPECT_TRUE(server.calls.empty()) << action.name;
                EXPECT_EQ(StoredBytes(handle.get()), before) << action.name;
            }
        }
    }
}

// ---- Client info --------------------------------------------------------------------------------

TEST_F(EventRule, ElevenActionsTellTheirClient) {
    const std::set<std::string> expected = {"UserLogin",
                                            "UserLoginFailed",
                                            "UserLogout",
                                            "ViewerConnected",
                                            "ViewerSelectionChanged",
                                            "ViewerCleared",
                                            "ViewerPlayModeChanged",
                                            "ImageExportNotification",
                                            "SceneStoreModification",
                                            "SetupChanged",
                                            "VCAlarmQueueNotification"};
    std::set<std::string> found;
    for (const ActionFacts& action : AllActions()) {
        const auto place = [&](const char* name) {
            const auto& all = action.parameters;
            return static_cast<size_t>(
                std::find_if(all.begin(), all.end(),
                             [&](const ParameterFacts& p) { return p.name == name; }) -
                all.begin());
        };
        const size_t places[] = {place("ClientHost"), place("ClientType"), place("ClientAccount")};
        for (const Values& start : {Typical(action), Absent(action), Empty(action)}) {
            for (unsigned given = 0; given < 8; ++given) {
                const Handle handle(Create(action, start));
                Values values;
                ASSERT_TRUE(Decode(action, handle.get(), &values));
                static const TmxWChar kHost[] = TMX_W("host");
                static const TmxWChar kAccount[] = TMX_W("");
                const bool answer = TmxAct_UpdateWindowsClientInfo(
                    handle.get(), given & 1 ? kHost : nullptr, given & 2 ? -3 : 0,
                    given & 4 ? kAccount : nullptr);
                EXPECT_FALSE(HasError()) << action.name;
                if (answer) {
                    found.insert(action.name);
                    if (given & 1) values[places[0]] = {WideString(kHost)};
                    if (given & 2) values[places[1]] = {int32_t{-3}};
                    if (given & 4) values[places[2]] = {WideString(kAccount)};
                }
                Values after;
                ASSERT_TRUE(Decode(action, handle.get(), &after));
                EXPECT_EQ(Differences(action, values, after), "");

                const TmxWChar untouched[] = TMX_W("untouched");
                const int32_t untouchedType = 0;
                const TmxWChar* host = untouched;
                const int32_t* type = &untouchedType;
                const TmxWChar* account = untouched;
                EXPECT_EQ(TmxAct_GetWindowsClientInfo(handle.get(), &host, &type, &account), answer)
                    << action.name;
                EXPECT_FALSE(HasError()) << action.name;
                if (!answer) {
                    EXPECT_EQ(host, untouched) << action.name;
                    EXPECT_EQ(type, &untouchedType) << action.name;
                    EXPECT_EQ(account, untouched) << action.name;
                    continue;
                }
                const auto text = [&](size_t at) {
                    return values[at].present ? &std::get<WideString>(values[at].data) : nullptr;
                };
                ASSERT_EQ(host == nullptr, text(places[0]) == nullptr) << action.name;
                ASSERT_EQ(type == nullptr, !values[places[1]].present) << action.name;
                ASSERT_EQ(account == nullptr, text(places[2]) == nullptr) << action.name;
                if (host != nullptr) {
                    EXPECT_EQ(host, *text(places[0])) << action.name;
                }
                if (type != nullptr) {
                    EXPECT_EQ(*type, std::get<int32_t>(values[places[1]].data)) << action.name;
                }
                if (account != nullptr) {
                    EXPECT_EQ(account, *text(places[2])) << action.name;
                }
            }
        }
    }
    EXPECT_EQ(found, expected);
}

}  // namespace
}  // namespace tmxtest
