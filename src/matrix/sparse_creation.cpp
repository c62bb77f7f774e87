// The three blocks of a new sparse array, and its creators.
#include "matrix/sparse_creation.hpp"

#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/size_check.hpp"
#include "matrix/sparse_parts.hpp"

#include <errors/raise.hpp>

#include <nd/messages.hpp>
#include <nd/sparse.hpp>

#include <algorithm>
#include <array>

namespace matrix::internal {
namespace {

std::uint64_t as_word(data_block block) noexcept { return std::bit_cast<std::uint64_t>(block.release()); }

} // namespace

void raise_no_sparse_form() { errors::raise<TARVEL::legacy_two_part::unimplementedSparseType>(); }

// Of other classes there are no sparse arrays at all: no copy, conversion or reader knows how to go about one.
array_ptr create_sparse(std::size_t m, std::size_t n, std::size_t nzmax, NdArrayTypeId code,
                        DataInitialization init) {
    const std::int32_t class_id = class_of(code);
    if (!may_be_sparse(class_id)) raise_no_sparse_form();
    if (class_id == ndLOGICAL_CLASS) code = code_of(class_id, false);
    const std::size_t room = std::max<std::size_t>(nzmax, 1);
    checked_sparse_size(m, n, room, element_size(code));
    array_ptr array = header_factory::make(code, std::array{m, n}, room * element_size(code), init);
    data_block rows(allocate_data(room * sizeof(kvIndex), init));
    data_block starts(allocate_data((n + 1) * sizeof(kvIndex), DataInitialization::zeroed));
    array->flags = (array->flags & ~flag_scalar_double) | flag_sparse;
    array->info_a = as_word(std::move(rows));
    array->info_b = as_word(std::move(starts));
    array->info_c = room;
    return array;
}

} // namespace matrix::internal

namespace matrix::detail {

using namespace internal;

array_ptr do_create_sparse(std::size_t m, std::size_t n, std::size_t nzmax, ndClassID classId,
                           ndComplexity complexity, bool zeroed) {
    if (!is_class(classId)) raise_no_sparse_form(); // a number above 31 would pass for a complex class
    return create_sparse(m, n, nzmax, code_of(classId, complexity == ndCOMPLEX),
                         zeroed ? DataInitialization::zeroed : DataInitialization::uninitialized);
}

namespace noninlined::nd_array_api {

ndArray_tag* ndCreateSparseNumericMatrix(std::size_t m, std::size_t n, std::size_t nzmax, ndClassID classId,
                                         ndComplexity complexity) {
    return framed_creator([=] { return do_create_sparse(m, n, nzmax, classId, complexity, true); });
}

ndArray_tag* ndCreateSparse(std::size_t m, std::size_t n, std::size_t nzmax, ndComplexity complexity) {
    return ndCreateSparseNumericMatrix(m, n, nzmax, ndDOUBLE_CLASS, complexity);
}

ndArray_tag* ndCreateSparseLogicalMatrix(std::size_t m, std::size_t n, std::size_t nzmax) {
    return ndCreateSparseNumericMatrix(m, n, nzmax, ndLOGICAL_CLASS, ndREAL);
}

} // namespace noninlined::nd_array_api
} // namespace matrix::detail
