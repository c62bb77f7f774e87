#include "array_view.hpp"

#include "quoted_text.hpp"

#include <nd/class_access.hpp>
#include <nd/nd.h>

#include <array>
#include <cstring>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

// One element. memcpy, since nothing promises that an addon aligned its block.
template <class T>
T read_raw(const void* data, std::size_t index) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(data) + index * sizeof(T), sizeof(T));
    return value;
}

template <class T, class Wide>
number read_element(const void* data, std::size_t index) {
    return static_cast<Wide>(read_raw<T>(data, index));
}

std::vector<std::size_t> dims_of(const ndArray_tag& array) {
    const kvSize* first = ndGetDimensions(&array);
    return {first, first + ndGetNumberOfDimensions(&array)};
}

std::string class_name_of(const ndArray_tag& array) {
    const std::string name = ndGetClassName(&array);
    return name.empty() ? nd_array_api::ndArrayClassIDName(nd_array_api::ndGetArrayType(&array))
                        : printable(name);
}

} // namespace

array_view::array_view(const ndArray_tag& array)
    : array_(array),
      read_(reader_of(array)),
      complex_((array.flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric),
      dims_(dims_of(array)) {
    for (std::size_t i = 1; i < dims_.size(); ++i) {
        columns_ *= dims_[i];
    }
}

array_view::reader array_view::reader_of(const ndArray_tag& array) noexcept {
    static constexpr auto table = [] {
        std::array<reader, ndOBJECT_CLASS + 1> readers{};
        readers[ndLOGICAL_CLASS] = read_element<std::uint8_t, std::uint64_t>;
        readers[ndDOUBLE_CLASS] = read_element<double, double>;
        readers[ndSINGLE_CLASS] = read_element<float, float>;
        readers[ndINT8_CLASS] = read_element<std::int8_t, std::int64_t>;
        readers[ndUINT8_CLASS] = read_element<std::uint8_t, std::uint64_t>;
        readers[ndINT16_CLASS] = read_element<std::int16_t, std::int64_t>;
        readers[ndUINT16_CLASS] = read_element<std::uint16_t, std::uint64_t>;
        readers[ndINT32_CLASS] = read_element<std::int32_t, std::int64_t>;
        readers[ndUINT32_CLASS] = read_element<std::uint32_t, std::uint64_t>;
        readers[ndINT64_CLASS] = read_element<std::int64_t, std::int64_t>;
        readers[ndUINT64_CLASS] = read_element<std::uint64_t, std::uint64_t>;
        return readers;
    }();
    const bool readable = array.class_id >= 0 && array.class_id <= ndOBJECT_CLASS &&
                          (array.flags & (matrix::flag_sparse | matrix::flag_colon_object)) == 0;
    return readable ? table[static_cast<std::size_t>(array.class_id)] : nullptr;
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
    return read_raw<char16_t>(array_.pdata, column * rows() + row);
}

} // namespace nd_host
