#include "ldbcursorimpl.h"

#include "errors/nyxerror.h"
#include "srcldb/ldbstore.h"

namespace {
const char kSource[] = "srcldb/ldbpbfr";
}

LDBPoolCursor::LDBPoolCursor(LDBStore* store, uint32_t address)
    : m_store(store), m_address(address), m_pin(&store->Pool()) {}

LDBPoolCursor::LDBPoolCursor(LDBStore* store) : LDBPoolCursor(store, LDB_NO_ADDRESS) {}

bool LDBPoolCursor::HoldsRange(uint32_t address, uint32_t count) const {
    uint32_t low = 0, high = 0;
    m_store->AddressRange(low, high);
    // Written without a sum, which could wrap for a count read from a damaged file.
    return address >= low && address <= high && count <= high - address + 1;
}

int32_t LDBPoolCursor::ReadBytes(uint8_t* out, uint32_t count) {
    if (count == 0) return 0;
    if (!HoldsRange(m_address, count))
        return NYX_INTERNAL_ERROR("LDB cursor read outside the store", kSource);
    uint32_t address = m_address;
    while (count > 0) {
        LDBPageBuffer* page = m_pin.Page(address);
        if (page == nullptr) return nyxErrorCurrentCode();
        uint32_t room = page->HighAddress() - address + 1;
        uint32_t n = count < room ? count : room;
        page->Read(address, out, n);
        address += n;
        out += n;
        count -= n;
    }
    m_address = address;
    return 0;
}

int32_t LDBPoolCursor::WriteBytes(const uint8_t* bytes, uint32_t count) {
    if (count == 0) return 0;
    if (!HoldsRange(m_address, count))
        return NYX_INTERNAL_ERROR("LDB cursor write outside the store", kSource);
    uint32_t address = m_address;
    while (count > 0) {
        LDBPageBuffer* page = m_pin.Page(address);
        if (page == nullptr) return nyxErrorCurrentCode();
        uint32_t room = page->HighAddress() - address + 1;
        uint32_t n = count < room ? count : room;
        page->Write(address, bytes, n);
        address += n;
        bytes += n;
        count -= n;
    }
    m_address = address;
    return 0;
}

int32_t LDBPoolCursor::Allocate(uint32_t size, uint32_t& address) {
    return m_store->Allocate(size, address);
}

int32_t LDBPoolCursor::ReadByteAt(LDBPagePin& pin, uint32_t address, uint8_t& byte) {
    LDBPageBuffer* page = pin.Page(address);
    if (page == nullptr) return nyxErrorCurrentCode();
    page->Read(address, &byte, 1);
    return 0;
}

int32_t LDBPoolCursor::WriteByteAt(LDBPagePin& pin, uint32_t address, uint8_t byte) {
    LDBPageBuffer* page = pin.Page(address);
    if (page == nullptr) return nyxErrorCurrentCode();
    page->Write(address, &byte, 1);
    return 0;
}
