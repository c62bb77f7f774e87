// How bytes without the name of an encoding are read: what the environment says, and UTF-8 by chance.
#include "matrix/text_policy.hpp"

#include "matrix/text_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"

#include <atomic>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

namespace test {
namespace {

using matrix::array_ptr;

using TextPolicy = TextTest;

std::u16string read(const std::string& bytes) {
    const array_ptr made(api::ndCreateString(bytes.c_str()));
    return matrix::get_ustring(made.get());
}

TEST_F(TextPolicy, DefaultEncodingByNumber) {
    const struct {
        const char* value;
        bool utf8_is_tried;
    } rows[] = {
        {"0", true},     {"1", false},          {"2", true},    {"3", false},
        {"0x11", false}, {"0x10", true},        {"011", false}, {"010", true},
        {"", true},      {"yes", true},         {" 1", false},  {"1x", false},
        {"-1", false},   {"4294967297", false}, {"1e0", false}, {"99999999999999999999", false},
    };
    for (const auto& row : rows) {
        const text_variable variable("KV_DISABLE_UTF8_API", row.value);
        const char* const encoding = matrix::internal::default_text_encoding();
        EXPECT_EQ(encoding == nullptr, !row.utf8_is_tried) << row.value;
        if (encoding != nullptr) {
            EXPECT_STREQ(encoding, "auto");
        }
    }
    EXPECT_STREQ(matrix::internal::default_text_encoding(), "auto") << "unset";
}

TEST_F(TextPolicy, SystemsEncodingAloneWhereUtf8IsOff) {
    const text_variable variable("KV_DISABLE_UTF8_API", "1");
    const system_encoding system("ISO-8859-1");
    EXPECT_EQ(read("\xC3\xA9"), u"\u00C3\u00A9");
    EXPECT_EQ(read("plain"), u"plain");
    EXPECT_THAT(own(api::ndCreateString_UTF8(utf8("\xC3\xA9"))), EqualsArray(arr("char", u"\u00E9")));
}

TEST_F(TextPolicy, IsReadOnce) {
    const text_variable variable("KV_DISABLE_UTF8_API", "1");
    EXPECT_EQ(matrix::internal::default_text_encoding(), nullptr);
    const environment_variable later("KV_DISABLE_UTF8_API", "0");
    EXPECT_EQ(matrix::internal::default_text_encoding(), nullptr);
}

// As when the library has just been loaded, in a Chinese system and with exceptions too long for a string without a block.
class AtFirstUse : public TextTest {
protected:
    AtFirstUse() { forget(); }
    ~AtFirstUse() override {
        locale_.reset();
        exceptions_.reset();
        forget();
        matrix::internal::default_text_encoding(); // known again, as it is to other tests
    }

    static void forget() {
        foundation::test_hooks::set_system_encoding(nullptr);
        matrix::internal::test_hooks::reset_text_policy();
    }

private:
    std::optional<environment_variable> locale_{std::in_place, "LC_ALL", "zh_CN.GB18030"};
    std::optional<environment_variable> exceptions_{std::in_place, "KV_UTF8_ALIAS_EXCEPTIONS",
                                                    "0000000000000000000000000000000000000351"};
};

TEST_F(AtFirstUse, PolicyAndEncodingAreReadByManyThreadsAtOnce) {
    for (int round = 0; round < 20; ++round) {
        forget();
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        std::vector<std::u16string> texts(8);
        for (auto& text : texts)
            threads.emplace_back([&] {
                while (!go) std::this_thread::yield();
                text = read("\xC3\xA9") + read("\xC3\xA8");
            });
        go = true;
        for (auto& thread : threads) thread.join();
        for (const auto& text : texts) EXPECT_EQ(text, u"\u00E9\u732B");
    }
}

// On a thread of its own, which has no converter yet, and without what the process has read.
TEST_F(AtFirstUse, WithoutMemory) {
    const array_ptr text = arr("char", u"\u4E2D");
    const struct {
        const char* name;
        std::function<ndArray_tag*()> make;
    } rows[] = {
        {"ASCII", [] { return api::ndCreateString("text"); }},
        {"believed UTF-8", [] { return api::ndCreateString("\xC3\xA9"); }},
        {"two bytes of the system's", [] { return api::ndCreateString("\xC3\xA8"); }},
        {"a length", [] { return api::ndCreateStringFromNChars("\xFF", 1); }},
        {"a matrix",
         [] {
             const char* strings[] = {"text"};
             return api::ndCreateCharMatrixFromStrings(1, strings);
         }},
        {"bytes", [&] { return api::ndArrayToByteChars(text.get()); }},
    };
    fault_options options;
    options.framed = true;
    for (const auto& row : rows) {
        const fault_report report = for_each_failing_alloc(
            row.name,
            [&](fault_run& run) {
                std::thread([&] { run.act(row.make); }).join();
                forget();
            },
            options);
        EXPECT_TRUE(report.passed) << row.name;
        EXPECT_GE(report.points, 3) << row.name;
    }
}

// Two bytes that are UTF-8 by chance are the system's where that is likely. EUC-KR has a name of ICU's own.
TEST_F(TextPolicy, TwoBytesAreTheSystemsInSomeEncodings) {
    const struct {
        const char* encoding;
        const char* bytes;
        const char16_t* text;
    } rows[] = {
        {"gb18030", "\xC3\xA9", u"\u8305"},
        {"GBK", "\xC3\xA9", u"\u8305"},
        {"windows-949", "\xC3\xA9", u"\uCC55"},
        {"ibm-970_P110_P110-2006_U2", "\xC3\xA9", u"\uCC55"},
        {"GB18030", "\xC3\xA9", u"\u00E9"}, // another spelling
        {"gbk", "\xC3\xA9", u"\u00E9"},
        {"EUC-KR", "\xC3\xA9", u"\u00E9"},
        {"windows-936-2000", "\xC3\xA9", u"\u00E9"},
        {"ibm-970", "\xC3\xA9", u"\u00E9"},
        {"Shift_JIS", "\xC3\xA9", u"\u00E9"},
        {"UTF-8", "\xC3\xA9", u"\u00E9"},
    };
    for (const auto& row : rows) {
        const system_encoding system(row.encoding);
        EXPECT_EQ(read(row.bytes), row.text) << row.encoding;
    }
}

TEST_F(TextPolicy, WhichCharactersAreBelieved) {
    const system_encoding system("gb18030");
    const struct {
        const char* what;
        std::u16string text;
        bool believed;
    } rows[] = {
        {"ASCII", u"abc", true},
        {"the sign of multiplication", u"3\u00D7\u0034", true},
        {"Delta", u"\u0394", true},
        {"theta", u"\u03B8", true},
        {"mu", u"\u03BC", true},
        {"all four", u"\u00D7\u0394\u03B8\u03BC", true},
        {"e acute", u"\u00E9", false},
        {"micro sign, below the range", u"\u00B5", true},
        {"the last below the range", u"\u00BF", true},
        {"the first of the range", u"\u00C0", false},
        {"the last of two bytes", u"\u07FF", false},
        {"the first of three bytes", u"\u0800", true},
        {"Chinese", u"\u4E2D\u6587", true},
        {"one that isn't, behind one that is", u"\u03BC\u4E2D\u00E9", false},
        {"four, one of two bytes", u"\u4E2D\u4E2D\u4E2D\u00E9", false},
        {"five of two bytes", u"\u00E9\u00E9\u00E9\u00E9\u00E9", true},
        {"five, one of two bytes", u"\u4E2D\u00E9\u4E2D\u4E2D\u4E2D", true},
        {"four far apart", u"a\u4E2Db\u4E2Dc\u4E2Dd\u00E9", false},
        {"a pair of surrogates counts twice", u"\U0001F600\u4E2D\u00E9", false},
        {"two pairs and one more", u"\U0001F600\U0001F600\u00E9", true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(matrix::internal::is_system_text_in_disguise(row.text), !row.believed) << row.what;
        const array_ptr units(api::ndCreateString_UTF16(row.text.c_str()));
        const auto bytes = own(api::ndArrayToString(units.get()));
        EXPECT_EQ(read(bytes.get()) == row.text, row.believed) << row.what;
        EXPECT_EQ(matrix::get_ustring(own(api::ndCreateString_UTF8(utf8(bytes.get()))).get()), row.text)
            << row.what << ", where UTF-8 is named";
    }
}

// Too long for the stack: the same answer.
TEST_F(TextPolicy, LongTextsToo) {
    const system_encoding system("gb18030");
    const std::string ascii(5000, 'x');
    EXPECT_EQ(read(ascii + "\xC3\xA9"), std::u16string(5000, u'x') + u"\u8305");
    EXPECT_EQ(read(ascii + "\xC3\x97"), std::u16string(5000, u'x') + u"\u00D7");
    EXPECT_EQ(read(ascii), std::u16string(5000, u'x'));
}

TEST_F(TextPolicy, ListOfExceptions) {
    const system_encoding system("gb18030");
    const struct {
        const char* list;
        const char16_t* believed;
        const char16_t* not_believed;
    } rows[] = {
        {"233", u"\u00E9\u00D7", u"\u00E8"},
        {"0xE9", u"\u00E9", u"\u00E8"},
        {"0351", u"\u00E9", u"\u00E8"},
        {"233 232,231;230:229", u"\u00E9\u00E8\u00E7\u00E6", u"\u00E4"},
        {",;: 233 ,, ", u"\u00E9", u"\u00E8"},
        {"", u"\u00D7", u"\u00E9"},
        {"e9", u"\u00D7", u"\u00E9"},
        {"-1 99999999999999999999 2048 65769", u"\u00D7", u"\u00E9"},
        {"233x", u"\u00E9", u"\u00E8"},
        {"2047", u"\u07FF", u"\u07FE"},
    };
    for (const auto& row : rows) {
        const text_variable variable("KV_UTF8_ALIAS_EXCEPTIONS", row.list);
        EXPECT_FALSE(matrix::internal::is_system_text_in_disguise(row.believed)) << row.list;
        EXPECT_TRUE(matrix::internal::is_system_text_in_disguise(row.not_believed)) << row.list;
    }
}

TEST_F(TextPolicy, CheckIsOffWhereTheVariableIsSet) {
    const system_encoding system("gb18030");
    for (const char* const value : {"1", "0", ""}) {
        const text_variable variable("KV_UTF8_ALIAS_DISABLE_CHECK", value);
        EXPECT_EQ(read("\xC3\xA9"), u"\u00E9") << value;
    }
    EXPECT_EQ(read("\xC3\xA9"), u"\u8305") << "unset";
}

} // namespace
} // namespace test
