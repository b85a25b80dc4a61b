// Code pages on their way to people and JSON, which see UTF-8 only.
#ifndef TMXACT_ENCODING_H
#define TMXACT_ENCODING_H

#include <tmxactions/types.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tmxact {

// Appends a code point; an unpaired surrogate becomes U+FFFD.
void AppendUtf8(std::string& out, std::uint32_t codePoint);

// The code point of a byte of the ANSI code page (windows-1252; its five free bytes stand for the
// control characters of the same value).
std::uint32_t AnsiCodePoint(unsigned char byte) noexcept;

std::string AnsiToUtf8(std::string_view ansi);
// What the code page lacks, and what isn't UTF-8, becomes "?".
std::string Utf8ToAnsi(std::string_view utf8);

// Zero-terminated UTF-16; unpaired surrogates become U+FFFD.
std::string WideToUtf8(const TmxWChar* text);
// Ill-formed bytes become U+FFFD.
std::u16string Utf8ToWide(std::string_view utf8);

// The length of the well-formed UTF-8 character at the begin of a text that is not empty; 0 if
// there is none.
std::size_t Utf8Length(std::string_view text) noexcept;

// The index of the first byte that is not well-formed UTF-8; npos if all are.
std::size_t FindBadUtf8(std::string_view text) noexcept;

// The columns that UTF-8 text takes on a terminal: none for a combining character, two for a wide
// one. Ill-formed bytes count as one each.
std::size_t DisplayWidth(std::string_view text) noexcept;

// One line that is safe on a terminal: control characters become blanks or U+FFFD, and so does
// what is not UTF-8 (or, with ansi, is taken from the ANSI code page).
std::string Printable(std::string_view text, bool ansi);

}  // namespace tmxact

#endif
