// What the system's services give, asked without the library.
#ifndef TMX_TESTS_SUPPORT_SYSTEM_H
#define TMX_TESTS_SUPPORT_SYSTEM_H

#include <cstdint>
#include <ctime>
#include <string>

namespace tmxtest {

// Sets a variable of the environment. Returns false where that can't be done.
bool SetVariable(const char* name, const char* value);

// The text of an error number, "Unknown system error" where there is none. 87 is a number of
// Windows alone.
std::string SystemErrorText(uint32_t number);

// The short date, a blank, and the time, in the user's locale. The fields that are looked at are
// those of date, weekday, day of year and time.
std::string ShortDateAndTime(const std::tm& time);

}  // namespace tmxtest

#endif
