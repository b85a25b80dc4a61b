-- Version 1: imported files and their actions as events.
--
-- One text for both databases; what they spell differently stands between @ signs. Points in time
-- are milliseconds since 1970-01-01 00:00 UTC.

CREATE TABLE schema_version (
    version INTEGER NOT NULL,
    applied BIGINT NOT NULL
);

-- One row for each import of a file. An import that goes on where it stopped keeps its row, which
-- changes in the same transaction as its events are added.
CREATE TABLE sources (
    id @IDENTITY@,
    name TEXT NOT NULL,              -- the absolute path, or "standard input"
    started BIGINT NOT NULL,
    bytes_done BIGINT NOT NULL,      -- where the last event that was kept ends in the file
    actions_done BIGINT NOT NULL,    -- how many actions of the file have been kept
    fingerprint BIGINT NOT NULL,     -- of these actions, so that another file isn't taken for it
    finished SMALLINT NOT NULL       -- 1 once the end of the file has been reached
);

CREATE INDEX sources_by_name ON sources (name);

-- The fields from Int64FieldA to DoubleFieldB are those of the generic event record, by its names.
-- A date-time takes two columns: its instant, and its zone's bias in minutes (UTC = local + bias).
-- There is no foreign key on source: its check would cost as much as the row.
CREATE TABLE events (
    id @IDENTITY@,
    source BIGINT NOT NULL,
    code INTEGER NOT NULL,           -- of the action
    class INTEGER NOT NULL,          -- of the action
    event_time BIGINT NOT NULL,      -- the action's first date-time, or else import_time
    time_is_own SMALLINT NOT NULL,   -- 1 if event_time is the action's
    import_time BIGINT NOT NULL,
    Int64FieldA BIGINT,
    Int64FieldB BIGINT,
    Int64FieldC BIGINT,
    Int64FieldD BIGINT,
    Int32FieldA INTEGER,
    Int32FieldB INTEGER,
    Int32FieldC INTEGER,
    Int32FieldD INTEGER,
    StringFieldA TEXT,
    StringFieldB TEXT,
    DateFieldA BIGINT,
    DateFieldABias SMALLINT,
    DateFieldB BIGINT,
    DateFieldBBias SMALLINT,
    DoubleFieldA DOUBLE PRECISION,
    DoubleFieldB DOUBLE PRECISION,
    stored @BYTES@                   -- the stored action, where the fields don't suffice
);

CREATE INDEX events_by_time ON events (event_time@THEN_ID@);

CREATE INDEX events_by_code ON events (code, event_time@THEN_ID@);
