// Fields of struct arrays: looking them up, adding and removing them.
#include "matrix/field_names.hpp"

#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>

#include <functional>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;
using texts = std::vector<std::string>;

using Fields = NdTest;

texts fields_of(const ndArray_tag* array) {
    const char* const* const names = api::ndGetFieldNames(array);
    return {names, names + api::ndGetNumberOfFields(array)};
}

array_ptr value(int x) { return arr("double", {x}); }

double number_in(const ndArray_tag* array, std::size_t element, int field) {
    const ndArray_tag* const found = api::ndGetFieldByNumber(array, element, field);
    return found == nullptr ? -1 : api::ndGetScalar(found);
}

// 2x2, fields a and b: element i holds 10 i in a and 10 i + 1 in b.
array_ptr four_elements() {
    return struct_arr("2x2", {"a", "b"}, value(0), value(1), value(10), value(11), value(20), value(21),
                      value(30), value(31));
}

TEST_F(Fields, AreCountedAndNamed) {
    const array_ptr array = four_elements();
    EXPECT_EQ(api::ndGetNumberOfFields(array.get()), 2);
    EXPECT_EQ(array->get_number_of_struct_fields(), 2);
    EXPECT_EQ(array->get_struct_field_names(), api::ndGetFieldNames(array.get()));
    EXPECT_EQ(fields_of(array.get()), (texts{"a", "b"}));
    EXPECT_EQ(api::ndGetFieldNumber(array.get(), "b"), 1);
    EXPECT_EQ(api::ndGetFieldNumber(array.get(), "B"), -1);
    EXPECT_STREQ(api::ndGetFieldNameByNumber(array.get(), 1), "b");
    EXPECT_EQ(api::ndGetFieldNameByNumber(array.get(), 2), nullptr);
    EXPECT_EQ(api::ndGetFieldNameByNumber(array.get(), -1), nullptr);
    EXPECT_EQ(number_in(array.get(), 3, 1), 31);
    EXPECT_EQ(api::ndGetField(array.get(), 2, "b"), api::ndGetFieldByNumber(array.get(), 2, 1));
    EXPECT_EQ(api::ndGetField(array.get(), 2, "c"), nullptr);
}

TEST_F(Fields, AreNoneWithoutNamesAndInOtherClasses) {
    const array_ptr none = struct_arr("2x3", {});
    EXPECT_EQ(api::ndGetNumberOfFields(none.get()), 0);
    EXPECT_EQ(api::ndGetFieldNumber(none.get(), "a"), -1);
    EXPECT_EQ(api::ndGetField(none.get(), 0, "a"), nullptr);
    EXPECT_EQ(none->pdata, nullptr);
    for (const char* other : {"double 2x2", "cell 1x1", "char 1x3"}) {
        const array_ptr array = arr(other);
        EXPECT_EQ(api::ndGetNumberOfFields(array.get()), 0);
        EXPECT_EQ(api::ndGetFieldNumber(array.get(), "a"), -1);
        EXPECT_EQ(api::ndAddField(array.get(), "a"), -1);
        api::ndRemoveField(array.get(), 0);
        EXPECT_THAT(array, EqualsArray(arr(other)));
    }
}

// What the caller does before it changes the slots.
void own_slots(array_ptr& array) {
    if ((array->flags & matrix::flag_shared_data) != 0 && array->is_data_shared_impl())
        array = matrix::detail::do_deep_copy(array.get());
}

TEST_F(Fields, AnAddedOneComesLastWithNulls) {
    for_each_variation(four_elements(), [](array_ptr& array) {
        own_slots(array);
        EXPECT_EQ(api::ndAddField(array.get(), "c"), 2);
        EXPECT_THAT(array, EqualsArray(struct_arr("2x2", {"a", "b", "c"}, value(0), value(1), nullptr,
                                                  value(10), value(11), nullptr, value(20), value(21),
                                                  nullptr, value(30), value(31), nullptr)));
    });
}

TEST_F(Fields, TheFirstOneMakesTheSlots) {
    array_ptr array = struct_arr("2x3", {});
    EXPECT_EQ(api::ndAddField(array.get(), "a"), 0);
    EXPECT_THAT(array, EqualsArray(struct_arr("2x3", {"a"})));
    array = struct_arr("0x3", {});
    EXPECT_EQ(api::ndAddField(array.get(), "a"), 0);
    EXPECT_EQ(array->pdata, nullptr);
    EXPECT_THAT(array, EqualsArray(struct_arr("0x3", {"a"})));
}

TEST_F(Fields, AddingOneThatIsThereChangesNothing) {
    const array_ptr array = four_elements();
    const snapshot before(array.get());
    EXPECT_EQ(api::ndAddField(array.get(), "a"), 0);
    EXPECT_EQ(before.difference(), "");
}

TEST_F(Fields, AnotherHeaderKeepsItsNames) {
    const array_ptr array = four_elements();
    const array_ptr copy = matrix::detail::do_deep_copy(array.get());
    ASSERT_EQ(array->info_a, copy->info_a); // copies share the set
    EXPECT_EQ(matrix::internal::name_set_owners(copy.get()), 2);
    api::ndAddField(array.get(), "c");
    EXPECT_EQ(fields_of(copy.get()), (texts{"a", "b"}));
    EXPECT_EQ(matrix::internal::name_set_owners(copy.get()), 1);
    for (std::size_t i = 0; i < 4; ++i) keep(api::ndGetFieldByNumber(array.get(), i, 0));
    api::ndRemoveField(array.get(), 0);
    EXPECT_EQ(fields_of(array.get()), (texts{"b", "c"}));
    EXPECT_THAT(copy, EqualsArray(four_elements()));
}

TEST_F(Fields, NamesAreCheckedWhereTheCallerAsksForIt) {
    const array_ptr array = four_elements();
    EXPECT_EQ(api::ndAddFieldToStruct(array.get(), "c_1"), 2);
    EXPECT_EQ(api::ndAddFieldToStruct(array.get(), "a"), 0);
    const std::string longest(2048, 'x');
    EXPECT_EQ(api::ndAddFieldToStruct(array.get(), longest.c_str()), 3);
    const snapshot before(array.get());
    for (const std::string& name : {std::string("1a"), std::string(), std::string("a b"), std::string("_a"),
                                    std::string("caf\xC3\xA9"), longest + "x"}) {
        try {
            api::ndAddFieldToStruct(array.get(), name.c_str());
            ADD_FAILURE() << name << " was taken";
        } catch (const foundation::core::except::IMsgIDException& error) {
            EXPECT_EQ(error.GetID(), "TARVEL:AddField:InvalidFieldName");
            EXPECT_EQ(std::get<std::string>(error.GetBaseMsgIDObj().arguments().at(0)), name);
        }
    }
    EXPECT_EQ(before.difference(), "");
    EXPECT_EQ(api::ndAddField(array.get(), "1a"), 4); // here nobody asked
}

std::string id_of(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const foundation::core::except::IMsgIDException& error) {
        return std::string(error.GetID());
    } catch (const std::bad_alloc&) {
        return "out of memory";
    }
}

TEST_F(Fields, AreAddedWithACheckToStructsOnly) {
    const array_ptr array = four_elements();
    const array_ptr cell = arr("cell 1x1");
    EXPECT_EQ(id_of([&] { api::ndAddFieldToStruct(array.get(), nullptr); }),
              "TARVEL:AddField:InvalidFieldName");
    EXPECT_EQ(id_of([&] { api::ndAddFieldToStruct(cell.get(), "1a"); }), "TARVEL:AddField:InvalidFieldName");
    EXPECT_EQ(id_of([&] { api::ndAddFieldToStruct(cell.get(), "a"); }), "TARVEL:nomem");
}

// Each field of each element is 8 bytes from the start.
TEST_F(Fields, CountInTheSizeOfANewStruct) {
    const char* names[] = {"a", "b", "c", "d"};
    constexpr std::size_t bytes_end = std::size_t{1} << 48;
    const struct {
        std::size_t elements;
        int fields;
        std::string id;
    } rows[] = {
        {bytes_end / 8, 0, ""},
        {bytes_end / 8 - 1, 1, "out of memory"},
        {bytes_end / 8, 1, "TARVEL:pmaxsize"},
        {bytes_end / 32 - 1, 4, "out of memory"},
        {bytes_end / 32, 4, "TARVEL:pmaxsize"},
    };
    for (const auto& row : rows) {
        const dims_list dims{row.elements, 1};
        const auto fields = static_cast<std::size_t>(row.fields);
        EXPECT_EQ(id_of([&] { matrix::detail::do_create_struct(dims, {names, fields}); }), row.id);
        for_each_module_mode([&](int mode) {
            const auto create = [&] {
                const array_ptr matrix(api::ndCreateStructMatrix(row.elements, 1, row.fields, names));
                const array_ptr array(api::ndCreateStructArray(2, dims.data(), row.fields, names));
                EXPECT_EQ(matrix != nullptr && array != nullptr, row.id.empty());
            };
            EXPECT_EQ(id_of(create), mode == mode_exceptions ? row.id : "");
        });
    }
}

TEST_F(Fields, TheValuesWithANewFieldMustBeAllowed) {
    const array_ptr array = four_elements();
    array->set_dimensions(dims_list{std::size_t{1} << 24, std::size_t{1} << 20});
    try {
        api::ndAddField(array.get(), "c");
        ADD_FAILURE() << "taken";
    } catch (const foundation::core::except::IMsgIDException& error) {
        EXPECT_EQ(error.GetID(), "TARVEL:pmaxsize");
    }
    array->set_dimensions(dims_list{2, 2});
    EXPECT_THAT(array, EqualsArray(four_elements()));
}

TEST_F(Fields, ARemovedOneLeavesItsValuesToTheCaller) {
    for (const int field : {0, 1}) {
        for_each_variation(four_elements(), [&](array_ptr& array) {
            own_slots(array);
            std::vector<array_ptr> values;
            for (std::size_t i = 0; i < 4; ++i)
                values.emplace_back(api::ndGetFieldByNumber(array.get(), i, field));
            api::ndRemoveField(array.get(), field);
            const int rest = 1 - field;
            EXPECT_THAT(array, EqualsArray(struct_arr("2x2", {rest == 0 ? "a" : "b"}, value(rest),
                                                      value(10 + rest), value(20 + rest), value(30 + rest))));
            for (int i = 0; i < 4; ++i) {
                const array_ptr& removed = values[static_cast<std::size_t>(i)];
                EXPECT_THAT(removed, EqualsArray(value(10 * i + field)));
                EXPECT_EQ(removed->scope, ndLOCAL_SCOPE); // no list of temporaries is kept
            }
        });
    }
}

TEST_F(Fields, RemovingTheOnlyOneLeavesTheShape) {
    const array_ptr array = struct_arr("2x1", {"a"}, value(1), nullptr);
    keep(api::ndGetFieldByNumber(array.get(), 0, 0));
    api::ndRemoveField(array.get(), 0);
    EXPECT_EQ(array->pdata, nullptr);
    EXPECT_EQ(array->info_a, 0U);
    EXPECT_EQ(array->info_b, 0U);
    EXPECT_THAT(array, EqualsArray(struct_arr("2x1", {})));
}

TEST_F(Fields, RemovingWhatIsNoFieldDoesNothing) {
    const array_ptr array = four_elements();
    const snapshot before(array.get());
    for (const int number : {-1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        api::ndRemoveField(array.get(), number);
    EXPECT_EQ(before.difference(), "");
}

// A value that stands in another slot as well stays a member there.
TEST_F(Fields, ARemovedValueWithOtherOwnersStaysAMember) {
    const array_ptr array = four_elements();
    const array_ptr cell = arr("cell 1x1", nullptr);
    ndArray_tag* const shared = api::ndGetFieldByNumber(array.get(), 1, 0);
    api::ndSetCopyInCell(cell.get(), 0, shared);
    for (const std::size_t i : {0, 2, 3}) keep(api::ndGetFieldByNumber(array.get(), i, 0));
    api::ndRemoveField(array.get(), 0);
    EXPECT_EQ(api::ndGetCell(cell.get(), 0), shared);
    EXPECT_EQ(matrix::internal::validate(cell.get()), "");
    matrix::destroyArray(shared); // the reference that the field's slot had
    EXPECT_EQ(shared->ref_count, 1U);
}

// Capacity goes by slots: 300 of them may have room for 512.
TEST_F(Fields, ComeAndGoInABlockWithRoom) {
    array_ptr array = struct_arr("150x1", {"a", "b"});
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    void* const block = heap.calloc(512, sizeof(ndArray_tag*));
    heap.free(std::exchange(array->pdata, block));
    array->flags |= matrix::flag_capacity_tracked;
    for (int i = 0; i < 150; ++i) {
        for (const int field : {0, 1})
            api::ndSetFieldByNumber(array.get(), static_cast<std::size_t>(i), field,
                                    value(10 * i + field).release());
    }
    EXPECT_EQ(api::ndAddField(array.get(), "c"), 2);
    EXPECT_EQ(array->pdata, block) << "450 slots fit";
    EXPECT_NE(array->flags & matrix::flag_capacity_tracked, 0U);
    EXPECT_EQ(api::ndAddField(array.get(), "d"), 3);
    EXPECT_EQ(matrix::internal::validate(array.get()), "");
    for (int i = 0; i < 150; ++i) {
        const auto element = static_cast<std::size_t>(i);
        for (const int field : {0, 1}) EXPECT_EQ(number_in(array.get(), element, field), 10 * i + field);
        for (const int field : {2, 3}) EXPECT_EQ(number_in(array.get(), element, field), -1);
        const array_ptr removed(api::ndGetFieldByNumber(array.get(), element, 0)); // the slot's reference
        api::ndGetCells(array.get())[4 * element] = nullptr;
    }
    api::ndRemoveField(array.get(), 0);
    EXPECT_EQ(array->flags & matrix::flag_capacity_tracked, 0U);
    EXPECT_EQ(fields_of(array.get()), (texts{"b", "c", "d"}));
    for (int i = 0; i < 150; ++i)
        EXPECT_EQ(number_in(array.get(), static_cast<std::size_t>(i), 0), 10 * i + 1);
}

TEST_F(Fields, ABlockThatCantBeCutStays) {
    const array_ptr array = four_elements();
    array->setCustomDeleter([](void* block) { foundation::core::mem::aligned_heap_instance().free(block); });
    const void* const block = array->pdata;
    for (std::size_t i = 0; i < 4; ++i) keep(api::ndGetFieldByNumber(array.get(), i, 1));
    api::ndRemoveField(array.get(), 1);
    EXPECT_EQ(array->pdata, block);
    EXPECT_TRUE(array->hasCustomDeleter());
    EXPECT_THAT(array, EqualsArray(struct_arr("2x2", {"a"}, value(0), value(10), value(20), value(30))));
    for (std::size_t i = 0; i < 4; ++i) keep(api::ndGetFieldByNumber(array.get(), i, 0));
    api::ndRemoveField(array.get(), 0);
    EXPECT_EQ(array->pdata, nullptr);
}

TEST_F(Fields, OfObjectsAreFieldsToo) {
    const array_ptr array = four_elements();
    array->class_id = ndOBJECT_CLASS;
    EXPECT_EQ(api::ndGetNumberOfFields(array.get()), 2);
    EXPECT_EQ(api::ndAddField(array.get(), "c"), 2);
    EXPECT_EQ(number_in(array.get(), 3, 1), 31);
    const array_ptr copy = matrix::detail::do_deep_copy(array.get());
    EXPECT_EQ(fields_of(copy.get()), (texts{"a", "b", "c"}));
}

TEST_F(Fields, NamesGoWithTheClass) {
    const array_ptr array = struct_arr("0x0", {"a"});
    api::ndSetArrayType(array.get(), ndCELL_CLASS);
    EXPECT_EQ(array->info_a, 0U);
    api::ndSetArrayType(array.get(), ndSTRUCT_CLASS);
    EXPECT_EQ(api::ndGetNumberOfFields(array.get()), 0);
}

TEST_F(Fields, OfAStackFrame) {
    EXPECT_THAT(matrix::createStackStruct(3), EqualsArray(struct_arr("3x1", {"file", "name", "line"})));
    EXPECT_THAT(keep(api::ndCreateStackStruct(0)), EqualsArray(struct_arr("0x1", {"file", "name", "line"})));
}

} // namespace
} // namespace test
