// Lines and JSON.
#include "harness/report.hpp"

#include "harness/goals.hpp"
#include "harness/process.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

const char* name_of(unit unit) {
    switch (unit) {
    case unit::nanoseconds:
        return "ns";
    case unit::page_faults:
        return "faults";
    case unit::bytes:
        break;
    }
    return "bytes";
}

template <class... Values>
std::string text_of(const char* format, Values... values) {
    char text[64];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string figure_text(double figure) { return text_of(figure < 100 ? "%.2f" : "%.0f", figure); }

const char* verdict_on(const result& result, const std::optional<double>& goal) {
    if (!goal) return "-";
    return result.ratio() > *goal ? "above" : "ok";
}

template <class Text>
int longest(const row_list& rows, Text text) {
    std::size_t length = 5;
    for (const row& row : rows) length = std::max(length, text(row).size());
    return static_cast<int>(length);
}

// Names hold no character that JSON escapes; an infinite ratio has no number there.
void write_number(std::FILE* file, const char* name, double number) {
    if (std::isfinite(number)) {
        std::fprintf(file, ", \"%s\": %.6g", name, number);
    } else {
        std::fprintf(file, ", \"%s\": null", name);
    }
}

void write_samples(std::FILE* file, const char* name, const std::vector<double>& samples) {
    std::fprintf(file, ", \"%s\": [", name);
    for (std::size_t i = 0; i < samples.size(); ++i)
        std::fprintf(file, "%s%.6g", i == 0 ? "" : ", ", samples[i]);
    std::fputc(']', file);
}

} // namespace

line_report::line_report(const row_list& rows, bool tab_separated)
    : tab_separated_(tab_separated),
      work_width_(longest(rows, [](const row& row) { return row.work; })),
      size_width_(longest(rows, [](const row& row) { return row.size; })),
      limit_width_(longest(rows, [](const row& row) { return row.limit_name; })) {}

void line_report::print_line(const std::string (&cells)[columns]) const {
    if (tab_separated_) {
        for (std::size_t i = 0; i < tab_separated_columns; ++i)
            std::printf("%s%s", i == 0 ? "" : "\t", cells[i].c_str());
        std::putchar('\n');
    } else {
        std::printf("%-*s  %-*s  %12s  %-*s  %12s  %6s  %5s  %-7s  %s\n", work_width_, cells[0].c_str(),
                    size_width_, cells[1].c_str(), cells[2].c_str(), limit_width_, cells[3].c_str(),
                    cells[4].c_str(), cells[5].c_str(), cells[6].c_str(), cells[7].c_str(), cells[8].c_str());
    }
    std::fflush(stdout);
}

void line_report::print_heading() const {
    print_line({"work", "size", "ns", "limit", "limit_ns", "ratio", "goal", "verdict", "unit"});
}

void line_report::print(const row& row, const result& result) {
    const std::optional<double> goal = goal_of(row.work, row.size);
    const std::string verdict = verdict_on(result, goal);
    if (verdict == "above") ++above_;
    print_line({row.work, row.size, figure_text(result.libnd_median), row.limit_name,
                figure_text(result.limit_median), text_of("%.2f", result.ratio()),
                goal ? text_of("%.2f", *goal) : "-", verdict, name_of(row.unit)});
}

json_report::json_report(const std::string& path) : file_(nullptr), path_(path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder);
    file_ = std::fopen(path.c_str(), "w");
    if (file_ == nullptr) throw std::runtime_error("can't write " + path);
    std::fprintf(file_, "{\"processor\": \"%s\", \"rows\": [", processor_name().c_str());
}

json_report::~json_report() {
    if (file_ != nullptr) std::fclose(file_);
}

void json_report::add(const row& row, const result& result) {
    std::fprintf(file_, "%s\n  {\"work\": \"%s\", \"size\": \"%s\", \"limit\": \"%s\", \"unit\": \"%s\"",
                 is_first_ ? "" : ",", row.work.c_str(), row.size.c_str(), row.limit_name.c_str(),
                 name_of(row.unit));
    is_first_ = false;
    write_number(file_, "median", result.libnd_median);
    write_number(file_, "limit_median", result.limit_median);
    write_number(file_, "ratio", result.ratio());
    if (const std::optional<double> goal = goal_of(row.work, row.size)) write_number(file_, "goal", *goal);
    write_samples(file_, "samples", result.libnd);
    write_samples(file_, "limit_samples", result.limit);
    std::fputc('}', file_);
}

void json_report::finish() {
    std::fputs("\n]}\n", file_);
    const bool failed = std::ferror(file_) != 0;
    if (std::fclose(std::exchange(file_, nullptr)) != 0 || failed)
        throw std::runtime_error("can't write " + path_);
}

} // namespace bench
