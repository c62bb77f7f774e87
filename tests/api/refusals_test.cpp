// What the creators of each generation refuse, they refuse before anything is allocated: neither a header nor a block is asked
// for.
#include "api/generation_probe.h"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "support/module_mode.hpp"

#include <nd/create.hpp>

#include <foundation/core/except/exception.hpp>

#include <climits>
#include <cstdint>

namespace test {
namespace {

constexpr char ceiling[] = "TARVEL:pmaxsize";
constexpr char limit[] = "TARVEL:array:SizeLimitExceeded";
constexpr char no_class[] = "TARVEL:badargs";
constexpr char not_numeric[] = "TARVEL:numericArgRequired";

constexpr const generation_probe* every_generation[] = {&probe_700, &probe_730, &probe_800};
constexpr const generation_probe* wide_generations[] = {&probe_730, &probe_800};

/// The shown id of what the call raises; "null" or "made" when it returns.
template <class Call>
std::string way_out(Call&& call) {
    try {
        return matrix::array_ptr(call()) == nullptr ? "null" : "made";
    } catch (const foundation::core::except::IMsgIDException& error) {
        return std::string(error.GetID());
    }
}

template <class Call>
void expect_refused_at_once(const generation_probe& api, const std::string& id, Call&& call) {
    for_each_module_mode([&](int mode) {
        SCOPED_TRACE("generation " + std::to_string(api.api));
        const header_watch headers;
        const heap_watch heap;
        EXPECT_EQ(way_out(call), mode == mode_exceptions ? id : "null");
        EXPECT_TRUE(headers.requests().empty()) << "a header was made";
        EXPECT_TRUE(heap.requests().empty()) << "a block was asked for";
    });
}

struct size_pair {
    long long m, n;
};

/// Every creator of the generation that takes two sizes, or dimensions.
void expect_every_creator_refuses(const generation_probe& api, const std::string& id, size_pair size) {
    SCOPED_TRACE(std::to_string(size.m) + " x " + std::to_string(size.n));
    const long long dims[] = {size.m, size.n};
    expect_refused_at_once(api, id, [&] { return api.double_matrix(size.m, size.n, ndREAL); });
    expect_refused_at_once(api, id, [&] { return api.numeric_matrix(size.m, size.n, ndINT8_CLASS, ndREAL); });
    expect_refused_at_once(api, id, [&] { return api.numeric_array(2, dims, ndINT8_CLASS, ndREAL); });
    expect_refused_at_once(api, id, [&] { return api.logical_matrix(size.m, size.n); });
    expect_refused_at_once(api, id, [&] { return api.logical_array(2, dims); });
}

using Refusals = NdTest;

TEST_F(Refusals, OfNegativeSizesAskForNothing) {
    for (const size_pair size : {size_pair{-1, 4}, {4, -1}, {-1, -1}, {INT_MIN, 0}, {0, INT_MIN}}) {
        expect_every_creator_refuses(probe_700, limit, size);
    }
    const long long inner[] = {2, -3, 4};
    for (const int ndim : {-1, INT_MIN, 3}) {
        SCOPED_TRACE(std::to_string(ndim) + " dimensions");
        expect_refused_at_once(probe_700, limit,
                               [&] { return probe_700.numeric_array(ndim, inner, ndINT8_CLASS, ndREAL); });
        expect_refused_at_once(probe_700, limit, [&] { return probe_700.logical_array(ndim, inner); });
    }
}

TEST_F(Refusals, AboveTheCeilingAskForNothing) {
    for (const generation_probe* api : every_generation) {
        for (const size_pair size : {size_pair{INT_MAX, INT_MAX}, {1LL << 24, 1LL << 24}}) {
            expect_every_creator_refuses(*api, ceiling, size);
        }
    }
}

// Products that are a small number when they wrap: 0, 0, 2 and 1.
TEST_F(Refusals, OfProductsThatWrapAskForNothing) {
    constexpr long long two_to_63 = INT64_MIN; // as the unsigned size that it becomes
    for (const generation_probe* api : wide_generations) {
        for (const size_pair size :
             {size_pair{1LL << 32, 1LL << 32}, {two_to_63, 2}, {two_to_63 + 1, 2}, {-1, -1}}) {
            expect_every_creator_refuses(*api, ceiling, size);
        }
    }
}

TEST_F(Refusals, AboveTheUsersLimitAskForNothing) {
    const size_limit_scope scope(1000, 100);
    for (const generation_probe* api : every_generation) {
        expect_every_creator_refuses(*api, limit, {1001, 8});
    }
}

// The class is looked at first, whatever the sizes are.
TEST_F(Refusals, OfClassesAskForNothing) {
    struct {
        int class_id;
        const char* id;
    } constexpr rows[] = {{-1, no_class},      {19, no_class},      {99, no_class},
                          {INT_MAX, no_class}, {INT_MIN, no_class}, {ndSTRUCT_CLASS, not_numeric}};
    const long long dims[] = {-1, -1};
    const std::size_t huge[] = {SIZE_MAX, SIZE_MAX};
    for (const generation_probe* api : every_generation) {
        for (const auto& row : rows) {
            SCOPED_TRACE("class " + std::to_string(row.class_id));
            expect_refused_at_once(*api, row.id,
                                   [&] { return api->numeric_matrix(-1, -1, row.class_id, ndREAL); });
            expect_refused_at_once(*api, row.id,
                                   [&] { return api->numeric_array(2, dims, row.class_id, ndREAL); });
            if (row.class_id == ndSTRUCT_CLASS) continue; // the uninitialised forms take it
            expect_refused_at_once(*api, row.id, [&] {
                return api->uninit_numeric_matrix(SIZE_MAX, SIZE_MAX, row.class_id, ndREAL);
            });
            expect_refused_at_once(*api, row.id,
                                   [&] { return api->uninit_numeric_array(2, huge, row.class_id, ndREAL); });
        }
    }
}

} // namespace
} // namespace test
