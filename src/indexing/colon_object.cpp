// Making colon objects: rows of their class that hold the operands, as matrix/colon_layout.hpp tells.
#include "indexing/colon_operands.hpp"
#include "indexing/numbers.hpp"

#include "matrix/frame.hpp"
#include "matrix/numeric_creation.hpp"

#include <nd/colon.hpp>

#include <array>

namespace matrix::internal {
namespace {

template <class T>
void put_operand(ndArray_tag* object, std::size_t offset, T operand) noexcept {
    std::memcpy(static_cast<std::byte*>(object->pdata) + offset, &operand, sizeof operand);
}

array_ptr make_object(std::int32_t class_id, std::size_t columns) {
    array_ptr object = create_numeric(std::array<std::size_t, 2>{1, columns}, code_of(class_id, false),
                                      DataInitialization::uninitialized);
    object->flags |= flag_colon_object;
    return object;
}

template <class T>
T as_operand(double x) noexcept {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(x);
    } else {
        return truncated<T>(x);
    }
}

template <class T>
void put_operands(ndArray_tag* object, T start, double step, T stop) noexcept {
    put_operand(object, 0, step);
    put_operand(object, sizeof step, start);
    put_operand(object, sizeof step + sizeof start, stop);
}

template <class T>
array_ptr wide_object(T start, T step, T stop, std::int32_t class_id) {
    if (class_id != wide_class_of<T>) return nullptr;
    array_ptr object = make_object(class_id, columns_of_whole_step);
    const std::array<T, columns_of_whole_step> words{0, start, stop, step};
    std::memcpy(object->pdata, words.data(), sizeof words);
    return object;
}

template <class T>
array_ptr wide_object(T start, double step, T stop, std::int32_t class_id) {
    if (class_id != wide_class_of<T>) return nullptr;
    array_ptr object = make_object(class_id, columns_of_double_step(class_id));
    put_operands(object.get(), start, step, stop);
    return object;
}

} // namespace
} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr create_colon_object(double start, double step, double stop) {
    return create_colon_object(start, step, stop, ndDOUBLE_CLASS);
}

array_ptr create_colon_object(double start, double step, double stop, ndClassID cls) {
    if (!has_ranges(cls) || has_64_bit_ranges(cls)) return nullptr;
    array_ptr object = make_object(cls, columns_of_double_step(cls));
    with_element_type(cls, [&]<class Row>(Row) {
        using element = typename Row::type;
        put_operands(object.get(), as_operand<element>(start), step, as_operand<element>(stop));
    });
    return object;
}

array_ptr create_int_colon_object(long long start, long long step, long long stop, ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(long long start, double step, long long stop, ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(unsigned long long start, unsigned long long step, unsigned long long stop,
                                  ndClassID cls) {
    return wide_object(start, step, stop, cls);
}
array_ptr create_int_colon_object(unsigned long long start, double step, unsigned long long stop,
                                  ndClassID cls) {
    return wide_object(start, step, stop, cls);
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndCreateColonObj(double start, double step, double stop) {
    return framed_creator([=] { return create_colon_object(start, step, stop); });
}
ndArray_tag* ndCreateColonObject(double start, double step, double stop, ndClassID cls) {
    return framed_creator([=] { return create_colon_object(start, step, stop, cls); });
}

ndArray_tag* ndCreateIntColonObject(long long start, long long step, long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(long long start, double step, long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(unsigned long long start, unsigned long long step,
                                    unsigned long long stop, ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}
ndArray_tag* ndCreateIntColonObject(unsigned long long start, double step, unsigned long long stop,
                                    ndClassID cls) {
    return framed_creator([=] { return create_int_colon_object(start, step, stop, cls); });
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
