// Single values into single elements.
#include "indexing/assignment_support.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "support/alloc_sources.hpp"
#include "support/classes.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/sizes.hpp>

#include <limits>

namespace test {
namespace {

using namespace std::complex_literals;
using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using positions = std::vector<kvIndex>;

using AssignmentScalar = NdTest;

template <class T>
void put(const array_ptr& x, const positions& at, T value) {
    api::ndScalarSubscriptedAssignment(x.get(), at.data(), at.size(), value);
}

template <class T>
void stores(const char* class_name, T value, number written) {
    SCOPED_TRACE(class_name);
    const std::string of(class_name);
    const array_ptr x = arr(of + " 2x2");
    put(x, {1, 0}, value);
    put(x, {3}, value);
    EXPECT_THAT(x, EqualsArray(arr(of + " 2x2", {0, written, 0, written})));
    put(x, {1, 2}, value);
    EXPECT_THAT(x, EqualsArray(arr(of + " 2x3", {0, written, 0, written, 0, written})));
    const array_ptr one = arr(of);
    put(one, {0}, value);
    EXPECT_THAT(one, EqualsArray(arr(of, {written})));
    EXPECT_EQ(one->flags & matrix::flag_scalar_double, of == "double" ? matrix::flag_scalar_double : 0U);
    put(one, {2}, value);
    EXPECT_THAT(one, EqualsArray(arr(of + " 1x3", {written, 0, written})));
    EXPECT_EQ(one->flags & matrix::flag_scalar_double, 0U);
}

template <class T>
void stores_into_complex(const char* class_name, T value) {
    SCOPED_TRACE(class_name);
    const std::string of = std::string("complex ") + class_name;
    const array_ptr x = arr(of + " 1x2", {{1, 2}, {3, 4}});
    put(x, {0}, value);
    EXPECT_THAT(x, EqualsArray(arr(of + " 1x2", {{5, 0}, {3, 4}})));
    put(x, {1}, value);
    EXPECT_THAT(x, EqualsArray(arr(std::string(class_name) + " 1x2", {5, 5})));
}

TEST_F(AssignmentScalar, EveryTypeIsStoredInItsClass) {
    stores<signed char>("int8", -5, -5);
    stores<unsigned char>("uint8", 200, 200);
    stores<short>("int16", -300, -300);
    stores<unsigned short>("uint16", 60000, 60000);
    stores<int>("int32", -70000, -70000);
    stores<unsigned int>("uint32", 4000000000U, 4000000000U);
    stores<long long>("int64", std::numeric_limits<long long>::min(), std::numeric_limits<long long>::min());
    stores<unsigned long long>("uint64", ~0ULL, ~0ULL);
    stores<float>("single", 1.5F, 1.5);
    stores<double>("double", -2.5, -2.5);
    stores<bool>("logical", true, 1);
    stores<char16_t>("char", u'A', 65);
}

TEST_F(AssignmentScalar, ARealValueMakesTheImaginaryPartZero) {
    stores_into_complex<signed char>("int8", 5);
    stores_into_complex<unsigned char>("uint8", 5);
    stores_into_complex<short>("int16", 5);
    stores_into_complex<unsigned short>("uint16", 5);
    stores_into_complex<int>("int32", 5);
    stores_into_complex<unsigned int>("uint32", 5);
    stores_into_complex<long long>("int64", 5);
    stores_into_complex<unsigned long long>("uint64", 5);
    stores_into_complex<float>("single", 5);
    stores_into_complex<double>("double", 5);
}

template <class T>
void stores_complex(const char* class_name) {
    using complex = std::complex<T>;
    SCOPED_TRACE(class_name);
    const std::string of(class_name);
    const array_ptr x = arr(of + " 1x2", {1, 2});
    put(x, {0}, complex(7, 0));
    EXPECT_THAT(x, EqualsArray(arr(of + " 1x2", {7, 2})));
    put(x, {1}, complex(8, 9));
    EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x2", {{7, 0}, {8, 9}})));
    put(x, {3}, complex(1, 1));
    EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x4", {{7, 0}, {8, 9}, {0, 0}, {1, 1}})));
    put(x, {1}, complex(8, 0));
    put(x, {3}, complex(1, 0));
    EXPECT_THAT(x, EqualsArray(arr(of + " 1x4", {7, 8, 0, 1})));
    put(x, {5}, complex(2, -1));
    EXPECT_THAT(
        x, EqualsArray(arr("complex " + of + " 1x6", {{7, 0}, {8, 0}, {0, 0}, {1, 0}, {0, 0}, {2, -1}})));
    const array_ptr one = arr("complex " + of, {{1, 1}});
    put(one, {0}, complex(2, 0));
    EXPECT_THAT(one, EqualsArray(arr(of, {2})));
    const T nan = std::numeric_limits<T>::quiet_NaN();
    put(one, {0}, complex(2, nan));
    EXPECT_THAT(one, EqualsArray(arr("complex " + of, {{2, nan}})));
}

TEST_F(AssignmentScalar, AComplexValueMakesComplexWhatIsReal) {
    stores_complex<float>("single");
    stores_complex<double>("double");
}

struct place_row {
    const char* dims;
    positions at;
    std::size_t offset;
};
const place_row places[] = {
    {"double 2x3", {5}, 5},          {"double 2x3", {1, 2}, 5},
    {"double 2x3x4", {23}, 23},      {"double 2x3x4", {1, 11}, 23},
    {"double 2x3x4", {1, 2, 3}, 23}, {"double 2x3x4", {0, 1, 2, 0, 0}, 14},
    {"double 2x3", {1, 1, 0}, 3},    {"double 2x2", {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2}};

TEST_F(AssignmentScalar, SubscriptsFoldDimensions) {
    for (const place_row& row : places) {
        const array_ptr x = numbered(row.dims);
        const array_ptr expected = numbered(row.dims);
        static_cast<double*>(expected->pdata)[row.offset] = -1;
        const live_blocks before = count_live_blocks();
        const heap_watch heap;
        put(x, row.at, -1.0);
        EXPECT_TRUE(heap.requests().empty());
        EXPECT_EQ(count_live_blocks(), before);
        EXPECT_THAT(x, EqualsArray(expected.get()));
    }
}

TEST_F(AssignmentScalar, GrowsAsAssignmentDoes) {
    const array_ptr matrix = arr("double 2x2", {1, 2, 3, 4});
    EXPECT_EQ(error_of([&] { put(matrix, {6}, 1.0); }),
              "TARVEL:indexed_matrix_cannot_be_resized ambiguousArrayGrowth()");
    EXPECT_EQ(error_of([&] { put(matrix, {~kvIndex{0}, 0}, 1.0); }), "TARVEL:pmaxsize pmaxsize()");
    EXPECT_THAT(matrix, EqualsArray(arr("double 2x2", {1, 2, 3, 4})));
    const array_ptr column = arr("int8 2x1", {1, 2});
    put<signed char>(column, {4}, 9);
    EXPECT_THAT(column, EqualsArray(arr("int8 5x1", {1, 2, 0, 0, 9})));
    const array_ptr nothing = arr("double 0x0");
    put(nothing, {4}, 1.0);
    EXPECT_THAT(nothing, EqualsArray(arr("double 1x5", {0, 0, 0, 0, 1})));
    const array_ptr pages = arr("double 2x1", {1, 2});
    put(pages, {0, 0, 1}, 3.0);
    EXPECT_THAT(pages, EqualsArray(arr("double 2x1x2", {1, 2, 3, 0})));
}

TEST_F(AssignmentScalar, ALiteralThatGetsElementsIsNoneAnyMore) {
    const array_ptr x = arr("double 0x0");
    x->flags |= matrix::flag_empty_square_bracket;
    put(x, {2}, 5.0);
    EXPECT_EQ(x->flags & matrix::flag_empty_square_bracket, 0U);
    assign(x.get(), {"1"}, arr("double", {7}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {7, 0, 5})));
}

TEST_F(AssignmentScalar, WithoutSubscriptsTheFirstElementIsMeant) {
    const array_ptr x = arr("double 1x3", {1, 2, 3});
    put(x, {}, 7.0);
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {7, 2, 3})));
    for (const char* const empty : {"double 0x0", "double 0x3"}) {
        const array_ptr nothing = arr(empty);
        put(nothing, {}, 7.0);
        EXPECT_THAT(nothing, EqualsArray(arr(empty)));
    }
}

// A row that keeps room to spare is held to the limit like any other.
TEST_F(AssignmentScalar, AGrowingRowIsHeldToTheUsersLimit) {
    const array_ptr x = numbered("double 1x299");
    put(x, {299}, 1.0);
    EXPECT_NE(x->flags & matrix::flag_capacity_tracked, 0U);
    {
        const size_limit_scope limit(301 * sizeof(double), 100);
        put(x, {300}, 2.0);
        const void* const block = x->pdata;
        const positions beyond[] = {{301}, {0, 301}};
        for (const positions& at : beyond) EXPECT_THROW(put(x, at, 3.0), matrix::internal::SizeLimitExceeded);
        EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 301U);
        EXPECT_EQ(x->pdata, block);
    }
    put(x, {301}, 3.0);
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 302U);
}

TEST_F(AssignmentScalar, ElementsOfAnotherWidthAreRefused) {
    const array_ptr nothing = matrix::create(std::vector<std::size_t>{0, 0}, ndUNKNOWN_CLASS, ndREAL);
    EXPECT_EQ(error_of([&] { put(nothing, {0}, 5.0); }), "TARVEL:invalidInput invalidInput()");
    EXPECT_EQ(api::ndGetNumberOfElements(nothing.get()), 0U);
    const array_ptr bytes = arr("int8", {1});
    EXPECT_EQ(error_of([&] { put(bytes, {0}, 5.0); }), "TARVEL:invalidInput invalidInput()");
    EXPECT_EQ(error_of([&] { put(bytes, {0}, 5.0 + 1i); }), "TARVEL:invalidInput invalidInput()");
    EXPECT_THAT(bytes, EqualsArray(arr("int8", {1})));
}

template <class T>
void is_refused_by(const char* description, T value) {
    SCOPED_TRACE(description);
    const array_ptr x = arr(description);
    const array_ptr before = matrix::detail::do_deep_copy(x.get());
    for (const kvIndex at : {0, 2, 3}) // inside, the last one, one past the end
        EXPECT_EQ(error_of([&] { put(x, {at}, value); }), "TARVEL:invalidInput invalidInput()") << at;
    EXPECT_THAT(x, EqualsArray(before.get()));
}

// One subscript into a row goes straight to the element: neither bytes behind the block nor pointers may be written there.
TEST_F(AssignmentScalar, RowsOfOtherElementsAreRefused) {
    for (const char* const narrow : {"int8 1x3", "char 1x3", "single 1x3", "int32 1x3", "logical 1x3"})
        is_refused_by(narrow, 1.0);
    for (const char* const wide : {"double 1x3", "char 1x3", "uint64 1x3", "complex single 1x3"})
        is_refused_by<signed char>(wide, 1);
    for (const char* const pointers : {"cell 1x3", "function_handle 1x3", "opaque 1x3"}) {
        is_refused_by(pointers, 1.0);
        is_refused_by<long long>(pointers, 1);
        is_refused_by(pointers, 1.0 + 1i);
    }
    const array_ptr s = struct_arr("1x3", {"a"}, arr("double", {1}), arr("double", {2}), arr("double", {3}));
    EXPECT_EQ(error_of([&] { put(s, {1}, 1.0); }), "TARVEL:invalidInput invalidInput()");
}

TEST_F(AssignmentScalar, OtherStorageIsRefused) {
    const array_ptr sparse = sparse_arr("double 2x2", {{0, 0, 1}});
    EXPECT_EQ(error_of([&] { put(sparse, {3}, 1.0); }), "TARVEL:invalidInput invalidInput()");
    const array_ptr range = matrix::create_colon_object(1, 1, 9);
    EXPECT_EQ(error_of([&] { put(range, {1}, 1.0); }), "TARVEL:invalidInput invalidInput()");
}

TEST_F(AssignmentScalar, SplitDataAreBroughtTogetherFirst) {
    const array_ptr x = arr("complex double 1x2", {1.0 + 1i, 2.0 + 2i});
    x->split_data(true);
    put(x, {0}, 5.0 + 6i);
    EXPECT_THAT(x, EqualsArray(arr("complex double 1x2", {5.0 + 6i, 2.0 + 2i})));
}

} // namespace
} // namespace test
