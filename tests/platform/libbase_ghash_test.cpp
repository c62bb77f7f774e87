// The pointer table against std::map, over additions, replacements and removals in many orders.
#include <libbase/ghash.hpp>

#include "support/alloc_sources.hpp"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <new>
#include <random>
#include <vector>

namespace {

struct deleter {
    void operator()(base_ghash_table* table) const noexcept { base_delete_ghash_table(table); }
};
using table_ptr = std::unique_ptr<base_ghash_table, deleter>;

// Keys at the distances that addresses have: neighbours, cache lines, pages.
std::vector<const void*> keys(std::size_t count, std::size_t distance) {
    std::vector<const void*> result;
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(reinterpret_cast<const void*>(0x7f0000001000 + i * distance));
    return result;
}

TEST(LibbaseGhash, AnEmptyTableHasNoKeys) {
    const table_ptr table(base_new_ghash_table());
    const int anything = 0;
    EXPECT_EQ(base_ghash_find(table.get(), &anything), nullptr);
    EXPECT_FALSE(base_ghash_replace(table.get(), &anything, 1));
    EXPECT_FALSE(base_ghash_remove(table.get(), &anything));
}

TEST(LibbaseGhash, InsertReplaceRemove) {
    const table_ptr table(base_new_ghash_table());
    const char key[2] = {};
    EXPECT_TRUE(base_ghash_insert(table.get(), &key[0], 7));
    EXPECT_FALSE(base_ghash_insert(table.get(), &key[0], 8)) << "a key that is there keeps its value";
    EXPECT_EQ(*base_ghash_find(table.get(), &key[0]), 7U);
    EXPECT_EQ(base_ghash_find(table.get(), &key[1]), nullptr);
    EXPECT_TRUE(base_ghash_replace(table.get(), &key[0], UINTPTR_MAX));
    EXPECT_EQ(*base_ghash_find(table.get(), &key[0]), UINTPTR_MAX);
    EXPECT_TRUE(base_ghash_remove(table.get(), &key[0]));
    EXPECT_FALSE(base_ghash_remove(table.get(), &key[0]));
    EXPECT_EQ(base_ghash_find(table.get(), &key[0]), nullptr);
}

TEST(LibbaseGhash, DeletingNullIsAllowed) { base_delete_ghash_table(nullptr); }

TEST(LibbaseGhash, RefusesMoreKeysThanMemoryHolds) {
    EXPECT_THROW(base_new_ghash_table(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(base_new_ghash_table(SIZE_MAX / 2 + 1), std::bad_alloc);
}

TEST(LibbaseGhash, HoldsEveryCountAtEveryDistance) {
    for (const std::size_t distance : {1U, 8U, 16U, 64U, 4096U, 1U << 20})
        for (const std::size_t count : {1U, 63U, 64U, 65U, 128U, 1000U, 20000U})
            for (const std::size_t expected : {std::size_t{0}, count}) {
                const table_ptr table(base_new_ghash_table(expected));
                const auto all = keys(count, distance);
                for (std::size_t i = 0; i < count; ++i)
                    ASSERT_TRUE(base_ghash_insert(table.get(), all[i], i));
                for (std::size_t i = 0; i < count; ++i) {
                    const std::uintptr_t* const value = base_ghash_find(table.get(), all[i]);
                    ASSERT_TRUE(value && *value == i) << count << " keys " << distance << " apart, key " << i;
                }
                EXPECT_EQ(base_ghash_find(table.get(), keys(count + 1, distance).back()), nullptr);
            }
}

TEST(LibbaseGhash, AgreesWithAMapOverRandomChanges) {
    for (const std::size_t distance : {1U, 16U, 4096U})
        for (const std::size_t universe : {20U, 100U, 700U}) {
            std::mt19937 random(static_cast<unsigned>(universe + distance));
            const table_ptr table(base_new_ghash_table());
            std::map<const void*, std::uintptr_t> model;
            const auto all = keys(universe, distance);
            for (int step = 0; step < 20000; ++step) {
                const void* const key = all[random() % universe];
                const std::uintptr_t value = random();
                const bool there = model.count(key) != 0;
                switch (random() % 4) {
                case 0:
                case 1:
                    ASSERT_EQ(base_ghash_insert(table.get(), key, value), !there);
                    model.emplace(key, value);
                    break;
                case 2:
                    ASSERT_EQ(base_ghash_replace(table.get(), key, value), there);
                    if (there) model[key] = value;
                    break;
                default:
                    ASSERT_EQ(base_ghash_remove(table.get(), key), there);
                    model.erase(key);
                }
                const void* const other = all[random() % universe];
                const std::uintptr_t* const found = base_ghash_find(table.get(), other);
                const auto expected = model.find(other);
                ASSERT_EQ(found != nullptr, expected != model.end());
                if (found) {
                    ASSERT_EQ(*found, expected->second);
                }
            }
            for (const void* key : all)
                ASSERT_EQ(base_ghash_find(table.get(), key) != nullptr, model.count(key) != 0);
        }
}

TEST(LibbaseGhash, AFailedCreationLeavesNothing) {
    const auto before = test::count_live_blocks();
    for (long n = 1;; ++n) {
        base_ghash_table* table = nullptr;
        {
            test::injection injection({.first = n});
            try {
                table = base_new_ghash_table();
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(injection.failures(), 1);
            }
        }
        if (table) {
            EXPECT_EQ(n, 3) << "a table is two blocks";
            base_delete_ghash_table(table);
            break;
        }
        EXPECT_EQ(test::count_live_blocks(), before);
    }
    EXPECT_EQ(test::count_live_blocks(), before);
}

TEST(LibbaseGhash, AFailedInsertionChangesNothing) {
    const table_ptr table(base_new_ghash_table());
    const auto all = keys(3000, 16);
    int failures = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        bool inserted = false;
        {
            test::injection injection({.first = 1});
            try {
                inserted = base_ghash_insert(table.get(), all[i], i);
            } catch (const std::bad_alloc&) {
                ++failures;
            }
        }
        ASSERT_EQ(base_ghash_find(table.get(), all[i]) != nullptr, inserted);
        if (!inserted) {
            ASSERT_TRUE(base_ghash_insert(table.get(), all[i], i));
        }
    }
    EXPECT_EQ(failures, 6) << "the table doubles at 64, 128, ... 2048 keys";
    for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(*base_ghash_find(table.get(), all[i]), i);
}

} // namespace
