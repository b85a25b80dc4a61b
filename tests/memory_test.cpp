// Memory that runs out. Every allocation of every exported function fails once, alone and together
// with all that follow it: the answer is the one that is told for it, nothing is lost, what was
// handed in is as it was, and the thread goes on. Besides, how many allocations a call may make.
//
// The allocation functions of the whole process are replaced here, so that this is a program of its
// own.
#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/checks.h"
#include "support/model.h"
#include "support/system.h"
#include "support/value_sets.h"

// ---- The allocation functions -------------------------------------------------------------------

namespace {

constexpr int64_t kNever = -1;

// What the calling thread counts and lets fail while it is armed.
struct Watch {
    bool armed = false;
    bool onwards = false;     // all that follow the failed one fail too
    int64_t failAt = kNever;  // the place of the allocation that fails
    int64_t count = 0;        // allocations asked for, failed ones included
    int64_t failures = 0;
    bool firstWasNothrow = false;  // the first failed one was asked for by the non-throwing form
};
thread_local constinit Watch watch;

std::atomic<int64_t> liveBlocks{0};

void* Allocate(size_t size, size_t alignment, bool nothrow) noexcept {
    if (watch.armed) {
        const int64_t place = watch.count++;
        if (watch.failAt != kNever &&
            (place == watch.failAt || (watch.onwards && place > watch.failAt))) {
            if (watch.failures++ == 0) watch.firstWasNothrow = nothrow;
            return nullptr;
        }
    }
    void* block = nullptr;
    if (alignment <= alignof(std::max_align_t)) {
        block = std::malloc(size != 0 ? size : 1);
    } else if (void* const whole = std::malloc(size + alignment)) {
        // The block proper begins behind a place for the address of the whole.
        const uintptr_t place = (reinterpret_cast<uintptr_t>(whole) / alignment + 1) * alignment;
        block = reinterpret_cast<void*>(place);
        static_cast<void**>(block)[-1] = whole;
    }
    if (block != nullptr) liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void* AllocateOrThrow(size_t size, size_t alignment) {
    void* block = Allocate(size, alignment, false);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void GiveBack(void* block, size_t alignment = 0) noexcept {
    if (block == nullptr) return;
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(alignment <= alignof(std::max_align_t) ? block : static_cast<void**>(block)[-1]);
}

size_t Of(std::align_val_t alignment) { return static_cast<size_t>(alignment); }

}  // namespace

void* operator new(size_t size) { return AllocateOrThrow(size, 0); }
void* operator new[](size_t size) { return AllocateOrThrow(size, 0); }
void* operator new(size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, Of(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, Of(alignment));
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size, 0, true); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, 0, true);
}
void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, Of(alignment), true);
}
void* operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, Of(alignment), true);
}
void operator delete(void* block) noexcept { GiveBack(block); }
void operator delete[](void* block) noexcept { GiveBack(block); }
void operator delete(void* block, size_t) noexcept { GiveBack(block); }
void operator delete[](void* block, size_t) noexcept { GiveBack(block); }
void operator delete(void* block, std::align_val_t alignment) noexcept {
    GiveBack(block, Of(alignment));
}
void operator delete[](void* block, std::align_val_t alignment) noexcept {
    GiveBack(block, Of(alignment));
}
void operator delete(void* block, size_t, std::align_val_t alignment) noexcept {
    GiveBack(block, Of(alignment));
}
void operator delete[](void* block, size_t, std::align_val_t alignment) noexcept {
    GiveBack(block, Of(alignment));
}
void operator delete(void* block, const std::nothrow_t&) noexcept { GiveBack(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { GiveBack(block); }
void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    GiveBack(block, Of(alignment));
}
void operator delete[](void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    GiveBack(block, Of(alignment));
}

namespace tmxtest {
namespace {

// ---- One call under watch -----------------------------------------------------------------------

// The display form of a date follows the environment; here it is short wherever this runs.
const bool plainLocale = SetVariable("LC_ALL", "C");

// Runs the call with the given allocation failing and tells what was seen.
template <typename Call>
Watch Watched(int64_t failAt, bool onwards, Call&& call) {
    watch = {.armed = true, .onwards = onwards, .failAt = failAt};
    call();
    watch.armed = false;
    return watch;
}

template <typename Call>
int64_t Allocations(Call&& call) {
    return Watched(kNever, false, call).count;
}

// A last-error record, kept.
struct Record {
    uint32_t code = 0;
    uint32_t subcode = 0;
    std::string exceptionClass;
    std::string message;
    WideString messageW;
};

const Record kBadAlloc = {0, 0, "Zinc::GenericException", "std::bad_alloc",
                          TMX_W("std::bad_alloc")};
const Record kWrongDecode = {1008, 3, "class TmxPLC::TmxPLCException", "Wrong decode method",
                             TMX_W("Wrong decode method")};
const Record kTooSmall = {1008, 7, "class TmxPLC::TmxPLCException", "buffer too small",
                          TMX_W("buffer too small")};
const Record kNoCatalogueRecord = {0, 0, "class Zinc::ZincException",
                                   "The generic action has no catalogue record",
                                   TMX_W("The generic action has no catalogue record")};

// The difference between the thread's last error and the one expected, null for none; empty if
// there is none. Allocates nothing where they agree.
std::string Against(const Record* expected, bool withClass = true) {
    TmxErrorInfo info{};
    const bool present = TmxAct_GetLastError(&info);
    if (expected == nullptr) return present ? std::string("recorded: ") + info.message : "";
    if (!present) return "nothing recorded instead of " + expected->message;
    const bool same = info.code == expected->code && info.subcode == expected->subcode &&
                      std::string_view(info.exceptionClass) ==
                          (withClass ? std::string_view(expected->exceptionClass) : "") &&
                      info.message == std::string_view(expected->message) &&
                      info.messageW == std::basic_string_view<TmxWChar>(expected->messageW) &&
                      *info.details == 0;
    if (same) return "";
    return "recorded: " + std::to_string(info.code) + "/" + std::to_string(info.subcode) + " " +
           info.exceptionClass + ": " + info.message + " instead of " + expected->message +
           (withClass ? "" : " without class");
}

Record Recorded() {
    TmxErrorInfo info{};
    if (!TmxAct_GetLastError(&info)) return {};
    return {info.code, info.subcode, info.exceptionClass, info.message, info.messageW};
}

// ---- All failures of one call -------------------------------------------------------------------

enum class Object {
    None,    // the call makes no object
    Made,    // the call makes an object: without memory for it the answer is null
    Handed,  // the call hands an object out: without memory for it the answer is true, and null
};

// How a failed trial ended, for the checks of a case.
enum class End {
    NoObject,  // no memory for the object
    BadAlloc,  // no memory elsewhere
    Proper,    // what the call fails with in any case
};

struct Case {
    // Makes the call and nothing else; made gets a handle to be closed. Returns true for success.
    std::function<bool(TmxHandle* made)> call;
    Object object = Object::None;
    // The failure that the call ends in where memory suffices; null if it succeeds.
    const Record* proper = nullptr;
    // Run before and behind every trial, without watch.
    std::function<void()> prepare = [] {};
    std::function<void()> finish = [] {};
    // Tells what is wrong after a failed trial; empty if nothing is.
    std::function<std::string(End)> check = [](End) { return std::string(); };
};

// One trial; returns what is wrong with it.
std::string Try(const Case& c, int64_t count, int64_t failAt, bool onwards) {
    const int64_t blocks = liveBlocks.load();
    const uint32_t handles = TmxAct_GetNumberOfOpenHandles();
    c.prepare();
    TmxHandle made = nullptr;
    bool answer = false;
    const Watch seen = Watched(failAt, onwards, [&] { answer = c.call(&made); });

    // An object is the first thing that is asked for. Reading goes on without it, so that the
    // caller is told the same place, and may fail in what the values ask for.
    const bool atObject = c.object != Object::None && failAt == 0;
    std::string wrong;
    if (failAt == kNever) {
        wrong = Against(c.proper);
        if (wrong.empty() && answer != (c.proper == nullptr)) wrong = "the wrong answer";
        if (wrong.empty() && c.object != Object::None && (made != nullptr) != answer)
            wrong = "the wrong handle";
        if (wrong.empty() && seen.count != count)
            wrong = std::to_string(seen.count) + " allocations";
    } else {
        End end = End::BadAlloc;
        bool withClass = true;
        if (atObject && seen.failures == 1) {
            end = c.proper != nullptr ? End::Proper : End::NoObject;
        } else if (c.proper != nullptr && failAt == count - 1) {
            // The last thing that a failure asks for is the name of its class.
            end = End::Proper;
            withClass = false;
        }
        const bool expected = end == End::NoObject && c.object == Object::Handed;
        wrong = Against(end == End::BadAlloc ? &kBadAlloc
                        : end == End::Proper ? c.proper
                                             : nullptr,
                        withClass);
        if (wrong.empty() && seen.failures == 0) wrong = "not reached";
        if (wrong.empty() && answer != expected) wrong = "the wrong answer";
        if (wrong.empty() && made != nullptr) wrong = "a handle";
        if (wrong.empty() && seen.firstWasNothrow != atObject)
            wrong = atObject ? "the object is asked for by the throwing form"
                             : "a null that may go unseen";
        if (wrong.empty()) wrong = c.check(end);
    }
    if (made != nullptr) TmxAct_CloseHandle(made);
    c.finish();
    if (wrong.empty() && TmxAct_GetNumberOfOpenHandles() != handles) wrong = "an object is left";
    if (wrong.empty() && liveBlocks.load() != blocks)
        wrong = std::to_string(liveBlocks.load() - blocks) + " blocks are left";
    return wrong;
}

int64_t failedTrials = 0;

// Fails each allocation of the call, and returns how many there are.
int64_t FailEach(const std::string& name, const Case& c) {
    // The first run makes what is made once a process or a thread.
    c.prepare();
    TmxHandle made = nullptr;
    c.call(&made);
    if (made != nullptr) TmxAct_CloseHandle(made);
    c.finish();

    c.prepare();
    made = nullptr;
    const int64_t count = Allocations([&] { c.call(&made); });
    if (made != nullptr) TmxAct_CloseHandle(made);
    c.finish();

    for (int64_t n = 0; n < count; ++n) {
        for (const bool onwards : {false, true}) {
            std::string wrong = Try(c, count, n, onwards);
            ++failedTrials;
            if (!wrong.empty()) {
                ADD_FAILURE() << name << ", allocation " << n << " of " << count
                              << (onwards ? " and all that follow: " : ": ") << wrong;
            }
            // The thread goes on as if nothing had been.
            wrong = Try(c, count, kNever, false);
            if (!wrong.empty()) {
                ADD_FAILURE() << name << " after the failure of allocation " << n << " of " << count
                              << ": " << wrong;
            }
        }
    }
    return count;
}

// The call succeeds (or fails as given) and asks for no memory at all.
void ExpectNone(const std::string& name, const std::function<bool()>& call,
                const Record* proper = nullptr) {
    bool answer = false;
    EXPECT_EQ(0, Allocations([&] { answer = call(); })) << name;
    EXPECT_EQ(proper == nullptr, answer) << name;
}

template <typename Work>
void InNewThread(Work work) {
    std::thread(work).join();
}

// ---- Values and objects -------------------------------------------------------------------------

constexpr size_t kLongText = 120;

// Every parameter present, every text far longer than what an object holds inside.
Values Long(const ActionFacts& action) {
    Values values = Typical(action);
    const std::string narrow(kLongText, 'n');
    const WideString wide(kLongText, TMX_W('w'));
    for (Value& value : values) {
        if (auto* text = std::get_if<std::string>(&value.data)) *text += narrow;
        if (auto* text = std::get_if<WideString>(&value.data)) *text += wide;
        if (auto* object = std::get_if<ObjectRef>(&value.data)) object->name += wide;
        if (auto* named = std::get_if<NamedId>(&value.data)) named->name += wide;
        if (auto* guid = std::get_if<GuidRef>(&value.data)) guid->name += wide;
        if (auto* set = std::get_if<DataSet>(&value.data)) {
            set->push_back({{1, 2, 3, 4}, 5, TMX_W("middle")});
            set->push_back({{1, 2, 3, 4}, 6, TMX_W("last")});
            for (DataSetEntry& entry : *set) entry.name += wide;
        }
    }
    return values;
}

bool HasDataSet(const ActionFacts& action) {
    for (const ParameterFacts& parameter : action.parameters) {
        if (parameter.type == Type::DataSet) return true;
    }
    return false;
}

// Texts and names of references.
int64_t CountTexts(const ActionFacts& action) {
    int64_t count = 0;
    for (const ParameterFacts& parameter : action.parameters) {
        switch (parameter.type) {
            case Type::AnsiText:
            case Type::WideText:
            case Type::NamedId:
            case Type::ObjectRef:
            case Type::GuidRef:
                ++count;
                break;
            default:
                break;
        }
    }
    return count;
}

const WideString kLongName(150, TMX_W('N'));
const WideString kOtherLongName(170, TMX_W('O'));
const WideString kLongValue(200, TMX_W('<'));
const WideString kLongerValue(500, TMX_W('&'));

void GiveProperties(TmxHandle handle) {
    ASSERT_TRUE(TmxAct_SetProperty(handle, kLongName.c_str(), kLongValue.c_str()));
    ASSERT_TRUE(TmxAct_SetProperty(handle, kOtherLongName.c_str(), kLongerValue.c_str()));
}

// Holds the state of an object against later calls.
class Unchanged {
  public:
    explicit Unchanged(TmxHandle handle) : handle_(handle), bytes_(StoredBytes(handle)) {}

    std::string operator()() const {
        if (StoredBytes(handle_) != bytes_) return "the object has changed";
        uint32_t references = 0;
        TmxAct_GetReferenceCounter(handle_, &references);
        return references == 1 ? "" : std::to_string(references) + " references";
    }

  private:
    TmxHandle handle_;
    Bytes bytes_;
};

template <typename Char>
std::basic_string<Char> TextOf(TmxHandle handle, bool utf8) {
    std::basic_string<Char> text(1u << 16, Char{});
    uint32_t written = 0;
    bool stored = false;
    if constexpr (sizeof(Char) == 1) {
        stored = TmxAct_StoreToTextBufferA(handle, text.data(), 1u << 16, false, utf8, &written);
    } else {
        stored = TmxAct_StoreToTextBufferW(handle, text.data(), 1u << 16, false, utf8, &written);
    }
    EXPECT_TRUE(stored);
    text.resize(stored ? written - 1 : 0);
    return text;
}

template <typename Char>
TmxHandle FromText(const Char* text, size_t length, bool utf8, uint32_t* consumed) {
    if constexpr (sizeof(Char) == 1) {
        return TmxAct_CreateFromTextBufferA(text, static_cast<uint32_t>(length),
                                            TMX_ANY_MESSAGE_CLASS, utf8, consumed);
    } else {
        return TmxAct_CreateFromTextBufferW(text, static_cast<uint32_t>(length),
                                            TMX_ANY_MESSAGE_CLASS, utf8, consumed);
    }
}

char narrowBuffer[1u << 16];
TmxWChar wideBuffer[1u << 16];
uint8_t byteBuffer[1u << 16];

template <typename Char>
bool StoreText(TmxHandle handle, uint32_t size, bool display, bool utf8, uint32_t* written) {
    if constexpr (sizeof(Char) == 1) {
        return TmxAct_StoreToTextBufferA(handle, narrowBuffer, size, display, utf8, written);
    } else {
        return TmxAct_StoreToTextBufferW(handle, wideBuffer, size, display, utf8, written);
    }
}

// ---- Cases that every action goes through -------------------------------------------------------

constexpr uint32_t kUntouched = 0xCDCDCDCDu;

// text ends as given where memory suffices; consumed is the same without an object, and untouched
// where something is recorded.
template <typename Char>
int64_t FailReading(const std::string& name, std::basic_string_view<Char> text, bool utf8,
                    const Record* proper = nullptr) {
    uint32_t expected = kUntouched;
    const Handle handle(FromText(text.data(), text.size(), utf8, &expected));
    EXPECT_EQ(proper == nullptr, static_cast<bool>(handle)) << name;
    uint32_t consumed = kUntouched;
    return FailEach(name, {.call =
                               [&](TmxHandle* made) {
                                   *made = FromText(text.data(), text.size(), utf8, &consumed);
                                   return *made != nullptr;
                               },
                           .object = Object::Made,
                           .proper = proper,
                           .prepare = [&] { consumed = kUntouched; },
                           .check =
                               [&](End end) {
                                   const uint32_t due =
                                       end == End::NoObject ? expected : kUntouched;
                                   return consumed == due ? std::string()
                                                          : "consumed " + std::to_string(consumed);
                               }});
}

int64_t FailReadingBytes(const std::string& name, const Bytes& bytes, uint32_t usedWithoutObject) {
    uint32_t used = kUntouched;
    return FailEach(
        name, {.call =
                   [&](TmxHandle* made) {
                       *made = TmxAct_CreateFromBinBuffer(bytes.data(),
                                                          static_cast<int32_t>(bytes.size()),
                                                          TMX_ANY_MESSAGE_CLASS, &used);
                       return *made != nullptr;
                   },
               .object = Object::Made,
               .prepare = [&] { used = kUntouched; },
               .check =
                   [&](End end) {
                       const uint32_t due = end == End::NoObject ? usedWithoutObject : kUntouched;
                       return used == due ? std::string() : "used " + std::to_string(used);
                   }});
}

int64_t FailClone(const std::string& name, TmxHandle handle) {
    const Unchanged unchanged(handle);
    return FailEach(name,
                    {.call = [&](TmxHandle* made) { return TmxAct_CloneHandle(handle, made); },
                     .object = Object::Handed,
                     .check = [&](End) { return unchanged(); }});
}

template <typename Char>
void FailStoring(const std::string& name, TmxHandle handle) {
    const Unchanged unchanged(handle);
    const auto check = [&](End) { return unchanged(); };
    for (const bool display : {false, true}) {
        for (const bool utf8 : {false, true}) {
            FailEach(name, {.call =
                                [&](TmxHandle*) {
                                    return StoreText<Char>(handle, 1u << 16, display, utf8,
                                                           nullptr);
                                },
                            .check = check});
        }
    }
    // How much is missing is told before the failure is made.
    uint32_t whole = 0;
    ASSERT_TRUE(StoreText<Char>(handle, 1u << 16, false, false, &whole)) << name;
    uint32_t written = 0;
    FailEach(
        name + " into too little",
        {.call =
             [&](TmxHandle*) { return StoreText<Char>(handle, whole - 1, false, false, &written); },
         .proper = &kTooSmall,
         .prepare = [&] { written = 0; },
         .check =
             [&](End) {
                 return written == whole ? unchanged() : "written " + std::to_string(written);
             }});
}

void FailStoringBytes(const std::string& name, TmxHandle handle) {
    const Unchanged unchanged(handle);
    const auto check = [&](End) { return unchanged(); };
    FailEach(name, {.call =
                        [&](TmxHandle*) {
                            return TmxAct_StoreToBinBuffer(handle, byteBuffer, sizeof byteBuffer,
                                                           nullptr);
                        },
                    .check = check});
    FailEach(
        name + " into too little",
        {.call =
             [&](TmxHandle*) { return TmxAct_StoreToBinBuffer(handle, byteBuffer, 8, nullptr); },
         .proper = &kTooSmall,
         .check = check});
}

void TryAction(const ActionFacts& action, const ActionFacts& other) {
    const Values values = Long(action);
    const Arguments arguments(values);
    const std::string& name = action.name;

    // The object, and each long text.
    const int64_t creating = FailEach("Create" + name, {.call =
                                                            [&](TmxHandle* made) {
                                                                *made = action.create(arguments);
                                                                return *made != nullptr;
                                                            },
                                                        .object = Object::Made});
    if (!HasDataSet(action)) {
        EXPECT_EQ(1 + CountTexts(action), creating) << name;
    }

    const Handle handle(action.create(arguments));
    ASSERT_TRUE(handle) << name;
    ASSERT_NO_FATAL_FAILURE(GiveProperties(handle.get()));
    const Unchanged unchanged(handle.get());

    // A data set's flat records stay with the object, so that only a new one asks for them.
    TmxHandle fresh = nullptr;
    Outs outs(action.parameters.size());
    const int64_t decoding =
        FailEach("Decode" + name, {.call = [&](TmxHandle*) { return action.decode(fresh, outs); },
                                   .prepare = [&] { fresh = action.create(arguments); },
                                   .finish = [&] { TmxAct_CloseHandle(fresh); }});
    EXPECT_EQ(HasDataSet(action) ? 1 : 0, decoding) << name;

    Outs otherOuts(other.parameters.size());
    FailEach("Decode" + other.name + " of " + name,
             {.call = [&](TmxHandle*) { return other.decode(handle.get(), otherOuts); },
              .proper = &kWrongDecode,
              .check =
                  [&](End) {
                      return otherOuts.Untouched() ? unchanged() : "out arguments were written";
                  }});

    const int64_t cloning = FailClone(name, handle.get());
    if (!HasDataSet(action)) {
        EXPECT_EQ(1 + CountTexts(action), cloning) << name;
    }
    TmxHandle clone = nullptr;
    ASSERT_TRUE(TmxAct_CloneHandle(handle.get(), &clone));
    const Handle owned(clone);
    bool equal = false;
    FailEach("Equal of " + name,
             {.call = [&](TmxHandle*) { return TmxAct_Equal(handle.get(), clone, &equal); }});
    EXPECT_TRUE(equal) << name;

    FailStoring<char>("narrow text of " + name, handle.get());
    FailStoring<TmxWChar>("wide text of " + name, handle.get());
    FailStoringBytes("bytes of " + name, handle.get());
    for (const bool utf8 : {false, true}) {
        const std::string narrow = TextOf<char>(handle.get(), utf8);
        FailReading<char>(name + " from narrow text", narrow, utf8);
        const WideString wide = TextOf<TmxWChar>(handle.get(), utf8);
        FailReading<TmxWChar>(name + " from wide text", wide, utf8);
    }
    // Without an object there is nothing to read the properties for: the clone, which has none,
    // ends with the eight bytes of an empty block.
    FailReadingBytes(name + " from bytes", StoredBytes(handle.get()),
                     static_cast<uint32_t>(StoredBytes(clone).size()) - 8);
}

constexpr int64_t kTheObject = 1;
// A template's description lies outside the object: most have none.
constexpr int64_t kTheDescription = 1;

// A template of the action's long values, each of its texts by itself, and the actions made of it.
void TryTemplate(const ActionFacts& action, const ActionFacts& other) {
    const std::string name = "the template of " + action.name;
    const int64_t texts = CountTexts(action);
    const bool hasSet = HasDataSet(action);
    const Handle target(Create(action, Long(action)));
    const Unchanged targetUnchanged(target.get());
    const auto fromAction = [&](TmxHandle* made) {
        return TmxAct_CreateMatchActionFromTemplate(target.get(), made);
    };
    const int64_t making =
        FailEach(name, {.call = fromAction, .object = Object::Handed, .check = [&](End) {
                            return targetUnchanged();
                        }});
    if (!hasSet) {
        EXPECT_EQ(kTheObject + texts, making) << name;
    }

    TmxHandle made = nullptr;
    ASSERT_TRUE(fromAction(&made));
    const Handle match(made);
    ASSERT_TRUE(match) << name;
    ASSERT_TRUE(TmxMatchAct_SetDescriptionW(match.get(), kLongName.c_str()));
    const Unchanged unchanged(match.get());
    const int64_t cloning = FailClone(name, match.get());
    if (!hasSet) {
        EXPECT_EQ(kTheObject + texts + kTheDescription + 1, cloning) << name;
    }
    bool answer = false;
    ExpectNone("Matches of " + name,
               [&] { return TmxMatchAct_Matches(match.get(), target.get(), &answer) && answer; });
    const Handle otherTarget(Create(other, Long(other)));
    ExpectNone("Matches of another action", [&] {
        return TmxMatchAct_Matches(match.get(), otherTarget.get(), &answer) && !answer;
    });
    ExpectNone("Equal of " + name,
               [&] { return TmxAct_Equal(match.get(), match.get(), &answer) && answer; });

    // All from the template, all from a source of the action, what there is from another source.
    const Bytes openBytes = BinaryForm([&] {
        Message open = TemplateOf(action, Long(action));
        for (Value& value : open.values) value.present = false;
        return open;
    }());
    const Handle open(TmxAct_CreateFromBinBuffer(
        openBytes.data(), static_cast<int32_t>(openBytes.size()), 2, nullptr));
    ASSERT_TRUE(open) << name;
    const struct {
        TmxHandle match;
        TmxHandle source;
        bool counted;
    } ways[] = {{match.get(), nullptr, true},           {match.get(), otherTarget.get(), true},
                {match.get(), target.get(), true},      {open.get(), target.get(), true},
                {open.get(), otherTarget.get(), false}, {open.get(), nullptr, false}};
    for (const auto& way : ways) {
        const int64_t count = FailEach(
            "an action of " + name,
            {.call =
                 [&](TmxHandle* result) {
                     return TmxMatchAct_CreateActionFromTemplate(way.match, way.source, result);
                 },
             .object = Object::Handed,
             .check = [&](End) { return unchanged() + targetUnchanged(); }});
        if (way.counted && !hasSet) {
            EXPECT_EQ(kTheObject + texts, count) << name;
        }
    }

    FailStoring<char>("narrow text of " + name, match.get());
    FailStoring<TmxWChar>("wide text of " + name, match.get());
    FailStoringBytes("bytes of " + name, match.get());
    for (const bool utf8 : {false, true}) {
        const std::string narrow = TextOf<char>(match.get(), utf8);
        FailReading<char>(name + " from narrow text", narrow, utf8);
        const std::u16string wide = TextOf<TmxWChar>(match.get(), utf8);
        FailReading<TmxWChar>(name + " from wide text", wide, utf8);
    }
    const Bytes bytes = StoredBytes(match.get());
    FailReadingBytes(name + " from bytes", bytes, static_cast<uint32_t>(bytes.size()));
}

// The thread's own record is made with its first framed call; it is no part of what a test counts.
class FirstCall : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(TmxAct_CloseHandle(TmxAct_CreateStopAllEvents())); }
};
const testing::Environment* const firstCall = testing::AddGlobalTestEnvironment(new FirstCall);

class MemoryTest : public RuleTest {};

// What all tests below rest on.
TEST_F(MemoryTest, TheChosenAllocationFails) {
    ASSERT_TRUE(plainLocale);
    std::vector<void*> blocks;
    blocks.reserve(4);
    const auto ask = [&] {
        blocks.push_back(::operator new(8, std::nothrow));
        try {
            blocks.push_back(::operator new(8));
        } catch (const std::bad_alloc&) {
            blocks.push_back(nullptr);
        }
        blocks.push_back(::operator new (64, std::align_val_t{64}, std::nothrow));
    };
    const struct {
        int64_t failAt;
        bool onwards;
        std::vector<bool> there;
    } trials[] = {
        {kNever, false, {true, true, true}}, {0, false, {false, true, true}},
        {1, false, {true, false, true}},     {1, true, {true, false, false}},
        {2, false, {true, true, false}},     {3, true, {true, true, true}},
    };
    const int64_t before = liveBlocks.load();
    for (const auto& trial : trials) {
        const Watch seen = Watched(trial.failAt, trial.onwards, ask);
        EXPECT_EQ(3, seen.count);
        int64_t failures = 0;
        for (size_t i = 0; i < blocks.size(); ++i) {
            EXPECT_EQ(trial.there[i], blocks[i] != nullptr) << trial.failAt << " " << i;
            failures += blocks[i] == nullptr ? 1 : 0;
        }
        EXPECT_EQ(failures, seen.failures);
        EXPECT_EQ(trial.failAt == 0 || trial.failAt == 2, seen.firstWasNothrow);
        EXPECT_EQ(before + 3 - failures, liveBlocks.load());
        ::operator delete(blocks[0]);
        ::operator delete(blocks[1]);
        ::operator delete (blocks[2], std::align_val_t{64});
        blocks.clear();
    }
    EXPECT_EQ(before, liveBlocks.load());
    EXPECT_FALSE(watch.armed);
}

TEST_F(MemoryTest, EveryAction) {
    const auto& actions = AllActions();
    for (size_t i = 0; i < actions.size(); ++i) {
        TryAction(actions[i], actions[(i + 1) % actions.size()]);
        if (TooManyFailures()) return;
    }
    // At least the object, a property and the failures of each.
    EXPECT_LT(static_cast<int64_t>(actions.size()) * 50, failedTrials);
    RecordProperty("failedTrials", std::to_string(failedTrials));
}

TEST_F(MemoryTest, EveryTemplate) {
    const auto& actions = AllActions();
    for (size_t i = 0; i < actions.size(); ++i) {
        TryTemplate(actions[i], actions[(i + 1) % actions.size()]);
        if (TooManyFailures()) return;
    }
}

// The pairs that leave out what was added to their actions later; all others are in the list.
TEST_F(MemoryTest, ShortPairs) {
    const TmxObjectRef reference{7, kLongName.c_str(), 8, 0};
    const int32_t area = 3;
    const int64_t event = 4;
    TmxObjectRef outReference{};
    int32_t outType = 0;
    int64_t outEvent = 0;
    const int32_t* out[4] = {};

    const auto tryPair = [&](const std::string& name, const std::function<TmxHandle()>& create,
                             const std::function<bool(TmxHandle)>& decode) {
        EXPECT_EQ(2, FailEach("Create" + name, {.call =
                                                    [&](TmxHandle* made) {
                                                        *made = create();
                                                        return *made != nullptr;
                                                    },
                                                .object = Object::Made}));
        const Handle handle(create());
        ASSERT_TRUE(handle);
        ExpectNone("Decode" + name, [&] { return decode(handle.get()); });
        const TmxDateTime time{1};
        const Handle other(TmxAct_CreateSystemStarted(&time));
        FailEach(
            "Decode" + name + " of another action",
            {.call = [&](TmxHandle*) { return decode(other.get()); }, .proper = &kWrongDecode});
    };
    tryPair(
        "EventStarted", [&] { return TmxAct_CreateEventStarted(&event, &reference); },
        [&](TmxHandle handle) {
            return TmxAct_DecodeEventStarted(handle, &outEvent, &outReference);
        });
    tryPair(
        "StartEvent", [&] { return TmxAct_CreateStartEvent(&reference); },
        [&](TmxHandle handle) { return TmxAct_DecodeStartEvent(handle, &outReference); });
    tryPair(
        "SensorVideoAlarm",
        [&] { return TmxAct_CreateSensorVideoAlarm(&reference, 1, &area, &area, &area, &area); },
        [&](TmxHandle handle) {
            return TmxAct_DecodeSensorVideoAlarm(handle, &outReference, &outType, &out[0], &out[1],
                                                 &out[2], &out[3]);
        });
    tryPair(
        "SensorInhibitVideoAlarm",
        [&] {
            return TmxAct_CreateSensorInhibitVideoAlarm(&reference, 1, &area, &area, &area, &area);
        },
        [&](TmxHandle handle) {
            return TmxAct_DecodeSensorInhibitVideoAlarm(handle, &outReference, &outType, &out[0],
                                                        &out[1], &out[2], &out[3]);
        });
}

// ---- The generic functions ----------------------------------------------------------------------

Handle LongObject(const char* name) {
    const ActionFacts& action = ActionByName(name);
    return Handle(Create(action, Long(action)));
}

Handle LongGenericAction() {
    const TmxObjectRef reference{7, kLongName.c_str(), 8, 0};
    return Handle(TmxAct_CreateGenericAction(&reference, &reference, &reference, &reference, 5));
}

void TryCloneHandle() {
    FailClone("a long object", LongObject("VideoResult").get());
    EXPECT_EQ(5, FailClone("a generic action", LongGenericAction().get()));
}

// The functions that read or set a word of the object.
void TryWords() {
    const Handle owned = LongObject("VideoResult");
    const TmxHandle handle = owned.get();
    uint32_t word = 0;
    uint64_t data = 0;
    int32_t number = 0;
    bool equal = false;
    const char* name = nullptr;
    const TmxWChar* nameW = nullptr;
    TmxObjectRef* reference = nullptr;
    int64_t* key = nullptr;
    const struct {
        const char* name;
        std::function<bool()> call;
    } calls[] = {
        {"DuplicateHandle", [&] { return TmxAct_DuplicateHandle(handle); }},
        {"CloseHandle", [&] { return TmxAct_CloseHandle(handle); }},
        {"GetReferenceCounter", [&] { return TmxAct_GetReferenceCounter(handle, &word); }},
        {"GetMessageClass", [&] { return TmxAct_GetMessageClass(handle, &word); }},
        {"SetMessageFlags", [&] { return TmxAct_SetMessageFlags(handle, 3); }},
        {"GetMessageFlags", [&] { return TmxAct_GetMessageFlags(handle, &word); }},
        {"SetInternalData", [&] { return TmxAct_SetInternalData(handle, 4); }},
        {"GetInternalData", [&] { return TmxAct_GetInternalData(handle, &data); }},
        {"GetInternalIndex", [&] { return TmxAct_GetInternalIndex(handle, &word); }},
        {"Equal", [&] { return TmxAct_Equal(handle, handle, &equal); }},
        {"GetActionCode", [&] { return TmxAct_GetActionCode(handle, &word); }},
        {"GetActionClass", [&] { return TmxAct_GetActionClass(handle, &word); }},
        {"GetActionNameA", [&] { return TmxAct_GetActionNameA(handle, &name); }},
        {"GetActionNameW", [&] { return TmxAct_GetActionNameW(handle, &nameW); }},
        {"GetActionPlainNameA", [&] { return TmxAct_GetActionPlainNameA(handle, &name); }},
        {"GetActionPlainNameW", [&] { return TmxAct_GetActionPlainNameW(handle, &nameW); }},
        {"GetGenericInt32Parameter",
         [&] { return TmxAct_GetGenericInt32Parameter(handle, &number); }},
        {"GetVideoInput", [&] { return TmxAct_GetVideoInput(handle, &reference); }},
        {"GetVideoOutput", [&] { return TmxAct_GetVideoOutput(handle, &reference); }},
        {"GetInputContact", [&] { return TmxAct_GetInputContact(handle, &reference); }},
        {"GetOutputContact", [&] { return TmxAct_GetOutputContact(handle, &reference); }},
        {"GetForeignKey", [&] { return TmxAct_GetForeignKey(handle, &key); }},
    };
    for (const auto& call : calls) ExpectNone(call.name, call.call);
    TmxAct_GetReferenceCounter(handle, &word);
    EXPECT_EQ(1u, word);
}

// What reads through the catalogue record fails on a generic action.
void TryGenericQueries() {
    const Handle owned = LongGenericAction();
    const TmxHandle handle = owned.get();
    uint32_t word = 0;
    const char* name = nullptr;
    const TmxWChar* nameW = nullptr;
    const std::function<bool(TmxHandle*)> calls[] = {
        [&](TmxHandle*) { return TmxAct_GetInternalIndex(handle, &word); },
        [&](TmxHandle*) { return TmxAct_GetActionClass(handle, &word); },
        [&](TmxHandle*) { return TmxAct_GetActionNameA(handle, &name); },
        [&](TmxHandle*) { return TmxAct_GetActionNameW(handle, &nameW); },
        [&](TmxHandle*) { return TmxAct_GetActionPlainNameA(handle, &name); },
        [&](TmxHandle*) { return TmxAct_GetActionPlainNameW(handle, &nameW); },
    };
    for (const auto& call : calls)
        EXPECT_LT(0, FailEach("a generic action", {.call = call, .proper = &kNoCatalogueRecord}));
}

void TryGenericAction() {
    const TmxObjectRef reference{7, kLongName.c_str(), 8, 0};
    EXPECT_EQ(5, FailEach("CreateGenericAction", {.call =
                                                      [&](TmxHandle* made) {
                                                          *made = TmxAct_CreateGenericAction(
                                                              &reference, &reference, &reference,
                                                              &reference, 5);
                                                          return *made != nullptr;
                                                      },
                                                  .object = Object::Made}));
    EXPECT_EQ(1, FailEach("CreateGenericAction without references",
                          {.call =
                               [&](TmxHandle* made) {
                                   *made = TmxAct_CreateGenericAction(nullptr, nullptr, nullptr,
                                                                      nullptr, 5);
                                   return *made != nullptr;
                               },
                           .object = Object::Made}));
}

void TryNarrowTextStore() {
    FailStoring<char>("narrow text", LongObject("VideoResult").get());
    const Handle generic = LongGenericAction();
    ExpectNone("narrow text of a generic action",
               [&] { return StoreText<char>(generic.get(), 10, false, false, nullptr); });
}

void TryWideTextStore() {
    FailStoring<TmxWChar>("wide text", LongObject("VideoResult").get());
    const Handle generic = LongGenericAction();
    ExpectNone("wide text of a generic action",
               [&] { return StoreText<TmxWChar>(generic.get(), 10, false, false, nullptr); });
}

void TryByteStore() {
    FailStoringBytes("bytes", LongObject("VideoResult").get());
    const Handle generic = LongGenericAction();
    GiveProperties(generic.get());
    FailStoringBytes("bytes of a generic action", generic.get());
}

WideString Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// The failure of reading where memory suffices.
template <typename Char>
Record ReadingFails(std::basic_string_view<Char> text) {
    uint32_t consumed = 0;
    const Handle handle(FromText(text.data(), text.size(), false, &consumed));
    EXPECT_FALSE(handle);
    Record record = Recorded();
    EXPECT_FALSE(record.message.empty());
    return record;
}

template <typename Char>
void TryTextReading(const std::function<std::basic_string<Char>(std::string_view)>& in) {
    const std::string tail(100, '0');
    for (const std::string& bad : {std::string("not a guid"), tail}) {
        const auto text = in("CancelExport (\"" + bad + "\", 1)");
        const Record failure = ReadingFails<Char>(text);
        EXPECT_EQ("class Zinc::GuidConversionException", failure.exceptionClass);
        EXPECT_EQ("Conversion of guid '" + bad + "' failed.", failure.message);
        FailReading<Char>("a bad GUID", text, false, &failure);
    }
    for (const std::string& bad :
         {std::string("2026/13/15 12:00:00,000 GMT"), "2026/11/15" + tail, std::string("x")}) {
        const auto text = in("SystemStarted (\"" + bad + "\")");
        const Record failure = ReadingFails<Char>(text);
        EXPECT_EQ(5u, failure.code);
        EXPECT_EQ("class Zinc::EZincDateTime", failure.exceptionClass);
        FailReading<Char>("a bad date", text, false, &failure);
    }
    // A text that is broken behind long values tells its place without an object too.
    const auto broken = in("CustomAction (1, \"" + tail + "\" ?");
    uint32_t place = 0;
    EXPECT_EQ(nullptr, FromText(broken.data(), broken.size(), false, &place));
    uint32_t consumed = 0;
    TmxHandle made = nullptr;
    const auto read = [&] { made = FromText(broken.data(), broken.size(), false, &consumed); };
    const int64_t count = Allocations(read);
    EXPECT_EQ(2, count);
    const int64_t blocks = liveBlocks.load();
    for (int64_t n = 0; n < count; ++n) {
        consumed = kUntouched;
        Watched(n, false, read);
        EXPECT_EQ(nullptr, made);
        EXPECT_EQ("", Against(n == 0 ? nullptr : &kBadAlloc));
        EXPECT_EQ(n == 0 ? place : kUntouched, consumed);
    }
    EXPECT_EQ(blocks, liveBlocks.load());
    // What names no class that is asked for asks for nothing.
    const auto unknown = in("NoSuchAction (1)");
    EXPECT_EQ(
        0, Allocations([&] { made = FromText(unknown.data(), unknown.size(), false, nullptr); }));
    EXPECT_EQ(nullptr, made);
}

void TryNarrowTextReading() {
    TryTextReading<char>([](std::string_view text) { return std::string(text); });
}

void TryWideTextReading() { TryTextReading<TmxWChar>(Wide); }

void TryByteReading() {
    // Bytes that end inside a text behind a long one.
    const Handle handle = LongObject("SetupChanged");
    Bytes bytes = StoredBytes(handle.get());
    FailReadingBytes("bytes", bytes, static_cast<uint32_t>(bytes.size()) - 8);
    bytes.resize(bytes.size() / 4);
    uint32_t place = 0;
    uint32_t used = 0;
    TmxHandle made = nullptr;
    const auto read = [&] {
        made = TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                          TMX_ANY_MESSAGE_CLASS, &used);
    };
    const int64_t count = Allocations(read);
    place = used;
    EXPECT_EQ(nullptr, made);
    const int64_t blocks = liveBlocks.load();
    for (int64_t n = 0; n < count; ++n) {
        used = kUntouched;
        Watched(n, false, read);
        EXPECT_EQ(nullptr, made);
        EXPECT_EQ("", Against(n == 0 ? nullptr : &kBadAlloc));
        EXPECT_EQ(n == 0 ? place : kUntouched, used);
    }
    EXPECT_EQ(blocks, liveBlocks.load());
}

// ---- Properties ---------------------------------------------------------------------------------

WideString PropertyOf(TmxHandle handle, const WideString& name) {
    const TmxWChar* value = nullptr;
    EXPECT_TRUE(TmxAct_GetProperty(handle, name.c_str(), &value));
    return value != nullptr ? value : TMX_W("");
}

void TrySetProperty() {
    TmxHandle handle = nullptr;
    const auto make = [&] {
        handle = TmxAct_CreateGenericAction(nullptr, nullptr, nullptr, nullptr, 0);
    };
    const auto close = [&] { TmxAct_CloseHandle(handle); };
    const auto set = [&](TmxHandle*) {
        return TmxAct_SetProperty(handle, kLongName.c_str(), kLongValue.c_str());
    };
    EXPECT_LT(
        2,
        FailEach("the first property",
                 {.call = set, .prepare = make, .finish = close, .check = [&](End) -> std::string {
                      return PropertyOf(handle, kLongName).empty() ? "" : "it is there";
                  }}));
    EXPECT_LT(2, FailEach("one more property",
                          {.call = set,
                           .prepare =
                               [&] {
                                   make();
                                   TmxAct_SetProperty(handle, TMX_W("a"), TMX_W("b"));
                               },
                           .finish = close,
                           .check = [&](End) -> std::string {
                               return PropertyOf(handle, TMX_W("a")) == TMX_W("b") &&
                                              PropertyOf(handle, kLongName).empty()
                                          ? ""
                                          : "the properties have changed";
                           }}));
    EXPECT_LT(0, FailEach("a longer value",
                          {.call = set,
                           .prepare =
                               [&] {
                                   make();
                                   TmxAct_SetProperty(handle, kLongName.c_str(), TMX_W("before"));
                               },
                           .finish = close,
                           .check = [&](End) -> std::string {
                               return PropertyOf(handle, kLongName) == TMX_W("before")
                                          ? ""
                                          : "the value has changed";
                           }}));
    make();
    ASSERT_TRUE(set(nullptr));
    ExpectNone("removing a property",
               [&] { return TmxAct_SetProperty(handle, kLongName.c_str(), nullptr); });
    ExpectNone("removing none",
               [&] { return TmxAct_SetProperty(handle, kLongName.c_str(), nullptr); });
    close();
}

void TryGetProperty() {
    const Handle handle = LongGenericAction();
    GiveProperties(handle.get());
    const TmxWChar* value = nullptr;
    for (const TmxWChar* name :
         {kLongName.c_str(), TMX_W("none"), static_cast<const TmxWChar*>(nullptr)})
        ExpectNone("GetProperty", [&] { return TmxAct_GetProperty(handle.get(), name, &value); });
}

void TryGetProperties() {
    TmxHandle handle = nullptr;
    const TmxWChar* text = nullptr;
    const auto close = [&] { TmxAct_CloseHandle(handle); };
    const auto list = [&](TmxHandle*) { return TmxAct_GetProperties(handle, &text); };
    EXPECT_LT(0, FailEach("the list of no properties", {.call = list,
                                                        .prepare =
                                                            [&] {
                                                                handle = TmxAct_CreateGenericAction(
                                                                    nullptr, nullptr, nullptr,
                                                                    nullptr, 0);
                                                            },
                                                        .finish = close}));
    EXPECT_LT(0, FailEach("the list of properties",
                          {.call = list,
                           .prepare =
                               [&] {
                                   handle = TmxAct_CreateGenericAction(nullptr, nullptr, nullptr,
                                                                       nullptr, 0);
                                   GiveProperties(handle);
                                   text = nullptr;
                               },
                           .finish = close,
                           .check = [&](End) -> std::string {
                               if (text != nullptr) return "out was written";
                               return PropertyOf(handle, kLongName) == kLongValue
                                          ? ""
                                          : "the properties have changed";
                           }}));
}

// ---- Catalogue ----------------------------------------------------------------------------------

// The queries ask for nothing, whatever is asked.
void TryQueries() {
    TmxActionInfo action{};
    TmxActionClassInfo actionClass{};
    TmxParameterInfo parameter{};
    TmxEnumValueInfo value{};
    std::vector<TmxActionInfo> actions(1000);
    std::vector<TmxActionClassInfo> classes(1000);
    std::vector<TmxParameterInfo> parameters(1000);
    std::vector<TmxEnumValueInfo> enumValues(5000);
    TmxErrorInfo error{};
    bool native = false;
    const std::function<bool()> calls[] = {
        [&] { return TmxAct_InterfaceVersion() == 106; },
        [&] { return *TmxAct_InterfaceDate() != 0; },
        [&] { return !TmxAct_GetLastError(&error); },
        [&] { return TmxAct_GetNumberOfOpenHandles() == 0; },
        [&] { return TmxAct_SetNativeTranslation(true); },
        [&] { return TmxAct_GetNativeTranslation(&native) && native; },
        [&] { return TmxAct_GetNumberOfActions() == 353; },
        [&] { return TmxAct_GetNumberOfActionClasses() > 0; },
        [&] { return TmxAct_GetNumberOfActionParameters(122) == 1; },
        [&] { return TmxAct_GetNumberOfEnumValues(TMX_NONE) > 0; },
        [&] { return TmxAct_GetActionCodeByIndex(0) != TMX_NONE; },
        [&] { return TmxAct_GetInternalIndexByCode(122) != TMX_NONE; },
        [&] { return TmxAct_GetActionCodeByNameA("CameraOn") == 122; },
        [&] { return TmxAct_GetActionCodeByNameW(TMX_W("cameraon")) == 122; },
        [&] { return TmxAct_GetActionCodeByNameW(kLongName.c_str()) == TMX_NONE; },
        [&] { return TmxAct_GetActionClassByNameA("Viewer") != TMX_NONE; },
        [&] { return TmxAct_GetActionClassByNameW(TMX_W("Viewer")) != TMX_NONE; },
        [&] { return TmxAct_GetActionInfo(&action, 122); },
        [&] { return !TmxAct_GetActionInfo(&action, 99999); },
        [&] { return TmxAct_EnumerateActions(actions.data(), 1000) == 353; },
        [&] { return TmxAct_GetActionClassInfo(&actionClass, 1); },
        [&] { return TmxAct_EnumerateActionClasses(classes.data(), 1000) > 0; },
        [&] { return TmxAct_GetActionParameterInfo(&parameter, 122, 0); },
        [&] { return TmxAct_EnumerateActionParameters(parameters.data(), 1000, 623) == 20; },
        [&] { return TmxAct_EnumerateEnumValues(enumValues.data(), 5000, TMX_NONE) > 0; },
        [&] { return TmxAct_GetEnumValueInfo(&value, enumValues[0].enumId, enumValues[0].value); },
        [&] { return TmxAct_GetEventFieldInfo(&parameter, 0); },
        [&] { return TmxAct_EnumerateEventFields(parameters.data(), 1000) == 14; },
        [&] { return TmxAct_GetEventDescriptionInfo(&action); },
        [&] { return TmxAct_GetMatchActionDescriptionInfo(&parameter); },
    };
    int number = 0;
    for (const auto& call : calls) ExpectNone("query " + std::to_string(number++), call);
}

// Sets long texts while one allocation after the other fails, and short ones back at the end. Info
// is read by get; a description is shown where the record has one.
template <typename Info>
void FailSetter(const std::string& name, const std::function<bool(Info*)>& get,
                const std::function<bool(const Info*)>& set) {
    // An error that stands: the setters have no frame.
    const Handle handle = LongObject("CameraOn");
    TmxDateTime time{};
    ASSERT_FALSE(TmxAct_DecodeSystemStarted(handle.get(), &time));

    Info original{};
    ASSERT_TRUE(get(&original)) << name;
    const WideString originalPlain = original.plainNameW;
    Info changed = original;
    changed.plainNameW = kLongName.c_str();
    WideString originalDescription;
    if constexpr (requires { original.descriptionW; }) {
        originalDescription = original.descriptionW;
        changed.descriptionW = kOtherLongName.c_str();
    } else {
        changed.nameW = kOtherLongName.c_str();
    }

    bool answer = false;
    int64_t n = 0;
    for (; !answer; ++n) {
        ASSERT_GT(100, n) << name;
        for (const bool onwards : {true, false}) {
            const int64_t blocks = liveBlocks.load();
            const Watch seen = Watched(n, onwards, [&] { answer = set(&changed); });
            EXPECT_EQ(seen.failures == 0, answer) << name << " " << n;
            EXPECT_EQ("", Against(&kWrongDecode)) << name;
            Info info{};
            EXPECT_TRUE(get(&info));
            if (answer) {
                EXPECT_EQ(kLongName, info.plainNameW) << name;
                break;
            }
            EXPECT_EQ(blocks, liveBlocks.load()) << name << " " << n;
            EXPECT_EQ(0, std::memcmp(&info, &original, sizeof info))
                << name << ": the texts have changed at " << n;
        }
    }
    // Three forms of either text.
    EXPECT_LE(6, n - 1) << name;

    // Once set, setting again gives back as much as it asks for.
    const int64_t blocks = liveBlocks.load();
    EXPECT_TRUE(set(&changed)) << name;
    EXPECT_EQ(blocks, liveBlocks.load()) << name;

    changed.plainNameW = originalPlain.c_str();
    if constexpr (requires { changed.descriptionW; }) {
        changed.descriptionW = originalDescription.c_str();
    }
    EXPECT_TRUE(set(&changed)) << name;
}

void TrySetters() {
    FailSetter<TmxActionInfo>(
        "action", [](TmxActionInfo* info) { return TmxAct_GetActionInfo(info, 122); },
        TmxAct_SetActionPlainInfo);
    FailSetter<TmxActionClassInfo>(
        "class", [](TmxActionClassInfo* info) { return TmxAct_GetActionClassInfo(info, 1); },
        TmxAct_SetActionClassPlainInfo);
    FailSetter<TmxParameterInfo>(
        "parameter",
        [](TmxParameterInfo* info) { return TmxAct_GetActionParameterInfo(info, 122, 0); },
        [](const TmxParameterInfo* info) {
            return TmxAct_SetActionParameterPlainInfo(info, 122, 0);
        });
    FailSetter<TmxEnumValueInfo>(
        "enumeration value",
        [](TmxEnumValueInfo* info) {
            TmxEnumValueInfo first{};
            TmxAct_EnumerateEnumValues(&first, 1, TMX_NONE);
            return TmxAct_GetEnumValueInfo(info, first.enumId, first.value);
        },
        TmxAct_SetEnumValuePlainInfo);
    FailSetter<TmxParameterInfo>(
        "event field", [](TmxParameterInfo* info) { return TmxAct_GetEventFieldInfo(info, 3); },
        [](const TmxParameterInfo* info) { return TmxAct_SetEventFieldPlainInfo(info, 3); });
    FailSetter<TmxActionInfo>("event description", TmxAct_GetEventDescriptionInfo,
                              TmxAct_SetEventDescriptionPlainInfo);
    FailSetter<TmxParameterInfo>("description of match actions",
                                 TmxAct_GetMatchActionDescriptionInfo,
                                 TmxAct_SetMatchActionDescriptionPlainInfo);
    // The other set of plain names fails on its own.
    ASSERT_TRUE(TmxAct_SetNativeTranslation(false));
    FailSetter<TmxActionInfo>(
        "action, alternate names",
        [](TmxActionInfo* info) { return TmxAct_GetActionInfo(info, 123); },
        TmxAct_SetActionPlainInfo);
    ASSERT_TRUE(TmxAct_SetNativeTranslation(true));
}

// ---- Templates ----------------------------------------------------------------------------------

Handle LongTemplate() {
    TmxHandle made = nullptr;
    EXPECT_TRUE(TmxAct_CreateMatchActionFromTemplate(LongObject("VideoResult").get(), &made));
    EXPECT_TRUE(TmxMatchAct_SetDescriptionW(made, kLongName.c_str()));
    return Handle(made);
}

// The functions that read a word of the template or of its catalogue record.
void TryTemplateQueries() {
    const Handle owned = LongTemplate();
    const TmxHandle handle = owned.get();
    uint32_t word = 0;
    bool flag = false;
    const char* name = nullptr;
    const TmxWChar* nameW = nullptr;
    const struct {
        const char* name;
        std::function<bool()> call;
    } calls[] = {
        {"GetActionCode", [&] { return TmxMatchAct_GetActionCode(handle, &word); }},
        {"GetActionClass", [&] { return TmxMatchAct_GetActionClass(handle, &word); }},
        {"GetActionNameA", [&] { return TmxMatchAct_GetActionNameA(handle, &name); }},
        {"GetActionNameW", [&] { return TmxMatchAct_GetActionNameW(handle, &nameW); }},
        {"GetActionPlainNameA", [&] { return TmxMatchAct_GetActionPlainNameA(handle, &name); }},
        {"GetActionPlainNameW", [&] { return TmxMatchAct_GetActionPlainNameW(handle, &nameW); }},
        {"HasDescription", [&] { return TmxMatchAct_HasDescription(handle, &flag) && flag; }},
        {"GetDescriptionW", [&] { return TmxMatchAct_GetDescriptionW(handle, &nameW); }},
        {"DuplicateHandle", [&] { return TmxAct_DuplicateHandle(handle); }},
        {"CloseHandle", [&] { return TmxAct_CloseHandle(handle); }},
    };
    for (const auto& call : calls) ExpectNone(call.name, call.call);
}

// Without memory the description stays what it was.
void TrySetDescription() {
    const std::string longNarrow(150, 'n');
    for (const bool wide : {false, true}) {
        const auto set = [&](TmxHandle handle) {
            return wide ? TmxMatchAct_SetDescriptionW(handle, kOtherLongName.c_str())
                        : TmxMatchAct_SetDescriptionA(handle, longNarrow.c_str());
        };
        for (const TmxWChar* before : {static_cast<const TmxWChar*>(nullptr), u"", u"before"}) {
            TmxHandle handle = nullptr;
            EXPECT_LT(0, FailEach("a description",
                                  {.call = [&](TmxHandle*) { return set(handle); },
                                   .prepare =
                                       [&] {
                                           const Handle action(TmxAct_CreateABCDisconnect());
                                           TmxAct_CreateMatchActionFromTemplate(action.get(),
                                                                                &handle);
                                           TmxMatchAct_SetDescriptionW(handle, before);
                                       },
                                   .finish = [&] { TmxAct_CloseHandle(handle); },
                                   .check = [&](End) -> std::string {
                                       bool has = false;
                                       const TmxWChar* text = nullptr;
                                       TmxMatchAct_HasDescription(handle, &has);
                                       TmxMatchAct_GetDescriptionW(handle, &text);
                                       const bool same =
                                           has == (before != nullptr) &&
                                           std::u16string_view(text) == (has ? before : u"");
                                       return same ? "" : "the description has changed";
                                   }}));
        }
    }
    const Handle match = LongTemplate();
    ExpectNone("no description", [&] { return TmxMatchAct_SetDescriptionW(match.get(), nullptr); });
    ExpectNone("no description", [&] { return TmxMatchAct_SetDescriptionA(match.get(), nullptr); });
    const TmxWChar* wide = nullptr;
    const char* narrow = nullptr;
    ExpectNone("none to tell", [&] {
        return TmxMatchAct_GetDescriptionW(match.get(), &wide) &&
               TmxMatchAct_GetDescriptionA(match.get(), &narrow);
    });
}

void TryGetNarrowDescription() {
    const char* text = nullptr;
    TmxHandle handle = nullptr;
    EXPECT_LT(
        0, FailEach("the narrow description",
                    {.call = [&](TmxHandle*) { return TmxMatchAct_GetDescriptionA(handle, &text); },
                     .prepare =
                         [&] {
                             const Handle action(TmxAct_CreateABCDisconnect());
                             TmxAct_CreateMatchActionFromTemplate(action.get(), &handle);
                             TmxMatchAct_SetDescriptionW(handle, kLongName.c_str());
                             text = nullptr;
                         },
                     .finish = [&] { TmxAct_CloseHandle(handle); },
                     .check = [&](End) -> std::string {
                         const TmxWChar* wide = nullptr;
                         TmxMatchAct_GetDescriptionW(handle, &wide);
                         if (text != nullptr) return "out was written";
                         return wide == kLongName ? "" : "the description has changed";
                     }}));
}

void TryMatching() {
    const Handle match = LongTemplate();
    const Handle action = LongObject("VideoResult");
    bool answer = false;
    // A fresh action has nothing worked out for its data set yet.
    ExpectNone("Matches",
               [&] { return TmxMatchAct_Matches(match.get(), action.get(), &answer) && answer; });
    ExpectNone("Matches again",
               [&] { return TmxMatchAct_Matches(match.get(), action.get(), &answer) && answer; });
    const Handle generic = LongGenericAction();
    ExpectNone("Matches of a generic action",
               [&] { return TmxMatchAct_Matches(match.get(), generic.get(), &answer) && !answer; });
}

void TryActionOfTemplate() {
    const Handle match = LongTemplate();
    const Handle generic = LongGenericAction();
    const Unchanged unchanged(match.get());
    EXPECT_LT(1, FailEach("an action of a template and a generic action",
                          {.call =
                               [&](TmxHandle* made) {
                                   return TmxMatchAct_CreateActionFromTemplate(match.get(),
                                                                               generic.get(), made);
                               },
                           .object = Object::Handed,
                           .check = [&](End) { return unchanged(); }}));
}

void TryTemplateOfAction() {
    const Handle generic = LongGenericAction();
    TmxHandle made = generic.get();
    ExpectNone("the template of a generic action", [&] {
        return TmxAct_CreateMatchActionFromTemplate(generic.get(), &made) && made == nullptr;
    });
    const Handle action = LongObject("VideoResult");
    EXPECT_LT(1, FailEach("the template of an action",
                          {.call =
                               [&](TmxHandle* match) {
                                   return TmxAct_CreateMatchActionFromTemplate(action.get(), match);
                               },
                           .object = Object::Handed}));
}

// ---- Event records ------------------------------------------------------------------------------

TmxEventDataRecord FilledRecord(TmxHandle handle) {
    TmxEventDataRecord record{};
    record.size = sizeof record;
    bool complete = false;
    EXPECT_TRUE(TmxAct_GetActionEventData(handle, &record, &complete));
    return record;
}

void TryEventFilling() {
    TmxEventDataRecord record{};
    record.size = sizeof record;
    bool complete = false;
    // Spilled numbers, and texts of any length.
    for (const char* name : {"CameraOn", "SetupChanged", "SensorVideoAlarm", "VideoResult"}) {
        const Handle action = LongObject(name);
        TmxHandle made = nullptr;
        ASSERT_TRUE(TmxAct_CreateMatchActionFromTemplate(action.get(), &made));
        const Handle match(made);
        ExpectNone(name,
                   [&] { return TmxAct_GetActionEventData(action.get(), &record, &complete); });
        ExpectNone(name,
                   [&] { return TmxMatchAct_GetActionEventData(match.get(), &record, &complete); });
    }
    record.size = 0;
    const Handle action = LongObject("CameraOn");
    static const Record kWrongSize = {1008, 8, "class TmxPLC::TmxPLCException",
                                      "Wrong structure size", u"Wrong structure size"};
    EXPECT_LT(1, FailEach("a record of another size", {.call =
                                                           [&](TmxHandle*) {
                                                               return TmxAct_GetActionEventData(
                                                                   action.get(), &record,
                                                                   &complete);
                                                           },
                                                       .proper = &kWrongSize}));
}

// What lies in no object goes into the thread's record: the first filling of a thread asks for it.
void TryEventScratch() {
    for (const char* name : {"SensorVideoAlarm", "DeviceFound"}) {
        const Handle action = LongObject(name);
        const int64_t blocks = liveBlocks.load();
        int64_t count = 0;
        for (int64_t failAt = -1; failAt < count; ++failAt) {
            for (const bool onwards : {false, true}) {
                InNewThread([&] {
                    TmxEventDataRecord record{};
                    record.size = sizeof record;
                    bool complete = false;
                    bool answer = false;
                    const auto fill = [&] {
                        answer = TmxAct_GetActionEventData(action.get(), &record, &complete);
                    };
                    const Watch seen = Watched(failAt, onwards, fill);
                    if (failAt == -1) {
                        count = seen.count;
                        EXPECT_TRUE(answer) << name;
                        return;
                    }
                    EXPECT_FALSE(answer) << name << ", allocation " << failAt;
                    // Without memory for the thread's record the failure may go unrecorded.
                    if (HasError()) {
                        EXPECT_EQ("", Against(&kBadAlloc)) << name;
                    }
                    EXPECT_TRUE(failAt == 0 || HasError()) << name;
                    fill();
                    EXPECT_TRUE(answer) << name;
                    EXPECT_FALSE(HasError()) << name;
                });
                EXPECT_EQ(blocks, liveBlocks.load()) << name << ", allocation " << failAt;
            }
        }
        EXPECT_LT(0, count) << name;
    }
}

// Restoring asks for more than one object: without memory for the last there is null and no
// failure, as for the first.
template <typename Call>
void FailRestoring(const std::string& name, const Call& call) {
    EXPECT_TRUE(Handle{call()}) << name;  // what is made once
    const int64_t count = Allocations([&] { static_cast<void>(Handle{call()}); });
    EXPECT_LT(1, count) << name;
    for (int64_t failAt = 0; failAt < count; ++failAt) {
        for (const bool onwards : {false, true}) {
            const std::string where = name + ", allocation " + std::to_string(failAt);
            const int64_t blocks = liveBlocks.load();
            TmxHandle made = nullptr;
            const Watch seen = Watched(failAt, onwards, [&] { made = call(); });
            EXPECT_LT(0, seen.failures) << where;
            EXPECT_EQ(nullptr, made) << where;
            const bool noObject = seen.firstWasNothrow && seen.failures == 1;
            EXPECT_EQ("", Against(noObject ? nullptr : &kBadAlloc)) << where;
            EXPECT_EQ(blocks, liveBlocks.load()) << where;
            Handle whole(call());
            EXPECT_TRUE(whole) << where;
            EXPECT_FALSE(HasError()) << where;
        }
    }
}

void TryRestoring() {
    const std::u16string name(100, u'n');
    const TmxObjectRef camera{1, name.c_str(), 2, 0};
    const Handle action(TmxAct_CreateCameraOn(&camera));
    const TmxEventDataRecord fields = FilledRecord(action.get());
    FailRestoring("from fields", [&] { return TmxAct_RestoreActionFromEventData(&fields); });
    FailRestoring("a match action from fields",
                  [&] { return TmxMatchAct_RestoreActionFromEventData(&fields); });
    // The larger buffer.
    const Handle large = LongObject("CustomAction");
    const TmxEventDataRecord second = FilledRecord(large.get());
    FailRestoring("from a larger buffer",
                  [&] { return TmxAct_RestoreActionFromEventData(&second); });
    // A record without an action has no other way to give one.
    const Bytes bytes = StoredBytes(large.get());
    TmxEventDataRecord stored{};
    stored.binarySize = bytes.size();
    stored.binary = bytes.data();
    FailRestoring("from bytes", [&] { return TmxAct_RestoreActionFromEventData(&stored); });
    FailRestoring("a match action from bytes",
                  [&] { return TmxMatchAct_RestoreActionFromEventData(&stored); });
    const Handle narrow(TmxAct_CreateDeviceFound(std::string(60, 'n').c_str(), "", ""));
    const TmxEventDataRecord texts = FilledRecord(narrow.get());
    FailRestoring("narrow texts", [&] { return TmxAct_RestoreActionFromEventData(&texts); });
}

void TryDescribing() {
    const Handle action = LongObject("CustomAction");
    const Bytes bytes = StoredBytes(action.get());
    TmxEventDataRecord stored{};
    stored.code = 8;
    stored.binarySize = bytes.size();
    stored.binary = bytes.data();
    const TmxEventDataRecord shortOne = FilledRecord(action.get());
    bool complete = false;
    int calls = 0;
    const auto describe = [&](const TmxEventDataRecord& record) {
        calls = 0;
        return TmxAct_GetActionEventDescription(
            &record, &calls,
            [](void* context, uint32_t, const TmxWChar*, const TmxWChar*) {
                ++*static_cast<int*>(context);
            },
            &complete);
    };
    ExpectNone("a usual line", [&] { return describe(shortOne) && calls == 3; });
    const std::u16string endless(2000, u'e');
    TmxEventDataRecord fields = shortOne;
    fields.textFields[0] = {endless.size(), endless.c_str()};
    EXPECT_LT(1, FailEach("a long line", {.call = [&](TmxHandle*) { return describe(fields); }}));
    // Without memory for an object of the bytes the fields are described, here none.
    const int64_t count = Allocations([&] { EXPECT_TRUE(describe(stored)); });
    EXPECT_LT(2, count);
    EXPECT_EQ(3, calls);
    const int64_t blocks = liveBlocks.load();
    for (int64_t failAt = 0; failAt < count; ++failAt) {
        bool answer = false;
        const Watch seen = Watched(failAt, false, [&] { answer = describe(stored); });
        EXPECT_EQ(seen.firstWasNothrow, answer) << failAt;
        // A failure may come behind the first values.
        EXPECT_TRUE(answer ? calls == 1 : calls < 3) << failAt;
        EXPECT_EQ("", Against(answer ? nullptr : &kBadAlloc)) << failAt;
        EXPECT_EQ(blocks, liveBlocks.load()) << failAt;
    }
}

void TryActionInfo() {
    const Handle action = LongObject("CameraOn");
    TmxActionInfoCallbacks callbacks{};
    callbacks.version = 1;
    callbacks.resolveVideoInput = [](void*, TmxObjectRef* reference) {
        reference->name = kOtherLongName.c_str();
        return true;
    };
    bool ok = false;
    EXPECT_EQ(1, FailEach("a new name", {.call = [&](TmxHandle*) {
                              return TmxAct_UpdateActionInfo(action.get(), nullptr, &callbacks,
                                                             &ok);
                          }}));
    EXPECT_TRUE(ok);
    callbacks.resolveVideoInput = [](void*, TmxObjectRef*) { return false; };
    ExpectNone("no new name", [&] {
        return TmxAct_UpdateActionInfo(action.get(), nullptr, &callbacks, &ok) && !ok;
    });
    ExpectNone("UpdateActionSource", [] { return TmxAct_UpdateActionSource(); });
    ExpectNone("UpdateTimeRangeChanged", [] { return !TmxAct_UpdateTimeRangeChanged(); });
}

void TryClientInfo() {
    const Handle action = LongObject("ViewerCleared");
    const Unchanged unchanged(action.get());
    EXPECT_EQ(2, FailEach("a new client",
                          {.call =
                               [&](TmxHandle*) {
                                   return TmxAct_UpdateWindowsClientInfo(
                                       action.get(), kLongName.c_str(), 3, kOtherLongName.c_str());
                               },
                           .prepare =
                               [&] {
                                   // Back to what it was.
                                   const Values values = Long(ActionByName("ViewerCleared"));
                                   TmxAct_UpdateWindowsClientInfo(
                                       action.get(),
                                       std::get<std::u16string>(values[1].data).c_str(),
                                       std::get<int32_t>(values[2].data),
                                       std::get<std::u16string>(values[3].data).c_str());
                               },
                           .check = [&](End) { return unchanged(); }}));
    const TmxWChar* host = nullptr;
    const int32_t* type = nullptr;
    const TmxWChar* account = nullptr;
    ExpectNone("the client",
               [&] { return TmxAct_GetWindowsClientInfo(action.get(), &host, &type, &account); });
}

// ---- All of them --------------------------------------------------------------------------------

struct Trial {
    void (*run)();
    // The functions that it lets fail, those of actions without their prefix.
    std::vector<std::string> exports;
};

const std::vector<Trial>& Trials() {
    static const std::vector<Trial> trials = {
        {&TryCloneHandle, {"CloneHandle"}},
        {&TryWords,
         {"DuplicateHandle", "CloseHandle", "GetReferenceCounter", "GetMessageClass",
          "SetMessageFlags", "GetMessageFlags", "SetInternalData", "GetInternalData", "Equal",
          "GetActionCode", "GetGenericInt32Parameter", "GetVideoInput", "GetVideoOutput",
          "GetInputContact", "GetOutputContact", "GetForeignKey"}},
        {&TryGenericQueries,
         {"GetInternalIndex", "GetActionClass", "GetActionNameA", "GetActionNameW",
          "GetActionPlainNameA", "GetActionPlainNameW"}},
        {&TryGenericAction, {"CreateGenericAction"}},
        {&TryNarrowTextStore, {"StoreToTextBufferA"}},
        {&TryWideTextStore, {"StoreToTextBufferW"}},
        {&TryByteStore, {"StoreToBinBuffer"}},
        {&TryNarrowTextReading, {"CreateFromTextBufferA"}},
        {&TryWideTextReading, {"CreateFromTextBufferW"}},
        {&TryByteReading, {"CreateFromBinBuffer"}},
        {&TrySetProperty, {"SetProperty"}},
        {&TryGetProperty, {"GetProperty"}},
        {&TryGetProperties, {"GetProperties"}},
        {&TryQueries,
         {"InterfaceVersion",
          "InterfaceDate",
          "GetLastError",
          "GetNumberOfOpenHandles",
          "SetNativeTranslation",
          "GetNativeTranslation",
          "GetNumberOfActions",
          "GetNumberOfActionClasses",
          "GetNumberOfActionParameters",
          "GetNumberOfEnumValues",
          "GetActionCodeByIndex",
          "GetInternalIndexByCode",
          "GetActionCodeByNameA",
          "GetActionCodeByNameW",
          "GetActionClassByNameA",
          "GetActionClassByNameW",
          "GetActionInfo",
          "EnumerateActions",
          "GetActionClassInfo",
          "EnumerateActionClasses",
          "GetActionParameterInfo",
          "EnumerateActionParameters",
          "EnumerateEnumValues",
          "GetEnumValueInfo",
          "GetEventFieldInfo",
          "EnumerateEventFields",
          "GetEventDescriptionInfo",
          "GetMatchActionDescriptionInfo"}},
        {&TryEventFilling, {"GetActionEventData", "TmxMatchAct_GetActionEventData"}},
        {&TryEventScratch, {"GetActionEventData"}},
        {&TryRestoring, {"RestoreActionFromEventData", "TmxMatchAct_RestoreActionFromEventData"}},
        {&TryDescribing, {"GetActionEventDescription"}},
        {&TryActionInfo, {"UpdateActionInfo", "UpdateActionSource", "UpdateTimeRangeChanged"}},
        {&TryClientInfo, {"GetWindowsClientInfo", "UpdateWindowsClientInfo"}},
        {&TrySetters,
         {"SetActionPlainInfo", "SetActionClassPlainInfo", "SetActionParameterPlainInfo",
          "SetEnumValuePlainInfo", "SetEventFieldPlainInfo", "SetEventDescriptionPlainInfo",
          "SetMatchActionDescriptionPlainInfo"}},
        {&TryTemplateQueries,
         {"TmxMatchAct_GetActionCode", "TmxMatchAct_GetActionClass", "TmxMatchAct_GetActionNameA",
          "TmxMatchAct_GetActionNameW", "TmxMatchAct_GetActionPlainNameA",
          "TmxMatchAct_GetActionPlainNameW", "TmxMatchAct_HasDescription",
          "TmxMatchAct_GetDescriptionW"}},
        {&TrySetDescription, {"TmxMatchAct_SetDescriptionW", "TmxMatchAct_SetDescriptionA"}},
        {&TryGetNarrowDescription, {"TmxMatchAct_GetDescriptionA"}},
        {&TryMatching, {"TmxMatchAct_Matches"}},
        {&TryActionOfTemplate, {"TmxMatchAct_CreateActionFromTemplate"}},
        {&TryTemplateOfAction, {"CreateMatchActionFromTemplate"}},
    };
    return trials;
}

TEST_F(MemoryTest, EveryGenericFunction) {
    for (const Trial& trial : Trials()) {
        SCOPED_TRACE(trial.exports.front());
        trial.run();
    }
}

// A function that joins the interface has to join a trial.
TEST_F(MemoryTest, NoFunctionIsLeftOut) {
    std::set<std::string> tried;
    for (const Trial& trial : Trials()) {
        for (const std::string& name : trial.exports) {
            tried.insert(name.find("TmxMatchAct_") == 0 ? name : "TmxAct_" + name);
        }
    }
    for (const char* name :
         {"EventStarted", "StartEvent", "SensorVideoAlarm", "SensorInhibitVideoAlarm"}) {
        tried.insert(std::string("TmxAct_Create") + name);
        tried.insert(std::string("TmxAct_Decode") + name);
    }
#define TMX_ACTION(code, name, typed)     \
    tried.insert("TmxAct_Create" #typed); \
    tried.insert("TmxAct_Decode" #typed);
#include <tmxactions/actions.def>
    std::ifstream file(TMX_EXPORTS_LIST);
    ASSERT_TRUE(file.is_open()) << TMX_EXPORTS_LIST;
    std::set<std::string> exported;
    for (std::string name; std::getline(file, name);) {
        if (!name.empty()) exported.insert(name);
    }
    for (const std::string& name : exported) EXPECT_EQ(1u, tried.count(name)) << name;
    for (const std::string& name : tried) EXPECT_EQ(1u, exported.count(name)) << name;
}

// A date-time without a calendar date fails in the store.
TEST_F(MemoryTest, StoringWithoutACalendarDate) {
    const TmxDateTime time{1ull | uint64_t{840} << 48};
    const Handle handle(TmxAct_CreateSystemStarted(&time));
    ASSERT_FALSE(StoreText<char>(handle.get(), 1u << 16, false, false, nullptr));
    const Record failure = Recorded();
    EXPECT_EQ(2u, failure.code);
    EXPECT_LT(1, FailEach("narrow", {.call =
                                         [&](TmxHandle*) {
                                             return StoreText<char>(handle.get(), 1u << 16, false,
                                                                    false, nullptr);
                                         },
                                     .proper = &failure}));
    EXPECT_LT(1, FailEach("wide", {.call =
                                       [&](TmxHandle*) {
                                           return StoreText<TmxWChar>(handle.get(), 1u << 16, true,
                                                                      false, nullptr);
                                       },
                                   .proper = &failure}));
}

// ---- Counts -------------------------------------------------------------------------------------

// What the machines of a site send all day. Texts of the usual lengths lie inside the object.
std::vector<NamedValues> EverydayValues() {
    const WideString longestInside(23, TMX_W('x'));
    std::vector<NamedValues> all;
    all.push_back({"CameraOn", {{ObjectRef{0x1122334455667788, 3, TMX_W("Cam")}}}});
    all.push_back({"ViewerConnect",
                   {{ObjectRef{1, 2, TMX_W("V")}}, {ObjectRef{0, 7, TMX_W("")}}, {int32_t{1}}}});
    const ActionFacts& setup = ActionByName("SetupChanged");
    Values values = Typical(setup);
    unsigned optionalTexts = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (!setup.parameters[i].optional) continue;
        values[i].present =
            std::holds_alternative<WideString>(values[i].data) && optionalTexts++ < 2;
    }
    all.push_back({"SetupChanged", values});
    values = Typical(ActionByName("LenelAccessEvent"));
    for (Value& value : values) {
        if (auto* text = std::get_if<WideString>(&value.data)) *text = longestInside;
    }
    all.push_back({"LenelAccessEvent", values});
    return all;
}

TEST_F(MemoryTest, EverydayActionsAskForTheirObjectAlone) {
    for (const NamedValues& everyday : EverydayValues()) {
        SCOPED_TRACE(everyday.name);
        const ActionFacts& action = ActionByName(everyday.name);
        ASSERT_EQ(action.parameters.size(), everyday.values.size());
        const Arguments arguments(everyday.values);
        TmxHandle made = nullptr;
        EXPECT_EQ(1, Allocations([&] { made = action.create(arguments); }));
        const Handle handle(made);
        ASSERT_TRUE(handle);
        EXPECT_EQ(1, Allocations([&] { TmxAct_CloneHandle(handle.get(), &made); }));
        const Handle clone(made);
        Outs outs(action.parameters.size());
        ExpectNone("decode", [&] { return action.decode(handle.get(), outs); });
        bool equal = false;
        ExpectNone("equal",
                   [&] { return TmxAct_Equal(handle.get(), clone.get(), &equal) && equal; });
        for (const bool utf8 : {false, true}) {
            for (const bool display : {false, true}) {
                uint32_t written = 0;
                ExpectNone("narrow text", [&] {
                    return StoreText<char>(handle.get(), 1u << 16, display, utf8, &written);
                });
                ExpectNone("wide text", [&] {
                    return StoreText<TmxWChar>(handle.get(), 1u << 16, display, utf8, &written);
                });
            }
            const std::string narrow = TextOf<char>(handle.get(), utf8);
            EXPECT_EQ(1, Allocations([&] {
                          made = FromText(narrow.data(), narrow.size(), utf8, nullptr);
                      }));
            EXPECT_TRUE(Handle(made));
            const WideString wide = TextOf<TmxWChar>(handle.get(), utf8);
            EXPECT_EQ(
                1, Allocations([&] { made = FromText(wide.data(), wide.size(), utf8, nullptr); }));
            EXPECT_TRUE(Handle(made));
        }
        ExpectNone("bytes", [&] {
            return TmxAct_StoreToBinBuffer(handle.get(), byteBuffer, sizeof byteBuffer, nullptr);
        });
        const Bytes bytes = StoredBytes(handle.get());
        EXPECT_EQ(1, Allocations([&] {
                      made = TmxAct_CreateFromBinBuffer(bytes.data(),
                                                        static_cast<int32_t>(bytes.size()),
                                                        TMX_ANY_MESSAGE_CLASS, nullptr);
                  }));
        EXPECT_TRUE(Handle(made));
        ExpectNone("duplicate", [&] { return TmxAct_DuplicateHandle(handle.get()); });
        ExpectNone("close", [&] { return TmxAct_CloseHandle(handle.get()); });
    }
}

TEST_F(MemoryTest, EverydayTemplatesAskForTheirObjectAndTheirDescription) {
    constexpr int64_t kBoth = kTheObject + kTheDescription;
    for (const NamedValues& everyday : EverydayValues()) {
        SCOPED_TRACE(everyday.name);
        const Handle action(Create(ActionByName(everyday.name), everyday.values));
        TmxHandle made = nullptr;
        EXPECT_EQ(1,
                  Allocations([&] { TmxAct_CreateMatchActionFromTemplate(action.get(), &made); }));
        const Handle match(made);
        ASSERT_TRUE(match);
        EXPECT_EQ(kTheDescription,
                  Allocations([&] { TmxMatchAct_SetDescriptionW(match.get(), u"at night"); }));
        ExpectNone("another description",
                   [&] { return TmxMatchAct_SetDescriptionW(match.get(), u"by day"); });
        const char* text = nullptr;
        ExpectNone("narrow description",
                   [&] { return TmxMatchAct_GetDescriptionA(match.get(), &text); });
        EXPECT_EQ(kBoth, Allocations([&] { TmxAct_CloneHandle(match.get(), &made); }));
        const Handle clone(made);
        bool answer = false;
        ExpectNone("equal",
                   [&] { return TmxAct_Equal(match.get(), clone.get(), &answer) && answer; });
        ExpectNone("matches", [&] {
            return TmxMatchAct_Matches(match.get(), action.get(), &answer) && answer;
        });
        for (const TmxHandle source : {static_cast<TmxHandle>(nullptr), action.get()}) {
            EXPECT_EQ(1, Allocations([&] {
                          TmxMatchAct_CreateActionFromTemplate(match.get(), source, &made);
                      }));
            EXPECT_TRUE(Handle(made));
        }
        for (const bool utf8 : {false, true}) {
            for (const bool display : {false, true}) {
                ExpectNone("narrow text", [&] {
                    return StoreText<char>(match.get(), 1u << 16, display, utf8, nullptr);
                });
                ExpectNone("wide text", [&] {
                    return StoreText<TmxWChar>(match.get(), 1u << 16, display, utf8, nullptr);
                });
            }
            const std::string narrow = TextOf<char>(match.get(), utf8);
            EXPECT_EQ(kBoth, Allocations([&] {
                          made = FromText(narrow.data(), narrow.size(), utf8, nullptr);
                      }));
            EXPECT_TRUE(Handle(made));
            const std::u16string wide = TextOf<TmxWChar>(match.get(), utf8);
            EXPECT_EQ(kBoth, Allocations([&] {
                          made = FromText(wide.data(), wide.size(), utf8, nullptr);
                      }));
            EXPECT_TRUE(Handle(made));
        }
        const Bytes bytes = StoredBytes(match.get());
        ExpectNone("bytes", [&] {
            return TmxAct_StoreToBinBuffer(match.get(), byteBuffer, sizeof byteBuffer, nullptr);
        });
        EXPECT_EQ(kBoth, Allocations([&] {
                      made = TmxAct_CreateFromBinBuffer(bytes.data(),
                                                        static_cast<int32_t>(bytes.size()),
                                                        TMX_ANY_MESSAGE_CLASS, nullptr);
                  }));
        EXPECT_TRUE(Handle(made));
    }
}

// One text a unit longer than what lies inside takes one allocation more.
TEST_F(MemoryTest, ALongTextTakesOneAllocation) {
    const WideString inside(23, TMX_W('x'));
    const WideString outside(24, TMX_W('x'));
    for (const auto& [name, count] : {std::pair(&inside, 1), std::pair(&outside, 2)}) {
        const TmxObjectRef reference{1, name->c_str(), 2, 0};
        TmxHandle made = nullptr;
        EXPECT_EQ(count, Allocations([&] { made = TmxAct_CreateCameraOn(&reference); }));
        const Handle handle(made);
        EXPECT_EQ(count, Allocations([&] { TmxAct_CloneHandle(handle.get(), &made); }));
        EXPECT_TRUE(Handle(made));
        const std::string text = TextOf<char>(handle.get(), false);
        EXPECT_EQ(count,
                  Allocations([&] { made = FromText(text.data(), text.size(), false, nullptr); }));
        EXPECT_TRUE(Handle(made));
        const Bytes bytes = StoredBytes(handle.get());
        EXPECT_EQ(count, Allocations([&] {
                      made = TmxAct_CreateFromBinBuffer(bytes.data(),
                                                        static_cast<int32_t>(bytes.size()),
                                                        TMX_ANY_MESSAGE_CLASS, nullptr);
                  }));
        EXPECT_TRUE(Handle(made));
    }
}

// A count in the bytes is held against what is there before memory is asked for.
TEST_F(MemoryTest, CountsInBytesAskForNothing) {
    const Handle handle = LongObject("CustomAction");
    const Bytes whole = StoredBytes(handle.get());
    // Header, 64-bit integer, then the count of the text.
    constexpr size_t kCountAt = 16;
    for (const uint32_t count : {0x1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        Bytes bytes = whole;
        std::memcpy(bytes.data() + kCountAt, &count, sizeof count);
        TmxHandle made = nullptr;
        EXPECT_EQ(1, Allocations([&] {
                      made = TmxAct_CreateFromBinBuffer(bytes.data(),
                                                        static_cast<int32_t>(bytes.size()),
                                                        TMX_ANY_MESSAGE_CLASS, nullptr);
                  }))
            << count;
        EXPECT_EQ(nullptr, made) << count;
    }
}

// ---- The record of a new thread -----------------------------------------------------------------

// Without memory for the record a call answers as ever and records nothing; the next one tries
// again.
TEST_F(MemoryTest, NoMemoryForTheRecord) {
    const ActionFacts& action = ActionByName("CameraOn");
    const Values values = Long(action);
    const Arguments arguments(values);
    const int64_t blocks = liveBlocks.load();
    InNewThread([&] {
        TmxHandle made = nullptr;
        // The object, its text, and then the record.
        const Watch seen = Watched(2, true, [&] { made = action.create(arguments); });
        EXPECT_EQ(3, seen.count);
        EXPECT_EQ(1, seen.failures);
        EXPECT_TRUE(seen.firstWasNothrow);
        ASSERT_NE(nullptr, made);
        EXPECT_FALSE(HasError());
        uint32_t code = 0;
        EXPECT_EQ(1, Watched(0, true, [&] { TmxAct_GetActionCode(made, &code); }).failures);
        EXPECT_EQ(122u, code);
        EXPECT_EQ(1, Allocations([&] { TmxAct_GetActionCode(made, &code); }));
        EXPECT_EQ(0, Allocations([&] { TmxAct_GetActionCode(made, &code); }));
        EXPECT_TRUE(TmxAct_CloseHandle(made));
    });
    EXPECT_EQ(blocks, liveBlocks.load());
}

TEST_F(MemoryTest, NoMemoryToRecordAFailure) {
    const Handle handle = LongObject("CameraOn");
    const int64_t blocks = liveBlocks.load();
    InNewThread([&] {
        TmxDateTime time{};
        bool answer = true;
        const auto fail = [&] { answer = TmxAct_DecodeSystemStarted(handle.get(), &time); };
        // Every allocation fails: that of the failure, that of the record.
        EXPECT_LT(1, Watched(0, true, fail).failures);
        EXPECT_FALSE(answer);
        EXPECT_FALSE(HasError());
        // The failure itself fails; for the record there is memory.
        EXPECT_EQ(1, Watched(0, false, fail).failures);
        EXPECT_FALSE(answer);
        EXPECT_EQ("", Against(&kBadAlloc));
        fail();
        EXPECT_EQ("", Against(&kWrongDecode));
    });
    InNewThread([&] {
        // Only the record's allocation fails: the last one.
        TmxDateTime time{};
        bool answer = true;
        const auto fail = [&] { answer = TmxAct_DecodeSystemStarted(handle.get(), &time); };
        int64_t count = 0;
        InNewThread([&] { count = Allocations(fail); });
        EXPECT_EQ(1, Watched(count - 1, true, fail).failures);
        EXPECT_FALSE(answer);
        EXPECT_FALSE(HasError());
        fail();
        EXPECT_EQ("", Against(&kWrongDecode));
    });
    EXPECT_EQ(blocks, liveBlocks.load());
}

// A thread's record goes with the thread.
TEST_F(MemoryTest, RecordsEndWithTheirThreads) {
    const Handle handle = LongObject("CameraOn");
    const int64_t blocks = liveBlocks.load();
    for (int i = 0; i < 50; ++i) {
        InNewThread([&] {
            TmxDateTime time{};
            EXPECT_FALSE(TmxAct_DecodeSystemStarted(handle.get(), &time));
            EXPECT_EQ("", Against(&kWrongDecode));
        });
    }
    EXPECT_EQ(blocks, liveBlocks.load());
}

}  // namespace
}  // namespace tmxtest
