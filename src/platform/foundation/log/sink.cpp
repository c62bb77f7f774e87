// The sink of all channels, as a backend of the logging core. The core is the program's: the sink takes the records of
// these channels only.
#include "sink.hpp"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/predicates/has_attr.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <cstdio>
#include <mutex>
#include <utility>

namespace foundation::log::detail {

namespace {

namespace logging = boost::log;

void print_record(const std::string& channel, const std::string& text) {
    const std::string line = channel + ": " + text + "\n"; // one write keeps lines of several threads apart
    std::fwrite(line.data(), 1, line.size(), stderr);
}

class function_backend : public logging::sinks::basic_sink_backend<logging::sinks::synchronized_feeding> {
public:
    void consume(const logging::record_view& record) {
        const auto channel = logging::extract_or_default<std::string>("Channel", record, std::string());
        const auto severity = logging::extract_or_default<std::uint32_t>("Severity", record, 0U);
        const auto text = logging::extract_or_default<std::string>("Message", record, std::string());
        if (function_) {
            function_(channel, severity, text);
        } else {
            print_record(channel, text);
        }
    }

    void set_function(sink_function function) noexcept { function_.swap(function); }

private:
    sink_function function_;
};

using function_sink = logging::sinks::synchronous_sink<function_backend>;

struct registered_sink {
    boost::shared_ptr<logging::core> core = logging::core::get(); // keeps the core alive for thread exits
    boost::shared_ptr<function_sink> sink = boost::make_shared<function_sink>();

    registered_sink() {
        sink->set_filter(logging::expressions::has_attr(origin_attribute));
        core->add_sink(sink);
    }
};

registered_sink& the_sink() {
    static registered_sink* const sink = new registered_sink; // never destroyed
    return *sink;
}

} // namespace

void ensure_sink() { the_sink(); }

void set_sink_function(sink_function function) {
    the_sink().sink->locked_backend()->set_function(std::move(function));
}

} // namespace foundation::log::detail
