#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "collections/nyxhash.h"

namespace {

using WordMap = nyxHashMapOf<uint32_t, uint32_t>;
using StringMap = nyxHashMapOf<nyxString, uint32_t>;

// A record that carries its own key, as the stored objects carry their storage address.
struct Record {
    uint32_t address;
    uint32_t payload;
};
const void* AddressOf(const void* value) {
    return &(*static_cast<Record* const*>(value))->address;
}
using RecordTable = nyxDerivedHashOf<uint32_t, Record*>;

bool IsPrime(uint32_t n) {
    if (n < 2) return false;
    for (uint32_t d = 2; d * d <= n && d < 65536; ++d)
        if (n % d == 0) return false;
    return true;
}

TEST(nyxHashTest, PrimeTableRisesThroughPrimesAndNextPrimeRounds) {
    EXPECT_EQ(nyxPrimeTable[0], 13u);
    EXPECT_EQ(nyxPrimeTable[kNyxPrimeCount - 1], 2082842183u);
    for (uint32_t i = 0; i < kNyxPrimeCount; ++i) {
        ASSERT_TRUE(IsPrime(nyxPrimeTable[i])) << nyxPrimeTable[i];
        if (i) {
            ASSERT_LT(nyxPrimeTable[i - 1], nyxPrimeTable[i]);
        }
    }
    struct { uint32_t n, prime; } cases[] = {
        {0, 13}, {13, 13}, {14, 19}, {100, 103}, {154, 157}, {256, 257}, {1062, 1069},
        {10000, 10247}, {100000, 103141}, {1312160684, 1368452387}, {2082842183, 2082842183},
        {4000000000u, 2082842183}};
    for (auto& c : cases) EXPECT_EQ(nyxNextPrime(c.n), c.prime) << c.n;
}

TEST(nyxHashTest, StringHashSpreadsSignedBytes) {
    struct { const char* text; uint32_t hash; } cases[] = {
        {"", 0},
        {"a", 97},
        {"ab", 97 ^ 98},
        {"abc", 97 ^ 98 ^ (99u << 1)},
        {"\x80", 0xFFFFFF80u},
        // Positions beyond 50 shift by more than 24 and fold their top bits back down.
        {"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", 0x74dd66e8u},
        {"\xff\xfe\xfd\xfc\xfb\xfa\xf9\xf8\xf7\xf6\xf5\xf4\xf3\xf2\xf1\xf0\xef\xee\xed\xec\xeb\xea"
         "\xe9\xe8\xe7\xe6\xe5\xe4\xe3\xe2\xe1\xe0\xdf\xde\xdd\xdc\xdb\xda\xd9\xd8\xd7\xd6\xd5\xd4"
         "\xd3\xd2\xd1\xd0\xcf\xce\xcd\xcc\xcb\xca\xc9\xc8\xc7\xc6\xc5\xc4\xc3\xc2\xc1\xc0",
         0xFFFFFFFFu},
    };
    for (auto& c : cases) {
        EXPECT_EQ(nyxStringHashText(c.text), c.hash) << c.text;
        nyxString s(c.text);
        EXPECT_EQ(nyxStringHash(&s), c.hash);
    }
}

TEST(nyxHashTest, EntryLayoutPutsTheKeyAtEight) {
    WordMap words(nyxWordHash, 13);
    RecordTable records(nyxWordHash, AddressOf, 13);
    nyxDerivedHashOf<uint32_t, uint32_t> ids(nyxWordHash, [](const void* v) { return v; }, 13);
    StringMap strings(nyxStringHash, 13);
    struct { nyxHashImpl* table; int32_t key, value, size; } cases[] = {
        {&words, 8, 12, 16},
        {&records, 0, 8, 16},
        {&ids, 0, 4, 8},
        {&strings, 8, 8 + static_cast<int32_t>(sizeof(nyxString)), 8 + static_cast<int32_t>(sizeof(nyxString)) + 8},
    };
    for (auto& c : cases) {
        int32_t key, value, size;
        c.table->EntryLayout(&key, &value, &size);
        EXPECT_EQ(key, c.key);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(size, c.size);
    }
}

TEST(nyxHashTest, GrowsByHalfOnceUsedPassesSevenEighths) {
    WordMap table(nyxWordHash, 100);
    EXPECT_EQ(table.GetCapacity(), 103);
    EXPECT_EQ(table.GetThreshold(), 90);
    for (uint32_t k = 0; k < 91; ++k) ASSERT_TRUE(table.Put(k, k));
    EXPECT_EQ(table.GetCapacity(), 103);
    ASSERT_TRUE(table.Put(91, 91));
    EXPECT_EQ(table.GetCapacity(), 157);
    EXPECT_EQ(table.GetThreshold(), 157 * 7 / 8);
    for (uint32_t k = 0; k < 92; ++k) ASSERT_EQ(*table.Find(k), k);
    // Clear goes back to the initial capacity.
    table.Clear();
    EXPECT_EQ(table.GetCapacity(), 103);
    EXPECT_EQ(table.GetCount(), 0u);
}

std::vector<uint32_t> KeysInTableOrder(WordMap& table) {
    std::vector<uint32_t> keys;
    for (void* e = table.FirstEntry(nullptr); e != nullptr; e = table.FirstEntry(e))
        keys.push_back(*static_cast<uint32_t*>(table.KeyOfEntry(e)));
    return keys;
}

TEST(nyxHashTest, GrowthReinsertsInOldTableOrder) {
    // The order of a grown table is that of a fresh table of the new capacity into which the
    // old entries went from low to high place: stored maps write that order to the file.
    std::mt19937 rng(3);
    for (int round = 0; round < 20; ++round) {
        WordMap grown(nyxWordHash, 100);
        std::vector<uint32_t> keys;
        while (grown.GetUsed() <= grown.GetThreshold()) {
            uint32_t k = rng() % 5000;
            if (grown.Put(k, k)) keys.push_back(k);
            if (rng() % 4 == 0 && !keys.empty()) {
                uint32_t gone = keys[rng() % keys.size()];
                if (grown.RemoveKey(&gone, 1)) keys.erase(std::find(keys.begin(), keys.end(), gone));
            }
        }
        std::vector<uint32_t> before = KeysInTableOrder(grown);
        uint32_t last = 5000 + round;
        ASSERT_TRUE(grown.Put(last, last));
        ASSERT_EQ(grown.GetCapacity(), 157);
        WordMap fresh(nyxWordHash, 157);
        for (uint32_t k : before) fresh.Put(k, k);
        fresh.Put(last, last);
        ASSERT_EQ(KeysInTableOrder(grown), KeysInTableOrder(fresh));
    }
}

TEST(nyxHashTest, DeletedEntriesStillCountTowardsTheRebuild) {
    WordMap table(nyxWordHash, 100);
    for (int i = 0; i < 91; ++i) {
        ASSERT_TRUE(table.Put(7, 1));
        const uint32_t seven = 7;
        ASSERT_TRUE(table.RemoveKey(&seven, 1));
    }
    EXPECT_EQ(table.GetCount(), 0u);
    EXPECT_EQ(table.GetUsed(), 91);
    ASSERT_TRUE(table.Put(7, 1));
    EXPECT_EQ(table.GetCapacity(), 157);
    EXPECT_EQ(table.GetUsed(), 1);
}

TEST(nyxHashTest, ProbePathsSurviveDeletion) {
    // In a table of 103, keys 10403 apart share place and step, so they share one path.
    WordMap table(nyxWordHash, 100);
    const uint32_t a = 5, b = 5 + 103 * 101, c = 5 + 2 * 103 * 101;
    ASSERT_TRUE(table.Put(a, 1));
    ASSERT_TRUE(table.Put(b, 2));
    ASSERT_TRUE(table.Put(c, 3));
    void* first = table.FirstEntry(nullptr);
    ASSERT_TRUE(table.RemoveKey(&a, 1));
    ASSERT_NE(table.Find(b), nullptr);
    EXPECT_EQ(*table.Find(c), 3u);
    // A present key behind a deleted entry is still refused, and keeps its value.
    EXPECT_FALSE(table.Put(c, 30));
    EXPECT_EQ(*table.Find(c), 3u);
    EXPECT_EQ(table.GetCount(), 2u);
    // The insertion of a new key takes the first deleted entry on its path.
    ASSERT_TRUE(table.Put(a, 10));
    EXPECT_EQ(table.FirstEntry(nullptr), first);
    uint32_t out = 99;
    const uint32_t absent = 6;
    EXPECT_FALSE(table.GetValue(&absent, &out));
    EXPECT_EQ(out, 99u);
    EXPECT_TRUE(table.GetValue(&b, &out));
    EXPECT_EQ(out, 2u);
}

// The table as one flat block of places, probed as specified: what every table must look like
// from outside however it keeps its entries and however it finds them.
template <class K>
class FlatTable {
public:
    FlatTable(uint32_t initial, uint32_t (*hash)(const K&)) : m_hash(hash) {
        Reset(nyxNextPrime(initial));
    }

    bool Put(const K& key) {
        if (m_used > m_capacity * 7 / 8) {
            std::vector<K> old = Order();
            Reset(nyxNextPrime(m_capacity + m_capacity / 2));
            for (const K& k : old) Put(k);
        }
        int64_t slot;
        if (Probe(key, slot) >= 0 || slot < 0) return false;
        m_state[slot] = 1;
        m_keys[slot] = key;
        ++m_used;
        return true;
    }
    bool Remove(const K& key) {
        int64_t slot, at = Probe(key, slot);
        if (at >= 0) m_state[at] = 2;
        return at >= 0;
    }
    bool Contains(const K& key) const {
        int64_t slot;
        return Probe(key, slot) >= 0;
    }
    std::vector<K> Order() const {
        std::vector<K> keys;
        for (uint32_t p = 0; p < m_capacity; ++p)
            if (m_state[p] == 1) keys.push_back(m_keys[p]);
        return keys;
    }
    uint32_t Capacity() const { return m_capacity; }

private:
    void Reset(uint32_t capacity) {
        m_capacity = capacity;
        m_used = 0;
        m_state.assign(capacity, 0);
        m_keys.assign(capacity, K());
    }
    int64_t Probe(const K& key, int64_t& slot) const {
        uint32_t hash = m_hash(key) & nyxHashImpl::kHashMask, place = hash % m_capacity;
        uint32_t step = hash % (m_capacity - 2) + 1;
        slot = -1;
        for (uint32_t tried = 0; tried < m_capacity; ++tried, place = (place + step) % m_capacity) {
            if (m_state[place] == 1 && m_keys[place] == key) return place;
            if (m_state[place] == 2 && slot < 0) slot = place;
            if (m_state[place] == 0) {
                if (slot < 0) slot = place;
                return -1;
            }
        }
        return -1;
    }
    uint32_t (*m_hash)(const K&);
    uint32_t m_capacity = 0, m_used = 0;
    std::vector<uint8_t> m_state;
    std::vector<K> m_keys;
};

uint32_t WordKeyHash(const uint32_t& key) { return key; }
uint32_t TextKeyHash(const std::string& key) { return nyxStringHashText(key.c_str()); }

TEST(nyxHashTest, SmallTablesWalkAndGrowAsOneFlatBlock) {
    // Small tables keep their few entries aside; the order, the reuse of deleted places and
    // the growth must still be those of the flat block, since stored maps write that order.
    // Keys 143 apart share place and step at capacity 13, so paths collide and deleted places
    // lie on them; a narrow pool keeps the table small for long stretches of churn.
    std::mt19937 rng(5);
    int grewSmall = 0, built = 0;
    for (uint32_t pool : {4u, 6u, 9u, 12u, 40u}) {
        WordMap table(nyxWordHash, 13);
        FlatTable<uint32_t> flat(13, WordKeyHash);
        for (int step = 0; step < 4000; ++step) {
            uint32_t key = 7 + 143 * (rng() % pool);
            if (pool > 4 && rng() % 3 == 0) key += rng() % 5;
            bool small = !table.HasBlock();
            int32_t capacity = table.GetCapacity();
            if (rng() % 3 == 0) {
                ASSERT_EQ(table.RemoveKey(&key, 1), flat.Remove(key));
            } else {
                ASSERT_EQ(table.Put(key, key * 2), flat.Put(key));
            }
            grewSmall += small && table.GetCapacity() != capacity;
            built += small && table.HasBlock() && table.GetCapacity() == capacity;
            ASSERT_EQ(static_cast<uint32_t>(table.GetCapacity()), flat.Capacity());
            ASSERT_EQ(KeysInTableOrder(table), flat.Order()) << "pool " << pool << " step " << step;
            std::vector<uint32_t> backward;
            for (void* e = table.LastEntry(nullptr); e != nullptr; e = table.LastEntry(e))
                backward.push_back(*static_cast<uint32_t*>(table.KeyOfEntry(e)));
            std::reverse(backward.begin(), backward.end());
            ASSERT_EQ(backward, flat.Order());
            if (table.GetCount() > 0) {
                uint32_t first = *static_cast<uint32_t*>(table.KeyOfEntry(table.FirstEntry(nullptr)));
                ASSERT_EQ(*table.Find(first), first * 2);
            }
        }
    }
    // Both ways out of the small form were taken: churn into a rebuild, and a ninth entry.
    EXPECT_GT(grewSmall, 0);
    EXPECT_GT(built, 0);
}

TEST(nyxHashTest, WalksRunInTableOrder) {
    WordMap table(nyxWordHash, 13);
    for (uint32_t k : {20u, 3u, 15u}) table.Put(k, k * 10);
    // Places 7, 3 and 2 of 13.
    std::vector<uint32_t> forward, backward;
    nyxIteratorGuard it(table);
    nyxHashIterator* walk = static_cast<nyxHashIterator*>(it.get());
    for (it->First(); !it->AtEnd(); it->Next()) {
        forward.push_back(*static_cast<uint32_t*>(walk->CurrentKey()));
        EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), forward.back() * 10);
    }
    EXPECT_EQ(forward, (std::vector<uint32_t>{15, 3, 20}));
    for (it->Last(); !it->AtEnd(); it->Prev()) backward.push_back(*static_cast<uint32_t*>(walk->CurrentKey()));
    EXPECT_EQ(backward, (std::vector<uint32_t>{20, 3, 15}));
    // Prev from the end lands on the last entry.
    it->Last();
    it->Next();
    ASSERT_TRUE(it->AtEnd());
    it->Prev();
    EXPECT_EQ(*static_cast<uint32_t*>(walk->CurrentKey()), 20u);
    EXPECT_EQ(*static_cast<uint32_t*>(table.GetFirst()), 150u);
    EXPECT_EQ(*static_cast<uint32_t*>(table.GetLast()), 200u);
}

TEST(nyxHashTest, RemovingDuringAWalkVisitsEachEntryOnce) {
    StringMap table(nyxStringHash, 13);
    for (uint32_t i = 0; i < 200; ++i) table.Put(nyxString(("k" + std::to_string(i)).c_str()), i);
    std::set<uint32_t> seen;
    nyxIteratorGuard it(table);
    for (it->First(); !it->AtEnd();) {
        uint32_t v = *static_cast<uint32_t*>(it->Current());
        ASSERT_TRUE(seen.insert(v).second);
        if (v % 2)
            ASSERT_TRUE(table.RemoveAt(it.get(), true));
        else
            it->Next();
    }
    EXPECT_EQ(seen.size(), 200u);
    EXPECT_EQ(table.GetCount(), 100u);
}

TEST(nyxHashTest, KeyAndValueTableRefusesElementOperations) {
    WordMap table(nyxWordHash, 13);
    table.Put(1, 2);
    uint32_t w = 3;
    nyxIteratorGuard it(table);
    EXPECT_FALSE(table.Insert(&w));
    EXPECT_FALSE(table.Contains(&w));
    EXPECT_FALSE(table.Remove(&w, -1));
    EXPECT_EQ(table.GetAt(0), nullptr);
    EXPECT_FALSE(table.InsertAt(0, &w));
    EXPECT_FALSE(table.InsertFirst(&w));
    EXPECT_FALSE(table.InsertLast(&w));
    EXPECT_FALSE(table.InsertBefore(it.get(), &w));
    EXPECT_FALSE(table.InsertAfter(it.get(), &w));
    EXPECT_FALSE(table.RemoveFirst());
    EXPECT_FALSE(table.RemoveLast());
    EXPECT_FALSE(table.RemoveAt(0u));
    EXPECT_FALSE(table.SetAt(0u, &w));
    EXPECT_FALSE(table.SetAt(it.get(), &w));
    EXPECT_EQ(table.GetCount(), 1u);
    EXPECT_EQ(*table.Find(1), 2u);
    EXPECT_FALSE(table.IsSequential());
    EXPECT_STREQ(table.GetClassName(), "nyxHashImpl");
    EXPECT_EQ(table.GetPair(table.FirstEntry(nullptr)), table.FirstEntry(nullptr));
}

TEST(nyxHashTest, KeysAndValuesFromTheTableSurviveGrowth) {
    nyxHashMapOf<nyxString, nyxString> table(nyxStringHash, 13);
    table.Put(nyxString("seed"), nyxString("value"));
    for (int i = 0; i < 200; ++i) {
        nyxString key(("k" + std::to_string(i)).c_str());
        // The value comes from inside the block that this insertion may replace.
        ASSERT_TRUE(table.PutValue(&key, table.GetFirst()));
    }
    nyxIteratorGuard it(table);
    for (it->First(); !it->AtEnd(); it->Next())
        EXPECT_STREQ(static_cast<nyxString*>(it->Current())->c_str(), "value");
}

template <class Table>
void CheckGrowthStep(Table& table, int32_t capacity, int32_t used, int32_t threshold, uint32_t count,
                     bool inserted) {
    if (used > threshold) {
        ASSERT_EQ(static_cast<uint32_t>(table.GetCapacity()),
                  nyxNextPrime(static_cast<uint32_t>(capacity + capacity / 2)));
        ASSERT_EQ(table.GetUsed(), static_cast<int32_t>(count) + (inserted ? 1 : 0));
    } else {
        ASSERT_EQ(table.GetCapacity(), capacity);
        ASSERT_EQ(table.GetUsed(), used + (inserted ? 1 : 0));
    }
    ASSERT_EQ(table.GetThreshold(), static_cast<int32_t>(int64_t(table.GetCapacity()) * 7 / 8));
}

TEST(nyxHashTest, StringMapAgreesWithModel) {
    StringMap table(nyxStringHash, 100);
    std::unordered_map<std::string, uint32_t> model;
    std::mt19937 rng(11);
    for (int step = 0; step < 40000; ++step) {
        std::string k = "key" + std::to_string(rng() % 3000);
        nyxString key(k.c_str());
        uint32_t v = rng();
        switch (rng() % 6) {
        case 0:
        case 1: {
            int32_t capacity = table.GetCapacity(), used = table.GetUsed(), threshold = table.GetThreshold();
            uint32_t count = table.GetCount();
            bool inserted = model.emplace(k, v).second;
            ASSERT_EQ(table.PutValue(&key, &v), inserted);
            CheckGrowthStep(table, capacity, used, threshold, count, inserted);
            break;
        }
        case 2: {
            ASSERT_EQ(table.RemoveKey(&key, 1), model.erase(k) == 1);
            break;
        }
        case 3: {
            uint32_t* found = static_cast<uint32_t*>(table.FindValue(&key));
            auto m = model.find(k);
            ASSERT_EQ(found != nullptr, m != model.end());
            if (found) {
                ASSERT_EQ(*found, m->second);
            }
            ASSERT_EQ(table.ContainsKey(&key), m != model.end());
            break;
        }
        case 4: {
            nyxIterator* at = table.NewIteratorAtKey(&key);
            ASSERT_EQ(at != nullptr, model.count(k) == 1);
            if (at) {
                EXPECT_STREQ(static_cast<nyxString*>(static_cast<nyxHashIterator*>(at)->CurrentKey())->c_str(), k.c_str());
                at->Release();
            }
            break;
        }
        case 5:
            if (rng() % 500 == 0) {
                table.Clear();
                model.clear();
                ASSERT_EQ(table.GetCapacity(), 103);
            }
            break;
        }
        ASSERT_EQ(table.GetCount(), model.size());
        if (step % 500 == 0) {
            std::map<std::string, uint32_t> walked;
            nyxIteratorGuard it(table);
            auto* walk = static_cast<nyxHashIterator*>(it.get());
            for (it->First(); !it->AtEnd(); it->Next()) {
                const char* text = static_cast<nyxString*>(walk->CurrentKey())->c_str();
                ASSERT_TRUE(walked.emplace(text, *static_cast<uint32_t*>(it->Current())).second);
            }
            ASSERT_EQ(walked, (std::map<std::string, uint32_t>(model.begin(), model.end())));
            // The capacity is always a table value.
            ASSERT_EQ(nyxNextPrime(static_cast<uint32_t>(table.GetCapacity())),
                      static_cast<uint32_t>(table.GetCapacity()));
        }
    }
}

TEST(nyxHashTest, DerivedKeyTableAgreesWithModel) {
    std::vector<Record> records(4000);
    for (uint32_t i = 0; i < records.size(); ++i) records[i] = {0x1000u + i * 64u, i};
    RecordTable table(nyxWordHash, AddressOf, 10000);
    EXPECT_EQ(table.GetCapacity(), 10247);
    std::map<uint32_t, Record*> model;
    std::mt19937 rng(5);
    for (int step = 0; step < 60000; ++step) {
        Record* r = &records[rng() % records.size()];
        switch (rng() % 5) {
        case 0:
        case 1: {
            int32_t capacity = table.GetCapacity(), used = table.GetUsed(), threshold = table.GetThreshold();
            uint32_t count = table.GetCount();
            bool inserted = model.emplace(r->address, r).second;
            ASSERT_EQ(table.Insert(&r), inserted);
            CheckGrowthStep(table, capacity, used, threshold, count, inserted);
            break;
        }
        case 2:
            ASSERT_EQ(table.Remove(&r, 1), model.erase(r->address) == 1);
            break;
        case 3: {
            ASSERT_EQ(table.Contains(&r), model.count(r->address) == 1);
            Record** found = table.Find(r->address);
            ASSERT_EQ(found != nullptr, model.count(r->address) == 1);
            if (found) {
                ASSERT_EQ(*found, r);
            }
            break;
        }
        case 4: {
            nyxIteratorGuard it(table);
            if (it->AtEnd()) break;
            Record* first = *static_cast<Record**>(it->Current());
            // The pair form doesn't exist for a table whose entries hold values only.
            EXPECT_EQ(static_cast<nyxHashIterator*>(it.get())->GetPair(), nullptr);
            ASSERT_TRUE(table.RemoveAt(it.get(), true));
            model.erase(first->address);
            break;
        }
        }
        ASSERT_EQ(table.GetCount(), model.size());
    }
    std::map<uint32_t, Record*> walked;
    nyxIteratorGuard it(table);
    for (it->First(); !it->AtEnd(); it->Next()) {
        Record* r = *static_cast<Record**>(it->Current());
        ASSERT_EQ(*static_cast<uint32_t*>(static_cast<nyxHashIterator*>(it.get())->CurrentKey()), r->address);
        walked[r->address] = r;
    }
    EXPECT_EQ(walked, model);
}

TEST(nyxHashTest, InsertAllAndAssignPairsCopyEveryPair) {
    StringMap a(nyxStringHash, 13), b(nyxStringHash, 13);
    for (uint32_t i = 0; i < 50; ++i) a.Put(nyxString(("a" + std::to_string(i)).c_str()), i);
    b.Put(nyxString("a3"), 1000);
    b.Put(nyxString("b"), 7);
    ASSERT_TRUE(b.InsertAll(a));
    EXPECT_EQ(b.GetCount(), 51u);
    EXPECT_EQ(*b.Find(nyxString("a3")), 1000u);
    b.AssignPairs(a);
    EXPECT_EQ(b.GetCount(), 50u);
    EXPECT_EQ(*b.Find(nyxString("a3")), 3u);
    b.AssignPairs(b);
    EXPECT_EQ(b.GetCount(), 50u);
}

}  // namespace

namespace {

std::vector<std::string> TextKeysInTableOrder(StringMap& table) {
    std::vector<std::string> keys;
    for (void* e = table.FirstEntry(nullptr); e != nullptr; e = table.FirstEntry(e))
        keys.push_back(static_cast<nyxString*>(table.KeyOfEntry(e))->c_str());
    return keys;
}

TEST(nyxHashTest, LargeTablesOfAlikeNamesKeepThePlacesOfThePlainProbe) {
    // Names that differ in their last digits share a few dozen hash values, so each shares its
    // path with thousands of others: exactly where a large table finds keys and free places by
    // its index and path memo instead of by walking. Inserts, removals, lookups and growth must
    // leave every key where the plain probe puts it.
    std::mt19937 rng(11);
    StringMap table(nyxStringHash, 100);
    FlatTable<std::string> flat(100, TextKeyHash);
    auto name = [](uint32_t k) {
        char text[32];
        std::snprintf(text, sizeof text, "part-%07u", k);
        return std::string(text);
    };
    for (int step = 0; step < 60000; ++step) {
        // Mostly new names while the table grows, then churn over a range.
        uint32_t k = step < 30000 ? static_cast<uint32_t>(step) : rng() % 36000;
        std::string key = name(k);
        nyxString text(key.c_str());
        uint32_t roll = rng() % 10;
        if (step >= 30000 && roll < 4) {
            ASSERT_EQ(table.RemoveKey(&text, 1), flat.Remove(key)) << step;
        } else if (roll < 6 || step < 30000) {
            ASSERT_EQ(table.Put(text, k), flat.Put(key)) << step;
        } else {
            uint32_t* found = table.Find(text);
            ASSERT_EQ(found != nullptr, flat.Contains(key)) << step;
            if (found != nullptr) {
                ASSERT_EQ(*found, k);
            }
        }
        if (step % 2500 == 0 || step == 59999) {
            ASSERT_EQ(static_cast<uint32_t>(table.GetCapacity()), flat.Capacity()) << step;
            ASSERT_EQ(TextKeysInTableOrder(table), flat.Order()) << step;
        }
    }
    EXPECT_GT(table.GetCount(), 10000u);
}

}  // namespace
