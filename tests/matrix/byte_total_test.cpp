// Bytes that the data of an array take.
#include "matrix/class_table.hpp"
#include "matrix/sparse_array.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

std::size_t bytes_of(const ndArray_tag* array) {
    kvSize out = 1;
    const kvSize total = api::ndGetNumberOfBytes(array, &out);
    EXPECT_EQ(out, total) << "the same, both ways";
    EXPECT_EQ(api::ndGetNumberOfBytes(array, nullptr), total);
    return total;
}

using ByteTotal = NdTest;

TEST_F(ByteTotal, OfNothingIsZero) {
    EXPECT_EQ(api::ndGetNumberOfBytes(nullptr, nullptr), 0U);
    EXPECT_EQ(bytes_of(nullptr), 0U);
}

TEST_F(ByteTotal, IsElementsTimesTheirSize) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for (const dims_list& dims :
             {dims_list{0, 0}, dims_list{1, 1}, dims_list{2, 3, 4}, dims_list{0, 7}}) {
            const auto array = numbered(c.id, c.complexity, dims);
            EXPECT_EQ(bytes_of(array.get()), api::ndGetNumberOfElements(array.get()) * c.element_size);
        }
    });
}

TEST_F(ByteTotal, IsTheSameInEveryRepresentation) {
    for_each_variation(numbered("complex int16 2x3"),
                       [](array_ptr& array) { EXPECT_EQ(bytes_of(array.get()), 24U); });
    const auto cell = arr("cell 1x2", arr("double 1x3"), nullptr);
    for_each_variation(cell, [](array_ptr& array) { EXPECT_EQ(bytes_of(array.get()), 16U + 24U); });
}

// The elements are still two bytes: an imaginary part is a matter of numeric classes.
TEST_F(ByteTotal, OfCharWithTheComplexBitIsThatOfChar) {
    const auto text = arr("char", u"abc");
    text->flags |= matrix::flag_complex;
    EXPECT_EQ(bytes_of(text.get()), 6U);
}

TEST_F(ByteTotal, OfASparseArrayIsThatOfItsThreeBlocks) {
    const auto array = sparse_3x2(); // room for four
    EXPECT_EQ(bytes_of(array.get()), 4U * 8 + 4U * 8 + 3U * 8);
}

TEST_F(ByteTotal, OfAContainerIsSlotsAndWhatStandsInThem) {
    EXPECT_EQ(bytes_of(arr("cell 0x3").get()), 0U);
    EXPECT_EQ(bytes_of(arr("cell 2x3").get()), 48U);
    EXPECT_EQ(bytes_of(arr("cell 1x3", arr("double 1x4"), nullptr, arr("char", u"ab")).get()), 24U + 32 + 4);
    EXPECT_EQ(bytes_of(arr("cell 1x2", arr("cell 1x1", arr("int8 3x3")), arr("cell 1x1", nullptr)).get()),
              16U + (8 + 9) + 8);
}

TEST_F(ByteTotal, OfAStructIsASlotForEachFieldOfEachElement) {
    const dims_list square{2, 2};
    const char* const names[] = {"a", "b", "c"};
    const array_ptr array = matrix::detail::do_create_struct(square, names);
    EXPECT_EQ(bytes_of(array.get()), 8U * 4 * 3);
    static_cast<ndArray_tag**>(array->pdata)[11] = arr("double 1x4").release();
    EXPECT_EQ(bytes_of(array.get()), 96U + 32);
}

TEST_F(ByteTotal, OfAFunctionHandleIsItsRecords) {
    const dims_list dims{1, 3};
    const auto code = matrix::internal::code_of(ndFUNCTION_CLASS, false);
    EXPECT_EQ(bytes_of(matrix::detail::do_create_numeric(dims, code).get()), 3U * 32);
}

// One header in two slots stands for two values.
TEST_F(ByteTotal, CountsAnElementOncePerSlot) {
    auto cell = arr("cell 1x2", arr("double 1x4"), nullptr);
    auto** const slots = static_cast<ndArray_tag**>(cell->pdata);
    slots[1] = api::ndCreateReference(slots[0]);
    EXPECT_EQ(bytes_of(cell.get()), 16U + 2 * 32);
}

TEST_F(ByteTotal, OfAnIndexingOpaqueArrayIsUnknown) {
    const auto array =
        matrix::detail::do_create_numeric(dims_list{2, 2}, matrix::internal::code_of(ndOPAQUE_CLASS, false));
    EXPECT_EQ(bytes_of(array.get()), 32U) << "references";
    array->flags |= matrix::flag_indexing_opaque;
    EXPECT_EQ(bytes_of(array.get()), 0U);
    array->flags &= ~matrix::flag_indexing_opaque;
}

array_ptr nested(std::size_t levels) {
    array_ptr inner = arr("double", {1});
    for (std::size_t i = 0; i < levels; ++i) inner = arr("cell 1x1", std::move(inner));
    return inner;
}

TEST_F(ByteTotal, OfDeepNestingTakesConstantStack) {
    constexpr std::size_t levels = 200000;
    EXPECT_EQ(bytes_of(nested(levels).get()), levels * 8 + 8);
}

TEST_F(ByteTotal, WithoutMemoryForTheWalk) {
    for (const std::size_t levels : {1U, 16U, 17U, 100U}) {
        fault_options options;
        options.framed = true;
        const fault_report report = for_each_failing_alloc(
            "byte total, levels: " + std::to_string(levels),
            [&](fault_run& run) {
                const array_ptr cell = nested(levels);
                run.operand(cell.get());
                run.act([&] { return api::ndGetNumberOfBytes(cell.get(), nullptr) == levels * 8 + 8; });
            },
            options);
        EXPECT_TRUE(report.passed);
        EXPECT_EQ(report.points > 0, levels > 16) << "shallow containers need none";
    }
}

TEST_F(ByteTotal, LeavesTheResultAloneWhenItFails) {
    const array_ptr cell = nested(50);
    kvSize out = 5;
    const module_mode_scope mode(mode_null_results);
    const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
    EXPECT_EQ(api::ndGetNumberOfBytes(cell.get(), &out), 0U);
    EXPECT_EQ(out, 5U);
}

} // namespace
} // namespace test
