// Loggers and their records, over the logging core's sources.
#include "channel.hpp"
#include "sink.hpp"

#include <foundation/core/diag/diag.hpp>
#include <foundation/log/logger.hpp>

#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/core/record.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>

#include <utility>

namespace foundation::log {

namespace logging = boost::log;

namespace detail {

// One channel's source of records. Opening a record takes the source's own reader-writer lock, handing it over takes
// the sink's.
class record_source {
public:
    explicit record_source(const std::string& name) : logger_(logging::keywords::channel = name) {
        ensure_sink();
        logger_.add_attribute(origin_attribute, logging::attributes::constant<bool>(true));
    }

    logging::record open(std::uint32_t severity) {
        return logger_.open_record(logging::keywords::severity = severity);
    }

    void push(logging::record record) { logger_.push_record(std::move(record)); }

private:
    logging::sources::severity_channel_logger_mt<std::uint32_t, std::string> logger_;
};

record_source& channel::source() {
    const std::lock_guard lock(source_mutex_);
    if (!source_) source_ = std::make_shared<record_source>(name_);
    return *source_;
}

struct record_state {
    record_source& source;
    logging::record record;
};

void terminate(const char* message, const char* file, int line, const char* function) {
    core::diag::terminate(message, file, line, function);
}

} // namespace detail

log_record::log_record() noexcept = default;
log_record::log_record(log_record&&) noexcept = default;
log_record& log_record::operator=(log_record&&) noexcept = default;
log_record::~log_record() = default;

log_record::log_record(std::unique_ptr<detail::record_state> state) noexcept : state_(std::move(state)) {}

void log_record::close(const std::string& text) noexcept {
    const std::unique_ptr<detail::record_state> state = std::move(state_);
    if (!state) return;
    try {
        state->record.attribute_values().insert("Message", logging::attributes::make_attribute_value(text));
        state->source.push(std::move(state->record));
    } catch (...) { // the record is lost; a log must not fail the operation that it tells about
    }
}

basic_diagnostic_logger::basic_diagnostic_logger(const char* channel)
    : basic_diagnostic_logger(detail::find_channel(channel)) {}

basic_diagnostic_logger::basic_diagnostic_logger(detail::channel& channel) noexcept
    : channel_(channel), mask_(channel.mask()) {}

log_record basic_diagnostic_logger::open_record(std::uint32_t severity) const noexcept {
    if (!is_on(severity)) return {};
    try {
        detail::record_source& source = channel_.source();
        logging::record record = source.open(severity);
        if (!record) return {};
        return log_record(
            std::unique_ptr<detail::record_state>(new detail::record_state{source, std::move(record)}));
    } catch (...) {
        return {};
    }
}

} // namespace foundation::log
