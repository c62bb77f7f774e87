// Deletion from arrays whose elements count: what goes is released once, what stays is moved.
#include "indexing/raised_error.hpp"
#include "indexing/sub_list.hpp"
#include "matrix/containers.hpp"
#include "matrix/function_records.hpp"
#include "matrix/opaque_assignment.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/containers.hpp>
#include <nd/deletion.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::internal::slots_of;

using DeletionFromContainers = NdTest;

void erase(const array_ptr& x, const sub_list& subs) {
    api::ndSubscriptedDelete(x.get(), subs.size(), subs.data());
}

// A container whose elements have another owner, which sees whether a slot lets go.
struct watched {
    array_ptr container;
    std::vector<array_ptr> elements;

    explicit watched(array_ptr made) : container(std::move(made)) {
        for (std::size_t i = 0; i < matrix::internal::slot_count(container.get()); ++i) {
            ndArray_tag* const element = slots_of(container.get())[i];
            intrusive_ptr_add_ref(element);
            elements.emplace_back(element);
        }
    }

    // The elements in the slots, by number; those that no slot has must have lost exactly one owner.
    std::vector<std::size_t> numbers() const {
        std::vector<std::size_t> found;
        std::vector<std::uint32_t> owners(elements.size(), 1);
        for (std::size_t i = 0; i < matrix::internal::slot_count(container.get()); ++i) {
            for (std::size_t n = 0; n < elements.size(); ++n) {
                if (slots_of(container.get())[i] != elements[n].get()) continue;
                found.push_back(n + 1);
                ++owners[n];
            }
        }
        for (std::size_t n = 0; n < elements.size(); ++n)
            EXPECT_EQ(elements[n]->ref_count, owners[n]) << "element " << n + 1;
        return found;
    }
};

array_ptr cell_of_kinds() {
    return arr("cell 2x3", arr("double", {1}), arr("cell 1x1", numbered("int8 1x3")), arr("char", u"three"),
               struct_arr("1x1", {"a"}, arr("double", {4})), arr("cell 0x0"), numbered("single 3x3"));
}

array_ptr struct_of_kinds() {
    return struct_arr("1x3", {"a", "b"}, arr("double", {1}), arr("cell 1x1", numbered("int8 1x3")),
                      arr("char", u"three"), struct_arr("1x1", {"a"}, arr("double", {4})), arr("cell 0x0"),
                      numbered("single 3x3"));
}

using numbers = std::vector<std::size_t>;

struct cell_row {
    const char* subs;
    numbers stay;
    std::vector<std::size_t> dims;
};

const cell_row cell_rows[] = {
    {"2", {1, 3, 4, 5, 6}, {1, 5}},
    {"[2 5 2]", {1, 3, 4, 6}, {1, 4}},
    {"<101010>", {2, 4, 6}, {1, 3}},
    {"2:5", {1, 6}, {1, 2}},
    {"1:6", {}, {1, 0}},
    {":", {}, {0, 0}},
    {"[]", {1, 2, 3, 4, 5, 6}, {1, 6}},
    {"<000000>", {1, 2, 3, 4, 5, 6}, {2, 3}},
    {":, 2", {1, 2, 5, 6}, {2, 2}},
    {":, [3 1]", {3, 4}, {2, 1}},
    {"1, :", {2, 4, 6}, {1, 3}},
    {"1:2, :", {}, {0, 3}},
    {":, :", {}, {0, 3}},
};

TEST_F(DeletionFromContainers, MovesWhatStaysAndReleasesTheRest) {
    for (const cell_row& row : cell_rows) {
        SCOPED_TRACE(row.subs);
        const watched x(cell_of_kinds());
        erase(x.container, row.subs);
        EXPECT_EQ(x.numbers(), row.stay);
        const kvSize* const dims = api::ndGetDimensions(x.container.get());
        EXPECT_EQ(numbers(dims, dims + 2), row.dims);
    }
}

const cell_row struct_rows[] = {
    {"2", {1, 2, 5, 6}, {1, 2}},
    {"<110>", {5, 6}, {1, 1}},
    {"[3 1]", {3, 4}, {1, 1}},
    {"1:3", {}, {1, 0}},
    {":", {}, {0, 0}},
    {":, 2", {1, 2, 5, 6}, {1, 2}},
    {":, [3 1]", {3, 4}, {1, 1}},
    {"1, :", {}, {0, 3}},
    {":, :", {}, {0, 3}},
    {"[]", {1, 2, 3, 4, 5, 6}, {1, 3}},
};

TEST_F(DeletionFromContainers, TakesAllFieldsOfAnElement) {
    for (const cell_row& row : struct_rows) {
        SCOPED_TRACE(row.subs);
        const watched x(struct_of_kinds());
        erase(x.container, row.subs);
        EXPECT_EQ(x.numbers(), row.stay);
        const kvSize* const dims = api::ndGetDimensions(x.container.get());
        EXPECT_EQ(numbers(dims, dims + 2), row.dims);
        EXPECT_EQ(field_names_text(x.container.get()), "{a, b}");
    }
}

TEST_F(DeletionFromContainers, KeepsObjectsObjects) {
    array_ptr x = struct_of_kinds();
    ASSERT_EQ(api::ndSetClassName(x.get(), "thing"), 0);
    erase(x, "2");
    EXPECT_EQ(x->class_id, ndOBJECT_CLASS);
    EXPECT_STREQ(api::ndGetClassName(x.get()), "thing");
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 2u);
    erase(x, "1:2");
    EXPECT_EQ(api::ndGetN(x.get()), 0u);
    EXPECT_EQ(x->class_id, ndOBJECT_CLASS);
}

TEST_F(DeletionFromContainers, TakesEveryRepresentation) {
    for (const array_ptr& value : {cell_of_kinds(), struct_of_kinds()}) {
        for (const char* subs : {"2", "<010>", "1:2", ":, 1", ":", "[]"}) {
            SCOPED_TRACE(subs);
            array_ptr expected = matrix::detail::do_deep_copy(value.get());
            erase(expected, subs);
            for_each_variation(value, [&](array_ptr& x) {
                erase(x, subs);
                EXPECT_THAT(x, EqualsArray(expected.get()));
            });
        }
    }
}

// A struct without fields has no slots: its shape is all there is.
TEST_F(DeletionFromContainers, ShortensAStructWithoutFields) {
    const auto shape_after = [](const char* shape, const char* subs) {
        const array_ptr x = struct_arr(shape, {});
        erase(x, subs);
        const kvSize* const dims = api::ndGetDimensions(x.get());
        return numbers(dims, dims + api::ndGetNumberOfDimensions(x.get()));
    };
    EXPECT_EQ(shape_after("1x5", "[1 2]"), (numbers{1, 3}));
    EXPECT_EQ(shape_after("5x1", "[1 2]"), (numbers{3, 1}));
    EXPECT_EQ(shape_after("2x3", "1"), (numbers{1, 5}));
    EXPECT_EQ(shape_after("2x3", ":, 1"), (numbers{2, 2}));
    EXPECT_EQ(shape_after("2x3", "1:2, :"), (numbers{0, 3}));
}

TEST_F(DeletionFromContainers, LeavesEmptySlotsEmpty) {
    const array_ptr x = arr("cell 1x4", nullptr, arr("double", {2}), nullptr, nullptr);
    erase(x, "[1 4]");
    EXPECT_THAT(x, EqualsArray(arr("cell 1x2", arr("double", {2}), nullptr)));
}

// The block that took the place of one with room to spare has none, which the next growth must know.
TEST_F(DeletionFromContainers, GrowsAgainAfterwards) {
    const array_ptr one = arr("cell 1x1", arr("double", {1}));
    for (const char* subs : {"2", ":, 2", "2:300", ":"}) {
        SCOPED_TRACE(subs);
        const array_ptr x = arr("cell 1x300");
        const auto store = [&](std::size_t position) {
            const sub_list at(arr("double", {position}));
            api::ndSubscriptedAssignment(x.get(), 1, at.data(), one.get());
        };
        store(301);
        ASSERT_NE(x->flags & matrix::flag_capacity_tracked, 0u);
        erase(x, subs);
        EXPECT_EQ(x->flags & matrix::flag_capacity_tracked, 0u);
        for (const std::size_t position : {500U, 501U, 502U}) store(position);
        EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 502u);
        for (const std::size_t position : {499U, 500U, 501U})
            EXPECT_EQ(slots_of(x.get())[position], slots_of(one.get())[0]);
        EXPECT_EQ(slots_of(x.get())[498], nullptr);
    }
}

struct holders {
    int now = 0;
    int asked = 0;
};

array_ptr handles(holders& count, std::size_t columns) {
    using matrix::internal::function_record;
    const std::size_t dims[] = {1, columns};
    array_ptr x = matrix::create(dims, ndFUNCTION_CLASS, ndREAL);
    auto* const records = static_cast<function_record*>(x->pdata);
    for (std::size_t i = 0; i < columns; ++i) {
        records[i].data = &count;
        records[i].acquire = [](void* data, const ndArray_tag*) {
            auto& holders_of = *static_cast<holders*>(data);
            if (++holders_of.asked == 2) throw std::bad_alloc();
            ++holders_of.now;
        };
        records[i].release = [](void* data, const ndArray_tag*) { --static_cast<holders*>(data)->now; };
    }
    count.now = static_cast<int>(columns);
    return x;
}

TEST_F(DeletionFromContainers, TellsTheClientsOfFunctionHandles) {
    holders count{0, 10};
    {
        const array_ptr x = handles(count, 4);
        erase(x, "[2 3]");
        EXPECT_EQ(count.now, 2);
        EXPECT_EQ(api::ndGetN(x.get()), 2u);
        erase(x, "1:2");
        EXPECT_EQ(count.now, 0);
    }
    EXPECT_EQ(count.now, 0);
}

TEST_F(DeletionFromContainers, LeavesFunctionHandlesAloneThatCannotBeCopied) {
    holders count;
    {
        const array_ptr x = handles(count, 4);
        EXPECT_EQ(error_of([&] { erase(x, "1"); }), "TARVEL:nomem nomem()");
        EXPECT_EQ(count.now, 4);
        EXPECT_EQ(api::ndGetN(x.get()), 4u);
    }
    EXPECT_EQ(count.now, 0);
}

TEST_F(DeletionFromContainers, LeavesOpaqueElementsAloneThatTheirClassCannotCopy) {
    const std::size_t dims[] = {1, 3};
    const array_ptr x = matrix::create(dims, ndOPAQUE_CLASS, ndREAL);
    erase(x, "2"); // null references are nobody's
    EXPECT_EQ(api::ndGetN(x.get()), 2u);
    int payload = 0;
    static_cast<void**>(x->pdata)[1] = &payload;
    EXPECT_EQ(error_of([&] { erase(x, "1"); }), "TARVEL:invalidInput invalidInput()");
    EXPECT_EQ(api::ndGetN(x.get()), 2u);
    erase(x, ":");
    EXPECT_TRUE(api::ndIsEmpty(x.get()));
}

// What an indexing-opaque array does with a deletion is its class's affair: it hears of an assignment of nothing.
TEST_F(DeletionFromContainers, TellsTheClassOfAnIndexingOpaqueArray) {
    static std::string heard;
    static constexpr matrix::internal::opaque_assignment_table table{
        [](ndArray_tag*, std::size_t nsubs, const kvIndex* const* positions, const kvSize* counts,
           const kvSize*, const ndArray_tag* rhs) {
            heard = std::to_string(nsubs) + " subscripts, " + std::to_string(counts[1]) + " from " +
                    std::to_string(positions[1][0]) + ", " + array_text(rhs).substr(0, 10);
        },
        nullptr, nullptr};
    const std::size_t dims[] = {2, 3};
    const array_ptr x = matrix::create(dims, ndOPAQUE_CLASS, ndREAL);
    x->flags |= matrix::flag_indexing_opaque;
    EXPECT_EQ(error_of([&] { erase(x, ":, [2 3]"); }), "TARVEL:invalidInput invalidInput()");
    matrix::internal::set_opaque_assignment(&table);
    erase(x, ":, [2 3]");
    matrix::internal::set_opaque_assignment(nullptr);
    EXPECT_EQ(heard, "2 subscripts, 2 from 1, double 0x0");
    x->flags &= ~matrix::flag_indexing_opaque; // the slots are given back as they were made
    heard.clear();
    heard.shrink_to_fit();
}

} // namespace
} // namespace test
