// Tests of the comparison with SQLite: its arithmetic and table, and above all that every
// engine reads back exactly what it wrote, so that a time in the table is never the time of
// work that went wrong.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "bench_sqlite_marrows.h"
#include "bench_sqlite_report.h"
#include "bench_sqlite_runner.h"
#include "bench_sqlite_sqlite.h"
#include "bench_sqlite_system.h"

namespace sqlitebench {
namespace {

class ScratchFolder {
public:
    ScratchFolder() {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") +
                              "/bench_sqlite_test_XXXXXX";
        char* made = mkdtemp(&pattern[0]);
        if (made != nullptr) path_ = made;
    }
    ~ScratchFolder() {
        if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

Sizes SmallSizes() {
    Sizes sizes;
    sizes.objects = 500;
    sizes.commits = 7;
    sizes.reads = 300;
    sizes.bucket_size = 64;
    return sizes;
}

TEST(BenchSqliteReport, MedianOfOddEvenAndEmptySets) {
    struct Case {
        std::vector<double> values;
        double median;
    } cases[] = {
        {{}, 0}, {{5}, 5}, {{9, 1, 5}, 5}, {{4, 1, 3, 2}, 2.5}, {{7, 7, 1}, 7},
    };
    for (const Case& c : cases) EXPECT_DOUBLE_EQ(Median(c.values), c.median);
}

TEST(BenchSqliteReport, UnitsChangeAtThreeSignificantDigits) {
    struct Case {
        double seconds;
        const char* text;
    } times[] = {
        {0.0000004, "400 ns"}, {0.000812, "812 us"}, {0.0042123, "4.21 ms"},
        {0.0379, "37.9 ms"},   {0.9996, "1.00 s"},   {12.46, "12.5 s"}, {250, "250 s"},
    };
    for (const auto& c : times) EXPECT_EQ(FormatSeconds(c.seconds), c.text) << c.seconds;
    EXPECT_EQ(FormatBytes(1000), "1000 B");
    EXPECT_EQ(FormatBytes(640 * 1024), "640 KiB");
    EXPECT_EQ(FormatBytes(4414504), "4.21 MiB");
    EXPECT_EQ(FormatRatio(3, 1), "3.00");
    EXPECT_EQ(FormatRatio(25, 1), "25.0");
    EXPECT_EQ(FormatRatio(137.8, 1), "138");
    EXPECT_EQ(FormatRatio(1, 0), "n/a");
    EXPECT_EQ(FormatRatio(0, 1), "n/a");
}

TEST(BenchSqliteReport, ColumnsLineUpWithWideCharactersAndShortRows) {
    Table table({"Workload", "time", "file"});
    table.AddRow({"Reclaim", "1.20 s", "9.00 MiB \u2192 4.00 MiB"});
    table.AddRow({"Bulk"});
    std::string text = table.Render();
    // Every line has its bars in the same columns, counted as a reader sees them.
    std::vector<std::vector<size_t>> bars;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        std::string line = text.substr(start, end - start);
        std::vector<size_t> at;
        size_t column = 0;
        for (unsigned char c : line) {
            if ((c & 0xC0) == 0x80) continue;
            if (c == '|') at.push_back(column);
            ++column;
        }
        bars.push_back(at);
        start = end + 1;
    }
    ASSERT_EQ(bars.size(), 4u);
    for (const auto& at : bars) EXPECT_EQ(at, bars[0]);
    EXPECT_EQ(bars[0].size(), 4u);
}

TEST(BenchSqliteWorkload, ChecksumIgnoresOrderButNotValues) {
    Checksum forward, backward, changed;
    for (int k = 0; k < 50; ++k) forward.Add(CountOf(k), NameOf(k).c_str(), WeightOf(k));
    for (int k = 49; k >= 0; --k) backward.Add(CountOf(k), NameOf(k).c_str(), WeightOf(k));
    for (int k = 0; k < 50; ++k) {
        changed.Add(CountOf(k), NameOf(k == 7 ? 8 : k).c_str(), WeightOf(k));
    }
    EXPECT_EQ(forward, backward);
    EXPECT_NE(forward, changed);
    Checksum parsed;
    ASSERT_TRUE(Checksum::Parse(forward.Text(), &parsed));
    EXPECT_EQ(parsed, forward);
    EXPECT_FALSE(Checksum::Parse("12 x", &parsed));
}

// Runs the workloads of one engine in order and checks every read against what was written.
void ExpectEngineReadsBackWhatItWrote(Engine& engine, const std::string& folder) {
    Sizes sizes = SmallSizes();
    std::string path = folder + "/" + engine.Tag() + ".db";
    ASSERT_TRUE(engine.Bulk(path, sizes).ok());
    ASSERT_TRUE(engine.SmallCommits(path, sizes).ok());
    std::vector<int32_t> counts = ExpectedCounts(sizes, true);

    Checksum sum;
    ASSERT_TRUE(engine.ReadAll(path, &sum).ok());
    EXPECT_EQ(sum, ExpectedChecksum(counts));

    int64_t total = 0;
    ASSERT_TRUE(engine.WarmReads(path, sizes, &total).ok());
    EXPECT_EQ(total, ExpectedWarmTotal(sizes, counts));

    ASSERT_TRUE(engine.ReplaceHalf(path, sizes).ok());
    uint64_t before = engine.FileBytes(path);
    Outcome reclaim = engine.Reclaim(path);
    if (reclaim.status == Outcome::kMissing) return;
    ASSERT_TRUE(reclaim.ok()) << reclaim.note;
    EXPECT_LT(engine.FileBytes(path), before);
    Checksum after;
    ASSERT_TRUE(engine.ReadAll(path, &after).ok());
    EXPECT_EQ(after, ExpectedChecksum(counts));
    engine.Remove(path);
    EXPECT_EQ(engine.FileBytes(path), 0u);
}

TEST(BenchSqliteEngines, SqliteInEitherJournalModeReadsBackWhatItWrote) {
    ScratchFolder folder;
    ASSERT_FALSE(folder.path().empty());
    for (bool wal : {false, true}) {
        SCOPED_TRACE(wal ? "WAL" : "rollback journal");
        SqliteEngine engine(wal);
        ExpectEngineReadsBackWhatItWrote(engine, folder.path());
    }
}

TEST(BenchSqliteEngines, MarrowsReadsBackWhatItWroteInEitherLayout) {
    MarrowsApi api;
    std::string why;
    ASSERT_TRUE(api.Load(MARROWS_LIBRARY_FILE, &why)) << why;
    std::string missing = api.Missing({"PDMLDBCreate", "PDMLDBConnect", "PDMLDBObjectCreate",
                                       "PDMLDBObjectSetLDBAttribute"});
    if (!missing.empty()) GTEST_SKIP() << "the library lacks " << missing;
    ScratchFolder folder;
    MarrowsEngine engine(api);
    ExpectEngineReadsBackWhatItWrote(engine, folder.path());
}

TEST(BenchSqliteEngines, MarrowsWithoutItsLibraryReportsMissingInsteadOfCrashing) {
    MarrowsApi api;
    std::string why;
    EXPECT_FALSE(api.Load("/nonexistent/libmarrows.so", &why));
    EXPECT_FALSE(why.empty());
    MarrowsEngine engine(api);
    Sizes sizes = SmallSizes();
    Checksum sum;
    int64_t total = 0;
    Outcome outcomes[] = {engine.Bulk("/nonexistent/x.ldb", sizes),
                          engine.SmallCommits("/nonexistent/x.ldb", sizes),
                          engine.ReadAll("/nonexistent/x.ldb", &sum),
                          engine.WarmReads("/nonexistent/x.ldb", sizes, &total),
                          engine.ReplaceHalf("/nonexistent/x.ldb", sizes),
                          engine.Reclaim("/nonexistent/x.ldb")};
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.status, Outcome::kMissing);
        EXPECT_NE(outcome.note.find("PDMErrorDumpStack"), std::string::npos) << outcome.note;
    }
}

// SQLite with warm reads that add up wrong, as an engine with a faulty read path would.
class MiscountingEngine : public SqliteEngine {
public:
    MiscountingEngine() : SqliteEngine(false) {}
    Outcome WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) override {
        Outcome outcome = SqliteEngine::WarmReads(path, sizes, total);
        *total += 1;
        return outcome;
    }
};

TEST(BenchSqliteRunner, WrongReadsFailTheRunAndOnlyTheirCell) {
    ScratchFolder folder;
    Config config;
    config.sizes = SmallSizes();
    config.runs = 2;
    config.folder = folder.path();
    config.library = MARROWS_LIBRARY_FILE;
    config.progress = false;
    SqliteEngine good(true);
    MiscountingEngine bad;
    Report report = RunAll(config, {&good, &bad});
    ASSERT_EQ(report.engines.size(), 2u);
    EXPECT_TRUE(report.failed());
    for (int w = 0; w < kWorkloadCount; ++w) {
        EXPECT_TRUE(report.engines[0].cells[w].ran()) << w << report.engines[0].cells[w].note;
        EXPECT_EQ(report.engines[0].cells[w].times.size(), 2u);
        if (w == kWarmRead) {
            EXPECT_EQ(report.engines[1].cells[w].status, Outcome::kFailed);
        } else {
            EXPECT_TRUE(report.engines[1].cells[w].ran()) << w;
        }
    }
    std::string text = RenderReport(report, config);
    EXPECT_NE(text.find("FAILED: the warm reads added up to"), std::string::npos) << text;
}

TEST(BenchSqliteRunner, MissingExportsShowAsNotAvailableWithoutFailingTheRun) {
    ScratchFolder folder;
    Config config;
    config.sizes = SmallSizes();
    config.runs = 1;
    config.folder = folder.path();
    config.library = "/nonexistent/libmarrows.so";
    config.progress = false;
    MarrowsApi api;
    std::string why;
    api.Load(config.library, &why);
    MarrowsEngine ours(api);
    SqliteEngine theirs(false);
    Report report = RunAll(config, {&ours, &theirs});
    EXPECT_FALSE(report.failed());
    std::string text = RenderReport(report, config);
    EXPECT_NE(text.find(" n/a |"), std::string::npos) << text;
    EXPECT_NE(text.find("marrows (bulk, commits, cold, warm, reclaim) n/a: the library lacks"),
              std::string::npos)
        << text;
}

}  // namespace
}  // namespace sqlitebench

// The cold reads of the runner start this program again as their reading process.
int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], sqlitebench::kReadAllFlag) == 0) {
        return sqlitebench::ReadAllChild(argv[2], argv[3], argv[4]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
