#include "testsupport.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"

namespace testsupport {

TempDir::TempDir() : TempDir(std::string()) {}

TempDir::TempDir(const std::string& parent) {
    std::filesystem::path base =
        parent.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(parent);
    std::string pattern = (base / "marrows-XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    char* made = mkdtemp(buffer.data());
    path_ = made ? made : "";
}

TempDir::~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::vector<int> StackCodes() {
    std::vector<int> codes;
    for (nyxError* e = nyxErrorGetCurrent(); e != nullptr; e = nyxErrorGetPrevious(e))
        codes.push_back(nyxErrorGetErrorCode(e));
    return codes;
}

std::vector<std::string> Arguments(nyxError* record) {
    std::vector<std::string> args;
    for (int i = 0; i < nyxErrorGetArgumentCount(record); ++i) {
        const char* text = nyxErrorGetArgument(record, i);
        args.push_back(text ? text : "<null>");
    }
    return args;
}

std::string DescribeTop() {
    nyxError* top = nyxErrorGetCurrent();
    if (top == nullptr) return "empty stack";
    std::ostringstream out;
    out << "error " << nyxErrorGetErrorCode(top);
    for (const std::string& arg : Arguments(top)) out << " [" << arg << "]";
    return out.str();
}

void ClearErrors() { nyxErrorClear(); }

int RunInChild(const std::function<int()>& body) {
    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) _exit(body());
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<unsigned char> ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

void WriteFileBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void DatabaseTest::SetUp() {
    CleanStackTest::SetUp();
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
}

void DatabaseTest::TearDown() {
    ClearErrors();
    int inProgress = 0;
    if (ldb != nullptr && PDMIsLDBTransactionInProgress(ldb, &inProgress) == 0 && inProgress)
        PDMLDBAbortTransaction(ldb);
    if (ldb != nullptr) PDMLDBDisconnect(ldb);
    CleanStackTest::TearDown();
}

WorkspaceHandle DatabaseTest::Reopen(const char* workspaceName) {
    EXPECT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
    ldb = nullptr;
    EXPECT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << DescribeTop();
    EXPECT_EQ(PDMLDBStartTransaction(ldb), 0);
    WorkspaceHandle ws = nullptr;
    EXPECT_EQ(PDMLDBGetWorkspaceByName(ldb, workspaceName, &ws), 0);
    return ws;
}

WSPIHandle DatabaseTest::CreateItem(WorkspaceHandle ws, const char* name, const char* type) {
    WSPIHandle item = nullptr;
    EXPECT_EQ(PDMWorkspaceCreatePI(ws, name, type, &item), 0) << DescribeTop();
    return item;
}

WSPIHandle DatabaseTest::FindItem(WorkspaceHandle ws, const char* name) {
    WSPIHandle item = nullptr;
    EXPECT_EQ(PDMWorkspaceGetWSPIByName(ws, name, &item), 0) << DescribeTop();
    return item;
}

WorkspaceHandle DatabaseTest::CreateWorkspace(const char* name) {
    WorkspaceHandle ws = nullptr;
    EXPECT_EQ(PDMWorkspaceCreate(ldb, name, dir.File(name).c_str(), "", &ws), 0) << DescribeTop();
    return ws;
}

}  // namespace testsupport

std::vector<void*> testsupport::Drain(CursorHandle cursor) {
    std::vector<void*> out;
    void* element = nullptr;
    while (PDMCursorGetNext(cursor, &element) == 0 && element != nullptr) out.push_back(element);
    PDMCursorDelete(cursor);
    return out;
}

std::string testsupport::OnDisk(const std::string& path) {
    std::string native(path);
    for (char& c : native) c = c == '|' ? '/' : c;
    return native;
}

void testsupport::WriteLocalFile(const std::string& path, const std::string& content) {
    std::ofstream(OnDisk(path)) << content;
}

void* testsupport::MemberField(PDMc_LDBObject* object, const char* name) {
    static const LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    const LDBClassDescriptor* descriptor = layout->CurrentClass(object->GetTypeCode());
    const LDBMemberDescriptor* member = descriptor != nullptr ? descriptor->FindMember(name) : nullptr;
    if (member == nullptr) {
        ADD_FAILURE() << "no stored member " << name;
        std::abort();
    }
    object->MarkModified();
    return member->GetPlace().FieldIn(object);
}

std::string testsupport::CaptureStdout(const std::function<void()>& body) {
    std::fflush(stdout);
    TempDir dir;
    std::string file = dir.File("stdout");
    int target = open(file.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
    int saved = dup(STDOUT_FILENO);
    dup2(target, STDOUT_FILENO);
    close(target);
    body();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
