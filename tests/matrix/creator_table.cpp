// The table of creators.
#include "matrix/creator_table.hpp"

#include <nd/text.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
namespace detail = matrix::detail;
using args = creator_args;
using counts = creator_row::counts;

constexpr int given = creator_row::given_class;

ndClassID id(const args& a) { return static_cast<ndClassID>(a.class_id); }
ndComplexity cx(const args& a) { return static_cast<ndComplexity>(a.complexity); }

constexpr creator_row rows[] = {
    {"ndCreateDoubleMatrix", false, ndDOUBLE_CLASS, counts::when_one, true, true, true,
     [](const args& a) { return api::ndCreateDoubleMatrix(a.dims[0], a.dims[1], cx(a)); }},
    {"ndCreateNumericMatrix", false, given, counts::when_one, true, true, true,
     [](const args& a) { return api::ndCreateNumericMatrix(a.dims[0], a.dims[1], id(a), cx(a)); }},
    {"ndCreateNumericArray", true, given, counts::when_one, true, true, true,
     [](const args& a) { return api::ndCreateNumericArray(a.dims.size(), a.dims.data(), id(a), cx(a)); }},
    {"ndCreateLogicalMatrix", false, ndLOGICAL_CLASS, counts::never, true, true, true,
     [](const args& a) { return api::ndCreateLogicalMatrix(a.dims[0], a.dims[1]); }},
    {"ndCreateLogicalArray", true, ndLOGICAL_CLASS, counts::never, true, true, true,
     [](const args& a) { return api::ndCreateLogicalArray(a.dims.size(), a.dims.data()); }},
    {"ndCreateUninitDoubleMatrix", false, ndDOUBLE_CLASS, counts::when_not_zero, false, true, true,
     [](const args& a) { return api::ndCreateUninitDoubleMatrix(a.complexity, a.dims[0], a.dims[1]); }},
    {"ndCreateUninitNumericMatrix", false, given, counts::when_not_zero, false, true, true,
     [](const args& a) { return api::ndCreateUninitNumericMatrix(a.dims[0], a.dims[1], id(a), cx(a)); }},
    {"ndCreateUninitNumericArray", true, given, counts::when_one, false, true, true,
     [](const args& a) {
         return api::ndCreateUninitNumericArray(a.dims.size(), a.dims.data(), id(a), cx(a));
     }},
    {"ndCreateNumericMatrixWithReuse", false, given, counts::when_one, false, true, false,
     [](const args& a) {
         return api::ndCreateNumericMatrixWithReuse(a.dims[0], a.dims[1], id(a), cx(a), 0, nullptr);
     }},
    {"ndCreateNumericArrayWithReuse", true, given, counts::when_one, false, true, false,
     [](const args& a) {
         return api::ndCreateNumericArrayWithReuse(a.dims.size(), a.dims.data(), id(a), cx(a), 0, nullptr);
     }},
    {"ndCreateUninitNumericMatrix with candidates", false, given, counts::when_not_zero, false, true, false,
     [](const args& a) {
         return api::ndCreateUninitNumericMatrix(a.dims[0], a.dims[1], id(a), cx(a), 0, nullptr);
     }},
    {"ndCreateUninitNumericArray with candidates", true, given, counts::when_one, false, true, false,
     [](const args& a) {
         return api::ndCreateUninitNumericArray(a.dims.size(), a.dims.data(), id(a), cx(a), 0, nullptr);
     }},
    {"matrix::create", true, given, counts::when_one, true, false, true,
     [](const args& a) { return matrix::create(a.dims, id(a), cx(a)).release(); }},
    {"matrix::create_cell", true, ndCELL_CLASS, counts::never, true, false, false,
     [](const args& a) { return matrix::create_cell(a.dims).release(); }},
    {"do_create_numeric", true, given, counts::when_one, true, false, true,
     [](const args& a) {
         return detail::do_create_numeric(a.dims, matrix::internal::code_of(a.class_id, a.complexity == 1))
             .release();
     }},
    {"do_create_uninitnumeric", true, given, counts::when_one, false, false, true,
     [](const args& a) {
         return detail::do_create_uninitnumeric(a.dims,
                                                matrix::internal::code_of(a.class_id, a.complexity == 1))
             .release();
     }},
    {"do_create_char", true, ndCHAR_CLASS, counts::never, true, false, true,
     [](const args& a) { return detail::do_create_char(a.dims).release(); }},
    {"ndCreateCharArray", true, ndCHAR_CLASS, counts::never, true, true, true,
     [](const args& a) { return api::ndCreateCharArray(a.dims.size(), a.dims.data()); }},
    {"do_create_cell", true, ndCELL_CLASS, counts::never, true, false, false,
     [](const args& a) { return detail::do_create_cell(a.dims).release(); }},
};

} // namespace

std::span<const creator_row> all_creators() { return rows; }

matrix::internal::NdArrayTypeId creator_row::code(const creator_args& args) const {
    const bool complex = complexity == counts::when_one
                             ? args.complexity == 1
                             : complexity == counts::when_not_zero && args.complexity != 0;
    return matrix::internal::code_of(class_id == given ? args.class_id : class_id, complex);
}

bool holds_references(matrix::internal::NdArrayTypeId code) {
    const std::uint32_t stored = code & 31U;
    return stored == ndCELL_CLASS || stored == ndSTRUCT_CLASS || stored >= ndFUNCTION_CLASS;
}

} // namespace test
