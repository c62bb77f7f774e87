// What the fixture does around each test.
#include "support/fixture.hpp"

#include "matrix/library_context.hpp"
#include "matrix/test_hooks.hpp"
#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"
#include "support/balance.hpp"
#include "support/module_mode.hpp"

#include <sstream>

namespace test {

void reset_process_state() {
    foundation::test_hooks::reset_default_engine();
    matrix::internal::test_hooks::set_module_mode(mode_null_results);
}

NdTest::NdTest() {
    reset_process_state();
    before_ = count_live_blocks();
}

NdTest::~NdTest() {
    const bool arrays_valid = end_kept_arrays();
    const bool lists_valid = lists_are_in_order();
    reset_process_state();
    // A test that failed or stopped half-way needn't have given back everything.
    if (arrays_valid && lists_valid && !HasFailure() && !IsSkipped()) expect_balance_since(before_);
}

ndArray_tag* NdTest::keep(matrix::array_ptr array) {
    if (array == nullptr) {
        ADD_FAILURE() << "there is no array to keep";
        return nullptr;
    }
    kept_.push_back(std::move(array));
    return kept_.back().get();
}

bool NdTest::end_kept_arrays() {
    bool valid = true;
    for (const matrix::array_ptr& array : kept_) {
        const std::string broken = matrix::internal::validate(array.get());
        EXPECT_EQ(broken, "") << "an array that the fixture keeps isn't valid at the end of the test";
        valid = valid && broken.empty();
    }
    std::vector<matrix::array_ptr>().swap(kept_); // its own memory goes too: it isn't the test's
    return valid;
}

bool NdTest::lists_are_in_order() {
    if (HasFailure() || IsSkipped()) return true; // a test that stopped half-way may have left contexts open
    const std::string broken_list = matrix::internal::validate_array_list();
    EXPECT_EQ(broken_list, "") << "what stands on the array list at the end of the test isn't valid";
    const std::string broken_blocks = matrix::internal::validate_alloc_list();
    EXPECT_EQ(broken_blocks, "") << "the alloc list isn't in order at the end of the test";
    const std::string broken_cache = matrix::internal::validate_cache();
    EXPECT_EQ(broken_cache, "") << "the cache isn't in order at the end of the test";
    const matrix::internal::MatrixLibraryContext* const context = matrix::internal::find_context();
    const std::size_t array_depth = context == nullptr ? 1 : context->array_list.depth();
    const std::size_t alloc_depth = context == nullptr ? 1 : context->alloc_list.depth();
    EXPECT_EQ(array_depth, 1U) << "the test left contexts of the array list open";
    EXPECT_EQ(alloc_depth, 1U) << "the test left contexts of the alloc list open";
    return broken_list.empty() && broken_blocks.empty() && broken_cache.empty() && array_depth == 1 &&
           alloc_depth == 1;
}

} // namespace test
