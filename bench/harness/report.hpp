// The forms of the report: lines on standard output as the rows finish, and a JSON file with every sample.
#pragma once

#include "harness/row.hpp"
#include "harness/runner.hpp"

#include <cstdio>
#include <string>

namespace bench {

// Columns: work, size, ns, limit, limit_ns, ratio, and for the eye also goal, verdict, unit. The figures of a row whose unit isn't
// ns stand in the same columns. The verdict is "above" for a ratio above the goal, "ok" otherwise, "-" without a goal.
class line_report {
public:
    // Aligned for all the rows to come, or with a tab between columns.
    line_report(const row_list& rows, bool tab_separated);
    void print_heading() const;
    void print(const row& row, const result& result);

    std::size_t above_goal() const noexcept { return above_; }

private:
    static constexpr std::size_t columns = 9;
    static constexpr std::size_t tab_separated_columns = 6;
    void print_line(const std::string (&cells)[columns]) const;

    bool tab_separated_;
    int work_width_;
    int size_width_;
    int limit_width_;
    std::size_t above_ = 0;
};

// Writes a JSON object: the machine, then the rows. Folders are made. Raises std::runtime_error when it can't write.
class json_report {
public:
    explicit json_report(const std::string& path);
    json_report(const json_report&) = delete;
    json_report& operator=(const json_report&) = delete;
    ~json_report();
    void add(const row& row, const result& result);
    void finish();

private:
    std::FILE* file_;
    std::string path_;
    bool is_first_ = true;
};

} // namespace bench
