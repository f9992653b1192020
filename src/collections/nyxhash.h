// The associative table: open addressing with double hashing over one flat block of entries,
// at a prime capacity from nyxPrimeTable, grown by half when more than seven eighths of the
// entries have been filled since the block was made.
//
// Two modes. Key and value: an entry holds a key and a value of their own types, and only the
// keyed operations apply. Derived key: an entry holds a value alone and the key is computed
// from it (the store's object table), so the plain Insert, Contains and Remove work too.
//
// An entry is a header word (state in bits 30-31, the key's hash masked to 30 bits below),
// the key at offset 8, then the value. Iteration runs in table order, which depends on the
// hashes and the history of the table and on nothing else; stored maps write their entries
// in that order.
//
// Most tables are small: every stored object with attributes has a map of a handful of
// entries at a capacity of a hundred or more. Such a table keeps the entries that are not
// empty in a side block of kFewEntries, each tagged with its place; a place missing from the
// side block is an empty entry. Probing, order, growth and capacity are those of the full
// block, which is built (the entries copied to their places) when one more entry than the side
// block holds would be taken. Like growth, that move invalidates element addresses and
// iterators.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

#include "collections/nyxelements.h"
#include "collections/nyxhashaccel.h"
#include "collections/nyxkeyed.h"

// Where a probe ended: the entry an insertion would fill, or in a small table an empty place
// that has no entry yet (entry null). place is kNoPlace when the table is full.
struct nyxHashSlot {
    static constexpr uint32_t kNoPlace = UINT32_MAX;
    char* entry = nullptr;
    uint32_t place = kNoPlace;
};

typedef uint32_t (*nyxHashFunction)(const void* key);
typedef const void* (*nyxKeyOfValueFunction)(const void* value);

// Hash of a nyxString key, and of a plain text. The empty text hashes to 0.
uint32_t nyxStringHash(const void* key);
uint32_t nyxStringHashText(const char* text);
// A uint32_t key is its own hash: the store keys its object table by storage address.
uint32_t nyxWordHash(const void* key);
// A pointer key hashes by its low 32 bits; equality still compares the whole pointer.
uint32_t nyxPointerHash(const void* key);

constexpr uint32_t kNyxPrimeCount = 457;
extern const uint32_t nyxPrimeTable[kNyxPrimeCount];
// The first table value not below n; the largest one for anything above it.
uint32_t nyxNextPrime(uint32_t n);

class nyxHashImpl : public nyxKeyedCollection {
public:
    static constexpr uint32_t kHashMask = 0x3FFFFFFFu;
    // The state in the top two bits of an entry's header word.
    static constexpr uint32_t kStateEmpty = 0;
    static constexpr uint32_t kStateOccupied = 1;
    static constexpr uint32_t kStateDeleted = 2;
    // The entries a small table keeps before it builds its full block.
    static constexpr uint32_t kFewEntries = 8;

    // Key and value mode.
    explicit nyxHashImpl(nyxHashFunction hash);
    // Derived key mode.
    nyxHashImpl(nyxHashFunction hash, nyxKeyOfValueFunction keyOfValue, int32_t initialCapacity);

    bool IsSequential() const override { return false; }
    bool IsSorted() const override { return false; }
    bool Contains(const void* element) override;
    void* GetAt(uint32_t index) override;
    void* GetFirst() override;
    void* GetLast() override;
    uint32_t GetCount() const override { return static_cast<uint32_t>(m_count); }
    bool IsEmpty() const override { return m_count == 0; }
    nyxIterator* NewIterator() override;
    bool Insert(const void* element) override;
    bool InsertAt(uint32_t index, const void* element) override;
    bool InsertBefore(nyxIterator* iterator, const void* element) override;
    bool InsertAfter(nyxIterator* iterator, const void* element) override;
    bool InsertFirst(const void* element) override;
    bool InsertLast(const void* element) override;
    bool InsertAll(nyxCollection& other) override;
    bool Remove(const void* element, int32_t count) override;
    // Back to a fresh block of the initial capacity.
    void Clear() override;
    bool RemoveAt(nyxIterator* iterator, bool forward) override;
    bool RemoveAt(uint32_t index) override;
    bool RemoveFirst() override;
    bool RemoveLast() override;
    bool SetAt(uint32_t index, const void* element) override;
    bool SetAt(nyxIterator* iterator, const void* element) override;
    // Leaves no block: the table is then fit only for destruction.
    void FreeStorage() override;
    const char* GetClassName() const override { return "nyxHashImpl"; }

    void* FindValue(const void* key) override;
    bool ContainsKey(const void* key) override;
    bool GetValue(const void* key, void* value) override;
    bool PutValue(const void* key, const void* value) override;
    bool RemoveKey(const void* key, int32_t count) override;
    void* FirstEntry(void* entry) override;
    void* LastEntry(void* entry) override;
    void* KeyOfEntry(void* entry) override;
    void* ValueOfEntry(void* entry) override;
    void* GetPair(void* entry) override;
    nyxIterator* NewIteratorAtKey(const void* key) override;
    int32_t CompareKeys(const void*, const void*) const override { return 0; }

    // The offsets of key and value in an entry and its size, as a plain structure of header
    // word, key and value would have them.
    virtual void EntryLayout(int32_t* keyOffset, int32_t* valueOffset, int32_t* entrySize) const;
    void ResetLayout();
    uint32_t HashKey(const void* key) const { return m_hash(key); }
    const void* KeyOfValue(const void* value) const { return m_keyOfValue(value); }
    bool DerivedKey() const { return m_keyOfValue != nullptr; }

    int32_t GetCapacity() const { return m_capacity; }
    int32_t GetThreshold() const { return m_threshold; }
    int32_t GetUsed() const { return m_used; }
    int32_t GetInitialCapacity() const { return m_initialCapacity; }
    // Whether the full block has been built.
    bool HasBlock() const { return m_table != nullptr; }

    // A table of this many entries or more keeps an index and a path memo beside its block, if
    // its key type gives a digest (see nyxHashAccel).
    static constexpr int32_t kAccelerateFrom = 64;
    // Frees them; they are made again on the next need.
    void ReleaseAccelerator() { DropAccel(); }

protected:
    nyxHashImpl(const nyxHashImpl&) = delete;
    nyxHashImpl& operator=(const nyxHashImpl&) = delete;

    // The typed shell calls this once its layout is known: sets the initial capacity and
    // allocates the first block.
    void InitTable(int32_t initialCapacity);

    // The probe along the key's double-hashing path, with keysMatch(entry) telling whether an
    // occupied entry of the same hash holds the key. Gives that entry, or null; when slot is
    // given it also receives the place an insertion would fill (the first deleted one on the
    // path, else the empty one that ended it). A typed shell passes its own inline key
    // comparison; everything else goes through KeysEqual.
    template <class KeysMatch>
    char* ProbeWith(uint32_t hash, nyxHashSlot* slot, KeysMatch keysMatch) const;
    // A strong digest of a key for the index; a key type without one gives no acceleration.
    virtual bool HasKeyDigest() const { return false; }
    virtual uint64_t KeyDigest(const void*) const { return 0; }
    // Whether lookups go through the index: a large full block, or an index already kept.
    bool Accelerating() const {
        return m_table != nullptr && HasKeyDigest() &&
               (m_count >= kAccelerateFrom || (m_accel != nullptr && m_accel->HasIndex()));
    }
    // The entry of the key by the index, or null; `known` false when the index can't be had
    // (no memory), and the caller walks the path instead.
    char* IndexedFind(const void* key, bool& known) const;
    const void* EntryKey(const char* entry) const {
        return m_keyOfValue ? m_keyOfValue(entry + m_valueOffset) : entry + m_keyOffset;
    }
    char* EntryValue(char* entry) const { return entry + m_valueOffset; }

private:
    char* EntryAt(uint32_t place) const { return m_table + static_cast<size_t>(place) * m_entrySize; }
    char* FewAt(uint32_t index) const { return m_few + static_cast<size_t>(index) * m_entrySize; }
    // The side entry at place; null where the place is empty.
    char* FindFew(uint32_t place) const {
        for (uint32_t i = 0; i < m_fewCount; ++i)
            if (m_fewPlaces[i] == place) return FewAt(i);
        return nullptr;
    }
    uint32_t PlaceOfFew(const char* entry) const {
        return m_fewPlaces[static_cast<uint32_t>(entry - m_few) / static_cast<uint32_t>(m_entrySize)];
    }
    // The occupied side entry next above (up) or below the place, in table order; from the
    // first or last when place is kNoPlace.
    char* NextFew(uint32_t place, bool up) const;
    static uint32_t Header(const char* entry) {
        uint32_t header;
        memcpy(&header, entry, sizeof header);
        return header;
    }
    static void SetHeader(char* entry, uint32_t header);
    bool InTable(const void* p) const;
    static uint32_t FastMod(uint32_t n, uint64_t reciprocal, uint32_t d) {
        uint64_t low = reciprocal * n;
        return static_cast<uint32_t>((static_cast<unsigned __int128>(low) * d) >> 64);
    }

    char* Probe(const void* key, uint32_t hash, nyxHashSlot* slot) const;
    uint32_t PlaceOf(const char* entry) const {
        return static_cast<uint32_t>((entry - m_table) / m_entrySize);
    }
    nyxHashAccel* Accel() const;
    bool BuildIndex() const;
    // The first place on the hash's path that isn't occupied, from where the memo says the
    // walk may resume; its step on the path in `step`. Null when the block is full.
    char* FirstFreeOnPath(uint32_t hash, uint32_t& step, uint32_t& place) const;
    // An absent key into the first free place of its path, which the memo finds.
    bool PutAbsentHashed(const void* key, const void* value, uint32_t hash);
    void DropAccel();
    // The entry to fill for slot: a new side entry, or in the full block, which is built
    // first when the side block is full. Null if there is no room or no memory.
    char* Claim(const nyxHashSlot& slot);
    // Builds the full block from the side entries; false, with the table as it was, if there
    // is no memory.
    bool BuildBlock();
    void Fill(char* entry, uint32_t hash, const void* key, const void* value);
    void Delete(char* entry);
    bool PutHashed(const void* key, const void* value);
    // A new block of nyxNextPrime(size) entries, the occupied entries inserted anew from low
    // to high place. False, with the table as it was, if there is no memory.
    bool Rehash(uint32_t size);
    // An empty table of nyxNextPrime(size) places, with no block yet.
    void Begin(uint32_t size);
    bool AllocateBlock(uint32_t size);
    void DestroyAll();

    int32_t m_tableBytes = 0;
    // The full block, or null while the entries fit the side block.
    char* m_table = nullptr;
    char* m_few = nullptr;
    uint32_t m_fewPlaces[kFewEntries] = {};
    // Side entries taken, in the order they were taken; a deleted one keeps its entry.
    uint32_t m_fewCount = 0;
    int32_t m_entrySize = 0;
    int32_t m_keyOffset = 0;
    int32_t m_valueOffset = 0;
    int32_t m_count = 0;
    // Entries filled since the block was made: deletions don't lower it, so fill-and-delete
    // cycles push the table towards a rebuild that sweeps the deleted entries away.
    int32_t m_used = 0;
    // 0 when the table has been freed for destruction.
    int32_t m_capacity = 0;
    int32_t m_threshold = 0;
    int32_t m_initialCapacity = 0;
    // Reciprocals of capacity and capacity - 2: the probe takes both remainders of every
    // hash, and a multiplication is several times cheaper than a division.
    uint64_t m_capacityReciprocal = 0;
    uint64_t m_stepReciprocal = 0;
    nyxHashFunction m_hash;
    nyxKeyOfValueFunction m_keyOfValue;
    // Made on the first need; it holds nothing of the table's contents but places and digests.
    mutable nyxHashAccel* m_accel = nullptr;
};

template <class KeysMatch>
char* nyxHashImpl::ProbeWith(uint32_t hash, nyxHashSlot* slot, KeysMatch keysMatch) const {
    if (slot) *slot = nyxHashSlot();
    if (m_capacity == 0) return nullptr;
    uint32_t capacity = static_cast<uint32_t>(m_capacity);
    uint32_t place = FastMod(hash, m_capacityReciprocal, capacity);
    // The step is worked out only when the first entry doesn't settle the matter, which in a
    // table of spread keys is most of the time the case.
    uint32_t step = 0;
    nyxHashSlot deleted;
    for (uint32_t tried = 0; tried < capacity; ++tried) {
        char* entry = m_table ? EntryAt(place) : FindFew(place);
        uint32_t state = entry ? Header(entry) >> 30 : kStateEmpty;
        if (state == kStateOccupied) {
            // The stored hash turns away nearly every foreign key before the keys are compared.
            if ((Header(entry) & kHashMask) == hash && keysMatch(entry)) return entry;
        } else if (state == kStateDeleted) {
            // A deleted entry doesn't end the path: the key may lie behind it.
            if (deleted.entry == nullptr) deleted = {entry, place};
        } else {
            if (slot) *slot = deleted.entry ? deleted : nyxHashSlot{entry, place};
            return nullptr;
        }
        // The smallest capacity is 13, so capacity - 2 is positive and the step never 0.
        if (step == 0) step = FastMod(hash, m_stepReciprocal, capacity - 2) + 1;
        place += step;
        if (place >= capacity) place -= capacity;
    }
    if (slot) *slot = deleted;
    return nullptr;
}

// Walks a keyed collection in table order; also the iterator of the stored maps.
class nyxHashIterator : public nyxIterator {
public:
    nyxHashIterator(nyxKeyedCollection* collection, void* entry)
        : m_collection(collection), m_entry(entry) {}

    void* Current() override { return m_entry ? m_collection->ValueOfEntry(m_entry) : nullptr; }
    bool AtEnd() const override { return m_entry == nullptr; }
    void First() override { m_entry = m_collection->FirstEntry(nullptr); }
    void Last() override { m_entry = m_collection->LastEntry(nullptr); }
    void Next() override {
        if (m_entry) m_entry = m_collection->FirstEntry(m_entry);
    }
    // From the end this lands on the last entry.
    void Prev() override { m_entry = m_collection->LastEntry(m_entry); }
    nyxCollection* GetCollection() const override { return m_collection; }
    nyxIterator* Clone() const override;

    void* CurrentKey() { return m_entry ? m_collection->KeyOfEntry(m_entry) : nullptr; }
    virtual void* GetPair();
    // Nothing restricts a walk; both forms are refused.
    bool SetRestriction(int32_t relation, const void* key);
    bool SetRestriction(int32_t relation, const void* key, int32_t relation2, const void* key2);

    void* Entry() const { return m_entry; }

protected:
    nyxKeyedCollection* m_collection;
    void* m_entry;
};

// The iterator of a derived-key table, whose entries are no pairs.
class nyxHashPairIterator : public nyxHashIterator {
public:
    using nyxHashIterator::nyxHashIterator;
    void* GetPair() override;
    nyxIterator* Clone() const override;
};

// Key operations for keys of type K, on top of the element shell of the value type V.
template <class K, class V>
class nyxHashShell : public nyxElementShell<nyxHashImpl, V> {
public:
    using nyxElementShell<nyxHashImpl, V>::nyxElementShell;
    // The shell's key operations are gone by the time the base destructor frees the block.
    ~nyxHashShell() override { this->FreeStorage(); }

    uint32_t KeySize() const override { return sizeof(K); }
    void DestroyKeys(void* keys, uint32_t count) const override {
        nyxElementRuns<K>::Destroy(keys, count);
    }
    void ConstructKeys(void* target, const void* source, uint32_t count) const override {
        nyxElementRuns<K>::Construct(target, source, count);
    }
    void AssignKeys(void* target, const void* source, uint32_t count) const override {
        nyxElementRuns<K>::Assign(target, source, count);
    }
    bool KeysEqual(const void* a, const void* b) const override {
        return nyxElementTraits<K>::Equal(*static_cast<const K*>(a), *static_cast<const K*>(b));
    }
    bool HasKeyDigest() const override { return std::is_same<K, nyxString>::value; }
    uint64_t KeyDigest(const void* key) const override {
        if constexpr (std::is_same<K, nyxString>::value) {
            return std::hash<std::string_view>()(static_cast<const nyxString*>(key)->c_str());
        } else {
            return 0;
        }
    }

    // The lookups compare keys inline: they are the hot path of the object table.
    void* FindValue(const void* key) override {
        char* entry = Lookup(key);
        return entry ? this->EntryValue(entry) : nullptr;
    }
    bool ContainsKey(const void* key) override { return Lookup(key) != nullptr; }
    bool GetValue(const void* key, void* value) override {
        char* entry = Lookup(key);
        if (entry == nullptr) return false;
        this->AssignElements(value, this->EntryValue(entry), 1);
        return true;
    }

    V* Find(const K& key) { return static_cast<V*>(this->FindValue(&key)); }
    bool Put(const K& key, const V& value) { return this->PutValue(&key, &value); }

private:
    char* Lookup(const void* key) const {
        if (this->Accelerating()) {
            bool known = false;
            char* entry = this->IndexedFind(key, known);
            if (known) return entry;
        }
        const K& k = *static_cast<const K*>(key);
        return this->ProbeWith(this->HashKey(key) & nyxHashImpl::kHashMask, nullptr,
                               [this, &k](const char* entry) {
                                   return nyxElementTraits<K>::Equal(
                                       k, *static_cast<const K*>(this->EntryKey(entry)));
                               });
    }
};

// A table from K to V: stored maps (nyxString to reference), address translation (words).
template <class K, class V>
class nyxHashMapOf : public nyxHashShell<K, V> {
public:
    nyxHashMapOf(nyxHashFunction hash, int32_t initialCapacity) : nyxHashShell<K, V>(hash) {
        this->ResetLayout();
        this->InitTable(initialCapacity);
    }
};

// A table of V whose key K lies inside the value (the store's object table).
template <class K, class V>
class nyxDerivedHashOf : public nyxHashShell<K, V> {
public:
    nyxDerivedHashOf(nyxHashFunction hash, nyxKeyOfValueFunction keyOfValue,
                     int32_t initialCapacity)
        : nyxHashShell<K, V>(hash, keyOfValue, initialCapacity) {
        this->ResetLayout();
        this->InitTable(initialCapacity);
    }
};
