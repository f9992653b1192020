#include "bench_sqlite_runner.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <unistd.h>

#include "bench_sqlite_report.h"
#include "bench_sqlite_sqlite.h"
#include "bench_sqlite_system.h"

namespace sqlitebench {

bool Report::failed() const {
    for (const EngineReport& engine : engines) {
        for (const Cell& cell : engine.cells) {
            if (cell.status == Outcome::kFailed) return true;
        }
    }
    return false;
}

std::unique_ptr<Engine> MakeEngine(const std::string& tag, const MarrowsApi& api) {
    if (tag == "marrows") return std::make_unique<MarrowsEngine>(api);
    if (tag == "sqlite-delete") return std::make_unique<SqliteEngine>(false);
    if (tag == "sqlite-wal") return std::make_unique<SqliteEngine>(true);
    return nullptr;
}

int ReadAllChild(const std::string& tag, const std::string& path, const std::string& library) {
    MarrowsApi api;
    std::string why;
    if (tag == "marrows" && !api.Load(library, &why)) {
        std::printf("missing %s\n", why.c_str());
        return 0;
    }
    std::unique_ptr<Engine> engine = MakeEngine(tag, api);
    if (engine == nullptr) return 2;
    Checksum sum;
    Outcome outcome = engine->ReadAll(path, &sum);
    switch (outcome.status) {
        case Outcome::kDone:
            std::printf("done %.9f %llu %s\n", outcome.seconds,
                        static_cast<unsigned long long>(PeakMemory()), sum.Text().c_str());
            break;
        case Outcome::kMissing:
            std::printf("missing %s\n", outcome.note.c_str());
            break;
        case Outcome::kFailed:
            std::printf("failed %s\n", outcome.note.c_str());
            break;
    }
    return 0;
}

namespace {

const char* const kWorkloadWords[kWorkloadCount] = {"bulk", "commits", "cold", "warm",
                                                     "reclaim"};

// A cold read in a new process of this program.
Outcome ReadInChild(const Config& config, const Engine& engine, const std::string& path,
                    Checksum* sum) {
    std::string output;
    if (!RunSelf({kReadAllFlag, engine.Tag(), path, config.library}, &output)) {
        return Outcome::Failed("the reading process failed: " + output);
    }
    std::istringstream in(output);
    std::string word, rest;
    in >> word;
    std::getline(in >> std::ws, rest);
    if (word == "missing") return Outcome::Missing(rest);
    if (word == "failed") return Outcome::Failed(rest);
    double seconds = 0;
    unsigned long long peak = 0;
    std::istringstream numbers(rest);
    numbers >> seconds >> peak;
    std::string checksum;
    std::getline(numbers >> std::ws, checksum);
    if (word != "done" || !Checksum::Parse(checksum, sum)) {
        return Outcome::Failed("the reading process printed: " + output);
    }
    Outcome done = Outcome::Done(seconds);
    done.peak_memory = peak;
    return done;
}

void Record(Cell* cell, const Outcome& outcome) {
    if (outcome.status == Outcome::kDone) {
        if (cell->status == Outcome::kDone) cell->times.push_back(outcome.seconds);
        cell->peak_memory = std::max(cell->peak_memory, outcome.peak_memory);
        return;
    }
    // A failure outranks a missing export, which outranks a time.
    if (outcome.status == Outcome::kFailed || cell->status == Outcome::kDone) {
        if (cell->status != Outcome::kFailed) {
            cell->status = outcome.status;
            cell->note = outcome.note;
        }
    }
}

class EngineRun {
public:
    EngineRun(const Config& config, Engine& engine, EngineReport* report, bool verify_reclaim)
        : config_(config), engine_(engine), report_(report), verify_reclaim_(verify_reclaim) {
        path_ = config.folder + "/bench_sqlite_" + std::to_string(getpid()) + "_" +
                engine.Tag() + ".db";
    }
    ~EngineRun() {
        if (!config_.keep) engine_.Remove(path_);
    }
    const std::string& path() const { return path_; }

    // Each step runs on what the steps before it left; once one of them gave no database,
    // those after it have nothing to work on.
    void Run() {
        engine_.Remove(path_);
        Outcome bulk = Measured([&] { return engine_.Bulk(path_, config_.sizes); });
        Note(kBulk, bulk);
        if (!bulk.ok()) return SkipFrom(kSmallCommits, bulk);
        cell(kBulk).size_after = engine_.FileBytes(path_);

        Outcome commits = Measured([&] { return engine_.SmallCommits(path_, config_.sizes); });
        Note(kSmallCommits, commits);
        cell(kSmallCommits).size_after = engine_.FileBytes(path_);
        if (commits.status == Outcome::kFailed) return SkipFrom(kColdRead, commits);
        std::vector<int32_t> counts = ExpectedCounts(config_.sizes, commits.ok());
        Checksum expected = ExpectedChecksum(counts);

        Checksum sum;
        Outcome cold = ReadInChild(config_, engine_, path_, &sum);
        if (cold.ok() && sum != expected) {
            cold = Outcome::Failed("the cold read gave " + sum.Text() + " instead of " +
                                   expected.Text());
        }
        Note(kColdRead, cold);

        int64_t total = 0;
        Outcome warm =
            Measured([&] { return engine_.WarmReads(path_, config_.sizes, &total); });
        if (warm.ok() && total != ExpectedWarmTotal(config_.sizes, counts)) {
            warm = Outcome::Failed("the warm reads added up to " + std::to_string(total));
        }
        Note(kWarmRead, warm);

        Outcome reclaim = engine_.ReplaceHalf(path_, config_.sizes);
        cell(kReclaim).size_before = engine_.FileBytes(path_);
        if (reclaim.ok()) reclaim = Measured([&] { return engine_.Reclaim(path_); });
        cell(kReclaim).size_after = engine_.FileBytes(path_);
        if (reclaim.ok() && verify_reclaim_) {
            // Reclaiming space must not change a value. One full read more is slow on a
            // store that loads objects one by one, so only the first run pays for it.
            Checksum after;
            Outcome check = ReadInChild(config_, engine_, path_, &after);
            if (check.ok() && after != expected) {
                reclaim = Outcome::Failed("after the reclaim a full read gave " + after.Text() +
                                          " instead of " + expected.Text());
            } else if (check.status == Outcome::kFailed) {
                reclaim = Outcome::Failed("the read after the reclaim: " + check.note);
            }
        }
        Note(kReclaim, reclaim);
    }

    std::string Summary() const {
        std::string out;
        for (int w = 0; w < kWorkloadCount; ++w) {
            out += std::string("  ") + kWorkloadWords[w] + " " + summary_[w];
        }
        return out;
    }

private:
    // A workload of this process, with the peak of resident memory it reached.
    template <class Work>
    static Outcome Measured(Work work) {
        ResetPeakMemory();
        Outcome outcome = work();
        outcome.peak_memory = PeakMemory();
        return outcome;
    }
    Cell& cell(Workload workload) { return report_->cells[workload]; }
    void Note(Workload workload, const Outcome& outcome) {
        Record(&cell(workload), outcome);
        summary_[workload] = outcome.ok() ? FormatSeconds(outcome.seconds)
                             : outcome.status == Outcome::kMissing ? "n/a"
                                                                   : "FAILED";
        if (outcome.status == Outcome::kFailed) {
            std::fprintf(stderr, "%s, %s: %s\n", engine_.Name(), kWorkloadWords[workload],
                         outcome.note.c_str());
        }
    }
    void SkipFrom(Workload first, const Outcome& cause) {
        Outcome skipped = cause.status == Outcome::kMissing
                              ? cause
                              : Outcome::Missing("no database: an earlier step failed");
        for (int w = first; w < kWorkloadCount; ++w) Note(static_cast<Workload>(w), skipped);
    }

    const Config& config_;
    Engine& engine_;
    EngineReport* report_;
    bool verify_reclaim_;
    std::string path_;
    std::string summary_[kWorkloadCount] = {"-", "-", "-", "-", "-"};
};

}  // namespace

Report RunAll(const Config& config, const std::vector<Engine*>& engines) {
    Stopwatch watch;
    Report report;
    for (Engine* engine : engines) {
        report.engines.emplace_back();
        report.engines.back().name = engine->Name();
    }
    for (int run = 1; run <= config.runs; ++run) {
        std::vector<double> fsyncs = FsyncTimes(config.folder, 20);
        report.fsync_times.insert(report.fsync_times.end(), fsyncs.begin(), fsyncs.end());
        for (size_t e = 0; e < engines.size(); ++e) {
            EngineRun engine_run(config, *engines[e], &report.engines[e], run == 1);
            engine_run.Run();
            if (config.progress) {
                std::fprintf(stderr, "run %d of %d, %-16s%s\n", run, config.runs,
                             engines[e]->Name(), engine_run.Summary().c_str());
            }
            if (config.keep && run == config.runs) {
                std::fprintf(stderr, "kept %s; read it again with: %s %s %s %s\n",
                             engine_run.path().c_str(), "bench_sqlite", kReadAllFlag,
                             engines[e]->Tag(), (engine_run.path() + " " + config.library).c_str());
            }
        }
    }
    report.elapsed = watch.Seconds();
    return report;
}

namespace {

std::string Thousands(long value) {
    std::string digits = std::to_string(value);
    std::string out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
        out += digits[i];
    }
    return out;
}

std::string TimeText(const Cell& cell) {
    if (cell.status == Outcome::kFailed) return "failed";
    if (!cell.ran()) return "n/a";
    return FormatSeconds(Median(cell.times));
}

double MedianOrZero(const Cell& cell) { return cell.ran() ? Median(cell.times) : 0; }

std::string SizeText(const Cell& cell, Workload workload) {
    if (cell.status != Outcome::kDone || cell.size_after == 0) return "";
    if (workload == kReclaim) {
        return FormatBytes(cell.size_before) + " \u2192 " + FormatBytes(cell.size_after);
    }
    if (workload == kBulk || workload == kSmallCommits) return FormatBytes(cell.size_after);
    return "";
}

}  // namespace

std::string RenderReport(const Report& report, const Config& config) {
    const Sizes& sizes = config.sizes;
    int ours = -1;
    for (size_t e = 0; e < report.engines.size(); ++e) {
        if (report.engines[e].name == "marrows") ours = static_cast<int>(e);
    }

    std::vector<std::string> header = {"Workload"};
    for (size_t e = 0; e < report.engines.size(); ++e) {
        header.push_back(report.engines[e].name);
        if (ours >= 0 && static_cast<int>(e) != ours) header.push_back("ratio");
    }
    for (const EngineReport& engine : report.engines) header.push_back("file, " + engine.name);
    for (const EngineReport& engine : report.engines) header.push_back("peak, " + engine.name);
    Table table(header);

    const std::string labels[kWorkloadCount] = {
        "Bulk: " + Thousands(sizes.objects) + " objects, one transaction",
        "Small commits: " + Thousands(sizes.commits) + " transactions",
        "Cold read: new process, every value",
        "Warm read: " + Thousands(sizes.reads) + " random objects",
        "Reclaim: compaction / VACUUM",
    };
    for (int w = 0; w < kWorkloadCount; ++w) {
        std::vector<std::string> row = {labels[w]};
        for (size_t e = 0; e < report.engines.size(); ++e) {
            const Cell& cell = report.engines[e].cells[w];
            row.push_back(TimeText(cell));
            if (ours >= 0 && static_cast<int>(e) != ours) {
                row.push_back(FormatRatio(MedianOrZero(report.engines[ours].cells[w]),
                                          MedianOrZero(cell)));
            }
        }
        for (const EngineReport& engine : report.engines) {
            row.push_back(SizeText(engine.cells[w], static_cast<Workload>(w)));
        }
        for (const EngineReport& engine : report.engines) {
            const Cell& cell = engine.cells[w];
            row.push_back(cell.ran() && cell.peak_memory != 0 ? FormatBytes(cell.peak_memory) : "");
        }
        table.AddRow(row);
    }

    std::string out = table.Render();
    out += "\n";
    if (ours >= 0 && report.engines.size() > 1) {
        out += "ratio: marrows time / the time to its left; above 1, marrows is slower.\n";
    }
    out += "peak: the most memory resident in the process during the workload, the program and "
           "the engine's library included; the cold read's is its own new process's.\n";
    if (!report.fsync_times.empty()) {
        double floor = Median(report.fsync_times);
        auto range = std::minmax_element(report.fsync_times.begin(), report.fsync_times.end());
        out += "Floor of a durable commit on this disk: one fsync after a 4 KiB write, " +
               FormatSeconds(floor) + " (median of " +
               std::to_string(report.fsync_times.size()) + ", from " +
               FormatSeconds(*range.first) + " to " + FormatSeconds(*range.second) + ").\n";
        std::string per_commit;
        for (const EngineReport& engine : report.engines) {
            const Cell& cell = engine.cells[kSmallCommits];
            if (!cell.ran() || sizes.commits <= 0) continue;
            double each = Median(cell.times) / sizes.commits;
            char floors[32];
            std::snprintf(floors, sizeof floors, "%.1f", each / floor);
            per_commit += std::string(per_commit.empty() ? "" : ", ") + engine.name + " " +
                          FormatSeconds(each) + " (" + floors + " floors)";
        }
        if (!per_commit.empty()) out += "One small commit: " + per_commit + ".\n";
    } else {
        out += "Floor of a durable commit: the test file could not be written.\n";
    }
    // One line for each reason a cell has no time, naming the workloads it stands for.
    for (const EngineReport& engine : report.engines) {
        std::vector<std::pair<std::string, std::string>> reasons;  // reason, workloads
        for (int w = 0; w < kWorkloadCount; ++w) {
            const Cell& cell = engine.cells[w];
            if (cell.status == Outcome::kDone) continue;
            std::string reason =
                (cell.status == Outcome::kMissing ? "n/a: " : "FAILED: ") + cell.note;
            auto found = std::find_if(reasons.begin(), reasons.end(),
                                      [&reason](const auto& r) { return r.first == reason; });
            if (found == reasons.end()) {
                reasons.emplace_back(reason, kWorkloadWords[w]);
            } else {
                found->second += std::string(", ") + kWorkloadWords[w];
            }
        }
        for (const auto& reason : reasons) {
            out += engine.name + " (" + reason.second + ") " + reason.first + "\n";
        }
    }
    return out;
}

}  // namespace sqlitebench
