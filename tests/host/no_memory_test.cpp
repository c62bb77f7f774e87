// Calls of addon functions while memory is short: each allocation of the host and of the library's own records fails in turn.
// The call then succeeds or is a failure; its lists are empty, and the next call works. The same of lines of the notation: one that fails
// leaves all variables as they were.
#include "cases/same_value.hpp"
#include "started_library.hpp"

#include <addon.hpp>
#include <engine_session.hpp>
#include <eval/interpreter.hpp>
#include <eval/parser.hpp>
#include <failure.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

namespace {

/// Allocations of this thread that still succeed; below 0 all do.
thread_local long remaining = -1;

void* allocate(std::size_t size) noexcept {
    if (remaining == 0) return nullptr;
    if (remaining > 0) --remaining;
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* const block = allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace {

using nd_host::addon;
using nd_host::engine_session;

/// Calls function with its (allowed + 1)-th allocation and all later ones failing. True when there was no such allocation.
bool passes_with(long allowed, engine_session& session, const addon& function) {
    const nd_host::forgotten_observer observer = [](const nd_host::forgotten&) {}; // lists what it is told
    const std::vector<matrix::array_ptr> inputs;
    bool used_up = false;
    try {
        remaining = allowed;
        const auto results = session.call(function, 1, inputs, observer);
        used_up = remaining == 0;
        remaining = -1;
        EXPECT_EQ(results.size(), 1U);
    } catch (const nd_host::failure& error) {
        remaining = -1;
        EXPECT_EQ(error.status(), nd_host::exit_status::error_raised) << error.what();
        return false;
    } catch (const std::bad_alloc&) { // there was no memory for the failure itself
        remaining = -1;
        return false;
    }
    return !used_up;
}

TEST(ShortOfMemory, CallsFailAndLeaveNothing) {
    test::start_library();
    engine_session session;
    for (const char* name :
         {"forget_arrays", "forget_blocks", "end_most", "call_others", "descend_from_three"}) {
        SCOPED_TRACE(name);
        const addon function(std::string(ND_TEST_ADDONS "/test_forgets.so"), name);
        long allowed = 0;
        while (!passes_with(allowed, session, function) && allowed < 10000) {
            EXPECT_TRUE(matrix::isArrayListContextEmpty());
            EXPECT_TRUE(matrix::isAllocListContextEmpty());
            ++allowed;
        }
        EXPECT_GT(allowed, 3);
        EXPECT_LT(allowed, 10000);
    }
}

/// Runs line, the (allowed + 1)-th allocation and all later ones failing, where setup has been run. True when there was no such
/// allocation.
bool line_passes_with(long allowed, const char* setup, const char* line) {
    namespace eval = nd_host::eval;
    engine_session session;
    eval::interpreter interpreter(session);
    for (const auto& statement : eval::parse(setup)) interpreter.run(statement);
    eval::workspace before;
    for (const auto& [name, value] : interpreter.variables()) {
        before[name] = matrix::detail::do_deep_copy(value.get());
    }
    bool used_up = false;
    try {
        remaining = allowed;
        for (const auto& statement : eval::parse(line)) interpreter.run(statement);
        used_up = remaining == 0;
        remaining = -1;
        return !used_up;
    } catch (const std::exception&) { // a failure, or there was no memory for it
        remaining = -1;
    }
    EXPECT_EQ(interpreter.variables().size(), before.size());
    for (const auto& [name, value] : interpreter.variables()) {
        EXPECT_TRUE(before.contains(name) && test::same_value(value.get(), before[name].get())) << name;
    }
    return false;
}

TEST(ShortOfMemory, TheLastWordNeedsNone) {
    nd_host::exit_status status = nd_host::exit_status::success;
    testing::internal::CaptureStderr();
    try {
        throw std::bad_alloc();
    } catch (const std::exception&) {
        remaining = 0;
        status = nd_host::tell_failure();
        remaining = -1;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "nd: out of memory\n");
    EXPECT_EQ(status, nd_host::exit_status::internal);
}

TEST(ShortOfMemory, LinesFailAndLeaveVariables) {
    test::start_library();
    constexpr const char* setup = "x = {1, [4 5 6], 'abc'}; s.a = {[1 2]}; v = 1:5";
    for (const char* line :
         {"x{2}(9) = 5", "s(3).b.c{2}(4) = 'q'", "x(1) = []", "v([2 4]) = [v(1) int8(3)]", "y = {x{:}, s.a}",
          "new.field{3} = [x{2}; v(2:end-1)]'", "[v(2), x{1}]", "s(2) = struct('a', 'text')"}) {
        SCOPED_TRACE(line);
        long allowed = 0;
        while (!line_passes_with(allowed, setup, line) && allowed < 10000) ++allowed;
        EXPECT_GT(allowed, 3);
        EXPECT_LT(allowed, 10000);
    }
}

} // namespace
