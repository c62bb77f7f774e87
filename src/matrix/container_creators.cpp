// The creators of cells and structs: slots are zeroed blocks of their own, never pairs of the cache, which takes back plain
// elements only.
#include "matrix/containers.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/size_check.hpp"

#include <nd/containers.hpp>

#include <array>

namespace matrix {

array_ptr createStackStruct(std::size_t n) {
    static constexpr std::array<const char*, 3> names{"file", "name", "line"};
    return detail::do_create_struct(std::array{n, std::size_t{1}}, names);
}

array_ptr detail::do_create_struct(std::span<const std::size_t> dims, std::span<const char* const> names) {
    using namespace internal;
    const std::size_t element_bytes = names.size() * sizeof(ndArray_tag*);
    const std::size_t count = checked_element_count(dims, element_bytes);
    name_set_ptr set = make_name_set(names);
    array_ptr array = header_factory::make(code_of(ndSTRUCT_CLASS, false), dims, count * element_bytes,
                                           DataInitialization::zeroed);
    put_names(array.get(), std::move(set));
    return array;
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

using internal::framed_creator;

namespace {

ndArray_tag* struct_of(std::span<const std::size_t> dims, int nfields, const char** names) {
    const std::size_t count = nfields > 0 ? static_cast<std::size_t>(nfields) : 0;
    return framed_creator([&] { return do_create_struct(dims, {names, count}); });
}

} // namespace

ndArray_tag* ndCreateCellMatrix(std::size_t m, std::size_t n) {
    return framed_creator([=] { return do_create_cell(std::array{m, n}); });
}

ndArray_tag* ndCreateCellArray(std::size_t ndim, const std::size_t* dims) {
    return framed_creator([=] { return do_create_cell({dims, ndim}); });
}

ndArray_tag* ndCreateStructMatrix(std::size_t m, std::size_t n, int nfields, const char** names) {
    return struct_of(std::array{m, n}, nfields, names);
}

ndArray_tag* ndCreateStructArray(std::size_t ndim, const std::size_t* dims, int nfields, const char** names) {
    return struct_of({dims, ndim}, nfields, names);
}

ndArray_tag* ndCreateStackStruct(std::size_t n) {
    return framed_creator([=] { return createStackStruct(n); });
}

} // namespace matrix::detail::noninlined::nd_array_api
