// Text of char arrays as C strings, std::string and bytes, the rows of char matrices, and the guards over C strings.
#include "matrix/process_state.hpp"
#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/instruction_sets.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/protected.hpp>
#include <nd/sizes.hpp>

#include <cstring>
#include <set>

namespace test {
namespace {

using matrix::array_ptr;

using CStrings = TextTest;

std::vector<array_ptr> not_char() {
    std::vector<array_ptr> arrays;
    arrays.push_back(nullptr);
    arrays.push_back(arr("double", {65}));
    arrays.push_back(arr("uint16 1x2", {65, 66}));
    arrays.push_back(arr("cell 1x1", arr("char", u"text")));
    arrays.push_back(struct_arr("1x1", {"a"}, arr("char", u"text")));
    return arrays;
}

struct text_row {
    const char* shape;
    std::u16string units;
    const char* bytes; ///< up to the first NUL, in UTF-8
};
const text_row texts[] = {
    {"char", u"text", "text"},
    {"char 0x0", u"", ""},
    {"char 1x0", u"", ""},
    {"char", u"caf\u00E9 \u4E2D", "caf\xC3\xA9 \xE4\xB8\xAD"},
    {"char", u"\U0001F600", "\xF0\x9F\x98\x80"},
    {"char 1x3", {u'a', 0, u'b'}, "a"},
    {"char 1x2", {0, u'b'}, ""},
    {"char 1x3",
     {u'a', 0xD800, u'b'},
     "a\xEF\xBF\xBD"
     "b"},
    {"char 2x2", u"acbd", "acbd"},
    {"char 4x1", u"abcd", "abcd"},
    {"char 1x2x2", u"abcd", "abcd"},
    {"char", u"trailing  ", "trailing  "},
};

TEST_F(CStrings, HoldTheTextUpToItsFirstNul) {
    for (const text_row& row : texts) {
        SCOPED_TRACE(row.bytes);
        for_each_variation(arr(row.shape, row.units), [&](array_ptr& array) {
            EXPECT_STREQ(own(api::ndArrayToString(array.get())).get(), row.bytes);
            EXPECT_STREQ(reinterpret_cast<char*>(own(api::ndArrayToString_UTF8(array.get())).get()),
                         row.bytes);
            EXPECT_STREQ(own(api::ndCreateCStrFromArray(array.get(), &api::ndMallocEx)).get(), row.bytes);
            const auto in_utf8 = own(api::ndCreateUTF8CStrFromArray(array.get(), &api::ndMallocEx));
            EXPECT_STREQ(reinterpret_cast<char*>(in_utf8.get()), row.bytes);
            const std::u16string up_to_nul(row.units.c_str());
            EXPECT_EQ(own(api::ndArrayToString_UTF16(array.get())).get(), up_to_nul);
            EXPECT_EQ(own(api::ndCreateUTF16CStrFromArray(array.get(), &api::ndMallocEx)).get(), up_to_nul);
            EXPECT_EQ(api::ndArrayToStdString(array.get()), row.bytes);
            EXPECT_EQ(api::ndArrayToUTF8StdString(array.get()), row.bytes);
        });
    }
}

TEST_F(CStrings, AreNotThereForWhatIsNotChar) {
    for (const array_ptr& array : not_char()) {
        EXPECT_EQ(api::ndArrayToString(array.get()), nullptr);
        EXPECT_EQ(api::ndArrayToString_UTF8(array.get()), nullptr);
        EXPECT_EQ(api::ndArrayToString_UTF16(array.get()), nullptr);
        EXPECT_EQ(api::ndCreateCStrFromArray(array.get(), &api::ndMallocEx), nullptr);
        EXPECT_EQ(api::ndCreateUTF8CStrFromArray(array.get(), &api::ndMallocEx), nullptr);
        EXPECT_EQ(api::ndCreateUTF16CStrFromArray(array.get(), &api::ndMallocEx), nullptr);
        EXPECT_EQ(api::ndArrayToStdString(array.get()), "");
        EXPECT_EQ(api::ndArrayToUTF8StdString(array.get()), "");
        EXPECT_EQ(api::ndArrayToByteChars(array.get()), nullptr);
        EXPECT_EQ(api::ndCharMatrixToStrings_UTF16(array.get()), nullptr);
        EXPECT_EQ(api::ndCharMatrixToStrings_UTF8(array.get()), nullptr);
        EXPECT_EQ(api::ndCreateUTF16CStrArrayFromMatrix(array.get(), &api::ndMallocEx, &api::ndFreeEx),
                  nullptr);
        EXPECT_EQ(Kprotected_ndString_helper::toString(array.get()), nullptr);
        EXPECT_EQ(Kprotected_ndStringUTF16_helper::toString(array.get()), nullptr);
    }
}

TEST_F(CStrings, AreInTheSystemsEncodingOrInUtf8) {
    const array_ptr text = arr("char", u"\u3042\u00E9\u4E2D");
    const struct {
        const char* encoding;
        const char* bytes;
    } rows[] = {
        {"gb18030", "\xA4\xA2\xA8\xA6\xD6\xD0"},
        {"ISO-8859-1", "\x1A\xE9\x1A"},
        {"UTF-8", "\xE3\x81\x82\xC3\xA9\xE4\xB8\xAD"},
    };
    const char* const in_utf8 = rows[2].bytes;
    for (const auto& row : rows) {
        const system_encoding system(row.encoding);
        EXPECT_STREQ(own(api::ndCreateCStrFromArray(text.get(), &api::ndMallocEx)).get(), row.bytes);
        EXPECT_EQ(api::ndArrayToStdString(text.get()), row.bytes);
        EXPECT_STREQ(own(api::ndArrayToString(text.get())).get(), in_utf8);
        EXPECT_EQ(api::ndArrayToUTF8StdString(text.get()), in_utf8);
    }
    const system_encoding system("Shift_JIS");
    const array_ptr japanese = arr("char", u"\u3042\u4E2Da");
    EXPECT_EQ(api::ndArrayToStdString(japanese.get()), "\x82\xA0\x92\x86"
                                                       "a");
}

// A NUL or another character at each place of a text that is ASCII otherwise.
TEST_F(CStrings, EndAtTheNulWhereverItIs) {
    for_each_instruction_set([] {
        for (std::size_t length = 0; length <= 70; ++length) {
            const std::u16string ascii = std::u16string(u"0123456789abcdef0123456789abcdef01234567"
                                                        u"89abcdef0123456789abcdef012345")
                                             .substr(0, length);
            const std::string bytes(ascii.begin(), ascii.end());
            const auto expect_text = [](const std::u16string& units, const std::string& expected) {
                const array_ptr text = arr("char", units);
                ASSERT_STREQ(own(api::ndArrayToString(text.get())).get(), expected.c_str());
                ASSERT_STREQ(own(api::ndCreateCStrFromArray(text.get(), &api::ndMallocEx)).get(),
                             expected.c_str());
            };
            expect_text(ascii, bytes);
            for (std::size_t at = 0; at < length; ++at) {
                std::u16string other = ascii;
                other[at] = u'\0';
                expect_text(other, bytes.substr(0, at));
                other[at] = u'\u00E9';
                expect_text(other, bytes.substr(0, at) + "\xC3\xA9" + bytes.substr(at + 1));
                other[at] = 0xD800;
                expect_text(other, bytes.substr(0, at) + "\xEF\xBF\xBD" + bytes.substr(at + 1));
            }
        }
    });
}

// Around what converters keep of a short text.
TEST_F(CStrings, OfAnyLength) {
    for (const char* const encoding : {"UTF-8", "gb18030", "UTF-16BE"}) {
        const system_encoding system(encoding);
        for (const std::size_t length :
             {1U, 340U, 341U, 342U, 511U, 512U, 513U, 1023U, 1024U, 1025U, 20000U}) {
            const std::u16string units(length, u'\u4E2D');
            const array_ptr text = arr("char", units);
            EXPECT_EQ(matrix::get_string(text.get()), api::ndArrayToUTF8StdString(text.get()));
            const std::string bytes = api::ndArrayToStdString(text.get());
            const auto c_string = own(api::ndCreateCStrFromArray(text.get(), &api::ndMallocEx));
            ASSERT_EQ(std::memcmp(c_string.get(), bytes.c_str(), bytes.size() + 1), 0);
            const array_ptr back(
                matrix::detail::NdCreateStringNCharsT_safe(bytes.data(), bytes.size(), nullptr));
            ASSERT_EQ(matrix::get_ustring(back.get()), units) << encoding << ' ' << length;
        }
    }
}

TEST_F(CStrings, AsBytesHaveTheShapeOfTheText) {
    const struct {
        const char* shape;
        std::u16string units;
        const char* expected_shape;
        std::vector<number> bytes;
    } rows[] = {
        {"char", u"ab", "uint8 1x2", {97, 98}},
        {"char", u"\u00E9", "uint8 1x2", {0xC3, 0xA9}},
        {"char 1x3", {u'a', 0, u'b'}, "uint8 1x3", {97, 0, 98}},
        {"char 2x1", u"ab", "uint8 2x1", {97, 98}},
        {"char 2x2", u"acb\u00E9", "uint8 5x1", {97, 99, 98, 0xC3, 0xA9}},
        {"char 1x2x2", u"abcd", "uint8 1x4", {97, 98, 99, 100}},
        {"char 0x0", u"", "uint8 0x1", {}},
        {"char 1x0", u"", "uint8 1x0", {}},
    };
    for (const auto& row : rows) {
        const array_ptr text = arr(row.shape, row.units);
        EXPECT_THAT(own(api::ndArrayToByteChars(text.get())),
                    EqualsArray(arr(row.expected_shape, row.bytes)));
    }
    const system_encoding system("Shift_JIS");
    EXPECT_THAT(own(api::ndArrayToByteChars(arr("char", u"\u3042").get())),
                EqualsArray(arr("uint8 1x2", {0x82, 0xA0})));
}

// Frees the rows; how many there were.
template <class Unit>
std::size_t released(Unit** rows) {
    if (rows == nullptr) return 0;
    std::size_t count = 0;
    for (; rows[count] != nullptr; ++count) api::ndFreeEx(rows[count]);
    api::ndFreeEx(rows);
    return count;
}

template <class Unit>
std::vector<std::basic_string<Unit>> taken(Unit** rows) {
    std::vector<std::basic_string<Unit>> strings;
    for (Unit** row = rows; *row != nullptr; ++row) {
        std::size_t length = 0;
        while ((*row)[length] != 0) ++length;
        strings.emplace_back(*row, length);
    }
    released(rows);
    return strings;
}

TEST_F(CStrings, OfRowsLeaveThePaddingBehind) {
    using strings = std::vector<std::u16string>;
    const struct {
        const char* shape;
        std::u16string units;
        strings expected;
    } rows[] = {
        {"char 2x2", {u'a', u'c', u'b', 0}, {u"ab", u"c"}},
        {"char 2x3", {u' ', u'a', u'b', u' ', u' ', 0}, {u" b", u"a"}},
        {"char 1x4", {u'a', u' ', 0, u' '}, {u"a"}},
        {"char 3x1", {u' ', 0, u'x'}, {u"", u"", u"x"}},
        {"char", u"\t\n", {u"\t\n"}},
        {"char 0x0", u"", {}},
        {"char 0x3", u"", {}},
        {"char 2x0", u"", {u"", u""}},
        {"char 2x1x2", u"acbd", {u"ab", u"cd"}},
        {"char 1x2x2", u"abcd", {u"abcd"}},
    };
    for (const auto& row : rows) {
        const array_ptr text = arr(row.shape, row.units);
        EXPECT_EQ(taken(api::ndCharMatrixToStrings_UTF16(text.get())), row.expected) << row.shape;
        std::vector<std::string> bytes;
        for (const auto& one : taken(api::ndCharMatrixToStrings_UTF8(text.get())))
            bytes.emplace_back(one.begin(), one.end());
        EXPECT_EQ(bytes, std::vector<std::string>([&] {
                      std::vector<std::string> narrow;
                      for (const auto& one : row.expected) narrow.emplace_back(one.begin(), one.end());
                      return narrow;
                  }()))
            << row.shape;
    }
    const array_ptr text = arr("char 2x2", u"\u00E9\u4E2D  ");
    const auto utf8_rows = taken(api::ndCharMatrixToStrings_UTF8(text.get()));
    EXPECT_EQ(utf8_rows.at(0), (std::basic_string<unsigned char>{0xC3, 0xA9}));
    EXPECT_EQ(utf8_rows.at(1), (std::basic_string<unsigned char>{0xE4, 0xB8, 0xAD}));
}

// A NUL inside a row stays, so does what is behind it.
TEST_F(CStrings, OfRowsKeepNulsInside) {
    char16_t** const rows = api::ndCharMatrixToStrings_UTF16(arr("char 1x4", {u'a', 0, u'b', u' '}).get());
    EXPECT_EQ(std::u16string(rows[0], 4), (std::u16string{u'a', 0, u'b', 0}));
    released(rows);
}

// There is no text in them, though they have rows.
TEST_F(CStrings, OfArraysWithoutData) {
    const array_ptr text = arr("char 0x0");
    text->set_dimensions(dims_list{2, 3});
    EXPECT_STREQ(own(api::ndArrayToString(text.get())).get(), "");
    EXPECT_EQ(own(api::ndArrayToString_UTF16(text.get())).get(), std::u16string());
    EXPECT_EQ(api::ndArrayToStdString(text.get()), "");
    EXPECT_THAT(own(api::ndArrayToByteChars(text.get())), EqualsArray(arr("uint8 0x1")));
    EXPECT_EQ(taken(api::ndCharMatrixToStrings_UTF16(text.get())), (std::vector<std::u16string>(2)));
    EXPECT_EQ(taken(api::ndCharMatrixToStrings_UTF8(text.get())).size(), 2U);
    text->set_dimensions(dims_list{0, 0});
}

TEST_F(CStrings, AsBytesStandOnTheArrayList) {
    const lists_on lists;
    EXPECT_EQ(own(api::ndArrayToByteChars(arr("char", u"x").get()))->scope, ndTEMPORARY_SCOPE);
}

// ---- memory

std::set<void*> given; ///< by the allocator below and not released
long left = 0;         ///< how many more it gives

void* give(std::size_t size) {
    if (left-- <= 0) return nullptr;
    return *given.insert(api::ndMallocEx(size)).first;
}
void release(void* block) {
    EXPECT_EQ(given.erase(block), 1U);
    api::ndFreeEx(block);
}

TEST_F(CStrings, TakeTheirBlocksFromTheAllocator) {
    const array_ptr text = arr("char 2x2", u"acbd");
    left = 100;
    release(api::ndCreateCStrFromArray(text.get(), &give));
    release(api::ndCreateUTF8CStrFromArray(text.get(), &give));
    release(api::ndCreateUTF16CStrFromArray(text.get(), &give));
    EXPECT_EQ(left, 97);
    char16_t** const rows = api::ndCreateUTF16CStrArrayFromMatrix(text.get(), &give, &release);
    EXPECT_EQ(given.size(), 3U);
    release(rows[0]);
    release(rows[1]);
    release(rows);
    EXPECT_TRUE(given.empty());
}

TEST_F(CStrings, GiveBackWhatTheyTookWhenTheAllocatorEnds) {
    const array_ptr text = arr("char 2x2", u"acbd");
    for_each_module_mode([&](int mode) {
        for (const long blocks : {0L, 1L, 2L}) {
            left = blocks;
            std::string id;
            try {
                EXPECT_EQ(api::ndCreateUTF16CStrArrayFromMatrix(text.get(), &give, &release), nullptr);
            } catch (const foundation::core::except::IUserException& error) {
                id = error.GetID();
            }
            EXPECT_EQ(id, mode == mode_exceptions ? "TARVEL:nomem" : "") << blocks;
            EXPECT_TRUE(given.empty()) << blocks;
        }
    });
}

TEST_F(CStrings, WithoutMemory) {
    const array_ptr text = arr("char 2x2", u"\u00E9cbd");
    fault_options options;
    options.framed = true;
    const auto scenario = [&](const char* name, bool (*made)(const ndArray_tag*)) {
        EXPECT_TRUE(made(text.get()));
        const fault_report report = for_each_failing_alloc(
            name,
            [&](fault_run& run) {
                run.operand(text.get());
                run.act([&] { return made(text.get()); });
            },
            options);
        EXPECT_TRUE(report.passed && report.points > 0) << name;
    };
    for (const char* const encoding : {"UTF-8", "gb18030"}) {
        const system_encoding system(encoding);
        scenario("system string", [](const ndArray_tag* a) {
            return own(api::ndCreateCStrFromArray(a, &api::ndMallocEx)) != nullptr;
        });
        scenario("UTF-8 string",
                 [](const ndArray_tag* a) { return own(api::ndArrayToString(a)) != nullptr; });
        scenario("UTF-16 string",
                 [](const ndArray_tag* a) { return own(api::ndArrayToString_UTF16(a)) != nullptr; });
        scenario("bytes", [](const ndArray_tag* a) { return own(api::ndArrayToByteChars(a)) != nullptr; });
        scenario("UTF-16 rows",
                 [](const ndArray_tag* a) { return released(api::ndCharMatrixToStrings_UTF16(a)) == 2; });
        scenario("UTF-8 rows",
                 [](const ndArray_tag* a) { return released(api::ndCharMatrixToStrings_UTF8(a)) == 2; });
    }
}

TEST_F(CStrings, OfAsciiWithoutMemory) {
    const array_ptr subjects[] = {arr("char", u"x"), arr("char", std::u16string(100, u'x')),
                                  arr("char 1x3", {u'a', 0, u'b'})};
    fault_options options;
    options.framed = true;
    options.second_within = 2;
    for (const array_ptr& text : subjects) {
        const fault_report report = for_each_failing_alloc(
            "ASCII string",
            [&](fault_run& run) {
                run.operand(text.get());
                run.act([&] { return own(api::ndArrayToString(text.get())) != nullptr; });
            },
            options);
        EXPECT_TRUE(report.passed && report.points > 0);
    }
}

TEST_F(CStrings, OfStandardTypeWithoutMemory) {
    const array_ptr text = arr("char", std::u16string(100, u'x'));
    for_each_module_mode([&](int mode) {
        std::string made = "unset";
        bool raised = false;
        try {
            const injection armed({1});
            made = api::ndArrayToStdString(text.get());
        } catch (const std::bad_alloc&) {
            raised = true;
        }
        EXPECT_EQ(raised, mode == mode_exceptions);
        EXPECT_EQ(made, raised ? "unset" : "");
    });
}

// The element count decides, before anything is read.
TEST_F(CStrings, OfTooManyElementsAreRefused) {
    const array_ptr text = arr("char 0x0");
    for_each_module_mode([&](int mode) {
        for (const dims_list& dims :
             {dims_list{1, std::size_t{1} << 31}, dims_list{std::size_t{1} << 20, 2048}}) {
            text->set_dimensions(dims);
            const auto refusal = [&](auto call) {
                try {
                    EXPECT_FALSE(call());
                    return std::string();
                } catch (const matrix::internal::SizeLimitExceeded& error) {
                    return std::get<std::string>(error.GetMsgIDObj().arguments().front());
                }
            };
            const std::string shape = std::to_string(dims[0]) + "x" + std::to_string(dims[1]);
            const std::string expected = mode == mode_exceptions ? shape : "";
            EXPECT_EQ(refusal([&] { return own(api::ndArrayToString(text.get())) != nullptr; }), expected);
            EXPECT_EQ(refusal([&] { return own(api::ndArrayToString_UTF16(text.get())) != nullptr; }),
                      expected);
            EXPECT_EQ(refusal([&] {
                          return own(api::ndCreateCStrFromArray(text.get(), &api::ndMallocEx)) != nullptr;
                      }),
                      expected);
            EXPECT_EQ(refusal([&] { return !api::ndArrayToStdString(text.get()).empty(); }), expected);
            EXPECT_EQ(refusal([&] { return released(api::ndCharMatrixToStrings_UTF16(text.get())) != 0; }),
                      expected);
            EXPECT_EQ(refusal([&] { return released(api::ndCharMatrixToStrings_UTF8(text.get())) != 0; }),
                      expected);
        }
        text->set_dimensions(
            dims_list{1, (std::size_t{1} << 31) - 1}); // as many are counted, though there are none
        EXPECT_STREQ(own(api::ndArrayToString(text.get())).get(), "");
        EXPECT_EQ(released(api::ndCharMatrixToStrings_UTF16(text.get())), 1U);
        text->set_dimensions(dims_list{0, 0});
    });
}

TEST_F(CStrings, OfTooManyRowsAreRefused) {
    const module_mode_scope mode(mode_exceptions);
    const array_ptr text = arr("char 0x0");
    const auto id = [&](auto call) {
        try {
            call(text.get());
        } catch (const foundation::core::except::IUserException& error) {
            return std::string(error.GetID());
        }
        return std::string();
    };
    left = 0; // the allocator isn't asked: it would be for a table of any other number of rows
    const auto by_allocator = [](const ndArray_tag* array) {
        return api::ndCreateUTF16CStrArrayFromMatrix(array, &give, &release);
    };
    for (const std::size_t rows : {std::size_t{1} << 46, SIZE_MAX / 8, SIZE_MAX - 1, SIZE_MAX}) {
        text->set_dimensions(dims_list{rows, 0});
        EXPECT_EQ(id(api::ndCharMatrixToStrings_UTF16), "TARVEL:pmaxsize") << rows;
        EXPECT_EQ(id(api::ndCharMatrixToStrings_UTF8), "TARVEL:pmaxsize") << rows;
        EXPECT_EQ(id(by_allocator), "TARVEL:pmaxsize") << rows;
    }
    const size_limit_scope limit(std::uint64_t{1} << 20, 10);
    text->set_dimensions(dims_list{std::size_t{1} << 17, 0});
    EXPECT_EQ(id(api::ndCharMatrixToStrings_UTF16), "TARVEL:array:SizeLimitExceeded");
    EXPECT_EQ(id(api::ndCharMatrixToStrings_UTF8), "TARVEL:array:SizeLimitExceeded");
    text->set_dimensions(dims_list{0, 0});
}

TEST_F(CStrings, OfNoEncodingAreRefused) {
    const array_ptr text = arr("char", u"text");
    const system_encoding system("no-such-encoding");
    for_each_module_mode([&](int mode) {
        const auto id = [&](auto call) {
            try {
                EXPECT_FALSE(call());
            } catch (const foundation::core::except::IUserException& error) {
                return std::string(error.GetID());
            }
            return std::string();
        };
        const std::string expected = mode == mode_exceptions ? "TARVEL:invalidInput" : "";
        EXPECT_EQ(
            id([&] { return own(api::ndCreateCStrFromArray(text.get(), &api::ndMallocEx)) != nullptr; }),
            expected);
        EXPECT_EQ(id([&] { return !api::ndArrayToStdString(text.get()).empty(); }), expected);
        EXPECT_EQ(id([&] { return own(api::ndArrayToByteChars(text.get())) != nullptr; }), expected);
        EXPECT_STREQ(own(api::ndArrayToString(text.get())).get(), "text");
    });
}

// ---- guards

TEST_F(CStrings, AreHeldByGuards) {
    using narrow_guard = Kprotected_cptr<char, Kprotected_ndString_helper>;
    using wide_guard = Kprotected_cptr<char16_t, Kprotected_ndStringUTF16_helper>;
    const array_ptr text = arr("char", u"caf\u00E9");
    const narrow_guard narrow(Kprotected_ndString_helper::toString(text.get()), true);
    const narrow_guard narrow_copy(narrow); // NOLINT: the copy is what is tested
    EXPECT_STREQ(narrow.get(), "caf\xC3\xA9");
    EXPECT_STREQ(narrow_copy.get(), "caf\xC3\xA9");
    EXPECT_NE(narrow.get(), narrow_copy.get());
    const wide_guard wide(Kprotected_ndStringUTF16_helper::toString(text.get()), true);
    const wide_guard wide_copy(wide); // NOLINT: the copy is what is tested
    EXPECT_EQ(std::u16string(wide.get()), u"caf\u00E9");
    EXPECT_EQ(std::u16string(wide_copy.get()), u"caf\u00E9");
    EXPECT_NE(wide.get(), wide_copy.get());
    EXPECT_EQ(Kprotected_ndString_helper::copy(nullptr), nullptr);
    EXPECT_EQ(Kprotected_ndStringUTF16_helper::copy(nullptr), nullptr);
    Kprotected_ndString_helper::free(nullptr);
    Kprotected_ndStringUTF16_helper::free(nullptr);
}

TEST_F(CStrings, AreCopiedBySystemsEncoding) {
    const system_encoding system("Shift_JIS");
    const array_ptr text = arr("char", u"\u3042");
    const auto held = own(Kprotected_ndString_helper::toString(text.get()));
    EXPECT_STREQ(held.get(), "\x82\xA0");
}

TEST_F(CStrings, OfGuardsWithoutMemory) {
    const injection armed({1, fault_plan::follow_up::for_ever});
    EXPECT_THROW(Kprotected_ndString_helper::copy("text"), std::bad_alloc);
    EXPECT_THROW(Kprotected_ndStringUTF16_helper::copy(u"text"), std::bad_alloc);
}

} // namespace
} // namespace test
