// One event as the database holds it, between the action and the columns.
#ifndef TMXACT_EVENT_ROW_H
#define TMXACT_EVENT_ROW_H

#include <tmxactions/tmxactions.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "action_source.h"

namespace tmxact {

// The fields of the generic event record by the index that the catalogue gives them.
enum EventField : unsigned {
    kInt64FieldA = 0,
    kInt32FieldA = 4,
    kStringFieldA = 8,
    kDateFieldA = 10,
    kDoubleFieldA = 12,
    kEventFieldCount = 14
};

struct EventRow {
    std::int64_t id = 0;
    std::uint32_t code = 0;
    std::uint32_t classId = 0;
    std::int64_t time = 0;  // milliseconds since 1970, UTC; also importTime
    bool timeIsOwn = false;
    std::int64_t importTime = 0;

    std::uint32_t present = 0;  // bit i: field i has a value
    std::array<std::int64_t, 4> int64Fields{};
    std::array<std::int32_t, 4> int32Fields{};
    std::array<std::string, 2> texts;  // UTF-8
    std::array<TmxDateTime, 2> dates{};
    std::array<double, 2> doubles{};

    bool hasStored = false;
    std::string stored;  // the stored action

    bool Has(unsigned field) const noexcept { return (present >> field & 1u) != 0; }
    void Put(unsigned field) noexcept { present |= 1u << field; }
};

// Which actions keep their bytes beside the columns.
enum class KeepBytes {
    kIncomplete,  // where the library says that the columns don't suffice
    kLossy,       // also where they would give back another action
    kAll
};

// Fills rows from actions.
class RowFiller {
  public:
    explicit RowFiller(KeepBytes keep) : keep_(keep) {}

    // importTime is now. Returns the empty text, or why the action has no row.
    std::string Fill(const ReadAction& action, std::int64_t now, EventRow& row);

    // Of the rows so far: those whose columns would give back another action, and that have kept
    // no bytes.
    std::uint64_t LossyRows() const noexcept { return lossy_; }

  private:
    bool Differs(const ReadAction& action, const TmxEventDataRecord& record);
    bool Store(TmxHandle handle, std::string& bytes);

    KeepBytes keep_;
    std::uint64_t lossy_ = 0;
    std::string original_;
    std::string restored_;
};

// A row as the library's record; it points into the row and into itself.
class RowRecord {
  public:
    // Without bytes the record has the fields alone.
    explicit RowRecord(const EventRow& row, bool withBytes = true);
    RowRecord(const RowRecord&) = delete;
    RowRecord& operator=(const RowRecord&) = delete;

    const TmxEventDataRecord& Get() const noexcept { return record_; }

  private:
    std::array<std::u16string, 2> texts_;
    TmxEventDataRecord record_{};
};

// What an action is restored from.
enum class RestoredFrom { kColumns, kBytes };

// The action of a row, null if there is none; from what it came.
ActionHandle Restore(const EventRow& row, RestoredFrom& from);

// The row's line for people, UTF-8, as the library renders it. Where it can't render the stored
// action it is asked to render the fields, and at the last the action's name stands alone.
std::string Describe(const EventRow& row);

// Whether one of the action's texts or names holds the word, without regard to ASCII case.
bool HoldsText(const EventRow& row, std::string_view lowerWord);

// UTF-16 as UTF-8. Unpaired surrogates and U+0000, which no database column carries, become U+FFFD;
// false if there are any.
bool WideToUtf8(std::u16string_view wide, std::string& utf8);
std::u16string Utf8ToWide(std::string_view utf8);

// A date-time in milliseconds since 1970, UTC.
std::int64_t UnixMilliseconds(TmxDateTime value) noexcept;
// The reverse. The bias is in minutes.
TmxDateTime ToDateTime(std::int64_t unixMilliseconds, std::int16_t bias) noexcept;

}  // namespace tmxact

#endif
