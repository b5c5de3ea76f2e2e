// Tables of results: printed in Markdown, left as JSON.
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace korvane::bench {

/// How a number of a column is printed, in three digits or whole.
std::string as_time(double seconds);
std::string as_ratio(double ratio);
std::string as_count(double count);
std::string as_mib(double bytes);

/// One column; its cells are texts where `show` is null and numbers where it is not.
struct column {
    std::string name;
    std::string (*show)(double) = nullptr;
};

/// Shows on a terminal what is being measured, until the next call or table.
void show_progress(const std::string& what);

class table {
public:
    using cell = std::variant<std::string, double>;

    explicit table(std::vector<column> columns)
        : columns_(std::move(columns))
    {
    }

    /// One cell a column.
    void add(std::vector<cell> row) { rows_.push_back(std::move(row)); }

    /// To standard output, with an empty line in front.
    void print() const;

    /// Writes an object a row, its members named as the columns are; numbers in seconds and bytes. Fails (fail.h) where
    /// the file cannot be written.
    void write_json(const std::string& path) const;

private:
    std::vector<column> columns_;
    std::vector<std::vector<cell>> rows_;
};

} // namespace korvane::bench
