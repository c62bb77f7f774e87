// Structs and objects as cells. Slots lie field by field within an element, so the cell's slots are the struct's as they are.
#include "ops/struct_to_cell.hpp"

#include "matrix/containers.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"

#include <utility>
#include <vector>

namespace matrix::internal {
namespace {

array_ptr cell_without_slots(const ndArray_tag* source) {
    const dims_view dims = dims_of(source);
    std::vector<std::size_t> cell_dims{field_count(source)};
    cell_dims.insert(cell_dims.end(), dims.begin(), dims.end());
    return header_factory::make(code_of(ndCELL_CLASS, false), cell_dims, 0,
                                DataInitialization::uninitialized);
}

} // namespace

array_ptr struct_to_cell(const ndArray_tag* source) {
    array_ptr cell = cell_without_slots(source);
    if (source->pdata == nullptr || slot_count(source) == 0) return cell;
    if (has_unshareable_data(source)) {
        const array_ptr copy = detail::do_deep_copy(source);
        cell->pdata = std::exchange(copy->pdata, nullptr);
        return cell;
    }
    // Sharing is the source's affair as well: its record and hint change, its value doesn't.
    share_data_to(const_cast<ndArray_tag*>(source), cell.get());
    cell->pdata = source->pdata;
    return cell;
}

} // namespace matrix::internal
