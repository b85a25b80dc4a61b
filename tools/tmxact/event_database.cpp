#include "event_database.h"

#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <array>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <thread>
#include <utility>

#include "encoding.h"
#include "event_schema.h"
#include "facts.h"
#include "system.h"

namespace tmxact {

namespace {

constexpr const char* kColumns[] = {
    "source",       "code",         "class",          "event_time",  "time_is_own",
    "import_time",  "Int64FieldA",  "Int64FieldB",    "Int64FieldC", "Int64FieldD",
    "Int32FieldA",  "Int32FieldB",  "Int32FieldC",    "Int32FieldD", "StringFieldA",
    "StringFieldB", "DateFieldA",   "DateFieldABias", "DateFieldB",  "DateFieldBBias",
    "DoubleFieldA", "DoubleFieldB", "stored"};
constexpr std::size_t kColumnCount = std::size(kColumns);

// The types of these columns in PostgreSQL.
constexpr const char* kTypes[] = {"bigint",           "integer",          "integer", "bigint",
                                  "smallint",         "bigint",           "bigint",  "bigint",
                                  "bigint",           "bigint",           "integer", "integer",
                                  "integer",          "integer",          "text",    "text",
                                  "bigint",           "smallint",         "bigint",  "smallint",
                                  "double precision", "double precision", "bytea"};
static_assert(std::size(kTypes) == kColumnCount);

// Hands a row's columns to the functions of a writer, in the order above.
template <typename Writer>
void PutRow(const EventRow& row, std::int64_t source, Writer& writer) {
    writer.Number(source);
    writer.Number(row.code);
    writer.Number(row.classId);
    writer.Number(row.time);
    writer.Number(row.timeIsOwn ? 1 : 0);
    writer.Number(row.importTime);
    for (unsigned i = 0; i < 4; ++i)
        row.Has(kInt64FieldA + i) ? writer.Number(row.int64Fields[i]) : writer.NoNumber();
    for (unsigned i = 0; i < 4; ++i)
        row.Has(kInt32FieldA + i) ? writer.Number(row.int32Fields[i]) : writer.NoNumber();
    for (unsigned i = 0; i < 2; ++i)
        row.Has(kStringFieldA + i) ? writer.Text(row.texts[i]) : writer.NoText();
    for (unsigned i = 0; i < 2; ++i) {
        if (row.Has(kDateFieldA + i)) {
            writer.Number(UnixMilliseconds(row.dates[i]));
            writer.Number(static_cast<std::int16_t>(row.dates[i].value >> 48));
        } else {
            writer.NoNumber();
            writer.NoNumber();
        }
    }
    for (unsigned i = 0; i < 2; ++i)
        row.Has(kDoubleFieldA + i) ? writer.Double(row.doubles[i]) : writer.NoDouble();
    row.hasStored ? writer.Bytes(row.stored) : writer.NoBytes();
}

std::string ColumnList() {
    std::string list;
    for (const char* column : kColumns) (list += list.empty() ? "" : ", ") += column;
    return list;
}

class Inserter {
  public:
    virtual ~Inserter() = default;
    virtual void Insert(std::span<const EventRow> rows, std::int64_t source) = 0;
};

// SQLite is in this process: one prepared statement, bound anew for each row, costs the least.
class SqliteInserter : public Inserter {
  public:
    explicit SqliteInserter(soci::session& session) : statement_(session) {
        std::string values;
        for (std::size_t i = 0; i < kColumnCount; ++i) {
            const std::string name = ":c" + std::to_string(i);
            // SOCI binds a string as text.
            values += i + 1 < kColumnCount ? name + ", " : "CAST(" + name + " AS BLOB)";
        }
        for (std::size_t i = 0; i < kColumnCount; ++i) {
            soci::indicator& null = nulls_[i];
            if (i == 14 || i == 15 || i + 1 == kColumnCount) {
                statement_.exchange(soci::use(texts_[i < 15 ? 0 : i == 15 ? 1 : 2], null));
            } else if (i == 20 || i == 21) {
                statement_.exchange(soci::use(doubles_[i - 20], null));
            } else {
                statement_.exchange(soci::use(numbers_[i], null));
            }
        }
        statement_.alloc();
        statement_.prepare("INSERT INTO events (" + ColumnList() + ") VALUES (" + values + ")");
        statement_.define_and_bind();
    }

    void Insert(std::span<const EventRow> rows, std::int64_t source) override {
        for (const EventRow& row : rows) {
            column_ = 0;
            PutRow(row, source, *this);
            statement_.execute(true);
        }
    }

    void Number(long long value) {
        numbers_[column_] = value;
        nulls_[column_++] = soci::i_ok;
    }
    void NoNumber() { nulls_[column_++] = soci::i_null; }
    void Text(const std::string& text) { PutText(column_ == 14 ? 0 : 1, text); }
    void NoText() { NoNumber(); }
    void Double(double value) {
        doubles_[column_ - 20] = value;
        nulls_[column_++] = soci::i_ok;
    }
    void NoDouble() { NoNumber(); }
    void Bytes(const std::string& bytes) { PutText(2, bytes); }
    void NoBytes() { NoNumber(); }

  private:
    void PutText(std::size_t index, const std::string& text) {
        texts_[index] = text;
        nulls_[column_++] = soci::i_ok;
    }

    soci::statement statement_;
    std::size_t column_ = 0;
    std::array<long long, kColumnCount> numbers_{};
    std::array<std::string, 3> texts_;
    std::array<double, 2> doubles_{};
    std::array<soci::indicator, kColumnCount> nulls_{};
};

// A PostgreSQL server is a round trip away: all rows go in one, as an array for each column.
class PostgresqlInserter : public Inserter {
  public:
    explicit PostgresqlInserter(soci::session& session) : statement_(session) {
        std::string arrays;
        for (std::size_t i = 0; i < kColumnCount; ++i) {
            arrays += std::string(i == 0 ? "" : ", ") + "CAST(:c" + std::to_string(i) + " AS " +
                      kTypes[i] + "[])";
            statement_.exchange(soci::use(arrays_[i]));
        }
        statement_.alloc();
        statement_.prepare("INSERT INTO events (" + ColumnList() + ") SELECT * FROM unnest(" +
                           arrays + ")");
        statement_.define_and_bind();
    }

    void Insert(std::span<const EventRow> rows, std::int64_t source) override {
        if (rows.empty()) return;
        for (std::string& array : arrays_) array = '{';
        for (const EventRow& row : rows) {
            column_ = 0;
            PutRow(row, source, *this);
        }
        for (std::string& array : arrays_) array.back() = '}';
        statement_.execute(true);
    }

    void Number(long long value) { PutNumber(value); }
    void NoNumber() { arrays_[column_++] += "NULL,"; }
    void Text(const std::string& text) {
        std::string& array = arrays_[column_++];
        array += '"';
        for (const char c : text) {
            if (c == '"' || c == '\\') array += '\\';
            array += c;
        }
        array += "\",";
    }
    void NoText() { NoNumber(); }
    void Double(double value) { PutNumber(value); }
    void NoDouble() { NoNumber(); }
    void Bytes(const std::string& bytes) {
        constexpr const char* kDigits = "0123456789abcdef";
        std::string& array = arrays_[column_++];
        array += "\"\\\\x";
        for (const char c : bytes) {
            const auto byte = static_cast<unsigned char>(c);
            array += kDigits[byte >> 4];
            array += kDigits[byte & 0xF];
        }
        array += "\",";
    }
    void NoBytes() { NoNumber(); }

  private:
    template <typename Number>
    void PutNumber(Number value) {
        char digits[40];
        char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        arrays_[column_++].append(digits, end) += ',';
    }

    soci::statement statement_;
    std::size_t column_ = 0;
    std::array<std::string, kColumnCount> arrays_;
};

// The statements of a script, without its comments.
std::vector<std::string> Statements(std::string_view script) {
    std::vector<std::string> statements;
    std::string statement;
    while (!script.empty()) {
        const std::size_t end = std::min(script.find('\n'), script.size() - 1);
        std::string_view line = script.substr(0, end);
        script.remove_prefix(end + 1);
        line = line.substr(0, line.find("--"));
        while (!line.empty() && line.back() == ' ') line.remove_suffix(1);
        if (line.empty()) continue;
        const bool last = line.back() == ';';
        if (last) line.remove_suffix(1);
        statement.append(line) += '\n';
        if (last) statements.push_back(std::exchange(statement, {}));
    }
    return statements;
}

std::int64_t Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The path as a file: URI, in which no character has a meaning to SOCI's connection string.
std::string FileUri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : std::filesystem::absolute(path).string()) {
        const auto byte = static_cast<unsigned char>(c);
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
            c == '/' || c == '.' || c == '-' || c == '_') {
            uri += c;
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
            uri += escaped;
        }
    }
    return uri;
}

bool HasScheme(std::string_view where, std::string_view scheme) {
    return where.starts_with(scheme) && where.substr(scheme.size()).starts_with("://");
}

// The password of a URL: between the first ":" and the last "@" ahead of the host; empty if there
// is none.
std::string_view PasswordOf(std::string_view url) {
    const std::size_t begin = url.find("://") + 3;
    const std::size_t end = std::min(url.find_first_of("/?", begin), url.size());
    const std::size_t at = url.substr(0, end).rfind('@');
    const std::size_t colon = url.find(':', begin);
    if (at == std::string_view::npos || colon == std::string_view::npos || colon > at) return {};
    return url.substr(colon + 1, at - colon - 1);
}

std::string Replaced(std::string text, std::string_view what, std::string_view with) {
    if (what.empty()) return text;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

bool TakeHex(std::string& text) {
    const auto value = [](char c) {
        return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    };
    if (text.size() % 2 != 0) return false;
    for (std::size_t i = 0; i < text.size() / 2; ++i) {
        const int high = value(text[2 * i]);
        const int low = value(text[2 * i + 1]);
        if (high < 0 || low < 0) return false;
        text[i] = static_cast<char>(high << 4 | low);
    }
    text.resize(text.size() / 2);
    return true;
}

template <typename Number>
std::string In(const char* column, const std::vector<Number>& numbers) {
    std::string text = std::string(column) + " IN (";
    for (const Number number : numbers) text += std::to_string(number) + ", ";
    text.resize(text.size() - 2);
    return text + ")";
}

}  // namespace

class EventDatabase::Session {
  public:
    Session(const std::string& where, Access access);

    const std::string& Name() const noexcept { return name_; }

    // Runs what works with the database; its errors become ours.
    template <typename Work>
    auto Do(const Work& work) {
        try {
            return work();
        } catch (const soci::soci_error& error) {
            throw DatabaseError(name_ + ": " + Reason(error));
        }
    }

    // The same in one transaction, which holds for all or nothing.
    template <typename Work>
    auto Transact(const char* begin, const Work& work) {
        return Do([&] {
            sql_ << begin;
            try {
                work();
                sql_ << "COMMIT";
            } catch (...) {
                try {
                    sql_ << "ROLLBACK";
                } catch (const soci::soci_error&) {
                    // The server has gone, or the database has rolled back by itself.
                }
                throw;
            }
        });
    }

    // Waits until this is the only one that writes (SQLite allows but one).
    const char* BeginToWrite() const noexcept { return postgresql_ ? "BEGIN" : "BEGIN IMMEDIATE"; }
    const char* BeginToRead() const noexcept {
        return postgresql_ ? "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY" : "BEGIN";
    }

    std::optional<EventSource> LastImport(const std::string& name);
    void Add(std::span<const EventRow> rows, EventSource& source, const EventSource& after);
    bool ReadPage(const EventFilter& filter, EventOrder order, EventRow& row, bool first,
                  const std::function<bool(const EventRow&)>& take);
    EventCounts Count(const EventFilter& filter);

  private:
    std::string Reason(const soci::soci_error& error) const;
    void OpenSqlite(const std::string& path, Access access);
    void OpenPostgresql(const std::string& url);
    void UseWriteAheadLog();
    int Version();
    void BringUpToDate(Access access);
    std::string Conditions(const EventFilter& filter) const;

    soci::session sql_;
    std::unique_ptr<Inserter> inserter_;
    std::string name_;
    std::string password_;
    bool postgresql_ = false;
};

EventDatabase::Session::Session(const std::string& where, Access access) : name_(where) {
    postgresql_ = HasScheme(where, "postgresql") || HasScheme(where, "postgres");
    if (!postgresql_ && where.find("://") != std::string::npos)
        throw DatabaseError(where +
                            ": no such kind of database: a file's path (SQLite) or a postgresql:// "
                            "URL is wanted");
    if (where.empty()) throw DatabaseError("the database's name is empty");
    if (postgresql_) {
        password_ = PasswordOf(where);
        name_ = Replaced(where, ':' + password_ + '@', password_.empty() ? ":@" : ":***@");
    }
    Do([&] {
        postgresql_ ? OpenPostgresql(where) : OpenSqlite(where, access);
        BringUpToDate(access);
    });
}

std::string EventDatabase::Session::Reason(const soci::soci_error& error) const {
    // In one line, without the names of SOCI's functions.
    std::string text = Printable(error.get_error_message(), false);
    const std::size_t name = text.find("_backend::");
    if (name != std::string::npos) text.erase(0, text.find(": ", name) + 2);
    while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
    return Replaced(Replaced(text, "  ", " "), password_, "***");
}

void EventDatabase::Session::OpenSqlite(const std::string& path, Access access) {
    const bool make = access == Access::kWrite;
    if (!make && !std::filesystem::exists(path))
        throw DatabaseError(path + ": there is no such file");
    // A writer waits for another one's transaction for a minute at the most. In the mode with a
    // write-ahead log "normal" keeps the database whole whatever happens; at a loss of power the
    // last transactions may be lost, but none in part.
    sql_.open(soci::sqlite3, "db=" + FileUri(path) + (make ? "?mode=rwc" : "?mode=rw") +
                                 " timeout=60 synchronous=normal");
    if (make) UseWriteAheadLog();
    sql_ << "PRAGMA cache_size = -65536";         // kB, of an import's working set
    sql_ << "PRAGMA wal_autocheckpoint = 16000";  // pages; fewer, longer checkpoints
    sql_ << "PRAGMA journal_size_limit = 67108864";
}

// Readers then go on while a writer writes. The change itself doesn't wait for others, so it is
// tried again while there are any.
void EventDatabase::Session::UseWriteAheadLog() {
    constexpr int kTries = 600;
    for (int i = 0;; ++i) {
        try {
            std::string mode;
            sql_ << "PRAGMA journal_mode", soci::into(mode);
            if (mode != "wal") sql_ << "PRAGMA journal_mode = WAL", soci::into(mode);
            return;
        } catch (const soci::soci_error& error) {
            const auto* const sqlite = dynamic_cast<const soci::sqlite3_soci_error*>(&error);
            const bool busy = sqlite != nullptr && (sqlite->result() & 0xFF) == 5;  // SQLITE_BUSY
            if (!busy || i == kTries) throw;
        }
        CheckSignals();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

void EventDatabase::Session::OpenPostgresql(const std::string& url) {
    sql_.open(soci::postgresql, url);
    std::string encoding;
    sql_ << "SHOW server_encoding", soci::into(encoding);
    if (encoding != "UTF8")
        throw DatabaseError(name_ + ": the database's encoding is " + encoding +
                            ", and must be UTF8");
    sql_ << "SET client_encoding TO 'UTF8'";
    sql_ << "SET client_min_messages TO warning";
}

int EventDatabase::Session::Version() {
    int tables = 0;
    if (postgresql_) {
        sql_ << "SELECT count(*) FROM pg_class WHERE oid = to_regclass('schema_version')",
            soci::into(tables);
    } else {
        sql_ << "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = "
                "'schema_version'",
            soci::into(tables);
    }
    if (tables == 0) return 0;
    int version = 0;
    sql_ << "SELECT coalesce(max(version), 0) FROM schema_version", soci::into(version);
    return version;
}

void EventDatabase::Session::BringUpToDate(Access access) {
    const auto migrations = Migrations(postgresql_);
    const auto newest = static_cast<int>(migrations.size());
    const auto check = [&](int version) {
        if (version > newest)
            throw DatabaseError(name_ + ": the database is of version " + std::to_string(version) +
                                ", made by a newer tmxact; this one knows versions up to " +
                                std::to_string(newest));
        if (version == 0 && access == Access::kRead)
            throw DatabaseError(name_ +
                                ": this is no database of events (tmxact events import "
                                "makes one)");
        return version == newest;
    };
    if (check(Version())) return;
    Transact(BeginToWrite(), [&] {
        // The number is an arbitrary one that all of us use.
        if (postgresql_) sql_ << "SELECT pg_advisory_xact_lock(7461937226)";
        // Another one may have done it meanwhile.
        const int begin = Version();
        if (check(begin)) return;
        for (int version = begin; version < newest; ++version) {
            for (const std::string& statement :
                 Statements(migrations[static_cast<std::size_t>(version)]))
                sql_ << statement;
            const int made = version + 1;
            const long long now = Now();
            sql_ << "INSERT INTO schema_version (version, applied) VALUES (:v, :t)",
                soci::use(made), soci::use(now);
        }
    });
}

std::optional<EventSource> EventDatabase::Session::LastImport(const std::string& name) {
    long long id = 0;
    long long started = 0;
    long long bytes = 0;
    long long actions = 0;
    long long fingerprint = 0;
    int finished = 0;
    sql_ << "SELECT id, started, bytes_done, actions_done, fingerprint, finished FROM sources "
            "WHERE name = :n ORDER BY id DESC LIMIT 1",
        soci::use(name), soci::into(id), soci::into(started), soci::into(bytes),
        soci::into(actions), soci::into(fingerprint), soci::into(finished);
    if (!sql_.got_data()) return std::nullopt;
    return EventSource{id,
                       name,
                       started,
                       static_cast<std::uint64_t>(bytes),
                       static_cast<std::uint64_t>(actions),
                       static_cast<std::uint64_t>(fingerprint),
                       finished != 0};
}

void EventDatabase::Session::Add(std::span<const EventRow> rows, EventSource& source,
                                 const EventSource& after) {
    if (inserter_ == nullptr) {
        if (postgresql_) {
            inserter_ = std::make_unique<PostgresqlInserter>(sql_);
        } else {
            inserter_ = std::make_unique<SqliteInserter>(sql_);
        }
    }
    const auto bytes = static_cast<long long>(after.bytesDone);
    const auto actions = static_cast<long long>(after.actionsDone);
    const auto fingerprint = static_cast<long long>(after.fingerprint);
    const int finished = after.finished ? 1 : 0;
    long long id = source.id;
    Transact(BeginToWrite(), [&] {
        if (id == 0) {
            const long long started = after.started;
            sql_ << "INSERT INTO sources (name, started, bytes_done, actions_done, fingerprint, "
                    "finished) VALUES (:n, :s, :b, :a, :f, :e) RETURNING id",
                soci::use(after.name), soci::use(started), soci::use(bytes), soci::use(actions),
                soci::use(fingerprint), soci::use(finished), soci::into(id);
        } else {
            const auto known = static_cast<long long>(source.bytesDone);
            soci::statement update =
                (sql_.prepare << "UPDATE sources SET bytes_done = :b, actions_done = :a, "
                                 "fingerprint = :f, finished = :e "
                                 "WHERE id = :i AND bytes_done = :k",
                 soci::use(bytes), soci::use(actions), soci::use(fingerprint), soci::use(finished),
                 soci::use(id), soci::use(known));
            update.execute(true);
            if (update.get_affected_rows() != 1)
                throw DatabaseError(name_ + ": another import of " + after.name +
                                    " has gone on meanwhile");
        }
        inserter_->Insert(rows, id);
    });
    source = after;
    source.id = id;
}

std::string EventDatabase::Session::Conditions(const EventFilter& filter) const {
    std::string text = " WHERE 1 = 1";
    if (!filter.codes.empty()) text += " AND " + In("code", filter.codes);
    if (!filter.classes.empty()) text += " AND " + In("class", filter.classes);
    if (filter.since.has_value()) text += " AND event_time >= " + std::to_string(*filter.since);
    if (filter.until.has_value()) text += " AND event_time < " + std::to_string(*filter.until);
    if (!filter.text.empty()) {
        // What the stored action holds is looked at later. Only ASCII letters have a case here.
        const std::string like = postgresql_ ? " COLLATE \"C\" ILIKE " : " LIKE ";
        text += " AND (StringFieldA" + like + ":a ESCAPE '!' OR StringFieldB" + like +
                ":b ESCAPE '!' OR stored IS NOT NULL)";
    }
    return text;
}

// Hands over the next page. The row is the last one that was handed over; false behind the last
// page.
bool EventDatabase::Session::ReadPage(const EventFilter& filter, EventOrder order, EventRow& row,
                                      bool first,
                                      const std::function<bool(const EventRow&)>& take) {
    constexpr std::size_t kFirstPage = 1000;
    constexpr std::size_t kPage = 10000;
    const std::size_t size = first ? kFirstPage : kPage;
    const bool byTime = order != EventOrder::kById;
    const bool reversed = order == EventOrder::kByTimeReversed;
    std::string query = "SELECT id";
    for (const char* column : kColumns)
        query += std::string(", ") + (postgresql_ && column == std::string_view("stored")
                                          ? "encode(stored, 'hex')"
                                          : column);
    query += " FROM events" + Conditions(filter);
    const std::string time = std::to_string(row.time);
    const std::string id = std::to_string(row.id);
    const std::string beyond = reversed ? " < " : " > ";
    if (!first)
        query += byTime ? " AND (event_time, id)" + beyond + "(" + time + ", " + id + ")"
                        : " AND id > " + id;
    const std::string direction = reversed ? " DESC" : "";
    query += " ORDER BY " + (byTime ? "event_time" + direction + ", " : "") + "id" + direction +
             " LIMIT " + std::to_string(size);

    long long numbers[kColumnCount + 1] = {};
    double doubles[2] = {};
    soci::indicator nulls[kColumnCount + 1] = {};
    std::string& stored = row.stored;
    soci::statement statement(sql_);
    for (std::size_t i = 0; i <= kColumnCount; ++i) {
        if (i == 15 || i == 16) {
            statement.exchange(soci::into(row.texts[i - 15], nulls[i]));
        } else if (i == 21 || i == 22) {
            statement.exchange(soci::into(doubles[i - 21], nulls[i]));
        } else if (i == kColumnCount) {
            statement.exchange(soci::into(stored, nulls[i]));
        } else {
            statement.exchange(soci::into(numbers[i], nulls[i]));
        }
    }
    std::string pattern = "%";
    for (const char c : filter.text) {
        if (c == '%' || c == '_' || c == '!') pattern += '!';
        pattern += c;
    }
    pattern += '%';
    if (!filter.text.empty()) {
        statement.exchange(soci::use(pattern));
        statement.exchange(soci::use(pattern));
    }
    statement.alloc();
    statement.prepare(query);
    statement.define_and_bind();
    statement.execute();
    std::size_t count = 0;
    while (statement.fetch()) {
        ++count;
        row.id = numbers[0];
        row.code = static_cast<std::uint32_t>(numbers[2]);
        row.classId = static_cast<std::uint32_t>(numbers[3]);
        row.time = numbers[4];
        row.timeIsOwn = numbers[5] != 0;
        row.importTime = numbers[6];
        row.present = 0;
        const auto given = [&](std::size_t column, unsigned field) {
            if (nulls[column] == soci::i_ok) row.Put(field);
            return nulls[column] == soci::i_ok;
        };
        for (unsigned i = 0; i < 4; ++i) {
            if (given(7 + i, kInt64FieldA + i)) row.int64Fields[i] = numbers[7 + i];
            if (given(11 + i, kInt32FieldA + i))
                row.int32Fields[i] = static_cast<std::int32_t>(numbers[11 + i]);
        }
        for (unsigned i = 0; i < 2; ++i) {
            given(15 + i, kStringFieldA + i);
            if (given(17 + 2 * i, kDateFieldA + i))
                row.dates[i] = ToDateTime(numbers[17 + 2 * i],
                                          nulls[18 + 2 * i] == soci::i_ok
                                              ? static_cast<std::int16_t>(numbers[18 + 2 * i])
                                              : std::int16_t{0});
            if (given(21 + i, kDoubleFieldA + i)) row.doubles[i] = doubles[i];
        }
        row.hasStored = nulls[kColumnCount] == soci::i_ok;
        if (row.hasStored && postgresql_ && !TakeHex(stored))
            throw DatabaseError(name_ + ": the bytes of event " + std::to_string(row.id) +
                                " come in an unknown form");
        if (!filter.text.empty() && row.hasStored && !HoldsText(row, filter.text)) continue;
        if (!take(row)) return false;
    }
    return count == size;
}

EventCounts EventDatabase::Session::Count(const EventFilter& filter) {
    EventCounts counts;
    Transact(BeginToRead(), [&] {
        const std::string where = Conditions(filter);
        long long first = 0;
        long long second = 0;
        long long third = 0;
        const auto each = [&](const std::string& query, const auto& take) {
            soci::statement statement =
                (sql_.prepare << query, soci::into(first), soci::into(second), soci::into(third));
            statement.execute();
            while (statement.fetch()) take();
        };
        // A code has one class, unless the table has been written to by hand.
        each("SELECT code, max(class), count(*) FROM events" + where + " GROUP BY code", [&] {
            counts.codes.push_back({static_cast<std::uint32_t>(first),
                                    static_cast<std::uint32_t>(second),
                                    static_cast<std::uint64_t>(third)});
        });
        // From 1601 on, ahead of which there is no date-time, so that the quotient rounds down.
        constexpr std::int64_t kEpoch = 11644473600000;
        constexpr std::int64_t kQuarter = 15 * 60 * 1000;
        const std::string quarter =
            "(event_time + " + std::to_string(kEpoch) + ") / " + std::to_string(kQuarter);
        each("SELECT " + quarter + ", time_is_own, count(*) FROM events" + where +
                 " GROUP BY 1, 2 ORDER BY 1, 2",
             [&] {
                 counts.quarters.push_back(
                     {first * kQuarter - kEpoch, second != 0, static_cast<std::uint64_t>(third)});
             });
        each("SELECT coalesce(min(event_time), 0), coalesce(max(event_time), 0), 0 FROM events" +
                 where,
             [&] {
                 counts.first = first;
                 counts.last = second;
             });
    });
    return counts;
}

EventDatabase::EventDatabase(const std::string& where, Access access)
    : session_(std::make_unique<Session>(where, access)) {}
EventDatabase::~EventDatabase() = default;

const std::string& EventDatabase::Name() const noexcept { return session_->Name(); }

std::optional<EventSource> EventDatabase::LastImport(const std::string& name) {
    return session_->Do([&] { return session_->LastImport(name); });
}

void EventDatabase::Add(std::span<const EventRow> rows, EventSource& source,
                        const EventSource& after) {
    session_->Do([&] { session_->Add(rows, source, after); });
}

void EventDatabase::Read(const EventFilter& filter, EventOrder order,
                         const std::function<bool(const EventRow&)>& take) {
    EventRow row;
    bool first = true;
    while (session_->Do([&] { return session_->ReadPage(filter, order, row, first, take); })) {
        first = false;
        CheckSignals();
    }
}

EventCounts EventDatabase::Count(const EventFilter& filter) {
    return session_->Do([&] { return session_->Count(filter); });
}

}  // namespace tmxact
