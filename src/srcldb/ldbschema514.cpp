// The current schema, store version 514. The order of the classes is the order of definition;
// the order of the members is the order of the fields in a record.
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

#define CLASS(C) LDB_SCHEMA_CLASS(b, C)
#define MEMBER(C, member, type) LDB_SCHEMA_MEMBER(b, C, member, type)

namespace {
constexpr uint16_t kString = LDB_MEMBER_STRING;
constexpr uint16_t kDateTime = LDB_MEMBER_DATETIME;
constexpr uint16_t kInt32 = LDB_MEMBER_INT32;
constexpr uint16_t kUInt32 = LDB_MEMBER_UINT32;
constexpr uint16_t kBoolean = LDB_MEMBER_BOOLEAN;
constexpr uint16_t kAttrs = LDBMapOf(LDB_TYPE_LAAV);
}  // namespace

int32_t LDBSchema::DefineCurrent(LDBStorageLayout& layout) {
    LDBSchemaBuilder b(layout, LDB_LAYOUT_VERSION_CURRENT);

    CLASS(PDMc_LDBArray);
    MEMBER(PDMc_LDBArray, m_rep, LDB_MEMBER_REF_ARRAY);

    CLASS(PDMc_LDBMap);
    MEMBER(PDMc_LDBMap, m_rep, LDB_MEMBER_REF_MAP);

    CLASS(PDMc_LDBRoot);
    MEMBER(PDMc_LDBRoot, m_workspaces, LDBMapOf(LDB_TYPE_WS));
    MEMBER(PDMc_LDBRoot, m_pi_type_defs, LDBMapOf(LDB_TYPE_LPITD));
    MEMBER(PDMc_LDBRoot, m_attr_defs, LDBMapOf(LDB_TYPE_LAD));
    MEMBER(PDMc_LDBRoot, m_dep_defs, LDBMapOf(LDB_TYPE_WSDD));
    MEMBER(PDMc_LDBRoot, m_attrs, kAttrs);

    CLASS(PDMc_WS);
    MEMBER(PDMc_WS, m_name, kString);
    MEMBER(PDMc_WS, m_description, kString);
    MEMBER(PDMc_WS, m_os_dir_path, kString);
    MEMBER(PDMc_WS, m_creation_stamp, kDateTime);
    MEMBER(PDMc_WS, m_modification_stamp, kDateTime);
    MEMBER(PDMc_WS, m_undo_stack, LDBArrayOf(LDB_TYPE_LUF));
    MEMBER(PDMc_WS, m_luf, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_WS, m_current_state_number, kInt32);
    MEMBER(PDMc_WS, m_file_ver_counter, kInt32);
    MEMBER(PDMc_WS, m_mod_count_generator, kInt32);
    MEMBER(PDMc_WS, m_auto_set_is_modified, kBoolean);
    MEMBER(PDMc_WS, m_is_ws_under_integration, kBoolean);
    MEMBER(PDMc_WS, m_attrs, kAttrs);
    MEMBER(PDMc_WS, m_user_data_id, kInt32);

    CLASS(PDMc_WSPI);
    MEMBER(PDMc_WSPI, m_ws, LDBRefTo(LDB_TYPE_WS));
    MEMBER(PDMc_WSPI, m_shortcut_current_piv, LDBRefTo(LDB_TYPE_WSPIV));
    MEMBER(PDMc_WSPI, m_lpi, LDBRefTo(LDB_TYPE_LPI));
    MEMBER(PDMc_WSPI, m_attrs, kAttrs);

    CLASS(PDMc_WSPIV);
    MEMBER(PDMc_WSPIV, m_workspace, LDBRefTo(LDB_TYPE_WS));
    MEMBER(PDMc_WSPIV, m_description, kString);
    MEMBER(PDMc_WSPIV, m_lpi, LDBRefTo(LDB_TYPE_LPI));
    MEMBER(PDMc_WSPIV, m_source_rpiv_id, kUInt32);
    MEMBER(PDMc_WSPIV, m_source_branch_name, kString);
    MEMBER(PDMc_WSPIV, m_target_branch_name, kString);
    MEMBER(PDMc_WSPIV, m_source_revision, kString);
    MEMBER(PDMc_WSPIV, m_target_revision, kString);
    MEMBER(PDMc_WSPIV, m_source_version, kInt32);
    MEMBER(PDMc_WSPIV, m_source_release_level, kString);
    MEMBER(PDMc_WSPIV, m_target_release_level, kString);
    MEMBER(PDMc_WSPIV, m_source_folder_path, kString);
    MEMBER(PDMc_WSPIV, m_target_folder_path, kString);
    MEMBER(PDMc_WSPIV, m_is_instance, kBoolean);
    MEMBER(PDMc_WSPIV, m_has_instances, kBoolean);
    MEMBER(PDMc_WSPIV, m_is_modified, kBoolean);
    MEMBER(PDMc_WSPIV, m_mod_count, kInt32);
    MEMBER(PDMc_WSPIV, m_local_mod_intent, kInt32);
    MEMBER(PDMc_WSPIV, m_files, LDBArrayOf(LDB_TYPE_LF));
    MEMBER(PDMc_WSPIV, m_attr_values, LDBMapOf(LDB_TYPE_LAV));
    MEMBER(PDMc_WSPIV, m_unset_attr_defs, LDBArrayOf(LDB_TYPE_LAD));
    MEMBER(PDMc_WSPIV, m_dependencies, LDBArrayOf(LDB_TYPE_WSD));
    MEMBER(PDMc_WSPIV, m_is_repository_ref, kBoolean);
    MEMBER(PDMc_WSPIV, m_creating_frame, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_WSPIV, m_lil, LDBRefTo(LDB_TYPE_LIL));
    MEMBER(PDMc_WSPIV, m_generic_wsgir, LDBRefTo(LDB_TYPE_WSGIR));
    MEMBER(PDMc_WSPIV, m_instance_wsgirs, LDBArrayOf(LDB_TYPE_WSGIR));
    MEMBER(PDMc_WSPIV, m_instances_creating_frame, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_WSPIV, m_creation_stamp, kDateTime);
    MEMBER(PDMc_WSPIV, m_modification_stamp, kDateTime);
    MEMBER(PDMc_WSPIV, m_hold_from_submission, kBoolean);
    MEMBER(PDMc_WSPIV, m_marked_for_checkin, kBoolean);
    MEMBER(PDMc_WSPIV, m_ws_status, kInt32);
    MEMBER(PDMc_WSPIV, m_attrs, kAttrs);
    MEMBER(PDMc_WSPIV, m_user_data_id, kInt32);

    CLASS(PDMc_WSD);
    MEMBER(PDMc_WSD, m_parent_piv, LDBRefTo(LDB_TYPE_WSPIV));
    MEMBER(PDMc_WSD, m_child_pi, LDBRefTo(LDB_TYPE_LPI));
    MEMBER(PDMc_WSD, m_definition, LDBRefTo(LDB_TYPE_WSDD));
    MEMBER(PDMc_WSD, m_attr_values, LDBMapOf(LDB_TYPE_LAV));
    MEMBER(PDMc_WSD, m_as_stored_child_name, kString);
    MEMBER(PDMc_WSD, m_attrs, kAttrs);

    CLASS(PDMc_WSDD);
    MEMBER(PDMc_WSDD, m_class, kString);
    MEMBER(PDMc_WSDD, m_type, kInt32);

    CLASS(PDMc_WSGIR);
    MEMBER(PDMc_WSGIR, m_generic_pivid, kUInt32);
    MEMBER(PDMc_WSGIR, m_generic_wspi, LDBRefTo(LDB_TYPE_WSPI));
    MEMBER(PDMc_WSGIR, m_instance_pivid, kUInt32);
    MEMBER(PDMc_WSGIR, m_instance_wspi, LDBRefTo(LDB_TYPE_WSPI));
    MEMBER(PDMc_WSGIR, m_as_stored_instance_name, kString);
    MEMBER(PDMc_WSGIR, m_attrs, kAttrs);

    CLASS(PDMc_LIL);
    MEMBER(PDMc_LIL, m_ws, LDBRefTo(LDB_TYPE_WS));
    MEMBER(PDMc_LIL, m_lufli, LDBRefTo(LDB_TYPE_LUFLI));
    MEMBER(PDMc_LIL, m_shortcut_current_lilv, LDBRefTo(LDB_TYPE_LILV));
    MEMBER(PDMc_LIL, m_attrs, kAttrs);

    CLASS(PDMc_LILV);
    MEMBER(PDMc_LILV, m_lil, LDBRefTo(LDB_TYPE_LIL));
    MEMBER(PDMc_LILV, m_source_lovid, kUInt32);
    MEMBER(PDMc_LILV, m_source_version, kUInt32);
    MEMBER(PDMc_LILV, m_source_folder_path, kString);
    MEMBER(PDMc_LILV, m_target_folder_path, kString);
    MEMBER(PDMc_LILV, m_orig_members, LDB_MEMBER_ID_ARRAY);
    MEMBER(PDMc_LILV, m_removed_members, LDB_MEMBER_ID_ARRAY);
    MEMBER(PDMc_LILV, m_wspis, LDBArrayOf(LDB_TYPE_WSPI));
    MEMBER(PDMc_LILV, m_is_modified, kBoolean);
    MEMBER(PDMc_LILV, m_files, LDBArrayOf(LDB_TYPE_LF));
    MEMBER(PDMc_LILV, m_creating_frame, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_LILV, m_attrs, kAttrs);

    CLASS(PDMc_LPI);
    MEMBER(PDMc_LPI, m_lufi, LDBRefTo(LDB_TYPE_LUFI));

    CLASS(PDMc_LPITD);
    MEMBER(PDMc_LPITD, m_name, kString);
    MEMBER(PDMc_LPITD, m_desc, kString);
    MEMBER(PDMc_LPITD, m_editor, kString);
    MEMBER(PDMc_LPITD, m_viewer, kString);
    MEMBER(PDMc_LPITD, m_discriminator, kString);

    CLASS(PDMc_LUF);
    MEMBER(PDMc_LUF, m_ws, LDBRefTo(LDB_TYPE_WS));
    MEMBER(PDMc_LUF, m_lufi_items, LDBMapOf(LDB_TYPE_LUFI));
    MEMBER(PDMc_LUF, m_lufli_items, LDBMapOf(LDB_TYPE_LUFLI));
    MEMBER(PDMc_LUF, m_description, kString);
    MEMBER(PDMc_LUF, m_attrs, kAttrs);
    MEMBER(PDMc_LUF, m_user_data_id, kInt32);

    CLASS(PDMc_LUFI);
    MEMBER(PDMc_LUFI, m_creating_frame, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_LUFI, m_pi_name, kString);
    MEMBER(PDMc_LUFI, m_pitypedef, LDBRefTo(LDB_TYPE_LPITD));
    MEMBER(PDMc_LUFI, m_piid, kUInt32);
    MEMBER(PDMc_LUFI, m_lpi, LDBRefTo(LDB_TYPE_LPI));
    MEMBER(PDMc_LUFI, m_wspi, LDBRefTo(LDB_TYPE_WSPI));
    MEMBER(PDMc_LUFI, m_current_piv, LDBRefTo(LDB_TYPE_WSPIV));

    CLASS(PDMc_LUFLI);
    MEMBER(PDMc_LUFLI, m_creating_frame, LDBRefTo(LDB_TYPE_LUF));
    MEMBER(PDMc_LUFLI, m_lo_name, kString);
    MEMBER(PDMc_LUFLI, m_loid, kUInt32);
    MEMBER(PDMc_LUFLI, m_lil, LDBRefTo(LDB_TYPE_LIL));
    MEMBER(PDMc_LUFLI, m_current_lilv, LDBRefTo(LDB_TYPE_LILV));

    CLASS(PDMc_LAV);
    MEMBER(PDMc_LAV, m_attrdef, LDBRefTo(LDB_TYPE_LAD));
    MEMBER(PDMc_LAV, m_value, LDB_MEMBER_VALUE);
    MEMBER(PDMc_LAV, m_bitmask, kUInt32);

    CLASS(PDMc_LAD);
    MEMBER(PDMc_LAD, m_name, kString);

    CLASS(PDMc_LF);
    MEMBER(PDMc_LF, m_file_name, kString);
    MEMBER(PDMc_LF, m_local_path, kString);
    MEMBER(PDMc_LF, m_host_name, kString);
    MEMBER(PDMc_LF, m_file_version, kInt32);
    MEMBER(PDMc_LF, m_rep_obj_id, kUInt32);
    MEMBER(PDMc_LF, m_is_modified, kBoolean);
    MEMBER(PDMc_LF, m_modification_stamp, kDateTime);

    CLASS(PDMc_LAAV);
    MEMBER(PDMc_LAAV, m_value, LDB_MEMBER_VALUE);

    CLASS(PDMc_LDBAppObj);
    MEMBER(PDMc_LDBAppObj, m_type, kString);
    MEMBER(PDMc_LDBAppObj, m_attrs, kAttrs);

    return b.Result();
}

int32_t LDBDefineSchema(LDBStorageLayout& layout) {
    int32_t rc = LDBSchema::DefineCurrent(layout);
    if (rc == 0) rc = LDBSchema::Define257(layout);
    return rc;
}
