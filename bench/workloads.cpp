#include "workloads.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>

namespace bench {
namespace {

/// The packed instant of a day's time in central European winter: milliseconds since 1601 in UTC
/// below, the bias of -60 minutes in the upper 16 bits.
constexpr std::uint64_t WinterTime(std::chrono::year_month_day day, std::chrono::milliseconds utc) {
    using namespace std::chrono;
    const milliseconds since1601 = sys_days{day} - sys_days{1601y / January / 1} + utc;
    return static_cast<std::uint64_t>(since1601.count()) |
           static_cast<std::uint64_t>(std::uint16_t{0x10000 - 60}) << 48;
}

using namespace std::chrono_literals;
constexpr std::uint64_t kDate = WinterTime(2026y / std::chrono::November / 15, 11h);
constexpr std::uint64_t kTimeStamp =
    WinterTime(2026y / std::chrono::November / 15, 16h + 42min + 7s + 250ms);

}  // namespace

const CameraOnValues W1::values{{0x1122334455667788, 3, "Cam"}};

const ViewerConnectValues W2::values{
    {4000000017, 12, "Monitor 12"}, {4000000123, 5, "Gate north"}, 2};

// Both a letter outside of ASCII and a text that is longer than a name are met every day.
const SetupChangedValues W3::values{"j.m\xc3\xbcller",
                                    "SRV-CONTROL-01",
                                    kDate,
                                    1,
                                    {4000000123, "Gate north"},
                                    2,
                                    "Moved to north gate",
                                    std::nullopt,
                                    std::nullopt,
                                    "operator1"};

const LenelAccessEventValues W4::values{.id = 20,
                                        .panel = "Panel 3 Hall B",
                                        .device = "Reader 7 East",
                                        .secondaryDevice = 2,
                                        .cardNumber = 4711008150123,
                                        .accessResult = 2,
                                        .type = 0,
                                        .subType = 5,
                                        .description = "Granted Access",
                                        .serialNumber = 903211,
                                        .timeStamp = kTimeStamp,
                                        .areaEnteredId = 14,
                                        .areaExitedId = 11,
                                        .assetId = "A-20931",
                                        .cardholderEntered = true,
                                        .duress = false,
                                        .elevatorFloor = 3,
                                        .facilityCode = 112,
                                        .isReadableCard = true,
                                        .issueCode = 1,
                                        .commServerHostName = "COMMSRV02",
                                        .eventText = "Entered by main door"};

const std::vector<std::uint8_t>& Stream() {
    static const std::vector<std::uint8_t> stream = [] {
        constexpr std::size_t kLength = 1000000;
        std::vector<std::uint8_t> order(kLength);
        for (std::size_t i = 0; i < kLength; ++i) {
            const std::size_t part = i % 100;
            order[i] = part < 60 ? 0 : part < 85 ? 1 : part < 95 ? 2 : 3;
        }
        // Own generator and own swaps: the standard shuffle may differ from library to library.
        std::uint64_t state = 0x9E3779B97F4A7C15;
        for (std::size_t i = kLength - 1; i > 0; --i) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            std::swap(order[i], order[state % (i + 1)]);
        }
        return order;
    }();
    return stream;
}

void Require(bool condition, std::string_view what) {
    if (condition) return;
    std::cerr << "benchmark: " << what << '\n';
    std::exit(1);
}

}  // namespace bench
