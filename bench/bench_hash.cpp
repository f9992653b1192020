// Insert and lookup of 1,000,000 keys in nyxHashImpl beside std::unordered_map, with word
// keys (the object table's case) and text keys (the stored maps' case). After the runs a
// line per case gives the time of nyxHashImpl over that of std::unordered_map: below 1 means
// nyxHashImpl is faster.
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

constexpr uint32_t kKeys = 1000000;

// Distinct keys spread over the whole word range, and the order in which they are looked up.
const std::vector<uint32_t>& WordKeys() {
    static const std::vector<uint32_t> keys = [] {
        std::vector<uint32_t> k(kKeys);
        for (uint32_t i = 0; i < kKeys; ++i) k[i] = (i + 1) * 2654435761u;
        return k;
    }();
    return keys;
}

const std::vector<uint32_t>& LookupOrder() {
    static const std::vector<uint32_t> order = [] {
        std::vector<uint32_t> o(kKeys);
        for (uint32_t i = 0; i < kKeys; ++i) o[i] = i;
        std::shuffle(o.begin(), o.end(), std::mt19937(42));
        return o;
    }();
    return order;
}

const std::vector<nyxString>& TextKeys() {
    static const std::vector<nyxString> keys = [] {
        std::vector<nyxString> k;
        k.reserve(kKeys);
        for (uint32_t i = 0; i < kKeys; ++i) k.emplace_back(("item-" + std::to_string(WordKeys()[i])).c_str());
        return k;
    }();
    return keys;
}

const std::vector<std::string>& StdTextKeys() {
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> k;
        k.reserve(kKeys);
        for (const nyxString& s : TextKeys()) k.emplace_back(s.c_str());
        return k;
    }();
    return keys;
}

void SetItems(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kKeys);
}

void BM_Words_Insert_nyxHashImpl(benchmark::State& state) {
    const auto& keys = WordKeys();
    for (auto _ : state) {
        nyxHashMapOf<uint32_t, uint32_t> table(nyxWordHash, 100);
        for (uint32_t i = 0; i < kKeys; ++i) table.PutValue(&keys[i], &i);
        benchmark::DoNotOptimize(table.GetCount());
    }
    SetItems(state);
}

void BM_Words_Insert_unordered_map(benchmark::State& state) {
    const auto& keys = WordKeys();
    for (auto _ : state) {
        std::unordered_map<uint32_t, uint32_t> table;
        for (uint32_t i = 0; i < kKeys; ++i) table.emplace(keys[i], i);
        benchmark::DoNotOptimize(table.size());
    }
    SetItems(state);
}

void BM_Words_Lookup_nyxHashImpl(benchmark::State& state) {
    const auto& keys = WordKeys();
    const auto& order = LookupOrder();
    nyxHashMapOf<uint32_t, uint32_t> table(nyxWordHash, 100);
    for (uint32_t i = 0; i < kKeys; ++i) table.PutValue(&keys[i], &i);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += *static_cast<uint32_t*>(table.FindValue(&keys[i]));
        benchmark::DoNotOptimize(sum);
    }
    SetItems(state);
}

void BM_Words_Lookup_unordered_map(benchmark::State& state) {
    const auto& keys = WordKeys();
    const auto& order = LookupOrder();
    std::unordered_map<uint32_t, uint32_t> table;
    for (uint32_t i = 0; i < kKeys; ++i) table.emplace(keys[i], i);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += table.find(keys[i])->second;
        benchmark::DoNotOptimize(sum);
    }
    SetItems(state);
}

void BM_Texts_Insert_nyxHashImpl(benchmark::State& state) {
    const auto& keys = TextKeys();
    for (auto _ : state) {
        nyxHashMapOf<nyxString, uint32_t> table(nyxStringHash, 100);
        for (uint32_t i = 0; i < kKeys; ++i) table.PutValue(&keys[i], &i);
        benchmark::DoNotOptimize(table.GetCount());
    }
    SetItems(state);
}

void BM_Texts_Insert_unordered_map(benchmark::State& state) {
    const auto& keys = StdTextKeys();
    for (auto _ : state) {
        std::unordered_map<std::string, uint32_t> table;
        for (uint32_t i = 0; i < kKeys; ++i) table.emplace(keys[i], i);
        benchmark::DoNotOptimize(table.size());
    }
    SetItems(state);
}

void BM_Texts_Lookup_nyxHashImpl(benchmark::State& state) {
    const auto& keys = TextKeys();
    const auto& order = LookupOrder();
    nyxHashMapOf<nyxString, uint32_t> table(nyxStringHash, 100);
    for (uint32_t i = 0; i < kKeys; ++i) table.PutValue(&keys[i], &i);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += *static_cast<uint32_t*>(table.FindValue(&keys[i]));
        benchmark::DoNotOptimize(sum);
    }
    SetItems(state);
}

void BM_Texts_Lookup_unordered_map(benchmark::State& state) {
    const auto& keys = StdTextKeys();
    const auto& order = LookupOrder();
    std::unordered_map<std::string, uint32_t> table;
    for (uint32_t i = 0; i < kKeys; ++i) table.emplace(keys[i], i);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i : order) sum += table.find(keys[i])->second;
        benchmark::DoNotOptimize(sum);
    }
    SetItems(state);
}

BENCHMARK(BM_Words_Insert_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Words_Insert_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Words_Lookup_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Words_Lookup_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Texts_Insert_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Texts_Insert_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Texts_Lookup_nyxHashImpl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Texts_Lookup_unordered_map)->Unit(benchmark::kMillisecond);

// Keeps the time per iteration of every run, so that the pairs can be set side by side.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.iterations > 0) times_[run.benchmark_name()] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios() const {
        for (const char* kind : {"Words_Insert", "Words_Lookup", "Texts_Insert", "Texts_Lookup"}) {
            std::string base = std::string("BM_") + kind;
            auto nyx = times_.find(base + "_nyxHashImpl");
            auto std = times_.find(base + "_unordered_map");
            if (nyx == times_.end() || std == times_.end() || std->second <= 0) continue;
            printf("ratio %-13s nyxHashImpl / std::unordered_map = %.2f\n", kind,
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
