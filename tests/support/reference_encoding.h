// The two narrow encodings, by the system where it has them (Windows), else written plainly: the
// code page windows-1252 and UTF-8.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_ENCODING_H
#define TMX_TESTS_SUPPORT_REFERENCE_ENCODING_H

#include <string>
#include <string_view>

#include "support/model.h"

namespace tmxtest {

// Written plainly, a unit that the page lacks becomes "?"; an unpaired surrogate becomes U+FFFD in
// UTF-8. In the code page a base letter and a following combining mark become one letter where the
// page has it.
std::string ToNarrow(WideView text, bool utf8);

// Written plainly, ill-formed UTF-8 becomes one U+FFFD for each maximal part.
WideString ToWide(std::string_view text, bool utf8);

// Widens ASCII.
WideString Widened(std::string_view text);

}  // namespace tmxtest

#endif
