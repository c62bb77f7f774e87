// A split array on its way through everything that takes, lends, shares or replaces its block: what a client wrote to the
// separate parts stays with the old block, and never comes over a new one.
#include "matrix/process_state.hpp"
#include "matrix/resize.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using matrix::detail::isIC;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

// 1x3, split, and the client has written 99 as the first real part.
array_ptr written(bool complex = true) {
    array_ptr array =
        complex ? arr("complex double 1x3", {{1, 10}, {2, 20}, {3, 30}}) : arr("double 1x3", {1, 2, 3});
    array->split_data(true);
    static_cast<double*>(array->get_scData()->real_data)[0] = 99;
    return array;
}

array_ptr value_of_written(bool complex = true) {
    return complex ? arr("complex double 1x3", {{99, 10}, {2, 20}, {3, 30}}) : arr("double 1x3", {99, 2, 3});
}

// count complex elements of 5 + 5i.
double* fives(std::size_t count) {
    auto* const block = static_cast<double*>(api::ndMallocEx(2 * count * sizeof(double)));
    std::fill_n(block, 2 * count, 5.0);
    return block;
}

struct replacement {
    const char* name;
    bool frees_the_old_block;
    void (*put)(ndArray_tag* array, void* block);
};
constexpr replacement replacements[] = {
    {"ndSetData", false, [](ndArray_tag* a, void* block) { api::published::ndSetData(a, block); }},
    {"ndSetData with a deleter", false,
     [](ndArray_tag* a, void* block) { api::ndSetData(a, block, api::ndFreeEx); }},
    {"set_pdata_and_deleter", false,
     [](ndArray_tag* a, void* block) { a->set_pdata_and_deleter(block, nullptr); }},
    {"reset_pdata_untrusted", true,
     [](ndArray_tag* a, void* block) { a->reset_pdata_untrusted(block, ndDOUBLE_CLASS, ndCOMPLEX); }},
};

using SplitData = NdTest;

TEST_F(SplitData, GiveWayToAnotherBlock) {
    for (const replacement& row : replacements) {
        for (const bool shared : {false, true}) {
            for (const std::size_t count : {1U, 3U, 5U}) {
                SCOPED_TRACE(std::string(row.name) + (shared ? ", shared, " : ", ") + std::to_string(count));
                const array_ptr a = written();
                const array_ptr sharer = shared ? do_shared_copy(a.get()) : nullptr;
                void* const old = a->pdata;
                row.put(a.get(), fives(count));
                a->set_dimensions(dims_list{1, count});
                EXPECT_EQ(a->get_scData(), nullptr);
                EXPECT_TRUE(isIC(a.get()));
                const array_ptr wanted = matrix::create(dims_list{1, count}, ndDOUBLE_CLASS, ndCOMPLEX);
                std::fill_n(static_cast<double*>(wanted->pdata), 2 * count, 5.0);
                EXPECT_THAT(do_shared_copy(a.get()), EqualsArray(wanted.get()));
                EXPECT_THAT(do_deep_copy(a.get()), EqualsArray(wanted.get()));
                EXPECT_EQ(validate(a.get()), "");
                if (shared) {
                    EXPECT_FALSE(isIC(sharer.get())) << "the view goes with the old block";
                    EXPECT_THAT(do_deep_copy(sharer.get()), EqualsArray(value_of_written().get()));
                    EXPECT_EQ(validate(sharer.get()), "");
                } else if (!row.frees_the_old_block) {
                    api::ndFreeEx(old);
                }
            }
        }
    }
}

TEST_F(SplitData, AreNotTakenOver) {
    const array_ptr old = written();
    api::ndSetReusable(old.get(), true);
    ndArray_tag* const candidates[] = {old.get()};
    for (const bool split : {true, false}) {
        if (!split) old->interleave_data();
        const array_ptr fresh(api::ndCreateNumericMatrixWithReuse(1, 3, ndDOUBLE_CLASS, ndCOMPLEX, 1,
                                                                  const_cast<ndArray_tag**>(candidates)));
        EXPECT_EQ(fresh->pdata == old->pdata, !split);
        std::fill_n(static_cast<double*>(fresh->pdata), 6, 5.0);
        EXPECT_EQ(static_cast<const double*>(do_deep_copy(fresh.get())->pdata)[0], 5.0);
    }
}

TEST_F(SplitData, AreCurrentInAView) {
    for (const bool complex : {true, false}) {
        const array_ptr a = written(complex);
        const array_ptr view = matrix::createReshapedView(a.get(), dims_list{3, 1});
        const array_ptr wanted = value_of_written(complex);
        wanted->set_dimensions(dims_list{3, 1});
        EXPECT_THAT(view, EqualsArray(wanted.get()));
        EXPECT_THAT(do_deep_copy(view.get()), EqualsArray(wanted.get()));
        EXPECT_FALSE(isIC(a.get()));
    }
}

TEST_F(SplitData, AreCurrentInASharedCopyOfTheirContainer) {
    const array_ptr cell = arr("cell 1x2", arr("cell 1x1", written()), written(false));
    const array_ptr copy(api::ndCreateSharedDataCopy(cell.get()));
    EXPECT_THAT(copy,
                EqualsArray(arr("cell 1x2", arr("cell 1x1", value_of_written()), value_of_written(false))));
}

// Each of these copies the data of a header that others use, or of one that is held twice.
TEST_F(SplitData, AreCurrentInEveryOtherCopy) {
    struct {
        const char* name;
        array_ptr (*copy)(ndArray_tag*);
    } const rows[] = {
        {"ndUnshare", [](ndArray_tag* a) { return array_ptr(api::ndUnshare(api::ndCreateReference(a))); }},
        {"ndUnshareShallow",
         [](ndArray_tag* a) { return array_ptr(api::ndUnshareShallow(api::ndCreateReference(a))); }},
        {"from_tarvel_old",
         [](ndArray_tag* a) { return matrix::from_tarvel_old(api::ndCreateReference(a)); }},
        {"ndMoveCopyOntoHeader",
         [](ndArray_tag* a) {
             array_ptr dest = arr("int8", {1});
             api::ndMoveCopyOntoHeader(dest.get(), a);
             EXPECT_EQ(static_cast<const double*>(dest->pdata)[0], 99.0) << "at once";
             return dest;
         }},
    };
    for (const auto& row : rows) {
        for (const bool cached : {false, true}) {
            SCOPED_TRACE(row.name);
            const bool before = matrix::cache::isEnabled();
            matrix::cache::setEnabled(cached);
            {
                const array_ptr a = written();
                EXPECT_THAT(row.copy(a.get()), EqualsArray(value_of_written().get()));
                EXPECT_EQ(validate(a.get()), "");
            }
            matrix::cache::setEnabled(before);
            matrix::cache::clear();
        }
    }
}

TEST_F(SplitData, GrowWithTheirArray) {
    constexpr double filler[2] = {7, 8};
    constexpr std::size_t from[] = {1, 3}, to[] = {1, 4};
    const array_ptr a = written();
    matrix::internal::grow_data(a.get(), {from, 3, to, 4, true, filler});
    a->set_dimensions(to);
    EXPECT_THAT(a, EqualsArray(arr("complex double 1x4", {{99, 10}, {2, 20}, {3, 30}, {7, 8}})));
    EXPECT_THAT(do_deep_copy(a.get()), EqualsArray(a.get()));
    EXPECT_TRUE(a->split_data(false));
    EXPECT_TRUE(a->interleave_data());
    EXPECT_THAT(a, EqualsArray(arr("complex double 1x4", {{99, 10}, {2, 20}, {3, 30}, {7, 8}})));
}

// The complex bit may come after the split: what was split as real has no imaginary parts.
TEST_F(SplitData, OfAnArrayThatWasMarkedComplexGetZeros) {
    for (const std::size_t columns : {1U, 3U, 5U}) {
        const array_ptr a = written(false);
        api::ndMarkImagData(a.get());
        a->set_dimensions(dims_list{1, columns});
        EXPECT_TRUE(a->interleave_data());
        const double wanted[] = {99, 0, 2, 0, 3, 0, 0, 0, 0, 0};
        EXPECT_TRUE(std::equal(wanted, wanted + 2 * columns, static_cast<const double*>(a->pdata)))
            << columns;
        EXPECT_EQ(validate(a.get()), "");
    }
}

TEST_F(SplitData, OfAnArrayThatWasMarkedComplexStayInTheBlockOfItsSharers) {
    const array_ptr a = written(false);
    const array_ptr sharer = do_shared_copy(a.get());
    api::ndMarkImagData(a.get());
    matrix::internal::bring_data_up_to_date(a.get());
    EXPECT_THAT(sharer, EqualsArray(value_of_written(false)));
    a->flags &= ~matrix::flag_complex;
}

} // namespace
} // namespace test
