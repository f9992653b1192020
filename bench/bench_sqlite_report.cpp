#include "bench_sqlite_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace sqlitebench {

double Median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    size_t middle = values.size() / 2;
    if (values.size() % 2 == 1) return values[middle];
    return (values[middle - 1] + values[middle]) / 2;
}

namespace {

// Three significant digits of a value at or above 1.
std::string ThreeDigits(double value, const char* unit) {
    char text[32];
    if (value >= 99.95) {
        std::snprintf(text, sizeof text, "%.0f %s", value, unit);
    } else if (value >= 9.995) {
        std::snprintf(text, sizeof text, "%.1f %s", value, unit);
    } else {
        std::snprintf(text, sizeof text, "%.2f %s", value, unit);
    }
    return text;
}

}  // namespace

std::string FormatSeconds(double seconds) {
    if (seconds >= 0.9995) return ThreeDigits(seconds, "s");
    if (seconds >= 0.0009995) return ThreeDigits(seconds * 1e3, "ms");
    if (seconds >= 0.0000009995) return ThreeDigits(seconds * 1e6, "us");
    return ThreeDigits(std::max(seconds * 1e9, 0.0), "ns");
}

std::string FormatBytes(uint64_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " B";
    double kib = bytes / 1024.0;
    if (kib < 999.5) return ThreeDigits(kib, "KiB");
    double mib = kib / 1024.0;
    if (mib < 999.5) return ThreeDigits(mib, "MiB");
    return ThreeDigits(mib / 1024.0, "GiB");
}

std::string FormatRatio(double ours, double theirs) {
    if (!(ours > 0) || !(theirs > 0)) return "n/a";
    char text[32];
    double ratio = ours / theirs;
    std::snprintf(text, sizeof text, ratio >= 99.95 ? "%.0f" : ratio >= 9.995 ? "%.1f" : "%.2f",
                  ratio);
    return text;
}

void Table::AddRow(std::vector<std::string> cells) {
    cells.resize(std::max(cells.size(), header_.size()));
    rows_.push_back(std::move(cells));
}

namespace {

// Width as a reader sees it: UTF-8 continuation bytes take no column.
size_t Columns(const std::string& text) {
    size_t count = 0;
    for (unsigned char c : text) {
        if ((c & 0xC0) != 0x80) ++count;
    }
    return count;
}

}  // namespace

std::string Table::Render() const {
    std::vector<size_t> widths(header_.size(), 3);
    auto widen = [&widths](const std::vector<std::string>& cells) {
        for (size_t i = 0; i < cells.size(); ++i) {
            if (i >= widths.size()) widths.resize(i + 1, 3);
            widths[i] = std::max(widths[i], Columns(cells[i]));
        }
    };
    widen(header_);
    for (const auto& row : rows_) widen(row);

    auto line = [&widths](const std::vector<std::string>& cells) {
        std::string out = "|";
        for (size_t i = 0; i < widths.size(); ++i) {
            std::string cell = i < cells.size() ? cells[i] : std::string();
            std::string pad(widths[i] - Columns(cell), ' ');
            out += ' ';
            out += i == 0 ? cell + pad : pad + cell;
            out += " |";
        }
        return out + "\n";
    };
    std::string out = line(header_);
    out += "|";
    for (size_t i = 0; i < widths.size(); ++i) {
        out += i == 0 ? " " + std::string(widths[i], '-') + " |"
                      : " " + std::string(widths[i] - 1, '-') + ": |";
    }
    out += "\n";
    for (const auto& row : rows_) out += line(row);
    return out;
}

}  // namespace sqlitebench
