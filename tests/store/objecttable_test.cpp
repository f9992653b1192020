// The object table against a plain map: addresses packed as densely as records can lie, runs
// that wrap round the end of the block, removals from the middle of runs, growth past the span,
// and destruction of every object exactly once.
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "srcldb/ldbobjecttable.h"
#include "srcldb/ldbobject.h"

namespace {

// An object that counts its destruction.
class Counted : public PDMc_LDBObject {
public:
    explicit Counted(int* destroyed) : m_destroyed(destroyed) {}
    ~Counted() override { ++*m_destroyed; }
    const char* GetClassName() const override { return "Counted"; }

private:
    int* m_destroyed;
};

PDMc_LDBObject* Fake(uint32_t address) {
    return reinterpret_cast<PDMc_LDBObject*>(static_cast<uintptr_t>(address) * 16);
}

TEST(ObjectTable, AgreesWithAPlainMapThroughPutsAndRemovals) {
    for (uint32_t span : {0u, 4096u, 1u << 20}) {
        SCOPED_TRACE(span);
        LDBObjectTable table;
        table.SetSpan(span);
        std::map<uint32_t, PDMc_LDBObject*> model;
        std::mt19937 random(span + 7);
        // Records two to forty bytes apart, in runs that start anywhere; some fall on the same
        // home slot, some wrap round the block's end.
        uint32_t address = 40;
        for (int step = 0; step < 60000; ++step) {
            if (random() % 8 == 0) address = 40 + random() % (4u << 20);
            address += 2 + random() % 38;
            if (random() % 4 == 0 && !model.empty()) {
                auto victim = model.lower_bound(random() % address);
                if (victim == model.end()) victim = model.begin();
                table.Remove(victim->first);
                model.erase(victim);
            } else {
                bool fresh = model.count(address) == 0;
                ASSERT_EQ(table.Put(address, Fake(address)), fresh) << address;
                model.emplace(address, Fake(address));
            }
        }
        ASSERT_EQ(table.Count(), model.size());
        for (const auto& entry : model) ASSERT_EQ(table.Find(entry.first), entry.second);
        for (uint32_t probe = 40; probe < 5000; ++probe)
            ASSERT_EQ(table.Contains(probe), model.count(probe) != 0) << probe;
        EXPECT_FALSE(table.Put(0, Fake(1))) << "address 0 is no object's";
        EXPECT_EQ(table.Find(0), nullptr);
        for (const auto& entry : model) table.Remove(entry.first);
        EXPECT_EQ(table.Count(), 0u);
    }
}

TEST(ObjectTable, DestroyAllDestroysEveryObjectOnceAndEmptiesTheTable) {
    int destroyed = 0;
    LDBObjectTable table;
    for (uint32_t address = 8; address < 8 * 5000; address += 8)
        ASSERT_TRUE(table.Put(address, new Counted(&destroyed)));
    table.DestroyAll();
    EXPECT_EQ(destroyed, 4999);
    EXPECT_EQ(table.Count(), 0u);
    EXPECT_EQ(table.Find(8), nullptr);
    EXPECT_TRUE(table.Put(8, new Counted(&destroyed))) << "usable again";
    table.DestroyAll();
    EXPECT_EQ(destroyed, 5000);
}

}  // namespace
