#include "array_view.hpp"

#include "quoted_text.hpp"
#include "range_values.hpp"

#include <nd/class_access.hpp>
#include <nd/nd.h>

#include <cstring>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

std::vector<std::size_t> dims_of(const ndArray_tag& array) {
    if (is_long_range(array)) {
        return {1, nd_array_api::ndCountColonObj(&array)};
    }
    const kvSize* first = ndGetDimensions(&array);
    return {first, first + ndGetNumberOfDimensions(&array)};
}

std::string class_name_of(const ndArray_tag& array) {
    const std::string name = ndGetClassName(&array);
    return name.empty() ? nd_array_api::ndArrayClassIDName(nd_array_api::ndGetArrayType(&array))
                        : printable(name);
}

element_reader reader_of(const ndArray_tag& array) noexcept {
    const bool in_rows = (array.flags & (matrix::flag_sparse | matrix::flag_colon_object)) == 0;
    return in_rows ? reader_for(array.class_id) : nullptr;
}

} // namespace

array_view::array_view(const ndArray_tag& array)
    : expanded_(range_values(array)),
      array_(expanded_ ? *expanded_ : array),
      read_(reader_of(array_)),
      complex_((array_.flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric),
      dims_(dims_of(array_)) {
    for (std::size_t i = 1; i < dims_.size(); ++i) {
        columns_ *= dims_[i];
    }
}

bool array_view::has_elements_in_place() const noexcept {
    return array_.pdata != nullptr || rows() == 0 || columns() == 0;
}

bool array_view::has_numbers() const noexcept { return read_ != nullptr && has_elements_in_place(); }

bool array_view::has_text() const noexcept {
    return array_.class_id == ndCHAR_CLASS && (array_.flags & matrix::flag_colon_object) == 0 &&
           has_elements_in_place();
}

std::string array_view::description() const {
    std::string text;
    for (const std::size_t dim : dims_) {
        text += (text.empty() ? "" : "x") + std::to_string(dim);
    }
    if (complex_) {
        text += " complex";
    }
    if ((array_.flags & matrix::flag_sparse) != 0) {
        text += " sparse";
    }
    return text + " " + class_name_of(array_);
}

number array_view::real(std::size_t row, std::size_t column) const noexcept {
    const std::size_t index = column * rows() + row;
    return read_(array_.pdata, complex_ ? 2 * index : index);
}

number array_view::imaginary(std::size_t row, std::size_t column) const noexcept {
    return read_(array_.pdata, 2 * (column * rows() + row) + 1);
}

char16_t array_view::unit(std::size_t row, std::size_t column) const noexcept {
    const std::size_t index = column * rows() + row;
    char16_t value = 0; // memcpy, since nothing promises that an addon aligned its block
    std::memcpy(&value, static_cast<const unsigned char*>(array_.pdata) + index * sizeof value, sizeof value);
    return value;
}

} // namespace nd_host
