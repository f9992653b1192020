// The in-memory forms of the list-like members, as the member readers and writers see them:
// an array of references (member type 32), a map from text to reference (33) and an array of
// 32-bit ids (34). A class holds whatever implements these; the simple vectors and table below
// serve until the stored containers carry their own collections.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbref.h"

class LDBRefArrayRep {
public:
    virtual ~LDBRefArrayRep() = default;
    virtual uint32_t Count() const = 0;
    virtual const PDMc_LDBRef& At(uint32_t index) const = 0;
    virtual PDMc_LDBRef& At(uint32_t index) = 0;
    // Makes the array count null references long; 0 or the code of a failure pushed.
    virtual int32_t SetCount(uint32_t count) = 0;
    virtual void Clear() = 0;
};

class LDBIdArrayRep {
public:
    virtual ~LDBIdArrayRep() = default;
    virtual uint32_t Count() const = 0;
    virtual uint32_t At(uint32_t index) const = 0;
    virtual void SetAt(uint32_t index, uint32_t value) = 0;
    // Makes the array count zeros long; 0 or the code of a failure pushed.
    virtual int32_t SetCount(uint32_t count) = 0;
    virtual void Clear() = 0;
};

// Called for each entry of a map in its iteration order; a result other than 0 ends the walk
// and becomes the walk's result.
using LDBMapEntryVisitor = int32_t (*)(void* context, const nyxString& key,
                                       const PDMc_LDBRef& value);

class LDBRefMapRep {
public:
    virtual ~LDBRefMapRep() = default;
    // The table's bucket capacity; it is recorded in the file for no reader.
    virtual uint32_t Capacity() const = 0;
    virtual uint32_t Count() const = 0;
    virtual void Clear() = 0;
    // Adds the entry unless the key is present, in which case nothing changes. 0 or the code of
    // a failure pushed.
    virtual int32_t Insert(const nyxString& key, const PDMc_LDBRef& value) = 0;
    virtual PDMc_LDBRef* Find(const char* key) = 0;
    virtual int32_t VisitEntries(LDBMapEntryVisitor visit, void* context) const = 0;
};

class LDBRefVector : public LDBRefArrayRep {
public:
    LDBRefVector() : m_items(nullptr), m_count(0) {}
    LDBRefVector(const LDBRefVector&) = delete;
    LDBRefVector& operator=(const LDBRefVector&) = delete;
    ~LDBRefVector() override { delete[] m_items; }

    uint32_t Count() const override { return m_count; }
    const PDMc_LDBRef& At(uint32_t index) const override { return m_items[index]; }
    PDMc_LDBRef& At(uint32_t index) override { return m_items[index]; }
    int32_t SetCount(uint32_t count) override;
    void Clear() override;
    int32_t Append(const PDMc_LDBRef& value);

private:
    PDMc_LDBRef* m_items;
    uint32_t m_count;
};

class LDBIdVector : public LDBIdArrayRep {
public:
    LDBIdVector() : m_items(nullptr), m_count(0) {}
    LDBIdVector(const LDBIdVector&) = delete;
    LDBIdVector& operator=(const LDBIdVector&) = delete;
    ~LDBIdVector() override { delete[] m_items; }

    uint32_t Count() const override { return m_count; }
    uint32_t At(uint32_t index) const override { return m_items[index]; }
    void SetAt(uint32_t index, uint32_t value) override { m_items[index] = value; }
    int32_t SetCount(uint32_t count) override;
    void Clear() override;
    int32_t Append(uint32_t value);

private:
    uint32_t* m_items;
    uint32_t m_count;
};

// Entries in the order they were inserted; keys compared by bytes.
class LDBRefStringTable : public LDBRefMapRep {
public:
    explicit LDBRefStringTable(uint32_t capacity) : m_entries(nullptr), m_count(0), m_room(0),
                                                   m_capacity(capacity) {}
    LDBRefStringTable(const LDBRefStringTable&) = delete;
    LDBRefStringTable& operator=(const LDBRefStringTable&) = delete;
    ~LDBRefStringTable() override { delete[] m_entries; }

    uint32_t Capacity() const override { return m_capacity; }
    uint32_t Count() const override { return m_count; }
    void Clear() override;
    int32_t Insert(const nyxString& key, const PDMc_LDBRef& value) override;
    PDMc_LDBRef* Find(const char* key) override;
    int32_t VisitEntries(LDBMapEntryVisitor visit, void* context) const override;

private:
    struct Entry {
        nyxString key;
        PDMc_LDBRef value;
    };
    Entry* m_entries;
    uint32_t m_count;
    uint32_t m_room;
    uint32_t m_capacity;
};
