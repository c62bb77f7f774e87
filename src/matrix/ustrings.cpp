// UTF-16 text out of char arrays and cells of them.
#include "matrix/containers.hpp"
#include "matrix/text_view.hpp"

#include <nd/text.hpp>

namespace matrix {

using namespace internal;

namespace {

std::vector<std::u16string> rows_of(const ndArray_tag* text) {
    const std::u16string_view units = text_of(text);
    if (units.empty() || !has_inline_dims(text)) return {};
    const std::size_t rows = dims_of(text)[0];
    const std::size_t columns = dims_of(text)[1];
    std::vector<std::u16string> strings(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        strings[row].reserve(columns);
        for (std::size_t column = 0; column < columns; ++column)
            strings[row].push_back(units[row + column * rows]);
    }
    return strings;
}

} // namespace

std::u16string get_ustring(const ndArray_tag* array) { return std::u16string(text_of(array)); }

std::vector<std::u16string> get_ustring_array(const ndArray_tag* array) {
    if (array == nullptr) return {};
    if (array->class_id != ndCELL_CLASS) return rows_of(array);
    std::vector<std::u16string> strings;
    const std::size_t count = array->pdata == nullptr ? 0 : element_count(array);
    strings.reserve(count);
    for (std::size_t i = 0; i < count; ++i) strings.push_back(get_ustring(slots_of(array)[i]));
    return strings;
}

} // namespace matrix
