// Text for callers inside: std::string, wide strings, lists of them, and buffers.
#include "matrix/text_errors.hpp"
#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/conversion_errors.hpp>
#include <nd/from_utf16_converter.hpp>

#include <new>
#include <stdexcept>

namespace test {
namespace {

using I18N::FromUTF16Converter;
using matrix::array_ptr;

using Strings = TextTest;

TEST_F(Strings, HoldAllUnitsByColumn) {
    const struct {
        const char* shape;
        std::u16string units;
        std::string bytes;
        std::wstring wide;
    } rows[] = {
        {"char", u"text", "text", L"text"},
        {"char 0x0", u"", "", L""},
        {"char 1x3", {u'a', 0, u'b'}, std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
        {"char 2x2", u"acbd", "acbd", L"acbd"},
        {"char 2x1x2", u"acbd", "acbd", L"acbd"},
        {"char", u"\u00E9\U0001F600", "\xC3\xA9\xF0\x9F\x98\x80", L"\u00E9\U0001F600"},
        {"char 1x2",
         {0xD83D, u'a'},
         "\xEF\xBF\xBD"
         "a",
         L"\uFFFDa"},
        {"char 1x2", {0xDE00, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD", L"\uFFFD\uFFFD"},
        {"char", u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"},
    };
    for (const auto& row : rows) {
        for_each_variation(arr(row.shape, row.units), [&](array_ptr& array) {
            EXPECT_EQ(matrix::get_ustring(array.get()), row.units);
            EXPECT_EQ(matrix::get_string(array.get()), row.bytes);
            EXPECT_EQ(matrix::get_wstring(array.get()), row.wide);
            EXPECT_EQ(matrix::get_destination_string_size(array.get()), row.bytes.size());
            EXPECT_EQ(matrix::get_destination_wstring_size(array.get()), row.wide.size());
            for (std::size_t size = 0; size <= row.bytes.size() + 1; ++size) {
                std::string buffer(row.bytes.size() + 2, '#');
                const std::size_t count = matrix::copy_string(buffer.data(), size, array.get());
                EXPECT_EQ(count, std::min(size, row.bytes.size()));
                EXPECT_EQ(buffer, row.bytes.substr(0, count) + std::string(buffer.size() - count, '#'));
            }
            for (std::size_t size = 0; size <= row.wide.size() + 1; ++size) {
                std::wstring buffer(row.wide.size() + 2, L'#');
                const std::size_t count = matrix::copy_wstring(buffer.data(), size, array.get());
                EXPECT_EQ(count, std::min(size, row.wide.size()));
                EXPECT_EQ(buffer, row.wide.substr(0, count) + std::wstring(buffer.size() - count, L'#'));
            }
        });
    }
}

TEST_F(Strings, AreEmptyForWhatHasNoText) {
    const array_ptr without_data = arr("char 0x0");
    without_data->set_dimensions(dims_list{1, 2});
    const array_ptr number = arr("double", {65});
    const array_ptr cell = arr("cell 1x1", arr("char", u"text"));
    FromUTF16Converter converter("gb18030");
    char buffer[4] = "###";
    wchar_t wide[4] = L"###";
    for (const ndArray_tag* const array :
         {static_cast<const ndArray_tag*>(nullptr), static_cast<const ndArray_tag*>(number.get()),
          static_cast<const ndArray_tag*>(cell.get()), static_cast<const ndArray_tag*>(without_data.get())}) {
        EXPECT_EQ(matrix::get_ustring(array), u"");
        EXPECT_EQ(matrix::get_string(array), "");
        EXPECT_EQ(matrix::get_string(array, converter), "");
        EXPECT_EQ(matrix::get_wstring(array), L"");
        EXPECT_EQ(matrix::copy_string(buffer, 3, array), 0U);
        EXPECT_EQ(matrix::copy_string(buffer, 3, array, converter), 0U);
        EXPECT_EQ(matrix::copy_string(nullptr, 0, array), 0U);
        EXPECT_EQ(matrix::copy_wstring(wide, 3, array), 0U);
        EXPECT_EQ(matrix::get_destination_string_size(array), 0U);
        EXPECT_EQ(matrix::get_destination_string_size(array, converter), 0U);
        EXPECT_EQ(matrix::get_destination_wstring_size(array), 0U);
    }
    EXPECT_TRUE(matrix::get_ustring_array(without_data.get()).empty());
    EXPECT_TRUE(matrix::get_string_array(without_data.get()).empty());
    EXPECT_TRUE(matrix::get_wstring_array(without_data.get()).empty());
    EXPECT_STREQ(buffer, "###");
    EXPECT_STREQ(wide, L"###");
    without_data->set_dimensions(dims_list{0, 0});
}

TEST_F(Strings, OfMatricesAreRowsAndOfCellsElements) {
    const struct {
        array_ptr array;
        std::vector<std::string> bytes;
        std::vector<std::wstring> wide;
    } rows[] = {
        {arr("char 2x3", u"abcdef"), {"ace", "bdf"}, {L"ace", L"bdf"}},
        {arr("char 2x2", u"\u00E9a b"), {"\xC3\xA9 ", "ab"}, {L"\u00E9 ", L"ab"}},
        {arr("char 2x1", u"x "), {"x", " "}, {L"x", L" "}},
        {arr("char 2x1x2", u"abcd"), {}, {}},
        {arr("char 0x0"), {}, {}},
        {arr("char 3x0"), {}, {}},
        {arr("double", {1}), {}, {}},
        {nullptr, {}, {}},
        {arr("cell 2x2", arr("char", u"a"), arr("double", {1}), nullptr, arr("char 2x2", u"acbd")),
         {"a", "", "", "acbd"},
         {L"a", L"", L"", L"acbd"}},
        {arr("cell 0x0"), {}, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(matrix::get_string_array(row.array.get()), row.bytes);
        EXPECT_EQ(matrix::get_wstring_array(row.array.get()), row.wide);
        EXPECT_EQ(matrix::get_ustring_array(row.array.get()).size(), row.bytes.size());
    }
}

TEST_F(Strings, OfACallersEncoding) {
    const array_ptr text = arr("char", u"a\u3042");
    FromUTF16Converter converter("Shift_JIS");
    EXPECT_EQ(matrix::get_string(text.get(), converter), "a\x82\xA0");
    EXPECT_EQ(matrix::get_destination_string_size(text.get(), converter), 3U);
    char buffer[4] = "###";
    EXPECT_EQ(matrix::copy_string(buffer, 2, text.get(), converter), 2U);
    EXPECT_STREQ(buffer, "a\x82#");
    EXPECT_EQ(matrix::get_string(text.get()), "a\xE3\x81\x82") << "UTF-8 without a converter";
    const system_encoding system("gb18030");
    FromUTF16Converter systems(nullptr);
    EXPECT_EQ(matrix::get_string(text.get(), systems), "a\xA4\xA2");
}

// Others begin with a sequence of their own, which nothing needs.
TEST_F(Strings, OfNoUnitsHaveNoBytesInAnyEncoding) {
    const array_ptr nothing = arr("char 0x0");
    FromUTF16Converter converter("ISO-2022-KR");
    EXPECT_EQ(matrix::get_string(nothing.get(), converter), "");
    EXPECT_EQ(matrix::get_destination_string_size(nothing.get(), converter), 0U);
    EXPECT_EQ(matrix::get_string(arr("char", u"a").get(), converter), "\x1B$)Ca");
    EXPECT_EQ(matrix::get_string(nothing.get(), converter), "");
    const system_encoding system("ISO-2022-KR");
    EXPECT_EQ(own(api::ndArrayToByteChars(nothing.get()))->m_or_dims, 0U);
}

template <class Call>
std::string id_of(Call&& call) {
    try {
        call();
    } catch (const foundation::core::except::IMsgIDException& error) {
        return std::string(error.GetID());
    }
    return {};
}

TEST_F(Strings, OfNoEncodingAreRefused) {
    const array_ptr text = arr("char", u"text");
    FromUTF16Converter converter("no-such-encoding");
    char buffer[4];
    EXPECT_EQ(id_of([&] { matrix::get_string(text.get(), converter); }), "TARVEL:invalidInput");
    EXPECT_EQ(id_of([&] { matrix::copy_string(buffer, 4, text.get(), converter); }), "TARVEL:invalidInput");
    EXPECT_EQ(id_of([&] { matrix::get_destination_string_size(text.get(), converter); }),
              "TARVEL:invalidInput");
}

TEST_F(Strings, WithoutMemory) {
    const array_ptr matrix_of_text = arr("char 2x40", std::u16string(80, u'\u00E9'));
    const auto scenario = [&](const char* name, std::size_t (*length)(const ndArray_tag*)) {
        const std::size_t expected = length(matrix_of_text.get());
        EXPECT_GT(expected, 0U);
        const fault_report report = for_each_failing_alloc(name, [&](fault_run& run) {
            run.operand(matrix_of_text.get());
            run.act([&] { return length(matrix_of_text.get()) == expected; });
        });
        EXPECT_TRUE(report.passed && report.points > 0) << name;
    };
    scenario("string", [](const ndArray_tag* a) { return matrix::get_string(a).size(); });
    scenario("wide string", [](const ndArray_tag* a) { return matrix::get_wstring(a).size(); });
    scenario("UTF-16 string", [](const ndArray_tag* a) { return matrix::get_ustring(a).size(); });
    scenario("strings", [](const ndArray_tag* a) { return matrix::get_string_array(a).size(); });
    scenario("wide strings", [](const ndArray_tag* a) { return matrix::get_wstring_array(a).size(); });
    scenario("UTF-16 strings", [](const ndArray_tag* a) { return matrix::get_ustring_array(a).size(); });
}

// ---- errors of conversions

class internal_error
    : public foundation::core::except::Exception<foundation::core::except::IInternalException, std::exception,
                                                 void> {};

template <class Error>
[[noreturn]] void raise_text() {
    throw Error("some text");
}

template <class Error>
[[noreturn]] void raise_plain() {
    throw Error();
}

// What the dispatcher makes of an error: an identifier, or "as it is".
std::string translated(void (*raise)()) {
    try {
        matrix::internal::converting([&] { raise(); });
    } catch (const foundation::core::except::IMsgIDException& error) {
        return std::string(error.GetID());
    } catch (const std::exception&) {
        return "as it is";
    }
    return "nothing";
}

TEST(TextErrors, AreTranslatedByKind) {
    const struct {
        const char* what;
        void (*raise)();
        const char* id;
    } rows[] = {
        {"CvtSizeTooLarge", raise_text<fl::i18n::CvtSizeTooLarge>, "TARVEL:pmaxsize"},
        {"CtypeSizeTooLarge", raise_text<fl::i18n::CtypeSizeTooLarge>, "TARVEL:pmaxsize"},
        {"CvtInvalidCharacter", raise_text<fl::i18n::CvtInvalidCharacter>, "TARVEL:invalidInput"},
        {"CvtConversionFailure", raise_text<fl::i18n::CvtConversionFailure>, "TARVEL:invalidInput"},
        {"CtypeInvalidCharacter", raise_text<foundation::ustring::CtypeInvalidCharacter>,
         "TARVEL:invalidInput"},
        {"CtypeStrCompFailure", raise_text<fl::i18n::CtypeStrCompFailure>, "TARVEL:invalidInput"},
        {"internal error", raise_plain<internal_error>, "as it is"},
        {"bad_alloc", raise_plain<std::bad_alloc>, "as it is"},
        {"runtime_error", raise_text<std::runtime_error>, "as it is"},
    };
    for (const auto& row : rows) EXPECT_EQ(translated(row.raise), row.id) << row.what;
}

TEST(TextErrors, GoOnAsWhatTheyAre) {
    EXPECT_THROW(matrix::internal::converting([] { raise_plain<internal_error>(); }),
                 foundation::core::except::IInternalException);
    EXPECT_THROW(matrix::internal::converting([] { raise_plain<std::bad_alloc>(); }), std::bad_alloc);
    EXPECT_STREQ(fl::i18n::CvtSizeTooLarge("what it says").what(), "what it says");
    EXPECT_EQ(matrix::internal::converting([] { return 7; }), 7);
}

} // namespace
} // namespace test
