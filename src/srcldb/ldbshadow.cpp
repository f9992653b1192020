// The shadow store: a complete store laid at the tail of its parent's file, which compaction
// and upgrade fill and then make the content of the file in one recoverable step.
//
// The crash story: until the parent's header carries the shadow mark, the file is the old
// store with a tail that no header points at. Once the mark stands, every open copies the
// shadow to the front again from the start, until the shadow's own header is written at the
// front; that write is the commit point, and the truncate behind it only tidies up.
#include <cstdlib>
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbpbfr.h"
#include "srcldb/ldbstore.h"

namespace {
const char kSource[] = "srcldb/ldbstore";
}

int32_t LDBStore::WriteCleanHeader() {
    // Every page must be on the device before the header that makes it part of the store.
    if (int32_t rc = FlushStore()) return rc;
    LDBHeader header;
    header.InitCurrent();
    header.m_top = m_top;
    header.m_root = RootAddress();
    header.m_stamp = m_stamp;
    header.NextStamp();
    if (int32_t rc = WriteHeader(header)) return rc;
    // The commit point: once this flush returns, the new state is what every open will see.
    if (int32_t rc = FlushStore()) return rc;
    m_stamp = header.m_stamp;
    return 0;
}

void LDBStore::DestroyShadow(LDBStore* shadow) {
    // The file is the parent's: the shadow must neither close nor unlock it.
    shadow->m_file = nullptr;
    shadow->m_owns_file = false;
    delete shadow;
}

LDBStore* LDBStore::MakeShadow() {
    LDBStore* shadow = new (std::nothrow) LDBStore(m_connection, Path());
    if (shadow == nullptr || !shadow->Valid()) {
        delete shadow;
        nyxErrorPushInternal("LDB MakeShadow: out of memory", kSource, __LINE__);
        return nullptr;
    }
    delete shadow->m_file;
    shadow->m_file = m_file;
    shadow->m_owns_file = false;
    shadow->m_base_offset = m_base_offset + m_top;
    LDBHeader header;
    if (shadow->WriteInitialHeader(header) != 0) {
        DestroyShadow(shadow);
        return nullptr;
    }
    shadow->m_stamp = m_stamp;
    shadow->m_version = LDB_CURRENT_VERSION;
    shadow->m_top = LDB_HEADER_SIZE;
    shadow->m_pool->RaiseDeviceHigh(LDB_HEADER_SIZE - 1);
    shadow->m_in_transaction = true;
    shadow->m_expected_top = LDB_UNLIMITED_TOP;
    return shadow;
}

int32_t LDBStore::CommitShadow(LDBStore* shadow) {
    if (int32_t rc = shadow->WriteCleanHeader()) {
        DestroyShadow(shadow);
        return rc;
    }
    DestroyShadow(shadow);
    if (int32_t rc = CommitShadowLog()) return rc;
    // The same copy that an open after a crash would run.
    return RecoverShadowLog(m_top);
}

int32_t LDBStore::CommitShadowLog() {
    if (int32_t rc = FlushStore()) return rc;
    LDBHeader header;
    if (int32_t rc = ReadRawHeader(header)) return rc;
    // Only a broken lock lets another process change the file under a held store.
    if (header.m_ldb_invalid != 0 || header.m_top != m_top || header.m_stamp != m_stamp)
        return NYX_INTERNAL_ERROR("LDB CommitShadowLog: lock failure", kSource);
    header.NextStamp();
    header.m_ldb_invalid = LDB_INVALID_SHADOW;
    if (int32_t rc = WriteHeader(header)) return rc;
    // From here on every open finishes the copy: the shadow is complete on the device.
    return FlushStore();
}

int32_t LDBStore::AbortShadow(LDBStore* shadow) {
    DestroyShadow(shadow);
    // The parent's header was never touched; only the tail goes.
    return m_file->Truncate(m_base_offset + m_top);
}

int32_t LDBStore::RecoverShadowLog(uint32_t address) {
    // Every address changes meaning with the copy: nothing cached may survive it.
    m_pool->Clear();
    LDBHeader shadow;
    if (int32_t rc = shadow.Read(*m_file, m_base_offset + address)) return rc;
    if (shadow.m_magic != LDB_HEADER_MAGIC || !shadow.ChecksumOk() ||
        shadow.m_ldb_invalid != 0 || shadow.m_version != LDB_CURRENT_VERSION ||
        shadow.m_top < LDB_HEADER_SIZE)
        return NYX_INTERNAL_ERROR("LDB RecoverShadowLog: Invalid shadow header", kSource);

    uint8_t* buffer = static_cast<uint8_t*>(std::malloc(LDB_COPY_CHUNK));
    if (buffer == nullptr) return NYX_INTERNAL_ERROR("LDB RecoverShadowLog: out of memory", kSource);
    // Front to back: the source lies ahead of the destination, so no byte is overwritten
    // before it was read.
    int32_t rc = 0;
    for (uint32_t done = LDB_HEADER_SIZE; done < shadow.m_top && rc == 0;) {
        uint32_t left = shadow.m_top - done;
        uint32_t n = left < LDB_COPY_CHUNK ? left : LDB_COPY_CHUNK;
        rc = ReadDevice(address + done, buffer, n);
        if (rc == 0) rc = WriteDevice(done, buffer, n);
        done += n;
    }
    std::free(buffer);
    if (rc != 0) return rc;

    // The body must be on the device before the header that adopts it.
    if ((rc = FlushStore()) != 0) return rc;
    if ((rc = WriteHeader(shadow)) != 0) return rc;
    if ((rc = FlushStore()) != 0) return rc;
    return m_file->Truncate(m_base_offset + shadow.m_top);
}
