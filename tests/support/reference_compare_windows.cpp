// On Windows the comparison is the one of the user's locale.
#include <windows.h>

#include "support/reference_equal.h"

namespace tmxtest {

bool EqualWide(const WideString& a, const WideString& b) {
    return a.size() == b.size() && CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.c_str(),
                                                  static_cast<int>(a.size()), b.c_str(),
                                                  static_cast<int>(b.size())) == CSTR_EQUAL;
}

}  // namespace tmxtest
