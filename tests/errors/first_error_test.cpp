// The first error of a process makes the message catalogs ready. Each test runs in a process of its own.
#include "platform/test_hooks.hpp"

#include <errors/raise.hpp>
#include <fl/i18n/message_catalog.hpp>
#include <nd/warnings.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace hooks = foundation::test_hooks;
using TARVEL::legacy_two_part::badargs;

const std::string german = "Die Argumente sind ung\xc3\xbcltig.";

std::string text_of_error() {
    try {
        matrix::errors::raise<badargs>();
    } catch (const std::exception& error) {
        return error.what();
    }
}

std::string text_from_catalog() {
    return fl::i18n::codecvt_ustring_to_string(
        fl::i18n::MessageCatalog::get_message(badargs(), fl::i18n::KvLocale::global()));
}

// Ends the process with status 0 if the check holds.
[[noreturn]] void end_with(bool ok) { std::_Exit(ok ? 0 : 1); }

class FirstError : public testing::Test {
protected:
    FirstError() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    static void use_translations() {
        hooks::set_install_path(ND_TEST_DATA);
        hooks::set_global_locale("de_DE");
    }
};

using FirstErrorDeathTest = FirstError;

TEST_F(FirstErrorDeathTest, MakesTranslationsKnown) {
    EXPECT_EXIT(
        {
            use_translations();
            end_with(text_of_error() == german && text_from_catalog() == german);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, IsPrecededByEnglish) {
    EXPECT_EXIT(
        {
            use_translations();
            const std::string before = text_from_catalog();
            end_with(before != german && !before.empty() && before.find("TARVEL") == std::string::npos &&
                     text_of_error() == german);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, MayBeRaisedByManyThreadsAtOnce) {
    EXPECT_EXIT(
        {
            use_translations();
            std::atomic<int> waiting{8};
            std::atomic<int> right{0};
            std::vector<std::thread> threads;
            for (int i = 0; i < 8; ++i)
                threads.emplace_back([&] {
                    --waiting;
                    while (waiting != 0) std::this_thread::yield();
                    right += text_of_error() == german;
                });
            for (std::thread& thread : threads) thread.join();
            end_with(right == 8);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, MayBeOnePassedOn) {
    EXPECT_EXIT(
        {
            use_translations();
            try {
                matrix::detail::noninlined::nd_array_api::ndReThrowException(
                    boost::copy_exception(Korvane::System::SimpleException("A:b", "text")));
            } catch (const Korvane::System::SimpleException&) {
                end_with(text_from_catalog() == german);
            }
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, OfAReadyTextLeavesTheCatalogsAlone) {
    EXPECT_EXIT(
        {
            use_translations();
            try {
                matrix::detail::noninlined::nd_array_api::ndErrMsgIdAndTxt("A:b", "text");
            } catch (const Korvane::System::SimpleException&) {
                end_with(text_from_catalog() != german);
            }
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, MayBeAWarning) {
    EXPECT_EXIT(
        {
            use_translations();
            std::u16string line;
            matrix::setWarningHandler([&line](const std::u16string& text) { line = text; });
            matrix::detail::noninlined::nd_array_api::ndWarningMsgId(badargs());
            const std::u16string wanted = u"Die Argumente sind ung\u00fcltig.";
            end_with(line.ends_with(wanted) && text_from_catalog() == german);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstErrorDeathTest, MayBeOutOfMemory) {
    EXPECT_EXIT(
        {
            use_translations();
            try {
                matrix::errors::raise<TARVEL::legacy_two_part::nomem>();
            } catch (const std::bad_alloc&) {
                end_with(text_from_catalog() == german);
            }
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
