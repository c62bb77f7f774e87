// Message texts by locale, locales by environment, and the conversion to UTF-8.
#include "platform/test_hooks.hpp"

#include <fl/filesystem/install_path.hpp>
#include <fl/i18n/message_catalog.hpp>
#include <nd/messages.hpp>

#include <gtest/gtest.h>

#include <unicode/ucnv.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

namespace hooks = foundation::test_hooks;
using fl::i18n::codecvt_ustring_to_string;
using fl::i18n::KvLocale;
using fl::i18n::MessageCatalog;

class Unlisted : public resource_core::BaseMsgID {
public:
    template <class... Args>
    explicit Unlisted(std::string_view catalog, Args... args)
        : BaseMsgID(catalog, "key", std::move(args)...) {}
};

// An install folder that a test fills.
class Catalogs : public testing::Test {
protected:
    Catalogs() {
        std::string name = (std::filesystem::temp_directory_path() / "nd-catalogs-XXXXXX").string();
        root_ = ::mkdtemp(name.data());
    }
    ~Catalogs() override {
        MessageCatalog::MessageCatalogInit("");
        std::filesystem::remove_all(root_);
    }

    void write(const std::string& locale, const std::string& file, const std::string& content) {
        const auto folder = root_ / "share/nd/catalogs" / locale;
        std::filesystem::create_directories(folder);
        std::ofstream(folder / file) << content;
        MessageCatalog::MessageCatalogInit(root_.c_str());
    }

    std::filesystem::path root_;
};

std::string text_of(const resource_core::BaseMsgID& id, const char* locale) {
    return codecvt_ustring_to_string(MessageCatalog::get_message(id, KvLocale(locale, "UTF-8")));
}

using TARVEL::getReshapeDims::notDivisible;

TEST_F(Catalogs, AreEnglishWithoutAnyFile) {
    MessageCatalog::MessageCatalogInit("");
    const std::string english = text_of(TARVEL::legacy_two_part::nomem(), "en_US");
    EXPECT_FALSE(english.empty());
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de_CH"), english);
    MessageCatalog::MessageCatalogInit("/no/such/folder");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de_CH"), english);
    MessageCatalog::MessageCatalogInit(std::string(100000, 'x').c_str());
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de_CH"), english) << "too long a path is none";
}

TEST_F(Catalogs, AreSearchedFromTheSpecialToTheGeneralLocale) {
    const std::string english = text_of(TARVEL::legacy_two_part::nomem(), "en");
    write("de", "legacy_two_part.msg", "nomem\n  de\nvector\n  de vector\n");
    write("de_CH", "legacy_two_part.msg", "nomem\n  de_CH\n");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de_CH"), "de_CH");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de_AT"), "de");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de"), "de");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::vector(), "de_CH"), "de vector");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "fr_CH"), english);
}

TEST_F(Catalogs, OfSeveralWordsHaveFilesWithDots) {
    write("de", "mtasks.constraints.msg", "NonConcurrentLibrary(string class_name)\n  nicht {0}\n");
    EXPECT_EQ(text_of(TARVEL::mtasks::constraints::NonConcurrentLibrary("K"), "de"), "nicht K");
}

TEST_F(Catalogs, JoinLinesAndKnowEscapes) {
    write("de", "legacy_two_part.msg",
          "\xEF\xBB\xBF# comment\r\nnomem\r\n  eins\r\n\r\n\tzwei\\n\\sdrei \\\\\r\n");
    EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), "de"), "eins zwei\n drei \\");
}

TEST_F(Catalogs, FallBackToEnglishWhenDamaged) {
    const char* const damaged[] = {
        "notDivisible\n  {0 ist offen\n", // not a pattern
        "notDivisible\n  {2} fehlt\n",    // a place without an argument
        "notDivisible\n  {name} fehlt\n", // a named place
        "notDivisible\n",                 // no text
        "  Text ohne Anfang\n",
        "\n\n",
        "# nur ein Kommentar\n",
        "",
    };
    const std::string english = text_of(notDivisible(2, 7), "de");
    for (const char* content : damaged) {
        write("de", "getReshapeDims.msg", content);
        EXPECT_EQ(text_of(notDivisible(2, 7), "de"), english) << content;
    }
    std::filesystem::remove_all(root_ / "share");
    std::filesystem::create_directories(root_ / "share/nd/catalogs/de/getReshapeDims.msg");
    MessageCatalog::MessageCatalogInit(root_.c_str());
    EXPECT_EQ(text_of(notDivisible(2, 7), "de"), english) << "a folder in the file's place";
}

TEST_F(Catalogs, AreFoundBelowTheirFolderOnly) {
    std::filesystem::create_directories(root_ / "share/nd/catalogs");
    std::ofstream(root_ / "share/nd/catalogs/legacy_two_part.msg") << "nomem\n  outside\n";
    std::ofstream(root_ / "share/nd/out.msg") << "key\n  outside\n";
    write("de", "legacy_two_part.msg", "vector\n  inside\n");
    const std::string english = text_of(TARVEL::legacy_two_part::nomem(), "en");
    for (const char* locale : {"..", ".", "de/..", "../catalogs/de", "", "/"})
        EXPECT_EQ(text_of(TARVEL::legacy_two_part::nomem(), locale), english) << locale;
    EXPECT_EQ(text_of(Unlisted("TARVEL:../../out"), "de"), "TARVEL:../../out:key");
}

TEST_F(Catalogs, WriteNumbersAsTheLocaleDoes) {
    write("de", "getReshapeDims.msg", "notDivisible\n  {0} {1}\n");
    write("en", "getReshapeDims.msg", "notDivisible\n  {0} {1}\n");
    write("en_US_POSIX", "getReshapeDims.msg", "notDivisible\n  {0} {1}\n");
    EXPECT_EQ(text_of(notDivisible(1234567, 5), "de_DE"), "1.234.567 5");
    EXPECT_EQ(text_of(notDivisible(1234567, 5), "en_GB"), "1,234,567 5");
    constexpr auto largest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(text_of(notDivisible(largest, 0), "en"), "18,446,744,073,709,551,615 0");
    EXPECT_EQ(text_of(notDivisible(largest, 0), "en_US_POSIX"), "18446744073709551615 0");
}

TEST_F(Catalogs, DescribeWhatTheyDoNotKnow) {
    EXPECT_EQ(text_of(Unlisted("OTHER:catalog"), "en"), "OTHER:catalog:key");
    EXPECT_EQ(text_of(Unlisted("TARVEL:matrix"), "en"), "TARVEL:matrix:key");
    const Unlisted all("OTHER:catalog", std::string("a{0}'b"), std::u16string(u"\u00fc"),
                       std::int64_t{-1234567}, std::uint64_t{18446744073709551615u}, 0.5);
    EXPECT_EQ(text_of(all, "en"),
              "OTHER:catalog:key (a{0}'b, \xc3\xbc, -1234567, 18446744073709551615, 0.5)");
}

TEST_F(Catalogs, TakeArgumentsOfEachType) {
    write("en", "all.msg", "key\n  {0}|{1}|{2}|{3}|{4}\n");
    const Unlisted all("TARVEL:all", std::string("{1}"), std::u16string(u"\u20ac"), std::int64_t{-5},
                       std::uint64_t{5}, -0.5);
    EXPECT_EQ(text_of(all, "en"), "{1}|\xe2\x82\xac|-5|5|-0.5");
}

TEST_F(Catalogs, SubstituteInDamagedArguments) {
    EXPECT_EQ(text_of(Unlisted("O:c", std::string("a\xff"
                                                  "b\xe2\x82")),
                      "en"),
              "O:c:key (a\xef\xbf\xbd"
              "b\xef\xbf\xbd)");
    EXPECT_EQ(text_of(Unlisted("O:c", std::u16string(u"\xd800")), "en"), "O:c:key (\xef\xbf\xbd)");
}

// Sets environment variables, null meaning absent, and puts back what was there.
class Environment {
public:
    using Variables = std::map<std::string, const char*>;

    explicit Environment(const Variables& values) {
        for (const auto& [name, value] : values) {
            const char* const old = std::getenv(name.c_str());
            before_[name] = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
            set(name, value);
        }
        forget_locales();
    }
    ~Environment() {
        for (const auto& [name, value] : before_) set(name, value ? value->c_str() : nullptr);
        forget_locales();
        KvLocale::global(); // known again, as they are to other tests
        KvLocale::system();
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    static void set(const std::string& name, const char* value) {
        if (value != nullptr)
            ::setenv(name.c_str(), value, 1);
        else
            ::unsetenv(name.c_str());
    }
    static void forget_locales() {
        hooks::set_global_locale(nullptr);
        hooks::set_system_encoding(nullptr);
    }

    std::map<std::string, std::optional<std::string>> before_;
};

struct EnvironmentRow {
    const char* all;
    const char* messages;
    const char* ctype;
    const char* lang;
    const char* global_name;
    const char* system_name;
    const char* system_encoding;
};

TEST(Locale, ComesFromTheEnvironment) {
    const EnvironmentRow rows[] = {
        {nullptr, nullptr, nullptr, nullptr, "en_US_POSIX", "en_US_POSIX", "UTF-8"},
        {nullptr, nullptr, nullptr, "C", "en_US_POSIX", "en_US_POSIX", "UTF-8"},
        {nullptr, nullptr, nullptr, "POSIX", "en_US_POSIX", "en_US_POSIX", "UTF-8"},
        {"C.UTF-8", nullptr, nullptr, "de_DE", "en_US_POSIX", "en_US_POSIX", "UTF-8"},
        {"", "", "", "de_DE.UTF-8", "de_DE", "de_DE", "UTF-8"},
        {nullptr, "de_CH.UTF-8", "fr_FR.ISO-8859-1", "en_US.UTF-8", "de_CH", "fr_FR", "ISO-8859-1"},
        {"ja_JP.EUC-JP", "de_CH.UTF-8", "fr_FR.ISO-8859-1", "en_US.UTF-8", "ja_JP", "ja_JP", "EUC-JP"},
        {nullptr, nullptr, nullptr, "de_DE.ISO-8859-15@euro", "de_DE_EURO", "de_DE_EURO", "ISO-8859-15"},
        {nullptr, nullptr, nullptr, "zh_CN.GB18030", "zh_CN", "zh_CN", "gb18030"},
        {nullptr, nullptr, nullptr, "zh_CN.gbk", "zh_CN", "zh_CN", "GBK"},
        {nullptr, nullptr, nullptr, "ko_KR.ms949", "ko_KR", "ko_KR", "windows-949"},
        {nullptr, nullptr, nullptr, "ko_KR.eucKR", "ko_KR", "ko_KR", "ibm-970_P110_P110-2006_U2"},
        {nullptr, nullptr, nullptr, "de_DE.NO-SUCH-ENCODING", "de_DE", "de_DE", "UTF-8"},
        {nullptr, nullptr, nullptr, "xx_YY", "xx_YY", "xx_YY", "UTF-8"},
    };
    for (const EnvironmentRow& row : rows) {
        const Environment environment({{"LC_ALL", row.all},
                                       {"LC_MESSAGES", row.messages},
                                       {"LC_CTYPE", row.ctype},
                                       {"LANG", row.lang}});
        SCOPED_TRACE(row.lang != nullptr ? row.lang : "nothing");
        EXPECT_EQ(KvLocale::system().name(), row.system_name);
        EXPECT_EQ(KvLocale::system().encoding(), row.system_encoding);
        EXPECT_EQ(KvLocale::global().name(), row.global_name);
    }
}

bool can_convert(const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    ucnv_close(ucnv_open(encoding.c_str(), &status));
    return U_SUCCESS(status);
}

// ICU knows names of encodings that it has no data for.
TEST(Locale, HasAnEncodingThatThereIsAConverterFor) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UEnumeration, void (*)(UEnumeration*)> names(ucnv_openAllNames(&status),
                                                                       uenum_close);
    std::size_t count = 0;
    while (const char* const name = uenum_next(names.get(), nullptr, &status)) {
        const std::string locale = std::string("kk_KZ.") + name;
        const Environment environment(Environment::Variables{{"LC_ALL", locale.c_str()}});
        const std::string& encoding = KvLocale::system().encoding();
        EXPECT_TRUE(can_convert(encoding)) << encoding;
        if (!can_convert(name)) {
            EXPECT_EQ(encoding, "UTF-8") << name;
        }
        ++count;
    }
    EXPECT_GT(count, 100U);
}

TEST(Locale, IsReadByManyThreadsAtOnce) {
    for (int round = 0; round < 20; ++round) {
        const Environment environment(Environment::Variables{{"LC_ALL", "de_CH.ISO-8859-1"}});
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        std::vector<std::pair<const KvLocale*, const KvLocale*>> seen(8);
        for (auto& mine : seen)
            threads.emplace_back([&] {
                while (!go) std::this_thread::yield();
                mine = {&KvLocale::system(), &KvLocale::global()};
            });
        go = true;
        for (auto& thread : threads) thread.join();
        EXPECT_EQ(seen, std::vector(8, std::pair(&KvLocale::system(), &KvLocale::global())));
        EXPECT_EQ(KvLocale::system().encoding(), "ISO-8859-1");
    }
}

TEST(Locale, IsReadOnce) {
    const Environment environment(Environment::Variables{{"LC_ALL", "de_CH.UTF-8"}});
    const KvLocale& first = KvLocale::global();
    ::setenv("LC_ALL", "fr_FR.UTF-8", 1);
    EXPECT_EQ(&KvLocale::global(), &first);
    EXPECT_EQ(KvLocale::global().name(), "de_CH");
}

TEST(Locale, IsSetByTests) {
    const Environment environment(Environment::Variables{{"LC_ALL", "de_CH.UTF-8"}});
    hooks::set_global_locale("fr_FR.ISO-8859-1");
    hooks::set_system_encoding("Shift_JIS");
    EXPECT_EQ(KvLocale::global().name(), "fr_FR");
    EXPECT_EQ(KvLocale::system().name(), "de_CH");
    EXPECT_EQ(KvLocale::system().encoding(), "Shift_JIS");
    hooks::set_global_locale(nullptr);
    hooks::set_system_encoding(nullptr);
    EXPECT_EQ(KvLocale::global().name(), "de_CH");
    EXPECT_EQ(KvLocale::system().encoding(), "UTF-8");
}

TEST(TextConversion, WritesUtf8) {
    EXPECT_EQ(codecvt_ustring_to_string(u""), "");
    EXPECT_EQ(codecvt_ustring_to_string(u"A\u00e9\u20ac\U0001f600"), "A\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(codecvt_ustring_to_string(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(TextConversion, SubstitutesUnpairedSurrogates) {
    const std::string substitute = "\xef\xbf\xbd";
    const char16_t lead = 0xd83d, trail = 0xde00;
    const auto convert = [](std::u16string text) { return codecvt_ustring_to_string(text); };
    EXPECT_EQ(convert({lead}), substitute);
    EXPECT_EQ(convert({trail}), substitute);
    EXPECT_EQ(convert({lead, u'a'}), substitute + "a");
    EXPECT_EQ(convert({trail, lead}), substitute + substitute);
    EXPECT_EQ(convert({lead, lead, trail}), substitute + "\xf0\x9f\x98\x80");
}

TEST(InstallPath, IsAFolderAboveThisProgramUntilATestSetsIt) {
    const std::string found = fl::filesystem::get_install_path();
    EXPECT_TRUE(std::filesystem::is_directory(found)) << found;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    EXPECT_EQ(program.compare(0, found.size() + 1, found + "/"), 0) << "the tests link the library's objects";
    hooks::set_install_path("/somewhere");
    EXPECT_STREQ(fl::filesystem::get_install_path(), "/somewhere");
    hooks::set_install_path(nullptr);
    EXPECT_EQ(fl::filesystem::get_install_path(), found);
    EXPECT_THROW(hooks::set_install_path(std::string(100000, 'x').c_str()), std::length_error);
}

} // namespace
