#include "range_values.hpp"

#include "number_format.hpp"

#include <array>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

bool is_range(const ndArray_tag& array) noexcept {
    return nd_array_api::ndIsColonObj(&array) && array.pdata != nullptr;
}

template <class T>
std::string wide_text(const ndArray_tag& array) {
    T start = 0;
    T step = 0;
    T stop = 0;
    double double_step = 0;
    nd_array_api::ndGetColonObjValues(&array, start, step, stop, double_step);
    const std::string middle = step != 0 ? std::to_string(step) : brief_format(double_step);
    return std::to_string(start) + ":" + middle + ":" + std::to_string(stop);
}

} // namespace

bool is_long_range(const ndArray_tag& array) noexcept {
    return is_range(array) && nd_array_api::ndCountColonObj(&array) > longest_range;
}

std::shared_ptr<const ndArray_tag> range_values(const ndArray_tag& array) {
    return is_range(array) && !is_long_range(array) ? matrix::expand_colon_object(&array) : nullptr;
}

std::string range_text(const ndArray_tag& array) {
    if (array.class_id == ndINT64_CLASS) {
        return wide_text<long long>(array);
    }
    if (array.class_id == ndUINT64_CLASS) {
        return wide_text<unsigned long long>(array);
    }
    std::array<double, 3> operands{};
    nd_array_api::ndGetColonObjValues(&array, operands.data());
    return brief_format(operands[0]) + ":" + brief_format(operands[1]) + ":" + brief_format(operands[2]);
}

} // namespace nd_host
