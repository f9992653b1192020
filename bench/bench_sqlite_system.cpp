#include "bench_sqlite_system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "bench_sqlite_report.h"

namespace sqlitebench {

uint64_t FileSize(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return 0;
    return static_cast<uint64_t>(info.st_size);
}

void RemoveFile(const std::string& path) { unlink(path.c_str()); }

bool RunSelf(const std::vector<std::string>& arguments, std::string* output) {
    output->clear();
    char self[4096];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) return false;
    self[length] = '\0';

    std::vector<char*> argv;
    argv.push_back(self);
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) return false;
    // Whatever this process has buffered must not be printed a second time by the child.
    std::fflush(nullptr);
    pid_t child = fork();
    if (child < 0) {
        close(pipe_ends[0]);
        close(pipe_ends[1]);
        return false;
    }
    if (child == 0) {
        dup2(pipe_ends[1], STDOUT_FILENO);
        close(pipe_ends[0]);
        close(pipe_ends[1]);
        execv(self, argv.data());
        _exit(127);
    }
    close(pipe_ends[1]);
    char buffer[4096];
    for (;;) {
        ssize_t got = read(pipe_ends[0], buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        output->append(buffer, static_cast<size_t>(got));
    }
    close(pipe_ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<double> FsyncTimes(const std::string& folder, int samples) {
    std::string path = folder + "/bench_sqlite_fsync_" + std::to_string(getpid());
    std::vector<double> times;
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return times;
    char page[4096];
    std::memset(page, 0x5A, sizeof page);
    bool failed = false;
    for (int i = 0; i < samples && !failed; ++i) {
        Stopwatch watch;
        // A new place each time, as a commit writes behind the old data.
        failed = pwrite(fd, page, sizeof page, static_cast<off_t>(i) * 4096) != 4096 ||
                 fsync(fd) != 0;
        times.push_back(watch.Seconds());
    }
    close(fd);
    unlink(path.c_str());
    if (failed) times.clear();
    return times;
}

namespace {

std::string ProcessorName() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line)) {
        if (line.rfind("model name", 0) == 0) {
            size_t colon = line.find(':');
            if (colon != std::string::npos) return line.substr(colon + 2);
        }
    }
    return "unknown processor";
}

std::string FileSystemName(const std::string& folder) {
    struct statfs info;
    if (statfs(folder.c_str(), &info) != 0) return "unknown file system";
    switch (static_cast<unsigned long>(info.f_type)) {
        case 0xEF53: return "ext4";
        case 0x58465342: return "xfs";
        case 0x9123683E: return "btrfs";
        case 0x01021994: return "tmpfs";
        case 0x794C7630: return "overlayfs";
        default: {
            char text[32];
            std::snprintf(text, sizeof text, "file system 0x%lx",
                          static_cast<unsigned long>(info.f_type));
            return text;
        }
    }
}

}  // namespace

std::string MachineDescription(const std::string& folder) {
    struct utsname name;
    std::string kernel = uname(&name) == 0 ? std::string(name.sysname) + " " + name.release
                                           : std::string("unknown kernel");
    unsigned cores = std::thread::hardware_concurrency();
    return ProcessorName() + ", " + std::to_string(cores) + " cores, " + kernel + ", " +
           FileSystemName(folder) + " at " + folder;
}

std::string Now() {
    std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local);
    return text;
}

}  // namespace sqlitebench

namespace sqlitebench {

void ResetPeakMemory() {
    // Memory that an earlier workload freed stays with the allocator unless it is handed back,
    // and would count again.
    malloc_trim(0);
    // Writing 5 to clear_refs resets the high-water mark of the resident set (Linux).
    std::FILE* file = std::fopen("/proc/self/clear_refs", "w");
    if (file == nullptr) return;
    std::fputs("5", file);
    std::fclose(file);
}

uint64_t PeakMemory() {
    std::FILE* file = std::fopen("/proc/self/status", "r");
    if (file == nullptr) return 0;
    char line[256];
    uint64_t kib = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        unsigned long long value = 0;
        if (std::sscanf(line, "VmHWM: %llu kB", &value) == 1) kib = value;
    }
    std::fclose(file);
    return kib * 1024;
}

}  // namespace sqlitebench
