// Building arrays from descriptions. Every number is tested against the class before it is stored.
#include "support/arr.hpp"

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "support/array_spec.hpp"

#include <nd/containers.hpp>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace test {
namespace {

using matrix::array_ptr;

[[noreturn]] void refuse(std::string_view description, const std::string& why) {
    throw std::invalid_argument("arr(\"" + std::string(description) + "\"): " + why);
}

// The limits of an integer class as doubles: both are exact, since the upper one is one above the class's largest number.
template <class T>
bool is_in_range(double x) {
    return x >= static_cast<double>(std::numeric_limits<T>::lowest()) &&
           x < std::ldexp(1.0, std::numeric_limits<T>::digits);
}

// True when x can be stored as a T without change; float takes the nearest value.
template <class T>
bool to_element(const number::real_number& x, T& out) {
    return std::visit(
        [&](auto value) {
            using source = decltype(value);
            if constexpr (std::is_floating_point_v<T>) {
                out = static_cast<T>(value);
                return true;
            } else if constexpr (std::is_floating_point_v<source>) {
                if (!is_in_range<T>(value) || value != std::trunc(value)) return false;
                out = static_cast<T>(value);
                return true;
            } else {
                out = static_cast<T>(value);
                return std::in_range<std::conditional_t<std::is_same_v<T, char16_t>, std::uint16_t, T>>(
                    value);
            }
        },
        x);
}

std::string text_of(const number::real_number& x) {
    return std::visit([](auto value) { return std::to_string(value); }, x);
}

void check_count(std::string_view description, std::size_t wanted, std::size_t given) {
    if (wanted != given) {
        refuse(description, std::to_string(wanted) + " elements wanted, " + std::to_string(given) + " given");
    }
}

template <class T>
void store_numbers(std::string_view description, const array_spec& spec, ndArray_tag* array,
                   std::span<const number> elements) {
    const std::size_t parts = spec.complexity == ndCOMPLEX ? 2 : 1;
    T* out = static_cast<T*>(array->pdata);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        T imaginary{};
        const bool fits = to_element(elements[i].re, out[i * parts]) &&
                          to_element(elements[i].im, imaginary) && (parts == 2 || imaginary == T{});
        if (!fits) {
            refuse(description, "element " + std::to_string(i) + ", " + text_of(elements[i].re) + " + " +
                                    text_of(elements[i].im) + "i, doesn't fit the class");
        }
        if (parts == 2) out[i * parts + 1] = imaginary;
    }
}

array_ptr create(const array_spec& spec) {
    return spec.class_id == ndCELL_CLASS ? matrix::create_cell(spec.dims)
                                         : matrix::create(spec.dims, spec.class_id, spec.complexity);
}

} // namespace

array_ptr arr(std::string_view description) { return create(parse_array_spec(description)); }

array_ptr arr(std::string_view description, std::span<const number> elements) {
    const array_spec spec = parse_array_spec(description);
    check_count(description, spec.element_count(), elements.size());
    array_ptr array = create(spec);
    const bool stored = matrix::internal::with_element_type(spec.class_id, [&](auto row) {
        store_numbers<typename decltype(row)::type>(description, spec, array.get(), elements);
    });
    if (!stored) refuse(description, "the class isn't written with numbers");
    return array;
}

array_ptr arr(std::string_view description, std::u16string_view text) {
    const bool row_by_length = description == "char";
    const array_spec spec =
        row_by_length ? array_spec{ndCHAR_CLASS, ndREAL, {1, text.size()}} : parse_array_spec(description);
    if (spec.class_id != ndCHAR_CLASS) refuse(description, "text is for class char");
    check_count(description, spec.element_count(), text.size());
    array_ptr array = create(spec);
    if (!text.empty()) std::memcpy(array->pdata, text.data(), text.size() * sizeof(char16_t));
    return array;
}

namespace {

void fill_slots(ndArray_tag* container, std::vector<array_ptr>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] != nullptr) values[i]->scope = ndMEMBER_SCOPE;
        static_cast<ndArray_tag**>(container->pdata)[i] = values[i].release();
    }
}

} // namespace

array_ptr arr_of_arrays(std::string_view description, std::vector<array_ptr> slots) {
    const array_spec spec = parse_array_spec(description);
    if (spec.class_id != ndCELL_CLASS) refuse(description, "arrays go into a cell");
    check_count(description, spec.element_count(), slots.size());
    array_ptr array = create(spec);
    fill_slots(array.get(), slots);
    return array;
}

array_ptr struct_of_arrays(std::string_view shape, std::span<const char* const> names,
                           std::vector<array_ptr> values) {
    const array_spec spec = parse_array_spec("struct " + std::string(shape));
    if (!values.empty()) check_count(shape, spec.element_count() * names.size(), values.size());
    array_ptr array = matrix::detail::do_create_struct(spec.dims, names);
    fill_slots(array.get(), values);
    return array;
}

array_ptr numbered(std::string_view description) {
    const array_spec spec = parse_array_spec(description);
    return numbered(spec.class_id, spec.complexity, spec.dims);
}

array_ptr numbered(ndClassID class_id, ndComplexity complexity, std::span<const std::size_t> dims) {
    constexpr std::size_t distinct = 100; // what int8 holds, with room for the imaginary parts
    constexpr int imaginary_offset = 20;
    array_ptr array = create({class_id, complexity, {dims.begin(), dims.end()}});
    matrix::internal::with_element_type(class_id, [&](auto row) {
        using T = typename decltype(row)::type;
        const std::size_t parts = complexity == ndCOMPLEX ? 2 : 1;
        const std::size_t count = matrix::internal::element_count(array.get());
        T* out = static_cast<T*>(array->pdata);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t n = i % distinct;
            out[i * parts] = class_id == ndLOGICAL_CLASS ? static_cast<T>(n % 2 == 0)
                             : class_id == ndCHAR_CLASS  ? static_cast<T>('A' + n % 26)
                                                         : static_cast<T>(n + 1);
            if (parts == 2) out[i * parts + 1] = static_cast<T>(n + 1 + imaginary_offset);
        }
    });
    return array;
}

} // namespace test
