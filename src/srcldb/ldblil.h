// PDMc_LIL: a library of a workspace, holding a generic item and its instances.
//
// The library is the fixed point that all states share; its name and id stand in the frame
// library item of each state (m_lufli), its data in library versions. m_shortcut_current_lilv is
// the version of the current state, null while the library is deleted in it. Every change of a
// version passes the gate ModifiedLILV, which copies the version into the current frame on its
// first write there.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LDBArray;
class PDMc_LF;
class PDMc_LILV;
class PDMc_LUFLI;
class PDMc_WS;
class PDMc_WSPI;
class nyxCollection;

class PDMc_LIL : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LIL;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LIL();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LIL(LDBObjectOwner* owner);

    // A new library of the workspace, with no record or version yet. Null after a failure.
    static PDMc_LIL* Create(PDMc_WS* workspace);

    const char* GetClassName() const override;

    PDMc_WS* GetWS();
    // The frame library item of the current state, null if there's none.
    PDMc_LUFLI* GetLUFLI();
    // Binds the library to the record that speaks for it now, with the record's version.
    void SetLUFLI(PDMc_LUFLI* lufli);
    void SetShortcutLILV(PDMc_LILV* version);
    // The version of the current state; null, with no error, for a deleted library.
    PDMc_LILV* GetCurrentLILV();

    // Name and id as of the current state; empty and 0 without a record.
    const nyxString& GetName();
    uint32_t GetLOID();
    bool IsNew() { return GetLOID() == 0; }
    bool IsModified();
    // 1906 for a name in use. Only the current frame's index changes.
    int32_t Rename(const char* newName);

    // Copies of the current version's lists into `out`, which is cleared first. 0, or the code
    // of a failure (110 for a deleted library).
    int32_t GetOrigMembers(nyxCollection& out);
    int32_t GetRemovedMembers(nyxCollection& out);
    int32_t GetMembers(nyxCollection& out);
    int32_t GetFiles(nyxCollection& out);

    // The current version's operations; a deleted library reports 110.
    PDMc_LF* GetCurrentFile();
    int32_t GetPathForWrite(PDMc_LF* file, nyxString& out);
    PDMc_LF* AddFile(const char* name, uint32_t position);
    int32_t DeleteFile();
    int32_t SetTargetFolder(const char* text);
    int32_t DeleteWSPIFromMembers(PDMc_WSPI* item);
    int32_t DeleteWSPIFromMemberWSPIs(PDMc_WSPI* item);

    // The gate of every write of a library version: the version to write, a copy made for the
    // current frame when `version` belongs to an earlier one. Null after a failure; only the
    // current version may be written.
    PDMc_LILV* ModifiedLILV(PDMc_LILV* version);
    // Every file of the library's versions in the states before the current one, once each.
    int32_t CollectEarlierFiles(nyxCollection& set);

    // Deletion takes the library out of the current state only: its record leaves the current
    // frame, its versions stay for the earlier states, and an undo brings it back. Every
    // operation gives 0 or the code of the failure; a failure part way leaves what was done for
    // the client to abort.

    // Refused (internal error) while the library has members. Queues the deletion of the local
    // files that no earlier state holds.
    int32_t Delete();
    // Deletes every member item, then the library. A new member that a dependency points at
    // stops it (2603) before anything changes.
    int32_t DeleteWithMemberWSPIs();
    // Takes an instance out of the library as an ordinary item; the last instance takes the
    // library with it, and its generic stays as an ordinary item.
    int32_t ExtractInstance(PDMc_WSPI* instance);
    // Extracts the instance, then deletes it; 2603 for a new one that a dependency points at.
    int32_t DeleteInstance(PDMc_WSPI* instance);
    // Lets go of a member that is being deleted by itself: 2604 for a modified one. The
    // relations lose the item, and the last member takes the library with it.
    int32_t ReleaseMember(PDMc_WSPI* item);
    // Prints each disagreement between the library's member lists and its members' roles on
    // standard output; true if one was a corruption.
    bool CheckIntegrity();

private:
    friend struct LDBSchema;

    // The current version for an operation that needs one: 110 with the operation's name for a
    // deleted library.
    PDMc_LILV* CurrentLILV(const char* operation);

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_lufli;
    PDMc_LDBRef m_shortcut_current_lilv;
    PDMc_LDBRef m_attrs;
};
