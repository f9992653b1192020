// Workspaces at scale, through the exported C interface as a client drives them: one table of the
// everyday steps at several workspace sizes, to show how each step grows with the number of
// items.
//
//   bench_workspace [--items N,N,...] [--states N] [--dir FOLDER]
//
// Each size runs in a process of its own, whose peak resident memory is the size's last row;
// the cold pass runs in a further new process. Items are named part-0000000, part-0000001, ...
// of type "Part", each with target revision "A". Every step reads back what it did, and the
// program exits non-zero if a step fails or reads a wrong value.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench_sqlite_report.h"
#include "bench_sqlite_system.h"
#include "marrows/marrows.h"

using sqlitebench::FormatBytes;
using sqlitebench::FormatSeconds;
using sqlitebench::Stopwatch;

namespace {

constexpr const char* kSizeFlag = "--one-size";
constexpr const char* kColdFlag = "--cold-pass";
constexpr const char* kWorkspace = "bench";

enum Step { kCreate, kCold, kChange, kUndo, kRedo, kUndoDeep, kPeak, kStepCount };
const char* const kStepNames[kStepCount] = {
    "create the database, a workspace and N items, one transaction",
    "a new process connects, lists the items and reads each target revision",
    "new state, change one item's target revision",
    "undo",
    "redo",
    "undo after %d more states of one change each",
    "peak resident memory of the whole run",
};

std::string ItemName(int k) {
    char name[32];
    std::snprintf(name, sizeof name, "part-%07d", k);
    return name;
}

// Stops the process with the error stack on a failed call: a step that fails has no time.
void Check(int rc, const char* what) {
    if (rc == 0) return;
    std::fprintf(stderr, "%s failed with %d\n", what, rc);
    PDMErrorDumpStack(nullptr);
    std::exit(1);
}

void Expect(bool good, const std::string& what) {
    if (good) return;
    std::fprintf(stderr, "wrong value: %s\n", what.c_str());
    std::exit(1);
}

std::string Revision(WSPIHandle item) {
    const char* text = nullptr;
    Check(PDMWSPIGetCurrWSPIVTargetRevision(item, &text), "PDMWSPIGetCurrWSPIVTargetRevision");
    return text != nullptr ? text : "";
}

WSPIHandle Item(WorkspaceHandle ws, int k) {
    WSPIHandle item = nullptr;
    Check(PDMWorkspaceGetWSPIByName(ws, ItemName(k).c_str(), &item), "PDMWorkspaceGetWSPIByName");
    Expect(item != nullptr, ItemName(k) + " is found");
    return item;
}

// The steps after the cold pass, on one connection, each in its own transaction.
class Session {
public:
    explicit Session(const std::string& path) {
        Check(PDMLDBConnect(path.c_str(), &ldb_), "PDMLDBConnect");
    }
    ~Session() { PDMLDBDisconnect(ldb_); }

    // Runs body in a transaction and commits; the seconds of both.
    template <class Body>
    double Timed(Body body) {
        Stopwatch watch;
        Check(PDMLDBStartTransaction(ldb_), "PDMLDBStartTransaction");
        WorkspaceHandle ws = nullptr;
        Check(PDMLDBGetWorkspaceByName(ldb_, kWorkspace, &ws), "PDMLDBGetWorkspaceByName");
        body(ws);
        Check(PDMLDBCommitTransaction(ldb_), "PDMLDBCommitTransaction");
        return watch.Seconds();
    }

private:
    LDBHandle ldb_ = nullptr;
};

double Create(const std::string& path, int items) {
    sqlitebench::RemoveFile(path);
    std::string directory = path + ".dir";
    std::string command = "rm -rf '" + directory + "'";
    if (std::system(command.c_str()) != 0) std::exit(1);
    Stopwatch watch;
    LDBHandle ldb = nullptr;
    Check(PDMLDBCreate(path.c_str(), &ldb), "PDMLDBCreate");
    Check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    WorkspaceHandle ws = nullptr;
    Check(PDMWorkspaceCreate(ldb, kWorkspace, directory.c_str(), "", &ws), "PDMWorkspaceCreate");
    for (int k = 0; k < items; ++k) {
        WSPIHandle item = nullptr;
        Check(PDMWorkspaceCreatePI(ws, ItemName(k).c_str(), "Part", &item), "PDMWorkspaceCreatePI");
        Check(PDMWSPISetCurrWSPIVTargetRevision(item, "A"), "PDMWSPISetCurrWSPIVTargetRevision");
    }
    Check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    double seconds = watch.Seconds();
    Check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");
    return seconds;
}

// The child of the cold pass: prints "done SECONDS".
int ColdPass(const std::string& path, int items) {
    Stopwatch watch;
    LDBHandle ldb = nullptr;
    Check(PDMLDBConnect(path.c_str(), &ldb), "PDMLDBConnect");
    Check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    WorkspaceHandle ws = nullptr;
    Check(PDMLDBGetWorkspaceByName(ldb, kWorkspace, &ws), "PDMLDBGetWorkspaceByName");
    CursorHandle cursor = nullptr;
    Check(PDMWorkspaceGetWSPIs(ws, &cursor), "PDMWorkspaceGetWSPIs");
    int count = 0;
    void* element = nullptr;
    while (PDMCursorGetNext(cursor, &element) == 0 && element != nullptr) {
        Expect(Revision(static_cast<WSPIHandle>(element)) == "A", "every revision is A");
        ++count;
    }
    PDMCursorDelete(cursor);
    Check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    double seconds = watch.Seconds();
    Check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");
    Expect(count == items, "the cursor lists every item");
    std::printf("done %.9f\n", seconds);
    return 0;
}

// One size in this process: prints "done" and the seconds of each step, then the peak.
int OneSize(const std::string& path, int items, int states) {
    std::vector<double> seconds(kStepCount, 0);
    seconds[kCreate] = Create(path, items);

    std::string output;
    if (!sqlitebench::RunSelf({kColdFlag, path, std::to_string(items)}, &output)) {
        std::fprintf(stderr, "the cold pass failed: %s\n", output.c_str());
        return 1;
    }
    std::istringstream cold(output);
    std::string word;
    cold >> word >> seconds[kCold];
    if (word != "done") return 1;

    const int changed = items / 2;
    Session session(path);
    seconds[kChange] = session.Timed([&](WorkspaceHandle ws) {
        Check(PDMWorkspaceCreateState(ws), "PDMWorkspaceCreateState");
        Check(PDMWSPISetCurrWSPIVTargetRevision(Item(ws, changed), "B"), "set revision");
    });
    session.Timed([&](WorkspaceHandle ws) { Expect(Revision(Item(ws, changed)) == "B", "B"); });
    seconds[kUndo] = session.Timed([](WorkspaceHandle ws) { Check(PDMWorkspaceUndo(ws), "Undo"); });
    session.Timed([&](WorkspaceHandle ws) { Expect(Revision(Item(ws, changed)) == "A", "undone"); });
    seconds[kRedo] = session.Timed([](WorkspaceHandle ws) { Check(PDMWorkspaceRedo(ws), "Redo"); });
    session.Timed([&](WorkspaceHandle ws) { Expect(Revision(Item(ws, changed)) == "B", "redone"); });
    for (int s = 1; s <= states; ++s) {
        session.Timed([&](WorkspaceHandle ws) {
            Check(PDMWorkspaceCreateState(ws), "PDMWorkspaceCreateState");
            Check(PDMWSPISetCurrWSPIVTargetRevision(Item(ws, (s * 7919) % items), "C"), "set");
        });
    }
    const int last = (states * 7919) % items;
    seconds[kUndoDeep] =
        session.Timed([](WorkspaceHandle ws) { Check(PDMWorkspaceUndo(ws), "Undo"); });
    session.Timed([&](WorkspaceHandle ws) {
        Expect(Revision(Item(ws, last)) != "C" || last == changed, "the last change undone");
        int number = -1;
        Check(PDMWorkspaceGetCurrentStateNumber(ws, &number), "state number");
        Expect(number == states, "the state before the last");
    });
    std::printf("done");
    for (int step = 0; step < kPeak; ++step) std::printf(" %.9f", seconds[step]);
    std::printf(" %llu\n", static_cast<unsigned long long>(sqlitebench::PeakMemory()));
    return 0;
}

std::vector<int> ParseSizes(const std::string& text) {
    std::vector<int> sizes;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, ',');) {
        int n = std::atoi(part.c_str());
        if (n <= 0) return {};
        sizes.push_back(n);
    }
    return sizes;
}

int Usage(const char* program) {
    std::fprintf(stderr, "usage: %s [--items N,N,...] [--states N] [--dir FOLDER]\n", program);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], kSizeFlag) == 0)
        return OneSize(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
    if (argc == 4 && std::strcmp(argv[1], kColdFlag) == 0)
        return ColdPass(argv[2], std::atoi(argv[3]));

    std::vector<int> sizes = {1000, 10000, 100000};
    int states = 50;
    const char* tmp = std::getenv("TMPDIR");
    std::string folder = tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
    for (int i = 1; i < argc; ++i) {
        std::string flag = argv[i];
        if (i + 1 >= argc) return Usage(argv[0]);
        std::string value = argv[++i];
        if (flag == "--items") {
            sizes = ParseSizes(value);
            if (sizes.empty()) return Usage(argv[0]);
        } else if (flag == "--states") {
            states = std::atoi(value.c_str());
            if (states <= 0) return Usage(argv[0]);
        } else if (flag == "--dir") {
            folder = value;
        } else {
            return Usage(argv[0]);
        }
    }

    std::printf("marrows workspaces at scale, %s\nMachine: %s\n", sqlitebench::Now().c_str(),
                sqlitebench::MachineDescription(folder).c_str());
    std::vector<std::string> header = {"Step (each in its own transaction, then commit)"};
    std::vector<std::vector<double>> results;
    for (int items : sizes) {
        std::string path = folder + "/bench_workspace_" + std::to_string(getpid()) + ".ldb";
        std::string output;
        bool ran = sqlitebench::RunSelf(
            {kSizeFlag, path, std::to_string(items), std::to_string(states)}, &output);
        sqlitebench::RemoveFile(path);
        std::string command = "rm -rf '" + path + ".dir'";
        if (std::system(command.c_str()) != 0) return 1;
        std::istringstream in(output);
        std::string word;
        in >> word;
        std::vector<double> values(kStepCount, 0);
        for (double& value : values) in >> value;
        if (!ran || word != "done" || !in) {
            std::fprintf(stderr, "%d items: the run failed: %s\n", items, output.c_str());
            return 1;
        }
        results.push_back(values);
        char title[32];
        std::snprintf(title, sizeof title, "%d items", items);
        header.push_back(title);
    }
    if (sizes.size() >= 2) header.push_back("growth, last two");
    sqlitebench::Table table(header);
    for (int step = 0; step < kStepCount; ++step) {
        char label[128];
        std::snprintf(label, sizeof label, kStepNames[step], states);
        std::vector<std::string> row = {label};
        for (const auto& values : results) {
            row.push_back(step == kPeak ? FormatBytes(static_cast<uint64_t>(values[step]))
                                        : FormatSeconds(values[step]));
        }
        if (results.size() >= 2) {
            double before = results[results.size() - 2][step];
            double after = results.back()[step];
            char growth[32];
            std::snprintf(growth, sizeof growth, "%.1fx", before > 0 ? after / before : 0.0);
            row.push_back(growth);
        }
        table.AddRow(row);
    }
    std::printf("\n%s", table.Render().c_str());
    return 0;
}
