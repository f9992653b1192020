// PDMc_WSPI: an item of a workspace, as a client holds it across frames.
//
// The item itself holds almost nothing: its name, type, id and presence are what the identity's
// frame item of the current state says, and its data is in its current version. The one field
// of substance, m_shortcut_current_piv, is kept equal to that frame item's current version by
// every change of state and every write; after Delete it is null.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LIL;
class PDMc_LPI;
class PDMc_LPITD;
class PDMc_LUFI;
class PDMc_WS;
class PDMc_WSD;
class PDMc_WSDD;
class PDMc_WSGIR;
class PDMc_WSPIV;
class nyxCollection;

class PDMc_WSPI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSPI;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSPI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSPI(LDBObjectOwner* owner);
    // A new item of the workspace for the identity; the frame binds its version.
    PDMc_WSPI(PDMc_WS* workspace, PDMc_LPI* lpi);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    PDMc_WS* GetWS();
    PDMc_LPI* GetLPI();
    // The identity's record of the current state; null (with an error if it can't be had).
    PDMc_LUFI* GetLUFI();
    const nyxString& GetName();
    bool IsNew();
    PDMc_LPITD* GetTypeDef();

    // The current version in the current state, as the frames bind it. Null for a deleted
    // item, with no error.
    PDMc_WSPIV* GetShortcutPIV();
    // The same for a caller that needs one: a deleted item pushes 110 with the operation's
    // name and gives null.
    PDMc_WSPIV* CurrentPIV(const char* operation);
    void SetShortcutPIV(PDMc_WSPIV* version);
    // Makes the version current in the current frame. The version isn't checked to be one of
    // the item's: a client asks PDMWorkspaceRefocus first.
    int32_t SetCurrentWSPIV(PDMc_WSPIV* version);

    // 1905 for a name in use, the item's own included. Only the current frame's index changes.
    int32_t Rename(const char* newName);
    // Empties the item's record in the current frame; earlier frames keep theirs, so an undo
    // brings the same item back. A library member leaves its library first.
    int32_t Delete();
    // 2603 for a new item that a dependency of a current version points at: it can't go, as the
    // dependency would point at nothing a client could ever fetch. 0 otherwise.
    int32_t RefuseIfUsedWhileNew();

    // The gate of every write of a version: the version to write, which is a copy made for the
    // current frame when `version` belongs to an earlier one. Null after a failure; only the
    // current version may be written.
    PDMc_WSPIV* ModifiedWSPIV(PDMc_WSPIV* version);
    // The dependency operations of the current version; a deleted item has none and reports
    // 110 with the operation's name.
    PDMc_WSD* AddDependency(PDMc_LPI* child, PDMc_WSDD* definition);
    int32_t DeleteDependency(PDMc_WSD* dependency);
    int32_t DeleteDependencyKeepLPI(PDMc_WSD* dependency);

    // Raises the modified state of a library member's current version; 2600 for an item
    // outside any library.
    int32_t MarkModifiedInLibrary();
    // The repository id of the current version's source; 0 for an item made here or deleted.
    uint32_t GetSourceId();
    // Names the library on the current version, in place: joining or leaving a library doesn't
    // copy the member's version. 110 for a deleted item.
    int32_t SetLIL(PDMc_LIL* library);

    // A new item of the name and type (this item's own for null) as an instance of this one.
    // The first instance makes a library of this item's name with both as members; later ones
    // join that library. Null after a failure.
    PDMc_WSPI* AddInstance(const char* name, PDMc_LPITD* typeDef);
    // The target folder of the current version; a generic that isn't an instance gives it to
    // its library too.
    int32_t SetTargetFolder(const char* text);
    // The relation operations of the current version; a deleted item reports 110 with the
    // operation's name.
    int32_t AddInstanceWSGIR(PDMc_WSGIR* relation);
    int32_t DeleteInstanceWSGIR(PDMc_WSGIR* relation);
    int32_t SetGenericWSGIR(PDMc_WSGIR* relation);
    PDMc_WSGIR* GetGeneric();
    int32_t GetGIRs(nyxCollection& out);
    int32_t DetachFromGeneric();
    int32_t DetachInstances();
    // Readers of the current version; a deleted item has no library and no role.
    PDMc_LIL* GetLIL();
    bool IsInstance();
    bool HasInstances();
    bool IsLibraryMember();

    // The current version of each state up to the current one that shows the item live, in
    // state order; a version that stayed current through several states comes once each.
    int32_t GetWSPIVs(nyxCollection& out);
    // Every file record of the item's versions in the states before the current one, once each.
    int32_t CollectEarlierFiles(nyxCollection& set);
    // Whether the item's library role fits its library and relations, with each finding
    // printed on standard output; true if there was one.
    bool CheckIntegrity();

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_shortcut_current_piv;
    PDMc_LDBRef m_lpi;
    PDMc_LDBRef m_attrs;
};
