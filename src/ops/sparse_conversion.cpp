// The library has no sparse storage of its own yet: sparse headers come from outside and are only carried along, so none of
// these conversions exists. Which classes have a sparse form is known all the same.
#include "ops/sparse_conversion.hpp"

#include <errors/raise.hpp>

#include <foundation/feature/feature.hpp>
#include <nd/messages.hpp>

namespace matrix::internal {
namespace {

bool has_sparse_form(ndClassID class_id) noexcept {
    static const foundation::feature::IFeature single_sparse("SingleSparse");
    if (class_id == ndSINGLE_CLASS) return single_sparse.get() != 0;
    return class_id == ndLOGICAL_CLASS || class_id == ndDOUBLE_CLASS;
}

} // namespace

array_ptr convert_sparse_class(const ndArray_tag* /*sparse*/, ndClassID target) {
    if (!has_sparse_form(target)) errors::raise<TARVEL::legacy_two_part::unimplementedSparseType>();
    return nullptr;
}

array_ptr full_from_sparse(const ndArray_tag* /*sparse*/) { return nullptr; }

array_ptr sparse_from_full(const ndArray_tag* /*full*/) { return nullptr; }

} // namespace matrix::internal
