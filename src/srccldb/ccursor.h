// Cursors: what every list export hands back. A cursor is a view of a container that lives on
// in the database, or the sole owner of a list built for the call; either way it yields one
// pointer per step and null at the end, forever.
#pragma once

#include <cstdint>

#include "collections/nyxcollection.h"
#include "collections/nyxlist.h"
#include "marrows/marrows.h"
#include "nyxstring.h"

// A built list: a snapshot of plain pointers that survives changes to the model.
using PDMPointerList = nyxSingleListOf<void*>;

class PDMCursor {
public:
    PDMCursor();
    virtual ~PDMCursor();
    PDMCursor(const PDMCursor&) = delete;
    PDMCursor& operator=(const PDMCursor&) = delete;

    virtual bool HoldsNumbers() const { return false; }
    virtual void* NextElement() { return NextPointer(); }
    virtual uint32_t NextNumber() { return 0; }
    // The element under the iterator, then one step on; null at the end.
    virtual void* NextPointer();

    // Attaches a collection; an owned one is deleted with the cursor.
    void Bind(nyxCollection* collection, bool owns);

    static PDMCursor* FromHandle(CursorHandle handle) { return reinterpret_cast<PDMCursor*>(handle); }
    CursorHandle Handle() { return reinterpret_cast<CursorHandle>(this); }

private:
    void Unbind();

    bool m_bound;
    bool m_owns_collection;
    nyxCollection* m_collection;
    nyxIteratorGuard* m_guard;
};

// The common tail of every list export: binds the collection to a new cursor and stores it.
// While any record stands on the error stack no cursor is given: the output is null, an owned
// collection is deleted, and the result is the code on top. Else 0.
int32_t PDMBindCursor(nyxCollection* collection, bool owns, CursorHandle* out);

// The one value object a client builds: two texts, owned by the client.
class PDMStringPair {
public:
    nyxString first;
    nyxString second;
};
