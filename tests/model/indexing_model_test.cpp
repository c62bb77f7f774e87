// The model of subscripts against results worked out by hand: a wrong model would prove the wrong things.
#include "model/indexing_model.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <numeric>

namespace {

using namespace model;

value with(ndClassID id, const dims& shape, std::initializer_list<double> elements) {
    value made = blank_value(id, false, shape);
    std::size_t i = 0;
    for (const double one : elements) made.elements.at(i++).re = bits_of(id, one);
    return made;
}

value doubles(const dims& shape, std::initializer_list<double> elements) {
    return with(ndDOUBLE_CLASS, shape, elements);
}

value counted(const dims& shape, ndClassID id = ndDOUBLE_CLASS) {
    value made = blank_value(id, false, shape);
    for (std::size_t i = 0; i < made.elements.size(); ++i)
        made.elements[i].re = bits_of(id, static_cast<long double>(i + 1));
    return made;
}

value at(double index) { return doubles({1, 1}, {index}); }

value mask(const dims& shape, std::initializer_list<double> truth) {
    return with(ndLOGICAL_CLASS, shape, truth);
}

value from_to(double start, double step, double stop) {
    value made;
    made.class_id = ndDOUBLE_CLASS;
    made.as_range = range{start, step, stop};
    return made;
}

value bracket() {
    value made = blank_value(ndDOUBLE_CLASS, false, {0, 0});
    made.bracket = true;
    return made;
}

value structs(const dims& shape, std::vector<std::string> fields) {
    value made = blank_value(ndSTRUCT_CLASS, false, shape, std::move(fields));
    std::uint64_t number = 1;
    for (element& one : made.elements) {
        for (std::size_t field = 0; field < made.fields.size(); ++field) one.slots[field] = number++;
    }
    return made;
}

// "2x3 1 2 3 4 5 6", or the error.
template <class Call>
std::string told(Call&& call) {
    try {
        const value v = call();
        std::string text;
        for (const std::size_t dim : v.shape) text += (text.empty() ? "" : "x") + std::to_string(dim);
        for (const element& one : v.elements)
            text += ' ' + std::to_string(std::lround(number_of(v.class_id, one.re)));
        return text;
    } catch (const refusal& refused) {
        return refused.error;
    }
}

std::string referenced(const value& a, const std::vector<value>& subs) {
    return told([&] { return reference(a, subs); });
}

std::string assigned(value a, const std::vector<value>& subs, const value& rhs) {
    return told([&] {
        growth_terms terms;
        assign(a, subs, rhs, terms);
        return a;
    });
}

std::string erased(value a, const std::vector<value>& subs) {
    return told([&] {
        erase(a, subs);
        return a;
    });
}

TEST(IndexingModel, References) {
    const value row = counted({1, 5});
    const value matrix = counted({3, 4});
    EXPECT_EQ(referenced(counted({2, 2}), {colon()}), "4x1 1 2 3 4");
    EXPECT_EQ(referenced(counted({0, 0}), {colon()}), "0x1");
    EXPECT_EQ(referenced(row, {doubles({2, 1}, {1, 2})}), "1x2 1 2");
    EXPECT_EQ(referenced(counted({5, 1}), {doubles({1, 2}, {1, 2})}), "2x1 1 2");
    EXPECT_EQ(referenced(matrix, {doubles({1, 2}, {1, 2})}), "1x2 1 2");
    EXPECT_EQ(referenced(matrix, {doubles({2, 1}, {1, 2})}), "2x1 1 2");
    EXPECT_EQ(referenced(matrix, {mask({3, 4}, {1, 0, 0, 1})}), "2x1 1 4");
    EXPECT_EQ(referenced(matrix, {mask({1, 12}, {1, 0, 0, 1})}), "1x2 1 4");
    EXPECT_EQ(referenced(at(5), {mask({1, 1}, {0})}), "0x0");
    EXPECT_EQ(referenced(at(5), {doubles({0, 0}, {})}), "0x0");
    EXPECT_EQ(referenced(at(5), {doubles({1, 0}, {})}), "1x0");
    EXPECT_EQ(referenced(row, {at(2), at(1)}), "indexExceedsDims(1)");
    EXPECT_EQ(referenced(row, {at(1), at(2), at(1)}), "1x1 2");
    EXPECT_EQ(referenced(matrix, {at(1), at(1), at(1), at(2)}), "indexExceedsDims(4)");
    EXPECT_EQ(referenced(matrix, {from_to(3, -1, 1)}), "1x3 3 2 1");
    EXPECT_EQ(referenced(counted({2, 3, 2}), {colon(), at(4)}), "2x1 7 8");
    EXPECT_EQ(referenced(row, {at(1.5)}), "badTypeIndices(1)");
    EXPECT_EQ(referenced(row, {from_to(1.5, 1, 3)}), "1x2 2 3");
    EXPECT_EQ(referenced(row, {blank_value(ndCELL_CLASS, false, {1, 2})}), "0x0");
}

TEST(IndexingModel, Assigns) {
    EXPECT_EQ(assigned(value{}, {at(5)}, at(1)), "1x5 0 0 0 0 1");
    EXPECT_EQ(assigned(counted({3, 1}), {at(5)}, at(9)), "5x1 1 2 3 0 9");
    EXPECT_EQ(assigned(at(5), {at(3)}, at(1)), "1x3 5 0 1");
    EXPECT_EQ(assigned(counted({0, 3}), {at(2)}, at(1)), "1x2 0 1");
    EXPECT_EQ(assigned(counted({2, 2}), {colon(), at(3)}, doubles({2, 1}, {5, 6})), "2x3 1 2 3 4 5 6");
    EXPECT_EQ(assigned(counted({2, 2}), {at(3), colon()}, doubles({1, 2}, {5, 6})), "3x2 1 2 5 3 4 6");
    EXPECT_EQ(assigned(counted({2, 2}), {at(7)}, at(1)), "ambiguousArrayGrowth");
    EXPECT_EQ(assigned(counted({2, 2}), {doubles({1, 0}, {})}, at(5)), "2x2 1 2 3 4");
    EXPECT_EQ(assigned(counted({3, 4}), {doubles({0, 0}, {}), at(5)}, at(5)),
              "3x5 1 2 3 4 5 6 7 8 9 10 11 12 0 0 0");
    EXPECT_EQ(assigned(bracket(), {colon()}, at(5)), "0x0");
    EXPECT_EQ(assigned(bracket(), {colon()}, doubles({1, 3}, {1, 2, 3})), "subsassigndimmismatch");
    EXPECT_EQ(assigned(counted({1, 3}), {at(0)}, at(5)), "badTypeIndices(1)");
    EXPECT_EQ(assigned(counted({1, 3}), {at(0x1p48)}, at(5)), "pmaxsize");
    EXPECT_EQ(assigned(counted({1, 3}), {at(1)}, with(ndINT8_CLASS, {1, 1}, {1})), "invalidConversion");
    EXPECT_EQ(assigned(counted({1, 3}), {doubles({1, 2}, {2, 2})}, doubles({1, 2}, {8, 9})), "1x3 1 9 3");
}

TEST(IndexingModel, FitsRightSides) {
    const value nothing = blank_value(ndDOUBLE_CLASS, false, {0, 0});
    const value three = from_to(1, 1, 3);
    const value two = from_to(1, 1, 2);
    const struct {
        const char* what;
        value lhs;
        std::vector<value> subs;
        value rhs;
        std::string becomes;
    } rows[] = {
        {"(:,:)", nothing, {colon(), colon()}, counted({1, 3}), "1x3 1 2 3"},
        {"(:,1)", nothing, {colon(), at(1)}, counted({1, 3}), "3x1 1 2 3"},
        {"(1,:)", nothing, {at(1), colon()}, counted({3, 1}), "1x3 1 2 3"},
        {"(1:3,:) row", nothing, {three, colon()}, counted({1, 3}), "subsassigndimmismatch"},
        {"(1:3,:)", nothing, {three, colon()}, counted({3, 1}), "3x1 1 2 3"},
        {"(:,:,2)", nothing, {colon(), colon(), at(2)}, counted({1, 2}), "1x2x2 0 0 1 2"},
        {"(2,:,:)", nothing, {at(2), colon(), colon()}, counted({2, 2}), "2x2x2 0 1 0 2 0 3 0 4"},
        {"3-d into (:,:)", nothing, {colon(), colon()}, counted({2, 3, 4}), "subsassigndimmismatch"},
        {"scalar", nothing, {colon(), at(1)}, at(7), "1x1 7"},
        {"unknown(:)", value{}, {colon()}, counted({2, 2}), "1x4 1 2 3 4"},
        {"(:) of nothing", nothing, {colon()}, counted({1, 3}), "subsassigndimmismatch"},
        {"column from row", counted({3, 2}), {colon(), at(2)}, counted({1, 3}), "3x2 1 2 3 1 2 3"},
        {"row from column", counted({2, 2}), {at(2), colon()}, counted({2, 1}), "2x2 1 1 3 2"},
        {"(2,2) and (4)", counted({3, 4}), {two, two}, counted({1, 4}), "subsassigndimmismatch"},
        {"count only", counted({1, 5}), {from_to(1, 1, 4)}, counted({2, 2}), "1x5 1 2 3 4 5"},
        {"both empty", counted({2, 2}), {from_to(1, 1, 0), colon()}, nothing, "2x2 1 2 3 4"},
        {"one empty", counted({2, 2}), {two, at(1)}, nothing, "subsassigndimmismatch"},
        {"0x3",
         blank_value(ndDOUBLE_CLASS, false, {0, 3}),
         {colon(), at(1)},
         counted({2, 1}),
         "subsassigndimmismatch"},
    };
    for (const auto& row : rows) EXPECT_EQ(assigned(row.lhs, row.subs, row.rhs), row.becomes) << row.what;
}

TEST(IndexingModel, Erases) {
    EXPECT_EQ(erased(counted({1, 5}), {at(2)}), "1x4 1 3 4 5");
    EXPECT_EQ(erased(counted({5, 1}), {at(2)}), "4x1 1 3 4 5");
    EXPECT_EQ(erased(counted({3, 3}), {at(2)}), "1x8 1 3 4 5 6 7 8 9");
    EXPECT_EQ(erased(counted({3, 3}), {doubles({0, 0}, {})}), "1x9 1 2 3 4 5 6 7 8 9");
    EXPECT_EQ(erased(counted({3, 3}), {colon()}), "0x0");
    EXPECT_EQ(erased(counted({2, 3}), {colon(), at(2)}), "2x2 1 2 5 6");
    EXPECT_EQ(erased(counted({3, 4}), {colon(), colon()}), "0x4");
    EXPECT_EQ(erased(counted({3, 4}), {at(1), at(2)}), "badnullassign");
    EXPECT_EQ(erased(counted({1, 5}), {mask({1, 5}, {0, 0, 0, 0, 0})}), "1x5 1 2 3 4 5");
    EXPECT_EQ(erased(counted({1, 5}), {mask({1, 5}, {1, 1, 1, 1, 1})}), "1x0");
    EXPECT_EQ(erased(counted({1, 5}), {at(7)}), "subsdeldimmismatch");
    EXPECT_EQ(erased(counted({1, 5}), {doubles({1, 3}, {2, 2, 3})}), "1x3 1 4 5");
    EXPECT_EQ(erased(value{}, {at(1)}), "badnullindex");
}

TEST(IndexingModel, KeepsComplexPartsWhileThereAreAny) {
    value a = counted({1, 3});
    value z = at(2);
    z.complex = true;
    z.elements[0].im = bits_of(ndDOUBLE_CLASS, 1);
    growth_terms terms;
    assign(a, std::vector<value>{at(2)}, z, terms);
    EXPECT_TRUE(a.complex);
    EXPECT_FALSE(reference(a, std::vector<value>{at(1)}).complex);
    assign(a, std::vector<value>{at(2)}, at(5), terms);
    EXPECT_FALSE(a.complex);
}

TEST(IndexingModel, HandlesFields) {
    const value s = structs({1, 3}, {"a", "b"});
    EXPECT_EQ(reference(s, std::vector<value>{at(2)}).elements[0].slots[1], 4U);
    EXPECT_EQ(told([&] { return field_reference(s, std::vector<value>{from_to(1, 2, 3)}, 2); }), "2x1 2 6");
    value x;
    growth_terms terms;
    assign(x, std::vector<value>{at(2)}, structs({1, 1}, {"a"}), terms);
    EXPECT_EQ(x.shape, (dims{1, 2}));
    EXPECT_EQ(x.elements[0].slots[0], 0U);
    EXPECT_EQ(x.elements[1].slots[0], 1U);
    EXPECT_EQ(assigned(s, {at(1)}, structs({1, 1}, {"a"})), "invalidConversion");
}

TEST(IndexingModel, TellsTheEnd) {
    EXPECT_EQ(end_of(counted({2, 3}), 1, 1), 6);
    EXPECT_EQ(end_of(counted({2, 3, 4}), 2, 2), 12);
    EXPECT_EQ(end_of(counted({2, 3}), 3, 3), 1);
    EXPECT_EQ(end_of(counted({0, 0}), 2, 2), 0);
}

} // namespace
