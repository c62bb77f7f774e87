// Views that bind an array to an element type, and the three refusals of a dispatch over types.
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/typed.hpp>

#include <cstdlib>
#include <stdexcept>

namespace test {
namespace {

using matrix::typed_array;
using matrix::typed_sparse_matrix;

template <class T>
class TypedArray : public NdTest {};

using element_types =
    ::testing::Types<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                     std::int64_t, std::uint64_t, float, double, std::complex<std::int8_t>,
                     std::complex<std::uint8_t>, std::complex<std::int16_t>, std::complex<std::uint16_t>,
                     std::complex<std::int32_t>, std::complex<std::uint32_t>, std::complex<std::int64_t>,
                     std::complex<std::uint64_t>, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(TypedArray, element_types);

TYPED_TEST(TypedArray, AcceptsItsClassAndComplexityAndNoOther) {
    using view = typed_array<TypeParam>;
    std::size_t accepted = 0;
    for (const class_case& c : classes_of(class_set::with_bytes)) {
        const auto array = numbered(c.id, c.complexity, std::vector<std::size_t>{2, 3});
        const bool wanted = c.id == view::class_id && c.complexity == view::complexity;
        EXPECT_EQ(view::accepts(array.get()), wanted) << c.name;
        if (wanted) {
            ++accepted;
            EXPECT_EQ(c.element_size, sizeof(TypeParam));
            const view bound(array.get());
            EXPECT_EQ(bound.get(), array.get());
            EXPECT_EQ(bound.elements().size(), 6U);
            EXPECT_EQ(static_cast<const void*>(bound.elements().data()), array->pdata);
        } else {
            EXPECT_THROW(view(array.get()), std::invalid_argument) << c.name;
        }
    }
    EXPECT_EQ(accepted, 1U);
}

TYPED_TEST(TypedArray, ReadsAndWritesElements) {
    const auto array = numbered(typed_array<TypeParam>::class_id, typed_array<TypeParam>::complexity,
                                std::vector<std::size_t>{1, 2, 2});
    const typed_array<TypeParam> view(array.get());
    const auto elements = view.elements();
    ASSERT_EQ(elements.size(), 4U);
    const TypeParam third = elements[2];
    elements[0] = third;
    EXPECT_EQ(typed_array<TypeParam>(array.get()).elements()[0], third);
}

TYPED_TEST(TypedArray, RefusesSparseStorage) {
    const auto array = matrix::create(std::vector<std::size_t>{0, 0}, typed_array<TypeParam>::class_id,
                                      typed_array<TypeParam>::complexity);
    EXPECT_TRUE(typed_array<TypeParam>::accepts(array.get()));
    array->flags |= matrix::flag_sparse;
    EXPECT_FALSE(typed_array<TypeParam>::accepts(array.get()));
}

template <class T>
class TypedSparse : public NdTest {};
using sparse_types = ::testing::Types<bool, float, double, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(TypedSparse, sparse_types);

// A 3x2 matrix with elements at (2,1) and (3,2), over index vectors of the test's own.
TYPED_TEST(TypedSparse, ReadsValuesRowsAndColumnStarts) {
    using view = typed_sparse_matrix<TypeParam>;
    using element = typename view::element_type;
    element values[] = {element(1), element(2), element(0)};
    std::uint64_t rows[] = {1, 2, 0};
    std::uint64_t starts[] = {0, 1, 2};
    const auto array = matrix::create(std::vector<std::size_t>{0, 0}, view::class_id, view::complexity);
    EXPECT_FALSE(view::accepts(array.get())) << "stored full";
    EXPECT_THROW(view(array.get()), std::invalid_argument);

    array->flags |= matrix::flag_sparse | matrix::flag_data_private;
    array->set_dimensions(std::vector<std::size_t>{3, 2});
    array->pdata = values;
    array->info_a = reinterpret_cast<std::uint64_t>(rows);
    array->info_b = reinterpret_cast<std::uint64_t>(starts);
    array->info_c = 3;
    const view bound(array.get());
    ASSERT_EQ(bound.values().size(), 2U);
    EXPECT_EQ(bound.values()[1], element(2));
    EXPECT_EQ(std::vector<std::size_t>(bound.rows().begin(), bound.rows().end()),
              (std::vector<std::size_t>{1, 2}));
    EXPECT_EQ(bound.column_starts().size(), 3U);
    EXPECT_EQ(bound.column_starts()[2], 2U);
    array->info_a = array->info_b = 0; // the vectors are the test's
}

TYPED_TEST(TypedSparse, RefusesThreeDimensions) {
    using view = typed_sparse_matrix<TypeParam>;
    const auto array = matrix::create(std::vector<std::size_t>{0, 0}, view::class_id, view::complexity);
    array->flags |= matrix::flag_sparse;
    array->set_dimensions(std::vector<std::size_t>{2, 2, 2});
    try {
        const view bound(array.get(), "Adder");
        FAIL() << "accepted";
    } catch (const std::invalid_argument& refusal) {
        EXPECT_STREQ(refusal.what(), "Array with 3 dimensions not compatible with shape of Adder");
    }
    array->set_dimensions({});
}

// An emptied sparse header has no vectors to read. In a child process: there might be a crash.
TEST(TypedSparse, AHeaderWithoutIndexVectorsStoresNothing) {
    const auto reads_nothing = [] {
        const auto array = matrix::create(std::vector<std::size_t>{0, 0}, ndDOUBLE_CLASS, ndREAL);
        array->flags |= matrix::flag_sparse;
        const typed_sparse_matrix<double> view(array.get());
        std::_Exit(view.values().empty() && view.rows().empty() ? 0 : 1);
    };
    EXPECT_EXIT(reads_nothing(), ::testing::ExitedWithCode(0), "");
}

TEST(TypedSparse, ALogicalElementIsReadAsAByte) {
    static_assert(std::is_same_v<typed_sparse_matrix<bool>::element_type, std::uint8_t>);
    static_assert(typed_sparse_matrix<bool>::class_id == ndLOGICAL_CLASS);
}

std::string refusal_of(void (*reject)()) {
    try {
        reject();
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return "not refused";
}

TEST(DispatchRefusals, SayWordForWordWhatWasRefused) {
    EXPECT_EQ(refusal_of([] { matrix::rejectArrayShape(3, "N7matrixE"); }),
              "Array with 3 dimensions not compatible with shape of N7matrixE");
    EXPECT_EQ(refusal_of([] { matrix::rejectClassId("Adder", ndDOUBLE_CLASS); }),
              "Functor Adder does not accept ndClassID 6");
    EXPECT_EQ(refusal_of([] { matrix::rejectClassId("Adder", static_cast<ndClassID>(-1)); }),
              "Functor Adder does not accept ndClassID -1");
    EXPECT_EQ(refusal_of([] { matrix::rejectInvalidClassId(static_cast<ndClassID>(99)); }),
              "Unknown or invalid ndClassID: unknown (99)");
    EXPECT_EQ(refusal_of([] { matrix::rejectInvalidClassId(ndCELL_CLASS); }),
              "Unknown or invalid ndClassID: cell (1)");
    EXPECT_EQ(refusal_of([] { matrix::rejectInvalidClassId(ndVOID_CLASS); }),
              "Unknown or invalid ndClassID:  (5)");
}

TEST(DispatchRefusals, AViewNamesItsCaller) {
    const auto text = arr("char", u"abc");
    try {
        const typed_array<double> view(text.get(), "Adder");
        FAIL() << "accepted";
    } catch (const std::invalid_argument& refusal) {
        EXPECT_STREQ(refusal.what(), "Functor Adder does not accept ndClassID 4");
    }
}

} // namespace
} // namespace test
