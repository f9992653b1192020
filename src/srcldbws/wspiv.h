// PDMc_WSPIV: the data of an item in one or more frames: its source and target coordinates,
// its files, attributes, dependencies and library relations.
//
// A version is writable only while it is its item's current version and was made in the
// current frame. Every write therefore starts with ForModification, which hands back the
// version to write: this one, or a copy made for the current frame that replaces it as the
// item's current version, while this one stays as it is for the frames that hold it. A writer
// goes on with what it was given, and stops when it was given null (the failure is on the
// error stack). The marks (hold, check-in mark, status, user data id) are the exception: they
// are written in place, on any version, and no undo takes them back.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LAD;
class PDMc_LAV;
class PDMc_LDBArray;
class PDMc_LDBMap;
class PDMc_LDBValue;
class PDMc_LF;
class PDMc_LIL;
class PDMc_LPI;
class PDMc_LPITD;
class PDMc_LUF;
class PDMc_WS;
class PDMc_WSD;
class PDMc_WSDD;
class PDMc_WSGIR;
class PDMc_WSPI;
class nyxCollection;

class PDMc_WSPIV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSPIV;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSPIV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSPIV(LDBObjectOwner* owner);

    // A new version of the identity with the four target texts and the instance flags. Its
    // file array takes the PDMc_LF pointers of `files` (null for none). It counts as modified
    // from the start, with a new modification count of the workspace. Null after a failure.
    static PDMc_WSPIV* Create(PDMc_WS* workspace, PDMc_LPI* lpi, const char* targetBranch,
                              const char* targetRevision, const char* targetReleaseLevel,
                              const char* targetFolder, bool isInstance, bool hasInstances,
                              nyxCollection* files);
    // A copy made in `frame`: its own arrays and maps over the same files and values, twins
    // of the dependencies, no application attributes. Null after a failure.
    PDMc_WSPIV* CloneForFrame(PDMc_LUF* frame);
    // The version to write; null after a failure, also when this one may not be written.
    PDMc_WSPIV* ForModification();
    int32_t SetCreatingFrame(PDMc_LUF* frame);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    PDMc_WS* GetWS();
    PDMc_LPI* GetLPI();
    PDMc_LUF* GetCreatingFrame();
    // The live item of the identity in the current state, also for a version of an older one.
    PDMc_WSPI* GetWSPI();
    // Name and type as of the current state, through the identity.
    const nyxString& GetName();
    PDMc_LPITD* GetTypeDef();
    PDMc_LIL* GetLIL();
    // In place, on this very version: see PDMc_WSPI::SetLIL.
    void SetLIL(PDMc_LIL* library);

    const nyxString& GetDescription() const { return m_description; }
    const nyxString& GetSourceBranchName() const { return m_source_branch_name; }
    const nyxString& GetSourceRevision() const { return m_source_revision; }
    const nyxString& GetSourceReleaseLevel() const { return m_source_release_level; }
    const nyxString& GetSourceFolder() const { return m_source_folder_path; }
    const nyxString& GetTargetBranchName() const { return m_target_branch_name; }
    const nyxString& GetTargetRevision() const { return m_target_revision; }
    const nyxString& GetTargetReleaseLevel() const { return m_target_release_level; }
    const nyxString& GetTargetFolder() const { return m_target_folder_path; }
    uint32_t GetSourcePIVID() const { return m_source_rpiv_id; }
    int32_t GetSourceVersion() const { return m_source_version; }
    int32_t GetModCount() const { return m_mod_count; }
    bool IsModified() const { return m_is_modified != 0; }
    // The flag bits behind IsModified: bit 0 for a write of the data, kDependenciesModified.
    uint8_t GetModifiedState() const { return m_is_modified; }
    bool IsInstance() const { return m_is_instance; }
    bool HasInstances() const { return m_has_instances; }
    bool IsLibraryMember() const { return m_is_instance || m_has_instances; }
    uint32_t GetCreationStamp() const { return m_creation_stamp; }
    uint32_t GetModificationStamp() const { return m_modification_stamp; }
    bool IsHoldFromSubmission() const { return m_hold_from_submission; }
    bool IsMarkedForCheckIn() const { return m_marked_for_checkin; }
    int32_t GetWorkspaceStatus() const { return m_ws_status; }
    int32_t GetUserDataId() const { return m_user_data_id; }

    // Raises the modified state with a new count of the workspace. Only the workspace calls
    // it (NoteVersionModified), which skips it while automatic raising is off.
    void SetIsModified();

    // The writes of the item's data: each goes through ForModification and gives 0, or the
    // code of the failure.
    int32_t SetDescription(const char* text);
    int32_t SetTargetBranchName(const char* text);
    int32_t SetTargetRevision(const char* text);
    int32_t SetTargetReleaseLevel(const char* text);
    int32_t SetTargetFolder(const char* text);

    // The marks, written in place on this very version.
    void SetHoldFromSubmission(bool hold);
    // Refused silently while the version is held.
    void SetMarkedForCheckIn(bool marked);
    void SetWorkspaceStatus(int32_t status);
    void SetUserDataId(int32_t id);

    // Files. The array keeps positions: an entry may be null, and position 0 is the one the
    // exports use.
    PDMc_LDBArray* GetFiles();
    bool HasFiles() const { return !m_files.IsNull(); }
    PDMc_LF* FirstFile();
    int32_t GetPathForReading(PDMc_LF* file, nyxString& out);
    // A new local file to write in place of `file`, in the writable version; `out` gets its
    // path. The old file's deletion is queued unless a repository or an earlier state has it.
    int32_t GetPathForWriting(PDMc_LF* file, nyxString& out);
    // A new local file of the name at the position; null after a failure (407 for a taken
    // position).
    PDMc_LF* AddFile(const char* name, uint32_t position);
    int32_t DeleteFile(PDMc_LF* file);
    // Queues the deletion of the version's local files that no earlier state holds.
    int32_t DeleteOwnFiles();

    // Attributes by definition. A set value replaces the entry of its name; an unset one goes
    // from the map and its definition joins the unset list once.
    int32_t SetDBAttribute(PDMc_LAD* definition, bool flag, const PDMc_LDBValue& value);
    int32_t SetAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value);
    int32_t UnsetAttribute(PDMc_LAD* definition);
    // Null when the version has no value of that name (or, with an error, can't be read).
    PDMc_LAV* GetAttribute(PDMc_LAD* definition);
    // Clears `out`, then adds each PDMc_LAV of the version. 0, or the code of a failure.
    int32_t GetAttributeNames(nyxCollection& out);
    // The definitions unset in this version, in order; null if there were none.
    PDMc_LDBArray* GetUnsetAttrDefs();

    // Bit 1 of the modified state: the dependency list was changed. It is raised even while
    // the workspace's automatic raising is off.
    static constexpr uint8_t kDependenciesModified = 2;

    // A new dependency at the end of the writable version's list; each call adds one, also
    // for a child and definition the list has already. Null after a failure.
    PDMc_WSD* AddDependency(PDMc_LPI* child, PDMc_WSDD* definition);
    // Takes the dependency out of the writable version's list, then lets the workspace clean
    // up the child's identity, whose result is the result. A dependency this version doesn't
    // list (one taken before a copy, say) is an internal error.
    int32_t DeleteDependency(PDMc_WSD* dependency);
    // The same, but the child's identity stays in the frame, used or not.
    int32_t DeleteDependencyKeepLPI(PDMc_WSD* dependency);
    // The twin of one of this version's dependencies in the writable version; null with no
    // error when this version doesn't list it, null with an error when it may not be written.
    PDMc_WSD* DependencyForModification(PDMc_WSD* dependency);
    // Clears `out`, then adds every dependency of this version on the identity, in order.
    // 0, or the code of a failure.
    int32_t GetDependenciesToChild(PDMc_LPI* lpi, nyxCollection& out);
    // Clears `out`, then adds every dependency whose stored child name is exactly `name`.
    int32_t GetDependenciesToStoredName(const char* name, nyxCollection& out);
    // The dependencies, null if the version has no array.
    PDMc_LDBArray* GetDependencies();

    // Relations between generic and instance items. The list of a generic's relations is
    // shared by the versions copied from one another and has a copy on first write of its own:
    // m_instances_creating_frame names the frame that may write the list object.

    // Appends the relation to the list of the writable version, which becomes a generic, and
    // makes the relation's instance item an instance of it. 0, or the code of a failure.
    int32_t AddInstanceWSGIR(PDMc_WSGIR* relation);
    // The list of the writable version that the current frame may write; null after a failure.
    PDMc_LDBArray* InstanceWSGIRsForModification();
    // A copy of the relation takes its place in the writable list and as its instance's
    // relation; the copy, or null after a failure (an internal error when this version doesn't
    // list the relation, and then nothing changed).
    PDMc_WSGIR* InstanceWSGIRModified(PDMc_WSGIR* relation);
    // Takes the relation out of the writable list; the last one ends the generic role, and the
    // instance item stops being an instance. 0, or the code of a failure.
    int32_t DeleteInstanceWSGIR(PDMc_WSGIR* relation);
    // The writable version's relation to its generic; null ends the instance role.
    int32_t SetGenericWSGIR(PDMc_WSGIR* relation);
    // The relation to the generic; 2601 and null for a version that isn't an instance.
    PDMc_WSGIR* GetGeneric();
    // The item at the top of the chain of generics, by the current version of each item; 2600
    // and null for a version outside any library, null with no error for a broken chain.
    PDMc_WSPI* GetTopGeneric();
    // Clears `out`, then adds this version's relations to its instances, in order.
    int32_t GetGIRs(nyxCollection& out);
    // Clears `out`, then adds the relations of every generation, level by level: the direct
    // ones first. 2602 for a version without instances.
    int32_t GetGIRsRecursive(nyxCollection& out);
    // The relations, null if the version has none.
    PDMc_LDBArray* GetInstanceWSGIRs();
    // For an instance that leaves: its generic keeps the relation, with the instance's id and no
    // item. 2601 for a version that isn't an instance.
    int32_t DetachFromGeneric();
    // For a generic that leaves: each instance's relation loses its generic item. The generic's
    // own list stays as it is.
    int32_t DetachInstances();
    // In place, on this very version: the library lets go of the item in both roles at once.
    void ClearLibraryRoles();

private:
    friend struct LDBSchema;

    // A copy of every stored member but m_attrs, the containers shared until CloneForFrame
    // gives the copy its own.
    PDMc_WSPIV(const PDMc_WSPIV& other);
    // The writable version's attribute map gets the value under the definition's name.
    int32_t SetAttrValue(const char* name, PDMc_LAV* value);
    // Stores a text into the writable version.
    int32_t SetText(nyxString PDMc_WSPIV::*member, const char* text);
    // Queues the deletion of a local file that no earlier state of the item holds.
    int32_t QueueDeleteUnlessHeld(PDMc_LF* file);
    // The index of the file in m_files; false if it isn't there.
    bool PositionOf(PDMc_LF* file, uint32_t& position);
    // The index of the dependency in m_dependencies; false if it isn't there.
    bool DependencyIndex(PDMc_WSD* dependency, uint32_t& index);
    // The common steps of both deletions; `child` gets the removed dependency's identity.
    int32_t RemoveDependency(PDMc_WSD* dependency, const char* operation, PDMc_LPI*& child);

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
    uint8_t m_is_instance = 0;
    uint8_t m_has_instances = 0;
    uint8_t m_is_modified = 0;  // flag bits; any of them set reads as modified
    int32_t m_mod_count = 0;
    int32_t m_local_mod_intent = 0;
    PDMc_LDBRef m_files;
    PDMc_LDBRef m_attr_values;
    PDMc_LDBRef m_unset_attr_defs;
    PDMc_LDBRef m_dependencies;
    uint8_t m_is_repository_ref = 0;
    PDMc_LDBRef m_creating_frame;
    PDMc_LDBRef m_lil;
    PDMc_LDBRef m_generic_wsgir;
    PDMc_LDBRef m_instance_wsgirs;
    PDMc_LDBRef m_instances_creating_frame;
    uint32_t m_creation_stamp = 0;
    uint32_t m_modification_stamp = 0;
    uint8_t m_hold_from_submission = 0;
    uint8_t m_marked_for_checkin = 0;
    int32_t m_ws_status = 0;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
