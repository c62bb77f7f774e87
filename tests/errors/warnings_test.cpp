// Issuing, printing, filtering, observing and handling warnings.
#include <nd/warnings.hpp>

#include "errors/warning_test_hooks.hpp"
#include "platform/test_hooks.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <foundation/core/except/exception.hpp>
#include <libbase/unicode.hpp>
#include <libbase/warning_manager.hpp>
#include <nd/messages.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace hooks = foundation::test_hooks;
namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::WarningFilter;
using matrix::WarningObserver;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::u16string text_of(const resource_core::BaseMsgID& message) {
    return fl::i18n::MessageCatalog::get_message(message, fl::i18n::KvLocale::global());
}

std::u16string prefix() { return text_of(TARVEL::matrix::warning_message_prefix()); }

std::u16string hint(const std::string& command) {
    return text_of(TARVEL::warning::InstructionWarningOff(command));
}

// Every test starts with the manager as new and a handler that keeps its lines.
class Warnings : public testing::Test {
protected:
    void SetUp() override {
        hooks::reset_warnings();
        manager = baseGetWarningManagerContextSafe();
        matrix::setWarningHandler([this](const std::u16string& line) { lines.push_back(line); });
    }
    void TearDown() override {
        matrix::errors::test_hooks::restore_first_warning_handler();
        hooks::set_output_shows_links(false);
        hooks::reset_warnings();
    }

    std::vector<base_warning_record> log() const { return baseGetWarningLog(manager); }

    base_warning_manager* manager = nullptr;
    std::vector<std::u16string> lines;
};

// ---- the ways of issuing a warning, and what the status makes of them

[[gnu::format(printf, 2, 3)]] void warn_by_list(const char* id, const char* format, ...) {
    va_list args;
    va_start(args, format);
    try {
        api::ndVWarningMsgIdAndTxt(id, format, args);
    } catch (...) {
        va_end(args);
        throw;
    }
    va_end(args);
}

struct way_of_warning {
    const char* name;
    const char* id;
    bool logs;
    std::function<bool()> issue; // false where nothing is returned
    std::u16string text;
};

std::vector<way_of_warning> ways_of_warning() {
    const TARVEL::colon::nonIntegerIndex message;
    const TARVEL::legacy_two_part::badargs legacy;
    return {
        {"format", "a:format", true,
         [] { return api::ndWarningMsgIdAndTxt("a:format", "%d %s", 3, "mice"), false; }, u"3 mice"},
        {"format and list", "a:list", true, [] { return warn_by_list("a:list", "%.1f", 0.5), false; },
         u"0.5"},
        {"ready text", "a:text", false,
         [] { return api::ndWarningMsgIdAndTxtNoLog("a:text", u"r\u00e9ady"); }, u"r\u00e9ady"},
        {"message", "TARVEL:colon:nonIntegerIndex", true, [=] { return api::ndWarningMsgId(message), false; },
         text_of(message)},
        {"legacy message", "TARVEL:badargs", true, [=] { return api::ndWarningMsgId(legacy), false; },
         text_of(legacy)},
        {"message with an id", "a:given", true,
         [=] { return api::ndWarningMsgId("a:given", message), false; }, text_of(message)},
    };
}

TEST_F(Warnings, ThatAreOnArePrintedObservedRememberedAndLogged) {
    for (const auto& way : ways_of_warning()) {
        SCOPED_TRACE(way.name);
        lines.clear();
        baseResetWarningManager(manager);
        const WarningObserver observer;
        EXPECT_FALSE(way.issue());
        EXPECT_THAT(lines, ElementsAre(prefix() + way.text));
        EXPECT_THAT(observer.getWarningIds(), ElementsAre(way.id));
        EXPECT_EQ(observer.getWarning(way.id, 0), way.text);
        EXPECT_EQ(baseGetLastPrintedWarningId(manager), way.id);
        ASSERT_EQ(log().size(), way.logs ? 1U : 0U);
        if (!way.logs) continue;
        EXPECT_EQ(log()[0].id, way.id);
        EXPECT_EQ(baseUtf8ToUtf16(log()[0].text), way.text);
        EXPECT_FALSE(log()[0].off);
    }
}

TEST_F(Warnings, ThatAreOffAreOnlyLogged) {
    for (const auto& way : ways_of_warning())
        for (const bool by_mode : {false, true}) {
            SCOPED_TRACE(way.name);
            baseResetWarningManager(manager);
            baseSetWarningStatus(manager, way.id, by_mode ? base_warning_error : base_warning_off);
            baseSetWarningMode(manager, base_warning_mode_all_off, by_mode);
            const WarningObserver observer;
            EXPECT_EQ(way.issue(), !way.logs) << "only the form without a log tells that the warning is off";
            EXPECT_THAT(lines, IsEmpty());
            EXPECT_EQ(observer.getNumWarnings(), 0U);
            EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
            ASSERT_EQ(log().size(), way.logs ? 1U : 0U);
            if (!way.logs) continue;
            EXPECT_EQ(log()[0].id, way.id);
            EXPECT_EQ(baseUtf8ToUtf16(log()[0].text), way.text);
            EXPECT_TRUE(log()[0].off);
        }
}

TEST_F(Warnings, ThatAreErrorsAreRaisedAndRememberedButNotLogged) {
    for (const auto& way : ways_of_warning()) {
        SCOPED_TRACE(way.name);
        baseResetWarningManager(manager);
        baseSetWarningStatus(manager, way.id, base_warning_error);
        const WarningObserver observer;
        try {
            way.issue();
            ADD_FAILURE() << "nothing was raised";
        } catch (const Korvane::System::SimpleException& error) {
            EXPECT_EQ(error.GetID(), way.id);
            EXPECT_EQ(baseUtf8ToUtf16(error.what()), way.text);
        }
        EXPECT_THAT(lines, IsEmpty());
        EXPECT_EQ(observer.getNumWarnings(), 0U);
        EXPECT_EQ(baseGetLastPrintedWarningId(manager), way.id);
        EXPECT_THAT(log(), IsEmpty());
    }
}

TEST_F(Warnings, OfAnyOtherStatusDoNothing) {
    for (const auto& way : ways_of_warning())
        for (const int status : {-1, 3, 1000}) {
            SCOPED_TRACE(way.name);
            baseSetWarningStatus(manager, way.id, status);
            EXPECT_FALSE(way.issue());
            EXPECT_THAT(lines, IsEmpty());
            EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
            EXPECT_THAT(log(), IsEmpty());
        }
}

TEST_F(Warnings, WithoutAManagerArePrintedWithoutHintAndNotLogged) {
    for (const auto& way : ways_of_warning()) {
        SCOPED_TRACE(way.name);
        lines.clear();
        baseResetWarningManager(manager);
        baseSetWarningStatus(manager, way.id, base_warning_error);
        baseSetWarningMode(manager, base_warning_mode_hint, true);
        hooks::set_warning_manager_present(false);
        const WarningObserver observer;
        EXPECT_FALSE(way.issue());
        EXPECT_THAT(lines, ElementsAre(prefix() + way.text));
        EXPECT_THAT(observer.getWarningIds(), ElementsAre(way.id));
        EXPECT_EQ(baseGetLastPrintedWarningId(manager), "");
        EXPECT_THAT(log(), IsEmpty());
        hooks::set_warning_manager_present(true);
    }
}

TEST_F(Warnings, HintHowToSwitchThemOffInModeTwo) {
    baseSetWarningMode(manager, base_warning_mode_hint, true);
    for (const auto& way : ways_of_warning())
        for (const bool links : {false, true}) {
            SCOPED_TRACE(way.name);
            lines.clear();
            hooks::set_output_shows_links(links);
            const std::string id = way.id;
            const std::string command =
                links ? "<a href=\"tarvel:warning off " + id + "\">warning off " + id + "</a>"
                      : "warning off " + id;
            const WarningObserver observer;
            way.issue();
            EXPECT_THAT(lines, ElementsAre(prefix() + way.text + hint(command)));
            EXPECT_EQ(observer.getWarning(id, 0), way.text) << "observers see neither prefix nor hint";
        }
}

// ---- the text

TEST_F(Warnings, AreCutAfter8191Bytes) {
    const struct {
        std::size_t bytes;
        std::size_t shown;
    } table[] = {{8190, 8190}, {8191, 8191}, {8192, 8191}, {20000, 8191}};
    for (const auto& row : table) {
        lines.clear();
        api::ndWarningMsgIdAndTxt("a:long", "%s", std::string(row.bytes, 'x').c_str());
        EXPECT_THAT(lines, ElementsAre(prefix() + std::u16string(row.shown, u'x'))) << row.bytes;
        EXPECT_EQ(log().back().text.size(), row.bytes) << "the log has them in full";
    }
}

TEST_F(Warnings, CutInsideACharacterEndInASubstitute) {
    const std::string text = std::string(8190, 'x') + "\xc3\xa9";
    api::ndWarningMsgIdAndTxt("a:cut", "%s", text.c_str());
    EXPECT_THAT(lines, ElementsAre(prefix() + std::u16string(8190, u'x') + u"\uFFFD"));
    baseSetWarningStatus(manager, "a:cut", base_warning_error);
    try {
        api::ndWarningMsgIdAndTxt("a:cut", "%s", text.c_str());
        ADD_FAILURE() << "nothing was raised";
    } catch (const Korvane::System::SimpleException& error) {
        EXPECT_EQ(std::string(error.what()), text.substr(0, 8191)) << "an error has the bytes as they are";
    }
}

TEST_F(Warnings, WithDamagedBytesShowSubstitutes) {
    const struct {
        const char* bytes;
        std::u16string shown;
    } table[] = {{"\xff", u"\uFFFD"},
                 {"a\x80z", u"a\uFFFDz"},
                 {"\xc3(", u"\uFFFD("},
                 {"\xf0\x9f\x98\x80", u"\U0001F600"},
                 {"\xf0\x9f\x98", u"\uFFFD"}};
    for (const auto& row : table) {
        lines.clear();
        api::ndWarningMsgIdAndTxt("a:bytes", "%s", row.bytes);
        EXPECT_THAT(lines, ElementsAre(prefix() + row.shown));
    }
}

TEST_F(Warnings, TakeANullIdAndFormatAsEmpty) {
    const WarningObserver observer;
    const char* const no_format = nullptr;
    warn_by_list(nullptr, no_format);
    EXPECT_THAT(lines, ElementsAre(prefix()));
    EXPECT_THAT(observer.getWarningIds(), ElementsAre(""));
}

TEST_F(Warnings, PutArgumentsIntoTheTextOfAMessage) {
    const TARVEL::warning::InstructionWarningOff message("\u00fcber {0}");
    const WarningObserver observer;
    api::ndWarningMsgId(message);
    const auto text = observer.getWarning("TARVEL:warning:InstructionWarningOff", 0);
    EXPECT_NE(text.find(u"\u00fcber {0}"), std::u16string::npos);
}

// ---- the handler

TEST_F(Warnings, GoToTheOutputAtFirst) {
    matrix::errors::test_hooks::restore_first_warning_handler();
    hooks::start_output_capture();
    api::ndWarningMsgIdAndTxtNoLog("a:id", u"gr\u00fc\u00df 100% \U0001F600");
    matrix::handleWarning(u"as it is \xD800");
    EXPECT_EQ(baseUtf8ToUtf16(hooks::end_output_capture()),
              prefix() + u"gr\u00fc\u00df 100% \U0001F600\nas it is \uFFFD\n");
}

TEST_F(Warnings, HandledDirectlyGetNoPrefixAndNoObserver) {
    const WarningObserver observer;
    baseSetWarningMode(manager, base_warning_mode_all_off, true);
    matrix::handleWarning(u"a line");
    matrix::handleWarning(u"");
    EXPECT_THAT(lines, ElementsAre(u"a line", u""));
    EXPECT_EQ(observer.getNumWarnings(), 0U);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Warnings, GoToTheNewestHandlerOnly) {
    std::vector<std::u16string> others;
    matrix::setWarningHandler([&](const std::u16string& line) { others.push_back(line); });
    matrix::handleWarning(u"one");
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(others, ElementsAre(u"one"));
}

TEST_F(Warnings, VanishInAnEmptyHandler) {
    matrix::setWarningHandler(nullptr);
    const WarningObserver observer;
    EXPECT_NO_THROW(api::ndWarningMsgIdAndTxt("a:id", "text"));
    EXPECT_EQ(observer.getNumWarnings("a:id"), 1U);
    EXPECT_EQ(log().size(), 1U);
}

TEST_F(Warnings, AreHandledByACopyOfTheHandler) {
    std::vector<int> counts;
    matrix::setWarningHandler(
        [&counts, count = 0](const std::u16string&) mutable { counts.push_back(++count); });
    matrix::handleWarning(u"one");
    matrix::handleWarning(u"two");
    EXPECT_THAT(counts, ElementsAre(1, 1));
}

TEST_F(Warnings, LetAHandlersExceptionOutAndArentLoggedThen) {
    matrix::setWarningHandler([](const std::u16string&) { throw std::runtime_error("handler"); });
    for (const auto& way : ways_of_warning()) {
        SCOPED_TRACE(way.name);
        const WarningObserver observer;
        EXPECT_THROW(way.issue(), std::runtime_error);
        EXPECT_EQ(observer.getNumWarnings(way.id), 1U);
    }
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Warnings, MayBeIssuedByAHandler) {
    int depth = 0;
    matrix::setWarningHandler([&](const std::u16string& line) {
        lines.push_back(line);
        if (++depth < 3) api::ndWarningMsgIdAndTxt("a:nested", "depth %d", depth);
    });
    const WarningObserver observer;
    api::ndWarningMsgIdAndTxt("a:outer", "start");
    EXPECT_THAT(lines, ElementsAre(prefix() + u"start", prefix() + u"depth 1", prefix() + u"depth 2"));
    EXPECT_THAT(observer.getWarningIds(), ElementsAre("a:outer", "a:nested", "a:nested"));
    EXPECT_EQ(baseGetLastPrintedWarningId(manager), "a:nested");
}

TEST_F(Warnings, MayHaveTheirHandlerReplacedByTheHandler) {
    matrix::setWarningHandler([this](const std::u16string& line) {
        matrix::setWarningHandler([this](const std::u16string& later) { lines.push_back(u"new " + later); });
        lines.push_back(u"old " + line);
    });
    matrix::handleWarning(u"one");
    matrix::handleWarning(u"two");
    EXPECT_THAT(lines, ElementsAre(u"old one", u"new two"));
}

// Copies and ends of a handler are its author's code as well: they may warn and set handlers.
TEST_F(Warnings, MayBeIssuedWhileAHandlerIsCopiedOrEnds) {
    struct talkative {
        std::shared_ptr<int> talks;
        explicit talkative(std::shared_ptr<int> count) : talks(std::move(count)) {}
        talkative(const talkative& other) : talks(other.talks) { talk(); }
        ~talkative() { talk(); }
        void talk() const {
            if (!talks || *talks == 0) return;
            --*talks;
            matrix::handleWarning(u"from a copy or an end");
            matrix::setWarningHandler(nullptr);
        }
        void operator()(const std::u16string&) const {}
    };
    const auto talks = std::make_shared<int>(0);
    for (int budget = 1; budget <= 8; ++budget) {
        *talks = 0;
        matrix::setWarningHandler(talkative(talks));
        *talks = budget;
        matrix::handleWarning(u"line");
        matrix::setWarningHandler(nullptr);
        *talks = 0;
    }
}

// ---- filters

TEST_F(Warnings, PassTheFiltersFromNewestToOldest) {
    const WarningFilter oldest([](std::u16string& line) { return line += u" oldest", true; });
    const WarningFilter middle([](std::u16string& line) { return line += u" middle", true; });
    const WarningFilter newest([](std::u16string& line) { return line += u" newest", true; });
    const std::u16string line = u"line";
    matrix::handleWarning(line);
    EXPECT_THAT(lines, ElementsAre(u"line newest middle oldest"));
    EXPECT_EQ(line, u"line");
}

TEST_F(Warnings, RewrittenByAFilterAreObservedAsTheyWere) {
    const WarningObserver observer;
    const WarningFilter filter([](std::u16string& line) { return line = u"rewritten", true; });
    api::ndWarningMsgIdAndTxt("a:id", "plain");
    EXPECT_THAT(lines, ElementsAre(u"rewritten"));
    EXPECT_EQ(observer.getWarning("a:id", 0), u"plain");
    EXPECT_EQ(log().at(0).text, "plain");
}

TEST_F(Warnings, DroppedByAFilterReachNeitherOlderFiltersNorTheHandler) {
    bool older_called = false;
    const WarningObserver observer;
    const WarningFilter older([&](std::u16string&) { return older_called = true; });
    const WarningFilter dropping([](std::u16string&) { return false; });
    api::ndWarningMsgIdAndTxt("a:id", "text");
    EXPECT_FALSE(older_called);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(observer.getNumWarnings("a:id"), 1U) << "observers were told before";
    EXPECT_EQ(baseGetLastPrintedWarningId(manager), "a:id");
    EXPECT_EQ(log().size(), 1U);
}

TEST_F(Warnings, PassAFilterWhileItLives) {
    {
        const WarningFilter filter([](std::u16string& line) { return line += u"+", true; });
        matrix::handleWarning(u"during");
    }
    matrix::handleWarning(u"after");
    EXPECT_THAT(lines, ElementsAre(u"during+", u"after"));
}

TEST_F(Warnings, TakeFiltersByCopyAndByMove) {
    std::function<bool(std::u16string&)> function = [](std::u16string& line) { return line += u"f", true; };
    const WarningFilter copied(std::as_const(function));
    EXPECT_TRUE(function);
    const WarningFilter moved(std::move(function));
    matrix::handleWarning(u"");
    EXPECT_THAT(lines, ElementsAre(u"ff"));
}

TEST_F(Warnings, CallTheFilterItselfNotACopy) {
    const WarningFilter every_second([count = 0](std::u16string&) mutable { return ++count % 2 == 0; });
    for (const char16_t* line : {u"1", u"2", u"3", u"4"}) matrix::handleWarning(line);
    EXPECT_THAT(lines, ElementsAre(u"2", u"4"));
}

TEST_F(Warnings, RefuseAnEmptyFilterWhenItIsReached) {
    const WarningFilter empty(nullptr);
    EXPECT_THROW(matrix::handleWarning(u"line"), std::bad_function_call);
    {
        const WarningFilter dropping([](std::u16string&) { return false; });
        EXPECT_NO_THROW(matrix::handleWarning(u"line"));
    }
    for (const auto& way : ways_of_warning()) EXPECT_THROW(way.issue(), std::bad_function_call) << way.name;
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Warnings, LetAFiltersExceptionOut) {
    const WarningObserver observer;
    const WarningFilter filter([](std::u16string&) -> bool { throw std::runtime_error("filter"); });
    EXPECT_THROW(api::ndWarningMsgIdAndTxt("a:id", "text"), std::runtime_error);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(observer.getNumWarnings(), 1U);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Warnings, MayBeIssuedByAFilter) {
    bool nested = false;
    const WarningFilter filter([&](std::u16string& line) {
        if (!nested) {
            nested = true;
            matrix::handleWarning(u"nested");
        }
        return line += u" filtered", true;
    });
    matrix::handleWarning(u"outer");
    EXPECT_THAT(lines, ElementsAre(u"nested filtered", u"outer filtered"));
}

TEST_F(Warnings, AllowFiltersToBeMadeInsideAFilter) {
    const WarningFilter outer([count = 0](std::u16string& line) mutable {
        if (++count == 1) {
            std::vector<std::unique_ptr<WarningFilter>> inner;
            for (int i = 0; i < 20; ++i)
                inner.push_back(
                    std::make_unique<WarningFilter>([](std::u16string& text) { return text += u"i", true; }));
            matrix::handleWarning(u"inner");
            while (!inner.empty()) inner.pop_back();
        }
        line += static_cast<char16_t>(u'0' + count);
        return true;
    });
    matrix::handleWarning(u"outer");
    EXPECT_THAT(lines, ElementsAre(u"inner" + std::u16string(20, u'i') + u"2", u"outer2"));
}

TEST_F(Warnings, AllowAFilterToEndItself) {
    std::unique_ptr<WarningFilter> once;
    const WarningFilter older([](std::u16string& line) { return line += u" older", true; });
    const std::u16string mark = u" once, by a function whose state is too large to be kept inline";
    once = std::make_unique<WarningFilter>([&once, mark](std::u16string& line) {
        once.reset();
        return line += mark, true;
    });
    matrix::handleWarning(u"first");
    matrix::handleWarning(u"second");
    EXPECT_THAT(lines, ElementsAre(u"first" + mark + u" older", u"second older"));
}

TEST_F(Warnings, AllowAFilterToWarnWhenItEnds) {
    struct parting {
        bool speaks = true;
        parting() = default;
        parting(parting&& other) noexcept : speaks(std::exchange(other.speaks, false)) {}
        parting(const parting& other) : speaks(other.speaks) {}
        ~parting() {
            if (speaks) matrix::handleWarning(u"the end");
        }
        bool operator()(std::u16string& line) const { return line += u" filtered", true; }
    };
    {
        const WarningFilter older([](std::u16string& line) { return line += u" older", true; });
        const WarningFilter filter(parting{});
    }
    EXPECT_THAT(lines, ElementsAre(u"the end older"));
}

// ---- observers

TEST_F(Warnings, AreCountedAndFoundById) {
    const WarningObserver observer;
    api::ndWarningMsgIdAndTxt("a:one", "first");
    api::ndWarningMsgIdAndTxtNoLog("a:two", u"second");
    api::ndWarningMsgIdAndTxt("a:one", "third");
    EXPECT_EQ(observer.getNumWarnings(), 3U);
    const struct {
        const char* id;
        std::size_t count;
        std::vector<std::u16string> texts;
    } table[] = {{"a:one", 2, {u"first", u"third", u""}},
                 {"a:two", 1, {u"second", u""}},
                 {"a:", 0, {u""}},
                 {"", 0, {u""}}};
    for (const auto& row : table) {
        EXPECT_EQ(observer.getNumWarnings(row.id), row.count) << row.id;
        for (std::size_t i = 0; i < row.texts.size(); ++i)
            EXPECT_EQ(observer.getWarning(row.id, i), row.texts[i]);
        EXPECT_EQ(observer.getWarning(row.id, SIZE_MAX), u"");
    }
    EXPECT_THAT(observer.getWarningIds(), ElementsAre("a:one", "a:two", "a:one"));
}

TEST_F(Warnings, AreRecordedByAllNestedObservers) {
    const WarningObserver outer;
    api::ndWarningMsgIdAndTxt("a:before", "1");
    {
        const WarningObserver inner;
        api::ndWarningMsgIdAndTxt("a:both", "2");
        EXPECT_THAT(inner.getWarningIds(), ElementsAre("a:both"));
    }
    api::ndWarningMsgIdAndTxt("a:after", "3");
    EXPECT_THAT(outer.getWarningIds(), ElementsAre("a:before", "a:both", "a:after"));
}

TEST_F(Warnings, CanBeRecordedByADerivedObserver) {
    struct recorder : WarningObserver {
        using WarningObserver::observe;
    };
    const WarningObserver outer;
    const recorder inner;
    recorder::observe("a:id", u"text");
    EXPECT_EQ(inner.getWarning("a:id", 0), u"text");
    EXPECT_EQ(outer.getWarning("a:id", 0), u"text");
    EXPECT_THAT(lines, IsEmpty());
}

} // namespace
