// How the slots of a set become runs.
#include "indexing/element_walk.hpp"

namespace matrix::internal {
namespace {

// The elements that both select lie side by side when those of the first do.
bool continues(const position_run& first, const position_run& second, std::size_t first_size) noexcept {
    if (first.positions != nullptr || first.count != first_size) return false;
    if (second.positions == nullptr) return true;
    return second.kind == slot_kind::ascending && second.range().step == 1;
}

} // namespace

walk_order::walk_order(dims_view dims, const SubscriptSet& set) {
    std::size_t stride = 1;
    std::size_t inner_size = 0; // of the dimensions that the inner run goes over
    bool has_inner = false;
    const auto start_at_first = [&](position_run run) {
        start += run.range().first * run.stride;
        run.positions = nullptr;
        return run;
    };
    for (std::size_t i = 0; i < set.count; stride *= dims[i], ++i) {
        const position_run run{set.info.num[i], set.indices[i], set.kinds[i], stride};
        if (run.count == 0) {
            inner.count = 0;
            outer.clear();
            return;
        }
        if (run.count == 1) {
            start += run.positions == nullptr ? 0 : run.positions[0] * stride;
            continue;
        }
        const bool is_block =
            run.positions != nullptr && run.kind == slot_kind::ascending && run.range().step == 1;
        if (!has_inner) {
            has_inner = true;
            inner = is_block ? start_at_first(run) : run;
            inner_size = dims[i];
        } else if (outer.empty() && stride == inner.stride * inner_size &&
                   continues(inner, run, inner_size)) {
            if (is_block) start_at_first(run);
            inner.count *= run.count;
            inner_size *= dims[i];
        } else {
            outer.push_back(run);
        }
    }
}

} // namespace matrix::internal
