// Helpers shared by the test programs: temporary directories, reading the error stack, and
// running a piece of a test in a fork()ed child.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"

struct nyxError;
class PDMc_LDBObject;

namespace testsupport {

// A fresh directory under the system's temporary directory, removed with all it holds.
class TempDir {
public:
    TempDir();
    // Below parent instead, e.g. a memory file system for tests that flush thousands of times.
    explicit TempDir(const std::string& parent);
    ~TempDir();
    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// The codes on the error stack, newest first.
std::vector<int> StackCodes();
// The argument texts of a record ("<null>" for a null entry).
std::vector<std::string> Arguments(nyxError* record);
// The newest record's code and arguments in one line, for failure messages.
std::string DescribeTop();
void ClearErrors();

// Runs `body` in a fork()ed child and gives its exit status (the child's return value), or
// -1 if it died by a signal.
int RunInChild(const std::function<int()>& body);

// Every element of a cursor, in order; the cursor is deleted.
std::vector<void*> Drain(CursorHandle cursor);
std::vector<unsigned char> ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, const std::vector<unsigned char>& bytes);
// The disk form of a path the library hands out, which keeps "|" as its separator, and a
// write of content there as the client would make it.
std::string OnDisk(const std::string& path);
void WriteLocalFile(const std::string& path, const std::string& content);

// A stored member of an object, found by name through the storage layout and marked modified,
// for tests that damage a model on purpose. T is the type the member is held in: uint8_t for a
// boolean, PDMc_LDBRef for a reference, LDBIdArrayRep for a list of ids.
void* MemberField(PDMc_LDBObject* object, const char* name);
template <class T>
T& Field(PDMc_LDBObject* object, const char* name) {
    return *static_cast<T*>(MemberField(object, name));
}
template <class T, class Handle>
T& Field(Handle* handle, const char* name) {
    return Field<T>(reinterpret_cast<PDMc_LDBObject*>(handle), name);
}

// What body prints on standard output, through the C streams or the descriptor.
std::string CaptureStdout(const std::function<void()>& body);

// Every test starts and ends with an empty error stack.
class CleanStackTest : public ::testing::Test {
protected:
    void SetUp() override { ClearErrors(); }
    void TearDown() override { ClearErrors(); }
};

// A new database in a temporary directory, with a transaction open from the start; whatever
// the test leaves open is aborted, and the connection closed.
class DatabaseTest : public CleanStackTest {
protected:
    void SetUp() override;
    void TearDown() override;
    // Commits, disconnects and connects anew, so that everything is read back from the file,
    // and starts a transaction. The workspace of the name, or null.
    WorkspaceHandle Reopen(const char* workspaceName);
    // A workspace of the name, its directory of the same name under dir; null after a failure.
    WorkspaceHandle CreateWorkspace(const char* name);
    // An item of the workspace made through the export, and one found by name; null after a
    // failure, which the test reports.
    static WSPIHandle CreateItem(WorkspaceHandle ws, const char* name, const char* type = "Part");
    static WSPIHandle FindItem(WorkspaceHandle ws, const char* name);

    TempDir dir;
    std::string path = dir.File("test.ldb");
    LDBHandle ldb = nullptr;
};

}  // namespace testsupport
