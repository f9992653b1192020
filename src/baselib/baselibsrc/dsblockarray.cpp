#include "dsblockarray.h"

#include <cstdlib>
#include <cstring>
#include <new>

dsBlockArray::dsBlockArray(uint32_t elementSize, CompareFunc compare)
    : elementSize(elementSize), compare(compare) {
    data = static_cast<unsigned char*>(std::malloc(size_t{kInitialCapacity} * elementSize));
    if (data != nullptr) capacity = kInitialCapacity;
}

dsBlockArray::~dsBlockArray() { std::free(data); }

uint32_t dsBlockArray::ShrunkCapacity(uint32_t n) {
    uint32_t wanted = kInitialCapacity;
    while (wanted < n) wanted *= 2;
    return wanted;
}

bool dsBlockArray::Reallocate(uint32_t newCapacity) {
    void* grown = std::realloc(data, size_t{newCapacity} * elementSize);
    if (grown == nullptr) return false;
    data = static_cast<unsigned char*>(grown);
    capacity = newCapacity;
    return true;
}

bool dsBlockArray::Reserve(uint32_t extra) {
    uint32_t wanted = capacity == 0 ? kInitialCapacity : capacity;
    while (wanted < count + extra) wanted *= 2;
    return Reallocate(wanted);
}

bool dsBlockArray::Insert(uint32_t index, const void* elements, uint32_t n) {
    if (index > count) return false;
    if (count + n > capacity && !Reserve(n)) return false;
    std::memmove(At(index + n), At(index), size_t{count - index} * elementSize);
    std::memcpy(At(index), elements, size_t{n} * elementSize);
    count += n;
    return true;
}

bool dsBlockArray::Remove(uint32_t index, uint32_t n) {
    if (index > count || n > count - index) return false;
    std::memmove(At(index), At(index + n), size_t{count - index - n} * elementSize);
    count -= n;
    uint32_t wanted = ShrunkCapacity(count);
    if (wanted < capacity) Reallocate(wanted);
    return true;
}

bool dsBlockArray::Set(uint32_t index, const void* element) {
    if (index >= count) return false;
    std::memcpy(At(index), element, elementSize);
    return true;
}

bool dsBlockArray::Append(const void* element) {
    if (count == capacity && !Reserve(1)) return false;
    return Insert(count, element, 1);
}

void dsBlockArray::Clear() {
    DestroyAll();
    count = 0;
    if (capacity != kInitialCapacity) Reallocate(kInitialCapacity);
}

int32_t dsBlockArray::IndexOf(const void* element) const {
    for (uint32_t i = 0; i < count; ++i) {
        if (std::memcmp(At(i), element, elementSize) == 0) return static_cast<int32_t>(i);
    }
    return -1;
}

dsBlockArrayIterator* dsBlockArray::NewIterator() { return new (std::nothrow) dsBlockArrayIterator(this); }

bool dsBlockArrayIterator::RemoveCurrent() {
    if (AtEnd() || removed) return false;
    if (!array->Remove(index, 1)) return false;
    removed = true;
    return true;
}

bool dsObjectArray::Rebuild(uint32_t newCapacity) {
    auto* fresh = static_cast<unsigned char*>(std::malloc(size_t{newCapacity} * elementSize));
    if (fresh == nullptr) return false;
    for (uint32_t i = 0; i < count; ++i) {
        CopyElement(fresh + size_t{i} * elementSize, At(i));
        DestroyElement(At(i));
    }
    std::free(data);
    data = fresh;
    capacity = newCapacity;
    return true;
}

bool dsObjectArray::Reserve(uint32_t extra) {
    uint32_t wanted = capacity == 0 ? kInitialCapacity : capacity;
    while (wanted < count + extra) wanted *= 2;
    return Rebuild(wanted);
}

bool dsObjectArray::Insert(uint32_t index, const void* elements, uint32_t n) {
    if (index > count) return false;
    if (count + n > capacity && !Reserve(n)) return false;
    // From the top end down, so that no element is overwritten before it has moved.
    for (uint32_t i = count; i > index; --i) {
        CopyElement(At(i - 1 + n), At(i - 1));
        DestroyElement(At(i - 1));
    }
    const auto* source = static_cast<const unsigned char*>(elements);
    for (uint32_t j = 0; j < n; ++j) CopyElement(At(index + j), source + size_t{j} * elementSize);
    count += n;
    return true;
}

bool dsObjectArray::Remove(uint32_t index, uint32_t n) {
    if (index > count || n > count - index) return false;
    for (uint32_t j = 0; j < n; ++j) DestroyElement(At(index + j));
    for (uint32_t i = index + n; i < count; ++i) {
        CopyElement(At(i - n), At(i));
        DestroyElement(At(i));
    }
    count -= n;
    uint32_t wanted = ShrunkCapacity(count);
    if (wanted < capacity) Rebuild(wanted);
    return true;
}

bool dsObjectArray::Set(uint32_t index, const void* element) {
    if (index >= count) return false;
    DestroyElement(At(index));
    CopyElement(At(index), element);
    return true;
}

void dsObjectArray::DestroyAll() {
    for (uint32_t i = 0; i < count; ++i) DestroyElement(At(i));
}
