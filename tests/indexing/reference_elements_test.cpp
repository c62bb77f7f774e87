// What a reference gives, element by element and class by class.
#include "indexing/reference_support.hpp"
#include "matrix/containers.hpp"
#include "matrix/function_records.hpp"
#include "matrix/lists_fixture.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/validate.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <nd/assignment.hpp>
#include <nd/class_access.hpp>
#include <nd/share.hpp>

#include <cmath>
#include <cstring>

namespace test {
namespace {

using matrix::array_ptr;
using ReferenceElements = NdTest;
using ReferenceOnLists = ListsTest;

TEST_F(ReferenceElements, OfEveryClassOfPlainBytes) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const array_ptr x = numbered(c.name + " 3x4");
        // The whole of it, turned round: rows and columns backwards.
        const array_ptr turned = at(x, range(3, -1, 1), range(4, -1, 1));
        ASSERT_EQ(turned->class_id, c.id);
        const array_ptr back = at(turned, range(12, -1, 1));
        const array_ptr straight = at(at(x, colon()), range(1, 1, 12));
        EXPECT_EQ(std::memcmp(back->pdata, x->pdata, 12 * c.element_size), 0);
        EXPECT_EQ(std::memcmp(straight->pdata, x->pdata, 12 * c.element_size), 0);
        const array_ptr one = at(x, arr("uint8", {3}), arr("int32", {2}));
        EXPECT_EQ(std::memcmp(one->pdata, static_cast<const std::byte*>(x->pdata) + 5 * c.element_size,
                              c.element_size),
                  0);
        EXPECT_EQ((one->flags & matrix::flag_scalar_double) != 0, c.id == ndDOUBLE_CLASS);
    });
}

TEST_F(ReferenceElements, AreTheSameOfEveryRepresentation) {
    for (const char* const description : {"double 3x4", "complex single 3x4", "int8 3x4", "char 3x4"}) {
        const array_ptr listed =
            at(numbered(description), arr("double 2x1", {3, 2}), arr("int8 1x2", {4, 1}));
        const array_ptr stepped = at(numbered(description), range(2, 3, 12));
        for_each_variation(numbered(description), [&](array_ptr& x) {
            EXPECT_THAT(at(x, arr("double 2x1", {3, 2}), arr("int8 1x2", {4, 1})), EqualsArray(listed.get()));
            EXPECT_THAT(at(x, range(2, 3, 12)), EqualsArray(stepped.get()));
        });
    }
    for_each_variation(arr("double 1x3", {3, 1, 3}), [](array_ptr& s) {
        EXPECT_THAT(referenced(numbered("int16 2x2").get(), subs_of(std::move(s))),
                    EqualsArray(arr("int16 1x3", {3, 1, 3})));
    });
}

TEST_F(ReferenceElements, OfARangeAreThoseThatItStandsFor) {
    const array_ptr x = range(10, 5, 100);
    EXPECT_THAT(at(x, arr("double 1x2", {2, 19})), EqualsArray(arr("double 1x2", {15, 100})));
    EXPECT_THAT(at(x, colon(), arr("double", {3})), EqualsArray(arr("double", {20})));
    EXPECT_EQ(error_at(x, arr("double", {20})),
              "TARVEL:badsubscript indexExceedsDims(1, 1x19, 20, 1, numeric)");
}

// Of ranges that no memory has room for: neither few of their elements nor what is wrong with a subscript needs the vector.
TEST_F(ReferenceElements, OfALongRangeAreComputedOneByOne) {
    const array_ptr x = range(1, 1, 1e13);
    const auto num = [](double value) { return arr("double", {value}); };
    EXPECT_THAT(at(x, num(5)), EqualsArray(num(5)));
    EXPECT_THAT(at(x, arr("double 2x1", {1e13, 3})), EqualsArray(arr("double 1x2", {1e13, 3})));
    EXPECT_THAT(at(x, arr("int64 2x2", {4, 3, 2, 1})), EqualsArray(arr("double 2x2", {4, 3, 2, 1})));
    EXPECT_THAT(at(x, range(9, -4, 1)), EqualsArray(arr("double 1x3", {9, 5, 1})));
    EXPECT_THAT(at(x, arr("logical 1x4", {0, 1, 0, 1})), EqualsArray(arr("double 1x2", {2, 4})));
    EXPECT_THAT(at(x, arr("double 0x0")), EqualsArray(arr("double 0x0")));
    EXPECT_THAT(at(x, colon(), num(7)), EqualsArray(num(7)));
    EXPECT_THAT(at(x, arr("double 1x2", {1, 1}), arr("double 1x3", {6, 7, 8}), arr("double 1x2", {1, 1})),
                EqualsArray(arr("double 2x3x2", {6, 6, 7, 7, 8, 8, 6, 6, 7, 7, 8, 8})));
    EXPECT_TRUE(at(x, num(5))->flags & matrix::flag_scalar_double);
    EXPECT_EQ(error_at(x, num(0)), "TARVEL:badsubscript badTypeIndices(1, 1x10000000000000, 0, 1)");
    EXPECT_EQ(error_at(x, num(1e13 + 1)),
              "TARVEL:badsubscript indexExceedsDims(1, 1x10000000000000, 10000000000001, 1, numeric)");
    EXPECT_EQ(error_at(x, num(2), num(1)),
              "TARVEL:badsubscript indexExceedsDims(1, 1x10000000000000, 2, 2, numeric)");
    x->flags |= 0xAB000000U | matrix::flag_from_global_workspace;
    constexpr std::uint32_t marks = matrix::flag_user_mask | matrix::flag_from_global_workspace;
    EXPECT_EQ(at(x, num(5))->flags & marks, 0xAB000000U | matrix::flag_from_global_workspace);
}

TEST_F(ReferenceElements, OfARangeAreOfItsClass) {
    const array_ptr bytes = matrix::create_colon_object(1, 2, 200, ndUINT8_CLASS);
    EXPECT_THAT(at(bytes, arr("double 1x2", {100, 1})), EqualsArray(arr("uint8 1x2", {199, 1})));
    EXPECT_THAT(at(bytes, colon()), EqualsArray(at(matrix::expand_colon_object(bytes.get()), colon())));
    const array_ptr nothing = matrix::create_colon_object(1, std::nan(""), 5, ndINT16_CLASS);
    EXPECT_THAT(at(nothing, arr("double", {1})), EqualsArray(arr("double", {std::nan("")})));
    EXPECT_THAT(at(range(3, 1, 2), colon()), EqualsArray(arr("double 0x1")));
}

TEST_F(ReferenceElements, OfASplitArrayAreCurrent) {
    const array_ptr x = arr("complex double 1x2", {{1, 2}, {3, 4}});
    ASSERT_TRUE(x->split_data(true));
    EXPECT_THAT(at(x, arr("double", {2})), EqualsArray(arr("complex double", {{3, 4}})));
    const array_ptr s = arr("double 1x2", {2, 1});
    ASSERT_TRUE(s->split_data(true));
    const ndArray_tag* const subs[] = {s.get()};
    EXPECT_THAT(matrix::subscriptedReference(*x, subs),
                EqualsArray(arr("complex double 1x2", {{3, 4}, {1, 2}})));
}

TEST_F(ReferenceElements, OfASplitRangeAreCurrent) {
    const array_ptr x = numbered("double 1x5");
    const array_ptr s = range(1, 1, 2);
    ASSERT_TRUE(s->split_data(true));
    const double operands[] = {1, 4, 5}; // step, start, stop
    std::memcpy(s->get_scData()->real_data, operands, sizeof operands);
    const ndArray_tag* const subs[] = {s.get()};
    const array_ptr by_reference = matrix::subscriptedReference(*x, subs);
    EXPECT_THAT(by_reference, EqualsArray(arr("double 1x2", {4, 5})));
    ASSERT_TRUE(s->split_data(true));
    std::memcpy(s->get_scData()->real_data, operands, sizeof operands);
    matrix::detail::noninlined::nd_array_api::ndSubscriptedAssignment(x.get(), 1, subs,
                                                                      arr("double", {9}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x5", {1, 2, 3, 9, 9})));
}

TEST_F(ReferenceElements, OfAComplexArrayThatAreAllRealGiveARealArray) {
    const array_ptr x = arr("complex double 1x4", {{1, 0}, {2, 5}, {3, 0}, {4, 0}});
    EXPECT_THAT(at(x, range(1, 2, 4)), EqualsArray(arr("double 1x2", {1, 3})));
    EXPECT_THAT(at(x, arr("double", {4})), EqualsArray(arr("double", {4})));
    EXPECT_TRUE(at(x, arr("double", {4}))->flags & matrix::flag_scalar_double);
    EXPECT_THAT(at(x, arr("int8 1x2", {4, 2})), EqualsArray(arr("complex double 1x2", {{4, 0}, {2, 5}})));
    EXPECT_THAT(at(x, arr("double 1x0")), EqualsArray(arr("double 1x0")));
    EXPECT_THAT(at(x, arr("double", {1}), range(3, 1, 4)), EqualsArray(arr("double 1x2", {3, 4})));
}

TEST_F(ReferenceElements, OfACellAreShared) {
    const array_ptr x = arr("cell 2x2", numbered("double 1x3"), nullptr, arr("cell 1x1", numbered("int8")),
                            arr("char", u"a"));
    const auto* const plain = matrix::internal::slots_of(x.get())[0];
    const array_ptr part = at(x, arr("double 1x3", {1, 2, 3}));
    EXPECT_THAT(part, EqualsArray(arr("cell 1x3", numbered("double 1x3"), nullptr,
                                      arr("cell 1x1", numbered("int8")))));
    ndArray_tag* const* const slots = matrix::internal::slots_of(part.get());
    EXPECT_EQ(slots[0], plain) << "plain values are the same array";
    EXPECT_EQ(plain->ref_count, 2u);
    EXPECT_NE(slots[2], matrix::internal::slots_of(x.get())[2]) << "containers get a header of their own";
    EXPECT_EQ(slots[2]->pdata, matrix::internal::slots_of(x.get())[2]->pdata);
    EXPECT_EQ(slots[2]->scope, static_cast<std::uint32_t>(ndMEMBER_SCOPE));
    const array_ptr twice = at(x, arr("double 2x1", {1, 1}), arr("double", {1}));
    EXPECT_EQ(plain->ref_count, 4u);
}

TEST_F(ReferenceElements, OfACellThatHoldOthersGetAHeaderOfTheirOwn) {
    namespace api = matrix::detail::noninlined::nd_array_api;
    array_ptr object = struct_arr("1x1", {"a"}, numbered("int8"));
    ASSERT_EQ(api::ndSetClassName(object.get(), "thing"), 0);
    const std::size_t dims[] = {1, 1};
    const array_ptr x = arr("cell 1x3", std::move(object), struct_arr("1x1", {"a"}, numbered("int8")),
                            matrix::create(dims, ndFUNCTION_CLASS, ndREAL));
    const array_ptr part = at(x, range(3, -1, 1));
    for (std::size_t i = 0; i < 3; ++i) {
        const ndArray_tag* const own = matrix::internal::slots_of(x.get())[i];
        const ndArray_tag* const shared = matrix::internal::slots_of(part.get())[2 - i];
        EXPECT_NE(shared, own) << i;
        EXPECT_EQ(shared->class_id, own->class_id);
        EXPECT_EQ(shared->pdata, own->pdata) << i;
        EXPECT_EQ(shared->scope, static_cast<std::uint32_t>(ndMEMBER_SCOPE)) << i;
    }
}

TEST_F(ReferenceElements, OfACellStopBeingReusable) {
    const array_ptr x = arr("cell 1x1", numbered("double 1x3"));
    ndArray_tag* const element = matrix::internal::slots_of(x.get())[0];
    element->flags |= matrix::flag_reusable;
    const array_ptr part = at(x, arr("double", {1}));
    EXPECT_FALSE(element->flags & matrix::flag_reusable);
}

TEST_F(ReferenceElements, OfACellByRunsAndWheels) {
    std::vector<array_ptr> slots;
    for (int i = 1; i <= 24; ++i) slots.push_back(arr("double", {i}));
    const array_ptr x = arr_of_arrays("cell 2x3x4", std::move(slots));
    const auto value = [](double v) { return arr("double", {v}); };
    EXPECT_THAT(at(x, arr("double", {2}), range(3, -2, 1), arr("logical 1x4", {1, 0, 0, 1})),
                EqualsArray(arr("cell 1x2x2", value(6), value(2), value(24), value(20))));
}

std::vector<std::string> events;
void note_acquire(void* name, const ndArray_tag* /*holder*/) {
    events.push_back(std::string("+") + static_cast<char*>(name));
}
void note_release(void* name, const ndArray_tag* /*holder*/) {
    events.push_back(std::string("-") + static_cast<char*>(name));
}

TEST_F(ReferenceElements, OfAFunctionHandleAreAcquired) {
    events.clear();
    char a[] = "a";
    char b[] = "b";
    const std::size_t dims[] = {1, 2};
    array_ptr x = matrix::detail::do_create_numeric(dims, matrix::internal::code_of(ndFUNCTION_CLASS, false));
    auto* const records = static_cast<matrix::internal::function_record*>(x->pdata);
    records[0] = {nullptr, a, note_acquire, note_release};
    records[1] = {nullptr, b, note_acquire, note_release};
    array_ptr part = at(x, range(2, -1, 2));
    EXPECT_EQ(events, (std::vector<std::string>{"+b"}));
    EXPECT_EQ(std::memcmp(part->pdata, &records[1], sizeof records[1]), 0);
    part.reset();
    x.reset();
    EXPECT_EQ(events, (std::vector<std::string>{"+b", "-b", "-a", "-b"}));
    events = {};
}

TEST_F(ReferenceElements, OfAClassWithoutElements) {
    const std::size_t dims[] = {2, 3};
    const array_ptr x = matrix::create(dims, ndUNKNOWN_CLASS, ndREAL);
    const array_ptr part = at(x, colon(), arr("double", {3}));
    EXPECT_EQ(part->class_id, ndUNKNOWN_CLASS);
    EXPECT_EQ(part->m_or_dims, 2u);
    EXPECT_EQ(part->n_or_ndims, 1u);
}

// The class of an array that keeps its elements to itself is asked for them, also beyond dimensions that only it can tell.
TEST_F(ReferenceElements, OfAnIndexingOpaqueArrayAreItsClasssAffair) {
    const array_ptr x = arr("double 1x3", {1, 2, 3});
    x->flags |= matrix::flag_indexing_opaque;
    EXPECT_EQ(error_at(x, arr("double", {9})), "TARVEL:invalidInput invalidInput()");
    EXPECT_EQ(error_at(x, arr("double", {9}), range(1, 1, 4)), "TARVEL:invalidInput invalidInput()");
    EXPECT_EQ(error_at(x, arr("double", {0})), "TARVEL:badsubscript badTypeIndices(1, 1x3, 0, 1)");
    x->flags &= ~matrix::flag_indexing_opaque;
}

TEST_F(ReferenceElements, OfAnOpaqueArrayAreCopiedByItsClass) {
    const std::size_t dims[] = {1, 3};
    const array_ptr x =
        matrix::detail::do_create_numeric(dims, matrix::internal::code_of(ndOPAQUE_CLASS, false));
    const array_ptr part = at(x, range(2, 1, 3));
    ASSERT_EQ(part->n_or_ndims, 2u);
    EXPECT_EQ(static_cast<void**>(part->pdata)[0], nullptr) << "no element, no copy";
    int element = 0;
    static_cast<void**>(x->pdata)[1] = &element;
    EXPECT_EQ(error_at(x, range(2, 1, 3)), "TARVEL:invalidInput invalidInput()") << "no class knows it";
    static_cast<void**>(x->pdata)[1] = nullptr;
}

TEST_F(ReferenceElements, OfAHeaderThatLostItsDataAreZero) {
    const array_ptr x = arr("double 1x3", {1, 2, 3});
    const array_ptr other = matrix::create_empty_copy(x.get());
    other->set_dimensions(std::vector<std::size_t>{1, 3});
    EXPECT_THAT(at(other, arr("double 1x2", {1, 3})), EqualsArray(arr("double 1x2", {0, 0})));
}

TEST_F(ReferenceElements, LeaveTheSourceAlone) {
    const array_ptr x = numbered("complex int16 3x4x2");
    const snapshot before(x.get());
    at(x, range(3, -2, 1), colon(), arr("double", {2}));
    at(x, colon());
    at(x, arr("int64 1x3", {1, 24, 1}));
    EXPECT_EQ(before.difference(), "");
}

TEST_F(ReferenceElements, KeepTheMarksOfTheUser) {
    for (const char* const description : {"double 2x2", "cell 2x2"}) {
        const array_ptr x = arr(description);
        x->flags |= 0xAB000000U | matrix::flag_from_global_workspace | matrix::flag_empty_square_bracket |
                    matrix::flag_reusable;
        for (const array_ptr& part : {at(x, arr("double", {2})), at(x, arr("uint8 1x2", {2, 1}))}) {
            constexpr std::uint32_t marks = matrix::flag_user_mask | matrix::flag_from_global_workspace |
                                            matrix::flag_empty_square_bracket | matrix::flag_reusable;
            EXPECT_EQ(part->flags & marks, 0xAB000000U | matrix::flag_from_global_workspace);
        }
    }
}

TEST_F(ReferenceOnLists, ReachesTheCallerAsATemporary) {
    namespace api = matrix::detail::noninlined::nd_array_api;
    const array_ptr x = numbered("double 1x3");
    const array_ptr s = arr("double", {2});
    const ndArray_tag* const subs[] = {s.get()};
    const array_ptr made(api::ndSubscriptedReference(x.get(), 1, subs));
    EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE);
    EXPECT_THAT(made, EqualsArray(arr("double", {2})));
}

} // namespace
} // namespace test
