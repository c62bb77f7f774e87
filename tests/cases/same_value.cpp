#include "cases/same_value.hpp"

#include <nd/class_access.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace test {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

std::size_t count_of(const ndArray_tag& array) { return nd_array_api::ndGetNumberOfElements(&array); }

bool is_nothing(const ndArray_tag* array) {
    return array == nullptr ||
           (array->class_id == ndDOUBLE_CLASS && nd_array_api::ndGetNumberOfDimensions(array) == 2 &&
            nd_array_api::ndGetM(array) == 0 && nd_array_api::ndGetN(array) == 0);
}

template <class T>
bool same_numbers(const ndArray_tag& a, const ndArray_tag& b, std::size_t count) {
    const auto* left = static_cast<const T*>(a.pdata);
    const auto* right = static_cast<const T*>(b.pdata);
    return std::equal(left, left + count, right,
                      [](T x, T y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}

// Full arrays of one class, complexity and number of elements.
bool same_plain(const ndArray_tag& a, const ndArray_tag& b) {
    const std::size_t numbers = count_of(a) * (nd_array_api::ndIsComplex(&a) ? 2 : 1);
    if (numbers == 0) return true;
    if (a.class_id == ndDOUBLE_CLASS) return same_numbers<double>(a, b, numbers);
    if (a.class_id == ndSINGLE_CLASS) return same_numbers<float>(a, b, numbers);
    return std::memcmp(a.pdata, b.pdata, count_of(a) * nd_array_api::ndGetElementSize(&a)) == 0;
}

bool same_slots(const ndArray_tag& a, const ndArray_tag& b) {
    const int fields = nd_array_api::ndGetNumberOfFields(&a);
    if (nd_array_api::ndIsStruct(&a)) {
        if (fields != nd_array_api::ndGetNumberOfFields(&b)) return false;
        for (int i = 0; i < fields; ++i) {
            if (std::strcmp(nd_array_api::ndGetFieldNameByNumber(&a, i),
                            nd_array_api::ndGetFieldNameByNumber(&b, i)) != 0) {
                return false;
            }
        }
    }
    const std::size_t slots =
        count_of(a) * (nd_array_api::ndIsStruct(&a) ? static_cast<std::size_t>(fields) : 1);
    const auto* left = static_cast<const ndArray_tag* const*>(a.pdata);
    const auto* right = static_cast<const ndArray_tag* const*>(b.pdata);
    return std::equal(left, left + slots, right, same_value);
}

bool same_dims(const ndArray_tag& a, const ndArray_tag& b) {
    const kvSize ndims = nd_array_api::ndGetNumberOfDimensions(&a);
    const kvSize* const dims = nd_array_api::ndGetDimensions(&a);
    return ndims == nd_array_api::ndGetNumberOfDimensions(&b) &&
           std::equal(dims, dims + ndims, nd_array_api::ndGetDimensions(&b));
}

matrix::array_ptr full(const ndArray_tag& array) {
    return matrix::convert_to_full_if_needed(matrix::detail::do_shared_copy(&array));
}

} // namespace

bool same_value(const ndArray_tag* a, const ndArray_tag* b) {
    if (is_nothing(a) || is_nothing(b)) {
        return is_nothing(a) && is_nothing(b);
    }
    if (a->class_id != b->class_id || !same_dims(*a, *b) ||
        nd_array_api::ndIsComplex(a) != nd_array_api::ndIsComplex(b) ||
        nd_array_api::ndIsSparse(a) != nd_array_api::ndIsSparse(b)) {
        return false;
    }
    return nd_array_api::ndIsContainer(a) ? same_slots(*a, *b) : same_plain(*full(*a), *full(*b));
}

bool same_elements(const ndArray_tag& value, const ndArray_tag& expected) {
    if (count_of(value) != count_of(expected)) {
        return false;
    }
    if (nd_array_api::ndIsContainer(&value) || nd_array_api::ndIsContainer(&expected)) {
        return value.class_id == expected.class_id && same_slots(value, expected);
    }
    const matrix::array_ptr left = full(value);
    matrix::array_ptr right = full(expected);
    right = matrix::convert_if_needed(std::move(right), nd_array_api::ndGetArrayType(&value));
    if (nd_array_api::ndIsComplex(left.get()) && !nd_array_api::ndIsComplex(right.get())) {
        nd_array_api::ndUnshareArray(right.get(), 1);
        nd_array_api::ndInflateRealToComplex(right.get());
    }
    return nd_array_api::ndIsComplex(left.get()) == nd_array_api::ndIsComplex(right.get()) &&
           same_plain(*left, *right);
}

} // namespace test
