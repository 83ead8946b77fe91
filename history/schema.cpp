#include "history/schema.h"

namespace history {
namespace {

// Times are seconds since the epoch. What has two ends is there from `since` on and ends before `until`; null: it goes
// on. `era` counts how often the clock of a home was set back: within one, times only grow.
constexpr const char *kFirst = R"sql(
CREATE TABLE source(
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL UNIQUE,
    anonymous TEXT NOT NULL,
    first INTEGER NOT NULL,
    last INTEGER NOT NULL,
    era INTEGER NOT NULL);
CREATE TABLE node(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    source INTEGER NOT NULL REFERENCES source,
    is_station INTEGER NOT NULL,
    mac TEXT NOT NULL,
    UNIQUE(source, is_station, mac));
CREATE VIEW device AS SELECT id, source, mac FROM node WHERE NOT is_station;
CREATE VIEW station AS SELECT id, source, mac FROM node WHERE is_station;
CREATE TABLE description(
    node INTEGER NOT NULL,
    since INTEGER NOT NULL,
    era INTEGER NOT NULL,
    name TEXT,
    address TEXT,
    more TEXT,
    PRIMARY KEY(node, since, era)) WITHOUT ROWID;
CREATE TABLE link(
    id INTEGER PRIMARY KEY,
    source INTEGER NOT NULL,
    device INTEGER,
    medium TEXT,
    interface TEXT,
    interface_name TEXT);
CREATE INDEX link_place ON link(source, device, medium, interface, interface_name);
CREATE TABLE session(
    node INTEGER NOT NULL,
    since INTEGER NOT NULL,
    era INTEGER NOT NULL,
    until INTEGER,
    link INTEGER NOT NULL,
    came INTEGER NOT NULL,
    went INTEGER,
    first_signal INTEGER,
    last_signal INTEGER,
    PRIMARY KEY(node, since, era)) WITHOUT ROWID;
CREATE TABLE event(
    source INTEGER NOT NULL,
    time INTEGER NOT NULL,
    era INTEGER NOT NULL,
    node INTEGER NOT NULL,
    kind TEXT NOT NULL,
    old TEXT,
    new TEXT,
    PRIMARY KEY(source, time, era, node, kind)) WITHOUT ROWID;
CREATE TABLE gap(
    source INTEGER NOT NULL,
    since INTEGER NOT NULL,
    era INTEGER NOT NULL,
    part TEXT NOT NULL,
    until INTEGER,
    cause TEXT NOT NULL,
    PRIMARY KEY(source, since, era, part)) WITHOUT ROWID;
CREATE TABLE tail(
    id INTEGER PRIMARY KEY,
    source INTEGER NOT NULL,
    era INTEGER NOT NULL,
    since INTEGER NOT NULL,
    until INTEGER NOT NULL,
    data BLOB NOT NULL);
CREATE TABLE chunk(
    hour INTEGER NOT NULL,
    node INTEGER NOT NULL,
    era INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(hour, node, era)) WITHOUT ROWID;
CREATE TABLE roll5(
    hour INTEGER NOT NULL,
    node INTEGER NOT NULL,
    era INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(hour, node, era)) WITHOUT ROWID;
CREATE TABLE roll60(
    day INTEGER NOT NULL,
    node INTEGER NOT NULL,
    era INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(day, node, era)) WITHOUT ROWID;
CREATE TABLE counts(
    source INTEGER NOT NULL,
    time INTEGER NOT NULL,
    era INTEGER NOT NULL,
    devices INTEGER NOT NULL,
    on_2_4ghz INTEGER NOT NULL,
    on_5ghz INTEGER NOT NULL,
    wired INTEGER NOT NULL,
    weak INTEGER NOT NULL,
    PRIMARY KEY(source, time, era)) WITHOUT ROWID;
)sql";

// What a question over months would have to count anew each time.
constexpr const char *kSecond = R"sql(
CREATE TABLE tally(
    node INTEGER NOT NULL,
    day INTEGER NOT NULL,
    roams INTEGER NOT NULL,
    backs INTEGER NOT NULL,
    PRIMARY KEY(node, day)) WITHOUT ROWID;
INSERT INTO tally
    SELECT node, since / 86400 * 86400, count(*), sum(came = 3)
    FROM session JOIN node ON node.id = session.node
    WHERE is_station AND came IN (2, 3) GROUP BY 1, 2;
CREATE TABLE spell(
    node INTEGER NOT NULL,
    since INTEGER NOT NULL,
    era INTEGER NOT NULL,
    until INTEGER NOT NULL,
    link INTEGER NOT NULL,
    n INTEGER NOT NULL,
    sum INTEGER NOT NULL,
    other INTEGER,
    other_signal INTEGER,
    PRIMARY KEY(node, since, era)) WITHOUT ROWID;
CREATE TABLE keeper(
    id INTEGER PRIMARY KEY,
    now INTEGER NOT NULL);
)sql";

constexpr const char *kSteps[] = {kFirst, kSecond};
static_assert(sizeof(kSteps) / sizeof(*kSteps) == kVersion, "each version is a step from the one before");

bool is_empty(const Database &database) { return database.number("SELECT count(*) FROM sqlite_master") == 0; }

void expect_ours(const Database &database) {
    if (database.number("PRAGMA application_id") != kApplication) {
        throw Failure(Failure::Kind::kUnreadable, database.path() + ": is a database of another program");
    }
    const Number version = database.number("PRAGMA user_version");
    if (version < 1) {
        throw Failure(Failure::Kind::kUnreadable, database.path() + ": is damaged: it has no version");
    }
    if (version > kVersion) {
        throw Failure(Failure::Kind::kNewer, database.path() + ": was written by a later version of qo1905 (tables " +
                                                 std::to_string(version) + ", this one knows " +
                                                 std::to_string(kVersion) + "); nothing in it was changed");
    }
}

// What has been tampered with could have anything under these names, such as a view that never ends.
void expect_tables(const Database &database) {
    const Number tables = database.number(
        "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN ('source', 'node', 'description', 'link', "
        "'session', 'event', 'gap', 'tail', 'chunk', 'roll5', 'roll60', 'counts', 'tally', 'spell', 'keeper')");
    constexpr Number kTables = 15;
    if (tables != kTables || database.number("SELECT count(*) FROM sqlite_master WHERE type = 'trigger'") != 0) {
        throw Failure(Failure::Kind::kUnreadable, database.path() + ": is damaged: its tables are not what they were");
    }
}

// All or nothing: whoever is killed half way finds the old version.
void upgrade(Database &database) {
    database.run("BEGIN IMMEDIATE");
    try {
        for (Number version = database.number("PRAGMA user_version"); version < kVersion; ++version) {
            database.run(kSteps[version]);
        }
        database.run("PRAGMA application_id = " + std::to_string(kApplication) +
                     "; PRAGMA user_version = " + std::to_string(kVersion) + "; COMMIT");
    } catch (const Failure &) {
        database.run("ROLLBACK");
        throw;
    }
}

}  // namespace

Database open_for_writing(const std::string &path, bool is_durable) {
    Database database(path, Database::Use::kWrite);
    if (is_empty(database)) {
        database.run("PRAGMA auto_vacuum = INCREMENTAL");
    } else {
        expect_ours(database);
    }
    // Durable: a commit is on the disk when it is said to be done.
    database.run(std::string("PRAGMA journal_mode = WAL; PRAGMA synchronous = ") + (is_durable ? "FULL" : "NORMAL"));
    if (database.number("PRAGMA user_version") < kVersion) {
        upgrade(database);
    }
    expect_tables(database);
    return database;
}

Database open_for_reading(const std::string &path) {
    Database database(path, Database::Use::kRead);
    expect_ours(database);
    if (database.number("PRAGMA user_version") < kVersion) {
        throw Failure(Failure::Kind::kUnreadable,
                      path + ": was written by an earlier version of qo1905; its `record` brings it up to date");
    }
    expect_tables(database);
    database.limit_time();
    return database;
}

}  // namespace history
