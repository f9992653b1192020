#include "childprocess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace childprocess {
namespace {

std::string Drain(int fd) {
    std::string text;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<size_t>(n));
    close(fd);
    return text;
}

Outcome Spawn(const std::function<void()>& inChild) {
    Outcome outcome;
    int outPipe[2];
    int errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0) return outcome;
    std::fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        close(outPipe[0]);
        close(outPipe[1]);
        close(errPipe[0]);
        close(errPipe[1]);
        inChild();
        std::fflush(nullptr);
        _exit(0);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    // Both pipes are small enough for what the children write; drain stdout first.
    outcome.out = Drain(outPipe[0]);
    outcome.err = Drain(errPipe[0]);
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return outcome;
    outcome.exited = WIFEXITED(status);
    if (outcome.exited) outcome.code = WEXITSTATUS(status);
    outcome.signaled = WIFSIGNALED(status);
    if (outcome.signaled) outcome.signal = WTERMSIG(status);
    return outcome;
}

}  // namespace

Outcome Run(const std::function<void()>& body) { return Spawn(body); }

Outcome RunSelf(const std::string& filter, const std::vector<std::pair<std::string, std::string>>& set,
                const std::vector<std::string>& unset) {
    return Spawn([&] {
        for (const auto& variable : set) setenv(variable.first.c_str(), variable.second.c_str(), 1);
        for (const auto& name : unset) unsetenv(name.c_str());
        std::string filterArg = "--gtest_filter=" + filter;
        execl("/proc/self/exe", "test_baselib", filterArg.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    });
}

}  // namespace childprocess
