// Dependencies: PDMc_WSD ties an item version to the identity of another item, under a
// PDMc_WSDD definition of class and type.
//
// A dependency belongs to the version whose array lists it (m_parent_piv), and is frozen with
// it: every write but UnsetAttribute goes through ForModification, which hands back the twin in
// the writable version, maybe a fresh copy. A client's handle may thus stand for the dependency
// of an earlier state after a write; it finds the new one in the current version's list. The
// child is an identity, not an item, so it outlives renames, new versions and the deletion of
// the child's item.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LAD;
class PDMc_LAV;
class PDMc_LDBMap;
class PDMc_LDBValue;
class PDMc_LPI;
class PDMc_WSDD;
class PDMc_WSPIV;

class PDMc_WSD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSD;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSD();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSD(LDBObjectOwner* owner);

    // A new dependency of the version on the child under the definition, with an empty map of
    // attribute values and no stored child name. Null after a failure.
    static PDMc_WSD* Create(PDMc_WSPIV* parent, PDMc_LPI* child, PDMc_WSDD* definition);

    // The twin of this dependency in a copy of its version: the same child, definition and
    // stored name, a map of its own over the same values, no application attributes. Null
    // after a failure.
    PDMc_WSD* CloneForParent(PDMc_WSPIV* parent);

    const char* GetClassName() const override;

    // The identity the dependency points at; null with an error if it can't be had.
    PDMc_LPI* GetChildPI();
    PDMc_WSPIV* GetParentPIV();
    PDMc_WSDD* GetDefinition();
    const nyxString& GetAsStoredChildName() const { return m_as_stored_child_name; }
    // The values by attribute name; null with an error if the map can't be had.
    PDMc_LDBMap* GetAttrValues();

    // Removes the dependency from its version and cleans up its child's identity.
    int32_t Delete();
    // The twin to write in the writable version, marked modified. Null when the parent refuses
    // the write (the error is on the stack), and null with no error when the parent no longer
    // lists this dependency.
    PDMc_WSD* ForModification();

    // The client's record of the child's name; nothing compares it with the identity's name.
    int32_t SetAsStoredChildName(const char* name);
    // Null when the dependency has no value of the definition's name.
    PDMc_LAV* GetAttribute(PDMc_LAD* definition);
    // The value as it came from the database side, always with a false flag.
    int32_t SetDBAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value);
    // A value set locally: the file-based form.
    int32_t SetAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value);
    // In place on this very object, frozen or not: no copy of the version, so an undo does not
    // bring the value back.
    int32_t UnsetAttribute(PDMc_LAD* definition);

private:
    // The writable twin's map gets the value under the definition's name.
    int32_t PutValue(PDMc_LAD* definition, PDMc_LAV* value);

    friend struct LDBSchema;

    PDMc_LDBRef m_parent_piv;
    PDMc_LDBRef m_child_pi;
    PDMc_LDBRef m_definition;
    PDMc_LDBRef m_attr_values;
    nyxString m_as_stored_child_name;
    PDMc_LDBRef m_attrs;
};

class PDMc_WSDD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSDD;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_WSDD();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSDD(LDBObjectOwner* owner);
    // A new definition of the class and type; it never changes afterwards.
    PDMc_WSDD(LDBObjectOwner* owner, const char* depClass, int32_t type);

    const char* GetClassName() const override;

    const nyxString& GetClass() const { return m_class; }
    int32_t GetType() const { return m_type; }

private:
    friend struct LDBSchema;

    nyxString m_class;
    int32_t m_type = 0;
};
