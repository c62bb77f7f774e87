// Structs on several threads: headers that share their field names, each used by one thread. Whoever changes its fields gets a set
// of its own; the others go on reading the old one.
#include "matrix/field_names.hpp"

#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using FieldsThreads = NdTest;

// As many fields as make a table, or a few.
array_ptr struct_with(int fields) {
    array_ptr array = struct_arr("1x1", {});
    for (int i = 0; i < fields; ++i) api::ndAddField(array.get(), ("f" + std::to_string(i)).c_str());
    return array;
}

std::string own_name(int thread, int round) {
    return "own_" + std::to_string(thread) + "_" + std::to_string(round % 4);
}

// A field comes and goes while others look theirs up.
bool add_and_remove(ndArray_tag* array, int fields, int thread, int round) {
    const std::string name = own_name(thread, round);
    bool right = api::ndAddField(array, name.c_str()) == fields;
    right = api::ndGetFieldNumber(array, name.c_str()) == fields && right;
    right = api::ndGetFieldNumber(array, "f0") == 0 && right;
    api::ndRemoveField(array, fields);
    return api::ndGetNumberOfFields(array) == fields && right;
}

bool look_up(const ndArray_tag* array, int fields) {
    bool right = api::ndGetNumberOfFields(array) == fields;
    for (const int i : {0, fields / 2, fields - 1})
        right = api::ndGetFieldNumber(array, ("f" + std::to_string(i)).c_str()) == i && right;
    return api::ndGetFieldNumber(array, "absent") == -1 && right;
}

TEST_F(FieldsThreads, NamesAreCopiedOnWriteBesideLookups) {
    constexpr int rounds = 300;
    constexpr int threads = 4;
    for (const int fields : {1, 3, 63, 64, 300}) {
        const array_ptr first = struct_with(fields);
        std::vector<array_ptr> headers;
        for (int t = 0; t < threads; ++t) headers.push_back(matrix::detail::do_deep_copy(first.get()));
        ASSERT_EQ(matrix::internal::name_set_owners(first.get()), threads + 1);
        std::atomic<int> wrong{0};
        std::vector<std::thread> crew;
        for (int t = 0; t < threads; ++t) {
            crew.emplace_back([&, t] {
                for (int round = 0; round < rounds; ++round) {
                    ndArray_tag* const mine = headers[static_cast<std::size_t>(t)].get();
                    const bool right =
                        t % 2 == 0 ? add_and_remove(mine, fields, t, round) : look_up(mine, fields);
                    wrong += right ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : crew) thread.join();
        EXPECT_EQ(wrong, 0);
        for (const array_ptr& array : headers) EXPECT_EQ(matrix::internal::validate(array.get()), "");
    }
}

// The last holder of a set changes it in place: what others read of it before they went has been read.
TEST_F(FieldsThreads, TheLastHolderChangesTheSetInPlace) {
    constexpr int rounds = 300;
    const array_ptr first = struct_with(300); // with room to spare
    for (int round = 0; round < rounds; ++round) {
        array_ptr mine = matrix::detail::do_deep_copy(first.get());
        array_ptr other = matrix::detail::do_deep_copy(first.get());
        if (round % 2 == 0) mine = struct_with(257 + round % 100);
        if (round % 2 == 0) other = matrix::detail::do_deep_copy(mine.get());
        const int fields = api::ndGetNumberOfFields(mine.get());
        std::atomic<bool> looked{true};
        std::thread reader([&, held = std::move(other)]() mutable {
            looked = look_up(held.get(), fields);
            held.reset();
        });
        const bool right = add_and_remove(mine.get(), fields, 0, round);
        reader.join();
        EXPECT_TRUE(looked && right);
        EXPECT_TRUE(add_and_remove(mine.get(), fields, 0, round));
    }
}

} // namespace
} // namespace test
