// Unsharing in place and by replacement: who keeps which block, what changes in the header, and the race that is lost.
#include "matrix/data_copy.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/test_hooks.hpp"
#include "matrix/unshare.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/messages.hpp>
#include <nd/share.hpp>

#include <string>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_shared_copy;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

ndArray_tag* slot(const array_ptr& container, std::size_t i) {
    return static_cast<ndArray_tag**>(container->pdata)[i];
}

using Unshare = NdTest;

TEST_F(Unshare, OfNullIsNull) {
    EXPECT_EQ(api::ndUnshare(nullptr), nullptr);
    EXPECT_EQ(api::ndUnshareShallow(nullptr), nullptr);
    EXPECT_EQ(api::ndUnshareOtherArrays(nullptr), 0);
    EXPECT_TRUE(api::ndUnshareOrEmptyOthers(nullptr));
}

TEST_F(Unshare, GivesEveryRepresentationABlockOfItsOwn) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const array_ptr value = numbered(c.id, c.complexity, dims_list{2, 3, 2});
        for_each_variation(value, [&](array_ptr& x) {
            const bool held_twice = x->ref_count > 1;
            const bool shared = matrix::internal::has_shared_data(x.get());
            void* const block = x->pdata;
            ndArray_tag* const given = x.release();
            x.reset(api::ndUnshare(given));
            EXPECT_EQ(x.get() == given, !held_twice);
            EXPECT_EQ(x->pdata == block, !held_twice && !shared);
            EXPECT_FALSE(x->flags & matrix::flag_shared_data);
            EXPECT_EQ(x->ref_count, 1U);
            EXPECT_THAT(x, EqualsArray(value.get()));
            EXPECT_EQ(validate(x.get()), "");
            std::memset(x->pdata, 0, 1); // the sharers are compared with the value after this
        });
    });
}

TEST_F(Unshare, LeavesACachedBlockWithTheOthers) {
    const cache_on cache;
    const array_ptr a = numbered("double 1x3");
    const array_ptr b = do_shared_copy(a.get());
    EXPECT_EQ(api::ndUnshare(a.get()), a.get());
    EXPECT_FALSE(a->flags & (matrix::flag_cached_header | matrix::flag_bin_mask));
    EXPECT_TRUE(b->flags & matrix::flag_cached_header);
    EXPECT_EQ(validate(a.get()), "");
    EXPECT_EQ(validate(b.get()), "");
}

TEST_F(Unshare, CopiesNothingForTheLastOne) {
    const array_ptr a = numbered("double 1x3");
    do_shared_copy(a.get()).reset();
    ASSERT_TRUE(a->flags & matrix::flag_shared_data);
    EXPECT_FALSE(a->is_data_shared_impl());
    void* const block = a->pdata;
    const injection counted({0, fault_plan::follow_up::none, 0});
    EXPECT_EQ(api::ndUnshare(a.get()), a.get());
    EXPECT_EQ(counted.points(), 0);
    EXPECT_EQ(a->pdata, block);
}

TEST_F(Unshare, GivesASparseArrayVectorsOfItsOwn) {
    const array_ptr a = sparse_3x2();
    const array_ptr b = do_shared_copy(a.get());
    api::ndUnshare(a.get());
    EXPECT_NE(a->info_a, b->info_a);
    EXPECT_NE(a->info_b, b->info_b);
    EXPECT_EQ(a->info_c, b->info_c);
    EXPECT_EQ(validate(a.get()), "");
    EXPECT_EQ(validate(b.get()), "");
}

TEST_F(Unshare, OfPrivateDataOwnsTheCopy) {
    double mine[3] = {1, 2, 3};
    const array_ptr a = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    a->pdata = mine;
    a->set_dimensions(dims_list{1, 3});
    api::ndSetShareDataPrivateFlag(a.get(), true);
    array_ptr b = do_shared_copy(a.get());
    api::ndUnshare(b.get());
    EXPECT_NE(b->pdata, mine);
    EXPECT_EQ(a->flags & 0x42U, 0x42U);
    EXPECT_THAT(b, EqualsArray(arr("double 1x3", {1, 2, 3})));
}

TEST_F(Unshare, DeeplyCopiesTheElementsOfAContainer) {
    const array_ptr cell = arr("cell 1x3", arr("double", {1}), nullptr, arr("cell 1x1", arr("char", u"a")));
    const array_ptr copy = do_shared_copy(cell.get());
    EXPECT_EQ(api::ndUnshare(cell.get()), cell.get());
    for (const std::size_t i : {0U, 2U}) {
        EXPECT_NE(slot(cell, i), slot(copy, i));
        EXPECT_EQ(slot(cell, i)->scope, 3U);
    }
    EXPECT_EQ(slot(cell, 1), nullptr);
    EXPECT_THAT(cell, EqualsArray(copy.get()));
    EXPECT_EQ(validate(cell.get()), "");
}

TEST_F(Unshare, ShallowlySharesTheElements) {
    const array_ptr cell = arr("cell 1x3", arr("double", {1}), nullptr, arr("cell 1x1", arr("char", u"a")));
    const array_ptr copy = do_shared_copy(cell.get());
    EXPECT_EQ(api::ndUnshareShallow(cell.get()), cell.get());
    EXPECT_NE(cell->pdata, copy->pdata);
    EXPECT_EQ(slot(cell, 0), slot(copy, 0)) << "plain data: one owner more";
    EXPECT_EQ(slot(cell, 0)->ref_count, 2U);
    EXPECT_EQ(slot(cell, 1), nullptr);
    EXPECT_NE(slot(cell, 2), slot(copy, 2)) << "what can hold references: a header of its own";
    EXPECT_EQ(slot(cell, 2)->pdata, slot(copy, 2)->pdata);
    EXPECT_EQ(slot(cell, 2)->scope, 3U);
    EXPECT_THAT(cell, EqualsArray(copy.get()));
    EXPECT_EQ(validate(cell.get()), "");
    EXPECT_EQ(validate(copy.get()), "");
}

TEST_F(Unshare, ShallowlyCopiesWhatMayNotBeShared) {
    const array_ptr cell = arr("cell 1x1", arr("cell 1x1", arr("double", {1})));
    const array_ptr copy = do_shared_copy(cell.get());
    ndArray_tag* const inner = slot(cell, 0);
    inner->flags |= matrix::flag_data_private;
    api::ndUnshareShallow(cell.get());
    EXPECT_NE(slot(cell, 0)->pdata, inner->pdata);
    EXPECT_FALSE(slot(cell, 0)->flags & matrix::flag_data_private);
    inner->flags &= ~matrix::flag_data_private;
}

TEST_F(Unshare, ShallowOfOtherClassesIsUnshare) {
    const array_ptr a = numbered("int8 1x3");
    const array_ptr b = do_shared_copy(a.get());
    EXPECT_EQ(api::ndUnshareShallow(a.get()), a.get());
    EXPECT_NE(a->pdata, b->pdata);
}

// A header with several owners stays with the others; the caller's reference becomes a copy.
TEST_F(Unshare, ReplacesAHeaderThatIsHeldTwice) {
    for (auto* unshare : {api::ndUnshare, api::ndUnshareShallow}) {
        const array_ptr cell = arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"a")));
        cell->scope = ndPERSISTENT_SCOPE;
        cell->flags |= 0x5000000;
        const array_ptr copy(unshare(api::ndCreateReference(cell.get())));
        EXPECT_NE(copy, cell);
        EXPECT_EQ(cell->ref_count, 1U);
        EXPECT_EQ(copy->scope, static_cast<std::uint32_t>(ndPERSISTENT_SCOPE));
        EXPECT_EQ(copy->flags & 0xFF07E000U, 0x5000000U);
        EXPECT_EQ(slot(cell, 0) == slot(copy, 0), unshare == api::ndUnshareShallow);
        EXPECT_EQ(validate(copy.get()), "");
        cell->scope = copy->scope = ndLOCAL_SCOPE;
    }
}

TEST_F(Unshare, ArrayByLevel) {
    struct {
        int level;
        bool elements_stay;
    } constexpr rows[] = {{0, false}, {1, true}, {-1, true}};
    for (const auto& row : rows) {
        const array_ptr cell = arr("cell 1x1", arr("double", {1}));
        EXPECT_EQ(api::ndUnshareArray(cell.get(), row.level), 0) << "nothing to do";
        const array_ptr copy = do_shared_copy(cell.get());
        EXPECT_EQ(api::ndUnshareArray(cell.get(), row.level), 0);
        EXPECT_NE(cell->pdata, copy->pdata);
        EXPECT_EQ(slot(cell, 0) == slot(copy, 0), row.elements_stay);
    }
}

TEST_F(Unshare, ArrayOfNothingIsDone) { EXPECT_EQ(api::ndUnshareArray(nullptr, 0), 0); }

TEST_F(Unshare, ArrayRefusesAHeaderWithTwoOwners) {
    const array_ptr a = numbered("double 1x3");
    const array_ptr b = do_shared_copy(a.get());
    for (const bool internal : {false, true}) {
        (internal ? a->internal_ref_count : a->ref_count) += 1;
        const snapshot before(a.get());
        with_module_mode(mode_exceptions, [&] {
            try {
                api::ndUnshareArray(a.get(), 0);
                ADD_FAILURE() << "nothing was raised";
            } catch (const foundation::core::except::IMsgIDException& error) {
                const auto& id =
                    dynamic_cast<const TARVEL::matrix::badUndocumentedFunctionInput&>(error.GetMsgIDObj());
                EXPECT_EQ(std::get<std::string>(id.arguments()[0]), "ndUnshareArray");
            }
        });
        EXPECT_EQ(with_module_mode(mode_null_results, [&] { return api::ndUnshareArray(a.get(), 0); }), 1);
        EXPECT_EQ(before.difference(), "");
        (internal ? a->internal_ref_count : a->ref_count) -= 1;
    }
}

// The other sharer leaves between the copy and the leaving: the array is the last, and its block is its own already.
class LostRace : public NdTest {
protected:
    LostRace() {
        matrix::internal::test_hooks::set_unshare_seam([] { other_sharer.reset(); });
    }
    ~LostRace() override {
        matrix::internal::test_hooks::set_unshare_seam(nullptr);
        other_sharer.reset();
    }

    static void share_with(const array_ptr& array) { other_sharer = do_shared_copy(array.get()); }

    static inline array_ptr other_sharer;
};

TEST_F(LostRace, KeepsTheOldBlock) {
    for (const char* description : {"double 1x3", "complex int16 2x2", "logical 1x1"}) {
        const array_ptr a = numbered(description);
        const array_ptr value = matrix::detail::do_deep_copy(a.get());
        share_with(a);
        void* const block = a->pdata;
        EXPECT_EQ(api::ndUnshare(a.get()), a.get());
        EXPECT_EQ(a->pdata, block);
        EXPECT_EQ(a->share_record->count.load(), 1U);
        EXPECT_FALSE(a->flags & matrix::flag_shared_data);
        EXPECT_THAT(a, EqualsArray(value.get()));
        EXPECT_EQ(validate(a.get()), "");
    }
    const array_ptr sparse = sparse_3x2();
    share_with(sparse);
    const auto rows = sparse->info_a;
    api::ndUnshare(sparse.get());
    EXPECT_EQ(sparse->info_a, rows);
}

TEST_F(LostRace, LeavesACachedBlockToItsBin) {
    const cache_on cache;
    const array_ptr a = numbered("double 1x3");
    share_with(a);
    api::ndUnshare(a.get());
    EXPECT_TRUE(a->flags & matrix::flag_cached_header);
    EXPECT_EQ(validate(a.get()), "");
}

constexpr const char* references_across_threads = "Attempt to share unsupported ndArray type across threads";

TEST_F(LostRace, OfAContainerIsAFault) {
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    share_with(cell);
    const termination seen = catch_terminate([&] { matrix::internal::unshare(cell.get()); });
    EXPECT_EQ(seen.message, references_across_threads);
    EXPECT_EQ(seen.file, "matrix/sharing");
    EXPECT_EQ(validate(cell.get()), "");
    share_with(cell);
    const diagnostics_switched_off off;
    EXPECT_NO_TERMINATE(matrix::internal::unshare(cell.get())) << "the array stays on its block";
    EXPECT_THAT(cell, EqualsArray(arr("cell 1x1", arr("double", {1}))));
}

TEST_F(LostRace, OfAShallowUnshareIsAFaultInAnyCase) {
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    share_with(cell);
    const diagnostics_switched_off off;
    EXPECT_TERMINATE(matrix::internal::unshare_shallow(cell.get()), references_across_threads);
    EXPECT_EQ(slot(cell, 0)->ref_count, 1U);
    EXPECT_EQ(validate(cell.get()), "");
}

TEST_F(LostRace, OfSingleThreadedDataIsAFault) {
    for (auto* act : {matrix::internal::unshare_others, matrix::internal::unshare_and_empty_others}) {
        const array_ptr a = numbered("double 1x3");
        a->set_data_sharing_single_threaded(true);
        share_with(a);
        EXPECT_TERMINATE(act(a.get()), "Attempt to share single-threaded data across threads");
        EXPECT_EQ(a->share_record->count.load(), 1U);
        EXPECT_THAT(a, EqualsArray(numbered("double 1x3")));
        EXPECT_EQ(validate(a.get()), "");
    }
}

// Compilers differ in the space before an asterisk. (The class of a result stands with its namespace or without.)
std::string written_alike(std::string signature) {
    for (std::size_t at; (at = signature.find(" *")) != std::string::npos;) signature.erase(at, 1);
    return signature;
}

// Whoever reads the report of a fault learns by which function, of several with one name, it was found.
TEST_F(LostRace, IsReportedWithTheSignatureOfTheFunction) {
    const struct {
        const char* signature;
        array_ptr (*make)();
        void (*act)(ndArray_tag*);
    } rows[] = {
        {"bool matrix::internal::unshare(ndArray_tag*)", [] { return arr("cell 1x1", arr("double", {1})); },
         [](ndArray_tag* a) { matrix::internal::unshare(a); }},
        {"bool matrix::internal::unshare_shallow(ndArray_tag*)",
         [] { return arr("cell 1x1", arr("double", {1})); },
         [](ndArray_tag* a) { matrix::internal::unshare_shallow(a); }},
        {"bool matrix::internal::unshare_others(ndArray_tag*)", [] { return numbered("double 1x3"); },
         [](ndArray_tag* a) { matrix::internal::unshare_others(a); }},
        {"bool matrix::internal::unshare_and_empty_others(ndArray_tag*)",
         [] { return numbered("double 1x3"); },
         [](ndArray_tag* a) { matrix::internal::unshare_and_empty_others(a); }},
    };
    for (const auto& row : rows) {
        const array_ptr a = row.make();
        a->set_data_sharing_single_threaded(true);
        share_with(a);
        const termination seen = catch_terminate([&] { row.act(a.get()); });
        EXPECT_EQ(written_alike(seen.function), row.signature);
    }
}

using SharingFault = NdTest;

TEST_F(SharingFault, IsReportedWithTheSignatureOfTheFunction) {
    const array_ptr a = numbered("double 1x3");
    a->scope = ndGLOBAL_SCOPE;
    const termination handed = catch_terminate([&] { matrix::from_tarvel(a.get()).reset(); });
    a->scope = ndLOCAL_SCOPE;
    EXPECT_THAT(written_alike(handed.function),
                ::testing::EndsWith("array_ptr matrix::from_tarvel(ndArray_tag*)"));
    a->flags |= matrix::flag_data_private;
    const termination copied = catch_terminate([&] { do_shared_copy(a.get()).reset(); });
    a->flags &= ~matrix::flag_data_private;
    EXPECT_THAT(written_alike(copied.function),
                ::testing::EndsWith("array_ptr matrix::detail::do_shared_copy(const ndArray_tag*)"));
}

} // namespace
} // namespace test
