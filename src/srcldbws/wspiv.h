// PDMc_WSPIV: the data of an item in one or more frames: its source and target coordinates,
// its files, attributes, dependencies and library relations.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LDBArray;
class PDMc_LPI;
class nyxCollection;

class PDMc_WSPIV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSPIV;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSPIV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSPIV(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    // The local file records of this version, null if it has none (or, with an error on the
    // stack, if they can't be had).
    PDMc_LDBArray* GetFiles();
    bool HasFiles() const { return !m_files.IsNull(); }
    // Clears `out`, then adds every dependency of this version on the identity, in order.
    // 0, or the code of a failure.
    int32_t GetDependenciesToChild(PDMc_LPI* lpi, nyxCollection& out);

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_workspace;
    nyxString m_description;
    PDMc_LDBRef m_lpi;
    uint32_t m_source_rpiv_id = 0;
    nyxString m_source_branch_name;
    nyxString m_target_branch_name;
    nyxString m_source_revision;
    nyxString m_target_revision;
    int32_t m_source_version = 0;
    nyxString m_source_release_level;
    nyxString m_target_release_level;
    nyxString m_source_folder_path;
    nyxString m_target_folder_path;
    bool m_is_instance = false;
    bool m_has_instances = false;
    bool m_is_modified = false;
    int32_t m_mod_count = 0;
    int32_t m_local_mod_intent = 0;
    PDMc_LDBRef m_files;
    PDMc_LDBRef m_attr_values;
    PDMc_LDBRef m_unset_attr_defs;
    PDMc_LDBRef m_dependencies;
    bool m_is_repository_ref = false;
    PDMc_LDBRef m_creating_frame;
    PDMc_LDBRef m_lil;
    PDMc_LDBRef m_generic_wsgir;
    PDMc_LDBRef m_instance_wsgirs;
    PDMc_LDBRef m_instances_creating_frame;
    uint32_t m_creation_stamp = 0;
    uint32_t m_modification_stamp = 0;
    bool m_hold_from_submission = false;
    bool m_marked_for_checkin = false;
    int32_t m_ws_status = 0;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
