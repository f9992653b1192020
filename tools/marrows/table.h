// A plain text table: a header row, then rows, columns padded to their widest cell.
#pragma once

#include <string>
#include <vector>

class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) : header_(std::move(header)) {}
    void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    bool Empty() const { return rows_.empty(); }
    std::string Render() const;

private:
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};
