// Assignments by class: complexity, left sides that give way, elements of containers, function handles, opaque arrays.
#include "indexing/assignment_support.hpp"
#include "indexing/structure_assignment.hpp"
#include "matrix/containers.hpp"
#include "matrix/function_records.hpp"
#include "matrix/opaque_assignment.hpp"
#include "matrix/test_hooks.hpp"
#include "support/death.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/module.hpp>
#include <nd/share.hpp>

#include <functional>

namespace test {
namespace {

using namespace std::complex_literals;
using matrix::array_ptr;
using matrix::internal::slots_of;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using AssignmentClasses = NdTest;

TEST_F(AssignmentClasses, AComplexValueMakesTheLeftSideComplexAndZeroPartsMakeItReal) {
    for (const char* const name : {"double", "single", "int8", "uint16", "int32", "uint64"}) {
        SCOPED_TRACE(name);
        const std::string of(name);
        const array_ptr x = arr(of + " 1x3", {1, 2, 3});
        assign(x.get(), {"2"}, arr("complex " + of, {{4, 5}}).get());
        EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x3", {{1, 0}, {4, 5}, {3, 0}})));
        assign(x.get(), {"[1 3]"}, arr("complex " + of + " 1x2", {{6, 7}, {8, 9}}).get());
        EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x3", {{6, 7}, {4, 5}, {8, 9}})));
        assign(x.get(), {"1:2"}, arr(of + " 1x2", {1, 2}).get());
        EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x3", {{1, 0}, {2, 0}, {8, 9}})));
        assign(x.get(), {"3"}, arr(of, {3}).get());
        EXPECT_THAT(x, EqualsArray(arr(of + " 1x3", {1, 2, 3})));
        assign(x.get(), {"5"}, arr("complex " + of, {{4, 5}}).get());
        EXPECT_THAT(x, EqualsArray(arr("complex " + of + " 1x5", {{1, 0}, {2, 0}, {3, 0}, {0, 0}, {4, 5}})));
        assign(x.get(), {"5:-1:4"}, arr(of, {7}).get());
        EXPECT_THAT(x, EqualsArray(arr(of + " 1x5", {1, 2, 3, 7, 7})));
    }
}

TEST_F(AssignmentClasses, AComplexValueWithoutImaginaryPartLeavesItReal) {
    const array_ptr x = arr("double 1x2", {1, 2});
    assign(x.get(), {"1"}, arr("complex double", {{5, 0}}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x2", {5, 2})));
    assign(x.get(), {"[]"}, arr("complex double", {{5, 1}}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x2", {5, 2})));
}

TEST_F(AssignmentClasses, AScalarDoubleSaysSo) {
    const array_ptr x = arr("double 0x0");
    assign(x.get(), {"1"}, arr("double", {5}).get());
    EXPECT_NE(x->flags & matrix::flag_scalar_double, 0U);
    assign(x.get(), {"1"}, arr("double", {6}).get());
    EXPECT_NE(x->flags & matrix::flag_scalar_double, 0U);
    assign(x.get(), {"2"}, arr("double", {6}).get());
    EXPECT_EQ(x->flags & matrix::flag_scalar_double, 0U);
}

TEST_F(AssignmentClasses, SplitArraysAreStoredAndRead) {
    const array_ptr x = arr("complex double 1x2", {1.0 + 1i, 2.0 + 2i});
    const array_ptr y = arr("complex double 1x2", {7.0 + 7i, 8.0 + 8i});
    x->split_data(true);
    y->split_data(true);
    assign(x.get(), {"[4 1]"}, y.get());
    EXPECT_THAT(x, EqualsArray(arr("complex double 1x4", {8.0 + 8i, 2.0 + 2i, {0, 0}, 7.0 + 7i})));
}

struct way_row {
    const char* name;
    array_ptr (*lhs)();
};
const way_row ways[] = {
    {"unknown",
     [] {
         return matrix::create(sizes{0, 0}, ndUNKNOWN_CLASS, ndREAL);
     }},
    {"unknown 0x3",
     [] {
         return matrix::create(sizes{0, 3}, ndUNKNOWN_CLASS, ndREAL);
     }},
    {"bracket", bracket},
    {"bracket of another shape",
     [] {
         array_ptr x = arr("int8 1x0");
         x->flags |= matrix::flag_empty_square_bracket;
         return x;
     }},
};

TEST_F(AssignmentClasses, ALeftSideThatGivesWayTakesTheClass) {
    for (const way_row& way : ways) {
        SCOPED_TRACE(way.name);
        array_ptr x = way.lhs();
        ndArray_tag* const header = x.get();
        EXPECT_TRUE(assign_fully(x.get(), {"3"}, arr("uint8", {1}).get()));
        EXPECT_THAT(x, EqualsArray(arr("uint8 1x3", {0, 0, 1})));
        EXPECT_EQ(x.get(), header);
        EXPECT_EQ(x->flags & matrix::flag_empty_square_bracket, 0U);
        x = way.lhs();
        assign(x.get(), {"2", "1"}, arr("complex single", {{1, 2}}).get());
        EXPECT_THAT(x, EqualsArray(arr("complex single 2x1", {{0, 0}, {1, 2}})));
        x = way.lhs();
        assign(x.get(), {":", "1"}, arr("char 1x2", {65, 66}).get());
        EXPECT_THAT(x, EqualsArray(arr("char 2x1", {65, 66})));
        x = way.lhs();
        assign(x.get(), {"2"}, sparse_arr("double 1x1", {{0, 0, 5}}).get());
        EXPECT_THAT(x, EqualsArray(arr("double 1x2", {0, 5})));
        x = way.lhs();
        assign(x.get(), {"2"}, arr("cell", arr("double", {5})).get());
        EXPECT_THAT(x, EqualsArray(arr("cell 1x2", nullptr, arr("double", {5}))));
        x = way.lhs();
        assign(x.get(), {"2"}, struct_arr("1x1", {"a"}, arr("double", {5})).get());
        EXPECT_THAT(x, EqualsArray(struct_arr("1x2", {"a"}, nullptr, arr("double", {5}))));
        x = way.lhs();
        EXPECT_TRUE(assign_fully(x.get(), {"[]"}, arr("uint8", {1}).get()));
        EXPECT_THAT(x, EqualsArray(arr("uint8 0x0")));
    }
}

TEST_F(AssignmentClasses, OneColonTakesItsLengthForNoClassOnly) {
    array_ptr x = ways[0].lhs();
    assign(x.get(), {":"}, arr("double 2x2", {1, 2, 3, 4}).get());
    EXPECT_THAT(x, EqualsArray(arr("double 1x4", {1, 2, 3, 4})));
    x = bracket();
    assign(x.get(), {":"}, arr("int8", {5}).get());
    EXPECT_THAT(x, EqualsArray(arr("int8 0x0")));
    x = bracket();
    EXPECT_EQ(error_of([&] { assign(x.get(), {":"}, arr("double 1x3").get()); }),
              "TARVEL:subsassigndimmismatch subsassigndimmismatch()");
    EXPECT_NE(x->flags & matrix::flag_empty_square_bracket, 0U);
}

// A plain element gets one owner more; what holds references is copied, sharing its data.
TEST_F(AssignmentClasses, CellsShareTheElements) {
    const array_ptr x = arr("cell 1x3", arr("double", {1}), nullptr, arr("char", u"c"));
    const array_ptr y = arr("cell 1x2", arr("double 1x2", {7, 8}), arr("cell 1x1", arr("double", {9})));
    assign(x.get(), {"[1 2]"}, y.get());
    EXPECT_THAT(x, EqualsArray(arr("cell 1x3", arr("double 1x2", {7, 8}), arr("cell 1x1", arr("double", {9})),
                                   arr("char", u"c"))));
    EXPECT_EQ(slots_of(x.get())[0], slots_of(y.get())[0]);
    EXPECT_EQ(slots_of(x.get())[0]->ref_count, 2U);
    EXPECT_NE(slots_of(x.get())[1], slots_of(y.get())[1]);
    EXPECT_EQ(slots_of(x.get())[1]->pdata, slots_of(y.get())[1]->pdata);
    EXPECT_EQ(slots_of(x.get())[1]->scope, ndMEMBER_SCOPE);
    assign(x.get(), {"5"}, arr("cell").get());
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 5U);
    EXPECT_EQ(slots_of(x.get())[4], nullptr);
    assign(x.get(), {":"}, arr("cell").get());
    EXPECT_THAT(x, EqualsArray(arr("cell 1x5")));
    EXPECT_EQ(slots_of(y.get())[0]->ref_count, 1U);
}

TEST_F(AssignmentClasses, AScalarGoesToEverySlot) {
    for (const bool holds_references : {false, true}) {
        const auto make = [&] {
            return holds_references ? arr("cell", arr("double", {1})) : arr("double", {1});
        };
        const array_ptr x = arr("cell 2x2", make(), make(), make(), make());
        const array_ptr y = arr("cell", make());
        assign(x.get(), {"2", ":"}, y.get());
        assign(x.get(), {"[1 1]", "3"}, y.get());
        EXPECT_THAT(x, EqualsArray(arr("cell 2x3", make(), make(), make(), make(), make(), nullptr)));
    }
}

TEST_F(AssignmentClasses, ACellGoesIntoItself) {
    const array_ptr x = arr("cell 1x2", arr("double", {1}), arr("cell", arr("double", {2})));
    assign(x.get(), {"2:3"}, x.get());
    EXPECT_THAT(x, EqualsArray(arr("cell 1x3", arr("double", {1}), arr("double", {1}),
                                   arr("cell", arr("double", {2})))));
}

// Notes what it is told of, while containers count the references inside them.
class reference_counter : public matrix::ObjectRefCountInterface {
public:
    reference_counter() {
        set(this);
        matrix::internal::test_hooks::set_internal_references(true);
    }
    ~reference_counter() override {
        matrix::internal::test_hooks::set_internal_references(false);
        set(nullptr);
    }
    void add(ndArray_tag*, bool) override { ++added; }
    void release(ndArray_tag*) override { ++released; }

    int added = 0;
    int released = 0;
};

struct called {
    static inline int acquired = 0;
    static inline int released = 0;
    static void acquire(void*, const ndArray_tag*) { ++acquired; }
    static void release(void*, const ndArray_tag*) { ++released; }
};

array_ptr handle(std::uintptr_t data) {
    array_ptr f = matrix::create(sizes{1, 1}, ndFUNCTION_CLASS, ndREAL);
    *static_cast<matrix::internal::function_record*>(f->pdata) = {nullptr, reinterpret_cast<void*>(data),
                                                                  called::acquire, called::release};
    return f;
}

TEST_F(AssignmentClasses, AFunctionHandleReplacesAnother) {
    called::acquired = called::released = 0;
    {
        const array_ptr f = handle(1);
        assign(f.get(), {"1"}, handle(2).get());
        EXPECT_EQ(static_cast<matrix::internal::function_record*>(f->pdata)->data,
                  reinterpret_cast<void*>(2));
        EXPECT_EQ(called::acquired, 1);
        EXPECT_EQ(called::released, 2); // the one replaced and the right-hand side's
        const array_ptr none = ways[0].lhs();
        assign(none.get(), {"1"}, f.get());
        EXPECT_EQ(static_cast<matrix::internal::function_record*>(none->pdata)->data,
                  reinterpret_cast<void*>(2));
        const std::string error = "TARVEL:err_non_scalar_function_handles err_non_scalar_function_handles()";
        EXPECT_EQ(error_of([&] { assign(f.get(), {"2"}, handle(3).get()); }), error);
        EXPECT_EQ(error_of([&] { assign(ways[0].lhs().get(), {"2"}, f.get()); }), error);
        EXPECT_EQ(static_cast<matrix::internal::function_record*>(f->pdata)->data,
                  reinterpret_cast<void*>(2));
    }
    EXPECT_EQ(called::acquired + 3, called::released); // three handles were made without being acquired
}

// Copies for so many places would be out of memory.
TEST_F(AssignmentClasses, TheNewSizeIsTestedBeforeElementsAreCopied) {
    const array_ptr x = arr("cell", arr("double", {1}));
    const array_ptr y = arr("cell", arr("cell", arr("double", {2})));
    EXPECT_EQ(error_of([&] { assign(x.get(), {"1:70368744177664"}, y.get()); }),
              "TARVEL:pmaxsize pmaxsize()");
    EXPECT_EQ(api::ndGetNumberOfElements(x.get()), 1U);
    called::acquired = 0;
    const array_ptr f = handle(1);
    EXPECT_EQ(error_of([&] { assign(f.get(), {"1:2"}, handle(2).get()); }),
              "TARVEL:err_non_scalar_function_handles err_non_scalar_function_handles()");
    EXPECT_EQ(called::acquired, 0);
}

TEST_F(AssignmentClasses, CountedElementsAreCountedInAndOut) {
    reference_counter counter;
    const array_ptr x = arr("cell 1x2", handle(1), arr("double", {1}));
    assign(x.get(), {"[1 2]"}, arr("cell 1x2", arr("double", {2}), handle(3)).get());
    EXPECT_EQ(counter.released, 1);
    EXPECT_EQ(counter.added, 1);
    EXPECT_EQ(slots_of(x.get())[1]->class_id, ndFUNCTION_CLASS);
    EXPECT_THAT(slots_of(x.get())[0], EqualsArray(arr("double", {2})));
}

TEST_F(AssignmentClasses, CountedFieldsAreCountedInEachPlace) {
    const auto number = [](double x) { return arr("double", {x}); };
    reference_counter counter;
    const array_ptr s =
        struct_arr("1x3", {"a", "b"}, number(1), number(2), number(3), number(4), number(5), number(6));
    assign(s.get(), {":"}, struct_arr("1x1", {"a", "b"}, handle(1), number(7)).get());
    EXPECT_EQ(counter.added, 3);
    EXPECT_EQ(counter.released, 0);
    for (const std::size_t slot : {0U, 2U, 4U})
        EXPECT_EQ(slots_of(s.get())[slot]->class_id, ndFUNCTION_CLASS);
    bool grew = true;
    const subscripts all({":"});
    const array_ptr values = arr("cell 1x3", number(8), handle(2), number(9));
    api::ndStructureAssignment(grew, s.get(), 1, all.data(), values.get(), 2);
    api::ndStructureAssignment(grew, s.get(), 1, all.data(), arr("cell 1x1", number(0)).get(), 1);
    const subscripts second({"2"});
    api::ndStructureAssignment(grew, s.get(), 1, second.data(), arr("cell 1x1", number(7)).get(), 2);
    EXPECT_THAT(s, EqualsArray(struct_arr("1x3", {"a", "b"}, number(0), number(8), number(0), number(7),
                                          number(0), number(9))));
}

TEST_F(AssignmentClasses, ACellTakesWhatOneOfItsSlotsHolds) {
    const auto numbers = [](double first) {
        return arr("cell 1x3", arr("double", {first}), arr("double", {first + 1}),
                   arr("double", {first + 2}));
    };
    const array_ptr x = arr("cell 1x3", numbers(1), nullptr, nullptr);
    assign(x.get(), {":"}, slots_of(x.get())[0]);
    EXPECT_THAT(x, EqualsArray(numbers(1)));
    const array_ptr deeper = arr("cell 1x3", arr("cell 1x1", numbers(4)), nullptr, nullptr);
    assign(deeper.get(), {"[3 1 2]"}, slots_of(slots_of(deeper.get())[0])[0]);
    EXPECT_THAT(deeper,
                EqualsArray(arr("cell 1x3", arr("double", {5}), arr("double", {6}), arr("double", {4}))));
    reference_counter counter;
    const array_ptr counted = arr("cell 1x3", numbers(7), nullptr, nullptr);
    assign(counted.get(), {":"}, slots_of(counted.get())[0]);
    EXPECT_THAT(counted, EqualsArray(numbers(7)));
}

// What classes of opaque arrays are asked: a class system as small as can be. Elements are numbers in place of pointers.
struct opaque_world {
    static inline std::vector<std::string> calls;
    static inline int elements_before_failure = -1;

    static void assign(ndArray_tag* array, std::size_t subscripts, const kvIndex* const* positions,
                       const kvSize* counts, const kvSize* maxima, const ndArray_tag* rhs) {
        std::string call = array->flags & matrix::flag_indexing_opaque ? "opaque" : "?";
        for (std::size_t i = 0; i < subscripts; ++i) {
            call += ' ' + std::to_string(counts[i]) + '/' + std::to_string(maxima[i]) + ':';
            for (std::size_t k = 0; positions[i] != nullptr && k < counts[i]; ++k)
                call += std::to_string(positions[i][k]);
        }
        calls.push_back(call + " = " + std::to_string(rhs->class_id));
    }
    static bool replace(ndArray_tag*, void** slot, const void* element) {
        if (elements_before_failure-- == 0) return false;
        *slot = const_cast<void*>(element);
        return true;
    }
    static const char* subclass(const ndArray_tag* array) { return array->info_b == 1 ? "HOBJ" : "HOBJ2"; }

    static constexpr matrix::internal::opaque_assignment_table table{assign, replace, subclass};

    opaque_world() {
        calls.clear();
        elements_before_failure = -1;
        matrix::internal::set_opaque_assignment(&table);
    }
    ~opaque_world() {
        matrix::internal::set_opaque_assignment(nullptr);
        std::vector<std::string>().swap(calls);
    }
};

array_ptr opaque(const sizes& dims, std::vector<std::uintptr_t> elements, std::uint64_t word = 0) {
    array_ptr x = matrix::create(dims, ndOPAQUE_CLASS, ndREAL);
    x->info_b = word;
    for (std::size_t i = 0; i < elements.size(); ++i)
        static_cast<void**>(x->pdata)[i] = reinterpret_cast<void*>(elements[i]);
    return x;
}

std::vector<std::uintptr_t> elements_of(const array_ptr& x) {
    std::vector<std::uintptr_t> elements;
    for (std::size_t i = 0; i < api::ndGetNumberOfElements(x.get()); ++i)
        elements.push_back(reinterpret_cast<std::uintptr_t>(static_cast<void**>(x->pdata)[i]));
    return elements;
}
using elements = std::vector<std::uintptr_t>;

TEST_F(AssignmentClasses, OpaqueElementsAreReplacedByTheirClass) {
    const opaque_world world;
    const array_ptr x = opaque({1, 3}, {1, 2, 3});
    assign(x.get(), {"5:-2:1"}, opaque({1, 3}, {7, 8, 9}).get());
    EXPECT_EQ(elements_of(x), (elements{9, 2, 8, 0, 7}));
    assign(x.get(), {"1:2"}, opaque({1, 1}, {4}).get());
    EXPECT_EQ(elements_of(x), (elements{4, 4, 8, 0, 7}));
    opaque_world::elements_before_failure = 0;
    EXPECT_EQ(error_of([&] { assign(x.get(), {"1"}, opaque({1, 1}, {6}).get()); }), "TARVEL:nomem nomem()");
    EXPECT_EQ(elements_of(x), (elements{4, 4, 8, 0, 7}));
}

TEST_F(AssignmentClasses, WithoutAClassSystemOpaqueElementsCantBeStored) {
    const array_ptr x = opaque({1, 2}, {1, 2});
    EXPECT_EQ(error_of([&] {
                  assign(x.get(), {"1"}, opaque({1, 1}, {6}).get());
              }),
              "TARVEL:invalidInput invalidInput()");
    x->flags |= matrix::flag_indexing_opaque;
    EXPECT_EQ(error_of([&] {
                  assign(x.get(), {"1"}, opaque({1, 1}, {6}).get());
              }),
              "TARVEL:invalidInput invalidInput()");
    x->flags &= ~matrix::flag_indexing_opaque;
}

TEST_F(AssignmentClasses, AnIndexingOpaqueArrayAssignsItself) {
    const opaque_world world;
    const array_ptr x = opaque({2, 2}, {1, 2, 3, 4});
    x->flags |= matrix::flag_indexing_opaque;
    EXPECT_FALSE(assign_fully(x.get(), {":", "1:2"}, arr("double 1x7").get()));
    EXPECT_TRUE(assign_fully(x.get(), {"9"}, arr("int8 0x0").get())); // no telling what it makes of it
    EXPECT_EQ(opaque_world::calls, (std::vector<std::string>{"opaque 2/2: 2/2:01 = 6", "opaque 1/9:8 = 8"}));
    x->flags &= ~matrix::flag_indexing_opaque; // so that the elements are given back as they were made
}

TEST_F(AssignmentClasses, AnIndexingOpaqueValueIsAssignedByItsClassOrNotAtAll) {
    const opaque_world world;
    const array_ptr y = opaque({1, 2}, {1, 2});
    y->flags |= matrix::flag_indexing_opaque;
    for (const way_row& way : ways) {
        SCOPED_TRACE(way.name);
        opaque_world::calls.clear();
        const array_ptr x = way.lhs();
        EXPECT_TRUE(assign_fully(x.get(), {"1:3"}, y.get()));
        EXPECT_EQ(opaque_world::calls, (std::vector<std::string>{"opaque 3/3:012 = 17"}));
        EXPECT_EQ(x->class_id, ndOPAQUE_CLASS);
        EXPECT_NE(x->flags & matrix::flag_indexing_opaque, 0U);
    }
    const std::string refused =
        "TARVEL:invalidConversion invalidConversion(" + std::string(api::ndGetClassName(y.get())) + ", ";
    const array_ptr x = opaque({1, 3}, {7, 8, 9});
    EXPECT_EQ(error_of([&] { assign(x.get(), {"1:1000"}, y.get()); }),
              refused + api::ndGetClassName(x.get()) + ")");
    EXPECT_EQ(elements_of(x), (elements{7, 8, 9}));
    const array_ptr values = arr("double 1x2");
    EXPECT_EQ(error_of([&] { assign(values.get(), {"1"}, y.get()); }), refused + "double)");
    y->flags &= ~matrix::flag_indexing_opaque;
}

// New elements of this one class are made by its caller.
TEST_F(AssignmentClasses, GapsInAGrowingArrayOfTheHandleClassAreTheCallers) {
    const opaque_world world;
    const auto grown = [](const sizes& dims, std::vector<const char*> subs, bool resize_only,
                          bool& called_filler) {
        const array_ptr x = opaque(dims, {}, 1);
        const subscripts at(subs);
        const array_ptr y = opaque({1, 1}, {5}, 1);
        bool grew = false;
        return api::ndSubscriptedAssignmentWithFiller(
            grew, x.get(), at.size(), at.data(), y.get(),
            [&](const ndArray_tag* given) {
                EXPECT_EQ(given, x.get());
                called_filler = true;
                return arr("double", {42});
            },
            resize_only);
    };
    struct gap_row {
        sizes dims;
        std::vector<const char*> subs;
        bool gaps;
    };
    const gap_row gap_rows[] = {
        {{1, 2}, {"2"}, false},          {{1, 2}, {"3"}, false},         {{1, 2}, {"4"}, true},
        {{1, 2}, {"[4 3]"}, false},      {{1, 2}, {"[4 1]"}, true},      {{1, 2}, {"[4 4]"}, true},
        {{1, 2}, {"[3 5 4 1]"}, false},  {{2, 2}, {":", "3"}, false},    {{2, 2}, {"1", "3"}, true},
        {{2, 2}, {"1:2", "3"}, false},   {{2, 2}, {"[2 2]", "3"}, true}, {{2, 2}, {":", "4"}, true},
        {{2, 2}, {":", "[4 3]"}, false}, {{2, 2}, {"3", "3"}, true},     {{2, 2}, {"1:3", "1:3"}, false},
        {{2, 2}, {"1:3", "2:3"}, true},
    };
    for (const gap_row& row : gap_rows) {
        SCOPED_TRACE(::testing::PrintToString(row.dims) + ::testing::PrintToString(row.subs));
        bool called_filler = false;
        const array_ptr left_over = grown(row.dims, row.subs, false, called_filler);
        EXPECT_EQ(called_filler, row.gaps);
        EXPECT_EQ(left_over != nullptr, row.gaps);
        called_filler = false;
        EXPECT_EQ(grown(row.dims, row.subs, true, called_filler) != nullptr, called_filler);
    }
    const array_ptr x = opaque({1, 2}, {1, 2}, 1);
    const array_ptr y = opaque({1, 1}, {5}, 1);
    const subscripts at{"4"};
    bool grew = false;
    EXPECT_THROW(api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), y.get(), {}, false),
                 std::bad_function_call);
    EXPECT_THROW(api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), y.get(), {}, true),
                 std::bad_function_call);
    EXPECT_EQ(elements_of(x), (elements{1, 2}));
    EXPECT_THROW(assign(ways[0].lhs().get(), {"3"}, y.get()), std::bad_function_call);
    EXPECT_EQ(error_of([&] { assign(ways[0].lhs().get(), {":"}, y.get()); }),
              "TARVEL:matrix:singleSubscriptNumelMismatch singleSubscriptNumelMismatch()");
    const array_ptr other = opaque({1, 2}, {1, 2}, 2);
    assign(other.get(), {"4"}, opaque({1, 1}, {5}, 2).get());
    EXPECT_EQ(elements_of(other), (elements{1, 2, 0, 5}));
}

TEST_F(AssignmentClasses, StructsAreAssignedAsStructs) {
    const array_ptr s = struct_arr("1x2", {"a"}, arr("double", {1}), arr("double", {2}));
    assign(s.get(), {"3"}, struct_arr("1x1", {"a"}, arr("double", {3})).get());
    EXPECT_THAT(
        s, EqualsArray(struct_arr("1x3", {"a"}, arr("double", {1}), arr("double", {2}), arr("double", {3}))));
    EXPECT_EQ(error_of([&] { assign(s.get(), {"1"}, arr("double", {3}).get()); }),
              "TARVEL:invalidConversion invalidConversion(double, struct)");
    assign(s.get(), {"2:4"}, s.get());
    EXPECT_THAT(s, EqualsArray(struct_arr("1x4", {"a"}, arr("double", {1}), arr("double", {1}),
                                          arr("double", {2}), arr("double", {3}))));
}

} // namespace
} // namespace test
