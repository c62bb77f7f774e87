// Sizes of sparse arrays without mercy, against a reckoning in 128 bits: what can't be had is refused with its identifier before
// anything is allocated; what is let through asks for exactly the bytes that were judged.
#include "matrix/class_table.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/size_oracle.hpp"
#include "matrix/validate.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/sparse.hpp>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

// Blocks above this aren't really made: the heap answers that memory ran out.
constexpr std::size_t largest_real_block = 1 << 16;
constexpr std::uint64_t user_limit = 50'000'000;

struct request {
    std::size_t m, n, nzmax;
    ndClassID class_id;
    ndComplexity complexity;

    std::size_t element_size() const {
        const bool complex = complexity == ndCOMPLEX && class_id != ndLOGICAL_CLASS;
        return matrix::internal::element_size(matrix::internal::code_of(class_id, complex));
    }
};

struct answer {
    std::string id;
    array_ptr made;
};

answer answer_to(const request& r) {
    try {
        array_ptr made(api::ndCreateSparseNumericMatrix(r.m, r.n, r.nzmax, r.class_id, r.complexity));
        const bool fits = made != nullptr;
        return {fits ? "fits" : "null", std::move(made)};
    } catch (const foundation::core::except::IMsgIDException& error) {
        return {std::string(error.GetID()), nullptr};
    } catch (const foundation::core::except::bad_alloc&) {
        return {"out of memory", nullptr};
    }
}

std::uint64_t bytes_asked(const heap_watch& heap) {
    std::uint64_t bytes = 0;
    for (const heap_request& one : heap.requests()) bytes += one.count * one.size;
    return bytes;
}

struct tally {
    long made = 0, out_of_memory = 0, refused = 0;
};

// In words: header and blocks of what fits add up to what was judged, and a refusal comes before all of them.
void judge_one(const request& r, std::uint64_t limit, int mode, tally& counts) {
    const judged_size judged =
        judge_sparse(r.m, r.n, std::max<std::size_t>(r.nzmax, 1), r.element_size(), limit);
    const header_watch headers;
    heap_watch heap(largest_real_block);
    const answer a = answer_to(r);
    if (judged.says != verdict::fits) {
        std::ostringstream wanted;
        wanted << judged.says;
        EXPECT_EQ(a.id, mode == mode_exceptions ? wanted.str() : "null");
        EXPECT_TRUE(headers.requests().empty());
        EXPECT_TRUE(heap.requests().empty());
        ++counts.refused;
    } else if (heap.refused() != 0) {
        EXPECT_EQ(a.id, mode == mode_exceptions ? "out of memory" : "null");
        ++counts.out_of_memory;
    } else {
        ASSERT_EQ(a.id, "fits");
        EXPECT_EQ(heap.requests().size(), 3U);
        EXPECT_EQ(bytes_asked(heap), judged.bytes);
        EXPECT_EQ(matrix::internal::validate(a.made.get()), "");
        ++counts.made;
    }
}

using SparseSizes = NdTest;

TEST_F(SparseSizes, AgreeWithAReckoningIn128Bits) {
    constexpr ndClassID classes[] = {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndLOGICAL_CLASS};
    constexpr long rounds = 5000;
    tally counts;
    dims_maker make(18);
    for (const std::uint64_t limit : {std::uint64_t{0}, user_limit}) {
        const size_limit_scope scope(user_limit, 100, limit != 0);
        for_each_module_mode([&](int mode) {
            for (long i = 0; i < rounds && !HasFailure(); ++i) {
                const request r{make.one(), make.one(), make.one(), classes[make.number() % 3],
                                make.number() % 2 == 0 ? ndREAL : ndCOMPLEX};
                SCOPED_TRACE(dims_words(std::vector<std::size_t>{r.m, r.n, r.nzmax}) + ", class " +
                             std::to_string(r.class_id) + ", complexity " + std::to_string(r.complexity));
                judge_one(r, limit, mode, counts);
            }
        });
    }
    std::printf("[    sizes ] sparse: %ld made, %ld out of memory, %ld refused\n", counts.made,
                counts.out_of_memory, counts.refused);
    EXPECT_GT(counts.made, 1000);
    EXPECT_GT(counts.out_of_memory, 1000);
    EXPECT_GT(counts.refused, 1000);
}

} // namespace
} // namespace test
