// PDMc_WSGIR: the relation between a generic item and one of its instance items.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_WSGIR : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSGIR;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSGIR();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSGIR(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    uint32_t m_generic_pivid = 0;
    PDMc_LDBRef m_generic_wspi;
    uint32_t m_instance_pivid = 0;
    PDMc_LDBRef m_instance_wspi;
    nyxString m_as_stored_instance_name;
    PDMc_LDBRef m_attrs;
};
