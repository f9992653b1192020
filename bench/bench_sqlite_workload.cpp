#include "bench_sqlite_workload.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace sqlitebench {

int32_t CountOf(int k) { return k; }

std::string NameOf(int k) {
    char text[48];
    std::snprintf(text, sizeof text, "Bracket %06d rev %c", k, 'A' + k % 26);
    return text;
}

// Whole quarters, so that a sum of four times each weight is exact whatever the order.
double WeightOf(int k) { return (k % 4000) * 0.5 + 0.25; }

std::string KeyOf(int k) {
    char text[24];
    std::snprintf(text, sizeof text, "P%06d", k);
    return text;
}

int32_t CommittedCount(int j) { return 1000000 + j; }

int Picker::Next(int bound) {
    // xorshift64*: cheap and the same on every machine.
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    uint64_t mixed = state_ * 2685821657736338717ull;
    return static_cast<int>((mixed >> 33) % static_cast<uint64_t>(bound));
}

std::vector<int32_t> ExpectedCounts(const Sizes& sizes, bool commits_done) {
    std::vector<int32_t> counts(static_cast<size_t>(sizes.objects));
    for (int k = 0; k < sizes.objects; ++k) counts[k] = CountOf(k);
    if (commits_done) {
        Picker picker(kCommitSeed);
        for (int j = 0; j < sizes.commits; ++j) counts[picker.Next(sizes.objects)] = CommittedCount(j);
    }
    return counts;
}

Checksum ExpectedChecksum(const std::vector<int32_t>& counts) {
    Checksum sum;
    for (size_t k = 0; k < counts.size(); ++k) {
        int key = static_cast<int>(k);
        sum.Add(counts[k], NameOf(key).c_str(), WeightOf(key));
    }
    return sum;
}

int64_t ExpectedWarmTotal(const Sizes& sizes, const std::vector<int32_t>& counts) {
    Picker picker(kReadSeed);
    int64_t total = 0;
    for (int i = 0; i < sizes.reads; ++i) total += counts[picker.Next(sizes.objects)];
    return total;
}

void Checksum::Add(int32_t count, const char* name, double weight) {
    uint64_t hash = 1469598103934665603ull;
    for (const char* c = name; *c != '\0'; ++c) {
        hash ^= static_cast<unsigned char>(*c);
        hash *= 1099511628211ull;
    }
    ++objects;
    counts += count;
    names += hash;
    weights += std::llround(weight * 4);
}

bool Checksum::operator==(const Checksum& other) const {
    return objects == other.objects && counts == other.counts && names == other.names &&
           weights == other.weights;
}

std::string Checksum::Text() const {
    char text[128];
    std::snprintf(text, sizeof text, "%" PRId64 " %" PRId64 " %" PRIu64 " %" PRId64, objects,
                  counts, names, weights);
    return text;
}

bool Checksum::Parse(const std::string& text, Checksum* out) {
    Checksum read;
    if (std::sscanf(text.c_str(), "%" SCNd64 " %" SCNd64 " %" SCNu64 " %" SCNd64, &read.objects,
                    &read.counts, &read.names, &read.weights) != 4) {
        return false;
    }
    *out = read;
    return true;
}

}  // namespace sqlitebench
