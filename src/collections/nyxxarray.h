// The dynamic array: one contiguous block of elements without headers, grown by rounding up
// to the growth block and adding the growth percent, so long appends cost O(1) on average.
// nyxSortedXArray keeps the same storage in element order with no two elements equal.
//
// Every run of elements goes through the element operations in one call. Elements never move
// by byte copy unless the raw setting allows it; otherwise they are copy-constructed into
// dead storage and destroyed where they were.
#pragma once

#include <cstdint>

#include "collections/nyxcollection.h"
#include "collections/nyxelements.h"

struct nyxXArraySettings {
    uint32_t growth_block = 4;  // 0: derive from the element size
    uint32_t growth_percent = 25;
    uint8_t shrink = 1;  // give storage back as elements are removed
    uint8_t raw = 0;     // elements may move by plain byte copy
};

class nyxXArray : public nyxCollection {
public:
    nyxXArray();
    explicit nyxXArray(const nyxXArraySettings& settings);

    bool IsSequential() const override { return true; }
    bool IsSorted() const override { return false; }
    bool Contains(const void* element) override;
    void* GetAt(uint32_t index) override;
    void* GetFirst() override;
    void* GetLast() override;
    uint32_t GetCount() const override { return m_count; }
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
    void Clear() override;
    bool RemoveAt(nyxIterator* iterator, bool forward) override;
    bool RemoveAt(uint32_t index) override;
    bool RemoveFirst() override;
    bool RemoveLast() override;
    bool SetAt(uint32_t index, const void* element) override;
    bool SetAt(nyxIterator* iterator, const void* element) override;
    void FreeStorage() override;
    const char* GetClassName() const override { return "nyxXArray"; }

    virtual void* GetData() { return m_data; }
    // Fresh elements of SetSize: null references, zero words.
    virtual void DefaultConstructElements(void* target, uint32_t count) const = 0;
    virtual bool ElementsEqual(const void* a, const void* b) const = 0;

    // Grows with default elements at the end, or cuts the tail and shrinks whatever the
    // settings say. False only if growing found no memory.
    bool SetSize(uint32_t count);
    // Inserts count copies of one element, or a run of count elements, at index.
    bool InsertCopies(uint32_t index, uint32_t count, const void* element);
    bool InsertRun(uint32_t index, uint32_t count, const void* first);
    // A range that passes the end is cut at the end.
    bool RemoveRange(uint32_t index, uint32_t count);

    uint32_t GetCapacity() const { return m_capacity; }
    nyxXArraySettings GetSettings() const;
    void SetSettings(const nyxXArraySettings& settings);
    // The capacity that holds count elements under the settings.
    uint32_t RoundCapacity(uint32_t count) const;

protected:
    nyxXArray(const nyxXArray&) = delete;
    nyxXArray& operator=(const nyxXArray&) = delete;

    char* At(uint32_t index) const { return m_data + static_cast<size_t>(index) * ElementSize(); }
    // The index that an iterator of this array stands on; false for a foreign iterator.
    bool IndexOf(nyxIterator* iterator, uint32_t* index) const;
    // True if the address lies inside the block, where a growth or a move could pull the
    // element away from under the caller.
    bool InBlock(const void* p) const;

private:
    // Gives a hole of count elements at index, growing the block if it must; null when no
    // memory. The array's count doesn't change.
    char* MakeRoom(uint32_t index, uint32_t count);
    // Moves count live elements into a fresh block; the source becomes dead storage.
    void Relocate(const char* from, char* to, uint32_t count);
    // Moves the live elements [index, m_count) up by gap places, onto dead storage.
    void MoveTailUp(uint32_t index, uint32_t gap);
    // Moves count live elements from index down by distance places; the places below are dead.
    void MoveDown(uint32_t index, uint32_t count, uint32_t distance);
    void Compact(bool forced);
    uint32_t GrowthBlock() const;
    bool Shrinks() const { return (m_settings >> 16) & 1u; }
    bool Raw() const { return (m_settings >> 17) & 1u; }
    uint32_t GrowthPercent() const { return (m_settings >> 18) & 0xFFu; }

    uint32_t m_count = 0;
    uint32_t m_capacity = 0;
    // Bits 0-15 growth block, 16 shrink, 17 raw, 18-25 growth percent.
    uint32_t m_settings;
    char* m_data = nullptr;
};

class nyxSortedXArray : public nyxXArray {
public:
    using nyxXArray::nyxXArray;

    bool IsSorted() const override { return true; }
    bool Contains(const void* element) override;
    bool Insert(const void* element) override;
    bool InsertAt(uint32_t index, const void* element) override;
    bool InsertBefore(nyxIterator* iterator, const void* element) override;
    bool InsertAfter(nyxIterator* iterator, const void* element) override;
    bool InsertFirst(const void* element) override;
    bool InsertLast(const void* element) override;
    bool Remove(const void* element, int32_t count) override;

    // Negative when a orders before b.
    virtual int32_t CompareElements(const void* a, const void* b) const = 0;

    // Binary search: true and the place of an equal element, or false and the place where
    // the key would go. An empty array leaves position as the caller set it.
    bool Find(const void* key, uint32_t* position);
};

// An index into any array kind, stored arrays included: it uses nothing but GetAt, GetCount,
// InsertAt, RemoveAt and SetAt of its collection, so it survives every change, though it may
// then stand on another element.
class nyxXArrayIterator : public nyxIterator {
public:
    explicit nyxXArrayIterator(nyxCollection* collection, uint32_t index = 0)
        : m_collection(collection), m_index(index) {}

    void* Current() override { return m_collection->GetAt(m_index); }
    bool AtEnd() const override { return m_index >= m_collection->GetCount(); }
    void First() override { m_index = 0; }
    // All ones on an empty array, which is at the end.
    void Last() override { m_index = m_collection->GetCount() - 1; }
    void Next() override { ++m_index; }
    // Before the first element the index is all ones.
    void Prev() override { --m_index; }
    nyxCollection* GetCollection() const override { return m_collection; }
    nyxIterator* Clone() const override;

    uint32_t Index() const { return m_index; }
    void SetIndex(uint32_t index) { m_index = index; }

private:
    nyxCollection* m_collection;
    uint32_t m_index;
};

template <class Impl, class T>
class nyxXArrayShell : public nyxElementShell<Impl, T> {
public:
    using nyxElementShell<Impl, T>::nyxElementShell;

    void DefaultConstructElements(void* target, uint32_t count) const override {
        nyxElementRuns<T>::DefaultConstruct(target, count);
    }
    bool ElementsEqual(const void* a, const void* b) const override {
        return nyxElementTraits<T>::Equal(*static_cast<const T*>(a), *static_cast<const T*>(b));
    }
};

template <class T>
class nyxSortedXArrayShell : public nyxXArrayShell<nyxSortedXArray, T> {
public:
    using nyxXArrayShell<nyxSortedXArray, T>::nyxXArrayShell;

    int32_t CompareElements(const void* a, const void* b) const override {
        return nyxElementTraits<T>::Compare(*static_cast<const T*>(a),
                                            *static_cast<const T*>(b));
    }
};

template <class T>
using nyxXArrayOf = nyxXArrayShell<nyxXArray, T>;
template <class T>
using nyxSortedXArrayOf = nyxSortedXArrayShell<T>;
