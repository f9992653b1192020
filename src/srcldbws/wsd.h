// Dependencies: PDMc_WSD ties an item version to the identity of another item, under a
// PDMc_WSDD definition of class and type.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LPI;
class PDMc_WSPIV;

class PDMc_WSD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSD;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSD();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSD(LDBObjectOwner* owner);

    // The twin of this dependency in a copy of its version: the same child, definition and
    // stored name, a map of its own over the same values, no application attributes. Null
    // after a failure.
    PDMc_WSD* CloneForParent(PDMc_WSPIV* parent);

    const char* GetClassName() const override;

    // The identity the dependency points at; null with an error if it can't be had.
    PDMc_LPI* GetChildPI();

private:
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
