// The rule of names, in every form in which it can be asked, and the shortening of long names.
#include <nd/names.hpp>

#include "errors/warning_test_hooks.hpp"
#include "platform/test_hooks.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <foundation/core/except/exception.hpp>
#include <libbase/unicode.hpp>
#include <libbase/warning_manager.hpp>
#include <nd/messages.hpp>
#include <nd/warnings.hpp>

#include <gmock/gmock.h>

#include <cctype>
#include <clocale>
#include <memory>
#include <string>

namespace hooks = foundation::test_hooks;
using namespace matrix::detail::noninlined::nd_array_api;
using matrix::longest_rec_name;

namespace {

using RecNames = test::NdTest;

constexpr const char* too_long_id = "TARVEL:namelengthmaxexceeded";

struct name_case {
    std::string text; // no zero bytes
    std::size_t valid_prefix;
};

const std::vector<name_case>& name_cases() {
    static const std::vector<name_case> cases = {
        {"", 0},
        {"a", 1},
        {"Z", 1},
        {"a_1", 3},
        {"x9_Y", 4},
        {"_a", 0},
        {"1a", 0},
        {"a.b", 1},
        {"ab-c", 2},
        {"a b", 1},
        {" a", 0},
        {"a\n", 1},
        {"ab@", 2},
        {"ab[", 2},
        {"ab`", 2},
        {"ab{", 2},
        {"ab/", 2},
        {"ab:", 2},
        {"\xC3\xA9", 0},
        {"caf\xC3\xA9", 3},
        {"ab\x7F", 2},
        {"ab\x80", 2},
        {"ab\xFF", 2},
        {"ab\xE1", 2}, // a letter of Latin-1
        {"ab\xF0\x9D\x91\x8E", 2},
        {std::string(2047, 'a'), 2047},
        {std::string(2048, 'a'), 2048},
        {std::string(2049, 'a'), 2049},
        {std::string(5000, 'a') + '!', 5000},
    };
    return cases;
}

bool is_expected_valid(const name_case& c) {
    return !c.text.empty() && c.valid_prefix == c.text.size() && c.text.size() <= 2048;
}

TEST_F(RecNames, AreJudgedAlikeInEveryForm) {
    for (const name_case& c : name_cases()) {
        SCOPED_TRACE(c.text.substr(0, 20) + ", " + std::to_string(c.text.size()) + " bytes");
        const bool valid = is_expected_valid(c);
        EXPECT_EQ(ndIsValidRecName(c.text.c_str()), valid);
        EXPECT_EQ(ndIsValidRecName(c.text), valid);
        EXPECT_EQ(ndIsValidRecName(baseUtf8ToUtf16(c.text)), valid);
        EXPECT_EQ(ndIsValidRecNamePart(c.text.data(), c.text.size()), valid);
        EXPECT_EQ(ndIsValidRecNameCount(c.text.c_str()), c.valid_prefix);
        EXPECT_EQ(ndIsValidRecNamePartCount(c.text.data(), c.text.size()), c.valid_prefix);
    }
}

TEST_F(RecNames, NullIsNone) {
    EXPECT_FALSE(ndIsValidRecName(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(ndIsValidRecNamePart(nullptr, 3));
    EXPECT_EQ(ndIsValidRecNameCount(nullptr), 0U);
    EXPECT_EQ(ndIsValidRecNamePartCount(nullptr, 3), 0U);
}

TEST_F(RecNames, AZeroByteInsideIsInvalid) {
    using namespace std::string_literals;
    EXPECT_FALSE(ndIsValidRecName("ab\0c"s));
    EXPECT_FALSE(ndIsValidRecName("ab\0"s));
    EXPECT_FALSE(ndIsValidRecName(u"ab\0c"s));
    EXPECT_FALSE(ndIsValidRecNamePart("ab\0c", 4));
    EXPECT_EQ(ndIsValidRecNamePartCount("ab\0c", 4), 2U);
}

// The bytes stand at the end of a block: a byte more would be seen by the address sanitizer.
TEST_F(RecNames, APartIsReadUpToItsLengthOnly) {
    const std::unique_ptr<char[]> bytes(new char[3]{'a', 'b', '-'});
    struct part {
        std::uint64_t length;
        bool valid;
        std::uint64_t count;
    };
    for (const part p : {part{0, false, 0}, part{1, true, 1}, part{2, true, 2}, part{3, false, 2}}) {
        SCOPED_TRACE(p.length);
        EXPECT_EQ(ndIsValidRecNamePart(bytes.get(), p.length), p.valid);
        EXPECT_EQ(ndIsValidRecNamePartCount(bytes.get(), p.length), p.count);
    }
    EXPECT_FALSE(ndIsValidRecNamePart("a", 2049)) << "too long without a look at the bytes";
}

TEST_F(RecNames, EveryByteIsJudgedWithoutALocale) {
    for (const char* const locale : {"C", ""}) {
        std::setlocale(LC_ALL, locale);
        for (int byte = 0; byte < 256; ++byte) {
            SCOPED_TRACE(byte);
            const bool letter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
            const bool digit = byte >= '0' && byte <= '9';
            EXPECT_EQ(ndIsValidFirstCharInRecName(static_cast<char>(byte)), letter);
            EXPECT_EQ(ndIsValidSubsequentCharInRecName(static_cast<char>(byte)),
                      letter || digit || byte == '_');
        }
    }
    std::setlocale(LC_ALL, "C");
}

TEST_F(RecNames, EveryUtf16UnitBeyondAsciiIsInvalid) {
    for (std::uint32_t unit = 0x80; unit <= 0xFFFF; ++unit) {
        const std::u16string first(1, static_cast<char16_t>(unit));
        ASSERT_FALSE(ndIsValidRecName(first)) << unit;
        ASSERT_FALSE(ndIsValidRecName(u"a" + first)) << unit;
    }
}

// ---- shortening

class Shortening : public RecNames {
protected:
    Shortening() {
        hooks::reset_warnings();
        matrix::setWarningHandler([](const std::u16string&) {});
    }
    ~Shortening() override {
        matrix::errors::test_hooks::restore_first_warning_handler();
        hooks::reset_warnings();
    }

    static std::u16string text_of_warning(const std::string& name, const std::string& shortened) {
        return fl::i18n::MessageCatalog::get_message(
            TARVEL::matrix::namelengthmaxexceeded(name, 2048, shortened), fl::i18n::KvLocale::global());
    }

    void expect_one_warning(const std::string& name, const std::string& shortened) {
        EXPECT_THAT(observer.getWarningIds(), testing::ElementsAre(too_long_id));
        EXPECT_EQ(observer.getWarning(too_long_id, 0), text_of_warning(name, shortened));
    }

    matrix::WarningObserver observer;
};

TEST_F(Shortening, LeavesNamesUpTo2048UnitsAlone) {
    for (const std::size_t length : {0, 1, 2047, 2048}) {
        SCOPED_TRACE(length);
        std::string bytes(length, '1'); // no name: the rule isn't asked
        std::u16string units(length, u'\u00e9');
        std::string terminated(length, '1');
        EXPECT_FALSE(ndTruncateRecName(bytes));
        EXPECT_FALSE(ndTruncateRecName(units));
        EXPECT_FALSE(ndTruncateRecName(terminated.data()));
        EXPECT_EQ(bytes, std::string(length, '1'));
        EXPECT_EQ(units, std::u16string(length, u'\u00e9'));
        EXPECT_EQ(terminated, std::string(length, '1'));
    }
    EXPECT_FALSE(ndTruncateRecName(static_cast<char*>(nullptr)));
    EXPECT_EQ(observer.getNumWarnings(), 0U);
}

TEST_F(Shortening, CutsBytesAndWarnsOnce) {
    const std::string full = std::string(2048, 'a') + "b";
    std::string name = full;
    EXPECT_TRUE(ndTruncateRecName(name));
    EXPECT_EQ(name, std::string(2048, 'a'));
    EXPECT_TRUE(ndIsValidRecName(name));
    expect_one_warning(full, name);
}

TEST_F(Shortening, CutsUtf16UnitsNotBytes) {
    const std::u16string full = std::u16string(2048, u'\u00e9') + u"xyz";
    std::u16string name = full;
    EXPECT_TRUE(ndTruncateRecName(name));
    EXPECT_EQ(name, std::u16string(2048, u'\u00e9'));
    expect_one_warning(fl::i18n::codecvt_ustring_to_string(full), fl::i18n::codecvt_ustring_to_string(name));
}

TEST_F(Shortening, PutsATerminatorIntoACString) {
    const std::string full(3000, 'q');
    std::string buffer = full;
    EXPECT_TRUE(ndTruncateRecName(buffer.data()));
    std::string expected = full;
    expected[2048] = '\0';
    EXPECT_EQ(buffer, expected) << "one byte is written, in place";
    expect_one_warning(full, std::string(2048, 'q'));
}

TEST_F(Shortening, MayCutACharacterInTwo) {
    std::string name = std::string(2047, 'a') + "\xC3\xA9";
    EXPECT_TRUE(ndTruncateRecName(name));
    EXPECT_EQ(name, std::string(2047, 'a') + '\xC3');
    std::u16string units = std::u16string(2047, u'a') + u"\U0001D44E";
    EXPECT_TRUE(ndTruncateRecName(units));
    EXPECT_EQ(units, std::u16string(2047, u'a') + char16_t{0xD835});
    EXPECT_EQ(observer.getNumWarnings(too_long_id), 2U);
}

TEST_F(Shortening, LeavesTheNameWhenTheWarningIsAnError) {
    hooks::set_warning_status(too_long_id, base_warning_error);
    std::string bytes(2049, 'a');
    std::u16string units(2049, u'a');
    std::string terminated(2049, 'a');
    EXPECT_THROW(ndTruncateRecName(bytes), Korvane::System::SimpleException);
    EXPECT_THROW(ndTruncateRecName(units), Korvane::System::SimpleException);
    EXPECT_THROW(ndTruncateRecName(terminated.data()), Korvane::System::SimpleException);
    EXPECT_EQ(bytes, std::string(2049, 'a'));
    EXPECT_EQ(units, std::u16string(2049, u'a'));
    EXPECT_EQ(terminated, std::string(2049, 'a'));
}

TEST_F(Shortening, HappensAlsoWhenTheWarningIsOff) {
    hooks::set_warning_status(too_long_id, base_warning_off);
    std::string name(2049, 'a');
    EXPECT_TRUE(ndTruncateRecName(name));
    EXPECT_EQ(name.size(), longest_rec_name);
    EXPECT_EQ(observer.getNumWarnings(), 0U);
}

// A string knows its length: what stands behind a zero belongs to it.
TEST_F(Shortening, CountsAZeroByteLikeAnyOther) {
    std::string name = "ab" + std::string(1, '\0') + std::string(2046, 'c');
    const std::string full = name;
    EXPECT_TRUE(ndTruncateRecName(name));
    EXPECT_EQ(name, full.substr(0, 2048));
    EXPECT_FALSE(ndTruncateRecName(name));
}

// The text is as before after a failure, so that the repetition shortens it. What the manager keeps of a warning isn't the
// shortening's: each run gives it back.
template <class Text, class Unchanged>
void expect_text_kept_without_memory(const char* what, const Text& full, Unchanged shorten) {
    test::for_each_failing_alloc(what, [&](test::fault_run& run) {
        Text text = full;
        run.act([&] {
            try {
                return shorten(text);
            } catch (...) {
                EXPECT_EQ(text, full);
                throw;
            }
        });
        EXPECT_NE(text, full);
        hooks::reset_warnings();
    });
}

TEST_F(RecNames, KeepTheirLengthWhenMemoryRunsOut) {
    matrix::setWarningHandler([](const std::u16string&) {});
    expect_text_kept_without_memory("shorten a name", std::string(2049, 'a'),
                                    [](std::string& name) { return ndTruncateRecName(name); });
    expect_text_kept_without_memory("shorten a UTF-16 name", std::u16string(2049, u'a'),
                                    [](std::u16string& name) { return ndTruncateRecName(name); });
    expect_text_kept_without_memory("shorten a C string", std::string(2049, 'a'),
                                    [](std::string& name) { return ndTruncateRecName(name.data()); });
    matrix::errors::test_hooks::restore_first_warning_handler();
}

} // namespace
