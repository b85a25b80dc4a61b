#include "zinc/exceptions.h"

#include <charconv>
#include <iterator>
#include <utility>

#include "zinc/text.h"

namespace Zinc {

// ---- The root -----------------------------------------------------------------------------------

ZincException::ZincException(std::string_view text, std::uint32_t number, std::uint32_t family,
                             std::string additional)
    : code(family),
      subcode(number),
      message(text),
      messageW(AnsiToWide(text)),
      details(std::move(additional)) {}

ZincException::ZincException(WideView text, std::uint32_t number, std::uint32_t family,
                             std::string additional)
    : code(family),
      subcode(number),
      message(WideToAnsi(text)),
      messageW(text),
      details(std::move(additional)) {}

ZincException::ZincException(std::string_view text, std::string additional)
    : ZincException(text, 0, 0, std::move(additional)) {}

std::string ZincException::GetClassName() const { return "class Zinc::ZincException"; }

// ---- System errors ------------------------------------------------------------------------------

WideString SystemErrorMessage(std::uint32_t number, const char* callName) {
    WideChar systemText[512];
    const std::size_t length = Platform::SystemErrorText(number, systemText, std::size(systemText));
    WideString text =
        length > 0 ? WideString(systemText, length) : WideString(TMX_WIDE("Unknown system error"));

    char digits[10];
    char* end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text += TMX_WIDE(" [ErrorCode #");
    text.append(digits, end);
    if (callName != nullptr && *callName != 0) {
        text += TMX_WIDE("] in ");
        text += AnsiToWide(callName);
    } else {
        text += TMX_WIDE("]");
    }
    return text;
}

SystemException::SystemException(std::uint32_t number, const char* callName)
    : ZincException(SystemErrorMessage(number, callName), number, kCode, {}) {}

std::string SystemException::GetClassName() const { return "class Zinc::SystemException"; }

void ThrowLastSystemError(const char* callName) {
    // First of all: whatever runs next may leave a number of its own.
    const std::uint32_t number = Platform::LastError();
    throw SystemException(number, callName);
}

// ---- The other children -------------------------------------------------------------------------

EZincDateTime::EZincDateTime(WideView text, std::uint32_t number)
    : ZincException(text, number, kCode, {}) {}

std::string EZincDateTime::GetClassName() const { return "class Zinc::EZincDateTime"; }

GuidConversionException::GuidConversionException(std::string_view text) : ZincException(text) {}

std::string GuidConversionException::GetClassName() const {
    return "class Zinc::GuidConversionException";
}

// ---- Sizes --------------------------------------------------------------------------------------

std::uint64_t ClipSizeT(std::uint64_t size, std::uint64_t maxSize) noexcept {
    if (size <= maxSize) return size;
    Platform::OutputDebugText(TMX_WIDE("ClipSizeT failed - Size > MaxSize"));
    return maxSize;
}

std::uint64_t ClipPtrDiff(std::int64_t difference, std::uint64_t maxSize) noexcept {
    if (difference < 0) {
        Platform::OutputDebugText(TMX_WIDE("ClipPtrDiff failed - pointer difference is negative"));
        return 0;
    }
    return ClipSizeT(static_cast<std::uint64_t>(difference), maxSize);
}

}  // namespace Zinc

namespace TmxPLC {

TmxPLCException::TmxPLCException()
    : TmxPLCException(TMX_WIDE("buffer too small"), BufferTooSmall) {}

TmxPLCException::TmxPLCException(Zinc::WideView text, std::uint32_t number)
    : ZincException(text, number, kCode, {}) {}

std::string TmxPLCException::GetClassName() const { return "class TmxPLC::TmxPLCException"; }

}  // namespace TmxPLC
