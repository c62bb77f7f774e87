// Dimensions without mercy: every creator against a reckoning in 128 bits. What can't be had is refused with its identifier before
// anything is allocated; what is let through asks for exactly the bytes that it needs.
#include "matrix/creator_table.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/size_oracle.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/except/exception.hpp>

#include <algorithm>
#include <cstdio>

namespace test {
namespace {

using dims_list = std::vector<std::size_t>;
using matrix::array_ptr;

// Blocks above this aren't really made: the heap answers that memory ran out, and what was asked for is known all the same.
constexpr std::size_t largest_real_block = 1 << 20;
constexpr std::uint64_t user_limit = 50'000'000;

struct tally {
    long made = 0, out_of_memory = 0, above_ceiling = 0, above_limit = 0;
};

class size_attack {
public:
    size_attack(const creator_row& creator, std::uint64_t limit, int mode)
        : creator_(creator), limit_(limit), mode_(mode), heap_(largest_real_block) {}

    void attempt(const creator_args& args) {
        const auto code = creator_.code(args);
        const judged_size judged = judge(args.dims, matrix::internal::element_size(code), limit_);
        const std::size_t headers_before = headers_.requests().size();
        heap_.forget();
        std::string id;
        array_ptr made;
        try {
            made.reset(creator_.make(args));
            id = made != nullptr ? "fits" : "null";
        } catch (const foundation::core::except::IMsgIDException& error) {
            id = error.GetID();
        } catch (const foundation::core::except::bad_alloc&) {
            id = "out of memory";
        }
        const std::size_t headers_made = headers_.requests().size() - headers_before;
        compare(judged, id, made != nullptr, headers_made);
    }

    const tally& counts() const noexcept { return counts_; }

private:
    bool quiet() const { return creator_.framed && mode_ != mode_exceptions; }

    void compare(const judged_size& judged, const std::string& id, bool made, std::size_t headers_made) {
        if (judged.says != verdict::fits) {
            std::ostringstream wanted;
            wanted << judged.says;
            EXPECT_EQ(id, quiet() ? "null" : wanted.str());
            EXPECT_EQ(headers_made, 0U) << "a header was made";
            EXPECT_TRUE(heap_.requests().empty()) << "a block was asked for";
            ++(judged.says == verdict::above_limit ? counts_.above_limit : counts_.above_ceiling);
            return;
        }
        const bool refused = judged.bytes > largest_real_block;
        EXPECT_EQ(id, !refused ? "fits" : quiet() ? "null" : "out of memory");
        EXPECT_EQ(made, !refused);
        expect_request(judged.bytes);
        ++(refused ? counts_.out_of_memory : counts_.made);
    }

    // The exact bytes, or those of a bin that holds them.
    void expect_request(std::uint64_t bytes) {
        if (heap_.requests().empty()) return;
        ASSERT_EQ(heap_.requests().size(), 1U);
        const std::size_t asked = heap_.requests()[0].size;
        const auto bins = matrix::cache::CacheInfo::getBinSizes();
        const auto bin = std::lower_bound(bins.begin(), bins.end(), bytes);
        EXPECT_TRUE(asked == bytes || (creator_.may_cache && bin != bins.end() && asked == *bin)) << asked;
    }

    const creator_row& creator_;
    std::uint64_t limit_;
    int mode_;
    header_watch headers_;
    heap_watch heap_;
    tally counts_;
};

struct attack_plan {
    long rounds;
    std::uint64_t limit;
    int mode;
    std::uint64_t seed;
};

tally attack(const creator_row& creator, const attack_plan& plan) {
    const size_limit_scope limit(user_limit, 100, plan.limit != 0);
    const module_mode_scope mode(plan.mode);
    size_attack attempts(creator, plan.limit, plan.mode);
    dims_maker make(plan.seed);
    for (long i = 0; i < plan.rounds && !::testing::Test::HasFailure(); ++i) {
        const dims_list dims = creator.takes_any_rank ? make.any() : make.some(2);
        const creator_args args{dims, static_cast<int>(make.number() % 19),
                                static_cast<int>(make.number() % 3)};
        attempts.attempt(args);
        if (::testing::Test::HasFailure()) {
            ADD_FAILURE() << creator.name << " of " << dims_words(dims) << ", class " << args.class_id
                          << ", complexity " << args.complexity << ", limit " << plan.limit << ", mode "
                          << plan.mode;
        }
        if (i % 64 == 0) matrix::cache::clear();
    }
    return attempts.counts();
}

void attack_every_creator() {
    tally total;
    for (const creator_row& creator : all_creators()) {
        for (const std::uint64_t limit : {std::uint64_t{0}, user_limit}) {
            for (const int mode : {mode_exceptions, mode_null_results}) {
                const long rounds = mode == mode_exceptions ? 2200 : 700;
                const tally counts =
                    attack(creator, {rounds, limit, mode, 17 + limit + static_cast<unsigned>(mode)});
                EXPECT_GT(counts.made, 0) << creator.name;
                EXPECT_GT(counts.above_ceiling, 0) << creator.name;
                total.made += counts.made;
                total.out_of_memory += counts.out_of_memory;
                total.above_ceiling += counts.above_ceiling;
                total.above_limit += counts.above_limit;
            }
        }
    }
    const long all = total.made + total.out_of_memory + total.above_ceiling + total.above_limit;
    std::printf("[    sizes ] %ld requests: %ld made, %ld out of memory, %ld above the ceiling, %ld above "
                "the limit\n",
                all, total.made, total.out_of_memory, total.above_ceiling, total.above_limit);
    EXPECT_GE(all, 100'000);
    EXPECT_GT(total.above_limit, 1000);
    EXPECT_GT(total.out_of_memory, 1000);
}

using CreatorSizes = NdTest;
using CachedCreatorSizes = CacheTest;

TEST_F(CreatorSizes, AgreeWithAReckoningIn128Bits) { attack_every_creator(); }

TEST_F(CachedCreatorSizes, AgreeWithAReckoningIn128Bits) { attack_every_creator(); }

// Elements without a size take no bytes, however many there are: their count has the ceiling all the same.
TEST_F(CachedCreatorSizes, ElementsWithoutASizeAreCountedToo) {
    for (const creator_row& creator : all_creators()) {
        if (!creator.takes_any_rank || creator.class_id != creator_row::given_class) continue;
        for (const int class_id : {int{ndUNKNOWN_CLASS}, int{ndVOID_CLASS}}) {
            SCOPED_TRACE(std::string(creator.name) + ", class " + std::to_string(class_id));
            const module_mode_scope mode(mode_exceptions);
            size_attack(creator, 0, mode_exceptions).attempt({dims_list(4, 16240), class_id, 0});
        }
    }
}

} // namespace
} // namespace test
