#include "dsortmap.h"

#include "btkmemmgr.h"

int dsCompareText(const char* first, const char* second) {
    if (first == second) return 0;
    if (first == nullptr) return -1;
    if (second == nullptr) return 1;
    const auto* a = reinterpret_cast<const unsigned char*>(first);
    const auto* b = reinterpret_cast<const unsigned char*>(second);
    for (;; ++a, ++b) {
        if (*a != *b) return *a < *b ? -1 : 1;
        if (*a == 0) return 0;
    }
}

dsSortedMap::dsSortedMap(const dsArrayOptions* options) : entries(options, kDefaultGrowthUnit) {}

bool dsSortedMap::Search(dsWord key, uint32_t* slot) const {
    int64_t low = 0;
    int64_t high = static_cast<int64_t>(entries.Count()) - 1;
    while (low <= high) {
        int64_t mid = (low + high) / 2;
        int order = Compare(key, Entry(static_cast<uint32_t>(mid))->key);
        if (order > 0) {
            low = mid + 1;
        } else if (order < 0) {
            high = mid - 1;
        } else {
            *slot = static_cast<uint32_t>(mid);
            return true;
        }
    }
    *slot = static_cast<uint32_t>(low);
    return false;
}

bool dsSortedMap::Contains(dsWord key) const {
    uint32_t slot;
    return Search(key, &slot);
}

void* dsSortedMap::operator[](dsWord key) {
    uint32_t slot;
    if (!Search(key, &slot)) {
        btkFatalError("dsSortedMap::operator [] failed", "baselib/inc/dsortmap", 166);
        return nullptr;
    }
    return &Entry(slot)->value;
}

bool dsSortedMap::Find(dsWord key, dsWord* value) const {
    uint32_t slot;
    if (!Search(key, &slot)) return false;
    *value = Entry(slot)->value;
    return true;
}

bool dsSortedMap::Add(dsWord key, dsWord value) {
    uint32_t slot;
    if (Search(key, &slot)) return false;
    uint32_t oldCount = entries.Count();
    if (!entries.Resize(oldCount + 1)) return false;
    Move(Entry(slot), Entry(slot + 1), oldCount - slot);
    *Entry(slot) = {CopyKey(key), value};
    return true;
}

bool dsSortedMap::Remove(dsWord key) {
    uint32_t slot;
    if (!Search(key, &slot)) return false;
    ReleaseKey(Entry(slot)->key);
    uint32_t oldCount = entries.Count();
    Move(Entry(slot + 1), Entry(slot), oldCount - slot - 1);
    entries.Resize(oldCount - 1);
    return true;
}

void dsSortedMap::RemoveAll() { entries.Resize(0); }
