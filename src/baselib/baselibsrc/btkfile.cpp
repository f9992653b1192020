#include "btkfile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "btkwidetext.h"
#include "nyxstring.h"
#include "platform/pdir.h"
#include "platform/pfile.h"

namespace {

constexpr btkStatus kStatusTooLong = 11;
// Wide characters of a name for the match, as many as the system's find record could hold.
constexpr size_t kWideNameLimit = 1027;

// The native form of `path` in `native`; false (errno ENAMETOOLONG) if it doesn't fit a btkPath.
bool ToNative(const char* path, char* native) {
    if (std::strlen(path) >= kBtkPathSize) {
        errno = ENAMETOOLONG;
        return false;
    }
    btkPathToNative(native, path);
    return true;
}

// The status of the path itself, not of a link's target.
bool LstatPath(const char* path, platform::PathStatus* status) {
    btkPath native;
    if (!ToNative(path, native)) return false;
    btkPathStripTrailing(native);
    return platform::StatPath(native, false, status);
}

bool IsLinkItself(const char* path) {
    platform::PathStatus status;
    return LstatPath(path, &status) && status.isLink;
}

btkStatus Result(int rc) { return rc == 0 ? kBtkStatusSuccess : btkStatusFromLastError(); }

int CompareNames(const void* first, const void* second) {
    return std::strcmp(*static_cast<char* const*>(first), *static_cast<char* const*>(second));
}

// A snapshot of the directory, sorted by bytes, taken when the iterator is opened: the walk is
// the same on every file system, and removing entries while walking can't disturb it.
class btkSnapshotDirIterator : public btkDirIterator {
public:
    btkSnapshotDirIterator() : names(sizeof(char*)) {}
    ~btkSnapshotDirIterator() override {
        for (uint32_t i = 0; i < names.Count(); ++i) nyxStringFree(NameAt(i));
    }

    // False with errno set if the directory can't be read.
    bool Load(const char* nativePath) {
        if (platform::ReadDirectory(nativePath, &AddName, this) != 0) return false;
        if (names.Count() > 1) std::qsort(names.At(0), names.Count(), sizeof(char*), CompareNames);
        return true;
    }

    bool Next(char* name) override {
        for (; next < names.Count(); ++next) {
            const char* entry = NameAt(next);
            if (std::strcmp(entry, ".") == 0 || std::strcmp(entry, "..") == 0) continue;
            std::strncpy(name, entry, kBtkPathSize - 1);
            name[kBtkPathSize - 1] = '\0';
            ++next;
            return true;
        }
        return false;
    }

    bool NextMatching(char* name, const char* pattern) override {
        if (pattern == nullptr || *pattern == '\0') return true;
        wchar_t* widePattern = btkMbsToWide(pattern);
        if (widePattern == nullptr) return false;
        bool found = false;
        while (!found && Next(name)) {
            wchar_t wideName[kWideNameLimit + 1];
            btkMbsCopyToWide(wideName, name, kWideNameLimit);
            wideName[kWideNameLimit] = L'\0';
            found = btkWideMatch(wideName, widePattern);
        }
        delete[] widePattern;
        return found;
    }

    bool List(dsBlockArray* list, const char* pattern) override {
        bool any = false;
        btkPath name;
        // An empty pattern would give true without moving on: it stands for "every name".
        const char* effective = pattern == nullptr || *pattern == '\0' ? "*" : pattern;
        while (NextMatching(name, effective)) {
            char* copy = new (std::nothrow) char[kBtkPathSize];
            if (copy == nullptr) break;
            std::memcpy(copy, name, kBtkPathSize);
            if (!list->Append(&copy)) {
                delete[] copy;
                break;
            }
            any = true;
        }
        return any;
    }

private:
    char* NameAt(uint32_t i) const { return *static_cast<char**>(names.At(i)); }
    static bool AddName(void* context, const char* name) {
        auto* self = static_cast<btkSnapshotDirIterator*>(context);
        char* copy = nyxStrdup(name);
        if (copy != nullptr && self->names.Append(&copy)) return true;
        nyxStringFree(copy);
        return false;
    }

    dsBlockArray names;
    uint32_t next = 0;
};

}  // namespace

btkStatus btkMakeDirectory(const char* path) {
    btkPath native;
    if (!ToNative(path, native)) return kStatusTooLong;
    return Result(platform::MakeDirectory(native));
}

btkStatus btkDeleteFile(const char* path) {
    btkPath native;
    if (!ToNative(path, native)) return kStatusTooLong;
    return Result(platform::RemoveFile(native));
}

btkStatus btkRemoveDirectory(const char* path) {
    btkPath native;
    if (!ToNative(path, native)) return kStatusTooLong;
    platform::PathStatus status;
    // A link to a directory goes as the link, never as the directory behind it.
    if (platform::StatPath(native, false, &status) && status.isLink)
        return Result(platform::RemoveFile(native));
    return Result(platform::RemoveDirectory(native));
}

bool btkPathExists(const char* path) {
    platform::PathStatus status;
    return LstatPath(path, &status);
}

btkFileInfo btkStatFile(const char* path) {
    btkFileInfo info = {};
    btkPath native;
    if (!ToNative(path, native)) return info;
    btkPathStripTrailing(native);
    platform::PathStatus status;
    if (!platform::StatPath(native, true, &status)) return info;
    info.exists = true;
    info.isDirectory = status.isDirectory;
    info.canRead = info.canWrite = info.canExecute = true;
    info.isLink = status.isLink;
    info.modificationTime = static_cast<int32_t>(static_cast<uint32_t>(status.modificationTime));
    info.size = static_cast<uint32_t>(status.size);
    return info;
}

btkStatus btkGetFileInfo(const char* path, btkFileInfo* info) {
    btkFileInfo found = btkStatFile(path);
    if (!found.exists) return kBtkStatusNoEntry;
    *info = found;
    return kBtkStatusSuccess;
}

btkStatus btkGetFileTime(const char* path, int32_t* time) {
    btkFileInfo info;
    btkStatus status = btkGetFileInfo(path, &info);
    if (status == kBtkStatusSuccess) *time = info.modificationTime;
    return status;
}

bool btkIsDirectory(const char* path) {
    btkFileInfo info = btkStatFile(path);
    return info.exists && info.isDirectory;
}

bool btkIsFile(const char* path) {
    btkFileInfo info = btkStatFile(path);
    return info.exists && !info.isDirectory;
}

bool btkIsLink(const char* path) {
    btkFileInfo info = btkStatFile(path);
    return info.exists && info.isLink;
}

btkDirIterator* btkOpenDirIterator(const char* path) {
    btkPath native;
    if (!ToNative(path, native)) return nullptr;
    auto* iterator = new (std::nothrow) btkSnapshotDirIterator;
    if (iterator == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    if (!iterator->Load(native)) {
        int error = errno;
        delete iterator;
        errno = error;
        return nullptr;
    }
    return iterator;
}

btkStatus btkRemoveTree(const char* path) {
    // A workspace directory that is a link to somewhere else goes as the link: the tree behind
    // it belongs to someone else.
    if (IsLinkItself(path)) return btkRemoveDirectory(path);
    btkDirIterator* iterator = btkOpenDirIterator(path);
    if (iterator == nullptr) return btkStatusFromLastError();
    btkPath name;
    while (iterator->Next(name)) {
        btkPath full;
        std::strcpy(full, path);
        size_t before = std::strlen(full);
        btkPathAppend(full, name);
        // A name that doesn't fit would leave the directory's own path, and the walk would
        // descend into it for ever.
        if (std::strlen(full) == before) {
            delete iterator;
            return kStatusTooLong;
        }
        btkPath native;
        btkPathToNative(native, full);
        platform::PathStatus entry;
        if (!platform::StatPath(native, false, &entry)) break;
        btkStatus status = entry.isDirectory ? btkRemoveTree(full) : btkDeleteFile(full);
        if (status != kBtkStatusSuccess) {
            delete iterator;
            return status;
        }
    }
    delete iterator;
    return btkRemoveDirectory(path);
}
