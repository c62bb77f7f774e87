#include "value_line.hpp"

#include "number_format.hpp"
#include "quoted_text.hpp"
#include "shown_range.hpp"

namespace nd_host {

namespace {

constexpr cut vector_cut{12, 8, 2};
constexpr cut row_cut{4, 2, 1};
constexpr cut column_cut{6, 4, 1};
constexpr cut page_cut{3, 2, 1};
constexpr std::size_t longest_text = 72;
constexpr std::size_t shown_text = 60;

// Columns first to first + count - 1 of the array.
struct page {
    const array_view& array;
    std::size_t first;
    std::size_t count;
    bool whole;
};

// What text_of(i) gives for each index shown, "..." where some are left out.
template <class TextOf>
std::string joined(const std::vector<std::size_t>& shown, const char* separator, TextOf text_of) {
    std::string out;
    for (const std::size_t i : shown) {
        out += out.empty() ? "" : separator;
        out += i == gap ? "..." : text_of(i);
    }
    return out;
}

std::string row_of_numbers(const page& p, std::size_t row) {
    const auto shown = shown_indices(p.count, p.array.rows() == 1 ? vector_cut : column_cut, p.whole);
    return joined(shown, " ", [&](std::size_t column) {
        return element_text(p.array, row, p.first + column, brief_format);
    });
}

std::string row_of_text(const page& p, std::size_t row) {
    const bool all = p.whole || p.count <= longest_text;
    std::u16string text;
    for (std::size_t i = 0; i < (all ? p.count : shown_text); ++i) {
        text += p.array.unit(row, p.first + i);
    }
    if (!all && (text.back() & 0xFC00U) == 0xD800U) {
        text.pop_back(); // half of a character
    }
    return in_quotes(text) + (all ? "" : "...");
}

std::string page_text(const page& p, bool alone) {
    const bool text = p.array.has_text();
    const auto rows = shown_indices(p.array.rows(), p.count == 1 ? vector_cut : row_cut, p.whole);
    const std::string inner = joined(
        rows, "; ", [&](std::size_t row) { return text ? row_of_text(p, row) : row_of_numbers(p, row); });
    const bool bare = p.array.rows() == 1 && (text || (alone && p.count == 1));
    return bare ? inner : "[" + inner + "]";
}

} // namespace

std::string value_line(const array_view& array, bool whole) {
    if (array.rows() == 0 || array.columns() == 0 || !(array.has_numbers() || array.has_text())) {
        return {};
    }
    const std::size_t width = array.dims()[1];
    const std::size_t pages = array.columns() / width;
    return joined(shown_indices(pages, page_cut, whole), " ", [&](std::size_t k) {
        return page_text({array, k * width, width, whole}, pages == 1);
    });
}

} // namespace nd_host
