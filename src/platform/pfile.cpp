#include "pfile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {
IoHook* g_hook = nullptr;

bool HookAllows(IoOp op) {
    if (g_hook != nullptr && !g_hook->Before(op)) {
        errno = EIO;
        return false;
    }
    return true;
}

void HookDone(IoOp op) {
    if (g_hook != nullptr) g_hook->After(op);
}

int SetLock(int fd, short type, bool wait) {
    struct flock fl;
    std::memset(&fl, 0, sizeof fl);
    fl.l_type = type;
    fl.l_whence = SEEK_SET;
    fl.l_start = 0;
    fl.l_len = 1;
    fl.l_pid = 0;
    for (;;) {
        if (fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &fl) == 0) return 0;
        int err = errno;
        // Interrupted or in conflict: ask again, as long as the other holder keeps the file.
        if (err == EINTR || err == EAGAIN || err == EACCES) continue;
        if (err == EINVAL) {
            // A kernel without descriptor-owned record locks: flock is per description too.
            if (flock(fd, type == F_UNLCK ? LOCK_UN : LOCK_EX) == 0) return 0;
            if (errno == EINTR) continue;
        }
        return -1;
    }
}
}  // namespace

void SetIoHook(IoHook* hook) { g_hook = hook; }
IoHook* GetIoHook() { return g_hook; }

int OpenFile(const char* path, bool create) {
    int flags = O_RDWR | O_CLOEXEC | (create ? (O_CREAT | O_EXCL) : 0);
    int fd;
    do {
        fd = ::open(path, flags, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

int LockByte0(int fd) { return SetLock(fd, F_WRLCK, true); }
int UnlockByte0(int fd) { return SetLock(fd, F_UNLCK, false); }

int CloseFile(int fd) { return ::close(fd); }

bool SeekTo(int fd, uint32_t position) {
    if (position > 0x7FFFFFFFu) return false;
    return ::lseek(fd, static_cast<off_t>(position), SEEK_SET) == static_cast<off_t>(position);
}

int64_t ReadFully(int fd, void* buffer, size_t count) {
    size_t done = 0;
    char* out = static_cast<char*>(buffer);
    while (done < count) {
        ssize_t n = ::read(fd, out + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    return static_cast<int64_t>(done);
}

int64_t WriteFully(int fd, const void* buffer, size_t count) {
    if (!HookAllows(IoOp::kWrite)) return -1;
    size_t done = 0;
    const char* in = static_cast<const char*>(buffer);
    while (done < count) {
        ssize_t n = ::write(fd, in + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    HookDone(IoOp::kWrite);
    return static_cast<int64_t>(done);
}

int FlushFile(int fd) {
    if (!HookAllows(IoOp::kFlush)) return -1;
    if (::fdatasync(fd) != 0) return -1;
    HookDone(IoOp::kFlush);
    return 0;
}

int TruncateFile(int fd, uint32_t size) {
    if (size > 0x7FFFFFFFu) {
        errno = EFBIG;
        return -1;
    }
    if (!HookAllows(IoOp::kTruncate)) return -1;
    int rc;
    do {
        rc = ::ftruncate(fd, static_cast<off_t>(size));
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) return -1;
    HookDone(IoOp::kTruncate);
    return 0;
}

int RemoveFile(const char* path) { return ::unlink(path); }

bool FullPath(const char* path, char* out, size_t outSize) {
    if (path == nullptr || outSize < 2) return false;
    char work[4096];
    size_t used = 0;
    if (path[0] != '/') {
        if (::getcwd(work, sizeof work) == nullptr) return false;
        used = std::strlen(work);
        if (used + 1 >= sizeof work) return false;
        work[used++] = '/';
    }
    size_t length = std::strlen(path);
    if (used + length + 1 > sizeof work) return false;
    std::memcpy(work + used, path, length);
    used += length;
    work[used] = '\0';
    // Split on '/', drop empty and '.' parts, let '..' pop one part (never above the root).
    length = 0;
    out[length] = '\0';
    const char* p = work;
    while (*p != '\0') {
        while (*p == '/') ++p;
        const char* start = p;
        while (*p != '\0' && *p != '/') ++p;
        size_t part = static_cast<size_t>(p - start);
        if (part == 0 || (part == 1 && start[0] == '.')) continue;
        if (part == 2 && start[0] == '.' && start[1] == '.') {
            while (length > 0 && out[length - 1] != '/') --length;
            if (length > 0) --length;
            out[length] = '\0';
            continue;
        }
        if (length + 1 + part + 1 > outSize) return false;
        out[length++] = '/';
        std::memcpy(out + length, start, part);
        length += part;
        out[length] = '\0';
    }
    if (length == 0) {
        out[0] = '/';
        out[1] = '\0';
    }
    return true;
}

bool SameFileIdentity(const char* a, const char* b) {
    struct stat sa, sb;
    if (::stat(a, &sa) != 0 || ::stat(b, &sb) != 0) return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

int64_t FileSize(const char* path) {
    struct stat st;
    if (::stat(path, &st) != 0) return -1;
    return static_cast<int64_t>(st.st_size);
}

}  // namespace platform
