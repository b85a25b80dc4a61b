#include <algorithm>
#include <array>

#include "encoding.h"
#include "event_row.h"
#include "events_commands.h"
#include "facts.h"
#include "json_text.h"
#include "output.h"
#include "time_text.h"

namespace tmxact {

namespace {

enum class ListForm { kTable, kJson, kCsv };

struct Options {
    std::string database;
    FilterOptions filter;
    std::string text;
    std::size_t limit = 0;  // 0 for no limit
    bool reversed = false;
    bool fields = false;
    ListForm form = ListForm::kTable;
};

// The labels of the generic columns, as the catalogue tells them.
const std::vector<std::string>& FieldLabels() {
    static const std::vector<std::string> labels = [] {
        std::array<TmxParameterInfo, kEventFieldCount> infos{};
        const std::uint32_t count = TmxAct_EnumerateEventFields(infos.data(), kEventFieldCount);
        std::vector<std::string> texts;
        for (std::uint32_t i = 0; i < count; ++i) texts.emplace_back(infos[i].plainNameU8);
        return texts;
    }();
    return labels;
}

std::string NumberText(double value) {
    JsonText json(false);
    json.Double(value);
    return std::string(json.Text());
}

// The value of a field that is there.
std::string FieldText(const EventRow& row, unsigned field) {
    if (field >= kDoubleFieldA) return NumberText(row.doubles[field - kDoubleFieldA]);
    if (field >= kDateFieldA) return TimeText(row.dates[field - kDateFieldA]);
    if (field >= kStringFieldA) return row.texts[field - kStringFieldA];
    if (field >= kInt32FieldA) return std::to_string(row.int32Fields[field - kInt32FieldA]);
    return std::to_string(row.int64Fields[field - kInt64FieldA]);
}

class ListWriter {
  public:
    explicit ListWriter(Output& output) : output_(output) {}
    virtual ~ListWriter() = default;
    virtual void Begin() {}
    virtual void Put(const EventRow& row) = 0;
    virtual void End() {}

  protected:
    Output& output_;
};

class JsonList : public ListWriter {
  public:
    JsonList(Output& output, bool local) : ListWriter(output), local_(local), json_(false) {}

    void Put(const EventRow& row) override {
        json_.Clear();
        json_.StartObject();
        json_.Key("id");
        json_.Number(row.id);
        Pair("time", TimeText(row.time, local_));
        Pair("timeFrom", TimeOrigin(row.timeIsOwn));
        Pair("imported", TimeText(row.importTime, local_));
        json_.Key("code");
        json_.Number(row.code);
        Pair("action", CodeName(row.code));
        Pair("class", ClassName(row.classId));
        json_.Key("fields");
        json_.StartObject();
        for (unsigned i = 0; i < kEventFieldCount; ++i) {
            if (!row.Has(i)) continue;
            json_.Key(FieldLabels()[i]);
            if (i >= kDoubleFieldA) {
                json_.Double(row.doubles[i - kDoubleFieldA]);
            } else if (i >= kDateFieldA) {
                json_.DateTime(row.dates[i - kDateFieldA]);
            } else if (i >= kStringFieldA) {
                json_.Utf8(row.texts[i - kStringFieldA]);
            } else if (i >= kInt32FieldA) {
                json_.Number(row.int32Fields[i - kInt32FieldA]);
            } else {
                json_.Number(row.int64Fields[i - kInt64FieldA]);
            }
        }
        json_.EndObject();
        json_.Key("bytes");
        json_.Number(row.hasStored ? static_cast<std::int64_t>(row.stored.size()) : 0);
        Pair("description", Describe(row));
        json_.EndObject();
        output_.Put(json_.Text());
        output_.Put("\n");
        output_.EndRecord();
    }

  private:
    void Pair(std::string_view key, std::string_view text) {
        json_.Key(key);
        json_.Utf8(text);
    }

    bool local_;
    JsonText json_;
};

class CsvList : public ListWriter {
  public:
    CsvList(Output& output, bool local) : ListWriter(output), local_(local) {}

    void Begin() override {
        line_ = "id,time,time_from,imported,code,action,class";
        for (const std::string& label : FieldLabels()) Cell(label);
        line_ += ",bytes,description\n";
        Send();
    }

    void Put(const EventRow& row) override {
        line_ = std::to_string(row.id);
        Cell(TimeText(row.time, local_));
        Cell(TimeOrigin(row.timeIsOwn));
        Cell(TimeText(row.importTime, local_));
        Cell(std::to_string(row.code));
        Cell(CodeName(row.code));
        Cell(ClassName(row.classId));
        for (unsigned i = 0; i < kEventFieldCount; ++i) {
            if (row.Has(i)) {
                // An empty text is told from none by its quotes.
                Cell(FieldText(row, i), i >= kStringFieldA && i < kDateFieldA);
            } else {
                line_ += ',';
            }
        }
        Cell(std::to_string(row.hasStored ? row.stored.size() : 0));
        Cell(Describe(row), true);
        line_ += '\n';
        Send();
    }

  private:
    // By RFC 4180.
    void Cell(std::string_view text, bool quoted = false) {
        line_ += ',';
        if (!quoted && text.find_first_of(",\"\r\n") == std::string_view::npos) {
            line_ += text;
            return;
        }
        line_ += '"';
        for (const char c : text) {
            if (c == '"') line_ += '"';
            line_ += c;
        }
        line_ += '"';
    }

    void Send() {
        output_.Put(line_);
        output_.EndRecord();
    }

    bool local_;
    std::string line_;
};

// The widths of the columns are those that the first rows need.
class TableList : public ListWriter {
  public:
    TableList(Output& output, const Options& options, bool color)
        : ListWriter(output),
          local_(options.filter.local),
          fields_(options.fields),
          palette_(color) {}

    void Put(const EventRow& row) override {
        constexpr std::size_t kFirstRows = 500;
        Cells cells;
        cells.push_back(std::to_string(row.id));
        cells.push_back(TimeText(row.time, local_));
        cells.push_back(TimeOrigin(row.timeIsOwn));
        if (fields_) {
            for (unsigned i = 0; i < kEventFieldCount; ++i)
                cells.push_back(row.Has(i) ? Printable(FieldText(row, i), false) : std::string());
            used_ |= row.present;
        }
        cells.push_back(Printable(Describe(row), false));
        if (shown_) return Line(cells, "");
        first_.push_back(std::move(cells));
        if (first_.size() == kFirstRows) ShowFirst(true);
    }

    void End() override {
        if (!shown_) ShowFirst(false);
    }

  private:
    using Cells = std::vector<std::string>;

    void ShowFirst(bool more) {
        shown_ = true;
        if (first_.empty()) return;
        Cells labels = {"Id", "Time", "From"};
        right_ = {true, false, false};
        if (fields_) {
            for (unsigned i = 0; i < kEventFieldCount; ++i) {
                labels.push_back(FieldLabels()[i]);
                right_.push_back(i < kStringFieldA || i >= kDoubleFieldA);
            }
        }
        labels.push_back("Description");
        right_.push_back(false);
        widths_.assign(labels.size(), 0);
        // A generic column that stays empty is left out, where all rows are known.
        for (std::size_t i = 0; i < labels.size(); ++i) {
            const bool generic = fields_ && i >= 3 && i < 3 + kEventFieldCount;
            const bool empty = !more && generic && (used_ >> (i - 3) & 1u) == 0;
            if (!empty) widths_[i] = DisplayWidth(labels[i]);
        }
        for (const Cells& cells : first_)
            for (std::size_t i = 0; i < cells.size(); ++i)
                if (widths_[i] > 0)
                    widths_[i] = std::max(widths_[i], std::min(DisplayWidth(cells[i]), kWidest));
        Line(labels, palette_.bold);
        for (const Cells& cells : first_) Line(cells, "");
        first_.clear();
    }

    void Line(const Cells& cells, std::string_view style) {
        std::string line(style);
        for (std::size_t i = 0; i < cells.size(); ++i) {
            if (widths_[i] == 0) continue;
            const std::size_t width = DisplayWidth(cells[i]);
            const std::string space(widths_[i] > width ? widths_[i] - width : 0, ' ');
            if (right_[i]) line += space;
            line += cells[i];
            if (i + 1 == cells.size()) break;
            if (!right_[i]) line += space;
            line += "  ";
        }
        line += palette_.plain.empty() || style.empty() ? "" : palette_.plain;
        line += '\n';
        output_.Put(line);
        output_.EndRecord();
    }

    static constexpr std::size_t kWidest = 40;

    bool local_;
    bool fields_;
    Palette palette_;
    std::vector<Cells> first_;
    bool shown_ = false;
    std::uint32_t used_ = 0;  // fields of the first rows
    std::vector<std::size_t> widths_;
    std::vector<bool> right_;
};

int List(const Options& options, const ReportOptions& reportOptions) {
    Reporter reporter(reportOptions);
    EventFilter filter = options.filter.Filter();
    filter.text = Lower(options.text);
    EventDatabase database(options.database, EventDatabase::Access::kRead);
    Output output(File::OpenForWriting("-"));
    std::unique_ptr<ListWriter> writer;
    if (options.form == ListForm::kJson) {
        writer = std::make_unique<JsonList>(output, options.filter.local);
    } else if (options.form == ListForm::kCsv) {
        writer = std::make_unique<CsvList>(output, options.filter.local);
    } else {
        writer = std::make_unique<TableList>(
            output, options, UseColor(reportOptions.color, StandardOutputIsTerminal()));
    }
    std::size_t count = 0;
    try {
        writer->Begin();
        database.Read(filter, options.reversed ? EventOrder::kByTimeReversed : EventOrder::kByTime,
                      [&](const EventRow& row) {
                          writer->Put(row);
                          CheckSignals();
                          return ++count != options.limit;
                      });
        writer->End();
        output.Close();
    } catch (const Interrupted&) {
        output.Close();
        throw;
    }
    reporter.Detail(Counted(count, "event"));
    return kExitDone;
}

}  // namespace

Run AddEventsList(CLI::App& events, const ReportOptions& report) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = *events.add_subcommand(
        "list",
        "Examples:\n"
        "  tmxact events list --db site.db --limit 20\n"
        "  tmxact events list --db site.db --class Alarm --since 2026-11-14T18:00:00+01:00\n"
        "  tmxact events list --db site.db --text Tor --json | jq .description\n"
        "\n"
        "List events by their time, each with its description. An event's time is the first\n"
        "date-time of its action, or else that of its import; it is told which.\n");
    AddDatabase(command, options->database);
    options->filter.Add(command, true);
    command
        .add_option("--text", options->text,
                    "Only events that hold this in a text or a name, in any case of letters")
        ->type_name("WORD");
    command.add_option("--limit", options->limit, "The most events that are listed; 0 for all [0]")
        ->type_name("COUNT");
    command.add_flag("--reverse", options->reversed, "The latest first");
    CLI::Option_group& forms = *command.add_option_group("Form");
    forms.add_flag_callback(
        "--table", [options] { options->form = ListForm::kTable; },
        "As a table for people [the default]");
    forms.add_flag_callback(
        "--json", [options] { options->form = ListForm::kJson; }, "As JSON, an object a line");
    forms.add_flag_callback(
        "--csv", [options] { options->form = ListForm::kCsv; },
        "As comma-separated values (RFC 4180) with a head line");
    forms.require_option(0, 1);
    command.add_flag("--fields", options->fields,
                     "The table with the generic columns too, as far as they are used");
    return [options, &report] { return List(*options, report); };
}

}  // namespace tmxact
