// Text of each generation, through C code that was compiled for it.
#include "api/mode.hpp"
#include "api/text_probe.h"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/memory.hpp>
#include <nd/text.hpp>

#include <climits>

namespace {

namespace inside = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims = std::vector<std::size_t>;

class EachGenerationsText : public testing::TestWithParam<const text_probe*> {
protected:
    EachGenerationsText() { matrix::pushAllocListContext(); }
    ~EachGenerationsText() override { matrix::popAllocListContext(); }

    const text_probe& api() const { return *GetParam(); }

    array_ptr own(ndArray_tag* array) const {
        EXPECT_NE(array, nullptr);
        return array_ptr(array);
    }

    static dims shape_of(const array_ptr& array) {
        const std::size_t* const sizes = inside::ndGetDimensions(array.get());
        return {sizes, sizes + inside::ndGetNumberOfDimensions(array.get())};
    }
};

// The oldest generation has sizes with a sign.
class TextOfSignedSizes : public EachGenerationsText {};

TEST_P(EachGenerationsText, MakesArraysOfZeroUnits) {
    const long long sizes[] = {2, 1, 3};
    const array_ptr solid = own(api().char_array(3, sizes));
    EXPECT_TRUE(inside::ndIsChar(solid.get()));
    EXPECT_EQ(shape_of(solid), (dims{2, 1, 3}));
    EXPECT_EQ(matrix::get_ustring(solid.get()), std::u16string(6, u'\0'));
    EXPECT_EQ(shape_of(own(api().char_array(0, nullptr))), (dims{0, 0}));
}

TEST_P(EachGenerationsText, MakesRowsOfText) {
    EXPECT_EQ(matrix::get_ustring(own(api().string("caf\xC3\xA9 \xF0\x9F\x98\x80")).get()),
              u"caf\u00E9 \U0001F600");
    EXPECT_EQ(matrix::get_ustring(own(api().string_of_n("a\0bcd", 3)).get()), std::u16string(u"a\0b", 3));
    EXPECT_EQ(shape_of(own(api().string("text"))), (dims{1, 4}));
    EXPECT_EQ(shape_of(own(api().string(""))), (dims{0, 0}));
    EXPECT_EQ(shape_of(own(api().string_of_n("text", 0))), (dims{0, 0}));
}

TEST_P(EachGenerationsText, MakesMatricesOfStrings) {
    const char* strings[] = {"ab", "c", "\xC3\xA9"};
    const array_ptr made = own(api().char_matrix(3, strings));
    EXPECT_EQ(shape_of(made), (dims{3, 2}));
    EXPECT_EQ(matrix::get_ustring(made.get()), (std::u16string{u'a', u'c', u'\u00E9', u'b', 0, 0}));
    EXPECT_EQ(shape_of(own(api().char_matrix(0, strings))), (dims{0, 0}));
}

TEST_P(EachGenerationsText, GivesTextInManagedBlocks) {
    const array_ptr text = own(api().string("caf\xC3\xA9\n\xE4\xB8\xAD\xE6\x96\x87"));
    char* const bytes = api().to_string(text.get());
    unsigned char* const in_utf8 = api().to_utf8(text.get());
    char16_t* const units = api().to_utf16(text.get());
    EXPECT_STREQ(bytes, "caf\xC3\xA9\n\xE4\xB8\xAD\xE6\x96\x87");
    EXPECT_STREQ(reinterpret_cast<char*>(in_utf8), bytes);
    EXPECT_EQ(std::u16string(units), u"caf\u00E9\n\u4E2D\u6587");
    EXPECT_EQ(matrix::isAllocListContextEmpty(), !test::errors_are_exceptions());
    for (void* const block :
         {static_cast<void*>(bytes), static_cast<void*>(in_utf8), static_cast<void*>(units)})
        api().free(block);
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
    EXPECT_EQ(api().longest_line(text.get()), 6U);
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
}

TEST_P(EachGenerationsText, FillsBuffers) {
    const array_ptr text = own(api().string("text"));
    const struct {
        long long size;
        int string_status;
        std::string string_bytes;
        int chars_status;
        std::string chars_bytes;
    } rows[] = {
        {0, 0, "######", 0, "######"},
        {1, 1, std::string("\0#####", 6), 1, "t#####"},
        {4, 1, std::string("tex\0##", 6), 0, "text##"},
        {5, 0, std::string("text\0#", 6), 0, "text##"},
        {6, 0, std::string("text\0#", 6), 0, "text##"},
    };
    for (const auto& row : rows) {
        std::string buffer(6, '#');
        EXPECT_EQ(api().get_string(text.get(), buffer.data(), row.size), row.string_status) << row.size;
        EXPECT_EQ(buffer, row.string_bytes) << row.size;
        buffer.assign(6, '#');
        EXPECT_EQ(api().get_chars(text.get(), buffer.data(), row.size), row.chars_status) << row.size;
        EXPECT_EQ(buffer, row.chars_bytes) << row.size;
    }
    EXPECT_EQ(api().get_string(text.get(), nullptr, 5), 0);
    EXPECT_EQ(api().get_string(nullptr, nullptr, 5), 0);
    char buffer[2];
    EXPECT_EQ(api().get_string(nullptr, buffer, 2), 1);
}

TEST_P(EachGenerationsText, RefusesTextThatIsTooLong) {
    test::expect_refused([&] { return api().string_of_n("x", 0x40000000); },
                         static_cast<ndArray_tag*>(nullptr), "TARVEL:pmaxsize");
}

TEST_P(TextOfSignedSizes, RefusesNegativeSizes) {
    constexpr ndArray_tag* null = nullptr;
    const std::string id = "TARVEL:array:SizeLimitExceeded";
    const array_ptr text = own(api().string("text"));
    char buffer[8] = "#";
    const long long sizes[] = {-1, 2};
    for (const long long size : {-1LL, static_cast<long long>(INT_MIN)}) {
        test::expect_refused([&] { return api().string_of_n("x", size); }, null, id);
        test::expect_refused([&] { return api().char_matrix(size, nullptr); }, null, id);
        test::expect_refused([&] { return api().get_string(text.get(), buffer, size); }, 1, id);
        test::expect_refused([&] { return api().get_chars(text.get(), buffer, size); }, 1, id);
    }
    test::expect_refused([&] { return api().char_array(2, sizes); }, null, id);
    EXPECT_STREQ(buffer, "#");
}

std::string name_of_generation(const testing::TestParamInfo<const text_probe*>& instance) {
    return std::to_string(instance.param->api);
}

INSTANTIATE_TEST_SUITE_P(Api, EachGenerationsText,
                         testing::Values(&text_probe_700, &text_probe_730, &text_probe_800),
                         name_of_generation);
INSTANTIATE_TEST_SUITE_P(Api, TextOfSignedSizes, testing::Values(&text_probe_700), name_of_generation);

} // namespace
