// The typed layer: what one element type contributes to a collection. An implementation class
// knows an element only as ElementSize() bytes; the shell below gives it the element's life
// cycle, equality and order through nyxElementTraits<T>.
//
// The element kinds in use are object pointers (any T*, 8 bytes, compared as unsigned
// addresses), ids (uint32_t, unsigned order), nyxString (text equality and byte order) and
// the persistent reference, which brings its own == and default constructor.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "nyxstring.h"

template <class T>
struct nyxElementTraits {
    static bool Equal(const T& a, const T& b) { return a == b; }
    static int32_t Compare(const T& a, const T& b) { return a < b ? -1 : (b < a ? 1 : 0); }
};

template <class T>
struct nyxElementTraits<T*> {
    static bool Equal(T* a, T* b) { return a == b; }
    static int32_t Compare(T* a, T* b) {
        uintptr_t x = reinterpret_cast<uintptr_t>(a);
        uintptr_t y = reinterpret_cast<uintptr_t>(b);
        return x < y ? -1 : (x > y ? 1 : 0);
    }
};

template <>
struct nyxElementTraits<uint32_t> {
    static bool Equal(uint32_t a, uint32_t b) { return a == b; }
    static int32_t Compare(uint32_t a, uint32_t b) { return a < b ? -1 : (a > b ? 1 : 0); }
};

// Text equality and order by bytes; the same text pointer is equal without a look.
int32_t nyxTextCompare(const char* a, const char* b);
bool nyxTextEqual(const char* a, const char* b);

template <>
struct nyxElementTraits<nyxString> {
    static bool Equal(const nyxString& a, const nyxString& b) {
        return nyxTextEqual(a.c_str(), b.c_str());
    }
    static int32_t Compare(const nyxString& a, const nyxString& b) {
        return nyxTextCompare(a.c_str(), b.c_str());
    }
};

// The life cycle of runs of T in raw storage. A null target is skipped, as a placement
// construction would; the storage around an element is never read or written.
template <class T>
struct nyxElementRuns {
    static void Destroy(void* elements, uint32_t count) {
        if (std::is_trivially_destructible<T>::value || elements == nullptr) return;
        T* p = static_cast<T*>(elements);
        for (uint32_t i = 0; i < count; ++i) p[i].~T();
    }
    static void Construct(void* target, const void* source, uint32_t count) {
        if (target == nullptr) return;
        T* t = static_cast<T*>(target);
        const T* s = static_cast<const T*>(source);
        for (uint32_t i = 0; i < count; ++i) new (t + i) T(s[i]);
    }
    static void Fill(void* target, const void* element, uint32_t count) {
        if (target == nullptr) return;
        T* t = static_cast<T*>(target);
        const T& e = *static_cast<const T*>(element);
        for (uint32_t i = 0; i < count; ++i) new (t + i) T(e);
    }
    static void Assign(void* target, const void* source, uint32_t count) {
        T* t = static_cast<T*>(target);
        const T* s = static_cast<const T*>(source);
        for (uint32_t i = 0; i < count; ++i) {
            if (t + i != s + i) t[i] = s[i];
        }
    }
    static void DefaultConstruct(void* target, uint32_t count) {
        if (target == nullptr) return;
        T* t = static_cast<T*>(target);
        for (uint32_t i = 0; i < count; ++i) new (t + i) T();
    }
};

// The element operations of nyxCollection for elements of type T, on top of the
// implementation class Impl. Destroys the elements while it still knows how.
template <class Impl, class T>
class nyxElementShell : public Impl {
public:
    using Impl::Impl;
    ~nyxElementShell() override { this->FreeStorage(); }

    void* Self() override { return this; }
    uint32_t ElementSize() const override { return sizeof(T); }
    void DestroyElements(void* elements, uint32_t count) const override {
        nyxElementRuns<T>::Destroy(elements, count);
    }
    void ConstructElements(void* target, const void* source, uint32_t count) const override {
        nyxElementRuns<T>::Construct(target, source, count);
    }
    void RelocateElements(void* target, const void* source, uint32_t count) const override {
        nyxElementRuns<T>::Construct(target, source, count);
    }
    void FillElements(void* target, const void* element, uint32_t count) const override {
        nyxElementRuns<T>::Fill(target, element, count);
    }
    void AssignElements(void* target, const void* source, uint32_t count) const override {
        nyxElementRuns<T>::Assign(target, source, count);
    }

    // Typed access: the address of the element, as the untyped forms give it.
    T* At(uint32_t index) { return static_cast<T*>(this->GetAt(index)); }
    T* First() { return static_cast<T*>(this->GetFirst()); }
    T* Last() { return static_cast<T*>(this->GetLast()); }
};
