// The tokeniser under every creator from text. There is no token list: the creator of an action
// calls the operations in the order of its parameters, and each takes units straight from the
// caller's text.
//
// The text must be zero-terminated even where a length is given: white space, names and the ends of
// quoted texts are looked for up to the terminator, and only the named tests look at the count of
// units that remain. That, and the other blind spots told below, is how texts have always been
// read; what they accept and what they report is what callers rely on.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "catalogue/catalogue.h"
#include "catalogue/name.h"
#include "zinc/exceptions.h"
#include "zinc/units.h"

namespace TmxPLC {

/// What ends a name or a number: white space, brackets, quotes, ",", ".", ";", ":" and the
/// terminator. White space is blank, tab, line feed and carriage return and nothing else.
inline constexpr auto kDelimiters = [] {
    std::array<bool, 128> delimiters{};
    for (const char delimiter : " \t\n\r(){}\"',.;:")
        delimiters[static_cast<unsigned char>(delimiter)] = true;
    return delimiters;
}();

template <typename Char>
class TextScanner {
  public:
    using Unit = UnitOf<Char>;

    TextScanner(const Char* text, std::uint32_t length, bool utf8) noexcept
        : Cursor(text),
          Length(length),
          Remaining(static_cast<std::int32_t>(length)),
          Utf8Mode(utf8) {}

    const Char* Cursor;
    std::uint32_t Length;  // as given; the consumed count is computed from it
    /// Units left; -1 at the first failure. Below zero also where a search went beyond the length.
    std::int32_t Remaining;
    /// 0 while the scan is healthy, else what remained at the first failure. A failure with exactly
    /// nothing left is therefore not seen at once: Remaining goes to -1, and the next test fails
    /// again and shows as -1, less the white space skipped in between. Only the very last test of a
    /// text escapes: a text that ends just where its closing parenthesis is due is taken.
    std::int32_t ErrorRemaining = 0;
    bool Utf8Mode;                                  // the code page of narrow texts
    const Descriptor* MessageDescriptor = nullptr;  // null until the name was looked up
    std::int32_t ParamIndex = 0;  // of the next parameter; a match action starts at -1
    bool HasPrevious = false;     // the next parameter needs a comma

    bool Healthy() const noexcept { return ErrorRemaining == 0; }

    /// The first failure wins.
    void ScanFail() noexcept {
        if (ErrorRemaining != 0) return;
        ErrorRemaining = Remaining;
        Remaining = -1;
    }

    /// The run of white space ends at the first other unit, the terminator included; the count of
    /// what remains is not asked.
    void SkipWhite() noexcept {
        if (static_cast<Unit>(*Cursor) > ' ') return;
        const Char* at = Cursor;
        while (IsWhite(*at)) ++at;
        Advance(at - Cursor);
        Cursor = at;
    }

    /// Skips white space and asks for something behind it. Fails without it.
    bool SkipToToken() noexcept {
        SkipWhite();
        if (Remaining > 0) return true;
        ScanFail();
        return false;
    }

    void ScanOpenParen() noexcept { ScanParen('('); }
    void ScanCloseParen() noexcept { ScanParen(')'); }

    /// Opens a positional parameter: takes the comma that is due. False has failed the scan.
    bool ScanParamStart() noexcept {
        // As this library writes it: ", ".
        if (Cursor[0] == ',' && Cursor[1] == ' ' && TakeWrittenStart(2)) return true;
        if (!BeginParam()) return false;
        if (HasPrevious && !TakeComma()) {
            ScanFail();
            return false;
        }
        if (!SkipToToken()) return false;
        HasPrevious = true;
        return true;
    }

    /// Opens the optional parameter of this name. False: it is absent (or the scan has failed).
    /// True: its value is to be read, if a positional start opens it.
    bool ScanOptionalStart(const Char* name, std::uint32_t nameLength, bool& opened) noexcept {
        // As this library writes it: ", Name: ".
        opened = Cursor[0] == ',' && Cursor[1] == ' ' &&
                 Zinc::Units::BeginsWith(Cursor + 2, name, nameLength) &&
                 Cursor[nameLength + 2] == ':' && Cursor[nameLength + 3] == ' ' &&
                 TakeWrittenStart(nameLength + 4);
        if (opened) return true;
        if (!ScanParamStart(name, nameLength)) return false;
        opened = ScanParamStart();
        return true;
    }

    /// Tries to open the optional parameter of this name. False without a failure: it is absent,
    /// and the place is as before, but for the index, which counts the parameter as passed. The
    /// comparison is a prefix test, so that a longer word that begins with the name fails at the
    /// colon. True: name and colon are taken, and the value is to be opened like a positional one,
    /// which finds no comma to expect.
    bool ScanParamStart(const Char* name, std::uint32_t nameLength) noexcept {
        if (!BeginParam()) return false;
        const Char* const restoreCursor = Cursor;
        const std::int32_t restoreRemaining = Remaining;
        if (HasPrevious && !TakeComma()) return false;
        if (!SkipToToken()) return false;
        if (!EqualsAsciiFold(Cursor, name, nameLength)) {
            Cursor = restoreCursor;
            Remaining = restoreRemaining;
            return false;
        }
        Take(nameLength);
        if (!SkipToToken()) return false;
        if (*Cursor != ':') {
            ScanFail();
            return false;
        }
        --ParamIndex;
        HasPrevious = false;
        Take(1);
        return true;
    }

    /// Takes the unit where it comes next behind white space; fails otherwise.
    bool Expect(char unit) noexcept {
        if (!SkipToToken()) return false;
        if (*Cursor != static_cast<Char>(unit)) {
            ScanFail();
            return false;
        }
        Take(1);
        return true;
    }

    /// Reads a number at the width of Integer. There is no test for overflow: the digits wrap, so
    /// that 65537 read at 16 bits is 1. A sign and the prefix "0x" never combine. An empty number
    /// is a valid 0: a delimiter where a number is due is left alone. A number ends at a delimiter,
    /// which is given back, or where nothing remains; any other unit fails behind itself, and the
    /// target keeps the digits read so far.
    template <typename Integer>
    void ReadNumber(Integer& target) noexcept {
        using Wide = std::uint64_t;
        bool negative = false;
        std::uint32_t base = 10;
        const Char* at = Cursor;
        std::int32_t left = Remaining;
        // The first unit, and the one behind a zero, are looked at whatever remains: a prefix of
        // which only the zero lies inside the length takes what remains below zero.
        if (*at == '-' || *at == '+') {
            negative = *at == '-';
            ++at;
            --left;
        } else if (*at == '0' && (at[1] == 'x' || at[1] == 'X')) {
            base = 16;
            at += 2;
            left -= 2;
        }
        Wide value = 0;
        bool failed = false;
        for (; left > 0; ++at, --left) {
            const Unit unit = static_cast<Unit>(*at);
            std::uint32_t digit = unit - static_cast<std::uint32_t>('0');
            if (digit > 9) {
                const std::uint32_t letter = (unit | 0x20u) - static_cast<std::uint32_t>('a');
                if (base != 16 || letter > 5) {
                    failed = !IsDelimiter(unit);
                    break;
                }
                digit = letter + 10;
            }
            value = value * base + digit;
        }
        Cursor = at;
        Remaining = left;
        if (failed) {
            Take(1);
            ScanFail();
            negative = false;
        }
        target = static_cast<Integer>(negative ? 0 - value : value);
    }

    /// The text up to the next double quote, which may lie beyond what remains; there is no escape.
    /// Cursor stands behind the opening quote; it moves behind the closing one. Null: there is none
    /// up to the terminator, and nothing has changed.
    const Char* ReadToQuote(std::size_t& length) noexcept {
        const Char* const begin = Cursor;
        const Char* const at = Zinc::Units::FindEither(begin, '"', 0);
        if (*at == 0) return nullptr;
        length = static_cast<std::size_t>(at - begin);
        Take(at - begin + 1);
        return begin;
    }

    /// A quoted text behind a parameter start. What stands for the opening quote is not looked at,
    /// except that the terminator fails.
    bool ReadQuotedAfterStart(std::basic_string_view<Char>& text) noexcept {
        if (*Cursor == 0) {
            ScanFail();
            return false;
        }
        return ReadQuotedBody(text);
    }

    /// A quoted text inside braces, or a date-time: the double quote is required.
    bool ReadQuoted(std::basic_string_view<Char>& text) noexcept {
        if (*Cursor != '"') {
            ScanFail();
            return false;
        }
        return ReadQuotedBody(text);
    }

    void Take(std::ptrdiff_t count) noexcept {
        Cursor += count;
        Advance(count);
    }

    /// Reads the name of a message, up to the first delimiter; the count of what remains is not
    /// asked. Returns the number of units and the name's hash.
    std::size_t MeasureName(NameHash& hash) const noexcept {
        const Char* at = Cursor;
        while (!IsDelimiter(static_cast<Unit>(*at))) hash.Add(*at++);
        return static_cast<std::size_t>(at - Cursor);
    }

    static bool IsWhite(Char unit) noexcept {
        return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r';
    }
    static bool IsDelimiter(Unit unit) noexcept { return unit < 128 && kDelimiters[unit]; }

  private:
    // Takes what opens a parameter that has one before it, count units that were looked at, if a
    // value follows at once. Where it doesn't apply nothing has changed, and the steps one by one
    // tell.
    bool TakeWrittenStart(std::uint32_t count) noexcept {
        if (!HasPrevious || ErrorRemaining != 0 || static_cast<Unit>(Cursor[count]) <= ' ' ||
            Remaining <= static_cast<std::int64_t>(count))
            return false;
        Take(static_cast<std::ptrdiff_t>(count));
        ++ParamIndex;
        return true;
    }

    // A difference of pointers becomes a count: a negative one counts as 0.
    void Advance(std::ptrdiff_t count) noexcept {
        if (count < 0 || count > 0x7fffffff)
            count = static_cast<std::ptrdiff_t>(Zinc::ClipPtrDiff(count, 0xffffffff));
        Remaining = static_cast<std::int32_t>(static_cast<std::uint32_t>(Remaining) -
                                              static_cast<std::uint32_t>(count));
    }

    [[gnu::noinline]] void ScanParen(char paren) noexcept {
        if (!Healthy()) return;
        SkipWhite();
        if (Remaining > 0 && *Cursor == static_cast<Char>(paren))
            Take(1);
        else
            ScanFail();
    }

    bool BeginParam() noexcept {
        if (Healthy()) {
            SkipWhite();
            if (Remaining > 0) {
                ++ParamIndex;
                return true;
            }
        }
        ScanFail();
        return false;
    }

    bool TakeComma() noexcept {
        if (*Cursor != ',') return false;
        Take(1);
        return true;
    }

    bool ReadQuotedBody(std::basic_string_view<Char>& text) noexcept {
        Take(1);
        std::size_t length = 0;
        const Char* begin = ReadToQuote(length);
        if (begin == nullptr) {
            ScanFail();
            return false;
        }
        text = {begin, length};
        return true;
    }
};

using TextScannerA = TextScanner<char>;
using TextScannerW = TextScanner<WideChar>;

}  // namespace TmxPLC
