// The workloads that the comparison with SQLite runs, and the data they work on. Every engine
// does the same logical work on the same values, so that each read can be checked against the
// others: object k of n has a count, a name and a weight that depend on k alone, and the small
// commits change counts in one fixed pseudo-random order.
#ifndef MARROWS_BENCH_SQLITE_WORKLOAD_H
#define MARROWS_BENCH_SQLITE_WORKLOAD_H

#include <cstdint>
#include <string>
#include <vector>

namespace sqlitebench {

struct Sizes {
    int objects = 100000;    // application objects written by the bulk load
    int commits = 1000;      // small transactions, each changing one count
    int reads = 100000;      // random reads of one count with the cache warm
    int bucket_size = 1000;  // objects per holder object on the marrows side; 0: off the root
};

// The values of object k. Texts are short and alike, as part names are.
int32_t CountOf(int k);
std::string NameOf(int k);
double WeightOf(int k);
// The key under which object k is found: its part number.
std::string KeyOf(int k);
// The count that small commit j writes.
int32_t CommittedCount(int j);

// The fixed pseudo-random order of objects that the small commits and the warm reads visit.
class Picker {
public:
    explicit Picker(uint64_t seed) : state_(seed * 2654435761u + 1) {}
    int Next(int bound);

private:
    uint64_t state_;
};
constexpr uint64_t kCommitSeed = 17;
constexpr uint64_t kReadSeed = 29;

// The counts of all objects once the bulk load and, if they ran, the small commits are done.
std::vector<int32_t> ExpectedCounts(const Sizes& sizes, bool commits_done);

// What a full read of the data adds up to. It does not depend on the order of the reads, so
// engines that walk their objects differently must still agree.
struct Checksum {
    int64_t objects = 0;
    int64_t counts = 0;
    uint64_t names = 0;    // sum of a hash of each name
    int64_t weights = 0;   // sum of four times each weight, which is whole
    void Add(int32_t count, const char* name, double weight);
    bool operator==(const Checksum& other) const;
    bool operator!=(const Checksum& other) const { return !(*this == other); }
    std::string Text() const;
    static bool Parse(const std::string& text, Checksum* out);
};

// What a full read gives, and what the timed warm reads add up to, on data with these counts.
Checksum ExpectedChecksum(const std::vector<int32_t>& counts);
int64_t ExpectedWarmTotal(const Sizes& sizes, const std::vector<int32_t>& counts);

// The result of one timed step.
struct Outcome {
    enum Status { kDone, kMissing, kFailed };
    Status status = kFailed;
    double seconds = 0;
    std::string note;  // the missing exports, or what failed
    uint64_t peak_memory = 0;  // resident bytes at most, 0 if unknown
    static Outcome Done(double seconds) { return Outcome{kDone, seconds, ""}; }
    static Outcome Missing(const std::string& what) { return Outcome{kMissing, 0, what}; }
    static Outcome Failed(const std::string& what) { return Outcome{kFailed, 0, what}; }
    bool ok() const { return status == kDone; }
};

// One engine under test, working on one database file. Each workload runs on what the ones
// before it left: bulk load, small commits, reads, then replacement and compaction.
class Engine {
public:
    virtual ~Engine() = default;
    virtual const char* Name() const = 0;
    // The short word that names the engine to a child process.
    virtual const char* Tag() const = 0;
    virtual Outcome Bulk(const std::string& path, const Sizes& sizes) = 0;
    virtual Outcome SmallCommits(const std::string& path, const Sizes& sizes) = 0;
    // Runs in a new process: opens the file, reads every value of every object.
    virtual Outcome ReadAll(const std::string& path, Checksum* sum) = 0;
    // Reads the counts of sizes.reads random objects after one pass over all of them; *total
    // receives the sum of the timed reads.
    virtual Outcome WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) = 0;
    // Replaces every other object by a new one with the same values; not timed.
    virtual Outcome ReplaceHalf(const std::string& path, const Sizes& sizes) = 0;
    virtual Outcome Reclaim(const std::string& path) = 0;
    // The files that make up the database, for its size and its removal.
    virtual uint64_t FileBytes(const std::string& path) const = 0;
    virtual void Remove(const std::string& path) const = 0;
};

}  // namespace sqlitebench

#endif
