// Setters of the log sink and reset of the channel masks.
#include "channel.hpp"
#include "sink.hpp"

#include "platform/test_hooks.hpp"

#include <utility>

namespace foundation::test_hooks {

void reset_channel_masks() { log::detail::reset_channel_masks(); }

void set_log_sink(log_sink sink) { log::detail::set_sink_function(std::move(sink)); }

} // namespace foundation::test_hooks
