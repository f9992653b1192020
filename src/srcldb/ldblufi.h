// Frame items: PDMc_LUFI says what an item is in the frames that share the record, PDMc_LUFLI
// does the same for a library.
//
// A record belongs to the frame that made it (m_creating_frame) and is shared by every later
// frame until one of them writes it. Only the current frame ever writes, so every change starts
// with ForModification, which gives the record of the current frame: this one if the current
// frame made it, else a copy that replaces it there. Callers go on with what it gives and stop
// when it gives null.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LIL;
class PDMc_LILV;
class PDMc_LPI;
class PDMc_LPITD;
class PDMc_LUF;
class PDMc_WSPI;
class PDMc_WSPIV;

class PDMc_LUFI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUFI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LUFI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUFI(LDBObjectOwner* owner);
    // A new record of the frame for an identity, with no item bound yet.
    PDMc_LUFI(PDMc_LUF* frame, const char* name, PDMc_LPITD* typeDef, uint32_t piid,
              PDMc_LPI* lpi);
    // The copy of a record for the frame: every stored member but the creating frame.
    PDMc_LUFI(const PDMc_LUFI& other, PDMc_LUF* frame);

    const char* GetClassName() const override;

    // The name, which is also the record's key in the maps of its frames.
    const nyxString& GetName() const { return m_pi_name; }
    uint32_t GetPIID() const { return m_piid; }
    // Whether the item is live in the frames of this record.
    bool HasWSPI() const { return !m_wspi.IsNull(); }
    bool HasCurrentPIV() const { return !m_current_piv.IsNull(); }
    bool HasLPI() const { return !m_lpi.IsNull(); }
    // The readers give null for an unset member, and null with an error on the stack for one
    // that can't be had; the creating frame and the identity must be set.
    PDMc_LUF* GetCreatingFrame();
    PDMc_LPITD* GetTypeDef();
    PDMc_LPI* GetLPI();
    PDMc_WSPI* GetWSPI();
    PDMc_WSPIV* GetCurrentPIV();

    // The current frame of the workspace this record belongs to.
    PDMc_LUF* GetCurrentFrame();
    // The record to write in the current frame, marked modified; null after a failure.
    PDMc_LUFI* ForModification();

    // Binds a new item and its first version. 0, or the code of the failure.
    int32_t AcquireWSPI(PDMc_WSPI* item, PDMc_WSPIV* version);
    // Makes the version current in the current frame, and the item's shortcut with it unless
    // the version is null. 0, or the code of the failure.
    int32_t SetCurrentPIV(PDMc_WSPIV* version);
    // The item goes from the current frame; the identity with it if nothing uses it.
    int32_t DeleteWSPI();
    // The record of an item that is no longer live goes from the current frame. The identity
    // keeps pointing at it, so that an undo to a frame that holds the item rebinds it.
    int32_t DeleteLPI();
    // Renames the item in the current frame; earlier frames keep the old name under its key.
    // 1905 for a name that is in use, the item's own included.
    int32_t ModifyPIName(const char* newName);

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_creating_frame;
    nyxString m_pi_name;
    PDMc_LDBRef m_pitypedef;
    uint32_t m_piid = 0;
    PDMc_LDBRef m_lpi;
    PDMc_LDBRef m_wspi;
    PDMc_LDBRef m_current_piv;
};

class PDMc_LUFLI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUFLI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LUFLI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUFLI(LDBObjectOwner* owner);
    // A new record of the frame for a library and its version.
    PDMc_LUFLI(PDMc_LUF* frame, const char* name, uint32_t loid, PDMc_LIL* lil,
               PDMc_LILV* version);
    // The copy of a record for the frame: every stored member but the creating frame.
    PDMc_LUFLI(const PDMc_LUFLI& other, PDMc_LUF* frame);

    const char* GetClassName() const override;

    const nyxString& GetName() const { return m_lo_name; }
    uint32_t GetLOID() const { return m_loid; }
    bool HasCurrentLILV() const { return !m_current_lilv.IsNull(); }
    bool HasLIL() const { return !m_lil.IsNull(); }
    PDMc_LUF* GetCreatingFrame();
    PDMc_LIL* GetLIL();
    PDMc_LILV* GetCurrentLILV();

    PDMc_LUF* GetCurrentFrame();
    PDMc_LUFLI* ForModification();

    // Renames the library in the current frame; 1906 for a name that is in use.
    int32_t ModifyLOName(const char* newName);
    // Makes the library version current in the current frame, and the library's shortcut.
    int32_t SetCurrentLILV(PDMc_LILV* version);
    // Takes the record out of the current frame.
    int32_t RemoveFromFrame();

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_creating_frame;
    nyxString m_lo_name;
    uint32_t m_loid = 0;
    PDMc_LDBRef m_lil;
    PDMc_LDBRef m_current_lilv;
};
