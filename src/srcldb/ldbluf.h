// PDMc_LUF: a frame, one state of a workspace, with the frame items of that state.
//
// A frame is a complete table of the state: one record per item in m_lufi_items and one per
// library in m_lufli_items, each under its name. A new frame takes over its predecessor's
// records by reference; a record that is to change is first copied into the current frame
// (ModifiedFrameItem), so the frames before it keep what they had. Moving to another state is
// then a change of pointer and a rebinding of identities, never a replay.
//
// The listings add to the collection given, whose elements are object pointers, in the order
// of the frame's maps.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LDBMap;
class PDMc_LIL;
class PDMc_LILV;
class PDMc_LPI;
class PDMc_LPITD;
class PDMc_LUFI;
class PDMc_LUFLI;
class PDMc_WS;
class PDMc_WSPI;
class PDMc_WSPIV;
class nyxCollection;

class PDMc_LUF : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUF;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LUF();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUF(LDBObjectOwner* owner);

    // The first frame of a new workspace, with two empty maps. Null after a failure pushed.
    static PDMc_LUF* CreateFirst(PDMc_WS* workspace);
    // A new frame that shares every record of this one; no record is copied. Null after a
    // failure pushed.
    PDMc_LUF* CloneForNewState();

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    PDMc_WS* GetWS();
    // The maps; null, with an error on the stack, when one can't be had.
    PDMc_LDBMap* GetItems();
    PDMc_LDBMap* GetLibraryItems();
    const nyxString& GetDescription() const { return m_description; }
    int32_t GetUserDataId() const { return m_user_data_id; }
    void SetDescription(const char* text);
    void SetUserDataId(int32_t id);

    // A new identity with its record in this frame, under the name (an entry of that name is
    // replaced). The item id comes from the source identity's record, if one is given.
    PDMc_LPI* AddPI(const char* name, PDMc_LPITD* typeDef, PDMc_LPI* source);
    // Binds a new item and its first version to the record of the item's identity. The item
    // must be of this frame's workspace.
    int32_t AddWSPI(PDMc_WSPI* item, PDMc_WSPIV* version);
    // Enters a new library under the name (an entry of that name is replaced) with a new record
    // that binds the library and its version; the version becomes this frame's.
    int32_t AddLIL(const char* name, uint32_t id, PDMc_LIL* library, PDMc_LILV* version);

    // The record to write for `item` in this frame, which must be the current one. Ends the
    // redo history first. Null after a failure.
    PDMc_LUFI* ModifiedFrameItem(PDMc_LUFI* item);
    PDMc_LUFLI* ModifiedLUFLIItem(PDMc_LUFLI* item);

    void PutItem(PDMc_LUFI* item);
    void RemoveItem(PDMc_LUFI* item);
    void PutLibraryItem(PDMc_LUFLI* item);
    void RemoveLibraryItem(PDMc_LUFLI* item);

    // Lookups by exact name; null when absent.
    PDMc_LUFI* FindItem(const char* name);
    PDMc_LUFLI* FindLibraryItem(const char* name);
    // The record under the identity's name as of the current state: a frame that holds the item
    // under another name finds nothing.
    PDMc_LUFI* FindItemOfLPI(PDMc_LPI* lpi);
    PDMc_LUFLI* FindLibraryItemOfLIL(PDMc_LIL* lil);

    // Each gives 0, or the code of the failure that stopped it.
    int32_t GetLPIs(nyxCollection& out);
    int32_t GetWSPIs(nyxCollection& out);
    int32_t GetLILs(nyxCollection& out);
    // The version of the current state of each live item of this frame, whatever the frame.
    int32_t GetModifiedWSPIVs(nyxCollection& out);
    // Every local file record of the current versions of this frame, each once.
    int32_t CollectFiles(nyxCollection& set);

    // For a frame that leaves the stack: both maps are emptied and go at commit. The frame
    // itself, its records and versions stay, unreferenced.
    int32_t DropMaps();
    // Lets go of what the loaded maps keep beside their tables to be searched fast.
    void ReleaseSearchAids();

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_lufi_items;
    PDMc_LDBRef m_lufli_items;
    nyxString m_description;
    PDMc_LDBRef m_attrs;
    int32_t m_user_data_id = 0;
};
