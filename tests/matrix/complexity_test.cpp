// Complex to real and back in place, the separate view of a block, and its way through copies.
#include "matrix/process_state.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/interleaved.hpp>
#include <nd/share.hpp>

#include <limits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

bool is_complex(const array_ptr& array) { return api::ndIsComplex(array.get()); }

array_ptr real_part_of(const array_ptr& value) {
    array_ptr copy = do_deep_copy(value.get());
    api::ndDeflateComplexToReal(copy.get());
    return copy;
}

using Complexity = NdTest;

TEST_F(Complexity, GoesAwayWithTheImaginaryParts) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.complexity != ndCOMPLEX) return;
        const array_ptr real = numbered(c.id, ndREAL, dims_list{2, 3});
        for_each_variation(numbered(c.id, ndCOMPLEX, dims_list{2, 3}), [&](array_ptr& x) {
            api::ndDeflateComplexToReal(x.get());
            EXPECT_THAT(x, EqualsArray(real.get()));
            EXPECT_EQ(validate(x.get()), "");
            api::ndDeflateComplexToReal(x.get());
            EXPECT_THAT(x, EqualsArray(real.get()));
        });
    });
}

TEST_F(Complexity, ComesWithZeros) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.complexity != ndCOMPLEX) return;
        const array_ptr real = numbered(c.id, ndREAL, dims_list{2, 3});
        for_each_variation(real, [&](array_ptr& x) {
            api::ndInflateRealToComplex(x.get());
            EXPECT_TRUE(is_complex(x));
            EXPECT_FALSE(x->flags & 0x7E400U) << "cached, bin, capacity";
            EXPECT_FALSE(api::ndIsImagPartNonZero(x.get()));
            EXPECT_EQ(validate(x.get()), "");
            EXPECT_THAT(real_part_of(x), EqualsArray(real.get()));
            api::ndInflateRealToComplex(x.get());
            EXPECT_THAT(real_part_of(x), EqualsArray(real.get()));
        });
    });
    const cache_on cache;
    const array_ptr cached = numbered("double 1x3");
    api::ndInflateRealToComplex(cached.get());
    EXPECT_EQ(validate(cached.get()), "");
}

// Operands have no imaginary parts: the vector gets them.
TEST_F(Complexity, ComesToTheElementsOfAColonObject) {
    const struct {
        array_ptr range;
        array_ptr wanted;
    } rows[] = {
        {matrix::create_colon_object(1, 2, 9), arr("double 1x5", {1, 3, 5, 7, 9})},
        {matrix::create_colon_object(3, -1, 2, ndINT8_CLASS), arr("int8 1x2", {3, 2})},
        {matrix::create_colon_object(1, 1, 0, ndSINGLE_CLASS), arr("single 1x0")},
        {matrix::create_int_colon_object(1LL, 1LL, 3LL, ndINT64_CLASS), arr("int64 1x3", {1, 2, 3})},
    };
    for (const auto& row : rows) {
        for_each_variation(row.range, [&](array_ptr& x) {
            api::ndInflateRealToComplex(x.get());
            EXPECT_TRUE(is_complex(x));
            EXPECT_FALSE(api::ndIsColonObj(x.get()));
            EXPECT_EQ(validate(x.get()), "");
            EXPECT_THAT(real_part_of(x), EqualsArray(row.wanted.get()));
        });
    }
    const module_mode_scope mode(mode_exceptions);
    const array_ptr text = matrix::create_colon_object(97, 1, 99, ndCHAR_CLASS);
    EXPECT_ANY_THROW(api::ndInflateRealToComplex(text.get()));
    EXPECT_EQ(api::ndCountColonObj(text.get()), 3U);
    const array_ptr endless = matrix::create_colon_object(1, 1, 0x1p60);
    EXPECT_ANY_THROW(api::ndInflateRealToComplex(endless.get()));
    EXPECT_TRUE(api::ndIsColonObj(endless.get()) && !is_complex(endless));
}

TEST_F(Complexity, OfAnEmptyArrayIsABit) {
    const array_ptr x = arr("single 0x3");
    api::ndInflateRealToComplex(x.get());
    EXPECT_TRUE(is_complex(x));
    EXPECT_EQ(x->pdata, nullptr);
    api::ndFreeImagIfZero(x.get());
    EXPECT_FALSE(is_complex(x));
}

TEST_F(Complexity, OfASparseArray) {
    const array_ptr x = sparse_3x2();
    api::ndInflateRealToComplex(x.get());
    const auto* parts = static_cast<const double*>(x->pdata);
    EXPECT_EQ((std::vector<double>(parts, parts + 4)), (std::vector<double>{1.5, 0, 2.5, 0}));
    EXPECT_EQ(validate(x.get()), "");
    static_cast<double*>(x->pdata)[3] = 1;
    EXPECT_TRUE(api::ndIsImagPartNonZero(x.get()));
    static_cast<double*>(x->pdata)[0] = 0;
    api::ndDeflateComplexToReal(x.get());
    EXPECT_EQ(static_cast<const double*>(x->pdata)[0], 0.0) << "a stored zero stays stored";
    EXPECT_EQ(static_cast<const double*>(x->pdata)[1], 2.5);
    EXPECT_EQ(std::bit_cast<const std::size_t*>(x->info_b)[2], 2U);
}

TEST_F(Complexity, RefusesClassesWithoutIt) {
    const array_ptr sparse = arr("logical 0x0");
    sparse->flags |= matrix::flag_sparse;
    struct {
        const ndArray_tag* array;
        const char* text;
    } const rows[] = {{sparse.get(), "Functor CopyInflate does not accept ndClassID 3"},
                      {keep(arr("char", u"a")), "Unknown or invalid ndClassID: char (4)"},
                      {keep(arr("logical", {1})), "Unknown or invalid ndClassID: logical (3)"},
                      {keep(arr("cell 1x1", nullptr)), "Unknown or invalid ndClassID: cell (1)"}};
    for (const auto& row : rows) {
        auto* const array = const_cast<ndArray_tag*>(row.array);
        const snapshot before(array);
        with_module_mode(mode_exceptions, [&] {
            try {
                api::ndInflateRealToComplex(array);
                ADD_FAILURE() << "nothing was raised";
            } catch (const std::invalid_argument& error) {
                EXPECT_STREQ(error.what(), row.text);
            }
        });
        with_module_mode(mode_null_results, [&] { api::ndInflateRealToComplex(array); });
        EXPECT_EQ(before.difference(), "");
    }
}

TEST_F(Complexity, IsFreedWhereNothingIsImaginary) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        double imaginary;
        bool stays;
    } constexpr rows[] = {{0.0, false}, {-0.0, false}, {1e-320, true}, {nan, true}, {-1, true}};
    for (const auto& row : rows) {
        for (const std::size_t count : {1U, 7U, 30000U}) {
            for (const std::size_t at : {std::size_t{0}, count - 1}) {
                const array_ptr x = matrix::create(dims_list{1, count}, ndDOUBLE_CLASS, ndCOMPLEX);
                static_cast<double*>(x->pdata)[2 * at + 1] = row.imaginary;
                EXPECT_EQ(api::ndIsImagPartNonZero(x.get()), row.stays);
                api::ndFreeImagIfZero(x.get());
                EXPECT_EQ(is_complex(x), row.stays);
            }
        }
    }
    EXPECT_FALSE(api::ndIsImagPartNonZero(arr("double", {1}).get()));
}

TEST_F(Complexity, StaysWhereOthersWouldNotice) {
    const array_ptr x = arr("complex double 1x2");
    const array_ptr again(api::ndCreateReference(x.get()));
    api::ndFreeImagIfZero(x.get());
    EXPECT_TRUE(is_complex(x)) << "two owners";
    const array_ptr y = arr("complex double 1x2");
    y->flags |= matrix::flag_data_private;
    api::ndFreeImagIfZero(y.get());
    EXPECT_TRUE(is_complex(y)) << "private data";
    y->flags &= ~matrix::flag_data_private;
    const array_ptr sharer = do_shared_copy(y.get());
    api::ndFreeImagIfZero(y.get());
    EXPECT_FALSE(is_complex(y));
    EXPECT_THAT(sharer, EqualsArray(arr("complex double 1x2")));
}

TEST_F(Complexity, StaysWithoutMemoryToUnshare) {
    for_each_module_mode([](int mode) {
        const array_ptr x = arr("complex double 1x2");
        const array_ptr sharer = do_shared_copy(x.get());
        bool raised = false;
        {
            const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
            try {
                api::ndFreeImagIfZero(x.get());
            } catch (const std::bad_alloc&) {
                raised = true;
            }
        }
        EXPECT_EQ(raised, mode == mode_exceptions);
        EXPECT_TRUE(is_complex(x));
        EXPECT_EQ(x->pdata, sharer->pdata);
    });
}

TEST_F(Complexity, MarkIsABit) {
    const array_ptr x = arr("char", u"a");
    const std::uint32_t flags = x->flags;
    api::ndMarkImagData(x.get());
    EXPECT_EQ(x->flags, flags | 0x800U);
    x->flags = flags;
}

int deleter_calls = 0;
void count_and_free(void* block) {
    ++deleter_calls;
    foundation::core::mem::aligned_heap_instance().free(block);
}

TEST_F(Complexity, GivesTheOldBlockToItsDeleter) {
    deleter_calls = 0;
    const array_ptr x = numbered("double 1x3");
    x->setCustomDeleter(count_and_free);
    api::ndInflateRealToComplex(x.get());
    EXPECT_EQ(deleter_calls, 1);
    EXPECT_FALSE(x->hasCustomDeleter());
    double mine[2] = {1, 2};
    const array_ptr y = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    y->pdata = mine;
    y->set_dimensions(dims_list{1, 2});
    y->flags |= matrix::flag_data_private;
    api::ndInflateRealToComplex(y.get());
    EXPECT_FALSE(y->flags & matrix::flag_data_private);
    EXPECT_EQ(mine[1], 2.0);
}

// ---- the separate view

template <class T>
std::vector<T> values(const void* block, std::size_t count) {
    const auto* const first = static_cast<const T*>(block);
    return {first, first + count};
}

using Scaffolding = NdTest;

TEST_F(Scaffolding, IsMadeWhereItIsAskedFor) {
    const array_ptr text = arr("char", u"a");
    EXPECT_FALSE(text->split_data(true));
    EXPECT_FALSE(text->interleave_data());
    const array_ptr real = numbered("double 1x2");
    EXPECT_TRUE(matrix::detail::isIC(real.get())) << "no record at all";
    EXPECT_FALSE(real->split_data(false));
    EXPECT_EQ(real->get_scData(), nullptr);
    EXPECT_FALSE(real->interleave_data());
    EXPECT_TRUE(real->split_data(true));
    EXPECT_TRUE(real->split_data(false)) << "there is a view now";
    EXPECT_FALSE(matrix::detail::isIC(real.get()));
    EXPECT_EQ(validate(real.get()), "");
}

TEST_F(Scaffolding, HoldsThePartsOfEveryClass) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.id < ndDOUBLE_CLASS) return;
        const array_ptr value = numbered(c.id, c.complexity, dims_list{2, 3});
        for_each_variation(value, [&](array_ptr& x) {
            ASSERT_TRUE(x->split_data(true));
            const scaffolding* const view = x->get_scData();
            EXPECT_EQ(view->imag_data != nullptr, c.complexity == ndCOMPLEX);
            const std::size_t part = api::ndGetElementSize(x.get()) * 6 / (c.complexity == ndCOMPLEX ? 2 : 1);
            EXPECT_EQ(std::memcmp(view->real_data, real_part_of(value)->pdata, part), 0);
            EXPECT_TRUE(x->interleave_data());
            EXPECT_TRUE(matrix::detail::isIC(x.get()));
            EXPECT_THAT(x, EqualsArray(value.get()));
            EXPECT_EQ(validate(x.get()), "");
            EXPECT_TRUE(x->split_data(true)) << "again";
            EXPECT_TRUE(x->interleave_data());
            EXPECT_THAT(x, EqualsArray(value.get()));
        });
    });
}

TEST_F(Scaffolding, CountsInPlaceOfTheData) {
    const array_ptr x = arr("complex double 1x2", {{1, 10}, {2, 20}});
    x->split_data(false);
    static_cast<double*>(x->get_scData()->imag_data)[1] = 7;
    EXPECT_EQ(values<double>(x->pdata, 4), (std::vector<double>{1, 10, 2, 20})) << "stale";
    const array_ptr deep = do_deep_copy(x.get());
    EXPECT_THAT(deep, EqualsArray(arr("complex double 1x2", {{1, 10}, {2, 7}})));
    EXPECT_FALSE(matrix::detail::isIC(x.get())) << "a copy leaves it split";
    const array_ptr shared(api::ndCreateSharedDataCopy(x.get()));
    EXPECT_THAT(shared, EqualsArray(deep.get()));
    static_cast<double*>(x->get_scData()->real_data)[0] = 5;
    api::ndUnshare(shared.get());
    EXPECT_THAT(shared, EqualsArray(arr("complex double 1x2", {{5, 10}, {2, 7}})));
    EXPECT_EQ(shared->get_scData(), nullptr);
    EXPECT_NE(x->get_scData(), nullptr);
}

TEST_F(Scaffolding, OfSharersIsOne) {
    const array_ptr x = arr("complex double 1x2", {{1, 10}, {2, 20}});
    const array_ptr y = do_shared_copy(x.get());
    x->split_data(false);
    EXPECT_EQ(y->get_scData(), x->get_scData());
    static_cast<double*>(x->get_scData()->imag_data)[1] = 7;
    EXPECT_TRUE(y->interleave_data());
    EXPECT_THAT(x, EqualsArray(arr("complex double 1x2", {{1, 10}, {2, 7}})));
    EXPECT_EQ(x->pdata, y->pdata) << "written in place";
    const array_ptr r = numbered("double 1x2");
    const array_ptr s = do_shared_copy(r.get());
    r->split_data(true);
    static_cast<double*>(r->get_scData()->real_data)[0] = 9;
    EXPECT_TRUE(r->interleave_data());
    EXPECT_THAT(s, EqualsArray(arr("double 1x2", {9, 2})));
}

TEST_F(Scaffolding, OfARealArrayBecomesItsBlock) {
    const array_ptr x = numbered("int32 1x3");
    x->split_data(true);
    void* const part = x->get_scData()->real_data;
    EXPECT_TRUE(x->interleave_data());
    EXPECT_EQ(x->pdata, part);
    EXPECT_EQ(x->get_scData()->real_data, nullptr);
    EXPECT_TRUE(x->split_data(false));
    EXPECT_TRUE(x->interleave_data());
    EXPECT_THAT(x, EqualsArray(numbered("int32 1x3")));
}

TEST_F(Scaffolding, WithoutDataHoldsNoBlocks) {
    const array_ptr x = arr("complex double 0x2");
    x->set_dimensions(dims_list{1, 2});
    x->split_data(false);
    EXPECT_EQ(x->get_scData()->imag_data, matrix::internal::scaffolding_without_data());
    EXPECT_TRUE(x->interleave_data());
    x->pdata = foundation::core::mem::aligned_heap_instance().calloc(4, sizeof(double));
    static_cast<double*>(x->pdata)[3] = 6;
    EXPECT_TRUE(x->split_data(false));
    EXPECT_EQ(values<double>(x->get_scData()->imag_data, 2), (std::vector<double>{0, 6}));
    EXPECT_EQ(validate(x.get()), "");
}

TEST_F(Scaffolding, FollowsAnArrayThatHasGrown) {
    for (const bool complex : {true, false}) {
        const array_ptr x = numbered(complex ? "complex single 1x3" : "single 1x3");
        const array_ptr value = do_deep_copy(x.get());
        x->split_data(true);
        x->set_dimensions(dims_list{1, 2});
        matrix::updateInterleavedData(x.get());
        x->set_dimensions(dims_list{2, 4});
        EXPECT_TRUE(x->interleave_data());
        EXPECT_EQ(static_cast<const float*>(x->pdata)[0], 1.0F);
        EXPECT_EQ(static_cast<const float*>(x->pdata)[complex ? 15 : 7], 0.0F) << "cleared";
        EXPECT_EQ(validate(x.get()), "");
    }
}

TEST_F(Scaffolding, WalksThroughContainers) {
    const array_ptr cell = arr("cell 1x3", arr("complex double 1x1", {{1, 2}}), nullptr,
                               arr("cell 1x1", arr("complex double 1x1", {{3, 4}})));
    ndArray_tag* const outer = static_cast<ndArray_tag**>(cell->pdata)[0];
    ndArray_tag* const inner =
        static_cast<ndArray_tag**>(static_cast<ndArray_tag**>(cell->pdata)[2]->pdata)[0];
    for (ndArray_tag* const leaf : {outer, inner}) {
        leaf->split_data(false);
        static_cast<double*>(leaf->get_scData()->real_data)[0] = 9;
    }
    matrix::updateInterleavedData(cell.get());
    EXPECT_EQ(static_cast<const double*>(inner->pdata)[0], 9.0);
    EXPECT_FALSE(matrix::detail::isIC(inner));
    matrix::switchToInterleaved(cell.get());
    EXPECT_TRUE(matrix::detail::isIC(inner));
    EXPECT_EQ(static_cast<const double*>(outer->pdata)[0], 9.0);
}

TEST_F(Scaffolding, EndsBeforeTheComplexityChanges) {
    for (auto* change : {api::ndDeflateComplexToReal, api::ndFreeImagIfZero}) {
        const array_ptr x = arr("complex double 1x2");
        x->split_data(false);
        static_cast<double*>(x->get_scData()->real_data)[1] = 5;
        change(x.get());
        EXPECT_THAT(x, EqualsArray(arr("double 1x2", {0, 5})));
        EXPECT_EQ(validate(x.get()), "");
    }
}

} // namespace
} // namespace test
