// PDMc_LUF: a frame, one state of a workspace, with the frame items of that state.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LUF : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUF;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LUF();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUF(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_lufi_items;
    PDMc_LDBRef m_lufli_items;
    nyxString m_description;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
