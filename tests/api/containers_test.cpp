// Cells and structs of each generation, called through C code that was compiled for it.
#include "api/container_probe.h"
#include "api/mode.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>

#include <climits>

namespace {

using matrix::array_ptr;

class EachGenerationsContainers : public testing::TestWithParam<const container_probe*> {
protected:
    const container_probe& api() const { return *GetParam(); }
};

ndArray_tag* number(double x) {
    const std::size_t dims[] = {1, 1};
    ndArray_tag* const array = matrix::create(dims, ndDOUBLE_CLASS, ndREAL).release();
    *static_cast<double*>(array->pdata) = x;
    return array;
}

double number_in(const ndArray_tag* array) {
    return array == nullptr ? -1 : *static_cast<const double*>(array->pdata);
}

TEST_P(EachGenerationsContainers, CellsBeginEmptyAndHoldWhatIsSet) {
    const array_ptr cell(api().cell_matrix(2, 3));
    EXPECT_EQ(cell->class_id, ndCELL_CLASS);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(api().get_cell(cell.get(), i), nullptr);
    api().set_cell(cell.get(), 5, number(7));
    EXPECT_EQ(number_in(api().get_cell(cell.get(), 5)), 7);
    const array_ptr old(api().get_cell(cell.get(), 5));
    api().set_cell(cell.get(), 5, nullptr);
    EXPECT_EQ(api().get_cell(cell.get(), 5), nullptr);

    const long long dims[] = {2, 1, 3};
    const array_ptr solid(api().cell_array(3, dims));
    EXPECT_EQ(solid->n_or_ndims, 3U);
    EXPECT_EQ(api().get_cell(solid.get(), 5), nullptr);
    const array_ptr none(api().cell_array(0, nullptr));
    EXPECT_EQ(none->m_or_dims, 0U);
}

TEST_P(EachGenerationsContainers, StructsHaveNamedValues) {
    const char* names[] = {"a", "b"};
    const array_ptr array(api().struct_matrix(2, 1, 2, names));
    EXPECT_EQ(array->class_id, ndSTRUCT_CLASS);
    EXPECT_EQ(api().number_of_fields(array.get()), 2);
    api().set_field(array.get(), 1, "a", number(3));
    api().set_field_by_number(array.get(), 0, 1, number(4));
    EXPECT_EQ(number_in(api().get_field(array.get(), 1, "a")), 3);
    EXPECT_EQ(number_in(api().get_field_by_number(array.get(), 1, 0)), 3);
    EXPECT_EQ(number_in(api().get_field(array.get(), 0, "b")), 4);
    EXPECT_EQ(api().get_field(array.get(), 0, "a"), nullptr);
    EXPECT_EQ(number_in(api().get_cell(array.get(), 2)), 3); // the slot of element 1, field 0

    EXPECT_EQ(api().field_number(array.get(), "b"), 1);
    EXPECT_STREQ(api().field_name(array.get(), 0), "a");
    EXPECT_EQ(api().add_field(array.get(), "c"), 2);
    EXPECT_EQ(api().add_field(array.get(), "b"), 1);
    EXPECT_EQ(number_in(api().get_field(array.get(), 1, "a")), 3);
    const array_ptr removed(api().get_field(array.get(), 1, "a"));
    api().remove_field(array.get(), 0);
    EXPECT_EQ(api().number_of_fields(array.get()), 2);
    EXPECT_EQ(number_in(removed.get()), 3);
    EXPECT_EQ(number_in(api().get_field(array.get(), 0, "b")), 4);

    const long long dims[] = {2, 1, 2};
    const array_ptr solid(api().struct_array(3, dims, 2, names));
    EXPECT_EQ(api().get_field(solid.get(), 3, "b"), nullptr);
    const array_ptr bare(api().struct_matrix(1, 1, -3, nullptr));
    EXPECT_EQ(api().number_of_fields(bare.get()), 0);
}

// Objects have fields as structs do.
TEST_P(EachGenerationsContainers, ObjectsHaveNamedValues) {
    const char* names[] = {"a", "b"};
    const array_ptr array(api().struct_matrix(2, 1, 2, names));
    ASSERT_EQ(matrix::detail::noninlined::nd_array_api::ndSetClassName(array.get(), "pair"), 0);
    api().set_field(array.get(), 1, "a", number(3));
    api().set_field_by_number(array.get(), 0, 1, number(4));
    api().set_cell(array.get(), 0, number(5));
    EXPECT_EQ(number_in(api().get_field(array.get(), 1, "a")), 3);
    EXPECT_EQ(number_in(api().get_field_by_number(array.get(), 0, 1)), 4);
    EXPECT_EQ(number_in(api().get_cell(array.get(), 0)), 5);
    EXPECT_EQ(api().field_number(array.get(), "b"), 1);
    EXPECT_STREQ(api().field_name(array.get(), 1), "b");
    EXPECT_EQ(api().add_field(array.get(), "c"), 2);
    const array_ptr removed[] = {array_ptr(api().get_cell(array.get(), 1)),
                                 array_ptr(api().get_cell(array.get(), 4))};
    api().remove_field(array.get(), 1);
    EXPECT_EQ(api().number_of_fields(array.get()), 2);
    EXPECT_EQ(number_in(api().get_field(array.get(), 1, "a")), 3);
    EXPECT_EQ(array->class_id, ndOBJECT_CLASS);
}

// Dimensions that were set afterwards promise slots that there aren't.
TEST_P(EachGenerationsContainers, WithoutABlockHaveNoSlots) {
    const char* names[] = {"a"};
    const std::size_t dims[] = {1, 2};
    const array_ptr cell(api().cell_matrix(0, 0));
    const array_ptr array(api().struct_matrix(0, 0, 1, names));
    const array_ptr value(number(1));
    for (ndArray_tag* const container : {cell.get(), array.get()}) {
        container->set_dimensions(dims);
        EXPECT_EQ(api().get_cell(container, 0), nullptr);
        api().set_cell(container, 1, value.get());
        EXPECT_EQ(api().get_field(container, 0, "a"), nullptr);
        EXPECT_EQ(api().get_field_by_number(container, 0, 0), nullptr);
        api().set_field(container, 0, "a", value.get());
        api().set_field_by_number(container, 1, 0, value.get());
        EXPECT_EQ(value->ref_count, 1U);
        EXPECT_EQ(value->scope, ndLOCAL_SCOPE);
    }
}

// What a setter doesn't do leaves the value to the caller.
TEST_P(EachGenerationsContainers, RefusedValuesStayTheCallers) {
    const char* names[] = {"a", "b"};
    const array_ptr array(api().struct_matrix(2, 1, 2, names));
    const array_ptr cell(api().cell_matrix(1, 2));
    const array_ptr value(number(1));
    const auto unchanged = [&] {
        for (int i = 0; i < 4; ++i) EXPECT_EQ(api().get_cell(array.get(), i), nullptr);
        for (int i = 0; i < 2; ++i) EXPECT_EQ(api().get_cell(cell.get(), i), nullptr);
        EXPECT_EQ(value->ref_count, 1U);
        EXPECT_EQ(value->scope, ndLOCAL_SCOPE);
    };
    api().set_cell(nullptr, 0, value.get());
    api().set_cell(value.get(), 0, value.get());
    api().set_cell(cell.get(), 2, value.get());
    api().set_cell(cell.get(), INT_MAX, value.get());
    api().set_field(nullptr, 0, "a", value.get());
    api().set_field(cell.get(), 0, "a", value.get());
    api().set_field(array.get(), 2, "a", value.get());
    api().set_field(array.get(), 0, "A", value.get());
    api().set_field(array.get(), 0, nullptr, value.get());
    api().set_field_by_number(array.get(), 0, -1, value.get());
    api().set_field_by_number(array.get(), 0, 2, value.get());
    api().set_field_by_number(array.get(), 2, 0, value.get());
    unchanged();
    if (api().api != 700) return;
    for (const auto& refused : {test::error_of([&] { api().set_cell(cell.get(), -1, value.get()); }),
                                test::error_of([&] { api().set_field(array.get(), -1, "a", value.get()); }),
                                test::error_of([&] { api().get_field_by_number(array.get(), INT_MIN, 0); })})
        EXPECT_EQ(refused.id, test::errors_are_exceptions() ? "TARVEL:array:SizeLimitExceeded" : "");
    unchanged();
}

std::string name_of(const testing::TestParamInfo<const container_probe*>& info) {
    return "Api" + std::to_string(info.param->api);
}

INSTANTIATE_TEST_SUITE_P(Containers, EachGenerationsContainers,
                         testing::Values(&container_probe_700, &container_probe_730, &container_probe_800),
                         name_of);

} // namespace
