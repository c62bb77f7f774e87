// Text of addon functions in systems with other encodings than UTF-8: what Unicode has for an encoding goes there and back.
#include "api/text_probe.h"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/system_encoding.hpp"

#include <nd/memory.hpp>
#include <nd/text.hpp>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace {

using matrix::array_ptr;
using test::arr;
using test::EqualsArray;
using test::system_encoding;

class TextOfAddons : public test::NdTest, public testing::WithParamInterface<const text_probe*> {
protected:
    const text_probe& api() const { return *GetParam(); }
};

struct encoding_row {
    const char* encoding;
    const char* bytes;
    const char16_t* text;
};
// The second gb18030 text has five characters outside ASCII.
const encoding_row rows[] = {
    {"UTF-8", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xC3\xA9", u"\u65E5\u672C\u8A9E \u00E9"},
    {"Shift_JIS", "\x93\xFA\x96\x7B\x8C\xEA \xB1\xB2", u"\u65E5\u672C\u8A9E \uFF71\uFF72"},
    {"Shift_JIS", "ASCII only", u"ASCII only"},
    {"gb18030", "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
    {"gb18030", "\xD6\xD0\xCE\xC4\xD6\xD0\xCE\xC4\x81\x30\x84\x36", u"\u4E2D\u6587\u4E2D\u6587\u00A5"},
    {"gb18030", "\x94\x39\xFC\x36", u"\U0001F600"},
};

TEST_P(TextOfAddons, GoesInAndOutInTheSystemsEncoding) {
    for (const encoding_row& row : rows) {
        SCOPED_TRACE(row.encoding);
        const system_encoding system(row.encoding);
        const array_ptr text(api().string(row.bytes));
        EXPECT_THAT(text, EqualsArray(arr("char", row.text)));
        char* const bytes = api().to_string(text.get());
        EXPECT_STREQ(bytes, row.bytes);
        api().free(bytes);
        char buffer[64];
        EXPECT_EQ(api().get_string(text.get(), buffer, sizeof buffer), 0);
        EXPECT_STREQ(buffer, row.bytes);
        EXPECT_THAT(array_ptr(api().round_trip(text.get())), EqualsArray(text.get()));
    }
}

TEST_P(TextOfAddons, IsUtf8WhereItIsAskedFor) {
    for (const encoding_row& row : rows) {
        const system_encoding system(row.encoding);
        const array_ptr text = arr("char", row.text);
        unsigned char* const bytes = api().to_utf8(text.get());
        EXPECT_EQ(reinterpret_cast<char*>(bytes), matrix::get_string(text.get()));
        api().free(bytes);
    }
}

// The bytes of a character and the character of these bytes, by ICU; empty where the encoding lacks it.
std::string bytes_of(UConverter* converter, char16_t character) {
    char bytes[16];
    char16_t back[16];
    UErrorCode status = U_ZERO_ERROR;
    const int size = ucnv_fromUChars(converter, bytes, sizeof bytes, &character, 1, &status);
    const int length = ucnv_toUChars(converter, back, std::size(back), bytes, size, &status);
    return length == 1 && back[0] == character ? std::string(bytes, static_cast<std::size_t>(size)) : "";
}

// Pairs of bytes that are read as UTF-8 wherever they come: below U+00C0, and the four characters that are believed.
bool is_believed_utf8(const std::string& bytes) {
    constexpr std::string_view believed[] = {"\xC3\x97", "\xCE\x94", "\xCE\xB8", "\xCE\xBC"};
    if (bytes.size() != 2) return false;
    const auto trail = static_cast<unsigned char>(bytes[1]);
    return (bytes[0] == '\xC2' && trail >= 0x80 && trail < 0xC0) ||
           std::find(std::begin(believed), std::end(believed), bytes) != std::end(believed);
}

// Control characters that an encoding puts elsewhere among the bytes of ASCII, as Shift_JIS does with three of them: ASCII is read as
// ASCII.
bool is_displaced_ascii(char16_t character, const std::string& bytes) {
    const auto byte = static_cast<unsigned char>(bytes[0]);
    return byte < 0x80 && byte != character;
}

// Each character that the encoding has, as an addon function sends it round.
TEST_P(TextOfAddons, EveryCharacterOfTheEncodingReturns) {
    const struct {
        const char* encoding;
        std::size_t at_least;
    } systems[] = {{"UTF-8", 50000}, {"Shift_JIS", 7000}, {"gb18030", 50000}};
    for (const auto& one : systems) {
        const system_encoding system(one.encoding);
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<UConverter, void (*)(UConverter*)> icu(ucnv_open(one.encoding, &status),
                                                                     ucnv_close);
        const bool is_utf8 = std::strcmp(one.encoding, "UTF-8") == 0;
        std::size_t returned = 0;
        for (char16_t character = 1; character < 0xD800; ++character) {
            const std::string bytes = bytes_of(icu.get(), character);
            if (bytes.empty() || is_displaced_ascii(character, bytes)) continue;
            if (!is_utf8 && is_believed_utf8(bytes)) continue;
            const array_ptr text = arr("char", std::u16string{character});
            const array_ptr back(api().round_trip(text.get()));
            ASSERT_EQ(matrix::get_ustring(back.get()), std::u16string{character}) << one.encoding;
            ++returned;
        }
        EXPECT_GE(returned, one.at_least) << one.encoding;
    }
}

TEST_P(TextOfAddons, WithoutMemory) {
    test::fault_options options;
    options.framed = true;
    for (const encoding_row& row : rows) {
        const system_encoding system(row.encoding);
        const array_ptr text(api().string(row.bytes)); // the converter is open from here on
        const test::fault_report strings_in = test::for_each_failing_alloc(
            "string", [&](test::fault_run& run) { run.act([&] { return api().string(row.bytes); }); },
            options);
        EXPECT_TRUE(strings_in.passed && strings_in.points > 0) << row.encoding;
        const test::fault_report strings_out = test::for_each_failing_alloc(
            "managed string",
            [&](test::fault_run& run) {
                run.operand(text.get());
                run.act([&] {
                    char* const bytes = api().to_string(text.get());
                    api().free(bytes);
                    return bytes != nullptr;
                });
            },
            options);
        EXPECT_TRUE(strings_out.passed && strings_out.points > 0) << row.encoding;
        const char* strings[] = {row.bytes, "x"};
        const test::fault_report matrices = test::for_each_failing_alloc(
            "char matrix",
            [&](test::fault_run& run) { run.act([&] { return api().char_matrix(2, strings); }); }, options);
        EXPECT_TRUE(matrices.passed && matrices.points > 0) << row.encoding;
    }
}

INSTANTIATE_TEST_SUITE_P(Api, TextOfAddons,
                         testing::Values(&text_probe_700, &text_probe_730, &text_probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

} // namespace
