// Every allocation fails once, and from there on, in all that lists do: contexts, creators, managed blocks, claims, reports.
#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"

#include <cstring>
#include <optional>
#include <ostream>
#include <string>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;

/// What stands in the engine before the act.
enum class state {
    no_context,    ///< the engine has no record yet
    fresh,         ///< an empty base context
    full_list,     ///< lists without room for one more entry
    full_contexts, ///< contexts without room for one more
};
constexpr const char* state_names[] = {"no context", "fresh", "full list", "full contexts"};

void prepare(state at) {
    if (at == state::no_context) return;
    matrix::internal::find_or_make_context();
    if (at == state::full_list) {
        temporaries(16);
        for (int i = 0; i < 3; ++i) api::ndMalloc(10);
    } else if (at == state::full_contexts) {
        for (int i = 1; i < 32; ++i) {
            matrix::pushArrayListContext();
            matrix::pushAllocListContext();
        }
    }
}

/// All that lists hold and all that is alive: what an act leaves mustn't depend on what failed on the way.
struct aftermath {
    std::size_t arrays = 0, array_depth = 1, alloc_depth = 1;
    bool no_blocks = true;
    long header_slots = 0, aligned_heap = 0;
    friend bool operator==(const aftermath&, const aftermath&) = default;
    friend std::ostream& operator<<(std::ostream& out, const aftermath& a) {
        return out << a.arrays << " arrays, depths " << a.array_depth << " and " << a.alloc_depth
                   << (a.no_blocks ? ", no" : ", some") << " blocks; headers " << a.header_slots << ", data "
                   << a.aligned_heap;
    }
};

aftermath aftermath_since(const live_blocks& before) {
    const live_blocks more = count_live_blocks() - before;
    const auto* const context = matrix::internal::find_context();
    if (context == nullptr) return {0, 1, 1, true, more.header_slots, more.aligned_heap};
    return {
        context->array_list.all_entries().size(), context->array_list.depth(), context->alloc_list.depth(),
        context->alloc_list.is_context_empty(),   more.header_slots,           more.aligned_heap};
}

struct how {
    bool framed = false;      ///< an exception in mode 1, null otherwise
    bool may_recover = false; ///< succeeds in spite of failures
};

// Runs the scenario in an engine of its own, whose end gives back what is listed.
template <class Scenario>
void in_engine(const std::string& name, how options, Scenario scenario) {
    fault_options faults;
    faults.framed = options.framed;
    faults.second_within = 2;
    std::optional<aftermath> expected; // of the run without failures, which comes first
    const fault_report report = for_each_failing_alloc(
        name,
        [&](fault_run& run) {
            const lists_on lists;
            EngineInstance engine;
            const EngineActivation active(&engine);
            const live_blocks before = count_live_blocks();
            scenario(run);
            const aftermath after = aftermath_since(before);
            if (!expected) expected = after;
            EXPECT_EQ(after, *expected) << name;
        },
        faults);
    EXPECT_TRUE(report.passed) << name;
    if (!options.may_recover) {
        EXPECT_EQ(report.recovered, 0) << name;
    }
}

int done; // its address stands for success

struct addition_row {
    const char* name;
    bool framed;
    void* (*act)();
};

const addition_row additions[] = {
    {"ndCreateDoubleScalar", true, []() -> void* { return temporary(); }},
    {"ndCreateDoubleMatrix", true, []() -> void* { return api::ndCreateDoubleMatrix(3, 4, ndREAL); }},
    {"ndCreateNumericArray", true,
     []() -> void* {
         const std::size_t dims[] = {2, 3, 4};
         return api::ndCreateNumericArray(3, dims, ndINT8_CLASS, ndCOMPLEX);
     }},
    {"ndMalloc", true, [] { return api::ndMalloc(10); }},
    {"ndCalloc", true, [] { return api::ndCalloc(2, 10); }},
    {"ndRealloc of null", true, [] { return api::ndRealloc(nullptr, 10); }},
    {"ndEnterNewArrayListContext", false,
     []() -> void* { return matrix::ndEnterNewArrayListContext() >= 2 ? &done : nullptr; }},
    {"ndEnterNewAllocListContext", false,
     []() -> void* { return matrix::ndEnterNewAllocListContext() >= 2 ? &done : nullptr; }},
};

using ListFaults = NdTest;

TEST_F(ListFaults, Additions) {
    for (const addition_row& row : additions) {
        for (const state at : {state::no_context, state::fresh, state::full_list, state::full_contexts}) {
            in_engine(std::string(row.name) + ", " + state_names[static_cast<int>(at)], {row.framed},
                      [&](fault_run& run) {
                          prepare(at);
                          run.act([&] { return row.act() != nullptr; });
                      });
        }
    }
}

TEST_F(ListFaults, AdditionsWithTheirStacksOnRecord) {
    for (const addition_row& row : additions) {
        for (const state at : {state::fresh, state::full_list}) {
            in_engine(std::string(row.name) + " with stacks, " + state_names[static_cast<int>(at)],
                      {row.framed}, [&](fault_run& run) {
                          const log_capture log("matrix::arraylist_stacks", foundation::log::severity_debug);
                          prepare(at);
                          run.act([&] { return row.act() != nullptr; });
                      });
        }
    }
}

TEST_F(ListFaults, AdditionsWithTheCache) {
    for (const state at : {state::no_context, state::fresh, state::full_list}) {
        for (const bool hit : {false, true}) {
            in_engine(std::string("ndCreateDoubleScalar in a pair, ") + (hit ? "hit, " : "miss, ") +
                          state_names[static_cast<int>(at)],
                      {true, true}, [&](fault_run& run) {
                          const cache_on cache;
                          prepare(at);
                          if (hit) matrix::create(std::vector<std::size_t>{1, 1}, ndDOUBLE_CLASS, ndREAL);
                          run.act([&] { return temporary(7) != nullptr; });
                          EXPECT_EQ(api::ndGetScalar(listed_everywhere().back()), 7);
                          matrix::clearArrayListContext(true);
                      });
        }
    }
}

TEST_F(ListFaults, BlocksOffTheList) {
    const addition_row rows[] = {
        {"ndMallocEx", false, [] { return api::ndMallocEx(10); }},
        {"ndMallocExCheck", true, [] { return api::ndMallocExCheck(10); }},
        {"ndCallocEx", false, [] { return api::ndCallocEx(2, 10); }},
        {"ndCallocExCheck", true, [] { return api::ndCallocExCheck(2, 10); }},
        {"ndReallocEx of null", false, [] { return api::ndReallocEx(nullptr, 10); }},
        {"ndReallocExCheck of null", true, [] { return api::ndReallocExCheck(nullptr, 10); }},
    };
    for (const addition_row& row : rows) {
        in_engine(row.name, {row.framed}, [&](fault_run& run) {
            void* block = nullptr;
            run.act([&] { return (block = row.act()) != nullptr; });
            api::ndFreeEx(block);
        });
    }
}

// The block keeps its bytes, and can be freed whether or not it has left the list on the way.
TEST_F(ListFaults, ResizedBlocks) {
    for (const state at : {state::no_context, state::fresh, state::full_list}) {
        for (const std::size_t size : {std::size_t{5}, std::size_t{300'000}}) {
            in_engine("ndRealloc to " + std::to_string(size) + ", " + state_names[static_cast<int>(at)],
                      {true}, [&](fault_run& run) {
                          prepare(at);
                          void* block = at == state::no_context ? api::ndMallocEx(10) : api::ndMalloc(10);
                          std::memset(block, 7, 10);
                          run.act([&] {
                              void* const resized = api::ndRealloc(block, size);
                              if (resized != nullptr) block = resized;
                              return resized != nullptr;
                          });
                          EXPECT_EQ(static_cast<char*>(block)[4], 7);
                          api::ndFree(block);
                      });
        }
    }
}

TEST_F(ListFaults, ScopeBecomesTemporary) {
    for (const state at : {state::no_context, state::fresh, state::full_list}) {
        in_engine(std::string("ndSetArrayScope to temporary, ") + state_names[static_cast<int>(at)], {},
                  [&](fault_run& run) {
                      prepare(at);
                      const matrix::array_ptr array = arr("double 1x3", {1, 2, 3});
                      run.operand(array.get());
                      run.act([&] { api::ndSetArrayScope(array.get(), ndTEMPORARY_SCOPE); });
                      EXPECT_EQ(listed_everywhere().back(), array.get());
                  });
    }
}

TEST_F(ListFaults, Guard) {
    for (const state at : {state::no_context, state::fresh, state::full_list, state::full_contexts}) {
        in_engine(std::string("the guard, ") + state_names[static_cast<int>(at)], {}, [&](fault_run& run) {
            prepare(at);
            matrix::ErrorMode inside{};
            run.act([&] {
                const matrix::arraylist_alloclist_errormode_guard guard(matrix::ErrorMode{5});
                inside = matrix::getErrorMode();
            });
            EXPECT_EQ(inside, matrix::ErrorMode{5});
            EXPECT_EQ(matrix::getErrorMode(), matrix::ErrorMode{1});
        });
    }
    in_engine("keep() of the guard", {}, [](fault_run& run) {
        const std::vector<ndArray_tag*> outer = temporaries(2);
        std::vector<ndArray_tag*> made;
        {
            matrix::arraylist_alloclist_errormode_guard guard(matrix::ErrorMode{5});
            made = temporaries(5);
            for (const std::size_t i : {0U, 1U, 2U}) guard.keep(made[i]);
            run.act([&] { guard.keep(made[3]); });
        }
        EXPECT_EQ(listed_here(), (array_pointers{outer[0], outer[1], made[0], made[1], made[2], made[3]}));
    });
}

// Looking and ending: nothing that a lack of memory could stop, but for the text of a report.
TEST_F(ListFaults, ContextsEndWithoutMemory) {
    for (const char* channel : {"", "matrix::arraylist", "matrix::arraylist_stacks"}) {
        in_engine(std::string("a context with orphans, channel \"") + channel + "\"", {false, true},
                  [&](fault_run& run) {
                      const log_capture log(channel, foundation::log::severity_debug);
                      temporaries(2);
                      matrix::pushArrayListContext();
                      matrix::pushAllocListContext();
                      const std::vector<ndArray_tag*> made = temporaries(20);
                      for (int i = 0; i < 10; ++i) api::ndMalloc(10);
                      ndArray_tag* keep[] = {made[3], made[17]};
                      run.act([&] {
                          matrix::popArrayListContext({keep, keep + 2}, false);
                          matrix::popAllocListContext();
                      });
                      EXPECT_EQ(listed_here().size(), 4U);
                  });
    }
    in_engine("ends without a context", {false, true}, [](fault_run& run) {
        void* const block = api::ndMallocEx(10);
        run.act([&] { api::ndFree(block); });
    });
    in_engine("listCurrentArrays", {}, [](fault_run& run) {
        temporaries(3);
        run.act([] { return matrix::listCurrentArrays().size() == 3; });
    });
}

} // namespace
} // namespace test
