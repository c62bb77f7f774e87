// Storing dimensions: two in the header, more in an owned block, and every way from one form to the other.
#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/dims32.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/sizes.hpp>

#include <gmock/gmock.h>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

constexpr std::uint32_t inline_bit = matrix::flag_inline_dims;
constexpr std::uint32_t scalar_bit = matrix::flag_scalar_double;

array_ptr blank(ndClassID id, const dims_list& dims = {0, 0}) {
    return matrix::detail::do_create_numeric(dims, matrix::internal::code_of(id, false));
}

dims_list dims_of(const array_ptr& array) {
    const kvSize* dims = api::ndGetDimensions(array.get());
    return {dims, dims + api::ndGetNumberOfDimensions(array.get())};
}

// What an array keeps of dimensions given.
dims_list kept(dims_list dims) {
    if (dims.empty()) return {0, 0};
    if (dims.size() == 1) return {dims[0], 1};
    while (dims.size() > 2 && dims.back() == 1) dims.pop_back();
    return dims;
}

const dims_list all_shapes[] = {{},
                                {0},
                                {1},
                                {7},
                                {0, 0},
                                {1, 1},
                                {1, 0},
                                {3, 4},
                                {1, 1, 1},
                                {2, 3, 1, 1},
                                {2, 1, 3},
                                {1, 1, 2},
                                {0, 0, 0},
                                {1, 1, 0},
                                {5, 4, 3},
                                {2, 2, 2, 2},
                                {1, 1, 1, 1},
                                {1, 2, 1, 2, 1},
                                {2, 2, 2, 2, 2},
                                {1, 1, 1, 1, 1, 3},
                                {9, 1, 1, 1, 1, 1}};

using Dimensions = NdTest;

TEST_F(Dimensions, OfAScalarWithTrailingOnesAreInline) {
    const auto array = matrix::create(dims_list{1, 1, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_TRUE(array->flags & inline_bit);
    EXPECT_TRUE(array->flags & scalar_bit);
    EXPECT_EQ(array->m_or_dims, 1U);
    EXPECT_EQ(array->n_or_ndims, 1U);
}

TEST_F(Dimensions, NoneMeanNothingByNothing) {
    const auto array = matrix::create(dims_list{}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(dims_of(array), (dims_list{0, 0}));
    EXPECT_EQ(array->pdata, nullptr);
    EXPECT_TRUE(array->flags & inline_bit);
}

TEST_F(Dimensions, TrailingOnesGoAndInnerOnesStay) {
    const auto flat = matrix::create(dims_list{2, 3, 1, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_TRUE(flat->flags & inline_bit);
    EXPECT_EQ(dims_of(flat), (dims_list{2, 3}));
    const auto deep = matrix::create(dims_list{2, 1, 3}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_FALSE(deep->flags & inline_bit);
    EXPECT_EQ(dims_of(deep), (dims_list{2, 1, 3}));
    EXPECT_EQ(deep->n_or_ndims, 3U);
}

TEST_F(Dimensions, OfNewArrays) {
    for (const dims_list& shape : all_shapes) {
        SCOPED_TRACE(::testing::PrintToString(shape));
        for (const ndClassID id :
             {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndLOGICAL_CLASS, ndCELL_CLASS, ndOBJECT_CLASS}) {
            const auto array = blank(id, shape);
            EXPECT_EQ(dims_of(array), kept(shape));
            EXPECT_EQ((array->flags & inline_bit) != 0, kept(shape).size() == 2);
            EXPECT_EQ((array->flags & scalar_bit) != 0,
                      id == ndDOUBLE_CLASS && kept(shape) == dims_list(2, 1));
        }
    }
}

struct holder {
    const char* name;
    ndClassID id;
    std::uint32_t more_flags;
    bool may_be_scalar_double;
};
constexpr holder holders[] = {
    {"full double", ndDOUBLE_CLASS, 0, true},
    {"complex double", ndDOUBLE_CLASS, matrix::flag_complex, true},
    {"sparse double", ndDOUBLE_CLASS, matrix::flag_sparse, false},
    {"single", ndSINGLE_CLASS, 0, false},
    {"int64", ndINT64_CLASS, 0, false},
    {"cell", ndCELL_CLASS, 0, false},
};

// From every shape to every other. A block that is long enough stays; data and all other flags aren't touched.
TEST_F(Dimensions, ChangeFromEachFormToEachOther) {
    for (const holder& h : holders) {
        for (const dims_list& from : all_shapes) {
            for (const dims_list& to : all_shapes) {
                SCOPED_TRACE(std::string(h.name) + " " + ::testing::PrintToString(from) + " to " +
                             ::testing::PrintToString(to));
                const auto array = blank(h.id);
                array->flags |= h.more_flags | 0x5A000000 | matrix::flag_from_global_workspace;
                array->set_dimensions(from);
                const std::uint64_t old_block = array->m_or_dims;
                const std::uint32_t old_flags = array->flags;
                array->set_dimensions(to);

                const dims_list wanted = kept(to);
                EXPECT_EQ(dims_of(array), wanted);
                const bool is_inline = wanted.size() == 2;
                const bool scalar = h.may_be_scalar_double && wanted == dims_list(2, 1);
                const std::uint32_t dims_bits = (is_inline ? inline_bit : 0) | (scalar ? scalar_bit : 0);
                EXPECT_EQ(array->flags, (old_flags & ~(inline_bit | scalar_bit)) | dims_bits);
                if (!is_inline && kept(from).size() >= wanted.size() && kept(from).size() > 2) {
                    EXPECT_EQ(array->m_or_dims, old_block) << "a block that is long enough is used again";
                }
                EXPECT_EQ(array->n_or_ndims, is_inline ? wanted[1] : wanted.size());
                EXPECT_EQ(array->pdata, nullptr);
                array->flags &= ~h.more_flags;
            }
        }
    }
}

TEST_F(Dimensions, LeaveTheDataAlone) {
    const auto array = arr("int16 2x3", {1, 2, 3, 4, 5, 6});
    void* const data = array->pdata;
    for (const dims_list& shape :
         {dims_list{6}, dims_list{3, 2}, dims_list{1, 2, 3}, dims_list{1, 1}, dims_list{}}) {
        array->set_dimensions(shape);
        EXPECT_EQ(array->pdata, data);
    }
    array->set_dimensions(dims_list{2, 3});
    EXPECT_EQ(static_cast<const std::int16_t*>(array->pdata)[5], 6);
}

// The argument may be the array's own dimensions, or a part of them.
TEST_F(Dimensions, MayBeSetFromTheArraysOwn) {
    const dims_list shapes[] = {{2, 3, 4, 5}, {2, 3, 4}, {2, 3, 1, 5, 7}, {3, 2}};
    for (const dims_list& shape : shapes) {
        for (std::size_t from = 0; from <= shape.size(); ++from) {
            for (std::size_t count = 0; count <= shape.size() - from; ++count) {
                SCOPED_TRACE(::testing::PrintToString(shape) + " from " + std::to_string(from) + ", " +
                             std::to_string(count));
                const auto array = blank(ndINT8_CLASS);
                array->set_dimensions(shape);
                array->set_dimensions(matrix::internal::dims_of(array.get()).subspan(from, count));
                const auto first = shape.begin() + static_cast<std::ptrdiff_t>(from);
                EXPECT_EQ(dims_of(array), kept(dims_list(first, first + static_cast<std::ptrdiff_t>(count))));
            }
        }
    }
}

TEST_F(Dimensions, AreCopiedNotKept) {
    dims_list given{2, 3, 4};
    const auto array = blank(ndINT8_CLASS);
    array->set_dimensions(given);
    given = {9, 9, 9};
    EXPECT_EQ(dims_of(array), (dims_list{2, 3, 4}));
}

TEST_F(Dimensions, CountIsTheirProductWithoutATest) {
    const auto array = blank(ndINT8_CLASS);
    array->set_dimensions(dims_list{3, 4, 5});
    EXPECT_EQ(api::ndGetNumberOfElements(array.get()), 60U);
    array->set_dimensions(dims_list{3, 0, 5});
    EXPECT_EQ(api::ndGetNumberOfElements(array.get()), 0U);
    array->set_dimensions(dims_list{~std::size_t{0}, 2});
    EXPECT_EQ(api::ndGetNumberOfElements(array.get()), ~std::size_t{0} - 1) << "wraps, as unsigned words do";
}

TEST_F(Dimensions, ReadersOfOneDimension) {
    struct {
        dims_list dims;
        kvSize m, n;
        bool empty;
    } const rows[] = {{{2, 3}, 2, 3, false},   {{2, 3, 4}, 2, 12, false}, {{0, 5}, 0, 5, true},
                      {{5, 0}, 5, 0, true},    {{7}, 7, 1, false},        {{}, 0, 0, true},
                      {{2, 0, 3}, 2, 0, true}, {{2, 3, 0}, 2, 0, true},   {{1, 1, 1}, 1, 1, false}};
    const auto array = blank(ndINT8_CLASS);
    for (const auto& row : rows) {
        array->set_dimensions(row.dims);
        EXPECT_EQ(api::ndGetM(array.get()), row.m);
        EXPECT_EQ(api::ndGetN(array.get()), row.n);
        EXPECT_EQ(api::ndIsEmpty(array.get()), row.empty);
        EXPECT_EQ(api::ndGetNumberOfDimensions(array.get()), kept(row.dims).size());
    }
}

TEST_F(Dimensions, OfASolidHaveAllColumnsInN) {
    const auto array = matrix::create(dims_list{2, 3, 4}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(api::ndGetN(array.get()), 12U);
    EXPECT_EQ(api::ndGetNumberOfDimensions(array.get()), 3U);
}

TEST_F(Dimensions, OfTwoAreReadInTheHeaderItself) {
    const auto array = blank(ndINT8_CLASS, {0, 4});
    EXPECT_EQ(api::ndGetDimensions(array.get()), &array->m_or_dims);
    array->set_dimensions(dims_list{1, 2, 3});
    EXPECT_EQ(api::ndGetDimensions(array.get()), reinterpret_cast<const kvSize*>(array->m_or_dims));
}

TEST_F(Dimensions, SettingRowsKeepsTheOthers) {
    const auto array = arr("double", {1});
    api::ndSetM(array.get(), 5);
    EXPECT_EQ(dims_of(array), (dims_list{5, 1}));
    EXPECT_FALSE(array->flags & scalar_bit);
    array->set_dimensions(dims_list{1, 1});
    EXPECT_TRUE(array->flags & scalar_bit);
    api::ndSetM(array.get(), 1);
    EXPECT_FALSE(array->flags & scalar_bit) << "cleared though the array is 1x1 again";

    const auto solid = blank(ndINT8_CLASS);
    solid->set_dimensions(dims_list{2, 3, 4});
    api::ndSetM(solid.get(), 9);
    EXPECT_EQ(dims_of(solid), (dims_list{9, 3, 4}));
}

TEST_F(Dimensions, SettingColumnsMakesAMatrix) {
    const auto solid = blank(ndINT8_CLASS);
    solid->set_dimensions(dims_list{2, 3, 4});
    api::ndSetN(solid.get(), 7);
    EXPECT_EQ(dims_of(solid), (dims_list{2, 7}));
    EXPECT_TRUE(solid->flags & inline_bit);
    const auto scalar = arr("double", {1});
    api::ndSetN(scalar.get(), 1);
    EXPECT_EQ(dims_of(scalar), (dims_list{1, 1}));
    EXPECT_FALSE(scalar->flags & scalar_bit);
    const auto solid_double = blank(ndDOUBLE_CLASS);
    solid_double->set_dimensions(dims_list{1, 3, 4});
    api::ndSetN(solid_double.get(), 1);
    EXPECT_FALSE(solid_double->flags & scalar_bit);
}

TEST_F(Dimensions, SettingAllTellsSuccess) {
    const auto array = blank(ndINT8_CLASS);
    const kvSize dims[] = {2, 3, 4, 1};
    EXPECT_EQ(api::ndSetDimensions(array.get(), dims, 4), 0);
    EXPECT_EQ(dims_of(array), (dims_list{2, 3, 4}));
    EXPECT_EQ(api::ndSetDimensions(array.get(), nullptr, 0), 0);
    EXPECT_EQ(dims_of(array), (dims_list{0, 0}));
}

TEST_F(Dimensions, SettingAllTellsThatMemoryRanOut) {
    const auto array = blank(ndINT8_CLASS);
    array->set_dimensions(dims_list{7, 0});
    const kvSize dims[] = {2, 3, 0};
    {
        const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
        EXPECT_EQ(api::ndSetDimensions(array.get(), dims, 3), 1);
    }
    EXPECT_EQ(dims_of(array), (dims_list{7, 0}));
    EXPECT_EQ(api::ndSetDimensions(array.get(), dims, 3), 0);
}

// The spare room of a block follows from its count: a larger count would promise room that isn't there.
TEST_F(Dimensions, ALargerCountForgetsSpareRoom) {
    const auto tracked = [] {
        auto array = blank(ndINT8_CLASS);
        array->set_dimensions(dims_list{10, 10});
        array->flags |= matrix::flag_capacity_tracked;
        return array;
    };
    const auto keeps_room = [](const array_ptr& array) {
        return (array->flags & matrix::flag_capacity_tracked) != 0;
    };
    auto array = tracked();
    api::ndSetM(array.get(), 10);
    EXPECT_TRUE(keeps_room(array));
    api::ndSetM(array.get(), 11);
    EXPECT_FALSE(keeps_room(array));
    array = tracked();
    api::ndSetN(array.get(), 3);
    EXPECT_TRUE(keeps_room(array));
    api::ndSetN(array.get(), 4);
    EXPECT_FALSE(keeps_room(array));
    array = tracked();
    const kvSize same[] = {2, 50}, more[] = {2, 3, 17};
    EXPECT_EQ(api::ndSetDimensions(array.get(), same, 2), 0);
    EXPECT_TRUE(keeps_room(array));
    EXPECT_EQ(api::ndSetDimensions(array.get(), more, 3), 0);
    EXPECT_FALSE(keeps_room(array));
}

using NarrowedDimensions = NdTest;

TEST_F(NarrowedDimensions, StandBesideTheValueWhenAskedFor) {
    const auto array = arr("int8 2x3", {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(array->dims32, nullptr);
    const int* narrowed = matrix::internal::narrowed_dimensions(array.get());
    EXPECT_THAT(std::vector<int>(narrowed, narrowed + 2), ::testing::ElementsAre(2, 3));
    EXPECT_NE(array->dims32, nullptr);
    array->set_dimensions(dims_list{1, 1, 1, 1, 3, 2});
    narrowed = matrix::internal::narrowed_dimensions(array.get());
    EXPECT_THAT(std::vector<int>(narrowed, narrowed + 6), ::testing::ElementsAre(1, 1, 1, 1, 3, 2));
    array->set_dimensions(dims_list{6, 1});
    narrowed = matrix::internal::narrowed_dimensions(array.get());
    EXPECT_THAT(std::vector<int>(narrowed, narrowed + 2), ::testing::ElementsAre(6, 1));
}

TEST_F(NarrowedDimensions, RefuseWhatDoesntFitAndKeepTheArray) {
    const auto array = blank(ndINT8_CLASS);
    array->set_dimensions(dims_list{0, 0x7FFFFFFF});
    EXPECT_EQ(matrix::internal::narrowed_dimensions(array.get())[1], 0x7FFFFFFF);
    array->set_dimensions(dims_list{0, 0x80000000});
    try {
        matrix::internal::narrowed_dimensions(array.get());
        FAIL() << "narrowed";
    } catch (const matrix::internal::SizeLimitExceeded& error) {
        const auto& arguments = error.GetMsgIDObj().arguments();
        EXPECT_EQ(std::get<std::string>(arguments[0]), "0x2147483648");
        EXPECT_EQ(std::get<std::string>(arguments[1]), "0.0GB");
        EXPECT_EQ(std::get<std::string>(arguments[2]), "0.0GB");
    }
    EXPECT_EQ(dims_of(array), (dims_list{0, 0x80000000}));
}

TEST_F(NarrowedDimensions, EndWithTheHeader) {
    const auto in_slot = arr("cell 1x2", arr("double"), nullptr);
    matrix::internal::narrowed_dimensions(in_slot.get());
    matrix::internal::narrowed_dimensions(static_cast<ndArray_tag**>(in_slot->pdata)[0]);
    const auto shared = arr("int8 1x3", {1, 2, 3});
    matrix::internal::narrowed_dimensions(shared.get());
    const auto copy = matrix::detail::do_shared_copy(shared.get());
    EXPECT_EQ(copy->dims32, nullptr) << "a copy has none of its own yet";
    matrix::internal::narrowed_dimensions(copy.get());
}

} // namespace
} // namespace test
