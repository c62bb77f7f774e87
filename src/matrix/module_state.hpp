// The process-wide switches that matrix::initModule sets. Written once at start-up, read plainly everywhere.
#pragma once

#include <nd/module.hpp>

#include <atomic>
#include <cstdint>

namespace matrix::internal {

struct module_state {
    std::atomic<bool> initialised{false};
    std::int32_t mode = 0;
    bool alloc_lists = false;      ///< blocks of ndMalloc are tracked
    bool array_lists = false;      ///< results of creators become temporaries
    bool collection_lists = false; ///< arrays that can hold references are listed
    bool gc_feature = false;       ///< the collection feature itself
};

extern constinit module_state the_module;

/// True when an error leaves an exported creator as an exception; otherwise the creator returns null.
inline bool errors_leave_as_exceptions() noexcept { return the_module.mode == mode_in_engine; }

} // namespace matrix::internal
