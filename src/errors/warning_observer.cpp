// The observers of each thread: a chain from the newest to the oldest.
#include <nd/warnings.hpp>

#include <algorithm>

namespace matrix {
namespace {

constinit thread_local WarningObserver* newest_observer = nullptr;

} // namespace

WarningObserver::WarningObserver() : proxy_{&newest_observer}, previous_(newest_observer) {
    newest_observer = this;
}

WarningObserver::~WarningObserver() { *proxy_.newest = previous_; }

std::size_t WarningObserver::getNumWarnings() const noexcept { return records_.size(); }

std::size_t WarningObserver::getNumWarnings(const std::string& id) const noexcept {
    const auto count = std::count_if(records_.begin(), records_.end(),
                                     [&](const Record& record) { return record.id == id; });
    return static_cast<std::size_t>(count);
}

std::basic_string<char16_t> WarningObserver::getWarning(const std::string& id, std::size_t index) const {
    for (const Record& record : records_)
        if (record.id == id && index-- == 0) return record.text;
    return {};
}

std::vector<std::string> WarningObserver::getWarningIds() const {
    std::vector<std::string> ids;
    ids.reserve(records_.size());
    for (const Record& record : records_) ids.push_back(record.id);
    return ids;
}

void WarningObserver::observe(const std::string& id, const std::basic_string<char16_t>& text) {
    WarningObserver* at = newest_observer;
    try {
        for (; at; at = at->previous_) at->records_.push_back({text, id});
    } catch (...) {
        for (WarningObserver* told = newest_observer; told != at; told = told->previous_)
            told->records_.pop_back();
        throw;
    }
}

} // namespace matrix
