// Subjects of the argument sweep.
#include "api/sweep.hpp"

#include "api/small_limit.hpp"

#include <nd/containers.hpp>
#include <nd/memory.hpp>

#include <algorithm>
#include <memory>

namespace test {

bool made_one(ndArray_tag* array) {
    const matrix::array_ptr owned(array);
    return owned != nullptr;
}

bool made_nothing(ndArray_tag* array) { return !made_one(array); }

bool with_array(ndClassID class_id, ndComplexity complexity, array_call call) {
    const std::size_t dims[] = {2, 3};
    return call(matrix::create(dims, class_id, complexity).get());
}

bool with_long_array(array_call call) {
    const std::size_t dims[] = {std::size_t{1} << 31, 0}; // no elements, so no memory
    return call(matrix::create(dims, ndLOGICAL_CLASS, ndREAL).get());
}

bool with_every_class_but(ndClassID class_id, ndComplexity complexity, array_call call) {
    bool all = true;
    for (int other = ndLOGICAL_CLASS; other <= ndUINT64_CLASS; ++other) {
        const auto other_class = static_cast<ndClassID>(other);
        if (other_class == ndVOID_CLASS || other_class == class_id) continue;
        all = with_array(other_class, ndREAL, call) && with_array(other_class, complexity, call) && all;
    }
    const std::size_t dims[] = {2, 3};
    return call(matrix::create_cell(dims).get()) && all;
}

bool with_block(bool (*call)(void*)) {
    using matrix::detail::noninlined::nd_array_api::ndFree;
    using matrix::detail::noninlined::nd_array_api::ndMalloc;
    const std::unique_ptr<void, void (*)(void*)> block(ndMalloc(1), &ndFree);
    return call(block.get());
}

bool under_a_small_limit(bool (*call)()) {
    const small_limit limit;
    return call();
}

bool with_struct(array_call call) {
    const std::size_t dims[] = {struct_elements, 1};
    const char* const names[] = {"a", "b"};
    const matrix::array_ptr array = matrix::detail::do_create_struct(dims, names);
    auto** const slots = static_cast<ndArray_tag**>(array->pdata);
    for (int i = 0; i < struct_slots; ++i) {
        slots[i] = matrix::create(dims, ndDOUBLE_CLASS, ndREAL).release();
        slots[i]->scope = ndMEMBER_SCOPE;
    }
    const std::vector<ndArray_tag*> before(slots, slots + struct_slots);
    const bool answer = call(array.get());
    return answer && array->pdata == slots && std::equal(before.begin(), before.end(), slots);
}

bool with_no_container(array_call call) {
    const std::size_t dims[] = {2, 3};
    bool all = true;
    for (int other = ndUNKNOWN_CLASS; other < ndOBJECT_CLASS; ++other) {
        if (other == ndCELL_CLASS || other == ndSTRUCT_CLASS) continue;
        all = call(matrix::create(dims, static_cast<ndClassID>(other), ndREAL).get()) && all;
    }
    return all;
}

bool with_no_struct(array_call call) {
    const std::size_t dims[] = {2, 3};
    return call(matrix::create_cell(dims).get()) && with_no_container(call);
}

} // namespace test
