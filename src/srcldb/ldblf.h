// PDMc_LF: the record of one local file of an item version or a library version.
//
// A record stands for one file on disk and never changes its path in a way that undo could
// miss: writing a file makes a new record with a new file version, so an earlier state keeps
// its record and its bytes. A local file (m_rep_obj_id 0) lies at m_local_path with ".<version>"
// behind it; a repository file (any other id, only ever read from the store) lies at its host.
//
//   new local file      modified, no stamp until the commit takes one
//   writable copy       modified, the source's stamp
//   localized, clean    not modified; the commit takes the stamp, a changed time makes it dirty
//   repository file     as stored
#pragma once

#include <cstdint>

#include "collections/nyxlist.h"
#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LDB;
class PDMc_LDBArray;
class PDMc_WS;

// The result of GetFileStamp when the file's time can't be had. It is a return value only:
// nothing is pushed for it.
constexpr int32_t kLFErrorNoFileStamp = 402;

class PDMc_LF : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LF;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LF();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LF(LDBObjectOwner* owner);
    // A new record with every stored member of the source; the source stays as it is.
    PDMc_LF(const PDMc_LF& other);

    // A new local file record at `path` (the workspace directory, "|" and a name), queued for
    // a stamp at commit. The file itself isn't made: the client writes it at GetPath. Null
    // after a failure, which is on the error stack.
    static PDMc_LF* Create(PDMc_LDB* connection, const char* path, int32_t fileVersion);

    const char* GetClassName() const override;

    // The path for reading. Text work only: the file may not exist yet.
    void GetPath(nyxString& out) const;
    // 0 and the file's modification time, or kLFErrorNoFileStamp with `stamp` untouched.
    int32_t GetFileStamp(uint32_t* stamp) const;
    // Whether the client has or may have written the file. A clean file with a stamp asks the
    // file system; the answer is kept in memory only, so a reloaded record works it out anew.
    // On a PDMc_LF this speaks of the file, not of the object's place on the modified list.
    bool IsModified();
    void SetModified(bool modified);
    // Takes the stamp from the file; a file whose time can't be read keeps the old one and is
    // reported on standard output only. 0, or 401 for a repository file.
    int32_t SetModificationStampFromFile();
    // Makes a repository file local in place, in the workspace directory with a new file
    // version, and queues its stamp. A local file is left alone. Always 0.
    int32_t Localize(PDMc_WS* workspace);
    // A new record for writing: always local and modified, with a new file version of the
    // workspace. Null after a failure, which is on the error stack.
    PDMc_LF* MakeWritableCopy(PDMc_WS* workspace);

    bool IsRepositoryFile() const { return m_rep_obj_id != 0; }
    int32_t GetFileVersion() const { return m_file_version; }
    const nyxString& GetFileName() const { return m_file_name; }
    uint32_t GetModificationStamp() const { return m_modification_stamp; }

private:
    friend struct LDBSchema;

    nyxString m_file_name;
    nyxString m_local_path;
    nyxString m_host_name;
    int32_t m_file_version = 0;
    uint32_t m_rep_obj_id = 0;
    uint8_t m_is_modified = 0;
    uint32_t m_modification_stamp = 0;
};

// What the versions of items and of libraries do alike with their files.
// Queues the file's deletion at commit, unless the repository still reads it or it is among
// the files that earlier states hold. 0 or the code pushed.
int32_t LDBQueueDeleteUnlessHeld(PDMc_LDB* connection, PDMc_LF* file,
                                 nyxSingleListOf<void*>& earlier);
// Puts a writable copy of file, its new path queued as a new file, at position in files, and
// gives that path in out. 0 or the code pushed; caller names the operation in an internal error.
int32_t LDBPutWritableCopy(PDMc_LDB* connection, PDMc_WS* workspace, PDMc_LDBArray* files,
                           uint32_t position, PDMc_LF* file, nyxString& out, const char* caller);
