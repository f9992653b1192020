// PDMc_WS: a workspace, a named working area with a directory on disk and a history of frames.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_WS : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WS;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WS();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WS(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    // The directory of the workspace's local files, in the stored form with "|".
    const nyxString& GetOsDirPath() const { return m_os_dir_path; }
    // Gives out the next file version of the workspace. The counter is stored, so it rises
    // only in what is committed, and an aborted file's number may come again.
    int32_t NextFileVersion() {
        MarkModified();
        return ++m_file_ver_counter;
    }

private:
    friend struct LDBSchema;

    nyxString m_name;
    nyxString m_description;
    nyxString m_os_dir_path;
    uint32_t m_creation_stamp = 0;
    uint32_t m_modification_stamp = 0;
    PDMc_LDBRef m_undo_stack;
    PDMc_LDBRef m_luf;
    int32_t m_current_state_number = 0;
    int32_t m_file_ver_counter = 0;
    int32_t m_mod_count_generator = 0;
    bool m_auto_set_is_modified = false;
    bool m_is_ws_under_integration = false;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
