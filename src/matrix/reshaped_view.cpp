// Views: other dimensions over data that stay somebody else's.
#include "matrix/arraycpy.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"

#include <nd/share.hpp>

namespace matrix {

using namespace internal;

array_ptr createReshapedView(ndArray_tag* array, std::span<const kvSize> dims) {
    if (array == nullptr) return nullptr;
    if (array_ptr expanded = expand_if_colon_object(array)) { // operands have no other dimensions
        expanded->set_dimensions(dims);
        return expanded;
    }
    bring_data_up_to_date(array);
    array_ptr view = copy_header(array);
    if ((array->flags & flag_indexing_opaque) != 0) { // its class counts the payload
        view->pdata = array->pdata;
        view->set_dimensions(dims);
        return view;
    }
    view->set_dimensions(dims);
    // The mark comes before the data: from there on the view's end frees nothing of them.
    view->setCustomDeleter(keep_borrowed_block);
    view->pdata = array->pdata;
    if ((array->flags & flag_sparse) != 0) {
        view->info_a = array->info_a;
        view->info_b = array->info_b;
        view->info_c = array->info_c;
    }
    return view;
}

std::unique_ptr<const ndArray_tag, detail::ndDestroy_deleter>
createReshapedView(const ndArray_tag* array, std::span<const kvSize> dims) {
    // The view is const again on its way out.
    return createReshapedView(const_cast<ndArray_tag*>(array), dims);
}

} // namespace matrix
