// The one seam between the library and the operating system's file calls. Nothing else in the
// library calls POSIX file functions: crash and fault tests hook in here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

enum class IoOp { kWrite, kFlush, kTruncate };

// A test seam around every write, flush and truncate of a store file. `Before` may refuse the
// call, which then fails as the disk would (EIO); `After` runs once the call has succeeded, so a
// test can end the process right after the k-th durable step. Unused, it costs one branch.
class IoHook {
public:
    virtual ~IoHook() = default;
    virtual bool Before(IoOp op) = 0;
    virtual void After(IoOp op) = 0;
};
void SetIoHook(IoHook* hook);
IoHook* GetIoHook();

// Opens read-write; `create` demands a new file (it must not exist), else it must exist.
// Gives the descriptor or -1 with errno set.
int OpenFile(const char* path, bool create);
// Exclusive lock on byte 0, held by the open file description: it blocks while another
// description (in this or another process) holds it, and retries on transient interruption.
int LockByte0(int fd);
int UnlockByte0(int fd);
int CloseFile(int fd);
// Absolute seek; positions above 0x7FFFFFFF fail, as the store's offsets are signed 32-bit.
bool SeekTo(int fd, uint32_t position);
// Reads or writes up to `count` bytes, looping over partial transfers; stops at end of file.
// Gives the number of bytes moved, or -1 on an error.
int64_t ReadFully(int fd, void* buffer, size_t count);
int64_t WriteFully(int fd, const void* buffer, size_t count);
// Forces the file's data to the device; fails on a closed descriptor.
int FlushFile(int fd);
int TruncateFile(int fd, uint32_t size);
int RemoveFile(const char* path);

// The lexical absolute form of a path whose separators are already '/': cwd prefixed, empty
// parts, '.' and '..' resolved.
// False if the working directory can't be read or the result doesn't fit.
bool FullPath(const char* path, char* out, size_t outSize);
// True when both paths exist and are the same file (device and inode).
bool SameFileIdentity(const char* a, const char* b);
// Size of a file, or -1.
int64_t FileSize(const char* path);

}  // namespace platform
