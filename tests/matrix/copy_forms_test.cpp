// The copies that keep the form and not the elements, the claimed copy, the reference given up, and views.
#include "matrix/class_table.hpp"
#include "matrix/function_records.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>
#include <nd/typed.hpp>

#include <stdexcept>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using matrix::internal::code_of;
using matrix::internal::function_record;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

constexpr std::uint32_t kept_by_copies = 0xFFD809B9;

array_ptr of_class(ndClassID id, const dims_list& dims) {
    return matrix::detail::do_create_numeric(dims, code_of(id, false));
}

using InterfaceCopies = NdTest;

TEST_F(InterfaceCopies, OfNullAreNull) {
    EXPECT_EQ(api::ndCreateSharedDataCopy(nullptr), nullptr);
    EXPECT_EQ(api::ndCreateDeepCopy(nullptr), nullptr);
    EXPECT_EQ(api::ndDuplicateArray(nullptr), nullptr);
    EXPECT_EQ(api::ndCreateSkeletonCopy(nullptr, ndREAL), nullptr);
    EXPECT_EQ(api::ndCreateEmptyCopy(nullptr), nullptr);
    EXPECT_EQ(api::ndCreateClaimedDataCopy(nullptr), nullptr);
    EXPECT_EQ(api::ndUnreference(nullptr), nullptr);
    EXPECT_EQ(matrix::create_uninit_data_copy(nullptr), nullptr);
    EXPECT_EQ(matrix::create_empty_copy(nullptr), nullptr);
}

TEST_F(InterfaceCopies, AreCopies) {
    for_each_variation(arr("cell 1x2", numbered("double 2x2"), nullptr), [](array_ptr& x) {
        const array_ptr shared(api::ndCreateSharedDataCopy(x.get()));
        const array_ptr deep(api::ndCreateDeepCopy(x.get()));
        const array_ptr duplicate(api::ndDuplicateArray(x.get()));
        EXPECT_EQ(shared->pdata, x->pdata);
        for (const array_ptr* copy : {&shared, &deep, &duplicate}) EXPECT_THAT(*copy, EqualsArray(x.get()));
        EXPECT_NE(deep->pdata, x->pdata);
        EXPECT_NE(duplicate->pdata, deep->pdata);
    });
}

TEST_F(InterfaceCopies, OfPrivateDataShareNothing) {
    double mine[3] = {1, 2, 3};
    const array_ptr a = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    a->pdata = mine;
    a->set_dimensions(dims_list{1, 3});
    a->flags |= matrix::flag_data_private;
    const snapshot before(a.get());
    EXPECT_TERMINATE(api::ndCreateSharedDataCopy(a.get()), "ERROR: sharing /* PRIVATE */ data ndArray.");
    EXPECT_EQ(before.difference(), "");
    const array_ptr deep(api::ndCreateDeepCopy(a.get()));
    EXPECT_THAT(deep, EqualsArray(arr("double 1x3", {1, 2, 3})));
}

using SkeletonCopy = NdTest;

TEST_F(SkeletonCopy, HasTheFormOfItsSource) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for_each_variation(numbered(c.id, c.complexity, dims_list{2, 3, 2}), [&](array_ptr& source) {
            const snapshot before(source.get());
            for (const ndComplexity asked : {ndREAL, ndCOMPLEX}) {
                const array_ptr copy(api::ndCreateSkeletonCopy(source.get(), asked));
                EXPECT_EQ(copy->flags, source->flags & kept_by_copies);
                EXPECT_EQ(copy->class_id, source->class_id);
                EXPECT_NE(copy->pdata, source->pdata);
                EXPECT_EQ(copy->share_record, nullptr);
                std::memset(copy->pdata, 0xA5, 12 * api::ndGetElementSize(source.get()));
                EXPECT_EQ(validate(copy.get()), "");
            }
            EXPECT_EQ(before.difference(), "");
        });
    });
}

TEST_F(SkeletonCopy, NullsWhatStandsForReferences) {
    const array_ptr cell = arr("cell 1x2", arr("double", {1}), nullptr);
    const array_ptr copy = matrix::create_uninit_data_copy(cell.get());
    EXPECT_EQ(static_cast<ndArray_tag**>(copy->pdata)[0], nullptr);
    for (const ndClassID id : {ndFUNCTION_CLASS, ndOPAQUE_CLASS}) {
        const array_ptr source = of_class(id, {1, 3});
        const array_ptr skeleton = matrix::create_uninit_data_copy(source.get());
        const auto* bytes = static_cast<const char*>(skeleton->pdata);
        EXPECT_TRUE(std::all_of(bytes, bytes + 24, [](char byte) { return byte == 0; }));
    }
}

TEST_F(SkeletonCopy, OfASparseArrayHasRoomAndNoVectors) {
    const array_ptr source = sparse_3x2();
    const array_ptr copy = matrix::create_uninit_data_copy(source.get());
    EXPECT_NE(copy->pdata, nullptr);
    EXPECT_EQ(copy->info_a | copy->info_b | copy->info_c, 0U);
    EXPECT_TRUE(copy->flags & matrix::flag_sparse);
    EXPECT_EQ(validate(copy.get()), "");
}

TEST_F(SkeletonCopy, OfAnEmptyArrayHasNoBlock) {
    EXPECT_EQ(matrix::create_uninit_data_copy(arr("double 0x3").get())->pdata, nullptr);
}

using EmptyCopy = NdTest;

TEST_F(EmptyCopy, IsOfTheSameClass) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for (const dims_list& dims : {dims_list{1, 1}, dims_list{2, 3, 2}}) {
            const array_ptr source = numbered(c.id, c.complexity, dims);
            source->flags |= matrix::flag_colon_object | 0x9000000;
            const array_ptr copy(api::ndCreateEmptyCopy(source.get()));
            EXPECT_EQ(copy->class_id, c.id);
            EXPECT_EQ(copy->flags, ((source->flags & kept_by_copies) | matrix::flag_inline_dims) &
                                       ~(matrix::flag_scalar_double | matrix::flag_colon_object));
            EXPECT_EQ(copy->m_or_dims | copy->n_or_ndims, 0U);
            EXPECT_EQ(copy->pdata, nullptr);
            EXPECT_EQ(validate(copy.get()), "");
        }
    });
    EXPECT_EQ(matrix::create_empty_copy(arr("cell 1x1", arr("double", {1})).get())->class_id, ndCELL_CLASS);
}

TEST_F(EmptyCopy, OfASparseArrayHasRoomForOne) {
    const array_ptr source = sparse_3x2();
    source->flags |= matrix::flag_scalar_double;
    const array_ptr copy = matrix::create_empty_copy(source.get());
    source->flags &= ~matrix::flag_scalar_double;
    EXPECT_EQ(copy->info_c, 1U);
    EXPECT_EQ(*std::bit_cast<const std::size_t*>(copy->info_a), 0U);
    EXPECT_EQ(*std::bit_cast<const std::size_t*>(copy->info_b), 0U);
    EXPECT_EQ(*static_cast<const double*>(copy->pdata), 0.0);
    EXPECT_EQ(copy->m_or_dims | copy->n_or_ndims, 0U);
    EXPECT_FALSE(copy->flags & matrix::flag_scalar_double);
    EXPECT_TRUE(copy->flags & matrix::flag_sparse);
    EXPECT_EQ(validate(copy.get()), "");
}

// An indexing-opaque source counts its headers by itself; an empty one has nothing to count.
TEST_F(EmptyCopy, OfAnIndexingOpaqueArrayHasNoPayload) {
    long payload = 0;
    const array_ptr source = of_class(ndOPAQUE_CLASS, {0, 0});
    source->flags |= matrix::flag_indexing_opaque;
    source->pdata = &payload;
    EXPECT_FALSE(matrix::create_empty_copy(source.get())->flags & matrix::flag_indexing_opaque);
    EXPECT_EQ(matrix::create_uninit_data_copy(source.get())->pdata, &payload);
    EXPECT_EQ(do_deep_copy(source.get())->pdata, &payload);
}

using ClaimedCopy = NdTest;

TEST_F(ClaimedCopy, OfAnArrayThatIsNotReusableIsShared) {
    const array_ptr source = numbered("double 1x3");
    const array_ptr copy(api::ndCreateClaimedDataCopy(source.get()));
    EXPECT_EQ(copy->pdata, source->pdata);
    EXPECT_TRUE(copy->is_data_shared_only_with_impl(source.get()));
    EXPECT_THAT(source, EqualsArray(numbered("double 1x3")));
}

TEST_F(ClaimedCopy, OfAReusableArrayTakesTheData) {
    for (const bool cached : {false, true}) {
        const cache_on cache;
        matrix::cache::setEnabled(cached);
        const array_ptr source = numbered("double 2x3x4");
        void* const block = source->pdata;
        source->flags |= 0x3000000;
        api::ndSetReusable(source.get(), true);
        const array_ptr copy(api::ndCreateClaimedDataCopy(source.get()));
        EXPECT_EQ(copy->pdata, block);
        EXPECT_FALSE(copy->is_data_shared_impl());
        EXPECT_FALSE(api::ndIsReusable(copy.get()));
        EXPECT_EQ((copy->flags & matrix::flag_cached_header) != 0, cached);
        EXPECT_EQ(source->class_id, ndUNKNOWN_CLASS);
        EXPECT_EQ(source->m_or_dims | source->n_or_ndims, 0U);
        EXPECT_EQ(source->pdata, nullptr);
        EXPECT_EQ(source->flags, 0x3000000U | matrix::flag_inline_dims | matrix::flag_reusable);
        EXPECT_EQ(validate(source.get()), "");
        EXPECT_EQ(validate(copy.get()), "");
    }
}

TEST_F(ClaimedCopy, LeavesTheBlockToOthersToo) {
    const array_ptr source = numbered("double 1x3");
    const array_ptr other = do_shared_copy(source.get());
    source->flags |= matrix::flag_reusable;
    const array_ptr copy(api::ndCreateClaimedDataCopy(source.get()));
    EXPECT_TRUE(copy->is_data_shared_only_with_impl(other.get()));
    EXPECT_EQ(source->share_record, nullptr);
}

TEST_F(ClaimedCopy, OfACellTakesTheElements) {
    const array_ptr source = arr("cell 1x1", arr("cell 1x1", arr("double", {1})));
    source->flags |= matrix::flag_reusable;
    const array_ptr copy(api::ndCreateClaimedDataCopy(source.get()));
    EXPECT_THAT(copy, EqualsArray(arr("cell 1x1", arr("cell 1x1", arr("double", {1})))));
}

// The cache gets no block back that somebody else owns, even where a header says that it came from there.
TEST_F(ClaimedCopy, TakesThePrivacyOfTheData) {
    double mine = 1;
    for (const std::uint32_t cached : {0x0U, 0x2000U, 0x6000U}) {
        const array_ptr source = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
        source->pdata = &mine;
        source->set_dimensions(dims_list{1, 1});
        api::ndSetShareDataPrivateFlag(source.get(), true);
        source->flags |= matrix::flag_reusable | cached;
        const array_ptr copy(api::ndCreateClaimedDataCopy(source.get()));
        EXPECT_EQ(copy->flags & 0x7E042U, 0x42U);
        EXPECT_EQ(source->flags & 0x7E042U, 0U);
        EXPECT_EQ(validate(copy.get()), "");
    }
}

using Unreference = NdTest;

TEST_F(Unreference, OfTheOnlyReferenceIsTheArray) {
    const array_ptr a = numbered("double 1x3");
    const array_ptr b = do_shared_copy(a.get());
    EXPECT_EQ(api::ndUnreference(a.get()), a.get());
    EXPECT_TRUE(a->flags & matrix::flag_shared_data);
}

TEST_F(Unreference, OfOneOfTwoIsASharedCopy) {
    const array_ptr a = numbered("double 1x3");
    a->scope = ndGLOBAL_SCOPE;
    const array_ptr copy(api::ndUnreference(api::ndCreateReference(a.get())));
    EXPECT_NE(copy, a);
    EXPECT_EQ(copy->pdata, a->pdata);
    EXPECT_EQ(copy->scope, static_cast<std::uint32_t>(ndGLOBAL_SCOPE));
    EXPECT_EQ(a->ref_count, 1U);
    a->scope = copy->scope = ndLOCAL_SCOPE;
}

using ShareDataPrivate = NdTest;

TEST_F(ShareDataPrivate, SetsAndClearsBothBits) {
    const cache_on cache;
    const array_ptr a = numbered("double 1x3");
    void* const block = a->pdata;
    api::ndSetShareDataPrivateFlag(a.get(), true);
    EXPECT_EQ(a->flags & 0x107E042U, 0x42U);
    EXPECT_TRUE(a->flags & matrix::flag_single_threaded_sharing);
    EXPECT_EQ(validate(a.get()), "");
    api::ndSetShareDataPrivateFlag(a.get(), false);
    EXPECT_EQ(a->flags & 0x42U, 0U);
    EXPECT_TRUE(a->flags & matrix::flag_single_threaded_sharing);
    EXPECT_EQ(a->pdata, block);
}

TEST_F(ShareDataPrivate, IsOneForNoArray) {
    api::ndSetShareDataPrivateFlag(nullptr, true);
    api::ndSetShareDataPrivateFlag(nullptr, false);
}

TEST_F(ShareDataPrivate, WithoutMemoryStaysAsItWas) {
    for_each_module_mode([](int mode) {
        const array_ptr a = numbered("double 1x3");
        const array_ptr b = do_shared_copy(a.get());
        const snapshot before(a.get());
        bool raised = false;
        {
            const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
            try {
                api::ndSetShareDataPrivateFlag(a.get(), true);
            } catch (const std::bad_alloc&) {
                raised = true;
            }
        }
        EXPECT_EQ(raised, mode == mode_exceptions);
        EXPECT_EQ(before.difference(), "");
    });
}

// Records of function handles: the client is told of each array that gets or loses one.
std::vector<std::string> record_events;
void note_acquire(void* data, const ndArray_tag*) {
    record_events.push_back("+" + std::string(static_cast<char*>(data)));
}
void note_release(void* data, const ndArray_tag*) {
    record_events.push_back("-" + std::string(static_cast<char*>(data)));
}

class FunctionRecords : public NdTest {
protected:
    FunctionRecords() { record_events.clear(); }
    ~FunctionRecords() override { std::vector<std::string>().swap(record_events); }

    // A handle of three elements: "a", one that nobody asks about, "b".
    array_ptr handle() {
        array_ptr array = of_class(ndFUNCTION_CLASS, {1, 3});
        auto* const records = static_cast<function_record*>(array->pdata);
        records[0] = {nullptr, a_, note_acquire, note_release};
        records[2] = {nullptr, b_, note_acquire, note_release};
        return array;
    }

    char a_[2] = "a";
    char b_[2] = "b";
};

TEST_F(FunctionRecords, AreAcquiredByDeepCopiesAndReleasedByTheEnd) {
    array_ptr source = handle();
    array_ptr copy = do_deep_copy(source.get());
    EXPECT_EQ(record_events, (std::vector<std::string>{"+a", "+b"}));
    EXPECT_EQ(std::memcmp(copy->pdata, source->pdata, 3 * sizeof(function_record)), 0);
    source.reset();
    EXPECT_EQ(record_events, (std::vector<std::string>{"+a", "+b", "-a", "-b"}));
}

TEST_F(FunctionRecords, AreCountedOnceByAllSharers) {
    array_ptr source = handle();
    array_ptr copy = do_shared_copy(source.get());
    source.reset();
    EXPECT_TRUE(record_events.empty());
    copy.reset();
    EXPECT_EQ(record_events, (std::vector<std::string>{"-a", "-b"}));
}

// With the cache on a handle comes in a pair, and is a handle all the same.
TEST_F(FunctionRecords, OfACachedHandleAreCountedToo) {
    const cache_on cache;
    for (const bool deep : {true, false}) {
        record_events.clear();
        array_ptr source = handle();
        ASSERT_TRUE(source->flags & matrix::flag_cached_header);
        array_ptr copy = deep ? do_deep_copy(source.get()) : do_shared_copy(source.get());
        source.reset();
        copy.reset();
        EXPECT_EQ(record_events, deep ? (std::vector<std::string>{"+a", "+b", "-a", "-b", "-a", "-b"})
                                      : (std::vector<std::string>{"-a", "-b"}));
    }
}

void refuse_acquire(void* /*data*/, const ndArray_tag* /*array*/) { throw std::range_error("no more"); }

// Who can't be given a copy of what stands in the array is emptied, in every mode and without a word.
TEST_F(FunctionRecords, ThatRefuseACopyKeepTheOthersFromMoving) {
    for_each_module_mode([&](int /*mode*/) {
        const array_ptr a = handle();
        static_cast<function_record*>(a->pdata)[2].acquire = refuse_acquire;
        a->set_data_sharing_single_threaded(true);
        const array_ptr b = do_shared_copy(a.get());
        const snapshot before(a.get());
        EXPECT_EQ(api::ndUnshareOtherArrays(a.get()), 1);
        EXPECT_EQ(before.difference(), "");
        EXPECT_EQ(b->pdata, a->pdata);
        EXPECT_FALSE(api::ndUnshareOrEmptyOthers(a.get()));
        EXPECT_EQ(b->pdata, nullptr);
        EXPECT_EQ(api::ndGetM(b.get()), 0U);
        EXPECT_EQ(validate(a.get()), "");
    });
}

TEST_F(FunctionRecords, AreReleasedWhenACopyFails) {
    const array_ptr cell = arr("cell 1x2", handle(), arr("double", {1}));
    long points = 0;
    for (long n = 1; points == 0 || n <= points; ++n) {
        record_events.clear();
        array_ptr copy;
        {
            injection failing({n, fault_plan::follow_up::none, 0});
            try {
                copy = do_deep_copy(cell.get());
                points = failing.points();
            } catch (const std::bad_alloc&) {
            }
        }
        if (copy != nullptr) break;
        EXPECT_EQ(std::count(record_events.begin(), record_events.end(), "+a"),
                  std::count(record_events.begin(), record_events.end(), "-a"));
    }
}

// Views: nothing of the array belongs to them.
using ReshapedView = NdTest;

TEST_F(ReshapedView, HasOtherDimensionsOverTheSameBlock) {
    for_each_variation(numbered("double 2x3"), [](array_ptr& x) {
        const std::uint32_t sharers = x->share_record == nullptr ? 0 : x->share_record->count.load();
        const snapshot before(x.get());
        {
            const array_ptr view = matrix::createReshapedView(x.get(), dims_list{3, 1, 2});
            EXPECT_EQ(view->pdata, x->pdata);
            EXPECT_NE(view->share_record, x->share_record);
            EXPECT_EQ(view->share_record->count.load(), 1U);
            EXPECT_FALSE(view->flags & matrix::flag_shared_data);
            EXPECT_THAT(view, EqualsArray(numbered("double 3x1x2")));
            EXPECT_EQ(x->share_record == nullptr ? 0 : x->share_record->count.load(), sharers);
            EXPECT_EQ(validate(view.get()), "");
        }
        EXPECT_EQ(before.difference(), "");
    });
}

TEST_F(ReshapedView, OfAConstantArrayIsConstant) {
    const array_ptr x = numbered("int8 2x3");
    const auto view = matrix::createReshapedView(static_cast<const ndArray_tag*>(x.get()), dims_list{6});
    static_assert(std::is_const_v<std::remove_reference_t<decltype(*view)>>);
    EXPECT_EQ(api::ndGetM(view.get()), 6U);
}

TEST_F(ReshapedView, LeavesElementsAndRecordsAlone) {
    const array_ptr cell = arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"a")));
    array_ptr view = matrix::createReshapedView(cell.get(), dims_list{2, 1});
    array_ptr copy_of_view = do_shared_copy(view.get());
    view.reset();
    EXPECT_THAT(copy_of_view,
                EqualsArray(arr("cell 2x1", arr("double", {1}), arr("cell 1x1", arr("char", u"a")))));
    copy_of_view.reset();
    EXPECT_EQ(validate(cell.get()), "");
    const array_ptr sparse = sparse_3x2();
    matrix::createReshapedView(sparse.get(), dims_list{3, 2}).reset();
    EXPECT_EQ(validate(sparse.get()), "");
}

TEST_F(ReshapedView, InASlotIsAViewStill) {
    const array_ptr inner = arr("cell 1x1", arr("double", {1}));
    array_ptr holder = arr("cell 1x1", matrix::createReshapedView(inner.get(), dims_list{1, 1}));
    holder.reset();
    EXPECT_EQ(validate(inner.get()), "");
}

TEST_F(FunctionRecords, AreNotReleasedByAView) {
    const array_ptr source = handle();
    matrix::createReshapedView(source.get(), dims_list{3, 1}).reset();
    EXPECT_TRUE(record_events.empty());
}

TEST_F(ReshapedView, OfNothingIsNothing) {
    EXPECT_EQ(matrix::createReshapedView(static_cast<ndArray_tag*>(nullptr), dims_list{1, 1}), nullptr);
    EXPECT_EQ(matrix::createReshapedView(static_cast<const ndArray_tag*>(nullptr), dims_list{1, 1}), nullptr);
}

template <void (*Set)(ndArray_tag*, kvIndex, ndArray_tag*)>
array_ptr in_cell(ndArray_tag* value) {
    const array_ptr cell = arr("cell 1x1");
    Set(cell.get(), 0, value);
    ndArray_tag*& slot = *static_cast<ndArray_tag**>(cell->pdata);
    slot->scope = ndLOCAL_SCOPE;
    return array_ptr(std::exchange(slot, nullptr));
}

// What changes a view in place changes nothing of the array that lent the block.
TEST_F(ReshapedView, IsUnsharedByWhatChangesItInPlace) {
    struct {
        const char* name;
        array_ptr (*make)();
        void (*change)(ndArray_tag*);
    } const rows[] = {
        {"unshare", [] { return numbered("double 2x3"); }, [](ndArray_tag* a) { api::ndUnshare(a); }},
        {"unshare a cell", [] { return arr("cell 1x2", arr("double", {1}), arr("char", u"a")); },
         [](ndArray_tag* a) { api::ndUnshare(a); }},
        {"unshare a cell by level", [] { return arr("cell 1x2", arr("double", {1}), arr("cell 0x0")); },
         [](ndArray_tag* a) { EXPECT_EQ(api::ndUnshareArray(a, 1), 0); }},
        {"unshare a sparse array", [] { return sparse_3x2(); }, [](ndArray_tag* a) { api::ndUnshare(a); }},
        {"deflate", [] { return numbered("complex single 2x3"); }, api::ndDeflateComplexToReal},
        {"free zeros",
         [] {
             return arr("complex double 1x2", {{1, 0}, {2, 0}});
         },
         api::ndFreeImagIfZero},
        {"inflate", [] { return numbered("int16 2x3"); }, api::ndInflateRealToComplex},
        {"inflate a sparse array", [] { return sparse_3x2(); }, api::ndInflateRealToComplex},
        {"set data", [] { return numbered("double 1x1"); },
         [](ndArray_tag* a) { api::published::ndSetData(a, api::ndCallocEx(1, sizeof(double))); }},
        {"set data of a sparse array", [] { return sparse_3x2(); },
         [](ndArray_tag* a) { api::published::ndSetData(a, api::ndCallocEx(4, sizeof(double))); }},
        {"reset data", [] { return numbered("double 1x1"); },
         [](ndArray_tag* a) {
             a->reset_pdata_untrusted(api::ndCallocEx(1, sizeof(float)), ndSINGLE_CLASS, ndREAL);
         }},
    };
    for (const auto& row : rows) {
        for (const bool shared : {false, true}) {
            SCOPED_TRACE(row.name + std::string(shared ? ", shared" : ""));
            const array_ptr a = row.make();
            const snapshot before(a.get());
            {
                const dims_list dims{api::ndGetM(a.get()), api::ndGetN(a.get())};
                const array_ptr view = matrix::createReshapedView(a.get(), dims);
                const array_ptr sharer = shared ? do_shared_copy(view.get()) : nullptr;
                row.change(view.get());
                EXPECT_NE(view->pdata, a->pdata);
                EXPECT_FALSE(view->hasCustomDeleter());
                EXPECT_EQ(validate(view.get()), "");
            }
            EXPECT_EQ(before.difference(), "");
        }
    }
}

// A copy that wasn't asked to share outlives the view and the array that lent the block.
TEST_F(ReshapedView, IsCopiedByWhatIsNotAskedToShare) {
    struct {
        const char* name;
        const char* value;
        array_ptr (*copy)(ndArray_tag* view);
        const char* wanted;
    } const rows[] = {
        {"to logical", "uint8 1x1",
         [](ndArray_tag* v) { return matrix::create_converted_copy(v, ndLOGICAL_CLASS); }, "logical 1x1"},
        {"ndSetCopyInCell", "double 2x3", in_cell<api::ndSetCopyInCell>, "double 2x3"},
        {"ndReplaceCopyInCell", "double 2x3", in_cell<api::ndReplaceCopyInCell>, "double 2x3"},
        {"ndMoveCopyOntoHeader", "double 2x3",
         [](ndArray_tag* v) {
             array_ptr dest = arr("int8", {1});
             api::ndMoveCopyOntoHeader(dest.get(), v);
             return dest;
         },
         "double 2x3"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        array_ptr lender = numbered(row.value);
        const dims_list dims{lender->m_or_dims, lender->n_or_ndims};
        array_ptr view = matrix::createReshapedView(lender.get(), dims);
        const array_ptr copy = row.copy(view.get());
        EXPECT_NE(copy->pdata, lender->pdata);
        view.reset();
        lender.reset();
        EXPECT_THAT(copy, EqualsArray(numbered(row.wanted)));
        EXPECT_EQ(validate(copy.get()), "");
    }
}

TEST_F(ReshapedView, OfAContainerIsCopiedByConversions) {
    array_ptr lender = arr("cell 1x1", arr("double", {1}));
    array_ptr view = matrix::createReshapedView(lender.get(), dims_list{1, 1});
    const array_ptr made = matrix::cell_to_struct(view.get(), arr("char", u"a").get(), 1);
    const array_ptr slots = matrix::create_converted_copy(
        matrix::createReshapedView(made.get(), dims_list{1, 1}).get(), ndCELL_CLASS);
    EXPECT_NE(slots->pdata, made->pdata);
    view.reset();
    lender.reset();
    EXPECT_THAT(made, EqualsArray(struct_arr("1x1", {"a"}, arr("double", {1}))));
    EXPECT_THAT(slots, EqualsArray(arr("cell 1x1", arr("double", {1}))));
}

TEST_F(ReshapedView, KeepsTheBlockThatItGetsAgain) {
    const array_ptr a = numbered("double 2x3");
    const array_ptr view = matrix::createReshapedView(a.get(), dims_list{3, 2});
    api::published::ndSetData(view.get(), a->pdata);
    EXPECT_TRUE(matrix::internal::has_borrowed_data(view.get()));
}

TEST_F(ReshapedView, LendsItsBlockToNobody) {
    const array_ptr a = numbered("double 2x3");
    const array_ptr view = matrix::createReshapedView(a.get(), dims_list{3, 2});
    api::ndSetReusable(view.get(), true);
    ndArray_tag* candidates[] = {view.get()};
    const array_ptr fresh(api::ndCreateNumericMatrixWithReuse(3, 2, ndDOUBLE_CLASS, ndREAL, 1, candidates));
    EXPECT_NE(fresh->pdata, a->pdata);
}

TEST_F(ReshapedView, IsCopiedAsAValue) {
    array_ptr x = numbered("double 2x3");
    const array_ptr view = matrix::createReshapedView(x.get(), dims_list{3, 2});
    const array_ptr deep = do_deep_copy(view.get());
    const array_ptr shared = do_shared_copy(view.get());
    api::ndUnshare(shared.get());
    x.reset();
    EXPECT_THAT(deep, EqualsArray(numbered("double 3x2")));
    EXPECT_THAT(shared, EqualsArray(numbered("double 3x2")));
    view->set_dimensions({});
}

} // namespace
} // namespace test
