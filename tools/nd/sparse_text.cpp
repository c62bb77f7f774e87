#include "sparse_text.hpp"

#include "shown_range.hpp"

#include <algorithm>
#include <utility>

namespace nd_host {

namespace {

constexpr cut element_cut{20, 12, 3};
constexpr std::size_t picture_rows = 12;
constexpr std::size_t picture_columns = 48;

std::string subscripts(const sparse_view& array, std::size_t place) {
    return "(" + std::to_string(array.row_of(place) + 1) + "," + std::to_string(array.column_of(place) + 1) +
           ")";
}

// Places first, all as wide as the widest, then values.
void add_list(std::vector<std::string>& lines, const sparse_view& array,
              const std::vector<std::size_t>& shown) {
    std::vector<std::string> heads;
    std::size_t width = 0;
    for (const std::size_t place : shown) {
        heads.push_back(place == gap ? "..." : subscripts(array, place));
        width = std::max(width, heads.back().size());
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        if (shown[i] != gap) {
            heads[i].resize(width + 2, ' ');
            heads[i] += array.value_text(shown[i], brief_format);
        }
        lines.push_back(std::move(heads[i]));
    }
}

// How many elements share a character, when there are no more than limit characters for all of them.
std::size_t elements_each(std::size_t elements, std::size_t limit) { return (elements - 1) / limit + 1; }

void add_picture(std::vector<std::string>& lines, const sparse_view& array) {
    const std::size_t height = elements_each(array.rows(), picture_rows);
    const std::size_t width = elements_each(array.columns(), picture_columns);
    const std::size_t first = lines.size();
    const std::string blank(elements_each(array.columns(), width), '.');
    lines.resize(first + elements_each(array.rows(), height), "|" + blank + "|");
    for (std::size_t column = 0; column < array.columns(); ++column) {
        for (std::size_t place = array.start_of(column); place < array.start_of(column + 1); ++place) {
            lines[first + array.row_of(place) / height][1 + column / width] = '*';
        }
    }
    if (height > 1 || width > 1) {
        lines.push_back("each character stands for " + std::to_string(height) + "x" + std::to_string(width) +
                        " elements");
    }
}

} // namespace

std::string stored_text(const sparse_view& array) {
    return array.count() == 0 ? "nothing stored" : std::to_string(array.count()) + " stored";
}

std::vector<std::string> sparse_lines(const sparse_view& array, bool whole, std::size_t most) {
    std::vector<std::string> lines;
    add_list(lines, array, shown_indices(array.count(), element_cut, whole, most));
    if (array.count() != 0 && (array.rows() > 1 || array.columns() > 1)) {
        add_picture(lines, array);
    }
    return lines;
}

} // namespace nd_host
