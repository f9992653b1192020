// Attributes of item versions and dependencies (PDMc_LAV under a PDMc_LAD definition) and of
// attribute holders (PDMc_LAAV).
//
// A definition is only an interned name: it says nothing of a value's kind. A PDMc_LAV never
// changes once made, since frames share it: a new value is a new object, and the replaced one
// stays in the store unreferenced. A PDMc_LAAV belongs to one holder's map and changes in place.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbvalue.h"

class PDMc_LAD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAD;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LAD();
    // A new definition of the name, at once on the owner's modified list.
    PDMc_LAD(LDBObjectOwner* owner, const char* name);

    const char* GetClassName() const override;

    // The attribute's name, which is also its key in the root's map of definitions.
    const nyxString& GetName() const { return m_name; }

private:
    friend struct LDBSchema;

    nyxString m_name;
};

class PDMc_LAV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAV;
    static constexpr uint8_t kClassVersion = 1;

    // Bits of m_bitmask.
    static constexpr uint32_t kModified = 1;
    // Written through the database form of the setters.
    static constexpr uint32_t kFromDatabase = 2;
    // The database form was given a false flag.
    static constexpr uint32_t kDatabaseFlagFalse = 4;

    // Empty, for the factory to fill from a record.
    PDMc_LAV();

    // A new value of the definition's owner, with a copy of the value and no flag. Null after
    // a failure pushed.
    static PDMc_LAV* Create(PDMc_LAD* definition, const PDMc_LDBValue& value);
    // A value that came from the database side; the flag is kept for it in bit 2.
    static PDMc_LAV* CreateFromDB(PDMc_LAD* definition, bool flag, const PDMc_LDBValue& value);
    // A value set locally: the file-based form.
    static PDMc_LAV* CreateLocal(PDMc_LAD* definition, const PDMc_LDBValue& value);

    const char* GetClassName() const override;

    // The definition, loaded if need be; null if it can't be.
    PDMc_LAD* GetAttrDef();
    const PDMc_LDBRef& GetAttrDefRef() const { return m_attrdef; }
    const PDMc_LDBValue& GetValue() const { return m_value; }
    PDMc_LDBValue& GetValue() { return m_value; }
    uint32_t GetBitmask() const { return m_bitmask; }

    bool IsModified() const { return (m_bitmask & kModified) != 0; }
    void SetModified(bool modified);
    // A local value: neither of the database bits is set.
    bool IsFileBased() const { return (m_bitmask & (kFromDatabase | kDatabaseFlagFalse)) == 0; }

private:
    friend struct LDBSchema;

    PDMc_LAV(LDBObjectOwner* owner, PDMc_LAD* definition, const PDMc_LDBValue& value);

    PDMc_LDBRef m_attrdef;
    PDMc_LDBValue m_value;
    uint32_t m_bitmask = 0;
};

class PDMc_LAAV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAAV;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LAAV();

    // A new value object of the owner holding a copy of the value. Null after a failure pushed.
    static PDMc_LAAV* Create(LDBObjectOwner* owner, const PDMc_LDBValue& value);

    const char* GetClassName() const override;

    const PDMc_LDBValue& GetValue() const { return m_value; }
    PDMc_LDBValue& GetValue() { return m_value; }
    // Replaces the value and marks the object modified, whatever the value was.
    void SetValue(const PDMc_LDBValue& value);

private:
    friend struct LDBSchema;

    PDMc_LAAV(LDBObjectOwner* owner, const PDMc_LDBValue& value);

    PDMc_LDBValue m_value;
};
