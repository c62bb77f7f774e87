// Converted copies from and to cells, structs and objects: who shares slots with whom, and what the hooks of objects hear.
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>

#include <new>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_converted_copy;

using ConvertedContainer = NdTest;

TEST_F(ConvertedContainer, OfAnEmptyArrayToStructHasNoFields) {
    const array_ptr source = arr("double 0x3");
    const array_ptr copy = create_converted_copy(source.get(), ndSTRUCT_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("struct 0x3")));
}

TEST_F(ConvertedContainer, OfAStructWithoutFieldsToCellHasNoSlots) {
    const array_ptr source = arr("struct 1x1");
    EXPECT_THAT(create_converted_copy(source.get(), ndCELL_CLASS), EqualsArray(arr("cell 0x1")));
    const array_ptr many = arr("struct 2x3x4");
    EXPECT_THAT(create_converted_copy(many.get(), ndCELL_CLASS), EqualsArray(arr("cell 0x2x3x4")));
}

array_ptr two_pairs() {
    return struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("cell 1x1", arr("int8", {2})), nullptr,
                      arr("char", u"x"));
}

TEST_F(ConvertedContainer, OfAStructToCellSharesItsSlots) {
    const array_ptr source = two_pairs();
    const array_ptr copy = create_converted_copy(source.get(), ndCELL_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("cell 2x1x2", arr("double", {1}), arr("cell 1x1", arr("int8", {2})),
                                      nullptr, arr("char", u"x"))));
    EXPECT_TRUE(copy->is_data_shared_only_with_impl(source.get()));
}

TEST_F(ConvertedContainer, OfAnObjectToStructHasItsFieldsAndNoClassName) {
    const array_ptr object = two_pairs();
    ASSERT_EQ(api::ndSetClassName(object.get(), "pair"), 0);
    const array_ptr copy = create_converted_copy(object.get(), ndSTRUCT_CLASS);
    EXPECT_THAT(copy, EqualsArray(two_pairs()));
    EXPECT_EQ(api::ndGetObjectClassName(copy.get()), nullptr);
    EXPECT_STREQ(api::ndGetObjectClassName(object.get()), "pair");
    const auto value = [](const array_ptr& of) { return static_cast<ndArray_tag**>(of->pdata)[0]; };
    EXPECT_NE(copy->pdata, object->pdata);
    EXPECT_EQ(value(copy), value(object)) << "values are shared";
    EXPECT_EQ(create_converted_copy(object.get(), ndDOUBLE_CLASS), nullptr);
}

// ndStruct2Cell and the conversion to cell are one and the same.
TEST_F(ConvertedContainer, HasTwoNames) {
    array_ptr object = two_pairs();
    ASSERT_EQ(api::ndSetClassName(object.get(), "pair"), 0);
    const struct {
        array_ptr source;
        array_ptr expected;
    } rows[] = {
        {two_pairs(), arr("cell 2x1x2", arr("double", {1}), arr("cell 1x1", arr("int8", {2})), nullptr,
                          arr("char", u"x"))},
        {std::move(object), arr("cell 2x1x2", arr("double", {1}), arr("cell 1x1", arr("int8", {2})), nullptr,
                                arr("char", u"x"))},
        {arr("cell 1x2", arr("double", {1}), nullptr), arr("cell 1x2", arr("double", {1}), nullptr)},
        {arr("double 0x3"), arr("cell 0x3")},
        {arr("char 2x0x2"), arr("cell 2x0x2")},
        {arr("double 1x1"), nullptr},
        {arr("unknown 0x0"), nullptr},
        {nullptr, nullptr},
    };
    for_each_module_mode([&](int) {
        for (const auto& row : rows) {
            const array_ptr copy(api::ndStruct2Cell(row.source.get()));
            const array_ptr other(api::ndCreateConvertedCopy(row.source.get(), ndCELL_CLASS));
            ASSERT_EQ(copy == nullptr, row.expected == nullptr);
            ASSERT_EQ(other == nullptr, row.expected == nullptr);
            if (row.expected == nullptr) continue;
            EXPECT_THAT(copy, EqualsArray(row.expected.get()));
            EXPECT_THAT(other, EqualsArray(row.expected.get()));
        }
    });
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    const array_ptr copy(api::ndStruct2Cell(cell.get()));
    EXPECT_NE(copy->pdata, cell->pdata) << "a cell is copied all the way down";
    EXPECT_NE(api::ndGetCell(copy.get(), 0), api::ndGetCell(cell.get(), 0));
}

// ---- the hooks of objects

int begun, ended;

class ConvertedObject : public NdTest {
protected:
    ConvertedObject() {
        begun = ended = 0;
        api::ndSetObjectCreateDestroyFn([](ndArray_tag*) { ++begun; }, [](ndArray_tag*) { ++ended; });
    }
    ~ConvertedObject() override { api::ndSetObjectCreateDestroyFn(nullptr, nullptr); }
};

TEST_F(ConvertedObject, EndsBeforeItGoesOnAsAStruct) {
    array_ptr object = two_pairs();
    api::ndSetClassName(object.get(), "pair");
    begun = 0;
    array_ptr copy = create_converted_copy(object.get(), ndSTRUCT_CLASS);
    EXPECT_EQ(begun, 1);
    EXPECT_EQ(ended, 1);
    copy.reset();
    EXPECT_EQ(ended, 1) << "a struct has no hook";
    object.reset();
    EXPECT_EQ(ended, 2);
}

TEST_F(ConvertedObject, EndsWhileACellHasItsSlots) {
    array_ptr object = two_pairs();
    api::ndSetClassName(object.get(), "pair");
    array_ptr cell(api::ndStruct2Cell(object.get()));
    object.reset();
    EXPECT_EQ(ended, 1);
    cell.reset();
    EXPECT_EQ(ended, 1) << "a cell has no hook";
}

TEST_F(ConvertedObject, MadeOfAnEmptyArrayHasABeginningAndAnEnd) {
    for (const char* const source : {"double 0x3", "char 0x0", "int8 2x0x2"}) {
        begun = ended = 0;
        array_ptr object = create_converted_copy(arr(source).get(), ndOBJECT_CLASS);
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(begun, 1) << source;
        object.reset();
        EXPECT_EQ(ended, 1) << source;
    }
}

} // namespace
} // namespace test
