// What every test of an action needs: handles that close themselves, the count of open handles, the
// last error.
#ifndef TMX_TESTS_SUPPORT_CHECKS_H
#define TMX_TESTS_SUPPORT_CHECKS_H

#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>

#include "support/model.h"

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
