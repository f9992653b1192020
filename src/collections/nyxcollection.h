// The one face that every aggregate of the library shows: lists, arrays, hash tables and the
// stored containers. An implementation class sees its elements only as blocks of ElementSize()
// bytes and treats them through the element operations at the end of the interface, which a
// thin typed shell (nyxelements.h) supplies; so the code of a kind is shared by all its
// element types.
//
// An operation that a kind does not offer changes nothing and gives false, null or 0. That is
// no error for the caller and goes to no error stack.
#pragma once

#include <cstdint>

class nyxIterator;

class nyxCollection {
public:
    virtual ~nyxCollection() = default;

    virtual bool IsSequential() const = 0;
    virtual bool IsSorted() const = 0;
    virtual bool Contains(const void* element);
    virtual void* GetAt(uint32_t index) = 0;
    virtual void* GetFirst();
    virtual void* GetLast();
    virtual uint32_t GetCount() const = 0;
    virtual bool IsEmpty() const;
    // Owned by the caller: Release it, or hold it in a nyxIteratorGuard.
    virtual nyxIterator* NewIterator() = 0;
    virtual bool Insert(const void* element) = 0;
    virtual bool InsertAt(uint32_t index, const void* element) = 0;
    virtual bool InsertBefore(nyxIterator* iterator, const void* element) = 0;
    virtual bool InsertAfter(nyxIterator* iterator, const void* element) = 0;
    virtual bool InsertFirst(const void* element) = 0;
    virtual bool InsertLast(const void* element) = 0;
    virtual bool InsertAll(nyxCollection& other);
    // A negative count removes every equal element.
    virtual bool Remove(const void* element, int32_t count) = 0;
    virtual void Clear() = 0;
    // Moves the iterator to the next element (forward) or the previous one, so that a walk
    // that removes what it visits goes on from a valid place.
    virtual bool RemoveAt(nyxIterator* iterator, bool forward) = 0;
    virtual bool RemoveAt(uint32_t index) = 0;
    virtual bool RemoveFirst() = 0;
    virtual bool RemoveLast() = 0;
    virtual void RemoveEach(nyxCollection& other);
    virtual bool SetAt(uint32_t index, const void* element) = 0;
    virtual bool SetAt(nyxIterator* iterator, const void* element) = 0;
    // Clears and gives back what Clear may keep. The typed shells call it from their
    // destructors: once the shell is gone, no element can be destroyed any more.
    virtual void FreeStorage() = 0;
    virtual const char* GetClassName() const = 0;
    // The outermost object of which this collection is a part.
    virtual void* Self() = 0;

    // Element operations, called once per run of elements rather than once per element.
    virtual uint32_t ElementSize() const = 0;
    virtual void DestroyElements(void* elements, uint32_t count) const = 0;
    virtual void ConstructElements(void* target, const void* source, uint32_t count) const = 0;
    virtual void RelocateElements(void* target, const void* source, uint32_t count) const = 0;
    virtual void FillElements(void* target, const void* element, uint32_t count) const = 0;
    virtual void AssignElements(void* target, const void* source, uint32_t count) const = 0;

    // Makes this collection a copy of the other one; elements only, no settings.
    virtual void Assign(nyxCollection& other);
};

class nyxIterator {
public:
    virtual ~nyxIterator() = default;

    // The element under the iterator; meaningful only while AtEnd() is false.
    virtual void* Current() = 0;
    // True past the last element or before the first.
    virtual bool AtEnd() const = 0;
    virtual void First() = 0;
    virtual void Last() = 0;
    virtual void Next() = 0;
    virtual void Prev() = 0;
    virtual void* OwnerObject() const;
    virtual nyxCollection* GetCollection() const = 0;
    virtual nyxIterator* Clone() const = 0;
    virtual void Release();
    virtual const char* CollectionName() const;

    // Release that also takes a null iterator, which is what most callers hold after a
    // failed NewIterator.
    static void Release(nyxIterator* iterator);
};

// Keeps an iterator for the length of a scope and releases it on every path out.
class nyxIteratorGuard {
public:
    explicit nyxIteratorGuard(nyxCollection& collection)
        : m_collection(&collection), m_iterator(collection.NewIterator()) {}
    ~nyxIteratorGuard() { nyxIterator::Release(m_iterator); }
    nyxIteratorGuard(const nyxIteratorGuard&) = delete;
    nyxIteratorGuard& operator=(const nyxIteratorGuard&) = delete;

    nyxIterator* get() const { return m_iterator; }
    nyxIterator* operator->() const { return m_iterator; }
    nyxCollection* collection() const { return m_collection; }

private:
    nyxCollection* m_collection;
    nyxIterator* m_iterator;
};

// The refusal of an operation that a kind doesn't offer. The text is composed as the system
// always has, and handed to the diagnostic hook if one is set; nobody else sees it.
typedef void (*nyxNotSupportedHook)(const char* text);
// Sets the hook and gives back the previous one; null switches the channel off.
nyxNotSupportedHook nyxSetNotSupportedHook(nyxNotSupportedHook hook);
void nyxCollectionNotSupported(const char* method, const char* className);
void nyxIteratorNotSupported(const char* method, const char* className);
