// Every allocation of every creator fails once and from there on: what was made goes back, nothing else has changed, and the next
// call works.
#include "matrix/creator_table.hpp"
#include "matrix/process_state.hpp"
#include "matrix/size_oracle.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"

#include <nd/access.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

enum class bins { off, empty, filled };

const char* name_of(bins state) {
    return state == bins::off ? "" : state == bins::empty ? ", cache empty" : ", cache filled";
}

// The cache in the state given, for one run.
class bins_scope {
public:
    explicit bins_scope(bins state) {
        matrix::cache::setEnabled(state != bins::off);
        if (state == bins::filled) {
            for (const std::size_t n : {32, 64, 96, 128, 192, 224, 256, 960}) {
                matrix::create(dims_list{n, 1}, ndINT8_CLASS, ndREAL).reset();
            }
        }
    }

private:
    cache_on cache_;
};

void attack(const creator_row& creator, const dims_list& dims, int class_id, int complexity, bins state) {
    const std::string name = std::string(creator.name) + " of " + dims_words(dims) + ", class " +
                             std::to_string(class_id) + (complexity != 0 ? " complex" : "") + name_of(state);
    fault_options options;
    options.framed = creator.framed;
    options.second_within = 2;
    const fault_report report = for_each_failing_alloc(
        name,
        [&](fault_run& run) {
            const bins_scope scope(state);
            run.act([&] { return creator.make({dims, class_id, complexity}); });
        },
        options);
    EXPECT_TRUE(report.passed) << name;
    EXPECT_EQ(report.recovered, 0) << name << ": a block is refused and the array is made all the same";
}

using CreatorFaults = NdTest;

TEST_F(CreatorFaults, EveryCreator) {
    for (const creator_row& creator : all_creators()) {
        for (const bins state : {bins::off, bins::empty, bins::filled}) {
            if (state != bins::off && !creator.may_cache) continue;
            attack(creator, {2, 3}, ndDOUBLE_CLASS, 1, state);
            if (creator.takes_any_rank) attack(creator, {2, 1, 2, 3}, ndSINGLE_CLASS, 0, state);
        }
    }
}

TEST_F(CreatorFaults, EveryClass) {
    for (const creator_row& creator : all_creators()) {
        if (creator.class_id != creator_row::given_class || !creator.takes_any_rank) continue;
        for (int class_id = 0; class_id <= ndOBJECT_CLASS; ++class_id) {
            attack(creator, {2, 1, 2}, class_id, 0, bins::off);
        }
    }
}

TEST_F(CreatorFaults, HeadersWithoutData) {
    for (const creator_row& creator : all_creators()) attack(creator, {0, 3}, ndDOUBLE_CLASS, 0, bins::off);
}

TEST_F(CreatorFaults, Scalars) {
    struct {
        const char* name;
        ndArray_tag* (*make)();
    } constexpr rows[] = {
        {"ndCreateDoubleScalar", [] { return api::ndCreateDoubleScalar(1); }},
        {"ndCreateSingleScalar", [] { return api::ndCreateSingleScalar(1); }},
        {"ndCreateLogicalScalar", [] { return api::ndCreateLogicalScalar(true); }},
        {"ndCreateNumericScalar", [] { return api::ndCreateNumericScalar(ndUINT16_CLASS, ndCOMPLEX); }},
        {"ndCreateEmptyUnknownArrayNotOnArrayList",
         [] { return api::ndCreateEmptyUnknownArrayNotOnArrayList(); }},
    };
    fault_options options;
    options.framed = true;
    for (const auto& row : rows) {
        for (const bins state : {bins::off, bins::empty, bins::filled}) {
            const fault_report report = for_each_failing_alloc(
                row.name + std::string(name_of(state)),
                [&](fault_run& run) {
                    const bins_scope scope(state);
                    run.act([&] { return row.make(); });
                },
                options);
            EXPECT_TRUE(report.passed);
        }
    }
}

// The candidate whose data are taken, and those that are passed over, stay as they are when the taking fails.
TEST_F(CreatorFaults, TakingOverData) {
    struct {
        const char* name;
        dims_list dims;
        bool fits, record_stands;
    } const rows[] = {{"reuse, nothing fits", {5, 7}, false, false},
                      {"reuse, a candidate fits", {2, 3}, true, false},
                      {"reuse, a candidate with a record fits", {2, 3}, true, true},
                      {"reuse in three dimensions", {1, 2, 3}, true, false}};
    fault_options options;
    options.framed = true;
    options.second_within = 3;
    for (const auto& row : rows) {
        const fault_report report = for_each_failing_alloc(
            row.name,
            [&](fault_run& run) {
                const array_ptr other = arr("double 1x1", {1});
                const array_ptr fitting = numbered("double 3x2");
                if (row.record_stands) fitting->setCustomDeleter(nullptr);
                api::ndSetReusable(other.get(), true);
                api::ndSetReusable(fitting.get(), true);
                run.operand(other.get());
                run.operand(fitting.get());
                run.act([&] {
                    ndArray_tag* candidates[] = {other.get(), fitting.get()};
                    return api::ndCreateNumericArrayWithReuse(row.dims.size(), row.dims.data(),
                                                              ndDOUBLE_CLASS, ndREAL, 2, candidates);
                });
            },
            options);
        EXPECT_TRUE(report.passed);
    }
}

} // namespace
} // namespace test
