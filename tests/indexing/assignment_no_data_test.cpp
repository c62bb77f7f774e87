// Elements without data, as a header has that begins anew, are zeros on both sides of an assignment.
#include "indexing/assignment_support.hpp"
#include "matrix/own_block.hpp"
#include "matrix/validate.hpp"
#include "support/classes.hpp"
#include "support/fault_injection.hpp"

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using AssignmentNoData = NdTest;

array_ptr without_data(const std::string& description) {
    array_ptr x = arr(description);
    matrix::internal::replace_block(x.get(), nullptr);
    return x;
}

array_ptr anew(ndClassID id, bool complex = false) {
    array_ptr x = arr("double 2x3");
    api::ndReInitArray2Type(x.get(), static_cast<ndArrayType>(id + (complex ? 32U : 0U)));
    return x;
}

// Where all imaginary parts are 0 the result is real.
std::string real_name(const class_case& c) {
    return c.complexity == ndCOMPLEX ? c.name.substr(std::string("complex ").size()) : c.name;
}

TEST_F(AssignmentNoData, ValuesGoIntoZeros) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for (const bool fully : {false, true}) {
            const auto store = [fully](const array_ptr& x, const subscripts& at, const array_ptr& y) {
                if (fully) {
                    assign_fully(x.get(), at, y.get());
                } else {
                    assign(x.get(), at, y.get());
                }
                EXPECT_EQ(matrix::internal::validate(x.get()), "");
            };
            const array_ptr one = arr(c.name, {1});
            array_ptr x = anew(c.id, c.complexity == ndCOMPLEX);
            store(x, {"1"}, one);
            EXPECT_THAT(x, EqualsArray(arr(real_name(c), {1})));
            x = anew(c.id, c.complexity == ndCOMPLEX);
            store(x, {"3"}, one);
            EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 1x3", {0, 0, 1})));
            x = anew(c.id, c.complexity == ndCOMPLEX);
            store(x, {"[]"}, one);
            EXPECT_THAT(x, EqualsArray(arr(real_name(c), {0})));
            x = without_data(c.name + " 2x2");
            store(x, {"2", ":"}, one);
            EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 2x2", {0, 1, 0, 1})));
        }
    });
}

TEST_F(AssignmentNoData, ZerosGoIntoValues) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        array_ptr x = arr(c.name + " 1x3", {1, 1, 1});
        assign(x.get(), {"2"}, anew(c.id, c.complexity == ndCOMPLEX).get());
        EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 1x3", {1, 0, 1})));
        assign(x.get(), {"1:2"}, without_data(real_name(c) + " 1x2").get());
        EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 1x3", {0, 0, 1})));
        x = without_data(real_name(c) + " 1x3");
        assign(x.get(), {"1:2"}, without_data(real_name(c) + " 1x2").get());
        EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 1x3")));
        assign(x.get(), {":"}, x.get());
        EXPECT_THAT(x, EqualsArray(arr(real_name(c) + " 1x3")));
    });
}

TEST_F(AssignmentNoData, ComplexValuesGoIntoZeros) {
    const array_ptr x = without_data("double 1x2");
    assign(x.get(), {"2"}, arr("complex double", {{1, 2}}).get());
    EXPECT_THAT(x, EqualsArray(arr("complex double 1x2", {{0, 0}, {1, 2}})));
}

TEST_F(AssignmentNoData, SlotsAreEmpty) {
    const array_ptr x = anew(ndCELL_CLASS);
    assign(x.get(), {"1"}, arr("cell", arr("double", {5})).get());
    EXPECT_THAT(x, EqualsArray(arr("cell", arr("double", {5}))));
    assign(x.get(), {"1:2"}, anew(ndCELL_CLASS).get());
    EXPECT_THAT(x, EqualsArray(arr("cell 1x2", nullptr, nullptr)));
    const array_ptr f = anew(ndFUNCTION_CLASS);
    assign(f.get(), {"1"}, anew(ndFUNCTION_CLASS).get());
    EXPECT_EQ(matrix::internal::validate(f.get()), "");
    const array_ptr o = matrix::create(sizes{1, 2}, ndOPAQUE_CLASS, ndREAL);
    assign(o.get(), {":"}, anew(ndOPAQUE_CLASS).get());
    EXPECT_EQ(static_cast<void**>(o->pdata)[0], nullptr);
    EXPECT_EQ(static_cast<void**>(o->pdata)[1], nullptr);
}

TEST_F(AssignmentNoData, SingleValuesGoIntoZeros) {
    const auto put = [](const array_ptr& x, kvIndex at, auto value) {
        api::ndScalarSubscriptedAssignment(x.get(), &at, 1, value);
    };
    array_ptr x = anew(ndDOUBLE_CLASS);
    put(x, 0, 5.0);
    EXPECT_THAT(x, EqualsArray(arr("double", {5})));
    x = anew(ndDOUBLE_CLASS, true);
    put(x, 0, 5.0);
    EXPECT_THAT(x, EqualsArray(arr("double", {5})));
    x = anew(ndDOUBLE_CLASS);
    put(x, 0, std::complex<double>(1, 2));
    EXPECT_THAT(x, EqualsArray(arr("complex double", {{1, 2}})));
    x = anew(ndINT8_CLASS);
    put(x, 2, static_cast<signed char>(7));
    EXPECT_THAT(x, EqualsArray(arr("int8 1x3", {0, 0, 7})));
    x = without_data("double 1x3");
    put(x, 1, 5.0);
    EXPECT_THAT(x, EqualsArray(arr("double 1x3", {0, 5, 0})));
}

TEST_F(AssignmentNoData, AFailureLeavesNone) {
    for (const bool left : {false, true}) {
        for_each_failing_alloc("no data", [&](fault_run& run) {
            const array_ptr x = left ? without_data("double 1x2") : arr("double 1x2", {1, 2});
            const array_ptr y = left ? arr("double", {1}) : without_data("double");
            const subscripts subs{"[2 1]"};
            run.operand((left ? y : x).get()); // the other one counts as zeros, with a block or without
            run.act([&] { assign(x.get(), subs, y.get()); });
            EXPECT_THAT(x, EqualsArray(left ? arr("double 1x2", {1, 1}) : arr("double 1x2", {0, 0})));
        });
    }
}

} // namespace
} // namespace test
