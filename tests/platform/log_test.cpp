// Log channels, records and where they go.
#include "platform/environment.hpp"
#include "platform/test_hooks.hpp"
#include "support/alloc_sources.hpp"
#include "support/death.hpp"

#include <foundation/log/logger.hpp>

#include <boost/log/core.hpp>
#include <boost/log/sources/logger.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using foundation::log::basic_diagnostic_logger;
using foundation::log::log_record;
using foundation::log::set_channel_mask;
using foundation::log::severity_debug;
using foundation::log::severity_fatal;
namespace hooks = foundation::test_hooks;

struct record {
    std::string channel;
    std::uint32_t severity;
    std::string text;

    friend bool operator==(const record&, const record&) = default;
    friend std::ostream& operator<<(std::ostream& out, const record& r) {
        return out << r.channel << ' ' << r.severity << ' ' << r.text;
    }
};

class log_channels : public testing::Test {
protected:
    void SetUp() override {
        hooks::reset_channel_masks();
        hooks::set_log_sink(
            [this](const std::string& channel, std::uint32_t severity, const std::string& text) {
                records.push_back({channel, severity, text});
            });
    }
    void TearDown() override {
        hooks::set_log_sink(nullptr);
        hooks::reset_channel_masks();
    }

    std::vector<record> records;
};

TEST_F(log_channels, are_off_by_default) {
    const basic_diagnostic_logger logger("test::default");
    for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
        EXPECT_EQ(logger.level(bit), 0U);
        EXPECT_FALSE(logger.is_on(bit));
        EXPECT_FALSE(logger.open_record(bit));
        logger.write(bit, "nobody reads it");
    }
    EXPECT_EQ(records, std::vector<record>{});
}

TEST_F(log_channels, level_is_the_severity_shifted_by_15_where_the_mask_has_it) {
    const basic_diagnostic_logger logger("test::level");
    const struct {
        std::uint32_t mask, severity, level;
    } rows[] = {
        {0, 0x200, 0},
        {0x200, 0x200, 0x1000000},
        {0x200, 0x800, 0},
        {0x200, 0x100, 0},
        {0x800, 0x800, 0x4000000},
        {0xA00, 0x200, 0x1000000},
        {0xA00, 0x800, 0x4000000},
        {0xFFFFFFFF, 0x1, 0x8000},
        {0xFFFFFFFF, 0x10000, 0x80000000},
        {0xFFFFFFFF, 0, 0},
    };
    for (const auto& row : rows) {
        set_channel_mask("test::level", row.mask);
        EXPECT_EQ(logger.level(row.severity), row.level) << row.mask << ' ' << row.severity;
        EXPECT_EQ(logger.is_on(row.severity), row.level != 0) << row.mask << ' ' << row.severity;
    }
}

TEST_F(log_channels, loggers_of_one_channel_share_its_mask) {
    set_channel_mask("test::early", severity_debug); // before any logger has named it
    const basic_diagnostic_logger first("test::early"), second("test::early"), other("test::other");
    EXPECT_TRUE(first.is_on(severity_debug));
    EXPECT_TRUE(second.is_on(severity_debug));
    EXPECT_FALSE(other.is_on(severity_debug));
    set_channel_mask("test::early", 0);
    EXPECT_FALSE(first.is_on(severity_debug));
    EXPECT_FALSE(second.is_on(severity_debug));
}

TEST_F(log_channels, environment_sets_masks) {
    const basic_diagnostic_logger first("test::first"), second("test::second");
    const test::environment_variable set("ND_LOG", "test::first=0x200,test::second=2048,test::unused=1");
    EXPECT_FALSE(first.is_on(0x200)) << "it is read once";
    hooks::reset_channel_masks();
    EXPECT_TRUE(first.is_on(0x200));
    EXPECT_FALSE(first.is_on(0x800));
    EXPECT_TRUE(second.is_on(0x800));
}

TEST_F(log_channels, environment_is_read_at_the_start) {
    EXPECT_IN_NEW_PROCESS("ND_LOG", "test::start=0x200", basic_diagnostic_logger("test::start").is_on(0x200));
}

TEST_F(log_channels, a_record_reaches_the_sink_with_channel_severity_and_text) {
    const basic_diagnostic_logger logger("test::records");
    set_channel_mask("test::records", severity_debug | severity_fatal);
    logger.write(severity_debug, "first");
    logger.write(1, "off");
    logger.write(severity_fatal, "second\nwith a line more");
    EXPECT_EQ(records, (std::vector<record>{{"test::records", 0x200, "first"},
                                            {"test::records", 0x800, "second\nwith a line more"}}));
}

TEST_F(log_channels, a_record_is_written_when_closed_and_only_once) {
    const basic_diagnostic_logger logger("test::open");
    set_channel_mask("test::open", severity_debug);
    log_record opened = logger.open_record(severity_debug);
    EXPECT_TRUE(opened);
    EXPECT_EQ(records, std::vector<record>{});
    log_record moved = std::move(opened);
    moved.close("text");
    EXPECT_FALSE(moved);
    moved.close("again");
    log_record().close("never opened");
    logger.open_record(severity_debug); // dropped
    EXPECT_EQ(records, (std::vector<record>{{"test::open", 0x200, "text"}}));
}

TEST_F(log_channels, a_record_that_the_core_refuses_is_not_opened) {
    const basic_diagnostic_logger logger("test::refused");
    set_channel_mask("test::refused", severity_debug);
    boost::log::core::get()->set_logging_enabled(false);
    EXPECT_TRUE(logger.is_on(severity_debug));
    EXPECT_FALSE(logger.open_record(severity_debug));
    boost::log::core::get()->set_logging_enabled(true);
    EXPECT_TRUE(logger.open_record(severity_debug));
}

TEST_F(log_channels, a_failing_sink_loses_the_record_and_nothing_else) {
    const basic_diagnostic_logger logger("test::failing");
    set_channel_mask("test::failing", severity_debug);
    hooks::set_log_sink([this](const std::string&, std::uint32_t, const std::string& text) {
        if (text == "bad") throw std::runtime_error("the sink fails");
        records.push_back({"", 0, text});
    });
    for (const char* const text : {"good", "bad", "good again"}) logger.write(severity_debug, text);
    EXPECT_EQ(records, (std::vector<record>{{"", 0, "good"}, {"", 0, "good again"}}));
}

TEST_F(log_channels, without_a_sink_records_go_to_standard_error) {
    const basic_diagnostic_logger logger("test::stderr");
    set_channel_mask("test::stderr", severity_debug);
    hooks::set_log_sink(nullptr);
    testing::internal::CaptureStderr();
    logger.write(severity_debug, "the text");
    logger.write(1, "off");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "test::stderr: the text\n");
}

TEST_F(log_channels, records_of_the_programs_other_sources_are_left_alone) {
    boost::log::sources::logger foreign;
    BOOST_LOG(foreign) << "not ours";
    EXPECT_EQ(records, std::vector<record>{});
}

// Each allocation of a write fails in turn, alone and with all later ones: the record is lost or written, never half.
TEST_F(log_channels, a_write_without_memory_does_not_throw) {
    int run = 0;
    for (const auto then : {test::fault_plan::follow_up::none, test::fault_plan::follow_up::for_ever}) {
        bool failed = true;
        long n = 1;
        for (; failed; ++n) {
            ASSERT_LT(n, 1000);
            const std::string channel = "test::memory" + std::to_string(run++); // each time with a new source
            const basic_diagnostic_logger logger(channel.c_str());
            set_channel_mask(channel.c_str(), severity_debug);
            int seen = 0;
            hooks::set_log_sink([&](const std::string&, std::uint32_t, const std::string& text) {
                seen += text == "a text of more than sixteen characters" ? 1 : 100;
            });
            const std::string text = "a text of more than sixteen characters";
            {
                const test::injection armed({n, then, 0});
                logger.write(severity_debug, text);
                failed = armed.failures() > 0;
            }
            EXPECT_LE(seen, 1);
            EXPECT_TRUE(failed || seen == 1);
            seen = 0;
            logger.write(severity_debug, text);
            EXPECT_EQ(seen, 1) << "with memory again, after failure " << n;
            hooks::set_log_sink(nullptr);
        }
        EXPECT_GT(n, 2) << "some allocation failed";
    }
}

TEST_F(log_channels, several_threads_write_to_one_channel) {
    set_channel_mask("test::threads", severity_debug);
    const basic_diagnostic_logger shared("test::threads");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared] {
            const basic_diagnostic_logger own("test::threads");
            for (int i = 0; i < 100; ++i) (i % 2 == 0 ? own : shared).write(severity_debug, "text");
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(records.size(), 400U);
}

TEST_F(log_channels, a_fatal_record_ends_the_process_as_a_failed_check_does) {
    const auto seen = test::catch_terminate([] {
        foundation::log::detail::terminate("5 orphans", "matrix/array_list", 261, "clearContextImpl");
    });
    EXPECT_TRUE(seen.happened);
    EXPECT_EQ(seen.message, "5 orphans");
    EXPECT_EQ(seen.file, "matrix/array_list");
    EXPECT_EQ(seen.function, "clearContextImpl");
}

} // namespace
