// The user's limit on one array's bytes: when it holds, what it raises and what it logs.
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/mem/manager.hpp>
#include <nd/create.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>

#include <boost/exception/exception.hpp>
#include <boost/exception_ptr.hpp>
#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
namespace except = foundation::core::except;
using matrix::ArraySizeLimit;
using matrix::internal::SizeLimitExceeded;
using dims_list = std::vector<std::size_t>;

constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;

ArraySizeLimit& limit() { return ArraySizeLimit::getInstance(); }

// The largest number of bytes that the checks let pass, found by bisection; ~0 when the ceiling is all that holds.
std::uint64_t largest_allowed() {
    std::uint64_t allowed = 0, refused = 0x1000000000000;
    while (refused - allowed > 1) {
        const std::uint64_t middle = allowed + (refused - allowed) / 2;
        (api::ndCheckMN_nothrow(middle, 1, std::size_t{1}, nullptr) ? allowed : refused) = middle;
    }
    return allowed == 0xFFFFFFFFFFFF ? ~std::uint64_t{0} : allowed;
}

std::vector<std::string> arguments_of(const TARVEL::array::SizeLimitExceeded& id) {
    std::vector<std::string> texts;
    for (const resource_core::MsgArg& argument : id.arguments())
        texts.push_back(std::get<std::string>(argument));
    return texts;
}

std::vector<std::string> texts_for(const dims_list& dims, std::uint64_t bytes, std::uint64_t allowed) {
    return arguments_of(SizeLimitExceeded::makeMessage(dims, bytes, allowed));
}

using SizeLimit = NdTest;

TEST_F(SizeLimit, StartsOffAtAHundredPercent) {
    EXPECT_FALSE(limit().isEnabled());
    EXPECT_EQ(limit().getPercent(), 100U);
    EXPECT_EQ(&ArraySizeLimit::getInstance(), &limit());
}

TEST_F(SizeLimit, IsAShareOfMemoryToTheByte) {
    struct {
        std::uint64_t memory;
        std::uint32_t percent;
        std::uint64_t wanted;
    } constexpr rows[] = {
        {1000, 100, 1000},
        {1000, 50, 500},
        {1000, 1, 10},
        {999, 50, 499},
        {1001, 33, 330},
        {gigabyte, 100, gigabyte},
        {16 * gigabyte, 25, 4 * gigabyte},
        {gigabyte, 150, gigabyte * 3 / 2},
        {1000, 1000, 10000},
        {7, 3, ~std::uint64_t{0}},
    };
    for (const auto& row : rows) {
        const size_limit_scope scope(row.memory, row.percent);
        EXPECT_EQ(largest_allowed(), row.wanted) << row.memory << " bytes, " << row.percent << " percent";
    }
}

// Compiled callers reach the operations by their place in the table of virtual functions. A pointer to a virtual member holds
// that place in bytes, plus 1.
template <class Member>
std::ptrdiff_t slot_of(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof words);
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST_F(SizeLimit, OperationsKeepTheirPlaces) {
    EXPECT_EQ(slot_of(&ArraySizeLimit::getPercent), 0);
    EXPECT_EQ(slot_of(&ArraySizeLimit::setPercent), 1);
    EXPECT_EQ(slot_of(&ArraySizeLimit::setEnabled), 2);
    EXPECT_EQ(slot_of(&ArraySizeLimit::isEnabled), 3);
}

// A limit that comes out as 0 bytes is no limit: 3 percent of 7 bytes, and 0 percent.
TEST_F(SizeLimit, OfZeroBytesIsNone) {
    const size_limit_scope scope(16 * gigabyte, 0);
    EXPECT_TRUE(limit().isEnabled());
    EXPECT_EQ(largest_allowed(), ~std::uint64_t{0});
}

TEST_F(SizeLimit, SwitchedOffHoldsNothingWhateverThePercentage) {
    for (const std::uint32_t percent : {0U, 1U, 100U, 4'000'000'000U}) {
        const size_limit_scope scope(1000, percent, false);
        EXPECT_EQ(largest_allowed(), ~std::uint64_t{0});
        EXPECT_EQ(limit().getPercent(), percent);
        EXPECT_FALSE(limit().isEnabled());
    }
}

TEST_F(SizeLimit, AboveAHundredPercentIsAboveMemory) {
    const size_limit_scope scope(1000, 250);
    EXPECT_EQ(limit().getPercent(), 250U);
    EXPECT_EQ(largest_allowed(), 2500U);
}

TEST_F(SizeLimit, FarBeyond64BitsSaturates) {
    const size_limit_scope scope(~std::uint64_t{0}, ~std::uint32_t{0});
    EXPECT_EQ(largest_allowed(), ~std::uint64_t{0});
    EXPECT_EQ(limit().getPercent(), ~std::uint32_t{0});
}

TEST_F(SizeLimit, FollowsEachChangeAtOnce) {
    const size_limit_scope scope(1000, 100);
    EXPECT_EQ(largest_allowed(), 1000U);
    limit().setPercent(10);
    EXPECT_EQ(largest_allowed(), 100U);
    limit().setEnabled(false);
    EXPECT_EQ(largest_allowed(), ~std::uint64_t{0});
    limit().setPercent(20);
    EXPECT_EQ(largest_allowed(), ~std::uint64_t{0});
    limit().setEnabled(true);
    EXPECT_EQ(largest_allowed(), 200U);
}

TEST_F(SizeLimit, RefusesBeforeAnythingIsAllocated) {
    const size_limit_scope scope(1000, 100);
    header_watch headers;
    heap_watch heap;
    const module_mode_scope mode(mode_exceptions);
    EXPECT_THROW(api::ndCreateDoubleMatrix(126, 1, ndREAL), SizeLimitExceeded);
    EXPECT_TRUE(headers.requests().empty());
    EXPECT_TRUE(heap.requests().empty());
    const matrix::array_ptr exact(api::ndCreateDoubleMatrix(125, 1, ndREAL));
    EXPECT_NE(exact, nullptr);
}

TEST_F(SizeLimit, CachedSizesAreNotHeldToIt) {
    const cache_on cache;
    const size_limit_scope scope(1000, 100);
    const module_mode_scope mode(mode_exceptions);
    EXPECT_NE(matrix::array_ptr(api::ndCreateDoubleMatrix(2030, 1, ndREAL)), nullptr);
    EXPECT_THROW(api::ndCreateDoubleMatrix(2031, 1, ndREAL), SizeLimitExceeded);
}

TEST_F(SizeLimit, MessageHasDimensionsRequestAndLimit) {
    using texts = std::vector<std::string>;
    EXPECT_EQ(texts_for({5}, 40, 16), (texts{"5x1", "0.0GB", "0.0GB"}));
    EXPECT_EQ(texts_for({3, 4}, 16 * gigabyte, gigabyte / 2), (texts{"3x4", "16.0GB", "0.5GB"}));
    EXPECT_EQ(texts_for(dims_list(6, 128), gigabyte * 35184, gigabyte * 1024),
              (texts{"128x128x128x128x128x128", "35184.0GB", "1024.0GB"}));
    EXPECT_EQ(texts_for({}, 0, 0), (texts{"", "0.0GB", "0.0GB"}));
    EXPECT_EQ(texts_for({1, 0, 7}, 0, 1), (texts{"1x0x7", "0.0GB", "0.0GB"}));
    EXPECT_EQ(texts_for({~std::size_t{0}}, ~std::uint64_t{0}, ~std::uint64_t{0}),
              (texts{"18446744073709551615x1", "17179869184.0GB", "17179869184.0GB"}));
}

TEST_F(SizeLimit, SizesHaveOneDigitBehindThePoint) {
    struct {
        std::uint64_t bytes;
        const char* wanted;
    } constexpr rows[] = {
        {gigabyte, "1.0GB"},       {gigabyte * 3 / 2, "1.5GB"}, {gigabyte / 10, "0.1GB"},
        {gigabyte / 100, "0.0GB"}, {gigabyte * 99, "99.0GB"},   {gigabyte * 1234567, "1234567.0GB"},
        {gigabyte - 1, "1.0GB"},
    };
    for (const auto& row : rows) EXPECT_EQ(texts_for({1}, row.bytes, 0)[1], row.wanted);
}

TEST_F(SizeLimit, WhatIsRaisedTellsTheRequest) {
    const size_limit_scope scope(gigabyte, 50);
    const module_mode_scope mode(mode_exceptions);
    const dims_list dims{1024, 1024, 128};
    try {
        api::ndCreateNumericArray(3, dims.data(), ndDOUBLE_CLASS, ndCOMPLEX);
        FAIL() << "made";
    } catch (const SizeLimitExceeded& error) {
        EXPECT_EQ(error.GetID(), "TARVEL:array:SizeLimitExceeded");
        EXPECT_EQ(error.GetMsgIDObj().catalog(), "TARVEL:array");
        EXPECT_EQ(error.GetMsgIDObj().key(), "SizeLimitExceeded");
        EXPECT_EQ(arguments_of(error.GetMsgIDObj()),
                  (std::vector<std::string>{"1024x1024x128", "2.0GB", "0.5GB"}));
        EXPECT_THAT(error.what(), ::testing::HasSubstr("1024x1024x128"));
    }
}

template <class Base>
bool caught_as() {
    const size_limit_scope scope(1000, 100);
    try {
        api::ndCheckMN(1001, 1, std::size_t{1});
    } catch (const Base&) {
        return true;
    } catch (...) {
    }
    return false;
}

TEST_F(SizeLimit, WhatIsRaisedIsCaughtAsEachOfItsBases) {
    EXPECT_TRUE(caught_as<SizeLimitExceeded>());
    EXPECT_TRUE((caught_as<except::Exception<TARVEL::array::SizeLimitExceeded, std::exception, void>>()));
    EXPECT_TRUE(caught_as<std::exception>());
    EXPECT_TRUE(caught_as<except::IUserException>());
    EXPECT_TRUE(caught_as<except::IMsgIDException>());
    EXPECT_TRUE(caught_as<except::IException>());
    EXPECT_TRUE(caught_as<boost::exception>());
    EXPECT_FALSE(caught_as<except::IInternalException>());
}

// An engine keeps the error in a pointer and throws it later: its handlers must still know the class.
TEST_F(SizeLimit, ACloneIsOfTheSameClass) {
    const SizeLimitExceeded error(dims_list{5}, 40, 16);
    boost::exception_ptr kept;
    try {
        throw SizeLimitExceeded(error);
    } catch (...) {
        kept = boost::current_exception();
    }
    EXPECT_THROW(boost::rethrow_exception(kept), SizeLimitExceeded);
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(error.clone());
    EXPECT_THROW(clone->rethrow(), SizeLimitExceeded);
    EXPECT_THROW(error.rethrow(), SizeLimitExceeded);
}

TEST_F(SizeLimit, IsLoggedWithAStackWhenTheChannelIsOn) {
    const size_limit_scope scope(1000, 100);
    const log_capture log("matrix::sizelimit", 0x200);
    const dims_list dims{16, 32, 4};
    EXPECT_FALSE(api::ndCheckDim_nothrow(dims.data(), dims.size(), std::size_t{8}, nullptr));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].channel, "matrix::sizelimit");
    EXPECT_EQ(log.lines()[0].severity, 0x200U);
    const std::string head = "Attempt to create 16x32x4 array exceeds size limit at \n";
    EXPECT_THAT(log.lines()[0].text, ::testing::StartsWith(head));
    EXPECT_GT(log.lines()[0].text.size(), head.size()) << "a stack follows";
}

TEST_F(SizeLimit, IsNotLoggedOtherwise) {
    const size_limit_scope scope(1000, 100);
    for (const std::uint32_t mask : {0U, 0x100U, 0x400U, 8U, ~0x200U}) {
        const log_capture log("matrix::sizelimit", mask);
        EXPECT_FALSE(api::ndCheckMN_nothrow(1001, 1, std::size_t{1}, nullptr));
        EXPECT_TRUE(log.lines().empty()) << mask;
    }
    const log_capture log("matrix::sizelimit", 0x200);
    EXPECT_TRUE(api::ndCheckMN_nothrow(1000, 1, std::size_t{1}, nullptr));
    EXPECT_FALSE(api::ndCheckMN_nothrow(0xFFFFFFFFFFFF, 2, std::size_t{1}, nullptr))
        << "the ceiling isn't the limit";
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SizeLimit, IsChangedAndReadByManyThreads) {
    const size_limit_scope scope(1000, 100);
    std::vector<std::thread> threads;
    std::atomic<int> odd{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (std::uint32_t i = 0; i < 2000; ++i) {
                if (t == 0) limit().setPercent(100 + i % 2 * 100);
                if (t == 1) limit().setEnabled(true);
                if (limit().getPercent() % 100 != 0 || !limit().isEnabled()) ++odd;
                // 1000 or 2000 bytes, whichever is seen: 1000 pass, 2001 don't.
                if (!api::ndCheckMN_nothrow(1000, 1, std::size_t{1}, nullptr)) ++odd;
                if (api::ndCheckMN_nothrow(2001, 1, std::size_t{1}, nullptr)) ++odd;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(odd.load(), 0);
}

// The state is built by whoever comes first. A fresh process is needed to see that: this body runs in a child that has run no
// other test.
[[noreturn]] void use_it_first_from_many_threads() {
    constexpr int count = 16;
    std::atomic<int> ready{0}, wrong{0};
    std::atomic<ArraySizeLimit*> first{nullptr};
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (ready.load() < count) {
            }
            if (t % 2 == 0 && !api::ndCheckMN_nothrow(1, 1, std::size_t{8}, nullptr)) ++wrong;
            ArraySizeLimit* const mine = &ArraySizeLimit::getInstance();
            ArraySizeLimit* expected = nullptr;
            if (!first.compare_exchange_strong(expected, mine) && expected != mine) ++wrong;
            if (mine->getPercent() != 100 || mine->isEnabled()) ++wrong;
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::exit(wrong.load() == 0 ? 0 : 1);
}

TEST(SizeLimitFirstUse, IsSafeFromManyThreads) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int i = 0; i < 5; ++i)
        EXPECT_EXIT(use_it_first_from_many_threads(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace test
