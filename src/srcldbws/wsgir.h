// PDMc_WSGIR: the relation between a generic item and one of its instance items.
//
// A relation is a value of the frames that hold it: a change makes a copy, which takes the old
// one's place in the generic's list and as the instance's relation, while the old object stays
// for the earlier frames. Each side keeps the other's repository version id, so the relation
// still says what it stood for once an item has left it.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_WSPI;

class PDMc_WSGIR : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSGIR;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSGIR();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSGIR(LDBObjectOwner* owner);
    // A new relation, marked modified. Null after a failure.
    static PDMc_WSGIR* Create(LDBObjectOwner* owner, uint32_t genericId, PDMc_WSPI* generic,
                              uint32_t instanceId, PDMc_WSPI* instance,
                              const char* storedInstanceName);
    // A new relation with this one's members but its attributes. Null after a failure.
    PDMc_WSGIR* Copy();

    const char* GetClassName() const override;

    uint32_t GetGenericPIVID() const { return m_generic_pivid; }
    uint32_t GetInstancePIVID() const { return m_instance_pivid; }
    bool HasGenericWSPI() const { return !m_generic_wspi.IsNull(); }
    bool HasInstanceWSPI() const { return !m_instance_wspi.IsNull(); }
    // The items of the two sides; null when a side has left the relation (or, with an error,
    // when the reference leads to no item).
    PDMc_WSPI* GetGenericWSPI();
    PDMc_WSPI* GetInstanceWSPI();
    const nyxString& GetAsStoredInstanceName() const { return m_as_stored_instance_name; }

    // The text goes into a copy that replaces this relation wherever the current state holds
    // it; this object keeps the old text. 0, or the code of a failure.
    int32_t SetAsStoredInstanceName(const char* name);
    // In place.
    void SetGenericWSPI(PDMc_WSPI* item);
    void SetInstanceWSPI(PDMc_WSPI* item);
    // Whether both sides agree with the relation, with each finding printed on standard
    // output; true if there was one.
    bool CheckIntegrity();

private:
    friend struct LDBSchema;

    PDMc_WSGIR(const PDMc_WSGIR& other);

    uint32_t m_generic_pivid = 0;
    PDMc_LDBRef m_generic_wspi;
    uint32_t m_instance_pivid = 0;
    PDMc_LDBRef m_instance_wspi;
    nyxString m_as_stored_instance_name;
    PDMc_LDBRef m_attrs;
};
