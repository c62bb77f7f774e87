// The torture build finds out who writes to a shared block. In other builds this file isn't compiled.
#include "support/arr.hpp"
#include "support/death.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/share.hpp>

#include <gtest/gtest.h>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using SharedFingerprint = NdTest;

struct shared_pair {
    array_ptr first = arr("double 1x3", {1, 2, 3});
    array_ptr second = matrix::detail::do_shared_copy(first.get());

    void write() const {
        constexpr double other = 5;
        std::memcpy(first->pdata, &other, sizeof other);
    }
};

constexpr const char* found_out = "A shared block was written to";

TEST_F(SharedFingerprint, TellsOfAWriteWhenASharerLeaves) {
    const shared_pair pair;
    EXPECT_TERMINATE_IN_CHILD((pair.write(), api::ndUnshareArray(pair.first.get(), true)), found_out);
    EXPECT_TERMINATE_IN_CHILD((pair.write(), api::ndDestroyArray(pair.second.get())), found_out);
}

TEST_F(SharedFingerprint, TellsOfAWriteWhenTheBlockIsCopied) {
    const shared_pair pair;
    EXPECT_TERMINATE_IN_CHILD((pair.write(), matrix::detail::do_deep_copy(pair.second.get())), found_out);
    EXPECT_TERMINATE_IN_CHILD((pair.write(), matrix::detail::do_shared_copy(pair.second.get())), found_out);
    EXPECT_TERMINATE_IN_CHILD((pair.write(), api::ndCreateSharedDataCopy(pair.second.get())), found_out);
}

TEST_F(SharedFingerprint, SaysNothingOfABlockThatWasSharedOnce) {
    shared_pair pair;
    pair.second.reset();
    pair.write();
    pair.second = matrix::detail::do_shared_copy(pair.first.get());
    EXPECT_EQ(api::ndGetScalar(pair.second.get()), 5.0);
}

} // namespace
} // namespace test
