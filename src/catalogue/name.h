// Names known at compile time, and the comparison that names go by.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "platform/platform.h"

namespace TmxPLC {

using Platform::WideChar;

/// A name in both widths.
struct Name {
    const char* narrow;
    const WideChar* wide;
    std::uint32_t length;

    template <typename Char>
    constexpr const Char* In() const noexcept {
        if constexpr (std::is_same_v<Char, char>)
            return narrow;
        else
            return wide;
    }
};

#define TMX_NAME(literal) (::TmxPLC::Name{literal, TMX_WIDE(literal), sizeof(literal) - 1})

/// The numbers of parameter types; 10 to 99 is the id of an enumeration.
enum ParamType : std::uint32_t {
    ParamInt32 = 0,
    ParamInt64 = 1,
    ParamDateTime = 2,
    ParamAnsiText = 3,
    ParamWideText = 4,
    ParamBool = 5,
    ParamGuid = 6,
    ParamNamedId = 7,
    ParamObjectRef = 8,
    ParamGuidRef = 9,
    ParamEnumFirst = 10,
    ParamEnumLast = 99,
    ParamDouble = 100,
    ParamRectangle = 101,
    ParamDataSet = 102,
};

constexpr bool IsEnumeration(std::uint32_t type) noexcept {
    return type >= ParamEnumFirst && type <= ParamEnumLast;
}

/// What a parameter denotes in the system.
enum ParamKind : std::uint32_t {
    KindNone = 0,
    KindUser = 1,
    KindDeviceType = 2,
    KindDeviceName = 3,
    KindVideoChannel = 4,
    KindViewer = 5,
    KindInputContact = 6,
    KindOutputContact = 7,
    KindCamera = 8,
    KindTimeRange = 9,
    KindEventType = 10,
    KindAudioChannel = 11,
    KindADParameterSet = 13,
    KindVMDParameterSet = 14,
    KindWindowsError = 15,
    KindDeviceSubType = 16,
    KindForeignKey = 17,
    KindCPAParameterSet = 18,
    KindPathwiseParameterSet = 19,
    KindBackupDestination = 20,
    KindSchedule = 21,
    KindHardwareModule = 22,
    KindCameraProfile = 23,
    KindSentaraParameterSet = 24,
    KindImageDestination = 25,
};

/// The unsigned number of a unit of text.
template <typename Char>
using UnitOf = std::conditional_t<sizeof(Char) == 1, std::uint8_t, std::uint16_t>;

/// Folds "A" to "Z" to lower case and nothing else.
template <typename Char>
constexpr Char AsciiFold(Char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<Char>(c | 0x20) : c;
}

/// Compares length units of a text with a name of that length, without regard to ASCII case. Stops
/// at the first difference, so that it reads no further than a terminator.
template <typename Char, typename NameChar>
constexpr bool EqualsAsciiFold(const Char* text, const NameChar* name,
                               std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        const auto a = static_cast<UnitOf<Char>>(text[i]);
        const auto b = static_cast<UnitOf<NameChar>>(name[i]);
        if (a != b &&
            AsciiFold(static_cast<std::uint32_t>(a)) != AsciiFold(static_cast<std::uint32_t>(b)))
            return false;
    }
    return true;
}

}  // namespace TmxPLC
