// LDBStore: one store in one file. It owns the file (a shadow store borrows its parent's) and
// reaches it only through the header operations below and, later, the page pool.
#pragma once

#include <cstdint>

#include "ldbheader.h"
#include "ldbstgfile.h"
#include "nyxstring.h"

class PDMc_LDB;

class LDBStore {
public:
    LDBStore(PDMc_LDB* connection, const nyxString& path);
    ~LDBStore();
    LDBStore(const LDBStore&) = delete;
    LDBStore& operator=(const LDBStore&) = delete;

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

    LDBStorageFile& File() { return *m_file; }
    const nyxString& Path() const { return m_file->Path(); }
    PDMc_LDB* Connection() const { return m_connection; }
    uint32_t Version() const { return m_version; }
    bool InTransaction() const { return m_in_transaction; }

private:
    // Brings a marked file back to a consistent state; 0 or the code on the stack.
    int32_t Recover(LDBHeader& header);

    PDMc_LDB* m_connection;
    uint32_t m_version;
    uint32_t m_stamp;
    uint32_t m_top;
    bool m_in_transaction;
    LDBStorageFile* m_file;
    bool m_owns_file;
    uint32_t m_expected_top;
    uint32_t m_base_offset;
};
