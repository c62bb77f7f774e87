// What the array list tells its two log channels: how many orphans a context left, and where each of them was added.
//
// A channel at fatal severity ends the process behind its whole report, with the text of the report's first record, or with the
// text for a record that wasn't opened; also when there was no memory for the report. Not on a thread that asked to go on.
#include "matrix/array_list.hpp"

#include <boost/format.hpp>

namespace matrix::internal {
namespace {

using foundation::core::diag::check;
using foundation::core::diag::stacktrace_base;
using foundation::log::basic_diagnostic_logger;

constexpr const char* source_name = "matrix/array_list";
constexpr int report_line = 261; // readers of the records match on it
constexpr const char* report_function = "void matrix::internal::ArrayList::clearContextImpl(bool)";
constexpr const char* in_another_context =
    "Array list consistency error: Array is on array list in another context:\n"
    "Possible call to ndSetCell, ndSetField, ndSetFieldByNumber or ndDestroyArray\n"
    "on input argument";

constinit thread_local int reports_that_go_on = 0; // how many scopes of the calling thread ask for it

constexpr const char* no_text = "Expression information is not available.";

// Writes one record at the channel's level and returns its text; an empty one when the record couldn't be opened.
template <class MakeText>
std::string write_record(const basic_diagnostic_logger& channel, MakeText&& make_text) {
    foundation::log::log_record record = channel.open_record(channel.highest_level() >> 15);
    if (!record) return {};
    std::string text = make_text();
    record.close(text);
    return text;
}

void end_process_if_fatal(const basic_diagnostic_logger& channel, const char* text) {
    constexpr std::uint32_t fatal_word = foundation::log::severity_fatal << 15;
    static_assert(fatal_word == 0x4000000);
    if (reports_that_go_on == 0 && (channel.highest_level() & ~0x7FFFU) == fatal_word) {
        foundation::log::detail::terminate(text, source_name, report_line, report_function);
    }
}

} // namespace

std::string ArrayList::header_line(std::size_t count) const {
    return std::to_string(count) + " orphan ndArrays found exiting array list context " +
           std::to_string(stack_.depth()) + " from:\n" + stacktrace_base::capture().format() + "\n";
}

std::string ArrayList::count_report(std::size_t count) const {
    return header_line(count) + "====> Re-run with full diagnostics for details" + "\n( Event generated in " +
           report_function + " at line " + std::to_string(report_line) + " from file " + source_name + " )";
}

void ArrayList::report_orphans(std::size_t count) const noexcept {
    const basic_diagnostic_logger& channel = stacks_are_on() ? stacks_channel_ : orphans_channel_;
    if (!channel.is_on_at_all()) return;
    std::string first;
    try {
        if (stacks_are_on()) {
            first = write_record(channel, [&] { return header_line(count); });
            report_each_orphan(count);
        } else {
            first = write_record(channel, [&] { return count_report(count); });
        }
    } catch (...) {
    } // no memory for the report: the orphans go without
    end_process_if_fatal(channel, first.empty() ? no_text : first.c_str());
}

void ArrayList::report_each_orphan(std::size_t count) const {
    boost::format line("ndArray@%1% (%2% of %3%) orphaned in context %4% at exit. ");
    std::size_t number = 0;
    for (std::size_t i = stack_.size(); i > stack_.start(); --i) {
        const ndArray_tag* const orphan = stack_[i - 1].pointer;
        if (orphan == nullptr) continue;
        ++number;
        write_record(stacks_channel_, [&] {
            line.clear();
            return (line % orphan % number % count % stack_.depth()).str() + origin_of(orphan);
        });
    }
}

std::string ArrayList::origin_of(const ndArray_tag* orphan) const {
    const auto record = m_arrayDebug.find(orphan);
    if (record == m_arrayDebug.end() || !record->second.has_stack) {
        return "**No record of this array being pushed onto list**";
    }
    return "Originally pushed onto array list from:\n" + record->second.stack.format();
}

void ArrayList::addArrayDebug(const ndArray_tag* array) {
    check(array != nullptr, "Array list consistency error: Cannot add null to array list");
    const stacktrace_base stack = stacktrace_base::capture();
    const auto [record, is_new] =
        m_arrayDebug.try_emplace(array, debug_record{stack_.depth(), stack.size() != 0, stack});
    if (is_new) return;
    check(record->second.context != stack_.depth(),
          "Array list consistency error: Array is already on array list");
    check(record->second.context == stack_.depth(), in_another_context);
}

void ArrayList::removeArrayDebug(const ndArray_tag* array) {
    check(array != nullptr, "Array list consistency error: Cannot remove null from array list");
    const auto record = m_arrayDebug.find(array);
    check(record != m_arrayDebug.end(), "Array list consistency error: Array is not on array list");
    if (record == m_arrayDebug.end()) return;
    check(record->second.context == stack_.depth(), in_another_context);
    m_arrayDebug.erase(record);
}

} // namespace matrix::internal

namespace matrix {

list_reports_go_on::list_reports_go_on() noexcept { ++internal::reports_that_go_on; }
list_reports_go_on::~list_reports_go_on() { --internal::reports_that_go_on; }

} // namespace matrix
