// PDMc_LF: the record of one local file of an item version or a library version.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LF : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LF;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LF();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LF(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    nyxString m_file_name;
    nyxString m_local_path;
    nyxString m_host_name;
    int32_t m_file_version = 0;
    uint32_t m_rep_obj_id = 0;
    bool m_is_modified = false;
    uint32_t m_modification_stamp = 0;
};
