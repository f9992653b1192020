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
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldbws/ws.h"
#include "testsupport.h"

namespace fs = std::filesystem;
using testsupport::Arguments;
using testsupport::StackCodes;

namespace {

// The stored form of a native path: the library keeps "|" and converts at each use.
std::string Portable(std::string path) {
    for (char& c : path)
        if (c == '/') c = '|';
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

    // A stored member as the store would fill it: how a repository record comes to be.
    template <class T>
    T& Member(PDMc_LDBObject* object, const char* name) {
        const LDBClassDescriptor* cls = ldb->Layout()->CurrentClass(object->GetTypeCode());
        return *static_cast<T*>(cls->FindMember(name)->GetPlace().FieldIn(object));
    }
    PDMc_LF* RepositoryFile(const char* host, const char* path) {
        PDMc_LF* file = new PDMc_LF(ldb);
        Member<nyxString>(file, "m_file_name") = "model.prt";
        Member<nyxString>(file, "m_local_path") = path;
        Member<nyxString>(file, "m_host_name") = host;
        Member<uint32_t>(file, "m_rep_obj_id") = 42;
        return file;
    }
    PDMc_WS* Workspace(const std::string& directory) {
        PDMc_WS* ws = new PDMc_WS(ldb);
        Member<nyxString>(ws, "m_os_dir_path") = Portable(directory).c_str();
        EXPECT_EQ(ldb->QueueNewDirectory(ws->GetOsDirPath().c_str()), 0);
        return ws;
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

TEST_F(LocalFiles, PathCarriesTheFileVersionOrTheHost) {
    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    PDMc_LF* seven = PDMc_LF::Create(ldb, "|d|a\\b/part.txt", 7);
    PDMc_LF* none = PDMc_LF::Create(ldb, "plain", 0);
    EXPECT_EQ(PathOf(seven), "|d|a\\b/part.txt.7");
    EXPECT_STREQ(seven->GetFileName().c_str(), "part.txt");
    EXPECT_EQ(PathOf(none), "plain");
    EXPECT_STREQ(none->GetFileName().c_str(), "plain");
    EXPECT_TRUE(seven->IsModified());
    EXPECT_EQ(PathOf(RepositoryFile("server", "|d|x.prt")), "server:|d|x.prt");
    EXPECT_EQ(PathOf(RepositoryFile("", "|d|x.prt")), "|d|x.prt");
    EXPECT_EQ(PDMLDBAbortTransaction(handle), 0);
}

TEST_F(LocalFiles, OutcomeDecidesWhichQueuedPathsStay) {
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
        std::string ws = base + "/ws";
        ASSERT_EQ(ldb->QueueNewDirectory(Portable(ws).c_str()), 0);
        EXPECT_TRUE(fs::is_directory(ws)) << "the directory is made at queueing";
        fs::create_directories(ws + "/inner");
        Write(ws + "/inner/part.1");
        EXPECT_EQ(ldb->QueueNewDirectory(Portable(ws).c_str()), 418);
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{Portable(ws)});
        nyxErrorClear();
        ASSERT_EQ(ldb->QueueNewFile(Portable(base + "/new.txt").c_str()), 0);
        Write(base + "/new.txt");
        ASSERT_EQ(ldb->QueueNewFile(Portable(base + "/never.txt").c_str()), 0);
        ASSERT_EQ(ldb->QueueDeleteFile(Portable(base + "/old.txt").c_str()), 0);
        ASSERT_EQ(ldb->QueueDeleteFile(Portable(base + "/missing.txt").c_str()), 0);
        ASSERT_EQ(ldb->QueueDeleteDirectory(Portable(base + "/old_dir").c_str()), 0);
        ASSERT_EQ(ldb->QueueDeleteDirectory(Portable(base + "/link").c_str()), 0);
        EXPECT_EQ(ldb->FileQueue()->Count(), 7u) << "the refused directory isn't queued";

        EXPECT_EQ(commit ? PDMLDBCommitTransaction(handle) : PDMLDBAbortTransaction(handle), 0)
            << testsupport::DescribeTop();
        EXPECT_EQ(ldb->FileQueue()->Count(), 0u);
        EXPECT_EQ(There(ws), commit);
        EXPECT_EQ(There(base + "/new.txt"), commit);
        EXPECT_EQ(There(base + "/old.txt"), !commit);
        EXPECT_EQ(There(base + "/old_dir/sub/f"), !commit);
        EXPECT_EQ(There(base + "/link"), !commit);
        EXPECT_TRUE(There(base + "/target/kept")) << "a link goes, never what it points at";
    }
}

TEST_F(LocalFiles, StampTakenAtCommitKeepsAFileCleanUntilItsTimeChanges) {
    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    PDMc_WS* ws = Workspace(dir.File("ws"));
    PDMc_LF* file = RepositoryFile("server", "|share|model.prt");
    ASSERT_EQ(PDMLDBCommitTransaction(handle), 0);

    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    EXPECT_EQ(file->Localize(ws), 0);
    EXPECT_FALSE(file->IsRepositoryFile());
    EXPECT_EQ(PathOf(file), Portable(dir.File("ws/model.prt.1")));
    EXPECT_FALSE(file->IsModified());
    EXPECT_EQ(ldb->FileQueue()->Count(), 1u);
    Write(dir.File("ws/model.prt.1"));
    // A new file that the client never writes gets no stamp and stays modified.
    PDMc_LF* unwritten = PDMc_LF::Create(ldb, Portable(dir.File("ws/never")).c_str(),
                                         ws->NextFileVersion());
    ASSERT_EQ(PDMLDBCommitTransaction(handle), 0) << testsupport::DescribeTop();
    EXPECT_EQ(unwritten->GetModificationStamp(), 0u);
    EXPECT_TRUE(unwritten->IsModified());

    uint32_t stamp = file->GetModificationStamp();
    EXPECT_NE(stamp, 0u);
    EXPECT_FALSE(file->IsModified());
    fs::last_write_time(dir.File("ws/model.prt.1"),
                        fs::last_write_time(dir.File("ws/model.prt.1")) - std::chrono::hours(1));
    EXPECT_TRUE(file->IsModified()) << "an earlier time is a change too";

    ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
    EXPECT_EQ(file->Localize(ws), 0);
    EXPECT_EQ(file->GetFileVersion(), 1) << "a local file isn't localized again";
    PDMc_LF* copy = file->MakeWritableCopy(ws);
    EXPECT_EQ(copy->GetFileVersion(), 3);
    EXPECT_TRUE(copy->IsModified());
    EXPECT_EQ(copy->GetModificationStamp(), stamp);
    EXPECT_EQ(ldb->FileQueue()->Count(), 0u) << "a writable copy takes no stamp";
    PDMc_LF* fromRepository = RepositoryFile("", "|share|model.prt")->MakeWritableCopy(ws);
    EXPECT_EQ(PathOf(fromRepository), Portable(dir.File("ws/model.prt.4")));
    EXPECT_TRUE(fromRepository->IsModified());
    EXPECT_EQ(ldb->FileQueue()->Count(), 1u);
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
    EXPECT_EQ(StackCodes(), (std::vector<int>{406, 405}));
    std::vector<std::string> paths;
    for (nyxError* e = nyxErrorGetCurrent(); e != nullptr; e = e->previous) {
        EXPECT_EQ(e->severity, 2);
        EXPECT_EQ(e->originator, 1);
        paths.push_back(Arguments(e).at(0));
    }
    EXPECT_EQ(paths, (std::vector<std::string>{Portable(plain), Portable(busy)}));
    EXPECT_FALSE(There(ok)) << "the walk goes on past a failure";
    EXPECT_TRUE(There(busy + "/x") && There(plain));
    EXPECT_EQ(ldb->FileQueue()->Count(), 0u);
    int open = 0;
    nyxErrorClear();
    ASSERT_EQ(PDMIsLDBTransactionInProgress(handle, &open), 0);
    EXPECT_EQ(open, 1) << "the store's commit didn't run";

    ASSERT_EQ(ldb->QueueNewFile(Portable(busy).c_str()), 0);
    EXPECT_EQ(PDMLDBAbortTransaction(handle), 405);
    nyxErrorClear();
    EXPECT_EQ(PDMLDBAbortTransaction(handle), 0) << "the second end has nothing left to run";
    ASSERT_EQ(PDMIsLDBTransactionInProgress(handle, &open), 0);
    EXPECT_EQ(open, 0);
}

TEST_F(LocalFiles, QueueWithEntriesRefusesToGoAndStillRuns) {
    Write(dir.File("doomed"));
    PDMc_LFOPQ* queue = new PDMc_LFOPQ();
    ASSERT_EQ(queue->Queue(LDBFileOp::kDeleteFile, dir.File("doomed").c_str()), 0);
    EXPECT_EQ(queue->Delete(), 101);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(0), "PDMc_LFOPQ::Delete");
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "srcldb/ldblfopq");
    nyxErrorClear();
    EXPECT_EQ(queue->Commit(), 0);
    EXPECT_FALSE(There(dir.File("doomed")));
    EXPECT_EQ(queue->Delete(), 0);
}

}  // namespace
