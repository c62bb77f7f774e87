// Two engines in one process: lists, error modes and last errors don't meet, neither in turn on one thread nor on two.
#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"

#include "matrix/validate.hpp"

#include <atomic>
#include <string>
#include <thread>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::ErrorMode;

using ListEngines = ListsTest;

std::string last_id() { return std::get<0>(matrix::getLastError()); }

TEST_F(ListEngines, TakeTurnsOnOneThread) {
    constexpr int engines = 2, rounds = 200;
    EngineInstance engine[engines];
    std::vector<ndArray_tag*> arrays[engines];
    for (int round = 0; round < rounds; ++round) {
        const int me = round * 7 / 3 % engines;
        const EngineActivation active(&engine[me]);
        if (round < engines * 4) {
            matrix::setErrorMode(ErrorMode{10 + me});
            matrix::setLastError("engine:" + std::to_string(me), u"", nullptr);
        }
        EXPECT_EQ(listed_everywhere(), array_pointers(arrays[me].begin(), arrays[me].end()));
        if (round % 5 == 4 && !arrays[me].empty()) {
            api::ndDestroyArray(arrays[me].front());
            arrays[me].erase(arrays[me].begin());
        } else {
            arrays[me].push_back(temporary(round));
            EXPECT_NE(api::ndMalloc(10), nullptr);
        }
    }
    for (int me = 0; me < engines; ++me) {
        const EngineActivation active(&engine[me]);
        EXPECT_EQ(matrix::getErrorMode(), ErrorMode{10 + me});
        EXPECT_EQ(last_id(), "engine:" + std::to_string(me));
        EXPECT_FALSE(matrix::isAllocListContextEmpty());
        EXPECT_EQ(matrix::internal::validate_array_list(), "");
    }
    EXPECT_TRUE(listed_everywhere().empty()) << "the default engine has nothing to do with it";
    engine[0].close();
    const EngineActivation active(&engine[1]);
    EXPECT_EQ(listed_everywhere(), array_pointers(arrays[1].begin(), arrays[1].end()));
}

TEST_F(ListEngines, NestOnOneThread) {
    ndArray_tag* const outer = temporary();
    {
        EngineInstance engine;
        const EngineActivation active(&engine);
        EXPECT_TRUE(listed_everywhere().empty());
        EXPECT_EQ(matrix::ndEnterNewArrayListContext(), 2);
        temporary();
    }
    EXPECT_EQ(listed_everywhere(), (array_pointers{outer}));
    EXPECT_EQ(matrix::ndEnterNewArrayListContext(), 2);
    matrix::popArrayListContext({}, true);
}

// A worker that acts for an engine sees that engine's lists.
TEST_F(ListEngines, AreSharedByTheThreadsThatActForThem) {
    EngineInstance* const mine = EngineInstance::current();
    EngineInstance engine;
    const EngineActivation active(&engine);
    ndArray_tag* const here = temporary();
    ndArray_tag* there = nullptr;
    std::thread([&] {
        EXPECT_EQ(EngineInstance::current(), mine) << "a new thread is in the default engine";
        const EngineActivation worker(&engine);
        there = temporary();
        EXPECT_EQ(listed_here(), (array_pointers{here, there}));
        api::ndDestroyArray(here);
    }).join();
    EXPECT_EQ(listed_here(), (array_pointers{there}));
}

// What one engine's thread does for a while; every step looks for traces of others.
void work_for_an_engine(int number, int rounds) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    const std::string id = "engine:" + std::to_string(number);
    matrix::setErrorMode(ErrorMode{number});
    matrix::setLastError(id, u"text", nullptr);
    std::size_t wrong = 0;
    for (int round = 0; round < rounds; ++round) {
        const matrix::arraylist_alloclist_errormode_guard guard(ErrorMode{1000 + number});
        const std::vector<ndArray_tag*> made = temporaries(static_cast<std::size_t>(round % 40));
        void* const block = api::ndMalloc(static_cast<std::size_t>(1 + round));
        api::ndCalloc(3, 5);
        for (std::size_t i = 0; i < made.size(); i += 3) api::ndDestroyArray(made[i]);
        if (round % 2 == 0) api::ndFree(block);
        const std::size_t left = made.size() - (made.size() + 2) / 3;
        wrong += listed_here().size() != left || matrix::getErrorMode() != ErrorMode{1000 + number};
    }
    wrong += matrix::getErrorMode() != ErrorMode{number} || last_id() != id;
    EXPECT_EQ(wrong, 0U) << id;
    EXPECT_TRUE(listed_everywhere().empty());
}

TEST_F(ListEngines, WorkOnTheirThreadsAtTheSameTime) {
    for (const bool cached : {false, true}) {
        matrix::cache::setEnabled(cached);
        std::vector<std::thread> crew;
        for (int number = 1; number <= 4; ++number) crew.emplace_back(work_for_an_engine, number, 300);
        for (std::thread& worker : crew) worker.join();
    }
    matrix::cache::setEnabled(false);
}

// An engine's work moves from thread to thread: its lists go along, the pairs of its arrays land where the arrays end.
TEST_F(ListEngines, MoveFromThreadToThread) {
    const cache_on cache;
    EngineInstance engine;
    array_pointers expected;
    for (int turn = 0; turn < 20; ++turn) {
        std::thread([&] {
            const EngineActivation active(&engine);
            EXPECT_EQ(listed_everywhere(), expected);
            for (ndArray_tag* array : temporaries(30)) expected.push_back(array);
            for (int i = 0; i < 20; ++i) {
                api::ndDestroyArray(const_cast<ndArray_tag*>(expected.front()));
                expected.erase(expected.begin());
            }
            EXPECT_EQ(matrix::internal::validate_cache(), "");
        }).join();
    }
    EXPECT_EQ(expected.size(), 200U);
}

// Arrays go from hand to hand without lists: made on one thread, ended on another, whose bins then go with it.
TEST_F(ListEngines, HandArraysThroughCachesOfManyThreads) {
    const cache_on cache;
    const live_blocks before = count_live_blocks();
    constexpr std::size_t threads = 4, slots = 64;
    constexpr int rounds = 2000;
    {
        std::vector<std::atomic<ndArray_tag*>> table(slots);
        std::vector<std::thread> crew;
        for (std::size_t t = 0; t < threads; ++t) {
            crew.emplace_back([&, t] {
                EngineInstance engine;
                const EngineActivation active(&engine);
                for (int i = 0; i < rounds; ++i) {
                    const std::size_t at = (t * 17 + static_cast<std::size_t>(i) * 31) % slots;
                    ndArray_tag* const mine =
                        api::ndCreateNumericMatrix(at + 1, 1 + i % 20, ndINT8_CLASS, ndREAL);
                    static_cast<char*>(mine->pdata)[at] = 1;
                    api::ndSetArrayScope(mine, ndLOCAL_SCOPE); // nobody's temporary while it travels
                    api::ndDestroyArray(table[at].exchange(mine));
                }
                EXPECT_EQ(matrix::internal::validate_cache(), "");
                EXPECT_GT(matrix::cache::CacheInfo().total_count, 0U) << "it ends with pairs in its bins";
            });
        }
        for (std::thread& worker : crew) worker.join();
        for (std::atomic<ndArray_tag*>& slot : table) api::ndDestroyArray(slot.load());
    }
    matrix::cache::clear();
    const live_blocks left = count_live_blocks() - before;
    EXPECT_EQ(left.header_slots, 0);
    EXPECT_EQ(left.aligned_heap, 0);
}

} // namespace
} // namespace test
