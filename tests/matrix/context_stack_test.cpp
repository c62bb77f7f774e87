// The stack of contexts behind both lists: holes, starts, growth, and the hint that must never change a result.
#include "matrix/context_stack.hpp"

#include "support/fixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>

namespace test {
namespace {

using ::testing::ElementsAre;

struct entry {
    explicit entry(int* p) noexcept : pointer(p) {}
    int* pointer;
};
using stack = matrix::internal::context_stack<entry, 3>;

constexpr std::size_t most_places = 200;
int places[most_places]; // things to point at; their values are never read

// Positions in `places`, -1 for a hole.
std::vector<int> contents(const stack& s) {
    std::vector<int> found;
    for (std::size_t i = 0; i < s.size(); ++i)
        found.push_back(s[i].pointer == nullptr ? -1 : static_cast<int>(s[i].pointer - places));
    return found;
}

void append(stack& s, std::initializer_list<int> numbers) {
    for (const int n : numbers) s.append(places + n);
}

/// What a list does to take an entry out, with the hint or as if there were none.
bool remove(stack& s, int* p, bool with_hint = true) {
    if (s.remove_newest(p) || (with_hint && s.remove_behind_hint(p))) return true;
    const std::size_t found = with_hint && s.has_hint() ? s.find_from_hint(p) : s.find_backwards(p);
    if (found == stack::not_found) return false;
    s.make_hole(found);
    return true;
}

using ContextStack = NdTest;

TEST_F(ContextStack, BeginsWithOneContextAtZero) {
    const stack s;
    EXPECT_TRUE(s.has_context());
    EXPECT_EQ(s.depth(), 1U);
    EXPECT_EQ(s.start(), 0U);
    EXPECT_EQ(s.size(), 0U);
    EXPECT_EQ(s.count_current(), 0U);
    EXPECT_FALSE(s.has_hint());
}

struct removal_row {
    std::vector<int> take;
    std::vector<int> left;
    bool hint;
};

TEST_F(ContextStack, KeepsHolesUntilTheyAreLast) {
    const removal_row rows[] = {
        {{2}, {0, 1}, false},        {{1}, {0, -1, 2}, true},
        {{1, 2}, {0}, false},        {{0}, {-1, 1, 2}, true},
        {{0, 1}, {-1, -1, 2}, true}, {{0, 1, 2}, {}, false},
        {{2, 0}, {-1, 1}, true},     {{9}, {0, 1, 2}, false},
        {{1, 9}, {0, -1, 2}, false}, // what isn't found costs the hint
    };
    for (const removal_row& row : rows) {
        stack s;
        append(s, {0, 1, 2});
        for (const int n : row.take) remove(s, places + n);
        EXPECT_EQ(contents(s), row.left);
        EXPECT_EQ(s.has_hint(), row.hint) << ::testing::PrintToString(row.take);
    }
}

TEST_F(ContextStack, NeverShortensBelowTheStartOfTheContext) {
    stack s;
    append(s, {0, 1});
    remove(s, places + 0);
    s.push();
    append(s, {2});
    EXPECT_TRUE(s.remove_newest(places + 2));
    EXPECT_THAT(contents(s), ElementsAre(-1, 1));
    EXPECT_FALSE(s.remove_newest(places + 1)) << "it is the outer context's";
    s.pop();
    EXPECT_TRUE(s.remove_newest(places + 1));
    EXPECT_EQ(s.size(), 0U);
}

TEST_F(ContextStack, FindsNothingInOuterContexts) {
    for (const bool with_hint : {false, true}) {
        stack s;
        append(s, {0, 1, 2});
        s.push();
        append(s, {3, 4, 5});
        if (with_hint) remove(s, places + 4);
        EXPECT_FALSE(remove(s, places + 2));
        EXPECT_FALSE(remove(s, places + 0));
        EXPECT_EQ(s.count_current(), with_hint ? 2U : 3U);
    }
}

// Whatever moves the ends of the context drops the hint.
TEST_F(ContextStack, DropsTheHintWhenTheListChangesOtherwise) {
    void (*const changes[])(stack&) = {
        [](stack& s) { s.append(places + 9); },
        [](stack& s) { s.push(); },
        [](stack& s) { s.pop(); },
        [](stack& s) { s.take_last(); },
        [](stack& s) { s.drop_hint(); },
        [](stack& s) { s.give_to_outer([](const entry&) { return false; }); },
        [](stack& s) { s.remove_newest(places + 5); },
    };
    for (const auto change : changes) {
        stack s;
        s.push();
        append(s, {3, 4, 5});
        remove(s, places + 4);
        ASSERT_TRUE(s.has_hint());
        change(s);
        EXPECT_FALSE(s.has_hint()) << "change " << (&change - changes);
    }
}

TEST_F(ContextStack, GivesSomeToTheOuterContextInOrder) {
    stack s;
    append(s, {9});
    s.push();
    append(s, {0, 1, 2, 3, 4});
    remove(s, places + 1);
    s.give_to_outer([](const entry& e) { return e.pointer == places + 3 || e.pointer == places + 2; });
    EXPECT_THAT(contents(s), ElementsAre(9, 2, 3, 0, -1, 4));
    EXPECT_EQ(s.start(), 3U);
    EXPECT_FALSE(remove(s, places + 2)) << "it belongs to the outer context now";
    EXPECT_TRUE(remove(s, places + 0)) << "where the hole was";
}

TEST_F(ContextStack, BringsBackItsDepth) {
    for (const std::size_t depth : {0U, 1U, 3U, 7U}) {
        stack s;
        append(s, {0});
        s.push();
        s.push();
        append(s, {1});
        s.bring_back_depth(depth, 9);
        EXPECT_EQ(s.depth(), depth);
        EXPECT_EQ(s.has_context(), depth != 0);
        EXPECT_EQ(s.start(), depth < 2 ? 0U : depth == 3 ? 1U : 2U);
    }
}

TEST_F(ContextStack, OpensWhatItBringsBackAsLateAsToldWithinTheList) {
    const std::size_t rows[][2] = {
        {0, 2}, {2, 2}, {3, 3}, {4, 4}, {9, 4}}; // told, and where the context begins
    for (const auto& [latest_start, begin] : rows) {
        stack s;
        append(s, {0, 1});
        s.push();
        append(s, {2, 3});
        s.bring_back_depth(4, latest_start);
        EXPECT_EQ(s.start(), begin) << latest_start;
        EXPECT_EQ(s.context_of(begin - 1), begin == 2 ? 1U : 2U);
        EXPECT_EQ(s.count_current(), 4 - begin);
        EXPECT_EQ(s.broken_rule(), nullptr);
    }
}

// Sizes at which the list takes new memory: 60 percent more each time.
TEST_F(ContextStack, GrowsBySixtyPercentHoweverItIsAsked) {
    for (const bool reserved : {false, true}) {
        stack s;
        std::vector<std::size_t> grown_at;
        for (std::size_t i = 0; i < most_places; ++i) {
            if (!s.has_room()) {
                grown_at.push_back(i);
                if (reserved) {
                    s.reserve_one();
                    EXPECT_TRUE(s.has_room());
                }
            }
            s.append(places + i);
        }
        EXPECT_EQ(grown_at, (std::vector<std::size_t>{3, 4, 6, 9, 14, 22, 35, 56, 89, 142})) << reserved;
    }
}

TEST_F(ContextStack, ReservingLeavesTheEntriesAlone) {
    stack s;
    append(s, {0, 1, 2});
    remove(s, places + 1);
    s.reserve_one();
    s.reserve_one();
    EXPECT_THAT(contents(s), ElementsAre(0, -1, 2));
    EXPECT_TRUE(s.has_hint());
}

struct damage_row {
    const char* rule;
    void (*damage)(stack& s);
};

TEST_F(ContextStack, TellsWhichRuleIsBroken) {
    const damage_row rows[] = {
        {nullptr, [](stack&) {}},
        {nullptr, [](stack& s) { remove(s, places + 1); }},
        {nullptr, [](stack& s) { s.make_hole(s.start() - 1); }},
        {nullptr, [](stack& s) { s.bring_back_depth(0, 0); }},
        {nullptr, // the base context begins above what is kept below every context
         [](stack& s) {
             s.bring_back_depth(0, 0);
             s.push();
         }},
        {"the current context begins within the list",
         [](stack& s) {
             while (s.size() >= s.start()) s.take_last();
         }},
        {"a context begins where its outer one does, or behind that",
         [](stack& s) {
             while (s.size() != 0) s.take_last();
             s.push();
         }},
        {"the hint lies in the current context, or just below it", [](stack& s) { s.make_hole(0); }},
        {"at the hint is a hole",
         [](stack& s) {
             remove(s, places + 3);
             s[3].pointer = places;
         }},
    };
    for (const damage_row& row : rows) {
        stack s;
        append(s, {0, 1});
        s.push();
        append(s, {2, 3, 4});
        row.damage(s);
        EXPECT_STREQ(s.broken_rule(), row.rule);
    }
}

TEST_F(ContextStack, NumbersTheContextsOfEntries) {
    stack s;
    append(s, {0, 1});
    s.push();
    s.push();
    append(s, {2});
    EXPECT_EQ(s.context_of(0), 1U);
    EXPECT_EQ(s.context_of(1), 1U);
    EXPECT_EQ(s.context_of(2), 3U);
    s.bring_back_depth(0, 0);
    EXPECT_EQ(s.context_of(0), 0U);
}

// Random programs on three views of the same thing: with the hint, without it, and lists of lists.
struct program_row {
    unsigned seed;
    int weights[4]; ///< append, remove, push, pop
};

class program {
public:
    explicit program(const program_row& row)
        : random_(row.seed), choose_(std::begin(row.weights), std::end(row.weights)) {}

    void run(int steps) {
        for (int i = 0; i < steps; ++i) {
            const int operation = choose_(random_);
            step(operation);
            ASSERT_EQ(flat(), live(hinted_)) << "step " << i << ", operation " << operation;
            ASSERT_EQ(contents(hinted_), contents(plain_)) << "step " << i << ", operation " << operation;
            ASSERT_EQ(hinted_.count_current(), model_.back().size());
            ASSERT_EQ(hinted_.depth(), model_.size());
            ASSERT_EQ(hinted_.broken_rule(), nullptr) << "step " << i;
        }
    }

private:
    void step(int operation) {
        std::vector<int>& here = model_.back();
        if (operation == 0 && !free_.empty()) {
            const int n = take_random(free_);
            here.push_back(n);
            for (stack* s : {&hinted_, &plain_}) s->append(places + n);
        } else if (operation == 1 && !here.empty()) {
            const int n = take_near_last(here);
            EXPECT_TRUE(remove(hinted_, places + n));
            EXPECT_TRUE(remove(plain_, places + n, false));
            free_.push_back(n);
        } else if (operation == 2 && model_.size() < 40) {
            model_.emplace_back();
            for (stack* s : {&hinted_, &plain_}) s->push();
        } else if (operation == 3 && model_.size() > 1) {
            pop();
        }
    }

    // The front part of the context moves to the outer one.
    void pop() {
        const std::vector<int> ending = model_.back();
        model_.pop_back();
        const std::size_t kept = ending.empty() ? 0 : random_() % (ending.size() + 1);
        model_.back().insert(model_.back().end(), ending.begin(), ending.begin() + static_cast<long>(kept));
        free_.insert(free_.end(), ending.begin() + static_cast<long>(kept), ending.end());
        for (stack* s : {&hinted_, &plain_}) {
            std::size_t seen = 0;
            s->give_to_outer([&](const entry& e) { return e.pointer != nullptr && seen++ < kept; });
            while (s->size() > s->start()) s->take_last();
            s->pop();
        }
    }

    int take_random(std::vector<int>& from) { return take_at(from, random_() % from.size()); }

    // Neighbours of the last removal as often as not.
    int take_near_last(std::vector<int>& from) {
        last_ = random_() % 2 == 0 ? random_() : last_ + random_() % 3;
        return take_at(from, last_ % from.size());
    }

    static int take_at(std::vector<int>& from, std::size_t i) {
        const int n = from[i];
        from.erase(from.begin() + static_cast<long>(i));
        return n;
    }

    std::vector<int> flat() const {
        std::vector<int> all;
        for (const std::vector<int>& context : model_) all.insert(all.end(), context.begin(), context.end());
        return all;
    }

    static std::vector<int> live(const stack& s) {
        std::vector<int> found = contents(s);
        found.erase(std::remove(found.begin(), found.end(), -1), found.end());
        return found;
    }

    std::mt19937 random_;
    std::discrete_distribution<int> choose_;
    std::size_t last_ = 0;
    stack hinted_, plain_;
    std::vector<std::vector<int>> model_{1};
    std::vector<int> free_ = [] {
        std::vector<int> all(most_places);
        for (std::size_t i = 0; i < most_places; ++i) all[i] = static_cast<int>(i);
        return all;
    }();
};

TEST_F(ContextStack, DoesWhatListsOfListsDoWithAndWithoutHint) {
    const program_row rows[] = {
        {1, {40, 40, 10, 10}}, {2, {60, 40, 1, 1}},   {3, {45, 55, 1, 1}}, {4, {30, 30, 30, 30}},
        {5, {50, 10, 20, 20}}, {6, {20, 70, 10, 10}}, {7, {52, 48, 0, 0}}, {8, {48, 48, 3, 3}},
    };
    for (const program_row& row : rows) {
        for (unsigned variant = 0; variant < 5; ++variant) {
            SCOPED_TRACE("seed " + std::to_string(row.seed + 100 * variant));
            program_row varied = row;
            varied.seed += 100 * variant;
            program(varied).run(500);
            if (HasFatalFailure()) return;
        }
    }
}

} // namespace
} // namespace test
