// Array values in place:
//
//     arr("double 2x3", {1, 2, 3, 4, 5, 6})        elements by column
//     arr("complex single 1x2", {1.0i, {2, 3}})    a brace pair is a real and an imaginary part
//     arr("int8 0x3")                              without elements: zeros
//     arr("char", u"text")                         a row as long as the text; "char 2x2" fixes the shape
//     arr("cell 1x2", arr("double"), nullptr)      the cell owns its elements; null is an empty slot
//     struct_arr("2x1", {"a", "b"}, x, y, z, w)    a struct array; values of one element lie together; without values: nulls
//     numbered("uint16 3x4")                       elements 1, 2, 3, ... by column, for tests over classes
//
// The caller owns the result. A description that isn't understood, a number of elements that doesn't fit the shape and a
// number that the class can't hold raise std::invalid_argument with the description.
#pragma once

#include <nd/create.hpp>

#include <complex>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace test {

/// One element as it is written: an integer of any width stays exact.
class number {
public:
    using real_number = std::variant<std::int64_t, std::uint64_t, double>;

    template <class T>
    requires(std::is_arithmetic_v<T>) number(T real) : re(exact(real)) {}

    template <class T, class U>
    requires(std::is_arithmetic_v<T>&& std::is_arithmetic_v<U>) number(T real, U imaginary)
        : re(exact(real)), im(exact(imaginary)) {}

    template <class T>
    number(std::complex<T> z) : re(exact(z.real())), im(exact(z.imag())) {}

    real_number re;
    real_number im = std::int64_t{0};

private:
    template <class T>
    static real_number exact(T x) {
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<double>(x);
        } else if constexpr (std::is_signed_v<T>) {
            return static_cast<std::int64_t>(x);
        } else {
            return static_cast<std::uint64_t>(x);
        }
    }
};

matrix::array_ptr arr(std::string_view description);
matrix::array_ptr arr(std::string_view description, std::span<const number> elements);
matrix::array_ptr arr(std::string_view description, std::u16string_view text);
matrix::array_ptr arr_of_arrays(std::string_view description, std::vector<matrix::array_ptr> slots);

inline matrix::array_ptr arr(std::string_view description, std::initializer_list<number> elements) {
    return arr(description, std::span<const number>(elements.begin(), elements.size()));
}

/// A container with the given arrays in its slots.
template <class... Slots>
requires(sizeof...(Slots) > 0 &&
         (std::constructible_from<matrix::array_ptr, Slots&&> && ...)) matrix::array_ptr
    arr(std::string_view description, Slots&&... slots) {
    std::vector<matrix::array_ptr> list;
    list.reserve(sizeof...(Slots));
    (list.emplace_back(std::forward<Slots>(slots)), ...);
    return arr_of_arrays(description, std::move(list));
}

/// A struct array of this shape with fields of these names.
matrix::array_ptr struct_of_arrays(std::string_view shape, std::span<const char* const> names,
                                   std::vector<matrix::array_ptr> values);

template <class... Values>
requires(std::constructible_from<matrix::array_ptr, Values&&>&&...) matrix::array_ptr
    struct_arr(std::string_view shape, std::initializer_list<const char*> names, Values&&... values) {
    std::vector<matrix::array_ptr> list;
    list.reserve(sizeof...(Values));
    (list.emplace_back(std::forward<Values>(values)), ...);
    return struct_of_arrays(shape, std::span<const char* const>(names.begin(), names.size()),
                            std::move(list));
}

/// Elements 1, 2, 3, ... by column, modulo what the class can hold; imaginary parts are 101, 102, ...; logical alternates
/// 1, 0; char counts from 'A'. Containers get null slots.
matrix::array_ptr numbered(std::string_view description);
matrix::array_ptr numbered(ndClassID class_id, ndComplexity complexity, std::span<const std::size_t> dims);

} // namespace test
