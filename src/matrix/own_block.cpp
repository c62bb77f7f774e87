// Blocks out of headers and into them.
#include "matrix/own_block.hpp"

#include "matrix/destroy.hpp"
#include "matrix/header_factory.hpp"

namespace matrix::internal {

void release_own_block(ndArray_tag* array) noexcept {
    void (*const deleter)(void*) = array->hasCustomDeleter() ? array->share_record->deleter : nullptr;
    array->nullCustomDeleter(); // it was for the old block
    if ((array->flags & flags_data_not_owned) != 0) return;
    if (deleter != nullptr) {
        call_custom_deleter(deleter, array->pdata);
    } else {
        free_data(array->pdata);
    }
}

void replace_block(ndArray_tag* array, void* block) noexcept {
    release_own_block(array);
    array->pdata = block;
    array->flags &= ~flags_of_block;
}

} // namespace matrix::internal
