// The family of failures. Inside the library every failure is an exception of this family (or a
// standard one); the frame around each exported function turns it into the thread's last error.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace Zinc {

using Platform::WideChar;
using WideString = std::basic_string<WideChar>;
using WideView = std::basic_string_view<WideChar>;

/// The root of the family: two numbers and three texts. The text that a constructor is not given is
/// converted through the ANSI code page.
class ZincException : public std::exception {
  public:
    ZincException(std::string_view text, std::uint32_t subcode, std::uint32_t code,
                  std::string details);
    ZincException(WideView text, std::uint32_t subcode, std::uint32_t code, std::string details);
    explicit ZincException(std::string_view text, std::string details = {});

    const char* what() const noexcept override { return message.c_str(); }

    /// "class " and the qualified name of the most derived class, the same on every system.
    virtual std::string GetClassName() const;

    std::uint32_t code = 0;     ///< the family of failure
    std::uint32_t subcode = 0;  ///< the number within the family
    std::string message;        ///< what() returns it
    WideString messageW;        ///< the same text, wide
    std::string details;        ///< empty in every exception that this library raises
};

/// A failed system call: code 2, subcode the system's number.
class SystemException : public ZincException {
  public:
    static constexpr std::uint32_t kCode = 2;
    /// The message is the system's text for the number, the number, and the call's name unless that
    /// is null or empty.
    SystemException(std::uint32_t number, const char* callName);
    std::string GetClassName() const override;
};

/// Raises a SystemException from the thread's last system error.
[[noreturn]] void ThrowLastSystemError(const char* callName);

/// A failure of the date-time code: code 5.
class EZincDateTime : public ZincException {
  public:
    static constexpr std::uint32_t kCode = 5;
    /// The subcodes.
    enum Subcode : std::uint32_t {
        ZoneRule = 1,
        Year = 3,
        Month = 4,
        Day = 5,
        Hour = 6,
        Minute = 7,
        Second = 8,
        Millisecond = 9,
        ExpectedCharacter = 10,
        ExpectedZone = 11,
        ExpectedEnd = 12,
        Range = 13,
    };
    EZincDateTime(WideView text, std::uint32_t subcode);
    std::string GetClassName() const override;
};

/// A text that is no GUID: code 0. Made from its whole message.
class GuidConversionException : public ZincException {
  public:
    explicit GuidConversionException(std::string_view text);
    std::string GetClassName() const override;
};

/// The wide text " [ErrorCode #", the number and the call's name, behind the system's text.
WideString SystemErrorMessage(std::uint32_t number, const char* callName);

/// Clips a size to maxSize; says so to the debugger. Never fails.
std::uint64_t ClipSizeT(std::uint64_t size, std::uint64_t maxSize) noexcept;
/// The same for a pointer difference: a negative one says so to the debugger and counts as 0.
std::uint64_t ClipPtrDiff(std::int64_t difference, std::uint64_t maxSize) noexcept;

}  // namespace Zinc

namespace TmxPLC {

/// A failure of this library's own rules: code 1008.
class TmxPLCException : public Zinc::ZincException {
  public:
    static constexpr std::uint32_t kCode = 1008;
    enum Subcode : std::uint32_t {
        WrongDecodeMethod = 3,
        BufferTooSmall = 7,
        WrongStructureSize = 8,
    };
    /// "buffer too small".
    TmxPLCException();
    TmxPLCException(Zinc::WideView text, std::uint32_t subcode);
    std::string GetClassName() const override;
};

}  // namespace TmxPLC
