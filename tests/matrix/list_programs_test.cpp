// Random programs on the array list against lists of lists: creators, claims, ends in any order, contexts, keep ranges.
#include "matrix/header_watch.hpp"
#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"

#include "matrix/validate.hpp"

#include <algorithm>
#include <memory>
#include <random>

namespace test {
namespace {

struct program_row {
    const char* name;
    unsigned seed;
    int weights[7]; ///< create, destroy, claim, give back, push, pop, clear
    bool cached;
    bool stacks;
};

const program_row rows[] = {
    {"a bit of everything", 1, {40, 25, 5, 5, 10, 10, 2}, false, false},
    {"long contexts", 2, {60, 50, 3, 3, 1, 1, 0}, false, false},
    {"deep contexts", 3, {30, 10, 2, 2, 30, 25, 1}, false, false},
    {"mostly orphans", 4, {60, 5, 1, 1, 8, 8, 3}, false, false},
    {"mostly ends", 5, {45, 60, 5, 5, 5, 5, 0}, false, false},
    {"with the cache", 6, {40, 25, 5, 5, 10, 10, 2}, true, false},
    {"with the cache, long contexts", 7, {60, 50, 3, 3, 1, 1, 0}, true, false},
    {"with records", 8, {40, 25, 5, 5, 10, 10, 2}, false, true},
    {"with the cache and records", 9, {50, 40, 5, 5, 5, 5, 1}, true, true},
};

using array_list = std::vector<ndArray_tag*>;

class program {
public:
    program(const program_row& row, unsigned variant)
        : random_(row.seed + 1000 * variant), choose_(std::begin(row.weights), std::end(row.weights)) {}

    void run(int steps) {
        for (int i = 0; i < steps; ++i) {
            const int operation = choose_(random_);
            step(operation);
            if (i % 50 == 0) {
                ASSERT_EQ(matrix::internal::validate_array_list(), "") << "step " << i;
            }
            ASSERT_EQ(listed_everywhere(), flat()) << "step " << i << ", operation " << operation;
            ASSERT_EQ(matrix::isArrayListContextEmpty(), model_.back().empty()) << "step " << i;
        }
        ASSERT_EQ(matrix::internal::validate_array_list(), "");
        while (model_.size() > 1) pop();
        for (ndArray_tag* array : claimed_) api::ndDestroyArray(array);
    }

private:
    void step(int operation) {
        array_list& here = model_.back();
        switch (operation) {
        case 0:
            here.push_back(create());
            break;
        case 1:
            if (!here.empty()) api::ndDestroyArray(take(here));
            break;
        case 2:
            if (!here.empty()) claim(take(here));
            break;
        case 3:
            if (!claimed_.empty()) give_back(take(claimed_));
            break;
        case 4:
            if (model_.size() < 40) push();
            break;
        case 5:
            if (model_.size() > 1) pop();
            break;
        case 6:
            clear();
            break;
        }
    }

    ndArray_tag* create() {
        switch (random_() % 4) {
        case 0:
            return temporary(1);
        case 1:
            return api::ndCreateNumericMatrix(random_() % 5, random_() % 40, ndINT16_CLASS, ndREAL);
        case 2:
            return api::ndCreateDoubleMatrix(50, 50, ndREAL);
        default:
            return api::ndCreateLogicalScalar(true);
        }
    }

    void claim(ndArray_tag* array) {
        constexpr ndVariableScope scopes[] = {ndLOCAL_SCOPE, ndGLOBAL_SCOPE, ndPERSISTENT_SCOPE};
        api::ndSetArrayScope(array, scopes[random_() % 3]);
        claimed_.push_back(array);
    }

    void give_back(ndArray_tag* array) {
        api::ndSetArrayScope(array, ndTEMPORARY_SCOPE);
        model_.back().push_back(array);
    }

    void push() {
        EXPECT_EQ(matrix::ndEnterNewArrayListContext(), static_cast<int>(model_.size()) + 1);
        model_.emplace_back();
    }

    // What is kept keeps its order, whatever order it is named in.
    void pop() {
        const array_list ending = model_.back();
        model_.pop_back();
        array_list keep, kept;
        for (ndArray_tag* array : ending) {
            if (random_() % 3 != 0) continue;
            kept.push_back(array);
            keep.push_back(array);
            if (random_() % 3 == 0) keep.push_back(nullptr);
        }
        if (!claimed_.empty() && random_() % 2 == 0) keep.push_back(claimed_.front());
        std::shuffle(keep.begin(), keep.end(), random_);
        forget_ended();
        matrix::ndExitArrayListContext(static_cast<int>(model_.size()) + 1, keep.data(),
                                       static_cast<int>(keep.size()), true);
        model_.back().insert(model_.back().end(), kept.begin(), kept.end());
        array_list orphans = ending;
        for (ndArray_tag* array : kept) orphans.erase(std::find(orphans.begin(), orphans.end(), array));
        expect_ended(orphans);
    }

    void clear() {
        forget_ended();
        matrix::clearArrayListContext(true);
        expect_ended(model_.back());
        model_.back().clear();
    }

    // Orphans end from the last to the first. With the cache most of them go into bins instead, where no allocator sees them.
    void forget_ended() { forgotten_ = headers_.freed_headers().size(); }
    void expect_ended(const array_list& orphans) {
        if (matrix::cache::isEnabled()) return;
        array_list ended;
        for (std::size_t i = forgotten_; i < headers_.freed_headers().size(); ++i)
            ended.push_back(static_cast<ndArray_tag*>(const_cast<void*>(headers_.freed_headers()[i].at)));
        EXPECT_EQ(ended, array_list(orphans.rbegin(), orphans.rend()));
    }

    // Near the place of the last one more often than not: that is where the list has its hint.
    ndArray_tag* take(array_list& from) {
        last_ = random_() % 3 == 0 ? random_() : last_ + random_() % 3;
        const std::size_t at = random_() % 4 == 0 ? from.size() - 1 : last_ % from.size();
        ndArray_tag* const array = from[at];
        from.erase(from.begin() + static_cast<long>(at));
        return array;
    }

    array_pointers flat() const {
        array_pointers all;
        for (const array_list& context : model_) all.insert(all.end(), context.begin(), context.end());
        return all;
    }

    std::mt19937 random_;
    std::discrete_distribution<int> choose_;
    std::size_t last_ = 0;
    header_watch headers_;
    std::size_t forgotten_ = 0;
    std::vector<array_list> model_{1};
    array_list claimed_;
};

using ListPrograms = ListsTest;

TEST_F(ListPrograms, DoWhatListsOfListsDo) {
    for (const program_row& row : rows) {
        for (unsigned variant = 0; variant < 4; ++variant) {
            SCOPED_TRACE(std::string(row.name) + ", variant " + std::to_string(variant));
            foundation::usm::EngineInstance engine;
            const foundation::usm::EngineActivation active(&engine);
            std::unique_ptr<cache_on> cache;
            if (row.cached) cache = std::make_unique<cache_on>();
            const channel_mask stacks("matrix::arraylist_stacks",
                                      row.stacks ? foundation::log::severity_debug : 0);
            program(row, variant).run(500);
            if (HasFatalFailure()) return;
            EXPECT_EQ(matrix::internal::validate_cache(), "");
            engine.close(); // while the cache is on: what is left goes into its bins
        }
    }
}

} // namespace
} // namespace test
