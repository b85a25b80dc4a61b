// How values are spread over the slots of an event record, one rule a type, and how the slots are
// read again. A parameter takes its slots by its place alone: an absent one passes them over.
//
// The slots point into the object. The values that lie in no object, 32-bit values in 64-bit slots
// and narrow texts made wide, are kept in the calling thread's own scratch, so that threads which
// fill records at the same time don't disturb each other: they stay until the thread fills its next
// record.
#pragma once

#include <cstdint>
#include <string_view>

#include "catalogue/catalogue.h"
#include "match/match_parameter.h"
#include "objects/message.h"

namespace TmxPLC {

using EventDataRecord = TmxEventDataRecord;
using Zinc::WideView;

/// With this property an action reports its record as incomplete, so that its bytes are stored.
inline constexpr WideView kStoreProperties = TMX_WIDE("store-properties");
/// The parameter that is left out of the slots, on both ways: the second user, of the actions
/// UserLogin (3), UserLoginFailed (4), UserLogout (5), SystemSettingsChanged (6) and
/// SetupUploadProgress (16). Their records are never complete.
inline constexpr std::string_view kSecondUser = "User2";
/// The action whose TimeRange borrows the first text slot when its texts leave both empty.
inline constexpr std::uint32_t kSystemSettingsChanged = 6;

/// How many slots of each kind one pass over a record has used up, for filling and for reading. A
/// counter stops at its limit.
struct EventFieldCursor {
    static constexpr std::uint32_t kIntegerSlots = 4;  // of either width
    static constexpr std::uint32_t kOtherSlots = 2;    // of each other kind

    std::uint32_t int64 = 0;
    std::uint32_t int32 = 0;
    std::uint32_t text = 0;
    std::uint32_t date = 0;
    std::uint32_t real = 0;

    /// From the fifth value on, 32-bit values take the 64-bit slots that are left.
    bool Spills() const noexcept { return int32 >= kIntegerSlots; }
};

/// Fills a record with the values of one object, given one by one in catalogue order; null is an
/// absent value. A value that finds no slot left is dropped and makes the record incomplete.
class EventFieldWriter {
  public:
    /// Clears the record, but for its size and its last reserved field, and takes complete to be
    /// true.
    EventFieldWriter(const CTmxMessage& object, EventDataRecord& record, bool& complete) noexcept;
    /// The same, for an action; its properties may make it incomplete.
    EventFieldWriter(const CTmxAction& action, EventDataRecord& record, bool& complete) noexcept;

    /// Raise std::bad_alloc where the thread has no scratch, and what a conversion raises.
    void Put(const std::int32_t* value);
    void Put(const bool* value);
    void Put(const std::int64_t* value) noexcept;
    void Put(const double* value) noexcept;
    void Put(const TZincDateTime* value) noexcept;
    void Put(const WideText* value) noexcept;
    void Put(const AnsiText* value);
    void Put(const Guid* value) noexcept;
    void Put(const ParamRect* value) noexcept;
    void Put(const ObjectRef* value);
    void Put(const NamedId* value) noexcept;
    void Put(const GuidRef* value) noexcept;
    /// A data set isn't represented.
    void Put(const DataSet*) noexcept {}

    void SetIncomplete() noexcept { complete_ = false; }

  private:
    void PutInt64(const void* value) noexcept;
    void PutText(const WideChar* text, std::size_t length) noexcept;
    void PassInt64() noexcept;

    EventDataRecord& record_;
    bool& complete_;
    EventFieldCursor cursor_;
    const bool compact_;
};

/// The slots that one parameter takes, as far as its type has them. Null: the slot has no value, or
/// there is none left.
struct EventFieldSlots {
    const std::int64_t* id = nullptr;    // of a reference; the value of a 64-bit type
    const std::int64_t* high = nullptr;  // the second half of a GUID, of which id is the first
    const void* number = nullptr;  // four bytes: a 32-bit slot, or the low half of a 64-bit one
    const double* real = nullptr;
    const TmxDateTime* date = nullptr;
    TmxEventText text{};

    bool HasText() const noexcept { return text.text != nullptr; }
    /// A name is empty where there is none.
    WideView Text() const noexcept { return {text.text, HasText() ? text.length : 0}; }
    bool HasGuid() const noexcept { return id != nullptr && high != nullptr; }
    /// 0 where there is none.
    std::int32_t Number() const noexcept;
    /// Half by half; a half without a slot is zero.
    TmxGuid Guid() const noexcept;
};

/// Reads the slots of a record, parameter by parameter in catalogue order.
class EventFieldReader {
  public:
    explicit EventFieldReader(const EventDataRecord& record) noexcept : record_(record) {}

    EventFieldSlots Take(const ParameterRecord& parameter) noexcept;

  private:
    const std::int64_t* TakeInt64() noexcept;
    const void* TakeInt32() noexcept;
    TmxEventText TakeText() noexcept;
    bool BorrowsText() const noexcept;

    const EventDataRecord& record_;
    EventFieldCursor cursor_;
};

/// The value of a parameter that may be absent, or open in a template; null where it is.
template <class T>
const T* Given(const Optional<T>& parameter) noexcept {
    return parameter.present ? &parameter.value : nullptr;
}
template <class T>
const T* Given(const MatchParam<T>& parameter) noexcept {
    return parameter.IsSet ? &parameter.Value : nullptr;
}
template <class Parameter>
inline constexpr bool kCanBeAbsent = requires(const Parameter& parameter) {
    Given(parameter);
};

}  // namespace TmxPLC
