// The cost of commits: 100,000 new small objects in one transaction, and 1,000 transactions of
// one object each. Each case reports the time per object or per commit and the number of
// device flushes a commit takes, counted at the platform layer.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "platform/pfile.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"

namespace {

const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    return *layout;
}

class FlushCounter : public platform::IoHook {
public:
    FlushCounter() { platform::SetIoHook(this); }
    ~FlushCounter() override { platform::SetIoHook(nullptr); }
    bool Before(platform::IoOp) override { return true; }
    void After(platform::IoOp op) override {
        if (op == platform::IoOp::kFlush) ++flushes;
    }
    long flushes = 0;
};

// A fresh store file in the temporary directory, removed at the end.
class ScratchStore {
public:
    ScratchStore() {
        const char* tmp = std::getenv("TMPDIR");
        path_ = std::string(tmp != nullptr ? tmp : "/tmp") + "/bench_store_" +
                std::to_string(getpid()) + ".ldb";
        std::remove(path_.c_str());
        store_ = LDBStore::CreateStore(nullptr, path_.c_str());
        if (store_ != nullptr) store_->SetLayout(&Layout());
    }
    ~ScratchStore() {
        if (store_ != nullptr) LDBStore::CloseStore(store_);
        std::remove(path_.c_str());
    }
    LDBStore* get() const { return store_; }

private:
    std::string path_;
    LDBStore* store_ = nullptr;
};

PDMc_LDBAppObj* NewObject(LDBStore* store, const char* text) {
    PDMc_LDBAppObj* object = new PDMc_LDBAppObj(store);
    const LDBClassDescriptor* descriptor = Layout().CurrentClass(PDMc_LDBAppObj::kTypeCode);
    *static_cast<nyxString*>(descriptor->FindMember("m_type")->GetPlace().FieldIn(object)) = text;
    return object;
}

// Skips the case with the reason when the store step failed.
bool Ok(benchmark::State& state, int32_t rc, const char* what) {
    if (rc != 0) state.SkipWithError(what);
    return rc == 0;
}

void BM_CommitManyNewObjects(benchmark::State& state) {
    const int objects = 100000;
    for (auto _ : state) {
        ScratchStore scratch;
        LDBStore* store = scratch.get();
        if (!Ok(state, store == nullptr ? 1 : store->StartTransaction(), "start failed")) return;
        FlushCounter counter;
        auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < objects; ++i) NewObject(store, "small object");
        if (!Ok(state, store->CommitTransaction(), "commit failed")) return;
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["us_per_object"] = seconds * 1e6 / objects;
        state.counters["flushes_per_commit"] = static_cast<double>(counter.flushes);
    }
}
BENCHMARK(BM_CommitManyNewObjects)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_SingleObjectCommits(benchmark::State& state) {
    const int commits = 1000;
    for (auto _ : state) {
        ScratchStore scratch;
        LDBStore* store = scratch.get();
        if (!Ok(state, store == nullptr ? 1 : store->StartTransaction(), "start failed")) return;
        PDMc_LDBAppObj* root = NewObject(store, "0");
        store->SetRootObject(root);
        store->CommitTransaction();
        FlushCounter counter;
        auto start = std::chrono::steady_clock::now();
        // Half the commits change a stored object (an undo record), half add a new one.
        for (int i = 0; i < commits; ++i) {
            if (!Ok(state, store->StartTransaction(), "start failed")) return;
            if (i % 2 == 0) {
                root->MarkModified();
            } else {
                NewObject(store, "one more");
            }
            if (!Ok(state, store->CommitTransaction(), "commit failed")) return;
        }
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["us_per_commit"] = seconds * 1e6 / commits;
        state.counters["flushes_per_commit"] = static_cast<double>(counter.flushes) / commits;
    }
}
BENCHMARK(BM_SingleObjectCommits)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
