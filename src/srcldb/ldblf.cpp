#include "srcldb/ldblf.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "btkfile.h"
#include "btkpath.h"
#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldbws/ws.h"

namespace {

constexpr int32_t kErrorWrongFileState = 401;

// What follows the last separator of any kind, or the whole path, as btkPathFileName gives it;
// taken straight from the text, so that a path longer than a btkPath can't overrun a buffer.
const char* FileNameOf(const char* path) {
    const char* separator = btkPathLastSeparator(path);
    return separator != nullptr ? separator + 1 : path;
}

}  // namespace

PDMc_LF::PDMc_LF() = default;

PDMc_LF::PDMc_LF(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LF::PDMc_LF(const PDMc_LF& other)
    : PDMc_LDBObject(other),
      m_file_name(other.m_file_name),
      m_local_path(other.m_local_path),
      m_host_name(other.m_host_name),
      m_file_version(other.m_file_version),
      m_rep_obj_id(other.m_rep_obj_id),
      m_is_modified(other.m_is_modified),
      m_modification_stamp(other.m_modification_stamp) {}

PDMc_LF* PDMc_LF::Create(PDMc_LDB* connection, const char* path, int32_t fileVersion) {
    PDMc_LF* file = new (std::nothrow) PDMc_LF(connection);
    if (file == nullptr) {
        nyxErrorPushInternal("no memory for a local file", "srcldb/ldblf", __LINE__);
        return nullptr;
    }
    file->m_local_path = path;
    file->m_file_version = fileVersion;
    file->m_is_modified = true;
    file->m_file_name = FileNameOf(path);
    // The stamp is taken at commit, once the client has had the chance to write the file.
    connection->QueueFileStamp(file);
    return file;
}

const char* PDMc_LF::GetClassName() const { return "PDMc_LF"; }

void PDMc_LF::GetPath(nyxString& out) const {
    if (IsRepositoryFile()) {
        if (m_host_name.IsEmpty()) {
            out = m_local_path;
        } else {
            out = m_host_name;
            out.Append(":").Append(m_local_path.c_str());
        }
        return;
    }
    out = m_local_path;
    // Each version is a file of its own beside the older ones, which undo may still need.
    if (m_file_version > 0) {
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, ".%d", static_cast<int>(m_file_version));
        out.Append(suffix);
    }
}

int32_t PDMc_LF::GetFileStamp(uint32_t* stamp) const {
    nyxString path;
    GetPath(path);
    if (path.Length() >= kBtkPathSize) return kLFErrorNoFileStamp;
    btkPath native;
    btkPath portable;
    btkPathToNative(native, path.c_str());
    btkPathToPortable(native, portable);
    int32_t time = 0;
    if (btkGetFileTime(portable, &time) != kBtkStatusSuccess) return kLFErrorNoFileStamp;
    *stamp = static_cast<uint32_t>(time);
    return 0;
}

bool PDMc_LF::IsModified() {
    if (!m_is_modified && m_modification_stamp != 0) {
        uint32_t now = 0;
        // In memory only: the stored flag stays, so the answer follows the file's time.
        if (GetFileStamp(&now) == 0) m_is_modified = now != m_modification_stamp;
    }
    return m_is_modified;
}

void PDMc_LF::SetModified(bool modified) {
    MarkModified();
    m_is_modified = modified;
}

int32_t PDMc_LF::SetModificationStampFromFile() {
    if (IsRepositoryFile()) return nyxErrorReport(kErrorWrongFileState, "");
    // No MarkModified: the record is on the modified list already, since Create and Localize
    // queue the stamp in the transaction that changed it.
    if (GetFileStamp(&m_modification_stamp) != 0) {
        std::printf(" PDMc_LF::SetModificationStampFromFile :  File inaccesible %s \n",
                    m_local_path.c_str());
    }
    return 0;
}

int32_t PDMc_LF::Localize(PDMc_WS* workspace) {
    if (!IsRepositoryFile()) return 0;
    MarkModified();
    m_local_path = workspace->GetOsDirPath();
    m_local_path.Append("|").Append(m_file_name.c_str());
    m_host_name.Clear();
    m_file_version = workspace->NextFileVersion();
    m_rep_obj_id = 0;
    // Clean until the commit takes the stamp of what the client puts at the new path; from
    // then on a changed time makes it modified.
    m_is_modified = false;
    m_modification_stamp = 0;
    if (PDMc_LDB* connection = PDMc_LDB::FromOwner(GetOwner()))
        connection->QueueFileStamp(this);
    else
        nyxErrorPushInternal("a local file without a connection", "srcldb/ldblf", __LINE__);
    return 0;
}

PDMc_LF* PDMc_LF::MakeWritableCopy(PDMc_WS* workspace) {
    PDMc_LF* copy = new (std::nothrow) PDMc_LF(*this);
    if (copy == nullptr) {
        nyxErrorPushInternal("no memory for a local file", "srcldb/ldblf", __LINE__);
        return nullptr;
    }
    if (IsRepositoryFile()) {
        copy->Localize(workspace);
    } else {
        // The copy keeps the source's stamp and isn't queued for a new one: being modified,
        // its stamp is never looked at.
        copy->m_file_version = workspace->NextFileVersion();
    }
    copy->m_is_modified = true;
    return copy;
}

int32_t LDBQueueDeleteUnlessHeld(PDMc_LDB* connection, PDMc_LF* file,
                                 nyxSingleListOf<void*>& earlier) {
    // Someone else may still read the file: the repository, or a state that an undo can
    // return to.
    if (file->IsRepositoryFile()) return 0;
    void* element = file;
    if (earlier.Contains(&element)) return 0;
    nyxString path;
    file->GetPath(path);
    return connection->QueueDeleteFile(path.c_str());
}

int32_t LDBPutWritableCopy(PDMc_LDB* connection, PDMc_WS* workspace, PDMc_LDBArray* files,
                           uint32_t position, PDMc_LF* file, nyxString& out, const char* caller) {
    PDMc_LF* copy = file->MakeWritableCopy(workspace);
    if (copy == nullptr) return nyxErrorCurrentCode();
    nyxString newPath;
    copy->GetPath(newPath);
    if (int32_t rc = connection->QueueNewFile(newPath.c_str())) return rc;
    if (files == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBObject* element = copy;
    if (!files->SetAt(position, &element)) return NYX_INTERNAL_ERROR(caller, "srcldb/ldblf");
    out = newPath;
    copy->SetModified(true);
    return 0;
}
