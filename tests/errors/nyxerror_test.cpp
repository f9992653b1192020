#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "srccldb/callframe.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::CleanStackTest;
using testsupport::StackCodes;

namespace {
std::string Dump() {
    nyxString text;
    nyxErrorDumpToString(text);
    return text.c_str();
}
}  // namespace

class ErrorStack : public CleanStackTest {};

TEST_F(ErrorStack, PopRemovesDownToTheRecordAndUnknownEmptiesAll) {
    nyxError* oldest = nyxErrorPush(1, 1, 2, 0);
    nyxError* middle = nyxErrorPush(1, 2, 2, 0);
    nyxErrorPush(1, 3, 2, 0);
    nyxErrorPop(middle);
    EXPECT_EQ(StackCodes(), std::vector<int>{1});
    EXPECT_EQ(nyxErrorGetCurrent(), oldest);
    nyxErrorPush(1, 4, 2, 0);
    nyxErrorPop(nullptr);
    EXPECT_TRUE(StackCodes().empty());
    EXPECT_EQ(nyxErrorCurrentCode(), 0);
}

TEST_F(ErrorStack, PushRecordsLeadingArgumentsAsTexts) {
    nyxErrorPushArgs(1, 2405, 2, "x", nyxMessageArg::NullArg, "y");
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"x"});
    nyxErrorPushArgs(1, 2405, 2, static_cast<const char*>(nullptr), int32_t(-1), uint32_t(0xFFFFFFFFu));
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"", "-1", "4294967295"}));
    nyxError* record = nyxErrorGetCurrent();
    EXPECT_EQ(nyxErrorGetArgument(record, -1), nullptr);
    EXPECT_EQ(nyxErrorGetArgument(record, 3), nullptr);
    EXPECT_EQ(nyxErrorGetSeverity(record), 2);
    EXPECT_EQ(nyxErrorGetOriginator(record), 1);
    EXPECT_EQ(record->message_number, 2405);

    nyxString text("kept");
    text.Append("!");
    nyxMessageArg fromString(text);
    nyxString converted;
    fromString.ToString(converted);
    EXPECT_STREQ(converted.c_str(), "kept!");
    nyxMessageArg::NullArg.ToString(converted);
    EXPECT_STREQ(converted.c_str(), "");

    nyxError* bare = nyxErrorPush(1, 7, 2, 0);
    EXPECT_EQ(bare->argument_count, 0);
    EXPECT_EQ(bare->arguments, nullptr);
    nyxError* withNull = nyxErrorPush(1, 8, 2, 2, static_cast<const char*>(nullptr), "b");
    EXPECT_EQ(Arguments(withNull), (std::vector<std::string>{"<null>", "b"}));
}

TEST_F(ErrorStack, InternalErrorsCarryPathAndLine) {
    nyxErrorPushInternal("", "srcldb/ldbstore", 12);
    nyxError* top = nyxErrorGetCurrent();
    EXPECT_EQ(nyxErrorGetErrorCode(top), 101);
    EXPECT_EQ(nyxErrorGetSeverity(top), 3);
    EXPECT_EQ(Arguments(top), (std::vector<std::string>{"srcldb/ldbstore", "12"}));
    nyxErrorPushInternal("Duplicate key", "srcldb/ldbstore", 40);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"Duplicate key", "srcldb/ldbstore", "40"}));
}

TEST_F(ErrorStack, DumpOfANullHandleFailureReadsAsDocumented) {
    EXPECT_EQ(Dump(), "Error Stack: <empty>\n");
    EXPECT_EQ(PDMCheckHandle(nullptr, "PDMWSPIGetOwner", "WSPIHandle"), 110);
    EXPECT_EQ(Dump(),
              "Error Stack:\n"
              " Error 110 [module 1] (Error): <no message>\n"
              "  Argument 1: PDMWSPIGetOwner\n"
              "  Argument 2: WSPIHandle\n");
    // Records come newest first; unknown severities print no severity text; null entries print.
    nyxErrorPush(3, 9, 7, 2, static_cast<const char*>(nullptr), "z");
    nyxErrorPush(1, 101, 3, 0);
    EXPECT_EQ(Dump(),
              "Error Stack:\n"
              " Error 101 [module 1] (Fatal): <no message>\n"
              " Error 9 [module 3]: <no message>\n"
              "  Argument 1: <null>\n"
              "  Argument 2: z\n"
              " Error 110 [module 1] (Error): <no message>\n"
              "  Argument 1: PDMWSPIGetOwner\n"
              "  Argument 2: WSPIHandle\n");
    // The library installs no catalogue, so records keep no message.
    EXPECT_EQ(nyxErrorGetMessage(nyxErrorGetCurrent()), nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(PDMErrorDumpStack(nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), Dump());
}

TEST_F(ErrorStack, DetailsGiveAPlainCopyAndNormaliseSeverity) {
    PDMErrorDetails details;
    std::memset(&details, 0xAB, sizeof details);
    EXPECT_EQ(PDMErrorGetDetails(nullptr, &details), 0);
    EXPECT_EQ(details.code, 0);
    EXPECT_EQ(details.severity, 0);
    EXPECT_EQ(details.argumentCount, 0);
    EXPECT_EQ(details.arguments, nullptr);
    EXPECT_EQ(PDMErrorGetDetails(nullptr, nullptr), 0);

    const int severities[][2] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 2}, {-1, 2}};
    for (const auto& s : severities) {
        nyxError* e = nyxErrorPush(1, 2403, s[0], 1, "p.ldb");
        ASSERT_EQ(PDMErrorGetDetails(e, &details), 0);
        EXPECT_EQ(details.severity, s[1]) << s[0];
        EXPECT_EQ(details.argumentCount, 1);
        EXPECT_STREQ(details.arguments[0], "p.ldb");
    }
}

TEST_F(ErrorStack, StandingRecordDecidesLaterFormTResults) {
    EXPECT_EQ(PDMResultT(), 0);
    PDMCheckHandle(nullptr, "PDMLDBGetPath", "LDBHandle");
    PDMCheckHandle(nullptr, "PDMWSPIGetOwner", "WSPIHandle");
    EXPECT_EQ(StackCodes(), (std::vector<int>{110, 110}));
    EXPECT_EQ(Arguments(nyxErrorGetCurrent())[0], "PDMWSPIGetOwner");
    // A call that did its work still reports the standing code under form T.
    EXPECT_EQ(PDMCheckHandle(reinterpret_cast<void*>(0x10), "PDMLDBGetPath", "LDBHandle"), 0);
    EXPECT_EQ(PDMResultT(), 110);
    EXPECT_EQ(PDMErrorClearStack(), 0);
    EXPECT_EQ(PDMResultT(), 0);
}

TEST(CallFrame, NestedFramesKeepTheOutermostName) {
    EXPECT_EQ(PDMCallFrame::Depth(), 0u);
    {
        PDMCallFrame outer("PDMWSPIGetCurrWSPIVName");
        {
            PDMCallFrame inner("PDMWSPIVGetName");
            EXPECT_EQ(PDMCallFrame::Depth(), 2u);
            EXPECT_STREQ(PDMCallFrame::OutermostName(), "PDMWSPIGetCurrWSPIVName");
        }
        EXPECT_STREQ(PDMCallFrame::OutermostName(), "PDMWSPIGetCurrWSPIVName");
    }
    EXPECT_EQ(PDMCallFrame::Depth(), 0u);
    EXPECT_EQ(PDMCallFrame::OutermostName(), nullptr);
}

TEST(StringRing, ThirtyThirdTextReusesTheFirstSlot) {
    EXPECT_EQ(PDMKeepString(nullptr), nullptr);
    const char* kept[33];
    for (int i = 0; i < 33; ++i) {
        std::string text = "text " + std::to_string(i);
        kept[i] = PDMKeepString(text.c_str());
        ASSERT_STREQ(kept[i], text.c_str());
        EXPECT_EQ(PDMKeepString(nullptr), nullptr);  // a null text doesn't move the ring
    }
    // The 32 texts kept after the first are all still valid (the first was freed for the 33rd).
    for (int i = 1; i < 33; ++i) EXPECT_EQ(std::string(kept[i]), "text " + std::to_string(i));
}

TEST(DebugTrace, EveryPushIsAppendedToTheNamedFile) {
    // The trace variable is read at the first push of a process: run in a fresh process.
    if (const char* path = std::getenv("MARWTEST_TRACE_CHILD")) {
        nyxErrorPushArgs(1, 2408, 2, path, nyxMessageArg::NullArg);
        nyxErrorPushInternal("broken", "srcldb/ldbstore", 7);
        nyxErrorClear();
        return;
    }
    testsupport::TempDir dir;
    struct Case {
        std::string file;
        bool written;
    };
    const Case cases[] = {{dir.File("trace.txt"), true}, {dir.File("missing/trace.txt"), false}};
    for (const Case& c : cases) {
        pid_t pid = fork();
        if (pid == 0) {
            setenv("MARW_ERROR_DEBUG_FILE", c.file.c_str(), 1);
            setenv("MARWTEST_TRACE_CHILD", "x.ldb", 1);
            execl("/proc/self/exe", "test_errors", "--gtest_filter=DebugTrace.*", nullptr);
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        std::vector<unsigned char> bytes = testsupport::ReadFileBytes(c.file);
        std::string text(bytes.begin(), bytes.end());
        if (!c.written) {
            EXPECT_TRUE(text.empty());
            continue;
        }
        EXPECT_EQ(text,
                  "===========================================================\n"
                  "originator = NYX_MODULE_MFTOOLKIT\nseverity   = NYX_SEVERITY_ERROR\n"
                  "error_code = 2408\nx.ldb\n"
                  "===========================================================\n"
                  "originator = NYX_MODULE_MFTOOLKIT\nseverity   = NYX_SEVERITY_FATAL\n"
                  "error_code = 101\nbroken\nsrcldb/ldbstore\n7\n");
    }
}
