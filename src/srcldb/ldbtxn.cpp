// Transactions. While one is open the file is open and locked, and clients change objects in
// memory only; the store keeps the list of what changed. Commit writes that list out in one
// pass under an undo log that lies in the file itself, behind the new data; abort throws the
// changes away by reading the objects again.
//
// The crash story of a commit, by where the crash falls:
// - before the marked header reaches the disk: the old, clean header stands, and whatever was
//   written lies above its top, where nothing looks;
// - between the mark and the clean header: the header names the undo log, which is complete
//   on the device, and the next open copies the pre-images back;
// - after the clean header: the new state stands.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "errors/nyxerror.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbpbfr.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstore.h"
#include "srcldb/ldbundolog.h"

namespace {
const char kSource[] = "srcldb/ldbstore";

void EncodeWord(uint8_t* out, uint32_t value) {
    for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
}

// Each commit ends by dropping the cache while PDM_LDB_DEBUG is set, so that every object must
// come back from the file. Read once, at the first commit.
bool DropCacheAfterCommit() {
    static const bool debug = std::getenv("PDM_LDB_DEBUG") != nullptr;
    return debug;
}
}  // namespace

int32_t LDBStore::StartTransaction() {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (m_in_transaction) return nyxErrorReport(2402, Path());
    // A close whose flush failed left the file open and locked; finish it first, or this
    // process would wait for ever on its own lock.
    if (m_file->IsOpen() && m_file->Close() != 0) return nyxErrorCurrentCode();
    // Blocks for as long as another process holds a transaction on the file.
    if (m_file->Open() != 0) {
        // The flush of Close fails on the unopened file as well, which puts 2410 above 2408.
        m_file->Close();
        return nyxErrorCurrentCode();
    }
    LDBHeader header;
    if (ReadHeader(header, true) != 0) {
        m_file->Close();
        return nyxErrorCurrentCode();
    }
    // Another process committed since this store last looked (or this is the first start):
    // nothing cached can be trusted.
    if (header.m_stamp != m_stamp) {
        ClearCache();
        m_pool->Clear();
        TakeFromHeader(header);
    }
    m_in_transaction = true;
    return 0;
}

int32_t LDBStore::CommitTransaction() {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (!m_in_transaction) return nyxErrorReport(2401, Path());

    if (!m_modified.IsEmpty()) {
        const uint32_t oldTop = m_top;

        // Everything this commit will write lies between the old top and E; the undo log
        // goes right behind E, where no write of the commit can reach it.
        uint32_t size = 0;
        for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
            PDMc_LDBObject* object = walk.Object();
            if (!object->IsDeleted()) size += SizeForStore(object);
        }
        m_expected_top = oldTop + size;

        if (LogPreImages() != 0 || !nyxErrorStackEmpty()) return FailCommit();
        if (WriteUndoLog(m_expected_top) != 0) return FailCommit();
        if (MarkHeader(m_expected_top) != 0) return FailCommit();

        // Pages made from here on read nothing past the old data: the file behind it holds
        // the log, or nothing at all.
        m_pool->RaiseDeviceHigh(oldTop - 1);
        // Every object that will be stored gets its address before the first one is written,
        // so that references between new objects come out right in any list order.
        for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
            PDMc_LDBObject* object = walk.Object();
            if (object->IsNew() && !object->IsDeleted() && AssignAddress(object) != 0)
                return FailCommit();
        }
        if (WriteModifiedObjects() != 0) return FailCommit();
        if (m_top != m_expected_top) {
            nyxErrorPushInternal("Error in Object Size Calculation", kSource, __LINE__);
            return FailCommit();
        }
        m_modified.Clear();
        if (!nyxErrorStackEmpty()) return FailCommit();

        // The commit point: the clean header, with the new top and stamp and no mark.
        if (WriteCleanHeader() != 0) return FailCommit();
    }
    m_file->Close();
    if (DropCacheAfterCommit()) ClearCache();
    m_in_transaction = false;
    return nyxErrorCurrentCode();
}

int32_t LDBStore::LogPreImages() {
    // The records that the commit overwrites, in list order: the log's order.
    struct Record {
        uint32_t address;
        uint32_t size;
        size_t offset;  // of its pre-image among all of them
    };
    std::vector<Record> records;
    size_t total = 0;
    for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
        PDMc_LDBObject* object = walk.Object();
        if (object->IsNew() || object->IsDeleted()) continue;
        const LDBClassDescriptor* descriptor = DescriptorOf(object->GetTypeCode());
        if (descriptor == nullptr) return nyxErrorCurrentCode();
        uint32_t size = descriptor->GetFixedSize();
        if (size >= LDB_MAX_OBJECT_SIZE)
            return NYX_INTERNAL_ERROR("Error - reReadArray[LDB_MAX_OBJECT_SIZE] <= objectSize",
                                      kSource);
        records.push_back(Record{object->GetStorageAddress(), size, total});
        total += size;
    }
    // Straight from the file: the pool is clean between commits, so the file holds exactly what
    // each record is now. The records are read in address order, neighbours in one read, so
    // that a commit of many small records doesn't make a system call for each.
    std::vector<uint8_t> images(total);
    std::vector<uint32_t> order(records.size());
    for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(), [&records](uint32_t a, uint32_t b) {
        return records[a].address < records[b].address;
    });
    constexpr uint32_t kGap = 4096;
    constexpr uint32_t kLongestRun = 256 * 1024;
    std::vector<uint8_t> run;
    for (size_t first = 0; first < order.size();) {
        const uint32_t start = records[order[first]].address;
        uint64_t end = static_cast<uint64_t>(start) + records[order[first]].size;
        size_t last = first + 1;
        while (last < order.size()) {
            const Record& next = records[order[last]];
            if (next.address > end + kGap || next.address + next.size - start > kLongestRun) break;
            end = std::max<uint64_t>(end, static_cast<uint64_t>(next.address) + next.size);
            ++last;
        }
        run.resize(static_cast<size_t>(end - start));
        if (int32_t rc = ReadDevice(start, run.data(), static_cast<uint32_t>(run.size())))
            return rc;
        for (size_t k = first; k < last; ++k) {
            const Record& record = records[order[k]];
            std::memcpy(&images[record.offset], &run[record.address - start], record.size);
        }
        first = last;
    }
    for (const Record& record : records) {
        uint8_t head[8];
        EncodeWord(head, record.address);
        EncodeWord(head + 4, record.size);
        if (int32_t rc = m_undo_log->Append(head, sizeof head)) return rc;
        if (int32_t rc = m_undo_log->Append(&images[record.offset], record.size)) return rc;
    }
    return 0;
}

int32_t LDBStore::WriteUndoLog(uint32_t address) {
    int32_t rc = 0;
    for (const LDBUndoChunk* chunk = m_undo_log->FirstChunk(); chunk != nullptr && rc == 0;
         chunk = chunk->Next()) {
        if (chunk->Used() == 0) continue;
        rc = WriteDevice(address, chunk->Bytes(), chunk->Used());
        address += chunk->Used();
    }
    static const uint8_t kEnd[4] = {0, 0, 0, 0};
    if (rc == 0) rc = WriteDevice(address, kEnd, sizeof kEnd);
    m_undo_log->Reset();
    if (rc != 0) return rc;
    // The log must be on the device before the header names it: a crash between the two would
    // otherwise leave changed records with nothing to roll them back.
    return FlushStore();
}

int32_t LDBStore::MarkHeader(uint32_t undoAddress) {
    if (int32_t rc = FlushStore()) return rc;
    LDBHeader header;
    // Without recovery: a header that is already marked fails here.
    if (int32_t rc = ReadHeader(header, false)) return rc;
    if (header.m_stamp != m_stamp) {
        // The lock keeps every other writer out; a changed stamp means it was broken.
        nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, 101, NYX_SEVERITY_ERROR,
                         "LDB lock failure - invalid file header", kSource, __LINE__);
        return nyxErrorCurrentCode();
    }
    header.m_ldb_invalid = undoAddress;
    if (int32_t rc = WriteHeader(header)) return rc;
    // The mark must be on the device before any record is overwritten in place.
    return FlushStore();
}

int32_t LDBStore::WriteModifiedObjects() {
    for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
        PDMc_LDBObject* object = walk.Object();
        if (object->IsDeleted()) {
            // Its record stays as dead bytes until a compaction; nothing refers to it.
            RemoveObject(object);
            walk.Forget();
        } else if (int32_t rc = StoreObject(object)) {
            return rc;
        }
    }
    return 0;
}

void LDBStore::RefreshFromHeader() {
    LDBHeader header;
    if (ReadHeader(header, false) == 0) {
        TakeFromHeader(header);
        return;
    }
    // A header still marked by this commit: the store forgets everything, and its next start
    // finds a different stamp and repairs the file.
    m_version = 0;
    m_top = 0;
    SetRootAddress(0);
    m_stamp = 0;
}

int32_t LDBStore::FailCommit() {
    RefreshFromHeader();
    m_file->Close();
    ClearCache();
    m_pool->Clear();
    m_undo_log->Reset();
    m_in_transaction = false;
    return nyxErrorCurrentCode();
}

int32_t LDBStore::AbortTransaction() {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (!m_in_transaction) return nyxErrorReport(2401, Path());
    for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
        PDMc_LDBObject* object = walk.Object();
        if (object->IsNew())
            RemoveObject(object);
        else
            ReloadObject(object);
    }
    m_modified.Clear();
    RefreshFromHeader();
    m_file->Close();
    if (m_pool->HasModifiedPages()) {
        m_pool->Clear();
        nyxErrorPushInternal("PoolContainsModifiedPages", kSource, __LINE__);
    }
    if (!nyxErrorStackEmpty()) ClearCache();
    m_in_transaction = false;
    return nyxErrorCurrentCode();
}
