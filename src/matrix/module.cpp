// Start-up: the process-wide switches.
#include "matrix/library_context.hpp"
#include "matrix/module_state.hpp"

#include <nd/cache.hpp>
#include <nd/module.hpp>

#include <foundation/core/diag/diag.hpp>
#include <foundation/core/mem/manager.hpp>
#include <foundation/feature/feature.hpp>
#include <foundation/usm/usm.hpp>

namespace matrix {
namespace internal {

constinit module_state the_module;

} // namespace internal

void initModule(Mode mode) {
    using internal::the_module;
    foundation::core::diag::check(!the_module.initialised.exchange(true),
                                  "Matrix module has already been initialized");
    the_module.mode = mode;
    const foundation::feature::IFeature mark_sweep("MarkSweepGC");
    if (mode != mode_in_engine) return;
    the_module.alloc_lists = true;
    the_module.array_lists = true;
    the_module.collection_lists = true;
    // Feature 4 takes memory management away from the library; without feature 7 headers come from the plain heap, and pairs
    // kept back would hide them from the tools that watch it.
    using foundation::core::mem::manager::get_feature;
    cache::setEnabled(!get_feature(4) && get_feature(7));
    the_module.gc_feature = mark_sweep.get() != 0;
    if (foundation::usm::Detail<foundation::usm::scope::EngineScope>::isRequiredContextActive()) {
        internal::find_or_make_context();
    }
}

bool isGcFeatureOn() { return internal::the_module.gc_feature; }

} // namespace matrix
