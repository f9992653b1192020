// PDMc_LPI stands for an item across all frames; PDMc_LPITD defines a type of item.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LPI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LPI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LPI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LPI(LDBObjectOwner* owner);

    const char* GetClassName() const override;

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

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    nyxString m_name;
    nyxString m_desc;
    nyxString m_editor;
    nyxString m_viewer;
    nyxString m_discriminator;
};
