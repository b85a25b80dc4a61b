// What every test of a message needs: handles that close themselves, the count of open handles, the
// last error, and what a handle must be for the message that is expected.
#ifndef TMX_TESTS_SUPPORT_CHECKS_H
#define TMX_TESTS_SUPPORT_CHECKS_H

#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>

#include "support/model.h"
#include "support/reference_binary.h"
#include "support/reference_routing.h"

namespace tmxtest {

// Owns one reference.
class Handle {
  public:
    Handle() = default;
    explicit Handle(TmxHandle handle) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() {
        if (handle_ != nullptr) TmxAct_CloseHandle(handle_);
    }
    TmxHandle get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

  private:
    TmxHandle handle_ = nullptr;
};

// A test by rule: it ends with as many open handles as it began.
class RuleTest : public testing::Test {
  protected:
    void SetUp() override { openHandles_ = TmxAct_GetNumberOfOpenHandles(); }
    void TearDown() override { EXPECT_EQ(openHandles_, TmxAct_GetNumberOfOpenHandles()); }

  private:
    uint32_t openHandles_ = 0;
};

inline bool HasError() {
    TmxErrorInfo info{};
    return TmxAct_GetLastError(&info);
}

// "code/subcode message", or "none".
inline std::string LastError() {
    TmxErrorInfo info{};
    if (!TmxAct_GetLastError(&info)) return "none";
    return std::to_string(info.code) + "/" + std::to_string(info.subcode) + " " + info.message;
}

// One in so many is tried where a rule has too many cases for all actions.
#ifdef TMX_SLOW_BUILD
constexpr unsigned kSparse = 12;
#else
constexpr unsigned kSparse = 1;
#endif

// The same cases in every run.
using Random = std::mt19937;

inline unsigned Below(Random& random, size_t bound) {
    return static_cast<unsigned>(random() % bound);
}

inline Message TemplateOf(const ActionFacts& action, Values values,
                          std::optional<WideString> description = std::nullopt) {
    return {&action, std::move(values), true, std::move(description)};
}

// Stores with a size that fits.
inline Bytes StoredBytes(TmxHandle handle) {
    uint32_t needed = 0;
    TmxAct_StoreToBinBuffer(handle, nullptr, 0, &needed);
    Bytes bytes(needed);
    EXPECT_TRUE(TmxAct_StoreToBinBuffer(handle, bytes.data(), needed, &needed)) << LastError();
    EXPECT_EQ(needed, bytes.size());
    return bytes;
}

inline std::string Shown(const Bytes& bytes) {
    return Hex(bytes.data(), std::min<size_t>(bytes.size(), 700));
}

// The template of these values: made from an action where all is set that every action has, which
// keeps the values to the bit, else read from its bytes. Null where that fails.
inline TmxHandle CreateTemplate(const Message& match) {
    bool fromAction = true;
    for (size_t i = 0; i < match.values.size(); ++i) {
        if (!match.values[i].present && !match.action->parameters[i].optional) fromAction = false;
    }
    if (!fromAction) {
        const Bytes bytes = BinaryForm(match);
        return TmxAct_CreateFromBinBuffer(bytes.data(), static_cast<int32_t>(bytes.size()),
                                          TMX_MESSAGE_CLASS_MATCH_ACTION, nullptr);
    }
    const Handle action(Create(*match.action, match.values));
    TmxHandle made = nullptr;
    EXPECT_TRUE(TmxAct_CreateMatchActionFromTemplate(action.get(), &made)) << LastError();
    if (made != nullptr && match.description) {
        EXPECT_TRUE(TmxMatchAct_SetDescriptionW(made, match.description->c_str()));
    }
    return made;
}

inline TmxHandle Create(const Message& message) {
    return message.isTemplate ? CreateTemplate(message) : Create(*message.action, message.values);
}

// True if a value is the present time, which no form can be known to hold.
inline bool HoldsNow(const Message& message) {
    return std::any_of(message.values.begin(), message.values.end(), [](const Value& value) {
        const auto* time = std::get_if<DateTime>(&value.data);
        return value.present && time != nullptr && time->now;
    });
}

// What of a handle isn't as the message says, a line each; empty if all is so.
inline std::string MessageDifferences(TmxHandle handle, const Message& expected) {
    uint32_t messageClass = 0;
    uint32_t code = 0;
    TmxAct_GetMessageClass(handle, &messageClass);
    TmxAct_GetActionCode(handle, &code);
    if (messageClass != (expected.isTemplate ? 2u : 1u)) return "another class\n";
    if (code != expected.action->code) return "another action\n";
    Values values;
    if (!expected.isTemplate) {
        if (!Decode(*expected.action, handle, &values)) return "no decode\n";
        return Differences(*expected.action, expected.values, values);
    }
    std::string problem;
    bool has = false;
    const TmxWChar* text = nullptr;
    TmxMatchAct_HasDescription(handle, &has);
    TmxMatchAct_GetDescriptionW(handle, &text);
    const WideString description = expected.description.value_or(WideString());
    if (has != expected.description.has_value()) problem += "description or none\n";
    if (WideString(text) != description.c_str()) {
        problem += "description: expected " + Printable(description) + ", got " + Printable(text);
    }
    // The pairs show in the bytes, and what an open one holds in the action that is made.
    if (!HoldsNow(expected)) {
        const Bytes bytes = BinaryForm(expected);
        const Bytes stored = StoredBytes(handle);
        if (stored != bytes) {
            problem +=
                "bytes: expected " + Shown(bytes) + "\n       got      " + Shown(stored) + "\n";
        }
    }
    TmxHandle made = nullptr;
    if (!TmxMatchAct_CreateActionFromTemplate(handle, nullptr, &made)) return problem + "no action";
    const Handle action(made);
    if (!action) return problem + "a null action";
    return problem + MessageDifferences(made, Completed(expected));
}

// Stops a loop over all actions that has found enough.
inline bool TooManyFailures() {
    const auto* result = testing::UnitTest::GetInstance()->current_test_info()->result();
    return result->total_part_count() > 20;
}

// Ten actions that have all types, many parameters or optional ones in odd places.
inline const char* const kChosenActions[] = {
    "CameraOn",     "ViewerConnect",         "SetupChanged",     "CustomAction",
    "VideoResult",  "SystemSettingsChanged", "SensorVideoAlarm", "LenelAccessEvent",
    "CancelExport", "ABCDisconnect",
};

}  // namespace tmxtest

#endif
