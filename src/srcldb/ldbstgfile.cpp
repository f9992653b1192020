#include "ldbstgfile.h"

#include <cstring>
#include <cwchar>

#include "errors/nyxerror.h"
#include "platform/pfile.h"

namespace {
const char kSource[] = "srcldb/ldbstgfile";
}

LDBStorageFile::LDBStorageFile(const nyxString& path) : m_path(path), m_handle(-1), m_position(0) {}

LDBStorageFile::~LDBStorageFile() {
    if (m_handle != -1) Close();
}

bool LDBStorageFile::NormalisedPath(const char* path, char (&out)[LDB_MAX_PATH]) {
    // Walk by multibyte character, so that a trail byte that looks like a separator in a
    // double-byte code page is left alone; an invalid byte counts as one character.
    size_t length = std::strlen(path);
    if (length >= LDB_MAX_PATH) return false;
    std::mbstate_t state{};
    size_t i = 0;
    while (i < length) {
        size_t n = std::mbrlen(path + i, length - i, &state);
        if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0) {
            state = std::mbstate_t{};
            n = 1;
        }
        if (n == 1) {
            char c = path[i];
            out[i] = (c == '|' || c == '\\' || c == '/') ? '/' : c;
        } else {
            std::memcpy(out + i, path + i, n);
        }
        i += n;
    }
    out[length] = '\0';
    return true;
}

int32_t LDBStorageFile::Create() {
    char path[LDB_MAX_PATH];
    int fd = NormalisedPath(m_path.c_str(), path) ? platform::OpenFile(path, true) : -1;
    if (fd >= 0 && platform::LockByte0(fd) != 0) {
        platform::CloseFile(fd);
        fd = -1;
    }
    if (fd < 0) return nyxErrorReport(2406, m_path, "");
    m_handle = fd;
    m_position = 0;
    return 0;
}

int32_t LDBStorageFile::Open() {
    char path[LDB_MAX_PATH];
    int fd = NormalisedPath(m_path.c_str(), path) ? platform::OpenFile(path, false) : -1;
    if (fd >= 0 && platform::LockByte0(fd) != 0) {
        platform::CloseFile(fd);
        fd = -1;
    }
    if (fd < 0) return nyxErrorReport(2408, m_path);
    m_handle = fd;
    m_position = 0;
    return 0;
}

int32_t LDBStorageFile::Close() {
    // A failed flush leaves the file open: the caller still holds the lock and may retry.
    if (int32_t rc = Flush()) return rc;
    platform::SeekTo(m_handle, 0);
    bool unlocked = platform::UnlockByte0(m_handle) == 0;
    bool closed = platform::CloseFile(m_handle) == 0;
    // The descriptor is gone whatever close said: never close it twice.
    m_handle = -1;
    if (!unlocked || !closed) return nyxErrorReport(2409, m_path);
    return 0;
}

int32_t LDBStorageFile::Flush() {
    // Called on a closed file too, where it must fail: a start that finds the file closed
    // relies on that failure.
    if (platform::FlushFile(m_handle) != 0) return nyxErrorReport(2410, m_path);
    return 0;
}

int32_t LDBStorageFile::Truncate(uint32_t size) {
    if (platform::TruncateFile(m_handle, size) != 0) return nyxErrorReport(2415, m_path);
    return 0;
}

int32_t LDBStorageFile::Remove() {
    char path[LDB_MAX_PATH];
    if (!NormalisedPath(m_path.c_str(), path) || platform::RemoveFile(path) != 0)
        return nyxErrorReport(2407, m_path);
    return 0;
}

int32_t LDBStorageFile::ReadAt(uint32_t position, void* buffer, uint32_t count) {
    if (position != m_position) {
        if (!platform::SeekTo(m_handle, position))
            return NYX_INTERNAL_ERROR("LDB StorageFile seek failed", kSource);
        m_position = position;
    }
    int64_t n = platform::ReadFully(m_handle, buffer, count);
    if (n > 0) m_position += static_cast<uint32_t>(n);
    if (n != static_cast<int64_t>(count))
        return NYX_INTERNAL_ERROR("LDB StorageFile read failed", kSource);
    return 0;
}

int32_t LDBStorageFile::WriteAt(uint32_t position, const void* buffer, uint32_t count) {
    if (position != m_position) {
        if (!platform::SeekTo(m_handle, position))
            return NYX_INTERNAL_ERROR("LDB StorageFile seek failed", kSource);
        m_position = position;
    }
    int64_t n = platform::WriteFully(m_handle, buffer, count);
    if (n > 0) m_position += static_cast<uint32_t>(n);
    if (n != static_cast<int64_t>(count))
        return NYX_INTERNAL_ERROR("LDB StorageFile write failed", kSource);
    return 0;
}

bool LDBStorageFile::SamePath(const char* other) const {
    char mine[LDB_MAX_PATH], theirs[LDB_MAX_PATH];
    char fullMine[4096], fullTheirs[4096];
    if (other == nullptr || !NormalisedPath(other, theirs) ||
        !platform::FullPath(theirs, fullTheirs, sizeof fullTheirs))
        return false;
    if (!NormalisedPath(m_path.c_str(), mine) ||
        !platform::FullPath(mine, fullMine, sizeof fullMine)) {
        nyxErrorPushInternal("LDB StorageFile _fullpath() failed", kSource, __LINE__);
        return false;
    }
    if (std::strcmp(fullMine, fullTheirs) == 0) return true;
    // Two names of one file (a link, a case variant on a case-blind mount) must not give two
    // connections, or the process would hold two locks on one file.
    return platform::SameFileIdentity(fullMine, fullTheirs);
}
