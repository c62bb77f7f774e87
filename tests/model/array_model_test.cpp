// The model itself: its few rules, and that it notices when a real array isn't what it says.
#include "model/array_model.hpp"

#include "model/program.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"

#include <gmock/gmock.h>

#include <functional>

namespace {

using model::dims;
using test::numbered;
using ::testing::HasSubstr;

using ArrayModel = test::NdTest;

TEST_F(ArrayModel, KeepsAtLeastTwoDimensions) {
    EXPECT_EQ(model::stored_dims({}), (dims{0, 0}));
    EXPECT_EQ(model::stored_dims({5}), (dims{5, 1}));
    EXPECT_EQ(model::stored_dims({1, 1, 1}), (dims{1, 1}));
    EXPECT_EQ(model::stored_dims({2, 3, 1, 1}), (dims{2, 3}));
    EXPECT_EQ(model::stored_dims({2, 1, 3}), (dims{2, 1, 3}));
    EXPECT_EQ(model::stored_dims({2, 3, 0, 1}), (dims{2, 3, 0}));
}

TEST_F(ArrayModel, SharesAndCopiesBlocks) {
    model::array source = model::zeros(ndINT16_CLASS, false, {2, 3});
    const model::array sharer = model::shared_copy(source);
    const model::array copy = model::deep_copy(source);
    EXPECT_EQ(source.data, sharer.data);
    EXPECT_TRUE(source.joined && sharer.joined && !copy.joined);
    EXPECT_NE(source.data, copy.data);
    model::array empty = model::zeros(ndINT16_CLASS, false, {0, 3});
    EXPECT_FALSE(model::shared_copy(empty).joined);
}

struct falsification {
    std::function<void(ndArray_tag*)> change;
    const char* message;
};

TEST_F(ArrayModel, NoticesWhatIsNotAsItSays) {
    const auto real = numbered("int16 2x3");
    model::array expected = model::zeros(ndINT16_CLASS, false, {2, 3});
    for (std::size_t i = 0; i < 6; ++i) expected.data->bytes[2 * i] = static_cast<std::byte>(i + 1);
    ASSERT_EQ(expected.difference_from(real.get()), "");
    auto* elements = static_cast<std::int16_t*>(real->pdata);
    const falsification rows[] = {
        {[&](ndArray_tag* a) { a->class_id ^= 1; }, "class: expected 10, found 11"},
        {[&](ndArray_tag* a) { a->flags ^= matrix::flag_complex; }, "flags: expected 524416, found 526464"},
        {[&](ndArray_tag* a) { a->n_or_ndims ^= 1; }, "dimensions: expected 2x3, found 2x2"},
        {[&](ndArray_tag* a) { a->ref_count ^= 3; }, "owners: expected 1, found 2"},
        {[&](ndArray_tag*) { elements[5] ^= 1; }, "the elements differ"},
    };
    for (const falsification& row : rows) {
        row.change(real.get());
        EXPECT_THAT(expected.difference_from(real.get()), HasSubstr(row.message));
        row.change(real.get());
    }
    EXPECT_EQ(expected.difference_from(real.get()), "");
}

TEST_F(ArrayModel, CountsSharers) {
    const auto real = numbered("int8 1x1");
    const auto sharer = matrix::detail::do_shared_copy(real.get());
    model::array expected = model::zeros(ndINT8_CLASS, false, {1, 1});
    expected.data->bytes[0] = std::byte{1};
    expected.joined = true;
    EXPECT_THAT(expected.difference_from(real.get()), HasSubstr("sharers: expected 1, found 2"));
}

TEST_F(ArrayModel, AProgramStopsAtAWrongElement) {
    model::world world;
    ASSERT_EQ(world.run({0, 2, 1, 0}), "") << "create 2x3";
    ASSERT_FALSE(world.handles().empty());
    static_cast<char*>(world.handles().front().real->pdata)[3] ^= 1;
    EXPECT_EQ(world.run({16, 0, 0, 0}), "handle 0: the elements differ");
    EXPECT_EQ(world.finish(), "");
}

TEST_F(ArrayModel, AProgramNoticesALeak) {
    model::world world;
    const auto leaked = numbered("int8 2x2");
    EXPECT_THAT(world.finish(), HasSubstr("blocks were left behind: header slots 1"));
}

} // namespace
