// The toolkit's small growable arrays: dsBlockArray moves its elements as bytes, dsObjectArray
// through its element operations. Capacity starts at 64 elements, doubles on growth and shrinks
// back towards 64 as elements are removed. Neither is synchronised.
#pragma once

#include <cstdint>

class dsBlockArrayIterator;

class dsBlockArray {
public:
    // Kept for owners that order their elements; the arrays themselves stay in insertion order
    // and never call it.
    typedef int (*CompareFunc)(const void* first, const void* second);

    static constexpr uint32_t kInitialCapacity = 64;

    explicit dsBlockArray(uint32_t elementSize, CompareFunc compare = nullptr);
    virtual ~dsBlockArray();
    dsBlockArray(const dsBlockArray&) = delete;
    dsBlockArray& operator=(const dsBlockArray&) = delete;

    virtual bool Insert(uint32_t index, const void* elements, uint32_t n);
    virtual bool Remove(uint32_t index, uint32_t n);
    virtual bool Set(uint32_t index, const void* element);
    virtual void DestroyAll() {}
    virtual bool Reserve(uint32_t extra);

    bool Append(const void* element);
    // Destroys every element and brings the allocation back to 64 elements.
    void Clear();
    // Index of the first element whose bytes equal `element`'s, or -1.
    int32_t IndexOf(const void* element) const;

    void* At(uint32_t index) const { return data + static_cast<uint64_t>(index) * elementSize; }
    uint32_t Count() const { return count; }
    uint32_t Capacity() const { return capacity; }
    uint32_t ElementSize() const { return elementSize; }
    CompareFunc Compare() const { return compare; }

    // A heap iterator; the caller deletes it.
    dsBlockArrayIterator* NewIterator();

protected:
    // The capacity that `n` elements shrink to: 64, doubled until it holds them.
    static uint32_t ShrunkCapacity(uint32_t n);
    bool Reallocate(uint32_t newCapacity);

    uint32_t elementSize;
    unsigned char* data = nullptr;
    uint32_t capacity = 0;
    uint32_t count = 0;
    CompareFunc compare;
};

// Elements that must be built and destroyed rather than copied as bytes. Derived classes
// release their elements in their own destructors, since DestroyAll can't reach them from here.
class dsObjectArray : public dsBlockArray {
public:
    using dsBlockArray::dsBlockArray;

    bool Insert(uint32_t index, const void* elements, uint32_t n) override;
    bool Remove(uint32_t index, uint32_t n) override;
    bool Set(uint32_t index, const void* element) override;
    void DestroyAll() override;
    bool Reserve(uint32_t extra) override;

    // Builds a copy of `source` in the raw memory at `target`; a null target does nothing.
    virtual void CopyElement(void* target, const void* source) = 0;
    virtual void DestroyElement(void* element) = 0;

private:
    // Moves every element into a new block of `newCapacity` elements.
    bool Rebuild(uint32_t newCapacity);
};

// Walks an array by index. An element removed through the iterator is replaced by its
// successor in place, so the following Next stays where it is instead of skipping one.
class dsBlockArrayIterator {
public:
    explicit dsBlockArrayIterator(dsBlockArray* array) : array(array) {}

    void First() {
        index = 0;
        removed = false;
    }
    bool AtEnd() const { return index >= array->Count(); }
    void Next() {
        if (removed) {
            removed = false;
        } else {
            ++index;
        }
    }
    void* Current() const { return AtEnd() ? nullptr : array->At(index); }
    bool RemoveCurrent();

private:
    dsBlockArray* array;
    uint32_t index = 0;
    bool removed = false;
};
