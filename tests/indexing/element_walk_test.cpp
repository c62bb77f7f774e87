// How the slots of a set become runs, and in which order their elements come.
#include "indexing/element_walk.hpp"
#include "indexing/reference_support.hpp"
#include "indexing/slot_text.hpp"
#include "support/fixture.hpp"

#include <sstream>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::dims_list;
using matrix::internal::position_run;
using matrix::internal::walk_elements;
using matrix::internal::walk_run;

using ElementWalk = NdTest;

void fill(SubscriptSet& set, const dims_list& dims, const subscripts& subs) {
    for (std::size_t i = 0; i < subs.size(); ++i) {
        const ndArray_tag* const sub = subs[i].get();
        matrix::internal::FillSubscriptSlot(set, i, &sub, dims[i], growing());
    }
}

// The offsets of each run, in brackets.
std::string walked(const dims_list& dims, const subscripts& subs) {
    SubscriptSet set(subs.size(), true, false);
    fill(set, dims, subs);
    std::ostringstream text;
    const std::byte origin[64] = {};
    const bool whole =
        walk_elements(&origin[0], dims, set, 1, [&](const position_run& run, const std::byte* base) {
            text << '[';
            const char* separator = "";
            walk_run(run, [&](std::size_t offset) {
                text << std::exchange(separator, " ")
                     << (base - origin) + static_cast<std::ptrdiff_t>(offset);
            });
            text << ']';
            return true;
        });
    return whole ? text.str() : "stopped";
}

array_ptr num(double x) { return arr("double", {x}); }

TEST_F(ElementWalk, GoesRunByRun) {
    EXPECT_EQ(walked({3, 4}, subs_of(num(2), num(3))), "[7]");
    EXPECT_EQ(walked({12}, subs_of(range(2, 3, 12))), "[1 4 7 10]");
    EXPECT_EQ(walked({12}, subs_of(range(12, -5, 1))), "[11 6 1]");
    EXPECT_EQ(walked({12}, subs_of(arr("int8 1x3", {12, 1, 1}))), "[11 0 0]");
    EXPECT_EQ(walked({3, 4}, subs_of(num(3), colon())), "[2 5 8 11]") << "one run along the second dimension";
    EXPECT_EQ(walked({3, 4}, subs_of(num(3), range(4, -2, 1))), "[11 5]");
    EXPECT_EQ(walked({3, 4}, subs_of(num(3), arr("int8 1x2", {4, 2}))), "[11 5]");
    EXPECT_EQ(walked({3, 4}, subs_of(range(1, 2, 3), arr("int8 1x2", {4, 2}))), "[9 11][3 5]");
    EXPECT_EQ(walked({2, 2, 3}, subs_of(arr("int8 1x2", {2, 1}), range(2, -1, 1), range(1, 2, 3))),
              "[3 2][1 0][11 10][9 8]");
    EXPECT_EQ(walked({2, 3, 2}, subs_of(colon(), num(2), colon())), "[2 3][8 9]");
    EXPECT_EQ(walked({3, 2, 5}, subs_of(num(3), colon(), num(5))), "[26 29]");
}

TEST_F(ElementWalk, JoinsNeighbours) {
    EXPECT_EQ(walked({2, 2, 3}, subs_of(colon(), colon(), num(2))), "[4 5 6 7]");
    EXPECT_EQ(walked({2, 3}, subs_of(colon(), range(2, 1, 3))), "[2 3 4 5]");
    EXPECT_EQ(walked({2, 3}, subs_of(range(1, 1, 2), range(2, 1, 3))), "[2 3 4 5]");
    EXPECT_EQ(walked({2, 3, 2}, subs_of(colon(), range(2, 1, 3), colon())), "[2 3 4 5][8 9 10 11]");
    EXPECT_EQ(walked({3, 3}, subs_of(range(2, 1, 3), range(2, 1, 3))), "[4 5][7 8]");
    EXPECT_EQ(walked({2, 1, 2}, subs_of(colon(), num(1), colon())), "[0 1 2 3]");
    EXPECT_EQ(walked({1, 2, 2}, subs_of(colon(), colon(), colon())), "[0 1 2 3]");
    EXPECT_EQ(walked({2, 2}, subs_of(colon(), range(2, -1, 1))), "[2 3][0 1]");
    EXPECT_EQ(walked({3, 4, 2}, subs_of(num(2), colon(), colon())), "[1 4 7 10 13 16 19 22]");
}

TEST_F(ElementWalk, MakesNoCallForNothing) {
    EXPECT_EQ(walked({3, 4}, subs_of(colon(), range(2, 1, 1))), "");
    EXPECT_EQ(walked({3, 0}, subs_of(colon(), colon())), "");
    EXPECT_EQ(walked({3, 4}, subs_of(arr("double 0x0"), num(1))), "");
}

TEST_F(ElementWalk, StopsWhenARunSaysSo) {
    SubscriptSet set(2, true, false);
    fill(set, {3, 4}, subs_of(range(1, 2, 3), colon()));
    int calls = 0;
    const std::byte origin[64] = {};
    EXPECT_FALSE(walk_elements(&origin[0], dims_list{3, 4}, set, 1,
                               [&](const position_run&, const std::byte*) { return ++calls < 3; }));
    EXPECT_EQ(calls, 3);
    int elements = 0;
    EXPECT_FALSE(
        walk_elements(&origin[0], dims_list{3, 4}, set, 1, [&](const position_run& run, const std::byte*) {
            return walk_run(run, [&](std::size_t) { return ++elements < 4; });
        }));
    EXPECT_EQ(elements, 4);
}

TEST_F(ElementWalk, ReadsAFieldSlotToo) {
    SubscriptSet set(2, true, true);
    set.put_range(0, {1, 1, 1}, matrix::internal::slot_kind::ascending, 1);
    const array_ptr elements = arr("int8 1x2", {3, 1});
    const ndArray_tag* const sub = elements.get();
    matrix::internal::FillSubscriptSlot(set, 0, &sub, 3, growing());
    std::vector<std::size_t> offsets;
    const std::byte origin[64] = {};
    walk_elements(&origin[0], dims_list{2, 3}, set, 1, [&](const position_run& run, const std::byte* base) {
        return walk_run(run, [&](std::size_t offset) {
            offsets.push_back(static_cast<std::size_t>(base - origin) + offset);
        });
    });
    EXPECT_EQ(offsets, (std::vector<std::size_t>{5, 1}));
}

} // namespace
} // namespace test
