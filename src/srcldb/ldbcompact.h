// Compaction: the store's live data copied into a shadow store at the tail of the file, every
// stored address rewritten on the way, and the shadow then made the content of the file in one
// recoverable step. What the walk from the root doesn't reach simply isn't copied.
//
// The walk works on the file's bytes alone, driven by the class descriptors: no persistent
// object is made, so the job needs nothing beyond the layout. Records land in the target in the
// order in which the walk first meets them; a record is written once all that it points at has
// its new address, so the root, met first, is written last.
//
// The crash story: until CommitShadow marks the header, the file is the old store with a tail
// that no header points at; from the mark on, every open finishes the copy (ldbshadow.cpp).
#pragma once

#include <cstdint>

#include "marrows/marrows.h"
#include "nyxstring.h"
#include "srcldb/ldbaddrtable.h"

class LDBClassDescriptor;
class LDBCopyRecord;
class LDBPoolCursor;
class LDBStorageLayout;
class LDBStore;
class PDMc_LDB;

// The whole job behind PDMLDBCompact: a store of the moment for the path, the compaction with
// the options, and nothing left open or locked. Gives the code on the error stack.
int32_t LDBCompactDatabase(const nyxString& path, const LDBStorageLayout& layout,
                           PDMLDBCompactOptions* options, PDMc_LDB* connection = nullptr);

// Whether the walk defers the reference in member memberIndex of the class: it then waits in
// the root's record unless its target was copied already.
bool LDBIsDeferredReference(uint8_t classCode, uint32_t memberIndex);

class LDBCompactor {
public:
    // source is a store that no transaction holds; the compactor doesn't own it.
    explicit LDBCompactor(LDBStore* source);
    ~LDBCompactor();
    LDBCompactor(const LDBCompactor&) = delete;
    LDBCompactor& operator=(const LDBCompactor&) = delete;

    // Trims and/or rewrites the file as the options ask, and fills their outputs. The store is
    // held open and locked for the length of the job. Gives the code on the error stack.
    int32_t Compact(PDMLDBCompactOptions* options);

private:
    // Copies everything that the root reaches into a shadow store and commits it.
    int32_t RewriteStore(PDMLDBCompactOptions* options);
    // The target address of the record at source, copying it and all it reaches first if it
    // hasn't been copied yet. 0 or the code on the stack.
    int32_t CopyFrom(uint32_t source, uint32_t& target);
    // Gives a record its target address and reads it with its pending addresses; null after a
    // push.
    LDBCopyRecord* BeginRecord(uint32_t source);
    int32_t ParseRecord(LDBCopyRecord* record, uint32_t& size);
    int32_t ParseBlock(LDBCopyRecord* record, uint8_t tag);
    int32_t ParseObject(LDBCopyRecord* record, const LDBClassDescriptor& descriptor);
    int32_t WriteRecord(LDBCopyRecord* record);
    // Frees the records of an unfinished walk.
    void DropPath();
    void ReleaseWalk();

    LDBStore* m_source;
    LDBStore* m_target;
    LDBCopyRecord* m_first_record;  // the root's: deferred references wait in its list
    uint32_t m_record_count;
    uint32_t m_next_address;
    LDBPoolCursor* m_source_cursor;
    LDBPoolCursor* m_target_cursor;
    LDBAddressTable<uint32_t> m_address_map;  // source address of an object to target
    // The records begun and not yet written, innermost last: the walk's explicit stack.
    LDBCopyRecord** m_path;
    uint32_t m_path_depth;
    uint32_t m_path_room;
};
