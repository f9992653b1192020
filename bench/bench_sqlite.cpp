// marrows beside SQLite: the same work on the same machine, one table of times and file sizes.
//
//   bench_sqlite [--runs N] [--objects N] [--commits N] [--reads N] [--bucket-size N]
//                [--dir FOLDER] [--engines marrows,sqlite-delete,sqlite-wal] [--library PATH]
//                [--keep]
//
// --keep leaves the database files of the last run in place and says how to read one again in
// a new process, which is the way to profile a cold read on its own.
//
// It exits non-zero when a workload fails or reads back values other than those written; a
// workload whose marrows exports are not in the library yet shows "n/a".
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench_sqlite_marrows.h"
#include "bench_sqlite_report.h"
#include "bench_sqlite_runner.h"
#include "bench_sqlite_sqlite.h"
#include "bench_sqlite_system.h"

#ifndef MARROWS_LIBRARY_FILE
#define MARROWS_LIBRARY_FILE "libmarrows.so"
#endif

namespace {

using namespace sqlitebench;

int Usage(const char* program) {
    std::fprintf(stderr,
                 "usage: %s [--runs N] [--objects N] [--commits N] [--reads N] "
                 "[--bucket-size N] [--dir FOLDER] [--engines TAG,...] [--library PATH] [--keep]\n"
                 "engines: marrows, sqlite-delete, sqlite-wal\n",
                 program);
    return 2;
}

bool ParseCount(const char* text, int minimum, int* out) {
    char* end = nullptr;
    long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < minimum || value > 100000000) return false;
    *out = static_cast<int>(value);
    return true;
}

std::vector<std::string> SplitCommas(const std::string& text) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        if (comma == std::string::npos) comma = text.size();
        if (comma > start) parts.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    return parts;
}

std::string DefaultFolder() {
    const char* tmp = std::getenv("TMPDIR");
    return tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], kReadAllFlag) == 0) {
        return ReadAllChild(argv[2], argv[3], argv[4]);
    }

    Config config;
    config.folder = DefaultFolder();
    config.library = MARROWS_LIBRARY_FILE;
    std::vector<std::string> tags = {"marrows", "sqlite-delete", "sqlite-wal"};
    for (int i = 1; i < argc; ++i) {
        std::string flag = argv[i];
        if (flag == "--keep") {
            config.keep = true;
            continue;
        }
        if (i + 1 >= argc) return Usage(argv[0]);
        const char* value = argv[++i];
        bool good = true;
        if (flag == "--runs") {
            good = ParseCount(value, 1, &config.runs);
        } else if (flag == "--objects") {
            good = ParseCount(value, 2, &config.sizes.objects);
        } else if (flag == "--commits") {
            good = ParseCount(value, 0, &config.sizes.commits);
        } else if (flag == "--reads") {
            good = ParseCount(value, 0, &config.sizes.reads);
        } else if (flag == "--bucket-size") {
            good = ParseCount(value, 0, &config.sizes.bucket_size);
        } else if (flag == "--dir") {
            config.folder = value;
        } else if (flag == "--library") {
            config.library = value;
        } else if (flag == "--engines") {
            tags = SplitCommas(value);
        } else {
            good = false;
        }
        if (!good) return Usage(argv[0]);
    }

    MarrowsApi api;
    std::string why;
    bool loaded = api.Load(config.library, &why);
    std::vector<std::unique_ptr<Engine>> owned;
    std::vector<Engine*> engines;
    for (const std::string& tag : tags) {
        owned.push_back(MakeEngine(tag, api));
        if (owned.back() == nullptr) return Usage(argv[0]);
        engines.push_back(owned.back().get());
    }

    std::printf("marrows beside SQLite %s, %s\n", SqliteVersion(), Now().c_str());
    std::printf("Machine: %s\n", MachineDescription(config.folder).c_str());
    if (!loaded) std::printf("marrows library not loaded: %s\n", why.c_str());
    std::printf("Each time is the median of %d runs; a run does every workload on every engine "
                "in turn. Wall-clock times on a machine that may be busy: single runs vary.\n",
                config.runs);
    if (config.sizes.bucket_size > 0) {
        std::printf("marrows keeps the objects in holder objects of %d each, hung off the "
                    "database's root.\n\n",
                    config.sizes.bucket_size);
    } else {
        std::printf("marrows hangs the objects off the database's root directly.\n\n");
    }
    std::fflush(stdout);

    Report report = RunAll(config, engines);
    std::printf("%s", RenderReport(report, config).c_str());
    std::printf("Whole run: %s.\n", FormatSeconds(report.elapsed).c_str());
    return report.failed() ? 1 : 0;
}
