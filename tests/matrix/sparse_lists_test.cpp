// Sparse arrays and the two lists of an engine: temporaries, and vectors that addon functions allocated.
#include "matrix/lists_fixture.hpp"
#include "matrix/sparse_parts.hpp"
#include "matrix/validate.hpp"
#include "support/array_matchers.hpp"
#include "support/sparse_arr.hpp"

#include <nd/sparse.hpp>

#include <algorithm>

namespace test {
namespace {

using matrix::array_ptr;

using SparseLists = ListsTest;

std::vector<void*> listed_blocks() { return matrix::internal::find_context()->alloc_list.all_entries(); }

kvIndex* managed_vector(std::initializer_list<kvIndex> values) {
    auto* const vector = static_cast<kvIndex*>(api::ndMalloc(values.size() * sizeof(kvIndex)));
    std::copy(values.begin(), values.end(), vector);
    return vector;
}

TEST_F(SparseLists, CreatorsMakeTemporaries) {
    ndArray_tag* const made[] = {
        api::ndCreateSparse(3, 3, 0, ndREAL),
        api::ndCreateSparseLogicalMatrix(3, 3, 2),
        api::ndCreateSparseNumericMatrix(3, 3, 2, ndSINGLE_CLASS, ndCOMPLEX),
    };
    for (const ndArray_tag* const array : made) EXPECT_EQ(array->scope, ndTEMPORARY_SCOPE);
    EXPECT_EQ(listed_here(), array_pointers(std::begin(made), std::end(made)));
    EXPECT_TRUE(matrix::isAllocListContextEmpty()) << "the blocks of an array are its own";
    for (ndArray_tag* const array : made) api::ndDestroyArray(array);
    EXPECT_TRUE(listed_here().empty());
    EXPECT_EQ(matrix::detail::do_create_sparse(3, 3, 0, ndDOUBLE_CLASS, ndREAL, true)->scope, ndLOCAL_SCOPE);
    EXPECT_TRUE(listed_here().empty());
}

TEST_F(SparseLists, AnAdoptedVectorLeavesTheListAndEndsWithTheArray) {
    const array_ptr array = sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}});
    kvIndex* const rows = managed_vector({0, 2});
    kvIndex* const starts = managed_vector({0, 2, 2});
    api::ndFreeEx(api::ndGetIr(array.get()));
    api::ndFreeEx(api::ndGetJc(array.get()));
    api::ndSetIr(array.get(), rows);
    api::ndSetJc(array.get(), starts);
    EXPECT_TRUE(listed_blocks().empty());
    matrix::clearAllocListContext();
    EXPECT_THAT(array, EqualsArray(sparse_arr("double 3x2", {{0, 0, 1.5}, {2, 0, 2.5}})));
}

// As an addon function makes room: blocks that ndRealloc moves stand on the list till the array has them again.
TEST_F(SparseLists, AnArrayGrowsByReallocatedBlocks) {
    const array_ptr array = sparse_arr("double 3x2", {{1, 0, 1.5}});
    constexpr std::size_t room = 100;
    api::ndSetNzmax(array.get(), room);
    api::ndSetData(array.get(), api::ndRealloc(array->pdata, room * sizeof(double)), nullptr);
    api::ndSetIr(array.get(),
                 static_cast<kvIndex*>(api::ndRealloc(api::ndGetIr(array.get()), room * sizeof(kvIndex))));
    EXPECT_TRUE(listed_blocks().empty());
    EXPECT_THAT(array, EqualsArray(sparse_arr("double 3x2", {{1, 0, 1.5}})));
}

// Private data: the vectors stay on the list, which frees them, the array's end doesn't.
TEST_F(SparseLists, VectorsOfAnArrayWithPrivateDataStayOnTheList) {
    array_ptr array = sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}});
    void* const values = array->pdata;
    api::ndFreeEx(api::ndGetIr(array.get()));
    api::ndFreeEx(api::ndGetJc(array.get()));
    api::ndSetDataPrivateFlag(array.get(), true);
    kvIndex* const rows = managed_vector({0, 2});
    kvIndex* const starts = managed_vector({0, 1, 2});
    api::ndSetIr(array.get(), rows);
    api::ndSetJc(array.get(), starts);
    EXPECT_EQ(listed_blocks(), (std::vector<void*>{rows, starts}));
    EXPECT_EQ(matrix::internal::validate(array.get()), "");
    array.reset();
    EXPECT_EQ(listed_blocks(), (std::vector<void*>{rows, starts}));
    matrix::clearAllocListContext();
    api::ndFreeEx(values);
}

} // namespace
} // namespace test
