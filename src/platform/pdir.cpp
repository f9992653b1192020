#include "pdir.h"

#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

bool StatPath(const char* path, bool followLinks, PathStatus* status) {
    struct stat st;
    if ((followLinks ? ::stat(path, &st) : ::lstat(path, &st)) != 0) return false;
    status->isDirectory = S_ISDIR(st.st_mode);
    status->isLink = S_ISLNK(st.st_mode);
    status->modificationTime = static_cast<int64_t>(st.st_mtime);
    status->size = static_cast<uint64_t>(st.st_size);
    return true;
}

int MakeDirectory(const char* path) { return ::mkdir(path, 0777); }

int RemoveDirectory(const char* path) { return ::rmdir(path); }

int ReadDirectory(const char* path, DirectoryVisitor visit, void* context) {
    DIR* dir = ::opendir(path);
    if (dir == nullptr) return -1;
    errno = 0;
    while (dirent* entry = ::readdir(dir)) {
        if (!visit(context, entry->d_name)) {
            ::closedir(dir);
            errno = ENOMEM;
            return -1;
        }
    }
    int readError = errno;
    ::closedir(dir);
    errno = readError;
    return readError == 0 ? 0 : -1;
}

}  // namespace platform
