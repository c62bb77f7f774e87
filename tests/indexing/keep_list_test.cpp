// What a subscript that is deleted leaves of a dimension.
#include "indexing/keep_list.hpp"
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "indexing/sub_list.hpp"
#include "matrix/own_block.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

#include <random>
#include <set>
#include <sstream>

namespace test {
namespace {

using KeepList = NdTest;
using matrix::internal::keep_list;

keep_list kept_beside(const sub_list& subs, std::size_t dim) {
    return matrix::internal::kept_positions(subs.data(), dim, growing());
}

// "0-2 5", with "marks: " in front where it isn't two runs that are told by their lengths.
std::string text_of(const keep_list& keep) {
    std::ostringstream text;
    if (keep.deletes_nothing()) return "everything";
    if (keep.count == 0) return "nothing";
    text << (keep.marks != nullptr ? "marks:" : "runs:");
    matrix::internal::for_each_kept_run(keep, [&](std::size_t first, std::size_t count) {
        text << ' ' << first;
        if (count != 1) text << '-' << first + count - 1;
    });
    return text.str();
}

struct keep_row {
    const char* subscript;
    std::size_t dim;
    const char* left;
};

const keep_row rows[] = {
    // a mask as long as the dimension
    {"<00000>", 5, "everything"},
    {"<11111>", 5, "nothing"},
    {"<01000>", 5, "marks: 0 2-4"},
    {"<10101>", 5, "marks: 1 3"},
    {"<01>", 2, "marks: 0"},
    // and one of another length, which must not reach beyond
    {"<01>", 5, "runs: 0 2-4"},
    {"<0000>", 5, "everything"},
    {"<0110000>", 4, "runs: 0 3"},
    {"<>", 5, "everything"},
    // one position
    {"1", 1, "nothing"},
    {"1", 5, "runs: 1-4"},
    {"5", 5, "runs: 0-3"},
    {"3", 5, "runs: 0-1 3-4"},
    {"2:2", 2, "runs: 0"},
    {"2:7:2", 3, "runs: 0 2"},
    // lists
    {"[]", 5, "everything"},
    {"[0x3]", 5, "everything"},
    {"[2 3]", 5, "runs: 0 3-4"},
    {"[3 2]", 5, "marks: 0 3-4"},
    {"[2 2 3]", 5, "marks: 0 3-4"},
    {"[2 2]", 5, "marks: 0 2-4"},
    {"[5 1]", 5, "marks: 1-3"},
    {"[2 4 1 3 2]", 4, "nothing"},
    {"[1 2 3 4]", 4, "nothing"},
    {"[1;3]", 4, "marks: 1 3"},
    // ranges of step 1, up and down
    {"1:5", 5, "nothing"},
    {"5:-1:1", 5, "nothing"},
    {"1:3", 5, "runs: 3-4"},
    {"3:5", 5, "runs: 0-1"},
    {"2:4", 5, "runs: 0 4"},
    {"4:-1:2", 5, "runs: 0 4"},
    {"1:0", 5, "everything"},
    // ranges of other steps
    {"1:2:5", 5, "marks: 1 3"},
    {"5:-2:1", 5, "marks: 1 3"},
    {"2:3:8", 9, "marks: 0 2-3 5-6 8"},
    {"1:4:5", 5, "marks: 1-3"},
};

TEST_F(KeepList, FollowsItsTable) {
    for (const keep_row& row : rows) {
        SCOPED_TRACE(std::string(row.subscript) + " of " + std::to_string(row.dim));
        EXPECT_EQ(text_of(kept_beside(row.subscript, row.dim)), row.left);
    }
}

TEST_F(KeepList, TakesSparseMasksAndClassesWithoutIndices) {
    EXPECT_EQ(text_of(kept_beside(sub_list(sparse_arr("logical 1x5", {{0, 1, 1}, {0, 3, 1}})), 5)),
              "marks: 0 2 4");
    EXPECT_EQ(text_of(kept_beside(sub_list(sparse_arr("logical 1x5", {})), 5)), "everything");
    EXPECT_EQ(text_of(kept_beside(sub_list(arr("cell 1x1", nullptr)), 5)), "everything");
    EXPECT_EQ(text_of(kept_beside(sub_list(arr("int8 1x2", {1, 4})), 5)), "marks: 1-2 4");
}

TEST_F(KeepList, RefusesWhatLiesOutside) {
    const std::string mismatch = "TARVEL:subsdeldimmismatch subsdeldimmismatch()";
    for (const char* subscript : {"6", "[1 6]", "2:6", "7:-1:7", "<000001>", "<0000001>"}) {
        SCOPED_TRACE(subscript);
        EXPECT_EQ(error_of([&] { kept_beside(subscript, 5); }), mismatch);
    }
    EXPECT_EQ(error_of([&] { kept_beside("1", 0); }), mismatch);
    EXPECT_EQ(error_of([&] { kept_beside("0", 5); }), "TARVEL:badsubscript badTypeIndices(1, , 0, 1)");
    EXPECT_EQ(error_of([&] { kept_beside("[1 2.5]", 5); }),
              "TARVEL:badsubscript badTypeIndices(1, , 2.5, 1)");
}

TEST_F(KeepList, RefusesMasksWithoutData) {
    for (const char* mask : {"logical 1x5", "logical 1x4", "logical 5x1"}) {
        const matrix::array_ptr subscript = arr(mask);
        matrix::internal::replace_block(subscript.get(), nullptr);
        const ndArray_tag* const subs[] = {subscript.get()};
        EXPECT_EQ(error_of([&] { matrix::internal::kept_positions(subs, 5, growing()); }),
                  "TARVEL:badsubscript badTypeIndices(1, , none, 1)")
            << mask;
    }
}

TEST_F(KeepList, LeavesTheComplementOfAnyList) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::size_t dim = 1 + random() % 70;
        const std::size_t count = 1 + random() % 40;
        std::set<std::size_t> gone;
        std::vector<number> values;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t position = random() % dim;
            gone.insert(position);
            values.emplace_back(position + 1);
        }
        const keep_list keep = kept_beside(sub_list(arr("double 1x" + std::to_string(count), values)), dim);
        ASSERT_EQ(keep.count, dim - gone.size());
        std::vector<bool> kept(dim);
        std::vector<bool> deleted(dim);
        const auto mark_in = [](std::vector<bool>& set) {
            return [&set](std::size_t first, std::size_t run) {
                for (std::size_t i = first; i < first + run; ++i) set[i] = true;
            };
        };
        matrix::internal::for_each_kept_run(keep, mark_in(kept));
        matrix::internal::for_each_deleted_run(keep, mark_in(deleted));
        for (std::size_t i = 0; i < dim; ++i) {
            ASSERT_EQ(deleted[i], gone.count(i) == 1) << i << " of " << dim;
            ASSERT_EQ(kept[i], !deleted[i]);
        }
    }
}

TEST_F(KeepList, LeavesNothingBehindWithoutMemory) {
    for (const char* subscript : {"<01010>", "[1 3]", "1:2:5", "[2 3]"}) {
        for_each_failing_alloc(subscript, [&](fault_run& run) {
            const sub_list subs(subscript);
            run.operand(subs.data()[0]);
            run.act([&] { kept_beside(subs, 5); });
        });
    }
}

} // namespace
} // namespace test
