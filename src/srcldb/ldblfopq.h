// PDMc_LFOPQ: the queue of file operations of a connection. Every change a transaction makes
// to files on disk waits here and is settled just before the store commits or aborts, so that
// files follow the transaction.
#pragma once

#include <cstdint>

class PDMc_LFOPQ {
public:
    PDMc_LFOPQ() = default;
    PDMc_LFOPQ(const PDMc_LFOPQ&) = delete;
    PDMc_LFOPQ& operator=(const PDMc_LFOPQ&) = delete;

    // The commit step: carries out what the transaction queued. 0 or the code of a failure,
    // in which case the store is not touched and the transaction stays open.
    int32_t Commit();
    // The abort step: undoes what the transaction queued.
    int32_t Abort();

    uint32_t Count() const { return m_count; }

private:
    uint32_t m_count = 0;
};
