// The SQLite side of the comparison: one table of parts keyed by number, written and read
// through prepared statements only, with synchronous=FULL in either journal mode.
#ifndef MARROWS_BENCH_SQLITE_SQLITE_H
#define MARROWS_BENCH_SQLITE_SQLITE_H

#include "bench_sqlite_workload.h"

namespace sqlitebench {

class SqliteEngine : public Engine {
public:
    // wal false: journal_mode=DELETE, the rollback journal.
    explicit SqliteEngine(bool wal) : wal_(wal) {}
    const char* Name() const override { return wal_ ? "SQLite WAL" : "SQLite rollback"; }
    const char* Tag() const override { return wal_ ? "sqlite-wal" : "sqlite-delete"; }
    Outcome Bulk(const std::string& path, const Sizes& sizes) override;
    Outcome SmallCommits(const std::string& path, const Sizes& sizes) override;
    Outcome ReadAll(const std::string& path, Checksum* sum) override;
    Outcome WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) override;
    Outcome ReplaceHalf(const std::string& path, const Sizes& sizes) override;
    Outcome Reclaim(const std::string& path) override;
    uint64_t FileBytes(const std::string& path) const override;
    void Remove(const std::string& path) const override;

private:
    bool wal_;
};

// The version of the SQLite library in use.
const char* SqliteVersion();

}  // namespace sqlitebench

#endif
