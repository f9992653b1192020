// LDBUndoLog: the pre-images of a commit, gathered in memory before they go to the file behind
// the commit's new data. A stream of bytes kept in chunks of LDB_UNDO_CHUNK_SIZE, so that a large
// commit never needs one large buffer and appending never moves what is already there.
//
// In the file the stream is a run of records {address, size, pre-image of size bytes}, ended by
// a four-byte 0 in place of the next address. The log holds only the bytes; the terminator is
// written by the commit.
#pragma once

#include <cstdint>

constexpr uint32_t LDB_UNDO_CHUNK_SIZE = 4096;

class LDBUndoChunk {
public:
    LDBUndoChunk();
    ~LDBUndoChunk();
    LDBUndoChunk(const LDBUndoChunk&) = delete;
    LDBUndoChunk& operator=(const LDBUndoChunk&) = delete;

    bool Valid() const { return m_buffer != nullptr; }
    uint32_t Capacity() const { return m_capacity; }
    uint32_t Used() const { return m_used; }
    const uint8_t* Bytes() const { return m_buffer; }
    LDBUndoChunk* Next() const { return m_next; }

private:
    friend class LDBUndoLog;

    uint32_t m_capacity;
    uint32_t m_used;
    uint8_t* m_buffer;
    LDBUndoChunk* m_next;
};

class LDBUndoLog {
public:
    // Starts with one empty chunk.
    LDBUndoLog();
    ~LDBUndoLog();
    LDBUndoLog(const LDBUndoLog&) = delete;
    LDBUndoLog& operator=(const LDBUndoLog&) = delete;

    // Appends count bytes, filling the last chunk and adding chunks as it goes; 0, or the code
    // of the push when memory for a chunk ran out.
    int32_t Append(const uint8_t* bytes, uint32_t count);
    // Frees every chunk and starts again with one empty chunk.
    void Reset();

    uint32_t Count() const { return m_count; }
    // The chunks in order; only the used bytes of each belong to the log.
    const LDBUndoChunk* FirstChunk() const { return m_first; }

private:
    void FreeChunks();
    // Adds an empty chunk at the end; false when it can't be made.
    bool AddChunk();

    uint32_t m_count;
    LDBUndoChunk* m_first;
    LDBUndoChunk* m_last;
};
