// The door to a store and the objects that clients keep in it. PDMc_LDBRoot holds the four
// top-level maps and the attributes of the database as a whole; PDMc_LDBAppObj is a client
// object with nothing but a free type name and named attributes.
//
// A root made by this library always has its four maps; its attribute map, like that of an
// application object's holder elsewhere, stays null until the first attribute is set.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class LDBStore;
class PDMc_LDBMap;

class PDMc_LDBRoot : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_ROOT;
    static constexpr uint8_t kClassVersion = 2;
    // Dependency definition keys are composed in a buffer of this size.
    static constexpr uint32_t kDepDefKeySize = 1024;

    // Empty, for the factory to fill from a record.
    PDMc_LDBRoot();
    // A new root of the owner with all members null, at once on its modified list.
    explicit PDMc_LDBRoot(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    // The maps, loaded if need be; null when one can't be.
    PDMc_LDBMap* GetWorkspaces();
    // The workspace map if it is loaded already, else null.
    PDMc_LDBMap* LoadedWorkspaces();
    PDMc_LDBMap* GetPITypeDefs();
    PDMc_LDBMap* GetAttrDefs();
    PDMc_LDBMap* GetDepDefs();

    // The key of a dependency definition in its map: the class text, an underscore and the
    // type in decimal, cut at 1023 characters.
    static nyxString DepDefKey(const char* classText, int32_t type);

private:
    friend struct LDBSchema;
    friend PDMc_LDBRoot* CreateRootObject(LDBObjectOwner* owner);

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
    // A new object of the owner with an empty type and no attribute map, at once on its
    // modified list.
    explicit PDMc_LDBAppObj(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    // The type name the client gave; it is also the object's stored type name.
    const nyxString& GetType() const { return m_type; }

private:
    friend struct LDBSchema;
    friend PDMc_LDBAppObj* CreateAppObject(LDBObjectOwner* owner, const char* typeName);

    nyxString m_type;
    PDMc_LDBRef m_attrs;
};

// A new root with its four new maps, each made for the owner in the order workspaces, item
// type definitions, attribute definitions, dependency definitions, so that the first commit
// lays them down in that order behind the root. Null after a failure pushed.
PDMc_LDBRoot* CreateRootObject(LDBObjectOwner* owner);

// A new application object of the type with its empty attribute map. Null after a failure
// pushed.
PDMc_LDBAppObj* CreateAppObject(LDBObjectOwner* owner, const char* typeName);

// Gives a store that has no root yet its root: CreateRootObject for owner, then the store's
// root. Inside a transaction, whose commit lays the root down at the store's first address and
// writes that address to the header. A store that has a root is refused with an internal
// error. Null after a failure pushed.
PDMc_LDBRoot* LDBMakeStoreRoot(LDBStore& store, LDBObjectOwner* owner);
