// The current engine of the calling thread, for lookups on hot paths inside the library: no call, no lock.
#pragma once

#include <foundation/usm/usm.hpp>

namespace foundation::usm {

class current_engine {
public:
    /// The current engine's object or null: four loads.
    [[gnu::always_inline]] static void* find(std::size_t id) noexcept {
        return engine_ != nullptr ? engine_->find(id) : nullptr;
    }

    /// The object while the current engine closes, up to the end of its deleter; null for an engine that isn't closing.
    static void* find_while_closing(std::size_t id) noexcept {
        return engine_ != nullptr ? engine_->find_while_closing(id) : nullptr;
    }

private:
    friend class EngineInstance;
    friend class EngineActivation;

    // Constant-initialised: reading it is one load relative to the thread pointer.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local EngineInstance* engine_;
};

} // namespace foundation::usm
