// The stored containers on the paths the model walks most: a map loaded from its block (the
// table is rebuilt by insertion), a name looked up in a loaded map, and an array walked through
// its collection face. The owner hands out one object for every address, so the figures are the
// containers' own cost, not the store's.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "srcldb/ldbattr.h"
#include "srcldb/ldbbufcursor.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbobjectowner.h"

namespace {

class OneObjectStore : public LDBObjectOwner {
public:
    OneObjectStore() : m_object(nullptr, "element") { m_object.SetStorageAddress(0x100); }
    PDMc_LDBObject* FindOrLoadObject(uint32_t) override { return &m_object; }
    void AddToModifiedList(PDMc_LDBObject*) override {}

private:
    PDMc_LAD m_object;
};

std::string Name(int64_t i) { return "workspace " + std::to_string(i * 7919); }

// A map member of count entries laid down in the buffer; the member's address.
uint32_t WrittenMap(LDBBufferCursor& buffer, OneObjectStore& owner, int64_t count) {
    LDBRefStringTable table(PDMc_LDBMap::kNewCapacity);
    PDMc_LDBRef reference;
    reference.Set(&owner, 0x100);
    for (int64_t i = 0; i < count; ++i) table.Insert(nyxString(Name(i).c_str()), reference);
    uint32_t member;
    buffer.Allocate(8, member);
    buffer.SetAddress(member);
    LDBMemberWriter(buffer).WriteMap(table);
    return member;
}

void BM_LoadMap(benchmark::State& state) {
    OneObjectStore owner;
    LDBBufferCursor buffer;
    uint32_t member = WrittenMap(buffer, owner, state.range(0));
    for (auto _ : state) {
        LDBRefStringTable table(PDMc_LDBMap::kLoadCapacity);
        buffer.SetAddress(member);
        benchmark::DoNotOptimize(LDBMemberReader(buffer, &owner, 514).ReadMap(table));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LoadMap)->Arg(100)->Arg(1000)->Arg(10000);

void BM_FindInMap(benchmark::State& state) {
    OneObjectStore owner;
    PDMc_LDBObject* element = owner.FindOrLoadObject(0x100);
    PDMc_LDBMap map(&owner, PDMc_LDBMap::kNewCapacity);
    for (int64_t i = 0; i < state.range(0); ++i) map.Put(Name(i).c_str(), element);
    std::vector<std::string> names;
    for (int64_t i = 0; i < state.range(0); i += 3) names.push_back(Name(i));
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.Find(names[next].c_str()));
        if (++next == names.size()) next = 0;
    }
}
BENCHMARK(BM_FindInMap)->Arg(1000)->Arg(100000);

void BM_WalkArray(benchmark::State& state) {
    OneObjectStore owner;
    PDMc_LDBArray array(&owner);
    PDMc_LDBObject* element = owner.FindOrLoadObject(0x100);
    for (int64_t i = 0; i < state.range(0); ++i) array.Append(element);
    for (auto _ : state) {
        nyxIteratorGuard it(array);
        for (it->First(); !it->AtEnd(); it->Next())
            benchmark::DoNotOptimize(*static_cast<PDMc_LDBObject**>(it->Current()));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_WalkArray)->Arg(10000);

}  // namespace

BENCHMARK_MAIN();
