// dsSortedMap: a map kept as an array of {key, value} entries sorted by key and searched by
// halving. Derived maps say how keys compare and whether the map owns them; dsTextSortedMap has
// text keys that it compares byte by byte and doesn't own.
#pragma once

#include "dsdatcol.h"

struct dsMapEntry {
    dsWord key;
    dsWord value;
};

class dsSortedMap : public dsDataMap, public dsStorage<sizeof(dsMapEntry)> {
public:
    static constexpr uint32_t kDefaultGrowthUnit = 32;

    explicit dsSortedMap(const dsArrayOptions* options = nullptr);

    // The value stored under `key`; a missing key is a misuse that ends in btkFatalError.
    void* operator[](dsWord key) override;
    bool Contains(dsWord key) const override;
    // False, storing nothing, if the key is already there.
    bool Add(dsWord key, dsWord value) override;
    bool Remove(dsWord key) override;
    bool Find(dsWord key, dsWord* value) const override;
    virtual void RemoveAll();
    virtual int Compare(dsWord first, dsWord second) const = 0;
    virtual dsWord CopyKey(dsWord key) = 0;
    virtual void ReleaseKey(dsWord key) = 0;

    uint32_t Count() const override { return entries.Count(); }
    uint32_t Capacity() const { return entries.Capacity(); }
    // Walks the entries in key order; Current gives a dsMapEntry*.
    dsIterator* NewIterator() override { return entries.NewIterator(); }

private:
    // True if found; `slot` is then the entry's index, otherwise where it would go.
    bool Search(dsWord key, uint32_t* slot) const;
    dsMapEntry* Entry(uint32_t index) const { return static_cast<dsMapEntry*>(entries.At(index)); }

    dsDataArray<sizeof(dsMapEntry)> entries;
};

// Null sorts first; otherwise bytes compare as unsigned values. Gives -1, 0 or 1.
int dsCompareText(const char* first, const char* second);

class dsTextSortedMap : public dsSortedMap {
public:
    using dsSortedMap::dsSortedMap;

    int Compare(dsWord first, dsWord second) const override {
        return dsCompareText(reinterpret_cast<const char*>(first),
                             reinterpret_cast<const char*>(second));
    }
    dsWord CopyKey(dsWord key) override { return key; }
    void ReleaseKey(dsWord) override {}
};
