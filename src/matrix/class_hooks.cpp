// The answers of the array model on its own, until a class system tells its hooks.
// The object hooks are real: an engine may install them before any object exists.
#include "matrix/class_hooks.hpp"

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/function_records.hpp"
#include "matrix/object_info.hpp"

#include <errors/raise.hpp>

#include <nd/create.hpp>
#include <nd/messages.hpp>

#include <atomic>
#include <string_view>

namespace matrix::internal {
namespace {

std::atomic<void (*)(ndArray_tag*)> object_create_hook{nullptr};
std::atomic<void (*)(ndArray_tag*)> object_destroy_hook{nullptr};

constexpr opaque_element_hooks no_class_system{};
constinit std::atomic<const opaque_element_hooks*> element_hooks{&no_class_system};

} // namespace

void destroy_function_records(ndArray_tag* array) noexcept {
    if (array->pdata != nullptr) release_function_records(array->pdata, element_count(array), array);
}

void destroy_opaque_payload(ndArray_tag* array) noexcept {
    if (array->pdata == nullptr || is_indexing_opaque(array)) return;
    destroy_opaque_elements(array, static_cast<void* const*>(array->pdata), element_count(array));
}

void retain_opaque_payload(const ndArray_tag* /*source*/) {}

void set_opaque_element_hooks(const opaque_element_hooks* hooks) noexcept {
    element_hooks.store(hooks == nullptr ? &no_class_system : hooks, std::memory_order_release);
}

void* copy_opaque_element(const ndArray_tag* source, const void* element) {
    const auto copy = element_hooks.load(std::memory_order_acquire)->copy;
    if (copy == nullptr) errors::raise<TARVEL::legacy_two_part::invalidInput>();
    void* const copied = copy(source, element);
    if (copied == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
    return copied;
}

void reference_opaque_elements(const ndArray_tag* /*source*/, std::size_t /*nsubs*/, ndArray_tag* /*result*/,
                               const kvIndex* const* /*positions*/, const kvSize* /*counts*/) {
    errors::raise<TARVEL::legacy_two_part::invalidInput>();
}

void destroy_opaque_elements(const ndArray_tag* holder, void* const* elements, std::size_t count) noexcept {
    const auto destroy = element_hooks.load(std::memory_order_acquire)->destroy;
    for (std::size_t i = 0; destroy != nullptr && i < count; ++i) {
        if (elements[i] != nullptr) destroy(holder, elements[i]);
    }
}

void complete_opaque_dimensions(const ndArray_tag* /*array*/) {}

ndClassID class_id_from_class_system(const ndArray_tag* array) {
    const object_info* const info = array->class_id == ndOBJECT_CLASS ? object_info_of(array) : nullptr;
    const bool registered = info != nullptr && info->tag_index != 0;
    return static_cast<ndClassID>(registered ? info->tag_index : array->class_id);
}

const char* class_name_from_class_system(const ndArray_tag* array) {
    if (array->class_id != ndOBJECT_CLASS) return class_rows[ndOPAQUE_CLASS].name;
    const object_info* const info = object_info_of(array);
    return info == nullptr || info->class_name == nullptr ? "" : info->class_name;
}

bool is_class_by_class_system(const ndArray_tag* array, const char* name) {
    return std::string_view(name) == class_name_from_class_system(array);
}

array_ptr convert_opaque(const ndArray_tag* /*array*/, ndClassID /*target*/) { return nullptr; }

void call_object_create_hook(ndArray_tag* array) {
    if (auto* hook = object_create_hook.load(std::memory_order_acquire)) hook(array);
}

void become_object(ndArray_tag* array) {
    array->class_id = ndOBJECT_CLASS;
    try {
        call_object_create_hook(array);
    } catch (...) {
        array->class_id = ndSTRUCT_CLASS;
        throw;
    }
}

void call_object_destroy_hook(ndArray_tag* array) noexcept {
    if (auto* hook = object_destroy_hook.load(std::memory_order_acquire)) hook(array);
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

void ndSetObjectCreateDestroyFn(void (*create)(ndArray_tag*), void (*destroy)(ndArray_tag*)) {
    internal::object_create_hook.exchange(create, std::memory_order_acq_rel);
    internal::object_destroy_hook.exchange(destroy, std::memory_order_acq_rel);
}

} // namespace matrix::detail::noninlined::nd_array_api

void ndArray_tag::_complete_opaque_dimensions() const { matrix::internal::complete_opaque_dimensions(this); }

ndClassID ndArray_tag::_get_class_id_non_trivial() const {
    return matrix::internal::class_id_from_class_system(this);
}
