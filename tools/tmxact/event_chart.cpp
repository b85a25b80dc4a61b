#include "event_chart.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "encoding.h"

namespace tmxact {

namespace {

constexpr const char* kOwnColor = "#2a6fb0";
constexpr const char* kImportColor = "#e0a13a";
constexpr const char* kBarColor = "#3d8f77";
constexpr const char* kGridColor = "#d9dee3";
constexpr const char* kTextColor = "#1f2933";
constexpr const char* kDimColor = "#5b6875";

constexpr double kWidth = 960;
constexpr double kMargin = 32;
constexpr double kRow = 20;   // of a bar with its name
constexpr double kHead = 40;  // of a part, with its title

// Text that XML can carry, escaped.
std::string Xml(std::string_view text) {
    std::string out;
    for (const char c : Printable(text, false)) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// The least of 1, 2 and 5 with zeros behind that isn't below the number.
std::uint64_t RoundUp(std::uint64_t number) {
    for (std::uint64_t power = 1;; power *= 10)
        for (const std::uint64_t factor : {1u, 2u, 5u})
            if (factor * power >= number || power > UINT64_MAX / 100) return factor * power;
}

class Drawing {
  public:
    void Add(std::string_view text) { text_ += text; }

    void Rectangle(double x, double y, double width, double height, const char* color,
                   const std::string& title) {
        char line[160];
        std::snprintf(line, sizeof line,
                      "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"%s\">", x,
                      y, width, height, color);
        text_ += line;
        text_ += "<title>" + Xml(title) + "</title></rect>\n";
    }

    void Line(double x1, double y1, double x2, double y2) {
        char line[160];
        std::snprintf(line, sizeof line,
                      "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\"/>\n", x1,
                      y1, x2, y2, kGridColor);
        text_ += line;
    }

    // anchor is "start", "middle" or "end".
    void Text(double x, double y, const char* anchor, std::string_view text, double size = 12,
              const char* color = kTextColor, const char* weight = "normal") {
        char line[200];
        std::snprintf(line, sizeof line,
                      "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" font-size=\"%.0f\" "
                      "fill=\"%s\" font-weight=\"%s\">",
                      x, y, anchor, size, color, weight);
        text_ += line;
        text_ += Xml(text) + "</text>\n";
    }

    std::string Take() { return std::move(text_); }

  private:
    std::string text_;
};

// Columns for the hours; returns where the part ends.
double DrawHours(Drawing& drawing, const std::string& title, const char* color,
                 const std::array<std::uint64_t, 24>& hours, double height, double top) {
    constexpr double kLeft = kMargin + 56;
    constexpr double kStep = (kWidth - kMargin - kLeft) / 24;
    constexpr double kGap = 6;
    drawing.Text(kMargin, top + 16, "start", title, 15, kTextColor, "bold");
    const std::uint64_t most = *std::max_element(hours.begin(), hours.end());
    // Four lines or fewer, at round numbers.
    const std::uint64_t step = RoundUp(std::max<std::uint64_t>((most + 3) / 4, 1));
    const std::uint64_t lines = std::max<std::uint64_t>((most + step - 1) / step, 1);
    const double bottom = top + kHead + height;
    const double scale = height / static_cast<double>(step * lines);
    for (std::uint64_t i = 0; i <= lines; ++i) {
        const double y = bottom - static_cast<double>(i * step) * scale;
        drawing.Line(kLeft, y, kWidth - kMargin, y);
        drawing.Text(kLeft - 8, y + 4, "end", Grouped(i * step), 11, kDimColor);
    }
    for (unsigned i = 0; i < 24; ++i) {
        const double x = kLeft + i * kStep;
        char name[8];
        std::snprintf(name, sizeof name, "%02u", i % 24);
        drawing.Text(x + kStep / 2, bottom + 16, "middle", name, 11, kDimColor);
        if (hours[i] == 0) continue;
        const double length = std::max(static_cast<double>(hours[i]) * scale, 1.0);
        drawing.Rectangle(x + kGap / 2, bottom - length, kStep - kGap, length, color,
                          std::string(name) + ":00: " + Grouped(hours[i]));
    }
    return bottom + 44;
}

// A row of bars with names and numbers; returns where the part ends.
double DrawBars(Drawing& drawing, const std::string& title, const std::vector<NamedCount>& counts,
                double left, double width, double top) {
    constexpr double kNames = 190;
    constexpr double kNumbers = 60;
    drawing.Text(left, top + 16, "start", title, 15, kTextColor, "bold");
    const double room = width - kNames - kNumbers;
    const double most = counts.empty() ? 1 : static_cast<double>(counts.front().count);
    double y = top + kHead - 6;
    for (const NamedCount& each : counts) {
        std::string name = each.name;
        constexpr std::size_t kLongest = 29;
        if (name.size() > kLongest) name = name.substr(0, kLongest - 1) + "\u2026";
        drawing.Text(left + kNames - 8, y + 13, "end", name);
        const double length = std::max(static_cast<double>(each.count) / most * room, 1.0);
        drawing.Rectangle(left + kNames, y + 2, length, kRow - 5, kBarColor,
                          each.name + ": " + Grouped(each.count));
        drawing.Text(left + kNames + length + 6, y + 13, "start", Grouped(each.count), 11,
                     kDimColor);
        y += kRow;
    }
    return y + 24;
}

}  // namespace

std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ' ');
    return text;
}

std::string TimesText(const EventSummary& summary) {
    return Grouped(summary.own) + " at their action's own first date-time, " +
           Grouped(summary.total - summary.own) + " at their import";
}

std::string EventChart(const EventSummary& summary) {
    Drawing drawing;
    double y = kMargin;
    drawing.Text(kMargin, y + 14, "start",
                 Grouped(summary.total) + (summary.total == 1 ? " event in " : " events in ") +
                     summary.database,
                 20, kTextColor, "bold");
    y += 38;
    if (summary.total > 0) {
        drawing.Text(kMargin, y, "start", "from " + summary.first + " to " + summary.last, 13,
                     kDimColor);
        y += 18;
        drawing.Text(kMargin, y, "start", TimesText(summary), 13, kDimColor);
    }
    y += 24;
    if (summary.own > 0)
        y = DrawHours(drawing, "By hour of the action's own time (" + summary.zone + ")", kOwnColor,
                      summary.ownHours, 150, y);
    if (summary.own < summary.total)
        y = DrawHours(drawing,
                      "By hour of the import, without a time of their own (" + summary.zone + ")",
                      kImportColor, summary.importHours, 80, y);
    constexpr double kHalf = (kWidth - 2 * kMargin - 24) / 2;
    const double classesEnd = DrawBars(drawing, "By class", summary.classes, kMargin, kHalf, y);
    double actionsEnd =
        DrawBars(drawing, "By action", summary.actions, kMargin + kHalf + 24, kHalf, y);
    if (summary.otherActions > 0) {
        drawing.Text(kMargin + kHalf + 24, actionsEnd - 14, "start",
                     "and " + Grouped(summary.otherActions) + " more actions with " +
                         Grouped(summary.otherEvents) + " events",
                     11, kDimColor);
        actionsEnd += 12;
    }
    const double height = std::max(classesEnd, actionsEnd);

    char head[400];
    std::snprintf(head, sizeof head,
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                  "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" role=\"img\" "
                  "width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
                  "font-family=\"system-ui, 'DejaVu Sans', sans-serif\">\n",
                  kWidth, height, kWidth, height);
    return head + ("<title>Events in " + Xml(summary.database) + "</title>\n") +
           "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n" + drawing.Take() +
           "</svg>\n";
}

}  // namespace tmxact
