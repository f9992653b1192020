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

template <class PageAccess>
int32_t LDBPoolCursor::Transfer(uint32_t count, const char* refusal, PageAccess access) {
    if (count == 0) return 0;
    if (!HoldsRange(m_address, count)) return NYX_INTERNAL_ERROR(refusal, kSource);
    uint32_t address = m_address;
    uint32_t done = 0;
    while (done < count) {
        LDBPageBuffer* page = m_pin.Page(address);
        if (page == nullptr) return nyxErrorCurrentCode();
        uint32_t room = page->HighAddress() - address + 1;
        uint32_t n = count - done < room ? count - done : room;
        access(page, address, done, n);
        address += n;
        done += n;
    }
    m_address = address;
    return 0;
}

int32_t LDBPoolCursor::ReadBytes(uint8_t* out, uint32_t count) {
    return Transfer(count, "LDB cursor read outside the store",
                    [out](LDBPageBuffer* page, uint32_t address, uint32_t done, uint32_t n) {
                        page->Read(address, out + done, n);
                    });
}

int32_t LDBPoolCursor::WriteBytes(const uint8_t* bytes, uint32_t count) {
    return Transfer(count, "LDB cursor write outside the store",
                    [bytes](LDBPageBuffer* page, uint32_t address, uint32_t done, uint32_t n) {
                        page->Write(address, bytes + done, n);
                    });
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
