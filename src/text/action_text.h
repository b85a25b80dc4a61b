// A message from text: the name, and the class that reads the rest.
#pragma once

#include "objects/message.h"
#include "text/scanner.h"

namespace TmxPLC {

/// Reads one message. messageClass is kNone for any. consumed: see TmxAct_CreateFromTextBufferA.
/// Null: no such name, another class, a syntax error, or no memory for the object.
template <typename Char>
CTmxMessage* CreateFromText(const Char* text, std::uint32_t length, std::uint32_t messageClass,
                            bool utf8, std::uint32_t& consumed) {
    TextScanner<Char> scanner(text, length, utf8);
    const Catalogue& catalogue = TheCatalogue();
    if (scanner.SkipToToken()) {
        std::uint32_t named = ActionMessage;
        if (*scanner.Cursor == '@') {
            scanner.Take(1);
            scanner.SkipWhite();
            // An "@" with nothing behind it is looked up among the actions, and so is not found.
            if (scanner.Remaining > 0) {
                named = MatchActionMessage;
                --scanner.ParamIndex;
            }
        }
        NameHash hash;
        const std::size_t nameLength = scanner.MeasureName(hash);
        scanner.MessageDescriptor =
            catalogue.FindDescriptor(named, scanner.Cursor, nameLength, hash);
        scanner.Take(static_cast<std::ptrdiff_t>(nameLength));
    }
    CTmxMessage* message = nullptr;
    const Descriptor* descriptor = scanner.MessageDescriptor;
    if (descriptor != nullptr &&
        (messageClass == kNone || messageClass == descriptor->messageClass)) {
        if constexpr (std::is_same_v<Char, char>)
            message = descriptor->createFromTextA(scanner);
        else
            message = descriptor->createFromTextW(scanner);
    }
    consumed = scanner.ErrorRemaining != 0
                   ? static_cast<std::uint32_t>(scanner.ErrorRemaining)
                   : scanner.Length - static_cast<std::uint32_t>(scanner.Remaining);
    return message;
}

}  // namespace TmxPLC
