// The stored records of every class, as they lie in a file: the class code, the class version,
// the record's size, and each member's offset, size, name and type code. Written down from the
// file format, not taken from the code, so that the layout can be checked against it.
#pragma once

#include <cstdint>
#include <vector>

struct RecordMember {
    uint32_t offset;
    uint32_t size;
    const char* name;
    uint16_t type;
};

struct RecordForm {
    const char* className;
    uint8_t code;
    uint8_t classVersion;
    uint32_t size;
    std::vector<RecordMember> members;
};

// Files of the current version, 514, in the order the classes are defined.
inline const std::vector<RecordForm>& CurrentRecords() {
    static const std::vector<RecordForm> records = {
        {"PDMc_LDBArray", 65, 1, 10, {
            {2, 8, "m_rep", 32},
        }},
        {"PDMc_LDBMap", 66, 1, 10, {
            {2, 8, "m_rep", 33},
        }},
        {"PDMc_LDBRoot", 64, 2, 22, {
            {2, 4, "m_workspaces", 848},
            {6, 4, "m_pi_type_defs", 857},
            {10, 4, "m_attr_defs", 862},
            {14, 4, "m_dep_defs", 852},
            {18, 4, "m_attrs", 865},
        }},
        {"PDMc_WS", 80, 2, 52, {
            {2, 4, "m_name", 16},
            {6, 4, "m_description", 16},
            {10, 4, "m_os_dir_path", 16},
            {14, 4, "m_creation_stamp", 17},
            {18, 4, "m_modification_stamp", 17},
            {22, 4, "m_undo_stack", 602},
            {26, 4, "m_luf", 346},
            {30, 4, "m_current_state_number", 3},
            {34, 4, "m_file_ver_counter", 3},
            {38, 4, "m_mod_count_generator", 3},
            {42, 1, "m_auto_set_is_modified", 19},
            {43, 1, "m_is_ws_under_integration", 19},
            {44, 4, "m_attrs", 865},
            {48, 4, "m_user_data_id", 3},
        }},
        {"PDMc_WSPI", 81, 2, 18, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_shortcut_current_piv", 338},
            {10, 4, "m_lpi", 344},
            {14, 4, "m_attrs", 865},
        }},
        {"PDMc_WSPIV", 82, 2, 124, {
            {2, 4, "m_workspace", 336},
            {6, 4, "m_description", 16},
            {10, 4, "m_lpi", 344},
            {14, 4, "m_source_rpiv_id", 7},
            {18, 4, "m_source_branch_name", 16},
            {22, 4, "m_target_branch_name", 16},
            {26, 4, "m_source_revision", 16},
            {30, 4, "m_target_revision", 16},
            {34, 4, "m_source_version", 3},
            {38, 4, "m_source_release_level", 16},
            {42, 4, "m_target_release_level", 16},
            {46, 4, "m_source_folder_path", 16},
            {50, 4, "m_target_folder_path", 16},
            {54, 1, "m_is_instance", 19},
            {55, 1, "m_has_instances", 19},
            {56, 1, "m_is_modified", 19},
            {57, 4, "m_mod_count", 3},
            {61, 4, "m_local_mod_intent", 3},
            {65, 4, "m_files", 607},
            {69, 4, "m_attr_values", 861},
            {73, 4, "m_unset_attr_defs", 606},
            {77, 4, "m_dependencies", 595},
            {81, 1, "m_is_repository_ref", 19},
            {82, 4, "m_creating_frame", 346},
            {86, 4, "m_lil", 342},
            {90, 4, "m_generic_wsgir", 341},
            {94, 4, "m_instance_wsgirs", 597},
            {98, 4, "m_instances_creating_frame", 346},
            {102, 4, "m_creation_stamp", 17},
            {106, 4, "m_modification_stamp", 17},
            {110, 1, "m_hold_from_submission", 19},
            {111, 1, "m_marked_for_checkin", 19},
            {112, 4, "m_ws_status", 3},
            {116, 4, "m_attrs", 865},
            {120, 4, "m_user_data_id", 3},
        }},
        {"PDMc_WSD", 83, 2, 26, {
            {2, 4, "m_parent_piv", 338},
            {6, 4, "m_child_pi", 344},
            {10, 4, "m_definition", 340},
            {14, 4, "m_attr_values", 861},
            {18, 4, "m_as_stored_child_name", 16},
            {22, 4, "m_attrs", 865},
        }},
        {"PDMc_WSDD", 84, 1, 10, {
            {2, 4, "m_class", 16},
            {6, 4, "m_type", 3},
        }},
        {"PDMc_WSGIR", 85, 2, 26, {
            {2, 4, "m_generic_pivid", 7},
            {6, 4, "m_generic_wspi", 337},
            {10, 4, "m_instance_pivid", 7},
            {14, 4, "m_instance_wspi", 337},
            {18, 4, "m_as_stored_instance_name", 16},
            {22, 4, "m_attrs", 865},
        }},
        {"PDMc_LIL", 86, 2, 18, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_lufli", 348},
            {10, 4, "m_shortcut_current_lilv", 343},
            {14, 4, "m_attrs", 865},
        }},
        {"PDMc_LILV", 87, 2, 55, {
            {2, 4, "m_lil", 342},
            {6, 4, "m_source_lovid", 7},
            {10, 4, "m_source_version", 7},
            {14, 4, "m_source_folder_path", 16},
            {18, 4, "m_target_folder_path", 16},
            {22, 8, "m_orig_members", 34},
            {30, 8, "m_removed_members", 34},
            {38, 4, "m_wspis", 593},
            {42, 1, "m_is_modified", 19},
            {43, 4, "m_files", 607},
            {47, 4, "m_creating_frame", 346},
            {51, 4, "m_attrs", 865},
        }},
        {"PDMc_LPI", 88, 1, 6, {
            {2, 4, "m_lufi", 347},
        }},
        {"PDMc_LPITD", 89, 1, 22, {
            {2, 4, "m_name", 16},
            {6, 4, "m_desc", 16},
            {10, 4, "m_editor", 16},
            {14, 4, "m_viewer", 16},
            {18, 4, "m_discriminator", 16},
        }},
        {"PDMc_LUF", 90, 2, 26, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_lufi_items", 859},
            {10, 4, "m_lufli_items", 860},
            {14, 4, "m_description", 16},
            {18, 4, "m_attrs", 865},
            {22, 4, "m_user_data_id", 3},
        }},
        {"PDMc_LUFI", 91, 1, 30, {
            {2, 4, "m_creating_frame", 346},
            {6, 4, "m_pi_name", 16},
            {10, 4, "m_pitypedef", 345},
            {14, 4, "m_piid", 7},
            {18, 4, "m_lpi", 344},
            {22, 4, "m_wspi", 337},
            {26, 4, "m_current_piv", 338},
        }},
        {"PDMc_LUFLI", 92, 1, 22, {
            {2, 4, "m_creating_frame", 346},
            {6, 4, "m_lo_name", 16},
            {10, 4, "m_loid", 7},
            {14, 4, "m_lil", 342},
            {18, 4, "m_current_lilv", 343},
        }},
        {"PDMc_LAV", 93, 1, 19, {
            {2, 4, "m_attrdef", 350},
            {6, 9, "m_value", 18},
            {15, 4, "m_bitmask", 7},
        }},
        {"PDMc_LAD", 94, 1, 6, {
            {2, 4, "m_name", 16},
        }},
        {"PDMc_LF", 95, 2, 27, {
            {2, 4, "m_file_name", 16},
            {6, 4, "m_local_path", 16},
            {10, 4, "m_host_name", 16},
            {14, 4, "m_file_version", 3},
            {18, 4, "m_rep_obj_id", 7},
            {22, 1, "m_is_modified", 19},
            {23, 4, "m_modification_stamp", 17},
        }},
        {"PDMc_LAAV", 97, 1, 11, {
            {2, 9, "m_value", 18},
        }},
        {"PDMc_LDBAppObj", 96, 1, 10, {
            {2, 4, "m_type", 16},
            {6, 4, "m_attrs", 865},
        }},
    };
    return records;
}

// Files of version 257: a boolean takes four bytes there, and a list member only its address.
inline const std::vector<RecordForm>& Version257Records() {
    static const std::vector<RecordForm> records = {
        {"PDMc_LDBRoot", 64, 1, 18, {
            {2, 4, "m_workspaces", 848},
            {6, 4, "m_pi_type_defs", 857},
            {10, 4, "m_attr_defs", 862},
            {14, 4, "m_dep_defs", 852},
        }},
        {"PDMc_WS", 80, 1, 50, {
            {2, 4, "m_name", 16},
            {6, 4, "m_description", 16},
            {10, 4, "m_os_dir_path", 16},
            {14, 4, "m_creation_stamp", 17},
            {18, 4, "m_modification_stamp", 17},
            {22, 4, "m_undo_stack", 602},
            {26, 4, "m_luf", 346},
            {30, 4, "m_current_state_number", 3},
            {34, 4, "m_file_ver_counter", 3},
            {38, 4, "m_mod_count_generator", 3},
            {42, 4, "m_user_data_id", 3},
            {46, 4, "m_auto_set_is_modified", 19},
        }},
        {"PDMc_WSPI", 81, 1, 14, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_shortcut_current_piv", 338},
            {10, 4, "m_lpi", 344},
        }},
        {"PDMc_WSPIV", 82, 1, 126, {
            {2, 4, "m_workspace", 336},
            {6, 4, "m_description", 16},
            {10, 4, "m_lpi", 344},
            {14, 4, "m_source_rpiv_id", 7},
            {18, 4, "m_source_branch_name", 16},
            {22, 4, "m_target_branch_name", 16},
            {26, 4, "m_source_revision", 16},
            {30, 4, "m_target_revision", 16},
            {34, 4, "m_source_version", 3},
            {38, 4, "m_source_release_level", 16},
            {42, 4, "m_target_release_level", 16},
            {46, 4, "m_source_folder_path", 16},
            {50, 4, "m_target_folder_path", 16},
            {54, 4, "m_is_instance", 19},
            {58, 4, "m_has_instances", 19},
            {62, 4, "m_is_modified", 19},
            {66, 4, "m_mod_count", 3},
            {70, 4, "m_local_mod_intent", 3},
            {74, 4, "m_files", 607},
            {78, 4, "m_attr_values", 861},
            {82, 4, "m_unset_attr_defs", 606},
            {86, 4, "m_dependencies", 595},
            {90, 4, "m_is_repository_ref", 19},
            {94, 4, "m_creating_frame", 346},
            {98, 4, "m_user_data_id", 3},
            {102, 4, "m_lil", 342},
            {106, 4, "m_generic_wsgir", 341},
            {110, 4, "m_instance_wsgirs", 597},
            {114, 4, "m_instances_creating_frame", 346},
            {118, 4, "m_creation_stamp", 17},
            {122, 4, "m_modification_stamp", 17},
        }},
        {"PDMc_WSD", 83, 1, 22, {
            {2, 4, "m_parent_piv", 338},
            {6, 4, "m_child_pi", 344},
            {10, 4, "m_definition", 340},
            {14, 4, "m_attr_values", 861},
            {18, 4, "m_as_stored_child_name", 16},
        }},
        {"PDMc_WSGIR", 85, 1, 22, {
            {2, 4, "m_generic_pivid", 7},
            {6, 4, "m_generic_wspi", 337},
            {10, 4, "m_instance_pivid", 7},
            {14, 4, "m_instance_wspi", 337},
            {18, 4, "m_as_stored_instance_name", 16},
        }},
        {"PDMc_LIL", 86, 1, 14, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_lufli", 348},
            {10, 4, "m_shortcut_current_lilv", 343},
        }},
        {"PDMc_LILV", 87, 1, 46, {
            {2, 4, "m_lil", 342},
            {6, 4, "m_source_lovid", 7},
            {10, 4, "m_source_version", 7},
            {14, 4, "m_source_folder_path", 16},
            {18, 4, "m_target_folder_path", 16},
            {22, 4, "m_orig_members", 34},
            {26, 4, "m_removed_members", 34},
            {30, 4, "m_wspis", 593},
            {34, 4, "m_is_modified", 19},
            {38, 4, "m_files", 607},
            {42, 4, "m_creating_frame", 346},
        }},
        {"PDMc_LUF", 90, 1, 18, {
            {2, 4, "m_ws", 336},
            {6, 4, "m_lufi_items", 859},
            {10, 4, "m_lufli_items", 860},
            {14, 4, "m_user_data_id", 3},
        }},
        {"PDMc_LF", 95, 1, 26, {
            {2, 4, "m_file_name", 16},
            {6, 4, "m_local_path", 16},
            {10, 4, "m_host_name", 16},
            {14, 4, "m_file_version", 3},
            {18, 4, "m_rep_obj_id", 7},
            {22, 4, "m_is_modified", 19},
        }},
    };
    return records;
}
