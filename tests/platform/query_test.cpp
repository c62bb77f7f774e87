// Questions to long ranges: the answer, and who is asked.
#include <numcore/query.hpp>

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include <atomic>
#include <chrono>
#include <complex>
#include <limits>
#include <numeric>
#include <thread>
#include <vector>

namespace {

using numcore_util::query;
using numcore_util::query_binary;
constexpr numcore_util::perf_options::check_for_cancellation<0> perf;
constexpr std::size_t threshold = 20000;

// One and two threads answer alike.
template <class Body>
void for_each_thread_count(Body&& body) {
    for (const std::size_t threads : {1U, 2U, 4U}) {
        SCOPED_TRACE(threads);
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
        body();
    }
}

TEST(Query, FindsAHitWhereverItStands) {
    for_each_thread_count([] {
        for (const std::size_t length : {1U, 63U, 64U, 65U, 19999U, 20000U, 20001U, 70000U}) {
            std::vector<int> values(length, 0);
            const auto is_seven = [](int x) { return x == 7; };
            const auto ask = [&] {
                return query(values.data(), values.data() + length, is_seven, false, 0, threshold, perf);
            };
            EXPECT_FALSE(ask()) << length;
            for (std::size_t place = 0; place < length; place += 1 + length / 40) {
                values[place] = 7;
                EXPECT_TRUE(ask()) << place << " of " << length;
                values[place] = 0;
            }
            values.back() = 7;
            EXPECT_TRUE(ask()) << length;
        }
    });
}

TEST(Query, ComparesTwoRanges) {
    for_each_thread_count([] {
        for (const std::size_t length : {1U, 5U, 19999U, 20000U, 50000U}) {
            std::vector<double> left(length);
            std::iota(left.begin(), left.end(), 0.0);
            std::vector<float> right(left.begin(), left.end());
            const auto ask = [&] {
                return query_binary(left.data(), left.data() + length, right.data(), false, 0, threshold,
                                    perf);
            };
            EXPECT_FALSE(ask()) << length;
            right[length - 1] += 1;
            EXPECT_TRUE(ask()) << length;
            right[length - 1] = std::numeric_limits<float>::quiet_NaN();
            EXPECT_TRUE(ask()) << length;
        }
    });
}

TEST(Query, ComparesByAPredicateAndComplexElements) {
    const std::vector<std::complex<double>> left{{1, 2}, {3, 4}};
    std::vector<std::complex<double>> right = left;
    const auto ask = [&] {
        return query_binary(left.data(), left.data() + 2, right.data(), false, 0, threshold, perf);
    };
    EXPECT_FALSE(ask());
    right[1].imag(5);
    EXPECT_TRUE(ask());
    EXPECT_FALSE(query_binary(left.data(), left.data() + 2, right.data(), false, 0, threshold, perf,
                              [](auto a, auto b) { return a.real() != b.real(); }));
}

TEST(Query, AnEmptyRangeAsksNobody) {
    const int values[] = {1, 2};
    const auto always = [](int) { return true; };
    EXPECT_FALSE(query(values, values, always, false, 0, threshold, perf));
    EXPECT_FALSE(query(values + 1, values, always, false, 0, threshold, perf))
        << "the end before the beginning";
    EXPECT_FALSE(query_binary(values + 1, values, values, false, 0, threshold, perf));
}

// How many calls of the predicate a question takes and how many of them on other threads than this one.
struct calls {
    std::size_t all = 0;
    std::size_t elsewhere = 0;
};

template <class Hit>
calls calls_of(std::size_t length, std::size_t grain, std::size_t limit, Hit hit) {
    const std::vector<char> values(length);
    std::atomic<std::size_t> all{0};
    std::atomic<std::size_t> elsewhere{0};
    const std::thread::id here = std::this_thread::get_id();
    const char* const first = values.data();
    query(
        first, first + length,
        [&, here](const char& x) {
            ++all;
            if (std::this_thread::get_id() != here) ++elsewhere;
            return hit(static_cast<std::size_t>(&x - first));
        },
        false, grain, limit, perf);
    return {all, elsewhere};
}

TEST(Query, BelowTheSerialLimitThisThreadIsAlone) {
    for (int round = 0; round < 20; ++round) {
        const calls made = calls_of(19999, 0, threshold, [](std::size_t) { return false; });
        EXPECT_EQ(made.all, 19999U);
        EXPECT_EQ(made.elsewhere, 0U);
    }
}

TEST(Query, FromTheSerialLimitOnTheFirstElementIsAskedByItself) {
    EXPECT_EQ(calls_of(20000, 0, threshold, [](std::size_t i) { return i == 0; }).all, 1U);
    EXPECT_EQ(calls_of(20000, 0, threshold, [](std::size_t) { return false; }).all, 20001U);
    EXPECT_EQ(calls_of(19999, 0, threshold, [](std::size_t) { return false; }).all, 19999U);
}

TEST(Query, WithoutAThresholdTheGrainIsTheLimit) {
    constexpr std::size_t chunk_of_bytes = 16384;
    const auto never = [](std::size_t) { return false; };
    EXPECT_EQ(calls_of(chunk_of_bytes - 1, 0, 0, never).all, chunk_of_bytes - 1) << "serial";
    EXPECT_EQ(calls_of(chunk_of_bytes, 0, 0, never).all, chunk_of_bytes + 1);
    EXPECT_EQ(calls_of(99, 100, 0, never).all, 99U);
    EXPECT_EQ(calls_of(100, 100, 0, never).all, 101U);
}

TEST(Query, TheDefaultGrainGoesByTheSizeOfTheLeftElement) {
    std::atomic<std::size_t> count{0};
    const auto counts = [&](const auto&, const auto&) { return ++count, false; };
    const auto calls_with = [&]<class T>(T, std::size_t length) {
        const std::vector<T> left(length);
        const std::vector<char> right(length);
        count = 0;
        query_binary(left.data(), left.data() + length, right.data(), false, 0, 0, perf, counts);
        return count - length; // 1 where the first element was asked by itself
    };
    EXPECT_EQ(calls_with(std::uint16_t{}, 8191), 0U);
    EXPECT_EQ(calls_with(std::uint16_t{}, 8192), 1U);
    EXPECT_EQ(calls_with(float{}, 4095), 0U);
    EXPECT_EQ(calls_with(float{}, 4096), 1U);
    EXPECT_EQ(calls_with(double{}, 2047), 0U);
    EXPECT_EQ(calls_with(double{}, 2048), 1U);
    EXPECT_EQ(calls_with(std::complex<double>{}, 1023), 0U);
    EXPECT_EQ(calls_with(std::complex<double>{}, 1024), 1U);
}

TEST(Query, TheSerialLoopStopsAtTheFirstHit) {
    for (const std::size_t length : {1U, 2U, 3U, 4U, 5U, 7U, 1000U, 19999U}) {
        for (const std::size_t place :
             {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}, length / 2, length - 1}) {
            if (place >= length) continue;
            EXPECT_EQ(calls_of(length, 0, threshold, [=](std::size_t i) { return i == place; }).all,
                      place + 1)
                << place << " of " << length;
        }
    }
}

// How long the chunk is that begins the range. Its first element is a hit; the chunk is asked to its end, and on one thread the
// others aren't begun. The arena has so many places, all kept for callers, that the grain alone says where splitting ends.
template <class T>
std::size_t first_chunk(std::size_t length, std::size_t grain) {
    constexpr int places = 64;
    const std::vector<T> values(length);
    std::size_t asked = 0;
    bool found = false;
    tbb::task_arena(places, places).execute([&] {
        found = query(
            values.data(), values.data() + length,
            [&](const T&) { return ++asked == 2; }, // once by itself, then again in its chunk
            false, grain, 1, perf);
    });
    EXPECT_TRUE(found);
    return asked - 1;
}

TEST(Query, ChunksAreAsLongAsTheGrainSays) {
    const auto expect_chunk = [](std::size_t found, std::size_t grain) {
        EXPECT_LE(found, grain);
        EXPECT_GE(2 * found, grain) << "longer ranges only are halved";
    };
    for (const std::size_t grain : {100U, 1000U, 5000U})
        expect_chunk(first_chunk<char>(100000, grain), grain);
    expect_chunk(first_chunk<char>(1000000, 0), 16384);
    expect_chunk(first_chunk<std::uint16_t>(1000000, 0), 8192);
    expect_chunk(first_chunk<float>(1000000, 0), 4096);
    expect_chunk(first_chunk<double>(1000000, 0), 2048);
    expect_chunk(first_chunk<std::complex<double>>(1000000, 0), 1024);
}

TEST(Query, LongRangesAreAskedOnSeveralThreads) {
    const tbb::global_control several(tbb::global_control::max_allowed_parallelism, 4);
    // Blocked till another thread has asked too, or for so long that there is none.
    std::atomic<std::size_t> elsewhere{0};
    const std::thread::id here = std::this_thread::get_id();
    const std::vector<char> values(1000000);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    query(
        values.data(), values.data() + values.size(),
        [&, here, first = values.data()](const char& x) {
            if (std::this_thread::get_id() != here) {
                ++elsewhere;
            } else if (&x - first >= 1) {
                while (elsewhere == 0 && std::chrono::steady_clock::now() < deadline)
                    std::this_thread::yield();
            }
            return false;
        },
        false, 0, threshold, perf);
    EXPECT_GT(elsewhere, 0U);
}

TEST(Query, ElementsLongerThanAChunkAreAskedOneByOne) {
    struct large {
        char bytes[20000];
    };
    const std::vector<large> values(3);
    std::atomic<int> asked{0};
    const auto never = [&](const large&) { return ++asked, false; };
    EXPECT_FALSE(query(values.data(), values.data() + values.size(), never, false, 0, 0, perf));
    EXPECT_EQ(asked, 4);
}

TEST(Query, AHitSparesChunksThatHaveNotBegun) {
    const tbb::global_control alone(tbb::global_control::max_allowed_parallelism, 1);
    constexpr std::size_t length = 1000000;
    EXPECT_LT(calls_of(length, 0, threshold, [](std::size_t i) { return i == 1; }).all, length);
}

TEST(Query, ACancelledGroupAroundItIsNoAnswer) {
    const std::vector<int> values(100000, 0);
    tbb::task_group_context outer;
    std::atomic<int> answers{0};
    tbb::parallel_for(
        0, 1,
        [&](int) {
            outer.cancel_group_execution();
            if (query(
                    values.data(), values.data() + values.size(), [](int x) { return x != 0; }, false, 0,
                    threshold, perf))
                ++answers;
        },
        outer);
    EXPECT_TRUE(outer.is_group_execution_cancelled());
    EXPECT_EQ(answers, 0);
}

} // namespace
