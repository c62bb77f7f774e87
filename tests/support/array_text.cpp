// Arrays as text.
#include "support/array_text.hpp"

#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/validate.hpp"
#include "support/array_spec.hpp"

#include <algorithm>
#include <bit>
#include <limits>
#include <ostream>
#include <sstream>
#include <type_traits>
#include <vector>

namespace test {
namespace {

constexpr std::size_t printed_elements = 12;

bool is_complex(const ndArray_tag* array) {
    return (array->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
}

std::string dims_text_of(const ndArray_tag* array) {
    const auto dims = matrix::internal::dims_of(array);
    return dims_text(std::vector<std::size_t>(dims.begin(), dims.end()));
}

template <class T>
std::string real_text(T x) {
    if constexpr (std::is_floating_point_v<T>) {
        std::ostringstream out;
        out.precision(std::numeric_limits<T>::max_digits10);
        out << x;
        return out.str();
    } else if constexpr (std::is_same_v<T, char16_t>) {
        const bool printable = x >= 0x20 && x < 0x7F;
        return printable ? std::string{'\'', static_cast<char>(x), '\''} : "u" + std::to_string(unsigned{x});
    } else {
        return std::to_string(x);
    }
}

std::string slot_text(const ndArray_tag* element) {
    return element == nullptr ? "(empty slot)"
                              : "<" + class_text(element) + " " + dims_text_of(element) + ">";
}

std::string end_text(const ndArray_tag* array) {
    return "} [" + matrix::internal::flag_names(array->flags) + "]";
}

// "(2,1) 1.5, (3,2) 2.5": what is stored, with one-based subscripts.
std::string stored_text(const ndArray_tag* sparse) {
    std::string text;
    const auto* const starts = std::bit_cast<const std::size_t*>(sparse->info_b);
    const auto* const rows = std::bit_cast<const std::size_t*>(sparse->info_a);
    const std::size_t count = starts == nullptr ? 0 : starts[sparse->n_or_ndims];
    for (std::size_t k = 0, column = 0; k < std::min(count, printed_elements); ++k) {
        while (starts[column + 1] <= k) ++column;
        text += (k == 0 ? "(" : ", (") + std::to_string(rows[k] + 1) + "," + std::to_string(column + 1) +
                ") " + element_text(sparse, k);
    }
    if (count > printed_elements) text += ", ... " + std::to_string(count) + " stored";
    return text + end_text(sparse);
}

} // namespace

std::string class_text(const ndArray_tag* array) {
    if (!matrix::internal::is_class(array->class_id)) return "class " + std::to_string(array->class_id);
    const std::string name = matrix::internal::class_rows[static_cast<std::size_t>(array->class_id)].name;
    return (is_complex(array) ? "complex " : "") + name;
}

std::string field_names_text(const ndArray_tag* array) {
    if (!matrix::internal::is_struct_like(array->class_id)) return {};
    std::string text = "{";
    for (std::size_t i = 0; i < matrix::internal::field_count(array); ++i)
        text += std::string(i == 0 ? "" : ", ") + matrix::internal::names_of(array)->names()[i];
    return text + "}";
}

std::string element_text(const ndArray_tag* array, std::size_t i) {
    std::string text;
    matrix::internal::with_element_type(array->class_id, [&](auto row) {
        using T = typename decltype(row)::type;
        const T* data = static_cast<const T*>(array->pdata);
        text = is_complex(array) ? real_text(data[2 * i]) + " + " + real_text(data[2 * i + 1]) + "i"
                                 : real_text(data[i]);
    });
    if (matrix::internal::is_container_class(array->class_id))
        text = slot_text(static_cast<ndArray_tag* const*>(array->pdata)[i]);
    return text;
}

std::string array_text(const ndArray_tag* array) {
    if (array == nullptr) return "(null)";
    if (const std::string broken = matrix::internal::validate(array); !broken.empty())
        return "(" + broken + ")";
    std::string text = class_text(array) + " " + dims_text_of(array) + field_names_text(array) + " {";
    if ((array->flags & matrix::flag_sparse) != 0) return text + stored_text(array);
    const bool readable = array->pdata != nullptr;
    const bool container = matrix::internal::is_container_class(array->class_id);
    const std::size_t count = !readable   ? 0
                              : container ? matrix::internal::slot_count(array)
                                          : matrix::internal::element_count(array);
    for (std::size_t i = 0; i < std::min(count, printed_elements); ++i) {
        text += (i == 0 ? "" : ", ") + element_text(array, i);
    }
    if (count > printed_elements) text += ", ... " + std::to_string(count) + " in all";
    return text + end_text(array);
}

} // namespace test

void PrintTo(const ndArray_tag* array, std::ostream* out) { *out << test::array_text(array); }

void matrix::detail::PrintTo(const std::unique_ptr<ndArray_tag, ndDestroy_deleter>& array,
                             std::ostream* out) {
    *out << test::array_text(array.get());
}
