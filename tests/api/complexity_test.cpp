// The two changes of complexity that the C interface offers, and the arrays that they refuse.
#include "api/mode.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/nd.h>

namespace {

namespace inside = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

array_ptr two(ndClassID class_id, ndComplexity complexity) {
    const std::size_t dims[] = {1, 2};
    return matrix::create(dims, class_id, complexity);
}

TEST(ChangeOfComplexity, GoesBothWays) {
    const array_ptr array = two(ndDOUBLE_CLASS, ndREAL);
    ndGetDoubles(array.get())[0] = 3;
    ndGetDoubles(array.get())[1] = 4;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ndMakeArrayComplex(array.get()), 1) << "also when there is nothing to do";
        ASSERT_TRUE(ndIsComplex(array.get()));
        EXPECT_EQ(ndGetComplexDoubles(array.get())[1].re, 4.0);
        EXPECT_EQ(ndGetComplexDoubles(array.get())[1].im, 0.0);
    }
    ndGetComplexDoubles(array.get())[0].im = 9;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ndMakeArrayReal(array.get()), 1);
        ASSERT_FALSE(ndIsComplex(array.get()));
        EXPECT_EQ(ndGetDoubles(array.get())[0], 3.0);
        EXPECT_EQ(ndGetDoubles(array.get())[1], 4.0);
    }
}

TEST(ChangeOfComplexity, IsForNumericArraysOfTheCaller) {
    const array_ptr text = two(ndCHAR_CLASS, ndREAL), truth = two(ndLOGICAL_CLASS, ndREAL);
    const array_ptr held = two(ndDOUBLE_CLASS, ndCOMPLEX), shared = two(ndDOUBLE_CLASS, ndCOMPLEX);
    const array_ptr hidden = two(ndDOUBLE_CLASS, ndCOMPLEX);
    const array_ptr owner(inside::ndCreateReference(held.get()));
    const array_ptr sharer(inside::ndCreateSharedCopyNotOnArrayList(shared.get()));
    inside::ndSetDataPrivateFlag(hidden.get(), true);
    struct {
        const char* name;
        ndArray_tag* array;
    } const rows[] = {
        {"null", nullptr},          {"char", text.get()},          {"logical", truth.get()},
        {"two owners", held.get()}, {"shared data", shared.get()}, {"private data", hidden.get()}};
    for (const auto& row : rows) {
        for (auto* change : {&ndMakeArrayComplex, &ndMakeArrayReal})
            EXPECT_EQ(change(row.array), 0) << row.name;
    }
    for (const array_ptr* const array : {&held, &shared, &hidden}) EXPECT_TRUE(ndIsComplex(array->get()));
    inside::ndSetDataPrivateFlag(hidden.get(), false);
}

TEST(SharedData, AreCopiedForWhoAsksForThem) {
    const array_ptr array = two(ndDOUBLE_CLASS, ndREAL);
    const array_ptr copy(ndCreateSharedDataCopy(array.get()));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(ndGetData(copy.get()), ndGetData(array.get()));
    EXPECT_EQ(ndUnshareArray(copy.get(), 0), 0);
    EXPECT_NE(ndGetData(copy.get()), ndGetData(array.get()));
    EXPECT_EQ(ndCreateSharedDataCopy(nullptr), nullptr);
}

} // namespace
