// PDMc_LFOPQ: the queue of file operations of a connection. A file isn't transactional, so
// every change a transaction makes to files on disk waits here and is settled just before the
// store commits or aborts: files the client is about to write go again at abort, files out of
// use go at commit, and a new file's stamp is taken at commit. The queue lives in memory only
// and is empty between transactions; after a crash nothing completes or undoes its entries.
#pragma once

#include <cstdint>

#include "collections/nyxlist.h"
#include "nyxstring.h"

class PDMc_LF;

// One queued operation on a path, copied when it was queued. The same path may stand in
// several entries; they run in order.
class LDBFileOp {
public:
    enum Kind : int32_t {
        kNewFile = 1,          // abort: the file goes
        kNewDirectory = 2,     // made at queueing; abort: the tree goes
        kDeleteFile = 3,       // commit: the file goes
        kDeleteDirectory = 4,  // commit: the tree goes
        kFileStamp = 5,        // commit: the record takes the stamp of its file
    };

    LDBFileOp(const char* path, int32_t kind);
    LDBFileOp(const LDBFileOp&) = delete;
    LDBFileOp& operator=(const LDBFileOp&) = delete;

    // 0, or the code of the record pushed for a failure. A path that isn't there is no failure.
    virtual int32_t Commit();
    virtual int32_t Abort();
    virtual ~LDBFileOp();

    const nyxString& GetPath() const { return m_path; }
    int32_t GetKind() const { return m_kind; }

private:
    nyxString m_path;
    int32_t m_kind;
};

// The stamp of a file just made or made local, taken at commit from the record's path of that
// moment. The record belongs to the store, not to the entry.
class LDBFileStampOp : public LDBFileOp {
public:
    explicit LDBFileStampOp(PDMc_LF* file);

    int32_t Commit() override;
    int32_t Abort() override;
    ~LDBFileStampOp() override;

private:
    PDMc_LF* m_file;
};

class PDMc_LFOPQ {
public:
    PDMc_LFOPQ() = default;
    PDMc_LFOPQ(const PDMc_LFOPQ&) = delete;
    PDMc_LFOPQ& operator=(const PDMc_LFOPQ&) = delete;

    // Queue an entry for the path (kinds 1 to 4) or for the record (kind 5); each gives the
    // error stack's code. A new directory is made at once, one level: if that fails (also when
    // it is there already) error 418 stands and nothing is queued.
    int32_t Queue(int32_t kind, const char* path);
    int32_t QueueFileStamp(PDMc_LF* file);

    // Runs every entry's Commit, first to last, or Abort, last to first so that what was queued
    // last is undone first. A failure doesn't stop the walk. Afterwards the queue is empty,
    // whatever the outcome; the result is the code of the last entry that failed, or 0.
    int32_t Commit();
    int32_t Abort();

    // Destroys the queue. One that still holds entries is refused with an internal error and
    // stays; the result is the error stack's code.
    int32_t Delete();

    uint32_t Count() const { return m_ops.GetCount(); }

private:
    // Only Delete destroys a queue, so that no entry is ever dropped unrun.
    ~PDMc_LFOPQ() = default;

    // Commit walks first to last, Abort last to first; a failure doesn't stop the walk.
    int32_t Run(bool commit);
    // Takes the entry; null stands for an allocation that failed.
    int32_t Append(LDBFileOp* op);
    // Destroys every entry and empties the list.
    void Discard();

    nyxDoubleListOf<LDBFileOp*> m_ops;
};
