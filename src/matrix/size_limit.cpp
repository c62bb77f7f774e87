// The process-wide size limit: a share of the machine's memory, off until somebody turns it on.
//
// limit is recomputed under the mutex and read without it. The object is built at the first use by whoever comes first:
// a word goes from not_built over being_built to ready, and latecomers spin for the moment that building takes. It is never
// destroyed, since arrays are created in thread exits and static destructors too.
#include "matrix/size_limit.hpp"

#include <foundation/core/diag/diag.hpp>
#include <foundation/core/mem/manager.hpp>
#include <foundation/log/logger.hpp>

#include <nd/errors.hpp>
#include <nd/sizes.hpp>

#include <atomic>
#include <charconv>
#include <cmath>
#include <mutex>
#include <new>
#include <string>
#include <utility>

namespace matrix {
namespace {

class ArraySizeLimitState final : public ArraySizeLimit {
public:
    std::uint32_t getPercent() override {
        const std::lock_guard guard(mutex_);
        return percent_;
    }
    void setPercent(std::uint32_t percent) override {
        const std::lock_guard guard(mutex_);
        percent_ = percent;
        recompute();
    }
    void setEnabled(bool enabled) override {
        const std::lock_guard guard(mutex_);
        enabled_ = enabled;
        recompute();
    }
    bool isEnabled() override {
        const std::lock_guard guard(mutex_);
        return enabled_;
    }
    std::uint64_t limit() const noexcept { return limit_.load(std::memory_order_relaxed); }

private:
    void recompute() { limit_.store(enabled_ ? bytes_of_percent() : 0, std::memory_order_relaxed); }
    std::uint64_t bytes_of_percent() const {
        const auto memory = static_cast<double>(foundation::core::mem::get_total_random_access_memory());
        const double bytes = memory * (percent_ / 100.0);
        constexpr double two_to_64 = 18446744073709551616.0;
        return bytes < two_to_64 ? static_cast<std::uint64_t>(bytes) : ~std::uint64_t{0};
    }

    std::mutex mutex_;
    bool enabled_ = false;
    std::uint32_t percent_ = 100;
    std::atomic<std::uint64_t> limit_{0};
};

enum build_state : int { not_built, being_built, ready };
constinit std::atomic<int> state{not_built};
alignas(ArraySizeLimitState) constinit unsigned char storage[sizeof(ArraySizeLimitState)]{};

ArraySizeLimitState& built_state() noexcept {
    auto* object = std::launder(reinterpret_cast<ArraySizeLimitState*>(storage));
    if (state.load(std::memory_order_acquire) == ready) [[likely]]
        return *object;
    int expected = not_built;
    if (state.compare_exchange_strong(expected, being_built, std::memory_order_acq_rel)) {
        object = new (storage) ArraySizeLimitState;
        state.store(ready, std::memory_order_release);
        return *object;
    }
    while (state.load(std::memory_order_acquire) != ready) {
    }
    return *std::launder(reinterpret_cast<ArraySizeLimitState*>(storage));
}

} // namespace

ArraySizeLimit::~ArraySizeLimit() = default;

ArraySizeLimit& ArraySizeLimit::getInstance() { return built_state(); }

namespace internal {
namespace {

constexpr std::uint32_t report_severity = 0x200;

const foundation::log::basic_diagnostic_logger& size_limit_channel() {
    static const auto& channel = *new foundation::log::basic_diagnostic_logger("matrix::sizelimit");
    return channel;
}

[[maybe_unused]] const auto& channel_made_at_load = size_limit_channel();

std::string gigabytes_text(std::uint64_t bytes) {
    char digits[32]; // 2^64 bytes are eleven digits of gigabytes
    const double gigabytes = std::ldexp(static_cast<double>(bytes), -30);
    const auto end =
        std::to_chars(digits, digits + sizeof digits, gigabytes, std::chars_format::fixed, 1).ptr;
    return std::string(digits, end) + "GB";
}

// The identifier, and the record in the log.
TARVEL::array::SizeLimitExceeded reported_id(std::string dimensions, std::size_t bytes, std::size_t limit) {
    if (size_limit_channel().is_on(report_severity)) {
        size_limit_channel().write(report_severity,
                                   "Attempt to create " + dimensions + " array exceeds size limit at \n" +
                                       foundation::core::diag::stacktrace_base::capture().format());
    }
    return TARVEL::array::SizeLimitExceeded(std::move(dimensions), gigabytes_text(bytes),
                                            gigabytes_text(limit));
}

} // namespace

std::uint64_t array_size_limit() noexcept { return built_state().limit(); }

void raise_size_limit_exceeded(std::span<const std::size_t> dims, std::size_t bytes, std::size_t limit) {
    raise_size_limit_exceeded(dimension_text(dims), bytes, limit);
}

void raise_size_limit_exceeded(std::string dimensions, std::size_t bytes, std::size_t limit) {
    const SizeLimitExceeded error(reported_id(std::move(dimensions), bytes, limit));
    detail::do_legacy_nd_error(error);
    throw SizeLimitExceeded(error);
}

TARVEL::array::SizeLimitExceeded SizeLimitExceeded::makeMessage(std::span<const std::size_t> dims,
                                                                std::size_t bytes, std::size_t limit) {
    return reported_id(dimension_text(dims), bytes, limit);
}

SizeLimitExceeded::SizeLimitExceeded(std::span<const std::size_t> dims, std::size_t bytes, std::size_t limit)
    : Exception(makeMessage(dims, bytes, limit)) {}

SizeLimitExceeded::~SizeLimitExceeded() = default;

const boost::exception_detail::clone_base* SizeLimitExceeded::clone() const {
    return new SizeLimitExceeded(*this);
}

void SizeLimitExceeded::rethrow() const { throw SizeLimitExceeded(*this); }

} // namespace internal
} // namespace matrix
