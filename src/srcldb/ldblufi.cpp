#include "srcldb/ldblufi.h"

#include "errors/nyxerror.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldb/ldblufi";

constexpr int32_t kErrorItemNameInUse = 1905;
constexpr int32_t kErrorLibraryNameInUse = 1906;
constexpr int32_t kErrorNoWritableRecord = 101;

// The current frame of the workspace that made the record's frame.
PDMc_LUF* CurrentFrameOf(PDMc_LUF* creatingFrame) {
    PDMc_WS* workspace = creatingFrame != nullptr ? creatingFrame->GetWS() : nullptr;
    return workspace != nullptr ? workspace->GetCurrentFrame() : nullptr;
}

// The record to write in the current frame, by the frame's operation for the record's kind.
template <class Record>
Record* WritableRecord(Record* record, Record* (PDMc_LUF::*modified)(Record*)) {
    PDMc_LUF* frame = record->GetCurrentFrame();
    if (frame == nullptr) return nullptr;
    Record* writable = (frame->*modified)(record);
    if (writable != nullptr) writable->MarkModified();
    return writable;
}

// A rename in the current frame, for items and libraries alike. The test stands before any
// change, so a refused name leaves the redo states alone; the record's own name counts as taken.
template <class Record, class SetName>
int32_t RenameRecord(Record* record, const char* newName, int32_t inUse, const char* operation,
                     Record* (PDMc_LUF::*find)(const char*), void (PDMc_LUF::*remove)(Record*),
                     void (PDMc_LUF::*put)(Record*), SetName setName) {
    PDMc_LUF* frame = record->GetCurrentFrame();
    if (frame == nullptr) return nyxErrorCurrentCode();
    if ((frame->*find)(newName) != nullptr) return nyxErrorReport(inUse, newName);
    Record* writable = record->ForModification();
    if (writable == nullptr) return nyxErrorReport(kErrorNoWritableRecord, operation, newName);
    (frame->*remove)(writable);
    setName(writable);
    writable->MarkModified();
    (frame->*put)(writable);
    return 0;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// PDMc_LUFI

PDMc_LUFI::PDMc_LUFI() = default;

PDMc_LUFI::PDMc_LUFI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LUFI::PDMc_LUFI(PDMc_LUF* frame, const char* name, PDMc_LPITD* typeDef, uint32_t piid,
                     PDMc_LPI* lpi)
    : PDMc_LDBObject(frame->GetOwner(), kTypeCode, kClassVersion),
      m_creating_frame(frame),
      m_pi_name(name),
      m_pitypedef(typeDef),
      m_piid(piid),
      m_lpi(lpi) {}

PDMc_LUFI::PDMc_LUFI(const PDMc_LUFI& other, PDMc_LUF* frame)
    : PDMc_LDBObject(other),
      m_creating_frame(frame),
      m_pi_name(other.m_pi_name),
      m_pitypedef(other.m_pitypedef),
      m_piid(other.m_piid),
      m_lpi(other.m_lpi),
      m_wspi(other.m_wspi),
      m_current_piv(other.m_current_piv) {}

const char* PDMc_LUFI::GetClassName() const { return "PDMc_LUFI"; }

PDMc_LUF* PDMc_LUFI::GetCreatingFrame() { return LDBTargetAs<PDMc_LUF>(m_creating_frame, true); }

PDMc_LPITD* PDMc_LUFI::GetTypeDef() { return LDBTargetAs<PDMc_LPITD>(m_pitypedef); }

PDMc_LPI* PDMc_LUFI::GetLPI() { return LDBTargetAs<PDMc_LPI>(m_lpi, true); }

PDMc_WSPI* PDMc_LUFI::GetWSPI() { return LDBTargetAs<PDMc_WSPI>(m_wspi); }

PDMc_WSPIV* PDMc_LUFI::GetCurrentPIV() { return LDBTargetAs<PDMc_WSPIV>(m_current_piv); }

PDMc_LUF* PDMc_LUFI::GetCurrentFrame() { return CurrentFrameOf(GetCreatingFrame()); }

PDMc_LUFI* PDMc_LUFI::ForModification() {
    return WritableRecord(this, &PDMc_LUF::ModifiedFrameItem);
}

int32_t PDMc_LUFI::AcquireWSPI(PDMc_WSPI* item, PDMc_WSPIV* version) {
    if (HasWSPI()) return NYX_INTERNAL_ERROR("PDMc_LUFI::AcquireWSPI", kSourcePath);
    PDMc_LUFI* record = ForModification();
    if (record == nullptr) return nyxErrorCurrentCode();
    record->m_wspi = item;
    return record->SetCurrentPIV(version);
}

int32_t PDMc_LUFI::SetCurrentPIV(PDMc_WSPIV* version) {
    PDMc_LUFI* record = ForModification();
    if (record == nullptr) return nyxErrorCurrentCode();
    record->m_current_piv = version;
    if (version == nullptr) return 0;
    PDMc_WSPI* item = record->GetWSPI();
    if (item == nullptr) return nyxErrorCurrentCode();
    item->SetShortcutPIV(version);
    return 0;
}

int32_t PDMc_LUFI::DeleteWSPI() {
    if (!HasWSPI()) return NYX_INTERNAL_ERROR("PDMc_LUFI::DeleteWSPI", kSourcePath);
    PDMc_LUFI* record = ForModification();
    if (record == nullptr) return nyxErrorCurrentCode();
    record->m_wspi = PDMc_LDBRef();
    if (int32_t rc = record->SetCurrentPIV(nullptr)) return rc;
    PDMc_LUF* frame = record->GetCurrentFrame();
    PDMc_WS* workspace = frame != nullptr ? frame->GetWS() : nullptr;
    PDMc_LPI* lpi = record->GetLPI();
    if (workspace == nullptr || lpi == nullptr) return nyxErrorCurrentCode();
    return workspace->CleanLPI(lpi);
}

int32_t PDMc_LUFI::DeleteLPI() {
    if (HasWSPI()) return NYX_INTERNAL_ERROR("PDMc_LUFI::DeleteLPI", kSourcePath);
    PDMc_LUF* frame = GetCurrentFrame();
    if (frame == nullptr) return nyxErrorCurrentCode();
    frame->RemoveItem(this);
    return 0;
}

int32_t PDMc_LUFI::ModifyPIName(const char* newName) {
    return RenameRecord(this, newName, kErrorItemNameInUse, "ModifyPIName", &PDMc_LUF::FindItem,
                        &PDMc_LUF::RemoveItem, &PDMc_LUF::PutItem,
                        [newName](PDMc_LUFI* writable) { writable->m_pi_name = newName; });
}

// ---------------------------------------------------------------------------------------------
// PDMc_LUFLI

PDMc_LUFLI::PDMc_LUFLI() = default;

PDMc_LUFLI::PDMc_LUFLI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LUFLI::PDMc_LUFLI(PDMc_LUF* frame, const char* name, uint32_t loid, PDMc_LIL* lil,
                       PDMc_LILV* version)
    : PDMc_LDBObject(frame->GetOwner(), kTypeCode, kClassVersion),
      m_creating_frame(frame),
      m_lo_name(name),
      m_loid(loid),
      m_lil(lil),
      m_current_lilv(version) {}

PDMc_LUFLI::PDMc_LUFLI(const PDMc_LUFLI& other, PDMc_LUF* frame)
    : PDMc_LDBObject(other),
      m_creating_frame(frame),
      m_lo_name(other.m_lo_name),
      m_loid(other.m_loid),
      m_lil(other.m_lil),
      m_current_lilv(other.m_current_lilv) {}

const char* PDMc_LUFLI::GetClassName() const { return "PDMc_LUFLI"; }

PDMc_LUF* PDMc_LUFLI::GetCreatingFrame() { return LDBTargetAs<PDMc_LUF>(m_creating_frame, true); }

PDMc_LIL* PDMc_LUFLI::GetLIL() { return LDBTargetAs<PDMc_LIL>(m_lil, true); }

PDMc_LILV* PDMc_LUFLI::GetCurrentLILV() { return LDBTargetAs<PDMc_LILV>(m_current_lilv); }

PDMc_LUF* PDMc_LUFLI::GetCurrentFrame() { return CurrentFrameOf(GetCreatingFrame()); }

PDMc_LUFLI* PDMc_LUFLI::ForModification() {
    return WritableRecord(this, &PDMc_LUF::ModifiedLUFLIItem);
}

int32_t PDMc_LUFLI::ModifyLOName(const char* newName) {
    return RenameRecord(this, newName, kErrorLibraryNameInUse, "ModifyLOName",
                        &PDMc_LUF::FindLibraryItem, &PDMc_LUF::RemoveLibraryItem,
                        &PDMc_LUF::PutLibraryItem,
                        [newName](PDMc_LUFLI* writable) { writable->m_lo_name = newName; });
}

int32_t PDMc_LUFLI::SetCurrentLILV(PDMc_LILV* version) {
    PDMc_LUFLI* record = ForModification();
    if (record == nullptr) return nyxErrorCurrentCode();
    record->m_current_lilv = version;
    PDMc_LIL* lil = record->GetLIL();
    if (lil == nullptr) return nyxErrorCurrentCode();
    lil->SetShortcutLILV(version);
    return 0;
}

int32_t PDMc_LUFLI::RemoveFromFrame() {
    PDMc_LUF* frame = GetCurrentFrame();
    if (frame == nullptr) return nyxErrorCurrentCode();
    frame->RemoveLibraryItem(this);
    return 0;
}
