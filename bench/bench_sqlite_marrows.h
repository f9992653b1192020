// The marrows side of the comparison, a client of libmarrows.so like any other: it includes
// marrows/marrows.h and calls the exported functions. The library is opened at run time and
// every export is looked up by name, so that the program builds and runs whichever exports the
// library has yet; a workload whose exports are missing reports them instead of a time.
//
// Layout of the data: the parts hang off holder objects of type "PartBucket", each holding up
// to Sizes::bucket_size parts as object-valued attributes named by part number; the holders
// hang off the database's root as "bucket0", "bucket1", ... With a bucket size of 0 the parts
// hang off the root directly. Each part is an object of type "Part" with the attributes
// "count" (integer), "name" (string) and "weight" (double).
#ifndef MARROWS_BENCH_SQLITE_MARROWS_H
#define MARROWS_BENCH_SQLITE_MARROWS_H

#include <initializer_list>
#include <string>
#include <vector>

#include "bench_sqlite_workload.h"
#include "marrows/marrows.h"

namespace sqlitebench {

// The exports in use, as found in the library; null where the library lacks one.
struct MarrowsApi {
    decltype(&PDMLDBCreate) create = nullptr;
    decltype(&PDMLDBConnect) connect = nullptr;
    decltype(&PDMLDBDisconnect) disconnect = nullptr;
    decltype(&PDMLDBCompact) compact = nullptr;
    decltype(&PDMLDBStartTransaction) start = nullptr;
    decltype(&PDMLDBCommitTransaction) commit = nullptr;
    decltype(&PDMLDBObjectCreate) object_create = nullptr;
    decltype(&PDMLDBObjectGetLDBAttribute) get_attribute = nullptr;
    decltype(&PDMLDBObjectSetLDBAttribute) set_attribute = nullptr;
    decltype(&PDMLDBObjectGetLDBAttributeNames) get_attribute_names = nullptr;
    decltype(&PDMErrorDumpStack) dump_errors = nullptr;
    decltype(&PDMErrorClearStack) clear_errors = nullptr;

    // Opens the library at this path and looks the exports up. False with *why set if it
    // can't be opened; every export then counts as missing.
    bool Load(const std::string& library, std::string* why);
    // The names among these that the library lacks, separated by spaces; empty if none.
    std::string Missing(std::initializer_list<const char*> names) const;

private:
    std::vector<std::string> missing_;
};

class MarrowsEngine : public Engine {
public:
    explicit MarrowsEngine(const MarrowsApi& api) : api_(api) {}
    const char* Name() const override { return "marrows"; }
    const char* Tag() const override { return "marrows"; }
    Outcome Bulk(const std::string& path, const Sizes& sizes) override;
    Outcome SmallCommits(const std::string& path, const Sizes& sizes) override;
    Outcome ReadAll(const std::string& path, Checksum* sum) override;
    Outcome WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) override;
    Outcome ReplaceHalf(const std::string& path, const Sizes& sizes) override;
    Outcome Reclaim(const std::string& path) override;
    uint64_t FileBytes(const std::string& path) const override;
    void Remove(const std::string& path) const override;

private:
    const MarrowsApi& api_;
};

}  // namespace sqlitebench

#endif
