// LDBStorageFile: the store's one file. It opens, locks byte 0, reads and writes at absolute
// positions, flushes, truncates and closes. Every failure pushes its record and returns its code.
//
// Open holds an exclusive lock on byte 0 until Close: between those two calls no other process
// (and no other open of the same file in this process) can use the file.
#pragma once

#include <cstdint>

#include "nyxstring.h"

constexpr uint32_t LDB_MAX_PATH = 1024;  // a store path must be shorter than this

class LDBStorageFile {
public:
    explicit LDBStorageFile(const nyxString& path);
    ~LDBStorageFile();
    LDBStorageFile(const LDBStorageFile&) = delete;
    LDBStorageFile& operator=(const LDBStorageFile&) = delete;

    // The path as the caller gave it, for message arguments.
    const nyxString& Path() const { return m_path; }
    bool IsOpen() const { return m_handle != -1; }

    int32_t Create();  // 2406 (path, "") if the file exists, can't be made or locked
    int32_t Open();    // 2408 (path) if the file is missing, can't be opened or locked
    int32_t Close();   // flush, unlock, close; 2410 or 2409 (path)
    int32_t Flush();   // 2410 (path)
    int32_t Truncate(uint32_t size);  // 2415 (path)
    int32_t Remove();  // 2407 (path)

    // Exactly `count` bytes at an absolute file position; a short transfer is a failure.
    int32_t ReadAt(uint32_t position, void* buffer, uint32_t count);
    int32_t WriteAt(uint32_t position, const void* buffer, uint32_t count);

    // True when `other` names this same file.
    bool SamePath(const char* other) const;

private:
    // The path with every separator made native, in `out`; false if it doesn't fit.
    static bool NormalisedPath(const char* path, char (&out)[LDB_MAX_PATH]);

    nyxString m_path;
    int32_t m_handle;
    // Where the descriptor's position is believed to stand; saves a seek on sequential access.
    uint32_t m_position;
};
