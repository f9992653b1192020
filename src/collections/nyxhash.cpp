#include "collections/nyxhash.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

uint32_t StateOf(uint32_t header) { return header >> 30; }

constexpr uint32_t kStateOccupied = nyxHashImpl::kStateOccupied;
constexpr uint32_t kStateDeleted = nyxHashImpl::kStateDeleted;

// Where an alignment can be told from the size alone: the largest power of two that divides
// it, up to 8. Every key and value type of the library is aligned at most that strictly.
int32_t AlignmentOf(uint32_t size) {
    int32_t align = 1;
    while (align < 8 && size % (2u * align) == 0) align *= 2;
    return align;
}

int32_t RoundUp(int32_t n, int32_t align) { return (n + align - 1) / align * align; }

// The reciprocal for n mod d by multiplication (Lemire's method); exact for every 32-bit n and d.
uint64_t Reciprocal(uint32_t d) { return UINT64_MAX / d + 1; }

// A private copy of a key or value that lives inside the table: a growth frees the block
// that it points into.
class nyxHashCopy {
public:
    typedef void (nyxKeyedCollection::*Construct)(void*, const void*, uint32_t) const;
    typedef void (nyxKeyedCollection::*Destroy)(void*, uint32_t) const;

    nyxHashCopy(const nyxKeyedCollection& owner, uint32_t size, Construct construct,
                Destroy destroy, const void* source)
        : m_owner(owner), m_destroy(destroy) {
        m_data = ::operator new(size, std::nothrow);
        if (m_data) (owner.*construct)(m_data, source, 1);
    }
    ~nyxHashCopy() {
        if (m_data == nullptr) return;
        (m_owner.*m_destroy)(m_data, 1);
        ::operator delete(m_data);
    }
    nyxHashCopy(const nyxHashCopy&) = delete;
    nyxHashCopy& operator=(const nyxHashCopy&) = delete;
    const void* get() const { return m_data; }

private:
    const nyxKeyedCollection& m_owner;
    Destroy m_destroy;
    void* m_data;
};

}  // namespace

uint32_t nyxStringHashText(const char* text) {
    uint32_t h = 0;
    if (text == nullptr) return 0;
    for (uint32_t i = 0; text[i] != '\0'; ++i) {
        // Bytes count as signed, so those above 127 spread their sign over the high bits.
        int32_t c = static_cast<int8_t>(text[i]);
        uint32_t s = (i / 2) % 32;
        h ^= static_cast<uint32_t>(c) << s;
        if (s > 24) h ^= static_cast<uint32_t>(c >> (s - 24));
    }
    return h;
}

uint32_t nyxStringHash(const void* key) {
    return nyxStringHashText(static_cast<const nyxString*>(key)->c_str());
}

uint32_t nyxWordHash(const void* key) { return *static_cast<const uint32_t*>(key); }

uint32_t nyxPointerHash(const void* key) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(*static_cast<void* const*>(key)));
}

uint32_t nyxNextPrime(uint32_t n) {
    uint32_t low = 0, high = kNyxPrimeCount - 1;
    if (n >= nyxPrimeTable[high]) return nyxPrimeTable[high];
    while (low < high) {
        uint32_t middle = (low + high) / 2;
        if (nyxPrimeTable[middle] < n)
            low = middle + 1;
        else
            high = middle;
    }
    return nyxPrimeTable[low];
}

nyxHashImpl::nyxHashImpl(nyxHashFunction hash) : m_hash(hash), m_keyOfValue(nullptr) {}

nyxHashImpl::nyxHashImpl(nyxHashFunction hash, nyxKeyOfValueFunction keyOfValue,
                         int32_t initialCapacity)
    : m_initialCapacity(initialCapacity), m_hash(hash), m_keyOfValue(keyOfValue) {}

void nyxHashImpl::EntryLayout(int32_t* keyOffset, int32_t* valueOffset,
                              int32_t* entrySize) const {
    uint32_t valueSize = ElementSize();
    int32_t valueAlign = AlignmentOf(valueSize);
    int32_t entryAlign = valueAlign > 4 ? valueAlign : 4;
    if (DerivedKey()) {
        *keyOffset = 0;
        *valueOffset = RoundUp(4, valueAlign);
    } else {
        uint32_t keySize = KeySize();
        int32_t keyAlign = AlignmentOf(keySize);
        if (keyAlign > entryAlign) entryAlign = keyAlign;
        *keyOffset = 8;
        *valueOffset = RoundUp(8 + static_cast<int32_t>(keySize), valueAlign);
    }
    *entrySize = RoundUp(*valueOffset + static_cast<int32_t>(valueSize), entryAlign);
}

void nyxHashImpl::ResetLayout() { EntryLayout(&m_keyOffset, &m_valueOffset, &m_entrySize); }

void nyxHashImpl::InitTable(int32_t initialCapacity) {
    m_initialCapacity = initialCapacity;
    Begin(initialCapacity > 0 ? static_cast<uint32_t>(initialCapacity) : 0);
}

void nyxHashImpl::SetHeader(char* entry, uint32_t header) {
    memcpy(entry, &header, sizeof header);
}

bool nyxHashImpl::InTable(const void* p) const {
    const char* c = static_cast<const char*>(p);
    if (m_table != nullptr) return c >= m_table && c < m_table + m_tableBytes;
    return m_few != nullptr && c >= m_few && c < FewAt(kFewEntries);
}

void nyxHashImpl::Begin(uint32_t size) {
    // A new block: the places and paths the index and memo knew are gone.
    DropAccel();
    uint32_t capacity = nyxNextPrime(size);
    m_table = nullptr;
    m_tableBytes = 0;
    m_fewCount = 0;
    m_capacity = static_cast<int32_t>(capacity);
    m_threshold = static_cast<int32_t>(static_cast<int64_t>(capacity) * 7 / 8);
    m_capacityReciprocal = Reciprocal(capacity);
    m_stepReciprocal = Reciprocal(capacity - 2);
    m_count = 0;
    m_used = 0;
}

bool nyxHashImpl::AllocateBlock(uint32_t size) {
    uint32_t capacity = nyxNextPrime(size);
    size_t bytes = static_cast<size_t>(capacity) * static_cast<size_t>(m_entrySize);
    // Zeroed memory is a block of empty entries; fresh pages of a large block come zeroed
    // from the system, which calloc knows and uses.
    char* table = static_cast<char*>(calloc(bytes, 1));
    if (table == nullptr) return false;
    Begin(capacity);
    m_table = table;
    m_tableBytes = static_cast<int32_t>(bytes);
    return true;
}

char* nyxHashImpl::NextFew(uint32_t place, bool up) const {
    char* best = nullptr;
    uint32_t bestPlace = 0;
    for (uint32_t i = 0; i < m_fewCount; ++i) {
        char* entry = FewAt(i);
        uint32_t at = m_fewPlaces[i];
        if (StateOf(Header(entry)) != kStateOccupied) continue;
        if (place != nyxHashSlot::kNoPlace && (up ? at <= place : at >= place)) continue;
        if (best == nullptr || (up ? at < bestPlace : at > bestPlace)) {
            best = entry;
            bestPlace = at;
        }
    }
    return best;
}

char* nyxHashImpl::Claim(const nyxHashSlot& slot) {
    if (slot.entry != nullptr) return slot.entry;
    if (slot.place == nyxHashSlot::kNoPlace) return nullptr;
    if (m_table == nullptr && m_fewCount < kFewEntries) {
        if (m_few == nullptr) {
            m_few = static_cast<char*>(malloc(static_cast<size_t>(kFewEntries) * m_entrySize));
            if (m_few == nullptr) return nullptr;
        }
        m_fewPlaces[m_fewCount] = slot.place;
        return FewAt(m_fewCount++);
    }
    if (m_table == nullptr && !BuildBlock()) return nullptr;
    return EntryAt(slot.place);
}

bool nyxHashImpl::BuildBlock() {
    size_t bytes = static_cast<size_t>(m_capacity) * static_cast<size_t>(m_entrySize);
    char* table = static_cast<char*>(calloc(bytes, 1));
    if (table == nullptr) return false;
    // Deleted entries go along with their state: they still lie on probe paths.
    for (uint32_t i = 0; i < m_fewCount; ++i) {
        char* from = FewAt(i);
        char* to = table + static_cast<size_t>(m_fewPlaces[i]) * m_entrySize;
        uint32_t header = Header(from);
        SetHeader(to, header);
        if (StateOf(header) != kStateOccupied) continue;
        ConstructElements(to + m_valueOffset, from + m_valueOffset, 1);
        DestroyElements(from + m_valueOffset, 1);
        if (DerivedKey()) continue;
        ConstructKeys(to + m_keyOffset, from + m_keyOffset, 1);
        DestroyKeys(from + m_keyOffset, 1);
    }
    free(m_few);
    m_few = nullptr;
    m_fewCount = 0;
    m_table = table;
    m_tableBytes = static_cast<int32_t>(bytes);
    return true;
}

char* nyxHashImpl::Probe(const void* key, uint32_t hash, nyxHashSlot* slot) const {
    if (slot == nullptr && Accelerating()) {
        bool known = false;
        char* entry = IndexedFind(key, known);
        if (known) return entry;
    }
    return ProbeWith(hash, slot,
                     [this, key](const char* entry) { return KeysEqual(key, EntryKey(entry)); });
}

nyxHashAccel* nyxHashImpl::Accel() const {
    if (m_accel == nullptr) m_accel = new (std::nothrow) nyxHashAccel();
    return m_accel;
}

void nyxHashImpl::DropAccel() {
    delete m_accel;
    m_accel = nullptr;
}

bool nyxHashImpl::BuildIndex() const {
    nyxHashAccel* accel = Accel();
    if (accel == nullptr) return false;
    for (uint32_t place = 0; place < static_cast<uint32_t>(m_capacity); ++place) {
        const char* entry = EntryAt(place);
        if (StateOf(Header(entry)) != kStateOccupied) continue;
        if (!accel->IndexPut(KeyDigest(EntryKey(entry)), place)) return false;
    }
    return true;
}

char* nyxHashImpl::IndexedFind(const void* key, bool& known) const {
    known = false;
    nyxHashAccel* accel = Accel();
    if (accel == nullptr || (!accel->HasIndex() && !BuildIndex())) return nullptr;
    uint32_t place = accel->IndexFind(KeyDigest(key), [this, key](uint32_t at) {
        return KeysEqual(key, EntryKey(EntryAt(at)));
    });
    known = true;
    return place == nyxHashAccel::kNone ? nullptr : EntryAt(place);
}

char* nyxHashImpl::FirstFreeOnPath(uint32_t hash, uint32_t& step, uint32_t& place) const {
    uint32_t capacity = static_cast<uint32_t>(m_capacity);
    uint32_t stride = FastMod(hash, m_stepReciprocal, capacity - 2) + 1;
    uint32_t k = 0;
    uint32_t at = 0;
    nyxHashAccel* accel = Accel();
    if (accel == nullptr || !accel->MemoGet(hash, k, at)) {
        k = 0;
        at = FastMod(hash, m_capacityReciprocal, capacity);
    }
    // The walk of ProbeWith for an absent key, from where every place is known to be taken.
    for (; k < capacity; ++k) {
        char* entry = EntryAt(at);
        if (StateOf(Header(entry)) != kStateOccupied) {
            step = k;
            place = at;
            return entry;
        }
        at += stride;
        if (at >= capacity) at -= capacity;
    }
    return nullptr;
}

bool nyxHashImpl::PutAbsentHashed(const void* key, const void* value, uint32_t hash) {
    uint32_t step = 0, place = 0;
    char* entry = FirstFreeOnPath(hash, step, place);
    if (entry == nullptr) return false;
    Fill(entry, hash, key, value);
    if (m_accel != nullptr) {
        uint32_t capacity = static_cast<uint32_t>(m_capacity);
        uint32_t next = place + FastMod(hash, m_stepReciprocal, capacity - 2) + 1;
        if (next >= capacity) next -= capacity;
        m_accel->MemoSet(hash, step + 1, next);
    }
    return true;
}

void nyxHashImpl::Fill(char* entry, uint32_t hash, const void* key, const void* value) {
    // Whether the entry was empty or deleted, it counts as used again.
    SetHeader(entry, (kStateOccupied << 30) | hash);
    ++m_used;
    ++m_count;
    ConstructElements(entry + m_valueOffset, value, 1);
    if (!DerivedKey()) ConstructKeys(entry + m_keyOffset, key, 1);
    if (m_accel != nullptr && m_accel->HasIndex() && m_table != nullptr)
        m_accel->IndexPut(KeyDigest(EntryKey(entry)), PlaceOf(entry));
}

void nyxHashImpl::Delete(char* entry) {
    if (m_accel != nullptr) {
        // A place that is free again may lie on any path the memo knows.
        m_accel->ForgetMemo();
        if (m_accel->HasIndex() && m_table != nullptr)
            m_accel->IndexErase(KeyDigest(EntryKey(entry)), PlaceOf(entry));
    }
    DestroyElements(entry + m_valueOffset, 1);
    if (!DerivedKey()) DestroyKeys(entry + m_keyOffset, 1);
    SetHeader(entry, (kStateDeleted << 30) | (Header(entry) & kHashMask));
    --m_count;
}

bool nyxHashImpl::PutHashed(const void* key, const void* value) {
    uint32_t hash = HashKey(key) & kHashMask;
    if (Accelerating()) {
        bool known = false;
        char* found = IndexedFind(key, known);
        if (known) return found == nullptr && PutAbsentHashed(key, value, hash);
    }
    nyxHashSlot slot;
    if (Probe(key, hash, &slot) != nullptr) return false;
    char* entry = Claim(slot);
    if (entry == nullptr) return false;
    Fill(entry, hash, key, value);
    return true;
}

bool nyxHashImpl::PutValue(const void* key, const void* value) {
    if (m_capacity == 0) Begin(static_cast<uint32_t>(m_initialCapacity > 0 ? m_initialCapacity : 0));
    bool grows = m_used > m_threshold;
    // Building the full block frees the side block as growth frees the full one.
    bool builds = m_table == nullptr && m_fewCount == kFewEntries;
    if (grows || builds) {
        if (InTable(key) || InTable(value)) {
            // Growth frees the block under these; take copies and start again from them.
            nyxHashCopy valueCopy(*this, ElementSize(), &nyxKeyedCollection::ConstructElements,
                                  &nyxKeyedCollection::DestroyElements, value);
            if (valueCopy.get() == nullptr) return false;
            if (DerivedKey()) return PutValue(KeyOfValue(valueCopy.get()), valueCopy.get());
            nyxHashCopy keyCopy(*this, KeySize(), &nyxKeyedCollection::ConstructKeys,
                                &nyxKeyedCollection::DestroyKeys, key);
            if (keyCopy.get() == nullptr) return false;
            return PutValue(keyCopy.get(), valueCopy.get());
        }
    }
    if (grows) {
        // Deletions can drive a small table to its rebuild; it moves from the full block.
        uint32_t capacity = static_cast<uint32_t>(m_capacity);
        if (m_table != nullptr || BuildBlock()) Rehash(capacity + capacity / 2);
    }
    return PutHashed(key, value);
}

bool nyxHashImpl::Rehash(uint32_t size) {
    char* oldTable = m_table;
    uint32_t oldCapacity = static_cast<uint32_t>(m_capacity);
    if (!AllocateBlock(size)) return false;
    // Keys and values are copy-constructed into their new places and destroyed in the old:
    // an element never moves by byte copy. They go in from low to high old place. Their new
    // places lie anywhere in the block, so each one's first entry is fetched a few entries
    // before its turn and the cache misses overlap.
    constexpr uint32_t kAhead = 8;
    char* pending[kAhead];
    uint32_t hashes[kAhead];
    uint32_t seen = 0;
    uint32_t capacity = static_cast<uint32_t>(m_capacity);
    const bool memo = HasKeyDigest();
    auto insert = [this, memo](char* entry, uint32_t hash) {
        // The keys are unique and the new block holds no deleted entry, so each one goes to
        // the first empty entry on its path without comparing keys; where many keys share a
        // path, the memo knows where its free part begins.
        if (memo) {
            PutAbsentHashed(EntryKey(entry), EntryValue(entry), hash);
            return;
        }
        nyxHashSlot slot;
        ProbeWith(hash, &slot, [](const char*) { return false; });
        if (slot.entry != nullptr) Fill(slot.entry, hash, EntryKey(entry), EntryValue(entry));
    };
    for (uint32_t place = 0; place < oldCapacity; ++place) {
        char* entry = oldTable + static_cast<size_t>(place) * m_entrySize;
        if (StateOf(Header(entry)) != kStateOccupied) continue;
        uint32_t hash = HashKey(EntryKey(entry)) & kHashMask;
        __builtin_prefetch(EntryAt(FastMod(hash, m_capacityReciprocal, capacity)), 1);
        uint32_t ring = seen % kAhead;
        if (seen >= kAhead) insert(pending[ring], hashes[ring]);
        pending[ring] = entry;
        hashes[ring] = hash;
        ++seen;
    }
    for (uint32_t i = seen > kAhead ? seen - kAhead : 0; i < seen; ++i)
        insert(pending[i % kAhead], hashes[i % kAhead]);
    for (uint32_t place = 0; place < oldCapacity; ++place) {
        char* entry = oldTable + static_cast<size_t>(place) * m_entrySize;
        if (StateOf(Header(entry)) != kStateOccupied) continue;
        DestroyElements(entry + m_valueOffset, 1);
        if (!DerivedKey()) DestroyKeys(entry + m_keyOffset, 1);
    }
    free(oldTable);
    return true;
}

void nyxHashImpl::DestroyAll() {
    DropAccel();
    if (m_table == nullptr) {
        for (uint32_t i = 0; i < m_fewCount; ++i)
            if (StateOf(Header(FewAt(i))) == kStateOccupied) Delete(FewAt(i));
    }
    for (int32_t place = 0; m_table != nullptr && place < m_capacity && m_count > 0; ++place) {
        char* entry = EntryAt(static_cast<uint32_t>(place));
        if (StateOf(Header(entry)) == kStateOccupied) Delete(entry);
    }
    free(m_table);
    free(m_few);
    m_table = nullptr;
    m_few = nullptr;
    m_fewCount = 0;
    m_tableBytes = 0;
    m_capacity = 0;
    m_threshold = 0;
    m_count = 0;
    m_used = 0;
}

void* nyxHashImpl::FindValue(const void* key) {
    char* entry = Probe(key, HashKey(key) & kHashMask, nullptr);
    return entry ? entry + m_valueOffset : nullptr;
}

bool nyxHashImpl::ContainsKey(const void* key) {
    return Probe(key, HashKey(key) & kHashMask, nullptr) != nullptr;
}

bool nyxHashImpl::GetValue(const void* key, void* value) {
    char* entry = Probe(key, HashKey(key) & kHashMask, nullptr);
    if (entry == nullptr) return false;
    AssignElements(value, entry + m_valueOffset, 1);
    return true;
}

bool nyxHashImpl::RemoveKey(const void* key, int32_t) {
    char* entry = Probe(key, HashKey(key) & kHashMask, nullptr);
    if (entry == nullptr) return false;
    Delete(entry);
    return true;
}

void* nyxHashImpl::FirstEntry(void* entry) {
    if (m_table == nullptr)
        return NextFew(entry ? PlaceOfFew(static_cast<char*>(entry)) : nyxHashSlot::kNoPlace, true);
    char* end = m_table + m_tableBytes;
    char* e = entry ? static_cast<char*>(entry) + m_entrySize : m_table;
    for (; e < end; e += m_entrySize) {
        if (StateOf(Header(e)) == kStateOccupied) return e;
    }
    return nullptr;
}

void* nyxHashImpl::LastEntry(void* entry) {
    if (m_table == nullptr)
        return NextFew(entry ? PlaceOfFew(static_cast<char*>(entry)) : nyxHashSlot::kNoPlace, false);
    char* e = entry ? static_cast<char*>(entry) : m_table + m_tableBytes;
    while (e > m_table) {
        e -= m_entrySize;
        if (StateOf(Header(e)) == kStateOccupied) return e;
    }
    return nullptr;
}

void* nyxHashImpl::KeyOfEntry(void* entry) {
    return const_cast<void*>(EntryKey(static_cast<char*>(entry)));
}

void* nyxHashImpl::ValueOfEntry(void* entry) { return static_cast<char*>(entry) + m_valueOffset; }

void* nyxHashImpl::GetPair(void* entry) {
    if (DerivedKey()) {
        nyxCollectionNotSupported("GetPair", GetClassName());
        return nullptr;
    }
    return entry;
}

nyxIterator* nyxHashImpl::NewIteratorAtKey(const void* key) {
    char* entry = Probe(key, HashKey(key) & kHashMask, nullptr);
    if (entry == nullptr) return nullptr;
    if (DerivedKey()) return new (std::nothrow) nyxHashPairIterator(this, entry);
    return new (std::nothrow) nyxHashIterator(this, entry);
}

nyxIterator* nyxHashImpl::NewIterator() {
    void* first = FirstEntry(nullptr);
    if (DerivedKey()) return new (std::nothrow) nyxHashPairIterator(this, first);
    return new (std::nothrow) nyxHashIterator(this, first);
}

bool nyxHashImpl::Contains(const void* element) {
    if (!DerivedKey()) return false;
    return ContainsKey(KeyOfValue(element));
}

bool nyxHashImpl::Insert(const void* element) {
    if (!DerivedKey()) {
        nyxCollectionNotSupported("Insert", GetClassName());
        return false;
    }
    return PutValue(KeyOfValue(element), element);
}

bool nyxHashImpl::Remove(const void* element, int32_t count) {
    if (!DerivedKey()) {
        nyxCollectionNotSupported("Remove", GetClassName());
        return false;
    }
    return RemoveKey(KeyOfValue(element), count);
}

void* nyxHashImpl::GetAt(uint32_t) {
    nyxCollectionNotSupported("GetAt", GetClassName());
    return nullptr;
}

void* nyxHashImpl::GetFirst() {
    void* entry = FirstEntry(nullptr);
    return entry ? ValueOfEntry(entry) : nullptr;
}

void* nyxHashImpl::GetLast() {
    void* entry = LastEntry(nullptr);
    return entry ? ValueOfEntry(entry) : nullptr;
}

bool nyxHashImpl::InsertAt(uint32_t, const void*) {
    nyxCollectionNotSupported("InsertAt", GetClassName());
    return false;
}

bool nyxHashImpl::InsertBefore(nyxIterator*, const void*) {
    nyxCollectionNotSupported("InsertBefore", GetClassName());
    return false;
}

bool nyxHashImpl::InsertAfter(nyxIterator*, const void*) {
    nyxCollectionNotSupported("InsertAfter", GetClassName());
    return false;
}

bool nyxHashImpl::InsertFirst(const void*) {
    nyxCollectionNotSupported("InsertFirst", GetClassName());
    return false;
}

bool nyxHashImpl::InsertLast(const void*) {
    nyxCollectionNotSupported("InsertLast", GetClassName());
    return false;
}

bool nyxHashImpl::InsertAll(nyxCollection& other) {
    if (DerivedKey()) return nyxCollection::InsertAll(other);
    if (&other == this) return true;
    nyxKeyedCollection* keyed = dynamic_cast<nyxKeyedCollection*>(&other);
    if (keyed == nullptr) return false;
    for (void* e = keyed->FirstEntry(nullptr); e != nullptr; e = keyed->FirstEntry(e))
        PutValue(keyed->KeyOfEntry(e), keyed->ValueOfEntry(e));
    return true;
}

void nyxHashImpl::Clear() {
    DestroyAll();
    Begin(static_cast<uint32_t>(m_initialCapacity > 0 ? m_initialCapacity : 0));
}

bool nyxHashImpl::RemoveAt(nyxIterator* iterator, bool forward) {
    if (iterator == nullptr || iterator->GetCollection() != this) return false;
    nyxHashIterator* it = static_cast<nyxHashIterator*>(iterator);
    char* entry = static_cast<char*>(it->Entry());
    if (entry == nullptr) return false;
    Delete(entry);
    // The deleted entry still marks the place, so the walk goes on from there.
    if (forward)
        it->Next();
    else
        it->Prev();
    return true;
}

bool nyxHashImpl::RemoveAt(uint32_t) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxHashImpl::RemoveFirst() {
    nyxCollectionNotSupported("RemoveFirst", GetClassName());
    return false;
}

bool nyxHashImpl::RemoveLast() {
    nyxCollectionNotSupported("RemoveLast", GetClassName());
    return false;
}

bool nyxHashImpl::SetAt(uint32_t, const void*) {
    nyxCollectionNotSupported("SetAt", GetClassName());
    return false;
}

bool nyxHashImpl::SetAt(nyxIterator*, const void*) {
    nyxCollectionNotSupported("SetAt", GetClassName());
    return false;
}

void nyxHashImpl::FreeStorage() { DestroyAll(); }

nyxIterator* nyxHashIterator::Clone() const {
    return new (std::nothrow) nyxHashIterator(m_collection, m_entry);
}

void* nyxHashIterator::GetPair() { return m_entry ? m_collection->GetPair(m_entry) : nullptr; }

bool nyxHashIterator::SetRestriction(int32_t, const void*) {
    nyxIteratorNotSupported("SetRestriction", CollectionName());
    return false;
}

bool nyxHashIterator::SetRestriction(int32_t, const void*, int32_t, const void*) {
    nyxIteratorNotSupported("SetRestriction", CollectionName());
    return false;
}

void* nyxHashPairIterator::GetPair() {
    nyxIteratorNotSupported("CurrentPair", CollectionName());
    return nullptr;
}

nyxIterator* nyxHashPairIterator::Clone() const {
    return new (std::nothrow) nyxHashPairIterator(m_collection, m_entry);
}
