#include "collections/nyxcollection.h"

#include <cstdio>

namespace {

nyxNotSupportedHook s_notSupportedHook = nullptr;

void ComposeNotSupported(const char* format, const char* method, const char* className) {
    if (s_notSupportedHook == nullptr) return;
    char text[1024];
    snprintf(text, sizeof text, format, method ? method : "", className ? className : "");
    s_notSupportedHook(text);
}

}  // namespace

nyxNotSupportedHook nyxSetNotSupportedHook(nyxNotSupportedHook hook) {
    nyxNotSupportedHook previous = s_notSupportedHook;
    s_notSupportedHook = hook;
    return previous;
}

void nyxCollectionNotSupported(const char* method, const char* className) {
    ComposeNotSupported("Error: Method %s not supported by collection of type %s", method,
                        className);
}

void nyxIteratorNotSupported(const char* method, const char* className) {
    ComposeNotSupported("Error: Method %s not supported by iterator for type %s", method,
                        className);
}

bool nyxCollection::Contains(const void*) { return false; }

void* nyxCollection::GetFirst() {
    nyxIteratorGuard it(*this);
    if (it.get() == nullptr) return nullptr;
    it->First();
    return it->AtEnd() ? nullptr : it->Current();
}

void* nyxCollection::GetLast() {
    nyxIteratorGuard it(*this);
    if (it.get() == nullptr) return nullptr;
    it->Last();
    return it->AtEnd() ? nullptr : it->Current();
}

bool nyxCollection::IsEmpty() const { return GetCount() == 0; }

bool nyxCollection::InsertAll(nyxCollection& other) {
    if (&other == this) return true;
    nyxIteratorGuard it(other);
    if (it.get() == nullptr) return false;
    // A refused element doesn't stop the others: a set takes what it can.
    for (it->First(); !it->AtEnd(); it->Next()) Insert(it->Current());
    return true;
}

void nyxCollection::RemoveEach(nyxCollection& other) {
    if (&other == this) {
        Clear();
        return;
    }
    nyxIteratorGuard it(other);
    if (it.get() == nullptr) return;
    for (it->First(); !it->AtEnd(); it->Next()) Remove(it->Current(), -1);
}

void nyxCollection::Assign(nyxCollection& other) {
    if (&other == this) return;
    Clear();
    InsertAll(other);
}

void* nyxIterator::OwnerObject() const {
    nyxCollection* collection = GetCollection();
    return collection ? collection->Self() : nullptr;
}

void nyxIterator::Release() { delete this; }

void nyxIterator::Release(nyxIterator* iterator) {
    if (iterator != nullptr) iterator->Release();
}

const char* nyxIterator::CollectionName() const {
    nyxCollection* collection = GetCollection();
    return collection ? collection->GetClassName() : "unknown";
}
