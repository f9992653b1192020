#include "crashharness.h"

#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace testsupport {

namespace {
constexpr int kCrashExit = 77;  // the exit status of a child that crashed on purpose
}

bool StepCounter::Before(platform::IoOp) {
    ++steps_;
    if (steps_ == target_ && fault_ == StepFault::kFailOnce) {
        reached_ = true;
        return false;
    }
    return true;
}

void StepCounter::After(platform::IoOp) {
    if (steps_ == target_ && fault_ == StepFault::kCrashAfter) _exit(kCrashExit);
}

int CrashAtEveryStep(const std::function<void()>& prepare, const std::function<int()>& scenario,
                     const std::function<std::string(const CrashRun&)>& check, int maxSteps) {
    for (int k = 1; k <= maxSteps; ++k) {
        prepare();
        std::fflush(nullptr);
        pid_t pid = fork();
        if (pid == 0) {
            StepCounter counter(k, StepFault::kCrashAfter);
            platform::SetIoHook(&counter);
            int rc = scenario();
            platform::SetIoHook(nullptr);
            _exit(rc == 0 ? 0 : 1);
        }
        int status = 0;
        if (pid < 0 || waitpid(pid, &status, 0) != pid) {
            ADD_FAILURE() << "could not run the scenario in a child";
            return -1;
        }
        if (!WIFEXITED(status)) {
            ADD_FAILURE() << "the scenario died by a signal at step " << k;
            return -1;
        }
        CrashRun run{k, WEXITSTATUS(status) == kCrashExit, WEXITSTATUS(status)};
        if (!run.crashed && run.childStatus != 0) {
            ADD_FAILURE() << "the scenario failed without a crash at step " << k;
            return -1;
        }
        std::string problem = check(run);
        if (!problem.empty()) {
            ADD_FAILURE() << (run.crashed ? "after a crash at step " : "after the full run ") << k
                          << ": " << problem;
            return -1;
        }
        if (!run.crashed) return k - 1;
    }
    ADD_FAILURE() << "the scenario never completed within " << maxSteps << " steps";
    return -1;
}

int FailStepOnce(int k, const std::function<void()>& body) {
    StepCounter counter(k, StepFault::kFailOnce);
    platform::SetIoHook(&counter);
    body();
    platform::SetIoHook(nullptr);
    return counter.Steps();
}

}  // namespace testsupport
