// LDBObjectOwner: what a persistent object needs from the connection it belongs to. The
// connection implements it over its store's object table and modified list; nothing else in
// the object model reaches the store.
#pragma once

#include <cstdint>

class PDMc_LDBObject;

class LDBObjectOwner {
public:
    // The object whose record is at address: the one already in the object table, or a new one
    // read from the store. Null when none can be made; the reason, if any, is on the error stack.
    virtual PDMc_LDBObject* FindOrLoadObject(uint32_t address) = 0;

    // Appends the object to the modified list of the open transaction. The object keeps its own
    // flag, so this is called once per object and transaction.
    virtual void AddToModifiedList(PDMc_LDBObject* object) = 0;

protected:
    // Owners are never destroyed through this interface.
    ~LDBObjectOwner() = default;
};
