#include "collections/nyxxarray.h"

#include <cstring>
#include <new>

namespace {

uint32_t PackSettings(const nyxXArraySettings& s) {
    return (s.growth_block & 0xFFFFu) | (s.shrink ? 1u << 16 : 0u) | (s.raw ? 1u << 17 : 0u) |
           ((s.growth_percent & 0xFFu) << 18);
}

// A private copy of elements that the caller passed from inside the array's own block: the
// operation may move or free that block before it has finished reading them.
class nyxElementCopy {
public:
    nyxElementCopy(const nyxCollection& owner, const void* source, uint32_t count)
        : m_owner(owner), m_count(count) {
        m_data = ::operator new(static_cast<size_t>(count) * owner.ElementSize(), std::nothrow);
        if (m_data) owner.ConstructElements(m_data, source, count);
    }
    ~nyxElementCopy() {
        if (m_data == nullptr) return;
        m_owner.DestroyElements(m_data, m_count);
        ::operator delete(m_data);
    }
    nyxElementCopy(const nyxElementCopy&) = delete;
    nyxElementCopy& operator=(const nyxElementCopy&) = delete;
    const void* get() const { return m_data; }

private:
    const nyxCollection& m_owner;
    uint32_t m_count;
    void* m_data;
};

}  // namespace

nyxXArray::nyxXArray() : m_settings(PackSettings(nyxXArraySettings())) {}

nyxXArray::nyxXArray(const nyxXArraySettings& settings) : m_settings(PackSettings(settings)) {}

nyxXArraySettings nyxXArray::GetSettings() const {
    nyxXArraySettings s;
    s.growth_block = m_settings & 0xFFFFu;
    s.growth_percent = GrowthPercent();
    s.shrink = Shrinks() ? 1 : 0;
    s.raw = Raw() ? 1 : 0;
    return s;
}

void nyxXArray::SetSettings(const nyxXArraySettings& settings) {
    m_settings = PackSettings(settings);
}

uint32_t nyxXArray::GrowthBlock() const {
    uint32_t block = m_settings & 0xFFFFu;
    if (block != 0) return block;
    uint32_t size = ElementSize();
    return size >= 16 || size == 0 ? 1 : 16 / size;
}

uint32_t nyxXArray::RoundCapacity(uint32_t count) const {
    uint32_t block = GrowthBlock();
    uint32_t rounded = (count + block - 1) / block * block;
    uint32_t percent = GrowthPercent();
    if (percent != 0) rounded += percent * rounded / 100;
    return rounded;
}

bool nyxXArray::InBlock(const void* p) const {
    const char* c = static_cast<const char*>(p);
    return m_data != nullptr && c >= m_data &&
           c < m_data + static_cast<size_t>(m_capacity) * ElementSize();
}

bool nyxXArray::IndexOf(nyxIterator* iterator, uint32_t* index) const {
    if (iterator == nullptr || iterator->GetCollection() != this) return false;
    *index = static_cast<nyxXArrayIterator*>(iterator)->Index();
    return true;
}

void nyxXArray::Relocate(const char* from, char* to, uint32_t count) {
    if (count == 0) return;
    if (Raw()) {
        memcpy(to, from, static_cast<size_t>(count) * ElementSize());
        return;
    }
    RelocateElements(to, from, count);
    DestroyElements(const_cast<char*>(from), count);
}

void nyxXArray::MoveTailUp(uint32_t index, uint32_t gap) {
    uint32_t tail = m_count - index;
    if (tail == 0 || gap == 0) return;
    if (Raw()) {
        memmove(At(index + gap), At(index), static_cast<size_t>(tail) * ElementSize());
        return;
    }
    if (gap >= tail) {
        RelocateElements(At(index + gap), At(index), tail);
        DestroyElements(At(index), tail);
        return;
    }
    // Runs of gap elements from the end towards the front, so that each run lands on storage
    // that is already dead.
    uint32_t end = m_count;
    while (end > index) {
        uint32_t start = end - index > gap ? end - gap : index;
        RelocateElements(At(start + gap), At(start), end - start);
        DestroyElements(At(start), end - start);
        end = start;
    }
}

void nyxXArray::MoveDown(uint32_t index, uint32_t count, uint32_t distance) {
    if (count == 0 || distance == 0) return;
    if (Raw()) {
        memmove(At(index - distance), At(index), static_cast<size_t>(count) * ElementSize());
        return;
    }
    // Runs of distance elements from the front: the first lands on the dead places below,
    // each later one on the places its predecessor has just left.
    uint32_t end = index + count;
    for (uint32_t start = index; start < end; start += distance) {
        uint32_t run = end - start < distance ? end - start : distance;
        RelocateElements(At(start - distance), At(start), run);
        DestroyElements(At(start), run);
    }
}

char* nyxXArray::MakeRoom(uint32_t index, uint32_t count) {
    uint32_t needed = m_count + count;
    if (needed < m_count) return nullptr;
    if (needed > m_capacity) {
        uint32_t capacity = RoundCapacity(needed);
        if (capacity < needed) return nullptr;
        char* block = static_cast<char*>(
            ::operator new(static_cast<size_t>(capacity) * ElementSize(), std::nothrow));
        if (block == nullptr) return nullptr;
        size_t size = ElementSize();
        Relocate(m_data, block, index);
        Relocate(At(index), block + (static_cast<size_t>(index) + count) * size, m_count - index);
        ::operator delete(m_data);
        m_data = block;
        m_capacity = capacity;
    } else if (index < m_count) {
        MoveTailUp(index, count);
    }
    return At(index);
}

void nyxXArray::Compact(bool forced) {
    if (!forced && !Shrinks()) return;
    uint32_t capacity = RoundCapacity(m_count);
    if (capacity >= m_capacity) return;
    char* block = nullptr;
    if (capacity != 0) {
        block = static_cast<char*>(
            ::operator new(static_cast<size_t>(capacity) * ElementSize(), std::nothrow));
        // Keeping the larger block is always safe.
        if (block == nullptr) return;
        Relocate(m_data, block, m_count);
    }
    ::operator delete(m_data);
    m_data = block;
    m_capacity = capacity;
}

bool nyxXArray::InsertRun(uint32_t index, uint32_t count, const void* first) {
    if (index > m_count) return false;
    if (count == 0) return true;
    if (InBlock(first)) {
        nyxElementCopy copy(*this, first, count);
        return copy.get() != nullptr && InsertRun(index, count, copy.get());
    }
    char* hole = MakeRoom(index, count);
    if (hole == nullptr) return false;
    ConstructElements(hole, first, count);
    m_count += count;
    return true;
}

bool nyxXArray::InsertCopies(uint32_t index, uint32_t count, const void* element) {
    if (index > m_count) return false;
    if (count == 0) return true;
    if (InBlock(element)) {
        nyxElementCopy copy(*this, element, 1);
        return copy.get() != nullptr && InsertCopies(index, count, copy.get());
    }
    char* hole = MakeRoom(index, count);
    if (hole == nullptr) return false;
    FillElements(hole, element, count);
    m_count += count;
    return true;
}

bool nyxXArray::RemoveRange(uint32_t index, uint32_t count) {
    if (index >= m_count) return false;
    if (count == 0) return true;
    if (count > m_count - index) count = m_count - index;
    DestroyElements(At(index), count);
    MoveDown(index + count, m_count - index - count, count);
    m_count -= count;
    Compact(false);
    return true;
}

bool nyxXArray::SetSize(uint32_t count) {
    if (count > m_count) {
        char* hole = MakeRoom(m_count, count - m_count);
        if (hole == nullptr) return false;
        DefaultConstructElements(hole, count - m_count);
        m_count = count;
        return true;
    }
    if (count < m_count) {
        DestroyElements(At(count), m_count - count);
        m_count = count;
    }
    Compact(true);
    return true;
}

bool nyxXArray::Contains(const void* element) {
    for (uint32_t i = 0; i < m_count; ++i) {
        if (ElementsEqual(At(i), element)) return true;
    }
    return false;
}

void* nyxXArray::GetAt(uint32_t index) {
    if (m_data == nullptr || index >= m_count) return nullptr;
    return At(index);
}

void* nyxXArray::GetFirst() { return GetAt(0); }

void* nyxXArray::GetLast() {
    if (m_data == nullptr || m_count == 0) return nullptr;
    return At(m_count - 1);
}

nyxIterator* nyxXArray::NewIterator() { return new (std::nothrow) nyxXArrayIterator(this); }

bool nyxXArray::Insert(const void* element) { return InsertRun(m_count, 1, element); }

bool nyxXArray::InsertAt(uint32_t index, const void* element) {
    return InsertRun(index, 1, element);
}

bool nyxXArray::InsertBefore(nyxIterator* iterator, const void* element) {
    uint32_t index;
    if (!IndexOf(iterator, &index)) return false;
    uint32_t place = index;
    if (index == UINT32_MAX)
        place = 0;
    else if (index > m_count)
        place = m_count;
    if (!InsertRun(place, 1, element)) return false;
    // The iterator stays on the element it stood on, which has moved up by one.
    static_cast<nyxXArrayIterator*>(iterator)->SetIndex(index + 1);
    return true;
}

bool nyxXArray::InsertAfter(nyxIterator* iterator, const void* element) {
    uint32_t index;
    if (!IndexOf(iterator, &index)) return false;
    // Before the first element the index is all ones, so the place wraps round to 0.
    return InsertRun(index + 1, 1, element);
}

bool nyxXArray::InsertFirst(const void* element) { return InsertRun(0, 1, element); }

bool nyxXArray::InsertLast(const void* element) { return InsertRun(m_count, 1, element); }

bool nyxXArray::InsertAll(nyxCollection& other) {
    if (&other == this) return true;
    uint32_t count = other.GetCount();
    if (count == 0) return true;
    char* hole = MakeRoom(m_count, count);
    if (hole == nullptr) return false;
    nyxIteratorGuard it(other);
    if (it.get() == nullptr) return false;
    if (IsSorted() && other.IsSorted() != IsSorted()) {
        // The hole only reserves the room; each element goes to its own place.
        for (it->First(); !it->AtEnd(); it->Next()) Insert(it->Current());
        return true;
    }
    // A sorted source is appended as it stands: callers join sorted arrays only when the
    // second orders wholly behind the first.
    uint32_t placed = 0;
    size_t size = ElementSize();
    for (it->First(); !it->AtEnd() && placed < count; it->Next(), ++placed)
        ConstructElements(hole + placed * size, it->Current(), 1);
    m_count += placed;
    return true;
}

bool nyxXArray::Remove(const void* element, int32_t count) {
    if (count == 0) return true;
    if (InBlock(element)) {
        nyxElementCopy copy(*this, element, 1);
        return copy.get() != nullptr && Remove(copy.get(), count);
    }
    uint32_t limit = count < 0 ? m_count : static_cast<uint32_t>(count);
    uint32_t removed = 0;
    uint32_t matchStart = 0, matchLength = 0;
    uint32_t keptStart = 0, keptLength = 0;
    uint32_t i = 0;
    // One pass. Matches are destroyed a run at a time; the kept elements between them move
    // down a run at a time, over the places the matches left.
    while (i < m_count && removed < limit) {
        if (ElementsEqual(At(i), element)) {
            if (keptLength != 0) {
                MoveDown(keptStart, keptLength, removed);
                keptLength = 0;
            }
            if (matchLength == 0) matchStart = i;
            ++matchLength;
            ++removed;
        } else {
            if (matchLength != 0) {
                DestroyElements(At(matchStart), matchLength);
                matchLength = 0;
            }
            if (removed != 0) {
                if (keptLength == 0) keptStart = i;
                ++keptLength;
            }
        }
        ++i;
    }
    if (matchLength != 0) DestroyElements(At(matchStart), matchLength);
    if (removed != 0) {
        uint32_t start = keptLength != 0 ? keptStart : i;
        MoveDown(start, m_count - start, removed);
    }
    m_count -= removed;
    Compact(false);
    return count < 0 || removed == limit;
}

void nyxXArray::Clear() {
    if (m_count != 0) RemoveRange(0, m_count);
}

bool nyxXArray::RemoveAt(nyxIterator* iterator, bool forward) {
    uint32_t index;
    if (!IndexOf(iterator, &index) || iterator->AtEnd()) return false;
    if (!RemoveAt(index)) return false;
    // Forward leaves the index where it was, on the element that moved into the place.
    if (!forward) iterator->Prev();
    return true;
}

bool nyxXArray::RemoveAt(uint32_t index) {
    if (index >= m_count) return false;
    for (uint32_t i = index; i + 1 < m_count; ++i) {
        DestroyElements(At(i), 1);
        ConstructElements(At(i), At(i + 1), 1);
    }
    DestroyElements(At(m_count - 1), 1);
    --m_count;
    Compact(false);
    return true;
}

bool nyxXArray::RemoveFirst() { return m_count != 0 && RemoveAt(0u); }

bool nyxXArray::RemoveLast() { return m_count != 0 && RemoveRange(m_count - 1, 1); }

bool nyxXArray::SetAt(uint32_t index, const void* element) {
    if (m_data == nullptr || index >= m_count) return false;
    AssignElements(At(index), element, 1);
    return true;
}

bool nyxXArray::SetAt(nyxIterator* iterator, const void* element) {
    uint32_t index;
    if (!IndexOf(iterator, &index)) return false;
    return SetAt(index, element);
}

void nyxXArray::FreeStorage() {
    Clear();
    ::operator delete(m_data);
    m_data = nullptr;
    m_count = 0;
    m_capacity = 0;
}

nyxIterator* nyxXArrayIterator::Clone() const {
    return new (std::nothrow) nyxXArrayIterator(m_collection, m_index);
}

bool nyxSortedXArray::Find(const void* key, uint32_t* position) {
    if (GetCount() == 0) return false;
    int64_t low = 0;
    int64_t high = static_cast<int64_t>(GetCount()) - 1;
    int64_t middle = 0;
    int32_t c = 0;
    while (low <= high) {
        middle = (low + high) / 2;
        c = CompareElements(key, At(static_cast<uint32_t>(middle)));
        if (c == 0) {
            *position = static_cast<uint32_t>(middle);
            return true;
        }
        if (c < 0)
            high = middle - 1;
        else
            low = middle + 1;
    }
    *position = static_cast<uint32_t>(c < 0 ? middle : middle + 1);
    return false;
}

bool nyxSortedXArray::Contains(const void* element) {
    uint32_t position = 0;
    return Find(element, &position);
}

bool nyxSortedXArray::Insert(const void* element) {
    uint32_t position = 0;
    // A duplicate is no error; it just isn't added.
    if (Find(element, &position)) return false;
    return InsertRun(position, 1, element);
}

bool nyxSortedXArray::Remove(const void* element, int32_t) {
    uint32_t position = 0;
    if (!Find(element, &position)) return false;
    return RemoveRange(position, 1);
}

// Positional insertion would break the order. The refusals have always named "RemoveAt".
bool nyxSortedXArray::InsertAt(uint32_t, const void*) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxSortedXArray::InsertBefore(nyxIterator*, const void*) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxSortedXArray::InsertAfter(nyxIterator*, const void*) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxSortedXArray::InsertFirst(const void*) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxSortedXArray::InsertLast(const void*) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}
