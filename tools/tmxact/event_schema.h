// The scripts that make the database and bring it up to date, as the build takes them from sql/.
#ifndef TMXACT_EVENT_SCHEMA_H
#define TMXACT_EVENT_SCHEMA_H

#include <span>

namespace tmxact {

// The script at index i makes version i + 1 out of version i. Statements end in ";" at the end of a
// line.
std::span<const char* const> Migrations(bool postgresql) noexcept;

}  // namespace tmxact

#endif
