// LDBStore: one store in one file. It owns the file (a shadow store borrows its parent's), the
// page pool through which object data moves, and the undo log of a commit. Header and log go
// straight to the file; everything else passes through the pool.
//
// Addresses count from the store's base offset: 0 for a store a client opens, the parent's top
// for a shadow store laid at the tail of its parent's file. Space is handed out by moving top
// upward and is never given back.
#pragma once

#include <cstdint>

#include "ldbheader.h"
#include "ldbstgfile.h"
#include "nyxstring.h"

class PDMc_LDB;
class LDBPagePool;
class LDBUndoLog;

// Bytes moved per step when a shadow store's body is copied to the front of the file.
constexpr uint32_t LDB_COPY_CHUNK = 32768;
// The expected top of a shadow store: it may grow without limit.
constexpr uint32_t LDB_UNLIMITED_TOP = 0xFFFFFFFF;

class LDBStore {
public:
    LDBStore(PDMc_LDB* connection, const nyxString& path);
    ~LDBStore();
    LDBStore(const LDBStore&) = delete;
    LDBStore& operator=(const LDBStore&) = delete;

    // True when the constructor got all it needed; a store that isn't valid is only destroyed.
    bool Valid() const;

    // Makes a new store file of exactly one clean header; null after a failure, or at once
    // while a record stands on the error stack.
    static LDBStore* CreateStore(PDMc_LDB* connection, const nyxString& path);
    // Opens an existing file for the header check (repairing it if need be) and closes it
    // again; null after a failure, or at once while a record stands.
    static LDBStore* ConnectStore(PDMc_LDB* connection, const nyxString& path);
    // Destroys the store object; refuses (2402) while its transaction is open.
    static int32_t CloseStore(LDBStore* store);
    // Repairs the file if needed, deletes it and destroys the store object.
    static int32_t DeleteStore(LDBStore* store);

    int32_t ReadRawHeader(LDBHeader& header);
    int32_t WriteHeader(LDBHeader& header);
    int32_t WriteInitialHeader(LDBHeader& header);
    // The full check of an opened file: magic, checksum, format tag, repair, version.
    int32_t ReadHeader(LDBHeader& header, bool allowRecovery);

    // Direct file access at base offset plus address, below the pool.
    int32_t ReadDevice(uint32_t address, void* buffer, uint32_t count);
    int32_t WriteDevice(uint32_t address, const void* buffer, uint32_t count);
    // The addresses that may hold object data: from the header's end to top - 1.
    void AddressRange(uint32_t& low, uint32_t& high) const;
    // Every modified page to the file, then the file to the device.
    int32_t FlushStore();

    // The present top; top goes up by size. Passing the expected top is reported (the commit
    // fails at its next test of the stack), but the old top comes back in any case.
    uint32_t Allocate(uint32_t size);
    // The same, giving 0 or the code of the report.
    int32_t Allocate(uint32_t size, uint32_t& address);

    // The shadow store: a complete store in miniature at the tail of this one's file, which
    // replaces the file's content in one recoverable step.
    LDBStore* MakeShadow();
    int32_t CommitShadow(LDBStore* shadow);
    int32_t AbortShadow(LDBStore* shadow);
    // Copies the shadow store whose header lies at address to the front of the file.
    int32_t RecoverShadowLog(uint32_t address);

    LDBStorageFile& File() { return *m_file; }
    const nyxString& Path() const { return m_file->Path(); }
    PDMc_LDB* Connection() const { return m_connection; }
    LDBPagePool& Pool() { return *m_pool; }
    LDBUndoLog& UndoLog() { return *m_undo_log; }

    uint32_t Version() const { return m_version; }
    uint32_t Stamp() const { return m_stamp; }
    uint32_t Top() const { return m_top; }
    uint32_t ExpectedTop() const { return m_expected_top; }
    uint32_t BaseOffset() const { return m_base_offset; }
    uint32_t RootAddress() const { return m_root_address; }
    bool InTransaction() const { return m_in_transaction; }

    // For the jobs that hold a store by hand (compaction, upgrade) rather than through
    // StartTransaction.
    void SetInTransaction(bool inTransaction) { m_in_transaction = inTransaction; }
    void SetRootAddress(uint32_t address) { m_root_address = address; }
    void SetTop(uint32_t top) { m_top = top; }
    // Version, top, root and stamp as the header gives them.
    void TakeFromHeader(const LDBHeader& header);

private:
    // Brings a marked file back to a consistent state; 0 or the code on the stack.
    int32_t Recover(LDBHeader& header);
    // The closing header of a commit: flushed data, a clean header with the next stamp, flushed.
    // This one write is what makes a commit durable.
    int32_t WriteCleanHeader();
    // Marks the file's header as a shadow commit in progress, after checking that nobody else
    // changed the file.
    int32_t CommitShadowLog();
    // Takes the borrowed file away from a shadow store and destroys it.
    static void DestroyShadow(LDBStore* shadow);

    PDMc_LDB* m_connection;
    uint32_t m_version;
    uint32_t m_stamp;          // m_stamp as last read or written; 0 before the first transaction
    uint32_t m_root_address;
    uint32_t m_top;
    bool m_in_transaction;
    LDBStorageFile* m_file;
    bool m_owns_file;          // false in a shadow store
    LDBUndoLog* m_undo_log;
    uint32_t m_expected_top;   // what top must reach at the end of a commit
    uint32_t m_base_offset;    // file position of address 0
    LDBPagePool* m_pool;
};
