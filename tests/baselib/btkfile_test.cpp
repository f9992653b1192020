#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "btkfile.h"
#include "btkstatus.h"
#include "testsupport.h"

namespace {

void Touch(const std::string& path, const std::string& content = "x") {
    testsupport::WriteFileBytes(path, std::vector<unsigned char>(content.begin(), content.end()));
}

std::string Portable(const std::string& path) {
    btkPath buffer;
    btkPathToPortable(path.c_str(), buffer);
    return buffer;
}

std::vector<std::string> Names(btkDirIterator* it) {
    std::vector<std::string> names;
    btkPath name;
    while (it->Next(name)) names.push_back(name);
    return names;
}

}  // namespace

TEST(StatusFromErrno, MapsTheDocumentedErrors) {
    struct Case {
        int error;
        btkStatus status;
    };
    const Case cases[] = {{ENOENT, 5}, {EEXIST, 7}, {EACCES, 8}, {EISDIR, 8}, {ENAMETOOLONG, 11},
                          {ENOTDIR, 14}, {ENOTEMPTY, 33}, {EXDEV, 35}, {0, 4}, {EHOSTDOWN, 4}};
    for (const Case& c : cases) EXPECT_EQ(btkStatusFromErrno(c.error), c.status) << c.error;
    EXPECT_STREQ(btkStatusTexts[27].text, "The address is already in use");
    EXPECT_EQ(btkStatusTexts[43].status, 54);
    EXPECT_STREQ(btkStatusTexts[68].text, "Socket is not connected or reset or some other failure");
}

TEST(FileHelpers, AnySeparatorFormReachesTheFile) {
    testsupport::TempDir dir;
    std::string sub = Portable(dir.File("sub"));
    EXPECT_EQ(btkMakeDirectory(sub.c_str()), 1);
    EXPECT_EQ(btkMakeDirectory(sub.c_str()), 7);
    EXPECT_EQ(btkMakeDirectory(Portable(dir.File("a/b")).c_str()), 5);  // one level only
    Touch(dir.File("sub/file.txt"), "12345");
    std::string file = sub + "|file.txt";
    EXPECT_TRUE(btkIsFile(file.c_str()));
    EXPECT_FALSE(btkIsDirectory(file.c_str()));
    EXPECT_TRUE(btkIsDirectory((sub + "||").c_str()));  // trailing separators are cut first
    btkFileInfo info;
    ASSERT_EQ(btkGetFileInfo(file.c_str(), &info), 1);
    EXPECT_TRUE(info.exists);
    EXPECT_EQ(info.size, 5u);
    EXPECT_TRUE(info.canRead && info.canWrite && info.canExecute);
    EXPECT_FALSE(info.isLink);

    struct timeval times[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimes(dir.File("sub/file.txt").c_str(), times), 0);
    int32_t stamp = 7;
    EXPECT_EQ(btkGetFileTime(file.c_str(), &stamp), 1);
    EXPECT_EQ(stamp, 1000000000);
    stamp = 7;
    EXPECT_EQ(btkGetFileTime((sub + "|missing").c_str(), &stamp), 5);
    EXPECT_EQ(stamp, 7);
    EXPECT_EQ(btkGetFileInfo((sub + "|missing").c_str(), &info), 5);

    EXPECT_EQ(btkDeleteFile(file.c_str()), 1);
    EXPECT_EQ(btkDeleteFile(file.c_str()), 5);
    EXPECT_EQ(btkDeleteFile(sub.c_str()), 8);  // a directory isn't a file
    EXPECT_EQ(btkRemoveDirectory(sub.c_str()), 1);
    EXPECT_FALSE(btkIsDirectory(sub.c_str()));
}

TEST(FileHelpers, StatFollowsLinksButRemovalDoesNot) {
    testsupport::TempDir dir;
    Touch(dir.File("target"));
    ASSERT_EQ(symlink(dir.File("target").c_str(), dir.File("link").c_str()), 0);
    EXPECT_TRUE(btkIsFile(dir.File("link").c_str()));
    EXPECT_FALSE(btkIsLink(dir.File("link").c_str()));
    ASSERT_EQ(mkdir(dir.File("outside").c_str(), 0777), 0);
    Touch(dir.File("outside/keep"));
    ASSERT_EQ(mkdir(dir.File("tree").c_str(), 0777), 0);
    ASSERT_EQ(symlink(dir.File("outside").c_str(), dir.File("tree/dirlink").c_str()), 0);
    EXPECT_EQ(btkRemoveTree(dir.File("tree").c_str()), 1);
    EXPECT_TRUE(btkIsFile(dir.File("outside/keep").c_str()));
    EXPECT_FALSE(btkStatFile(dir.File("tree").c_str()).exists);
}

TEST(DirIterator, NamesInByteOrderWithoutDotEntries) {
    testsupport::TempDir dir;
    for (const char* name : {"b.txt", "a.TXT", "c.txt", "B.txt"}) Touch(dir.File(name));
    ASSERT_EQ(mkdir(dir.File("d").c_str(), 0777), 0);
    std::unique_ptr<btkDirIterator> it(btkOpenDirIterator(Portable(dir.Path()).c_str()));
    ASSERT_NE(it, nullptr);
    EXPECT_EQ(Names(it.get()), (std::vector<std::string>{"B.txt", "a.TXT", "b.txt", "c.txt", "d"}));

    it.reset(btkOpenDirIterator((dir.Path() + "/").c_str()));
    btkPath name;
    std::vector<std::string> matched;
    while (it->NextMatching(name, "*.txt")) matched.push_back(name);
    EXPECT_EQ(matched, (std::vector<std::string>{"B.txt", "b.txt", "c.txt"}));

    it.reset(btkOpenDirIterator(dir.Path().c_str()));
    std::strcpy(name, "untouched");
    EXPECT_TRUE(it->NextMatching(name, ""));
    EXPECT_STREQ(name, "untouched");

    dsBlockArray names(sizeof(char*));
    EXPECT_TRUE(it->List(&names, "?.*"));
    ASSERT_EQ(names.Count(), 4u);
    EXPECT_STREQ(*static_cast<char**>(names.At(0)), "B.txt");
    for (uint32_t i = 0; i < names.Count(); ++i) delete[] *static_cast<char**>(names.At(i));
    names.Clear();
    EXPECT_FALSE(it->List(&names, "*"));  // all names were taken
}

TEST(DirIterator, FailureLeavesTheSystemErrorForTheCaller) {
    testsupport::TempDir dir;
    Touch(dir.File("file"));
    struct Case {
        std::string path;
        btkStatus status;
    };
    const Case cases[] = {{dir.File("missing"), 5}, {dir.File("file"), 14}};
    for (const Case& c : cases) {
        errno = 0;
        EXPECT_EQ(btkOpenDirIterator(c.path.c_str()), nullptr);
        EXPECT_EQ(btkStatusFromLastError(), c.status) << c.path;
        EXPECT_EQ(btkRemoveTree(c.path.c_str()), c.status) << c.path;
    }
}

TEST(RemoveTree, RemovesDepthFirstAndStopsAtTheFirstFailure) {
    testsupport::TempDir dir;
    std::string root = dir.File("ws");
    ASSERT_EQ(mkdir(root.c_str(), 0777), 0);
    ASSERT_EQ(mkdir((root + "/a").c_str(), 0777), 0);
    ASSERT_EQ(mkdir((root + "/a/deep").c_str(), 0777), 0);
    Touch(root + "/a/deep/f1");
    Touch(root + "/b");
    EXPECT_EQ(btkRemoveTree(Portable(root).c_str()), 1);
    EXPECT_FALSE(btkStatFile(root.c_str()).exists);

    // A path of the tree that can't be removed: the walk stops there, in name order, so what
    // comes after it stays.
    ASSERT_EQ(mkdir(root.c_str(), 0777), 0);
    Touch(root + "/1-first");
    ASSERT_EQ(mkdir((root + "/2-stuck").c_str(), 0777), 0);
    Touch(root + "/3-after");
    // Too long to append: the walk must refuse it rather than descend into its own path.
    std::string longName(250, 'n');
    std::string deep = root + "/2-stuck";
    for (int i = 0; i < 4; ++i) {
        deep += "/" + longName;
        ASSERT_EQ(mkdir(deep.c_str(), 0777), 0) << deep.size();
    }
    EXPECT_EQ(btkRemoveTree(root.c_str()), 11);
    EXPECT_FALSE(btkStatFile((root + "/1-first").c_str()).exists);
    EXPECT_TRUE(btkStatFile((root + "/3-after").c_str()).exists);
}
