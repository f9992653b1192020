// The directory and status calls of the toolkit's file functions, beside the store file's
// calls in pfile.h: together they are every place where the library meets the file system.
#pragma once

#include <cstdint>

namespace platform {

struct PathStatus {
    bool isDirectory;
    bool isLink;
    int64_t modificationTime;  // seconds since 1970
    uint64_t size;
};

// The status of path, through a final link when followLinks is set, else of the link itself.
// False with errno set when it can't be had.
bool StatPath(const char* path, bool followLinks, PathStatus* status);
// 0, or -1 with errno set.
int MakeDirectory(const char* path);
int RemoveDirectory(const char* path);

// Called with each name of a directory, "." and ".." included, in the system's order; false
// stops the reading as a failure with errno ENOMEM.
using DirectoryVisitor = bool (*)(void* context, const char* name);
// 0, or -1 with errno set if the directory can't be read to its end.
int ReadDirectory(const char* path, DirectoryVisitor visit, void* context);

}  // namespace platform
