#include "srcldb/ldbluf.h"

#include <initializer_list>
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldb/ldbluf";

// Adds an object pointer to a collection of them.
void Add(nyxCollection& out, PDMc_LDBObject* object) {
    void* element = object;
    out.Insert(&element);
}

// Adds the object that a record's reference gave; null stands for a failure on the stack.
int32_t AddObject(nyxCollection& out, PDMc_LDBObject* object) {
    if (object == nullptr) return nyxErrorCurrentCode();
    Add(out, object);
    return 0;
}

// Each record of a frame's map, as the class it holds; a map that can't be had is a failure.
template <class Record, class Visit>
int32_t ForEachRecord(PDMc_LDBMap* map, Visit visit) {
    return map != nullptr ? LDBForEachElement<Record>(*map, visit) : nyxErrorCurrentCode();
}

// Adds each file record of a version that the set doesn't hold yet. A record without a version
// adds nothing; a version that can't be had is a failure.
template <class Version>
int32_t AddFilesOf(bool hasVersion, Version* version, nyxCollection& set) {
    if (!hasVersion) return 0;
    if (version == nullptr) return nyxErrorCurrentCode();
    if (!version->HasFiles()) return 0;
    PDMc_LDBArray* files = version->GetFiles();
    if (files == nullptr) return nyxErrorCurrentCode();
    return LDBForEachElement<PDMc_LF>(*files, [&set](PDMc_LF* file) {
        void* element = file;
        if (!set.Contains(&element)) set.Insert(&element);
        return 0;
    });
}

}  // namespace

PDMc_LUF::PDMc_LUF() = default;

PDMc_LUF::PDMc_LUF(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LUF* PDMc_LUF::CreateFirst(PDMc_WS* workspace) {
    LDBObjectOwner* owner = workspace->GetOwner();
    PDMc_LUF* frame = new (std::nothrow) PDMc_LUF(owner);
    PDMc_LDBMap* items = new (std::nothrow) PDMc_LDBMap(owner, PDMc_LDBMap::kNewCapacity);
    PDMc_LDBMap* libraries = new (std::nothrow) PDMc_LDBMap(owner, PDMc_LDBMap::kNewCapacity);
    // What was made stays on the modified list for the abort to take away.
    if (frame == nullptr || items == nullptr || libraries == nullptr) {
        nyxErrorPushInternal("no memory for a frame", kSourcePath, __LINE__);
        return nullptr;
    }
    frame->m_ws = workspace;
    frame->m_lufi_items = items;
    frame->m_lufli_items = libraries;
    frame->m_user_data_id = -1;
    return frame;
}

PDMc_LUF* PDMc_LUF::CloneForNewState() {
    PDMc_LDBMap* items = GetItems();
    PDMc_LDBMap* libraries = GetLibraryItems();
    if (items == nullptr || libraries == nullptr) return nullptr;
    LDBObjectOwner* owner = GetOwner();
    PDMc_LUF* frame = new (std::nothrow) PDMc_LUF(owner);
    // A map's copy shares the targets of its references and loads none of them: the keys are
    // the records' names already.
    PDMc_LDBMap* itemsCopy = new (std::nothrow) PDMc_LDBMap(*items);
    PDMc_LDBMap* librariesCopy = new (std::nothrow) PDMc_LDBMap(*libraries);
    if (frame == nullptr || itemsCopy == nullptr || librariesCopy == nullptr) {
        nyxErrorPushInternal("no memory for a frame", kSourcePath, __LINE__);
        return nullptr;
    }
    frame->m_ws = m_ws;
    frame->m_lufi_items = itemsCopy;
    frame->m_lufli_items = librariesCopy;
    frame->m_description = m_description;
    frame->m_user_data_id = -1;
    return frame;
}

const char* PDMc_LUF::GetClassName() const { return "PDMc_LUF"; }

PDMc_LDBRef* PDMc_LUF::GetAttrs() { return &m_attrs; }

PDMc_WS* PDMc_LUF::GetWS() { return LDBTargetAs<PDMc_WS>(m_ws, true); }

PDMc_LDBMap* PDMc_LUF::GetItems() { return LDBTargetAs<PDMc_LDBMap>(m_lufi_items, true); }

PDMc_LDBMap* PDMc_LUF::GetLibraryItems() {
    return LDBTargetAs<PDMc_LDBMap>(m_lufli_items, true);
}

void PDMc_LUF::SetDescription(const char* text) {
    MarkModified();
    m_description = text;
}

void PDMc_LUF::SetUserDataId(int32_t id) {
    MarkModified();
    m_user_data_id = id;
}

PDMc_LPI* PDMc_LUF::AddPI(const char* name, PDMc_LPITD* typeDef, PDMc_LPI* source) {
    PDMc_LDBMap* items = GetItems();
    if (items == nullptr) return nullptr;
    PDMc_LPI* lpi = new (std::nothrow) PDMc_LPI(GetOwner());
    if (lpi == nullptr) {
        nyxErrorPushInternal("no memory for an identity", kSourcePath, __LINE__);
        return nullptr;
    }
    uint32_t piid = 0;
    if (source != nullptr) {
        PDMc_LUFI* sourceRecord = source->GetLUFI();
        if (sourceRecord != nullptr) piid = sourceRecord->GetPIID();
    }
    PDMc_LUFI* record = new (std::nothrow) PDMc_LUFI(this, name, typeDef, piid, lpi);
    if (record == nullptr) {
        nyxErrorPushInternal("no memory for a frame item", kSourcePath, __LINE__);
        return nullptr;
    }
    lpi->SetLUFI(record);
    items->Put(name, record);
    MarkModified();
    return lpi;
}

int32_t PDMc_LUF::AddWSPI(PDMc_WSPI* item, PDMc_WSPIV* version) {
    if (item->GetWS() != GetWS()) return NYX_INTERNAL_ERROR("PDMc_LUF::AddWSPI", kSourcePath);
    PDMc_LPI* lpi = item->GetLPI();
    PDMc_LUFI* record = lpi != nullptr ? lpi->GetLUFI() : nullptr;
    if (record == nullptr) return NYX_INTERNAL_ERROR("PDMc_LUF::AddWSPI", kSourcePath);
    return record->AcquireWSPI(item, version);
}

int32_t PDMc_LUF::AddLIL(const char* name, uint32_t id, PDMc_LIL* library,
                         PDMc_LILV* version) {
    if (library->GetWS() != GetWS()) return NYX_INTERNAL_ERROR("PDMc_LUF::AddLIL", kSourcePath);
    PDMc_LDBMap* libraries = GetLibraryItems();
    if (libraries == nullptr) return nyxErrorCurrentCode();
    PDMc_LUFLI* record = new (std::nothrow) PDMc_LUFLI(this, name, id, library, version);
    if (record == nullptr) return NYX_INTERNAL_ERROR("no memory for a frame record", kSourcePath);
    library->SetLUFLI(record);
    libraries->RemoveName(name);
    libraries->Put(name, record);
    MarkModified();
    version->SetCreatingFrame(this);
    return 0;
}

namespace {

// The steps that ModifiedFrameItem and ModifiedLUFLIItem share, on the frame's map of the
// record's kind. `rebind` moves the identity or library from the old record to the copy when it
// speaks for it now, and gives false when it can't be had.
template <class Record, class Rebind>
Record* ModifiedRecord(PDMc_LUF* frame, PDMc_LDBMap* (PDMc_LUF::*mapOf)(), Record* item,
                       const char* failure, Rebind rebind) {
    PDMc_WS* workspace = frame->GetWS();
    if (workspace == nullptr) return nullptr;
    // Any change of a record ends the redo history, also one to a record of this frame.
    if (workspace->PurgeRedoStack() != 0) return nullptr;
    if (item->GetCreatingFrame() == frame) return item;
    PDMc_LDBMap* map = (frame->*mapOf)();
    if (map == nullptr) return nullptr;
    const char* name = item->GetName().c_str();
    if (!map->Has(name)) {
        nyxErrorPushInternal(failure, kSourcePath, __LINE__);
        return nullptr;
    }
    Record* copy = new (std::nothrow) Record(*item, frame);
    if (copy == nullptr) {
        nyxErrorPushInternal("no memory for a frame record", kSourcePath, __LINE__);
        return nullptr;
    }
    map->RemoveName(name);
    map->Put(copy->GetName().c_str(), copy);
    frame->MarkModified();
    return rebind(item, copy) ? copy : nullptr;
}

// A record enters its frame's map under its name, replacing what stood there, or leaves it.
template <class Record>
void PutRecord(PDMc_LDBMap* map, Record* record) {
    if (map == nullptr) return;
    map->RemoveName(record->GetName().c_str());
    map->Put(record->GetName().c_str(), record);
}

template <class Record>
void RemoveRecord(PDMc_LDBMap* map, Record* record) {
    if (map != nullptr) map->RemoveName(record->GetName().c_str());
}

}  // namespace

PDMc_LUFI* PDMc_LUF::ModifiedFrameItem(PDMc_LUFI* item) {
    return ModifiedRecord(this, &PDMc_LUF::GetItems, item, "PDMc_LUF::ModifiedFrameItem",
                          [](PDMc_LUFI* old, PDMc_LUFI* copy) {
                              PDMc_LPI* lpi = old->GetLPI();
                              if (lpi == nullptr) return false;
                              if (lpi->GetLUFI() == old) lpi->SetLUFI(copy);
                              return true;
                          });
}

PDMc_LUFLI* PDMc_LUF::ModifiedLUFLIItem(PDMc_LUFLI* item) {
    return ModifiedRecord(this, &PDMc_LUF::GetLibraryItems, item, "PDMc_LUF::ModifiedLUFLIItem",
                          [](PDMc_LUFLI* old, PDMc_LUFLI* copy) {
                              PDMc_LIL* lil = old->GetLIL();
                              if (lil == nullptr) return false;
                              if (lil->GetLUFLI() == old) lil->SetLUFLI(copy);
                              return true;
                          });
}

void PDMc_LUF::PutItem(PDMc_LUFI* item) {
    PutRecord(GetItems(), item);
    MarkModified();
}

void PDMc_LUF::RemoveItem(PDMc_LUFI* item) {
    RemoveRecord(GetItems(), item);
    MarkModified();
}

void PDMc_LUF::PutLibraryItem(PDMc_LUFLI* item) {
    PutRecord(GetLibraryItems(), item);
    MarkModified();
}

void PDMc_LUF::RemoveLibraryItem(PDMc_LUFLI* item) {
    RemoveRecord(GetLibraryItems(), item);
    MarkModified();
}

PDMc_LUFI* PDMc_LUF::FindItem(const char* name) {
    PDMc_LDBMap* items = GetItems();
    return items != nullptr ? LDBObjectAs<PDMc_LUFI>(items->Find(name)) : nullptr;
}

PDMc_LUFLI* PDMc_LUF::FindLibraryItem(const char* name) {
    PDMc_LDBMap* libraries = GetLibraryItems();
    return libraries != nullptr ? LDBObjectAs<PDMc_LUFLI>(libraries->Find(name)) : nullptr;
}

PDMc_LUFI* PDMc_LUF::FindItemOfLPI(PDMc_LPI* lpi) {
    // A copy: the name belongs to a record that the lookup may load over.
    nyxString name(lpi->GetName());
    return FindItem(name.c_str());
}

PDMc_LUFLI* PDMc_LUF::FindLibraryItemOfLIL(PDMc_LIL* lil) {
    // A copy: the name belongs to a record that the lookup may load over.
    nyxString name(lil->GetName());
    return FindLibraryItem(name.c_str());
}

int32_t PDMc_LUF::GetLPIs(nyxCollection& out) {
    return ForEachRecord<PDMc_LUFI>(
        GetItems(), [&out](PDMc_LUFI* record) { return AddObject(out, record->GetLPI()); });
}

int32_t PDMc_LUF::GetWSPIs(nyxCollection& out) {
    return ForEachRecord<PDMc_LUFI>(GetItems(), [&out](PDMc_LUFI* record) {
        return record->HasWSPI() ? AddObject(out, record->GetWSPI()) : 0;
    });
}

int32_t PDMc_LUF::GetLILs(nyxCollection& out) {
    return ForEachRecord<PDMc_LUFLI>(GetLibraryItems(), [&out](PDMc_LUFLI* record) {
        return AddObject(out, record->GetLIL());
    });
}

int32_t PDMc_LUF::GetModifiedWSPIVs(nyxCollection& out) {
    return ForEachRecord<PDMc_LUFI>(GetItems(), [&out](PDMc_LUFI* record) {
        if (!record->HasWSPI()) return 0;
        PDMc_WSPI* item = record->GetWSPI();
        if (item == nullptr) return nyxErrorCurrentCode();
        // The shortcut is the version of the current state, not of this frame.
        if (PDMc_WSPIV* version = item->GetShortcutPIV()) Add(out, version);
        return 0;
    });
}

int32_t PDMc_LUF::CollectFiles(nyxCollection& set) {
    int32_t rc = ForEachRecord<PDMc_LUFI>(GetItems(), [&set](PDMc_LUFI* record) {
        return AddFilesOf(record->HasCurrentPIV(), record->GetCurrentPIV(), set);
    });
    if (rc != 0) return rc;
    return ForEachRecord<PDMc_LUFLI>(GetLibraryItems(), [&set](PDMc_LUFLI* record) {
        return AddFilesOf(record->HasCurrentLILV(), record->GetCurrentLILV(), set);
    });
}

int32_t PDMc_LUF::DropMaps() {
    int32_t result = 0;
    for (PDMc_LDBMap* map : {GetItems(), GetLibraryItems()}) {
        if (map == nullptr) {
            if (result == 0) result = nyxErrorCurrentCode();
            continue;
        }
        map->Clear();
        int32_t rc = map->MarkDeleted();
        if (result == 0) result = rc;
    }
    return result;
}

namespace {

void ReleaseSearchAids(const PDMc_LDBRef& reference) {
    PDMc_LDBObject* map = reference.LoadedTarget();
    if (map != nullptr && map->GetTypeCode() == PDMc_LDBMap::kTypeCode)
        static_cast<PDMc_LDBMap*>(map)->ReleaseSearchAids();
}

}  // namespace

void PDMc_LUF::ReleaseSearchAids() {
    ::ReleaseSearchAids(m_lufi_items);
    ::ReleaseSearchAids(m_lufli_items);
}
