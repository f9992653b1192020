// LDBStore: one store in one file. It owns the file (a shadow store borrows its parent's), the
// page pool through which object data moves, the undo log of a commit, and the table of the
// objects loaded from it. Header and log go straight to the file; everything else passes
// through the pool.
//
// An object's address is its identity, and the table holds at most one object per address.
// Objects change in memory only; the store writes them at commit, under an undo log, and
// rereads them at abort. Between transactions the file is closed and unlocked.
//
// Addresses count from the store's base offset: 0 for a store a client opens, the parent's top
// for a shadow store laid at the tail of its parent's file. Space is handed out by moving top
// upward and is never given back.
#pragma once

#include <cstdint>

#include "ldbheader.h"
#include "ldbstgfile.h"
#include "nyxstring.h"
#include "srcldb/ldbarena.h"
#include "srcldb/ldbobjecttable.h"
#include "srcldb/ldbobjectowner.h"
#include "srcldb/ldbref.h"

class PDMc_LDB;
class PDMc_LDBObject;
class LDBClassDescriptor;
class LDBCursor;
class LDBPagePool;
class LDBStorageLayout;
class LDBUndoLog;

// Bytes moved per step when a shadow store's body is copied to the front of the file.
constexpr uint32_t LDB_COPY_CHUNK = 32768;
// The expected top of a shadow store: it may grow without limit.
constexpr uint32_t LDB_UNLIMITED_TOP = 0xFFFFFFFF;

class LDBStore final : public LDBObjectOwner {
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

    // Transactions. Start opens and locks the file and drops the cache if another process
    // committed since; commit writes the modified list under the undo log and closes; abort
    // rereads what changed and closes. Each gives 0 or the code on the error stack, and none
    // acts while a record stands on it.
    int32_t StartTransaction();
    int32_t CommitTransaction();
    int32_t AbortTransaction();

    // The object at address, from the table or read from the file; null when none can be made.
    PDMc_LDBObject* FindOrLoadObject(uint32_t address) override;
    // The same, for a caller that expects a class: a record of another class is an error.
    PDMc_LDBObject* FindOrLoadObjectOfType(uint32_t address, uint8_t typeCode);
    void AddToModifiedList(PDMc_LDBObject* object) override;
    PDMc_LDBObject* GetRoot();
    void SetRootObject(PDMc_LDBObject* object);
    // The class descriptor that objects of the code are read and written by, or null.
    const LDBClassDescriptor* StorageDescriptor(uint8_t typeCode) const;

    // Enters a loaded object under address; "Duplicate key in LDB object table" if the address
    // is taken.
    int32_t AddToTable(PDMc_LDBObject* object, uint32_t address);
    // Takes the object out of the table (if it has an address) and destroys it.
    void RemoveObject(PDMc_LDBObject* object);
    // Writes the object's record at its address, and new blocks for its strings and lists.
    int32_t StoreObject(PDMc_LDBObject* object);
    // Reads the object's members again from its record, dropping every change in memory.
    int32_t ReloadObject(PDMc_LDBObject* object);
    // The bytes StoreObject will allocate for the object.
    uint32_t SizeForStore(PDMc_LDBObject* object);
    // Gives a new object its place at the top and enters it in the table.
    int32_t AssignAddress(PDMc_LDBObject* object);
    // Destroys every loaded object and forgets the modified list: every pointer to an object
    // of this store is dead afterwards.
    void ClearCache();

    const LDBObjectTable& Objects() const { return m_objects; }
    const LDBModifiedList& ModifiedList() const { return m_modified; }
    // The layout belongs to the connection; the store only reads it.
    void SetLayout(const LDBStorageLayout* layout) { m_layout = layout; }
    // The owner that loaded objects and their references are given: the store itself, unless
    // the connection stands in for it.
    void SetObjectOwner(LDBObjectOwner* owner) { m_object_owner = owner; }

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
    uint32_t RootAddress() const { return m_root.GetKey(); }
    bool InTransaction() const { return m_in_transaction; }

    // For the jobs that hold a store by hand (compaction, upgrade) rather than through
    // StartTransaction.
    void SetInTransaction(bool inTransaction) { m_in_transaction = inTransaction; }
    // The root becomes an unresolved address, loaded when next asked for.
    void SetRootAddress(uint32_t address) { m_root.Set(m_object_owner, address); }
    void SetTop(uint32_t top) { m_top = top; }
    // Version, top, root and stamp as the header gives them.
    void TakeFromHeader(const LDBHeader& header);

private:
    // Brings a marked file back to a consistent state; 0 or the code on the stack, with 2417
    // on top after a failed repair.
    int32_t Recover(LDBHeader& header);
    // Replays the undo log at address and clears the mark. top is the marked header's, which
    // no logged record may pass.
    int32_t RecoverUndo(uint32_t address, uint32_t top);
    // Copies each pre-image of the log at address back to its record, in file order, up to the
    // log's terminating 0. Gives the code on the stack.
    int32_t RestoreUndoLog(uint32_t address, uint32_t top);
    // The closing header of a commit: flushed data, a clean header with the next stamp, flushed.
    // This one write is what makes a commit durable.
    int32_t WriteCleanHeader();
    // Marks the file's header as a shadow commit in progress, after checking that nobody else
    // changed the file.
    int32_t CommitShadowLog();
    // Takes the borrowed file away from a shadow store and destroys it.
    static void DestroyShadow(LDBStore* shadow);

    // The steps of a commit, in the order CommitTransaction runs them.
    int32_t LogPreImages();
    int32_t WriteUndoLog(uint32_t address);
    int32_t MarkHeader(uint32_t undoAddress);
    int32_t WriteModifiedObjects();
    // What a failed commit or an abort leaves: the store as the file's header says, or all 0
    // when the header can't be read.
    void RefreshFromHeader();
    int32_t FailCommit();

    // Reads the members of a record whose two leading bytes the cursor has passed.
    int32_t LoadMembers(PDMc_LDBObject* object, uint8_t typeCode, LDBCursor& cursor);
    // The descriptor of the object's class; an internal error when there is none.
    const LDBClassDescriptor* DescriptorOf(uint8_t typeCode);

    PDMc_LDB* m_connection;
    uint32_t m_version;
    uint32_t m_stamp;          // m_stamp as last read or written; 0 before the first transaction
    PDMc_LDBRef m_root;
    uint32_t m_top;
    // Where the objects loaded from the file live: it outlives the table, which holds them.
    LDBArena m_arena;
    LDBObjectTable m_objects;
    LDBModifiedList m_modified;  // in the order of first change within the transaction
    bool m_in_transaction;
    const LDBStorageLayout* m_layout;
    LDBStorageFile* m_file;
    bool m_owns_file;          // false in a shadow store
    LDBUndoLog* m_undo_log;
    uint32_t m_expected_top;   // what top must reach at the end of a commit
    uint32_t m_base_offset;    // file position of address 0
    LDBPagePool* m_pool;
    LDBObjectOwner* m_object_owner;
};
