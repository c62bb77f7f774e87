#include "eval/values.hpp"

#include "eval/notation_error.hpp"

#include <nd/reference.hpp>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>

namespace nd_host::eval {

namespace {

constexpr std::array<std::size_t, 2> one_by_one{1, 1};

// A real or complex scalar of class double, in full storage.
std::optional<std::complex<double>> double_scalar(const ndArray_tag& array) {
    if (array.class_id != ndDOUBLE_CLASS || nd_array_api::ndIsSparse(&array) ||
        nd_array_api::ndGetNumberOfElements(&array) != 1) {
        return std::nullopt;
    }
    const auto* parts = static_cast<const double*>(array.pdata);
    return std::complex<double>(parts[0], nd_array_api::ndIsComplex(&array) ? parts[1] : 0);
}

// The operand of a 64-bit range: exact where it has the class itself.
template <class Integer>
Integer integer_operand(const ndArray_tag& operand, ndClassID cls) {
    const array_ptr converted = matrix::convert_if_needed(copy_of(operand), cls);
    Integer value;
    std::memcpy(&value, converted->pdata, sizeof value);
    return value;
}

template <class Integer>
array_ptr integer_range(std::span<const ndArray_tag* const> operands, ndClassID cls, bool as_object) {
    const auto start = integer_operand<Integer>(*operands.front(), cls);
    const auto stop = integer_operand<Integer>(*operands.back(), cls);
    const auto make = [&](auto step) {
        return as_object ? matrix::create_int_colon_object(start, step, stop, cls)
                         : matrix::create_int_colon_array(start, step, stop);
    };
    if (operands.size() == 2) {
        return make(Integer{1});
    }
    const ndArray_tag& step = *operands[1];
    return step.class_id == cls ? make(integer_operand<Integer>(step, cls))
                                : make(nd_array_api::ndGetScalar(&step));
}

// The positions of an m by n matrix, from 1, in the order of its transpose: n by m.
array_ptr transposed_positions(std::size_t m, std::size_t n) {
    array_ptr positions = matrix::create(std::array{n, m}, ndDOUBLE_CLASS, ndREAL);
    auto* next = static_cast<double*>(positions->pdata);
    for (std::size_t row = 0; row < m && n != 0; ++row) {
        for (std::size_t column = 0; column < n; ++column) {
            *next++ = static_cast<double>(column * m + row + 1);
        }
    }
    return positions;
}

template <class T>
void conjugate_parts(ndArray_tag& array) {
    auto* parts = static_cast<T*>(array.pdata);
    for (std::size_t i = 0; i < nd_array_api::ndGetNumberOfElements(&array); ++i) {
        parts[2 * i + 1] = -parts[2 * i + 1];
    }
}

} // namespace

array_ptr scalar(double value) {
    array_ptr array = matrix::create(one_by_one, ndDOUBLE_CLASS, ndREAL);
    *static_cast<double*>(array->pdata) = value;
    return array;
}

array_ptr scalar(std::complex<double> value) {
    if (value.imag() == 0) {
        return scalar(value.real());
    }
    array_ptr array = matrix::create(one_by_one, ndDOUBLE_CLASS, ndCOMPLEX);
    *static_cast<std::complex<double>*>(array->pdata) = value;
    return array;
}

array_ptr text_row(const std::string& utf8) {
    if (utf8.empty()) {
        return matrix::detail::do_create_char(std::array<std::size_t, 2>{0, 0});
    }
    return matrix::from_tarvel(nd_array_api::ndCreateStringFromNChars_UTF8(
        reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size()));
}

array_ptr empty_brackets() {
    array_ptr array = matrix::create(std::array<std::size_t, 2>{0, 0}, ndDOUBLE_CLASS, ndREAL);
    nd_array_api::ndSetEmptySqrBrktFlag(array.get());
    return array;
}

std::string class_name(const ndArray_tag& array) {
    return nd_array_api::ndArrayClassIDName(nd_array_api::ndGetArrayType(&array));
}

array_ptr copy_of(const ndArray_tag& array) { return matrix::detail::do_shared_copy(&array); }

array_ptr copy_of_slot(const ndArray_tag* element) {
    return element != nullptr ? with_data(copy_of(*element))
                              : matrix::create(std::array<std::size_t, 2>{0, 0}, ndDOUBLE_CLASS, ndREAL);
}

array_ptr with_data(array_ptr array) {
    if (array->pdata != nullptr || nd_array_api::ndIsEmpty(array.get()) ||
        nd_array_api::ndIsSparse(array.get())) {
        return array;
    }
    const std::span<const std::size_t> dims(nd_array_api::ndGetDimensions(array.get()),
                                            nd_array_api::ndGetNumberOfDimensions(array.get()));
    const ndClassID cls = nd_array_api::ndGetArrayType(array.get());
    if (cls == ndCELL_CLASS) {
        return matrix::create_cell(dims);
    }
    if (cls == ndSTRUCT_CLASS) {
        const int fields = nd_array_api::ndGetNumberOfFields(array.get());
        std::vector<const char*> names;
        names.reserve(static_cast<std::size_t>(fields));
        for (int field = 0; field < fields; ++field) {
            names.push_back(nd_array_api::ndGetFieldNameByNumber(array.get(), field));
        }
        return matrix::detail::do_create_struct(dims, names);
    }
    const bool plain = cls >= ndLOGICAL_CLASS && cls <= ndUINT64_CLASS;
    return plain ? matrix::create(dims, cls, nd_array_api::ndIsComplex(array.get()) ? ndCOMPLEX : ndREAL)
                 : std::move(array);
}

array_ptr integer_literal(const std::string& digits, bool minus, ndClassID cls) {
    if (digits.find_first_not_of("0123456789") != std::string::npos) {
        return {};
    }
    std::uint64_t magnitude = std::numeric_limits<std::uint64_t>::max();
    std::from_chars(digits.data(), digits.data() + digits.size(), magnitude); // beyond the class: its limit
    constexpr std::uint64_t half = std::uint64_t{1} << 63;
    if (cls == ndINT64_CLASS) {
        magnitude = std::min(magnitude, minus ? half : half - 1);
    }
    const std::uint64_t bits = !minus ? magnitude : cls == ndINT64_CLASS ? 0 - magnitude : 0;
    array_ptr array = matrix::create(one_by_one, cls, ndREAL);
    std::memcpy(array->pdata, &bits, sizeof bits);
    return array;
}

array_ptr range(std::span<const ndArray_tag* const> operands, bool as_object) {
    std::array<double, 4> values{};
    const ndClassID cls =
        nd_array_api::ndGetColonArgs(static_cast<int>(operands.size()), operands.data(), values.data());
    if (values[3] != 0) {
        return matrix::create(std::array<std::size_t, 2>{1, 0}, cls, ndREAL);
    }
    if (cls == ndINT64_CLASS) return integer_range<long long>(operands, cls, as_object);
    if (cls == ndUINT64_CLASS) return integer_range<unsigned long long>(operands, cls, as_object);
    return as_object ? matrix::create_colon_object(values[0], values[1], values[2], cls)
                     : matrix::create_colon_array(values[0], values[1], values[2], cls);
}

array_ptr arithmetic(char operation, const ndArray_tag& left, const ndArray_tag& right) {
    const auto a = double_scalar(left);
    const auto b = double_scalar(right);
    if (!a || !b) {
        throw notation_error("operands",
                             std::string(1, operation) + " stands between scalars of class double only");
    }
    const bool real = a->imag() == 0 && b->imag() == 0; // Inf*1 has no part Inf*0
    switch (operation) {
    case '+':
        return scalar(*a + *b);
    case '-':
        return scalar(*a - *b);
    case '*':
        return real ? scalar(a->real() * b->real()) : scalar(*a * *b);
    default:
        return real ? scalar(a->real() / b->real()) : scalar(*a / *b);
    }
}

array_ptr negated(const ndArray_tag& operand) {
    if (const auto value = double_scalar(operand)) {
        return scalar(-*value);
    }
    if (operand.class_id == ndSINGLE_CLASS) {
        const array_ptr wide = matrix::convert_if_needed(copy_of(operand), ndDOUBLE_CLASS);
        return matrix::convert_if_needed(negated(*wide), ndSINGLE_CLASS);
    }
    throw notation_error("operands", "a sign stands before scalars of class double and single only");
}

array_ptr transposed(const ndArray_tag& operand, bool conjugate) {
    if (nd_array_api::ndGetNumberOfDimensions(&operand) != 2) {
        throw notation_error("operands", "arrays of more than two dimensions can't be transposed");
    }
    if (nd_array_api::ndIsSparse(&operand)) {
        const array_ptr full = matrix::convert_to_full_if_needed(copy_of(operand));
        return matrix::convert_to_sparse_if_needed(transposed(*full, conjugate));
    }
    if (nd_array_api::ndIsColonObj(&operand)) { // its dimensions are those of its operands
        return transposed(*matrix::convert_to_full_if_needed(copy_of(operand)), conjugate);
    }
    const std::size_t m = nd_array_api::ndGetM(&operand);
    const std::size_t n = nd_array_api::ndGetN(&operand);
    const array_ptr positions = transposed_positions(m, n);
    const std::array<const ndArray_tag*, 1> subscripts{positions.get()};
    array_ptr result = matrix::subscriptedReference(operand, subscripts);
    result->set_dimensions(
        std::array{n, m}); // a vector keeps its orientation when it is read through a vector
    if (conjugate && nd_array_api::ndIsComplex(result.get())) {
        result->class_id == ndDOUBLE_CLASS ? conjugate_parts<double>(*result)
        : result->class_id == ndSINGLE_CLASS
            ? conjugate_parts<float>(*result)
            : throw notation_error("operands", "complex integers are transposed by .' only");
    }
    return result;
}

} // namespace nd_host::eval
