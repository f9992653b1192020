#include "ccursor.h"

#include <new>

#include "callframe.h"
#include "errors/nyxerror.h"

PDMCursor::PDMCursor()
    : m_bound(false), m_owns_collection(false), m_collection(nullptr), m_guard(nullptr) {}

PDMCursor::~PDMCursor() { Unbind(); }

void PDMCursor::Unbind() {
    if (!m_bound) return;
    // The iterator goes before the collection it walks.
    delete m_guard;
    if (m_owns_collection) delete m_collection;
    m_guard = nullptr;
    m_collection = nullptr;
    m_owns_collection = false;
    m_bound = false;
}

void PDMCursor::Bind(nyxCollection* collection, bool owns) {
    Unbind();
    m_collection = collection;
    m_guard = collection ? new (std::nothrow) nyxIteratorGuard(*collection) : nullptr;
    if (m_guard != nullptr && m_guard->get() != nullptr) m_guard->get()->First();
    m_owns_collection = owns;
    m_bound = true;
}

void* PDMCursor::NextPointer() {
    if (m_guard == nullptr || m_guard->get() == nullptr) return nullptr;
    nyxIterator* iterator = m_guard->get();
    if (iterator->AtEnd()) return nullptr;
    void* element = *static_cast<void**>(iterator->Current());
    iterator->Next();
    return element;
}

int32_t PDMBindCursor(nyxCollection* collection, bool owns, CursorHandle* out) {
    PDMCursor* cursor = new (std::nothrow) PDMCursor();
    if (cursor == nullptr) {
        if (owns) delete collection;
        *out = nullptr;
        return NYX_INTERNAL_ERROR("no memory for a cursor", "srccldb/ccursor");
    }
    cursor->Bind(collection, owns);
    *out = cursor->Handle();
    if (!nyxErrorStackEmpty()) {
        delete cursor;
        *out = nullptr;
        return nyxErrorCurrentCode();
    }
    return 0;
}

int PDMCursorGetNext(CursorHandle handle, void** element) {
    if (handle == nullptr) {
        *element = nullptr;
        return PDMCheckHandle(handle, "PDMCursorGetNext", "CursorHandle");
    }
    PDMCursor* cursor = PDMCursor::FromHandle(handle);
    if (cursor->HoldsNumbers()) {
        uint64_t n = cursor->NextNumber();
        *element = n == 0 ? nullptr : reinterpret_cast<void*>(static_cast<uintptr_t>(2 * n + 1));
    } else {
        *element = cursor->NextElement();
    }
    return 0;
}

int PDMCursorDelete(CursorHandle handle) {
    delete PDMCursor::FromHandle(handle);
    return PDMResultT();
}

int PDMStringPairCreate(const char* first, const char* second, PairHandle* pair) {
    PDMCallFrame frame("PDMStringPairCreate");
    PDMStringPair* made = new (std::nothrow) PDMStringPair();
    if (made == nullptr) {
        nyxErrorPushInternal("no memory for a string pair", "srccldb/ccursor", __LINE__);
        return PDMResultT();
    }
    if (first != nullptr) made->first = first;
    if (second != nullptr) made->second = second;
    *pair = reinterpret_cast<PairHandle>(made);
    return PDMResultT();
}

int PDMStringPairGetString(PairHandle pair, int which, const char** text) {
    // The export has always named itself this way in its records.
    PDMCallFrame frame("PDMStingPairGetString");
    if (PDMCheckHandle(pair, "PDMStingPairGetString", "PairHandle")) return PDMResultT();
    if (which != 1 && which != 2) {
        PDMCheckHandle(nullptr, "PDMStingPairGetString", "NumberInPair");
        return PDMResultT();
    }
    PDMStringPair* p = reinterpret_cast<PDMStringPair*>(pair);
    *text = (which == 1 ? p->first : p->second).c_str();
    return 0;
}

int PDMStringPairDelete(PairHandle pair) {
    PDMCallFrame frame("PDMStringPairDelete");
    delete reinterpret_cast<PDMStringPair*>(pair);
    return PDMResultT();
}

int PDMErrorGetStack(CursorHandle* cursor) {
    *cursor = nullptr;
    if (nyxErrorStackEmpty()) return 0;
    PDMPointerList* records = new (std::nothrow) PDMPointerList();
    if (records == nullptr) return 0;
    for (nyxError* e = nyxErrorGetCurrent(); e != nullptr; e = e->previous) {
        void* element = e;
        records->InsertLast(&element);
    }
    // The stack is not empty, so the common tail would refuse: bind by hand.
    PDMCursor* made = new (std::nothrow) PDMCursor();
    if (made == nullptr) {
        delete records;
        return 0;
    }
    made->Bind(records, true);
    *cursor = made->Handle();
    return 0;
}
