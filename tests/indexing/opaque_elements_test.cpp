// Elements of opaque arrays through the operations of subscripts, with a class that counts its elements and can be out of memory.
#include "indexing/assignment_support.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/opaque_assignment.hpp"
#include "support/fault_injection.hpp"

#include <nd/access.hpp>
#include <nd/deletion.hpp>
#include <nd/reference.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;
using elements = std::vector<std::uintptr_t>;

// Elements are numbers in place of pointers.
class OpaqueElements : public NdTest {
protected:
    OpaqueElements() {
        alive = 0;
        copies_before_failure = -1;
        matrix::internal::set_opaque_element_hooks(&hooks);
    }
    ~OpaqueElements() override {
        EXPECT_EQ(alive, 0) << "elements";
        matrix::internal::set_opaque_assignment(nullptr);
        matrix::internal::set_opaque_element_hooks(nullptr);
    }

    static inline int alive;
    static inline int copies_before_failure;

    static void* copy(const ndArray_tag*, const void* element) {
        if (copies_before_failure-- == 0) return nullptr;
        ++alive;
        return const_cast<void*>(element);
    }
    static void destroy(const ndArray_tag*, void*) { --alive; }
    static bool replace(ndArray_tag* holder, void** slot, const void* element) {
        void* const made = copy(holder, element);
        if (made == nullptr) return false;
        if (*slot != nullptr) destroy(holder, *slot);
        *slot = made;
        return true;
    }
    static constexpr matrix::internal::opaque_element_hooks hooks{copy, destroy};
    static constexpr matrix::internal::opaque_assignment_table replacing{nullptr, replace, nullptr};

    static array_ptr opaque(const sizes& dims, const elements& values) {
        array_ptr x = matrix::create(dims, ndOPAQUE_CLASS, ndREAL);
        for (std::size_t i = 0; i < values.size(); ++i) {
            static_cast<void**>(x->pdata)[i] = reinterpret_cast<void*>(values[i]);
            alive += values[i] != 0 ? 1 : 0;
        }
        return x;
    }
    static elements values_of(const ndArray_tag* x) {
        elements values;
        for (std::size_t i = 0; i < api::ndGetNumberOfElements(x); ++i)
            values.push_back(reinterpret_cast<std::uintptr_t>(static_cast<void* const*>(x->pdata)[i]));
        return values;
    }
};

struct operation_row {
    const char* name;
    std::vector<const char*> subs;
    array_ptr (*act)(ndArray_tag* x, const subscripts& at,
                     const ndArray_tag* y); ///< null when x is the result
    elements result;
};

array_ptr store(ndArray_tag* x, const subscripts& at, const ndArray_tag* y) {
    assign(x, at, y);
    return nullptr;
}

const operation_row operation_rows[] = {
    {"deep copy",
     {},
     [](ndArray_tag* x, const subscripts&, const ndArray_tag*) { return matrix::detail::do_deep_copy(x); },
     {1, 0, 3, 4}},
    {"reference",
     {"[4 2 1 1]"},
     [](ndArray_tag* x, const subscripts& at, const ndArray_tag*) {
         return array_ptr(api::ndSubscriptedReference(x, at.size(), at.data()));
     },
     {4, 0, 1, 1}},
    {"deletion",
     {"1"},
     [](ndArray_tag* x, const subscripts& at, const ndArray_tag*) {
         api::ndSubscriptedDelete(x, at.size(), at.data());
         return array_ptr();
     },
     {0, 3, 4}},
    {"growth", {"[1 6]"}, store, {8, 0, 3, 4, 0, 9}},
    {"growth with a value",
     {"[1 6]"},
     [](ndArray_tag* x, const subscripts& at, const ndArray_tag* y) {
         bool grew = false;
         return api::ndSubscriptedAssignmentWithFiller(
             grew, x, at.size(), at.data(), y,
             [=](const ndArray_tag*) { return matrix::detail::do_shared_copy(y); }, false);
     },
     {8, 0, 3, 4, 8, 9}},
    {"more than ten subscripts",
     {"1", "[1 6]", "1", "1", "1", "1", "1", "1", "1", "1", "1"},
     store,
     {8, 0, 3, 4, 0, 9}},
};

// A class without memory for a copy gives null: everywhere the same error, and everything is as it was.
TEST_F(OpaqueElements, ACopyThatCantBeHadIsOutOfMemory) {
    for (const bool own_way : {false, true}) {
        matrix::internal::set_opaque_assignment(own_way ? &replacing : nullptr);
        for (const operation_row& row : operation_rows) {
            SCOPED_TRACE(row.name);
            const array_ptr x = opaque({1, 4}, {1, 0, 3, 4});
            const array_ptr y = opaque({1, 2}, {8, 9});
            const subscripts at(row.subs);
            const int before = alive;
            array_ptr made;
            int copies = 0;
            for (;; ++copies) {
                copies_before_failure = copies;
                const std::string error = error_of([&] { made = row.act(x.get(), at, y.get()); });
                if (error.empty()) break;
                EXPECT_EQ(error, "TARVEL:nomem nomem()") << copies;
                EXPECT_EQ(values_of(x.get()), (elements{1, 0, 3, 4})) << copies;
                EXPECT_EQ(alive, before) << copies;
                ASSERT_LT(copies, 20);
            }
            EXPECT_GT(copies, 0) << "no copy was asked for";
            EXPECT_EQ(values_of(made ? made.get() : x.get()), row.result);
            copies_before_failure = -1;
        }
    }
}

// Without growth there is no room beside the array: what has been replaced stays so.
TEST_F(OpaqueElements, AnArrayThatKeepsItsSizeIsReplacedOneByOne) {
    const array_ptr x = opaque({1, 3}, {1, 2, 3});
    const array_ptr y = opaque({1, 2}, {8, 9});
    copies_before_failure = 1;
    EXPECT_EQ(error_of([&] { assign(x.get(), {"[3 1]"}, y.get()); }), "TARVEL:nomem nomem()");
    EXPECT_EQ(values_of(x.get()), (elements{1, 2, 8}));
    copies_before_failure = -1;
    assign(x.get(), {"[3 1]"}, y.get());
    EXPECT_EQ(values_of(x.get()), (elements{9, 2, 8}));
    assign(x.get(), {"[3 2 1]"}, x.get());
    EXPECT_EQ(values_of(x.get()), (elements{8, 2, 9}));
}

TEST_F(OpaqueElements, WhatHasNoPlaceAnyMoreEnds) {
    const array_ptr x = opaque({2, 3}, {1, 2, 3, 0, 5, 6});
    const sizes smaller{1, 2, 2};
    api::ndResizeArray(x.get(), smaller.size(), smaller.data());
    EXPECT_EQ(values_of(x.get()), (elements{1, 3, 0, 0}));
    EXPECT_EQ(alive, 2);
}

TEST_F(OpaqueElements, FailingAllocationsLeaveThem) {
    for (const operation_row& row : operation_rows) {
        for_each_failing_alloc(row.name, [&](fault_run& run) {
            const array_ptr x = opaque({1, 4}, {1, 0, 3, 4});
            const array_ptr y = opaque({1, 2}, {8, 9});
            const subscripts at(row.subs);
            run.operand(x.get());
            run.act([&] {
                const array_ptr made = row.act(x.get(), at, y.get());
                return true;
            });
        });
    }
}

} // namespace
} // namespace test
