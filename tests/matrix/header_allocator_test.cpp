// Where headers and share records come from, and how that is chosen when the process starts.
#include "matrix/header_allocator.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>

namespace test {
namespace {

using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

// Made by a static constructor, ended by a static destructor: the slots are there whenever somebody asks.
const array_ptr made_before_main = matrix::create(dims_list{2, 2, 2}, ndINT8_CLASS, ndREAL);

using HeaderAllocator = NdTest;

TEST_F(HeaderAllocator, ServesStaticConstructors) {
    EXPECT_EQ(matrix::internal::validate(made_before_main.get()), "");
    EXPECT_THAT(made_before_main, EqualsArray(arr("int8 2x2x2")));
}

TEST_F(HeaderAllocator, GivesHeadersAndShareRecordsAndNothingElse) {
    header_watch headers;
    heap_watch heap;
    {
        const array_ptr array = matrix::create(dims_list{2, 3, 4}, ndDOUBLE_CLASS, ndREAL);
        const array_ptr copy = matrix::detail::do_shared_copy(array.get());
        const array_ptr third = matrix::detail::do_shared_copy(copy.get());
    }
    EXPECT_EQ(headers.requests(), (std::vector<std::size_t>{112, 112, 32, 112}));
    EXPECT_EQ(headers.freed_headers().size(), 3U);
    EXPECT_EQ(headers.freed_records(), 1U);
    EXPECT_EQ(heap.requests(), (std::vector<heap_request>{{heap_request::slot::calloc, 1, 192}}));
}

TEST_F(HeaderAllocator, RaisesWhenTheSlotGivesNothing) {
    const injection armed({1, fault_plan::follow_up::for_ever, 0});
    bool raised = false;
    try {
        matrix::internal::free_header_block(matrix::internal::allocate_header_block(112));
    } catch (const std::bad_alloc&) {
        raised = true;
    }
    EXPECT_TRUE(raised);
}

TEST_F(HeaderAllocator, GivesBlocksForAllThreeSlots) {
    const matrix::internal::header_slots& slots = matrix::internal::slots_in_force;
    void* const plain = slots.malloc(112);
    ASSERT_NE(plain, nullptr);
    slots.free(plain);
    auto* const zeroed = static_cast<unsigned char*>(slots.calloc(2, 56));
    ASSERT_NE(zeroed, nullptr);
    for (int i = 0; i < 112; ++i) EXPECT_EQ(zeroed[i], 0);
    slots.free(zeroed);
}

// Starts this program again with the environment given, to list its tests, and returns what it wrote to standard error.
std::string start_with(const std::string& environment) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = environment + " '" + program + "' --gtest_filter=none 2>&1 >/dev/null";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 256> buffer;
    while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr)
        text += buffer.data();
    return text;
}

TEST(HeaderAllocatorChoice, GoesByFeature7AndIsToldWhenAskedFor) {
    EXPECT_EQ(start_with("TARVEL_MATRIX_DIAG=1 ND_MEMORY_FEATURES=7=1"), "ndArray TBB allocator.\n");
    EXPECT_EQ(start_with("TARVEL_MATRIX_DIAG=1 ND_MEMORY_FEATURES=7=0"),
              "ndArray SYSTEM allocator (nopooling).\n");
    EXPECT_EQ(start_with("TARVEL_MATRIX_DIAG= ND_MEMORY_FEATURES=7=0"),
              "ndArray SYSTEM allocator (nopooling).\n")
        << "set to anything, be it empty";
    EXPECT_EQ(start_with("ND_MEMORY_FEATURES=7=1"), "");
    EXPECT_EQ(start_with("ND_MEMORY_FEATURES=7=0"), "");
}

} // namespace
} // namespace test
