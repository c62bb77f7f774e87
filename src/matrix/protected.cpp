// Guards over arrays.
#include <nd/protected.hpp>

#include "matrix/scope.hpp"

#include <nd/create.hpp>
#include <nd/share.hpp>

#include <new>
#include <utility>

namespace api = matrix::detail::noninlined::nd_array_api;

ndArray_tag* Kprotected_ndArray_helper::copy(ndArray_tag* array) { return api::ndCreateReference(array); }

void Kprotected_ndArray_helper::free(ndArray_tag* array) { matrix::destroyArray(array); }

template class Kprotected_cptr<ndArray_tag, Kprotected_ndArray_helper>;

namespace {

// The array list takes an array that has one owner; who else holds it doesn't change.
void make_temporary(ndArray_tag* array) {
    struct owners {
        explicit owners(ndArray_tag* of) noexcept
            : array(of), references(of->ref_count), internal_references(of->internal_ref_count) {
            array->ref_count = 1;
            array->internal_ref_count = 0;
        }
        ~owners() {
            array->ref_count = references;
            array->internal_ref_count = internal_references;
        }
        owners(const owners&) = delete;
        owners& operator=(const owners&) = delete;

        ndArray_tag* array;
        std::uint32_t references;
        std::uint32_t internal_references;
    } const saved(array);
    array->flags &= ~matrix::flag_reusable;
    matrix::internal::set_scope(array, ndTEMPORARY_SCOPE);
}

} // namespace

Kprotected_ndArray::Kprotected_ndArray() noexcept = default;

Kprotected_ndArray::Kprotected_ndArray(ndArray_tag* ptr, bool owned) : owned_(owned), ptr_(ptr) {
    if (owned_) myLocalize();
}

Kprotected_ndArray::Kprotected_ndArray(const Kprotected_ndArray& other)
    : owned_(other.owned_), ptr_(owned_ ? Kprotected_ndArray_helper::copy(other.ptr_) : other.ptr_) {
    if (owned_) myLocalize();
}

Kprotected_ndArray::~Kprotected_ndArray() { call_delete_fn(); }

Kprotected_ndArray& Kprotected_ndArray::operator=(ndArray_tag* ptr) {
    if (ptr == ptr_) return *this;
    call_delete_fn();
    owned_ = true;
    ptr_ = ptr;
    myLocalize();
    return *this;
}

Kprotected_ndArray& Kprotected_ndArray::operator=(const Kprotected_ndArray& other) {
    if (owned_ && ptr_ == other.ptr_) return *this;
    Kprotected_ndArray copy(other); // first: it may raise
    std::swap(owned_, copy.owned_);
    std::swap(ptr_, copy.ptr_);
    return *this;
}

void Kprotected_ndArray::call_delete_fn() {
    if (!owned_) return;
    owned_ = false;
    Kprotected_ndArray_helper::free(std::exchange(ptr_, nullptr));
}

ndArray_tag* Kprotected_ndArray::get() const noexcept { return ptr_; }
Kprotected_ndArray::operator ndArray_tag*() noexcept { return ptr_; }
Kprotected_ndArray::operator const ndArray_tag*() const noexcept { return ptr_; }
ndArray_tag* Kprotected_ndArray::operator->() noexcept { return ptr_; }
const ndArray_tag* Kprotected_ndArray::operator->() const noexcept { return ptr_; }

void Kprotected_ndArray::myLocalize() {
    if (ptr_ != nullptr) matrix::internal::set_scope(ptr_, ndLOCAL_SCOPE);
}

ndArray_tag* Kprotected_ndArray::Unprotect() {
    if (owned_ && ptr_ != nullptr && ptr_->scope == ndLOCAL_SCOPE) make_temporary(ptr_);
    owned_ = false;
    return std::exchange(ptr_, nullptr);
}

void Kprotected_ndArray::Unshare() {
    if (ptr_ == nullptr) return;
    ndArray_tag* const alone = api::ndUnshare(ptr_);
    if (alone == nullptr) throw std::bad_alloc{};
    ptr_ = alone;
}
