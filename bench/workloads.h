// The values that all contenders carry, and the five workloads made of them.
//
// W1 to W4 are one action each; W5 is a stream of a million of them. The values stand once, in
// UTF-8 (workloads.cpp); what the library takes in UTF-16 is derived from them at start.
#pragma once

#include <benchmark/benchmark.h>
#include <tmxactions/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace bench {

struct RefValue {
    std::int64_t id = 0;
    std::int32_t number = 0;
    std::string_view name;
    bool operator==(const RefValue&) const = default;
};

struct NamedIdValue {
    std::int64_t id = 0;
    std::string_view name;
    bool operator==(const NamedIdValue&) const = default;
};

struct CameraOnValues {
    RefValue camera;
    bool operator==(const CameraOnValues&) const = default;
};

struct ViewerConnectValues {
    RefValue viewer;
    RefValue channel;
    std::int32_t playMode = 0;
    bool operator==(const ViewerConnectValues&) const = default;
};

struct SetupChangedValues {
    std::string_view user;
    std::string_view host;
    std::uint64_t date = 0;  // TmxDateTime::value
    std::int32_t resourceKind = 0;
    NamedIdValue resourceId;
    std::int32_t changeKind = 0;
    std::optional<std::string_view> details;
    std::optional<std::string_view> clientHost;
    std::optional<std::int32_t> clientType;
    std::optional<std::string_view> clientAccount;
    bool operator==(const SetupChangedValues&) const = default;
};

/// All parameters are present in this workload, so none needs an optional here.
struct LenelAccessEventValues {
    std::int32_t id = 0;
    std::string_view panel;
    std::string_view device;
    std::int32_t secondaryDevice = 0;
    std::int64_t cardNumber = 0;
    std::int32_t accessResult = 0;
    std::int32_t type = 0;
    std::int32_t subType = 0;
    std::string_view description;
    std::int32_t serialNumber = 0;
    std::uint64_t timeStamp = 0;  // TmxDateTime::value
    std::int32_t areaEnteredId = 0;
    std::int32_t areaExitedId = 0;
    std::string_view assetId;
    bool cardholderEntered = false;
    bool duress = false;
    std::int32_t elevatorFloor = 0;
    std::int32_t facilityCode = 0;
    bool isReadableCard = false;
    std::int32_t issueCode = 0;
    std::string_view commServerHostName;
    std::string_view eventText;
    bool operator==(const LenelAccessEventValues&) const = default;
};

/// Names and members of a record in their order, for the contenders that walk records generically.
template <class Values>
struct Fields;

template <>
struct Fields<RefValue> {
    static constexpr std::array<std::string_view, 3> kNames{"id", "number", "name"};
    static auto Tie(auto& v) { return std::tie(v.id, v.number, v.name); }
};
template <>
struct Fields<NamedIdValue> {
    static constexpr std::array<std::string_view, 2> kNames{"id", "name"};
    static auto Tie(auto& v) { return std::tie(v.id, v.name); }
};
template <>
struct Fields<CameraOnValues> {
    static constexpr std::array<std::string_view, 1> kNames{"Camera"};
    static auto Tie(auto& v) { return std::tie(v.camera); }
};
template <>
struct Fields<ViewerConnectValues> {
    static constexpr std::array<std::string_view, 3> kNames{"Viewer", "Channel", "PlayMode"};
    static auto Tie(auto& v) { return std::tie(v.viewer, v.channel, v.playMode); }
};
template <>
struct Fields<SetupChangedValues> {
    static constexpr std::array<std::string_view, 10> kNames{
        "User",       "Host",    "Date",       "ResourceKind", "ResourceID",
        "ChangeKind", "Details", "ClientHost", "ClientType",   "ClientAccount"};
    static auto Tie(auto& v) {
        return std::tie(v.user, v.host, v.date, v.resourceKind, v.resourceId, v.changeKind,
                        v.details, v.clientHost, v.clientType, v.clientAccount);
    }
};
template <>
struct Fields<LenelAccessEventValues> {
    static constexpr std::array<std::string_view, 22> kNames{"ID",
                                                             "Panel",
                                                             "Device",
                                                             "SecondaryDevice",
                                                             "CardNumber",
                                                             "AccessResult",
                                                             "Type",
                                                             "SubType",
                                                             "Description",
                                                             "SerialNumber",
                                                             "TimeStamp",
                                                             "AreaEnteredID",
                                                             "AreaExitedID",
                                                             "AssetID",
                                                             "CardholderEntered",
                                                             "Duress",
                                                             "ElevatorFloor",
                                                             "FacilityCode",
                                                             "IsReadableCard",
                                                             "IssueCode",
                                                             "CommServerHostName",
                                                             "EventText"};
    static auto Tie(auto& v) {
        return std::tie(v.id, v.panel, v.device, v.secondaryDevice, v.cardNumber, v.accessResult,
                        v.type, v.subType, v.description, v.serialNumber, v.timeStamp,
                        v.areaEnteredId, v.areaExitedId, v.assetId, v.cardholderEntered, v.duress,
                        v.elevatorFloor, v.facilityCode, v.isReadableCard, v.issueCode,
                        v.commServerHostName, v.eventText);
    }
};

// The workloads of one action, as tags for overloads.
struct W1 {
    static constexpr std::size_t kIndex = 0;
    static constexpr const char* kName = "W1";
    static constexpr const char* kAction = "CameraOn";
    using Values = CameraOnValues;
    static const Values values;
};
struct W2 {
    static constexpr std::size_t kIndex = 1;
    static constexpr const char* kName = "W2";
    static constexpr const char* kAction = "ViewerConnect";
    using Values = ViewerConnectValues;
    static const Values values;
};
struct W3 {
    static constexpr std::size_t kIndex = 2;
    static constexpr const char* kName = "W3";
    static constexpr const char* kAction = "SetupChanged";
    using Values = SetupChangedValues;
    static const Values values;
};
struct W4 {
    static constexpr std::size_t kIndex = 3;
    static constexpr const char* kName = "W4";
    static constexpr const char* kAction = "LenelAccessEvent";
    using Values = LenelAccessEventValues;
    static const Values values;
};
inline constexpr std::size_t kActions = 4;

/// The order of W5: a million indexes of W1 to W4, 60, 25, 10 and 5 in a hundred, always in the
/// same shuffled order.
const std::vector<std::uint8_t>& Stream();

/// Calls function with the tag of W1 to W4.
template <class Function>
inline void WithWorkload(std::size_t index, Function&& function) {
    switch (index) {
        case 0:
            return function(W1{});
        case 1:
            return function(W2{});
        case 2:
            return function(W3{});
        default:
            return function(W4{});
    }
}

/// What the library made of one action, and what the floor needs to know of it.
struct Prepared {
    TmxHandle object = nullptr;
    TmxHandle twin = nullptr;  // equal to object
    std::vector<std::uint8_t> binary;
    std::string narrow;            // UTF-8, without the zero, which the string keeps behind its end
    std::u16string wide;           // without the zero
    std::size_t objectSize = 0;    // bytes of the object's own block
    std::size_t residentSize = 0;  // bytes of heap that one live action takes, long texts included
};

const Prepared& Get(std::size_t index);

/// Makes what Get gives, and proves that each form reads back equal. Exits with a message if not.
void PrepareLibrary();
/// Closes the prepared objects. Returns the number of handles that are open then.
std::uint32_t ReleaseLibrary();

/// Ends the program with a message where a contender doesn't give back what it was given: a
/// benchmark of a failing operation measures nothing.
void Require(bool condition, std::string_view what);

/// Registers a benchmark "operation/contender/workload" for all five workloads. Operation is made
/// once a run, and called with the tag of the workload for each action.
template <class Operation>
void RegisterOperation(const std::string& operation, const std::string& contender) {
    const std::string prefix = operation + "/" + contender + "/";
    const auto single = [&prefix]<class W>(W) {
        benchmark::RegisterBenchmark((prefix + W::kName).c_str(), [](benchmark::State& state) {
            Operation run;
            for (auto _ : state) run(W{});
            state.SetItemsProcessed(state.iterations());
        });
    };
    for (std::size_t i = 0; i < kActions; ++i) WithWorkload(i, single);
    benchmark::RegisterBenchmark((prefix + "W5").c_str(), [](benchmark::State& state) {
        Operation run;
        const std::vector<std::uint8_t>& stream = Stream();
        for (auto _ : state) {
            for (const std::uint8_t index : stream) WithWorkload(index, run);
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
    })->Unit(benchmark::kMillisecond);
}

// One for each file of benchmarks.
void RegisterLibrary();
void RegisterEvents();
void RegisterBytes();
void RegisterText();
void RegisterLoad();
void RegisterMatch();
/// Closes what RegisterMatch made.
void ReleaseMatch();

}  // namespace bench
