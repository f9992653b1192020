#include "collections/nyxlist.h"

#include <new>

nyxLinkedList::nyxLinkedList(bool doubleLinked)
    : m_linkSize(doubleLinked ? sizeof(nyxListNode) : sizeof(nyxListNode*)) {}

bool nyxLinkedList::LinkAfter(nyxListNode* prev, const void* element) {
    void* raw = ::operator new(m_linkSize + ElementSize(), std::nothrow);
    if (raw == nullptr) return false;
    nyxListNode* node = static_cast<nyxListNode*>(raw);
    node->next = nullptr;
    if (IsDouble()) node->prev = nullptr;
    ConstructElements(ElementOf(node), element, 1);

    nyxListNode* next = prev ? prev->next : m_head;
    node->next = next;
    if (IsDouble()) {
        node->prev = prev;
        if (next) next->prev = node;
    }
    if (prev)
        prev->next = node;
    else
        m_head = node;
    if (prev == m_tail) m_tail = node;
    ++m_count;
    return true;
}

void nyxLinkedList::Unlink(nyxListNode* prev, nyxListNode* node) {
    if (prev)
        prev->next = node->next;
    else
        m_head = node->next;
    if (IsDouble() && node->next) node->next->prev = prev;
    if (node == m_tail) m_tail = prev;
    DestroyElements(ElementOf(node), 1);
    ::operator delete(node);
    --m_count;
}

nyxListNode* nyxLinkedList::PrevNode(nyxListNode* node) const {
    if (node == nullptr) return m_tail;
    if (IsDouble()) return node->prev;
    nyxListNode* prev = nullptr;
    for (nyxListNode* n = m_head; n != nullptr && n != node; n = n->next) prev = n;
    return prev;
}

nyxListNode* nyxLinkedList::NodeOf(nyxIterator* iterator) const {
    if (iterator == nullptr || iterator->GetCollection() != this) return nullptr;
    return static_cast<nyxSingleListIterator*>(iterator)->Node();
}

bool nyxLinkedList::Contains(const void* element) {
    for (nyxListNode* n = m_head; n != nullptr; n = n->next) {
        if (ElementsEqual(ElementOf(n), element)) return true;
    }
    return false;
}

void* nyxLinkedList::GetAt(uint32_t) {
    nyxCollectionNotSupported("GetAt", GetClassName());
    return nullptr;
}

void* nyxLinkedList::GetFirst() { return ElementOf(m_head); }

void* nyxLinkedList::GetLast() { return ElementOf(m_tail); }

bool nyxLinkedList::InsertAt(uint32_t, const void*) {
    nyxCollectionNotSupported("InsertAt", GetClassName());
    return false;
}

bool nyxLinkedList::InsertBefore(nyxIterator* iterator, const void* element) {
    if (m_count == 0) return InsertFirst(element);
    // The predecessor comes from a step back of a clone; a clone of an iterator at the end
    // stands on the head, so such an iterator inserts at the front.
    nyxListNode* node = NodeOf(iterator);
    if (node == nullptr) return LinkAfter(nullptr, element);
    return LinkAfter(PrevNode(node), element);
}

bool nyxLinkedList::InsertAfter(nyxIterator* iterator, const void* element) {
    if (m_count == 0) return InsertLast(element);
    // An iterator at the end counts as standing in front of the head.
    return LinkAfter(NodeOf(iterator), element);
}

bool nyxLinkedList::InsertFirst(const void* element) { return LinkAfter(nullptr, element); }

bool nyxLinkedList::InsertLast(const void* element) { return LinkAfter(m_tail, element); }

bool nyxLinkedList::Remove(const void* element, int32_t) {
    nyxListNode* prev = nullptr;
    for (nyxListNode* n = m_head; n != nullptr; prev = n, n = n->next) {
        if (ElementsEqual(ElementOf(n), element)) {
            Unlink(prev, n);
            return true;
        }
    }
    return false;
}

void nyxLinkedList::Clear() {
    nyxListNode* n = m_head;
    while (n != nullptr) {
        nyxListNode* next = n->next;
        DestroyElements(ElementOf(n), 1);
        ::operator delete(n);
        n = next;
    }
    m_head = m_tail = nullptr;
    m_count = 0;
}

bool nyxLinkedList::RemoveAt(nyxIterator* iterator, bool forward) {
    nyxListNode* node = NodeOf(iterator);
    if (node == nullptr) return false;
    nyxListNode* prev = PrevNode(node);
    if (forward)
        iterator->Next();
    else
        iterator->Prev();
    Unlink(prev, node);
    return true;
}

bool nyxLinkedList::RemoveAt(uint32_t) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool nyxLinkedList::RemoveFirst() {
    // An empty list counts as done: callers drain queues with it until it is empty.
    if (m_head != nullptr) Unlink(nullptr, m_head);
    return true;
}

bool nyxLinkedList::RemoveLast() {
    if (m_tail == nullptr) return false;
    Unlink(PrevNode(m_tail), m_tail);
    return true;
}

bool nyxLinkedList::SetAt(uint32_t, const void*) {
    nyxCollectionNotSupported("SetAt", GetClassName());
    return false;
}

bool nyxLinkedList::SetAt(nyxIterator* iterator, const void* element) {
    nyxListNode* node = NodeOf(iterator);
    if (node == nullptr) return false;
    void* place = ElementOf(node);
    // Destroying first would free what a self-assignment is about to copy.
    if (place == element) return true;
    DestroyElements(place, 1);
    ConstructElements(place, element, 1);
    return true;
}

nyxIterator* nyxSingleList::NewIterator() {
    return new (std::nothrow) nyxSingleListIterator(this);
}

nyxIterator* nyxDoubleList::NewIterator() {
    return new (std::nothrow) nyxDoubleListIterator(this);
}

nyxIterator* nyxSingleListIterator::Clone() const {
    nyxSingleListIterator* clone = new (std::nothrow) nyxSingleListIterator(m_list);
    if (clone && m_node) clone->m_node = m_node;
    return clone;
}

nyxIterator* nyxDoubleListIterator::Clone() const {
    nyxDoubleListIterator* clone = new (std::nothrow) nyxDoubleListIterator(m_list);
    if (clone && m_node) clone->m_node = m_node;
    return clone;
}
