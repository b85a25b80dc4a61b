// Storing a message as text and reading a text, each against the reference: all that can be seen.
#ifndef TMX_TESTS_SUPPORT_TEXT_CHECKS_H
#define TMX_TESTS_SUPPORT_TEXT_CHECKS_H

#include <algorithm>
#include <string>
#include <utility>

#include "support/checks.h"
#include "support/text_forms.h"

namespace tmxtest {

constexpr uint32_t kUnset = 0xABABABAB;

// A buffer whose every character is known before the store, with room behind its end.
template <typename Char>
class GuardedBuffer {
  public:
    static constexpr Char kCanary = static_cast<Char>(0x7E);
    static constexpr size_t kGuard = 16;

    explicit GuardedBuffer(size_t size) : size_(size), buffer_(size + kGuard, kCanary) {}

    Char* data() { return buffer_.data(); }
    bool GuardIsIntact() const {
        return std::all_of(buffer_.begin() + static_cast<std::ptrdiff_t>(size_), buffer_.end(),
                           [](Char c) { return c == kCanary; });
    }
    // True if the front of the buffer is a front of the text and nothing follows it.
    bool HoldsFrontOf(const std::basic_string<Char>& text) const {
        size_t same = 0;
        while (same < size_ && same < text.size() && buffer_[same] == text[same]) ++same;
        // A canary may be a character of the text too.
        for (size_t i = same; i < size_; ++i) {
            if (buffer_[i] != kCanary) return false;
        }
        return true;
    }
    std::basic_string<Char> Front(size_t length) const { return buffer_.substr(0, length); }
    Char At(size_t place) const { return buffer_[place]; }

  private:
    size_t size_;
    std::basic_string<Char> buffer_;
};

template <typename Char>
void CheckStore(const Message& message, const std::string& what, TmxHandle handle, bool display,
                bool utf8) {
    using Form = TextForm<Char>;
    const std::string where =
        what + ", " + Form::Name(utf8) + (display ? ", display" : ", machine");
    const auto expected = Form::Reference(message, display, utf8);
    uint32_t written = kUnset;
    if (!expected) {
        GuardedBuffer<Char> buffer(4096);
        EXPECT_FALSE(Form::Store(handle, buffer.data(), 4096, display, utf8, &written)) << where;
        EXPECT_EQ(LastError().substr(0, 2), "2/") << where << ": " << LastError();
        EXPECT_EQ(written, kUnset) << where;
        EXPECT_TRUE(buffer.GuardIsIntact()) << where;
        return;
    }
    const size_t needed = expected->size() + 1;
    const auto size = static_cast<uint32_t>(needed);
    // Just enough.
    {
        GuardedBuffer<Char> buffer(needed);
        ASSERT_TRUE(Form::Store(handle, buffer.data(), size, display, utf8, &written))
            << where << ": " << LastError() << ", reported " << written << " for " << needed << "\n"
            << Printable(*expected).substr(0, 2000);
        EXPECT_FALSE(HasError()) << where;
        EXPECT_EQ(written, needed) << where;
        ASSERT_EQ(Printable(buffer.Front(expected->size())), Printable(*expected)) << where;
        EXPECT_EQ(buffer.At(needed - 1), Char{0}) << where;
        EXPECT_TRUE(buffer.GuardIsIntact()) << where;
    }
    // More than enough, and nobody asks for the size.
    {
        GuardedBuffer<Char> buffer(needed + 9);
        ASSERT_TRUE(Form::Store(handle, buffer.data(), size + 9, display, utf8, nullptr)) << where;
        EXPECT_EQ(Printable(buffer.Front(expected->size())), Printable(*expected)) << where;
        EXPECT_EQ(buffer.At(needed), GuardedBuffer<Char>::kCanary) << where;
    }
    // One too few, and some others.
    for (size_t less : {needed - 1, needed / 2, size_t{1}}) {
        GuardedBuffer<Char> buffer(less);
        written = kUnset;
        EXPECT_FALSE(Form::Store(handle, buffer.data(), static_cast<uint32_t>(less), display, utf8,
                                 &written))
            << where;
        EXPECT_EQ(LastError(), "1008/7 buffer too small") << where;
        EXPECT_EQ(written, needed) << where << " with " << less;
        EXPECT_TRUE(buffer.GuardIsIntact()) << where << " with " << less;
        EXPECT_TRUE(buffer.HoldsFrontOf(*expected + Char{0})) << where << " with " << less;
    }
    written = kUnset;
    EXPECT_FALSE(Form::Store(handle, nullptr, 0, display, utf8, &written)) << where;
    EXPECT_EQ(LastError(), "1008/7 buffer too small") << where;
    EXPECT_EQ(written, needed) << where;
}

// Reads the text with the library and with the reference, and compares all that can be seen.
// Returns true if a handle was made.
template <typename Char>
bool CheckRead(const std::basic_string<Char>& text, uint32_t length, bool utf8,
               const std::string& where, Handle* made = nullptr,
               uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION) {
    using Form = TextForm<Char>;
    const TextReading expected = Form::Read(text, length, utf8, messageClass);
    uint32_t consumed = kUnset;
    Handle handle(Form::Create(text.c_str(), length, messageClass, utf8, &consumed));
    std::string problem;
    const std::string error = LastError();
    const std::string expectedError =
        expected.errorCode ? std::to_string(*expected.errorCode) + "/" +
                                 std::to_string(expected.errorSubcode) + " " + expected.errorMessage
                           : "none";
    if (error != expectedError) {
        problem +=
            "error: expected " + Printable(expectedError) + ", got " + Printable(error) + "\n";
    }
    const uint32_t expectedConsumed = expected.consumed.value_or(kUnset);
    if (consumed != expectedConsumed && !(expected.consumedIsOpen && consumed == 0xFFFFFFFF)) {
        problem += "consumed: expected " + std::to_string(static_cast<int32_t>(expectedConsumed)) +
                   ", got " + std::to_string(static_cast<int32_t>(consumed)) + "\n";
    }
    if (static_cast<bool>(handle) != (expected.action != nullptr)) {
        problem += expected.action != nullptr ? "no handle\n" : "a handle\n";
    } else if (handle) {
        problem += MessageDifferences(handle.get(), expected);
    }
    if (!problem.empty()) {
        ADD_FAILURE() << where << ", " << Form::Name(utf8) << ", length "
                      << static_cast<int32_t>(length) << " of " << text.size() << "\n"
                      << Printable(text).substr(0, 1500) << "\n"
                      << problem;
    }
    const bool result = static_cast<bool>(handle);
    if (made != nullptr) *made = std::move(handle);
    return result;
}

template <typename Char>
std::basic_string<Char> WithNameCase(std::basic_string<Char> text, bool upper) {
    // Outside of quotes only: names of the action and of optional parameters, and digits.
    bool quoted = false;
    for (Char& c : text) {
        if (c == '"') quoted = !quoted;
        if (quoted) continue;
        if (upper && c >= 'a' && c <= 'z') c = static_cast<Char>(c - 'a' + 'A');
        if (!upper && c >= 'A' && c <= 'Z') c = static_cast<Char>(c - 'A' + 'a');
    }
    return text;
}

// Other spellings of a machine text: with white space around every token, and without any.
template <typename Char>
std::basic_string<Char> Spaced(const std::basic_string<Char>& text) {
    std::basic_string<Char> spaced(3, Char{' '});
    bool quoted = false;
    for (Char c : text) {
        if (c == '"') quoted = !quoted;
        const bool token = c == '(' || c == ')' || c == '{' || c == '}' || c == ',' || c == ':';
        if (quoted || !token) {
            spaced += c;
            continue;
        }
        spaced += Char{'\n'};
        spaced += c;
        spaced += Char{'\t'};
        spaced += Char{'\r'};
    }
    return spaced;
}

template <typename Char>
std::basic_string<Char> Dense(const std::basic_string<Char>& text) {
    std::basic_string<Char> dense;
    bool quoted = false;
    for (Char c : text) {
        if (c == '"') quoted = !quoted;
        if (quoted || c != ' ') dense += c;
    }
    return dense;
}

template <typename Char>
const std::basic_string<Char>& Replacements() {
    static const std::basic_string<Char> characters = [] {
        std::basic_string<Char> list;
        for (char c : std::string(" \t\n()\"{}',.:;@+-019xXaFegz_/")) list += static_cast<Char>(c);
        list += Char{0};
        list += static_cast<Char>(0x80);
        list += static_cast<Char>(0xE4);
        list += static_cast<Char>(0xFF);
        if constexpr (sizeof(Char) == 2) {
            list += static_cast<Char>(0xD800);
            list += static_cast<Char>(0x0130);
            list += static_cast<Char>(0x2022);
            list += static_cast<Char>(0xFF10);
        }
        return list;
    }();
    return characters;
}

// A zero in the text ends it for the searches, but not for the length that is given.
template <typename Char>
void CheckChanged(const std::basic_string<Char>& text, bool utf8, const std::string& where,
                  uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION) {
    CheckRead(text, static_cast<uint32_t>(text.size()), utf8, where, nullptr, messageClass);
}

}  // namespace tmxtest

#endif
