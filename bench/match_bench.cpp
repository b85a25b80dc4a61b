// Templates: how fast they match, what their forms cost, and the index of the program's rules.
#include <tmxactions/tmxactions.h>

#include <array>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "template_index.h"
#include "workloads.h"

namespace bench {
namespace {

struct CloseHandle {
    void operator()(TmxMessage* handle) const noexcept { TmxAct_CloseHandle(handle); }
};
using Message = std::unique_ptr<TmxMessage, CloseHandle>;

Message Read(const std::string& text) {
    Message message(TmxAct_CreateFromTextBufferA(text.c_str(), TMX_MEASURE_LENGTH,
                                                 TMX_ANY_MESSAGE_CLASS, true, nullptr));
    Require(message != nullptr, text + " isn't read");
    return message;
}

std::uint32_t CodeOf(const char* name) { return TmxAct_GetActionCodeByNameA(name); }

std::string NameOf(std::uint32_t code) {
    TmxActionInfo info{};
    Require(TmxAct_GetActionInfo(&info, code), "there is no such code");
    return info.name;
}

// What a template asks: an action, and a number of its camera; by number 0 nothing.
struct Asked {
    std::uint32_t code;
    std::int32_t number;
};

constexpr std::int32_t kNumber = 5;  // the camera of the action that is tested
constexpr char kAction[] = "CameraOn ({ 1234, 5, \"Gate\" })";

enum class Mix {
    kAll,    // 1 in 100 has the action's code, 1 in 1000 matches
    kOther,  // of other codes
    kSame    // of the action's code, none of which matches
};

// Templates in a shuffled order, always the same one.
std::vector<Asked> Ask(Mix mix, std::size_t count) {
    const std::uint32_t own = CodeOf("CameraOn");
    std::vector<std::uint32_t> others;
    for (std::uint32_t i = 0; i < TmxAct_GetNumberOfActions(); ++i)
        if (const std::uint32_t code = TmxAct_GetActionCodeByIndex(i); code != own)
            others.push_back(code);
    std::mt19937 random(20261114);
    std::vector<Asked> asked;
    for (std::size_t i = 0; i < count; ++i) {
        const bool same = mix == Mix::kSame || (mix == Mix::kAll && i % 100 == 0);
        const bool matches = mix == Mix::kAll && i % 1000 == 0;
        if (same) {
            asked.push_back(
                {own, matches ? kNumber : kNumber + 1 + static_cast<int>(random() % 90)});
        } else {
            asked.push_back({others[random() % others.size()], 0});
        }
    }
    for (std::size_t i = asked.size(); i > 1; --i) std::swap(asked[i - 1], asked[random() % i]);
    return asked;
}

std::size_t Expected(const std::vector<Asked>& asked) {
    std::size_t count = 0;
    for (const Asked& each : asked) count += each.number == kNumber ? 1 : 0;
    return count;
}

// ---- The library, one call a template ----

class Templates {
  public:
    explicit Templates(const std::vector<Asked>& asked) : action_(Read(kAction)) {
        for (const Asked& each : asked) {
            const std::string set =
                each.number == 0 ? "" : "Camera: " + std::to_string(each.number);
            templates_.push_back(Read("@ " + NameOf(each.code) + " (" + set + ")"));
        }
    }
    std::size_t Count() const {
        std::size_t count = 0;
        for (const Message& each : templates_) {
            bool matches = false;
            TmxMatchAct_Matches(each.get(), action_.get(), &matches);
            count += matches ? 1 : 0;
        }
        return count;
    }

  private:
    Message action_;
    std::vector<Message> templates_;
};

// ---- The same by hand: an action of one's own, and a predicate a template ----

struct Reference {
    std::int64_t id = 0;
    std::int32_t number = 0;
    std::u16string name;
};

struct HandAction {
    explicit HandAction(std::uint32_t itsCode) : code(itsCode) {}
    virtual ~HandAction() = default;
    std::uint32_t code;
};

struct HandCameraAction : HandAction {
    HandCameraAction() : HandAction(CodeOf("CameraOn")) { camera = {1234, kNumber, u"Gate"}; }
    Reference camera;
};

bool SameText(const std::u16string& a, const std::u16string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto upper = [](char16_t c) {
            return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
        };
        if (upper(a[i]) != upper(b[i])) return false;
    }
    return true;
}

bool Agrees(const Reference& asked, const Reference& value) {
    if (asked.id != 0) return asked.id == value.id;
    if (asked.number != 0) return asked.number == value.number;
    return SameText(asked.name, value.name);
}

// The state of a predicate. Number tells one action's predicate from another's, as classes of
// their own do.
template <std::size_t Number>
struct Asks {
    std::uint32_t code;
    bool set;
    Reference camera;
    bool operator()(const HandAction& action) const {
        if (action.code != code) return false;
        return !set || Agrees(camera, static_cast<const HandCameraAction&>(action).camera);
    }
};

struct Predicate {
    virtual ~Predicate() = default;
    virtual bool Matches(const HandAction& action) const = 0;
};

template <std::size_t Number>
struct PredicateOf : Predicate {
    explicit PredicateOf(Asks<Number> itsAsks) : asks(std::move(itsAsks)) {}
    bool Matches(const HandAction& action) const override { return asks(action); }
    Asks<Number> asks;
};

constexpr std::size_t kHandClasses = 353;

// Calls make with the Asks of this one among the classes.
template <template <std::size_t> class Make, typename Result, std::size_t... Numbers>
Result MakeOf(const Asked& asked, std::index_sequence<Numbers...>) {
    using Function = Result (*)(const Asked&);
    static constexpr std::array<Function, sizeof...(Numbers)> kMakes = {Make<Numbers>::From...};
    return kMakes[asked.code % kHandClasses](asked);
}

template <std::size_t Number>
Asks<Number> AsksOf(const Asked& asked) {
    return {asked.code, asked.number != 0, {0, asked.number, u""}};
}

template <std::size_t Number>
struct MakeVirtual {
    static std::unique_ptr<Predicate> From(const Asked& asked) {
        return std::make_unique<PredicateOf<Number>>(AsksOf<Number>(asked));
    }
};

using Function = std::function<bool(const HandAction&)>;
template <std::size_t Number>
struct MakeFunction {
    static Function From(const Asked& asked) { return AsksOf<Number>(asked); }
};

class Virtuals {
  public:
    explicit Virtuals(const std::vector<Asked>& asked) {
        for (const Asked& each : asked)
            predicates_.push_back(MakeOf<MakeVirtual, std::unique_ptr<Predicate>>(
                each, std::make_index_sequence<kHandClasses>()));
    }
    std::size_t Count() const {
        std::size_t count = 0;
        for (const auto& each : predicates_) count += each->Matches(*action_) ? 1 : 0;
        return count;
    }

  private:
    std::unique_ptr<HandAction> action_ = std::make_unique<HandCameraAction>();
    std::vector<std::unique_ptr<Predicate>> predicates_;
};

class Functions {
  public:
    explicit Functions(const std::vector<Asked>& asked) {
        for (const Asked& each : asked)
            functions_.push_back(
                MakeOf<MakeFunction, Function>(each, std::make_index_sequence<kHandClasses>()));
    }
    std::size_t Count() const {
        std::size_t count = 0;
        for (const Function& each : functions_) count += each(*action_) ? 1 : 0;
        return count;
    }

  private:
    std::unique_ptr<HandAction> action_ = std::make_unique<HandCameraAction>();
    std::vector<Function> functions_;
};

template <class Contender>
void RegisterMatching(const std::string& contender) {
    const std::pair<const char*, Mix> mixes[] = {
        {"Match", Mix::kAll}, {"MatchOther", Mix::kOther}, {"MatchSame", Mix::kSame}};
    for (const auto& [operation, mix] : mixes) {
        for (const std::size_t count : {std::size_t{1'000}, std::size_t{100'000}}) {
            const std::string name =
                std::string(operation) + "/" + contender + "/" + std::to_string(count);
            benchmark::RegisterBenchmark(name.c_str(), [mix = mix, count](benchmark::State& state) {
                const std::vector<Asked> asked = Ask(mix, count);
                const Contender contenders(asked);
                Require(contenders.Count() == Expected(asked), "a wrong number of templates match");
                std::size_t matches = 0;
                for (auto _ : state) benchmark::DoNotOptimize(matches += contenders.Count());
                state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
            });
        }
    }
}

// ---- The index of the program ----

void RegisterIndex() {
    const std::tuple<const char*, Mix, std::size_t> kinds[] = {{"Index", Mix::kAll, 1'000},
                                                               {"Index", Mix::kAll, 100'000},
                                                               {"IndexSame", Mix::kSame, 100'000}};
    for (const auto& [operation, mix, count] : kinds) {
        const std::string name = std::string(operation) + "/TmxActions/" + std::to_string(count);
        benchmark::RegisterBenchmark(name.c_str(), [mix = mix,
                                                    count = count](benchmark::State& state) {
            const std::vector<Asked> asked = Ask(mix, count);
            std::vector<Message> templates;
            tmxact::TemplateIndex index;
            for (const Asked& each : asked) {
                const std::string set =
                    each.number == 0 ? "" : "Camera: " + std::to_string(each.number);
                templates.push_back(Read("@ " + NameOf(each.code) + " (" + set + ")"));
                index.Add(each.code, templates.back().get());
            }
            index.Build();
            const Message action = Read(kAction);
            const std::uint32_t code = CodeOf("CameraOn");
            std::size_t matches = 0;
            const auto once = [&] {
                index.Match(code, action.get(), [&](std::uint32_t) {
                    ++matches;
                    return true;
                });
            };
            once();
            Require(matches == Expected(asked), "a wrong number of templates match in the index");
            for (auto _ : state) once();
            benchmark::DoNotOptimize(matches);
            state.SetItemsProcessed(state.iterations());
        });
    }
}

// ---- Wide text, without regard to case ----

void RegisterWideText() {
    for (const std::size_t size : {std::size_t{16}, std::size_t{256}, std::size_t{4'096}}) {
        benchmark::RegisterBenchmark(
            ("MatchWideText/TmxActions/" + std::to_string(size)).c_str(),
            [size](benchmark::State& state) {
                std::string lower;
                std::string upper;
                for (std::size_t i = 0; i < size; ++i) {
                    lower += static_cast<char>('a' + i % 26);
                    upper += static_cast<char>('A' + i % 26);
                }
                const Message action = Read("CustomAction (1, \"" + lower + "\")");
                const Message asked = Read("@ CustomAction (String: \"" + upper + "\")");
                bool matches = false;
                TmxMatchAct_Matches(asked.get(), action.get(), &matches);
                Require(matches, "texts that differ in case don't match");
                for (auto _ : state) {
                    TmxMatchAct_Matches(asked.get(), action.get(), &matches);
                    benchmark::DoNotOptimize(matches);
                }
                state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(size));
            });
    }
}

// ---- The forms of the templates of W1 to W4 ----

struct Stored {
    Message object;
    std::vector<std::uint8_t> binary;
    std::string narrow;
    std::u16string wide;
};

std::array<Stored, kActions> stored;

const Stored& TemplateOf(std::size_t index) { return stored[index]; }

void PrepareTemplates() {
    for (std::size_t i = 0; i < kActions; ++i) {
        TmxHandle object = nullptr;
        TmxAct_CreateMatchActionFromTemplate(Get(i).object, &object);
        Require(object != nullptr, "an action has no template");
        Stored& each = stored[i];
        each.object.reset(object);
        std::uint32_t size = 0;
        TmxAct_StoreToBinBuffer(object, nullptr, 0, &size);
        each.binary.resize(size);
        TmxAct_StoreToBinBuffer(object, each.binary.data(), size, &size);
        TmxAct_StoreToTextBufferA(object, nullptr, 0, false, true, &size);
        each.narrow.resize(size);
        TmxAct_StoreToTextBufferA(object, each.narrow.data(), size, false, true, &size);
        TmxAct_StoreToTextBufferW(object, nullptr, 0, false, true, &size);
        each.wide.resize(size);
        TmxAct_StoreToTextBufferW(object, each.wide.data(), size, false, true, &size);
        bool equal = false;
        const Message again = Read(each.narrow.c_str());
        TmxAct_Equal(object, again.get(), &equal);
        Require(equal, "a template doesn't read back");
    }
}

struct TemplateStoreBinary {
    std::array<std::uint8_t, 4096> buffer;
    template <class W>
    void operator()(W) {
        std::uint32_t size = 0;
        TmxAct_StoreToBinBuffer(TemplateOf(W::kIndex).object.get(), buffer.data(),
                                static_cast<std::uint32_t>(buffer.size()), &size);
        benchmark::DoNotOptimize(buffer);
    }
};

struct TemplateReadBinary {
    template <class W>
    void operator()(W) {
        const auto& bytes = TemplateOf(W::kIndex).binary;
        std::uint32_t used = 0;
        TmxHandle handle = TmxAct_CreateFromBinBuffer(
            bytes.data(), static_cast<std::int32_t>(bytes.size()), TMX_ANY_MESSAGE_CLASS, &used);
        benchmark::DoNotOptimize(handle);
        TmxAct_CloseHandle(handle);
    }
};

struct TemplateStoreTextNarrow {
    std::array<char, 8192> buffer;
    template <class W>
    void operator()(W) {
        std::uint32_t written = 0;
        TmxAct_StoreToTextBufferA(TemplateOf(W::kIndex).object.get(), buffer.data(),
                                  static_cast<std::uint32_t>(buffer.size()), false, true, &written);
        benchmark::DoNotOptimize(buffer);
    }
};

struct TemplateStoreTextWide {
    std::array<TmxWChar, 8192> buffer;
    template <class W>
    void operator()(W) {
        std::uint32_t written = 0;
        TmxAct_StoreToTextBufferW(TemplateOf(W::kIndex).object.get(), buffer.data(),
                                  static_cast<std::uint32_t>(buffer.size()), false, true, &written);
        benchmark::DoNotOptimize(buffer);
    }
};

struct TemplateReadTextNarrow {
    template <class W>
    void operator()(W) {
        const std::string& text = TemplateOf(W::kIndex).narrow;
        TmxHandle handle =
            TmxAct_CreateFromTextBufferA(text.data(), static_cast<std::uint32_t>(text.size() - 1),
                                         TMX_ANY_MESSAGE_CLASS, true, nullptr);
        benchmark::DoNotOptimize(handle);
        TmxAct_CloseHandle(handle);
    }
};

struct TemplateReadTextWide {
    template <class W>
    void operator()(W) {
        const std::u16string& text = TemplateOf(W::kIndex).wide;
        TmxHandle handle =
            TmxAct_CreateFromTextBufferW(text.data(), static_cast<std::uint32_t>(text.size() - 1),
                                         TMX_ANY_MESSAGE_CLASS, true, nullptr);
        benchmark::DoNotOptimize(handle);
        TmxAct_CloseHandle(handle);
    }
};

}  // namespace

void ReleaseMatch() { stored = {}; }

void RegisterMatch() {
    PrepareTemplates();
    RegisterMatching<Templates>("TmxActions");
    RegisterMatching<Virtuals>("Virtual");
    RegisterMatching<Functions>("StdFunction");
    RegisterIndex();
    RegisterWideText();
    RegisterOperation<TemplateStoreBinary>("TemplateStoreBinary", "TmxActions");
    RegisterOperation<TemplateReadBinary>("TemplateReadBinaryClose", "TmxActions");
    RegisterOperation<TemplateStoreTextNarrow>("TemplateStoreTextNarrow", "TmxActions");
    RegisterOperation<TemplateStoreTextWide>("TemplateStoreTextWide", "TmxActions");
    RegisterOperation<TemplateReadTextNarrow>("TemplateReadTextNarrowClose", "TmxActions");
    RegisterOperation<TemplateReadTextWide>("TemplateReadTextWideClose", "TmxActions");
}

}  // namespace bench
