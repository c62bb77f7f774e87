// Numbers as the shortest text that says them.
#include "indexing/subscript_text.hpp"

#include "matrix/accessors.hpp"

#include <charconv>
#include <cmath>
#include <cstring>

namespace matrix::internal {
namespace {

template <class T>
std::string number_text(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value)) return "NaN";
        if (std::isinf(value)) return value < 0 ? "-Inf" : "Inf";
    }
    char digits[32]; // the longest double has 24
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return {digits, end};
}

// A code unit is a number here; to_chars takes no char16_t.
template <class T>
auto as_number(T value) noexcept {
    if constexpr (std::is_floating_point_v<T> || sizeof(T) > 2) {
        return value;
    } else {
        return static_cast<std::int32_t>(value);
    }
}

template <class T>
T read(const void* data, std::size_t i) noexcept {
    T value;
    std::memcpy(&value, static_cast<const std::byte*>(data) + i * sizeof value, sizeof value);
    return value;
}

} // namespace

std::string index_text(double value) { return number_text(value); }

std::string element_text(const ndArray_tag* array, std::size_t element) {
    std::string text;
    with_element_type(array->class_id, [&]<class Row>(Row) {
        using part = typename Row::type;
        if (!is_complex(array)) {
            text = number_text(as_number(read<part>(array->pdata, element)));
            return;
        }
        const std::string imaginary = number_text(as_number(read<part>(array->pdata, 2 * element + 1)));
        text = number_text(as_number(read<part>(array->pdata, 2 * element)));
        if (imaginary.front() != '-') text += '+';
        text += imaginary + 'i';
    });
    return text;
}

} // namespace matrix::internal
