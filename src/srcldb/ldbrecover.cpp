// Recovery. There is no separate recovery run: every open reads the header through ReadHeader,
// and a mark in m_ldb_invalid sends it through the repair first, whichever process left it.
//
// The crash story of a repair, by where the crash falls:
// - while the undo log is replayed: the mark still names the log, which is whole, and the
//   records go back to the same places again; replaying twice does no harm;
// - after the replay, before the cleared header reaches the disk: the same, once more;
// - while a shadow store is copied to the front: the mark still says so, and the next open
//   copies again from the start (see ldbshadow.cpp).
// A failed repair leaves the mark in place, so the file refuses normal use and each later open
// tries again.
#include "errors/nyxerror.h"
#include "srcldb/ldbcodec.h"
#include "srcldb/ldbpbfr.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstore.h"

namespace {
const char kSource[] = "srcldb/ldbstore";
constexpr uint32_t kUndoRecordHead = 8;  // target address and size
}

int32_t LDBStore::ReadHeader(LDBHeader& header, bool allowRecovery) {
    for (;;) {
        if (int32_t rc = ReadRawHeader(header)) return rc;
        if (header.m_format_tag != 0 && header.m_format_tag != LDB_FORMAT_TAG_ALT)
            return nyxErrorReport(2405, Path(), header.m_format_tag);
        if (header.m_ldb_invalid == 0) break;
        // Recovery runs at most once: a header still marked after it is beyond repair here.
        if (!allowRecovery) return NYX_INTERNAL_ERROR("LDB ReadHeader: Recovery failed", kSource);
        if (int32_t rc = Recover(header)) return rc;
        allowRecovery = false;
    }
    // An older file is repaired before it is refused as older, so that its upgrade starts
    // from a consistent file.
    if (header.m_version == LDB_CURRENT_VERSION) return 0;
    int32_t code = header.m_version > LDB_CURRENT_VERSION ? 2404 : 2416;
    return nyxErrorReport(code, Path(), header.VersionText());
}

int32_t LDBStore::Recover(LDBHeader& header) {
    // Nothing of this system writes the plain mark: the file is left exactly as it is.
    if (header.m_ldb_invalid == LDB_INVALID_MARK) return nyxErrorReport(2411, Path());
    int32_t rc = header.m_ldb_invalid == LDB_INVALID_SHADOW
                     ? RecoverShadowLog(header.m_top)
                     : RecoverUndo(header.m_ldb_invalid, header.m_top);
    if (rc == 0) return 0;
    nyxErrorReport(2417, Path());
    return nyxErrorCurrentCode();
}

int32_t LDBStore::RecoverUndo(uint32_t address, uint32_t top) {
    // Pages cached from before the interrupted commit may hold what the replay overwrites;
    // the replay itself goes straight to the file.
    m_pool->Clear();
    if (int32_t rc = RestoreUndoLog(address, top)) return rc;
    // The restored records must be on the device before the mark goes: a crash between the
    // two would otherwise leave a clean header over half-restored records.
    if (int32_t rc = FlushStore()) return rc;
    LDBHeader header;
    if (int32_t rc = ReadRawHeader(header)) return rc;
    // Stamp and top stay: the file is again exactly what it was at that stamp, so a process
    // whose cache carries the stamp may keep its cache.
    header.m_ldb_invalid = 0;
    if (int32_t rc = WriteHeader(header)) return rc;
    return FlushStore();
}

int32_t LDBStore::RestoreUndoLog(uint32_t address, uint32_t top) {
    uint8_t preImage[LDB_MAX_OBJECT_SIZE];
    for (;;) {
        uint8_t head[kUndoRecordHead];
        if (ReadDevice(address, head, 4) != 0) break;
        uint32_t target = LDBDecodeU32(head);
        if (target == 0) break;  // the log's end
        if (ReadDevice(address + 4, head + 4, 4) != 0) break;
        uint32_t size = LDBDecodeU32(head + 4);
        if (size >= LDB_MAX_OBJECT_SIZE) {
            nyxErrorPushInternal(
                "Error - buffer[PDM_LDB_MAX_OBJECT_SIZE] <= size inside RestoreUndoLog()",
                kSource, __LINE__);
            break;
        }
        // A commit logs only records that stood below the old top; anything else is damage,
        // and writing it would reach the header or the log itself.
        if (target < LDB_HEADER_SIZE || target > top || size > top - target) {
            nyxErrorPushInternal("LDB RestoreUndoLog: record outside the store", kSource,
                                 __LINE__);
            break;
        }
        if (ReadDevice(address + kUndoRecordHead, preImage, size) != 0) break;
        if (WriteDevice(target, preImage, size) != 0) break;
        address += kUndoRecordHead + size;
    }
    return nyxErrorCurrentCode();
}
