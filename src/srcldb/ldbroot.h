// The door to a store and the objects that clients keep in it. PDMc_LDBRoot holds the four
// top-level maps and the attributes of the database as a whole; PDMc_LDBAppObj is a client
// object with nothing but a free type name and named attributes.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LDBRoot : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_ROOT;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LDBRoot();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LDBRoot(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_workspaces;
    PDMc_LDBRef m_pi_type_defs;
    PDMc_LDBRef m_attr_defs;
    PDMc_LDBRef m_dep_defs;
    PDMc_LDBRef m_attrs;
};

class PDMc_LDBAppObj : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_APPOBJ;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LDBAppObj();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LDBAppObj(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    // The type name the client gave; it is also the object's stored type name.
    const nyxString& GetType() const { return m_type; }

private:
    friend struct LDBSchema;

    nyxString m_type;
    PDMc_LDBRef m_attrs;
};
