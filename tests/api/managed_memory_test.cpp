// Managed memory of each generation, called through C code that was compiled for it: which blocks come, and which of them
// stand on the list. In the engine's mode a block stands there until it is freed; in any other mode there is no list.
#include "api/generation_probe.h"
#include "api/mode.hpp"

#include <nd/memory.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();

class ManagedMemory : public testing::TestWithParam<const generation_probe*> {
protected:
    ManagedMemory() { matrix::pushAllocListContext(); }
    ~ManagedMemory() override { matrix::popAllocListContext(); }

    const generation_probe& api() const { return *GetParam(); }

    /// Whether the list is as one expects it where there is a list.
    static bool holds_blocks(bool expected) {
        return matrix::isAllocListContextEmpty() == !(expected && test::errors_are_exceptions());
    }
};

TEST_P(ManagedMemory, GivesAlignedBlocksAndZeroedOnes) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{63}, std::size_t{64}, std::size_t{100000}}) {
        void* const block = api().malloc(size);
        auto* const zeroed = static_cast<unsigned char*>(api().calloc(size, 3));
        ASSERT_TRUE(block != nullptr && zeroed != nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(zeroed) % 64, 0U);
        EXPECT_TRUE(std::all_of(zeroed, zeroed + 3 * size, [](unsigned char byte) { return byte == 0; }));
        std::memset(block, 0xFF, size);
        api().free(block);
        api().free(zeroed);
    }
    EXPECT_TRUE(holds_blocks(false));
}

TEST_P(ManagedMemory, KeepsEachBlockOnTheListTillItIsFreed) {
    void* const first = api().malloc(1);
    void* const second = api().calloc(1, 1);
    EXPECT_TRUE(holds_blocks(true));
    api().free(first);
    EXPECT_TRUE(holds_blocks(true));
    api().free(second);
    EXPECT_TRUE(holds_blocks(false));
}

TEST_P(ManagedMemory, ResizesABlockWithItsBytes) {
    auto* block = static_cast<unsigned char*>(api().realloc(nullptr, 3));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abc", 3);
    for (const std::size_t size : {std::size_t{200}, std::size_t{1} << 20U, std::size_t{3}}) {
        block = static_cast<unsigned char*>(api().realloc(block, size));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
        EXPECT_TRUE(holds_blocks(true));
    }
    EXPECT_EQ(api().realloc(block, 0), nullptr); // frees it
    EXPECT_TRUE(holds_blocks(false));
}

TEST_P(ManagedMemory, LeavesABlockAsItIsWhenItCannotGrow) {
    auto* const block = static_cast<unsigned char*>(api().malloc(3));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abc", 3);
    test::expect_refused([&] { return api().realloc(block, largest); }, static_cast<void*>(nullptr),
                         "TARVEL:nomem");
    EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
    EXPECT_TRUE(holds_blocks(true));
    api().free(block);
    EXPECT_TRUE(holds_blocks(false));
}

TEST_P(ManagedMemory, RefusesWhatNoHeapHas) {
    constexpr void* null = nullptr;
    test::expect_refused([&] { return api().malloc(largest); }, null, "TARVEL:nomem");
    test::expect_refused([&] { return api().calloc(largest, 2); }, null, "TARVEL:nomem");
    test::expect_refused([&] { return api().calloc(1, largest); }, null, "TARVEL:nomem");
    EXPECT_TRUE(holds_blocks(false));
}

TEST_P(ManagedMemory, FreesWhatIsLeftWhenTheContextEnds) {
    if (!test::errors_are_exceptions()) GTEST_SKIP() << "nothing frees blocks outside the engine";
    matrix::pushAllocListContext();
    for (std::size_t size = 1; size <= 100; ++size) EXPECT_NE(api().malloc(size), nullptr);
    matrix::popAllocListContext(); // the sanitizers tell when a block stays behind
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
}

INSTANTIATE_TEST_SUITE_P(Api, ManagedMemory, testing::Values(&probe_700, &probe_730, &probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

} // namespace
