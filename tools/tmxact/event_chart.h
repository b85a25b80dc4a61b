// The counts of events as a picture.
#ifndef TMXACT_EVENT_CHART_H
#define TMXACT_EVENT_CHART_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tmxact {

struct NamedCount {
    std::string name;
    std::uint64_t count;
};

struct EventSummary {
    std::string database;
    std::string zone;  // in which the hours are told
    std::string first;
    std::string last;
    std::uint64_t total = 0;
    std::uint64_t own = 0;
    std::vector<NamedCount> classes;  // the most frequent first
    std::vector<NamedCount> actions;
    std::uint64_t otherActions = 0;  // how many actions beyond those, and how often
    std::uint64_t otherEvents = 0;
    // By hour of the day: events whose time is their action's own, and those that have that of
    // their import.
    std::array<std::uint64_t, 24> ownHours{};
    std::array<std::uint64_t, 24> importHours{};
};

// "12 345".
std::string Grouped(std::uint64_t number);

// "1 181 of them at their action's own first date-time, 1 773 at their import".
std::string TimesText(const EventSummary& summary);

// A document of SVG 1.1, in UTF-8.
std::string EventChart(const EventSummary& summary);

}  // namespace tmxact

#endif
