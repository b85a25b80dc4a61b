// The text functions of both widths under one name, for tests that run over all forms of text.
#ifndef TMX_TESTS_SUPPORT_TEXT_FORMS_H
#define TMX_TESTS_SUPPORT_TEXT_FORMS_H

#include <optional>
#include <string>

#include "support/reference_text.h"

namespace tmxtest {

template <typename Char>
struct TextForm;

template <>
struct TextForm<char> {
    using String = std::string;
    static bool Store(TmxHandle handle, char* buffer, uint32_t size, bool display, bool utf8,
                      uint32_t* written) {
        return TmxAct_StoreToTextBufferA(handle, buffer, size, display, utf8, written);
    }
    static TmxHandle Create(const char* text, uint32_t length, uint32_t messageClass, bool utf8,
                            uint32_t* consumed) {
        return TmxAct_CreateFromTextBufferA(text, length, messageClass, utf8, consumed);
    }
    static std::optional<String> Reference(const Message& message, bool display, bool utf8) {
        return NarrowText(message, display, utf8);
    }
    static std::optional<String> Reference(const ActionFacts& action, const Values& values,
                                           bool display, bool utf8) {
        return NarrowText(action, values, display, utf8);
    }
    static TextReading Read(const String& text, uint32_t length, bool utf8, uint32_t messageClass) {
        return ReadNarrowText(text, length, utf8, messageClass);
    }
    static const char* Name(bool utf8) { return utf8 ? "narrow UTF-8" : "narrow ANSI"; }
};

template <>
struct TextForm<TmxWChar> {
    using String = WideString;
    static bool Store(TmxHandle handle, TmxWChar* buffer, uint32_t size, bool display, bool utf8,
                      uint32_t* written) {
        return TmxAct_StoreToTextBufferW(handle, buffer, size, display, utf8, written);
    }
    static TmxHandle Create(const TmxWChar* text, uint32_t length, uint32_t messageClass, bool utf8,
                            uint32_t* consumed) {
        return TmxAct_CreateFromTextBufferW(text, length, messageClass, utf8, consumed);
    }
    static std::optional<String> Reference(const Message& message, bool display, bool utf8) {
        return WideText(message, display, utf8);
    }
    static std::optional<String> Reference(const ActionFacts& action, const Values& values,
                                           bool display, bool utf8) {
        return WideText(action, values, display, utf8);
    }
    static TextReading Read(const String& text, uint32_t length, bool utf8, uint32_t messageClass) {
        return ReadWideText(text, length, utf8, messageClass);
    }
    static const char* Name(bool utf8) { return utf8 ? "wide, UTF-8 flag" : "wide"; }
};

// Runs function.operator()<Char>(utf8) for the four forms.
template <typename Function>
void ForAllForms(const Function& function) {
    function.template operator()<char>(false);
    function.template operator()<char>(true);
    function.template operator()<TmxWChar>(false);
    function.template operator()<TmxWChar>(true);
}

}  // namespace tmxtest

#endif
