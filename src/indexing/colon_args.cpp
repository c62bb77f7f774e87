// The operands of a colon expression as they are written: the class of the range, and their values.
#include "indexing/numbers.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/messages.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using operand_list = std::span<const ndArray_tag* const>;

constexpr std::size_t most_operands = 3;
constexpr std::size_t empty_mark = 3; // its place behind the operands

constexpr const char* mixed_char_id = "TARVEL:colon:mixedCharOperands";
constexpr const char* not_whole_id = "TARVEL:colon:scalarDoubleMustBeIntegerValued";

std::size_t operand_count(int n) noexcept {
    return n <= 0 ? 0 : std::min(static_cast<std::size_t>(n), most_operands);
}

bool is_char(const ndArray_tag* operand) noexcept { return operand->class_id == ndCHAR_CLASS; }
bool is_double(const ndArray_tag* operand) noexcept { return operand->class_id == ndDOUBLE_CLASS; }
bool is_double_or_logical(const ndArray_tag* operand) noexcept {
    return is_double(operand) || operand->class_id == ndLOGICAL_CLASS;
}

ndClassID range_class(operand_list operands) noexcept {
    const auto found = std::find_if_not(operands.begin(), operands.end(), is_double_or_logical);
    return found == operands.end() ? ndDOUBLE_CLASS : static_cast<ndClassID>((*found)->class_id);
}

void check_char_operands(operand_list operands) {
    if (!is_char(operands.front()) || !is_char(operands.back()))
        errors::raise_as<TARVEL::colon::mixedCharOperandsFirstAndLast>(mixed_char_id);
    if (operands.size() == most_operands && !is_char(operands[1]) && !is_double(operands[1]))
        errors::raise_as<TARVEL::colon::mixedCharOperandsSecond>(mixed_char_id);
}

// Beside a class that isn't double or char there is none but that class and double.
void check_class(const ndArray_tag* operand, ndClassID cls) {
    if (is_double(operand)) return;
    const bool with_numbers = element_size(code_of(cls, false)) != 0 && has_plain_elements(cls);
    if (operand->class_id != cls || !with_numbers) errors::raise<TARVEL::colon::mixedNonDoubleOperands>();
}

void check_operands(operand_list operands, ndClassID cls) {
    if (cls == ndCHAR_CLASS) check_char_operands(operands);
    const bool by_class = cls != ndDOUBLE_CLASS && cls != ndCHAR_CLASS;
    for (const ndArray_tag* operand : operands) {
        if (by_class) check_class(operand, cls);
        if (is_complex(operand) || api::ndCountColonObj(operand) > 1)
            errors::raise<TARVEL::colon::operandsNotRealScalar>();
    }
}

double value_of(const ndArray_tag* operand) {
    const array_ptr expanded = expand_if_colon_object(operand);
    return api::ndGetScalar(expanded ? expanded.get() : operand);
}

// ---- values

void check_whole(std::span<const double> values, ndClassID cls) {
    if (std::all_of(values.begin(), values.end(), is_whole)) return;
    if (cls == ndCHAR_CLASS) errors::raise_as<TARVEL::colon::charOperandsMustBeIntegerValued>(not_whole_id);
    errors::raise_as<TARVEL::colon::integerOperandsMustBeIntegerValued>(not_whole_id,
                                                                        api::ndArrayClassIDName(cls));
}

bool must_be_whole(ndClassID cls) noexcept {
    return cls == ndCHAR_CLASS || (cls >= ndINT8_CLASS && cls <= ndUINT32_CLASS);
}

bool fits(double value, ndClassID cls) noexcept {
    if (cls == ndSINGLE_CLASS) return !std::isfinite(value) || !std::isinf(static_cast<float>(value));
    if (cls < ndINT8_CLASS || cls > ndUINT32_CLASS) return true;
    bool inside = false;
    with_element_type(cls, [&]<class Row>(Row) {
        using limits = std::numeric_limits<typename Row::type>;
        inside = value >= static_cast<double>(limits::min()) && value <= static_cast<double>(limits::max());
    });
    return inside;
}

void check_fits(double value, ndClassID cls) {
    if (!fits(value, cls)) errors::raise<TARVEL::colon::OutOfRange>();
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

ndClassID ndGetColonArgs(int n, const ndArray_tag* const* args, double* out) {
    const operand_list operands(args, operand_count(n));
    const ndClassID cls = range_class(operands);
    check_operands(operands, cls);
    std::array<double, empty_mark + 1> values{};
    if (std::any_of(operands.begin(), operands.end(), ndIsEmpty)) {
        values[empty_mark] = 1.0;
    } else {
        std::transform(operands.begin(), operands.end(), values.begin(), value_of);
        ndGetColonArgValues(n, values.data(), cls);
    }
    std::copy(values.begin(), values.end(), out);
    return cls;
}

void ndGetColonArgValues(int n, double* values, ndClassID cls) {
    const std::size_t count = operand_count(n);
    if (count == 0) return;
    if (must_be_whole(cls)) check_whole({values, count}, cls);
    check_fits(values[0], cls);
    check_fits(values[count - 1], cls);
    if (count != 2) return;
    values[2] = values[1];
    values[1] = 1.0;
}

} // namespace matrix::detail::noninlined::nd_array_api
