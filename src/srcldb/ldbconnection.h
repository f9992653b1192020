// PDMc_LDB: one open database in this process, what a client holds as an LDB handle. It owns
// the store, the storage layout and the file operation queue, counts its connects, and is the
// owner of every object of its store. One file has at most one connection in a process: more
// connects to it, by any spelling of its path, share that connection and count up.
//
// A connection is built (count 0, no store), connected (count 1 or more), or waiting (count 0
// with a store, after a disconnect that was refused; the next connect revives it).
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbobjectowner.h"

class LDBStore;
class LDBStorageLayout;
class PDMc_LF;
class PDMc_LFOPQ;
class PDMc_LDBRoot;
class PDMc_LDBMap;
class PDMc_WS;
class nyxCollection;
struct PDMLDBCompactOptions;

class PDMc_LDB final : public PDMc_LDBObject, public LDBObjectOwner {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_CONNECTION;
    static constexpr uint8_t kClassVersion = 1;

    ~PDMc_LDB() override;

    // The connection whose store's file is the same file, or null.
    static PDMc_LDB* FindConnection(const char* path);
    // A new connection with its layout and schema and an empty queue, entered on the list;
    // null while any record stands on the error stack.
    static PDMc_LDB* MakeConnection();
    static void DestroyConnection(PDMc_LDB* connection);

    static PDMc_LDB* CreateDatabase(const nyxString& path);
    static PDMc_LDB* ConnectDatabase(const nyxString& path);
    static int32_t DisconnectDatabase(PDMc_LDB* connection);
    // The failure path of a create or connect, which no client holds: the connection goes with
    // its store whatever stands on the error stack, and a new file with them.
    static void DiscardConnection(PDMc_LDB* connection, bool removeFile);

    // Runs one transaction that makes the root with its four maps if the file has none.
    int32_t EnsureRoot();

    int32_t Start();
    // The file queue's step first; only if it succeeded the store's.
    int32_t Commit();
    int32_t Abort();
    bool IsInTransaction() const;
    const nyxString& GetPath() const;
    // The root object, loaded if need be; null when the store has none yet.
    PDMc_LDBRoot* GetRoot();

    // Every change a transaction makes to files on disk goes through these, so that commit and
    // abort settle it (see PDMc_LFOPQ). Each gives the error stack's code.
    // A file the client will now write: it goes again if the transaction aborts.
    int32_t QueueNewFile(const char* path);
    // A new workspace's directory, made at once: it goes with all it holds at abort.
    int32_t QueueNewDirectory(const char* path);
    // A file out of use: it goes at commit.
    int32_t QueueDeleteFile(const char* path);
    // A deleted workspace's directory: it goes with all it holds at commit.
    int32_t QueueDeleteDirectory(const char* path);
    // A file just made or made local: its stamp is taken at commit.
    int32_t QueueFileStamp(PDMc_LF* file);

    // Lookups on the root's maps give the object or null and push nothing. The creators push
    // 1901 (the key; for a dependency definition the class) when the key is taken.
    PDMc_LDBObject* FindWorkspace(const char* name);
    // A new workspace with its directory, entered in the root under its name.
    PDMc_WS* CreateWorkspace(const char* name, const char* directory);
    // Takes the workspace of the name out of the root: 0, or the code of the failure.
    int32_t RemoveWorkspace(const char* name);
    PDMc_LDBObject* FindItemTypeDef(const char* name);
    PDMc_LDBObject* CreateItemTypeDef(const char* name, const char* desc, const char* editor,
                                      const char* viewer, const char* discriminator);
    // The live map of item type definitions, for a cursor; null when the root can't be had.
    nyxCollection* ItemTypeDefs();
    PDMc_LDBObject* FindAttrDef(const char* name);
    PDMc_LDBObject* CreateAttrDef(const char* name);
    PDMc_LDBObject* FindDepDef(const char* depClass, int32_t type);
    PDMc_LDBObject* CreateDepDef(const char* depClass, int32_t type);
    // The live map of workspaces, for a cursor; null when the root can't be had.
    nyxCollection* Workspaces();
    // True when the check of some workspace printed a finding.
    bool CheckIntegrity();

    // Upgrades the file of an older format in place; refused (2412) while it is connected.
    static void UpgradeDatabase(const nyxString& path);
    // Compacts the file through a store of the moment. A connection of this process to the
    // same file is not asked: the stamp makes its users reload after the job.
    static void CompactDatabase(const nyxString& path, PDMLDBCompactOptions* options);

    LDBStore* Store() const { return m_store; }
    const LDBStorageLayout* Layout() const { return m_layout; }
    PDMc_LFOPQ* FileQueue() const { return m_file_queue; }
    int32_t ReferenceCount() const { return m_reference_count; }

    // A handle of either kind gives back the connection.
    static PDMc_LDB* FromObject(PDMc_LDBObject* object);
    // The connection behind an object's owner; null for an owner of another kind.
    static PDMc_LDB* FromOwner(LDBObjectOwner* owner);

    // PDMc_LDBObject: the connection has no record; its attribute holder is the root's.
    const char* GetClassName() const override { return "PDMc_LDB"; }
    PDMc_LDBRef* GetAttrs() override;

    // LDBObjectOwner: objects reach their store through the connection.
    PDMc_LDBObject* FindOrLoadObject(uint32_t address) override;
    void AddToModifiedList(PDMc_LDBObject* object) override;
    // After a commit: what the tables of the states that aren't current keep beside them to be
    // searched fast goes from memory; it is made again if such a table is searched.
    void ReleaseEarlierFrames();

private:
    PDMc_LDB();

    // A new connection round a store made (create) or opened for the path, with its root.
    static PDMc_LDB* Attach(const nyxString& path, bool create);

    // One of the root's four maps; null when the root or the map can't be had.
    PDMc_LDBMap* RootMap(PDMc_LDBMap* (PDMc_LDBRoot::*which)());

    int32_t m_reference_count;
    LDBStore* m_store;
    LDBStorageLayout* m_layout;
    PDMc_LFOPQ* m_file_queue;
};
