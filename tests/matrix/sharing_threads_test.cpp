// One block, many headers, many threads: each thread copies and ends headers of its own. The block lives till the last of them
// goes, and goes once.
#include "matrix/process_state.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/validate.hpp"
#include "support/array_matchers.hpp"
#include "support/sparse_arr.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/share.hpp>
#include <nd/sparse.hpp>

#include <atomic>
#include <numeric>
#include <random>
#include <thread>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_shared_copy;
using dims_list = std::vector<std::size_t>;

std::atomic<int> deleter_calls{0};

void count_and_free(void* block) {
    ++deleter_calls;
    foundation::core::mem::aligned_heap_instance().free(block);
}

constexpr std::size_t elements = 512;
constexpr double sum_of_elements = elements * (elements + 1) / 2.0;

array_ptr numbers() {
    array_ptr array = matrix::create(dims_list{elements, 1}, ndDOUBLE_CLASS, ndREAL);
    auto* const data = static_cast<double*>(array->pdata);
    std::iota(data, data + elements, 1.0);
    return array;
}

double sum(const array_ptr& array) {
    const auto* const data = static_cast<const double*>(array->pdata);
    return std::accumulate(data, data + elements, 0.0);
}

// One header a thread, handed over before the threads start; each works on its own and ends it.
template <class Work>
void share_among(int threads, const array_ptr& source, Work work) {
    std::vector<array_ptr> headers;
    for (int t = 0; t < threads; ++t) headers.push_back(do_shared_copy(source.get()));
    std::atomic<int> ready{0};
    std::vector<std::thread> crew;
    for (array_ptr& header : headers) {
        crew.emplace_back([&, mine = std::move(header)]() mutable {
            ready.fetch_add(1);
            while (ready.load() < threads) std::this_thread::yield();
            work(std::move(mine));
        });
    }
    for (std::thread& worker : crew) worker.join();
}

using SharingThreads = NdTest;
constexpr int crews[] = {2, 4, 8, 16};

TEST_F(SharingThreads, EndTheBlockOnce) {
    for (const int threads : crews) {
        for (int round = 0; round < 50; ++round) {
            deleter_calls = 0;
            array_ptr source = numbers();
            source->setCustomDeleter(count_and_free);
            std::atomic<int> wrong{0};
            share_among(threads, source, [&](array_ptr mine) {
                if (deleter_calls != 0 || sum(mine) != sum_of_elements) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_EQ(deleter_calls, 0);
            EXPECT_FALSE(source->is_data_shared_impl());
            source.reset();
            EXPECT_EQ(deleter_calls, 1);
        }
    }
}

TEST_F(SharingThreads, EndTheBlockOnceWhenTheSourceIsGone) {
    for (const int threads : crews) {
        for (int round = 0; round < 50; ++round) {
            deleter_calls = 0;
            array_ptr source = numbers();
            source->setCustomDeleter(count_and_free);
            std::atomic<int> wrong{0}, ended{0};
            share_among(threads, source, [&](array_ptr mine) {
                if (ended.fetch_add(1) == 0) source.reset();
                if (sum(mine) != sum_of_elements) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_EQ(deleter_calls, 1);
        }
    }
}

// Copies of copies, made and ended while others do the same.
TEST_F(SharingThreads, CopyAndEndAtTheSameTime) {
    for (const int threads : crews) {
        deleter_calls = 0;
        array_ptr source = numbers();
        source->setCustomDeleter(count_and_free);
        std::atomic<int> wrong{0};
        share_among(threads, source, [&](array_ptr mine) {
            std::vector<array_ptr> copies;
            for (int i = 0; i < 200; ++i) {
                copies.push_back(do_shared_copy((copies.empty() ? mine : copies.back()).get()));
                if (!copies.back()->is_data_shared_with_impl(mine.get())) ++wrong;
                if (i % 3 == 2) copies.erase(copies.begin());
                if (i % 50 == 49) copies.clear();
            }
            if (sum(mine) != sum_of_elements) ++wrong;
        });
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(source->share_record->count.load(), 1U);
        source.reset();
        EXPECT_EQ(deleter_calls, 1);
    }
}

// Deep copies read a block that others are leaving.
TEST_F(SharingThreads, CopyDeeplyWhileOthersLeave) {
    array_ptr source = numbers();
    std::atomic<int> wrong{0};
    share_among(8, source, [&](array_ptr mine) {
        for (int i = 0; i < 20; ++i) {
            const array_ptr copy = matrix::detail::do_deep_copy(mine.get());
            static_cast<double*>(copy->pdata)[0] = -1.0;
            if (sum(mine) != sum_of_elements) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
}

// The last one puts a cached pair into its own thread's bin; the thread's end frees it.
TEST_F(SharingThreads, EndACachedBlockOnce) {
    const cache_on cache;
    for (const int threads : crews) {
        for (int round = 0; round < 20; ++round) {
            array_ptr source = numbers();
            ASSERT_TRUE(source->flags & matrix::flag_cached_header);
            std::atomic<int> wrong{0};
            share_among(threads, source, [&](array_ptr mine) {
                if (sum(mine) != sum_of_elements) ++wrong;
                const array_ptr more = do_shared_copy(mine.get());
                mine.reset();
                if (sum(more) != sum_of_elements) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            source.reset();
        }
    }
}

// Slots of a cell are such a block too: whoever is last ends the elements.
TEST_F(SharingThreads, EndTheElementsOfACellOnce) {
    for (const int threads : crews) {
        deleter_calls = 0;
        array_ptr element = numbers();
        element->setCustomDeleter(count_and_free);
        array_ptr source = arr("cell 1x2", std::move(element), arr("cell 1x1", arr("double", {1})));
        std::atomic<int> left{threads};
        share_among(threads, source, [&](array_ptr mine) {
            if (left.fetch_sub(1) == threads) source.reset();
            mine.reset();
        });
        EXPECT_EQ(deleter_calls, 1);
    }
}

// Whatever each thread does with its headers, every header has the value that its own thread gave it last.
struct crew_member {
    explicit crew_member(array_ptr first, unsigned seed) : random(seed) { take(std::move(first), 1.0); }

    struct holding {
        array_ptr array;
        double first; ///< what the first element is
    };

    void take(array_ptr array, double first) { held.push_back({std::move(array), first}); }

    holding& any() { return held[random() % held.size()]; }

    void step() {
        holding& h = any();
        switch (random() % 6) {
        case 0:
        case 1:
            if (held.size() < 12) take(do_shared_copy(h.array.get()), h.first);
            break;
        case 2:
            if (held.size() < 12) take(matrix::detail::do_deep_copy(h.array.get()), h.first);
            break;
        case 3:
            api::ndUnshare(h.array.get());
            h.first = static_cast<double>(random() % 1000);
            static_cast<double*>(h.array->pdata)[0] = h.first;
            break;
        case 4:
            api::ndUnshare(h.array.get());
            break;
        default:
            if (held.size() > 1) held.erase(held.begin() + (&h - held.data()));
        }
    }

    int count_wrong() const {
        int wrong = 0;
        for (const holding& h : held) {
            const double first = static_cast<const double*>(h.array->pdata)[0];
            if (first != h.first || sum(h.array) != sum_of_elements - 1.0 + h.first) ++wrong;
            if (!matrix::internal::validate(h.array.get()).empty()) ++wrong;
        }
        return wrong;
    }

    std::mt19937 random;
    std::vector<holding> held;
};

TEST_F(SharingThreads, ShareWriteAndEndInRandomOrder) {
    for (const bool cached : {false, true}) {
        const cache_on cache;
        matrix::cache::setEnabled(cached);
        for (const int threads : crews) {
            array_ptr source = numbers();
            std::atomic<int> wrong{0};
            std::atomic<unsigned> seed{static_cast<unsigned>(threads)};
            share_among(threads, source, [&](array_ptr mine) {
                crew_member member(std::move(mine), seed.fetch_add(100));
                for (int i = 0; i < 400; ++i) {
                    member.step();
                    if (i % 40 == 0) wrong += member.count_wrong();
                }
                wrong += member.count_wrong();
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_EQ(sum(source), sum_of_elements);
            EXPECT_FALSE(matrix::internal::has_shared_data(source.get()));
        }
    }
}

// All threads unshare the last common block at once: each copies, one of them may find itself alone with the old block.
TEST_F(SharingThreads, UnshareAtOnce) {
    for (const int threads : crews) {
        for (int round = 0; round < 100; ++round) {
            deleter_calls = 0;
            array_ptr source = numbers();
            source->setCustomDeleter(count_and_free);
            std::atomic<int> wrong{0};
            share_among(threads, source, [&](array_ptr mine) {
                api::ndUnshare(mine.get());
                static_cast<double*>(mine->pdata)[0] = -1.0;
                if (sum(mine) != sum_of_elements - 2.0) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_EQ(sum(source), sum_of_elements);
            source.reset();
            EXPECT_EQ(deleter_calls, 1);
        }
    }
}

// Three blocks go with one record: values, rows and column starts.
TEST_F(SharingThreads, UnshareSparseArraysAtOnce) {
    for (const int threads : crews) {
        for (int round = 0; round < 50; ++round) {
            array_ptr source = sparse_arr("double 9x3", {{1, 0, 1}, {8, 2, 2}}, 7);
            std::atomic<int> wrong{0};
            share_among(threads, source, [&](array_ptr mine) {
                api::ndUnshare(mine.get());
                static_cast<double*>(mine->pdata)[1] = 5;
                api::ndGetIr(mine.get())[1] = 4;
                api::ndGetJc(mine.get())[2] = 2;
                if (!same_value(sparse_arr("double 9x3", {{1, 0, 1}, {4, 1, 5}}).get(), mine.get())) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_THAT(source, EqualsArray(sparse_arr("double 9x3", {{1, 0, 1}, {8, 2, 2}})));
        }
    }
}

// Two headers and no third: the race between copy and leave is lost now and then, and the block ends once all the same.
TEST_F(SharingThreads, UnshareBothOfTwo) {
    for (int round = 0; round < 500; ++round) {
        deleter_calls = 0;
        array_ptr source = numbers();
        source->setCustomDeleter(count_and_free);
        array_ptr other = do_shared_copy(source.get());
        std::atomic<int> ready{0};
        const auto unshare_and_write = [&](array_ptr mine, double value, std::atomic<double>& result) {
            ready.fetch_add(1);
            while (ready.load() < 2) {
            }
            api::ndUnshare(mine.get());
            static_cast<double*>(mine->pdata)[0] = value;
            result = sum(mine);
        };
        std::atomic<double> first{0}, second{0};
        std::thread a(
            [&, mine = std::move(source)]() mutable { unshare_and_write(std::move(mine), 0.0, first); });
        std::thread b(
            [&, mine = std::move(other)]() mutable { unshare_and_write(std::move(mine), 5.0, second); });
        a.join();
        b.join();
        EXPECT_EQ(first, sum_of_elements - 1.0);
        EXPECT_EQ(second, sum_of_elements + 4.0);
        EXPECT_EQ(deleter_calls, 1);
    }
}

// One claims the block while the others let go of it: whoever is left has it, and it ends once.
TEST_F(SharingThreads, ClaimWhileOthersLeave) {
    for (const bool with_deleter : {true, false}) {
        const cache_on cache;
        for (const int threads : crews) {
            for (int round = 0; round < 50; ++round) {
                deleter_calls = 0;
                array_ptr source = numbers();
                if (with_deleter) source->setCustomDeleter(count_and_free);
                std::atomic<int> wrong{0}, turn{0};
                share_among(threads, source, [&](array_ptr mine) {
                    if (turn.fetch_add(1) % 2 != 0) return;
                    mine->flags |= matrix::flag_reusable;
                    const array_ptr claimed(api::ndCreateClaimedDataCopy(mine.get()));
                    if (mine->pdata != nullptr || sum(claimed) != sum_of_elements) ++wrong;
                });
                EXPECT_EQ(wrong, 0);
                EXPECT_EQ(sum(source), sum_of_elements);
                source.reset();
                EXPECT_EQ(deleter_calls, with_deleter ? 1 : 0);
            }
        }
    }
}

// Each moves its header onto another one and ends both.
TEST_F(SharingThreads, MoveAndUnreferenceWhileOthersLeave) {
    for (const int threads : crews) {
        for (int round = 0; round < 50; ++round) {
            deleter_calls = 0;
            array_ptr source = numbers();
            source->setCustomDeleter(count_and_free);
            std::atomic<int> wrong{0};
            share_among(threads, source, [&](array_ptr mine) {
                const array_ptr second(api::ndUnreference(api::ndCreateReference(mine.get())));
                const array_ptr dest = matrix::create(dims_list{1, 1}, ndINT8_CLASS, ndREAL);
                api::ndMoveArrayOntoHeader(dest.get(), mine.release());
                if (sum(dest) != sum_of_elements || sum(second) != sum_of_elements) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            source.reset();
            EXPECT_EQ(deleter_calls, 1);
        }
    }
}

// The separate view is made once, whoever asks first; the others wait for it and find it whole.
TEST_F(SharingThreads, SplitAtOnce) {
    for (const int threads : crews) {
        for (int round = 0; round < 50; ++round) {
            const array_ptr source = numbers();
            std::atomic<int> wrong{0};
            std::atomic<const void*> seen{nullptr};
            share_among(threads, source, [&](array_ptr mine) {
                mine->split_data(true);
                const scaffolding* const view = mine->get_scData();
                const void* expected = nullptr;
                if (!seen.compare_exchange_strong(expected, view) && expected != view) ++wrong;
                if (static_cast<const double*>(view->real_data)[elements - 1] != elements) ++wrong;
            });
            EXPECT_EQ(wrong, 0);
            EXPECT_EQ(source->get_scData(), seen.load());
        }
    }
}

// Arrays without anything in common don't meet at all.
TEST_F(SharingThreads, WorkApartOnArraysOfTheirOwn) {
    const cache_on cache;
    std::vector<std::thread> crew;
    for (int t = 0; t < 8; ++t) {
        crew.emplace_back([] {
            for (int i = 0; i < 300; ++i) {
                const array_ptr array(api::ndCreateDoubleMatrix(static_cast<std::size_t>(i % 40), 3, ndREAL));
                const array_ptr copy = matrix::detail::do_deep_copy(array.get());
                const array_ptr solid = matrix::create(dims_list{2, 2, 2}, ndINT8_CLASS, ndREAL);
            }
        });
    }
    for (std::thread& worker : crew) worker.join();
}

} // namespace
} // namespace test
