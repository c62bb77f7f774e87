// The data block of a header: who reads it, who puts another one in its place.
//
// A setter stores the block and frees nothing. The block leaves the alloc list, since the array frees it from now on; with
// private data or a custom deleter it doesn't, and stays the caller's or the deleter's.
#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/flag_words.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"

#include <errors/raise.hpp>
#include <foundation/core/diag/diag.hpp>

#include <nd/access.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

// The real parts of complex elements don't stand in a row, so nobody may walk them as if they did.
void check_is_real(const ndArray_tag* array, const char* function = __builtin_FUNCTION()) {
    foundation::core::diag::check(!is_complex(array), "!pa->is_complex()", "matrix/array", __LINE__,
                                  function);
}

void raise_if_complex(const ndArray_tag* array) {
    if (is_complex(array)) errors::raise<TARVEL::matrix::illegalComplexArray>();
}

} // namespace

void* ndGetData(const ndArray_tag* array) { return array->pdata; }
char16_t* ndGetChars(const ndArray_tag* array) { return static_cast<char16_t*>(array->pdata); }
bool* ndGetLogicals(const ndArray_tag* array) { return static_cast<bool*>(array->pdata); }

double* ndGetPr(const ndArray_tag* array) {
    check_is_real(array);
    return static_cast<double*>(array->pdata);
}

void ndSetData(ndArray_tag* array, void* data, void (*deleter)(void*)) {
    framed([=] { array->set_pdata_untrusted(data, deleter); });
}

void ndSetPr(ndArray_tag* array, double* data) {
    check_is_real(array);
    framed([=] { array->set_pdata_untrusted(data, nullptr); });
}

std::size_t ndGetElementSize(const ndArray_tag* array) {
    if (has_flag(array, flag_indexing_opaque)) return 0;
    return element_size(code_of(array->class_id, has_flag(array, flag_complex)));
}

namespace published {

void* ndGetData(const ndArray_tag* array) { return array == nullptr ? nullptr : array->pdata; }

std::size_t ndGetElementSize(const ndArray_tag* array) {
    return array == nullptr ? 0 : nd_array_api::ndGetElementSize(array);
}

double* ndGetPr(const ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    return framed([=] {
        raise_if_complex(array);
        return static_cast<double*>(array->pdata);
    });
}

void ndSetData(ndArray_tag* array, void* data) {
    if (array != nullptr) framed([=] { array->set_pdata_untrusted(data, nullptr); });
}

void ndSetPr(ndArray_tag* array, double* data) {
    if (array == nullptr) return;
    framed([=] {
        raise_if_complex(array);
        array->set_pdata_untrusted(data, nullptr);
    });
}

} // namespace published
} // namespace matrix::detail::noninlined::nd_array_api

namespace {

// What the header's own block needs when another one takes its place. Others that use it, or lent it, keep it. No deleter and
// no split view of the old block is left behind.
void release_block(ndArray_tag* array) noexcept {
    using namespace matrix::internal;
    if (release_data_for_destroy(array)) {
        if (!has_flag(array, matrix::flags_data_not_owned)) removeFromAllocList(array->pdata);
        release_own_block(array);
    }
    array->nullCustomDeleter();
    end_view(array);
}

} // namespace

void ndArray_tag::reset_pdata_untrusted(void* data, ndClassID classId, ndComplexity complexity) noexcept {
    using namespace matrix::internal;
    if (data != pdata) {
        removeFromAllocList(data);
        release_block(this);
        flags &= ~(matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked);
        pdata = data;
    }
    class_id = classId;
    flags =
        (flags & ~matrix::flags_complex_numeric) | flags_of_code(code_of(classId, complexity == ndCOMPLEX));
    if (classId != ndDOUBLE_CLASS) flags &= ~matrix::flag_scalar_double;
}
