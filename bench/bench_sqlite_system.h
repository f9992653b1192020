// What the comparison with SQLite needs from the machine: a clock, file sizes, child processes
// of the program itself, the cost of one durable write, and a description of where it ran.
#ifndef MARROWS_BENCH_SQLITE_SYSTEM_H
#define MARROWS_BENCH_SQLITE_SYSTEM_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace sqlitebench {

class Stopwatch {
public:
    Stopwatch() : start_(std::chrono::steady_clock::now()) {}
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_;
};

// The size of a file, 0 if it does not exist.
uint64_t FileSize(const std::string& path);
// Removes a file if it exists.
void RemoveFile(const std::string& path);

// Runs this program again with the given arguments and gives back what it printed on standard
// output. False if it could not start, was killed or exited non-zero; *output then holds what
// it printed, if anything.
bool RunSelf(const std::vector<std::string>& arguments, std::string* output);

// The times of this many fsyncs, each after a 4 KiB write at a new place of a file in this
// folder. Empty if the file can't be written.
std::vector<double> FsyncTimes(const std::string& folder, int samples);

// The processor, the core count, the kernel and the file system of the folder, in one line.
std::string MachineDescription(const std::string& folder);
// The local date and time, "2024-05-01 14:03".
std::string Now();

// The peak resident memory of this process since the last reset (or its start), in bytes; 0
// where the system doesn't tell. The reset lowers the mark to what is resident now, so that
// the peak of one workload can be told from those before it.
void ResetPeakMemory();
uint64_t PeakMemory();

}  // namespace sqlitebench

#endif
