#include "table.h"

#include <algorithm>

std::string TextTable::Render() const {
    std::vector<size_t> widths(header_.size(), 0);
    auto widen = [&widths](const std::vector<std::string>& row) {
        for (size_t i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    };
    widen(header_);
    for (const auto& row : rows_) widen(row);
    auto line = [&widths](const std::vector<std::string>& row) {
        std::string out;
        for (size_t i = 0; i < widths.size(); ++i) {
            std::string cell = i < row.size() ? row[i] : "";
            out += cell;
            if (i + 1 < widths.size()) out += std::string(widths[i] - cell.size() + 2, ' ');
        }
        while (!out.empty() && out.back() == ' ') out.pop_back();
        return out + "\n";
    };
    std::string out = line(header_);
    for (const auto& row : rows_) out += line(row);
    return out;
}
