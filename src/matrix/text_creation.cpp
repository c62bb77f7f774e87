// Making char rows, the colon among them.
#include "matrix/text_creation.hpp"

#include "matrix/dimensions.hpp"
#include "matrix/frame.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>

#include <algorithm>
#include <array>

namespace matrix::internal {

array_ptr create_string(std::u16string_view text) {
    const std::array<std::size_t, 2> dims{text.empty() ? 0U : 1U, text.size()};
    array_ptr array = detail::do_create_char(dims);
    std::copy(text.begin(), text.end(), static_cast<char16_t*>(array->pdata));
    return array;
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

constexpr char16_t colon = u':';

} // namespace

ndArray_tag* ndCreateString_UTF16(const char16_t* text) {
    return framed_creator([=] { return create_string(text); });
}

ndArray_tag* ndCreateColonIndex() {
    return framed_creator([] { return create_string({&colon, 1}); });
}

bool ndIsColonIndex(const ndArray_tag* array) {
    return array->class_id == ndCHAR_CLASS && element_count(array) == 1 && array->pdata != nullptr &&
           *static_cast<const char16_t*>(array->pdata) == colon;
}

} // namespace matrix::detail::noninlined::nd_array_api
