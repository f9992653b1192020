// Runs every workload on every engine several times, checks what each read gives against the
// values that were written, and turns the medians into the printed report.
#ifndef MARROWS_BENCH_SQLITE_RUNNER_H
#define MARROWS_BENCH_SQLITE_RUNNER_H

#include <memory>
#include <string>
#include <vector>

#include "bench_sqlite_marrows.h"
#include "bench_sqlite_workload.h"

namespace sqlitebench {

enum Workload { kBulk, kSmallCommits, kColdRead, kWarmRead, kReclaim, kWorkloadCount };

struct Config {
    Sizes sizes;
    int runs = 3;
    std::string folder;   // where the database files go
    std::string library;  // libmarrows.so, also handed to the child processes
    bool progress = true; // one line per engine and run on standard error
    bool keep = false;    // leave the files of the last run, to profile a read of them
};

// One workload on one engine over all runs.
struct Cell {
    Outcome::Status status = Outcome::kDone;
    std::vector<double> times;
    std::string note;           // why it is missing or failed
    uint64_t size_before = 0;   // the files before the reclaim
    uint64_t size_after = 0;    // the files after the workload, in the last run
    uint64_t peak_memory = 0;   // the process's peak resident memory over all runs
    bool ran() const { return status == Outcome::kDone && !times.empty(); }
};

struct EngineReport {
    std::string name;
    Cell cells[kWorkloadCount];
};

struct Report {
    std::vector<EngineReport> engines;
    // Times of one fsync after a 4 KiB write, sampled before each run: the disk's speed
    // changes with what else the machine does.
    std::vector<double> fsync_times;
    double elapsed = 0;
    bool failed() const;
};

// The engine that a tag names ("marrows", "sqlite-delete", "sqlite-wal"), or null.
std::unique_ptr<Engine> MakeEngine(const std::string& tag, const MarrowsApi& api);

// The runs, engine after engine within each run, so that noise from other work on the
// machine falls on all engines alike.
Report RunAll(const Config& config, const std::vector<Engine*>& engines);

// The table and the lines under it.
std::string RenderReport(const Report& report, const Config& config);

// The child process of a cold read: reads the whole database with the engine that tag names
// and prints "done SECONDS CHECKSUM", "missing WHAT" or "failed WHAT". 0 unless it could not
// even tell.
int ReadAllChild(const std::string& tag, const std::string& path, const std::string& library);

// The arguments that make this program a cold-read child.
constexpr const char* kReadAllFlag = "--read-all";

}  // namespace sqlitebench

#endif
