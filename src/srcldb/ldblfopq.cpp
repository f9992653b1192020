#include "srcldb/ldblfopq.h"

#include <new>

#include "btkfile.h"
#include "errors/nyxerror.h"
#include "srcldb/ldblf.h"

namespace {

constexpr int32_t kErrorDeleteFile = 405;
constexpr int32_t kErrorRemoveTree = 406;
constexpr int32_t kErrorMakeDirectory = 418;

// A path that isn't there is no failure: the client may have removed it, or never written it.
int32_t DeleteFileIfThere(const nyxString& path) {
    if (!btkPathExists(path.c_str())) return 0;
    if (btkDeleteFile(path.c_str()) == kBtkStatusSuccess) return 0;
    return nyxErrorReport(kErrorDeleteFile, path);
}

int32_t RemoveTreeIfThere(const nyxString& path) {
    if (!btkPathExists(path.c_str())) return 0;
    if (btkRemoveTree(path.c_str()) == kBtkStatusSuccess) return 0;
    return nyxErrorReport(kErrorRemoveTree, path);
}

nyxString PathOf(const PDMc_LF* file) {
    nyxString path;
    file->GetPath(path);
    return path;
}

}  // namespace

LDBFileOp::LDBFileOp(const char* path, int32_t kind) : m_path(path), m_kind(kind) {}

LDBFileOp::~LDBFileOp() = default;

int32_t LDBFileOp::Commit() {
    switch (m_kind) {
        case kDeleteFile: return DeleteFileIfThere(m_path);
        case kDeleteDirectory: return RemoveTreeIfThere(m_path);
        default: return 0;
    }
}

int32_t LDBFileOp::Abort() {
    switch (m_kind) {
        case kNewFile: return DeleteFileIfThere(m_path);
        case kNewDirectory: return RemoveTreeIfThere(m_path);
        default: return 0;
    }
}

LDBFileStampOp::LDBFileStampOp(PDMc_LF* file)
    : LDBFileOp(PathOf(file).c_str(), kFileStamp), m_file(file) {}

LDBFileStampOp::~LDBFileStampOp() = default;

int32_t LDBFileStampOp::Commit() {
    // The record's path now, not at queueing: Localize may have moved it since. A file the
    // client never wrote gets no stamp, and stays modified by its flag.
    if (!btkPathExists(PathOf(m_file).c_str())) return 0;
    return m_file->SetModificationStampFromFile();
}

int32_t LDBFileStampOp::Abort() { return 0; }

int32_t PDMc_LFOPQ::Queue(int32_t kind, const char* path) {
    LDBFileOp* op = new (std::nothrow) LDBFileOp(path, kind);
    if (op != nullptr && kind == LDBFileOp::kNewDirectory &&
        btkMakeDirectory(path) != kBtkStatusSuccess) {
        delete op;
        return nyxErrorReport(kErrorMakeDirectory, path);
    }
    return Append(op);
}

int32_t PDMc_LFOPQ::QueueFileStamp(PDMc_LF* file) {
    return Append(new (std::nothrow) LDBFileStampOp(file));
}

int32_t PDMc_LFOPQ::Append(LDBFileOp* op) {
    if (op == nullptr || !m_ops.InsertLast(&op)) {
        delete op;
        nyxErrorPushInternal("no memory for a file operation", "srcldb/ldblfopq", __LINE__);
    }
    return nyxErrorCurrentCode();
}

int32_t PDMc_LFOPQ::Commit() { return Run(true); }

int32_t PDMc_LFOPQ::Abort() { return Run(false); }

int32_t PDMc_LFOPQ::Run(bool commit) {
    int32_t result = 0;
    nyxListNode* node = commit ? m_ops.Head() : m_ops.Tail();
    while (node != nullptr) {
        LDBFileOp* op = *static_cast<LDBFileOp**>(m_ops.ElementOf(node));
        if (int32_t rc = commit ? op->Commit() : op->Abort()) result = rc;
        node = commit ? node->next : node->prev;
    }
    Discard();
    return result;
}

void PDMc_LFOPQ::Discard() {
    for (nyxListNode* node = m_ops.Head(); node != nullptr; node = node->next)
        delete *static_cast<LDBFileOp**>(m_ops.ElementOf(node));
    m_ops.Clear();
}

int32_t PDMc_LFOPQ::Delete() {
    if (!m_ops.IsEmpty()) {
        nyxErrorPushInternal("PDMc_LFOPQ::Delete", "srcldb/ldblfopq", __LINE__);
        return nyxErrorCurrentCode();
    }
    delete this;
    return 0;
}
