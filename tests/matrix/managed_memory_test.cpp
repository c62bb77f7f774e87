// The managed family: three tiers over one heap, row by row, under both ways to fail.
#include "matrix/heap_watch.hpp"
#include "matrix/lists_fixture.hpp"

#include "matrix/module_state.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/messages.hpp>

#include <cstring>
#include <new>
#include <string>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using matrix::isAllocListContextEmpty;
using slot = heap_request::slot;
using requests = std::vector<heap_request>;
constexpr std::size_t largest = ~std::size_t{0};
constexpr std::size_t ceiling = 1'000'000; ///< of the watched heap: what is asked above is refused

struct call_row {
    const char* name;
    void* (*call)(std::size_t n, std::size_t size);
    bool counts_elements;
    bool listed;
    bool raises; ///< in mode 1
    slot through;
};

const call_row makers[] = {
    {"ndMalloc", [](std::size_t, std::size_t size) { return api::ndMalloc(size); }, false, true, true,
     slot::malloc},
    {"ndMallocEx", [](std::size_t, std::size_t size) { return api::ndMallocEx(size); }, false, false, false,
     slot::malloc},
    {"ndMallocExCheck", [](std::size_t, std::size_t size) { return api::ndMallocExCheck(size); }, false,
     false, true, slot::malloc},
    {"ndCalloc", api::ndCalloc, true, true, true, slot::calloc},
    {"ndCallocEx", api::ndCallocEx, true, false, false, slot::calloc},
    {"ndCallocExCheck", api::ndCallocExCheck, true, false, true, slot::calloc},
    {"ndRealloc", [](std::size_t, std::size_t size) { return api::ndRealloc(nullptr, size); }, false, true,
     true, slot::malloc},
    {"ndReallocEx", [](std::size_t, std::size_t size) { return api::ndReallocEx(nullptr, size); }, false,
     false, false, slot::malloc},
    {"ndReallocExCheck", [](std::size_t, std::size_t size) { return api::ndReallocExCheck(nullptr, size); },
     false, false, true, slot::malloc},
};

/// True when the call raises out of memory, with the identifier that goes with it; false when it gives null.
template <class Call>
bool fails_by_exception(Call&& call) {
    try {
        EXPECT_EQ(call(), nullptr);
        return false;
    } catch (const foundation::core::except::bad_alloc& error) {
        EXPECT_NE(dynamic_cast<const std::bad_alloc*>(&error), nullptr);
        const auto* const user = dynamic_cast<const foundation::core::except::IUserException*>(&error);
        const auto* const legacy = dynamic_cast<
            const foundation::core::except::detail::legacy<foundation::core::except::bad_alloc>*>(&error);
        EXPECT_NE(legacy, nullptr);
        EXPECT_EQ(user == nullptr ? "" : std::string(user->GetID()), "TARVEL:nomem");
        return true;
    }
}

class ManagedMemory : public ListsTest {
protected:
    /// The mode alone: the lists stay on.
    static void set_mode(int mode) { matrix::internal::the_module.mode = mode; }
};

TEST_F(ManagedMemory, GivesBlocksOfItsHeap) {
    for (const call_row& row : makers) {
        heap_watch heap;
        void* const block = row.call(3, 10);
        ASSERT_NE(block, nullptr) << row.name;
        EXPECT_EQ(heap.requests(), (requests{{row.through, row.counts_elements ? 3U : 1U, 10}})) << row.name;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U) << row.name;
        std::memset(block, 1, row.counts_elements ? 30 : 10);
        EXPECT_EQ(isAllocListContextEmpty(), !row.listed) << row.name;
        row.listed ? api::ndFree(block) : api::ndFreeEx(block);
        EXPECT_EQ(heap.times_freed(block), 1U) << row.name;
        EXPECT_TRUE(isAllocListContextEmpty()) << row.name;
    }
}

TEST_F(ManagedMemory, ZeroesElements) {
    for (const call_row& row : makers) {
        if (!row.counts_elements) continue;
        void* const block = row.call(100, 7);
        EXPECT_EQ(std::vector<char>(static_cast<char*>(block), static_cast<char*>(block) + 700),
                  std::vector<char>(700));
        row.listed ? api::ndFree(block) : api::ndFreeEx(block);
    }
}

TEST_F(ManagedMemory, GivesNothingForZeroBytes) {
    heap_watch heap;
    for (const call_row& row : makers) {
        EXPECT_EQ(row.call(1, 0), nullptr) << row.name;
        EXPECT_EQ(row.call(largest, 0), nullptr) << row.name;
        if (row.counts_elements) {
            EXPECT_EQ(row.call(0, 1), nullptr) << row.name;
            EXPECT_EQ(row.call(0, largest), nullptr) << row.name;
            EXPECT_EQ(row.call(0, 0), nullptr) << row.name;
        }
    }
    EXPECT_TRUE(heap.requests().empty());
    EXPECT_TRUE(isAllocListContextEmpty());
}

TEST_F(ManagedMemory, FailsAsItsTierSays) {
    for (const int mode : {1, 0, 2, -1}) {
        set_mode(mode);
        for (const call_row& row : makers) {
            heap_watch heap(ceiling);
            EXPECT_EQ(fails_by_exception([&] { return row.call(1, 2 * ceiling); }), row.raises && mode == 1)
                << row.name << " in mode " << mode;
            EXPECT_EQ(heap.refused(), 1U) << row.name;
            EXPECT_TRUE(isAllocListContextEmpty()) << row.name;
        }
    }
    set_mode(1);
}

struct product_row {
    std::size_t n, size;
    bool reaches_the_heap;
};

TEST_F(ManagedMemory, CountsAnOverflowingProductAsFailure) {
    const product_row rows[] = {
        {largest, 2, false},         {2, largest, false},
        {largest, largest, false},   {2, largest / 2 + 1, false},
        {3, largest / 3 + 1, false}, {std::size_t{1} << 32, std::size_t{1} << 32, false},
        {1, largest, true},          {largest, 1, true},
        {2, largest / 2, true},      {3, largest / 3, true},
    };
    for (const int mode : {1, 0}) {
        set_mode(mode);
        for (const call_row& row : makers) {
            if (!row.counts_elements) continue;
            for (const product_row& product : rows) {
                heap_watch heap(ceiling);
                EXPECT_EQ(fails_by_exception([&] { return row.call(product.n, product.size); }),
                          row.raises && mode == 1);
                EXPECT_EQ(heap.requests().size(), product.reaches_the_heap ? 1U : 0U)
                    << row.name << " " << product.n << " " << product.size;
            }
        }
    }
    set_mode(1);
}

// ---- changing the size of a block

struct resize_row {
    const char* name;
    void* (*make)(std::size_t size);
    void* (*resize)(void* p, std::size_t size);
    void (*free)(void* p);
    bool listed;
    bool raises;
};

const resize_row resizers[] = {
    {"ndRealloc", api::ndMalloc, api::ndRealloc, api::ndFree, true, true},
    {"ndReallocEx", api::ndMallocEx, api::ndReallocEx, api::ndFreeEx, false, false},
    {"ndReallocExCheck", api::ndMallocExCheck, api::ndReallocExCheck, api::ndFreeEx, false, true},
};

TEST_F(ManagedMemory, KeepsTheBytesOfAResizedBlock) {
    for (const resize_row& row : resizers) {
        for (const std::size_t size : {1, 50, 64, 1000, 500'000}) {
            heap_watch heap;
            void* const block = row.make(64);
            std::memset(block, 7, 64);
            void* const resized = row.resize(block, size);
            EXPECT_EQ(heap.requests().back(), (heap_request{slot::realloc, 1, size})) << row.name;
            const std::size_t kept = std::min<std::size_t>(size, 64);
            EXPECT_EQ(std::vector<char>(static_cast<char*>(resized), static_cast<char*>(resized) + kept),
                      std::vector<char>(kept, 7));
            EXPECT_EQ(isAllocListContextEmpty(), !row.listed);
            row.free(resized);
            EXPECT_TRUE(isAllocListContextEmpty());
        }
    }
}

TEST_F(ManagedMemory, FreesABlockThatIsResizedToNothing) {
    for (const resize_row& row : resizers) {
        void* const block = row.make(10);
        heap_watch heap;
        EXPECT_EQ(row.resize(block, 0), nullptr) << row.name;
        EXPECT_EQ(heap.times_freed(block), 1U) << row.name;
        EXPECT_TRUE(isAllocListContextEmpty()) << row.name;
        EXPECT_EQ(row.resize(nullptr, 0), nullptr) << row.name;
    }
}

// The block stays as it was. Where the failure doesn't raise, it leaves the list: its owner has to free it.
TEST_F(ManagedMemory, LeavesABlockAloneThatCantBeResized) {
    for (const int mode : {1, 0}) {
        for (const resize_row& row : resizers) {
            set_mode(1);
            matrix::pushAllocListContext();
            void* const block = row.make(10);
            std::memset(block, 7, 10);
            set_mode(mode);
            {
                heap_watch heap(ceiling);
                EXPECT_EQ(fails_by_exception([&] { return row.resize(block, 2 * ceiling); }),
                          row.raises && mode == 1)
                    << row.name;
                EXPECT_EQ(heap.times_freed(block), 0U);
            }
            EXPECT_EQ(static_cast<char*>(block)[9], 7);
            EXPECT_EQ(isAllocListContextEmpty(), !(row.listed && mode == 1)) << row.name << ", mode " << mode;
            heap_watch heap;
            matrix::popAllocListContext();
            EXPECT_EQ(heap.times_freed(block), row.listed && mode == 1 ? 1U : 0U);
            if (heap.times_freed(block) == 0) api::ndFreeEx(block);
        }
    }
    set_mode(1);
}

TEST_F(ManagedMemory, PutsAResizedBlockInItsOldOnesPlace) {
    heap_watch heap;
    void* const first = api::ndMalloc(10);
    void* const second = api::ndMalloc(10);
    void* const resized = api::ndRealloc(first, 500'000);
    heap.forget();
    matrix::clearAllocListContext();
    if (resized == first) {
        EXPECT_EQ(heap.freed(), (std::vector<void*>{second, first}));
    } else {
        EXPECT_EQ(heap.freed(), (std::vector<void*>{resized, second}));
    }
}

TEST_F(ManagedMemory, FreesNothingForNull) {
    heap_watch heap;
    api::ndFree(nullptr);
    api::ndFreeEx(nullptr);
    EXPECT_TRUE(heap.freed().empty());
}

TEST_F(ManagedMemory, TakesNoNoticeOfTheListInTheOtherTiers) {
    void* const block = api::ndMalloc(10);
    heap_watch heap;
    api::ndFreeEx(block);
    EXPECT_EQ(heap.times_freed(block), 1U);
    EXPECT_FALSE(isAllocListContextEmpty()) << "the list still names it";
    matrix::internal::removeFromAllocList(block);
    EXPECT_TRUE(isAllocListContextEmpty());
}

// ---- no list

TEST_F(ManagedMemory, WorksWithoutAList) {
    const auto work = [] {
        for (const call_row& row : makers) {
            void* block = row.call(1, 10);
            ASSERT_NE(block, nullptr) << row.name;
            block = api::ndRealloc(block, 100'000);
            ASSERT_NE(block, nullptr) << row.name;
            EXPECT_TRUE(isAllocListContextEmpty()) << row.name;
            EXPECT_EQ(matrix::ndEnterNewAllocListContext(), 0);
            matrix::ndRestorePreviousAllocListContext(5);
            matrix::popAllocListContext();
            matrix::clearAllocListContext();
            matrix::internal::removeFromAllocList(block);
            api::ndFree(block);
        }
    };
    {
        const EngineActivation none(nullptr);
        work();
    }
    {
        foundation::usm::EngineInstance closed;
        closed.close();
        const EngineActivation active(&closed);
        work();
    }
    matrix::internal::the_module.alloc_lists = false;
    work();
    matrix::internal::the_module.alloc_lists = true;
}

// What adds makes the engine's record, and so does what takes a block off; the rest looks for one only.
TEST_F(ManagedMemory, MakesTheListWhenThereIsSomethingToList) {
    struct making_row {
        const char* name;
        void (*call)();
        bool makes;
    };
    const making_row rows[] = {
        {"ndMalloc", [] { api::ndMalloc(10); }, true},
        {"ndMalloc of nothing", [] { api::ndMalloc(0); }, false},
        {"ndCalloc", [] { api::ndCalloc(1, 10); }, true},
        {"ndRealloc", [] { api::ndRealloc(nullptr, 10); }, true},
        {"ndRealloc of nothing", [] { api::ndRealloc(nullptr, 0); }, false},
        {"ndFree", [] { api::ndFree(api::ndMallocEx(10)); }, true},
        {"ndFree of nothing", [] { api::ndFree(nullptr); }, false},
        {"removeFromAllocList", [] { matrix::internal::removeFromAllocList(nullptr); }, true},
        {"ndMallocEx", [] { api::ndFreeEx(api::ndMallocEx(10)); }, false},
        {"ndEnterNewAllocListContext", [] { matrix::ndEnterNewAllocListContext(); }, true},
        {"pushAllocListContext", [] { matrix::pushAllocListContext(); }, true},
        {"popAllocListContext", [] { matrix::popAllocListContext(); }, false},
        {"clearAllocListContext", [] { matrix::clearAllocListContext(); }, false},
        {"isAllocListContextEmpty", [] { EXPECT_TRUE(isAllocListContextEmpty()); }, false},
    };
    for (const making_row& row : rows) {
        foundation::usm::EngineInstance engine;
        const EngineActivation active(&engine);
        row.call();
        EXPECT_EQ(matrix::internal::find_context() != nullptr, row.makes) << row.name;
    }
}

} // namespace
} // namespace test
