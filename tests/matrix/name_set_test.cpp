// Sets of field names: what they hold, when they are copied, when they keep a table.
#include "matrix/name_set.hpp"

#include "support/fixture.hpp"

#include <libbase/symbol_table.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace test {
namespace {

using matrix::internal::find_name;
using matrix::internal::make_name_set;
using matrix::internal::name_addition;
using matrix::internal::name_index_info;
using matrix::internal::name_removal;
using matrix::internal::name_set_ptr;
using texts = std::vector<std::string>;

using NameSet = NdTest;

texts numbered_names(int count) {
    texts names;
    for (int i = 0; i < count; ++i) names.push_back("f" + std::to_string(i));
    return names;
}

name_set_ptr set_of(const texts& names) {
    std::vector<const char*> pointers;
    for (const std::string& name : names) pointers.push_back(name.c_str());
    return make_name_set(pointers);
}

texts names_in(const name_set_ptr& set) {
    return set == nullptr ? texts() : texts(set->names(), set->names() + set->count);
}

void add(name_set_ptr& set, const char* name) { name_addition(set, name).commit(); }
void remove(name_set_ptr& set, std::int32_t index) { name_removal(set, index).commit(); }

// Every name is found at its last place, and the table is there exactly from 64 names on.
void expect_consistent(const name_set_ptr& set) {
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->table != nullptr, set->count >= 64);
    const texts names = names_in(set);
    for (const std::string& name : names) {
        const auto last = std::find(names.rbegin(), names.rend(), name);
        EXPECT_EQ(find_name(set.get(), name.c_str()), names.rend() - last - 1) << name;
    }
    EXPECT_EQ(find_name(set.get(), "no such name"), -1);
}

TEST_F(NameSet, OfNoNamesIsNone) {
    EXPECT_EQ(make_name_set({}), nullptr);
    EXPECT_EQ(find_name(nullptr, "a"), -1);
}

TEST_F(NameSet, HoldsSymbolsInOrder) {
    for (const int count : {1, 2, 63, 64, 65, 300}) {
        const name_set_ptr set = set_of(numbered_names(count));
        EXPECT_EQ(names_in(set), numbered_names(count));
        EXPECT_FALSE(set->has_spare);
        EXPECT_EQ(set->names()[count - 1], base_symtab_find(("f" + std::to_string(count - 1)).c_str()));
        expect_consistent(set);
    }
}

TEST_F(NameSet, FindsTheLastOfEqualNames) {
    for (const int count : {3, 100}) {
        texts names = numbered_names(count);
        names.push_back("f1");
        const name_set_ptr set = set_of(names);
        EXPECT_EQ(find_name(set.get(), "f1"), count);
        expect_consistent(set);
    }
}

TEST_F(NameSet, MakesASymbolOfEveryNameItIsAskedForOnceItHasATable) {
    static int run = 0; // symbols stay: each run asks for a name of its own
    const std::string name = "asked for at 64 names, run " + std::to_string(++run);
    const name_set_ptr set = set_of(numbered_names(64));
    ASSERT_EQ(base_symtab_find(name.c_str()), nullptr);
    EXPECT_EQ(find_name(set.get(), name.c_str()), -1);
    EXPECT_NE(base_symtab_find(name.c_str()), nullptr);
}

TEST_F(NameSet, GrowsByOneNameAtATime) {
    name_set_ptr set;
    texts expected;
    for (int i = 0; i < 600; ++i) {
        expected.push_back("f" + std::to_string(i));
        const bool had_room = set != nullptr && set->has_spare && (set->count & (set->count - 1)) != 0;
        const name_index_info* const before = set.get();
        add(set, expected.back().c_str());
        EXPECT_EQ(set.get() == before, had_room) << i;
        ASSERT_EQ(names_in(set), expected);
        EXPECT_EQ(set->has_spare, i >= 256) << i;
        if (i < 70 || i % 50 == 0 || (i > 250 && i < 260)) expect_consistent(set);
    }
}

TEST_F(NameSet, AddingLeavesOtherOwnersTheirNames) {
    for (const int count : {1, 63, 64, 65, 300}) {
        name_set_ptr set = set_of(numbered_names(count));
        const name_set_ptr other = set;
        add(set, "new");
        EXPECT_EQ(names_in(other), numbered_names(count));
        EXPECT_EQ(set->count, count + 1);
        EXPECT_FALSE(set->has_spare);
        expect_consistent(set);
        expect_consistent(other);
        EXPECT_EQ(find_name(other.get(), "new"), -1);
    }
}

TEST_F(NameSet, AnAdditionThatIsGivenUpChangesNothing) {
    for (const int count : {1, 63, 64, 256, 300}) {
        for (const bool shared : {false, true}) {
            name_set_ptr set;
            for (const std::string& name : numbered_names(count)) add(set, name.c_str());
            const name_set_ptr other = shared ? set : nullptr;
            const name_index_info* const before = set.get();
            { const name_addition given_up(set, "new"); }
            EXPECT_EQ(set.get(), before);
            EXPECT_EQ(names_in(set), numbered_names(count));
            EXPECT_EQ(find_name(set.get(), "new"), -1);
            expect_consistent(set);
        }
    }
}

TEST_F(NameSet, TheLastNameTakesTheSetWithIt) {
    name_set_ptr set = set_of({"only"});
    remove(set, 0);
    EXPECT_EQ(set, nullptr);
}

TEST_F(NameSet, RemovingClosesTheGap) {
    for (const int count : {2, 5, 64, 65, 300}) {
        for (const int index : {0, count / 2, count - 1}) {
            name_set_ptr set = set_of(numbered_names(count));
            const name_set_ptr other = set;
            texts expected = numbered_names(count);
            expected.erase(expected.begin() + index);
            remove(set, index);
            EXPECT_EQ(names_in(set), expected);
            EXPECT_EQ(names_in(other), numbered_names(count));
            expect_consistent(set);
            expect_consistent(other);
        }
    }
}

// 64 names are exact, so 63 are always a new set; where there is room to spare, the set and its table stay.
TEST_F(NameSet, RemovalIsInPlaceWhereTheCapacityStays) {
    name_set_ptr set;
    for (const std::string& name : numbered_names(300)) add(set, name.c_str());
    const name_index_info* const before = set.get();
    const base_ghash_table* const table = set->table;
    remove(set, 10);
    EXPECT_EQ(set.get(), before);
    EXPECT_EQ(set->table, table);
    EXPECT_EQ(find_name(set.get(), "f10"), -1);
    EXPECT_EQ(find_name(set.get(), "f299"), 298);
    expect_consistent(set);

    const name_set_ptr other = set;
    remove(set, 0);
    EXPECT_NE(set.get(), before);
    EXPECT_EQ(other->count, 299);
    expect_consistent(other);
    expect_consistent(set);
}

// A new set has the room that the old one had: none to spare where that was exact, of however many names.
TEST_F(NameSet, RemovalKeepsAnExactSetExact) {
    const struct {
        int count;
        bool exact;
        bool spare_left;
    } rows[] = {{2, true, false},   {257, true, false},  {258, true, false}, {300, true, false},
                {513, true, false}, {257, false, false}, {258, false, true}, {300, false, true}};
    for (const auto& row : rows) {
        for (const bool shared : {false, true}) {
            SCOPED_TRACE(std::to_string(row.count) + (row.exact ? " exactly" : " with room to spare"));
            name_set_ptr set;
            if (row.exact) {
                set = set_of(numbered_names(row.count));
            } else {
                for (const std::string& name : numbered_names(row.count)) add(set, name.c_str());
            }
            ASSERT_EQ(set->has_spare, !row.exact);
            const name_set_ptr other = shared ? set : nullptr;
            remove(set, row.count - 1);
            EXPECT_EQ(set->has_spare, row.spare_left);
            EXPECT_EQ(names_in(set), numbered_names(row.count - 1));
            expect_consistent(set);
        }
    }
}

TEST_F(NameSet, RemovingOneOfEqualNamesLeavesTheOther) {
    for (const int index : {1, 299, 300}) {
        name_set_ptr set;
        texts names = numbered_names(299);
        names.push_back("twice");
        for (const std::string& name : names) add(set, name.c_str());
        // Equal names can't be added, only created; the room to spare comes from another addition.
        texts with_equal = names_in(set);
        with_equal.insert(with_equal.begin() + 1, "twice");
        set = set_of(with_equal);
        add(set, "last");
        with_equal.push_back("last");
        with_equal.erase(with_equal.begin() + index);
        remove(set, index);
        EXPECT_EQ(names_in(set), with_equal);
        expect_consistent(set);
    }
}

} // namespace
} // namespace test
