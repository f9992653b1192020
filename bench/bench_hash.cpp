// Insert and lookup of 1,000,000 word keys in nyxHashImpl beside std::unordered_map, in one
// run. Two key sets: ascending storage addresses, as the store's object table holds them, and
// keys scattered over the whole word range. A third pair uses 1,000 text keys, the size of a
// stored map; the text hash spreads short keys over few bits, so large text tables are no
// use case. A fourth pair makes, fills, walks and drops a map of three text keys at the
// capacity of a new stored map (103), as every stored object with attributes has one. After the
// runs one line per pair gives the time of nyxHashImpl over that of std::unordered_map: below
// 1 means nyxHashImpl is faster.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "collections/nyxhash.h"

namespace {

constexpr uint32_t kWordKeys = 1000000;
constexpr uint32_t kTextKeys = 1000;

std::vector<uint32_t> MakeWordKeys(bool scattered) {
    std::vector<uint32_t> keys(kWordKeys);
    for (uint32_t i = 0; i < kWordKeys; ++i)
        keys[i] = scattered ? (i + 1) * 2654435761u : 0x100u + i * 24u;
    return keys;
}

const std::vector<uint32_t>& AddressKeys() {
    static const std::vector<uint32_t> keys = MakeWordKeys(false);
    return keys;
}

const std::vector<uint32_t>& ScatteredKeys() {
    static const std::vector<uint32_t> keys = MakeWordKeys(true);
    return keys;
}

// Lookups come in an order unrelated to that of the inserts.
std::vector<uint32_t> LookupOrder(uint32_t count) {
    std::vector<uint32_t> order(count);
    for (uint32_t i = 0; i < count; ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(42));
    return order;
}

const std::vector<nyxString>& TextKeys() {
    static const std::vector<nyxString> keys = [] {
        std::vector<nyxString> k;
        k.reserve(kTextKeys);
        for (uint32_t i = 0; i < kTextKeys; ++i) k.emplace_back(("attribute." + std::to_string(i * 7919u)).c_str());
        return k;
    }();
    return keys;
}

const std::vector<std::string>& StdTextKeys() {
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> k;
        for (const nyxString& s : TextKeys()) k.emplace_back(s.c_str());
        return k;
    }();
    return keys;
}

// Either table behind one face, so that each case is written once for both.
struct NyxWords {
    nyxHashMapOf<uint32_t, uint32_t> table{nyxWordHash, 100};
    void Put(const uint32_t& k, uint32_t v) { table.PutValue(&k, &v); }
    uint32_t Get(const uint32_t& k) { return *static_cast<uint32_t*>(table.FindValue(&k)); }
};
struct StdWords {
    std::unordered_map<uint32_t, uint32_t> table;
    void Put(const uint32_t& k, uint32_t v) { table.emplace(k, v); }
    uint32_t Get(const uint32_t& k) { return table.find(k)->second; }
};
struct NyxTexts {
    nyxHashMapOf<nyxString, uint32_t> table{nyxStringHash, 100};
    void Put(const nyxString& k, uint32_t v) { table.PutValue(&k, &v); }
    uint32_t Get(const nyxString& k) { return *static_cast<uint32_t*>(table.FindValue(&k)); }
};
struct StdTexts {
    std::unordered_map<std::string, uint32_t> table;
    void Put(const std::string& k, uint32_t v) { table.emplace(k, v); }
    uint32_t Get(const std::string& k) { return table.find(k)->second; }
};

template <class Table, class Keys>
void Insert(benchmark::State& state, const Keys& keys) {
    for (auto _ : state) {
        Table table;
        for (uint32_t i = 0; i < keys.size(); ++i) table.Put(keys[i], i);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * keys.size());
}

template <class Table, class Keys>
void Lookup(benchmark::State& state, const Keys& keys) {
    Table table;
    for (uint32_t i = 0; i < keys.size(); ++i) table.Put(keys[i], i);
    const std::vector<uint32_t> order = LookupOrder(static_cast<uint32_t>(keys.size()));
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += table.Get(keys[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * keys.size());
}

// Three attributes, as the parts of the comparison beside SQLite have.
template <class Table, class Key>
void SmallMap(benchmark::State& state, const std::vector<Key>& names) {
    uint64_t sum = 0;
    for (auto _ : state) {
        Table table;
        for (uint32_t i = 0; i < names.size(); ++i) table.Put(names[i], i + 1);
        sum += table.Walk();
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

struct NyxSmall : NyxTexts {
    uint32_t Walk() {
        uint32_t sum = 0;
        for (void* e = table.FirstEntry(nullptr); e != nullptr; e = table.FirstEntry(e))
            sum += *static_cast<uint32_t*>(table.ValueOfEntry(e));
        return sum;
    }
};
struct StdSmall : StdTexts {
    StdSmall() { table.reserve(103); }
    uint32_t Walk() {
        uint32_t sum = 0;
        for (const auto& entry : table) sum += entry.second;
        return sum;
    }
};
const std::vector<nyxString> kNames = {"count", "name", "weight"};
const std::vector<std::string> kStdNames = {"count", "name", "weight"};

void BM_SmallMap_Use_nyxHashImpl(benchmark::State& s) { SmallMap<NyxSmall>(s, kNames); }
void BM_SmallMap_Use_unordered_map(benchmark::State& s) { SmallMap<StdSmall>(s, kStdNames); }

void BM_Addresses_Insert_nyxHashImpl(benchmark::State& s) { Insert<NyxWords>(s, AddressKeys()); }
void BM_Addresses_Insert_unordered_map(benchmark::State& s) { Insert<StdWords>(s, AddressKeys()); }
void BM_Addresses_Lookup_nyxHashImpl(benchmark::State& s) { Lookup<NyxWords>(s, AddressKeys()); }
void BM_Addresses_Lookup_unordered_map(benchmark::State& s) { Lookup<StdWords>(s, AddressKeys()); }
void BM_Scattered_Insert_nyxHashImpl(benchmark::State& s) { Insert<NyxWords>(s, ScatteredKeys()); }
void BM_Scattered_Insert_unordered_map(benchmark::State& s) { Insert<StdWords>(s, ScatteredKeys()); }
void BM_Scattered_Lookup_nyxHashImpl(benchmark::State& s) { Lookup<NyxWords>(s, ScatteredKeys()); }
void BM_Scattered_Lookup_unordered_map(benchmark::State& s) { Lookup<StdWords>(s, ScatteredKeys()); }
void BM_Texts1k_Insert_nyxHashImpl(benchmark::State& s) { Insert<NyxTexts>(s, TextKeys()); }
void BM_Texts1k_Insert_unordered_map(benchmark::State& s) { Insert<StdTexts>(s, StdTextKeys()); }
void BM_Texts1k_Lookup_nyxHashImpl(benchmark::State& s) { Lookup<NyxTexts>(s, TextKeys()); }
void BM_Texts1k_Lookup_unordered_map(benchmark::State& s) { Lookup<StdTexts>(s, StdTextKeys()); }

BENCHMARK(BM_Addresses_Insert_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Addresses_Insert_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Addresses_Lookup_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Addresses_Lookup_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scattered_Insert_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scattered_Insert_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scattered_Lookup_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scattered_Lookup_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Texts1k_Insert_nyxHashImpl)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Texts1k_Insert_unordered_map)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Texts1k_Lookup_nyxHashImpl)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Texts1k_Lookup_unordered_map)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SmallMap_Use_nyxHashImpl);
BENCHMARK(BM_SmallMap_Use_unordered_map);

// Keeps the processor time per iteration of every run, so that each pair can be set side by
// side; processor time is the steadier measure on a shared machine.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.iterations > 0) times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios() const {
        for (const char* pair : {"Addresses_Insert", "Addresses_Lookup", "Scattered_Insert",
                                 "Scattered_Lookup", "Texts1k_Insert", "Texts1k_Lookup",
                                 "SmallMap_Use"}) {
            std::string base = std::string("BM_") + pair;
            auto nyx = times_.find(base + "_nyxHashImpl");
            auto std = times_.find(base + "_unordered_map");
            if (nyx == times_.end() || std == times_.end() || std->second <= 0) continue;
            printf("ratio %-16s nyxHashImpl / std::unordered_map = %.2f\n", pair,
                   nyx->second / std->second);
        }
    }

private:
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
