// The commands behind "tmxact events", and what they share.
#ifndef TMXACT_EVENTS_COMMANDS_H
#define TMXACT_EVENTS_COMMANDS_H

#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "event_database.h"

namespace tmxact {

Run AddEventsImport(CLI::App& events, const ReportOptions& report);
Run AddEventsList(CLI::App& events, const ReportOptions& report);
Run AddEventsExport(CLI::App& events, const ReportOptions& report);
Run AddEventsStats(CLI::App& events, const ReportOptions& report);

// --db.
void AddDatabase(CLI::App& command, std::string& where);

// --code, --class, --since, --until, and where times are shown --local.
struct FilterOptions {
    std::vector<std::string> codes;
    std::vector<std::string> classes;
    std::string since;
    std::string until;
    bool local = false;

    void Add(CLI::App& command, bool withLocal);
    // Throws UsageError for what the catalogue doesn't know, and for a time that is none.
    EventFilter Filter() const;
};

// The name of an action or a class, or its number if the catalogue doesn't know it.
std::string CodeName(std::uint32_t code);
std::string ClassName(std::uint32_t classId);

// Where an event's time comes from: "action" or "import".
const char* TimeOrigin(bool own) noexcept;

}  // namespace tmxact

#endif
