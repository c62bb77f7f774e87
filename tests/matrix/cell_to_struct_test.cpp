// Cells to structs and back, lists of field names, and structs from pairs of name and value.
#include "matrix/cell_to_struct.hpp"

#include "errors/warning_test_hooks.hpp"
#include "matrix/permute_cell.hpp"
#include "matrix/unshare.hpp"
#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/share.hpp>
#include <nd/text.hpp>
#include <nd/warnings.hpp>

#include <functional>
#include <string>
#include <string_view>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::cell_to_struct;
using matrix::check_field_name_set;
using dims_list = std::vector<std::size_t>;
using namespace std::string_view_literals;

struct error {
    std::string id;
    std::string argument;
    friend bool operator==(const error&, const error&) = default;
};
void PrintTo(const error& e, std::ostream* out) { *out << e.id << " (" << e.argument << ")"; }

error error_of(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const foundation::core::except::IMsgIDException& caught) {
        const auto& arguments = caught.GetBaseMsgIDObj().arguments();
        return {std::string(caught.GetID()), arguments.empty() ? "" : std::get<std::string>(arguments.at(0))};
    }
}

array_ptr value(int x) { return arr("double", {x}); }
array_ptr text(const char16_t* units) { return arr("char", units); }

// 1, 2, 3, ... in the slots.
array_ptr numbered_cell(const std::string& shape) {
    array_ptr cell = arr("cell " + shape);
    for (std::size_t i = 0; i < api::ndGetNumberOfElements(cell.get()); ++i)
        api::ndSetCell(cell.get(), i, value(static_cast<int>(i) + 1).release());
    return cell;
}

std::vector<int> numbers_in(const ndArray_tag* container, std::size_t slots) {
    std::vector<int> numbers;
    for (std::size_t i = 0; i < slots; ++i)
        numbers.push_back(static_cast<int>(api::ndGetScalar(api::ndGetCell(container, i))));
    return numbers;
}

dims_list dims_in(const ndArray_tag* array) {
    const kvSize* const dims = api::ndGetDimensions(array);
    return {dims, dims + api::ndGetNumberOfDimensions(array)};
}

array_ptr ab() { return arr("cell 1x2", text(u"a"), text(u"b")); }

using FieldNameSet = NdTest;

TEST_F(FieldNameSet, IsCheckedNameByNameAndThenForEqualOnes) {
    const std::string longest(2048, 'n');
    const std::string too_long(2049, 'n');
    const char* const long_text = longest.c_str();
    const char* const too_long_text = too_long.c_str();
    const std::string invalid = "TARVEL:Cell2Struct:InvalidFieldName";
    const std::string twice = "TARVEL:DuplicateFieldName";
    const struct {
        std::vector<const char*> names;
        error expected;
    } rows[] = {
        {{}, {}},
        {{"a"}, {}},
        {{"a", "b"}, {}},
        {{"c", "a", "b", "A"}, {}},
        {{long_text}, {}},
        {{too_long_text}, {invalid, too_long}},
        {{nullptr}, {invalid, ""}},
        {{"a", ""}, {invalid, ""}},
        {{"a", "1b", "c d"}, {invalid, "1b"}},
        {{"a", "a", "2"}, {invalid, "2"}},
        {{"a", "a"}, {twice, "a"}},
        {{"b", "c", "b", "a", "c"}, {twice, "b"}},
        {{"z", "y", "z", "y"}, {twice, "y"}},
    };
    for (const auto& row : rows) EXPECT_EQ(error_of([&] { check_field_name_set(row.names); }), row.expected);
}

using CellToStruct = NdTest;

TEST_F(CellToStruct, TheFirstDimensionBecomesFieldsWhereItIs) {
    for_each_variation(numbered_cell("2x3"), [](array_ptr& cell) {
        const array_ptr names = ab();
        const array_ptr made = cell_to_struct(cell.get(), names.get(), 1);
        EXPECT_EQ(made->pdata, cell->pdata); // the slots are shared
        EXPECT_THAT(made, EqualsArray(struct_arr("3x1", {"a", "b"}, value(1), value(2), value(3), value(4),
                                                 value(5), value(6))));
        cell.reset();
        EXPECT_EQ(matrix::internal::validate(made.get()), "");
        EXPECT_EQ(numbers_in(made.get(), 6), (std::vector<int>{1, 2, 3, 4, 5, 6}));
    });
}

TEST_F(CellToStruct, AnotherDimensionComesToTheFront) {
    const array_ptr names = ab();
    const struct {
        const char* shape;
        std::size_t dim;
        dims_list dims;
        std::vector<int> slots;
    } rows[] = {
        {"3x2", 2, {3, 1}, {1, 4, 2, 5, 3, 6}},
        {"1x2", 2, {1, 1}, {1, 2}},
        {"2x1x3", 1, {1, 3}, {1, 2, 3, 4, 5, 6}},
        {"3x2x2", 2, {3, 2}, {1, 4, 2, 5, 3, 6, 7, 10, 8, 11, 9, 12}},
        {"2x3x2", 3, {2, 3}, {1, 7, 2, 8, 3, 9, 4, 10, 5, 11, 6, 12}},
        {"1x1x2x2", 3, {1, 1, 2}, {1, 2, 3, 4}},
        {"3x2x0", 2, {3, 0}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.shape) + ", dimension " + std::to_string(row.dim));
        const array_ptr cell = numbered_cell(row.shape);
        const array_ptr before = matrix::detail::do_deep_copy(cell.get());
        {
            const array_ptr made = cell_to_struct(cell.get(), names.get(), row.dim);
            EXPECT_EQ(dims_in(made.get()), row.dims);
            EXPECT_EQ(numbers_in(made.get(), row.slots.size()), row.slots);
            EXPECT_EQ(matrix::internal::validate(made.get()), "");
        }
        EXPECT_THAT(cell, EqualsArray(before.get()));
    }
}

TEST_F(CellToStruct, ADimensionBeyondTheLastIsOneField) {
    const array_ptr cell = numbered_cell("2x2");
    const array_ptr names = arr("cell 1x1", text(u"all"));
    for (const std::size_t dim : {std::size_t{3}, std::size_t{7}, ~std::size_t{0}}) {
        EXPECT_THAT(cell_to_struct(cell.get(), names.get(), dim),
                    EqualsArray(struct_arr("2x2", {"all"}, value(1), value(2), value(3), value(4))));
    }
    const array_ptr two = ab();
    EXPECT_EQ(error_of([&] { cell_to_struct(cell.get(), two.get(), 3); }),
              (error{"TARVEL:Cell2Struct:NumberOfNamesMismatch", ""}));
}

TEST_F(CellToStruct, NoNamesGiveNoFields) {
    for (const char* names : {"cell 0x0", "char 0x0", "double 2x2"}) {
        const array_ptr made = cell_to_struct(arr("cell 0x3").get(), arr(names).get(), 1);
        EXPECT_THAT(made, EqualsArray(struct_arr("3x1", {})));
    }
}

TEST_F(CellToStruct, RowsOfAMatrixAreNamesWithoutTheirPadding) {
    const array_ptr cell = numbered_cell("2x1");
    // The padding after "d" is of blanks, of NULs and of both.
    for (const std::u16string_view padding : {u"  "sv, u"\0\0"sv, u" \0"sv, u"\0 "sv}) {
        const array_ptr names =
            arr("char 2x3", std::u16string{u'a', u'd', u'b', padding[0], u'c', padding[1]});
        EXPECT_THAT(cell_to_struct(cell.get(), names.get(), 1),
                    EqualsArray(struct_arr("1x1", {"abc", "d"}, value(1), value(2))));
    }
    // A name in a cell ends before its first NUL, as every C string.
    const array_ptr cut = arr("cell 1x2", arr("char", std::u16string_view(u"a\0b", 3)), text(u"b"));
    EXPECT_THAT(cell_to_struct(cell.get(), cut.get(), 1),
                EqualsArray(struct_arr("1x1", {"a", "b"}, value(1), value(2))));
    // Names in a cell keep their blanks, and blanks belong to no name.
    const array_ptr padded = arr("cell 1x2", text(u"a "), text(u"b"));
    EXPECT_EQ(error_of([&] { cell_to_struct(cell.get(), padded.get(), 1); }),
              (error{"TARVEL:Cell2Struct:InvalidFieldName", "a "}));
}

TEST_F(CellToStruct, LongNamesAreCutBeforeTheyAreCompared) {
    static int warnings;
    warnings = 0;
    foundation::test_hooks::reset_warnings();
    matrix::setWarningHandler([](const std::u16string&) { ++warnings; });
    const array_ptr cell = numbered_cell("2x1");
    const std::u16string longest(2048, u'n');
    const array_ptr names = arr("cell 1x2", arr("char", longest + u"x"), arr("char", longest + u"y"));
    EXPECT_EQ(error_of([&] { cell_to_struct(cell.get(), names.get(), 1); }),
              (error{"TARVEL:DuplicateFieldName", std::string(2048, 'n')}));
    EXPECT_EQ(warnings, 2);
    matrix::errors::test_hooks::restore_first_warning_handler();
    foundation::test_hooks::reset_warnings();
}

TEST_F(CellToStruct, RefusesWhatIsNoListOfNames) {
    const array_ptr cell = numbered_cell("2x1");
    const std::string mismatch = "TARVEL:Cell2Struct:NumberOfNamesMismatch";
    const std::string no_text = "TARVEL:Cell2Struct:NonStringFieldNames";
    const std::string no_row = "TARVEL:Cell2Struct:NonStringVector";
    const struct {
        const char* what;
        array_ptr names;
        std::size_t dim;
        error expected;
    } rows[] = {
        {"dimension 0", ab(), 0, {"TARVEL:Cell2Struct:DimensionNumber", ""}},
        {"three names", arr("cell 1x3", text(u"a"), text(u"b"), text(u"c")), 1, {mismatch, ""}},
        {"one row", text(u"ab"), 1, {mismatch, ""}},
        {"rows without columns", arr("char 2x0"), 1, {mismatch, ""}},
        {"numbers", arr("double 2x1"), 1, {mismatch, ""}},
        {"a solid of text", arr("char 2x2x2", u"abcdefgh"), 1, {"TARVEL:Cell2Struct:Non2DCharArray", ""}},
        {"a null", arr("cell 1x2", text(u"a"), nullptr), 1, {no_text, ""}},
        {"a number", arr("cell 1x2", value(1), text(u"b")), 1, {no_text, ""}},
        {"an empty text", arr("cell 1x2", text(u"a"), arr("char 1x0")), 1, {no_text, ""}},
        {"two rows, then a number", arr("cell 1x2", arr("char 2x1", u"ab"), value(1)), 1, {no_row, ""}},
        {"a bad name",
         arr("cell 1x2", text(u"a"), text(u"b-")),
         1,
         {"TARVEL:Cell2Struct:InvalidFieldName", "b-"}},
        {"equal names", arr("cell 1x2", text(u"a"), text(u"a")), 1, {"TARVEL:DuplicateFieldName", "a"}},
    };
    const snapshot before(cell.get());
    for (const auto& row : rows) {
        EXPECT_EQ(error_of([&] { cell_to_struct(cell.get(), row.names.get(), row.dim); }), row.expected)
            << row.what;
        for_each_module_mode([&](int mode) {
            const auto call = [&] {
                EXPECT_EQ(api::ndCell2Struct(cell.get(), row.names.get(), row.dim), nullptr);
            };
            EXPECT_EQ(error_of(call), mode == mode_exceptions ? row.expected : error{}) << row.what;
        });
    }
    EXPECT_EQ(before.difference(), "");
}

TEST_F(CellToStruct, PrivateSlotsAreCopied) {
    array_ptr cell = numbered_cell("2x1");
    cell->flags |= matrix::flag_data_private;
    const array_ptr names = ab();
    const array_ptr made = cell_to_struct(cell.get(), names.get(), 1);
    EXPECT_NE(made->pdata, cell->pdata);
    EXPECT_THAT(made, EqualsArray(struct_arr("1x1", {"a", "b"}, value(1), value(2))));
    const array_ptr source = struct_arr("1x1", {"a", "b"}, value(1), nullptr);
    source->flags |= matrix::flag_data_private;
    const array_ptr back = matrix::internal::struct_to_cell(source.get());
    EXPECT_NE(back->pdata, source->pdata);
    EXPECT_THAT(back, EqualsArray(arr("cell 2x1", value(1), nullptr)));
    cell->flags &= ~matrix::flag_data_private;
    source->flags &= ~matrix::flag_data_private;
}

using StructToCell = NdTest;

TEST_F(StructToCell, TheFieldsAreTheFirstDimension) {
    const array_ptr array =
        struct_arr("2x3", {"a", "b"}, value(1), value(2), value(3), value(4), value(5), value(6), value(7),
                   value(8), value(9), value(10), value(11), value(12));
    for_each_variation(array, [](array_ptr& source) {
        const array_ptr cell(api::ndStruct2Cell(source.get()));
        EXPECT_EQ(cell->pdata, source->pdata);
        EXPECT_THAT(cell, EqualsArray(numbered_cell("2x2x3")));
        source.reset();
        EXPECT_EQ(matrix::internal::validate(cell.get()), "");
    });
}

TEST_F(StructToCell, WithoutFieldsOrElementsThereAreNoSlots) {
    EXPECT_THAT(keep(api::ndStruct2Cell(struct_arr("2x3", {}).get())), EqualsArray(arr("cell 0x2x3")));
    EXPECT_THAT(keep(api::ndStruct2Cell(struct_arr("0x3", {"a"}).get())), EqualsArray(arr("cell 1x0x3")));
}

TEST_F(StructToCell, ComesBackAsItWas) {
    const array_ptr names = ab();
    const array_ptr array = struct_arr("2x2", {"a", "b"}, value(1), value(2), nullptr, value(4), value(5),
                                       value(6), value(7), nullptr);
    const array_ptr cell(api::ndStruct2Cell(array.get()));
    EXPECT_THAT(cell_to_struct(cell.get(), names.get(), 1), EqualsArray(array.get()));
}

// A cell and a struct over the same slots: each counts them by its own class.
class StructAndCell : public NdTest {
protected:
    array_ptr cell = numbered_cell("2x3");
    array_ptr array;

    void pair_up(bool single_threaded) {
        cell->set_data_sharing_single_threaded(single_threaded);
        array = cell_to_struct(cell.get(), ab().get(), 1);
        ASSERT_EQ(array->pdata, cell->pdata);
    }

    static array_ptr expected_struct() {
        return struct_arr("3x1", {"a", "b"}, value(1), value(2), value(3), value(4), value(5), value(6));
    }

    void expect_both() {
        EXPECT_THAT(cell, EqualsArray(numbered_cell("2x3")));
        EXPECT_THAT(array, EqualsArray(expected_struct()));
        EXPECT_EQ(matrix::internal::validate(cell.get()), "");
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
    }
};

TEST_F(StructAndCell, EitherGetsSlotsOfItsOwn) {
    for (const bool deep : {true, false}) {
        for (array_ptr* const mine : {&cell, &array}) {
            pair_up(false);
            ndArray_tag* const given = mine->release();
            mine->reset(deep ? api::ndUnshare(given) : api::ndUnshareShallow(given));
            EXPECT_NE(cell->pdata, array->pdata);
            EXPECT_EQ(api::ndGetCell(cell.get(), 5) == api::ndGetCell(array.get(), 5), !deep);
            expect_both();
        }
    }
}

TEST_F(StructAndCell, EitherSendsTheOtherAway) {
    for (array_ptr* const mine : {&cell, &array}) {
        pair_up(true);
        const array_ptr third = matrix::internal::struct_to_cell(array.get());
        const void* const slots = (*mine)->pdata;
        EXPECT_EQ(api::ndUnshareOtherArrays(mine->get()), 0);
        EXPECT_EQ((*mine)->pdata, slots);
        const array_ptr& other = mine == &cell ? array : cell;
        EXPECT_NE(other->pdata, slots);
        EXPECT_EQ(other->pdata, third->pdata) << "the others go on sharing";
        EXPECT_THAT(third, EqualsArray(numbered_cell("2x3x1")));
        expect_both();
    }
}

TEST_F(StructAndCell, EitherEmptiesTheOther) {
    pair_up(true);
    EXPECT_TRUE(api::ndUnshareOrEmptyOthers(cell.get()));
    expect_both();
    pair_up(true);
    EXPECT_TRUE(matrix::internal::unshare_and_empty_others(cell.get()));
    EXPECT_THAT(array, EqualsArray(struct_arr("0x1", {"a", "b"})));
    EXPECT_THAT(cell, EqualsArray(numbered_cell("2x3")));
    pair_up(true);
    EXPECT_TRUE(matrix::internal::unshare_and_empty_others(array.get()));
    EXPECT_THAT(cell, EqualsArray(arr("cell 0x3")));
    EXPECT_THAT(array, EqualsArray(expected_struct()));
}

using PermuteCell = NdTest;

TEST_F(PermuteCell, SharesTheSlotsWhereNothingMoves) {
    const array_ptr cell = numbered_cell("2x1x3");
    const array_ptr kept = matrix::internal::permuted_cell(cell.get(), dims_list{1, 0, 3, 2});
    EXPECT_EQ(kept->pdata, cell->pdata);
    EXPECT_EQ(dims_in(kept.get()), (dims_list{1, 2, 1, 3}));
    const array_ptr moved = matrix::internal::permuted_cell(cell.get(), dims_list{2, 0, 1});
    EXPECT_EQ(dims_in(moved.get()), (dims_list{3, 2}));
    EXPECT_EQ(numbers_in(moved.get(), 6), (std::vector<int>{1, 3, 5, 2, 4, 6}));
}

using StructConversion = NdTest;

array_ptr converted(std::vector<array_ptr> arguments) {
    return matrix::struct_conversion_fcn(static_cast<int>(arguments.size()), arguments.data());
}

template <class... Arguments>
array_ptr converted_from(Arguments&&... arguments) {
    std::vector<array_ptr> list;
    (list.push_back(std::forward<Arguments>(arguments)), ...);
    return converted(std::move(list));
}

TEST_F(StructConversion, OfNothingIsOneElementWithoutFields) {
    EXPECT_THAT(converted({}), EqualsArray(struct_arr("1x1", {})));
    EXPECT_THAT(converted_from(text(u"a")), EqualsArray(struct_arr("1x1", {})));
}

TEST_F(StructConversion, ValuesThatAreNoCellsGoToEveryElement) {
    EXPECT_THAT(converted_from(text(u"a"), value(1), text(u"b"), arr("char", u"xy")),
                EqualsArray(struct_arr("1x1", {"a", "b"}, value(1), arr("char", u"xy"))));
    EXPECT_THAT(converted_from(text(u"a"), numbered_cell("1x2"), text(u"b"), value(9), text(u"c"),
                               arr("cell 1x1", value(7))),
                EqualsArray(struct_arr("1x2", {"a", "b", "c"}, value(1), value(9), value(7), value(2),
                                       value(9), value(7))));
}

TEST_F(StructConversion, TheFirstCellOfAnotherSizeThanOneGivesTheShape) {
    EXPECT_THAT(converted_from(text(u"a"), arr("cell 1x1", value(5)), text(u"b"), numbered_cell("2x1")),
                EqualsArray(struct_arr("2x1", {"a", "b"}, value(5), value(1), value(5), value(2))));
    EXPECT_THAT(converted_from(text(u"a"), arr("cell 0x3"), text(u"b"), numbered_cell("2x1")),
                EqualsArray(struct_arr("0x3", {"a", "b"})));
    EXPECT_THAT(converted_from(text(u"a"), numbered_cell("1x1x2")),
                EqualsArray(struct_arr("1x1x2", {"a"}, value(1), value(2))));
}

TEST_F(StructConversion, LaterCellsAreReadAsFarAsTheyGo) {
    EXPECT_THAT(converted_from(text(u"a"), numbered_cell("1x3"), text(u"b"), numbered_cell("1x2")),
                EqualsArray(struct_arr("1x3", {"a", "b"}, value(1), value(1), value(2), value(2), value(3),
                                       nullptr)));
    EXPECT_THAT(converted_from(text(u"a"), numbered_cell("1x2"), text(u"b"), numbered_cell("1x3")),
                EqualsArray(struct_arr("1x2", {"a", "b"}, value(1), value(1), value(2), value(2))));
    EXPECT_THAT(
        converted_from(text(u"a"), numbered_cell("1x2"), text(u"b"), value(8), text(u"c"), arr("cell 0x0")),
        EqualsArray(
            struct_arr("1x2", {"a", "b", "c"}, value(1), value(8), value(8), value(2), value(8), value(8))));
    // The value before it again, element by element.
    EXPECT_THAT(converted_from(text(u"a"), numbered_cell("1x2"), text(u"b"), arr("cell 0x0")),
                EqualsArray(struct_arr("1x2", {"a", "b"}, value(1), value(1), value(2), value(2))));
}

TEST_F(StructConversion, TakesArgumentsOfEveryKindAndLeavesThemAlone) {
    const array_ptr name = text(u"a");
    const array_ptr cell = numbered_cell("1x2");
    ndArray_tag* const plain[] = {name.get(), cell.get()};
    const ndArray_tag* const constant[] = {name.get(), cell.get()};
    std::unique_ptr<const ndArray_tag, matrix::detail::ndDestroy_deleter> owned[] = {
        matrix::detail::do_deep_copy(name.get()), matrix::detail::do_deep_copy(cell.get())};
    const auto expected = [] { return EqualsArray(struct_arr("1x2", {"a"}, value(1), value(2))); };
    EXPECT_THAT(matrix::struct_conversion_fcn(2, plain), expected());
    EXPECT_THAT(matrix::struct_conversion_fcn(2, constant), expected());
    EXPECT_THAT(matrix::struct_conversion_fcn(2, owned), expected());
    EXPECT_EQ(cell->ref_count, 1U);
    EXPECT_THAT(cell, EqualsArray(numbered_cell("1x2")));
    for_each_module_mode([&](int mode) {
        ndArray_tag* result = nullptr;
        api::ndStructureConversionFcn(&result, 2, constant);
        EXPECT_THAT(keep(result), expected());
        const ndArray_tag* const bad[] = {cell.get(), cell.get()};
        ndArray_tag* none = nullptr;
        EXPECT_EQ(error_of([&] { api::ndStructureConversionFcn(&none, 2, bad); }).id,
                  mode == mode_exceptions ? "TARVEL:Cell2Struct:NonStringFieldNames" : "");
        EXPECT_EQ(none, nullptr);
    });
}

using Ustrings = NdTest;

TEST_F(Ustrings, AreRowsOrElements) {
    using strings = std::vector<std::u16string>;
    EXPECT_EQ(matrix::get_ustring_array(arr("char 2x3", u"abcdef").get()), (strings{u"ace", u"bdf"}));
    EXPECT_EQ(matrix::get_ustring_array(arr("char 2x1x2", u"abcd").get()), strings{});
    EXPECT_EQ(matrix::get_ustring_array(arr("char 3x0").get()), strings{});
    EXPECT_EQ(matrix::get_ustring_array(arr("double").get()), strings{});
    EXPECT_EQ(matrix::get_ustring_array(nullptr), strings{});
    EXPECT_EQ(matrix::get_ustring_array(
                  arr("cell 1x4", arr("char 2x2", u"abcd"), value(1), nullptr, arr("char 0x0")).get()),
              (strings{u"abcd", u"", u"", u""}));
    EXPECT_EQ(matrix::get_ustring(arr("char 2x1x2", u"abcd").get()), u"abcd");
    EXPECT_EQ(matrix::get_ustring(nullptr), u"");
}

} // namespace
} // namespace test
