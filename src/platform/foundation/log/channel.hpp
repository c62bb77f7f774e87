// The channels of the process: a name, a mask and, once a record has been opened, the source of its records.
// Channels are made when they are first named and never destroyed.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace foundation::log::detail {

class record_source; // logger.cpp

class channel {
public:
    explicit channel(std::string name) : name_(std::move(name)) {}

    const std::string& name() const noexcept { return name_; }
    std::atomic<std::uint32_t>& mask() noexcept { return mask_; }
    record_source& source(); // built at the first call

private:
    const std::string name_;
    std::atomic<std::uint32_t> mask_{0};
    std::mutex source_mutex_;
    std::shared_ptr<record_source> source_; // shared: it can end a type that isn't complete here
};

// The channel of a name; made with mask 0 if it isn't there.
channel& find_channel(const char* name);

// Sets all masks to 0, then to what the environment says.
void reset_channel_masks();

} // namespace foundation::log::detail
