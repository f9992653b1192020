#include "bench_sqlite_sqlite.h"

#include <sqlite3.h>

#include "bench_sqlite_system.h"

namespace sqlitebench {

const char* SqliteVersion() { return sqlite3_libversion(); }

namespace {

// A connection with the settings of the comparison. The page cache is made large enough to
// hold the whole table, as marrows keeps every object it has loaded.
class Database {
public:
    ~Database() { Close(); }
    bool Open(const std::string& path, bool wal) {
        if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            nullptr) != SQLITE_OK) {
            return false;
        }
        return Execute(wal ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=DELETE") &&
               Execute("PRAGMA synchronous=FULL") && Execute("PRAGMA cache_size=-65536");
    }
    bool Execute(const char* sql) {
        return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    bool Close() {
        if (db_ == nullptr) return true;
        bool closed = sqlite3_close(db_) == SQLITE_OK;
        db_ = nullptr;
        return closed;
    }
    std::string Error() const {
        return db_ == nullptr ? std::string("no connection") : std::string(sqlite3_errmsg(db_));
    }
    sqlite3* get() const { return db_; }

private:
    sqlite3* db_ = nullptr;
};

class Statement {
public:
    Statement(const Database& db, const char* sql) {
        if (sqlite3_prepare_v2(db.get(), sql, -1, &statement_, nullptr) != SQLITE_OK) {
            statement_ = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    bool ok() const { return statement_ != nullptr; }
    Statement& Bind(int index, int64_t value) {
        sqlite3_bind_int64(statement_, index, value);
        return *this;
    }
    Statement& Bind(int index, double value) {
        sqlite3_bind_double(statement_, index, value);
        return *this;
    }
    Statement& Bind(int index, const std::string& value) {
        sqlite3_bind_text(statement_, index, value.c_str(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }
    // Runs a statement that gives no rows, ready to run again.
    bool Run() {
        int result = sqlite3_step(statement_);
        sqlite3_reset(statement_);
        return result == SQLITE_DONE;
    }
    // SQLITE_ROW, SQLITE_DONE or a failure; the caller resets.
    int Step() { return sqlite3_step(statement_); }
    void Reset() { sqlite3_reset(statement_); }
    sqlite3_stmt* get() const { return statement_; }

private:
    sqlite3_stmt* statement_ = nullptr;
};

Outcome Failure(const Database& db, const char* step) {
    return Outcome::Failed(std::string(step) + ": " + db.Error());
}

}  // namespace

Outcome SqliteEngine::Bulk(const std::string& path, const Sizes& sizes) {
    Stopwatch watch;
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    if (!db.Execute("CREATE TABLE part(id INTEGER PRIMARY KEY, count INTEGER NOT NULL, "
                    "name TEXT NOT NULL, weight REAL NOT NULL)")) {
        return Failure(db, "create table");
    }
    {
        Statement begin(db, "BEGIN");
        Statement insert(db, "INSERT INTO part(id, count, name, weight) VALUES(?1, ?2, ?3, ?4)");
        Statement commit(db, "COMMIT");
        if (!begin.ok() || !insert.ok() || !commit.ok()) return Failure(db, "prepare");
        if (!begin.Run()) return Failure(db, "begin");
        for (int k = 0; k < sizes.objects; ++k) {
            insert.Bind(1, int64_t{k}).Bind(2, int64_t{CountOf(k)}).Bind(3, NameOf(k));
            insert.Bind(4, WeightOf(k));
            if (!insert.Run()) return Failure(db, "insert");
        }
        if (!commit.Run()) return Failure(db, "commit");
    }
    if (!db.Close()) return Failure(db, "close");
    return Outcome::Done(watch.Seconds());
}

Outcome SqliteEngine::SmallCommits(const std::string& path, const Sizes& sizes) {
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    Statement begin(db, "BEGIN");
    Statement update(db, "UPDATE part SET count = ?1 WHERE id = ?2");
    Statement commit(db, "COMMIT");
    if (!begin.ok() || !update.ok() || !commit.ok()) return Failure(db, "prepare");
    Picker picker(kCommitSeed);
    Stopwatch watch;
    for (int j = 0; j < sizes.commits; ++j) {
        int k = picker.Next(sizes.objects);
        if (!begin.Run()) return Failure(db, "begin");
        update.Bind(1, int64_t{CommittedCount(j)}).Bind(2, int64_t{k});
        if (!update.Run()) return Failure(db, "update");
        if (!commit.Run()) return Failure(db, "commit");
    }
    return Outcome::Done(watch.Seconds());
}

Outcome SqliteEngine::ReadAll(const std::string& path, Checksum* sum) {
    Stopwatch watch;
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    {
        Statement begin(db, "BEGIN");
        Statement select(db, "SELECT count, name, weight FROM part");
        Statement commit(db, "COMMIT");
        if (!begin.ok() || !select.ok() || !commit.ok()) return Failure(db, "prepare");
        if (!begin.Run()) return Failure(db, "begin");
        int result;
        while ((result = select.Step()) == SQLITE_ROW) {
            const unsigned char* name = sqlite3_column_text(select.get(), 1);
            sum->Add(sqlite3_column_int(select.get(), 0),
                     name != nullptr ? reinterpret_cast<const char*>(name) : "",
                     sqlite3_column_double(select.get(), 2));
        }
        select.Reset();
        if (result != SQLITE_DONE) return Failure(db, "select");
        if (!commit.Run()) return Failure(db, "commit");
    }
    if (!db.Close()) return Failure(db, "close");
    return Outcome::Done(watch.Seconds());
}

Outcome SqliteEngine::WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) {
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    Statement begin(db, "BEGIN");
    Statement select(db, "SELECT count FROM part WHERE id = ?1");
    Statement commit(db, "COMMIT");
    if (!begin.ok() || !select.ok() || !commit.ok()) return Failure(db, "prepare");
    if (!begin.Run()) return Failure(db, "begin");
    auto read = [&select](int k, int64_t* value) {
        select.Bind(1, int64_t{k});
        bool found = select.Step() == SQLITE_ROW;
        if (found) *value = sqlite3_column_int64(select.get(), 0);
        select.Reset();
        return found;
    };
    int64_t value = 0;
    for (int k = 0; k < sizes.objects; ++k) {
        if (!read(k, &value)) return Failure(db, "warm-up select");
    }
    Picker picker(kReadSeed);
    *total = 0;
    Stopwatch watch;
    for (int i = 0; i < sizes.reads; ++i) {
        if (!read(picker.Next(sizes.objects), &value)) return Failure(db, "select");
        *total += value;
    }
    double seconds = watch.Seconds();
    if (!commit.Run()) return Failure(db, "commit");
    return Outcome::Done(seconds);
}

Outcome SqliteEngine::ReplaceHalf(const std::string& path, const Sizes& sizes) {
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    {
        // The new rows get new keys, as new objects get new places: the old rows become free
        // pages inside the file for VACUUM to give back.
        Statement begin(db, "BEGIN");
        Statement copy(db, "INSERT INTO part(id, count, name, weight) "
                           "SELECT id + ?1, count, name, weight FROM part WHERE id = ?2");
        Statement remove(db, "DELETE FROM part WHERE id = ?1");
        Statement commit(db, "COMMIT");
        if (!begin.ok() || !copy.ok() || !remove.ok() || !commit.ok()) {
            return Failure(db, "prepare");
        }
        if (!begin.Run()) return Failure(db, "begin");
        for (int k = 0; k < sizes.objects; k += 2) {
            copy.Bind(1, int64_t{sizes.objects}).Bind(2, int64_t{k});
            if (!copy.Run()) return Failure(db, "copy");
            remove.Bind(1, int64_t{k});
            if (!remove.Run()) return Failure(db, "delete");
        }
        if (!commit.Run()) return Failure(db, "commit");
    }
    if (!db.Close()) return Failure(db, "close");
    return Outcome::Done(0);
}

Outcome SqliteEngine::Reclaim(const std::string& path) {
    Stopwatch watch;
    Database db;
    if (!db.Open(path, wal_)) return Failure(db, "open");
    {
        Statement vacuum(db, "VACUUM");
        if (!vacuum.ok()) return Failure(db, "prepare");
        if (!vacuum.Run()) return Failure(db, "vacuum");
    }
    if (!db.Close()) return Failure(db, "close");
    return Outcome::Done(watch.Seconds());
}

uint64_t SqliteEngine::FileBytes(const std::string& path) const {
    return FileSize(path) + FileSize(path + "-journal") + FileSize(path + "-wal");
}

void SqliteEngine::Remove(const std::string& path) const {
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) RemoveFile(path + suffix);
}

}  // namespace sqlitebench
