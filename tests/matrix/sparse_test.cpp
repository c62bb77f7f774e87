// Sparse storage: what creators make, what the accessors of index vectors do, and the search in them.
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sparse_parts.hpp"
#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>
#include <nd/share.hpp>
#include <nd/sizes.hpp>
#include <nd/sparse.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_create_sparse;
using matrix::internal::validate;
using indices = std::vector<kvIndex>;

template <class Id>
using error_of = foundation::core::except::Exception<Id, std::exception, void>;
using no_sparse_form = error_of<TARVEL::legacy_two_part::unimplementedSparseType>;
using out_of_range = error_of<TARVEL::matrix::indexExceedsDims>;

indices starts_of(const ndArray_tag* array) {
    const kvIndex* const starts = api::ndGetJc(array);
    return {starts, starts + array->n_or_ndims + 1};
}

indices rows_of(const ndArray_tag* array) {
    const kvIndex* const rows = api::ndGetIr(array);
    return {rows, rows + api::ndGetNumNonZeroEl(array)};
}

// A vector of the library's heap, for an array to adopt.
kvIndex* vector_of(const indices& values) {
    auto* const block = static_cast<kvIndex*>(api::ndMallocEx(values.size() * sizeof(kvIndex)));
    std::copy(values.begin(), values.end(), block);
    return block;
}

// ---- creation

using SparseCreation = NdTest;

struct shape {
    std::size_t m, n, nzmax, room;
};
constexpr shape shapes[] = {{3, 3, 0, 1}, {3, 3, 5, 5},    {0, 0, 0, 1},
                            {0, 4, 2, 2}, {4, 0, 0, 1},    {1, 1, 1, 1},
                            {2, 3, 7, 7}, {1, 1000, 0, 1}, {std::size_t{1} << 40, 3, 2, 2}};

struct sparse_kind {
    ndClassID id;
    ndComplexity asked, made;
    std::size_t element_size;
};
constexpr sparse_kind kinds[] = {
    {ndDOUBLE_CLASS, ndREAL, ndREAL, 8},          {ndDOUBLE_CLASS, ndCOMPLEX, ndCOMPLEX, 16},
    {ndSINGLE_CLASS, ndREAL, ndREAL, 4},          {ndSINGLE_CLASS, ndCOMPLEX, ndCOMPLEX, 8},
    {ndLOGICAL_CLASS, ndREAL, ndREAL, 1},         {ndLOGICAL_CLASS, ndCOMPLEX, ndREAL, 1},
    {ndDOUBLE_CLASS, ndComplexity(2), ndREAL, 8},
};

bool is_zero(const void* block, std::size_t bytes) {
    const auto* const all = static_cast<const unsigned char*>(block);
    return std::all_of(all, all + bytes, [](unsigned char byte) { return byte == 0; });
}

void expect_new_sparse(const ndArray_tag* array, const sparse_kind& kind, const shape& s, bool zeroed) {
    EXPECT_EQ(validate(array), "");
    EXPECT_EQ(array->class_id, kind.id);
    EXPECT_EQ(api::ndIsComplex(array), kind.made == ndCOMPLEX);
    EXPECT_EQ(api::ndIsNumeric(array), kind.id != ndLOGICAL_CLASS);
    EXPECT_TRUE(api::ndIsSparse(array));
    EXPECT_FALSE(api::ndIsScalarDoubleFlagSet(array));
    EXPECT_EQ(array->flags & matrix::flag_cached_header, 0U);
    EXPECT_EQ(api::ndGetM(array), s.m);
    EXPECT_EQ(api::ndGetN(array), s.n);
    EXPECT_EQ(api::ndGetElementSize(array), kind.element_size);
    EXPECT_EQ(api::ndGetNzmax(array), s.room);
    EXPECT_EQ(api::ndGetNumNonZeroEl(array), 0U);
    EXPECT_EQ(starts_of(array), indices(s.n + 1, 0));
    ASSERT_NE(array->pdata, nullptr);
    ASSERT_NE(api::ndGetIr(array), nullptr);
    if (!zeroed) return;
    EXPECT_TRUE(is_zero(array->pdata, s.room * kind.element_size));
    EXPECT_TRUE(is_zero(api::ndGetIr(array), s.room * sizeof(kvIndex)));
}

TEST_F(SparseCreation, EveryClassShapeAndRoom) {
    for (const sparse_kind& kind : kinds) {
        for (const shape& s : shapes) {
            SCOPED_TRACE(std::to_string(kind.id) + ": " + std::to_string(s.m) + "x" + std::to_string(s.n) +
                         " for " + std::to_string(s.nzmax));
            for (const bool zeroed : {true, false}) {
                const array_ptr array = do_create_sparse(s.m, s.n, s.nzmax, kind.id, kind.asked, zeroed);
                EXPECT_EQ(array->scope, ndLOCAL_SCOPE);
                expect_new_sparse(array.get(), kind, s, zeroed);
            }
            expect_new_sparse(keep(api::ndCreateSparseNumericMatrix(s.m, s.n, s.nzmax, kind.id, kind.asked)),
                              kind, s, true);
            if (kind.id == ndDOUBLE_CLASS)
                expect_new_sparse(keep(api::ndCreateSparse(s.m, s.n, s.nzmax, kind.asked)), kind, s, true);
            if (kind.id == ndLOGICAL_CLASS)
                expect_new_sparse(keep(api::ndCreateSparseLogicalMatrix(s.m, s.n, s.nzmax)), kind, s, true);
        }
    }
}

// What a block held before doesn't show: column starts are zeroed even where nothing else is.
TEST_F(SparseCreation, ColumnStartsAreZeroInUsedMemory) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    for (int round = 0; round < 20; ++round) {
        void* const used = heap.malloc(101 * sizeof(kvIndex));
        std::memset(used, 0xAB, 101 * sizeof(kvIndex));
        heap.free(used);
        const array_ptr array = do_create_sparse(5, 100, 101, ndDOUBLE_CLASS, ndREAL, false);
        EXPECT_EQ(starts_of(array.get()), indices(101, 0));
        EXPECT_EQ(validate(array.get()), "");
    }
}

TEST_F(SparseCreation, TheSwitchForSinglesIsForConversions) {
    foundation::test_hooks::set_feature("SingleSparse", 0);
    const array_ptr array = do_create_sparse(2, 2, 1, ndSINGLE_CLASS, ndREAL, true);
    foundation::test_hooks::reset_features();
    EXPECT_EQ(validate(array.get()), "");
}

TEST_F(SparseCreation, ClassesWithoutASparseFormAreRefused) {
    std::vector<int> refused{-1, 19, 31, 32, 38, 64, 99};
    for (int id = 0; id <= ndOBJECT_CLASS; ++id) {
        if (!matrix::internal::may_be_sparse(id)) refused.push_back(id);
    }
    for (const int id : refused) {
        SCOPED_TRACE(id);
        const auto class_id = static_cast<ndClassID>(id);
        for (const ndComplexity complexity : {ndREAL, ndCOMPLEX}) {
            EXPECT_THROW(do_create_sparse(2, 2, 1, class_id, complexity, true), no_sparse_form);
            with_module_mode(mode_exceptions, [&] {
                EXPECT_THROW(api::ndCreateSparseNumericMatrix(2, 2, 1, class_id, complexity), no_sparse_form);
            });
            with_module_mode(mode_null_results, [&] {
                EXPECT_EQ(api::ndCreateSparseNumericMatrix(2, 2, 1, class_id, complexity), nullptr);
            });
        }
    }
}

struct too_large {
    std::size_t m, n, nzmax;
};

TEST_F(SparseCreation, AboveTheCeilingIsRefused) {
    constexpr std::size_t half = std::size_t{1} << 24;
    constexpr std::size_t most = ~std::size_t{0};
    constexpr too_large cases[] = {
        {half, half, 0},
        {most, 1, 1},
        {1, most, 1},
        {most, most, most},
        {0, most, 0},
        {0, std::size_t{1} << 45, 0}, // the column starts alone
        {1, 1, std::size_t{1} << 44},
        {0, 0, most}, // the room alone
    };
    for (const too_large& c : cases) {
        EXPECT_THROW(do_create_sparse(c.m, c.n, c.nzmax, ndDOUBLE_CLASS, ndREAL, true),
                     error_of<TARVEL::legacy_two_part::pmaxsize>);
        for_each_module_mode([&](int mode) {
            if (mode == mode_exceptions) {
                EXPECT_THROW(api::ndCreateSparse(c.m, c.n, c.nzmax, ndREAL),
                             error_of<TARVEL::legacy_two_part::pmaxsize>);
            } else {
                EXPECT_EQ(api::ndCreateSparse(c.m, c.n, c.nzmax, ndREAL), nullptr);
            }
        });
    }
    const array_ptr tall = do_create_sparse(most, 0, 1, ndDOUBLE_CLASS, ndREAL, true);
    EXPECT_EQ(validate(tall.get()), "");
}

// A limit of exactly the bytes that a shape needs lets it pass; a byte less doesn't.
TEST_F(SparseCreation, AllThreeBlocksCountForTheUsersLimit) {
    struct row {
        ndClassID id;
        ndComplexity complexity;
        std::size_t m, n, nzmax, bytes;
    };
    constexpr row rows[] = {
        {ndDOUBLE_CLASS, ndREAL, 10, 4, 50, 50 * 8 + 50 * 8 + 5 * 8},
        {ndDOUBLE_CLASS, ndCOMPLEX, 10, 4, 50, 50 * 16 + 50 * 8 + 5 * 8},
        {ndSINGLE_CLASS, ndREAL, 10, 9, 50, 50 * 4 + 50 * 8 + 10 * 8},
        {ndLOGICAL_CLASS, ndREAL, 10, 4, 50, 50 * 1 + 50 * 8 + 5 * 8},
        {ndLOGICAL_CLASS, ndCOMPLEX, 10, 4, 50, 50 * 1 + 50 * 8 + 5 * 8},
        {ndDOUBLE_CLASS, ndREAL, 0, 4, 0, 8 + 8 + 5 * 8},
    };
    for (const row& r : rows) {
        for (const bool fits : {true, false}) {
            const size_limit_scope limit(fits ? r.bytes : r.bytes - 1, 100);
            if (fits) {
                EXPECT_NE(do_create_sparse(r.m, r.n, r.nzmax, r.id, r.complexity, true), nullptr);
                continue;
            }
            EXPECT_THROW(do_create_sparse(r.m, r.n, r.nzmax, r.id, r.complexity, true),
                         matrix::internal::SizeLimitExceeded);
        }
    }
}

// ---- index vectors

using SparseAccess = NdTest;

array_ptr three_by_four() {
    return sparse_arr("double 3x4", {{0, 0, 1}, {2, 0, 2}, {1, 2, 3}, {0, 3, 4}, {1, 3, 5}, {2, 3, 6}}, 9);
}

TEST_F(SparseAccess, GettersAreReadsOfTheHeader) {
    for_each_variation(three_by_four(), [](array_ptr& x) {
        EXPECT_EQ(starts_of(x.get()), (indices{0, 2, 2, 3, 6}));
        EXPECT_EQ(rows_of(x.get()), (indices{0, 2, 1, 0, 1, 2}));
        EXPECT_EQ(api::ndGetNumNonZeroEl(x.get()), 6U);
        EXPECT_GE(api::ndGetNzmax(x.get()), 9U);
        EXPECT_EQ(api::ndGetNzmax(x.get()), x->info_c);
        EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 12U);
    });
}

TEST_F(SparseAccess, AHeaderWithoutVectorsStoresNothing) {
    const array_ptr skeleton(api::ndCreateSkeletonCopy(three_by_four().get(), ndREAL));
    EXPECT_EQ(api::ndGetIr(skeleton.get()), nullptr);
    EXPECT_EQ(api::ndGetJc(skeleton.get()), nullptr);
    EXPECT_EQ(api::ndGetNumNonZeroEl(skeleton.get()), 0U);
    EXPECT_EQ(matrix::find_sparse_k(skeleton.get(), 2, 3), 0U);
    EXPECT_EQ(matrix::find_sparse_k(skeleton.get(), 0, 4), 0U);
    const array_ptr empty(api::ndCreateEmptyCopy(three_by_four().get()));
    EXPECT_EQ(starts_of(empty.get()), indices{0});
    EXPECT_EQ(api::ndGetNzmax(empty.get()), 1U);
    const array_ptr without_rows = three_by_four();
    const std::uint64_t rows = std::exchange(without_rows->info_a, 0);
    EXPECT_EQ(matrix::find_sparse_k(without_rows.get(), 2, 3), 0U);
    EXPECT_EQ(matrix::find_sparse_k(without_rows.get(), 0, 4), 0U);
    without_rows->info_a = rows;
}

// The same words mean other things in arrays that aren't sparse.
TEST_F(SparseAccess, OfOtherArraysIsNothing) {
    const array_ptr rows[] = {arr("double 2x3"), arr("int8 2x2x2"), arr("cell 1x2"),
                              struct_arr("2x2", {"a", "b"}), arr("char 0x0")};
    const std::size_t elements[] = {6, 8, 2, 4, 0};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const array_ptr& array = rows[i];
        const snapshot before(array.get());
        EXPECT_EQ(api::ndGetIr(array.get()), nullptr);
        EXPECT_EQ(api::ndGetJc(array.get()), nullptr);
        EXPECT_EQ(api::ndGetNzmax(array.get()), 0U);
        EXPECT_EQ(api::ndGetNumNonZeroEl(array.get()), elements[i]);
        kvIndex vector[4] = {};
        api::ndSetIr(array.get(), vector);
        api::ndSetJc(array.get(), vector);
        api::ndSetNzmax(array.get(), 5);
        EXPECT_EQ(before.difference(), "");
    }
}

struct setter {
    const char* name;
    void (*set)(ndArray_tag* array, kvIndex* vector);
    kvIndex* (*get)(const ndArray_tag* array);
    indices fresh; ///< another valid vector for three_by_four()
};

const setter setters[] = {
    {"ndSetIr", api::ndSetIr, api::ndGetIr, {0, 1, 2, 0, 1, 2, 7, 7, 7}},
    {"ndSetJc", api::ndSetJc, api::ndGetJc, {0, 2, 3, 3, 6}},
};

TEST_F(SparseAccess, SettersStoreTheVectorAndFreeNothing) {
    for (const setter& s : setters) {
        SCOPED_TRACE(s.name);
        const array_ptr array = three_by_four();
        kvIndex* const old = s.get(array.get());
        kvIndex* const other_before =
            s.get == api::ndGetIr ? api::ndGetJc(array.get()) : api::ndGetIr(array.get());
        void* const values = array->pdata;
        kvIndex* const fresh = vector_of(s.fresh);
        s.set(array.get(), fresh);
        EXPECT_EQ(s.get(array.get()), fresh);
        EXPECT_EQ(s.get == api::ndGetIr ? api::ndGetJc(array.get()) : api::ndGetIr(array.get()),
                  other_before);
        EXPECT_EQ(array->pdata, values);
        EXPECT_EQ(validate(array.get()), "");
        api::ndFreeEx(old); // the caller's now
        s.set(array.get(), fresh);
        EXPECT_EQ(s.get(array.get()), fresh) << "the same once more changes nothing";
    }
}

// The others keep the vectors that they had; the array that was given another has blocks of its own.
TEST_F(SparseAccess, SettersOfSharedArraysLeaveTheOthersAlone) {
    for (const setter& s : setters) {
        SCOPED_TRACE(s.name);
        const array_ptr sharer = three_by_four();
        const array_ptr array = matrix::detail::do_shared_copy(sharer.get());
        const array_ptr third = matrix::detail::do_shared_copy(sharer.get());
        s.set(array.get(), s.get(array.get()));
        EXPECT_TRUE(api::ndIsSharedArray(array.get())) << "its own vector changes nothing";
        s.set(array.get(), vector_of(s.fresh));
        EXPECT_FALSE(api::ndIsSharedArray(array.get()));
        EXPECT_NE(array->pdata, sharer->pdata);
        EXPECT_EQ(indices(s.get(array.get()), s.get(array.get()) + 4),
                  indices(s.fresh.begin(), s.fresh.begin() + 4));
        EXPECT_THAT(sharer, EqualsArray(three_by_four()));
        EXPECT_THAT(third, EqualsArray(three_by_four()));
        EXPECT_EQ(validate(array.get()), "");
    }
}

struct changed_columns {
    std::size_t columns;
    indices starts;
};

// More or fewer columns of a sharer, then the starts of so many: the old starts say nothing of them. The rest comes along.
TEST_F(SparseAccess, StartsOfOtherColumnsTakeThePlaceOfSharedOnes) {
    indices many(201, 6);
    many[0] = 0;
    std::copy_n(indices{2, 2, 3}.begin(), 3, many.begin() + 1);
    const changed_columns cases[] = {
        {200, many}, {4, {0, 2, 2, 3, 6}}, {2, {0, 2, 2}}, {1, {0, 2}}, {0, {0}}};
    const auto shared = [](ndArray_tag* lender) { return matrix::detail::do_shared_copy(lender); };
    const auto lent = [](ndArray_tag* lender) {
        return matrix::createReshapedView(lender, std::array<std::size_t, 2>{3, 4});
    };
    for (const auto share : {+shared, +lent}) {
        for (const changed_columns& c : cases) {
            SCOPED_TRACE(c.columns);
            const array_ptr sharer = three_by_four();
            const array_ptr array = share(sharer.get());
            api::ndSetN(array.get(), c.columns);
            api::ndSetJc(array.get(), vector_of(c.starts));
            EXPECT_NE(array->pdata, sharer->pdata);
            EXPECT_NE(api::ndGetIr(array.get()), api::ndGetIr(sharer.get()));
            EXPECT_EQ(starts_of(array.get()), c.starts);
            const std::size_t stored = c.starts.back();
            const indices rows{0, 2, 1, 0, 1, 2};
            EXPECT_EQ(rows_of(array.get()), indices(rows.begin(), rows.begin() + stored));
            const auto* const values = static_cast<const double*>(array->pdata);
            for (std::size_t k = 0; k < stored; ++k) EXPECT_EQ(values[k], static_cast<double>(k + 1));
            EXPECT_EQ(validate(array.get()), "");
            EXPECT_THAT(sharer, EqualsArray(three_by_four()));
            api::ndSetIr(array.get(), api::ndGetIr(array.get()));
            EXPECT_EQ(validate(array.get()), "") << "the rows may follow";
        }
    }
}

// A vector that nobody needs any more isn't copied.
TEST_F(SparseAccess, SettersDontCopyWhatTheyReplace) {
    for (const setter& s : setters) {
        const array_ptr sharer = three_by_four();
        const array_ptr array = matrix::detail::do_shared_copy(sharer.get());
        kvIndex* const fresh = vector_of(s.fresh);
        const heap_watch heap;
        s.set(array.get(), fresh);
        EXPECT_EQ(heap.requests().size(), 2U) << s.name;
        EXPECT_TRUE(heap.freed().empty()) << s.name;
    }
}

// Starts that tell of more than there is room for: what a copy writes ends with its room.
TEST_F(SparseAccess, CopiesStayWithinTheirRoom) {
    const array_ptr array = three_by_four();
    const kvIndex stored = std::exchange(api::ndGetJc(array.get())[4], 1000000);
    const array_ptr copy = matrix::detail::do_deep_copy(array.get());
    EXPECT_EQ(api::ndGetJc(copy.get())[4], 1000000U);
    for (const array_ptr* const x : {&array, &copy}) api::ndGetJc(x->get())[4] = stored;
    EXPECT_THAT(copy, EqualsArray(three_by_four()));
}

// Another owner of the block lends it; the view gets blocks of its own.
TEST_F(SparseAccess, SettersOfViewsLeaveTheLenderAlone) {
    for (const setter& s : setters) {
        SCOPED_TRACE(s.name);
        const array_ptr lender = three_by_four();
        const std::size_t dims[] = {3, 4};
        const array_ptr view = matrix::createReshapedView(lender.get(), dims);
        s.set(view.get(), vector_of(s.fresh));
        EXPECT_NE(view->pdata, lender->pdata);
        EXPECT_EQ(validate(view.get()), "");
        EXPECT_THAT(lender, EqualsArray(three_by_four()));
    }
}

TEST_F(SparseAccess, NzmaxIsWhatItIsSaidToBe) {
    const array_ptr array = three_by_four();
    void* const values = array->pdata;
    kvIndex* const rows = api::ndGetIr(array.get());
    for (const kvSize nzmax : {kvSize{6}, kvSize{1} << 40, kvSize{9}}) {
        api::ndSetNzmax(array.get(), nzmax);
        EXPECT_EQ(api::ndGetNzmax(array.get()), nzmax);
        EXPECT_EQ(array->pdata, values);
        EXPECT_EQ(api::ndGetIr(array.get()), rows);
    }
}

// Room that no memory holds. As bytes it would wrap: to none, to a few, to nearly all there are.
TEST_F(SparseAccess, RoomBeyondAllMemoryIsRefused) {
    using action = void (*)(ndArray_tag * array);
    constexpr action deep_copy = [](ndArray_tag* x) { matrix::detail::do_deep_copy(x); };
    constexpr action uninitialised_copy = [](ndArray_tag* x) { matrix::create_uninit_data_copy(x); };
    constexpr action split = [](ndArray_tag* x) { x->split_data(true); };
    constexpr kvSize two_to_60 = kvSize{1} << 60;
    constexpr kvSize most = ~kvSize{0};
    struct {
        const char* name;
        action act;
        kvSize room;
    } constexpr rows[] = {
        {"deep copy", deep_copy, 2 * two_to_60},
        {"deep copy", deep_copy, 2 * two_to_60 + 1},
        {"deep copy", deep_copy, most},
        {"copy without values", uninitialised_copy, 2 * two_to_60},
        {"copy without values", uninitialised_copy, 2 * two_to_60 + 1},
        {"copy without values", uninitialised_copy, most},
        {"imaginary parts", api::ndInflateRealToComplex, two_to_60},
        {"imaginary parts", api::ndInflateRealToComplex, two_to_60 + 1},
        {"imaginary parts", api::ndInflateRealToComplex, most},
        {"separate parts", split, 2 * two_to_60},
        {"separate parts", split, 2 * two_to_60 + 1},
        {"separate parts", split, most},
    };
    const module_mode_scope mode(mode_exceptions);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ", " + std::to_string(row.room));
        const array_ptr array = three_by_four();
        api::ndSetNzmax(array.get(), row.room);
        EXPECT_THROW(row.act(array.get()), foundation::core::except::bad_alloc);
        api::ndSetNzmax(array.get(), 9);
        EXPECT_THAT(array, EqualsArray(three_by_four()));
    }
}

// As an addon function makes room.
TEST_F(SparseAccess, AnArrayGrowsByNewBlocks) {
    const array_ptr array = sparse_arr("double 3x2", {{1, 0, 1.5}});
    constexpr std::size_t room = 4;
    api::ndSetData(array.get(), api::ndReallocEx(array->pdata, room * sizeof(double)), nullptr);
    api::ndSetIr(array.get(),
                 static_cast<kvIndex*>(api::ndReallocEx(api::ndGetIr(array.get()), room * sizeof(kvIndex))));
    api::ndSetNzmax(array.get(), room);
    static_cast<double*>(array->pdata)[1] = 2.5;
    api::ndGetIr(array.get())[1] = 2;
    api::ndGetJc(array.get())[2] = 2;
    EXPECT_THAT(array, EqualsArray(sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}})));
    EXPECT_EQ(api::ndGetNzmax(array.get()), room);
}

TEST_F(SparseAccess, DeepCopiesHaveTheRoomAndWhatIsStored) {
    for_each_variation(three_by_four(), [](array_ptr& x) {
        const array_ptr copy = matrix::detail::do_deep_copy(x.get());
        EXPECT_THAT(copy, EqualsArray(three_by_four()));
        EXPECT_EQ(api::ndGetNzmax(copy.get()), api::ndGetNzmax(x.get()));
        EXPECT_NE(api::ndGetIr(copy.get()), api::ndGetIr(x.get()));
        EXPECT_NE(api::ndGetJc(copy.get()), api::ndGetJc(x.get()));
        const array_ptr shared = matrix::detail::do_shared_copy(x.get());
        EXPECT_EQ(api::ndGetIr(shared.get()), api::ndGetIr(x.get()));
        EXPECT_EQ(api::ndGetJc(shared.get()), api::ndGetJc(x.get()));
    });
}

// ---- find_sparse_k

using FindSparse = NdTest;

TEST_F(FindSparse, GivesTheFirstValueAtOrBehind) {
    // column 0: rows 0 and 2; column 1: nothing; column 2: row 1; column 3: all
    const array_ptr array = three_by_four();
    struct row {
        kvIndex row, column, expected;
    };
    constexpr row rows[] = {
        {0, 0, 0}, {1, 0, 1}, {2, 0, 1},            // stored, between, stored
        {0, 1, 2}, {1, 1, 2}, {2, 1, 2},            // an empty column: where the next starts
        {0, 2, 2}, {1, 2, 2}, {2, 2, 3},            // before, at, behind the only one
        {0, 3, 3}, {1, 3, 4}, {2, 3, 5}, {0, 4, 6}, // the end
    };
    for_each_variation(array, [&](array_ptr& x) {
        for (const row& r : rows)
            EXPECT_EQ(matrix::find_sparse_k(x.get(), r.row, r.column), r.expected)
                << r.row << "," << r.column;
    });
}

TEST_F(FindSparse, OfTrailingEmptyColumnsIsTheStoredCount) {
    const array_ptr array = sparse_arr("logical 2x4", {{1, 0, 1}});
    for (kvIndex column = 1; column < 4; ++column) {
        for (kvIndex row = 0; row < 2; ++row) EXPECT_EQ(matrix::find_sparse_k(array.get(), row, column), 1U);
    }
    EXPECT_EQ(matrix::find_sparse_k(array.get(), 0, 4), 1U);
}

TEST_F(FindSparse, OutOfRangeIsAnErrorInEveryMode) {
    struct row {
        const char* shape;
        kvIndex row, column;
        std::uint64_t subscript;
        const char* dims;
    };
    constexpr kvIndex most = ~kvIndex{0};
    const row rows[] = {
        {"double 3x4", 1, 4, 2, "3x4"}, {"double 3x4", 3, 0, 1, "3x4"},    {"double 3x4", 3, 4, 1, "3x4"},
        {"double 3x4", 0, 5, 2, "3x4"}, {"double 3x4", most, 0, 1, "3x4"}, {"double 3x4", 0, most, 2, "3x4"},
        {"double 0x4", 0, 0, 1, "0x4"}, {"double 4x0", 1, 0, 2, "4x0"},    {"double 0x0", 1, 0, 1, "0x0"},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(std::string(r.shape) + " at " + std::to_string(r.row) + "," + std::to_string(r.column));
        const array_ptr array = sparse_arr(r.shape, {});
        for_each_module_mode([&](int) {
            try {
                matrix::find_sparse_k(array.get(), r.row, r.column);
                ADD_FAILURE() << "nothing was raised";
            } catch (const out_of_range& error) {
                const TARVEL::matrix::indexExceedsDims wanted(r.subscript, r.dims);
                EXPECT_EQ(std::string(error.what()), std::string(out_of_range(wanted).what()));
            }
        });
    }
    EXPECT_EQ(matrix::find_sparse_k(sparse_arr("double 0x4", {}).get(), 0, 4), 0U);
    EXPECT_EQ(matrix::find_sparse_k(sparse_arr("double 4x0", {}).get(), 0, 0), 0U);
}

// Against a walk over all values, for every element of random patterns.
TEST_F(FindSparse, AgreesWithALinearSearch) {
    std::mt19937_64 random(81);
    for (int round = 0; round < 60; ++round) {
        const std::size_t m = random() % 40 + 1;
        const std::size_t n = random() % 6 + 1;
        const unsigned density = random() % 11;
        std::vector<stored_value> values;
        for (std::size_t i = 0; i < m * n; ++i) {
            if (random() % 10 < density) values.push_back({i % m, i / m, 1});
        }
        const array_ptr array = sparse_arr("double " + std::to_string(m) + "x" + std::to_string(n), values);
        for (std::size_t i = 0; i < m * n; ++i) {
            const auto first = std::find_if(values.begin(), values.end(),
                                            [&](const stored_value& v) { return v.column * m + v.row >= i; });
            ASSERT_EQ(matrix::find_sparse_k(array.get(), i % m, i / m),
                      static_cast<std::size_t>(first - values.begin()))
                << m << "x" << n << " at " << i;
        }
        EXPECT_EQ(matrix::find_sparse_k(array.get(), 0, n), values.size());
    }
}

TEST_F(FindSparse, ReachesVeryTallColumns) {
    constexpr std::size_t tall = std::size_t{1} << 40;
    const array_ptr array = sparse_arr("double 1099511627776x3",
                                       {{0, 0, 1}, {tall - 1, 0, 2}, {tall / 2, 2, 3}, {tall - 1, 2, 4}});
    EXPECT_EQ(matrix::find_sparse_k(array.get(), 1, 0), 1U);
    EXPECT_EQ(matrix::find_sparse_k(array.get(), tall - 1, 0), 1U);
    EXPECT_EQ(matrix::find_sparse_k(array.get(), tall - 1, 1), 2U);
    EXPECT_EQ(matrix::find_sparse_k(array.get(), tall / 2, 2), 2U);
    EXPECT_EQ(matrix::find_sparse_k(array.get(), tall / 2 + 1, 2), 3U);
    EXPECT_THROW(matrix::find_sparse_k(array.get(), tall, 0), out_of_range);
}

} // namespace
} // namespace test
