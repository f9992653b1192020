// Helpers of the store tests: store files of given content, and stores held open by hand the
// way a transaction or a compaction holds them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/pfile.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"

namespace storetest {

// The header that a clean store with these words would carry.
inline std::vector<unsigned char> HeaderBytes(uint32_t top, uint32_t stamp, uint32_t root = 0,
                                              uint32_t invalid = 0) {
    LDBHeader header;
    header.InitCurrent();
    header.m_top = top;
    header.m_stamp = stamp;
    header.m_root = root;
    header.m_ldb_invalid = invalid;
    header.ComputeChecksum();
    uint8_t bytes[LDB_HEADER_SIZE];
    header.Encode(bytes);
    return std::vector<unsigned char>(bytes, bytes + LDB_HEADER_SIZE);
}

// A store file: a clean header whose top lies right behind body, then body, then tail (bytes
// behind the top that the store must not take for data).
inline void WriteStoreFile(const std::string& path, const std::vector<unsigned char>& body,
                           uint32_t stamp = 1, const std::vector<unsigned char>& tail = {}) {
    std::vector<unsigned char> bytes =
        HeaderBytes(LDB_HEADER_SIZE + static_cast<uint32_t>(body.size()), stamp);
    bytes.insert(bytes.end(), body.begin(), body.end());
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    testsupport::WriteFileBytes(path, bytes);
}

inline std::vector<unsigned char> Pattern(size_t size, unsigned seed = 1) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>((i * 31 + seed) % 251);
    return bytes;
}

inline uint32_t WordAt(const std::vector<unsigned char>& bytes, size_t offset) {
    return static_cast<uint32_t>(bytes[offset]) | (static_cast<uint32_t>(bytes[offset + 1]) << 8) |
           (static_cast<uint32_t>(bytes[offset + 2]) << 16) |
           (static_cast<uint32_t>(bytes[offset + 3]) << 24);
}

// A store with its file open and locked and its fields taken from the header, as compaction
// holds one. Closes and destroys it at the end.
class HeldStore {
public:
    explicit HeldStore(const std::string& path) {
        store_ = LDBStore::ConnectStore(nullptr, path.c_str());
        if (store_ == nullptr) return;
        LDBHeader header;
        if (store_->File().Open() != 0 || store_->ReadHeader(header, true) != 0) return;
        store_->TakeFromHeader(header);
        store_->SetInTransaction(true);
    }
    ~HeldStore() {
        if (store_ == nullptr) return;
        store_->SetInTransaction(false);
        if (store_->File().IsOpen()) store_->File().Close();
        delete store_;
    }
    HeldStore(const HeldStore&) = delete;
    HeldStore& operator=(const HeldStore&) = delete;

    LDBStore* operator->() const { return store_; }
    LDBStore* get() const { return store_; }

private:
    LDBStore* store_ = nullptr;
};

// Counts the durable steps of the store while it is installed.
class CountingHook : public platform::IoHook {
public:
    CountingHook() { platform::SetIoHook(this); }
    ~CountingHook() override { platform::SetIoHook(nullptr); }
    bool Before(platform::IoOp) override { return true; }
    void After(platform::IoOp op) override {
        if (op == platform::IoOp::kWrite) ++writes;
        if (op == platform::IoOp::kFlush) ++flushes;
        if (op == platform::IoOp::kTruncate) ++truncates;
    }
    int writes = 0;
    int flushes = 0;
    int truncates = 0;
};

}  // namespace storetest
