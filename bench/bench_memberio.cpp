// Moving whole records between objects and bytes: every load and every commit goes through
// this path once per object, so it bounds what the store can do per second. The buffer cursor
// leaves the page pool out, measuring the descriptor walk and the codecs alone.
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "srcldb/ldbbufcursor.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbobjectowner.h"
#include "srcldb/ldbschema.h"

namespace {

class NoStore : public LDBObjectOwner {
public:
    PDMc_LDBObject* FindOrLoadObject(uint32_t) override { return nullptr; }
    void AddToModifiedList(PDMc_LDBObject*) override {}
};

// An item version with every text set, as the item model keeps them.
std::unique_ptr<PDMc_LDBObject> FilledVersion(const LDBClassDescriptor& cls, NoStore& owner) {
    std::unique_ptr<PDMc_LDBObject> object(CreateObjectOfType(&owner, 82, 2));
    for (uint32_t i = 0; i < cls.MemberCount(); ++i) {
        const LDBMemberDescriptor* member = cls.MemberAt(i);
        if (member->GetType() == LDB_MEMBER_STRING) {
            std::string text = std::string(member->GetName().c_str()) + " of the version";
            *static_cast<nyxString*>(member->GetPlace().FieldIn(object.get())) = text.c_str();
        }
    }
    return object;
}

void BM_StoreVersionRecord(benchmark::State& state) {
    LDBStorageLayout layout;
    LDBDefineSchema(layout);
    const LDBClassDescriptor& cls = *layout.CurrentClass(82);
    NoStore owner;
    std::unique_ptr<PDMc_LDBObject> object = FilledVersion(cls, owner);
    for (auto _ : state) {
        state.PauseTiming();
        LDBBufferCursor buffer;
        uint32_t record;
        buffer.Allocate(cls.GetFixedSize() + LDBMemberWriter::BlockSpaceOfMembers(cls, object.get()),
                        record);
        state.ResumeTiming();
        buffer.SetAddress(record + 2);
        benchmark::DoNotOptimize(LDBMemberWriter(buffer).WriteMembers(cls, object.get()));
    }
}
BENCHMARK(BM_StoreVersionRecord);

void BM_LoadVersionRecord(benchmark::State& state) {
    LDBStorageLayout layout;
    LDBDefineSchema(layout);
    const LDBClassDescriptor& cls = *layout.CurrentClass(82);
    NoStore owner;
    std::unique_ptr<PDMc_LDBObject> object = FilledVersion(cls, owner);
    LDBBufferCursor buffer;
    uint32_t record;
    buffer.Allocate(cls.GetFixedSize(), record);
    buffer.SetAddress(record + 2);
    LDBMemberWriter(buffer).WriteMembers(cls, object.get());
    for (auto _ : state) {
        std::unique_ptr<PDMc_LDBObject> loaded(CreateObjectOfType(&owner, 82, 2));
        buffer.SetAddress(record + 2);
        benchmark::DoNotOptimize(LDBMemberReader(buffer, &owner, 514).ReadMembers(cls, loaded.get()));
    }
}
BENCHMARK(BM_LoadVersionRecord);

void BM_CurrentClassLookup(benchmark::State& state) {
    LDBStorageLayout layout;
    LDBDefineSchema(layout);
    uint8_t code = 64;
    for (auto _ : state) {
        benchmark::DoNotOptimize(layout.CurrentClass(code));
        code = code == 97 ? 64 : static_cast<uint8_t>(code + 1);
    }
}
BENCHMARK(BM_CurrentClassLookup);

}  // namespace

BENCHMARK_MAIN();
