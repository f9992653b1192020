#include "ldbconnection.h"

#include <new>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldblfopq.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcompact.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"
#include "srcldb/ldbupgrade.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"

namespace {
// Every connection of the process. Made at first use, gone at process end; the library is
// used by one thread at a time, so nothing locks it.
nyxSingleListOf<PDMc_LDB*>& Connections() {
    static nyxSingleListOf<PDMc_LDB*> list;
    return list;
}
}  // namespace

PDMc_LDB::PDMc_LDB()
    : PDMc_LDBObject(nullptr, kTypeCode, kClassVersion),
      m_reference_count(0),
      m_store(nullptr),
      m_layout(nullptr),
      m_file_queue(nullptr) {
    // The connection is its own owner; it never goes on a modified list.
    SetOwner(this);
}

PDMc_LDB::~PDMc_LDB() {
    // The store is gone already: a disconnect or a delete destroyed it. A queue that still
    // holds entries refuses to go and stays, rather than drop file operations unrun.
    if (m_file_queue != nullptr) m_file_queue->Delete();
    delete m_layout;
}

PDMc_LDB* PDMc_LDB::FindConnection(const char* path) {
    nyxSingleListOf<PDMc_LDB*>& list = Connections();
    for (nyxListNode* node = list.Head(); node != nullptr; node = node->next) {
        PDMc_LDB* connection = *static_cast<PDMc_LDB**>(list.ElementOf(node));
        if (connection->m_store != nullptr && connection->m_store->File().SamePath(path))
            return connection;
    }
    return nullptr;
}

PDMc_LDB* PDMc_LDB::MakeConnection() {
    PDMc_LDB* connection = new (std::nothrow) PDMc_LDB();
    if (connection == nullptr) return nullptr;
    connection->m_file_queue = new (std::nothrow) PDMc_LFOPQ();
    connection->m_layout = new (std::nothrow) LDBStorageLayout();
    if (connection->m_file_queue == nullptr || connection->m_layout == nullptr) {
        nyxErrorPushInternal("no memory for a connection", "srcldb/ldbconnection", __LINE__);
    } else {
        LDBDefineSchema(*connection->m_layout);
    }
    // Any record on the stack now, old or new, means no connection is made.
    if (!nyxErrorStackEmpty()) {
        delete connection;
        return nullptr;
    }
    PDMc_LDB* element = connection;
    Connections().InsertLast(&element);
    return connection;
}

void PDMc_LDB::DestroyConnection(PDMc_LDB* connection) {
    PDMc_LDB* element = connection;
    Connections().Remove(&element, -1);
    delete connection;
}

PDMc_LDB* PDMc_LDB::CreateDatabase(const nyxString& path) {
    if (FindConnection(path.c_str()) != nullptr) {
        nyxErrorReport(2406, path);
        return nullptr;
    }
    return Attach(path, true);
}

PDMc_LDB* PDMc_LDB::Attach(const nyxString& path, bool create) {
    PDMc_LDB* connection = MakeConnection();
    if (connection == nullptr) return nullptr;
    connection->m_store = create ? LDBStore::CreateStore(connection, path)
                                 : LDBStore::ConnectStore(connection, path);
    if (connection->m_store == nullptr) {
        DestroyConnection(connection);
        return nullptr;
    }
    connection->m_store->SetLayout(connection->m_layout);
    connection->m_store->SetObjectOwner(connection);
    connection->m_reference_count = 1;
    if (connection->EnsureRoot() != 0) {
        // A new file goes again; an existing one is only let go.
        DiscardConnection(connection, create);
        return nullptr;
    }
    return connection;
}

void PDMc_LDB::DiscardConnection(PDMc_LDB* connection, bool removeFile) {
    // Not the disconnect, which waits while a record stands: kept, this connection would hold
    // the file open and locked, and hand its half-made state to every later connect to the path.
    LDBStore* store = connection->m_store;
    connection->m_store = nullptr;
    if (removeFile) store->File().Remove();
    delete store;  // closes the file, which lets go of its lock
    DestroyConnection(connection);
}

PDMc_LDB* PDMc_LDB::ConnectDatabase(const nyxString& path) {
    if (PDMc_LDB* found = FindConnection(path.c_str())) {
        // A failed commit or abort can leave the store without its header's data.
        if (found->m_store->Version() == 0 && found->EnsureRoot() != 0) return nullptr;
        ++found->m_reference_count;
        return found;
    }
    return Attach(path, false);
}

int32_t PDMc_LDB::DisconnectDatabase(PDMc_LDB* connection) {
    if (--connection->m_reference_count > 0) return 0;
    // Refused while a record stands or a transaction is open: the connection waits with its
    // store for the next connect.
    connection->m_reference_count = 0;
    if (int32_t rc = LDBStore::CloseStore(connection->m_store)) return rc;
    connection->m_store = nullptr;
    DestroyConnection(connection);
    return nyxErrorCurrentCode();
}

int32_t PDMc_LDB::EnsureRoot() {
    if (int32_t rc = Start()) return rc;
    if (GetRoot() == nullptr) {
        PDMc_LDBRoot* root = CreateRootObject(this);
        if (root == nullptr) {
            int32_t code = nyxErrorCurrentCode();
            Abort();
            return code;
        }
        m_store->SetRootObject(root);
    }
    return Commit();
}

int32_t PDMc_LDB::Start() { return m_store->StartTransaction(); }

int32_t PDMc_LDB::Commit() {
    // The files first: a deletion that fails leaves the transaction open for the client to
    // end once more, with the queue empty. Deletions done here stay done if the store's commit
    // fails after them; a file can't be taken back.
    if (int32_t rc = m_file_queue->Commit()) return rc;
    if (int32_t rc = m_store->CommitTransaction()) return rc;
    ReleaseEarlierFrames();
    return 0;
}

void PDMc_LDB::ReleaseEarlierFrames() {
    // Only what is loaded already: a walk that loaded workspaces to release them would defeat
    // its purpose.
    PDMc_LDBRoot* root = GetRoot();
    PDMc_LDBMap* workspaces = root != nullptr ? root->LoadedWorkspaces() : nullptr;
    if (workspaces == nullptr) return;
    workspaces->References().VisitEntries(
        [](void*, const nyxString&, const PDMc_LDBRef& reference) {
            PDMc_LDBObject* object = reference.LoadedTarget();
            if (object != nullptr && object->GetTypeCode() == PDMc_WS::kTypeCode)
                static_cast<PDMc_WS*>(object)->ReleaseEarlierFrames();
            return 0;
        },
        nullptr);
}

int32_t PDMc_LDB::Abort() {
    if (int32_t rc = m_file_queue->Abort()) return rc;
    return m_store->AbortTransaction();
}

bool PDMc_LDB::IsInTransaction() const { return m_store->InTransaction(); }

const nyxString& PDMc_LDB::GetPath() const { return m_store->Path(); }

PDMc_LDBRoot* PDMc_LDB::GetRoot() {
    PDMc_LDBObject* root = m_store->GetRoot();
    if (root == nullptr || root->GetTypeCode() != PDMc_LDBRoot::kTypeCode) return nullptr;
    return static_cast<PDMc_LDBRoot*>(root);
}

PDMc_LDB* PDMc_LDB::FromObject(PDMc_LDBObject* object) {
    if (object == nullptr || object->GetTypeCode() != kTypeCode) return nullptr;
    return static_cast<PDMc_LDB*>(object);
}

PDMc_LDB* PDMc_LDB::FromOwner(LDBObjectOwner* owner) { return dynamic_cast<PDMc_LDB*>(owner); }

int32_t PDMc_LDB::QueueNewFile(const char* path) {
    return m_file_queue->Queue(LDBFileOp::kNewFile, path);
}

int32_t PDMc_LDB::QueueNewDirectory(const char* path) {
    return m_file_queue->Queue(LDBFileOp::kNewDirectory, path);
}

int32_t PDMc_LDB::QueueDeleteFile(const char* path) {
    return m_file_queue->Queue(LDBFileOp::kDeleteFile, path);
}

int32_t PDMc_LDB::QueueDeleteDirectory(const char* path) {
    return m_file_queue->Queue(LDBFileOp::kDeleteDirectory, path);
}

int32_t PDMc_LDB::QueueFileStamp(PDMc_LF* file) { return m_file_queue->QueueFileStamp(file); }

PDMc_LDBRef* PDMc_LDB::GetAttrs() {
    PDMc_LDBRoot* root = GetRoot();
    return root ? root->GetAttrs() : nullptr;
}

PDMc_LDBObject* PDMc_LDB::FindOrLoadObject(uint32_t address) {
    return m_store->FindOrLoadObject(address);
}

void PDMc_LDB::AddToModifiedList(PDMc_LDBObject* object) { m_store->AddToModifiedList(object); }

PDMc_LDBMap* PDMc_LDB::RootMap(PDMc_LDBMap* (PDMc_LDBRoot::*which)()) {
    PDMc_LDBRoot* root = GetRoot();
    return root ? (root->*which)() : nullptr;
}

PDMc_LDBObject* PDMc_LDB::FindWorkspace(const char* name) {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetWorkspaces);
    return map ? map->Find(name) : nullptr;
}

PDMc_WS* PDMc_LDB::CreateWorkspace(const char* name, const char* directory) {
    if (FindWorkspace(name) != nullptr) {
        nyxErrorReport(1901, name);
        return nullptr;
    }
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetWorkspaces);
    if (map == nullptr) return nullptr;
    PDMc_WS* workspace = PDMc_WS::Create(this, name, directory);
    if (workspace == nullptr) return nullptr;
    if (!map->Put(name, workspace)) {
        nyxErrorPushInternal("no memory for a workspace", "srcldb/ldbconnection", __LINE__);
        return nullptr;
    }
    return workspace;
}

int32_t PDMc_LDB::RemoveWorkspace(const char* name) {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetWorkspaces);
    if (map == nullptr) return nyxErrorCurrentCode();
    if (!map->RemoveName(name))
        return NYX_INTERNAL_ERROR("a workspace that the root doesn't hold", "srcldb/ldbconnection");
    return 0;
}

PDMc_LDBObject* PDMc_LDB::FindItemTypeDef(const char* name) {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetPITypeDefs);
    return map ? map->Find(name) : nullptr;
}

PDMc_LDBObject* PDMc_LDB::CreateItemTypeDef(const char* name, const char* desc,
                                            const char* editor, const char* viewer,
                                            const char* discriminator) {
    if (FindItemTypeDef(name) != nullptr) {
        nyxErrorReport(1901, name);
        return nullptr;
    }
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetPITypeDefs);
    if (map == nullptr) return nullptr;
    PDMc_LPITD* definition =
        new (std::nothrow) PDMc_LPITD(this, name, desc, editor, viewer, discriminator);
    if (definition == nullptr || !map->Put(name, definition)) {
        nyxErrorPushInternal("no memory for an item type definition", "srcldb/ldbconnection",
                             __LINE__);
        return nullptr;
    }
    return definition;
}

nyxCollection* PDMc_LDB::ItemTypeDefs() { return RootMap(&PDMc_LDBRoot::GetPITypeDefs); }

PDMc_LDBObject* PDMc_LDB::FindAttrDef(const char* name) {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetAttrDefs);
    return map ? map->Find(name) : nullptr;
}

PDMc_LDBObject* PDMc_LDB::CreateAttrDef(const char* name) {
    if (FindAttrDef(name) != nullptr) {
        nyxErrorReport(1901, name);
        return nullptr;
    }
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetAttrDefs);
    if (map == nullptr) return nullptr;
    PDMc_LAD* definition = new (std::nothrow) PDMc_LAD(this, name);
    if (definition == nullptr || !map->Put(name, definition)) {
        nyxErrorPushInternal("no memory for an attribute definition", "srcldb/ldbconnection",
                             __LINE__);
        return nullptr;
    }
    return definition;
}

PDMc_LDBObject* PDMc_LDB::FindDepDef(const char* depClass, int32_t type) {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetDepDefs);
    return map ? map->Find(PDMc_LDBRoot::DepDefKey(depClass, type).c_str()) : nullptr;
}

PDMc_LDBObject* PDMc_LDB::CreateDepDef(const char* depClass, int32_t type) {
    if (FindDepDef(depClass, type) != nullptr) {
        nyxErrorReport(1901, depClass);
        return nullptr;
    }
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetDepDefs);
    if (map == nullptr) return nullptr;
    PDMc_WSDD* definition = new (std::nothrow) PDMc_WSDD(this, depClass, type);
    if (definition == nullptr ||
        !map->Put(PDMc_LDBRoot::DepDefKey(depClass, type).c_str(), definition)) {
        nyxErrorPushInternal("no memory for a dependency definition", "srcldb/ldbconnection",
                             __LINE__);
        return nullptr;
    }
    return definition;
}

nyxCollection* PDMc_LDB::Workspaces() { return RootMap(&PDMc_LDBRoot::GetWorkspaces); }

bool PDMc_LDB::CheckIntegrity() {
    PDMc_LDBMap* map = RootMap(&PDMc_LDBRoot::GetWorkspaces);
    if (map == nullptr) return false;
    // A private copy: the walk must not depend on the map it reads through.
    nyxSingleListOf<void*> workspaces;
    if (LDBForEachElement<PDMc_WS>(*map, [&workspaces](PDMc_WS* workspace) {
            void* element = workspace;
            return workspaces.Insert(&element) ? 0 : NYX_INTERNAL_ERROR("no memory for a list", "srcldb/ldbconnection");
        }) != 0)
        return false;
    bool found = false;
    // The first workspace with a finding ends the walk.
    LDBForEachElement<PDMc_WS>(workspaces, [&found](PDMc_WS* workspace) {
        found = workspace->CheckIntegrity();
        return found ? 1 : 0;
    });
    return found;
}

void PDMc_LDB::UpgradeDatabase(const nyxString& path) {
    if (FindConnection(path.c_str()) != nullptr) {
        nyxErrorReport(2412, path);
        return;
    }
    PDMc_LDB* connection = MakeConnection();
    if (connection == nullptr) return;
    LDBUpgradeDatabase(path, *connection->m_layout, connection);
    DestroyConnection(connection);
}

void PDMc_LDB::CompactDatabase(const nyxString& path, PDMLDBCompactOptions* options) {
    PDMc_LDB* connection = MakeConnection();
    if (connection == nullptr) return;
    LDBCompactDatabase(path, *connection->m_layout, options, connection);
    DestroyConnection(connection);
}
