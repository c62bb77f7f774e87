// Building sparse arrays from lists of values. Nothing here is shared with the conversions of the library.
#include "support/sparse_arr.hpp"

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "support/array_spec.hpp"
#include "support/array_text.hpp"

#include <nd/sparse.hpp>

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {
namespace {

using matrix::array_ptr;

std::size_t* words(std::uint64_t address) { return std::bit_cast<std::size_t*>(address); }

std::size_t element_bytes(const ndArray_tag* array) {
    const bool complex = (array->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
    return matrix::internal::element_size(matrix::internal::code_of(array->class_id, complex));
}

void check_order(const array_spec& spec, std::span<const stored_value> values) {
    if (spec.dims.size() != 2) throw std::invalid_argument("a sparse array has two dimensions");
    for (std::size_t i = 0; i < values.size(); ++i) {
        const stored_value& here = values[i];
        const bool inside = here.row < spec.dims[0] && here.column < spec.dims[1];
        const bool behind =
            i == 0 || std::pair(values[i - 1].column, values[i - 1].row) < std::pair(here.column, here.row);
        if (!inside || !behind)
            throw std::invalid_argument("sparse value " + std::to_string(i) + " is out of place");
    }
}

// The values as the elements of a row, which checks them against the class.
array_ptr row_of(const ndArray_tag* array, std::span<const stored_value> values) {
    std::vector<number> numbers;
    for (const stored_value& one : values) numbers.push_back(one.value);
    return arr(class_text(array) + " 1x" + std::to_string(values.size()), numbers);
}

// A nonzero element, as the language sees it.
bool is_stored(const ndArray_tag* full, std::size_t i) {
    bool nonzero = false;
    const std::size_t parts = (full->flags & matrix::flag_complex) != 0 ? 2 : 1;
    matrix::internal::with_element_type(full->class_id, [&](auto row) {
        using part = typename decltype(row)::type;
        const part* const element = static_cast<const part*>(full->pdata) + i * parts;
        for (std::size_t k = 0; k < parts; ++k) nonzero = nonzero || !(element[k] == part{});
    });
    return nonzero;
}

} // namespace

array_ptr sparse_arr(std::string_view description, std::span<const stored_value> values, std::size_t room) {
    const array_spec spec = parse_array_spec(description);
    check_order(spec, values);
    array_ptr array = matrix::detail::do_create_sparse(
        spec.dims[0], spec.dims[1], std::max(room, values.size()), spec.class_id, spec.complexity, true);
    if (values.empty()) return array;
    std::memcpy(array->pdata, row_of(array.get(), values)->pdata, values.size() * element_bytes(array.get()));
    std::size_t* const starts = words(array->info_b);
    for (std::size_t i = 0; i < values.size(); ++i) {
        words(array->info_a)[i] = values[i].row;
        ++starts[values[i].column + 1];
    }
    for (std::size_t column = 0; column < spec.dims[1]; ++column) starts[column + 1] += starts[column];
    return array;
}

array_ptr sparse_of(const ndArray_tag* full, std::size_t slack) {
    const auto dims = matrix::internal::dims_of(full);
    const std::size_t rows = dims[0];
    const std::size_t count = matrix::internal::element_count(full);
    std::vector<std::size_t> stored;
    for (std::size_t i = 0; i < count; ++i) {
        if (is_stored(full, i)) stored.push_back(i);
    }
    std::size_t columns = 1;
    for (const std::size_t dim : dims.subspan(1)) columns *= dim;
    array_ptr sparse = matrix::detail::do_create_sparse(
        rows, columns, stored.size() + slack, static_cast<ndClassID>(full->class_id),
        (full->flags & matrix::flag_complex) != 0 ? ndCOMPLEX : ndREAL, true);
    const std::size_t size = element_bytes(full);
    for (std::size_t k = 0; k < stored.size(); ++k) {
        std::memcpy(static_cast<std::byte*>(sparse->pdata) + k * size,
                    static_cast<const std::byte*>(full->pdata) + stored[k] * size, size);
        words(sparse->info_a)[k] = stored[k] % rows;
        for (std::size_t column = stored[k] / rows; column < columns; ++column)
            ++words(sparse->info_b)[column + 1];
    }
    return sparse;
}

std::size_t place_in(const ndArray_tag* sparse, std::size_t row, std::size_t column) {
    const std::size_t* const starts = words(sparse->info_b);
    for (std::size_t k = starts[column]; k < starts[column + 1]; ++k) {
        if (words(sparse->info_a)[k] == row) return k;
    }
    return not_stored;
}

} // namespace test
