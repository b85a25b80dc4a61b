// Conversion between narrow and wide text, XML escaping, and the positional formatter.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "zinc/exceptions.h"
#include "zinc/safe_text.h"

namespace Zinc {

using Platform::CodePage;

/// Converts a text of length units (-1: zero-terminated). A null text, a length of 0 or a first
/// unit of zero gives an empty target. Raises SystemException with the thread's last system error
/// and the name of the failed call ("WideCharToMultiByte", "MultiByteToWideChar"), and leaves the
/// target empty; a length above 715827882 fails at once.
void WideToNarrow(std::string& target, CodePage page, std::uint32_t flags, const WideChar* text,
                  std::int64_t length);
void NarrowToWide(WideString& target, CodePage page, std::uint32_t flags, const char* text,
                  std::int64_t length);

/// The four conversions that the library uses.
std::string WideToAnsi(WideView text);
WideString AnsiToWide(std::string_view text);
std::string WideToUtf8(WideView text);
WideString Utf8ToWide(std::string_view text);

/// Replaces the five special characters of XML in narrow UTF-8 text. A text without one of them
/// comes back as it is; in any other, a byte of 128 or above that belongs to no well-formed UTF-8
/// sequence becomes a numeric reference, too ("&#255;").
std::string XmlEscape(std::string_view text);
void XmlEscape(std::string_view text, TextSink& sink);

namespace Text {

/// A format string that Format cannot follow: code 0.
class InvalidFormatStringException : public ZincException {
  public:
    InvalidFormatStringException(std::string_view failure, std::string_view format,
                                 std::uint64_t position);
    std::string GetClassName() const override;
    WideString formatString;
    std::uint64_t errorPosition;  ///< the position of the brace at fault, counted from 0
};

/// Puts arguments into a format: {n} (one or two digits, counted from 0), {n,w} right-aligned and
/// {n,-w} left-aligned to a width of w (one digit n; a width above 512 counts as 0), {{ and }} for
/// the braces themselves. An argument longer than its width is not cut. Raises
/// InvalidFormatStringException.
std::string Format(std::string_view format, std::initializer_list<std::string_view> arguments);
void Format(TextSink& sink, std::string_view format,
            std::initializer_list<std::string_view> arguments);

}  // namespace Text

}  // namespace Zinc
