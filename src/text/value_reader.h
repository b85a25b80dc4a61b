// How the value of each parameter type is read from text: one rule a type, for both widths. Each is
// entered with the value's first unit at the cursor and something remaining.
#pragma once

#include "objects/values.h"
#include "text/scanner.h"

namespace TmxPLC {

/// Numbers and enumerations: by number only, so that the name of an entry fails on its first
/// letter.
template <typename Char>
inline void ReadValue(TextScanner<Char>& scanner, std::int32_t& value) noexcept {
    scanner.ReadNumber(value);
}
template <typename Char>
inline void ReadValue(TextScanner<Char>& scanner, std::int64_t& value) noexcept {
    scanner.ReadNumber(value);
}

/// A byte; any that is not zero is true, so that 256 is false and -1 is true.
template <typename Char>
inline void ReadValue(TextScanner<Char>& scanner, bool& value) noexcept {
    std::int8_t byte = 0;
    scanner.ReadNumber(byte);
    value = byte != 0;
}

/// A decimal number as the C locale writes it. Without one the value is 0 and nothing is taken. It
/// is read whatever remains; what is taken off is clipped to it.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, double& value);

/// Quoted texts. Texts of the other width are converted in the code page that Utf8Mode selects; a
/// narrow text in narrow text is never recoded.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, WideText& value);
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, AnsiText& value);

/// Date, time of day and zone between double quotes. A bad one raises Zinc::EZincDateTime.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, TZincDateTime& value);

/// A quoted GUID. A bad one raises Zinc::GuidConversionException.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, Guid& value);

/// "{ id, number, name }", or the number alone.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, ObjectRef& value);
/// "{ id, name }", or the name alone.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, NamedId& value);
/// "{ guid, name }", or the name alone.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, GuidRef& value);

/// "{ first, second, third, fourth }".
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, ParamRect& value) noexcept;

/// "{{ four words, number, name }, ...}". A set that has no "{" where an entry is due ends there
/// without a failure, and what follows is left for the closing parenthesis to judge: so the text of
/// an empty set, "{}", is refused there, and a comma behind the last entry too.
template <typename Char>
void ReadValue(TextScanner<Char>& scanner, DataSet& value);

}  // namespace TmxPLC
