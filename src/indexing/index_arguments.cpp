// Sizes and indices that come as doubles, one or several in an array.
#include "indexing/numbers.hpp"
#include "indexing/subscript_value.hpp"

#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/subscripts.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

// Calls use(place, number) for each stored number. False for a class without numbers.
template <class Use>
bool for_each_number(const ndArray_tag* array, Use use) {
    return with_element_type(array->class_id, [&]<class Row>(Row) {
        using value = typename Row::type;
        const auto* const bytes = static_cast<const std::byte*>(array->pdata);
        const auto number = [&](std::size_t i) {
            value x;
            std::memcpy(&x, bytes + i * sizeof x, sizeof x);
            return static_cast<double>(x);
        };
        if (!is_sparse(array)) {
            for (std::size_t i = 0; i < element_count(array); ++i) use(i, number(i));
            return;
        }
        const kvIndex* const starts = column_starts(array);
        for (std::size_t k = 0, column = 0; k < readable_count(array); ++k) {
            while (starts[column + 1] <= k) ++column;
            use(column * row_count(array) + row_indices(array)[k], number(k));
        }
    });
}

// Elements of which nothing tells what they are. A sparse array without index vectors stores nothing: all are 0.
bool lacks_data(const ndArray_tag* array) noexcept {
    if (!is_sparse(array)) return array->pdata == nullptr && element_count(array) != 0;
    return stored_count(array) != 0 && (array->pdata == nullptr || row_indices(array) == nullptr);
}

kvSize whole_index(double number) {
    const kvSize index = ndCheckIndex(number);
    if (number >= 0 && static_cast<double>(index) != number)
        errors::raise_as<TARVEL::matrix::nonIntegerInput>("TARVEL:NonIntegerInput");
    return index;
}

} // namespace

kvSize ndCheckIndex(double value) {
    if (value < 0) return 0;
    if (!std::isfinite(value)) errors::raise<TARVEL::legacy_two_part::nonaninf>();
    if (value > static_cast<double>(index_limit)) errors::raise<TARVEL::legacy_two_part::pmaxsize>();
    return static_cast<kvSize>(value);
}

void ndArgMustBeIndices(const ndArray_tag* arg, std::size_t n, kvSize* out) {
    complete_dimensions_if_opaque(arg);
    const std::size_t count = count_colon_elements(arg);
    if (count != n) {
        if (n > count && count != 0) errors::raise<TARVEL::legacy_two_part::badopt>();
        if (count != 0) errors::raise<TARVEL::legacy_two_part::NonScalarInput>();
        std::fill_n(out, n, 0);
        return;
    }
    if (is_complex(arg)) errors::raise<TARVEL::legacy_two_part::obsoleteComplexInput>();
    const array_ptr expanded = expand_if_colon_object(arg);
    const ndArray_tag* const numbers = expanded ? expanded.get() : arg;
    bring_data_up_to_date(numbers);
    if (lacks_data(numbers)) errors::raise<TARVEL::legacy_two_part::badopt>();
    if (!for_each_number(numbers, [](std::size_t, double number) { whole_index(number); }))
        errors::raise<TARVEL::legacy_two_part::badopt>();
    std::fill_n(out, n, 0);
    for_each_number(numbers, [&](std::size_t i, double number) { out[i] = whole_index(number); });
}

} // namespace matrix::detail::noninlined::nd_array_api
