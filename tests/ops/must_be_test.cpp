// Arguments brought to a storage: the argument itself, or a temporary.
#include "matrix/lists_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/colon.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

namespace test {
namespace {

using matrix::array_ptr;
using no_sparse_form = foundation::core::except::Exception<TARVEL::legacy_two_part::unimplementedSparseType,
                                                           std::exception, void>;

using MustBe = ListsTest;

TEST_F(MustBe, GivesBackWhatIsSoAlready) {
    const array_ptr full = arr("double 2x2", {1, 0, 0, 2});
    const array_ptr sparse = sparse_of(full);
    const array_ptr cell = arr("cell 1x1", nullptr);
    for (const array_ptr* array : {&full, &cell}) {
        const snapshot before(array->get());
        EXPECT_EQ(api::ndMustBeFull(array->get()), array->get());
        EXPECT_EQ(before.difference(), "");
    }
    const snapshot before(sparse.get());
    EXPECT_EQ(api::ndMustBeSparse(sparse.get()), sparse.get());
    EXPECT_EQ(before.difference(), "") << "no owner more";
    EXPECT_EQ(api::ndMustBeFull(nullptr), nullptr);
    EXPECT_EQ(api::ndMustBeSparse(nullptr), nullptr);
    EXPECT_TRUE(listed_here().empty());
}

TEST_F(MustBe, MakesATemporaryOfTheOtherStorage) {
    for (const char* const kind : {"double 2x2", "single 2x2", "logical 2x2", "complex double 2x2"}) {
        const array_ptr full = arr(kind, {1, 0, 0, 1});
        const array_ptr sparse = sparse_of(full);
        for_each_variation(full, [&](array_ptr& x) {
            ndArray_tag* const made = api::ndMustBeSparse(x.get());
            EXPECT_THAT(made, EqualsArray(sparse.get()));
            EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE);
            EXPECT_EQ(listed_here(), array_pointers{made});
            api::ndDestroyArray(made);
        });
        for_each_variation(sparse, [&](array_ptr& x) {
            ndArray_tag* const made = api::ndMustBeFull(x.get());
            EXPECT_THAT(made, EqualsArray(full.get()));
            EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE);
            EXPECT_EQ(listed_here(), array_pointers{made});
            api::ndDestroyArray(made);
        });
    }
}

// A range is its value in either storage.
TEST_F(MustBe, OfARangeIsItsVector) {
    const array_ptr range = matrix::create_colon_object(-2, 1, 2);
    const array_ptr vector = arr("double 1x5", {-2, -1, 0, 1, 2});
    const snapshot before(range.get());
    struct {
        ndArray_tag* (*make)(const ndArray_tag*);
        array_ptr wanted;
    } const rows[] = {
        {[](const ndArray_tag* x) { return api::ndMustBeFull(x); }, arr("double 1x5", {-2, -1, 0, 1, 2})},
        {[](const ndArray_tag* x) { return api::ndMustBeSparse(x); }, sparse_of(vector)},
    };
    for (const auto& row : rows) {
        ndArray_tag* const made = row.make(range.get());
        EXPECT_THAT(made, EqualsArray(row.wanted.get()));
        EXPECT_EQ(made->flags & matrix::flag_colon_object, 0U);
        EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE);
        EXPECT_EQ(listed_here(), array_pointers{made});
        api::ndDestroyArray(made);
        EXPECT_EQ(before.difference(), "");
    }
}

TEST_F(MustBe, ErrorsGoTheWayOfTheModule) {
    const array_ptr text = arr("char", u"no");
    const array_ptr huge = sparse_arr("complex double 17592186044416x4", {});
    for_each_module_mode([&](int mode) {
        if (mode == mode_exceptions) {
            EXPECT_THROW(api::ndMustBeSparse(text.get()), no_sparse_form);
            EXPECT_ANY_THROW(api::ndMustBeFull(huge.get()));
        } else {
            EXPECT_EQ(api::ndMustBeSparse(text.get()), nullptr);
            EXPECT_EQ(api::ndMustBeFull(huge.get()), nullptr);
        }
    });
}

} // namespace
} // namespace test
