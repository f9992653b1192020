#include "ldbstore.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbpbfr.h"
#include "srcldb/ldbundolog.h"

namespace {
const char kSource[] = "srcldb/ldbstore";
}

LDBStore::LDBStore(PDMc_LDB* connection, const nyxString& path)
    : m_connection(connection), m_version(0), m_stamp(0), m_top(0), m_in_transaction(false),
      m_layout(nullptr), m_file(new (std::nothrow) LDBStorageFile(path)), m_owns_file(true),
      m_undo_log(new (std::nothrow) LDBUndoLog), m_expected_top(0), m_base_offset(0),
      m_pool(new (std::nothrow) LDBPagePool(this)), m_object_owner(this) {}

LDBStore::~LDBStore() {
    ClearCache();
    delete m_pool;
    delete m_undo_log;
    if (m_owns_file) delete m_file;
}

bool LDBStore::Valid() const {
    return m_file != nullptr && m_undo_log != nullptr && m_undo_log->FirstChunk() != nullptr &&
           m_pool != nullptr;
}

void LDBStore::TakeFromHeader(const LDBHeader& header) {
    m_version = header.m_version;
    m_top = header.m_top;
    m_objects.SetSpan(m_top);
    SetRootAddress(header.m_root);
    m_stamp = header.m_stamp;
}

int32_t LDBStore::ReadDevice(uint32_t address, void* buffer, uint32_t count) {
    return m_file->ReadAt(m_base_offset + address, buffer, count);
}

int32_t LDBStore::WriteDevice(uint32_t address, const void* buffer, uint32_t count) {
    return m_file->WriteAt(m_base_offset + address, buffer, count);
}

void LDBStore::AddressRange(uint32_t& low, uint32_t& high) const {
    low = LDB_HEADER_SIZE;
    high = m_top - 1;
}

int32_t LDBStore::FlushStore() {
    if (m_pool->FlushAll() != 0) return nyxErrorReport(2410, Path());
    return m_file->Flush();
}

uint32_t LDBStore::Allocate(uint32_t size) {
    uint32_t old = m_top;
    m_top = old + size;
    // A top that wraps has passed every limit too.
    if (m_top > m_expected_top || m_top < old)
        nyxErrorPushInternal("Error in Object Size Calculation", kSource, __LINE__);
    return old;
}

int32_t LDBStore::Allocate(uint32_t size, uint32_t& address) {
    bool clean = nyxErrorStackEmpty();
    address = Allocate(size);
    return clean && !nyxErrorStackEmpty() ? nyxErrorCurrentCode() : 0;
}

int32_t LDBStore::ReadRawHeader(LDBHeader& header) {
    if (int32_t rc = header.Read(*m_file, m_base_offset)) return rc;
    if (header.m_magic != LDB_HEADER_MAGIC || !header.ChecksumOk())
        return nyxErrorReport(2403, Path());
    return 0;
}

int32_t LDBStore::WriteHeader(LDBHeader& header) { return header.Write(*m_file, m_base_offset); }

int32_t LDBStore::WriteInitialHeader(LDBHeader& header) {
    header.InitCurrent();
    header.m_top = LDB_HEADER_SIZE;
    return WriteHeader(header);
}

LDBStore* LDBStore::CreateStore(PDMc_LDB* connection, const nyxString& path) {
    if (!nyxErrorStackEmpty()) return nullptr;
    LDBStore* store = new (std::nothrow) LDBStore(connection, path);
    if (store == nullptr || !store->Valid()) {
        delete store;
        return nullptr;
    }
    if (store->m_file->Create() != 0) {
        delete store;
        return nullptr;
    }
    LDBHeader header;
    if (store->WriteInitialHeader(header) != 0 || store->m_file->Close() != 0) {
        // The half-made file must not be left for a later connect to find.
        store->m_file->Remove();
        delete store;
        return nullptr;
    }
    store->m_version = LDB_CURRENT_VERSION;
    return store;
}

LDBStore* LDBStore::ConnectStore(PDMc_LDB* connection, const nyxString& path) {
    if (!nyxErrorStackEmpty()) return nullptr;
    LDBStore* store = new (std::nothrow) LDBStore(connection, path);
    if (store == nullptr || !store->Valid()) {
        delete store;
        return nullptr;
    }
    if (store->m_file->Open() != 0) {
        delete store;
        return nullptr;
    }
    LDBHeader header;
    int32_t rc = store->ReadHeader(header, true);
    // Close even after a failed check, but report the first failure.
    int32_t closed = store->m_file->Close();
    if (rc == 0) rc = closed;
    if (rc != 0) {
        delete store;
        return nullptr;
    }
    store->m_version = header.m_version;
    return store;
}

int32_t LDBStore::CloseStore(LDBStore* store) {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (store->m_in_transaction) return nyxErrorReport(2402, store->Path());
    delete store;
    return 0;
}

int32_t LDBStore::DeleteStore(LDBStore* store) {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (store->m_in_transaction) return nyxErrorReport(2402, store->Path());
    int32_t rc = store->m_file->Open();
    if (rc == 0) {
        LDBHeader header;
        rc = store->ReadHeader(header, true);
        int32_t closed = store->m_file->Close();
        if (rc == 0) rc = closed;
    }
    if (rc == 0) rc = store->m_file->Remove();
    delete store;
    return rc;
}
