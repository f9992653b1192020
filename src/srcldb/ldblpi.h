// PDMc_LPI stands for an item across all frames; PDMc_LPITD defines a type of item.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LPITD;
class PDMc_LUFI;
class PDMc_WSPI;
class nyxCollection;

// An identity knows its frame item in the current state only; every answer about the item's
// name, type and presence comes from there, so a change of state changes them all at once.
class PDMc_LPI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LPI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LPI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LPI(LDBObjectOwner* owner);

    const char* GetClassName() const override;

    // The frame item of the current state; null if there is none or it can't be had (then with
    // an error on the stack).
    PDMc_LUFI* GetLUFI();
    // The name as of the current state; the shared empty text without a frame item.
    const nyxString& GetName();
    // The live item of the current state, null for a deleted or unbound one.
    PDMc_WSPI* GetWSPI();
    // The type definition of the current state's record, null if it has none.
    PDMc_LPITD* GetTypeDef();
    // True while the item has no repository id, also when there's no record at all.
    bool IsNew();
    // Binds the identity to the record that speaks for it now, and points the live item, if
    // any, at the record's version.
    void SetLUFI(PDMc_LUFI* lufi);
    // Adds to `out` every dependency of a current version of the workspace that points at this
    // identity. 0, or the code of a failure.
    int32_t GetWhereUsed(nyxCollection& out);

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_lufi;
};

class PDMc_LPITD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LPITD;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LPITD();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LPITD(LDBObjectOwner* owner);
    // A new definition with all five texts, which never change afterwards.
    PDMc_LPITD(LDBObjectOwner* owner, const char* name, const char* desc, const char* editor,
               const char* viewer, const char* discriminator);

    const char* GetClassName() const override;

    // The library uses only the name, as the key in the root's map; the other texts are kept
    // for the clients.
    const nyxString& GetName() const { return m_name; }
    const nyxString& GetDesc() const { return m_desc; }
    const nyxString& GetEditor() const { return m_editor; }
    const nyxString& GetViewer() const { return m_viewer; }
    const nyxString& GetDiscriminator() const { return m_discriminator; }

private:
    friend struct LDBSchema;

    nyxString m_name;
    nyxString m_desc;
    nyxString m_editor;
    nyxString m_viewer;
    nyxString m_discriminator;
};
