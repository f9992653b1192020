// PDMc_LILV: the data of a library in one or more frames.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbreps.h"

class PDMc_LDBArray;

class PDMc_LILV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LILV;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LILV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LILV(LDBObjectOwner* owner);

    const char* GetClassName() const override;

    // The local file records of this version, null if it has none (or, with an error on the
    // stack, if they can't be had).
    PDMc_LDBArray* GetFiles();
    bool HasFiles() const { return !m_files.IsNull(); }

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_lil;
    uint32_t m_source_lovid = 0;
    uint32_t m_source_version = 0;
    nyxString m_source_folder_path;
    nyxString m_target_folder_path;
    LDBIdVector m_orig_members;
    LDBIdVector m_removed_members;
    PDMc_LDBRef m_wspis;
    uint8_t m_is_modified = 0;
    PDMc_LDBRef m_files;
    PDMc_LDBRef m_creating_frame;
    PDMc_LDBRef m_attrs;
};
