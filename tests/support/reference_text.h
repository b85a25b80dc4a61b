// The text form, written a second time and as plainly as possible: what a message's text must be,
// and what a reader must do with any text. It shares no code with the library.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_TEXT_H
#define TMX_TESTS_SUPPORT_REFERENCE_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/model.h"

namespace tmxtest {

// The text of a message without its terminating zero, or nothing where a date-time in it has no
// calendar date.
std::optional<std::string> NarrowText(const Message& message, bool display, bool utf8);
std::optional<WideString> WideText(const Message& message, bool display, bool utf8);
std::optional<std::string> NarrowText(const ActionFacts& action, const Values& values, bool display,
                                      bool utf8);
std::optional<WideString> WideText(const ActionFacts& action, const Values& values, bool display,
                                   bool utf8);

// The machine text of a date-time without its quotes; nothing where it has no calendar date.
std::optional<std::string> TimeText(uint64_t value);
// A double with six significant digits.
std::string DoubleText(double value);
// The 36 characters of a GUID.
std::string GuidCharacters(const TmxGuid& guid);

struct TextReading : Message {  // no action where no handle is made
    // Nothing where it stays as it was, since an exception was recorded.
    std::optional<uint32_t> consumed;
    // A failure at exactly no remaining character was followed by white space before the failure
    // that is seen: how much of the white space is counted is open.
    bool consumedIsOpen = false;
    // The recorded failure; the message is in the ANSI code page.
    std::optional<uint32_t> errorCode;
    uint32_t errorSubcode = 0;
    std::string errorMessage;
};

// Reads one message of a class, or of any. text is read up to its end as if a zero stood there,
// wherever length ends.
TextReading ReadNarrowText(const std::string& text, uint32_t length, bool utf8,
                           uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION);
TextReading ReadWideText(const WideString& text, uint32_t length, bool utf8,
                         uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION);

}  // namespace tmxtest

#endif
