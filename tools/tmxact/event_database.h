// The database of events: an SQLite file or a PostgreSQL server, through SOCI.
#ifndef TMXACT_EVENT_DATABASE_H
#define TMXACT_EVENT_DATABASE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "event_row.h"

namespace tmxact {

// The database can't be opened, read or written, or isn't one of ours; what() names it and tells
// the reason in one line. Nothing can go on behind it.
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Which events are wanted; empty members leave all.
struct EventFilter {
    std::vector<std::uint32_t> codes;
    std::vector<std::uint32_t> classes;
    std::optional<std::int64_t> since;  // milliseconds since 1970, UTC; the first that counts
    std::optional<std::int64_t> until;  // the first that doesn't
    std::string text;                   // in a text or name, without regard to ASCII case
};

enum class EventOrder { kById, kByTime, kByTimeReversed };

// How far the import of one file has come.
struct EventSource {
    std::int64_t id = 0;  // 0 while the database knows nothing of it
    std::string name;
    std::int64_t started = 0;  // milliseconds since 1970, UTC
    std::uint64_t bytesDone = 0;
    std::uint64_t actionsDone = 0;
    std::uint64_t fingerprint = 0;
    bool finished = false;
};

// How many events there are of a code, and of those that a quarter of an hour began with.
struct CodeCount {
    std::uint32_t code;
    std::uint32_t classId;
    std::uint64_t count;
};
struct QuarterCount {
    std::int64_t begin;  // milliseconds since 1970, UTC
    bool timeIsOwn;
    std::uint64_t count;
};
struct EventCounts {
    std::vector<CodeCount> codes;
    std::vector<QuarterCount> quarters;
    std::int64_t first = 0;  // the earliest and the latest time, if there is any event
    std::int64_t last = 0;
};

class EventDatabase {
  public:
    enum class Access { kRead, kWrite };

    // where is the path of an SQLite file or a postgresql:// URL. To write, what is missing is
    // made: the file, the schema, its latest version. To read, there must be a schema.
    EventDatabase(const std::string& where, Access access);
    ~EventDatabase();

    // The path, or the URL without its password.
    const std::string& Name() const noexcept;

    // The latest import of a file.
    std::optional<EventSource> LastImport(const std::string& name);

    // Adds events and takes note of how far the source has come, in one transaction. source is what
    // the database knows, and becomes what it knows then.
    void Add(std::span<const EventRow> rows, EventSource& source, const EventSource& after);

    // Hands over the events in order until there are no more, or take returns false.
    void Read(const EventFilter& filter, EventOrder order,
              const std::function<bool(const EventRow&)>& take);

    // Counts as of one point in time. The filter's text doesn't count.
    EventCounts Count(const EventFilter& filter);

  private:
    class Session;
    std::unique_ptr<Session> session_;
};

}  // namespace tmxact

#endif
