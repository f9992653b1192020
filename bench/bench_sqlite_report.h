// Medians and the printed table of the comparison with SQLite. The table is Markdown with its
// columns padded, so that it reads in a terminal and pastes into the README as it is.
#ifndef MARROWS_BENCH_SQLITE_REPORT_H
#define MARROWS_BENCH_SQLITE_REPORT_H

#include <cstdint>
#include <string>
#include <vector>

namespace sqlitebench {

// The middle value; the mean of the two middle ones for an even count; 0 for none.
double Median(std::vector<double> values);

// "812 us", "4.21 ms", "37.9 ms", "1.24 s", "12.5 s": three significant digits.
std::string FormatSeconds(double seconds);
// "640 KiB", "4.21 MiB".
std::string FormatBytes(uint64_t bytes);
// marrows time over the other engine's: "0.42", "3.10"; "n/a" when either is unknown.
std::string FormatRatio(double ours, double theirs);

class Table {
public:
    explicit Table(std::vector<std::string> header) : header_(std::move(header)) {}
    // A row with fewer cells than the header is padded with empty ones.
    void AddRow(std::vector<std::string> cells);
    // Column 0 is aligned left, all others right.
    std::string Render() const;

private:
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace sqlitebench

#endif
