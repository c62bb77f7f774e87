// Setting and replacing elements: whose references they are, and what becomes of headers with other owners.
#include "matrix/library_context.hpp"
#include "matrix/root_record.hpp"
#include "matrix/test_hooks.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/memory.hpp>
#include <nd/module.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using Slots = NdTest;

ndArray_tag* slot(const array_ptr& cell, std::size_t i) { return api::ndGetCell(cell.get(), i); }

// Plain data, text, and what holds references itself.
array_ptr (*const values[])() = {
    [] { return arr("double", {1}); },
    [] { return numbered("complex single 2x3"); },
    [] { return arr("char", u"text"); },
    [] { return arr("cell 1x2", arr("double", {1}), nullptr); },
    [] { return struct_arr("1x1", {"a"}, arr("double", {1})); },
    [] { return arr("cell 0x0"); },
    [] { return arr("double 0x0"); },
};

TEST_F(Slots, ASetValueBelongsToTheCell) {
    for (const auto make : values) {
        const array_ptr cell = arr("cell 1x2");
        ndArray_tag* const value = make().release();
        api::ndSetCell(cell.get(), 1, value);
        EXPECT_EQ(slot(cell, 1), value);
        EXPECT_EQ(value->scope, ndMEMBER_SCOPE);
        EXPECT_EQ(value->ref_count, 1U);
        EXPECT_THAT(slot(cell, 1), EqualsArray(make()));
        EXPECT_EQ(matrix::internal::validate(cell.get()), "");
    }
}

TEST_F(Slots, ANullEmptiesThem) {
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    ndArray_tag* const old = keep(slot(cell, 0));
    api::ndSetCell(cell.get(), 0, nullptr);
    EXPECT_EQ(slot(cell, 0), nullptr);
    EXPECT_EQ(old->ref_count, 1U); // neither destroyed nor released
    api::ndReplaceCell(cell.get(), 0, arr("double", {2}).release());
    api::ndReplaceCell(cell.get(), 0, nullptr);
    EXPECT_EQ(slot(cell, 0), nullptr);
    api::ndReplaceCell(cell.get(), 0, nullptr);
    api::ndSetCopyInCell(cell.get(), 0, nullptr);
    api::ndReplaceCopyInCell(cell.get(), 0, nullptr);
    EXPECT_THAT(cell, EqualsArray(arr("cell 1x1", nullptr)));
}

TEST_F(Slots, AValueWithOtherOwnersGoesInAsASharedCopy) {
    for (const auto make : values) {
        const array_ptr cell = arr("cell 1x1");
        const array_ptr value = make();
        api::ndSetCell(cell.get(), 0, api::ndCreateReference(value.get()));
        ASSERT_NE(slot(cell, 0), value.get());
        EXPECT_EQ(slot(cell, 0)->pdata, value->pdata);
        EXPECT_EQ(slot(cell, 0)->scope, ndMEMBER_SCOPE);
        EXPECT_EQ(value->ref_count, 1U); // the reference that was handed over is gone
        EXPECT_EQ(value->scope, ndLOCAL_SCOPE);
        EXPECT_THAT(slot(cell, 0), EqualsArray(value.get()));
    }
}

TEST_F(Slots, ACopySetInACellLeavesTheCallersReference) {
    for (const auto make : values) {
        for (const auto set : {api::ndSetCopyInCell, api::ndReplaceCopyInCell}) {
            const array_ptr cell = arr("cell 1x1");
            const array_ptr value = make();
            if (value->pdata != nullptr) api::ndSetReusable(value.get(), true);
            set(cell.get(), 0, value.get());
            EXPECT_EQ(value->ref_count, 1U);
            EXPECT_EQ(value->flags & matrix::flag_reusable, 0U);
            EXPECT_NE(slot(cell, 0), value.get());
            EXPECT_THAT(slot(cell, 0), EqualsArray(make()));
            EXPECT_EQ(matrix::internal::validate(cell.get()), "");
        }
    }
}

// A member that others own as well may stand in several slots; only containers get a header of their own.
TEST_F(Slots, AMemberGoesFromSlotToSlotWithOneMoreOwner) {
    for (const auto make : values) {
        const array_ptr cell = arr("cell 1x2");
        api::ndSetCell(cell.get(), 0, make().release());
        const bool container = slot(cell, 0)->class_id <= ndSTRUCT_CLASS;
        api::ndSetCopyInCell(cell.get(), 1, slot(cell, 0));
        EXPECT_EQ(slot(cell, 1) != slot(cell, 0), container);
        EXPECT_EQ(slot(cell, 0)->ref_count, container ? 1U : 2U);
        EXPECT_EQ(matrix::internal::validate(cell.get()), "");
    }
}

TEST_F(Slots, TheLiteralEmptyBracketBecomesAnOrdinaryEmptyArray) {
    const array_ptr cell = arr("cell 1x2");
    ndArray_tag* const literal = arr("double 0x0").release();
    api::ndSetEmptySqrBrktFlag(literal);
    api::ndSetCell(cell.get(), 0, literal);
    EXPECT_FALSE(api::ndIsEmptySqrBrktArray(slot(cell, 0)));
    // A member with the bit is no member yet: with another owner it stays as it is, and a copy goes in.
    api::ndSetEmptySqrBrktFlag(slot(cell, 0));
    api::ndSetCopyInCell(cell.get(), 1, slot(cell, 0));
    EXPECT_NE(slot(cell, 1), slot(cell, 0));
    EXPECT_FALSE(api::ndIsEmptySqrBrktArray(slot(cell, 1)));
    api::ndClearEmptySqrBrktFlag(slot(cell, 0));
}

TEST_F(Slots, ReplacingEndsWhatWasThere) {
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    const array_ptr old(api::ndCreateReference(slot(cell, 0)));
    api::ndReplaceCell(cell.get(), 0, arr("double", {2}).release());
    EXPECT_EQ(old->ref_count, 1U);
    EXPECT_THAT(cell, EqualsArray(arr("cell 1x1", arr("double", {2}))));
    old->scope = ndLOCAL_SCOPE;
}

TEST_F(Slots, AnElementCanReplaceItself) {
    for (const auto make : values) {
        const array_ptr cell = arr("cell 1x1");
        api::ndSetCell(cell.get(), 0, make().release());
        api::ndReplaceCell(cell.get(), 0, slot(cell, 0)); // without a reference of the caller's
        EXPECT_THAT(slot(cell, 0), EqualsArray(make()));
        api::ndReplaceCell(cell.get(), 0, api::ndCreateReference(slot(cell, 0)));
        EXPECT_EQ(slot(cell, 0)->ref_count, 1U);
        api::ndReplaceCopyInCell(cell.get(), 0, slot(cell, 0));
        EXPECT_EQ(slot(cell, 0)->ref_count, 1U);
        EXPECT_THAT(slot(cell, 0), EqualsArray(make()));
    }
}

TEST_F(Slots, ACellGoesIntoItselfAsADeepCopy) {
    const array_ptr cell = arr("cell 1x2", arr("double", {1}), nullptr);
    api::ndSetCopyInCell(cell.get(), 1, cell.get());
    EXPECT_THAT(
        cell, EqualsArray(arr("cell 1x2", arr("double", {1}), arr("cell 1x2", arr("double", {1}), nullptr))));
    api::ndReplaceCopyInCell(cell.get(), 0, cell.get());
    const array_ptr view = matrix::detail::do_shared_copy(cell.get());
    EXPECT_EQ(matrix::internal::validate(cell.get()), "");
}

// By the reference that is handed over, be it the only one: the cell goes on and holds a copy of what it was.
TEST_F(Slots, ACellGoesIntoItselfAsADeepCopyByReference) {
    for (auto* const set : {&api::ndSetCell, &api::ndReplaceCell}) {
        for (const bool only_one : {true, false}) {
            const array_ptr cell = arr("cell 1x2", arr("double", {1}), nullptr);
            if (!only_one) api::ndCreateReference(cell.get());
            set(cell.get(), 1, cell.get());
            EXPECT_EQ(cell->ref_count, 1U);
            EXPECT_THAT(cell, EqualsArray(arr("cell 1x2", arr("double", {1}),
                                              arr("cell 1x2", arr("double", {1}), nullptr))));
            EXPECT_EQ(matrix::internal::validate(cell.get()), "");
        }
    }
}

TEST_F(Slots, AHeaderOverTheSameSlotsGoesInAsADeepCopy) {
    const array_ptr cell = arr("cell 1x2", arr("double", {1}), nullptr);
    api::ndSetCell(cell.get(), 1, matrix::detail::do_shared_copy(cell.get()).release());
    EXPECT_THAT(
        cell, EqualsArray(arr("cell 1x2", arr("double", {1}), arr("cell 1x2", arr("double", {1}), nullptr))));
    EXPECT_EQ(matrix::internal::validate(cell.get()), "");
}

TEST_F(Slots, PrivateDataAreCopiedAndNotShared) {
    const array_ptr cell = arr("cell 1x1");
    double mine[] = {1, 2};
    const array_ptr value = arr("double 1x2");
    foundation::core::mem::aligned_heap_instance().free(value->pdata);
    value->flags |= matrix::flag_data_private;
    value->set_pdata_and_deleter(mine, nullptr);
    api::ndSetCopyInCell(cell.get(), 0, value.get());
    EXPECT_NE(slot(cell, 0)->pdata, static_cast<void*>(mine));
    EXPECT_THAT(cell, EqualsArray(arr("cell 1x1", arr("double 1x2", {1, 2}))));
}

// Private data aren't the library's to have or to free.
TEST_F(Slots, ABlockBesidePrivateDataStaysWithItsOwner) {
    const lists_on lists;
    for (const bool is_private : {false, true}) {
        const array_ptr cell = arr("cell 1x1", nullptr);
        ndArray_tag** const before = api::ndGetCells(cell.get());
        auto** const block = static_cast<ndArray_tag**>(api::ndCalloc(1, sizeof(ndArray_tag*)));
        const auto* const context = matrix::internal::find_context();
        ASSERT_FALSE(context->alloc_list.is_context_empty());
        if (is_private) cell->flags |= matrix::flag_data_private;
        api::ndSetCells(cell.get(), block);
        EXPECT_EQ(context->alloc_list.is_context_empty(), !is_private);
        foundation::core::mem::aligned_heap_instance().free(before);
        if (is_private) api::ndFree(block);
        if (is_private) cell->pdata = nullptr;
    }
}

TEST_F(Slots, AnotherBlockIsTakenOver) {
    const array_ptr cell = arr("cell 1x1", arr("double", {1}));
    ndArray_tag** const old = api::ndGetCells(cell.get());
    EXPECT_EQ(api::ndGetFields(cell.get()), old);
    keep(old[0]);
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    for (const auto set : {api::ndSetCells, api::ndSetFields}) {
        auto** const block = static_cast<ndArray_tag**>(heap.calloc(1, sizeof(ndArray_tag*)));
        cell->flags |= matrix::flag_capacity_tracked;
        ndArray_tag** const before = api::ndGetCells(cell.get());
        set(cell.get(), block);
        EXPECT_EQ(api::ndGetCells(cell.get()), block);
        EXPECT_EQ(cell->flags & matrix::flag_capacity_tracked, 0U);
        heap.free(before); // the old one is the caller's
    }
}

TEST_F(Slots, ValuesOfAStructAreSetByNameAndNumber) {
    const array_ptr array = struct_arr("2x1", {"a", "b"});
    api::ndSetField(array.get(), 1, "a", arr("double", {1}).release());
    api::ndSetFieldByNumber(array.get(), 0, 1, arr("double", {2}).release());
    api::ndReplaceField(array.get(), 1, "a", arr("double", {3}).release());
    api::ndReplaceFieldByNumber(array.get(), 1, 1, arr("double", {4}).release());
    EXPECT_THAT(array, EqualsArray(struct_arr("2x1", {"a", "b"}, nullptr, arr("double", {2}),
                                              arr("double", {3}), arr("double", {4}))));
}

// Notes what it is told of.
class counter : public matrix::ObjectRefCountInterface {
public:
    counter() { set(this); }
    ~counter() override { set(nullptr); }
    void add(ndArray_tag* value, bool) override { added.push_back(value); }
    void release(ndArray_tag* value) override { released.push_back(value); }

    std::vector<const ndArray_tag*> added;
    std::vector<const ndArray_tag*> released;
};

class CountedSlots : public NdTest {
protected:
    CountedSlots() { matrix::internal::test_hooks::set_internal_references(true); }
    ~CountedSlots() override { matrix::internal::test_hooks::set_internal_references(false); }

    static array_ptr handle() {
        const std::size_t dims[] = {1, 1};
        return matrix::create(dims, ndFUNCTION_CLASS, ndREAL);
    }
};

TEST_F(CountedSlots, ReplacingTellsTheReferenceCounter) {
    counter told;
    const array_ptr cell = arr("cell 1x1");
    ndArray_tag* const first = handle().release();
    api::ndReplaceCell(cell.get(), 0, first);
    EXPECT_EQ(told.added, std::vector<const ndArray_tag*>{first});
    EXPECT_EQ(slot(cell, 0), first);
    EXPECT_EQ(first->scope, ndMEMBER_SCOPE);
    EXPECT_TRUE(told.released.empty());

    api::ndReplaceCell(cell.get(), 0, arr("double", {1}).release());
    EXPECT_EQ(told.added.size(), 1U);
    EXPECT_EQ(told.released, std::vector<const ndArray_tag*>{first});
    EXPECT_THAT(cell, EqualsArray(arr("cell 1x1", arr("double", {1}))));
}

TEST_F(CountedSlots, AnElementWithOtherOwnersIsReleasedThroughACopy) {
    counter told;
    const array_ptr cell = arr("cell 1x1");
    const array_ptr element = handle();
    api::ndReplaceCopyInCell(cell.get(), 0, element.get());
    ASSERT_EQ(told.added.size(), 1U);
    ndArray_tag* const stored = slot(cell, 0);
    EXPECT_NE(stored, element.get());
    EXPECT_EQ(told.added.front(), stored);
    const array_ptr owner(api::ndCreateReference(stored));
    api::ndReplaceCell(cell.get(), 0, nullptr);
    ASSERT_EQ(told.released.size(), 1U);
    EXPECT_NE(told.released.front(), stored);
    EXPECT_EQ(stored->ref_count, 1U);
}

TEST_F(CountedSlots, AValueWithOtherOwnersIsCountedAsItsCopy) {
    counter told;
    const array_ptr cell = arr("cell 1x1");
    const array_ptr element = handle();
    api::ndReplaceCell(cell.get(), 0, api::ndCreateReference(element.get()));
    EXPECT_EQ(element->ref_count, 1U);
    EXPECT_EQ(told.added, std::vector<const ndArray_tag*>{slot(cell, 0)});
    EXPECT_NE(slot(cell, 0), element.get());
}

} // namespace
} // namespace test
