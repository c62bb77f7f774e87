// The data block: its readers, and what becomes of the old and of the new block when another one is set.
#include "matrix/class_table.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>
#include <nd/module.hpp>

#include <foundation/core/except/exception.hpp>
#include <foundation/usm/usm.hpp>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

using Data = NdTest;

TEST_F(Data, IsTheBlockAsEachReaderNamesIt) {
    const auto number = arr("double 1x2", {1, 2});
    EXPECT_EQ(api::ndGetData(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetData(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetData(nullptr), nullptr);
    EXPECT_EQ(api::published::ndGetPr(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetPr(nullptr), nullptr);
    const auto text = arr("char", u"ab");
    EXPECT_EQ(api::ndGetChars(text.get())[1], u'b');
    const auto truth = arr("logical 1x2", {1, 0});
    EXPECT_TRUE(api::ndGetLogicals(truth.get())[0]);
    EXPECT_FALSE(api::ndGetLogicals(truth.get())[1]);
}

TEST_F(Data, OfAComplexArrayHasNoRealPartToHandOut) {
    using illegal = foundation::core::except::Exception<TARVEL::matrix::illegalComplexArray>;
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const auto array = numbered(c.id, c.complexity, dims_list{1, 2});
        for_each_module_mode([&](int mode) {
            if (c.complexity == ndCOMPLEX && mode == mode_exceptions) {
                EXPECT_THROW(api::published::ndGetPr(array.get()), illegal);
            } else if (c.complexity == ndCOMPLEX) {
                EXPECT_EQ(api::published::ndGetPr(array.get()), nullptr);
            } else {
                EXPECT_EQ(api::published::ndGetPr(array.get()), array->pdata);
            }
        });
    });
}

constexpr std::uint32_t marks_of_the_old_block =
    matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked;

constexpr const char* check_text = "!pa->is_complex()";

// With checks off the code goes on: the answer is the block, the store happens.
TEST_F(Data, OfAComplexArrayEndsTheProcessWhereItsRealPartIsAskedFor) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const auto array = numbered(c.id, c.complexity, dims_list{1, 2});
        ndArray_tag* const a = array.get();
        auto* const own = static_cast<double*>(a->pdata);
        if (c.complexity == ndCOMPLEX) {
            EXPECT_TERMINATE(api::ndGetPr(a), check_text);
            EXPECT_TERMINATE(api::ndSetPr(a, nullptr), check_text);
            EXPECT_EQ(a->pdata, own) << "the check comes first";
            const diagnostics_switched_off off;
            EXPECT_EQ(api::ndGetPr(a), own);
            api::ndSetPr(a, nullptr);
            EXPECT_EQ(a->pdata, nullptr);
            api::ndSetPr(a, own);
        } else {
            EXPECT_EQ(api::ndGetPr(a), own);
            api::ndSetPr(a, nullptr);
            EXPECT_EQ(a->pdata, nullptr);
            api::ndSetPr(a, own);
        }
        EXPECT_EQ(a->pdata, own);
    });
}

TEST_F(Data, ChecksNameTheirFunction) {
    const auto array = arr("complex double", {{1, 2}});
    EXPECT_EQ(catch_terminate([&] { api::ndGetPr(array.get()); }).function, "ndGetPr");
    EXPECT_EQ(catch_terminate([&] { api::ndSetPr(array.get(), nullptr); }).function, "ndSetPr");
}

// A char array may carry the complex bit; it isn't complex.
TEST_F(Data, OfCharWithTheComplexBitCanBeHandedOut) {
    const auto text = arr("char", u"ab");
    text->flags |= matrix::flag_complex;
    EXPECT_EQ(static_cast<void*>(api::ndGetPr(text.get())), text->pdata);
    EXPECT_EQ(static_cast<void*>(api::published::ndGetPr(text.get())), text->pdata);
}

TEST_F(Data, SizeOfAnElementGoesByClassAndComplexBit) {
    for_each_class(class_set::all, [](const class_case& c) {
        const auto array = matrix::detail::do_create_numeric(dims_list{0, 0}, c.code());
        for (const bool complex : {false, true}) {
            array->flags &= ~matrix::flag_complex;
            if (complex) array->flags |= matrix::flag_complex;
            const std::size_t size = matrix::internal::element_size(matrix::internal::code_of(c.id, complex));
            EXPECT_EQ(api::ndGetElementSize(array.get()), size);
            EXPECT_EQ(api::published::ndGetElementSize(array.get()), size);
            if (c.id != ndOPAQUE_CLASS) continue;
            array->flags |= matrix::flag_indexing_opaque;
            EXPECT_EQ(api::ndGetElementSize(array.get()), 0U);
            EXPECT_EQ(api::published::ndGetElementSize(array.get()), 0U);
            array->flags &= ~matrix::flag_indexing_opaque;
        }
    });
    EXPECT_EQ(api::published::ndGetElementSize(nullptr), 0U);
}

using SetData = NdTest;

struct setter {
    const char* name;
    void (*set)(ndArray_tag*, void*);
};
constexpr setter setters[] = {
    {"ndSetData", [](ndArray_tag* a, void* data) { api::ndSetData(a, data, nullptr); }},
    {"ndSetPr", [](ndArray_tag* a, void* data) { api::ndSetPr(a, static_cast<double*>(data)); }},
    {"published::ndSetData", [](ndArray_tag* a, void* data) { api::published::ndSetData(a, data); }},
    {"published::ndSetPr",
     [](ndArray_tag* a, void* data) { api::published::ndSetPr(a, static_cast<double*>(data)); }},
};

// Six doubles in a block of the library's heap.
double* six_doubles() {
    auto* const block = static_cast<double*>(api::ndCallocEx(6, sizeof(double)));
    block[0] = 11;
    return block;
}

TEST_F(SetData, StoresTheBlockAndFreesNothing) {
    const cache_on cache;
    for (const setter& one : setters) {
        SCOPED_TRACE(one.name);
        array_ptr array = numbered("double 2x3");
        ASSERT_TRUE(array->flags & matrix::flag_cached_header);
        array->flags |= matrix::flag_capacity_tracked;
        const std::uint32_t others = array->flags & ~marks_of_the_old_block;
        void* const old = array->pdata;
        double* const block = six_doubles();
        const heap_watch watch;
        one.set(array.get(), block);
        EXPECT_EQ(array->pdata, block);
        EXPECT_EQ(array->flags, others) << "neither cached nor tracked, all else as it was";
        EXPECT_EQ(watch.times_freed(old), 0U) << "the old block is the caller's";
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
        array.reset();
        EXPECT_EQ(watch.times_freed(block), 1U) << "the new one is the array's";
        api::ndFree(old);
    }
}

TEST_F(SetData, TakesNoBlockToo) {
    for (const setter& one : setters) {
        const array_ptr array = numbered("double 2x3");
        void* const old = array->pdata;
        one.set(array.get(), nullptr);
        EXPECT_EQ(array->pdata, nullptr) << one.name;
        one.set(array.get(), old);
    }
}

TEST_F(SetData, ForgetsTheDeleterOfTheOldBlock) {
    for (const setter& one : setters) {
        const array_ptr array = numbered("double 2x3");
        void* const old = array->pdata;
        array->setCustomDeleter([](void*) { ADD_FAILURE() << "called for a block that isn't its own"; });
        one.set(array.get(), six_doubles());
        EXPECT_FALSE(array->hasCustomDeleter()) << one.name;
        api::ndFree(old);
    }
}

TEST_F(SetData, OfNullIsIgnoredWherePublished) {
    double block[6];
    api::published::ndSetData(nullptr, block);
    api::published::ndSetPr(nullptr, block);
}

TEST_F(SetData, RealOnesAreRefusedForAComplexArray) {
    using illegal = foundation::core::except::Exception<TARVEL::matrix::illegalComplexArray>;
    const auto array = arr("complex double", {{1, 2}});
    void* const old = array->pdata;
    double other[2] = {};
    for_each_module_mode([&](int mode) {
        if (mode == mode_exceptions) {
            EXPECT_THROW(api::published::ndSetPr(array.get(), other), illegal);
        } else {
            api::published::ndSetPr(array.get(), other);
        }
        EXPECT_EQ(array->pdata, old);
    });
    api::published::ndSetData(array.get(), nullptr);
    EXPECT_EQ(array->pdata, nullptr) << "interleaved elements are fine";
    api::published::ndSetData(array.get(), old);
}

int deleter_calls = 0;

void counting_deleter(void* block) {
    ++deleter_calls;
    api::ndFreeEx(block);
}

TEST_F(SetData, WithADeleterLeavesTheEndToIt) {
    deleter_calls = 0;
    array_ptr array = numbered("double 2x3");
    void* const old = array->pdata;
    double* const block = six_doubles();
    api::ndSetData(array.get(), block, counting_deleter);
    EXPECT_EQ(array->pdata, block);
    EXPECT_TRUE(array->hasSameCustomDeleter(counting_deleter));
    api::ndSetData(array.get(), old, nullptr);
    EXPECT_FALSE(array->hasCustomDeleter());
    EXPECT_EQ(deleter_calls, 0) << "a setter frees nothing";
    api::ndSetData(array.get(), block, counting_deleter);
    array.reset();
    EXPECT_EQ(deleter_calls, 1);
    api::ndFree(old);
}

// The block that others have too: its deleter is theirs as well.
TEST_F(SetData, OfTheSameBlockLeavesTheDeleterOfAGroup) {
    for (const setter& one : setters) {
        deleter_calls = 0;
        array_ptr array = numbered("double 2x3");
        array->setCustomDeleter(counting_deleter);
        array_ptr sharer = matrix::detail::do_shared_copy(array.get());
        one.set(array.get(), array->pdata);
        EXPECT_TRUE(sharer->hasSameCustomDeleter(counting_deleter)) << one.name;
        sharer.reset();
        one.set(array.get(), array->pdata);
        EXPECT_FALSE(array->hasCustomDeleter()) << "alone it says how the block ends";
        array.reset();
        EXPECT_EQ(deleter_calls, 0);
    }
}

// Index vectors are as much a group's as the elements are.
TEST_F(SetData, OfASharedSparseArrayLeavesItVectorsOfItsOwn) {
    for (const setter& one : setters) {
        const array_ptr sharer = sparse_3x2();
        array_ptr array = matrix::detail::do_shared_copy(sharer.get());
        one.set(array.get(), six_doubles());
        EXPECT_NE(array->info_a, sharer->info_a) << one.name;
        EXPECT_NE(array->info_b, sharer->info_b);
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
        array.reset();
        EXPECT_EQ(matrix::internal::validate(sharer.get()), "");
    }
}

TEST_F(SetData, OfASharedSparseArrayFailsWithoutAChange) {
    for (const setter& one : setters) {
        fault_options options;
        options.framed = true;
        const fault_report report = for_each_failing_alloc(
            one.name,
            [&](fault_run& run) {
                const array_ptr sharer = sparse_3x2();
                const array_ptr array = matrix::detail::do_shared_copy(sharer.get());
                double* const block = six_doubles();
                run.operand(array.get());
                run.operand(sharer.get());
                run.act([&] {
                    one.set(array.get(), block);
                    return array->pdata == block;
                });
            },
            options);
        EXPECT_TRUE(report.passed);
        EXPECT_EQ(report.points, 2) << "row indices and column starts";
    }
}

TEST_F(SetData, WithoutMemoryForTheDeleterNothingChanges) {
    fault_options options;
    options.framed = true;
    const fault_report report = for_each_failing_alloc(
        "ndSetData with a deleter",
        [](fault_run& run) {
            const array_ptr array = numbered("double 2x3");
            void* const old = array->pdata;
            double* const block = six_doubles();
            run.operand(array.get());
            run.act([&] {
                api::ndSetData(array.get(), block, api::ndFreeEx);
                return array->pdata == block;
            });
            ASSERT_EQ(array->pdata, block);
            api::ndFreeEx(old);
        },
        options);
    EXPECT_TRUE(report.passed);
    EXPECT_GE(report.points, 1);
}

// The library as it runs inside an engine: with lists of what was made and not given away.
class ListedBlocks : public NdTest {
protected:
    ListedBlocks() : cache_before_(matrix::cache::isEnabled()) { matrix::initModule(matrix::mode_in_engine); }
    ~ListedBlocks() override {
        matrix::cache::setEnabled(cache_before_);
        matrix::cache::clear();
    }

private:
    bool cache_before_;
    const module_mode_scope mode_{mode_null_results};
    foundation::usm::EngineInstance engine_;
    const foundation::usm::EngineActivation active_{&engine_};
};

// What stands on the list when the context ends is freed with it, so a block that is the array's must not.
TEST_F(ListedBlocks, LeaveTheListForAnArray) {
    for (const setter& one : setters) {
        const array_ptr array = numbered("double 2x3");
        void* const old = array->pdata;
        void* const block = api::ndCalloc(6, sizeof(double));
        EXPECT_FALSE(matrix::isAllocListContextEmpty());
        one.set(array.get(), block);
        EXPECT_TRUE(matrix::isAllocListContextEmpty()) << one.name;
        api::ndFree(old);
    }
}

// Blocks of slots are blocks.
TEST_F(ListedBlocks, LeaveTheListForAContainer) {
    struct {
        const char* name;
        void (*set)(ndArray_tag*, ndArray_tag**);
        array_ptr (*make)();
    } const rows[] = {
        {"ndSetCells", api::ndSetCells, [] { return arr("cell 1x2", nullptr, nullptr); }},
        {"ndSetFields", api::ndSetFields, [] { return struct_arr("1x2", {"a"}, nullptr, nullptr); }},
    };
    for (const auto& row : rows) {
        for (const bool is_private : {false, true}) {
            SCOPED_TRACE(row.name);
            const array_ptr array = row.make();
            auto** const old = api::ndGetCells(array.get());
            api::ndSetDataPrivateFlag(array.get(), is_private);
            auto** const block = static_cast<ndArray_tag**>(api::ndCalloc(2, sizeof(ndArray_tag*)));
            row.set(array.get(), block);
            EXPECT_EQ(api::ndGetCells(array.get()), block);
            EXPECT_EQ(matrix::isAllocListContextEmpty(), !is_private);
            row.set(array.get(), old);
            api::ndSetDataPrivateFlag(array.get(), false);
            api::ndFree(block);
        }
    }
}

TEST_F(ListedBlocks, StayThereForPrivateDataAndForADeleter) {
    for (const setter& one : setters) {
        const array_ptr array = numbered("double 2x3");
        void* const old = array->pdata;
        api::ndSetDataPrivateFlag(array.get(), true);
        void* const block = api::ndCalloc(6, sizeof(double));
        one.set(array.get(), block);
        EXPECT_FALSE(matrix::isAllocListContextEmpty()) << one.name;
        one.set(array.get(), old);
        api::ndSetDataPrivateFlag(array.get(), false);
        api::ndFree(block);
    }
    array_ptr array = numbered("double 2x3");
    void* const old = array->pdata;
    void* const block = api::ndCalloc(6, sizeof(double));
    api::ndSetData(array.get(), block, api::ndFree);
    EXPECT_FALSE(matrix::isAllocListContextEmpty());
    array.reset();
    EXPECT_TRUE(matrix::isAllocListContextEmpty()) << "this deleter takes it off";
    api::ndFree(old);
}

// The blocks of containers: slots that are adopted leave the list, those of private data stay there.
TEST_F(ListedBlocks, OfContainersLeaveTheListUnlessDataArePrivate) {
    for (const auto set : {api::ndSetCells, api::ndSetFields}) {
        for (const bool is_private : {false, true}) {
            const array_ptr cell = arr("cell 1x2");
            ndArray_tag** const old = api::ndGetCells(cell.get());
            api::ndSetDataPrivateFlag(cell.get(), is_private);
            auto** const block = static_cast<ndArray_tag**>(api::ndCalloc(2, sizeof(ndArray_tag*)));
            set(cell.get(), block);
            EXPECT_EQ(api::ndGetCells(cell.get()), block);
            EXPECT_EQ(matrix::isAllocListContextEmpty(), !is_private);
            set(cell.get(), old);
            api::ndSetDataPrivateFlag(cell.get(), false);
            api::ndFree(block);
        }
    }
}

TEST_F(ListedBlocks, LeaveTheListForAnArrayOfAnotherClass) {
    const array_ptr array = numbered("double 2x3");
    void* const block = api::ndCalloc(6, sizeof(float));
    array->reset_pdata_untrusted(block, ndSINGLE_CLASS, ndREAL);
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
}

// The context would free it a second time.
TEST_F(ListedBlocks, LeaveTheListWhenAnArrayFreesThem) {
    const array_ptr array = numbered("double 2x3");
    void* const own = array->pdata;
    void* const listed = api::ndCalloc(6, sizeof(double));
    api::ndSetDataPrivateFlag(array.get(), true);
    api::ndSetData(array.get(), listed, nullptr);
    api::ndSetDataPrivateFlag(array.get(), false);
    ASSERT_FALSE(matrix::isAllocListContextEmpty());
    const heap_watch watch;
    array->reset_pdata_untrusted(own, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(watch.times_freed(listed), 1U);
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
    matrix::internal::removeFromAllocList(listed); // or the end of the engine frees what is no longer there
}

using ResetData = NdTest;

// From every class to every other, with a block of its own.
TEST_F(ResetData, ChangesBlockAndClassTogether) {
    for (const class_case& from : classes_of(class_set::with_bytes)) {
        for (const class_case& to : classes_of(class_set::with_bytes)) {
            SCOPED_TRACE(from.name + " to " + to.name);
            const array_ptr array = numbered(from.id, from.complexity, dims_list{1, 1});
            const array_ptr model = numbered(to.id, to.complexity, dims_list{1, 1});
            void* const old = array->pdata;
            void* const block = api::ndCallocEx(1, to.element_size);
            std::memcpy(block, model->pdata, to.element_size);
            const heap_watch watch;
            array->reset_pdata_untrusted(block, to.id, to.complexity);
            EXPECT_EQ(watch.times_freed(old), 1U);
            EXPECT_THAT(array, EqualsArray(model.get()));
            EXPECT_EQ(api::ndIsNumeric(array.get()), api::ndIsNumeric(model.get()));
            EXPECT_EQ(api::ndIsComplex(array.get()), to.complexity == ndCOMPLEX);
            EXPECT_EQ(matrix::internal::validate(array.get()), "");
        }
    }
}

TEST_F(ResetData, KeepsTheBlockThatTheArrayHas) {
    const cache_on cache;
    const array_ptr array = numbered("int16 2x2");
    void* const own = array->pdata;
    const std::uint32_t flags = array->flags;
    const heap_watch watch;
    array->reset_pdata_untrusted(own, ndUINT16_CLASS, ndREAL);
    EXPECT_EQ(array->pdata, own);
    EXPECT_EQ(array->class_id, ndUINT16_CLASS);
    EXPECT_EQ(array->flags, flags) << "cached as before";
    EXPECT_TRUE(watch.freed().empty());
}

TEST_F(ResetData, ForgetsWhatWasSaidOfTheOldBlock) {
    const cache_on cache;
    const array_ptr array = numbered("double 2x3");
    array->flags |= matrix::flag_capacity_tracked;
    array->reset_pdata_untrusted(six_doubles(), ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(array->flags & marks_of_the_old_block, 0U);
}

TEST_F(ResetData, CountsComplexityWhenItIsOne) {
    for (const int complexity : {0, 2, -1, 32}) {
        const array_ptr array = numbered("complex double 2x3");
        array->reset_pdata_untrusted(six_doubles(), ndDOUBLE_CLASS, static_cast<ndComplexity>(complexity));
        EXPECT_FALSE(api::ndIsComplex(array.get())) << complexity;
    }
}

TEST_F(ResetData, LeavesTheOldBlockToItsDeleter) {
    deleter_calls = 0;
    const array_ptr array = numbered("double 2x3");
    array->setCustomDeleter(counting_deleter);
    array->reset_pdata_untrusted(six_doubles(), ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(deleter_calls, 1);
    EXPECT_FALSE(array->hasCustomDeleter()) << "it was for the old block";
}

TEST_F(ResetData, LeavesPrivateDataAlone) {
    double mine[6] = {1}, other[6] = {2};
    const array_ptr array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    api::ndSetDataPrivateFlag(array.get(), true);
    api::ndSetData(array.get(), mine, nullptr);
    const heap_watch watch;
    array->reset_pdata_untrusted(other, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(array->pdata, other);
    EXPECT_TRUE(watch.freed().empty());
    EXPECT_TRUE(api::ndIsDataPrivate(array.get()));
}

TEST_F(ResetData, LeavesTheOldBlockToItsOtherSharers) {
    const array_ptr array = numbered("double 2x3");
    const array_ptr sharer = matrix::detail::do_shared_copy(array.get());
    array->reset_pdata_untrusted(six_doubles(), ndDOUBLE_CLASS, ndREAL);
    EXPECT_THAT(sharer, EqualsArray(numbered("double 2x3")));
    EXPECT_EQ(api::ndGetScalar(array.get()), 11.0);
    EXPECT_FALSE(api::ndIsSharedArray(array.get()));
    EXPECT_FALSE(api::ndIsSharedArray(sharer.get()));
    EXPECT_EQ(matrix::internal::validate(array.get()), "");
    EXPECT_EQ(matrix::internal::validate(sharer.get()), "");
}

} // namespace
} // namespace test
