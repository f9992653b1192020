#include "ldbundolog.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {
const char kSource[] = "srcldb/ldbstore";
}

LDBUndoChunk::LDBUndoChunk()
    : m_capacity(LDB_UNDO_CHUNK_SIZE), m_used(0),
      m_buffer(static_cast<uint8_t*>(std::malloc(LDB_UNDO_CHUNK_SIZE))), m_next(nullptr) {}

LDBUndoChunk::~LDBUndoChunk() { std::free(m_buffer); }

LDBUndoLog::LDBUndoLog() : m_count(0), m_first(nullptr), m_last(nullptr) { AddChunk(); }

LDBUndoLog::~LDBUndoLog() { FreeChunks(); }

void LDBUndoLog::FreeChunks() {
    while (m_first != nullptr) {
        LDBUndoChunk* next = m_first->m_next;
        delete m_first;
        m_first = next;
    }
    m_last = nullptr;
}

bool LDBUndoLog::AddChunk() {
    LDBUndoChunk* chunk = new (std::nothrow) LDBUndoChunk;
    if (chunk == nullptr || !chunk->Valid()) {
        delete chunk;
        return false;
    }
    if (m_last != nullptr)
        m_last->m_next = chunk;
    else
        m_first = chunk;
    m_last = chunk;
    return true;
}

int32_t LDBUndoLog::Append(const uint8_t* bytes, uint32_t count) {
    while (count > 0) {
        if (m_last == nullptr || m_last->m_used == m_last->m_capacity) {
            if (!AddChunk()) return NYX_INTERNAL_ERROR("LDB undo log: out of memory", kSource);
        }
        uint32_t room = m_last->m_capacity - m_last->m_used;
        uint32_t n = count < room ? count : room;
        std::memcpy(m_last->m_buffer + m_last->m_used, bytes, n);
        m_last->m_used += n;
        m_count += n;
        bytes += n;
        count -= n;
    }
    return 0;
}

void LDBUndoLog::Reset() {
    FreeChunks();
    m_count = 0;
    AddChunk();
}
