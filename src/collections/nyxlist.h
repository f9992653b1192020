// The linked lists: the everyday working collections (modified lists, the file operation
// queue, cursor result sets). A node is one allocation: the links, then the element.
// nyxSingleList has a next link only, so whatever needs a predecessor walks from the head;
// nyxDoubleList adds a prev link and is the one to walk backwards.
#pragma once

#include <cstdint>

#include "collections/nyxcollection.h"
#include "collections/nyxelements.h"

struct nyxListNode {
    nyxListNode* next;
    // Present only in the nodes of a nyxDoubleList.
    nyxListNode* prev;
};

class nyxSingleListIterator;

// What both lists share; the two public kinds differ in their links and their Prev.
class nyxLinkedList : public nyxCollection {
public:
    bool IsSequential() const override { return true; }
    bool IsSorted() const override { return false; }
    bool Contains(const void* element) override;
    void* GetAt(uint32_t index) override;
    void* GetFirst() override;
    void* GetLast() override;
    uint32_t GetCount() const override { return m_count; }
    bool IsEmpty() const override { return m_count == 0; }
    bool Insert(const void* element) override { return InsertLast(element); }
    bool InsertAt(uint32_t index, const void* element) override;
    bool InsertBefore(nyxIterator* iterator, const void* element) override;
    bool InsertAfter(nyxIterator* iterator, const void* element) override;
    bool InsertFirst(const void* element) override;
    bool InsertLast(const void* element) override;
    // Removes the first equal element only; keys in lists are not unique, and no caller
    // wants more than one out at a time.
    bool Remove(const void* element, int32_t count) override;
    void Clear() override;
    bool RemoveAt(nyxIterator* iterator, bool forward) override;
    bool RemoveAt(uint32_t index) override;
    bool RemoveFirst() override;
    bool RemoveLast() override;
    bool SetAt(uint32_t index, const void* element) override;
    bool SetAt(nyxIterator* iterator, const void* element) override;
    void FreeStorage() override { Clear(); }

    virtual bool ElementsEqual(const void* a, const void* b) const = 0;

    nyxListNode* Head() const { return m_head; }
    nyxListNode* Tail() const { return m_tail; }
    void* ElementOf(nyxListNode* node) const {
        return node ? reinterpret_cast<char*>(node) + m_linkSize : nullptr;
    }
    // The node before the given one; the tail for null (the end), null for the head.
    nyxListNode* PrevNode(nyxListNode* node) const;
    // The node an iterator of this list stands on, null at its end or for a foreign iterator.
    nyxListNode* NodeOf(nyxIterator* iterator) const;
    bool IsDouble() const { return m_linkSize == sizeof(nyxListNode); }

protected:
    explicit nyxLinkedList(bool doubleLinked);
    nyxLinkedList(const nyxLinkedList&) = delete;
    nyxLinkedList& operator=(const nyxLinkedList&) = delete;

private:
    // Links a new node with a copy of the element behind prev, or at the front for null.
    bool LinkAfter(nyxListNode* prev, const void* element);
    // Unlinks node, whose predecessor is prev (null for the head), and frees it.
    void Unlink(nyxListNode* prev, nyxListNode* node);

    nyxListNode* m_head = nullptr;
    nyxListNode* m_tail = nullptr;
    uint32_t m_count = 0;
    uint32_t m_linkSize;
};

class nyxSingleList : public nyxLinkedList {
public:
    nyxSingleList() : nyxLinkedList(false) {}
    nyxIterator* NewIterator() override;
    const char* GetClassName() const override { return "nyxSingleList"; }
};

class nyxDoubleList : public nyxLinkedList {
public:
    nyxDoubleList() : nyxLinkedList(true) {}
    nyxIterator* NewIterator() override;
    const char* GetClassName() const override { return "nyxDoubleList"; }
};

class nyxSingleListIterator : public nyxIterator {
public:
    explicit nyxSingleListIterator(nyxLinkedList* list) : m_list(list), m_node(list->Head()) {}

    void* Current() override { return m_list->ElementOf(m_node); }
    bool AtEnd() const override { return m_node == nullptr; }
    void First() override { m_node = m_list->Head(); }
    void Last() override { m_node = m_list->Tail(); }
    void Next() override {
        if (m_node) m_node = m_node->next;
    }
    // Searches from the head: from the end that reaches the tail, from the head the end.
    void Prev() override { m_node = m_list->PrevNode(m_node); }
    nyxCollection* GetCollection() const override { return m_list; }
    // A clone of an iterator at the end stands on the head.
    nyxIterator* Clone() const override;

    nyxListNode* Node() const { return m_node; }

protected:
    nyxLinkedList* m_list;
    nyxListNode* m_node;
};

class nyxDoubleListIterator : public nyxSingleListIterator {
public:
    explicit nyxDoubleListIterator(nyxLinkedList* list) : nyxSingleListIterator(list) {}
    void Prev() override {
        if (m_node) m_node = m_node->prev;
    }
    nyxIterator* Clone() const override;
};

template <class Impl, class T>
class nyxListShell : public nyxElementShell<Impl, T> {
public:
    bool ElementsEqual(const void* a, const void* b) const override {
        return nyxElementTraits<T>::Equal(*static_cast<const T*>(a), *static_cast<const T*>(b));
    }
};

template <class T>
using nyxSingleListOf = nyxListShell<nyxSingleList, T>;
template <class T>
using nyxDoubleListOf = nyxListShell<nyxDoubleList, T>;
