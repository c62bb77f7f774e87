// The fixture of tests with lists: the module runs in an engine, the cache is off, so that what ends is seen to end.
#pragma once

#include "matrix/library_context.hpp"
#include "matrix/test_hooks.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <foundation/log/logger.hpp>
#include <foundation/usm/usm.hpp>
#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/lists.hpp>
#include <nd/memory.hpp>
#include <nd/module.hpp>

#include <vector>

namespace test {

namespace api = matrix::detail::noninlined::nd_array_api;

class ListsTest : public NdTest {
protected:
    ListsTest() {
        matrix::internal::test_hooks::set_module_mode(mode_null_results);
        matrix::initModule(matrix::mode_in_engine);
        matrix::cache::setEnabled(false);
    }
};

using array_pointers = std::vector<const ndArray_tag*>;

/// A temporary on the current list.
inline ndArray_tag* temporary(double value = 0) { return api::ndCreateDoubleScalar(value); }

inline std::vector<ndArray_tag*> temporaries(std::size_t count) {
    std::vector<ndArray_tag*> made;
    for (std::size_t i = 0; i < count; ++i) made.push_back(temporary(static_cast<double>(i)));
    return made;
}

inline array_pointers pointers_of(const std::vector<matrix::listed_array>& entries) {
    array_pointers pointers;
    for (const matrix::listed_array& entry : entries) pointers.push_back(entry.array);
    return pointers;
}

/// What stands on the current engine's list: in the current context, or in all.
inline array_pointers listed_here() { return pointers_of(matrix::listCurrentArrays()); }
inline array_pointers listed_everywhere() {
    const auto* const context = matrix::internal::find_context();
    return context == nullptr ? array_pointers() : pointers_of(context->array_list.all_entries());
}

/// A log channel's mask while it lives.
class channel_mask {
public:
    channel_mask(const char* channel, std::uint32_t mask) : channel_(channel) {
        foundation::log::set_channel_mask(channel, mask);
    }
    ~channel_mask() { foundation::log::set_channel_mask(channel_, 0); }
    channel_mask(const channel_mask&) = delete;
    channel_mask& operator=(const channel_mask&) = delete;

private:
    const char* channel_;
};

} // namespace test
