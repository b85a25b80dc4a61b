#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "support/system.h"

namespace tmxtest {

bool SetVariable(const char* name, const char* value) { return setenv(name, value, 1) == 0; }

std::string SystemErrorText(uint32_t number) {
    return number == 87 ? "Unknown system error" : std::strerror(static_cast<int>(number));
}

std::string ShortDateAndTime(const std::tm& time) {
    std::locale locale = std::locale::classic();
    try {
        locale = std::locale(locale, "", std::locale::time);
    } catch (const std::runtime_error&) {
        // The environment names a locale that isn't there.
    }
    std::ostringstream stream;
    stream.imbue(locale);
    stream << std::put_time(&time, "%x %X");
    return stream.str();
}

}  // namespace tmxtest
