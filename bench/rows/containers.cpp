// Ending a cell with all that is in it, beside ending the same arrays one by one.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <array>

namespace bench {
namespace {

constexpr std::size_t elements = 1000;
using element_list = std::array<ndArray_tag*, elements>;

ndArray_tag* element() { return ndCreateDoubleMatrix(3, 4, ndREAL); }

ndArray_tag* full_cell() {
    ndArray_tag* const cell = ndCreateCellMatrix(elements, 1);
    for (std::size_t i = 0; i < elements; ++i) ndSetCell(cell, i, element());
    return cell;
}

element_list single_arrays() {
    element_list arrays;
    for (ndArray_tag*& array : arrays) array = element();
    return arrays;
}

void destroy_all(const element_list& arrays) {
    for (ndArray_tag* const array : arrays) ndDestroyArray(array);
}

} // namespace

row_list container_rows() {
    return {{.work = "destroy_cell",
             .size = "1000of3x4",
             .limit_name = "1000 single destroys of libnd",
             .libnd = timed_on(full_cell, ndDestroyArray),
             .limit = timed_on(single_arrays, destroy_all)}};
}

} // namespace bench
