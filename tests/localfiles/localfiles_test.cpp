// Local files through a real connection: which files a commit or an abort leaves on disk, the
// stamps that decide whether a file counts as modified, and the failures of the queue's run.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "srccldb/chandles.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblfopq.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstglayout.h"
#include "srcldbws/ws.h"
#include "testsupport.h"

namespace fs = std::filesystem;
using testsupport::Arguments;

namespace {

// The stored form of a native path: the library keeps "|" and converts at each use.
std::string Portable(std::string path) {
    for (char& c : path) c = c == '/' ? '|' : c;
    return path;
}
void Write(const std::string& path) { std::ofstream(path) << "data"; }
bool There(const std::string& path) { return fs::exists(fs::symlink_status(path)); }

class LocalFiles : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        ASSERT_EQ(PDMLDBCreate(dir.File("lf.ldb").c_str(), &handle), 0);
        ldb = ConnectionOf(handle);
    }
    void TearDown() override {
        PDMLDBDisconnect(handle);
        CleanStackTest::TearDown();
    }
    // A stored member set as a load from the store would: how a repository record comes to be.
    template <class T>
    T& Member(PDMc_LDBObject* object, const char* name) {
        const LDBClassDescriptor* cls = ldb->Layout()->CurrentClass(object->GetTypeCode());
        return *static_cast<T*>(cls->FindMember(name)->GetPlace().FieldIn(object));
    }
    PDMc_LF* RepositoryFile(const char* host) {
        PDMc_LF* file = new PDMc_LF(ldb);
        Member<nyxString>(file, "m_file_name") = "model.prt";
        Member<nyxString>(file, "m_local_path") = "|share|model.prt";
        Member<nyxString>(file, "m_host_name") = host;
        Member<uint32_t>(file, "m_rep_obj_id") = 42;
        return file;
    }
    static std::string PathOf(const PDMc_LF* file) {
        nyxString path;
        file->GetPath(path);
        return path.c_str();
    }

    testsupport::TempDir dir;
    LDBHandle handle = nullptr;
    PDMc_LDB* ldb = nullptr;
};

TEST_F(LocalFiles, OutcomeDecidesWhichQueuedPathsStay) {
    // What is queued, and whether it is there after a commit and after an abort.
    const struct {
        int32_t kind;
        const char* name;
        bool afterCommit, afterAbort;
    } rows[] = {
        {LDBFileOp::kNewDirectory, "ws", true, false},
        {LDBFileOp::kNewFile, "new.txt", true, false},
        {LDBFileOp::kNewFile, "never.txt", false, false},
        {LDBFileOp::kDeleteFile, "old.txt", false, true},
        {LDBFileOp::kDeleteFile, "missing.txt", false, false},
        {LDBFileOp::kDeleteDirectory, "old_dir", false, true},
        {LDBFileOp::kDeleteDirectory, "link", false, true},
    };
    for (bool commit : {true, false}) {
        SCOPED_TRACE(commit ? "commit" : "abort");
        std::string base = dir.File(commit ? "c" : "a");
        fs::create_directories(base + "/old_dir/sub");
        fs::create_directories(base + "/target");
        Write(base + "/old_dir/sub/f");
        Write(base + "/target/kept");
        Write(base + "/old.txt");
        fs::create_directory_symlink(base + "/target", base + "/link");
        ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
        for (const auto& row : rows)
            ASSERT_EQ(ldb->FileQueue()->Queue(row.kind, Portable(base + "/" + row.name).c_str()), 0)
                << row.name;
        // The client fills what it was given; the directory was made at queueing.
        fs::create_directory(base + "/ws/inner");
        Write(base + "/ws/inner/part.1");
        Write(base + "/new.txt");
        EXPECT_EQ(ldb->QueueNewDirectory(Portable(base + "/ws").c_str()), 418);
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(0), Portable(base + "/ws"));
        nyxErrorClear();
        EXPECT_EQ(ldb->FileQueue()->Count(), 7u) << "the refused directory isn't queued";

        EXPECT_EQ(commit ? PDMLDBCommitTransaction(handle) : PDMLDBAbortTransaction(handle), 0)
            << testsupport::DescribeTop();
        EXPECT_EQ(ldb->FileQueue()->Count(), 0u);
        for (const auto& row : rows)
            EXPECT_EQ(There(base + "/" + row.name), commit ? row.afterCommit : row.afterAbort)
                << row.name;
        EXPECT_TRUE(There(base + "/target/kept")) << "a link goes, never what it points at";
    }
}

TEST_F(LocalFiles, StampTakenAtCommitKeepsAFileCleanUntilItsTimeChanges) {
    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    PDMc_WS* ws = new PDMc_WS(ldb);
    Member<nyxString>(ws, "m_os_dir_path") = Portable(dir.File("ws")).c_str();
    ASSERT_EQ(ldb->QueueNewDirectory(ws->GetOsDirPath().c_str()), 0);
    PDMc_LF* file = RepositoryFile("server");
    EXPECT_EQ(PathOf(file), "server:|share|model.prt");
    ASSERT_EQ(PDMLDBCommitTransaction(handle), 0);

    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    EXPECT_EQ(file->Localize(ws), 0);
    EXPECT_EQ(PathOf(file), Portable(dir.File("ws/model.prt.1")));
    EXPECT_FALSE(file->IsModified());
    Write(dir.File("ws/model.prt.1"));
    // A new file that the client never writes gets no stamp and stays modified.
    PDMc_LF* unwritten =
        PDMc_LF::Create(ldb, Portable(dir.File("ws/never")).c_str(), ws->NextFileVersion());
    EXPECT_EQ(PathOf(unwritten), Portable(dir.File("ws/never.2")));
    EXPECT_EQ(ldb->FileQueue()->Count(), 2u);
    ASSERT_EQ(PDMLDBCommitTransaction(handle), 0) << testsupport::DescribeTop();
    EXPECT_EQ(unwritten->GetModificationStamp(), 0u);
    EXPECT_TRUE(unwritten->IsModified());
    uint32_t stamp = file->GetModificationStamp();
    EXPECT_NE(stamp, 0u);
    EXPECT_FALSE(file->IsModified());
    fs::path written = dir.File("ws/model.prt.1");
    fs::last_write_time(written, fs::last_write_time(written) - std::chrono::hours(1));
    EXPECT_TRUE(file->IsModified()) << "an earlier time is a change too";

    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    EXPECT_EQ(file->Localize(ws), 0);
    PDMc_LF* copy = file->MakeWritableCopy(ws);
    EXPECT_EQ(file->GetFileVersion(), 1) << "neither localized again nor changed by a copy";
    EXPECT_EQ(copy->GetFileVersion(), 3);
    EXPECT_TRUE(copy->IsModified());
    EXPECT_EQ(copy->GetModificationStamp(), stamp);
    EXPECT_EQ(ldb->FileQueue()->Count(), 0u) << "a writable copy takes no stamp";
    PDMc_LF* local = RepositoryFile("")->MakeWritableCopy(ws);
    EXPECT_EQ(PathOf(local), Portable(dir.File("ws/model.prt.4")));
    EXPECT_TRUE(local->IsModified());
    // A path that is there but can't be asked for its time is only reported.
    fs::create_symlink(dir.File("nowhere"), dir.File("ws/model.prt.4"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(PDMLDBCommitTransaction(handle), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " PDMc_LF::SetModificationStampFromFile :  File inaccesible " +
                  Portable(dir.File("ws/model.prt")) + " \n");
}

TEST_F(LocalFiles, FailedRunReportsEachPathAndLeavesTheTransactionOpen) {
    std::string busy = dir.File("busy"), plain = dir.File("plain.txt"), ok = dir.File("ok");
    fs::create_directories(busy + "/x");
    Write(plain);
    Write(ok);
    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    ASSERT_EQ(ldb->QueueDeleteFile(Portable(busy).c_str()), 0);
    ASSERT_EQ(ldb->QueueDeleteFile(Portable(ok).c_str()), 0);
    ASSERT_EQ(ldb->QueueDeleteDirectory(Portable(plain).c_str()), 0);
    EXPECT_EQ(PDMLDBCommitTransaction(handle), 406) << "the last failure is the result";
    std::vector<std::string> records;  // code, originator, severity, path
    for (nyxError* e = nyxErrorGetCurrent(); e != nullptr; e = e->previous)
        records.push_back(std::to_string(e->error_code) + std::to_string(e->originator) +
                          std::to_string(e->severity) + " " + Arguments(e).at(0));
    EXPECT_EQ(records, (std::vector<std::string>{"40612 " + Portable(plain),
                                                 "40512 " + Portable(busy)}));
    EXPECT_FALSE(There(ok)) << "the walk goes on past a failure";
    EXPECT_TRUE(There(busy + "/x") && There(plain));
    EXPECT_EQ(ldb->FileQueue()->Count(), 0u);
    nyxErrorClear();
    int open = 0;
    ASSERT_EQ(PDMIsLDBTransactionInProgress(handle, &open), 0);
    EXPECT_EQ(open, 1) << "the store's commit didn't run";

    ASSERT_EQ(ldb->QueueNewFile(Portable(busy).c_str()), 0);
    EXPECT_EQ(PDMLDBAbortTransaction(handle), 405);
    nyxErrorClear();
    EXPECT_EQ(PDMLDBAbortTransaction(handle), 0) << "the second end has nothing left to run";
    ASSERT_EQ(PDMIsLDBTransactionInProgress(handle, &open), 0);
    EXPECT_EQ(open, 0);
}

}  // namespace
