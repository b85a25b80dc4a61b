#include "support/system.h"

#include <stdlib.h>
#include <windows.h>

namespace tmxtest {

bool SetVariable(const char* name, const char* value) { return _putenv_s(name, value) == 0; }

std::string SystemErrorText(uint32_t number) {
    char text[512];
    DWORD size =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, number, 0, text, sizeof text, nullptr);
    while (size > 0 && (text[size - 1] == '\r' || text[size - 1] == '\n')) --size;
    return size > 0 ? std::string(text, size) : "Unknown system error";
}

std::string ShortDateAndTime(const std::tm& time) {
    const auto word = [](int field) { return static_cast<WORD>(field); };
    const SYSTEMTIME fields = {
        word(time.tm_year + 1900), word(time.tm_mon + 1), word(time.tm_wday), word(time.tm_mday),
        word(time.tm_hour),        word(time.tm_min),     word(time.tm_sec),  0};
    char date[128];
    char timeOfDay[128];
    if (GetDateFormatA(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &fields, nullptr, date, sizeof date) ==
            0 ||
        GetTimeFormatA(LOCALE_USER_DEFAULT, 0, &fields, nullptr, timeOfDay, sizeof timeOfDay) == 0)
        return {};
    return std::string(date) + " " + timeOfDay;
}

}  // namespace tmxtest
