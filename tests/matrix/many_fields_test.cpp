// Ten thousand fields, one by one in and out again in random order, against a plain list of names and numbers.
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

class ManyFields : public NdTest {
protected:
    static constexpr int total = 10'000;

    void add_all() {
        for (int i = 0; i < total; ++i) {
            names_.push_back("field_" + std::to_string(i * 7919 % total));
            ASSERT_EQ(api::ndAddField(array_.get(), names_.back().c_str()), i);
            api::ndSetFieldByNumber(array_.get(), 0, i, arr("double", {i * 7919 % total}).release());
            look_up_some();
        }
    }

    void remove_all() {
        while (!names_.empty()) {
            const auto index = random_() % names_.size();
            const array_ptr gone(api::ndGetFieldByNumber(array_.get(), 0, static_cast<int>(index)));
            api::ndRemoveField(array_.get(), static_cast<int>(index));
            const std::string name = names_[index];
            names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(index));
            ASSERT_EQ(api::ndGetFieldNumber(array_.get(), name.c_str()), -1);
            look_up_some();
        }
    }

    // The first, the last and some between stand where the list has them, with their values.
    void look_up_some() {
        ASSERT_EQ(api::ndGetNumberOfFields(array_.get()), static_cast<int>(names_.size()));
        if (names_.empty()) return;
        for (const std::size_t i : {std::size_t{0}, names_.size() - 1, random_() % names_.size()}) {
            ASSERT_EQ(api::ndGetFieldNumber(array_.get(), names_[i].c_str()), static_cast<int>(i));
            const ndArray_tag* const held = api::ndGetField(array_.get(), 0, names_[i].c_str());
            ASSERT_EQ("field_" + std::to_string(static_cast<int>(api::ndGetScalar(held))), names_[i]);
        }
        if (names_.size() % 997 == 0) {
            ASSERT_EQ(matrix::internal::validate(array_.get()), "");
        }
    }

    array_ptr array_ = struct_arr("1x1", {});
    std::vector<std::string> names_;
    std::mt19937_64 random_{20'260'214};
};

TEST_F(ManyFields, ComeAndGoWithTheirValues) {
    using clock = std::chrono::steady_clock;
    const auto micros = [](clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() / total;
    };
    const auto start = clock::now();
    add_all();
    const auto added = clock::now();
    remove_all();
    std::printf("%d fields: %.1f us to add one, %.1f us to remove one, lookups included\n", total,
                micros(added - start), micros(clock::now() - added));
    EXPECT_THAT(array_, EqualsArray(struct_arr("1x1", {})));
}

} // namespace
} // namespace test
