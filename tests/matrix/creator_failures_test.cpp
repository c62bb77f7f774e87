// How each failure leaves a creator: as the exception that it is in module mode 1, as null in every other mode.
#include "matrix/creator_table.hpp"
#include "matrix/frame.hpp"
#include "matrix/process_state.hpp"
#include "support/alloc_sources.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/usm/usm.hpp>
#include <nd/access.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>

#include <climits>
#include <new>
#include <stdexcept>
#include <typeinfo>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
namespace except = foundation::core::except;
using dims_list = std::vector<std::size_t>;

// The class of what the call raises, exactly; "null" and "made" when it returns.
template <class Call>
std::string way_out(Call&& call) {
    try {
        const matrix::array_ptr made(call());
        return made == nullptr ? "null" : "made";
    } catch (const std::exception& error) {
        return typeid(error).name();
    }
}

template <class Error>
std::string name_of() {
    return typeid(Error).name();
}

using pmaxsize = except::Exception<TARVEL::legacy_two_part::pmaxsize, std::exception, void>;
using matrix::internal::SizeLimitExceeded;

constexpr int modes[] = {1, 0, 2, -1, INT_MAX, INT_MIN};

template <class Call>
void expect_way_out(const creator_row& creator, const std::string& error, Call&& call) {
    for (const int mode : modes) {
        const module_mode_scope scope(mode);
        EXPECT_EQ(way_out(call), mode == 1 || !creator.framed ? error : "null")
            << creator.name << ", mode " << mode;
    }
}

using CreatorFailures = NdTest;

TEST_F(CreatorFailures, AboveTheCeiling) {
    const dims_list dims{std::size_t{1} << 24, std::size_t{1} << 24};
    for (const creator_row& creator : all_creators()) {
        expect_way_out(creator, name_of<pmaxsize>(), [&] { return creator.make({dims, ndINT8_CLASS, 0}); });
    }
}

TEST_F(CreatorFailures, AboveTheUsersLimit) {
    const size_limit_scope limit(1000, 100);
    const dims_list dims{1001, 8};
    for (const creator_row& creator : all_creators()) {
        expect_way_out(creator, name_of<SizeLimitExceeded>(), [&] {
            return creator.make({dims, ndINT8_CLASS, 0});
        });
    }
}

// Both frames around a body that throws.
template <class Error>
void expect_to_pass_the_frames(const Error& error) {
    const auto creator = [&] {
        return matrix::internal::framed_creator([&]() -> matrix::array_ptr { throw Error(error); });
    };
    const auto getter = [&] { return matrix::internal::framed([&]() -> int { throw Error(error); }); };
    for (const int mode : modes) {
        SCOPED_TRACE(name_of<Error>() + ", mode " + std::to_string(mode));
        const module_mode_scope scope(mode);
        if (mode == 1) {
            EXPECT_THROW(creator(), Error);
            EXPECT_THROW(getter(), Error);
        } else {
            EXPECT_EQ(creator(), nullptr);
            EXPECT_EQ(getter(), 0);
        }
    }
}

// The frame asks nothing of what passes it: errors of the library, of its storage, of an engine, and what is no exception class.
TEST_F(CreatorFailures, OfEveryKindLeaveAlike) {
    expect_to_pass_the_frames(pmaxsize(TARVEL::legacy_two_part::pmaxsize()));
    expect_to_pass_the_frames(foundation::usm::TypeError("no engine is active"));
    expect_to_pass_the_frames(foundation::usm::DoesNotExistTypeError("nothing of this type"));
    expect_to_pass_the_frames(Korvane::System::SimpleException("some:id", "text"));
    expect_to_pass_the_frames(std::bad_alloc());
    expect_to_pass_the_frames(std::runtime_error("of an engine"));
    expect_to_pass_the_frames(42);
}

// Which exception tells what could not be had: a header (or its dimensions) or a data block.
TEST_F(CreatorFailures, OutOfMemory) {
    const dims_list flat{2, 3}, solid{2, 3, 4};
    struct {
        long allocation;
        bool needs_rank;
        std::string error;
    } const rows[] = {{1, false, name_of<std::bad_alloc>()},
                      {2, false, name_of<except::bad_alloc>()},
                      {3, true, name_of<std::bad_alloc>()}};
    for (const creator_row& creator : all_creators()) {
        for (const auto& row : rows) {
            if (row.needs_rank && !creator.takes_any_rank) continue;
            SCOPED_TRACE("allocation " + std::to_string(row.allocation));
            expect_way_out(creator, row.error, [&] {
                const creator_args args{creator.takes_any_rank ? solid : flat, ndINT8_CLASS, 0};
                const injection armed({row.allocation});
                return creator.make(args);
            });
        }
    }
}

TEST_F(CreatorFailures, OfScalarsAndBareHeaders) {
    struct {
        const char* name;
        ndArray_tag* (*make)();
    } constexpr rows[] = {
        {"ndCreateDoubleScalar", [] { return api::ndCreateDoubleScalar(1); }},
        {"ndCreateSingleScalar", [] { return api::ndCreateSingleScalar(1); }},
        {"ndCreateLogicalScalar", [] { return api::ndCreateLogicalScalar(true); }},
        {"ndCreateNumericScalar", [] { return api::ndCreateNumericScalar(ndINT8_CLASS, ndREAL); }},
        {"ndCreateEmptyUnknownArrayNotOnArrayList",
         [] { return api::ndCreateEmptyUnknownArrayNotOnArrayList(); }},
    };
    for (const auto& row : rows) {
        for (const int mode : modes) {
            const module_mode_scope scope(mode);
            SCOPED_TRACE(std::string(row.name) + ", mode " + std::to_string(mode));
            const auto failing = [&](long allocation) {
                return way_out([&] {
                    const injection armed({allocation});
                    return row.make();
                });
            };
            EXPECT_EQ(failing(1), mode == 1 ? name_of<std::bad_alloc>() : "null");
            const bool has_data = std::string_view(row.name).find("Unknown") == std::string_view::npos;
            EXPECT_EQ(failing(2), !has_data ? "made" : mode == 1 ? name_of<except::bad_alloc>() : "null");
        }
    }
}

TEST_F(CreatorFailures, OfASharedCopyOffTheList) {
    const auto source = matrix::create(dims_list{2, 2}, ndDOUBLE_CLASS, ndREAL);
    for (const int mode : modes) {
        const module_mode_scope scope(mode);
        EXPECT_EQ(way_out([&] {
                      const injection armed({1});
                      return api::ndCreateSharedCopyNotOnArrayList(source.get());
                  }),
                  mode == 1 ? name_of<std::bad_alloc>() : "null");
    }
}

// Memory that runs out while the refusal itself is made: the caller hears of that instead.
TEST_F(CreatorFailures, OutOfMemoryWhileRefusing) {
    const size_limit_scope limit(1000, 100);
    const dims_list dims{1001, 8};
    for (const creator_row& creator : all_creators()) {
        expect_way_out(creator, name_of<std::bad_alloc>(), [&] {
            const injection armed({1, fault_plan::follow_up::for_ever, 0});
            return creator.make({dims, ndINT8_CLASS, 0});
        });
    }
}

// Lists are off in every mode here: nothing ever becomes a temporary that nobody would end.
TEST_F(CreatorFailures, DontDecideTheScope) {
    for (const int mode : modes) {
        const module_mode_scope scope(mode);
        const matrix::array_ptr array(api::ndCreateDoubleMatrix(1, 1, ndREAL));
        EXPECT_EQ(api::ndGetArrayScope(array.get()), ndLOCAL_SCOPE);
    }
}

} // namespace
} // namespace test
