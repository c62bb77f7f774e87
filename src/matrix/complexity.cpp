// Complex to real and back, in place.
#include "matrix/complexity.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/imaginary_scan.hpp"
#include "matrix/interleave_kernels.hpp"
#include "matrix/own_block.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/size_check.hpp"
#include "matrix/sparse_parts.hpp"
#include "matrix/unshare.hpp"

#include <nd/interleaved.hpp>
#include <nd/share.hpp>
#include <nd/typed.hpp>

#include <new>

namespace matrix::internal {
namespace {

// Elements that have a value: of a sparse array those that are stored.
std::size_t live_count(const ndArray_tag* array) noexcept {
    if (array->pdata == nullptr) return 0;
    return is_sparse(array) ? stored_count(array) : element_count(array);
}

void deflate(ndArray_tag* array) {
    array->interleave_data();
    unshare(array);
    keep_real_parts(array->class_id, array->pdata, live_count(array));
    array->flags &= ~flag_complex;
}

void refuse_class(const ndArray_tag* array) {
    const auto class_id = static_cast<ndClassID>(array->class_id);
    if (class_id == ndLOGICAL_CLASS && is_sparse(array)) rejectClassId("CopyInflate", class_id);
    rejectInvalidClassId(class_id);
}

void inflate(ndArray_tag* array) {
    if (!is_numeric(code_of(array->class_id, false))) refuse_class(array);
    if (array_ptr range = expand_if_colon_object(array)) { // operands have no imaginary parts
        inflate(range.get());
        return detail::noninlined::nd_array_api::ndMoveArrayOntoHeader(array, range.release());
    }
    array->interleave_data();
    if (array->pdata != nullptr) {
        const std::size_t room = is_sparse(array) ? array->info_c : element_count(array);
        data_block block(allocate_data(saturated_product(room, 2 * stored_element_size(array)),
                                       DataInitialization::uninitialized));
        with_element_type(array->class_id, [&]<class Row>(Row) {
            using part = typename Row::type;
            const auto* const from = static_cast<const part*>(array->pdata);
            auto* const to = static_cast<part*>(block.get());
            for (std::size_t i = 0, count = live_count(array); i < count; ++i) {
                to[2 * i] = from[i];
                to[2 * i + 1] = 0;
            }
        });
        if (begin_own_data(array, false))
            array->pdata = nullptr; // others have it. The last thing that can fail
        replace_block(array, block.release());
    }
    array->flags |= flag_complex;
}

bool has_imaginary_part(const ndArray_tag* array) {
    bring_data_up_to_date(array);
    return any_imaginary_part(array->class_id, array->pdata, live_count(array));
}

bool may_lose_imaginary_part(const ndArray_tag* array) noexcept {
    return is_complex(array) && header_owners(array) < 2 && (array->flags & flag_data_private) == 0;
}

} // namespace

void inflate_to_complex(ndArray_tag* array) {
    if (!is_complex(array)) inflate(array);
}

void deflate_to_real(ndArray_tag* array) {
    if (is_complex(array)) deflate(array);
}

void free_imag_if_zero(ndArray_tag* array) {
    if (!may_lose_imaginary_part(array)) return;
    if (element_count(array) == 0) {
        array->interleave_data();
        array->flags &= ~flag_complex;
    } else if (!has_imaginary_part(array)) {
        deflate(array);
    }
}

void become_real_if_possible(ndArray_tag* array) noexcept {
    try {
        free_imag_if_zero(array);
    } catch (const std::bad_alloc&) {
    }
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndDeflateComplexToReal(ndArray_tag* array) {
    framed([=] { return deflate_to_real(array), true; });
}

void ndInflateRealToComplex(ndArray_tag* array) {
    framed([=] { return inflate_to_complex(array), true; });
}

void ndFreeImagIfZero(ndArray_tag* array) {
    framed([=] { return free_imag_if_zero(array), true; });
}

bool ndIsImagPartNonZero(const ndArray_tag* array) {
    return is_complex(array) && framed([=] { return has_imaginary_part(array); });
}

void ndMarkImagData(ndArray_tag* array) { array->flags |= flag_complex; }

} // namespace matrix::detail::noninlined::nd_array_api
