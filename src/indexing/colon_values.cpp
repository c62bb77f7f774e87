// What colon objects stand for: their operands, how many elements there are, and the vector.
//
// An array without operands that can be read, whatever its flag says, is an array like any other here.
#include "indexing/colon_elements.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/frame.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

template <class T>
array_ptr expanded(const wide_operands<T>& operands) {
    if (operands.step != 0) return create_int_colon_array(operands.start, operands.step, operands.stop);
    return create_int_colon_array(operands.start, operands.double_step, operands.stop);
}

template <class T>
void get_wide_values(const ndArray_tag* object, T& start, T& step, T& stop, double& double_step) {
    wide_operands<T> operands{};
    if (is_colon_object(object) && object->class_id == wide_class_of<T>) operands = read_wide<T>(object);
    start = operands.start;
    step = operands.step;
    stop = operands.stop;
    double_step = operands.double_step;
}

} // namespace

std::size_t count_colon_elements(const ndArray_tag* array) {
    if (!is_colon_object(array)) return api::ndGetNumberOfElements(array);
    return colon_elements(array).count();
}

array_ptr expand_if_colon_object(const ndArray_tag* array) {
    if (!is_colon_object(array)) return nullptr;
    array_ptr expanded = expand_colon_object(array);
    expanded->flags |= array->flags & flags_kept_by_expansion;
    return expanded;
}

} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr expand_colon_object(const ndArray_tag* object) {
    if (object == nullptr) return nullptr;
    if (!is_colon_object(object)) return share_or_copy(object);
    if (object->class_id == ndINT64_CLASS) return expanded(read_wide<long long>(object));
    if (object->class_id == ndUINT64_CLASS) return expanded(read_wide<unsigned long long>(object));
    const double_operands operands = read_doubles(object);
    return create_colon_array(operands.start, operands.step, operands.stop,
                              static_cast<ndClassID>(object->class_id));
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndExpandColonObj(const ndArray_tag* object) {
    return framed_creator([=] { return expand_colon_object(object); });
}

kvSize ndCountColonObj(const ndArray_tag* array) { return count_colon_elements(array); }

void ndGetColonObjValues(const ndArray_tag* object, double* values) {
    const double_operands operands = is_colon_object(object) ? read_doubles(object) : double_operands{};
    values[0] = operands.start;
    values[1] = operands.step;
    values[2] = operands.stop;
}

void ndGetColonObjValues(const ndArray_tag* object, long long& start, long long& step, long long& stop,
                         double& doubleStep) {
    get_wide_values(object, start, step, stop, doubleStep);
}

void ndGetColonObjValues(const ndArray_tag* object, unsigned long long& start, unsigned long long& step,
                         unsigned long long& stop, double& doubleStep) {
    get_wide_values(object, start, step, stop, doubleStep);
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
