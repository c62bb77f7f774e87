// Elements that end during assignment, deletion and resizing tell the hook of objects, which may look at the array or change it.
#include "indexing/assignment_support.hpp"
#include "matrix/validate.hpp"

#include <nd/access.hpp>
#include <nd/class_access.hpp>
#include <nd/deletion.hpp>

#include <string>
#include <vector>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

array_ptr number(double x) { return arr("double", {x}); }
array_ptr object() {
    array_ptr made = struct_arr("1x1", {"a"}, number(1));
    api::ndSetClassName(made.get(), "thing");
    return made;
}

class ObjectEnds : public NdTest {
protected:
    ~ObjectEnds() override { watch(nullptr, nullptr); }

    static inline ndArray_tag* watched;
    static inline std::vector<std::string> seen;

    static void watch(ndArray_tag* array, void (*on_end)(ndArray_tag*)) {
        watched = array;
        api::ndSetObjectCreateDestroyFn(nullptr, on_end);
    }
    static void look(ndArray_tag*) {
        seen.push_back(matrix::internal::validate(watched) +
                       std::to_string(api::ndGetNumberOfElements(watched)));
    }
    // Once, at the first end of an object: the block of the array changes.
    static void lengthen(ndArray_tag*) {
        ndArray_tag* const array = watched;
        watch(nullptr, nullptr);
        const array_ptr value = arr("cell", number(99));
        const array_ptr at = number(600);
        const ndArray_tag* const subs[] = {at.get()};
        api::ndSubscriptedAssignment(array, 1, subs, value.get());
    }
};

struct end_row {
    const char* name;
    void (*act)(ndArray_tag* x); ///< on a cell of 5, of which 2 to 4 are objects
    std::size_t elements;        ///< afterwards
    std::size_t objects;         ///< that have ended
};

const end_row end_rows[] = {
    {"assignment", [](ndArray_tag* x) { assign(x, {"[2 4]"}, arr("cell", number(7)).get()); }, 5, 2},
    {"assignment of a cell",
     [](ndArray_tag* x) { assign(x, {"[4 2 3]"}, arr("cell", arr("cell", number(7))).get()); }, 5, 3},
    {"growth", [](ndArray_tag* x) { assign(x, {"[2 3 9]"}, arr("cell", number(7)).get()); }, 9, 2},
    {"deletion",
     [](ndArray_tag* x) {
         const subscripts at{"[2 4]"};
         api::ndSubscriptedDelete(x, 1, at.data());
     },
     3, 2},
    {"deletion of everything",
     [](ndArray_tag* x) {
         const subscripts at{":"};
         api::ndSubscriptedDelete(x, 1, at.data());
     },
     0, 3},
    {"resizing",
     [](ndArray_tag* x) {
         const sizes dims{1, 2};
         api::ndResizeArray(x, 2, dims.data());
     },
     2, 2},
    {"resizing to a matrix",
     [](ndArray_tag* x) {
         const sizes dims{2, 2};
         api::ndResizeArray(x, 2, dims.data());
     },
     4, 2},
};

array_ptr with_objects() { return arr("cell 1x5", number(1), object(), object(), object(), number(5)); }

TEST_F(ObjectEnds, AreHeardOfWhenTheArrayIsWhole) {
    for (const end_row& row : end_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr x = with_objects();
        seen.clear();
        watch(x.get(), look);
        row.act(x.get());
        watch(nullptr, nullptr);
        EXPECT_EQ(seen, std::vector<std::string>(row.objects, std::to_string(row.elements)));
    }
    std::vector<std::string>().swap(seen);
}

TEST_F(ObjectEnds, MayChangeTheArray) {
    for (const end_row& row : end_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr expected = with_objects();
        row.act(expected.get());
        const bool matrix = api::ndGetM(expected.get()) > 1;
        if (matrix) continue; // which a linear index can't lengthen
        assign(expected.get(), {"600"}, arr("cell", number(99)).get());
        const array_ptr x = with_objects();
        watch(x.get(), lengthen);
        row.act(x.get());
        EXPECT_EQ(watched, nullptr) << "no object has ended";
        EXPECT_THAT(x, EqualsArray(expected.get()));
    }
}

} // namespace
} // namespace test
