// The registry of channels.
#include "channel.hpp"

#include "platform/settings.hpp"

#include <foundation/log/logger.hpp>

#include <functional>
#include <map>
#include <string_view>

namespace foundation::log {

namespace {

class channel_registry {
public:
    channel_registry() { set_masks_from_environment(); }

    detail::channel& find(std::string_view name) {
        const std::lock_guard lock(mutex_);
        return find_locked(name);
    }

    void reset_masks() {
        const std::lock_guard lock(mutex_);
        for (auto& [name, channel] : channels_) channel.mask() = 0;
        set_masks_from_environment();
    }

    // Never destroyed: loggers refer to channels from static objects and thread exits.
    static channel_registry& instance() {
        static channel_registry* const registry = new channel_registry;
        return *registry;
    }

private:
    detail::channel& find_locked(std::string_view name) {
        const auto found = channels_.find(name);
        if (found != channels_.end()) return found->second;
        return channels_.try_emplace(std::string(name), std::string(name)).first->second;
    }

    void set_masks_from_environment() {
        for_each_setting("ND_LOG",
                         [&](std::string_view name, std::uint32_t mask) { find_locked(name).mask() = mask; });
    }

    std::mutex mutex_;
    std::map<std::string, detail::channel, std::less<>> channels_;
};

} // namespace

detail::channel& detail::find_channel(const char* name) { return channel_registry::instance().find(name); }

void detail::reset_channel_masks() { channel_registry::instance().reset_masks(); }

void set_channel_mask(const char* channel, std::uint32_t mask) {
    detail::find_channel(channel).mask() = mask;
}

} // namespace foundation::log
