// The two streams of the binary form over a caller's bytes. Everything is little-endian and packed,
// without tags, names or lengths of fields: a reader knows what comes next.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "zinc/units.h"

namespace TmxPLC {

static_assert(std::endian::native == std::endian::little,
              "fields are stored as they lie in memory");

/// Output. A field that doesn't fit is skipped and counted all the same; what remains is then
/// negative and only falls, so that nothing is written behind it and one pass tells the size of the
/// whole. With a capacity of 0 the buffer isn't touched. The record is small enough to be handed on
/// in registers: a writer takes it by value and returns it.
struct BinOutput {
    std::uint8_t* cursor;
    std::int64_t remaining;  // the capacity has 32 bits: the count never wraps

    BinOutput(std::uint8_t* buffer, std::int32_t capacity) noexcept
        : cursor(buffer), remaining(capacity) {}

    template <typename T>
    TMX_FORCE_INLINE BinOutput Write(const T& value) const noexcept {
        BinOutput next = *this;
        next.remaining -= static_cast<std::int64_t>(sizeof(T));
        if (next.remaining >= 0) {
            std::memcpy(cursor, &value, sizeof(T));
            next.cursor += sizeof(T);
        }
        return next;
    }

    /// A run of bytes as one field.
    BinOutput WriteBytes(const void* bytes, std::size_t size) const noexcept {
        BinOutput next = *this;
        next.remaining -= static_cast<std::int64_t>(size);
        if (next.remaining >= 0) {
            Zinc::Units::Copy(cursor, bytes, size);
            next.cursor += size;
        }
        return next;
    }

    /// A text with its count, terminator included, as one field: it goes in whole or not at all.
    template <typename Char>
    BinOutput WriteText(const Char* text, std::size_t length) const noexcept {
        const auto count = static_cast<std::uint32_t>(length + 1);
        const std::size_t bytes = (length + 1) * sizeof(Char);
        BinOutput next = *this;
        next.remaining -= static_cast<std::int64_t>(sizeof count + bytes);
        if (next.remaining >= 0) {
            std::memcpy(cursor, &count, sizeof count);
            Zinc::Units::Copy(cursor + sizeof count, text, bytes);
            next.cursor += sizeof count + bytes;
        }
        return next;
    }
};

/// Input. A field that isn't there whole fails the stream. The failure holds what remained, so that
/// a read that fails with exactly nothing left is not seen until the next one fails too: bytes that
/// end just before a last field of fixed size still give an action, which keeps that field's
/// default. The target of a failed read keeps what it held.
struct BinInput {
    const std::uint8_t* cursor;
    std::int32_t size;       // as given
    std::int32_t remaining;  // -1 once a read has failed
    std::int32_t failure = 0;

    BinInput(const std::uint8_t* buffer, std::int32_t length) noexcept
        : cursor(buffer), size(length), remaining(length) {}

    void Fail() noexcept {
        if (failure != 0) return;
        failure = remaining;
        remaining = -1;
    }

    /// A field's bytes, or null for a failed read.
    const std::uint8_t* Field(std::uint64_t length) noexcept {
        if (remaining < 0 || static_cast<std::uint64_t>(remaining) < length) {
            Fail();
            return nullptr;
        }
        const std::uint8_t* place = cursor;
        cursor += length;
        remaining -= static_cast<std::int32_t>(length);
        return place;
    }

    /// Returns whether the value was there.
    template <typename T>
    bool Read(T& value) noexcept {
        const std::uint8_t* place = Field(sizeof(T));
        if (place != nullptr) std::memcpy(&value, place, sizeof(T));
        return place != nullptr;
    }

    /// Reads a text's count and finds its units: count - 1 of them, none for a count of 0. The last
    /// unit of the field is taken to be the terminator and skipped unread. Null: a failed read, or
    /// a stream that had failed before. The size is computed without wrap-around, so that a count
    /// beyond what remains is a failed read whatever its top bit says.
    template <typename Char>
    const std::uint8_t* ReadText(std::size_t& length) noexcept {
        std::uint32_t count = 0;
        Read(count);
        if (failure != 0) return nullptr;
        const std::uint8_t* place = Field(std::uint64_t{count} * sizeof(Char));
        length = count == 0 ? 0 : count - 1;
        return place;
    }

    /// The presence byte of an optional field, by which the form grows: with exactly nothing left
    /// the field is absent, and no byte is taken. Any byte that is not zero means present.
    bool ReadPresence() noexcept {
        if (remaining == 0) return false;
        std::uint8_t flag = 0;
        Read(flag);
        return flag != 0;
    }
};

}  // namespace TmxPLC
