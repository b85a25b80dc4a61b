// Many threads at once: own objects, shared objects, errors of their own, the catalogue, and
// threads that come and go. Every test is bounded, so that it runs under a thread sanitizer too.
#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "support/checks.h"
#include "support/live_blocks.h"
#include "support/model.h"
#include "support/value_sets.h"

namespace tmxtest {
namespace {

constexpr unsigned kThreads = 8;
#ifdef TMX_SLOW_BUILD
constexpr unsigned kRounds = 20;
constexpr unsigned kShortThreads = 2000;
#else
constexpr unsigned kRounds = 200;
constexpr unsigned kShortThreads = 10000;
#endif

// Runs the work in all threads, which begin at the same moment.
void Together(const std::function<void(unsigned thread)>& work) {
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// An object in all its forms.
struct Forms {
    std::array<std::string, 4> narrow;  // by display + 2 * utf8
    std::array<WideString, 4> wide;
    Bytes bytes;
    bool operator==(const Forms&) const = default;
};

template <typename Char, typename Store>
std::basic_string<Char> StoredText(Store store) {
    std::basic_string<Char> text(1u << 12, Char{});
    uint32_t written = 0;
    if (!store(text.data(), static_cast<uint32_t>(text.size()), &written)) return {};
    text.resize(written);
    return text;
}

Forms FormsOf(TmxHandle handle) {
    Forms forms;
    for (unsigned i = 0; i < 4; ++i) {
        const bool display = (i & 1) != 0;
        const bool utf8 = (i & 2) != 0;
        forms.narrow[i] = StoredText<char>([&](char* text, uint32_t size, uint32_t* written) {
            return TmxAct_StoreToTextBufferA(handle, text, size, display, utf8, written);
        });
        forms.wide[i] = StoredText<TmxWChar>([&](TmxWChar* text, uint32_t size, uint32_t* written) {
            return TmxAct_StoreToTextBufferW(handle, text, size, display, utf8, written);
        });
    }
    uint32_t needed = 0;
    TmxAct_StoreToBinBuffer(handle, nullptr, 0, &needed);
    forms.bytes.resize(needed);
    if (!TmxAct_StoreToBinBuffer(handle, forms.bytes.data(), needed, &needed)) forms.bytes.clear();
    return forms;
}

Handle FromForms(const Forms& forms, unsigned which) {
    switch (which % 3) {
        case 0:
            return Handle(TmxAct_CreateFromTextBufferA(forms.narrow[2].c_str(), TMX_MEASURE_LENGTH,
                                                       TMX_ANY_MESSAGE_CLASS, true, nullptr));
        case 1:
            return Handle(TmxAct_CreateFromTextBufferW(forms.wide[0].c_str(), TMX_MEASURE_LENGTH,
                                                       TMX_ANY_MESSAGE_CLASS, false, nullptr));
        default:
            return Handle(TmxAct_CreateFromBinBuffer(forms.bytes.data(),
                                                     static_cast<int32_t>(forms.bytes.size()),
                                                     TMX_ANY_MESSAGE_CLASS, nullptr));
    }
}

// An action with values and what they give in every form, worked out by one thread alone.
struct Sample {
    const ActionFacts* action;
    Values values;
    Forms forms;
};

std::vector<Sample> MakeSamples() {
    std::vector<Sample> samples;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        for (const unsigned variant : {0u, 1u}) {
            Sample sample{&action, Typical(action, variant), {}};
            const Handle handle(Create(action, sample.values));
            sample.forms = FormsOf(handle.get());
            EXPECT_FALSE(sample.forms.bytes.empty()) << name;
            samples.push_back(std::move(sample));
        }
    }
    return samples;
}

// The thread's own record is made with its first framed call; it is no part of what a test counts.
class FirstCall : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(TmxAct_CloseHandle(TmxAct_CreateStopAllEvents())); }
};
const testing::Environment* const firstCall = testing::AddGlobalTestEnvironment(new FirstCall);

class ThreadsTest : public RuleTest {};

TEST_F(ThreadsTest, ObjectsOfTheirOwn) {
    const std::vector<Sample> samples = MakeSamples();
    std::atomic<unsigned> done{0};
    Together([&](unsigned thread) {
        for (unsigned round = 0; round < kRounds; ++round) {
            const Sample& sample = samples[(round + thread) % samples.size()];
            const Handle handle(Create(*sample.action, sample.values));
            ASSERT_TRUE(handle);
            ASSERT_EQ(sample.forms, FormsOf(handle.get())) << sample.action->name;
            Values decoded;
            ASSERT_TRUE(Decode(*sample.action, handle.get(), &decoded));
            ASSERT_EQ("", Differences(*sample.action, sample.values, decoded));
            const Handle read = FromForms(sample.forms, round);
            ASSERT_TRUE(read) << sample.action->name;
            bool equal = false;
            ASSERT_TRUE(TmxAct_Equal(handle.get(), read.get(), &equal));
            ASSERT_TRUE(equal) << sample.action->name;
            const WideString value(30 + thread, TMX_W('v'));
            ASSERT_TRUE(TmxAct_SetProperty(read.get(), TMX_W("name"), value.c_str()));
            const TmxWChar* found = nullptr;
            ASSERT_TRUE(TmxAct_GetProperty(read.get(), TMX_W("name"), &found));
            ASSERT_EQ(value, found);
            done.fetch_add(1);
        }
    });
    EXPECT_EQ(kThreads * kRounds, done.load());
}

// Each thread reads its own failure, which names the thread, whatever the others do.
TEST_F(ThreadsTest, ErrorsOfTheirOwn) {
    const TmxDateTime time{13439214000000};
    const Handle handle(TmxAct_CreateSystemStarted(&time));
    std::atomic<unsigned> done{0};
    Together([&](unsigned thread) {
        // The months 20 to 27 don't exist.
        const std::string guid = "guid of thread " + std::to_string(thread);
        const std::string guidText = "CancelExport (\"" + guid + "\", 1)";
        const WideString guidTextW(guidText.begin(), guidText.end());
        const std::string dateText =
            "SystemStarted (\"2026/2" + std::to_string(thread) + "/15 11:00:00,000 GMT\")";
        for (unsigned round = 0; round < kRounds; ++round) {
            TmxErrorInfo info{};
            switch ((round + thread) % 5) {
                case 0: {
                    TmxObjectRef camera{};
                    ASSERT_FALSE(TmxAct_DecodeCameraOn(handle.get(), &camera));
                    std::this_thread::yield();
                    ASSERT_EQ("1008/3 Wrong decode method", LastError());
                    break;
                }
                case 1: {
                    TmxWChar buffer[4];
                    uint32_t written = 0;
                    ASSERT_FALSE(
                        TmxAct_StoreToTextBufferW(handle.get(), buffer, 4, false, false, &written));
                    std::this_thread::yield();
                    ASSERT_EQ("1008/7 buffer too small", LastError());
                    ASSERT_EQ(52u, written);
                    break;
                }
                case 2:
                    ASSERT_EQ(nullptr,
                              TmxAct_CreateFromTextBufferA(guidText.c_str(), TMX_MEASURE_LENGTH,
                                                           TMX_ANY_MESSAGE_CLASS, false, nullptr));
                    std::this_thread::yield();
                    ASSERT_EQ("0/0 Conversion of guid '" + guid + "' failed.", LastError());
                    break;
                case 3:
                    ASSERT_EQ(nullptr,
                              TmxAct_CreateFromTextBufferW(guidTextW.c_str(), TMX_MEASURE_LENGTH,
                                                           TMX_ANY_MESSAGE_CLASS, false, nullptr));
                    std::this_thread::yield();
                    ASSERT_EQ("0/0 Conversion of guid '" + guid + "' failed.", LastError());
                    break;
                default:
                    ASSERT_EQ(nullptr,
                              TmxAct_CreateFromTextBufferA(dateText.c_str(), TMX_MEASURE_LENGTH,
                                                           TMX_ANY_MESSAGE_CLASS, false, nullptr));
                    std::this_thread::yield();
                    ASSERT_TRUE(TmxAct_GetLastError(&info));
                    ASSERT_EQ(5u, info.code);
                    ASSERT_EQ(uint32_t{TmxDateTimeError_Month}, info.subcode) << info.message;
                    break;
            }
            if (round % 2 == 0) {
                // A success of this thread clears its own error and leaves the texts in place.
                ASSERT_TRUE(TmxAct_GetLastError(&info));
                const std::string before = info.message;
                uint32_t code = 0;
                ASSERT_TRUE(TmxAct_GetActionCode(handle.get(), &code));
                std::this_thread::yield();
                ASSERT_FALSE(HasError());
                ASSERT_EQ(before, info.message);
            }
            done.fetch_add(1);
        }
    });
    EXPECT_EQ(kThreads * kRounds, done.load());
    EXPECT_FALSE(HasError());
}

// One object is read by all, while its references are counted up and down.
TEST_F(ThreadsTest, SharedObject) {
    // A data set's flat records are built by the decoding itself, which isn't for two at a time.
    for (const char* name : {"LenelAccessEvent", "ViewerConnect", "CancelExport"}) {
        const ActionFacts& action = ActionByName(name);
        const Values values = Typical(action);
        Handle handle(Create(action, values));
        ASSERT_TRUE(TmxAct_SetProperty(handle.get(), TMX_W("name"), TMX_W("value")));
        const Forms forms = FormsOf(handle.get());
        Together([&](unsigned thread) {
            for (unsigned round = 0; round < kRounds / 4; ++round) {
                ASSERT_TRUE(TmxAct_DuplicateHandle(handle.get()));
                ASSERT_EQ(forms, FormsOf(handle.get()));
                Values decoded;
                ASSERT_TRUE(Decode(action, handle.get(), &decoded));
                ASSERT_EQ("", Differences(action, values, decoded));
                TmxHandle clone = nullptr;
                ASSERT_TRUE(TmxAct_CloneHandle(handle.get(), &clone));
                const Handle owned(clone);
                bool equal = false;
                ASSERT_TRUE(TmxAct_Equal(handle.get(), clone, &equal));
                ASSERT_TRUE(equal);
                uint32_t count = 0;
                ASSERT_TRUE(TmxAct_GetReferenceCounter(handle.get(), &count));
                ASSERT_LE(2u, count);
                ASSERT_GE(1 + kThreads, count);
                const TmxWChar* value = nullptr;
                ASSERT_TRUE(TmxAct_GetProperty(handle.get(), TMX_W("name"), &value));
                ASSERT_EQ(WideString(TMX_W("value")), value);
                TmxObjectRef* reference = nullptr;
                ASSERT_TRUE(TmxAct_GetVideoInput(handle.get(), &reference));
                ASSERT_EQ(action.name == "ViewerConnect", reference != nullptr);
                const char* plain = nullptr;
                ASSERT_TRUE(TmxAct_GetActionPlainNameA(handle.get(), &plain));
                ASSERT_NE(nullptr, plain);
                ASSERT_TRUE(TmxAct_CloseHandle(handle.get())) << thread;
            }
        });
        uint32_t count = 0;
        ASSERT_TRUE(TmxAct_GetReferenceCounter(handle.get(), &count));
        EXPECT_EQ(1u, count);
        EXPECT_EQ(forms, FormsOf(handle.get()));
    }
}

bool Matches(TmxHandle match, TmxHandle action) {
    bool answer = false;
    EXPECT_TRUE(TmxMatchAct_Matches(match, action, &answer));
    return answer;
}

// Each thread makes templates of its own, describes them, and makes actions of them.
TEST_F(ThreadsTest, TemplatesOfTheirOwn) {
    const std::vector<Sample> samples = MakeSamples();
    std::atomic<unsigned> done{0};
    Together([&](unsigned thread) {
        for (unsigned round = 0; round < kRounds; ++round) {
            const Sample& sample = samples[(round + thread) % samples.size()];
            const Handle action(Create(*sample.action, sample.values));
            TmxHandle made = nullptr;
            ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(action.get(), &made));
            const Handle match(made);
            const std::u16string description(20 + thread, u'd');
            ASSERT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), description.c_str()));
            const char* narrow = nullptr;
            ASSERT_TRUE(TmxMatchAct_GetDescriptionA(match.get(), &narrow));
            ASSERT_EQ(std::string(20 + thread, 'd'), narrow);
            ASSERT_TRUE(Matches(match.get(), action.get()));
            const Handle read = FromForms(FormsOf(match.get()), round);
            ASSERT_TRUE(read) << sample.action->name;
            ASSERT_TRUE(TmxMatchAct_GetDescriptionA(read.get(), &narrow));
            ASSERT_EQ(std::string(20 + thread, 'd'), narrow);
            bool equal = false;
            ASSERT_TRUE(TmxAct_Equal(match.get(), read.get(), &equal));
            ASSERT_TRUE(equal) << sample.action->name;
            ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(match.get(), nullptr, &made));
            const Handle back(made);
            ASSERT_EQ(sample.forms, FormsOf(back.get())) << sample.action->name;
            done.fetch_add(1);
        }
    });
    EXPECT_EQ(kThreads * kRounds, done.load());
}

// The same templates and the same actions are read by all.
TEST_F(ThreadsTest, SharedTemplates) {
    struct Shared {
        Handle action;
        Handle match;
        Forms actionForms;
        Forms matchForms;
    };
    std::vector<Shared> all;
    for (const char* name : kChosenActions) {
        const ActionFacts& action = ActionByName(name);
        // Matching a data set may work in the action, which isn't for two at a time.
        if (action.name == "VideoResult") continue;
        Shared shared{Handle(Create(action, Typical(action))), {}, {}, {}};
        TmxHandle made = nullptr;
        ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(shared.action.get(), &made));
        shared.match = Handle(made);
        ASSERT_TRUE(TmxMatchAct_SetDescriptionW(made, u"seen by all at once, and changed by none"));
        shared.actionForms = FormsOf(shared.action.get());
        shared.matchForms = FormsOf(made);
        all.push_back(std::move(shared));
    }
    std::atomic<unsigned> done{0};
    Together([&](unsigned thread) {
        for (unsigned round = 0; round < kRounds / 4; ++round) {
            const Shared& mine = all[(round + thread) % all.size()];
            for (const Shared& other : all) {
                ASSERT_EQ(&mine == &other, Matches(mine.match.get(), other.action.get()));
                bool equal = false;
                ASSERT_TRUE(TmxAct_Equal(mine.match.get(), other.match.get(), &equal));
                ASSERT_EQ(&mine == &other, equal);
            }
            ASSERT_TRUE(TmxAct_DuplicateHandle(mine.match.get()));
            ASSERT_EQ(mine.matchForms, FormsOf(mine.match.get()));
            const TmxWChar* description = nullptr;
            ASSERT_TRUE(TmxMatchAct_GetDescriptionW(mine.match.get(), &description));
            ASSERT_EQ(std::u16string(u"seen by all at once, and changed by none"), description);
            for (const TmxHandle source : {static_cast<TmxHandle>(nullptr), mine.action.get(),
                                           all[round % all.size()].action.get()}) {
                TmxHandle made = nullptr;
                ASSERT_TRUE(TmxMatchAct_CreateActionFromTemplate(mine.match.get(), source, &made));
                const Handle owned(made);
                // All is set, so that no source changes anything.
                ASSERT_EQ(mine.actionForms, FormsOf(made));
            }
            TmxHandle clone = nullptr;
            ASSERT_TRUE(TmxAct_CloneHandle(mine.match.get(), &clone));
            const Handle owned(clone);
            ASSERT_TRUE(TmxMatchAct_SetDescriptionW(clone, nullptr));
            ASSERT_TRUE(TmxAct_CloseHandle(mine.match.get()));
            done.fetch_add(1);
        }
    });
    EXPECT_EQ(kThreads * (kRounds / 4), done.load());
    for (const Shared& shared : all) {
        EXPECT_EQ(shared.matchForms, FormsOf(shared.match.get()));
        EXPECT_EQ(shared.actionForms, FormsOf(shared.action.get()));
    }
}

// Whoever gives back the last reference ends the object, once.
TEST_F(ThreadsTest, LastReferenceEndsTheObject) {
    const TmxObjectRef camera{1, TMX_W("a camera with a name that is too long to lie inside"), 2,
                              0};
    const uint32_t before = TmxAct_GetNumberOfOpenHandles();
    const int64_t blocks = liveBlocks.load();
    {
        std::vector<TmxHandle> handles(kRounds);
        for (TmxHandle& handle : handles) {
            handle = TmxAct_CreateCameraOn(&camera);
            ASSERT_NE(nullptr, handle);
            for (unsigned i = 1; i < kThreads; ++i) ASSERT_TRUE(TmxAct_DuplicateHandle(handle));
        }
        EXPECT_EQ(before + kRounds, TmxAct_GetNumberOfOpenHandles());
        Together([&](unsigned) {
            for (const TmxHandle handle : handles) ASSERT_TRUE(TmxAct_CloseHandle(handle));
        });
    }
    EXPECT_EQ(before, TmxAct_GetNumberOfOpenHandles());
    EXPECT_EQ(blocks, liveBlocks.load());
}

// Made in one thread, closed in another: the count is exact while all live, and at the end.
TEST_F(ThreadsTest, ClosedInAnotherThread) {
    const std::vector<Sample> samples = MakeSamples();
    const uint32_t before = TmxAct_GetNumberOfOpenHandles();
    std::vector<std::vector<TmxHandle>> handles(kThreads, std::vector<TmxHandle>(kRounds));
    std::barrier allAreHere(kThreads);
    Together([&](unsigned thread) {
        for (unsigned i = 0; i < kRounds; ++i) {
            const Sample& sample = samples[(thread + i) % samples.size()];
            handles[thread][i] = Create(*sample.action, sample.values);
        }
        allAreHere.arrive_and_wait();
        EXPECT_EQ(before + kThreads * kRounds, TmxAct_GetNumberOfOpenHandles());
        allAreHere.arrive_and_wait();
        const unsigned neighbour = (thread + 1) % kThreads;
        for (unsigned i = 0; i < kRounds; ++i) {
            const Sample& sample = samples[(neighbour + i) % samples.size()];
            if (i % 16 == 0) {
                EXPECT_EQ(sample.forms, FormsOf(handles[neighbour][i]));
            }
            EXPECT_TRUE(TmxAct_CloseHandle(handles[neighbour][i]));
        }
    });
    EXPECT_EQ(before, TmxAct_GetNumberOfOpenHandles());
}

// Objects outlive the threads that made them.
// A reader never sees more or fewer objects than can be alive at the moment.
TEST_F(ThreadsTest, TheCountOfOpenHandlesIsTrueAtEveryMoment) {
    constexpr uint32_t kMakers = 4;
    const uint32_t before = TmxAct_GetNumberOfOpenHandles();
    std::atomic<bool> done{false};
    std::vector<std::thread> makers;
    for (uint32_t i = 0; i < kMakers; ++i) {
        makers.emplace_back([] {
            for (unsigned round = 0; round < kRounds * 50; ++round)
                TmxAct_CloseHandle(TmxAct_CreateStopAllEvents());
        });
    }
    std::thread reader([&] {
        while (!done.load()) {
            const uint32_t open = TmxAct_GetNumberOfOpenHandles() - before;
            ASSERT_LE(open, kMakers);
        }
    });
    for (std::thread& maker : makers) maker.join();
    done.store(true);
    reader.join();
    EXPECT_EQ(TmxAct_GetNumberOfOpenHandles(), before);
}

TEST_F(ThreadsTest, ObjectsOutliveTheirThreads) {
    const std::vector<Sample> samples = MakeSamples();
    const uint32_t before = TmxAct_GetNumberOfOpenHandles();
    std::vector<TmxHandle> handles(kThreads);
    Together([&](unsigned thread) {
        handles[thread] = Create(*samples[thread].action, samples[thread].values);
    });
    EXPECT_EQ(before + kThreads, TmxAct_GetNumberOfOpenHandles());
    Together([&](unsigned thread) {
        EXPECT_EQ(samples[thread].forms, FormsOf(handles[thread]));
        EXPECT_TRUE(TmxAct_CloseHandle(handles[thread]));
    });
    EXPECT_EQ(before, TmxAct_GetNumberOfOpenHandles());
}

// What a thread sees of the catalogue.
struct Catalogue {
    std::vector<TmxActionInfo> actions;
    std::vector<TmxActionClassInfo> classes;
    std::vector<TmxParameterInfo> parameters;
    std::vector<TmxEnumValueInfo> values;
    std::vector<uint32_t> codes;

    Catalogue()
        : actions(TmxAct_GetNumberOfActions()),
          classes(TmxAct_GetNumberOfActionClasses()),
          values(TmxAct_GetNumberOfEnumValues(TMX_NONE)) {
        TmxAct_EnumerateActions(actions.data(), static_cast<uint32_t>(actions.size()));
        TmxAct_EnumerateActionClasses(classes.data(), static_cast<uint32_t>(classes.size()));
        TmxAct_EnumerateEnumValues(values.data(), static_cast<uint32_t>(values.size()), TMX_NONE);
        for (const TmxActionInfo& action : actions) {
            std::vector<TmxParameterInfo> some(action.parameterCount);
            TmxAct_EnumerateActionParameters(some.data(), action.parameterCount, action.code);
            parameters.insert(parameters.end(), some.begin(), some.end());
            codes.push_back(TmxAct_GetActionCodeByNameA(action.name));
            codes.push_back(TmxAct_GetActionCodeByNameW(action.nameW));
            codes.push_back(TmxAct_GetInternalIndexByCode(action.code));
        }
    }

    bool Same(const Catalogue& other) const {
        return SameRecords(actions, other.actions) && SameRecords(classes, other.classes) &&
               SameRecords(parameters, other.parameters) && SameRecords(values, other.values) &&
               codes == other.codes;
    }

    template <typename Info>
    static bool SameRecords(const std::vector<Info>& a, const std::vector<Info>& b) {
        return a.size() == b.size() &&
               std::memcmp(a.data(), b.data(), a.size() * sizeof(Info)) == 0;
    }
};

TEST_F(ThreadsTest, CatalogueQueries) {
    const Catalogue expected;
    ASSERT_EQ(353u, expected.actions.size());
    ASSERT_LT(1000u, expected.parameters.size());
    Together([&](unsigned) {
        for (unsigned round = 0; round < kRounds / 10; ++round)
            ASSERT_TRUE(expected.Same(Catalogue()));
    });
}

// Parameters without a value take the present time, which asks for the zone.
TEST_F(ThreadsTest, PresentTime) {
    // Bytes that end just before the only date.
    const uint8_t bytes[] = {1, 0, 0, 0, 1, 0, 0, 0};
    const auto now = [&] {
        const Handle handle(
            TmxAct_CreateFromBinBuffer(bytes, sizeof bytes, TMX_ANY_MESSAGE_CLASS, nullptr));
        TmxDateTime time{};
        EXPECT_TRUE(TmxAct_DecodeSystemStarted(handle.get(), &time));
        return time.value;
    };
    const uint64_t first = now();
    std::atomic<unsigned> done{0};
    Together([&](unsigned) {
        uint64_t before = first;
        for (unsigned round = 0; round < kRounds * 5; ++round) {
            const uint64_t value = now();
            ASSERT_TRUE(Same({DateTime{0, true}}, {DateTime{value}}));
            // The same zone, and no step back; a tolerance for a clock that is being set.
            ASSERT_EQ(before >> 48, value >> 48);
            ASSERT_GE((value & 0xFFFFFFFFFFFF) + 1000, before & 0xFFFFFFFFFFFF);
            before = value;
            // The absent time stamp takes the present time as well.
            const Handle handle(
                TmxAct_CreateFromTextBufferA("LenelAccessEvent (\"door\")", TMX_MEASURE_LENGTH,
                                             TMX_ANY_MESSAGE_CLASS, false, nullptr));
            ASSERT_TRUE(handle);
            done.fetch_add(1);
        }
    });
    EXPECT_EQ(kThreads * kRounds * 5, done.load());
}

// Threads that fill records at the same time keep their own spilled numbers and widened texts.
TEST_F(ThreadsTest, EveryThreadHasItsOwnEventScratch) {
    const Handle device(TmxAct_CreateDeviceFound("shared type", "shared name", ""));
    std::atomic<unsigned> wrong{0};
    Together([&](unsigned thread) {
        const auto number = static_cast<int32_t>(thread) - 4;
        const std::string type = "type of thread " + std::to_string(thread);
        const std::u16string wideType(type.begin(), type.end());
        const TmxObjectRef channel{thread, u"Channel", number, 0};
        for (unsigned round = 0; round < kRounds; ++round) {
            const Handle alarm(TmxAct_CreateSensorVideoAlarmEx(
                &channel, 1, &number, &number, &number, &number, nullptr, nullptr, nullptr));
            const Handle own(TmxAct_CreateDeviceFound(type.c_str(), "", ""));
            TmxEventDataRecord record{};
            record.size = sizeof record;
            bool complete = false;
            bool right = TmxAct_GetActionEventData(alarm.get(), &record, &complete) &&
                         *record.int64Fields[1] == number && *record.int64Fields[2] == number;
            const Handle restored(TmxAct_RestoreActionFromEventData(&record));
            bool equal = false;
            right = right && TmxAct_Equal(alarm.get(), restored.get(), &equal) && equal;
            right = right && TmxAct_GetActionEventData(own.get(), &record, &complete) &&
                    wideType == record.textFields[0].text;
            // An object that all threads read.
            right = right && TmxAct_GetActionEventData(device.get(), &record, &complete) &&
                    record.textFields[0].text == std::u16string_view(u"shared type") &&
                    record.textFields[1].text == std::u16string_view(u"shared name");
            std::u16string line;
            right =
                right && TmxAct_GetActionEventDescription(
                             &record, &line,
                             [](void* context, uint32_t, const TmxWChar*, const TmxWChar* value) {
                                 *static_cast<std::u16string*>(context) = value;
                             },
                             &complete);
            right = right && line == u"DeviceFound; Type: \"shared type\"; Name: \"shared name\"";
            if (!right) wrong.fetch_add(1);
        }
    });
    EXPECT_EQ(0u, wrong.load());
}

// Thousands of threads that call, fail and end leave nothing behind.
TEST_F(ThreadsTest, ThreadsThatComeAndGo) {
    const TmxDateTime time{13439214000000};
    const Handle handle(TmxAct_CreateSystemStarted(&time));
    const auto life = [&](unsigned number) {
        if (number % 3 == 0) {
            TmxObjectRef camera{};
            EXPECT_FALSE(TmxAct_DecodeCameraOn(handle.get(), &camera));
            EXPECT_EQ("1008/3 Wrong decode method", LastError());
        } else if (number % 3 == 1) {
            EXPECT_FALSE(HasError());
            const TmxObjectRef camera{1, TMX_W("Cam"), 2, 0};
            const Handle own(TmxAct_CreateCameraOn(&camera));
            EXPECT_TRUE(own);
            // Texts that stay with the thread to its end.
            const Handle device(TmxAct_CreateDeviceFound("a type that lies outside of any string",
                                                         "a name that does as well", ""));
            TmxEventDataRecord record{};
            record.size = sizeof record;
            bool complete = true;
            EXPECT_TRUE(TmxAct_GetActionEventData(device.get(), &record, &complete));
            EXPECT_FALSE(complete);
        } else {
            // No framed call at all.
            EXPECT_EQ(106u, TmxAct_InterfaceVersion());
            EXPECT_FALSE(HasError());
        }
    };
    std::thread(life, 0u).join();
    const int64_t blocks = liveBlocks.load();
    const uint32_t handles = TmxAct_GetNumberOfOpenHandles();
    for (unsigned number = 0; number < kShortThreads; number += kThreads) {
        std::array<std::thread, kThreads> threads;
        for (unsigned i = 0; i < kThreads; ++i) threads[i] = std::thread(life, number + i);
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(blocks, liveBlocks.load());
    EXPECT_EQ(handles, TmxAct_GetNumberOfOpenHandles());
}

}  // namespace
}  // namespace tmxtest
