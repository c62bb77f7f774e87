// Every representation holds the value it was made for, and companions are watched.
#include "support/variations.hpp"

#include "matrix/sharing.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <nd/colon.hpp>

#include <gtest/gtest-spi.h>

#include <set>

namespace {

using test::arr;
using test::EqualsArray;
using test::for_each_variation;
using test::numbered;
using test::representation;
using test::variation;

using Variations = test::NdTest;

representation make(const std::string& name, const matrix::array_ptr& value) {
    for (const variation& row : test::all_variations()) {
        if (row.name == name) return row.make(value.get());
    }
    ADD_FAILURE() << "no representation is called " << name;
    return {};
}

TEST_F(Variations, HoldTheValueForEveryClassAndShape) {
    test::for_each_class(test::class_set::with_bytes, [](const test::class_case& c) {
        for (const char* dims : {"1x1", "2x3", "0x3", "2x3x4", "300x1"}) {
            const auto value = numbered(c.name + " " + dims);
            for_each_variation(value,
                               [&](matrix::array_ptr& x) { EXPECT_THAT(x, EqualsArray(value.get())); });
            EXPECT_THAT(value, EqualsArray(numbered(c.name + " " + dims)));
        }
    });
}

// A colon object comes last, where the value is a range: not for columns, complex values, and elements at uneven distances.
TEST_F(Variations, OfAValueMayBeAColonObject) {
    struct {
        const char* description;
        bool is_range;
    } const rows[] = {
        {"double 1x5", true},  {"single 1x1", true},  {"char 1x4", true},     {"int8 1x3", true},
        {"uint16 1x2", true},  {"int64 1x5", true},   {"uint64 1x5", true},   {"double 5x1", false},
        {"double 2x3", false}, {"double 1x0", false}, {"logical 1x3", false}, {"complex double 1x3", false},
        {"cell 1x2", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.description);
        const auto value = numbered(row.description);
        std::size_t plain = 0;
        std::size_t lazy = 0;
        test::for_each_variation_of_value(value, [&](matrix::array_ptr& x) {
            const bool object = (x->flags & matrix::flag_colon_object) != 0;
            (object ? lazy : plain) += 1;
            if (object) {
                EXPECT_THAT(matrix::expand_colon_object(x.get()), EqualsArray(value.get()));
            }
        });
        EXPECT_GE(plain, 3U);
        EXPECT_EQ(lazy, row.is_range ? 1U : 0U);
    }
    EXPECT_EQ(test::as_colon_object(arr("double 1x3", {1, 2, 4}).get()), nullptr);
    EXPECT_EQ(test::as_colon_object(arr("double 1x3", {1, 0, 1e300}).get()), nullptr);
    EXPECT_EQ(test::as_colon_object(arr("double 1x3", {1, 2, 1e300}).get()), nullptr);
    EXPECT_NE(test::as_colon_object(arr("uint64 1x3", {9, 6, 3}).get()), nullptr);
    EXPECT_EQ(test::as_colon_object(test::as_colon_object(arr("double", {1}).get()).get()), nullptr);
}

TEST_F(Variations, HoldCells) {
    const auto cell = arr("cell 1x3", arr("double", {1}), nullptr, arr("cell"));
    int seen = 0;
    for_each_variation(cell, [&](matrix::array_ptr& x) {
        ++seen;
        EXPECT_THAT(x, EqualsArray(cell.get()));
    });
    EXPECT_GE(seen, 10);
}

TEST_F(Variations, AreWhatTheyAreCalled) {
    const auto value = numbered("double 2x3x4");
    EXPECT_TRUE(matrix::internal::has_shared_data(make("shared block", value).value.get()));
    EXPECT_TRUE(matrix::internal::has_shared_data(make("shared block, the copy of it", value).value.get()));
    const representation once = make("block that was shared once", value);
    EXPECT_TRUE((once.value->flags & matrix::flag_shared_data) != 0);
    EXPECT_FALSE(matrix::internal::has_shared_data(once.value.get()));
    EXPECT_TRUE(make("block with a custom deleter", value).value->hasCustomDeleter());
    EXPECT_TRUE((make("block of tracked capacity", value).value->flags & matrix::flag_capacity_tracked) != 0);
    EXPECT_EQ(make("header with two owners", value).value->ref_count, 2U);
    EXPECT_EQ(make("header with user bits", value).value->flags >> matrix::flag_user_shift, 0xA5U);
    EXPECT_EQ(make("header that had more dimensions", value).value->n_or_ndims, 3U);
    const auto cell = arr("cell 2x3");
    const representation pair = make("slots that cell and struct have", cell);
    EXPECT_EQ(pair.bystanders.front()->class_id, ndSTRUCT_CLASS);
    EXPECT_EQ(pair.bystanders.front()->pdata, pair.value->pdata);
    EXPECT_TRUE(make("block with a custom deleter", cell).value->hasCustomDeleter());
    EXPECT_TRUE((make("block of tracked capacity", cell).value->flags & matrix::flag_capacity_tracked) != 0);
    EXPECT_TRUE((make("header that had more dimensions", numbered("int8 2x3")).value->flags &
                 matrix::flag_inline_dims) != 0);
}

TEST_F(Variations, LeaveTheValueToTheBody) {
    const auto value = numbered("int16 4x1");
    for_each_variation(value, [](matrix::array_ptr& x) { x.reset(); });
}

TEST_F(Variations, NameTheRepresentationInAFailure) {
    const auto value = numbered("int16 4x1");
    std::set<std::string> names;
    for (const variation& row : test::all_variations()) names.insert(row.name);
    EXPECT_EQ(names.size(), test::all_variations().size());
    const auto fail_on_user_bits = [&] {
        for_each_variation(value, [](matrix::array_ptr& x) {
            if (x->flags >> matrix::flag_user_shift != 0) ADD_FAILURE() << "seen";
        });
    };
    EXPECT_NONFATAL_FAILURE(fail_on_user_bits(), "representation: header with user bits");
}

#ifndef ND_TORTURE // the library finds it first
TEST_F(Variations, FindAWriteThroughASharedBlock) {
    const auto value = numbered("int16 4x1");
    const auto write_shared = [&] {
        for_each_variation(value, [&](matrix::array_ptr& x) {
            const bool original =
                x->share_record != nullptr && x->share_record->count > 1 && x->scope == ndLOCAL_SCOPE;
            static bool written = false;
            if (original && !written) {
                written = true;
                static_cast<std::int16_t*>(x->pdata)[2] = 77;
            }
        });
    };
    EXPECT_NONFATAL_FAILURE(write_shared(), "at (3,1) expected 3, is 77");
}
#endif

} // namespace
