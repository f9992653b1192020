// PDMc_WS: a workspace, a named working area with a directory on disk and a history of frames.
//
// What the workspace holds at any moment is what its current frame m_luf says: every lookup and
// listing goes through that frame, so a move to another state changes all their answers at once.
// The states are the frames of m_undo_stack, oldest first; m_current_state_number is the index
// of m_luf there, and the stack is never empty.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LAV;
class PDMc_LDB;
class PDMc_LDBArray;
class PDMc_LIL;
class PDMc_LILV;
class PDMc_LPI;
class PDMc_LPITD;
class PDMc_LUF;
class PDMc_WSPI;
class PDMc_WSPIV;
class nyxCollection;

class PDMc_WS : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WS;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WS();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WS(LDBObjectOwner* owner);

    // A new workspace with its first frame, and its directory made at once through the
    // connection's file queue. A directory that can't be made leaves error 418 on the stack but
    // the workspace is made all the same, for the client to abort. Null after another failure.
    // The connection enters it in the root; see PDMc_LDB::CreateWorkspace.
    static PDMc_WS* Create(PDMc_LDB* connection, const char* name, const char* directory);
    // Queues the removal of the directory with all it holds at commit, takes the workspace out
    // of the root and drops its frames. Runs to its end; the first failure is the result.
    int32_t Delete();

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    PDMc_LDB* GetConnection() const;
    const nyxString& GetName() const { return m_name; }
    const nyxString& GetDescription() const { return m_description; }
    // The directory of the workspace's local files, in the stored form with "|".
    const nyxString& GetOsDirPath() const { return m_os_dir_path; }
    // Where a new local file of the name lies, in the stored form.
    nyxString LocalFilePath(const char* fileName) const {
        nyxString path(m_os_dir_path);
        path.Append("|").Append(fileName);
        return path;
    }
    uint32_t GetCreationStamp() const { return m_creation_stamp; }
    uint32_t GetModificationStamp() const { return m_modification_stamp; }
    int32_t GetUserDataId() const { return m_user_data_id; }
    bool IsUnderIntegration() const { return m_is_ws_under_integration; }
    // The description and the user data id stamp the workspace as modified.
    void SetDescription(const char* text);
    void SetUserDataId(int32_t id);
    void SetUnderIntegration(bool flag);

    // A new item with its identity, frame item and first version in the current frame, with
    // one local file of the name unless it is empty. 1901 for a name that the current frame
    // has, also for an item that is deleted but whose identity is used. Null after a failure.
    PDMc_WSPI* CreateNewPI(const char* name, PDMc_LPITD* typeDef, const char* fileName);
    // A new library with its first version and frame library item in the current frame, the
    // items of `members` (PDMc_WSPI pointers) as its members, and one local file of the name
    // unless it is empty. 1901 for a name that the current frame has. Null after a failure.
    PDMc_LIL* CreateNewLIL(const char* name, const char* fileName, nyxCollection& members);

    // Gives out the next modification count; the numbers order all changes of versions.
    int32_t NextModCount() {
        MarkModified();
        return ++m_mod_count_generator;
    }
    // Library operations turn the automatic raising of the modified state off around their
    // own writes.
    void SetAutoSetIsModified(bool on) {
        MarkModified();
        m_auto_set_is_modified = on;
    }
    bool GetAutoSetIsModified() const { return m_auto_set_is_modified; }
    // Raise the modified state of what was written, unless automatic raising is off.
    void NoteVersionModified(PDMc_WSPIV* version);
    void NoteAttributeModified(PDMc_LAV* value);
    void NoteLibraryVersionModified(PDMc_LILV* version);

    // Gives out the next file version of the workspace. The counter is stored, so it rises
    // only in what is committed, and an aborted file's number may come again.
    int32_t NextFileVersion() {
        MarkModified();
        return ++m_file_ver_counter;
    }

    // Lookups in the current frame by exact name; null when absent, with no error.
    PDMc_LPI* FindLPI(const char* name);
    // Null also for an item that is deleted but whose identity lives on.
    PDMc_WSPI* FindWSPI(const char* name);
    PDMc_LIL* FindLIL(const char* name);
    // The listings of the current frame, added to `out`. 0, or the code of a failure.
    int32_t GetLPIs(nyxCollection& out);
    int32_t GetWSPIs(nyxCollection& out);
    int32_t GetLILs(nyxCollection& out);
    // The live items whose current version's modified state is `wanted`.
    int32_t GetWSPIsByModified(bool wanted, nyxCollection& out);
    // The libraries whose current version's modified state is `wanted`.
    int32_t GetLILsByModified(bool wanted, nyxCollection& out);
    // Whether an item could turn to the version: 0, or 2700 / 2702. Changes nothing.
    int32_t CheckRefocus(PDMc_WSPIV* version);
    // The identity's records in the states 0 to `last`, in state order, found under its name
    // of the current state: a state that had the item under another name adds nothing.
    int32_t GetFrameItemsOfLPI(int32_t last, PDMc_LPI* lpi, nyxCollection& out);
    // The same for a library's records, found under its name of the current state.
    int32_t GetFrameItemsOfLIL(int32_t last, PDMc_LIL* lil, nyxCollection& out);
    // Takes an identity out of the current frame if neither a live item nor a dependency of a
    // current version needs it.
    int32_t CleanLPI(PDMc_LPI* lpi);

    // The states. The operations that move or cut the history are stored changes, taken back
    // by an abort like any other.
    PDMc_LUF* GetCurrentFrame();
    // The frames, oldest first; null with an error on the stack if they can't be had.
    PDMc_LDBArray* GetUndoStack();
    int32_t GetCurrentStateNumber() const { return m_current_state_number; }
    int32_t GetStackSize();
    // 2651 in the first state, 2652 in the last.
    int32_t Undo();
    int32_t Redo();
    // Closes the current state: a new frame sharing all its records follows it and becomes
    // current. Any states after the current one go first.
    int32_t CreateState();
    // Makes state n current and rebinds the identities and libraries of its frame. n must be a
    // state number.
    int32_t SetUndoFrame(int32_t n);
    // Drops the states after the current one.
    int32_t PurgeRedoStack();
    // Drops the `count` oldest states, all before the current one for 0. The current state
    // can't go: a count above its number is refused.
    int32_t PurgeUndoStack(int32_t count);
    // Queues the deletion of the local files that only the frames that go hold. The lists hold
    // frame pointers; neither is changed.
    int32_t PurgeFrames(nyxCollection& stays, nyxCollection& goes);

    // Lets go of what the tables of the loaded states other than the current one keep beside
    // them to be searched fast.
    void ReleaseEarlierFrames();

    // Checks every live item and every library of the current state, printing each finding on
    // standard output; true if one was a corruption. Changes nothing.
    bool CheckIntegrity();

private:
    friend struct LDBSchema;

    // Cuts the stack to the frames that stay, after queueing the files that go with the
    // others; the frames that go lose their maps.
    int32_t DropFrames(nyxCollection& stays, nyxCollection& goes);

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
    uint8_t m_auto_set_is_modified = 0;
    uint8_t m_is_ws_under_integration = 0;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
