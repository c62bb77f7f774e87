// Text of addon functions in systems with other encodings than UTF-8: what Unicode has for an encoding goes there and back.
#include "api/text_probe.h"
#include "platform/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"

#include <nd/memory.hpp>
#include <nd/text.hpp>

#include <cstring>

namespace {

using matrix::array_ptr;
using test::arr;
using test::EqualsArray;

class system_encoding {
public:
    explicit system_encoding(const char* name) { foundation::test_hooks::set_system_encoding(name); }
    ~system_encoding() { foundation::test_hooks::set_system_encoding(nullptr); }
    system_encoding(const system_encoding&) = delete;
    system_encoding& operator=(const system_encoding&) = delete;
};

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

// Every character of the basic plane, as an addon function sends them round; UTF-8 by chance stays apart.
TEST_P(TextOfAddons, EveryCharacterOfTheEncodingReturns) {
    for (const char* const encoding : {"UTF-8", "Shift_JIS", "gb18030"}) {
        SCOPED_TRACE(encoding);
        const system_encoding system(encoding);
        std::size_t returned = 0;
        for (std::uint32_t first = 1; first < 0xD800; first += 8) {
            std::u16string units;
            for (std::uint32_t one = first; one < first + 8; ++one) units += static_cast<char16_t>(one);
            const array_ptr text = arr("char", units);
            const array_ptr back(api().round_trip(text.get()));
            const bool same = matrix::get_ustring(back.get()) == units;
            if (std::strcmp(encoding, "UTF-8") == 0) {
                ASSERT_TRUE(same) << first;
            }
            returned += same ? 1 : 0;
        }
        EXPECT_GT(returned, std::strcmp(encoding, "Shift_JIS") == 0 ? 100U : 5000U);
    }
}

TEST_P(TextOfAddons, WithoutMemory) {
    test::fault_options options;
    options.framed = true;
    for (const encoding_row& row : rows) {
        const system_encoding system(row.encoding);
        const array_ptr text = arr("char", row.text);
        array_ptr(api().round_trip(text.get())); // the converter is open from here on
        const test::fault_report report = test::for_each_failing_alloc(
            "round trip",
            [&](test::fault_run& run) {
                run.operand(text.get());
                run.act([&] { return api().round_trip(text.get()); });
            },
            options);
        EXPECT_TRUE(report.points > 0) << row.encoding;
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
