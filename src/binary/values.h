// The bytes of each parameter type: one rule a type. Numbers, dates, GUIDs, doubles and rectangles
// are their bytes in memory.
#pragma once

#include "binary/stream.h"
#include "match/match_action.h"

namespace TmxPLC {

template <typename T>
TMX_FORCE_INLINE BinOutput StoreValue(BinOutput output, const T& value) noexcept {
    static_assert(std::is_trivially_copyable_v<T>, "this type needs a rule of its own");
    return output.Write(value);
}
TMX_FORCE_INLINE BinOutput StoreValue(BinOutput output, const bool& value) noexcept {
    return output.Write<std::uint8_t>(value ? 1 : 0);
}
inline BinOutput StoreValue(BinOutput output, const WideText& value) noexcept {
    return output.WriteText(value.c_str(), value.size());
}
inline BinOutput StoreValue(BinOutput output, const AnsiText& value) noexcept {
    return output.WriteText(value.c_str(), value.size());
}
inline BinOutput StoreValue(BinOutput output, const ObjectRef& value) noexcept {
    return StoreValue(output.Write(value.id).Write(value.number), value.nameText);
}
inline BinOutput StoreValue(BinOutput output, const NamedId& value) noexcept {
    return StoreValue(output.Write(value.id), value.nameText);
}
inline BinOutput StoreValue(BinOutput output, const GuidRef& value) noexcept {
    return StoreValue(output.Write(value.guid), value.nameText);
}
/// A set is stored as a wide text of its entries: "1 2 3 4 7 'left', 5 6 7 8 -1 'right'".
BinOutput StoreValue(BinOutput output, const DataSet& value);

template <typename T>
inline void LoadValue(BinInput& input, T& value) {
    static_assert(std::is_trivially_copyable_v<T>, "this type needs a rule of its own");
    if (!input.Read(value)) SetUnread(value);
}
inline void LoadValue(BinInput& input, bool& value) noexcept {
    std::uint8_t byte = 0;
    if (input.Read(byte)) value = byte != 0;
}
template <typename Char>
inline void LoadText(BinInput& input, InlineText<Char>& value) {
    std::size_t length = 0;
    if (const std::uint8_t* place = input.ReadText<Char>(length)) {
        Char* target = value.Resize(length);
        Zinc::Units::Copy(target, place, length * sizeof(Char));
    }
}
inline void LoadValue(BinInput& input, WideText& value) { LoadText(input, value); }
inline void LoadValue(BinInput& input, AnsiText& value) { LoadText(input, value); }
inline void LoadValue(BinInput& input, ObjectRef& value) {
    input.Read(value.id);
    input.Read(value.number);
    LoadText(input, value.nameText);
    value.Attach();
}
inline void LoadValue(BinInput& input, NamedId& value) {
    input.Read(value.id);
    LoadText(input, value.nameText);
    value.Attach();
}
inline void LoadValue(BinInput& input, GuidRef& value) {
    input.Read(value.guid);
    LoadText(input, value.nameText);
    value.Attach();
}
/// Whatever is malformed ends the set quietly with the entries so far; it never fails the stream.
void LoadValue(BinInput& input, DataSet& value);

/// An optional value: a byte that tells whether it is there, and the value if it is.
template <typename T>
TMX_FORCE_INLINE BinOutput StoreIfPresent(BinOutput output, const bool& present, const T& value) {
    const BinOutput next = StoreValue(output, present);
    return present ? StoreValue(next, value) : next;
}
template <typename T>
TMX_FORCE_INLINE void LoadIfPresent(BinInput& input, bool& present, T& value) {
    present = input.ReadPresence();
    if (present)
        LoadValue(input, value);
    else
        SetUnread(value);
}

template <typename T>
TMX_FORCE_INLINE BinOutput StoreValue(BinOutput output, const Optional<T>& parameter) {
    return StoreIfPresent(output, parameter.present, parameter.value);
}
template <typename T>
inline void LoadValue(BinInput& input, Optional<T>& parameter) {
    LoadIfPresent(input, parameter.present, parameter.value);
}

// Templates are stored and read through one function a type: there are as many classes of them as
// of actions, and their code shall stay small.
template <class T>
BinOutput StorePair(BinOutput output, const MatchParam<T>& pair);
template <class T>
void LoadPair(BinInput& input, MatchParam<T>& pair);
void LoadDescription(BinInput& input, CTmxMatchAction& message);

}  // namespace TmxPLC
