// PDMc_LILV: the data of a library in one or more frames: its folders, files, member items and
// the repository ids of its original and removed members.
//
// Like an item's version, a library version may be written only while it is its library's
// current version and was made in the current frame. Every writer starts with ForModification,
// which gives the version to write (this one, or a copy for the current frame that replaces it),
// goes on with that, and stops with the stack's code when it gives null. Each version has its own
// file and member arrays; the files themselves are shared between versions.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbreps.h"

class PDMc_LDBArray;
class PDMc_LF;
class PDMc_LIL;
class PDMc_LUF;
class PDMc_WS;
class PDMc_WSPI;
class nyxCollection;

class PDMc_LILV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LILV;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LILV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LILV(LDBObjectOwner* owner);

    // The first version of a library: the files of `files` (PDMc_LF pointers, null for none),
    // the target folder, modified from the start, no members yet. Null after a failure.
    static PDMc_LILV* Create(PDMc_WS* workspace, PDMc_LIL* library, nyxCollection* files,
                             const char* targetFolder);
    // A copy made in `frame`, with arrays of its own over the same files and members. Null
    // after a failure.
    PDMc_LILV* CopyForFrame(PDMc_LUF* frame);
    // The version to write; null after a failure, also when this one may not be written.
    PDMc_LILV* ForModification();

    const char* GetClassName() const override;

    PDMc_LIL* GetLIL();
    PDMc_WS* GetWorkspace();
    PDMc_LUF* GetCreatingFrame();
    // The library's name as of the current state; empty if it can't be had.
    const nyxString& GetName();
    uint32_t GetSourceVersion() const { return m_source_version; }
    const nyxString& GetTargetFolder() const { return m_target_folder_path; }
    bool IsModified() const { return m_is_modified != 0; }
    const LDBIdVector& GetOrigMembers() const { return m_orig_members; }
    const LDBIdVector& GetRemovedMembers() const { return m_removed_members; }
    // The member items in the order they joined; null if there are none (or, with an error on
    // the stack, if they can't be had).
    PDMc_LDBArray* GetWSPIs();
    // The local file records by position; null as for the members.
    PDMc_LDBArray* GetFiles();
    bool HasFiles() const { return !m_files.IsNull(); }
    // The file at position 0; null if there is none.
    PDMc_LF* GetCurrentFile();

    void SetCreatingFrame(PDMc_LUF* frame);
    // Only the workspace raises it (NoteLibraryVersionModified), unless told otherwise.
    void SetIsModified(bool modified);
    // The array becomes the member list, and each of its items names the library as its own.
    // The members' versions are written in place, not copied.
    int32_t SetWSPIs(PDMc_LDBArray* members);
    int32_t SetTargetFolder(const char* text);

    int32_t GetPathForRead(PDMc_LF* file, nyxString& out);
    // A new local file to write in place of `file`, in the writable version; `out` gets its
    // path. The old file's deletion is queued unless a repository or an earlier state has it.
    int32_t GetPathForWrite(PDMc_LF* file, nyxString& out);
    // A new local file of the name at the position; null after a failure (an internal error
    // for a taken position).
    PDMc_LF* AddFile(const char* name, uint32_t position);
    int32_t DeleteFile(PDMc_LF* file);

    // Membership. An item with a repository id can't join here: the repository decides its
    // libraries. Leaving keeps the account of the repository members in m_removed_members.
    int32_t AddWSPIToMembers(PDMc_WSPI* item);
    int32_t AddWSPIToMemberWSPIs(PDMc_WSPI* item);
    int32_t DeleteWSPIFromMembers(PDMc_WSPI* item);
    int32_t DeleteWSPIFromMemberWSPIs(PDMc_WSPI* item);

private:
    friend struct LDBSchema;

    // Every stored member but m_attrs; the arrays are shared until CopyForFrame gives the copy
    // its own.
    PDMc_LILV(const PDMc_LILV& other);
    // Queues the deletion of a local file that no earlier state of the library holds.
    int32_t QueueDeleteUnlessHeld(PDMc_LF* file);

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
