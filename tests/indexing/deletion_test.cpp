// Deletion of elements, by what is left.
#include "indexing/sub_list.hpp"
#include "indexing/value_text.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/deletion.hpp>
#include <nd/reference.hpp>

#include <random>
#include <set>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using Deletion = NdTest;

void erase(ndArray_tag* x, const sub_list& subs) { api::ndSubscriptedDelete(x, subs.size(), subs.data()); }
array_ptr without(array_ptr x, const sub_list& subs) {
    erase(x.get(), subs);
    return x;
}

struct deletion_row {
    const char* x; ///< numbered
    const char* subs;
    const char* left;
};

const deletion_row rows[] = {
    // one subscript: vectors keep their orientation, anything else becomes a row
    {"double 1x5", "2", "double 1x4 {1, 3, 4, 5}"},
    {"double 5x1", "2", "double 4x1 {1, 3, 4, 5}"},
    {"double 1x1x5", "2", "double 1x1x4 {1, 3, 4, 5}"},
    {"double 3x3", "2", "double 1x8 {1, 3, 4, 5, 6, 7, 8, 9}"},
    {"double 2x1x3", "[1 6]", "double 1x4 {2, 3, 4, 5}"},
    {"double 1x5", "[2 2 3]", "double 1x3 {1, 4, 5}"},
    {"double 1x5", "[2;4]", "double 1x3 {1, 3, 5}"},
    {"double 1x5", "2:4", "double 1x2 {1, 5}"},
    {"double 1x5", "5:-2:1", "double 1x2 {2, 4}"},
    {"double 1x1", "1", "double 1x0"},
    {"double 1x5", "1:5", "double 1x0"},
    {"double 5x1", "1:5", "double 0x1"},
    {"double 1x1x5", "1:5", "double 1x1x0"},
    {"double 2x2", "1:4", "double 1x0"},
    {"char 1x3", "1", "char 1x2 {'B', 'C'}"},
    // masks
    {"double 1x5", "<01010>", "double 1x3 {1, 3, 5}"},
    {"double 1x5", "<00000>", "double 1x5 {1, 2, 3, 4, 5}"},
    {"double 1x5", "<11111>", "double 1x0"},
    {"double 1x5", "<010>", "double 1x4 {1, 3, 4, 5}"},
    {"double 1x5", "<0100000>", "double 1x4 {1, 3, 4, 5}"},
    {"double 2x2", "<0000>", "double 2x2 {1, 2, 3, 4}"},
    {"double 2x2", "<0100>", "double 1x3 {1, 3, 4}"},
    // the colon
    {"double 3x3", ":", "double 0x0"},
    {"double 1x5", ":", "double 0x0"},
    {"double 1x0", ":", "double 0x0"},
    {"double 3x4", ":, :", "double 0x4"},
    {"double 2x3x4", ":, :", "double 0x12"},
    {"double 2x3x4", ":, :, :", "double 0x3x4"},
    {"double 2x3", ":, :, :", "double 0x3"},
    // one of several
    {"double 3x4", ":, 2", "double 3x3 {1, 2, 3, 7, 8, 9, 10, 11, 12}"},
    {"double 3x2", "2, :", "double 2x2 {1, 3, 4, 6}"},
    {"double 3x2", "[1 3], :", "double 1x2 {2, 5}"},
    {"double 3x2", "1:3, :", "double 0x2"},
    {"double 3x2", ":, 1:2", "double 3x0"},
    {"double 1x5", ":, 2", "double 1x4 {1, 3, 4, 5}"},
    {"double 1x5", "1, :", "double 0x5"},
    {"double 2x3", ":, :, 1", "double 2x3x0"},
    {"double 2x2x2", ":, 1, :", "double 2x1x2 {3, 4, 7, 8}"},
    {"double 2x2x2", ":, :, 1", "double 2x2 {5, 6, 7, 8}"},
    {"double 2x2x2", ":, [1 4]", "double 2x2 {3, 4, 5, 6}"},
    {"double 2x2x2", ":, 3", "double 2x3 {1, 2, 3, 4, 7, 8}"},
    {"double 3x4", "<101>, :", "double 1x4 {2, 5, 8, 11}"},
    {"double 3x2", "2, :, :, :, :, :, :, :, :, :, :, :", "double 2x2 {1, 3, 4, 6}"},
    {"double 3x2", ":, :, :, :, :, :, :, :, :, :, :, 1", "double 3x2x1x1x1x1x1x1x1x1x1x0"},
    // nothing to delete
    {"double 3x3", "[]", "double 1x9 {1, 2, 3, 4, 5, 6, 7, 8, 9}"},
    {"double 2x1x2", "[]", "double 1x4 {1, 2, 3, 4}"},
    {"double 1x3", "[]", "double 1x3 {1, 2, 3}"},
    {"double 3x1", "[1x0]", "double 3x1 {1, 2, 3}"},
    {"double 2x1x1", "1:0", "double 2x1 {1, 2}"},
    {"double 2x2", "5:1", "double 1x4 {1, 2, 3, 4}"},
    {"double 1x1x2", "[]", "double 1x1x2 {1, 2}"},
    {"double 2x2", ":, []", "double 2x2 {1, 2, 3, 4}"},
    {"double 0x0", "[]", "double 0x0"},
    {"double 0x3", "[]", "double 0x3"},
    {"double 0x3", "[], 2", "double 0x3"},
    {"double 0x3", "<>, [1 7]", "double 0x3"},
    // arrays without elements that have positions to delete
    {"double 0x3", ":, 2", "double 0x2"},
    {"double 0x3", ":, [1 3]", "double 0x1"},
    {"double 0x3", ":, 1:3", "double 0x0"},
    {"double 3x0", "<010>, :", "double 2x0"},
    {"double 0x3", "<000>", "double 0x3"},
};

TEST_F(Deletion, FollowsItsTable) {
    for (const deletion_row& row : rows) {
        SCOPED_TRACE(std::string(row.x) + " (" + row.subs + ")");
        EXPECT_EQ(value_text(without(numbered(row.x), row.subs)), row.left);
    }
}

// A matrix of the numbers of its elements tells which of them stay, and where.
TEST_F(Deletion, TakesEveryPlainClassInEveryRepresentation) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const std::size_t dims[] = {3, 4};
        const array_ptr value = numbered(c.id, c.complexity, dims);
        for (const char* subs : {":, 2", "[1 3], :", "2, :", "<010010100100>", "3:9", "[2 7 4 7]", "12"}) {
            SCOPED_TRACE(subs);
            const sub_list stay(without(numbered("double 3x4"), subs));
            const array_ptr expected = matrix::subscriptedReference(*value, stay.span());
            for_each_variation(value, [&](array_ptr& x) {
                erase(x.get(), subs);
                EXPECT_THAT(x, EqualsArray(expected.get()));
            });
        }
    });
}

TEST_F(Deletion, AgreesWithReferenceOfWhatStays) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        const std::size_t ndims = 2 + random() % 3;
        std::vector<std::size_t> dims(ndims);
        for (std::size_t& size : dims) size = 1 + random() % 5;
        const bool linear = random() % 3 == 0;
        const std::size_t nsubs = linear ? 1 : 2 + random() % ndims;
        const std::size_t at = random() % nsubs;
        std::size_t dim = at < ndims ? dims[at] : 1;
        if (at + 1 == nsubs)
            for (std::size_t i = nsubs; i < ndims; ++i) dim *= dims[i];
        std::set<std::size_t> gone;
        for (std::size_t n = 1 + random() % dim; n > 0; --n) gone.insert(1 + random() % dim);
        if (gone.size() == dim) continue;
        std::vector<number> positions(gone.begin(), gone.end());
        std::shuffle(positions.begin(), positions.end(), random);
        std::vector<number> stay;
        for (std::size_t i = 1; i <= dim; ++i)
            if (gone.count(i) == 0) stay.emplace_back(i);
        sub_list deleted;
        sub_list kept;
        for (std::size_t i = 0; i < nsubs; ++i) {
            if (i != at) {
                deleted.add(array_ptr(api::ndCreateColonIndex()));
                kept.add(array_ptr(api::ndCreateColonIndex()));
                continue;
            }
            deleted.add(arr("double 1x" + std::to_string(positions.size()), positions));
            kept.add(arr("double 1x" + std::to_string(stay.size()), stay));
        }
        const array_ptr x = numbered(ndINT32_CLASS, ndREAL, dims);
        const array_ptr expected = matrix::subscriptedReference(*x, kept.span());
        erase(x.get(), deleted);
        ASSERT_THAT(x, EqualsArray(expected.get())) << "round " << round;
    }
}

TEST_F(Deletion, LeavesAnArrayRealThatHasNoImaginaryPartLeft) {
    const auto z = [] { return arr("complex double 1x3", {{1, 0}, {2, 5}, {3, 0}}); };
    EXPECT_EQ(value_text(without(z(), "2")), "double 1x2 {1, 3}");
    EXPECT_EQ(value_text(without(z(), "<010>")), "double 1x2 {1, 3}");
    EXPECT_THAT(without(z(), "1"), EqualsArray(arr("complex double 1x2", {{2, 5}, {3, 0}})));
    EXPECT_EQ(value_text(without(z(), "1:3")), "double 1x0");
    EXPECT_EQ(value_text(without(z(), ":")), "double 0x0");
    const auto flat = [] { return arr("complex double 2x2", {{1, 0}, {2, 0}, {3, 0}, {4, 0}}); };
    EXPECT_EQ(value_text(without(flat(), "[]")), "double 1x4 {1, 2, 3, 4}");
    EXPECT_EQ(value_text(without(flat(), ":, []")), "double 2x2 {1, 2, 3, 4}");
    EXPECT_EQ(value_text(without(arr("complex double 0x3"), "[]")), "double 0x3");
    EXPECT_EQ(value_text(without(arr("complex double 0x3"), ":, 1")), "double 0x2");
    EXPECT_TRUE(api::ndIsComplex(without(flat(), "<0000>").get())) << "nothing was selected: nothing happens";
}

TEST_F(Deletion, TellsAScalarDouble) {
    const auto is_scalar_double = [](const array_ptr& x) {
        return (x->flags & matrix::flag_scalar_double) != 0;
    };
    EXPECT_TRUE(is_scalar_double(without(numbered("double 1x2"), "1")));
    EXPECT_FALSE(is_scalar_double(without(numbered("double 1x1"), "1")));
    EXPECT_FALSE(is_scalar_double(without(numbered("single 1x2"), "1")));
}

// Room to spare goes with the block that had it.
TEST_F(Deletion, KeepsTheHeaderAndTheBitsOfTheUser) {
    constexpr std::uint32_t kept = matrix::flag_user_mask | matrix::flag_from_global_workspace;
    for (const char* subs : {"2", "2:399", "[2 4]", ":", "1:400", ":, :", ":, 1:400"}) {
        SCOPED_TRACE(subs);
        array_ptr x = numbered("double 1x300");
        ASSERT_TRUE(api::ndResizeDoubleVector(x.get(), 1, 300, 400, false));
        ASSERT_NE(x->flags & matrix::flag_capacity_tracked, 0u);
        x->flags |= 0x5A000000U | matrix::flag_from_global_workspace;
        const ndArray_tag* const header = x.get();
        erase(x.get(), subs);
        EXPECT_EQ(x.get(), header);
        EXPECT_EQ(x->flags & kept, 0x5A000000U | matrix::flag_from_global_workspace);
        EXPECT_EQ(x->flags & matrix::flag_capacity_tracked, 0u);
    }
}

TEST_F(Deletion, LeavesSparseArraysSparse) {
    const auto full = [] { return arr("double 3x3", {1, 0, 2, 0, 0, 0, 3, 4, 0}); };
    for (const char* subs :
         {":, 2", "1, :", "[1 9]", "<000000010>", ":", "1:9", "[]", "<000000000>", ":, :"}) {
        SCOPED_TRACE(subs);
        for_each_variation(sparse_of(full()), [&](array_ptr& x) {
            erase(x.get(), subs);
            EXPECT_THAT(x, EqualsArray(sparse_of(without(full(), subs))));
        });
    }
}

// Complex ones, logical ones, and subscripts beyond the two dimensions.
TEST_F(Deletion, LeavesSparseArraysSparseInEveryClass) {
    const auto full = [](const char* class_name) {
        const bool complex = std::string_view(class_name).starts_with("complex");
        return arr(std::string(class_name) + " 3x3", {1, 0, {1, complex ? 5 : 0}, 0, 0, 0, 1, 1, 0});
    };
    for (const char* class_name : {"double", "complex double", "single", "complex single", "logical"}) {
        for (const char* subs : {"3", "3, :", ":, 1", "1, :", "[4 5]", "[]", ":", "1:9", ":, :, 1",
                                 ":, :, :", ":, :, []", ":, :, <0>"}) {
            SCOPED_TRACE(std::string(class_name) + " (" + subs + ")");
            const array_ptr x = sparse_of(full(class_name));
            erase(x.get(), subs);
            EXPECT_THAT(x, EqualsArray(sparse_of(without(full(class_name), subs))));
        }
    }
    const array_ptr third = sparse_of(full("double"));
    erase(third.get(), ":, :, 1");
    EXPECT_EQ(api::ndGetM(third.get()), 3u);
    EXPECT_EQ(api::ndGetN(third.get()), 0u);
    const array_ptr flat = sparse_arr("complex double 3x3", {{1, 1, {2, 0}}});
    erase(flat.get(), "<000000000>");
    EXPECT_TRUE(api::ndIsComplex(flat.get()));
    erase(flat.get(), ":, []");
    EXPECT_FALSE(api::ndIsComplex(flat.get()));
}

// As full arrays they would be larger than any memory.
TEST_F(Deletion, NeedsNoElementsOfASparseArrayWhereAllOrNoneGo) {
    struct row {
        const char* subs;
        std::size_t m;
        std::size_t n;
    };
    const row wide_rows[] = {{":", 0, 0},
                             {":, :", 0, 1 << 20},
                             {":, []", 1 << 20, 1 << 20},
                             {"[], :", 1 << 20, 1 << 20},
                             {"1:1048576, :", 0, 1 << 20},
                             {":, 1:1048576", 1 << 20, 0},
                             {"<0>", 1 << 20, 1 << 20}};
    for (const row& expected : wide_rows) {
        SCOPED_TRACE(expected.subs);
        const array_ptr x = sparse_arr("double 1048576x1048576", {{5, 7, 2.5}});
        erase(x.get(), expected.subs);
        EXPECT_TRUE(api::ndIsSparse(x.get()));
        EXPECT_EQ(api::ndGetM(x.get()), expected.m);
        EXPECT_EQ(api::ndGetN(x.get()), expected.n);
    }
}

TEST_F(Deletion, ShortensTheVectorOfAColonObject) {
    const auto range = [] { return matrix::create_colon_object(1, 1, 5); };
    EXPECT_EQ(value_text(without(range(), "2")), "double 1x4 {1, 3, 4, 5}");
    EXPECT_EQ(value_text(without(range(), "[]")), "double 1x5 {1, 2, 3, 4, 5}");
    EXPECT_EQ(value_text(without(range(), ":")), "double 0x0");
}

// A row as long as operands take isn't a range by that.
TEST_F(Deletion, MakesNoRangeOfWhatIsNone) {
    const auto square = [] { // 0 3 in the first column, 9 2 in the second
        array_ptr x = matrix::create_int_colon_object(3LL, 2LL, 9LL, ndINT64_CLASS);
        api::ndSetM(x.get(), 2);
        api::ndSetN(x.get(), 2);
        return x;
    };
    EXPECT_EQ(value_text(without(square(), "4")), "int64 1x3 {0, 3, 9}");
    EXPECT_EQ(value_text(without(square(), "[]")), "int64 1x4 {0, 3, 9, 2}");
    EXPECT_EQ(value_text(without(square(), "2, :")), "int64 1x2 {0, 9}");
    EXPECT_EQ(value_text(without(square(), ":")), "int64 0x0");
    EXPECT_FALSE(api::ndIsColonObj(without(square(), "4").get()));
    const array_ptr x = square();
    EXPECT_ANY_THROW(erase(x.get(), "1, 1"));
    EXPECT_TRUE(api::ndIsColonObj(x.get())) << "as it was";
}

struct emptied_row {
    std::vector<std::size_t> made;
    std::vector<std::size_t> set;
    const char* subs;
    std::vector<std::size_t> left;
};

const emptied_row emptied_rows[] = {
    {{3, 4}, {3, 0}, "2, :", {2, 0}},
    {{3, 4}, {3, 0}, "1:2, :", {1, 0}},
    {{3, 4}, {3, 0}, "[1 3], :", {1, 0}},
    {{3, 4}, {3, 0}, "<010>, :", {2, 0}},
    {{3, 4}, {0, 4}, ":, 2", {0, 3}},
    {{3, 4}, {0, 4}, ":, [4 1]", {0, 2}},
    {{2, 3, 2}, {2, 3, 0}, ":, 2, :", {2, 2, 0}},
    {{2, 3, 2}, {2, 3, 0}, ":, <101>, :", {2, 1, 0}},
};

// A size that is set to 0 leaves the block where it is. Nothing of it is moved.
TEST_F(Deletion, MovesNothingOfABlockWithoutElements) {
    for (const emptied_row& row : emptied_rows) {
        for_each_class(class_set::all, [&](const class_case& c) {
            if (c.id == ndUNKNOWN_CLASS || c.id == ndSTRUCT_CLASS || c.id == ndOBJECT_CLASS)
                return; // refused, or made by other functions
            SCOPED_TRACE(row.subs);
            const array_ptr x = matrix::create(row.made, c.id, ndREAL);
            ASSERT_EQ(api::ndSetDimensions(x.get(), row.set.data(), row.set.size()), 0);
            erase(x.get(), row.subs);
            const kvSize* const dims = api::ndGetDimensions(x.get());
            EXPECT_EQ(std::vector<std::size_t>(dims, dims + api::ndGetNumberOfDimensions(x.get())), row.left);
        });
    }
}

// Long enough for every way that elements close up, with runs of all lengths between those that go.
TEST_F(Deletion, ClosesUpLongArrays) {
    std::mt19937 random(3);
    for_each_class(class_set::with_bytes, [&](const class_case& c) {
        for (const std::size_t height : {1UL, 3UL}) {
            const std::size_t dims[] = {height, 1000};
            array_ptr x = numbered(c.id, c.complexity, dims);
            std::vector<number> mask(1000, 0);
            std::vector<number> stay;
            for (std::size_t i = 0; i < 1000; ++i) {
                const bool goes = random() % (1 + i / 100) == 0;
                mask[i] = goes ? 1 : 0;
                if (!goes) stay.emplace_back(i + 1);
            }
            sub_list kept(":");
            kept.add(arr("double 1x" + std::to_string(stay.size()), stay));
            const array_ptr expected = matrix::subscriptedReference(*x, kept.span());
            erase(x.get(), sub_list(":").add(arr("logical 1x1000", mask)));
            ASSERT_THAT(x, EqualsArray(expected.get()));
        }
    });
}

} // namespace
} // namespace test
