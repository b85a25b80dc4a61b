// The values that parameters hold. A reference begins with its flat head, the record that crosses
// the interface, and the head's name always points at the value's own text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "objects/inline_text.h"
#include "zinc/date_time.h"
#include "zinc/guid.h"

namespace TmxPLC {

using Platform::WideChar;
using WideText = InlineText<WideChar>;
using AnsiText = InlineText<char>;
using Zinc::Guid;
using Zinc::TZincDateTime;
using ParamRect = TmxRect;

/// Adds the owned name to a flat head.
template <class Head>
struct NamedValue : Head {
    NamedValue() noexcept : Head{} { Attach(); }
    explicit NamedValue(const Head& flat) : Head(flat) {
        nameText.AssignTerminated(flat.name);
        Attach();
    }
    NamedValue(const NamedValue& other) : Head(other), nameText(other.nameText) { Attach(); }
    NamedValue& operator=(const NamedValue& other) {
        nameText = other.nameText;
        static_cast<Head&>(*this) = other;
        Attach();
        return *this;
    }
    NamedValue& operator=(const Head& flat) {
        nameText.AssignTerminated(flat.name);
        static_cast<Head&>(*this) = flat;
        Attach();
        return *this;
    }
    ~NamedValue() = default;

    /// Points the head at the text again; to be called when the text was changed.
    void Attach() noexcept { this->name = nameText.c_str(); }

    WideText nameText;
};

/// A system object known by an id, a number or a name.
struct ObjectRef : NamedValue<TmxObjectRef> {
    using NamedValue::NamedValue;
    using NamedValue::operator=;
    bool IsEmpty() const noexcept { return id == 0 && number == 0 && nameText.empty(); }
};

/// A type or resource known by an id or a name; the number is carried and means nothing.
struct NamedId : NamedValue<TmxObjectRef> {
    using NamedValue::NamedValue;
    using NamedValue::operator=;
};

/// A set or destination known by a GUID and a name.
struct GuidRef : NamedValue<TmxGuidRef> {
    using NamedValue::NamedValue;
    using NamedValue::operator=;
};

/// One entry of a data set.
struct DataSetEntry {
    std::int16_t words[4] = {};
    std::int32_t number = 0;
    WideText nameText;
};

/// A list of entries, with the array of flat records that callers are handed.
class DataSet {
  public:
    DataSet() = default;
    DataSet(const DataSet& other) : entries(other.entries) {}
    DataSet& operator=(const DataSet& other) {
        entries = other.entries;
        flat_.clear();
        return *this;
    }
    DataSet& operator=(const TmxDataSet& flat);

    /// Builds the flat records anew; they live until the next call or the value's end. Not for two
    /// threads at a time.
    TmxDataSet Flat() const;

    std::vector<DataSetEntry> entries;

  private:
    mutable std::vector<TmxDataSetEntry> flat_;
};

/// The alignment of a parameter inside its object: what has eight bytes or more is read as 64-bit
/// integers where it goes into an event record, a GUID and a rectangle too.
template <class T>
inline constexpr std::size_t kParameterAlignment = sizeof(T) >= 8 && alignof(T) < 8 ? 8
                                                                                    : alignof(T);

/// The value of an optional parameter. An absent one keeps the zero of its type, but for a
/// date-time, which keeps the time of its making.
template <class T>
struct Optional {
    using Value = T;
    bool present = false;
    alignas(kParameterAlignment<T>) T value{};
};

template <class T>
inline constexpr bool kIsOptional = false;
template <class T>
inline constexpr bool kIsOptional<Optional<T>> = true;

/// Gives a value that nothing was read or handed in for what it holds then: the zero of its type,
/// which it has from the start, and for a date-time the present time.
template <class T>
void SetUnread(T&) noexcept {}
inline void SetUnread(TZincDateTime& value) { value = TZincDateTime::Now(); }

/// The value inside a parameter, optional or not.
template <class T>
const T& ValueOf(const T& parameter) noexcept {
    return parameter;
}
template <class T>
const T& ValueOf(const Optional<T>& parameter) noexcept {
    return parameter.value;
}

}  // namespace TmxPLC
