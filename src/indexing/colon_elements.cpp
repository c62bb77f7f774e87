// Elements by their numbers. Ranges of whole numbers add up modulo 2^64, of which narrower classes keep the low bytes; those of the
// floating classes come from where the whole vector is written.
#include "indexing/colon_elements.hpp"

#include "indexing/colon_fill.hpp"
#include "indexing/numbers.hpp"

#include <nd/colon.hpp>

#include <cmath>
#include <cstring>
#include <limits>

namespace matrix::internal {
namespace {

template <class T>
whole_range range_of(const wide_operands<T>& operands) noexcept {
    if (operands.step != 0) return whole_range_of(operands.start, operands.step, operands.stop);
    return whole_range_of(operands.start, operands.double_step, operands.stop);
}

template <class Element>
void put_element(std::byte* to, Element element) noexcept {
    std::memcpy(to, &element, sizeof element);
}

template <class Element>
void put_floating(std::byte* to, bool is_nan, std::size_t k, std::size_t count,
                  const double_operands& operands) noexcept {
    Element element = std::numeric_limits<Element>::quiet_NaN();
    if (!is_nan) fill_range_element(&element, k, count, operands.start, operands.step, operands.stop);
    put_element(to, element);
}

} // namespace

colon_elements::colon_elements(const ndArray_tag* object) : class_id_(object->class_id) {
    if (has_64_bit_ranges(class_id_)) {
        whole_ = class_id_ == ndINT64_CLASS ? range_of(read_wide<long long>(object))
                                            : range_of(read_wide<unsigned long long>(object));
        count_ = saturated_count(whole_.count);
        return;
    }
    operands_ = read_doubles(object);
    const double count = detail::noninlined::nd_array_api::ndColonop_size(
        operands_.start, operands_.step, operands_.stop, static_cast<ndClassID>(class_id_));
    is_nan_ = std::isnan(count);
    if (is_nan_) {
        count_ = 1; // what it expands to is one NaN
        if (class_id_ != ndSINGLE_CLASS) class_id_ = ndDOUBLE_CLASS;
        return;
    }
    count_ = saturated_count(count);
    whole_.start = static_cast<std::uint64_t>(truncated<std::int64_t>(operands_.start));
    whole_.step = static_cast<std::uint64_t>(truncated<std::int64_t>(operands_.step));
}

void colon_elements::write(std::size_t k, std::byte* to) const noexcept {
    switch (class_id_) {
    case ndDOUBLE_CLASS:
        return put_floating<double>(to, is_nan_, k, count_, operands_);
    case ndSINGLE_CLASS:
        return put_floating<float>(to, is_nan_, k, count_, operands_);
    default:
        return fill_whole(to, element_size(code_of(class_id_, false)), 1, whole_.start + k * whole_.step, 0);
    }
}

} // namespace matrix::internal
