// Text conversion and comparison, by the system's services.
#include <windows.h>

#include <limits>

#include "platform/platform.h"

namespace Platform {

namespace {

std::ptrdiff_t Failed() noexcept {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
}

/// Three bytes for a unit is the most that a conversion makes, and the services count in int.
constexpr std::size_t kMaxLength = std::numeric_limits<int>::max() / 3;

int Clip(std::size_t capacity) noexcept {
    constexpr std::size_t kMax = std::numeric_limits<int>::max();
    return static_cast<int>(capacity < kMax ? capacity : kMax);
}

bool IsKnown(CodePage page) noexcept { return page == CodePage::Ansi || page == CodePage::Utf8; }

/// UTF-8 takes no flags; it is the ANSI page too where the administrator has chosen so.
DWORD FlagsFor(CodePage page, std::uint32_t flags) noexcept {
    return page == CodePage::Utf8 || GetACP() == CP_UTF8 ? 0 : flags;
}

/// Converts by a service that is called as convert(target, size of target). A target that holds the
/// longest result possible saves the measuring; the services write a part of what doesn't fit.
template <typename Target, typename Convert>
std::ptrdiff_t Converted(Target* target, std::size_t capacity, std::size_t longest,
                         Convert convert) noexcept {
    if (capacity < longest) {
        const int size = convert(nullptr, 0);
        if (size <= 0) return -1;
        if (static_cast<std::size_t>(size) > capacity) return size;
    }
    const int size = convert(target, Clip(capacity));
    return size > 0 ? size : -1;
}

}  // namespace

std::ptrdiff_t WideToNarrow(CodePage page, std::uint32_t flags, const WideChar* text,
                            std::size_t length, char* target, std::size_t capacity) noexcept {
    if (!IsKnown(page) || length > kMaxLength) return Failed();
    if (length == 0) return 0;
    const DWORD used = FlagsFor(page, flags);
    return Converted(target, capacity, 3 * length, [&](char* to, int size) {
        return WideCharToMultiByte(static_cast<UINT>(page), used, text, static_cast<int>(length),
                                   to, size, nullptr, nullptr);
    });
}

std::ptrdiff_t NarrowToWide(CodePage page, std::uint32_t flags, const char* text,
                            std::size_t length, WideChar* target, std::size_t capacity) noexcept {
    if (!IsKnown(page) || length > kMaxLength) return Failed();
    if (length == 0) return 0;
    const DWORD used = FlagsFor(page, flags);
    return Converted(target, capacity, length, [&](WideChar* to, int size) {
        return MultiByteToWideChar(static_cast<UINT>(page), used, text, static_cast<int>(length),
                                   to, size);
    });
}

static_assert(kLessThan == CSTR_LESS_THAN && kEqual == CSTR_EQUAL &&
              kGreaterThan == CSTR_GREATER_THAN);
static_assert(kPrecomposed == MB_PRECOMPOSED && kCompositeCheck == WC_COMPOSITECHECK);

int CompareIgnoreCase(const WideChar* left, std::size_t leftLength, const WideChar* right,
                      std::size_t rightLength) noexcept {
    constexpr std::size_t kMax = std::numeric_limits<int>::max();
    if (leftLength > kMax || rightLength > kMax) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    // The service refuses a null text, also an empty one.
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, leftLength > 0 ? left : L"",
                          static_cast<int>(leftLength), rightLength > 0 ? right : L"",
                          static_cast<int>(rightLength));
}

void UpperCase(WideChar* text, std::size_t length) noexcept {
    CharUpperBuffW(text, static_cast<DWORD>(length));
}

}  // namespace Platform
