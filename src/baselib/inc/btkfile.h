// File-system helpers of the toolkit, used by the local files of the model. Every helper takes
// a path in any separator form and converts it to the native form before the system call. Those
// that give a btkStatus give 1 on success and otherwise the status of the system's error.
#pragma once

#include <cstdint>

#include "btkpath.h"
#include "btkstatus.h"
#include "dsblockarray.h"

struct btkFileInfo {
    bool exists;  // when false the other fields aren't set
    bool isDirectory;
    bool canRead;  // the three access flags are always true
    bool canWrite;
    bool canExecute;
    bool isLink;
    int32_t modificationTime;  // seconds since 1970, cut to 32 bits
    uint32_t size;             // bytes, cut to 32 bits
};

// One level only: the parent must exist.
btkStatus btkMakeDirectory(const char* path);
btkStatus btkDeleteFile(const char* path);
// Removes an empty directory, or the link itself when the path is a symbolic link.
btkStatus btkRemoveDirectory(const char* path);
// Removes a directory with everything below it, depth first, in name order; the first failure
// stops the walk and leaves what is left in place. Links are removed, never followed, also when
// the path itself is one.
btkStatus btkRemoveTree(const char* path);

// True for anything at the path, a file, a directory or a link, even one whose target is gone.
// Trailing separators are cut first.
bool btkPathExists(const char* path);

// Follows links, like the runtime's stat; trailing separators are cut first.
btkFileInfo btkStatFile(const char* path);
// 1 and the record, or 5 if the path doesn't exist.
btkStatus btkGetFileInfo(const char* path, btkFileInfo* info);
// 1 and the modification time; `time` stays as it was otherwise.
btkStatus btkGetFileTime(const char* path, int32_t* time);
bool btkIsDirectory(const char* path);
bool btkIsFile(const char* path);
bool btkIsLink(const char* path);

// The entries of one directory, without "." and "..", in byte order of their names. `name` is a
// buffer of at least 1024 bytes for a bare entry name.
class btkDirIterator {
public:
    virtual ~btkDirIterator() = default;
    virtual bool Next(char* name) = 0;
    // The next name that `pattern` (`*` and `?`, case-sensitive) matches. A null or empty
    // pattern gives true at once and leaves `name` untouched.
    virtual bool NextMatching(char* name, const char* pattern) = 0;
    // Appends to `names` (elements of char*) a new 1024-byte heap copy, freed with delete[], of
    // every name that `pattern` matches; a null or empty pattern matches every name. False if
    // none was added.
    virtual bool List(dsBlockArray* names, const char* pattern) = 0;
};

// Null on failure, with errno left as the system set it.
btkDirIterator* btkOpenDirIterator(const char* path);
