// The state of a message's text being written, and its pieces.
//
// A piece is written whole or not at all, and counted in both cases. Once a piece has not fitted,
// what remains is negative and no later piece is written, so that one pass over a message tells the
// size of its text whatever the size of the buffer is.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "catalogue/catalogue.h"
#include "text/convert.h"

namespace TmxPLC {

template <typename Char>
class TextWriter {
  public:
    TextWriter(Char* buffer, std::int32_t size, bool display, bool utf8) noexcept
        : Cursor(buffer), Remaining(size), DisplayMode(display), Utf8Mode(utf8) {}

    Char* Cursor;
    std::int64_t Remaining;  // below zero: exactly how many are missing; never wraps
    std::uint32_t HasPrevious = 0;
    std::int32_t ParamIndex = -1;  // of the current parameter; the first Separator brings it to 0
    bool DisplayMode;
    bool Utf8Mode;
    const Descriptor* MessageDescriptor = nullptr;  // set by WriteName

    /// Makes room for a piece of n units and counts it. Null: it doesn't fit.
    Char* Piece(std::size_t n) noexcept {
        const auto count = static_cast<std::int64_t>(n);
        const bool fits = Remaining >= count;
        Char* const place = Cursor;
        Remaining -= count;
        if (!fits) return nullptr;
        Cursor += n;
        return place;
    }

    void Put(const Char* text, std::size_t n) noexcept {
        if (Char* place = Piece(n)) Zinc::Units::Copy(place, text, n * sizeof(Char));
    }
    void Put(std::basic_string_view<Char> text) noexcept { Put(text.data(), text.size()); }

    /// Writes an ASCII literal.
    template <std::size_t N>
    void PutLiteral(const char (&literal)[N]) noexcept {
        if (Char* place = Piece(N - 1))
            for (std::size_t i = 0; i + 1 < N; ++i) place[i] = static_cast<Char>(literal[i]);
    }

    void Put(const Name& name) noexcept { Put(name.In<Char>(), name.length); }

    /// Writes a decimal number. Digits come from the back by division at the type's width, after
    /// negating a negative value. The smallest value of a width stays negative when negated, so
    /// that its text is "-(": one pass gives the digit "(", and the quotient, being negative, ends
    /// it.
    template <typename Integer>
    void PutNumber(Integer value) noexcept {
        Char digits[20];
        Char* const end = digits + 20;
        Char* at = end;
        if constexpr (std::is_signed_v<Integer>) {
            using Unsigned = std::make_unsigned_t<Integer>;
            const bool negative = value < 0;
            const auto magnitude =
                static_cast<Unsigned>(negative ? Unsigned{0} - static_cast<Unsigned>(value)
                                               : static_cast<Unsigned>(value));
            if (static_cast<Integer>(magnitude) < 0)
                *--at = static_cast<Char>('(');
            else
                at = Digits(at, magnitude);
            if (negative) *--at = static_cast<Char>('-');
        } else {
            at = Digits(at, value);
        }
        const auto count = static_cast<std::size_t>(end - at);
        if (Char* place = Piece(count)) Zinc::Units::Copy(place, at, count * sizeof(Char));
    }

    /// Opens a value: what stands between it and the one before. In display form that is the
    /// parameter's plain name too.
    void Separator() noexcept {
        ++ParamIndex;
        if (HasPrevious == 0) {
            HasPrevious = 1;
            return;
        }
        if (!DisplayMode) return PutLiteral(", ");
        PutLeadIn();
    }

    /// The name, and what opens the list of values.
    [[gnu::noinline]] void WriteName(const Descriptor& descriptor, const Name& name) noexcept {
        MessageDescriptor = &descriptor;
        if (descriptor.messageClass == MatchActionMessage) --ParamIndex;
        if (DisplayMode) {
            PutPlain(descriptor.catalogueRecord->text);
            HasPrevious = 1;
            return;
        }
        if (descriptor.messageClass == MatchActionMessage) PutLiteral("@ ");
        Put(name);
        PutLiteral(" (");
    }

    /// What closes the list, and the terminator. Returns whether everything fitted.
    [[gnu::noinline]] bool WriteEnd() noexcept {
        if (!DisplayMode) PutLiteral(")");
        PutLiteral("\0");
        return Remaining >= 0;
    }

    /// The name of an optional parameter ahead of its value. The index goes back and the next
    /// Separator writes nothing, so that the value's own brings the index forward again.
    void WriteParameterName(const Name& name) noexcept {
        Separator();
        Put(name);
        PutLiteral(": ");
        --ParamIndex;
        HasPrevious = 0;
    }

    /// An absent optional parameter leaves no trace but in the index.
    void PassAbsent() noexcept { ++ParamIndex; }

    /// An item's plain name, in this writer's width and code page.
    void PutPlain(const TextBlock& text) noexcept {
        const TextForms& plain = text.Plain();
        if constexpr (std::is_same_v<Char, char>)
            Put(std::string_view(Utf8Mode ? plain.narrowU8 : plain.narrow));
        else
            Put(Zinc::WideView(plain.wide));
    }

  private:
    template <typename Unsigned>
    static Char* Digits(Char* at, Unsigned value) noexcept {
        using Work = std::conditional_t<(sizeof(Unsigned) < 4), std::uint32_t, Unsigned>;
        Work rest = value;
        do {
            *--at = static_cast<Char>('0' + static_cast<char>(rest % 10));
            rest /= 10;
        } while (rest != 0);
        return at;
    }

    void PutLeadIn() noexcept {
        PutLiteral("; ");
        if (MessageDescriptor != nullptr)
            PutPlain(TheCatalogue().Parameter(*MessageDescriptor, ParamIndex).text);
        PutLiteral(": ");
    }
};

using TextWriterA = TextWriter<char>;
using TextWriterW = TextWriter<WideChar>;

}  // namespace TmxPLC
