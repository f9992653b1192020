// The cost of compaction: a store of 50,000 small objects in one array, half of them rewritten
// once so that dead blocks lie between the live ones, compacted with and without trim. Reports
// the time per copied record and the share of the file that the job gave back.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "platform/pfile.h"
#include "srcldb/ldbcompact.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"

namespace {

constexpr int kObjects = 50000;

const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    return *layout;
}

template <class T>
T& Member(PDMc_LDBObject* object, const char* name) {
    const LDBClassDescriptor* descriptor = Layout().CurrentClass(object->GetTypeCode());
    return *static_cast<T*>(descriptor->FindMember(name)->GetPlace().FieldIn(object));
}

std::string ScratchPath() {
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp != nullptr ? tmp : "/tmp") + "/bench_compact_" +
           std::to_string(getpid()) + ".ldb";
}

// The store with its dead space; false when a step failed.
bool MakeChurnedStore(const std::string& path) {
    std::remove(path.c_str());
    LDBStore* store = LDBStore::CreateStore(nullptr, path.c_str());
    if (store == nullptr) return false;
    store->SetLayout(&Layout());
    bool ok = store->StartTransaction() == 0;
    PDMc_LDBArray* array = new PDMc_LDBArray(store);
    store->SetRootObject(array);
    LDBRefArrayRep& rep = Member<LDBRefArrayRep>(array, "m_rep");
    ok = ok && rep.SetCount(kObjects) == 0;
    for (int i = 0; ok && i < kObjects; ++i) {
        PDMc_LDBAppObj* object = new PDMc_LDBAppObj(store);
        Member<nyxString>(object, "m_type") = ("object number " + std::to_string(i)).c_str();
        rep.At(uint32_t(i)) = PDMc_LDBRef(object);
    }
    ok = ok && store->CommitTransaction() == 0;
    ok = ok && store->StartTransaction() == 0;
    for (int i = 0; ok && i < kObjects; i += 2) {
        PDMc_LDBObject* object = rep.At(uint32_t(i)).GetTarget();
        ok = object != nullptr;
        if (!ok) break;
        object->MarkModified();
        Member<nyxString>(object, "m_type") = ("rewritten " + std::to_string(i)).c_str();
    }
    ok = ok && store->CommitTransaction() == 0;
    LDBStore::CloseStore(store);
    return ok;
}

void BM_CompactChurnedStore(benchmark::State& state) {
    const std::string path = ScratchPath();
    for (auto _ : state) {
        if (!MakeChurnedStore(path)) {
            state.SkipWithError("could not build the store");
            break;
        }
        PDMLDBCompactOptions options = {1, int32_t(state.range(0)), 0, 0, 0, 0, 0, 0, 0, 0, 0};
        auto start = std::chrono::steady_clock::now();
        int32_t rc = LDBCompactDatabase(path.c_str(), Layout(), &options);
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (rc != 0) {
            state.SkipWithError("compaction failed");
            break;
        }
        state.SetIterationTime(seconds);
        state.counters["records"] = options.recordsCopied;
        state.counters["us_per_record"] = seconds * 1e6 / options.recordsCopied;
        state.counters["kept_share"] = double(options.topAfter) / options.topBefore;
    }
    std::remove(path.c_str());
}
BENCHMARK(BM_CompactChurnedStore)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
