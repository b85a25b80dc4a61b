// Points in time as texts of RFC 3339, and back. Points are milliseconds since 1970-01-01, UTC.
#ifndef TMXACT_TIME_TEXT_H
#define TMXACT_TIME_TEXT_H

#include <tmxactions/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tmxact {

// "2026-11-14T18:17:03.250Z"; with local in the system's zone, as "...+01:00". A year beyond 9999,
// which RFC 3339 can't tell, has a "+" ahead.
std::string TimeText(std::int64_t milliseconds, bool local);

// A date-time in its own zone, as JSON has it.
std::string TimeText(TmxDateTime value);

// Takes a date ("2026-11-14": its begin in UTC, or with local in the system's zone) or a date and a
// time with a zone ("2026-11-14T18:17:03+01:00", also with a fraction of a second, of which
// milliseconds count, or "z", or a blank for the "T").
std::optional<std::int64_t> TimeFromText(std::string_view text, bool local);

}  // namespace tmxact

#endif
