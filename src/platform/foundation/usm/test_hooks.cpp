// Closing and reopening the default engine.
#include "platform/test_hooks.hpp"

#include <foundation/usm/usm.hpp>

#include <memory>

namespace foundation::test_hooks {

void reset_default_engine() noexcept {
    usm::EngineInstance& engine = usm::EngineInstance::default_instance();
    std::destroy_at(&engine);
    std::construct_at(&engine);
}

} // namespace foundation::test_hooks
