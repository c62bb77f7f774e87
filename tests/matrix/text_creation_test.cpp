// Char rows from UTF-16, and the colon of a subscript list.
#include "matrix/class_table.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

using TextCreation = NdTest;

TEST_F(TextCreation, MakesARowOfTheCodeUnits) {
    for (const char16_t* text : {u"a", u":", u"text", u"\u00E9\u4E2D\U0001F600", u"\xD800\xFFFF\x0001"}) {
        const array_ptr made(api::ndCreateString_UTF16(text));
        EXPECT_THAT(made, EqualsArray(arr("char", text)));
        EXPECT_EQ(api::ndGetM(made.get()), 1U);
        EXPECT_EQ(api::ndGetN(made.get()), std::char_traits<char16_t>::length(text));
    }
}

TEST_F(TextCreation, MakesNothingByNothingOfNoText) {
    const array_ptr made(api::ndCreateString_UTF16(u""));
    EXPECT_TRUE(api::ndIsChar(made.get()));
    EXPECT_EQ(api::ndGetM(made.get()), 0U);
    EXPECT_EQ(api::ndGetN(made.get()), 0U);
}

using ColonIndex = NdTest;

TEST_F(ColonIndex, IsWhatIsMade) {
    const array_ptr made(api::ndCreateColonIndex());
    EXPECT_THAT(made, EqualsArray(arr("char", u":")));
    EXPECT_EQ(api::ndGetArrayScope(made.get()), ndLOCAL_SCOPE) << "no list is kept here";
    EXPECT_TRUE(api::ndIsColonIndex(made.get()));
    for_each_variation(made, [](array_ptr& array) { EXPECT_TRUE(api::ndIsColonIndex(array.get())); });
}

TEST_F(ColonIndex, IsOneCharAndAColon) {
    struct {
        const char* what;
        array_ptr array;
    } const rows[] = {
        {"two colons", arr("char", u"::")},
        {"another character", arr("char", u";")},
        {"a character that ends like it", arr("char", u"\x3A3A")},
        {"no text", arr("char 0x0")},
        {"an empty row", arr("char 1x0")},
        {"a double", arr("double", {58})},
        {"a uint16", arr("uint16", {58})},
        {"a cell with a colon", arr("cell 1x1", arr("char", u":"))},
    };
    for (const auto& row : rows) EXPECT_FALSE(api::ndIsColonIndex(row.array.get())) << row.what;
    const auto without_data = arr("char 0x0");
    without_data->set_dimensions(dims_list{1, 1});
    EXPECT_FALSE(api::ndIsColonIndex(without_data.get()));
    without_data->set_dimensions({});
}

TEST_F(ColonIndex, WithoutMemory) {
    fault_options options;
    options.framed = true;
    for (auto* make : {+[] { return api::ndCreateColonIndex(); },
                       +[] { return api::ndCreateString_UTF16(u"some text"); }}) {
        const fault_report report = for_each_failing_alloc(
            "char row", [&](fault_run& run) { run.act([&] { return make(); }); }, options);
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, 2);
    }
}

} // namespace
} // namespace test
