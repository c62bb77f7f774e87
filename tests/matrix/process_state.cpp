// Changing process-wide state and putting it back.
#include "matrix/process_state.hpp"

#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"

#include <foundation/log/logger.hpp>
#include <nd/sizes.hpp>

namespace test {

cache_on::~cache_on() {
    EXPECT_EQ(matrix::internal::validate_cache(), "") << "the cache isn't in order when it is turned off";
    matrix::cache::setEnabled(before_);
    matrix::cache::clear();
}

size_limit_scope::size_limit_scope(std::uint64_t memory, std::uint32_t percent, bool enabled) {
    foundation::test_hooks::set_total_random_access_memory(memory);
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setPercent(percent);
    limit.setEnabled(enabled);
}

size_limit_scope::~size_limit_scope() {
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(false);
    limit.setPercent(100);
    foundation::test_hooks::set_total_random_access_memory(0);
}

log_capture::log_capture(const char* channel, std::uint32_t mask) : channel_(channel) {
    foundation::test_hooks::set_log_sink(
        [this](const std::string& from, std::uint32_t severity, const std::string& text) {
            lines_.push_back({from, severity, text});
        });
    foundation::log::set_channel_mask(channel, mask);
}

log_capture::~log_capture() {
    foundation::log::set_channel_mask(channel_, 0);
    foundation::test_hooks::set_log_sink({});
}

std::vector<std::string> log_capture::texts() const {
    std::vector<std::string> texts;
    for (const log_line& line : lines_) texts.push_back(line.text);
    return texts;
}

} // namespace test
