// The toolkit's own data collections (the persistent model uses the nyx collections instead).
//
// dsCollection is the common root: a storage policy (allocation counted in elements, one form
// per element size), an iterator factory and a count. dsDataMap is the abstract map over
// pointer-sized keys; dsDataArray is the map whose key is the index.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

// Keys and values of the maps: a pointer-sized word that holds a text pointer or a number.
typedef uintptr_t dsWord;

class dsIterator {
public:
    virtual ~dsIterator() = default;
    virtual void First() = 0;
    virtual bool AtEnd() const = 0;
    virtual void Next() = 0;
    virtual void* Current() const = 0;
};

class dsCollection {
public:
    virtual void* Allocate(uint32_t n) = 0;
    virtual void* Reallocate(void* block, uint32_t oldCount, uint32_t newCount) = 0;
    virtual void Reserved() {}
    // Frees `*block` and clears it.
    virtual void Release(void** block) = 0;
    virtual void Move(const void* source, void* target, uint32_t n) = 0;
    virtual ~dsCollection() = default;
    // A heap iterator that the caller deletes; null when memory ran out.
    virtual dsIterator* NewIterator() = 0;
    virtual uint32_t Count() const = 0;
    virtual bool IsEmpty() const { return Count() == 0; }
};

template <size_t ElementBytes>
class dsStorage : public virtual dsCollection {
public:
    void* Allocate(uint32_t n) override { return std::malloc(size_t{n} * ElementBytes); }
    void* Reallocate(void* block, uint32_t, uint32_t newCount) override {
        return std::realloc(block, size_t{newCount} * ElementBytes);
    }
    void Release(void** block) override {
        std::free(*block);
        *block = nullptr;
    }
    void Move(const void* source, void* target, uint32_t n) override {
        if (n != 0) std::memmove(target, source, size_t{n} * ElementBytes);
    }
};

// The abstract map. Add, Remove and Find of the base are misuses that end in btkFatalError.
class dsDataMap : public virtual dsCollection {
public:
    virtual void* operator[](dsWord key) = 0;
    virtual bool Contains(dsWord key) const = 0;
    virtual bool Add(dsWord key, dsWord value);
    virtual bool Remove(dsWord key);
    virtual bool Find(dsWord key, dsWord* value) const;
};

struct dsArrayOptions {
    bool compact;
    uint32_t growthUnit;
};

// The map from index to element. Its capacity follows the count in multiples of the growth
// unit; unless `compact` is set it never shrinks.
template <size_t ElementBytes>
class dsDataArray : public dsDataMap, public dsStorage<ElementBytes> {
public:
    static constexpr uint32_t kDefaultGrowthUnit = 256;

    explicit dsDataArray(const dsArrayOptions* options = nullptr,
                         uint32_t defaultUnit = kDefaultGrowthUnit)
        : compact(options != nullptr && options->compact),
          growthUnit(options != nullptr && options->growthUnit != 0 ? options->growthUnit
                                                                    : defaultUnit) {}
    ~dsDataArray() override { dsStorage<ElementBytes>::Release(&data); }
    dsDataArray(const dsDataArray&) = delete;
    dsDataArray& operator=(const dsDataArray&) = delete;

    void* operator[](dsWord key) override { return At(static_cast<uint32_t>(key)); }
    bool Contains(dsWord key) const override { return key < count; }
    virtual void* Data() { return data; }

    uint32_t Count() const override { return count; }
    uint32_t Capacity() const { return capacity; }
    void* At(uint32_t index) const {
        return static_cast<unsigned char*>(data) + size_t{index} * ElementBytes;
    }

    // Sets the count to `n`, reallocating as the capacity rule says. False if memory ran out,
    // with nothing changed.
    bool Resize(uint32_t n) {
        if (!compact && n <= capacity) {
            count = n;
            return true;
        }
        uint32_t wanted = (n + growthUnit - 1) / growthUnit * growthUnit;
        if (wanted != capacity) {
            if (wanted == 0) {
                this->Release(&data);
            } else {
                void* block = data == nullptr ? this->Allocate(wanted)
                                              : this->Reallocate(data, capacity, wanted);
                if (block == nullptr) return false;
                data = block;
            }
            capacity = wanted;
        }
        count = n;
        return true;
    }

    class Iterator : public dsIterator {
    public:
        explicit Iterator(const dsDataArray* array) : array(array) {}
        void First() override { index = 0; }
        bool AtEnd() const override { return index >= array->count; }
        void Next() override { ++index; }
        void* Current() const override { return AtEnd() ? nullptr : array->At(index); }

    private:
        const dsDataArray* array;
        uint32_t index = 0;
    };
    dsIterator* NewIterator() override { return new (std::nothrow) Iterator(this); }

private:
    void* data = nullptr;
    uint32_t count = 0;
    uint32_t capacity = 0;
    bool compact;
    uint32_t growthUnit;
};
