// Crashing at every durable step: a scenario runs in a fork()ed child that ends itself with
// _exit right after its k-th write, flush or truncate (or has that step fail), for k = 1, 2, ...
// until a run completes without reaching k. The parent checks the file after every crash.
#pragma once

#include <functional>
#include <string>

#include "platform/pfile.h"

namespace testsupport {

// What happens at the chosen step.
enum class StepFault {
    kCrashAfter,  // the step reaches the file, then the process dies
    kFailOnce,    // the step fails as a failing disk would; the process goes on
};

// Counts the store's durable steps and acts at the k-th one.
class StepCounter : public platform::IoHook {
public:
    StepCounter(int target, StepFault fault) : target_(target), fault_(fault) {}
    bool Before(platform::IoOp op) override;
    void After(platform::IoOp op) override;
    int Steps() const { return steps_; }
    bool Reached() const { return reached_; }

private:
    int target_;
    StepFault fault_;
    int steps_ = 0;
    bool reached_ = false;
};

// Records the durable steps while it is installed, as letters: W write, F flush, T truncate.
class StepRecorder : public platform::IoHook {
public:
    StepRecorder() { platform::SetIoHook(this); }
    ~StepRecorder() override { platform::SetIoHook(nullptr); }
    bool Before(platform::IoOp) override { return true; }
    void After(platform::IoOp op) override {
        steps += op == platform::IoOp::kWrite ? 'W' : op == platform::IoOp::kFlush ? 'F' : 'T';
    }
    std::string steps;
};

// The outcome of one crash run.
struct CrashRun {
    int step;        // k
    bool crashed;    // the child died at step k (false: the scenario finished first)
    int childStatus; // exit status of a child that finished
};

// Runs `scenario` (which returns 0 on success) in a child for k = 1, 2, ...; after each run
// calls `check(run)`, which returns an empty string when the file is acceptable, else what is
// wrong. `prepare` runs in the parent before each k to lay down the starting file. Gives the
// number of crash points checked, or -1 after the first failure (reported through gtest).
int CrashAtEveryStep(const std::function<void()>& prepare, const std::function<int()>& scenario,
                     const std::function<std::string(const CrashRun&)>& check,
                     int maxSteps = 100000);

// Runs `body` with the k-th step failing once; gives the number of steps the body made.
int FailStepOnce(int k, const std::function<void()>& body);

}  // namespace testsupport
